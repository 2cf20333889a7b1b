#include "PvCellGroupControl.h"

#include <QFocusEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

// Frames that touch share their edge: a point on it belongs to the cell on its right
// (or below), never to both.
bool inside(const QRectF& frame, const QPointF& p)
{
    return p.x() >= frame.left() && p.x() < frame.right() && p.y() >= frame.top() && p.y() < frame.bottom();
}

} // namespace

PvCellGroupControl::PvCellGroupControl(QWidget* parent)
    : PvControl(parent)
    , m_window(window())
{
}

PvCellGroupControl::~PvCellGroupControl()
{
    // The cells go with the control; none may call back into it on the way.
    for (const auto& c : m_cells)
        if (auto* n = dynamic_cast<PvNumberEditorCell*>(c.get()))
            n->setDelegate(nullptr);
}

// ---- cells --------------------------------------------------------------------------

void PvCellGroupControl::addCell(std::unique_ptr<PvCell> cell, const QRectF& frame)
{
    if (!cell)
        return;
    PvCell* c = cell.get();
    adoptCell(c);
    m_cells.push_back(std::move(cell));
    m_cellFrames.push_back(frame);
    setUpAddedCellAttributes(c);
    updateGeometry();
    setNeedsDisplayInRect(frame);
}

void PvCellGroupControl::addCell(std::unique_ptr<PvCell> cell, const QSizeF& size)
{
    const QPointF origin = m_cellFrames.empty() ? QPointF(0, 0) : QPointF(m_cellFrames.back().right(), 0);
    addCell(std::move(cell), QRectF(origin, size));
}

void PvCellGroupControl::addCell(std::unique_ptr<PvCell> cell, qreal width)
{
    addCell(std::move(cell), QSizeF(width, height()));
}

void PvCellGroupControl::setUpAddedCellAttributes(PvCell* cell)
{
    auto* number = dynamic_cast<PvNumberEditorCell*>(cell);
    if (number) {
        if (m_backgroundColor.isValid())
            number->setBackgroundColor(m_backgroundColor);
        if (m_textColor.isValid())
            number->setTextColor(m_textColor);
        if (m_editBackgroundColor.isValid())
            number->setEditBackgroundColor(m_editBackgroundColor);
        if (m_editTextColor.isValid())
            number->setEditTextColor(m_editTextColor);
        number->setDrawsBackground(m_drawsBackground);
    }
    if (testAttribute(Qt::WA_SetFont))
        cell->setFont(font());
    cell->setAlignment(m_textAlignment);
    cell->setEnabled(isEnabled());
    cell->setControlSize(m_controlSize);
    if (number) {
        number->setDisablesFontSmoothing(m_disableFontSmoothing);
        number->setDelegate(this);
    }
}

void PvCellGroupControl::setFrameOfCell(const QRectF& frame, int index)
{
    if (index < 0 || index >= cellCount())
        return;
    setNeedsDisplayInRect(m_cellFrames[size_t(index)]);
    m_cellFrames[size_t(index)] = frame;
    setNeedsDisplayInRect(frame);
    updateGeometry();
}

void PvCellGroupControl::setSizeOfCell(const QSizeF& size, int index)
{
    if (index >= 0 && index < cellCount())
        setFrameOfCell(QRectF(m_cellFrames[size_t(index)].topLeft(), size), index);
}

void PvCellGroupControl::setWidthOfCell(qreal width, int index)
{
    if (index >= 0 && index < cellCount())
        setSizeOfCell(QSizeF(width, m_cellFrames[size_t(index)].height()), index);
}

void PvCellGroupControl::removeCellAtIndex(int index)
{
    if (index < 0 || index >= cellCount())
        return;
    PvCell* c = m_cells[size_t(index)].get();
    if (c == m_editingCell)
        stopEditingAndResignFirstResponder(false);
    if (m_mouseTrackingActive && c == m_mouseTrackingCell)
        cancelCellTracking();
    // The cell may have been removed while it reported its stop.
    index = indexOfCell(c);
    if (index < 0)
        return;
    const QRectF frame = m_cellFrames[size_t(index)];
    m_cells.erase(m_cells.begin() + index);
    m_cellFrames.erase(m_cellFrames.begin() + index);
    setNeedsDisplayInRect(frame);
    updateGeometry();
}

int PvCellGroupControl::indexOfCell(const PvCell* cell) const
{
    for (size_t i = 0; i < m_cells.size(); ++i)
        if (m_cells[i].get() == cell)
            return int(i);
    return -1;
}

