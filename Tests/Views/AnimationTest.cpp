// Eased animations on the replaced clock: the curve, timing rules, stop value, master and slave.
#include <Pavo/PavoUI.h>

#include <QCoreApplication>
#include <gtest/gtest.h>

#include <vector>

namespace {

struct Recorder : PvAnimationDelegate {
    std::vector<float> frames;
    bool draws = true;
    bool pvAnimationAnimate(PvAnimation*, float t) override
    {
        frames.push_back(t);
        return draws;
    }
};

struct Linear : Recorder {
    std::optional<float> pvAnimationCalculateT(PvAnimation*, float t) override { return t; }
};

} // namespace

TEST(Animation, EasingCurveHitsItsFixedPointsAndIsSymmetric)
{
    PvAnimation animation;
    EXPECT_EQ(animation.calculateT(0.0), 0.0);
    EXPECT_NEAR(animation.calculateT(0.25), 0.075, 1e-7);
    EXPECT_DOUBLE_EQ(animation.calculateT(0.5), 0.5);
    EXPECT_DOUBLE_EQ(animation.calculateT(1.0), 1.0);
    for (double t = 0.05; t < 1.0; t += 0.1) {
        EXPECT_NEAR(animation.calculateT(t) + animation.calculateT(1.0 - t), 1.0, 1e-12) << t;
        EXPECT_LT(animation.calculateT(t), animation.calculateT(t + 0.05)) << t;
    }
    Linear linear; // a delegate answering replaces the curve
    animation.setDelegate(&linear);
    EXPECT_FLOAT_EQ(float(animation.calculateT(0.25)), 0.25f);
}

TEST(Animation, TicksFollowTheClockAndStopWithTheStopValue)
{
    PvClock::ScopedOverride clock(100.0);
    Recorder recorder;
    PvAnimation animation(&recorder);
    int starts = 0, stops = 0;
    QObject::connect(&animation, &PvAnimation::animationStarted, [&] { ++starts; });
    QObject::connect(&animation, &PvAnimation::animationStopped, [&] { ++stops; });

    animation.startAnimationWithTimeAmount(1.0, 0.8);
    EXPECT_TRUE(animation.isAnimating());
    EXPECT_EQ(starts, 1);
    clock.advance(0.25);
    animation.handleIdle();
    clock.advance(0.25);
    animation.handleIdle();
    ASSERT_EQ(recorder.frames.size(), 2u);
    EXPECT_NEAR(recorder.frames[0], 0.075f, 1e-6f);
    EXPECT_FLOAT_EQ(recorder.frames[1], 0.5f);
    EXPECT_EQ(animation.frameCount(), 2);

    clock.advance(0.5); // exactly the duration: still a frame
    animation.handleIdle();
    EXPECT_TRUE(animation.isAnimating());
    EXPECT_FLOAT_EQ(recorder.frames.back(), 1.0f);
    clock.advance(0.001);
    animation.handleIdle();
    EXPECT_FALSE(animation.isAnimating());
    EXPECT_FLOAT_EQ(recorder.frames.back(), 0.8f);
    EXPECT_EQ(animation.lastFramesCount(), 4); // three ticks and the drawn stop frame
    EXPECT_EQ(stops, 1);
    animation.stopAnimation(); // not running: nothing
    EXPECT_EQ(recorder.frames.size(), 4u);
    EXPECT_EQ(stops, 1);

    // A stop frame that draws nothing is not counted; a time stamp in the past starts late.
    recorder.draws = false;
    animation.startAnimationWithTimeAmount(0.5, 0.0, clock.time() - 0.25);
    animation.handleIdle();
    EXPECT_FLOAT_EQ(recorder.frames.back(), 0.5f);
    animation.stopAnimation();
    EXPECT_EQ(animation.lastFramesCount(), 1);
}

TEST(Animation, ShortDurationsApplyOnlyTheStopValue)
{
    PvClock::ScopedOverride clock;
    Recorder recorder;
    PvAnimation animation(&recorder);
    animation.startAnimationWithTimeAmount(0.01, 0.3);
    EXPECT_FALSE(animation.isAnimating());
    ASSERT_EQ(recorder.frames.size(), 1u);
    EXPECT_FLOAT_EQ(recorder.frames[0], 0.3f);
    EXPECT_EQ(animation.lastFramesCount(), 1);

    animation.startAnimationWithTimeAmount(0.0101, 1.0);
    EXPECT_TRUE(animation.isAnimating());
    animation.stopAnimation();
}

TEST(Animation, TimerRunsOnEveryEventLoopPass)
{
    PvClock::ScopedOverride clock;
    Recorder recorder;
    PvAnimation animation(&recorder);
    animation.startAnimationWithTimeAmount(0.5, 1.0);
    for (int i = 0; i < 100 && animation.isAnimating(); ++i) {
        clock.advance(0.1);
        QCoreApplication::processEvents();
    }
    EXPECT_FALSE(animation.isAnimating());
    EXPECT_FLOAT_EQ(recorder.frames.back(), 1.0f);
    EXPECT_GE(animation.lastFramesCount(), 5);
    EXPECT_LE(animation.lastFramesCount(), 6);
}

TEST(Animation, MasterDrivesItsSlaveWithOneTimer)
{
    PvClock::ScopedOverride clock;
    Recorder masterFrames, slaveFrames;
    PvAnimation master(&masterFrames), slave(&slaveFrames);
    slave.setIsSlave(true);
    master.setSlave(&slave);
    master.startAnimationWithTimeAmount(1.0, 1.0);
    EXPECT_TRUE(slave.isAnimating());

    // The slave has no timer of its own: event-loop passes move only through the master.
    clock.advance(0.25);
    QCoreApplication::processEvents();
    ASSERT_FALSE(slaveFrames.frames.empty());
    EXPECT_EQ(slaveFrames.frames, masterFrames.frames);

    clock.advance(1.0);
    master.handleIdle();
    EXPECT_FALSE(master.isAnimating());
    EXPECT_FALSE(slave.isAnimating());
    EXPECT_FLOAT_EQ(slaveFrames.frames.back(), 1.0f);
    EXPECT_EQ(slaveFrames.frames, masterFrames.frames);

    slave.startAnimationWithTimeAmount(1.0, 0.0);
    clock.advance(5.0);
    QCoreApplication::processEvents();
    EXPECT_TRUE(slave.isAnimating()); // nothing ticks a lone slave
    master.stopAnimation();
    slave.stopAnimation();
}
