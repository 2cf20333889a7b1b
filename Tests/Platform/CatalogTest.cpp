#include <Pavo/PavoCore.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include "TestSupport.h"

#include <cstring>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

bool touch(const QString& path, const QByteArray& bytes = "x")
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size();
}

QByteArray specName(const FSSpec& fsSpec)
{
    return QByteArray(reinterpret_cast<const char*>(fsSpec.name + 1), fsSpec.name[0]);
}

FSSpec makeSpec(int16_t vRefNum, int32_t parID, const QByteArray& name)
{
    FSSpec fsSpec;
    std::memset(&fsSpec, 0, sizeof fsSpec);
    fsSpec.vRefNum = vRefNum;
    fsSpec.parID = parID;
    fsSpec.name[0] = uint8_t(name.size());
    std::memcpy(fsSpec.name + 1, name.constData(), size_t(name.size()));
    return fsSpec;
}

// The canonical form of a temporary folder (the temporary folder itself may be a link).
QString canonicalTemp(const QTemporaryDir& dir)
{
    return QFileInfo(dir.path()).canonicalFilePath();
}

} // namespace

TEST(PvCatalog, DefaultVolumeIsFirstAndNamedFromItsMountPoint)
{
    PvVolumeInfo first;
    ASSERT_EQ(PvCatalog::VolumeInfoByIndex(1, &first), noErr);
    EXPECT_EQ(first.mountPoint, QStringLiteral("/"));
    EXPECT_EQ(first.vRefNum, PvCatalog::DefaultVolume());
    EXPECT_LT(first.vRefNum, 0);
    EXPECT_FALSE(first.name.isEmpty());

    PvVolumeInfo again;
    ASSERT_EQ(PvCatalog::VolumeInfoByRefNum(first.vRefNum, &again), noErr);
    EXPECT_EQ(again.mountPoint, first.mountPoint);
    EXPECT_EQ(PvCatalog::VolumeInfoByRefNum(0, &again), noErr) << "0 is the default volume";
    EXPECT_EQ(again.vRefNum, first.vRefNum);

    int count = 0;
    PvVolumeInfo info;
    while (PvCatalog::VolumeInfoByIndex(count + 1, &info) == noErr) {
        ++count;
        if (info.mountPoint != QLatin1String("/")) {
            EXPECT_EQ(info.name,
                info.mountPoint.section(QLatin1Char('/'), -1).replace(QLatin1Char(':'), QLatin1Char('/')));
        }
    }
    EXPECT_EQ(PvCatalog::VolumeInfoByIndex(count + 1, &info), nsvErr);
    EXPECT_EQ(PvCatalog::VolumeInfoByIndex(0, &info), nsvErr);
    EXPECT_EQ(PvCatalog::VolumeInfoByRefNum(12345, &info), nsvErr);
}

TEST(PvCatalog, RootFolderIsTwoAndItsParentOne)
{
    FSRef root;
    ASSERT_EQ(PvCatalog::MakeRef(QStringLiteral("/"), &root), noErr);
    FSSpec fsSpec;
    ASSERT_EQ(PvCatalog::RefSpec(&root, &fsSpec), noErr);
    PvVolumeInfo volume;
    ASSERT_EQ(PvCatalog::VolumeInfoByRefNum(PvCatalog::DefaultVolume(), &volume), noErr);
    EXPECT_EQ(fsSpec.vRefNum, volume.vRefNum);
    EXPECT_EQ(int32_t(fsSpec.parID), 1);
    EXPECT_EQ(QString::fromLatin1(specName(fsSpec)), volume.name.left(27));
    int32_t dirID = 0;
    ASSERT_EQ(PvCatalog::RefFolderID(&root, &dirID), noErr);
    EXPECT_EQ(dirID, 2);

    // An item in the root folder has parent 2.
    QString path;
    const FSSpec tmp = makeSpec(volume.vRefNum, 2, "tmp");
    ASSERT_EQ(PvCatalog::SpecPath(&tmp, &path), noErr);
    EXPECT_EQ(path, QStringLiteral("/tmp"));
    FSSpec rootByName = makeSpec(volume.vRefNum, 1, PvMacRomanFromString(volume.name));
    FSRef again;
    ASSERT_EQ(PvCatalog::SpecRef(&rootByName, &again), noErr);
    EXPECT_EQ(std::memcmp(&again, &root, sizeof root), 0);
}

