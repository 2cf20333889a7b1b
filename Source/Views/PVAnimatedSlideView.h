// A view hosting a main view and a sliding side view.
#pragma once

#include "PvSlideAnimation.h"

#include <QWidget>

#include <memory>

class PVAnimatedSlideView;

/// Told around slides and user resizes of the split. All optional.
class PVAnimatedSlideViewDelegate {
public:
    virtual ~PVAnimatedSlideViewDelegate() = default;
    virtual void pvAnimatedSlideViewWillBeginAnimation(PVAnimatedSlideView* view) { (void)view; }
    virtual void pvAnimatedSlideViewDidEndAnimation(PVAnimatedSlideView* view) { (void)view; }
    virtual void pvAnimatedSlideViewWillStartUserResize(PVAnimatedSlideView* view) { (void)view; }
    virtual void pvAnimatedSlideViewDidEndUserResize(PVAnimatedSlideView* view) { (void)view; }
};

/**
    Hosts a main view and a slide view that together fill it, and slides the slide view in
    and out through its PvSlideAnimation (animation()). Give the two views with setViews()
    in the frames they have when slided in: their placement decides on which side the
    slide view sits.

    A splitter handle on the edge between the views lets the user resize the split with
    the mouse, or with the arrow keys once it has the focus (10 points a press, 1 with
    Shift). The view relays the animation's messages to its delegate and emits the same
    events as signals.
*/
class PVAnimatedSlideView : public QWidget, private PvSlideAnimationDelegate {
    Q_OBJECT
public:
    explicit PVAnimatedSlideView(QWidget* parent = nullptr);
    ~PVAnimatedSlideView() override;

    /// Takes main and slide as children at their current geometry (in this view's
    /// coordinates) and makes the animation for them.
    void setViews(QWidget* mainView, QWidget* slideView);
    QWidget* mainView() const { return m_mainView; }
    QWidget* slideView() const { return m_slideView; }
    /// The animation; null before setViews().
    PvSlideAnimation* animation() const { return m_animation.get(); }
    /// The splitter handle; null before setViews().
    QWidget* splitterHandle() const { return m_handle; }

    PVAnimatedSlideViewDelegate* delegate() const { return m_delegate; }
    void setDelegate(PVAnimatedSlideViewDelegate* delegate) { m_delegate = delegate; }

    // The operations and queries of the animation, for convenience.
    void slideIn() { forward(&PvSlideAnimation::slideIn); }
    void slideOut() { forward(&PvSlideAnimation::slideOut); }
    void toggle() { forward(&PvSlideAnimation::toggle); }
    void swapIn() { forward(&PvSlideAnimation::swapIn); }
    void swapOut() { forward(&PvSlideAnimation::swapOut); }
    void swapToggle() { forward(&PvSlideAnimation::swapToggle); }
    void slideInWithAnimation(bool animate) { animate ? slideIn() : swapIn(); }
    void slideOutWithAnimation(bool animate) { animate ? slideOut() : swapOut(); }
    void toggleWithAnimation(bool animate) { animate ? toggle() : swapToggle(); }
    void setSlideSize(double size, bool animate);
    void slideInWithSlideSize(double size, bool animate);
    bool isSliding() const { return m_animation && m_animation->isSliding(); }
    bool isSlidedIn() const { return m_animation && m_animation->isSlidedIn(); }
    bool isSlidedOut() const { return m_animation && m_animation->isSlidedOut(); }
    bool isHorizontal() const { return !m_animation || m_animation->isHorizontal(); }
    double currentSlideSize() const { return m_animation ? m_animation->currentSlideSize() : 0.0; }

signals:
    void willBeginAnimation();
    void didEndAnimation();
    void willStartUserResize();
    void didEndUserResize();

protected:
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void forward(void (PvSlideAnimation::*operation)());
    void dfSlideAnimationWillBeginAnimation(PvSlideAnimation* animation) override;
    void dfSlideAnimationDidEndAnimation(PvSlideAnimation* animation) override;
    void placeHandle();
    void beginUserResize();
    void finishUserResize();

    QPointer<QWidget> m_mainView;
    QPointer<QWidget> m_slideView;
    PVAnimatedSlideViewDelegate* m_delegate = nullptr;
    std::unique_ptr<PvSlideAnimation> m_animation;
    QWidget* m_handle = nullptr;
    double m_dragStartSize = 0.0;
    QPointF m_dragStartPoint;
    bool m_dragging = false;
};
