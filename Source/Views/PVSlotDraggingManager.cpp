#include "PVSlotDraggingManager.h"

#include "PVSlotDragView.h"
#include "PvSlotDragParts_p.h"

#include <QChildEvent>
#include <QFrame>
#include <QWidget>

#include <algorithm>

namespace {

constexpr double kSlideBackDuration = 0.1; // seconds

enum class Order { Before, Same, After };

// The slot order of two views: before when the other lies further right, or else further
// down. This is no strict weak ordering (two views can each come before the other), so
// the result depends on the order the views are met in: only a stable insertion sort
// gives the same answer every time.
Order frameCompare(const PVSlotDragView* a, const PVSlotDragView* b)
{
    const QRect fa = a->geometry();
    const QRect fb = b->geometry();
    if (fb.x() > fa.x())
        return Order::Before;
    if (fb.y() > fa.y())
        return Order::Before;
    if (fa == fb)
        return Order::Same;
    return Order::After;
}

void insertionSort(QList<PVSlotDragView*>& views)
{
    for (qsizetype i = 1; i < views.size(); ++i) {
        PVSlotDragView* key = views[i];
        qsizetype j = i - 1;
        while (j >= 0 && frameCompare(key, views[j]) == Order::Before) {
            views[j + 1] = views[j];
            --j;
        }
        views[j + 1] = key;
    }
}

QRectF clampedOrigin(const QRectF& frame, const QRectF& bounds)
{
    QRectF r = frame;
    r.moveLeft(std::max(bounds.left(), std::min(r.left(), bounds.left() + bounds.width() - r.width())));
    r.moveTop(std::max(bounds.top(), std::min(r.top(), bounds.top() + bounds.height() - r.height())));
    return r;
}

// Tells assistive technology where each view stands now.
void describeSlots(const QList<PVSlotDragView*>& views)
{
    for (qsizetype i = 0; i < views.size(); ++i)
        views[i]->setAccessibleDescription(QString("Slot %1 of %2").arg(i + 1).arg(views.size()));
}

} // namespace

PVSlotDraggingManager* PVSlotDraggingManager::setupDraggingManagerInView(QWidget* view, int slideMode)
{
    if (!view)
        return nullptr;
    return new PVSlotDraggingManager(view, slideMode);
}

PVSlotDraggingManager* PVSlotDraggingManager::managerOfView(const QWidget* view)
{
    if (!view)
        return nullptr;
    const auto managers = view->findChildren<PVSlotDraggingManager*>(Qt::FindDirectChildrenOnly);
    return managers.isEmpty() ? nullptr : managers.last();
}

PVSlotDraggingManager::PVSlotDraggingManager(QWidget* view, int slideMode)
    : QObject(view)
    , m_slideMode(slideMode)
    , m_superview(view)
{
    m_theImageView = new PvSlotDragWindow;
    m_slideBack = new PvSlotMotion(this);
    if (view) {
        m_draggingArea = new QFrame(view);
        m_draggingArea->setFrameShape(QFrame::Box);
        m_draggingArea->setAttribute(Qt::WA_TransparentForMouseEvents);
        m_draggingArea->hide();
        view->installEventFilter(this);
    }
    updateManagedDragViews();
}

PVSlotDraggingManager::~PVSlotDraggingManager()
{
    // The views may be gone already (they die with the superview before the manager);
    // their pointers to the manager are guarded.
    delete m_theImageView;
}

void PVSlotDraggingManager::updateManagedDragViews()
{
    QList<PVSlotDragView*> views;
    if (m_superview) {
        for (QObject* child : m_superview->children())
            if (auto* v = qobject_cast<PVSlotDragView*>(child); v && v->isDraggable())
                views.append(v);
    }
    insertionSort(views);
    for (PVSlotDragView* v : std::as_const(m_slotArray))
        if (!views.contains(v) && v->m_draggingManager == this) {
            v->m_draggingManager = nullptr;
            v->m_slotIndex = -1;
        }
    m_slotArray = views;
    m_slotFrames.clear();
    for (qsizetype i = 0; i < views.size(); ++i) {
        PVSlotDragView* v = views[i];
        v->placeSlideView();
        v->m_draggingManager = this;
        v->m_slotIndex = int(i);
        v->m_slideMode = m_slideMode;
        m_slotFrames.append(v->geometry());
    }
    describeSlots(m_slotArray);
}

