#include "PvFileManager.h"

#include "PvCatalog.h"
#include "PvFileManager_p.h"
#include "PvFinderInfo.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <pwd.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

// As many links as the kernel follows in one path before it reports a loop.
constexpr int kMaxLinkHops = 40;

QByteArray encoded(const QString& path)
{
    return QFile::encodeName(path);
}

bool lstatPath(const QByteArray& path, struct stat* st)
{
    return ::lstat(path.constData(), st) == 0;
}

bool statPath(const QByteArray& path, struct stat* st)
{
    return ::stat(path.constData(), st) == 0;
}

QString joined(const QString& folder, const QString& name)
{
    if (folder.endsWith(QLatin1Char('/')))
        return folder + name;
    return folder + QLatin1Char('/') + name;
}

// The names in a folder (without "." and ".."), in bytewise order; false when the folder
// cannot be opened.
bool listFolder(const QByteArray& path, std::vector<QByteArray>* names)
{
    DIR* dir = ::opendir(path.constData());
    if (!dir)
        return false;
    while (const dirent* entry = ::readdir(dir)) {
        if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0)
            continue;
        names->emplace_back(entry->d_name);
    }
    ::closedir(dir);
    std::sort(names->begin(), names->end());
    return true;
}

using Visitor = std::function<void(const QString&, const struct stat&)>;
using FolderKey = std::pair<dev_t, ino_t>;

void walk(
    const QByteArray& folder, const QString& relative, std::vector<FolderKey>& open, const Visitor& visit)
{
    std::vector<QByteArray> names;
    if (!listFolder(folder, &names))
        return;
    for (const QByteArray& name : names) {
        const QByteArray full = folder + '/' + name;
        struct stat st;
        if (!lstatPath(full, &st))
            continue; // gone since the listing
        const QString childRelative = relative.isEmpty()
            ? QFile::decodeName(name)
            : relative + QLatin1Char('/') + QFile::decodeName(name);
        visit(childRelative, st);
        if (!S_ISDIR(st.st_mode))
            continue;
        const FolderKey key(st.st_dev, st.st_ino);
        if (std::find(open.begin(), open.end(), key) != open.end())
            continue;
        open.push_back(key);
        walk(full, childRelative, open, visit);
        open.pop_back();
    }
}

QString expandTilde(const QString& path)
{
    if (!path.startsWith(QLatin1Char('~')))
        return path;
    const qsizetype slash = path.indexOf(QLatin1Char('/'));
    const QString user = path.mid(1, slash < 0 ? -1 : slash - 1);
    const QString rest = slash < 0 ? QString() : path.mid(slash);
    if (user.isEmpty())
        return QDir::homePath() + rest;
    struct passwd pw;
    struct passwd* found = nullptr;
    std::vector<char> buffer(16384);
    if (::getpwnam_r(encoded(user).constData(), &pw, buffer.data(), buffer.size(), &found) != 0 || !found)
        return path; // an unknown user: left as it is
    return QFile::decodeName(found->pw_dir) + rest;
}

// Resolves the symbolic links of an absolute, clean path component by component. Once a
// component does not exist, the rest is appended as it stands. Returns false for a loop.
bool resolveLinks(const QString& path, QString* out)
{
    QStringList pending = path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    std::reverse(pending.begin(), pending.end()); // take from the back
    QString done; // resolved so far; "" is the root
    int hops = 0;
    while (!pending.isEmpty()) {
        const QString part = pending.takeLast();
        if (part == QLatin1String("."))
            continue;
        if (part == QLatin1String("..")) {
            done = done.left(qMax<qsizetype>(0, done.lastIndexOf(QLatin1Char('/'))));
            continue;
        }
        const QString next = done + QLatin1Char('/') + part;
        const QByteArray nextBytes = encoded(next);
        struct stat st;
        if (!lstatPath(nextBytes, &st)) {
            // Nothing here: the remaining components stay as they are.
            done = next;
            while (!pending.isEmpty())
                done += QLatin1Char('/') + pending.takeLast();
            break;
        }
        if (!S_ISLNK(st.st_mode)) {
            done = next;
            continue;
        }
        if (++hops > kMaxLinkHops)
            return false;
        char target[PATH_MAX];
        const ssize_t n = ::readlink(nextBytes.constData(), target, sizeof target);
        if (n <= 0 || size_t(n) >= sizeof target) {
            done = next;
            continue;
        }
        const QString linked = QFile::decodeName(QByteArray(target, int(n)));
        QStringList parts = linked.split(QLatin1Char('/'), Qt::SkipEmptyParts);
        for (auto it = parts.crbegin(); it != parts.crend(); ++it)
            pending.append(*it);
        if (linked.startsWith(QLatin1Char('/')))
            done.clear();
    }
    *out = done.isEmpty() ? QStringLiteral("/") : QDir::cleanPath(done);
    return true;
}

