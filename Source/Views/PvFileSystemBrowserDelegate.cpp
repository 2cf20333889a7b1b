#include "PvFileSystemBrowserDelegate.h"

#include "CAuFileIO.h"
#include "CChunkData.h"
#include "CFileUtil.h"
#include "PvBrowserCell.h"
#include "tagging.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QMimeData>
#include <QPainter>
#include <QTextLayout>
#include <QThread>
#include <QThreadPool>
#include <QUrl>

#include <algorithm>
#include <atomic>
#include <functional>

#include <cmath>
#include <cstddef>
#include <cstring>
#include <sys/stat.h>
#include <time.h>

namespace {

// Compares names as a file manager does: runs of digits by their value, the rest
// without regard to case.
int naturalCompare(const QString& a, const QString& b)
{
    qsizetype i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        if (a[i].isDigit() && b[j].isDigit()) {
            qsizetype ei = i, ej = j;
            while (ei < a.size() && a[ei].isDigit())
                ++ei;
            while (ej < b.size() && b[ej].isDigit())
                ++ej;
            // Compare by value: skip leading zeros, then the longer run is larger.
            qsizetype zi = i, zj = j;
            while (zi + 1 < ei && a[zi] == u'0')
                ++zi;
            while (zj + 1 < ej && b[zj] == u'0')
                ++zj;
            if (ei - zi != ej - zj)
                return ei - zi < ej - zj ? -1 : 1;
            if (const int c = QStringView(a).mid(zi, ei - zi).compare(QStringView(b).mid(zj, ej - zj)))
                return c;
            i = ei;
            j = ej;
            continue;
        }
        const QChar ca = a[i].toCaseFolded(), cb = b[j].toCaseFolded();
        if (ca != cb)
            return ca < cb ? -1 : 1;
        ++i;
        ++j;
    }
    return (a.size() - i) == (b.size() - j) ? 0 : (a.size() - i < b.size() - j ? -1 : 1);
}

bool namesInOrder(const QString& a, const QString& b)
{
    const int c = naturalCompare(a, b);
    return c != 0 ? c < 0 : a < b;
}

// The folder's modification time in nanoseconds since the epoch; -1 when it cannot be read.
qint64 modificationTime(const QString& folder)
{
    struct stat st { };
    if (::stat(QFile::encodeName(folder).constData(), &st) != 0)
        return -1;
    return qint64(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec;
}

qint64 nowNs()
{
    timespec now {};
    clock_gettime(CLOCK_REALTIME, &now);
    return qint64(now.tv_sec) * 1000000000 + now.tv_nsec;
}

} // namespace

/// One folder's visible entries in the browser's order, as the worker makes them.
struct PvFolderListing {
    struct Entry {
        QString name;
        bool folder = false;
        bool audio = false;
    };
    QString key;
    QString folder;
    std::vector<Entry> entries;
    qint64 modified = -1; // the folder's time before it was read
    bool settled = false; // read at least a second after that time
};

namespace {

QDir::Filters entryFilters(bool hidden)
{
    QDir::Filters filters = QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System;
    return hidden ? filters | QDir::Hidden : filters;
}

// Lists folder; gives up (with what it has) once stop is set.
void listFolder(PvFolderListing& listing, bool hidden, const std::atomic<bool>& stop)
{
    const qint64 began = nowNs();
    listing.modified = modificationTime(listing.folder);
    listing.settled = listing.modified >= 0 && began - listing.modified >= 1000000000;
    QDirIterator it(listing.folder, entryFilters(hidden));
    while (it.hasNext() && !stop.load(std::memory_order_relaxed)) {
        it.next();
        const QFileInfo info = it.fileInfo();
        PvFolderListing::Entry e;
        e.name = info.fileName();
        e.folder = info.isDir();
        e.audio = !e.folder && PvFileSystemBrowserDelegate::isAudioFileName(e.name);
        listing.entries.push_back(std::move(e));
    }
    std::sort(listing.entries.begin(), listing.entries.end(),
        [](const PvFolderListing::Entry& a, const PvFolderListing::Entry& b) {
            return namesInOrder(a.name, b.name);
        });
}

} // namespace

