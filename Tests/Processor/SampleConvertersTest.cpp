// The sample converters against a plain reference of their bit rules, on every
// instruction-set path the machine offers.
#include <Pavo/PavoCore.h>

#include <gtest/gtest.h>

#if defined(__x86_64__)
#include <xmmintrin.h>
#endif

#include <cfenv>
#include <cmath>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

namespace {

// ---- reference --------------------------------------------------------------------

// Float bits to the 32-bit intermediate, told as arithmetic: the magnitude times 2^31
// rounded toward zero, 0x7FFFFF00 from 1.0 up (infinities and NaN too), sign applied.
int32_t refIntermediate(uint32_t bits)
{
    float f;
    std::memcpy(&f, &bits, 4);
    const float a = std::fabs(f);
    // a * 2^31 is exact below 1.0, and conversion truncates toward zero.
    const uint32_t magnitude = (a >= 1.0f || a != a) ? 0x7FFFFF00u : uint32_t(int64_t(a * 2147483648.0f));
    return (bits >> 31) ? int32_t(-int64_t(magnitude)) : int32_t(magnitude);
}

// The N-byte sample of a float: the top N bytes of the intermediate.
int32_t refSample(uint32_t bits, int bytes)
{
    return refIntermediate(bits) >> (32 - 8 * bytes);
}

void refStore(std::vector<uint8_t>& out, int32_t sample, int bytes, bool bigEndian)
{
    for (int k = 0; k < bytes; ++k) {
        const int shift = bigEndian ? 8 * (bytes - 1 - k) : 8 * k;
        out.push_back(uint8_t(uint32_t(sample) >> shift));
    }
}

// A signed sample of `bits` bits read as float: the top 24 bits of its 32-bit form,
// divided by 2^23 (32-bit samples lose their low byte toward minus infinity).
uint32_t refFloatBits(int64_t sample, int bits)
{
    const int32_t top = int32_t(uint32_t(sample) << (32 - bits));
    const float f = float(double(top >> 8) / 8388608.0);
    uint32_t out;
    std::memcpy(&out, &f, 4);
    return out;
}

uint32_t bitsOf(float f)
{
    uint32_t b;
    std::memcpy(&b, &f, 4);
    return b;
}

std::vector<PvConverterPath> availablePaths()
{
    std::vector<PvConverterPath> paths;
    for (PvConverterPath p :
        {kPvConverterPortable, kPvConverterAVX2, kPvConverterAVX512, kPvConverterAVX512VBMI})
        if (PvConverterPathAvailable(p))
            paths.push_back(p);
    return paths;
}

// Runs `body` once on every available path, then restores the default one.
template <class Body> void onEveryPath(Body body)
{
    const PvConverterPath saved = PvCurrentConverterPath();
    for (PvConverterPath p : availablePaths()) {
        SCOPED_TRACE(testing::Message() << "converter path " << int(p));
        ASSERT_TRUE(PvSetConverterPath(p));
        body(p);
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
    if (p.size() % 2)
        p.push_back(0x3F800000u);
    return p;
}

struct WriterCase {
    const char* name;
    tConvertFloatToN fn;
    int bytes;
    bool bigEndian;
    bool stereo; // joins two channels
};

const WriterCase kIntWriters[] = {
    {"ConvertFloatTo32", ConvertFloatTo32, 4, false, true},
    {"ConvertFloatTo24", ConvertFloatTo24, 3, false, true},
    {"ConvertFloatTo16", ConvertFloatTo16, 2, false, true},
    {"ConvertFloatTo8", ConvertFloatTo8, 1, false, true},
    {"ConvertFloatTo32Swap", ConvertFloatTo32Swap, 4, true, false},
    {"ConvertFloatTo24Swap", ConvertFloatTo24Swap, 3, true, true},
    {"ConvertFloatTo16Swap", ConvertFloatTo16Swap, 2, true, true},
    {"ConvertFloatTo8Swap", ConvertFloatTo8Swap, 1, true, true},
};

std::vector<uint8_t> run(
    tConvertFloatToN fn, std::vector<uint32_t> left, std::vector<uint32_t>* right, size_t outBytes)
{
    std::vector<uint8_t> out(outBytes + 16, 0xA5);
    fn(out.data(), reinterpret_cast<int32_t*>(left.data()), int32_t(left.size()),
        right ? reinterpret_cast<int32_t*>(right->data()) : nullptr);
    for (size_t k = outBytes; k < out.size(); ++k)
        EXPECT_EQ(out[k], 0xA5) << "byte after the block written at " << k;
    out.resize(outBytes);
    return out;
}

} // namespace

// ---- writers ------------------------------------------------------------------------

TEST(SampleWriters, DensePatternsMatchTheBitRulesMonoAndStereo)
{
    const std::vector<uint32_t> patterns = densePatterns();
    const size_t half = patterns.size() / 2;
    std::vector<uint32_t> left(patterns.begin(), patterns.begin() + half);
    std::vector<uint32_t> right(patterns.begin() + half, patterns.end());
    onEveryPath([&](PvConverterPath) {
        for (const WriterCase& w : kIntWriters) {
            SCOPED_TRACE(w.name);
            std::vector<uint8_t> mono, joined;
            for (uint32_t b : patterns)
                refStore(mono, refSample(b, w.bytes), w.bytes, w.bigEndian);
            EXPECT_TRUE(run(w.fn, patterns, nullptr, mono.size()) == mono);
            for (size_t i = 0; i < half; ++i) {
                refStore(joined, refSample(left[i], w.bytes), w.bytes, w.bigEndian);
                if (w.stereo)
                    refStore(joined, refSample(right[i], w.bytes), w.bytes, w.bigEndian);
            }
            // A mono-only writer ignores the right channel altogether.
            EXPECT_TRUE(run(w.fn, left, &right, joined.size()) == joined);
        }
    });
}

TEST(SampleWriters, FloatDoubleAndInterleavedWriters)
{
    std::vector<uint32_t> patterns = densePatterns();
    patterns.resize(20011);
    const size_t n = patterns.size();
    std::vector<uint32_t> right(patterns.rbegin(), patterns.rend());
    onEveryPath([&](PvConverterPath) {
        std::vector<uint8_t> copy(n * 4), swapped, joinedSwapped, joined;
        std::memcpy(copy.data(), patterns.data(), n * 4);
        for (size_t i = 0; i < n; ++i) {
            refStore(swapped, int32_t(patterns[i]), 4, true);
            refStore(joinedSwapped, int32_t(patterns[i]), 4, true);
            refStore(joinedSwapped, int32_t(right[i]), 4, true);
            refStore(joined, int32_t(patterns[i]), 4, false);
            refStore(joined, int32_t(right[i]), 4, false);
        }
        EXPECT_TRUE(run(ConvertFloatToFloatFile, patterns, nullptr, n * 4) == copy);
        EXPECT_TRUE(run(ConvertFloatToFloatFile, patterns, &right, n * 8) == joined);
        EXPECT_TRUE(run(ConvertFloatToFloatSwap, patterns, nullptr, n * 4) == swapped);
        EXPECT_TRUE(run(ConvertFloatToFloatSwap, patterns, &right, n * 8) == joinedSwapped);

        // Doubles widen exactly (NaN payloads aside); mono only.
        std::vector<uint8_t> wide = run(ConvertFloatToDouble, patterns, &right, n * 8);
        for (size_t i = 0; i < n; ++i) {
            float f;
            double d;
            std::memcpy(&f, &patterns[i], 4);
            std::memcpy(&d, wide.data() + 8 * i, 8);
            if (std::isnan(f))
                EXPECT_TRUE(std::isnan(d));
            else
                ASSERT_EQ(d, double(f)) << i;
        }

        // One channel into the even 16-bit words; the odd words keep their bytes.
        std::vector<int16_t> stream(2 * n);
        for (size_t i = 0; i < stream.size(); ++i)
            stream[i] = int16_t(i * 7919);
        std::vector<int16_t> expected = stream;
        for (size_t i = 0; i < n; ++i)
            expected[2 * i] = int16_t(refSample(patterns[i], 2));
        ConvertFloatTo16Interleaved2(
            stream.data(), reinterpret_cast<int32_t*>(patterns.data()), int32_t(n), nullptr);
        EXPECT_TRUE(stream == expected);
    });
}

// Integer writers work on the float's bits: whatever the input, they raise no
// floating-point exception (even unmasked ones) and leave no status flag behind.
TEST(SampleWriters, LeaveTheFloatingPointEnvironmentAlone)
{
    std::vector<float> in(64);
    const float odd[] = {NAN, INFINITY, -INFINITY, 3.0e38f, -3.0e38f, 0.3f, -0.7f, 1.0e-40f, 1.0f, -1.0f};
    for (size_t i = 0; i < in.size(); ++i)
        in[i] = odd[i % std::size(odd)];
    std::vector<int32_t> out(2 * in.size());
    auto* samples = reinterpret_cast<int32_t*>(in.data());
    const int32_t n = int32_t(in.size());
    onEveryPath([&](PvConverterPath) {
        std::feclearexcept(FE_ALL_EXCEPT);
        feenableexcept(FE_INVALID | FE_OVERFLOW | FE_DIVBYZERO);
        for (tConvertFloatToN fn : {ConvertFloatTo32, ConvertFloatTo24, ConvertFloatTo16, ConvertFloatTo8,
                 ConvertFloatTo32Swap, ConvertFloatTo24Swap, ConvertFloatTo16Swap, ConvertFloatTo8Swap}) {
            fn(out.data(), samples, n, nullptr);
            fn(out.data(), samples, n / 2, samples + n / 2);
        }
        ConvertFloatTo16Interleaved2(out.data(), samples, n, nullptr);
        fedisableexcept(FE_ALL_EXCEPT);
        EXPECT_EQ(std::fetestexcept(FE_ALL_EXCEPT), 0);
#if defined(__x86_64__)
        // A flag the caller had raised stays raised, and its masks stay as they were.
        const unsigned before = (_mm_getcsr() & ~0x3Fu) | 0x10u; // underflow flag
        _mm_setcsr(before);
        ConvertFloatTo32(out.data(), samples, n, nullptr);
        ConvertFloatTo16(out.data(), samples, n, nullptr);
        EXPECT_EQ(_mm_getcsr(), before);
        _mm_setcsr(before & ~0x3Fu);
#endif
    });
}

// Writers walk forward, so a block narrows onto itself.
TEST(SampleWriters, NarrowInPlace)
{
    std::vector<uint32_t> patterns = densePatterns();
    patterns.resize(4099);
    const int32_t n = int32_t(patterns.size());
    onEveryPath([&](PvConverterPath) {
        for (const WriterCase& w : kIntWriters) {
            SCOPED_TRACE(w.name);
            std::vector<uint8_t> expected = run(w.fn, patterns, nullptr, size_t(n) * size_t(w.bytes));
            std::vector<uint32_t> buffer = patterns;
            w.fn(buffer.data(), reinterpret_cast<int32_t*>(buffer.data()), n, nullptr);
            EXPECT_EQ(std::memcmp(buffer.data(), expected.data(), expected.size()), 0);
        }
        std::vector<uint32_t> buffer = patterns;
        ConvertFloatToFloatFile(buffer.data(), reinterpret_cast<int32_t*>(buffer.data()), n, nullptr);
        EXPECT_TRUE(buffer == patterns);
        std::vector<uint32_t> single = patterns, right(patterns.size(), 0);
        // Same buffer: nothing at all happens, also with a right channel.
        ConvertFloatToFloatFile(single.data(), reinterpret_cast<int32_t*>(single.data()), n,
            reinterpret_cast<int32_t*>(right.data()));
        EXPECT_TRUE(single == patterns);
    });
}

// Vector paths split a block into a masked head, whole groups and a masked tail placed
// by the output's address: every offset within a cache line and lengths around the
// group sizes give the reference bytes, and nothing before or after the block changes
// (3-byte samples included, whose last one must not spill).
TEST(SampleWriters, EveryOutputAlignmentAndLength)
{
    const std::vector<uint32_t> patterns = densePatterns();
    const int32_t lengths[] = {1, 2, 15, 16, 17, 31, 33, 63, 64, 65, 100, 127, 128, 129, 191, 193, 250};
    onEveryPath([&](PvConverterPath) {
        for (const WriterCase& w : kIntWriters) {
            SCOPED_TRACE(w.name);
            for (int32_t n : lengths) {
                // Clip cases (every exponent) at some lengths, in-range audio at others.
                const size_t from = size_t(n % 3 == 0 ? 40 * n : 20000 + 97 * n);
                std::vector<uint32_t> l(patterns.begin() + long(from), patterns.begin() + long(from) + n);
                std::vector<uint32_t> r(
                    patterns.begin() + long(from) + 5000, patterns.begin() + long(from) + 5000 + n);
                for (int channels = 1; channels <= (w.stereo ? 2 : 1); ++channels) {
                    std::vector<uint8_t> want;
                    for (int32_t i = 0; i < n; ++i) {
                        refStore(want, refSample(l[size_t(i)], w.bytes), w.bytes, w.bigEndian);
                        if (channels == 2)
                            refStore(want, refSample(r[size_t(i)], w.bytes), w.bytes, w.bigEndian);
                    }
                    for (size_t offset = 0; offset < 64; ++offset) {
                        std::vector<uint8_t> out(offset + want.size() + 64, 0xA5);
                        w.fn(out.data() + offset, reinterpret_cast<int32_t*>(l.data()), n,
                            channels == 2 ? reinterpret_cast<int32_t*>(r.data()) : nullptr);
                        std::vector<uint8_t> expected(out.size(), 0xA5);
                        std::copy(want.begin(), want.end(), expected.begin() + long(offset));
                        ASSERT_TRUE(out == expected)
                            << "length " << n << ", channels " << channels << ", offset " << offset;
                    }
                }
            }
        }
    });
}

// ---- readers ------------------------------------------------------------------------

namespace {

struct ReaderCase {
    const char* name;
    tConvertNToFloat fn;
    int bytes;
    bool bigEndian;
    bool offsetBinary; // unsigned with an offset of 128
    bool stereo;
    bool stereoInPlace; // two channels with the left output on the input
};

const ReaderCase kNarrowReaders[] = {
    {"Convert8ToFloat", Convert8ToFloat, 1, false, false, true, true},
    {"Convert8SwapToFloat", Convert8SwapToFloat, 1, true, true, true, true},
    {"Convert16ToFloat", Convert16ToFloat, 2, false, false, true, true},
    {"Convert16SwapToFloat", Convert16SwapToFloat, 2, true, false, true, true},
    {"Convert24ToFloat", Convert24ToFloat, 3, false, false, true, false},
    {"Convert24SwapToFloat", Convert24SwapToFloat, 3, true, false, true, false},
};

// Every sample of the width, as stored bytes, and its expected float bits.
void everySample(const ReaderCase& r, std::vector<uint8_t>& bytes, std::vector<uint32_t>& want)
{
    const int64_t count = int64_t(1) << (8 * r.bytes);
    std::vector<uint8_t> stored;
    stored.reserve(size_t(count) * size_t(r.bytes));
    want.clear();
    for (int64_t u = 0; u < count; ++u) {
        // Start in the middle so that the block ends with neither extreme.
        const int64_t raw = (u + count / 3) % count;
        refStore(stored, int32_t(raw), r.bytes, r.bigEndian);
        int64_t value = raw >= count / 2 ? raw - count : raw;
        if (r.offsetBinary)
            value = raw - 128;
        want.push_back(refFloatBits(value, 8 * r.bytes));
    }
    bytes.swap(stored);
}

bool sameWords(const int32_t* got, const uint32_t* want, size_t n, const char* what)
{
    for (size_t i = 0; i < n; ++i)
        if (uint32_t(got[i]) != want[i]) {
            ADD_FAILURE() << what << ": sample " << i << " reads 0x" << std::hex << uint32_t(got[i])
                          << ", expected 0x" << want[i];
            return false;
        }
    return true;
}

} // namespace

TEST(SampleReaders, EveryNarrowSampleMonoStereoAndInPlace)
{
    for (const ReaderCase& r : kNarrowReaders) {
        SCOPED_TRACE(r.name);
        std::vector<uint8_t> bytes;
        std::vector<uint32_t> want;
        everySample(r, bytes, want);
        const size_t n = want.size();
        onEveryPath([&](PvConverterPath) {
            std::vector<int32_t> out(n + 4, 0x11111111);
            r.fn(out.data(), bytes.data(), int32_t(n), nullptr);
            sameWords(out.data(), want.data(), n, "mono");
            EXPECT_EQ(out[n], 0x11111111);

            // In place: the float output starts at the address of the samples.
            std::vector<int32_t> buffer(n);
            std::memcpy(buffer.data(), bytes.data(), bytes.size());
            r.fn(buffer.data(), buffer.data(), int32_t(n), nullptr);
            sameWords(buffer.data(), want.data(), n, "mono in place");

            // Two channels: even samples left, odd samples right.
            const size_t frames = n / 2;
            std::vector<uint32_t> wantL(frames), wantR(frames);
            for (size_t i = 0; i < frames; ++i) {
                wantL[i] = want[2 * i];
                wantR[i] = want[2 * i + 1];
            }
            std::vector<int32_t> left(frames), right(frames);
            r.fn(left.data(), bytes.data(), int32_t(frames), right.data());
            sameWords(left.data(), wantL.data(), frames, "left");
            sameWords(right.data(), wantR.data(), frames, "right");

            std::memcpy(buffer.data(), bytes.data(), bytes.size());
            std::fill(right.begin(), right.end(), 0x22222222);
            r.fn(buffer.data(), buffer.data(), int32_t(frames), right.data());
            if (r.stereoInPlace) {
                sameWords(buffer.data(), wantL.data(), frames, "left in place");
                sameWords(right.data(), wantR.data(), frames, "right with left in place");
            } else {
                // The 3-byte readers refuse two channels on their own input: mono it is.
                sameWords(buffer.data(), want.data(), frames, "mono instead of stereo");
                EXPECT_EQ(right[0], 0x22222222);
                EXPECT_EQ(right[frames - 1], 0x22222222);
            }
        });
    }
}

// The same for readers: float outputs at every 4-byte offset within a cache line, and
// sample bytes at every offset within a word.
TEST(SampleReaders, EveryOutputAlignmentAndLength)
{
    std::vector<ReaderCase> cases(std::begin(kNarrowReaders), std::end(kNarrowReaders));
    cases.push_back({"Convert32ToFloat", Convert32ToFloat, 4, false, false, false, false});
    cases.push_back({"Convert32SwapToFloat", Convert32SwapToFloat, 4, true, false, false, false});
    const int32_t lengths[] = {1, 2, 15, 16, 17, 31, 33, 63, 64, 65, 100, 127, 128, 129, 250};
    std::mt19937 rng(99);
    onEveryPath([&](PvConverterPath) {
        for (const ReaderCase& c : cases) {
            SCOPED_TRACE(c.name);
            for (int32_t n : lengths) {
                for (int channels = 1; channels <= (c.stereo ? 2 : 1); ++channels) {
                    const size_t samples = size_t(n) * size_t(channels);
                    std::vector<uint8_t> bytes;
                    std::vector<uint32_t> want;
                    for (size_t i = 0; i < samples; ++i) {
                        const int32_t raw = int32_t(rng());
                        refStore(bytes, raw, c.bytes, c.bigEndian);
                        const int bits = 8 * c.bytes;
                        const int64_t value = c.offsetBinary
                            ? int64_t(raw & 0xFF) - 128
                            : int64_t(int32_t(uint32_t(raw) << (32 - bits)) >> (32 - bits));
                        want.push_back(refFloatBits(value, bits));
                    }
                    for (size_t offset = 0; offset < 16; ++offset) {
                        std::vector<int32_t> left(offset + size_t(n) + 16, 0x33333333), right(left);
                        // Sample bytes at any address too.
                        std::vector<uint8_t> shifted(offset % 4, 0);
                        shifted.insert(shifted.end(), bytes.begin(), bytes.end());
                        c.fn(left.data() + offset, shifted.data() + offset % 4, n,
                            channels == 2 ? right.data() + offset : nullptr);
                        std::vector<int32_t> wantL(left.size(), 0x33333333), wantR(left.size(), 0x33333333);
                        for (size_t i = 0; i < size_t(n); ++i) {
                            wantL[offset + i] = int32_t(want[i * size_t(channels)]);
                            if (channels == 2)
                                wantR[offset + i] = int32_t(want[2 * i + 1]);
                        }
                        ASSERT_TRUE(left == wantL && right == wantR)
                            << "length " << n << ", channels " << channels << ", offset " << offset;
                    }
                }
            }
        }
    });
}

TEST(SampleReaders, WideAndFloatReaders)
{
    const std::vector<uint32_t> patterns = densePatterns();
    const size_t n = patterns.size();
    std::vector<uint8_t> big;
    std::vector<uint32_t> want;
    for (uint32_t p : patterns) {
        refStore(big, int32_t(p), 4, true);
        want.push_back(refFloatBits(int32_t(p), 32));
    }
    onEveryPath([&](PvConverterPath) {
        std::vector<int32_t> out(n), right(n / 2, 7);
        Convert32ToFloat(out.data(), const_cast<uint32_t*>(patterns.data()), int32_t(n), right.data());
        sameWords(out.data(), want.data(), n, "32");
        EXPECT_EQ(right[0], 7); // mono only
        Convert32SwapToFloat(out.data(), big.data(), int32_t(n), right.data());
        sameWords(out.data(), want.data(), n, "32 swapped");
        std::vector<uint32_t> inPlace = patterns;
        Convert32ToFloat(reinterpret_cast<int32_t*>(inPlace.data()), inPlace.data(), int32_t(n), nullptr);
        sameWords(reinterpret_cast<int32_t*>(inPlace.data()), want.data(), n, "32 in place");

        // Float words: copied, byte-reversed, split.
        ConvertFloatSwapToFloat(out.data(), big.data(), int32_t(n), nullptr);
        sameWords(out.data(), patterns.data(), n, "float swapped");
        ConvertFloatFileToFloat(out.data(), const_cast<uint32_t*>(patterns.data()), int32_t(n), nullptr);
        sameWords(out.data(), patterns.data(), n, "float");
        std::vector<int32_t> left(n / 2);
        std::vector<uint32_t> evens, odds;
        for (size_t i = 0; i + 1 < n; i += 2) {
            evens.push_back(patterns[i]);
            odds.push_back(patterns[i + 1]);
        }
        ConvertFloatSwapToFloat(left.data(), big.data(), int32_t(n / 2), right.data());
        sameWords(left.data(), evens.data(), n / 2, "float swapped left");
        sameWords(right.data(), odds.data(), n / 2, "float swapped right");
        ConvertFloatFileToFloat(
            left.data(), const_cast<uint32_t*>(patterns.data()), int32_t(n / 2), right.data());
        sameWords(left.data(), evens.data(), n / 2, "float left");
        sameWords(right.data(), odds.data(), n / 2, "float right");

        // Doubles round to nearest, also in place.
        std::vector<double> wide(n);
        std::vector<uint32_t> rounded(n);
        std::mt19937_64 rng(99);
        for (size_t i = 0; i < n; ++i) {
            uint64_t b = rng();
            if (i % 3 == 0) // keep most inside the float range
                b = (b & 0x800FFFFFFFFFFFFFull) | (uint64_t(1023 - 40 + i % 80) << 52);
            std::memcpy(&wide[i], &b, 8);
            rounded[i] = bitsOf(float(wide[i]));
        }
        std::vector<double> work = wide;
        ConvertDoubleToFloat(out.data(), work.data(), int32_t(n), nullptr);
        ConvertDoubleToFloat(reinterpret_cast<int32_t*>(work.data()), work.data(), int32_t(n), nullptr);
        for (size_t i = 0; i < n; ++i) {
            if (std::isnan(wide[i]))
                continue;
            ASSERT_EQ(uint32_t(out[i]), rounded[i]) << i;
            ASSERT_EQ(reinterpret_cast<uint32_t*>(work.data())[i], rounded[i]) << i;
        }
    });
}

TEST(SampleReaders, Interleaved16ReadsOneChannel)
{
    std::vector<int16_t> stream(2 * 65536);
    for (int i = 0; i < 65536; ++i) {
        stream[2 * size_t(i)] = int16_t(i);
        stream[2 * size_t(i) + 1] = int16_t(~i);
    }
    onEveryPath([&](PvConverterPath) {
        std::vector<int32_t> out(65536);
        Convert16Interleaved2ToFloat(out.data(), stream.data(), 65536, nullptr);
        for (int i = 0; i < 65536; ++i)
            ASSERT_EQ(uint32_t(out[size_t(i)]), refFloatBits(int16_t(i), 16)) << i;
        std::vector<int16_t> inPlace = stream;
        auto* words = reinterpret_cast<int32_t*>(inPlace.data());
        Convert16Interleaved2ToFloat(words, inPlace.data(), 65536, nullptr);
        EXPECT_EQ(std::memcmp(words, out.data(), out.size() * 4), 0);
    });
}

// ---- selectors, clearers, counts ------------------------------------------------------

// The regular rows serve every read and write of the file and tool tests (the tool's
// conversion matrix reads and writes every depth in both orders); here the rows those
// do not reach, any non-zero swap argument, and the fallbacks.
TEST(SampleSelectors, TablesAndFallbacks)
{
    const tConvertNToFloat readNothing = ConvertNothing;
    const tConvertFloatToN nothing = ConvertNothing;
    EXPECT_EQ(GetConvertNToFloat(-8, 1), readNothing);
    EXPECT_EQ(GetConvertNToFloat(-4, 7), ConvertFloatSwapToFloat);
    EXPECT_EQ(GetConvertNToFloat(1, 0), Convert8ToFloat);
    EXPECT_EQ(GetConvertNToFloat(4, 0), Convert32ToFloat);
    EXPECT_EQ(GetConvertNToFloat(4, -1), Convert32SwapToFloat);
    EXPECT_EQ(GetConvertNToFloat(0, 0), readNothing);
    EXPECT_EQ(GetConvertNToFloat(8, 0), readNothing);
    EXPECT_EQ(GetConvertFloatToN(-8, 1), nothing);
    EXPECT_EQ(GetConvertFloatToN(1, 0), ConvertFloatTo8);
    EXPECT_EQ(GetConvertFloatToN(4, 0), ConvertFloatTo32);
    EXPECT_EQ(GetConvertFloatToN(4, 1), ConvertFloatTo32Swap);
    EXPECT_EQ(GetConvertFloatToN(5, 0), nothing);

    EXPECT_EQ(GetConvertInterleavedToFloat(2, 2), Convert16Interleaved2ToFloat);
    EXPECT_EQ(GetConvertInterleavedToFloat(2, 3), readNothing);
    EXPECT_EQ(GetConvertInterleavedToFloat(3, 2), readNothing);
    EXPECT_EQ(GetConvertInterleavedToFloat(-8, 1), ConvertDoubleToFloat);
    EXPECT_EQ(GetConvertInterleavedToFloat(4, 1), Convert32ToFloat);
    EXPECT_EQ(GetConvertInterleavedToFloat(6, 1), readNothing);
    EXPECT_EQ(GetConvertFloatToInterleaved(2, 2), ConvertFloatTo16Interleaved2);
    EXPECT_EQ(GetConvertFloatToInterleaved(3, 1), ConvertFloatTo24);
    EXPECT_EQ(GetConvertFloatToInterleaved(-4, 1), ConvertFloatToFloatFile);
    EXPECT_EQ(GetConvertFloatToInterleaved(1, 2), nothing);

    EXPECT_EQ(GetClrStream(2, 2), Clr16Interleaved2);
    EXPECT_EQ(GetClrStream(2, 1), BlockZero);
    EXPECT_EQ(GetClrStream(3, 2), BlockZero);
}

TEST(SampleSelectors, NothingAndNonPositiveCountsTouchNoMemory)
{
    // Null buffers would fault if anything were read or written.
    ConvertNothing(static_cast<int32_t*>(nullptr), nullptr, 1000, nullptr);
    ConvertNothing(static_cast<void*>(nullptr), nullptr, 1000, nullptr);
    GetConvertFloatToN(7, 0)(nullptr, nullptr, 1000, nullptr);
    onEveryPath([](PvConverterPath) {
        for (int size : {-8, -4, 1, 2, 3, 4})
            for (int swapped : {0, 1})
                for (int32_t frames : {0, -1, -4096}) {
                    GetConvertNToFloat(size, swapped)(nullptr, nullptr, frames, nullptr);
                    GetConvertFloatToN(size, swapped)(nullptr, nullptr, frames, nullptr);
                }
        ConvertFloatTo16Interleaved2(nullptr, nullptr, 0, nullptr);
        Convert16Interleaved2ToFloat(nullptr, nullptr, -3, nullptr);
    });
}

TEST(SampleSelectors, Clearers)
{
    unsigned char bytes[16];
    std::memset(bytes, 0xEE, sizeof bytes);
    BlockZero(bytes, 0);
    BlockZero(bytes, -5);
    EXPECT_EQ(bytes[0], 0xEE);
    BlockZero(bytes, 5);
    EXPECT_EQ(bytes[4], 0);
    EXPECT_EQ(bytes[5], 0xEE);

    int16_t words[8];
    for (int i = 0; i < 8; ++i)
        words[i] = int16_t(100 + i);
    Clr16Interleaved2(words, 7); // 3 slots: 0, 2 and 4
    const int16_t want[] = {0, 101, 0, 103, 0, 105, 106, 107};
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(words[i], want[i]) << i;
}

TEST(SampleSelectors, PathControl)
{
    EXPECT_TRUE(PvConverterPathAvailable(kPvConverterPortable));
    EXPECT_FALSE(PvSetConverterPath(PvConverterPath(7)));
    const PvConverterPath now = PvCurrentConverterPath();
    EXPECT_TRUE(PvConverterPathAvailable(now));
    // The default is the fastest path the processor has.
    if (PvConverterPathAvailable(kPvConverterAVX512VBMI)) {
        EXPECT_EQ(now, kPvConverterAVX512VBMI);
    } else if (PvConverterPathAvailable(kPvConverterAVX512)) {
        EXPECT_EQ(now, kPvConverterAVX512);
    } else if (PvConverterPathAvailable(kPvConverterAVX2)) {
        EXPECT_EQ(now, kPvConverterAVX2);
    }
    // VBMI is an addition to the AVX-512 path, never offered without it.
    if (!PvConverterPathAvailable(kPvConverterAVX512)) {
        EXPECT_FALSE(PvSetConverterPath(kPvConverterAVX512));
        EXPECT_FALSE(PvConverterPathAvailable(kPvConverterAVX512VBMI));
    }
}

// ---- exhaustive ----------------------------------------------------------------------

// Every float bit pattern through the native 16-, 24- and 32-bit writers on the path the
// converters choose for this processor (the other paths meet the dense patterns above):
// big blocks compared as whole blocks, split between two threads.
TEST(SampleWritersExhaustive, EveryFloatThroughNative16To32)
{
    constexpr uint32_t kBlock = 1u << 16;
    std::atomic<uint64_t> mismatches {0};
    std::atomic<uint64_t> firstBad {~0ull};
    auto worker = [&](uint32_t firstBlock, uint32_t step) {
        std::vector<uint32_t> in(kBlock);
        std::vector<int16_t> out16(kBlock), want16(kBlock);
        std::vector<uint8_t> out24(3 * kBlock), want24(3 * kBlock);
        std::vector<int32_t> out32(kBlock), want32(kBlock);
        for (uint64_t block = firstBlock; block < (1ull << 32) / kBlock; block += step) {
            const uint32_t base = uint32_t(block * kBlock);
            for (uint32_t k = 0; k < kBlock; ++k) {
                in[k] = base + k;
                const int32_t i = refIntermediate(base + k);
                want32[k] = i;
                want16[k] = int16_t(i >> 16);
                want24[3 * k] = uint8_t(uint32_t(i) >> 8);
                want24[3 * k + 1] = uint8_t(uint32_t(i) >> 16);
                want24[3 * k + 2] = uint8_t(uint32_t(i) >> 24);
            }
            ConvertFloatTo16(out16.data(), reinterpret_cast<int32_t*>(in.data()), int32_t(kBlock), nullptr);
            ConvertFloatTo24(out24.data(), reinterpret_cast<int32_t*>(in.data()), int32_t(kBlock), nullptr);
            ConvertFloatTo32(out32.data(), reinterpret_cast<int32_t*>(in.data()), int32_t(kBlock), nullptr);
            if (std::memcmp(out16.data(), want16.data(), 2 * kBlock) == 0
                && std::memcmp(out24.data(), want24.data(), 3 * kBlock) == 0 && out32 == want32)
                continue;
            for (uint32_t k = 0; k < kBlock; ++k)
                if (out16[k] != want16[k] || std::memcmp(&out24[3 * k], &want24[3 * k], 3) != 0
                    || out32[k] != want32[k]) {
                    ++mismatches;
                    uint64_t seen = firstBad.load();
                    while (base + k < seen && !firstBad.compare_exchange_weak(seen, base + k)) { }
                }
        }
    };
    std::thread other(worker, 1u, 2u);
    worker(0, 2);
    other.join();
    EXPECT_EQ(mismatches.load(), 0u) << "first wrong pattern 0x" << std::hex << firstBad.load() << " on path "
                                     << int(PvCurrentConverterPath());
}
