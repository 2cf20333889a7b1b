#include "CFileIO.h"

#include "Checksum.h"
#include "PvCatalog.h"

#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

constexpr int32_t kMoveChunk = 1024; // BlockMove transfer size
constexpr int32_t kCRCChunk = 10240; // CRC read size
constexpr int8_t kReadPermission = 1; // fsRdPerm
constexpr int8_t kReadWritePermission = 3; // fsRdWrPerm

} // namespace

CFileIO::CFileIO()
{
    Init();
}

CFileIO::CFileIO(FSSpec* fsSpec, unsigned char permission)
{
    Init();
    Open(fsSpec, permission != 0);
}

CFileIO::~CFileIO()
{
    if (mOwnsCache) {
        delete[] mCache;
        mCache = nullptr;
        mOwnsCache = 0;
    }
    Close();
}

void CFileIO::Init()
{
    mForkRef = 0;
    mCachePos = 0;
    mCacheCount = 0;
    mCache = nullptr;
    mCacheSize = 0;
    mOwnsCache = 0;
    mPos = 0;
    mWCache = nullptr;
    mWCachePtr = nullptr;
    mWCacheSize = 0;
    mWritable = 0;
}

OSErr CFileIO::Open(FSSpec* fsSpec, unsigned char permission)
{
    Close();
    mWritable = permission;
    mForkRef = -1;
    if (!fsSpec) {
        mForkRef = 0;
        return paramErr;
    }
    bool isFolder = false;
    bool aliased = false;
    OSErr err = PvCatalog::ResolveAliasFile(fsSpec, &isFolder, &aliased);
    if (err == noErr && isFolder)
        err = paramErr;
    int16_t fork = 0;
    if (err == noErr)
        err = PvForkOpen(fsSpec, permission ? kReadWritePermission : kReadPermission, &fork);
    mForkRef = err == noErr ? fork : 0;
    return err;
}

OSErr CFileIO::Close()
{
    FlushWCache(); // a close cannot keep unflushed bytes anyway; its own result counts
    DeAllocWCache();
    mCacheCount = 0;
    mPos = 0;
    if (mForkRef == 0)
        return noErr;
    const OSErr err = mForkRef > 0 ? PvForkClose(mForkRef) : OSErr(noErr);
    mWritable = 0;
    mForkRef = 0;
    return err;
}

void CFileIO::SetCache(int32_t size)
{
    uint8_t* buffer = size > 0 ? new uint8_t[size_t(size)] : nullptr;
    if (mOwnsCache)
        delete[] mCache;
    mCache = buffer;
    mCacheSize = buffer ? size : 0;
    mCachePos = 0;
    mCacheCount = 0;
    mOwnsCache = 1;
}

void CFileIO::SetCache(char* buffer, int32_t size)
{
    if (mOwnsCache)
        delete[] mCache;
    mOwnsCache = 0;
    mCache = reinterpret_cast<uint8_t*>(buffer);
    mCacheSize = buffer && size > 0 ? size : 0;
    if (!mCacheSize)
        mCache = nullptr;
    mCachePos = 0;
    mCacheCount = 0;
}

OSErr CFileIO::SetWCache(int size)
{
    if (OSErr err = FlushWCache())
        return err;
    delete[] mWCache;
    mWCache = size > 0 ? new uint8_t[size_t(size)] : nullptr;
    mWCachePtr = mWCache;
    mWCacheSize = mWCache ? size : 0;
    return noErr;
}

OSErr CFileIO::SetWCache(char* buffer, int32_t size)
{
    if (OSErr err = FlushWCache())
        return err;
    delete[] mWCache;
    mWCache = reinterpret_cast<uint8_t*>(buffer);
    mWCachePtr = mWCache;
    mWCacheSize = mWCache && size > 0 ? size : 0;
    return noErr;
}

OSErr CFileIO::FlushWCache()
{
    if (!mWCache)
        return noErr;
    const int32_t collected = int32_t(mWCachePtr - mWCache);
    if (collected > 0) {
        if (OSErr err = writeDirect(mWCache, mPos, collected))
            return err; // the bytes stay collected for a later flush
        mPos += collected;
    }
    mWCachePtr = mWCache;
    return noErr;
}

