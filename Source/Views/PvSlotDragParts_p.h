// Pieces shared by the slot drag view and its manager: a clock-driven motion and the drag window.
#pragma once

#include <QObject>
#include <QPixmap>
#include <QRectF>
#include <QSizeF>
#include <QWidget>

#include <functional>

/**
    Moves a rectangle from one place to another over a duration read on PvClock, easing in
    and out. Frames are requested with pv_performAfterDelay() every 1/60 s, so a test that
    steps the clock and calls pv_performDueRequests() sees exact positions.
*/
class PvSlotMotion : public QObject {
public:
    using Step = std::function<void(const QRectF&)>;
    using Done = std::function<void()>;

    explicit PvSlotMotion(QObject* parent)
        : QObject(parent)
    {
    }
    ~PvSlotMotion() override;

    /// Calls step(from) now and step() with every frame until step(to), then done(). A
    /// running motion is replaced without its done() being called. A duration of 0 or less
    /// ends at once.
    void start(const QRectF& from, const QRectF& to, double duration, Step step, Done done);
    /// Jumps to the end: step(to), then done().
    void finish();
    /// Stops where it is; done() is not called.
    void stop();
    bool isRunning() const { return m_running; }
    QRectF target() const { return m_to; }

private:
    void frame();

    QRectF m_from;
    QRectF m_to;
    double m_start = 0;
    double m_duration = 0;
    bool m_running = false;
    Step m_step;
    Done m_done;
};

/**
    The drag image in a frameless, translucent top-level window of its own, drawn at an
    opacity with a shadow beneath it. The shadow offset is in y-up points (a negative
    height falls down the screen); the window grows by the offset so the shadow fits.
*/
class PvSlotDragWindow : public QWidget {
public:
    PvSlotDragWindow();

    void setImage(const QPixmap& image, float transparency, const QSizeF& shadowOffset, float shadowAlpha);
    QPixmap image() const { return m_image; }
    /// Where the image's top-left corner is inside the window.
    QPoint imageOffset() const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QPixmap m_image;
    QImage m_shadow;
    float m_transparency = 1;
    QPoint m_shadowDelta;
    float m_shadowAlpha = 0.5f;
};
