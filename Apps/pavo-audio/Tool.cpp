#include "Tool.h"

#include <QFileInfo>

#include <QFile>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace pavoaudio {

void out(const QString& text)
{
    const QByteArray bytes = text.toLocal8Bit();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
}

void err(const QString& text)
{
    std::fflush(stdout);
    const QByteArray bytes = text.toLocal8Bit();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
    std::fflush(stderr);
}

QString describeResult(OSStatus code)
{
    const char* name = PvResultCodeName(code);
    const char* meaning = PvResultCodeMeaning(code);
    if (name != nullptr) {
        const QString chars = fourCCText(uint32_t(code));
        const QString number = code > 0x1FFFFFFF && !chars.startsWith(QLatin1String("0x"))
            ? QStringLiteral("'%1'").arg(chars)
            : QString::number(code);
        return QStringLiteral("%1 (%2): %3")
            .arg(QString::fromLatin1(name), number, QString::fromUtf8(meaning));
    }
    QString text = QStringLiteral("result code %1").arg(code);
    const QString chars = fourCCText(uint32_t(code));
    if (!chars.startsWith(QLatin1String("0x")))
        text += QStringLiteral(" ('%1')").arg(chars);
    return text + QStringLiteral(": unknown result code");
}

int errnoFor(OSStatus code)
{
    switch (code) {
    case fnfErr:
    case dirNFErr:
        return ENOENT;
    case permErr:
    case wrPermErr:
    case kAudioFilePermissionsError:
        return EACCES;
    case notAFileErr:
        return EISDIR;
    case dskFulErr:
        return ENOSPC;
    case kAudioFileDoesNotAllow64BitDataSizeError:
        return EFBIG;
    case dupFNErr:
        return EEXIST;
    default:
        return 0;
    }
}

QString describeFailure(OSStatus code, int errnum)
{
    if (errnum == 0)
        errnum = errnoFor(code);
    if (errnum == 0)
        return describeResult(code);
    const QString words = QString::fromLocal8Bit(std::strerror(errnum));
    const char* name = PvResultCodeName(code);
    return name != nullptr ? QStringLiteral("%1 (%2 %3)").arg(words, QString::fromLatin1(name)).arg(code)
                           : QStringLiteral("%1 (result code %2)").arg(words).arg(code);
}

int writeErrno()
{
    const int e = errno;
    return e == EFBIG || e == ENOSPC || e == EDQUOT || e == EROFS || e == EIO ? e : 0;
}

int openErrno(const QString& path)
{
    // Non-blocking: a pipe without a writer must not stop the tool here.
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0)
        return errno;
    struct stat st { };
    const bool dir = ::fstat(fd, &st) == 0 && S_ISDIR(st.st_mode);
    ::close(fd);
    return dir ? EISDIR : 0;
}

OSStatus resultForErrno(int errnum)
{
    switch (errnum) {
    case ENOENT:
        return fnfErr;
    case EACCES:
    case EPERM:
        return permErr;
    case EISDIR:
        return notAFileErr;
    case ENOTDIR:
        return dirNFErr;
    case ENOSPC:
        return dskFulErr;
    default:
        return ioErr;
    }
}

QString displayName(const QString& name, bool* escaped)
{
    QString text;
    bool any = false;
    for (QChar c : name) {
        const char16_t u = c.unicode();
        if (u == '\\') {
            text += QStringLiteral("\\\\");
            continue;
        }
        if (u >= 0x20 && u != 0x7F) {
            text += c;
            continue;
        }
        any = true;
        if (u == '\n')
            text += QStringLiteral("\\n");
        else if (u == '\r')
            text += QStringLiteral("\\r");
        else
            text += QStringLiteral("\\x%1").arg(int(u), 2, 16, QLatin1Char('0'));
    }
    if (escaped != nullptr)
        *escaped = any;
    // Like sha256sum, backslashes are doubled only when the name needed escaping at all.
    return any ? text : name;
}

void Failures::add(const QString& file, const QString& what, OSStatus code, int errnum)
{
    addText(file, what + QStringLiteral(": ") + describeFailure(code, errnum));
}

