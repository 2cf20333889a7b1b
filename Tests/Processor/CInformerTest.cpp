// CInformer on recorded CPUID register sets and on the machine it runs on.
#include <Pavo/PavoCore.h>

#include <gtest/gtest.h>

#include <QFile>

#include <cstring>
#include <map>
#include <string>

namespace {

// Answers CPUID from a table of recorded leaves (zeros for others) and counts the
// time-stamp counter up by a fixed step.
class RecordedCpu : public PvCpuidProvider {
public:
    std::map<uint32_t, PvCpuidRegisters> leaves;
    uint64_t step = 0;
    mutable uint64_t tsc = 1000;

    static PvCpuidRegisters vendorLeaf(uint32_t highest, const char* vendor)
    {
        PvCpuidRegisters r;
        r.eax = highest;
        std::memcpy(&r.ebx, vendor, 4);
        std::memcpy(&r.edx, vendor + 4, 4);
        std::memcpy(&r.ecx, vendor + 8, 4);
        return r;
    }
    PvCpuidRegisters cpuid(uint32_t leaf) const override
    {
        auto it = leaves.find(leaf);
        return it == leaves.end() ? PvCpuidRegisters {} : it->second;
    }
    uint64_t timeStampCounter() const override { return tsc += step; }
};

// Intel Pentium 4 (Northwood, family 15 model 2 stepping 9).
RecordedCpu pentium4()
{
    RecordedCpu c;
    c.leaves[0] = RecordedCpu::vendorLeaf(2, "GenuineIntel");
    c.leaves[1] = {0x00000F29, 0x00010809, 0x00004400, 0xBFEBFBFF};
    c.leaves[2] = {0x665B5001, 0, 0, 0x007A7040};
    c.leaves[0x80000000u] = {0x80000004u, 0, 0, 0};
    c.leaves[0x80000001u] = {0, 0, 0, 0};
    c.step = 80;
    return c;
}

// AMD Athlon (Thunderbird, family 6 model 4 stepping 2).
RecordedCpu athlon()
{
    RecordedCpu c;
    c.leaves[0] = RecordedCpu::vendorLeaf(1, "AuthenticAMD");
    c.leaves[1] = {0x00000642, 0, 0, 0x0183F9FF};
    c.leaves[0x80000000u] = {0x80000006u, 0x68747541, 0x444D4163, 0x69746E65};
    c.leaves[0x80000001u] = {0x00000742, 0, 0, 0xC1C3F9FF};
    c.step = 30;
    return c;
}

// A current Intel Xeon (family 6, extended model 8, model 15, stepping 8).
RecordedCpu currentXeon()
{
    RecordedCpu c;
    c.leaves[0] = RecordedCpu::vendorLeaf(0x20, "GenuineIntel");
    c.leaves[1] = {0x000806F8, 0x00800800, 0x7FFEFBFF, 0xBFEBFBFF};
    c.leaves[0x80000000u] = {0x80000008u, 0, 0, 0};
    c.leaves[0x80000001u] = {0, 0, 0x00000121, 0x2C100800};
    c.step = 25;
    return c;
}

class Informer : public testing::Test {
protected:
    void use(const RecordedCpu& cpu)
    {
        m_cpu = cpu;
        CInformer::SetProvider(&m_cpu);
    }
    void TearDown() override
    {
        CInformer::SetProvider(nullptr);
        CInformer::s_iCfgSize = 0;
        std::memset(CInformer::s_aCacheCfg, 0, sizeof CInformer::s_aCacheCfg);
        std::memset(&CInformer::s_alCacheCfg, 0, sizeof CInformer::s_alCacheCfg);
    }
    RecordedCpu m_cpu;
};

} // namespace

