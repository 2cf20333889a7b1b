// Themed windows: frame geometry, toolbar arithmetic, dragging, closing guard, textures.
#include <Pavo/PavoUI.h>

#include <QApplication>
#include <QTest>
#include <gtest/gtest.h>

namespace {

struct ThemeWindowFixture : ::testing::Test {
    PvThemeWindow window;
    void SetUp() override
    {
        window.setTitle("Mixer");
        window.setGeometry(100, 120, 420, 300);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    }
    PvFrameView* frame() { return window.frameView(); }
};

// Answers resizes with a fixed size and the textured window with a set of picture names.
class Delegate : public PvWindowDelegate {
public:
    std::optional<QSize> answer;
    QSize proposed;
    QStringList names;
    int asked = 0;
    std::optional<QSize> windowWillResize(PvWindow*, const QSize& size) override
    {
        proposed = size;
        return answer;
    }
    std::optional<QStringList> texturedWindowGetImageNamesSet(PvWindow*) override
    {
        ++asked;
        return names;
    }
};

} // namespace

TEST_F(ThemeWindowFixture, FrameGeometryAndButtons)
{
    EXPECT_EQ(frame()->geometry(), window.rect());
    EXPECT_EQ(frame()->titleFrame(), QRectF(0, 0, 420, 22));
    EXPECT_EQ(frame()->contentFrame(), QRectF(0, 22, 420, 278));
    // 15 x 15, one point above the bottom-right corner.
    EXPECT_EQ(frame()->resizeCornerFrame(), QRectF(405, 284, 15, 15));
    QAbstractButton* close = frame()->pvStandardWindowButton(PvFrameView::CloseButton);
    QAbstractButton* mini = frame()->pvStandardWindowButton(PvFrameView::MiniaturizeButton);
    QAbstractButton* zoom = frame()->pvStandardWindowButton(PvFrameView::ZoomButton);
    ASSERT_TRUE(close && mini && zoom);
    EXPECT_EQ(close->x(), 5);
    EXPECT_EQ(mini->x() - close->x(), close->width() + 7);
    EXPECT_EQ(zoom->x() - mini->x(), close->width() + 7);
    EXPECT_EQ(close->y(), mini->y());
    EXPECT_EQ(frame()->pvStandardWindowButton(PvFrameView::ToolbarButton), nullptr); // no toolbar view yet
    EXPECT_EQ(frame()->pvStandardWindowButton(9), nullptr);

    window.setPVStyleMask(PvThemeWindow::TitledWindowMask | PvThemeWindow::ClosableWindowMask);
    EXPECT_TRUE(close->isEnabled());
    EXPECT_FALSE(mini->isEnabled());
    EXPECT_FALSE(zoom->isEnabled());
}

TEST_F(ThemeWindowFixture, ToolbarGrowsDownwardAndHidingRestoresExactly)
{
    window.setMinSize(QSize(200, 100));
    window.setMaxSize(QSize(800, 600));
    auto* content = new QWidget;
    window.setContentView(content);
    auto* bar = new QWidget;
    bar->resize(100, 21);
    window.setToolbarView(bar);
    window.setToolbarHeight(40);
    QAbstractButton* toggle = frame()->pvStandardWindowButton(PvFrameView::ToolbarButton);
    ASSERT_NE(toggle, nullptr);
    EXPECT_GT(toggle->x(), 420 / 2); // right of the title
    EXPECT_FALSE(window.toolbarVisible());

    const QRect before = window.frame();
    QTest::mouseClick(toggle, Qt::LeftButton);
    ASSERT_TRUE(window.toolbarVisible());
    EXPECT_EQ(window.frame(), QRect(before.x(), before.y(), 420, 340)); // the top edge stays
    EXPECT_EQ(window.minimumSize(), QSize(200, 140));
    EXPECT_EQ(window.maximumSize(), QSize(800, 640));
    EXPECT_EQ(window.frameWithoutToolBar(), before);
    EXPECT_TRUE(bar->isVisible());
    // Centred in the 40-point strip under the title: floor((420-100)/2), 22 + floor((40-21)/2).
    EXPECT_EQ(bar->pos(), QPoint(160, 22 + 9));
    EXPECT_EQ(content->geometry(), QRect(0, 62, 420, 278)); // same size, same bottom

    QTest::mouseClick(toggle, Qt::LeftButton);
    EXPECT_FALSE(window.toolbarVisible());
    EXPECT_EQ(window.frame(), before);
    EXPECT_EQ(window.minimumSize(), QSize(200, 100));
    EXPECT_EQ(window.maximumSize(), QSize(800, 600));
    EXPECT_FALSE(bar->isVisible());
    EXPECT_EQ(content->geometry(), QRect(0, 22, 420, 278));

    // Without a maximum the window stays unlimited; showing twice changes nothing more.
    window.setMaxSize(QSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX));
    window.showToolbar();
    window.showToolbar();
    EXPECT_EQ(window.frame().height(), 340);
    EXPECT_EQ(window.maximumHeight(), QWIDGETSIZE_MAX);
    window.toggleToolbar();
    EXPECT_EQ(window.frame(), before);
    EXPECT_EQ(window.maximumHeight(), QWIDGETSIZE_MAX);

    window.setToolbarView(nullptr);
    EXPECT_EQ(frame()->pvStandardWindowButton(PvFrameView::ToolbarButton), nullptr);
}

