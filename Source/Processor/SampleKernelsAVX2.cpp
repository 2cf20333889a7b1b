// AVX2 converter kernels, 8 samples per step. The library is built for baseline x86-64,
// so only these functions are compiled for AVX2 (target attribute) and they are reached
// only through the dispatch table when the processor has AVX2. The ends of blocks go
// through the portable kernels.
//
// Integer to float: the sample m (at most 24 significant bits) becomes the float m and
// is scaled by a power of two; both steps are exact, so the bits equal those of the
// portable 1.0 + m * 2^-23 construction.
#include "SampleKernels_p.h"

#if defined(__x86_64__) || defined(__i386__)

#include <immintrin.h>

#include <bit>

#define PV_AVX2 __attribute__((target("avx2"), always_inline)) inline
#define PV_AVX2_FN __attribute__((target("avx2")))
// Loops over the four vectors of a group, written out so they stay in registers.
#define PV_UNROLL4 _Pragma("GCC unroll 4")

namespace PvSample {
namespace {

const Kernels& P = kPortableKernels;

// ---- shared steps ---------------------------------------------------------------

// The float-to-integer bit rule on 8 floats: the 32-bit intermediate I.
PV_AVX2 __m256i bitsToInt(__m256i b)
{
    const __m256i exponent = _mm256_and_si256(_mm256_srli_epi32(b, 23), _mm256_set1_epi32(0xFF));
    const __m256i shift = _mm256_sub_epi32(_mm256_set1_epi32(127), exponent);
    const __m256i mantissa = _mm256_or_si256(_mm256_slli_epi32(b, 8), _mm256_set1_epi32(int(0x80000000u)));
    // Shifts of 32 or more (tiny values, zeros) give 0; the clip case is chosen below.
    __m256i m = _mm256_srlv_epi32(mantissa, shift);
    const __m256i clip = _mm256_cmpgt_epi32(exponent, _mm256_set1_epi32(126));
    m = _mm256_blendv_epi8(m, _mm256_set1_epi32(0x7FFFFF00), clip);
    const __m256i sign = _mm256_srai_epi32(b, 31);
    return _mm256_sub_epi32(_mm256_xor_si256(m, sign), sign);
}

// The conversion instruction does the bit rule's shifting for |x| < 1: |x| * 2^31
// truncated toward zero. AVX2 has no way to suppress its exceptions per instruction,
// so every writer that converts runs under a QuietMxcsr: all exceptions masked while it
// works, and the caller's control and status register put back exactly afterwards, so
// neither a trap nor a status flag (inexact, invalid) reaches the caller.
class QuietMxcsr {
public:
    QuietMxcsr()
        : m_saved(_mm_getcsr())
    {
        _mm_setcsr(m_saved | 0x1F80u);
    }
    ~QuietMxcsr() { _mm_setcsr(m_saved); }
    QuietMxcsr(const QuietMxcsr&) = delete;
    QuietMxcsr& operator=(const QuietMxcsr&) = delete;

private:
    unsigned m_saved;
};

// |x| * 2^31 truncated, with the sign; 0x80000000 for |x| >= 1 (counting -1.0),
// infinities and NaNs, and for nothing else.
PV_AVX2 __m256i truncated(__m256i b)
{
    return _mm256_cvttps_epi32(_mm256_mul_ps(_mm256_castsi256_ps(b), _mm256_set1_ps(2147483648.0f)));
}

// The bit rule on four vectors: the conversion, and the integer rule instead only for
// a group where one minimum of the four shows a clip (rare in audio).
PV_AVX2 void bitsToInt4(__m256i v[4])
{
    __m256i m[4];
    PV_UNROLL4
    for (int k = 0; k < 4; ++k)
        m[k] = truncated(v[k]);
    const __m256i low = _mm256_min_epi32(_mm256_min_epi32(m[0], m[1]), _mm256_min_epi32(m[2], m[3]));
    if (_mm256_movemask_epi8(_mm256_cmpeq_epi32(low, _mm256_set1_epi32(int(0x80000000u))))) [[unlikely]] {
        PV_UNROLL4
        for (int k = 0; k < 4; ++k)
            v[k] = bitsToInt(v[k]);
    } else {
        PV_UNROLL4
        for (int k = 0; k < 4; ++k)
            v[k] = m[k];
    }
}

// The narrow intermediate of the AVX-512 kernels: positive clips lowered to 0.99999994
// before the conversion give the right high half and byte without a fix-up.
PV_AVX2 __m256i narrowInt(__m256i b)
{
    return truncated(_mm256_min_epi32(b, _mm256_set1_epi32(0x3F7FFFFF)));
}

PV_AVX2 __m256i load8(const int32_t* p)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}
PV_AVX2 void store8(int32_t* p, __m256i v)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v);
}
PV_AVX2 void store8f(int32_t* p, __m256 v)
{
    _mm256_storeu_ps(reinterpret_cast<float*>(p), v);
}

