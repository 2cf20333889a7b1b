// The cell group: layout, mouse routing, double-click editing, the key table, the wheel.
#include <Pavo/PavoUI.h>

#include <QKeyEvent>
#include <QTest>
#include <QWindow>
#include <gtest/gtest.h>

namespace {

// Records the tracking calls it gets, with the points handed to it.
class RecordingCell : public PvCell {
public:
    RecordingCell() { setEditable(true); }
    QStringList calls;
    QList<QPointF> points;
    bool startTrackingAt(const QPointF& p, PvControl*) override
    {
        calls << "start";
        points << p;
        return true;
    }
    bool continueTracking(const QPointF& last, const QPointF& p, PvControl*) override
    {
        calls << "continue";
        points << last << p;
        return true;
    }
    void stopTracking(const QPointF&, const QPointF& p, PvControl*, bool up) override
    {
        calls << (up ? "stop up" : "stop");
        points << p;
    }
};

class UnflippedGroup : public PvCellGroupControl {
public:
    using PvCellGroupControl::PvCellGroupControl;
    bool isFlipped() const override { return false; }
};

struct Reasons : PvNumberEditorCellDelegate {
    QList<std::pair<PvNumberEditorCell*, int>> stops;
    void dfNumberEditorCellStoppedEditingWithReason(PvNumberEditorCell* cell, int reason) override
    {
        stops << std::make_pair(cell, reason);
    }
};

// The window: keys that fall through the control arrive here.
class KeyCatcher : public QWidget {
public:
    QList<int> keys;

protected:
    void keyPressEvent(QKeyEvent* e) override { keys << e->key(); }
};

struct CellGroupFixture : ::testing::Test {
    Reasons reasons; // outlives the control
    KeyCatcher window;
    PvCellGroupControl* group = nullptr;
    QWidget* other = nullptr;
    void SetUp() override
    {
        group = new PvCellGroupControl(&window);
        group->setGeometry(10, 10, 200, 24);
        group->setDelegate(&reasons);
        other = new QWidget(&window);
        other->setFocusPolicy(Qt::StrongFocus);
        other->setGeometry(10, 50, 50, 20);
        window.resize(240, 80);
        window.show();
        window.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    }
    PvNumberEditorCell* addNumber(qreal width)
    {
        auto cell = std::make_unique<PvNumberEditorCell>(5, 0, 99);
        PvNumberEditorCell* c = cell.get();
        group->addCell(std::move(cell), width);
        return c;
    }
    // A double click as the window system makes it.
    void doubleClick(int x)
    {
        QTest::mouseDClick(window.windowHandle(), Qt::LeftButton, {}, group->mapTo(&window, QPoint(x, 5)));
    }
};

} // namespace

TEST_F(CellGroupFixture, CellsAreLaidOutInARowAndGetTheControlsSettings)
{
    group->setTextColor(Qt::red);
    group->setDrawsBackground(true);
    group->setControlSize(PvCell::SmallControlSize);
    for (qreal w : {20.0, 30.0, 40.0})
        addNumber(w);
    ASSERT_EQ(group->cellCount(), 3);
    EXPECT_EQ(group->frameOfCell(group->cellAtIndex(0)), QRectF(0, 0, 20, 24));
    EXPECT_EQ(group->frameOfCell(group->cellAtIndex(1)), QRectF(20, 0, 30, 24));
    EXPECT_EQ(group->frameOfCell(group->cellAtIndex(2)), QRectF(50, 0, 40, 24));
    group->addCell(std::make_unique<PvCell>("x"), QSizeF(10, 8));
    EXPECT_EQ(group->frameOfCell(group->cellAtIndex(3)), QRectF(90, 0, 10, 8));

    auto* n = static_cast<PvNumberEditorCell*>(group->cellAtIndex(2));
    EXPECT_EQ(n->textColor(), QColor(Qt::red));
    EXPECT_TRUE(n->drawsBackground());
    EXPECT_EQ(n->controlSize(), PvCell::SmallControlSize);
    EXPECT_EQ(n->delegate(), group);
    group->setFontSize(21);
    EXPECT_EQ(n->font().pointSizeF(), 21.0);

    // Packing keeps sizes; recalculating sizes asks the cells.
    group->setWidthOfCell(5, 0);
    group->setFrameOfCell(QRectF(100, 3, 30, 10), 1);
    group->recalculateCellPositions();
    EXPECT_EQ(group->frameOfCell(group->cellAtIndex(1)), QRectF(5, 3, 30, 10));
    EXPECT_EQ(group->frameOfCell(group->cellAtIndex(3)).left(), 75);
    group->recalculateCellPositionsAndSizes();
    EXPECT_EQ(group->frameOfCell(group->cellAtIndex(1)),
        QRectF(group->cellAtIndex(0)->cellSize().width(), 0, n->cellSize().width(), 24));

    PvCell* last = group->cellAtIndex(3);
    group->removeCellAtIndex(1);
    group->removeCellAtIndex(7);
    EXPECT_EQ(group->cellCount(), 3);
    EXPECT_EQ(group->indexOfCell(last), 2);
    EXPECT_EQ(group->cellAtIndex(3), nullptr);
}

