// PvNumberEditorCell: an integer field that is stepped with the mouse and typed into.
#pragma once

#include "PvCell.h"

#include <QColor>
#include <QString>

#include <functional>

class PvNumberEditorCell;

/**
    Hears from a PvNumberEditorCell about the end of its typing mode and its value
    changes. A PvCellGroupControl is the delegate of every number cell it hosts. Every
    member has a default, so a delegate overrides only what it needs.
*/
class PvNumberEditorCellDelegate {
public:
    virtual ~PvNumberEditorCellDelegate() = default;
    /// The cell left typing mode; reason is a PvNumberEditorCell::StopReason.
    virtual void dfNumberEditorCellStoppedEditingWithReason(PvNumberEditorCell* cell, int reason)
    {
        Q_UNUSED(cell);
        Q_UNUSED(reason);
    }
    /**
        The user asks to step cell by delta (drag, wheel, up and down arrows). Returns true
        when the delegate did the step itself (for instance with a carry into a
        neighbouring field); the default false lets the cell step within its own range.
    */
    virtual bool dfNumberEditorCellStepBy(PvNumberEditorCell* cell, int delta)
    {
        Q_UNUSED(cell);
        Q_UNUSED(delta);
        return false;
    }
    /// The user changed the cell's value (a step the cell did itself, or typed text).
    virtual void dfNumberEditorCellValueChanged(PvNumberEditorCell* cell) { Q_UNUSED(cell); }
};

/**
    A cell that shows an integer between a minimum and a maximum, zero-padded to a
    minimum number of digits or through a formatter, and lets the user change it.

    Stepping: dragging up or down by four points, one wheel notch, or the up and down
    arrow keys step the value by one (ten with Shift), clamped to the range. A drag posts
    PvStartTrackingNotification when it starts and PvStopTrackingNotification when it
    ends, with the cell as object, so hosts can bracket undo groups.

    Typing: startEditing() puts the cell in typing mode, drawn in the edit colours. Digits
    (and a leading minus sign when the minimum is negative) replace the shown value;
    Backspace takes the last one back. Return or Enter commits the typed text and ends
    typing mode; text that is not a number in the range is refused with a beep: the
    previous value stays and typing goes on with an empty entry. Escape ends typing mode
    and puts back the value the cell had when typing began. Tab, Back-tab and the left and
    right arrows commit valid typed text and end typing mode. Each end is reported to the
    delegate with its StopReason.

    Without a delegate the cell sends its action when the user changes its value. The
    delegate is not owned and must outlive the cell or be reset. Main thread only.

    @see PvCellGroupControl, DfNumberEditorControl
*/
class PvNumberEditorCell : public PvCell {
public:
    /// Why typing mode ended.
    enum StopReason {
        ReturnStop = 0, ///< Return or Enter committed the typed value
        EscapeStop, ///< Escape restored the value from before typing
        TabStop, ///< Tab
        BacktabStop, ///< Back-tab (Shift-Tab)
        LeftArrowStop, ///< the left arrow (typing moves to the previous field)
        RightArrowStop, ///< the right arrow (typing moves to the next field)
        FocusLossStop, ///< stopEditingAndResignFirstResponder(): the control or the field lost the keys
    };
    using Formatter = std::function<QString(int value)>;

    /// A cell from 0 to 99 showing value 0 with one digit at least; editable.
    PvNumberEditorCell();
    PvNumberEditorCell(int value, int minimum, int maximum, int minimumDigits = 1);
    ~PvNumberEditorCell() override;

    std::unique_ptr<PvCell> clone() const override;