bool PVSlotDraggingManager::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_superview && event->type() == QEvent::ChildRemoved) {
        // Removal may run while the child is being torn down: forget it before anything
        // looks at the views.
        QObject* gone = static_cast<QChildEvent*>(event)->child();
        auto isGone = [gone](PVSlotDragView* v) { return static_cast<QObject*>(v) == gone; };
        if (m_slotArray.removeIf(isGone) > 0) {
            m_orderBeforeDrag.removeIf(isGone);
            if (m_isDragging) {
                // The slots no longer match the frames: the drag ends where it is.
                m_orderBeforeDrag = m_slotArray;
                cancelDrag();
            }
            updateManagedDragViews();
        }
    }
    return QObject::eventFilter(watched, event);
}

QList<PVSlotDragView*> PVSlotDraggingManager::managedDragViews() const
{
    return m_slotArray;
}

QRectF PVSlotDraggingManager::slotFrame(int index) const
{
    return index >= 0 && index < m_slotFrames.size() ? m_slotFrames[index] : QRectF();
}

QPixmap PVSlotDraggingManager::dragImage() const
{
    return m_theImageView->image();
}

void PVSlotDraggingManager::setDragImage(const QPixmap& image)
{
    const PVSlotDragView* look = m_draggingSource ? m_draggingSource.data()
                                                  : (m_slotArray.isEmpty() ? nullptr : m_slotArray.first());
    m_theImageView->setImage(image, look ? look->transparencyOfDragImage() : 1.0f,
        look ? look->shadowOffset() : QSizeF(0, -2), look ? look->shadowAlpha() : 0.5f);
}

QWidget* PVSlotDraggingManager::dragWindow() const
{
    return m_theImageView;
}

void PVSlotDraggingManager::setSlideMode(int mode)
{
    m_slideMode = mode;
    for (PVSlotDragView* v : std::as_const(m_slotArray))
        v->setSlideMode(mode);
}

void PVSlotDraggingManager::setDrawsDraggingAreaBorder(bool draws)
{
    m_fHasDraggingAreaBorder = draws;
}

void PVSlotDraggingManager::setAnimateDuration(float seconds)
{
    for (PVSlotDragView* v : std::as_const(m_slotArray))
        v->setAnimateDuration(seconds);
}

void PVSlotDraggingManager::setBackgroundColor(const QColor& color)
{
    for (PVSlotDragView* v : std::as_const(m_slotArray))
        v->setBackgroundColor(color);
}

void PVSlotDraggingManager::setBackgroundIsHiddenDuringDrags(bool hidden)
{
    for (PVSlotDragView* v : std::as_const(m_slotArray))
        v->setBackgroundIsHiddenDuringDrags(hidden);
}

void PVSlotDraggingManager::setColorOfDraggingBorder(const QColor& color)
{
    for (PVSlotDragView* v : std::as_const(m_slotArray))
        v->setColorOfDraggingBorder(color);
}

void PVSlotDraggingManager::setTransparencyOfDragImage(float alpha)
{
    for (PVSlotDragView* v : std::as_const(m_slotArray))
        v->setTransparencyOfDragImage(alpha);
}

void PVSlotDraggingManager::setUseDraggingBorder(bool use)
{
    for (PVSlotDragView* v : std::as_const(m_slotArray))
        v->setUseDraggingBorder(use);
}

void PVSlotDraggingManager::setShadowAlpha(float alpha)
{
    for (PVSlotDragView* v : std::as_const(m_slotArray))
        v->setShadowAlpha(alpha);
}

// ---- the drag --------------------------------------------------------------------

void PVSlotDraggingManager::slotDragViewWillStartDragging(PVSlotDragView*)
{
}

void PVSlotDraggingManager::slotDragViewDidEndDragging(PVSlotDragView*)
{
}

