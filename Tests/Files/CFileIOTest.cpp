#include <Pavo/PavoCore.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include "TestSupport.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <sys/resource.h>
#include <unistd.h>

namespace {

QByteArray pattern(int size, int seed = 0)
{
    QByteArray bytes(size, 0);
    for (int i = 0; i < size; ++i)
        bytes[i] = char((i * 7 + seed + i / 251) & 0xFF);
    return bytes;
}

class FileIOTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(m_dir.isValid()); }

    // Writes a file and returns its FSSpec.
    FSSpec make(const QString& name, const QByteArray& bytes)
    {
        const QString path = m_dir.path() + QLatin1Char('/') + name;
        EXPECT_TRUE(PavoTest::writeFile(path, bytes));
        return specOf(path);
    }

    FSSpec specOf(const QString& path)
    {
        CFileRef ref(path, kPathStylePOSIX, 0);
        FSSpec fsSpec {};
        EXPECT_TRUE(ref.GetFSSpec(&fsSpec)) << path.toStdString();
        return fsSpec;
    }

    QString path(const QString& name) const { return m_dir.path() + QLatin1Char('/') + name; }

    // Changes bytes of a file behind the back of any open CFileIO.
    void patch(const QString& name, qint64 pos, const QByteArray& bytes)
    {
        QFile f(path(name));
        ASSERT_TRUE(f.open(QIODevice::ReadWrite));
        ASSERT_TRUE(f.seek(pos));
        ASSERT_EQ(f.write(bytes), bytes.size());
    }

    QTemporaryDir m_dir;
};

} // namespace

TEST_F(FileIOTest, OpenRefusesFoldersAndFollowsLinks)
{
    ASSERT_TRUE(QDir(m_dir.path()).mkdir(QStringLiteral("Folder")));
    FSSpec folder = specOf(path(QStringLiteral("Folder")));
    CFileIO io;
    EXPECT_EQ(io.Open(&folder, 0), paramErr);
    EXPECT_FALSE(io.isOpen());
    CFileIO constructed(&folder, 1);
    EXPECT_FALSE(constructed.isOpen());

    FSSpec target = make(QStringLiteral("target.bin"), "payload");
    ASSERT_EQ(::symlink("target.bin", QFile::encodeName(path(QStringLiteral("link"))).constData()), 0);
    ASSERT_EQ(::symlink("Folder", QFile::encodeName(path(QStringLiteral("folderLink"))).constData()), 0);
    FSSpec link = specOf(path(QStringLiteral("link")));
    ASSERT_EQ(io.OpenRead(&link), noErr);
    EXPECT_TRUE(io.isOpen());
    EXPECT_EQ(QByteArray(reinterpret_cast<char*>(link.name + 1), link.name[0]), QByteArray("target.bin"));
    EXPECT_EQ(int32_t(link.parID), int32_t(target.parID));
    char buf[7];
    ASSERT_EQ(io.Read(buf, 7), noErr);
    EXPECT_EQ(QByteArray(buf, 7), QByteArray("payload"));
    EXPECT_EQ(io.Write("x", 0, 1), wrPermErr) << "opened for reading only";
    EXPECT_EQ(io.BlockMove(0, 1), fnOpnErr);
    EXPECT_EQ(io.Close(), noErr);
    EXPECT_EQ(io.Close(), noErr) << "closing a closed object";

    FSSpec folderLink = specOf(path(QStringLiteral("folderLink")));
    EXPECT_EQ(io.Open(&folderLink, 1), paramErr);
    FSSpec missing = target;
    std::memcpy(missing.name, "\x04none", 5);
    EXPECT_EQ(io.Open(&missing, 0), fnfErr);
    EXPECT_FALSE(io.isOpen());
    EXPECT_EQ(io.Open(nullptr, 0), paramErr);
}