// Samples with `bits` significant bits (sign included) to floats: m / 2^(bits-1).
PV_AVX2 __m256 scaled(__m256i m, float scale)
{
    return _mm256_mul_ps(_mm256_cvtepi32_ps(m), _mm256_set1_ps(scale));
}

PV_AVX2 __m256i bswap32(__m256i v)
{
    const __m256i mask = _mm256_setr_epi8(3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12, 3, 2, 1, 0, 7,
        6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12);
    return _mm256_shuffle_epi8(v, mask);
}

// Two vectors of frames [l0 r0 l1 r1 l2 r2 l3 r3], [l4 r4 ... l7 r7] from 8 left
// and 8 right samples, and back.
PV_AVX2 void interleave(__m256i l, __m256i r, __m256i& a, __m256i& b)
{
    const __m256i lo = _mm256_unpacklo_epi32(l, r);
    const __m256i hi = _mm256_unpackhi_epi32(l, r);
    a = _mm256_permute2x128_si256(lo, hi, 0x20);
    b = _mm256_permute2x128_si256(lo, hi, 0x31);
}

PV_AVX2 void deinterleave(__m256 a, __m256 b, __m256& l, __m256& r)
{
    const __m256i order = _mm256_setr_epi32(0, 2, 4, 6, 1, 3, 5, 7);
    const __m256 a2 = _mm256_permutevar8x32_ps(a, order);
    const __m256 b2 = _mm256_permutevar8x32_ps(b, order);
    l = _mm256_permute2f128_ps(a2, b2, 0x20);
    r = _mm256_permute2f128_ps(a2, b2, 0x31);
}

// ---- writer formats: Emit stores 8 intermediates I ------------------------------

struct W32 {
    static constexpr int bytes = 4;
    PV_AVX2 static void emit(unsigned char* o, __m256i v)
    {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(o), v);
    }
};
struct W32Swap {
    static constexpr int bytes = 4;
    PV_AVX2 static void emit(unsigned char* o, __m256i v) { W32::emit(o, bswap32(v)); }
};
struct W16 {
    static constexpr int bytes = 2;
    PV_AVX2 static __m128i pack(__m256i v)
    {
        const __m256i s = _mm256_srai_epi32(v, 16);
        return _mm_packs_epi32(_mm256_castsi256_si128(s), _mm256_extracti128_si256(s, 1));
    }
    PV_AVX2 static void emit(unsigned char* o, __m256i v)
    {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(o), pack(v));
    }
};
struct W16Swap {
    static constexpr int bytes = 2;
    PV_AVX2 static void emit(unsigned char* o, __m256i v)
    {
        const __m128i mask = _mm_setr_epi8(1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(o), _mm_shuffle_epi8(W16::pack(v), mask));
    }
};
struct W8 {
    static constexpr int bytes = 1;
    PV_AVX2 static void emit(unsigned char* o, __m256i v)
    {
        const __m256i s = _mm256_srai_epi32(v, 24);
        const __m128i w = _mm_packs_epi32(_mm256_castsi256_si128(s), _mm256_extracti128_si256(s, 1));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(o), _mm_packs_epi16(w, w));
    }
};
// 3-byte samples: gather 3 bytes of each word within each half, close the gap between
// the halves and store exactly 24 bytes.
template <bool Swapped> struct W24 {
    static constexpr int bytes = 3;
    PV_AVX2 static void emit(unsigned char* o, __m256i v)
    {
        const __m256i mask = Swapped ? _mm256_setr_epi8(3, 2, 1, 7, 6, 5, 11, 10, 9, 15, 14, 13, -1, -1, -1,
                                 -1, 3, 2, 1, 7, 6, 5, 11, 10, 9, 15, 14, 13, -1, -1, -1, -1)
                                     : _mm256_setr_epi8(1, 2, 3, 5, 6, 7, 9, 10, 11, 13, 14, 15, -1, -1, -1,
                                         -1, 1, 2, 3, 5, 6, 7, 9, 10, 11, 13, 14, 15, -1, -1, -1, -1);
        const __m256i packed = _mm256_permutevar8x32_epi32(
            _mm256_shuffle_epi8(v, mask), _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(o), _mm256_castsi256_si128(packed));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(o + 16), _mm256_extracti128_si256(packed, 1));
    }
};

