// The column browser: columns and their widths, paths, keys, the splitter, background
// clicks, the inspector and row drags.
#include <Pavo/PavoUI.h>

#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QMimeData>
#include <QSignalSpy>
#include <QStyleHints>
#include <QTemporaryDir>
#include <QTest>
#include <QWindow>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>

namespace {

// A tree of folders named by depth: "a0".."aN" are folders up to depth 2, "f" rows are leaves.
struct TreeDelegate : DfBrowserControlDelegate {
    int rows = 5;
    QList<int> created;
    QStringList events;
    bool answersDouble = true;
    std::optional<bool> showInspector;
    QList<int> draggedRows;
    void dfbrowserCreateRowsForColumn(DfBrowserControl*, int column, PvMatrix* matrix) override
    {
        created << column;
        for (int i = 0; i < rows; ++i) {
            matrix->addRow();
            auto* cell = static_cast<PvBrowserCell*>(matrix->cellAt(i, 0));
            const bool leaf = column >= 2 || i >= 3;
            cell->setStringValue(QStringLiteral("%1%2").arg(leaf ? "f" : "a").arg(i));
            cell->setLeaf(leaf);
            cell->setAbsolutePath(QStringLiteral("/c%1/%2").arg(column).arg(cell->stringValue()));
        }
    }
    bool dfbrowserAnswersClickInBackground(int count) const override
    {
        return count == 1 || (count == 2 && answersDouble);
    }
    bool dfbrowserSingleClickInBackgroundOfColumn(DfBrowserControl*, int column) override
    {
        events << QStringLiteral("single %1").arg(column);
        return true;
    }
    bool dfbrowserDoubleClickInBackgroundOfColumn(DfBrowserControl*, int column) override
    {
        events << QStringLiteral("double %1").arg(column);
        return true;
    }
    std::optional<bool> dfbrowserShouldShowFileInspectorView(DfBrowserControl*) override
    {
        return showInspector;
    }
    void dfbrowserWillShowFileInspectorView(DfBrowserControl*) override { events << "delegate show"; }
    void dfbrowserWillDismissFileInspectorView(DfBrowserControl*) override { events << "delegate dismiss"; }
    std::optional<bool> dfbrowserWriteRowsWithIndexes(
        DfBrowserControl*, const QList<int>& r, int, QMimeData* data) override
    {
        draggedRows = r;
        data->setText(QStringLiteral("rows"));
        return true;
    }
};

struct Inspector : PvAbstractFileInspectorView {
    QStringList* log = nullptr;
    void willShowFileInspectorView(DfBrowserControl*) override { *log << "view show " + absolutePath(); }
    void willDismissFileInspectorView(DfBrowserControl*) override { *log << "view dismiss"; }
};

// Records drags instead of running the window system's drag loop.
struct Browser : DfBrowserControl {
    using DfBrowserControl::DfBrowserControl;
    QString dragged;
    void runDrag(QMimeData* data, const QPixmap& image, const QPoint&) override
    {
        dragged = data->text() + (image.isNull() ? " no image" : " image");
        delete data;
    }
};

struct BrowserFixture : ::testing::Test {
    QWidget window;
    Browser* browser = nullptr;
    QLineEdit* after = nullptr;
    TreeDelegate delegate;
    void SetUp() override
    {
        browser = new Browser(&window);
        browser->setGeometry(0, 0, 700, 300);
        browser->setDelegate(&delegate);
        after = new QLineEdit(&window);
        after->setGeometry(0, 310, 100, 20);
        window.resize(700, 340);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
        browser->loadColumnZero();
    }
    PvMatrix* m(int column) { return browser->matrixInColumn(column); }
    void clickRow(int column, int row)
    {
        PvMatrix* matrix = m(column);
        QTest::mouseClick(matrix, Qt::LeftButton, {}, matrix->cellFrameAt(row, 0).center().toPoint());
    }
    // A press as the window system delivers it, at time ms (so click counts are real).
    void windowPress(QPoint pos, ulong time)
    {
        QWindow* w = window.windowHandle();
        qt_handleMouseEvent(w, pos, w->mapToGlobal(pos), Qt::LeftButton, Qt::LeftButton,
            QEvent::MouseButtonPress, Qt::NoModifier, int(time));
        qt_handleMouseEvent(w, pos, w->mapToGlobal(pos), Qt::NoButton, Qt::LeftButton,
            QEvent::MouseButtonRelease, Qt::NoModifier, int(time + 1));
        QCoreApplication::processEvents();
    }
};

} // namespace

