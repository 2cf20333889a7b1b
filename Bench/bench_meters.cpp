// 64 stereo level meters fed with a changing signal and painted through the widgets'
// paint path into an image, frame after frame, against 64 plain QWidgets that fill the
// same rectangles with a colour.
//
//   build/Bench/bench_meters --benchmark_repetitions=5 --benchmark_report_aggregates_only=true
//       --benchmark_enable_random_interleaving=true
//
// Interleaving runs the repetitions of the rows in mixed order, so that a shared
// host that speeds up or slows down during the run weighs on every row alike; without it
// the rows run one after the other and their ratio follows the host's drift.
//
// One iteration is one frame: every meter gets its two levels, then the whole panel is
// rendered into an image (so every meter paints, whether it asked for a redraw or not).
// The signal runs 600 frames and starts again. The meters read a manual clock that moves
// 1/60 s per frame, so their fall-back and hold behave as on a 60 Hz display.
//
// The Alternating rows are the steadiest measure of the ratio: they time plain and meter
// frames one after the other within each iteration, and report the CPU time per frame of
// each (plain_us, meters_us) and their ratio. Their medians moved by a few hundredths from
// run to run where the separate rows' ratio moved by a few tenths.
//
// Meters_NoPictures is the LED row without pictures: the meters' paint path and level
// feeding alone, so what the rows with pictures cost beyond it is the copying of pictures.
//
// The counter no_repaint_share of the meter rows is measured once, untimed, on a shown
// panel fed with a slowly changing signal: the share of setLevel calls after which the
// meter's frame was not repainted.
#include <Pavo/PavoUI.h>

#include <QApplication>
#include <QImage>
#include <QPainter>
#include <QPixmap>
#include <benchmark/benchmark.h>

#include <cmath>
#include <ctime>
#include <memory>
#include <numbers>
#include <vector>

namespace {

constexpr int kMeters = 64;
constexpr int kColumns = 4;
constexpr int kFrames = 600;
constexpr QSize kMeterSize(130, 24);
constexpr int kPadding = 2;
constexpr int32_t kStrip = 1;
constexpr int32_t kClip = 2;

// A strip of 104 x 8 points (a 4-point start area and ten LEDs) and an 8 x 8 clip LED,
// drawn once.
class Pictures : public PvResourceProvider {
public:
    Pictures()
    {
        for (bool lit : {false, true}) {
            QPixmap strip(104, 8);
            strip.fill(QColor(30, 30, 30));
            QPainter p(&strip);
            p.fillRect(0, 1, 3, 6, lit ? QColor(60, 220, 60) : QColor(20, 60, 20));
            for (int i = 0; i < 10; ++i) {
                const QColor on = i < 7 ? QColor(60, 220, 60)
                    : i < 9             ? QColor(240, 190, 40)
                                        : QColor(240, 50, 40);
                p.fillRect(4 + 10 * i + 1, 1, 8, 6, lit ? on : on.darker(400));
            }
            m_strip[lit] = strip;
            QPixmap led(8, 8);
            led.fill(lit ? QColor(240, 50, 40) : QColor(70, 20, 20));
            m_clip[lit] = led;
        }
    }
    QPixmap imageForID(int32_t id, int state) override
    {
        if (state != 0 && state != 3)
            return {};
        if (id == kStrip)
            return m_strip[state == 3];
        if (id == kClip)
            return m_clip[state == 3];
        return {};
    }

private:
    QPixmap m_strip[2];
    QPixmap m_clip[2];
};

QRect meterGeometry(int i)
{
    return QRect(
        QPoint((i % kColumns) * kMeterSize.width(), (i / kColumns) * kMeterSize.height()), kMeterSize);
}

// The levels of each frame, left and right for each meter: a fast programme-like signal
// with peaks a little above full scale, or a slow swell.
std::vector<float> makeSignal(bool slow)
{
    std::vector<float> s(size_t(kFrames) * kMeters * 2);
    for (int f = 0; f < kFrames; ++f)
        for (int m = 0; m < kMeters * 2; ++m) {
            float v;
            if (slow) {
                v = 0.5f + 0.3f * float(std::sin(2 * std::numbers::pi * f / kFrames + m));
            } else {
                const double beat = std::fmod(f * 0.07 + m * 0.37, 1.0); // decaying hits
                v = float(1.08 * std::exp(-4.0 * beat) * (0.75 + 0.25 * std::sin(f * 0.31 + m)));
            }
            s[size_t(f) * kMeters * 2 + size_t(m)] = v;
        }
    return s;
}

struct MeterPanel {
    QWidget panel;
    std::vector<DfStereoLevelMeterView*> meters;

