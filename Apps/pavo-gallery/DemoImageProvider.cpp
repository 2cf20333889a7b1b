#include "DemoImageProvider.h"

#include <QGuiApplication>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>
#include <QScreen>

#include <algorithm>
#include <cmath>

namespace PavoGallery {

namespace {

constexpr int kLEDCount = 10;
constexpr qreal kStartArea = 8; // the signal-present LED, in points
constexpr qreal kLEDPitch = 28;
constexpr qreal kStripHeight = 14; // also the clip LED's size

bool isDark(const QPalette& p)
{
    return p.color(QPalette::Window).lightness() < 128;
}

// A canvas of size points at ratio; the painter works in points.
QPixmap canvas(QSizeF points, qreal ratio)
{
    QPixmap p(QSize(int(std::ceil(points.width() * ratio)), int(std::ceil(points.height() * ratio))));
    p.setDevicePixelRatio(ratio);
    p.fill(Qt::transparent);
    return p;
}

QPixmap knob(int state, qreal ratio, const QPalette& pal)
{
    QPixmap pm = canvas({16, 16}, ratio);
    QPainter p(&pm);
    p.setRenderHint(QPainter::Antialiasing);
    const QRectF r(1, 1, 14, 14);
    QColor face = isDark(pal) ? QColor(150, 152, 158) : QColor(236, 236, 238);
    if (state == 1)
        face = face.darker(isDark(pal) ? 150 : 125);
    QRadialGradient g(QPointF(6, 5), 10);
    g.setColorAt(0, face.lighter(118));
    g.setColorAt(1, face.darker(state == 2 ? 105 : 130));
    p.setOpacity(state == 2 ? 0.55 : 1.0);
    p.setPen(QPen(QColor(40, 40, 44), 1));
    p.setBrush(g);
    p.drawEllipse(r);
    // The grip: a dot in the middle, lit blue in state 3.
    p.setPen(Qt::NoPen);
    p.setBrush(state == 3 ? QColor(40, 160, 255) : QColor(70, 70, 76));
    p.drawEllipse(QPointF(8, 8), state == 3 ? 3.0 : 2.0, state == 3 ? 3.0 : 2.0);
    return pm;
}

QPixmap track(bool vertical, qreal ratio, const QPalette& pal)
{
    const QSizeF size = vertical ? QSizeF(6, 120) : QSizeF(120, 6);
    QPixmap pm = canvas(size, ratio);
    QPainter p(&pm);
    p.setRenderHint(QPainter::Antialiasing);
    QLinearGradient g(0, 0, vertical ? 6 : 0, vertical ? 0 : 6);
    const bool dark = isDark(pal);
    g.setColorAt(0, dark ? QColor(20, 20, 22) : QColor(120, 120, 126));
    g.setColorAt(1, dark ? QColor(70, 70, 76) : QColor(200, 200, 206));
    // A light rim in the dark palette keeps the groove visible against a dark window.
    p.setPen(QPen(dark ? QColor(120, 120, 128) : QColor(96, 96, 102), 1));
    p.setBrush(g);
    p.drawRoundedRect(QRectF(QPointF(0.5, 0.5), size - QSizeF(1, 1)), 2.5, 2.5);
    return pm;
}

QPixmap label(const QString& text, qreal ratio, const QPalette& pal)
{
    QFont f;
    f.setPixelSize(9);
    const QFontMetricsF fm(f);
    const QSizeF size(std::ceil(fm.horizontalAdvance(text)) + 2, std::ceil(fm.height()));
    QPixmap pm = canvas(size, ratio);
    QPainter p(&pm);
    p.setFont(f);
    p.setPen(pal.color(QPalette::WindowText));
    p.drawText(QRectF(QPointF(0, 0), size), Qt::AlignCenter, text);
    return pm;
}

// The colour of LED i (0 to 9) of the strip, lit or not.
QColor ledColour(int i, bool lit)
{
    const QColor c = i < 7 ? QColor(40, 220, 70) : i < 9 ? QColor(255, 190, 20) : QColor(255, 40, 30);
    return lit ? c : c.darker(420);
}

QPixmap meter(bool vertical, bool lit, qreal ratio)
{
    const qreal length = kStartArea + kLEDCount * kLEDPitch;
    const qreal h = kStripHeight;
    QPixmap pm = canvas(vertical ? QSizeF(h, length) : QSizeF(length, h), ratio);
    QPainter p(&pm);
    // Vertical strips start at the bottom, so the picture is drawn horizontally and turned.
    if (vertical) {
        p.translate(0, length);
        p.rotate(-90);
    }
    p.fillRect(QRectF(0, 0, length, h), QColor(12, 12, 14));
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(Qt::NoPen);
    p.setBrush(lit ? QColor(60, 170, 255) : QColor(20, 44, 66));
    p.drawRoundedRect(QRectF(1, 3, kStartArea - 3, h - 6), 1.5, 1.5);
    for (int i = 0; i < kLEDCount; ++i) {
        const QRectF led(kStartArea + i * kLEDPitch + 1.5, 2, kLEDPitch - 3, h - 4);
        QLinearGradient g(led.topLeft(), led.bottomLeft());
        g.setColorAt(0, ledColour(i, lit).lighter(lit ? 140 : 115));
        g.setColorAt(1, ledColour(i, lit));
        p.setBrush(g);
        p.drawRoundedRect(led, 2, 2);
    }
    return pm;
}

QPixmap clipLED(bool lit, qreal ratio)
{
    const qreal h = kStripHeight;
    QPixmap pm = canvas({h, h}, ratio);
    QPainter p(&pm);
    p.setRenderHint(QPainter::Antialiasing);
    QRadialGradient g(QPointF(h * 0.38, h * 0.38), h * 0.62);
    g.setColorAt(0, lit ? QColor(255, 170, 160) : QColor(110, 24, 20));
    g.setColorAt(1, lit ? QColor(230, 20, 10) : QColor(50, 8, 6));
    p.setPen(QPen(QColor(12, 12, 14), 1));
    p.setBrush(g);
    p.drawEllipse(QRectF(0.5, 0.5, h - 1, h - 1));
    return pm;
}

QPixmap draw(int32_t id, int state, qreal ratio, const QPalette& pal)
{
    using namespace DemoImage;
    switch (id) {
    case kKnob:
        return state >= 0 && state <= 3 ? knob(state, ratio, pal) : QPixmap();
    case kTrackHorizontal:
    case kTrackVertical:
        if (state == 0)
            return track(id == kTrackVertical, ratio, pal);
        if (state == 1 || state == 2)
            return label(state == 1 ? "0" : "10", ratio, pal);
        return {};
    case kMeterHorizontal:
    case kMeterVertical:
        return state == 0 || state == 3 ? meter(id == kMeterVertical, state == 3, ratio) : QPixmap();
    case kClipLED:
        return state == 0 || state == 3 ? clipLED(state == 3, ratio) : QPixmap();
    default:
        return {};
    }
}

} // namespace

QPixmap DemoImageProvider::imageForID(int32_t imageID, int state)
{
    qreal ratio = m_ratio;
    if (ratio <= 0) {
        ratio = 1;
        for (const QScreen* s : QGuiApplication::screens())
            ratio = std::max(ratio, s->devicePixelRatio());
    }
    return imageForID(imageID, state, ratio);
}

QPixmap DemoImageProvider::imageForID(int32_t imageID, int state, qreal devicePixelRatio)
{
    if (imageID == kImage_None)
        return {};
    const qreal ratio = std::max<qreal>(1.0, devicePixelRatio);
    const QPalette pal = QGuiApplication::palette();
    const QString key = QString("%1/%2/%3/%4").arg(imageID).arg(state).arg(ratio).arg(pal.cacheKey());
    const auto it = m_cache.constFind(key);
    if (it != m_cache.constEnd())
        return *it;
    const QPixmap p = draw(imageID, state, ratio, pal);
    m_cache.insert(key, p);
    return p;
}

} // namespace PavoGallery