TEST_F(BrowserFixture, ColumnsFollowTheSelectionAndRememberTheirWidths)
{
    EXPECT_EQ(browser->columnCount(), 1);
    EXPECT_EQ(browser->scrollViewOfColumn(0)->width(), 200);
    EXPECT_EQ(m(0)->numberOfRows(), 5);
    EXPECT_EQ(m(0)->cellSize().height(), 18.0);
    EXPECT_EQ(browser->fillUpViewCount(), 3); // 200 + 3 x 200 covers 698
    clickRow(0, 1);
    EXPECT_EQ(browser->columnCount(), 2);
    EXPECT_EQ(m(1)->tag(), 1);
    EXPECT_EQ(browser->scrollViewOfColumn(1)->x(), 200);
    EXPECT_EQ(browser->pathToColumn(2), "/a1/"); // a folder ends with the separator
    clickRow(1, 0);
    clickRow(2, 4);
    EXPECT_EQ(browser->path(), "/a1/a0/f4");
    EXPECT_EQ(browser->pathToColumn(0), "/");
    EXPECT_EQ(browser->selectedColumn(), 2);
    EXPECT_EQ(browser->selectedRow(), 4);

    // A remembered width outlives its column and is used when it comes back.
    browser->setWidth(260, 1);
    clickRow(0, 2);
    EXPECT_EQ(browser->columnCount(), 2);
    EXPECT_EQ(browser->scrollViewOfColumn(1)->width(), 260);
    clickRow(0, 4); // a leaf: no new column
    EXPECT_EQ(browser->columnCount(), 1);
    clickRow(0, 0);
    EXPECT_EQ(browser->scrollViewOfColumn(1)->width(), 260);
    EXPECT_DOUBLE_EQ(browser->columnWidthSum(), 460);

    browser->reloadColumn(7); // out of range: nothing
    EXPECT_EQ(browser->columnCount(), 2);
    browser->reloadColumn(0);
    EXPECT_EQ(browser->columnCount(), 1);
    EXPECT_EQ(browser->selectedColumn(), -1);
}

TEST_F(BrowserFixture, PathsAreSetAndReadBack)
{
    EXPECT_TRUE(browser->setPath("/a2/a1/f3"));
    EXPECT_EQ(browser->columnCount(), 3);
    EXPECT_EQ(browser->path(), "/a2/a1/f3");
    EXPECT_FALSE(browser->setPath("/a2/missing/f3")); // columns up to the last match
    EXPECT_EQ(browser->columnCount(), 2);
    EXPECT_EQ(browser->path(), "/a2/");
    EXPECT_TRUE(browser->setPath("/a0/"));
    EXPECT_EQ(browser->columnCount(), 2);
    EXPECT_EQ(browser->path(), "/a0/");
    for (const QString& p : {QString(""), QString("/")}) {
        browser->setPath("/a1/a1/");
        EXPECT_TRUE(browser->setPath(p));
        EXPECT_EQ(browser->columnCount(), 1);
        EXPECT_EQ(browser->selectedColumn(), -1);
        EXPECT_EQ(browser->path(), "/");
    }
    browser->setPathSeparator(":");
    EXPECT_TRUE(browser->setPath(":a1:f4"));
    EXPECT_EQ(browser->path(), ":a1:f4");
    EXPECT_TRUE(browser->selectCellWithAbsolutePath("/c0/a2", m(0)));
    EXPECT_EQ(browser->columnCount(), 2);
    EXPECT_FALSE(browser->selectCellWithAbsolutePath("/nowhere", m(0)));
}

