#include "PvBasicSliderCell.h"

#include "PvControl.h"
#include "PvSlider.h"

#include <QApplication>
#include <QPainter>
#include <QSlider>
#include <QStyle>
#include <QStyleOptionSlider>

#include <algorithm>
#include <cmath>

namespace {

// The style works in whole slider positions: this many across the range keeps the knob
// within a fraction of a pixel of the value on any screen.
constexpr int kStylePositions = 100000;
// Points kept beside the bar for tick marks, and the tick length inside that band.
constexpr qreal kTickBand = 6.0;
constexpr qreal kTickLength = 4.0;

// The rectangle r (in frame) mirrored about frame's horizontal centre line: between the
// coordinates of an unflipped control and the upright ones the style draws in.
QRectF mirrored(const QRectF& r, const QRectF& frame)
{
    return QRectF(r.x(), frame.top() + frame.bottom() - r.bottom(), r.width(), r.height());
}

QStyle* styleOf(const PvControl* view)
{
    return view ? view->style() : QApplication::style();
}

} // namespace

PvBasicSliderCell::PvBasicSliderCell()
{
    setContinuous(true);
    PvCell::sendActionOn(kDefaultSendActionMask);
    storeValue(0.0);
}

PvBasicSliderCell::~PvBasicSliderCell() = default;

std::unique_ptr<PvCell> PvBasicSliderCell::clone() const
{
    auto copy = std::make_unique<PvBasicSliderCell>();
    copySettingsTo(*copy);
    copySliderSettingsTo(*copy);
    return copy;
}

void PvBasicSliderCell::copySliderSettingsTo(PvBasicSliderCell& other) const
{
    other.m_minValue = m_minValue;
    other.m_maxValue = m_maxValue;
    other.m_numberOfTickMarks = m_numberOfTickMarks;
    other.m_allowsTickMarkValuesOnly = m_allowsTickMarkValuesOnly;
    other.m_tickMarkPosition = m_tickMarkPosition;
}

// ---- range and value --------------------------------------------------------------

void PvBasicSliderCell::setMinValue(double value)
{
    m_minValue = value;
    setNeedsDisplay();
}

void PvBasicSliderCell::setMaxValue(double value)
{
    m_maxValue = value;
    setNeedsDisplay();
}

double PvBasicSliderCell::doubleValue() const
{
    return objectValue().toDouble();
}

void PvBasicSliderCell::storeValue(double value)
{
    PvCell::setObjectValue(value);
}

void PvBasicSliderCell::setDoubleValue(double value)
{
    if (std::isnan(value))
        return;
    const double old = doubleValue();
    value = std::max(m_minValue, std::min(m_maxValue, value));
    if (m_allowsTickMarkValuesOnly && m_numberOfTickMarks > 0)
        value = closestTickMarkValueToValue(value);
    storeValue(value);
    if (value != old)
        valueDidChange(old);
}

void PvBasicSliderCell::setObjectValue(QVariant value)
{
    bool ok = false;
    const double d = value.toDouble(&ok);
    setDoubleValue(ok ? d : 0.0);
}

void PvBasicSliderCell::valueDidChange(double old)
{
    if (auto* slider = qobject_cast<PvSlider*>(controlView()))
        slider->cellValueDidChange(this, old);
}

// ---- tick marks -------------------------------------------------------------------

void PvBasicSliderCell::setNumberOfTickMarks(int count)
{
    m_numberOfTickMarks = std::max(0, count);
    setNeedsDisplay();
}

void PvBasicSliderCell::setAllowsTickMarkValuesOnly(bool only)
{
    m_allowsTickMarkValuesOnly = only;
}

void PvBasicSliderCell::setTickMarkPosition(TickMarkPosition position)
{
    m_tickMarkPosition = position;
    setNeedsDisplay();
}

double PvBasicSliderCell::tickMarkValueAtIndex(int index) const
{
    if (m_numberOfTickMarks == 1)
        return m_minValue + (m_maxValue - m_minValue) * 0.5;
    return m_minValue + index * (m_maxValue - m_minValue) / (m_numberOfTickMarks - 1);
}

double PvBasicSliderCell::closestTickMarkValueToValue(double value) const
{
    if (m_numberOfTickMarks <= 0)
        return value;
    double best = tickMarkValueAtIndex(0);
    for (int i = 1; i < m_numberOfTickMarks; ++i) {
        const double t = tickMarkValueAtIndex(i);
        if (std::abs(t - value) < std::abs(best - value))
            best = t;
    }
    return best;
}

QRectF PvBasicSliderCell::rectOfTickMarkAtIndex(int index) const
{
    return platformTickMarkRect(index, m_lastFrame, viewIsFlipped());
}

// ---- geometry ---------------------------------------------------------------------

bool PvBasicSliderCell::viewIsFlipped() const
{
    return !view() || view()->isFlipped();
}

bool PvBasicSliderCell::isVertical() const
{
    QRectF frame = m_lastFrame;
    if (frame.isEmpty() && view())
        frame = view()->frameOfCell(this);
    return frame.height() > frame.width();
}