    // ---- value -------------------------------------------------------------------
    int value() const { return intValue(); }
    /// Sets the value, clamped to the range; no action or delegate call follows.
    void setValue(int value) { setObjectValue(value); }
    /// Any value that converts to a number is rounded and clamped to the range.
    void setObjectValue(QVariant value) override;
    int minimum() const { return m_minimum; }
    int maximum() const { return m_maximum; }
    /// Sets the range (swapped when given backwards) and clamps the value into it.
    void setRange(int minimum, int maximum);
    /// The number of digits shown at least, with leading zeros (1: no padding).
    int minimumDigits() const { return m_minimumDigits; }
    void setMinimumDigits(int digits);
    /// Makes the text shown for a value; empty for the zero-padded digits.
    void setFormatter(Formatter formatter);
    /// The text shown for value: the formatter's, or the zero-padded digits.
    QString textForValue(int value) const;
    /// The text the cell shows now: the typed text while there is some, else the value's.
    QString displayText() const;

    /**
        Steps the value by delta as the user does: the delegate may do the step itself
        (see PvNumberEditorCellDelegate::dfNumberEditorCellStepBy()); otherwise the value
        moves within the range and a change is reported. Typed text is committed first.
    */
    void stepBy(int delta);

    // ---- editing -----------------------------------------------------------------
    bool isEditing() const { return m_editing; }
    /// Enters typing mode (for an enabled cell); the typed text starts empty.
    void startEditing();
    /**
        Leaves typing mode, committing valid typed text, and reports FocusLossStop. With
        resign set, the control view also gives up the keyboard focus. Nothing happens
        when the cell is not in typing mode.
    */
    void stopEditingAndResignFirstResponder(bool resign);
    PvNumberEditorCellDelegate* delegate() const { return m_delegate; }
    void setDelegate(PvNumberEditorCellDelegate* delegate) { m_delegate = delegate; }

    // ---- look --------------------------------------------------------------------
    /// Colours; an invalid colour means the palette's (base, highlight, text, highlighted
    /// text).
    QColor backgroundColor() const { return m_backgroundColor; }
    void setBackgroundColor(const QColor& c);
    QColor editBackgroundColor() const { return m_editBackgroundColor; }
    void setEditBackgroundColor(const QColor& c);
    QColor textColor() const { return m_textColor; }
    void setTextColor(const QColor& c);
    QColor editTextColor() const { return m_editTextColor; }
    void setEditTextColor(const QColor& c);
    /// Whether the cell fills its frame with the background colour when not editing.
    bool drawsBackground() const { return m_drawsBackground; }
    void setDrawsBackground(bool draws);
    bool disablesFontSmoothing() const { return m_disablesFontSmoothing; }
    void setDisablesFontSmoothing(bool disable);

    void drawWithFrame(QPainter& painter, const QRectF& frame, PvControl* view) override;
    /// Wide enough for the longest value of the range.
    QSizeF cellSize() const override;

    // ---- input -------------------------------------------------------------------
    bool startTrackingAt(const QPointF& point, PvControl* view) override;
    bool continueTracking(const QPointF& lastPoint, const QPointF& currentPoint, PvControl* view) override;
    void stopTracking(
        const QPointF& lastPoint, const QPointF& stopPoint, PvControl* view, bool mouseIsUp) override;
    bool prefersTrackingUntilMouseUp() const override { return true; }
    bool scrollWheel(const PvEvent& event, PvControl* view) override;
    bool keyDown(const PvEvent& event, PvControl* view) override;

    QAccessible::Role accessibilityRole() const override { return QAccessible::SpinBox; }
    bool hasValueRange() const override { return true; }
    double minValue() const override { return m_minimum; }
    double maxValue() const override { return m_maximum; }

private:
    bool commitTyped();
    void finishEditing(StopReason reason);
    void reportChange();
    int stepSize(int units) const;

    int m_minimum = 0;
    int m_maximum = 99;
    int m_minimumDigits = 1;
    Formatter m_formatter;
    PvNumberEditorCellDelegate* m_delegate = nullptr;
    bool m_editing = false;
    QString m_typed;
    int m_valueBeforeEditing = 0;
    QColor m_backgroundColor;
    QColor m_editBackgroundColor;
    QColor m_textColor;
    QColor m_editTextColor;
    bool m_drawsBackground = false;
    bool m_disablesFontSmoothing = false;
    bool m_tracking = false;
    double m_dragRest = 0; // points dragged since the last step, up positive
};
