// What the tool refuses and how it reports trouble: outputs that are inputs, outputs cut
// short, errors in the system's words, items a scan cannot read, stereo names.
#include "ToolRunner.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>

#include <unistd.h>

namespace {

/// Runs the tool as an unprivileged user when the tests run as root, who may read
/// everything; permissions then mean something. Empty when that is not possible.
QString asUser()
{
    if (::geteuid() != 0)
        return QStringLiteral(":");
    return QFileInfo::exists(QStringLiteral("/usr/bin/setpriv")) ? QStringLiteral(
               "cd . && exec /usr/bin/setpriv --reuid=65534 --regid=65534 --clear-groups \"$0\" \"$@\" #")
                                                                 : QString();
}

} // namespace

TEST(PavoAudioSafety, NoOutputIsOneOfTheInputsWhateverForceSays)
{
    ToolFolder f;
    ASSERT_TRUE(f.tone(QStringLiteral("Loop.wav"), 1, 16, 44100, 0.1));
    ASSERT_TRUE(writeFile(f.path(QStringLiteral("tag.bin")), QByteArray(82, '\7')));
    ASSERT_EQ(f.tool(args({"chunks", "set", "Loop.wav", "basc", "tag.bin"})).status, 0);
    ASSERT_TRUE(QFile::link(QStringLiteral("Loop.wav"), f.path(QStringLiteral("alias.wav"))));
    ASSERT_TRUE(f.tone(QStringLiteral("Odd.L.caf"), 2, 16, 44100, 0.1)); // stereo, named like a half
    const QByteArray loop = readFile(f.path(QStringLiteral("Loop.wav")));
    const QByteArray odd = readFile(f.path(QStringLiteral("Odd.L.caf")));
    for (const QStringList& a : {args({"chunks", "get", "Loop.wav", "basc", "-o", "Loop.wav", "--force"}),
             args({"chunks", "get", "Loop.wav", "basc", "-o", "alias.wav", "--force"}),
             args({"convert", "Loop.wav", "alias.wav", "--force"}),
             args({"stereo", "split", "Odd.L.caf", "--force"})}) {
        SCOPED_TRACE(a.join(QLatin1Char(' ')).toStdString());
        const RunResult r = f.tool(a);
        EXPECT_EQ(r.status, 1);
        EXPECT_TRUE(r.errText().contains(QStringLiteral("is an input of this command")))
            << r.errText().toStdString();
    }
    EXPECT_EQ(readFile(f.path(QStringLiteral("Loop.wav"))), loop);
    EXPECT_EQ(readFile(f.path(QStringLiteral("Odd.L.caf"))), odd);
    EXPECT_TRUE(QFileInfo(f.path(QStringLiteral("alias.wav"))).isSymLink());
}

TEST(PavoAudioSafety, AnOutputTakesItsNameOnlyWhenComplete)
{
    ToolFolder f;
    ASSERT_TRUE(f.tone(QStringLiteral("Long.aif"), 2, 16, 48000, 1.0));
    ASSERT_TRUE(f.tone(QStringLiteral("Old.wav"), 1, 16, 8000, 0.1));
    const QByteArray old = readFile(f.path(QStringLiteral("Old.wav")));
    // A file size limit stops the tool part way through writing: killed by the signal,
    // or told "File too large" when it ignores the signal.
    RunResult r = f.toolAfter(QStringLiteral("ulimit -f 40"), args({"convert", "Long.aif", "New.wav"}));
    EXPECT_NE(r.status, 0);
    EXPECT_FALSE(QFileInfo::exists(f.path(QStringLiteral("New.wav"))));
    r = f.toolAfter(QStringLiteral("ulimit -f 40"), args({"convert", "Long.aif", "Old.wav", "--force"}));
    EXPECT_NE(r.status, 0);
    EXPECT_EQ(readFile(f.path(QStringLiteral("Old.wav"))), old);
    const QStringList before = QDir(f.dir()).entryList(QDir::Files | QDir::Hidden);
    r = f.toolAfter(
        QStringLiteral("trap '' XFSZ; ulimit -f 40"), args({"convert", "Long.aif", "Old.wav", "--force"}));
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(r.errText().contains(QStringLiteral("Old.wav: cannot write frame 0: File too large")))
        << r.errText().toStdString();
    EXPECT_EQ(readFile(f.path(QStringLiteral("Old.wav"))), old);
    EXPECT_EQ(QDir(f.dir()).entryList(QDir::Files | QDir::Hidden), before); // nothing left behind
}