TEST(PvCatalog, FSRefAndFSSpecRoundTripAndCheckIdentity)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString base = canonicalTemp(dir);
    ASSERT_TRUE(QDir(base).mkdir(QStringLiteral("Folder")));
    const QString file = base + QStringLiteral("/Folder/Take 1.aif");
    ASSERT_TRUE(touch(file));

    FSRef ref;
    bool isFolder = true;
    ASSERT_EQ(PvCatalog::MakeRef(file, &ref, &isFolder), noErr);
    EXPECT_FALSE(isFolder);
    FSSpec fsSpec;
    ASSERT_EQ(PvCatalog::RefSpec(&ref, &fsSpec), noErr);
    EXPECT_EQ(specName(fsSpec), QByteArray("Take 1.aif"));

    FSRef folderRef;
    int32_t folderID = 0;
    ASSERT_EQ(PvCatalog::MakeRef(base + QStringLiteral("/Folder"), &folderRef, &isFolder), noErr);
    EXPECT_TRUE(isFolder);
    ASSERT_EQ(PvCatalog::RefFolderID(&folderRef, &folderID), noErr);
    EXPECT_EQ(int32_t(fsSpec.parID), folderID);
    EXPECT_GT(folderID, 2);
    int32_t notFolder = 0;
    EXPECT_EQ(PvCatalog::RefFolderID(&ref, &notFolder), dirNFErr);

    FSRef back;
    ASSERT_EQ(PvCatalog::SpecRef(&fsSpec, &back), noErr);
    EXPECT_EQ(std::memcmp(&back, &ref, sizeof ref), 0);

    // MakeSpec: an existing item, a missing one in an existing folder, an empty name.
    FSSpec made;
    EXPECT_EQ(PvCatalog::MakeSpec(fsSpec.vRefNum, folderID, fsSpec.name, &made), noErr);
    const unsigned char missing[] = "\x07new.wav";
    EXPECT_EQ(PvCatalog::MakeSpec(fsSpec.vRefNum, folderID, missing, &made), fnfErr);
    EXPECT_EQ(int32_t(made.parID), folderID);
    const unsigned char empty[] = "";
    ASSERT_EQ(PvCatalog::MakeSpec(fsSpec.vRefNum, folderID, empty, &made), noErr);
    EXPECT_EQ(specName(made), QByteArray("Folder"));
    EXPECT_EQ(PvCatalog::MakeSpec(fsSpec.vRefNum, 0x7ffffff0, missing, &made), dirNFErr);

    // A lookup checks device and inode: renaming or replacing the item breaks the FSRef.
    QString path;
    ASSERT_EQ(PvCatalog::RefPath(&ref, &path), noErr);
    EXPECT_EQ(path, file);
    ASSERT_TRUE(QFile::rename(file, file + QStringLiteral(".old")));
    ASSERT_TRUE(touch(file));
    EXPECT_EQ(PvCatalog::RefPath(&ref, &path), fnfErr);
    EXPECT_EQ(PvCatalog::RefSpec(&ref, &fsSpec), fnfErr);

    FSRef zero;
    std::memset(&zero, 0, sizeof zero);
    EXPECT_EQ(PvCatalog::RefPath(&zero, &path), errFSBadFSRef);
    EXPECT_EQ(PvCatalog::MakeRef(base + QStringLiteral("/nothing"), &ref), fnfErr);
}

TEST(PvCatalog, NamesThatDoNotFitAreShortenedAndFoundAgain)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString base = canonicalTemp(dir);
    // Each name and what its FSSpec name must be (empty: shortened, with a '#', the
    // extension kept).
    const std::pair<QString, QByteArray> names[]
        = {{QStringLiteral("A rather long file name for a drum loop take.wav"), QByteArray()},
            {QStringLiteral("Ton \u65e5\u672c.aif"), QByteArray()},
            {QStringLiteral("L:R mix.wav"), "L/R mix.wav"}, {QStringLiteral("Caf\u00e9.wav"), "Caf\x8e.wav"}};
    for (const auto& [name, expected] : names) {
        SCOPED_TRACE(name.toStdString());
        const QString file = base + QLatin1Char('/') + name;
        ASSERT_TRUE(touch(file));
        FSRef ref;
        ASSERT_EQ(PvCatalog::MakeRef(file, &ref), noErr);
        FSSpec fsSpec;
        ASSERT_EQ(PvCatalog::RefSpec(&ref, &fsSpec), noErr);
        EXPECT_LE(fsSpec.name[0], 31);
        if (!expected.isEmpty()) {
            EXPECT_EQ(specName(fsSpec), expected);
        } else if (name.size() > 31) {
            EXPECT_TRUE(specName(fsSpec).endsWith(".wav"));
            EXPECT_TRUE(specName(fsSpec).contains('#'));
        }
        FSRef back;
        ASSERT_EQ(PvCatalog::SpecRef(&fsSpec, &back), noErr) << specName(fsSpec).toStdString();
        QString path;
        ASSERT_EQ(PvCatalog::RefPath(&back, &path), noErr);
        EXPECT_EQ(path, file);
        HFSUniStr255 unicode;
        ASSERT_EQ(PvCatalog::RefUnicodeName(&ref, &unicode), noErr);
        EXPECT_EQ(QString::fromUtf16(reinterpret_cast<const char16_t*>(unicode.unicode), unicode.length),
            QString(name).replace(QLatin1Char(':'), QLatin1Char('/')));
    }
}

