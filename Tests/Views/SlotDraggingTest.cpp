// Slot dragging: slot order, swap and slide, refusal, slide-back, restraints, looks, keys.
#include "TestSupport.h"

#include <Pavo/PavoUI.h>

#include <QDir>
#include <QLabel>
#include <QTest>
#include <gtest/gtest.h>

namespace {

QString name(const PVSlotDragView* v)
{
    return v->representedObject().toString();
}

struct Recorder : PVSlotDragViewDelegate {
    std::optional<QRectF> restraints;
    QStringList log;
    QList<PVSlotDragView*> order;
    std::optional<QRectF> draggingRestraints() override { return restraints; }
    void slotDragViewWillStartDragging(PVSlotDragView* v) override
    {
        log << QString("start %1").arg(v->slotIndex());
    }
    void slotDragViewEnteredFromSlotIntoSlot(PVSlotDragView*, PVSlotDragView* e) override
    {
        log << "entered " + name(e);
    }
    void slotDragViewDidFinishDraggingFromSlotIntoSlot(PVSlotDragView* d, PVSlotDragView* e) override
    {
        log << QString("finish %1 on %2").arg(name(d), name(e));
    }
    void slotDragViewDidEndDragging(PVSlotDragView*) override { log << "end"; }
    void slotDragViewDidEndWithOrder(PVSlotDragView*, const QList<PVSlotDragView*>& o) override { order = o; }
};

std::string names(const QList<PVSlotDragView*>& views)
{
    QStringList n;
    for (auto* v : views)
        n << name(v);
    return n.join(' ').toStdString();
}

// Four 50 x 30 slots in a row, 60 points apart, in a rack inside a shown window.
struct SlotFixture : ::testing::Test {
    PvClock::ScopedOverride clock {10.0};
    QWidget window;
    QWidget* rack = new QWidget(&window);
    QList<PVSlotDragView*> views;
    Recorder recorder;
    PVSlotDraggingManager* manager = nullptr;

    void SetUp() override
    {
        window.setGeometry(100, 100, 400, 200);
        rack->setGeometry(10, 10, 300, 50);
        for (int i = 0; i < 4; ++i) {
            auto* v = new PVSlotDragView(rack);
            v->setGeometry(i * 60, 0, 50, 30);
            v->setRepresentedObject(QString("v%1").arg(i));
            v->setBackgroundColor(QColor::fromHsv(i * 90, 120, 230));
            v->setDelegate(&recorder);
            views << v;
        }
        manager = PVSlotDraggingManager::setupDraggingManagerInView(rack, 1);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    }
    // The centre of slot i in the coordinates of view v.
    QPoint slotCentre(PVSlotDragView* v, int i) const
    {
        return v->mapFrom(rack, manager->slotFrame(i).center().toPoint());
    }
    void tick(double seconds)
    {
        clock.advance(seconds);
        pv_performDueRequests();
    }
    // The views in slot order once every slide is over; a view off its slot's frame gets a '?'.
    std::string settled()
    {
        tick(1.0);
        QStringList s;
        const QList<PVSlotDragView*> order = manager->managedDragViews();
        for (int i = 0; i < order.size(); ++i)
            s << name(order[i]) + (order[i]->geometry() == QRect(i * 60, 0, 50, 30) ? "" : "?");
        return s.join(' ').toStdString();
    }
};

} // namespace

