// UTF-8 text in zero-terminated byte strings: bounded copies that never split a
// character, a structure check, ASCII tests, a reverse character search, and conversions
// to and from QString and the 8-bit encoding of file-system names (Mac Roman).
//
// Characters are classified by their lead byte, testing in this order: 1111110x starts a
// 6-byte sequence, 111110xx a 5-byte one, 11110xxx 4, 1110xxxx 3, 110xxxxx 2, 10xxxxxx is
// a continuation byte and 0xxxxxxx ASCII. The 5- and 6-byte forms of the first UTF-8
// definition are accepted throughout. The bytes 0xFE and 0xFF fall in no class.
//
// All functions work on buffers the caller owns; only the QString conversions allocate.
// They keep no state and may run on any thread. Runs of ASCII are handled sixteen bytes
// at a time, so the checks and copies cost little on mostly-ASCII text.
#pragma once

#include <QString>

#include <cstdint>

extern "C" {

/// The number of bytes before the first byte that is zero or has its top bit set: the
/// length of the leading ASCII run, not a count of characters (callers rely on exactly
/// this). 0 for a null pointer.
uint32_t utf8_strlen(const char* s);

/// Copies whole characters of `src` into the n bytes of `dst` and returns `dst`.
/// Continuation bytes at the start of `src` are skipped; a stray continuation byte (or
/// 0xFE, 0xFF) later on counts as a one-byte character. Copying ends before the first
/// character that does not fit, so no character is ever split; a sequence cut short by
/// the terminator of `src` counts as the bytes it has. A terminator is written when one
/// more byte fits and the rest of the n bytes are zeroed, so when the text fills `dst`
/// exactly no terminator is written (use utf8_strlcpy for a terminated result).
/// A null `dst` returns at once; `src` must not be null.
char* utf8_strncpy(char* dst, const char* src, uint32_t n);

/// utf8_strncpy into n - 1 bytes followed by a zero at byte n - 1, so the result is
/// always terminated. Returns `dst`. A null `dst` or an n of 0 writes nothing.
char* utf8_strlcpy(char* dst, const char* src, uint32_t n);

/// Checks the sequence structure of a text. Walking the bytes, it tracks the offset where
/// the current sequence must end: a continuation byte is an error when the byte before it
/// (or the start of the text) is ASCII; an ASCII byte is an error unless it stands exactly
/// where the previous sequence ended; a lead byte sets the expected end to its offset plus
/// its length; 0xFE and 0xFF are passed over. The text is valid when the expected end
/// equals its length at the end. The check is lenient by design: it does not reject
/// overlong forms, surrogates or a lead byte that cuts the previous sequence short.
/// The empty text is valid; a null pointer is not.
bool utf8_check(const char* s);

/// The same function as utf8_check, under its other name.
bool utf8_verify(const char* s);

/// Whether no byte has its top bit set: with n = 0 the whole text up to its terminator
/// is examined, otherwise at most n bytes (stopping at a terminator). False for null.
bool utf8_is_ascii(const char* s, uint32_t n);

/// Searches backwards for the byte c (compared as a signed char, so pass values of -128
/// to 127). From the lead byte of the last character it steps back one byte at a time to
/// the last byte of each earlier character and compares that byte: the last character of
/// the text and the first byte of the text are never compared. Returns the match nearest
/// the end, or null. These bounds are kept on purpose. Null for a null or empty text.
const char* utf8_strchr(const char* s, int c);

/// Writes the text to the log (qInfo) as it stands, with "%%" read as "%"; a text that is
/// not valid UTF-8 logs "utf8_trace: malformed string" instead. Ignores null and empty texts.
void utf8_log(const char* s);

/// Like utf8_log, after first writing the text (or "(null)" when it is not valid UTF-8)
/// on a line of its own to the standard error stream.
void utf8_trace(const char* s);

/// Writes the file-system representation of the text (QFile::encodeName) into `dst` with
/// its terminator. When it does not fit in `capacity` bytes it is cut at a character
/// boundary to capacity - 1 bytes and terminated. `dst` is left empty when the text is
/// empty or not valid UTF-8; a capacity of 0 leaves `dst` untouched.
void utf8_to_fileSystemRepresentation(char* dst, const char* src, uint32_t capacity);

/// A self-test with timings; returns 1. It converts a name holding a three-byte character
/// with utf8_to_fsspecFileSystemPascalString (capacity 19) and creates an empty file of
/// that name in the temporary folder (QDir::tempPath(); the root of the default volume is
/// not writable for users here). Then it times 10 000 000 calls of utf8_strncpy into 31
/// bytes and of the C library's bounded copy (snprintf, a terminated copy like BSD
/// strlcpy, which glibc lacks) into 32 bytes and logs each as
/// "<label> took <n> ms", where n is the elapsed nanoseconds divided by 100 000 (a
/// historical divisor, kept so that logged figures stay comparable).
int utf8_unitTest(void);

} // extern "C"

/// A new QString of the UTF-8 text, or a null QString when the pointer is null, the text
/// is empty or it is not valid UTF-8 (by Qt's strict decoder: overlong forms, surrogates
/// and the 5- and 6-byte forms are invalid here). A byte-order mark is kept as U+FEFF.
QString utf8_to_cfstring(const char* s);

/// The same as utf8_to_cfstring.
QString utf8_to_nsstring(const char* s);

/// Encodes the first min(capacity - 1, length) UTF-16 units of `string` as UTF-8 into at
/// most capacity - 1 bytes of `dst`, stopping before a character that does not fit; units
/// that cannot be encoded (unpaired surrogates) become "?". A terminator follows.
/// Returns the number of bytes written before the terminator; 0 when capacity is 0
/// (nothing is written). For a null QString `dst` is made empty and, as the original
/// interface did, the address of `dst` (cut to 32 bits) is returned in place of a length.
uint32_t utf8_from_cfstring(char* dst, const QString& string, uint32_t capacity);

/// The same as utf8_from_cfstring.
uint32_t utf8_from_nsstring(char* dst, const QString& string, uint32_t capacity);

/// Converts a UTF-8 name into the 8-bit encoding of file-system names (Mac Roman) and
/// returns `dst`. `dst` is made empty first (a capacity of 0 leaves it untouched and
/// returns); `*changed` is cleared when given. A text that is not valid UTF-8 leaves `dst`
/// empty. Otherwise the name, composed (NFC), is encoded into at most capacity - 1 bytes,
/// one "_" for each character Mac Roman cannot hold, and terminated. When `changed` is
/// given and the bytes decode to a different string than the name (characters replaced,
/// composed, or the name cut), that string is returned through `changed`.
char* utf8_to_fsspecFileSystemCString(
    char* dst, const char* src, uint32_t capacity, QString* changed = nullptr);

/// The same as utf8_to_fsspecFileSystemCString with the capacity capped at 255, as a Pascal
/// string: the length in byte 0 followed by the bytes. Returns `dst`.
unsigned char* utf8_to_fsspecFileSystemPascalString(
    unsigned char* dst, const char* src, uint32_t capacity, QString* changed = nullptr);
