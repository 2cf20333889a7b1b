// The picture-drawn slider cell with fine adjustment, reset, snap points and a value tip.
#pragma once

#include "PvDynamicStringView.h"
#include "PvLogSliderCell.h"

#include <QColor>
#include <QList>
#include <QPointer>
#include <QSizeF>

class PvSlider;

/**
    A slider cell that draws itself from pictures of the shared image provider
    (PvResourceProvider) and adds what a mixing desk's faders need: a fine step per drag
    event while Shift is held, an Option-click that resets to a default value, magnetic
    marks that catch values near them, clicks on the end labels that jump to min or max,
    a tool tip that follows the knob while it is dragged, and the notifications
    PvStartTrackingNotification / PvStopTrackingNotification (object: the cell) around
    every tracking, so hosts can bracket undo groups or automation writes.

    Pictures: the knob picture (states 0 normal, 1 pressed, 2 inactive) and the track
    picture (state 0 the bar, stretched over the slider frame; states 1 and 2 the labels
    of the minimum and maximum end). kImage_None draws the platform look of the current
    QStyle instead, as PvBasicSliderCell does.

    Layout (calculateInternalsFromCellFrame()): the cell frame less minSideInset and
    maxSideInset (the label areas) is the slider frame; that less the two slider insets is
    the interior frame, in which the knob travels. The minimum end is at the left, or at the
    bottom of the screen in either flipping. A vertical track picture narrower than the
    slider frame is centred across it.

    Actions: the cell keeps its own send-action mask (sendActionOn()); at creation it takes
    the mask a slider cell is created with (PvBasicSliderCell::kDefaultSendActionMask:
    mouse down, up and dragged) and sets the inherited one to 0, so only this cell's rules
    send. A press, a drag and a release send when the mask has their bit; the wheel and the
    Option-click reset always send.

    The tool tip object and the accessibility parent are not owned; the tool tip object
    must outlive its use here (or be replaced first). Owned by its control; main thread
    only.

    @see PvLogSliderCell, PvSlider, PvToolTipWindow
*/
class PvSliderCell : public PvLogSliderCell, public PvToolTipStringSource {
public:
    /// A cell with the defaults: no pictures, no insets, magnetic delta 0.1, knob disabled
    /// alpha 1.0, tick position and height unset (-1000).
    PvSliderCell();
    /// A cell with the properties of source (see initWithPropertiesOfSliderCell()).
    explicit PvSliderCell(const PvBasicSliderCell& source);
    ~PvSliderCell() override;
    /// A full copy with its own magnetic marks, and black and dark grey tick colours.
    std::unique_ptr<PvCell> clone() const override;

    /**
        A new cell with source's range, tick marks (count, position, values-only), control
        size, target and action, tick colours black and dark grey; from a PvSliderCell also
        its send-action mask, tick position and height, knob disabled alpha, magnetic delta
        and marks, accessibility parent and pictures. The value, the curve, the inversion,
        the insets, default value, fine step and colours of source are not copied.
    */
    static std::unique_ptr<PvSliderCell> initWithPropertiesOfSliderCell(const PvBasicSliderCell& source);
    /// Replaces slider's cell with one made from it by initWithPropertiesOfSliderCell()
    /// and returns the new cell, owned by slider. Null for a null slider.
    static PvSliderCell* replacedCellInSlider(PvSlider* slider);

    // ---- pictures -----------------------------------------------------------------------
    /// Sets the knob and track pictures. With a knob picture the knob takes its size
    /// (whole points, rounded down) and the knob hit area insets become 2 and 0; without,
    /// the size is zero and the insets 2 and 1.
    void setImageIDs(int knob, int track);
    int knobImageID() const { return m_knobImageID; }
    int trackImageID() const { return m_trackImageID; }
    /// 0 normal, 1 pressed (while tracking), 2 inactive.
    int knobState() const { return m_state; }
    QSizeF knobSize() const { return m_knobSize; }