TEST_F(BrowserFixture, ArrowKeysMoveBetweenColumnsAndModifiedKeysGoToTheResponder)
{
    QLineEdit responder(&window);
    browser->setSpaceKeyResponder(&responder);
    browser->setFocus();
    EXPECT_TRUE(m(0)->hasFocus()); // the browser hands focus to its first column
    QTest::keyClick(m(0), Qt::Key_Up); // nothing selected: up takes the last row
    EXPECT_EQ(m(0)->selectedRow(), 4);
    m(0)->deselectAllCells();
    QTest::keyClick(m(0), Qt::Key_Down); // and down the first
    EXPECT_EQ(m(0)->selectedRow(), 0);
    EXPECT_EQ(browser->columnCount(), 2);
    QTest::keyClick(m(0), Qt::Key_Right);
    EXPECT_EQ(m(1)->selectedRow(), 0);
    EXPECT_TRUE(m(1)->hasFocus());
    EXPECT_EQ(browser->columnCount(), 3);
    QTest::keyClick(m(1), Qt::Key_Down);
    EXPECT_EQ(browser->path(), "/a0/a1/");
    QTest::keyClick(m(1), Qt::Key_Left);
    EXPECT_TRUE(m(0)->hasFocus());
    EXPECT_EQ(browser->columnCount(), 2);
    EXPECT_EQ(m(1)->selectedRow(), -1);

    QTest::keyClick(m(0), Qt::Key_Space);
    QTest::keyClick(m(0), Qt::Key_Right, Qt::ControlModifier);
    EXPECT_EQ(responder.text(), " ");
    EXPECT_EQ(browser->columnCount(), 2); // the modified arrow did not move
    browser->setAcceptsArrowKeys(false);
    QTest::keyClick(m(0), Qt::Key_Right);
    EXPECT_EQ(m(1)->selectedRow(), -1);
    QTest::keyClick(m(0), Qt::Key_Tab); // tab leaves the browser
    EXPECT_TRUE(after->hasFocus() || responder.hasFocus());
}

TEST_F(BrowserFixture, TheSplitterResizesClampedAtTheMinimum)
{
    clickRow(0, 0);
    auto* column = qobject_cast<PvBrowserColumnScrollView*>(browser->scrollViewOfColumn(0));
    ASSERT_TRUE(column && column->splitterView());
    QWidget* splitter = column->splitterView();
    const QPoint grip(splitter->width() / 2, splitter->height() / 2);
    QTest::mousePress(splitter, Qt::LeftButton, {}, grip);
    QTest::mouseMove(splitter, grip + QPoint(40, 0));
    EXPECT_EQ(column->width(), 240);
    EXPECT_EQ(browser->scrollViewOfColumn(1)->x(), 240); // the next column moved along
    QTest::mouseMove(splitter, grip + QPoint(-200, 0));
    QTest::mouseRelease(splitter, Qt::LeftButton, {}, grip + QPoint(-200, 0));
    EXPECT_EQ(column->width(), 150);
    EXPECT_DOUBLE_EQ(browser->widthOfColumn(0), 150);
    EXPECT_EQ(browser->scrollViewOfColumn(1)->x(), 150);
    EXPECT_EQ(m(0)->width(), column->contentSize().width());

    // A notification about a view of no browser changes nothing.
    PvScrollView stranger;
    PvNotificationCenter::defaultCenter()->postNotification(
        PvBrowserColumnScrollViewSplitterNotification, &stranger, {{"DELTAX", 80.0}});
    EXPECT_EQ(column->width(), 150);
    browser->setColumnsResizable(false);
    browser->reloadColumn(1);
    EXPECT_EQ(
        qobject_cast<PvBrowserColumnScrollView*>(browser->scrollViewOfColumn(1))->splitterView(), nullptr);
}

TEST_F(BrowserFixture, BackgroundClicksWaitForLongerGestures)
{
    PvClock::ScopedOverride clock(100.0);
    const QPoint background = browser->mapTo(&window, QPoint(60, 200)); // below column 0's rows
    const ulong interval = ulong(QGuiApplication::styleHints()->mouseDoubleClickInterval());
    windowPress(background, 1000000);
    EXPECT_TRUE(delegate.events.isEmpty());
    clock.advance(0.14);
    pv_performDueRequests();
    EXPECT_TRUE(delegate.events.isEmpty());
    clock.advance(0.02);
    pv_performDueRequests();
    EXPECT_EQ(delegate.events, QStringList({"single 0"}));

    // A second click cancels the waiting single click; the double click is at once
    // (here beside the last column: -1).
    delegate.events.clear();
    windowPress(background + QPoint(250, 0), 1000000 + 10 * interval);
    windowPress(background + QPoint(250, 0), 1000000 + 10 * interval + 50);
    EXPECT_EQ(delegate.events, QStringList({"double -1"}));
    clock.advance(1.0);
    pv_performDueRequests();
    EXPECT_EQ(delegate.events, QStringList({"double -1"}));

    // Without a double-click answer the single click is not delayed.
    delegate.answersDouble = false;
    delegate.events.clear();
    windowPress(background + QPoint(500, 0), 1000000 + 20 * interval);
    EXPECT_EQ(delegate.events, QStringList({"single -1"}));
}

