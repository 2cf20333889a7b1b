// Cells, controls and matrices driven by real Qt input events.
#include <Pavo/PavoUI.h>

#include <QAccessible>
#include <QImage>
#include <QPainter>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

namespace {

// Records the tracking protocol as the control drives it.
class RecordingCell : public PvCell {
public:
    QStringList log;
    QList<int32_t> eventTypes;
    bool acceptStart = true;
    int stopAfterDrags = -1;
    bool usedWheel = false;
    double wheelDelta = 0;

    bool startTrackingAt(const QPointF& p, PvControl* view) override
    {
        log << QString("start %1,%2").arg(p.x()).arg(p.y());
        eventTypes << view->currentEvent().type;
        return acceptStart && PvCell::startTrackingAt(p, view);
    }
    bool continueTracking(const QPointF& last, const QPointF& p, PvControl* view) override
    {
        log << QString("continue %1,%2 -> %3,%4").arg(last.x()).arg(last.y()).arg(p.x()).arg(p.y());
        eventTypes << view->currentEvent().type;
        PvCell::continueTracking(last, p, view);
        return stopAfterDrags < 0 || --stopAfterDrags > 0;
    }
    void stopTracking(const QPointF& last, const QPointF& p, PvControl* view, bool up) override
    {
        log << QString("stop %1,%2 %3").arg(p.x()).arg(p.y()).arg(up ? "up" : "not-up");
        PvCell::stopTracking(last, p, view, up);
    }
    bool scrollWheel(const PvEvent& e, PvControl*) override
    {
        wheelDelta = e.deltaY;
        return usedWheel;
    }
};

struct ControlFixture : ::testing::Test {
    QWidget window;
    PvControl* control = nullptr;
    RecordingCell* cell = nullptr;
    void SetUp() override
    {
        auto c = std::make_unique<RecordingCell>();
        cell = c.get();
        control = new PvControl(std::move(c), &window);
        control->setGeometry(10, 10, 100, 40);
        window.resize(200, 100);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    }
};

} // namespace

TEST_F(ControlFixture, PressDragReleaseRunTheTrackingProtocol)
{
    QSignalSpy actions(control, &PvControl::actionTriggered);
    QTest::mousePress(control, Qt::LeftButton, {}, QPoint(5, 6));
    EXPECT_TRUE(control->isTracking());
    EXPECT_TRUE(cell->isHighlighted());
    const int number = control->currentEvent().eventNumber;
    QTest::mouseMove(control, QPoint(20, 30));
    QTest::mouseMove(control, QPoint(150, 30)); // outside: the highlight goes
    EXPECT_FALSE(cell->isHighlighted());
    QTest::mouseMove(control, QPoint(40, 30));
    EXPECT_TRUE(cell->isHighlighted());
    QTest::mouseRelease(control, Qt::LeftButton, {}, QPoint(40, 30));
    // Leaving the frame ends tracking; coming back during the same press starts it again.
    EXPECT_EQ(cell->log,
        QStringList({"start 5,6", "continue 5,6 -> 20,30", "continue 20,30 -> 150,30", "stop 150,30 not-up",
            "start 40,30", "stop 40,30 up"}));
    EXPECT_EQ(cell->eventTypes,
        QList<int32_t>({PvLeftMouseDown, PvLeftMouseDragged, PvLeftMouseDragged, PvLeftMouseDragged}));
    EXPECT_EQ(control->currentEvent().type, PvLeftMouseUp);
    EXPECT_EQ(control->currentEvent().eventNumber, number);
    EXPECT_FALSE(control->isTracking());
    EXPECT_FALSE(cell->isHighlighted());
    EXPECT_EQ(actions.count(), 1); // released inside: the default mask sends on mouse up

    // Released outside: no action. The next press has a new event number.
    QTest::mousePress(control, Qt::LeftButton, {}, QPoint(5, 6));
    EXPECT_GT(control->currentEvent().eventNumber, number);
    QTest::mouseMove(control, QPoint(150, 30));
    QTest::mouseRelease(control, Qt::LeftButton, {}, QPoint(150, 30));
    EXPECT_EQ(actions.count(), 1);
}

