// The plain slider cell: range, value, tick marks, keyboard steps and the native look.
#pragma once

#include "PvCell.h"

#include <QRectF>

class QStyleOptionSlider;

/**
    A slider cell with the state and behaviour every slider of the framework starts from:
    a range, a value kept inside it, tick marks (optionally the only values allowed), the
    keyboard steps, mouse tracking and the native look of the current QStyle.

    Orientation follows the frame: a cell drawn or tracked in a frame taller than wide is
    vertical, with its minimum at the bottom of the screen. Tick marks are spaced evenly
    along the knob's travel; their values come from tickMarkValueAtIndex(), which
    subclasses may curve. Ticks are drawn by the cell (not by the style), so a subclass
    that moves them (rectOfTickMarkAtIndex()) or colours them (drawTickmarks()) is obeyed.

    Actions: a new slider cell is continuous, and its send-action mask at creation is
    PvLeftMouseDownMask | PvLeftMouseUpMask | PvLeftMouseDraggedMask, so its action goes
    out at the press (when the value may jump), on every drag and at the release. Keyboard
    changes always send the action.

    Keys (while the control has focus): Right and Up arrows move up by one step, Left and
    Down down by one; Page Up and Page Down move by a page, Home and End go to the ends.
    A step is a tenth of a page, a page (max - min) / 10; with tick marks, arrows move to
    the neighbouring tick mark value instead.

    Owned by its control (PvSlider); main thread only.

    @see PvLogSliderCell, PvSliderCell, PvSlider
*/
class PvBasicSliderCell : public PvCell {
public:
    enum TickMarkPosition {
        TickMarkBelow = 0,
        TickMarkAbove = 1,
        TickMarkLeft = TickMarkAbove,
        TickMarkRight = TickMarkBelow,
    };

    /// The send-action mask of a slider cell at creation.
    static constexpr int32_t kDefaultSendActionMask
        = PvLeftMouseDownMask | PvLeftMouseUpMask | PvLeftMouseDraggedMask;

    /// A cell with the range 0 to 1, value 0 and no tick marks.
    PvBasicSliderCell();
    ~PvBasicSliderCell() override;
    std::unique_ptr<PvCell> clone() const override;

    // ---- range and value ------------------------------------------------------------
    double minValue() const override { return m_minValue; }
    double maxValue() const override { return m_maxValue; }
    /// Changing the range leaves the value as it is; it is clamped at the next change.
    void setMinValue(double value);
    void setMaxValue(double value);
    double doubleValue() const override;
    /// Stores value clamped to [min, max] and, with allowsTickMarkValuesOnly(), moved to the
    /// closest tick mark value. NaN is ignored.
    void setDoubleValue(double value) override;
    /// Numbers go to setDoubleValue(); anything else counts as 0.
    void setObjectValue(QVariant value) override;

    // ---- tick marks -----------------------------------------------------------------
    int numberOfTickMarks() const { return m_numberOfTickMarks; }
    /// Negative counts are taken as 0.
    void setNumberOfTickMarks(int count);
    bool allowsTickMarkValuesOnly() const { return m_allowsTickMarkValuesOnly; }
    void setAllowsTickMarkValuesOnly(bool only);
    TickMarkPosition tickMarkPosition() const { return m_tickMarkPosition; }
    void setTickMarkPosition(TickMarkPosition position);
    /// The value of tick index: min + index * (max - min) / (n - 1); with a single tick
    /// mark, the middle of the range.
    virtual double tickMarkValueAtIndex(int index) const;
    /// The tick mark value closest to value (the first of two equally close); value itself
    /// when there are no tick marks.
    double closestTickMarkValueToValue(double value) const;
    /// The rectangle of tick index in the control's coordinates, from the frame the cell
    /// was last drawn or tracked in; empty before, or for an index out of range.
    virtual QRectF rectOfTickMarkAtIndex(int index) const;