// The delegate's worker: one pooled thread lists the queued folders one after another and
// hands each listing to deliver, which posts it to the main thread.
class PvFileSystemBrowserDelegate::Worker {
public:
    explicit Worker(std::function<void(std::shared_ptr<const PvFolderListing>)> deliver)
        : m_deliver(std::move(deliver))
    {
        m_pool.setMaxThreadCount(1);
        m_pool.setThreadPriority(QThread::LowPriority);
    }
    // Drops the folders not yet started, stops the one being listed at its next entry and
    // waits for it.
    ~Worker()
    {
        m_stop = true;
        m_pool.clear();
        m_pool.waitForDone();
    }
    void enqueue(const QString& key, const QString& folder, bool hidden)
    {
        m_pool.start([this, key, folder, hidden] {
            auto listing = std::make_shared<PvFolderListing>();
            listing->key = key;
            listing->folder = folder;
            listFolder(*listing, hidden, m_stop);
            if (!m_stop)
                m_deliver(std::move(listing));
        });
    }

private:
    std::function<void(std::shared_ptr<const PvFolderListing>)> m_deliver;
    std::atomic<bool> m_stop {false};
    QThreadPool m_pool; // last: destroyed (and joined) first
};

// ---- the delegate ---------------------------------------------------------------------------

namespace {
constexpr size_t kKeptListings = 8;
} // namespace

PvFileSystemBrowserDelegate::PvFileSystemBrowserDelegate(const QString& rootPath, QObject* parent)
    : QObject(parent)
    , m_rootPath(rootPath.isEmpty() ? QDir::rootPath() : rootPath)
{
}

// The worker goes first: it is stopped and joined before the members it could reach.
PvFileSystemBrowserDelegate::~PvFileSystemBrowserDelegate()
{
    m_worker.reset();
}

bool PvFileSystemBrowserDelegate::isAudioFileName(const QString& name)
{
    return CFileUtilFileTypeFromName(name.toUtf8().constData()) != 0;
}

QString PvFileSystemBrowserDelegate::loadingText()
{
    return tr("Loading\u2026");
}

QString PvFileSystemBrowserDelegate::folderOfColumn(DfBrowserControl* browser, int column) const
{
    if (column == 0)
        return m_rootPath;
    PvMatrix* previous = browser ? browser->matrixInColumn(column - 1) : nullptr;
    auto* cell = previous ? dynamic_cast<PvBrowserCell*>(previous->selectedCell()) : nullptr;
    return cell && !cell->isLeaf() ? cell->absolutePath() : QString();
}

QStringList PvFileSystemBrowserDelegate::sortedEntries(const QString& folder) const
{
    PvFolderListing listing;
    listing.folder = folder;
    const std::atomic<bool> never {false};
    listFolder(listing, m_showsHidden, never);
    QStringList names;
    names.reserve(qsizetype(listing.entries.size()));
    for (const auto& e : listing.entries)
        names << e.name;
    return names;
}

QString PvFileSystemBrowserDelegate::keyOf(const QString& folder, bool hidden) const
{
    return (hidden ? QStringLiteral("1") : QStringLiteral("0")) + QDir::cleanPath(folder);
}

bool PvFileSystemBrowserDelegate::isListing(const QString& folder) const
{
    return m_waiting.contains(keyOf(folder, m_showsHidden));
}

void PvFileSystemBrowserDelegate::refresh()
{
    m_kept.clear();
}

std::shared_ptr<const PvFolderListing> PvFileSystemBrowserDelegate::keptListing(const QString& key)
{
    if (m_arriving && m_arriving->key == key)
        return m_arriving;
    const auto it = std::find_if(m_kept.begin(), m_kept.end(), [&](const auto& l) { return l->key == key; });
    if (it == m_kept.end())
        return nullptr;
    auto listing = *it;
    m_kept.erase(it);
    if (!listing->settled || modificationTime(listing->folder) != listing->modified)
        return nullptr;
    m_kept.insert(m_kept.begin(), listing);
    return listing;
}

