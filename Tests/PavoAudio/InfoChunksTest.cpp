// info and chunks, driven as a user would drive them.
#include "ToolRunner.h"

#include <Pavo/PavoCore.h>

#include <QFile>
#include <gtest/gtest.h>

namespace {

void put32(QByteArray& b, int at, uint32_t v)
{
    for (int i = 0; i < 4; ++i)
        b[at + i] = char(v >> (24 - 8 * i));
}

/// A basic tagging record in file order with recognisable values.
QByteArray taggingRecord()
{
    QByteArray b(82, '\0');
    put32(b, 0, 0x01020304);
    put32(b, 4, 120000);
    for (int i = 0; i < 5; ++i) {
        b[8 + 2 * i] = char(0x01);
        b[9 + 2 * i] = char(i);
    }
    for (int i = 0; i < 16; ++i)
        put32(b, 18 + 4 * i, uint32_t(1000 + i));
    return b;
}

} // namespace

TEST(PavoAudioInfo, ReportsTheFormatOfFilesMadeBySox)
{
    ToolFolder f;
    ASSERT_TRUE(f.tone(QStringLiteral("Loop.aif"), 2, 16, 44100, 0.5));
    ASSERT_TRUE(f.tone(QStringLiteral("Pad.wav"), 1, 24, 48000, 0.25));
    ASSERT_TRUE(f.tone(QStringLiteral("Hat.caf"), 2, 8, 22050, 0.1));

    const QJsonObject aif = f.info(QStringLiteral("Loop.aif"));
    EXPECT_EQ(aif.value(QStringLiteral("container")).toString(), QStringLiteral("AIFF"));
    EXPECT_EQ(aif.value(QStringLiteral("bits")).toInt(), 16);
    EXPECT_EQ(aif.value(QStringLiteral("byteOrder")).toString(), QStringLiteral("big"));
    EXPECT_EQ(aif.value(QStringLiteral("channels")).toInt(), 2);
    EXPECT_EQ(aif.value(QStringLiteral("sampleRate")).toDouble(), 44100.0);
    EXPECT_EQ(aif.value(QStringLiteral("frames")).toInt(), 22050);
    EXPECT_DOUBLE_EQ(aif.value(QStringLiteral("seconds")).toDouble(), 0.5);
    EXPECT_FALSE(aif.value(QStringLiteral("taggedLoop")).toBool());

    const QJsonObject wav = f.info(QStringLiteral("Pad.wav"));
    EXPECT_EQ(wav.value(QStringLiteral("container")).toString(), QStringLiteral("WAVE"));
    EXPECT_EQ(wav.value(QStringLiteral("bits")).toInt(), 24);
    EXPECT_EQ(wav.value(QStringLiteral("byteOrder")).toString(), QStringLiteral("little"));
    EXPECT_EQ(wav.value(QStringLiteral("frames")).toInt(), 12000);

    const QJsonObject caf = f.info(QStringLiteral("Hat.caf"));
    EXPECT_EQ(caf.value(QStringLiteral("container")).toString(), QStringLiteral("CAF"));
    EXPECT_EQ(caf.value(QStringLiteral("bits")).toInt(), 8);
    EXPECT_EQ(caf.value(QStringLiteral("byteOrder")).toString(), QStringLiteral("none"));
    EXPECT_EQ(caf.value(QStringLiteral("frames")).toInt(), 2205);

    const RunResult text = f.tool(args({"info", "Loop.aif"}));
    EXPECT_EQ(text.status, 0);
    EXPECT_TRUE(text.outText().contains(QStringLiteral("16-bit signed integer")));
    EXPECT_TRUE(text.outText().contains(QStringLiteral("0:00.500")));
}

