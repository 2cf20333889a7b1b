// Slider cells and the slider control, driven through real Qt input.
#include <Pavo/PavoUI.h>

#include "TestSupport.h"

#include <QAccessible>
#include <QAccessibleValueInterface>
#include <QDir>
#include <QSignalSpy>
#include <QTest>
#include <QWheelEvent>
#include <gtest/gtest.h>

namespace {

constexpr int kKnob = 7000; // 10 x 10 points, one colour per state
constexpr int kTrack = 7001; // 40 x 4 bar; labels 8 x 8

QColor knobColour(int state)
{
    return state == 1 ? Qt::blue : state == 2 ? Qt::yellow : Qt::red;
}

// Flat pictures at twice the pixel density, so drawing can be checked by colour.
class TestPictures : public PvResourceProvider {
public:
    QPixmap imageForID(int32_t id, int state) override
    {
        QSize points;
        QColor colour;
        if (id == kKnob && state <= 2) {
            points = QSize(10, 10);
            colour = knobColour(state);
        } else if (id == kTrack && state == 0) {
            points = QSize(40, 4);
            colour = Qt::green;
        } else if (id == kTrack && state <= 2) {
            points = QSize(8, 8);
            colour = state == 1 ? Qt::magenta : Qt::cyan;
        } else {
            return {};
        }
        QPixmap p(points * 2);
        p.setDevicePixelRatio(2);
        p.fill(colour);
        return p;
    }
};

// Records every action sent with the slider as sender.
class Receiver : public QObject {
    Q_OBJECT
public:
    QList<double> values;
    Q_INVOKABLE void changed(QObject* sender) { values << static_cast<PvControl*>(sender)->doubleValue(); }
};

struct SliderFixture : ::testing::Test {
    QWidget window;
    PvSlider* slider = nullptr;
    PvSliderCell* cell = nullptr;
    Receiver receiver;
    QStringList notes;

    void SetUp() override
    {
        PvResourceProvider::setDefaultResourceProviderClass<TestPictures>();
        slider = new PvSlider(std::make_unique<PvSliderCell>(), &window);
        cell = static_cast<PvSliderCell*>(slider->sliderCell());
        cell->setMinValue(0);
        cell->setMaxValue(100);
        cell->setImageIDs(kKnob, kTrack);
        slider->setTarget(&receiver);
        slider->setAction("changed");
        slider->setGeometry(0, 0, 110, 20); // knob travel: 100 points, one per unit
        window.resize(200, 200);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
        PvNotificationCenter::defaultCenter()->addObserver(
            &receiver, {}, cell, [this](const PvNotification& n) { notes << n.name; });
        relayout();
    }
    // Lays the cell out for the current geometry, as drawing does.
    void relayout()
    {
        QApplication::processEvents();
        slider->repaint();
    }
    void TearDown() override { PvResourceProvider::setDefaultResourceProviderClass({}); }
    // A press, drags and the release, all with the same modifiers.
    void drag(std::initializer_list<QPoint> points, Qt::KeyboardModifiers mods = {})
    {
        const QPoint* p = points.begin();
        QTest::mousePress(slider, Qt::LeftButton, mods, *p);
        for (++p; p != points.end(); ++p)
            QTest::mouseEvent(QTest::MouseMove, slider, Qt::NoButton, mods, *p);
        QTest::mouseRelease(slider, Qt::LeftButton, mods, *(points.end() - 1));
    }
    void wheel(QPoint angle, Qt::KeyboardModifiers mods = {})
    {
        QWheelEvent e(QPointF(5, 5), slider->mapToGlobal(QPointF(5, 5)), QPoint(), angle, Qt::NoButton, mods,
            Qt::NoScrollPhase, false);
        QApplication::sendEvent(slider, &e);
    }
};

} // namespace

