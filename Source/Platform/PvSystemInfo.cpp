#include "PvMacTypes.h"
#include "PvSystemInfo_p.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <cstring>

namespace PvSystem {
namespace {

// Small /proc and /sys files only: anything beyond this is not one of them.
constexpr qint64 kMaxFileBytes = 4 << 20;

QByteArray readSmall(const Machine& m, const QString& path, bool* ok = nullptr)
{
    QFile file(m.root + path);
    QByteArray bytes;
    const bool opened = file.open(QIODevice::ReadOnly);
    if (opened)
        bytes = file.read(kMaxFileBytes);
    if (ok)
        *ok = opened;
    return bytes;
}

const PvCpuidProvider& cpuOf(const Machine& m)
{
    return m.cpu ? *m.cpu : PvSystemCpuidProvider();
}

// The value of the first "key : value" line of /proc/cpuinfo with that key.
bool cpuinfoField(const QByteArray& info, const QByteArray& key, QByteArray* value)
{
    for (const QByteArray& line : info.split('\n')) {
        const int colon = line.indexOf(':');
        if (colon > 0 && line.left(colon).trimmed() == key) {
            *value = line.mid(colon + 1).trimmed();
            return true;
        }
    }
    return false;
}

bool isX86(const QByteArray& info)
{
    QByteArray vendor;
    return cpuinfoField(info, "vendor_id", &vendor) || cpuinfoField(info, "cpu family", &vendor);
}

// Counts the CPUs of a list such as "0-3,6,8-9"; 0 for text that is not one.
uint64_t countCpuList(const QByteArray& text)
{
    uint64_t count = 0;
    for (const QByteArray& part : text.trimmed().split(',')) {
        const QList<QByteArray> ends = part.split('-');
        bool ok1 = false, ok2 = true;
        const qulonglong first = ends.value(0).toULongLong(&ok1);
        const qulonglong last = ends.size() == 2 ? ends[1].toULongLong(&ok2) : first;
        if (!ok1 || !ok2 || ends.size() > 2 || last < first || last - first > 65535)
            return 0;
        count += last - first + 1;
    }
    return count;
}

bool cpuCount(const Machine& m, uint64_t* value)
{
    bool ok = false;
    const QByteArray online = readSmall(m, "/sys/devices/system/cpu/online", &ok);
    if (ok && (*value = countCpuList(online)) > 0)
        return true;
    const QByteArray info = readSmall(m, "/proc/cpuinfo");
    uint64_t n = 0;
    for (const QByteArray& line : info.split('\n'))
        if (line.startsWith("processor") && line.contains(':'))
            ++n;
    *value = n;
    return n > 0;
}

// The nominal frequency: the base frequency where the driver tells it, else the
// highest, else the current clock of /proc/cpuinfo.
bool cpuFrequency(const Machine& m, uint64_t* hz)
{
    for (const char* file : {"base_frequency", "cpuinfo_max_freq"}) {
        bool ok = false;
        const QByteArray text = readSmall(m, QString("/sys/devices/system/cpu/cpu0/cpufreq/") + file, &ok);
        const qulonglong khz = text.trimmed().toULongLong(&ok);
        if (ok && khz > 0) {
            *hz = khz * 1000u;
            return true;
        }
    }
    QByteArray mhz;
    if (cpuinfoField(readSmall(m, "/proc/cpuinfo"), "cpu MHz", &mhz)) {
        bool ok = false;
        const double value = mhz.toDouble(&ok);
        if (ok && value > 0 && value < 1e6) {
            *hz = uint64_t(value * 1e6 + 0.5);
            return true;
        }
    }
    return false;
}

bool vectorUnit(const Machine& m, uint64_t* value)
{
    const QByteArray info = readSmall(m, "/proc/cpuinfo");
    if (info.isEmpty())
        return false;
    QByteArray flags;
    if (!cpuinfoField(info, "flags", &flags) && !cpuinfoField(info, "Features", &flags)
        && !cpuinfoField(info, "cpu", &flags))
        return false;
    const QList<QByteArray> words = flags.split(' ');
    *value = 0;
    for (const char* unit : {"sse", "altivec", "asimd", "neon"})
        if (words.contains(unit) || (std::strcmp(unit, "altivec") == 0 && flags.contains("altivec")))
            *value = 1;
    return true;
}

bool physicalMemory(const Machine& m, uint64_t* bytes)
{
    QByteArray total;
    if (!cpuinfoField(readSmall(m, "/proc/meminfo"), "MemTotal", &total))
        return false;
    bool ok = false;
    const qulonglong kb = total.split(' ').value(0).toULongLong(&ok);
    if (!ok || kb > (UINT64_MAX >> 10))
        return false;
    *bytes = uint64_t(kb) << 10;
    return true;
}

// Processor codes as the Mach kernel derives them from CPUID (mach/machine.h).
constexpr uint32_t kCpuTypeX86 = 7;
constexpr uint32_t kCpuSubtypeX86Arch1 = 4;
constexpr uint32_t kCpuSubtypeX86_64H = 8; // Haswell feature set

struct Signature {
    uint32_t vendorIntel;
    uint32_t family, model; // display family and model
    PvCpuidRegisters leaf1, leaf7, ext1;
    uint32_t highest, highestExt;
};

bool signature(const Machine& m, Signature* s)
{
    const PvCpuidProvider& cpu = cpuOf(m);
    const PvCpuidRegisters leaf0 = cpu.cpuid(0);
    s->highest = leaf0.eax;
    if (s->highest == 0)
        return false;
    char vendor[12];
    std::memcpy(vendor, &leaf0.ebx, 4);
    std::memcpy(vendor + 4, &leaf0.edx, 4);
    std::memcpy(vendor + 8, &leaf0.ecx, 4);
    s->vendorIntel = std::memcmp(vendor, "GenuineIntel", 12) == 0;
    s->leaf1 = cpu.cpuid(1);
    s->leaf7 = s->highest >= 7 ? cpu.cpuid(7) : PvCpuidRegisters {};
    s->highestExt = cpu.cpuid(0x80000000u).eax;
    s->ext1 = s->highestExt >= 0x80000001u ? cpu.cpuid(0x80000001u) : PvCpuidRegisters {};
    const uint32_t family = (s->leaf1.eax >> 8) & 0xF;
    uint32_t model = (s->leaf1.eax >> 4) & 0xF;
    if (family == 6 || family == 15)
        model += ((s->leaf1.eax >> 16) & 0xF) << 4;
    s->family = family == 15 ? family + ((s->leaf1.eax >> 20) & 0xFF) : family;
    s->model = model;
    return true;
}

uint32_t cpuFamilyCode(const Signature& s)
{
    if (!s.vendorIntel || s.family != 6)
        return 0; // CPUFAMILY_UNKNOWN
    switch (s.model) {
    case 0x0E:
        return 0x73D67300; // Yonah
    case 0x0F:
    case 0x16:
        return 0x426F69EF; // Merom
    case 0x17:
    case 0x1D:
        return 0x78EA4FBC; // Penryn
    case 0x1A:
    case 0x1E:
    case 0x1F:
    case 0x2E:
        return 0x6B5A4CD2; // Nehalem
    case 0x25:
    case 0x2C:
    case 0x2F:
        return 0x573B5EEC; // Westmere
    case 0x2A:
    case 0x2D:
        return 0x5490B78C; // Sandy Bridge
    case 0x3A:
    case 0x3E:
        return 0x1F65E835; // Ivy Bridge
    case 0x3C:
    case 0x3F:
    case 0x45:
    case 0x46:
        return 0x10B282DC; // Haswell
    case 0x3D:
    case 0x47:
    case 0x4F:
    case 0x56:
        return 0x582ED09C; // Broadwell
    case 0x4E:
    case 0x5E:
    case 0x55:
        return 0x37FC219F; // Skylake
    case 0x8E:
    case 0x9E:
        return 0x0F817246; // Kaby Lake
    default:
        return 0;
    }
}

uint32_t cpuSubtypeCode(const Signature& s)
{
    // x86_64h: AVX2, BMI1, BMI2, FMA, MOVBE and LZCNT, as the kernel requires.
    const bool avx2 = s.leaf7.ebx & (1u << 5), bmi1 = s.leaf7.ebx & (1u << 3), bmi2 = s.leaf7.ebx & (1u << 8);
    const bool fma = s.leaf1.ecx & (1u << 12), movbe = s.leaf1.ecx & (1u << 22);
    const bool lzcnt = s.ext1.ecx & (1u << 5);
    return avx2 && bmi1 && bmi2 && fma && movbe && lzcnt ? kCpuSubtypeX86_64H : kCpuSubtypeX86Arch1;
}

} // namespace

bool sysctlByName(const Machine& m, const char* name, uint64_t* value)
{
    const QByteArray key(name);
    if (key == "hw.ncpu")
        return cpuCount(m, value);
    if (key == "hw.cpufrequency")
        return cpuFrequency(m, value);
    if (key == "hw.vectorunit")
        return vectorUnit(m, value);
    if (key == "hw.physmem")
        return physicalMemory(m, value);
    if (key == "hw.cputype" || key == "hw.cpusubtype" || key == "hw.cpufamily") {
        if (!isX86(readSmall(m, "/proc/cpuinfo")))
            return false;
        Signature s;
        if (!signature(m, &s))
            return false;
        *value = key == "hw.cputype" ? kCpuTypeX86
            : key == "hw.cpusubtype" ? cpuSubtypeCode(s)
                                     : cpuFamilyCode(s);
        return true;
    }
    return false;
}

bool gestalt(const Machine& m, uint32_t selector, int32_t* response)
{
    const QByteArray info = readSmall(m, "/proc/cpuinfo");
    if (info.isEmpty())
        return false;
    if (selector == PvFourCC("cput")) {
        if (isX86(info)) {
            *response = int32_t(PvFourCC("i486"));
            return true;
        }
        QByteArray cpu;
        if (!cpuinfoField(info, "cpu", &cpu))
            return false;
        // The PowerPC processor codes of the feature query: 0x139 is the 970 (G5).
        static const struct {
            const char* name;
            int32_t code;
        } kPowerPC[] = {{"PPC970", 0x139}, {"POWER", 0x139}, {"7447", 0x112}, {"7450", 0x110},
            {"7400", 0x10C}, {"750", 0x108}, {"604", 0x104}, {"603", 0x103}, {"601", 0x101}};
        for (const auto& row : kPowerPC)
            if (cpu.contains(row.name)) {
                *response = row.code;
                return true;
            }
        return false;
    }
    if (selector == PvFourCC("ppcf")) {
        QByteArray cpu;
        if (isX86(info) || !cpuinfoField(info, "cpu", &cpu))
            return false;
        *response = cpu.contains("altivec") ? 16 : 0;
        return true;
    }
    return false;
}

QStringList opticalDeviceNames(const Machine& m)
{
    // The drives present: /sys/class/block/sr*. Which of them read DVDs: the
    // "Can read DVD" row of /proc/sys/dev/cdrom/info, one column per drive.
    const QStringList drives = QDir(m.root + "/sys/class/block")
                                   .entryList(QStringList() << "sr*", QDir::AllEntries | QDir::System);
    QStringList infoNames, dvd;
    for (const QByteArray& line : readSmall(m, "/proc/sys/dev/cdrom/info").split('\n')) {
        const int colon = line.indexOf(':');
        if (colon < 0)
            continue;
        const QByteArray key = line.left(colon).trimmed();
        const QStringList cells
            = QString::fromLatin1(line.mid(colon + 1)).split(QRegularExpression("\\s+"), Qt::SkipEmptyParts);
        if (key == "drive name")
            infoNames = cells;
        else if (key == "Can read DVD")
            dvd = cells;
    }
    QStringList names;
    for (const QString& drive : drives) {
        const qsizetype column = infoNames.indexOf(drive);
        const bool readsDVD = column >= 0 && column < dvd.size() && dvd[column] == "1";
        names << (readsDVD ? QStringLiteral("IODVDServices") : QStringLiteral("IOCDServices"));
    }
    return names;
}

} // namespace PvSystem
