// An outside program that uses the installed framework through its umbrella header only.
#include <Pavo/PavoCore.h>

#include <cstdio>
#include <cstring>

static int failures = 0;
static void check(bool ok, const char* what)
{
    std::printf("%s %s\n", ok ? "ok  " : "FAIL", what);
    if (!ok)
        ++failures;
}

int main()
{
    dbgTRACE("consumer: tracing %d", 42);

    int budget = 1;
    dbgASSERT(0, "1 == 2", "consumer main", &budget); // no display: answered "Resume"
    check(budget == 0, "the budget counts down");
    check(dbgAssertionFailed() == 1, "the failure is flagged");
    dbgASSERT(0, "silent", "consumer main", &budget);
    check(dbgAssertionFailed() == 1 && budget == 0, "a spent budget stays silent");

    Mem_InitModule();
    const int before = Mem_BlockCount();
    char* text = Mem_strdup("loop");
    void* none = Mem_malloc(0);
    check(text && std::strcmp(text, "loop") == 0 && !none, "Mem_strdup copies, Mem_malloc(0) gives null");
    check(Mem_BlockCount() == before + 1, "the block is counted");
    Mem_free(text);
    check(Mem_BlockCount() == before, "and uncounted when freed");
    Mem_TermModule();

    const QByteArray os = PVOSVersion().toUtf8();
    std::printf("OS: %s, kernel major %d, application %s %s\n", os.constData(), majorOSVersion(),
        PVApplicationName().toUtf8().constData(), PVApplicationVersion().toUtf8().constData());
    check(PVOSVersion() != QStringLiteral("Unknown"), "the OS version is known");
    check(PVApplicationVersion() == QStringLiteral("?.??"), "no version without application information");
    check(PavoVersionNumber == 274.0, "version number");
    return failures == 0 ? 0 : 1;
}
