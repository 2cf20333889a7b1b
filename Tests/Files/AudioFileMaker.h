// Writing small audio files through the audio file service, for the file tests.
#pragma once

#include <Pavo/PavoCore.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

/// Creates file as 1000 frames of 16-bit stereo, every sample byte fill, in the byte order
/// of type, with a 'basc' chunk holding the size bytes at payload.
inline void makeStereo16WithTag(
    const std::string& file, AudioFileTypeID type, uint8_t fill, const void* payload, uint32_t size)
{
    AudioStreamBasicDescription f {};
    f.mSampleRate = 44100;
    f.mFormatID = kAudioFormatLinearPCM;
    f.mFormatFlags = kAudioFormatFlagIsSignedInteger
        | (type == kAudioFileWAVEType ? 0u : uint32_t(kAudioFormatFlagIsBigEndian));
    f.mChannelsPerFrame = 2;
    f.mBitsPerChannel = 16;
    AudioFileID af = nullptr;
    ASSERT_EQ(AudioFileCreatePath(file.c_str(), type, &f, 0, &af), noErr);
    const std::vector<uint8_t> audio(4000, fill);
    uint32_t n = 1000;
    ASSERT_EQ(AudioFileWritePackets(af, true, 0, nullptr, 0, &n, audio.data()), noErr);
    ASSERT_EQ(AudioFileSetUserData(af, PvFourCC("basc"), 0, size, payload), noErr);
    ASSERT_EQ(AudioFileClose(af), noErr);
}