TEST_F(Informer, Pentium4)
{
    use(pentium4());
    EXPECT_STREQ(CInformer::Description(), "OEM, Intel Pentium 4, stepping 9");
    EXPECT_EQ(CInformer::Vendor(), 1);
    EXPECT_EQ(CInformer::Model(), 14);
    EXPECT_TRUE(CInformer::Feature(CInformer::eSSE2));
    EXPECT_TRUE(CInformer::Feature(CInformer::eTM));
    EXPECT_FALSE(CInformer::Feature(CInformer::eDAZ)); // judged on leaf 0x80000001
    EXPECT_EQ(CInformer::DotID(), 0);
    EXPECT_EQ(CInformer::ClockSpeed(), 80);
    EXPECT_EQ(CInformer::NumCaches(), 0); // no step fills the configuration
    EXPECT_STREQ(CInformer::Brand(), "");
    EXPECT_EQ(CInformer::CacheType(0), 0);
    EXPECT_STREQ(CInformer::Description(0), "(unknown cache type)");
    EXPECT_EQ(CInformer::SuggestedBlocksize(), 512);
    EXPECT_EQ(CInformer::CachePerformance(1024), 0);
    EXPECT_STREQ(CInformer::FeatureDescription(CInformer::eUnknownFeature), "(unknown feature)");
}

TEST_F(Informer, AthlonModelIsReadFromTheSecondFeatureWord)
{
    use(athlon());
    // Leaf 1's ecx is 0 on this processor, so the family-6 table finds no model.
    EXPECT_STREQ(CInformer::Description(), "OEM, AMD (unknown model), stepping 2, generation 7");
    EXPECT_EQ(CInformer::Generation(), 7);
    EXPECT_TRUE(CInformer::Feature(CInformer::eAMD3DNow));
    EXPECT_TRUE(CInformer::Feature(CInformer::eAMD3DNowExt));
    EXPECT_TRUE(CInformer::Feature(CInformer::eAMDMMX));
    EXPECT_TRUE(CInformer::Feature(CInformer::EFeature(33))); // bit 1 of the extended word
    EXPECT_FALSE(CInformer::Feature(CInformer::eSSE));
    EXPECT_FALSE(CInformer::Feature(CInformer::eDAZ));
    EXPECT_EQ(CInformer::ClockSpeed(), 30);

    // The same processor reporting 2 in leaf 1's ecx is named from the AMD column.
    RecordedCpu named = athlon();
    named.leaves[1].ecx = 2;
    use(named);
    EXPECT_EQ(CInformer::Model(), 20);
    named.leaves[1].eax = 0x00000632; // model 3
    use(named);
    EXPECT_STREQ(CInformer::Description(), "OEM, AMD Duron, stepping 2, generation 7");
}

TEST_F(Informer, CurrentProcessor)
{
    use(currentXeon());
    EXPECT_STREQ(CInformer::Description(), "OEM, Intel (unknown model), stepping 8");
    EXPECT_TRUE(CInformer::Feature(CInformer::eSSE2));
    EXPECT_TRUE(CInformer::Feature(CInformer::EFeature(43))); // bit 11 of 0x80000001 edx
    EXPECT_FALSE(CInformer::Feature(CInformer::eDAZ));
    EXPECT_EQ(CInformer::DotID(), 0);
    EXPECT_EQ(CInformer::ClockSpeed(7), 25);
}

// Rows that show how the family, the type bit and the second feature word choose the
// column; the table's other rows are data, not rules.
TEST_F(Informer, ModelTableByFamilyAndSecondFeatureWord)
{
    struct Row {
        uint32_t eax, ecx;
        int model;
    };
    const Row rows[] = {
        {0x1480, 1, 3},
        {0x0480, 1, 4},
        {0x0400, 2, 15},
        {0x0500, 2, 16},
        {0x0630, 1, 11},
        {0x0650, 1, 11},
        {0x0620, 2, 20},
        {0x0650, 2, 0},
        {0x0630, 0, 0},
        {0x00100F00, 0, 0},
        {0x0F00, 0, 14},
    };
    for (const Row& row : rows) {
        RecordedCpu c = pentium4();
        c.leaves[1].eax = row.eax;
        c.leaves[1].ecx = row.ecx;
        use(c);
        EXPECT_EQ(CInformer::Model(), row.model) << std::hex << row.eax << " ecx " << row.ecx;
    }
    // Type and OverDrive: bits 12-13 plus one.
    EXPECT_EQ(CInformer::Type(), 1);
    RecordedCpu dual = pentium4();
    dual.leaves[1].eax |= 0x2000;
    use(dual);
    EXPECT_STREQ(CInformer::Description(), "Dual, Intel Pentium 4, stepping 9");
}

