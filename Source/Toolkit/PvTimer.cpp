#include "PvTimer.h"

#include "PvTargetAction.h"

#include <QMetaMethod>
#include <QTimer>

#include <algorithm>
#include <cmath>

PvTimerProxy::PvTimerProxy(
    QObject* target, const QByteArray& selector, const QVariant& userInfo, PvTimer* owner)
    : m_target(target)
    , m_selector(selector)
    , m_userInfo(userInfo)
    , m_owner(owner)
{
}

PvTimerProxy::PvTimerProxy(QObject* context, Callback callback, const QVariant& userInfo, PvTimer* owner)
    : m_target(context)
    , m_userInfo(userInfo)
    , m_owner(owner)
    , m_callback(std::move(callback))
    , m_hasContext(context != nullptr)
{
}

namespace {

// Calls selector(PvTimer*) on target when it has that method.
void callTarget(QObject* target, const QByteArray& selector, PvTimer* owner)
{
    const QMetaObject* mo = target->metaObject();
    for (int i = mo->methodCount() - 1; i >= 0; --i) {
        const QMetaMethod m = mo->method(i);
        if (m.name() != selector || m.methodType() == QMetaMethod::Signal || m.parameterCount() != 1
            || m.parameterTypeName(0) != "PvTimer*")
            continue;
        m.invoke(target, Qt::DirectConnection, Q_ARG(PvTimer*, owner));
        return;
    }
}

} // namespace

void PvTimerProxy::action()
{
    if (m_owner && !m_owner->isRepeating())
        m_owner->invalidate();
    if (m_callback) {
        if (m_hasContext && !m_target)
            return;
        Callback callback = m_callback; // the timer (and this proxy) may be destroyed inside
        callback(m_owner);
        return;
    }
    if (m_target && !m_selector.isEmpty())
        callTarget(m_target, m_selector, m_owner);
}

PvTimer::PvTimer(
    double interval, QObject* target, const QByteArray& selector, const QVariant& userInfo, bool repeats)
    : m_interval(std::max(0.0, interval))
    , m_repeats(repeats)
    , m_proxy(target, selector, userInfo, this)
    , m_alive(std::make_shared<bool>(true))
{
}

PvTimer::PvTimer(double interval, QObject* context, PvTimerProxy::Callback callback, bool repeats,
    const QVariant& userInfo)
    : m_interval(std::max(0.0, interval))
    , m_repeats(repeats)
    , m_proxy(context, std::move(callback), userInfo, this)
    , m_alive(std::make_shared<bool>(true))
{
}

PvTimer::~PvTimer()
{
    *m_alive = false;
    if (m_timer) {
        m_timer->stop();
        m_timer->disconnect();
        // The timer may be destroyed from inside its own timeout signal.
        m_timer->deleteLater();
    }
}

void PvTimer::start()
{
    startWithTimeInterval(m_interval);
}

void PvTimer::startWithTimeInterval(double interval)
{
    if (isActive())
        return;
    if (m_timer) {
        m_timer->disconnect();
        m_timer->deleteLater();
        m_timer = nullptr;
    }
    m_timer = new QTimer;
    m_timer->setSingleShot(!m_repeats);
    m_timer->setTimerType(Qt::PreciseTimer);
    const double ms = std::isfinite(interval) ? std::clamp(interval * 1000.0, 0.0, 2147483647.0) : 0.0;
    m_timer->setInterval(int(std::lround(ms)));
    // Qt timers fire in every event loop of their thread, nested ones included, which is
    // what keeps the timer alive during mouse tracking and modal dialogs.
    QObject::connect(m_timer, &QTimer::timeout, m_timer, [this, alive = m_alive] {
        if (*alive)
            m_proxy.action();
    });
    m_timer->start();
}

void PvTimer::stop()
{
    invalidate();
}

void PvTimer::invalidate()
{
    if (m_timer)
        m_timer->stop();
}

void PvTimer::fire()
{
    if (!isActive())
        return;
    m_proxy.action();
}

bool PvTimer::isActive() const
{
    return m_timer && m_timer->isActive();
}
