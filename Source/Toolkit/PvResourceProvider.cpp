#include "PvResourceProvider.h"

#include <algorithm>

namespace {

// The installed class and the shared provider: the image provider is one of the few
// pieces of process-wide state of the toolkit.
struct SharedProvider {
    PvResourceProvider::Factory factory;
    std::unique_ptr<PvResourceProvider> instance;
};

SharedProvider& shared()
{
    static SharedProvider s;
    return s;
}

} // namespace

PvResourceProvider::~PvResourceProvider() = default;

PvResourceProvider* PvResourceProvider::defaultResourceProvider()
{
    SharedProvider& s = shared();
    if (!s.instance) {
        if (s.factory)
            s.instance = s.factory();
        if (!s.instance)
            s.instance = std::make_unique<PvResourceProvider>();
    }
    return s.instance.get();
}

void PvResourceProvider::setDefaultResourceProviderClass(Factory factory)
{
    SharedProvider& s = shared();
    s.factory = std::move(factory);
    s.instance.reset();
}

QPixmap PvResourceProvider::imageForID(int32_t, int)
{
    return {};
}

QSizeF PvResourceProvider::imageSize(int32_t imageID, int state)
{
    if (imageID == kImage_None)
        return {};
    const QPixmap p = imageForID(imageID, state);
    return p.isNull() ? QSizeF() : p.deviceIndependentSize();
}

bool PvResourceProvider::drawImageWithID(int32_t imageID, int state, QPainter& painter, const QPointF& point,
    QPainter::CompositionMode operation, qreal fraction)
{
    if (imageID == kImage_None)
        return false;
    const QPixmap p = imageForID(imageID, state);
    if (p.isNull())
        return false;
    return drawImageWithID(
        imageID, state, painter, QRectF(point, p.deviceIndependentSize()), operation, fraction);
}

bool PvResourceProvider::drawImageWithID(int32_t imageID, int state, QPainter& painter, const QRectF& rect,
    QPainter::CompositionMode operation, qreal fraction)
{
    if (imageID == kImage_None || rect.isEmpty())
        return false;
    const QPixmap p = imageForID(imageID, state);
    if (p.isNull())
        return false;
    painter.save();
    painter.setCompositionMode(operation);
    painter.setOpacity(painter.opacity() * std::clamp(fraction, 0.0, 1.0));
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawPixmap(rect, p, QRectF(QPointF(0, 0), QSizeF(p.size())));
    painter.restore();
    return true;
}

bool PvResourceProvider::drawImageWithID(int32_t imageID, int state, QPainter& painter, const QPointF& point,
    const QRectF& fromRect, QPainter::CompositionMode operation, qreal fraction)
{
    if (imageID == kImage_None)
        return false;
    const QPixmap p = imageForID(imageID, state);
    if (p.isNull())
        return false;
    const QRectF whole(QPointF(0, 0), p.deviceIndependentSize());
    const QRectF part = fromRect.isEmpty() ? whole : fromRect.intersected(whole);
    if (part.isEmpty())
        return false;
    const QPointF origin = point + (part.topLeft() - (fromRect.isEmpty() ? whole : fromRect).topLeft());
    const qreal ratio = p.devicePixelRatio();
    const QRectF pixels(part.topLeft() * ratio, part.size() * ratio);
    painter.save();
    painter.setCompositionMode(operation);
    painter.setOpacity(painter.opacity() * std::clamp(fraction, 0.0, 1.0));
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawPixmap(QRectF(origin, part.size()), p, pixels);
    painter.restore();
    return true;
}
