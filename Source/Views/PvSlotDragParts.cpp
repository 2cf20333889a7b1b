#include "PvSlotDragParts_p.h"

#include "PvClock.h"
#include "PvDelayedPerform.h"

#include <QPainter>

#include <algorithm>

namespace {

constexpr double kFrameInterval = 1.0 / 60.0; // seconds between animation frames

QRectF interpolate(const QRectF& a, const QRectF& b, double t)
{
    auto mix = [t](double x, double y) { return x + (y - x) * t; };
    return QRectF(
        mix(a.x(), b.x()), mix(a.y(), b.y()), mix(a.width(), b.width()), mix(a.height(), b.height()));
}

} // namespace

PvSlotMotion::~PvSlotMotion()
{
    pv_cancelPreviousPerformRequests(this);
}

void PvSlotMotion::start(const QRectF& from, const QRectF& to, double duration, Step step, Done done)
{
    pv_cancelPreviousPerformRequests(this);
    m_from = from;
    m_to = to;
    m_start = PvClock::now();
    m_duration = duration;
    m_step = std::move(step);
    m_done = std::move(done);
    m_running = true;
    if (duration <= 0) {
        finish();
        return;
    }
    m_step(from);
    pv_performAfterDelay(
        this, [this] { frame(); }, kFrameInterval);
}

void PvSlotMotion::frame()
{
    if (!m_running)
        return;
    const double t = (PvClock::now() - m_start) / m_duration;
    if (t >= 1 - 1e-6) { // clock steps adding up to a float duration end it
        finish();
        return;
    }
    const double eased = t <= 0 ? 0 : t * t * (3 - 2 * t);
    m_step(interpolate(m_from, m_to, eased));
    pv_performAfterDelay(
        this, [this] { frame(); }, kFrameInterval);
}

void PvSlotMotion::finish()
{
    if (!m_running)
        return;
    pv_cancelPreviousPerformRequests(this);
    m_running = false;
    // The callbacks may start this motion again, so they are moved out first.
    Step step = std::move(m_step);
    Done done = std::move(m_done);
    if (step)
        step(m_to);
    if (done)
        done();
}

void PvSlotMotion::stop()
{
    pv_cancelPreviousPerformRequests(this);
    m_running = false;
    m_step = nullptr;
    m_done = nullptr;
}

PvSlotDragWindow::PvSlotDragWindow()
    : QWidget(nullptr,
        Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::WindowTransparentForInput
            | Qt::WindowDoesNotAcceptFocus)
{
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void PvSlotDragWindow::setImage(
    const QPixmap& image, float transparency, const QSizeF& shadowOffset, float shadowAlpha)
{
    m_image = image;
    m_transparency = std::clamp(transparency, 0.0f, 1.0f);
    m_shadowAlpha = std::clamp(shadowAlpha, 0.0f, 1.0f);
    // y-up offset to Qt's downward y.
    m_shadowDelta = QPoint(qRound(shadowOffset.width()), qRound(-shadowOffset.height()));
    m_shadow = QImage();
    if (!image.isNull()) {
        // The shadow is the image's silhouette in black.
        m_shadow = image.toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied);
        QPainter p(&m_shadow);
        p.setCompositionMode(QPainter::CompositionMode_SourceIn);
        p.fillRect(m_shadow.rect(), Qt::black);
    }
    const QSize logical
        = image.isNull() ? QSize() : (QSizeF(image.size()) / image.devicePixelRatio()).toSize();
    resize(logical + QSize(std::abs(m_shadowDelta.x()), std::abs(m_shadowDelta.y())));
    update();
}

QPoint PvSlotDragWindow::imageOffset() const
{
    return QPoint(std::max(0, -m_shadowDelta.x()), std::max(0, -m_shadowDelta.y()));
}

void PvSlotDragWindow::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.setCompositionMode(QPainter::CompositionMode_Source);
    p.fillRect(rect(), Qt::transparent);
    p.setCompositionMode(QPainter::CompositionMode_SourceOver);
    const QPoint at = imageOffset();
    if (!m_shadow.isNull() && m_shadowAlpha > 0) {
        p.setOpacity(double(m_shadowAlpha) * double(m_transparency));
        p.drawImage(at + m_shadowDelta, m_shadow);
    }
    p.setOpacity(m_transparency);
    p.drawPixmap(at, m_image);
}
