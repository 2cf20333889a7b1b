#include "DemoImageProvider.h"
#include "PageKit.h"

#include <Pavo/PavoUI.h>

#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QLabel>
#include <QPainter>
#include <QTimer>
#include <QVBoxLayout>

#include <cmath>
#include <numbers>

namespace PavoGallery {

namespace {

constexpr int kPadding = 3;
constexpr float kStartArea = 8; // the demo strip's signal-present LED, in points
constexpr float kLEDArea = 280; // its ten LEDs

// A dBFS scale under a meter, lined up with its strip (levels are linear: 0 dB is 1.0).
class DecibelScale : public QWidget {
public:
    explicit DecibelScale(int width) { setFixedSize(width, 22); }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter p(this);
        QFont f = font();
        f.setPointSizeF(f.pointSizeF() * 0.75);
        p.setFont(f);
        p.setPen(palette().color(QPalette::WindowText));
        const qreal x0 = kPadding + kStartArea;
        for (int db : {0, -1, -3, -6, -10, -14, -20}) {
            const qreal x = x0 + kLEDArea * std::pow(10.0, db / 20.0);
            p.drawLine(QPointF(x - 0.5, 0), QPointF(x - 0.5, 4));
            p.drawText(QRectF(x - 15, 4, 30, 16), Qt::AlignHCenter | Qt::AlignTop, QString::number(db));
        }
        p.drawText(QRectF(x0 + kLEDArea + 6, 4, 40, 16), Qt::AlignLeft | Qt::AlignTop, "dBFS");
    }
};

// A programme-like test signal in linear level: beats that decay, the right channel a
// little behind the left, and a hit above full scale every five seconds.
float signal(double t, bool right)
{
    const double beat = std::fmod(t * 1.6 + (right ? 0.23 : 0.0), 1.0);
    const double swell = 0.75 + 0.25 * std::sin(2 * std::numbers::pi * t / 7.0);
    double v = 0.88 * swell * std::exp(-3.0 * beat) + 0.04;
    if (std::fmod(t + (right ? 2.5 : 0.0), 5.0) < 0.06)
        v = 1.15;
    return float(v);
}

DfStereoLevelMeterView* makeMeter(uint32_t ledCount, const QString& name)
{
    auto* m = new DfStereoLevelMeterView;
    m->setObjectName(name);
    m->setImageIDs(DemoImage::kMeterHorizontal, DemoImage::kClipLED);
    m->setPadding(kPadding);
    m->setOnStateLEDInset(kStartArea);
    m->setLEDCount(ledCount);
    m->setFallBackStep(0.05f);
    m->setMaxLevelHoldTime(1.5);
    m->setFixedSize(m->sizeHint());
    m->setToolTip("Click to clear the clip LEDs");
    // A still picture to begin with: both meters falling back from a loud passage, the
    // left one holding its peak, the right one's clip LED lit. The fall-back time is set
    // after it, so this state does not depend on the time the page takes to build.
    m->setLevelL(0.93f, 1.25f);
    m->setLevelL(0.55f, 0.71f);
    m->setFallBackStepTime(0.05);
    return m;
}

// The meters' settings and their demo signal.
class MeterDemo : public QWidget {
public:
    MeterDemo()
    {
        auto* v = new QVBoxLayout(this);
        m_meters = {makeMeter(10, "ledMeter"), makeMeter(0, "barMeter")};
        auto* clicks = new QLabel("Clip LEDs cleared 0 times");
        for (DfStereoLevelMeterView* m : m_meters) {
            auto* box = new QWidget;
            auto* bv = new QVBoxLayout(box);
            bv->setContentsMargins(0, 0, 0, 0);
            bv->setSpacing(0);
            bv->addWidget(m);
            bv->addWidget(new DecibelScale(m->width() + 40));
            v->addWidget(labelled(m->cellL()->LEDCount() ? "Ten LEDs (left above right)" : "Bar", box));
            QObject::connect(m, &PvControl::actionTriggered, clicks,
                [this, clicks] { clicks->setText(QString("Clip LEDs cleared %1 times").arg(++m_clicks)); });
        }
        v->addWidget(clicks);
        v->addStretch(1);
        m_timer.setInterval(25);
        QObject::connect(&m_timer, &QTimer::timeout, this, [this] { feed(); });
    }

    void setRunning(bool run)
    {
        if (run) {
            m_start = PvClock::now();
            m_timer.start();
        } else {
            m_timer.stop();
        }
    }
    void setHoldTime(double seconds)
    {
        for (DfStereoLevelMeterView* m : m_meters)
            m->setMaxLevelHoldTime(seconds);
    }
    void setFallBack(float step, double seconds)
    {
        for (DfStereoLevelMeterView* m : m_meters) {
            m->setFallBackStep(step);
            m->setFallBackStepTime(seconds);
        }
    }

private:
    void feed()
    {
        const double t = PvClock::now() - m_start;
        for (DfStereoLevelMeterView* m : m_meters)
            m->setLevelL(signal(t, false), signal(t, true));
    }

    QList<DfStereoLevelMeterView*> m_meters;
    QTimer m_timer;
    double m_start = 0;
    int m_clicks = 0;
};

// The gallery application installs the demo pictures; a host that shows this page
// without them (such as a test) gets them here.
void ensureDemoPictures()
{
    if (!dynamic_cast<DemoImageProvider*>(PvResourceProvider::defaultResourceProvider()))
        PvResourceProvider::setDefaultResourceProviderClass<DemoImageProvider>();
}

} // namespace

QWidget* meterPage()
{
    ensureDemoPictures();
    auto* demo = new MeterDemo;
    auto* settings = new QWidget;
    auto* form = new QFormLayout(settings);
    auto* run = new QCheckBox("Run the signal");
    auto* hold = new QDoubleSpinBox;
    hold->setRange(0, 10);
    hold->setSingleStep(0.5);
    hold->setValue(1.5);
    hold->setSuffix(" s");
    auto* step = new QDoubleSpinBox;
    step->setRange(0.005, 0.5);
    step->setDecimals(3);
    step->setSingleStep(0.01);
    step->setValue(0.05);
    auto* stepTime = new QDoubleSpinBox;
    stepTime->setRange(0, 1);
    stepTime->setDecimals(3);
    stepTime->setSingleStep(0.01);
    stepTime->setValue(0.05);
    stepTime->setSuffix(" s");
    auto applyFallBack
        = [demo, step, stepTime] { demo->setFallBack(float(step->value()), stepTime->value()); };
    QObject::connect(run, &QCheckBox::toggled, demo, [demo](bool on) { demo->setRunning(on); });
    QObject::connect(hold, &QDoubleSpinBox::valueChanged, demo, [demo](double s) { demo->setHoldTime(s); });
    QObject::connect(step, &QDoubleSpinBox::valueChanged, demo, applyFallBack);
    QObject::connect(stepTime, &QDoubleSpinBox::valueChanged, demo, applyFallBack);
    form->addRow(run);
    form->addRow("Hold time", hold);
    form->addRow("Fall-back step", step);
    form->addRow("per", stepTime);
    return makePage("Level meters",
        "Stereo LED meters fed with a test signal that peaks above full scale now and then. The "
        "display falls by a step per step time of real time, the hold segment stays for the hold "
        "time, and the clip LED stays lit until you click the meter.",
        demo, settings);
}

} // namespace PavoGallery
