#include "CAuFileIO.h"

#include "ByteSwap.h"
#include "MacRoman.h"
#include "SampleConverters.h"

#include <cstring>
#include <memory>
#include <new>

extern "C" const char strWavefile[] = " Wave File PC";
extern "C" const char strAIFFfile[] = " AIFF File";
extern "C" const char strSDIIfile[] = " SDII File";
extern "C" const char strCAFfile[] = " CAF File";
extern "C" const char strMP3file[] = " MP3 File";
extern "C" const char strMP4file[] = " MP4 File";
extern "C" const char strM4Afile[] = " AAC File";
extern "C" const char strOrigfile[] = " Original Type";

namespace {

constexpr uint32_t kWave = PvFourCC("WAVE");
constexpr uint32_t kBasicTagging = PvFourCC("basc");

} // namespace

CAuFileIO::CAuFileIO()
    : mPacketCount(0)
{
    resetFields();
}

CAuFileIO::CAuFileIO(short& err, FSSpec* fsSpec, unsigned char writable)
    : mPacketCount(0)
{
    resetFields();
    Set(fsSpec);
    err = Open(writable);
}

CAuFileIO::~CAuFileIO()
{
    CloseFileAndInit();
}

void CAuFileIO::resetFields()
{
    mPermission = -1;
    mAudioFile = nullptr;
    mDataByteCount = 0;
    mDeclaredByteCount = 0;
    mPresentByteCount = 0;
    mFileType = 0;
    std::memset(&mFormat, 0, sizeof mFormat);
}

OSStatus CAuFileIO::Close()
{
    OSStatus result = 0;
    if (mAudioFile != nullptr) {
        result = AudioFileClose(mAudioFile);
        mAudioFile = nullptr;
    }
    return result;
}

OSStatus CAuFileIO::CloseFileAndInit()
{
    if (mAudioFile != nullptr)
        AudioFileClose(mAudioFile);
    resetFields();
    return 0;
}

OSErr CAuFileIO::Open(unsigned char writable)
{
    const int32_t wanted = writable ? kAudioFileReadWritePermission : kAudioFileReadPermission;
    if (mAudioFile != nullptr) {
        if (mPermission == wanted)
            return 0;
        CloseFileAndInit();
    }
    FSRef ref;
    if (!GetFSRef(&ref))
        return fnfErr;
    mPermission = wanted;
    OSStatus err = AudioFileOpen(&ref, int8_t(mPermission), 0, &mAudioFile);
    if (err != noErr) {
        mAudioFile = nullptr;
        return OSErr(err);
    }
    uint32_t size = sizeof mFormat;
    err = AudioFileGetProperty(mAudioFile, kAudioFilePropertyDataFormat, &size, &mFormat);
    if (err == noErr && mFormat.mFormatID != kAudioFormatLinearPCM) {
        CloseFileAndInit();
        return badFileFormat;
    }
    if (err == noErr) {
        size = sizeof mDataByteCount;
        err = AudioFileGetProperty(mAudioFile, kAudioFilePropertyAudioDataByteCount, &size, &mDataByteCount);
    }
    if (err == noErr) {
        size = sizeof mFileType;
        err = AudioFileGetProperty(mAudioFile, kAudioFilePropertyFileFormat, &size, &mFileType);
    }
    if (err == noErr) {
        size = sizeof mPacketCount;
        err = AudioFileGetProperty(mAudioFile, kAudioFilePropertyAudioDataPacketCount, &size, &mPacketCount);
    }
    if (err == noErr) {
        size = sizeof mDeclaredByteCount;
        err = AudioFileGetProperty(
            mAudioFile, kAudioFilePropertyDeclaredDataByteCount, &size, &mDeclaredByteCount);
    }
    if (err == noErr) {
        size = sizeof mPresentByteCount;
        err = AudioFileGetProperty(
            mAudioFile, kAudioFilePropertyPresentDataByteCount, &size, &mPresentByteCount);
    }
    if (err != noErr) {
        CloseFileAndInit();
        return OSErr(err);
    }
    return 0;
}

OSErr CAuFileIO::Open(FSSpec* fsSpec, unsigned char writable)
{
    CloseFileAndInit();
    Set(fsSpec);
    return Open(writable);
}

OSErr CAuFileIO::Open(FSRef* ref, unsigned char writable)
{
    CFileRef temporary(ref);
    FSSpec fsSpec;
    std::memset(&fsSpec, 0, sizeof fsSpec);
    temporary.GetFSSpec(&fsSpec);
    return Open(&fsSpec, writable);
}

