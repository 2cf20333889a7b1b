#include "PvSlideAnimation.h"

#include <QLayout>

#include <algorithm>
#include <cmath>

PvSlideAnimation::PvSlideAnimation(QWidget* rootView, QWidget* mainView, QWidget* slideView, QObject* parent)
    : PvAnimation(nullptr, parent)
    , m_rootView(rootView)
    , m_mainView(mainView)
    , m_slideView(slideView)
{
    resetProperties();
}

PvSlideAnimationDelegate* PvSlideAnimation::slideDelegate() const
{
    return dynamic_cast<PvSlideAnimationDelegate*>(delegate());
}

void PvSlideAnimation::resetProperties()
{
    if (!m_mainView || !m_slideView)
        return;
    const QRect main = m_mainView->geometry();
    const QRect slide = m_slideView->geometry();
    double size;
    if (slide.x() != main.x()) {
        m_SlideAlignment = slide.x() > main.x() ? SlideRight : SlideLeft;
        size = slide.width();
    } else {
        // Widgets count y downwards: a greater y is lower on the screen.
        m_SlideAlignment = slide.y() > main.y() ? SlideBelow : SlideAbove;
        size = slide.height();
    }
    m_slidedInSize = size;
    m_currentSize = size;
    setState(0.1 + m_slidedOutSize >= size ? SlidedOut : SlidedIn);
}

void PvSlideAnimation::setState(int state)
{
    if (m_state == state)
        return;
    m_state = state;
    emit stateChanged(state);
}

double PvSlideAnimation::extent() const
{
    if (!m_rootView)
        return 0.0;
    return isHorizontal() ? m_rootView->width() : m_rootView->height();
}

double PvSlideAnimation::lowerLimit() const
{
    return m_minSlideSize;
}

double PvSlideAnimation::upperLimit() const
{
    return std::min(m_maxSlideSize, extent() - m_minMainViewSize);
}

double PvSlideAnimation::limited(double size) const
{
    return std::clamp(size, lowerLimit(), std::max(lowerLimit(), upperLimit()));
}

void PvSlideAnimation::setSlidedOutSize(double size)
{
    m_slidedOutSize = std::max(0.0, size);
    if (m_state == SlidedOut)
        applySize(m_slidedOutSize);
}

void PvSlideAnimation::setViewsToHide(const QList<QWidget*>& views)
{
    m_viewsToHide.clear();
    for (QWidget* view : views)
        m_viewsToHide.append(view);
}

void PvSlideAnimation::slide(bool in, double seconds)
{
    if (m_state != (in ? SlidedOut : SlidedIn))
        return;
    setState(in ? SlidingIn : SlidingOut);
    if (auto* slave = qobject_cast<PvSlideAnimation*>(this->slave()))
        slave->slide(in, seconds);
    if (!isSlave())
        startAnimationWithTimeAmount(seconds, in ? 1.0 : 0.0);
}

void PvSlideAnimation::slideIn()
{
    slide(true, m_slideInTimeAmount);
}
void PvSlideAnimation::slideOut()
{
    slide(false, m_slideOutTimeAmount);
}
void PvSlideAnimation::swapIn()
{
    slide(true, 0.0);
}
void PvSlideAnimation::swapOut()
{
    slide(false, 0.0);
}

void PvSlideAnimation::toggle()
{
    if (m_state == SlidedOut)
        slideIn();
    else
        slideOut();
}

void PvSlideAnimation::swapToggle()
{
    if (m_state == SlidedOut)
        swapIn();
    else
        swapOut();
}

void PvSlideAnimation::slideInWithSlideSize(double size, bool animate)
{
    if (m_state != SlidedOut)
        return;
    m_slidedInSize = limited(size);
    slideInWithAnimation(animate);
}

void PvSlideAnimation::setSlideSize(double size, bool animate)
{
    if (m_state == SlidedOut) {
        m_slidedInSize = limited(size);
        return;
    }
    if (m_state != SlidedIn)
        return;
    setState(Resizing);
    m_resizeStartSizeValue = m_currentSize;
    m_resizeTargetSize = limited(size);
    startAnimationWithTimeAmount(animate ? m_slideInTimeAmount : 0.0, 1.0);
}

bool PvSlideAnimation::startUserResize()
{
    if (!userResizingPossible())
        return false;
    m_resizeStartSizeValue = m_currentSize;
    setState(Resizing);
    return true;
}

void PvSlideAnimation::userResize(double size)
{
    if (m_state != Resizing || isAnimating())
        return;
    applySize(limited(size));
}

void PvSlideAnimation::endUserResize()
{
    if (m_state != Resizing || isAnimating())
        return;
    m_slidedInSize = m_currentSize;
    setState(SlidedIn);
}

