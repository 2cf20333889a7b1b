#include "PVNanoTimer.h"

#include <QtGlobal>

#include <cerrno>

std::unique_ptr<PVNanoTimer> PVNanoTimer::timer()
{
    auto t = std::make_unique<PVNanoTimer>();
    if (!t->m_clockAvailable)
        return nullptr;
    return t;
}

PVNanoTimer::PVNanoTimer()
{
    timespec resolution {};
    if (clock_getres(clk_realtime, &resolution) != 0) {
        qWarning("host_get_clock_service : %d", errno);
        return;
    }
    m_clockAvailable = true;
    // Calibrate: the mean cost of an empty start/stop pair. Calls are qualified so that
    // the calibration always measures this clock, even while a subclass is being made.
    for (int i = 0; i < 10; ++i) {
        if (!isRunning) {
            startTime = PVNanoTimer::_getclock();
            isRunning = true;
        }
        endTime = PVNanoTimer::_getclock();
        if (endTime < startTime)
            endTime = startTime;
        isRunning = false;
        sumTime += endTime - startTime;
        ++loopCounter;
    }
    internalCorrection = sumTime / uint64_t(loopCounter);
    reset();
}

uint64_t PVNanoTimer::_getclock() const
{
    timespec now {};
    if (clock_gettime(clk_realtime, &now) != 0) {
        qWarning("clock_get_time : %d", errno);
        return 0;
    }
    return uint64_t(now.tv_sec) * 1000000000u + uint64_t(now.tv_nsec);
}

void PVNanoTimer::start()
{
    if (isRunning)
        return;
    startTime = _getclock();
    isRunning = true;
}

void PVNanoTimer::stop()
{
    if (!isRunning)
        return;
    const uint64_t now = _getclock();
    endTime = now > internalCorrection ? now - internalCorrection : 0;
    if (endTime < startTime)
        endTime = startTime;
    isRunning = false;
    sumTime += endTime - startTime;
    ++loopCounter;
}

void PVNanoTimer::reset()
{
    sumTime = 0;
    loopCounter = 0;
    isRunning = false;
}

void PVNanoTimer::setLoopcounter(int count)
{
    if (!isRunning)
        loopCounter = count;
}

uint64_t PVNanoTimer::nanoseconds() const
{
    if (isRunning)
        return _getclock() - startTime;
    // A count of 0 (or one set negative) has no mean; report 0 rather than divide by it.
    if (loopCounter <= 0)
        return 0;
    return sumTime / uint64_t(loopCounter);
}

QString PVNanoTimer::description() const
{
    return descriptionFor(nanoseconds());
}

QString PVNanoTimer::descriptionFor(uint64_t n)
{
    if (n <= 499)
        return QString::asprintf("%lldns", static_cast<long long>(n));
    const double u = double(n) / 1000.0;
    if (u < 500)
        return QString::asprintf("%.1fus", u);
    const double m = u / 1000.0;
    if (m < 500)
        return QString::asprintf("%.1fms", m);
    return QString::asprintf("%.1fs (%.1fms)", m / 1000.0, m);
}