OSErr CAuFileIO::CreateAndOpen(const FSRef* parentDir, const QString& name, int32_t, int channels,
    int bitDepth, int32_t sampleRate, int32_t fileType, FSRef* outRef)
{
    const uint32_t type = uint32_t(fileType);
    std::memset(&mFormat, 0, sizeof mFormat);
    mFormat.mSampleRate = double(sampleRate);
    mFormat.mFormatID = kAudioFormatLinearPCM;
    mFormat.mFormatFlags = bitDepth == 32 ? kAudioFormatFlagIsFloat : kAudioFormatFlagIsSignedInteger;
    if (type != kWave)
        mFormat.mFormatFlags |= kAudioFormatFlagIsBigEndian;
    mFormat.mFormatFlags |= kAudioFormatFlagIsPacked;
    mFormat.mBytesPerPacket = mFormat.mBytesPerFrame = uint32_t((bitDepth >> 3) * channels);
    mFormat.mFramesPerPacket = 1;
    mFormat.mChannelsPerFrame = uint32_t(channels);
    mFormat.mBitsPerChannel = uint32_t(bitDepth);
    mFormat.mReserved = 0;

    FSRef local;
    FSRef* ref = outRef != nullptr ? outRef : &local;
    std::memset(ref, 0, sizeof(FSRef));
    const OSStatus err = AudioFileCreate(parentDir, name, type, &mFormat, 0, ref, &mAudioFile);
    if (err != noErr) {
        mAudioFile = nullptr;
        return OSErr(err);
    }
    Set(ref);
    mFileType = type;
    mPermission = kAudioFileReadWritePermission;
    return 0;
}

OSErr CAuFileIO::CreateAndOpen(const FSSpec* fsSpec, int32_t spare, int channels, int bitDepth,
    int32_t sampleRate, int32_t fileType, FSRef* outRef)
{
    if (fsSpec == nullptr)
        return paramErr;
    const QString name
        = PvStringFromMacRoman(reinterpret_cast<const char*>(fsSpec->name + 1), fsSpec->name[0]);
    FSSpec folder = *fsSpec;
    folder.name[0] = 0;
    CFileRef parent(&folder);
    FSRef parentRef;
    std::memset(&parentRef, 0, sizeof parentRef);
    parent.GetFSRef(&parentRef);
    return CreateAndOpen(&parentRef, name, spare, channels, bitDepth, sampleRate, fileType, outRef);
}

uint64_t CAuFileIO::NumFrames() const
{
    if (mFormat.mFormatID == kAudioFormatLinearPCM) {
        const uint64_t frameBytes = uint64_t(mFormat.mBitsPerChannel >> 3) * mFormat.mChannelsPerFrame;
        return frameBytes ? mDataByteCount / frameBytes : 0;
    }
    return mPacketCount * mFormat.mFramesPerPacket;
}

int64_t CAuFileIO::FramesToBytes(int32_t frames) const
{
    const uint32_t product
        = uint32_t(frames) * mFormat.mChannelsPerFrame * uint32_t(mFormat.mBitsPerChannel >> 3);
    return int64_t(int32_t(product));
}

uint64_t CAuFileIO::BytesToFrames(uint64_t bytes) const
{
    const uint64_t frameBytes = uint64_t(mFormat.mBitsPerChannel >> 3) * mFormat.mChannelsPerFrame;
    return frameBytes ? bytes / frameBytes : 0;
}

void CAuFileIO::ByteOrder(int32_t& value) const
{
    if (mFileType != kWave)
        value = int32_t(__builtin_bswap32(uint32_t(value)));
}

void CAuFileIO::ByteOrder(uint32_t& value) const
{
    if (mFileType != kWave)
        value = __builtin_bswap32(value);
}

void CAuFileIO::ByteOrder(int16_t& value) const
{
    if (mFileType != kWave)
        value = int16_t(__builtin_bswap16(uint16_t(value)));
}

void CAuFileIO::ByteOrder(uint16_t& value) const
{
    if (mFileType != kWave)
        value = __builtin_bswap16(value);
}

