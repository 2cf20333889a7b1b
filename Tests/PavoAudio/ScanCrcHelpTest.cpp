// scan, crc and the manual pages.
#include "ToolRunner.h"

#include <Pavo/PavoCore.h>

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

TEST(PavoAudioScan, ReportsFormatsTagsPairsAndTotalsOfATree)
{
    ToolFolder f;
    ASSERT_TRUE(QDir(f.dir()).mkpath(QStringLiteral("Drums/Kicks")));
    ASSERT_TRUE(QDir(f.dir()).mkpath(QStringLiteral("Pads")));
    ASSERT_TRUE(f.tone(QStringLiteral("Drums/Loop.aif"), 2, 16, 44100, 0.5));
    ASSERT_TRUE(f.tone(QStringLiteral("Drums/Kicks/Kick.L.wav"), 1, 24, 48000, 0.25));
    ASSERT_TRUE(f.tone(QStringLiteral("Drums/Kicks/Kick.R.wav"), 1, 24, 48000, 0.25));
    ASSERT_TRUE(f.tone(QStringLiteral("Pads/Pad(L)"), 1, 16, 44100, 1.0, 200, QStringLiteral("aiff")));
    ASSERT_TRUE(f.tone(QStringLiteral("Pads/Pad(R)"), 1, 16, 44100, 1.0, 300, QStringLiteral("aiff")));
    ASSERT_TRUE(f.tone(QStringLiteral("Pads/Lone.R.caf"), 1, 16, 44100, 0.25));
    ASSERT_TRUE(writeFile(f.path(QStringLiteral("Pads/notes.txt")), "liner notes"));
    ASSERT_TRUE(
        writeFile(f.path(QStringLiteral("Drums/broken.wav")), QByteArray("RIFF\x10\0\0\0WAVEjunk", 16)));
    ASSERT_TRUE(writeFile(f.path(QStringLiteral("tag.bin")), QByteArray(82, '\1')));
    ASSERT_EQ(f.tool(args({"chunks", "set", "Drums/Loop.aif", "basc", "tag.bin"})).status, 0);

    RunResult r = f.tool({QStringLiteral("scan"), QStringLiteral("--json"), f.dir()});
    EXPECT_EQ(r.status, 1); // the broken file
    const QJsonObject doc = QJsonDocument::fromJson(r.out).object();
    const QJsonObject totals = doc.value(QStringLiteral("totals")).toObject();
    EXPECT_EQ(totals.value(QStringLiteral("audioFiles")).toInt(), 6);
    EXPECT_EQ(totals.value(QStringLiteral("failed")).toInt(), 1);
    EXPECT_EQ(totals.value(QStringLiteral("otherFiles")).toInt(), 2); // notes.txt, tag.bin
    EXPECT_EQ(totals.value(QStringLiteral("taggedLoops")).toInt(), 1);
    EXPECT_EQ(totals.value(QStringLiteral("stereoPairs")).toInt(), 2);
    EXPECT_NEAR(totals.value(QStringLiteral("seconds")).toDouble(), 0.5 + 0.25 * 2 + 2.0 + 0.25, 1e-9);
    EXPECT_EQ(totals.value(QStringLiteral("containers")).toObject().value(QStringLiteral("AIFF")).toInt(), 3);
    const QJsonArray lone = doc.value(QStringLiteral("unpairedHalves")).toArray();
    ASSERT_EQ(lone.size(), 1);
    EXPECT_TRUE(lone.at(0).toString().endsWith(QStringLiteral("Pads/Lone.R.caf")));
    EXPECT_TRUE(r.errText().contains(QStringLiteral("broken.wav: cannot open")));

    // Plain lines when standard error is no terminal: no progress bar.
    r = f.tool(args({"scan", "Drums", "Pads"}));
    EXPECT_EQ(r.status, 1);
    EXPECT_FALSE(r.err.contains('\r'));
    const QString text = r.outText();
    EXPECT_TRUE(text.contains(
        QStringLiteral("Drums/Loop.aif: AIFF, 16-bit signed integer, 2 ch, 44100 Hz, 0:00.500, tagged loop")))
        << text.toStdString();
    EXPECT_TRUE(
        text.contains(QStringLiteral("stereo pair: Drums/Kicks/Kick.L.wav + Drums/Kicks/Kick.R.wav")));
    EXPECT_TRUE(text.contains(QStringLiteral("stereo pair: Pads/Pad(L) + Pads/Pad(R)")));
    EXPECT_TRUE(text.contains(QStringLiteral(
        "total: 6 audio file(s) (3 AIFF, 1 CAF, 2 WAVE), 1 tagged loop(s), 2 stereo pair(s), 0:03.250")));

    // One thread gives the same report.
    const RunResult single = f.tool(args({"scan", "--jobs", "1", "Drums", "Pads"}));
    EXPECT_EQ(single.out, r.out);

    r = f.tool(args({"scan", "NoSuchFolder"}));
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(r.errText().contains(
        QStringLiteral("NoSuchFolder: cannot scan: No such file or directory (fnfErr -43)")));
}

