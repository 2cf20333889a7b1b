#include <Pavo/PavoCore.h>

#include "TestSupport.h"

#include <QList>
#include <gtest/gtest.h>

#include <string>

namespace {

using PavoTest::StderrCapture;

template <typename F> QByteArray captured(F&& traceCall)
{
    StderrCapture capture;
    traceCall();
    return capture.text();
}

// Records every alert and answers with a scripted response.
struct AlertRecorder {
    QList<PvAlertRequest> requests;
    int answer = kPvAlertDefaultResponse;
    AlertRecorder()
    {
        PvSetAlertHandler([this](const PvAlertRequest& r) {
            requests << r;
            return answer;
        });
    }
    ~AlertRecorder() { PvSetAlertHandler({}); }
};

int s_debuggerBreaks = 0;
int s_exitStatus = -1;

} // namespace

TEST(Trace, LineFeedBackspaceEmptyAndLongTexts)
{
    EXPECT_EQ(captured([] { dbgTRACE("abc"); }), QByteArray("abc\n"));
    EXPECT_EQ(captured([] { dbgTRACE("abc\n"); }), QByteArray("abc\n"));
    EXPECT_EQ(captured([] { dbgTRACE("abc\b"); }), QByteArray("abc"));
    EXPECT_EQ(captured([] { dbgTRACE("%s", ""); }), QByteArray());
    const std::string longText(5000, 'x');
    const QByteArray cut = captured([&] { dbgTRACE("%s", longText.c_str()); });
    ASSERT_EQ(cut.size(), 4095);
    EXPECT_EQ(cut.back(), '\n');
    EXPECT_EQ(cut.count('x'), 4094);
    // Exactly 4094 characters still get a line feed appended.
    const std::string fits(4094, 'y');
    EXPECT_EQ(captured([&] { dbgTRACE("%s", fits.c_str()); }).size(), 4095);
    StderrCapture capture;
    dbgTRACE(nullptr);
    EXPECT_TRUE(capture.text().isEmpty());
}

TEST(Assert, TrueConditionClearsTheFlagAndShowsNothing)
{
    AlertRecorder alerts;
    sAssertionFailed = 1;
    dbgASSERT(1, "x", "here", nullptr);
    EXPECT_EQ(sAssertionFailed, 0);
    EXPECT_TRUE(alerts.requests.isEmpty());

    StderrCapture capture;
    dbgASSERT(0, "x", "here", nullptr);
    EXPECT_EQ(dbgAssertionFailed(), 1);
    EXPECT_EQ(dbgAssertionFailed(), 0); // read and reset
    EXPECT_EQ(capture.text(), QByteArray("ASSERT(x) in here failed.\n"));
}

TEST(Assert, AlertTextsButtonsAndMacRomanMessage)
{
    AlertRecorder alerts;
    StderrCapture capture;
    dbgASSERT(0, "caf\x8E", "f.cpp:12", nullptr);
    int budget = -1;
    dbgASSERT(0, "b", "g", &budget);
    ASSERT_EQ(alerts.requests.size(), 2);
    const PvAlertRequest& noBudget = alerts.requests[0];
    EXPECT_EQ(noBudget.header, QStringLiteral("Assertion failed"));
    EXPECT_EQ(noBudget.message, QString::fromUtf8("ASSERT(café) in f.cpp:12 failed.\n"));
    EXPECT_EQ(noBudget.defaultButton, QStringLiteral("Resume"));
    EXPECT_EQ(noBudget.alternateButton, QStringLiteral("Debugger"));
    EXPECT_EQ(noBudget.otherButton, QStringLiteral("Stop"));
    EXPECT_EQ(noBudget.timeoutSeconds, 60);
    EXPECT_EQ(alerts.requests[1].otherButton, QStringLiteral("Don't show again"));
}

TEST(Assert, BudgetsCountDownAndSilence)
{
    AlertRecorder alerts;
    int budget = 2;
    {
        StderrCapture capture;
        dbgASSERT(0, "a", "b", &budget);
        dbgASSERT(0, "a", "b", &budget);
        EXPECT_EQ(budget, 0);
        const QByteArray before = capture.text();
        EXPECT_EQ(before.count("ASSERT(a)"), 2);
    }
    StderrCapture silent;
    dbgASSERT(0, "a", "b", &budget);
    EXPECT_TRUE(silent.text().isEmpty()) << "a spent budget traces nothing";
    EXPECT_EQ(alerts.requests.size(), 2);
    EXPECT_EQ(dbgAssertionFailed(), 1) << "the flag is set even when silent";

    int always = -1;
    StderrCapture quiet;
    for (int i = 0; i < 4; ++i)
        dbgASSERT(0, "a", "b", &always);
    EXPECT_EQ(alerts.requests.size(), 6);
    EXPECT_EQ(always, -1);

    int odd = -7; // neither positive nor -1: silent
    dbgASSERT(0, "a", "b", &odd);
    EXPECT_EQ(alerts.requests.size(), 6);
}

