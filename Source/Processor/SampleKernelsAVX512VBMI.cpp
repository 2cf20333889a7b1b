// The AVX-512 kernels again, for processors that also have VBMI: narrow samples are
// packed and unpacked with byte permutes. Everything else is the same code.
#define PV_AVX512_VBMI 1
#include "SampleKernelsAVX512.cpp"
