#include "PvLogSliderCell.h"

#include <algorithm>
#include <cmath>

std::unique_ptr<PvCell> PvLogSliderCell::clone() const
{
    auto copy = std::make_unique<PvLogSliderCell>();
    copySettingsTo(*copy);
    copySliderSettingsTo(*copy);
    copyLogSettingsTo(*copy);
    return copy;
}

void PvLogSliderCell::copyLogSettingsTo(PvLogSliderCell& other) const
{
    other.m_logTickMarks = m_logTickMarks;
    other.m_invertValues = m_invertValues;
}

void PvLogSliderCell::setLogTickMarks(int mode)
{
    m_logTickMarks = mode;
    setNeedsDisplay();
}

void PvLogSliderCell::setInvertValues(bool invert)
{
    m_invertValues = invert;
}

double PvLogSliderCell::tickMarkValueAtIndex(int index) const
{
    const int n = numberOfTickMarks();
    const int j = m_logTickMarks == 2 ? n - index - 1 : index;
    if (m_logTickMarks == 0)
        return PvBasicSliderCell::tickMarkValueAtIndex(j);
    // A single tick sits at the middle of the ticks' span, as on a linear slider.
    const double t = n == 1 ? 0.5 : double(j) / double(n - 1);
    double f = t * t * t * t * 0.7 + t * 0.3;
    if (m_logTickMarks == 2)
        f = 1.0 - f;
    return minValue() + (maxValue() - minValue()) * f;
}

int PvLogSliderCell::closestIndexOfValue(double value) const
{
    const double c = closestTickMarkValueToValue(value);
    for (int i = 0; i < numberOfTickMarks(); ++i)
        if (tickMarkValueAtIndex(i) == c)
            return i;
    return 0;
}

double PvLogSliderCell::sliderValue() const
{
    return m_invertValues ? minValue() + (maxValue() - doubleValue()) : doubleValue();
}

void PvLogSliderCell::setSliderValue(double value)
{
    setDoubleValue(m_invertValues ? minValue() + (maxValue() - value) : value);
}

int PvLogSliderCell::sliderIntValue() const
{
    return int(std::trunc(sliderValue()));
}

void PvLogSliderCell::setSliderIntValue(int value)
{
    if (sliderIntValue() != value)
        setSliderValue(value);
}

double PvLogSliderCell::logSliderValue() const
{
    if (!allowsTickMarkValuesOnly())
        return sliderValue();
    const int n = numberOfTickMarks();
    if (n <= 1)
        return doubleValue();
    const double step = (maxValue() - minValue()) / (n - 1);
    const int k = closestIndexOfValue(doubleValue());
    return m_invertValues ? maxValue() - k * step : k * step + minValue();
}

void PvLogSliderCell::setLogSliderValue(double value)
{
    if (!allowsTickMarkValuesOnly()) {
        setSliderValue(value);
        return;
    }
    const int n = numberOfTickMarks();
    double v = std::max(minValue(), std::min(maxValue(), value));
    if (m_invertValues)
        v = maxValue() - v + minValue();
    // std::round rounds halves away from zero.
    const double k = n > 1 ? std::round((v - minValue()) / ((maxValue() - minValue()) / (n - 1))) : 0.0;
    setDoubleValue(tickMarkValueAtIndex(int(k)));
}

int PvLogSliderCell::logSliderIntValue() const
{
    return int(std::round(logSliderValue()));
}

void PvLogSliderCell::setLogSliderIntValue(int value)
{
    setLogSliderValue(double(value));
}
