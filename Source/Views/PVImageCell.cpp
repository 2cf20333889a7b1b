#include "PVImageCell.h"

#include "PvControl.h"
#include "PvResourceProvider.h"

#include <QPainter>

std::unique_ptr<PvCell> PVImageCell::clone() const
{
    auto copy = std::make_unique<PVImageCell>();
    copySettingsTo(*copy);
    copy->m_image = m_image;
    copy->m_imageID = m_imageID;
    return copy;
}

QPixmap PVImageCell::image() const
{
    if (!m_image.isNull() || m_imageID == kImage_None)
        return m_image;
    return PvResourceProvider::defaultResourceProvider()->imageForID(m_imageID, isEnabled() ? 0 : 2);
}

void PVImageCell::setImage(const QPixmap& image)
{
    m_image = image;
    setNeedsDisplay();
}

void PVImageCell::setImageID(int32_t imageID)
{
    m_imageID = imageID;
    setNeedsDisplay();
}

void PVImageCell::drawInteriorWithFrame(QPainter& painter, const QRectF& frame, PvControl*)
{
    const QPixmap picture = image();
    if (picture.isNull() || frame.isEmpty())
        return;
    QSizeF size = picture.deviceIndependentSize();
    if (size.width() > frame.width() || size.height() > frame.height())
        size.scale(frame.size(), Qt::KeepAspectRatio);
    painter.save();
    const QRectF box = pv_uprightRect(painter,
        QRectF(frame.center().x() - size.width() / 2, frame.center().y() - size.height() / 2, size.width(),
            size.height()));
    painter.setRenderHint(QPainter::SmoothPixmapTransform, size != picture.deviceIndependentSize());
    painter.drawPixmap(box, picture, QRectF(QPointF(0, 0), QSizeF(picture.size())));
    painter.restore();
}