// Frames from `p` to the next 32-byte boundary for frames of `frameBytes` (1, 2, 3, 4,
// 6 or 8) bytes; 0 when no whole number of frames lands on one.
inline int32_t framesToBoundary(const void* p, int32_t frameBytes)
{
    const uint32_t gap = (0u - uint32_t(reinterpret_cast<uintptr_t>(p))) & 31u;
    const int shift = std::countr_zero(uint32_t(frameBytes));
    if (gap & ((1u << shift) - 1u))
        return 0;
    const uint32_t inverse = (frameBytes >> shift) == 3 ? 11u : 1u; // 3 * 11 = 1 modulo 32
    return int32_t(((gap >> shift) * inverse) & (31u >> shift));
}

// Groups of 32 output samples (32 mono frames, or 16 stereo frames interleaved) whose
// stores start on 32-byte boundaries where the output allows; the frames before the
// first group and after the last go through the portable kernel.
template <class F>
PV_AVX2_FN void writeInt(void* out, int32_t* l, int32_t n, int32_t* r, tConvertFloatToN ends)
{
    const QuietMxcsr quiet;
    auto* o = static_cast<unsigned char*>(out);
    const int32_t channels = r ? 2 : 1;
    const int32_t frameBytes = channels * F::bytes;
    const int32_t group = 32 / channels;
    int32_t i = n >= 128 ? framesToBoundary(o, frameBytes) : 0;
    if (i > 0)
        ends(o, l, i, r);
    for (; i + group <= n; i += group) {
        __m256i v[4];
        if (!r) {
            PV_UNROLL4
            for (int k = 0; k < 4; ++k)
                v[k] = load8(l + i + 8 * k);
        } else {
            v[0] = load8(l + i);
            v[1] = load8(r + i);
            v[2] = load8(l + i + 8);
            v[3] = load8(r + i + 8);
        }
        if constexpr (F::bytes <= 2) {
            PV_UNROLL4
            for (int k = 0; k < 4; ++k)
                v[k] = narrowInt(v[k]);
        } else {
            bitsToInt4(v);
        }
        if (r) {
            const __m256i l0 = v[0], r0 = v[1], l1 = v[2], r1 = v[3];
            interleave(l0, r0, v[0], v[1]);
            interleave(l1, r1, v[2], v[3]);
        }
        PV_UNROLL4
        for (int k = 0; k < 4; ++k)
            F::emit(o + frameBytes * i + 8 * F::bytes * k, v[k]);
    }
    if (i < n)
        ends(o + frameBytes * i, l + i, n - i, r ? r + i : nullptr);
}

