// Slider cells and the slider control, driven through real Qt input.
#include <Pavo/PavoUI.h>

#include <QAccessible>
#include <QAccessibleValueInterface>
#include <QSignalSpy>
#include <QTest>
#include <QWheelEvent>
#include <gtest/gtest.h>

#include <utility>

namespace {

constexpr int kKnob = 7000; // 10 x 10 points: red, blue when pressed, yellow when inactive
constexpr int kTrack = 7001; // a green 40 x 4 bar; 8 x 8 labels, magenta (min) and cyan (max)

// Flat pictures at twice the pixel density, so drawing can be checked by colour.
class TestPictures : public PvResourceProvider {
public:
    QPixmap imageForID(int32_t id, int state) override
    {
        const QColor colours[2][3] = {{Qt::red, Qt::blue, Qt::yellow}, {Qt::green, Qt::magenta, Qt::cyan}};
        if ((id != kKnob && id != kTrack) || state < 0 || state > 2)
            return {};
        QPixmap p((id == kKnob ? QSize(10, 10) : state == 0 ? QSize(40, 4) : QSize(8, 8)) * 2);
        p.setDevicePixelRatio(2);
        p.fill(colours[id - kKnob][state]);
        return p;
    }
};

// A 0 to 100 slider with pictures in a shown window.
struct SliderFixture : ::testing::Test {
    QWidget window;
    PvSlider* slider = nullptr;
    PvSliderCell* cell = nullptr;
    QList<double> sent; // the value at each action sent
    QStringList notes;

    void SetUp() override
    {
        PvResourceProvider::setDefaultResourceProviderClass<TestPictures>();
        slider = new PvSlider(std::make_unique<PvSliderCell>(), &window);
        cell = static_cast<PvSliderCell*>(slider->sliderCell());
        cell->setMaxValue(100);
        cell->setImageIDs(kKnob, kTrack);
        QObject::connect(slider, &PvControl::actionTriggered, [this] { sent << slider->doubleValue(); });
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
        PvNotificationCenter::defaultCenter()->addObserver(
            &window, {}, cell, [this](const PvNotification& n) { notes << n.name; });
        resize(110, 20); // knob travel: 100 points, one per unit
    }
    void TearDown() override { PvResourceProvider::setDefaultResourceProviderClass({}); }
    // Resizes the slider and lays the cell out for it, as drawing does.
    void resize(int width, int height)
    {
        slider->setGeometry(0, 0, width, height);
        QApplication::processEvents();
        slider->repaint();
    }
    // 130 points wide with 10-point end labels: the travel stays 100 points.
    void withLabels()
    {
        cell->setMinSideInset(10);
        cell->setMaxSideInset(10);
        resize(130, 20);
    }
    // Input through QTest; each returns the value after it.
    double click(QPoint p) { return QTest::mouseClick(slider, Qt::LeftButton, {}, p), slider->doubleValue(); }
    double key(Qt::Key key) { return QTest::keyClick(slider, key), slider->doubleValue(); }
    // A press, drags and the release, all with the same modifiers.
    double drag(std::initializer_list<QPoint> points, Qt::KeyboardModifiers mods = {})
    {
        const QPoint* p = points.begin();
        QTest::mousePress(slider, Qt::LeftButton, mods, *p);
        for (++p; p != points.end(); ++p)
            QTest::mouseEvent(QTest::MouseMove, slider, Qt::NoButton, mods, *p);
        QTest::mouseRelease(slider, Qt::LeftButton, mods, *(points.end() - 1));
        return slider->doubleValue();
    }
    double wheel(QPoint angle, Qt::KeyboardModifiers mods = {}, PvControl* control = nullptr)
    {
        control = control ? control : slider;
        QWheelEvent e(QPointF(5, 5), control->mapToGlobal(QPointF(5, 5)), QPoint(), angle, Qt::NoButton, mods,
            Qt::NoScrollPhase, false);
        QApplication::sendEvent(control, &e);
        return control->doubleValue();
    }
    QList<double> takeSent() { return std::exchange(sent, {}); }
};

} // namespace

