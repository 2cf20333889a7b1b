// The File Manager's catalog on Linux: volumes, directory IDs, FSRef and FSSpec records.
//
// Classic Mac file code names items by volume reference number, directory ID and name,
// or by an opaque FSRef. Linux has paths and (device, inode) pairs. PvCatalog is the
// process-wide bridge between the two:
//
// - Volumes are the mounted file systems of the mount table (/proc/self/mountinfo),
//   without the kernel's pseudo file systems (proc, sysfs, cgroup, devpts and the like).
//   Each mount gets a negative volume reference number the first time the catalog sees
//   it: the volume of "/" is the default volume and is numbered first (-100), the others
//   follow in mount-table order (-101, -102, ...). A number stays with its mount point
//   and device for the life of the process; a file system that is unmounted and mounted
//   again gets a new number, as on the Mac.
// - A volume's name is the last component of its mount point (a file system mounted at
//   /media/user/Drums is "Drums"). The default volume is named after the label of its
//   device (/dev/disk/by-label) and, when it has none, "Linux HD". A ':' in a volume
//   name is shown as '/', as HFS shows it. Names need not be unique: an HFS path names
//   the first volume of that name (compared without regard to case) in walk order.
// - Folders get 32-bit directory IDs: the root folder of every volume is 2 and its
//   parent is 1 (fsRtParID), as on HFS. Other folders use their inode number when it is
//   above 2 and fits in 31 bits (so the ID is the same in every process), otherwise an
//   ID the catalog picks. The catalog maps an ID back to its folder only for folders it
//   has met in this process.
// - An FSRef names an existing file or folder by device and inode. The catalog keeps
//   the path where it last met the item and checks, at every lookup, that the item at
//   that path still has the same device and inode; a renamed, moved or deleted item
//   makes the lookup fail with fnfErr. Symbolic links are items of their own (FSRefs
//   name the link, not its target), like alias files on the Mac.
// - An FSSpec holds the volume, the parent folder's ID and the name in Mac Roman, at
//   most 31 bytes. ':' in a POSIX name appears as '/' in the FSSpec and back. A name
//   that does not fit (too long or with characters Mac Roman lacks) is shortened the
//   way the Mac File Manager shortens long names ("Very long na#1F2A.wav"); the catalog
//   remembers such names so that the FSSpec still finds its item.
//
// All functions are thread-safe (one lock guards the catalog) and return File Manager
// result codes: nsvErr for an unknown volume, dirNFErr for an unknown folder ID,
// fnfErr for an item that does not exist, errFSBadFSRef for a record the catalog did
// not make, paramErr for null arguments.
#pragma once

#include "PvMacTypes.h"

#include <QString>

#include <cstdint>

/// What the catalog reports about one mounted volume.
struct PvVolumeInfo {
    int16_t vRefNum = 0;
    QString name; ///< volume name as described above
    QString mountPoint; ///< absolute mount point, "/" for the default volume
    QString fsType; ///< file system type from the mount table ("ext4", "tmpfs")
    QString source; ///< mounted device or source from the mount table
};

class PvCatalog {
public:
    /// The volume reference number of the default volume (the one mounted at "/").
    static int16_t DefaultVolume();

    /// Volume by 1-based index in mount-table order (the default volume is index 1),
    /// as the classic volume walk asks for it. nsvErr past the last volume.
    /// The mount table is read again whenever the kernel reports a mount or unmount.
    static OSErr VolumeInfoByIndex(int index, PvVolumeInfo* out);

    /// Volume by reference number; nsvErr when no mounted volume has it.
    static OSErr VolumeInfoByRefNum(int16_t vRefNum, PvVolumeInfo* out);

    /// The volume whose mount point is the longest leading part of the absolute path
    /// (the path need not exist). nsvErr for a relative path.
    static OSErr VolumeForPath(const QString& absolutePath, PvVolumeInfo* out);