void Failures::addOpen(const QString& file, OSStatus code)
{
    // The system's own reason for the path, when it has one, says more than the code
    // (a loop of links is "not found" to the service).
    add(file, QStringLiteral("cannot open"), code, openErrno(file));
}

void Failures::addErrno(const QString& file, const QString& what, int errnum)
{
    add(file, what, resultForErrno(errnum), errnum);
}

void Failures::addNotOverwritten(const QString& file)
{
    addText(file, QStringLiteral("exists; not overwritten without --force"));
}

void Failures::addText(const QString& file, const QString& reason)
{
    err(QStringLiteral("pavo-audio: ") + displayName(file) + QStringLiteral(": ") + reason
        + QLatin1Char('\n'));
    m_files.push_back(file);
}

int Failures::finish(int handled) const
{
    if (m_files.empty())
        return kExitOK;
    if (handled > 1) {
        err(QStringLiteral("pavo-audio: %1 of %2 failed").arg(m_files.size()).arg(handled));
        if (m_files.size() > 1) {
            QStringList names;
            for (const QString& f : m_files)
                names << displayName(f);
            err(QStringLiteral(": ") + names.join(QStringLiteral(", ")));
        }
        err(QStringLiteral("\n"));
    }
    return kExitFailures;
}

QString fourCCText(uint32_t code)
{
    QString text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const char c = char((code >> shift) & 0xFF);
        if (c < 0x20 || c > 0x7E)
            return QStringLiteral("0x%1").arg(code, 8, 16, QLatin1Char('0'));
        text += QLatin1Char(c);
    }
    return text;
}

bool parseFourCC(const QString& text, uint32_t* out)
{
    uint32_t value = 0;
    if (text.size() == 10 && text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive)) {
        for (qsizetype i = 2; i < 10; ++i) {
            const char16_t c = text.at(i).toLower().unicode();
            const int digit = c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
            if (digit < 0)
                return false;
            value = (value << 4) | uint32_t(digit);
        }
    } else if (text.size() == 4) {
        for (QChar c : text) {
            if (c.unicode() < 0x20 || c.unicode() > 0x7E)
                return false;
            value = (value << 8) | uint32_t(c.unicode());
        }
    } else {
        return false;
    }
    if (value == 0)
        return false;
    *out = value;
    return true;
}

QString containerName(uint32_t fileType)
{
    switch (fileType) {
    case kAudioFileAIFFType:
        return QStringLiteral("AIFF");
    case kAudioFileAIFCType:
        return QStringLiteral("AIFC");
    case kAudioFileWAVEType:
        return QStringLiteral("WAVE");
    case kAudioFileRF64Type:
        return QStringLiteral("RF64");
    case kAudioFileCAFType:
        return QStringLiteral("CAF");
    case kAudioFileSoundDesigner2Type:
        return QStringLiteral("SD2");
    default:
        return fourCCText(fileType);
    }
}

uint32_t containerFromOption(const QString& name)
{
    const QString n = name.toLower();
    if (n == QLatin1String("aiff") || n == QLatin1String("aif"))
        return kAudioFileAIFFType;
    if (n == QLatin1String("aifc"))
        return kAudioFileAIFCType;
    if (n == QLatin1String("wave") || n == QLatin1String("wav"))
        return kAudioFileWAVEType;
    if (n == QLatin1String("caf") || n == QLatin1String("caff"))
        return kAudioFileCAFType;
    if (n == QLatin1String("sd2"))
        return kAudioFileSoundDesigner2Type;
    return 0;
}

uint32_t containerFromName(const QString& fileName)
{
    if (fileName.endsWith(QLatin1String(".aifc"), Qt::CaseInsensitive))
        return kAudioFileAIFCType; // the naming rules read both as 'AIFF'
    const QByteArray native = QFileInfo(fileName).fileName().toUtf8();
    const uint32_t type = CFileUtilFileTypeFromName(native.constData());
    switch (type) {
    case kAudioFileAIFFType:
    case kAudioFileWAVEType:
    case kAudioFileCAFType:
    case kAudioFileSoundDesigner2Type:
        return type;
    default:
        return 0;
    }
}

