// Selectors, clearers and the exported converters. Each converter applies the argument
// rules of its family here and then runs the kernel of the current instruction-set path.
#include "SampleConverters.h"
#include "SampleKernels_p.h"

#include <atomic>
#include <cstring>

using PvSample::Kernels;

namespace {

bool cpuHas(PvConverterPath path)
{
#if defined(__x86_64__) || defined(__i386__)
    switch (path) {
    case kPvConverterPortable:
        return true;
    case kPvConverterAVX2:
        return __builtin_cpu_supports("avx2");
    case kPvConverterAVX512:
        return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw")
            && __builtin_cpu_supports("avx512vl");
    case kPvConverterAVX512VBMI:
        return cpuHas(kPvConverterAVX512) && __builtin_cpu_supports("avx512vbmi");
    }
    return false;
#else
    return path == kPvConverterPortable;
#endif
}

const Kernels* kernelsOf(PvConverterPath path)
{
#if defined(__x86_64__) || defined(__i386__)
    if (path == kPvConverterAVX512VBMI)
        return &PvSample::kAVX512VbmiKernels;
    if (path == kPvConverterAVX512)
        return &PvSample::kAVX512Kernels;
    if (path == kPvConverterAVX2)
        return &PvSample::kAVX2Kernels;
#endif
    return &PvSample::kPortableKernels;
}

PvConverterPath bestPath()
{
    if (cpuHas(kPvConverterAVX512VBMI))
        return kPvConverterAVX512VBMI;
    if (cpuHas(kPvConverterAVX512))
        return kPvConverterAVX512;
    if (cpuHas(kPvConverterAVX2))
        return kPvConverterAVX2;
    return kPvConverterPortable;
}

// The chosen path, -1 until the first converter runs. Converters are pure functions
// of their buffers; this only picks which code computes them.
std::atomic<int> g_path {-1};

PvConverterPath currentPath()
{
    int p = g_path.load(std::memory_order_relaxed);
    if (p < 0) {
        p = bestPath();
        int expected = -1;
        if (!g_path.compare_exchange_strong(expected, p, std::memory_order_relaxed))
            p = expected;
    }
    return PvConverterPath(p);
}

inline const Kernels& kernels()
{
    return *kernelsOf(currentPath());
}

} // namespace

bool PvConverterPathAvailable(PvConverterPath path)
{
    return cpuHas(path);
}

PvConverterPath PvCurrentConverterPath()
{
    return currentPath();
}

bool PvSetConverterPath(PvConverterPath path)
{
    if (path < kPvConverterPortable || path > kPvConverterAVX512VBMI || !cpuHas(path))
        return false;
    g_path.store(path, std::memory_order_relaxed);
    return true;
}

