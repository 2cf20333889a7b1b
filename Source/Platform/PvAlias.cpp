#include "PvAlias.h"

#include "PvCatalog.h"
#include "PvPlistGuard_p.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QList>

#include <plist/plist.h>

#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace {

constexpr uint64_t kRecordVersion = 1;
constexpr int kSearchBudget = 100000; // directory entries looked at before giving up
constexpr uint32_t kMaxRecordSize = 64 * 1024;

enum Kind : uint64_t { kFile = 0, kFolder = 1, kLink = 2, kOther = 3 };

// Owns a libplist node tree.
class Plist {
public:
    explicit Plist(plist_t node = nullptr)
        : m_node(node)
    {
    }
    ~Plist()
    {
        if (m_node)
            plist_free(m_node);
    }
    Plist(const Plist&) = delete;
    Plist& operator=(const Plist&) = delete;
    plist_t get() const { return m_node; }
    plist_t* out() { return &m_node; }

private:
    plist_t m_node;
};

struct Identity {
    uint64_t ino = 0;
    uint64_t kind = kOther;
    uint64_t birth = 0; // nanoseconds since 1970; 0 when the file system keeps none
    uint64_t dev = 0;
};

bool identityOf(const QByteArray& path, Identity* id)
{
    struct statx stx;
    if (::statx(AT_FDCWD, path.constData(), AT_SYMLINK_NOFOLLOW, STATX_INO | STATX_TYPE | STATX_BTIME, &stx)
        != 0)
        return false;
    id->ino = stx.stx_ino;
    id->kind = S_ISDIR(stx.stx_mode) ? kFolder
        : S_ISLNK(stx.stx_mode)      ? kLink
        : S_ISREG(stx.stx_mode)      ? kFile
                                     : kOther;
    id->birth = (stx.stx_mask & STATX_BTIME)
        ? uint64_t(stx.stx_btime.tv_sec) * 1000000000u + uint64_t(stx.stx_btime.tv_nsec)
        : 0;
    id->dev = (uint64_t(stx.stx_dev_major) << 32) | stx.stx_dev_minor;
    return true;
}

bool sameItem(const Identity& want, const QByteArray& path)
{
    Identity have;
    if (!identityOf(path, &have))
        return false;
    return have.ino == want.ino && have.kind == want.kind
        && (want.birth == 0 || have.birth == 0 || have.birth == want.birth);
}

QByteArray joinPath(const QByteArray& folder, const QByteArray& name)
{
    return folder == "/" ? "/" + name : folder + '/' + name;
}

QByteArray parentPath(const QByteArray& path)
{
    const qsizetype slash = path.lastIndexOf('/');
    return slash <= 0 ? QByteArray("/") : path.left(slash);
}

// The canonical path of an item: its folders' links resolved, its own name kept.
QByteArray canonicalItemPath(const QString& path)
{
    const QString clean = QDir::cleanPath(path);
    if (clean == QLatin1String("/"))
        return "/";
    const QString folder = QFileInfo(QFileInfo(clean).path()).canonicalFilePath();
    if (folder.isEmpty())
        return QFile::encodeName(clean);
    return joinPath(QFile::encodeName(folder), QFile::encodeName(QFileInfo(clean).fileName()));
}

// Which entry of a /dev/disk/by-* folder points at a device.
QString diskLink(const char* folder, const QString& source)
{
    if (!source.startsWith(QLatin1Char('/')))
        return {};
    const QString device = QFileInfo(source).canonicalFilePath();
    if (device.isEmpty())
        return {};
    QDir dir(QString::fromLatin1(folder));
    const QStringList entries = dir.entryList(QDir::System | QDir::Files | QDir::NoDotAndDotDot);
    for (const QString& entry : entries) {
        if (QFileInfo(dir.filePath(entry)).canonicalFilePath() == device)
            return entry;
    }
    return {};
}

void setString(plist_t dict, const char* key, const QString& value)
{
    if (!value.isEmpty())
        plist_dict_set_item(dict, key, plist_new_string(value.toUtf8().constData()));
}

void setBytes(plist_t dict, const char* key, const QByteArray& value)
{
    plist_dict_set_item(dict, key, plist_new_data(value.constData(), uint64_t(value.size())));
}

QString getString(plist_t dict, const char* key)
{
    plist_t node = plist_dict_get_item(dict, key);
    if (!node || plist_get_node_type(node) != PLIST_STRING)
        return {};
    uint64_t length = 0;
    const char* text = plist_get_string_ptr(node, &length);
    return text ? QString::fromUtf8(text, qsizetype(length)) : QString();
}

