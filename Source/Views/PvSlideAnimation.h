// Sliding a side view in and out beside a main view.
#pragma once

#include "PvAnimation.h"

#include <QList>
#include <QPointer>
#include <QRect>
#include <QWidget>

class PvSlideAnimation;

/// Told when a slide (or an animated resize) begins and ends. Both optional.
class PvSlideAnimationDelegate : public PvAnimationDelegate {
public:
    virtual void dfSlideAnimationWillBeginAnimation(PvSlideAnimation* animation) { (void)animation; }
    virtual void dfSlideAnimationDidEndAnimation(PvSlideAnimation* animation) { (void)animation; }
};

/// May set the frames of the views during a slide itself (for views that resize
/// cheaper another way); answering false lets the animation set the frame.
class PvSlideAnimationOptimizationDelegate {
public:
    virtual ~PvSlideAnimationOptimizationDelegate() = default;
    virtual bool slideAnimationResizeView(PvSlideAnimation* animation, QWidget* view, const QRect& frame) = 0;
};

/**
    Slides a slide view in and out beside a main view; both are children of a root view
    and together fill it. Where the slide view sits is read from the two views' frames
    when the animation is made (resetProperties()): right of the main view (1), left of it
    (2), below it (3) or above it (4). Its size then is the size it has when slided in;
    when slided out it keeps slidedOutSize() (0 by default, and then it is hidden).

    States: 0 slided in, 1 sliding in, 2 sliding out, 3 slided out, 4 resizing (the user
    dragging the split, or setSlideSize() animating). Each frame resizes both views so
    that they keep filling the root view; Qt repaints the root once per frame. While a
    slide runs, the slide view's children keep their slided-in geometry, pinned to the
    edge next to the main view, so the panel moves in rather than squeezing (unless
    setChangeSlideSubviewAutoresizeMasks(false)); the views given to setViewsToHide() are
    hidden.

    slideIn() and slideOut() animate (0.5 s and 0.6 s by default); the swap variants act at
    once. A slave slide animation (setSlave()) slides together with this one.
*/
class PvSlideAnimation : public PvAnimation {
    Q_OBJECT
public:
    enum State { SlidedIn = 0, SlidingIn = 1, SlidingOut = 2, SlidedOut = 3, Resizing = 4 };
    enum Alignment { SlideRight = 1, SlideLeft = 2, SlideBelow = 3, SlideAbove = 4 };

    PvSlideAnimation(QWidget* rootView, QWidget* mainView, QWidget* slideView, QObject* parent = nullptr);

    QWidget* rootView() const { return m_rootView; }
    QWidget* mainView() const { return m_mainView; }
    QWidget* slideView() const { return m_slideView; }
    void setSlideDelegate(PvSlideAnimationDelegate* delegate) { setDelegate(delegate); }
    void setOptimizationDelegate(PvSlideAnimationOptimizationDelegate* delegate)
    {
        m_optimizationDelegate = delegate;
    }

    /// Reads alignment and slided-in size from the views' current frames and sets the
    /// state (slided out when the size is within 0.1 of slidedOutSize()).
    void resetProperties();

    void slideIn();
    void slideOut();
    void toggle();
    void swapIn();
    void swapOut();
    void swapToggle();
    void slideInWithAnimation(bool animate) { animate ? slideIn() : swapIn(); }
    void slideOutWithAnimation(bool animate) { animate ? slideOut() : swapOut(); }
    void toggleWithAnimation(bool animate) { animate ? toggle() : swapToggle(); }
    /// Slides in to size (limited as for a user resize) when slided out.
    void slideInWithSlideSize(double size, bool animate);
    /// Resizes a slided-in view to size (limited); when slided out, sets the size it will
    /// slide in to.
    void setSlideSize(double size, bool animate);

