// The octave picker: its pictures, the highlight's geometry, and clicks and drags as a
// user makes them.
#include <Pavo/PavoUI.h>

#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

namespace {

class Target : public QObject {
    Q_OBJECT
public:
    QList<DfKeyRange> ranges;
    Q_INVOKABLE void rangeMoved(QObject* sender)
    {
        ranges << static_cast<DfOctavePickerView*>(sender)->keyRange();
    }
};

struct PickerFixture : ::testing::Test {
    QWidget window;
    DfOctavePickerView* picker = nullptr;
    Target target;

    void SetUp() override
    {
        picker = new DfOctavePickerView(QRect(20, 30, 1, 1), true, &window);
        picker->setTarget(&target);
        picker->setAction("rangeMoved");
        window.resize(520, 100);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    }
    // The middle of white key k.
    static QPoint key(int k, int y = 15) { return QPoint(6 + 6 * k + 3, y); }
    uint32_t location() const { return picker->keyRange().location; }
};

} // namespace

TEST(OctavePicker, PicturesOfBothFormsExistAndFitTheKeyboard)
{
    for (bool large : {true, false}) {
        const QString suffix = large ? "" : "-short";
        for (const QString& name : {"octave-control-bg" + suffix, "octave-glyphKeys" + suffix,
                 QString("octave-L_edge"), QString("octave-fill"), QString("octave-R_edge")}) {
            const QPixmap picture = pv_loadPavoBundleImage(name);
            EXPECT_FALSE(picture.isNull()) << name.toStdString();
            // Dense screens get the same picture at twice the pixels.
            const QPixmap dense(pv_pavoBundleImagePath(name).replace(".png", "@2x.png"));
            EXPECT_EQ(dense.size(), picture.size() * 2) << name.toStdString();
        }
        const QSize bg = pv_loadPavoBundleImage("octave-control-bg" + suffix).size();
        const QSize keys = pv_loadPavoBundleImage("octave-glyphKeys" + suffix).size();
        std::unique_ptr<DfOctavePickerView> view(DfOctavePickerView::octavePickerViewLarge(large));
        EXPECT_EQ(view->totalNumWhiteKeys(), large ? 75u : 74u);
        EXPECT_EQ(keys.width() % int(view->totalNumWhiteKeys()), 0); // whole points per key
        EXPECT_EQ(view->keyWidth(), float(keys.width()) / float(view->totalNumWhiteKeys()));
        EXPECT_GE(bg.width(), 6 + keys.width());
        EXPECT_GE(bg.height(), keys.height() + 2);
        EXPECT_EQ(view->size(), bg); // the frame's size is ignored
    }
}

TEST_F(PickerFixture, GeometryAndNoFocus)
{
    EXPECT_EQ(picker->pos(), QPoint(20, 30));
    EXPECT_EQ(picker->keyWidth(), 6.0f);
    EXPECT_EQ(picker->rangeRect(), QRectF(66, 0, 59, picker->height())); // 10*6+6 to 20*6-1+6
    picker->setKeyRange({0, 3});
    EXPECT_EQ(picker->rangeRect(), QRectF(6, 0, 17, picker->height()));
    EXPECT_TRUE(target.ranges.isEmpty()); // setting the range sends nothing
    picker->setKeyRange({80, 10}); // taken as it is
    EXPECT_EQ(location(), 80u);

    auto* edit = new QLineEdit(&window);
    edit->move(0, 80);
    edit->show();
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    edit->setFocus();
    ASSERT_TRUE(edit->hasFocus());
    QTest::mouseClick(picker, Qt::LeftButton, {}, key(40));
    EXPECT_EQ(location(), 35u);
    EXPECT_TRUE(edit->hasFocus()); // a click does not take the focus
}