bool getBytes(plist_t dict, const char* key, QByteArray* out)
{
    plist_t node = plist_dict_get_item(dict, key);
    if (!node || plist_get_node_type(node) != PLIST_DATA)
        return false;
    uint64_t length = 0;
    const char* bytes = plist_get_data_ptr(node, &length);
    *out = QByteArray(bytes, qsizetype(length));
    return true;
}

bool getUInt(plist_t dict, const char* key, uint64_t* out)
{
    plist_t node = plist_dict_get_item(dict, key);
    if (!node || plist_get_node_type(node) != PLIST_UINT)
        return false;
    plist_get_uint_val(node, out);
    return true;
}

bool isCleanAbsolute(const QByteArray& path)
{
    return path.startsWith('/') && !path.contains('\0') && path.size() < 4096;
}

// Looks for an item by identity in the folder tree below `top`, not entering `skip`
// (already searched) nor other file systems. *budget counts directory entries.
bool searchTree(const QByteArray& top, uint64_t dev, const Identity& want, const QByteArray& skip,
    int* budget, QByteArray* found)
{
    QList<QByteArray> queue {top};
    while (!queue.isEmpty()) {
        const QByteArray folder = queue.takeFirst();
        DIR* dir = ::opendir(folder.constData());
        if (!dir)
            continue;
        while (struct dirent* entry = ::readdir(dir)) {
            if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0)
                continue;
            if (--*budget <= 0) {
                ::closedir(dir);
                return false;
            }
            const QByteArray path = joinPath(folder, entry->d_name);
            if (entry->d_ino == want.ino && sameItem(want, path)) {
                ::closedir(dir);
                *found = path;
                return true;
            }
            if (entry->d_type != DT_DIR && entry->d_type != DT_UNKNOWN)
                continue;
            if (path == skip)
                continue;
            struct stat st;
            if (::lstat(path.constData(), &st) == 0 && S_ISDIR(st.st_mode)
                && ((uint64_t(major(st.st_dev)) << 32) | minor(st.st_dev)) == dev)
                queue.append(path);
        }
        ::closedir(dir);
    }
    return false;
}

// The mounted volume that holds the recorded item now, found by what the record says
// about the file system. Empty mount point when none matches.
QByteArray findVolume(plist_t dict)
{
    const QString uuid = getString(dict, "uuid");
    const QString label = getString(dict, "label");
    const QString source = getString(dict, "source");
    const QString fsType = getString(dict, "fsType");
    const QString name = getString(dict, "volumeName");
    QByteArray byName;
    QByteArray bySource;
    PvVolumeInfo info;
    for (int index = 1; PvCatalog::VolumeInfoByIndex(index, &info) == noErr; ++index) {
        if (!uuid.isEmpty() && diskLink("/dev/disk/by-uuid", info.source) == uuid)
            return QFile::encodeName(info.mountPoint);
        if (!label.isEmpty() && diskLink("/dev/disk/by-label", info.source) == label)
            return QFile::encodeName(info.mountPoint);
        if (bySource.isEmpty() && source.startsWith(QLatin1Char('/')) && info.source == source
            && info.fsType == fsType)
            bySource = QFile::encodeName(info.mountPoint);
        if (byName.isEmpty() && !name.isEmpty() && info.name == name)
            byName = QFile::encodeName(info.mountPoint);
    }
    return !bySource.isEmpty() ? bySource : byName;
}

} // namespace

OSErr PvNewAlias(const FSRef* target, const FSRef* fromFile, QByteArray* record)
{
    if (!target || !record)
        return paramErr;
    QString path;
    if (OSErr err = PvCatalog::RefPath(target, &path))
        return err;
    const QByteArray canonical = canonicalItemPath(path);
    Identity id;
    if (!identityOf(canonical, &id))
        return fnfErr;
    PvVolumeInfo volume;
    if (OSErr err = PvCatalog::VolumeForPath(QFile::decodeName(canonical), &volume))
        return err;
    const QByteArray mount = QFile::encodeName(volume.mountPoint);
    QByteArray below = mount == "/" ? canonical.mid(1) : canonical.mid(mount.size() + 1);

    Plist dict(plist_new_dict());
    plist_dict_set_item(dict.get(), "version", plist_new_uint(kRecordVersion));
    setBytes(dict.get(), "path", canonical);
    setBytes(dict.get(), "mountPoint", mount);
    setBytes(dict.get(), "volumePath", below);
    setString(dict.get(), "volumeName", volume.name);
    setString(dict.get(), "fsType", volume.fsType);
    setString(dict.get(), "source", volume.source);
    setString(dict.get(), "uuid", diskLink("/dev/disk/by-uuid", volume.source));
    setString(dict.get(), "label", diskLink("/dev/disk/by-label", volume.source));
    plist_dict_set_item(dict.get(), "inode", plist_new_uint(id.ino));
    plist_dict_set_item(dict.get(), "kind", plist_new_uint(id.kind));
    plist_dict_set_item(dict.get(), "birth", plist_new_uint(id.birth));
    if (fromFile) {
        QString fromPath;
        bool fromIsFolder = false;
        if (OSErr err = PvCatalog::RefPath(fromFile, &fromPath, &fromIsFolder))
            return err;
        const QString fromFolder = QFileInfo(QFileInfo(fromPath).path()).canonicalFilePath();
        if (!fromFolder.isEmpty())
            setBytes(dict.get(), "relativePath",
                QFile::encodeName(QDir(fromFolder).relativeFilePath(QFile::decodeName(canonical))));
    }
    char* bytes = nullptr;
    uint32_t length = 0;
    plist_to_bin(dict.get(), &bytes, &length);
    if (!bytes)
        return memFullErr;
    *record = QByteArray(bytes, qsizetype(length));
    plist_to_bin_free(bytes);
    return noErr;
}

