#include "PvDelayedPerform.h"

#include "PvClock.h"
#include "PvTargetAction_p.h"

#include <QMetaMethod>
#include <QPointer>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

namespace {

struct Request {
    QPointer<QObject> target;
    bool guarded = false; // false for a callback asked without target
    QByteArray selector;
    QVariant argument;
    std::function<void()> callback;
    double due = 0; // on PvClock, in seconds
    uint64_t sequence = 0;
};

struct Queue {
    std::vector<Request> requests;
    uint64_t nextSequence = 0;
    QTimer* timer = nullptr;
};

Queue& queue()
{
    static Queue q;
    return q;
}

void schedule();

QTimer* wakeTimer()
{
    Queue& q = queue();
    if (!q.timer) {
        // Never destroyed: it lives as long as the queue it serves.
        q.timer = new QTimer;
        q.timer->setSingleShot(true);
        q.timer->setTimerType(Qt::PreciseTimer);
        QObject::connect(q.timer, &QTimer::timeout, [] { pv_performDueRequests(); });
    }
    return q.timer;
}

void dropDestroyed()
{
    std::erase_if(queue().requests, [](const Request& r) { return r.guarded && !r.target; });
}

// Sets the wake-up timer for the earliest request, or stops it when none waits.
void schedule()
{
    dropDestroyed();
    Queue& q = queue();
    if (q.requests.empty()) {
        if (q.timer)
            q.timer->stop();
        return;
    }
    double earliest = std::numeric_limits<double>::infinity();
    for (const Request& r : q.requests)
        earliest = std::min(earliest, r.due);
    // Rounded up so that the timer does not wake a millisecond before the moment and
    // then find nothing due.
    const double ms = std::ceil(std::clamp((earliest - PvClock::now()) * 1000.0, 0.0, 2147483647.0));
    QTimer* t = wakeTimer();
    t->start(int(ms));
}

void add(Request r, double seconds)
{
    if (!std::isfinite(seconds) || seconds < 0)
        seconds = 0;
    Queue& q = queue();
    r.due = PvClock::now() + seconds;
    r.sequence = q.nextSequence++;
    q.requests.push_back(std::move(r));
    schedule();
}

// Calls selector on target with argument; see the header for which methods answer.
void invokeSelector(QObject* target, const QByteArray& selector, const QVariant& argument)
{
    const int index = pv_methodAnsweringSelector(target, selector, [&argument](const QMetaType& type) {
        QVariant converted = argument;
        return type == QMetaType::fromType<QVariant>() || converted.convert(type);
    });
    if (index < 0)
        return;
    const QMetaMethod m = target->metaObject()->method(index);
    if (m.parameterCount() == 0) {
        m.invoke(target, Qt::DirectConnection);
    } else if (m.parameterMetaType(0) == QMetaType::fromType<QVariant>()) {
        m.invoke(target, Qt::DirectConnection, Q_ARG(QVariant, argument));
    } else {
        QVariant converted = argument;
        converted.convert(m.parameterMetaType(0));
        m.invoke(target, Qt::DirectConnection,
            QGenericArgument(m.parameterMetaType(0).name(), converted.constData()));
    }
}

} // namespace

void pv_performAfterDelay(
    QObject* target, const QByteArray& selector, const QVariant& argument, double seconds)
{
    if (!target || selector.isEmpty())
        return;
    Request r;
    r.target = target;
    r.guarded = true;
    r.selector = selector;
    r.argument = argument;
    add(std::move(r), seconds);
}

void pv_performAfterDelay(QObject* target, std::function<void()> callback, double seconds)
{
    if (!callback)
        return;
    Request r;
    r.target = target;
    r.guarded = target != nullptr;
    r.callback = std::move(callback);
    add(std::move(r), seconds);
}

void pv_cancelPreviousPerformRequests(QObject* target)
{
    if (!target)
        return;
    std::erase_if(queue().requests, [&](const Request& r) { return r.guarded && r.target == target; });
    schedule();
}

void pv_cancelPreviousPerformRequests(QObject* target, const QByteArray& selector, const QVariant& argument)
{
    if (!target)
        return;
    std::erase_if(queue().requests, [&](const Request& r) {
        return r.guarded && r.target == target && !r.callback && r.selector == selector
            && r.argument == argument;
    });
    schedule();
}

int pv_performDueRequests()
{
    Queue& q = queue();
    const uint64_t end = q.nextSequence;
    int called = 0;
    // One request at a time: each call may cancel or add requests.
    for (;;) {
        const double now = PvClock::now();
        auto next = q.requests.end();
        for (auto it = q.requests.begin(); it != q.requests.end(); ++it) {
            if (it->sequence >= end || it->due > now || (it->guarded && !it->target))
                continue;
            if (next == q.requests.end() || it->due < next->due
                || (it->due == next->due && it->sequence < next->sequence))
                next = it;
        }
        if (next == q.requests.end())
            break;
        Request r = std::move(*next);
        q.requests.erase(next);
        ++called;
        if (r.callback)
            r.callback();
        else if (r.target)
            invokeSelector(r.target, r.selector, r.argument);
    }
    schedule();
    return called;
}

int pv_pendingPerformRequestCount()
{
    dropDestroyed();
    return int(queue().requests.size());
}
