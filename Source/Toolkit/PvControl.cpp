#include "PvControl.h"

#include "PvAccessibility_p.h"
#include "PvTargetAction.h"

#include <QEventLoop>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

PvControl::PvControl(QWidget* parent)
    : QWidget(parent)
{
    pv_installAccessibilityFactory();
    setFocusPolicy(Qt::StrongFocus);
}

PvControl::PvControl(std::unique_ptr<PvCell> cell, QWidget* parent)
    : PvControl(parent)
{
    setCell(std::move(cell));
}

PvControl::~PvControl()
{
    if (m_tracking.loop)
        m_tracking.loop->quit();
}

void PvControl::setCell(std::unique_ptr<PvCell> cell)
{
    if (m_tracking.cell && m_tracking.cell == m_cell.get())
        cancelTracking();
    m_cell = std::move(cell);
    if (m_cell) {
        m_cell->setControlView(this);
        m_cell->setEnabled(isEnabled());
    }
    updateGeometry();
    update();
}

PvCell* PvControl::cellAtPoint(const QPointF& point, QRectF* frame) const
{
    if (!m_cell || !QRectF(rect()).contains(point))
        return nullptr;
    if (frame)
        *frame = rect();
    return m_cell.get();
}

QRectF PvControl::frameOfCell(const PvCell* cell) const
{
    return cell && cell == m_cell.get() ? QRectF(rect()) : QRectF();
}

void PvControl::updateCell(const PvCell* cell)
{
    const QRectF f = frameOfCell(cell);
    if (!f.isEmpty())
        update(f.toAlignedRect());
}

double PvControl::doubleValue() const
{
    PvCell* c = selectedCell();
    return c ? c->doubleValue() : 0.0;
}

void PvControl::setDoubleValue(double value)
{
    if (PvCell* c = selectedCell())
        c->setDoubleValue(value);
}

QString PvControl::stringValue() const
{
    PvCell* c = selectedCell();
    return c ? c->stringValue() : QString();
}

void PvControl::setStringValue(const QString& value)
{
    if (PvCell* c = selectedCell())
        c->setStringValue(value);
}

int PvControl::intValue() const
{
    PvCell* c = selectedCell();
    return c ? c->intValue() : 0;
}

void PvControl::setIntValue(int value)
{
    if (PvCell* c = selectedCell())
        c->setIntValue(value);
}

QVariant PvControl::objectValue() const
{
    PvCell* c = selectedCell();
    return c ? c->objectValue() : QVariant();
}

void PvControl::setObjectValue(const QVariant& value)
{
    if (PvCell* c = selectedCell())
        c->setObjectValue(value);
}

bool PvControl::sendAction(const QByteArray& action, QObject* target)
{
    QPointer<PvControl> self(this);
    const bool sent = pv_sendAction(action, target, this);
    if (self)
        emit actionTriggered(this);
    return sent;
}

bool PvControl::trackCell(PvCell* cell, const PvEvent& event, const QRectF& frame, bool untilMouseUp)
{
    if (!cell || m_tracking.cell)
        return false;
    m_tracking = Tracking {cell, frame, event.location, untilMouseUp, false, nullptr};
    if (!cell->startTrackingAt(event.location, this)) {
        m_tracking = {};
        return false;
    }
    // startTrackingAt() may already have ended tracking (a nested loop of its own).
    if (m_tracking.cell != cell || !m_nestedTracking)
        return m_tracking.cell == cell || m_tracking.result;
    QPointer<PvControl> self(this);
    QEventLoop loop;
    m_tracking.loop = &loop;
    loop.exec();
    if (!self)
        return false;
    const bool result = m_tracking.result;
    m_tracking.loop = nullptr;
    return result;
}

void PvControl::cancelTracking()
{
    if (m_tracking.cell)
        endTracking(false, m_tracking.lastPoint);
}

void PvControl::endTracking(bool mouseIsUp, const QPointF& point)
{
    PvCell* cell = m_tracking.cell;
    const QPointF last = m_tracking.lastPoint;
    const bool inside = m_tracking.frame.contains(point);
    QEventLoop* loop = m_tracking.loop;
    // The tracking record is cleared before the cell's call so that the cell may start
    // a new tracking from it.
    m_tracking.cell = nullptr;
    m_tracking.result = m_tracking.untilMouseUp ? mouseIsUp : (mouseIsUp && inside);
    QPointer<PvControl> self(this);
    cell->stopTracking(last, point, this, mouseIsUp);
    if (!self)
        return;
    didStopTracking(cell, mouseIsUp, inside);
    if (loop)
        loop->quit();
}

void PvControl::didStopTracking(PvCell*, bool, bool)
{
}

void PvControl::sizeToFit()
{
    if (m_cell)
        resize(m_cell->cellSize().toSize());
}

QSize PvControl::sizeHint() const
{
    return m_cell ? m_cell->cellSize().toSize() : QWidget::sizeHint();
}

QAccessible::Role PvControl::accessibilityRole() const
{
    return m_cell ? m_cell->accessibilityRole() : QAccessible::Client;
}

QString PvControl::accessibilityName() const
{
    if (!accessibleName().isEmpty())
        return accessibleName();
    return m_cell ? m_cell->stringValue() : QString();
}

QString PvControl::accessibilityValue() const
{
    PvCell* c = selectedCell();
    return c ? c->objectValue().toString() : QString();
}

