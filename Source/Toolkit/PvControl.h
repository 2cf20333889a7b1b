// The control: a widget that owns cells and feeds them the user's input.
#pragma once

#include "PvCell.h"
#include "PvEvent.h"

#include <QPointer>
#include <QWidget>

#include <functional>
#include <memory>
#include <vector>

class PvControl;

/**
    Provides the text of a control's tool-tip rectangle when the pointer rests in it
    (see PvControl::addToolTipRect()).
*/
class PvToolTipOwner {
public:
    virtual ~PvToolTipOwner() = default;
    /// The text for the rectangle of tag at point (control coordinates); an empty text
    /// shows no tip.
    virtual QString viewStringForToolTip(
        PvControl* view, int tag, const QPointF& point, const QVariant& userData)
        = 0;
};

/**
    Makes drawing in a painter whose y axis grows upward (the painter of an unflipped
    control) come out upright: when painter's transform flips y, it is changed so that rect
    (in the current coordinates) is drawn upright, and the rectangle to draw into in the new
    coordinates is returned; otherwise rect is returned as it is. Save the painter first.
*/
QRectF pv_uprightRect(QPainter& painter, const QRectF& rect);

/**
    The base of the framework's controls: a QWidget that owns a cell (or, in subclasses
    such as PvMatrix, several) and turns Qt's mouse, wheel and key events into the cells'
    tracking protocol.

    Every Qt input event is first copied into a PvEvent, the control's currentEvent(),
    and handed to mouseDown(), mouseDragged(), mouseUp(), the right-button and wheel
    calls or keyDown(), which subclasses override in the platform's manner. Presses carry
    their click count, drags their movement, key events the AppKit key character and every
    event the AppKit modifier flags (see PvEvent). Tab and Back-tab reach keyDown() before
    Qt's focus navigation, which gets them only when keyDown() does not use them.

    A press on an enabled cell starts PvCell::trackMouse(), until the mouse goes up when
    the cell prefersTrackingUntilMouseUp(); otherwise tracking ends when the mouse leaves
    the cell's frame and starts again when it comes back during the same press. By default
    tracking follows the control's own events and the press returns at once; with
    setTracksInNestedLoop(true) the press runs a nested event loop until tracking ends, as
    a modal tracking loop does (timers and queued work keep running inside it).

    Coordinates: event locations, cell frames and the painter given to drawRect() use the
    control's coordinate system, which is Qt's (y grows downward) while isFlipped() answers
    true, as it does by default. A subclass answering false works in y-up coordinates with
    the origin at the bottom-left corner; the painter is transformed to match, and pictures
    and the cells' text still come out upright (see pv_uprightRect()).

    Target and action: the control keeps a target (not owned, watched) and an action name
    (see pv_sendAction()); every action sent also emits actionTriggered(), so Qt hosts can
    connect instead. The enabled state is the widget's; it is copied to the cells.

    Main thread only.

    @see PvCell, PvMatrix
*/
class PvControl : public QWidget {
    Q_OBJECT
public:
    explicit PvControl(QWidget* parent = nullptr);
    /// A control owning cell (which may be null).
    explicit PvControl(std::unique_ptr<PvCell> cell, QWidget* parent = nullptr);
    ~PvControl() override;

    /// The control's cell; null when it has none.
    PvCell* cell() const { return m_cell.get(); }
    /// Replaces (and destroys) the cell; takes ownership of the new one.
    void setCell(std::unique_ptr<PvCell> cell);

    /// The cell at point (control coordinates) and its frame, or null. The base answers its
    /// one cell anywhere in its bounds.
    virtual PvCell* cellAtPoint(const QPointF& point, QRectF* frame = nullptr) const;
    /// The frame of cell in control coordinates; empty for a cell not in this control.
    virtual QRectF frameOfCell(const PvCell* cell) const;
    /// Redraws the area of cell.
    void updateCell(const PvCell* cell);

    /// Whether y grows downward in the control's coordinates (Qt's way); true by default.
    virtual bool isFlipped() const { return true; }
    /// A point or rectangle in widget (Qt) coordinates in the control's coordinates, and
    /// back; the identity for a flipped control.
    QPointF convertFromWidget(const QPointF& point) const;
    QRectF convertFromWidget(const QRectF& rect) const;
    QPointF convertToWidget(const QPointF& point) const { return convertFromWidget(point); }
    QRectF convertToWidget(const QRectF& rect) const { return convertFromWidget(rect); }
    /// Redraws rect, given in the control's coordinates.
    void setNeedsDisplayInRect(const QRectF& rect);