TEST(PvCatalog, ResolveAliasFileFollowsLinkChains)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString base = canonicalTemp(dir);
    ASSERT_TRUE(touch(base + QStringLiteral("/target.wav")));
    ASSERT_TRUE(QDir(base).mkdir(QStringLiteral("Sub")));
    ASSERT_EQ(::symlink("target.wav", QFile::encodeName(base + QStringLiteral("/link1")).constData()), 0);
    ASSERT_EQ(::symlink((base + QStringLiteral("/link1")).toUtf8().constData(),
                  QFile::encodeName(base + QStringLiteral("/link2")).constData()),
        0);
    ASSERT_EQ(::symlink("Sub", QFile::encodeName(base + QStringLiteral("/folderLink")).constData()), 0);
    ASSERT_EQ(::symlink("gone", QFile::encodeName(base + QStringLiteral("/dangling")).constData()), 0);

    auto specOf = [](const QString& path) {
        FSRef ref;
        FSSpec fsSpec;
        std::memset(&fsSpec, 0, sizeof fsSpec);
        EXPECT_EQ(PvCatalog::MakeRef(path, &ref), noErr);
        EXPECT_EQ(PvCatalog::RefSpec(&ref, &fsSpec), noErr);
        return fsSpec;
    };
    FSSpec fsSpec = specOf(base + QStringLiteral("/link2"));
    bool isFolder = true;
    bool aliased = false;
    ASSERT_EQ(PvCatalog::ResolveAliasFile(&fsSpec, &isFolder, &aliased), noErr);
    EXPECT_FALSE(isFolder);
    EXPECT_TRUE(aliased);
    EXPECT_EQ(specName(fsSpec), QByteArray("target.wav"));

    fsSpec = specOf(base + QStringLiteral("/folderLink"));
    ASSERT_EQ(PvCatalog::ResolveAliasFile(&fsSpec, &isFolder, &aliased), noErr);
    EXPECT_TRUE(isFolder);
    EXPECT_EQ(specName(fsSpec), QByteArray("Sub"));

    fsSpec = specOf(base + QStringLiteral("/target.wav"));
    ASSERT_EQ(PvCatalog::ResolveAliasFile(&fsSpec, &isFolder, &aliased), noErr);
    EXPECT_FALSE(aliased);

    fsSpec = specOf(base + QStringLiteral("/dangling"));
    EXPECT_EQ(PvCatalog::ResolveAliasFile(&fsSpec, &isFolder, &aliased), fnfErr);
}

TEST(PvCatalog, HFSPathsStartWithTheVolumeName)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString base = canonicalTemp(dir);
    PvVolumeInfo volume;
    ASSERT_EQ(PvCatalog::VolumeForPath(base, &volume), noErr);
    const QString file = base + QStringLiteral("/a:b.wav");
    const QString hfs = PvCatalog::HFSPathFromPosix(file, false);
    EXPECT_TRUE(hfs.startsWith(volume.name + QLatin1Char(':'))) << hfs.toStdString();
    EXPECT_TRUE(hfs.endsWith(QStringLiteral(":a/b.wav"))) << hfs.toStdString();
    EXPECT_EQ(PvCatalog::PosixPathFromHFS(hfs), file);
    EXPECT_TRUE(PvCatalog::HFSPathFromPosix(base, true).endsWith(QLatin1Char(':')));
    EXPECT_EQ(PvCatalog::PosixPathFromHFS(PvCatalog::HFSPathFromPosix(base, true)), base);
    EXPECT_EQ(PvCatalog::PosixPathFromHFS(QStringLiteral("No Such Volume 77:x")), QString());
    EXPECT_EQ(PvCatalog::HFSPathFromPosix(QStringLiteral("relative/path"), false), QString());
    EXPECT_EQ(
        PvCatalog::PosixPathFromHFS(QStringLiteral(":a::b")), QDir::currentPath() + QStringLiteral("/b"));
}

