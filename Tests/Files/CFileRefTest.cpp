#include <Pavo/PavoCore.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstring>
#include <unistd.h>

namespace {

bool touch(const QString& path)
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write("x") == 1;
}

QString canonicalTemp(const QTemporaryDir& dir)
{
    return QFileInfo(dir.path()).canonicalFilePath();
}

std::string pathOf(CFileRef& ref)
{
    const char* p = ref.GetPath();
    return p ? std::string(p) : std::string("(null)");
}

} // namespace

TEST(CFileRef, EmptyAndNotYetExistingReferences)
{
    CFileRef empty;
    EXPECT_EQ(empty.validFlags(), 0u);
    EXPECT_EQ(empty.GetPath(), nullptr);
    EXPECT_TRUE(empty.FileName().isNull());
    EXPECT_FALSE(empty.Exists());
    EXPECT_EQ(empty.GetParID(), -1);
    EXPECT_EQ(empty.GetVolumeRefNumber(), 32767);
    char buf[64];
    EXPECT_EQ(empty.GetFileName(buf, sizeof buf), nullptr);
    EXPECT_FALSE(empty.GetPath(buf, sizeof buf));

    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QByteArray path = QFile::encodeName(canonicalTemp(dir) + "/new.aif");
    CFileRef ref;
    EXPECT_TRUE(ref.Set(path.constData(), 0));
    EXPECT_EQ(ref.validFlags(), 2u);
    EXPECT_FALSE(ref.Exists());
    FSRef fsRef;
    EXPECT_FALSE(ref.GetFSRef(&fsRef));
    FSSpec fsSpec;
    EXPECT_FALSE(ref.GetFSSpec(&fsSpec));
    // The folder exists, so its ID and volume are known through the URL.
    CFileRef folder(QFile::encodeName(canonicalTemp(dir)).constData(), 1);
    ASSERT_TRUE(folder.GetFSSpec(&fsSpec));
    FSRef folderRef;
    ASSERT_TRUE(folder.GetFSRef(&folderRef));
    int32_t folderID = 0;
    ASSERT_EQ(PvCatalog::RefFolderID(&folderRef, &folderID), noErr);
    EXPECT_EQ(ref.GetParID(), folderID);
    EXPECT_EQ(ref.GetVolumeRefNumber(), fsSpec.vRefNum);

    // Once created, the same reference finds it.
    ASSERT_TRUE(touch(QFile::decodeName(path)));
    EXPECT_TRUE(ref.Exists());
    EXPECT_EQ(ref.validFlags(), 3u);
    ASSERT_TRUE(ref.GetFSSpec(&fsSpec));
    EXPECT_EQ(int32_t(fsSpec.parID), folderID);
    EXPECT_EQ(QByteArray(reinterpret_cast<char*>(fsSpec.name + 1), fsSpec.name[0]), QByteArray("new.aif"));
    EXPECT_FALSE(CFileRef().Set(static_cast<const char*>(nullptr), 0));
    EXPECT_FALSE(CFileRef().Set("", 0));

    // A dangling symbolic link is an item of its own.
    const QString linkPath = canonicalTemp(dir) + "/link.wav";
    ASSERT_EQ(::symlink("nowhere.wav", QFile::encodeName(linkPath).constData()), 0);
    CFileRef link(linkPath, kPathStylePOSIX, 0);
    EXPECT_TRUE(link.Exists());
    EXPECT_EQ(link.FileName(), QStringLiteral("link.wav"));
}

