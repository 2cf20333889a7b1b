// Icon pop-ups and custom menus: the grid, placement, the tracking with its grace, keys.
#include <Pavo/PavoUI.h>

#include "TestSupport.h"

#include <QAccessible>
#include <QDir>
#include <QPainter>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

namespace {

QPixmap swatch(QColor c, int size = 16, qreal dpr = 1)
{
    QPixmap p(int(size * dpr), int(size * dpr));
    p.setDevicePixelRatio(dpr);
    p.fill(c);
    return p;
}

QVariantList colours(int n)
{
    QVariantList list;
    for (int i = 0; i < n; ++i)
        list << swatch(QColor::fromHsv(i * 40 % 360, 200, 220));
    return list;
}

// Renders w at twice the pixel density and leaves it in the test output for a person to look at.
QImage render2x(QWidget* w, const char* file)
{
    QPixmap shot(w->size() * 2);
    shot.setDevicePixelRatio(2);
    shot.fill(Qt::transparent);
    w->render(&shot);
    EXPECT_TRUE(shot.save(QDir(PavoTest::outputDir()).filePath(file)));
    return shot.toImage();
}

class Provider : public PvResourceProvider {
public:
    QPixmap imageForID(int32_t id, int state) override
    {
        return id == 42 ? swatch(state == 3 ? Qt::red : Qt::blue, 10) : QPixmap();
    }
};

class Target : public QObject {
    Q_OBJECT
public:
    int picks = 0;
    Q_INVOKABLE void picked(PVIconPickerPopUp*) { ++picks; }
};

class Source : public PVIconPickerPopUpDataSource {
public:
    bool answersEntries = true;
    std::optional<int> numberOfIconsInIconPickerPopUp(PVIconPickerPopUp*) override { return 4; }
    std::optional<QVariant> iconPickerPopUpIconAtIndex(PVIconPickerPopUp*, int i) override
    {
        if (!answersEntries)
            return std::nullopt;
        return QVariant(swatch(QColor::fromHsv(i * 60, 255, 255)));
    }
};

// A move with buttons held, as the window system sends while dragging.
void drag(QWidget* w, QPoint pos, Qt::MouseButtons buttons = Qt::LeftButton)
{
    QMouseEvent e(
        QEvent::MouseMove, pos, w->mapToGlobal(QPointF(pos)), Qt::NoButton, buttons, Qt::NoModifier);
    QApplication::sendEvent(w, &e);
}

// A popup of 3 columns of 20 x 20 cells, spacing 2 and margins 4, opened at (300, 200).
struct PopUpFixture : ::testing::Test {
    PvClock::ScopedOverride clock {100.0};
    PVIconPickerPopUp popUp {3, 3, {4, 4}, {4, 4}, {2, 2}, {20, 20}, {2, 2}, 0};
    Target target;
    void SetUp() override
    {
        popUp.setTracksInNestedLoop(false);
        popUp.setTarget(&target);
        popUp.setAction("picked");
    }
    void TearDown() override { popUp.close(); }
    // The centre of the cell at row and column in panel coordinates.
    QPoint centre(int row, int column) const { return QPoint(4 + column * 22 + 10, 4 + row * 22 + 10); }
    void open()
    {
        popUp.popUpAtLocation(QPointF(300, 200));
        ASSERT_TRUE(popUp.isOpen());
        ASSERT_TRUE(QTest::qWaitForWindowExposed(popUp.panel()));
    }
    void tick(double seconds)
    {
        clock.advance(seconds);
        pv_performDueRequests();
    }
    // The selected tag and the picks the target heard of; while open, the highlighted tag and
    // whether the grace still keeps the pop-up up.
    std::string state() const
    {
        QString s = QString("sel %1 picks %2").arg(popUp.selectedIconTag()).arg(target.picks);
        if (const PvCell* hl = popUp.highlightedCell(); popUp.isOpen())
            s += QString(" open hl %1%2")
                     .arg(hl ? QString::number(hl->tag()) : "-", popUp.isStayingUp() ? " up" : "");
        return s.toStdString();
    }
    // The grid row by row, each cell by its tag, a disabled one marked with '/'.
    std::string tags() const
    {
        const PvMatrix* m = popUp.iconMatrix();
        QStringList rows;
        for (int r = 0; r < m->numberOfRows(); ++r) {
            QStringList row;
            for (int c = 0; c < m->numberOfColumns(); ++c)
                row << QString::number(m->cellAt(r, c)->tag()) + (m->cellAt(r, c)->isEnabled() ? "" : "/");
            rows << row.join(' ');
        }
        return rows.join(" | ").toStdString();
    }
};

} // namespace

