// A window frame drawn from ten pictures.
#pragma once

#include "PvFrameView.h"

#include <QPixmap>
#include <QStringList>

#include <array>

/**
    A frame view that draws the frame of a PVTexturedWindow from ten pictures, named by
    getImageNamesSet() or by the window delegate's texturedWindowGetImageNamesSet():

    0 top-left corner, 1 top-right corner, 2 bottom-left corner, 3 bottom-right corner,
    4 title ornament (centred behind the title) - these five are drawn at their size;
    5 top edge, 6 left edge, 7 right edge, 8 bottom edge, 9 centre - these are stretched.

    A null name leaves its part undrawn. The title bar is as high as picture 0 (22 points
    without it). Pictures are loaded once, on first drawing, with loadImageNamed().
*/
class PVTexturedFrameView : public PvFrameView {
    Q_OBJECT
public:
    static constexpr int kImageCount = 10;

    struct Image {
        QPixmap image;
        QSizeF originalSize;
        QSizeF size;
        bool scalesWhenResized = false;
    };

    explicit PVTexturedFrameView(PvThemeWindow* window);

    /// The framework's own set of ten names (pictures compiled into the library).
    static QStringList defaultImageNamesSet();
    /// The names this frame uses; the base answers defaultImageNamesSet().
    virtual QStringList getImageNamesSet() const;
    /// Loads one picture: the framework's picture of that name, else a file path; a null
    /// pixmap when neither exists.
    virtual QPixmap loadImageNamed(const QString& name) const;

    /// The ten records (loading them first if needed).
    const std::array<Image, kImageCount>& images();
    bool imagesLoaded() const { return m_imagesLoaded; }
    qreal titleHeight() const override;

protected:
    void drawFrame(QPainter& painter) override;
    void showEvent(QShowEvent* event) override;
    /// Loads the pictures again when the application palette turns from light to dark or
    /// back, so the framework's own set follows it.
    void changeEvent(QEvent* event) override;

private:
    void _loadImages();
    std::array<Image, kImageCount> m_images;
    bool m_imagesLoaded = false;
    bool m_imagesDark = false; // the palette the pictures were loaded for
};
