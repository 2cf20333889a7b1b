#include "PvLevelMeterCell.h"

#include "PvClock.h"
#include "PvControl.h"
#include "PvResourceProvider.h"

#include <QPainter>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace {

// A shown level that moves by no more than this redraws nothing (single precision, as
// the comparison is made in floats).
constexpr float kRedrawThreshold = 0.01f;

} // namespace

// The strip with columns [0, litEnd) and the columns of hold taken from the lit picture,
// the rest from the unlit one, composed once and kept by the provider for every meter with
// these pictures. Null when the pictures differ in size or all the strips a meter may show
// would not fit the provider's budget; the meter then copies the parts one by one.
const QImage* PvLevelMeterCell::composedStrip(
    const Pictures& pictures, uint32_t ledCount, float litEnd, QRectF hold)
{
    if (!pictures.composed)
        return nullptr;
    const QPixmap& off = pictures.off;
    const QPixmap& on = pictures.on;
    const QSizeF& size = pictures.stripSize;
    // Every strip a meter shows: one per lit length, or in LED mode one per pair of lit
    // LEDs and held LED.
    const qint64 kib = std::max<qint64>(1, qint64(off.width()) * off.height() * 4 / 1024);
    const qint64 strips
        = ledCount > 0 ? (qint64(ledCount) + 1) * (qint64(ledCount) + 2) / 2 : off.width() + 1;
    if (ledCount > 4096 || kib * strips > PvResourceProvider::kComposedPicturesKiB)
        return nullptr;
    hold &= QRectF(QPointF(0, 0), size);
    const qreal ratio = off.devicePixelRatio();
    auto pixels = [ratio](qreal points) { return int(std::lround(points * ratio)); };
    const PvComposedPictureKey key {pictures.offKey, pictures.onKey,
        pixels(std::clamp<qreal>(litEnd, 0, size.width())), hold.isEmpty() ? 0 : pixels(hold.left()),
        hold.isEmpty() ? 0 : pixels(hold.right())};
    QCache<PvComposedPictureKey, QImage>& cache = *pictures.composed;
    if (const QImage* found = cache.object(key))
        return found;

    const bool opaque = !off.hasAlphaChannel() && !on.hasAlphaChannel();
    auto image = std::make_unique<QImage>(
        off.size(), opaque ? QImage::Format_RGB32 : QImage::Format_ARGB32_Premultiplied);
    image->setDevicePixelRatio(ratio);
    if (!opaque)
        image->fill(Qt::transparent);
    {
        QPainter painter(image.get());
        painter.drawPixmap(QPointF(0, 0), off);
        const QRectF lit(0, 0, std::clamp<qreal>(litEnd, 0, size.width()), size.height());
        for (const QRectF& part : {lit, hold})
            if (!part.isEmpty())
                painter.drawPixmap(part, on, QRectF(part.topLeft() * ratio, part.size() * ratio));
    }
    const QImage* composed = image.get();
    return cache.insert(key, image.release(), kib) ? composed : nullptr;
}

PvLevelMeterCell::PvLevelMeterCell() = default;

PvLevelMeterCell::~PvLevelMeterCell() = default;

std::unique_ptr<PvCell> PvLevelMeterCell::clone() const
{
    // Settings only: a copy starts silent, without timers and without a view.
    auto copy = std::make_unique<PvLevelMeterCell>();
    copySettingsTo(*copy);
    copy->m_levelMeterImageID = m_levelMeterImageID;
    copy->m_peakLEDImageID = m_peakLEDImageID;
    copy->m_LED_count = m_LED_count;
    copy->m_fallBackStep = m_fallBackStep;
    copy->m_fallBackStepTime = m_fallBackStepTime;
    copy->m_maxLevelHoldTime = m_maxLevelHoldTime;
    copy->m_onStateLEDInset = m_onStateLEDInset;
    return copy;
}

void PvLevelMeterCell::setImageIDs(int32_t levelMeterImageID, int32_t peakLEDImageID)
{
    m_levelMeterImageID = levelMeterImageID;
    m_peakLEDImageID = peakLEDImageID;
}

void PvLevelMeterCell::redraw()
{
    if (PvControl* view = controlView())
        view->setNeedsDisplayInRect(m_cellFrame);
}

