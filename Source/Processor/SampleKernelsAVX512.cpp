// AVX-512 (F, BW and VL) converter kernels, 16 samples per vector. Whole groups store to
// 64-byte-aligned output where the address allows; masked loads and stores take the
// frames around them, so no byte outside a block is touched. Reached only through the
// dispatch table when the processor has AVX-512 F, BW and VL.
//
// SampleKernelsAVX512VBMI.cpp compiles this file a second time with PV_AVX512_VBMI set:
// that table packs and unpacks narrow samples with byte permutes (VBMI), which do in one
// instruction what takes a shuffle and a word or dword permute here.
#include "SampleKernels_p.h"

#if defined(__x86_64__) || defined(__i386__)

// GCC 12 reports the deliberately undefined pass-through operands inside its own
// AVX-512 intrinsics as maybe-uninitialised.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

#include <immintrin.h>

#include <algorithm>
#include <array>
#include <bit>

#ifndef PV_AVX512_VBMI
#define PV_AVX512_VBMI 0
#endif
#if PV_AVX512_VBMI
#define PV_AVX512_TARGET "avx512f,avx512bw,avx512vl,avx512vbmi,avx2"
#define PV_AVX512_TABLE kAVX512VbmiKernels
#else
#define PV_AVX512_TARGET "avx512f,avx512bw,avx512vl,avx2"
#define PV_AVX512_TABLE kAVX512Kernels
#endif

#define PV_AVX512 __attribute__((target(PV_AVX512_TARGET), always_inline)) inline
#define PV_AVX512_FN __attribute__((target(PV_AVX512_TARGET)))
// Loops over the four vectors of a group, written out so the vectors stay in registers.
#define PV_UNROLL4 _Pragma("GCC unroll 4")
// Lambdas do not take the target of the function around them.
#define PV_AVX512_LAMBDA __attribute__((target(PV_AVX512_TARGET), always_inline))

