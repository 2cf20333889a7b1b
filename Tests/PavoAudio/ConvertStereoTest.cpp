// convert and stereo: new files from existing ones, checked against sox's reading of them.
#include "ToolRunner.h"

#include <Pavo/PavoCore.h>

#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>

TEST(PavoAudioConvert, EveryContainerKeepsTheSamplesAndTheChunks)
{
    ToolFolder f;
    ASSERT_TRUE(f.tone(QStringLiteral("Loop.aif"), 2, 16, 44100, 0.3));
    {
        QFile tag(f.path(QStringLiteral("tag.bin")));
        ASSERT_TRUE(tag.open(QIODevice::WriteOnly));
        tag.write(QByteArray(82, '\x5a'));
    }
    ASSERT_EQ(f.tool(args({"chunks", "set", "Loop.aif", "basc", "tag.bin"})).status, 0);
    const QByteArray original = f.samples(QStringLiteral("Loop.aif"));
    ASSERT_FALSE(original.isEmpty());

    struct Target {
        const char* name;
        const char* format;
        const char* container;
    } targets[] = {{"a.wav", nullptr, "WAVE"}, {"a.caf", nullptr, "CAF"}, {"a.aifc", nullptr, "AIFC"},
        {"a.sd2", nullptr, "SD2"}, {"wave-file", "wave", "WAVE"}};
    for (const Target& t : targets) {
        SCOPED_TRACE(t.name);
        QStringList a = args({"convert", "Loop.aif", t.name});
        if (t.format)
            a << QStringLiteral("--format") << QString::fromUtf8(t.format);
        const RunResult r = f.tool(a);
        ASSERT_EQ(r.status, 0) << r.errText().toStdString();
        const QJsonObject info = f.info(QString::fromUtf8(t.name));
        EXPECT_EQ(info.value(QStringLiteral("container")).toString(), QString::fromUtf8(t.container));
        EXPECT_EQ(info.value(QStringLiteral("frames")).toInt(), 13230);
        EXPECT_TRUE(info.value(QStringLiteral("taggedLoop")).toBool());
        EXPECT_EQ(f.tool(args({"chunks", "get", t.name, "basc"})).out, QByteArray(82, '\x5a'));
        // Back to AIFF through the tool, then read by sox.
        const QString back = QStringLiteral("back-%1.aif")
                                 .arg(QString::fromUtf8(t.name).replace(QLatin1Char('.'), QLatin1Char('_')));
        ASSERT_EQ(f.tool({QStringLiteral("convert"), QString::fromUtf8(t.name), back}).status, 0);
        EXPECT_EQ(f.samples(back), original);
    }
    EXPECT_EQ(f.samples(QStringLiteral("a.wav")), original); // sox reads the WAVE itself too
}

// The conversion matrix covers every pair of formats; here what it does not: chunks a
// container cannot carry, and 16-bit samples through 64- and 32-bit floats and back exact.
TEST(PavoAudioConvert, ChunksLeftBehindAndSixteenBitsThroughFloatsExactly)
{
    ToolFolder f;
    ASSERT_TRUE(f.tone(QStringLiteral("p24.wav"), 2, 24, 48000, 0.2));
    ASSERT_TRUE(f.tone(QStringLiteral("s16.aif"), 1, 16, 44100, 0.2));

    const RunResult r = f.tool(args({"convert", "p24.wav", "p24.aif"}));
    ASSERT_EQ(r.status, 0);
    // sox writes a 'fact' chunk into WAVE files; it stays behind in AIFF.
    EXPECT_TRUE(r.errText().contains(QStringLiteral("AIFF cannot carry chunk(s) 'fact'")))
        << r.errText().toStdString();
    EXPECT_FALSE(f.tool(args({"chunks", "list", "p24.aif"})).outText().contains(QStringLiteral("fact")));

    // 32 bits without --float are integers.
    ASSERT_EQ(f.tool(args({"convert", "s16.aif", "s32.caf", "--bits", "32"})).status, 0);
    EXPECT_EQ(f.info(QStringLiteral("s32.caf")).value(QStringLiteral("sampleFormat")).toString(),
        QStringLiteral("signed"));
    // 64-bit float sources are read too (and written as 32-bit floats).
    ASSERT_TRUE(f.sox(args({"s16.aif", "-e", "floating-point", "-b", "64", "d64.wav"})));
    EXPECT_EQ(f.info(QStringLiteral("d64.wav")).value(QStringLiteral("bits")).toInt(), 64);
    ASSERT_EQ(f.tool(args({"convert", "d64.wav", "d64.aif", "--bits", "16"})).status, 0);
    EXPECT_EQ(f.samples(QStringLiteral("d64.aif")), f.samples(QStringLiteral("s16.aif")));
    ASSERT_EQ(f.tool(args({"convert", "s16.aif", "f.wav", "--float"})).status, 0);
    const QJsonObject info = f.info(QStringLiteral("f.wav"));
    EXPECT_EQ(info.value(QStringLiteral("sampleFormat")).toString(), QStringLiteral("float"));
    EXPECT_EQ(info.value(QStringLiteral("bits")).toInt(), 32);
    EXPECT_EQ(f.samples(QStringLiteral("f.wav")), f.samples(QStringLiteral("s16.aif")));
    ASSERT_EQ(f.tool(args({"convert", "f.wav", "again.aif", "--bits", "16"})).status, 0);
    EXPECT_EQ(f.samples(QStringLiteral("again.aif")), f.samples(QStringLiteral("s16.aif")));
}