void PvLevelMeterCell::setLevel(float level, bool force)
{
    const float previous = m_displayLevel;
    const bool near
        = level >= previous ? previous >= level - kRedrawThreshold : level + kRedrawThreshold >= previous;
    m_level = level;

    const double now = PvClock::now();
    const double elapsed = m_lastCallDate ? now - *m_lastCallDate : 0.0;
    m_holdAccumulateTime += elapsed;
    m_lastCallDate = now;

    // Without a step time the fall-back term is infinite: the display follows at once.
    const double fallen = m_fallBackStepTime > 0
        ? double(m_displayLevel) - double(m_fallBackStep) * elapsed / m_fallBackStepTime
        : -std::numeric_limits<double>::infinity();
    float candidate = float(std::max(double(level), fallen));
    if (candidate > 1.0f) {
        m_peak = true;
        candidate = std::min(candidate, 1.0f + m_fallBackStep);
    } else {
        candidate = std::max(0.0f, candidate);
    }
    m_displayLevel = candidate;

    if (candidate > m_maxDisplayLevel) {
        m_maxDisplayLevel = candidate;
        m_holdAccumulateTime = 0;
        redraw();
        return;
    }
    if (m_holdAccumulateTime > m_maxLevelHoldTime) {
        m_holdAccumulateTime = 0;
        if (m_maxDisplayLevel != 0) {
            // The hold segment goes at once; it does not fall.
            m_maxDisplayLevel = 0;
            redraw();
            return;
        }
    }
    if (!near || force)
        redraw();
}

void PvLevelMeterCell::setPeak(bool peak)
{
    m_peak = peak;
    redraw();
}

float PvLevelMeterCell::cellHeight() const
{
    return float(
        PvResourceProvider::defaultResourceProvider()->imageSize(m_levelMeterImageID, kUnlitState).height());
}

QSizeF PvLevelMeterCell::cellSize() const
{
    return PvResourceProvider::defaultResourceProvider()->imageSize(m_levelMeterImageID, kUnlitState);
}

void PvLevelMeterCell::calculateInternalsFromCellFrame(const QRectF& frame, PvControl* view)
{
    setControlView(view);
    m_cellFrame = frame;
}

void PvLevelMeterCell::timerAction(PvTimer*)
{
    m_displayLevel -= m_fallBackStep;
    if (m_level >= m_displayLevel) {
        if (m_timer)
            m_timer->stop();
        m_displayLevel = m_level;
    }
    redraw();
}

void PvLevelMeterCell::maxtimerAction(PvTimer*)
{
    m_maxDisplayLevel = 0;
    redraw();
}

uint32_t PvLevelMeterCell::litLEDs(uint32_t count, float value)
{
    if (count == 0)
        return 0;
    const float perLED = 1.0f / float(count);
    const float lit = std::round(value / perLED); // std::round rounds halves away from zero
    if (!(lit > 0)) // also NaN
        return 0;
    return lit < 4294967296.0f ? uint32_t(lit) : UINT32_MAX;
}

void PvLevelMeterCell::drawWithFrame(QPainter& painter, const QRectF& frame, PvControl* view)
{
    drawInteriorWithFrame(painter, frame, view);
}

PvLevelMeterCell::Pictures PvLevelMeterCell::pictures(
    int32_t stripID, int32_t clipID, bool ledOff, bool ledOn)
{
    // Built in place: a default QPixmap costs more than one would think.
    PvResourceProvider* provider = PvResourceProvider::defaultResourceProvider();
    const bool clip = clipID != kImage_None;
    Pictures p {provider->imageForID(stripID, kUnlitState), provider->imageForID(stripID, kLitState),
        {clip && ledOff ? provider->imageForID(clipID, kUnlitState) : QPixmap(),
            clip && ledOn ? provider->imageForID(clipID, kLitState) : QPixmap()},
        QSizeF(), nullptr, 0, 0};
    if (!p.off.isNull()) {
        p.stripSize = p.off.deviceIndependentSize();
        if (!p.on.isNull() && p.on.size() == p.off.size()
            && p.on.devicePixelRatio() == p.off.devicePixelRatio()) {
            p.composed = &provider->composedPictures();
            p.offKey = p.off.cacheKey();
            p.onKey = p.on.cacheKey();
        }
    }
    return p;
}

PvLevelMeterCell::Pictures PvLevelMeterCell::ownPictures() const
{
    return pictures(m_levelMeterImageID, m_peakLEDImageID, !m_peak, m_peak);
}