namespace {

PvBrowserCell* browserCellAt(PvMatrix* matrix, int row)
{
    auto* cell = dynamic_cast<PvBrowserCell*>(matrix->cellAt(row, 0));
    if (!cell) {
        matrix->putCell(std::make_unique<PvBrowserCell>(), row, 0);
        cell = static_cast<PvBrowserCell*>(matrix->cellAt(row, 0));
    }
    return cell;
}

} // namespace

void PvFileSystemBrowserDelegate::showPlaceholder(PvMatrix* matrix)
{
    matrix->renewRows(1, 1);
    PvBrowserCell* cell = browserCellAt(matrix, 0);
    cell->setStringValue(loadingText());
    cell->setAbsolutePath(QString());
    cell->setLeaf(true);
    cell->setEnabled(false);
}

void PvFileSystemBrowserDelegate::fill(PvMatrix* matrix, const PvFolderListing& listing)
{
    const QDir dir(listing.folder);
    const int rows = int(listing.entries.size());
    matrix->renewRows(rows, 1);
    const int side = int(std::max(8.0, matrix->cellSize().height() - 2.0));
    const QPixmap folderIcon = m_icons.icon(QFileIconProvider::Folder).pixmap(QSize(side, side));
    const QPixmap fileIcon = m_icons.icon(QFileIconProvider::File).pixmap(QSize(side, side));
    QHash<QString, QPixmap> iconOfSuffix;
    for (int i = 0; i < rows; ++i) {
        const PvFolderListing::Entry& e = listing.entries[size_t(i)];
        const QString path = dir.absoluteFilePath(e.name);
        PvBrowserCell* cell = browserCellAt(matrix, i);
        cell->setStringValue(e.name);
        cell->setAbsolutePath(path);
        cell->setLeaf(!e.folder);
        if (e.folder) {
            cell->setImage(folderIcon);
        } else {
            const qsizetype dot = e.name.lastIndexOf(u'.');
            const QString suffix = dot > 0 ? e.name.mid(dot + 1).toLower() : QString();
            auto icon = iconOfSuffix.find(suffix);
            if (icon == iconOfSuffix.end())
                icon = iconOfSuffix.insert(suffix,
                    suffix.isEmpty() ? fileIcon : m_icons.icon(QFileInfo(path)).pixmap(QSize(side, side)));
            cell->setImage(*icon);
        }
        cell->setLoaded(e.audio);
    }
}

void PvFileSystemBrowserDelegate::dfbrowserCreateRowsForColumn(
    DfBrowserControl* browser, int column, PvMatrix* matrix)
{
    const QString folder = folderOfColumn(browser, column);
    if (folder.isEmpty())
        return;
    const QString key = keyOf(folder, m_showsHidden);
    if (const auto listing = keptListing(key)) {
        fill(matrix, *listing);
        return;
    }
    showPlaceholder(matrix);
    // A folder already waited for is queued or being listed; its listing serves every
    // column that asked meanwhile.
    const bool queued = m_waiting.contains(key);
    m_waiting[key].append(Request {browser, column, matrix});
    if (!m_worker) {
        // The worker hands a listing to the main thread with a queued call; the delegate
        // outlives every such call it can receive (its destructor joins the worker, and
        // Qt drops calls still queued for a destroyed object).
        m_worker = std::make_unique<Worker>([this](std::shared_ptr<const PvFolderListing> listing) {
            QMetaObject::invokeMethod(
                this, [this, listing = std::move(listing)] { receive(listing); }, Qt::QueuedConnection);
        });
    }
    if (!queued)
        m_worker->enqueue(key, folder, m_showsHidden);
}

void PvFileSystemBrowserDelegate::receive(const std::shared_ptr<const PvFolderListing>& listing)
{
    m_kept.erase(
        std::remove_if(m_kept.begin(), m_kept.end(), [&](const auto& l) { return l->key == listing->key; }),
        m_kept.end());
    m_kept.insert(m_kept.begin(), listing);
    if (m_kept.size() > kKeptListings)
        m_kept.resize(kKeptListings);
    const QList<Request> requests = m_waiting.take(listing->key);
    m_arriving = listing;
    for (const Request& r : requests) {
        // Only a column still showing the placeholder made for this folder is refilled.
        if (!r.browser || !r.matrix || r.browser->delegate() != this
            || r.browser->matrixInColumn(r.column) != r.matrix.data()
            || keyOf(folderOfColumn(r.browser, r.column), listing->key.startsWith(u'1')) != listing->key)
            continue;
        r.browser->reloadColumn(r.column);
    }
    m_arriving.reset();
    emit listingFinished(listing->folder);
}

