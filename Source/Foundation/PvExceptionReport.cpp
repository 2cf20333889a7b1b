#include "PvExceptionReport.h"

#include "PvPlatformOps.h"
#include "PvSystemInfo.h"

#include <QCoreApplication>
#include <QThread>

#include <cstdio>
#include <cstdlib>
#include <cxxabi.h>
#include <typeinfo>

namespace {

bool s_reportShowing = false;

QString demangled(const char* mangled)
{
    int status = 0;
    char* name = abi::__cxa_demangle(mangled, nullptr, nullptr, &status);
    const QString result = QString::fromLatin1(status == 0 && name ? name : mangled);
    std::free(name);
    return result;
}

void logText(const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
    std::fflush(stderr);
}

void terminateApplication()
{
    QCoreApplication* app = QCoreApplication::instance();
    // Inside a running event loop, quitting lets the host shut down in order; with no
    // loop to leave, end the process as the request means.
    if (app && QThread::currentThread() == app->thread() && app->thread()->loopLevel() > 0) {
        QCoreApplication::quit();
        return;
    }
    std::exit(0);
}

} // namespace

PvException::PvException(const QString& name, const QString& reason, const QVariantMap& userInfo)
    : std::runtime_error(reason.toStdString())
    , m_name(name)
    , m_userInfo(userInfo)
{
    if (!m_userInfo.contains(QLatin1String(PvStackTraceKey)))
        m_userInfo.insert(QLatin1String(PvStackTraceKey), PvCaptureStackTrace(1));
}

void PVDisplayExceptionReport(const QString& name, const QString& reason, const QVariantMap& userInfo)
{
    if (s_reportShowing)
        return;
    s_reportShowing = true;

    const QString description = name.isEmpty() ? reason : name + QStringLiteral(": ") + reason;
    const QString title = QStringLiteral("%1 has encountered an unexpected error.").arg(PVApplicationName());
    logText(QStringLiteral("**** %1 ****\n\n%2\n\n%3 %4\n%5\n\n")
                .arg(title, description, PVApplicationName(), PVApplicationVersion(), PVOSVersion()));

    const QString trace = userInfo.value(QLatin1String(PvStackTraceKey)).toString();
    if (!trace.isEmpty())
        PvSymbolizeStackTrace(trace.split(QStringLiteral("  "), Qt::SkipEmptyParts));
    else
        logText(QStringLiteral("No stack trace available.\n"));

    PvAlertRequest alert;
    alert.header = title;
    alert.message = QStringLiteral("%1\n\nA stack trace has been written to the log.").arg(description);
    alert.defaultButton = QStringLiteral("Stop");
    alert.alternateButton = QStringLiteral("Resume");
    alert.otherButton = QStringLiteral("Crash with crash report");
    alert.critical = true;
    const int response = PvRunAlert(alert);
    s_reportShowing = false;

    switch (response) {
    case kPvAlertDefaultResponse:
        terminateApplication();
        break;
    case kPvAlertOtherResponse: {
        // A deliberate crash: the system keeps a core dump of the state.
        volatile int* volatile nowhere = nullptr;
        *nowhere = 4711;
        PvBreakIntoDebugger();
        break;
    }
    default:
        break;
    }
}

void PVDisplayExceptionReport(const std::exception& exception)
{
    if (const auto* own = dynamic_cast<const PvException*>(&exception)) {
        PVDisplayExceptionReport(own->name(), own->reason(), own->userInfo());
        return;
    }
    QVariantMap info;
    info.insert(QLatin1String(PvStackTraceKey), PvCaptureStackTrace(1));
    PVDisplayExceptionReport(demangled(typeid(exception).name()), QString::fromUtf8(exception.what()), info);
}
