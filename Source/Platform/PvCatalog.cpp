#include "PvCatalog.h"

#include "MacRoman.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QMutex>
#include <QMutexLocker>
#include <QStringList>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr uint32_t kRefMagic = 0x50764652; // 'PvFR'
constexpr uint16_t kRefVersion = 1;
constexpr int16_t kFirstVolume = -100;
constexpr int32_t kRootParentID = 1; // fsRtParID
constexpr int32_t kRootDirID = 2; // fsRtDirID
constexpr int kMaxLinkHops = 32;
constexpr int kFolderSearchBudget = 100000; // directory entries looked at for an unknown folder ID

// The FSRef's hidden bytes as this catalog fills them.
struct RefData {
    uint32_t magic;
    uint16_t version;
    uint16_t reserved;
    uint64_t dev;
    uint64_t ino;
};
static_assert(sizeof(RefData) <= sizeof(FSRef));

using Key = std::pair<quint64, quint64>; // (device, inode)

struct Volume {
    int16_t vRefNum = 0;
    QString mountPoint;
    QString name;
    QString fsType;
    QString source;
    quint64 dev = 0;
    quint64 rootIno = 0;
    bool mounted = false;
};

struct State {
    QMutex lock;
    QList<Volume> volumes; // every volume met; numbers are never reused
    QList<int> order; // indexes into volumes of the mounted ones, walk order
    int16_t nextRefNum = kFirstVolume;
    QHash<Key, QString> paths; // where each item was last met
    QHash<Key, int32_t> dirIDs; // folder -> directory ID (within its volume)
    QHash<std::pair<int16_t, int32_t>, Key> folders; // (volume, directory ID) -> folder
    QHash<std::pair<Key, QByteArray>, QString> shortNames; // (folder, shortened name) -> real name
    int mountFd = -1; // /proc/self/mountinfo, kept open to learn of mounts by poll()
    pid_t mountPid = 0; // the process and mount namespace that descriptor belongs to
    quint64 mountNs = 0;
};

State& state()
{
    static State s;
    return s;
}

bool statPath(const QString& path, struct stat* st, bool follow)
{
    const QByteArray native = QFile::encodeName(path);
    return (follow ? ::stat(native.constData(), st) : ::lstat(native.constData(), st)) == 0;
}

Key keyOf(const struct stat& st)
{
    return {quint64(st.st_dev), quint64(st.st_ino)};
}

// Mount points in /proc/self/mountinfo escape space, tab, newline and backslash as octal.
QString unescapeMountField(const QByteArray& field)
{
    QByteArray out;
    for (qsizetype i = 0; i < field.size(); ++i) {
        if (field[i] == '\\' && i + 3 < field.size() && field[i + 1] >= '0' && field[i + 1] <= '7') {
            out.append(
                char(((field[i + 1] - '0') << 6) | ((field[i + 2] - '0') << 3) | (field[i + 3] - '0')));
            i += 3;
        } else {
            out.append(field[i]);
        }
    }
    return QFile::decodeName(out);
}

bool isPseudoFileSystem(const QString& type)
{
    static const QStringList pseudo = {"proc", "sysfs", "cgroup", "cgroup2", "devpts", "mqueue", "securityfs",
        "debugfs", "tracefs", "pstore", "bpf", "fusectl", "configfs", "binfmt_misc", "autofs", "hugetlbfs",
        "efivarfs", "nsfs", "rpc_pipefs", "selinuxfs"};
    return pseudo.contains(type);
}

// udev writes unusual characters of labels as \xHH.
QString unescapeUdev(const QString& name)
{
    QByteArray in = QFile::encodeName(name);
    QByteArray out;
    for (qsizetype i = 0; i < in.size(); ++i) {
        if (in[i] == '\\' && i + 3 < in.size() && in[i + 1] == 'x') {
            bool ok = false;
            const int value = in.mid(i + 2, 2).toInt(&ok, 16);
            if (ok) {
                out.append(char(value));
                i += 3;
                continue;
            }
        }
        out.append(in[i]);
    }
    return QString::fromUtf8(out);
}

QString labelOfDevice(const QString& source)
{
    if (!source.startsWith(QLatin1Char('/')))
        return {};
    const QString device = QFileInfo(source).canonicalFilePath();
    if (device.isEmpty())
        return {};
    QDir dir(QStringLiteral("/dev/disk/by-label"));
    const QStringList entries = dir.entryList(QDir::System | QDir::Files | QDir::NoDotAndDotDot);
    for (const QString& entry : entries) {
        if (QFileInfo(dir.filePath(entry)).canonicalFilePath() == device)
            return unescapeUdev(entry);
    }
    return {};
}

