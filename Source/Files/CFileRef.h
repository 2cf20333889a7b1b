// CFileRef: one file or folder, named in every form the host applications meet.
//
// A reference keeps the item as a URL (a file URL; folders end in '/') and, whenever
// the item exists, as an FSRef; it converts on demand to POSIX, HFS and Windows-style
// paths, to an FSSpec, a parent folder ID and a volume reference number. A reference
// to an item that does not exist yet (a file about to be created) holds only the URL.
// CFileRefToData / CFileRefFromData serialise a reference with an alias record so that
// it survives moving and renaming of the item and remounting of its volume.
//
// Relative paths are made absolute against the current folder when they are set.
// Ownership: the reference owns its URL and its path cache (GetPath()).
// Threads: one reference is used by one thread at a time.
#pragma once

#include "PvMacTypes.h"

#include <QString>
#include <QUrl>

#include <cstdint>

/// Syntax of a path string: 0 POSIX ("/" separated), 1 HFS (":" separated, starting
/// with the volume name), any other value Windows style ("\" separated, "C:\..." or
/// "\\host\share\...", which become file:///C:/... and file://host/share/... URLs).
typedef int32_t tPathStyle;
enum : tPathStyle { kPathStylePOSIX = 0, kPathStyleHFS = 1, kPathStyleWindows = 2 };

class CFileRef {
public:
    /// mValid bits.
    enum : uint32_t { kFSRefValid = 1, kURLValid = 2 };

    // Each constructor starts empty and calls the matching Set.
    CFileRef();
    explicit CFileRef(const FSSpec* fsSpec);
    explicit CFileRef(const FSRef* ref);
    CFileRef(const char* path, tPathStyle style, unsigned char isDirectory);
    CFileRef(const char* posixPath, unsigned char isDirectory);
    CFileRef(int16_t vRefNum, int32_t dirID, unsigned char* pascalName);
    CFileRef(const QString& path, tPathStyle style, unsigned char isDirectory);
    CFileRef(const QString& dirPath, const QString& name);
    /// Copies adopt an absolute copy of the other's URL and resolve the FSRef again.
    CFileRef(const CFileRef& other);
    CFileRef& operator=(const CFileRef& other);
    /// = ReInit().
    ~CFileRef();

    /// Sets every field to its empty value without releasing anything (for derived
    /// classes that reset after a close).
    void Init();
    /// Releases the URL and the path cache and clears the flags and the FSRef.
    void ReInit();

    // ---- Setting: each first calls ReInit() and returns true when a URL is set. ----

    /// From an FSRef (false for null or for a record that names nothing now).
    bool Set(const FSRef* ref);
    /// From an FSSpec, found again on another volume when its volume number is stale
    /// (see CheckVRefNum). False, with the reference empty, when it names nothing.
    bool Set(const FSSpec* fsSpec);
    /// From volume, folder ID and Pascal name (an empty name names the folder itself).
    bool Set(int16_t vRefNum, int32_t dirID, unsigned char* pascalName);
    /// From a POSIX path in the file system's representation (UTF-8 bytes). False for a
    /// null or empty path.
    bool Set(const char* posixPath, unsigned char isDirectory);
    /// Adopts a URL as it is (false for an empty or invalid URL, or one that is not a
    /// file URL).
    bool Set(const QUrl& url);
    /// A normalised copy: the URL's POSIX path made into a file URL with the given
    /// directory flag.
    bool Set(const QUrl& url, unsigned char isDirectory);
    /// From a path in the given style. False when no URL results (an HFS path whose
    /// volume is not mounted, an empty path).
    bool Set(const QString& path, tPathStyle style, unsigned char isDirectory);
    /// The same from a zero-terminated string in the system encoding (UTF-8); text that
    /// is not UTF-8 is read as UTF-16 (little-endian) instead. Null counts as "".
    bool Set(const char* path, tPathStyle style, unsigned char isDirectory);
    /// dirPath + "/" + name as a POSIX path; a folder reference to dirPath alone when
    /// name is null.
    bool Set(const QString& dirPath, const QString& name);
    /// = Set(other's URL, isDirectory).
    bool Set(const CFileRef& other, unsigned char isDirectory);

    // ---- Querying ----

