// A cell that shows a picture.
#pragma once

#include "PvCell.h"

#include <QPixmap>

/**
    A cell that shows one picture, given directly or by image ID from the shared image
    provider, centred in its frame and scaled down proportionally when it does not fit
    (never up). Draws nothing without a picture.
*/
class PVImageCell : public PvCell {
public:
    PVImageCell() = default;
    std::unique_ptr<PvCell> clone() const override;

    /// The picture shown: the one given, else the provider's picture of imageID().
    QPixmap image() const;
    void setImage(const QPixmap& image);
    int32_t imageID() const { return m_imageID; }
    void setImageID(int32_t imageID);

    void drawInteriorWithFrame(QPainter& painter, const QRectF& frame, PvControl* view) override;
    QSizeF cellSize() const override { return image().deviceIndependentSize(); }
    QAccessible::Role accessibilityRole() const override { return QAccessible::Graphic; }

private:
    QPixmap m_image;
    int32_t m_imageID = -1;
};