TEST(SliderValues, CurvedTicksInversionAndThePositionDomain)
{
    PvLogSliderCell c;
    c.setMaxValue(100);
    c.setNumberOfTickMarks(5);
    const double ticks[3][5] = {{0, 25, 50, 75, 100}, {0, 7.7734375, 19.375, 44.6484375, 100},
        {0, 55.3515625, 80.625, 92.2265625, 100}};
    for (int curve = 0; curve < 3; ++curve) {
        c.setLogTickMarks(curve);
        for (int i = 0; i < 5; ++i)
            EXPECT_NEAR(c.tickMarkValueAtIndex(i), ticks[curve][i], 1e-12) << curve << " " << i;
    }
    EXPECT_EQ(c.closestIndexOfValue(85), 2);
    EXPECT_EQ(c.closestIndexOfValue(-5), 0);

    // Tick values only: the value snaps to the curve, the position is evenly spaced.
    const auto set = [&c](double value) { return c.setDoubleValue(value), c.doubleValue(); };
    const auto setPosition = [&c](double position) { return c.setLogSliderValue(position), c.doubleValue(); };
    c.setAllowsTickMarkValuesOnly(true);
    EXPECT_NEAR(set(60), 55.3515625, 1e-12);
    EXPECT_DOUBLE_EQ(c.logSliderValue(), 25);
    EXPECT_NEAR(setPosition(62.4), 80.625, 1e-12); // rounds to the third tick
    EXPECT_DOUBLE_EQ(setPosition(250), 100); // beyond max: the last tick
    c.setInvertValues(true);
    EXPECT_DOUBLE_EQ(c.logSliderValue(), 0);
    EXPECT_NEAR(setPosition(25), 92.2265625, 1e-12); // inverted position 25 is the fourth tick
    EXPECT_EQ(c.logSliderIntValue(), 25);
    c.setNumberOfTickMarks(1);
    EXPECT_DOUBLE_EQ(c.logSliderValue(), c.doubleValue());

    // Inversion without ticks; integer forms truncate, or round in the position domain.
    c.setNumberOfTickMarks(0);
    c.setAllowsTickMarkValuesOnly(false);
    c.setMinValue(10);
    c.setMaxValue(20);
    EXPECT_DOUBLE_EQ(set(12.25), 12.25);
    EXPECT_DOUBLE_EQ(c.sliderValue(), 17.75);
    EXPECT_EQ(c.sliderIntValue(), 17);
    EXPECT_EQ(c.logSliderIntValue(), 18);
    c.setSliderIntValue(17); // already 17: unchanged
    EXPECT_DOUBLE_EQ(c.doubleValue(), 12.25);
    c.setSliderValue(11);
    EXPECT_DOUBLE_EQ(c.doubleValue(), 19);
    EXPECT_DOUBLE_EQ(set(35), 20); // clamped
}

TEST(SliderValues, MagneticMarksAndThePropertyCopy)
{
    PvSliderCell c;
    c.setMaxValue(10);
    for (double mark : {0.0, 10.0, 5.0, 5.05, 5.0}) // the ends and duplicates are refused
        c.setMagneticMarkAt(mark);
    EXPECT_EQ(c.magneticMarks(), QList<double>({5, 5.05}));
    const auto set = [&c](double value) { return c.setDoubleValue(value), c.doubleValue(); };
    EXPECT_DOUBLE_EQ(set(5.08), 5); // both catch it: the first added wins
    EXPECT_DOUBLE_EQ(set(5.12), 5.05); // out of the first mark's reach
    c.setMagneticMarkDelta(0.25);
    EXPECT_DOUBLE_EQ(set(5.25), 5.05); // not strictly inside 5's reach: the second mark catches it
    c.resetMagneticMarks();
    c.setMagneticMarkAt(5);
    EXPECT_DOUBLE_EQ(set(5.25), 5.25); // the bounds are strict
    EXPECT_DOUBLE_EQ(set(4.75), 4.75);
    EXPECT_DOUBLE_EQ(set(4.875), 5);
    c.setMagneticMarkAt(5.05);

    // Creation: the slider mask moves to the cell's own, the inherited one is cleared.
    EXPECT_EQ(c.sendActionMask(), PvBasicSliderCell::kDefaultSendActionMask);
    EXPECT_EQ(c.PvCell::sendActionMask(), 0);

    // A copy takes range, ticks, mask, pictures and marks; value, curve, inversion and
    // default stay behind.
    c.setNumberOfTickMarks(3);
    c.setLogTickMarks(1);
    c.setInvertValues(true);
    c.setDefaultValue(3);
    c.sendActionOn(PvLeftMouseUpMask);
    c.setImageIDs(kKnob, kTrack);
    const auto copy = PvSliderCell::initWithPropertiesOfSliderCell(c);
    EXPECT_EQ(
        std::tuple(copy->maxValue(), copy->numberOfTickMarks(), copy->sendActionMask(), copy->knobImageID()),
        std::tuple(10.0, 3, int32_t(PvLeftMouseUpMask), kKnob));
    EXPECT_EQ(copy->magneticMarks(), c.magneticMarks());
    EXPECT_EQ(
        std::tuple(copy->logTickMarks(), copy->invertValues(), copy->defaultValue(), copy->doubleValue()),
        std::tuple(0, false, 0.0, 0.0));

    PvSlider plain;
    plain.setMaxValue(8);
    plain.setNumberOfTickMarks(9);
    PvSliderCell* replaced = PvSliderCell::replacedCellInSlider(&plain);
    EXPECT_EQ(plain.sliderCell(), replaced);
    EXPECT_EQ(std::tuple(replaced->maxValue(), replaced->numberOfTickMarks(), replaced->sendActionMask()),
        std::tuple(8.0, 9, PvBasicSliderCell::kDefaultSendActionMask));
}

