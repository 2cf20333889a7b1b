#include "CInformer.h"

#include <cstdio>
#include <cstring>

namespace {

const PvCpuidProvider* g_provider = nullptr; // null: the system provider

const PvCpuidProvider& provider()
{
    return g_provider ? *g_provider : PvSystemCpuidProvider();
}

constexpr const char* cstrType[] = {"(unknown type)", "OEM", "OverDrive", "Dual", "(unknown type)"};
constexpr const char* cstrVendor[] = {"(unknown vendor)", "Intel", "AMD", "(unknown vendor)"};
constexpr const char* cstrModel[] = {
    "(unknown model)",
    "i486 SL",
    "i486 DX2",
    "i486 DX4",
    "i486 DX4",
    "Pentium",
    "Pentium",
    "Pentium MMX",
    "Pentium MMX",
    "Pentium Pro",
    "Pentium II",
    "Pentium II",
    "Celeron",
    "Pentium III",
    "Pentium 4",
    "Am486",
    "K5",
    "K6",
    "K6-2",
    "K6III",
    "Athlon",
    "Duron",
    "(unknown model)",
};

constexpr const char* kReserved = "(reserved)";

constexpr std::array<const char*, 66> makeFeatureTexts()
{
    std::array<const char*, 66> t {};
    for (auto& text : t)
        text = kReserved;
    t[0] = "on chip FPU";
    t[1] = "virtual-8086 mode";
    t[2] = "i/o breakpoints and debug registers";
    t[3] = "4 Mbyte pages";
    t[4] = "RDTSC instruction";
    t[5] = "RDMSR, WRMSR instructions";
    t[6] = "physical address space > 32 bit";
    t[7] = "machine check exception";
    t[8] = "CMPXCHG8 instruction";
    t[9] = "APIC unit";
    t[11] = "SYSENTER, SYSEXIT instructions";
    t[12] = "memory type range registers";
    t[13] = "global page table bits";
    t[14] = "machine check architecture";
    t[15] = "CMOV instruction";
    t[16] = "page attribute table";
    t[17] = "virtual address space > 4 GB";
    t[18] = "processor serial number";
    t[19] = "CLFLUSH instruction";
    t[21] = "debug stack store";
    t[22] = "ACPI features";
    t[23] = "MMX technology";
    t[24] = "FXSAVE, FXRSTOR instructions";
    t[25] = "SSE instructions";
    t[26] = "SSE2 instructions";
    t[27] = "self-snoop unit";
    t[29] = "termal monitor"; // spelled so since the first release
    t[54] = "AMD MMX extensions";
    t[62] = "AMD 3DNow! extensions";
    t[63] = "AMD 3DNow!";
    t[64] = "DAZ mode";
    t[65] = "(unknown feature)";
    return t;
}
constexpr std::array<const char*, 66> cstrFeature = makeFeatureTexts();

constexpr const char* kUnknownCache = "(unknown cache type)";

constexpr std::array<CInformer::SCacheInfo, 0x90> makeCacheTable()
{
    std::array<CInformer::SCacheInfo, 0x90> t {};
    for (auto& row : t)
        row = {0, 0, 0, 0, kUnknownCache};
    t[0x01] = {1, 4, 4096, 32, "Instruction TLB, 4-way set associative, 4k pages, 32 entries"};
    t[0x02] = {1, 255, 4194304, 2, "Instruction TLB, fully associative, 2M pages, 2 entries"};
    t[0x03] = {2, 4, 4096, 64, "Data TLB, 4-way set associative, 4k pages, 64 entries"};
    t[0x04] = {2, 4, 4194304, 8, "Data TLB, 4-way set associative, 4M pages, 8 entries"};
    t[0x06] = {3, 4, 32, 8192, "Instruction cache, 4-way set associative, 32 byte line size, 8k"};
    t[0x08] = {3, 4, 32, 16384, "Instruction cache, 4-way set associative, 32 byte line size, 16k"};
    t[0x0A] = {4, 2, 32, 8192, "Data cache, 2-way set associative, 32 byte line size, 8k"};
    t[0x0C] = {4, 4, 32, 16384, "Data cache, 4-way set associative, 32 byte line size, 16k"};
    t[0x40] = {9, 0, 0, 0, "no low level cache"};
    t[0x41] = {6, 4, 32, 131072, "Unified cache, 4-way set associative, 32 byte line size, 128k"};
    t[0x42] = {6, 4, 32, 262144, "Unified cache, 4-way set associative, 32 byte line size, 256k"};
    t[0x43] = {6, 4, 32, 524288, "Unified cache, 4-way set associative, 32 byte line size, 512k"};
    t[0x44] = {6, 4, 32, 1048576, "Unified cache, 4-way set associative, 32 byte line size, 1M"};
    t[0x45] = {6, 4, 32, 2097152, "Unified cache, 4-way set associative, 32 byte line size, 2M"};
    t[0x50] = {1, 255, 4194304, 64, "Instruction TLB, fully associative, 4k, 2M or 4M pages, 64 entries"};
    t[0x51] = {1, 255, 4194304, 128, "Instruction TLB, fully associative, 4k, 2M or 4M pages, 128 entries"};
    t[0x52] = {1, 255, 4194304, 256, "Instruction TLB, fully associative, 4k, 2M or 4M pages, 256 entries"};
    t[0x5B] = {2, 255, 4194304, 64, "Data TLB, fully associative, 4k or 4M pages, 64 entries"};
    t[0x5C] = {2, 255, 4194304, 128, "Data TLB, fully associative, 4k or 4M pages, 128 entries"};
    t[0x5D] = {2, 255, 4194304, 256, "Data TLB, fully associative, 4k or 4M pages, 256 entries"};
    t[0x66] = {5, 4, 64, 8192, "Sectored data cache, 4-way set associative, 64 byte line size, 8k"};
    t[0x67] = {5, 4, 64, 16384, "Sectored data cache, 4-way set associative, 64 byte line size, 16k"};
    t[0x68] = {5, 4, 64, 32768, "Sectored data cache, 4-way set associative, 64 byte line size, 32k"};
    t[0x70] = {8, 8, 0, 12288, "Instruction trace cache, 8-way set associative, 12k uOperations"};
    t[0x71] = {8, 8, 0, 16384, "Instruction trace cache, 8-way set associative, 16k uOperations"};
    t[0x72] = {8, 8, 0, 32768, "Instruction trace cache, 8-way set associative, 32k uOperations"};
    t[0x79] = {7, 8, 64, 131072, "Sectored unified cache, 8-way set associative, 64 byte line size, 128k"};
    t[0x7A] = {7, 8, 64, 262144, "Sectored unified cache, 8-way set associative, 64 byte line size, 256k"};
    t[0x7B] = {7, 8, 64, 524288, "Sectored unified cache, 8-way set associative, 64 byte line size, 512k"};
    t[0x7C] = {7, 8, 64, 1048576, "Sectored unified cache, 8-way set associative, 64 byte line size, 1M"};
    t[0x82] = {6, 8, 32, 262144, "Unified cache, 8-way set associative, 32 byte line size, 256k"};
    t[0x84] = {6, 8, 32, 1048576, "Unified cache, 8-way set associative, 32 byte line size, 1M"};
    t[0x85] = {6, 8, 32, 2097152, "Unified cache, 8-way set associative, 32 byte line size, 2M"};
    return t;
}

// AMD slots: type codes, and the ways of the 4-bit associativity codes of slots 6-10.
constexpr int eCacheType[11] = {2, 1, 2, 1, 4, 3, 2, 1, 2, 1, 6};
constexpr int iTBL[16] = {0, 1, 2, 0, 4, 0, 8, 0, 16, 0, 0, 0, 0, 0, 0, 255};

constexpr const char* kAMDFormats[11] = {
    "Data TLB, %s, 2M or 4M pages, %ld entries",
    "Instruction TLB, %s, 2M or 4M pages, %ld entries",
    "Data TLB, %s, 4k pages, %ld entries",
    "Instruction TLB, %s, 4k pages, %ld entries",
    "L1 data cache, %s, %ld byte line size, %ldk",
    "L1 instruction cache, %s, %ld byte line size, %ldk",
    "L2 data TLB, %s, 2M or 4M pages, %ld entries",
    "L2 instruction TLB, %s, 2M or 4M pages, %ld entries",
    "L2 data TLB, %s, 4k pages, %ld entries",
    "L2 instruction TLB, %s, 4k pages, %ld entries",
    "L2 unified cache, %s, %ld byte line size, %ldk",
};

inline bool isAMDCacheSlot(int i)
{
    return i >= 0 && i <= 10;
}
inline bool isCacheSlot(int i)
{
    return i == 4 || i == 5 || i == 10;
}

void ensureInitialized()
{
    if (!CInformer::s_fInitialized)
        CInformer::Initialize();
}

// The descriptor row of configured entry i, or null when i is outside the configuration.
const CInformer::SCacheInfo* intelRow(int i)
{
    if (i < 0 || i >= CInformer::s_iCfgSize || i >= int(sizeof CInformer::s_aCacheCfg))
        return nullptr;
    const unsigned byte = static_cast<unsigned char>(CInformer::s_aCacheCfg[i]);
    static const CInformer::SCacheInfo unknown = {0, 0, 0, 0, kUnknownCache};
    return byte < CInformer::s_asCacheInfo.size() ? &CInformer::s_asCacheInfo[byte] : &unknown;
}

} // namespace

