#include <Pavo/PavoCore.h>

#include "TestSupport.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>
#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using PavoTest::StderrCapture;

struct ScriptedAlert {
    QList<PvAlertRequest> requests;
    int answer;
    explicit ScriptedAlert(int response, bool reenter = false)
        : answer(response)
    {
        PvSetAlertHandler([this, reenter](const PvAlertRequest& r) {
            requests << r;
            if (reenter) // a second report while the first is up must not show
                PVDisplayExceptionReport(std::runtime_error("again"));
            return answer;
        });
    }
    ~ScriptedAlert() { PvSetAlertHandler({}); }
};

[[gnu::noinline]] void reportFromHere()
{
    PVDisplayExceptionReport(std::logic_error("bad index"));
}

} // namespace

TEST(ExceptionReport, LogsAlertsAndResumes)
{
    QCoreApplication::setApplicationName(QStringLiteral("Sampler"));
    PVSetApplicationInfo({{"CFBundleShortVersionString", "3.0"}});
    ScriptedAlert alert(kPvAlertAlternateResponse, true); // "Resume"
    StderrCapture capture;
    reportFromHere();
    // The symboliser runs on its own; wait for it to name this function.
    QElapsedTimer waited;
    waited.start();
    QByteArray log;
    while (waited.elapsed() < 10000) {
        QThread::msleep(100);
        log = PavoTest::readFile(QStringLiteral("/proc/self/fd/2"));
        if (log.contains("reportFromHere"))
            break;
    }
    log = capture.text();
    PVSetApplicationInfo({});

    ASSERT_EQ(alert.requests.size(), 1) << "the report does not show twice at once";
    const PvAlertRequest& r = alert.requests[0];
    EXPECT_EQ(r.header, QStringLiteral("Sampler has encountered an unexpected error."));
    EXPECT_EQ(r.message,
        QStringLiteral("std::logic_error: bad index\n\nA stack trace has been written to the log."));
    EXPECT_EQ(r.defaultButton, QStringLiteral("Stop"));
    EXPECT_EQ(r.alternateButton, QStringLiteral("Resume"));
    EXPECT_EQ(r.otherButton, QStringLiteral("Crash with crash report"));
    EXPECT_TRUE(r.critical);
    EXPECT_TRUE(log.startsWith("**** Sampler has encountered an unexpected error. ****\n\n"
                               "std::logic_error: bad index\n\nSampler 3.0\n"))
        << log.left(300).constData();
    EXPECT_TRUE(log.contains("reportFromHere")) << "addr2line names the reporting function";

    // After the alert the guard is clear again.
    ScriptedAlert second(kPvAlertAlternateResponse);
    StderrCapture quiet;
    PVDisplayExceptionReport(QStringLiteral("NSRangeException"), QStringLiteral("out of range"), {});
    EXPECT_EQ(second.requests.size(), 1);
    EXPECT_TRUE(quiet.text().contains("No stack trace available.\n"));
}

TEST(ExceptionReport, OwnExceptionsCarryTheirTrace)
{
    const PvException e(QStringLiteral("PvFileError"), QStringLiteral("disk gone"));
    EXPECT_EQ(e.name(), QStringLiteral("PvFileError"));
    EXPECT_STREQ(e.what(), "disk gone");
    const QString trace = e.userInfo().value(PvStackTraceKey).toString();
    EXPECT_TRUE(trace.startsWith(QStringLiteral("0x")));
    EXPECT_GT(trace.split(QStringLiteral("  ")).size(), 2);
}

TEST(ExceptionReport, StopEndsTheApplicationAndCrashCrashes)
{
    EXPECT_EXIT(
        {
            PvSetAlertHandler([](const PvAlertRequest&) { return int(kPvAlertDefaultResponse); });
            PVDisplayExceptionReport(QStringLiteral("E"), QStringLiteral("r"), {});
            std::_Exit(3); // not reached: "Stop" ends the process
        },
        ::testing::ExitedWithCode(0), "");
    EXPECT_DEATH(
        {
            PvSetAlertHandler([](const PvAlertRequest&) { return int(kPvAlertOtherResponse); });
            PVDisplayExceptionReport(QStringLiteral("E"), QStringLiteral("r"), {});
        },
        "");
}