TEST_F(SliderFixture, KnobRectAndValueFromPointInBothFlippings)
{
    cell->setDoubleValue(30);
    EXPECT_DOUBLE_EQ(cell->valueWithPoint(QPointF(40.5, 3)), 35);
    EXPECT_DOUBLE_EQ(cell->valueWithPoint(QPointF(-20, 3)), 0);
    EXPECT_DOUBLE_EQ(cell->valueWithPoint(QPointF(500, 3)), 100);

    // Vertical: the minimum is at the bottom of the screen either way.
    resize(20, 110);
    EXPECT_EQ(cell->knobRectFlipped(true), QRectF(5, 70, 10, 10)); // ceil(100 * 0.7)
    EXPECT_DOUBLE_EQ(cell->valueWithPoint(QPointF(10, 24.5)), 80); // ceil(19.5) = 20 from the top
    slider->setFlipped(false);
    resize(20, 110);
    EXPECT_EQ(cell->knobRectFlipped(false), QRectF(5, 30, 10, 10)); // from the bottom edge
    EXPECT_DOUBLE_EQ(cell->valueWithPoint(QPointF(10, 24.5)), 19); // floor(19.5)
    // Through the mouse: a press at 25 points above the bottom edge sets 20.
    EXPECT_DOUBLE_EQ(click(QPoint(10, 110 - 25)), 20);
    EXPECT_EQ(slider->convertToWidget(cell->knobRectFlipped(false)), QRectF(5, 80, 10, 10));

    // Insets: labels and slider insets shrink the travel; the minimum end stays at the bottom.
    cell->setMinSideInset(4);
    cell->setMaxSideInset(6);
    cell->setMinSideSliderInset(2);
    cell->setKnobRectInset(QPointF(1, -1));
    cell->calculateInternalsFromCellFrame(QRectF(0, 0, 20, 110), slider);
    EXPECT_EQ(cell->sliderFrame(), QRectF(0, 4, 20, 100));
    EXPECT_EQ(cell->trackRect(), QRectF(0, 6, 20, 98));
    slider->setFlipped(true);
    cell->calculateInternalsFromCellFrame(QRectF(0, 0, 20, 110), slider);
    EXPECT_EQ(cell->trackRect(), QRectF(0, 6, 20, 98));
    EXPECT_EQ(cell->knobRectFlipped(true), QRectF(6, 6 + 71 - 1, 10, 10)); // ceil(88 * 0.8) = 71
}