bool CInformer::s_fInitialized = false;
int CInformer::s_eVendor = 0;
int CInformer::s_eType = 0;
int CInformer::s_eModel = 0;
int CInformer::s_iStepping = 0;
int CInformer::s_iGeneration = 0;
uint32_t CInformer::s_lFeatures = 0;
uint32_t CInformer::s_lExtFeatures = 0;
bool CInformer::s_fDAZMode = false;
int CInformer::s_eDotID = 0;
int CInformer::s_iCfgSize = 0;
signed char CInformer::s_aCacheCfg[256] = {};
CInformer::SAMDCacheCfg CInformer::s_alCacheCfg = {};
char CInformer::s_cstrBrand[64] = {};
const std::array<CInformer::SCacheInfo, 0x90> CInformer::s_asCacheInfo = makeCacheTable();

void CInformer::Initialize()
{
    // Marked first, so that a second call never repeats the work.
    s_eDotID = 0;
    s_fInitialized = true;

    const PvCpuidProvider& cpu = provider();
    const PvCpuidRegisters leaf0 = cpu.cpuid(0);
    if (int32_t(leaf0.eax) <= 0)
        return;
    char vendor[13];
    std::memcpy(vendor, &leaf0.ebx, 4);
    std::memcpy(vendor + 4, &leaf0.edx, 4);
    std::memcpy(vendor + 8, &leaf0.ecx, 4);
    vendor[12] = 0;
    if (std::memcmp(vendor, "GenuineIntel", 13) == 0)
        s_eVendor = 1;
    else if (std::memcmp(vendor, "AuthenticAMD", 13) == 0)
        s_eVendor = 2;

    const PvCpuidRegisters leaf1 = cpu.cpuid(1);
    s_eType = int((leaf1.eax >> 12) & 3) + 1;
    const int family = int((leaf1.eax >> 8) & 0xF);
    const int model = int((leaf1.eax >> 4) & 0xF);
    s_iStepping = int(leaf1.eax & 0xF);
    s_lFeatures = leaf1.edx;
    const bool overDrive = s_eType == 2;

    // Families 4 to 6 compare leaf 1's ecx, not the stored vendor, with the vendor codes.
    // It has always been read so, and the model names hosts show depend on it.
    const uint32_t vendorValue = leaf1.ecx;
    switch (family) {
    case 4:
        if (vendorValue == 1) {
            if (model == 4)
                s_eModel = 1;
            else if (model == 7)
                s_eModel = 2;
            else if (model == 8)
                s_eModel = overDrive ? 3 : 4;
        } else if (vendorValue == 2) {
            s_eModel = 15;
        }
        break;
    case 5:
        if (vendorValue == 1) {
            if (model >= 1 && model <= 3)
                s_eModel = overDrive ? 5 : 6;
            else if (model == 4)
                s_eModel = overDrive ? 7 : 8;
        } else if (vendorValue == 2) {
            if (model <= 3)
                s_eModel = 16;
            else if (model == 6 || model == 7)
                s_eModel = 17;
            else if (model == 8)
                s_eModel = 18;
            else if (model == 9)
                s_eModel = 19;
        }
        break;
    case 6:
        if (vendorValue == 1) {
            if (model == 1)
                s_eModel = 9;
            else if (model == 3)
                s_eModel = overDrive ? 10 : 11;
            else if (model == 5)
                s_eModel = 11;
            else if (model == 6)
                s_eModel = 12;
            else if (model == 7 || model == 8 || model == 10)
                s_eModel = 13;
        } else if (vendorValue == 2) {
            if (model == 1 || model == 2 || model == 4)
                s_eModel = 20;
            else if (model == 3)
                s_eModel = 21;
        }
        break;
    case 15:
        if (s_eVendor == 1 && ((leaf1.eax >> 20) & 0xFF) == 0)
            s_eModel = 14;
        break;
    default:
        break;
    }

    PvCpuidRegisters last = cpu.cpuid(0x80000000u);
    if ((last.eax & 0x7FFFFFFFu) != 0) {
        last = cpu.cpuid(0x80000001u);
        s_lExtFeatures = last.edx;
        s_iGeneration = int((last.eax >> 8) & 0xF);
    }

    // Judged on the last extended query's edx and ecx, as always.
    const bool fxsr = last.edx & (1u << 24), sse = last.edx & (1u << 25), sse2 = last.edx & (1u << 26);
    s_fDAZMode = fxsr && (sse || sse2);
    if (last.ecx == 1)
        s_eDotID = sse2 ? 2 : sse ? 1 : 0;
    else if (last.ecx == 2)
        s_eDotID = sse ? 3 : 0;
    else
        s_eDotID = 0;
}