TEST_F(ControlFixture, SendActionMaskAndRefusals)
{
    QSignalSpy actions(control, &PvControl::actionTriggered);
    EXPECT_EQ(cell->sendActionOn(PvLeftMouseDownMask | PvLeftMouseDraggedMask), PvLeftMouseUpMask);
    QTest::mousePress(control, Qt::LeftButton, {}, QPoint(5, 5));
    EXPECT_EQ(actions.count(), 1);
    QTest::mouseMove(control, QPoint(6, 5));
    EXPECT_EQ(actions.count(), 2);
    QTest::mouseRelease(control, Qt::LeftButton, {}, QPoint(6, 5));
    EXPECT_EQ(actions.count(), 2);

    // A cell that gives up after one drag stops tracking without "up".
    cell->log.clear();
    cell->stopAfterDrags = 1;
    QTest::mousePress(control, Qt::LeftButton, {}, QPoint(5, 5));
    QTest::mouseMove(control, QPoint(7, 5));
    QTest::mouseMove(control, QPoint(9, 5));
    QTest::mouseRelease(control, Qt::LeftButton, {}, QPoint(9, 5));
    EXPECT_EQ(cell->log, QStringList({"start 5,5", "continue 5,5 -> 7,5", "stop 7,5 not-up"}));

    // A refused start tracks nothing; a disabled control does not even ask.
    cell->log.clear();
    cell->acceptStart = false;
    QTest::mousePress(control, Qt::LeftButton, {}, QPoint(5, 5));
    QTest::mouseMove(control, QPoint(7, 5));
    QTest::mouseRelease(control, Qt::LeftButton, {}, QPoint(7, 5));
    EXPECT_EQ(cell->log, QStringList({"start 5,5"}));
    cell->log.clear();
    control->setEnabled(false);
    EXPECT_FALSE(cell->isEnabled());
    QTest::mouseClick(control, Qt::LeftButton, {}, QPoint(5, 5));
    EXPECT_TRUE(cell->log.isEmpty());
}

