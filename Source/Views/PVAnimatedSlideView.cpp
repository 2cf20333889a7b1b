#include "PVAnimatedSlideView.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QResizeEvent>

namespace {
constexpr int kHandleThickness = 6;
}

PVAnimatedSlideView::PVAnimatedSlideView(QWidget* parent)
    : QWidget(parent)
{
}

PVAnimatedSlideView::~PVAnimatedSlideView()
{
    if (m_animation)
        m_animation->setDelegate(nullptr);
}

void PVAnimatedSlideView::setViews(QWidget* mainView, QWidget* slideView)
{
    m_mainView = mainView;
    m_slideView = slideView;
    mainView->setParent(this);
    slideView->setParent(this);
    mainView->show();
    slideView->show();
    m_animation = std::make_unique<PvSlideAnimation>(this, mainView, slideView);
    m_animation->setSlideDelegate(this);
    connect(m_animation.get(), &PvSlideAnimation::stateChanged, this, [this] { placeHandle(); });
    if (!m_handle) {
        m_handle = new QWidget(this);
        m_handle->setObjectName("PvSlideSplitterHandle");
        m_handle->setFocusPolicy(Qt::StrongFocus);
        m_handle->setAccessibleName(tr("Panel size"));
        m_handle->setAccessibleDescription(tr("Drag or use the arrow keys to resize the side panel"));
        m_handle->installEventFilter(this);
    }
    if (m_animation->isSlidedOut()) {
        m_animation->layoutViews();
        slideView->hide();
    }
    placeHandle();
}

void PVAnimatedSlideView::forward(void (PvSlideAnimation::*operation)())
{
    if (m_animation)
        (m_animation.get()->*operation)();
}

void PVAnimatedSlideView::setSlideSize(double size, bool animate)
{
    if (m_animation)
        m_animation->setSlideSize(size, animate);
}

void PVAnimatedSlideView::slideInWithSlideSize(double size, bool animate)
{
    if (m_animation)
        m_animation->slideInWithSlideSize(size, animate);
}

void PVAnimatedSlideView::dfSlideAnimationWillBeginAnimation(PvSlideAnimation*)
{
    if (m_delegate)
        m_delegate->pvAnimatedSlideViewWillBeginAnimation(this);
    emit willBeginAnimation();
}

void PVAnimatedSlideView::dfSlideAnimationDidEndAnimation(PvSlideAnimation*)
{
    placeHandle();
    if (m_delegate)
        m_delegate->pvAnimatedSlideViewDidEndAnimation(this);
    emit didEndAnimation();
}

void PVAnimatedSlideView::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    if (m_animation && !m_animation->isAnimating())
        m_animation->layoutViews();
    placeHandle();
}

void PVAnimatedSlideView::placeHandle()
{
    if (!m_handle || !m_animation || !m_slideView)
        return;
    const bool usable = m_animation->isSlidedIn() || m_animation->isResizing();
    m_handle->setVisible(usable && !m_animation->isAnimating());
    if (!m_handle->isVisible())
        return;
    const QRect slide = m_slideView->geometry();
    const int half = kHandleThickness / 2;
    switch (m_animation->slideAlignment()) {
    case PvSlideAnimation::SlideRight:
        m_handle->setGeometry(slide.left() - half, 0, kHandleThickness, height());
        break;
    case PvSlideAnimation::SlideLeft:
        m_handle->setGeometry(slide.right() + 1 - half, 0, kHandleThickness, height());
        break;
    case PvSlideAnimation::SlideBelow:
        m_handle->setGeometry(0, slide.top() - half, width(), kHandleThickness);
        break;
    default:
        m_handle->setGeometry(0, slide.bottom() + 1 - half, width(), kHandleThickness);
        break;
    }
    m_handle->setCursor(isHorizontal() ? Qt::SplitHCursor : Qt::SplitVCursor);
    m_handle->raise();
}

void PVAnimatedSlideView::beginUserResize()
{
    if (m_delegate)
        m_delegate->pvAnimatedSlideViewWillStartUserResize(this);
    emit willStartUserResize();
}

void PVAnimatedSlideView::finishUserResize()
{
    m_animation->endUserResize();
    placeHandle();
    if (m_delegate)
        m_delegate->pvAnimatedSlideViewDidEndUserResize(this);
    emit didEndUserResize();
}

bool PVAnimatedSlideView::eventFilter(QObject* watched, QEvent* event)
{
    if (watched != m_handle || !m_animation)
        return QWidget::eventFilter(watched, event);
    // A drag towards the main view makes the slide view larger.
    const int alignment = m_animation->slideAlignment();
    const double sign
        = (alignment == PvSlideAnimation::SlideRight || alignment == PvSlideAnimation::SlideBelow) ? -1.0
                                                                                                   : 1.0;
    switch (event->type()) {
    case QEvent::MouseButtonPress: {
        auto* mouse = static_cast<QMouseEvent*>(event);
        if (mouse->button() != Qt::LeftButton || !m_animation->startUserResize())
            return true;
        m_dragging = true;
        m_dragStartSize = m_animation->currentSlideSize();
        m_dragStartPoint = m_handle->mapToParent(mouse->position());
        beginUserResize();
        return true;
    }
    case QEvent::MouseMove: {
        if (!m_dragging)
            return false;
        const QPointF delta
            = m_handle->mapToParent(static_cast<QMouseEvent*>(event)->position()) - m_dragStartPoint;
        m_animation->userResize(m_dragStartSize + sign * (isHorizontal() ? delta.x() : delta.y()));
        placeHandle();
        return true;
    }
    case QEvent::MouseButtonRelease:
        if (m_dragging && static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton) {
            m_dragging = false;
            finishUserResize();
        }
        return true;
    case QEvent::KeyPress: {
        auto* key = static_cast<QKeyEvent*>(event);
        const bool horizontal = isHorizontal();
        double step = 0.0;
        if ((horizontal && key->key() == Qt::Key_Left) || (!horizontal && key->key() == Qt::Key_Up))
            step = -1.0;
        else if ((horizontal && key->key() == Qt::Key_Right) || (!horizontal && key->key() == Qt::Key_Down))
            step = 1.0;
        if (step == 0.0 || !m_animation->startUserResize())
            return false;
        beginUserResize();
        const double amount = (key->modifiers() & Qt::ShiftModifier) ? 1.0 : 10.0;
        m_animation->userResize(m_animation->currentSlideSize() + sign * step * amount);
        finishUserResize();
        return true;
    }
    default:
        return QWidget::eventFilter(watched, event);
    }
}