TEST_F(ThemeWindowFixture, DraggingMovesAndTheCornerResizes)
{
    const QPoint start = window.pos();
    QTest::mousePress(frame(), Qt::LeftButton, {}, QPoint(200, 10));
    QTest::mouseMove(frame(), QPoint(230, 25));
    QTest::mouseRelease(frame(), Qt::LeftButton, {}, QPoint(230, 25));
    EXPECT_EQ(window.pos(), start + QPoint(30, 15));
    EXPECT_EQ(window.size(), QSize(420, 300));

    window.setMinSize(QSize(300, 200));
    QTest::mousePress(frame(), Qt::LeftButton, {}, QPoint(410, 290));
    EXPECT_TRUE(window.isResizingByDrag());
    QTest::mouseMove(frame(), QPoint(440, 310));
    EXPECT_EQ(window.size(), QSize(450, 320));
    QTest::mouseRelease(frame(), Qt::LeftButton, {}, QPoint(440, 310));
    EXPECT_FALSE(window.isResizingByDrag());

    // Limited below by the minimum size; the delegate has the last word.
    QTest::mousePress(frame(), Qt::LeftButton, {}, QPoint(440, 310));
    QTest::mouseMove(frame(), QPoint(10, 10));
    EXPECT_EQ(window.size(), QSize(300, 200));
    QTest::mouseRelease(frame(), Qt::LeftButton, {}, QPoint(10, 10));
    Delegate delegate;
    delegate.answer = QSize(512, 333);
    window.setDelegate(&delegate);
    QTest::mousePress(frame(), Qt::LeftButton, {}, QPoint(290, 190));
    QTest::mouseMove(frame(), QPoint(295, 192));
    EXPECT_EQ(delegate.proposed, QSize(305, 202));
    EXPECT_EQ(window.size(), QSize(512, 333));
    QTest::mouseRelease(frame(), Qt::LeftButton, {}, QPoint(295, 192));
    window.setDelegate(nullptr);

    // Not resizable: the corner moves the window instead.
    window.setPVStyleMask(PvThemeWindow::TitledWindowMask);
    const QPoint p = window.pos();
    QTest::mousePress(frame(), Qt::LeftButton, {}, QPoint(505, 325));
    EXPECT_FALSE(window.isResizingByDrag());
    QTest::mouseMove(frame(), QPoint(515, 325));
    QTest::mouseRelease(frame(), Qt::LeftButton, {}, QPoint(515, 325));
    EXPECT_EQ(window.pos(), p + QPoint(10, 0));
    EXPECT_EQ(window.size(), QSize(512, 333));
}

TEST_F(ThemeWindowFixture, DoubleClickOnTheTitleMinimises)
{
    QTest::mouseDClick(frame(), Qt::LeftButton, {}, QPoint(200, 50)); // in the content: no
    EXPECT_FALSE(window.isMinimized());
    window.setPVStyleMask(PvThemeWindow::TitledWindowMask);
    QTest::mouseDClick(frame(), Qt::LeftButton, {}, QPoint(200, 10)); // not miniaturizable: no
    EXPECT_FALSE(window.isMinimized());
    window.setPVStyleMask(PvThemeWindow::TitledWindowMask | PvThemeWindow::MiniaturizableWindowMask);
    QTest::mouseDClick(frame(), Qt::LeftButton, {}, QPoint(200, 10));
    EXPECT_TRUE(window.isMinimized());
}

TEST_F(ThemeWindowFixture, ClosingCanBeBlocked)
{
    QAbstractButton* close = frame()->pvStandardWindowButton(PvFrameView::CloseButton);
    window.setWindowIsClosable(false);
    window.frameView()->updateButtonEnabledStates();
    EXPECT_FALSE(close->isEnabled());
    EXPECT_FALSE(window.performClose());
    EXPECT_FALSE(window.close());
    EXPECT_TRUE(window.isVisible());
    window.setWindowIsClosable(true);
    window.frameView()->updateButtonEnabledStates();
    QTest::mouseClick(close, Qt::LeftButton);
    EXPECT_FALSE(window.isVisible());
}

