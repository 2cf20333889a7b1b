#include "PvAccessibility_p.h"

#include "PvControl.h"

#include <QWindow>

#include <algorithm>

namespace {

// The value of a ranged cell, shared by a control (its one cell) and a cell child.
QVariant valueOf(const PvCell* cell)
{
    return cell && cell->hasValueRange() ? QVariant(cell->accessibleDoubleValue()) : QVariant();
}

// Sets a ranged cell's value from assistive technology, as a user's change: the value
// is clamped, the cell redrawn and the action sent, if the value changed.
void setValueOf(PvCell* cell, PvControl* control, const QVariant& value)
{
    bool ok = false;
    const double v = value.toDouble(&ok);
    if (!cell || !control || !cell->hasValueRange() || !ok || !cell->isEnabled() || !control->isEnabled())
        return;
    const double low = std::min(cell->minValue(), cell->maxValue());
    const double high = std::max(cell->minValue(), cell->maxValue());
    const double before = cell->accessibleDoubleValue();
    cell->setAccessibleDoubleValue(std::clamp(v, low, high));
    if (cell->accessibleDoubleValue() == before)
        return;
    control->updateCell(cell);
    cell->sendAction(control);
}

QVariant rangeEnd(const PvCell* cell, bool max)
{
    if (!cell || !cell->hasValueRange())
        return {};
    return max ? cell->maxValue() : cell->minValue();
}

} // namespace

// ---- control ------------------------------------------------------------------------

PvAccessibleControl::PvAccessibleControl(PvControl* control)
    : QAccessibleWidget(control)
{
}

PvAccessibleControl::~PvAccessibleControl()
{
    for (const auto& [index, id] : m_cellIds)
        QAccessible::deleteAccessibleInterface(id);
}

PvControl* PvAccessibleControl::control() const
{
    return static_cast<PvControl*>(widget());
}

QAccessible::Role PvAccessibleControl::role() const
{
    return control()->accessibilityRole();
}

QString PvAccessibleControl::text(QAccessible::Text t) const
{
    switch (t) {
    case QAccessible::Name:
        return control()->accessibilityName();
    case QAccessible::Value:
        return control()->accessibilityValue();
    default:
        return QAccessibleWidget::text(t);
    }
}

QAccessibleInterface* PvAccessibleControl::parent() const
{
    if (QObject* p = control()->accessibilityParent())
        return QAccessible::queryAccessibleInterface(p);
    // A control with one cell speaks for it, so the cell's override counts too.
    if (const PvCell* c = control()->cell(); c && c->accessibilityParent())
        return QAccessible::queryAccessibleInterface(c->accessibilityParent());
    return QAccessibleWidget::parent();
}

int PvAccessibleControl::childCount() const
{
    return control()->accessibleCellCount() + QAccessibleWidget::childCount();
}

QAccessibleInterface* PvAccessibleControl::cellInterface(int index) const
{
    const auto it = m_cellIds.find(index);
    if (it != m_cellIds.end())
        return QAccessible::accessibleInterface(it->second);
    // Registered so that Qt owns it like every other interface; deleted with the control's.
    auto* cell = new PvAccessibleCell(control(), index);
    m_cellIds.emplace(index, QAccessible::registerAccessibleInterface(cell));
    return cell;
}

QAccessibleInterface* PvAccessibleControl::child(int index) const
{
    const int cells = control()->accessibleCellCount();
    if (index < 0)
        return nullptr;
    if (index < cells)
        return cellInterface(index);
    return QAccessibleWidget::child(index - cells);
}

int PvAccessibleControl::indexOfChild(const QAccessibleInterface* child) const
{
    if (!child)
        return -1;
    for (const auto& [index, id] : m_cellIds)
        if (QAccessible::accessibleInterface(id) == child)
            return index;
    const int widgetIndex = QAccessibleWidget::indexOfChild(child);
    return widgetIndex < 0 ? -1 : control()->accessibleCellCount() + widgetIndex;
}

QAccessibleInterface* PvAccessibleControl::childAt(int x, int y) const
{
    const QPointF local = control()->mapFromGlobal(QPointF(x, y));
    if (control()->accessibleCellCount() > 0) {
        const int index = control()->accessibleIndexOfCell(control()->cellAtPoint(local));
        if (index >= 0)
            return cellInterface(index);
    }
    return QAccessibleWidget::childAt(x, y);
}

void* PvAccessibleControl::interface_cast(QAccessible::InterfaceType t)
{
    const PvCell* c = control()->cell();
    if (t == QAccessible::ValueInterface && c && c->hasValueRange())
        return static_cast<QAccessibleValueInterface*>(this);
    return QAccessibleWidget::interface_cast(t);
}