TEST(SlotOrder, RowsColumnsAndGridsFollowTheFrameRuleStably)
{
    auto order = [](const QList<QPoint>& origins) {
        QWidget parent;
        for (const QPoint& o : origins) {
            auto* v = new PVSlotDragView(&parent);
            v->setGeometry(QRect(o, QSize(40, 20)));
            v->setRepresentedObject(QString("%1,%2").arg(o.x()).arg(o.y()));
        }
        QStringList list;
        for (auto* v : PVSlotDraggingManager::setupDraggingManagerInView(&parent, 1)->managedDragViews())
            list << QString("%1:%2").arg(v->slotIndex()).arg(name(v));
        return list.join(' ');
    };
    EXPECT_EQ(order({{200, 0}, {0, 0}, {100, 0}}), "0:0,0 1:100,0 2:200,0");
    EXPECT_EQ(order({{0, 60}, {0, 0}, {0, 30}}), "0:0,0 1:0,30 2:0,60");
    // A grid reads column by column, whatever order the children came in.
    EXPECT_EQ(order({{100, 50}, {0, 0}, {100, 0}, {0, 50}}), "0:0,0 1:0,50 2:100,0 3:100,50");
    EXPECT_EQ(order({{0, 0}, {100, 0}, {0, 50}, {100, 50}}), "0:0,0 1:0,50 2:100,0 3:100,50");
    // Each of these two comes before the other by the rule: the insertion order decides.
    EXPECT_EQ(order({{100, 0}, {0, 50}}), "0:0,50 1:100,0");
    EXPECT_EQ(order({{0, 50}, {100, 0}}), "0:100,0 1:0,50");

    // Views that are not draggable are not slots; removing a view collects again.
    QWidget parent;
    QList<PVSlotDragView*> v;
    for (int x : {0, 20, 40})
        (v << new PVSlotDragView(&parent)).last()->setGeometry(x, 0, 10, 10);
    auto* m = PVSlotDraggingManager::setupDraggingManagerInView(&parent, 0);
    v[1]->setDraggable(false);
    EXPECT_EQ(m->managedDragViews(), (QList {v[0], v[2]}));
    EXPECT_EQ(v[2]->slotIndex(), 1);
    delete v[0];
    EXPECT_EQ(m->managedDragViews(), (QList {v[2]}));
    EXPECT_EQ(v[2]->slotIndex(), 0);
}

TEST_F(SlotFixture, SlideModeMovesTheViewsBetweenAndReportsTheOrder)
{
    QList<PVSlotDragView*> signalled;
    QObject::connect(manager, &PVSlotDraggingManager::dragEnded, [&](const auto& o) { signalled = o; });
    PVSlotDragView* source = views[0];
    QTest::mousePress(source, Qt::LeftButton, {}, QPoint(25, 15));
    ASSERT_TRUE(manager->isDragging());
    EXPECT_TRUE(source->isDragging());
    EXPECT_EQ(manager->draggingSource(), source);
    EXPECT_EQ(manager->draggingPasteboard()->data("DfSlotDragViewPbtype"), "0");

    QTest::mouseMove(source, slotCentre(source, 3));
    EXPECT_EQ(names(manager->managedDragViews()), "v1 v2 v3 v0");
    EXPECT_EQ(source->draggedFromIndex(), 3);
    for (int i = 1; i <= 3; ++i) {
        EXPECT_TRUE(views[i]->isSliding()) << i;
        EXPECT_EQ(views[i]->slotIndex(), i - 1);
    }
    // Half-way through the 0.1 s slide the picture of v3 is half-way between slots 3 and 2.
    tick(0.05);
    EXPECT_EQ(views[3]->slideView()->x(), 150);
    EXPECT_TRUE(views[3]->isSliding());
    tick(0.05);
    EXPECT_FALSE(views[3]->isSliding());
    EXPECT_TRUE(views[3]->isVisible());
    EXPECT_EQ(views[3]->geometry(), QRect(120, 0, 50, 30));

    // Moving inside the slot the drag stands for changes nothing; back over slot 1, v1 stays
    // and v2 and v3 move one slot on.
    QTest::mouseMove(source, slotCentre(source, 3) + QPoint(5, 0));
    EXPECT_EQ(names(manager->managedDragViews()), "v1 v2 v3 v0");
    QTest::mouseMove(source, slotCentre(source, 1));
    EXPECT_EQ(names(manager->managedDragViews()), "v1 v0 v2 v3");
    EXPECT_FALSE(views[1]->isSliding());
    EXPECT_TRUE(views[2]->isSliding());

    QTest::mouseRelease(source, Qt::LeftButton, {}, slotCentre(source, 1));
    EXPECT_EQ(settled(), "v1 v0 v2 v3");
    EXPECT_FALSE(manager->isDragging());
    EXPECT_FALSE(manager->dragWindow()->isVisible());
    EXPECT_EQ(names(signalled), "v1 v0 v2 v3");
    EXPECT_EQ(recorder.order, signalled);
    // The drop lands on the view last entered: v2, which stood in slot 1 then.
    recorder.log.removeAll("entered v0"); // the pointer over the source's own slot
    EXPECT_EQ(recorder.log.join(", ").toStdString(), "start 0, entered v3, entered v2, finish v0 on v2, end");
}

