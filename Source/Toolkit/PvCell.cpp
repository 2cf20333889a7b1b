#include "PvCell.h"

#include "PvControl.h"

#include <QApplication>
#include <QPainter>
#include <cmath>

namespace {

// Whether point lies in frame; an empty frame (no tracking frame given) holds every point.
bool insideOrNoFrame(const QRectF& frame, const QPointF& point)
{
    return frame.isEmpty() || frame.contains(point);
}

// Text margins of a cell at each control size, in points.
constexpr qreal kHorizontalMargin[] = {4.0, 3.0, 2.0};
constexpr qreal kVerticalMargin[] = {2.0, 1.5, 1.0};

} // namespace

// A matrix makes its cells by the hundred thousand; keep a plain one this small.
static_assert(sizeof(PvCell) <= 72);

PvCell::PvCell() = default;

PvCell::PvCell(const QString& text)
    : m_value(text)
{
}

PvCell::PvCell(const PvCell& other)
    : m_value(other.m_value)
    , m_extras(other.m_extras ? std::make_unique<Extras>(*other.m_extras) : nullptr)
    , m_sendActionMask(other.m_sendActionMask)
    , m_state(other.m_state)
    , m_controlSize(other.m_controlSize)
    , m_alignment(other.m_alignment)
    , m_allowsMixedState(other.m_allowsMixedState)
    , m_highlighted(other.m_highlighted)
    , m_enabled(other.m_enabled)
    , m_editable(other.m_editable)
    , m_continuous(other.m_continuous)
{
    setControlView(other.controlView()); // a copy belongs to no control yet
}

PvCell::~PvCell() = default;

std::unique_ptr<PvCell> PvCell::clone() const
{
    auto copy = std::make_unique<PvCell>();
    copySettingsTo(*copy);
    return copy;
}

void PvCell::copySettingsTo(PvCell& other) const
{
    other.m_state = m_state;
    other.m_allowsMixedState = m_allowsMixedState;
    other.m_enabled = m_enabled;
    other.m_editable = m_editable;
    other.m_continuous = m_continuous;
    other.m_value = m_value;
    other.m_alignment = m_alignment;
    other.m_controlSize = m_controlSize;
    other.m_sendActionMask = m_sendActionMask;
    if (m_extras) {
        const QPointer<PvControl> view = other.m_extras ? other.m_extras->view : nullptr; // other's own
        other.extras() = *m_extras;
        other.m_extras->view = view;
        other.m_extras->trackingFrame = QRectF();
    } else if (other.m_extras) {
        const QPointer<PvControl> view = other.m_extras->view;
        *other.m_extras = Extras();
        other.m_extras->view = view;
    }
}

PvCell::Extras& PvCell::extras()
{
    if (!m_extras)
        m_extras = std::make_unique<Extras>();
    return *m_extras;
}

void PvCell::setState(int state)
{
    int s = state == OffState ? OffState : OnState;
    if (state == MixedState && m_allowsMixedState)
        s = MixedState;
    if (s != m_state) {
        m_state = int8_t(s);
        setNeedsDisplay();
    }
}

void PvCell::setHighlighted(bool highlighted)
{
    if (highlighted != m_highlighted) {
        m_highlighted = highlighted;
        setNeedsDisplay();
    }
}

void PvCell::setEnabled(bool enabled)
{
    if (enabled != m_enabled) {
        m_enabled = enabled;
        setNeedsDisplay();
    }
}

void PvCell::setObjectValue(QVariant value)
{
    // The old value goes out with the argument: swapping writes no moved-from state, which
    // costs a noticeable share of filling a list of many cells.
    m_value.swap(value);
    setNeedsDisplay();
}

QString PvCell::stringValue() const
{
    return m_value.toString();
}

double PvCell::doubleValue() const
{
    bool ok = false;
    const double d = m_value.toDouble(&ok);
    return ok ? d : 0.0;
}

int PvCell::intValue() const
{
    return int(doubleValue());
}

int32_t PvCell::sendActionOn(int32_t mask)
{
    const int32_t old = m_sendActionMask;
    m_sendActionMask = mask;
    return old;
}

bool PvCell::sendAction(PvControl* view)
{
    if (!view)
        return false;
    if (!m_extras || m_extras->action.isEmpty())
        return view->sendAction(view->action(), view->target());
    return view->sendAction(m_extras->action, m_extras->target);
}

PvControl* PvCell::controlView() const
{
    if (m_viewOwnsCell || !m_controlView)
        return m_controlView;
    return m_extras ? m_extras->view.data() : nullptr;
}

