// PVCRC32 against zlib's crc32 on the same buffers, in one run.
#include <Pavo/PavoCore.h>

#include <benchmark/benchmark.h>
#include <zlib.h>

#include <random>
#include <vector>

namespace {

const std::vector<unsigned char>& buffer(size_t size)
{
    static std::vector<unsigned char> data;
    if (data.size() < size) {
        std::mt19937 rng(42);
        data.resize(size);
        for (auto& b : data)
            b = static_cast<unsigned char>(rng());
    }
    return data;
}

void BM_PVCRC32(benchmark::State& state)
{
    const size_t size = size_t(state.range(0));
    const auto& data = buffer(size);
    for (auto _ : state)
        benchmark::DoNotOptimize(PVCRC32(0, data.data(), uint32_t(size)));
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(size));
}

void BM_zlib_crc32(benchmark::State& state)
{
    const size_t size = size_t(state.range(0));
    const auto& data = buffer(size);
    for (auto _ : state)
        benchmark::DoNotOptimize(crc32(0, data.data(), uInt(size)));
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(size));
}

void BM_PVCRC16(benchmark::State& state)
{
    std::vector<char> text(4096, 'a');
    text.back() = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(PVCRC16(text.data()));
    state.SetBytesProcessed(int64_t(state.iterations()) * 4095);
}

} // namespace

BENCHMARK(BM_PVCRC32)->Arg(4 << 10)->Arg(64 << 20);
BENCHMARK(BM_zlib_crc32)->Arg(4 << 10)->Arg(64 << 20);
BENCHMARK(BM_PVCRC16);
