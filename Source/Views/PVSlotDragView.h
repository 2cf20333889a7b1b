// A view that stands in a slot and can be dragged into another slot.
#pragma once

#include "PVSlotDragViewDelegate.h"

#include <QColor>
#include <QLabel>
#include <QPixmap>
#include <QPointer>
#include <QVariant>
#include <QWidget>

class PVSlotDraggingManager;
class PvSlotMotion;

/**
    One of a row (or grid) of like views in one superview, each in a slot (a fixed frame).
    A press on a draggable view starts a drag at once, without a movement threshold: the
    view's picture follows the mouse in a window of its own, and the other views slide into
    their new slots so that the layout always shows where the dragged view would land. On
    release the views stay in that order; a drop that nothing accepts puts the old order
    back. The superview's PVSlotDraggingManager (made on the first drag when the host made
    none) owns the order; see there for the rules.

    While dragged, the view's slot shows as a gap: its child widgets are hidden, its
    background too when backgroundIsHiddenDuringDrags(), and the dragging border is drawn
    when useDraggingBorder().

    Subclasses draw their contents in drawContents(); the view itself paints the background
    and border. The represented object is host data the view shows; its text, when it has
    one, becomes the accessible name, and the manager gives each view its place as the
    accessible description ("Slot 2 of 8"). With keyboard focus, Option (Alt by default) with an
    arrow key moves the view one slot back (left, up) or on (right, down).

    The delegate is not owned. Main thread only.

    @see PVSlotDraggingManager, PVSlotDragViewDelegate
*/
class PVSlotDragView : public QWidget {
    Q_OBJECT
public:
    explicit PVSlotDragView(QWidget* parent = nullptr);
    ~PVSlotDragView() override;

    QVariant representedObject() const { return m_representedObject; }
    /// Sets the host data; a text (or anything convertible to one) also names the view for
    /// assistive technology.
    void setRepresentedObject(const QVariant& object);
    /// The view's slot in its manager's order; -1 before a manager collected it.
    int slotIndex() const { return m_slotIndex; }
    /// During a drag of this view: the slot it stands for (where it would land).
    int draggedFromIndex() const { return m_draggedFromIndex; }

    PVSlotDragViewDelegate* delegate() const { return m_delegate; }
    void setDelegate(PVSlotDragViewDelegate* delegate) { m_delegate = delegate; }
    /// Only draggable views (the default) take part in slot dragging; a manager collects
    /// its slots again when this changes.
    void setDraggable(bool draggable);
    bool isDraggable() const { return m_fAllowsDragging; }
    /// Whether this view is being dragged.
    bool isDragging() const { return m_isDragging; }
    /// Whether the view slides into another slot right now.
    bool isSliding() const;
    /// 0 swaps with the entered view, anything else slides the views between (1, the default).
    int slideMode() const { return m_slideMode; }
    void setSlideMode(int mode) { m_slideMode = mode; }
    /// Seconds one slide takes (0.1 by default).
    float animateDuration() const { return m_animateTime; }
    void setAnimateDuration(float seconds) { m_animateTime = seconds; }

    /// Hides the visible child widgets (and remembers them), or shows those again.
    void setHideAllSubviews(bool hide);
    bool allSubviewsAreHidden() const { return m_controlsHidden; }
    /// Ends this view's running drag as if nothing accepted it.
    void cancelDrag();

    /// The picture dragged: the one set, else taken from the view when the drag starts.
    QPixmap dragImage() const { return m_dragImage; }
    /// Sets the picture to drag; a null picture goes back to taking the view's own.
    void setDragImage(const QPixmap& image);
    /// The picture shown while the view slides.
    QPixmap slideImage() const { return m_slideImage; }
    /// The image view that slides in the view's place (hidden while no slide runs).
    QWidget* slideView() const;

