// Fuzz target: Sound Designer II. The input is the AppleDouble file (or bare resource
// fork) beside a small data fork; the resource fork parser decides what the data is.
#include "audiofile_fuzz_common.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string dir = fuzzaudio::workDir();
    const std::string path = dir + "/take.sd2", sidecar = dir + "/._take.sd2";
    uint8_t samples[96];
    for (size_t i = 0; i < sizeof samples; ++i)
        samples[i] = uint8_t(i * 37);
    fuzzaudio::writeFile(path, samples, sizeof samples);
    fuzzaudio::writeFile(sidecar, data, size);
    fuzzaudio::exercise(path);
    ::unlink(path.c_str());
    ::unlink(sidecar.c_str());
    return 0;
}