TEST(PavoAudioConvert, NothingIsOverwrittenWithoutForce)
{
    ToolFolder f;
    ASSERT_TRUE(f.tone(QStringLiteral("a.aif"), 1, 16, 44100, 0.1, 440));
    ASSERT_TRUE(f.tone(QStringLiteral("b.wav"), 1, 16, 44100, 0.2, 880));
    const QByteArray before = readFile(f.path(QStringLiteral("b.wav")));
    RunResult r = f.tool(args({"convert", "a.aif", "b.wav"}));
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(r.errText().contains(QStringLiteral("b.wav: exists; not overwritten without --force")));
    EXPECT_EQ(readFile(f.path(QStringLiteral("b.wav"))), before);
    r = f.tool(args({"convert", "a.aif", "b.wav", "--force"}));
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(f.samples(QStringLiteral("b.wav")), f.samples(QStringLiteral("a.aif")));

    EXPECT_EQ(f.tool(args({"convert", "a.aif", "a.aif", "--force"})).status, 1);
    EXPECT_EQ(f.tool(args({"convert", "a.aif", "a.unknown"})).status, 2);
    EXPECT_EQ(f.tool(args({"convert", "a.aif", "x.wav", "--bits", "12"})).status, 2);
    EXPECT_EQ(f.tool(args({"convert", "a.aif", "x.wav", "--float", "--bits", "16"})).status, 2);
    r = f.tool(args({"convert", "none.aif", "x.wav"}));
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(r.errText().contains(
        QStringLiteral("none.aif: cannot open: No such file or directory (fnfErr -43)")));
    EXPECT_FALSE(QFileInfo::exists(f.path(QStringLiteral("x.wav"))));
}

TEST(PavoAudioStereo, JoinsPairsFoundByTheNamingRules)
{
    ToolFolder f;
    ASSERT_TRUE(f.tone(QStringLiteral("Pad.L.aif"), 1, 16, 44100, 0.2, 300));
    ASSERT_TRUE(f.tone(QStringLiteral("Pad.R.aif"), 1, 16, 44100, 0.2, 500));
    ASSERT_TRUE(f.sox(args({"-M", "Pad.L.aif", "Pad.R.aif", "merged.aif"})));

    RunResult r = f.tool(args({"stereo", "join", "Pad.R.aif"})); // either half names the pair
    ASSERT_EQ(r.status, 0) << r.errText().toStdString();
    EXPECT_EQ(f.info(QStringLiteral("Pad.aif")).value(QStringLiteral("channels")).toInt(), 2);
    EXPECT_EQ(f.samples(QStringLiteral("Pad.aif")), f.samples(QStringLiteral("merged.aif")));

    // The name is taken now: the next join picks a unique one and leaves Pad.aif alone.
    const QByteArray first = readFile(f.path(QStringLiteral("Pad.aif")));
    r = f.tool(args({"stereo", "join", "Pad.L.aif"}));
    ASSERT_EQ(r.status, 0);
    EXPECT_TRUE(r.outText().contains(QStringLiteral("Pad#1.aif"))) << r.outText().toStdString();
    EXPECT_EQ(readFile(f.path(QStringLiteral("Pad.aif"))), first);
    EXPECT_EQ(f.samples(QStringLiteral("Pad#1.aif")), f.samples(QStringLiteral("merged.aif")));
}

