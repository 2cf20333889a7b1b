#include "PVSlotDragView.h"

#include "PVSlotDraggingManager.h"
#include "PvEvent.h"
#include "PvSlotDragParts_p.h"

#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>

PVSlotDragView::PVSlotDragView(QWidget* parent)
    : QWidget(parent)
{
    m_slideView = new QLabel(parent);
    m_slideView->hide();
    m_animation = new PvSlotMotion(this);
    setFocusPolicy(Qt::StrongFocus);
}

PVSlotDragView::~PVSlotDragView()
{
    delete m_slideView.data();
}

void PVSlotDragView::setRepresentedObject(const QVariant& object)
{
    m_representedObject = object;
    if (object.canConvert<QString>() && !object.toString().isEmpty())
        setAccessibleName(object.toString());
    update();
}

void PVSlotDragView::setDraggable(bool draggable)
{
    if (m_fAllowsDragging == draggable)
        return;
    m_fAllowsDragging = draggable;
    if (m_draggingManager && !m_draggingManager->isDragging())
        m_draggingManager->updateManagedDragViews();
}

bool PVSlotDragView::isSliding() const
{
    return m_animation->isRunning();
}

QWidget* PVSlotDragView::slideView() const
{
    return m_slideView;
}

void PVSlotDragView::setHideAllSubviews(bool hide)
{
    if (hide == m_controlsHidden)
        return;
    m_controlsHidden = hide;
    if (hide) {
        m_hiddenControls.clear();
        for (QWidget* child : findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
            if (child->isVisibleTo(this)) {
                m_hiddenControls.append(child);
                child->hide();
            }
        }
    } else {
        for (const QPointer<QWidget>& child : std::as_const(m_hiddenControls))
            if (child)
                child->show();
        m_hiddenControls.clear();
    }
    update();
}

void PVSlotDragView::cancelDrag()
{
    if (m_isDragging && m_draggingManager && m_draggingManager->draggingSource() == this)
        m_draggingManager->cancelDrag();
}

void PVSlotDragView::setDragImage(const QPixmap& image)
{
    m_dragImage = image;
    m_ownDragImage = image.isNull();
}

QColor PVSlotDragView::backgroundColor() const
{
    return m_colorOfBackground.isValid() ? m_colorOfBackground : palette().color(QPalette::Base);
}

void PVSlotDragView::setBackgroundColor(const QColor& color)
{
    m_colorOfBackground = color;
    update();
}

void PVSlotDragView::setBackgroundIsHiddenDuringDrags(bool hidden)
{
    m_backgroundHidden = hidden;
}

void PVSlotDragView::setColorOfDraggingBorder(const QColor& color)
{
    m_colorOfBorder = color;
    update();
}

// ---- drawing ---------------------------------------------------------------------

void PVSlotDragView::drawContents(QPainter&)
{
}

void PVSlotDragView::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    if (!m_backgroundIsHidden)
        p.fillRect(rect(), backgroundColor());
    if (!m_controlsHidden)
        drawContents(p);
    if (m_hasBorder) {
        QPen pen(m_colorOfBorder, 1, Qt::DashLine);
        p.setPen(pen);
        p.setBrush(Qt::NoBrush);
        p.drawRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5));
    }
}

// ---- slides ----------------------------------------------------------------------

void PVSlotDragView::placeSlideView()
{
    if (!m_slideView)
        m_slideView = new QLabel;
    if (m_slideView->parentWidget() != parentWidget()) {
        m_slideView->setParent(parentWidget());
        m_slideView->hide();
    }
    m_slideView->setFrameShape(QFrame::NoFrame);
    m_slideView->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_slideView->raise();
}

void PVSlotDragView::animateSlotTo(const QRectF& frame)
{
    QRectF from = geometry();
    if (m_animation->isRunning()) {
        from = m_slideView->geometry();
    } else {
        m_slideImage = grab();
        m_slideView->setPixmap(m_slideImage);
        m_refocusAfterSlide = hasFocus();
    }
    placeSlideView();
    // The view itself waits at its new place, hidden, while its picture slides there.
    setGeometry(frame.toRect());
    hide();
    m_slideView->show();
    m_animation->start(
        from, frame, m_animateTime, [this](const QRectF& r) { m_slideView->setGeometry(r.toRect()); },
        [this] {
            m_slideView->hide();
            show();
            if (m_refocusAfterSlide)
                setFocus();
        });
}

void PVSlotDragView::stopSliding()
{
    m_animation->finish();
}

// ---- input -----------------------------------------------------------------------

