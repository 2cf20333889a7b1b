// Path utilities around plug-in discovery: recursive folder creation, merging one folder
// tree into another, listing a folder with or without its sub-folders and packages,
// finding a file by trying a list of extensions, resolving links in a path, and the
// Finder's visibility of an item.
//
// Links: symbolic links play the part of alias files. Visibility: an item is invisible
// when the invisible flag (0x4000) of its Finder information is set (see PvFinderInfo.h:
// the extended attribute "user.com.apple.FinderInfo" or an AppleDouble "._" sidecar); a
// leading dot in the name does not hide anything here.
//
// Everything is offered as free functions and as members of PvFileManager, with the same
// behaviour. None of them keeps state; they may run on any thread. Paths are QStrings
// turned into the file system's representation with QFile::encodeName.
#pragma once

#include "PVPluginSearch.h"

#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <optional>

/// Key of an attributes map: the POSIX permission bits (an int such as 0755) that a new
/// folder gets exactly, whatever the process's umask. Without it folders get 0777 less
/// the umask.
inline constexpr const char PvFilePosixPermissions[] = "NSFilePosixPermissions";

/// Receives the progress and the errors of a copy made by mergePath. Both answers default
/// to "not answered": nothing is reported and an error stops the merge.
class PvFileManagerHandler {
public:
    virtual ~PvFileManagerHandler() = default;
    /// Called before the item at `sourcePath` is copied.
    virtual void willProcessPath(const QString& sourcePath) { (void)sourcePath; }
    /// Called when the copy of `sourcePath` to `destinationPath` failed with the errno
    /// value `error`. Returning true skips the item and lets the merge go on; false (the
    /// default) makes the merge fail.
    virtual bool shouldProceedAfterError(const QString& sourcePath, const QString& destinationPath, int error)
    {
        (void)sourcePath;
        (void)destinationPath;
        (void)error;
        return false;
    }
};

/// True when something exists at `path` (a file counts too) or the folder, and where
/// needed its parents, could be created with `attributes` (see PvFilePosixPermissions).
/// False for an empty path or when a folder cannot be created.
bool createDirectoriesRecursivelyAtPath(const QString& path, const QVariantMap& attributes = {});

/// Merges the tree below `source` into `destination`, walking `source` deeply: a folder
/// missing at the destination is created with the source folder's permissions; a file
/// (or link, copied as a link) is copied when nothing is at its destination, or, with
/// `replace`, after removing what is there. Existing destination items are otherwise left
/// alone, and the walk goes on into every source folder. `handler` (not owned, may be
/// null) hears of each copy. Returns false at the first folder that cannot be created or
/// copy that fails (what was merged stays), true when the walk completes (also when
/// `source` cannot be listed, as then there is nothing to merge).
bool mergePath(
    const QString& source, const QString& destination, bool replace, PvFileManagerHandler* handler = nullptr);

/// Whether `path` is a folder shown as one document: its name ends in a bundle
/// extension (app, bundle, clap, component, framework, kext, lv2, plugin, vst, vst3; any
/// case), it holds Contents/Info.plist, or its Finder flags have the bundle bit (0x2000).
/// False for anything that is not a folder.
bool isFilePackageAtPath(const QString& path);

/// Whether `path` is a symbolic link (its link text can be read).
bool isSymbolicLinkAtPath(const QString& path);

/// The full paths of the entries of the folder `path`, in name order (bytewise).
/// Symbolic links are left out. With `deep`, a folder entry is replaced by its own
/// listing (the folder itself is not listed), except a package when `packages` is false,
/// which is listed as one path. Hidden names are listed like others. std::nullopt for
/// an empty path or one that is not an existing, readable folder; an unreadable
/// sub-folder contributes nothing.
std::optional<QStringList> contentPathsAtPath(const QString& path, bool deep, bool packages);

/// The first of basePath + "." + extension, in the order of `extensions`, at which
/// something exists (links followed); a null QString when none does.
QString resolveFile(const QString& basePath, const QStringList& extensions);

/// resolveFile(directory + "/" + name, extensions).
QString resolveFile(const QString& name, const QString& directory, const QStringList& extensions);

/// The path with a leading "~" or "~user" expanded, made absolute, cleaned, and with every
/// symbolic link resolved as far as the items exist; then, when the item is a link that
/// still names nothing resolvable (a dangling link or a loop of links), the path as it
/// stands. A path whose links loop before its end is returned cleaned but unresolved.
/// Never fails: the result is always a path; an empty path gives an empty string.
QString pathByResolvingSymlinksAndAliasesInPath(const QString& path);

/// Whether the item at `path` (resolved as above) exists (a dangling link or a loop of
/// links does not), its Finder information can be read and does not have the invisible
/// flag. An AppleDouble sidecar file itself ("._name" starting with the AppleDouble
/// magic) is never visible: it is another item's Finder information. False for an
/// empty path.
bool isFileVisible(const QString& path);

/// The same functions as members, for hosts that pass a file manager around. Holds no
/// state; any number of instances may be used on any threads.
class PvFileManager {
public:
    /// = PVPluginSearchPaths.
    QStringList pluginSearchPaths(const QString& folderName) const;
    /// = PVSearchForPlugins.
    QStringList searchForPlugins(const QString& extension, const QString& folderName) const;
    bool createDirectoriesRecursivelyAtPath(const QString& path, const QVariantMap& attributes = {}) const;
    bool mergePath(const QString& source, const QString& destination, bool replace,
        PvFileManagerHandler* handler = nullptr) const;
    bool isFilePackageAtPath(const QString& path) const;
    bool isSymbolicLinkAtPath(const QString& path) const;
    std::optional<QStringList> contentPathsAtPath(const QString& path, bool deep, bool packages) const;
    QString resolveFile(const QString& basePath, const QStringList& extensions) const;
    QString resolveFile(const QString& name, const QString& directory, const QStringList& extensions) const;
    QString pathByResolvingSymlinksAndAliasesInPath(const QString& path) const;
    bool isFileVisible(const QString& path) const;
};
