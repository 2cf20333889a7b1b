// A slider cell with curved tick values and an inverted value direction.
#pragma once

#include "PvBasicSliderCell.h"

/**
    A slider cell whose tick mark values may follow a curve, for controls that need fine
    resolution at one end of their range (gains, frequencies), and whose value may be read
    and set in the inverted direction. It draws like PvBasicSliderCell.

    Curves (setLogTickMarks()): 0 is linear; 1 gives the tick at fraction t of the ticks
    the value min + (max - min) * (0.7 t^4 + 0.3 t), so the lower half of the ticks covers
    less than a fifth of the range; 2 is that curve mirrored, fine at the maximum end.
    Because snapping to tick marks asks tickMarkValueAtIndex(), a slider that allows tick
    mark values only snaps to the curved values.

    Three value domains: doubleValue() is the stored value; sliderValue() is the value
    with inversion applied (max + min - doubleValue() when inverted); logSliderValue() is
    the "position" of a curved tick-only slider: the evenly spaced value of its tick.

    A range with min equal to max divides by zero; do not configure one. Main thread only.

    @see PvSliderCell
*/
class PvLogSliderCell : public PvBasicSliderCell {
public:
    PvLogSliderCell() = default;
    std::unique_ptr<PvCell> clone() const override;

    /// The curve of the tick values: 0 linear, 1 fine at the minimum, 2 fine at the
    /// maximum. Other numbers curve like 1.
    int logTickMarks() const { return m_logTickMarks; }
    void setLogTickMarks(int mode);
    bool invertValues() const { return m_invertValues; }
    void setInvertValues(bool invert);

    /// The (curved) value of tick index.
    double tickMarkValueAtIndex(int index) const override;
    /// The first index whose tick value equals the tick value closest to value; 0 when
    /// none does (as without tick marks).
    int closestIndexOfValue(double value) const;

    /// The value with inversion applied, and its setter.
    double sliderValue() const;
    void setSliderValue(double value);
    /// sliderValue() truncated towards zero; the setter does nothing when that already
    /// equals value.
    int sliderIntValue() const;
    void setSliderIntValue(int value);

    /// The value in the evenly spaced position domain of a tick-only slider (the inverted
    /// position when inverted); sliderValue() for a slider that allows any value, and
    /// doubleValue() for a tick-only slider with fewer than two ticks.
    double logSliderValue() const;
    /// Sets the value from a position: a tick-only slider goes to the tick at the rounded
    /// position (clamped to the range first); any other slider takes setSliderValue().
    void setLogSliderValue(double value);
    /// logSliderValue() rounded half away from zero, and its setter.
    int logSliderIntValue() const;
    void setLogSliderIntValue(int value);

    /// Assistive technology reads and sets the value with inversion applied.
    double accessibleDoubleValue() const override { return sliderValue(); }
    void setAccessibleDoubleValue(double value) override { setSliderValue(value); }

protected:
    void copyLogSettingsTo(PvLogSliderCell& other) const;

private:
    int32_t m_logTickMarks = 0;
    bool m_invertValues = false;
};
