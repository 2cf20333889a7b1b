// Running pavo-audio and sox as processes, and reading their results.
#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <initializer_list>

#include <TestSupport.h>

/// File helpers shared by the tool tests.
using PavoTest::readFile;
using PavoTest::writeFile;

/// The arguments of a command line.
inline QStringList args(std::initializer_list<const char*> list)
{
    QStringList out;
    for (const char* s : list)
        out << QString::fromUtf8(s);
    return out;
}

struct RunResult {
    int status = -1; ///< exit status; -1 when the program crashed or did not start
    QByteArray out;
    QByteArray err;
    QString errText() const { return QString::fromUtf8(err); }
    QString outText() const { return QString::fromUtf8(out); }
};

/// Runs a program in `dir` with standard input `input`; standard error is not a terminal.
inline RunResult runProgram(const QString& program, const QStringList& args, const QString& dir,
    const QByteArray& input = QByteArray())
{
    QProcess p;
    p.setWorkingDirectory(dir);
    p.start(program, args);
    RunResult r;
    if (!p.waitForStarted(10000))
        return r;
    p.write(input);
    p.closeWriteChannel();
    p.waitForFinished(120000);
    r.out = p.readAllStandardOutput();
    r.err = p.readAllStandardError();
    r.status = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    return r;
}

/// A scratch folder with the tool and sox at hand.
class ToolFolder {
public:
    QString path(const QString& name) const { return m_dir.filePath(name); }
    QString dir() const { return m_dir.path(); }

    /// The tool's program file.
    static QString program()
    {
        // PAVO_AUDIO_TOOL in the environment runs another build of the tool (a sanitizer one).
        return qEnvironmentVariableIsSet("PAVO_AUDIO_TOOL") ? qEnvironmentVariable("PAVO_AUDIO_TOOL")
                                                            : QStringLiteral(PAVO_AUDIO_TOOL);
    }
    RunResult tool(const QStringList& args, const QByteArray& input = QByteArray()) const
    {
        return runProgram(program(), args, m_dir.path(), input);
    }
    /// The tool through /bin/sh, after `setup` (a shell command such as "ulimit -f 8").
    RunResult toolAfter(const QString& setup, const QStringList& args) const
    {
        QStringList all {QStringLiteral("-c"), setup + QStringLiteral("; exec \"$0\" \"$@\""), program()};
        return runProgram(QStringLiteral("/bin/sh"), all + args, m_dir.path());
    }
    /// sox; true when it succeeded.
    bool sox(const QStringList& args) const
    {
        return runProgram(QStringLiteral(PAVO_SOX), args, m_dir.path()).status == 0;
    }
    /// A sine tone made by sox: `channels` channels (the second a fifth higher), `bits`
    /// signed integer bits, `seconds` long; `type` forces sox's file type (for names
    /// without an extension).
    bool tone(const QString& name, int channels, int bits, int rate, double seconds, double hz = 440,
        const QString& type = QString()) const
    {
        QStringList args {QStringLiteral("-n"), QStringLiteral("-r"), QString::number(rate),
            QStringLiteral("-b"), QString::number(bits), QStringLiteral("-c"), QString::number(channels)};
        if (!type.isEmpty())
            args << QStringLiteral("-t") << type;
        args << name << QStringLiteral("synth") << QString::number(seconds) << QStringLiteral("sine")
             << QString::number(hz);
        if (channels == 2)
            args << QStringLiteral("sine") << QString::number(hz * 1.5);
        args << QStringLiteral("vol") << QStringLiteral("0.8");
        return sox(args);
    }
    /// The samples of a file as sox decodes them: 32-bit signed little-endian integers,
    /// channels interleaved, no dither.
    QByteArray samples(const QString& name, const QString& type = QString()) const
    {
        QStringList args {QStringLiteral("-D")};
        if (!type.isEmpty())
            args << QStringLiteral("-t") << type;
        args << name << QStringLiteral("-t") << QStringLiteral("raw") << QStringLiteral("-e")
             << QStringLiteral("signed") << QStringLiteral("-b") << QStringLiteral("32")
             << QStringLiteral("-L") << QStringLiteral("-");
        return runProgram(QStringLiteral(PAVO_SOX), args, m_dir.path()).out;
    }
    /// info --json of one file, as its JSON object.
    QJsonObject info(const QString& name) const
    {
        const RunResult r = tool({QStringLiteral("info"), QStringLiteral("--json"), name});
        const QJsonDocument doc = QJsonDocument::fromJson(r.out);
        return doc.array().isEmpty() ? QJsonObject() : doc.array().at(0).toObject();
    }

private:
    QTemporaryDir m_dir;
};
