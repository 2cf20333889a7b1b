// The audio file service: open files, sample transfer in canonical byte order, header
// upkeep and the safe rewriting of files whose layout changes.
#include "PvAudioFile.h"
#include "PvAudioFile_p.h"
#include "PvCatalog.h"

#include <QFile>
#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <functional>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

using namespace pvaf;

struct OpaqueAudioFileID {
    std::string path;
    int fd = -1;
    bool writable = false;
    bool dirty = false; ///< the header's sizes lag behind the data
    Layout l;
};

namespace {

constexpr const char* kForkAttr = "user.com.apple.ResourceFork";
constexpr const char* kFinderAttr = "user.com.apple.FinderInfo";
constexpr uint64_t kMaxForkBytes = 64u << 20; // far beyond any real resource fork

OSStatus fromErrno(int e)
{
    switch (e) {
    case ENOENT:
    case ENOTDIR:
        return fnfErr;
    case EACCES:
    case EPERM:
    case EROFS:
        return permErr;
    case ENOSPC:
    case EDQUOT:
        return dskFulErr;
    case EISDIR:
        return notAFileErr;
    case ENAMETOOLONG:
        return bdNamErr;
    case EMFILE:
    case ENFILE:
        return tmfoErr;
    case EEXIST:
        return dupFNErr;
    default:
        return ioErr;
    }
}

bool writeAll(int fd, uint64_t offset, const void* buffer, size_t size)
{
    const auto* p = static_cast<const uint8_t*>(buffer);
    while (size > 0) {
        const ssize_t n = ::pwrite(fd, p, size, off_t(offset));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            if (n == 0)
                errno = EIO;
            return false;
        }
        p += n;
        offset += uint64_t(n);
        size -= size_t(n);
    }
    return true;
}

