// The owner of a superview's slot order, and the drag that changes it.
#pragma once

#include <QColor>
#include <QList>
#include <QMimeData>
#include <QObject>
#include <QPixmap>
#include <QPointer>
#include <QRectF>

#include <memory>

class PVSlotDragView;
class PvSlotDragWindow;
class PvSlotMotion;
class QFrame;
class QWidget;

/// Drag operations, numbered like the platform's.
inline constexpr int PvDragOperationNone = 0;
inline constexpr int PvDragOperationMove = 8;

/// The one type a slot drag declares on its pasteboard (a QMimeData format); its data is
/// the dragged view's slot index as decimal text.
inline constexpr char PVSlotDragViewPasteboardType[] = "DfSlotDragViewPbtype";

/**
    Runs slot dragging for the PVSlotDragViews of one superview.

    Slots: the draggable PVSlotDragViews that are direct children of the superview, ordered
    by their frames (a view comes before another when the other lies further right, or else
    further down; so a row reads left to right, a column top to bottom, a grid column by
    column), taken when the manager is made, when a view's draggability changes and when a
    child leaves the superview. Each slot keeps the frame its view had then.

    The drag: the dragged view's picture follows the mouse in a top-level window of its own
    (clamped to the restraints, when there are any). The slot under the pointer is entered:
    in swap mode (0) the view in it moves into the dragged view's slot; in slide mode the
    views between move one slot towards it. Each move slides over animateDuration() seconds
    on PvClock. On release the view under the pointer is asked to take the drop; if it does
    the new order stays, otherwise the old order comes back and (with slidesBack()) the
    picture slides back to where it started in 0.1 s. Either way the final order is then
    reported: dragEnded() and the dragged view's delegate
    (PVSlotDragViewDelegate::slotDragViewDidEndWithOrder()). A view of another manager
    refuses the drag. No system drag session is involved.

    While a drag runs the manager answers what a drag destination asks (the dragging-info
    members below).

    The manager is a child of the superview and dies with it. Main thread only.

    @see PVSlotDragView
*/
class PVSlotDraggingManager : public QObject {
    Q_OBJECT
public:
    /// Makes a manager for all slot views in view (owned by view); null for a null view.
    static PVSlotDraggingManager* setupDraggingManagerInView(QWidget* view, int slideMode);
    /// The manager of view, made by setupDraggingManagerInView() or the constructor; null
    /// when it has none.
    static PVSlotDraggingManager* managerOfView(const QWidget* view);

    /// Manages the slot views of view in slide mode slideMode (0 swap, else slide).
    PVSlotDraggingManager(QWidget* view, int slideMode);
    ~PVSlotDraggingManager() override;

    /// The managed views in slot order.
    QList<PVSlotDragView*> managedDragViews() const;
    QWidget* managedSuperview() const { return m_superview; }
    /// The frame of slot index in the superview; empty outside the slots.
    QRectF slotFrame(int index) const;

    /// The picture shown in the drag window.
    QPixmap dragImage() const;
    void setDragImage(const QPixmap& image);
    /// The top-level window that shows the drag image.
    QWidget* dragWindow() const;

    int slideMode() const { return m_slideMode; }
    /// Sets the mode here and on every managed view.
    void setSlideMode(int mode);
    /// Whether a drop that nothing takes slides the picture back (true by default).
    bool slidesBack() const { return m_fSlideBack; }
    void setSlidesBack(bool slideBack) { m_fSlideBack = slideBack; }
    bool isDragging() const { return m_isDragging; }
    /// The restraints of the running drag in screen coordinates; empty for none.
    QRectF restraints() const { return m_restraints; }

    // Looks, copied to every managed view.
    /// A box around all slots while a drag runs.
    void setDrawsDraggingAreaBorder(bool draws);
    bool drawsDraggingAreaBorder() const { return m_fHasDraggingAreaBorder; }
    void setAnimateDuration(float seconds);
    void setBackgroundColor(const QColor& color);
    void setBackgroundIsHiddenDuringDrags(bool hidden);
    void setColorOfDraggingBorder(const QColor& color);
    void setTransparencyOfDragImage(float alpha);
    void setUseDraggingBorder(bool use);
    void setShadowAlpha(float alpha);

