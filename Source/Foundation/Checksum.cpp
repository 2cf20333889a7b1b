#include "Checksum.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstring>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define PV_CRC32_FOLDING 1
#endif

namespace {

// ---- CRC-16/AUG-CCITT -------------------------------------------------------------------

constexpr std::array<uint16_t, 256> makeCrc16Table()
{
    std::array<uint16_t, 256> t {};
    for (unsigned i = 0; i < 256; ++i) {
        unsigned r = i << 8;
        for (int bit = 0; bit < 8; ++bit)
            r = (r & 0x8000) ? (r << 1) ^ 0x1021 : r << 1;
        t[i] = uint16_t(r);
    }
    return t;
}

constexpr auto kCrc16Table = makeCrc16Table();

// ---- CRC-32 -----------------------------------------------------------------------------

// kCrc32Tables[0] is the standard byte table of the reflected polynomial; table k gives the
// effect of a byte followed by k zero bytes, so that eight bytes fold in one step.
constexpr std::array<std::array<uint32_t, 256>, 8> makeCrc32Tables()
{
    std::array<std::array<uint32_t, 256>, 8> t {};
    for (uint32_t i = 0; i < 256; ++i) {
        uint32_t r = i;
        for (int bit = 0; bit < 8; ++bit)
            r = (r & 1) ? (r >> 1) ^ 0xEDB88320u : r >> 1;
        t[0][i] = r;
    }
    for (int k = 1; k < 8; ++k)
        for (int i = 0; i < 256; ++i)
            t[k][i] = (t[k - 1][i] >> 8) ^ t[0][t[k - 1][i] & 0xFF];
    return t;
}

constexpr auto kCrc32Tables = makeCrc32Tables();

// Runs the CRC register (already inverted) over the bytes with the tables.
uint32_t crc32Tables(uint32_t reg, const unsigned char* p, size_t length)
{
    const auto& t = kCrc32Tables;
    if constexpr (std::endian::native == std::endian::little) {
        while (length >= 8) {
            uint64_t w;
            std::memcpy(&w, p, 8);
            w ^= reg;
            reg = t[7][w & 0xFF] ^ t[6][(w >> 8) & 0xFF] ^ t[5][(w >> 16) & 0xFF] ^ t[4][(w >> 24) & 0xFF]
                ^ t[3][(w >> 32) & 0xFF] ^ t[2][(w >> 40) & 0xFF] ^ t[1][(w >> 48) & 0xFF] ^ t[0][w >> 56];
            p += 8;
            length -= 8;
        }
    }
    while (length-- > 0)
        reg = (reg >> 8) ^ t[0][(reg ^ *p++) & 0xFF];
    return reg;
}

#ifdef PV_CRC32_FOLDING

// Folding constants of the reflected CRC-32. A 128-bit block of the message, split into
// its low (earlier) and high (later) 64-bit halves, moves D bits further along the message
// when its low half is multiplied by x^(D+32) mod P and its high half by x^(D-32) mod P,
// each held bit-reflected in 33 bits (the carry-less product of two reflected values comes
// out one bit short, which the 33-bit form makes up).
constexpr uint64_t foldConstant(int exponent)
{
    uint64_t r = 1;
    for (int i = 0; i < exponent; ++i) {
        r <<= 1;
        if (r & 0x100000000ull)
            r ^= 0x104C11DB7ull;
    }
    uint64_t k = 0;
    for (int m = 0; m < 32; ++m)
        if ((r >> m) & 1)
            k |= uint64_t(1) << (32 - m);
    return k;
}

constexpr uint64_t kFold512Low = foldConstant(512 + 32);
constexpr uint64_t kFold512High = foldConstant(512 - 32);
constexpr uint64_t kFold128Low = foldConstant(128 + 32);
constexpr uint64_t kFold128High = foldConstant(128 - 32);
static_assert(kFold512Low == 0x154442bd4ull && kFold128High == 0x0ccaa009eull);

__attribute__((target("pclmul,sse4.1"))) inline __m128i fold(__m128i x, __m128i k)
{
    return _mm_xor_si128(_mm_clmulepi64_si128(x, k, 0x00), _mm_clmulepi64_si128(x, k, 0x11));
}

// Folds four 16-byte lanes over 64-byte steps, then the lanes into one, then single
// 16-byte blocks; the last 16-byte value is reduced with the tables. length >= 64.
__attribute__((target("pclmul,sse4.1"))) uint32_t crc32Fold(
    uint32_t reg, const unsigned char* p, size_t length)
{
    auto load = [](const unsigned char* q) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(q)); };
    __m128i x0 = _mm_xor_si128(load(p), _mm_cvtsi32_si128(int(reg)));
    __m128i x1 = load(p + 16);
    __m128i x2 = load(p + 32);
    __m128i x3 = load(p + 48);
    p += 64;
    length -= 64;

    const __m128i k512 = _mm_set_epi64x(int64_t(kFold512High), int64_t(kFold512Low));
    while (length >= 64) {
        x0 = _mm_xor_si128(fold(x0, k512), load(p));
        x1 = _mm_xor_si128(fold(x1, k512), load(p + 16));
        x2 = _mm_xor_si128(fold(x2, k512), load(p + 32));
        x3 = _mm_xor_si128(fold(x3, k512), load(p + 48));
        p += 64;
        length -= 64;
    }

    const __m128i k128 = _mm_set_epi64x(int64_t(kFold128High), int64_t(kFold128Low));
    __m128i x = _mm_xor_si128(fold(x0, k128), x1);
    x = _mm_xor_si128(fold(x, k128), x2);
    x = _mm_xor_si128(fold(x, k128), x3);
    while (length >= 16) {
        x = _mm_xor_si128(fold(x, k128), load(p));
        p += 16;
        length -= 16;
    }

    // The folded value is congruent to everything read so far, so its CRC (from a zero
    // register) is the register after those bytes.
    unsigned char last[16];
    _mm_storeu_si128(reinterpret_cast<__m128i*>(last), x);
    reg = crc32Tables(0, last, 16);
    return crc32Tables(reg, p, length);
}

bool hasCarrylessMultiply()
{
    __builtin_cpu_init();
    return __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("sse4.1");
}

#endif // PV_CRC32_FOLDING

} // namespace

extern "C" {

uint16_t PVCRC16(const char* text)
{
    // The augmented form presets 0xFFFF and appends 16 zero bits; the table form gets the
    // same result by starting from the register those zero bits leave behind, 0x1D0F.
    uint16_t reg = 0x1D0F;
    for (uint16_t i = 0; text[i] != 0; ++i)
        reg = uint16_t((reg << 8) ^ kCrc16Table[((reg >> 8) ^ static_cast<unsigned char>(text[i])) & 0xFF]);
    return reg;
}

uint32_t PVCRC32(uint32_t crc, const unsigned char* data, uint32_t length)
{
    if (data == nullptr)
        return 0;
    uint32_t reg = ~crc;
#ifdef PV_CRC32_FOLDING
    if (length >= 64 && hasCarrylessMultiply())
        return ~crc32Fold(reg, data, length);
#endif
    return ~crc32Tables(reg, data, length);
}

} // extern "C"
