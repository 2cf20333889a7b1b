// Helpers shared by the test programs.
#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>

namespace PavoTest {

/// Folder where tests leave files for a person to look at (rendered controls as PNG).
/// Taken from PAVO_TEST_OUTPUT_DIR, else a folder in the temporary directory; created on demand.
QString outputDir();

/// Reads a whole file; an empty array when it cannot be read.
QByteArray readFile(const QString& path);

/// Writes a whole file; false when it cannot be written.
bool writeFile(const QString& path, const QByteArray& bytes);

/// Captures what is written to the standard error stream (file descriptor 2) between
/// construction and text(), for checking trace output.
class StderrCapture {
public:
    StderrCapture();
    ~StderrCapture();
    StderrCapture(const StderrCapture&) = delete;
    StderrCapture& operator=(const StderrCapture&) = delete;
    /// Stops capturing (if still capturing) and returns everything written.
    QByteArray text();

private:
    int m_savedFd = -1;
    int m_captureFd = -1;
    QByteArray m_text;
    bool m_done = false;
};

/// Sets an environment variable (or clears it, for a null value) for the life of the
/// object, then restores what was there before.
class EnvVar {
public:
    EnvVar(const char* name, const QByteArray& value)
        : m_name(name)
        , m_had(qEnvironmentVariableIsSet(name))
        , m_old(qgetenv(name))
    {
        if (value.isNull())
            qunsetenv(name);
        else
            qputenv(name, value);
    }
    ~EnvVar()
    {
        if (m_had)
            qputenv(m_name, m_old);
        else
            qunsetenv(m_name);
    }
    EnvVar(const EnvVar&) = delete;
    EnvVar& operator=(const EnvVar&) = delete;

private:
    const char* m_name;
    bool m_had;
    QByteArray m_old;
};

} // namespace PavoTest