    explicit MeterPanel(uint32_t ledCount, bool pictures = true)
    {
        panel.resize(kColumns * kMeterSize.width(), (kMeters / kColumns) * kMeterSize.height());
        for (int i = 0; i < kMeters; ++i) {
            auto* m = new DfStereoLevelMeterView(meterGeometry(i), &panel);
            if (pictures)
                m->setImageIDs(kStrip, kClip);
            m->setPadding(kPadding);
            m->setOnStateLEDInset(4);
            m->setLEDCount(ledCount);
            m->setFallBackStep(0.05f);
            m->setFallBackStepTime(0.05);
            m->setMaxLevelHoldTime(1.0);
            meters.push_back(m);
        }
    }
    void feed(const std::vector<float>& signal, int frame)
    {
        const float* levels = signal.data() + size_t(frame) * kMeters * 2;
        for (int i = 0; i < kMeters; ++i)
            meters[size_t(i)]->setLevelL(levels[2 * i], levels[2 * i + 1]);
    }
};

// The reference: a widget that fills the two meter rectangles with a colour.
class FillWidget : public QWidget {
public:
    using QWidget::QWidget;
    float left = 0, right = 0;

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter p(this);
        const int w = width() - 2 * kPadding, h = 8;
        p.fillRect(QRect(kPadding, kPadding, w, h), QColor::fromRgbF(0.2f, std::min(left, 1.0f), 0.2f));
        p.fillRect(QRect(kPadding, height() - kPadding - h, w, h),
            QColor::fromRgbF(0.2f, std::min(right, 1.0f), 0.2f));
    }
};

struct FillPanel {
    QWidget panel;
    std::vector<FillWidget*> widgets;

    FillPanel()
    {
        panel.resize(kColumns * kMeterSize.width(), (kMeters / kColumns) * kMeterSize.height());
        for (int i = 0; i < kMeters; ++i) {
            auto* w = new FillWidget(&panel);
            w->setGeometry(meterGeometry(i));
            widgets.push_back(w);
        }
    }
    void feed(const std::vector<float>& signal, int frame)
    {
        const float* levels = signal.data() + size_t(frame) * kMeters * 2;
        for (int i = 0; i < kMeters; ++i) {
            widgets[size_t(i)]->left = levels[2 * i];
            widgets[size_t(i)]->right = levels[2 * i + 1];
        }
    }
};

// Counts the frames of each meter that were repainted after setLevel calls, on a shown
// panel with the repaint manager doing its usual work.
double noRepaintShare(uint32_t ledCount)
{
    PvClock::ScopedOverride clock(0.0);
    MeterPanel panel(ledCount);
    panel.panel.show();
    QApplication::processEvents();
    struct Counter : QObject {
        long cells = 0;
        bool eventFilter(QObject* o, QEvent* e) override
        {
            if (e->type() == QEvent::Paint) {
                auto* m = static_cast<DfStereoLevelMeterView*>(o);
                QRectF l, r;
                m->getCellFrames(&l, &r);
                const QRect area = static_cast<QPaintEvent*>(e)->rect();
                cells += (area.intersects(l.toAlignedRect()) ? 1 : 0)
                    + (area.intersects(r.toAlignedRect()) ? 1 : 0);
            }
            return false;
        }
    } counter;
    for (DfStereoLevelMeterView* m : panel.meters)
        m->installEventFilter(&counter);
    const std::vector<float> signal = makeSignal(true);
    for (int f = 0; f < kFrames; ++f) {
        clock.advance(1.0 / 60);
        panel.feed(signal, f);
        QApplication::processEvents();
    }
    return 1.0 - double(counter.cells) / (double(kFrames) * kMeters * 2);
}