std::string dirOf(const std::string& path)
{
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::string baseOf(const std::string& path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string sidecarOf(const std::string& path)
{
    return dirOf(path) + "/._" + baseOf(path);
}

void syncDir(const std::string& dir)
{
    const int d = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (d >= 0) {
        ::fsync(d);
        ::close(d);
    }
}

bool readWholeFile(const std::string& path, Bytes& out)
{
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    struct stat st { };
    bool ok = ::fstat(fd, &st) == 0 && S_ISREG(st.st_mode) && uint64_t(st.st_size) <= kMaxForkBytes;
    if (ok) {
        out.resize(size_t(st.st_size));
        ok = readAt(fd, 0, out.data(), out.size());
    }
    ::close(fd);
    return ok;
}

/// The start of the names of the temporary files that edits of `path` write: a hash
/// of the file's name rather than the name itself, so that it fits beside a name of any
/// length the file system allows, and still tells whose temporary file it is.
std::string temporaryPrefix(const std::string& path)
{
    uint64_t h = 0xCBF29CE484222325ull; // FNV-1a
    for (const char c : baseOf(path)) {
        h ^= uint8_t(c);
        h *= 0x100000001B3ull;
    }
    char name[32];
    std::snprintf(name, sizeof name, ".pvtmp-%016llx-", static_cast<unsigned long long>(h));
    return name;
}

/// Removes the temporary files that edits of `path` killed midway left behind. An edit
/// that is still running holds a lock on its temporary file, which keeps it.
void removeStaleTemporaries(const std::string& path)
{
    const std::string prefix = temporaryPrefix(path);
    DIR* d = ::opendir(dirOf(path).c_str());
    if (d == nullptr)
        return;
    while (const dirent* e = ::readdir(d)) {
        const size_t n = std::strlen(e->d_name);
        if (n != prefix.size() + 6 || std::strncmp(e->d_name, prefix.c_str(), prefix.size()) != 0)
            continue;
        const int fd = ::openat(::dirfd(d), e->d_name, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
        if (fd < 0)
            continue;
        if (::flock(fd, LOCK_EX | LOCK_NB) == 0)
            ::unlinkat(::dirfd(d), e->d_name, 0);
        ::close(fd);
    }
    ::closedir(d);
}

/// Creates the temporary file of an edit of `path`, locked for as long as the edit runs;
/// `tmp` receives its path. Returns the descriptor, or -1 with errno set.
int createTemporary(const std::string& path, std::string& tmp)
{
    removeStaleTemporaries(path);
    tmp = dirOf(path) + "/" + temporaryPrefix(path) + "XXXXXX";
    const int fd = ::mkostemp(tmp.data(), O_CLOEXEC);
    if (fd >= 0)
        ::flock(fd, LOCK_EX);
    return fd;
}

/// Writes `bytes` to a new file beside `path`, flushes it and renames it over `path`.
OSStatus replaceFileAtomically(const std::string& path, const Bytes& bytes)
{
    std::string tmp;
    const int fd = createTemporary(path, tmp);
    if (fd < 0)
        return fromErrno(errno);
    if (!writeAll(fd, 0, bytes.data(), bytes.size()) || ::fsync(fd) != 0
        || ::rename(tmp.c_str(), path.c_str()) != 0) {
        const OSStatus err = fromErrno(errno);
        ::close(fd);
        ::unlink(tmp.c_str());
        return err;
    }
    ::close(fd);
    syncDir(dirOf(path));
    return noErr;
}

/// The resource fork of a file: from the extended attribute, else from the AppleDouble file.
ForkPlace loadFork(int fd, const std::string& path, Bytes& fork)
{
    const ssize_t size = ::fgetxattr(fd, kForkAttr, nullptr, 0);
    if (size > 0 && uint64_t(size) <= kMaxForkBytes) {
        fork.resize(size_t(size));
        const ssize_t got = ::fgetxattr(fd, kForkAttr, fork.data(), fork.size());
        if (got >= 0) {
            fork.resize(size_t(got));
            return ForkPlace::Xattr;
        }
    }
    Bytes ad;
    if (readWholeFile(sidecarOf(path), ad)) {
        // An AppleDouble file, or (as some tools write it) the bare resource fork.
        if (resourceForkFromAppleDouble(ad, fork))
            return ForkPlace::Sidecar;
        fork = std::move(ad);
        return ForkPlace::Sidecar;
    }
    return ForkPlace::None;
}

bool isStructural(AudioFileTypeID type, uint32_t id)
{
    switch (type) {
    case kAudioFileAIFFType:
    case kAudioFileAIFCType:
        return isAiffStructural(id);
    case kAudioFileWAVEType:
        return isWaveStructural(id);
    case kAudioFileCAFType:
        return isCafStructural(id);
    default:
        return false;
    }
}

bool hasPad(AudioFileTypeID type)
{
    return type == kAudioFileAIFFType || type == kAudioFileAIFCType || type == kAudioFileWAVEType;
}

ChunkSizeForm chunkForm(AudioFileTypeID type)
{
    if (type == kAudioFileWAVEType)
        return ChunkSizeForm::LittleEndian32Padded;
    return type == kAudioFileCAFType ? ChunkSizeForm::BigEndian64 : ChunkSizeForm::BigEndian32Padded;
}

bool hasTrailer(const Layout& l)
{
    return std::any_of(l.chunks.begin(), l.chunks.end(), [](const Chunk& c) { return c.afterData; });
}

/// After a rewrite or a header update the header describes exactly the data present.
void headerMatchesData(Layout& l)
{
    l.declaredDataSize = l.presentDataSize = l.dataSize;
}

Bytes buildHeader(Layout& l, bool shape)
{
    switch (l.type) {
    case kAudioFileAIFFType:
    case kAudioFileAIFCType:
        return buildAiff(l, shape);
    case kAudioFileWAVEType:
        return buildWave(l, shape);
    case kAudioFileCAFType:
        return buildCaf(l, shape);
    default:
        return {};
    }
}

/// Largest file the container can describe; beyond it a write fails.
uint64_t containerLimit(AudioFileTypeID type)
{
    return (type == kAudioFileAIFFType || type == kAudioFileAIFCType) ? 0xFFFFFFFFull + 8 : UINT64_MAX;
}

OSStatus loadPayloads(const OpaqueAudioFileID* af, std::vector<Chunk>& chunks)
{
    for (Chunk& c : chunks) {
        if (c.loaded)
            continue;
        c.payload.resize(size_t(c.size));
        if (!readAt(af->fd, c.offset, c.payload.data(), c.payload.size()))
            return errno ? fromErrno(errno) : kAudioFileInvalidFileError;
        c.loaded = true;
    }
    return noErr;
}

bool copyRange(int from, uint64_t fromOffset, int to, uint64_t toOffset, uint64_t size)
{
    while (size > 0) {
        loff_t in = loff_t(fromOffset), out = loff_t(toOffset);
        const ssize_t n
            = ::copy_file_range(from, &in, to, &out, size_t(std::min<uint64_t>(size, 1u << 30)), 0);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        fromOffset += uint64_t(n);
        toOffset += uint64_t(n);
        size -= uint64_t(n);
    }
    if (size == 0)
        return true;
    if (errno == EFBIG || errno == ENOSPC || errno == EDQUOT || errno == EIO)
        return false;
    // Not supported between these files: copy through a buffer.
    Bytes buffer(size_t(std::min<uint64_t>(size, 1u << 20)));
    while (size > 0) {
        const size_t n = size_t(std::min<uint64_t>(size, buffer.size()));
        if (!readAt(from, fromOffset, buffer.data(), n) || !writeAll(to, toOffset, buffer.data(), n))
            return false;
        fromOffset += n;
        toOffset += n;
        size -= n;
    }
    return true;
}

void copyAttributes(int from, int to)
{
    const ssize_t len = ::flistxattr(from, nullptr, 0);
    if (len <= 0)
        return;
    std::string names(size_t(len), '\0');
    const ssize_t got = ::flistxattr(from, names.data(), names.size());
    if (got <= 0)
        return;
    names.resize(size_t(got));
    for (size_t at = 0; at < names.size();) {
        const char* name = names.c_str() + at;
        at += std::strlen(name) + 1;
        const ssize_t size = ::fgetxattr(from, name, nullptr, 0);
        if (size < 0)
            continue;
        Bytes value(static_cast<size_t>(size));
        const ssize_t n = ::fgetxattr(from, name, value.data(), value.size());
        if (n >= 0)
            ::fsetxattr(to, name, value.data(), size_t(n), 0);
    }
}

/// Rewrites a data-fork container with `chunks` as its metadata: the complete new file
/// is written beside the old one, flushed, and renamed over it. On failure the old file
/// and the open handle are untouched.
/// `beforeCommit`, when given, writes into the new file (its descriptor and data offset)
/// before it replaces the old one.
OSStatus rewriteFile(OpaqueAudioFileID* af, std::vector<Chunk> chunks,
    const std::function<bool(int, uint64_t)>& beforeCommit = nullptr)
{
    OSStatus err = loadPayloads(af, chunks);
    if (err != noErr)
        return err;
    Layout nl = af->l;
    nl.chunks = std::move(chunks);
    nl.dataSizeUnknown = false;
    const Bytes header = buildHeader(nl, false);
    const uint64_t pad = hasPad(nl.type) ? (nl.dataSize & 1) : 0;
    if (header.empty())
        return kAudioFileUnsupportedFileTypeError;
    if (nl.end > containerLimit(nl.type))
        return kAudioFileDoesNotAllow64BitDataSizeError;
    const Bytes trailer = buildTrailer(nl.chunks, chunkForm(nl.type));

    struct stat st { };
    if (::fstat(af->fd, &st) != 0)
        return fromErrno(errno);
    std::string tmp;
    const int fd = createTemporary(af->path, tmp);
    if (fd < 0)
        return fromErrno(errno);
    const uint8_t zero = 0;
    bool ok = writeAll(fd, 0, header.data(), header.size())
        && copyRange(af->fd, af->l.dataOffset, fd, nl.dataOffset, nl.dataSize)
        && (pad == 0 || writeAll(fd, nl.dataOffset + nl.dataSize, &zero, 1))
        && writeAll(fd, nl.dataOffset + nl.dataSize + pad, trailer.data(), trailer.size())
        && (!beforeCommit || beforeCommit(fd, nl.dataOffset));
    if (ok) {
        ::fchmod(fd, st.st_mode & 07777);
        copyAttributes(af->fd, fd);
        ok = ::fsync(fd) == 0 && ::rename(tmp.c_str(), af->path.c_str()) == 0;
    }
    if (!ok) {
        err = fromErrno(errno);
        ::close(fd);
        ::unlink(tmp.c_str());
        return err;
    }
    ::flock(fd, LOCK_UN);
    syncDir(dirOf(af->path));
    ::close(af->fd);
    af->fd = fd;
    for (Chunk& c : nl.chunks) {
        c.loaded = false;
        Bytes().swap(c.payload);
    }
    nl.canonical = true;
    headerMatchesData(nl);
    af->l = std::move(nl);
    af->dirty = false;
    return noErr;
}

/// Sound Designer II metadata lives in the resource fork: replacing the attribute is
/// atomic by itself; the AppleDouble file is replaced by renaming a complete new one.
OSStatus rewriteFork(OpaqueAudioFileID* af, std::vector<Chunk> chunks)
{
    Layout nl = af->l;
    nl.chunks = std::move(chunks);
    const Bytes fork = buildSd2Fork(nl);
    if (fork.empty())
        return kAudioFileInvalidChunkError;
    if (af->l.fork == ForkPlace::Xattr) {
        if (::fsetxattr(af->fd, kForkAttr, fork.data(), fork.size(), 0) != 0)
            return errno == E2BIG || errno == ENOSPC ? kAudioFileInvalidChunkError : fromErrno(errno);
    } else {
        const OSStatus err = replaceFileAtomically(
            sidecarOf(af->path), appleDoubleWithFork(fork, kAudioFileSoundDesigner2Type, kSd2Creator));
        if (err != noErr)
            return err;
    }
    af->l = std::move(nl);
    return noErr;
}

/// Brings the header's sizes up to date with the data (and an outgrown WAVE to RF64).
OSStatus finishHeader(OpaqueAudioFileID* af)
{
    if (!af->writable || !af->dirty)
        return noErr;
    if (af->l.type == kAudioFileSoundDesigner2Type) {
        af->dirty = false;
        return noErr;
    }
    if (!af->l.canonical)
        return rewriteFile(af, af->l.chunks);
    Layout nl = af->l;
    nl.dataSizeUnknown = false;
    OSStatus err = loadPayloads(af, nl.chunks);
    if (err != noErr)
        return err;
    const uint64_t oldOffset = nl.dataOffset;
    const Bytes header = buildHeader(nl, false);
    if (header.size() != oldOffset)
        return rewriteFile(af, af->l.chunks);
    const uint64_t pad = hasPad(nl.type) ? (nl.dataSize & 1) : 0;
    const uint8_t zero = 0;
    const Bytes trailer = buildTrailer(nl.chunks, chunkForm(nl.type));
    if (!writeAll(af->fd, 0, header.data(), header.size())
        || (pad && !writeAll(af->fd, nl.dataOffset + nl.dataSize, &zero, 1))
        || !writeAll(af->fd, nl.dataOffset + nl.dataSize + pad, trailer.data(), trailer.size())
        || ::ftruncate(af->fd, off_t(nl.end)) != 0)
        return fromErrno(errno);
    for (Chunk& c : nl.chunks) {
        c.loaded = false;
        Bytes().swap(c.payload);
    }
    headerMatchesData(nl);
    af->l = std::move(nl);
    af->dirty = false;
    return noErr;
}

void reverseSamples(uint8_t* p, size_t bytes, uint32_t width)
{
    switch (width) {
    case 2:
        for (size_t i = 0; i + 2 <= bytes; i += 2)
            std::swap(p[i], p[i + 1]);
        break;
    case 3:
        for (size_t i = 0; i + 3 <= bytes; i += 3)
            std::swap(p[i], p[i + 2]);
        break;
    case 4:
        for (size_t i = 0; i + 4 <= bytes; i += 4) {
            uint32_t v;
            std::memcpy(&v, p + i, 4);
            v = __builtin_bswap32(v);
            std::memcpy(p + i, &v, 4);
        }
        break;
    case 8:
        for (size_t i = 0; i + 8 <= bytes; i += 8) {
            uint64_t v;
            std::memcpy(&v, p + i, 8);
            v = __builtin_bswap64(v);
            std::memcpy(p + i, &v, 8);
        }
        break;
    default:
        break;
    }
}

std::vector<uint32_t> chunkIDs(AudioFileID f)
{
    std::vector<uint32_t> ids;
    for (const Chunk& c : f->l.chunks)
        if (std::find(ids.begin(), ids.end(), c.id) == ids.end())
            ids.push_back(c.id);
    return ids;
}

bool validFile(AudioFileID f)
{
    return f != nullptr && f->fd >= 0;
}

/// Reads audio bytes [offset, offset + size) of the data in the presented byte order.
OSStatus readData(AudioFileID af, uint64_t offset, size_t size, uint8_t* out)
{
    const uint32_t w = af->l.sampleWidth;
    if (!af->l.swapped || w < 2) {
        if (!readAt(af->fd, af->l.dataOffset + offset, out, size))
            return errno ? fromErrno(errno) : kAudioFileEndOfFileError;
        return noErr;
    }
    const uint64_t first = offset - offset % w;
    const uint64_t last = std::min<uint64_t>((offset + size + w - 1) / w * w, af->l.dataSize);
    if (first == offset && (offset + size) % w == 0) {
        if (!readAt(af->fd, af->l.dataOffset + offset, out, size))
            return errno ? fromErrno(errno) : kAudioFileEndOfFileError;
        reverseSamples(out, size, w);
        return noErr;
    }
    // Unaligned: read whole samples, then pick the requested bytes.
    Bytes tmp(size_t(last - first));
    if (!readAt(af->fd, af->l.dataOffset + first, tmp.data(), tmp.size()))
        return errno ? fromErrno(errno) : kAudioFileEndOfFileError;
    for (size_t i = 0; i < size; ++i) {
        const uint64_t at = offset + i - first;
        const uint64_t k = at % w;
        out[i] = tmp[size_t(at - k + (w - 1 - k))];
    }
    return noErr;
}

/// Writes presented-order bytes at `offset` of the data, converting to the stored order.
OSStatus writeData(AudioFileID af, uint64_t offset, size_t size, const uint8_t* in)
{
    Layout& l = af->l;
    const uint32_t w = l.sampleWidth;
    const bool swapping = l.swapped && w >= 2;
    const uint64_t end = offset + size;
    // Stored in the other byte order, the data grows by whole samples only.
    const uint64_t newSize = std::max(l.dataSize, swapping ? (end + w - 1) / w * w : end);
    const uint64_t pad = hasPad(l.type) ? (newSize & 1) : 0;
    if (end < offset || l.dataOffset + newSize + pad > containerLimit(l.type)
        || newSize > uint64_t(INT64_MAX) / 2)
        return kAudioFileDoesNotAllow64BitDataSizeError;
    // Writes the bytes into the data that begins at `dataOffset` of `fd`; false with
    // errno set on failure.
    auto put = [&](int fd, uint64_t dataOffset) {
        if (!swapping)
            return writeAll(fd, dataOffset + offset, in, size);
        // Whole samples at a time, in bounded blocks; the bytes of samples that the
        // write covers only in part are read back first.
        constexpr size_t kBlock = 1u << 16;
        const uint64_t first = offset - offset % w;
        Bytes block;
        for (uint64_t at = first; at < end;) {
            const uint64_t stop = std::min<uint64_t>(at + kBlock / w * w, (end + w - 1) / w * w);
            block.assign(size_t(stop - at), 0);
            const uint64_t have = std::min(stop, l.dataSize);
            if ((at < offset || stop > end) && have > at)
                readAt(fd, dataOffset + at, block.data(), size_t(have - at));
            const uint64_t from = std::max(at, offset), to = std::min(stop, end);
            for (uint64_t i = from; i < to; ++i) {
                const uint64_t k = (i - at) % w;
                block[size_t(i - at - k + (w - 1 - k))] = in[i - offset];
            }
            if (!writeAll(fd, dataOffset + at, block.data(), block.size()))
                return false;
            at = stop;
        }
        return true;
    };
    // A file laid out otherwise than the builder would is rewritten, and data that grows
    // would overrun the chunks behind it, which then move in front of it. The bytes go
    // into the new file before it replaces the old one, so that a failed write leaves
    // the old file as it was.
    const bool grows = newSize > l.dataSize;
    if (!l.canonical || (grows && hasTrailer(l))) {
        std::vector<Chunk> chunks = l.chunks;
        for (Chunk& c : chunks)
            c.afterData = c.afterData && !grows;
        const OSStatus err = rewriteFile(af, std::move(chunks), put);
        if (err != noErr)
            return err;
    } else if (!put(af->fd, l.dataOffset)) {
        // A write that fails past the end of the data is cut off again, so that no stray
        // bytes follow what the header describes.
        const int e = errno;
        if (end > l.dataSize)
            (void)!::ftruncate(
                af->fd, off_t(l.dataOffset + l.dataSize + (hasPad(l.type) ? (l.dataSize & 1) : 0)));
        return fromErrno(e);
    }
    if (newSize != l.dataSize) {
        l.dataSize = newSize;
        headerMatchesData(l);
        af->dirty = true;
    }
    return noErr;
}

OSStatus openLayout(OpaqueAudioFileID* af)
{
    struct stat st { };
    if (::fstat(af->fd, &st) != 0)
        return fromErrno(errno);
    if (!S_ISREG(st.st_mode))
        return notAFileErr;
    Source src {af->fd, uint64_t(st.st_size)};
    uint8_t head[12] = {};
    const bool haveHead = src.read(0, head, 12);
    const uint32_t magic = be32(head);
    if (haveHead && magic == PvFourCC("FORM"))
        return parseAiff(src, af->l);
    if (haveHead && (magic == PvFourCC("RIFF") || magic == PvFourCC("RF64"))
        && be32(head + 8) == kAudioFileWAVEType)
        return parseWave(src, af->l);
    if (src.size >= 8 && magic == kAudioFileCAFType)
        return parseCaf(src, af->l);
    Bytes fork;
    const ForkPlace place = loadFork(af->fd, af->path, fork);
    if (place == ForkPlace::None)
        return kAudioFileUnsupportedFileTypeError;
    const OSStatus err = parseSd2Fork(fork, src.size, af->l);
    af->l.fork = place;
    return err;
}

} // namespace

bool pvaf::readAt(int fd, uint64_t offset, void* buffer, size_t size)
{
    auto* p = static_cast<uint8_t*>(buffer);
    errno = 0;
    while (size > 0) {
        const ssize_t n = ::pread(fd, p, size, off_t(offset));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        p += n;
        offset += uint64_t(n);
        size -= size_t(n);
    }
    return true;
}

extern "C" OSStatus AudioFileOpenPath(
    const char* path, int8_t permissions, AudioFileTypeID, AudioFileID* outFile)
{
    if (outFile == nullptr)
        return paramErr;
    *outFile = nullptr;
    if (path == nullptr || *path == '\0' || permissions < kAudioFileReadPermission
        || permissions > kAudioFileReadWritePermission)
        return paramErr;
    auto* af = new OpaqueAudioFileID;
    af->path = path;
    af->writable = permissions != kAudioFileReadPermission;
    af->fd = ::open(path, (af->writable ? O_RDWR : O_RDONLY) | O_CLOEXEC);
    if (af->fd < 0) {
        const OSStatus err = fromErrno(errno);
        delete af;
        return err;
    }
    const OSStatus err = openLayout(af);
    if (err != noErr) {
        ::close(af->fd);
        delete af;
        return err;
    }
    *outFile = af;
    return noErr;
}

extern "C" OSStatus AudioFileCreatePath(const char* path, AudioFileTypeID fileType,
    const AudioStreamBasicDescription* format, uint32_t flags, AudioFileID* outFile)
{
    if (outFile == nullptr)
        return paramErr;
    *outFile = nullptr;
    if (path == nullptr || *path == '\0' || format == nullptr)
        return paramErr;
    Layout l;
    l.type = fileType == kAudioFileRF64Type ? kAudioFileWAVEType : fileType;
    l.rf64 = fileType == kAudioFileRF64Type;
    l.fmt = *format;
    OSStatus err;
    switch (l.type) {
    case kAudioFileAIFFType:
    case kAudioFileAIFCType:
        err = prepareAiff(l);
        break;
    case kAudioFileWAVEType:
        err = prepareWave(l);
        break;
    case kAudioFileCAFType:
        err = prepareCaf(l);
        l.dataSizeUnknown = true; // until the file is closed
        break;
    case kAudioFileSoundDesigner2Type:
        err = prepareSd2(l);
        break;
    default:
        err = kAudioFileUnsupportedFileTypeError;
        break;
    }
    if (err != noErr)
        return err;
    const int mode = O_RDWR | O_CREAT | O_CLOEXEC | ((flags & kAudioFileFlags_EraseFile) ? O_TRUNC : O_EXCL);
    const int fd = ::open(path, mode, 0666);
    if (fd < 0)
        return fromErrno(errno);
    auto* af = new OpaqueAudioFileID;
    af->path = path;
    af->fd = fd;
    af->writable = true;
    af->l = std::move(l);
    af->l.canonical = true;
    bool ok = true;
    if (af->l.type == kAudioFileSoundDesigner2Type) {
        const Bytes fork = buildSd2Fork(af->l);
        ::fremovexattr(fd, kForkAttr);
        if (::fsetxattr(fd, kForkAttr, fork.data(), fork.size(), 0) == 0) {
            af->l.fork = ForkPlace::Xattr;
            uint8_t finder[32] = {};
            const uint32_t tc[2] = {kAudioFileSoundDesigner2Type, kSd2Creator};
            for (int i = 0; i < 8; ++i)
                finder[i] = uint8_t(tc[i / 4] >> (24 - 8 * (i % 4)));
            ::fsetxattr(fd, kFinderAttr, finder, sizeof finder, 0);
            ::unlink(sidecarOf(af->path).c_str()); // a stale one would only mislead
        } else {
            af->l.fork = ForkPlace::Sidecar;
            err = replaceFileAtomically(
                sidecarOf(af->path), appleDoubleWithFork(fork, kAudioFileSoundDesigner2Type, kSd2Creator));
            ok = err == noErr;
        }
    } else {
        const Bytes header = buildHeader(af->l, false);
        ok = writeAll(fd, 0, header.data(), header.size());
        if (!ok)
            err = fromErrno(errno);
    }
    if (!ok) {
        ::close(fd);
        ::unlink(path);
        delete af;
        return err;
    }
    af->dirty = true;
    *outFile = af;
    return noErr;
}

extern "C" OSStatus AudioFileClose(AudioFileID file)
{
    if (file == nullptr)
        return paramErr;
    OSStatus err = file->fd >= 0 ? finishHeader(file) : noErr;
    if (file->fd >= 0 && ::close(file->fd) != 0 && err == noErr)
        err = fromErrno(errno);
    delete file;
    return err;
}

extern "C" OSStatus AudioFileGetPropertyInfo(
    AudioFileID file, AudioFilePropertyID property, uint32_t* outSize, uint32_t* isWritable)
{
    if (!validFile(file))
        return paramErr;
    uint32_t size = 0;
    switch (property) {
    case kAudioFilePropertyDataFormat:
        size = sizeof(AudioStreamBasicDescription);
        break;
    case kAudioFilePropertyAudioDataByteCount:
    case kAudioFilePropertyAudioDataPacketCount:
    case kAudioFilePropertyDataOffset:
    case kAudioFilePropertyDeclaredDataByteCount:
    case kAudioFilePropertyPresentDataByteCount:
        size = 8;
        break;
    case kAudioFilePropertyFileFormat:
        size = 4;
        break;
    case kAudioFilePropertyChunkIDs:
        size = uint32_t(chunkIDs(file).size() * 4);
        break;
    default:
        return kAudioFileUnsupportedPropertyError;
    }
    if (outSize)
        *outSize = size;
    if (isWritable)
        *isWritable = 0;
    return noErr;
}

extern "C" OSStatus AudioFileGetProperty(
    AudioFileID file, AudioFilePropertyID property, uint32_t* ioSize, void* data)
{
    if (!validFile(file) || ioSize == nullptr || (data == nullptr && *ioSize != 0))
        return paramErr;
    uint32_t size = 0;
    const OSStatus err = AudioFileGetPropertyInfo(file, property, &size, nullptr);
    if (err != noErr)
        return err;
    if (*ioSize < size)
        return kAudioFileBadPropertySizeError;
    const Layout& l = file->l;
    const uint64_t packetBytes = l.fmt.mBytesPerPacket;
    uint64_t value = 0;
    switch (property) {
    case kAudioFilePropertyDataFormat:
        std::memcpy(data, &l.fmt, size);
        break;
    case kAudioFilePropertyFileFormat:
        std::memcpy(data, &l.type, 4);
        break;
    case kAudioFilePropertyAudioDataByteCount:
        std::memcpy(data, &l.dataSize, 8);
        break;
    case kAudioFilePropertyAudioDataPacketCount:
        value = packetBytes ? l.dataSize / packetBytes : 0;
        std::memcpy(data, &value, 8);
        break;
    case kAudioFilePropertyDataOffset:
        value = l.dataOffset;
        std::memcpy(data, &value, 8);
        break;
    case kAudioFilePropertyDeclaredDataByteCount:
        std::memcpy(data, &l.declaredDataSize, 8);
        break;
    case kAudioFilePropertyPresentDataByteCount:
        std::memcpy(data, &l.presentDataSize, 8);
        break;
    case kAudioFilePropertyChunkIDs: {
        const std::vector<uint32_t> ids = chunkIDs(file);
        if (!ids.empty())
            std::memcpy(data, ids.data(), ids.size() * 4);
        break;
    }
    default:
        break;
    }
    *ioSize = size;
    return noErr;
}

extern "C" OSStatus AudioFileReadPackets(AudioFileID file, bool, uint32_t* outNumBytes,
    AudioStreamPacketDescription*, int64_t startPacket, uint32_t* ioNumPackets, void* buffer)
{
    if (!validFile(file) || ioNumPackets == nullptr || (buffer == nullptr && *ioNumPackets != 0))
        return paramErr;
    const uint64_t packetBytes = file->l.fmt.mBytesPerPacket;
    if (packetBytes == 0 || file->l.fmt.mFramesPerPacket == 0)
        return kAudioFileUnsupportedDataFormatError;
    if (startPacket < 0)
        return kAudioFileInvalidPacketOffsetError;
    const uint64_t packets = file->l.dataSize / packetBytes;
    uint64_t n = uint64_t(startPacket) >= packets
        ? 0
        : std::min<uint64_t>(*ioNumPackets, packets - uint64_t(startPacket));
    n = std::min<uint64_t>(n, UINT32_MAX / packetBytes);
    const OSStatus err = n ? readData(file, uint64_t(startPacket) * packetBytes, size_t(n * packetBytes),
                             static_cast<uint8_t*>(buffer))
                           : noErr;
    if (err != noErr) {
        *ioNumPackets = 0;
        if (outNumBytes)
            *outNumBytes = 0;
        return err;
    }
    *ioNumPackets = uint32_t(n);
    if (outNumBytes)
        *outNumBytes = uint32_t(n * packetBytes);
    return noErr;
}

extern "C" OSStatus AudioFileWritePackets(AudioFileID file, bool, uint32_t,
    const AudioStreamPacketDescription*, int64_t startPacket, uint32_t* ioNumPackets, const void* buffer)
{
    if (!validFile(file) || ioNumPackets == nullptr || (buffer == nullptr && *ioNumPackets != 0))
        return paramErr;
    if (!file->writable)
        return kAudioFilePermissionsError;
    const uint64_t packetBytes = file->l.fmt.mBytesPerPacket;
    if (packetBytes == 0)
        return kAudioFileUnsupportedDataFormatError;
    if (startPacket < 0)
        return kAudioFileInvalidPacketOffsetError;
    const uint64_t bytes = uint64_t(*ioNumPackets) * packetBytes;
    if (uint64_t(startPacket) > uint64_t(INT64_MAX) / packetBytes || bytes > SIZE_MAX)
        return kAudioFileInvalidPacketOffsetError;
    const OSStatus err = bytes ? writeData(file, uint64_t(startPacket) * packetBytes, size_t(bytes),
                             static_cast<const uint8_t*>(buffer))
                               : noErr;
    if (err != noErr)
        *ioNumPackets = 0;
    return err;
}

extern "C" OSStatus AudioFileReadBytes(
    AudioFileID file, bool, int64_t startingByte, uint32_t* ioNumBytes, void* buffer)
{
    if (!validFile(file) || ioNumBytes == nullptr || (buffer == nullptr && *ioNumBytes != 0))
        return paramErr;
    if (startingByte < 0)
        return kAudioFilePositionError;
    const uint64_t size = file->l.dataSize;
    const uint64_t n
        = uint64_t(startingByte) >= size ? 0 : std::min<uint64_t>(*ioNumBytes, size - uint64_t(startingByte));
    const OSStatus err
        = n ? readData(file, uint64_t(startingByte), size_t(n), static_cast<uint8_t*>(buffer)) : noErr;
    *ioNumBytes = err == noErr ? uint32_t(n) : 0;
    if (err == noErr && n == 0 && size <= uint64_t(startingByte))
        return kAudioFileEndOfFileError;
    return err;
}

extern "C" OSStatus AudioFileWriteBytes(
    AudioFileID file, bool, int64_t startingByte, uint32_t* ioNumBytes, const void* buffer)
{
    if (!validFile(file) || ioNumBytes == nullptr || (buffer == nullptr && *ioNumBytes != 0))
        return paramErr;
    if (!file->writable)
        return kAudioFilePermissionsError;
    if (startingByte < 0)
        return kAudioFilePositionError;
    const OSStatus err = *ioNumBytes
        ? writeData(file, uint64_t(startingByte), *ioNumBytes, static_cast<const uint8_t*>(buffer))
        : noErr;
    if (err != noErr)
        *ioNumBytes = 0;
    return err;
}

namespace {

Chunk* findChunk(AudioFileID file, uint32_t id, uint32_t index, size_t* position = nullptr)
{
    uint32_t seen = 0;
    for (size_t i = 0; i < file->l.chunks.size(); ++i) {
        Chunk& c = file->l.chunks[i];
        if (c.id != id)
            continue;
        if (seen++ == index) {
            if (position)
                *position = i;
            return &c;
        }
    }
    return nullptr;
}

OSStatus changeChunks(AudioFileID file, std::vector<Chunk> chunks)
{
    if (file->l.type == kAudioFileSoundDesigner2Type)
        return rewriteFork(file, std::move(chunks));
    return rewriteFile(file, std::move(chunks));
}

} // namespace

extern "C" OSStatus AudioFileCountUserData(AudioFileID file, uint32_t userDataID, uint32_t* outNumberItems)
{
    if (!validFile(file) || outNumberItems == nullptr)
        return paramErr;
    *outNumberItems = uint32_t(std::count_if(
        file->l.chunks.begin(), file->l.chunks.end(), [&](const Chunk& c) { return c.id == userDataID; }));
    return noErr;
}

extern "C" OSStatus AudioFileGetUserDataSize(
    AudioFileID file, uint32_t userDataID, uint32_t index, uint32_t* outUserDataSize)
{
    if (!validFile(file) || outUserDataSize == nullptr)
        return paramErr;
    const Chunk* c = findChunk(file, userDataID, index);
    if (c == nullptr)
        return kAudioFileInvalidChunkError;
    if (c->size > UINT32_MAX)
        return kAudioFileBadPropertySizeError;
    *outUserDataSize = uint32_t(c->size);
    return noErr;
}

extern "C" OSStatus AudioFileGetUserData(
    AudioFileID file, uint32_t userDataID, uint32_t index, uint32_t* ioSize, void* data)
{
    if (!validFile(file) || ioSize == nullptr || (data == nullptr && *ioSize != 0))
        return paramErr;
    const Chunk* c = findChunk(file, userDataID, index);
    if (c == nullptr)
        return kAudioFileInvalidChunkError;
    const size_t n = size_t(std::min<uint64_t>(*ioSize, c->size));
    if (c->loaded) {
        if (n)
            std::memcpy(data, c->payload.data(), n);
    } else if (n && !readAt(file->fd, c->offset, data, n)) {
        *ioSize = 0;
        return errno ? fromErrno(errno) : kAudioFileInvalidFileError;
    }
    *ioSize = uint32_t(n);
    return noErr;
}

extern "C" OSStatus AudioFileSetUserData(
    AudioFileID file, uint32_t userDataID, uint32_t index, uint32_t size, const void* data)
{
    if (!validFile(file) || (data == nullptr && size != 0))
        return paramErr;
    if (size == 0 && data == nullptr)
        return AudioFileRemoveUserData(file, userDataID, index);
    if (!file->writable)
        return kAudioFilePermissionsError;
    if (isStructural(file->l.type, userDataID))
        return kAudioFileInvalidChunkError;
    uint32_t count = 0;
    AudioFileCountUserData(file, userDataID, &count);
    if (index > count)
        return kAudioFileInvalidChunkError;
    std::vector<Chunk> chunks = file->l.chunks;
    Chunk fresh;
    fresh.id = userDataID;
    fresh.size = size;
    fresh.loaded = true;
    fresh.payload.assign(static_cast<const uint8_t*>(data), static_cast<const uint8_t*>(data) + size);
    size_t at = 0;
    if (findChunk(file, userDataID, index, &at)) {
        fresh.resID = chunks[at].resID;
        fresh.resAttrs = chunks[at].resAttrs;
        fresh.resName = chunks[at].resName;
        fresh.afterData = chunks[at].afterData;
        chunks[at] = std::move(fresh);
    } else {
        if (file->l.type == kAudioFileSoundDesigner2Type) {
            // A new resource takes the next free ID of its type, past the format strings.
            int next = userDataID == PvFourCC("STR ") ? 1003 : 128;
            for (const Chunk& c : chunks)
                if (c.id == userDataID)
                    next = std::max(next, c.resID + 1);
            if (next > INT16_MAX)
                return kAudioFileInvalidChunkError;
            fresh.resID = int16_t(next);
        } else {
            // After the sound data, where readers that stumble over chunks before it never
            // look.
            fresh.afterData = true;
        }
        chunks.push_back(std::move(fresh));
    }
    return changeChunks(file, std::move(chunks));
}

extern "C" OSStatus AudioFileRemoveUserData(AudioFileID file, uint32_t userDataID, uint32_t index)
{
    if (!validFile(file))
        return paramErr;
    if (!file->writable)
        return kAudioFilePermissionsError;
    size_t at = 0;
    if (isStructural(file->l.type, userDataID) || !findChunk(file, userDataID, index, &at))
        return kAudioFileInvalidChunkError;
    std::vector<Chunk> chunks = file->l.chunks;
    chunks.erase(chunks.begin() + long(at));
    return changeChunks(file, std::move(chunks));
}

extern "C" OSStatus AudioFileOpen(
    const FSRef* ref, int8_t permissions, AudioFileTypeID typeHint, AudioFileID* outFile)
{
    if (outFile == nullptr)
        return paramErr;
    *outFile = nullptr;
    if (ref == nullptr)
        return paramErr;
    QString path;
    bool isFolder = false;
    const OSErr err = PvCatalog::RefPath(ref, &path, &isFolder);
    if (err != noErr)
        return err;
    if (isFolder)
        return notAFileErr;
    return AudioFileOpenPath(QFile::encodeName(path).constData(), permissions, typeHint, outFile);
}

OSStatus AudioFileCreate(const FSRef* parentDir, const QString& name, AudioFileTypeID fileType,
    const AudioStreamBasicDescription* format, uint32_t flags, FSRef* outRef, AudioFileID* outFile)
{
    if (outFile == nullptr)
        return paramErr;
    *outFile = nullptr;
    if (parentDir == nullptr || format == nullptr)
        return paramErr;
    if (name.isEmpty() || name.contains(QLatin1Char('/')) || name == QLatin1String(".")
        || name == QLatin1String(".."))
        return bdNamErr;
    QString dir;
    bool isFolder = false;
    const OSErr err = PvCatalog::RefPath(parentDir, &dir, &isFolder);
    if (err != noErr)
        return err;
    if (!isFolder)
        return dirNFErr;
    const QString path = dir.endsWith(QLatin1Char('/')) ? dir + name : dir + QLatin1Char('/') + name;
    const OSStatus status
        = AudioFileCreatePath(QFile::encodeName(path).constData(), fileType, format, flags, outFile);
    if (status == noErr && outRef != nullptr && PvCatalog::MakeRef(path, outRef) != noErr)
        std::memset(outRef, 0, sizeof(FSRef));
    return status;
}
