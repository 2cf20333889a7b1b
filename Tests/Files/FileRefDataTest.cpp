#include <Pavo/PavoCore.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QList>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <plist/plist.h>

#include "TestSupport.h"

#include <cstdio>
#include <cstdlib>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

QString canonicalTemp(const QTemporaryDir& dir)
{
    return QFileInfo(dir.path()).canonicalFilePath();
}

QByteArray toData(const CFileRef& ref)
{
    unsigned char* data = nullptr;
    uint32_t size = 0;
    EXPECT_EQ(CFileRefToData(ref, &data, &size), 0);
    QByteArray block(reinterpret_cast<const char*>(data), qsizetype(size));
    delete[] data;
    return block;
}

uint32_t bigEndian(const QByteArray& block, int offset)
{
    const auto* p = reinterpret_cast<const unsigned char*>(block.constData() + offset);
    return (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | p[3];
}

QString restoredPath(QByteArray block)
{
    CFileRef ref;
    EXPECT_EQ(CFileRefFromData(ref, reinterpret_cast<unsigned char*>(block.data())), 0);
    const char* path = ref.GetPath();
    return path ? QFile::decodeName(path) : QString();
}

QByteArray header(uint32_t a, uint32_t u)
{
    QByteArray h(8, 0);
    for (int i = 0; i < 4; ++i) {
        h[i] = char(a >> (24 - 8 * i));
        h[4 + i] = char(u >> (24 - 8 * i));
    }
    return h;
}

// A keyed archive of a URL object as the platform archiver writes one.
QByteArray urlArchive(const char* relative, const char* base = nullptr)
{
    plist_t objects = plist_new_array();
    plist_array_append_item(objects, plist_new_string("$null"));
    plist_t url = plist_new_dict();
    plist_array_append_item(objects, url);
    plist_array_append_item(objects, plist_new_string(relative));
    plist_dict_set_item(url, "NS.relative", plist_new_uid(2));
    plist_t cls = plist_new_dict();
    plist_dict_set_item(cls, "$classname", plist_new_string("NSURL"));
    plist_array_append_item(objects, cls);
    plist_dict_set_item(url, "$class", plist_new_uid(3));
    if (base) {
        plist_t baseURL = plist_new_dict();
        plist_array_append_item(objects, baseURL);
        plist_array_append_item(objects, plist_new_string(base));
        plist_dict_set_item(baseURL, "NS.relative", plist_new_uid(5));
        plist_dict_set_item(baseURL, "NS.base", plist_new_uid(0));
        plist_dict_set_item(baseURL, "$class", plist_new_uid(3));
        plist_dict_set_item(url, "NS.base", plist_new_uid(4));
    } else {
        plist_dict_set_item(url, "NS.base", plist_new_uid(0));
    }
    plist_t top = plist_new_dict();
    plist_dict_set_item(top, "$archiver", plist_new_string("NSKeyedArchiver"));
    plist_dict_set_item(top, "$version", plist_new_uint(100000));
    plist_t topDict = plist_new_dict();
    plist_dict_set_item(topDict, "root", plist_new_uid(1));
    plist_dict_set_item(top, "$top", topDict);
    plist_dict_set_item(top, "$objects", objects);
    char* bytes = nullptr;
    uint32_t length = 0;
    plist_to_bin(top, &bytes, &length);
    QByteArray result(bytes, qsizetype(length));
    plist_to_bin_free(bytes);
    plist_free(top);
    return result;
}

// A binary property list of `levels` arrays, each holding the next one twice: a few
// hundred bytes that unfold into 2^levels nodes.
QByteArray referenceBomb(int levels)
{
    QByteArray body("bplist00");
    QList<int> offsets;
    for (int i = 0; i < levels; ++i) {
        offsets.append(int(body.size()));
        body += char(0xA2);
        body += char(i + 1);
        body += char(i + 1);
    }
    offsets.append(int(body.size()));
    body += QByteArray("\x10\x01", 2);
    const int table = int(body.size());
    for (int offset : offsets) {
        body += char(offset >> 8);
        body += char(offset & 0xFF);
    }
    QByteArray trailer(32, 0);
    trailer[6] = 2;
    trailer[7] = 1;
    trailer[15] = char(offsets.size());
    trailer[30] = char(table >> 8);
    trailer[31] = char(table & 0xFF);
    return body + trailer;
}

} // namespace