QVariant PvAccessibleControl::currentValue() const
{
    return valueOf(control()->cell());
}

void PvAccessibleControl::setCurrentValue(const QVariant& value)
{
    setValueOf(control()->cell(), control(), value);
}

QVariant PvAccessibleControl::maximumValue() const
{
    return rangeEnd(control()->cell(), true);
}

QVariant PvAccessibleControl::minimumValue() const
{
    return rangeEnd(control()->cell(), false);
}

QVariant PvAccessibleControl::minimumStepSize() const
{
    return 0.0;
}

// ---- cell ---------------------------------------------------------------------------

PvAccessibleCell::PvAccessibleCell(PvControl* control, int index)
    : m_control(control)
    , m_index(index)
{
}

PvCell* PvAccessibleCell::cell() const
{
    return m_control ? m_control->accessibleCellAt(m_index) : nullptr;
}

bool PvAccessibleCell::isValid() const
{
    return cell() != nullptr;
}

QWindow* PvAccessibleCell::window() const
{
    return m_control ? m_control->window()->windowHandle() : nullptr;
}

QAccessibleInterface* PvAccessibleCell::parent() const
{
    const PvCell* c = cell();
    if (c && c->accessibilityParent())
        return QAccessible::queryAccessibleInterface(c->accessibilityParent());
    return m_control ? QAccessible::queryAccessibleInterface(m_control.data()) : nullptr;
}

QString PvAccessibleCell::text(QAccessible::Text t) const
{
    const PvCell* c = cell();
    if (!c)
        return {};
    // A cell with a label is named by it; otherwise a ranged cell is named by its control
    // and any other cell by its text. A ranged cell's text is its value.
    switch (t) {
    case QAccessible::Name:
        if (!c->accessibilityLabel().isEmpty())
            return c->accessibilityLabel();
        return c->hasValueRange() ? QString() : c->stringValue();
    case QAccessible::Value:
        return c->hasValueRange() ? c->accessibleValueText() : QString();
    default:
        return {};
    }
}

QRect PvAccessibleCell::rect() const
{
    const PvCell* c = cell();
    if (!c)
        return {};
    const QRectF frame = m_control->frameOfCell(c);
    return QRect(m_control->mapToGlobal(frame.topLeft().toPoint()), frame.size().toSize());
}

QAccessible::Role PvAccessibleCell::role() const
{
    const PvCell* c = cell();
    return c ? c->accessibilityRole() : QAccessible::NoRole;
}

QAccessible::State PvAccessibleCell::state() const
{
    QAccessible::State s;
    const PvCell* c = cell();
    if (!c) {
        s.invalid = true;
        return s;
    }
    s.disabled = !c->isEnabled() || !m_control->isEnabled();
    const QAccessible::Role r = c->accessibilityRole();
    const bool checkable = r == QAccessible::CheckBox || r == QAccessible::RadioButton;
    // A check box or radio button that is on is checked; any other cell that is on is
    // one of the control's selected cells.
    s.checkable = checkable;
    s.checked = checkable && c->state() == PvCell::OnState;
    s.checkStateMixed = checkable && c->state() == PvCell::MixedState;
    s.selectable = !checkable;
    s.selected = !checkable && c->state() == PvCell::OnState;
    s.pressed = c->isHighlighted();
    return s;
}

void* PvAccessibleCell::interface_cast(QAccessible::InterfaceType t)
{
    const PvCell* c = cell();
    if (t == QAccessible::ValueInterface && c && c->hasValueRange())
        return static_cast<QAccessibleValueInterface*>(this);
    return nullptr;
}

QVariant PvAccessibleCell::currentValue() const
{
    return valueOf(cell());
}

void PvAccessibleCell::setCurrentValue(const QVariant& value)
{
    setValueOf(cell(), m_control, value);
}

QVariant PvAccessibleCell::maximumValue() const
{
    return rangeEnd(cell(), true);
}

QVariant PvAccessibleCell::minimumValue() const
{
    return rangeEnd(cell(), false);
}

// ---- factory ------------------------------------------------------------------------

namespace {

QAccessibleInterface* controlFactory(const QString&, QObject* object)
{
    if (auto* control = qobject_cast<PvControl*>(object))
        return new PvAccessibleControl(control);
    return nullptr;
}

} // namespace

void pv_installAccessibilityFactory()
{
    static bool installed = false;
    if (!installed) {
        installed = true;
        QAccessible::installFactory(controlFactory);
    }
}
