// pavo-sysinfo: shows what the framework knows of the system and the application, and how
// its diagnostics behave: a trace, the version texts and one failing assertion (answered
// in a dialog when there is a display, on standard error otherwise).
#include <Pavo/PavoUI.h>

#include <QApplication>
#include <QGuiApplication>

#include <cstdio>
#include <cstring>

static void printUsage()
{
    std::puts("usage: pavo-sysinfo [--no-assert]\n\n"
              "Prints the operating-system and application version texts as the framework\n"
              "reports them, traces a line and raises one assertion to show the alert.\n"
              "With a display the alert is a dialog; without one it is answered \"Resume\"\n"
              "on standard error.");
}

int main(int argc, char** argv)
{
    bool assertion = true;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0) {
            printUsage();
            return 0;
        }
        if (std::strcmp(argv[i], "--no-assert") == 0) {
            assertion = false;
        } else {
            std::fprintf(stderr, "pavo-sysinfo: unknown option %s\n", argv[i]);
            return 2;
        }
    }
    // Without a display, run on the offscreen platform so the program still works.
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")
        && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("pavo-sysinfo"));
    QApplication::setApplicationVersion(QStringLiteral("1.0"));
    PVSetApplicationInfo({{"CFBundleVersion", "274"}});

    dbgTRACE("Pavo %.1f, tracing to standard error", PavoVersionNumber);
    std::printf("Operating system:    %s\n", PVOSVersion().toUtf8().constData());
    std::printf("Kernel major number: %d (Tiger or newer by the kernel rule: %s)\n", majorOSVersion(),
        isTigerOrNewer() ? "yes" : "no");
    std::printf("Application:         %s %s\n", PVApplicationName().toUtf8().constData(),
        PVApplicationVersion().toUtf8().constData());
    std::printf("Pro application:     %s\n", isRunningAsProApp() ? "yes" : "no");
    std::printf("Display platform:    %s\n", QGuiApplication::platformName().toUtf8().constData());
    std::fflush(stdout);

    if (assertion) {
        static int budget = 1;
        dbgASSERT(2 + 2 == 5, "2 + 2 == 5", "pavo-sysinfo main", &budget);
        std::printf("Assertion flagged:   %d, budget left %d\n", dbgAssertionFailed(), budget);
    }
    return 0;
}
