#include "PvNumberEditorCell.h"

#include "PvControl.h"
#include "PvNotificationCenter.h"

#include <QApplication>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

// Points of vertical drag per step of the value.
constexpr double kDragPointsPerStep = 4.0;
// Text margins inside the frame, in points.
constexpr qreal kHorizontalMargin = 3.0;
constexpr qreal kVerticalMargin = 1.0;

int shiftFactor(uint32_t modifierFlags)
{
    return (modifierFlags & PvShiftKeyMask) ? 10 : 1;
}

} // namespace

PvNumberEditorCell::PvNumberEditorCell()
    : PvNumberEditorCell(0, 0, 99)
{
}

PvNumberEditorCell::PvNumberEditorCell(int value, int minimum, int maximum, int minimumDigits)
    : m_minimum(std::min(minimum, maximum))
    , m_maximum(std::max(minimum, maximum))
    , m_minimumDigits(std::max(1, minimumDigits))
{
    setEditable(true);
    setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    setValue(value);
}

PvNumberEditorCell::~PvNumberEditorCell() = default;

std::unique_ptr<PvCell> PvNumberEditorCell::clone() const
{
    auto copy = std::make_unique<PvNumberEditorCell>(value(), m_minimum, m_maximum, m_minimumDigits);
    copySettingsTo(*copy);
    copy->m_formatter = m_formatter;
    copy->m_backgroundColor = m_backgroundColor;
    copy->m_editBackgroundColor = m_editBackgroundColor;
    copy->m_textColor = m_textColor;
    copy->m_editTextColor = m_editTextColor;
    copy->m_drawsBackground = m_drawsBackground;
    copy->m_disablesFontSmoothing = m_disablesFontSmoothing;
    return copy;
}

void PvNumberEditorCell::setObjectValue(QVariant value)
{
    bool ok = false;
    const double d = value.toDouble(&ok);
    if (!ok || !std::isfinite(d))
        return;
    PvCell::setObjectValue(int(std::clamp(std::round(d), double(m_minimum), double(m_maximum))));
}

void PvNumberEditorCell::setRange(int minimum, int maximum)
{
    m_minimum = std::min(minimum, maximum);
    m_maximum = std::max(minimum, maximum);
    setValue(value());
}

void PvNumberEditorCell::setMinimumDigits(int digits)
{
    m_minimumDigits = std::max(1, digits);
    setNeedsDisplay();
}

void PvNumberEditorCell::setFormatter(Formatter formatter)
{
    m_formatter = std::move(formatter);
    setNeedsDisplay();
}

QString PvNumberEditorCell::textForValue(int value) const
{
    if (m_formatter) {
        const QString text = m_formatter(value);
        if (!text.isEmpty())
            return text;
    }
    const QString digits = QString::number(std::abs(qint64(value))).rightJustified(m_minimumDigits, u'0');
    return value < 0 ? QStringLiteral("-") + digits : digits;
}

QString PvNumberEditorCell::displayText() const
{
    return m_editing && !m_typed.isEmpty() ? m_typed : textForValue(value());
}

void PvNumberEditorCell::setBackgroundColor(const QColor& c)
{
    m_backgroundColor = c;
    setNeedsDisplay();
}

void PvNumberEditorCell::setEditBackgroundColor(const QColor& c)
{
    m_editBackgroundColor = c;
    setNeedsDisplay();
}

void PvNumberEditorCell::setTextColor(const QColor& c)
{
    m_textColor = c;
    setNeedsDisplay();
}

void PvNumberEditorCell::setEditTextColor(const QColor& c)
{
    m_editTextColor = c;
    setNeedsDisplay();
}

void PvNumberEditorCell::setDrawsBackground(bool draws)
{
    m_drawsBackground = draws;
    setNeedsDisplay();
}

void PvNumberEditorCell::setDisablesFontSmoothing(bool disable)
{
    m_disablesFontSmoothing = disable;
    setNeedsDisplay();
}

// ---- changes ------------------------------------------------------------------------

void PvNumberEditorCell::reportChange()
{
    if (m_delegate)
        m_delegate->dfNumberEditorCellValueChanged(this);
    else if (PvControl* view = controlView())
        sendAction(view);
}

