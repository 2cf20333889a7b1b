// Smooth scrolling of a scroll view to a point.
#pragma once

#include "PvAnimation.h"

#include <QPointF>
#include <QPointer>
#include <QSize>

class PvScrollView;

/**
    Scrolls a PvScrollView smoothly so that a point of its document comes to the clip
    view's top-left corner, with the eased curve of PvAnimation over duration() seconds
    (0.3 by default).

    The target is limited to the document: the view never scrolls past the last position
    that still fills the clip view. Asking for the end point the animation is already
    running to changes nothing; asking for another one while it runs continues from where
    the view is now, without a jump back. The scroll view is not owned.
*/
class PVScrollViewAnimation : public PvAnimation {
    Q_OBJECT
public:
    explicit PVScrollViewAnimation(PvScrollView* scrollView = nullptr, QObject* parent = nullptr);

    PvScrollView* scrollView() const { return m_scrollView; }
    void setScrollView(PvScrollView* scrollView);
    double duration() const { return m_duration; }
    void setDuration(double seconds) { m_duration = seconds; }

    /// Starts scrolling to point (document coordinates) and returns the direction per
    /// axis: -1 towards the start of the document, 1 towards its end, 0 not moving.
    QSize scrollToPoint(const QPointF& point);
    int horizontalDirection() const { return m_direction.width(); }
    int verticalDirection() const { return m_direction.height(); }
    QPointF startPoint() const { return m_startPoint; }
    QPointF endPoint() const { return m_endPoint; }

    bool animate(double t) override;

private:
    QPointer<PvScrollView> m_scrollView;
    QPointF m_startPoint;
    QPointF m_endPoint;
    QSize m_direction {0, 0};
    double m_duration = 0.3;
};
