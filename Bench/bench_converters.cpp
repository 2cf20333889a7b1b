// Every sample converter on 4096-sample blocks that stay in the cache. Each iteration
// times 32 calls of the converter on the current path, 32 memcpy calls of the same
// number of output bytes and 32 calls of the converter on the portable path, one after
// the other, in thread CPU time (the shared machine preempts often; a preempted thread
// is not charged), so that the ratios compare runs under the same machine load:
//   samples/s    converter samples per second (items_per_second)
//   x_memcpy     memcpy time / converter time (1.0 = as fast as copying the output)
//   x_scalar     portable-path time / converter time
// PAVO_CONVERTER_PATH=avx2 (or avx512, avx512vbmi, portable) measures that path instead of the one
// the processor would get. The bound/BoundTo* rows time stripped-down AVX-512 writers
// (see there) against memcpy in the same way.
#include <Pavo/PavoCore.h>

#include <benchmark/benchmark.h>

#if defined(__x86_64__)
// GCC 12 reports the deliberately undefined pass-through operands inside its own
// AVX-512 intrinsics as uninitialised.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>
#endif

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
    return p == kPvConverterAVX512VBMI ? "avx512vbmi"
        : p == kPvConverterAVX512      ? "avx512"
        : p == kPvConverterAVX2        ? "avx2"
                                       : "portable";
}