QString parentPath(const QString& path)
{
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    if (slash <= 0)
        return QStringLiteral("/");
    return path.left(slash);
}

QString lastComponent(const QString& path)
{
    return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
}

bool makeFolder(const QString& path, const QVariantMap& attributes)
{
    const QByteArray bytes = encoded(path);
    const auto permissions = attributes.constFind(QLatin1String(PvFilePosixPermissions));
    const bool exact = permissions != attributes.constEnd() && permissions->canConvert<int>();
    const mode_t mode = exact ? mode_t(permissions->toInt() & 07777) : mode_t(0777);
    if (::mkdir(bytes.constData(), mode) != 0)
        return false;
    if (exact)
        ::chmod(bytes.constData(), mode);
    return true;
}

// Copies one file or link; returns 0 or an errno value.
int copyItem(const QString& source, const QString& destination)
{
    const QByteArray from = encoded(source);
    const QByteArray to = encoded(destination);
    struct stat st;
    if (!lstatPath(from, &st))
        return errno;
    if (S_ISLNK(st.st_mode)) {
        char target[PATH_MAX];
        const ssize_t n = ::readlink(from.constData(), target, sizeof target - 1);
        if (n < 0)
            return errno;
        target[n] = 0;
        return ::symlink(target, to.constData()) == 0 ? 0 : errno;
    }
    if (!S_ISREG(st.st_mode))
        return ENOTSUP;
    if (!QFile::copy(source, destination))
        return QFile::exists(source) ? EIO : ENOENT;
    return 0;
}

bool removeItem(const QString& path)
{
    struct stat st;
    const QByteArray bytes = encoded(path);
    if (!lstatPath(bytes, &st))
        return true;
    if (S_ISDIR(st.st_mode))
        return QDir(path).removeRecursively();
    return ::unlink(bytes.constData()) == 0;
}

// An AppleDouble sidecar ("._name" holding an AppleDouble header) is the Finder
// information of another item, never an item of its own.
bool isAppleDoubleSidecar(const QString& path, const struct stat& st)
{
    if (!S_ISREG(st.st_mode) || !lastComponent(path).startsWith(QLatin1String("._")))
        return false;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray magic = file.read(4);
    return magic == QByteArray("\x00\x05\x16\x07", 4);
}

const char* const kBundleExtensions[]
    = {"app", "bundle", "clap", "component", "framework", "kext", "lv2", "plugin", "vst", "vst3"};

} // namespace

bool PvWalkTree(const QString& root, const Visitor& visit)
{
    const QByteArray bytes = encoded(root);
    struct stat st;
    if (root.isEmpty() || !statPath(bytes, &st) || !S_ISDIR(st.st_mode))
        return false;
    DIR* probe = ::opendir(bytes.constData());
    if (!probe)
        return false;
    ::closedir(probe);
    std::vector<FolderKey> open {FolderKey(st.st_dev, st.st_ino)};
    walk(bytes, QString(), open, visit);
    return true;
}

bool createDirectoriesRecursivelyAtPath(const QString& path, const QVariantMap& attributes)
{
    if (path.isEmpty())
        return false;
    struct stat st;
    if (statPath(encoded(path), &st))
        return true;
    if (makeFolder(path, attributes))
        return true;
    const QString parent = parentPath(QDir::cleanPath(QDir(path).absolutePath()));
    if (parent == QDir::cleanPath(QDir(path).absolutePath()))
        return false;
    if (!createDirectoriesRecursivelyAtPath(parent, attributes))
        return false;
    return makeFolder(path, attributes);
}

