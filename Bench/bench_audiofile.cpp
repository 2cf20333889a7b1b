// CAuFileIO::ReadFloat against libsndfile's sf_readf_float over the same files in the
// page cache: 16-bit stereo WAVE and 24-bit stereo AIFF, read whole in blocks of 4096
// frames. Items are samples (frames x channels).
#include <Pavo/PavoCore.h>

#include <benchmark/benchmark.h>
#include <sndfile.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kFrames = 1 << 21; // 2M frames: 8 MB of 16-bit, 12 MB of 24-bit stereo
constexpr int kBlock = 4096;

const std::string& fileFor(int format)
{
    static std::string wave, aiff;
    std::string& path = (format & SF_FORMAT_TYPEMASK) == SF_FORMAT_WAV ? wave : aiff;
    if (path.empty()) {
        path = "/tmp/pavo-bench-" + std::to_string(getpid())
            + ((format & SF_FORMAT_TYPEMASK) == SF_FORMAT_WAV ? ".wav" : ".aif");
        SF_INFO info {};
        info.samplerate = 48000;
        info.channels = 2;
        info.format = format;
        SNDFILE* sf = sf_open(path.c_str(), SFM_WRITE, &info);
        std::vector<float> block(size_t(kBlock) * 2);
        for (int at = 0; at < kFrames; at += kBlock) {
            for (size_t i = 0; i < block.size(); ++i)
                block[i] = float(std::sin(double(at + int(i)) * 0.001) * 0.9);
            sf_writef_float(sf, block.data(), kBlock);
        }
        sf_close(sf);
        std::atexit([] {
            if (!wave.empty())
                ::unlink(wave.c_str());
            if (!aiff.empty())
                ::unlink(aiff.c_str());
        });
    }
    return path;
}

void readWithPavo(benchmark::State& state, int format)
{
    const std::string& path = fileFor(format);
    CAuFileIO io;
    io.Set(path.c_str(), 0);
    if (io.Open(false) != 0) {
        state.SkipWithError("open failed");
        return;
    }
    std::vector<float> buffer(size_t(kBlock) * 2);
    for (auto _ : state) {
        for (int at = 0; at < kFrames; at += kBlock)
            io.ReadFloat(buffer.data(), at, kBlock);
        benchmark::DoNotOptimize(buffer.data());
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * kFrames * 2);
}

void readWithSndfile(benchmark::State& state, int format)
{
    const std::string& path = fileFor(format);
    SF_INFO info {};
    SNDFILE* sf = sf_open(path.c_str(), SFM_READ, &info);
    if (sf == nullptr) {
        state.SkipWithError("open failed");
        return;
    }
    std::vector<float> buffer(size_t(kBlock) * 2);
    for (auto _ : state) {
        sf_seek(sf, 0, SEEK_SET);
        for (int at = 0; at < kFrames; at += kBlock)
            sf_readf_float(sf, buffer.data(), kBlock);
        benchmark::DoNotOptimize(buffer.data());
    }
    sf_close(sf);
    state.SetItemsProcessed(int64_t(state.iterations()) * kFrames * 2);
}

void BM_ReadFloat_Wave16Stereo(benchmark::State& s)
{
    readWithPavo(s, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
}
void BM_Sndfile_Wave16Stereo(benchmark::State& s)
{
    readWithSndfile(s, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
}
void BM_ReadFloat_Aiff24Stereo(benchmark::State& s)
{
    readWithPavo(s, SF_FORMAT_AIFF | SF_FORMAT_PCM_24);
}
void BM_Sndfile_Aiff24Stereo(benchmark::State& s)
{
    readWithSndfile(s, SF_FORMAT_AIFF | SF_FORMAT_PCM_24);
}

BENCHMARK(BM_ReadFloat_Wave16Stereo)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Sndfile_Wave16Stereo)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadFloat_Aiff24Stereo)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Sndfile_Aiff24Stereo)->Unit(benchmark::kMillisecond);

} // namespace
