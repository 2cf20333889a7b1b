// convert and stereo: the commands that write new audio files from existing ones.
#include "AudioAccess.h"
#include "Commands.h"
#include "Inspect.h"
#include "Output.h"
#include "Tool.h"
#include "Transfer.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
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

/// Whether integer samples lose bits on the way to `l` and --dither asks for noise.
bool dithers(bool dither, const Layout& l, std::initializer_list<const AudioAccess*> sources)
{
    if (!dither || l.isFloat)
        return false;
    for (const AudioAccess* a : sources) {
        if (!a->isFloat() && a->bits() > l.bits)
            return true;
    }
    return false;
}

int runConvertImpl(const QStringList& args)
{
    QCommandLineParser parser;
    addTargetOptions(parser);
    parser.addOption(QCommandLineOption(QStringLiteral("force")));
    parser.addOption(QCommandLineOption(QStringLiteral("dither")));
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
        failures.addOpen(inPath, e);
        return failures.finish(1);
    }
    const bool force = parser.isSet(QStringLiteral("force"));
    if (sameFile(inPath, outPath)) {
        failures.addText(outPath, kIsTheInput);
        return failures.finish(1);
    }
    if (pathExists(outPath) && !force) {
        failures.addNotOverwritten(outPath);
        return failures.finish(1);
    }
    const Layout l = resolveLayout(opt, in, in.fileType());
    PendingOutput pending;
    pending.begin(outPath, force);
    AudioAccess outFile;
    if ((e = outFile.create(
             pending.temporary(), l.type, in.channels(), l.bits, l.isFloat, in.sampleRate(), false))
        != noErr) {
        failures.add(outPath,
            QStringLiteral("cannot create (%1)").arg(layoutText(l, in.channels(), in.sampleRate())), e);
        return failures.finish(1);
    }
    SampleMover mover(movesWords({&in}, l.isFloat, l.bits),
        dithers(parser.isSet(QStringLiteral("dither")), l, {&in}), l.bits);
    std::vector<uint32_t> block;
    int64_t frame = 0;
    for (;;) {
        uint32_t got = 0;
        if ((e = mover.read(in, frame, kBlockFrames, block, &got)) != noErr) {
            failures.add(inPath, QStringLiteral("cannot read frame %1").arg(frame), e);
            return failures.finish(1);
        }
        if (got == 0)
            break;
        if (errno = 0; (e = mover.write(outFile, frame, got, block)) != noErr) {
            failures.add(outPath, QStringLiteral("cannot write frame %1").arg(frame), e, writeErrno());
            return failures.finish(1);
        }
        frame += got;
    }
    QStringList dropped;
    if ((e = copyChunks(in, outFile, &dropped)) != noErr) {
        failures.add(outPath, QStringLiteral("cannot copy the chunks"), e, writeErrno());
        return failures.finish(1);
    }
    if ((e = outFile.close()) != noErr) {
        failures.add(outPath, QStringLiteral("cannot finish the file"), e, writeErrno());
        return failures.finish(1);
    }
    if (!pending.commit()) {
        failures.addErrno(outPath, QStringLiteral("cannot put the file in place"), errno);
        return failures.finish(1);
    }
    out(QStringLiteral("%1 -> %2 (%3, %4 frames)\n")
            .arg(displayName(inPath), displayName(outPath), layoutText(l, in.channels(), in.sampleRate()))
            .arg(frame));
    if (!dropped.isEmpty())
        err(QStringLiteral("pavo-audio: %1: %2 cannot carry chunk(s) %3; left out\n")
                .arg(displayName(outPath), containerName(l.type), dropped.join(QStringLiteral(", "))));
    return kExitOK;
}

// ---- stereo ----------------------------------------------------------------------