bool mergePath(const QString& source, const QString& destination, bool replace, PvFileManagerHandler* handler)
{
    bool ok = true;
    PvWalkTree(source, [&](const QString& relative, const struct stat& attributes) {
        if (!ok)
            return;
        const QString src = joined(source, relative);
        const QString dst = joined(destination, relative);
        const QByteArray dstBytes = encoded(dst);
        struct stat st;
        const bool dstExists = lstatPath(dstBytes, &st);
        struct stat followed;
        const bool isFolder = statPath(encoded(src), &followed) && S_ISDIR(followed.st_mode);
        if (isFolder) {
            if (dstExists)
                return;
            QVariantMap folderAttributes;
            folderAttributes.insert(QLatin1String(PvFilePosixPermissions), int(attributes.st_mode & 07777));
            ok = makeFolder(dst, folderAttributes);
            return;
        }
        if (dstExists) {
            if (!replace)
                return;
            if (!removeItem(dst)) {
                ok = false;
                return;
            }
        }
        if (handler)
            handler->willProcessPath(src);
        if (const int error = copyItem(src, dst))
            ok = handler && handler->shouldProceedAfterError(src, dst, error);
    });
    return ok;
}

bool isFilePackageAtPath(const QString& path)
{
    struct stat st;
    if (path.isEmpty() || !statPath(encoded(path), &st) || !S_ISDIR(st.st_mode))
        return false;
    QString name = QDir::cleanPath(path);
    name = lastComponent(name);
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    if (dot > 0) {
        const QString extension = name.mid(dot + 1);
        for (const char* known : kBundleExtensions)
            if (extension.compare(QLatin1String(known), Qt::CaseInsensitive) == 0)
                return true;
    }
    struct stat plist;
    if (statPath(encoded(joined(path, QStringLiteral("Contents/Info.plist"))), &plist)
        && S_ISREG(plist.st_mode))
        return true;
    uint8_t info[32];
    return PvReadFinderInfo(path, info) == noErr && (PvFinderInfoFlags(info) & kPvFinderHasBundle);
}

bool isSymbolicLinkAtPath(const QString& path)
{
    if (path.isEmpty())
        return false;
    char target[8];
    return ::readlink(encoded(path).constData(), target, sizeof target) >= 0;
}

namespace {

std::optional<QStringList> contents(
    const QString& path, bool deep, bool packages, std::vector<FolderKey>& open)
{
    const QByteArray bytes = encoded(path);
    struct stat st;
    if (!statPath(bytes, &st) || !S_ISDIR(st.st_mode))
        return std::nullopt;
    std::vector<QByteArray> names;
    if (!listFolder(bytes, &names))
        return std::nullopt;
    QStringList result;
    for (const QByteArray& name : names) {
        const QString full = joined(path, QFile::decodeName(name));
        struct stat entry;
        if (!lstatPath(encoded(full), &entry) || S_ISLNK(entry.st_mode))
            continue;
        if (S_ISDIR(entry.st_mode) && deep && (packages || !isFilePackageAtPath(full))) {
            const FolderKey key(entry.st_dev, entry.st_ino);
            if (std::find(open.begin(), open.end(), key) != open.end())
                continue;
            open.push_back(key);
            if (std::optional<QStringList> inner = contents(full, deep, packages, open))
                result += *inner;
            open.pop_back();
            continue;
        }
        result.append(full);
    }
    return result;
}

} // namespace

std::optional<QStringList> contentPathsAtPath(const QString& path, bool deep, bool packages)
{
    if (path.isEmpty())
        return std::nullopt;
    std::vector<FolderKey> open;
    struct stat st;
    if (statPath(encoded(path), &st))
        open.emplace_back(st.st_dev, st.st_ino);
    return contents(path, deep, packages, open);
}

QString resolveFile(const QString& basePath, const QStringList& extensions)
{
    QString base = basePath;
    while (base.size() > 1 && base.endsWith(QLatin1Char('/')))
        base.chop(1);
    if (base.isEmpty())
        return QString();
    for (const QString& extension : extensions) {
        const QString candidate = base + QLatin1Char('.') + extension;
        struct stat st;
        if (statPath(encoded(candidate), &st))
            return candidate;
    }
    return QString();
}