TEST_F(PickerFixture, ClicksJumpByTheClickRasterAndSendTheActionOnce)
{
    QSignalSpy chosen(picker, &DfOctavePickerView::keyRangeChosen);
    QSignalSpy triggered(picker, &PvControl::actionTriggered);
    QTest::mouseClick(picker, Qt::LeftButton, {}, key(23));
    EXPECT_EQ(location(), 21u);
    EXPECT_EQ(picker->keyRange().length, 10u);
    EXPECT_EQ(target.ranges, QList<DfKeyRange>({{21, 10}}));
    EXPECT_EQ(chosen.count(), 1);
    QTest::mouseClick(picker, Qt::LeftButton, {}, key(25)); // inside the highlight: no move
    EXPECT_EQ(location(), 21u);
    EXPECT_EQ(target.ranges.size(), 1);
    QTest::mouseClick(picker, Qt::LeftButton, {}, QPoint(2, 15)); // left of the keyboard
    EXPECT_EQ(location(), 0u);
    picker->setClickRaster(5);
    QTest::mouseClick(picker, Qt::LeftButton, {}, key(38));
    EXPECT_EQ(location(), 35u);

    // Only with both target and action: never to whoever else answers it.
    target.ranges.clear();
    picker->setAction({});
    QTest::mouseClick(picker, Qt::LeftButton, {}, key(5));
    picker->setAction("rangeMoved");
    picker->setTarget(nullptr);
    QTest::mouseClick(picker, Qt::LeftButton, {}, key(30));
    EXPECT_TRUE(target.ranges.isEmpty());
    EXPECT_EQ(location(), 30u);
    EXPECT_EQ(chosen.count(), 5);
    EXPECT_EQ(triggered.count(), 3);
}

TEST_F(PickerFixture, DragsMoveKeyByKeyAndStopAtBothEnds)
{
    QTest::mousePress(picker, Qt::LeftButton, {}, key(12)); // inside, 15 points right of 66
    QTest::mouseMove(picker, key(13));
    EXPECT_EQ(location(), 11u);
    QTest::mouseMove(picker, key(20));
    EXPECT_EQ(location(), 18u);
    QTest::mouseMove(picker, QPoint(-40, 15));
    EXPECT_EQ(location(), 0u);
    QTest::mouseMove(picker, QPoint(500, 15));
    EXPECT_EQ(location(), 65u); // ends at the last key
    QTest::mouseRelease(picker, Qt::LeftButton, {}, QPoint(500, 15));

    picker->setDragRaster(4);
    QTest::mousePress(picker, Qt::LeftButton, {}, key(70));
    QTest::mouseMove(picker, key(62));
    EXPECT_EQ(location(), 56u); // key 57 snapped down to a multiple of 4
    QTest::mouseRelease(picker, Qt::LeftButton, {}, key(62));
}

TEST_F(PickerFixture, APushBackThatLeavesTheClickOutsideTurnsDraggingOff)
{
    // The highlight's right edge is 1 point short of the keyboard's end (456).
    QTest::mousePress(picker, Qt::LeftButton, {}, QPoint(455, 15));
    EXPECT_EQ(location(), 65u);
    EXPECT_EQ(picker->rangeRect().right(), 455.0);
    QTest::mouseMove(picker, key(30));
    EXPECT_EQ(location(), 65u); // the drag does nothing
    QTest::mouseRelease(picker, Qt::LeftButton, {}, key(30));
    EXPECT_EQ(target.ranges.size(), 1);

    picker->setKeyRange({10, 10});
    QTest::mousePress(picker, Qt::LeftButton, {}, key(73)); // pushed back, but now inside
    EXPECT_EQ(location(), 65u);
    QTest::mouseMove(picker, key(60));
    EXPECT_EQ(location(), 52u);
    QTest::mouseRelease(picker, Qt::LeftButton, {}, key(60));

    auto* shortForm = new DfOctavePickerView(QRect(20, 70, 0, 0), false, &window);
    shortForm->show();
    QTest::mouseClick(shortForm, Qt::LeftButton, {}, key(73));
    EXPECT_EQ(shortForm->keyRange().location, 64u);
}

TEST_F(PickerFixture, HighlightIsDrawnUnderTheKeysAlongTheLowerEdge)
{
    const QImage image = picker->grab().toImage();
    const QImage fill = pv_loadPavoBundleImage("octave-fill").toImage();
    const QImage bg = pv_loadPavoBundleImage("octave-control-bg").toImage();
    const int bottom = image.height() - 1;
    // Below the keyboard the fill's lower edge shows inside the highlight only.
    EXPECT_EQ(image.pixel(90, bottom), fill.pixel(0, fill.height() - 1));
    EXPECT_EQ(image.pixel(200, bottom), bg.pixel(200, bg.height() - 1));
    // The keys are drawn last: black keys stay black inside the highlight, while the
    // translucent white keys are tinted by it.
    const QImage keys = pv_loadPavoBundleImage("octave-glyphKeys").toImage();
    const int keysTop = image.height() - 2 - keys.height();
    EXPECT_EQ(image.pixel(6 + 90, keysTop + 6), keys.pixel(90, 6));
    EXPECT_NE(image.pixel(6 + 75, keysTop + 14), image.pixel(6 + 195, keysTop + 14));
}

#include "OctavePickerTest.moc"
