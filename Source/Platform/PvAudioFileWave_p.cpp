// WAVE and RF64: a RIFF of little-endian chunks. New files reserve a 28-byte 'JUNK'
// chunk in front of 'fmt ' so that the header can become an RF64 'ds64' chunk in place
// when the data grows past what 32-bit sizes can say.
#include "PvAudioFile_p.h"

#include <algorithm>

namespace pvaf {

namespace {

constexpr uint32_t kRiff = PvFourCC("RIFF");
constexpr uint32_t kRf64 = PvFourCC("RF64");
constexpr uint32_t kFmt = PvFourCC("fmt ");
constexpr uint32_t kData = PvFourCC("data");
constexpr uint32_t kDs64 = PvFourCC("ds64");
constexpr uint32_t kJunk = PvFourCC("JUNK");
constexpr uint32_t kReserve = 28; // payload of ds64 without a table
constexpr uint16_t kTagPCM = 1;
constexpr uint16_t kTagFloat = 3;
constexpr uint16_t kTagALaw = 6;
constexpr uint16_t kTagULaw = 7;
constexpr uint16_t kTagExtensible = 0xFFFE;
// The last 14 bytes of the KSDATAFORMAT_SUBTYPE_... GUIDs, after the 16-bit format tag.
constexpr uint8_t kGuidTail[14]
    = {0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};

// Chunk IDs are kept as big-endian four-character codes like every other ID here.
uint32_t idAt(const uint8_t* p)
{
    return be32(p);
}

} // namespace

bool isWaveStructural(uint32_t id)
{
    return id == kFmt || id == kData || id == kDs64 || id == kRiff || id == kRf64;
}

OSStatus parseWave(const Source& src, Layout& l)
{
    uint8_t head[12];
    if (!src.read(0, head, 12))
        return kAudioFileInvalidFileError;
    const uint32_t magic = idAt(head);
    if ((magic != kRiff && magic != kRf64) || idAt(head + 8) != kAudioFileWAVEType)
        return kAudioFileUnsupportedFileTypeError;
    l = Layout {};
    l.type = kAudioFileWAVEType;
    l.rf64 = magic == kRf64;
    uint64_t ds64Data = 0;
    bool haveDs64 = false, haveFmt = false, haveData = false, dataToEnd = false;
    // The walk ends where the RIFF says the file ends (recorders leave zeros after it),
    // unless the format or the data lie beyond that, as with writers that never finish
    // the RIFF size. An all-zero chunk header is such padding too.
    uint64_t limit = src.size;
    const uint64_t riffEnd = 8 + uint64_t(le32(head + 4));
    if (!l.rf64 && riffEnd >= 12 && riffEnd < limit)
        limit = riffEnd;
    uint64_t pos = 12;
    bool first = true;
    for (size_t headers = 0; pos + 8 <= src.size; ++headers) {
        if ((pos + 8 > limit || headers >= kMaxChunkHeaders) && haveFmt && haveData)
            break;
        if (headers >= kMaxChunkHeaders)
            return kAudioFileInvalidFileError;
        uint8_t ch[8];
        if (!src.read(pos, ch, 8))
            return kAudioFileInvalidFileError;
        const uint32_t id = idAt(ch);
        uint64_t size = le32(ch + 4);
        if (id == 0 && size == 0)
            break;
        const uint64_t body = pos + 8;
        const uint64_t avail = src.size - body;
        if (id == kData) {
            if (l.rf64 && size == 0xFFFFFFFFu) {
                if (!haveDs64)
                    return kAudioFileInvalidFileError;
                size = ds64Data;
            }
            l.dataOffset = body;
            // A data chunk cut short (a recording that never finished) is read up to the end.
            l.dataSize = std::min(size, avail);
            l.declaredDataSize = size;
            l.presentDataSize = l.dataSize;
            dataToEnd = size >= avail;
            haveData = true;
        } else {
            if (size > avail)
                return kAudioFileInvalidFileError;
            if (id == kDs64) {
                uint8_t d[28];
                if (!l.rf64 || size < 28 || !src.read(body, d, 28))
                    return kAudioFileInvalidFileError;
                ds64Data = le64(d + 8);
                haveDs64 = true;
                const uint64_t rf64End = le64(d) + 8;
                if (le64(d) <= src.size && rf64End >= 12 && rf64End < limit)
                    limit = rf64End;
            } else if (id == kFmt) {
                uint8_t f[40] = {};
                if (size < 16 || !src.read(body, f, std::min<uint64_t>(size, 40)))
                    return kAudioFileInvalidFileError;
                uint16_t tag = le16(f);
                const uint32_t channels = le16(f + 2);
                const uint32_t rate = le32(f + 4);
                const uint32_t align = le16(f + 12);
                const uint32_t bits = le16(f + 14);
                uint32_t valid = bits;
                if (tag == kTagExtensible) {
                    if (size < 40 || le16(f + 16) < 22 || std::memcmp(f + 26, kGuidTail, 14) != 0)
                        return kAudioFileUnsupportedDataFormatError;
                    valid = le16(f + 18);
                    l.waveChannelMask = le32(f + 20);
                    tag = le16(f + 24);
                    if (valid == 0)
                        valid = bits;
                }
                if (channels == 0 || align == 0 || align % channels != 0 || !saneRate(rate))
                    return kAudioFileInvalidFileError;
                const uint32_t width = align / channels;
                AudioStreamBasicDescription& d = l.fmt;
                d = {};
                d.mSampleRate = rate;
                d.mChannelsPerFrame = channels;
                d.mFramesPerPacket = 1;
                l.waveTag = tag;
                if (tag == kTagPCM) {
                    if (valid > width * 8 || valid == 0 || width > 4)
                        return kAudioFileInvalidFileError;
                    d.mFormatID = kAudioFormatLinearPCM;
                    // 8-bit WAVE samples are unsigned.
                    d.mFormatFlags = width > 1 ? uint32_t(kAudioFormatFlagIsSignedInteger) : 0u;
                    d.mBitsPerChannel = valid;
                } else if (tag == kTagFloat) {
                    if (!((width == 4 && bits == 32) || (width == 8 && bits == 64)))
                        return kAudioFileInvalidFileError;
                    d.mFormatID = kAudioFormatLinearPCM;
                    d.mFormatFlags = kAudioFormatFlagIsFloat;
                    d.mBitsPerChannel = bits;
                } else if (tag == kTagALaw || tag == kTagULaw) {
                    if (width != 1)
                        return kAudioFileInvalidFileError;
                    d.mFormatID = tag == kTagULaw ? PvFourCC("ulaw") : PvFourCC("alaw");
                    d.mBitsPerChannel = 8;
                } else {
                    // Other codecs are named as the platform names them: 'ms' and the tag.
                    d.mFormatID = PvFourCC("ms\0\0") | tag;
                }
                if (d.mFormatID == kAudioFormatLinearPCM) {
                    if (!completePCM(d, width))
                        return kAudioFileInvalidFileError;
                } else {
                    d.mBytesPerFrame = d.mBytesPerPacket = align;
                }
                l.sampleWidth = width;
                if (size <= 0xFFFF) {
                    l.formatChunk.resize(size_t(size));
                    if (!src.read(body, l.formatChunk.data(), l.formatChunk.size()))
                        return kAudioFileInvalidFileError;
                }
                haveFmt = true;
            } else if (!(first && id == kJunk && size == kReserve) && l.chunks.size() < kMaxChunks) {
                Chunk c;
                c.id = id;
                c.offset = body;
                c.size = size;
                c.afterData = haveData;
                l.chunks.push_back(std::move(c));
            }
        }
        first = false;
        if (id == kData && dataToEnd)
            break;
        pos = body + size + (size & 1);
    }
    if (!haveFmt)
        return kAudioFileInvalidFileError;
    if (!haveData) {
        if (l.fmt.mBytesPerFrame == 0)
            return kAudioFileInvalidFileError;
        l.dataOffset = src.size;
    }
    if (l.fmt.mBytesPerFrame != 0)
        l.dataSize -= l.dataSize % l.fmt.mBytesPerFrame;
    Layout shape = l;
    buildWave(shape, true);
    bool same = haveData && shape.dataOffset == l.dataOffset;
    for (size_t i = 0; same && i < l.chunks.size(); ++i)
        same = shape.chunks[i].offset == l.chunks[i].offset;
    // A missing pad byte after odd data that ends the file is tolerated.
    const bool trailing = trailerSize(l.chunks, ChunkSizeForm::LittleEndian32Padded) != 0;
    l.canonical = same && (shape.end == src.size || (!trailing && shape.end == src.size + (l.dataSize & 1)));
    return noErr;
}

OSStatus prepareWave(Layout& l)
{
    AudioStreamBasicDescription& f = l.fmt;
    const bool isFloat = f.mFormatFlags & kAudioFormatFlagIsFloat;
    const uint32_t bits = f.mBitsPerChannel;
    if (f.mFormatID != kAudioFormatLinearPCM || f.mChannelsPerFrame == 0 || f.mChannelsPerFrame > 65535)
        return kAudioFileUnsupportedDataFormatError;
    if ((f.mFormatFlags & kAudioFormatFlagIsBigEndian) && bits > 8)
        return kAudioFileUnsupportedDataFormatError;
    if (!isFloat && (bits < 8 || bits > 32))
        return kAudioFileUnsupportedDataFormatError;
    const uint32_t width = isFloat ? bits / 8 : (bits + 7) / 8;
    f.mFormatFlags = isFloat ? uint32_t(kAudioFormatFlagIsFloat)
                             : (width > 1 ? uint32_t(kAudioFormatFlagIsSignedInteger) : 0u);
    if (!completePCM(f, width) || f.mSampleRate > 4294967295.0 || f.mBytesPerFrame > 65535)
        return kAudioFileUnsupportedDataFormatError;
    l.sampleWidth = width;
    l.waveTag = isFloat ? kTagFloat : kTagPCM;
    return noErr;
}

Bytes buildWave(Layout& l, bool shape)
{
    const AudioStreamBasicDescription& f = l.fmt;
    const uint32_t width = l.sampleWidth;
    const bool extensible = f.mChannelsPerFrame > 2 || f.mBitsPerChannel != width * 8;
    Bytes fmt;
    if (!l.formatChunk.empty()) {
        fmt = l.formatChunk; // the format as found, down to the last byte
    } else {
        putLE16(fmt, extensible ? kTagExtensible : l.waveTag);
        putLE16(fmt, f.mChannelsPerFrame);
        putLE32(fmt, uint32_t(f.mSampleRate));
        putLE32(fmt, uint32_t(f.mSampleRate) * f.mBytesPerFrame);
        putLE16(fmt, f.mBytesPerFrame);
        putLE16(fmt, width * 8);
        if (extensible) {
            putLE16(fmt, 22);
            putLE16(fmt, f.mBitsPerChannel);
            uint32_t mask = l.waveChannelMask;
            if (mask == 0 && f.mChannelsPerFrame <= 18 && f.mChannelsPerFrame != 0)
                mask = (1u << f.mChannelsPerFrame) - 1; // the first speaker positions, in order
            putLE32(fmt, mask);
            putLE16(fmt, l.waveTag);
            putBytes(fmt, kGuidTail, 14);
        } else if (l.waveTag != kTagPCM) {
            putLE16(fmt, 0); // formats other than integer PCM carry the size of an empty extension
        }
    }

    Bytes b;
    putBE32(b, kRiff);
    putLE32(b, 0); // patched below
    putBE32(b, kAudioFileWAVEType);
    const size_t reserveAt = b.size();
    putBE32(b, kJunk);
    putLE32(b, kReserve);
    b.resize(b.size() + kReserve, 0);
    putBE32(b, kFmt);
    putLE32(b, uint32_t(fmt.size()));
    b.insert(b.end(), fmt.begin(), fmt.end());
    if (fmt.size() & 1)
        b.push_back(0);
    appendChunks(b, l.chunks, shape, ChunkSizeForm::LittleEndian32Padded);
    putBE32(b, kData);
    const size_t dataSizeAt = b.size();
    putLE32(b, 0);
    l.dataOffset = b.size();
    constexpr ChunkSizeForm form = ChunkSizeForm::LittleEndian32Padded;
    l.end = placeTrailer(l.chunks, l.dataOffset + l.dataSize + (l.dataSize & 1), form);
    const uint64_t riff = l.end - 8;
    l.rf64 = l.rf64 || riff > 0xFFFFFFFFu;
    if (!l.rf64) {
        setLE32(b, 4, uint32_t(riff));
        setLE32(b, dataSizeAt, uint32_t(l.dataSize));
    } else {
        setBE32(b, 0, kRf64);
        setLE32(b, 4, 0xFFFFFFFFu);
        setBE32(b, reserveAt, kDs64);
        Bytes ds;
        putLE64(ds, riff);
        putLE64(ds, l.dataSize);
        putLE64(ds, f.mBytesPerFrame ? l.dataSize / f.mBytesPerFrame : 0);
        putLE32(ds, 0); // no table
        std::copy(ds.begin(), ds.end(), b.begin() + long(reserveAt + 8));
        setLE32(b, dataSizeAt, 0xFFFFFFFFu);
    }
    return b;
}

} // namespace pvaf