QString volumeNameFor(const QString& mountPoint, const QString& source)
{
    QString name;
    if (mountPoint == QLatin1String("/")) {
        name = labelOfDevice(source);
        if (name.isEmpty())
            name = QStringLiteral("Linux HD");
    } else {
        name = mountPoint.mid(mountPoint.lastIndexOf(QLatin1Char('/')) + 1);
    }
    name.replace(QLatin1Char(':'), QLatin1Char('/'));
    return name;
}

struct MountEntry {
    QString mountPoint;
    QString fsType;
    QString source;
};

quint64 mountNamespace()
{
    struct stat st;
    return ::stat("/proc/self/ns/mnt", &st) == 0 ? quint64(st.st_ino) : 0;
}

// Whether the mount table may have changed since it was last read. The kernel marks an
// open /proc/self/mountinfo with a priority event at every mount and unmount, so most
// lookups need no new reading of the table. A descriptor from another process (after
// fork) or another mount namespace tells nothing and counts as a change.
bool mountTableChanged(State& s)
{
    if (s.mountFd < 0 || s.mountPid != ::getpid() || s.mountNs != mountNamespace())
        return true;
    struct pollfd event = {s.mountFd, POLLPRI, 0};
    return ::poll(&event, 1, 0) != 0;
}

// Reads the whole mount table, through the kept descriptor (which clears its event).
QByteArray readMountInfo(State& s)
{
    if (s.mountFd < 0 || s.mountPid != ::getpid() || s.mountNs != mountNamespace()) {
        if (s.mountFd >= 0)
            ::close(s.mountFd);
        s.mountFd = ::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC);
        s.mountPid = ::getpid();
        s.mountNs = mountNamespace();
    }
    QByteArray text;
    if (s.mountFd < 0 || ::lseek(s.mountFd, 0, SEEK_SET) != 0)
        return text;
    char chunk[8192];
    for (;;) {
        const ssize_t n = ::read(s.mountFd, chunk, sizeof chunk);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        text.append(chunk, n);
    }
    return text;
}

QList<MountEntry> readMountTable(State& s)
{
    QList<MountEntry> entries;
    const QList<QByteArray> lines = readMountInfo(s).split('\n');
    for (const QByteArray& line : lines) {
        const QList<QByteArray> fields = line.split(' ');
        const qsizetype dash = fields.indexOf("-");
        if (fields.size() < 5 || dash < 0 || dash + 2 >= fields.size())
            continue;
        MountEntry entry {unescapeMountField(fields[4]), QString::fromUtf8(fields[dash + 1]),
            unescapeMountField(fields[dash + 2])};
        if (isPseudoFileSystem(entry.fsType))
            continue;
        // A later mount on the same point hides the earlier one.
        for (qsizetype i = 0; i < entries.size(); ++i) {
            if (entries[i].mountPoint == entry.mountPoint) {
                entries.removeAt(i);
                break;
            }
        }
        entries.append(entry);
    }
    return entries;
}

// Call with the lock held.
void refreshVolumes(State& s)
{
    QList<MountEntry> table = readMountTable(s);
    // The default volume is walked (and numbered) first.
    std::stable_partition(
        table.begin(), table.end(), [](const MountEntry& e) { return e.mountPoint == QLatin1String("/"); });
    if (table.isEmpty() || table.first().mountPoint != QLatin1String("/"))
        table.prepend(MountEntry {QStringLiteral("/"), QString(), QString()});
    for (Volume& v : s.volumes)
        v.mounted = false;
    s.order.clear();
    for (const MountEntry& entry : table) {
        struct stat st;
        if (!statPath(entry.mountPoint, &st, true))
            continue;
        int found = -1;
        for (int i = 0; i < s.volumes.size(); ++i) {
            const Volume& v = s.volumes[i];
            if (v.mountPoint == entry.mountPoint && v.dev == quint64(st.st_dev)
                && v.rootIno == quint64(st.st_ino)) {
                found = i;
                break;
            }
        }
        if (found < 0) {
            if (s.nextRefNum == SHRT_MIN)
                continue; // out of numbers: a process that mounts 32000 volumes sees no more
            Volume v;
            v.vRefNum = s.nextRefNum--;
            v.mountPoint = entry.mountPoint;
            v.fsType = entry.fsType;
            v.source = entry.source;
            v.dev = quint64(st.st_dev);
            v.rootIno = quint64(st.st_ino);
            v.name = volumeNameFor(entry.mountPoint, entry.source);
            s.volumes.append(v);
            found = int(s.volumes.size() - 1);
        }
        if (s.volumes[found].mounted)
            continue;
        s.volumes[found].mounted = true;
        s.order.append(found);
    }
}

