#include "PvCpuid.h"

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#include <x86intrin.h>
#endif

namespace {

class SystemCpuid final : public PvCpuidProvider {
public:
    PvCpuidRegisters cpuid(uint32_t leaf) const override
    {
        PvCpuidRegisters r;
#if defined(__x86_64__) || defined(__i386__)
        // Asked directly (not through __get_cpuid) so that a leaf above the highest one
        // answers as the processor answers it.
        __cpuid_count(leaf, 0, r.eax, r.ebx, r.ecx, r.edx);
#else
        (void)leaf;
#endif
        return r;
    }

    uint64_t timeStampCounter() const override
    {
#if defined(__x86_64__) || defined(__i386__)
        return __rdtsc();
#else
        return 0;
#endif
    }
};

} // namespace

const PvCpuidProvider& PvSystemCpuidProvider()
{
    static const SystemCpuid provider;
    return provider;
}