bool PvSlideAnimation::animate(double t)
{
    m_lastAnimationT = float(t);
    double size;
    if (m_state == Resizing)
        size = m_resizeStartSizeValue + (m_resizeTargetSize - m_resizeStartSizeValue) * t;
    else
        size = m_slidedOutSize + (m_slidedInSize - m_slidedOutSize) * t;
    applySize(size);
    PvAnimation::animate(t); // the delegate may draw along
    return true;
}

double PvSlideAnimation::calculateT(double t)
{
    const double eased = PvAnimation::calculateT(t);
    return (m_state == SlidingIn || m_state == Resizing) ? eased : 1.0 - eased;
}

void PvSlideAnimation::onStartAnimation()
{
    if (m_state != Resizing && m_slideView) {
        if (m_viewsRemoved) {
            m_slideView->show();
            m_viewsRemoved = false;
        }
        for (const QPointer<QWidget>& view : std::as_const(m_viewsToHide))
            if (view)
                view->hide();
        m_resizingMasks.clear();
        if (m_changeSlideSubviewAutoresizeMasks) {
            // Lay the children out at the slided-in size once, then keep that geometry.
            const double current = m_currentSize;
            applySize(m_slidedInSize);
            if (QLayout* layout = m_slideView->layout()) {
                layout->activate();
                layout->setGeometry(m_slideView->rect());
                layout->setEnabled(false);
            }
            for (QWidget* child : m_slideView->findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
                m_resizingMasks.append({child, child->geometry()});
            applySize(current);
        }
    }
    if (PvSlideAnimationDelegate* d = slideDelegate())
        d->dfSlideAnimationWillBeginAnimation(this);
}

void PvSlideAnimation::onStopAnimation()
{
    const bool resized = m_state == Resizing;
    if (!resized && m_slideView) {
        for (const auto& [child, frame] : std::as_const(m_resizingMasks))
            if (child)
                child->setGeometry(frame);
        m_resizingMasks.clear();
        if (QLayout* layout = m_slideView->layout()) {
            layout->setEnabled(true);
            layout->activate();
        }
        for (const QPointer<QWidget>& view : std::as_const(m_viewsToHide))
            if (view)
                view->show();
    }
    if (resized)
        m_slidedInSize = m_currentSize;
    setState(m_state == SlidingOut ? SlidedOut : SlidedIn);
    if (m_state == SlidedOut && m_currentSize <= 0.0 && m_slideView) {
        m_slideView->hide();
        m_viewsRemoved = true;
    }
    if (PvSlideAnimationDelegate* d = slideDelegate())
        d->dfSlideAnimationDidEndAnimation(this);
}

void PvSlideAnimation::layoutViews()
{
    applySize(m_currentSize);
}

void PvSlideAnimation::resizeView(QWidget* view, const QRect& frame)
{
    if (!view)
        return;
    if (m_optimizationDelegate && m_optimizationDelegate->slideAnimationResizeView(this, view, frame))
        return;
    view->setGeometry(frame);
}

void PvSlideAnimation::applySize(double size)
{
    m_currentSize = size;
    if (!m_rootView || !m_mainView || !m_slideView)
        return;
    const QRect area = m_rootView->rect();
    const int s = int(std::lround(size));
    QRect main = area, slide = area;
    int shiftX = 0, shiftY = 0; // of the children pinned to the edge next to the main view
    const int in = int(std::lround(m_slidedInSize));
    switch (m_SlideAlignment) {
    case SlideRight:
        main.setWidth(area.width() - s);
        slide.setLeft(area.right() + 1 - s);
        break;
    case SlideLeft:
        slide.setWidth(s);
        main.setLeft(area.left() + s);
        shiftX = s - in;
        break;
    case SlideBelow:
        main.setHeight(area.height() - s);
        slide.setTop(area.bottom() + 1 - s);
        break;
    default:
        slide.setHeight(s);
        main.setTop(area.top() + s);
        shiftY = s - in;
        break;
    }
    // Both views change in one step: the root repaints once for the frame, not once per
    // view and child.
    // (Only when updates are on: turning them off while an ancestor has them off would
    // leave the root switched off for good.)
    const bool batch = m_rootView->isVisible() && m_rootView->updatesEnabled();
    if (batch)
        m_rootView->setUpdatesEnabled(false);
    resizeView(m_slideView, slide);
    resizeView(m_mainView, main);
    for (const auto& [child, frame] : std::as_const(m_resizingMasks))
        if (child)
            child->setGeometry(frame.translated(shiftX, shiftY));
    if (batch)
        m_rootView->setUpdatesEnabled(true);
}