TEST(PavoAudioStereo, JoinsEverySuffixStyleInAFolderAndReportsLoneHalves)
{
    ToolFolder f;
    ASSERT_TRUE(f.tone(QStringLiteral("Kick(L)"), 1, 16, 44100, 0.1, 60, QStringLiteral("aiff")));
    ASSERT_TRUE(f.tone(QStringLiteral("Kick(R)"), 1, 16, 44100, 0.1, 61, QStringLiteral("aiff")));
    ASSERT_TRUE(f.tone(QStringLiteral("Bass.wal"), 1, 24, 48000, 0.1, 80, QStringLiteral("wav")));
    ASSERT_TRUE(f.tone(QStringLiteral("Bass.war"), 1, 24, 48000, 0.1, 81, QStringLiteral("wav")));
    ASSERT_TRUE(f.tone(QStringLiteral("Solo.L.wav"), 1, 16, 44100, 0.1));
    RunResult r = f.tool({QStringLiteral("stereo"), QStringLiteral("join"), f.dir()});
    EXPECT_EQ(r.status, 0) << r.errText().toStdString();
    EXPECT_EQ(f.info(QStringLiteral("Kick.aif")).value(QStringLiteral("channels")).toInt(), 2);
    const QJsonObject bass = f.info(QStringLiteral("Bass.wav"));
    EXPECT_EQ(bass.value(QStringLiteral("channels")).toInt(), 2);
    EXPECT_EQ(bass.value(QStringLiteral("bits")).toInt(), 24);
    EXPECT_TRUE(r.errText().contains(
        QStringLiteral("/Solo.L.wav: no partner (") + f.dir() + QStringLiteral("/Solo.R.wav); skipped")))
        << r.errText().toStdString();

    // Halves of different rates are refused.
    ASSERT_TRUE(f.tone(QStringLiteral("Mix.L.aif"), 1, 16, 44100, 0.1));
    ASSERT_TRUE(f.tone(QStringLiteral("Mix.R.aif"), 1, 16, 48000, 0.1));
    r = f.tool(args({"stereo", "join", "Mix.L.aif"}));
    EXPECT_EQ(r.status, 1);
    EXPECT_FALSE(QFileInfo::exists(f.path(QStringLiteral("Mix.aif"))));
}

TEST(PavoAudioStereo, SplitWritesHalvesWithUniqueNames)
{
    ToolFolder f;
    ASSERT_TRUE(f.tone(QStringLiteral("Loop.wav"), 2, 16, 44100, 0.2));
    ASSERT_TRUE(f.sox(args({"Loop.wav", "left.wav", "remix", "1"})));
    ASSERT_TRUE(f.sox(args({"Loop.wav", "right.wav", "remix", "2"})));

    RunResult r = f.tool(args({"stereo", "split", "Loop.wav"}));
    ASSERT_EQ(r.status, 0) << r.errText().toStdString();
    EXPECT_EQ(f.samples(QStringLiteral("Loop.L.wav")), f.samples(QStringLiteral("left.wav")));
    EXPECT_EQ(f.samples(QStringLiteral("Loop.R.wav")), f.samples(QStringLiteral("right.wav")));

    r = f.tool(args({"stereo", "split", "Loop.wav"}));
    ASSERT_EQ(r.status, 0);
    EXPECT_TRUE(QFileInfo::exists(f.path(QStringLiteral("Loop#1.L.wav"))));
    EXPECT_TRUE(QFileInfo::exists(f.path(QStringLiteral("Loop#1.R.wav"))));

    r = f.tool(args({"stereo", "split", "Loop.wav", "--style", "short", "--format", "aiff"}));
    ASSERT_EQ(r.status, 0) << r.errText().toStdString();
    EXPECT_EQ(f.info(QStringLiteral("Loop.ail")).value(QStringLiteral("container")).toString(),
        QStringLiteral("AIFF"));
    EXPECT_EQ(f.samples(QStringLiteral("Loop.air")), f.samples(QStringLiteral("right.wav")));

    // A partner that exists alone also makes the name taken.
    ASSERT_TRUE(f.tone(QStringLiteral("Two.wav"), 2, 16, 44100, 0.1));
    ASSERT_TRUE(f.tone(QStringLiteral("Two.R.wav"), 1, 16, 44100, 0.1));
    r = f.tool(args({"stereo", "split", "Two.wav"}));
    ASSERT_EQ(r.status, 0);
    EXPECT_FALSE(QFileInfo::exists(f.path(QStringLiteral("Two.L.wav"))));
    EXPECT_TRUE(QFileInfo::exists(f.path(QStringLiteral("Two#1.L.wav"))));

    r = f.tool(args({"stereo", "split", "left.wav"}));
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(r.errText().contains(QStringLiteral("only two-channel files are split")));
}