void PvBasicSliderCell::initStyleOption(
    QStyleOptionSlider& option, const QRectF& frame, PvControl* control) const
{
    if (control)
        option.initFrom(control);
    if (!isEnabled())
        option.state &= ~QStyle::State_Enabled;
    const bool vertical = frame.height() > frame.width();
    option.orientation = vertical ? Qt::Vertical : Qt::Horizontal;
    if (vertical)
        option.state &= ~QStyle::State_Horizontal;
    else
        option.state |= QStyle::State_Horizontal;
    // Upright coordinates: the minimum is at the bottom of a vertical slider.
    option.upsideDown = vertical;
    option.tickPosition = QSlider::NoTicks;
    QRectF r = frame;
    if (m_numberOfTickMarks > 0) {
        const bool far = m_tickMarkPosition == TickMarkBelow; // below, or right of a vertical bar
        if (vertical)
            r.adjust(far ? 0 : kTickBand, 0, far ? -kTickBand : 0, 0);
        else
            r.adjust(0, far ? 0 : kTickBand, 0, far ? -kTickBand : 0);
    }
    option.rect = r.toAlignedRect();
    option.minimum = 0;
    option.maximum = kStylePositions;
    const double span = m_maxValue - m_minValue;
    double f = span != 0
        ? (std::clamp(doubleValue(), std::min(m_minValue, m_maxValue), std::max(m_minValue, m_maxValue))
              - m_minValue)
            / span
        : 0.0;
    f = std::clamp(f, 0.0, 1.0);
    option.sliderPosition = option.sliderValue = int(std::lround(f * kStylePositions));
    option.subControls = QStyle::SC_None;
    option.activeSubControls = QStyle::SC_None;
}

QRectF PvBasicSliderCell::platformKnobRect(const QRectF& frame, bool flipped) const
{
    QStyleOptionSlider option;
    initStyleOption(option, frame, view());
    const QRectF r
        = styleOf(view())->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, view());
    return flipped ? r : mirrored(r, frame);
}

double PvBasicSliderCell::platformKnobThickness(const QRectF& frame) const
{
    QStyleOptionSlider option;
    initStyleOption(option, frame, view());
    const QRect r
        = styleOf(view())->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, view());
    return option.orientation == Qt::Vertical ? r.height() : r.width();
}

double PvBasicSliderCell::knobThickness() const
{
    return platformKnobThickness(m_lastFrame);
}

QRectF PvBasicSliderCell::knobRectFlipped(bool flipped) const
{
    return platformKnobRect(m_lastFrame, flipped);
}

QRectF PvBasicSliderCell::platformTickMarkRect(int index, const QRectF& frame, bool flipped) const
{
    const int n = m_numberOfTickMarks;
    if (index < 0 || index >= n || frame.isEmpty())
        return {};
    const bool vertical = frame.height() > frame.width();
    const double k = platformKnobThickness(frame);
    const double f = n == 1 ? 0.5 : double(index) / (n - 1);
    const bool far = m_tickMarkPosition == TickMarkBelow;
    QRectF r;
    if (vertical) {
        const double travel = frame.height() - k;
        const double y = std::floor(frame.bottom() - k / 2 - travel * f);
        const double x = far ? frame.right() - kTickBand + 1 : frame.left() + 1;
        r = QRectF(x, y, kTickLength, 1);
    } else {
        const double travel = frame.width() - k;
        const double x = std::floor(frame.left() + k / 2 + travel * f);
        const double y = far ? frame.bottom() - kTickBand + 1 : frame.top() + 1;
        r = QRectF(x, y, 1, kTickLength);
    }
    return flipped ? r : mirrored(r, frame);
}

double PvBasicSliderCell::platformValueAtPoint(
    const QPointF& point, const QRectF& frame, bool flipped, double offset) const
{
    QStyleOptionSlider option;
    initStyleOption(option, frame, view());
    const QRectF r = option.rect;
    const double k = platformKnobThickness(frame);
    const QPointF p = flipped ? point : QPointF(point.x(), frame.top() + frame.bottom() - point.y());
    const bool vertical = option.orientation == Qt::Vertical;
    const double along = vertical ? r.bottom() - p.y() : p.x() - r.left();
    const double length = vertical ? r.height() : r.width();
    const double travel = length - k;
    const double f = travel > 0 ? std::clamp((along - offset - k / 2) / travel, 0.0, 1.0) : 0.0;
    return m_minValue + f * (m_maxValue - m_minValue);
}

// ---- drawing ----------------------------------------------------------------------

void PvBasicSliderCell::drawWithFrame(QPainter& painter, const QRectF& frame, PvControl* control)
{
    setControlView(control);
    drawInteriorWithFrame(painter, frame, control);
}

