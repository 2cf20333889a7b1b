// Level meters: counting, drawing, fall-back and hold on a replaced clock, redraw areas,
// clicks and tool tips, through a real stereo view.
#include <Pavo/PavoUI.h>

#include <QAccessible>
#include <QAccessibleValueInterface>
#include <QPainter>
#include <QSignalSpy>
#include <QTest>
#include <QToolTip>
#include <gtest/gtest.h>

namespace {

constexpr int32_t kStrip = 1;
constexpr int32_t kClip = 2;
const QColor kUnlit(40, 40, 40);
const QColor kLit(0, 200, 0);
const QColor kLitBottomRow(0, 0, 255);
const QColor kClipOff(80, 0, 0);
const QColor kClipOn(255, 0, 0);

// A strip of 104 x 8 points (lit: green with a blue bottom row) and an 8 x 8 clip LED,
// made once and handed out again, as providers do. The strips are opaque (what meters
// compose fastest), or have an alpha channel, or the lit one is a row taller (which
// meters cannot compose and copy part by part); all look the same.
class Pictures : public PvResourceProvider {
public:
    enum Kind { Opaque, WithAlpha, LitTaller };
    explicit Pictures(Kind kind = Opaque)
    {
        for (int lit : {0, 1}) {
            QPixmap strip(QSize(104, kind == LitTaller && lit ? 9 : 8));
            if (kind == WithAlpha)
                strip.fill(Qt::transparent);
            QPainter painter(&strip);
            painter.fillRect(0, 0, 104, 8, lit ? kLit : kUnlit);
            if (lit)
                painter.fillRect(0, 7, 104, 1, kLitBottomRow);
            m_strip[lit] = strip;
            m_clip[lit] = QPixmap(8, 8);
            m_clip[lit].fill(lit ? kClipOn : kClipOff);
        }
    }
    QPixmap imageForID(int32_t id, int state) override
    {
        if ((state != 0 && state != 3) || (id != kStrip && id != kClip))
            return {};
        return id == kStrip ? m_strip[state == 3] : m_clip[state == 3];
    }

private:
    QPixmap m_strip[2];
    QPixmap m_clip[2];
};

struct Target : QObject {
    Q_OBJECT
public:
    QList<QObject*> senders;
    Q_INVOKABLE void meterClicked(QObject* sender) { senders << sender; }
};

class UnflippedMeter : public DfStereoLevelMeterView {
public:
    using DfStereoLevelMeterView::DfStereoLevelMeterView;
    bool isFlipped() const override { return false; }
};

struct MeterFixture : ::testing::Test {
    QWidget window;
    DfStereoLevelMeterView* view = nullptr;
    QList<QRect> painted; // areas the view repainted

    void SetUp() override
    {
        PvResourceProvider::setDefaultResourceProviderClass<Pictures>();
        recorder.painted = &painted;
        view = makeView<DfStereoLevelMeterView>();
        window.resize(200, 100);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
        settle();
    }
    void TearDown() override { PvResourceProvider::setDefaultResourceProviderClass({}); }

    template <class View> View* makeView()
    {
        auto* v = new View(QRect(10, 10, 130, 24), &window);
        v->setImageIDs(kStrip, kClip);
        v->setPadding(2);
        v->setOnStateLEDInset(4);
        v->setLEDCount(10);
        v->installEventFilter(&recorder);
        v->show();
        return v;
    }
    // Runs pending repaints and forgets them.
    void settle()
    {
        QApplication::processEvents();
        painted.clear();
    }
    QList<QRect> repaints()
    {
        QApplication::processEvents();
        return std::exchange(painted, {});
    }
    // The colour at x points into the strip of the left (upper) or right (lower) meter,
    // in the strip's row y.
    static QColor pixel(const QImage& image, bool upper, int x, int y = 3)
    {
        return image.pixelColor(2 + x, (upper ? 2 : 14) + y);
    }

    struct Recorder : QObject {
        QList<QRect>* painted = nullptr;
        bool eventFilter(QObject*, QEvent* e) override
        {
            if (e->type() == QEvent::Paint)
                *painted << static_cast<QPaintEvent*>(e)->rect();
            return false;
        }
    } recorder;
};

} // namespace