void ensureVolumes(State& s)
{
    if (s.order.isEmpty() || mountTableChanged(s))
        refreshVolumes(s);
}

PvVolumeInfo infoOf(const Volume& v)
{
    PvVolumeInfo info;
    info.vRefNum = v.vRefNum;
    info.name = v.name;
    info.mountPoint = v.mountPoint;
    info.fsType = v.fsType;
    info.source = v.source;
    return info;
}

const Volume* volumeByRefNum(State& s, int16_t vRefNum)
{
    ensureVolumes(s);
    for (int pass = 0; pass < 2; ++pass) {
        if (vRefNum == 0 && !s.order.isEmpty())
            return &s.volumes[s.order.first()];
        for (int i : std::as_const(s.order)) {
            if (s.volumes[i].vRefNum == vRefNum)
                return &s.volumes[i];
        }
        refreshVolumes(s); // maybe mounted since the last look
    }
    return nullptr;
}

bool pathIsBelow(const QString& path, const QString& mountPoint)
{
    if (mountPoint == QLatin1String("/"))
        return path.startsWith(QLatin1Char('/'));
    return path == mountPoint || path.startsWith(mountPoint + QLatin1Char('/'));
}

const Volume* volumeForPath(State& s, const QString& path)
{
    if (!path.startsWith(QLatin1Char('/')))
        return nullptr;
    ensureVolumes(s);
    const Volume* best = nullptr;
    for (int i : std::as_const(s.order)) {
        const Volume& v = s.volumes[i];
        if (pathIsBelow(path, v.mountPoint) && (!best || v.mountPoint.size() > best->mountPoint.size()))
            best = &v;
    }
    return best;
}

const Volume* volumeForKey(State& s, const Key& key, const QString& path)
{
    ensureVolumes(s);
    for (int i : std::as_const(s.order)) {
        const Volume& v = s.volumes[i];
        if (v.dev == key.first && v.rootIno == key.second)
            return &v;
    }
    return volumeForPath(s, path);
}

// Directory ID of a folder in a volume; call with the lock held.
int32_t folderID(State& s, const Volume& v, const Key& key, const QString& path)
{
    s.paths.insert(key, path);
    if (key.first == v.dev && key.second == v.rootIno)
        return kRootDirID;
    auto it = s.dirIDs.constFind(key);
    if (it != s.dirIDs.constEnd()) {
        auto owner = s.folders.constFind({v.vRefNum, it.value()});
        if (owner != s.folders.constEnd() && owner.value() == key)
            return it.value();
    }
    int32_t id = (key.second > 2 && key.second <= quint64(INT32_MAX)) ? int32_t(key.second) : INT32_MAX;
    while (s.folders.contains({v.vRefNum, id}) && s.folders.value({v.vRefNum, id}) != key)
        --id;
    s.dirIDs.insert(key, id);
    s.folders.insert({v.vRefNum, id}, key);
    return id;
}

// The current path of a known item after checking its identity; empty when it is gone.
QString checkedPath(State& s, const Key& key, struct stat* st = nullptr)
{
    auto it = s.paths.constFind(key);
    if (it == s.paths.constEnd())
        return {};
    struct stat local;
    struct stat* info = st ? st : &local;
    if (!statPath(it.value(), info, false) || keyOf(*info) != key)
        return {};
    return it.value();
}

bool readRef(const FSRef* ref, Key* key)
{
    RefData data;
    std::memcpy(&data, ref->hidden, sizeof data);
    if (data.magic != kRefMagic || data.version != kRefVersion)
        return false;
    *key = {data.dev, data.ino};
    return true;
}

void writeRef(const Key& key, FSRef* out)
{
    std::memset(out, 0, sizeof *out);
    RefData data {kRefMagic, kRefVersion, 0, key.first, key.second};
    std::memcpy(out->hidden, &data, sizeof data);
}

