// Every sample converter on 4096-sample blocks that stay in the cache. Each iteration
// times 32 calls of the converter on the current path, 32 memcpy calls of the same
// number of output bytes and 32 calls of the converter on the portable path, one after
// the other, in thread CPU time (the shared machine preempts often; a preempted thread
// is not charged), so that the ratios compare runs under the same machine load:
//   samples/s    converter samples per second (items_per_second)
//   x_memcpy     memcpy time / converter time (1.0 = as fast as copying the output)
//   x_scalar     portable-path time / converter time
// PAVO_CONVERTER_PATH=avx2 (or avx512, portable) measures that path instead of the one
// the processor would get.
#include <Pavo/PavoCore.h>

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int32_t kSamples = 4096;

struct Buffers {
    std::vector<int32_t> floats, floatsR, words, wordsR;
    std::vector<unsigned char> bytes, bytesOut;
    Buffers()
        : floats(kSamples)
        , floatsR(kSamples)
        , words(kSamples)
        , wordsR(kSamples)
        , bytes(8 * kSamples + 64)
        , bytesOut(8 * kSamples + 64)
    {
        std::mt19937 rng(7);
        std::uniform_real_distribution<float> audio(-1.0f, 1.0f);
        for (int32_t i = 0; i < kSamples; ++i) {
            const float a = audio(rng), b = audio(rng);
            std::memcpy(&floats[size_t(i)], &a, 4);
            std::memcpy(&floatsR[size_t(i)], &b, 4);
        }
        for (auto& b : bytes)
            b = static_cast<unsigned char>(rng());
        // Doubles must be finite numbers: fill with audio values.
        for (int32_t i = 0; i < kSamples; ++i) {
            const double d = audio(rng);
            std::memcpy(bytes.data() + 8 * i, &d, 8);
        }
    }
};

Buffers& buffers()
{
    static Buffers b;
    return b;
}

constexpr int kRepeats = 32;

double nowSeconds()
{
    timespec t;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) + 1e-9 * double(t.tv_nsec);
}

// Seconds for one call, from kRepeats calls.
template <class Call> double seconds(Call call)
{
    const double t0 = nowSeconds();
    for (int k = 0; k < kRepeats; ++k) {
        call();
        benchmark::ClobberMemory();
    }
    return (nowSeconds() - t0) / kRepeats;
}

const char* pathLabel(PvConverterPath p)
{
    return p == kPvConverterAVX512 ? "avx512" : p == kPvConverterAVX2 ? "avx2" : "portable";
}

// The path under measurement: PAVO_CONVERTER_PATH when it names an available path,
// else the processor's own.
PvConverterPath pathUnderTest()
{
    static const PvConverterPath path = [] {
        const char* name = std::getenv("PAVO_CONVERTER_PATH");
        const std::string wanted = name ? name : "";
        for (PvConverterPath p : {kPvConverterPortable, kPvConverterAVX2, kPvConverterAVX512}) {
            if (wanted == pathLabel(p) && PvSetConverterPath(p))
                return p;
        }
        return PvCurrentConverterPath();
    }();
    return path;
}

// `run(path)` converts one block; `outBytes` is what the converter writes.
template <class Run> void measure(benchmark::State& state, size_t outBytes, int32_t samples, Run run)
{
    Buffers& b = buffers();
    const PvConverterPath best = pathUnderTest();
    PvSetConverterPath(best);
    double tConv = 0, tCopy = 0, tScalar = 0;
    for (auto _ : state) {
        const double t = seconds([&] { run(); });
        tConv += t;
        state.SetIterationTime(t);
        tCopy += seconds([&] {
            std::memcpy(b.bytesOut.data(), b.bytes.data(), outBytes);
            benchmark::DoNotOptimize(b.bytesOut.data());
        });
        PvSetConverterPath(kPvConverterPortable);
        tScalar += seconds([&] { run(); });
        PvSetConverterPath(best);
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * samples);
    state.counters["x_memcpy"] = tCopy / tConv;
    state.counters["x_scalar"] = tScalar / tConv;
    state.SetLabel(pathLabel(best));
}

void writer(benchmark::State& state, tConvertFloatToN fn, int bytes, bool stereo)
{
    Buffers& b = buffers();
    const int32_t frames = stereo ? kSamples / 2 : kSamples;
    measure(state, size_t(kSamples) * size_t(bytes), kSamples, [&] {
        fn(b.bytesOut.data(), b.floats.data(), frames, stereo ? b.floatsR.data() : nullptr);
        benchmark::DoNotOptimize(b.bytesOut.data());
    });
}

void reader(benchmark::State& state, tConvertNToFloat fn, bool stereo)
{
    Buffers& b = buffers();
    const int32_t frames = stereo ? kSamples / 2 : kSamples;
    measure(state, size_t(kSamples) * 4, kSamples, [&] {
        fn(b.words.data(), b.bytes.data(), frames, stereo ? b.wordsR.data() : nullptr);
        benchmark::DoNotOptimize(b.words.data());
    });
}

#define PV_WRITER(fn, bytes)                                                                                 \
    BENCHMARK_CAPTURE(writer, fn, fn, bytes, false)->UseManualTime();                                        \
    BENCHMARK_CAPTURE(writer, fn##_stereo, fn, bytes, true)->UseManualTime();
#define PV_WRITER_MONO(fn, bytes) BENCHMARK_CAPTURE(writer, fn, fn, bytes, false)->UseManualTime();
#define PV_READER(fn)                                                                                        \
    BENCHMARK_CAPTURE(reader, fn, fn, false)->UseManualTime();                                               \
    BENCHMARK_CAPTURE(reader, fn##_stereo, fn, true)->UseManualTime();
#define PV_READER_MONO(fn) BENCHMARK_CAPTURE(reader, fn, fn, false)->UseManualTime();

PV_WRITER(ConvertFloatTo32, 4)
PV_WRITER(ConvertFloatTo24, 3)
PV_WRITER(ConvertFloatTo16, 2)
PV_WRITER(ConvertFloatTo8, 1)
PV_WRITER_MONO(ConvertFloatTo32Swap, 4)
PV_WRITER(ConvertFloatTo24Swap, 3)
PV_WRITER(ConvertFloatTo16Swap, 2)
PV_WRITER(ConvertFloatTo8Swap, 1)
PV_WRITER(ConvertFloatToFloatFile, 4)
PV_WRITER(ConvertFloatToFloatSwap, 4)
PV_WRITER_MONO(ConvertFloatToDouble, 8)
PV_WRITER_MONO(ConvertFloatTo16Interleaved2, 4) // writes every other 16-bit slot

PV_READER_MONO(Convert32ToFloat)
PV_READER(Convert24ToFloat)
PV_READER(Convert16ToFloat)
PV_READER(Convert8ToFloat)
PV_READER_MONO(Convert32SwapToFloat)
PV_READER(Convert24SwapToFloat)
PV_READER(Convert16SwapToFloat)
PV_READER(Convert8SwapToFloat)
PV_READER(ConvertFloatFileToFloat)
PV_READER(ConvertFloatSwapToFloat)
PV_READER_MONO(ConvertDoubleToFloat)
PV_READER_MONO(Convert16Interleaved2ToFloat)

} // namespace