int CInformer::Vendor()
{
    return ensureInitialized(), s_eVendor;
}
int CInformer::Type()
{
    return ensureInitialized(), s_eType;
}
int CInformer::Model()
{
    return ensureInitialized(), s_eModel;
}
int CInformer::Stepping()
{
    return ensureInitialized(), s_iStepping;
}
int CInformer::Generation()
{
    return ensureInitialized(), s_iGeneration;
}
int CInformer::DotID()
{
    return ensureInitialized(), s_eDotID;
}

bool CInformer::Feature(EFeature feature)
{
    ensureInitialized();
    const int value = int(feature);
    if (value == eDAZ)
        return s_fDAZMode;
    if (value >= 0 && value < 32)
        return (s_lFeatures >> value) & 1;
    return (s_lExtFeatures >> (unsigned(value) % 32)) & 1;
}

const char* CInformer::FeatureDescription(EFeature feature)
{
    ensureInitialized();
    return cstrFeature[size_t(feature)];
}

const char* CInformer::Description()
{
    ensureInitialized();
    static char text[160];
    auto pick = [](const char* const* table, int count, int i) {
        return i >= 0 && i < count ? table[i] : table[0];
    };
    std::snprintf(text, sizeof text, "%s, %s %s, stepping %d", pick(cstrType, 5, s_eType),
        pick(cstrVendor, 4, s_eVendor), pick(cstrModel, 23, s_eModel), s_iStepping);
    if (s_eVendor == 2) {
        const size_t used = std::strlen(text);
        std::snprintf(text + used, sizeof text - used, ", generation %d", s_iGeneration);
    }
    return text;
}

