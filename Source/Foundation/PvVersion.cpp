#include "PvVersion.h"

extern "C" {
const double PavoVersionNumber = 274.0;
const unsigned char PavoVersionString[]
    = "@(#)PROGRAM:Pavo  PROJECT:Pavo-274  DEVELOPER:root  BUILT:Dec  5 2007 22:08:31\n";
}
