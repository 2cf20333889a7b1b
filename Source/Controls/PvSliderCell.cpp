#include "PvSliderCell.h"

#include "PvControl.h"
#include "PvNotificationCenter.h"
#include "PvResourceProvider.h"
#include "PvSlider.h"
#include "PvToolTipWindow.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

PvSliderCell::PvSliderCell()
{
    commonInit();
}

PvSliderCell::PvSliderCell(const PvBasicSliderCell& source)
{
    commonInit();
    copyPropertiesFrom(source);
}

PvSliderCell::~PvSliderCell()
{
    if (m_toolTipObject)
        PvToolTipWindow::closeToolTipWindowIfCurrentlyMine(m_toolTipObject);
}

void PvSliderCell::commonInit()
{
    // The inherited mask is read once and then cleared: from here only this cell's own
    // mask decides what sends.
    m_sendActionMask = PvCell::sendActionMask();
    PvCell::sendActionOn(0);
    setImageIDs(kImage_None, kImage_None);
}

std::unique_ptr<PvCell> PvSliderCell::clone() const
{
    std::unique_ptr<PvSliderCell> copy(new PvSliderCell(*this));
    copy->m_tickMarkColor = Qt::black;
    copy->m_tickMarkDisabledColor = Qt::darkGray;
    return copy;
}

std::unique_ptr<PvSliderCell> PvSliderCell::initWithPropertiesOfSliderCell(const PvBasicSliderCell& source)
{
    return std::make_unique<PvSliderCell>(source);
}

void PvSliderCell::copyPropertiesFrom(const PvBasicSliderCell& source)
{
    if (const auto* s = dynamic_cast<const PvSliderCell*>(&source)) {
        m_sendActionMask = s->m_sendActionMask;
        m_tickMarkY = s->m_tickMarkY;
        m_tickMarkHeight = s->m_tickMarkHeight;
        m_KnobDisabledAlpha = s->m_KnobDisabledAlpha;
        m_magneticMarkDelta = s->m_magneticMarkDelta;
        setAccessibilityParent(s->accessibilityParent());
        setImageIDs(s->m_knobImageID, s->m_trackImageID);
        m_magneticMarks = s->m_magneticMarks;
    }
    setControlSize(source.controlSize());
    setTarget(source.target());
    setAction(source.action());
    setMinValue(source.minValue());
    setMaxValue(source.maxValue());
    setAllowsTickMarkValuesOnly(source.allowsTickMarkValuesOnly());
    setNumberOfTickMarks(source.numberOfTickMarks());
    setTickMarkPosition(source.tickMarkPosition());
    m_tickMarkColor = Qt::black;
    m_tickMarkDisabledColor = Qt::darkGray;
}

PvSliderCell* PvSliderCell::replacedCellInSlider(PvSlider* slider)
{
    if (!slider)
        return nullptr;
    auto cell = initWithPropertiesOfSliderCell(*slider->sliderCell());
    PvSliderCell* raw = cell.get();
    slider->setSliderCell(std::move(cell));
    return raw;
}

// ---- settings ---------------------------------------------------------------------

void PvSliderCell::setImageIDs(int knob, int track)
{
    m_knobImageID = knob;
    m_trackImageID = track;
    if (knob != kImage_None) {
        const QSizeF size = PvResourceProvider::defaultResourceProvider()->imageSize(knob, 0);
        m_knobSize = QSizeF(std::floor(size.width()), std::floor(size.height()));
        m_thumbClickAreaLeftInset = 2.0f;
        m_thumbClickAreaRightInset = 0.0f;
    } else {
        m_knobSize = QSizeF(0, 0);
        m_thumbClickAreaLeftInset = 2.0f;
        m_thumbClickAreaRightInset = 1.0f;
    }
    setNeedsDisplay();
}

void PvSliderCell::setTickMarkYPosition(float y, float height)
{
    m_tickMarkY = y;
    m_tickMarkHeight = height;
}

void PvSliderCell::setShowsDisabledWhenNotMainWindow(bool shows)
{
    m_showsDisabledWhenNotMainWindow = shows;
    setNeedsDisplay();
}

