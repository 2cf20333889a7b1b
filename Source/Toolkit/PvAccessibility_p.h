// Accessibility of the framework's controls (private).
#pragma once

#include <QAccessibleValueInterface>
#include <QAccessibleWidget>
#include <QPointer>

#include <unordered_map>

class PvCell;
class PvControl;

/**
    What assistive technology sees of a PvControl: its role, name and value as the control
    answers them, its accessibility parent override when one is set, the value interface
    when its one cell has a value range, and its cells as children (before any child
    widgets). Cell children are made on first request and kept until the control goes.
*/
class PvAccessibleControl : public QAccessibleWidget, public QAccessibleValueInterface {
public:
    explicit PvAccessibleControl(PvControl* control);
    ~PvAccessibleControl() override;
    QAccessible::Role role() const override;
    QString text(QAccessible::Text t) const override;
    QAccessibleInterface* parent() const override;
    int childCount() const override;
    QAccessibleInterface* child(int index) const override;
    int indexOfChild(const QAccessibleInterface* child) const override;
    QAccessibleInterface* childAt(int x, int y) const override;
    void* interface_cast(QAccessible::InterfaceType t) override;

    QVariant currentValue() const override;
    void setCurrentValue(const QVariant& value) override;
    QVariant maximumValue() const override;
    QVariant minimumValue() const override;
    QVariant minimumStepSize() const override;

private:
    PvControl* control() const;
    QAccessibleInterface* cellInterface(int index) const;
    mutable std::unordered_map<int, QAccessible::Id> m_cellIds;
};

/// One cell of a control, known by its index there (so a cell replaced at that index is
/// what the interface describes next). Valid while the control lives and has the index.
class PvAccessibleCell : public QAccessibleInterface, public QAccessibleValueInterface {
public:
    PvAccessibleCell(PvControl* control, int index);
    bool isValid() const override;
    QObject* object() const override { return nullptr; }
    QWindow* window() const override;
    QAccessibleInterface* focusChild() const override { return nullptr; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    QAccessibleInterface* parent() const override;
    QAccessibleInterface* child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QString text(QAccessible::Text t) const override;
    void setText(QAccessible::Text, const QString&) override { }
    QRect rect() const override;
    QAccessible::Role role() const override;
    QAccessible::State state() const override;
    void* interface_cast(QAccessible::InterfaceType t) override;

    QVariant currentValue() const override;
    void setCurrentValue(const QVariant& value) override;
    QVariant maximumValue() const override;
    QVariant minimumValue() const override;
    QVariant minimumStepSize() const override { return 0.0; }

    PvControl* control() const { return m_control; }
    int index() const { return m_index; }

private:
    PvCell* cell() const;
    QPointer<PvControl> m_control;
    int m_index;
};

/// Installs the accessibility factory of the controls once per process.
void pv_installAccessibilityFactory();