TEST(PavoAudioCrc, PrintsTheStandardChecksum)
{
    ToolFolder f;
    ASSERT_TRUE(writeFile(f.path(QStringLiteral("nine")), "123456789"));
    ASSERT_TRUE(writeFile(f.path(QStringLiteral("empty")), QByteArray()));
    const QString longName = QStringLiteral("a name longer than thirty-one characters");
    ASSERT_TRUE(writeFile(f.path(longName), "123456789"));
    QByteArray big(3 << 20, '\0');
    for (int i = 0; i < big.size(); ++i)
        big[i] = char(i * 7 + (i >> 11));
    ASSERT_TRUE(writeFile(f.path(QStringLiteral("big")), big));
    const RunResult r = f.tool(args({"crc", "nine", "gone", "empty", "big"}));
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(r.outText().contains(QStringLiteral("cbf43926           9  nine\n")))
        << r.outText().toStdString();
    EXPECT_TRUE(r.outText().contains(QStringLiteral("00000000           0  empty\n")));
    const RunResult named = f.tool({QStringLiteral("crc"), longName});
    EXPECT_EQ(named.outText(), QStringLiteral("cbf43926           9  ") + longName + QLatin1Char('\n'));
    // A file read in several blocks gives the checksum of its bytes in one piece.
    const uint32_t whole
        = PVCRC32(0, reinterpret_cast<const unsigned char*>(big.constData()), uint32_t(big.size()));
    EXPECT_TRUE(r.outText().contains(
        QStringLiteral("%1").arg(whole, 8, 16, QLatin1Char('0')) + QStringLiteral("     3145728  big")));
    EXPECT_TRUE(
        r.errText().contains(QStringLiteral("gone: cannot open: No such file or directory (fnfErr -43)")));
    EXPECT_EQ(f.tool({QStringLiteral("crc"), f.dir()}).status, 1);
}

TEST(PavoAudioHelp, EveryCommandHasAManualPage)
{
    ToolFolder f;
    for (const char* command : {"info", "chunks", "convert", "stereo", "scan", "crc"}) {
        SCOPED_TRACE(command);
        const QString name = QString::fromUtf8(command);
        const RunResult viaOption = f.tool({name, QStringLiteral("--help")});
        EXPECT_EQ(viaOption.status, 0);
        for (const char* section : {"NAME", "SYNOPSIS", "DESCRIPTION", "EXIT STATUS", "EXAMPLES"})
            EXPECT_TRUE(viaOption.outText().contains(QString::fromUtf8(section)));
        EXPECT_TRUE(viaOption.outText().contains(QStringLiteral("pavo-audio ") + name + QStringLiteral(" ")));
        EXPECT_EQ(f.tool({QStringLiteral("help"), name}).out, viaOption.out);
    }
    const RunResult top = f.tool({QStringLiteral("--help")});
    EXPECT_EQ(top.status, 0);
    EXPECT_TRUE(top.outText().contains(QStringLiteral("COMMANDS")));

    RunResult r = f.tool({QStringLiteral("frobnicate")});
    EXPECT_EQ(r.status, 2);
    EXPECT_TRUE(r.errText().contains(QStringLiteral("unknown command 'frobnicate'")));
    EXPECT_EQ(f.tool({}).status, 2);
    EXPECT_EQ(f.tool(args({"info", "--bogus"})).status, 2);
    EXPECT_EQ(f.tool({QStringLiteral("info")}).status, 2);
}
