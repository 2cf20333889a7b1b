#include "TestSupport.h"
#include <Pavo/PavoCore.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstring>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

bool write(const QString& path, const QByteArray& bytes = "x")
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size();
}

QByteArray read(const QString& path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("(missing)");
}

bool link(const QString& target, const QString& path)
{
    return ::symlink(QFile::encodeName(target).constData(), QFile::encodeName(path).constData()) == 0;
}

QByteArray finderInfo(uint16_t flags)
{
    QByteArray info(32, '\0');
    info[8] = char(flags >> 8);
    info[9] = char(flags);
    return info;
}

bool setFlags(const QString& path, uint16_t flags)
{
    const QByteArray info = finderInfo(flags);
    return ::setxattr(QFile::encodeName(path).constData(), kPvFinderInfoAttribute, info.constData(), 32, 0)
        == 0;
}

// An AppleDouble sidecar "._name" holding Finder information with the given flags.
bool writeSidecar(const QString& path, uint16_t flags)
{
    QByteArray bytes(50, '\0');
    const char header[] = {0, 5, 22, 7, 0, 2, 0, 0};
    std::memcpy(bytes.data(), header, sizeof header);
    bytes[25] = 2; // two entries: a resource fork, then the Finder information
    bytes[29] = 2;
    bytes[33] = 82;
    bytes[41] = 9;
    bytes[45] = 50;
    bytes[49] = 32;
    bytes += finderInfo(flags);
    const QFileInfo file(path);
    return write(file.absolutePath() + "/._" + file.fileName(), bytes);
}

class ApplicationName {
public:
    explicit ApplicationName(const QString& name)
        : m_old(QCoreApplication::applicationName())
    {
        QCoreApplication::setApplicationName(name);
    }
    ~ApplicationName() { QCoreApplication::setApplicationName(m_old); }

private:
    QString m_old;
};

class PluginTree : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        m_root = QFileInfo(m_dir.path()).canonicalFilePath();
        const QByteArray probe = QFile::encodeName(m_root);
        const QByteArray info = finderInfo(0);
        m_xattrs = ::setxattr(probe.constData(), kPvFinderInfoAttribute, info.constData(), 32, 0) == 0;
        if (m_xattrs)
            ::removexattr(probe.constData(), kPvFinderInfoAttribute);
    }
    QString at(const QString& relative) const { return m_root + QLatin1Char('/') + relative; }

    QTemporaryDir m_dir;
    QString m_root;
    bool m_xattrs = false;
};

} // namespace

TEST_F(PluginTree, SearchPathsInTheirFixedOrder)
{
    ApplicationName app("Foo");
    PavoTest::EnvVar home("XDG_DATA_HOME", QFile::encodeName(at("user")));
    PavoTest::EnvVar dirs("XDG_DATA_DIRS", QFile::encodeName(at("m1") + ":" + at("m2")));
    const QString exe = QCoreApplication::applicationDirPath();
    const QStringList expected = {exe + "/Presets", exe + "/plugins", at("user/Foo/Presets"),
        at("m1/Foo/Presets"), at("m2/Foo/Presets")};
    EXPECT_EQ(PVPluginSearchPaths(QStringLiteral("Presets")), expected);
    EXPECT_EQ(PvFileManager().pluginSearchPaths(QStringLiteral("Presets")), expected);
}

