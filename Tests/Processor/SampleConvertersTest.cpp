// The sample converters against a plain reference of their bit rules, on every
// instruction-set path the machine offers.
#include <Pavo/PavoCore.h>

#include <gtest/gtest.h>

#if defined(__x86_64__)
#include <xmmintrin.h>
#endif

#include <algorithm>
#include <atomic>
#include <bit>
#include <cfenv>
#include <cmath>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

namespace {

// Float bits to the 32-bit intermediate, told as arithmetic: the magnitude times 2^31
// rounded toward zero, 0x7FFFFF00 from 1.0 up (infinities and NaN too), sign applied.
int32_t refIntermediate(uint32_t bits)
{
    const float a = std::fabs(std::bit_cast<float>(bits));
    // a * 2^31 is exact below 1.0, and conversion truncates toward zero.
    const uint32_t magnitude = (a >= 1.0f || a != a) ? 0x7FFFFF00u : uint32_t(int64_t(a * 2147483648.0f));
    return (bits >> 31) ? int32_t(-int64_t(magnitude)) : int32_t(magnitude);
}

void refStore(std::vector<uint8_t>& out, uint64_t sample, int bytes, bool bigEndian)
{
    for (int k = 0; k < bytes; ++k)
        out.push_back(uint8_t(sample >> (bigEndian ? 8 * (bytes - 1 - k) : 8 * k)));
}

int32_t* words(const uint32_t* p)
{
    return reinterpret_cast<int32_t*>(const_cast<uint32_t*>(p));
}

// Runs `body` once on every available path, then restores the default one.
template <class Body> void onEveryPath(Body body)
{
    const PvConverterPath saved = PvCurrentConverterPath();
    for (PvConverterPath p :
        {kPvConverterPortable, kPvConverterAVX2, kPvConverterAVX512, kPvConverterAVX512VBMI}) {
        if (!PvConverterPathAvailable(p))
            continue;
        SCOPED_TRACE(testing::Message() << "converter path " << int(p));
        ASSERT_TRUE(PvSetConverterPath(p));
        body();
    }
    PvSetConverterPath(saved);
}

// Float patterns: every exponent with both signs and mantissas at the edges of their
// range and at the rounding points of 8-, 16- and 24-bit samples, plus random words.
std::vector<uint32_t> densePatterns()
{
    std::vector<uint32_t> p;
    const uint32_t mantissas[] = {0, 1, 2, 0x7F, 0x80, 0xFF, 0x100, 0x7FFF, 0x8000, 0xFFFF, 0x10000, 0x3FFFFF,
        0x400000, 0x400001, 0x7FFF00, 0x7FFF80, 0x7FFFFE, 0x7FFFFF, 0x555555, 0x2AAAAA};
    for (uint32_t sign = 0; sign < 2; ++sign)
        for (uint32_t e = 0; e < 256; ++e)
            for (uint32_t m : mantissas)
                p.push_back((sign << 31) | (e << 23) | m);
    std::mt19937 rng(1234);
    for (int i = 0; i < 200000; ++i)
        p.push_back(rng());
    // Mostly in-range audio: exponents 100 to 127.
    for (int i = 0; i < 100000; ++i)
        p.push_back((rng() & 0x807FFFFFu) | ((100u + rng() % 28) << 23));
    return p;
}

const int32_t kLengths[] = {1, 2, 15, 16, 17, 31, 33, 63, 64, 65, 100, 127, 128, 129, 191, 193, 250};

struct WriterCase {
    const char* name;
    tConvertFloatToN fn;
    int bytes; // 0: the float's own word, 8: a double
    bool bigEndian;
    bool stereo; // joins two channels; a mono-only writer ignores the right one
    int gap; // bytes left alone after each sample
};

const WriterCase kWriters[] = {
    {"ConvertFloatTo32", ConvertFloatTo32, 4, false, true, 0},
    {"ConvertFloatTo24", ConvertFloatTo24, 3, false, true, 0},
    {"ConvertFloatTo16", ConvertFloatTo16, 2, false, true, 0},
    {"ConvertFloatTo8", ConvertFloatTo8, 1, false, true, 0},
    {"ConvertFloatTo32Swap", ConvertFloatTo32Swap, 4, true, false, 0},
    {"ConvertFloatTo24Swap", ConvertFloatTo24Swap, 3, true, true, 0},
    {"ConvertFloatTo16Swap", ConvertFloatTo16Swap, 2, true, true, 0},
    {"ConvertFloatTo8Swap", ConvertFloatTo8Swap, 1, true, true, 0},
    {"ConvertFloatToFloatFile", ConvertFloatToFloatFile, 0, false, true, 0},
    {"ConvertFloatToFloatSwap", ConvertFloatToFloatSwap, 0, true, true, 0},
    {"ConvertFloatToDouble", ConvertFloatToDouble, 8, false, false, 0},
    {"ConvertFloatTo16Interleaved2", ConvertFloatTo16Interleaved2, 2, false, false, 2},
};

// The bytes a writer should give for n frames of l (and r): the top bytes of the
// intermediate, the float's word as it is, or the double of the same value; 0xA5 for
// the bytes it leaves alone.
std::vector<uint8_t> refWrite(const WriterCase& w, const uint32_t* l, const uint32_t* r, size_t n)
{
    std::vector<uint8_t> out;
    auto put = [&](uint32_t b) {
        uint64_t v = b;
        if (w.bytes == 8)
            v = std::bit_cast<uint64_t>(double(std::bit_cast<float>(b)));
        else if (w.bytes)
            v = uint32_t(refIntermediate(b) >> (32 - 8 * w.bytes));
        refStore(out, v, w.bytes ? w.bytes : 4, w.bigEndian);
        out.insert(out.end(), size_t(w.gap), 0xA5);
    };
    for (size_t i = 0; i < n; ++i) {
        put(l[i]);
        if (r && w.stereo)
            put(r[i]);
    }
    return out;
}

// Runs a writer at `offset` in a guarded buffer: the reference bytes there, and not a
// byte before or after them changed.
testing::AssertionResult writes(
    const WriterCase& w, const uint32_t* l, const uint32_t* r, size_t n, size_t offset)
{
    const std::vector<uint8_t> want = refWrite(w, l, r, n);
    std::vector<uint8_t> out(offset + want.size() + 64, 0xA5), expected(out.size(), 0xA5);
    std::copy(want.begin(), want.end(), expected.begin() + long(offset));
    w.fn(out.data() + offset, words(l), int32_t(n), r ? words(r) : nullptr);
    const auto bad = std::mismatch(out.begin(), out.end(), expected.begin());
    if (bad.first == out.end())
        return testing::AssertionSuccess();
    return testing::AssertionFailure(testing::Message()
        << (r ? "two channels" : "mono") << ", length " << n << ", offset " << offset << ": buffer byte "
        << (bad.first - out.begin()) << " is 0x" << std::hex << int(*bad.first) << ", expected 0x"
        << int(*bad.second));
}

enum TwoChannels {
    kMonoOnly, // the right output is ignored
    kSplit,
    kSplitInPlace, // also with the left output on the input
    kMonoInPlace, // with the left output on the input the block is read as mono
};

struct ReaderCase {
    const char* name;
    tConvertNToFloat fn;
    int bytes; // 0: float words
    bool bigEndian;
    bool offsetBinary; // unsigned with an offset of 128
    TwoChannels two;
    int gap; // bytes skipped after each sample
};

const ReaderCase kReaders[] = {
    {"Convert8ToFloat", Convert8ToFloat, 1, false, false, kSplitInPlace, 0},
    {"Convert8SwapToFloat", Convert8SwapToFloat, 1, true, true, kSplitInPlace, 0},
    {"Convert16ToFloat", Convert16ToFloat, 2, false, false, kSplitInPlace, 0},
    {"Convert16SwapToFloat", Convert16SwapToFloat, 2, true, false, kSplitInPlace, 0},
    {"Convert24ToFloat", Convert24ToFloat, 3, false, false, kMonoInPlace, 0},
    {"Convert24SwapToFloat", Convert24SwapToFloat, 3, true, false, kMonoInPlace, 0},
    {"Convert32ToFloat", Convert32ToFloat, 4, false, false, kMonoOnly, 0},
    {"Convert32SwapToFloat", Convert32SwapToFloat, 4, true, false, kMonoOnly, 0},
    {"ConvertFloatFileToFloat", ConvertFloatFileToFloat, 0, false, false, kSplit, 0},
    {"ConvertFloatSwapToFloat", ConvertFloatSwapToFloat, 0, true, false, kSplit, 0},
    {"Convert16Interleaved2ToFloat", Convert16Interleaved2ToFloat, 2, false, false, kMonoOnly, 2},
};

// The float bits a reader should give for a sample stored from the low bytes of `raw`:
// its top 24 bits divided by 2^23 (32-bit samples lose their low byte toward minus
// infinity); float words as they are.
uint32_t refRead(const ReaderCase& c, uint32_t raw)
{
    if (c.bytes == 0)
        return raw;
    const int32_t top = c.offsetBinary ? int32_t(uint32_t(int32_t(raw & 0xFF) - 128) << 24)
                                       : int32_t(raw << (32 - 8 * c.bytes));
    return std::bit_cast<uint32_t>(float(double(top >> 8) / 8388608.0));
}

// Runs a reader on `raw` stored as its samples, mono or asked for two channels, and
// compares every output word with the reference: sample bytes `offset % 4` bytes into a
// word and outputs at word `offset` of guarded buffers, or in place (the left output on
// the sample bytes), where the words past those converted must keep their bytes.
testing::AssertionResult reads(
    const ReaderCase& c, const std::vector<uint32_t>& raw, bool two, size_t offset, bool inPlace = false)
{
    const size_t n = two ? raw.size() / 2 : raw.size();
    const bool split = two && c.two != kMonoOnly && !(inPlace && c.two == kMonoInPlace);
    std::vector<uint8_t> bytes(offset % 4, 0);
    bytes.reserve(4 * raw.size() + 4);
    for (uint32_t v : raw) {
        refStore(bytes, v, c.bytes ? c.bytes : 4, c.bigEndian);
        bytes.insert(bytes.end(), size_t(c.gap), 0x5A);
    }
    const size_t size = bytes.size() - offset % 4;
    std::vector<int32_t> start(offset + std::max(n, size / 4) + 16, 0x33333333), wantR(start);
    if (inPlace)
        std::memcpy(start.data(), bytes.data(), size);
    std::vector<int32_t> wantL(start);
    for (size_t i = 0; i < n; ++i) {
        wantL[offset + i] = int32_t(refRead(c, raw[split ? 2 * i : i]));
        if (split)
            wantR[offset + i] = int32_t(refRead(c, raw[2 * i + 1]));
    }
    testing::AssertionResult result = testing::AssertionSuccess();
    onEveryPath([&] {
        std::vector<int32_t> left(start), right(start.size(), 0x33333333);
        void* in = inPlace ? static_cast<void*>(left.data()) : bytes.data() + offset % 4;
        c.fn(left.data() + offset, in, int32_t(n), two ? right.data() + offset : nullptr);
        for (size_t i = 0; i < left.size() && result; ++i)
            if (left[i] != wantL[i] || right[i] != wantR[i])
                result = testing::AssertionFailure(testing::Message()
                    << "path " << int(PvCurrentConverterPath()) << ", " << (two ? "two channels" : "mono")
                    << (inPlace ? " in place" : "") << ", length " << n << ", offset " << offset << ": word "
                    << i << " reads 0x" << std::hex << left[i] << " / 0x" << right[i] << ", expected 0x"
                    << wantL[i] << " / 0x" << wantR[i]);
    });
    return result;
}

} // namespace

