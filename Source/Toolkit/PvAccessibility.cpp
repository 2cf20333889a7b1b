#include "PvAccessibility_p.h"

#include "PvControl.h"

PvAccessibleControl::PvAccessibleControl(PvControl* control)
    : QAccessibleWidget(control)
{
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
    return QAccessibleWidget::parent();
}

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
