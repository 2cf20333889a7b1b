// Accessibility of the framework's controls (private).
#pragma once

#include <QAccessibleWidget>

class PvControl;

/// What assistive technology sees of a PvControl: its role, name and value as the control
/// answers them, and its accessibility parent override when one is set.
class PvAccessibleControl : public QAccessibleWidget {
public:
    explicit PvAccessibleControl(PvControl* control);
    QAccessible::Role role() const override;
    QString text(QAccessible::Text t) const override;
    QAccessibleInterface* parent() const override;

private:
    PvControl* control() const;
};

/// Installs the accessibility factory of the controls once per process.
void pv_installAccessibilityFactory();
