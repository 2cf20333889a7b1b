// AVX-512 (F and BW) converter kernels, 16 samples per step; the same structure as the
// AVX2 kernels, with mask registers for the clip and sign steps of the bit rule and
// masked stores and loads that touch exactly the 48 bytes of sixteen 3-byte samples.
// Reached only through the dispatch table when the processor has AVX-512 F and BW.
#include "SampleKernels_p.h"

#if defined(__x86_64__) || defined(__i386__)

// GCC 12 reports the deliberately undefined pass-through operands inside its own
// AVX-512 intrinsics as maybe-uninitialised.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

#include <immintrin.h>

#define PV_AVX512 __attribute__((target("avx512f,avx512bw,avx2"), always_inline)) inline
#define PV_AVX512_FN __attribute__((target("avx512f,avx512bw,avx2")))

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

// The float-to-integer bit rule on 16 floats: the truncated value, with the inputs
// that came out as 0x80000000 taking the clip level of their sign.
PV_AVX512 __m512i bitsToInt(__m512i b)
{
    const __m512i m = truncated(b);
    // 0x80000100 for negative inputs, 0x7FFFFF00 for positive ones (select by sign).
    const __m512i clip = _mm512_ternarylogic_epi32(
        _mm512_srai_epi32(b, 31), _mm512_set1_epi32(int(0x80000100u)), _mm512_set1_epi32(0x7FFFFF00), 0xCA);
    return _mm512_mask_mov_epi32(m, _mm512_cmpeq_epi32_mask(m, _mm512_set1_epi32(int(0x80000000u))), clip);
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

// ---- writer formats ---------------------------------------------------------------

struct W32 {
    static constexpr int bytes = 4;
    PV_AVX512 static void emit(unsigned char* o, __m512i v) { store16(o, v); }
};
struct W32Swap {
    static constexpr int bytes = 4;
    PV_AVX512 static void emit(unsigned char* o, __m512i v) { store16(o, bswap32(v)); }
};
// The intermediate for outputs of 16 bits or fewer, which keep only its high half or
// byte. Positive inputs of 1.0 and beyond (infinity and positive NaNs too) are lowered
// to 0.99999994 first, whose 0x7FFFFF80 has the same high half and byte as the clip
// level 0x7FFFFF00; every negative clip case converts to 0x80000000, which shares its
// high half and byte with 0x80000100. So no fix-up after the conversion is needed.
PV_AVX512 __m512i narrowInt(__m512i b)
{
    return truncated(_mm512_min_epi32(b, _mm512_set1_epi32(0x3F7FFFFF)));
}

// 16-bit output, thirty-two samples of `a` and `b` per step: `pick` takes the odd
// (high) 16-bit words of the two vectors in output order.
template <bool Swapped> PV_AVX512 void emit16(unsigned char* o, __m512i a, __m512i b, __m512i pick)
{
    __m512i high = _mm512_permutex2var_epi16(narrowInt(a), pick, narrowInt(b));
    if constexpr (Swapped)
        high = _mm512_shuffle_epi8(high,
            _mm512_broadcast_i32x4(_mm_setr_epi8(1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14)));
    store16(o, high);
}

template <bool Swapped>
PV_AVX512_FN void writeInt16(void* out, int32_t* l, int32_t n, int32_t* r, tConvertFloatToN tail)
{
    auto* o = static_cast<unsigned char*>(out);
    int32_t i = 0;
    if (!r) {
        // Odd words of `a`, then of `b`.
        const __m512i pick = _mm512_setr_epi32(0x00030001, 0x00070005, 0x000B0009, 0x000F000D, 0x00130011,
            0x00170015, 0x001B0019, 0x001F001D, 0x00230021, 0x00270025, 0x002B0029, 0x002F002D, 0x00330031,
            0x00370035, 0x003B0039, 0x003F003D);
        for (; i + 32 <= n; i += 32)
            emit16<Swapped>(o + 2 * i, load16(l + i), load16(l + i + 16), pick);
        if (i < n)
            tail(o + 2 * i, l + i, n - i, nullptr);
    } else {
        // Odd words of `a` and `b` alternately: left, right, left, ...
        const __m512i pick = _mm512_setr_epi32(0x00210001, 0x00230003, 0x00250005, 0x00270007, 0x00290009,
            0x002B000B, 0x002D000D, 0x002F000F, 0x00310011, 0x00330013, 0x00350015, 0x00370017, 0x00390019,
            0x003B001B, 0x003D001D, 0x003F001F);
        for (; i + 16 <= n; i += 16)
            emit16<Swapped>(o + 4 * i, load16(l + i), load16(r + i), pick);
        if (i < n)
            tail(o + 4 * i, l + i, n - i, r + i);
    }
}

struct W8 {
    static constexpr int bytes = 1;
    PV_AVX512 static void emit(unsigned char* o, __m512i v)
    {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(o), _mm512_cvtepi32_epi8(_mm512_srai_epi32(v, 24)));
    }
};
template <bool Swapped> struct W24 {
    static constexpr int bytes = 3;
    PV_AVX512 static void emit(unsigned char* o, __m512i v)
    {
        const __m128i lane = Swapped ? _mm_setr_epi8(3, 2, 1, 7, 6, 5, 11, 10, 9, 15, 14, 13, -1, -1, -1, -1)
                                     : _mm_setr_epi8(1, 2, 3, 5, 6, 7, 9, 10, 11, 13, 14, 15, -1, -1, -1, -1);
        const __m512i packed = _mm512_permutexvar_epi32(
            _mm512_setr_epi32(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 15, 15, 15, 15),
            _mm512_shuffle_epi8(v, _mm512_broadcast_i32x4(lane)));
        _mm512_mask_storeu_epi32(o, 0x0FFF, packed); // exactly 48 bytes
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

template <class F>
PV_AVX512_FN void writeInt(void* out, int32_t* l, int32_t n, int32_t* r, tConvertFloatToN tail)
{
    auto* o = static_cast<unsigned char*>(out);
    int32_t i = 0;
    if (!r) {
        for (; i + 16 <= n; i += 16)
            F::emit(o + F::bytes * i, toInt<F>(load16(l + i)));
        if (i < n)
            tail(o + F::bytes * i, l + i, n - i, nullptr);
    } else {
        for (; i + 16 <= n; i += 16) {
            __m512i a, b;
            interleave(toInt<F>(load16(l + i)), toInt<F>(load16(r + i)), a, b);
            F::emit(o + 2 * F::bytes * i, a);
            F::emit(o + 2 * F::bytes * i + 16 * F::bytes, b);
        }
        if (i < n)
            tail(o + 2 * F::bytes * i, l + i, n - i, r + i);
    }
}

PV_AVX512_FN void floatTo32(void* o, int32_t* l, int32_t n, int32_t* r)
{
    writeInt<W32>(o, l, n, r, P.floatTo32);
}
PV_AVX512_FN void floatTo24(void* o, int32_t* l, int32_t n, int32_t* r)
{
    writeInt<W24<false>>(o, l, n, r, P.floatTo24);
}
PV_AVX512_FN void floatTo16(void* o, int32_t* l, int32_t n, int32_t* r)
{
    writeInt16<false>(o, l, n, r, P.floatTo16);
}
PV_AVX512_FN void floatTo8(void* o, int32_t* l, int32_t n, int32_t* r)
{
    writeInt<W8>(o, l, n, r, P.floatTo8);
}
PV_AVX512_FN void floatTo32Swap(void* o, int32_t* l, int32_t n, int32_t* r)
{
    writeInt<W32Swap>(o, l, n, r, P.floatTo32Swap);
}
PV_AVX512_FN void floatTo24Swap(void* o, int32_t* l, int32_t n, int32_t* r)
{
    writeInt<W24<true>>(o, l, n, r, P.floatTo24Swap);
}
PV_AVX512_FN void floatTo16Swap(void* o, int32_t* l, int32_t n, int32_t* r)
{
    writeInt16<true>(o, l, n, r, P.floatTo16Swap);
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

struct R32 {
    static constexpr int bytes = 4;
    PV_AVX512 static __m512 load(const unsigned char* p)
    {
        return scaled(_mm512_srai_epi32(load16(p), 8), 1.0f / 8388608.0f);
    }
};
struct R32Swap {
    static constexpr int bytes = 4;
    PV_AVX512 static __m512 load(const unsigned char* p)
    {
        return scaled(_mm512_srai_epi32(bswap32(load16(p)), 8), 1.0f / 8388608.0f);
    }
};
struct R16 {
    static constexpr int bytes = 2;
    PV_AVX512 static __m512 load(const unsigned char* p)
    {
        const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
        return scaled(_mm512_cvtepi16_epi32(v), 1.0f / 32768.0f);
    }
};
struct R16Swap {
    static constexpr int bytes = 2;
    PV_AVX512 static __m512 load(const unsigned char* p)
    {
        const __m256i mask = _mm256_setr_epi8(1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14, 1, 0, 3,
            2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14);
        const __m256i v = _mm256_shuffle_epi8(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)), mask);
        return scaled(_mm512_cvtepi16_epi32(v), 1.0f / 32768.0f);
    }
};
struct R8 {
    static constexpr int bytes = 1;
    PV_AVX512 static __m512 load(const unsigned char* p)
    {
        return scaled(
            _mm512_cvtepi8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))), 1.0f / 128.0f);
    }
};
struct R8Swap {
    static constexpr int bytes = 1;
    PV_AVX512 static __m512 load(const unsigned char* p)
    {
        const __m128i v
            = _mm_xor_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)), _mm_set1_epi8(-128));
        return scaled(_mm512_cvtepi8_epi32(v), 1.0f / 128.0f);
    }
};
// Sixteen 3-byte samples: a masked load of exactly 48 bytes, spread to 12 bytes per
// 128-bit lane, then each sample into the top three bytes of its word.
template <bool Swapped> struct R24 {
    static constexpr int bytes = 3;
    PV_AVX512 static __m512 load(const unsigned char* p)
    {
        const __m512i raw = _mm512_maskz_loadu_epi32(0x0FFF, p);
        const __m512i spread = _mm512_permutexvar_epi32(
            _mm512_setr_epi32(0, 1, 2, 2, 3, 4, 5, 5, 6, 7, 8, 8, 9, 10, 11, 11), raw);
        const __m128i lane = Swapped ? _mm_setr_epi8(-1, 2, 1, 0, -1, 5, 4, 3, -1, 8, 7, 6, -1, 11, 10, 9)
                                     : _mm_setr_epi8(-1, 0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11);
        const __m512i top = _mm512_shuffle_epi8(spread, _mm512_broadcast_i32x4(lane));
        // The sample sits in the top three bytes over a zero byte: a multiple of 256
        // with 24 significant bits, which converts exactly and scales by 2^-31.
        return scaled(top, 1.0f / 2147483648.0f);
    }
};

