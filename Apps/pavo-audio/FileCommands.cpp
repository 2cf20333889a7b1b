// info, chunks and crc: the commands that look at or edit single files in place.
#include "AudioAccess.h"
#include "Commands.h"
#include "Inspect.h"
#include "Output.h"
#include "Tool.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <cerrno>
#include <cstdio>

namespace pavoaudio {

int runInfo(const QStringList& args)
{
    QCommandLineParser parser;
    parser.addOption(QCommandLineOption(QStringLiteral("json")));
    if (const int status = parseCommand(parser, QStringLiteral("info"), args); status >= 0)
        return status;
    const QStringList files = parser.positionalArguments();
    if (files.isEmpty())
        return usageError(QStringLiteral("info"), QStringLiteral("no file given"));
    const bool json = parser.isSet(QStringLiteral("json"));
    Failures failures;
    QJsonArray array;
    bool first = true;
    for (const QString& path : files) {
        FileReport report;
        if (!inspectFile(path, &report, true))
            failures.add(path, report.failedStep, report.error, report.sysErrno);
        if (json) {
            array.append(reportJson(report));
        } else if (report.error == noErr) {
            out((first ? QString() : QStringLiteral("\n")) + reportText(report));
            first = false;
        }
    }
    if (json)
        out(QString::fromUtf8(QJsonDocument(array).toJson(QJsonDocument::Indented)));
    return failures.finish(int(files.size()));
}

namespace {

/// The chunks that make up a container rather than ride in it.
bool isOwnChunk(uint32_t fileType, uint32_t id)
{
    static const uint32_t aiff[] = {PvFourCC("FORM"), PvFourCC("COMM"), PvFourCC("SSND"), PvFourCC("FVER")};
    static const uint32_t wave[] = {PvFourCC("RIFF"), PvFourCC("RF64"), PvFourCC("WAVE"), PvFourCC("fmt "),
        PvFourCC("data"), PvFourCC("ds64")};
    static const uint32_t caf[] = {PvFourCC("caff"), PvFourCC("desc"), PvFourCC("data"), PvFourCC("free")};
    auto in = [id](const auto& list) {
        return std::find(std::begin(list), std::end(list), id) != std::end(list);
    };
    switch (fileType) {
    case kAudioFileAIFFType:
    case kAudioFileAIFCType:
        return in(aiff);
    case kAudioFileWAVEType:
    case kAudioFileRF64Type:
        return in(wave);
    case kAudioFileCAFType:
        return in(caf);
    default:
        return false;
    }
}

bool readWholeFile(const QString& path, std::vector<uint8_t>* data, QString* reason)
{
    QFile file;
    const bool fromStdin = path == QLatin1String("-");
    const bool opened = fromStdin ? file.open(stdin, QIODevice::ReadOnly)
                                  : (file.setFileName(path), file.open(QIODevice::ReadOnly));
    if (!opened) {
        *reason = QStringLiteral("cannot read the payload: ") + file.errorString();
        return false;
    }
    const QByteArray bytes = file.readAll();
    data->assign(bytes.begin(), bytes.end());
    return true;
}

int chunksList(QCommandLineParser& parser)
{
    const QStringList files = parser.positionalArguments().mid(1);
    if (files.isEmpty())
        return usageError(QStringLiteral("chunks"), QStringLiteral("list: no file given"));
    Failures failures;
    for (const QString& path : files) {
        AudioAccess file;
        OSStatus e = file.open(path, false);
        std::vector<ChunkEntry> chunks;
        if (e == noErr)
            e = file.listChunks(chunks);
        if (e != noErr) {
            if (file.isOpen())
                failures.add(path, QStringLiteral("cannot list chunks"), e);
            else
                failures.addOpen(path, e);
            continue;
        }
        if (files.size() > 1)
            out(displayName(path) + QStringLiteral(":\n"));
        for (const ChunkEntry& c : chunks)
            out(QStringLiteral("%1%2 %3 %4\n")
                    .arg(files.size() > 1 ? QStringLiteral("  ") : QString())
                    .arg(QStringLiteral("'%1'").arg(fourCCText(c.id)), -12)
                    .arg(c.index)
                    .arg(c.size, 10));
    }
    return failures.finish(int(files.size()));
}

} // namespace

int runChunks(const QStringList& args)
{
    QCommandLineParser parser;
    parser.addOption(
        QCommandLineOption(QStringLiteral("index"), QString(), QStringLiteral("n"), QStringLiteral("0")));
    parser.addOption(QCommandLineOption(
        QStringList {QStringLiteral("o"), QStringLiteral("output")}, QString(), QStringLiteral("file")));
    parser.addOption(QCommandLineOption(QStringLiteral("force")));
    if (const int status = parseCommand(parser, QStringLiteral("chunks"), args); status >= 0)
        return status;
    const QStringList pos = parser.positionalArguments();
    if (pos.isEmpty())
        return usageError(QStringLiteral("chunks"), QStringLiteral("say list, get, set or remove"));
    const QString action = pos.at(0);
    if (action == QLatin1String("list"))
        return chunksList(parser);

    const bool isGet = action == QLatin1String("get"), isSet = action == QLatin1String("set"),
               isRemove = action == QLatin1String("remove");
    if (!isGet && !isSet && !isRemove)
        return usageError(QStringLiteral("chunks"),
            QStringLiteral("unknown action '%1' (list, get, set or remove)").arg(action));
    const qsizetype wanted = isSet ? 4 : 3;
    if (pos.size() != wanted)
        return usageError(QStringLiteral("chunks"),
            isSet ? QStringLiteral("set takes FILE ID PAYLOAD")
                  : QStringLiteral("%1 takes FILE ID").arg(action));
    const QString path = pos.at(1);
    uint32_t id = 0;
    if (!parseFourCC(pos.at(2), &id))
        return usageError(QStringLiteral("chunks"),
            QStringLiteral(
                "'%1' is no chunk ID (4 printable ASCII characters, or 0x and 8 hex digits, not 0)")
                .arg(pos.at(2)));
    bool ok = false;
    const uint32_t index = parser.value(QStringLiteral("index")).toUInt(&ok);
    if (!ok)
        return usageError(QStringLiteral("chunks"), QStringLiteral("--index takes a number"));
    const bool force = parser.isSet(QStringLiteral("force"));
    const QString idText = QStringLiteral("'%1'").arg(fourCCText(id));

    Failures failures;
    AudioAccess file;
    OSStatus e = file.open(path, !isGet);
    if (e != noErr) {
        failures.addOpen(path, e);
        return failures.finish(1);
    }
    if (isOwnChunk(file.fileType(), id)) {
        failures.addText(path,
            QStringLiteral("chunk %1 is part of the %2 container itself, not a metadata chunk")
                .arg(idText, containerName(file.fileType())));
        return failures.finish(1);
    }
    if (isGet) {
        std::vector<uint8_t> payload;
        if ((e = file.readChunk(id, index, payload)) != noErr) {
            failures.add(path, QStringLiteral("cannot read chunk %1 #%2").arg(idText).arg(index), e);
            return failures.finish(1);
        }
        if (!parser.isSet(QStringLiteral("output"))) {
            std::fwrite(payload.data(), 1, payload.size(), stdout);
            return std::fflush(stdout) == 0 ? kExitOK : kExitFailures;
        }
        const QString target = parser.value(QStringLiteral("output"));
        if (sameFile(path, target)) {
            failures.addText(target, kIsTheInput);
            return failures.finish(1);
        }
        if (pathExists(target) && !force) {
            failures.addNotOverwritten(target);
            return failures.finish(1);
        }
        PendingOutput pending;
        pending.begin(target, force);
        QFile outFile(pending.temporary());
        if (!outFile.open(QIODevice::WriteOnly | QIODevice::NewOnly)
            || outFile.write(reinterpret_cast<const char*>(payload.data()), qint64(payload.size()))
                != qint64(payload.size())
            || !outFile.flush()) {
            failures.addText(target, QStringLiteral("cannot write the payload: ") + outFile.errorString());
            return failures.finish(1);
        }
        outFile.close();
        if (!pending.commit()) {
            failures.addErrno(target, QStringLiteral("cannot put the file in place"), errno);
            return failures.finish(1);
        }
        return kExitOK;
    }
    const uint32_t present = file.countChunks(id);
    if (isSet) {
        std::vector<uint8_t> payload;
        QString reason;
        if (!readWholeFile(pos.at(3), &payload, &reason)) {
            failures.addText(pos.at(3), reason);
            return failures.finish(1);
        }
        if (payload.empty()) {
            failures.addText(
                pos.at(3), QStringLiteral("the payload is empty (use chunks remove to remove a chunk)"));
            return failures.finish(1);
        }
        if (index > present) {
            failures.addText(path,
                QStringLiteral(
                    "chunk %1 #%2 cannot be added: the file has %3 such chunk(s); the next index is %3")
                    .arg(idText)
                    .arg(index)
                    .arg(present));
            return failures.finish(1);
        }
        if (index < present && !force) {
            failures.addText(path,
                QStringLiteral("chunk %1 #%2 is present; not replaced without --force")
                    .arg(idText)
                    .arg(index));
            return failures.finish(1);
        }
        if ((e = file.writeChunk(id, index, payload)) != noErr) {
            failures.add(path, QStringLiteral("cannot write chunk %1").arg(idText), e);
            return failures.finish(1);
        }
        out(QStringLiteral("%1: %2 chunk %3 #%4 (%5 bytes)\n")
                .arg(path, index < present ? QStringLiteral("replaced") : QStringLiteral("added"), idText)
                .arg(index)
                .arg(payload.size()));
    } else {
        if ((e = file.removeChunk(id, index)) != noErr) {
            failures.add(path, QStringLiteral("cannot remove chunk %1 #%2").arg(idText).arg(index), e);
            return failures.finish(1);
        }
        out(QStringLiteral("%1: removed chunk %2 #%3\n").arg(path, idText).arg(index));
    }
    if ((e = file.close()) != noErr) {
        failures.add(path, QStringLiteral("cannot finish the file"), e);
        return failures.finish(1);
    }
    return kExitOK;
}

namespace {

/// CFileIO::CRC of a file that an FSSpec can name (a name of at most 31 ASCII
/// characters); false when the file cannot be reached that way.
bool frameworkFileCrc(const QString& path, uint32_t* crc, int64_t* length)
{
    const QFileInfo info(path);
    const QString name = info.fileName();
    bool ascii = !name.isEmpty() && name.size() <= 31;
    for (QChar c : name)
        ascii = ascii && c.unicode() >= 0x20 && c.unicode() < 0x7F;
    if (!ascii)
        return false;
    CFileRef ref(QFile::encodeName(info.absoluteFilePath()).constData(), 0);
    FSSpec fsSpec {};
    if (!ref.GetFSSpec(&fsSpec)
        || QByteArray(reinterpret_cast<const char*>(fsSpec.name + 1), fsSpec.name[0]) != name.toLatin1())
        return false;
    CFileIO file;
    if (file.OpenRead(&fsSpec) != noErr)
        return false;
    *length = file.GetEOF();
    *crc = file.CRC();
    file.Close();
    // CRC() gives 0xFFFFFFFF for a failed read; that value is checked the long way.
    return *crc != 0xFFFFFFFFu;
}

/// One line of crc: like sha256sum, a name that needed escaping starts the line with a
/// backslash.
QString crcLine(uint32_t crc, int64_t total, const QString& path)
{
    bool escaped = false;
    const QString name = displayName(path, &escaped);
    return QStringLiteral("%1%2  %3  %4\n")
        .arg(escaped ? QStringLiteral("\\") : QString())
        .arg(crc, 8, 16, QLatin1Char('0'))
        .arg(total, 10)
        .arg(name);
}

} // namespace

int runCrc(const QStringList& args)
{
    QCommandLineParser parser;
    if (const int status = parseCommand(parser, QStringLiteral("crc"), args); status >= 0)
        return status;
    const QStringList files = parser.positionalArguments();
    if (files.isEmpty())
        return usageError(QStringLiteral("crc"), QStringLiteral("no file given"));
    Failures failures;
    std::vector<unsigned char> block(1 << 20);
    for (const QString& path : files) {
        QFile file(path);
        if (const int errnum = openErrno(path); errnum != 0) {
            failures.add(path, QStringLiteral("cannot open"), resultForErrno(errnum), errnum);
            continue;
        }
        if (!file.open(QIODevice::ReadOnly)) {
            failures.add(path, QStringLiteral("cannot open"), ioErr);
            continue;
        }
        uint32_t crc = 0;
        int64_t total = 0;
        if (frameworkFileCrc(path, &crc, &total)) {
            out(crcLine(crc, total, path));
            continue;
        }
        crc = 0;
        total = 0;
        bool failed = false;
        for (;;) {
            const qint64 n = file.read(reinterpret_cast<char*>(block.data()), qint64(block.size()));
            if (n < 0) {
                failed = true;
                break;
            }
            if (n == 0)
                break;
            crc = PVCRC32(crc, block.data(), uint32_t(n));
            total += n;
        }
        if (failed) {
            failures.add(path, QStringLiteral("cannot read"), ioErr, EIO);
            continue;
        }
        out(crcLine(crc, total, path));
    }
    return failures.finish(int(files.size()));
}

} // namespace pavoaudio
