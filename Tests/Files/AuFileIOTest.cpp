// CAuFileIO through its public interface: reset state, creation flags, doubles and raw
// sample transfer in both byte orders, the counting rules, chunks and refusals (float
// transfer in every container and depth is checked against libsndfile in the peer test).
#include "AudioFileMaker.h"

#include <Pavo/PavoCore.h>

#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

class AuFileIO : public ::testing::Test {
protected:
    QTemporaryDir dir;
    FSRef folder {};
    void SetUp() override { ASSERT_EQ(PathToFSRef(dir.path(), &folder), noErr); }
    std::string path(const char* name) const { return dir.filePath(QString::fromUtf8(name)).toStdString(); }
};

void expectReset(const CAuFileIO& io)
{
    EXPECT_EQ(io.mPermission, -1);
    EXPECT_EQ(io.mAudioFile, nullptr);
    EXPECT_EQ(io.mDataByteCount, 0u);
    EXPECT_EQ(io.mFileType, 0u);
    const AudioStreamBasicDescription zero {};
    EXPECT_EQ(std::memcmp(&io.mFormat, &zero, sizeof zero), 0);
}

TEST_F(AuFileIO, ResetStateAndMissingFile)
{
    CAuFileIO io;
    expectReset(io);
    CChunkData chunk;
    // Nothing to open: no FSRef for a file that does not exist.
    io.Set(path("missing.wav").c_str(), 0);
    EXPECT_EQ(io.Open(false), fnfErr);
    EXPECT_EQ(io.FindChunk(PvFourCC("basc"), chunk), -1);
}

TEST_F(AuFileIO, CreationFlagsFollowDepthAndType)
{
    struct Case {
        const char* name;
        uint32_t type;
        int bits;
        uint32_t flags;
    };
    const Case cases[] = {
        {"f.wav", PvFourCC("WAVE"), 32, 1 | 8},
        {"f.aif", PvFourCC("AIFF"), 32, 1 | 2 | 8},
        {"i.aif", PvFourCC("AIFF"), 24, 4 | 2 | 8},
        {"i.wav", PvFourCC("WAVE"), 16, 4 | 8},
        {"i.caf", PvFourCC("caff"), 24, 4 | 2 | 8},
    };
    for (const Case& c : cases) {
        CAuFileIO io;
        FSRef made {};
        ASSERT_EQ(
            io.CreateAndOpen(&folder, QString::fromUtf8(c.name), 0, 2, c.bits, 44100, int32_t(c.type), &made),
            0)
            << c.name;
        EXPECT_EQ(io.mFormat.mFormatFlags, c.flags) << c.name;
        EXPECT_EQ(io.mFormat.mBytesPerFrame, uint32_t(c.bits / 8 * 2));
        EXPECT_EQ(io.mPermission, 3);
        EXPECT_EQ(io.FileType(), c.type);
        EXPECT_EQ(io.Swapped(), c.type != PvFourCC("WAVE"));
        EXPECT_STREQ(io.GetPath(), path(c.name).c_str());
        FSRef again {};
        ASSERT_TRUE(io.GetFSRef(&again));
        EXPECT_EQ(std::memcmp(&again, &made, sizeof made), 0);
    }
    // Creating over an existing file fails with the service's code and leaves nothing open.
    CAuFileIO io;
    EXPECT_EQ(io.CreateAndOpen(
                  &folder, QStringLiteral("f.wav"), 0, 2, 16, 44100, int32_t(PvFourCC("WAVE")), nullptr),
        dupFNErr);
    EXPECT_EQ(io.mAudioFile, nullptr);
}

TEST_F(AuFileIO, DoublesAreNarrowedWithoutOverrunningTheBuffer)
{
    // A 64-bit float WAVE, made through the service.
    const AudioStreamBasicDescription f = pcmFormat(44100, 2, 64, true, false);
    AudioFileID af = nullptr;
    ASSERT_EQ(AudioFileCreatePath(path("d.wav").c_str(), kAudioFileWAVEType, &f, 0, &af), noErr);
    const double samples[6] = {0.5, -0.25, 1.0 / 3.0, 0.125, -1.0, 0.0};
    uint32_t n = 3;
    ASSERT_EQ(AudioFileWritePackets(af, true, 0, nullptr, 0, &n, samples), noErr);
    AudioFileClose(af);
    CAuFileIO io;
    io.Set(path("d.wav").c_str(), 0);
    ASSERT_EQ(io.Open(false), 0);
    std::vector<float> out(7, 9.0f); // one guard value after the six samples
    ASSERT_EQ(io.ReadFloat(out.data(), 0, 3), 0);
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(out[size_t(i)], float(samples[i]));
    EXPECT_EQ(out[6], 9.0f);
}