TEST_F(PopUpFixture, GridPadsGapsAndReorganises)
{
    QVariantList entries = colours(7);
    entries[4] = QVariant(); // a gap
    PvResourceProvider::setDefaultResourceProviderClass<Provider>();
    entries[5] = 42;
    popUp.setIconsWithPVStateMask(entries, PvButtonCell::PVStateNormalMask);
    PvMatrix* grid = popUp.iconMatrix();
    ASSERT_NE(grid, nullptr);
    EXPECT_EQ(tags(), "0 1 2 | 3 -1/ 42 | 6 -1/ -1/");
    for (int i : {7, 8})
        EXPECT_FALSE(static_cast<PVIconButtonCell*>(grid->cellAt(i / 3, i % 3))->hasImage()) << i;
    const auto* byId = static_cast<PVIconButtonCell*>(grid->cellAt(1, 2));
    EXPECT_FALSE(byId->image(PvButtonCell::NormalState).isNull());
    EXPECT_TRUE(byId->image(PvButtonCell::NormalOnState).isNull()); // not in the mask
    // Two columns: the same cells in order in 4 rows.
    popUp.setNumberOfVisibleColumns(2);
    EXPECT_EQ(tags(), "0 1 | 2 3 | -1/ 42 | 6 -1/");
    PvResourceProvider::setDefaultResourceProviderClass({});
    popUp.setIcons(std::nullopt);
    EXPECT_EQ(popUp.iconMatrix(), nullptr);
}

TEST_F(PopUpFixture, DataSourceIsReadAndMissingMessagesAreLogged)
{
    Source source;
    popUp.setDataSource(&source);
    popUp.reloadData();
    ASSERT_NE(popUp.iconMatrix(), nullptr);
    EXPECT_EQ(popUp.iconMatrix()->numberOfRows(), 2);
    source.answersEntries = false;
    PavoTest::StderrCapture capture;
    popUp.reloadData();
    EXPECT_TRUE(capture.text().contains(
        "[PVIconPickerPopUp] data source has to implement iconPickerPopUp:iconAtIndex:"));
    EXPECT_EQ(popUp.iconMatrix()->numberOfRows(), 2); // the previous icons are kept

    PVIconPickerPopUpDataSource silent; // answers nothing
    popUp.setDataSource(&silent);
    PavoTest::StderrCapture capture2;
    popUp.reloadData();
    EXPECT_TRUE(capture2.text().contains(
        "[PVIconPickerPopUp] data source has to implement numberOfIconsInIconPickerPopUp: \n"));
}

TEST(PopUpGeometry, OffsetsAndScreenConstraint)
{
    EXPECT_EQ(PVIconPickerPopUp(1, 1, {}, {}, {}, {40, 20}, {}, 2).popUpOffset(), QPointF(-32, -4));
    EXPECT_EQ(PVIconPickerPopUp(1, 1, {}, {}, {}, {0, 0}, {}, 2).popUpOffset(), QPointF(0, 0));

    const QRectF screen(0, 0, 100, 80);
    // Wider than the screen: the right edges meet, the width is kept (or shrunk if allowed).
    EXPECT_EQ(pv_constrainRectToScreenRect({30, 10, 150, 20}, screen, false), QRectF(-50, 10, 150, 20));
    EXPECT_EQ(pv_constrainRectToScreenRect({30, 10, 150, 20}, screen, true), QRectF(0, 10, 100, 20));
    // Past the left edge without having moved: put at the edge, whatever the width.
    EXPECT_EQ(pv_constrainRectToScreenRect({-20, 10, 50, 20}, screen, false), QRectF(0, 10, 50, 20));
    EXPECT_EQ(pv_constrainRectToScreenRect({-20, 10, 150, 20}, screen, true), QRectF(0, 10, 100, 20));
    // Vertically the top stays on screen: below moves up, too tall hangs over the bottom.
    EXPECT_EQ(pv_constrainRectToScreenRect({10, 70, 20, 30}, screen, false), QRectF(10, 50, 20, 30));
    EXPECT_EQ(pv_constrainRectToScreenRect({10, -20, 20, 120}, screen, false), QRectF(10, 0, 20, 120));
    EXPECT_EQ(pv_constrainRectToScreenRect({10, -20, 20, 120}, screen, true), QRectF(10, 0, 20, 80));
    EXPECT_EQ(pv_constrainRectToScreenRect({10, 10, 20, 20}, screen, true), QRectF(10, 10, 20, 20));
}

