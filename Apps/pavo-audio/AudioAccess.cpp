#include "AudioAccess.h"

#include <QFile>

#include <cstring>

namespace pavoaudio {

namespace {

bool sameReader(tConvertNToFloat f)
{
    return f == static_cast<tConvertNToFloat>(&ConvertNothing);
}

bool sameWriter(tConvertFloatToN f)
{
    return f == static_cast<tConvertFloatToN>(&ConvertNothing);
}

} // namespace

AudioAccess::~AudioAccess()
{
    close();
}

OSStatus AudioAccess::open(const QString& path, bool writable)
{
    close();
    const QByteArray native = QFile::encodeName(path);
    OSStatus err = AudioFileOpenPath(
        native.constData(), writable ? kAudioFileReadWritePermission : kAudioFileReadPermission, 0, &m_file);
    if (err != noErr) {
        m_file = nullptr;
        return err;
    }
    err = readFormat();
    if (err != noErr)
        close();
    return err;
}

OSStatus AudioAccess::create(const QString& path, uint32_t fileType, int channels, int bits, bool isFloat,
    double sampleRate, bool replace)
{
    close();
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
    const QByteArray native = QFile::encodeName(path);
    OSStatus err = AudioFileCreatePath(
        native.constData(), fileType, &f, replace ? uint32_t(kAudioFileFlags_EraseFile) : 0u, &m_file);
    if (err != noErr) {
        m_file = nullptr;
        return err;
    }
    err = readFormat();
    if (err != noErr)
        close();
    return err;
}

OSStatus AudioAccess::close()
{
    if (m_file == nullptr)
        return noErr;
    const OSStatus err = AudioFileClose(m_file);
    m_file = nullptr;
    return err;
}

OSStatus AudioAccess::readFormat()
{
    uint32_t size = sizeof m_format;
    OSStatus err = AudioFileGetProperty(m_file, kAudioFilePropertyDataFormat, &size, &m_format);
    if (err != noErr)
        return err;
    if (m_format.mFormatID != kAudioFormatLinearPCM || m_format.mChannelsPerFrame == 0
        || m_format.mBytesPerFrame == 0)
        return badFileFormat;
    size = sizeof m_fileType;
    if ((err = AudioFileGetProperty(m_file, kAudioFilePropertyFileFormat, &size, &m_fileType)) != noErr)
        return err;
    size = sizeof m_dataBytes;
    if ((err = AudioFileGetProperty(m_file, kAudioFilePropertyAudioDataByteCount, &size, &m_dataBytes))
        != noErr)
        return err;
    size = sizeof m_frames;
    return AudioFileGetProperty(m_file, kAudioFilePropertyAudioDataPacketCount, &size, &m_frames);
}

int AudioAccess::sizeCode() const
{
    const int bytes = int(m_format.mBytesPerFrame / m_format.mChannelsPerFrame);
    return isFloat() ? -bytes : bytes;
}

OSStatus AudioAccess::readFloat(float* out, int64_t start, uint32_t count, uint32_t* got)
{
    *got = 0;
    const size_t samples = size_t(count) * size_t(channels());
    std::memset(out, 0, samples * sizeof(float));
    if (m_file == nullptr)
        return fnOpnErr;
    const int code = sizeCode();
    // 8-bit data is handed to the signed reader: WAVE stores it unsigned, the other
    // containers signed. Doubles are brought into host order before the native reader.
    tConvertNToFloat reader = code == 1 ? GetConvertNToFloat(1, 0)
        : code == -8                    ? GetConvertNToFloat(-8, 0)
                                        : GetConvertNToFloat(code, swapped());
    if (sameReader(reader))
        return kAudioFileUnsupportedDataFormatError;
    m_raw.resize(size_t(count) * m_format.mBytesPerFrame);
    uint32_t bytes = 0;
    uint32_t packets = count;
    const OSStatus err = AudioFileReadPackets(m_file, true, &bytes, nullptr, start, &packets, m_raw.data());
    if (err != noErr)
        return err;
    const int32_t n = int32_t(size_t(packets) * size_t(channels()));
    if (code == 1 && !swapped()) {
        for (int32_t i = 0; i < n; ++i)
            m_raw[size_t(i)] ^= 0x80;
    } else if (code == -8 && swapped()) {
        PSwapLongLong(m_raw.data(), n);
    }
    reader(reinterpret_cast<int32_t*>(out), m_raw.data(), n, nullptr);
    *got = packets;
    return noErr;
}

OSStatus AudioAccess::writeFloat(const float* in, int64_t start, uint32_t count)
{
    if (m_file == nullptr)
        return fnOpnErr;
    const int code = sizeCode();
    tConvertFloatToN writer = code == 1 ? GetConvertFloatToN(1, 0)
        : code == -8                    ? GetConvertFloatToN(-8, 0)
                                        : GetConvertFloatToN(code, swapped());
    if (sameWriter(writer))
        return kAudioFileUnsupportedDataFormatError;
    const int32_t n = int32_t(size_t(count) * size_t(channels()));
    m_raw.resize(size_t(count) * m_format.mBytesPerFrame);
    // The writers only read their float input.
    writer(m_raw.data(), reinterpret_cast<int32_t*>(const_cast<float*>(in)), n, nullptr);
    if (code == 1 && !swapped()) {
        for (int32_t i = 0; i < n; ++i)
            m_raw[size_t(i)] ^= 0x80;
    } else if (code == -8 && swapped()) {
        PSwapLongLong(m_raw.data(), n);
    }
    uint32_t packets = count;
    const OSStatus err
        = AudioFileWritePackets(m_file, true, uint32_t(m_raw.size()), nullptr, start, &packets, m_raw.data());
    if (err == noErr && start + int64_t(count) > int64_t(m_frames)) {
        m_frames = uint64_t(start) + count;
        m_dataBytes = m_frames * m_format.mBytesPerFrame;
    }
    return err;
}

uint32_t AudioAccess::countChunks(uint32_t id)
{
    uint32_t n = 0;
    if (m_file == nullptr || AudioFileCountUserData(m_file, id, &n) != noErr)
        return 0;
    return n;
}

OSStatus AudioAccess::listChunks(std::vector<ChunkEntry>& out)
{
    out.clear();
    if (m_file == nullptr)
        return fnOpnErr;
    uint32_t size = 0;
    OSStatus err = AudioFileGetPropertyInfo(m_file, kAudioFilePropertyChunkIDs, &size, nullptr);
    if (err != noErr)
        return err;
    std::vector<uint32_t> ids(size / 4);
    if (size != 0
        && (err = AudioFileGetProperty(m_file, kAudioFilePropertyChunkIDs, &size, ids.data())) != noErr)
        return err;
    for (uint32_t id : ids) {
        const uint32_t n = countChunks(id);
        for (uint32_t i = 0; i < n; ++i) {
            ChunkEntry e;
            e.id = id;
            e.index = i;
            if ((err = AudioFileGetUserDataSize(m_file, id, i, &e.size)) != noErr)
                return err;
            out.push_back(e);
        }
    }
    return noErr;
}

OSStatus AudioAccess::readChunk(uint32_t id, uint32_t index, std::vector<uint8_t>& out)
{
    out.clear();
    if (m_file == nullptr)
        return fnOpnErr;
    uint32_t size = 0;
    OSStatus err = AudioFileGetUserDataSize(m_file, id, index, &size);
    if (err != noErr)
        return err;
    out.resize(size);
    if (size == 0)
        return noErr;
    err = AudioFileGetUserData(m_file, id, index, &size, out.data());
    out.resize(err == noErr ? size : 0);
    return err;
}

OSStatus AudioAccess::writeChunk(uint32_t id, uint32_t index, const std::vector<uint8_t>& data)
{
    if (m_file == nullptr)
        return fnOpnErr;
    if (data.empty())
        return paramErr; // an empty payload would remove the chunk
    return AudioFileSetUserData(m_file, id, index, uint32_t(data.size()), data.data());
}

OSStatus AudioAccess::removeChunk(uint32_t id, uint32_t index)
{
    if (m_file == nullptr)
        return fnOpnErr;
    return AudioFileRemoveUserData(m_file, id, index);
}

} // namespace pavoaudio
