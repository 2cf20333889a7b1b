// What assistive technology sees of controls and their cells.
#include <Pavo/PavoUI.h>

#include <QAccessible>
#include <QAccessibleValueInterface>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

#include <memory>

namespace {

// A value cell with the range 0 to 10, as sliders will be.
class RangedCell : public PvCell {
public:
    bool hasValueRange() const override { return true; }
    double minValue() const override { return 0.0; }
    double maxValue() const override { return 10.0; }
};

class RadioCell : public PvCell {
public:
    using PvCell::PvCell;
    QAccessible::Role accessibilityRole() const override { return QAccessible::RadioButton; }
};

} // namespace

TEST(Accessibility, MatrixCellsAreChildrenWithRoleNameAndState)
{
    QWidget window;
    PvMatrix matrix(PvMatrix::ListModeMatrix, 3, 2, &window);
    matrix.sizeToCells();
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 2; ++c)
            matrix.cellAt(r, c)->setStringValue(QString("%1,%2").arg(r).arg(c));
    matrix.putCell(std::make_unique<RadioCell>("radio"), 1, 1);
    matrix.cellAt(0, 1)->setEnabled(false);
    matrix.cellAt(2, 0)->setState(PvCell::OnState);
    matrix.cellAt(1, 1)->setState(PvCell::OnState);

    QAccessibleInterface* m = QAccessible::queryAccessibleInterface(&matrix);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->role(), QAccessible::List);
    ASSERT_EQ(m->childCount(), 6);
    QAccessibleInterface* c4 = m->child(4);
    ASSERT_NE(c4, nullptr);
    EXPECT_EQ(c4, m->child(4)); // one interface per cell, kept
    EXPECT_EQ(c4->text(QAccessible::Name), "2,0");
    EXPECT_EQ(c4->role(), QAccessible::StaticText);
    EXPECT_TRUE(c4->state().selected);
    EXPECT_FALSE(c4->state().disabled);
    EXPECT_EQ(c4->parent(), m);
    EXPECT_EQ(m->indexOfChild(c4), 4);
    EXPECT_EQ(c4->interface_cast(QAccessible::ValueInterface), nullptr);
    EXPECT_TRUE(m->child(1)->state().disabled);
    EXPECT_FALSE(m->child(0)->state().selected);
    QAccessibleInterface* radio = m->child(3);
    EXPECT_EQ(radio->role(), QAccessible::RadioButton);
    EXPECT_TRUE(radio->state().checked);
    EXPECT_FALSE(radio->state().selected);
    EXPECT_EQ(m->childAt(c4->rect().center().x(), c4->rect().center().y()), c4);
    EXPECT_EQ(c4->rect().size(), matrix.cellFrameAt(2, 0).size().toSize());

    matrix.setEnabled(false); // a disabled control disables every cell
    EXPECT_TRUE(m->child(0)->state().disabled);
    matrix.setEnabled(true);

    // The cell's parent override wins over the control.
    QWidget elsewhere(&window);
    matrix.cellAt(2, 0)->setAccessibilityParent(&elsewhere);
    ASSERT_NE(c4->parent(), nullptr);
    EXPECT_EQ(c4->parent()->object(), &elsewhere);

    // Shrinking the matrix leaves the interface of a vanished cell invalid, not dangling.
    matrix.renewRows(1, 2);
    EXPECT_EQ(m->childCount(), 2);
    EXPECT_FALSE(c4->isValid());
    EXPECT_EQ(c4->text(QAccessible::Name), QString());
}

TEST(Accessibility, ValueCellsAnswerTheValueInterfaceInAMatrixAndAlone)
{
    PvMatrix matrix(PvMatrix::TrackModeMatrix, 1, 2);
    matrix.putCell(std::make_unique<RangedCell>(), 0, 1);
    matrix.cellAt(0, 1)->setDoubleValue(4.0);
    QSignalSpy actions(&matrix, &PvControl::actionTriggered);
    QAccessibleInterface* cell = QAccessible::queryAccessibleInterface(&matrix)->child(1);
    auto* value = cell->valueInterface();
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(value->minimumValue().toDouble(), 0.0);
    EXPECT_EQ(value->maximumValue().toDouble(), 10.0);
    EXPECT_EQ(value->currentValue().toDouble(), 4.0);
    EXPECT_EQ(cell->text(QAccessible::Value), "4");
    value->setCurrentValue(25.0); // clamped, and sent as the user's change
    EXPECT_EQ(matrix.cellAt(0, 1)->doubleValue(), 10.0);
    EXPECT_EQ(actions.count(), 1);
    matrix.cellAt(0, 1)->setEnabled(false);
    value->setCurrentValue(2.0);
    EXPECT_EQ(matrix.cellAt(0, 1)->doubleValue(), 10.0);

    PvControl alone(std::make_unique<RangedCell>());
    QAccessibleInterface* a = QAccessible::queryAccessibleInterface(&alone);
    EXPECT_EQ(a->childCount(), 0); // the control speaks for its one cell
    ASSERT_NE(a->valueInterface(), nullptr);
    a->valueInterface()->setCurrentValue(3.5);
    EXPECT_EQ(alone.doubleValue(), 3.5);
    PvControl plain(std::make_unique<PvCell>("text"));
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&plain)->valueInterface(), nullptr);
}

TEST(Accessibility, AHundredThousandCellsAreCountedWithoutAnInterfaceEach)
{
    PvMatrix matrix(PvMatrix::ListModeMatrix, 100000, 1);
    matrix.cellAt(99999, 0)->setStringValue("last");
    QAccessibleInterface* m = QAccessible::queryAccessibleInterface(&matrix);
    EXPECT_EQ(m->childCount(), 100000);
    QAccessibleInterface* last = m->child(99999);
    EXPECT_EQ(last->text(QAccessible::Name), "last");
    EXPECT_EQ(m->indexOfChild(last), 99999);
    EXPECT_EQ(m->child(100000), nullptr);
}