// The whole pattern set in one block, then blocks of lengths around the vector group
// sizes at every output offset within a cache line (vector paths split a block into a
// masked head, whole groups and a masked tail by the output's address; a 3-byte last
// sample must not spill). Writers walk forward, so a block also narrows onto itself.
TEST(SampleWriters, MatchTheReferenceAtEveryLengthOffsetAndInPlace)
{
    const std::vector<uint32_t> p = densePatterns();
    const size_t half = p.size() / 2;
    onEveryPath([&] {
        for (const WriterCase& w : kWriters) {
            SCOPED_TRACE(w.name);
            EXPECT_TRUE(writes(w, p.data(), nullptr, p.size(), 0));
            EXPECT_TRUE(writes(w, p.data(), p.data() + half, half, 0));
            for (int32_t n : kLengths) {
                // Clip cases (every exponent) at some lengths, in-range audio at others.
                const uint32_t* l = p.data() + (n % 3 == 0 ? 40 * n : 20000 + 97 * n);
                for (size_t offset = 0; offset < 64; ++offset) {
                    ASSERT_TRUE(writes(w, l, nullptr, size_t(n), offset));
                    ASSERT_TRUE(writes(w, l, l + 5000, size_t(n), offset));
                }
            }
            if (w.bytes == 8 || w.gap)
                continue; // these do not narrow
            std::vector<uint32_t> buffer(p.begin(), p.begin() + 4099);
            const std::vector<uint8_t> want = refWrite(w, buffer.data(), nullptr, buffer.size());
            w.fn(buffer.data(), words(buffer.data()), int32_t(buffer.size()), nullptr);
            EXPECT_EQ(std::memcmp(buffer.data(), want.data(), want.size()), 0) << "in place";
        }
        // The native float copy onto itself does nothing at all, with a right channel too.
        std::vector<uint32_t> same = p, right(p.size(), 0);
        ConvertFloatToFloatFile(same.data(), words(same.data()), int32_t(p.size()), words(right.data()));
        EXPECT_TRUE(same == p);
    });
}

