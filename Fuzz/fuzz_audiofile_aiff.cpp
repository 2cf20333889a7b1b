// Fuzz target: AIFF files opened, read and edited through the audio file service.
#include "audiofile_fuzz_common.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    return fuzzaudio::runContainer("input.aiff", data, size);
}
