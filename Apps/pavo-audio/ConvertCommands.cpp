// convert and stereo: the commands that write new audio files from existing ones.
#include "AudioAccess.h"
#include "Commands.h"
#include "Inspect.h"
#include "Tool.h"
#include "Transfer.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <map>
#include <set>

namespace pavoaudio {

namespace {

struct Layout {
    uint32_t type = 0;
    int bits = 16;
    bool isFloat = false;
};

/// The layout of a new file: what the options say, else what the source has (doubles
/// become 32-bit floats, odd sizes the next size up).
Layout resolveLayout(const TargetOptions& opt, const AudioAccess& source, uint32_t fallbackType)
{
    Layout l;
    l.type = opt.fileType != 0 ? opt.fileType : fallbackType;
    if (opt.bits != 0) {
        l.bits = opt.bits;
        l.isFloat = opt.isFloat;
    } else if (source.isFloat()) {
        l.bits = 32;
        l.isFloat = true;
    } else {
        const int b = source.bits();
        l.bits = b <= 8 ? 8 : b <= 16 ? 16 : b <= 24 ? 24 : 32;
    }
    return l;
}

QString layoutText(const Layout& l, int channels, double rate)
{
    FileReport r;
    r.fileType = l.type;
    r.bits = l.bits;
    r.isFloat = l.isFloat;
    return QStringLiteral("%1, %2, %3 ch, %4 Hz")
        .arg(containerName(l.type), sampleFormatText(r))
        .arg(channels)
        .arg(rate, 0, 'g', 10);
}

/// Removes what a failed write left behind.
void discard(AudioAccess& file, const QString& path)
{
    file.close();
    QFile::remove(path);
}

int runConvertImpl(const QStringList& args)
{
    QCommandLineParser parser;
    addTargetOptions(parser);
    parser.addOption(QCommandLineOption(QStringLiteral("force")));
    if (const int status = parseCommand(parser, QStringLiteral("convert"), args); status >= 0)
        return status;
    const QStringList pos = parser.positionalArguments();
    if (pos.size() != 2)
        return usageError(QStringLiteral("convert"), QStringLiteral("give IN and OUT"));
    TargetOptions opt;
    QString message;
    if (!readTargetOptions(parser, &opt, &message))
        return usageError(QStringLiteral("convert"), message);
    const QString inPath = pos.at(0), outPath = pos.at(1);
    if (opt.fileType == 0 && (opt.fileType = containerFromName(outPath)) == 0)
        return usageError(QStringLiteral("convert"),
            QStringLiteral("the name '%1' does not say which container to write; give --format")
                .arg(outPath));
    Failures failures;
    AudioAccess in;
    OSStatus e = in.open(inPath, false);
    if (e != noErr) {
        failures.add(inPath, QStringLiteral("cannot open"), e);
        return failures.finish(1);
    }
    const bool force = parser.isSet(QStringLiteral("force"));
    if (QFileInfo(inPath).canonicalFilePath() == QFileInfo(outPath).canonicalFilePath()) {
        failures.addText(outPath, QStringLiteral("is the input file; write to another name"));
        return failures.finish(1);
    }
    if (pathExists(outPath) && !force) {
        failures.add(outPath, QStringLiteral("not overwritten (use --force)"), dupFNErr);
        return failures.finish(1);
    }
    const Layout l = resolveLayout(opt, in, in.fileType());
    AudioAccess outFile;
    if ((e = outFile.create(outPath, l.type, in.channels(), l.bits, l.isFloat, in.sampleRate(), force))
        != noErr) {
        failures.add(outPath,
            QStringLiteral("cannot create (%1)").arg(layoutText(l, in.channels(), in.sampleRate())), e);
        return failures.finish(1);
    }
    std::vector<float> block(size_t(kBlockFrames) * size_t(in.channels()));
    int64_t frame = 0;
    for (;;) {
        uint32_t got = 0;
        if ((e = in.readFloat(block.data(), frame, kBlockFrames, &got)) != noErr) {
            discard(outFile, outPath);
            failures.add(inPath, QStringLiteral("cannot read frame %1").arg(frame), e);
            return failures.finish(1);
        }
        if (got == 0)
            break;
        if ((e = outFile.writeFloat(block.data(), frame, got)) != noErr) {
            discard(outFile, outPath);
            failures.add(outPath, QStringLiteral("cannot write frame %1").arg(frame), e);
            return failures.finish(1);
        }
        frame += got;
    }
    QStringList dropped;
    if ((e = copyChunks(in, outFile, &dropped)) != noErr) {
        discard(outFile, outPath);
        failures.add(outPath, QStringLiteral("cannot copy the chunks"), e);
        return failures.finish(1);
    }
    if ((e = outFile.close()) != noErr) {
        QFile::remove(outPath);
        failures.add(outPath, QStringLiteral("cannot finish the file"), e);
        return failures.finish(1);
    }
    out(QStringLiteral("%1 -> %2 (%3, %4 frames)\n")
            .arg(inPath, outPath, layoutText(l, in.channels(), in.sampleRate()))
            .arg(frame));
    if (!dropped.isEmpty())
        err(QStringLiteral("pavo-audio: %1: %2 cannot carry chunk(s) %3; left out\n")
                .arg(outPath, containerName(l.type), dropped.join(QStringLiteral(", "))));
    return kExitOK;
}

// ---- stereo ----------------------------------------------------------------------

/// The extension a joined file gets: the one of the suffix row when it names the
/// target container, none for Sound Designer II names without one, else the
/// container's own.
QString joinedExtension(int stereoIndex, uint32_t type)
{
    const tAudioFileType* row = CFileUtilAudioFileType(stereoIndex >> 1);
    const QString rowExt = row != nullptr ? QString::fromLatin1(row->extension) : QString();
    if (!rowExt.isEmpty() && containerFromName(QStringLiteral("x") + rowExt) == type)
        return rowExt;
    if (rowExt.isEmpty() && type == kAudioFileSoundDesigner2Type)
        return QString();
    return extensionFor(type);
}

struct Pair {
    QString left, right;
    int index = -1; ///< stereo index of the left half
    bool named = false; ///< a half was named on the command line
};

OSStatus joinPair(
    const Pair& p, const TargetOptions& opt, const QString& outDir, bool force, Failures& failures)
{
    AudioAccess halves[2];
    const QString paths[2] = {p.left, p.right};
    for (int s = 0; s < 2; ++s) {
        const OSStatus e = halves[s].open(paths[s], false);
        if (e != noErr) {
            failures.add(paths[s], QStringLiteral("cannot open"), e);
            return e;
        }
        if (halves[s].channels() != 1) {
            failures.addText(paths[s],
                QStringLiteral("has %1 channels; only mono halves are joined").arg(halves[s].channels()));
            return paramErr;
        }
    }
    if (halves[0].sampleRate() != halves[1].sampleRate()) {
        failures.addText(p.left,
            QStringLiteral("the halves differ in sample rate (%1 and %2 Hz)")
                .arg(halves[0].sampleRate())
                .arg(halves[1].sampleRate()));
        return paramErr;
    }
    const Layout l = resolveLayout(opt, halves[0], halves[0].fileType());
    const QFileInfo leftInfo(p.left);
    const QByteArray leftName = leftInfo.fileName().toUtf8();
    const int position = CFileUtilGetPointExt(leftName.constData());
    const QString name = QString::fromUtf8(leftName.left(position)) + joinedExtension(p.index, l.type);
    const QString dir = outDir.isEmpty() ? leftInfo.path() : outDir;
    const QString target = placeIn(dir, force ? name : uniqueName(dir, name, false));
    AudioAccess joined;
    OSStatus e = joined.create(target, l.type, 2, l.bits, l.isFloat, halves[0].sampleRate(), force);
    if (e != noErr) {
        failures.add(
            target, QStringLiteral("cannot create (%1)").arg(layoutText(l, 2, halves[0].sampleRate())), e);
        return e;
    }
    const uint64_t frames = std::max(halves[0].frames(), halves[1].frames());
    std::vector<float> mono[2] = {std::vector<float>(kBlockFrames), std::vector<float>(kBlockFrames)};
    std::vector<float> stereo(size_t(kBlockFrames) * 2);
    for (uint64_t frame = 0; frame < frames; frame += kBlockFrames) {
        const uint32_t n = uint32_t(std::min<uint64_t>(kBlockFrames, frames - frame));
        for (int s = 0; s < 2; ++s) {
            uint32_t got = 0;
            if ((e = halves[s].readFloat(mono[s].data(), int64_t(frame), n, &got)) != noErr) {
                discard(joined, target);
                failures.add(paths[s], QStringLiteral("cannot read frame %1").arg(frame), e);
                return e;
            }
        }
        for (uint32_t i = 0; i < n; ++i) {
            stereo[2 * i] = mono[0][i];
            stereo[2 * i + 1] = mono[1][i];
        }
        if ((e = joined.writeFloat(stereo.data(), int64_t(frame), n)) != noErr) {
            discard(joined, target);
            failures.add(target, QStringLiteral("cannot write frame %1").arg(frame), e);
            return e;
        }
    }
    QStringList dropped;
    if ((e = copyChunks(halves[0], joined, &dropped)) != noErr || (e = joined.close()) != noErr) {
        discard(joined, target);
        failures.add(target, QStringLiteral("cannot finish the file"), e);
        return e;
    }
    out(QStringLiteral("%1 + %2 -> %3 (%4, %5 frames)\n")
            .arg(p.left, p.right, target, layoutText(l, 2, halves[0].sampleRate()))
            .arg(frames));
    if (halves[0].frames() != halves[1].frames())
        err(QStringLiteral("pavo-audio: %1: the halves differ in length (%2 and %3 frames); the shorter one "
                           "was padded with silence\n")
                .arg(target)
                .arg(halves[0].frames())
                .arg(halves[1].frames()));
    if (!dropped.isEmpty())
        err(QStringLiteral("pavo-audio: %1: %2 cannot carry chunk(s) %3; left out\n")
                .arg(target, containerName(l.type), dropped.join(QStringLiteral(", "))));
    return noErr;
}

int stereoJoin(const QCommandLineParser& parser, const TargetOptions& opt)
{
    const QStringList items = parser.positionalArguments().mid(1);
    if (items.isEmpty())
        return usageError(QStringLiteral("stereo"), QStringLiteral("join: give the halves or their folders"));
    const bool force = parser.isSet(QStringLiteral("force"));
    const QString outDir = parser.value(QStringLiteral("output-dir"));
    Failures failures;
    std::map<QString, Pair> pairs; // by left path, so each pair is joined once
    std::set<QString> lonely;
    int handled = 0;
    auto consider = [&](const QString& given, bool named) {
        const QFileInfo info(given);
        const QString path = placeIn(info.path(), info.fileName()); // one spelling per file
        const QByteArray name = info.fileName().toUtf8();
        const int index = CFileUtilHasStereoExtension(name.constData());
        if (index < 0) {
            if (named)
                failures.addText(
                    path, QStringLiteral("has no stereo suffix (.L/.R, (L)/(R), -L/-R, .wal/.war ...)"));
            return;
        }
        const QString partner = placeIn(info.path(), partnerName(info.fileName()));
        Pair p;
        p.left = (index & 1) == 0 ? path : partner;
        p.right = (index & 1) == 0 ? partner : path;
        p.index = index & ~1;
        Pair& slot = pairs[p.left];
        const bool wasNamed = slot.named;
        slot = p;
        slot.named = wasNamed || named;
    };
    for (const QString& item : items) {
        if (QFileInfo(item).isDir()) {
            QDir dir(item);
            const QStringList names = dir.entryList(QDir::Files | QDir::NoDotAndDotDot, QDir::Name);
            for (const QString& n : names)
                consider(dir.filePath(n), false);
        } else {
            consider(item, true);
        }
    }
    for (const auto& [left, p] : pairs) {
        if (!pathExists(p.left) || !pathExists(p.right)) {
            const QString missing = pathExists(p.left) ? p.right : p.left;
            if (p.named) {
                ++handled;
                failures.add(missing, QStringLiteral("the stereo partner is missing"), fnfErr);
            } else {
                err(QStringLiteral("pavo-audio: %1: no partner; skipped\n")
                        .arg(pathExists(p.left) ? p.left : p.right));
            }
            continue;
        }
        ++handled;
        joinPair(p, opt, outDir, force, failures);
    }
    if (handled == 0 && failures.empty())
        out(QStringLiteral("no stereo pairs found\n"));
    return failures.finish(std::max(handled, failures.count()));
}

/// Suffix rows per style: dot (".L.aif"), plain (".L"), paren ("(L)"), dash ("-L"),
/// short (".ail", ".wal"). -1 when the style has no row for the container.
int splitRow(const QString& style, uint32_t type)
{
    if (style == QLatin1String("dot")) {
        switch (type) {
        case kAudioFileSoundDesigner2Type:
            return 0;
        case kAudioFileAIFFType:
        case kAudioFileAIFCType:
            return 4;
        case kAudioFileWAVEType:
            return 7;
        case kAudioFileCAFType:
            return 9;
        default:
            return -1;
        }
    }
    if (style == QLatin1String("plain"))
        return 2;
    if (style == QLatin1String("paren"))
        return 1;
    if (style == QLatin1String("dash"))
        return 3;
    if (style == QLatin1String("short"))
        return type == kAudioFileWAVEType                                ? 8
            : (type == kAudioFileAIFFType || type == kAudioFileAIFCType) ? 5
                                                                         : -1;
    return -1;
}

OSStatus splitFile(const QString& path, const TargetOptions& opt, const QString& style, const QString& outDir,
    bool force, Failures& failures)
{
    AudioAccess in;
    OSStatus e = in.open(path, false);
    if (e != noErr) {
        failures.add(path, QStringLiteral("cannot open"), e);
        return e;
    }
    if (in.channels() != 2) {
        failures.addText(
            path, QStringLiteral("has %1 channel(s); only two-channel files are split").arg(in.channels()));
        return paramErr;
    }
    const Layout l = resolveLayout(opt, in, in.fileType());
    const int row = splitRow(style, l.type);
    if (row < 0) {
        failures.addText(path,
            QStringLiteral("the '%1' suffixes have no form for %2 files").arg(style, containerName(l.type)));
        return paramErr;
    }
    const QFileInfo info(path);
    QByteArray base = info.fileName().toUtf8();
    if (!CFileUtilCutKnownAudioFileExtension(base.data()))
        CFileUtilCutExtension(base.data(), nullptr);
    base.truncate(qsizetype(qstrlen(base.constData())));
    char left[8] = {}, right[8] = {};
    CFileUtilGetStereoExtension(left, 2 * row);
    CFileUtilGetStereoExtension(right, 2 * row + 1);
    const QString dir = outDir.isEmpty() ? info.path() : outDir;
    QString leftName = QString::fromUtf8(base) + QString::fromLatin1(left);
    if (!force)
        leftName = uniqueName(dir, leftName, true);
    const QString names[2] = {leftName, partnerName(leftName)};
    AudioAccess halves[2];
    QString targets[2];
    for (int s = 0; s < 2; ++s) {
        targets[s] = placeIn(dir, names[s]);
        if ((e = halves[s].create(targets[s], l.type, 1, l.bits, l.isFloat, in.sampleRate(), force))
            != noErr) {
            failures.add(
                targets[s], QStringLiteral("cannot create (%1)").arg(layoutText(l, 1, in.sampleRate())), e);
            if (s == 1)
                discard(halves[0], targets[0]);
            return e;
        }
    }
    auto fail = [&](const QString& file, const QString& what, OSStatus code) {
        discard(halves[0], targets[0]);
        discard(halves[1], targets[1]);
        failures.add(file, what, code);
        return code;
    };
    std::vector<float> stereo(size_t(kBlockFrames) * 2);
    std::vector<float> mono[2] = {std::vector<float>(kBlockFrames), std::vector<float>(kBlockFrames)};
    int64_t frame = 0;
    for (;;) {
        uint32_t got = 0;
        if ((e = in.readFloat(stereo.data(), frame, kBlockFrames, &got)) != noErr)
            return fail(path, QStringLiteral("cannot read frame %1").arg(frame), e);
        if (got == 0)
            break;
        for (uint32_t i = 0; i < got; ++i) {
            mono[0][i] = stereo[2 * i];
            mono[1][i] = stereo[2 * i + 1];
        }
        for (int s = 0; s < 2; ++s) {
            if ((e = halves[s].writeFloat(mono[s].data(), frame, got)) != noErr)
                return fail(targets[s], QStringLiteral("cannot write frame %1").arg(frame), e);
        }
        frame += got;
    }
    QStringList dropped;
    for (int s = 0; s < 2; ++s) {
        dropped.clear();
        if ((e = copyChunks(in, halves[s], &dropped)) != noErr)
            return fail(targets[s], QStringLiteral("cannot copy the chunks"), e);
    }
    for (int s = 0; s < 2; ++s) {
        if ((e = halves[s].close()) != noErr)
            return fail(targets[s], QStringLiteral("cannot finish the file"), e);
    }
    out(QStringLiteral("%1 -> %2 + %3 (%4, %5 frames)\n")
            .arg(path, targets[0], targets[1], layoutText(l, 1, in.sampleRate()))
            .arg(frame));
    if (!dropped.isEmpty())
        err(QStringLiteral("pavo-audio: %1: %2 cannot carry chunk(s) %3; left out\n")
                .arg(path, containerName(l.type), dropped.join(QStringLiteral(", "))));
    return noErr;
}

} // namespace

int runConvert(const QStringList& args)
{
    return runConvertImpl(args);
}

int runStereo(const QStringList& args)
{
    QCommandLineParser parser;
    addTargetOptions(parser);
    parser.addOption(QCommandLineOption(QStringLiteral("force")));
    parser.addOption(QCommandLineOption(
        QStringList {QStringLiteral("o"), QStringLiteral("output-dir")}, QString(), QStringLiteral("dir")));
    parser.addOption(QCommandLineOption(
        QStringLiteral("style"), QString(), QStringLiteral("style"), QStringLiteral("dot")));
    if (const int status = parseCommand(parser, QStringLiteral("stereo"), args); status >= 0)
        return status;
    TargetOptions opt;
    QString message;
    if (!readTargetOptions(parser, &opt, &message))
        return usageError(QStringLiteral("stereo"), message);
    const QString outDir = parser.value(QStringLiteral("output-dir"));
    if (!outDir.isEmpty() && !QFileInfo(outDir).isDir())
        return usageError(
            QStringLiteral("stereo"), QStringLiteral("--output-dir '%1' is no folder").arg(outDir));
    const QStringList pos = parser.positionalArguments();
    if (pos.isEmpty())
        return usageError(QStringLiteral("stereo"), QStringLiteral("say join or split"));
    if (pos.at(0) == QLatin1String("join"))
        return stereoJoin(parser, opt);
    if (pos.at(0) != QLatin1String("split"))
        return usageError(
            QStringLiteral("stereo"), QStringLiteral("unknown action '%1' (join or split)").arg(pos.at(0)));
    const QString style = parser.value(QStringLiteral("style"));
    static const QStringList styles {QStringLiteral("dot"), QStringLiteral("plain"), QStringLiteral("paren"),
        QStringLiteral("dash"), QStringLiteral("short")};
    if (!styles.contains(style))
        return usageError(QStringLiteral("stereo"),
            QStringLiteral("unknown --style '%1' (dot, plain, paren, dash or short)").arg(style));
    const QStringList files = pos.mid(1);
    if (files.isEmpty())
        return usageError(QStringLiteral("stereo"), QStringLiteral("split: no file given"));
    Failures failures;
    for (const QString& f : files)
        splitFile(f, opt, style, outDir, parser.isSet(QStringLiteral("force")), failures);
    return failures.finish(int(files.size()));
}

} // namespace pavoaudio