TEST(CFileRefData, BlockLayoutAndRoundTrip)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString file = canonicalTemp(dir) + "/Take 1.wav";
    ASSERT_TRUE(PavoTest::writeFile(file, "RIFF"));
    CFileRef ref(file, kPathStylePOSIX, 0);
    const QByteArray block = toData(ref);
    const uint32_t a = bigEndian(block, 0);
    const uint32_t u = bigEndian(block, 4);
    ASSERT_GT(a, 0u);
    ASSERT_EQ(uint32_t(block.size()), 8 + a + u);

    // The URL part: UTF-16 little-endian text after a byte-order mark, spaces escaped
    // only as the URL itself escapes them.
    const QByteArray urlPart = block.mid(8 + int(a));
    ASSERT_GE(urlPart.size(), 2);
    EXPECT_EQ(urlPart.left(2), QByteArray("\xff\xfe"));
    const QString urlText = QString::fromUtf16(
        reinterpret_cast<const char16_t*>(urlPart.constData() + 2), (urlPart.size() - 2) / 2);
    EXPECT_EQ(urlText, QString::fromLatin1(QUrl::fromLocalFile(file).toEncoded()));
    EXPECT_TRUE(urlText.contains(QStringLiteral("Take%201.wav")));

    // The alias part is a keyed archive of one FileAlias under "aliasHandle".
    const QByteArray archive = block.mid(8, int(a));
    plist_t top = nullptr;
    plist_from_bin(archive.constData(), uint32_t(archive.size()), &top);
    ASSERT_NE(top, nullptr);
    char* archiver = nullptr;
    plist_get_string_val(plist_dict_get_item(top, "$archiver"), &archiver);
    ASSERT_NE(archiver, nullptr);
    EXPECT_STREQ(archiver, "NSKeyedArchiver");
    std::free(archiver);
    plist_t objects = plist_dict_get_item(top, "$objects");
    plist_t root = plist_array_get_item(objects, 1);
    ASSERT_NE(plist_dict_get_item(root, "aliasHandle"), nullptr);
    EXPECT_EQ(plist_get_node_type(plist_dict_get_item(root, "aliasHandle")), PLIST_DATA);
    uint64_t classUID = 0;
    plist_get_uid_val(plist_dict_get_item(root, "$class"), &classUID);
    char* className = nullptr;
    plist_get_string_val(
        plist_dict_get_item(plist_array_get_item(objects, uint32_t(classUID)), "$classname"), &className);
    ASSERT_NE(className, nullptr);
    EXPECT_STREQ(className, "FileAlias");
    std::free(className);
    plist_free(top);

    FileAlias alias;
    ASSERT_TRUE(alias.initWithCoder(archive));
    OSStatus error = 0;
    EXPECT_EQ(alias.filePath(&error), file);

    EXPECT_EQ(restoredPath(block), file);
    CFileRef restored;
    QByteArray copy = block;
    CFileRefFromData(
        restored, reinterpret_cast<const unsigned char*>(copy.constData()), uint32_t(copy.size()));
    EXPECT_EQ(restored.validFlags(), 3u);
    EXPECT_EQ(toData(restored), block) << "a restored reference serialises the same";
}

TEST(CFileRefData, AliasFollowsRenamesAndMoves)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString base = canonicalTemp(dir);
    ASSERT_TRUE(QDir(base).mkpath(QStringLiteral("Project/Audio")));
    ASSERT_TRUE(QDir(base).mkpath(QStringLiteral("Elsewhere/Deep")));
    QString file = base + "/Project/Audio/vocal.wav";
    ASSERT_TRUE(PavoTest::writeFile(file, "voice"));
    const QByteArray block = toData(CFileRef(file, kPathStylePOSIX, 0));
    const QByteArray folderBlock = toData(CFileRef(base + "/Project/Audio", kPathStylePOSIX, 1));

    QString renamed = base + "/Project/Audio/lead vocal.wav";
    ASSERT_TRUE(QFile::rename(file, renamed));
    EXPECT_EQ(restoredPath(block), renamed);

    QString moved = base + "/Elsewhere/Deep/lead.wav";
    ASSERT_TRUE(QFile::rename(renamed, moved));
    EXPECT_EQ(restoredPath(block), moved);

    ASSERT_TRUE(QFile::rename(moved, file));
    ASSERT_TRUE(QDir(base).rename(QStringLiteral("Project"), QStringLiteral("Project v2")));
    EXPECT_EQ(restoredPath(block), base + "/Project v2/Audio/vocal.wav");
    CFileRef folder;
    QByteArray copy = folderBlock;
    CFileRefFromData(folder, reinterpret_cast<unsigned char*>(copy.data()));
    EXPECT_EQ(QFile::decodeName(folder.GetPath()), base + "/Project v2/Audio");
    EXPECT_TRUE(folder.url().path().endsWith(QLatin1Char('/'))) << "restored as a folder";

    // Replaced by a new file at the same place (a save that writes a new file).
    ASSERT_TRUE(QDir(base).rename(QStringLiteral("Project v2"), QStringLiteral("Project")));
    ASSERT_TRUE(QFile::remove(file));
    ASSERT_TRUE(PavoTest::writeFile(file, "new take"));
    EXPECT_EQ(restoredPath(block), file);
}