OSErr PvResolveAlias(const QByteArray& record, const FSRef* fromFile, FSRef* target, bool* wasChanged)
{
    if (!target || record.size() < 8 || uint64_t(record.size()) > kMaxRecordSize
        || !PvBinaryPlistIsTame(record.constData(), size_t(record.size())))
        return paramErr;
    Plist dict;
    plist_from_bin(record.constData(), uint32_t(record.size()), dict.out());
    if (!dict.get() || plist_get_node_type(dict.get()) != PLIST_DICT)
        return paramErr;
    uint64_t version = 0;
    Identity want;
    QByteArray path;
    QByteArray mount;
    QByteArray below;
    if (!getUInt(dict.get(), "version", &version) || version != kRecordVersion
        || !getUInt(dict.get(), "inode", &want.ino) || !getUInt(dict.get(), "kind", &want.kind)
        || !getBytes(dict.get(), "path", &path) || !getBytes(dict.get(), "mountPoint", &mount)
        || !getBytes(dict.get(), "volumePath", &below) || !isCleanAbsolute(path) || !isCleanAbsolute(mount))
        return paramErr;
    getUInt(dict.get(), "birth", &want.birth);

    auto accept = [&](const QByteArray& found, bool changed) {
        if (PvCatalog::MakeRef(QFile::decodeName(found), target) != noErr)
            return false;
        if (wasChanged)
            *wasChanged = changed;
        return true;
    };

    // 1. Where it was.
    if (sameItem(want, path) && accept(path, false))
        return noErr;
    // 2. Where it is from the "from" item.
    QByteArray relative;
    QByteArray relativeCandidate;
    if (fromFile && getBytes(dict.get(), "relativePath", &relative) && !relative.isEmpty()
        && !relative.contains('\0')) {
        QString fromPath;
        if (PvCatalog::RefPath(fromFile, &fromPath) == noErr) {
            const QString fromFolder = QFileInfo(fromPath).path();
            relativeCandidate = QFile::encodeName(
                QDir::cleanPath(fromFolder + QLatin1Char('/') + QFile::decodeName(relative)));
            if (sameItem(want, relativeCandidate) && accept(relativeCandidate, relativeCandidate != path))
                return noErr;
        }
    }
    // 3. The same volume, mounted somewhere else.
    QByteArray volumeNow = findVolume(dict.get());
    if (volumeNow.isEmpty())
        volumeNow = mount;
    const QByteArray remapped = below.isEmpty() ? volumeNow : joinPath(volumeNow, below);
    if (!remapped.contains('\0') && remapped != path && sameItem(want, remapped) && accept(remapped, true))
        return noErr;
    // 4. Moved or renamed within the volume: search around the old place.
    struct stat rootStat;
    if (!remapped.contains('\0') && ::stat(volumeNow.constData(), &rootStat) == 0) {
        const uint64_t dev = (uint64_t(major(rootStat.st_dev)) << 32) | minor(rootStat.st_dev);
        QByteArray start = parentPath(remapped);
        struct stat st;
        while (start.size() > volumeNow.size() && ::stat(start.constData(), &st) != 0)
            start = parentPath(start);
        int budget = kSearchBudget;
        QByteArray searched;
        for (;;) {
            QByteArray found;
            if (searchTree(start, dev, want, searched, &budget, &found) && accept(found, true))
                return noErr;
            if (budget <= 0 || start.size() <= volumeNow.size() || start == "/")
                break;
            searched = start;
            start = parentPath(start);
        }
    }
    // 5. Something else now sits where it was.
    struct stat st;
    for (const QByteArray& candidate : {path, relativeCandidate, remapped}) {
        if (!candidate.isEmpty() && !candidate.contains('\0') && ::lstat(candidate.constData(), &st) == 0
            && accept(candidate, candidate != path))
            return noErr;
    }
    return fnfErr;
}
