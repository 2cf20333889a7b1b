// The few operations of the host system that the diagnostics need and that a host (or a
// test) may replace: a three-button alert, a break into a debugger, ending the process at
// once, and the symbolisation of a stack trace.
//
// The defaults work without any user interface: the alert writes its texts to standard
// error and answers with the button titled "Resume" (or the default button when there is
// none). PavoUI replaces the alert with a Qt dialog when a QApplication with a display
// exists. All functions are meant for the main thread; the hooks are plain process-wide
// settings without locks.
#pragma once

#include <QString>
#include <QStringList>

#include <functional>

/// One alert to show: a header, a message and up to three buttons.
struct PvAlertRequest {
    QString header;
    QString message;
    QString defaultButton; ///< always shown
    QString alternateButton; ///< empty: no such button
    QString otherButton; ///< empty: no such button
    double timeoutSeconds = 0; ///< 0 waits for ever; otherwise the alert gives up after this time
    bool critical = false; ///< drawn as a critical alert where the dialog supports it
};

/// Answers of an alert. A time-out, or a dialog closed without a button, is a cancel.
enum PvAlertResponse : int {
    kPvAlertDefaultResponse = 0,
    kPvAlertAlternateResponse = 1,
    kPvAlertOtherResponse = 2,
    kPvAlertCancelResponse = 3,
};

/// Shows an alert and returns one of PvAlertResponse.
using PvAlertHandler = std::function<int(const PvAlertRequest&)>;

/// Installs the handler that PvRunAlert uses; an empty handler restores PvConsoleAlert.
void PvSetAlertHandler(PvAlertHandler handler);
/// Shows an alert through the installed handler and returns its response.
int PvRunAlert(const PvAlertRequest& request);
/// The alert without a user interface: writes header, message and buttons to standard
/// error and answers with the button titled "Resume", else the default button.
int PvConsoleAlert(const PvAlertRequest& request);

/// True when a debugger is attached to this process (TracerPid in /proc/self/status).
bool PvIsDebuggerAttached();
/// Stops in the debugger when one is attached, then continues; does nothing otherwise.
/// A replacement installed with PvSetDebuggerBreak runs instead (null restores the default).
void PvBreakIntoDebugger();
void PvSetDebuggerBreak(void (*breakFunction)());

/// Ends the process at once with the given status, without running exit handlers.
/// A replacement installed with PvSetExitNow runs instead (null restores the default);
/// only with a replacement may this function return.
void PvExitNow(int status);
void PvSetExitNow(void (*exitFunction)(int status));

/// Captures the call stack of the calling thread as return addresses written in
/// hexadecimal and separated by two blanks ("0x4005d2  0x4007a1"), innermost first,
/// leaving out the innermost `skip` frames and this function itself.
QString PvCaptureStackTrace(int skip = 0);

/// Starts the symboliser (addr2line) for the addresses of a trace made by
/// PvCaptureStackTrace, one process for each loaded object the addresses fall in, with
/// its output going to standard error. The processes are not awaited. Returns how many
/// were started; addresses outside every loaded object are skipped.
int PvSymbolizeStackTrace(const QStringList& addresses);