void PvNumberEditorCell::stepBy(int delta)
{
    if (m_editing)
        commitTyped();
    if (delta == 0 || !isEnabled())
        return;
    if (m_delegate && m_delegate->dfNumberEditorCellStepBy(this, delta))
        return;
    const int before = value();
    setValue(int(std::clamp(qint64(before) + delta, qint64(m_minimum), qint64(m_maximum))));
    if (value() != before)
        reportChange();
}

bool PvNumberEditorCell::commitTyped()
{
    if (m_typed.isEmpty())
        return true;
    bool ok = false;
    const qlonglong typed = m_typed.toLongLong(&ok);
    m_typed.clear();
    setNeedsDisplay();
    if (!ok || typed < m_minimum || typed > m_maximum) {
        QApplication::beep();
        return false;
    }
    if (typed != value()) {
        setValue(int(typed));
        reportChange();
    }
    return true;
}

// ---- editing ------------------------------------------------------------------------

void PvNumberEditorCell::startEditing()
{
    if (m_editing || !isEnabled())
        return;
    m_editing = true;
    m_typed.clear();
    m_valueBeforeEditing = value();
    setNeedsDisplay();
}

void PvNumberEditorCell::finishEditing(StopReason reason)
{
    if (!m_editing)
        return;
    m_editing = false;
    m_typed.clear();
    setNeedsDisplay();
    if (m_delegate)
        m_delegate->dfNumberEditorCellStoppedEditingWithReason(this, reason);
}

void PvNumberEditorCell::stopEditingAndResignFirstResponder(bool resign)
{
    if (!m_editing)
        return;
    commitTyped();
    QPointer<PvControl> view = controlView();
    finishEditing(FocusLossStop);
    if (resign && view)
        view->clearFocus();
}

// ---- drawing ------------------------------------------------------------------------

void PvNumberEditorCell::drawWithFrame(QPainter& painter, const QRectF& frame, PvControl* view)
{
    setControlView(view);
    const QPalette& pal = view ? view->palette() : QApplication::palette();
    const bool enabled = isEnabled() && (!view || view->isEnabled());
    const QPalette::ColorGroup group = enabled ? QPalette::Active : QPalette::Disabled;
    painter.save();
    if (m_editing)
        painter.fillRect(frame,
            m_editBackgroundColor.isValid() ? m_editBackgroundColor : pal.color(group, QPalette::Highlight));
    else if (m_drawsBackground)
        painter.fillRect(
            frame, m_backgroundColor.isValid() ? m_backgroundColor : pal.color(group, QPalette::Base));
    QColor ink;
    if (m_editing)
        ink = m_editTextColor.isValid() ? m_editTextColor : pal.color(group, QPalette::HighlightedText);
    else
        ink = m_textColor.isValid() ? m_textColor : pal.color(group, QPalette::Text);
    if (!enabled && (m_textColor.isValid() || m_editTextColor.isValid()))
        ink.setAlphaF(ink.alphaF() * 0.45f);
    QFont f = hasFont() ? font() : (view ? view->font() : QApplication::font());
    if (m_disablesFontSmoothing)
        f.setStyleStrategy(QFont::NoAntialias);
    painter.setFont(f);
    painter.setPen(ink);
    const QRectF box
        = pv_uprightRect(painter, frame)
              .adjusted(kHorizontalMargin, kVerticalMargin, -kHorizontalMargin, -kVerticalMargin);
    QRectF used;
    painter.drawText(box, int(alignment()) | Qt::TextSingleLine, displayText(), &used);
    if (m_editing && !m_typed.isEmpty()) {
        // A caret after the typed text.
        const qreal x = std::min(used.right() + 1.0, box.right());
        painter.drawLine(QPointF(x, used.top()), QPointF(x, used.bottom()));
    }
    painter.restore();
}

QSizeF PvNumberEditorCell::cellSize() const
{
    const PvControl* view = controlView();
    const QFont f = hasFont() ? font() : (view ? view->font() : QApplication::font());
    const QFontMetricsF fm(f);
    const int digits = int(std::max(
        {QString::number(m_minimum).size(), QString::number(m_maximum).size(), qsizetype(m_minimumDigits)}));
    qreal width = fm.horizontalAdvance(QString(digits, u'0'));
    for (int v : {m_minimum, m_maximum})
        width = std::max(width, fm.horizontalAdvance(textForValue(v)));
    return QSizeF(std::ceil(width + 2 * kHorizontalMargin + 2), std::ceil(fm.height() + 2 * kVerticalMargin));
}

