// Sliding side views: states, alignments, user resizing and the tab controller's buttons.
#include <Pavo/PavoUI.h>

#include <QPushButton>
#include <QTest>
#include <gtest/gtest.h>

#include <vector>

namespace {

struct Events : PVAnimatedSlideViewDelegate {
    std::vector<QString> log;
    void pvAnimatedSlideViewWillBeginAnimation(PVAnimatedSlideView*) override { log.push_back("begin"); }
    void pvAnimatedSlideViewDidEndAnimation(PVAnimatedSlideView*) override { log.push_back("end"); }
    void pvAnimatedSlideViewWillStartUserResize(PVAnimatedSlideView*) override { log.push_back("resize"); }
    void pvAnimatedSlideViewDidEndUserResize(PVAnimatedSlideView*) override { log.push_back("resized"); }
};

// A 600 x 300 view with a main view and a slide view placed as given.
struct Panel {
    PVAnimatedSlideView view;
    QWidget* main = new QWidget;
    QWidget* slide = new QWidget;
    Events events;
    explicit Panel(QRect mainFrame, QRect slideFrame)
    {
        view.resize(600, 300);
        main->setGeometry(mainFrame);
        slide->setGeometry(slideFrame);
        view.setViews(main, slide);
        view.setDelegate(&events);
    }
    PvSlideAnimation& animation() { return *view.animation(); }
};

void finish(PvClock::ScopedOverride& clock, PvAnimation& animation)
{
    clock.advance(10.0);
    animation.handleIdle();
}

} // namespace

TEST(SlideAnimation, SlidesOutAndInThroughTheirStates)
{
    PvClock::ScopedOverride clock;
    Panel panel({0, 0, 450, 300}, {450, 0, 150, 300});
    PvSlideAnimation& a = panel.animation();
    std::vector<int> states;
    QObject::connect(&a, &PvSlideAnimation::stateChanged, [&](int s) { states.push_back(s); });
    EXPECT_EQ(a.slideAlignment(), PvSlideAnimation::SlideRight);
    EXPECT_TRUE(a.isHorizontal());
    EXPECT_EQ(a.state(), PvSlideAnimation::SlidedIn);
    EXPECT_EQ(a.slideOutTimeAmount(), 0.6);
    EXPECT_EQ(a.slideInTimeAmount(), 0.5);

    a.slideIn(); // already in: nothing
    EXPECT_FALSE(a.isAnimating());
    EXPECT_TRUE(panel.events.log.empty());

    panel.view.slideOut();
    EXPECT_TRUE(a.isSlidingOut());
    EXPECT_TRUE(a.isSliding());
    clock.advance(0.3); // half of 0.6 s: half way
    a.handleIdle();
    EXPECT_EQ(panel.slide->geometry(), QRect(525, 0, 75, 300));
    EXPECT_EQ(panel.main->geometry(), QRect(0, 0, 525, 300));
    a.slideOut(); // sliding already: nothing restarts
    finish(clock, a);
    EXPECT_TRUE(a.isSlidedOut());
    EXPECT_EQ(panel.main->geometry(), QRect(0, 0, 600, 300));
    EXPECT_TRUE(panel.slide->isHidden());

    panel.view.slideIn();
    EXPECT_FALSE(panel.slide->isHidden());
    clock.advance(0.125); // a quarter of 0.5 s: T = 0.075
    a.handleIdle();
    EXPECT_EQ(panel.slide->width(), 11); // 150 * 0.075, rounded
    finish(clock, a);
    EXPECT_TRUE(a.isSlidedIn());
    EXPECT_EQ(panel.slide->geometry(), QRect(450, 0, 150, 300));
    EXPECT_EQ(states, (std::vector<int> {2, 3, 1, 0}));
    EXPECT_EQ(panel.events.log, (std::vector<QString> {"begin", "end", "begin", "end"}));

    panel.view.swapToggle(); // immediate
    EXPECT_TRUE(a.isSlidedOut());
    EXPECT_EQ(a.lastFramesCount(), 1);
}