extern "C" {

void ConvertNothing(int32_t*, void*, int32_t, int32_t*)
{
}

void BlockZero(void* buffer, int32_t bytes)
{
    if (bytes >= 1)
        std::memset(buffer, 0, size_t(bytes));
}

void Clr16Interleaved2(void* buffer, int32_t bytes)
{
    auto* slots = static_cast<int16_t*>(buffer);
    for (int32_t i = 0; i < bytes / 2; ++i)
        slots[2 * i] = 0;
}

// ---- writers ------------------------------------------------------------------------

#define PV_WRITER(name, kernel)                                                                              \
    void name(void* out, int32_t* leftIn, int32_t frames, int32_t* rightIn)                                  \
    {                                                                                                        \
        if (frames > 0)                                                                                      \
            kernels().kernel(out, leftIn, frames, rightIn);                                                  \
    }

PV_WRITER(ConvertFloatTo32, floatTo32)
PV_WRITER(ConvertFloatTo24, floatTo24)
PV_WRITER(ConvertFloatTo16, floatTo16)
PV_WRITER(ConvertFloatTo8, floatTo8)
PV_WRITER(ConvertFloatTo8Swap, floatTo8) // 8-bit data has no byte order
PV_WRITER(ConvertFloatTo24Swap, floatTo24Swap)
PV_WRITER(ConvertFloatTo16Swap, floatTo16Swap)
PV_WRITER(ConvertFloatToFloatSwap, floatToFloatSwap)
#undef PV_WRITER

void ConvertFloatTo32Swap(void* out, int32_t* leftIn, int32_t frames, int32_t*)
{
    // Always mono: the right channel is never written.
    if (frames > 0)
        kernels().floatTo32Swap(out, leftIn, frames, nullptr);
}

void ConvertFloatToFloatFile(void* out, int32_t* leftIn, int32_t frames, int32_t* rightIn)
{
    if (frames > 0 && out != leftIn)
        kernels().floatToFloatFile(out, leftIn, frames, rightIn);
}

void ConvertFloatToDouble(void* out, int32_t* leftIn, int32_t frames, int32_t*)
{
    if (frames > 0)
        kernels().floatToDouble(out, leftIn, frames, nullptr);
}

void ConvertFloatTo16Interleaved2(void* out, int32_t* leftIn, int32_t frames, int32_t*)
{
    if (frames > 0)
        kernels().floatTo16Interleaved2(out, leftIn, frames, nullptr);
}

// ---- readers ------------------------------------------------------------------------

#define PV_READER(name, kernel)                                                                              \
    void name(int32_t* leftOut, void* in, int32_t frames, int32_t* rightOut)                                 \
    {                                                                                                        \
        if (frames > 0)                                                                                      \
            kernels().kernel(leftOut, in, frames, rightOut);                                                 \
    }

PV_READER(Convert16ToFloat, from16)
PV_READER(Convert8ToFloat, from8)
PV_READER(Convert16SwapToFloat, from16Swap)
PV_READER(Convert8SwapToFloat, from8Swap)
PV_READER(ConvertFloatSwapToFloat, fromFloatSwap)
#undef PV_READER

#define PV_MONO_READER(name, kernel)                                                                         \
    void name(int32_t* leftOut, void* in, int32_t frames, int32_t*)                                          \
    {                                                                                                        \
        if (frames > 0)                                                                                      \
            kernels().kernel(leftOut, in, frames, nullptr);                                                  \
    }

PV_MONO_READER(Convert32ToFloat, from32)
PV_MONO_READER(Convert32SwapToFloat, from32Swap)
PV_MONO_READER(ConvertDoubleToFloat, fromDouble)
PV_MONO_READER(Convert16Interleaved2ToFloat, from16Interleaved2)
#undef PV_MONO_READER

// The two-channel 3-byte path walks forward, so it cannot run in place: with the left
// output at the input's address the block is read as mono.
void Convert24ToFloat(int32_t* leftOut, void* in, int32_t frames, int32_t* rightOut)
{
    if (frames > 0)
        kernels().from24(leftOut, in, frames, static_cast<void*>(leftOut) == in ? nullptr : rightOut);
}

void Convert24SwapToFloat(int32_t* leftOut, void* in, int32_t frames, int32_t* rightOut)
{
    if (frames > 0)
        kernels().from24Swap(leftOut, in, frames, static_cast<void*>(leftOut) == in ? nullptr : rightOut);
}

void ConvertFloatFileToFloat(int32_t* leftOut, void* in, int32_t frames, int32_t* rightOut)
{
    if (frames > 0 && static_cast<void*>(leftOut) != in)
        kernels().fromFloatFile(leftOut, in, frames, rightOut);
}

// ---- selectors ----------------------------------------------------------------------

tConvertNToFloat GetConvertNToFloat(int sizeCode, int swapped)
{
    switch (sizeCode) {
    case -8:
        return swapped ? tConvertNToFloat(ConvertNothing) : ConvertDoubleToFloat; // no swapped doubles
    case -4:
        return swapped ? ConvertFloatSwapToFloat : ConvertFloatFileToFloat;
    case 1:
        return swapped ? Convert8SwapToFloat : Convert8ToFloat;
    case 2:
        return swapped ? Convert16SwapToFloat : Convert16ToFloat;
    case 3:
        return swapped ? Convert24SwapToFloat : Convert24ToFloat;
    case 4:
        return swapped ? Convert32SwapToFloat : Convert32ToFloat;
    default:
        return ConvertNothing;
    }
}

tConvertFloatToN GetConvertFloatToN(int sizeCode, int swapped)
{
    switch (sizeCode) {
    case -8:
        return swapped ? tConvertFloatToN(ConvertNothing) : ConvertFloatToDouble;
    case -4:
        return swapped ? ConvertFloatToFloatSwap : ConvertFloatToFloatFile;
    case 1:
        return swapped ? ConvertFloatTo8Swap : ConvertFloatTo8;
    case 2:
        return swapped ? ConvertFloatTo16Swap : ConvertFloatTo16;
    case 3:
        return swapped ? ConvertFloatTo24Swap : ConvertFloatTo24;
    case 4:
        return swapped ? ConvertFloatTo32Swap : ConvertFloatTo32;
    default:
        return ConvertNothing;
    }
}

tConvertNToFloat GetConvertInterleavedToFloat(int sizeCode, int interleave)
{
    if (sizeCode == 2 && interleave == 2)
        return Convert16Interleaved2ToFloat;
    if (interleave == 1)
        return GetConvertNToFloat(sizeCode, 0);
    return ConvertNothing;
}

tConvertFloatToN GetConvertFloatToInterleaved(int sizeCode, int interleave)
{
    if (sizeCode == 2 && interleave == 2)
        return ConvertFloatTo16Interleaved2;
    if (interleave == 1)
        return GetConvertFloatToN(sizeCode, 0);
    return ConvertNothing;
}

tClrStream GetClrStream(int sizeCode, int interleave)
{
    return sizeCode == 2 && interleave == 2 ? Clr16Interleaved2 : BlockZero;
}

} // extern "C"

void ConvertNothing(void*, int32_t*, int32_t, int32_t*)
{
}
