// CRC checksums: a 16-bit CCITT checksum of texts and the standard 32-bit CRC of byte
// buffers (the one of zlib, PNG and Ethernet).
//
// Both are pure functions of their arguments: they keep no state, allocate nothing and
// may run on any thread.
#pragma once

#include <cstdint>

extern "C" {

/// CRC-16 of a zero-terminated text in the augmented CCITT form (CRC-16/AUG-CCITT):
/// polynomial 0x1021, not reflected, register preset to 0xFFFF, every bit of every byte
/// shifted in most significant bit first, followed by 16 zero bits, no final inversion.
/// "123456789" gives 0xE5CC and the empty text 0x1D0F.
///
/// The text is indexed with a 16-bit counter, so it must be shorter than 65536 bytes: a
/// longer text wraps round to its start and never reaches its terminator. `text` must not
/// be null.
uint16_t PVCRC16(const char* text);

/// The standard CRC-32 (reflected polynomial 0xEDB88320, preset and final inversion;
/// "123456789" gives 0xCBF43926), continued from a running value: pass 0 to start, and the
/// previous result to go on with the next piece of the data. The result always equals
/// zlib's crc32(crc, data, length), for any split of the data. A null `data` returns 0.
///
/// Long buffers are folded with carry-less multiplication where the processor has it
/// (chosen at run time); other processors use 256-entry tables, eight bytes per step.
uint32_t PVCRC32(uint32_t crc, const unsigned char* data, uint32_t length);

} // extern "C"