TEST(SliderValues, CurvedTicksInversionAndThePositionDomain)
{
    PvLogSliderCell c;
    c.setMaxValue(100);
    c.setNumberOfTickMarks(5);
    const auto expectTicks = [&c](std::initializer_list<double> values) {
        int i = 0;
        for (double v : values)
            EXPECT_NEAR(c.tickMarkValueAtIndex(i++), v, 1e-12) << c.logTickMarks() << " " << i;
    };
    expectTicks({0, 25, 50, 75, 100});
    c.setLogTickMarks(1);
    expectTicks({0, 7.7734375, 19.375, 44.6484375, 100});
    c.setLogTickMarks(2);
    expectTicks({0, 55.3515625, 80.625, 92.2265625, 100});
    EXPECT_EQ(c.closestIndexOfValue(85), 2);
    EXPECT_EQ(c.closestIndexOfValue(-5), 0);

    // Tick values only: the value snaps to the curve, the position is evenly spaced.
    c.setAllowsTickMarkValuesOnly(true);
    c.setDoubleValue(60);
    EXPECT_NEAR(c.doubleValue(), 55.3515625, 1e-12);
    EXPECT_DOUBLE_EQ(c.logSliderValue(), 25);
    c.setLogSliderValue(62.4); // rounds to the third tick
    EXPECT_NEAR(c.doubleValue(), 80.625, 1e-12);
    c.setLogSliderValue(250); // beyond max: the last tick
    EXPECT_DOUBLE_EQ(c.doubleValue(), 100);
    c.setInvertValues(true);
    EXPECT_DOUBLE_EQ(c.logSliderValue(), 0);
    c.setLogSliderValue(25); // inverted position 25 is the fourth tick
    EXPECT_NEAR(c.doubleValue(), 92.2265625, 1e-12);
    EXPECT_EQ(c.logSliderIntValue(), 25);
    c.setNumberOfTickMarks(1);
    EXPECT_DOUBLE_EQ(c.logSliderValue(), c.doubleValue());

    // Inversion without ticks; integer forms truncate, or round in the position domain.
    PvLogSliderCell v;
    v.setMinValue(10);
    v.setMaxValue(20);
    v.setInvertValues(true);
    v.setDoubleValue(12.75);
    EXPECT_DOUBLE_EQ(v.sliderValue(), 17.25);
    EXPECT_EQ(v.sliderIntValue(), 17);
    EXPECT_EQ(v.logSliderIntValue(), 17);
    v.setSliderIntValue(17); // already 17: unchanged
    EXPECT_DOUBLE_EQ(v.doubleValue(), 12.75);
    v.setSliderValue(11);
    EXPECT_DOUBLE_EQ(v.doubleValue(), 19);
    v.setDoubleValue(35); // clamped
    EXPECT_DOUBLE_EQ(v.doubleValue(), 20);
}

TEST(SliderValues, MagneticMarksAndThePropertyCopy)
{
    PvSliderCell c;
    c.setMaxValue(10);
    c.setMagneticMarkAt(0); // the ends and duplicates are refused
    c.setMagneticMarkAt(10);
    c.setMagneticMarkAt(5);
    c.setMagneticMarkAt(5.05);
    c.setMagneticMarkAt(5);
    EXPECT_EQ(c.magneticMarks(), QList<double>({5, 5.05}));
    c.setDoubleValue(5.08); // both catch it: the first added wins
    EXPECT_DOUBLE_EQ(c.doubleValue(), 5);
    c.setDoubleValue(5.12); // out of the first mark's reach
    EXPECT_DOUBLE_EQ(c.doubleValue(), 5.05);
    c.setMagneticMarkDelta(0.25);
    c.setDoubleValue(5.25); // not strictly inside 5's reach: the second mark catches it
    EXPECT_DOUBLE_EQ(c.doubleValue(), 5.05);
    c.resetMagneticMarks();
    c.setMagneticMarkAt(5);
    c.setDoubleValue(5.25); // the bounds are strict
    EXPECT_DOUBLE_EQ(c.doubleValue(), 5.25);
    c.setDoubleValue(4.875);
    EXPECT_DOUBLE_EQ(c.doubleValue(), 5);
    c.setMagneticMarkAt(5.05);

    // Creation: the slider mask moves to the cell's own, the inherited one is cleared.
    EXPECT_EQ(c.sendActionMask(), PvBasicSliderCell::kDefaultSendActionMask);
    EXPECT_EQ(c.PvCell::sendActionMask(), 0);

    c.setNumberOfTickMarks(3);
    c.setLogTickMarks(1);
    c.setInvertValues(true);
    c.setDefaultValue(3);
    c.sendActionOn(PvLeftMouseUpMask);
    c.setImageIDs(kKnob, kTrack);
    const auto copy = PvSliderCell::initWithPropertiesOfSliderCell(c);
    EXPECT_EQ(copy->maxValue(), 10);
    EXPECT_EQ(copy->numberOfTickMarks(), 3);
    EXPECT_EQ(copy->sendActionMask(), PvLeftMouseUpMask);
    EXPECT_EQ(copy->knobImageID(), kKnob);
    EXPECT_EQ(copy->magneticMarks(), c.magneticMarks());
    EXPECT_EQ(copy->logTickMarks(), 0); // value, curve, inversion and default stay behind
    EXPECT_FALSE(copy->invertValues());
    EXPECT_EQ(copy->defaultValue(), 0);
    EXPECT_DOUBLE_EQ(copy->doubleValue(), 0);
    copy->resetMagneticMarks();
    EXPECT_EQ(c.magneticMarks().size(), 2);

    PvSlider plain;
    plain.setMaxValue(8);
    plain.setNumberOfTickMarks(9);
    PvSliderCell* replaced = PvSliderCell::replacedCellInSlider(&plain);
    EXPECT_EQ(plain.sliderCell(), replaced);
    EXPECT_EQ(replaced->maxValue(), 8);
    EXPECT_EQ(replaced->numberOfTickMarks(), 9);
    EXPECT_EQ(replaced->sendActionMask(), PvBasicSliderCell::kDefaultSendActionMask);
}

