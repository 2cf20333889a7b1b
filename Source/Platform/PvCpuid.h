// Access to the processor identification instruction (CPUID) and the time-stamp counter
// (RDTSC) behind a replaceable provider. CInformer and PVHardwareUtilities read the
// processor only through a provider, so tests and tools can hand them the recorded
// registers of any processor.
//
// Providers are plain objects owned by whoever creates them; the system provider is a
// process-wide constant object. Both calls are const and may run on any thread.
#pragma once

#include <cstdint>

/// The four registers one CPUID query returns.
struct PvCpuidRegisters {
    uint32_t eax = 0;
    uint32_t ebx = 0;
    uint32_t ecx = 0;
    uint32_t edx = 0;
};

/// Answers CPUID queries and time-stamp counter readings.
class PvCpuidProvider {
public:
    virtual ~PvCpuidProvider() = default;

    /// Returns the registers of CPUID for `leaf` (sub-leaf 0). A leaf the processor does
    /// not have gives whatever the processor gives; a provider without a processor
    /// (a non-x86 build) gives all zeros.
    virtual PvCpuidRegisters cpuid(uint32_t leaf) const = 0;

    /// Returns the current time-stamp counter; 0 where there is none.
    virtual uint64_t timeStampCounter() const = 0;
};

/// Returns the provider that asks the processor the code runs on (all zeros on
/// processors other than x86). Never null; lives for the whole process.
const PvCpuidProvider& PvSystemCpuidProvider();
