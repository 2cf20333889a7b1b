// Eased, time-based animations driven by a timer on every event-loop pass.
#pragma once

#include <QObject>
#include <QPointer>

#include <memory>
#include <optional>

class PvAnimation;
class PvTimer;

/**
    What an animation tells its delegate. Both messages are optional: the defaults mean
    "not answered".
*/
class PvAnimationDelegate {
public:
    virtual ~PvAnimationDelegate() = default;
    /// One frame at progress t (eased, 0..1, or the stop value). Returns whether a frame
    /// was drawn; the default draws nothing.
    virtual bool pvAnimationAnimate(PvAnimation* animation, float t)
    {
        (void)animation;
        (void)t;
        return false;
    }
    /// Maps the linear progress t to the eased one instead of the built-in curve;
    /// std::nullopt (the default) keeps the built-in curve.
    virtual std::optional<float> pvAnimationCalculateT(PvAnimation* animation, float t)
    {
        (void)animation;
        (void)t;
        return std::nullopt;
    }
};

/**
    An animation over a duration in seconds. Time comes from PvClock, so a test that
    replaces the clock steps an animation exactly. While it runs, a PvTimer of interval 0
    calls handleIdle() on every pass of the event loop, also while a control tracks the
    mouse or a modal dialog runs. Each tick maps the elapsed fraction t through
    calculateT() (an ease-in-out curve by default) and hands the result to animate().
    When the time is over, animate() gets the stop value given at the start, once.

    A duration of 0.01 s or less does not run at all: onStartAnimation() is called,
    animate() gets only the stop value, and onStopAnimation() follows.

    One timer can drive several animations: a master starts its slave with the same
    arguments and gives it each tick's time stamp first; a slave (setIsSlave(true)) owns no
    timer. The slave is not owned.

    Subclasses override animate(), calculateT(), onStartAnimation() and onStopAnimation();
    the defaults of the first two ask the delegate. Main thread only.
*/
class PvAnimation : public QObject {
    Q_OBJECT
public:
    /// The exponent of the built-in curve: 0.5 raised to it gives 0.15.
    static const double kEasingPower;

    explicit PvAnimation(PvAnimationDelegate* delegate = nullptr, QObject* parent = nullptr);
    ~PvAnimation() override;

    PvAnimationDelegate* delegate() const { return m_delegate; }
    void setDelegate(PvAnimationDelegate* delegate) { m_delegate = delegate; }

    /// Starts with the current time as start time stamp.
    void startAnimationWithTimeAmount(double seconds, double stopT);
    /// Starts as if it had started at startTimeStamp (a PvClock time). A running animation
    /// starts over from the new time stamp.
    void startAnimationWithTimeAmount(double seconds, double stopT, double startTimeStamp);
    /// Stops a running animation: animate() gets the stop value, then onStopAnimation().
    /// Does nothing when not running.
    void stopAnimation();

    /// One tick at the current time (the timer's call).
    void handleIdle(PvTimer* timer = nullptr);
    /// One tick at timeStamp: the slave ticks first; a tick past the duration stops the
    /// animation, any other counts a frame and animates calculateT(t) clamped to 0..1.
    void handleIdle(PvTimer* timer, double timeStamp);

    bool isAnimating() const { return m_isAnimating; }
    /// Frames of the running animation so far.
    long frameCount() const { return m_frameCount; }
    /// Frames of the last finished animation, the stop frame included when it drew.
    long lastFramesCount() const { return m_lastFrameCount; }
    double timeAmount() const { return m_timeAmount; }
    float stopT() const { return m_stopT; }

    PvAnimation* slave() const { return m_slave; }
    void setSlave(PvAnimation* slave) { m_slave = slave; }
    bool isSlave() const { return m_isSlave; }
    /// A slave owns no timer; making a running animation a slave stops its timer.
    void setIsSlave(bool isSlave);

    /// The built-in curve: slow at both ends, T(0) = 0, T(0.5) = 0.5, T(1) = 1.
    static double easeInOut(double t);

    /// Overridables. animate() returns whether a frame was drawn (the default asks the
    /// delegate); calculateT() maps linear progress (0..1) to the value animate() gets.
    virtual bool animate(double t);
    virtual double calculateT(double t);
    virtual void onStartAnimation() { }
    virtual void onStopAnimation() { }

signals:
    void animationStarted();
    void animationStopped();

private:
    double m_timeAmount = 0.0;
    double m_startTime = 0.0;
    long m_frameCount = 0;
    long m_lastFrameCount = 0;
    float m_stopT = 0.0f;
    bool m_isAnimating = false;
    std::unique_ptr<PvTimer> m_timer;
    QPointer<PvAnimation> m_slave;
    bool m_isSlave = false;
    PvAnimationDelegate* m_delegate = nullptr;
};
