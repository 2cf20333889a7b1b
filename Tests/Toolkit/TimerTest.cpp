// PvTimer on the Qt event loop, nested loops included.
#include <Pavo/PavoUI.h>

#include <QDialog>
#include <QElapsedTimer>
#include <QTest>
#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

namespace {

class Target : public QObject {
    Q_OBJECT
public:
    int calls = 0;
    bool wasActiveInCall = true;
    int restartsLeft = 0;
    PvTimer* lastTimer = nullptr;
    Q_INVOKABLE void tick(PvTimer* timer)
    {
        ++calls;
        lastTimer = timer;
        wasActiveInCall = timer->isActive();
        if (restartsLeft > 0) {
            --restartsLeft;
            timer->start();
        }
    }
};

// A boolean after the selector used to land in the user info and leave the timer repeating.
static_assert(!std::is_constructible_v<PvTimer, double, QObject*, const char*, bool>);
static_assert(!std::is_constructible_v<PvTimer, double, QObject*, QByteArray, int>);
static_assert(std::is_constructible_v<PvTimer, double, QObject*, const char*, QVariant, bool>);
static_assert(std::is_constructible_v<PvTimer, double, QObject*, PvTimerProxy::Callback, bool>);

} // namespace

TEST(Timer, NothingRunsBeforeStartAndARunningTimerIsNotRestarted)
{
    Target t;
    PvTimer timer(0.02, &t, "tick", QVariant("info"));
    EXPECT_FALSE(timer.isActive());
    EXPECT_FALSE(timer.isValid());
    EXPECT_EQ(timer.timer(), nullptr);
    EXPECT_TRUE(timer.isRepeating());
    EXPECT_EQ(timer.userInfo().toString(), "info");
    timer.fire(); // nothing scheduled yet: nothing to fire
    EXPECT_EQ(t.calls, 0);

    timer.start();
    QTimer* first = timer.timer();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->interval(), 20);
    timer.start();
    timer.startWithTimeInterval(5.0);
    EXPECT_EQ(timer.timer(), first); // still the one schedule
    EXPECT_EQ(first->interval(), 20); // with the old interval
    EXPECT_EQ(timer.timeInterval(), 0.02);
    QTRY_VERIFY(t.calls >= 3);
    EXPECT_EQ(t.lastTimer, &timer);
    EXPECT_TRUE(t.wasActiveInCall); // repeating timers stay valid

    timer.stop();
    EXPECT_FALSE(timer.isActive());
    const int calls = t.calls;
    QTest::qWait(60);
    timer.fire(); // a stopped timer does not fire
    EXPECT_EQ(t.calls, calls);
    timer.startWithTimeInterval(0.001); // stopped: the new interval applies
    EXPECT_EQ(timer.timer()->interval(), 1);
    timer.fire();
    EXPECT_EQ(t.calls, calls + 1);
}

TEST(Timer, OneShotIsInvalidInItsCallSoTheTargetCanRestartIt)
{
    Target t;
    t.restartsLeft = 2;
    PvTimer timer(0.005, &t, "tick", {}, false);
    EXPECT_FALSE(timer.isRepeating());
    timer.start();
    QTRY_COMPARE(t.calls, 3);
    EXPECT_FALSE(t.wasActiveInCall);
    QTest::qWait(50);
    EXPECT_EQ(t.calls, 3); // the last call did not restart it
    EXPECT_FALSE(timer.isActive());
}

TEST(Timer, TargetsThatDoNotAnswerOrAreGoneAreNeverCalled)
{
    Target t;
    PvTimer unanswered(0.001, &t, "noSuchMethod");
    unanswered.start();
    QTest::qWait(20);
    EXPECT_EQ(t.calls, 0);

    int calls = 0;
    auto context = std::make_unique<QObject>();
    PvTimer guarded(0.001, context.get(), [&](PvTimer*) { ++calls; });
    guarded.start();
    QTRY_VERIFY(calls > 0);
    context.reset();
    const int before = calls;
    QTest::qWait(20);
    EXPECT_EQ(calls, before);

    auto target = std::make_unique<Target>();
    PvTimer orphan(0.001, target.get(), "tick");
    orphan.start();
    QTRY_VERIFY(target->calls > 0);
    target.reset();
    QTest::qWait(20); // would touch the destroyed target if it were owned or unwatched
    EXPECT_TRUE(orphan.isActive());
}

TEST(Timer, MayBeDestroyedInsideItsOwnCall)
{
    int calls = 0;
    QObject context;
    auto* timer = new PvTimer(0.001, &context, [&](PvTimer* self) {
        ++calls;
        delete self;
    });
    timer->start();
    QTRY_COMPARE(calls, 1);
    QTest::qWait(20);
    EXPECT_EQ(calls, 1);
}

TEST(Timer, KeepsFiringWhileAModalDialogRuns)
{
    int calls = 0;
    int callsInDialog = 0;
    QDialog dialog;
    PvTimer timer(0.005, &dialog, [&](PvTimer*) {
        ++calls;
        if (QApplication::activeModalWidget() == &dialog)
            ++callsInDialog;
    });
    timer.start();
    QTimer::singleShot(150, &dialog, &QDialog::accept);
    EXPECT_EQ(dialog.exec(), QDialog::Accepted);
    EXPECT_GE(callsInDialog, 5);
    // At most a step at either end of the dialog's loop, outside its modal state.
    EXPECT_LE(calls - callsInDialog, 2);
}

TEST(Timer, KeepsFiringWhileAControlTracksTheMouseInANestedLoop)
{
    PvControl control(std::make_unique<PvCell>("Press"));
    control.resize(100, 30);
    control.setTracksInNestedLoop(true);
    control.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&control));

    int callsWhileTracking = 0;
    PvTimer timer(0.005, &control, [&](PvTimer*) {
        if (control.isTracking())
            ++callsWhileTracking;
    });
    timer.start();
    // The press below does not return before the release, so the drag and the release
    // come from inside the tracking loop.
    QTimer::singleShot(60, &control, [&] { QTest::mouseMove(&control, QPoint(50, 20)); });
    QTimer::singleShot(
        150, &control, [&] { QTest::mouseRelease(&control, Qt::LeftButton, {}, QPoint(50, 20)); });
    QElapsedTimer clock;
    clock.start();
    QTest::mousePress(&control, Qt::LeftButton, {}, QPoint(10, 10));
    EXPECT_GE(clock.elapsed(), 140); // the press ran the loop until the release
    EXPECT_FALSE(control.isTracking());
    EXPECT_GE(callsWhileTracking, 5);
}

#include "TimerTest.moc"
