// Mac Roman: the 8-bit encoding of file-system names in FSSpec records, of classic key
// characters and of assertion texts. This is the one table of the encoding in Pavo;
// every conversion between Mac Roman bytes and Unicode goes through these functions.
// All functions are pure and may be called from any thread.
#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>

/// The Unicode code point (BMP) of a Mac Roman byte. Bytes below 0x80 are ASCII;
/// 0xDB is the euro sign and 0xF0 the Apple logo (U+F8FF), as in Mac OS 8.5 and later.
char16_t PvMacRomanToUnicode(uint8_t byte);

/// The Mac Roman byte of a UTF-16 unit, or -1 when the encoding has no such character.
int PvUnicodeToMacRoman(char16_t unit);

/// Decodes Mac Roman bytes; a negative length means a zero-terminated text.
/// Every byte decodes, so the result has exactly as many units as there were bytes.
QString PvStringFromMacRoman(const char* bytes, qsizetype length = -1);

/// Encodes text as Mac Roman after composing it (NFC), so that decomposed accents of
/// file names still find their single byte. Characters without a Mac Roman byte become
/// '?'; *lossless (when given) tells whether that happened.
QByteArray PvMacRomanFromString(const QString& text, bool* lossless = nullptr);
