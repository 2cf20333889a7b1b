// Alias records on Linux: persistent bookmarks that find a file again after it moved.
//
// An alias record is a byte block that names one file or folder well enough to find it
// again later, in another process, after the item was renamed or moved within its
// volume, after its folders were renamed, and after its volume was mounted somewhere
// else. The record is a binary property list (a dictionary, so that later versions can
// add keys) holding:
//   - the item's absolute path with symbolic links of its folders resolved;
//   - its volume: mount point, name, file system type, mounted source, the file system
//     UUID and label when the system knows them (/dev/disk/by-uuid, /dev/disk/by-label),
//     and the path of the item below the mount point;
//   - its identity on that volume: inode number, kind (file, folder, link) and birth time
//     where the file system keeps one;
//   - for a relative alias, the path from the folder of the "from" item to the item.
//
// Resolution tries, in order: the recorded path when the item there has the recorded
// identity; the relative path from the given "from" item; the recorded path below the
// mount point of the same volume found again by UUID, label, source or name; a search
// for the identity in the folders around the old place (the old folder's subtree first,
// then each enclosing folder up to the volume's root, at most 100000 directory entries,
// never crossing into other file systems); and finally whatever item now sits at the
// recorded path (an editor that saves by writing a new file and renaming it replaces
// the inode). Records come from outside and are checked: any malformed record gives
// paramErr, never a crash.
//
// Thread-safe: both functions only read the file system and the catalog.
#pragma once

#include "PvMacTypes.h"

#include <QByteArray>

/// Makes an alias record for the existing item `target`; when `fromFile` is given the
/// record also holds the path relative to fromFile's folder. Returns noErr, paramErr for
/// a null target or record, or the catalog's error for a stale FSRef (fnfErr).
OSErr PvNewAlias(const FSRef* target, const FSRef* fromFile, QByteArray* record);

/// Finds the item of an alias record as described above and stores its FSRef in
/// *target. *wasChanged (when given) tells whether the item was found somewhere other
/// than its recorded path. fnfErr when it cannot be found, paramErr for a malformed record.
OSErr PvResolveAlias(const QByteArray& record, const FSRef* fromFile, FSRef* target, bool* wasChanged);
