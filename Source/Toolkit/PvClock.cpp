#include "PvClock.h"

#include <chrono>
#include <memory>

namespace {

double steadySeconds()
{
    using namespace std::chrono;
    static const steady_clock::time_point origin = steady_clock::now();
    return duration<double>(steady_clock::now() - origin).count();
}

PvClock::Source& installedSource()
{
    static PvClock::Source s;
    return s;
}

} // namespace

double PvClock::now()
{
    const Source& s = installedSource();
    return s ? s() : steadySeconds();
}

PvClock::Source PvClock::setSource(Source source)
{
    Source previous = std::move(installedSource());
    installedSource() = std::move(source);
    return previous;
}

PvClock::ScopedOverride::ScopedOverride(double start)
    : m_time(std::make_shared<double>(start))
{
    m_previous = setSource([time = m_time] { return *time; });
}

PvClock::ScopedOverride::ScopedOverride(Source source)
    : m_time(std::make_shared<double>(0.0))
{
    m_previous = setSource(std::move(source));
}

PvClock::ScopedOverride::~ScopedOverride()
{
    setSource(std::move(m_previous));
}
