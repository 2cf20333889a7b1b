// The cell: the state and drawing of one control element.
#pragma once

#include "PvEvent.h"

#include <QAccessible>
#include <QByteArray>
#include <QFont>
#include <QPointer>
#include <QRectF>
#include <QVariant>

#include <cstdint>
#include <memory>
#include <optional>

class PvControl;
class QPainter;

/**
    A cell keeps the state of one control element (value, state, highlight, tag, target
    and action) and draws it into the frame its control gives it. Cells are plain C++
    objects owned by their control (PvControl or PvMatrix); they hold no widget of their
    own, so a matrix of a thousand cells is cheap.

    Mouse tracking follows one protocol for every cell: startTrackingAt() when the button
    goes down, continueTracking() for every drag, stopTracking() when the button goes up or
    the cell gives up. The base class highlights itself while the mouse is inside its frame
    and sends its action according to its send-action mask (by default when the button is
    released inside the frame). Value cells override the three calls.

    The target is not owned (a destroyed target is not called). Main thread only.

    @see PvControl, PvMatrix
*/
class PvCell {
public:
    enum State { MixedState = -1, OffState = 0, OnState = 1 };
    enum ControlSize { RegularControlSize = 0, SmallControlSize = 1, MiniControlSize = 2 };

    PvCell();
    explicit PvCell(const QString& text);
    virtual ~PvCell();

    /// A new cell with the same settings (used by a matrix's prototype). Subclasses with
    /// state of their own override it; the base copies every setting of this class.
    virtual std::unique_ptr<PvCell> clone() const;

    // ---- state -------------------------------------------------------------------
    /// Off, on or mixed. Values other than these three are taken as on; mixed is taken
    /// as on unless allowsMixedState().
    int state() const { return m_state; }
    virtual void setState(int state);
    bool allowsMixedState() const { return m_allowsMixedState; }
    void setAllowsMixedState(bool allow) { m_allowsMixedState = allow; }
    bool isHighlighted() const { return m_highlighted; }
    void setHighlighted(bool highlighted);
    bool isEnabled() const { return m_enabled; }
    virtual void setEnabled(bool enabled);
    bool isEditable() const { return m_editable; }
    void setEditable(bool editable) { m_editable = editable; }
    /// A continuous cell sends its action on every drag while tracking.
    bool isContinuous() const { return m_continuous; }
    void setContinuous(bool continuous) { m_continuous = continuous; }
    int tag() const { return m_extras ? m_extras->tag : 0; }
    void setTag(int tag)
    {
        if (tag != 0 || m_extras)
            extras().tag = tag;
    }

    // ---- value -------------------------------------------------------------------
    /// The value; a null variant when none was set.
    QVariant objectValue() const { return m_value; }
    /// Takes the value by value, so that a temporary moves in without a copy.
    virtual void setObjectValue(QVariant value);
    /// The value as text, number or integer; 0 or "" when it does not convert.
    QString stringValue() const;
    virtual double doubleValue() const;
    float floatValue() const { return float(doubleValue()); }
    int intValue() const;
    void setStringValue(const QString& value) { setObjectValue(QVariant(value)); }
    virtual void setDoubleValue(double value) { setObjectValue(value); }
    void setFloatValue(float value) { setDoubleValue(value); }
    void setIntValue(int value) { setObjectValue(value); }
    /// Caller data carried by the cell; not interpreted.
    QVariant representedObject() const { return m_extras ? m_extras->representedObject : QVariant(); }
    void setRepresentedObject(const QVariant& object) { extras().representedObject = object; }

    // ---- look --------------------------------------------------------------------
    /// The font; an unset font means the control's font.
    QFont font() const { return hasFont() ? *m_extras->font : QFont(); }
    void setFont(const QFont& font) { extras().font = font; }
    bool hasFont() const { return m_extras && m_extras->font; }
    Qt::Alignment alignment() const { return Qt::Alignment(m_alignment); }
    void setAlignment(Qt::Alignment alignment) { m_alignment = uint16_t(alignment.toInt()); }
    ControlSize controlSize() const { return ControlSize(m_controlSize); }
    void setControlSize(ControlSize size) { m_controlSize = uint8_t(size); }

    // ---- target and action -------------------------------------------------------
    QObject* target() const { return m_extras ? m_extras->target.data() : nullptr; }
    void setTarget(QObject* target) { extras().target = target; }
    QByteArray action() const { return m_extras ? m_extras->action : QByteArray(); }
    void setAction(const QByteArray& action) { extras().action = action; }
    /// Sets the event-type mask (PvLeftMouseDownMask, ...) on which tracking sends the
    /// action; returns the previous mask. The default is PvLeftMouseUpMask.
    virtual int32_t sendActionOn(int32_t mask);
    virtual int32_t sendActionMask() const { return m_sendActionMask; }
    /// Sends the cell's action to its target through view (the sender). A cell without
    /// an action of its own uses view's action and target. Returns whether a receiver
    /// was called (view's actionTriggered signal is emitted either way).
    bool sendAction(PvControl* view);

    // ---- drawing -----------------------------------------------------------------
    /// The control the cell last drew in or tracked in; null before.
    PvControl* controlView() const;
    void setControlView(PvControl* view);
    /// Draws the cell into frame (in view's coordinates): frame, then interior.
    virtual void drawWithFrame(QPainter& painter, const QRectF& frame, PvControl* view);
    /// Draws the content (text) of the cell.
    virtual void drawInteriorWithFrame(QPainter& painter, const QRectF& frame, PvControl* view);
    /// The size the cell wants (text plus margins at its control size).
    virtual QSizeF cellSize() const;
    /// Asks the control view to redraw the cell.
    void setNeedsDisplay();