void PvBasicSliderCell::drawInteriorWithFrame(QPainter& painter, const QRectF& frame, PvControl* control)
{
    m_lastFrame = frame;
    const bool flipped = !control || control->isFlipped();
    drawBarInside(painter, frame, flipped);
    drawKnob(painter, knobRectFlipped(flipped));
}

void PvBasicSliderCell::drawBarInside(QPainter& painter, const QRectF& rect, bool)
{
    painter.save();
    const QRectF upright = pv_uprightRect(painter, rect);
    QStyleOptionSlider option;
    initStyleOption(option, upright, view());
    option.subControls = QStyle::SC_SliderGroove;
    styleOf(view())->drawComplexControl(QStyle::CC_Slider, &option, &painter, view());
    painter.restore();
    drawTickmarks(painter);
}

void PvBasicSliderCell::drawKnob(QPainter& painter, const QRectF&)
{
    painter.save();
    const QRectF upright = pv_uprightRect(painter, m_lastFrame);
    QStyleOptionSlider option;
    initStyleOption(option, upright, view());
    option.subControls = QStyle::SC_SliderHandle;
    if (knobIsPressed()) {
        option.activeSubControls = QStyle::SC_SliderHandle;
        option.state |= QStyle::State_Sunken;
    }
    styleOf(view())->drawComplexControl(QStyle::CC_Slider, &option, &painter, view());
    painter.restore();
}

void PvBasicSliderCell::drawTickmarks(QPainter& painter)
{
    const QPalette pal = view() ? view()->palette() : QApplication::palette();
    const QColor colour
        = pal.color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::WindowText);
    for (int i = 0; i < m_numberOfTickMarks; ++i)
        painter.fillRect(rectOfTickMarkAtIndex(i), colour);
}

QSizeF PvBasicSliderCell::cellSize() const
{
    const double band = m_numberOfTickMarks > 0 ? kTickBand : 0.0;
    return isVertical() ? QSizeF(22 + band, 120) : QSizeF(120, 22 + band);
}

// ---- input ------------------------------------------------------------------------

bool PvBasicSliderCell::startTrackingAt(const QPointF& point, PvControl* control)
{
    if (!isEnabled())
        return false;
    setControlView(control);
    if (!trackingFrame().isEmpty())
        m_lastFrame = trackingFrame();
    const bool flipped = viewIsFlipped();
    const QRectF knob = knobRectFlipped(flipped);
    m_grabOffset = 0.0;
    if (knob.contains(point)) {
        // Grabbing the knob keeps the value: the knob moves with the mouse from here.
        const QPointF c = knob.center();
        m_grabOffset = !isVertical() ? point.x() - c.x() : flipped ? c.y() - point.y() : point.y() - c.y();
    } else {
        setDoubleValue(platformValueAtPoint(point, m_lastFrame, flipped, 0.0));
    }
    setHighlighted(true);
    if (sendActionMask() & PvLeftMouseDownMask)
        sendAction(control);
    return true;
}

bool PvBasicSliderCell::continueTracking(const QPointF&, const QPointF& currentPoint, PvControl* control)
{
    setDoubleValue(platformValueAtPoint(currentPoint, m_lastFrame, viewIsFlipped(), m_grabOffset));
    if (isContinuous() || (sendActionMask() & PvLeftMouseDraggedMask))
        sendAction(control);
    return true;
}

void PvBasicSliderCell::stopTracking(const QPointF&, const QPointF&, PvControl* control, bool mouseIsUp)
{
    setHighlighted(false);
    if (mouseIsUp && (sendActionMask() & PvLeftMouseUpMask))
        sendAction(control);
}

bool PvBasicSliderCell::keyDown(const PvEvent& event, PvControl* control)
{
    if (!isEnabled())
        return false;
    const double page = (m_maxValue - m_minValue) / 10.0;
    const double step = page / 10.0;
    const double v = doubleValue();
    int direction = 0;
    double target = v;
    switch (event.character) {
    case PvUpArrowFunctionKey:
    case PvRightArrowFunctionKey:
        direction = 1;
        break;
    case PvDownArrowFunctionKey:
    case PvLeftArrowFunctionKey:
        direction = -1;
        break;
    case PvPageUpFunctionKey:
        target = v + page;
        break;
    case PvPageDownFunctionKey:
        target = v - page;
        break;
    case PvHomeFunctionKey:
        target = m_minValue;
        break;
    case PvEndFunctionKey:
        target = m_maxValue;
        break;
    default:
        return PvCell::keyDown(event, control);
    }
    if (direction != 0 && m_numberOfTickMarks > 1) {
        // The nearest tick mark value beyond the current value, in the key's direction.
        bool found = false;
        for (int i = 0; i < m_numberOfTickMarks; ++i) {
            const double t = tickMarkValueAtIndex(i);
            const bool beyond = direction > 0 ? t > v : t < v;
            if (beyond && (!found || (direction > 0 ? t < target : t > target))) {
                target = t;
                found = true;
            }
        }
    } else if (direction != 0) {
        target = v + direction * step;
    }
    setDoubleValue(target);
    sendAction(control);
    return true;
}