TEST(PavoAudioErrors, SayWhatHappenedInTheSystemsWordsOnce)
{
    ToolFolder f;
    ASSERT_TRUE(writeFile(f.path(QStringLiteral("nine")), "123456789"));
    ASSERT_TRUE(QFile::link(QStringLiteral("loop"), f.path(QStringLiteral("loop"))));
    ASSERT_TRUE(QDir(f.dir()).mkdir(QStringLiteral("folder")));
    ASSERT_TRUE(writeFile(f.path(QStringLiteral("odd\nname")), "123456789"));
    RunResult r = f.tool(args({"crc", "nine", "gone", "loop", "folder", "odd\nname"}));
    EXPECT_EQ(r.status, 1);
    const QString e = r.errText();
    for (const char* line : {"pavo-audio: gone: cannot open: No such file or directory (fnfErr -43)\n",
             "pavo-audio: loop: cannot open: Too many levels of symbolic links",
             "pavo-audio: folder: cannot open: Is a directory",
             "pavo-audio: 3 of 5 failed: gone, loop, folder\n"})
        EXPECT_EQ(e.count(QString::fromUtf8(line)), 1) << line << "\n" << e.toStdString();
    EXPECT_EQ(e.count(QStringLiteral("gone")), 2); // its message and its place in the list
    // Like sha256sum: control characters escaped, and such a line starts with a backslash.
    EXPECT_TRUE(r.outText().contains(QStringLiteral("\\cbf43926           9  odd\\nname\n")))
        << r.outText().toStdString();
    r = f.tool(args({"info", "loop", "folder"}));
    EXPECT_TRUE(r.errText().contains(QStringLiteral("loop: cannot open: Too many levels of symbolic links")))
        << r.errText().toStdString();
    EXPECT_TRUE(r.errText().contains(QStringLiteral("folder: cannot open: Is a directory")));
    r = f.tool(args({"info", "odd\nname"}));
    EXPECT_TRUE(r.errText().startsWith(QStringLiteral("pavo-audio: odd\\nname: cannot open:")))
        << r.errText().toStdString();

    ASSERT_TRUE(writeFile(f.path(QStringLiteral("locked")), "secret"));
    ASSERT_TRUE(QFile::setPermissions(f.path(QStringLiteral("locked")), QFileDevice::Permissions()));
    ASSERT_TRUE(QFile::setPermissions(f.dir(), QFileDevice::Permissions(0x7555)));
    const QString user = asUser();
    if (!user.isEmpty()) {
        r = f.toolAfter(user, args({"crc", "locked"}));
        EXPECT_EQ(r.status, 1);
        EXPECT_TRUE(
            r.errText().contains(QStringLiteral("locked: cannot open: Permission denied (permErr -54)")))
            << r.errText().toStdString();
    }

    r = f.tool(args({"help", "bogus"}));
    EXPECT_EQ(r.status, 2);
    EXPECT_TRUE(r.errText().contains(QStringLiteral("no help for 'bogus'")));
    r = f.tool({});
    EXPECT_EQ(r.status, 2);
    EXPECT_TRUE(r.errText().startsWith(QStringLiteral("Usage: pavo-audio COMMAND")));
}

TEST(PavoAudioScan, ReportsWhatItCannotReadAndCountsAllAudioAlike)
{
    ToolFolder f;
    ASSERT_TRUE(QDir(f.dir()).mkpath(QStringLiteral("lib/locked")));
    ASSERT_TRUE(f.tone(QStringLiteral("lib/good.wav"), 1, 16, 8000, 0.1));
    ASSERT_TRUE(f.tone(QStringLiteral("lib/locked/hidden.wav"), 1, 16, 8000, 0.1));
    for (const char* name :
        {"lib/song.mp3", "lib/take.flac", "lib/take.ogg", "lib/room.w64", "lib/readme.txt"})
        ASSERT_TRUE(writeFile(f.path(QString::fromUtf8(name)), "not something the tool reads"));
    ASSERT_TRUE(QFile::link(QStringLiteral("nowhere.wav"), f.path(QStringLiteral("lib/gone.wav"))));
    ASSERT_TRUE(QFile::link(QStringLiteral("nowhere.txt"), f.path(QStringLiteral("lib/gone.txt"))));
    RunResult r = f.tool(args({"scan", "--json", "lib"}));
    EXPECT_EQ(r.status, 1);
    QJsonObject totals = QJsonDocument::fromJson(r.out).object().value(QStringLiteral("totals")).toObject();
    EXPECT_EQ(totals.value(QStringLiteral("audioFiles")).toInt(), 2);
    EXPECT_EQ(totals.value(QStringLiteral("otherAudio")).toInt(), 4);
    EXPECT_EQ(totals.value(QStringLiteral("otherFiles")).toInt(), 2); // readme.txt, gone.txt
    EXPECT_EQ(totals.value(QStringLiteral("failed")).toInt(), 1);
    EXPECT_TRUE(r.errText().contains(
        QStringLiteral("lib/gone.wav: the symbolic link leads nowhere: No such file or directory")))
        << r.errText().toStdString();

    ASSERT_TRUE(QFile::setPermissions(f.path(QStringLiteral("lib/locked")), QFileDevice::Permissions()));
    ASSERT_TRUE(QFile::setPermissions(f.dir(), QFileDevice::Permissions(0x7555)));
    ASSERT_TRUE(QFile::setPermissions(f.path(QStringLiteral("lib")), QFileDevice::Permissions(0x7555)));
    const QString user = asUser();
    if (user.isEmpty())
        GTEST_SKIP() << "no way to run without the right to read every folder";
    r = f.toolAfter(user, args({"scan", "lib"}));
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(r.errText().contains(QStringLiteral("lib/locked: cannot read the folder: Permission denied")))
        << r.errText().toStdString();
    EXPECT_TRUE(
        r.outText().contains(QStringLiteral("4 other audio (not readable here), 2 other file(s), 2 failed")))
        << r.outText().toStdString();
    QFile::setPermissions(f.path(QStringLiteral("lib/locked")), QFileDevice::Permissions(0x7700));
}

