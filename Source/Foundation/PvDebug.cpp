#include "PvDebug.h"

#include "MacRoman.h"
#include "PvPlatformOps.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

extern "C" {
int sAssertionFailed = 0;
}

namespace {

constexpr size_t kTraceBufferSize = 4096;
char s_traceBuffer[kTraceBufferSize];

void traceBuffer(char* buffer)
{
    size_t length = std::strlen(buffer);
    if (length == 0)
        return;
    char& last = buffer[length - 1];
    if (last == '\b') {
        last = '\0'; // the caller asked for no line feed
        --length;
    } else if (last != '\n') {
        if (length < kTraceBufferSize - 1) {
            buffer[length++] = '\n';
            buffer[length] = '\0';
        } else {
            last = '\n';
        }
    }
    std::fwrite(buffer, 1, length, stderr);
}

} // namespace

extern "C" void dbgTRACE(const char* format, ...)
{
    s_traceBuffer[0] = '\0';
    if (!format)
        return;
    va_list args;
    va_start(args, format);
    std::vsnprintf(s_traceBuffer, kTraceBufferSize, format, args);
    va_end(args);
    traceBuffer(s_traceBuffer);
}

extern "C" void dbgASSERT(int condition, const char* expression, const char* location, int* showCount)
{
    sAssertionFailed = 0;
    if (condition)
        return;
    sAssertionFailed = 1;

    char text[kTraceBufferSize];
    std::snprintf(text, sizeof text, "ASSERT(%s) in %s failed.\n", expression ? expression : "(null)",
        location ? location : "(null)");
    const QString message = PvStringFromMacRoman(text);

    PvAlertRequest alert;
    alert.header = QStringLiteral("Assertion failed");
    alert.message = message;
    alert.defaultButton = QStringLiteral("Resume");
    alert.alternateButton = QStringLiteral("Debugger");
    alert.timeoutSeconds = 60;

    int response = kPvAlertDefaultResponse;
    if (!showCount) {
        dbgTRACE("%s", text);
        alert.otherButton = QStringLiteral("Stop");
        response = PvRunAlert(alert);
    } else if (*showCount > 0 || *showCount == -1) {
        dbgTRACE("%s", text);
        alert.otherButton = QStringLiteral("Don't show again");
        response = PvRunAlert(alert);
        if (*showCount > 0)
            --*showCount;
    }

    switch (response) {
    case kPvAlertAlternateResponse:
        PvBreakIntoDebugger();
        break;
    case kPvAlertOtherResponse:
        if (showCount)
            *showCount = 0;
        else
            PvExitNow(1);
        break;
    default: // "Resume", a time-out or a cancel
        break;
    }
}

extern "C" int dbgAssertionFailed(void)
{
    const int failed = sAssertionFailed;
    sAssertionFailed = 0;
    return failed;
}

extern "C" int PVOutputMemory(const void*, int length)
{
    int counter = 0;
    while (counter < length)
        counter += 8;
    return counter;
}