    /// Copies the FSRef when it still names an existing item, else resolves the URL into
    /// *out. False when the item does not exist.
    bool GetFSRef(FSRef* out) const;
    /// The stored FSRef (all zero when unresolved).
    FSRef* FSRefPtr() { return &mFSRef; }
    /// True when the item exists; resolves and stores the FSRef on the way.
    bool Exists();
    /// The item's FSSpec; false when it does not exist.
    bool GetFSSpec(FSSpec* out);
    /// The ID of the folder holding the item (the item need not exist when its folder
    /// does); -1 on failure.
    int32_t GetParID();
    /// The item's volume reference number, by the same route; 32767 on failure.
    int16_t GetVolumeRefNumber();
    /// The POSIX path without trailing '/' (so "/" gives ""), owned by the reference and
    /// valid until the next call or change. Null without a URL or when the path does
    /// not fit in 1024 bytes.
    const char* GetPath();
    /// The POSIX path as the URL holds it (a folder keeps its trailing '/') into buf;
    /// false without a URL or when it does not fit in `size` bytes with its terminator.
    bool GetPath(char* buf, uint32_t size) const;
    /// The path in the given style (POSIX without trailing '/'); null without a URL or
    /// when the style cannot express it (HFS for a path outside every mounted volume).
    QString GetFileSystemPath(tPathStyle style) const;
    /// The last path component; null without a URL.
    QString FileName() const;
    /// The last path component in the file system's representation, without trailing
    /// '/'; null without a URL or when it does not fit in `size` bytes.
    char* GetFileName(char* buf, int32_t size) const;
    /// The catalog's Unicode name of the item (its volume name for a root folder).
    bool UnicodeFileName(HFSUniStr255* out);
    /// Whether `other` lies at or below this reference, comparing POSIX paths without
    /// regard to case. "/" does not contain paths below "/Volumes/".
    bool PathContains(CFileRef& other);
    /// Replaces the text after the last '.' of the last path component by `ext` (given
    /// without a dot); nothing changes when there is no such dot or it is the last
    /// character. The new path is set with the directory flag, as callers expect.
    void ReplaceExtensionBy(const char* ext);
    /// Stores in the FSRef the item an FSSpec names, trying every mounted volume when
    /// the FSSpec's own volume number does not find it. False when no volume has it.
    bool CheckVRefNum(const FSSpec* fsSpec);

    /// The mValid flags (kFSRefValid, kURLValid).
    uint32_t validFlags() const { return mValid; }
    /// The reference's URL (empty when none).
    QUrl url() const { return mURL; }

protected:
    QUrl mURL; ///< the reference as a file URL; empty when none
    uint32_t mValid; ///< kFSRefValid | kURLValid
    char* mPath; ///< cache of GetPath(), array new; null until asked for
    FSRef mFSRef; ///< all zero when unresolved

    friend int CFileRefToData(const CFileRef&, unsigned char**, uint32_t*);

private:
    void setFromURL(const QUrl& url);
    bool folderSpecOfParent(FSSpec* out);
};

// ---- Plain-function interface for hosts that hold a reference as an opaque pointer.
//      Each returns false or null when given null. ----

void* CFileRefCreate(FSSpec* fsSpec);
void* CFileRefCreate(FSRef* ref);
void* CFileRefCreate(char* path, tPathStyle style, unsigned char isDirectory);
extern "C" {
void CFileRefDelete(void* ref);
bool CFileRefExists(void* ref);
bool CFileRefGetFSRef(void* ref, FSRef* out);
bool CFileRefGetFSSpec(void* ref, FSSpec* out);
bool CFileRefGetPath(void* ref, char* buf, uint32_t size);
}

/// POSIX path to FSRef; fnfErr when no URL can be made or the item does not exist.
OSErr PathToFSRef(const QString& path, FSRef* out);

/// Serialises a reference: 4-byte alias length A, 4-byte URL length U (big-endian),
/// A bytes of a keyed archive of one FileAlias (empty when the item does not exist),
/// U bytes of the URL as UTF-16 little-endian text after a byte-order mark (FF FE),
/// without escaping white space. *outData is allocated with new[]; the caller deletes
/// it with delete[]. Returns 0.
int CFileRefToData(const CFileRef& ref, unsigned char** outData, uint32_t* outSize);

/// Restores a reference from a block of CFileRefToData: through the alias when it
/// finds an existing item; otherwise from the URL part read as a keyed archive of a
/// URL object (class NSURL, keys "NS.base" and "NS.relative"). The URL part that
/// CFileRefToData writes is raw text, not an archive, so a block whose alias no longer
/// finds its item restores an empty reference. Returns 0; the reference is empty when
/// nothing can be restored.
/// The block must hold at least 8 bytes and then A + U bytes; use the size-checked
/// overload for bytes from outside.
int CFileRefFromData(CFileRef& ref, unsigned char* data);

/// The same for a block of `size` bytes: lengths that reach past the block restore an
/// empty reference.
int CFileRefFromData(CFileRef& ref, const unsigned char* data, uint32_t size);
