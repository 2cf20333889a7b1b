// Internal model of the audio file service: the parsed layout of one container and the
// per-format parsers and header builders. Every format reduces a file to the same
// picture: a stream description, where the audio data lies, and the list of metadata
// chunks in file order. Builders write the header of a canonical file from that picture:
// structural chunks, the metadata chunks found before the audio data, the audio data,
// then the metadata chunks kept after it (new chunks go there, where every reader finds
// the data first). A file whose data grows has its trailing chunks moved in front of
// the data once, so that the data can then grow without moving anything.
#pragma once

#include "PvAudioFile.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace pvaf {

using Bytes = std::vector<uint8_t>;

/// One metadata chunk (a resource for Sound Designer II).
struct Chunk {
    uint32_t id = 0;
    uint64_t offset = 0; ///< payload offset in the data fork (unused for resources)
    uint64_t size = 0; ///< payload size in bytes
    bool loaded = false; ///< payload holds the bytes
    bool afterData = false; ///< lies after the audio data
    Bytes payload;
    // Resource fork only: the resource's ID, attributes and name (Pascal string bytes).
    int16_t resID = 0;
    uint8_t resAttrs = 0;
    Bytes resName;
};

/// Where a Sound Designer II file keeps its resource fork.
enum class ForkPlace { None, Xattr, Sidecar };

struct Layout {
    AudioFileTypeID type = 0; ///< 'AIFF', 'AIFC', 'WAVE', 'caff', 'Sd2f'
    AudioStreamBasicDescription fmt {}; ///< as presented (canonical byte order)
    uint32_t sampleWidth = 0; ///< bytes per stored sample of one channel
    bool swapped = false; ///< stored byte order differs from the presented one
    uint32_t compression = 0; ///< AIFC compression type
    uint16_t waveTag = 0; ///< WAVE format tag (after resolving EXTENSIBLE)
    uint32_t waveChannelMask = 0;
    bool rf64 = false;
    bool dataSizeUnknown = false; ///< CAF data chunk of size -1
    uint64_t dataOffset = 0; ///< offset of the first audio byte
    uint64_t dataSize = 0; ///< bytes of audio data
    uint64_t declaredDataSize = 0; ///< bytes of audio data the header promises
    uint64_t presentDataSize = 0; ///< of those, the bytes the file holds
    Bytes formatChunk; ///< payload of 'fmt ' or 'COMM' as found, rewritten unchanged
    uint64_t end = 0; ///< set by the builders: where the canonical file ends
    std::vector<Chunk> chunks; ///< metadata chunks in file order
    bool canonical = false; ///< the builder would lay the header out exactly as found
    ForkPlace fork = ForkPlace::None; ///< Sound Designer II only
};

