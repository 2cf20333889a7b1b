// The body shared by the audio file fuzz targets: the input becomes a file (or the
// resource fork beside one), which is opened, read to the end, asked for every chunk,
// then edited and written through a second handle and opened once more. Every step
// must end in a result code; nothing may crash, hang or allocate beyond the input.
// An input ending in zeros is padded with many more, as recorders leave files.
#pragma once

#include <Pavo/PavoCore.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>
#include <vector>

namespace fuzzaudio {

inline const std::string& workDir()
{
    static const std::string dir = [] {
        std::string t = "/tmp/pavo-fuzz-audio-XXXXXX";
        if (::mkdtemp(t.data()) == nullptr)
            std::abort();
        return t;
    }();
    return dir;
}

inline void writeFile(const std::string& path, const uint8_t* data, size_t size)
{
    FILE* f = std::fopen(path.c_str(), "wb");
    if (f == nullptr)
        std::abort();
    if (size)
        std::fwrite(data, 1, size, f);
    std::fclose(f);
}

inline void readEverything(AudioFileID f)
{
    AudioStreamBasicDescription fmt {};
    uint32_t size = sizeof fmt;
    AudioFileGetProperty(f, kAudioFilePropertyDataFormat, &size, &fmt);
    uint64_t packets = 0;
    size = 8;
    AudioFileGetProperty(f, kAudioFilePropertyAudioDataPacketCount, &size, &packets);
    std::vector<uint8_t> block(1 << 14);
    const uint32_t perBlock = fmt.mBytesPerPacket ? uint32_t(block.size() / fmt.mBytesPerPacket) : 16;
    for (int64_t at = 0; perBlock > 0 && at < int64_t(packets) && at < (1 << 20);) {
        uint32_t n = perBlock, bytes = 0;
        if (AudioFileReadPackets(f, true, &bytes, nullptr, at, &n, block.data()) != noErr || n == 0)
            break;
        at += n;
    }
    uint32_t n = 7;
    AudioFileReadBytes(f, true, 3, &n, block.data());
    uint32_t idsSize = 0;
    if (AudioFileGetPropertyInfo(f, kAudioFilePropertyChunkIDs, &idsSize, nullptr) == noErr) {
        std::vector<uint32_t> ids(idsSize / 4);
        AudioFileGetProperty(f, kAudioFilePropertyChunkIDs, &idsSize, ids.data());
        for (uint32_t id : ids) {
            uint32_t count = 0;
            AudioFileCountUserData(f, id, &count);
            for (uint32_t i = 0; i < count && i < 8; ++i) {
                uint32_t chunk = 0;
                if (AudioFileGetUserDataSize(f, id, i, &chunk) == noErr) {
                    std::vector<uint8_t> payload(chunk);
                    AudioFileGetUserData(f, id, i, &chunk, payload.data());
                }
            }
        }
    }
}

/// Opens `path`, reads it, edits it and reads it again.
inline void exercise(const std::string& path)
{
    AudioFileID f = nullptr;
    if (AudioFileOpenPath(path.c_str(), kAudioFileReadPermission, 0, &f) != noErr)
        return;
    readEverything(f);
    AudioFileClose(f);
    if (AudioFileOpenPath(path.c_str(), kAudioFileReadWritePermission, 0, &f) != noErr)
        return;
    const char payload[] = "fuzz";
    AudioFileSetUserData(f, PvFourCC("basc"), 0, sizeof payload, payload);
    AudioFileRemoveUserData(f, PvFourCC("note"), 0);
    AudioStreamBasicDescription fmt {};
    uint32_t size = sizeof fmt;
    AudioFileGetProperty(f, kAudioFilePropertyDataFormat, &size, &fmt);
    // Packets of compressed formats may claim any size: write only plausible ones.
    std::vector<uint8_t> frame(std::clamp<size_t>(fmt.mBytesPerPacket, 8, 1 << 20), 0x5A);
    if (fmt.mBytesPerPacket > frame.size()) {
        AudioFileClose(f);
        return;
    }
    uint32_t n = 1;
    AudioFileWritePackets(f, true, 0, nullptr, 2, &n, frame.data());
    uint32_t bytes = 5;
    AudioFileWriteBytes(f, true, 1, &bytes, frame.data());
    AudioFileClose(f);
    if (AudioFileOpenPath(path.c_str(), kAudioFileReadPermission, 0, &f) != noErr)
        return;
    readEverything(f);
    AudioFileClose(f);
}

/// An input that ends in 16 zero bytes stands for a recording whose file was allocated
/// ahead: it is extended with zeros (sparsely, so cheaply) to this size. Reading such a
/// file must cost no more than reading the input alone.
constexpr off_t kPreallocatedSize = off_t(32) << 20;

inline void extendZeroTail(const std::string& path, const uint8_t* data, size_t size)
{
    if (size < 16 || !std::all_of(data + size - 16, data + size, [](uint8_t b) { return b == 0; }))
        return;
    if (::truncate(path.c_str(), kPreallocatedSize) != 0)
        std::abort();
}

/// A container target: the input is the file.
inline int runContainer(const char* name, const uint8_t* data, size_t size)
{
    const std::string path = workDir() + "/" + name;
    writeFile(path, data, size);
    extendZeroTail(path, data, size);
    exercise(path);
    ::unlink(path.c_str());
    return 0;
}

} // namespace fuzzaudio
