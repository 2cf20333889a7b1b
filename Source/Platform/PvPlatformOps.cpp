#include "PvPlatformOps.h"

#include <QFile>
#include <QMap>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <execinfo.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

PvAlertHandler& alertHandler()
{
    static PvAlertHandler handler;
    return handler;
}

void (*s_debuggerBreak)() = nullptr;
void (*s_exitNow)(int) = nullptr;

} // namespace

void PvSetAlertHandler(PvAlertHandler handler)
{
    alertHandler() = std::move(handler);
}

int PvRunAlert(const PvAlertRequest& request)
{
    const PvAlertHandler& handler = alertHandler();
    return handler ? handler(request) : PvConsoleAlert(request);
}

int PvConsoleAlert(const PvAlertRequest& request)
{
    const QString resume = QStringLiteral("Resume");
    int response = kPvAlertDefaultResponse;
    if (request.alternateButton == resume)
        response = kPvAlertAlternateResponse;
    else if (request.otherButton == resume)
        response = kPvAlertOtherResponse;

    QString buttons = QStringLiteral("[") + request.defaultButton + QStringLiteral("]");
    if (!request.alternateButton.isEmpty())
        buttons += QStringLiteral(" [") + request.alternateButton + QStringLiteral("]");
    if (!request.otherButton.isEmpty())
        buttons += QStringLiteral(" [") + request.otherButton + QStringLiteral("]");
    const QString answer = response == kPvAlertAlternateResponse ? request.alternateButton
        : response == kPvAlertOtherResponse                      ? request.otherButton
                                                                 : request.defaultButton;
    const QByteArray text = (QStringLiteral("*** ") + request.header + QStringLiteral(" ***\n")
        + request.message + (request.message.endsWith(QLatin1Char('\n')) ? QString() : QStringLiteral("\n"))
        + buttons + QStringLiteral(" -> ") + answer + QStringLiteral(" (no display)\n"))
                                .toUtf8();
    std::fwrite(text.constData(), 1, size_t(text.size()), stderr);
    std::fflush(stderr);
    return response;
}

bool PvIsDebuggerAttached()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return false;
    // /proc files report a size of 0, so read line by line.
    while (!status.atEnd()) {
        const QByteArray line = status.readLine();
        if (line.startsWith("TracerPid:"))
            return line.mid(10).trimmed().toLong() != 0;
    }
    return false;
}

void PvSetDebuggerBreak(void (*breakFunction)())
{
    s_debuggerBreak = breakFunction;
}

void PvBreakIntoDebugger()
{
    if (s_debuggerBreak) {
        s_debuggerBreak();
        return;
    }
    if (PvIsDebuggerAttached())
        std::raise(SIGTRAP);
}

void PvSetExitNow(void (*exitFunction)(int))
{
    s_exitNow = exitFunction;
}

void PvExitNow(int status)
{
    if (s_exitNow) {
        s_exitNow(status);
        return;
    }
    std::fflush(stderr);
    std::fflush(stdout);
    _exit(status);
}

QString PvCaptureStackTrace(int skip)
{
    void* frames[128];
    const int count = backtrace(frames, 128);
    QStringList parts;
    for (int i = 1 + (skip > 0 ? skip : 0); i < count; ++i)
        parts << QStringLiteral("0x") + QString::number(quintptr(frames[i]), 16);
    return parts.join(QStringLiteral("  "));
}

int PvSymbolizeStackTrace(const QStringList& addresses)
{
    // Group the addresses by the object they belong to, as offsets into that object.
    QMap<QString, QStringList> byObject;
    for (const QString& text : addresses) {
        bool ok = false;
        const quintptr address = text.trimmed().toULongLong(&ok, 0);
        Dl_info info {};
        if (!ok || address == 0 || dladdr(reinterpret_cast<void*>(address), &info) == 0 || !info.dli_fname)
            continue;
        // A return address points after the call; one byte back lands inside it.
        const quintptr offset = address - quintptr(info.dli_fbase) - 1;
        QString object = QString::fromLocal8Bit(info.dli_fname);
        if (object.isEmpty() || !QFile::exists(object))
            object = QStringLiteral("/proc/self/exe");
        byObject[object] << QStringLiteral("0x") + QString::number(offset, 16);
    }

    int started = 0;
    for (auto it = byObject.cbegin(); it != byObject.cend(); ++it) {
        QList<QByteArray> args {"addr2line", "-f", "-C", "-p", "-e", it.key().toLocal8Bit()};
        if (it.key() == QStringLiteral("/proc/self/exe"))
            args[5] = QStringLiteral("/proc/%1/exe").arg(getpid()).toLocal8Bit();
        for (const QString& a : it.value())
            args << a.toLatin1();
        std::vector<char*> argv;
        for (QByteArray& a : args)
            argv.push_back(a.data());
        argv.push_back(nullptr);

        // Fork twice so that the symboliser is not our child: it is never awaited and
        // leaves no zombie behind.
        const pid_t child = fork();
        if (child < 0)
            continue;
        if (child == 0) {
            const pid_t grandchild = fork();
            if (grandchild == 0) {
                dup2(STDERR_FILENO, STDOUT_FILENO);
                execvp(argv[0], argv.data());
                _exit(127);
            }
            _exit(grandchild < 0 ? 1 : 0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        if (WIFEXITED(status) && WEXITSTATUS(status) == 0)
            ++started;
    }
    return started;
}
