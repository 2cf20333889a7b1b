// The system version readers: a property list (XML or binary) and an os-release file.
#include <Pavo/PavoCore.h>

#include <QFile>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("input"));
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return 0;
        file.write(reinterpret_cast<const char*>(data), qint64(size));
    }
    // The same bytes as a property list and as an os-release file.
    const QString asPlist = PVOSVersionFromFiles(path, {}, QStringLiteral("6.1"));
    const QString asOsRelease = PVOSVersionFromFiles(QString(), {path}, QStringLiteral("6.1"));
    if (asPlist.isEmpty() || asOsRelease.isEmpty())
        __builtin_trap(); // both always answer with a text
    return 0;
}