    double slideInTimeAmount() const { return m_slideInTimeAmount; }
    void setSlideInTimeAmount(double seconds) { m_slideInTimeAmount = seconds; }
    double slideOutTimeAmount() const { return m_slideOutTimeAmount; }
    void setSlideOutTimeAmount(double seconds) { m_slideOutTimeAmount = seconds; }
    double slidedInSize() const { return m_slidedInSize; }
    double slidedOutSize() const { return m_slidedOutSize; }
    void setSlidedOutSize(double size);
    double minSlideSize() const { return m_minSlideSize; }
    void setMinSlideSize(double size) { m_minSlideSize = size; }
    double maxSlideSize() const { return m_maxSlideSize; }
    void setMaxSlideSize(double size) { m_maxSlideSize = size; }
    double minMainViewSize() const { return m_minMainViewSize; }
    void setMinMainViewSize(double size) { m_minMainViewSize = size; }
    void setViewsToHide(const QList<QWidget*>& views);
    bool changeSlideSubviewAutoresizeMasks() const { return m_changeSlideSubviewAutoresizeMasks; }
    void setChangeSlideSubviewAutoresizeMasks(bool change) { m_changeSlideSubviewAutoresizeMasks = change; }

    int state() const { return m_state; }
    int slideAlignment() const { return m_SlideAlignment; }
    bool isHorizontal() const { return m_SlideAlignment == SlideRight || m_SlideAlignment == SlideLeft; }
    bool isResizing() const { return m_state == Resizing; }
    bool isSliding() const { return m_state == SlidingIn || m_state == SlidingOut || m_state == Resizing; }
    bool isSlidedIn() const { return m_state == SlidedIn; }
    bool isSlidedOut() const { return m_state == SlidedOut; }
    bool isSlidingIn() const { return m_state == SlidingIn; }
    bool isSlidingOut() const { return m_state == SlidingOut; }
    double currentSlideSize() const { return m_currentSize; }
    double currentMainViewSize() const { return extent() - m_currentSize; }
    bool minSplitSizeReached() const { return m_currentSize <= lowerLimit(); }
    bool maxSplitSizeReached() const { return m_currentSize >= upperLimit(); }
    /// Slided in, and there is room to change the split.
    bool userResizingPossible() const { return m_state == SlidedIn && upperLimit() > lowerLimit(); }

    /// The split drag: start (only when slided in; returns whether it started), move to a
    /// slide size (limited), end. State 4 lasts from start to end.
    bool startUserResize();
    void userResize(double size);
    void endUserResize();

    /// Lays the views out again in the root view's current rectangle (after it resized).
    void layoutViews();

    bool animate(double t) override;
    double calculateT(double t) override;
    void onStartAnimation() override;
    void onStopAnimation() override;

signals:
    void stateChanged(int state);

private:
    void slide(bool in, double seconds);
    void setState(int state);
    double extent() const;
    double lowerLimit() const;
    double upperLimit() const;
    double limited(double size) const;
    void applySize(double size);
    void resizeView(QWidget* view, const QRect& frame);
    PvSlideAnimationDelegate* slideDelegate() const;

    QPointer<QWidget> m_rootView;
    QPointer<QWidget> m_mainView;
    QPointer<QWidget> m_slideView;
    PvSlideAnimationOptimizationDelegate* m_optimizationDelegate = nullptr;
    double m_slideInTimeAmount = 0.5;
    double m_slideOutTimeAmount = 0.6;
    int m_state = SlidedIn;
    int m_SlideAlignment = SlideRight;
    // Geometry of the slide view's children while a slide runs, at the slided-in size.
    QList<QPair<QPointer<QWidget>, QRect>> m_resizingMasks;
    double m_slidedInSize = 0.0;
    double m_slidedOutSize = 0.0;
    double m_minSlideSize = 100.0;
    double m_maxSlideSize = 1000000.0;
    double m_minMainViewSize = 200.0;
    QList<QPointer<QWidget>> m_viewsToHide;
    double m_resizeStartSizeValue = 0.0;
    double m_resizeTargetSize = 0.0;
    float m_lastAnimationT = 0.0f;
    bool m_viewsRemoved = false;
    bool m_changeSlideSubviewAutoresizeMasks = true;
    double m_currentSize = 0.0;
};