TEST_F(BrowserFixture, TheInspectorFollowsASelectedLeafAndRowsAreDragged)
{
    Inspector inspector;
    inspector.log = &delegate.events;
    browser->setFileInspectorView(&inspector);
    clickRow(0, 3);
    EXPECT_EQ(delegate.events, QStringList({"delegate show", "view show /c0/f3"}));
    EXPECT_EQ(browser->columnCount(), 2);
    EXPECT_EQ(browser->matrixInColumn(1), nullptr);
    EXPECT_TRUE(inspector.isVisible());
    delegate.events.clear();
    clickRow(0, 0);
    EXPECT_EQ(delegate.events, QStringList({"delegate dismiss", "view dismiss"}));
    EXPECT_NE(browser->matrixInColumn(1), nullptr);
    delegate.showInspector = false;
    clickRow(0, 4);
    EXPECT_EQ(browser->columnCount(), 1);

    // A drag starts only after 5 points of movement, with the selected rows.
    PvMatrix* matrix = m(0);
    const QPoint p = matrix->cellFrameAt(1, 0).center().toPoint();
    QTest::mousePress(matrix, Qt::LeftButton, {}, p);
    QTest::mouseMove(matrix, p + QPoint(4, 0));
    EXPECT_TRUE(browser->dragged.isEmpty());
    QTest::mouseMove(matrix, p + QPoint(4, 5));
    QTest::mouseRelease(matrix, Qt::LeftButton, {}, p + QPoint(4, 5));
    EXPECT_EQ(delegate.draggedRows, QList<int>({1}));
    EXPECT_EQ(browser->dragged, "rows image");
    browser->setFileInspectorView(nullptr);
}

namespace {

// Runs start and waits for the delegate's next finished listing.
template <class Start> bool listed(PvFileSystemBrowserDelegate& delegate, Start start)
{
    QSignalSpy spy(&delegate, &PvFileSystemBrowserDelegate::listingFinished);
    start();
    return spy.wait();
}

QStringList rowsOf(PvMatrix* matrix)
{
    QStringList rows;
    for (int i = 0; matrix && i < matrix->numberOfRows(); ++i)
        rows << matrix->cellAt(i, 0)->stringValue() + (matrix->cellAt(i, 0)->isEnabled() ? "" : " (off)");
    return rows;
}

void touch(const QString& path)
{
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
}

// Dates the folder an hour back, as a folder not changed while it is listed.
void age(const QString& folder)
{
    timespec times[2] = {{::time(nullptr) - 3600, 0}, {::time(nullptr) - 3600, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, QFile::encodeName(folder).constData(), times, 0), 0);
}

} // namespace

TEST(FileSystemBrowser, ListsInTheBackgroundAndRefillsOnlyTheColumnStillShowingTheFolder)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    for (const char* folder : {"one", "two"})
        for (int i = 0; i < 3 && QDir(dir.path()).mkpath(folder); ++i)
            touch(dir.filePath(QString("%1/%2 %3").arg(folder).arg(folder).arg(10 - i)));
    touch(dir.filePath("B"));
    age(dir.path());
    PvFileSystemBrowserDelegate delegate(dir.path());
    DfBrowserControl browser;
    browser.resize(600, 200);
    browser.setDelegate(&delegate);
    browser.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&browser));
    QStringList atEachListing; // column 1 when each listing is announced
    QObject::connect(&delegate, &PvFileSystemBrowserDelegate::listingFinished, [&](const QString& folder) {
        atEachListing << QFileInfo(folder).fileName() + ": " + rowsOf(browser.matrixInColumn(1)).join(",");
    });
    ASSERT_TRUE(listed(delegate, [&] {
        browser.loadColumnZero();
        EXPECT_EQ(rowsOf(browser.matrixInColumn(0)), QStringList({"Loading\u2026 (off)"}));
        EXPECT_TRUE(delegate.isListing(dir.path()));
    }));
    EXPECT_EQ(rowsOf(browser.matrixInColumn(0)), QStringList({"B", "one", "two"}));
    EXPECT_FALSE(delegate.isListing(dir.path()));

    // A kept listing fills a new column at once; a changed folder or refresh() lists again.
    browser.loadColumnZero();
    EXPECT_EQ(rowsOf(browser.matrixInColumn(0)), QStringList({"B", "one", "two"}));
    delegate.refresh();
    browser.loadColumnZero();
    EXPECT_EQ(browser.matrixInColumn(0)->numberOfRows(), 1);
    ASSERT_TRUE(listed(delegate, [] {}));
    touch(dir.filePath("a"));
    browser.loadColumnZero();
    EXPECT_EQ(browser.matrixInColumn(0)->numberOfRows(), 1);
    ASSERT_TRUE(listed(delegate, [] {}));
    EXPECT_EQ(rowsOf(browser.matrixInColumn(0)), QStringList({"a", "B", "one", "two"}));

    // "one" is still being listed when "two" is chosen: its rows are not shown.
    atEachListing.clear();
    for (int i = 0; i < 4; ++i) // "a", "B", "one", "two"
        QTest::keyClick(browser.matrixInColumn(0), Qt::Key_Down);
    EXPECT_EQ(rowsOf(browser.matrixInColumn(1)), QStringList({"Loading\u2026 (off)"}));
    QSignalSpy spy(&delegate, &PvFileSystemBrowserDelegate::listingFinished);
    while (spy.size() < 2 && spy.wait()) { }
    EXPECT_EQ(atEachListing, QStringList({"one: Loading\u2026 (off)", "two: two 8,two 9,two 10"}));
    EXPECT_EQ(browser.path(), "/two/");
}

