// CAF: a 'caff' header and big-endian chunks with 64-bit sizes; 'desc' describes the
// stream, 'data' (a 32-bit edit count, then the samples) may have the size -1, meaning
// "up to the end of the file", which is how new files are written until they are closed.
#include "PvAudioFile_p.h"

#include <algorithm>
#include <bit>

namespace pvaf {

namespace {

constexpr uint32_t kCaff = PvFourCC("caff");
constexpr uint32_t kDesc = PvFourCC("desc");
constexpr uint32_t kData = PvFourCC("data");
// Format flags of linear PCM in a CAF 'desc' chunk.
constexpr uint32_t kCafFloat = 1;
constexpr uint32_t kCafLittleEndian = 2;

double doubleFromBits(uint64_t bits)
{
    return std::bit_cast<double>(bits);
}

} // namespace

bool isCafStructural(uint32_t id)
{
    return id == kDesc || id == kData;
}

OSStatus parseCaf(const Source& src, Layout& l)
{
    uint8_t head[8];
    if (!src.read(0, head, 8) || be32(head) != kCaff)
        return kAudioFileUnsupportedFileTypeError;
    if (be16(head + 4) != 1)
        return kAudioFileUnsupportedFileTypeError;
    l = Layout {};
    l.type = kAudioFileCAFType;
    bool haveDesc = false, haveData = false;
    // CAF has no size of its own: the walk ends at the file's end, at a data chunk that
    // runs to it, or at an all-zero chunk header (the zeros recorders leave behind).
    uint64_t pos = 8;
    for (size_t headers = 0; pos + 12 <= src.size; ++headers) {
        if (headers >= kMaxChunkHeaders) {
            if (haveDesc && haveData)
                break;
            return kAudioFileInvalidFileError;
        }
        uint8_t ch[12];
        if (!src.read(pos, ch, 12))
            return kAudioFileInvalidFileError;
        const uint32_t id = be32(ch);
        const int64_t rawSize = int64_t(be64(ch + 4));
        if (id == 0 && rawSize == 0)
            break;
        const uint64_t body = pos + 12;
        const uint64_t avail = src.size - body;
        if (id == kData) {
            if (!haveDesc || avail < 4 || (rawSize >= 0 && rawSize < 4) || rawSize < -1)
                return kAudioFileInvalidFileError;
            l.dataOffset = body + 4;
            if (rawSize == -1) {
                l.dataSizeUnknown = true;
                l.dataSize = avail - 4;
                l.declaredDataSize = l.dataSize;
            } else {
                // A data chunk cut short is read up to the end of the file.
                l.dataSize = std::min<uint64_t>(uint64_t(rawSize), avail) - 4;
                l.declaredDataSize = uint64_t(rawSize) - 4;
            }
            l.presentDataSize = l.dataSize;
            haveData = true;
            if (rawSize == -1 || uint64_t(rawSize) >= avail)
                break; // the data runs to the end of the file
            pos = body + uint64_t(rawSize);
            continue;
        }
        if (rawSize < 0 || uint64_t(rawSize) > avail)
            return kAudioFileInvalidFileError;
        const uint64_t size = uint64_t(rawSize);
        if (id == kDesc) {
            uint8_t d[32];
            if (haveDesc || size < 32 || !src.read(body, d, 32))
                return kAudioFileInvalidFileError;
            AudioStreamBasicDescription& f = l.fmt;
            f = {};
            f.mSampleRate = doubleFromBits(be64(d));
            f.mFormatID = be32(d + 8);
            const uint32_t flags = be32(d + 12);
            f.mBytesPerPacket = be32(d + 16);
            f.mFramesPerPacket = be32(d + 20);
            f.mChannelsPerFrame = be32(d + 24);
            f.mBitsPerChannel = be32(d + 28);
            if (!saneRate(f.mSampleRate) || f.mChannelsPerFrame == 0 || f.mChannelsPerFrame > 65535)
                return kAudioFileInvalidFileError;
            if (f.mFormatID == kAudioFormatLinearPCM) {
                if (f.mFramesPerPacket != 1 || f.mBytesPerPacket == 0
                    || f.mBytesPerPacket % f.mChannelsPerFrame)
                    return kAudioFileInvalidFileError;
                const uint32_t width = f.mBytesPerPacket / f.mChannelsPerFrame;
                const bool isFloat = flags & kCafFloat;
                f.mFormatFlags = (isFloat ? kAudioFormatFlagIsFloat : kAudioFormatFlagIsSignedInteger)
                    | kAudioFormatFlagIsBigEndian;
                if (!completePCM(f, width))
                    return kAudioFileInvalidFileError;
                l.sampleWidth = width;
                l.swapped = (flags & kCafLittleEndian) && width > 1;
            } else {
                // Another codec: reported as it is, so that a caller can refuse it.
                f.mFormatFlags = flags;
                f.mBytesPerFrame = f.mFramesPerPacket == 1 ? f.mBytesPerPacket : 0;
            }
            haveDesc = true;
        } else if (l.chunks.size() < kMaxChunks) {
            Chunk c;
            c.id = id;
            c.offset = body;
            c.size = size;
            c.afterData = haveData;
            l.chunks.push_back(std::move(c));
        }
        pos = body + size;
    }
    if (!haveDesc)
        return kAudioFileInvalidFileError;
    if (!haveData)
        l.dataOffset = src.size;
    if (l.fmt.mBytesPerPacket != 0)
        l.dataSize -= l.dataSize % l.fmt.mBytesPerPacket;
    Layout shape = l;
    buildCaf(shape, true);
    bool same = haveData && shape.dataOffset == l.dataOffset;
    for (size_t i = 0; same && i < l.chunks.size(); ++i)
        same = shape.chunks[i].offset == l.chunks[i].offset;
    l.canonical = same && shape.end == src.size;
    return noErr;
}

OSStatus prepareCaf(Layout& l)
{
    AudioStreamBasicDescription& f = l.fmt;
    const bool isFloat = f.mFormatFlags & kAudioFormatFlagIsFloat;
    const bool big = f.mFormatFlags & kAudioFormatFlagIsBigEndian;
    const uint32_t bits = f.mBitsPerChannel;
    if (f.mFormatID != kAudioFormatLinearPCM || (!isFloat && (bits < 8 || bits > 32)))
        return kAudioFileUnsupportedDataFormatError;
    const uint32_t width = isFloat ? bits / 8 : (bits + 7) / 8;
    f.mFormatFlags
        = (isFloat ? kAudioFormatFlagIsFloat : kAudioFormatFlagIsSignedInteger) | kAudioFormatFlagIsBigEndian;
    if (!completePCM(f, width) || !saneRate(f.mSampleRate))
        return kAudioFileUnsupportedDataFormatError;
    l.sampleWidth = width;
    l.swapped = !big && width > 1;
    return noErr;
}

Bytes buildCaf(Layout& l, bool shape)
{
    const AudioStreamBasicDescription& f = l.fmt;
    Bytes b;
    putBE32(b, kCaff);
    putBE16(b, 1);
    putBE16(b, 0);
    putBE32(b, kDesc);
    putBE64(b, 32);
    putBE64(b, std::bit_cast<uint64_t>(f.mSampleRate));
    putBE32(b, f.mFormatID);
    uint32_t flags = 0;
    if (f.mFormatID == kAudioFormatLinearPCM) {
        flags = (f.mFormatFlags & kAudioFormatFlagIsFloat) ? kCafFloat : 0;
        if (l.swapped)
            flags |= kCafLittleEndian;
    } else {
        flags = f.mFormatFlags;
    }
    putBE32(b, flags);
    putBE32(b, f.mBytesPerPacket);
    putBE32(b, f.mFramesPerPacket);
    putBE32(b, f.mChannelsPerFrame);
    putBE32(b, f.mBitsPerChannel);
    // Data of unknown size runs to the end of the file: nothing can follow it.
    if (l.dataSizeUnknown)
        for (Chunk& c : l.chunks)
            c.afterData = false;
    appendChunks(b, l.chunks, shape, ChunkSizeForm::BigEndian64);
    putBE32(b, kData);
    putBE64(b, l.dataSizeUnknown ? ~uint64_t(0) : l.dataSize + 4);
    putBE32(b, 0); // edit count
    l.dataOffset = b.size();
    l.end = placeTrailer(l.chunks, l.dataOffset + l.dataSize, ChunkSizeForm::BigEndian64);
    return b;
}

} // namespace pvaf