void CFileIO::DeAllocWCache()
{
    delete[] mWCache;
    mWCache = nullptr;
    mWCachePtr = nullptr;
    mWCacheSize = 0;
}

OSErr CFileIO::readDirect(void* buf, int64_t pos, int32_t count)
{
    return PvForkRead(mForkRef, pos, buf, count, nullptr);
}

OSErr CFileIO::writeDirect(const void* buf, int64_t pos, int32_t count)
{
    return PvForkWrite(mForkRef, pos, buf, count, nullptr);
}

OSErr CFileIO::Read(void* buf, int64_t pos, int32_t count)
{
    auto* out = static_cast<uint8_t*>(buf);
    if (mCache && pos >= 0 && count >= 1) {
        const int64_t delta = pos - mCachePos;
        const int64_t avail = int64_t(mCacheCount) - delta;
        if (avail > 0 && delta >= 0) {
            if (count <= avail) {
                std::memcpy(out, mCache + delta, size_t(count));
                return noErr;
            }
            std::memcpy(out, mCache + delta, size_t(avail));
            out += avail;
            pos += avail;
            count -= int32_t(avail);
        }
        if (count <= mCacheSize) {
            // Refill from the first byte asked for; near the end of the file the cache
            // is filled only up to the end.
            mCachePos = pos;
            mCacheCount = mCacheSize;
            for (;;) {
                if (readDirect(mCache, mCachePos, mCacheCount) == noErr) {
                    std::memcpy(out, mCache, size_t(count));
                    return noErr;
                }
                int64_t length = 0;
                PvForkGetSize(mForkRef, &length);
                const int64_t rest = length - pos;
                if (rest >= mCacheCount || rest < count)
                    break;
                mCacheCount = int32_t(rest);
            }
            mCacheCount = 0;
        }
    }
    return readDirect(out, pos, count);
}

OSErr CFileIO::Read(void* buf, int32_t count)
{
    const OSErr err = Read(buf, mPos, count);
    if (err == noErr)
        mPos += count;
    return err;
}

OSErr CFileIO::Read(void** outBuf, int32_t* outSize)
{
    if (!outBuf || !outSize)
        return paramErr;
    int64_t length = 0;
    const OSErr err = PvForkGetSize(mForkRef, &length);
    *outSize = err == noErr ? int32_t(uint32_t(uint64_t(length))) : 0;
    *outBuf = nullptr;
    if (err != noErr)
        return err;
    if (*outSize < 1)
        return noErr;
    void* buffer = std::malloc(size_t(*outSize));
    if (!buffer)
        return memFullErr;
    *outBuf = buffer;
    return Read(buffer, *outSize);
}

int32_t CFileIO::ReadUntil(char* buf, int32_t bufLen, char delimiter, int32_t* outPos, int32_t* outEOF)
{
    if (buf && bufLen > 0)
        std::memset(buf, 0, size_t(bufLen));
    int32_t length = int32_t(uint32_t(uint64_t(GetEOF())));
    if (outEOF)
        *outEOF = length;
    int32_t stored = 0;
    int32_t result = 0;
    for (;;) {
        char byte = 0;
        const OSErr err = Read(&byte, mPos, 1);
        if (err == noErr)
            mPos += 1;
        if (mPos > int64_t(length)) {
            result = 1;
            break;
        }
        if (err != noErr) {
            result = err;
            break;
        }
        if (byte == delimiter) {
            result = 0;
            break;
        }
        if (buf && stored < bufLen)
            buf[stored++] = byte;
        // A full buffer drops the byte: over-long lines are cut but still consumed.
    }
    if (outPos)
        *outPos = int32_t(uint32_t(uint64_t(mPos)));
    return result;
}

OSErr CFileIO::UnRead(int32_t count)
{
    mPos -= count;
    if (mPos < 0) {
        mPos = 0;
        return posErr;
    }
    return noErr;
}