TEST(CFileRef, PathRules)
{
    CFileRef folder("/Users/x/Folder/", 0);
    EXPECT_EQ(pathOf(folder), "/Users/x/Folder");
    CFileRef root("/", 1);
    EXPECT_EQ(pathOf(root), "");
    EXPECT_EQ(root.FileName(), QStringLiteral("/"));
    CFileRef dirRef("/a/b", 1);
    char buf[64];
    ASSERT_TRUE(dirRef.GetPath(buf, sizeof buf));
    EXPECT_STREQ(buf, "/a/b/");
    EXPECT_FALSE(dirRef.GetPath(buf, 5)) << "five bytes cannot hold /a/b/ and its terminator";
    EXPECT_STREQ(dirRef.GetFileName(buf, sizeof buf), "b");
    EXPECT_EQ(dirRef.GetFileName(buf, 1), nullptr);
    EXPECT_EQ(dirRef.FileName(), QStringLiteral("b"));

    // Relative paths are taken from the current folder.
    CFileRef relative("some/file.wav", 0);
    EXPECT_EQ(QString::fromStdString(pathOf(relative)), QDir::currentPath() + "/some/file.wav");

    // A path that does not fit in the 1024-byte buffer has no GetPath().
    CFileRef longPath(QByteArray("/") + QByteArray(1100, 'a'), 0);
    EXPECT_EQ(longPath.GetPath(), nullptr);

    CFileRef withSpaces("/tmp/a b%c#d.wav", 0);
    EXPECT_EQ(pathOf(withSpaces), "/tmp/a b%c#d.wav");
    EXPECT_EQ(withSpaces.FileName(), QStringLiteral("a b%c#d.wav"));
}

TEST(CFileRef, PathContains)
{
    CFileRef a("/Users/a", 1);
    CFileRef b("/Users/a/b", 0);
    CFileRef upper("/users/A", 0);
    CFileRef ab("/Users/ab", 0);
    CFileRef root("/", 1);
    CFileRef volume("/Volumes/Disk/x", 0);
    CFileRef empty;
    EXPECT_TRUE(a.PathContains(b));
    EXPECT_TRUE(a.PathContains(upper));
    EXPECT_FALSE(a.PathContains(ab));
    EXPECT_FALSE(b.PathContains(a));
    EXPECT_FALSE(root.PathContains(volume));
    EXPECT_TRUE(root.PathContains(a));
    EXPECT_TRUE(root.PathContains(root));
    EXPECT_FALSE(a.PathContains(empty));
    EXPECT_FALSE(empty.PathContains(a));
}

TEST(CFileRef, ReplaceExtensionBy)
{
    CFileRef ref("/a/b.aif", 0);
    ref.ReplaceExtensionBy("wav");
    EXPECT_EQ(pathOf(ref), "/a/b.wav");
    EXPECT_EQ(ref.url().path(), QStringLiteral("/a/b.wav/")) << "set with the directory flag";
    CFileRef dotInFolder("/a.b/c", 0);
    dotInFolder.ReplaceExtensionBy("wav");
    EXPECT_EQ(pathOf(dotInFolder), "/a.b/c");
    EXPECT_EQ(dotInFolder.url().path(), QStringLiteral("/a.b/c"));
    CFileRef dotLast("/a/b.", 0);
    dotLast.ReplaceExtensionBy("wav");
    EXPECT_EQ(pathOf(dotLast), "/a/b.");
}

