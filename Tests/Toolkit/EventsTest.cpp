// What controls receive of Qt's input: click counts, deltas, flags, key characters,
// flipped coordinates, cell enabled states and tool-tip rectangles.
#include <Pavo/PavoUI.h>

#include <QGuiApplication>
#include <QHelpEvent>
#include <QLineEdit>
#include <QSignalSpy>
#include <QStyleHints>
#include <QTest>
#include <QToolTip>
#include <QWindow>
#include <gtest/gtest.h>

namespace {

// Keeps a copy of every event the platform-shaped entry points receive.
class RecordingControl : public PvControl {
public:
    using PvControl::PvControl;
    QList<PvEvent> events;
    bool usesKeys = false;
    bool flipped = true;
    bool isFlipped() const override { return flipped; }

protected:
    void mouseDown(const PvEvent& e) override
    {
        events << e;
        PvControl::mouseDown(e);
    }
    void mouseDragged(const PvEvent& e) override { events << e; }
    void mouseUp(const PvEvent& e) override { events << e; }
    void rightMouseDown(const PvEvent& e) override { events << e; }
    void rightMouseDragged(const PvEvent& e) override { events << e; }
    void rightMouseUp(const PvEvent& e) override { events << e; }
    bool scrollWheel(const PvEvent& e) override
    {
        events << e;
        return true;
    }
    bool keyDown(const PvEvent& e) override
    {
        events << e;
        return usesKeys;
    }
};

class UnflippedMatrix : public PvMatrix {
public:
    using PvMatrix::PvMatrix;
    bool isFlipped() const override { return false; }
};

struct EventFixture : ::testing::Test {
    QWidget window;
    RecordingControl* control = nullptr;
    QLineEdit* next = nullptr;
    void SetUp() override
    {
        control = new RecordingControl(std::make_unique<PvCell>("c"), &window);
        control->setGeometry(10, 10, 100, 40);
        next = new QLineEdit(&window);
        next->setGeometry(10, 60, 100, 20);
        window.resize(200, 100);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    }
    // A press or release as the window system delivers it, at a chosen time in ms.
    void windowMouse(QEvent::Type type, QPoint pos, ulong time)
    {
        QWindow* w = window.windowHandle();
        const QPoint p = control->mapTo(&window, pos);
        const Qt::MouseButtons buttons = type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton;
        qt_handleMouseEvent(
            w, p, w->mapToGlobal(p), buttons, Qt::LeftButton, type, Qt::NoModifier, int(time));
        QCoreApplication::processEvents();
    }
};

} // namespace

TEST_F(EventFixture, PressesCarryTheirClickCountAndDragsTheirMovement)
{
    // A real double click through the window: press, release, press, double click, release.
    QTest::mouseDClick(window.windowHandle(), Qt::LeftButton, {}, control->mapTo(&window, QPoint(5, 5)));
    const auto clickCounts = [this] {
        QList<int> counts;
        for (const PvEvent& e : control->events)
            if (e.type == PvLeftMouseDown)
                counts << e.clickCount;
        return counts;
    };
    EXPECT_EQ(clickCounts(), QList<int>({1, 2}));

    // Three presses in quick succession count 1, 2, 3; one after the interval starts again.
    control->events.clear();
    const ulong interval = ulong(QGuiApplication::styleHints()->mouseDoubleClickInterval());
    ulong t = 1000000;
    for (ulong step : {0ul, 50ul, 50ul, interval + 10}) {
        t += step;
        windowMouse(QEvent::MouseButtonPress, QPoint(5, 5), t);
        windowMouse(QEvent::MouseButtonRelease, QPoint(5, 5), t + 1);
    }
    EXPECT_EQ(clickCounts(), QList<int>({1, 2, 3, 1}));

    // Drags: movement since the previous event, right and down positive.
    control->events.clear();
    QTest::mousePress(control, Qt::LeftButton, {}, QPoint(10, 10));
    QTest::mouseMove(control, QPoint(14, 7));
    QTest::mouseMove(control, QPoint(11, 20));
    QTest::mouseRelease(control, Qt::LeftButton, {}, QPoint(11, 20));
    ASSERT_EQ(control->events.size(), 4);
    EXPECT_EQ(control->events[1].type, PvLeftMouseDragged);
    EXPECT_DOUBLE_EQ(control->events[1].deltaX, 4);
    EXPECT_DOUBLE_EQ(control->events[1].deltaY, -3);
    EXPECT_DOUBLE_EQ(control->events[2].deltaX, -3);
    EXPECT_DOUBLE_EQ(control->events[2].deltaY, 13);
    EXPECT_EQ(control->events[2].eventNumber, control->events[0].eventNumber);

    // The right button's drags and release reach the control too.
    control->events.clear();
    QTest::mousePress(control, Qt::RightButton, {}, QPoint(10, 10));
    QTest::mouseMove(control, QPoint(12, 10));
    QTest::mouseRelease(control, Qt::RightButton, {}, QPoint(12, 10));
    QList<int> types;
    for (const PvEvent& e : control->events)
        types << e.type;
    EXPECT_EQ(types, QList<int>({PvRightMouseDown, PvRightMouseDragged, PvRightMouseUp}));
}