PvCell* PvCellGroupControl::cellAtIndex(int index) const
{
    return index >= 0 && index < cellCount() ? m_cells[size_t(index)].get() : nullptr;
}

QRectF PvCellGroupControl::frameOfCell(const PvCell* cell) const
{
    const int index = indexOfCell(cell);
    return index < 0 ? QRectF() : m_cellFrames[size_t(index)];
}

PvCell* PvCellGroupControl::cellAtPoint(const QPointF& point, QRectF* frame) const
{
    for (size_t i = 0; i < m_cells.size(); ++i) {
        if (inside(m_cellFrames[i], point)) {
            if (frame)
                *frame = m_cellFrames[i];
            return m_cells[i].get();
        }
    }
    return nullptr;
}

void PvCellGroupControl::recalculateCellPositionsAndSizes()
{
    qreal x = 0;
    for (size_t i = 0; i < m_cells.size(); ++i) {
        const qreal w = m_cells[i]->cellSize().width();
        m_cellFrames[i] = QRectF(x, 0, w, height());
        x += w;
    }
    updateGeometry();
    update();
}

void PvCellGroupControl::recalculateCellPositions()
{
    qreal x = 0;
    for (QRectF& f : m_cellFrames) {
        f.moveLeft(x);
        x += f.width();
    }
    updateGeometry();
    update();
}

QSize PvCellGroupControl::sizeHint() const
{
    QRectF all;
    for (const QRectF& f : m_cellFrames)
        all |= f;
    return all.isEmpty() ? QWidget::sizeHint()
                         : QSize(int(std::ceil(all.right())), int(std::ceil(all.bottom())));
}

// ---- appearance ---------------------------------------------------------------------

void PvCellGroupControl::setBackgroundColor(const QColor& color)
{
    m_backgroundColor = color;
    forEachCell([&color](PvCell* c) {
        if (auto* n = dynamic_cast<PvNumberEditorCell*>(c))
            n->setBackgroundColor(color);
    });
    update();
}

void PvCellGroupControl::setEditBackgroundColor(const QColor& color)
{
    m_editBackgroundColor = color;
    forEachCell([&color](PvCell* c) {
        if (auto* n = dynamic_cast<PvNumberEditorCell*>(c))
            n->setEditBackgroundColor(color);
    });
}

void PvCellGroupControl::setTextColor(const QColor& color)
{
    m_textColor = color;
    forEachCell([&color](PvCell* c) {
        if (auto* n = dynamic_cast<PvNumberEditorCell*>(c))
            n->setTextColor(color);
    });
}

void PvCellGroupControl::setEditTextColor(const QColor& color)
{
    m_editTextColor = color;
    forEachCell([&color](PvCell* c) {
        if (auto* n = dynamic_cast<PvNumberEditorCell*>(c))
            n->setEditTextColor(color);
    });
}

void PvCellGroupControl::setFontSize(qreal size)
{
    QFont f = font();
    f.setPointSizeF(size);
    setFont(f); // handed to the cells by changeEvent()
}

void PvCellGroupControl::setAlignment(Qt::Alignment alignment)
{
    m_textAlignment = alignment;
    forEachCell([alignment](PvCell* c) { c->setAlignment(alignment); });
    update();
}

void PvCellGroupControl::setDrawsBackground(bool draws)
{
    m_drawsBackground = draws;
    forEachCell([draws](PvCell* c) {
        if (auto* n = dynamic_cast<PvNumberEditorCell*>(c))
            n->setDrawsBackground(draws);
    });
    update();
}

void PvCellGroupControl::setControlSize(PvCell::ControlSize size)
{
    m_controlSize = size;
    forEachCell([size](PvCell* c) { c->setControlSize(size); });
    update();
}

void PvCellGroupControl::setDisablesFontSmoothing(bool disable)
{
    m_disableFontSmoothing = disable;
    forEachCell([disable](PvCell* c) {
        if (auto* n = dynamic_cast<PvNumberEditorCell*>(c))
            n->setDisablesFontSmoothing(disable);
    });
}

void PvCellGroupControl::forEachCell(const std::function<void(PvCell*)>& f)
{
    for (const auto& c : m_cells)
        f(c.get());
}

// ---- editing ------------------------------------------------------------------------

bool PvCellGroupControl::canType(const PvCell* cell) const
{
    return dynamic_cast<const PvNumberEditorCell*>(cell) && cell->isEditable() && cell->isEnabled();
}

void PvCellGroupControl::startEditingForCell(PvCell* cell)
{
    auto* number = dynamic_cast<PvNumberEditorCell*>(cell);
    if (!number || indexOfCell(number) < 0 || !isEnabled() || !number->isEnabled() || !number->isEditable()
        || number == m_editingCell)
        return;
    if (m_editingCell)
        stopEditingAndResignFirstResponder(false);
    m_editingCell = number;
    number->startEditing();
    update();
}