TEST_F(MeterFixture, LEDsCountInSinglePrecisionAndTheStartAreaLightsForAnySignal)
{
    PvClock::ScopedOverride clock(0.0);
    EXPECT_EQ(PvLevelMeterCell::litLEDs(10, 0.44f), 4u);
    EXPECT_EQ(PvLevelMeterCell::litLEDs(10, 0.45f), 5u); // 4.5 rounds away from zero
    EXPECT_EQ(PvLevelMeterCell::litLEDs(0, 0.9f), 0u);

    view->setLevelL(0.44f, 0.01f);
    QImage image = view->grab().toImage();
    EXPECT_EQ(pixel(image, true, 43), kLit); // 4 LEDs of 10 points after the 4-point start
    EXPECT_EQ(pixel(image, true, 44), kUnlit);
    EXPECT_EQ(pixel(image, false, 3), kLit); // no LED lit, but the start area is
    EXPECT_EQ(pixel(image, false, 4), kUnlit);

    clock.advance(1); // past the hold time (0): the hold of 0.01 goes
    view->setLevelL(0.45f, 0);
    image = view->grab().toImage();
    EXPECT_EQ(pixel(image, true, 53), kLit);
    EXPECT_EQ(pixel(image, true, 54), kUnlit);
    EXPECT_EQ(pixel(image, false, 0), kUnlit); // silence lights nothing
}

TEST_F(MeterFixture, HoldSegmentInLEDAndBarModeSkipsThePicturesBottomRow)
{
    view->setMaxLevelHoldTime(10);
    for (Pictures::Kind kind : {Pictures::Opaque, Pictures::WithAlpha, Pictures::LitTaller}) {
        SCOPED_TRACE(kind);
        PvResourceProvider::setDefaultResourceProviderClass(
            [kind] { return std::make_unique<Pictures>(kind); });
        view->setLEDCount(10);
        view->setLevelL(0.8f, 0.8f);
        view->setLevelL(0.3f, 0.3f);
        EXPECT_FLOAT_EQ(view->cellL()->maxDisplayLevel(), 0.8f);
        QImage image = view->grab().toImage();
        // LED mode: three LEDs lit, and the hold is the eighth LED, 10 points wide,
        // ending at 84.
        EXPECT_EQ(pixel(image, true, 33), kLit);
        EXPECT_EQ(pixel(image, true, 34), kUnlit);
        EXPECT_EQ(pixel(image, true, 73), kUnlit);
        EXPECT_EQ(pixel(image, true, 74), kLit);
        EXPECT_EQ(pixel(image, true, 83), kLit);
        EXPECT_EQ(pixel(image, true, 84), kUnlit);
        EXPECT_EQ(pixel(image, true, 80, 7), kUnlit); // bottom row of the hold left unlit
        EXPECT_EQ(pixel(image, true, 20, 7), kLitBottomRow);

        view->setLEDCount(0); // bar mode: lit round(0.3 x 100), hold 2 points ending at 84
        image = view->grab().toImage();
        EXPECT_EQ(pixel(image, true, 33), kLit);
        EXPECT_EQ(pixel(image, true, 34), kUnlit);
        EXPECT_EQ(pixel(image, true, 81), kUnlit);
        EXPECT_EQ(pixel(image, true, 82), kLit);
        EXPECT_EQ(pixel(image, true, 83), kLit);
        EXPECT_EQ(pixel(image, true, 84), kUnlit);
        EXPECT_EQ(pixel(image, true, 83, 7), kUnlit);
    }
}

TEST_F(MeterFixture, OverFullScaleLatchesTheClipLEDUntilAClickClearsBoth)
{
    Target target;
    view->setTarget(&target);
    view->setAction("meterClicked");
    QSignalSpy triggered(view, &PvControl::actionTriggered);
    view->setFallBackStep(0.1f);
    view->setFallBackStepTime(0.05);
    view->setLevelL(0.5f, 1.05f); // only the right meter clips
    QImage image = view->grab().toImage();
    EXPECT_EQ(image.pixelColor(130 - 2 - 4, 2 + 3), kClipOff);
    EXPECT_EQ(image.pixelColor(130 - 2 - 4, 14 + 3), kClipOn);
    view->setLevelL(1.3f, 1.05f);
    EXPECT_FLOAT_EQ(view->cellL()->displayLevel(), 1.1f);
    EXPECT_FLOAT_EQ(view->cellR()->displayLevel(), 1.05f);
    EXPECT_TRUE(view->cellL()->isPeak());
    EXPECT_TRUE(view->cellR()->isPeak());
    image = view->grab().toImage();
    EXPECT_EQ(pixel(image, true, 103), kLit); // drawn as full
    EXPECT_EQ(image.pixelColor(130 - 2 - 4, 2 + 3), kClipOn);

    view->setLevelL(0.2f, 0.2f); // a lower level does not unlatch it
    EXPECT_TRUE(view->cellL()->isPeak());
    settle();
    QTest::mouseClick(view, Qt::LeftButton, {}, QPoint(60, 12));
    EXPECT_FALSE(view->cellL()->isPeak());
    EXPECT_FALSE(view->cellR()->isPeak());
    EXPECT_EQ(target.senders, QList<QObject*>({view}));
    EXPECT_EQ(triggered.count(), 1);
    EXPECT_FALSE(repaints().isEmpty());
    image = view->grab().toImage();
    EXPECT_EQ(image.pixelColor(130 - 2 - 4, 2 + 3), kClipOff);
    EXPECT_EQ(image.pixelColor(130 - 2 - 4, 14 + 3), kClipOff);

    // A meter without a clip LED (then each meter asks for its own pictures).
    view->cellR()->setImageIDs(kStrip, kImage_None);
    image = view->grab().toImage();
    EXPECT_EQ(image.pixelColor(130 - 2 - 4, 2 + 3), kClipOff);
    EXPECT_NE(image.pixelColor(130 - 2 - 4, 14 + 3), kClipOn);
    EXPECT_EQ(pixel(image, false, 50), kLit);
}

