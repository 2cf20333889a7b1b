// The gallery's slider page at twice the pixel density, in both palettes.
#include <Pavo/PavoUI.h>

#include "TestSupport.h"

#include <QApplication>
#include <QDir>
#include <QTest>
#include <gtest/gtest.h>

#ifdef PAVO_HAVE_GALLERY
#include "DemoImageProvider.h"
#include "GalleryPages.h"
#include "PageKit.h"

// The knob picture lands on whole device pixels: every opaque pixel of the 2x picture
// is in the rendered page unchanged, so nothing was scaled or blurred.
TEST(SliderPage, KnobPicturesAreSharpAtRatioTwoInBothPalettes)
{
    using PavoGallery::DemoImageProvider;
    PvResourceProvider::setDefaultResourceProviderClass([] {
        auto p = std::make_unique<DemoImageProvider>();
        p->setDevicePixelRatio(2);
        return p;
    });
    for (bool dark : {false, true}) {
        QApplication::setPalette(dark ? PavoGallery::darkPalette() : PavoGallery::lightPalette());
        std::unique_ptr<QWidget> page(PavoGallery::sliderPage());
        page->resize(page->sizeHint());
        page->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(page.get()));
        QImage image(page->size() * 2, QImage::Format_ARGB32_Premultiplied);
        image.setDevicePixelRatio(2);
        image.fill(page->palette().color(QPalette::Window));
        page->render(&image);
        EXPECT_TRUE(
            image.save(QDir(PavoTest::outputDir())
                           .filePath(QString("gallery-sliders-2x-%1.png").arg(dark ? "dark" : "light"))));
        auto* provider = static_cast<DemoImageProvider*>(PvResourceProvider::defaultResourceProvider());
        const QImage knob = provider->imageForID(PavoGallery::DemoImage::kKnob, 0, 2)
                                .toImage()
                                .convertToFormat(QImage::Format_ARGB32_Premultiplied);
        ASSERT_EQ(knob.size(), QSize(32, 32));
        for (const char* name : {"pictureHorizontal", "pictureVertical"}) {
            auto* slider = page->findChild<PvSlider*>(name);
            ASSERT_NE(slider, nullptr);
            const QRectF k = slider->sliderCell()->knobRectFlipped(true);
            const QPoint origin = slider->mapTo(page.get(), k.topLeft().toPoint()) * 2;
            int opaque = 0, differing = 0;
            for (int y = 0; y < 32; ++y)
                for (int x = 0; x < 32; ++x)
                    if (qAlpha(knob.pixel(x, y)) == 255) {
                        ++opaque;
                        differing += image.pixel(origin + QPoint(x, y)) != knob.pixel(x, y);
                    }
            EXPECT_GT(opaque, 400) << name;
            EXPECT_EQ(differing, 0) << name << (dark ? " dark" : " light");
        }
    }
    QApplication::setPalette(PavoGallery::lightPalette());
    PvResourceProvider::setDefaultResourceProviderClass({});
}
#endif