TEST(Assert, ResponsesActAsTheButtonsSay)
{
    AlertRecorder alerts;
    StderrCapture capture;
    PvSetDebuggerBreak([] { ++s_debuggerBreaks; });
    PvSetExitNow([](int status) { s_exitStatus = status; });

    alerts.answer = kPvAlertAlternateResponse; // "Debugger"
    dbgASSERT(0, "a", "b", nullptr);
    EXPECT_EQ(s_debuggerBreaks, 1);

    alerts.answer = kPvAlertOtherResponse; // "Don't show again"
    int budget = 5;
    dbgASSERT(0, "a", "b", &budget);
    EXPECT_EQ(budget, 0);
    EXPECT_EQ(s_exitStatus, -1);

    dbgASSERT(0, "a", "b", nullptr); // "Stop"
    EXPECT_EQ(s_exitStatus, 1);

    alerts.answer = kPvAlertCancelResponse; // time-out: continue
    budget = 3;
    dbgASSERT(0, "a", "b", &budget);
    EXPECT_EQ(budget, 2);

    PvSetDebuggerBreak(nullptr);
    PvSetExitNow(nullptr);
}

TEST(Assert, NullPointersAndTheConsoleAlert)
{
    StderrCapture capture;
    dbgASSERT(0, nullptr, nullptr, nullptr); // the console alert answers "Resume"
    const QByteArray text = capture.text();
    EXPECT_TRUE(text.contains("ASSERT((null)) in (null) failed."));
    EXPECT_TRUE(text.contains("*** Assertion failed ***"));
    EXPECT_TRUE(text.contains("[Resume] [Debugger] [Stop] -> Resume"));

    PvAlertRequest withoutResume {"h", "m", "OK", "Cancel", {}, 0, false};
    StderrCapture again;
    EXPECT_EQ(PvConsoleAlert(withoutResume), kPvAlertDefaultResponse);
    PvAlertRequest resumeAsAlternate {"h", "m", "Stop", "Resume", "Crash", 0, true};
    EXPECT_EQ(PvConsoleAlert(resumeAsAlternate), kPvAlertAlternateResponse);
}

TEST(OutputMemory, RoundsUpToEightAndIgnoresTheBuffer)
{
    EXPECT_EQ(PVOutputMemory(nullptr, 0), 0);
    EXPECT_EQ(PVOutputMemory(nullptr, -5), 0);
    EXPECT_EQ(PVOutputMemory(nullptr, 1), 8);
    EXPECT_EQ(PVOutputMemory(nullptr, 8), 8);
    EXPECT_EQ(PVOutputMemory(nullptr, 9), 16);
}

TEST(Vectors, ArithmeticAndZeroVectors)
{
    const PvPoint zero = inverseVector({0.0f, 0.0f});
    EXPECT_TRUE(std::signbit(zero.x) && std::signbit(zero.y));
    EXPECT_FLOAT_EQ(radiantsToDegree(3.14159265f), 180.0f);
    const PvPoint u = unitVector({3, 4});
    EXPECT_FLOAT_EQ(u.x, 0.6f);
    EXPECT_FLOAT_EQ(u.y, 0.8f);
    const PvPoint d = PvMakeVectorFromPoints({1, 1}, {4, 5});
    EXPECT_FLOAT_EQ(vectorLength(d), 5.0f);
    EXPECT_FLOAT_EQ(vectorAngle({1, 0}, {0, 2}), 1.5707964f);
    const PvPoint scaled = vectorWithAdjustedLength({0, 3}, 10);
    EXPECT_FLOAT_EQ(scaled.y, 10.0f);
    EXPECT_FLOAT_EQ(vectorScalarProduct(vectorSum({1, 2}, {3, 4}), scalarMultiplication(2, {1, 1})), 20.0f);
    EXPECT_TRUE(std::isnan(unitVector({0, 0}).x));
    EXPECT_TRUE(std::isnan(vectorAngle({0, 0}, {1, 0})));
}