TEST_F(ControlFixture, WheelAndKeysReachTheCell)
{
    QWheelEvent up(QPointF(5, 5), control->mapToGlobal(QPointF(5, 5)), QPoint(), QPoint(0, 120), Qt::NoButton,
        Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(control, &up);
    EXPECT_DOUBLE_EQ(cell->wheelDelta, 1.0);
    EXPECT_FALSE(up.isAccepted()); // unused: left to the parent
    cell->usedWheel = true;
    QApplication::sendEvent(control, &up);
    EXPECT_TRUE(up.isAccepted());
    EXPECT_EQ(control->currentEvent().type, PvScrollWheel);

    QSignalSpy actions(control, &PvControl::actionTriggered);
    control->setFocus();
    QTest::keyClick(control, Qt::Key_Space);
    EXPECT_EQ(actions.count(), 1);
    EXPECT_EQ(control->currentEvent().type, PvKeyDown);
}

TEST(Cell, ValuesStatesAndCopies)
{
    PvCell c("12.5");
    EXPECT_DOUBLE_EQ(c.doubleValue(), 12.5);
    EXPECT_EQ(c.intValue(), 12);
    c.setStringValue("abc");
    EXPECT_EQ(c.doubleValue(), 0.0);
    c.setState(5);
    EXPECT_EQ(c.state(), PvCell::OnState);
    c.setState(PvCell::MixedState);
    EXPECT_EQ(c.state(), PvCell::OnState);
    c.setAllowsMixedState(true);
    c.setState(PvCell::MixedState);
    EXPECT_EQ(c.state(), PvCell::MixedState);
    c.setTag(9);
    c.setRepresentedObject(QStringLiteral("rep"));
    c.setAction("act");
    const auto copy = c.clone();
    EXPECT_EQ(copy->tag(), 9);
    EXPECT_EQ(copy->stringValue(), "abc");
    EXPECT_EQ(copy->representedObject().toString(), "rep");
    EXPECT_EQ(copy->action(), "act");
    EXPECT_EQ(copy->state(), PvCell::MixedState);
    EXPECT_GT(c.cellSize().width(), 10);
}

TEST(Cell, KnowsItsViewOnlyWhileTheViewLives)
{
    PvMatrix matrix(PvMatrix::ListModeMatrix, 2, 1);
    PvCell loose("loose");
    QImage image(60, 30, QImage::Format_ARGB32_Premultiplied);
    {
        PvMatrix other(PvMatrix::ListModeMatrix, 1, 1);
        QPainter painter(&image);
        loose.drawWithFrame(painter, QRectF(0, 0, 40, 20), &other);
        EXPECT_EQ(loose.controlView(), &other);
    }
    EXPECT_EQ(loose.controlView(), nullptr);
    loose.setStringValue("changed"); // asks no destroyed view to redraw
    EXPECT_EQ(matrix.cellAt(1, 0)->controlView(), &matrix);
    EXPECT_EQ(matrix.cellAt(1, 0)->clone()->controlView(), nullptr);
}

namespace {

struct MatrixFixture : ::testing::Test {
    QWidget window;
    PvMatrix* m = nullptr;
    void make(PvMatrix::Mode mode, int rows, int columns)
    {
        auto proto = std::make_unique<PvCell>("cell");
        proto->setTag(3);
        m = new PvMatrix(&window);
        m->setPrototype(std::move(proto));
        m->setMode(mode);
        m->renewRows(rows, columns);
        m->setCellSize(QSizeF(40, 20));
        m->setIntercellSpacing(QSizeF(2, 4));
        m->sizeToCells();
        window.resize(300, 300);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    }
    QPoint centre(int row, int column) const { return m->cellFrameAt(row, column).center().toPoint(); }
};

} // namespace

TEST_F(MatrixFixture, GeometryAndPrototype)
{
    make(PvMatrix::ListModeMatrix, 3, 4);
    EXPECT_EQ(m->size(), QSize(4 * 40 + 3 * 2, 3 * 20 + 2 * 4));
    EXPECT_EQ(m->cellFrameAt(1, 2), QRectF(84, 24, 40, 20));
    EXPECT_EQ(m->cellAt(2, 3)->tag(), 3);
    EXPECT_EQ(m->cellAt(3, 0), nullptr);
    EXPECT_EQ(m->cellAt(-1, 0), nullptr);
    int r = -1, c = -1;
    EXPECT_TRUE(m->getRowColumnForPoint(QPointF(85, 25), &r, &c));
    EXPECT_EQ(r, 1);
    EXPECT_EQ(c, 2);
    EXPECT_FALSE(m->getRowColumnForPoint(QPointF(41, 5), &r, &c)); // on the spacing
    m->cellAt(0, 0)->setStringValue("first");
    m->insertRow(0);
    EXPECT_EQ(m->numberOfRows(), 4);
    EXPECT_EQ(m->cellAt(1, 0)->stringValue(), "first");
    m->removeColumn(0);
    EXPECT_EQ(m->numberOfColumns(), 3);
    EXPECT_EQ(m->cellAt(1, 0)->stringValue(), "cell");
    m->removeRow(99); // out of range: ignored
    m->putCell(std::make_unique<PvCell>("x"), 9, 9);
    EXPECT_EQ(m->numberOfRows(), 4);
}

TEST_F(MatrixFixture, RadioModeKeepsOneSelectedAndFollowsDragsAndKeys)
{
    make(PvMatrix::RadioModeMatrix, 3, 2);
    QSignalSpy actions(m, &PvControl::actionTriggered);
    EXPECT_EQ(m->selectedRow(), 0);
    EXPECT_EQ(m->selectedCells().size(), 1u);
    QTest::mousePress(m, Qt::LeftButton, {}, centre(1, 1));
    EXPECT_EQ(m->selectedCell(), m->cellAt(1, 1));
    QTest::mouseMove(m, centre(2, 0));
    EXPECT_EQ(m->selectedCell(), m->cellAt(2, 0));
    EXPECT_EQ(actions.count(), 0);
    QTest::mouseRelease(m, Qt::LeftButton, {}, centre(2, 0));
    EXPECT_EQ(actions.count(), 1);
    EXPECT_EQ(m->selectedCells(), std::vector<PvCell*>({m->cellAt(2, 0)}));
    m->deselectAllCells(); // not allowed to become empty
    EXPECT_EQ(m->selectedCells().size(), 1u);

    m->setFocus();
    QTest::keyClick(m, Qt::Key_Up);
    EXPECT_EQ(m->selectedRow(), 1);
    EXPECT_EQ(actions.count(), 2);
    m->cellAt(0, 0)->setEnabled(false);
    QTest::keyClick(m, Qt::Key_Up); // the disabled cell is skipped: stays at the edge
    EXPECT_EQ(m->selectedRow(), 1);
    QTest::keyClick(m, Qt::Key_Right);
    EXPECT_EQ(m->selectedColumn(), 1);
}

TEST_F(MatrixFixture, ListModeExtendsWithShiftAndTogglesWithControl)
{
    make(PvMatrix::ListModeMatrix, 4, 1);
    QTest::mouseClick(m, Qt::LeftButton, {}, centre(1, 0));
    QTest::mouseClick(m, Qt::LeftButton, Qt::ShiftModifier, centre(3, 0));
    EXPECT_EQ(m->selectedCells(), std::vector<PvCell*>({m->cellAt(1, 0), m->cellAt(2, 0), m->cellAt(3, 0)}));
    QTest::mouseClick(m, Qt::LeftButton, Qt::ControlModifier, centre(2, 0));
    EXPECT_EQ(m->selectedCells(), std::vector<PvCell*>({m->cellAt(1, 0), m->cellAt(3, 0)}));
    QTest::mousePress(m, Qt::LeftButton, {}, centre(0, 0));
    QTest::mouseMove(m, centre(2, 0));
    QTest::mouseRelease(m, Qt::LeftButton, {}, centre(2, 0));
    EXPECT_EQ(m->selectedCells(), std::vector<PvCell*>({m->cellAt(0, 0), m->cellAt(1, 0), m->cellAt(2, 0)}));
    m->setFocus();
    QTest::keyClick(m, Qt::Key_Down);
    EXPECT_EQ(m->selectedCells(), std::vector<PvCell*>({m->cellAt(3, 0)}));
    QTest::keyClick(m, Qt::Key_Up, Qt::ShiftModifier);
    EXPECT_EQ(m->selectedCells().size(), 2u);
    m->deselectAllCells();
    EXPECT_TRUE(m->selectedCells().empty());
    EXPECT_EQ(m->selectedCell(), nullptr);
}

TEST_F(MatrixFixture, HighlightModeTogglesOnReleaseInsideAndDoubleClickSendsDoubleAction)
{
    make(PvMatrix::HighlightModeMatrix, 1, 3);
    QSignalSpy actions(m, &PvControl::actionTriggered);
    QSignalSpy doubles(m, &PvControl::doubleActionTriggered);
    QTest::mousePress(m, Qt::LeftButton, {}, centre(0, 1));
    EXPECT_TRUE(m->cellAt(0, 1)->isHighlighted());
    QTest::mouseMove(m, centre(0, 2));
    EXPECT_FALSE(m->cellAt(0, 1)->isHighlighted());
    QTest::mouseRelease(m, Qt::LeftButton, {}, centre(0, 2));
    EXPECT_EQ(m->cellAt(0, 1)->state(), PvCell::OffState);
    EXPECT_EQ(actions.count(), 0);
    QTest::mouseClick(m, Qt::LeftButton, {}, centre(0, 1));
    EXPECT_EQ(m->cellAt(0, 1)->state(), PvCell::OnState);
    EXPECT_EQ(actions.count(), 1);

    // Qt's order for a double click: press, release, press, double click, release.
    m->setDoubleAction("open");
    QTest::mouseClick(m, Qt::LeftButton, {}, centre(0, 2));
    QTest::mousePress(m, Qt::LeftButton, {}, centre(0, 2));
    EXPECT_EQ(doubles.count(), 0);
    QTest::mouseDClick(m, Qt::LeftButton, {}, centre(0, 2));
    QTest::mouseRelease(m, Qt::LeftButton, {}, centre(0, 2));
    EXPECT_EQ(doubles.count(), 1);
    EXPECT_EQ(actions.count(), 2); // the first click sent the action, the second only the double action
}

TEST_F(MatrixFixture, TrackModeLetsTheCellTrack)
{
    make(PvMatrix::TrackModeMatrix, 2, 2);
    auto rec = std::make_unique<RecordingCell>();
    RecordingCell* cell = rec.get();
    m->putCell(std::move(rec), 1, 0);
    QTest::mousePress(m, Qt::LeftButton, {}, centre(1, 0));
    QTest::mouseMove(m, centre(1, 0) + QPoint(3, 0));
    QTest::mouseRelease(m, Qt::LeftButton, {}, centre(1, 0) + QPoint(3, 0));
    ASSERT_EQ(cell->log.size(), 3);
    EXPECT_TRUE(cell->log.last().endsWith("up"));
    EXPECT_EQ(m->selectedCell(), cell);
    EXPECT_EQ(m->numberOfRows(), 2);
}

TEST(ScrollView, VisibleRectFollowsScrolling)
{
    PvScrollView view;
    view.resize(100, 80);
    auto* doc = new QWidget;
    doc->resize(400, 300);
    view.setDocumentView(doc);
    view.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&view));
    const QSize clip = view.contentSize();
    EXPECT_EQ(view.documentVisibleRect(), QRect(QPoint(0, 0), clip));
    QSignalSpy moved(&view, &PvScrollView::boundsDidChange);
    view.scrollToPoint(QPoint(50, 60));
    EXPECT_EQ(view.documentVisibleRect().topLeft(), QPoint(50, 60));
    EXPECT_GE(moved.count(), 1);
    EXPECT_FALSE(view.scrollRectToVisible(QRect(55, 65, 10, 10))); // already visible
    EXPECT_TRUE(view.scrollRectToVisible(QRect(300, 250, 20, 20)));
    EXPECT_TRUE(view.documentVisibleRect().contains(QRect(300, 250, 20, 20)));
    view.scrollToPoint(QPoint(10000, 10000)); // clamped to the ranges
    EXPECT_EQ(view.documentVisibleRect().bottomRight(), QPoint(399, 299));
}