TEST(CFileRefData, WithoutAnItemTheURLPartDecides)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString file = canonicalTemp(dir) + "/gone.wav";
    ASSERT_TRUE(PavoTest::writeFile(file, "x"));
    const QByteArray withAlias = toData(CFileRef(file, kPathStylePOSIX, 0));
    ASSERT_TRUE(QFile::remove(file));
    // The URL part is raw text, which the reader takes only as a keyed archive: a block
    // whose alias finds nothing restores an empty reference.
    EXPECT_EQ(restoredPath(withAlias), QString());

    const QByteArray urlOnly = toData(CFileRef(file, kPathStylePOSIX, 0));
    EXPECT_EQ(bigEndian(urlOnly, 0), 0u) << "no alias for an item that does not exist";
    EXPECT_GT(bigEndian(urlOnly, 4), 0u);
    EXPECT_EQ(restoredPath(urlOnly), QString());

    // A URL part that is a keyed archive of a URL object restores that URL.
    const QByteArray archived = urlArchive("file:///tmp/some%20where/x.wav");
    QByteArray block = header(0, uint32_t(archived.size())) + archived;
    EXPECT_EQ(restoredPath(block), QStringLiteral("/tmp/some where/x.wav"));
    const QByteArray relative = urlArchive("x.wav", "file:///Audio/Sessions/");
    block = header(0, uint32_t(relative.size())) + relative;
    EXPECT_EQ(restoredPath(block), QStringLiteral("/Audio/Sessions/x.wav"));
    // An alias part that is not an archive falls back to the URL part too.
    block = header(5, uint32_t(archived.size())) + QByteArray("junk!") + archived;
    EXPECT_EQ(restoredPath(block), QStringLiteral("/tmp/some where/x.wav"));
    // So does an archive whose shared references would unfold without end.
    const QByteArray bomb = referenceBomb(60);
    block = header(uint32_t(bomb.size()), uint32_t(archived.size())) + bomb + archived;
    EXPECT_EQ(restoredPath(block), QStringLiteral("/tmp/some where/x.wav"));
    block = header(0, uint32_t(bomb.size())) + bomb;
    EXPECT_EQ(restoredPath(block), QString());
    // A key stored as UTF-16 text with a NUL character in it is refused, not parsed.
    QByteArray nulKey = archived;
    const qsizetype at = nulKey.indexOf("NS.relative");
    ASSERT_GT(at, 0);
    nulKey[at - 1] = char(0x62);
    nulKey.replace(at, 4, QByteArray("\0A\0\0", 4));
    block = header(0, uint32_t(nulKey.size())) + nulKey;
    EXPECT_EQ(restoredPath(block), QString());
}

TEST(CFileRefData, EmptyAndShortBlocksRestoreNothing)
{
    // An empty reference is eight zero bytes, and restoring them empties a reference.
    QByteArray empty = toData(CFileRef());
    EXPECT_EQ(empty, QByteArray(8, 0));
    CFileRef emptied("/tmp/something", 0);
    EXPECT_EQ(CFileRefFromData(emptied, reinterpret_cast<unsigned char*>(empty.data())), 0);
    EXPECT_EQ(emptied.validFlags(), 0u);

    // Lengths beyond the block restore nothing.
    const QByteArray archived = urlArchive("file:///tmp/x.wav");
    QByteArray block = header(0, uint32_t(archived.size())) + archived;
    CFileRef ref;
    auto* data = reinterpret_cast<const unsigned char*>(block.constData());
    CFileRefFromData(ref, data, uint32_t(block.size()));
    EXPECT_EQ(ref.validFlags(), 2u);
    CFileRefFromData(ref, data, uint32_t(block.size() - 1));
    EXPECT_EQ(ref.validFlags(), 0u);
    CFileRefFromData(ref, data, 7);
    EXPECT_EQ(ref.validFlags(), 0u);
    const QByteArray huge = header(0xFFFFFFFFu, 0xFFFFFFFFu);
    CFileRefFromData(ref, reinterpret_cast<const unsigned char*>(huge.constData()), 8);
    EXPECT_EQ(ref.validFlags(), 0u);
    CFileRefFromData(ref, nullptr, 100);
    EXPECT_EQ(ref.validFlags(), 0u);
}

