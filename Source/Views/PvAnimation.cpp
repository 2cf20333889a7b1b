#include "PvAnimation.h"

#include "PvClock.h"
#include "PvTimer.h"

#include <algorithm>
#include <cmath>

// ln(0.15) / -ln(2), with ln(2) as the single-precision literal the curve has always used.
const double PvAnimation::kEasingPower = std::log(0.15) / -0.6931471824645996;

PvAnimation::PvAnimation(PvAnimationDelegate* delegate, QObject* parent)
    : QObject(parent)
    , m_delegate(delegate)
{
}

PvAnimation::~PvAnimation() = default;

double PvAnimation::easeInOut(double t)
{
    if (t < 0.5)
        return 0.5 * std::pow(2.0 * t, kEasingPower);
    return 1.0 - 0.5 * std::pow(2.0 - 2.0 * t, kEasingPower);
}

void PvAnimation::startAnimationWithTimeAmount(double seconds, double stopT)
{
    startAnimationWithTimeAmount(seconds, stopT, PvClock::now());
}

void PvAnimation::startAnimationWithTimeAmount(double seconds, double stopT, double startTimeStamp)
{
    if (m_slave)
        m_slave->startAnimationWithTimeAmount(seconds, stopT, startTimeStamp);
    m_stopT = float(stopT);
    m_startTime = startTimeStamp;
    m_timeAmount = seconds;
    m_frameCount = 0;
    const bool wasAnimating = m_isAnimating;
    m_isAnimating = true;
    if (!wasAnimating) {
        onStartAnimation();
        emit animationStarted();
    }
    if (seconds <= 0.01) {
        stopAnimation();
        return;
    }
    if (!m_isSlave) {
        if (!m_timer)
            m_timer = std::make_unique<PvTimer>(0.0, this, [this](PvTimer* timer) { handleIdle(timer); });
        m_timer->start();
    }
}

void PvAnimation::stopAnimation()
{
    if (!m_isAnimating)
        return;
    if (m_timer)
        m_timer->stop();
    if (m_slave)
        m_slave->stopAnimation();
    if (animate(m_stopT))
        ++m_frameCount;
    m_lastFrameCount = m_frameCount;
    m_frameCount = 0;
    m_isAnimating = false;
    onStopAnimation();
    emit animationStopped();
}

void PvAnimation::handleIdle(PvTimer* timer)
{
    handleIdle(timer, PvClock::now());
}

void PvAnimation::handleIdle(PvTimer* timer, double timeStamp)
{
    if (!m_isAnimating)
        return;
    const double elapsed = timeStamp - m_startTime;
    const double t = elapsed / m_timeAmount;
    if (m_slave)
        m_slave->handleIdle(timer, timeStamp);
    if (elapsed > m_timeAmount) {
        stopAnimation();
        return;
    }
    // The curve is defined on 0..1; a start stamp in the future reads as the start.
    const double eased = calculateT(std::clamp(t, 0.0, 1.0));
    ++m_frameCount;
    animate(std::clamp(eased, 0.0, 1.0));
}

void PvAnimation::setIsSlave(bool isSlave)
{
    m_isSlave = isSlave;
    if (isSlave && m_timer)
        m_timer->stop();
}

bool PvAnimation::animate(double t)
{
    return m_delegate && m_delegate->pvAnimationAnimate(this, float(t));
}

double PvAnimation::calculateT(double t)
{
    if (m_delegate) {
        if (const std::optional<float> answer = m_delegate->pvAnimationCalculateT(this, float(t)))
            return *answer;
    }
    return easeInOut(t);
}