TEST(PavoAudioInfo, BatchGoesOnPastBadFilesAndNamesThemWithTheResultCode)
{
    ToolFolder f;
    ASSERT_TRUE(f.tone(QStringLiteral("Good.aif"), 1, 16, 44100, 0.1));
    ASSERT_TRUE(writeFile(f.path(QStringLiteral("Text.wav")), "not audio at all, just words"));
    const RunResult r = f.tool(args({"info", "--json", "Missing.aif", "Good.aif", "Text.wav"}));
    EXPECT_EQ(r.status, 1);
    const QJsonArray all = QJsonDocument::fromJson(r.out).array();
    ASSERT_EQ(all.size(), 3);
    EXPECT_EQ(all.at(1).toObject().value(QStringLiteral("frames")).toInt(), 4410);
    EXPECT_EQ(all.at(0).toObject().value(QStringLiteral("resultCode")).toInt(), fnfErr);
    EXPECT_TRUE(r.errText().contains(
        QStringLiteral("Missing.aif: cannot open: No such file or directory (fnfErr -43)")))
        << r.errText().toStdString();
    EXPECT_TRUE(
        r.errText().contains(QStringLiteral("Text.wav: cannot open: kAudioFileUnsupportedFileTypeError")));
    EXPECT_TRUE(r.errText().contains(QStringLiteral("2 of 3 failed")));
}

TEST(PavoAudioChunks, SetGetListAndRemoveWithoutSilentOverwrites)
{
    ToolFolder f;
    ASSERT_TRUE(f.tone(QStringLiteral("Loop.aif"), 2, 16, 44100, 0.2));
    const QByteArray record = taggingRecord();
    ASSERT_TRUE(writeFile(f.path(QStringLiteral("tag.bin")), record));
    const QByteArray samplesBefore = f.samples(QStringLiteral("Loop.aif"));

    RunResult r = f.tool(args({"chunks", "set", "Loop.aif", "basc", "tag.bin"}));
    ASSERT_EQ(r.status, 0) << r.errText().toStdString();
    EXPECT_EQ(f.samples(QStringLiteral("Loop.aif")), samplesBefore); // the audio is untouched

    r = f.tool(args({"chunks", "list", "Loop.aif"}));
    EXPECT_TRUE(r.outText().contains(QStringLiteral("'basc'"))) << r.outText().toStdString();
    EXPECT_TRUE(r.outText().contains(QStringLiteral(" 82\n")));

    r = f.tool(args({"chunks", "get", "Loop.aif", "basc"}));
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, record);

    // The decoded record: host-order numbers in the order of the fields.
    const QJsonObject info = f.info(QStringLiteral("Loop.aif"));
    EXPECT_TRUE(info.value(QStringLiteral("taggedLoop")).toBool());
    const QJsonObject basc = info.value(QStringLiteral("basc")).toObject();
    EXPECT_EQ(basc.value(QStringLiteral("header")).toArray().at(0).toInt(), 0x01020304);
    EXPECT_EQ(basc.value(QStringLiteral("header")).toArray().at(1).toInt(), 120000);
    EXPECT_EQ(basc.value(QStringLiteral("shorts")).toArray().at(4).toInt(), 0x0104);
    EXPECT_EQ(basc.value(QStringLiteral("values")).toArray().at(15).toInt(), 1015);
    // Each field under its name in the record, in the text too.
    EXPECT_EQ(
        basc.value(QStringLiteral("fields")).toObject().value(QStringLiteral("words[4]")).toInt(), 0x0104);
    const QString text = f.tool(args({"info", "Loop.aif"})).outText();
    EXPECT_TRUE(text.contains(QStringLiteral("value2:      @4 (32-bit)    120000\n"))) << text.toStdString();
    EXPECT_TRUE(text.contains(QStringLiteral("values[15]:  @78 (32-bit)   1015\n")));

    // Replacing needs --force; the refused edit leaves the file as it was.
    const QByteArray before = readFile(f.path(QStringLiteral("Loop.aif")));
    ASSERT_TRUE(writeFile(f.path(QStringLiteral("other.bin")), QByteArray(100, 'x')));
    r = f.tool(args({"chunks", "set", "Loop.aif", "basc", "other.bin"}));
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(r.errText().contains(QStringLiteral("--force")));
    EXPECT_EQ(readFile(f.path(QStringLiteral("Loop.aif"))), before);
    r = f.tool(args({"chunks", "set", "Loop.aif", "basc", "-", "--force"}), QByteArray(100, 'y'));
    EXPECT_EQ(r.status, 0) << r.errText().toStdString();
    r = f.tool(args({"chunks", "get", "Loop.aif", "basc", "-o", "out.bin"}));
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(readFile(f.path(QStringLiteral("out.bin"))), QByteArray(100, 'y'));
    r = f.tool(args({"chunks", "get", "Loop.aif", "basc", "-o", "tag.bin"}));
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(readFile(f.path(QStringLiteral("tag.bin"))), record);

    // A second chunk of the same ID goes at the next index.
    r = f.tool(args({"chunks", "set", "Loop.aif", "APPL", "tag.bin"}));
    EXPECT_EQ(r.status, 0);
    r = f.tool(args({"chunks", "set", "Loop.aif", "APPL", "other.bin", "--index", "1"}));
    EXPECT_EQ(r.status, 0) << r.errText().toStdString();
    r = f.tool(args({"chunks", "get", "Loop.aif", "APPL", "--index", "1"}));
    EXPECT_EQ(r.out, QByteArray(100, 'x'));

    // Removing: once works, twice names the absent chunk.
    r = f.tool(args({"chunks", "remove", "Loop.aif", "basc"}));
    EXPECT_EQ(r.status, 0);
    EXPECT_FALSE(f.info(QStringLiteral("Loop.aif")).value(QStringLiteral("taggedLoop")).toBool());
    r = f.tool(args({"chunks", "remove", "Loop.aif", "basc"}));
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(r.errText().contains(
        QStringLiteral("Loop.aif: cannot remove chunk 'basc' #0: kAudioFileInvalidChunkError")))
        << r.errText().toStdString();
    EXPECT_EQ(f.samples(QStringLiteral("Loop.aif")), samplesBefore);
}