QString cleanAbsolute(const QString& path)
{
    return QDir::cleanPath(QDir::isAbsolutePath(path) ? path : QDir::current().absoluteFilePath(path));
}

QString fileNameOf(const QString& path)
{
    return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
}

QString parentOf(const QString& path)
{
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    return slash <= 0 ? QStringLiteral("/") : path.left(slash);
}

void setPascal(unsigned char* out, const QByteArray& bytes, int limit)
{
    const int n = int(std::min<qsizetype>(bytes.size(), limit));
    out[0] = uint8_t(n);
    std::memcpy(out + 1, bytes.constData(), size_t(n));
}

// The FSSpec form of a POSIX name: Mac Roman, ':' shown as '/', at most 31 bytes.
// A name that does not fit is shortened to "start#ID.ext" and remembered.
QByteArray specName(State& s, const Key& folder, const QString& name, quint64 nodeID)
{
    QString hfs = name;
    hfs.replace(QLatin1Char(':'), QLatin1Char('/'));
    bool lossless = false;
    const QByteArray roman = PvMacRomanFromString(hfs, &lossless);
    if (lossless && roman.size() <= 31)
        return roman;
    const QByteArray id = '#' + QByteArray::number(nodeID, 16).toUpper();
    QByteArray ext;
    const qsizetype dot = roman.lastIndexOf('.');
    if (dot > 0 && roman.size() - dot <= 6)
        ext = roman.mid(dot);
    QByteArray stem = dot > 0 && !ext.isEmpty() ? roman.left(dot) : roman;
    stem.truncate(std::max<qsizetype>(1, 31 - id.size() - ext.size()));
    QByteArray shortName = (stem + id + ext).left(31);
    s.shortNames.insert({folder, shortName}, name);
    return shortName;
}

QString nameFromSpec(const unsigned char* pascal)
{
    QString name = PvStringFromMacRoman(reinterpret_cast<const char*>(pascal + 1), pascal[0]);
    name.replace(QLatin1Char('/'), QLatin1Char(':'));
    return name;
}

// Breadth-first search of a volume for the folder with a given inode, without entering
// other file systems; gives up after kFolderSearchBudget directory entries.
QString findFolderByInode(const Volume& v, quint64 ino)
{
    if (ino <= 2)
        return {};
    int budget = kFolderSearchBudget;
    QList<QByteArray> queue {QFile::encodeName(v.mountPoint)};
    while (!queue.isEmpty() && budget > 0) {
        const QByteArray folder = queue.takeFirst();
        DIR* dir = ::opendir(folder.constData());
        if (!dir)
            continue;
        while (struct dirent* entry = ::readdir(dir)) {
            if (--budget <= 0)
                break;
            if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0)
                continue;
            if (entry->d_type != DT_DIR && entry->d_type != DT_UNKNOWN)
                continue;
            const QByteArray path = (folder == "/" ? QByteArray() : folder) + '/' + entry->d_name;
            struct stat st;
            if (::lstat(path.constData(), &st) != 0 || !S_ISDIR(st.st_mode) || quint64(st.st_dev) != v.dev)
                continue;
            if (quint64(st.st_ino) == ino) {
                ::closedir(dir);
                return QFile::decodeName(path);
            }
            queue.append(path);
        }
        ::closedir(dir);
    }
    return {};
}

// Path of an FSSpec's folder; call with the lock held.
OSErr specFolder(State& s, const FSSpec* fsSpec, const Volume** volume, QString* folderPath, Key* folderKey)
{
    const Volume* v = volumeByRefNum(s, fsSpec->vRefNum);
    if (!v)
        return nsvErr;
    *volume = v;
    if (fsSpec->parID == kRootParentID || fsSpec->parID == kRootDirID) {
        *folderPath = v->mountPoint;
        *folderKey = {v->dev, v->rootIno};
        return noErr;
    }
    auto it = s.folders.constFind({v->vRefNum, int32_t(fsSpec->parID)});
    struct stat st;
    QString path;
    if (it != s.folders.constEnd())
        path = checkedPath(s, it.value(), &st);
    if (path.isEmpty() || !S_ISDIR(st.st_mode)) {
        // Not met in this process, or met under another volume number: most IDs are
        // inode numbers, so look for the folder with that inode on this volume.
        path = findFolderByInode(*v, quint64(fsSpec->parID));
        if (path.isEmpty() || !statPath(path, &st, false))
            return dirNFErr;
        folderID(s, *v, keyOf(st), path);
    }
    *folderPath = path;
    *folderKey = keyOf(st);
    return noErr;
}