void PvSliderCell::setTickMarkColor(const QColor& colour)
{
    m_tickMarkColor = colour;
    setNeedsDisplay();
}

void PvSliderCell::setTickMarkDisabledColor(const QColor& colour)
{
    m_tickMarkDisabledColor = colour;
    setNeedsDisplay();
}

void PvSliderCell::setMovableToolTip(PvToolTipStringSource* object, int tag)
{
    if (m_toolTipObject && m_toolTipObject != object)
        PvToolTipWindow::closeToolTipWindowIfCurrentlyMine(m_toolTipObject);
    m_toolTipObject = object;
    m_toolTipTag = tag;
}

QString PvSliderCell::stringForTag(int) const
{
    return QString::asprintf("%.1f", doubleValue());
}

// ---- magnetic marks ---------------------------------------------------------------

void PvSliderCell::setMagneticMarkAt(double value)
{
    if (value > minValue() && value < maxValue() && !m_magneticMarks.contains(value))
        m_magneticMarks.append(value);
}

void PvSliderCell::resetMagneticMarks()
{
    m_magneticMarks.clear();
}

void PvSliderCell::setDoubleValue(double value)
{
    for (const double m : std::as_const(m_magneticMarks)) {
        if (m - m_magneticMarkDelta < value && value < m + m_magneticMarkDelta) {
            value = m;
            break;
        }
    }
    PvLogSliderCell::setDoubleValue(value);
}

// ---- layout -----------------------------------------------------------------------

PvControl* PvSliderCell::layoutView() const
{
    return m_controlView ? m_controlView.data() : controlView();
}

void PvSliderCell::calculateInternalsFromCellFrame(const QRectF& frame, PvControl* view)
{
    m_controlView = view;
    m_cellFrame = frame;
    m_cellFrameSet = true;
    const bool flipped = !view || view->isFlipped();
    const bool vertical = frame.height() > frame.width();
    const double x = frame.x(), y = frame.y(), w = frame.width(), h = frame.height();
    // The minimum end is at the bottom of the screen in either flipping.
    if (vertical)
        m_sliderFrame = QRectF(
            x, y + (flipped ? m_maxSideInset : m_minSideInset), w, h - (m_minSideInset + m_maxSideInset));
    else
        m_sliderFrame = QRectF(x + m_minSideInset, y, w - (m_minSideInset + m_maxSideInset), h);
    m_interiorFrame = m_sliderFrame;
    if (vertical) {
        m_interiorFrame.moveTop(
            m_interiorFrame.y() + (flipped ? m_maxSideSliderInset : m_minSideSliderInset));
        m_interiorFrame.setHeight(m_interiorFrame.height() - (m_minSideSliderInset + m_maxSideSliderInset));
    } else {
        m_interiorFrame.moveLeft(m_interiorFrame.x() + m_minSideSliderInset);
        m_interiorFrame.setWidth(m_interiorFrame.width() - (m_minSideSliderInset + m_maxSideSliderInset));
    }
    m_trackRect = m_interiorFrame;
    setLastFrame(m_interiorFrame);
}

bool PvSliderCell::isVertical() const
{
    return m_cellFrameSet ? m_cellFrame.height() > m_cellFrame.width() : PvLogSliderCell::isVertical();
}

bool PvSliderCell::knobHasImage() const
{
    return m_knobImageID != kImage_None;
}

double PvSliderCell::knobThickness() const
{
    if (knobHasImage())
        return isVertical() ? m_knobSize.height() : m_knobSize.width();
    return platformKnobThickness(m_interiorFrame);
}

QRectF PvSliderCell::knobRectFlipped(bool flipped) const
{
    if (!knobHasImage())
        return platformKnobRect(m_interiorFrame, flipped);
    const double k = knobThickness();
    const QRectF& t = m_trackRect;
    const double lo = minValue(), hi = maxValue();
    const double v = std::max(lo, std::min(hi, doubleValue()));
    const double f = (v - lo) / (hi - lo);
    const bool vertical = isVertical();
    const double travel = vertical ? t.height() - k : t.width() - k;
    const double pos = vertical && flipped ? std::ceil(travel * (1 - f)) : std::floor(travel * f);
    // Centring across the track subtracts the knob thickness, not its cross size: the
    // pictures are square knobs.
    QPointF origin = vertical ? QPointF(t.x() + (t.width() - k) * 0.5, t.y() + pos)
                              : QPointF(t.x() + pos, t.y() + (t.height() - k) * 0.5);
    origin = QPointF(std::floor(origin.x()), std::floor(origin.y())) + m_knobRectInset;
    return QRectF(origin, m_knobSize);
}