// ---- input --------------------------------------------------------------------------

bool PvNumberEditorCell::startTrackingAt(const QPointF&, PvControl* view)
{
    if (!isEnabled())
        return false;
    setControlView(view);
    if (m_editing)
        commitTyped();
    m_tracking = true;
    m_dragRest = 0;
    PvNotificationCenter::defaultCenter()->postNotification(PvStartTrackingNotification, this);
    return true;
}

bool PvNumberEditorCell::continueTracking(
    const QPointF& lastPoint, const QPointF& currentPoint, PvControl* view)
{
    // Upward movement steps up, whichever way the view's y axis grows.
    const bool flipped = !view || view->isFlipped();
    m_dragRest += flipped ? lastPoint.y() - currentPoint.y() : currentPoint.y() - lastPoint.y();
    const int steps = int(m_dragRest / kDragPointsPerStep);
    if (steps != 0) {
        m_dragRest -= steps * kDragPointsPerStep;
        stepBy(steps * shiftFactor(view ? view->currentEvent().modifierFlags : 0));
    }
    return true;
}

void PvNumberEditorCell::stopTracking(const QPointF&, const QPointF&, PvControl*, bool)
{
    if (!m_tracking)
        return;
    m_tracking = false;
    PvNotificationCenter::defaultCenter()->postNotification(PvStopTrackingNotification, this);
}

bool PvNumberEditorCell::scrollWheel(const PvEvent& event, PvControl* view)
{
    // With Shift the toolkit delivers a plain wheel's turn as horizontal movement.
    const double notches = event.deltaY != 0 ? event.deltaY : event.deltaX;
    if (!isEnabled() || notches == 0)
        return false;
    setControlView(view);
    int steps = int(std::lround(notches));
    if (steps == 0)
        steps = notches > 0 ? 1 : -1;
    stepBy(steps * shiftFactor(event.modifierFlags));
    return true;
}

bool PvNumberEditorCell::keyDown(const PvEvent& event, PvControl* view)
{
    if (!isEnabled())
        return false;
    if (view)
        setControlView(view);
    switch (event.character) {
    case PvUpArrowFunctionKey:
        stepBy(shiftFactor(event.modifierFlags));
        return true;
    case PvDownArrowFunctionKey:
        stepBy(-shiftFactor(event.modifierFlags));
        return true;
    default:
        break;
    }
    if (!m_editing)
        return false;
    switch (event.character) {
    case 13:
    case 3:
        if (commitTyped())
            finishEditing(ReturnStop);
        return true;
    case 27: {
        m_typed.clear();
        if (value() != m_valueBeforeEditing) {
            setValue(m_valueBeforeEditing);
            reportChange();
        }
        finishEditing(EscapeStop);
        return true;
    }
    case 9:
    case 0x19:
    case PvLeftArrowFunctionKey:
    case PvRightArrowFunctionKey: {
        const StopReason reason = event.character == 9  ? TabStop
            : event.character == 0x19                   ? BacktabStop
            : event.character == PvLeftArrowFunctionKey ? LeftArrowStop
                                                        : RightArrowStop;
        commitTyped();
        finishEditing(reason);
        return true;
    }
    case 8:
    case 127:
    case PvDeleteFunctionKey:
        if (!m_typed.isEmpty()) {
            m_typed.chop(1);
            setNeedsDisplay();
        }
        return true;
    default:
        break;
    }
    if (event.text.size() != 1 || !event.text.at(0).isPrint())
        return false;
    const QChar ch = event.text.at(0);
    const int longest = int(std::max(
        {QString::number(m_minimum).size(), QString::number(m_maximum).size(), qsizetype(m_minimumDigits)}));
    const bool digit = ch >= u'0' && ch <= u'9';
    const bool sign = ch == u'-' && m_typed.isEmpty() && m_minimum < 0;
    if ((digit || sign) && m_typed.size() < longest) {
        m_typed += ch;
        setNeedsDisplay();
    } else {
        QApplication::beep();
    }
    return true;
}