TEST(ControlAccessibility, RoleNameValueAndParentOverride)
{
    QWidget window;
    QWidget other;
    auto* control = new PvControl(std::make_unique<PvCell>("Gain"), &window);
    QAccessibleInterface* iface = QAccessible::queryAccessibleInterface(control);
    ASSERT_NE(iface, nullptr);
    EXPECT_EQ(iface->role(), QAccessible::StaticText);
    EXPECT_EQ(iface->text(QAccessible::Name), "Gain");
    EXPECT_EQ(iface->text(QAccessible::Value), "Gain");
    control->setAccessibleName("Output gain");
    EXPECT_EQ(iface->text(QAccessible::Name), "Output gain");
    EXPECT_EQ(iface->parent()->object(), &window);
    control->setAccessibilityParent(&other);
    EXPECT_EQ(iface->parent()->object(), &other);
    control->setAccessibilityParent(nullptr);
    EXPECT_EQ(iface->parent()->object(), &window);

    auto* matrix = new PvMatrix(PvMatrix::RadioModeMatrix, 2, 1, &window);
    matrix->cellAt(1, 0)->setStringValue("B");
    matrix->selectCellAt(1, 0);
    QAccessibleInterface* mi = QAccessible::queryAccessibleInterface(matrix);
    EXPECT_EQ(mi->role(), QAccessible::List);
    EXPECT_EQ(mi->text(QAccessible::Value), "B");
}

TEST_F(ControlFixture, NestedTrackingLoopEndsOnReleaseOrWhenTheControlHides)
{
    control->setTracksInNestedLoop(true);
    QTimer::singleShot(20, control, [this] { QTest::mouseMove(control, QPoint(30, 20)); });
    QTimer::singleShot(
        40, control, [this] { QTest::mouseRelease(control, Qt::LeftButton, {}, QPoint(30, 20)); });
    QTest::mousePress(control, Qt::LeftButton, {}, QPoint(5, 5)); // returns after the release
    EXPECT_EQ(cell->log, QStringList({"start 5,5", "continue 5,5 -> 30,20", "stop 30,20 up"}));

    cell->log.clear();
    QTimer::singleShot(20, control, [this] { control->hide(); });
    QTest::mousePress(control, Qt::LeftButton, {}, QPoint(5, 5));
    EXPECT_FALSE(control->isTracking());
    EXPECT_EQ(cell->log, QStringList({"start 5,5", "stop 5,5 not-up"}));
}