TEST(CFileRef, FSRefFSSpecAndVolumeWalk)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString base = canonicalTemp(dir);
    ASSERT_TRUE(QDir(base).mkdir(QStringLiteral("Sounds")));
    const QString file = base + "/Sounds/kick.wav";
    ASSERT_TRUE(touch(file));

    CFileRef byPath(file, kPathStylePOSIX, 0);
    EXPECT_EQ(byPath.validFlags(), 3u);
    FSSpec fsSpec;
    ASSERT_TRUE(byPath.GetFSSpec(&fsSpec));
    EXPECT_EQ(byPath.GetParID(), int32_t(fsSpec.parID));
    EXPECT_EQ(byPath.GetVolumeRefNumber(), fsSpec.vRefNum);
    HFSUniStr255 name;
    ASSERT_TRUE(byPath.UnicodeFileName(&name));
    EXPECT_EQ(QString::fromUtf16(reinterpret_cast<const char16_t*>(name.unicode), name.length),
        QStringLiteral("kick.wav"));

    CFileRef bySpec(&fsSpec);
    EXPECT_EQ(bySpec.validFlags(), 3u);
    EXPECT_EQ(QString::fromStdString(pathOf(bySpec)), file);
    CFileRef byParts(fsSpec.vRefNum, fsSpec.parID, fsSpec.name);
    EXPECT_EQ(QString::fromStdString(pathOf(byParts)), file);
    unsigned char folderOnly[] = "";
    CFileRef folder(fsSpec.vRefNum, fsSpec.parID, folderOnly);
    EXPECT_EQ(QString::fromStdString(pathOf(folder)), base + "/Sounds");
    EXPECT_TRUE(folder.url().path().endsWith(QLatin1Char('/')));

    FSRef fsRef;
    ASSERT_TRUE(byPath.GetFSRef(&fsRef));
    CFileRef byRef(&fsRef);
    EXPECT_EQ(QString::fromStdString(pathOf(byRef)), file);

    // A stale volume number: the FSSpec is found on the volume that has it.
    FSSpec stale = fsSpec;
    stale.vRefNum = -31000;
    CFileRef walked(&stale);
    EXPECT_EQ(walked.validFlags(), 3u);
    EXPECT_EQ(QString::fromStdString(pathOf(walked)), file);

    FSSpec nowhere = fsSpec;
    std::memcpy(nowhere.name, "\x0bmissing.wav", 12);
    CFileRef missing(&nowhere);
    EXPECT_EQ(missing.validFlags(), 0u);
    EXPECT_EQ(missing.GetPath(), nullptr);

    // A renamed file: the stored FSRef no longer names it; the URL is tried instead.
    ASSERT_TRUE(QFile::rename(file, file + ".bak"));
    EXPECT_FALSE(byPath.Exists());
    EXPECT_EQ(byPath.validFlags(), 2u);
    EXPECT_FALSE(byRef.GetFSRef(&fsRef));
    // With its FSRef flag still set the FSSpec route fails once and clears the flag;
    // from then on the folder, which is still there, answers through the URL.
    EXPECT_EQ(byRef.GetParID(), -1);
    EXPECT_EQ(byRef.GetParID(), int32_t(fsSpec.parID));
}

TEST(CFileRef, PathStyles)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString base = canonicalTemp(dir);
    const QString file = base + "/mix.wav";
    ASSERT_TRUE(touch(file));
    CFileRef posix(file, kPathStylePOSIX, 0);
    const QString hfs = posix.GetFileSystemPath(kPathStyleHFS);
    PvVolumeInfo volume;
    ASSERT_EQ(PvCatalog::VolumeForPath(file, &volume), noErr);
    EXPECT_TRUE(hfs.startsWith(volume.name + QLatin1Char(':')));
    CFileRef fromHFS(hfs, kPathStyleHFS, 0);
    EXPECT_EQ(fromHFS.validFlags(), 3u);
    EXPECT_EQ(fromHFS.GetFileSystemPath(kPathStylePOSIX), file);
    EXPECT_FALSE(CFileRef().Set(QStringLiteral("Unmounted Disk 9:a"), kPathStyleHFS, 0));

    CFileRef windows("C:\\Audio\\Take.wav", kPathStyleWindows, 0);
    EXPECT_EQ(windows.url().toString(), QStringLiteral("file:///C:/Audio/Take.wav"));
    EXPECT_EQ(windows.GetFileSystemPath(kPathStyleWindows), QStringLiteral("C:\\Audio\\Take.wav"));
    EXPECT_EQ(windows.GetFileSystemPath(kPathStylePOSIX), QStringLiteral("/C:/Audio/Take.wav"));
    CFileRef unc("\\\\studio\\share\\Take.wav", 7, 0);
    EXPECT_EQ(unc.url().host(), QStringLiteral("studio"));
    EXPECT_EQ(unc.GetFileSystemPath(kPathStyleWindows), QStringLiteral("\\\\studio\\share\\Take.wav"));
    CFileRef drive("D:\\", kPathStyleWindows, 1);
    EXPECT_EQ(drive.GetFileSystemPath(kPathStyleWindows), QStringLiteral("D:\\"));

    // Directory plus name, and the C-string form with UTF-8 and non-UTF-8 text.
    CFileRef joined(base, QStringLiteral("mix.wav"));
    EXPECT_EQ(joined.validFlags(), 3u);
    EXPECT_FALSE(joined.url().path().endsWith(QLatin1Char('/')));
    CFileRef folderOnly(base, QString());
    EXPECT_TRUE(folderOnly.url().path().endsWith(QLatin1Char('/')));
    CFileRef utf8("/tmp/Caf\xc3\xa9.wav", kPathStylePOSIX, 0);
    EXPECT_EQ(utf8.FileName(), QStringLiteral("Caf\u00e9.wav"));
    const char notUtf8[] = {'\xe9', '\x4e', 0}; // read as one UTF-16 unit, U+4EE9
    CFileRef fallback(notUtf8, kPathStylePOSIX, 0);
    EXPECT_EQ(fallback.FileName(), QString(QChar(0x4EE9)));
    const char odd[] = {'\xe9', 0};
    EXPECT_FALSE(CFileRef().Set(odd, kPathStylePOSIX, 0));
}