TEST_F(MeterFixture, FallBackAndHoldFollowTheClockWhateverTheFeedingRate)
{
    PvClock::ScopedOverride clock(100.0);
    view->setFallBackStep(0.1f);
    view->setFallBackStepTime(0.05);
    view->setLevelL(0.8f, 0.8f);
    clock.advance(0.1);
    view->setLevelL(0, 0.8f); // the left meter once after 0.1 s ...
    EXPECT_FLOAT_EQ(view->cellL()->displayLevel(), 0.6f);
    view->setLevelL(0, 0);
    for (int i = 0; i < 10; ++i) { // ... the right one ten times in 0.01 s steps
        clock.advance(0.01);
        view->setLevelL(0, 0);
    }
    EXPECT_NEAR(view->cellR()->displayLevel(), 0.6f, 1e-5);
    EXPECT_NEAR(view->cellL()->displayLevel(), 0.4f, 1e-5);
    clock.advance(10);
    view->setLevelL(0, 0.5f); // never below 0; a rise shows at once
    EXPECT_EQ(view->cellL()->displayLevel(), 0.0f);
    EXPECT_EQ(view->cellR()->displayLevel(), 0.5f);
    EXPECT_EQ(view->levelR(), 0.5f);

    view->setFallBackStepTime(0); // no step time: the display follows at once
    view->setLevelL(0, 0.1f);
    EXPECT_EQ(view->cellR()->displayLevel(), 0.1f);

    // The hold: cleared at once at the first call after the hold time without a rise.
    view->setMaxLevelHoldTime(0.5);
    clock.set(200.0); // whole steps from here, so 0.5 s is exactly 0.5 s
    view->setLevelL(0.7f, 0);
    clock.advance(0.5);
    view->setLevelL(0.2f, 0);
    EXPECT_FLOAT_EQ(view->cellL()->maxDisplayLevel(), 0.7f); // 0.5 s is not past it
    settle();
    clock.advance(0.01);
    view->setLevelL(0.2f, 0);
    EXPECT_EQ(view->cellL()->maxDisplayLevel(), 0.0f);
    EXPECT_EQ(repaints().size(), 1);
}

TEST_F(MeterFixture, SmallChangesRedrawNothingAndRedrawsCoverOnlyTheMeter)
{
    PvClock::ScopedOverride clock(1.0);
    view->setMaxLevelHoldTime(100);
    view->setLevelL(0.5f, 0.5f);
    QList<QRect> areas = repaints();
    ASSERT_EQ(areas.size(), 1);
    EXPECT_EQ(areas[0], QRect(2, 2, 126, 20)); // both meters, not the whole view or window

    view->setLevelL(0.495f, 0.5f); // 0.005 lower, under the hold: nothing to show
    EXPECT_TRUE(repaints().isEmpty());
    view->setLevelL(0.495f, 0.5f, true);
    EXPECT_EQ(repaints(), QList<QRect>({QRect(2, 2, 126, 20)}));
    view->setLevelL(0.3f, 0.5f);
    areas = repaints();
    ASSERT_EQ(areas.size(), 1);
    EXPECT_EQ(areas[0], QRect(2, 2, 126, 8)); // the upper meter only
    view->setLevelL(0.3f, 0.4f);
    EXPECT_EQ(repaints(), QList<QRect>({QRect(2, 14, 126, 8)}));
}