QString extensionFor(uint32_t fileType)
{
    if (fileType == kAudioFileAIFCType)
        return QStringLiteral(".aifc");
    const tAudioFileType* row = CFileUtilGetPointAudioFileType(int32_t(fileType));
    return row != nullptr ? QString::fromLatin1(row->extension) : QString();
}

int usageError(const QString& command, const QString& message)
{
    const QString prefix
        = command.isEmpty() ? QStringLiteral("pavo-audio") : QStringLiteral("pavo-audio ") + command;
    err(prefix + QStringLiteral(": ") + message + QStringLiteral("\nTry '") + prefix
        + QStringLiteral(" --help'.\n"));
    return kExitUsage;
}

int parseCommand(QCommandLineParser& parser, const QString& command, const QStringList& args)
{
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    const QCommandLineOption help(QStringList {QStringLiteral("h"), QStringLiteral("help")});
    parser.addOption(help);
    QStringList all = args;
    all.prepend(QStringLiteral("pavo-audio"));
    if (!parser.parse(all))
        return usageError(command, parser.errorText());
    if (parser.isSet(help)) {
        printHelp(command);
        return kExitOK;
    }
    return -1;
}

void addTargetOptions(QCommandLineParser& parser)
{
    parser.addOption(QCommandLineOption(QStringLiteral("format"), QString(), QStringLiteral("container")));
    parser.addOption(QCommandLineOption(QStringLiteral("bits"), QString(), QStringLiteral("bits")));
    parser.addOption(QCommandLineOption(QStringLiteral("float")));
}

bool readTargetOptions(const QCommandLineParser& parser, TargetOptions* target, QString* message)
{
    if (parser.isSet(QStringLiteral("format"))) {
        target->fileType = containerFromOption(parser.value(QStringLiteral("format")));
        if (target->fileType == 0) {
            *message = QStringLiteral("unknown --format '%1' (aiff, aifc, wave, caf or sd2)")
                           .arg(parser.value(QStringLiteral("format")));
            return false;
        }
    }
    target->floatGiven = parser.isSet(QStringLiteral("float"));
    target->isFloat = target->floatGiven;
    if (parser.isSet(QStringLiteral("bits"))) {
        bool ok = false;
        target->bits = parser.value(QStringLiteral("bits")).toInt(&ok);
        if (!ok || (target->bits != 8 && target->bits != 16 && target->bits != 24 && target->bits != 32)) {
            *message = QStringLiteral("--bits must be 8, 16, 24 or 32");
            return false;
        }
        if (target->isFloat && target->bits != 32) {
            *message = QStringLiteral("--float stores 32-bit samples; --bits %1 does not go with it")
                           .arg(target->bits);
            return false;
        }
    }
    if (target->isFloat)
        target->bits = 32;
    return true;
}

bool isOtherAudioName(const QString& fileName)
{
    const QByteArray native = fileName.toUtf8();
    switch (CFileUtilFileTypeFromName(native.constData())) {
    case 0:
        break;
    case kAudioFileAIFFType:
    case kAudioFileWAVEType:
    case kAudioFileCAFType:
    case kAudioFileSoundDesigner2Type:
        return false;
    default:
        return true; // a type of the naming rules that is no container of the tool
    }
    static const char* const more[] = {"flac", "ogg", "oga", "opus", "w64", "mp2", "aac", "wma", "ape", "wv",
        "au", "snd", "voc", "amr", "ac3", "dts", "mka", "aup", "rx2", "rex", "mid", "midi"};
    const qsizetype dot = fileName.lastIndexOf(QLatin1Char('.'));
    if (dot < 0)
        return false;
    const QString ext = fileName.mid(dot + 1).toLower();
    for (const char* e : more) {
        if (ext == QLatin1String(e))
            return true;
    }
    return false;
}

bool isAudioName(const QString& fileName)
{
    return containerFromName(fileName) != 0 || fileName.endsWith(QLatin1String(".aiff"), Qt::CaseInsensitive)
        || isOtherAudioName(fileName);
}

bool pathExists(const QString& path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

} // namespace pavoaudio