TEST_F(AuFileIO, WriteDataSwapsTheCallersBufferForBigEndianFiles)
{
    for (uint32_t type : {PvFourCC("AIFF"), PvFourCC("WAVE")}) {
        const bool big = type != PvFourCC("WAVE");
        const QString name = big ? QStringLiteral("raw.aif") : QStringLiteral("raw.wav");
        CAuFileIO io;
        ASSERT_EQ(io.CreateAndOpen(&folder, name, 0, 2, 16, 44100, int32_t(type), nullptr), 0);
        int16_t frames[4] = {16384, -16384, 8192, -32768};
        ASSERT_EQ(io.WriteData(frames, 0, 2), 0);
        EXPECT_EQ(frames[0], big ? int16_t(0x0040) : int16_t(16384));
        EXPECT_EQ(frames[3], big ? int16_t(0x0080) : int16_t(-32768));
        io.CloseFileAndInit();
        expectReset(io);
        ASSERT_EQ(io.Open(false), 0); // the reference outlives closing
        EXPECT_EQ(io.mDataByteCount, 8u);
        float back[4] = {};
        ASSERT_EQ(io.ReadFloat(back, 0, 2), 0);
        EXPECT_EQ(back[0], 0.5f);
        EXPECT_EQ(back[1], -0.5f);
        EXPECT_EQ(back[2], 0.25f);
        EXPECT_EQ(back[3], -1.0f);
    }
    CAuFileIO empty;
    EXPECT_EQ(empty.WriteData("x", 0, 1), -1);
}

TEST_F(AuFileIO, CountingRulesTruncateTheBitDepth)
{
    // A 20-bit AIFF made through the service: 3 bytes per sample on disk, 2 in the counts.
    const AudioStreamBasicDescription f = pcmFormat(44100, 2, 20, false, true);
    AudioFileID af = nullptr;
    ASSERT_EQ(AudioFileCreatePath(path("twenty.aif").c_str(), kAudioFileAIFFType, &f, 0, &af), noErr);
    std::vector<uint8_t> bytes(600, 1);
    uint32_t n = 100;
    ASSERT_EQ(AudioFileWritePackets(af, true, 0, nullptr, 0, &n, bytes.data()), noErr);
    AudioFileClose(af);
    CAuFileIO io;
    io.Set(path("twenty.aif").c_str(), 0);
    ASSERT_EQ(io.Open(true), 0);
    EXPECT_EQ(io.BitDepth(), 20);
    EXPECT_EQ(io.mDataByteCount, 600u);
    EXPECT_EQ(io.NumFrames(), 150u); // 600 / (2 x 2)
    EXPECT_EQ(io.FramesToBytes(10), 40);
    EXPECT_EQ(io.FramesToBytes(-3), -12);
    EXPECT_EQ(io.BytesToFrames(600), 150u);
    // WriteData rounds up: frame 100 begins at byte 600.
    uint8_t frame[6] = {1, 2, 3, 4, 5, 6};
    ASSERT_EQ(io.WriteData(frame, 100, 1), 0);
    EXPECT_EQ(io.Close(), 0);
    EXPECT_EQ(io.mPermission, 3); // Close keeps the fields
    ASSERT_EQ(io.Open(false), 0);
    EXPECT_EQ(io.mDataByteCount, 606u);

    // 24-bit stereo with 600 data bytes: 100 frames.
    CAuFileIO io24;
    ASSERT_EQ(io24.CreateAndOpen(
                  &folder, QStringLiteral("t.wav"), 0, 2, 24, 44100, int32_t(PvFourCC("WAVE")), nullptr),
        0);
    io24.mDataByteCount = 600;
    EXPECT_EQ(io24.NumFrames(), 100u);
    int32_t v = 0x01020304;
    io24.ByteOrder(v);
    EXPECT_EQ(v, 0x01020304); // 'WAVE': left alone
    io24.mFileType = PvFourCC("AIFF");
    io24.ByteOrder(v);
    EXPECT_EQ(v, 0x04030201);
    uint16_t s = 0x0102;
    io24.ByteOrder(s);
    EXPECT_EQ(s, 0x0201);
}