TEST_F(FileIOTest, ReadCacheServesHitsWithoutTheFile)
{
    const QByteArray original = pattern(10000);
    FSSpec fsSpec = make(QStringLiteral("data.bin"), original);
    CFileIO io(&fsSpec, 0);
    ASSERT_TRUE(io.isOpen());
    io.SetCache(4096);
    char buf[5000];
    ASSERT_EQ(io.Read(buf, 100, 10), noErr);
    EXPECT_EQ(QByteArray(buf, 10), original.mid(100, 10));
    EXPECT_EQ(io.cachePosition(), 100);
    EXPECT_EQ(io.cacheCount(), 4096);

    // The file changes on disk; reads inside the window still see the cached bytes.
    const QByteArray changed(10000, 'Z');
    patch(QStringLiteral("data.bin"), 0, changed);
    ASSERT_EQ(io.Read(buf, 200, 50), noErr);
    EXPECT_EQ(QByteArray(buf, 50), original.mid(200, 50));

    // Starting inside the window and ending past it: the cached part, then a refill.
    ASSERT_EQ(io.Read(buf, 4190, 20), noErr);
    EXPECT_EQ(QByteArray(buf, 6), original.mid(4190, 6));
    EXPECT_EQ(QByteArray(buf + 6, 14), changed.mid(4196, 14));
    EXPECT_EQ(io.cachePosition(), 4196);

    // Larger than the cache: straight from the file, the window stays.
    ASSERT_EQ(io.Read(buf, 0, 5000), noErr);
    EXPECT_EQ(QByteArray(buf, 5000), changed.left(5000));
    EXPECT_EQ(io.cachePosition(), 4196);
    EXPECT_EQ(io.cacheCount(), 4096);

    // A caller's buffer as cache, and switching the cache off.
    char own[64];
    io.SetCache(own, sizeof own);
    EXPECT_EQ(io.cacheCount(), 0);
    ASSERT_EQ(io.Read(buf, 9990, 10), noErr);
    EXPECT_EQ(io.cacheCount(), 10) << "filled only up to the end of the file";
    io.SetCache(nullptr, 0);
    ASSERT_EQ(io.Read(buf, 9990, 10), noErr);
    EXPECT_EQ(io.cacheCount(), 0);
}

TEST_F(FileIOTest, ReadsNearTheEnd)
{
    const QByteArray original = pattern(1000);
    FSSpec fsSpec = make(QStringLiteral("short.bin"), original);
    CFileIO io(&fsSpec, 0);
    io.SetCache(4096);
    char buf[16];
    EXPECT_EQ(io.Read(buf, 995, 10), eofErr);
    EXPECT_EQ(io.cacheCount(), 0);
    ASSERT_EQ(io.Read(buf, 995, 5), noErr);
    EXPECT_EQ(QByteArray(buf, 5), original.right(5));
    EXPECT_EQ(io.cacheCount(), 5);
    EXPECT_EQ(io.Read(buf, 1000, 1), eofErr);
    EXPECT_EQ(io.Read(buf, -1, 1), posErr);

    // Whole-file read: from the position, as long as the file.
    void* all = nullptr;
    int32_t size = 0;
    ASSERT_EQ(io.Read(&all, &size), noErr);
    ASSERT_NE(all, nullptr);
    EXPECT_EQ(size, 1000);
    EXPECT_EQ(QByteArray(static_cast<char*>(all), size), original);
    EXPECT_EQ(io.position(), 1000);
    std::free(all);
    EXPECT_EQ(io.Read(&all, &size), eofErr) << "the position is no longer 0";
    std::free(all);

    FSSpec empty = make(QStringLiteral("empty.bin"), QByteArray());
    CFileIO none(&empty, 0);
    all = reinterpret_cast<void*>(1);
    ASSERT_EQ(none.Read(&all, &size), noErr);
    EXPECT_EQ(all, nullptr);
    EXPECT_EQ(size, 0);
}

TEST_F(FileIOTest, WriteCacheCollectsUntilFlushed)
{
    FSSpec fsSpec = make(QStringLiteral("out.bin"), QByteArray());
    CFileIO io(&fsSpec, 1);
    ASSERT_TRUE(io.isOpen());
    ASSERT_EQ(io.SetWCache(100), noErr);
    ASSERT_EQ(io.Write("0123456789", 10), noErr);
    EXPECT_EQ(io.position(), 0);
    EXPECT_EQ(io.writeCacheCount(), 10);
    EXPECT_EQ(io.GetEOF(), 0);
    // The caches are independent: a sequential read does not see collected bytes.
    char buf[16];
    EXPECT_EQ(io.Read(buf, 1), eofErr);
    ASSERT_EQ(io.FlushWCache(), noErr);
    EXPECT_EQ(io.position(), 10);
    EXPECT_EQ(PavoTest::readFile(path(QStringLiteral("out.bin"))), QByteArray("0123456789"));

    // A write larger than the free room flushes and goes straight to the file.
    ASSERT_EQ(io.Write("abc", 3), noErr);
    const QByteArray big = pattern(200);
    ASSERT_EQ(io.Write(big.constData(), 200), noErr);
    EXPECT_EQ(io.position(), 213);
    EXPECT_EQ(io.writeCacheCount(), 0);

    // A positioned write empties the read cache and leaves the position alone.
    io.SetCache(64);
    ASSERT_EQ(io.Read(buf, 0, 4), noErr);
    EXPECT_GT(io.cacheCount(), 0);
    ASSERT_EQ(io.Write("WXYZ", 0, 4), noErr);
    EXPECT_EQ(io.cacheCount(), 0);
    EXPECT_EQ(io.position(), 213);
    ASSERT_EQ(io.Read(buf, 0, 4), noErr);
    EXPECT_EQ(QByteArray(buf, 4), QByteArray("WXYZ"));

    // Discarded bytes never reach the file; Close flushes what is collected.
    ASSERT_EQ(io.Write("lost", 4), noErr);
    io.DeAllocWCache();
    EXPECT_EQ(io.GetEOF(), 213);
    ASSERT_EQ(io.SetWCache(new char[16], 16), noErr);
    ASSERT_EQ(io.Write("kept", 4), noErr);
    EXPECT_EQ(io.Close(), noErr);
    EXPECT_EQ(PavoTest::readFile(path(QStringLiteral("out.bin"))),
        QByteArray("WXYZ456789abc") + big + QByteArray("kept"));
}