void PVSlotDraggingManager::dragImage(const QPixmap& image, const QPointF& imageOrigin, const QPointF& mouse,
    std::unique_ptr<QMimeData> pasteboard, PVSlotDragView* source, const QRectF& restraints)
{
    if (m_isDragging || !source || !m_slotArray.contains(source))
        return;
    m_slideBack->finish();
    for (PVSlotDragView* v : std::as_const(m_slotArray))
        v->stopSliding();
    m_isDragging = true;
    ++m_sequenceNumber;
    m_draggingSource = source;
    m_sourceWindow = source->window();
    m_pasteboard = std::move(pasteboard);
    m_restraints = restraints.isEmpty() ? QRectF() : restraints;
    m_orderBeforeDrag = m_slotArray;
    m_lastTarget = nullptr;
    m_lastOperation = PvDragOperationNone;

    setDragImage(image);
    QRectF frame(imageOrigin - QPointF(m_theImageView->imageOffset()), QSizeF(m_theImageView->size()));
    if (!m_restraints.isNull())
        frame = clampedOrigin(frame, m_restraints);
    m_theImageView->move(frame.topLeft().toPoint());
    m_initialFrame = QRectF(m_theImageView->pos(), QSizeF(m_theImageView->size()));
    m_theImageView->show();

    if (m_draggingArea && m_fHasDraggingAreaBorder) {
        QRectF area;
        for (const QRectF& f : std::as_const(m_slotFrames))
            area |= f;
        m_draggingArea->setGeometry(area.adjusted(-2, -2, 2, 2).toRect());
        m_draggingArea->lower();
        m_draggingArea->show();
    }

    m_lastMouse = mouse;
    m_lastPinnedMouse = mouse;
    if (!m_restraints.isNull()) {
        m_lastPinnedMouse.setX(
            std::clamp(mouse.x(), m_restraints.left(), m_restraints.left() + m_restraints.width()));
        m_lastPinnedMouse.setY(
            std::clamp(mouse.y(), m_restraints.top(), m_restraints.top() + m_restraints.height()));
    }
    source->draggedImageBeganAt(m_initialFrame.topLeft());
    mouseDragged(mouse);
}

void PVSlotDraggingManager::moveWindowTo(const QPointF& origin)
{
    QRectF frame(origin, QSizeF(m_theImageView->size()));
    if (!m_restraints.isNull())
        frame = clampedOrigin(frame, m_restraints);
    m_theImageView->move(frame.topLeft().toPoint());
}

void PVSlotDraggingManager::mouseDragged(const QPointF& screenPoint)
{
    if (!m_isDragging)
        return;
    m_lastMouse = screenPoint;
    QPointF pinned = screenPoint;
    if (!m_restraints.isNull()) {
        pinned.setX(std::clamp(pinned.x(), m_restraints.left(), m_restraints.left() + m_restraints.width()));
        pinned.setY(std::clamp(pinned.y(), m_restraints.top(), m_restraints.top() + m_restraints.height()));
    }
    const QPointF delta = pinned - m_lastPinnedMouse;
    m_lastPinnedMouse = pinned;
    moveWindowTo(QPointF(m_theImageView->pos()) + delta);
    if (m_draggingSource)
        m_draggingSource->draggedImageMovedTo(QPointF(m_theImageView->pos()));

    PVSlotDragView* destination = destinationAt(pinned);
    if (destination != m_lastTarget) {
        if (m_lastTarget)
            m_lastTarget->draggingExited(this);
        m_lastTarget = destination;
        m_lastOperation = destination ? destination->draggingEntered(this) : PvDragOperationNone;
    } else if (destination) {
        m_lastOperation = destination->draggingUpdated(this);
    }
}

PVSlotDragView* PVSlotDraggingManager::destinationAt(const QPointF& screenPoint) const
{
    if (!m_sourceWindow)
        return nullptr;
    // In the own superview the slots decide, not the views: those are hidden while their
    // pictures slide.
    if (m_superview && m_superview->window() == m_sourceWindow) {
        const QPointF local = m_superview->mapFromGlobal(screenPoint);
        if (m_superview->rect().contains(local.toPoint())) {
            for (qsizetype i = 0; i < m_slotFrames.size(); ++i)
                if (m_slotFrames[i].contains(local))
                    return m_slotArray[i];
            return nullptr;
        }
    }
    QWidget* w = m_sourceWindow->childAt(m_sourceWindow->mapFromGlobal(screenPoint).toPoint());
    for (; w; w = w->parentWidget())
        if (auto* v = qobject_cast<PVSlotDragView*>(w))
            return v;
    return nullptr;
}

void PVSlotDraggingManager::slotDragViewEnteredFromSlotIntoSlot(
    PVSlotDragView* dragged, PVSlotDragView* entered)
{
    if (!dragged || !entered || dragged != m_draggingSource)
        return;
    rearrange(dragged, dragged->m_draggedFromIndex, entered->m_slotIndex, false);
}

