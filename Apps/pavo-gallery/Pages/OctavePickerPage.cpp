#include "PageKit.h"

#include <Pavo/PavoUI.h>

#include <QFormLayout>
#include <QLabel>
#include <QSpinBox>
#include <QVBoxLayout>

namespace PavoGallery {

namespace {

// The MIDI note of white key k (key 0 is C-2, note 0).
int32_t noteOfWhiteKey(uint32_t k)
{
    static constexpr int32_t kSemitones[7] = {0, 2, 4, 5, 7, 9, 11};
    return int32_t(12 * (k / 7)) + kSemitones[k % 7];
}

QString rangeText(const DfOctavePickerView* picker)
{
    PVMIDIFormatter names;
    names.setNoteStyle(PVMIDIFormatter::NoteName);
    const DfKeyRange r = picker->keyRange();
    if (r.length == 0)
        return "No keys";
    return QString("Keys %1 to %2 (white keys %3 to %4)")
        .arg(names.stringForValue(noteOfWhiteKey(r.location)),
            names.stringForValue(noteOfWhiteKey(r.location + r.length - 1)))
        .arg(r.location)
        .arg(r.location + r.length - 1);
}

} // namespace

QWidget* octavePickerPage()
{
    auto* demo = new QWidget;
    auto* v = new QVBoxLayout(demo);
    QList<DfOctavePickerView*> pickers;
    for (bool large : {true, false}) {
        auto* picker = new DfOctavePickerView(QRect(), large);
        picker->setObjectName(large ? "largePicker" : "shortPicker");
        picker->setFixedSize(picker->size());
        if (!large)
            picker->setKeyRange({35, 14});
        auto* text = new QLabel(rangeText(picker));
        QObject::connect(picker, &DfOctavePickerView::keyRangeChosen, text,
            [text](DfOctavePickerView* sender) { text->setText(rangeText(sender)); });
        auto* box = new QWidget;
        auto* bv = new QVBoxLayout(box);
        bv->setContentsMargins(0, 0, 0, 0);
        bv->addWidget(picker);
        bv->addWidget(text);
        v->addWidget(
            labelled(large ? "Large form: 75 white keys, all 128 notes" : "Short form: 74 white keys", box));
        pickers << picker;
    }
    v->addStretch(1);

    auto* settings = new QWidget;
    auto* form = new QFormLayout(settings);
    auto* click = new QSpinBox;
    click->setRange(1, 14);
    click->setValue(7);
    click->setSuffix(" keys");
    auto* drag = new QSpinBox;
    drag->setRange(1, 14);
    drag->setValue(1);
    drag->setSuffix(" keys");
    QObject::connect(click, &QSpinBox::valueChanged, demo, [pickers](int n) {
        for (DfOctavePickerView* p : pickers)
            p->setClickRaster(n);
    });
    QObject::connect(drag, &QSpinBox::valueChanged, demo, [pickers](int n) {
        for (DfOctavePickerView* p : pickers)
            p->setDragRaster(n);
    });
    form->addRow("Click raster", click);
    form->addRow("Drag raster", drag);
    return makePage("Octave picker",
        "A keyboard of the whole note range with a highlighted range of white keys: click outside "
        "the highlight to jump by octaves, drag it to move it key by key.",
        demo, settings);
}

} // namespace PavoGallery