TEST_F(SliderFixture, KnobRectAndValueFromPointInBothFlippings)
{
    cell->setDoubleValue(30);
    EXPECT_EQ(cell->knobRectFlipped(true), QRectF(30, 5, 10, 10));
    EXPECT_DOUBLE_EQ(cell->valueWithPoint(QPointF(40.5, 3)), 35);
    EXPECT_DOUBLE_EQ(cell->valueWithPoint(QPointF(-20, 3)), 0);
    EXPECT_DOUBLE_EQ(cell->valueWithPoint(QPointF(500, 3)), 100);

    // Vertical: the minimum is at the bottom of the screen either way.
    slider->setGeometry(0, 0, 20, 110);
    relayout();
    EXPECT_EQ(cell->knobRectFlipped(true), QRectF(5, 70, 10, 10)); // ceil(100 * 0.7)
    EXPECT_DOUBLE_EQ(cell->valueWithPoint(QPointF(10, 24.5)), 80); // ceil(19.5) = 20 from the top
    slider->setFlipped(false);
    relayout();
    EXPECT_EQ(cell->knobRectFlipped(false), QRectF(5, 30, 10, 10)); // from the bottom edge
    EXPECT_DOUBLE_EQ(cell->valueWithPoint(QPointF(10, 24.5)), 19); // floor(19.5)

    // Through the mouse: a press at 25 points above the bottom edge sets 20.
    QTest::mouseClick(slider, Qt::LeftButton, {}, QPoint(10, 110 - 25));
    EXPECT_DOUBLE_EQ(slider->doubleValue(), 20);
    EXPECT_EQ(cell->knobRectFlipped(false), QRectF(5, 20, 10, 10));
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
    drag({QPoint(37, 10), QPoint(47, 10)});
    EXPECT_DOUBLE_EQ(slider->doubleValue(), 40);
    EXPECT_EQ(notes, QStringList({PvStartTrackingNotification, PvStopTrackingNotification}));
    // A press on the track beside it jumps (and the value jumps with each drag).
    drag({QPoint(80, 10)});
    EXPECT_DOUBLE_EQ(slider->doubleValue(), 75);
    EXPECT_EQ(cell->knobState(), 0);
    EXPECT_EQ(changes.size(), 3); // 30, 40, 75
    EXPECT_DOUBLE_EQ(changes.last().first().toDouble(), 75);

    // Shift: one fine step per drag event whatever the distance; no movement, no step.
    cell->setFineValueControlStep(0.5);
    drag({QPoint(80, 10), QPoint(100, 10), QPoint(100, 4), QPoint(101, 15), QPoint(60, 10)},
        Qt::ShiftModifier);
    EXPECT_DOUBLE_EQ(slider->doubleValue(), 75.5); // +0.5, nothing, +0.5, -0.5
    slider->setGeometry(0, 0, 20, 110); // vertical, flipped: moving up is towards the maximum
    relayout();
    drag({QPoint(10, 30), QPoint(10, 20), QPoint(10, 10)}, Qt::ShiftModifier);
    EXPECT_DOUBLE_EQ(slider->doubleValue(), 76.5);

    // Option-click reset: the default, an action although the mask lacks mouse-down, and
    // no movement until the release.
    cell->setDefaultValue(12);
    cell->setAltClickSetsDefaultValue(true);
    cell->sendActionOn(PvLeftMouseUpMask);
    receiver.values.clear();
    notes.clear();
    QTest::mousePress(slider, Qt::LeftButton, Qt::AltModifier, QPoint(10, 50));
    EXPECT_EQ(receiver.values, QList<double>({12}));
    QTest::mouseMove(slider, QPoint(10, 90));
    QTest::mouseRelease(slider, Qt::LeftButton, Qt::AltModifier, QPoint(10, 90));
    EXPECT_DOUBLE_EQ(slider->doubleValue(), 12);
    EXPECT_EQ(receiver.values, QList<double>({12})); // the release after a reset sends nothing
    EXPECT_EQ(notes, QStringList({PvStartTrackingNotification, PvStopTrackingNotification}));

    // End labels: a click in a side inset jumps to that end; refused without the setting.
    slider->setGeometry(0, 0, 130, 20);
    cell->setMinSideInset(10);
    cell->setMaxSideInset(10);
    relayout();
    QTest::mouseClick(slider, Qt::LeftButton, {}, QPoint(125, 10));
    EXPECT_DOUBLE_EQ(slider->doubleValue(), 12);
    cell->setLabelClickSetsMinMaxValue(true);
    QTest::mouseClick(slider, Qt::LeftButton, {}, QPoint(125, 10));
    EXPECT_DOUBLE_EQ(slider->doubleValue(), 100);
    QTest::mouseClick(slider, Qt::LeftButton, {}, QPoint(3, 10));
    EXPECT_DOUBLE_EQ(slider->doubleValue(), 0);

    // Disabled: no tracking and no notifications.
    notes.clear();
    slider->setEnabled(false);
    QTest::mouseClick(slider, Qt::LeftButton, {}, QPoint(60, 10));
    EXPECT_DOUBLE_EQ(slider->doubleValue(), 0);
    EXPECT_TRUE(notes.isEmpty());
}