void PvCellGroupControl::stopEditingAndResignFirstResponder(bool resign)
{
    if (!m_editingCell)
        return;
    PvNumberEditorCell* cell = m_editingCell;
    m_editingCell = nullptr;
    cell->stopEditingAndResignFirstResponder(resign);
    update();
}

void PvCellGroupControl::dfNumberEditorCellStoppedEditingWithReason(PvNumberEditorCell* cell, int reason)
{
    if (cell == m_editingCell)
        m_editingCell = nullptr;
    update();
    if (m_delegate)
        m_delegate->dfNumberEditorCellStoppedEditingWithReason(cell, reason);
}

void PvCellGroupControl::dfNumberEditorCellValueChanged(PvNumberEditorCell* cell)
{
    cell->sendAction(this);
}

bool PvCellGroupControl::isFirstResponder() const
{
    const QWidget* w = window();
    return w && w->focusWidget() == this;
}

bool PvCellGroupControl::makeFirstResponderWithoutStartingEditing()
{
    if (isFirstResponder())
        return true;
    const bool starts = m_becomeFirstResponderStartsEditing;
    m_becomeFirstResponderStartsEditing = false;
    setFocus(Qt::OtherFocusReason);
    m_becomeFirstResponderStartsEditing = starts;
    return isFirstResponder();
}

void PvCellGroupControl::focusInEvent(QFocusEvent* event)
{
    PvControl::focusInEvent(event);
    const bool forward = event->reason() == Qt::TabFocusReason;
    if (!m_becomeFirstResponderStartsEditing || m_editingCell
        || (!forward && event->reason() != Qt::BacktabFocusReason))
        return;
    // Coming in by Tab starts typing in the first field, by Back-tab in the last.
    const int n = cellCount();
    for (int k = 0; k < n; ++k) {
        PvCell* c = m_cells[size_t(forward ? k : n - 1 - k)].get();
        if (canType(c)) {
            startEditingForCell(c);
            break;
        }
    }
}

void PvCellGroupControl::focusOutEvent(QFocusEvent* event)
{
    // A window that goes to the background keeps its focus widget, and so its typing.
    if (event->reason() != Qt::ActiveWindowFocusReason && event->reason() != Qt::PopupFocusReason)
        stopEditingAndResignFirstResponder(false);
    update();
    PvControl::focusOutEvent(event);
}

void PvCellGroupControl::changeEvent(QEvent* event)
{
    switch (event->type()) {
    case QEvent::ParentChange:
        if (window() != m_window) {
            stopEditingAndResignFirstResponder(false);
            m_window = window();
        }
        break;
    case QEvent::EnabledChange:
        if (!isEnabled())
            stopEditingAndResignFirstResponder(false);
        break;
    case QEvent::FontChange:
        if (testAttribute(Qt::WA_SetFont)) {
            const QFont f = font();
            forEachCell([&f](PvCell* c) { c->setFont(f); });
        }
        break;
    default:
        break;
    }
    PvControl::changeEvent(event);
}

// ---- input --------------------------------------------------------------------------

QPointF PvCellGroupControl::lastPointOf(const PvEvent& event, const QPointF& current) const
{
    // deltaY counts down the screen: up in the coordinates of a flipped control.
    return QPointF(
        current.x() - event.deltaX, isFlipped() ? current.y() - event.deltaY : current.y() + event.deltaY);
}

void PvCellGroupControl::endMouseTracking()
{
    m_mouseTrackingActive = false;
    m_mouseTrackingCell = nullptr;
}

void PvCellGroupControl::cancelCellTracking()
{
    if (!m_mouseTrackingActive)
        return;
    PvCell* cell = m_mouseTrackingCell;
    const QPointF p = currentEvent().location - m_mouseTrackingCellFrame.topLeft();
    endMouseTracking();
    cell->stopTracking(p, p, this, false);
}

void PvCellGroupControl::hideEvent(QHideEvent* event)
{
    // A hidden control gets no release: the tracked cell stops here.
    cancelCellTracking();
    PvControl::hideEvent(event);
}

void PvCellGroupControl::mouseDown(const PvEvent& event)
{
    m_mouseIsDown = true;
    mouseButtonWentDown(event);
    // By index, as a cell's handling may change the cells.
    for (int i = 0; i < cellCount(); ++i) {
        PvCell* c = m_cells[size_t(i)].get();
        const QRectF frame = m_cellFrames[size_t(i)];
        if (inside(frame, event.location) && c->isEditable() && c->isEnabled()
            && willStartTrackingCellWithIndex(i))
            cellMouseEventHandling(c, frame, event);
    }
}

