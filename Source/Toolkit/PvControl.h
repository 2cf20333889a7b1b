// The control: a widget that owns cells and feeds them the user's input.
#pragma once

#include "PvCell.h"
#include "PvEvent.h"

#include <QPointer>
#include <QWidget>

#include <functional>
#include <memory>

/**
    The base of the framework's controls: a QWidget that owns a cell (or, in subclasses
    such as PvMatrix, several) and turns Qt's mouse, wheel and key events into the cells'
    tracking protocol.

    Every Qt input event is first copied into a PvEvent, the control's currentEvent(),
    and handed to mouseDown(), mouseDragged(), mouseUp(), scrollWheel() or keyDown(),
    which subclasses override in the platform's manner. A press on an enabled cell starts
    PvCell::trackMouse(). By default tracking then follows the control's own events and
    the press returns at once; with setTracksInNestedLoop(true) the press runs a nested
    event loop until the button is released, as a modal tracking loop does (timers and
    queued work keep running inside it).

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
    /// Ends the current tracking as if the cell had given up (mouseIsUp false).
    void cancelTracking();

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
    // The platform-shaped entry points. The defaults track a press on a cell.
    virtual void mouseDown(const PvEvent& event);
    virtual void mouseDragged(const PvEvent& event);
    virtual void mouseUp(const PvEvent& event);
    virtual void mouseMoved(const PvEvent& event);
    virtual void rightMouseDown(const PvEvent& event);
    /// Returns whether the wheel event was used; an unused one goes to the parent widget.
    virtual bool scrollWheel(const PvEvent& event);
    /// Returns whether the key was used; an unused one goes to the parent widget.
    virtual bool keyDown(const PvEvent& event);
    /// Called when tracking of a cell ended (after its stopTracking()).
    virtual void didStopTracking(PvCell* cell, bool mouseIsUp, bool mouseInside);
    /// Draws the cells; the base draws its cell over the bounds.
    virtual void drawRect(QPainter& painter, const QRectF& dirtyRect);

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

private:
    void press(QMouseEvent* event, int clickCount);
    void endTracking(bool mouseIsUp, const QPointF& point);

    struct Tracking {
        PvCell* cell = nullptr;
        QRectF frame;
        QPointF lastPoint;
        bool untilMouseUp = false;
        bool result = false;
        class QEventLoop* loop = nullptr;
    };
    std::unique_ptr<PvCell> m_cell;
    QPointer<QObject> m_target;
    QByteArray m_action;
    int m_tag = 0;
    PvEvent m_currentEvent;
    int m_eventNumber = 0;
    bool m_nestedTracking = false;
    Tracking m_tracking;
    QPointer<QObject> m_accessibilityParent;
};
