// Smooth scrolling: the limit at the document's end, directions, no restart, retargeting.
#include <Pavo/PavoUI.h>

#include <QTest>
#include <gtest/gtest.h>

TEST(ScrollViewAnimation, ScrollsEasedToTheLimitAndRetargetsWithoutJumping)
{
    PvClock::ScopedOverride clock;
    PvScrollView scrollView;
    scrollView.setHasVerticalScroller(false);
    scrollView.setHasHorizontalScroller(false);
    scrollView.setFrameShape(QFrame::NoFrame);
    scrollView.resize(400, 100);
    auto* document = new QWidget;
    document->resize(2000, 100);
    scrollView.setDocumentView(document);
    scrollView.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&scrollView));
    ASSERT_EQ(scrollView.contentSize(), QSize(400, 100));
    PVScrollViewAnimation animation(&scrollView);
    animation.setDuration(1.0);

    EXPECT_EQ(animation.scrollToPoint(QPointF(5000, 50)), QSize(1, 0));
    EXPECT_EQ(animation.endPoint(), QPointF(1600, 0)); // the last position that fills the clip view
    clock.advance(0.25);
    animation.handleIdle();
    EXPECT_EQ(scrollView.documentVisibleRect().x(), 120); // 1600 * 0.075
    EXPECT_EQ(animation.scrollToPoint(QPointF(1700, 0)), QSize(1, 0)); // same end: no restart
    EXPECT_EQ(animation.startPoint(), QPointF(0, 0));
    clock.advance(0.25);
    animation.handleIdle();
    EXPECT_EQ(scrollView.documentVisibleRect().x(), 800);

    // A new end while running: from here, backwards, without a jump.
    EXPECT_EQ(animation.scrollToPoint(QPointF(-30, 0)), QSize(-1, 0));
    EXPECT_EQ(animation.horizontalDirection(), -1);
    EXPECT_EQ(animation.verticalDirection(), 0);
    EXPECT_EQ(animation.startPoint(), QPointF(800, 0));
    clock.advance(0.25);
    animation.handleIdle();
    EXPECT_EQ(scrollView.documentVisibleRect().x(), 740); // 800 - 800 * 0.075
    clock.advance(1.0);
    animation.handleIdle();
    EXPECT_FALSE(animation.isAnimating());
    EXPECT_EQ(scrollView.documentVisibleRect().x(), 0);
    EXPECT_EQ(animation.scrollToPoint(QPointF(0, 0)), QSize(0, 0));
}
