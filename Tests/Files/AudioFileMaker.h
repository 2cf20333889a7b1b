// Writing small audio files through the audio file service, for the file tests.
#pragma once

#include <Pavo/PavoCore.h>

#include <QByteArray>
#include <QFile>
#include <QString>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <sys/xattr.h>
#include <vector>

/// Packed linear PCM of the given shape.
inline AudioStreamBasicDescription pcmFormat(
    double rate, uint32_t channels, uint32_t bits, bool isFloat = false, bool bigEndian = false)
{
    AudioStreamBasicDescription f {};
    f.mSampleRate = rate;
    f.mFormatID = kAudioFormatLinearPCM;
    f.mFormatFlags = (isFloat ? kAudioFormatFlagIsFloat : kAudioFormatFlagIsSignedInteger)
        | (bigEndian ? uint32_t(kAudioFormatFlagIsBigEndian) : 0u) | kAudioFormatFlagIsPacked;
    f.mChannelsPerFrame = channels;
    f.mBitsPerChannel = bits;
    f.mFramesPerPacket = 1;
    f.mBytesPerFrame = f.mBytesPerPacket = (bits + 7) / 8 * channels;
    return f;
}

/// Creates file as 1000 frames of 16-bit stereo, every sample byte fill, in the byte order
/// of type, with a 'basc' chunk holding the size bytes at payload.
inline void makeStereo16WithTag(
    const std::string& file, AudioFileTypeID type, uint8_t fill, const void* payload, uint32_t size)
{
    const AudioStreamBasicDescription f = pcmFormat(44100, 2, 16, false, type != kAudioFileWAVEType);
    AudioFileID af = nullptr;
    ASSERT_EQ(AudioFileCreatePath(file.c_str(), type, &f, 0, &af), noErr);
    const std::vector<uint8_t> audio(4000, fill);
    uint32_t n = 1000;
    ASSERT_EQ(AudioFileWritePackets(af, true, 0, nullptr, 0, &n, audio.data()), noErr);
    ASSERT_EQ(AudioFileSetUserData(af, PvFourCC("basc"), 0, size, payload), noErr);
    ASSERT_EQ(AudioFileClose(af), noErr);
}

/// One property of an open file, checked to be readable.
template <typename T> T property(AudioFileID f, AudioFilePropertyID id)
{
    T value {};
    uint32_t size = sizeof(T);
    EXPECT_EQ(AudioFileGetProperty(f, id, &size, &value), noErr);
    return value;
}

/// Moves the resource fork of a Sound Designer II file from its extended attribute into an
/// AppleDouble "._" file beside it, as a copy to a volume without attributes does. False
/// when the fork was not in an attribute (it is then already beside the file).
inline bool forkToAppleDouble(const std::string& path)
{
    std::vector<char> fork(1 << 16);
    const ssize_t len = ::getxattr(path.c_str(), "user.com.apple.ResourceFork", fork.data(), fork.size());
    if (len <= 0)
        return false;
    QByteArray ad;
    auto be32 = [&](uint32_t v) {
        for (int s = 24; s >= 0; s -= 8)
            ad.append(char(v >> s));
    };
    be32(0x00051607);
    be32(0x00020000);
    ad.append(16, '\0');
    ad.append('\0').append('\x02');
    be32(9); // Finder information
    be32(50);
    be32(32);
    be32(2); // resource fork
    be32(82);
    be32(uint32_t(len));
    ad.append("Sd2fPTul").append(24, '\0');
    ad.append(fork.data(), len);
    const size_t slash = path.rfind('/');
    QFile out(QString::fromStdString(path.substr(0, slash + 1) + "._" + path.substr(slash + 1)));
    if (!out.open(QIODevice::WriteOnly) || out.write(ad) != ad.size())
        return false;
    return ::removexattr(path.c_str(), "user.com.apple.ResourceFork") == 0;
}