TEST_F(PluginTree, SearchFindsVisibleItemsWithTheExactExtension)
{
    ApplicationName app("PvPluginHost");
    PavoTest::EnvVar home("XDG_DATA_HOME", QFile::encodeName(at("user")));
    PavoTest::EnvVar dirs("XDG_DATA_DIRS", QFile::encodeName(at("m1") + ":" + at("m2")));
    const QString user = at("user/PvPluginHost/Presets");
    for (const char* name : {"a.preset", "B.Preset", "notes.txt", ".hidden.preset", ".dot/c.preset",
             "sub/.d.preset", "sub/deeper/e.preset", "y.preset/x.preset", "y.preset/Contents/Info.plist",
             "plain.preset.bak", "sub/sidecar.preset", "sub/flagged.preset"})
        ASSERT_TRUE(write(user + QLatin1Char('/') + QLatin1String(name)));
    ASSERT_TRUE(link("a.preset", user + "/link.preset"));
    ASSERT_TRUE(link("loop2.preset", user + "/loop1.preset"));
    ASSERT_TRUE(link("loop1.preset", user + "/loop2.preset"));
    ASSERT_TRUE(link("nowhere", user + "/dangling.preset"));
    ASSERT_TRUE(link(".", user + "/sub/self")); // a folder loop
    ASSERT_TRUE(link(user, user + "/sub/up.preset")); // a link to a folder is not entered
    ASSERT_TRUE(writeSidecar(user + "/sub/sidecar.preset", kPvFinderIsInvisible));

    // The second machine folder is reached through a link; the first holds a duplicate.
    ASSERT_TRUE(write(at("m1/PvPluginHost/Presets/a.preset")));
    ASSERT_TRUE(write(at("real/Presets/z.preset")));
    QDir().mkpath(at("m2"));
    ASSERT_TRUE(link(at("real"), at("m2/PvPluginHost")));

    QStringList expected
        = {user + "/a.preset", user + "/link.preset", user + "/sub/.d.preset", user + "/sub/deeper/e.preset",
            user + "/sub/flagged.preset", user + "/sub/up.preset", user + "/y.preset",
            user + "/y.preset/x.preset", at("m1/PvPluginHost/Presets/a.preset"), at("real/Presets/z.preset")};
    if (m_xattrs) {
        ASSERT_TRUE(setFlags(user + "/sub/flagged.preset", kPvFinderIsInvisible));
        expected.removeAll(user + "/sub/flagged.preset");
    }
    EXPECT_EQ(PVSearchForPlugins("preset", "Presets"), expected);
    EXPECT_EQ(
        PvFileManager().searchForPlugins(QStringLiteral("preset"), QStringLiteral("Presets")), expected);
    EXPECT_EQ(PVSearchForPlugins("Preset", "Presets"), QStringList {user + "/B.Preset"});
    EXPECT_TRUE(PVSearchForPlugins("preset", "Missing").isEmpty());
}

TEST_F(PluginTree, UnreadableFoldersContributeNothing)
{
    ApplicationName app("PvPluginHost");
    PavoTest::EnvVar home("XDG_DATA_HOME", QFile::encodeName(at("user")));
    PavoTest::EnvVar dirs("XDG_DATA_DIRS", QFile::encodeName(at("none")));
    const QString user = at("user/PvPluginHost/Presets");
    ASSERT_TRUE(write(user + "/open.preset"));
    ASSERT_TRUE(write(user + "/locked/inside.preset"));
    ASSERT_EQ(::chmod(QFile::encodeName(user + "/locked").constData(), 0), 0);
    const QStringList expectedAll = {user + "/open.preset"};

    if (::geteuid() != 0) {
        EXPECT_EQ(PVSearchForPlugins("preset", "Presets"), expectedAll);
        EXPECT_EQ(contentPathsAtPath(user, true, true), expectedAll);
        EXPECT_EQ(contentPathsAtPath(user + "/locked", false, false), std::nullopt);
    } else {
        // The super-user reads every folder: drop to an unprivileged user in a child.
        ASSERT_EQ(::chmod(QFile::encodeName(m_root).constData(), 0755), 0);
        EXPECT_EXIT(
            {
                if (::setgid(65534) != 0 || ::setuid(65534) != 0)
                    ::_exit(3);
                const bool found = PVSearchForPlugins("preset", "Presets") == expectedAll;
                const bool listed = contentPathsAtPath(user, true, true) == expectedAll;
                const bool locked = !contentPathsAtPath(user + "/locked", false, false).has_value();
                ::_exit(found && listed && locked ? 0 : 1);
            },
            ::testing::ExitedWithCode(0), "");
    }
    ::chmod(QFile::encodeName(user + "/locked").constData(), 0755);
}

