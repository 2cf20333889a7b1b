#include "PVTexturedFrameView.h"

#include "PvBundleImage.h"
#include "PvThemeWindow.h"

#include <QEvent>
#include <QFile>
#include <QPainter>

PVTexturedFrameView::PVTexturedFrameView(PvThemeWindow* window)
    : PvFrameView(window)
{
}

QStringList PVTexturedFrameView::defaultImageNamesSet()
{
    return {"PV_TexturedTopLeft", "PV_TexturedTopRight", "PV_TexturedBottomLeft", "PV_TexturedBottomRight",
        "PV_TexturedTitle", "PV_TexturedTop", "PV_TexturedLeft", "PV_TexturedRight", "PV_TexturedBottom",
        "PV_TexturedCenter"};
}

QStringList PVTexturedFrameView::getImageNamesSet() const
{
    return defaultImageNamesSet();
}

QPixmap PVTexturedFrameView::loadImageNamed(const QString& name) const
{
    // A framework picture by name first, else a picture file the host named by path.
    const QPixmap framework = pv_loadPavoBundleImage(name);
    if (!framework.isNull())
        return framework;
    return QFile::exists(name) ? QPixmap(name) : QPixmap();
}

void PVTexturedFrameView::_loadImages()
{
    if (m_imagesLoaded)
        return;
    m_imagesLoaded = true;
    m_imagesDark = pv_pavoBundleImagesAreDark();
    QStringList names = getImageNamesSet();
    if (PvWindowDelegate* d = themeWindow()->delegate())
        if (auto answer = d->texturedWindowGetImageNamesSet(themeWindow()))
            names = *answer;
    for (int i = 0; i < kImageCount; ++i) {
        Image& img = m_images[size_t(i)];
        img = Image {};
        if (i >= names.size() || names[i].isNull())
            continue;
        img.image = loadImageNamed(names[i]);
        if (img.image.isNull())
            continue;
        img.originalSize = img.size = img.image.deviceIndependentSize();
        img.scalesWhenResized = i >= 5;
    }
    updateWindowButtons();
    // The texture decides the text colour of the window, whatever the palette: dark text
    // on light metal, light text on a dark texture. It is set again when the pictures are.
    if (!m_images[9].image.isNull()) {
        const QImage sample = m_images[9].image.toImage();
        const bool darkTexture
            = QColor(sample.pixel(sample.width() / 2, sample.height() / 2)).lightnessF() < 0.45;
        QPalette pal = themeWindow()->palette();
        pal.setColor(QPalette::WindowText, darkTexture ? QColor(235, 235, 235) : QColor(20, 20, 20));
        themeWindow()->setPalette(pal);
    }
}

const std::array<PVTexturedFrameView::Image, PVTexturedFrameView::kImageCount>& PVTexturedFrameView::images()
{
    _loadImages();
    return m_images;
}

void PVTexturedFrameView::changeEvent(QEvent* event)
{
    const QEvent::Type type = event->type();
    // Setting the window's text colour sends a palette change too; the darkness test keeps
    // that from loading again.
    if (m_imagesLoaded && (type == QEvent::ApplicationPaletteChange || type == QEvent::PaletteChange)
        && pv_pavoBundleImagesAreDark() != m_imagesDark) {
        m_imagesLoaded = false;
        _loadImages();
        themeWindow()->update();
    }
    PvFrameView::changeEvent(event);
}

void PVTexturedFrameView::showEvent(QShowEvent* event)
{
    _loadImages(); // before the first paint, as it may set the window's text colour
    PvFrameView::showEvent(event);
}

qreal PVTexturedFrameView::titleHeight() const
{
    const QSizeF s = m_images[0].size;
    return s.height() > 0 ? s.height() : PvFrameView::titleHeight();
}

void PVTexturedFrameView::drawFrame(QPainter& painter)
{
    _loadImages();
    const auto& im = m_images;
    const qreal w = width(), h = height();
    auto draw = [&](int i, const QRectF& r) {
        if (!im[size_t(i)].image.isNull() && r.width() > 0 && r.height() > 0)
            painter.drawPixmap(
                r, im[size_t(i)].image, QRectF(QPointF(0, 0), QSizeF(im[size_t(i)].image.size())));
    };
    // Without a centre picture the palette fills the body; with one, nothing is painted
    // under the pictures, so the rounded corners stay clear.
    if (im[9].image.isNull())
        painter.fillRect(rect(), palette().color(QPalette::Window));
    const QSizeF tl = im[0].size, tr = im[1].size, bl = im[2].size, br = im[3].size;
    const qreal top = std::max(tl.height(), tr.height());
    const qreal bottom = std::max(bl.height(), br.height());
    const qreal right = im[7].size.width();
    // Stretched parts first, then the fixed pieces over them.
    draw(9, QRectF(0, top, w, h - top - bottom)); // the edges are drawn over it
    draw(5, QRectF(tl.width(), 0, w - tl.width() - tr.width(), im[5].size.height()));
    draw(8, QRectF(bl.width(), h - im[8].size.height(), w - bl.width() - br.width(), im[8].size.height()));
    draw(6, QRectF(0, tl.height(), im[6].size.width(), h - tl.height() - bl.height()));
    draw(7, QRectF(w - right, tr.height(), right, h - tr.height() - br.height()));
    draw(0, QRectF(QPointF(0, 0), tl));
    draw(1, QRectF(QPointF(w - tr.width(), 0), tr));
    draw(2, QRectF(QPointF(0, h - bl.height()), bl));
    draw(3, QRectF(QPointF(w - br.width(), h - br.height()), br));
    const QSizeF orn = im[4].size;
    draw(4, QRectF(QPointF(std::floor((w - orn.width()) / 2), 0), orn));

    // The title is engraved: a light shadow one point under dark text (or the reverse on
    // a dark texture), judged from the title bar's centre.
    QColor text = Qt::black;
    QColor shadow(255, 255, 255, 150);
    if (!im[5].image.isNull()) {
        const QImage sample = im[5].image.toImage();
        if (QColor(sample.pixel(0, sample.height() / 2)).lightnessF() < 0.45) {
            text = QColor(235, 235, 235);
            shadow = QColor(0, 0, 0, 160);
        }
    } else {
        text = palette().color(QPalette::WindowText);
        shadow = Qt::transparent;
    }
    if (!isActiveWindow())
        text.setAlphaF(0.6f);
    painter.save();
    painter.translate(0, 1);
    drawTitle(painter, titleFrame(), shadow);
    painter.restore();
    drawTitle(painter, titleFrame(), text);
}