// Integer writers work on the float's bits: whatever the input, they raise no
// floating-point exception (even unmasked ones) and leave no status flag behind.
TEST(SampleWriters, LeaveTheFloatingPointEnvironmentAlone)
{
    const float odd[] = {NAN, INFINITY, -INFINITY, 3.0e38f, -3.0e38f, 0.3f, -0.7f, 1.0e-40f, 1.0f, -1.0f};
    std::vector<float> in(64);
    for (size_t i = 0; i < in.size(); ++i)
        in[i] = odd[i % std::size(odd)];
    std::vector<int32_t> out(4 * in.size());
    auto* samples = reinterpret_cast<int32_t*>(in.data());
    onEveryPath([&] {
        std::feclearexcept(FE_ALL_EXCEPT);
        feenableexcept(FE_INVALID | FE_OVERFLOW | FE_DIVBYZERO);
        for (const WriterCase& w : kWriters) {
            w.fn(out.data(), samples, 64, nullptr);
            w.fn(out.data(), samples, 32, samples + 32);
        }
        fedisableexcept(FE_ALL_EXCEPT);
        EXPECT_EQ(std::fetestexcept(FE_ALL_EXCEPT), 0);
#if defined(__x86_64__)
        // A flag the caller had raised stays raised, and its masks stay as they were.
        const unsigned before = (_mm_getcsr() & ~0x3Fu) | 0x10u; // underflow flag
        _mm_setcsr(before);
        ConvertFloatTo32(out.data(), samples, 64, nullptr);
        ConvertFloatTo16(out.data(), samples, 64, nullptr);
        EXPECT_EQ(_mm_getcsr(), before);
        _mm_setcsr(before & ~0x3Fu);
#endif
    });
}