void PVSlotDraggingManager::rearrange(PVSlotDragView* moved, int from, int into, bool slideMoved)
{
    const int count = int(m_slotArray.size());
    if (from == into || from < 0 || into < 0 || from >= count || into >= count)
        return;
    QList<PVSlotDragView*> order = m_slotArray;
    auto place = [&](PVSlotDragView* v, int slot) {
        order[slot] = v;
        v->m_slotIndex = slot;
        if (v != moved || slideMoved)
            v->animateSlotTo(m_slotFrames[slot]);
        else
            v->setGeometry(m_slotFrames[slot].toRect());
    };
    if (m_slideMode == 0) {
        place(m_slotArray[into], from);
    } else if (from < into) {
        for (int k = from + 1; k <= into; ++k)
            place(m_slotArray[k], k - 1);
    } else {
        for (int k = from - 1; k >= into; --k)
            place(m_slotArray[k], k + 1);
    }
    place(moved, into);
    m_slotArray = order;
    describeSlots(m_slotArray);
}

void PVSlotDraggingManager::restoreOrder()
{
    for (qsizetype i = 0; i < m_orderBeforeDrag.size(); ++i) {
        PVSlotDragView* v = m_orderBeforeDrag[i];
        if (v->m_slotIndex == int(i))
            continue;
        v->m_slotIndex = int(i);
        if (v == m_draggingSource)
            v->setGeometry(m_slotFrames[i].toRect());
        else
            v->animateSlotTo(m_slotFrames[i]);
    }
    m_slotArray = m_orderBeforeDrag;
    describeSlots(m_slotArray);
}

void PVSlotDraggingManager::mouseUp(const QPointF& screenPoint)
{
    if (!m_isDragging)
        return;
    if (screenPoint != m_lastMouse)
        mouseDragged(screenPoint);
    endDrag(true);
}

void PVSlotDraggingManager::cancelDrag()
{
    if (m_isDragging)
        endDrag(false);
}

void PVSlotDraggingManager::endDrag(bool tryDrop)
{
    PVSlotDragView* source = m_draggingSource;
    PVSlotDragView* target = m_lastTarget;
    bool accepted = false;
    if (tryDrop && target && m_lastOperation != PvDragOperationNone && target->prepareForDragOperation(this)
        && target->performDragOperation(this)) {
        accepted = true;
        target->concludeDragOperation(this);
    }
    if (!accepted) {
        restoreOrder();
        if (m_fSlideBack) {
            m_slideBack->start(
                QRectF(m_theImageView->pos(), QSizeF(m_theImageView->size())), m_initialFrame,
                kSlideBackDuration, [this](const QRectF& r) { m_theImageView->move(r.topLeft().toPoint()); },
                [this] { m_theImageView->hide(); });
        }
    }
    if (source)
        source->draggedImageEndedAt(m_lastPinnedMouse, accepted ? draggingSourceOperationMask() : 0);
    if (!m_slideBack->isRunning())
        m_theImageView->hide();
    if (m_draggingArea)
        m_draggingArea->hide();
    m_isDragging = false;
    m_lastTarget = nullptr;
    m_draggingSource = nullptr;
    m_pasteboard.reset();
    if (source) {
        slotDragViewDidEndDragging(source);
        if (source->delegate())
            source->delegate()->slotDragViewDidEndDragging(source);
        reportOrder(source);
    }
}

void PVSlotDraggingManager::reportOrder(PVSlotDragView* view)
{
    const QList<PVSlotDragView*> order = m_slotArray;
    if (view && view->delegate())
        view->delegate()->slotDragViewDidEndWithOrder(view, order);
    emit dragEnded(order);
}

bool PVSlotDraggingManager::moveSlot(PVSlotDragView* view, int index)
{
    if (m_isDragging || !view || !m_slotArray.contains(view) || index < 0 || index >= m_slotArray.size())
        return false;
    if (index != view->m_slotIndex)
        rearrange(view, view->m_slotIndex, index, true);
    reportOrder(view);
    return true;
}

QPointF PVSlotDraggingManager::draggingLocation() const
{
    return m_sourceWindow ? m_sourceWindow->mapFromGlobal(m_lastPinnedMouse) : m_lastPinnedMouse;
}

QPointF PVSlotDraggingManager::draggedImageLocation() const
{
    const QPointF origin = QPointF(m_theImageView->pos() + m_theImageView->imageOffset());
    return m_sourceWindow ? m_sourceWindow->mapFromGlobal(origin) : origin;
}

int PVSlotDraggingManager::draggingSourceOperationMask() const
{
    return m_draggingSource ? m_draggingSource->draggingSourceOperationMaskForLocal(true)
                            : PvDragOperationNone;
}