template <class F>
PV_AVX512_FN void readBackward(int32_t* l, void* in, int32_t n, int32_t* r, tConvertNToFloat tail)
{
    const auto* s = static_cast<const unsigned char*>(in);
    const int32_t whole = n & ~15;
    if (!r) {
        if (whole < n)
            tail(l + whole, const_cast<unsigned char*>(s + F::bytes * whole), n - whole, nullptr);
        for (int32_t i = whole - 16; i >= 0; i -= 16)
            store16f(l + i, F::load(s + F::bytes * i));
    } else {
        if (whole < n)
            tail(l + whole, const_cast<unsigned char*>(s + 2 * F::bytes * whole), n - whole, r + whole);
        for (int32_t i = whole - 16; i >= 0; i -= 16) {
            const __m512 b = F::load(s + 2 * F::bytes * i + 16 * F::bytes);
            const __m512 a = F::load(s + 2 * F::bytes * i);
            __m512 left, right;
            deinterleave(a, b, left, right);
            store16f(l + i, left);
            store16f(r + i, right);
        }
    }
}

template <class F>
PV_AVX512_FN void readForward(int32_t* l, void* in, int32_t n, int32_t* r, tConvertNToFloat tail)
{
    const auto* s = static_cast<const unsigned char*>(in);
    int32_t i = 0;
    if (!r) {
        for (; i + 16 <= n; i += 16)
            store16f(l + i, F::load(s + F::bytes * i));
        if (i < n)
            tail(l + i, const_cast<unsigned char*>(s + F::bytes * i), n - i, nullptr);
    } else {
        for (; i + 16 <= n; i += 16) {
            __m512 left, right;
            deinterleave(
                F::load(s + 2 * F::bytes * i), F::load(s + 2 * F::bytes * i + 16 * F::bytes), left, right);
            store16f(l + i, left);
            store16f(r + i, right);
        }
        if (i < n)
            tail(l + i, const_cast<unsigned char*>(s + 2 * F::bytes * i), n - i, r + i);
    }
}

