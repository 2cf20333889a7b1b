// A column browser whose first column has 100,000 rows and whose second has 10,000,
// against QColumnView over a QStandardItemModel with the same rows, doing the same steps
// in one timed pass: build, select the first row (opening the second column), move into
// the second column with the right arrow, scroll it to its end and paint.
//
//   build/Bench/bench_browser --benchmark_repetitions=5 --benchmark_report_aggregates_only=true
//
// Folder listing (BM_FolderListing*): a folder of 100,000 empty files, made once, shown in
// column 0 with setPath("/") by the file-system delegate, which lists in the background,
// against the same steps listing on the main thread inside the delegate call (as the
// delegate did before). Counters: blocked_ms, how long setPath holds the main thread;
// shown_ms, until the rows are in the column (also the manual time); refill_ms, making the
// column again from the kept listing (what the main thread spends when the rows arrive).
//
//   build/Bench/bench_browser --benchmark_filter=FolderListing
//       --benchmark_repetitions=5 --benchmark_report_aggregates_only=true
//
// Peak memory: run each side in its own process (--benchmark_filter=Browser or
// --benchmark_filter=ColumnView); the maxrss_MB counter is the process's peak.
// Runs headless (offscreen platform).
#include <Pavo/PavoUI.h>

#include <QAbstractItemView>
#include <QApplication>
#include <QColumnView>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QImage>
#include <QPainter>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QTemporaryDir>
#include <QTest>
#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int kRows0 = 100000;
constexpr int kRows1 = 10000;
const QSize kSize(700, 400);

QString rowName(int column, int row)
{
    return QStringLiteral("Item %1-%2").arg(column).arg(row, 6, 10, QChar('0'));
}

double maxRssMB()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_maxrss) / 1024.0;
}

struct Rows : DfBrowserControlDelegate {
    void dfbrowserCreateRowsForColumn(DfBrowserControl*, int column, PvMatrix* matrix) override
    {
        const int rows = column == 0 ? kRows0 : kRows1;
        matrix->renewRows(rows, 1);
        for (int i = 0; i < rows; ++i) {
            auto* cell = static_cast<PvBrowserCell*>(matrix->cellAt(i, 0));
            cell->setStringValue(rowName(column, i));
            cell->setLeaf(column > 0 || i != 0);
        }
    }
};

void BM_Browser(benchmark::State& state)
{
    Rows rows;
    for (auto _ : state) {
        DfBrowserControl browser;
        browser.resize(kSize);
        browser.setDelegate(&rows);
        browser.show();
        browser.loadColumnZero();
        PvMatrix* first = browser.matrixInColumn(0);
        QTest::keyClick(first, Qt::Key_Down); // selects row 0: the second column opens
        QTest::keyClick(first, Qt::Key_Right);
        PvMatrix* second = browser.matrixInColumn(1);
        const QRectF last = second->cellFrameAt(kRows1 - 1, 0);
        browser.scrollViewOfColumn(1)->ensureVisible(0, int(last.bottom()), 0, 0);
        QImage image(kSize, QImage::Format_ARGB32_Premultiplied);
        browser.render(&image);
        benchmark::DoNotOptimize(image.constBits());
        if (browser.selectedColumn() != 1 || second->selectedRow() != 0)
            state.SkipWithError("the steps did not select in the second column");
    }
    state.counters["maxrss_MB"] = maxRssMB();
}

void BM_ColumnView(benchmark::State& state)
{
    for (auto _ : state) {
        QStandardItemModel model;
        QStandardItem* root = model.invisibleRootItem();
        QList<QStandardItem*> items;
        items.reserve(kRows0);
        for (int i = 0; i < kRows0; ++i)
            items << new QStandardItem(rowName(0, i));
        QList<QStandardItem*> children;
        children.reserve(kRows1);
        for (int i = 0; i < kRows1; ++i)
            children << new QStandardItem(rowName(1, i));
        items[0]->appendRows(children);
        root->appendRows(items);
        QColumnView view;
        view.resize(kSize);
        view.setModel(&model);
        view.show();
        // The keys go to the first column's list, as the browser's go to its first matrix.
        auto* firstColumn = view.findChild<QAbstractItemView*>();
        QTest::keyClick(firstColumn, Qt::Key_Down); // selects row 0: the second column opens
        QTest::keyClick(firstColumn, Qt::Key_Right);
        const QModelIndex last = model.index(kRows1 - 1, 0, model.index(0, 0));
        view.scrollTo(last);
        QImage image(kSize, QImage::Format_ARGB32_Premultiplied);
        view.render(&image);
        benchmark::DoNotOptimize(image.constBits());
        if (view.currentIndex().parent() != model.index(0, 0))
            state.SkipWithError("the steps did not select in the second column");
    }
    state.counters["maxrss_MB"] = maxRssMB();
}

