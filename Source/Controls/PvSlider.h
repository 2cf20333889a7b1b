// The slider control.
#pragma once

#include "PvBasicSliderCell.h"
#include "PvControl.h"

/**
    A control holding one slider cell (PvBasicSliderCell or a subclass such as
    PvSliderCell), which it owns. Mouse, key and wheel input go to the cell; minValue(),
    maxValue() and the value accessors are the cell's. valueChanged() is emitted on every
    change of the cell's value, whoever made it; the target and action (and
    actionTriggered()) follow the cell's send-action rules.

    The wheel, whatever the cell: one step is a tenth of the range (a quarter of that with
    Shift, which reads the horizontal wheel delta). Each wheel event moves by at most one
    step: its delta is rounded away from zero and clamped to [-1, 1], so 0.3 notches move
    one full step up and -7 notches one step down. The new value goes through the cell's
    setDoubleValue() (so it snaps as the cell does), then the action is sent, also for a
    zero delta. A disabled slider ignores the wheel.

    By default the control is flipped like every Qt widget; setFlipped(false) makes its
    coordinates grow upward from the bottom edge (see PvControl::isFlipped()).

    Main thread only; owned by its Qt parent as usual.

    @see PvSliderCell, PvLogSliderCell
*/
class PvSlider : public PvControl {
    Q_OBJECT
public:
    /// A horizontal slider with a PvBasicSliderCell from 0 to 1.
    explicit PvSlider(QWidget* parent = nullptr);
    /// A slider owning cell (null: a PvBasicSliderCell).
    explicit PvSlider(std::unique_ptr<PvBasicSliderCell> cell, QWidget* parent = nullptr);
    ~PvSlider() override;

    /// The slider cell; never null.
    PvBasicSliderCell* sliderCell() const;
    /// Replaces (and destroys) the cell; a null cell is ignored.
    void setSliderCell(std::unique_ptr<PvBasicSliderCell> cell);

    double minValue() const { return sliderCell()->minValue(); }
    double maxValue() const { return sliderCell()->maxValue(); }
    void setMinValue(double value) { sliderCell()->setMinValue(value); }
    void setMaxValue(double value) { sliderCell()->setMaxValue(value); }
    int numberOfTickMarks() const { return sliderCell()->numberOfTickMarks(); }
    void setNumberOfTickMarks(int count) { sliderCell()->setNumberOfTickMarks(count); }
    bool isVertical() const { return height() > width(); }

    bool isFlipped() const override { return m_flipped; }
    void setFlipped(bool flipped);

    QString accessibilityValue() const override;
    QSize sizeHint() const override;

signals:
    /// Emitted after every change of the cell's value.
    void valueChanged(double value);

protected:
    bool scrollWheel(const PvEvent& event) override;
    /// Redraws when the window becomes active or inactive (tick colours, inactive knobs).
    void changeEvent(QEvent* event) override;

private:
    friend class PvBasicSliderCell;
    void cellValueDidChange(PvBasicSliderCell* cell, double old);

    bool m_flipped = true;
};