PV_AVX512_FN void from32(int32_t* l, void* in, int32_t n, int32_t* r)
{
    readBackward<R32>(l, in, n, r, P.from32);
}
PV_AVX512_FN void from16(int32_t* l, void* in, int32_t n, int32_t* r)
{
    readBackward<R16>(l, in, n, r, P.from16);
}
PV_AVX512_FN void from8(int32_t* l, void* in, int32_t n, int32_t* r)
{
    readBackward<R8>(l, in, n, r, P.from8);
}
PV_AVX512_FN void from16Swap(int32_t* l, void* in, int32_t n, int32_t* r)
{
    readBackward<R16Swap>(l, in, n, r, P.from16Swap);
}
PV_AVX512_FN void from8Swap(int32_t* l, void* in, int32_t n, int32_t* r)
{
    readBackward<R8Swap>(l, in, n, r, P.from8Swap);
}
PV_AVX512_FN void from32Swap(int32_t* l, void* in, int32_t n, int32_t* r)
{
    readForward<R32Swap>(l, in, n, r, P.from32Swap);
}
template <bool Swapped> PV_AVX512_FN void from24(int32_t* l, void* in, int32_t n, int32_t* r)
{
    const tConvertNToFloat tail = Swapped ? P.from24Swap : P.from24;
    if (!r)
        readBackward<R24<Swapped>>(l, in, n, nullptr, tail);
    else
        readForward<R24<Swapped>>(l, in, n, r, tail);
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

const Kernels kAVX512Kernels = {
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