TEST_F(MeterFixture, TimerCallbacksStepTheDisplayAndClearTheHold)
{
    PvClock::ScopedOverride clock(0.0);
    PvLevelMeterCell* cell = view->cellL();
    view->setFallBackStep(0.25f);
    view->setMaxLevelHoldTime(100);
    view->setLevelL(0.9f, 0);
    view->setFallBackStepTime(1000); // the fall-back now comes from the timer only
    view->setLevelL(0.3f, 0);
    cell->setTimer(std::make_unique<PvTimer>(0.05, view, [cell](PvTimer* t) { cell->timerAction(t); }));
    cell->setMaxtimer(std::make_unique<PvTimer>(1.0, view, [cell](PvTimer* t) { cell->maxtimerAction(t); }));
    cell->timer()->start();
    cell->maxtimer()->start();
    cell->timer()->fire();
    EXPECT_FLOAT_EQ(cell->displayLevel(), 0.65f);
    EXPECT_TRUE(cell->timer()->isActive());
    cell->timer()->fire();
    cell->timer()->fire(); // 0.15 would be below the level: it stops at the level
    EXPECT_FLOAT_EQ(cell->displayLevel(), 0.3f);
    EXPECT_FALSE(cell->timer()->isActive());
    EXPECT_FLOAT_EQ(cell->maxDisplayLevel(), 0.9f);
    settle();
    cell->maxtimer()->fire();
    EXPECT_EQ(cell->maxDisplayLevel(), 0.0f);
    EXPECT_FALSE(repaints().isEmpty());
}

TEST_F(MeterFixture, LeftMeterStaysOnTopInBothOrientations)
{
    auto* unflipped = makeView<UnflippedMeter>();
    unflipped->move(10, 50);
    for (DfStereoLevelMeterView* v : {view, static_cast<DfStereoLevelMeterView*>(unflipped)}) {
        v->setLevelL(1.0f, 0);
        const QImage image = v->grab().toImage();
        EXPECT_EQ(pixel(image, true, 100), kLit);
        EXPECT_EQ(pixel(image, true, 100, 7), kLitBottomRow); // the picture is upright
        EXPECT_EQ(pixel(image, false, 100), kUnlit);
    }
}

TEST_F(MeterFixture, FourToolTipAreasOverTheStripsAndClipLEDs)
{
    struct Owner : PvToolTipOwner {
        QString name;
        QString viewStringForToolTip(PvControl*, int tag, const QPointF&, const QVariant&) override
        {
            return name + QString::number(tag);
        }
    } level, peak;
    level.name = "level ";
    peak.name = "peak ";
    view->setToolTips(&level, &peak);
    auto tipAt = [this](int x, int y) {
        QHelpEvent e(QEvent::ToolTip, QPoint(x, y), view->mapToGlobal(QPoint(x, y)));
        QApplication::sendEvent(view, &e);
        return QToolTip::text();
    };
    view->setToolTip("own");
    EXPECT_EQ(tipAt(50, 5), "level " + QString::number(view->toolTipTagLevelL()));
    EXPECT_EQ(tipAt(50, 18), "level " + QString::number(view->toolTipTagLevelR()));
    EXPECT_EQ(tipAt(124, 5), "peak " + QString::number(view->toolTipTagPeakL()));
    EXPECT_EQ(tipAt(124, 18), "peak " + QString::number(view->toolTipTagPeakR()));
    EXPECT_EQ(tipAt(110, 5), "own"); // between strip and clip LED
    view->setToolTips(nullptr, &peak); // the previous four go
    EXPECT_EQ(tipAt(50, 5), "own");
    EXPECT_EQ(tipAt(124, 18), "peak " + QString::number(view->toolTipTagPeakR()));
}

TEST_F(MeterFixture, AssistiveTechnologyReadsTwoNamedLevelsAndCannotSetThem)
{
    QAccessibleInterface* iface = QAccessible::queryAccessibleInterface(view);
    ASSERT_NE(iface, nullptr);
    ASSERT_EQ(iface->childCount(), 2);
    view->setLevelL(0.25f, 0.75f);
    QAccessibleInterface* left = iface->child(0);
    QAccessibleInterface* right = iface->child(1);
    EXPECT_EQ(left->role(), QAccessible::ProgressBar);
    EXPECT_EQ(left->text(QAccessible::Name), "Left");
    EXPECT_EQ(right->text(QAccessible::Name), "Right");
    EXPECT_EQ(left->text(QAccessible::Value), "0.25");
    ASSERT_NE(right->valueInterface(), nullptr);
    EXPECT_DOUBLE_EQ(right->valueInterface()->currentValue().toDouble(), 0.75);
    Target target;
    view->setTarget(&target);
    view->setAction("meterClicked");
    right->valueInterface()->setCurrentValue(0.1);
    EXPECT_DOUBLE_EQ(right->valueInterface()->currentValue().toDouble(), 0.75);
    EXPECT_TRUE(target.senders.isEmpty());
}

#include "LevelMeterTest.moc"