TEST_F(CellGroupFixture, PressesReachEditableEnabledCellsWithFrameRelativePoints)
{
    auto owned = std::make_unique<RecordingCell>();
    RecordingCell* cell = owned.get();
    group->addCell(std::make_unique<RecordingCell>(), 20.0);
    group->addCell(std::move(owned), 30.0);
    QTest::mousePress(group, Qt::LeftButton, {}, QPoint(25, 4));
    QTest::mouseMove(group, QPoint(27, 10));
    QTest::mouseRelease(group, Qt::LeftButton, {}, QPoint(27, 10));
    EXPECT_EQ(cell->calls, QStringList({"start", "continue", "stop up"}));
    EXPECT_EQ(cell->points, QList<QPointF>({{5, 4}, {5, 4}, {7, 10}, {7, 10}}));
    EXPECT_TRUE(static_cast<RecordingCell*>(group->cellAtIndex(0))->calls.isEmpty());

    // Disabled or non-editable cells get no press.
    cell->calls.clear();
    cell->setEnabled(false);
    QTest::mouseClick(group, Qt::LeftButton, {}, QPoint(25, 4));
    cell->setEnabled(true);
    cell->setEditable(false);
    QTest::mouseClick(group, Qt::LeftButton, {}, QPoint(25, 4));
    EXPECT_TRUE(cell->calls.isEmpty());

    // The drags of another press (here the right button's, under the held left one) are
    // not the tracked press's; its release still ends the tracking, but not as "up".
    cell->setEditable(true);
    QTest::mousePress(group, Qt::LeftButton, {}, QPoint(25, 4));
    QTest::mousePress(group, Qt::RightButton, {}, QPoint(25, 4));
    QTest::mouseMove(group, QPoint(29, 12));
    QTest::mouseRelease(group, Qt::RightButton, {}, QPoint(29, 12));
    QTest::mouseRelease(group, Qt::LeftButton, {}, QPoint(29, 12));
    EXPECT_EQ(cell->calls, QStringList({"start", "stop"}));

    // Unflipped, y grows upward from the bottom edge, and a drag's previous point is still
    // where the mouse was.
    auto* up = new UnflippedGroup(&window);
    up->setGeometry(120, 40, 100, 24);
    up->show();
    up->addCell(std::make_unique<RecordingCell>(), 20.0);
    up->addCell(std::make_unique<RecordingCell>(), 30.0);
    auto* second = static_cast<RecordingCell*>(up->cellAtIndex(1));
    QTest::mousePress(up, Qt::LeftButton, {}, QPoint(25, 4));
    QTest::mouseMove(up, QPoint(27, 10));
    QTest::mouseRelease(up, Qt::LeftButton, {}, QPoint(27, 10));
    EXPECT_EQ(second->points, QList<QPointF>({{5, 20}, {5, 20}, {7, 14}, {7, 14}}));
}

TEST_F(CellGroupFixture, DoubleClicksStartAndEndEditingOnlyOnEditableEnabledNumberCells)
{
    PvNumberEditorCell* a = addNumber(40);
    PvNumberEditorCell* b = addNumber(40);
    PvNumberEditorCell* c = addNumber(40);
    b->setEnabled(false);
    c->setEditable(false);
    doubleClick(45);
    doubleClick(85);
    EXPECT_EQ(group->editingCell(), nullptr);
    EXPECT_TRUE(reasons.stops.isEmpty());

    doubleClick(5);
    EXPECT_EQ(group->editingCell(), a);
    EXPECT_TRUE(a->isEditing());
    EXPECT_TRUE(group->isFirstResponder());
    doubleClick(5);
    EXPECT_EQ(group->editingCell(), nullptr);
    EXPECT_FALSE(a->isEditing());
    ASSERT_EQ(reasons.stops.size(), 1);
    EXPECT_EQ(reasons.stops[0].second, PvNumberEditorCell::FocusLossStop);
}

