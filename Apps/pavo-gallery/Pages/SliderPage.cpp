#include "DemoImageProvider.h"
#include "PageKit.h"

#include <Pavo/PavoUI.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QSpinBox>
#include <QVBoxLayout>

#include <functional>

namespace PavoGallery {

namespace {

// A slider from 0 to 10 with a PvSliderCell, with pictures (knob and track IDs) or with
// the platform look (kImage_None).
PvSlider* makeSlider(bool vertical, int knob, int track, const QString& name)
{
    auto* slider = new PvSlider(std::make_unique<PvSliderCell>());
    slider->setObjectName(name);
    auto* cell = static_cast<PvSliderCell*>(slider->sliderCell());
    cell->setMinValue(0);
    cell->setMaxValue(10);
    cell->setImageIDs(knob, track);
    if (track != kImage_None) {
        // The end labels sit in the side insets, with a little air towards the track.
        PvResourceProvider* provider = PvResourceProvider::defaultResourceProvider();
        const QSizeF low = provider->imageSize(track, 1), high = provider->imageSize(track, 2);
        cell->setMinSideInset(float((vertical ? low.height() : low.width()) + 4));
        cell->setMaxSideInset(float((vertical ? high.height() : high.width()) + 4));
    }
    cell->setDoubleValue(vertical ? 7.5 : 2.5);
    if (vertical)
        slider->setFixedSize(track != kImage_None ? 24 : 30, 180);
    else
        slider->setFixedSize(260, track != kImage_None ? 24 : 30);
    return slider;
}

} // namespace

QWidget* sliderPage()
{
    using namespace DemoImage;
    auto* demo = new QWidget;
    auto* grid = new QHBoxLayout(demo);
    QList<PvSlider*> sliders;

    auto* pictures = new QGroupBox("Pictures");
    auto* pv = new QHBoxLayout(pictures);
    auto* ph = new QVBoxLayout;
    sliders << makeSlider(false, kKnob, kTrackHorizontal, "pictureHorizontal");
    ph->addWidget(labelled("Horizontal", sliders.last()));
    ph->addStretch(1);
    pv->addLayout(ph);
    sliders << makeSlider(true, kKnob, kTrackVertical, "pictureVertical");
    pv->addWidget(labelled("Vertical", sliders.last()));

    auto* platform = new QGroupBox("Platform look (QStyle)");
    auto* qv = new QHBoxLayout(platform);
    auto* qh = new QVBoxLayout;
    sliders << makeSlider(false, kImage_None, kImage_None, "plainHorizontal");
    qh->addWidget(labelled("Horizontal", sliders.last()));
    qh->addStretch(1);
    qv->addLayout(qh);
    sliders << makeSlider(true, kImage_None, kImage_None, "plainVertical");
    qv->addWidget(labelled("Vertical", sliders.last()));

    auto* left = new QVBoxLayout;
    left->addWidget(pictures);
    left->addWidget(platform);
    auto* readout = new QLabel;
    readout->setObjectName("readout");
    readout->setMinimumWidth(300);
    auto* tracking = new QLabel("Not tracking");
    left->addWidget(readout);
    left->addWidget(tracking);
    left->addStretch(1);
    grid->addLayout(left);

    auto show = [readout](PvSlider* s) {
        auto* c = static_cast<PvSliderCell*>(s->sliderCell());
        readout->setText(QString("Value %1 · slider value %2 · position %3")
                             .arg(c->doubleValue(), 0, 'f', 3)
                             .arg(c->sliderValue(), 0, 'f', 3)
                             .arg(c->logSliderValue(), 0, 'f', 3));
    };
    for (PvSlider* s : std::as_const(sliders)) {
        QObject::connect(s, &PvSlider::valueChanged, readout, [show, s] { show(s); });
        auto* cell = s->sliderCell();
        PvNotificationCenter::defaultCenter()->addObserver(tracking, PvStartTrackingNotification, cell,
            [tracking, s](const PvNotification&) { tracking->setText("Tracking " + s->objectName()); });
        PvNotificationCenter::defaultCenter()->addObserver(tracking, PvStopTrackingNotification, cell,
            [tracking](const PvNotification&) { tracking->setText("Not tracking"); });
    }
    show(sliders.first());

    // Live settings, applied to every slider.
    auto* settings = new QWidget;
    auto* form = new QFormLayout(settings);
    auto* curve = new QComboBox;
    curve->addItems({"0 linear", "1 fine at min", "2 fine at max"});
    auto* invert = new QCheckBox("Invert values");
    auto* ticks = new QSpinBox;
    ticks->setRange(0, 21);
    ticks->setValue(11);
    auto* ticksOnly = new QCheckBox("Tick values only");
    auto* magnets = new QCheckBox("Magnets at 2.5, 5, 7.5");
    auto* delta = new QDoubleSpinBox;
    delta->setRange(0, 2);
    delta->setSingleStep(0.05);
    delta->setValue(0.3);
    auto* fine = new QDoubleSpinBox;
    fine->setRange(0, 1);
    fine->setSingleStep(0.05);
    fine->setValue(0.05);
    auto* reset = new QCheckBox("Option-click resets");
    reset->setChecked(true);
    auto* defaultValue = new QDoubleSpinBox;
    defaultValue->setRange(0, 10);
    defaultValue->setValue(5);
    auto* labels = new QCheckBox("Label clicks go to min/max");
    labels->setChecked(true);
    auto* tip = new QCheckBox("Moving value tip");
    tip->setChecked(true);
    auto* enabled = new QCheckBox("Enabled");
    enabled->setChecked(true);
    form->addRow("Curve", curve);
    form->addRow(invert);
    form->addRow("Tick marks", ticks);
    form->addRow(ticksOnly);
    form->addRow(magnets);
    form->addRow("Magnetic delta", delta);
    form->addRow("Shift-drag step", fine);
    form->addRow(reset);
    form->addRow("Default value", defaultValue);
    form->addRow(labels);
    form->addRow(tip);
    form->addRow(enabled);
    auto* note = new QLabel("Option is Alt (or Super, as the host chooses). The wheel moves a tenth of the "
                            "range, a quarter with Shift. Disabled knobs show at half opacity.");
    note->setWordWrap(true);
    form->addRow(note);

    auto apply = [=] {
        for (PvSlider* s : sliders) {
            auto* c = static_cast<PvSliderCell*>(s->sliderCell());
            c->setLogTickMarks(curve->currentIndex());
            c->setInvertValues(invert->isChecked());
            c->setNumberOfTickMarks(ticks->value());
            c->setAllowsTickMarkValuesOnly(ticksOnly->isChecked());
            c->resetMagneticMarks();
            if (magnets->isChecked())
                for (double m : {2.5, 5.0, 7.5})
                    c->setMagneticMarkAt(m);
            c->setMagneticMarkDelta(delta->value());
            c->setFineValueControlStep(fine->value());
            c->setAltClickSetsDefaultValue(reset->isChecked());
            c->setDefaultValue(defaultValue->value());
            c->setLabelClickSetsMinMaxValue(labels->isChecked());
            c->setMovableToolTip(tip->isChecked() ? c : nullptr, 0);
            c->setKnobDisabledAlpha(0.5f);
            s->setEnabled(enabled->isChecked());
            s->update();
        }
        show(sliders.first());
    };
    for (QCheckBox* b : {invert, ticksOnly, magnets, reset, labels, tip, enabled})
        QObject::connect(b, &QCheckBox::toggled, demo, apply);
    QObject::connect(curve, &QComboBox::currentIndexChanged, demo, apply);
    QObject::connect(ticks, &QSpinBox::valueChanged, demo, apply);
    for (QDoubleSpinBox* b : {delta, fine, defaultValue})
        QObject::connect(b, &QDoubleSpinBox::valueChanged, demo, apply);
    apply();

    return makePage("Sliders",
        "Slider cells drawn from pictures or in the platform look: curved tick values, inverted values, "
        "Shift for fine steps, Option-click to reset, magnetic marks, end labels and a tip that follows "
        "the knob.",
        demo, settings);
}

} // namespace PavoGallery
