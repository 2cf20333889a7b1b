#include "PvWindowBevelView.h"

#include <QPainter>

PvWindowBevelView::PvWindowBevelView(QWidget* parent)
    : QWidget(parent)
{
    setAttribute(Qt::WA_OpaquePaintEvent, m_isOpaque);
}

void PvWindowBevelView::setImages(const QPixmap& left, const QPixmap& middle, const QPixmap& right)
{
    m_leftImage = left;
    m_image = middle;
    m_rightImage = right;
    updateGeometry();
    update();
}

void PvWindowBevelView::setSpecialImage(const QSizeF& size, const QPointF& point)
{
    m_specialImageSize = size;
    m_specialImagePoint = point;
    update();
}

void PvWindowBevelView::setOpaque(bool opaque)
{
    m_isOpaque = opaque;
    setAttribute(Qt::WA_OpaquePaintEvent, opaque);
    update();
}

QSize PvWindowBevelView::sizeHint() const
{
    const qreal h = std::max({m_leftImage.deviceIndependentSize().height(),
        m_image.deviceIndependentSize().height(), m_rightImage.deviceIndependentSize().height()});
    return QSize(120, h > 0 ? int(h) : 24);
}

void PvWindowBevelView::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    const QRectF r = rect();
    auto whole = [](const QPixmap& pm) { return QRectF(QPointF(0, 0), QSizeF(pm.size())); };
    if (m_leftImage.isNull() && m_image.isNull() && m_rightImage.isNull()) {
        const QPalette& pal = palette();
        const QColor base = pal.color(QPalette::Button);
        const bool dark = base.lightnessF() < 0.5;
        QLinearGradient g(r.topLeft(), r.bottomLeft());
        g.setColorAt(0, base.lighter(dark ? 135 : 112));
        g.setColorAt(1, base.darker(dark ? 105 : 108));
        p.fillRect(r, g);
        p.setPen(QColor(255, 255, 255, dark ? 45 : 200));
        p.drawLine(QPointF(0, 0.5), QPointF(r.width(), 0.5));
        p.setPen(dark ? QColor(0, 0, 0, 190) : base.darker(150));
        p.drawLine(QPointF(0, r.height() - 0.5), QPointF(r.width(), r.height() - 0.5));
        return;
    }
    if (m_isOpaque)
        p.fillRect(r, palette().color(QPalette::Window));
    const QSizeF ls = m_leftImage.deviceIndependentSize();
    const QSizeF rs = m_rightImage.deviceIndependentSize();
    if (!m_image.isNull()) {
        if (!m_specialImageSize.isEmpty())
            p.drawPixmap(QRectF(m_specialImagePoint, m_specialImageSize), m_image, whole(m_image));
        else
            p.drawPixmap(QRectF(ls.width(), 0, r.width() - ls.width() - rs.width(), r.height()), m_image,
                whole(m_image));
    }
    if (!m_leftImage.isNull())
        p.drawPixmap(QRectF(QPointF(0, 0), QSizeF(ls.width(), r.height())), m_leftImage, whole(m_leftImage));
    if (!m_rightImage.isNull())
        p.drawPixmap(QRectF(QPointF(r.width() - rs.width(), 0), QSizeF(rs.width(), r.height())), m_rightImage,
            whole(m_rightImage));
}
