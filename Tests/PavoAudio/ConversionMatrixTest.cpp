// Every source sample format into every container and depth, checked against sox's
// reading of source and result: integer to integer and a same-format copy are exact
// (narrowing truncates), conversions between float and integer stay within a step of
// the target (the framework's converters keep 24 bits of 32-bit integers and clip
// full scale a little short of it).
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

std::vector<int32_t> words(const QByteArray& raw)
{
    std::vector<int32_t> v(size_t(raw.size()) / 4);
    std::memcpy(v.data(), raw.constData(), v.size() * 4);
    return v;
}

} // namespace

TEST(PavoAudioConvert, MatrixOfSampleFormatsAgreesWithSox)
{
    ToolFolder f;
    struct Source {
        const char* name;
        const char* bits;
        const char* encoding;
        bool isFloat;
    } sources[] = {{"u8.wav", "8", "unsigned", false}, {"s8.aif", "8", "signed", false},
        {"s16.wav", "16", "signed", false}, {"s24.aif", "24", "signed", false},
        {"s32.wav", "32", "signed", false}, {"f32.wav", "32", "floating-point", true},
        {"f64.wav", "64", "floating-point", true}};
    // Both extremes of every depth and a loud sine, as 32-bit words that sox narrows
    // (rounding, no dither) into each source.
    QByteArray raw;
    for (int i = 0; i < 800; ++i) {
        const int32_t v = i < 4
            ? (i & 1 ? INT32_MAX : INT32_MIN)
            : int32_t(std::lround(2147483000.0 * std::sin(double(i) * 0.0731 * (1 + i % 2))));
        raw.append(reinterpret_cast<const char*>(&v), 4);
    }
    ASSERT_TRUE(writeFile(f.path(QStringLiteral("base.raw")), raw));
    for (const Source& s : sources)
        ASSERT_TRUE(f.sox(args({"-D", "-t", "raw", "-e", "signed", "-b", "32", "-L", "-c", "2", "-r", "8000",
            "base.raw", "-b", s.bits, "-e", s.encoding, s.name})));
    const char* containers[] = {"aiff", "aifc", "wave", "caf", "sd2"};
    const int depths[] = {8, 16, 24, 32, 0}; // 0: 32-bit float
    int exact = 0, close = 0, cell = 0;
    for (const Source& s : sources) {
        const std::vector<int32_t> in = words(f.samples(QString::fromUtf8(s.name)));
        ASSERT_EQ(in.size(), 800u);
        for (const char* container : containers) {
            for (int bits : depths) {
                const QString out = QStringLiteral("c%1").arg(cell++);
                SCOPED_TRACE(QStringLiteral("%1 -> %2 %3")
                                 .arg(QString::fromUtf8(s.name), QString::fromUtf8(container))
                                 .arg(bits)
                                 .toStdString());
                QStringList a {QStringLiteral("convert"), QString::fromUtf8(s.name), out,
                    QStringLiteral("--format"), QString::fromUtf8(container)};
                a << (bits == 0 ? QStringList {QStringLiteral("--float")}
                                : QStringList {QStringLiteral("--bits"), QString::number(bits)});
                const RunResult r = f.tool(a);
                if (bits == 0 && std::strcmp(container, "sd2") == 0) {
                    EXPECT_EQ(r.status, 1); // Sound Designer II holds no floats
                    continue;
                }
                ASSERT_EQ(r.status, 0) << r.errText().toStdString();
                QString readable = out;
                if (std::strcmp(container, "sd2") == 0 || (bits == 0 && std::strcmp(container, "caf") == 0)) {
                    // sox reads no Sound Designer II and scales CAF floats (those it
                    // writes itself too); a same-format copy to WAVE shows the samples.
                    readable = out + QStringLiteral(".wav");
                    ASSERT_EQ(f.tool({QStringLiteral("convert"), out, readable}).status, 0);
                }
                const std::vector<int32_t> got = words(f.samples(readable));
                ASSERT_EQ(got.size(), in.size());
                const bool intToInt = !s.isFloat && bits != 0;
                const bool sameFloat = s.isFloat && bits == 0 && std::strcmp(s.bits, "32") == 0;
                const int64_t step = bits == 0 ? 1 : int64_t(1) << (32 - bits);
                int64_t worst = 0;
                for (size_t i = 0; i < in.size(); ++i) {
                    const int64_t want
                        = intToInt ? int64_t(int32_t(uint32_t(in[i]) & ~uint32_t(step - 1))) : int64_t(in[i]);
                    worst = std::max(worst, std::abs(int64_t(got[i]) - want));
                }
                if (intToInt || sameFloat) {
                    EXPECT_EQ(worst, 0);
                    ++exact;
                } else {
                    // Within a step of the target, and 24 bits' worth for 32-bit words.
                    EXPECT_LE(worst, step + 256);
                    worst == 0 ? ++exact : ++close;
                }
            }
        }
    }
    std::printf("conversion matrix: %d cells equal to sox's reading, %d within a step\n", exact, close);
}

TEST(PavoAudioConvert, DitherRoundsWithTriangularNoiseInsteadOfTruncating)
{
    ToolFolder f;
    ASSERT_TRUE(f.tone(QStringLiteral("s24.wav"), 1, 24, 8000, 0.5));
    ASSERT_EQ(f.tool(args({"convert", "s24.wav", "cut.wav", "--bits", "16"})).status, 0);
    ASSERT_EQ(f.tool(args({"convert", "s24.wav", "dith.wav", "--bits", "16", "--dither"})).status, 0);
    const std::vector<int32_t> in = words(f.samples(QStringLiteral("s24.wav")));
    const std::vector<int32_t> cut = words(f.samples(QStringLiteral("cut.wav")));
    const std::vector<int32_t> dith = words(f.samples(QStringLiteral("dith.wav")));
    ASSERT_EQ(cut.size(), in.size());
    ASSERT_EQ(dith.size(), in.size());
    const double step = 65536.0;
    double cutBias = 0, ditherBias = 0, worst = 0;
    int changed = 0;
    for (size_t i = 0; i < in.size(); ++i) {
        cutBias += (double(cut[i]) - in[i]) / step;
        ditherBias += (double(dith[i]) - in[i]) / step;
        worst = std::max(worst, std::abs(double(dith[i]) - in[i]) / step);
        changed += dith[i] != cut[i];
        EXPECT_EQ(dith[i] % 65536, 0);
    }
    const double n = double(in.size());
    EXPECT_NEAR(cutBias / n, -0.5, 0.05); // truncation is half a step low on average
    EXPECT_NEAR(ditherBias / n, 0.0, 0.05); // rounding with noise is not
    EXPECT_LE(worst, 1.5);
    EXPECT_GT(changed, int(n / 4));
}