TEST(PvCatalog, ForksReadAndWriteAtPositions)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString file = canonicalTemp(dir) + QStringLiteral("/data.bin");
    ASSERT_TRUE(touch(file, "0123456789"));
    FSRef ref;
    FSSpec fsSpec;
    ASSERT_EQ(PvCatalog::MakeRef(file, &ref), noErr);
    ASSERT_EQ(PvCatalog::RefSpec(&ref, &fsSpec), noErr);
    int16_t fork = 0;
    ASSERT_EQ(PvForkOpen(&fsSpec, 3, &fork), noErr);
    EXPECT_GT(fork, 0);
    char buf[8] = {};
    int32_t actual = 0;
    EXPECT_EQ(PvForkRead(fork, 6, buf, 4, &actual), noErr);
    EXPECT_EQ(QByteArray(buf, 4), QByteArray("6789"));
    EXPECT_EQ(PvForkRead(fork, 8, buf, 4, &actual), eofErr);
    EXPECT_EQ(actual, 2);
    EXPECT_EQ(PvForkWrite(fork, 12, "ab", 2, &actual), noErr);
    int64_t size = 0;
    EXPECT_EQ(PvForkGetSize(fork, &size), noErr);
    EXPECT_EQ(size, 14);
    EXPECT_EQ(PvForkSetSize(fork, 3), noErr);
    EXPECT_EQ(PvForkClose(fork), noErr);
    EXPECT_EQ(PavoTest::readFile(file), QByteArray("012"));
    EXPECT_EQ(PvForkClose(fork), rfNumErr);
}

TEST(PvCatalog, SecondVolumeHasItsOwnNumberAndRoot)
{
    // /dev/shm is a file system of its own on most Linux systems; the test needs it
    // writable and on another device than the temporary folder.
    QTemporaryDir home;
    struct stat shm;
    struct stat tmp;
    if (::stat("/dev/shm", &shm) != 0 || ::stat(QFile::encodeName(home.path()).constData(), &tmp) != 0
        || shm.st_dev == tmp.st_dev || ::access("/dev/shm", W_OK) != 0)
        GTEST_SKIP() << "no second writable volume (/dev/shm) on this machine";
    PvVolumeInfo volume;
    ASSERT_EQ(PvCatalog::VolumeForPath(QStringLiteral("/dev/shm/x"), &volume), noErr);
    EXPECT_EQ(volume.mountPoint, QStringLiteral("/dev/shm"));
    EXPECT_EQ(volume.name, QStringLiteral("shm"));
    EXPECT_NE(volume.vRefNum, PvCatalog::DefaultVolume());

    QTemporaryDir dir(QStringLiteral("/dev/shm/pavo-catalog-XXXXXX"));
    ASSERT_TRUE(dir.isValid());
    const QString file = dir.path() + QStringLiteral("/clip.wav");
    ASSERT_TRUE(touch(file));
    FSRef folder;
    FSSpec fsSpec;
    ASSERT_EQ(PvCatalog::MakeRef(dir.path(), &folder), noErr);
    ASSERT_EQ(PvCatalog::RefSpec(&folder, &fsSpec), noErr);
    EXPECT_EQ(fsSpec.vRefNum, volume.vRefNum);
    EXPECT_EQ(int32_t(fsSpec.parID), 2) << "a folder in the root folder of the second volume";
    FSRef root;
    ASSERT_EQ(PvCatalog::MakeRef(QStringLiteral("/dev/shm"), &root), noErr);
    ASSERT_EQ(PvCatalog::RefSpec(&root, &fsSpec), noErr);
    EXPECT_EQ(int32_t(fsSpec.parID), 1);
    EXPECT_EQ(specName(fsSpec), QByteArray("shm"));
    EXPECT_EQ(PvCatalog::HFSPathFromPosix(file, false),
        QStringLiteral("shm:") + QFileInfo(dir.path()).fileName() + QStringLiteral(":clip.wav"));
    EXPECT_EQ(PvCatalog::PosixPathFromHFS(PvCatalog::HFSPathFromPosix(file, false)), file);
}