TEST_F(PluginTree, ContentListingsAndPackages)
{
    for (const char* name : {"f.txt", ".hidden", "dir/g.txt", "dir/inner/h.txt", "Synth.vst3/Contents/x.so",
             "Odd/Contents/Info.plist", "Odd/Contents/y"})
        ASSERT_TRUE(write(at(QStringLiteral("c/") + QLatin1String(name))));
    ASSERT_TRUE(link(at("c/f.txt"), at("c/link.txt")));
    ASSERT_TRUE(link(at("c"), at("c/dir/loop")));
    const QString c = at("c");

    EXPECT_EQ(contentPathsAtPath(c, false, false),
        (QStringList {c + "/.hidden", c + "/Odd", c + "/Synth.vst3", c + "/dir", c + "/f.txt"}));
    EXPECT_EQ(contentPathsAtPath(c, true, false),
        (QStringList {c + "/.hidden", c + "/Odd", c + "/Synth.vst3", c + "/dir/g.txt", c + "/dir/inner/h.txt",
            c + "/f.txt"}));
    EXPECT_EQ(PvFileManager().contentPathsAtPath(c, true, true),
        (QStringList {c + "/.hidden", c + "/Odd/Contents/Info.plist", c + "/Odd/Contents/y",
            c + "/Synth.vst3/Contents/x.so", c + "/dir/g.txt", c + "/dir/inner/h.txt", c + "/f.txt"}));
    EXPECT_EQ(contentPathsAtPath(c + "/f.txt", true, true), std::nullopt);
    EXPECT_EQ(contentPathsAtPath(c + "/missing", true, true), std::nullopt);
    EXPECT_EQ(contentPathsAtPath(QString(), true, true), std::nullopt);
    EXPECT_EQ(contentPathsAtPath(c + "/dir/inner", true, true), (QStringList {c + "/dir/inner/h.txt"}));

    EXPECT_TRUE(isFilePackageAtPath(c + "/Synth.vst3"));
    EXPECT_TRUE(isFilePackageAtPath(c + "/Odd"));
    EXPECT_FALSE(isFilePackageAtPath(c + "/dir"));
    EXPECT_FALSE(isFilePackageAtPath(c + "/missing.bundle"));
    ASSERT_TRUE(write(c + "/file.bundle"));
    EXPECT_FALSE(isFilePackageAtPath(c + "/file.bundle"));
    QDir().mkpath(c + "/Upper.CLAP");
    EXPECT_TRUE(PvFileManager().isFilePackageAtPath(c + "/Upper.CLAP"));
    if (m_xattrs) {
        ASSERT_TRUE(setFlags(c + "/dir/inner", kPvFinderHasBundle));
        EXPECT_TRUE(isFilePackageAtPath(c + "/dir/inner"));
    }

    EXPECT_TRUE(isSymbolicLinkAtPath(c + "/link.txt"));
    ASSERT_TRUE(link(c + "/gone", c + "/dangling"));
    EXPECT_TRUE(isSymbolicLinkAtPath(c + "/dangling"));
    EXPECT_FALSE(isSymbolicLinkAtPath(c + "/f.txt"));
    EXPECT_FALSE(PvFileManager().isSymbolicLinkAtPath(c + "/missing"));
}