QString resolveFile(const QString& name, const QString& directory, const QStringList& extensions)
{
    return resolveFile(joined(directory, name), extensions);
}

QString pathByResolvingSymlinksAndAliasesInPath(const QString& path)
{
    if (path.isEmpty())
        return QString();
    const QString absolute = QDir::cleanPath(QDir::current().absoluteFilePath(expandTilde(path)));
    QString resolved;
    if (!resolveLinks(absolute, &resolved))
        return absolute;

    FSRef ref;
    if (PvCatalog::MakeRef(resolved, &ref) != noErr) {
        if (resolved == QLatin1String("/"))
            return resolved;
        // Resolve the folders above and try the item again below the result.
        const QString parent = pathByResolvingSymlinksAndAliasesInPath(parentPath(resolved));
        resolved = joined(parent, lastComponent(resolved));
        if (PvCatalog::MakeRef(resolved, &ref) != noErr)
            return resolved;
    }
    struct stat st;
    if (!lstatPath(encoded(resolved), &st) || !S_ISLNK(st.st_mode))
        return resolved; // not a link file
    FSSpec fsSpec;
    bool isFolder = false;
    bool wasAliased = false;
    QString target;
    if (PvCatalog::RefSpec(&ref, &fsSpec) != noErr
        || PvCatalog::ResolveAliasFile(&fsSpec, &isFolder, &wasAliased) != noErr || !wasAliased
        || PvCatalog::SpecPath(&fsSpec, &target) != noErr)
        return resolved;
    return target;
}

bool isFileVisible(const QString& path)
{
    if (path.isEmpty())
        return false;
    const QString resolved = pathByResolvingSymlinksAndAliasesInPath(path);
    FSRef ref;
    struct stat st;
    // The reference must name an item that exists: a dangling link or a loop of links
    // names nothing.
    if (PvCatalog::MakeRef(resolved, &ref) != noErr || !statPath(encoded(resolved), &st))
        return false;
    uint8_t info[32];
    if (PvReadFinderInfo(resolved, info, false) != noErr)
        return false;
    if (PvFinderInfoFlags(info) & kPvFinderIsInvisible)
        return false;
    return !isAppleDoubleSidecar(resolved, st);
}

QStringList PvFileManager::pluginSearchPaths(const QString& folderName) const
{
    return PVPluginSearchPaths(folderName);
}

QStringList PvFileManager::searchForPlugins(const QString& extension, const QString& folderName) const
{
    return PVSearchForPlugins(extension, folderName);
}

bool PvFileManager::createDirectoriesRecursivelyAtPath(
    const QString& path, const QVariantMap& attributes) const
{
    return ::createDirectoriesRecursivelyAtPath(path, attributes);
}

bool PvFileManager::mergePath(
    const QString& source, const QString& destination, bool replace, PvFileManagerHandler* handler) const
{
    return ::mergePath(source, destination, replace, handler);
}

bool PvFileManager::isFilePackageAtPath(const QString& path) const
{
    return ::isFilePackageAtPath(path);
}

bool PvFileManager::isSymbolicLinkAtPath(const QString& path) const
{
    return ::isSymbolicLinkAtPath(path);
}

std::optional<QStringList> PvFileManager::contentPathsAtPath(
    const QString& path, bool deep, bool packages) const
{
    return ::contentPathsAtPath(path, deep, packages);
}

QString PvFileManager::resolveFile(const QString& basePath, const QStringList& extensions) const
{
    return ::resolveFile(basePath, extensions);
}

QString PvFileManager::resolveFile(
    const QString& name, const QString& directory, const QStringList& extensions) const
{
    return ::resolveFile(name, directory, extensions);
}

QString PvFileManager::pathByResolvingSymlinksAndAliasesInPath(const QString& path) const
{
    return ::pathByResolvingSymlinksAndAliasesInPath(path);
}

bool PvFileManager::isFileVisible(const QString& path) const
{
    return ::isFileVisible(path);
}
