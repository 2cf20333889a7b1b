// The portable converter kernels: plain loops over the bit rules, used on every
// processor without a faster path and for the ends of blocks of the vector paths.
#include "SampleKernels_p.h"

namespace PvSample {
namespace {

inline uint32_t word(const int32_t* p, int32_t i)
{
    return uint32_t(p[i]);
}

// Sample bytes may sit at any address: 16-bit words go through memcpy as 32-bit ones do.
inline void store16(void* p, int32_t v)
{
    const auto w = static_cast<uint16_t>(uint32_t(v));
    std::memcpy(p, &w, 2);
}

inline int32_t load16top(const void* p)
{
    uint16_t w;
    std::memcpy(&w, p, 2);
    return int32_t(uint32_t(w) << 16);
}

// ---- writers: all walk forward so that a block can be narrowed in place --------

void floatTo32(void* out, int32_t* l, int32_t n, int32_t* r)
{
    auto* o = static_cast<unsigned char*>(out);
    if (!r) {
        for (int32_t i = 0; i < n; ++i)
            store32(o + 4 * i, uint32_t(floatBitsToInt(word(l, i))));
    } else {
        for (int32_t i = 0; i < n; ++i) {
            store32(o + 8 * i, uint32_t(floatBitsToInt(word(l, i))));
            store32(o + 8 * i + 4, uint32_t(floatBitsToInt(word(r, i))));
        }
    }
}

// Each sample goes out as a 4-byte word at steps of 3 bytes (the spilled byte is
// overwritten by the next sample); the last one as a byte and a 2-byte word, so no
// byte after the block is touched.
inline void put24(unsigned char* p, int32_t v, bool last)
{
    if (!last) {
        store32(p, uint32_t(v));
    } else {
        p[0] = static_cast<unsigned char>(v);
        const uint16_t hi = static_cast<uint16_t>(uint32_t(v) >> 8);
        std::memcpy(p + 1, &hi, 2);
    }
}

void floatTo24(void* out, int32_t* l, int32_t n, int32_t* r)
{
    auto* o = static_cast<unsigned char*>(out);
    if (!r) {
        for (int32_t i = 0; i < n; ++i)
            put24(o + 3 * i, floatBitsToInt(word(l, i)) >> 8, i == n - 1);
    } else {
        for (int32_t i = 0; i < n; ++i) {
            put24(o + 6 * i, floatBitsToInt(word(l, i)) >> 8, false);
            put24(o + 6 * i + 3, floatBitsToInt(word(r, i)) >> 8, i == n - 1);
        }
    }
}

void floatTo16(void* out, int32_t* l, int32_t n, int32_t* r)
{
    auto* o = static_cast<unsigned char*>(out);
    if (!r) {
        for (int32_t i = 0; i < n; ++i)
            store16(o + 2 * i, floatBitsToInt(word(l, i)) >> 16);
    } else {
        for (int32_t i = 0; i < n; ++i) {
            store16(o + 4 * i, floatBitsToInt(word(l, i)) >> 16);
            store16(o + 4 * i + 2, floatBitsToInt(word(r, i)) >> 16);
        }
    }
}

void floatTo8(void* out, int32_t* l, int32_t n, int32_t* r)
{
    auto* o = static_cast<int8_t*>(out);
    if (!r) {
        for (int32_t i = 0; i < n; ++i)
            o[i] = int8_t(floatBitsToInt(word(l, i)) >> 24);
    } else {
        for (int32_t i = 0; i < n; ++i) {
            o[2 * i] = int8_t(floatBitsToInt(word(l, i)) >> 24);
            o[2 * i + 1] = int8_t(floatBitsToInt(word(r, i)) >> 24);
        }
    }
}

inline void putBig(unsigned char* p, uint32_t v, int bytes)
{
    for (int k = 0; k < bytes; ++k)
        p[k] = static_cast<unsigned char>(v >> (24 - 8 * k));
}

template <int Bytes> void floatToSwapped(void* out, int32_t* l, int32_t n, int32_t* r)
{
    auto* o = static_cast<unsigned char*>(out);
    if (!r) {
        for (int32_t i = 0; i < n; ++i)
            putBig(o + Bytes * i, uint32_t(floatBitsToInt(word(l, i))), Bytes);
    } else {
        for (int32_t i = 0; i < n; ++i) {
            putBig(o + 2 * Bytes * i, uint32_t(floatBitsToInt(word(l, i))), Bytes);
            putBig(o + 2 * Bytes * i + Bytes, uint32_t(floatBitsToInt(word(r, i))), Bytes);
        }
    }
}

void floatToFloatFile(void* out, int32_t* l, int32_t n, int32_t* r)
{
    auto* o = static_cast<unsigned char*>(out);
    if (!r) {
        std::memmove(o, l, size_t(n) * 4);
    } else {
        for (int32_t i = 0; i < n; ++i) {
            store32(o + 8 * i, word(l, i));
            store32(o + 8 * i + 4, word(r, i));
        }
    }
}

void floatToFloatSwap(void* out, int32_t* l, int32_t n, int32_t* r)
{
    auto* o = static_cast<unsigned char*>(out);
    if (!r) {
        for (int32_t i = 0; i < n; ++i)
            putBig(o + 4 * i, word(l, i), 4);
    } else {
        for (int32_t i = 0; i < n; ++i) {
            putBig(o + 8 * i, word(l, i), 4);
            putBig(o + 8 * i + 4, word(r, i), 4);
        }
    }
}

void floatToDouble(void* out, int32_t* l, int32_t n, int32_t*)
{
    auto* o = static_cast<unsigned char*>(out);
    for (int32_t i = 0; i < n; ++i) {
        float f;
        std::memcpy(&f, l + i, 4);
        const double d = f;
        std::memcpy(o + 8 * size_t(i), &d, 8);
    }
}

void floatTo16Interleaved2(void* out, int32_t* l, int32_t n, int32_t*)
{
    auto* o = static_cast<unsigned char*>(out);
    for (int32_t i = 0; i < n; ++i)
        store16(o + 4 * i, floatBitsToInt(word(l, i)) >> 16);
}

// ---- readers ------------------------------------------------------------------
// The narrow readers walk from the last sample to the first so that the float
// output may start at the input's address; in two-channel mode a frame's right
// sample is read before its left one.

inline int32_t toFloat(int32_t topBits)
{
    return int32_t(intToFloatBits(topBits));
}

template <typename Sample, typename Top>
inline void readBackward(int32_t* l, const Sample* in, int32_t n, int32_t* r, Top top)
{
    if (!r) {
        for (int32_t i = n - 1; i >= 0; --i)
            l[i] = toFloat(top(in + i));
    } else {
        for (int32_t i = n - 1; i >= 0; --i) {
            const int32_t right = top(in + 2 * i + 1);
            const int32_t left = top(in + 2 * i);
            l[i] = toFloat(left);
            r[i] = toFloat(right);
        }
    }
}

void from32(int32_t* l, void* in, int32_t n, int32_t*)
{
    const auto* s = static_cast<const unsigned char*>(in);
    for (int32_t i = n - 1; i >= 0; --i)
        l[i] = toFloat(int32_t(load32(s + 4 * i)));
}

void from16(int32_t* l, void* in, int32_t n, int32_t* r)
{
    struct Half {
        unsigned char b[2];
    };
    readBackward(l, static_cast<const Half*>(in), n, r, [](const Half* p) { return load16top(p); });
}

void from8(int32_t* l, void* in, int32_t n, int32_t* r)
{
    readBackward(l, static_cast<const int8_t*>(in), n, r,
        [](const int8_t* p) { return int32_t(uint32_t(uint8_t(*p)) << 24); });
}

void from16Swap(int32_t* l, void* in, int32_t n, int32_t* r)
{
    struct Pair {
        unsigned char b[2];
    };
    readBackward(l, static_cast<const Pair*>(in), n, r,
        [](const Pair* p) { return int32_t((uint32_t(p->b[0]) << 24) | (uint32_t(p->b[1]) << 16)); });
}

// The one unsigned reader: bytes carry an offset of 128.
void from8Swap(int32_t* l, void* in, int32_t n, int32_t* r)
{
    readBackward(l, static_cast<const uint8_t*>(in), n, r,
        [](const uint8_t* p) { return int32_t(uint32_t(*p ^ 0x80u) << 24); });
}

struct Triple {
    unsigned char b[3];
};
static_assert(sizeof(Triple) == 3);

inline int32_t top24(const Triple* p)
{
    return int32_t((uint32_t(p->b[0]) << 8) | (uint32_t(p->b[1]) << 16) | (uint32_t(p->b[2]) << 24));
}

inline int32_t top24Swap(const Triple* p)
{
    return int32_t((uint32_t(p->b[2]) << 8) | (uint32_t(p->b[1]) << 16) | (uint32_t(p->b[0]) << 24));
}

// Mono walks backward (in place); two channels walk forward, which is why the
// caller never sends the two-channel path a left output equal to the input.
template <int32_t (*Top)(const Triple*)> void from24Any(int32_t* l, void* in, int32_t n, int32_t* r)
{
    const auto* s = static_cast<const Triple*>(in);
    if (!r) {
        for (int32_t i = n - 1; i >= 0; --i)
            l[i] = toFloat(Top(s + i));
    } else {
        for (int32_t i = 0; i < n; ++i) {
            l[i] = toFloat(Top(s + 2 * i));
            r[i] = toFloat(Top(s + 2 * i + 1));
        }
    }
}

inline uint32_t big32(const unsigned char* p)
{
    return (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | p[3];
}

void from32Swap(int32_t* l, void* in, int32_t n, int32_t*)
{
    const auto* s = static_cast<const unsigned char*>(in);
    for (int32_t i = 0; i < n; ++i)
        l[i] = toFloat(int32_t(big32(s + 4 * i)));
}

void fromFloatFile(int32_t* l, void* in, int32_t n, int32_t* r)
{
    const auto* s = static_cast<const unsigned char*>(in);
    if (!r) {
        std::memmove(l, s, size_t(n) * 4);
    } else {
        for (int32_t i = 0; i < n; ++i) {
            l[i] = int32_t(load32(s + 8 * i));
            r[i] = int32_t(load32(s + 8 * i + 4));
        }
    }
}

void fromFloatSwap(int32_t* l, void* in, int32_t n, int32_t* r)
{
    const auto* s = static_cast<const unsigned char*>(in);
    if (!r) {
        for (int32_t i = 0; i < n; ++i)
            l[i] = int32_t(big32(s + 4 * i));
    } else {
        for (int32_t i = 0; i < n; ++i) {
            l[i] = int32_t(big32(s + 8 * i));
            r[i] = int32_t(big32(s + 8 * i + 4));
        }
    }
}

void fromDouble(int32_t* l, void* in, int32_t n, int32_t*)
{
    const auto* s = static_cast<const unsigned char*>(in);
    for (int32_t i = 0; i < n; ++i) {
        double d;
        std::memcpy(&d, s + 8 * size_t(i), 8);
        const float f = float(d);
        std::memcpy(l + i, &f, 4);
    }
}

void from16Interleaved2(int32_t* l, void* in, int32_t n, int32_t*)
{
    const auto* s = static_cast<const unsigned char*>(in);
    for (int32_t i = 0; i < n; ++i)
        l[i] = toFloat(load16top(s + 4 * i));
}

} // namespace

const Kernels kPortableKernels = {
    floatTo32,
    floatTo24,
    floatTo16,
    floatTo8,
    floatToSwapped<4>,
    floatToSwapped<3>,
    floatToSwapped<2>,
    floatToFloatFile,
    floatToFloatSwap,
    floatToDouble,
    floatTo16Interleaved2,
    from32,
    from24Any<top24>,
    from16,
    from8,
    from32Swap,
    from24Any<top24Swap>,
    from16Swap,
    from8Swap,
    fromFloatFile,
    fromFloatSwap,
    fromDouble,
    from16Interleaved2,
};

} // namespace PvSample