void PvCellGroupControl::cellMouseEventHandling(PvCell* cell, const QRectF& frame, const PvEvent& event)
{
    const QPointF p = event.location - frame.topLeft();
    if (event.clickCount == 2) {
        if (makeFirstResponderWithoutStartingEditing()) {
            if (cell == m_editingCell)
                stopEditingAndResignFirstResponder(true);
            else
                startEditingForCell(cell);
        }
        return;
    }
    if (cell->startTrackingAt(p, this)) {
        m_mouseTrackingEventNumber = event.eventNumber;
        m_mouseTrackingCell = cell;
        m_mouseTrackingCellFrame = frame;
        m_mouseTrackingActive = true;
    }
}

void PvCellGroupControl::mouseDragged(const PvEvent& event)
{
    if (!m_mouseTrackingActive || event.eventNumber != m_mouseTrackingEventNumber)
        return;
    PvCell* cell = m_mouseTrackingCell;
    const QPointF current = event.location - m_mouseTrackingCellFrame.topLeft();
    const QPointF last = lastPointOf(event, current);
    if (!cell->continueTracking(last, current, this) && m_mouseTrackingCell == cell) {
        endMouseTracking();
        cell->stopTracking(last, current, this, false);
    }
}

void PvCellGroupControl::mouseUp(const PvEvent& event)
{
    m_mouseIsDown = false;
    if (m_mouseTrackingActive) {
        PvCell* cell = m_mouseTrackingCell;
        const QPointF current = event.location - m_mouseTrackingCellFrame.topLeft();
        const bool ours = event.eventNumber == m_mouseTrackingEventNumber;
        endMouseTracking();
        // The release of another press still ends the tracking, so that every start the
        // cell accepted gets its stop; only the release of its own press counts as up.
        cell->stopTracking(lastPointOf(event, current), current, this, ours);
    }
    mouseButtonWentUp(event);
}

bool PvCellGroupControl::scrollWheel(const PvEvent& event)
{
    for (size_t i = 0; i < m_cells.size(); ++i) {
        if (!inside(m_cellFrames[i], event.location))
            continue;
        PvCell* c = m_cells[i].get();
        PvEvent local = event;
        local.location = event.location - m_cellFrames[i].topLeft();
        if (!c->isEditable() || !c->scrollWheel(local, this))
            return false;
        scrollWheelWasMoved(event);
        return true;
    }
    return false;
}

int PvCellGroupControl::nextEditableIndex(int from, int step) const
{
    const int n = cellCount();
    for (int k = 1; k <= n; ++k) {
        const int i = ((from + k * step) % n + n) % n;
        if (canType(m_cells[size_t(i)].get()))
            return i;
    }
    return -1;
}

bool PvCellGroupControl::keyDown(const PvEvent& event)
{
    const char16_t ch = event.character;
    const bool arrow = ch == PvLeftArrowFunctionKey || ch == PvRightArrowFunctionKey;
    if (ch == 9)
        return false; // focus navigation
    if (m_editingCell) {
        if (arrow) {
            const int current = indexOfCell(m_editingCell);
            const int next = nextEditableIndex(current, ch == PvLeftArrowFunctionKey ? -1 : 1);
            if (next < 0 || next == current)
                return false;
            // The cell commits its typing and reports the arrow as its reason to stop.
            m_editingCell->keyDown(event, this);
            startEditingForCell(m_cells[size_t(next)].get());
            return true;
        }
        // Return, Enter, Back-tab and every other key belong to the cell being typed in.
        m_editingCell->keyDown(event, this);
        keyInEditorWasPressed(event);
        return true;
    }
    if (ch == 13 || ch == 3 || arrow) {
        if (!m_cells.empty() && (!arrow || cellCount() > 1))
            startEditingForCell(m_cells.front().get());
        return true;
    }
    return false;
}

// ---- drawing ------------------------------------------------------------------------

void PvCellGroupControl::drawRect(QPainter& painter, const QRectF& dirtyRect)
{
    if (m_drawsBackground && m_backgroundColor.isValid())
        painter.fillRect(QRectF(0, 0, width(), height()), m_backgroundColor);
    for (size_t i = 0; i < m_cells.size(); ++i)
        if (m_cellFrames[i].intersects(dirtyRect))
            m_cells[i]->drawWithFrame(painter, m_cellFrames[i], this);
}
