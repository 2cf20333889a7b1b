// Finder information of files and folders on Linux.
//
// The Finder keeps 32 bytes of information with every item: for a file its type and
// creator codes and its Finder flags, for a folder its window rectangle and the same
// flags. Here the bytes live in the extended attribute "user.com.apple.FinderInfo"; a
// file copied from a Mac without extended attributes carries them in an AppleDouble
// sidecar file "._<name>" next to it (entry 9 of the sidecar), which is read when the
// attribute is absent. An item with neither has all-zero Finder information, as a new
// file on the Mac has.
//
// The layout of the 32 bytes (all values big-endian): file type at offset 0, creator at
// 4, Finder flags at 8 (for folders too), the rest location and reserved fields.
// Functions keep no state and may run on any thread.
#pragma once

#include "PvMacTypes.h"

#include <QByteArray>
#include <QString>

#include <cstdint>

/// Finder flag bits (offset 8 of the Finder information).
enum : uint16_t {
    kPvFinderIsInvisible = 0x4000, ///< the Finder does not show the item
    kPvFinderHasBundle = 0x2000, ///< a folder shown as one document (a package)
};

/// Name of the extended attribute that holds the Finder information.
inline constexpr const char kPvFinderInfoAttribute[] = "user.com.apple.FinderInfo";

/// Reads the 32 bytes of Finder information of the item at `path` into `info`.
/// Symbolic links are followed when `followLinks` is true; otherwise a link's own
/// information is read (Linux keeps no user attributes on links, so that is the sidecar
/// or zeros). Returns noErr (with zeros when the item carries no information), fnfErr
/// when nothing is at the path, paramErr for a null `info` or an empty path, or the
/// File Manager code of another failure (permErr when the attribute cannot be read).
OSErr PvReadFinderInfo(const QString& path, uint8_t info[32], bool followLinks = true);

/// Finds the Finder information entry (entry ID 9, at least 32 bytes long) in the bytes
/// of an AppleDouble file and copies its first 32 bytes into `info`. Every offset and
/// length is checked against the size of `bytes`; false for anything that is not an
/// AppleDouble header (magic 0x00051607) or lacks a complete entry. `info` is changed
/// only on success.
bool PvFinderInfoFromAppleDouble(const QByteArray& bytes, uint8_t info[32]);

/// The file type code of Finder information (bytes 0-3).
FourCharCode PvFinderInfoFileType(const uint8_t info[32]);

/// The Finder flags of Finder information (bytes 8-9).
uint16_t PvFinderInfoFlags(const uint8_t info[32]);