TEST_F(PopUpFixture, QuickClickStaysUpAndTheNextReleasePicks)
{
    popUp.setIcons(colours(7));
    popUp.setSelectedIconTag(2);
    open();
    QWidget* panel = popUp.panel();
    EXPECT_EQ(state(), "sel 2 picks 0 open hl - up"); // the pointer is on the margin
    // The release of the opening press, 0.5 s later, without moving.
    tick(0.5);
    QTest::mouseRelease(panel, Qt::LeftButton, {}, {0, 0});
    EXPECT_EQ(state(), "sel 2 picks 0 open hl - up");
    tick(0.3);
    EXPECT_EQ(state(), "sel 2 picks 0 open hl -");
    QTest::mouseMove(panel, centre(1, 1));
    EXPECT_EQ(state(), "sel 2 picks 0 open hl 4");
    QTest::mouseRelease(panel, Qt::LeftButton, {}, centre(1, 1));
    EXPECT_EQ(state(), "sel 4 picks 1");
    EXPECT_EQ(popUp.selectedCell()->state(), PvCell::OnState);
    EXPECT_EQ(popUp.iconMatrix()->cellWithTag(2)->state(), PvCell::OffState);
}

TEST_F(PopUpFixture, DragPastTenPointsPicksAtOnceGapsNeverHighlight)
{
    QVariantList entries = colours(6);
    entries[1] = QVariant();
    popUp.setIcons(entries);
    QSignalSpy spy(&popUp, &PVIconPickerPopUp::iconPicked);
    open();
    QWidget* panel = popUp.panel();
    drag(panel, {10, 10}); // within 10 points: still the grace, the release is ignored
    QTest::mouseRelease(panel, Qt::LeftButton, {}, {10, 10});
    EXPECT_EQ(state(), "sel -1 picks 0 open hl 0 up");
    popUp.close();

    open();
    drag(panel = popUp.panel(), centre(0, 1)); // 36 points away: the gap
    EXPECT_EQ(state(), "sel -1 picks 0 open hl -");
    EXPECT_FALSE(popUp.iconMatrix()->cellAt(0, 1)->isHighlighted());
    drag(panel, centre(1, 2));
    QTest::mouseRelease(panel, Qt::LeftButton, {}, centre(1, 2));
    EXPECT_EQ(state(), "sel 5 picks 1");
    ASSERT_EQ(spy.count(), 1);
    EXPECT_EQ(spy[0][1].toInt(), 5);
}

TEST_F(PopUpFixture, KeysAndRightButtonAndCancelRestoreTheTag)
{
    QVariantList entries = colours(7);
    entries[3] = QVariant();
    popUp.setIcons(entries);
    popUp.setSelectedIconTag(1);
    popUp.popUpAtLocation({10, 10}); // pointer outside any cell: nothing highlighted
    ASSERT_TRUE(popUp.isOpen());
    QWidget* panel = popUp.panel();
    QTest::keyClick(panel, Qt::Key_Down); // from the selected cell, skipping nothing
    EXPECT_EQ(popUp.highlightedCell()->tag(), 4);
    QTest::keyClick(panel, Qt::Key_Left); // 3 is a gap: on to 2
    EXPECT_EQ(popUp.highlightedCell()->tag(), 2);
    QTest::keyClick(panel, Qt::Key_Escape);
    EXPECT_EQ(state(), "sel 1 picks 0");

    popUp.popUpAtLocation({10, 10});
    QTest::keyClick(popUp.panel(), Qt::Key_Right);
    QTest::keyClick(popUp.panel(), Qt::Key_Return);
    EXPECT_EQ(state(), "sel 2 picks 1");

    // Opened by the right button: only its release picks.
    PvEvent press;
    press.type = PvRightMouseDown;
    press.location = QPointF(300, 200);
    popUp.popUpForEvent(press, nullptr);
    panel = popUp.panel();
    tick(0.8);
    QTest::mouseMove(panel, centre(2, 0));
    QTest::mouseRelease(panel, Qt::LeftButton, {}, centre(2, 0));
    EXPECT_EQ(state(), "sel 2 picks 1 open hl 6");
    QTest::mouseRelease(panel, Qt::RightButton, {}, centre(2, 0));
    EXPECT_EQ(state(), "sel 6 picks 2");
}