QRectF PvSliderCell::rectOfTickMarkAtIndex(int index) const
{
    const bool flipped = !layoutView() || layoutView()->isFlipped();
    QRectF r = platformTickMarkRect(index, m_interiorFrame, flipped);
    if (r.isEmpty() || m_tickMarkY == -1000.0f || m_tickMarkHeight == -1000.0f)
        return r;
    const QRectF& in = m_interiorFrame;
    r.moveTop(flipped ? in.y() + in.height() - m_tickMarkY - m_tickMarkHeight : in.y() + m_tickMarkY);
    r.setHeight(m_tickMarkHeight);
    return r;
}

void PvSliderCell::setNeedsDisplayInRect(const QRectF& rect)
{
    if (PvControl* v = layoutView())
        v->setNeedsDisplayInRect(rect);
}

// ---- drawing ----------------------------------------------------------------------

bool PvSliderCell::windowIsActive() const
{
    const PvControl* v = layoutView();
    return !v || v->window()->isActiveWindow();
}

void PvSliderCell::drawPicture(QPainter& painter, int id, int state, const QRectF& rect, qreal opacity) const
{
    // Pictures come out upright in an unflipped control too: rect is the area they cover.
    painter.save();
    const QRectF upright = pv_uprightRect(painter, rect);
    PvResourceProvider::defaultResourceProvider()->drawImageWithID(
        id, state, painter, upright, QPainter::CompositionMode_SourceOver, opacity);
    painter.restore();
}

void PvSliderCell::drawWithFrame(QPainter& painter, const QRectF& frame, PvControl* view)
{
    if (view != m_controlView || frame != m_cellFrame || !m_cellFrameSet)
        calculateInternalsFromCellFrame(frame, view);
    setControlView(view);
    const bool flipped = !view || view->isFlipped();
    PvResourceProvider* provider = PvResourceProvider::defaultResourceProvider();
    const QSizeF s1 = provider->imageSize(m_trackImageID, 1);
    const QSizeF s2 = provider->imageSize(m_trackImageID, 2);
    const double x = frame.x(), y = frame.y(), w = frame.width(), h = frame.height();
    QRectF label1, label2;
    if (frame.height() > frame.width()) {
        const double x1 = x + std::floor((w - s1.width()) / 2), x2 = x + std::floor((w - s2.width()) / 2);
        // The minimum-end label is at the bottom of the screen.
        label1 = QRectF(QPointF(x1, flipped ? y + h - s1.height() : y), s1);
        label2 = QRectF(QPointF(x2, flipped ? y : y + h - s2.height()), s2);
    } else {
        label1 = QRectF(QPointF(x, y + std::floor((h - s1.height()) / 2)), s1);
        label2 = QRectF(QPointF(x + w - s2.width(), y + std::floor((h - s2.height()) / 2)), s2);
    }
    label1.translate(0, m_labelsYInset);
    label2.translate(0, m_labelsYInset);
    if (!s2.isEmpty())
        drawPicture(painter, m_trackImageID, 2, label2);
    if (!s1.isEmpty())
        drawPicture(painter, m_trackImageID, 1, label1);
    // Bar (with its tick marks) and knob, in the interior frame.
    drawInteriorWithFrame(painter, m_interiorFrame, view);
}

void PvSliderCell::drawBarInside(QPainter& painter, const QRectF& rect, bool flipped)
{
    const QSizeF image = PvResourceProvider::defaultResourceProvider()->imageSize(m_trackImageID, 0);
    if (m_trackImageID == kImage_None || image.isEmpty()) {
        PvLogSliderCell::drawBarInside(painter, rect, flipped);
        return;
    }
    const QRectF& s = m_sliderFrame;
    QRectF r;
    if (isVertical())
        r = QRectF(s.x() + std::floor((s.width() - image.width()) / 2), s.y() + m_trackYInset, image.width(),
            s.height());
    else
        r = QRectF(s.x(), s.y() + std::floor((s.height() - image.height()) / 2) + m_trackYInset, s.width(),
            image.height());
    drawPicture(painter, m_trackImageID, 0, r);
    drawTickmarks(painter);
}

