// Chunk edits never lose a file: a child process editing chunks is killed at many
// moments and the file must then be either the old or the new one, each complete; and
// an edit that runs into a file-size limit fails with an error and leaves the old file.
//
// The child is this test program itself, started again with one test selected and told
// by environment variables what to do.
#include "AudioFileMaker.h"
#include "TestSupport.h"

#include <Pavo/PavoCore.h>

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace {

constexpr uint32_t kNote = PvFourCC("note");
constexpr uint32_t kExtra = PvFourCC("extr");
constexpr uint32_t kFrames = 40000; // 160 KB of 16-bit stereo: each rewrite takes a while

// The payload of edit number i: its length and every byte follow from i, so a reader can
// tell a complete payload of some edit from a torn one.
std::vector<uint8_t> payloadOf(uint32_t i)
{
    std::vector<uint8_t> p(100 + (i % 50) * 37);
    for (size_t j = 0; j < p.size(); ++j)
        p[j] = uint8_t(i + j);
    p[0] = uint8_t(i);
    p[1] = uint8_t(i >> 8);
    return p;
}

bool isSomePayload(const std::vector<uint8_t>& p)
{
    if (p.size() < 2)
        return false;
    const uint32_t i = p[0] | (uint32_t(p[1]) << 8);
    return p == payloadOf(i);
}

std::vector<uint8_t> audio()
{
    std::vector<uint8_t> a(size_t(kFrames) * 4);
    for (size_t j = 0; j < a.size(); ++j)
        a[j] = uint8_t(j * 7 + (j >> 9));
    return a;
}

// ---- the child side -------------------------------------------------------------

TEST(AudioFileSafetyChild, Editor)
{
    const char* file = std::getenv("PAVO_EDIT_FILE");
    const char* mode = std::getenv("PAVO_EDIT_MODE");
    if (file == nullptr || mode == nullptr)
        GTEST_SKIP() << "run by AudioFileSafety tests only";
    if (std::string(mode) == "limit") {
        // Allow the file to grow by a few bytes only; the edit must fail cleanly.
        std::signal(SIGXFSZ, SIG_IGN);
        struct rlimit lim { };
        lim.rlim_cur = lim.rlim_max = rlim_t(std::atoll(std::getenv("PAVO_EDIT_LIMIT")));
        setrlimit(RLIMIT_FSIZE, &lim);
        AudioFileID f = nullptr;
        if (AudioFileOpenPath(file, kAudioFileReadWritePermission, 0, &f) != noErr)
            std::_Exit(2);
        const std::vector<uint8_t> big(4096, 0x42);
        const OSStatus edit = AudioFileSetUserData(f, kNote, 0, uint32_t(big.size()), big.data());
        uint32_t n = 2000;
        const std::vector<uint8_t> more(n * 4, 0x11);
        const OSStatus grow = AudioFileWritePackets(f, true, 0, nullptr, kFrames, &n, more.data());
        AudioFileClose(f);
        std::_Exit(edit != noErr && grow != noErr ? 10 : 3);
    }
    const int ready = std::atoi(std::getenv("PAVO_EDIT_READY_FD"));
    AudioFileID f = nullptr;
    if (AudioFileOpenPath(file, kAudioFileReadWritePermission, 0, &f) != noErr)
        std::_Exit(2);
    (void)!write(ready, "R", 1);
    for (uint32_t i = 1;; ++i) {
        const std::vector<uint8_t> p = payloadOf(i);
        AudioFileSetUserData(f, kNote, 0, uint32_t(p.size()), p.data());
        if (i % 3 == 0)
            AudioFileSetUserData(f, kExtra, 0, uint32_t(p.size()), p.data());
        else if (i % 3 == 1)
            AudioFileRemoveUserData(f, kExtra, 0);
    }
}

// ---- the parent side --------------------------------------------------------------

pid_t spawnChild(const std::string& file, const std::string& mode, const std::vector<std::string>& extra)
{
    std::vector<std::string> env;
    for (char** e = environ; *e; ++e)
        env.emplace_back(*e);
    env.push_back("PAVO_EDIT_FILE=" + file);
    env.push_back("PAVO_EDIT_MODE=" + mode);
    env.insert(env.end(), extra.begin(), extra.end());
    std::vector<char*> envp;
    for (std::string& s : env)
        envp.push_back(s.data());
    envp.push_back(nullptr);
    std::string exe = "/proc/self/exe";
    std::string filter = "--gtest_filter=AudioFileSafetyChild.Editor";
    char* argv[] = {exe.data(), filter.data(), nullptr};
    posix_spawn_file_actions_t quiet;
    posix_spawn_file_actions_init(&quiet);
    posix_spawn_file_actions_addopen(&quiet, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&quiet, 2, "/dev/null", O_WRONLY, 0);
    pid_t pid = -1;
    const int err = posix_spawn(&pid, exe.c_str(), &quiet, nullptr, argv, envp.data());
    posix_spawn_file_actions_destroy(&quiet);
    return err == 0 ? pid : -1;
}

class AudioFileSafety : public ::testing::Test {
protected:
    QTemporaryDir dir;

    std::string makeFile(AudioFileTypeID type, const char* name)
    {
        const std::string path = dir.filePath(QString::fromUtf8(name)).toStdString();
        const AudioStreamBasicDescription f = pcmFormat(44100, 2, 16, false, type != kAudioFileWAVEType);
        AudioFileID af = nullptr;
        EXPECT_EQ(AudioFileCreatePath(path.c_str(), type, &f, 0, &af), noErr);
        const std::vector<uint8_t> a = audio();
        uint32_t n = kFrames;
        EXPECT_EQ(AudioFileWritePackets(af, true, 0, nullptr, 0, &n, a.data()), noErr);
        const std::vector<uint8_t> p = payloadOf(0);
        EXPECT_EQ(AudioFileSetUserData(af, kNote, 0, uint32_t(p.size()), p.data()), noErr);
        EXPECT_EQ(AudioFileSetUserData(af, PvFourCC("keep"), 0, 5, "keep!"), noErr);
        EXPECT_EQ(AudioFileClose(af), noErr);
        return path;
    }

    // The file is whole: its audio as written, its untouched chunk as it was, and every
    // chunk that edits touch holding one complete payload.
    void expectIntact(const std::string& path, int round)
    {
        SCOPED_TRACE(testing::Message() << "after kill " << round);
        AudioFileID f = nullptr;
        ASSERT_EQ(AudioFileOpenPath(path.c_str(), kAudioFileReadPermission, 0, &f), noErr);
        std::vector<uint8_t> back(size_t(kFrames) * 4);
        uint32_t n = kFrames, bytes = 0;
        ASSERT_EQ(AudioFileReadPackets(f, true, &bytes, nullptr, 0, &n, back.data()), noErr);
        EXPECT_EQ(n, kFrames);
        EXPECT_TRUE(back == audio());
        for (uint32_t id : {kNote, kExtra}) {
            uint32_t count = 0, size = 0;
            AudioFileCountUserData(f, id, &count);
            EXPECT_LE(count, 1u);
            if (count == 0) {
                EXPECT_EQ(id, kExtra);
                continue;
            }
            ASSERT_EQ(AudioFileGetUserDataSize(f, id, 0, &size), noErr);
            std::vector<uint8_t> p(size);
            ASSERT_EQ(AudioFileGetUserData(f, id, 0, &size, p.data()), noErr);
            EXPECT_TRUE(isSomePayload(p));
        }
        char keep[8] = {};
        uint32_t size = sizeof keep;
        ASSERT_EQ(AudioFileGetUserData(f, PvFourCC("keep"), 0, &size, keep), noErr);
        EXPECT_EQ(std::string(keep, size), "keep!");
        AudioFileClose(f);
    }

    // Temporary files of interrupted edits may stay behind; they never replace the file.
    void removeLeftovers()
    {
        for (const QString& name :
            QDir(dir.path()).entryList(QStringList() << ".*pvtmp*", QDir::Files | QDir::Hidden))
            QFile::remove(dir.filePath(name));
    }

    void killDuringEdits(AudioFileTypeID type, const char* name)
    {
        const std::string path = makeFile(type, name);
        int edited = 0;
        for (int round = 0; round < 24; ++round) {
            int fds[2];
            ASSERT_EQ(pipe(fds), 0);
            const pid_t pid = spawnChild(path, "edit", {"PAVO_EDIT_READY_FD=" + std::to_string(fds[1])});
            ASSERT_GT(pid, 0);
            close(fds[1]);
            pollfd p {fds[0], POLLIN, 0};
            char c = 0;
            ASSERT_EQ(poll(&p, 1, 20000), 1);
            ASSERT_EQ(read(fds[0], &c, 1), 1);
            close(fds[0]);
            // Spread the kill over the first few dozen edits.
            usleep(useconds_t((round * 7919) % 60000));
            kill(pid, SIGKILL);
            int status = 0;
            waitpid(pid, &status, 0);
            ASSERT_TRUE(WIFSIGNALED(status));
            expectIntact(path, round);
            if (HasFatalFailure())
                return;
            AudioFileID f = nullptr;
            ASSERT_EQ(AudioFileOpenPath(path.c_str(), kAudioFileReadPermission, 0, &f), noErr);
            std::vector<uint8_t> note(4096);
            uint32_t size = uint32_t(note.size());
            AudioFileGetUserData(f, kNote, 0, &size, note.data());
            edited += note[0] != 0 || note[1] != 0;
            AudioFileClose(f);
            removeLeftovers();
        }
        // The kills did land after edits had happened, not only before the first one.
        EXPECT_GT(edited, 0);
    }
};

TEST_F(AudioFileSafety, KilledEditorLeavesOldOrNewFile)
{
    const std::pair<AudioFileTypeID, const char*> files[]
        = {{kAudioFileWAVEType, "k.wav"}, {kAudioFileAIFCType, "k.aifc"}, {kAudioFileCAFType, "k.caf"},
            {kAudioFileSoundDesigner2Type, "k.sd2"}};
    for (const auto& [type, name] : files) {
        SCOPED_TRACE(name);
        killDuringEdits(type, name);
        if (HasFatalFailure())
            return;
    }
}

TEST_F(AudioFileSafety, FileSizeLimitFailsTheEditAndKeepsTheFile)
{
    for (AudioFileTypeID type : {kAudioFileWAVEType, kAudioFileAIFFType, kAudioFileCAFType}) {
        const std::string path = makeFile(type, ("limit" + std::to_string(type)).c_str());
        const QByteArray old = PavoTest::readFile(QString::fromStdString(path));
        ASSERT_FALSE(old.isEmpty());
        const pid_t pid = spawnChild(path, "limit", {"PAVO_EDIT_LIMIT=" + std::to_string(old.size() + 100)});
        ASSERT_GT(pid, 0);
        int status = 0;
        waitpid(pid, &status, 0);
        ASSERT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), 10) << "both the edit and the growth must report an error";
        EXPECT_TRUE(PavoTest::readFile(QString::fromStdString(path)) == old);
        EXPECT_TRUE(
            QDir(dir.path()).entryList(QStringList() << ".*pvtmp*", QDir::Files | QDir::Hidden).isEmpty());
        expectIntact(path, -1);
    }
}

} // namespace