TEST_F(FileIOTest, PositionsUnReadAndLength)
{
    FSSpec fsSpec = make(QStringLiteral("pos.bin"), pattern(100));
    CFileIO io(&fsSpec, 1);
    char buf[40];
    ASSERT_EQ(io.Read(buf, 30), noErr);
    EXPECT_EQ(io.UnRead(10), noErr);
    EXPECT_EQ(io.position(), 20);
    EXPECT_EQ(io.UnRead(21), posErr);
    EXPECT_EQ(io.position(), 0);
    ASSERT_EQ(io.Read(buf, 40), noErr);
    ASSERT_EQ(io.SetEOF(25), noErr);
    EXPECT_EQ(io.position(), 25);
    int64_t length = -1;
    EXPECT_EQ(io.GetEOF(&length), noErr);
    EXPECT_EQ(length, 25);
    ASSERT_EQ(io.SetEOF(60), noErr);
    EXPECT_EQ(io.GetEOF(), 60);
    EXPECT_EQ(io.position(), 25);
    CFileIO closed;
    EXPECT_EQ(closed.GetEOF(), 0);
    EXPECT_NE(closed.GetEOF(&length), noErr);
    EXPECT_EQ(length, 0);
}

TEST_F(FileIOTest, ReadUntilDelimiter)
{
    FSSpec fsSpec = make(QStringLiteral("lines.txt"), "abc\ndef");
    CFileIO io(&fsSpec, 0);
    io.SetCache(16);
    char buf[8];
    int32_t pos = -1;
    int32_t eof = -1;
    EXPECT_EQ(io.ReadUntil(buf, 2, '\n', &pos, &eof), 0);
    EXPECT_EQ(QByteArray(buf, 2), QByteArray("ab"));
    EXPECT_EQ(pos, 4);
    EXPECT_EQ(eof, 7);
    EXPECT_EQ(io.ReadUntil(buf, 8, '\n', &pos, &eof), eofErr);
    EXPECT_STREQ(buf, "def");
    EXPECT_EQ(pos, 7);

    // A position beyond the length measured at the start gives 1.
    FSSpec other = make(QStringLiteral("shrinks.txt"), "0123456789");
    CFileIO shrinking(&other, 1);
    ASSERT_EQ(shrinking.Read(buf, 6), noErr);
    QFile::resize(path(QStringLiteral("shrinks.txt")), 3);
    EXPECT_EQ(shrinking.ReadUntil(buf, 8, '\n', &pos, &eof), 1);
    EXPECT_EQ(eof, 3);
    EXPECT_EQ(pos, 6);
}

