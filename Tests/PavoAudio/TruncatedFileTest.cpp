// A file cut short: info says how much data its header declares and how much is there,
// and scan counts it as damaged.
#include "ToolRunner.h"

#include <QFile>
#include <gtest/gtest.h>

TEST(PavoAudioTruncated, InfoShowsDeclaredAndPresentDataAndScanCountsIt)
{
    ToolFolder f;
    ASSERT_TRUE(f.tone(QStringLiteral("whole.wav"), 1, 16, 44100, 0.1));
    ASSERT_TRUE(f.tone(QStringLiteral("cut.wav"), 1, 16, 44100, 0.1));
    QFile cut(f.path(QStringLiteral("cut.wav")));
    ASSERT_TRUE(cut.resize(1000));

    RunResult r = f.tool(args({"info", "cut.wav"}));
    EXPECT_TRUE(r.outText().contains(
        QStringLiteral("truncated:     the data chunk declares 8820 bytes, the file holds")))
        << r.outText().toStdString();
    r = f.tool(args({"info", "whole.wav"}));
    EXPECT_FALSE(r.outText().contains(QStringLiteral("truncated")));
    r = f.tool(args({"info", "--json", "cut.wav"}));
    EXPECT_TRUE(r.outText().contains(QStringLiteral("\"truncated\": true"))) << r.outText().toStdString();
    EXPECT_TRUE(r.outText().contains(QStringLiteral("\"declaredDataBytes\": 8820")));

    r = f.tool({QStringLiteral("scan"), QStringLiteral("--json"), f.dir()});
    const QJsonObject totals
        = QJsonDocument::fromJson(r.out).object().value(QStringLiteral("totals")).toObject();
    EXPECT_EQ(totals.value(QStringLiteral("audioFiles")).toInt(), 2);
    EXPECT_EQ(totals.value(QStringLiteral("damaged")).toInt(), 1);
}