    /**
        Starts a drag of source: image shows with its top-left corner at imageOrigin, the
        mouse is at mouse (both screen coordinates), pasteboard (taken over) is what
        destinations read, restraints (screen) bound the drag window, empty for none. The
        source's drag calls this on a press; a drag already running is not replaced.
    */
    void dragImage(const QPixmap& image, const QPointF& imageOrigin, const QPointF& mouse,
        std::unique_ptr<QMimeData> pasteboard, PVSlotDragView* source, const QRectF& restraints);
    /// The mouse moved to screenPoint during the drag.
    void mouseDragged(const QPointF& screenPoint);
    /// The mouse went up at screenPoint: drop, or slide back.
    void mouseUp(const QPointF& screenPoint);
    /// Ends the running drag as if nothing accepted it.
    void cancelDrag();
    /**
        Moves view into slot index with the mode's rule (as if dragged there and dropped),
        sliding every view that moves, then reports the order. Returns false (and changes
        nothing) during a drag, for a view not managed here and for an index outside the
        slots.
    */
    bool moveSlot(PVSlotDragView* view, int index);

    // ---- dragging info -------------------------------------------------------------
    PVSlotDragView* draggingSource() const { return m_draggingSource; }
    /// The mouse (after the restraints) in the destination window's coordinates.
    QPointF draggingLocation() const;
    /// The drag image's top-left corner in the destination window's coordinates.
    QPointF draggedImageLocation() const;
    QPixmap draggedImage() const { return dragImage(); }
    QMimeData* draggingPasteboard() const { return m_pasteboard.get(); }
    int draggingSourceOperationMask() const;
    /// Grows by one with every drag.
    int draggingSequenceNumber() const { return m_sequenceNumber; }
    /// The window of the dragged view.
    QWidget* draggingDestinationWindow() const { return m_sourceWindow; }
    /// The destination under the pointer at the last move; null for none.
    PVSlotDragView* lastTarget() const { return m_lastTarget; }

signals:
    /// A drag (or moveSlot()) ended; order is the managed views in their final slots.
    void dragEnded(const QList<PVSlotDragView*>& order);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    friend class PVSlotDragView;
    void updateManagedDragViews();
    void slotDragViewWillStartDragging(PVSlotDragView* view);
    void slotDragViewEnteredFromSlotIntoSlot(PVSlotDragView* dragged, PVSlotDragView* entered);
    void slotDragViewDidEndDragging(PVSlotDragView* view);
    void rearrange(PVSlotDragView* moved, int from, int into, bool slideMoved);
    void restoreOrder();
    PVSlotDragView* destinationAt(const QPointF& screenPoint) const;
    void moveWindowTo(const QPointF& origin);
    void endDrag(bool tryDrop);
    void reportOrder(PVSlotDragView* view);

    QPointer<QWidget> m_sourceWindow;
    QPointer<PVSlotDragView> m_draggingSource;
    PvSlotDragWindow* m_theImageView = nullptr; // the manager's window; owned
    QPointF m_lastMouse;
    QPointF m_lastPinnedMouse;
    QRectF m_restraints;
    QRectF m_initialFrame;
    std::unique_ptr<QMimeData> m_pasteboard;
    QPointer<PVSlotDragView> m_lastTarget;
    bool m_fSlideBack = true;
    QList<PVSlotDragView*> m_slotArray;
    int m_slideMode = 1;
    QPointer<QWidget> m_superview;
    QFrame* m_draggingArea = nullptr;
    bool m_fHasDraggingAreaBorder = false;
    bool m_isDragging = false;

    QList<QRectF> m_slotFrames;
    QList<PVSlotDragView*> m_orderBeforeDrag;
    int m_lastOperation = PvDragOperationNone;
    int m_sequenceNumber = 0;
    PvSlotMotion* m_slideBack = nullptr;
};
