// Calls asked for after a delay, and cancelling them.
#pragma once

#include <QByteArray>
#include <QObject>
#include <QVariant>

#include <functional>

/**
    Asks for selector(argument) to be called on target after seconds (negative, NaN and 0
    mean "as soon as the event loop runs"). Each call makes a new request; nothing is
    merged.

    The selector is the name of an invokable method (slot or Q_INVOKABLE) of target with
    one parameter, to which argument is handed (a QVariant parameter gets it as it is, any
    other type gets it converted), or with none. A target without such a method, or whose
    argument does not convert, is silently not called. The target is watched: a request of
    a destroyed target is dropped.

    The moment is measured on PvClock: the request is due when PvClock::now() has reached
    the time of asking plus seconds. A Qt timer wakes the event loop at that moment and
    calls every due request, oldest moment first (ties in the order asked); a test with a
    manual clock can instead advance the clock and call pv_performDueRequests().

    Main thread only. Requests live in one process-wide queue.

    @see pv_cancelPreviousPerformRequests(), PvClock
*/
void pv_performAfterDelay(
    QObject* target, const QByteArray& selector, const QVariant& argument, double seconds);

/// The same with a callback; target plays the part of the object called (the callback is
/// dropped once it is destroyed, and pv_cancelPreviousPerformRequests(target) cancels it).
/// With a null target the callback is unguarded and cannot be cancelled.
void pv_performAfterDelay(QObject* target, std::function<void()> callback, double seconds);

/// Cancels every pending request of target, selector and callback ones alike. Requests
/// already being called in the current pass are not affected, except those not yet reached.
void pv_cancelPreviousPerformRequests(QObject* target);

/// Cancels the pending selector requests of target with this selector and an equal argument.
void pv_cancelPreviousPerformRequests(QObject* target, const QByteArray& selector, const QVariant& argument);

/// Carries out every request that is due on PvClock now and returns how many it took
/// (a target that does not answer its selector counts too).
/// Requests asked for during this pass wait for the next one, so a request that asks
/// for itself again with delay 0 cannot keep the pass going forever.
int pv_performDueRequests();

/// The number of requests still waiting (for tests and diagnostics).
int pv_pendingPerformRequestCount();
