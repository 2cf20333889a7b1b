// pavo-sysinfo: shows what the framework knows of the system and the application, and how
// its diagnostics behave: a trace, the version texts and one failing assertion (answered
// in a dialog when there is a display, on standard error otherwise).
#include <Pavo/PavoUI.h>

#include <QApplication>
#include <QGuiApplication>

#include <cstdio>
#include <cstring>
#include <utility>

static void printUsage()
{
    std::puts("usage: pavo-sysinfo [--no-assert]\n\n"
              "Prints the operating-system, application, processor and memory facts as the\n"
              "framework reports them, traces a line and raises one assertion to show the\n"
              "alert. With a display the alert is a dialog; without one it is answered\n"
              "\"Resume\" on standard error.");
}

// "8 GiB" for byte counts the framework reports; its count is a 32-bit number that stops
// at 4 GiB.
static QString memoryText(unsigned bytes)
{
    if (bytes == 0)
        return QStringLiteral("unknown");
    if (bytes == 0xFFFFFFFFu)
        return QStringLiteral("4 GiB or more (the framework counts up to 4 GiB)");
    return QStringLiteral("%1 MiB").arg(bytes / (1024u * 1024u));
}

static const char* converterPathName(PvConverterPath path)
{
    switch (path) {
    case kPvConverterAVX2:
        return "AVX2";
    case kPvConverterAVX512:
        return "AVX-512";
    case kPvConverterAVX512VBMI:
        return "AVX-512 with VBMI";
    case kPvConverterPortable:
        break;
    }
    return "portable C++";
}

static void printProcessorAndMemory()
{
    CInformer::Initialize();
    PVHardwareUtilities* hardware = PVHardwareUtilities::sharedHardwareUtilities();
    const char* brand = CInformer::Brand();
    std::printf("Processor:           %s\n", brand && *brand ? brand : CInformer::Description());
    QStringList features;
    for (auto [feature, name] : {std::pair {CInformer::eMMX, "MMX"}, std::pair {CInformer::eSSE, "SSE"},
             std::pair {CInformer::eSSE2, "SSE2"}, std::pair {CInformer::eCMOV, "CMOV"},
             std::pair {CInformer::eTSC, "TSC"}, std::pair {CInformer::eDAZ, "DAZ"}}) {
        if (CInformer::Feature(feature))
            features << QString::fromLatin1(name);
    }
    std::printf("Processor features:  %s\n",
        features.isEmpty() ? "none known" : features.join(QLatin1Char(' ')).toUtf8().constData());
    const unsigned mhz = hardware->cpuClockSpeed();
    std::printf("Processors:          %u%s\n", hardware->cpuCount(),
        mhz ? QStringLiteral(" at %1 MHz").arg(mhz).toUtf8().constData() : "");
    std::printf("Vector unit:         %s\n", hardware->hasVectorUnit() ? "yes" : "no");
    std::printf("Sample converters:   %s\n", converterPathName(PvCurrentConverterPath()));
    std::printf("Memory:              %s\n", memoryText(hardware->physicalRAM()).toUtf8().constData());
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
    // The toolkit installs its dialog when it is loaded; naming it here keeps the linker
    // from dropping the toolkit library, which nothing else of this program calls.
    PvInstallDialogAlert();

    dbgTRACE("Pavo %.1f, tracing to standard error", PavoVersionNumber);
    std::printf("Operating system:    %s\n", PVOSVersion().toUtf8().constData());
    std::printf("Kernel:              %d (the first number of the kernel release, as in uname -r)\n",
        majorOSVersion());
    std::printf("Application:         %s %s\n", PVApplicationName().toUtf8().constData(),
        PVApplicationVersion().toUtf8().constData());
    std::printf("Pro application:     %s\n", isRunningAsProApp() ? "yes" : "no");
    printProcessorAndMemory();
    std::printf("Display platform:    %s\n", QGuiApplication::platformName().toUtf8().constData());
    std::fflush(stdout);

    if (assertion) {
        static int budget = 1;
        dbgASSERT(2 + 2 == 5, "2 + 2 == 5", "pavo-sysinfo main", &budget);
        std::printf("Assertion flagged:   %d, budget left %d\n", dbgAssertionFailed(), budget);
    }
    return 0;
}