TEST_F(CellGroupFixture, KeysFollowTheTableWithWrappingArrowsAndShiftTabForTheCell)
{
    PvNumberEditorCell* a = addNumber(20);
    group->addCell(std::make_unique<PvCell>(":"), 10.0);
    PvNumberEditorCell* b = addNumber(30);
    PvNumberEditorCell* c = addNumber(40);
    group->setFocus();
    QTest::keyClick(group, Qt::Key_Return);
    EXPECT_EQ(group->editingCell(), a);
    QTest::keyClick(group, Qt::Key_Right);
    EXPECT_EQ(group->editingCell(), b);
    QTest::keyClick(group, Qt::Key_Right);
    QTest::keyClick(group, Qt::Key_Right);
    EXPECT_EQ(group->editingCell(), a); // from the last to the first
    QTest::keyClick(group, Qt::Key_Left);
    EXPECT_EQ(group->editingCell(), c);
    ASSERT_EQ(reasons.stops.size(), 4);
    EXPECT_EQ(reasons.stops[2], std::make_pair(c, int(PvNumberEditorCell::RightArrowStop)));
    EXPECT_EQ(reasons.stops[3], std::make_pair(a, int(PvNumberEditorCell::LeftArrowStop)));

    // Typed digits and Return go to the cell.
    QTest::keyClicks(group, "42");
    QTest::keyClick(group, Qt::Key_Enter);
    EXPECT_EQ(c->value(), 42);
    EXPECT_EQ(group->editingCell(), nullptr);
    EXPECT_EQ(reasons.stops.back().second, PvNumberEditorCell::ReturnStop);
    EXPECT_TRUE(window.keys.isEmpty());

    // With one editable cell left the arrows fall through and editing stays.
    a->setEnabled(false);
    c->setEditable(false);
    group->startEditingForCell(b);
    QTest::keyClick(group, Qt::Key_Right);
    QTest::keyClick(group, Qt::Key_Left);
    EXPECT_EQ(group->editingCell(), b);
    EXPECT_EQ(window.keys, QList<int>({Qt::Key_Right, Qt::Key_Left}));

    // Shift-Tab is an ordinary key: the editing cell takes it and the focus stays.
    QTest::keyClick(group, Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(group->editingCell(), nullptr);
    EXPECT_EQ(reasons.stops.back(), std::make_pair(b, int(PvNumberEditorCell::BacktabStop)));
    EXPECT_TRUE(group->hasFocus());
    // Without editing, other keys and Shift-Tab fall through; Tab always moves the focus,
    // which ends editing.
    QTest::keyClick(group, Qt::Key_5);
    EXPECT_EQ(window.keys.back(), int(Qt::Key_5));
    group->startEditingForCell(b);
    QTest::keyClick(group, Qt::Key_Tab);
    EXPECT_TRUE(other->hasFocus());
    EXPECT_EQ(group->editingCell(), nullptr);
    EXPECT_EQ(reasons.stops.back(), std::make_pair(b, int(PvNumberEditorCell::FocusLossStop)));
    // Coming back by Back-tab starts typing in the last editable field.
    QTest::keyClick(other, Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_TRUE(group->hasFocus());
    EXPECT_EQ(group->editingCell(), b);
}

TEST_F(CellGroupFixture, TheWheelGoesToTheFirstCellUnderThePointerAndEditingEndsOutsideTheWindow)
{
    PvNumberEditorCell* a = addNumber(20);
    PvNumberEditorCell* b = addNumber(30);
    b->setEditable(false);
    auto wheel = [this](int x, int notches) {
        QWheelEvent e(QPointF(x, 5), group->mapToGlobal(QPointF(x, 5)), QPoint(), QPoint(0, 120 * notches),
            Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(group, &e);
        return e.isAccepted();
    };
    EXPECT_TRUE(wheel(5, 2));
    EXPECT_EQ(a->value(), 7);
    EXPECT_FALSE(wheel(25, 1));
    EXPECT_EQ(b->value(), 5);

    group->startEditingForCell(a);
    group->setParent(nullptr);
    EXPECT_EQ(group->editingCell(), nullptr);
    EXPECT_FALSE(a->isEditing());
    delete group;
}