TEST(PavoAudioChunks, RefusesStructuralChunksAndBadArguments)
{
    ToolFolder f;
    ASSERT_TRUE(f.tone(QStringLiteral("Loop.wav"), 1, 16, 44100, 0.1));
    ASSERT_TRUE(writeFile(f.path(QStringLiteral("p.bin")), "payload"));
    const QByteArray before = readFile(f.path(QStringLiteral("Loop.wav")));
    RunResult r = f.tool(args({"chunks", "set", "Loop.wav", "data", "p.bin", "--force"}));
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(r.errText().contains(QStringLiteral("chunk 'data' is part of the WAVE container")));
    EXPECT_EQ(readFile(f.path(QStringLiteral("Loop.wav"))), before);
    // IDs are four printable characters or eight hex digits, never 0.
    for (const char* bad : {"0x4142", "ID3", "0x00000000", "0x6261736g", "ab\tc"}) {
        SCOPED_TRACE(bad);
        EXPECT_EQ(f.tool({QStringLiteral("chunks"), QStringLiteral("set"), QStringLiteral("Loop.wav"),
                             QString::fromUtf8(bad), QStringLiteral("p.bin")})
                      .status,
            2);
    }
    EXPECT_EQ(readFile(f.path(QStringLiteral("Loop.wav"))), before);

    r = f.tool(args({"chunks", "get", "Loop.wav", "toolong"}));
    EXPECT_EQ(r.status, 2);
    r = f.tool(args({"chunks", "frob", "Loop.wav"}));
    EXPECT_EQ(r.status, 2);
    r = f.tool(args({"chunks", "get", "Loop.wav", "0x62617363"}));
    EXPECT_EQ(r.status, 1); // 'basc' written as hex, absent here
    EXPECT_TRUE(r.errText().contains(QStringLiteral("'basc'")));
}