    // ---- look ------------------------------------------------------------------------
    /// The background; the platform's control background until a colour is set.
    QColor backgroundColor() const;
    void setBackgroundColor(const QColor& color);
    bool backgroundIsHiddenDuringDrags() const { return m_backgroundHidden; }
    void setBackgroundIsHiddenDuringDrags(bool hidden);
    bool backgroundIsHidden() const { return m_backgroundIsHidden; }
    QColor colorOfDraggingBorder() const { return m_colorOfBorder; }
    void setColorOfDraggingBorder(const QColor& color);
    bool useDraggingBorder() const { return m_useDraggingBorder; }
    void setUseDraggingBorder(bool use) { m_useDraggingBorder = use; }
    /// Whether the dragging border is drawn now.
    bool hasBorder() const { return m_hasBorder; }
    /// Opacity of the drag image, 0 to 1.
    float transparencyOfDragImage() const { return m_transparency; }
    void setTransparencyOfDragImage(float alpha) { m_transparency = alpha; }
    float shadowAlpha() const { return m_shadowAlpha; }
    void setShadowAlpha(float alpha) { m_shadowAlpha = alpha; }
    /// The drag image's shadow offset in y-up points: (0, -2) falls 2 points down.
    QSizeF shadowOffset() const { return m_shadowOffset; }
    /// The restraints of the running (or last) drag in screen coordinates; empty for none.
    QRectF restraintsOnScreen() const { return m_restraintsOnScreen; }
    PVSlotDraggingManager* draggingManager() const { return m_draggingManager; }

    // ---- the destination side of a drag (called by the manager) -----------------------
    /// 8 (move) when this view is draggable and the drag comes from a view of its own
    /// manager, after moving the other views; 0 (none) otherwise.
    int draggingEntered(PVSlotDraggingManager* info);
    int draggingUpdated(PVSlotDraggingManager* info);
    void draggingExited(PVSlotDraggingManager* info);
    bool prepareForDragOperation(PVSlotDraggingManager* info);
    /// Tells the delegate that the dragged view landed on this one; true.
    bool performDragOperation(PVSlotDraggingManager* info);
    /// Shows the child widgets again.
    void concludeDragOperation(PVSlotDraggingManager* info);

    // ---- the source side -----------------------------------------------------------
    /// 8 (move) for a drag inside the application, 0 otherwise.
    int draggingSourceOperationMaskForLocal(bool isLocal) const;
    void draggedImageBeganAt(const QPointF& screenPoint);
    void draggedImageMovedTo(const QPointF& screenPoint);
    void draggedImageEndedAt(const QPointF& screenPoint, int operation);

protected:
    /// Draws the view's contents over its background; not called while the subviews are
    /// hidden. The base draws nothing.
    virtual void drawContents(QPainter& painter);

    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    friend class PVSlotDraggingManager;
    void animateSlotTo(const QRectF& frame);
    void stopSliding();
    void placeSlideView();

    QVariant m_representedObject;
    int m_slotIndex = -1;
    QPixmap m_dragImage;
    QPixmap m_slideImage;
    int m_draggedFromIndex = -1;
    QPointer<QLabel> m_slideView; // lives in the superview, beside this view
    PVSlotDragViewDelegate* m_delegate = nullptr;
    bool m_controlsHidden = false;
    float m_animateTime = 0.1f;
    QColor m_colorOfBorder = QColor(64, 64, 64);
    float m_transparency = 1.0f;
    bool m_backgroundHidden = true;
    bool m_useDraggingBorder = false;
    bool m_hasBorder = false;
    QSizeF m_shadowOffset = QSizeF(0, -2.0);
    bool m_backgroundIsHidden = false;
    QColor m_colorOfBackground; // invalid: the palette's
    float m_shadowAlpha = 0.5f;
    QRectF m_restraintsOnScreen;
    PvSlotMotion* m_animation = nullptr;
    QPointer<PVSlotDraggingManager> m_draggingManager;
    bool m_isDragging = false;
    bool m_fAllowsDragging = true;
    QList<QPointer<QWidget>> m_hiddenControls;
    int m_slideMode = 1;

    bool m_ownDragImage = true; // the drag image is taken from the view at each drag
    bool m_refocusAfterSlide = false;
};
