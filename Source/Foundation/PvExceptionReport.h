// The last-resort report for an exception nobody caught.
//
// The report logs the application, its version and the system to standard error, starts
// the symboliser for the stack trace (not awaited), and shows a critical alert with the
// buttons "Stop" (ask the application to quit), "Resume" (return) and "Crash with crash
// report" (a deliberate crash so that the system keeps a core dump). With no display the
// alert answers "Resume". A report that is already showing is not shown twice.
// Meant for the main thread.
#pragma once

#include <QString>
#include <QVariantMap>

#include <exception>
#include <stdexcept>

/// Key of the stack trace in an exception's user information: return addresses in
/// hexadecimal separated by two blanks, as PvCaptureStackTrace writes them.
inline constexpr char PvStackTraceKey[] = "NSStackTraceKey";

/// A C++ exception that carries a name, user information and the stack trace of the
/// place where it was made.
class PvException : public std::runtime_error {
public:
    /// Captures the stack trace of the caller into userInfo()[PvStackTraceKey] unless
    /// the given user information already has one.
    PvException(const QString& name, const QString& reason, const QVariantMap& userInfo = {});
    QString name() const { return m_name; }
    QString reason() const { return QString::fromUtf8(what()); }
    QVariantMap userInfo() const { return m_userInfo; }

private:
    QString m_name;
    QVariantMap m_userInfo;
};

/// Shows the report for an exception described by name, reason and user information.
/// Without a stack trace in `userInfo`, the log says "No stack trace available.".
void PVDisplayExceptionReport(const QString& name, const QString& reason, const QVariantMap& userInfo);

/// Shows the report for a C++ exception: a PvException with its own name, information and
/// trace; any other exception with its demangled type as name, what() as reason and the
/// stack trace of the place of this call.
void PVDisplayExceptionReport(const std::exception& exception);
