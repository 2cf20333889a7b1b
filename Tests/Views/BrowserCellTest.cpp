// The browser row: layout, drawing, sizing and the drag image.
#include <Pavo/PavoUI.h>

#include <QApplication>
#include <QFontMetricsF>
#include <QPainter>
#include <gtest/gtest.h>

namespace {

QPixmap solid(int w, int h, QColor color = Qt::red)
{
    if (w <= 0 || h <= 0)
        return QPixmap(w, h); // null: such an image takes no room
    QPixmap pixmap(w, h);
    pixmap.fill(color);
    return pixmap;
}

QImage render(PvBrowserCell& cell, const QRectF& frame)
{
    QImage image(int(frame.right()) + 4, int(frame.bottom()) + 4, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    cell.drawWithFrame(painter, frame, nullptr);
    return image;
}

bool anyInk(const QImage& image, const QRect& rect)
{
    for (int y = rect.top(); y <= rect.bottom(); ++y)
        for (int x = rect.left(); x <= rect.right(); ++x)
            if (qAlpha(image.pixel(x, y)) > 0)
                return true;
    return false;
}

const QRectF kFrame(10, 20, 200, 20);

} // namespace

TEST(BrowserCell, LayoutOfTextImagesInsetsAndBranch)
{
    PvBrowserCell plain("Drums");
    plain.setDrawsBranchImage(false);
    const auto& text = plain.getCalcedDrawInfo(kFrame, nullptr);
    EXPECT_EQ(text.textFrame.left(), 13.0);
    EXPECT_EQ(text.textFrame.right(), 207.0);
    const double lineHeight = std::min(18.0, QFontMetricsF(QFont()).height());
    EXPECT_EQ(text.textFrame.height(), lineHeight);
    EXPECT_EQ(text.textFrame.top(), 21.0 + std::floor((18.0 - lineHeight) / 2.0));

    PvBrowserCell row("Kick.wav", solid(16, 16));
    row.setLeftImage(solid(16, 12));
    const auto& info = row.getCalcedDrawInfo(kFrame, nullptr);
    EXPECT_EQ(info.leftImagePos, QPointF(13, 24));
    EXPECT_EQ(info.imagePos, QPointF(31, 22));
    EXPECT_EQ(info.branchImageSize, PvBrowserCell::kBranchImageSize);
    EXPECT_EQ(info.branchImagePos, QPointF(200, 25));
    EXPECT_EQ(info.textFrame.left(), 51.0);
    EXPECT_EQ(info.textFrame.width(), 147.0);

    row.setImageInset(QPointF(2, -1));
    row.setLeftImageInset(QPointF(1, 1));
    EXPECT_TRUE(row.needsCalcDrawInfo());
    const auto& inset = row.getCalcedDrawInfo(kFrame, nullptr);
    EXPECT_EQ(inset.imagePos, QPointF(33, 21));
    EXPECT_EQ(inset.leftImagePos, QPointF(14, 25));
    EXPECT_EQ(inset.textFrame.left(), 51.0); // insets move images, not the text

    // Zero-size images take no room; a leaf row has no arrow.
    PvBrowserCell empty("Snare", solid(0, 16));
    empty.setLeftImage(solid(16, 0));
    empty.setLeaf(true);
    const auto& none = empty.getCalcedDrawInfo(kFrame, nullptr);
    EXPECT_TRUE(none.image.isNull());
    EXPECT_TRUE(none.leftImage.isNull());
    EXPECT_TRUE(none.branchImage.isNull());
    EXPECT_EQ(none.textFrame.left(), 13.0);
    EXPECT_EQ(none.textFrame.right(), 207.0);

    // The alternate icon replaces the icon while the row is selected.
    row.setAlternateImage(solid(20, 10));
    row.set();
    EXPECT_EQ(row.getCalcedDrawInfo(kFrame, nullptr).imageSize, QSizeF(20, 10));
    row.reset();
    EXPECT_FALSE(row.isHighlighted());
    EXPECT_EQ(row.state(), PvCell::OffState);
    EXPECT_EQ(row.getCalcedDrawInfo(kFrame, nullptr).imageSize, QSizeF(16, 16));
}

TEST(BrowserCell, DrawsHighlightImagesAndDisabledOpacity)
{
    PvBrowserCell cell("Loop", solid(16, 16, QColor(255, 0, 0)));
    QImage image = render(cell, kFrame);
    EXPECT_FALSE(anyInk(image, QRect(11, 21, 1, 18))); // no background by default
    EXPECT_EQ(image.pixel(13 + 8, 22 + 8), qRgb(255, 0, 0));
    EXPECT_TRUE(anyInk(image, QRect(200, 25, 7, 9))); // the branch arrow
    {
        // The arrow has the text colour and follows a change of palette.
        const QPalette before = QApplication::palette();
        QPalette red = before;
        red.setColor(QPalette::Text, Qt::red);
        QApplication::setPalette(red);
        image = render(cell, kFrame);
        QApplication::setPalette(before);
        EXPECT_EQ(image.pixel(202, 29), qRgb(255, 0, 0));
    }

    QImage sharp(440, 100, QImage::Format_ARGB32_Premultiplied); // a 2x device gets a 2x arrow
    sharp.setDevicePixelRatio(2.0);
    sharp.fill(Qt::transparent);
    {
        QPainter painter(&sharp);
        cell.drawWithFrame(painter, kFrame, nullptr);
    }
    EXPECT_EQ(cell.drawInfo().branchImage.devicePixelRatio(), 2.0);
    EXPECT_TRUE(anyInk(sharp, QRect(400, 50, 14, 18)));

    cell.setEnabled(false);
    image = render(cell, kFrame);
    EXPECT_NEAR(qAlpha(image.pixel(21, 30)), 153, 1); // 60 % opacity

    cell.setEnabled(true);
    cell.setState(PvCell::OnState); // selection marked by state alone
    image = render(cell, kFrame);
    EXPECT_EQ(QColor(image.pixel(11, 21)).rgb(), PvBrowserCell::highlightColorInView(nullptr).rgb());

    cell.setState(PvCell::OffState);
    cell.setLeaf(true);
    cell.setDrawsBackground(true);
    image = render(cell, kFrame);
    EXPECT_EQ(QColor(image.pixel(11, 21)).rgb(), QApplication::palette().color(QPalette::Base).rgb());
    EXPECT_EQ(image.pixel(203, 29), QApplication::palette().color(QPalette::Base).rgb());
}

TEST(BrowserCell, SizesCopiesAndDragImage)
{
    PvBrowserCell cell("A rather long sample name.aif", solid(16, 16));
    cell.setAbsolutePath("/Samples/A rather long sample name.aif");
    cell.setLeftImage(solid(8, 24));
    const double width = cell.contentWidthForCellFrame(kFrame);
    const double advance = QFontMetricsF(QFont()).horizontalAdvance(cell.stringValue());
    const QRectF fits(0, 0, width, 26);
    EXPECT_GE(cell.getCalcedDrawInfo(fits, nullptr).textFrame.width(), advance);
    EXPECT_LT(cell.getCalcedDrawInfo(fits.adjusted(0, 0, -1, 0), nullptr).textFrame.width(), advance);

    EXPECT_EQ(
        cell.cellSizeForBounds(QRectF(0, 0, 1000, 1000)), QSizeF(width, 26)); // the left image is tallest
    EXPECT_EQ(cell.cellSizeForBounds(QRectF(0, 0, 50, 10)), QSizeF(50, 10));

    auto copy = cell.clone();
    auto* row = dynamic_cast<PvBrowserCell*>(copy.get());
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->absolutePath(), cell.absolutePath());
    EXPECT_EQ(row->leftImage().size(), QSize(8, 24));
    EXPECT_EQ(row->contentWidthForCellFrame(kFrame), width);

    PvControl view;
    view.resize(200, 30);
    cell.set();
    const QPixmap bare = cell.getImageOfContents(QRectF(0, 0, 200, 30), &view, false);
    const QPixmap filled = cell.getImageOfContents(QRectF(0, 0, 200, 30), &view, true);
    EXPECT_EQ(bare.deviceIndependentSize(), QSizeF(200, 30));
    EXPECT_EQ(qAlpha(bare.toImage().pixel(1, 1)), 0);
    EXPECT_EQ(filled.toImage().pixel(1, 1), PvBrowserCell::highlightColorInView(&view).rgb());
    EXPECT_TRUE(cell.isHighlighted()); // the picture does not change the row
    EXPECT_EQ(cell.state(), PvCell::OnState);
}