OSErr specPathLocked(State& s, const FSSpec* fsSpec, QString* path)
{
    if (!fsSpec || !path)
        return paramErr;
    const Volume* v = nullptr;
    QString folder;
    Key folderKey;
    if (OSErr err = specFolder(s, fsSpec, &v, &folder, &folderKey))
        return err;
    const unsigned length = std::min<unsigned>(fsSpec->name[0], 63);
    unsigned char name[64];
    std::memcpy(name, fsSpec->name, length + 1);
    name[0] = uint8_t(length);
    if (fsSpec->parID == kRootParentID) {
        // The root folder, named by the volume's name (or nothing).
        if (length != 0
            && nameFromSpec(name).compare(
                   QString(v->name).replace(QLatin1Char('/'), QLatin1Char(':')), Qt::CaseInsensitive)
                != 0)
            return fnfErr;
        *path = v->mountPoint;
        return noErr;
    }
    if (length == 0) {
        *path = folder;
        return noErr;
    }
    const QString itemName = nameFromSpec(name);
    if (itemName == QLatin1String(".") || itemName == QLatin1String("..")
        || itemName.contains(QLatin1Char('/')))
        return bdNamErr;
    const QString base = folder == QLatin1String("/") ? QString() : folder;
    QString candidate = base + QLatin1Char('/') + itemName;
    struct stat st;
    if (!statPath(candidate, &st, false)) {
        auto it = s.shortNames.constFind(
            {folderKey, QByteArray(reinterpret_cast<const char*>(name + 1), length)});
        if (it != s.shortNames.constEnd())
            candidate = base + QLatin1Char('/') + it.value();
    }
    *path = candidate;
    return noErr;
}

OSErr makeRefLocked(State& s, const QString& path, FSRef* out, bool* isFolder)
{
    if (path.isEmpty() || !out)
        return paramErr;
    const QString clean = cleanAbsolute(path);
    struct stat st;
    if (!statPath(clean, &st, false))
        return PvCatalog::ErrorFromErrno(errno);
    const Key key = keyOf(st);
    s.paths.insert(key, clean);
    writeRef(key, out);
    if (isFolder)
        *isFolder = S_ISDIR(st.st_mode);
    return noErr;
}

OSErr refSpecLocked(State& s, const FSRef* ref, FSSpec* out)
{
    Key key;
    if (!ref || !out)
        return paramErr;
    if (!readRef(ref, &key))
        return errFSBadFSRef;
    const QString path = checkedPath(s, key);
    if (path.isEmpty())
        return fnfErr;
    std::memset(out, 0, sizeof *out);
    const Volume* v = volumeForKey(s, key, path);
    if (v && key.first == v->dev && key.second == v->rootIno) {
        out->vRefNum = v->vRefNum;
        out->parID = kRootParentID;
        setPascal(out->name, PvMacRomanFromString(v->name), 27);
        return noErr;
    }
    // The parent is the folder that holds the item, with symbolic links of the path resolved.
    const QString parent = QFileInfo(parentOf(path)).canonicalFilePath();
    struct stat pst;
    if (parent.isEmpty() || !statPath(parent, &pst, false))
        return fnfErr;
    v = volumeForPath(s, parent);
    if (!v)
        return nsvErr;
    const Key parentKey = keyOf(pst);
    out->vRefNum = v->vRefNum;
    out->parID = folderID(s, *v, parentKey, parent);
    setPascal(out->name, specName(s, parentKey, fileNameOf(path), key.second), 31);
    return noErr;
}

} // namespace

int16_t PvCatalog::DefaultVolume()
{
    State& s = state();
    QMutexLocker locker(&s.lock);
    ensureVolumes(s);
    return s.order.isEmpty() ? kFirstVolume : s.volumes[s.order.first()].vRefNum;
}

OSErr PvCatalog::VolumeInfoByIndex(int index, PvVolumeInfo* out)
{
    if (!out)
        return paramErr;
    State& s = state();
    QMutexLocker locker(&s.lock);
    ensureVolumes(s);
    if (index < 1 || index > s.order.size())
        return nsvErr;
    *out = infoOf(s.volumes[s.order[index - 1]]);
    return noErr;
}