TEST(SlideAnimation, AlignmentFollowsTheFramesAndViewsFillTheRoot)
{
    PvClock::ScopedOverride clock;
    Panel left({120, 0, 480, 300}, {0, 0, 120, 300});
    EXPECT_EQ(left.animation().slideAlignment(), PvSlideAnimation::SlideLeft);
    Panel below({0, 0, 600, 200}, {0, 200, 600, 100});
    EXPECT_EQ(below.animation().slideAlignment(), PvSlideAnimation::SlideBelow);
    EXPECT_FALSE(below.animation().isHorizontal());
    Panel above({0, 80, 600, 220}, {0, 0, 600, 80});
    EXPECT_EQ(above.animation().slideAlignment(), PvSlideAnimation::SlideAbove);
    Panel out({0, 0, 600, 300}, {600, 0, 0, 300});
    EXPECT_TRUE(out.animation().isSlidedOut());

    // A child of a left panel stays pinned to the edge next to the main view.
    auto* child = new QWidget(left.slide);
    child->setGeometry(10, 10, 100, 20);
    left.view.slideOut();
    clock.advance(0.3);
    left.animation().handleIdle();
    EXPECT_EQ(left.slide->geometry(), QRect(0, 0, 60, 300));
    EXPECT_EQ(left.main->geometry(), QRect(60, 0, 540, 300));
    EXPECT_EQ(child->geometry(), QRect(-50, 10, 100, 20));
    finish(clock, left.animation());
    left.view.swapIn();
    EXPECT_EQ(child->geometry(), QRect(10, 10, 100, 20));

    // Laid out while an ancestor has updates off, the view repaints once they are back on.
    QWidget host;
    above.view.setParent(&host);
    host.show();
    host.setUpdatesEnabled(false);
    above.view.resize(600, 301);
    above.view.resize(600, 300);
    host.setUpdatesEnabled(true);
    EXPECT_TRUE(above.view.updatesEnabled());
    above.view.setParent(nullptr);

    above.view.swapOut();
    EXPECT_EQ(above.main->geometry(), QRect(0, 0, 600, 300));
    above.animation().setMinMainViewSize(100);
    above.view.slideInWithSlideSize(130, false);
    EXPECT_EQ(above.slide->geometry(), QRect(0, 0, 600, 130));
    EXPECT_EQ(above.main->geometry(), QRect(0, 130, 600, 170));
}

TEST(SlideAnimation, UserResizesTheSplitWithMouseAndKeys)
{
    PvClock::ScopedOverride clock;
    Panel panel({0, 0, 450, 300}, {450, 0, 150, 300});
    panel.view.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&panel.view));
    QWidget* handle = panel.view.splitterHandle();
    ASSERT_TRUE(handle && handle->isVisible());
    const QPoint grip = handle->rect().center();
    QTest::mousePress(handle, Qt::LeftButton, {}, grip);
    EXPECT_TRUE(panel.animation().isResizing());
    QTest::mouseMove(handle, grip - QPoint(40, 0));
    EXPECT_EQ(panel.slide->width(), 190);
    QTest::mouseMove(handle, grip - QPoint(400, 0)); // the main view keeps 200
    EXPECT_EQ(panel.main->width(), 200);
    EXPECT_TRUE(panel.animation().maxSplitSizeReached());
    QTest::mouseRelease(handle, Qt::LeftButton, {}, grip - QPoint(400, 0));
    EXPECT_TRUE(panel.animation().isSlidedIn());
    EXPECT_EQ(panel.animation().slidedInSize(), 400);
    EXPECT_EQ(panel.events.log, (std::vector<QString> {"resize", "resized"}));

    handle->setFocus();
    QTest::keyClick(handle, Qt::Key_Right);
    EXPECT_EQ(panel.slide->width(), 390);
    QTest::keyClick(handle, Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_EQ(panel.slide->width(), 389);

    panel.view.setSlideSize(50, true); // limited to the minimum of 100, animated
    EXPECT_TRUE(panel.animation().isResizing());
    finish(clock, panel.animation());
    EXPECT_EQ(panel.slide->width(), 100);
    EXPECT_TRUE(panel.animation().minSplitSizeReached());
    panel.view.resize(800, 300); // the main view takes the new room
    EXPECT_EQ(panel.slide->geometry(), QRect(700, 0, 100, 300));
}