PV_AVX2_FN void floatTo32(void* o, int32_t* l, int32_t n, int32_t* r)
{
    writeInt<W32>(o, l, n, r, P.floatTo32);
}
PV_AVX2_FN void floatTo24(void* o, int32_t* l, int32_t n, int32_t* r)
{
    writeInt<W24<false>>(o, l, n, r, P.floatTo24);
}
PV_AVX2_FN void floatTo16(void* o, int32_t* l, int32_t n, int32_t* r)
{
    writeInt<W16>(o, l, n, r, P.floatTo16);
}
PV_AVX2_FN void floatTo8(void* o, int32_t* l, int32_t n, int32_t* r)
{
    writeInt<W8>(o, l, n, r, P.floatTo8);
}
PV_AVX2_FN void floatTo32Swap(void* o, int32_t* l, int32_t n, int32_t* r)
{
    writeInt<W32Swap>(o, l, n, r, P.floatTo32Swap);
}
PV_AVX2_FN void floatTo24Swap(void* o, int32_t* l, int32_t n, int32_t* r)
{
    writeInt<W24<true>>(o, l, n, r, P.floatTo24Swap);
}
PV_AVX2_FN void floatTo16Swap(void* o, int32_t* l, int32_t n, int32_t* r)
{
    writeInt<W16Swap>(o, l, n, r, P.floatTo16Swap);
}

// Float words: copied or byte-reversed, joined for two channels.
template <bool Swapped> PV_AVX2_FN void floatToFloat(void* out, int32_t* l, int32_t n, int32_t* r)
{
    auto* o = static_cast<int32_t*>(out);
    int32_t i = 0;
    if (!r) {
        if (!Swapped) {
            P.floatToFloatFile(out, l, n, nullptr);
            return;
        }
        for (; i + 8 <= n; i += 8)
            store8(o + i, bswap32(load8(l + i)));
        if (i < n)
            P.floatToFloatSwap(o + i, l + i, n - i, nullptr);
    } else {
        for (; i + 8 <= n; i += 8) {
            __m256i a, b;
            interleave(load8(l + i), load8(r + i), a, b);
            store8(o + 2 * i, Swapped ? bswap32(a) : a);
            store8(o + 2 * i + 8, Swapped ? bswap32(b) : b);
        }
        if (i < n)
            (Swapped ? P.floatToFloatSwap : P.floatToFloatFile)(o + 2 * i, l + i, n - i, r + i);
    }
}

PV_AVX2_FN void floatToDouble(void* out, int32_t* l, int32_t n, int32_t*)
{
    auto* o = static_cast<double*>(out);
    int32_t i = 0;
    for (; i + 4 <= n; i += 4)
        _mm256_storeu_pd(o + i, _mm256_cvtps_pd(_mm_loadu_ps(reinterpret_cast<const float*>(l + i))));
    if (i < n)
        P.floatToDouble(o + i, l + i, n - i, nullptr);
}

PV_AVX2_FN void floatTo16Interleaved2(void* out, int32_t* l, int32_t n, int32_t*)
{
    auto* o = static_cast<int16_t*>(out);
    int32_t i = 0;
    for (; i + 8 <= n; i += 8) {
        // The new sample goes into the low half of each 32-bit frame; the other
        // channel's slot keeps its bits.
        auto* frames = reinterpret_cast<__m256i*>(o + 2 * i);
        const __m256i s = _mm256_srai_epi32(bitsToInt(load8(l + i)), 16);
        _mm256_storeu_si256(frames, _mm256_blend_epi16(_mm256_loadu_si256(frames), s, 0x55));
    }
    if (i < n)
        P.floatTo16Interleaved2(o + 2 * i, l + i, n - i, nullptr);
}

// ---- reader formats: Load reads 8 samples and gives their floats ----------------

