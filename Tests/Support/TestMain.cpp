// Shared main of the test programs: one QApplication on the offscreen platform, so that
// core and user-interface tests alike run headless with real Qt objects.
#include <QApplication>
#include <QDir>
#include <gtest/gtest.h>

#include <sys/stat.h>

int main(int argc, char** argv)
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // A private runtime folder keeps Qt quiet, so tests can check standard error exactly.
    if (!qEnvironmentVariableIsSet("XDG_RUNTIME_DIR")) {
        const QByteArray runtime = QDir::temp().filePath(QStringLiteral("pavo-test-runtime")).toLocal8Bit();
        mkdir(runtime.constData(), 0700);
        qputenv("XDG_RUNTIME_DIR", runtime);
    }
    ::testing::InitGoogleTest(&argc, argv);
    // Death tests re-run the program for the one test instead of forking a process
    // that already has Qt's threads.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    QApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