TEST_F(PluginTree, ResolvingFilesAndLinks)
{
    ASSERT_TRUE(write(at("base.aif")));
    ASSERT_TRUE(write(at("base.wav")));
    const QString base = at("base");
    EXPECT_EQ(resolveFile(base, {QStringLiteral("aif"), QStringLiteral("wav")}), base + ".aif");
    EXPECT_EQ(resolveFile(base, {QStringLiteral("mp3"), QStringLiteral("wav"), QStringLiteral("aif")}),
        base + ".wav");
    EXPECT_TRUE(resolveFile(base, {QStringLiteral("mp3")}).isNull());
    EXPECT_TRUE(resolveFile(base, {}).isNull());
    EXPECT_EQ(
        PvFileManager().resolveFile(QStringLiteral("base"), m_root, {QStringLiteral("wav")}), base + ".wav");

    // Links in the middle and at the end of a path, chains, and parts that do not exist.
    QDir().mkpath(at("real/inner"));
    ASSERT_TRUE(write(at("real/inner/file")));
    ASSERT_TRUE(link(at("real"), at("hop1")));
    ASSERT_TRUE(link("hop1", at("hop2")));
    ASSERT_TRUE(link("inner/file", at("real/shortcut")));
    EXPECT_EQ(pathByResolvingSymlinksAndAliasesInPath(at("hop2/inner/file")), at("real/inner/file"));
    EXPECT_EQ(pathByResolvingSymlinksAndAliasesInPath(at("hop2/shortcut")), at("real/inner/file"));
    EXPECT_EQ(pathByResolvingSymlinksAndAliasesInPath(at("hop2/not/there")), at("real/not/there"));
    EXPECT_EQ(
        pathByResolvingSymlinksAndAliasesInPath(at("real/./inner/../inner//file")), at("real/inner/file"));
    EXPECT_EQ(PvFileManager().pathByResolvingSymlinksAndAliasesInPath(QStringLiteral("~")), QDir::homePath());
    EXPECT_EQ(pathByResolvingSymlinksAndAliasesInPath(QStringLiteral("/")), QStringLiteral("/"));
    EXPECT_TRUE(pathByResolvingSymlinksAndAliasesInPath(QString()).isEmpty());

    // Loops and dangling links come back as they stand.
    ASSERT_TRUE(link("loopB", at("loopA")));
    ASSERT_TRUE(link("loopA", at("loopB")));
    ASSERT_TRUE(link("missing", at("dangling")));
    EXPECT_EQ(pathByResolvingSymlinksAndAliasesInPath(at("loopA")), at("loopA"));
    EXPECT_EQ(pathByResolvingSymlinksAndAliasesInPath(at("loopA/x")), at("loopA/x"));
    EXPECT_EQ(pathByResolvingSymlinksAndAliasesInPath(at("dangling")), at("missing"));
}

TEST_F(PluginTree, VisibilityComesFromFinderInformation)
{
    ASSERT_TRUE(write(at("shown")));
    ASSERT_TRUE(write(at(".dotted")));
    ASSERT_TRUE(write(at("sidecar")));
    ASSERT_TRUE(writeSidecar(at("sidecar"), kPvFinderIsInvisible | kPvFinderHasBundle));
    ASSERT_TRUE(write(at("sidecarShown")));
    ASSERT_TRUE(writeSidecar(at("sidecarShown"), kPvFinderHasBundle));
    ASSERT_TRUE(link("sidecar", at("toHidden")));
    ASSERT_TRUE(link("nothing", at("dangling")));

    EXPECT_TRUE(isFileVisible(at("shown")));
    EXPECT_TRUE(isFileVisible(at(".dotted"))); // a leading dot does not hide
    EXPECT_FALSE(isFileVisible(at("sidecar")));
    EXPECT_TRUE(isFileVisible(at("sidecarShown")));
    EXPECT_FALSE(PvFileManager().isFileVisible(at("toHidden"))); // the target decides
    EXPECT_FALSE(isFileVisible(at("missing")));
    EXPECT_FALSE(isFileVisible(at("dangling")));
    EXPECT_FALSE(isFileVisible(QString()));
    if (!m_xattrs)
        GTEST_SKIP() << "no user extended attributes on this file system";
    ASSERT_TRUE(setFlags(at("shown"), kPvFinderIsInvisible));
    EXPECT_FALSE(isFileVisible(at("shown")));
    // The attribute wins over the sidecar.
    ASSERT_TRUE(setFlags(at("sidecar"), 0));
    EXPECT_TRUE(isFileVisible(at("sidecar")));
    QDir().mkpath(at("folder"));
    ASSERT_TRUE(setFlags(at("folder"), kPvFinderIsInvisible));
    EXPECT_FALSE(isFileVisible(at("folder/")));
}