TEST_F(Informer, DAZAndOptimisationCodeFromTheLastExtendedQuery)
{
    struct Row {
        uint32_t ecx, edx;
        bool daz;
        int dot;
    };
    const Row rows[] = {
        {1, 0x07000000, true, 2},
        {1, 0x03000000, true, 1},
        {1, 0x01000000, false, 0},
        {2, 0x03000000, true, 3},
        {2, 0x05000000, true, 0},
        {3, 0x07000000, true, 0},
        {0, 0x06000000, false, 0},
    };
    for (const Row& row : rows) {
        RecordedCpu c = currentXeon();
        c.leaves[0x80000001u].ecx = row.ecx;
        c.leaves[0x80000001u].edx = row.edx;
        use(c);
        EXPECT_EQ(CInformer::Feature(CInformer::eDAZ), row.daz) << row.ecx << " " << row.edx;
        EXPECT_EQ(CInformer::DotID(), row.dot) << row.ecx << " " << row.edx;
    }
    // Without extended leaves, the registers of leaf 0x80000000 itself decide.
    RecordedCpu none = currentXeon();
    none.leaves[0x80000000u] = {0x80000000u, 0, 1, 0x07000000};
    use(none);
    EXPECT_EQ(CInformer::DotID(), 2);
    EXPECT_EQ(CInformer::Generation(), 0);
    EXPECT_FALSE(CInformer::Feature(CInformer::EFeature(43)));
}

TEST_F(Informer, NoIdentificationLeavesTheZeroState)
{
    RecordedCpu c;
    c.leaves[0] = RecordedCpu::vendorLeaf(0, "GenuineIntel");
    c.leaves[1] = {0x0F29, 0, 0, 0xFFFFFFFF};
    c.step = 10;
    use(c);
    EXPECT_STREQ(CInformer::Description(), "(unknown type), (unknown vendor) (unknown model), stepping 0");
    EXPECT_FALSE(CInformer::Feature(CInformer::eFPU));
    EXPECT_EQ(CInformer::ClockSpeed(), 0); // no RDTSC feature known
    // A vendor it does not know is "(unknown vendor)" with the rest filled in.
    RecordedCpu other = pentium4();
    other.leaves[0] = RecordedCpu::vendorLeaf(2, "CyrixInstead");
    use(other);
    EXPECT_STREQ(CInformer::Description(), "OEM, (unknown vendor) (unknown model), stepping 9");
}

TEST_F(Informer, IntelCacheQueriesReadTheDescriptorTable)
{
    use(pentium4());
    CInformer::Initialize();
    const signed char descriptors[] = {0x66, 0x5B, 0x50, 0x7A, 0x70, 0x40, 0x05, signed(char(0x85))};
    std::memcpy(CInformer::s_aCacheCfg, descriptors, sizeof descriptors);
    CInformer::s_iCfgSize = 8;
    EXPECT_EQ(CInformer::NumCaches(), 8);
    EXPECT_EQ(CInformer::CacheType(0), 5);
    EXPECT_EQ(CInformer::Associativity(1), 255);
    EXPECT_EQ(CInformer::UnitSize(0), 64);
    EXPECT_EQ(CInformer::TotalSize(3), 262144);
    EXPECT_STREQ(
        CInformer::Description(4), "Instruction trace cache, 8-way set associative, 12k uOperations");
    EXPECT_EQ(CInformer::CacheType(5), 9);
    EXPECT_STREQ(CInformer::Description(6), "(unknown cache type)"); // 0x05 is not listed
    EXPECT_STREQ(CInformer::Description(7), "Unified cache, 8-way set associative, 32 byte line size, 2M");
    EXPECT_EQ(CInformer::TotalSize(8), 0);
    EXPECT_EQ(CInformer::CacheType(-1), 0);
    EXPECT_STREQ(CInformer::Description(8), "(unknown cache type)");
}