OSErr PvCatalog::VolumeInfoByRefNum(int16_t vRefNum, PvVolumeInfo* out)
{
    if (!out)
        return paramErr;
    State& s = state();
    QMutexLocker locker(&s.lock);
    const Volume* v = volumeByRefNum(s, vRefNum);
    if (!v)
        return nsvErr;
    *out = infoOf(*v);
    return noErr;
}

OSErr PvCatalog::VolumeForPath(const QString& absolutePath, PvVolumeInfo* out)
{
    if (!out)
        return paramErr;
    State& s = state();
    QMutexLocker locker(&s.lock);
    const Volume* v = volumeForPath(s, QDir::cleanPath(absolutePath));
    if (!v)
        return nsvErr;
    *out = infoOf(*v);
    return noErr;
}

OSErr PvCatalog::MakeRef(const QString& absolutePath, FSRef* out, bool* isFolder)
{
    State& s = state();
    QMutexLocker locker(&s.lock);
    return makeRefLocked(s, absolutePath, out, isFolder);
}

OSErr PvCatalog::RefPath(const FSRef* ref, QString* path, bool* isFolder)
{
    Key key;
    if (!ref || !path)
        return paramErr;
    if (!readRef(ref, &key))
        return errFSBadFSRef;
    State& s = state();
    QMutexLocker locker(&s.lock);
    struct stat st;
    const QString found = checkedPath(s, key, &st);
    if (found.isEmpty())
        return fnfErr;
    *path = found;
    if (isFolder)
        *isFolder = S_ISDIR(st.st_mode);
    return noErr;
}

OSErr PvCatalog::RefSpec(const FSRef* ref, FSSpec* out)
{
    State& s = state();
    QMutexLocker locker(&s.lock);
    return refSpecLocked(s, ref, out);
}

OSErr PvCatalog::RefUnicodeName(const FSRef* ref, HFSUniStr255* out)
{
    QString path;
    if (!out)
        return paramErr;
    if (OSErr err = RefPath(ref, &path))
        return err;
    QString name;
    PvVolumeInfo volume;
    Key key;
    readRef(ref, &key);
    struct stat st;
    if (VolumeForPath(path, &volume) == noErr && path == volume.mountPoint && statPath(path, &st, false)
        && keyOf(st) == key)
        name = volume.name;
    else
        name = fileNameOf(path).replace(QLatin1Char(':'), QLatin1Char('/'));
    std::memset(out, 0, sizeof *out);
    out->length = uint16_t(std::min<qsizetype>(name.size(), 255));
    std::memcpy(out->unicode, name.utf16(), out->length * sizeof(uint16_t));
    return noErr;
}

OSErr PvCatalog::RefFolderID(const FSRef* ref, int32_t* dirID)
{
    Key key;
    if (!ref || !dirID)
        return paramErr;
    if (!readRef(ref, &key))
        return errFSBadFSRef;
    State& s = state();
    QMutexLocker locker(&s.lock);
    struct stat st;
    const QString path = checkedPath(s, key, &st);
    if (path.isEmpty())
        return fnfErr;
    if (!S_ISDIR(st.st_mode))
        return dirNFErr;
    const Volume* v = volumeForKey(s, key, QFileInfo(path).canonicalFilePath());
    if (!v)
        return nsvErr;
    *dirID = folderID(s, *v, key, path);
    return noErr;
}

OSErr PvCatalog::SpecPath(const FSSpec* fsSpec, QString* path)
{
    State& s = state();
    QMutexLocker locker(&s.lock);
    return specPathLocked(s, fsSpec, path);
}

OSErr PvCatalog::SpecRef(const FSSpec* fsSpec, FSRef* out)
{
    State& s = state();
    QMutexLocker locker(&s.lock);
    QString path;
    if (OSErr err = specPathLocked(s, fsSpec, &path))
        return err;
    return makeRefLocked(s, path, out, nullptr);
}

OSErr PvCatalog::MakeSpec(int16_t vRefNum, int32_t dirID, const unsigned char* pascalName, FSSpec* out)
{
    if (!out)
        return paramErr;
    State& s = state();
    QMutexLocker locker(&s.lock);
    std::memset(out, 0, sizeof *out);
    const Volume* v = volumeByRefNum(s, vRefNum);
    out->vRefNum = v ? v->vRefNum : vRefNum;
    out->parID = dirID;
    if (pascalName)
        setPascal(out->name, QByteArray(reinterpret_cast<const char*>(pascalName + 1), pascalName[0]), 63);
    QString path;
    if (OSErr err = specPathLocked(s, out, &path))
        return err;
    struct stat st;
    if (!statPath(path, &st, false))
        return fnfErr;
    if (out->name[0] == 0 && dirID != kRootParentID) {
        // An empty name names the folder itself: describe it by its own parent and name.
        FSRef ref;
        if (makeRefLocked(s, path, &ref, nullptr) == noErr)
            return refSpecLocked(s, &ref, out);
    }
    return noErr;
}

