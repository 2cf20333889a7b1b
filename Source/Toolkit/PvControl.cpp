#include "PvControl.h"

#include "PvAccessibility_p.h"
#include "PvTargetAction.h"

#include <QEventLoop>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QStyleHints>
#include <QToolTip>
#include <QWheelEvent>

#include <cmath>

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
    if (m_cell)
        adoptCell(m_cell.get());
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
    if (m_cellUpdateHold > 0) {
        m_cellUpdatePending = true;
        return;
    }
    if (!isVisible())
        return; // nothing to redraw; a control filled before it is shown pays nothing
    const QRectF f = frameOfCell(cell);
    if (!f.isEmpty())
        setNeedsDisplayInRect(f);
}

void PvControl::releaseCellUpdates()
{
    if (m_cellUpdateHold > 0 && --m_cellUpdateHold == 0 && m_cellUpdatePending) {
        m_cellUpdatePending = false;
        update();
    }
}

void PvControl::adoptCell(PvCell* cell)
{
    if (!cell)
        return;
    cell->setOwningView(this);
    if (!isEnabled())
        cell->setEnabled(false);
}

QPointF PvControl::convertFromWidget(const QPointF& point) const
{
    return isFlipped() ? point : QPointF(point.x(), height() - point.y());
}

QRectF PvControl::convertFromWidget(const QRectF& rect) const
{
    if (isFlipped())
        return rect;
    return QRectF(rect.x(), height() - rect.y() - rect.height(), rect.width(), rect.height());
}

void PvControl::setNeedsDisplayInRect(const QRectF& rect)
{
    update(convertToWidget(rect).toAlignedRect());
}

QRectF pv_uprightRect(QPainter& painter, const QRectF& rect)
{
    if (painter.worldTransform().m22() >= 0)
        return rect;
    // Mirror about the rectangle's own horizontal centre line, so it covers the same area
    // with y growing downward again.
    painter.translate(0, rect.top() + rect.bottom());
    painter.scale(1, -1);
    return rect;
}

// ---- tool-tip areas ---------------------------------------------------------------

int PvControl::addToolTipRect(const QRectF& rect, PvToolTipOwner* owner, const QVariant& userData)
{
    const int tag = m_nextToolTipTag++;
    if (m_nextToolTipTag <= 0)
        m_nextToolTipTag = 1;
    m_toolTips.push_back(ToolTipArea {tag, rect, owner, userData});
    return tag;
}

void PvControl::removeToolTip(int tag)
{
    std::erase_if(m_toolTips, [tag](const ToolTipArea& a) { return a.tag == tag; });
}

void PvControl::removeAllToolTips()
{
    m_toolTips.clear();
}

