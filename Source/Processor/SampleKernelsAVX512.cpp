#include "SampleKernels_p.h"
#if defined(__x86_64__) || defined(__i386__)
namespace PvSample {
// placeholder while building; replaced below
}
#endif
