// The replaceable clock and delayed calls on it.
#include <Pavo/PavoUI.h>

#include <QTest>
#include <gtest/gtest.h>

#include <memory>

namespace {

class Performer : public QObject {
    Q_OBJECT
public:
    QStringList calls;
    Q_INVOKABLE void takeVariant(const QVariant& v) { calls << "variant:" + v.toString(); }
    Q_INVOKABLE void takeInt(int n) { calls << "int:" + QString::number(n); }
    Q_INVOKABLE void takeNothing() { calls << "nothing"; }
    Q_INVOKABLE void again(const QVariant& v)
    {
        calls << "again";
        pv_performAfterDelay(this, "again", v, 0);
    }
};

} // namespace

TEST(Clock, OverridesStepTimeAndRestoreTheSourceBefore)
{
    const double a = PvClock::now();
    EXPECT_GE(PvClock::now(), a); // the default never goes backwards
    {
        PvClock::ScopedOverride manual(100.0);
        EXPECT_EQ(PvClock::now(), 100.0);
        manual.advance(0.25);
        EXPECT_EQ(PvClock::now(), 100.25);
        {
            PvClock::ScopedOverride inner([] { return 7.0; });
            EXPECT_EQ(PvClock::now(), 7.0);
        }
        EXPECT_EQ(PvClock::now(), 100.25);
    }
    const double b = PvClock::now();
    EXPECT_GE(b, a);
    EXPECT_LT(b - a, 60.0); // the steady source is back, not a test's time
}

TEST(DelayedPerform, CallsWhenTheClockReachesTheMomentInOrder)
{
    PvClock::ScopedOverride clock(10.0);
    Performer p;
    // Binary fractions, so that the sums of the test are exact.
    pv_performAfterDelay(&p, "takeVariant", QVariant("late"), 0.5);
    pv_performAfterDelay(&p, "takeInt", QVariant("42"), 0.25);
    pv_performAfterDelay(&p, "takeNothing", QVariant(), 0.25);
    pv_performAfterDelay(&p, "noSuchMethod", QVariant(), 0.25);
    int callbacks = 0;
    pv_performAfterDelay(
        &p, [&] { ++callbacks; }, 0.25);
    EXPECT_EQ(pv_performDueRequests(), 0);
    clock.advance(0.25);
    EXPECT_EQ(pv_performDueRequests(), 4);
    EXPECT_EQ(p.calls, QStringList({"int:42", "nothing"}));
    EXPECT_EQ(callbacks, 1);
    clock.advance(0.125);
    EXPECT_EQ(pv_performDueRequests(), 0);
    clock.advance(0.125);
    EXPECT_EQ(pv_performDueRequests(), 1);
    EXPECT_EQ(p.calls.last(), "variant:late");
    EXPECT_EQ(pv_pendingPerformRequestCount(), 0);
}

TEST(DelayedPerform, CancelsByTargetOrBySelectorAndArgumentAndDropsDestroyedTargets)
{
    PvClock::ScopedOverride clock(0.0);
    Performer p, other;
    int callbacks = 0;
    pv_performAfterDelay(&p, "takeVariant", QVariant(1), 0.15);
    pv_performAfterDelay(&p, "takeVariant", QVariant(2), 0.15);
    pv_performAfterDelay(&p, "takeInt", QVariant(1), 0.15);
    pv_performAfterDelay(
        &p, [&] { ++callbacks; }, 0.15);
    pv_performAfterDelay(&other, "takeNothing", QVariant(), 0.15);
    pv_cancelPreviousPerformRequests(&p, "takeVariant", QVariant(1));
    clock.advance(1);
    EXPECT_EQ(pv_performDueRequests(), 4);
    EXPECT_EQ(p.calls, QStringList({"variant:2", "int:1"}));
    EXPECT_EQ(callbacks, 1);

    p.calls.clear();
    pv_performAfterDelay(&p, "takeVariant", QVariant(1), 0.15);
    pv_performAfterDelay(
        &p, [&] { ++callbacks; }, 0.15);
    auto doomed = std::make_unique<Performer>();
    pv_performAfterDelay(doomed.get(), "takeNothing", QVariant(), 0.15);
    pv_performAfterDelay(
        doomed.get(), [&] { ++callbacks; }, 0.15);
    pv_cancelPreviousPerformRequests(&p);
    doomed.reset();
    EXPECT_EQ(pv_pendingPerformRequestCount(), 0);
    clock.advance(1);
    EXPECT_EQ(pv_performDueRequests(), 0);
    EXPECT_TRUE(p.calls.isEmpty());
    EXPECT_EQ(callbacks, 1);
}

TEST(DelayedPerform, TheEventLoopRunsAZeroDelayAndARequestAskedDuringAPassWaits)
{
    Performer p;
    pv_performAfterDelay(&p, "again", QVariant(), 0);
    EXPECT_TRUE(p.calls.isEmpty()); // never called from inside the request
    for (int i = 0; i < 1000 && p.calls.isEmpty(); ++i)
        QCoreApplication::processEvents();
    ASSERT_EQ(p.calls.size(), 1);
    EXPECT_EQ(pv_performDueRequests(), 1); // the repeat asked for during the pass
    EXPECT_EQ(p.calls.size(), 2);
    pv_cancelPreviousPerformRequests(&p);
    EXPECT_EQ(pv_pendingPerformRequestCount(), 0);
}

#include "DelayedPerformTest.moc"