TEST_F(FileIOTest, BlockMoveBothWays)
{
    const QByteArray original = pattern(1000);
    FSSpec fsSpec = make(QStringLiteral("move.bin"), original);
    {
        CFileIO io(&fsSpec, 1);
        ASSERT_EQ(io.BlockMove(0, 100), noErr);
        EXPECT_EQ(io.GetEOF(), 1100);
    }
    QByteArray moved = PavoTest::readFile(path(QStringLiteral("move.bin")));
    EXPECT_EQ(moved.mid(100), original);
    EXPECT_EQ(moved.left(100), original.left(100));

    PavoTest::writeFile(path(QStringLiteral("move.bin")), original);
    {
        CFileIO io(&fsSpec, 1);
        char buf[1000];
        ASSERT_EQ(io.Read(buf, 950), noErr);
        ASSERT_EQ(io.BlockMove(100, 0), noErr);
        EXPECT_EQ(io.position(), 900);
        EXPECT_EQ(io.BlockMove(5, 5), noErr);
    }
    EXPECT_EQ(PavoTest::readFile(path(QStringLiteral("move.bin"))), original.mid(100));

    // Several 1024-byte steps, with a read cache in the way, both directions.
    const QByteArray large = pattern(5000, 3);
    PavoTest::writeFile(path(QStringLiteral("move.bin")), large);
    {
        CFileIO io(&fsSpec, 1);
        io.SetCache(1500);
        ASSERT_EQ(io.BlockMove(1234, 3000), noErr);
        EXPECT_EQ(io.GetEOF(), 5000 + 3000 - 1234);
        ASSERT_EQ(io.BlockMove(3000, 1234), noErr);
        EXPECT_EQ(io.GetEOF(), 5000);
    }
    EXPECT_EQ(PavoTest::readFile(path(QStringLiteral("move.bin"))), large);
    CFileIO closed;
    EXPECT_EQ(closed.BlockMove(0, 1), fnOpnErr);
}

TEST_F(FileIOTest, CRCOfTheWholeFileFromTheStart)
{
    FSSpec check = make(QStringLiteral("check.txt"), "123456789");
    CFileIO small(&check, 0);
    EXPECT_EQ(small.CRC(), 0xCBF43926u);
    EXPECT_EQ(small.position(), 9);
    EXPECT_EQ(small.CRC(), 0xFFFFFFFFu) << "the sum starts at the position";

    const QByteArray large = pattern(25000, 9); // three 10240-byte blocks
    FSSpec fsSpec = make(QStringLiteral("crc.bin"), large);
    CFileIO io(&fsSpec, 0);
    io.SetCache(4096);
    EXPECT_EQ(io.CRC(), PVCRC32(0, reinterpret_cast<const unsigned char*>(large.constData()), 25000));
    EXPECT_EQ(io.position(), 25000);
    FSSpec empty = make(QStringLiteral("empty.bin"), QByteArray());
    CFileIO none(&empty, 0);
    EXPECT_EQ(none.CRC(), 0u);
}

// A flush that fails keeps every collected byte: the file-size limit makes the write
// fail for real, in a child process so that the limit touches nothing else.
TEST_F(FileIOTest, FailedFlushLosesNothing)
{
    const QByteArray first = pattern(500, 1);
    const QByteArray second = pattern(1000, 2);
    FSSpec fsSpec = make(QStringLiteral("limited.bin"), QByteArray());
    const QString file = path(QStringLiteral("limited.bin"));
    EXPECT_EXIT(
        {
            auto fail = [](const char* what) {
                std::fprintf(stderr, "FAILED: %s\n", what);
                std::_Exit(1);
            };
            std::signal(SIGXFSZ, SIG_IGN); // the write then fails with EFBIG instead
            CFileIO io(&fsSpec, 1);
            if (!io.isOpen() || io.Write(first.constData(), 500) != noErr)
                fail("first write");
            if (io.SetWCache(4096) != noErr || io.Write(second.constData(), 1000) != noErr)
                fail("collecting");
            struct rlimit limit;
            getrlimit(RLIMIT_FSIZE, &limit);
            const rlim_t saved = limit.rlim_cur;
            limit.rlim_cur = 1000;
            if (setrlimit(RLIMIT_FSIZE, &limit) != 0)
                fail("setrlimit");
            if (io.FlushWCache() == noErr)
                fail("the flush should fail past the limit");
            if (io.position() != 500 || io.writeCacheCount() != 1000)
                fail("the failed flush moved the position or dropped bytes");
            if (io.SetWCache(16) == noErr || io.writeCacheCount() != 1000)
                fail("SetWCache must refuse while the flush fails");
            if (PavoTest::readFile(file).left(500) != first)
                fail("bytes written before were damaged");
            limit.rlim_cur = saved;
            if (setrlimit(RLIMIT_FSIZE, &limit) != 0)
                fail("restoring the limit");
            if (io.FlushWCache() != noErr || io.position() != 1500)
                fail("the second flush");
            io.Close();
            if (PavoTest::readFile(file) != first + second)
                fail("file content after the retry");
            std::fprintf(stderr, "flush kept all bytes\n");
            std::_Exit(0);
        },
        ::testing::ExitedWithCode(0), "flush kept all bytes");
}