void PvSliderCell::drawKnob(QPainter& painter, const QRectF& knobRect)
{
    if (!knobHasImage()) {
        PvLogSliderCell::drawKnob(painter, knobRect);
        return;
    }
    int state = m_state;
    if (m_showsDisabledWhenNotMainWindow && !windowIsActive())
        state = 2;
    if (!isEnabled() && m_KnobDisabledAlpha < 1.0f)
        drawPicture(painter, m_knobImageID, 0, knobRect, m_KnobDisabledAlpha);
    else
        drawPicture(painter, m_knobImageID, state, knobRect);
}

void PvSliderCell::drawTickmarks(QPainter& painter)
{
    if (numberOfTickMarks() <= 0)
        return;
    QColor colour;
    if (isEnabled() && windowIsActive())
        colour = m_tickMarkColor.isValid() ? m_tickMarkColor : QColor(Qt::darkGray);
    else
        colour = m_tickMarkDisabledColor.isValid() ? m_tickMarkDisabledColor : QColor(Qt::gray);
    for (int i = 0; i < numberOfTickMarks(); ++i)
        painter.fillRect(rectOfTickMarkAtIndex(i), colour);
}

// ---- tracking ---------------------------------------------------------------------

bool PvSliderCell::trackMouse(const PvEvent& event, const QRectF& frame, PvControl* view, bool untilMouseUp)
{
    if (view != m_controlView || frame != m_cellFrame || !m_cellFrameSet)
        calculateInternalsFromCellFrame(frame, view);
    m_trackRect = m_interiorFrame.intersected(frame);
    return PvLogSliderCell::trackMouse(event, frame, view, untilMouseUp);
}

double PvSliderCell::valueWithPoint(const QPointF& point) const
{
    const double k = knobThickness();
    const QRectF& t = m_trackRect;
    const bool vertical = isVertical();
    const bool flipped = !layoutView() || layoutView()->isFlipped();
    double d = (vertical ? point.y() - m_mouseOffset - t.y() : point.x() - m_mouseOffset - t.x()) - 0.5 * k;
    d = vertical && flipped ? std::ceil(d) : std::floor(d);
    double f = d / (vertical ? t.height() - k : t.width() - k);
    f = f < 0 ? 0.0 : std::min(1.0, f);
    if (vertical && flipped)
        f = 1 - f;
    return minValue() + f * (maxValue() - minValue());
}

void PvSliderCell::setValueWithPoint(const QPointF& point)
{
    setDoubleValue(valueWithPoint(point));
    sendActionWithCurrentEvent(true);
}

int32_t PvSliderCell::sendActionOn(int32_t mask)
{
    const int32_t old = m_sendActionMask;
    m_sendActionMask = mask;
    return old;
}

bool PvSliderCell::sendActionWithCurrentEvent(bool checkMask)
{
    PvControl* view = layoutView();
    if (!view)
        return false;
    int32_t bit = 0;
    switch (view->currentEvent().type) {
    case PvLeftMouseDown:
        bit = PvLeftMouseDownMask;
        break;
    case PvLeftMouseUp:
        bit = PvLeftMouseUpMask;
        break;
    case PvLeftMouseDragged:
        bit = PvLeftMouseDraggedMask;
        break;
    default:
        break;
    }
    if (checkMask && !(m_sendActionMask & bit))
        return false;
    sendAction(view);
    return true;
}