TEST_F(AuFileIO, OpeningRulesAndRefusals)
{
    {
        CAuFileIO io;
        ASSERT_EQ(io.CreateAndOpen(
                      &folder, QStringLiteral("o.wav"), 0, 1, 16, 44100, int32_t(PvFourCC("WAVE")), nullptr),
            0);
        const AudioFileID handle = io.mAudioFile;
        EXPECT_EQ(io.Open(true), 0);
        EXPECT_EQ(io.mAudioFile, handle); // same permission: nothing reopened
        ASSERT_EQ(io.Open(false), 0);
        EXPECT_EQ(io.mPermission, 1);
        float f = 0;
        EXPECT_EQ(io.WriteFloat(&f, 0, 1), permErr);
        CChunkData c;
        c.SetData("abcd", 4);
        c.mID = PvFourCC("basc");
        EXPECT_EQ(io.AddChunk(c, 0), -1);
        EXPECT_EQ(io.RemoveChunk(PvFourCC("basc")), -1);
    }
    // Compressed data: the service opens the file and names its codec, so that a caller
    // can refuse it; CAuFileIO does, with -208, and the object is reset.
    const char comm[] = "COMM\0\0\0\x18\0\x01\0\0\0\x04\0\x10\x40\x0E\xAC\x44\0\0\0\0\0\0ulaw\0\0";
    std::string aifc = std::string("FORM\0\0\0\0AIFC", 12) + std::string(comm, sizeof comm - 1)
        + std::string("SSND\0\0\0\x0C\0\0\0\0\0\0\0\0\x7F\x7F\x7F\x7F", 20);
    FILE* out = std::fopen(path("u.aifc").c_str(), "wb");
    ASSERT_NE(out, nullptr);
    std::fwrite(aifc.data(), 1, aifc.size(), out);
    std::fclose(out);
    AudioFileID af = nullptr;
    ASSERT_EQ(AudioFileOpenPath(path("u.aifc").c_str(), kAudioFileReadPermission, 0, &af), noErr);
    EXPECT_EQ(
        property<AudioStreamBasicDescription>(af, kAudioFilePropertyDataFormat).mFormatID, PvFourCC("ulaw"));
    AudioFileClose(af);
    CAuFileIO io;
    io.Set(path("u.aifc").c_str(), 0);
    EXPECT_EQ(io.Open(false), badFileFormat);
    expectReset(io);
    // A failed read (the handle closed, the format kept) leaves silence.
    io.Set(path("o.wav").c_str(), 0);
    ASSERT_EQ(io.Open(false), 0);
    EXPECT_EQ(io.Close(), 0);
    float buffer[4] = {1, 2, 3, 4};
    EXPECT_NE(io.ReadFloat(buffer, 0, 2), 0);
    EXPECT_EQ(buffer[0], 0.0f);
    EXPECT_EQ(buffer[1], 0.0f);
    EXPECT_EQ(buffer[2], 3.0f); // one channel: two frames are two floats
}

TEST_F(AuFileIO, ChunksAndSorvikLoops)
{
    CAuFileIO io;
    ASSERT_EQ(io.CreateAndOpen(
                  &folder, QStringLiteral("loop.aif"), 0, 2, 16, 44100, int32_t(PvFourCC("AIFF")), nullptr),
        0);
    EXPECT_FALSE(io.IsSorvikLoop());
    CChunkData out;
    out.SetData("keep", 4);
    out.mID = 77;
    EXPECT_EQ(io.FindChunk(PvFourCC("basc"), out), -2);
    EXPECT_EQ(out.mSize, 4u); // untouched
    EXPECT_EQ(out.mID, 77u);

    tagging::BasicTaggingChunk basc {};
    basc.value1 = 120;
    basc.words[0] = 4;
    CChunkData chunk;
    chunk.SetData(&basc, sizeof basc);
    chunk.mID = PvFourCC("basc");
    EXPECT_EQ(io.AddChunk(chunk, 0), 1);
    EXPECT_TRUE(io.IsSorvikLoop());
    EXPECT_EQ(io.FindChunk(PvFourCC("basc"), out), 1);
    EXPECT_EQ(out.mSize, sizeof basc);
    EXPECT_EQ(out.mID, PvFourCC("basc"));
    EXPECT_EQ(out.mChunkPos, -1);
    EXPECT_EQ(out.mDataPos, -1);
    EXPECT_EQ(std::memcmp(out.mData, &basc, sizeof basc), 0);
    // Written again: still one instance, the new payload.
    basc.value1 = 90;
    chunk.SetData(&basc, sizeof basc);
    EXPECT_EQ(io.AddChunk(chunk, 0), 1);
    uint32_t count = 0;
    AudioFileCountUserData(io.mAudioFile, PvFourCC("basc"), &count);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(io.RemoveChunk(PvFourCC("basc")), 0);
    EXPECT_FALSE(io.IsSorvikLoop());
    EXPECT_NE(io.RemoveChunk(PvFourCC("basc")), 0);
    io.CloseFileAndInit();
    EXPECT_EQ(io.AddChunk(chunk, 0), -1);
}

} // namespace