TEST(TexturedWindow, TenPicturesWithGapsAndTheDelegatesNames)
{
    PVTexturedWindow plain;
    plain.resize(300, 200);
    const auto& own = plain.texturedFrameView()->images();
    for (int i = 0; i < PVTexturedFrameView::kImageCount; ++i)
        EXPECT_FALSE(own[size_t(i)].image.isNull()) << i; // the framework's own set is complete
    EXPECT_EQ(plain.frameView()->titleHeight(), own[0].size.height());

    Delegate delegate;
    delegate.names = PVTexturedFrameView::defaultImageNamesSet();
    delegate.names[0] = QString(); // no top-left corner
    delegate.names[9] = QString(); // no centre
    delegate.names[4] = "no such picture";
    PVTexturedWindow window;
    window.setDelegate(&delegate);
    window.setTitle("Textured");
    window.resize(300, 200);
    window.grab(); // draws with the gaps without failing
    const auto& im = window.texturedFrameView()->images();
    EXPECT_EQ(delegate.asked, 1); // loaded once, for the first drawing
    EXPECT_TRUE(im[0].image.isNull());
    EXPECT_EQ(im[0].size, QSizeF());
    EXPECT_TRUE(im[4].image.isNull());
    EXPECT_TRUE(im[9].image.isNull());
    EXPECT_FALSE(im[1].image.isNull());
    EXPECT_EQ(im[1].originalSize, im[1].size);
    EXPECT_EQ(window.frameView()->titleHeight(), 22.0); // falls back without picture 0
    window.setDelegate(nullptr);
}

TEST(WindowBevelView, ThreePicturesOrThePalette)
{
    PvWindowBevelView bevel;
    bevel.resize(100, 24);
    QPixmap left(4, 24), middle(1, 24), right(4, 24);
    left.fill(Qt::red);
    middle.fill(Qt::green);
    right.fill(Qt::blue);
    bevel.setImages(left, middle, right);
    QImage img = bevel.grab().toImage();
    EXPECT_EQ(img.pixelColor(1, 10), QColor(Qt::red));
    EXPECT_EQ(img.pixelColor(50, 10), QColor(Qt::green));
    EXPECT_EQ(img.pixelColor(98, 10), QColor(Qt::blue));
    bevel.setSpecialImage(QSizeF(10, 24), QPointF(40, 0));
    img = bevel.grab().toImage();
    EXPECT_EQ(img.pixelColor(45, 10), QColor(Qt::green));
    EXPECT_NE(img.pixelColor(60, 10), QColor(Qt::green));
    bevel.setImages({}, {}, {});
    img = bevel.grab().toImage();
    EXPECT_NE(img.pixelColor(50, 1), img.pixelColor(50, 22)); // a shaded bevel
}

// The framework's pictures come in a light and a dark set, chosen by the application
// palette; a textured window shown while the palette changes takes the other set and the
// text colour that reads on it.
TEST(TexturedWindow, FollowsTheApplicationPaletteBetweenLightAndDark)
{
    const QPalette before = QApplication::palette();
    PVTexturedWindow window;
    window.setTitle("Textured");
    window.setGeometry(60, 60, 300, 200);
    for (const std::string phase : {"light", "dark", "light again"}) {
        SCOPED_TRACE(phase);
        const bool dark = phase == "dark";
        QPalette palette = before;
        palette.setColor(QPalette::Window, dark ? QColor(0x2b, 0x2d, 0x31) : QColor(0xef, 0xef, 0xef));
        QApplication::setPalette(palette);
        if (!window.isVisible()) {
            window.show();
            ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
        }
        QApplication::processEvents();
        const double centre = window.grab().toImage().pixelColor(150, 120).lightnessF();
        const double text = window.palette().color(QPalette::WindowText).lightnessF();
        EXPECT_TRUE(dark ? centre < 0.35 : centre > 0.6) << centre;
        EXPECT_TRUE(dark ? text > 0.7 : text < 0.3) << text;
        EXPECT_EQ(pv_pavoBundleImagePath("PV_TexturedCenter").endsWith("PV_TexturedCenter_dark.png"), dark);
        // A picture without a dark variant keeps its one picture.
        EXPECT_EQ(
            pv_pavoBundleImagePath("PV_BrowserColumnSplitter"), ":/Pavo/Images/PV_BrowserColumnSplitter.png");
    }
    QApplication::setPalette(before);
}
