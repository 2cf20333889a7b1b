// A column browser whose first column has 100,000 rows and whose second has 10,000,
// against QColumnView over a QStandardItemModel with the same rows, doing the same steps
// in one timed pass: build, select the first row (opening the second column), move into
// the second column with the right arrow, scroll it to its end and paint.
//
//   build/Bench/bench_browser --benchmark_repetitions=5 --benchmark_report_aggregates_only=true
//
// Peak memory: run each side in its own process (--benchmark_filter=Browser or
// --benchmark_filter=ColumnView); the maxrss_MB counter is the process's peak.
// Runs headless (offscreen platform).
#include <Pavo/PavoUI.h>

#include <QAbstractItemView>
#include <QApplication>
#include <QColumnView>
#include <QImage>
#include <QPainter>
#include <QStandardItemModel>
#include <QTest>
#include <benchmark/benchmark.h>

#include <sys/resource.h>

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

} // namespace

BENCHMARK(BM_Browser)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ColumnView)->Unit(benchmark::kMillisecond);
