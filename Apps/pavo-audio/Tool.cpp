#include "Tool.h"

#include <QFileInfo>

#include <cstdio>

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

void Failures::add(const QString& file, const QString& what, OSStatus code)
{
    addText(file, what + QStringLiteral(": ") + describeResult(code));
}

void Failures::addText(const QString& file, const QString& reason)
{
    const QString line = file + QStringLiteral(": ") + reason;
    err(QStringLiteral("pavo-audio: ") + line + QLatin1Char('\n'));
    m_lines.push_back(line);
}

int Failures::finish(int handled) const
{
    if (m_lines.empty())
        return kExitOK;
    if (handled > 1) {
        err(QStringLiteral("pavo-audio: %1 of %2 failed:\n").arg(m_lines.size()).arg(handled));
        for (const QString& line : m_lines)
            err(QStringLiteral("  ") + line + QLatin1Char('\n'));
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
    if (text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive) && text.size() > 2 && text.size() <= 10) {
        bool ok = false;
        const uint32_t value = text.mid(2).toUInt(&ok, 16);
        if (ok)
            *out = value;
        return ok;
    }
    if (text.isEmpty() || text.size() > 4)
        return false;
    uint32_t value = 0;
    for (int i = 0; i < 4; ++i) {
        const QChar c = i < text.size() ? text.at(i) : QLatin1Char(' ');
        if (c.unicode() < 0x20 || c.unicode() > 0x7E)
            return false;
        value = (value << 8) | uint32_t(c.unicode());
    }
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

bool pathExists(const QString& path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

} // namespace pavoaudio
