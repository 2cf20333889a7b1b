// The number editor: typing, refusal, carry and borrow, signal, action and accessibility.
#include <Pavo/PavoUI.h>

#include <QAccessible>
#include <QAccessibleValueInterface>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

namespace {

class Target : public QObject {
    Q_OBJECT
public:
    int calls = 0;
    Q_INVOKABLE void changed(QObject*) { ++calls; }
};

struct Reasons : PvNumberEditorCellDelegate {
    QList<int> stops;
    void dfNumberEditorCellStoppedEditingWithReason(PvNumberEditorCell*, int reason) override
    {
        stops << reason;
    }
};

struct EditorFixture : ::testing::Test {
    Target target; // these outlive the control
    Reasons reasons;
    QWidget window;
    DfNumberEditorControl* editor = nullptr;
    std::unique_ptr<QSignalSpy> spy;
    void SetUp() override
    {
        editor = new DfNumberEditorControl(DfNumberEditorControl::MusicalPositionStyle, &window);
        editor->move(10, 10);
        editor->resize(editor->sizeHint());
        editor->setTarget(&target);
        editor->setAction("changed");
        editor->setDelegate(&reasons);
        window.resize(300, 60);
        window.show();
        window.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
        editor->setFocus();
        spy = std::make_unique<QSignalSpy>(editor, &DfNumberEditorControl::valueChanged);
    }
    QPoint centreOf(int field) const
    {
        return editor->frameOfCell(editor->fieldAt(field)).center().toPoint();
    }
    void wheel(int field, int notches)
    {
        const QPointF p = centreOf(field);
        QWheelEvent e(p, editor->mapToGlobal(p), QPoint(), QPoint(0, 120 * notches), Qt::NoButton,
            Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(editor, &e);
    }
};

} // namespace

TEST_F(EditorFixture, TypingCommitsWithReturnRestoresWithEscapeAndRefusesBadInput)
{
    const qint64 bar = editor->ticksPerBar();
    EXPECT_EQ(editor->text(), "1.1.0.000");
    QTest::keyClick(editor, Qt::Key_Return); // starts on the bars
    QTest::keyClicks(editor, "12");
    QTest::keyClick(editor, Qt::Key_Return);
    EXPECT_EQ(editor->value(), 11 * bar);
    EXPECT_EQ(spy->size(), 1);
    EXPECT_EQ(spy->back().at(0).toLongLong(), 11 * bar);
    EXPECT_EQ(target.calls, 1);

    // Escape puts back the value from before typing, also after a step that borrowed.
    editor->startEditingForCell(editor->fieldAt(1));
    QTest::keyClick(editor, Qt::Key_Down);
    EXPECT_EQ(editor->text(), "11.4.0.000");
    QTest::keyClicks(editor, "3");
    QTest::keyClick(editor, Qt::Key_Escape);
    EXPECT_EQ(editor->value(), 11 * bar);
    EXPECT_EQ(editor->editingCell(), nullptr);

    // A beat beyond the bar, a letter and a fifth digit are refused; the value stays and
    // typing goes on.
    editor->startEditingForCell(editor->fieldAt(1));
    QTest::keyClicks(editor, "7");
    QTest::keyClick(editor, Qt::Key_Return);
    EXPECT_EQ(editor->fieldAt(1)->value(), 1);
    EXPECT_EQ(editor->editingCell(), editor->fieldAt(1));
    QTest::keyClicks(editor, "x3");
    EXPECT_EQ(editor->fieldAt(1)->displayText(), "3");
    QTest::keyClick(editor, Qt::Key_Backspace);
    QTest::keyClicks(editor, "4");
    QTest::keyClick(editor, Qt::Key_Return);
    EXPECT_EQ(editor->text(), "12.4.0.000");
    EXPECT_EQ(reasons.stops,
        QList<int>({PvNumberEditorCell::ReturnStop, PvNumberEditorCell::EscapeStop,
            PvNumberEditorCell::ReturnStop}));
    editor->startEditingForCell(editor->fieldAt(0));
    QTest::keyClicks(editor, "123456");
    EXPECT_EQ(editor->fieldAt(0)->displayText(), "1234");
}

TEST_F(EditorFixture, StepsCarryAndBorrowBetweenFieldsWithinTheWholeRange)
{
    // Ticks past their end carry into the division, the division into the beat.
    editor->setValue(editor->ticksPerDivision() - 1);
    spy->clear();
    wheel(3, 1);
    EXPECT_EQ(editor->text(), "1.1.1.000");
    wheel(2, 3);
    EXPECT_EQ(editor->text(), "1.2.0.000");
    // ...and borrow back, Shift stepping by ten.
    QTest::keyClick(editor, Qt::Key_Return);
    QTest::keyClick(editor, Qt::Key_Right);
    QTest::keyClick(editor, Qt::Key_Right);
    QTest::keyClick(editor, Qt::Key_Right);
    QTest::keyClick(editor, Qt::Key_Down, Qt::ShiftModifier);
    EXPECT_EQ(editor->text(), "1.1.3.230");
    EXPECT_EQ(spy->size(), 3);
    EXPECT_EQ(target.calls, 3);
    // The whole value stops at 0.
    wheel(0, -1);
    EXPECT_EQ(editor->value(), 0);
    wheel(0, -1);
    EXPECT_EQ(spy->size(), 4);

    // Dragging up steps, bracketed by the tracking notifications.
    int starts = 0, stops = 0;
    QObject observer;
    PvNotificationCenter::defaultCenter()->addObserver(
        &observer, PvStartTrackingNotification, nullptr, [&](const PvNotification&) { ++starts; });
    PvNotificationCenter::defaultCenter()->addObserver(
        &observer, PvStopTrackingNotification, nullptr, [&](const PvNotification&) { ++stops; });
    const QPoint p = centreOf(0);
    QTest::mousePress(editor, Qt::LeftButton, {}, p);
    QTest::mouseMove(editor, p - QPoint(0, 9));
    EXPECT_EQ(starts, 1);
    EXPECT_EQ(stops, 0);
    QTest::mouseRelease(editor, Qt::LeftButton, {}, p - QPoint(0, 9));
    EXPECT_EQ(editor->text(), "3.1.0.000");
    EXPECT_EQ(stops, 1);

    // Time: seconds carry into minutes; a new time signature keeps the ticks.
    editor->setTimeSignature(3, 4);
    EXPECT_EQ(editor->text(), "3.3.0.000");
    editor->setStyle(DfNumberEditorControl::TimeStyle);
    editor->setValue(3600000 + 2 * 60000 + 59 * 1000 + 456);
    EXPECT_EQ(editor->text(), "01:02:59.456");
    wheel(2, 1);
    EXPECT_EQ(editor->text(), "01:03:00.456");
}

TEST_F(EditorFixture, FieldsAreSpinBoxesToAssistiveTechnologyAndReportTabAsAReason)
{
    QAccessibleInterface* iface = QAccessible::queryAccessibleInterface(editor);
    ASSERT_NE(iface, nullptr);
    ASSERT_EQ(iface->childCount(), 7); // four fields, three separators
    QAccessibleInterface* beat = iface->child(2);
    EXPECT_EQ(beat->role(), QAccessible::SpinBox);
    EXPECT_EQ(beat->text(QAccessible::Name), "Beats");
    QAccessibleValueInterface* value = beat->valueInterface();
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(value->maximumValue().toInt(), 4);
    value->setCurrentValue(3);
    EXPECT_EQ(editor->value(), 2 * editor->ticksPerBeat());
    EXPECT_EQ(spy->size(), 1);
    EXPECT_EQ(iface->text(QAccessible::Value), "1.3.0.000");

    // A number cell on its own reports Tab and sends its action on a change.
    PvControl plain(std::make_unique<PvNumberEditorCell>(1, 0, 9));
    plain.setTarget(&target);
    plain.setAction("changed");
    auto* cell = static_cast<PvNumberEditorCell*>(plain.cell());
    plain.show();
    plain.setFocus();
    QTest::keyClick(&plain, Qt::Key_Up);
    EXPECT_EQ(cell->value(), 2);
    EXPECT_EQ(target.calls, 2);
    cell->setDelegate(&reasons);
    cell->startEditing();
    QTest::keyClick(&plain, Qt::Key_Tab);
    EXPECT_EQ(reasons.stops.back(), int(PvNumberEditorCell::TabStop));
}

#include "NumberEditorTest.moc"