bool PvSliderCell::startTrackingAt(const QPointF& point, PvControl* view)
{
    m_altClicked = false;
    if (view)
        m_controlView = view;
    bool labelClick = false;
    if (!m_trackRect.contains(point)) {
        // A click in an end label area jumps to that end (valueWithPoint() clamps).
        if (!(m_cellFrame.contains(point) && m_labelClickSetsMinMaxValue
                && (m_minSideInset > 0 || m_maxSideInset > 0)))
            return false;
        labelClick = true;
    }
    if (!isEnabled())
        return false;
    const bool flipped = !layoutView() || layoutView()->isFlipped();
    const uint32_t flags = layoutView() ? layoutView()->currentEvent().modifierFlags : 0;
    auto showTip = [this] {
        if (m_toolTipObject)
            PvToolTipWindow::showToolTipWindowForView(
                layoutView(), m_toolTipObject, m_toolTipTag, QPointF(0, 0));
    };
    if (!labelClick && (flags & PvAlternateKeyMask) && m_altClickSetsDefaultValue) {
        setDoubleValue(m_defaultValue);
        sendActionWithCurrentEvent(false);
        m_altClicked = true;
        PvNotificationCenter::defaultCenter()->postNotification(PvStartTrackingNotification, this);
        showTip();
        return true;
    }
    m_state = 1;
    m_mouseOffset = 0;
    const QRectF knob = knobRectFlipped(flipped);
    QRectF hit = knob;
    hit.setX(knob.x() + m_thumbClickAreaLeftInset);
    hit.setWidth(knob.width() - (m_thumbClickAreaLeftInset + m_thumbClickAreaRightInset));
    if (!labelClick && hit.contains(point)) {
        // The knob was grabbed: the value stays and the knob keeps its distance to the mouse.
        const double k = knobThickness();
        const double offset = isVertical() ? point.y() - (knob.y() + k / 2) : point.x() - (knob.x() + k / 2);
        m_mouseOffset = float(isVertical() && flipped ? std::ceil(offset) : std::floor(offset));
        setNeedsDisplayInRect(knob);
    } else {
        setValueWithPoint(point);
    }
    PvNotificationCenter::defaultCenter()->postNotification(PvStartTrackingNotification, this);
    sendActionWithCurrentEvent(true);
    showTip();
    return true;
}

bool PvSliderCell::continueTracking(const QPointF& lastPoint, const QPointF& currentPoint, PvControl* view)
{
    PvControl* v = view ? view : layoutView();
    const bool shift = v && (v->currentEvent().modifierFlags & PvShiftKeyMask);
    if (m_altClicked) {
        // The reset holds until the mouse goes up.
    } else if (m_fineValueControlStep != 0 && shift) {
        const bool vertical = isVertical();
        const double d = vertical ? currentPoint.y() - lastPoint.y() : currentPoint.x() - lastPoint.x();
        if (d != 0) {
            const bool flipped = !v || v->isFlipped();
            const bool towardsMax = !vertical || !flipped ? d > 0 : d < 0;
            setDoubleValue(doubleValue() + (towardsMax ? m_fineValueControlStep : -m_fineValueControlStep));
            sendActionWithCurrentEvent(true);
        }
    } else {
        setValueWithPoint(currentPoint);
    }
    if (m_toolTipObject && v)
        PvToolTipWindow::updateToolTipPosition(v->convertToWidget(currentPoint), v);
    return true;
}

void PvSliderCell::stopTracking(const QPointF&, const QPointF&, PvControl*, bool)
{
    m_state = 0;
    if (!m_altClicked)
        sendActionWithCurrentEvent(true);
    setNeedsDisplay();
    PvNotificationCenter::defaultCenter()->postNotification(PvStopTrackingNotification, this);
    if (m_toolTipObject)
        PvToolTipWindow::closeToolTipWindow();
}

bool PvSliderCell::scrollWheel(const PvEvent& event, PvControl* view)
{
    if (view)
        m_controlView = view;
    double step = (maxValue() - minValue()) / 10.0;
    double delta = event.deltaY;
    if (event.modifierFlags & PvShiftKeyMask) {
        delta = event.deltaX;
        step *= 0.25;
    }
    delta = std::clamp(delta >= 0 ? std::ceil(delta) : std::floor(delta), -1.0, 1.0);
    if (delta > 0)
        setDoubleValue(doubleValue() + step);
    else if (delta < 0)
        setDoubleValue(doubleValue() - step);
    sendActionWithCurrentEvent(false);
    return true;
}