// Every sample of the narrow widths, the dense patterns as words: mono, two channels
// (even samples left, odd samples right) and in place, as each reader does them. Then
// float outputs at every 4-byte offset within a cache line and sample bytes at every
// offset within a word, at lengths around the vector group sizes.
TEST(SampleReaders, EverySampleMonoStereoInPlaceAndAtEveryAlignment)
{
    const std::vector<uint32_t> dense = densePatterns();
    std::mt19937 rng(99);
    for (const ReaderCase& c : kReaders) {
        SCOPED_TRACE(c.name);
        std::vector<uint32_t> raw = dense;
        if (c.bytes >= 1 && c.bytes <= 3) {
            const uint32_t count = 1u << (8 * c.bytes);
            raw.resize(count);
            for (uint32_t u = 0; u < count; ++u)
                raw[u] = (u + count / 3) % count; // so that the block ends with neither extreme
        }
        EXPECT_TRUE(reads(c, raw, false, 0));
        EXPECT_TRUE(reads(c, raw, true, 0));
        EXPECT_TRUE(reads(c, raw, false, 0, true));
        if (c.two == kSplitInPlace || c.two == kMonoInPlace) {
            EXPECT_TRUE(reads(c, raw, true, 0, true));
        }
        for (int32_t n : kLengths) {
            std::vector<uint32_t> random(2 * size_t(n));
            for (uint32_t& v : random)
                v = rng();
            const std::vector<uint32_t> mono(random.begin(), random.begin() + n);
            for (size_t offset = 0; offset < 16; ++offset) {
                ASSERT_TRUE(reads(c, mono, false, offset));
                ASSERT_TRUE(reads(c, random, true, offset));
            }
        }
    }
}