bool PvControl::showToolTip(QHelpEvent* event)
{
    const QPointF p = convertFromWidget(QPointF(event->pos()));
    for (auto it = m_toolTips.rbegin(); it != m_toolTips.rend(); ++it) {
        if (!it->rect.contains(p) || !it->owner)
            continue;
        const ToolTipArea area = *it; // the owner may remove the area while answering
        const QString text = area.owner->viewStringForToolTip(this, area.tag, p, area.userData);
        if (text.isEmpty())
            QToolTip::hideText();
        else
            QToolTip::showText(event->globalPos(), text, this, convertToWidget(area.rect).toAlignedRect());
        return true;
    }
    return false;
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
    m_pending = {};
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
    m_pending = {};
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
    // A cell that stopped because the mouse left its frame tracks again if it comes back.
    if (!mouseIsUp && !m_tracking.untilMouseUp && !inside)
        m_pending = PendingPress {cell, m_tracking.frame, m_currentEvent.eventNumber};
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

PvEvent PvControl::eventFromMouse(PvEventType type, const QMouseEvent* e) const
{
    PvEvent ev;
    ev.type = type;
    ev.location = convertFromWidget(e->position());
    ev.modifiers = e->modifiers();
    ev.modifierFlags = pv_modifierFlagsForQt(e->modifiers());
    ev.clickCount = m_currentEvent.clickCount;
    ev.eventNumber = m_eventNumber;
    return ev;
}

PvEvent PvControl::eventFromKey(PvEventType type, const QKeyEvent* e) const
{
    PvEvent ev;
    ev.type = type;
    ev.modifiers = e->modifiers();
    ev.modifierFlags = pv_modifierFlagsForQt(e->modifiers());
    ev.key = e->key();
    ev.text = e->text();
    ev.character = pv_keyCharacterForQtKey(e->key(), e->text(), e->modifiers());
    ev.isAutoRepeat = e->isAutoRepeat();
    ev.eventNumber = m_eventNumber;
    return ev;
}

void PvControl::press(QMouseEvent* event)
{
    const Qt::MouseButton button = event->button();
    if (button != Qt::LeftButton && button != Qt::RightButton) {
        event->ignore();
        return;
    }
    // Presses count up while each follows the last within the platform's double-click
    // interval and distance, with the same button.
    const QStyleHints* hints = QGuiApplication::styleHints();
    const QPointF global = event->globalPosition();
    const QPointF moved = global - m_clicks.globalPosition;
    const bool continues = m_clicks.count > 0 && button == m_clicks.button
        && event->timestamp() - m_clicks.timestamp < ulong(hints->mouseDoubleClickInterval())
        && std::abs(moved.x()) + std::abs(moved.y()) <= hints->mouseDoubleClickDistance();
    m_clicks = ClickHistory {event->timestamp(), global, button, continues ? m_clicks.count + 1 : 1};
    m_lastGlobalPosition = global;
    m_pending = {};
    ++m_eventNumber;
    m_currentEvent = eventFromMouse(button == Qt::LeftButton ? PvLeftMouseDown : PvRightMouseDown, event);
    m_currentEvent.clickCount = m_clicks.count;
    event->accept();
    if (button == Qt::LeftButton)
        mouseDown(m_currentEvent);
    else
        rightMouseDown(m_currentEvent);
}

void PvControl::mousePressEvent(QMouseEvent* event)
{
    press(event);
}

void PvControl::mouseDoubleClickEvent(QMouseEvent* event)
{
    // The window system sends this after the second press, which press() has counted
    // already. Only a double click without its press (synthesised by a host) is a press.
    if (m_clicks.count >= 2 && event->timestamp() == m_clicks.timestamp
        && event->button() == m_clicks.button) {
        event->accept();
        return;
    }
    press(event);
    if (m_currentEvent.clickCount < 2) {
        m_clicks.count = 2;
        m_currentEvent.clickCount = 2;
    }
}

void PvControl::mouseMoveEvent(QMouseEvent* event)
{
    const bool left = event->buttons() & Qt::LeftButton;
    const bool right = !left && (event->buttons() & Qt::RightButton);
    m_currentEvent = eventFromMouse(left ? PvLeftMouseDragged
            : right                      ? PvRightMouseDragged
                                         : PvMouseMoved,
        event);
    const QPointF global = event->globalPosition();
    if (left || right) {
        // Movement since the previous event of the press: right and down are positive.
        m_currentEvent.deltaX = global.x() - m_lastGlobalPosition.x();
        m_currentEvent.deltaY = global.y() - m_lastGlobalPosition.y();
    }
    m_lastGlobalPosition = global;
    if (left)
        mouseDragged(m_currentEvent);
    else if (right)
        rightMouseDragged(m_currentEvent);
    else
        mouseMoved(m_currentEvent);
}

void PvControl::mouseReleaseEvent(QMouseEvent* event)
{
    const Qt::MouseButton button = event->button();
    if (button != Qt::LeftButton && button != Qt::RightButton) {
        event->ignore();
        return;
    }
    m_currentEvent = eventFromMouse(button == Qt::LeftButton ? PvLeftMouseUp : PvRightMouseUp, event);
    const QPointF global = event->globalPosition();
    m_currentEvent.deltaX = global.x() - m_lastGlobalPosition.x();
    m_currentEvent.deltaY = global.y() - m_lastGlobalPosition.y();
    m_lastGlobalPosition = global;
    if (button == Qt::LeftButton) {
        m_pending = {};
        mouseUp(m_currentEvent);
    } else {
        rightMouseUp(m_currentEvent);
    }
}

void PvControl::wheelEvent(QWheelEvent* event)
{
    PvEvent ev;
    ev.type = PvScrollWheel;
    ev.location = convertFromWidget(event->position());
    ev.modifiers = event->modifiers();
    ev.modifierFlags = pv_modifierFlagsForQt(event->modifiers());
    ev.eventNumber = m_eventNumber;
    // 120 units of angle delta are one notch of a common wheel.
    ev.deltaX = event->angleDelta().x() / 120.0;
    ev.deltaY = event->angleDelta().y() / 120.0;
    if (event->inverted()) {
        ev.deltaX = -ev.deltaX;
        ev.deltaY = -ev.deltaY;
    }
    // A plain wheel mouse has no horizontal wheel: Shift turns its wheel into one.
    if ((ev.modifiers & Qt::ShiftModifier) && ev.deltaX == 0) {
        ev.deltaX = ev.deltaY;
        ev.deltaY = 0;
    }
    m_currentEvent = ev;
    event->setAccepted(scrollWheel(ev));
}

void PvControl::keyPressEvent(QKeyEvent* event)
{
    m_currentEvent = eventFromKey(PvKeyDown, event);
    if (!keyDown(m_currentEvent))
        QWidget::keyPressEvent(event);
}

bool PvControl::event(QEvent* event)
{
    switch (event->type()) {
    case QEvent::KeyPress: {
        // QWidget::event() hands Tab and Back-tab to focus navigation before
        // keyPressEvent(); the control sees them first.
        auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Tab || key->key() == Qt::Key_Backtab) {
            m_currentEvent = eventFromKey(PvKeyDown, key);
            if (keyDown(m_currentEvent)) {
                event->accept();
                return true;
            }
        }
        break;
    }
    case QEvent::ToolTip:
        if (showToolTip(static_cast<QHelpEvent*>(event)))
            return true;
        break;
    default:
        break;
    }
    return QWidget::event(event);
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
    c->trackMouse(event, frame, this, c->prefersTrackingUntilMouseUp());
}

void PvControl::mouseDragged(const PvEvent& event)
{
    if (!m_tracking.cell && m_pending.cell && m_pending.eventNumber == event.eventNumber
        && m_pending.frame.contains(event.location)) {
        const PendingPress pending = m_pending;
        m_pending = {};
        if (pending.cell->isEnabled())
            pending.cell->trackMouse(event, pending.frame, this, false);
        return;
    }
    if (!m_tracking.cell)
        return;
    const QPointF last = m_tracking.lastPoint;
    m_tracking.lastPoint = event.location;
    PvCell* cell = m_tracking.cell;
    QPointer<PvControl> self(this);
    const bool goOn = cell->continueTracking(last, event.location, this);
    if (!self || m_tracking.cell != cell)
        return;
    if (!goOn || (!m_tracking.untilMouseUp && !m_tracking.frame.contains(event.location)))
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

void PvControl::rightMouseDragged(const PvEvent&)
{
}

void PvControl::rightMouseUp(const PvEvent&)
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
    if (drawsAntialiased())
        painter.setRenderHint(QPainter::Antialiasing);
    if (!isFlipped()) {
        painter.translate(0, height());
        painter.scale(1, -1);
    }
    drawRect(painter, convertFromWidget(QRectF(event->rect())));
}
