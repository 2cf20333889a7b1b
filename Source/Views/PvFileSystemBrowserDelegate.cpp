#include "PvFileSystemBrowserDelegate.h"

#include "CAuFileIO.h"
#include "CChunkData.h"
#include "CFileUtil.h"
#include "PvBrowserCell.h"

#include <QDir>
#include <QFileInfo>
#include <QMimeData>
#include <QPainter>
#include <QUrl>

#include <algorithm>
#include <cmath>

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

} // namespace

// ---- the delegate ---------------------------------------------------------------------------

PvFileSystemBrowserDelegate::PvFileSystemBrowserDelegate(const QString& rootPath)
    : m_rootPath(rootPath.isEmpty() ? QDir::rootPath() : rootPath)
{
}

bool PvFileSystemBrowserDelegate::isAudioFileName(const QString& name)
{
    return CFileUtilFileTypeFromName(name.toUtf8().constData()) != 0;
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
    QDir::Filters filters = QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System;
    if (m_showsHidden)
        filters |= QDir::Hidden;
    QStringList names = QDir(folder).entryList(filters, QDir::Unsorted);
    std::sort(names.begin(), names.end(), [](const QString& a, const QString& b) {
        const int c = naturalCompare(a, b);
        return c != 0 ? c < 0 : a < b;
    });
    return names;
}

void PvFileSystemBrowserDelegate::dfbrowserCreateRowsForColumn(
    DfBrowserControl* browser, int column, PvMatrix* matrix)
{
    const QString folder = folderOfColumn(browser, column);
    if (folder.isEmpty())
        return;
    const QStringList names = sortedEntries(folder);
    const QDir dir(folder);
    matrix->renewRows(int(names.size()), 1);
    const double side = std::max(8.0, matrix->cellSize().height() - 2.0);
    QPixmap folderIcon = m_icons.icon(QFileIconProvider::Folder).pixmap(QSize(int(side), int(side)));
    for (int i = 0; i < names.size(); ++i) {
        const QString path = dir.absoluteFilePath(names[i]);
        const QFileInfo info(path);
        auto* cell = dynamic_cast<PvBrowserCell*>(matrix->cellAt(i, 0));
        if (!cell) {
            matrix->putCell(std::make_unique<PvBrowserCell>(), i, 0);
            cell = static_cast<PvBrowserCell*>(matrix->cellAt(i, 0));
        }
        const bool folderEntry = info.isDir();
        cell->setStringValue(names[i]);
        cell->setAbsolutePath(path);
        cell->setLeaf(!folderEntry);
        cell->setImage(folderEntry ? folderIcon : m_icons.icon(info).pixmap(QSize(int(side), int(side))));
        cell->setLoaded(folderEntry ? false : isAudioFileName(names[i]));
    }
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

QString fourCC(uint32_t code)
{
    QString s;
    for (int shift = 24; shift >= 0; shift -= 8)
        s += QChar(char((code >> shift) & 0xFF));
    return s.trimmed();
}

} // namespace

PvAudioFileInspectorView::PvAudioFileInspectorView(QWidget* parent)
    : PvAbstractFileInspectorView(parent)
{
    setAccessibleName(tr("Audio file inspector"));
}

QSize PvAudioFileInspectorView::sizeHint() const
{
    return QSize(220, 60 + fontMetrics().lineSpacing() * (int(m_facts.size()) + 1) + 80);
}

void PvAudioFileInspectorView::setAbsolutePath(const QString& path)
{
    PvAbstractFileInspectorView::setAbsolutePath(path);
    read();
    setAccessibleDescription(m_facts.join(QStringLiteral("; ")));
    resize(width(), sizeHint().height());
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
    m_facts << tr("Loop tagging: %1").arg(io.IsSorvikLoop() ? tr("yes") : tr("no"));

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
    p.setPen(palette().color(QPalette::Text));
    const int line = fontMetrics().lineSpacing();
    int y = 8;
    // The overview first, one lane per channel.
    const QRect wave(8, y, width() - 16, 70);
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
    y = wave.bottom() + 8 + fontMetrics().ascent();
    p.setPen(palette().color(QPalette::Text));
    for (const QString& fact : m_facts) {
        p.drawText(8, y, fontMetrics().elidedText(fact, Qt::ElideMiddle, width() - 16));
        y += line;
    }
}