// One iteration per frame: the meters get their levels and the panel is rendered.
void paintFrames(benchmark::State& state, MeterPanel& panel)
{
    PvClock::ScopedOverride clock(0.0);
    const std::vector<float> signal = makeSignal(false);
    QImage image(panel.panel.size(), QImage::Format_ARGB32_Premultiplied);
    int frame = 0;
    for (auto _ : state) {
        clock.advance(1.0 / 60);
        panel.feed(signal, frame);
        panel.panel.render(&image);
        frame = (frame + 1) % kFrames;
    }
}

void runMeters(benchmark::State& state, uint32_t ledCount)
{
    // Measured once per mode: the benchmark calls this for every repetition.
    static double shares[2] = {-1, -1};
    double& share = shares[ledCount > 0 ? 1 : 0];
    if (share < 0)
        share = noRepaintShare(ledCount);
    MeterPanel panel(ledCount);
    paintFrames(state, panel);
    state.counters["no_repaint_share"] = share;
}

void BM_Meters_LED(benchmark::State& state)
{
    runMeters(state, 10);
}

void BM_Meters_Bar(benchmark::State& state)
{
    runMeters(state, 0);
}

// The meters' paint path without pictures: what the meters cost besides the copies of
// their pictures.
void BM_Meters_NoPictures(benchmark::State& state)
{
    MeterPanel panel(10, false);
    paintFrames(state, panel);
}

void BM_PlainFill(benchmark::State& state)
{
    FillPanel panel;
    const std::vector<float> signal = makeSignal(false);
    QImage image(panel.panel.size(), QImage::Format_ARGB32_Premultiplied);
    int frame = 0;
    for (auto _ : state) {
        panel.feed(signal, frame);
        panel.panel.render(&image);
        frame = (frame + 1) % kFrames;
    }
}

// The CPU time of the calling thread, in seconds.
double threadSeconds()
{
    timespec t {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) + double(t.tv_nsec) * 1e-9;
}

// Plain and meter frames in alternation, each timed on its own, which order changing
// every frame: the host's speed, which on a shared machine moves from one second to the
// next, then weighs on both alike. One iteration is one frame of each.
void runAlternating(benchmark::State& state, uint32_t ledCount)
{
    PvClock::ScopedOverride clock(0.0);
    FillPanel plain;
    MeterPanel meters(ledCount);
    const std::vector<float> signal = makeSignal(false);
    QImage image(plain.panel.size(), QImage::Format_ARGB32_Premultiplied);
    double plainSeconds = 0, meterSeconds = 0;
    int frame = 0;
    for (auto _ : state) {
        for (int part = 0; part < 2; ++part) {
            const bool meterNow = (part == 0) == (frame % 2 == 0);
            const double start = threadSeconds();
            if (meterNow) {
                clock.advance(1.0 / 60);
                meters.feed(signal, frame);
                meters.panel.render(&image);
                meterSeconds += threadSeconds() - start;
            } else {
                plain.feed(signal, frame);
                plain.panel.render(&image);
                plainSeconds += threadSeconds() - start;
            }
        }
        frame = (frame + 1) % kFrames;
    }
    const double frames = double(state.iterations());
    state.counters["plain_us"] = plainSeconds * 1e6 / frames;
    state.counters["meters_us"] = meterSeconds * 1e6 / frames;
    state.counters["ratio"] = meterSeconds / plainSeconds;
}

void BM_Alternating_LED(benchmark::State& state)
{
    runAlternating(state, 10);
}

void BM_Alternating_Bar(benchmark::State& state)
{
    runAlternating(state, 0);
}

// The pictures of every meter in this program.
[[maybe_unused]] const bool kPicturesInstalled
    = (PvResourceProvider::setDefaultResourceProviderClass<Pictures>(), true);

} // namespace

BENCHMARK(BM_PlainFill)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Meters_LED)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Meters_Bar)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Meters_NoPictures)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Alternating_LED)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Alternating_Bar)->Unit(benchmark::kMicrosecond);