// Doubles round to nearest, also in place.
TEST(SampleReaders, DoublesRoundToNearest)
{
    const size_t n = 65536;
    std::vector<double> wide(n);
    std::mt19937_64 rng(99);
    for (size_t i = 0; i < n; ++i) {
        uint64_t b = rng();
        if (i % 3 == 0) // a third inside the float range
            b = (b & 0x800FFFFFFFFFFFFFull) | (uint64_t(1023 - 40 + i % 80) << 52);
        wide[i] = std::bit_cast<double>(b);
    }
    onEveryPath([&] {
        std::vector<int32_t> out(n), right(n, 7);
        std::vector<double> work = wide;
        ConvertDoubleToFloat(out.data(), work.data(), int32_t(n), right.data());
        ConvertDoubleToFloat(reinterpret_cast<int32_t*>(work.data()), work.data(), int32_t(n), nullptr);
        for (size_t i = 0; i < n; ++i) {
            if (std::isnan(wide[i]))
                continue;
            ASSERT_EQ(uint32_t(out[i]), std::bit_cast<uint32_t>(float(wide[i]))) << i;
            ASSERT_EQ(reinterpret_cast<uint32_t*>(work.data())[i], std::bit_cast<uint32_t>(float(wide[i])))
                << i;
        }
        EXPECT_EQ(std::count(right.begin(), right.end(), 7), long(n));
    });
}

// Values known without the references above: the clip levels (NaN and infinities
// too), the largest float below 1.0, truncation toward zero before the floor of the
// narrower sample; the unsigned 8-bit reader's offset, the 32-bit reader's lost byte.
TEST(SampleConverters, KnownValues)
{
    const float in[] = {1.0f, -1.0f, 0.99999994f, 0.5f, -1.0e-5f, 1.0e-40f, NAN, -INFINITY};
    const int32_t want32[]
        = {0x7FFFFF00, -0x7FFFFF00, 0x7FFFFF80, 0x40000000, -21474, 0, 0x7FFFFF00, -0x7FFFFF00};
    const int16_t want16[] = {32767, -32768, 32767, 16384, -1, 0, 32767, -32768};
    uint8_t u8[] = {0, 128, 255};
    int32_t s32[] = {int32_t(0x80000000u), -1, 0x7FFFFFFF};
    onEveryPath([&] {
        int32_t out32[8];
        int16_t out16[8];
        ConvertFloatTo32(out32, words(reinterpret_cast<const uint32_t*>(in)), 8, nullptr);
        ConvertFloatTo16(out16, words(reinterpret_cast<const uint32_t*>(in)), 8, nullptr);
        for (int i = 0; i < 8; ++i)
            EXPECT_TRUE(out32[i] == want32[i] && out16[i] == want16[i])
                << in[i] << ": " << out32[i] << ", " << out16[i];
        float f[3];
        Convert8SwapToFloat(reinterpret_cast<int32_t*>(f), u8, 3, nullptr);
        EXPECT_TRUE(f[0] == -1.0f && f[1] == 0.0f && f[2] == 127 / 128.0f);
        Convert32ToFloat(reinterpret_cast<int32_t*>(f), s32, 3, nullptr);
        EXPECT_TRUE(f[0] == -1.0f && f[1] == -0x1p-23f && f[2] == 0x7FFFFFp-23f);
    });
}

