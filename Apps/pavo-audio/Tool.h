// Shared pieces of the pavo-audio commands: messages, the list of failures of a batch,
// four-character codes on the command line, container names and option parsing.
#pragma once

#include <Pavo/PavoCore.h>

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <vector>

namespace pavoaudio {

/// Exit statuses of the tool.
enum ExitStatus : int {
    kExitOK = 0,
    kExitFailures = 1, ///< at least one file failed
    kExitUsage = 2, ///< the command line was wrong
};

/// Writes text to standard output / standard error in the locale's encoding.
void out(const QString& text);
void err(const QString& text);

/// "fnfErr (-43): file not found"; codes the framework does not name are shown as
/// their number (and as four characters when they spell some).
QString describeResult(OSStatus code);

/// The errno value that says in the system's words what a result code means, or 0 for
/// codes that are no system condition.
int errnoFor(OSStatus code);
/// "No such file or directory (fnfErr -43)": the system's words first when there are
/// some (`errnum`, else errnoFor(code)), then the result code.
QString describeFailure(OSStatus code, int errnum = 0);
/// errno after a failed write when it says why in a way worth telling (file too large,
/// disk or quota full, read-only or failing device), else 0. The service's result
/// codes leave these conditions unnamed.
int writeErrno();
/// Why `path` cannot be opened for reading as the system sees it (EISDIR for a
/// folder), or 0 when it can.
int openErrno(const QString& path);

/// The file-system result code closest to an errno value (fnfErr, permErr, ...;
/// ioErr when none is closer).
OSStatus resultForErrno(int errnum);

/// A file name as it is shown: control characters escaped as sha256sum does ("\n",
/// "\r", "\\"; others as "\xHH"). `escaped` tells whether anything was.
QString displayName(const QString& name, bool* escaped = nullptr);

/// The refusal of an output that is one of the inputs.
inline const QString kIsTheInput
    = QStringLiteral("is an input of this command (the same file); refused even with --force");

/// Collects the files that failed in a batch. Each failure is reported once, as it
/// happens; the end of a batch of several items says how many failed and, when more
/// than one did, which.
class Failures {
public:
    /// Reports "pavo-audio: FILE: WHAT: <failure>" on standard error and keeps the file.
    void add(const QString& file, const QString& what, OSStatus code, int errnum = 0);
    /// "cannot open" with the system's reason for the path when it has one.
    void addOpen(const QString& file, OSStatus code);
    /// A failure the system reported as `errnum`.
    void addErrno(const QString& file, const QString& what, int errnum);
    /// An existing output left alone.
    void addNotOverwritten(const QString& file);
    /// The same with a reason in words.
    void addText(const QString& file, const QString& reason);
    bool empty() const { return m_files.empty(); }
    int count() const { return int(m_files.size()); }
    /// Prints the summary (when more than one item was handled and some failed);
    /// returns the exit status (kExitOK or kExitFailures).
    int finish(int handled) const;

private:
    std::vector<QString> m_files;
};

/// A four-character code as text: the four characters when they are printable, else
/// 0xXXXXXXXX.
QString fourCCText(uint32_t code);
/// Parses four printable ASCII characters ("basc", "ID3 ") or 0x and eight hex digits
/// ("0x62617363"); false for anything else and for 0.
bool parseFourCC(const QString& text, uint32_t* out);

/// Display name of a container type ("AIFF", "AIFC", "WAVE", "CAF", "SD2").
QString containerName(uint32_t fileType);
/// Container type of a --format value (aiff, aifc, wave/wav, caf, sd2); 0 if none.
uint32_t containerFromOption(const QString& name);
/// Container type that a file name's extension asks for through the naming rules
/// (".aifc" gives 'AIFC'); 0 when the extension names no container the tool writes.
uint32_t containerFromName(const QString& fileName);
/// The extension (with its dot) that new files of a container get.
QString extensionFor(uint32_t fileType);

/// Prints the manual page of a command ("" for the tool itself).
void printHelp(const QString& command);
/// Whether `command` has a manual page.
bool hasHelp(const QString& command);
/// The command names.
QStringList commandNames();
/// Prints the short usage on standard error.
void printUsage();
/// Parses `args` (the command's own, without the program and command names) with the
/// parser's options plus --help. Returns -1 to go on; otherwise the exit status to
/// return at once (help printed or usage error reported).
int parseCommand(QCommandLineParser& parser, const QString& command, const QStringList& args);
/// Reports a usage error for `command` and returns kExitUsage.
int usageError(const QString& command, const QString& message);

/// Sample layout options shared by convert and stereo: --format, --bits, --float.
struct TargetOptions {
    uint32_t fileType = 0; ///< 0: decided by the caller
    int bits = 0; ///< 0: keep the source's
    bool isFloat = false;
    bool floatGiven = false;
};
void addTargetOptions(QCommandLineParser& parser);
/// Reads --format, --bits and --float; false (with the message) when a value is wrong.
bool readTargetOptions(const QCommandLineParser& parser, TargetOptions* out, QString* message);

/// Whether a file name's extension names audio that the tool does not read: the naming
/// rules' other types (MP3, MP4, AAC) and the common formats they leave out (FLAC, Ogg,
/// Wave64, ...).
bool isOtherAudioName(const QString& fileName);
/// Whether a file name's extension names any audio file.
bool isAudioName(const QString& fileName);

/// Whether the path names an existing file or folder (also a dangling link).
bool pathExists(const QString& path);

} // namespace pavoaudio