TEST_F(SliderFixture, TheActionMaskDecidesWhichEventsSend)
{
    cell->setDoubleValue(30);
    // A jump sends from setting the value and again from the press itself.
    drag({QPoint(80, 10), QPoint(90, 10)});
    EXPECT_EQ(receiver.values, QList<double>({75, 75, 85, 85}));
    receiver.values.clear();
    cell->sendActionOn(PvLeftMouseUpMask);
    drag({QPoint(20, 10), QPoint(30, 10)});
    EXPECT_EQ(receiver.values, QList<double>({25}));
    receiver.values.clear();
    cell->sendActionOn(PvLeftMouseDraggedMask);
    drag({QPoint(20, 10), QPoint(30, 10), QPoint(40, 10)});
    EXPECT_EQ(receiver.values, QList<double>({25, 35}));
}

TEST_F(SliderFixture, WheelAndKeys)
{
    cell->setDoubleValue(50);
    wheel(QPoint(0, 36)); // 0.3 notches: one whole step
    EXPECT_DOUBLE_EQ(slider->doubleValue(), 60);
    wheel(QPoint(0, -7 * 120)); // -7: still one step
    EXPECT_DOUBLE_EQ(slider->doubleValue(), 50);
    wheel(QPoint(0, 120), Qt::ShiftModifier); // a quarter step, from the horizontal delta
    EXPECT_DOUBLE_EQ(slider->doubleValue(), 52.5);
    receiver.values.clear();
    wheel(QPoint(0, 0)); // no movement still sends
    EXPECT_EQ(receiver.values, QList<double>({52.5}));
    slider->setEnabled(false);
    wheel(QPoint(0, 120));
    EXPECT_DOUBLE_EQ(slider->doubleValue(), 52.5);
    slider->setEnabled(true);
    // The cell's own wheel rule serves a cell in any control, and always sends.
    PvControl host(std::make_unique<PvSliderCell>(), &window);
    host.setGeometry(0, 40, 110, 20);
    QSignalSpy sent(&host, &PvControl::actionTriggered);
    host.cell()->setDoubleValue(0.5);
    QWheelEvent down(QPointF(5, 5), host.mapToGlobal(QPointF(5, 5)), QPoint(), QPoint(0, -30), Qt::NoButton,
        Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(&host, &down);
    EXPECT_DOUBLE_EQ(host.doubleValue(), 0.4);
    EXPECT_EQ(sent.size(), 1);

    // Keys: a hundredth of the range per arrow, a tenth per page; tick to tick with ticks.
    slider->setFocus();
    QTest::keyClick(slider, Qt::Key_Right);
    EXPECT_DOUBLE_EQ(slider->doubleValue(), 53.5);
    QTest::keyClick(slider, Qt::Key_PageDown);
    EXPECT_DOUBLE_EQ(slider->doubleValue(), 43.5);
    cell->setNumberOfTickMarks(5);
    cell->setLogTickMarks(1);
    QTest::keyClick(slider, Qt::Key_Up);
    EXPECT_DOUBLE_EQ(slider->doubleValue(), 44.6484375);
    QTest::keyClick(slider, Qt::Key_Down);
    EXPECT_DOUBLE_EQ(slider->doubleValue(), 19.375);
    QTest::keyClick(slider, Qt::Key_End);
    EXPECT_DOUBLE_EQ(slider->doubleValue(), 100);
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

    // Assistive technology sees a slider with the inverted value, and the parent override.
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
    EXPECT_EQ(value->maximumValue().toDouble(), 100);
    QWidget other;
    cell->setAccessibilityParent(&other);
    EXPECT_EQ(a->parent()->object(), &other);

    // Pictures: the labels at the ends, the bar between them, the knob in its state, all
    // drawn from the 2x pictures at twice the pixels.
    cell->setInvertValues(false);
    slider->setGeometry(0, 0, 130, 20);
    cell->setMinSideInset(10);
    cell->setMaxSideInset(10);
    cell->setDoubleValue(50);
    QImage image(slider->size() * 2, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(2);
    image.fill(Qt::white);
    slider->render(&image);
    EXPECT_TRUE(image.save(QDir(PavoTest::outputDir()).filePath("slider-cell-pictures-2x.png")));
    const auto at = [&image](double x, double y) { return image.pixelColor(int(x * 2), int(y * 2)); };
    EXPECT_EQ(at(2, 10), QColor(Qt::magenta));
    EXPECT_EQ(at(127, 10), QColor(Qt::cyan));
    EXPECT_EQ(at(20, 10), QColor(Qt::green));
    const QColor ground = at(20, 1); // the window's background
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
    image.fill(Qt::white);
    slider->render(&image);
    EXPECT_EQ(at(65, 6), QColor(Qt::yellow));
    cell->setShowsDisabledWhenNotMainWindow(false);
    cell->setKnobDisabledAlpha(0.5f);
    slider->setEnabled(false);
    image.fill(Qt::white);
    slider->render(&image);
    const QColor faded = at(65, 6); // half of the red knob over the background
    EXPECT_NEAR(faded.red(), (255 + ground.red()) / 2.0, 1);
    EXPECT_NEAR(faded.green(), ground.green() / 2.0, 1);
}

// The plain cell, drawn by the style: its knob follows the value in both flippings, a
// press on it keeps the value, and a slider without pictures renders in the style.
TEST(PlainSlider, StyleKnobFollowsTheValueAndTheMouse)
{
    QWidget window;
    auto* slider = new PvSlider(&window);
    slider->setGeometry(0, 0, 24, 160);
    slider->setNumberOfTickMarks(5);
    window.resize(100, 200);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    slider->repaint();
    PvBasicSliderCell* cell = slider->sliderCell();
    cell->setDoubleValue(0.25);
    const QRectF knob = cell->knobRectFlipped(true);
    EXPECT_GT(knob.top(), 80); // a quarter up from the bottom
    QTest::mouseClick(slider, Qt::LeftButton, {}, knob.center().toPoint() + QPoint(0, 2));
    EXPECT_DOUBLE_EQ(slider->doubleValue(), 0.25);
    QTest::mouseClick(slider, Qt::LeftButton, {}, QPoint(12, 1));
    EXPECT_DOUBLE_EQ(slider->doubleValue(), 1.0);
    slider->setFlipped(false);
    cell->setDoubleValue(0.25);
    EXPECT_EQ(slider->convertToWidget(cell->knobRectFlipped(false)), knob);
    QSignalSpy changes(slider, &PvSlider::valueChanged);
    QTest::mousePress(slider, Qt::LeftButton, {}, knob.center().toPoint());
    QTest::mouseMove(slider, knob.center().toPoint() - QPoint(0, 10));
    QTest::mouseRelease(slider, Qt::LeftButton, {}, knob.center().toPoint() - QPoint(0, 10));
    const double travel = 160 - cell->knobThickness(); // within the knob's whole-pixel rounding
    EXPECT_NEAR(slider->doubleValue(), 0.25 + 10 / travel, 1 / travel);
    EXPECT_EQ(changes.size(), 1);
    cell->setAllowsTickMarkValuesOnly(true);
    QTest::mouseClick(slider, Qt::LeftButton, {}, QPoint(12, 70));
    EXPECT_DOUBLE_EQ(slider->doubleValue(), 0.5);
    QImage image(slider->size() * 2, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(2);
    image.fill(Qt::white);
    slider->render(&image);
    EXPECT_TRUE(image.save(QDir(PavoTest::outputDir()).filePath("slider-plain-vertical-2x.png")));
}

#include "SliderCellTest.moc"
