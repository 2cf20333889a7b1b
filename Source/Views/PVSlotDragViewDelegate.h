// What a slot drag view tells its host.
#pragma once

#include <QList>
#include <QRectF>

#include <optional>

class PVSlotDragView;

/**
    Receives the messages of a PVSlotDragView while it is dragged. Every member has a
    default that means "not answered", so a host overrides only what it needs. The
    delegate is not owned by the view; it must outlive the views it is set on (or be
    removed first). Main thread only.

    @see PVSlotDragView, PVSlotDraggingManager
*/
class PVSlotDragViewDelegate {
public:
    virtual ~PVSlotDragViewDelegate() = default;

    /// The rectangle (in the dragged view's window coordinates) the drag image must stay
    /// inside; nullopt (the default) or an empty rectangle means no limit.
    virtual std::optional<QRectF> draggingRestraints() { return std::nullopt; }
    /// The drag of view is about to start.
    virtual void slotDragViewWillStartDragging(PVSlotDragView* view) { Q_UNUSED(view); }
    /// dragged entered the slot of entered; the others have already been told to move.
    virtual void slotDragViewEnteredFromSlotIntoSlot(PVSlotDragView* dragged, PVSlotDragView* entered)
    {
        Q_UNUSED(dragged);
        Q_UNUSED(entered);
    }
    /// dragged was dropped on droppedOn (which may be dragged itself).
    virtual void slotDragViewDidFinishDraggingFromSlotIntoSlot(
        PVSlotDragView* dragged, PVSlotDragView* droppedOn)
    {
        Q_UNUSED(dragged);
        Q_UNUSED(droppedOn);
    }
    /// The drag of view has ended, dropped or not.
    virtual void slotDragViewDidEndDragging(PVSlotDragView* view) { Q_UNUSED(view); }
    /**
        Sent to the delegate of the view that moved after a drag or a keyboard move has
        ended, with the managed views in their final slot order (slot 0 first). A refused
        or cancelled drag reports the order from before it. This is what a host that
        reorders plug-in inserts applies.
    */
    virtual void slotDragViewDidEndWithOrder(PVSlotDragView* view, const QList<PVSlotDragView*>& order)
    {
        Q_UNUSED(view);
        Q_UNUSED(order);
    }
};