    // ---- tracking ----------------------------------------------------------------
    /// Called when the button goes down at point (view coordinates). Returns whether the
    /// cell tracks the mouse; a disabled cell refuses.
    virtual bool startTrackingAt(const QPointF& point, PvControl* view);
    /// Called for every drag from lastPoint to currentPoint. Returning false ends tracking.
    virtual bool continueTracking(const QPointF& lastPoint, const QPointF& currentPoint, PvControl* view);
    /// Called once when tracking ends: mouseIsUp tells whether the button was released.
    virtual void stopTracking(
        const QPointF& lastPoint, const QPointF& stopPoint, PvControl* view, bool mouseIsUp);
    /**
        Tracks a press that started with event inside frame. The default hands the press to
        view (PvControl::trackCell()), which calls the three calls above as the mouse moves.
        When the view tracks in a nested loop the call returns after the release: true when
        untilMouseUp is set, else true only if the mouse went up inside frame. Otherwise it
        returns at once whether tracking started, and the rest follows the view's events.
    */
    virtual bool trackMouse(const PvEvent& event, const QRectF& frame, PvControl* view, bool untilMouseUp);
    /// Whether the control tracks a press on this cell until the mouse goes up (value cells
    /// such as sliders), rather than only while the mouse is inside the cell's frame (the
    /// default, as for buttons).
    virtual bool prefersTrackingUntilMouseUp() const { return false; }
    /// The frame given to the current or last trackMouse().
    QRectF trackingFrame() const { return m_extras ? m_extras->trackingFrame : QRectF(); }
    /// A wheel event over the cell; returns whether it was used. The base uses none.
    virtual bool scrollWheel(const PvEvent& event, PvControl* view);
    /// A key press while the control has focus; returns whether it was used. The base
    /// takes Space as a click.
    virtual bool keyDown(const PvEvent& event, PvControl* view);
    /// A click from the keyboard: sends the action when enabled.
    virtual void performClick(PvControl* view);

    // ---- accessibility -----------------------------------------------------------
    virtual QAccessible::Role accessibilityRole() const { return QAccessible::StaticText; }
    /// Whether the value is a number between minValue() and maxValue() that assistive
    /// technology may read and set (Qt's value interface). Value cells such as sliders
    /// override the three; the base has no range.
    virtual bool hasValueRange() const { return false; }
    virtual double minValue() const { return 0.0; }
    virtual double maxValue() const { return 0.0; }
    /// The number assistive technology reads and sets within that range: doubleValue() by
    /// default; a cell whose shown value differs from its stored one answers the shown one.
    virtual double accessibleDoubleValue() const { return doubleValue(); }
    virtual void setAccessibleDoubleValue(double value) { setDoubleValue(value); }
    /// The text assistive technology reads as the value of a cell with a range: its text
    /// by default; a cell that keeps its number elsewhere answers that number.
    virtual QString accessibleValueText() const { return stringValue(); }
    /// The parent reported to assistive technology instead of the control's parent;
    /// not owned, null for none.
    QObject* accessibilityParent() const { return m_extras ? m_extras->accessibilityParent.data() : nullptr; }
    void setAccessibilityParent(QObject* parent) { extras().accessibilityParent = parent; }
    /// The name assistive technology reads for the cell, such as "Bars" for one field of a
    /// position; empty (the default) names a value cell by its control and any other
    /// cell by its text.
    QString accessibilityLabel() const { return m_extras ? m_extras->accessibilityLabel : QString(); }
    void setAccessibilityLabel(const QString& label) { extras().accessibilityLabel = label; }

protected:
    /// A copy of every setting and the value, for clone() of subclasses; the copy is in no
    /// control's storage yet.
    PvCell(const PvCell& other);
    PvCell& operator=(const PvCell&) = delete;
    /// Copies the settings of this class into other (for clone()).
    void copySettingsTo(PvCell& other) const;

private:
    // What most cells never set lives apart, made on first use: lists hold cells by the
    // hundred thousand, and each byte of a cell counts there.
    struct Extras {
        QVariant representedObject;
        std::optional<QFont> font; // unset: the control's font
        QPointer<QObject> target;
        QByteArray action;
        QRectF trackingFrame;
        QPointer<QObject> accessibilityParent;
        QString accessibilityLabel;
        QPointer<PvControl> view; // the control view, when it does not own the cell
        int tag = 0;
    };
    Extras& extras();

    QVariant m_value;
    // The control view: a control that owns the cell outlives it and is kept here alone;
    // any other view is also watched in the extras, so that the cell forgets a view that
    // goes away.
    PvControl* m_controlView = nullptr;
    std::unique_ptr<Extras> m_extras;
    // A matrix holds many cells: what follows is packed into 16 bytes.
    int32_t m_sendActionMask = PvLeftMouseUpMask;
    // Where the owning control keeps this cell, so that it finds the cell without a search.
    int m_indexInControl = -1;
    int8_t m_state = OffState;
    uint8_t m_controlSize = RegularControlSize;
    uint16_t m_alignment = Qt::AlignLeft | Qt::AlignVCenter;
    bool m_allowsMixedState : 1 = false;
    bool m_highlighted : 1 = false;
    bool m_enabled : 1 = true;
    bool m_editable : 1 = false;
    bool m_continuous : 1 = false;
    bool m_viewOwnsCell : 1 = false;
    bool m_inMatrixBlock : 1 = false; // made in place by a matrix, which frees the memory
    /// Makes view the control view for good: view owns the cell and destroys it before it
    /// goes itself.
    void setOwningView(PvControl* view);
    friend class PvControl;
    friend class PvMatrix;
};
