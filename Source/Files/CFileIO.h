// CFileIO: buffered, 64-bit positioned access to the data fork of one file.
//
// The class wraps an open fork (a file descriptor of the platform layer, read and
// written with positioned calls that never move a shared offset) and adds:
// - a read cache: a stretch of the file kept in memory and refilled on demand, so that
//   small reads (single bytes, chunk headers) cost no system call;
// - a write cache: an append buffer that collects small sequential writes at the
//   current position ("mark") until it is flushed;
// - whole-file operations: read everything, set the length, move the tail of the file
//   (BlockMove) and checksum it (CRC).
// A fresh object has neither cache; SetCache and SetWCache install them. The two caches
// are independent: a sequential read does not see bytes still collected in the write
// cache, so callers that mix both flush first. Every operation is synchronous and
// returns a File Manager result code (0 = success); opening a folder gives paramErr,
// BlockMove on a file not open for writing fnOpnErr, UnRead before the start posErr,
// reads past the end eofErr.
//
// Ownership: the object owns its write-cache buffer (also one the caller hands over)
// and a read-cache buffer it allocated itself; a read-cache buffer the caller supplies
// stays the caller's. Threads: one object is used by one thread at a time.
#pragma once

#include "PvMacTypes.h"

#include <cstdint>

class CFileIO {
public:
    /// A closed object with no caches.
    CFileIO();
    /// Opens the file at once (permission non-zero: read and write); on failure the
    /// object stays closed (isOpen() tells), the error is not reported.
    CFileIO(FSSpec* fsSpec, unsigned char permission);
    /// Releases an owned read cache, then Close().
    ~CFileIO();
    CFileIO(const CFileIO&) = delete;
    CFileIO& operator=(const CFileIO&) = delete;

    /// Sets every field to zero without releasing anything (for derived classes that
    /// reset after a close).
    void Init();

    /// Closes any open file, follows symbolic links from the FSSpec to the final target
    /// (rewriting *fsSpec to name it), and opens its data fork for reading, or for reading
    /// and writing when permission is non-zero. paramErr for a folder or a null FSSpec,
    /// fnfErr for a missing item, permErr when access is refused.
    OSErr Open(FSSpec* fsSpec, unsigned char permission);
    OSErr OpenRead(FSSpec* fsSpec) { return Open(fsSpec, 0); }
    OSErr OpenReadWrite(FSSpec* fsSpec) { return Open(fsSpec, 1); }
    /// Flushes the write cache (its result is ignored) and releases it, empties the read
    /// cache (keeping its buffer), sets the position to 0 and closes the fork; returns
    /// the close result, or 0 when nothing was open.
    OSErr Close();

    /// Installs a new read cache of `size` bytes owned by the object (size < 1: none).
    void SetCache(int32_t size);
    /// Installs the caller's buffer as read cache (the caller keeps owning it);
    /// SetCache(nullptr, 0) switches the read cache off.
    void SetCache(char* buffer, int32_t size);

    /// Flushes, then installs a new write cache of `size` bytes (size < 1: none). When
    /// the flush fails its error is returned and nothing changes.
    OSErr SetWCache(int size);
    /// The same with the caller's buffer, which the object then owns (delete[]).
    OSErr SetWCache(char* buffer, int32_t size);
    /// Writes the collected bytes at the position and advances it past them. On failure
    /// the bytes stay collected (nothing is lost) and the position is unchanged.
    OSErr FlushWCache();
    /// Releases the write cache without flushing: collected bytes are discarded.
    void DeAllocWCache();

    /// Reads `count` bytes at `pos` through the read cache; the position is unchanged.
    OSErr Read(void* buf, int64_t pos, int32_t count);
    /// Reads `count` bytes at the position and advances it on success.
    OSErr Read(void* buf, int32_t count);
    /// Reads as many bytes as the file is long, from the position, into a buffer
    /// allocated with malloc (the caller frees it). *outSize is the file's length (low
    /// 32 bits); an empty file gives 0 and a null buffer.
    OSErr Read(void** outBuf, int32_t* outSize);
    /// Reads bytes up to `delimiter` (consumed, not stored) into buf, keeping at most
    /// bufLen bytes of the line (the rest is consumed and dropped; buf is terminated
    /// only when shorter). Returns 0 at a delimiter, the read error at the end of the
    /// file (eofErr), or 1 when the position lies past the length measured at the start.
    /// *outPos is the new position, *outEOF that length.
    int32_t ReadUntil(char* buf, int32_t bufLen, char delimiter, int32_t* outPos, int32_t* outEOF);
    /// Moves the position back by count bytes; posErr (and position 0) before the start.
    OSErr UnRead(int32_t count);
    /// Empties the read cache, flushes the write cache (result ignored) and writes
    /// `count` bytes at `pos`; the position is unchanged.
    OSErr Write(const void* buf, int64_t pos, int32_t count);
    /// Sequential write at the position through the write cache. Bytes that fit are only
    /// collected (the position moves when they are flushed); others are written at once
    /// after a flush, advancing the position.
    OSErr Write(const void* buf, int32_t count);

    /// The file's length, 0 when it cannot be obtained.
    int64_t GetEOF();
    /// Stores the length (0 on failure) and returns the platform's result.
    OSErr GetEOF(int64_t* outEOF);
    /// Sets the file's length, pulling the position back to it when it lies beyond.
    /// Neither cache is flushed or emptied.
    OSErr SetEOF(int64_t newEOF);
    /// Moves every byte from `from` to the end of the file so that it starts at `to`;
    /// the file grows or shrinks by to - from. fnOpnErr unless open for writing.
    OSErr BlockMove(int64_t from, int64_t to);
    /// CRC-32 (PVCRC32) of as many bytes as the file is long, read from the position on
    /// in 10240-byte blocks; 0xFFFFFFFF when a read fails (as it does when the position
    /// is not 0). The position ends at the end of the file.
    uint32_t CRC();

    /// Whether a fork is open.
    bool isOpen() const { return mForkRef > 0; }
    /// Whether the file was opened for writing.
    bool isWritable() const { return mWritable != 0; }
    /// The current position (mark).
    int64_t position() const { return mPos; }
    /// File position of the first byte in the read cache, and how many bytes it holds.
    int64_t cachePosition() const { return mCachePos; }
    int32_t cacheCount() const { return mCacheCount; }
    /// Bytes collected in the write cache and not yet flushed.
    int32_t writeCacheCount() const { return mWCache ? int32_t(mWCachePtr - mWCache) : 0; }

protected:
    int16_t mForkRef; ///< open fork, 0 = none, -1 while opening
    int64_t mCachePos; ///< file position of mCache[0]
    int32_t mCacheCount; ///< valid bytes in the read cache
    uint8_t* mCache; ///< read-cache buffer or null
    int32_t mCacheSize; ///< capacity of the read cache
    uint8_t mOwnsCache; ///< 1: mCache came from SetCache(int32_t) and is ours
    int64_t mPos; ///< the mark
    uint8_t* mWCache; ///< write-cache buffer (always ours) or null
    uint8_t* mWCachePtr; ///< end of the collected bytes
    int32_t mWCacheSize; ///< capacity of the write cache
    uint8_t mWritable; ///< permission given to Open

private:
    OSErr readDirect(void* buf, int64_t pos, int32_t count);
    OSErr writeDirect(const void* buf, int64_t pos, int32_t count);
};