    // ---- geometry ---------------------------------------------------------------------
    /// Whether the cell's frame is taller than wide; false before it has a frame.
    virtual bool isVertical() const;
    /// The length of the knob along the slider, in points.
    virtual double knobThickness() const;
    /// The knob rectangle in the control's coordinates (flipped: y grows downward).
    virtual QRectF knobRectFlipped(bool flipped) const;

    // ---- drawing ----------------------------------------------------------------------
    void drawWithFrame(QPainter& painter, const QRectF& frame, PvControl* view) override;
    /// Draws the bar, the tick marks and the knob into frame.
    void drawInteriorWithFrame(QPainter& painter, const QRectF& frame, PvControl* view) override;
    /// The bar (groove) of the current style, then drawTickmarks().
    virtual void drawBarInside(QPainter& painter, const QRectF& rect, bool flipped);
    /// The knob of the current style at the cell's value (knobRect is where it goes).
    virtual void drawKnob(QPainter& painter, const QRectF& knobRect);
    /// Fills every tick mark rectangle in the palette's text colour (disabled: dimmed).
    virtual void drawTickmarks(QPainter& painter);
    QSizeF cellSize() const override;

    // ---- input ------------------------------------------------------------------------
    bool prefersTrackingUntilMouseUp() const override { return true; }
    bool startTrackingAt(const QPointF& point, PvControl* view) override;
    bool continueTracking(const QPointF& lastPoint, const QPointF& currentPoint, PvControl* view) override;
    void stopTracking(
        const QPointF& lastPoint, const QPointF& stopPoint, PvControl* view, bool mouseIsUp) override;
    bool keyDown(const PvEvent& event, PvControl* view) override;

    // ---- accessibility ----------------------------------------------------------------
    QAccessible::Role accessibilityRole() const override { return QAccessible::Slider; }
    bool hasValueRange() const override { return true; }

protected:
    /// The frame the cell was last drawn or tracked in (control coordinates).
    QRectF lastFrame() const { return m_lastFrame; }
    void setLastFrame(const QRectF& frame) { m_lastFrame = frame; }
    /// The control the cell draws in and tracks in: its own, else none.
    PvControl* view() const { return controlView(); }
    /// Whether that control's coordinates grow downward (true without a control).
    bool viewIsFlipped() const;
    /// Whether the native knob is drawn pressed: while the cell is highlighted (tracking).
    virtual bool knobIsPressed() const { return isHighlighted(); }
    /// Stores a value without clamping, snapping or notifying (for copies).
    void storeValue(double value);
    /// Tells the control that the value changed from old (PvSlider emits its signal).
    void valueDidChange(double old);

    /// The style option of the native look for frame (control coordinates), with the
    /// value, orientation and state of the cell.
    void initStyleOption(QStyleOptionSlider& option, const QRectF& frame, PvControl* view) const;
    /// The native knob rectangle in frame, in the control's coordinates.
    QRectF platformKnobRect(const QRectF& frame, bool flipped) const;
    /// The native knob length along frame.
    double platformKnobThickness(const QRectF& frame) const;
    /// The native tick mark rectangle of index in frame.
    QRectF platformTickMarkRect(int index, const QRectF& frame, bool flipped) const;
    /// The value at point in frame when the knob centre sits offset points before it
    /// (along the direction of growing values).
    double platformValueAtPoint(const QPointF& point, const QRectF& frame, bool flipped, double offset) const;
    /// Copies the settings of this class into other.
    void copySliderSettingsTo(PvBasicSliderCell& other) const;

private:
    double m_minValue = 0.0;
    double m_maxValue = 1.0;
    int m_numberOfTickMarks = 0;
    bool m_allowsTickMarkValuesOnly = false;
    TickMarkPosition m_tickMarkPosition = TickMarkBelow;
    QRectF m_lastFrame;
    double m_grabOffset = 0.0; // press distance from the knob centre, along the value axis
};