const char* CInformer::Brand()
{
    return ensureInitialized(), s_cstrBrand;
}

int CInformer::NumCaches()
{
    return ensureInitialized(), s_iCfgSize;
}

int CInformer::CacheType(int i)
{
    ensureInitialized();
    if (s_eVendor == 2)
        return isAMDCacheSlot(i) ? eCacheType[i] : 0;
    const SCacheInfo* row = intelRow(i);
    return row ? row->eType : 0;
}

int CInformer::Associativity(int i)
{
    ensureInitialized();
    if (s_eVendor == 2) {
        if (!isAMDCacheSlot(i))
            return 0;
        const int32_t stored = s_alCacheCfg.lAssociativity[i];
        if (i <= 5)
            return int(stored); // slots 0-5 hold the ways themselves
        return stored >= 0 && stored < 16 ? iTBL[stored] : 0;
    }
    const SCacheInfo* row = intelRow(i);
    return row ? row->iWays : 0;
}

int32_t CInformer::UnitSize(int i)
{
    ensureInitialized();
    if (s_eVendor == 2) {
        switch (i) {
        case 0:
        case 1:
        case 6:
        case 7:
            return 2097152;
        case 2:
        case 3:
        case 8:
        case 9:
            return 4096;
        case 4:
        case 5:
        case 10:
            return s_alCacheCfg.lLineSize[i];
        default:
            return 0;
        }
    }
    const SCacheInfo* row = intelRow(i);
    return row ? row->lUnitSize : 0;
}

