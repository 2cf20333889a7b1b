// PVHardwareUtilities on machines described in a folder (fake /proc and /sys) with
// recorded CPUID registers, and on the machine the tests run on.
#include <Pavo/PavoCore.h>

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstring>
#include <map>
#include <thread>
#include <vector>

namespace {

class FakeCpu : public PvCpuidProvider {
public:
    std::map<uint32_t, PvCpuidRegisters> leaves;
    explicit FakeCpu(uint32_t leaf1eax = 0, const char* vendor = "GenuineIntel")
    {
        PvCpuidRegisters l0;
        l0.eax = 7;
        std::memcpy(&l0.ebx, vendor, 4);
        std::memcpy(&l0.edx, vendor + 4, 4);
        std::memcpy(&l0.ecx, vendor + 8, 4);
        leaves[0] = l0;
        leaves[1] = {leaf1eax, 0, 0, 0};
        leaves[0x80000000u] = {0x80000001u, 0, 0, 0};
    }
    PvCpuidRegisters cpuid(uint32_t leaf) const override
    {
        auto it = leaves.find(leaf);
        return it == leaves.end() ? PvCpuidRegisters {} : it->second;
    }
    uint64_t timeStampCounter() const override { return 0; }
};

// A machine in a temporary folder.
class FakeMachine {
public:
    FakeMachine() { EXPECT_TRUE(m_dir.isValid()); }
    QString root() const { return m_dir.path(); }
    void write(const QString& path, const QByteArray& text)
    {
        const QString full = m_dir.path() + path;
        QDir().mkpath(QFileInfo(full).path());
        QFile f(full);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(text);
    }
    void addDrive(const QString& name) { QDir().mkpath(m_dir.path() + "/sys/class/block/" + name); }

private:
    QTemporaryDir m_dir;
};

const QByteArray kX86Info = "processor\t: 0\nvendor_id\t: GenuineIntel\ncpu family\t: 6\nmodel\t\t: 15\n"
                            "cpu MHz\t\t: 1995.000\nflags\t\t: fpu tsc sse sse2 ssse3\n\n"
                            "processor\t: 1\nvendor_id\t: GenuineIntel\ncpu family\t: 6\n";

class Hardware : public testing::Test {
protected:
    PVHardwareUtilities* hw = PVHardwareUtilities::sharedHardwareUtilities();
    void TearDown() override { hw->setMachine(QString()); }
};

} // namespace

TEST_F(Hardware, OneInstanceCreatedUnderALock)
{
    std::vector<PVHardwareUtilities*> seen(8);
    std::vector<std::thread> threads;
    for (size_t i = 0; i < seen.size(); ++i)
        threads.emplace_back([&seen, i] { seen[i] = PVHardwareUtilities::sharedHardwareUtilities(); });
    for (auto& t : threads)
        t.join();
    for (PVHardwareUtilities* p : seen)
        EXPECT_EQ(p, hw);
    EXPECT_EQ(hw->copy(), hw);
}

TEST_F(Hardware, MeromLaptopAt2333MHz)
{
    FakeMachine m;
    m.write("/proc/cpuinfo", kX86Info);
    m.write("/sys/devices/system/cpu/online", "0-1\n");
    m.write("/sys/devices/system/cpu/cpu0/cpufreq/cpuinfo_max_freq", "2333000\n");
    m.write("/proc/meminfo", "MemTotal:        2097152 kB\nMemFree:   1000 kB\n");
    FakeCpu merom(0x000006F6); // family 6, model 15: Merom
    hw->setMachine(m.root(), &merom);
    EXPECT_EQ(hw->cpuCount(), 2u);
    EXPECT_EQ(hw->cpuClockSpeed(), 2333u);
    EXPECT_EQ(hw->hasVectorUnit(), 1u);
    EXPECT_EQ(hw->physicalRAM(), 2147483648u);
    EXPECT_EQ(hw->machineCpuType(), 7u);
    EXPECT_EQ(hw->machineCpuSubtype(), 4u);
    EXPECT_EQ(hw->machineCpuFamily(), 0x426F69EFu);
    EXPECT_EQ(hw->cpuType(), 5);

    // The count is cached, the clock is not.
    m.write("/sys/devices/system/cpu/online", "0-7\n");
    m.write("/sys/devices/system/cpu/cpu0/cpufreq/cpuinfo_max_freq", "1000000\n");
    EXPECT_EQ(hw->cpuCount(), 2u);
    EXPECT_EQ(hw->cpuClockSpeed(), 1000u);
}

TEST_F(Hardware, ProcessorClassesByFamily)
{
    FakeMachine m;
    m.write("/proc/cpuinfo", kX86Info);
    FakeCpu yonah(0x000006E8);
    hw->setMachine(m.root(), &yonah);
    EXPECT_EQ(hw->machineCpuFamily(), 0x73D67300u);
    EXPECT_EQ(hw->cpuType(), 4);

    // A current processor with the Haswell feature set: subtype 8, unknown family.
    FakeCpu current(0x000806F8);
    current.leaves[1].ecx = (1u << 12) | (1u << 22);
    current.leaves[7] = {0, (1u << 3) | (1u << 5) | (1u << 8), 0, 0};
    current.leaves[0x80000001u] = {0, 0, 1u << 5, 0};
    hw->setMachine(m.root(), &current);
    EXPECT_EQ(hw->machineCpuSubtype(), 8u);
    EXPECT_EQ(hw->machineCpuFamily(), 0u);
    EXPECT_EQ(hw->cpuType(), 6);

    FakeCpu amd(0x00A20F10, "AuthenticAMD");
    hw->setMachine(m.root(), &amd);
    EXPECT_EQ(hw->machineCpuFamily(), 0u);
    EXPECT_EQ(hw->cpuType(), 6);
}