void PVSlotDragView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || !m_fAllowsDragging || !parentWidget()) {
        event->ignore();
        return;
    }
    if (m_draggingManager && m_draggingManager->isDragging())
        return;
    QRectF restraints;
    if (m_delegate) {
        if (std::optional<QRectF> r = m_delegate->draggingRestraints(); r && !r->isEmpty())
            restraints = QRectF(window()->mapToGlobal(r->topLeft()), r->size());
    }
    m_restraintsOnScreen = restraints;
    if (!m_draggingManager)
        PVSlotDraggingManager::setupDraggingManagerInView(parentWidget(), m_slideMode);
    if (!m_draggingManager)
        return;
    auto pasteboard = std::make_unique<QMimeData>();
    pasteboard->setData(PVSlotDragViewPasteboardType, QByteArray::number(m_slotIndex));
    m_draggedFromIndex = m_slotIndex;
    m_draggingManager->slotDragViewWillStartDragging(this);
    if (m_delegate)
        m_delegate->slotDragViewWillStartDragging(this);
    if (m_ownDragImage)
        m_dragImage = grab();
    m_draggingManager->dragImage(m_dragImage, QPointF(mapToGlobal(QPointF(0, 0))), event->globalPosition(),
        std::move(pasteboard), this, restraints);
}

void PVSlotDragView::mouseMoveEvent(QMouseEvent* event)
{
    if (m_isDragging && m_draggingManager)
        m_draggingManager->mouseDragged(event->globalPosition());
}

void PVSlotDragView::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && m_isDragging && m_draggingManager)
        m_draggingManager->mouseUp(event->globalPosition());
}

void PVSlotDragView::keyPressEvent(QKeyEvent* event)
{
    const bool option = pv_modifierFlagsForQt(event->modifiers()) & PvAlternateKeyMask;
    int step = 0;
    if (option && (event->key() == Qt::Key_Left || event->key() == Qt::Key_Up))
        step = -1;
    else if (option && (event->key() == Qt::Key_Right || event->key() == Qt::Key_Down))
        step = 1;
    if (step == 0 || !m_fAllowsDragging || !parentWidget()) {
        QWidget::keyPressEvent(event);
        return;
    }
    if (!m_draggingManager)
        PVSlotDraggingManager::setupDraggingManagerInView(parentWidget(), m_slideMode);
    if (m_draggingManager)
        m_draggingManager->moveSlot(this, m_slotIndex + step);
}

// ---- destination -----------------------------------------------------------------

int PVSlotDragView::draggingEntered(PVSlotDraggingManager* info)
{
    PVSlotDragView* source = info ? info->draggingSource() : nullptr;
    if (!m_fAllowsDragging || !source || source->m_draggingManager != m_draggingManager || !m_draggingManager)
        return PvDragOperationNone;
    const int into = m_slotIndex;
    m_draggingManager->slotDragViewEnteredFromSlotIntoSlot(source, this);
    if (m_delegate)
        m_delegate->slotDragViewEnteredFromSlotIntoSlot(source, this);
    source->m_draggedFromIndex = into;
    return PvDragOperationMove;
}

int PVSlotDragView::draggingUpdated(PVSlotDraggingManager* info)
{
    PVSlotDragView* source = info ? info->draggingSource() : nullptr;
    if (!m_fAllowsDragging || !source || source->m_draggingManager != m_draggingManager || !m_draggingManager)
        return PvDragOperationNone;
    return PvDragOperationMove;
}

void PVSlotDragView::draggingExited(PVSlotDraggingManager*)
{
}

bool PVSlotDragView::prepareForDragOperation(PVSlotDraggingManager* info)
{
    return draggingUpdated(info) == PvDragOperationMove;
}

bool PVSlotDragView::performDragOperation(PVSlotDraggingManager* info)
{
    if (m_delegate)
        m_delegate->slotDragViewDidFinishDraggingFromSlotIntoSlot(info->draggingSource(), this);
    return true;
}

void PVSlotDragView::concludeDragOperation(PVSlotDraggingManager*)
{
    setHideAllSubviews(false);
}

// ---- source ----------------------------------------------------------------------

int PVSlotDragView::draggingSourceOperationMaskForLocal(bool isLocal) const
{
    return isLocal ? PvDragOperationMove : PvDragOperationNone;
}

void PVSlotDragView::draggedImageBeganAt(const QPointF&)
{
    m_isDragging = true;
    // The slot shows as a gap while its picture is away.
    setHideAllSubviews(true);
    m_backgroundIsHidden = m_backgroundHidden;
    m_hasBorder = m_useDraggingBorder;
    update();
}

void PVSlotDragView::draggedImageMovedTo(const QPointF&)
{
}

void PVSlotDragView::draggedImageEndedAt(const QPointF&, int)
{
    m_isDragging = false;
    setHideAllSubviews(false);
    m_backgroundIsHidden = false;
    m_hasBorder = false;
    update();
}