std::optional<bool> PvFileSystemBrowserDelegate::dfbrowserShouldShowFileInspectorView(
    DfBrowserControl* browser)
{
    auto* cell = dynamic_cast<PvBrowserCell*>(browser->selectedCell());
    return cell && cell->isLeaf() && isAudioFileName(cell->stringValue());
}

std::optional<bool> PvFileSystemBrowserDelegate::dfbrowserWriteRowsWithIndexes(
    DfBrowserControl* browser, const QList<int>& rows, int column, QMimeData* data)
{
    QList<QUrl> urls;
    for (int row : rows)
        if (auto* cell = dynamic_cast<PvBrowserCell*>(browser->cellAt(row, column)))
            urls << QUrl::fromLocalFile(cell->absolutePath());
    if (urls.isEmpty())
        return false;
    data->setUrls(urls);
    return true;
}

// ---- the audio inspector ------------------------------------------------------------------------

namespace {

constexpr int kOverviewStretches = 160;

constexpr int kMargin = 8;
constexpr int kOverviewHeight = 70;

// Lays text out in lines at most width wide, broken between words or, for a word too
// long for a line, anywhere; returns the height of the lines.
double layOut(QTextLayout& layout, double width)
{
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    double y = 0;
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(std::max(1.0, width));
        line.setPosition(QPointF(0, y));
        y += line.height();
    }
    layout.endLayout();
    return y;
}

QString fourCC(uint32_t code)
{
    QString s;
    for (int shift = 24; shift >= 0; shift -= 8)
        s += QChar(char((code >> shift) & 0xFF));
    return s.trimmed();
}

} // namespace

namespace {

// The basic tagging record as facts: its fields in host order, by offset.
void readTagging(CAuFileIO& io, QStringList& facts)
{
    CChunkData chunk;
    if (io.FindChunk(int32_t(PvFourCC("basc")), chunk) != 1) {
        facts << PvAudioFileInspectorView::tr("Loop tagging: none");
        return;
    }
    tagging::BasicTaggingChunk record {};
    if (!chunk.mData || chunk.mSize < sizeof(record)) {
        facts << PvAudioFileInspectorView::tr("Loop tagging: 'basc' too short (%1 of %2 bytes)")
                     .arg(chunk.mSize)
                     .arg(sizeof(record));
        return;
    }
    std::memcpy(&record, chunk.mData, sizeof(record));
    tagging::SwapBasicTaggingChunkToBig(&record); // file order to host order: the same swap
    facts << PvAudioFileInspectorView::tr("Loop tagging: 'basc', %1 bytes").arg(chunk.mSize);
    for (const tagging::BasicTaggingField& f : tagging::BasicTaggingFields(record))
        facts << QStringLiteral("%1 @%2: %3").arg(QString::fromStdString(f.name)).arg(f.offset).arg(f.value);
}

} // namespace

PvAudioFileInspectorView::PvAudioFileInspectorView(QWidget* parent)
    : PvAbstractFileInspectorView(parent)
{
    setAccessibleName(tr("Audio file inspector"));
}

int PvAudioFileInspectorView::heightForWidth(int width) const
{
    double height = kMargin + kOverviewHeight + kMargin;
    for (const QString& fact : m_facts) {
        QTextLayout layout(fact, font());
        height += layOut(layout, width - 2 * kMargin);
    }
    return int(std::ceil(height)) + kMargin;
}

QSize PvAudioFileInspectorView::sizeHint() const
{
    return QSize(220, heightForWidth(220));
}

void PvAudioFileInspectorView::setAbsolutePath(const QString& path)
{
    PvAbstractFileInspectorView::setAbsolutePath(path);
    read();
    setAccessibleDescription(m_facts.join(QStringLiteral("; ")));
    resize(width(), heightForWidth(width()));
    update();
}