    // ---- values of the (selected) cell -------------------------------------------
    double doubleValue() const;
    void setDoubleValue(double value);
    QString stringValue() const;
    void setStringValue(const QString& value);
    int intValue() const;
    void setIntValue(int value);
    QVariant objectValue() const;
    void setObjectValue(const QVariant& value);
    int tag() const { return m_tag; }
    void setTag(int tag) { m_tag = tag; }
    /// The cell whose value the value accessors read and write: the cell, or in a matrix
    /// the selected cell.
    virtual PvCell* selectedCell() const { return cell(); }

    // ---- target and action -------------------------------------------------------
    QObject* target() const { return m_target; }
    void setTarget(QObject* target) { m_target = target; }
    QByteArray action() const { return m_action; }
    void setAction(const QByteArray& action) { m_action = action; }
    /// Sends action to target with this control as sender and emits actionTriggered().
    /// Returns whether a receiver was called.
    bool sendAction(const QByteArray& action, QObject* target);
    /// Sends the control's own action to its target.
    bool sendAction() { return sendAction(m_action, m_target); }

    // ---- events ------------------------------------------------------------------
    /// The input event being handled, or the last one handled.
    const PvEvent& currentEvent() const { return m_currentEvent; }
    /// Whether a press on a cell runs a nested event loop until the release.
    bool tracksInNestedLoop() const { return m_nestedTracking; }
    void setTracksInNestedLoop(bool nested) { m_nestedTracking = nested; }
    /// Whether a cell is being tracked, and which.
    bool isTracking() const { return m_tracking.cell != nullptr; }
    PvCell* trackingCell() const { return m_tracking.cell; }
    /// Starts tracking cell for a press (see PvCell::trackMouse(), which calls this).
    bool trackCell(PvCell* cell, const PvEvent& event, const QRectF& frame, bool untilMouseUp);
    /// Ends the current tracking as if the cell had given up (mouseIsUp false); the rest of
    /// the press tracks nothing.
    void cancelTracking();

    // ---- tool-tip areas ------------------------------------------------------------
    /**
        Adds a rectangle (control coordinates) whose tool tip owner provides: when the
        pointer rests in it, owner->viewStringForToolTip() is asked for the text at that
        moment. owner is not owned and must outlive the rectangle (or be removed first).
        Where rectangles overlap, the one added last wins. Without a rectangle under the
        pointer the widget's own toolTip() shows as usual.
        @returns the tag that removeToolTip() takes; never 0.
    */
    int addToolTipRect(const QRectF& rect, class PvToolTipOwner* owner, const QVariant& userData = {});
    /// Removes the rectangle of tag; unknown tags are ignored.
    void removeToolTip(int tag);
    void removeAllToolTips();

    /// Sizes the control to its cell's cellSize().
    virtual void sizeToFit();
    QSize sizeHint() const override;

    // ---- accessibility -----------------------------------------------------------
    /// The parent reported to assistive technology instead of the widget parent; not
    /// owned, null for none.
    QObject* accessibilityParent() const { return m_accessibilityParent; }
    void setAccessibilityParent(QObject* parent) { m_accessibilityParent = parent; }
    virtual QAccessible::Role accessibilityRole() const;
    /// The name: the accessible name when one is set, else the cell's text.
    virtual QString accessibilityName() const;
    /// The value as text: the selected cell's value.
    virtual QString accessibilityValue() const;
    /**
        The cells assistive technology sees as children of the control, by index: a matrix
        of 100,000 cells makes an accessible object only for the cells asked for. The base
        answers none, as a control with one cell speaks for that cell itself (its role,
        name, value and value range). accessibleCellAt() is null and
        accessibleIndexOfCell() -1 outside the range.
    */
    virtual int accessibleCellCount() const { return 0; }
    virtual PvCell* accessibleCellAt(int index) const
    {
        Q_UNUSED(index);
        return nullptr;
    }
    virtual int accessibleIndexOfCell(const PvCell* cell) const
    {
        Q_UNUSED(cell);
        return -1;
    }

signals:
    /// Emitted every time the control sends its action (whether a target answered or not).
    void actionTriggered(PvControl* sender);
    /// Emitted when a matrix sends its double action.
    void doubleActionTriggered(PvControl* sender);

protected:
    /// A slot in each cell where a control holding many cells keeps the cell's index, so
    /// that finding a cell costs no search; -1 until set. The slot is the holder's to keep
    /// right; check the answer against the holder's own storage.
    static void setStoredIndexOfCell(PvCell* cell, int index) { cell->m_indexInControl = index; }
    static int storedIndexOfCell(const PvCell* cell) { return cell->m_indexInControl; }