int32_t CInformer::TotalSize(int i)
{
    ensureInitialized();
    if (s_eVendor == 2) {
        if (!isAMDCacheSlot(i))
            return 0;
        const int32_t size = s_alCacheCfg.lSize[i];
        return isCacheSlot(i) ? int32_t(uint32_t(size) * 1024u) : size;
    }
    const SCacheInfo* row = intelRow(i);
    return row ? row->lTotalSize : 0;
}

const char* CInformer::Description(int i)
{
    ensureInitialized();
    if (s_eVendor != 2) {
        const SCacheInfo* row = intelRow(i);
        return row ? row->cstrText : kUnknownCache;
    }
    if (!isAMDCacheSlot(i))
        return nullptr;
    static char text[160];
    char ways[40];
    std::snprintf(ways, sizeof ways, "%s", AMDAssociativity(Associativity(i)));
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    if (isCacheSlot(i))
        std::snprintf(text, sizeof text, kAMDFormats[i], ways, long(UnitSize(i)), long(TotalSize(i) / 1024));
    else
        std::snprintf(text, sizeof text, kAMDFormats[i], ways, long(TotalSize(i)));
#pragma GCC diagnostic pop
    return text;
}

const char* CInformer::AMDAssociativity(int ways)
{
    switch (ways) {
    case 0:
        return "off";
    case 1:
        return "direct mapped";
    case 255:
        return "fully associative";
    default: {
        static char text[32];
        std::snprintf(text, sizeof text, "%i-way set associative", ways);
        return text;
    }
    }
}

int64_t CInformer::ClockSpeed(int)
{
    ensureInitialized();
    if (!(s_lFeatures & (1u << eTSC)))
        return 0;
    const PvCpuidProvider& cpu = provider();
    const uint64_t first = cpu.timeStampCounter();
    const uint64_t second = cpu.timeStampCounter();
    return int64_t(second - first);
}

void CInformer::Sleep(int)
{
    ensureInitialized();
}

int CInformer::SuggestedBlocksize()
{
    return ensureInitialized(), 512;
}

int CInformer::CachePerformance(int)
{
    // The eight scratch arrays the original allocated here were never used (nor freed);
    // they are not allocated, so the result is the same 0 without the leak.
    ensureInitialized();
    return 0;
}

void CInformer::SetProvider(const PvCpuidProvider* cpu)
{
    g_provider = cpu;
    s_fInitialized = false;
    s_eVendor = s_eType = s_eModel = s_iStepping = s_iGeneration = 0;
    s_lFeatures = s_lExtFeatures = 0;
    s_fDAZMode = false;
    s_eDotID = 0;
}