TEST(FileSystemBrowser, DestroyingTheBrowserOrDelegateWhileListingIsSafe)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    for (int i = 0; i < 2000; ++i)
        touch(dir.filePath(QString::number(i)));
    auto delegate = std::make_unique<PvFileSystemBrowserDelegate>(dir.path());
    auto browser = std::make_unique<DfBrowserControl>();
    browser->setDelegate(delegate.get());
    ASSERT_TRUE(listed(*delegate, [&] {
        browser->loadColumnZero();
        browser.reset(); // the listing arrives for no browser
    }));
    browser = std::make_unique<DfBrowserControl>();
    browser->setDelegate(delegate.get());
    delegate->refresh();
    browser->loadColumnZero();
    EXPECT_TRUE(delegate->isListing(dir.path()));
    browser->setDelegate(nullptr);
    delegate.reset(); // stops and joins the worker; a listing posted meanwhile is dropped
    QCoreApplication::processEvents();
    EXPECT_EQ(rowsOf(browser->matrixInColumn(0)), QStringList({"Loading\u2026 (off)"}));
}

TEST(FileSystemBrowser, ListsFoldersNaturallyAndInspectsAudioFiles)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    QDir(dir.path()).mkpath("sub 10");
    QDir(dir.path()).mkpath("Sub 9");
    for (const char* name : {"take 2.txt", "Take 10.txt", ".hidden"}) {
        QFile f(dir.filePath(name));
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    }
    FSRef folder {};
    ASSERT_EQ(PathToFSRef(dir.path(), &folder), noErr);
    {
        CAuFileIO io;
        ASSERT_EQ(
            io.CreateAndOpen(&folder, "tone.wav", 0, 2, 16, 8000, int32_t(PvFourCC("WAVE")), nullptr), 0);
        std::vector<float> samples(16000 * 2, 0.0f);
        for (int f = 8000; f < 16000; ++f)
            samples[size_t(f) * 2] = 0.5f; // left channel loud in the second half only
        ASSERT_EQ(io.WriteFloat(samples.data(), 0, 16000), 0);
        tagging::BasicTaggingChunk record {};
        record.value1 = 0x01020304;
        record.words[4] = 7;
        record.values[15] = 99;
        tagging::SwapBasicTaggingChunkToBig(&record); // to file order
        CChunkData chunk;
        chunk.mID = PvFourCC("basc");
        chunk.SetData(&record, sizeof(record));
        ASSERT_EQ(io.AddChunk(chunk, 0), 1);
        io.Close();
    }
    PvFileSystemBrowserDelegate delegate(dir.path());
    EXPECT_EQ(delegate.sortedEntries(dir.path()),
        QStringList({"Sub 9", "sub 10", "take 2.txt", "Take 10.txt", "tone.wav"}));
    delegate.setShowsHiddenFiles(true);
    EXPECT_EQ(delegate.sortedEntries(dir.path()).first(), ".hidden");
    delegate.setShowsHiddenFiles(false);
    EXPECT_TRUE(PvFileSystemBrowserDelegate::isAudioFileName("Kick.aif"));
    EXPECT_FALSE(PvFileSystemBrowserDelegate::isAudioFileName("notes.txt"));

    DfBrowserControl browser;
    browser.resize(600, 200);
    browser.setDelegate(&delegate);
    PvAudioFileInspectorView inspector;
    browser.setFileInspectorView(&inspector);
    browser.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&browser));
    ASSERT_TRUE(listed(delegate, [&] { browser.loadColumnZero(); }));
    ASSERT_TRUE(browser.setPath("/take 2.txt"));
    EXPECT_EQ(browser.columnCount(), 1); // not audio: no inspector
    auto* cell = dynamic_cast<PvBrowserCell*>(browser.cellAt(0, 0));
    ASSERT_TRUE(cell);
    EXPECT_FALSE(cell->isLeaf());
    EXPECT_EQ(cell->absolutePath(), dir.filePath("Sub 9"));
    ASSERT_TRUE(browser.setPath("/tone.wav"));
    PvMatrix* matrix = browser.matrixInColumn(0);
    QTest::mouseClick(matrix, Qt::LeftButton, {}, matrix->cellFrameAt(4, 0).center().toPoint());
    ASSERT_EQ(browser.columnCount(), 2);
    EXPECT_EQ(inspector.absolutePath(), dir.filePath("tone.wav"));
    const QStringList facts = inspector.facts();
    EXPECT_TRUE(facts.contains("Format: WAVE"));
    EXPECT_TRUE(facts.contains("Channels: 2"));
    EXPECT_TRUE(facts.contains("Rate: 8000 Hz"));
    EXPECT_TRUE(facts.contains("Bit depth: 16"));
    EXPECT_TRUE(facts.contains("Length: 2.000 s (16000 frames)"));
    EXPECT_TRUE(facts.contains("Byte order: little-endian"));
    EXPECT_TRUE(facts.contains("Loop tagging: 'basc', 82 bytes"));
    EXPECT_TRUE(facts.contains("value1 @0: 16909060"));
    EXPECT_TRUE(facts.contains("words[4] @16: 7"));
    EXPECT_TRUE(facts.contains("values[15] @78: 99"));
    // The inspector and the rows are as wide as their columns' visible width; the facts
    // wrap to it, so a narrower view is taller.
    EXPECT_EQ(inspector.width(), browser.scrollViewOfColumn(1)->contentSize().width());
    EXPECT_EQ(matrix->cellSize().width(), browser.scrollViewOfColumn(0)->contentSize().width());
    EXPECT_GE(inspector.height(), inspector.heightForWidth(inspector.width()));
    EXPECT_GT(inspector.heightForWidth(100), inspector.heightForWidth(400));
    ASSERT_EQ(inspector.overview().size(), 2);
    EXPECT_EQ(inspector.overview()[0].first(), 0.0f);
    EXPECT_NEAR(inspector.overview()[0].last(), 0.5f, 0.001f);
    EXPECT_EQ(inspector.overview()[1].last(), 0.0f);
    browser.setFileInspectorView(nullptr);
}