OSErr PvCatalog::ResolveAliasFile(FSSpec* fsSpec, bool* isFolder, bool* wasAliased)
{
    if (!fsSpec)
        return paramErr;
    State& s = state();
    QMutexLocker locker(&s.lock);
    QString path;
    if (OSErr err = specPathLocked(s, fsSpec, &path))
        return err;
    bool followed = false;
    struct stat st;
    for (int hop = 0;; ++hop) {
        if (!statPath(path, &st, false))
            return fnfErr;
        if (!S_ISLNK(st.st_mode))
            break;
        if (hop == kMaxLinkHops)
            return fnfErr; // a loop of links
        char target[PATH_MAX];
        const ssize_t n = ::readlink(QFile::encodeName(path).constData(), target, sizeof target - 1);
        if (n <= 0)
            return fnfErr;
        const QString linked = QFile::decodeName(QByteArray(target, n));
        path = QDir::cleanPath(
            QDir::isAbsolutePath(linked) ? linked : parentOf(path) + QLatin1Char('/') + linked);
        followed = true;
    }
    if (followed) {
        FSRef ref;
        if (OSErr err = makeRefLocked(s, path, &ref, nullptr))
            return err;
        if (OSErr err = refSpecLocked(s, &ref, fsSpec))
            return err;
    }
    if (isFolder)
        *isFolder = S_ISDIR(st.st_mode);
    if (wasAliased)
        *wasAliased = followed;
    return noErr;
}

QString PvCatalog::PosixPathFromHFS(const QString& hfsPath)
{
    if (hfsPath.isEmpty())
        return {};
    QStringList parts = hfsPath.split(QLatin1Char(':'));
    QString base;
    if (hfsPath.startsWith(QLatin1Char(':'))) {
        base = QDir::currentPath();
        parts.removeFirst();
    } else {
        const QString volumeName = parts.takeFirst();
        State& s = state();
        QMutexLocker locker(&s.lock);
        ensureVolumes(s);
        for (int i : std::as_const(s.order)) {
            if (s.volumes[i].name.compare(volumeName, Qt::CaseInsensitive) == 0) {
                base = s.volumes[i].mountPoint;
                break;
            }
        }
        if (base.isEmpty())
            return {};
    }
    if (!parts.isEmpty() && parts.last().isEmpty())
        parts.removeLast(); // the trailing ':' of a folder
    QString path = base;
    for (QString part : parts) {
        if (part.isEmpty()) {
            path = parentOf(path); // "::" climbs one folder
            continue;
        }
        part.replace(QLatin1Char('/'), QLatin1Char(':'));
        path = (path == QLatin1String("/") ? QString() : path) + QLatin1Char('/') + part;
    }
    return path;
}

QString PvCatalog::HFSPathFromPosix(const QString& posixPath, bool isFolder)
{
    if (!posixPath.startsWith(QLatin1Char('/')))
        return {};
    const QString clean = QDir::cleanPath(posixPath);
    PvVolumeInfo volume;
    if (VolumeForPath(clean, &volume) != noErr)
        return {};
    QString rest
        = volume.mountPoint == QLatin1String("/") ? clean.mid(1) : clean.mid(volume.mountPoint.size() + 1);
    if (rest.isEmpty())
        return volume.name + QLatin1Char(':');
    QStringList parts = rest.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    for (QString& part : parts)
        part.replace(QLatin1Char(':'), QLatin1Char('/'));
    QString hfs = volume.name + QLatin1Char(':') + parts.join(QLatin1Char(':'));
    if (isFolder)
        hfs += QLatin1Char(':');
    return hfs;
}

