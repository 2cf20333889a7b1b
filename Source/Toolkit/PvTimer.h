// The restartable timer of controls and animations.
#pragma once

#include <QByteArray>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QVariant>

#include <functional>
#include <memory>

class PvTimer;

/**
    What a PvTimer calls: a target object and the name of its action, plus caller data.

    The target is not owned; it is watched, so a target that has been destroyed is never
    called. The action is the name of an invokable method of the target that takes the
    firing PvTimer* as its one argument; a target without such a method is silently not
    called. Instead of a target and action, a callback may be given (with a context object
    that plays the part of the target: no call once it is gone).

    A proxy belongs to its PvTimer and is made by it; hosts rarely use it directly.
*/
class PvTimerProxy {
public:
    using Callback = std::function<void(PvTimer*)>;

    /// A proxy without target, action, user info or owner: its action() does nothing.
    PvTimerProxy() = default;
    PvTimerProxy(QObject* target, const QByteArray& selector, const QVariant& userInfo, PvTimer* owner);
    PvTimerProxy(QObject* context, Callback callback, const QVariant& userInfo, PvTimer* owner);

    /// The platform timer's callback: invalidates a one-shot owner first (so the target
    /// may start it again), then calls the target when it is alive and answers the action.
    void action();

    QObject* target() const { return m_target; }
    QByteArray selector() const { return m_selector; }
    QVariant userInfo() const { return m_userInfo; }

private:
    QPointer<QObject> m_target;
    QByteArray m_selector;
    QVariant m_userInfo;
    PvTimer* m_owner = nullptr;
    Callback m_callback;
    bool m_hasContext = false;
};

/**
    A repeating or one-shot timer on the Qt event loop that calls its target through a
    PvTimerProxy, so the timer never owns what it calls.

    Nothing runs until start(). A running timer is neither restarted nor given a new
    interval by start(); stop() it first. A one-shot timer is already invalid when its
    target is called, so the target may start it again from inside the call. The timer keeps
    firing inside nested event loops: while a control tracks the mouse in its own loop and
    while a modal dialog runs.

    The timer belongs to the thread that creates it (the main thread in every user). It may
    be destroyed from inside its own target call.

    @see PvTimerProxy
*/
class PvTimer {
public:
    /// A timer of interval seconds (negative values are taken as 0) that calls
    /// selector(PvTimer*) on target. Repeats unless repeats is false.
    PvTimer(double interval, QObject* target, const QByteArray& selector, const QVariant& userInfo = {},
        bool repeats = true);
    /// A boolean or number right after the selector would silently become the user info
    /// and leave the timer repeating; say QVariant(...) for such user info, or give
    /// repeats after it.
    PvTimer(double interval, QObject* target, const QByteArray& selector, bool userInfoOrRepeats) = delete;
    /// The same with a callback guarded by context (no call once context is destroyed).
    PvTimer(double interval, QObject* context, PvTimerProxy::Callback callback, bool repeats = true,
        const QVariant& userInfo = {});
    ~PvTimer();
    PvTimer(const PvTimer&) = delete;
    PvTimer& operator=(const PvTimer&) = delete;

    /// Starts with the stored interval; see startWithTimeInterval().
    void start();
    /// Schedules the timer with interval seconds unless it is still running, in which case
    /// nothing changes (neither restart nor new interval). The stored interval is kept.
    void startWithTimeInterval(double interval);
    /// Stops the timer; start() schedules it afresh. Same as invalidate().
    void stop();
    void invalidate();
    /// Calls the target at once, as if the timer had fired (a one-shot timer becomes invalid).
    /// Does nothing unless the timer is active.
    void fire();

    /// Whether the timer is scheduled (false before the first start and after it stopped
    /// or a one-shot timer fired). isValid() is the same.
    bool isActive() const;
    bool isValid() const { return isActive(); }
    bool isRepeating() const { return m_repeats; }
    /// The interval used by start(), in seconds.
    double timeInterval() const { return m_interval; }
    QVariant userInfo() const { return m_proxy.userInfo(); }
    /// The Qt timer of the current schedule; null before the first start.
    QTimer* timer() const { return m_timer; }
    const PvTimerProxy& proxy() const { return m_proxy; }

private:
    QTimer* m_timer = nullptr;
    double m_interval = 0;
    bool m_repeats = true;
    PvTimerProxy m_proxy;
    std::shared_ptr<bool> m_alive; // lets a firing call notice that its timer was destroyed
};