TEST_F(SlotFixture, SwapModeMovesOnlyTheEnteredView)
{
    manager->setSlideMode(0);
    PVSlotDragView* source = views[0];
    QTest::mousePress(source, Qt::LeftButton, {}, QPoint(25, 15));
    QTest::mouseMove(source, slotCentre(source, 3));
    EXPECT_EQ(names(manager->managedDragViews()), "v3 v1 v2 v0");
    for (int i = 1; i <= 3; ++i)
        EXPECT_EQ(views[i]->isSliding(), i == 3) << i;
    QTest::mouseMove(source, slotCentre(source, 1)); // the view in slot 1 goes to slot 3
    QTest::mouseRelease(source, Qt::LeftButton, {}, slotCentre(source, 1));
    EXPECT_EQ(settled(), "v3 v0 v2 v1");
    EXPECT_EQ(names(recorder.order), "v3 v0 v2 v1");
}

TEST_F(SlotFixture, AnotherManagersViewRefusesAndTheDragSlidesBack)
{
    auto* otherRack = new QWidget(&window);
    otherRack->setGeometry(10, 100, 300, 50);
    auto* foreign = new PVSlotDragView(otherRack);
    foreign->setGeometry(0, 0, 50, 30);
    auto* other = PVSlotDraggingManager::setupDraggingManagerInView(otherRack, 1);
    otherRack->show();

    PVSlotDragView* source = views[0];
    QTest::mousePress(source, Qt::LeftButton, {}, QPoint(25, 15));
    const QPoint start = manager->dragWindow()->pos();
    QTest::mouseMove(source, slotCentre(source, 2));
    EXPECT_EQ(names(manager->managedDragViews()), "v1 v2 v0 v3");
    const QPoint there = source->mapFromGlobal(otherRack->mapToGlobal(QPoint(25, 15)));
    QTest::mouseMove(source, there);
    EXPECT_EQ(manager->lastTarget(), foreign);
    EXPECT_FALSE(foreign->isSliding());
    EXPECT_EQ(other->managedDragViews(), (QList {foreign}));

    QTest::mouseRelease(source, Qt::LeftButton, {}, there);
    EXPECT_FALSE(manager->isDragging());
    // Refused: the old order returns and the picture slides back over 0.1 s.
    EXPECT_EQ(names(recorder.order), "v0 v1 v2 v3");
    EXPECT_FALSE(recorder.log.join(',').contains("finish"));
    EXPECT_TRUE(manager->dragWindow()->isVisible());
    const QPoint away = manager->dragWindow()->pos();
    tick(0.05);
    EXPECT_EQ(manager->dragWindow()->pos(), (start + away) / 2);
    tick(0.05);
    EXPECT_EQ(manager->dragWindow()->pos(), start);
    EXPECT_FALSE(manager->dragWindow()->isVisible());
    EXPECT_EQ(settled(), "v0 v1 v2 v3");

    // Without slide-back the window goes at once; cancelDrag() refuses the same way.
    manager->setSlidesBack(false);
    QTest::mousePress(views[1], Qt::LeftButton, {}, QPoint(5, 5));
    QTest::mouseMove(views[1], slotCentre(views[1], 3));
    views[1]->cancelDrag();
    EXPECT_FALSE(manager->dragWindow()->isVisible());
    EXPECT_EQ(names(recorder.order), "v0 v1 v2 v3");
    QTest::mouseRelease(views[1], Qt::LeftButton);
}

