#include "FadeOut.h"

#include "PvWindow.h"

#include <QApplication>

#include <algorithm>

FadeOut* FadeOut::fadeOutInstance = nullptr;

namespace {

float alphaOf(const QWidget* w)
{
    if (auto* pw = qobject_cast<const PvWindow*>(w))
        return pw->alphaValue();
    return float(w->windowOpacity());
}

void setAlphaOf(QWidget* w, float alpha)
{
    if (auto* pw = qobject_cast<PvWindow*>(w))
        pw->setAlphaValue(alpha);
    else
        w->setWindowOpacity(alpha);
}

} // namespace

FadeOut::FadeOut(QObject* parent)
    : QObject(parent)
{
}

FadeOut* FadeOut::fadeOut()
{
    // Unguarded lazy creation: meant for the main thread. Never destroyed, so the
    // instance outlives every window it fades.
    if (!fadeOutInstance)
        fadeOutInstance = new FadeOut(nullptr);
    return fadeOutInstance;
}

void FadeOut::addWindow(QWidget* window)
{
    if (!window)
        return;
    QMutexLocker lock(&m_lock);
    const bool present = std::any_of(
        m_windowSet.begin(), m_windowSet.end(), [&](const QPointer<QWidget>& w) { return w == window; });
    if (!present)
        m_windowSet.emplace_back(window);
    lock.unlock();
    destroyAndCreateTimer();
}

void FadeOut::removeWindow(QWidget* window)
{
    QMutexLocker lock(&m_lock);
    std::erase_if(m_windowSet, [&](const QPointer<QWidget>& w) { return w == window; });
}

void FadeOut::destroyAndCreateTimer()
{
    QMutexLocker lock(&m_lock);
    std::erase_if(m_windowSet, [](const QPointer<QWidget>& w) { return w.isNull(); });
    if (!m_windowSet.empty() && !m_faderTimer) {
        m_faderTimer = new QTimer(this);
        m_faderTimer->setInterval(int(kInterval * 1000));
        m_faderTimer->setTimerType(Qt::PreciseTimer);
        connect(m_faderTimer, &QTimer::timeout, this, &FadeOut::tick);
        m_faderTimer->start();
    } else if (m_windowSet.empty() && m_faderTimer) {
        m_faderTimer->stop();
        m_faderTimer->deleteLater();
        m_faderTimer = nullptr;
    }
}

void FadeOut::tick()
{
    // The fade belongs to the main event loop only: a modal dialog or a held mouse button
    // (mouse tracking) pauses it, as a timer of the default run-loop mode would pause.
    if (QApplication::activeModalWidget() || QGuiApplication::mouseButtons() != Qt::NoButton)
        return;
    updateAlphaValues();
}

void FadeOut::updateAlphaValues()
{
    {
        QMutexLocker lock(&m_lock);
        for (const QPointer<QWidget>& w : m_windowSet) {
            if (!w)
                continue;
            const double alpha = double(alphaOf(w)) - kStep;
            setAlphaOf(w, float(std::max(0.0, alpha)));
        }
    }
    testForRemoval();
    destroyAndCreateTimer();
}

void FadeOut::testForRemoval()
{
    std::vector<QPointer<QWidget>> toClose;
    {
        QMutexLocker lock(&m_lock);
        std::vector<QPointer<QWidget>> kept;
        for (const QPointer<QWidget>& w : m_windowSet) {
            if (!w)
                continue;
            if (alphaOf(w) <= 0.0f)
                toClose.push_back(w);
            else
                kept.push_back(w);
        }
        m_windowSet.swap(kept);
    }
    // Closing runs the window's own code (which may add windows), so it happens outside
    // the lock.
    for (const QPointer<QWidget>& w : toClose)
        if (w)
            w->close();
}

bool FadeOut::isFading(const QWidget* window) const
{
    QMutexLocker lock(&m_lock);
    return std::any_of(
        m_windowSet.begin(), m_windowSet.end(), [&](const QPointer<QWidget>& w) { return w == window; });
}

int FadeOut::windowCount() const
{
    QMutexLocker lock(&m_lock);
    return int(std::count_if(
        m_windowSet.begin(), m_windowSet.end(), [](const QPointer<QWidget>& w) { return !w.isNull(); }));
}