TEST(CFileRef, CopiesAndSetFromOtherReferences)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString file = canonicalTemp(dir) + "/bass.aif";
    ASSERT_TRUE(touch(file));
    const CFileRef original(file, kPathStylePOSIX, 0);
    CFileRef assigned(original);
    assigned = assigned;
    EXPECT_EQ(assigned.url(), original.url());
    EXPECT_EQ(assigned.validFlags(), 3u);
    CFileRef asFolder;
    ASSERT_TRUE(asFolder.Set(original, 1));
    EXPECT_TRUE(asFolder.url().path().endsWith(QLatin1Char('/')));
    EXPECT_TRUE(asFolder.Set(asFolder, 0));
    EXPECT_FALSE(asFolder.url().path().endsWith(QLatin1Char('/')));
    CFileRef fromURL;
    EXPECT_TRUE(fromURL.Set(QUrl::fromLocalFile(file)));
    EXPECT_EQ(fromURL.validFlags(), 3u);
    EXPECT_FALSE(fromURL.Set(QUrl(QStringLiteral("https://example.org/a.wav"))));
    EXPECT_EQ(fromURL.validFlags(), 0u);
}

TEST(CFileRef, PlainFunctions)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    QByteArray file = QFile::encodeName(canonicalTemp(dir) + "/snare.wav");
    ASSERT_TRUE(touch(QFile::decodeName(file)));
    void* ref = CFileRefCreate(file.data(), kPathStylePOSIX, 0);
    ASSERT_NE(ref, nullptr);
    EXPECT_TRUE(CFileRefExists(ref));
    FSRef fsRef;
    FSSpec fsSpec;
    char buf[1024];
    EXPECT_TRUE(CFileRefGetFSRef(ref, &fsRef));
    EXPECT_TRUE(CFileRefGetFSSpec(ref, &fsSpec));
    EXPECT_TRUE(CFileRefGetPath(ref, buf, sizeof buf));
    EXPECT_EQ(QByteArray(buf), file);
    for (void* other : {CFileRefCreate(&fsSpec), CFileRefCreate(&fsRef)}) {
        EXPECT_TRUE(CFileRefExists(other));
        CFileRefDelete(other);
    }
    CFileRefDelete(ref);
    CFileRefDelete(nullptr);

    EXPECT_EQ(CFileRefCreate(static_cast<FSSpec*>(nullptr)), nullptr);
    EXPECT_EQ(CFileRefCreate(static_cast<FSRef*>(nullptr)), nullptr);
    EXPECT_EQ(CFileRefCreate(static_cast<char*>(nullptr), 0, 0), nullptr);
    EXPECT_FALSE(CFileRefExists(nullptr));
    EXPECT_FALSE(CFileRefGetFSRef(nullptr, &fsRef));
    EXPECT_FALSE(CFileRefGetFSSpec(nullptr, &fsSpec));
    EXPECT_FALSE(CFileRefGetPath(nullptr, buf, sizeof buf));

    EXPECT_EQ(PathToFSRef(QFile::decodeName(file), &fsRef), noErr);
    EXPECT_EQ(PathToFSRef(QFile::decodeName(file) + ".none", &fsRef), fnfErr);
    EXPECT_EQ(PathToFSRef(QString(), &fsRef), fnfErr);
}