OSErr CFileIO::Write(const void* buf, int64_t pos, int32_t count)
{
    mCacheCount = 0;
    FlushWCache(); // positioned writes go straight to the file after the collected bytes
    return writeDirect(buf, pos, count);
}

OSErr CFileIO::Write(const void* buf, int32_t count)
{
    if (count < 0)
        return paramErr;
    const int32_t room = mWCache ? mWCacheSize - int32_t(mWCachePtr - mWCache) : 0;
    if (room >= count) {
        if (count > 0) {
            std::memcpy(mWCachePtr, buf, size_t(count));
            mWCachePtr += count;
        }
        return noErr;
    }
    FlushWCache();
    const OSErr err = Write(buf, mPos, count);
    if (err == noErr)
        mPos += count;
    return err;
}

int64_t CFileIO::GetEOF()
{
    int64_t length = 0;
    GetEOF(&length);
    return length;
}

OSErr CFileIO::GetEOF(int64_t* outEOF)
{
    int64_t length = 0;
    const OSErr err = PvForkGetSize(mForkRef, &length);
    if (outEOF)
        *outEOF = err == noErr ? length : 0;
    return err;
}

OSErr CFileIO::SetEOF(int64_t newEOF)
{
    if (mPos > newEOF)
        mPos = newEOF;
    return PvForkSetSize(mForkRef, newEOF);
}

OSErr CFileIO::BlockMove(int64_t from, int64_t to)
{
    if (mForkRef <= 0 || !mWritable)
        return fnOpnErr;
    std::unique_ptr<uint8_t[]> buffer(new uint8_t[kMoveChunk]);
    if (from == to)
        return noErr;
    const int64_t delta = to - from;
    OSErr err = noErr;
    if (to > from) {
        // Towards the end: grow first, then copy back to front so that nothing is
        // overwritten before it was read.
        const int64_t newLength = GetEOF() + delta;
        if (mPos > newLength)
            mPos = newLength;
        if ((err = PvForkSetSize(mForkRef, newLength)) != noErr)
            return err;
        int64_t p = newLength - kMoveChunk - delta;
        int64_t chunk = kMoveChunk;
        bool last = false;
        do {
            if (p < from) {
                chunk += p - from;
                p = from;
                last = true;
            }
            if (chunk != 0) {
                err = Read(buffer.get(), p, int32_t(chunk));
                if (err == noErr)
                    err = Write(buffer.get(), p + delta, int32_t(chunk));
                if (err != noErr)
                    break;
            }
            p -= chunk;
        } while (!last);
    } else {
        // Towards the start: copy front to back, then cut the file.
        int64_t p = from;
        int64_t chunk = kMoveChunk;
        bool last = false;
        do {
            const int64_t length = GetEOF();
            if (p > length - chunk) {
                chunk = length - p;
                last = true;
            }
            if (chunk != 0) {
                err = Read(buffer.get(), p, int32_t(chunk));
                if (err == noErr)
                    err = Write(buffer.get(), p + delta, int32_t(chunk));
                if (err != noErr)
                    break;
            }
            p += chunk;
        } while (!last);
        if (err == noErr) {
            const int64_t newLength = GetEOF() + delta;
            if (mPos > newLength)
                mPos = newLength;
            PvForkSetSize(mForkRef, newLength);
        }
    }
    return err;
}

uint32_t CFileIO::CRC()
{
    int64_t remaining = GetEOF();
    std::unique_ptr<uint8_t[]> buffer(new uint8_t[kCRCChunk]);
    uint32_t crc = 0;
    while (remaining != 0) {
        const int32_t chunk = remaining >= kCRCChunk ? kCRCChunk : int32_t(remaining);
        if (Read(buffer.get(), mPos, chunk) != noErr)
            return 0xFFFFFFFFu;
        mPos += chunk;
        crc = PVCRC32(crc, buffer.get(), uint32_t(chunk));
        remaining -= chunk;
    }
    return crc;
}