void PvLevelMeterCell::drawInteriorWithFrame(QPainter& painter, const QRectF& cellFrame, PvControl* view)
{
    drawMeter(painter, cellFrame, view, ownPictures());
}

void PvLevelMeterCell::drawMeter(
    QPainter& painter, const QRectF& cellFrame, PvControl* view, const Pictures& pictures)
{
    // Meters are drawn many times a second, many at a time: the parts of the pictures are
    // copied without further painter state changes.
    const QPixmap& off = pictures.off;
    const QPixmap& on = pictures.on;
    const QSizeF& stripSize = pictures.stripSize;
    const float W = float(stripSize.width());
    const float H = float(stripSize.height());
    const float inset = m_onStateLEDInset;
    const float L = W - inset; // length of the LED area

    const float d = std::min(1.0f, m_displayLevel);
    const float m = m_maxDisplayLevel > 1.0f ? 0.0f : m_maxDisplayLevel;
    calculateInternalsFromCellFrame(cellFrame, view);

    float litLength = 0;
    float holdEnd = 0;
    float holdWidth = 0;
    const uint32_t n = m_LED_count;
    if (n > 0) {
        const uint32_t kd = litLEDs(n, d);
        const uint32_t km = litLEDs(n, m);
        const float w1 = std::floor(L / float(n));
        litLength = kd == n ? L : w1 * float(kd);
        holdWidth = w1;
        if (km != n) {
            holdEnd = float(km) * w1;
        } else {
            // The last LED takes what the whole LEDs leave over.
            holdEnd = L;
            if (int64_t(L) % int64_t(n) != 0)
                holdWidth = w1 + 1;
        }
    } else {
        litLength = std::round(d * L);
        holdEnd = std::round(m * L);
        holdWidth = 2.0f;
    }

    // In an unflipped control the painter grows upward; draw the pictures upright in the
    // same place. The strip stands on the bottom edge of the frame.
    const bool upward = painter.worldTransform().m22() < 0;
    if (upward)
        painter.save();
    const QRectF frame = upward ? pv_uprightRect(painter, cellFrame) : cellFrame;
    const qreal x = frame.x();
    const qreal stripTop = frame.bottom() - H;

    // Copies part (in points of picture) to the same place of the strip standing at
    // (x, stripTop); parts are clipped to the picture, whose size in points is given.
    auto copy = [&painter, x, stripTop](const QPixmap& picture, const QSizeF& size, QRectF part) {
        part &= QRectF(QPointF(0, 0), size);
        if (part.isEmpty())
            return;
        const qreal ratio = picture.devicePixelRatio();
        painter.drawPixmap(QRectF(QPointF(x, stripTop) + part.topLeft(), part.size()), picture,
            QRectF(part.topLeft() * ratio, part.size() * ratio));
    };
    if (!off.isNull()) {
        const bool hold = m > 0.0f && d < 1.0f && holdEnd > litLength; // else drawn already
        // The lit picture's column at the hold, less the picture's bottom row.
        const QRectF holdPart(holdEnd + inset - holdWidth, 0, holdWidth, H - 1);
        // A LED hold is one of few places and goes into the composed strip; a bar's would
        // multiply the strips by the bar's length, so it is copied on its own.
        const bool holdComposed = hold && n > 0;
        const float litEnd = d > 0.0f ? (d < 1.0f ? litLength + inset : W) : 0.0f;
        if (const QImage* strip = composedStrip(pictures, n, litEnd, holdComposed ? holdPart : QRectF())) {
            painter.drawImage(QPointF(x, stripTop), *strip);
            if (hold && !holdComposed)
                copy(on, stripSize, holdPart);
        } else {
            const QSizeF onSize = on.isNull() ? QSizeF() : on.deviceIndependentSize();
            if (d < 1.0f) {
                const float s = litLength + (litLength >= 1.0f ? inset : 0.0f);
                copy(off, stripSize, QRectF(s, 0, W - s, H));
            }
            if (d > 0.0f)
                copy(on, onSize, QRectF(0, 0, litLength + inset, H));
            if (hold)
                copy(on, onSize, holdPart);
        }
    }
    // The clip LED stands in the frame's bottom right corner.
    if (const QPixmap& led = pictures.led[m_peak]; !led.isNull()) {
        const QSizeF size = led.deviceIndependentSize();
        painter.drawPixmap(QPointF(frame.right() - size.width(), frame.bottom() - size.height()), led);
    }
    if (upward)
        painter.restore();
}