TEST_F(SlotFixture, RestraintsClampTheDragWindowAndTheLookChangesDuringTheDrag)
{
    recorder.restraints = QRectF(10, 10, 300, 50); // the rack, in window coordinates
    auto* knob = new QLabel("knob", views[0]);
    knob->show();
    views[0]->setUseDraggingBorder(true);
    manager->setDrawsDraggingAreaBorder(true);
    manager->setTransparencyOfDragImage(0.5f);
    PVSlotDragView* source = views[0];
    QTest::mousePress(source, Qt::LeftButton, {}, QPoint(25, 15));
    const QRectF bounds(QPointF(window.mapToGlobal(QPoint(10, 10))), QSizeF(300, 50));
    EXPECT_EQ(source->restraintsOnScreen(), bounds);
    QWidget* w = manager->dragWindow();
    EXPECT_TRUE(w->isVisible());
    EXPECT_EQ(w->size(), QSize(50, 32)); // the image and its shadow 2 points below
    EXPECT_EQ(w->pos(), source->mapToGlobal(QPoint(0, 0)));

    // The slot shows as a gap with a border; its children are hidden.
    EXPECT_FALSE(knob->isVisible());
    EXPECT_TRUE(source->backgroundIsHidden());
    EXPECT_TRUE(source->hasBorder());
    QTest::mouseMove(source, slotCentre(source, 2));
    tick(1.0);
    const QDir out(PavoTest::outputDir());
    EXPECT_TRUE(rack->grab().save(out.filePath("slot-drag-rack.png")));
    EXPECT_TRUE(w->grab().save(out.filePath("slot-drag-window.png")));

    for (const QPoint& far : {QPoint(-500, -400), QPoint(270, -300), QPoint(-50, 25), QPoint(900, 700)}) {
        QTest::mouseMove(source, far);
        EXPECT_TRUE(bounds.contains(QRectF(QPointF(w->pos()), QSizeF(w->size()))))
            << far.x() << "," << far.y();
    }
    // The mouse is pinned to the restraints too: coming back moves the window only once
    // the mouse is inside them again.
    QTest::mouseMove(source, QPoint(800, 600));
    EXPECT_EQ(w->pos(), (bounds.bottomRight() - QPointF(50, 32)).toPoint());

    QTest::mouseRelease(source, Qt::LeftButton, {}, QPoint(800, 600));
    tick(1.0);
    EXPECT_TRUE(knob->isVisible());
    EXPECT_FALSE(source->backgroundIsHidden());
    EXPECT_FALSE(source->hasBorder());

    // A view that is not draggable starts nothing.
    views[2]->setDraggable(false);
    QTest::mousePress(views[2], Qt::LeftButton, {}, QPoint(5, 5));
    EXPECT_FALSE(manager->isDragging());
    QTest::mouseRelease(views[2], Qt::LeftButton, {}, QPoint(5, 5));
}

TEST_F(SlotFixture, OptionArrowKeysMoveTheFocusedSlot)
{
    EXPECT_EQ(views[1]->accessibleName(), "v1");
    views[1]->setFocus();
    QTest::keyClick(views[1], Qt::Key_Right, Qt::AltModifier);
    EXPECT_EQ(names(recorder.order), "v0 v2 v1 v3");
    EXPECT_EQ(views[1]->accessibleDescription(), "Slot 3 of 4");
    EXPECT_EQ(settled(), "v0 v2 v1 v3");
    EXPECT_TRUE(views[1]->hasFocus());
    QTest::keyClick(views[1], Qt::Key_Right); // no Option: not a move
    QTest::keyClick(views[1], Qt::Key_Up, Qt::AltModifier);
    QTest::keyClick(views[1], Qt::Key_Left, Qt::AltModifier);
    EXPECT_EQ(settled(), "v1 v0 v2 v3");
    EXPECT_FALSE(manager->moveSlot(views[1], -1));
}
