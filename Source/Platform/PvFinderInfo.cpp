#include "PvFinderInfo.h"

#include "PvCatalog.h"

#include <QFile>
#include <QtEndian>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

constexpr uint32_t kAppleDoubleMagic = 0x00051607u;
constexpr uint32_t kFinderInfoEntryID = 9;
constexpr size_t kHeaderSize = 26; // magic, version, 16 filler bytes, entry count
constexpr size_t kEntrySize = 12; // ID, offset, length
// A sidecar holds its Finder information near the start; nothing beyond this many bytes
// is read, so a huge or endless sidecar costs no more than this.
constexpr qint64 kSidecarReadLimit = 64 * 1024;

QString sidecarPath(const QString& path)
{
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    return path.left(slash + 1) + QLatin1String("._") + path.mid(slash + 1);
}

bool readSidecar(const QString& path, uint8_t info[32])
{
    const QByteArray name = QFile::encodeName(sidecarPath(path));
    const int fd = ::open(name.constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (fd < 0)
        return false;
    struct stat st;
    bool ok = false;
    if (::fstat(fd, &st) == 0 && S_ISREG(st.st_mode)) {
        QByteArray bytes(int(qMin<qint64>(st.st_size, kSidecarReadLimit)), Qt::Uninitialized);
        qsizetype got = 0;
        while (got < bytes.size()) {
            const ssize_t n = ::pread(fd, bytes.data() + got, size_t(bytes.size() - got), got);
            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0)
                break;
            got += n;
        }
        bytes.truncate(got);
        ok = PvFinderInfoFromAppleDouble(bytes, info);
    }
    ::close(fd);
    return ok;
}

} // namespace

bool PvFinderInfoFromAppleDouble(const QByteArray& bytes, uint8_t info[32])
{
    if (!info || size_t(bytes.size()) < kHeaderSize)
        return false;
    const auto* p = reinterpret_cast<const uchar*>(bytes.constData());
    const size_t size = size_t(bytes.size());
    if (qFromBigEndian<quint32>(p) != kAppleDoubleMagic)
        return false;
    const size_t count = qFromBigEndian<quint16>(p + 24);
    for (size_t i = 0; i < count; ++i) {
        const size_t at = kHeaderSize + i * kEntrySize;
        if (at + kEntrySize > size)
            return false;
        const quint32 id = qFromBigEndian<quint32>(p + at);
        const size_t offset = qFromBigEndian<quint32>(p + at + 4);
        const size_t length = qFromBigEndian<quint32>(p + at + 8);
        if (id != kFinderInfoEntryID)
            continue;
        if (length < 32 || offset > size || size - offset < 32)
            return false;
        std::memcpy(info, p + offset, 32);
        return true;
    }
    return false;
}

OSErr PvReadFinderInfo(const QString& path, uint8_t info[32], bool followLinks)
{
    if (!info || path.isEmpty())
        return paramErr;
    const QByteArray name = QFile::encodeName(path);
    struct stat st;
    if ((followLinks ? ::stat(name.constData(), &st) : ::lstat(name.constData(), &st)) != 0)
        return PvCatalog::ErrorFromErrno(errno);
    uint8_t bytes[32];
    const ssize_t n = followLinks
        ? ::getxattr(name.constData(), kPvFinderInfoAttribute, bytes, sizeof bytes)
        : ::lgetxattr(name.constData(), kPvFinderInfoAttribute, bytes, sizeof bytes);
    if (n >= 0) {
        // A shorter attribute (written by some other tool) is read as far as it goes.
        std::memset(info, 0, 32);
        std::memcpy(info, bytes, size_t(n));
        return noErr;
    }
    const int error = errno;
    if (error == ERANGE) {
        // Longer than 32 bytes: the first 32 are the Finder information.
        QByteArray all;
        const ssize_t size = followLinks ? ::getxattr(name.constData(), kPvFinderInfoAttribute, nullptr, 0)
                                         : ::lgetxattr(name.constData(), kPvFinderInfoAttribute, nullptr, 0);
        if (size >= 32 && size <= 65536) {
            all.resize(size);
            const ssize_t again = followLinks
                ? ::getxattr(name.constData(), kPvFinderInfoAttribute, all.data(), size_t(all.size()))
                : ::lgetxattr(name.constData(), kPvFinderInfoAttribute, all.data(), size_t(all.size()));
            if (again >= 32) {
                std::memcpy(info, all.constData(), 32);
                return noErr;
            }
        }
        return permErr;
    }
    if (error != ENODATA && error != ENOTSUP)
        return PvCatalog::ErrorFromErrno(error);
    uint8_t fromSidecar[32];
    if (readSidecar(path, fromSidecar))
        std::memcpy(info, fromSidecar, 32);
    else
        std::memset(info, 0, 32);
    return noErr;
}

FourCharCode PvFinderInfoFileType(const uint8_t info[32])
{
    return qFromBigEndian<quint32>(info);
}

uint16_t PvFinderInfoFlags(const uint8_t info[32])
{
    return qFromBigEndian<quint16>(info + 8);
}