    /// FSRef of the item at an absolute path (symbolic links in the last component are
    /// not followed). fnfErr when nothing is there; *isFolder tells whether it is a folder.
    static OSErr MakeRef(const QString& absolutePath, FSRef* out, bool* isFolder = nullptr);

    /// The path of the item an FSRef names, after checking its device and inode.
    static OSErr RefPath(const FSRef* ref, QString* path, bool* isFolder = nullptr);

    /// FSSpec of the item an FSRef names (volume, parent folder ID, Mac Roman name).
    /// The root folder of a volume gives (volume, 1, volume name).
    static OSErr RefSpec(const FSRef* ref, FSSpec* out);

    /// The item's name as the catalog shows it in Unicode (':' of the POSIX name as '/').
    static OSErr RefUnicodeName(const FSRef* ref, HFSUniStr255* out);

    /// The directory ID of the folder an FSRef names; dirNFErr when it is not a folder.
    static OSErr RefFolderID(const FSRef* ref, int32_t* dirID);

    /// The path an FSSpec names, whether or not the item exists (its folder must).
    /// An empty name names the folder itself; parID 1 with the volume name names the root.
    static OSErr SpecPath(const FSSpec* fsSpec, QString* path);

    /// FSRef of the existing item an FSSpec names (FSpMakeFSRef).
    static OSErr SpecRef(const FSSpec* fsSpec, FSRef* out);

    /// Fills an FSSpec from volume, folder ID and Pascal name (FSMakeFSSpec). The name
    /// is copied as given (at most 63 bytes kept). Returns noErr when the item exists,
    /// fnfErr when only its folder exists (the FSSpec is then still filled), or the error
    /// of the volume or folder lookup.
    static OSErr MakeSpec(int16_t vRefNum, int32_t dirID, const unsigned char* pascalName, FSSpec* out);

    /// Follows symbolic links from the item an FSSpec names to the final target and
    /// rewrites the FSSpec to name the target (ResolveAliasFile with chains followed).
    /// fnfErr when the item or a link target does not exist; *isFolder and *wasAliased
    /// (when given) say whether the target is a folder and whether a link was followed.
    static OSErr ResolveAliasFile(FSSpec* fsSpec, bool* isFolder, bool* wasAliased);

    /// Converts an HFS path ("Volume:Folder:File", ":Relative:Path", trailing ':' for a
    /// folder) to an absolute POSIX path. A relative HFS path is taken relative to the
    /// current folder. Returns an empty string when the volume is not mounted.
    static QString PosixPathFromHFS(const QString& hfsPath);

    /// Converts an absolute POSIX path to an HFS path starting with the volume name;
    /// an empty string for a relative path.
    static QString HFSPathFromPosix(const QString& posixPath, bool isFolder);

    /// Maps an errno value to the File Manager result code of the same failure.
    static OSErr ErrorFromErrno(int error);
};

/// Data fork access by fork reference number (a file descriptor of this process).
/// Reads and writes are positioned (pread/pwrite) and never move a shared offset.
extern "C" {
/// Opens the data fork of the item an FSSpec names, for reading (permission 1) or for
/// reading and writing (permission 3). The fork reference number is never 0.
OSErr PvForkOpen(const FSSpec* fsSpec, int8_t permission, int16_t* refNum);
/// Closes a fork; rfNumErr for a number that is not open.
OSErr PvForkClose(int16_t refNum);
/// Reads exactly count bytes at an absolute offset; eofErr when the fork ends first
/// (*actual, when given, tells how many bytes arrived).
OSErr PvForkRead(int16_t refNum, int64_t offset, void* buffer, int32_t count, int32_t* actual);
/// Writes count bytes at an absolute offset, growing the fork as needed.
OSErr PvForkWrite(int16_t refNum, int64_t offset, const void* buffer, int32_t count, int32_t* actual);
/// The fork's length in bytes.
OSErr PvForkGetSize(int16_t refNum, int64_t* size);
/// Sets the fork's length, cutting or extending with zero bytes.
OSErr PvForkSetSize(int16_t refNum, int64_t size);
}