    // The platform-shaped entry points. The defaults track a press on a cell.
    virtual void mouseDown(const PvEvent& event);
    virtual void mouseDragged(const PvEvent& event);
    virtual void mouseUp(const PvEvent& event);
    virtual void mouseMoved(const PvEvent& event);
    virtual void rightMouseDown(const PvEvent& event);
    virtual void rightMouseDragged(const PvEvent& event);
    virtual void rightMouseUp(const PvEvent& event);
    /// Returns whether the wheel event was used; an unused one goes to the parent widget.
    virtual bool scrollWheel(const PvEvent& event);
    /// Returns whether the key was used; an unused one goes to the parent widget.
    virtual bool keyDown(const PvEvent& event);
    /// Called when tracking of a cell ended (after its stopTracking()).
    virtual void didStopTracking(PvCell* cell, bool mouseIsUp, bool mouseInside);
    /// Draws the cells; the base draws its cell over the bounds. painter and dirtyRect are
    /// in the control's coordinates (see isFlipped()).
    virtual void drawRect(QPainter& painter, const QRectF& dirtyRect);
    /// Whether the painter given to drawRect() smooths edges (true by default); a control
    /// that only copies whole pixels of pictures answers false and saves the time.
    virtual bool drawsAntialiased() const { return true; }

    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;

    /// Called for each owned cell when the enabled state changes; PvMatrix overrides it.
    virtual void forEachCell(const std::function<void(PvCell*)>& f);

    /// Makes this control the view of a cell it owns (and destroys before it goes itself),
    /// and sets the cell's enabled state to what it has in this control: a cell keeps its
    /// own state while the control is enabled and is disabled with it. For subclasses that
    /// insert cells.
    void adoptCell(PvCell* cell);

    /// While held (calls nest), updateCell() only notes that something changed, and the
    /// last release redraws the whole control once: for changes to many cells at a time.
    void holdCellUpdates() { ++m_cellUpdateHold; }
    void releaseCellUpdates();

private:
    void press(QMouseEvent* event);
    void endTracking(bool mouseIsUp, const QPointF& point);
    PvEvent eventFromMouse(PvEventType type, const QMouseEvent* e) const;
    PvEvent eventFromKey(PvEventType type, const QKeyEvent* e) const;
    bool showToolTip(class QHelpEvent* event);

    struct Tracking {
        PvCell* cell = nullptr;
        QRectF frame;
        QPointF lastPoint;
        bool untilMouseUp = false;
        bool result = false;
        class QEventLoop* loop = nullptr;
    };
    // The press whose cell stopped tracking when the mouse left its frame; tracking starts
    // again when the mouse comes back inside during the same press.
    struct PendingPress {
        PvCell* cell = nullptr;
        QRectF frame;
        int eventNumber = 0;
    };
    struct ClickHistory {
        ulong timestamp = 0;
        QPointF globalPosition;
        Qt::MouseButton button = Qt::NoButton;
        int count = 0;
    };
    struct ToolTipArea {
        int tag;
        QRectF rect;
        class PvToolTipOwner* owner;
        QVariant userData;
    };
    std::unique_ptr<PvCell> m_cell;
    QPointer<QObject> m_target;
    QByteArray m_action;
    int m_tag = 0;
    PvEvent m_currentEvent;
    int m_eventNumber = 0;
    bool m_nestedTracking = false;
    Tracking m_tracking;
    PendingPress m_pending;
    ClickHistory m_clicks;
    QPointF m_lastGlobalPosition; // of the previous event of the current press
    std::vector<ToolTipArea> m_toolTips;
    int m_nextToolTipTag = 1;
    int m_cellUpdateHold = 0;
    bool m_cellUpdatePending = false;
    QPointer<QObject> m_accessibilityParent;
};