struct R32 {
    static constexpr int bytes = 4;
    PV_AVX2 static __m256 load(const unsigned char* p)
    {
        const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
        return scaled(_mm256_srai_epi32(v, 8), 1.0f / 8388608.0f);
    }
};
struct R32Swap {
    static constexpr int bytes = 4;
    PV_AVX2 static __m256 load(const unsigned char* p)
    {
        const __m256i v = bswap32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)));
        return scaled(_mm256_srai_epi32(v, 8), 1.0f / 8388608.0f);
    }
};
struct R16 {
    static constexpr int bytes = 2;
    PV_AVX2 static __m256 load(const unsigned char* p)
    {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        return scaled(_mm256_cvtepi16_epi32(v), 1.0f / 32768.0f);
    }
};
struct R16Swap {
    static constexpr int bytes = 2;
    PV_AVX2 static __m256 load(const unsigned char* p)
    {
        const __m128i mask = _mm_setr_epi8(1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14);
        const __m128i v = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)), mask);
        return scaled(_mm256_cvtepi16_epi32(v), 1.0f / 32768.0f);
    }
};
struct R8 {
    static constexpr int bytes = 1;
    PV_AVX2 static __m256 load(const unsigned char* p)
    {
        const __m128i v = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
        return scaled(_mm256_cvtepi8_epi32(v), 1.0f / 128.0f);
    }
};
// Unsigned bytes with an offset of 128: flipping the top bit makes them signed.
struct R8Swap {
    static constexpr int bytes = 1;
    PV_AVX2 static __m256 load(const unsigned char* p)
    {
        const __m128i v
            = _mm_xor_si128(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)), _mm_set1_epi8(-128));
        return scaled(_mm256_cvtepi8_epi32(v), 1.0f / 128.0f);
    }
};
// 3-byte samples: 24 bytes are read as bytes 0-15 and 8-23 (never beyond the block)
// and each half spreads its four samples into the top bytes of four words.
template <bool Swapped> struct R24 {
    static constexpr int bytes = 3;
    PV_AVX2 static __m256 load(const unsigned char* p)
    {
        const __m128i lo = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const __m128i hi = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 8));
        const __m256i v = _mm256_inserti128_si256(_mm256_castsi128_si256(lo), hi, 1);
        const __m256i mask = Swapped ? _mm256_setr_epi8(-1, 2, 1, 0, -1, 5, 4, 3, -1, 8, 7, 6, -1, 11, 10, 9,
                                 -1, 6, 5, 4, -1, 9, 8, 7, -1, 12, 11, 10, -1, 15, 14, 13)
                                     : _mm256_setr_epi8(-1, 0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11,
                                         -1, 4, 5, 6, -1, 7, 8, 9, -1, 10, 11, 12, -1, 13, 14, 15);
        // The sample lands in the top three bytes over a zero byte, which converts
        // exactly and scales by 2^-31 (no shift back needed).
        return scaled(_mm256_shuffle_epi8(v, mask), 1.0f / 2147483648.0f);
    }
};

// Narrow readers walk backward so that the output may overlay the input: the last
// partial group first (the portable kernel walks backward too), then whole groups,
// each read completely before it is stored.
template <class F>
PV_AVX2_FN void readBackward(int32_t* l, void* in, int32_t n, int32_t* r, tConvertNToFloat tail)
{
    const auto* s = static_cast<const unsigned char*>(in);
    const int32_t whole = n & ~7;
    if (!r) {
        if (whole < n)
            tail(l + whole, const_cast<unsigned char*>(s + F::bytes * whole), n - whole, nullptr);
        for (int32_t i = whole - 8; i >= 0; i -= 8)
            store8f(l + i, F::load(s + F::bytes * i));
    } else {
        if (whole < n)
            tail(l + whole, const_cast<unsigned char*>(s + 2 * F::bytes * whole), n - whole, r + whole);
        for (int32_t i = whole - 8; i >= 0; i -= 8) {
            const __m256 b = F::load(s + 2 * F::bytes * i + 8 * F::bytes);
            const __m256 a = F::load(s + 2 * F::bytes * i);
            __m256 left, right;
            deinterleave(a, b, left, right);
            store8f(l + i, left);
            store8f(r + i, right);
        }
    }
}

template <class F>
PV_AVX2_FN void readForward(int32_t* l, void* in, int32_t n, int32_t* r, tConvertNToFloat tail)
{
    const auto* s = static_cast<const unsigned char*>(in);
    int32_t i = 0;
    if (!r) {
        for (; i + 8 <= n; i += 8)
            store8f(l + i, F::load(s + F::bytes * i));
        if (i < n)
            tail(l + i, const_cast<unsigned char*>(s + F::bytes * i), n - i, nullptr);
    } else {
        for (; i + 8 <= n; i += 8) {
            __m256 left, right;
            deinterleave(
                F::load(s + 2 * F::bytes * i), F::load(s + 2 * F::bytes * i + 8 * F::bytes), left, right);
            store8f(l + i, left);
            store8f(r + i, right);
        }
        if (i < n)
            tail(l + i, const_cast<unsigned char*>(s + 2 * F::bytes * i), n - i, r + i);
    }
}

