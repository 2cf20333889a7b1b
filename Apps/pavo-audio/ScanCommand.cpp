// scan: walks a folder tree on every core and reports each audio file, the stereo pairs
// and the totals.
#include "Commands.h"
#include "Inspect.h"
#include "Tool.h"
#include "Transfer.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>

#include <cerrno>
#include <cstring>

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

namespace pavoaudio {

namespace {

struct ScanResult {
    FileReport report;
    bool ok = false;
    bool audio = false; ///< false: not an audio file at all (left out of the report)
    bool otherAudio = false; ///< audio of a kind the tool does not read
};

/// The items found under the roots: regular files to read, and failures met on the way
/// (folders that cannot be read, links to audio names that lead nowhere).
struct Walk {
    std::vector<QString> files;
    int otherItems = 0; ///< links to nothing of no audio name
};

void walk(const QString& dir, Walk& w, Failures& failures)
{
    const QByteArray native = QFile::encodeName(dir);
    DIR* d = ::opendir(native.constData());
    if (d == nullptr) {
        failures.addErrno(dir, QStringLiteral("cannot read the folder"), errno);
        return;
    }
    std::vector<QByteArray> names;
    errno = 0;
    while (const dirent* e = ::readdir(d)) {
        if (std::strcmp(e->d_name, ".") != 0 && std::strcmp(e->d_name, "..") != 0)
            names.emplace_back(e->d_name);
    }
    const int readError = errno;
    ::closedir(d);
    if (readError != 0)
        failures.addErrno(dir, QStringLiteral("cannot read the folder"), readError);
    std::sort(names.begin(), names.end());
    const QString prefix = dir.endsWith(QLatin1Char('/')) ? dir : dir + QLatin1Char('/');
    for (const QByteArray& n : names) {
        const QString name = QFile::decodeName(n);
        if (name.startsWith(QLatin1String("._"))) // AppleDouble companions
            continue;
        const QString path = prefix + name;
        const QByteArray p = QFile::encodeName(path);
        struct stat st { };
        if (::lstat(p.constData(), &st) != 0) {
            failures.addErrno(path, QStringLiteral("cannot examine"), errno);
            continue;
        }
        if (S_ISDIR(st.st_mode)) {
            walk(path, w, failures);
            continue;
        }
        if (S_ISLNK(st.st_mode) && ::stat(p.constData(), &st) != 0) {
            if (isAudioName(name))
                failures.addErrno(path, QStringLiteral("the symbolic link leads nowhere"), errno);
            else
                ++w.otherItems;
            continue;
        }
        // Links to folders are not followed (no cycles); devices and pipes are no files.
        if (S_ISREG(st.st_mode))
            w.files.push_back(path);
        else if (!S_ISDIR(st.st_mode))
            ++w.otherItems;
    }
}

void drawBar(size_t done, size_t total)
{
    const int width = 40;
    const int filled = total ? int(done * width / total) : width;
    QString bar = QStringLiteral("\r[") + QString(filled, QLatin1Char('#'))
        + QString(width - filled, QLatin1Char('.')) + QStringLiteral("] %1/%2").arg(done).arg(total);
    err(bar);
}

} // namespace

int runScan(const QStringList& args)
{
    QCommandLineParser parser;
    parser.addOption(QCommandLineOption(QStringLiteral("json")));
    parser.addOption(QCommandLineOption(QStringLiteral("jobs"), QString(), QStringLiteral("n")));
    parser.addOption(QCommandLineOption(QStringLiteral("no-progress")));
    if (const int status = parseCommand(parser, QStringLiteral("scan"), args); status >= 0)
        return status;
    const QStringList roots = parser.positionalArguments();
    if (roots.isEmpty())
        return usageError(QStringLiteral("scan"), QStringLiteral("no folder given"));
    unsigned jobs = std::max(1u, std::thread::hardware_concurrency());
    if (parser.isSet(QStringLiteral("jobs"))) {
        bool ok = false;
        jobs = parser.value(QStringLiteral("jobs")).toUInt(&ok);
        if (!ok || jobs == 0)
            return usageError(QStringLiteral("scan"), QStringLiteral("--jobs takes a positive number"));
    }
    Failures failures;
    Walk found;
    for (const QString& root : roots) {
        if (!QFileInfo(root).isDir()) {
            const int errnum = pathExists(root) ? ENOTDIR : ENOENT;
            failures.add(root, QStringLiteral("cannot scan"), resultForErrno(errnum), errnum);
            continue;
        }
        walk(root, found, failures);
    }
    std::vector<QString>& paths = found.files;
    std::sort(paths.begin(), paths.end());
    std::vector<ScanResult> results(paths.size());
    std::atomic<size_t> next {0}, done {0};
    std::mutex mutex;
    std::condition_variable finished;
    auto work = [&] {
        for (size_t i; (i = next.fetch_add(1)) < paths.size();) {
            ScanResult& r = results[i];
            r.ok = inspectFile(paths[i], &r.report, false);
            const QString name = QFileInfo(paths[i]).fileName();
            // Content that is no container the tool reads is audio of another kind when
            // its name says so, else no audio at all; a file named as a container the
            // tool reads that does not read is a failure.
            r.otherAudio
                = !r.ok && r.report.error == kAudioFileUnsupportedFileTypeError && isOtherAudioName(name);
            r.audio = r.ok || r.report.error != kAudioFileUnsupportedFileTypeError || isAudioName(name);
            if (done.fetch_add(1) + 1 == paths.size()) {
                std::lock_guard<std::mutex> lock(mutex);
                finished.notify_all();
            }
        }
    };
    const bool bar = !parser.isSet(QStringLiteral("no-progress")) && isatty(STDERR_FILENO) && !paths.empty();
    std::vector<std::thread> threads;
    const unsigned count = std::min<unsigned>(jobs, unsigned(std::max<size_t>(paths.size(), 1)));
    for (unsigned t = 0; t < count; ++t)
        threads.emplace_back(work);
    {
        std::unique_lock<std::mutex> lock(mutex);
        while (done.load() < paths.size()) {
            if (bar)
                drawBar(done.load(), paths.size());
            finished.wait_for(lock, std::chrono::milliseconds(100));
        }
    }
    for (std::thread& t : threads)
        t.join();
    if (bar) {
        drawBar(paths.size(), paths.size());
        err(QStringLiteral("\n"));
    }

    // Stereo halves pair up by folder, the name before the suffix, and the suffix row.
    struct Halves {
        QString side[2];
    };
    std::map<QString, Halves> halves;
    std::map<QString, int> perContainer;
    int audioFiles = 0, tagged = 0, other = found.otherItems, otherAudio = 0, damaged = 0;
    double seconds = 0;
    uint64_t frames = 0;
    QJsonArray jsonFiles;
    const bool json = parser.isSet(QStringLiteral("json"));
    for (ScanResult& r : results) {
        const FileReport& f = r.report;
        if (!r.audio) {
            ++other;
            continue;
        }
        if (r.otherAudio) {
            ++otherAudio;
            continue;
        }
        if (!r.ok) {
            failures.add(f.path, f.failedStep, f.error, f.sysErrno);
            if (json)
                jsonFiles.append(reportJson(f));
            continue;
        }
        ++audioFiles;
        ++perContainer[containerName(f.fileType)];
        tagged += f.tagged ? 1 : 0;
        damaged += f.truncated() ? 1 : 0;
        seconds += f.seconds();
        frames += f.frames;
        const QFileInfo info(f.path);
        const StereoName half = stereoName(info.fileName());
        if (half.isHalf() && f.channels == 1)
            halves[info.path() + QLatin1Char('/') + half.key()].side[half.index & 1] = f.path;
        if (json) {
            jsonFiles.append(reportJson(f));
        } else {
            QStringList ids;
            for (const ChunkEntry& c : f.chunks)
                ids << fourCCText(c.id);
            out(QStringLiteral("%1: %2, %3, %4 ch, %5 Hz, %6%7%8%9\n")
                    .arg(displayName(f.path), containerName(f.fileType), sampleFormatText(f))
                    .arg(f.channels)
                    .arg(f.sampleRate, 0, 'g', 10)
                    .arg(durationText(f.seconds()))
                    .arg(f.truncated() ? QStringLiteral(", truncated (%1 of %2 data bytes)")
                                             .arg(f.presentBytes)
                                             .arg(f.declaredBytes)
                                       : QString())
                    .arg(f.tagged ? QStringLiteral(", tagged loop") : QString())
                    .arg(ids.isEmpty() ? QString()
                                       : QStringLiteral(", chunks ") + ids.join(QLatin1Char(' '))));
        }
    }
    int pairs = 0;
    QJsonArray jsonPairs, jsonSingles;
    for (const auto& [key, h] : halves) {
        if (!h.side[0].isEmpty() && !h.side[1].isEmpty()) {
            ++pairs;
            if (json)
                jsonPairs.append(QJsonArray {h.side[0], h.side[1]});
            else
                out(QStringLiteral("stereo pair: %1 + %2\n")
                        .arg(displayName(h.side[0]), displayName(h.side[1])));
        } else {
            const QString lone = h.side[0].isEmpty() ? h.side[1] : h.side[0];
            if (json)
                jsonSingles.append(lone);
            else
                out(QStringLiteral("unpaired half: %1\n").arg(displayName(lone)));
        }
    }
    QStringList kinds;
    for (const auto& [kind, n] : perContainer)
        kinds << QStringLiteral("%1 %2").arg(n).arg(kind);
    if (json) {
        QJsonObject totals;
        totals[QStringLiteral("audioFiles")] = audioFiles;
        totals[QStringLiteral("otherFiles")] = other;
        totals[QStringLiteral("otherAudio")] = otherAudio;
        totals[QStringLiteral("failed")] = failures.count();
        totals[QStringLiteral("damaged")] = damaged;
        totals[QStringLiteral("taggedLoops")] = tagged;
        totals[QStringLiteral("stereoPairs")] = pairs;
        totals[QStringLiteral("frames")] = double(frames);
        totals[QStringLiteral("seconds")] = seconds;
        QJsonObject containers;
        for (const auto& [kind, n] : perContainer)
            containers[kind] = n;
        totals[QStringLiteral("containers")] = containers;
        QJsonObject doc;
        doc[QStringLiteral("files")] = jsonFiles;
        doc[QStringLiteral("stereoPairs")] = jsonPairs;
        doc[QStringLiteral("unpairedHalves")] = jsonSingles;
        doc[QStringLiteral("totals")] = totals;
        out(QString::fromUtf8(QJsonDocument(doc).toJson(QJsonDocument::Indented)));
    } else {
        out(QStringLiteral("total: %1 audio file(s)%2, %3 tagged loop(s), %4 stereo pair(s), %5 (%6 s); %7 "
                           "other audio (not readable here), %8 other file(s), %9 failed, %10 damaged\n")
                .arg(audioFiles)
                .arg(kinds.isEmpty()
                        ? QString()
                        : QStringLiteral(" (") + kinds.join(QStringLiteral(", ")) + QLatin1Char(')'))
                .arg(tagged)
                .arg(pairs)
                .arg(durationText(seconds))
                .arg(seconds, 0, 'f', 3)
                .arg(otherAudio)
                .arg(other)
                .arg(failures.count())
                .arg(damaged));
    }
    return failures.finish(audioFiles + otherAudio + failures.count());
}

} // namespace pavoaudio
