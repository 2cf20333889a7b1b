// Version symbols of the framework.
#pragma once

extern "C" {
/// The framework's version number, 274.0.
extern const double PavoVersionNumber;
/// The what(1)-style version text, starting with "@(#)" so version-listing tools find it.
extern const unsigned char PavoVersionString[];
}
