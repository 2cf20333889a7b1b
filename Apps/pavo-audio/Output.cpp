#include "Output.h"

#include <QFile>
#include <QFileInfo>

#include <atomic>
#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace pavoaudio {

bool sameFile(const QString& a, const QString& b)
{
    struct stat sa {
    }, sb {};
    if (::stat(QFile::encodeName(a).constData(), &sa) != 0
        || ::stat(QFile::encodeName(b).constData(), &sb) != 0)
        return false;
    return sa.st_dev == sb.st_dev && sa.st_ino == sb.st_ino;
}

PendingOutput::~PendingOutput()
{
    discard();
}

void PendingOutput::begin(const QString& target, bool replace)
{
    static std::atomic<int> serial {0};
    discard();
    m_target = target;
    m_replace = replace;
    m_done = false;
    const QFileInfo info(target);
    // The target's own name at the end keeps its extension, which some writers look at.
    for (;;) {
        const QString name
            = QStringLiteral(".pv%1-%2.%3").arg(::getpid()).arg(serial.fetch_add(1)).arg(info.fileName());
        m_temp = info.path() == QLatin1String(".") ? name : info.path() + QLatin1Char('/') + name;
        struct stat st { };
        if (::lstat(QFile::encodeName(m_temp).constData(), &st) != 0)
            break;
    }
}

namespace {

/// The AppleDouble file that holds a resource fork where the file system keeps no
/// extended attributes ("._Name" beside "Name").
QByteArray sidecarOf(const QString& path)
{
    const QFileInfo info(path);
    const QString name = QStringLiteral("._") + info.fileName();
    return QFile::encodeName(
        info.path() == QLatin1String(".") ? name : info.path() + QLatin1Char('/') + name);
}

} // namespace

bool PendingOutput::commit()
{
    const QByteArray from = QFile::encodeName(m_temp), to = QFile::encodeName(m_target);
    // A resource fork kept beside the file moves first, so that the file never
    // appears under its name without it.
    const QByteArray forkFrom = sidecarOf(m_temp), forkTo = sidecarOf(m_target);
    struct stat st { };
    const bool fork = ::lstat(forkFrom.constData(), &st) == 0;
    if (fork && ::rename(forkFrom.constData(), forkTo.constData()) != 0)
        return false;
    int result = 0;
    if (m_replace) {
        result = ::rename(from.constData(), to.constData());
    } else {
        result = ::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE);
        if (result != 0 && (errno == EINVAL || errno == ENOSYS)) {
            // File systems without the flag: a hard link also refuses an existing name.
            result = ::link(from.constData(), to.constData());
            if (result == 0)
                ::unlink(from.constData());
        }
    }
    if (result != 0) {
        const int why = errno;
        if (fork)
            ::rename(forkTo.constData(), forkFrom.constData());
        errno = why;
        return false;
    }
    m_done = true;
    return true;
}

void PendingOutput::discard()
{
    if (!m_done && !m_temp.isEmpty()) {
        ::unlink(QFile::encodeName(m_temp).constData());
        ::unlink(sidecarOf(m_temp).constData());
    }
    m_temp.clear();
}

} // namespace pavoaudio