TEST_F(SliderFixture, PressesDragsFineStepsResetAndLabels)
{
    QSignalSpy changes(slider, &PvSlider::valueChanged);
    cell->setDoubleValue(30);
    // A press on the knob keeps the value; the knob then keeps its distance to the mouse.
    EXPECT_DOUBLE_EQ(drag({QPoint(37, 10), QPoint(47, 10)}), 40);
    EXPECT_EQ(notes, QStringList({PvStartTrackingNotification, PvStopTrackingNotification}));
    // A press on the track beside it jumps (and the value jumps with each drag).
    EXPECT_DOUBLE_EQ(drag({QPoint(80, 10)}), 75);
    EXPECT_EQ(cell->knobState(), 0);
    EXPECT_EQ(changes.size(), 3); // 30, 40, 75
    EXPECT_DOUBLE_EQ(changes.last().first().toDouble(), 75);

    // Shift: one fine step per drag event whatever the distance; no movement, no step.
    cell->setFineValueControlStep(0.5);
    const auto fine = {QPoint(80, 10), QPoint(100, 10), QPoint(100, 4), QPoint(101, 15), QPoint(60, 10)};
    EXPECT_DOUBLE_EQ(drag(fine, Qt::ShiftModifier), 75.5); // +0.5, nothing, +0.5, -0.5
    resize(20, 110); // vertical, flipped: moving up is towards the maximum
    EXPECT_DOUBLE_EQ(drag({QPoint(10, 30), QPoint(10, 20), QPoint(10, 10)}, Qt::ShiftModifier), 76.5);

    // Option-click reset: the default, an action although the mask lacks mouse-down, and
    // no movement until the release.
    cell->setDefaultValue(12);
    cell->setAltClickSetsDefaultValue(true);
    cell->sendActionOn(PvLeftMouseUpMask);
    takeSent();
    notes.clear();
    QTest::mousePress(slider, Qt::LeftButton, Qt::AltModifier, QPoint(10, 50));
    EXPECT_EQ(sent, QList<double>({12}));
    QTest::mouseMove(slider, QPoint(10, 90));
    QTest::mouseRelease(slider, Qt::LeftButton, Qt::AltModifier, QPoint(10, 90));
    EXPECT_DOUBLE_EQ(slider->doubleValue(), 12);
    EXPECT_EQ(sent, QList<double>({12})); // the release after a reset sends nothing
    EXPECT_EQ(notes, QStringList({PvStartTrackingNotification, PvStopTrackingNotification}));

    // End labels: a click in a side inset jumps to that end; refused without the setting.
    withLabels();
    EXPECT_DOUBLE_EQ(click(QPoint(125, 10)), 12);
    cell->setLabelClickSetsMinMaxValue(true);
    EXPECT_DOUBLE_EQ(click(QPoint(125, 10)), 100);
    EXPECT_DOUBLE_EQ(click(QPoint(3, 10)), 0);

    // Disabled: no tracking and no notifications.
    notes.clear();
    slider->setEnabled(false);
    EXPECT_DOUBLE_EQ(click(QPoint(60, 10)), 0);
    EXPECT_TRUE(notes.isEmpty());
}

TEST_F(SliderFixture, ActionMaskWheelAndKeys)
{
    cell->setDoubleValue(30);
    // A jump sends from setting the value and again from the press itself.
    drag({QPoint(80, 10), QPoint(90, 10)});
    EXPECT_EQ(takeSent(), QList<double>({75, 75, 85, 85}));
    cell->sendActionOn(PvLeftMouseUpMask);
    drag({QPoint(20, 10), QPoint(30, 10)});
    EXPECT_EQ(takeSent(), QList<double>({25}));
    cell->sendActionOn(PvLeftMouseDraggedMask);
    drag({QPoint(20, 10), QPoint(30, 10), QPoint(40, 10)});
    EXPECT_EQ(takeSent(), QList<double>({25, 35}));

    // The wheel: a tenth of the range per event, whatever its size, and it always sends.
    cell->setDoubleValue(50);
    EXPECT_DOUBLE_EQ(wheel(QPoint(0, 36)), 60); // 0.3 notches: one whole step
    EXPECT_DOUBLE_EQ(wheel(QPoint(0, -7 * 120)), 50); // -7: still one step
    EXPECT_DOUBLE_EQ(wheel(QPoint(0, 120), Qt::ShiftModifier), 52.5); // a quarter step
    takeSent();
    wheel(QPoint(0, 0)); // no movement still sends
    EXPECT_EQ(takeSent(), QList<double>({52.5}));
    slider->setEnabled(false);
    EXPECT_DOUBLE_EQ(wheel(QPoint(0, 120)), 52.5);
    slider->setEnabled(true);
    // The cell's own wheel rule serves a cell in any control, and always sends.
    PvControl host(std::make_unique<PvSliderCell>(), &window);
    host.setGeometry(0, 40, 110, 20);
    QSignalSpy hostSent(&host, &PvControl::actionTriggered);
    host.cell()->setDoubleValue(0.5);
    EXPECT_DOUBLE_EQ(wheel(QPoint(0, -30), {}, &host), 0.4);
    EXPECT_EQ(hostSent.size(), 1);

    // Keys: a hundredth of the range per arrow, a tenth per page; tick to tick with ticks.
    slider->setFocus();
    EXPECT_DOUBLE_EQ(key(Qt::Key_Right), 53.5);
    EXPECT_DOUBLE_EQ(key(Qt::Key_PageDown), 43.5);
    cell->setNumberOfTickMarks(5);
    cell->setLogTickMarks(1);
    EXPECT_DOUBLE_EQ(key(Qt::Key_Up), 44.6484375);
    EXPECT_DOUBLE_EQ(key(Qt::Key_Down), 19.375);
    EXPECT_DOUBLE_EQ(key(Qt::Key_End), 100);
}

