// AIFF and AIFC: a FORM of big-endian chunks; COMM describes the samples, SSND holds them.
#include "PvAudioFile_p.h"

#include <algorithm>
#include <cmath>

namespace pvaf {

namespace {

constexpr uint32_t kForm = PvFourCC("FORM");
constexpr uint32_t kComm = PvFourCC("COMM");
constexpr uint32_t kSsnd = PvFourCC("SSND");
constexpr uint32_t kFver = PvFourCC("FVER");
constexpr uint32_t kAifcVersion1 = 0xA2805140u; // the only AIFC version there is

struct Compression {
    uint32_t id;
    const char* name; // the text written after the compression type
};
constexpr Compression kCompressions[] = {
    {PvFourCC("NONE"), "not compressed"},
    {PvFourCC("twos"), "twos"},
    {PvFourCC("sowt"), ""},
    {PvFourCC("fl32"), "32-bit floating point"},
    {PvFourCC("fl64"), "64-bit floating point"},
};

} // namespace

bool isAiffStructural(uint32_t id)
{
    return id == kComm || id == kSsnd || id == kFver || id == kForm;
}

OSStatus parseAiff(const Source& src, Layout& l)
{
    uint8_t head[12];
    if (!src.read(0, head, 12) || be32(head) != kForm)
        return kAudioFileInvalidFileError;
    const uint32_t form = be32(head + 8);
    if (form != kAudioFileAIFFType && form != kAudioFileAIFCType)
        return kAudioFileUnsupportedFileTypeError;
    l = Layout {};
    l.type = form;
    const bool aifc = form == kAudioFileAIFCType;
    bool haveComm = false, haveSsnd = false;
    uint32_t frames = 0;
    uint64_t ssndBegin = 0, ssndSize = 0;
    bool ssndSizeChecked = true;
    // The walk ends where the FORM says the file ends (recorders leave zeros after it).
    // Careless writers get the FORM size wrong, so a file whose COMM or SSND lies beyond
    // that is walked on to its end. An all-zero chunk header is padding too.
    uint64_t limit = src.size;
    const uint64_t formEnd = 8 + uint64_t(be32(head + 4));
    if (formEnd >= 12 && formEnd < limit)
        limit = formEnd;
    uint64_t ssndDeclared = 0;
    uint64_t pos = 12;
    for (size_t headers = 0; pos + 8 <= src.size; ++headers) {
        if ((pos + 8 > limit || headers >= kMaxChunkHeaders) && haveComm && haveSsnd)
            break;
        if (headers >= kMaxChunkHeaders)
            return kAudioFileInvalidFileError;
        uint8_t ch[8];
        if (!src.read(pos, ch, 8))
            return kAudioFileInvalidFileError;
        const uint32_t id = be32(ch);
        const uint64_t size = be32(ch + 4);
        if (id == 0 && size == 0)
            break;
        const uint64_t body = pos + 8;
        const uint64_t avail = src.size - body;
        if (id == kSsnd) {
            uint8_t s[8];
            if (size < 8 || !src.read(body, s, 8))
                return kAudioFileInvalidFileError;
            const uint64_t off = be32(s);
            if (off > size - 8 || off > avail - 8)
                return kAudioFileInvalidFileError;
            ssndBegin = body + 8 + off;
            // A data chunk cut short (a recording that never finished) is read up to the end.
            ssndSize = std::min<uint64_t>(size - 8 - off, avail - 8 - off);
            ssndDeclared = size - 8 - off;
            ssndSizeChecked = size <= avail;
            haveSsnd = true;
        } else {
            if (size > avail)
                return kAudioFileInvalidFileError;
            if (id == kComm) {
                uint8_t c[24] = {};
                if (size < 18 || (aifc && size < 22) || !src.read(body, c, aifc ? 22 : 18))
                    return kAudioFileInvalidFileError;
                const uint32_t channels = be16(c);
                frames = be32(c + 2);
                const uint32_t bits = be16(c + 6);
                const double rate = fromExtended(c + 8);
                const uint32_t comp = aifc ? be32(c + 18) : PvFourCC("NONE");
                if (channels == 0 || !saneRate(rate))
                    return kAudioFileInvalidFileError;
                AudioStreamBasicDescription& f = l.fmt;
                f = {};
                f.mSampleRate = rate;
                f.mChannelsPerFrame = channels;
                f.mFramesPerPacket = 1;
                l.compression = comp;
                uint32_t width = 0;
                // 'in24'/'in32' are big-endian integers by another name, '42ni'/'23ni' their
                // little-endian twins.
                const bool littleInt
                    = comp == PvFourCC("sowt") || comp == PvFourCC("42ni") || comp == PvFourCC("23ni");
                if (comp == PvFourCC("NONE") || comp == PvFourCC("twos") || comp == PvFourCC("in24")
                    || comp == PvFourCC("in32") || littleInt) {
                    if (bits < 1 || bits > 32)
                        return kAudioFileInvalidFileError;
                    width = (bits + 7) / 8;
                    f.mFormatID = kAudioFormatLinearPCM;
                    f.mFormatFlags = kAudioFormatFlagIsSignedInteger | kAudioFormatFlagIsBigEndian;
                    f.mBitsPerChannel = bits;
                    l.swapped = littleInt && width > 1;
                } else if (comp == PvFourCC("fl32") || comp == PvFourCC("FL32")) {
                    width = 4;
                    f.mFormatID = kAudioFormatLinearPCM;
                    f.mFormatFlags = kAudioFormatFlagIsFloat | kAudioFormatFlagIsBigEndian;
                    f.mBitsPerChannel = 32;
                } else if (comp == PvFourCC("fl64") || comp == PvFourCC("FL64")) {
                    width = 8;
                    f.mFormatID = kAudioFormatLinearPCM;
                    f.mFormatFlags = kAudioFormatFlagIsFloat | kAudioFormatFlagIsBigEndian;
                    f.mBitsPerChannel = 64;
                } else if (comp == PvFourCC("ulaw") || comp == PvFourCC("ULAW") || comp == PvFourCC("alaw")
                    || comp == PvFourCC("ALAW")) {
                    // Compressed, but of a constant packet size: opened so that callers can
                    // see what it is and refuse it.
                    width = 1;
                    f.mFormatID
                        = (comp | 0x20202020u) == PvFourCC("ulaw") ? PvFourCC("ulaw") : PvFourCC("alaw");
                    f.mBitsPerChannel = 8;
                } else if (comp == PvFourCC("ima4")) {
                    // IMA ADPCM: 64 frames in 34 bytes per channel; COMM counts packets.
                    f.mFormatID = comp;
                    f.mFramesPerPacket = 64;
                    f.mBytesPerPacket = 34 * channels;
                } else {
                    // Another codec: reported as it is, so that a caller can refuse it.
                    f.mFormatID = comp;
                    f.mFramesPerPacket = 0;
                }
                if (f.mFormatID == kAudioFormatLinearPCM) {
                    if (!completePCM(f, width))
                        return kAudioFileInvalidFileError;
                } else if (width != 0) {
                    f.mBytesPerFrame = f.mBytesPerPacket = channels;
                }
                l.sampleWidth = width;
                if (size <= 0xFFFF) {
                    l.formatChunk.resize(size_t(size));
                    if (!src.read(body, l.formatChunk.data(), l.formatChunk.size()))
                        return kAudioFileInvalidFileError;
                }
                haveComm = true;
            } else if (id != kFver && l.chunks.size() < kMaxChunks) {
                Chunk c;
                c.id = id;
                c.offset = body;
                c.size = size;
                c.afterData = haveSsnd;
                l.chunks.push_back(std::move(c));
            }
        }
        if (id == kSsnd && !ssndSizeChecked)
            break; // the data runs to the end of the file
        pos = body + size + (size & 1);
    }
    if (!haveComm)
        return kAudioFileInvalidFileError;
    l.dataOffset = ssndBegin;
    l.dataSize = 0;
    if (haveSsnd) {
        const uint64_t packetBytes = l.fmt.mBytesPerPacket;
        uint64_t size = packetBytes ? ssndSize - ssndSize % packetBytes : ssndSize;
        // Writers pad SSND; the frame count of COMM says how much of it is sound.
        // (A frame count of 0 with sound present is a header that was never finished.)
        l.declaredDataSize = ssndDeclared;
        if (frames != 0 && packetBytes != 0) {
            size = std::min<uint64_t>(size, uint64_t(frames) * packetBytes);
            l.declaredDataSize = std::min<uint64_t>(ssndDeclared, uint64_t(frames) * packetBytes);
        }
        l.dataSize = size;
        l.presentDataSize = std::min(l.declaredDataSize, ssndSize);
    } else if (frames != 0) {
        return kAudioFileInvalidFileError;
    }
    if (!haveSsnd) {
        // A file without sound data gets its SSND at the end when it is written to.
        l.dataOffset = src.size;
    }
    // Canonical: the header we would write has the same shape and the data ends the file.
    Layout shape = l;
    buildAiff(shape, true);
    bool same = shape.dataOffset == l.dataOffset && haveSsnd;
    for (size_t i = 0; same && i < l.chunks.size(); ++i)
        same = shape.chunks[i].offset == l.chunks[i].offset;
    // A missing pad byte after odd data that ends the file is tolerated.
    const bool trailing = trailerSize(l.chunks, ChunkSizeForm::BigEndian32Padded) != 0;
    l.canonical = same && (shape.end == src.size || (!trailing && shape.end == src.size + (l.dataSize & 1)));
    return noErr;
}

OSStatus prepareAiff(Layout& l)
{
    AudioStreamBasicDescription& f = l.fmt;
    const bool isFloat = f.mFormatFlags & kAudioFormatFlagIsFloat;
    const bool big = f.mFormatFlags & kAudioFormatFlagIsBigEndian;
    const uint32_t bits = f.mBitsPerChannel;
    if (f.mFormatID != kAudioFormatLinearPCM || f.mChannelsPerFrame == 0 || f.mChannelsPerFrame > 65535)
        return kAudioFileUnsupportedDataFormatError;
    uint32_t width = (bits + 7) / 8;
    if (isFloat) {
        if (bits != 32 && bits != 64)
            return kAudioFileUnsupportedDataFormatError;
        l.compression = bits == 32 ? PvFourCC("fl32") : PvFourCC("fl64");
        l.type = kAudioFileAIFCType;
        // Floats are stored big-endian whatever the caller asked for.
    } else {
        if (bits < 8 || bits > 32)
            return kAudioFileUnsupportedDataFormatError;
        if (!big && width > 1) {
            l.compression = PvFourCC("sowt");
            l.type = kAudioFileAIFCType;
            l.swapped = true;
        } else {
            l.compression = PvFourCC("NONE");
        }
    }
    f.mFormatFlags
        = (isFloat ? kAudioFormatFlagIsFloat : kAudioFormatFlagIsSignedInteger) | kAudioFormatFlagIsBigEndian;
    f.mFramesPerPacket = 1;
    if (!completePCM(f, width))
        return kAudioFileUnsupportedDataFormatError;
    l.sampleWidth = width;
    return noErr;
}

Bytes buildAiff(Layout& l, bool shape)
{
    const bool aifc = l.type == kAudioFileAIFCType;
    const AudioStreamBasicDescription& f = l.fmt;
    Bytes b;
    putBE32(b, kForm);
    putBE32(b, 0); // patched below
    putBE32(b, l.type);
    if (aifc) {
        putBE32(b, kFver);
        putBE32(b, 4);
        putBE32(b, kAifcVersion1);
    }
    Bytes comm;
    const uint64_t frames = f.mBytesPerPacket ? l.dataSize / f.mBytesPerPacket : 0;
    if (!l.formatChunk.empty()) {
        // The format as found, down to the compression's name; only the count follows the data.
        comm = l.formatChunk;
        if (f.mBytesPerPacket)
            setBE32(comm, 2, uint32_t(std::min<uint64_t>(frames, 0xFFFFFFFFu)));
    } else {
        putBE16(comm, f.mChannelsPerFrame);
        putBE32(comm, uint32_t(std::min<uint64_t>(frames, 0xFFFFFFFFu)));
        putBE16(comm, f.mBitsPerChannel);
        uint8_t ext[10];
        toExtended(f.mSampleRate, ext);
        putBytes(comm, ext, 10);
        if (aifc) {
            putBE32(comm, l.compression);
            const char* name = "";
            for (const Compression& c : kCompressions)
                if (c.id == l.compression)
                    name = c.name;
            const size_t n = std::strlen(name);
            comm.push_back(uint8_t(n));
            putBytes(comm, name, n);
            if ((n + 1) & 1)
                comm.push_back(0); // the name's Pascal string is padded to an even length
        }
    }
    putBE32(b, kComm);
    putBE32(b, uint32_t(comm.size()));
    b.insert(b.end(), comm.begin(), comm.end());
    if (comm.size() & 1)
        b.push_back(0);
    appendChunks(b, l.chunks, shape, ChunkSizeForm::BigEndian32Padded);
    putBE32(b, kSsnd);
    const uint64_t ssnd = 8 + l.dataSize;
    putBE32(b, uint32_t(ssnd));
    putBE32(b, 0); // offset
    putBE32(b, 0); // block size
    l.dataOffset = b.size();
    l.end = placeTrailer(
        l.chunks, l.dataOffset + l.dataSize + (l.dataSize & 1), ChunkSizeForm::BigEndian32Padded);
    setBE32(b, 4, uint32_t(l.end - 8));
    return b;
}

// ---- shared helpers of the service ----------------------------------------------

namespace {

uint64_t chunkHeaderSize(ChunkSizeForm form)
{
    return form == ChunkSizeForm::BigEndian64 ? 12 : 8;
}

uint64_t chunkPad(const Chunk& c, ChunkSizeForm form)
{
    return form == ChunkSizeForm::BigEndian64 ? 0 : (c.size & 1);
}

void putChunkHeader(Bytes& b, const Chunk& c, ChunkSizeForm form)
{
    putBE32(b, c.id);
    if (form == ChunkSizeForm::BigEndian64)
        putBE64(b, c.size);
    else if (form == ChunkSizeForm::BigEndian32Padded)
        putBE32(b, uint32_t(c.size));
    else
        putLE32(b, uint32_t(c.size));
}

} // namespace

void appendChunks(Bytes& b, std::vector<Chunk>& chunks, bool shape, ChunkSizeForm form)
{
    for (Chunk& c : chunks) {
        if (c.afterData)
            continue;
        putChunkHeader(b, c, form);
        c.offset = b.size();
        if (shape || !c.loaded)
            b.resize(b.size() + c.size, 0);
        else
            b.insert(b.end(), c.payload.begin(), c.payload.end());
        if (chunkPad(c, form))
            b.push_back(0);
    }
}

uint64_t trailerSize(const std::vector<Chunk>& chunks, ChunkSizeForm form)
{
    uint64_t n = 0;
    for (const Chunk& c : chunks)
        if (c.afterData)
            n += chunkHeaderSize(form) + c.size + chunkPad(c, form);
    return n;
}

uint64_t placeTrailer(std::vector<Chunk>& chunks, uint64_t start, ChunkSizeForm form)
{
    for (Chunk& c : chunks) {
        if (!c.afterData)
            continue;
        c.offset = start + chunkHeaderSize(form);
        start = c.offset + c.size + chunkPad(c, form);
    }
    return start;
}

Bytes buildTrailer(const std::vector<Chunk>& chunks, ChunkSizeForm form)
{
    Bytes b;
    for (const Chunk& c : chunks) {
        if (!c.afterData)
            continue;
        putChunkHeader(b, c, form);
        b.insert(b.end(), c.payload.begin(), c.payload.end());
        if (chunkPad(c, form))
            b.push_back(0);
    }
    return b;
}

bool saneRate(double rate)
{
    return std::isfinite(rate) && rate >= 1.0 && rate <= 1.0e9;
}

double fromExtended(const uint8_t* p)
{
    const int sign = (p[0] & 0x80) ? -1 : 1;
    const int exponent = ((p[0] & 0x7F) << 8) | p[1];
    const uint64_t mantissa = be64(p + 2);
    if (exponent == 0 && mantissa == 0)
        return 0.0;
    if (exponent == 0x7FFF)
        return NAN;
    return sign * std::ldexp(double(mantissa), exponent - 16383 - 63);
}

void toExtended(double value, uint8_t* out)
{
    std::memset(out, 0, 10);
    if (!(value > 0.0) || !std::isfinite(value))
        return;
    int e = 0;
    const double m = std::frexp(value, &e); // value = m * 2^e, 0.5 <= m < 1
    const int exponent = e - 1 + 16383;
    const uint64_t mantissa = uint64_t(std::ldexp(m, 64));
    out[0] = uint8_t(exponent >> 8);
    out[1] = uint8_t(exponent);
    for (int i = 0; i < 8; ++i)
        out[2 + i] = uint8_t(mantissa >> (56 - 8 * i));
}

bool completePCM(AudioStreamBasicDescription& f, uint32_t width)
{
    const uint32_t bits = f.mBitsPerChannel;
    const bool isFloat = f.mFormatFlags & kAudioFormatFlagIsFloat;
    if (f.mChannelsPerFrame == 0 || f.mChannelsPerFrame > 65535)
        return false;
    if (isFloat) {
        if (!((bits == 32 && width == 4) || (bits == 64 && width == 8)))
            return false;
    } else if (bits < 1 || bits > 32 || width < (bits + 7) / 8 || width > 4) {
        return false;
    }
    f.mFormatFlags &= ~(kAudioFormatFlagIsPacked | kAudioFormatFlagIsAlignedHigh);
    f.mFormatFlags |= bits == width * 8 ? kAudioFormatFlagIsPacked : kAudioFormatFlagIsAlignedHigh;
    if (width == 1)
        f.mFormatFlags &= ~kAudioFormatFlagIsBigEndian;
    f.mFramesPerPacket = 1;
    f.mBytesPerFrame = f.mBytesPerPacket = width * f.mChannelsPerFrame;
    f.mReserved = 0;
    return true;
}

} // namespace pvaf