    // ---- geometry -----------------------------------------------------------------------
    void setThumbClickAreaLeftInset(float inset) { m_thumbClickAreaLeftInset = inset; }
    void setThumbClickAreaRightInset(float inset) { m_thumbClickAreaRightInset = inset; }
    void setMinSideInset(float inset) { m_minSideInset = inset; }
    void setMaxSideInset(float inset) { m_maxSideInset = inset; }
    void setMinSideSliderInset(float inset) { m_minSideSliderInset = inset; }
    void setMaxSideSliderInset(float inset) { m_maxSideSliderInset = inset; }
    /// Tick marks at y (from the bottom of the interior frame) with height; -1000 for
    /// either keeps the platform's place.
    void setTickMarkYPosition(float y, float height);
    void setLabelsYInset(float inset) { m_labelsYInset = inset; }
    void setTrackYInset(float inset) { m_trackYInset = inset; }
    void setKnobRectInset(const QPointF& inset) { m_knobRectInset = inset; }
    /// Opacity of the knob picture while the cell is disabled; 1.0 shows it as it is.
    void setKnobDisabledAlpha(float alpha) { m_KnobDisabledAlpha = alpha; }
    float thumbClickAreaLeftInset() const { return m_thumbClickAreaLeftInset; }
    float thumbClickAreaRightInset() const { return m_thumbClickAreaRightInset; }

    // ---- behaviour ----------------------------------------------------------------------
    bool showsDisabledWhenNotMainWindow() const { return m_showsDisabledWhenNotMainWindow; }
    /// Draws the knob in state 2 while the control's window is not the active window.
    void setShowsDisabledWhenNotMainWindow(bool shows);
    /// The value step per drag event while Shift is held; 0 turns fine adjustment off.
    void setFineValueControlStep(double step) { m_fineValueControlStep = step; }
    double fineValueControlStep() const { return m_fineValueControlStep; }
    void setDefaultValue(double value) { m_defaultValue = value; }
    double defaultValue() const { return m_defaultValue; }
    /// An Option-click then sets the default value, and the rest of that press moves nothing.
    void setAltClickSetsDefaultValue(bool sets) { m_altClickSetsDefaultValue = sets; }
    bool altClickSetsDefaultValue() const { return m_altClickSetsDefaultValue; }
    /// A click in an end label area (a side inset) jumps to that end of the range.
    void setLabelClickSetsMinMaxValue(bool sets) { m_labelClickSetsMinMaxValue = sets; }
    bool labelClickSetsMinMaxValue() const { return m_labelClickSetsMinMaxValue; }
    /// Tick colours: enabled in the active window (invalid: dark grey) and otherwise
    /// (invalid: grey).
    void setTickMarkColor(const QColor& colour);
    void setTickMarkDisabledColor(const QColor& colour);
    QColor tickMarkColor() const { return m_tickMarkColor; }
    QColor tickMarkDisabledColor() const { return m_tickMarkDisabledColor; }

    // ---- value tip ----------------------------------------------------------------------
    /// The supplier of the tip shown while tracking (null: no tip) and its tag. A tip of
    /// the previous supplier that is showing is closed.
    void setMovableToolTip(PvToolTipStringSource* object, int tag);
    bool hasMovableToolTip() const { return m_toolTipObject != nullptr; }
    /// The cell as a tip supplier: its value with one decimal ("%.1f").
    QString stringForTag(int tag) const override;

    // ---- magnetic marks -----------------------------------------------------------------
    /// Adds a mark strictly inside the range that is not already there (appended).
    void setMagneticMarkAt(double value);
    void resetMagneticMarks();
    QList<double> magneticMarks() const { return m_magneticMarks; }
    void setMagneticMarkDelta(double delta) { m_magneticMarkDelta = delta; }
    double magneticMarkDelta() const { return m_magneticMarkDelta; }
    /// The first mark m in insertion order with m - delta < value < m + delta replaces
    /// value; the result is stored as PvBasicSliderCell stores values.
    void setDoubleValue(double value) override;