PV_AVX2_FN void from32(int32_t* l, void* in, int32_t n, int32_t* r)
{
    readBackward<R32>(l, in, n, r, P.from32);
}
PV_AVX2_FN void from16(int32_t* l, void* in, int32_t n, int32_t* r)
{
    readBackward<R16>(l, in, n, r, P.from16);
}
PV_AVX2_FN void from8(int32_t* l, void* in, int32_t n, int32_t* r)
{
    readBackward<R8>(l, in, n, r, P.from8);
}
PV_AVX2_FN void from16Swap(int32_t* l, void* in, int32_t n, int32_t* r)
{
    readBackward<R16Swap>(l, in, n, r, P.from16Swap);
}
PV_AVX2_FN void from8Swap(int32_t* l, void* in, int32_t n, int32_t* r)
{
    readBackward<R8Swap>(l, in, n, r, P.from8Swap);
}
PV_AVX2_FN void from32Swap(int32_t* l, void* in, int32_t n, int32_t* r)
{
    readForward<R32Swap>(l, in, n, r, P.from32Swap);
}
// Mono 3-byte data walks backward, two channels forward.
template <bool Swapped> PV_AVX2_FN void from24(int32_t* l, void* in, int32_t n, int32_t* r)
{
    const tConvertNToFloat tail = Swapped ? P.from24Swap : P.from24;
    if (!r)
        readBackward<R24<Swapped>>(l, in, n, nullptr, tail);
    else
        readForward<R24<Swapped>>(l, in, n, r, tail);
}

template <bool Swapped> PV_AVX2_FN void fromFloat(int32_t* l, void* in, int32_t n, int32_t* r)
{
    const auto* s = static_cast<const int32_t*>(in);
    int32_t i = 0;
    if (!r) {
        if (!Swapped) {
            P.fromFloatFile(l, in, n, nullptr);
            return;
        }
        for (; i + 8 <= n; i += 8)
            store8(l + i, bswap32(load8(s + i)));
        if (i < n)
            P.fromFloatSwap(l + i, const_cast<int32_t*>(s + i), n - i, nullptr);
    } else {
        for (; i + 8 <= n; i += 8) {
            __m256i a = load8(s + 2 * i), b = load8(s + 2 * i + 8);
            if (Swapped) {
                a = bswap32(a);
                b = bswap32(b);
            }
            __m256 left, right;
            deinterleave(_mm256_castsi256_ps(a), _mm256_castsi256_ps(b), left, right);
            store8f(l + i, left);
            store8f(r + i, right);
        }
        if (i < n)
            (Swapped ? P.fromFloatSwap : P.fromFloatFile)(
                l + i, const_cast<int32_t*>(s + 2 * i), n - i, r + i);
    }
}

PV_AVX2_FN void fromDouble(int32_t* l, void* in, int32_t n, int32_t*)
{
    const auto* s = static_cast<const double*>(in);
    int32_t i = 0;
    for (; i + 4 <= n; i += 4)
        _mm_storeu_ps(reinterpret_cast<float*>(l + i), _mm256_cvtpd_ps(_mm256_loadu_pd(s + i)));
    if (i < n)
        P.fromDouble(l + i, const_cast<double*>(s + i), n - i, nullptr);
}

PV_AVX2_FN void from16Interleaved2(int32_t* l, void* in, int32_t n, int32_t*)
{
    const auto* s = static_cast<const int16_t*>(in);
    int32_t i = 0;
    for (; i + 8 <= n; i += 8) {
        // Slot 2k is the low half of frame k: move it to the top and sign-extend.
        const __m256i frames = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + 2 * i));
        store8f(l + i, scaled(_mm256_srai_epi32(_mm256_slli_epi32(frames, 16), 16), 1.0f / 32768.0f));
    }
    if (i < n)
        P.from16Interleaved2(l + i, const_cast<int16_t*>(s + 2 * i), n - i, nullptr);
}

} // namespace

const Kernels kAVX2Kernels = {
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
