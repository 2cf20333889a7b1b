#include "AudioAccess.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>

namespace pavoaudio {

namespace {

bool isNothingReader(tConvertNToFloat f)
{
    return f == static_cast<tConvertNToFloat>(&ConvertNothing);
}

bool isNothingWriter(tConvertFloatToN f)
{
    return f == static_cast<tConvertFloatToN>(&ConvertNothing);
}

/// CAuFileIO reads 8-bit samples with the signed reader for 'WAVE' (whose bytes are
/// unsigned) and the unsigned one for every other type (whose bytes are signed); both
/// misreadings are undone by moving each value by one full scale toward the other sign.
void fixEightBit(float* samples, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        samples[i] = samples[i] >= 0.0f ? samples[i] - 1.0f : samples[i] + 1.0f;
}

/// CAuFileIO's results are cut to 16 bits; the service's four-character codes lose
/// their name that way. Such a code is asked again from the service.
bool needsFullCode(OSStatus code)
{
    return code != noErr && PvResultCodeName(code) == nullptr;
}

} // namespace

AudioAccess::~AudioAccess()
{
    close();
}

OSStatus AudioAccess::open(const QString& path, bool writable)
{
    close();
    m_io.CloseFileAndInit();
    const QByteArray native = QFile::encodeName(QFileInfo(path).absoluteFilePath());
    if (!QFileInfo::exists(path))
        return fnfErr;
    m_io.Set(native.constData(), 0);
    OSStatus err = m_io.Open(writable ? 1 : 0);
    if (needsFullCode(err)) {
        AudioFileID probe = nullptr;
        err = AudioFileOpenPath(native.constData(),
            writable ? kAudioFileReadWritePermission : kAudioFileReadPermission, 0, &probe);
        if (probe != nullptr)
            AudioFileClose(probe);
        if (err == noErr)
            err = kAudioFileUnspecifiedError;
    }
    if (err != noErr) {
        m_io.CloseFileAndInit();
        return err;
    }
    if (m_io.mFormat.mChannelsPerFrame == 0 || m_io.mFormat.mBytesPerFrame == 0) {
        m_io.CloseFileAndInit();
        return badFileFormat;
    }
    // Frames from the stored frame size, which also counts samples whose bit depth is
    // not a whole number of bytes.
    m_frames = m_io.mDataByteCount / m_io.mFormat.mBytesPerFrame;
    return noErr;
}

OSStatus AudioAccess::create(const QString& path, uint32_t fileType, int channels, int bits, bool isFloat,
    double sampleRate, bool replace)
{
    close();
    m_io.CloseFileAndInit();
    m_frames = 0;
    const QFileInfo info(path);
    const QByteArray native = QFile::encodeName(info.absoluteFilePath());
    if (replace && (info.exists() || info.isSymLink()) && !QFile::remove(path))
        return permErr;
    // CAuFileIO makes 32-bit files float and other depths signed integers, at whole
    // sample rates; the rest is created through the service and handed to it.
    const bool frameworkCreates = (isFloat == (bits == 32)) && sampleRate == std::floor(sampleRate)
        && sampleRate >= 1 && sampleRate <= double(INT32_MAX);
    if (frameworkCreates) {
        CFileRef folder(QFile::encodeName(info.absolutePath()).constData(), 1);
        FSRef parent;
        if (!folder.GetFSRef(&parent))
            return dirNFErr;
        const OSErr err = m_io.CreateAndOpen(
            &parent, info.fileName(), 0, channels, bits, int32_t(sampleRate), int32_t(fileType), nullptr);
        if (err == noErr)
            return noErr;
        m_io.CloseFileAndInit();
        if (!needsFullCode(err))
            return err;
    }
    AudioStreamBasicDescription f {};
    f.mSampleRate = sampleRate;
    f.mFormatID = kAudioFormatLinearPCM;
    f.mFormatFlags
        = (isFloat ? kAudioFormatFlagIsFloat : kAudioFormatFlagIsSignedInteger) | kAudioFormatFlagIsPacked;
    if (fileType != kAudioFileWAVEType)
        f.mFormatFlags |= kAudioFormatFlagIsBigEndian;
    f.mBytesPerFrame = f.mBytesPerPacket = uint32_t((bits + 7) / 8 * channels);
    f.mFramesPerPacket = 1;
    f.mChannelsPerFrame = uint32_t(channels);
    f.mBitsPerChannel = uint32_t(bits);
    AudioFileID file = nullptr;
    const OSStatus err = AudioFileCreatePath(native.constData(), fileType, &f, 0, &file);
    if (err != noErr)
        return err;
    // The same state CreateAndOpen leaves behind.
    m_io.Set(native.constData(), 0);
    m_io.mAudioFile = file;
    m_io.mFormat = f;
    m_io.mFileType = fileType;
    m_io.mPermission = kAudioFileReadWritePermission;
    return noErr;
}

OSStatus AudioAccess::close()
{
    const OSStatus err = m_io.Close();
    return err;
}

int AudioAccess::sizeCode() const
{
    const int bytes = int(m_io.mFormat.mBytesPerFrame / m_io.mFormat.mChannelsPerFrame);
    return isFloat() ? -bytes : bytes;
}

bool AudioAccess::needsDirectRead(int64_t start, uint32_t count) const
{
    const int bytes = int(m_io.mFormat.mBytesPerFrame / m_io.mFormat.mChannelsPerFrame);
    return bytes != bits() / 8 || bytes > 4 || start + int64_t(count) > int64_t(INT32_MAX);
}

OSStatus AudioAccess::readFloat(float* out, int64_t start, uint32_t count, uint32_t* got)
{
    *got = 0;
    const size_t samples = size_t(count) * size_t(channels());
    std::memset(out, 0, samples * sizeof(float));
    if (!isOpen())
        return fnOpnErr;
    if (start < 0)
        return kAudioFileInvalidPacketOffsetError;
    if (needsDirectRead(start, count))
        return readDirect(out, start, count, got);
    const uint32_t n
        = uint64_t(start) >= m_frames ? 0 : uint32_t(std::min<uint64_t>(count, m_frames - uint64_t(start)));
    if (n == 0)
        return noErr;
    const OSErr err = m_io.ReadFloat(out, int32_t(start), int32_t(n));
    if (err != noErr)
        return err;
    if (sizeCode() == 1)
        fixEightBit(out, size_t(n) * size_t(channels()));
    *got = n;
    return noErr;
}

OSStatus AudioAccess::readDirect(float* out, int64_t start, uint32_t count, uint32_t* got)
{
    const int code = sizeCode();
    // Doubles are brought into host order before the native reader.
    tConvertNToFloat reader = code == -8 ? GetConvertNToFloat(-8, 0) : GetConvertNToFloat(code, swapped());
    if (isNothingReader(reader))
        return kAudioFileUnsupportedDataFormatError;
    m_raw.resize(size_t(count) * m_io.mFormat.mBytesPerFrame);
    uint32_t bytes = 0;
    uint32_t packets = count;
    const OSStatus err
        = AudioFileReadPackets(m_io.mAudioFile, true, &bytes, nullptr, start, &packets, m_raw.data());
    if (err != noErr)
        return err;
    const int32_t n = int32_t(size_t(packets) * size_t(channels()));
    if (code == -8 && swapped())
        PSwapLongLong(m_raw.data(), n);
    reader(reinterpret_cast<int32_t*>(out), m_raw.data(), n, nullptr);
    if (code == 1)
        fixEightBit(out, size_t(n));
    *got = packets;
    return noErr;
}

OSStatus AudioAccess::writeFloat(const float* in, int64_t start, uint32_t count)
{
    if (!isOpen())
        return fnOpnErr;
    const int code = sizeCode();
    // CAuFileIO stores 8-bit samples signed; WAVE wants them unsigned.
    if (code < -4 || code > 4 || (code == 1 && !swapped()) || start + int64_t(count) > int64_t(INT32_MAX))
        return writeDirect(in, start, count);
    // WriteFloat only reads its input.
    const OSErr err = m_io.WriteFloat(const_cast<float*>(in), int32_t(start), int32_t(count));
    if (err == noErr)
        m_frames = std::max<uint64_t>(m_frames, uint64_t(start) + count);
    return err;
}

OSStatus AudioAccess::writeDirect(const float* in, int64_t start, uint32_t count)
{
    const int code = sizeCode();
    tConvertFloatToN writer = code == 1 ? GetConvertFloatToN(1, 0)
        : code == -8                    ? GetConvertFloatToN(-8, 0)
                                        : GetConvertFloatToN(code, swapped());
    if (isNothingWriter(writer))
        return kAudioFileUnsupportedDataFormatError;
    const int32_t n = int32_t(size_t(count) * size_t(channels()));
    m_raw.resize(size_t(count) * m_io.mFormat.mBytesPerFrame);
    // The writers only read their float input.
    writer(m_raw.data(), reinterpret_cast<int32_t*>(const_cast<float*>(in)), n, nullptr);
    if (code == 1 && !swapped()) {
        for (int32_t i = 0; i < n; ++i)
            m_raw[size_t(i)] ^= 0x80;
    } else if (code == -8 && swapped()) {
        PSwapLongLong(m_raw.data(), n);
    }
    uint32_t packets = count;
    const OSStatus err = AudioFileWritePackets(
        m_io.mAudioFile, true, uint32_t(m_raw.size()), nullptr, start, &packets, m_raw.data());
    if (err == noErr)
        m_frames = std::max<uint64_t>(m_frames, uint64_t(start) + count);
    return err;
}

bool AudioAccess::hasWords() const
{
    const int bytes = bytesPerSample();
    return isOpen() && (isFloat() ? bytes == 4 : bytes >= 1 && bytes <= 4);
}

OSStatus AudioAccess::readWords(uint32_t* out, int64_t start, uint32_t count, uint32_t* got)
{
    *got = 0;
    const size_t samples = size_t(count) * size_t(channels());
    std::memset(out, 0, samples * sizeof(uint32_t));
    if (!hasWords())
        return isOpen() ? OSStatus(kAudioFileUnsupportedDataFormatError) : OSStatus(fnOpnErr);
    if (start < 0)
        return kAudioFileInvalidPacketOffsetError;
    const int bytes = bytesPerSample();
    m_raw.resize(size_t(count) * m_io.mFormat.mBytesPerFrame);
    uint32_t size = 0;
    uint32_t packets = count;
    const OSStatus err
        = AudioFileReadPackets(m_io.mAudioFile, true, &size, nullptr, start, &packets, m_raw.data());
    if (err != noErr)
        return err;
    const bool big = swapped();
    // WAVE keeps 8-bit samples unsigned; flipping the top bit makes them signed.
    const uint32_t flip = bytes == 1 && !big && !isFloat() ? 0x80000000u : 0;
    const size_t n = size_t(packets) * size_t(channels());
    const uint8_t* p = m_raw.data();
    for (size_t i = 0; i < n; ++i, p += bytes) {
        uint32_t w = 0;
        for (int b = 0; b < bytes; ++b)
            w |= uint32_t(p[big ? b : bytes - 1 - b]) << (24 - 8 * b);
        out[i] = w ^ flip;
    }
    *got = packets;
    return noErr;
}

OSStatus AudioAccess::writeWords(const uint32_t* in, int64_t start, uint32_t count)
{
    if (!hasWords())
        return isOpen() ? OSStatus(kAudioFileUnsupportedDataFormatError) : OSStatus(fnOpnErr);
    const int bytes = bytesPerSample();
    const bool big = swapped();
    const uint32_t flip = bytes == 1 && !big && !isFloat() ? 0x80000000u : 0;
    const size_t n = size_t(count) * size_t(channels());
    m_raw.resize(size_t(count) * m_io.mFormat.mBytesPerFrame);
    uint8_t* p = m_raw.data();
    for (size_t i = 0; i < n; ++i, p += bytes) {
        const uint32_t w = in[i] ^ flip;
        for (int b = 0; b < bytes; ++b)
            p[big ? b : bytes - 1 - b] = uint8_t(w >> (24 - 8 * b));
    }
    uint32_t packets = count;
    const OSStatus err = AudioFileWritePackets(
        m_io.mAudioFile, true, uint32_t(m_raw.size()), nullptr, start, &packets, m_raw.data());
    if (err == noErr)
        m_frames = std::max<uint64_t>(m_frames, uint64_t(start) + count);
    return err;
}

uint32_t AudioAccess::countChunks(uint32_t id)
{
    uint32_t n = 0;
    if (!isOpen() || AudioFileCountUserData(m_io.mAudioFile, id, &n) != noErr)
        return 0;
    return n;
}

OSStatus AudioAccess::listChunks(std::vector<ChunkEntry>& out)
{
    out.clear();
    if (!isOpen())
        return fnOpnErr;
    uint32_t size = 0;
    OSStatus err = AudioFileGetPropertyInfo(m_io.mAudioFile, kAudioFilePropertyChunkIDs, &size, nullptr);
    if (err != noErr)
        return err;
    std::vector<uint32_t> ids(size / 4);
    if (size != 0
        && (err = AudioFileGetProperty(m_io.mAudioFile, kAudioFilePropertyChunkIDs, &size, ids.data()))
            != noErr)
        return err;
    for (uint32_t id : ids) {
        const uint32_t n = countChunks(id);
        for (uint32_t i = 0; i < n; ++i) {
            ChunkEntry e;
            e.id = id;
            e.index = i;
            if ((err = AudioFileGetUserDataSize(m_io.mAudioFile, id, i, &e.size)) != noErr)
                return err;
            out.push_back(e);
        }
    }
    return noErr;
}

OSStatus AudioAccess::readChunk(uint32_t id, uint32_t index, std::vector<uint8_t>& out)
{
    out.clear();
    if (!isOpen())
        return fnOpnErr;
    if (index == 0) {
        CChunkData chunk;
        switch (m_io.FindChunk(int32_t(id), chunk)) {
        case 1:
            out.assign(chunk.mData, chunk.mData + chunk.mSize);
            return noErr;
        case -2:
            return kAudioFileInvalidChunkError;
        default:
            return ioErr;
        }
    }
    uint32_t size = 0;
    OSStatus err = AudioFileGetUserDataSize(m_io.mAudioFile, id, index, &size);
    if (err != noErr)
        return err;
    out.resize(size);
    if (size == 0)
        return noErr;
    err = AudioFileGetUserData(m_io.mAudioFile, id, index, &size, out.data());
    out.resize(err == noErr ? size : 0);
    return err;
}

OSStatus AudioAccess::writeChunk(uint32_t id, uint32_t index, const std::vector<uint8_t>& data)
{
    if (!isOpen())
        return fnOpnErr;
    if (data.empty())
        return paramErr; // an empty payload would remove the chunk
    if (index == 0) {
        CChunkData chunk;
        chunk.SetData(data.data(), int32_t(data.size()));
        chunk.mID = id;
        if (m_io.AddChunk(chunk, 0) == 1)
            return noErr;
        // AddChunk says only that it failed: the service tells why.
    }
    return AudioFileSetUserData(m_io.mAudioFile, id, index, uint32_t(data.size()), data.data());
}

OSStatus AudioAccess::removeChunk(uint32_t id, uint32_t index)
{
    if (!isOpen())
        return fnOpnErr;
    if (index == 0) {
        if (countChunks(id) == 0)
            return kAudioFileInvalidChunkError;
        const OSErr err = m_io.RemoveChunk(int32_t(id));
        if (!needsFullCode(err))
            return err == -1 ? OSStatus(kAudioFilePermissionsError) : err;
    }
    return AudioFileRemoveUserData(m_io.mAudioFile, id, index);
}

} // namespace pavoaudio