TEST_F(PluginTree, CreatingAndMergingTrees)
{
    const QString deep = at("made/a/b/c");
    QVariantMap attributes;
    attributes.insert(QLatin1String(PvFilePosixPermissions), 0750);
    EXPECT_TRUE(createDirectoriesRecursivelyAtPath(deep, attributes));
    EXPECT_TRUE(QFileInfo(deep).isDir());
    struct stat st;
    ASSERT_EQ(::stat(QFile::encodeName(at("made/a")).constData(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0750u);
    EXPECT_TRUE(PvFileManager().createDirectoriesRecursivelyAtPath(deep));
    ASSERT_TRUE(write(at("afile")));
    EXPECT_FALSE(createDirectoriesRecursivelyAtPath(at("afile/sub")));
    EXPECT_FALSE(createDirectoriesRecursivelyAtPath(QString()));

    const QString src = at("src");
    const QString dst = at("dst");
    ASSERT_TRUE(write(src + "/one", "new one"));
    ASSERT_TRUE(write(src + "/sub/two", "two"));
    ASSERT_TRUE(write(src + "/sub/deeper/three", "three"));
    ASSERT_TRUE(link("one", src + "/alias"));
    ASSERT_EQ(::chmod(QFile::encodeName(src + "/sub/deeper").constData(), 0700), 0);
    ASSERT_TRUE(write(dst + "/one", "old one"));
    ASSERT_TRUE(write(dst + "/sub/keep", "keep"));

    struct Recorder : PvFileManagerHandler {
        QStringList seen;
        void willProcessPath(const QString& path) override { seen.append(path); }
    } recorder;
    EXPECT_TRUE(mergePath(src, dst, false, &recorder));
    EXPECT_EQ(read(dst + "/one"), "old one");
    EXPECT_EQ(read(dst + "/sub/two"), "two");
    EXPECT_EQ(read(dst + "/sub/deeper/three"), "three");
    EXPECT_EQ(read(dst + "/sub/keep"), "keep");
    EXPECT_EQ(QFileInfo(dst + "/alias").symLinkTarget(), QFileInfo(dst + "/one").absoluteFilePath());
    ASSERT_EQ(::stat(QFile::encodeName(dst + "/sub/deeper").constData(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0700u);
    EXPECT_EQ(recorder.seen, (QStringList {src + "/alias", src + "/sub/deeper/three", src + "/sub/two"}));

    EXPECT_TRUE(PvFileManager().mergePath(src, dst, true, nullptr));
    EXPECT_EQ(read(dst + "/one"), "new one");
    EXPECT_EQ(read(dst + "/sub/keep"), "keep");

    // A file where the source has a folder: creating the folder below it fails.
    const QString blocked = at("blocked");
    ASSERT_TRUE(write(blocked + "/sub", "a file"));
    EXPECT_FALSE(mergePath(src, blocked, false, nullptr));
    // A copy that fails (a named pipe) ends the merge unless the handler lets it go on.
    const QString withPipe = at("pipes");
    ASSERT_TRUE(write(withPipe + "/z.txt", "z"));
    ASSERT_EQ(::mkfifo(QFile::encodeName(withPipe + "/a.pipe").constData(), 0600), 0);
    EXPECT_FALSE(mergePath(withPipe, at("out1"), false, nullptr));
    EXPECT_EQ(read(at("out1/z.txt")), "(missing)");
    struct Lenient : PvFileManagerHandler {
        QStringList failed;
        bool shouldProceedAfterError(const QString& source, const QString&, int) override
        {
            failed.append(source);
            return true;
        }
    } lenient;
    QDir().mkpath(at("out2"));
    EXPECT_TRUE(mergePath(withPipe, at("out2"), false, &lenient));
    EXPECT_EQ(lenient.failed, QStringList {withPipe + "/a.pipe"});
    EXPECT_EQ(read(at("out2/z.txt")), "z");
    EXPECT_TRUE(mergePath(at("no-such-source"), dst, false, nullptr));
}