TEST(SlideAnimation, TabControllerButtonsChooseThePageAndClose)
{
    PvClock::ScopedOverride clock;
    auto* tabs = new QTabWidget;
    for (int i = 0; i < 3; ++i)
        tabs->addTab(new QWidget, QString::number(i));
    PVAnimatedSlideView view;
    view.resize(600, 300);
    auto* main = new QWidget;
    main->setGeometry(0, 0, 600, 300);
    tabs->setGeometry(600, 0, 0, 300); // out; slides in to 180 from the right
    view.setViews(main, tabs);
    view.animation()->setSlideSize(180, false);
    QPushButton b1("1"), b2("2"), b3("3"), b4("4"), b5("5"), b6("6");
    PvSlideViewTabController controller;
    Events relayed;
    view.setDelegate(&relayed);
    controller.setAnimatedSlideView(&view);
    controller.setTabView(tabs);
    controller.setButtons({&b1, &b2, &b3, &b4, &b5, &b6});
    EXPECT_EQ(controller.buttons().size(), 5);
    int posted = 0;
    QObject observer;
    PvNotificationCenter::defaultCenter()->addObserver(&observer, PvSelectButtonPressedAsyncNotification,
        &controller,
        [&](const PvNotification& n) { posted += n.userInfo.value("SENDER").value<QObject*>() == &b2; });

    QTest::mouseClick(&b2, Qt::LeftButton);
    EXPECT_EQ(controller.modelID(), 0); // handled when idle, not during the click
    EXPECT_FALSE(b2.isChecked());
    QCoreApplication::processEvents();
    EXPECT_EQ(posted, 1);
    EXPECT_EQ(controller.modelID(), 2);
    EXPECT_EQ(tabs->currentIndex(), 1);
    EXPECT_TRUE(b2.isChecked());
    EXPECT_TRUE(view.animation()->isSlidingIn());

    QTest::mouseClick(&b3, Qt::LeftButton); // ignored while sliding
    QCoreApplication::processEvents();
    EXPECT_EQ(controller.modelID(), 2);
    finish(clock, *view.animation());
    EXPECT_EQ(view.currentSlideSize(), 180);

    QTest::mouseClick(&b3, Qt::LeftButton);
    QCoreApplication::processEvents();
    EXPECT_EQ(controller.modelID(), 3);
    EXPECT_EQ(controller.previousModelID(), 2);
    EXPECT_TRUE(b3.isChecked() && !b2.isChecked());
    EXPECT_TRUE(view.isSlidedIn()); // a page change while in does not slide

    QTest::mouseClick(&b3, Qt::LeftButton); // the current button again closes
    QCoreApplication::processEvents();
    EXPECT_EQ(controller.modelID(), 0);
    finish(clock, *view.animation());
    EXPECT_TRUE(view.isSlidedOut());
    EXPECT_FALSE(b3.isChecked());
    EXPECT_EQ(relayed.log, (std::vector<QString> {"begin", "end", "begin", "end"}));

    struct Mapper : PvSlideViewTabControllerDelegate {
        std::optional<int> slideViewTabControllerMapButtonTagToModelID(
            PvSlideViewTabController*, int tag) override
        {
            return tag * 10;
        }
        std::optional<std::pair<int, int>> slideViewTabControllerMapModelID(
            PvSlideViewTabController*, int id) override
        {
            return std::pair {id / 10, 0};
        }
        bool slideViewTabControllerIgnoreButtonPressed(PvSlideViewTabController*, QAbstractButton* b) override
        {
            return b->text() == "5";
        }
    } mapper;
    controller.setDelegate(&mapper);
    QTest::mouseClick(&b5, Qt::LeftButton);
    QCoreApplication::processEvents();
    EXPECT_EQ(controller.modelID(), 0);
    QTest::mouseClick(&b4, Qt::LeftButton);
    QCoreApplication::processEvents();
    EXPECT_EQ(controller.modelID(), 40);
    EXPECT_EQ(tabs->currentIndex(), 0);
    EXPECT_TRUE(b4.isChecked());
    controller.setDelegate(nullptr);
}