void PvAudioFileInspectorView::read()
{
    m_facts.clear();
    m_overview.clear();
    m_readable = false;
    const QString path = absolutePath();
    m_facts << tr("Name: %1").arg(QFileInfo(path).fileName());
    CAuFileIO io;
    const QByteArray native = QFile::encodeName(path);
    if (path.isEmpty() || !io.Set(native.constData(), 0) || io.Open(false) != 0) {
        m_facts << tr("Not a readable audio file");
        return;
    }
    m_readable = true;
    const int channels = io.NumChannels();
    const int rate = io.SampleRate();
    const uint64_t frames = io.NumFrames();
    m_facts << tr("Format: %1").arg(fourCC(io.FileType()));
    m_facts << tr("Channels: %1").arg(channels);
    m_facts << tr("Rate: %1 Hz").arg(rate);
    m_facts << tr("Bit depth: %1").arg(io.BitDepth());
    m_facts
        << tr("Length: %1 s (%2 frames)").arg(rate > 0 ? double(frames) / rate : 0.0, 0, 'f', 3).arg(frames);
    m_facts << tr("Byte order: %1").arg(io.Swapped() ? tr("big-endian") : tr("little-endian"));
    QStringList chunks;
    for (const char* id : {"basc", "trns", "cate", "INST", "MARK", "COMT", "smpl", "cue ", "LIST", "acid"}) {
        CChunkData chunk;
        const uint32_t code = (uint32_t(uint8_t(id[0])) << 24) | (uint32_t(uint8_t(id[1])) << 16)
            | (uint32_t(uint8_t(id[2])) << 8) | uint32_t(uint8_t(id[3]));
        if (io.FindChunk(int32_t(code), chunk) == 1)
            chunks << QString::fromLatin1(id).trimmed();
    }
    m_facts << tr("Chunks: %1").arg(chunks.isEmpty() ? tr("none") : chunks.join(QStringLiteral(", ")));
    readTagging(io, m_facts);

    // The overview: the largest magnitude of each stretch, read block by block.
    if (channels <= 0 || frames == 0)
        return;
    m_overview = QVector<QVector<float>>(channels, QVector<float>(kOverviewStretches, 0.0f));
    const int32_t block = 4096;
    std::vector<float> buffer(size_t(block) * size_t(channels));
    for (uint64_t at = 0; at < frames; at += uint64_t(block)) {
        const int32_t n = int32_t(std::min<uint64_t>(uint64_t(block), frames - at));
        if (io.ReadFloat(buffer.data(), int32_t(at), n) != 0)
            break;
        for (int32_t f = 0; f < n; ++f) {
            const int stretch = int((at + uint64_t(f)) * kOverviewStretches / frames);
            for (int c = 0; c < channels; ++c) {
                float& peak = m_overview[c][stretch];
                peak = std::max(
                    peak, std::min(1.0f, std::abs(buffer[size_t(f) * size_t(channels) + size_t(c)])));
            }
        }
    }
}

void PvAudioFileInspectorView::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.fillRect(rect(), palette().color(QPalette::Base));
    // The overview first, one lane per channel.
    const QRect wave(kMargin, kMargin, width() - 2 * kMargin, kOverviewHeight);
    p.fillRect(wave, palette().color(QPalette::AlternateBase));
    if (!m_overview.isEmpty()) {
        const int lanes = int(m_overview.size());
        const double laneHeight = double(wave.height()) / lanes;
        p.setPen(palette().color(QPalette::Highlight));
        for (int c = 0; c < lanes; ++c) {
            const double mid = wave.top() + laneHeight * (c + 0.5);
            for (int i = 0; i < kOverviewStretches; ++i) {
                const double x = wave.left() + (i + 0.5) * wave.width() / kOverviewStretches;
                const double h = m_overview[c][i] * (laneHeight / 2 - 1);
                p.drawLine(QPointF(x, mid - h), QPointF(x, mid + h));
            }
        }
    }
    p.setPen(palette().color(QPalette::Text));
    double y = wave.bottom() + 1 + kMargin;
    for (const QString& fact : m_facts) {
        QTextLayout layout(fact, font());
        const double height = layOut(layout, width() - 2 * kMargin);
        layout.draw(&p, QPointF(kMargin, y));
        y += height;
    }
}