constexpr int kFolderFiles = 100000;

// The folder of kFolderFiles empty files, dated an hour back so that a finished listing
// may be kept.
QString bigFolder()
{
    static QTemporaryDir dir;
    static const bool made = [] {
        for (int i = 0; i < kFolderFiles; ++i) {
            const QByteArray name = QFile::encodeName(dir.filePath(QStringLiteral("Take %1.wav").arg(i)));
            const int fd = ::open(name.constData(), O_CREAT | O_WRONLY, 0644);
            if (fd < 0)
                return false;
            ::close(fd);
        }
        const timespec times[2] = {{::time(nullptr) - 3600, 0}, {::time(nullptr) - 3600, 0}};
        return utimensat(AT_FDCWD, QFile::encodeName(dir.path()).constData(), times, 0) == 0;
    }();
    return made ? dir.path() : QString();
}

// The reference: the folder listed, sorted and made into rows inside the delegate call.
struct ListsOnMainThread : DfBrowserControlDelegate {
    PvFileSystemBrowserDelegate names;
    QFileIconProvider icons;
    void dfbrowserCreateRowsForColumn(DfBrowserControl*, int, PvMatrix* matrix) override
    {
        const QDir dir(names.rootPath());
        const QStringList sorted = names.sortedEntries(dir.path());
        matrix->renewRows(int(sorted.size()), 1);
        const QPixmap icon = icons.icon(QFileIconProvider::File).pixmap(16, 16);
        for (int i = 0; i < sorted.size(); ++i) {
            const QString path = dir.absoluteFilePath(sorted[i]);
            const QFileInfo info(path);
            auto* cell = static_cast<PvBrowserCell*>(matrix->cellAt(i, 0));
            cell->setStringValue(sorted[i]);
            cell->setAbsolutePath(path);
            cell->setLeaf(!info.isDir());
            cell->setImage(icon);
            cell->setLoaded(PvFileSystemBrowserDelegate::isAudioFileName(sorted[i]));
        }
    }
};

// A shown browser over delegate whose root folder is asked for as the object is made;
// blockedMs is how long that call held the main thread.
struct BrowserAtRoot {
    DfBrowserControl browser;
    QElapsedTimer sinceSetPath;
    double blockedMs = 0;

    explicit BrowserAtRoot(DfBrowserControlDelegate* delegate)
    {
        browser.resize(kSize);
        browser.setDelegate(delegate);
        browser.show();
        sinceSetPath.start();
        browser.setPath("/");
        blockedMs = double(sinceSetPath.nsecsElapsed()) / 1e6;
    }
    bool showsTheFolder() const { return browser.matrixInColumn(0)->numberOfRows() == kFolderFiles; }
};

void BM_FolderListingOnMainThread(benchmark::State& state)
{
    const QString folder = bigFolder();
    for (auto _ : state) {
        ListsOnMainThread delegate;
        delegate.names.setRootPath(folder);
        BrowserAtRoot b(&delegate);
        if (!b.showsTheFolder())
            state.SkipWithError("the folder's rows are not shown");
        state.SetIterationTime(b.blockedMs / 1000.0);
        state.counters["blocked_ms"] = b.blockedMs;
        state.counters["shown_ms"] = b.blockedMs;
    }
}

void BM_FolderListingInBackground(benchmark::State& state)
{
    const QString folder = bigFolder();
    for (auto _ : state) {
        PvFileSystemBrowserDelegate delegate(folder);
        QSignalSpy listed(&delegate, &PvFileSystemBrowserDelegate::listingFinished);
        BrowserAtRoot b(&delegate);
        const bool arrived = listed.wait(120000);
        const double shown = double(b.sinceSetPath.nsecsElapsed()) / 1e6;
        if (!arrived || !b.showsTheFolder())
            state.SkipWithError("the folder's rows are not shown");
        QElapsedTimer timer;
        timer.start();
        b.browser.loadColumnZero(); // from the kept listing
        const double refill = double(timer.nsecsElapsed()) / 1e6;
        if (!b.showsTheFolder())
            state.SkipWithError("the kept listing was not used");
        state.SetIterationTime(shown / 1000.0);
        state.counters["blocked_ms"] = b.blockedMs;
        state.counters["shown_ms"] = shown;
        state.counters["refill_ms"] = refill;
    }
}

} // namespace

BENCHMARK(BM_FolderListingOnMainThread)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(1);
BENCHMARK(BM_FolderListingInBackground)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(1);
BENCHMARK(BM_Browser)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ColumnView)->Unit(benchmark::kMillisecond);