TEST_F(PopUpFixture, DraggingNearTheBottomScrollsEveryFiftiethOfASecond)
{
    popUp.setNumberOfVisibleRows(2);
    popUp.setIcons(colours(15)); // 5 rows, 2 visible
    open();
    QWidget* panel = popUp.panel();
    PvScrollView* scroll = popUp.scrollView();
    ASSERT_TRUE(scroll->hasVerticalScroller());
    const int bottom = scroll->geometry().bottom();
    drag(panel, QPoint(20, bottom - 10 + 13)); // 13 points into the edge zone: speed 13
    for (int y : {4, 8}) { // ceil(13 x 0.3) a step
        tick(0.05);
        EXPECT_EQ(scroll->documentVisibleRect().y(), y);
    }
    drag(panel, QPoint(20, bottom - 20)); // back inside: scrolling stops
    tick(0.05);
    EXPECT_EQ(scroll->documentVisibleRect().y(), 8);
}

TEST_F(PopUpFixture, PlacementByModeNestedLoopAndClickOutside)
{
    popUp.setIcons(colours(9));
    popUp.setSelectedIconTag(4);
    // The panel is 3 x (2 + 20) - 2 + 4 + 4 = 72 points each way.
    const QPointF at(400, 300);
    const std::pair<int, QPoint> corners[]
        = {{0, QPoint(400, 300)}, {1, QPoint(328, 300)}, {3, QPoint(400, 228)}, {4, QPoint(364, 264)}};
    for (const auto& [mode, topLeft] : corners) {
        popUp.setPopUpLocationMode(mode);
        popUp.popUpAtLocation(at);
        EXPECT_EQ(popUp.panel()->geometry(), QRect(topLeft, QSize(72, 72))) << "mode " << mode;
        popUp.close();
    }
    // Mode 2: the pointer lands inside the selected cell, 4/5 across and 1/5 down.
    PVIconPickerPopUp centred(3, 3, {4, 4}, {4, 4}, {2, 2}, {20, 20}, {2, 2}, 2);
    centred.setTracksInNestedLoop(false);
    centred.setIcons(colours(9));
    centred.setSelectedIconTag(4);
    centred.popUpAtLocation(at);
    EXPECT_EQ(centred.panel()->pos() + centre(1, 1) + QPoint(6, -6), at.toPoint());
    EXPECT_EQ(centred.highlightedCell(), centred.selectedCell());
    // A press outside the panel closes it without a pick.
    QTest::mousePress(centred.panel(), Qt::LeftButton, {}, {-30, -30});
    EXPECT_FALSE(centred.isOpen());
    EXPECT_EQ(centred.selectedIconTag(), 4);

    // In a nested loop the call returns once the panel closed; keys drive it meanwhile.
    popUp.setTracksInNestedLoop(true);
    popUp.setPopUpLocationMode(0);
    QTimer::singleShot(0, &popUp, [this] {
        QTest::keyClick(popUp.panel(), Qt::Key_Right);
        QTest::keyClick(popUp.panel(), Qt::Key_Return);
    });
    popUp.popUpAtLocation(at);
    EXPECT_EQ(state(), "sel 5 picks 1");
}

TEST(ButtonCell, PicturesPerStateFallBackAndStaySharp)
{
    PvButtonCell cell;
    cell.setImage(swatch(Qt::blue, 8, 2), PvButtonCell::NormalState);
    cell.setImage(swatch(Qt::red, 8, 2), PvButtonCell::NormalOnState);
    cell.setState(PvCell::OnState);
    cell.setHighlighted(true);
    EXPECT_EQ(cell.currentButtonState(), PvButtonCell::HighlightedOnState);
    EXPECT_EQ(
        cell.imageForState(PvButtonCell::HighlightedOnState).toImage().pixel(0, 0), QColor(Qt::red).rgb());
    cell.setEnabled(false);
    cell.setState(PvCell::OffState);
    EXPECT_EQ(cell.imageForState(cell.currentButtonState()).toImage().pixel(0, 0), QColor(Qt::blue).rgb());
    // Centred in its frame, at its size in points: 8 x 8 points are 16 x 16 pixels at 2x.
    QImage canvas(40, 40, QImage::Format_ARGB32);
    canvas.setDevicePixelRatio(2);
    canvas.fill(Qt::white);
    {
        QPainter painter(&canvas);
        cell.drawWithFrame(painter, QRectF(0, 0, 20, 20), nullptr);
    }
    EXPECT_EQ(canvas.pixel(12, 12), QColor(Qt::blue).rgb());
    EXPECT_EQ(canvas.pixel(27, 27), QColor(Qt::blue).rgb());
    EXPECT_EQ(canvas.pixel(11, 20), QColor(Qt::white).rgb());
    EXPECT_EQ(canvas.pixel(28, 20), QColor(Qt::white).rgb());
    // Without pictures: the platform's push button with its title.
    PvButtonCell plain("OK");
    EXPECT_GT(plain.cellSize().width(), 0);
}

