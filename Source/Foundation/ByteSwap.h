// Byte-order swapping: plain runs of 2-, 4- and 8-byte values, sample buffers by bit
// depth, and whole records described by a "swap table".
//
// A swap table is a zero-terminated byte string read from left to right. Each byte is a
// field code (see IntelSwap) that swaps one field and advances past it, except:
//   0                 ends the table;
//   1, code, n        applies `code` n times (n is one byte);
//   2, code, hi, lo   applies `code` hi * 256 + lo times (a big-endian 16-bit count).
// Because 1 and 2 introduce repeats, they never act as field codes inside a table.
// The bytes after a 1 or a 2 are arguments and may be zero; the table must hold them.
//
// Swapping is its own inverse: running the same table twice over a record restores it
// (as long as the record does not change the limit with code 21 in between).
//
// The limit pointer: a process-wide address (initially "no limit", all ones). A field
// whose end would pass the limit is left unswapped, so that a table describing a longer
// record than the bytes actually present never changes memory after the data. Code 21
// lets a record announce its own length and so set the limit for the rest of a table run.
//
// Threads: the limit pointer and the overrun countdown are unguarded process-wide state,
// so table-driven swaps (IntelSwap, MultiIntelSwap, TabIntelSwap, LimitTabIntelSwap) must
// not run on two threads at once. The other functions are pure functions of their
// buffers and may run on any thread. No function allocates. Fields need no alignment.
#pragma once

#include <cstdint>

extern "C" {

/// Applies one field code at p and returns the address after the field.
///
/// | code       | field                                                     | size     |
/// |------------|-----------------------------------------------------------|----------|
/// | 0 to 3     | one byte, left as is                                      | 1        |
/// | 4, 5, 6    | 2, 3 or 4 bytes, left as is                               | 2, 3, 4  |
/// | 7          | one 32-bit value, reversed                                | 4        |
/// | 8, 9, 10   | 2, 3 or 4 values of code 7                                | 8,12,16  |
/// | 11         | one 64-bit value, reversed                                | 8        |
/// | 12, 13, 14 | 2, 3 or 4 values of code 11                               | 16,24,32 |
/// | 15         | one 16-bit value, reversed                                | 2        |
/// | 16, 17, 18 | 2, 3 or 4 values of code 15                               | 4, 6, 8  |
/// | 19         | a 32-bit then a 16-bit value, each reversed               | 6        |
/// | 20         | two 64-bit values, each reversed                          | 16       |
/// | 21         | a 16-bit length, reversed; if the result read as a signed | 2        |
/// |            | value is greater than 2, the limit becomes p plus it      |          |
/// | 22 and up  | one byte, left as is                                      | 1        |
///
/// A field whose end passes the current limit is swapped a second time with no limit,
/// which leaves it unswapped; for a repeated code (8-10, 12-14, 16-18) each element checks
/// the limit by itself and then the first element is reversed once more, so a repeated
/// field crossing the limit ends with its first and its crossing element unswapped.
/// The returned address advances by the field size in every case.
void* IntelSwap(void* p, int code);

/// Applies `code` n times in sequence and returns the address after the last field.
/// A count of 0 or less changes nothing and returns p.
void* MultiIntelSwap(void* p, int code, int32_t n);

/// Runs a swap table from p with no limit; the same as LimitTabIntelSwap(p, table, no limit).
void* TabIntelSwap(void* p, unsigned char* table);

/// Runs a swap table from p with the limit set to `limit`, then restores the caller's
/// limit (also when the record changed it with code 21). Returns the address after the
/// last field. A null table swaps nothing and returns p.
void* LimitTabIntelSwap(void* p, unsigned char* table, void* limit);

/// The current limit address (all ones when there is no limit).
const char* GetPIntelLimit(void);

/// Sets the limit address; (const char*)UINTPTR_MAX means no limit.
void SetPIntelLimit(const char* limit);

/// Copies fields from src to dst along a "copy table": a zero-terminated string of signed
/// bytes where a negative n copies -n bytes unchanged and a positive n copies n bytes and
/// then reverses them when n is 2, 4 or 8 (other positive sizes are copied unchanged).
/// Each field is moved with memmove, so src and dst may overlap. Stops at the end of the
/// table (returning 0) or before the first field longer than what remains of `size` bytes,
/// returning that field's table byte (for example -2 for a 2-byte field copied as is).
char SwapData(char* dst, const char* src, const char* table, int32_t size);

/// Converts `count` samples in place by bit depth and returns 1: 32 reverses 4-byte
/// samples, 24 exchanges bytes 0 and 2 of 3-byte samples, 8 adds 128 to each byte (signed
/// to unsigned and back), any other depth exchanges the two bytes of 2-byte samples.
/// `reserved` is not used. A count of 0 or less changes nothing.
int32_t ProcessSwapIntel(void* data, int32_t count, int32_t reserved, int bitsPerSample);

/// Reverse each of n consecutive 2-, 4- or 8-byte values in place and return the address
/// after the last one. A count of 0 or less changes nothing and returns p.
void* PSwapWord(void* p, int n);
void* PSwapLong(void* p, int n);
void* PSwapLongLong(void* p, int n);

/// Writes n 4-byte values from src to dst with the bytes of each value reversed. The
/// buffers must not overlap unless they are the same. A count of 0 or less does nothing.
void PSwapCopyLong(void* dst, const void* src, int n);

/// Reverses the four bytes at p.
void SwapLong(void* p);

} // extern "C"