TEST_F(SliderFixture, ValueTipAccessibilityAndPictures)
{
    // The tip shows the value while tracking and closes with the release.
    cell->setMovableToolTip(cell, 0);
    QTest::mousePress(slider, Qt::LeftButton, {}, QPoint(60, 10));
    EXPECT_EQ(cell->knobState(), 1); // pressed while tracking
    PvToolTipWindow* tip = PvToolTipWindow::existingToolTipWindow();
    ASSERT_NE(tip, nullptr);
    EXPECT_TRUE(tip->isVisible());
    QTest::mouseMove(slider, QPoint(70, 10));
    EXPECT_EQ(tip->stringView()->currentString(), "65.0");
    EXPECT_EQ(tip->pos(), slider->mapToGlobal(QPoint(70, 10 + PvToolTipWindow::kVerticalOffset)));
    QTest::mouseRelease(slider, Qt::LeftButton, {}, QPoint(70, 10));
    EXPECT_FALSE(tip->isVisible());

    // Assistive technology sees a slider with the inverted value.
    cell->setInvertValues(true);
    QAccessibleInterface* a = QAccessible::queryAccessibleInterface(slider);
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(a->role(), QAccessible::Slider);
    QAccessibleValueInterface* value = a->valueInterface();
    ASSERT_NE(value, nullptr);
    EXPECT_DOUBLE_EQ(value->currentValue().toDouble(), 35);
    EXPECT_EQ(a->text(QAccessible::Value), "35");
    value->setCurrentValue(90);
    EXPECT_DOUBLE_EQ(slider->doubleValue(), 10);

    // Pictures: the labels at the ends, the bar between them, the knob in its state, all
    // drawn from the 2x pictures at twice the pixels.
    cell->setInvertValues(false);
    withLabels();
    cell->setDoubleValue(50);
    QImage image(slider->size() * 2, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(2);
    slider->render(&image); // with the window's background
    const auto at = [&image](double x, double y) { return image.pixelColor(int(x * 2), int(y * 2)); };
    EXPECT_EQ(at(2, 10), QColor(Qt::magenta));
    EXPECT_EQ(at(127, 10), QColor(Qt::cyan));
    EXPECT_EQ(at(20, 10), QColor(Qt::green));
    const QColor ground = at(20, 1);
    EXPECT_EQ(at(20, 7), ground);
    EXPECT_EQ(at(10 + 50 + 0.25, 5.25), QColor(Qt::red)); // the knob's first 2x pixel
    EXPECT_EQ(at(10 + 50 - 0.25, 10), QColor(Qt::green));
    EXPECT_EQ(at(10 + 50 + 0.25, 4.75), ground);
    // Another active window: the knob shows inactive when asked to.
    cell->setShowsDisabledWhenNotMainWindow(true);
    QWidget front;
    front.show();
    front.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&front));
    slider->render(&image);
    EXPECT_EQ(at(65, 6), QColor(Qt::yellow));
    cell->setShowsDisabledWhenNotMainWindow(false);
    cell->setKnobDisabledAlpha(0.5f);
    slider->setEnabled(false);
    slider->render(&image);
    const QColor faded = at(65, 6); // half of the red knob over the background
    EXPECT_NEAR(faded.red(), (255 + ground.red()) / 2.0, 1);
    EXPECT_NEAR(faded.green(), ground.green() / 2.0, 1);
}

// The plain cell, drawn by the style: its knob follows the value in both flippings, and a
// press on it keeps the value.
TEST_F(SliderFixture, PlainCellStyleKnobFollowsTheValueAndTheMouse)
{
    slider = new PvSlider(&window);
    slider->setNumberOfTickMarks(5);
    slider->show();
    resize(24, 160);
    PvBasicSliderCell* plain = slider->sliderCell();
    plain->setDoubleValue(0.25);
    const QRectF knob = plain->knobRectFlipped(true);
    EXPECT_GT(knob.top(), 80); // a quarter up from the bottom
    EXPECT_DOUBLE_EQ(click(knob.center().toPoint() + QPoint(0, 2)), 0.25);
    EXPECT_DOUBLE_EQ(click(QPoint(12, 1)), 1.0);
    slider->setFlipped(false);
    plain->setDoubleValue(0.25);
    EXPECT_EQ(slider->convertToWidget(plain->knobRectFlipped(false)), knob);
    QSignalSpy changes(slider, &PvSlider::valueChanged);
    drag({knob.center().toPoint(), knob.center().toPoint() - QPoint(0, 10)});
    // The knob moved with the mouse, within its whole-pixel rounding.
    EXPECT_NEAR(
        slider->convertToWidget(plain->knobRectFlipped(false)).center().y(), knob.center().y() - 10, 1);
    EXPECT_EQ(changes.size(), 1);
    plain->setAllowsTickMarkValuesOnly(true);
    EXPECT_DOUBLE_EQ(click(QPoint(12, 70)), 0.5);
}
