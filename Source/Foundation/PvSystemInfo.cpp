#include "PvSystemInfo.h"
#include "PvPlistGuard_p.h"

#include <QCoreApplication>
#include <QFile>

#include <plist/plist.h>

#include <cstdlib>
#include <cstring>
#include <errno.h>
#include <string>
#include <sys/utsname.h>

namespace {

constexpr char kSystemVersionPlist[] = "/System/Library/CoreServices/SystemVersion.plist";
const QString kNil = QStringLiteral("(null)");

int s_majorOSVersion = -1;
std::string s_kernelReleaseOverride;
bool s_hasKernelReleaseOverride = false;
QVariantMap s_hostInfo;

QString kernelRelease()
{
    if (s_hasKernelReleaseOverride)
        return QString::fromLatin1(s_kernelReleaseOverride.c_str());
    utsname names {};
    if (uname(&names) != 0)
        return QString();
    return QString::fromLatin1(names.release);
}

QString plistString(plist_t dict, const char* key)
{
    plist_t node = plist_dict_get_item(dict, key);
    if (!node || plist_get_node_type(node) != PLIST_STRING)
        return kNil;
    // The pointer form takes the stored length: texts may hold NUL bytes.
    uint64_t length = 0;
    const char* value = plist_get_string_ptr(node, &length);
    const QString result = value ? QString::fromUtf8(value, qsizetype(length)) : kNil;
    return result;
}

bool versionFromPlist(const QString& path, QString* result)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray bytes = file.read(1 << 20);
    if (bytes.startsWith("bplist") && !PvBinaryPlistIsTame(bytes.constData(), size_t(bytes.size())))
        return false;
    plist_t root = nullptr;
    plist_from_memory(bytes.constData(), uint32_t(bytes.size()), &root);
    if (!root)
        return false;
    const bool isDict = plist_get_node_type(root) == PLIST_DICT;
    if (isDict) {
        *result = QStringLiteral("%1 %2 (Build %3)")
                      .arg(plistString(root, "ProductName"), plistString(root, "ProductVersion"),
                          plistString(root, "ProductBuildVersion"));
    }
    plist_free(root);
    return isDict;
}

QString unquote(QByteArray value)
{
    value = value.trimmed();
    if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.back() == value.front())
        value = value.mid(1, value.size() - 2);
    return QString::fromUtf8(value);
}

bool versionFromOsRelease(const QString& path, const QString& build, QString* result)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    QString name, versionId, version;
    while (!file.atEnd()) {
        const QByteArray line = file.readLine(4096);
        const int eq = line.indexOf('=');
        if (eq <= 0)
            continue;
        const QByteArray key = line.left(eq).trimmed();
        if (key == "NAME")
            name = unquote(line.mid(eq + 1));
        else if (key == "VERSION_ID")
            versionId = unquote(line.mid(eq + 1));
        else if (key == "VERSION")
            version = unquote(line.mid(eq + 1));
    }
    const QString shownVersion = !versionId.isEmpty() ? versionId : version;
    *result = QStringLiteral("%1 %2 (Build %3)")
                  .arg(name.isEmpty() ? kNil : name, shownVersion.isEmpty() ? kNil : shownVersion,
                      build.isEmpty() ? kNil : build);
    return true;
}

bool isPresent(const QVariantMap& info, const char* key)
{
    const auto it = info.constFind(QLatin1String(key));
    return it != info.constEnd() && !it->toString().isEmpty();
}

} // namespace

QString PVOSVersionFromFiles(
    const QString& systemVersionPlist, const QStringList& osReleaseFiles, const QString& build)
{
    QString result;
    if (!systemVersionPlist.isEmpty() && QFile::exists(systemVersionPlist))
        return versionFromPlist(systemVersionPlist, &result) ? result : QStringLiteral("Unknown");
    for (const QString& path : osReleaseFiles) {
        if (versionFromOsRelease(path, build, &result))
            return result;
    }
    return QStringLiteral("Unknown");
}

QString PVOSVersion()
{
    return PVOSVersionFromFiles(QString::fromLatin1(kSystemVersionPlist),
        {QStringLiteral("/etc/os-release"), QStringLiteral("/usr/lib/os-release")}, kernelRelease());
}

void PVSetApplicationInfo(const QVariantMap& info)
{
    s_hostInfo = info;
}

QVariantMap PVApplicationInfo()
{
    QVariantMap info;
    if (QCoreApplication::instance()) {
        const QString name = QCoreApplication::applicationName();
        const QString version = QCoreApplication::applicationVersion();
        if (!name.isEmpty())
            info.insert(QStringLiteral("CFBundleName"), name);
        if (!version.isEmpty())
            info.insert(QStringLiteral("CFBundleShortVersionString"), version);
    }
    for (auto it = s_hostInfo.cbegin(); it != s_hostInfo.cend(); ++it)
        info.insert(it.key(), it.value());
    return info;
}

QString PVApplicationName()
{
    const QVariantMap info = PVApplicationInfo();
    const auto it = info.constFind(QStringLiteral("CFBundleName"));
    if (it != info.constEnd())
        return it->toString();
    return QString::fromLocal8Bit(program_invocation_short_name);
}

QString PVApplicationVersion()
{
    const QVariantMap info = PVApplicationInfo();
    if (info.isEmpty() || !isPresent(info, "CFBundleShortVersionString"))
        return QStringLiteral("?.??");
    const QString shortVersion = info.value(QStringLiteral("CFBundleShortVersionString")).toString();
    const QString version = info.value(QStringLiteral("CFBundleVersion")).toString();
    const QString build = info.value(QStringLiteral("ProductBuildVersion")).toString();
    if (!version.isEmpty() && !build.isEmpty())
        return QStringLiteral("%1(%2) %3").arg(shortVersion, version, build);
    if (!version.isEmpty())
        return QStringLiteral("%1(%2)").arg(shortVersion, version);
    return shortVersion;
}

extern "C" {

int majorOSVersion(void)
{
    if (s_majorOSVersion < 0) {
        const QByteArray release = kernelRelease().toLatin1();
        s_majorOSVersion = int(std::strtol(release.constData(), nullptr, 10));
    }
    return s_majorOSVersion;
}

bool isJaguarOrNewer(void)
{
    return majorOSVersion() > 5;
}
bool isPantherOrNewer(void)
{
    return majorOSVersion() > 6;
}
bool isTigerOrNewer(void)
{
    return majorOSVersion() > 7;
}
bool isLeopardOrNewer(void)
{
    return majorOSVersion() > 8;
}

bool isRunningAsProApp(void)
{
    const QCoreApplication* app = QCoreApplication::instance();
    return app && app->inherits("NSProApplication");
}

void PVSetKernelRelease(const char* release)
{
    s_hasKernelReleaseOverride = release != nullptr;
    s_kernelReleaseOverride = release ? release : "";
    s_majorOSVersion = -1;
}
}