// The path under measurement: PAVO_CONVERTER_PATH when it names an available path,
// else the processor's own.
PvConverterPath pathUnderTest()
{
    static const PvConverterPath path = [] {
        const char* name = std::getenv("PAVO_CONVERTER_PATH");
        const std::string wanted = name ? name : "";
        for (PvConverterPath p :
            {kPvConverterPortable, kPvConverterAVX2, kPvConverterAVX512, kPvConverterAVX512VBMI}) {
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

#if defined(__x86_64__)
// Bounds: the least an AVX-512 writer of each width does, with no clip rule and no byte
// order: scale by 2^31, truncate, keep the top bytes of each word and store. They also
// skip up to 63 samples so that every store is aligned, and 16- and 3-byte words are
// packed as the writers pack them (with byte permutes where the processor has VBMI). No
// correct writer can beat its row, so these rows show how far the memcpy ratio can go on
// this processor.
#define PV_BOUND __attribute__((target("avx512f,avx512bw")))
#define PV_BOUND_VBMI __attribute__((target("avx512f,avx512bw,avx512vbmi")))

PV_BOUND inline __m512i boundConvert(const int32_t* p)
{
    return _mm512_cvttps_epi32(
        _mm512_mul_ps(_mm512_loadu_ps(reinterpret_cast<const float*>(p)), _mm512_set1_ps(2147483648.0f)));
}

// Samples to skip so that output at `o` with `bytes` per sample reaches a 64-byte boundary.
int32_t boundSkip(const unsigned char* o, int bytes)
{
    int32_t k = 0;
    while ((reinterpret_cast<uintptr_t>(o) + uintptr_t(bytes * k)) % 64 != 0)
        ++k;
    return k;
}

PV_BOUND void bound32(unsigned char* o, const int32_t* f)
{
    const int32_t k = boundSkip(o, 4);
    o += 4 * k;
    f += k;
    for (int32_t i = 0; i + 16 <= kSamples - 64; i += 16)
        _mm512_storeu_si512(o + 4 * i, boundConvert(f + i));
}

// Byte-permute indices: byte i of a 16-bit output vector takes the high half of word
// (i % 32) / 2 of the first or second vector; byte i of 3-byte output vector `out` takes
// byte 1 + k of word s % 16, where sample s and byte k are its place in the group.
struct BoundIndices {
    alignas(64) unsigned char to16[64], to24[3][64];
    BoundIndices()
    {
        for (int i = 0; i < 64; ++i)
            to16[i] = static_cast<unsigned char>(4 * ((i % 32) / 2) + 2 + i % 2);
        for (int p = 0; p < 192; ++p)
            to24[p / 64][p % 64] = static_cast<unsigned char>((4 * (p / 3 % 16) + 1 + p % 3) & 63);
    }
};
const BoundIndices kBoundIndices;

PV_BOUND_VBMI void bound24Vbmi(unsigned char* o, const int32_t* f)
{
    const int32_t k = boundSkip(o, 3);
    o += 3 * k;
    f += k;
    for (int32_t i = 0; i + 64 <= kSamples - 64; i += 64) {
        const __m512i v[4] = {boundConvert(f + i), boundConvert(f + i + 16), boundConvert(f + i + 32),
            boundConvert(f + i + 48)};
        for (int q = 0; q < 3; ++q) {
            const __m512i index = _mm512_load_si512(kBoundIndices.to24[q]);
            _mm512_storeu_si512(o + 3 * i + 64 * q,
                _mm512_mask_permutexvar_epi8(
                    _mm512_permutexvar_epi8(index, v[q]), ~uint64_t(0) << (48 - 16 * q), index, v[q + 1]));
        }
    }
}

PV_BOUND void bound24(unsigned char* o, const int32_t* f)
{
    if (__builtin_cpu_supports("avx512vbmi")) {
        bound24Vbmi(o, f);
        return;
    }
    const __m512i lane
        = _mm512_broadcast_i32x4(_mm_setr_epi8(1, 2, 3, 5, 6, 7, 9, 10, 11, 13, 14, 15, -1, -1, -1, -1));
    const __m512i i0 = _mm512_setr_epi32(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 16, 17, 18, 20);
    const __m512i i1 = _mm512_setr_epi32(5, 6, 8, 9, 10, 12, 13, 14, 16, 17, 18, 20, 21, 22, 24, 25);
    const __m512i i2 = _mm512_setr_epi32(10, 12, 13, 14, 16, 17, 18, 20, 21, 22, 24, 25, 26, 28, 29, 30);
    const int32_t k = boundSkip(o, 3);
    o += 3 * k;
    f += k;
    for (int32_t i = 0; i + 64 <= kSamples - 64; i += 64) {
        const __m512i a = _mm512_shuffle_epi8(boundConvert(f + i), lane);
        const __m512i b = _mm512_shuffle_epi8(boundConvert(f + i + 16), lane);
        const __m512i c = _mm512_shuffle_epi8(boundConvert(f + i + 32), lane);
        const __m512i d = _mm512_shuffle_epi8(boundConvert(f + i + 48), lane);
        _mm512_storeu_si512(o + 3 * i, _mm512_permutex2var_epi32(a, i0, b));
        _mm512_storeu_si512(o + 3 * i + 64, _mm512_permutex2var_epi32(b, i1, c));
        _mm512_storeu_si512(o + 3 * i + 128, _mm512_permutex2var_epi32(c, i2, d));
    }
}

PV_BOUND_VBMI void bound16Vbmi(unsigned char* o, const int32_t* f)
{
    const __m512i index = _mm512_load_si512(kBoundIndices.to16);
    for (int32_t i = 0; i < kSamples; i += 32)
        _mm512_storeu_si512(o + 2 * i,
            _mm512_mask_permutexvar_epi8(_mm512_permutexvar_epi8(index, boundConvert(f + i)),
                0xFFFFFFFF00000000ull, index, boundConvert(f + i + 16)));
}

PV_BOUND void bound16(unsigned char* o, const int32_t* f)
{
    if (__builtin_cpu_supports("avx512vbmi")) {
        bound16Vbmi(o, f);
        return;
    }
    const __m512i pick = _mm512_setr_epi32(0x00030001, 0x00070005, 0x000B0009, 0x000F000D, 0x00130011,
        0x00170015, 0x001B0019, 0x001F001D, 0x00230021, 0x00270025, 0x002B0029, 0x002F002D, 0x00330031,
        0x00370035, 0x003B0039, 0x003F003D);
    for (int32_t i = 0; i < kSamples; i += 32)
        _mm512_storeu_si512(
            o + 2 * i, _mm512_permutex2var_epi16(boundConvert(f + i), pick, boundConvert(f + i + 16)));
}

void bound(benchmark::State& state, void (*fn)(unsigned char*, const int32_t*), int bytes)
{
    if (!__builtin_cpu_supports("avx512f") || !__builtin_cpu_supports("avx512bw")) {
        state.SkipWithError("needs AVX-512");
        return;
    }
    Buffers& b = buffers();
    double tRun = 0, tCopy = 0;
    for (auto _ : state) {
        const double t = seconds([&] {
            fn(b.bytesOut.data(), b.floats.data());
            benchmark::DoNotOptimize(b.bytesOut.data());
        });
        tRun += t;
        state.SetIterationTime(t);
        tCopy += seconds([&] {
            std::memcpy(b.bytesOut.data(), b.bytes.data(), size_t(kSamples) * size_t(bytes));
            benchmark::DoNotOptimize(b.bytesOut.data());
        });
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * kSamples);
    state.counters["x_memcpy"] = tCopy / tRun;
}

BENCHMARK_CAPTURE(bound, BoundTo32, bound32, 4)->UseManualTime();
BENCHMARK_CAPTURE(bound, BoundTo24, bound24, 3)->UseManualTime();
BENCHMARK_CAPTURE(bound, BoundTo16, bound16, 2)->UseManualTime();
#endif

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