// The regular rows serve every read and write of the file and tool tests (the tool's
// conversion matrix reads and writes every depth in both orders); here the rows those
// do not reach, any non-zero swap argument, and the fallbacks.
TEST(SampleSelectors, TablesFallbacksAndClearers)
{
    const tConvertNToFloat readNothing = ConvertNothing;
    const tConvertFloatToN nothing = ConvertNothing;
    const std::pair<tConvertNToFloat, tConvertNToFloat> readers[] = {{GetConvertNToFloat(-8, 1), readNothing},
        {GetConvertNToFloat(-4, 7), ConvertFloatSwapToFloat}, {GetConvertNToFloat(1, 0), Convert8ToFloat},
        {GetConvertNToFloat(4, 0), Convert32ToFloat}, {GetConvertNToFloat(4, -1), Convert32SwapToFloat},
        {GetConvertNToFloat(0, 0), readNothing}, {GetConvertNToFloat(8, 0), readNothing},
        {GetConvertInterleavedToFloat(2, 2), Convert16Interleaved2ToFloat},
        {GetConvertInterleavedToFloat(2, 3), readNothing}, {GetConvertInterleavedToFloat(3, 2), readNothing},
        {GetConvertInterleavedToFloat(-8, 1), ConvertDoubleToFloat},
        {GetConvertInterleavedToFloat(4, 1), Convert32ToFloat},
        {GetConvertInterleavedToFloat(6, 1), readNothing}};
    const std::pair<tConvertFloatToN, tConvertFloatToN> writers[] = {{GetConvertFloatToN(-8, 1), nothing},
        {GetConvertFloatToN(1, 0), ConvertFloatTo8}, {GetConvertFloatToN(4, 0), ConvertFloatTo32},
        {GetConvertFloatToN(4, 1), ConvertFloatTo32Swap}, {GetConvertFloatToN(5, 0), nothing},
        {GetConvertFloatToInterleaved(2, 2), ConvertFloatTo16Interleaved2},
        {GetConvertFloatToInterleaved(3, 1), ConvertFloatTo24},
        {GetConvertFloatToInterleaved(-4, 1), ConvertFloatToFloatFile},
        {GetConvertFloatToInterleaved(1, 2), nothing}};
    for (size_t i = 0; i < std::size(readers); ++i)
        EXPECT_EQ(readers[i].first, readers[i].second) << "reader row " << i;
    for (size_t i = 0; i < std::size(writers); ++i)
        EXPECT_EQ(writers[i].first, writers[i].second) << "writer row " << i;
    EXPECT_EQ(GetClrStream(2, 2), Clr16Interleaved2);
    EXPECT_EQ(GetClrStream(2, 1), BlockZero);
    EXPECT_EQ(GetClrStream(3, 2), BlockZero);

    unsigned char bytes[8];
    std::memset(bytes, 0xEE, sizeof bytes);
    BlockZero(bytes, 0);
    BlockZero(bytes, -5);
    EXPECT_EQ(bytes[0], 0xEE);
    BlockZero(bytes, 5);
    EXPECT_TRUE(bytes[4] == 0 && bytes[5] == 0xEE);
    int16_t stream[8] = {100, 101, 102, 103, 104, 105, 106, 107};
    Clr16Interleaved2(stream, 7); // 3 slots: 0, 2 and 4
    EXPECT_EQ(
        std::vector<int16_t>(stream, stream + 8), (std::vector<int16_t> {0, 101, 0, 103, 0, 105, 106, 107}));
}