// ---- event translation ----------------------------------------------------------

namespace {

PvEvent mouseEvent(PvEventType type, const QMouseEvent* e, int clickCount, int number)
{
    PvEvent ev;
    ev.type = type;
    ev.location = e->position();
    ev.modifiers = e->modifiers();
    ev.clickCount = clickCount;
    ev.eventNumber = number;
    return ev;
}

} // namespace

void PvControl::press(QMouseEvent* event, int clickCount)
{
    if (event->button() == Qt::LeftButton) {
        m_currentEvent = mouseEvent(PvLeftMouseDown, event, clickCount, ++m_eventNumber);
        event->accept();
        mouseDown(m_currentEvent);
    } else if (event->button() == Qt::RightButton) {
        m_currentEvent = mouseEvent(PvRightMouseDown, event, clickCount, ++m_eventNumber);
        rightMouseDown(m_currentEvent);
    } else {
        event->ignore();
    }
}

void PvControl::mousePressEvent(QMouseEvent* event)
{
    press(event, 1);
}

void PvControl::mouseDoubleClickEvent(QMouseEvent* event)
{
    // Qt sends the second press of a double click and then this event; the press has been
    // handled, so only its click count changes. Without a press before it, it is the press.
    if (event->button() == Qt::LeftButton && m_currentEvent.type == PvLeftMouseDown) {
        m_currentEvent.clickCount = 2;
        return;
    }
    press(event, 2);
}

void PvControl::mouseMoveEvent(QMouseEvent* event)
{
    const bool dragging = event->buttons() & Qt::LeftButton;
    m_currentEvent = mouseEvent(
        dragging ? PvLeftMouseDragged : PvMouseMoved, event, m_currentEvent.clickCount, m_eventNumber);
    if (dragging)
        mouseDragged(m_currentEvent);
    else
        mouseMoved(m_currentEvent);
}

void PvControl::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    m_currentEvent = mouseEvent(PvLeftMouseUp, event, m_currentEvent.clickCount, m_eventNumber);
    mouseUp(m_currentEvent);
}

void PvControl::wheelEvent(QWheelEvent* event)
{
    PvEvent ev;
    ev.type = PvScrollWheel;
    ev.location = event->position();
    ev.modifiers = event->modifiers();
    ev.eventNumber = m_eventNumber;
    // 120 units of angle delta are one notch of a common wheel.
    ev.deltaX = event->angleDelta().x() / 120.0;
    ev.deltaY = event->angleDelta().y() / 120.0;
    if (event->inverted()) {
        ev.deltaX = -ev.deltaX;
        ev.deltaY = -ev.deltaY;
    }
    m_currentEvent = ev;
    event->setAccepted(scrollWheel(ev));
}

void PvControl::keyPressEvent(QKeyEvent* event)
{
    PvEvent ev;
    ev.type = PvKeyDown;
    ev.modifiers = event->modifiers();
    ev.key = event->key();
    ev.text = event->text();
    ev.isAutoRepeat = event->isAutoRepeat();
    ev.eventNumber = m_eventNumber;
    m_currentEvent = ev;
    if (!keyDown(ev))
        QWidget::keyPressEvent(event);
}

void PvControl::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::EnabledChange) {
        const bool enabled = isEnabled();
        if (!enabled)
            cancelTracking();
        forEachCell([enabled](PvCell* c) { c->setEnabled(enabled); });
        update();
    }
    QWidget::changeEvent(event);
}

void PvControl::hideEvent(QHideEvent* event)
{
    // A hidden control gets no release: tracking (and a tracking loop) ends here.
    cancelTracking();
    QWidget::hideEvent(event);
}

void PvControl::forEachCell(const std::function<void(PvCell*)>& f)
{
    if (m_cell)
        f(m_cell.get());
}

// ---- default behaviour ----------------------------------------------------------

void PvControl::mouseDown(const PvEvent& event)
{
    QRectF frame;
    PvCell* c = cellAtPoint(event.location, &frame);
    if (!c || !c->isEnabled())
        return;
    c->trackMouse(event, frame, this, false);
}

void PvControl::mouseDragged(const PvEvent& event)
{
    if (!m_tracking.cell)
        return;
    const QPointF last = m_tracking.lastPoint;
    m_tracking.lastPoint = event.location;
    PvCell* cell = m_tracking.cell;
    QPointer<PvControl> self(this);
    const bool goOn = cell->continueTracking(last, event.location, this);
    if (!self || m_tracking.cell != cell)
        return;
    if (!goOn)
        endTracking(false, event.location);
}

void PvControl::mouseUp(const PvEvent& event)
{
    if (m_tracking.cell)
        endTracking(true, event.location);
}

void PvControl::mouseMoved(const PvEvent&)
{
}

void PvControl::rightMouseDown(const PvEvent&)
{
}

bool PvControl::scrollWheel(const PvEvent& event)
{
    PvCell* c = cellAtPoint(event.location);
    if (!c)
        c = selectedCell();
    return c && c->isEnabled() && c->scrollWheel(event, this);
}

bool PvControl::keyDown(const PvEvent& event)
{
    PvCell* c = selectedCell();
    return c && c->keyDown(event, this);
}

void PvControl::drawRect(QPainter& painter, const QRectF&)
{
    if (m_cell)
        m_cell->drawWithFrame(painter, rect(), this);
}

void PvControl::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    drawRect(painter, event->rect());
}
