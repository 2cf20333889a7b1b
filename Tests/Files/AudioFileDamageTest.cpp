// Files as a library of real recordings holds them: padded with zeros by a recorder that
// allocated ahead, cut short by a copy that never finished, or named as long as the file
// system allows. Each opens quickly with what it really holds, and edits keep working.
#include "AudioFileMaker.h"

#include <Pavo/PavoCore.h>

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

class AudioFileDamage : public ::testing::Test {
protected:
    QTemporaryDir dir;

    std::string path(const std::string& name) const
    {
        return dir.filePath(QString::fromStdString(name)).toStdString();
    }

    // 1000 frames of 16-bit stereo with one chunk.
    void make(const std::string& file, AudioFileTypeID type)
    {
        ASSERT_NO_FATAL_FAILURE(makeStereo16WithTag(file, type, 0x21, "loop!", 5));
    }

    size_t temporaries() const
    {
        return size_t(
            QDir(dir.path()).entryList(QStringList() << ".*pvtmp*", QDir::Files | QDir::Hidden).size());
    }
};

// A recorder's 100 MB of zeros after the file are no chunks: the file opens at once with
// its audio and its one chunk, and an edit writes it without the zeros.
TEST_F(AudioFileDamage, ZeroPaddedFilesOpenAtOnce)
{
    for (AudioFileTypeID type : {kAudioFileWAVEType, kAudioFileAIFFType, kAudioFileCAFType}) {
        const std::string file = path("padded" + std::to_string(type));
        SCOPED_TRACE(file);
        make(file, type);
        const int fd = ::open(file.c_str(), O_WRONLY);
        ASSERT_GE(fd, 0);
        ASSERT_EQ(::ftruncate(fd, off_t(100) << 20), 0); // sparse: costs no disk
        ::close(fd);

        const auto start = std::chrono::steady_clock::now();
        AudioFileID af = nullptr;
        ASSERT_EQ(AudioFileOpenPath(file.c_str(), kAudioFileReadWritePermission, 0, &af), noErr);
        const double seconds
            = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        EXPECT_LT(seconds, 0.25);
        EXPECT_EQ(property<uint64_t>(af, kAudioFilePropertyAudioDataPacketCount), 1000u);
        uint32_t idsSize = 0;
        ASSERT_EQ(AudioFileGetPropertyInfo(af, kAudioFilePropertyChunkIDs, &idsSize, nullptr), noErr);
        EXPECT_EQ(idsSize, 4u) << "only 'basc'";
        ASSERT_EQ(AudioFileSetUserData(af, PvFourCC("note"), 0, 3, "abc"), noErr);
        ASSERT_EQ(AudioFileClose(af), noErr);
        EXPECT_LT(QFileInfo(QString::fromStdString(file)).size(), 5000);
    }
}

// A file cut short says how much its header declares and how much it holds; CAuFileIO
// passes both on. A complete file holds what it declares.
TEST_F(AudioFileDamage, TruncatedFilesReportDeclaredAndPresentData)
{
    for (AudioFileTypeID type : {kAudioFileWAVEType, kAudioFileAIFFType, kAudioFileCAFType}) {
        const std::string file = path("cut" + std::to_string(type));
        SCOPED_TRACE(file);
        make(file, type);
        AudioFileID af = nullptr;
        ASSERT_EQ(AudioFileOpenPath(file.c_str(), kAudioFileReadPermission, 0, &af), noErr);
        EXPECT_EQ(property<uint64_t>(af, kAudioFilePropertyDeclaredDataByteCount), 4000u);
        EXPECT_EQ(property<uint64_t>(af, kAudioFilePropertyPresentDataByteCount), 4000u);
        const auto offset = property<int64_t>(af, kAudioFilePropertyDataOffset);
        AudioFileClose(af);
        ASSERT_EQ(::truncate(file.c_str(), off_t(offset + 1001)), 0);

        ASSERT_EQ(AudioFileOpenPath(file.c_str(), kAudioFileReadPermission, 0, &af), noErr);
        EXPECT_EQ(property<uint64_t>(af, kAudioFilePropertyDeclaredDataByteCount), 4000u);
        EXPECT_EQ(property<uint64_t>(af, kAudioFilePropertyPresentDataByteCount), 1001u);
        EXPECT_EQ(property<uint64_t>(af, kAudioFilePropertyAudioDataByteCount), 1000u) << "whole frames";
        AudioFileClose(af);

        CAuFileIO io;
        io.Set(file.c_str(), 0);
        ASSERT_EQ(io.Open(0), 0);
        EXPECT_TRUE(io.Truncated());
        EXPECT_EQ(io.DeclaredDataBytes(), 4000u);
        EXPECT_EQ(io.PresentDataBytes(), 1001u);
        EXPECT_EQ(io.NumFrames(), 250u);
    }
}

// Names up to the file system's 255 bytes can be written and edited; the temporary file
// of an edit that was killed is gone after the next edit of that file, while those of
// other files stay.
TEST_F(AudioFileDamage, LongNamesAreWritableAndKilledEditsAreCleanedUp)
{
    const std::string file = path(std::string(250, 'n') + ".wav");
    make(file, kAudioFileWAVEType);
    AudioFileID af = nullptr;
    ASSERT_EQ(AudioFileOpenPath(file.c_str(), kAudioFileReadWritePermission, 0, &af), noErr);
    ASSERT_EQ(AudioFileSetUserData(af, PvFourCC("note"), 0, 3, "abc"), noErr);
    AudioFileClose(af);
    EXPECT_EQ(temporaries(), 0u);

    // Every edit passes through a temporary file; a child killed at random moments of
    // many edits leaves some behind.
    const std::string other = path("other.wav");
    make(other, kAudioFileWAVEType);
    for (int round = 0; round < 40 && temporaries() == 0; ++round) {
        const pid_t pid = ::fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            AudioFileID f = nullptr;
            if (AudioFileOpenPath(file.c_str(), kAudioFileReadWritePermission, 0, &f) != noErr)
                ::_exit(2);
            const std::vector<uint8_t> big(1 << 20, 0x33);
            for (uint32_t i = 0;; ++i)
                AudioFileSetUserData(f, PvFourCC("note"), 0, uint32_t(big.size()) - (i & 1), big.data());
        }
        ::usleep(useconds_t(20000 + round * 3000));
        ::kill(pid, SIGKILL);
        ::waitpid(pid, nullptr, 0);
    }
    ASSERT_GT(temporaries(), 0u) << "no kill landed inside an edit";
    const QString stranger = dir.filePath(QStringLiteral(".pvtmp-0123456789abcdef-zzzzzz"));
    QFile(stranger).open(QIODevice::WriteOnly);

    ASSERT_EQ(AudioFileOpenPath(other.c_str(), kAudioFileReadWritePermission, 0, &af), noErr);
    ASSERT_EQ(AudioFileSetUserData(af, PvFourCC("note"), 0, 2, "hi"), noErr);
    AudioFileClose(af);
    EXPECT_GT(temporaries(), 1u) << "another file's edit leaves them alone";

    ASSERT_EQ(AudioFileOpenPath(file.c_str(), kAudioFileReadWritePermission, 0, &af), noErr);
    ASSERT_EQ(AudioFileSetUserData(af, PvFourCC("note"), 0, 2, "hi"), noErr);
    AudioFileClose(af);
    EXPECT_EQ(temporaries(), 1u) << "only the stranger's is left";
    EXPECT_TRUE(QFile::exists(stranger));
}

} // namespace