OSErr PvCatalog::ErrorFromErrno(int error)
{
    switch (error) {
    case 0:
        return noErr;
    case ENOENT:
    case ENOTDIR:
    case ELOOP:
        return fnfErr;
    case EACCES:
    case EPERM:
        return permErr;
    case EROFS:
        return wPrErr;
    case ENOSPC:
    case EDQUOT:
    case EFBIG: // past the file-size limit: to the caller the same as a full disk
        return dskFulErr;
    case EMFILE:
    case ENFILE:
        return tmfoErr;
    case EBADF:
        return rfNumErr;
    case EINVAL:
    case EISDIR:
        return paramErr;
    case ENAMETOOLONG:
        return bdNamErr;
    case EEXIST:
        return dupFNErr;
    case ENOMEM:
        return memFullErr;
    default:
        return ioErr;
    }
}

extern "C" {

OSErr PvForkOpen(const FSSpec* fsSpec, int8_t permission, int16_t* refNum)
{
    if (!fsSpec || !refNum)
        return paramErr;
    *refNum = 0;
    QString path;
    if (OSErr err = PvCatalog::SpecPath(fsSpec, &path))
        return err;
    const int flags = (permission & 2) ? O_RDWR : O_RDONLY;
    int fd = ::open(QFile::encodeName(path).constData(), flags | O_CLOEXEC);
    if (fd < 0)
        return PvCatalog::ErrorFromErrno(errno);
    struct stat st;
    if (::fstat(fd, &st) != 0 || S_ISDIR(st.st_mode)) {
        ::close(fd);
        return notAFileErr;
    }
    if (fd == 0) {
        // 0 means "not open" to fork users, so the descriptor moves up.
        const int moved = ::fcntl(fd, F_DUPFD_CLOEXEC, 1);
        ::close(fd);
        if (moved < 0)
            return PvCatalog::ErrorFromErrno(errno);
        fd = moved;
    }
    if (fd > SHRT_MAX) {
        ::close(fd);
        return tmfoErr;
    }
    *refNum = int16_t(fd);
    return noErr;
}

OSErr PvForkClose(int16_t refNum)
{
    if (refNum <= 0)
        return rfNumErr;
    return ::close(refNum) == 0 ? OSErr(noErr) : PvCatalog::ErrorFromErrno(errno);
}

OSErr PvForkRead(int16_t refNum, int64_t offset, void* buffer, int32_t count, int32_t* actual)
{
    if (actual)
        *actual = 0;
    if (refNum <= 0)
        return rfNumErr;
    if (offset < 0)
        return posErr;
    if (count < 0 || (count > 0 && !buffer))
        return paramErr;
    int32_t done = 0;
    while (done < count) {
        const ssize_t n
            = ::pread(refNum, static_cast<char*>(buffer) + done, size_t(count - done), offset + done);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            if (actual)
                *actual = done;
            return PvCatalog::ErrorFromErrno(errno);
        }
        if (n == 0)
            break;
        done += int32_t(n);
    }
    if (actual)
        *actual = done;
    return done == count ? noErr : eofErr;
}

OSErr PvForkWrite(int16_t refNum, int64_t offset, const void* buffer, int32_t count, int32_t* actual)
{
    if (actual)
        *actual = 0;
    if (refNum <= 0)
        return rfNumErr;
    if (offset < 0)
        return posErr;
    if (count < 0 || (count > 0 && !buffer))
        return paramErr;
    int32_t done = 0;
    while (done < count) {
        const ssize_t n
            = ::pwrite(refNum, static_cast<const char*>(buffer) + done, size_t(count - done), offset + done);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            const int error = errno;
            if (actual)
                *actual = done;
            // A fork opened for reading only answers EBADF to a write.
            if (error == EBADF && (::fcntl(refNum, F_GETFL) & O_ACCMODE) == O_RDONLY)
                return wrPermErr;
            return PvCatalog::ErrorFromErrno(error);
        }
        done += int32_t(n);
    }
    if (actual)
        *actual = done;
    return noErr;
}

OSErr PvForkGetSize(int16_t refNum, int64_t* size)
{
    if (!size)
        return paramErr;
    *size = 0;
    if (refNum <= 0)
        return rfNumErr;
    struct stat st;
    if (::fstat(refNum, &st) != 0)
        return PvCatalog::ErrorFromErrno(errno);
    *size = int64_t(st.st_size);
    return noErr;
}

OSErr PvForkSetSize(int16_t refNum, int64_t size)
{
    if (refNum <= 0)
        return rfNumErr;
    if (size < 0)
        return posErr;
    while (::ftruncate(refNum, off_t(size)) != 0) {
        if (errno != EINTR)
            return PvCatalog::ErrorFromErrno(errno);
    }
    return noErr;
}

} // extern "C"
