#include "PVScrollViewAnimation.h"

#include "PvScrollView.h"

#include <algorithm>
#include <cmath>

PVScrollViewAnimation::PVScrollViewAnimation(PvScrollView* scrollView, QObject* parent)
    : PvAnimation(nullptr, parent)
    , m_scrollView(scrollView)
{
}

void PVScrollViewAnimation::setScrollView(PvScrollView* scrollView)
{
    stopAnimation();
    m_scrollView = scrollView;
}

QSize PVScrollViewAnimation::scrollToPoint(const QPointF& point)
{
    if (!m_scrollView || !m_scrollView->documentView())
        return QSize(0, 0);
    const QSize document = m_scrollView->documentView()->size();
    const QSize clip = m_scrollView->contentSize();
    const QPointF end(std::clamp(point.x(), 0.0, double(std::max(0, document.width() - clip.width()))),
        std::clamp(point.y(), 0.0, double(std::max(0, document.height() - clip.height()))));
    if (isAnimating() && end == m_endPoint)
        return m_direction;
    // Stopping applies the end point; pointing it at where the view is now keeps the
    // view still, so a new target continues from here.
    m_startPoint = m_endPoint = m_scrollView->documentVisibleRect().topLeft();
    stopAnimation();
    m_endPoint = end;
    auto direction = [](double delta) { return int(std::clamp(std::round(delta), -1.0, 1.0)); };
    m_direction = QSize(direction(end.x() - m_startPoint.x()), direction(end.y() - m_startPoint.y()));
    startAnimationWithTimeAmount(m_duration, 1.0);
    return m_direction;
}

bool PVScrollViewAnimation::animate(double t)
{
    if (!m_scrollView)
        return false;
    const QPointF point = m_startPoint + (m_endPoint - m_startPoint) * t;
    m_scrollView->scrollToPoint(QPoint(int(std::lround(point.x())), int(std::lround(point.y()))));
    PvAnimation::animate(t);
    return true;
}