OSErr CAuFileIO::ReadFloat(float* out, int32_t startFrame, int32_t numFrames)
{
    if (numFrames < 0 || (out == nullptr && numFrames != 0))
        return paramErr;
    uint32_t bytesRead = 0;
    uint32_t packets = uint32_t(numFrames);
    // Stored samples wider than a float (doubles) would not fit in the caller's buffer:
    // they are read beside it and narrowed into it.
    const bool wide
        = mFormat.mChannelsPerFrame != 0 && mFormat.mBytesPerFrame / mFormat.mChannelsPerFrame > 4;
    std::unique_ptr<uint8_t[]> wideBuffer;
    if (wide) {
        wideBuffer.reset(new (std::nothrow) uint8_t[size_t(numFrames) * mFormat.mBytesPerFrame + 1]);
        if (!wideBuffer)
            return memFullErr;
    }
    const OSStatus err = AudioFileReadPackets(mAudioFile, true, &bytesRead, nullptr, int64_t(startFrame),
        &packets, wide ? static_cast<void*>(wideBuffer.get()) : out);
    if (err != noErr) {
        std::memset(out, 0, size_t(numFrames) * mFormat.mChannelsPerFrame * 4);
        return OSErr(err);
    }
    const uint64_t frames = BytesToFrames(bytesRead);
    const bool isFloat = mFormat.mFormatFlags & kAudioFormatFlagIsFloat;
    const int bits = int(mFormat.mBitsPerChannel);
    // Arithmetic shift: 2 for 16-bit, 3 for 24-bit, 4 for 32-bit integers, -4 for floats.
    const int size = (isFloat ? -bits : bits) >> 3;
    const tConvertNToFloat convert = GetConvertNToFloat(size, mFileType != kWave);
    // The raw samples sit at the start of the caller's buffer and widen in place.
    convert(reinterpret_cast<int32_t*>(out), wide ? static_cast<void*>(wideBuffer.get()) : out,
        int32_t(frames * mFormat.mChannelsPerFrame), nullptr);
    return 0;
}

OSErr CAuFileIO::WriteFloat(float* in, int32_t startFrame, int32_t numFrames)
{
    if (mPermission != kAudioFileReadWritePermission)
        return permErr;
    if (numFrames < 0 || (in == nullptr && numFrames != 0))
        return paramErr;
    const bool isFloat = mFormat.mFormatFlags & kAudioFormatFlagIsFloat;
    const int bits = int(mFormat.mBitsPerChannel);
    const int size = (isFloat ? -bits : bits) >> 3;
    const size_t samples = size_t(numFrames) * mFormat.mChannelsPerFrame;
    // Four bytes per sample hold every stored format but doubles, which take eight.
    const size_t width = size == -8 ? 8 : 4;
    std::unique_ptr<uint8_t[]> buffer(new (std::nothrow) uint8_t[samples * width + 1]);
    if (!buffer)
        return memFullErr;
    const tConvertFloatToN convert = GetConvertFloatToN(size, mFileType != kWave);
    convert(buffer.get(), reinterpret_cast<int32_t*>(in), int32_t(samples), nullptr);
    uint32_t packets = uint32_t(numFrames);
    // The byte-count argument carries the frame count: the packet count governs the write.
    return OSErr(AudioFileWritePackets(
        mAudioFile, true, uint32_t(numFrames), nullptr, int64_t(startFrame), &packets, buffer.get()));
}

OSErr CAuFileIO::WriteData(const void* data, int32_t startFrame, int32_t numFrames)
{
    const int bits = int(mFormat.mBitsPerChannel);
    if (bits < 1)
        return -1;
    const int32_t bytesPerFrame = ((bits + 7) >> 3) * int32_t(mFormat.mChannelsPerFrame);
    const int64_t offset = int64_t(bytesPerFrame * startFrame);
    uint32_t count = uint32_t(bytesPerFrame * numFrames);
    if (mFileType != kWave)
        ProcessSwapIntel(const_cast<void*>(data), numFrames * int32_t(mFormat.mChannelsPerFrame), 0, bits);
    return OSErr(AudioFileWriteBytes(mAudioFile, true, offset, &count, data));
}

int32_t CAuFileIO::FindChunk(int32_t id, CChunkData& out)
{
    if (mPermission < 0)
        return -1;
    uint32_t size = 0;
    if (AudioFileGetUserDataSize(mAudioFile, uint32_t(id), 0, &size) != noErr || size == 0)
        return -2;
    std::unique_ptr<uint8_t[]> buffer(new (std::nothrow) uint8_t[size_t(size) + 8]);
    uint32_t got = size + 8;
    if (!buffer || AudioFileGetUserData(mAudioFile, uint32_t(id), 0, &got, buffer.get()) != noErr
        || got == 0) {
        out.Clear();
        return -3;
    }
    out.SetData(buffer.get(), int32_t(got));
    out.mID = uint32_t(id);
    out.mChunkPos = -1;
    out.mDataPos = -1;
    return 1;
}

int32_t CAuFileIO::AddChunk(CChunkData& chunk, unsigned char)
{
    if (mAudioFile == nullptr || mPermission != kAudioFileReadWritePermission)
        return -1;
    return AudioFileSetUserData(mAudioFile, chunk.mID, 0, chunk.mSize, chunk.mData) == noErr ? 1 : -1;
}

OSErr CAuFileIO::RemoveChunk(int32_t id)
{
    if (mAudioFile == nullptr || mPermission != kAudioFileReadWritePermission)
        return -1;
    return OSErr(AudioFileSetUserData(mAudioFile, uint32_t(id), 0, 0, nullptr));
}

bool CAuFileIO::IsSorvikLoop()
{
    CChunkData chunk;
    return FindChunk(int32_t(kBasicTagging), chunk) == 1;
}