TEST_F(Hardware, PowerPCClasses)
{
    // G5 (even with vector instructions), G4, G3.
    const struct {
        const char* cpu;
        int type;
        unsigned vector;
    } machines[]
        = {{"PPC970MP, altivec supported", 3, 1}, {"7447A, altivec supported", 2, 1}, {"750FX", 1, 0}};
    for (const auto& m : machines) {
        FakeMachine ppc;
        ppc.write("/proc/cpuinfo",
            QByteArray("processor\t: 0\ncpu\t\t: ") + m.cpu + "\nclock\t\t: 2500.000000MHz\n");
        hw->setMachine(ppc.root());
        EXPECT_EQ(hw->cpuType(), m.type) << m.cpu;
        EXPECT_EQ(hw->hasVectorUnit(), m.vector) << m.cpu;
        EXPECT_EQ(hw->machineCpuType(), 0u) << m.cpu;
    }
}

TEST_F(Hardware, FailuresGiveZero)
{
    FakeMachine empty;
    hw->setMachine(empty.root());
    EXPECT_EQ(hw->cpuCount(), 0u);
    EXPECT_EQ(hw->cpuClockSpeed(), 0u);
    EXPECT_EQ(hw->hasVectorUnit(), 0u);
    EXPECT_EQ(hw->physicalRAM(), 0u);
    EXPECT_EQ(hw->machineCpuFamily(), 0u);
    EXPECT_EQ(hw->cpuType(), 1); // neither query answers
    EXPECT_FALSE(hw->systemHasDVDDrive());

    // A count that fails once is asked again.
    empty.write("/sys/devices/system/cpu/online", "garbage");
    EXPECT_EQ(hw->cpuCount(), 0u);
    empty.write("/sys/devices/system/cpu/online", "0-3,6\n");
    EXPECT_EQ(hw->cpuCount(), 5u);
}

TEST_F(Hardware, MemorySaturatesAt32Bits)
{
    FakeMachine m;
    m.write("/proc/meminfo", "MemTotal:       67108864 kB\n"); // 64 GiB
    hw->setMachine(m.root());
    EXPECT_EQ(hw->physicalRAM(), 0xFFFFFFFFu);
    m.write("/proc/meminfo", "MemTotal:        4194303 kB\n"); // 1 KiB under 4 GiB
    EXPECT_EQ(hw->physicalRAM(), 0xFFFFFC00u);
    // Without a frequency file the clock comes from /proc/cpuinfo.
    m.write("/proc/cpuinfo", kX86Info);
    EXPECT_EQ(hw->cpuClockSpeed(), 1995u);
    EXPECT_EQ(hw->cpuCount(), 2u); // processor lines, without the online list
}

TEST_F(Hardware, DVDDrives)
{
    const QByteArray info = "CD-ROM information, Id: cdrom.c 3.20 2003/12/17\n\n"
                            "drive name:\t\tsr1\tsr0\ndrive speed:\t\t24\t48\n"
                            "Can read DVD:\t\t1\t0\nCan write DVD-R:\t0\t0\n\n";
    FakeMachine none;
    hw->setMachine(none.root());
    EXPECT_FALSE(hw->systemHasDVDDrive());
    EXPECT_EQ(hw->m_nDVDDrives, 0);

    FakeMachine cdOnly;
    cdOnly.addDrive("sr0");
    cdOnly.write("/proc/sys/dev/cdrom/info", info);
    hw->setMachine(cdOnly.root());
    EXPECT_FALSE(hw->systemHasDVDDrive());

    FakeMachine both;
    both.addDrive("sr0");
    both.addDrive("sr1");
    both.addDrive("sda");
    both.write("/proc/sys/dev/cdrom/info", info);
    hw->setMachine(both.root());
    EXPECT_TRUE(hw->systemHasDVDDrive());
    EXPECT_EQ(hw->m_nDVDDrives, 1);
}

TEST_F(Hardware, ThisMachine)
{
    hw->setMachine(QString());
    const unsigned n = std::thread::hardware_concurrency();
    if (n > 0) {
        EXPECT_GE(hw->cpuCount(), 1u);
    }
    EXPECT_GT(hw->physicalRAM(), 0u);
#if defined(__x86_64__) || defined(__i386__)
    EXPECT_EQ(hw->machineCpuType(), 7u);
    EXPECT_EQ(hw->hasVectorUnit(), 1u);
    EXPECT_GE(hw->cpuType(), 4);
#endif
    // Whatever drives exist, the answer agrees with the count.
    EXPECT_EQ(hw->systemHasDVDDrive(), hw->m_nDVDDrives >= 1);
}