void PvCell::setControlView(PvControl* view)
{
    if (view == m_controlView && (m_viewOwnsCell || !view)) // told on every draw
        return;
    m_controlView = view;
    m_viewOwnsCell = false;
    if (view)
        extras().view = view;
    else if (m_extras)
        m_extras->view = nullptr;
}

void PvCell::setOwningView(PvControl* view)
{
    m_controlView = view;
    m_viewOwnsCell = view != nullptr;
    if (m_extras)
        m_extras->view = nullptr;
}

void PvCell::setNeedsDisplay()
{
    if (PvControl* view = controlView())
        view->updateCell(this);
}

void PvCell::drawWithFrame(QPainter& painter, const QRectF& frame, PvControl* view)
{
    setControlView(view);
    if (m_highlighted || m_state != OffState) {
        const QPalette& pal = view ? view->palette() : QApplication::palette();
        QColor fill = pal.color(m_enabled ? QPalette::Active : QPalette::Disabled, QPalette::Highlight);
        if (m_highlighted && m_state != OffState)
            fill = fill.darker(115);
        else if (m_highlighted)
            fill.setAlphaF(0.6f);
        painter.fillRect(frame, fill);
    }
    drawInteriorWithFrame(painter, frame, view);
}

void PvCell::drawInteriorWithFrame(QPainter& painter, const QRectF& frame, PvControl* view)
{
    const QString text = stringValue();
    if (text.isEmpty())
        return;
    const QPalette& pal = view ? view->palette() : QApplication::palette();
    const bool selected = m_highlighted || m_state != OffState;
    const QPalette::ColorGroup group = m_enabled ? QPalette::Active : QPalette::Disabled;
    painter.save();
    painter.setFont(hasFont() ? *m_extras->font : (view ? view->font() : QApplication::font()));
    painter.setPen(pal.color(group, selected ? QPalette::HighlightedText : QPalette::Text));
    const qreal hm = kHorizontalMargin[m_controlSize];
    const qreal vm = kVerticalMargin[m_controlSize];
    const QRectF box = pv_uprightRect(painter, frame);
    painter.drawText(box.adjusted(hm, vm, -hm, -vm), int(m_alignment) | Qt::TextSingleLine, text);
    painter.restore();
}

QSizeF PvCell::cellSize() const
{
    QFont f = hasFont() ? *m_extras->font : (controlView() ? controlView()->font() : QApplication::font());
    const QFontMetricsF fm(f);
    const qreal hm = kHorizontalMargin[m_controlSize];
    const qreal vm = kVerticalMargin[m_controlSize];
    return QSizeF(std::ceil(fm.horizontalAdvance(stringValue()) + 2 * hm), std::ceil(fm.height() + 2 * vm));
}

bool PvCell::startTrackingAt(const QPointF& point, PvControl* view)
{
    if (!m_enabled)
        return false;
    setHighlighted(insideOrNoFrame(trackingFrame(), point));
    if (m_sendActionMask & PvLeftMouseDownMask)
        sendAction(view);
    return true;
}

bool PvCell::continueTracking(const QPointF&, const QPointF& currentPoint, PvControl* view)
{
    setHighlighted(insideOrNoFrame(trackingFrame(), currentPoint));
    if (m_continuous || (m_sendActionMask & PvLeftMouseDraggedMask))
        sendAction(view);
    return true;
}

void PvCell::stopTracking(const QPointF&, const QPointF& stopPoint, PvControl* view, bool mouseIsUp)
{
    setHighlighted(false);
    const bool inside = insideOrNoFrame(trackingFrame(), stopPoint);
    if (mouseIsUp && inside && (m_sendActionMask & PvLeftMouseUpMask))
        sendAction(view);
}

bool PvCell::trackMouse(const PvEvent& event, const QRectF& frame, PvControl* view, bool untilMouseUp)
{
    if (!view)
        return false;
    setControlView(view);
    extras().trackingFrame = frame;
    return view->trackCell(this, event, frame, untilMouseUp);
}

bool PvCell::scrollWheel(const PvEvent&, PvControl*)
{
    return false;
}

bool PvCell::keyDown(const PvEvent& event, PvControl* view)
{
    if (event.key == Qt::Key_Space && !event.isAutoRepeat && m_enabled) {
        performClick(view);
        return true;
    }
    return false;
}

void PvCell::performClick(PvControl* view)
{
    if (!m_enabled)
        return;
    setControlView(view);
    sendAction(view);
}