/// The extension a joined file gets: the one after the suffix or of the suffix row when
/// it names the target container, none for Sound Designer II names without one, else
/// the container's own.
QString joinedExtension(const StereoName& half, uint32_t type)
{
    if (!half.extension.isEmpty() && containerFromName(QStringLiteral("x") + half.extension) == type)
        return half.extension;
    const tAudioFileType* row = CFileUtilAudioFileType(half.index >> 1);
    const QString rowExt = row != nullptr ? QString::fromLatin1(row->extension) : QString();
    if (!rowExt.isEmpty() && containerFromName(QStringLiteral("x") + rowExt) == type)
        return rowExt;
    if (rowExt.isEmpty() && half.extension.isEmpty() && type == kAudioFileSoundDesigner2Type)
        return QString();
    return extensionFor(type);
}

struct Pair {
    QString dir;
    QString side[2]; ///< paths of the halves found
    QString name[2]; ///< their file names
    bool wanted = false; ///< found in a folder given, or a half was named
    bool named = false; ///< a half was named on the command line
};

OSStatus joinPair(const Pair& p, const TargetOptions& opt, const QString& outDir, bool force, bool dither,
    Failures& failures)
{
    AudioAccess halves[2];
    for (int s = 0; s < 2; ++s) {
        const OSStatus e = halves[s].open(p.side[s], false);
        if (e != noErr) {
            failures.addOpen(p.side[s], e);
            return e;
        }
        if (halves[s].channels() != 1) {
            failures.addText(p.side[s],
                QStringLiteral("has %1 channels; only mono halves are joined").arg(halves[s].channels()));
            return paramErr;
        }
    }
    if (halves[0].sampleRate() != halves[1].sampleRate()) {
        failures.addText(p.side[0],
            QStringLiteral("the halves differ in sample rate (%1 and %2 Hz)")
                .arg(halves[0].sampleRate())
                .arg(halves[1].sampleRate()));
        return paramErr;
    }
    if (opt.bits == 0
        && (halves[0].bits() != halves[1].bits() || halves[0].isFloat() != halves[1].isFloat())) {
        FileReport r[2];
        for (int s = 0; s < 2; ++s) {
            r[s].bits = halves[s].bits();
            r[s].isFloat = halves[s].isFloat();
            r[s].fileType = halves[s].fileType();
        }
        failures.addText(p.side[0],
            QStringLiteral(
                "the halves differ in sample format (%1 and %2); say which to write with --bits or "
                "--float")
                .arg(sampleFormatText(r[0]), sampleFormatText(r[1])));
        return paramErr;
    }
    const Layout l = resolveLayout(opt, halves[0], halves[0].fileType());
    const StereoName left = stereoName(p.name[0]);
    const QString name = left.stem + joinedExtension(left, l.type);
    const QString dir = outDir.isEmpty() ? p.dir : outDir;
    const QString target = placeIn(dir, force ? name : uniqueName(dir, name, false));
    for (int s = 0; s < 2; ++s) {
        if (sameFile(p.side[s], target)) {
            failures.addText(target, kIsTheInput);
            return paramErr;
        }
    }
    PendingOutput pending;
    pending.begin(target, force);
    AudioAccess joined;
    OSStatus e
        = joined.create(pending.temporary(), l.type, 2, l.bits, l.isFloat, halves[0].sampleRate(), false);
    if (e != noErr) {
        failures.add(
            target, QStringLiteral("cannot create (%1)").arg(layoutText(l, 2, halves[0].sampleRate())), e);
        return e;
    }
    SampleMover mover(movesWords({&halves[0], &halves[1]}, l.isFloat, l.bits),
        dithers(dither, l, {&halves[0], &halves[1]}), l.bits);
    const uint64_t frames = std::max(halves[0].frames(), halves[1].frames());
    std::vector<uint32_t> mono[2];
    std::vector<uint32_t> stereo(size_t(kBlockFrames) * 2);
    for (uint64_t frame = 0; frame < frames; frame += kBlockFrames) {
        const uint32_t n = uint32_t(std::min<uint64_t>(kBlockFrames, frames - frame));
        for (int s = 0; s < 2; ++s) {
            uint32_t got = 0;
            if ((e = mover.read(halves[s], int64_t(frame), n, mono[s], &got)) != noErr) {
                failures.add(p.side[s], QStringLiteral("cannot read frame %1").arg(frame), e);
                return e;
            }
        }
        stereo.resize(size_t(n) * 2);
        for (uint32_t i = 0; i < n; ++i) {
            stereo[2 * i] = mono[0][i];
            stereo[2 * i + 1] = mono[1][i];
        }
        if (errno = 0; (e = mover.write(joined, int64_t(frame), n, stereo)) != noErr) {
            failures.add(target, QStringLiteral("cannot write frame %1").arg(frame), e, writeErrno());
            return e;
        }
    }
    QStringList dropped;
    if ((e = copyChunks(halves[0], joined, &dropped)) != noErr || (e = joined.close()) != noErr) {
        failures.add(target, QStringLiteral("cannot finish the file"), e, writeErrno());
        return e;
    }
    if (!pending.commit()) {
        failures.addErrno(target, QStringLiteral("cannot put the file in place"), errno);
        return ioErr;
    }
    out(QStringLiteral("%1 + %2 -> %3 (%4, %5 frames)\n")
            .arg(displayName(p.side[0]), displayName(p.side[1]), displayName(target),
                layoutText(l, 2, halves[0].sampleRate()))
            .arg(frames));
    if (halves[0].frames() != halves[1].frames())
        err(QStringLiteral("pavo-audio: %1: the halves differ in length (%2 and %3 frames); the shorter one "
                           "was padded with silence\n")
                .arg(displayName(target))
                .arg(halves[0].frames())
                .arg(halves[1].frames()));
    if (!dropped.isEmpty())
        err(QStringLiteral("pavo-audio: %1: %2 cannot carry chunk(s) %3; left out\n")
                .arg(displayName(target), containerName(l.type), dropped.join(QStringLiteral(", "))));
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
    // Halves pair up as scan pairs them: by folder, the name before the suffix and the
    // suffix row. A half named alone finds its partner among the files of its folder.
    std::map<QString, Pair> pairs;
    std::map<QString, QStringList> listed;
    int handled = 0;
    auto consider = [&](const QString& dir, const QString& name, bool wanted, bool named) {
        const StereoName s = stereoName(name);
        if (!s.isHalf())
            return false;
        Pair& p = pairs[dir + QLatin1Char('/') + s.key()];
        p.dir = dir;
        const int side = s.index & 1;
        if (p.name[side].isEmpty() || named) {
            p.name[side] = name;
            p.side[side] = placeIn(dir, name);
        }
        p.wanted = p.wanted || wanted;
        p.named = p.named || named;
        return true;
    };
    auto filesOf = [&](const QString& dir) -> const QStringList& {
        auto it = listed.find(dir);
        if (it == listed.end())
            it = listed.emplace(dir, QDir(dir).entryList(QDir::Files | QDir::NoDotAndDotDot, QDir::Name))
                     .first;
        return it->second;
    };
    for (const QString& item : items) {
        const QFileInfo info(item);
        if (info.isDir()) {
            for (const QString& n : filesOf(item))
                consider(placeIn(QStringLiteral("."), item), n, true, false);
            continue;
        }
        if (!consider(info.path(), info.fileName(), true, true)) {
            failures.addText(
                item, QStringLiteral("has no stereo suffix (.L/.R, (L)/(R), -L/-R, .wal/.war ...)"));
            continue;
        }
        for (const QString& n : filesOf(info.path()))
            consider(info.path(), n, false, false);
    }
    for (const auto& [key, p] : pairs) {
        if (!p.wanted)
            continue;
        if (p.name[0].isEmpty() || p.name[1].isEmpty()) {
            const int present = p.name[0].isEmpty() ? 1 : 0;
            const QString missing = placeIn(p.dir, partnerName(p.name[present]));
            if (p.named) {
                ++handled;
                failures.addText(p.side[present],
                    QStringLiteral("its stereo partner %1 is missing").arg(displayName(missing)));
            } else {
                err(QStringLiteral("pavo-audio: %1: no partner (%2); skipped\n")
                        .arg(displayName(p.side[present]), displayName(missing)));
            }
            continue;
        }
        ++handled;
        joinPair(p, opt, outDir, force, parser.isSet(QStringLiteral("dither")), failures);
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
    bool force, bool dither, Failures& failures)
{
    AudioAccess in;
    OSStatus e = in.open(path, false);
    if (e != noErr) {
        failures.addOpen(path, e);
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
    char left[8] = {};
    CFileUtilGetStereoExtension(left, 2 * row);
    // Rows without an extension of their own belong to Sound Designer II; other
    // containers get theirs after the suffix.
    const tAudioFileType* rowType = CFileUtilAudioFileType(row);
    const QString extension = rowType->extension[0] == 0 && l.type != kAudioFileSoundDesigner2Type
        ? extensionFor(l.type)
        : QString();
    const QString dir = outDir.isEmpty() ? info.path() : outDir;
    QString leftName = QString::fromUtf8(base) + QString::fromLatin1(left) + extension;
    if (!force)
        leftName = uniqueName(dir, leftName, true);
    const QString names[2] = {leftName, partnerName(leftName)};
    QString targets[2];
    for (int s = 0; s < 2; ++s) {
        targets[s] = placeIn(dir, names[s]);
        if (sameFile(path, targets[s])) {
            failures.addText(targets[s], kIsTheInput);
            return paramErr;
        }
    }
    PendingOutput pending[2];
    AudioAccess halves[2];
    for (int s = 0; s < 2; ++s) {
        pending[s].begin(targets[s], force);
        if ((e = halves[s].create(
                 pending[s].temporary(), l.type, 1, l.bits, l.isFloat, in.sampleRate(), false))
            != noErr) {
            failures.add(
                targets[s], QStringLiteral("cannot create (%1)").arg(layoutText(l, 1, in.sampleRate())), e);
            return e;
        }
    }
    SampleMover mover(movesWords({&in}, l.isFloat, l.bits), dithers(dither, l, {&in}), l.bits);
    std::vector<uint32_t> stereo;
    std::vector<uint32_t> mono[2];
    int64_t frame = 0;
    for (;;) {
        uint32_t got = 0;
        if ((e = mover.read(in, frame, kBlockFrames, stereo, &got)) != noErr) {
            failures.add(path, QStringLiteral("cannot read frame %1").arg(frame), e);
            return e;
        }
        if (got == 0)
            break;
        for (int s = 0; s < 2; ++s) {
            mono[s].resize(got);
            for (uint32_t i = 0; i < got; ++i)
                mono[s][i] = stereo[2 * i + uint32_t(s)];
            if (errno = 0; (e = mover.write(halves[s], frame, got, mono[s])) != noErr) {
                failures.add(targets[s], QStringLiteral("cannot write frame %1").arg(frame), e, writeErrno());
                return e;
            }
        }
        frame += got;
    }
    QStringList dropped;
    for (int s = 0; s < 2; ++s) {
        dropped.clear();
        if ((e = copyChunks(in, halves[s], &dropped)) != noErr) {
            failures.add(targets[s], QStringLiteral("cannot copy the chunks"), e, writeErrno());
            return e;
        }
    }
    for (int s = 0; s < 2; ++s) {
        if ((e = halves[s].close()) != noErr) {
            failures.add(targets[s], QStringLiteral("cannot finish the file"), e, writeErrno());
            return e;
        }
    }
    for (int s = 0; s < 2; ++s) {
        if (!pending[s].commit()) {
            failures.addErrno(targets[s], QStringLiteral("cannot put the file in place"), errno);
            return ioErr;
        }
    }
    out(QStringLiteral("%1 -> %2 + %3 (%4, %5 frames)\n")
            .arg(displayName(path), displayName(targets[0]), displayName(targets[1]),
                layoutText(l, 1, in.sampleRate()))
            .arg(frame));
    if (!dropped.isEmpty())
        err(QStringLiteral("pavo-audio: %1: %2 cannot carry chunk(s) %3; left out\n")
                .arg(displayName(path), containerName(l.type), dropped.join(QStringLiteral(", "))));
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
    parser.addOption(QCommandLineOption(QStringLiteral("dither")));
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
        splitFile(f, opt, style, outDir, parser.isSet(QStringLiteral("force")),
            parser.isSet(QStringLiteral("dither")), failures);
    return failures.finish(int(files.size()));
}

} // namespace pavoaudio
