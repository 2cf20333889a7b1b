// Fuzzes PMName::FromFile: the first byte chooses the short (odd) or long (even) length
// form, the rest is the file. Names are read until the file ends or a read fails; an
// impossible length must throw PMNameException, never allocate more than the file holds.
#include <Pavo/PavoCore.h>

#include <QDir>
#include <QFile>

#include <cstdint>
#include <cstdlib>
#include <list>
#include <unistd.h>

namespace {

// The file the inputs are written to, one per process, removed at exit. The path is kept
// in plain bytes so that the exit handler never touches an object already destroyed.
char s_scratchPath[256];

void removeScratchFile()
{
    ::unlink(s_scratchPath);
}

QString scratchFile()
{
    if (s_scratchPath[0] == '\0') {
        const QByteArray path
            = (QDir::tempPath() + QStringLiteral("/pavo-fuzz-pmname-%1.bin").arg(::getpid())).toLocal8Bit();
        qstrncpy(s_scratchPath, path.constData(), sizeof s_scratchPath);
        std::atexit(removeScratchFile);
    }
    return QString::fromLocal8Bit(s_scratchPath);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0 || size > (1u << 20))
        return 0;
    const unsigned char shortForm = data[0] & 1;
    QFile file(scratchFile());
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        std::abort();
    file.write(reinterpret_cast<const char*>(data + 1), qint64(size - 1));
    file.close();

    CFileRef ref(scratchFile(), kPathStylePOSIX, 0);
    FSSpec fsSpec;
    if (!ref.GetFSSpec(&fsSpec))
        std::abort();
    CFileIO io(&fsSpec, 0);
    if (!io.isOpen())
        std::abort();
    if (data[0] & 2)
        io.SetCache(int32_t(data[0] >> 2) * 4 + 1); // small caches cut reads at odd places
    PMName name;
    for (int i = 0; i < 4096; ++i) {
        try {
            if (name.FromFile(io, shortForm) != noErr)
                break;
        } catch (const PMNameException&) {
            break;
        }
        if (name.Get()) {
            std::list<PMName> elements;
            name.GetElements(':', elements);
            if (elements.size() > size)
                __builtin_trap();
        }
    }
    return 0;
}