    // ---- layout -------------------------------------------------------------------------
    /// Computes the slider, interior and track rectangles for frame in view.
    void calculateInternalsFromCellFrame(const QRectF& frame, PvControl* view);
    QRectF cellFrame() const { return m_cellFrame; }
    QRectF sliderFrame() const { return m_sliderFrame; }
    QRectF interiorFrame() const { return m_interiorFrame; }
    QRectF trackRect() const { return m_trackRect; }
    bool isVertical() const override;
    double knobThickness() const override;
    /// With a knob picture, the knob at the value in the track rectangle; else the
    /// platform knob in the interior frame.
    QRectF knobRectFlipped(bool flipped) const override;
    QRectF rectOfTickMarkAtIndex(int index) const override;
    /// Redraws rect (control coordinates) of the control.
    void setNeedsDisplayInRect(const QRectF& rect);

    // ---- drawing ------------------------------------------------------------------------
    void drawWithFrame(QPainter& painter, const QRectF& frame, PvControl* view) override;
    void drawBarInside(QPainter& painter, const QRectF& rect, bool flipped) override;
    void drawKnob(QPainter& painter, const QRectF& knobRect) override;
    void drawTickmarks(QPainter& painter) override;

    // ---- tracking -----------------------------------------------------------------------
    bool trackMouse(const PvEvent& event, const QRectF& frame, PvControl* view, bool untilMouseUp) override;
    bool startTrackingAt(const QPointF& point, PvControl* view) override;
    bool continueTracking(const QPointF& lastPoint, const QPointF& currentPoint, PvControl* view) override;
    void stopTracking(
        const QPointF& lastPoint, const QPointF& stopPoint, PvControl* view, bool mouseIsUp) override;
    /// The value under point of the control (with the grab offset of the current press).
    double valueWithPoint(const QPointF& point) const;
    /// Sets the value under point and sends the action if the mask allows it.
    void setValueWithPoint(const QPointF& point);
    int32_t sendActionOn(int32_t mask) override;
    int32_t sendActionMask() const override { return m_sendActionMask; }
    /// Sends the action for the control's current event: only when its type's bit (mouse
    /// down, up, dragged) is in the mask, unless checkMask is false. Returns whether it sent.
    bool sendActionWithCurrentEvent(bool checkMask);
    /// The wheel rule of PvSlider, sending the action always; for cells in other controls.
    bool scrollWheel(const PvEvent& event, PvControl* view) override;

protected:
    PvSliderCell(const PvSliderCell& other) = default;
    bool knobIsPressed() const override { return m_state == 1; }

private:
    void commonInit();
    void copyPropertiesFrom(const PvBasicSliderCell& source);
    bool knobHasImage() const;
    PvControl* layoutView() const;
    void drawPicture(QPainter& painter, int id, int state, const QRectF& rect, qreal opacity = 1.0) const;
    bool windowIsActive() const;

    int32_t m_knobImageID = -1;
    int32_t m_trackImageID = -1;
    int32_t m_state = 0;
    QSizeF m_knobSize;
    float m_minSideInset = 0;
    float m_maxSideInset = 0;
    float m_minSideSliderInset = 0;
    float m_maxSideSliderInset = 0;
    int32_t m_sendActionMask = 0;
    QPointer<PvControl> m_controlView; // the view of the last layout
    bool m_cellFrameSet = false;
    QRectF m_cellFrame;
    QRectF m_sliderFrame;
    QRectF m_interiorFrame;
    QRectF m_trackRect;
    float m_mouseOffset = 0;
    double m_fineValueControlStep = 0;
    double m_defaultValue = 0;
    bool m_altClickSetsDefaultValue = false;
    bool m_altClicked = false;
    bool m_showsDisabledWhenNotMainWindow = false;
    float m_thumbClickAreaLeftInset = 0;
    float m_thumbClickAreaRightInset = 0;
    float m_tickMarkY = -1000.0f;
    float m_tickMarkHeight = -1000.0f;
    QColor m_tickMarkColor;
    QColor m_tickMarkDisabledColor;
    float m_trackYInset = 0;
    float m_labelsYInset = 0;
    QPointF m_knobRectInset;
    float m_KnobDisabledAlpha = 1.0f;
    bool m_labelClickSetsMinMaxValue = false;
    PvToolTipStringSource* m_toolTipObject = nullptr;
    int32_t m_toolTipTag = 0;
    QList<double> m_magneticMarks;
    double m_magneticMarkDelta = 0.1;
};
