// PVHardwareUtilities: questions about the machine as a whole - how many processors,
// their clock, whether a vector unit exists, the amount of memory, the processor's
// Mach-style type codes, a coarse processor class and whether a DVD drive is attached.
// It complements CInformer, which looks at one processor's instruction-level features.
//
// One process-wide instance, created on first use under a lock and never destroyed; the
// class cannot be constructed, copied or deleted by callers. The queries themselves are
// not locked and their caches are plain fields: call them from the main thread, or accept
// that two threads may both fill a cache.
//
// On Linux the answers come from /proc and /sys (below an injectable root folder) and
// from CPUID (through an injectable provider), so tests can describe any machine.
#pragma once

#include "PvCpuid.h"

#include <QString>

#include <mutex>

class PVHardwareUtilities {
public:
    /// Returns the single instance, created on first use. Never null.
    static PVHardwareUtilities* sharedHardwareUtilities();

    /// Returns the single instance again: there is no second one to copy into.
    PVHardwareUtilities* copy() { return this; }

    /// Returns the number of processors; cached after the first successful query, 0 on
    /// failure (and then asked again next time).
    unsigned cpuCount();
    /// Returns the nominal processor frequency in whole MHz; 0 on failure. Not cached.
    unsigned cpuClockSpeed();
    /// Returns non-zero when the processor has a vector unit (SSE, AltiVec, NEON); 0 on
    /// failure.
    unsigned hasVectorUnit();
    /// Returns the physical memory in bytes as a 32-bit value: 0xFFFFFFFF for 4 GiB and
    /// more (it saturates, it never wraps); 0 on failure.
    unsigned physicalRAM();
    /// Mach processor type (7 for x86); 0 on failure or on other processors.
    unsigned machineCpuType();
    /// Mach processor subtype (4 for x86, 8 for the Haswell feature set); 0 on failure.
    unsigned machineCpuSubtype();
    /// Mach processor family code (0x426F69EF Merom, 0x73D67300 Yonah, ...); 0 for
    /// unknown families and on failure.
    unsigned machineCpuFamily();
    /// Returns the processor class, computed once: 1 PowerPC without vector unit,
    /// 2 PowerPC with vector unit, 3 64-bit PowerPC generation, 4 Intel family
    /// 0x73D67300, 5 Intel family 0x426F69EF, 6 Intel with any other family.
    int cpuType();
    /// Counts the DVD drives present now into m_nDVDDrives and returns whether there is
    /// at least one. Drives attached later are not watched.
    bool systemHasDVDDrive();

    /// Makes every query read /proc and /sys below `root` (empty: the running system)
    /// and CPUID from `cpu` (null: the processor's own; not owned, must outlive its use),
    /// and forgets the cached answers. For tests and tools; not thread-safe.
    void setMachine(const QString& root, const PvCpuidProvider* cpu = nullptr);

    int m_nDVDDrives = 0;
    int m_cpuType = 0;
    unsigned m_cpuCount = 0;

private:
    PVHardwareUtilities() = default;
    ~PVHardwareUtilities() = default;
    PVHardwareUtilities(const PVHardwareUtilities&) = delete;
    PVHardwareUtilities& operator=(const PVHardwareUtilities&) = delete;

    void _deviceAddedWithName(const QString& name);
    bool sysctlValue(const char* name, uint64_t* value) const;

    static PVHardwareUtilities* sHardwareUtilities;
    static std::mutex sCreationLock;

    QString m_root;
    const PvCpuidProvider* m_cpu = nullptr;
};