TEST_F(BrowserFixture, TitlesFollowTheSelectionAndColumnsScrollIntoViewAnimated)
{
    PvClock::ScopedOverride clock(10.0);
    browser->setTitled(true);
    browser->setColumnWidth(300);
    browser->setScrollAnimationDuration(0.3);
    browser->loadColumnZero();
    EXPECT_EQ(browser->scrollViewOfColumn(0)->y(), 16); // under its title
    clickRow(0, 1);
    EXPECT_EQ(browser->titleOfColumn(0), "");
    EXPECT_EQ(browser->titleOfColumn(1), "a1");
    EXPECT_EQ(browser->mainScrollView()->documentVisibleRect().x(), 0);
    // Column 0 keeps the 200 points remembered from before: the third column ends at 800,
    // beyond the visible 698 points.
    clickRow(1, 2);
    EXPECT_EQ(browser->titleOfColumn(2), "a2");
    ASSERT_TRUE(browser->scrollAnimation()->isAnimating());
    clock.advance(0.3);
    browser->scrollAnimation()->handleIdle();
    EXPECT_EQ(browser->mainScrollView()->documentVisibleRect().x(), 102);
    // Going back left scrolls at once when not animated.
    browser->scrollColumnToVisible(0);
    EXPECT_EQ(browser->mainScrollView()->documentVisibleRect().x(), 0);
}
