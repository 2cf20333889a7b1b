#include "PVHardwareUtilities.h"
#include "PvMacTypes.h"
#include "PvSystemInfo_p.h"

#include <limits>

PVHardwareUtilities* PVHardwareUtilities::sHardwareUtilities = nullptr;
std::mutex PVHardwareUtilities::sCreationLock;

PVHardwareUtilities* PVHardwareUtilities::sharedHardwareUtilities()
{
    // The lock guard releases the lock also when creation throws.
    std::lock_guard<std::mutex> guard(sCreationLock);
    if (!sHardwareUtilities)
        sHardwareUtilities = new PVHardwareUtilities;
    return sHardwareUtilities;
}

bool PVHardwareUtilities::sysctlValue(const char* name, uint64_t* value) const
{
    PvSystem::Machine machine;
    machine.root = m_root;
    machine.cpu = m_cpu;
    return PvSystem::sysctlByName(machine, name, value);
}

namespace {

// Kernel values are 32-bit here: larger ones saturate instead of wrapping.
unsigned clamp32(uint64_t value)
{
    return value > std::numeric_limits<unsigned>::max() ? std::numeric_limits<unsigned>::max()
                                                        : unsigned(value);
}

} // namespace

unsigned PVHardwareUtilities::cpuCount()
{
    if (m_cpuCount == 0) {
        uint64_t n = 0;
        if (sysctlValue("hw.ncpu", &n))
            m_cpuCount = clamp32(n);
    }
    return m_cpuCount;
}

unsigned PVHardwareUtilities::cpuClockSpeed()
{
    uint64_t hz = 0;
    return sysctlValue("hw.cpufrequency", &hz) ? clamp32(hz / 1000000u) : 0;
}

unsigned PVHardwareUtilities::hasVectorUnit()
{
    uint64_t v = 0;
    return sysctlValue("hw.vectorunit", &v) ? clamp32(v) : 0;
}

unsigned PVHardwareUtilities::physicalRAM()
{
    uint64_t bytes = 0;
    return sysctlValue("hw.physmem", &bytes) ? clamp32(bytes) : 0;
}

unsigned PVHardwareUtilities::machineCpuType()
{
    uint64_t v = 0;
    return sysctlValue("hw.cputype", &v) ? clamp32(v) : 0;
}

unsigned PVHardwareUtilities::machineCpuSubtype()
{
    uint64_t v = 0;
    return sysctlValue("hw.cpusubtype", &v) ? clamp32(v) : 0;
}

unsigned PVHardwareUtilities::machineCpuFamily()
{
    uint64_t v = 0;
    return sysctlValue("hw.cpufamily", &v) ? clamp32(v) : 0;
}

int PVHardwareUtilities::cpuType()
{
    if (m_cpuType != 0)
        return m_cpuType;
    PvSystem::Machine machine;
    machine.root = m_root;
    machine.cpu = m_cpu;
    int32_t native = 0;
    const bool answered = PvSystem::gestalt(machine, PvFourCC("cput"), &native);
    if (answered && native >= int32_t(PvFourCC("i486"))) {
        const unsigned family = machineCpuFamily();
        m_cpuType = family == 0x426F69EFu ? 5 : family == 0x73D67300u ? 4 : 6;
    } else if (answered && native >= 0x139) {
        m_cpuType = 3; // the 64-bit PowerPC generation
    } else {
        int32_t flags = 0;
        if (!PvSystem::gestalt(machine, PvFourCC("ppcf"), &flags))
            m_cpuType = 1;
        else
            m_cpuType = (flags & 16) ? 2 : 1;
    }
    return m_cpuType;
}

void PVHardwareUtilities::_deviceAddedWithName(const QString& name)
{
    if (name.contains(QLatin1String("IODVDServices")))
        ++m_nDVDDrives;
}

bool PVHardwareUtilities::systemHasDVDDrive()
{
    m_nDVDDrives = 0;
    PvSystem::Machine machine;
    machine.root = m_root;
    machine.cpu = m_cpu;
    for (const QString& name : PvSystem::opticalDeviceNames(machine))
        _deviceAddedWithName(name);
    return m_nDVDDrives >= 1;
}

void PVHardwareUtilities::setMachine(const QString& root, const PvCpuidProvider* cpu)
{
    m_root = root;
    m_cpu = cpu;
    m_cpuType = 0;
    m_cpuCount = 0;
    m_nDVDDrives = 0;
}
