// decompressedData against zlib's uncompress into a buffer of the right size, on 64 MiB of
// highly compressible data, in one run; and compressedData against compress.
#include <Pavo/PavoCore.h>

#include <benchmark/benchmark.h>
#include <zlib.h>

namespace {

constexpr qsizetype kSize = 64 << 20;

// Sample-like data: long runs with a little variation, as in silence and test tones.
const QByteArray& original()
{
    static const QByteArray data = [] {
        QByteArray d(kSize, '\0');
        for (qsizetype i = 0; i < d.size(); i += 1021)
            d[i] = char(i >> 10);
        return d;
    }();
    return data;
}

const QByteArray& packed()
{
    static const QByteArray data = compressedData(original());
    return data;
}

void BM_decompressedData(benchmark::State& state)
{
    const QByteArray& in = packed();
    for (auto _ : state) {
        QByteArray out = decompressedData(in);
        benchmark::DoNotOptimize(out.constData());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * kSize);
    state.counters["input_bytes"] = double(in.size());
}

// The reference: zlib's one-shot uncompress into a buffer allocated at the known size.
void BM_zlib_uncompress(benchmark::State& state)
{
    const QByteArray& in = packed();
    for (auto _ : state) {
        QByteArray out(kSize, Qt::Uninitialized);
        uLongf size = uLongf(kSize);
        int result = uncompress(reinterpret_cast<Bytef*>(out.data()), &size,
            reinterpret_cast<const Bytef*>(in.constData()), uLong(in.size()));
        if (result != Z_OK)
            state.SkipWithError("uncompress failed");
        benchmark::DoNotOptimize(out.constData());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * kSize);
}

// The same with the output buffer made once, outside the timing.
void BM_zlib_uncompress_reused(benchmark::State& state)
{
    const QByteArray& in = packed();
    QByteArray out(kSize, '\0');
    for (auto _ : state) {
        uLongf size = uLongf(kSize);
        uncompress(reinterpret_cast<Bytef*>(out.data()), &size,
            reinterpret_cast<const Bytef*>(in.constData()), uLong(in.size()));
        benchmark::DoNotOptimize(out.constData());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * kSize);
}

void BM_compressedData(benchmark::State& state)
{
    const QByteArray& in = original();
    for (auto _ : state)
        benchmark::DoNotOptimize(compressedData(in).constData());
    state.SetBytesProcessed(int64_t(state.iterations()) * kSize);
}

void BM_zlib_compress(benchmark::State& state)
{
    const QByteArray& in = original();
    QByteArray out(qsizetype(compressBound(uLong(kSize))), Qt::Uninitialized);
    for (auto _ : state) {
        uLongf size = uLongf(out.size());
        compress(reinterpret_cast<Bytef*>(out.data()), &size, reinterpret_cast<const Bytef*>(in.constData()),
            uLong(in.size()));
        benchmark::DoNotOptimize(out.constData());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * kSize);
}

} // namespace

BENCHMARK(BM_decompressedData)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_zlib_uncompress)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_zlib_uncompress_reused)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_compressedData)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_zlib_compress)->Unit(benchmark::kMillisecond)->UseRealTime();
