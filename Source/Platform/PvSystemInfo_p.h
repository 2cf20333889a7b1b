// The Linux side of the machine queries that the framework was written against: kernel
// hw values by name (as sysctlbyname answers them on Mac OS X), the system feature query
// (Gestalt) for the processor selectors, and the optical storage devices of the device
// registry. Every file is read below a root folder ("" for the real system) so that tests
// can describe a whole machine in a folder; CPUID comes from a provider.
#pragma once

#include "PvCpuid.h"

#include <QString>
#include <QStringList>

#include <cstdint>

namespace PvSystem {

struct Machine {
    QString root; ///< prefix of /proc and /sys; empty for the running system
    const PvCpuidProvider* cpu = nullptr; ///< null: the processor's own
};

/// The kernel value `name` as Mac OS X names it: "hw.ncpu", "hw.cpufrequency" (Hz),
/// "hw.vectorunit", "hw.physmem" (bytes, not truncated here), "hw.cputype",
/// "hw.cpusubtype", "hw.cpufamily". False when the machine does not tell.
bool sysctlByName(const Machine& machine, const char* name, uint64_t* value);

/// The system feature query for the processor selectors: 'cput' (native processor type:
/// 'i486' for x86, the PowerPC processor code otherwise) and 'ppcf' (PowerPC feature
/// flags, 16 = vector instructions). False when the machine has no answer.
bool gestalt(const Machine& machine, uint32_t selector, int32_t* response);

/// Registry names of the optical storage devices present now, one per drive:
/// "IODVDServices" for drives that read DVDs, "IOCDServices" for the others.
QStringList opticalDeviceNames(const Machine& machine);

} // namespace PvSystem