TEST_F(EventFixture, ModifierFlagsKeyCharactersTabAndTheShiftedWheel)
{
    const Qt::KeyboardModifiers all
        = Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
    QTest::mouseClick(control, Qt::LeftButton, Qt::AltModifier, QPoint(5, 5));
    EXPECT_EQ(control->events.front().modifierFlags, uint32_t(PvAlternateKeyMask));
    QTest::mouseClick(control, Qt::LeftButton, all, QPoint(5, 5));
    EXPECT_EQ(control->events.back().modifierFlags,
        uint32_t(PvShiftKeyMask | PvControlKeyMask | PvAlternateKeyMask | PvCommandKeyMask));
    // A host that gives Alt to the window manager lets Super stand for Option.
    pv_setOptionModifier(Qt::MetaModifier);
    QTest::mouseClick(control, Qt::LeftButton, Qt::MetaModifier, QPoint(5, 5));
    EXPECT_EQ(control->events.back().modifierFlags, uint32_t(PvAlternateKeyMask));
    EXPECT_EQ(PvKeyCommand::modifierFlagsForQt(Qt::AltModifier), uint32_t(PvControlKeyMask));
    pv_setOptionModifier(Qt::AltModifier);

    control->setFocus();
    control->events.clear();
    const std::pair<Qt::Key, char16_t> keys[] = {{Qt::Key_Return, 13}, {Qt::Key_Enter, 3},
        {Qt::Key_Escape, 27}, {Qt::Key_Backspace, 127}, {Qt::Key_Up, 0xF700}, {Qt::Key_Right, 0xF703},
        {Qt::Key_F1, 0xF704}, {Qt::Key_F12, 0xF70F}, {Qt::Key_Delete, 0xF728}, {Qt::Key_PageDown, 0xF72D}};
    for (const auto& [key, character] : keys) {
        QTest::keyClick(control, key);
        EXPECT_EQ(control->events.back().character, character) << key;
    }
    QTest::keyClick(control, Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(control->events.back().character, u'a');
    EXPECT_EQ(control->events.back().modifierFlags, uint32_t(PvCommandKeyMask));

    // Tab reaches keyDown first; unused, it moves the focus on.
    control->events.clear();
    control->usesKeys = true;
    QTest::keyClick(control, Qt::Key_Tab);
    ASSERT_EQ(control->events.size(), 1);
    EXPECT_EQ(control->events.back().character, 9);
    EXPECT_TRUE(control->hasFocus());
    control->usesKeys = false;
    QTest::keyClick(control, Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(control->events.back().character, 0x19);
    EXPECT_TRUE(next->hasFocus()); // the only other widget, going backward

    // Shift turns a vertical-only wheel into a horizontal one.
    QWheelEvent wheel(QPointF(5, 5), control->mapToGlobal(QPointF(5, 5)), QPoint(), QPoint(0, 240),
        Qt::NoButton, Qt::ShiftModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(control, &wheel);
    EXPECT_DOUBLE_EQ(control->events.back().deltaX, 2.0);
    EXPECT_DOUBLE_EQ(control->events.back().deltaY, 0.0);
}

TEST(FlippedGeometry, AnUnflippedMatrixKeepsRowZeroOnTopWithYGrowingUpward)
{
    QWidget window;
    auto* m = new UnflippedMatrix(PvMatrix::RadioModeMatrix, 3, 1, &window);
    m->setCellSize(QSizeF(60, 20));
    m->setIntercellSpacing(QSizeF(0, 0));
    m->sizeToCells();
    m->cellAt(0, 0)->setStringValue("top");
    m->cellAt(2, 0)->setStringValue("bottom");
    window.resize(100, 100);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    EXPECT_EQ(m->cellFrameAt(0, 0), QRectF(0, 40, 60, 20));
    EXPECT_EQ(m->cellFrameAt(2, 0), QRectF(0, 0, 60, 20));
    EXPECT_EQ(m->convertToWidget(m->cellFrameAt(0, 0)), QRectF(0, 0, 60, 20));

    // A press near the widget's top hits row 0, and its location counts from the bottom.
    QTest::mouseClick(m, Qt::LeftButton, {}, QPoint(5, 5));
    EXPECT_EQ(m->selectedRow(), 0);
    EXPECT_DOUBLE_EQ(m->currentEvent().location.y(), 55);
    QTest::mouseClick(m, Qt::LeftButton, {}, QPoint(5, 55));
    EXPECT_EQ(m->selectedRow(), 2);

    // Drawn in y-up coordinates, the selected bottom row fills the bottom of the widget.
    m->clearFocus();
    const QImage image = m->grab().toImage();
    const QColor highlight = m->palette().color(QPalette::Active, QPalette::Highlight);
    auto highlightedRows = [&](int from, int to) {
        int n = 0;
        for (int y = from; y < to; ++y)
            n += image.pixelColor(57, y) == highlight;
        return n;
    };
    EXPECT_EQ(highlightedRows(0, 20), 0);
    EXPECT_GT(highlightedRows(40, 60), 15);
}

TEST(MatrixCells, KeepTheirEnabledStateAndStrayPressesSendNothing)
{
    QWidget window;
    auto* m = new PvMatrix(PvMatrix::ListModeMatrix, 2, 2, &window);
    m->setCellSize(QSizeF(30, 20));
    m->setIntercellSpacing(QSizeF(10, 10));
    auto disabled = std::make_unique<PvCell>("off");
    disabled->setEnabled(false);
    m->putCell(std::move(disabled), 0, 1);
    m->insertRow(0);
    EXPECT_FALSE(m->cellAt(1, 1)->isEnabled());
    EXPECT_TRUE(m->cellAt(1, 0)->isEnabled());
    m->setEnabled(false);
    m->setEnabled(true);
    EXPECT_TRUE(m->cellAt(1, 1)->isEnabled()); // the control's own change applies to all
    m->sizeToCells();
    window.resize(200, 200);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));

    for (PvMatrix::Mode mode : {PvMatrix::RadioModeMatrix, PvMatrix::ListModeMatrix,
             PvMatrix::HighlightModeMatrix, PvMatrix::TrackModeMatrix}) {
        m->setMode(mode);
        QSignalSpy actions(m, &PvControl::actionTriggered);
        QTest::mouseClick(m, Qt::LeftButton, {}, QPoint(35, 5)); // on the spacing
        QTest::mousePress(m, Qt::LeftButton, {}, QPoint(35, 25));
        QTest::mouseMove(m, QPoint(5, 5));
        QTest::mouseRelease(m, Qt::LeftButton, {}, QPoint(5, 5));
        EXPECT_EQ(actions.count(), 0) << mode;
    }
}

TEST(MatrixCells, AHundredThousandRowsSelectAndFindFramesWithoutScanning)
{
    PvMatrix m(PvMatrix::ListModeMatrix, 100000, 1);
    m.setCellSize(QSizeF(80, 16));
    m.sizeToCells();
    m.selectAll();
    EXPECT_EQ(m.selectedCells().size(), 100000u);
    // Each change of a cell finds its frame; a linear search here would take minutes.
    for (int r = 0; r < 100000; r += 7)
        m.cellAt(r, 0)->setStringValue(QString::number(r));
    EXPECT_EQ(m.frameOfCell(m.cellAt(99999, 0)), m.cellFrameAt(99999, 0));
}

namespace {

class Owner : public PvToolTipOwner {
public:
    QString viewStringForToolTip(PvControl*, int tag, const QPointF& p, const QVariant& data) override
    {
        return QStringLiteral("%1 %2 at %3").arg(data.toString()).arg(tag).arg(p.x());
    }
};

} // namespace

TEST_F(EventFixture, ToolTipRectanglesAskTheirOwner)
{
    Owner owner;
    const int left = control->addToolTipRect(QRectF(0, 0, 50, 40), &owner, QStringLiteral("left"));
    const int right = control->addToolTipRect(QRectF(50, 0, 50, 40), &owner, QStringLiteral("right"));
    EXPECT_NE(left, right);
    auto help = [&](int x) {
        QHelpEvent e(QEvent::ToolTip, QPoint(x, 5), control->mapToGlobal(QPoint(x, 5)));
        QApplication::sendEvent(control, &e);
        return QToolTip::text();
    };
    EXPECT_EQ(help(10), QStringLiteral("left %1 at 10").arg(left));
    EXPECT_EQ(help(70), QStringLiteral("right %1 at 70").arg(right));
    control->removeToolTip(right);
    control->setToolTip(QStringLiteral("own"));
    EXPECT_EQ(help(70), QStringLiteral("own"));
    control->removeAllToolTips();
    EXPECT_EQ(help(10), QStringLiteral("own"));
}
