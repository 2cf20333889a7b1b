// Renders every gallery page, light and dark, to PNG for a person to look at.
#include <Pavo/PavoUI.h>

#include "TestSupport.h"

#include <QDir>
#include <QScrollArea>
#include <QScrollBar>
#include <QStackedWidget>
#include <QTest>
#include <gtest/gtest.h>

#ifdef PAVO_HAVE_GALLERY
#include "DemoImageProvider.h"
#include "GalleryPages.h"

namespace {

// Whether the picture has more than a handful of colours (something was drawn).
bool hasContent(const QImage& image)
{
    QSet<QRgb> colours;
    for (int y = 0; y < image.height(); y += 7)
        for (int x = 0; x < image.width(); x += 7)
            colours.insert(image.pixel(x, y));
    return colours.size() > 8;
}

// Folder listings run in the background: the pages are pictured with their rows.
void waitForListings(QWidget& window)
{
    EXPECT_TRUE(QTest::qWaitFor([&] {
        const auto delegates = window.findChildren<PvFileSystemBrowserDelegate*>();
        return std::all_of(
            delegates.begin(), delegates.end(), [](auto* d) { return d->pendingListingCount() == 0; });
    }));
}

QString fileName(const QString& title, bool dark)
{
    QString name = title.toLower();
    name.replace(' ', '-');
    return QDir(PavoTest::outputDir())
        .filePath(QString("gallery-%1-%2.png").arg(name, dark ? "dark" : "light"));
}

} // namespace

TEST(Gallery, RendersEveryPageInBothPalettes)
{
    // The gallery application's pictures, as its main() installs them.
    PvResourceProvider::setDefaultResourceProviderClass<PavoGallery::DemoImageProvider>();
    PavoGallery::GalleryWindow window;
    window.resize(980, 640);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    const auto pages = PavoGallery::pages();
    ASSERT_EQ(window.pageCount(), pages.size());
    for (bool dark : {false, true}) {
        window.setDark(dark);
        for (int i = 0; i < pages.size(); ++i) {
            window.showPage(i);
            QApplication::processEvents();
            waitForListings(window);
            const QImage shot = window.grab().toImage();
            ASSERT_FALSE(shot.isNull());
            EXPECT_TRUE(hasContent(shot)) << pages[i].title.toStdString();
            EXPECT_TRUE(shot.save(fileName(pages[i].title, dark)))
                << fileName(pages[i].title, dark).toStdString();
        }
    }
    // Every page once more at device pixel ratio 2, with pictures made for it, as on a
    // dense screen: to look at for blur.
    window.setDark(false);
    auto* provider
        = dynamic_cast<PavoGallery::DemoImageProvider*>(PvResourceProvider::defaultResourceProvider());
    ASSERT_NE(provider, nullptr);
    provider->setDevicePixelRatio(2);
    for (int i = 0; i < pages.size(); ++i) {
        window.showPage(i);
        QApplication::processEvents();
        waitForListings(window);
        QImage shot(window.size() * 2, QImage::Format_ARGB32_Premultiplied);
        shot.setDevicePixelRatio(2);
        shot.fill(Qt::transparent);
        window.render(&shot);
        EXPECT_TRUE(hasContent(shot)) << pages[i].title.toStdString();
        EXPECT_TRUE(shot.save(fileName(pages[i].title + "@2x", false)));
    }
    provider->setDevicePixelRatio(0);
    // The tool tip is a window of its own: show it on the tool-tip page and render it too.
    window.showPage("Tool tip");
    auto* pad = window.currentPage()->findChild<QWidget*>("tipPad");
    ASSERT_NE(pad, nullptr);
    QTest::mousePress(pad, Qt::LeftButton, {}, QPoint(80, 60));
    PvToolTipWindow* tip = PvToolTipWindow::existingToolTipWindow();
    ASSERT_NE(tip, nullptr);
    EXPECT_TRUE(tip->isVisible());
    EXPECT_EQ(tip->pos(), pad->mapToGlobal(QPoint(80, 60 + 21)));
    EXPECT_TRUE(tip->grab().save(QDir(PavoTest::outputDir()).filePath("gallery-tool-tip-window.png")));
    QTest::mouseRelease(pad, Qt::LeftButton, {}, QPoint(80, 60));
    EXPECT_FALSE(tip->isVisible());
    window.setDark(false);
    PvResourceProvider::setDefaultResourceProviderClass({});
}
// Pages are built when first shown; in a small window they keep the size their content
// needs and scroll.
TEST(Gallery, PagesScrollInASmallWindow)
{
    PavoGallery::GalleryWindow window;
    window.resize(560, 400);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    EXPECT_LE(window.width(), 560);
    auto built = [&window] {
        int n = 0;
        for (const QScrollArea* area : window.findChildren<QScrollArea*>())
            n += area->widget() && qobject_cast<QStackedWidget*>(area->parentWidget()) ? 1 : 0;
        return n;
    };
    EXPECT_EQ(built(), 1); // pages are built when first shown
    int scrolled = 0;
    for (int i = 0; i < window.pageCount(); ++i) {
        window.showPage(i);
        QApplication::processEvents();
        QWidget* page = window.currentPage();
        ASSERT_NE(page, nullptr);
        const QSize needed = page->minimumSizeHint();
        EXPECT_GE(page->width(), needed.width()) << i;
        EXPECT_GE(page->height(), needed.height()) << i;
        auto* scroll = qobject_cast<QScrollArea*>(page->parentWidget()->parentWidget());
        ASSERT_NE(scroll, nullptr);
        if (scroll->horizontalScrollBar()->maximum() > 0 || scroll->verticalScrollBar()->maximum() > 0)
            ++scrolled;
    }
    EXPECT_GT(scrolled, 0) << "no page needs more than 560 x 400";
    window.resize(200, 100);
    QApplication::processEvents();
    EXPECT_GE(window.width(), window.minimumWidth());
    EXPECT_GT(window.minimumWidth(), 0);
}
#endif