// ---- byte helpers -----------------------------------------------------------
inline uint16_t be16(const uint8_t* p)
{
    return uint16_t((p[0] << 8) | p[1]);
}
inline uint32_t be32(const uint8_t* p)
{
    return (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | p[3];
}
inline uint64_t be64(const uint8_t* p)
{
    return (uint64_t(be32(p)) << 32) | be32(p + 4);
}
inline uint16_t le16(const uint8_t* p)
{
    return uint16_t(p[0] | (p[1] << 8));
}
inline uint32_t le32(const uint8_t* p)
{
    return uint32_t(p[0]) | (uint32_t(p[1]) << 8) | (uint32_t(p[2]) << 16) | (uint32_t(p[3]) << 24);
}
inline uint64_t le64(const uint8_t* p)
{
    return uint64_t(le32(p)) | (uint64_t(le32(p + 4)) << 32);
}

inline void putBE16(Bytes& b, uint32_t v)
{
    b.push_back(uint8_t(v >> 8));
    b.push_back(uint8_t(v));
}
inline void putBE32(Bytes& b, uint32_t v)
{
    for (int s = 24; s >= 0; s -= 8)
        b.push_back(uint8_t(v >> s));
}
inline void putBE64(Bytes& b, uint64_t v)
{
    putBE32(b, uint32_t(v >> 32));
    putBE32(b, uint32_t(v));
}
inline void putLE16(Bytes& b, uint32_t v)
{
    b.push_back(uint8_t(v));
    b.push_back(uint8_t(v >> 8));
}
inline void putLE32(Bytes& b, uint32_t v)
{
    for (int s = 0; s <= 24; s += 8)
        b.push_back(uint8_t(v >> s));
}
inline void putLE64(Bytes& b, uint64_t v)
{
    putLE32(b, uint32_t(v));
    putLE32(b, uint32_t(v >> 32));
}
inline void putBytes(Bytes& b, const void* p, size_t n)
{
    const auto* c = static_cast<const uint8_t*>(p);
    b.insert(b.end(), c, c + n);
}
inline void setBE32(Bytes& b, size_t at, uint32_t v)
{
    for (int i = 0; i < 4; ++i)
        b[at + size_t(i)] = uint8_t(v >> (24 - 8 * i));
}
inline void setLE32(Bytes& b, size_t at, uint32_t v)
{
    for (int i = 0; i < 4; ++i)
        b[at + size_t(i)] = uint8_t(v >> (8 * i));
}

/// Reads exactly `size` bytes at `offset`; false on a short read or an error.
bool readAt(int fd, uint64_t offset, void* buffer, size_t size);

/// The parsers read the data fork through this view; it never reads past `size`.
struct Source {
    int fd = -1;
    uint64_t size = 0;
    bool read(uint64_t offset, void* buffer, size_t n) const
    {
        return offset <= size && n <= size - offset && readAt(fd, offset, buffer, n);
    }
};

// ---- shared checks ------------------------------------------------------------
/// Fills the derived fields of a linear PCM description (bytes per frame and packet,
/// packed or aligned-high) and the stored sample width; false for a format that no
/// container here can hold.
bool completePCM(AudioStreamBasicDescription& f, uint32_t width);
/// True for a plausible sample rate.
bool saneRate(double rate);
/// 80-bit IEEE extended (AIFF sample rate) conversions.
double fromExtended(const uint8_t* p);
void toExtended(double value, uint8_t* out);

/// How a container stores a chunk's size after its four-character identifier.
enum class ChunkSizeForm { BigEndian32Padded, LittleEndian32Padded, BigEndian64 };
/// Appends every metadata chunk that lies before the audio data: identifier, size and
/// payload (zeros when `shape` is true or the payload was never loaded), with a pad byte
/// after an odd payload in the padded forms. Records each payload's offset in `b`.
void appendChunks(Bytes& b, std::vector<Chunk>& chunks, bool shape, ChunkSizeForm form);
/// Bytes the chunks after the audio data take, headers and pad bytes included.
uint64_t trailerSize(const std::vector<Chunk>& chunks, ChunkSizeForm form);
/// Records the offsets of the chunks after the audio data, which begin at `start`;
/// returns where they end.
uint64_t placeTrailer(std::vector<Chunk>& chunks, uint64_t start, ChunkSizeForm form);
/// The bytes of the chunks after the audio data; their payloads must be loaded.
Bytes buildTrailer(const std::vector<Chunk>& chunks, ChunkSizeForm form);
/// Most metadata chunks a parser keeps; a file claiming more is damaged or padded.
constexpr size_t kMaxChunks = 4096;
/// Most chunk headers a parser reads before it gives up on the rest of the file.
constexpr size_t kMaxChunkHeaders = 65536;

// ---- formats --------------------------------------------------------------------
// parse*: reads the header; returns noErr and fills the layout, or an error result.
// prepare*: checks a format for a new file and fills the stored-format fields.
// build*: the header of a canonical file, up to the first audio byte; sets dataOffset,
//         end and each chunk's offset (also those of the chunks after the data). Payloads must be loaded
//         unless `shape` is true, in which case only the offsets are computed (payload bytes are zeros).
OSStatus parseAiff(const Source& src, Layout& l);
OSStatus prepareAiff(Layout& l);
Bytes buildAiff(Layout& l, bool shape);
bool isAiffStructural(uint32_t id);

OSStatus parseWave(const Source& src, Layout& l);
OSStatus prepareWave(Layout& l);
Bytes buildWave(Layout& l, bool shape);
bool isWaveStructural(uint32_t id);

OSStatus parseCaf(const Source& src, Layout& l);
OSStatus prepareCaf(Layout& l);
Bytes buildCaf(Layout& l, bool shape);
bool isCafStructural(uint32_t id);

/// Sound Designer II: the resource fork bytes are given; the data fork is `dataForkSize`.
OSStatus parseSd2Fork(const Bytes& fork, uint64_t dataForkSize, Layout& l);
OSStatus prepareSd2(Layout& l);
/// The resource fork of a Sound Designer II file; empty when the resources do not fit.
Bytes buildSd2Fork(const Layout& l);
/// Resource fork of a parsed AppleDouble file; false when there is none or it is damaged.
bool resourceForkFromAppleDouble(const Bytes& appleDouble, Bytes& fork);
/// An AppleDouble file holding Finder information for `type`/`creator` and `fork`.
Bytes appleDoubleWithFork(const Bytes& fork, uint32_t type, uint32_t creator);
/// Type and creator that mark a Sound Designer II file.
constexpr uint32_t kSd2Creator = PvFourCC("PTul");

} // namespace pvaf
