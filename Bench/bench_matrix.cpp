// A one-column matrix of 100,000 text cells against a QListView over the same strings,
// step by step: fill, select all, scroll to the end, paint the visible part.
//
//   build/Bench/bench_matrix --benchmark_repetitions=5 --benchmark_report_aggregates_only=true
//       --benchmark_enable_random_interleaving=true
//
// Each row times one step; the steps before it are done untimed, so the ratio of two rows
// of the same step compares like with like. Interleaving mixes the rows' repetitions, so
// a shared host's drift weighs on both sides of each ratio. Runs headless (offscreen
// platform).
#include <Pavo/PavoUI.h>

#include <QApplication>
#include <QImage>
#include <QListView>
#include <QStringListModel>
#include <benchmark/benchmark.h>

#include <memory>

namespace {

constexpr int kRows = 100000;
const QSize kViewport(300, 400);

const QStringList& strings()
{
    static const QStringList s = [] {
        QStringList list;
        list.reserve(kRows);
        for (int i = 0; i < kRows; ++i)
            list << QString("Item %1").arg(i, 6, 10, QChar('0'));
        return list;
    }();
    return s;
}

// ---- matrix ---------------------------------------------------------------------------

struct MatrixSetup {
    PvScrollView scroll;
    PvMatrix* matrix = nullptr;

    MatrixSetup()
    {
        scroll.resize(kViewport);
        scroll.show();
    }
    void fill()
    {
        auto* m = new PvMatrix(PvMatrix::ListModeMatrix, kRows, 1);
        m->setCellSize(QSizeF(260, 17));
        const QStringList& s = strings();
        for (int i = 0; i < kRows; ++i)
            m->cellAt(i, 0)->setStringValue(s[i]);
        m->sizeToCells();
        scroll.setDocumentView(m); // the scroll view owns it; the previous one goes
        matrix = m;
    }
    void scrollToEnd()
    {
        const QRectF last = matrix->cellFrameAt(kRows - 1, 0);
        scroll.ensureVisible(int(last.left()), int(last.bottom()), 0, 0);
    }
    void paint(QImage& image) { scroll.viewport()->render(&image); }
};

void BM_Matrix_Fill(benchmark::State& state)
{
    MatrixSetup s;
    for (auto _ : state) {
        // Destroying the previous matrix is not part of filling, as clearing the list
        // model is not for the view.
        state.PauseTiming();
        s.scroll.setDocumentView(nullptr);
        state.ResumeTiming();
        s.fill();
        benchmark::DoNotOptimize(s.matrix);
    }
}

// Rows added one at a time, as a browser's delegate adds them, into a shown matrix.
void BM_Matrix_AddRows(benchmark::State& state)
{
    MatrixSetup s;
    const QStringList& strings = ::strings();
    for (auto _ : state) {
        state.PauseTiming();
        auto* m = new PvMatrix(PvMatrix::ListModeMatrix, 0, 1);
        m->setCellSize(QSizeF(260, 17));
        s.scroll.setDocumentView(m);
        state.ResumeTiming();
        for (int i = 0; i < kRows; ++i) {
            m->addRow();
            m->cellAt(i, 0)->setStringValue(strings[i]);
        }
        m->sizeToCells();
    }
}

void BM_Matrix_SelectAll(benchmark::State& state)
{
    MatrixSetup s;
    s.fill();
    for (auto _ : state) {
        state.PauseTiming();
        s.matrix->deselectAllCells();
        state.ResumeTiming();
        s.matrix->selectAll();
    }
}

void BM_Matrix_ScrollToEnd(benchmark::State& state)
{
    MatrixSetup s;
    s.fill();
    s.matrix->selectAll();
    for (auto _ : state) {
        state.PauseTiming();
        s.scroll.ensureVisible(0, 0, 0, 0);
        state.ResumeTiming();
        s.scrollToEnd();
    }
}

void BM_Matrix_Paint(benchmark::State& state)
{
    MatrixSetup s;
    s.fill();
    s.matrix->selectAll();
    s.scrollToEnd();
    QImage image(s.scroll.viewport()->size(), QImage::Format_ARGB32_Premultiplied);
    for (auto _ : state)
        s.paint(image);
}

// ---- QListView ------------------------------------------------------------------------

struct ListSetup {
    QStringListModel model;
    QListView view;

    ListSetup()
    {
        view.setUniformItemSizes(true);
        view.setSelectionMode(QAbstractItemView::ExtendedSelection);
        view.setModel(&model);
        view.resize(kViewport);
        view.show();
    }
    void fill()
    {
        model.setStringList(strings());
        view.doItemsLayout(); // the matrix lays out as it fills; the view would do it later
    }
    void paint(QImage& image) { view.viewport()->render(&image); }
};

void BM_ListView_Fill(benchmark::State& state)
{
    ListSetup s;
    for (auto _ : state) {
        state.PauseTiming();
        s.model.setStringList({});
        state.ResumeTiming();
        s.fill();
    }
}

void BM_ListView_AddRows(benchmark::State& state)
{
    ListSetup s;
    const QStringList& strings = ::strings();
    for (auto _ : state) {
        state.PauseTiming();
        s.model.setStringList({});
        state.ResumeTiming();
        for (int i = 0; i < kRows; ++i) {
            s.model.insertRows(i, 1);
            s.model.setData(s.model.index(i), strings[i]);
        }
        s.view.doItemsLayout();
    }
}

void BM_ListView_SelectAll(benchmark::State& state)
{
    ListSetup s;
    s.fill();
    for (auto _ : state) {
        state.PauseTiming();
        s.view.clearSelection();
        state.ResumeTiming();
        s.view.selectAll();
    }
}

void BM_ListView_ScrollToEnd(benchmark::State& state)
{
    ListSetup s;
    s.fill();
    s.view.selectAll();
    for (auto _ : state) {
        state.PauseTiming();
        s.view.scrollToTop();
        state.ResumeTiming();
        s.view.scrollToBottom();
    }
}

void BM_ListView_Paint(benchmark::State& state)
{
    ListSetup s;
    s.fill();
    s.view.selectAll();
    s.view.scrollToBottom();
    QImage image(s.view.viewport()->size(), QImage::Format_ARGB32_Premultiplied);
    for (auto _ : state)
        s.paint(image);
}

} // namespace

BENCHMARK(BM_Matrix_Fill)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ListView_Fill)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Matrix_AddRows)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ListView_AddRows)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Matrix_SelectAll)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ListView_SelectAll)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Matrix_ScrollToEnd)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ListView_ScrollToEnd)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Matrix_Paint)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ListView_Paint)->Unit(benchmark::kMicrosecond);
