// Internal interface of the sample converters: one table of kernels per instruction-set
// path. The exported converters check their arguments (counts of 0 or less, the
// same-buffer and mono-only rules) and then call the kernel of the current path, so a
// kernel always gets frames >= 1 and a null right pointer for mono.
#pragma once

#include "SampleConverters.h"

#include <cstdint>
#include <cstring>

namespace PvSample {

struct Kernels {
    // writers
    tConvertFloatToN floatTo32, floatTo24, floatTo16, floatTo8;
    tConvertFloatToN floatTo32Swap, floatTo24Swap, floatTo16Swap;
    tConvertFloatToN floatToFloatFile, floatToFloatSwap, floatToDouble, floatTo16Interleaved2;
    // readers
    tConvertNToFloat from32, from24, from16, from8;
    tConvertNToFloat from32Swap, from24Swap, from16Swap, from8Swap;
    tConvertNToFloat fromFloatFile, fromFloatSwap, fromDouble, from16Interleaved2;
};

extern const Kernels kPortableKernels;
// Filled only on x86-64; each entry is the portable kernel where the path has none.
extern const Kernels kAVX2Kernels;
extern const Kernels kAVX512Kernels;
extern const Kernels kAVX512VbmiKernels;

// The bit rules, shared by every path for the ends of blocks.

/// Float bits to the 32-bit intermediate of the integer writers.
inline int32_t floatBitsToInt(uint32_t b)
{
    if (b == 0)
        return 0;
    const int e = 127 - int((b >> 23) & 0xFF);
    uint32_t m;
    if (e <= 0)
        m = 0x7FFFFF00u; // 1.0 and beyond, infinities and NaN
    else if (e <= 31)
        m = ((b << 8) | 0x80000000u) >> e;
    else
        m = 0;
    return int32_t((b & 0x80000000u) ? 0u - m : m);
}

/// A sample in the top bits of a 32-bit word (low bits zero) to float bits, exactly:
/// the float 1.0 + m * 2^-23 (or its negative) is built from bits and 1.0 taken away.
inline uint32_t intToFloatBits(int32_t i)
{
    const int32_t m = i >> 8;
    float f;
    uint32_t bits;
    if (i >= 0) {
        bits = 0x3F800000u + uint32_t(m);
        std::memcpy(&f, &bits, 4);
        f -= 1.0f;
    } else {
        bits = 0xBF800000u - uint32_t(m);
        std::memcpy(&f, &bits, 4);
        f += 1.0f;
    }
    std::memcpy(&bits, &f, 4);
    return bits;
}

inline uint32_t load32(const void* p)
{
    uint32_t v;
    std::memcpy(&v, p, 4);
    return v;
}

inline void store32(void* p, uint32_t v)
{
    std::memcpy(p, &v, 4);
}

} // namespace PvSample