TEST_F(Informer, AMDCacheSlots)
{
    use(athlon());
    CInformer::Initialize();
    EXPECT_EQ(CInformer::Description(0), std::string("Data TLB, off, 2M or 4M pages, 0 entries"));
    CInformer::SAMDCacheCfg& cfg = CInformer::s_alCacheCfg;
    cfg.lAssociativity[0] = 6;
    cfg.lSize[0] = 8;
    cfg.lAssociativity[4] = 2;
    cfg.lSize[4] = 64;
    cfg.lLineSize[4] = 64;
    cfg.lAssociativity[6] = 6;
    cfg.lSize[6] = 256;
    cfg.lAssociativity[10] = 8;
    cfg.lSize[10] = 256;
    cfg.lLineSize[10] = 64;
    cfg.lAssociativity[9] = 15;
    EXPECT_EQ(CInformer::Associativity(0), 6); // slots 0-5 as stored
    EXPECT_STREQ(CInformer::Description(0), "Data TLB, 6-way set associative, 2M or 4M pages, 8 entries");
    EXPECT_EQ(CInformer::Associativity(6), 8); // slots 6-10 through the code table
    EXPECT_STREQ(
        CInformer::Description(6), "L2 data TLB, 8-way set associative, 2M or 4M pages, 256 entries");
    EXPECT_STREQ(CInformer::Description(4), "L1 data cache, 2-way set associative, 64 byte line size, 64k");
    EXPECT_EQ(CInformer::TotalSize(10), 262144);
    EXPECT_STREQ(
        CInformer::Description(10), "L2 unified cache, 16-way set associative, 64 byte line size, 256k");
    EXPECT_STREQ(CInformer::Description(9), "L2 instruction TLB, fully associative, 4k pages, 0 entries");
    EXPECT_EQ(CInformer::UnitSize(1), 2097152);
    EXPECT_EQ(CInformer::UnitSize(8), 4096);
    const int types[] = {2, 1, 2, 1, 4, 3, 2, 1, 2, 1, 6};
    for (int i = 0; i < 11; ++i)
        EXPECT_EQ(CInformer::CacheType(i), types[i]) << i;
    EXPECT_EQ(CInformer::CacheType(11), 0);
    EXPECT_EQ(CInformer::Description(11), nullptr);
    EXPECT_EQ(CInformer::Description(-1), nullptr);
    EXPECT_STREQ(CInformer::AMDAssociativity(1), "direct mapped");
    EXPECT_STREQ(CInformer::AMDAssociativity(255), "fully associative");
}

TEST_F(Informer, ThisMachine)
{
    CInformer::SetProvider(nullptr);
    QFile cpuinfo("/proc/cpuinfo");
    ASSERT_TRUE(cpuinfo.open(QIODevice::ReadOnly));
    const QByteArray info = cpuinfo.readAll();
#if defined(__x86_64__) || defined(__i386__)
    if (info.contains("GenuineIntel")) {
        EXPECT_EQ(CInformer::Vendor(), 1);
    } else if (info.contains("AuthenticAMD")) {
        EXPECT_EQ(CInformer::Vendor(), 2);
    }
    EXPECT_TRUE(CInformer::Feature(CInformer::eFPU));
    EXPECT_TRUE(CInformer::Feature(CInformer::eSSE2)); // every x86-64 processor
    EXPECT_GT(CInformer::ClockSpeed(), 0);
    EXPECT_NE(std::string(CInformer::Description()).find(CInformer::Vendor() == 1 ? "Intel" : "AMD"),
        std::string::npos);
#else
    EXPECT_EQ(CInformer::Vendor(), 0);
    EXPECT_EQ(CInformer::ClockSpeed(), 0);
#endif
}
