// The gallery's drawn pictures: every ID and state, sharp at ratio 2, in both palettes.
#include <Pavo/PavoUI.h>

#include "TestSupport.h"

#include <QApplication>
#include <QDir>
#include <gtest/gtest.h>

#ifdef PAVO_HAVE_GALLERY
#include "DemoImageProvider.h"
#include "GalleryPages.h"

using namespace PavoGallery;

TEST(DemoImageProvider, DrawsEveryPictureAtRatioOneAndTwoInBothPalettes)
{
    using namespace DemoImage;
    const QList<std::pair<int32_t, QList<int>>> pictures
        = {{kKnob, {0, 1, 2, 3}}, {kTrackHorizontal, {0, 1, 2}}, {kTrackVertical, {0, 1, 2}},
            {kMeterHorizontal, {0, 3}}, {kMeterVertical, {0, 3}}, {kClipLED, {0, 3}}};
    DemoImageProvider provider;
    EXPECT_TRUE(provider.imageForID(kImage_None, 0, 2).isNull());
    EXPECT_TRUE(provider.imageForID(kClipLED, 1, 2).isNull());
    EXPECT_TRUE(provider.imageForID(4242, 0, 2).isNull());
    EXPECT_EQ(provider.imageForID(kMeterHorizontal, 0, 1).deviceIndependentSize(), QSizeF(288, 14));
    for (bool dark : {false, true}) {
        QApplication::setPalette(dark ? darkPalette() : lightPalette());
        // A contact sheet at ratio 2: one row per ID, its states side by side.
        QImage sheet(2 * 300, 2 * 360, QImage::Format_ARGB32_Premultiplied);
        sheet.setDevicePixelRatio(2);
        sheet.fill(QApplication::palette().color(QPalette::Window));
        QPainter painter(&sheet);
        qreal y = 4;
        for (const auto& [id, states] : pictures) {
            qreal x = 4, rowHeight = 0;
            for (int state : states) {
                SCOPED_TRACE(QString("%1/%2").arg(id).arg(state).toStdString());
                const QPixmap one = provider.imageForID(id, state, 1);
                const QPixmap two = provider.imageForID(id, state, 2);
                ASSERT_FALSE(one.isNull());
                ASSERT_FALSE(two.isNull());
                EXPECT_EQ(two.devicePixelRatio(), 2.0);
                EXPECT_EQ(one.deviceIndependentSize(), two.deviceIndependentSize());
                EXPECT_EQ(two.size(), one.size() * 2); // drawn at 2x, not scaled up
                painter.drawPixmap(QPointF(x, y), two);
                x += two.deviceIndependentSize().width() + 8;
                rowHeight = std::max(rowHeight, two.deviceIndependentSize().height());
            }
            y += rowHeight + 8;
        }
        painter.end();
        // Lit pictures differ from unlit ones.
        EXPECT_NE(provider.imageForID(kMeterHorizontal, 0, 2).toImage(),
            provider.imageForID(kMeterHorizontal, 3, 2).toImage());
        EXPECT_NE(
            provider.imageForID(kClipLED, 0, 2).toImage(), provider.imageForID(kClipLED, 3, 2).toImage());
        const QString file = QDir(PavoTest::outputDir())
                                 .filePath(QString("demo-images-%1.png").arg(dark ? "dark" : "light"));
        EXPECT_TRUE(sheet.save(file)) << file.toStdString();
    }
    QApplication::setPalette(lightPalette());
}
#endif