namespace PvSample {
namespace {

const Kernels& P = kPortableKernels;

// |x| * 2^31 truncated toward zero is the bit rule's value for |x| < 1, so the
// conversion instruction does the shifting; everything else (|x| >= 1, infinities and
// NaNs) converts to 0x80000000. The floating-point steps suppress exceptions, so a host
// that unmasks them never traps.
PV_AVX512 __m512i truncated(__m512i b)
{
    constexpr int kNoExceptions = _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC;
    const __m512 x
        = _mm512_mul_round_ps(_mm512_castsi512_ps(b), _mm512_set1_ps(2147483648.0f), kNoExceptions);
    return _mm512_cvtt_roundps_epi32(x, _MM_FROUND_NO_EXC);
}

// The clip levels for the lanes of `m` that converted to 0x80000000: 0x80000100 for
// negative inputs `b`, 0x7FFFFF00 for positive ones.
PV_AVX512 __m512i fixClips(__m512i m, __m512i b)
{
    const __m512i clip = _mm512_ternarylogic_epi32(
        _mm512_srai_epi32(b, 31), _mm512_set1_epi32(int(0x80000100u)), _mm512_set1_epi32(0x7FFFFF00), 0xCA);
    return _mm512_mask_mov_epi32(m, _mm512_cmpeq_epi32_mask(m, _mm512_set1_epi32(int(0x80000000u))), clip);
}

// The float-to-integer bit rule on 16 floats.
PV_AVX512 __m512i bitsToInt(__m512i b)
{
    return fixClips(truncated(b), b);
}

PV_AVX512 __m512i load16(const void* p)
{
    return _mm512_loadu_si512(p);
}
PV_AVX512 void store16(void* p, __m512i v)
{
    _mm512_storeu_si512(p, v);
}
PV_AVX512 void store16f(void* p, __m512 v)
{
    _mm512_storeu_ps(p, v);
}
PV_AVX512 __m512 scaled(__m512i m, float scale)
{
    return _mm512_mul_ps(_mm512_cvtepi32_ps(m), _mm512_set1_ps(scale));
}

PV_AVX512 __m512i bswap32(__m512i v)
{
    const __m512i mask
        = _mm512_broadcast_i32x4(_mm_setr_epi8(3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12));
    return _mm512_shuffle_epi8(v, mask);
}

PV_AVX512 void interleave(__m512i l, __m512i r, __m512i& a, __m512i& b)
{
    a = _mm512_permutex2var_epi32(
        l, _mm512_setr_epi32(0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23), r);
    b = _mm512_permutex2var_epi32(
        l, _mm512_setr_epi32(8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31), r);
}

PV_AVX512 void deinterleave(__m512 a, __m512 b, __m512& l, __m512& r)
{
    l = _mm512_permutex2var_ps(
        a, _mm512_setr_epi32(0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30), b);
    r = _mm512_permutex2var_ps(
        a, _mm512_setr_epi32(1, 3, 5, 7, 9, 11, 13, 15, 17, 19, 21, 23, 25, 27, 29, 31), b);
}

#if PV_AVX512_VBMI
// A constant byte-permute index: byte i of the result takes byte `From(i)` (modulo 64) of
// the source.
template <int (*From)(int)> struct ByteIndex {
    alignas(64) static constexpr std::array<unsigned char, 64> bytes = [] {
        std::array<unsigned char, 64> t {};
        for (int i = 0; i < 64; ++i)
            t[size_t(i)] = static_cast<unsigned char>(From(i) & 63);
        return t;
    }();
    PV_AVX512 static __m512i load() { return _mm512_load_si512(bytes.data()); }
};
#endif

// ---- alignment --------------------------------------------------------------------

// The first `count` (0 to 16) lanes.
PV_AVX512 __mmask16 firstLanes(int32_t count)
{
    return __mmask16((1u << count) - 1u);
}

// Frames of `frameBytes` bytes (1, 2, 3, 4, 6 or 8) from `p` to the next 64-byte
// boundary; 0 when no whole number of frames lands on one.
inline int32_t framesToBoundary(const void* p, int32_t frameBytes)
{
    const uint32_t gap = (0u - uint32_t(reinterpret_cast<uintptr_t>(p))) & 63u;
    const int shift = std::countr_zero(uint32_t(frameBytes));
    if (gap & ((1u << shift) - 1u))
        return 0;
    const uint32_t inverse = (frameBytes >> shift) == 3 ? 43u : 1u; // 3 * 43 = 1 modulo 64
    return int32_t(((gap >> shift) * inverse) & (63u >> shift));
}

// A store that straddles two cache lines costs about twice an aligned one, so whole
// groups run between `head` leading and some trailing frames, placed to make their
// stores aligned; `part(i, count)` takes the frames around them with masked accesses.
template <class Whole, class Part>
PV_AVX512 void forwardGroups(int32_t n, int32_t head, int32_t group, Whole whole, Part part)
{
    int32_t i = 0;
    if (head > 0 && head + group <= n) {
        part(0, head);
        i = head;
    }
    for (; i + group <= n; i += group)
        whole(i);
    if (i < n)
        part(i, n - i);
}

// The same from the end down, for readers that expand in place; `tail` frames follow
// the last boundary.
template <class Whole, class Part>
PV_AVX512 void backwardGroups(int32_t n, int32_t tail, int32_t group, Whole whole, Part part)
{
    int32_t end = n;
    if (tail > 0 && tail + group <= n) {
        part(n - tail, tail);
        end = n - tail;
    }
    int32_t i = end - group;
    for (; i >= 0; i -= group)
        whole(i);
    if (i + group > 0)
        part(0, i + group);
}

// Frames after the last 64-byte boundary before the end of `n` floats at `p`.
inline int32_t floatsPastBoundary(const int32_t* p, int32_t n)
{
    return int32_t((reinterpret_cast<uintptr_t>(p + n) & 63u) / 4u);
}

// ---- writer formats ---------------------------------------------------------------

// The bit rule on four vectors at once. The conversion gives 0x80000000 exactly for the
// clip inputs (|x| >= 1 counting -1.0, infinities, NaNs) and 0x80000080 or more for
// everything else, so one minimum over the four tells whether the clip fix-up is needed;
// audio rarely clips, and the common case costs no fix-up.
PV_AVX512 void bitsToInt4(__m512i v[4])
{
    __m512i m[4];
    PV_UNROLL4
    for (int k = 0; k < 4; ++k)
        m[k] = truncated(v[k]);
    const __m512i low = _mm512_min_epi32(_mm512_min_epi32(m[0], m[1]), _mm512_min_epi32(m[2], m[3]));
    if (_mm512_cmpeq_epi32_mask(low, _mm512_set1_epi32(int(0x80000000u)))) [[unlikely]] {
        PV_UNROLL4
        for (int k = 0; k < 4; ++k)
            v[k] = fixClips(m[k], v[k]);
    } else {
        PV_UNROLL4
        for (int k = 0; k < 4; ++k)
            v[k] = m[k];
    }
}

// The intermediate for outputs of 16 bits or fewer, which keep only its high half or
// byte. Positive inputs of 1.0 and beyond (infinity and positive NaNs too) are lowered
// to 0.99999994 first, whose 0x7FFFFF80 has the same high half and byte as the clip
// level 0x7FFFFF00; every negative clip case converts to 0x80000000, which shares its
// high half and byte with 0x80000100. So no fix-up after the conversion is needed.
PV_AVX512 __m512i narrowInt(__m512i b)
{
    return truncated(_mm512_min_epi32(b, _mm512_set1_epi32(0x3F7FFFFF)));
}

// Formats take intermediates in output order, sixteen samples per vector: `emit4`
// writes four vectors, `emitPart` the first `count` (1 to 16) samples of one and not a
// byte more.
template <bool Swapped> struct W32 {
    static constexpr int bytes = 4;
    PV_AVX512 static __m512i order(__m512i v)
    {
        if constexpr (Swapped)
            return bswap32(v);
        else
            return v;
    }
    PV_AVX512 static void emit4(unsigned char* o, const __m512i v[4])
    {
        PV_UNROLL4
        for (int k = 0; k < 4; ++k)
            store16(o + 64 * k, order(v[k]));
    }
    PV_AVX512 static void emitPart(unsigned char* o, __m512i v, int32_t count)
    {
        _mm512_mask_storeu_epi32(o, firstLanes(count), order(v));
    }
};
#if PV_AVX512_VBMI
// Byte `i` of output vector `Out` of a 3-byte group holds byte `k` of sample `s`, which
// is byte 1 + k (or 3 - k swapped) of word s % 16 of input vector s / 16.
template <bool Swapped, int Out> constexpr int packed24Byte(int i)
{
    const int s = (64 * Out + i) / 3, k = (64 * Out + i) % 3;
    return 4 * (s % 16) + (Swapped ? 3 - k : 1 + k);
}
#endif
template <bool Swapped> struct W24 {
    static constexpr int bytes = 3;
    // The sample bytes of each word packed to the low 12 bytes of its 128-bit lane.
    PV_AVX512 static __m512i packLanes(__m512i v)
    {
        const __m128i lane = Swapped ? _mm_setr_epi8(3, 2, 1, 7, 6, 5, 11, 10, 9, 15, 14, 13, -1, -1, -1, -1)
                                     : _mm_setr_epi8(1, 2, 3, 5, 6, 7, 9, 10, 11, 13, 14, 15, -1, -1, -1, -1);
        return _mm512_shuffle_epi8(v, _mm512_broadcast_i32x4(lane));
    }
#if PV_AVX512_VBMI
    // Output vector `Out` of a group: a byte permute of the input vector it starts in,
    // merged with one of the next input vector over the bytes from 48 - 16 * Out on.
    template <int Out> PV_AVX512 static void emitVector(unsigned char* o, __m512i first, __m512i next)
    {
        const __m512i index = ByteIndex<packed24Byte<Swapped, Out>>::load();
        store16(o + 64 * Out,
            _mm512_mask_permutexvar_epi8(
                _mm512_permutexvar_epi8(index, first), ~uint64_t(0) << (48 - 16 * Out), index, next));
    }
    // Sixty-four samples make exactly three vectors.
    PV_AVX512 static void emit4(unsigned char* o, const __m512i v[4])
    {
        emitVector<0>(o, v[0], v[1]);
        emitVector<1>(o, v[1], v[2]);
        emitVector<2>(o, v[2], v[3]);
    }
#else
    // Sixty-four samples make exactly three vectors: each takes the packed words it
    // still needs from two neighbours.
    PV_AVX512 static void emit4(unsigned char* o, const __m512i v[4])
    {
        const __m512i p0 = packLanes(v[0]), p1 = packLanes(v[1]), p2 = packLanes(v[2]), p3 = packLanes(v[3]);
        store16(o,
            _mm512_permutex2var_epi32(
                p0, _mm512_setr_epi32(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 16, 17, 18, 20), p1));
        store16(o + 64,
            _mm512_permutex2var_epi32(
                p1, _mm512_setr_epi32(5, 6, 8, 9, 10, 12, 13, 14, 16, 17, 18, 20, 21, 22, 24, 25), p2));
        store16(o + 128,
            _mm512_permutex2var_epi32(
                p2, _mm512_setr_epi32(10, 12, 13, 14, 16, 17, 18, 20, 21, 22, 24, 25, 26, 28, 29, 30), p3));
    }
#endif
    PV_AVX512 static void emitPart(unsigned char* o, __m512i v, int32_t count)
    {
        const __m512i packed = _mm512_permutexvar_epi32(
            _mm512_setr_epi32(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 15, 15, 15, 15), packLanes(v));
        _mm512_mask_storeu_epi8(o, (uint64_t(1) << (3 * count)) - 1u, packed);
    }
};
struct W8 {
    static constexpr int bytes = 1;
    PV_AVX512 static void emit4(unsigned char* o, const __m512i v[4])
    {
        PV_UNROLL4
        for (int k = 0; k < 4; ++k)
            _mm_storeu_si128(
                reinterpret_cast<__m128i*>(o + 16 * k), _mm512_cvtepi32_epi8(_mm512_srai_epi32(v[k], 24)));
    }
    PV_AVX512 static void emitPart(unsigned char* o, __m512i v, int32_t count)
    {
        _mm512_mask_cvtepi32_storeu_epi8(o, firstLanes(count), _mm512_srai_epi32(v, 24));
    }
};

// The intermediate a format needs: the full one, or the narrow form for 8-bit output.
template <class F> PV_AVX512 __m512i toInt(__m512i b)
{
    if constexpr (F::bytes == 1)
        return narrowInt(b);
    else
        return bitsToInt(b);
}
template <class F> PV_AVX512 void toInt4(__m512i v[4])
{
    if constexpr (F::bytes == 1) {
        PV_UNROLL4
        for (int k = 0; k < 4; ++k)
            v[k] = narrowInt(v[k]);
    } else {
        bitsToInt4(v);
    }
}

// Groups of 64 output samples: 64 mono frames, or 32 stereo frames interleaved.
template <class F> PV_AVX512_FN void writeInt(void* out, int32_t* l, int32_t n, int32_t* r)
{
    auto* o = static_cast<unsigned char*>(out);
    if (!r) {
        const auto whole = [&](int32_t i) PV_AVX512_LAMBDA {
            __m512i v[4] = {load16(l + i), load16(l + i + 16), load16(l + i + 32), load16(l + i + 48)};
            toInt4<F>(v);
            F::emit4(o + F::bytes * i, v);
        };
        const auto part = [&](int32_t i, int32_t count) PV_AVX512_LAMBDA {
            for (const int32_t end = i + count; i < end; i += 16) {
                const int32_t c = std::min(end - i, 16);
                F::emitPart(o + F::bytes * i, toInt<F>(_mm512_maskz_loadu_epi32(firstLanes(c), l + i)), c);
            }
        };
        forwardGroups(n, n >= 128 ? framesToBoundary(o, F::bytes) : 0, 64, whole, part);
    } else {
        const auto whole = [&](int32_t i) PV_AVX512_LAMBDA {
            __m512i v[4] = {load16(l + i), load16(r + i), load16(l + i + 16), load16(r + i + 16)};
            toInt4<F>(v);
            __m512i w[4];
            interleave(v[0], v[1], w[0], w[1]);
            interleave(v[2], v[3], w[2], w[3]);
            F::emit4(o + 2 * F::bytes * i, w);
        };
        const auto part = [&](int32_t i, int32_t count) PV_AVX512_LAMBDA {
            for (const int32_t end = i + count; i < end; i += 16) {
                const int32_t c = std::min(end - i, 16);
                const __mmask16 m = firstLanes(c);
                __m512i a, b;
                interleave(toInt<F>(_mm512_maskz_loadu_epi32(m, l + i)),
                    toInt<F>(_mm512_maskz_loadu_epi32(m, r + i)), a, b);
                unsigned char* at = o + 2 * F::bytes * i;
                F::emitPart(at, a, std::min(2 * c, 16));
                if (c > 8)
                    F::emitPart(at + 16 * F::bytes, b, 2 * c - 16);
            }
        };
        forwardGroups(n, n >= 64 ? framesToBoundary(o, 2 * F::bytes) : 0, 32, whole, part);
    }
}

// 16-bit output: the high halves of the intermediates of `a` and `b`, all of a's then
// all of b's, or for two channels alternately (a, b, a, ...).
#if PV_AVX512_VBMI
// Byte i of the output takes byte 2 or 3 of a word of `a` or `b`; the byte order comes
// with the index.
template <bool Swapped, bool Stereo> constexpr int high16Byte(int i)
{
    const int word = Stereo ? i / 4 : (i % 32) / 2;
    return 4 * word + 2 + (Swapped ? 1 - i % 2 : i % 2);
}
template <bool Swapped, bool Stereo> PV_AVX512 __m512i high16(__m512i a, __m512i b)
{
    const __m512i index = ByteIndex<high16Byte<Swapped, Stereo>>::load();
    const __mmask64 fromB = Stereo ? 0xCCCCCCCCCCCCCCCCull : 0xFFFFFFFF00000000ull;
    return _mm512_mask_permutexvar_epi8(
        _mm512_permutexvar_epi8(index, narrowInt(a)), fromB, index, narrowInt(b));
}
#else
template <bool Swapped, bool Stereo> PV_AVX512 __m512i high16(__m512i a, __m512i b)
{
    // The odd (high) 16-bit words, as indices into a then b (32 and on).
    const __m512i pick = Stereo ? _mm512_setr_epi32(0x00210001, 0x00230003, 0x00250005, 0x00270007,
                             0x00290009, 0x002B000B, 0x002D000D, 0x002F000F, 0x00310011, 0x00330013,
                             0x00350015, 0x00370017, 0x00390019, 0x003B001B, 0x003D001D, 0x003F001F)
                                : _mm512_setr_epi32(0x00030001, 0x00070005, 0x000B0009, 0x000F000D,
                                    0x00130011, 0x00170015, 0x001B0019, 0x001F001D, 0x00230021, 0x00270025,
                                    0x002B0029, 0x002F002D, 0x00330031, 0x00370035, 0x003B0039, 0x003F003D);
    __m512i high = _mm512_permutex2var_epi16(narrowInt(a), pick, narrowInt(b));
    if constexpr (Swapped)
        high = _mm512_shuffle_epi8(high,
            _mm512_broadcast_i32x4(_mm_setr_epi8(1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14)));
    return high;
}
#endif

template <bool Swapped> PV_AVX512_FN void writeInt16(void* out, int32_t* l, int32_t n, int32_t* r)
{
    auto* o = static_cast<unsigned char*>(out);
    if (!r) {
        const auto whole = [&](int32_t i) PV_AVX512_LAMBDA {
            store16(o + 2 * i, high16<Swapped, false>(load16(l + i), load16(l + i + 16)));
        };
        const auto part = [&](int32_t i, int32_t count) PV_AVX512_LAMBDA {
            const __mmask32 m = __mmask32((uint64_t(1) << count) - 1u);
            const __m512i a = _mm512_maskz_loadu_epi32(__mmask16(m), l + i);
            const __m512i b = _mm512_maskz_loadu_epi32(__mmask16(m >> 16), l + i + 16);
            _mm512_mask_storeu_epi16(o + 2 * i, m, high16<Swapped, false>(a, b));
        };
        forwardGroups(n, n >= 64 ? framesToBoundary(o, 2) : 0, 32, whole, part);
    } else {
        const auto whole = [&](int32_t i) PV_AVX512_LAMBDA {
            store16(o + 4 * i, high16<Swapped, true>(load16(l + i), load16(r + i)));
        };
        const auto part = [&](int32_t i, int32_t count) PV_AVX512_LAMBDA {
            const __mmask16 m = firstLanes(count);
            const __m512i high = high16<Swapped, true>(
                _mm512_maskz_loadu_epi32(m, l + i), _mm512_maskz_loadu_epi32(m, r + i));
            _mm512_mask_storeu_epi16(o + 4 * i, __mmask32((uint64_t(1) << (2 * count)) - 1u), high);
        };
        forwardGroups(n, n >= 32 ? framesToBoundary(o, 4) : 0, 16, whole, part);
    }
}

PV_AVX512_FN void floatTo32(void* o, int32_t* l, int32_t n, int32_t* r)
{
    writeInt<W32<false>>(o, l, n, r);
}
PV_AVX512_FN void floatTo24(void* o, int32_t* l, int32_t n, int32_t* r)
{
    writeInt<W24<false>>(o, l, n, r);
}
PV_AVX512_FN void floatTo16(void* o, int32_t* l, int32_t n, int32_t* r)
{
    writeInt16<false>(o, l, n, r);
}
PV_AVX512_FN void floatTo8(void* o, int32_t* l, int32_t n, int32_t* r)
{
    writeInt<W8>(o, l, n, r);
}
PV_AVX512_FN void floatTo32Swap(void* o, int32_t* l, int32_t n, int32_t* r)
{
    writeInt<W32<true>>(o, l, n, r);
}
PV_AVX512_FN void floatTo24Swap(void* o, int32_t* l, int32_t n, int32_t* r)
{
    writeInt<W24<true>>(o, l, n, r);
}
PV_AVX512_FN void floatTo16Swap(void* o, int32_t* l, int32_t n, int32_t* r)
{
    writeInt16<true>(o, l, n, r);
}

template <bool Swapped> PV_AVX512_FN void floatToFloat(void* out, int32_t* l, int32_t n, int32_t* r)
{
    auto* o = static_cast<int32_t*>(out);
    int32_t i = 0;
    if (!r) {
        if (!Swapped) {
            P.floatToFloatFile(out, l, n, nullptr);
            return;
        }
        for (; i + 16 <= n; i += 16)
            store16(o + i, bswap32(load16(l + i)));
        if (i < n)
            P.floatToFloatSwap(o + i, l + i, n - i, nullptr);
    } else {
        for (; i + 16 <= n; i += 16) {
            __m512i a, b;
            interleave(load16(l + i), load16(r + i), a, b);
            store16(o + 2 * i, Swapped ? bswap32(a) : a);
            store16(o + 2 * i + 16, Swapped ? bswap32(b) : b);
        }
        if (i < n)
            (Swapped ? P.floatToFloatSwap : P.floatToFloatFile)(o + 2 * i, l + i, n - i, r + i);
    }
}

PV_AVX512_FN void floatToDouble(void* out, int32_t* l, int32_t n, int32_t*)
{
    auto* o = static_cast<double*>(out);
    int32_t i = 0;
    for (; i + 8 <= n; i += 8)
        _mm512_storeu_pd(o + i, _mm512_cvtps_pd(_mm256_loadu_ps(reinterpret_cast<const float*>(l + i))));
    if (i < n)
        P.floatToDouble(o + i, l + i, n - i, nullptr);
}

PV_AVX512_FN void floatTo16Interleaved2(void* out, int32_t* l, int32_t n, int32_t*)
{
    auto* o = static_cast<int16_t*>(out);
    int32_t i = 0;
    for (; i + 16 <= n; i += 16) {
        // The low half of each 32-bit frame takes the sample; the other slot is kept.
        const __m512i s = _mm512_srai_epi32(bitsToInt(load16(l + i)), 16);
        const __m512i frames = load16(o + 2 * i);
        store16(o + 2 * i, _mm512_mask_blend_epi16(0x55555555u, frames, s));
    }
    if (i < n)
        P.floatTo16Interleaved2(o + 2 * i, l + i, n - i, nullptr);
}

// ---- reader formats ---------------------------------------------------------------

// Each format reads sixteen samples: `load` all of them, `loadPart` the first `count`
// (0 to 16) without touching the bytes after them.
struct R32 {
    static constexpr int bytes = 4;
    PV_AVX512 static __m512 convert(__m512i v) { return scaled(_mm512_srai_epi32(v, 8), 1.0f / 8388608.0f); }
    PV_AVX512 static __m512 load(const unsigned char* p) { return convert(load16(p)); }
    PV_AVX512 static __m512 loadPart(const unsigned char* p, int32_t count)
    {
        return convert(_mm512_maskz_loadu_epi32(firstLanes(count), p));
    }
};
struct R32Swap {
    static constexpr int bytes = 4;
    PV_AVX512 static __m512 load(const unsigned char* p) { return R32::convert(bswap32(load16(p))); }
    PV_AVX512 static __m512 loadPart(const unsigned char* p, int32_t count)
    {
        return R32::convert(bswap32(_mm512_maskz_loadu_epi32(firstLanes(count), p)));
    }
};
template <bool Swapped> struct R16 {
    static constexpr int bytes = 2;
    PV_AVX512 static __m512 convert(__m256i v)
    {
        if constexpr (Swapped)
            v = _mm256_shuffle_epi8(v,
                _mm256_setr_epi8(1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14, 1, 0, 3, 2, 5, 4, 7, 6,
                    9, 8, 11, 10, 13, 12, 15, 14));
        return scaled(_mm512_cvtepi16_epi32(v), 1.0f / 32768.0f);
    }
    PV_AVX512 static __m512 load(const unsigned char* p)
    {
        return convert(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)));
    }
    PV_AVX512 static __m512 loadPart(const unsigned char* p, int32_t count)
    {
        return convert(_mm256_maskz_loadu_epi16(firstLanes(count), p));
    }
};
// The swapped 8-bit form is unsigned with an offset of 128.
template <bool Swapped> struct R8 {
    static constexpr int bytes = 1;
    PV_AVX512 static __m512 convert(__m128i v)
    {
        if constexpr (Swapped)
            v = _mm_xor_si128(v, _mm_set1_epi8(-128));
        return scaled(_mm512_cvtepi8_epi32(v), 1.0f / 128.0f);
    }
    PV_AVX512 static __m512 load(const unsigned char* p)
    {
        return convert(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
    }
    PV_AVX512 static __m512 loadPart(const unsigned char* p, int32_t count)
    {
        return convert(_mm_maskz_loadu_epi8(firstLanes(count), p));
    }
};
#if PV_AVX512_VBMI
// Byte b of word j: zero for b = 0 (masked off), else byte b - 1 (or 3 - b swapped) of
// sample j.
template <bool Swapped> constexpr int unpacked24Byte(int i)
{
    const int j = i / 4, b = i % 4;
    return b == 0 ? 0 : 3 * j + (Swapped ? 3 - b : b - 1);
}
#endif
// Sixteen 3-byte samples: a masked load of exactly 48 bytes, then each sample into the
// top three bytes of its word (a byte permute, or a spread to 12 bytes per 128-bit lane
// and a shuffle) over a zero byte: a multiple of 256 with 24 significant bits, which
// converts exactly and scales by 2^-31.
template <bool Swapped> struct R24 {
    static constexpr int bytes = 3;
#if PV_AVX512_VBMI
    PV_AVX512 static __m512 convert(__m512i raw)
    {
        const __m512i top = _mm512_maskz_permutexvar_epi8(
            0xEEEEEEEEEEEEEEEEull, ByteIndex<unpacked24Byte<Swapped>>::load(), raw);
        return scaled(top, 1.0f / 2147483648.0f);
    }
#else
    PV_AVX512 static __m512 convert(__m512i raw)
    {
        const __m512i spread = _mm512_permutexvar_epi32(
            _mm512_setr_epi32(0, 1, 2, 2, 3, 4, 5, 5, 6, 7, 8, 8, 9, 10, 11, 11), raw);
        const __m128i lane = Swapped ? _mm_setr_epi8(-1, 2, 1, 0, -1, 5, 4, 3, -1, 8, 7, 6, -1, 11, 10, 9)
                                     : _mm_setr_epi8(-1, 0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11);
        const __m512i top = _mm512_shuffle_epi8(spread, _mm512_broadcast_i32x4(lane));
        return scaled(top, 1.0f / 2147483648.0f);
    }
#endif
    PV_AVX512 static __m512 load(const unsigned char* p)
    {
        return convert(_mm512_maskz_loadu_epi32(0x0FFF, p));
    }
    PV_AVX512 static __m512 loadPart(const unsigned char* p, int32_t count)
    {
        return convert(_mm512_maskz_loadu_epi8((uint64_t(1) << (3 * count)) - 1u, p));
    }
};

// Sixteen frames of two channels from 2 * 16 samples (`count` frames for a part).
template <class F>
PV_AVX512 void readFrames(int32_t* l, int32_t* r, const unsigned char* s, int32_t i, int32_t count)
{
    const unsigned char* at = s + 2 * F::bytes * i;
    __m512 a, b;
    if (count == 16) {
        b = F::load(at + 16 * F::bytes);
        a = F::load(at);
    } else {
        b = F::loadPart(at + 16 * F::bytes, std::max(2 * count - 16, 0));
        a = F::loadPart(at, std::min(2 * count, 16));
    }
    __m512 left, right;
    deinterleave(a, b, left, right);
    _mm512_mask_storeu_ps(l + i, firstLanes(count), left);
    _mm512_mask_storeu_ps(r + i, firstLanes(count), right);
}

// Readers of narrower samples walk down from the end so that a block expands onto
// itself; the left output's stores are the aligned ones.
template <class F> PV_AVX512_FN void readBackward(int32_t* l, void* in, int32_t n, int32_t* r)
{
    const auto* s = static_cast<const unsigned char*>(in);
    const int32_t tail = n >= 32 ? floatsPastBoundary(l, n) : 0;
    if (!r) {
        backwardGroups(
            n, tail, 16, [&](int32_t i) PV_AVX512_LAMBDA { store16f(l + i, F::load(s + F::bytes * i)); },
            [&](int32_t i, int32_t count) PV_AVX512_LAMBDA {
                _mm512_mask_storeu_ps(l + i, firstLanes(count), F::loadPart(s + F::bytes * i, count));
            });
    } else {
        backwardGroups(
            n, tail, 16, [&](int32_t i) PV_AVX512_LAMBDA { readFrames<F>(l, r, s, i, 16); },
            [&](int32_t i, int32_t count) PV_AVX512_LAMBDA { readFrames<F>(l, r, s, i, count); });
    }
}

template <class F> PV_AVX512_FN void readForward(int32_t* l, void* in, int32_t n, int32_t* r)
{
    const auto* s = static_cast<const unsigned char*>(in);
    const int32_t head = n >= 32 ? framesToBoundary(l, 4) : 0;
    if (!r) {
        forwardGroups(
            n, head, 16, [&](int32_t i) PV_AVX512_LAMBDA { store16f(l + i, F::load(s + F::bytes * i)); },
            [&](int32_t i, int32_t count) PV_AVX512_LAMBDA {
                for (const int32_t end = i + count; i < end; i += 16) {
                    const int32_t c = std::min(end - i, 16);
                    _mm512_mask_storeu_ps(l + i, firstLanes(c), F::loadPart(s + F::bytes * i, c));
                }
            });
    } else {
        forwardGroups(
            n, head, 16, [&](int32_t i) PV_AVX512_LAMBDA { readFrames<F>(l, r, s, i, 16); },
            [&](int32_t i, int32_t count) PV_AVX512_LAMBDA {
                for (const int32_t end = i + count; i < end; i += 16)
                    readFrames<F>(l, r, s, i, std::min(end - i, 16));
            });
    }
}

PV_AVX512_FN void from32(int32_t* l, void* in, int32_t n, int32_t* r)
{
    readBackward<R32>(l, in, n, r);
}
PV_AVX512_FN void from16(int32_t* l, void* in, int32_t n, int32_t* r)
{
    readBackward<R16<false>>(l, in, n, r);
}
PV_AVX512_FN void from8(int32_t* l, void* in, int32_t n, int32_t* r)
{
    readBackward<R8<false>>(l, in, n, r);
}
PV_AVX512_FN void from16Swap(int32_t* l, void* in, int32_t n, int32_t* r)
{
    readBackward<R16<true>>(l, in, n, r);
}
PV_AVX512_FN void from8Swap(int32_t* l, void* in, int32_t n, int32_t* r)
{
    readBackward<R8<true>>(l, in, n, r);
}
PV_AVX512_FN void from32Swap(int32_t* l, void* in, int32_t n, int32_t* r)
{
    readForward<R32Swap>(l, in, n, r);
}
template <bool Swapped> PV_AVX512_FN void from24(int32_t* l, void* in, int32_t n, int32_t* r)
{
    if (!r)
        readBackward<R24<Swapped>>(l, in, n, nullptr);
    else
        readForward<R24<Swapped>>(l, in, n, r);
}

template <bool Swapped> PV_AVX512_FN void fromFloat(int32_t* l, void* in, int32_t n, int32_t* r)
{
    const auto* s = static_cast<const int32_t*>(in);
    int32_t i = 0;
    if (!r) {
        if (!Swapped) {
            P.fromFloatFile(l, in, n, nullptr);
            return;
        }
        for (; i + 16 <= n; i += 16)
            store16(l + i, bswap32(load16(s + i)));
        if (i < n)
            P.fromFloatSwap(l + i, const_cast<int32_t*>(s + i), n - i, nullptr);
    } else {
        for (; i + 16 <= n; i += 16) {
            __m512i a = load16(s + 2 * i), b = load16(s + 2 * i + 16);
            if (Swapped) {
                a = bswap32(a);
                b = bswap32(b);
            }
            __m512 left, right;
            deinterleave(_mm512_castsi512_ps(a), _mm512_castsi512_ps(b), left, right);
            store16f(l + i, left);
            store16f(r + i, right);
        }
        if (i < n)
            (Swapped ? P.fromFloatSwap : P.fromFloatFile)(
                l + i, const_cast<int32_t*>(s + 2 * i), n - i, r + i);
    }
}

PV_AVX512_FN void fromDouble(int32_t* l, void* in, int32_t n, int32_t*)
{
    const auto* s = static_cast<const double*>(in);
    int32_t i = 0;
    for (; i + 8 <= n; i += 8)
        _mm256_storeu_ps(reinterpret_cast<float*>(l + i), _mm512_cvtpd_ps(_mm512_loadu_pd(s + i)));
    if (i < n)
        P.fromDouble(l + i, const_cast<double*>(s + i), n - i, nullptr);
}

PV_AVX512_FN void from16Interleaved2(int32_t* l, void* in, int32_t n, int32_t*)
{
    const auto* s = static_cast<const int16_t*>(in);
    int32_t i = 0;
    for (; i + 16 <= n; i += 16) {
        const __m512i frames = load16(s + 2 * i);
        store16f(l + i, scaled(_mm512_srai_epi32(_mm512_slli_epi32(frames, 16), 16), 1.0f / 32768.0f));
    }
    if (i < n)
        P.from16Interleaved2(l + i, const_cast<int16_t*>(s + 2 * i), n - i, nullptr);
}

} // namespace

const Kernels PV_AVX512_TABLE = {
    floatTo32,
    floatTo24,
    floatTo16,
    floatTo8,
    floatTo32Swap,
    floatTo24Swap,
    floatTo16Swap,
    floatToFloat<false>,
    floatToFloat<true>,
    floatToDouble,
    floatTo16Interleaved2,
    from32,
    from24<false>,
    from16,
    from8,
    from32Swap,
    from24<true>,
    from16Swap,
    from8Swap,
    fromFloat<false>,
    fromFloat<true>,
    fromDouble,
    from16Interleaved2,
};

} // namespace PvSample

#endif