TEST(PavoAudioStereo, OneNamingRuleForScanJoinAndSplit)
{
    ToolFolder f;
    ASSERT_TRUE(f.tone(QStringLiteral("Kk.l.aif"), 1, 16, 8000, 0.1, 300));
    ASSERT_TRUE(f.tone(QStringLiteral("Kk.r.aif"), 1, 16, 8000, 0.1, 500));
    ASSERT_TRUE(f.tone(QStringLiteral("Lone.l.aif"), 1, 16, 8000, 0.1));
    RunResult r = f.tool(args({"scan", "--json", "."}));
    EXPECT_EQ(
        QJsonDocument::fromJson(r.out).object().value(QStringLiteral("stereoPairs")).toArray().size(), 1);
    r = f.tool(args({"stereo", "join", "Kk.r.aif", "Lone.l.aif"}));
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(f.info(QStringLiteral("Kk.aif")).value(QStringLiteral("channels")).toInt(), 2);
    EXPECT_TRUE(r.errText().contains(QStringLiteral("Lone.l.aif: its stereo partner Lone.r.aif is missing")))
        << r.errText().toStdString();

    // Every split style writes an extension, and the halves pair up again.
    ASSERT_TRUE(f.tone(QStringLiteral("Pad.wav"), 2, 16, 8000, 0.1));
    for (const char* style : {"paren", "plain", "dash"}) {
        SCOPED_TRACE(style);
        ASSERT_TRUE(QDir(f.dir()).mkdir(QString::fromUtf8(style)));
        r = f.tool(args({"stereo", "split", "Pad.wav", "--style", style, "-o", style}));
        ASSERT_EQ(r.status, 0) << r.errText().toStdString();
        const QStringList names = QDir(f.path(QString::fromUtf8(style))).entryList(QDir::Files);
        ASSERT_EQ(names.size(), 2);
        for (const QString& n : names)
            EXPECT_TRUE(n.endsWith(QStringLiteral(".wav"))) << n.toStdString();
        r = f.tool(args({"stereo", "join", style}));
        EXPECT_EQ(r.status, 0);
        EXPECT_EQ(f.samples(QStringLiteral("%1/Pad.wav").arg(QString::fromUtf8(style))),
            f.samples(QStringLiteral("Pad.wav")));
    }

    // Halves of different depths join only when --bits says what to write.
    ASSERT_TRUE(f.tone(QStringLiteral("Mix.L.wav"), 1, 16, 8000, 0.1));
    ASSERT_TRUE(f.tone(QStringLiteral("Mix.R.wav"), 1, 24, 8000, 0.1));
    r = f.tool(args({"stereo", "join", "Mix.L.wav"}));
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(r.errText().contains(QStringLiteral("the halves differ in sample format")))
        << r.errText().toStdString();
    EXPECT_FALSE(QFileInfo::exists(f.path(QStringLiteral("Mix.wav"))));
    EXPECT_EQ(f.tool(args({"stereo", "join", "Mix.L.wav", "--bits", "24"})).status, 0);
    ASSERT_TRUE(f.sox(args({"-M", "Mix.L.wav", "Mix.R.wav", "-b", "24", "merged.wav"})));
    EXPECT_EQ(f.samples(QStringLiteral("Mix.wav")), f.samples(QStringLiteral("merged.wav")));
}
