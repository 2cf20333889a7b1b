// FileAlias: an alias record wrapped for keyed archiving.
//
// A FileAlias carries one alias record (see PvAlias.h: a persistent bookmark that finds
// a file or folder again after it was moved, renamed or its volume remounted) through
// keyed archives, where it is the object stored in the alias part of a serialised
// CFileRef. The archive holds one FileAlias object whose only key, "aliasHandle", holds
// the record's bytes.
//
// Ownership: the object owns its record (a byte array, copied on assignment).
// Threads: an object is used by one thread at a time; distinct objects are independent.
// Errors are File Manager codes of the OSStatus error domain, stored only when an error
// pointer is given.
#pragma once

#include "PvMacTypes.h"

#include <QByteArray>
#include <QString>

class FileAlias {
public:
    /// An alias without a record; resolving it fails with paramErr.
    FileAlias() = default;

    /// Adopts the bytes of an alias record. Returns false (and keeps no record) for an
    /// empty one; a malformed record is only detected when it is resolved.
    bool initWithAliasHandle(const QByteArray& aliasHandle);

    /// Makes a new record for the existing item `target`; with `relativeTo`, the record
    /// also remembers the way from relativeTo's folder to the item. False (no record)
    /// for a null or stale FSRef.
    bool initWithFSRef(const FSRef* target, const FSRef* relativeTo = nullptr);

    /// The same from POSIX paths. A null targetPath is a programming error: it is
    /// reported on standard error ("Invalid parameter not satisfying: targetPath") and
    /// gives false with paramErr. A path naming nothing gives false with fnfErr.
    bool initWithFilePath(const QString& targetPath, OSStatus* error);
    bool initWithFilePath(const QString& targetPath, const QString& relativeToPath, OSStatus* error);

    /// The POSIX path of the item the record finds now; = filePathRelativeToPath({}, error).
    QString filePath(OSStatus* error) const;

    /// Resolves the record, relative to the item at relativePath when that is not null.
    /// A relativePath that names nothing gives a null string with its PathToFSRef error
    /// (fnfErr); a record that finds nothing gives the resolver's code (fnfErr, or
    /// paramErr for a malformed record); an item whose path cannot be made gives fnfErr.
    QString filePathRelativeToPath(const QString& relativePath, OSStatus* error) const;

    /// The record's bytes (empty when there is none).
    QByteArray aliasHandle() const { return m_alias; }

    /// The keyed archive of this object: root object of class "FileAlias" whose key
    /// "aliasHandle" holds all bytes of the record.
    QByteArray encodeWithCoder() const;

    /// Reads the record from a keyed archive made by encodeWithCoder (or by any keyed
    /// archiver with the same class and key). False, with no record kept, for anything
    /// else; never reads outside `archive`.
    bool initWithCoder(const QByteArray& archive);

private:
    QByteArray m_alias; // the alias record (the "_alias" handle of the original)
};