TEST(FileAlias, PathsErrorsAndRelativeResolution)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString base = canonicalTemp(dir);
    ASSERT_TRUE(QDir(base).mkpath(QStringLiteral("Song/Audio")));
    const QString target = base + "/Song/Audio/drums.wav";
    const QString from = base + "/Song/song.session";
    ASSERT_TRUE(PavoTest::writeFile(target, "d"));
    ASSERT_TRUE(PavoTest::writeFile(from, "s"));

    FileAlias alias;
    OSStatus error = 0;
    ASSERT_TRUE(alias.initWithFilePath(target, from, &error));
    EXPECT_EQ(alias.filePathRelativeToPath(from, &error), target);
    EXPECT_EQ(alias.filePath(&error), target);
    error = 0;
    EXPECT_TRUE(alias.filePathRelativeToPath(base + "/none", &error).isNull());
    EXPECT_EQ(error, fnfErr);

    // The copy of a whole song folder resolves to the copy when asked relative to it.
    ASSERT_TRUE(QDir(base).mkpath(QStringLiteral("Copy/Audio")));
    ASSERT_TRUE(QFile::copy(target, base + "/Copy/Audio/drums.wav"));
    ASSERT_TRUE(QFile::copy(from, base + "/Copy/song.session"));
    ASSERT_TRUE(QFile::remove(target));
    EXPECT_EQ(
        alias.filePathRelativeToPath(base + "/Copy/song.session", &error), base + "/Copy/Audio/drums.wav");

    FileAlias missing;
    error = 0;
    EXPECT_FALSE(missing.initWithFilePath(base + "/nothing.wav", &error));
    EXPECT_EQ(error, fnfErr);
    EXPECT_TRUE(missing.filePath(&error).isNull());
    EXPECT_EQ(error, paramErr);

    PavoTest::StderrCapture capture;
    EXPECT_FALSE(missing.initWithFilePath(QString(), &error));
    EXPECT_EQ(error, paramErr);
    EXPECT_TRUE(capture.text().contains("Invalid parameter not satisfying: targetPath"));

    FileAlias garbage;
    ASSERT_TRUE(garbage.initWithAliasHandle("not an alias record"));
    EXPECT_TRUE(garbage.filePath(&error).isNull());
    EXPECT_EQ(error, paramErr);
    EXPECT_TRUE(garbage.filePath(nullptr).isNull()) << "no error pointer, no crash";
    FileAlias decoded;
    EXPECT_FALSE(decoded.initWithCoder(garbage.aliasHandle()));
    ASSERT_TRUE(decoded.initWithCoder(garbage.encodeWithCoder()));
    EXPECT_EQ(decoded.aliasHandle(), garbage.aliasHandle());
    EXPECT_FALSE(decoded.initWithCoder(urlArchive("file:///x"))) << "an archive of another class";
}

// A second volume that is mounted elsewhere later: the alias finds the file on it, and
// an FSSpec with the old volume number finds the new volume (how volumes are named and
// numbered is the catalog test's part). Mounting needs a mount
// namespace of our own, so this runs in a child process.
TEST(CFileRefData, VolumeMountedElsewhere)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString base = canonicalTemp(dir);
    const QString first = base + "/Drums";
    const QString second = base + "/Moved/Drums";
    ASSERT_TRUE(QDir(base).mkpath(QStringLiteral("Drums")));
    ASSERT_TRUE(QDir(base).mkpath(QStringLiteral("Moved/Drums")));
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0
            || mount("pavo-test", QFile::encodeName(first).constData(), "tmpfs", 0, "size=1m") != 0)
            _exit(77);
        auto fail = [](const char* what) {
            std::fprintf(stderr, "FAILED: %s\n", what);
            _exit(1);
        };
        if (!QDir(first).mkpath(QStringLiteral("Kit/Snares"))
            || !PavoTest::writeFile(first + "/Kit/Snares/snare.wav", "snare"))
            fail("writing on the new volume");
        CFileRef ref(first + "/Kit/Snares/snare.wav", kPathStylePOSIX, 0);
        FSSpec fsSpec;
        if (!ref.GetFSSpec(&fsSpec))
            fail("FSSpec on the new volume");
        if (fsSpec.vRefNum == PvCatalog::DefaultVolume())
            fail("a volume number of its own");
        const QByteArray block = toData(ref);
        if (mount(QFile::encodeName(first).constData(), QFile::encodeName(second).constData(), nullptr,
                MS_MOVE, nullptr)
            != 0)
            _exit(77);
        const QString now = second + "/Kit/Snares/snare.wav";
        if (restoredPath(block) != now)
            fail("the alias finds the file on the volume mounted elsewhere");
        CFileRef bySpec(&fsSpec);
        if (QFile::decodeName(bySpec.GetPath()) != now)
            fail("the stale FSSpec is found on the volume's new number");
        PvVolumeInfo moved;
        if (PvCatalog::VolumeForPath(now, &moved) != noErr || moved.vRefNum == fsSpec.vRefNum)
            fail("a mount at another place gets a new number");
        _exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    if (WEXITSTATUS(status) == 77)
        GTEST_SKIP() << "cannot mount a file system here (needs a mount namespace and tmpfs)";
    EXPECT_EQ(WEXITSTATUS(status), 0) << "see the child's message above";
}