TEST(SampleSelectors, NothingAndNonPositiveCountsTouchNoMemory)
{
    // Null buffers would fault if anything were read or written.
    ConvertNothing(static_cast<int32_t*>(nullptr), nullptr, 1000, nullptr);
    ConvertNothing(static_cast<void*>(nullptr), nullptr, 1000, nullptr);
    onEveryPath([] {
        for (int32_t frames : {0, -1, -4096}) {
            for (const WriterCase& w : kWriters)
                w.fn(nullptr, nullptr, frames, nullptr);
            for (const ReaderCase& c : kReaders)
                c.fn(nullptr, nullptr, frames, nullptr);
            ConvertDoubleToFloat(nullptr, nullptr, frames, nullptr);
        }
    });
}

TEST(SampleSelectors, PathControl)
{
    EXPECT_TRUE(PvConverterPathAvailable(kPvConverterPortable));
    EXPECT_FALSE(PvSetConverterPath(PvConverterPath(7)));
    // The default is the fastest path the processor has.
    PvConverterPath best = kPvConverterPortable;
    for (PvConverterPath p : {kPvConverterAVX2, kPvConverterAVX512, kPvConverterAVX512VBMI})
        if (PvConverterPathAvailable(p))
            best = p;
    EXPECT_EQ(PvCurrentConverterPath(), best);
    // VBMI is an addition to the AVX-512 path, never offered without it.
    if (!PvConverterPathAvailable(kPvConverterAVX512)) {
        EXPECT_FALSE(PvSetConverterPath(kPvConverterAVX512));
        EXPECT_FALSE(PvConverterPathAvailable(kPvConverterAVX512VBMI));
    }
}

// Every float bit pattern through the native 16-, 24- and 32-bit writers on the path the
// converters choose for this processor (the other paths meet the dense patterns above),
// in big blocks split between two threads.
TEST(SampleWritersExhaustive, EveryFloatThroughNative16To32)
{
    constexpr uint32_t kBlock = 1u << 16;
    std::atomic<uint64_t> mismatches {0};
    std::atomic<uint32_t> bad {0};
    auto worker = [&](uint64_t firstBlock) {
        std::vector<uint32_t> in(kBlock);
        std::vector<int16_t> out16(kBlock);
        std::vector<uint8_t> out24(3 * kBlock);
        std::vector<int32_t> out32(kBlock);
        for (uint64_t block = firstBlock; block < (1ull << 32) / kBlock; block += 2) {
            for (uint32_t k = 0; k < kBlock; ++k)
                in[k] = uint32_t(block * kBlock) + k;
            ConvertFloatTo16(out16.data(), words(in.data()), int32_t(kBlock), nullptr);
            ConvertFloatTo24(out24.data(), words(in.data()), int32_t(kBlock), nullptr);
            ConvertFloatTo32(out32.data(), words(in.data()), int32_t(kBlock), nullptr);
            for (uint32_t k = 0; k < kBlock; ++k) {
                const int32_t i = refIntermediate(in[k]);
                const uint32_t got24
                    = out24[3 * k] | (out24[3 * k + 1] << 8) | (uint32_t(out24[3 * k + 2]) << 16);
                if (out32[k] != i || out16[k] != int16_t(i >> 16) || got24 != (uint32_t(i) >> 8)) {
                    ++mismatches;
                    bad = in[k];
                }
            }
        }
    };
    std::thread other(worker, 1u);
    worker(0);
    other.join();
    EXPECT_EQ(mismatches.load(), 0u) << "a wrong pattern: 0x" << std::hex << bad.load() << " on path "
                                     << int(PvCurrentConverterPath());
}