TEST(PopUpMenu, ItemsSeparatorsAccessibilityAndPicture)
{
    PvClock::ScopedOverride clock(5.0);
    PVPopUpMenu menu(1, {160, 22}, 0);
    menu.setTracksInNestedLoop(false);
    QVariantMap sep;
    sep[PVMenuTitleName] = PVMenuTitleSeparatorName;
    menu.setItems({QVariantMap {{PVMenuTitleName, "Kick"}, {PVIconName, swatch(Qt::darkRed, 14, 2)}},
        QVariantMap {{PVMenuTitleName, "Snare"}, {PVTagName, 7}}, sep,
        QVariantMap {{PVMenuAttributedTitleName, "<b>Hi-hat</b>"}, {PVMenuTitleName, "Hi-hat"}}});
    menu.setSelectedIconTag(7);
    // Separators are lower: 3 x 22 + 7, plus the margins of 4.
    EXPECT_EQ(menu.popUpSize(), QSizeF(160, 81));

    menu.popUpAtLocation({200, 100});
    QWidget* panel = menu.panel();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(panel));
    QTest::mouseMove(panel, {80, 4 + 44 + 3}); // over the separator
    EXPECT_EQ(menu.highlightedCell(), nullptr);
    QTest::keyClick(panel, Qt::Key_Down); // from the selected "Snare" past the separator
    EXPECT_EQ(menu.highlightedCell()->stringValue(), "Hi-hat");

    QAccessibleInterface* a = QAccessible::queryAccessibleInterface(menu.iconMatrix());
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(a->role(), QAccessible::PopupMenu);
    ASSERT_EQ(a->childCount(), 4);
    EXPECT_EQ(a->child(1)->role(), QAccessible::MenuItem);
    EXPECT_EQ(a->child(1)->text(QAccessible::Name), "Snare");
    EXPECT_EQ(a->child(2)->role(), QAccessible::Separator);

    const QImage image = render2x(panel, "popup-menu-open@2x.png");
    // The selected row shows its indicator; the highlighted row is filled.
    EXPECT_NE(image.pixelColor(2 * 8, 2 * (4 + 22 + 11)), image.pixelColor(2 * 8, 2 * (4 + 11)));
    QTest::keyClick(panel, Qt::Key_Return);
    EXPECT_EQ(menu.selectedIconTag(), 3);

    // The heads-up look: light titles on a dark panel.
    menu.configureAsHUDMenu();
    menu.popUpAtLocation({200, 100});
    const QImage hud = render2x(menu.panel(), "popup-menu-hud@2x.png");
    EXPECT_LT(hud.pixelColor(6, 2 * (4 + 33)).lightness(), 60); // beside "Snare"
    menu.close();
}

TEST(IconPicker, PressOpensThePopUpAndAPickUpdatesTheControl)
{
    PvClock::ScopedOverride clock(1.0);
    QWidget window;
    auto* picker = new PVIconPicker(&window);
    auto* popUp = new PVIconPickerPopUp(2, 2, {2, 2}, {2, 2}, {2, 2}, {24, 24}, {2, 2}, 0);
    popUp->setTracksInNestedLoop(false);
    picker->setPopUp(popUp);
    Source source;
    picker->setDataSource(&source);
    picker->setGeometry(10, 10, 50, 32);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    QSignalSpy actions(picker, &PvControl::actionTriggered);
    QTest::mousePress(picker, Qt::LeftButton, {}, {10, 10});
    ASSERT_TRUE(popUp->isOpen());
    QWidget* panel = popUp->panel();
    drag(panel, {2 + 26 + 12, 2 + 26 + 12}); // the fourth colour
    render2x(panel, "icon-picker-open@2x.png");
    QTest::mouseRelease(panel, Qt::LeftButton, {}, {2 + 26 + 12, 2 + 26 + 12});
    EXPECT_FALSE(popUp->isOpen());
    EXPECT_EQ(popUp->selectedIconTag(), 3);
    EXPECT_EQ(actions.count(), 1);
    const QImage face = picker->grab().toImage();
    EXPECT_EQ(face.pixel(face.width() / 2 - 7, face.height() / 2), QColor::fromHsv(180, 255, 255).rgb());
    QAccessibleInterface* a = QAccessible::queryAccessibleInterface(picker);
    EXPECT_EQ(a->role(), QAccessible::ButtonMenu);
}

#include "PopUpTest.moc"
