// A bevel drawn from a left, a middle and a right picture.
#pragma once

#include <QPixmap>
#include <QWidget>

/**
    Draws a horizontal bevel (the bar under a list, a status strip): the left picture at
    the left edge, the right picture at the right edge, both at their size, and the middle
    picture stretched between them. When a special size is set, the middle picture is
    drawn at specialImagePoint() with that size instead (an ornament that must not
    stretch). Without pictures the bevel is drawn from the palette, raised, in light and
    dark palettes alike.

    Pictures are copied (implicitly shared). Main thread only.
*/
class PvWindowBevelView : public QWidget {
    Q_OBJECT
public:
    explicit PvWindowBevelView(QWidget* parent = nullptr);

    void setImages(const QPixmap& left, const QPixmap& middle, const QPixmap& right);
    QPixmap leftImage() const { return m_leftImage; }
    QPixmap image() const { return m_image; }
    QPixmap rightImage() const { return m_rightImage; }
    /// Size and top-left point of the middle picture when it is not to be stretched; an
    /// empty size (the default) stretches it.
    void setSpecialImage(const QSizeF& size, const QPointF& point);
    QSizeF specialImageSize() const { return m_specialImageSize; }
    QPointF specialImagePoint() const { return m_specialImagePoint; }
    /// An opaque bevel paints every pixel (Qt skips what is under it).
    bool isOpaque() const { return m_isOpaque; }
    void setOpaque(bool opaque);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QPixmap m_leftImage;
    QPixmap m_rightImage;
    QPixmap m_image;
    QSizeF m_specialImageSize;
    QPointF m_specialImagePoint;
    bool m_isOpaque = true;
};
