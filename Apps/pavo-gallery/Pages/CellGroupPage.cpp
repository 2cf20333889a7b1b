#include "PageKit.h"

#include <Pavo/PavoUI.h>

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QSpinBox>
#include <QVBoxLayout>

namespace PavoGallery {

namespace {

// A caption between the fields, in a colour of its own over the group's background.
class CaptionCell : public PvCell {
public:
    using PvCell::PvCell;
    void drawInteriorWithFrame(QPainter& painter, const QRectF& frame, PvControl* view) override
    {
        painter.save();
        painter.setFont(view ? view->font() : QFont());
        painter.setPen(QColor(0x9a, 0xa4, 0xb0));
        painter.drawText(frame, int(alignment()) | Qt::TextSingleLine, stringValue());
        painter.restore();
    }
};

// A cell group of its own: MIDI channel, velocity and transposition fields with labels.
PvCellGroupControl* mixedGroup()
{
    auto* group = new PvCellGroupControl;
    group->setFixedSize(300, 24);
    group->setDrawsBackground(true);
    group->setBackgroundColor(QColor(0x20, 0x24, 0x2a));
    group->setTextColor(QColor(0x7c, 0xe0, 0x9a));
    group->setEditBackgroundColor(QColor(0xe8, 0xb0, 0x3c));
    group->setEditTextColor(Qt::black);
    group->setAlignment(Qt::AlignCenter);
    auto label = [group](const QString& text, qreal width) {
        group->addCell(std::make_unique<CaptionCell>(text), width);
    };
    label("Ch", 30);
    group->addCell(std::make_unique<PvNumberEditorCell>(1, 1, 16, 2), 36.0);
    label("Vel", 36);
    group->addCell(std::make_unique<PvNumberEditorCell>(100, 0, 127, 3), 46.0);
    label("Trans", 50);
    auto transpose = std::make_unique<PvNumberEditorCell>(-3, -24, 24);
    transpose->setFormatter([](int v) { return v > 0 ? QString("+%1").arg(v) : QString::number(v); });
    group->addCell(std::move(transpose), 46.0);
    return group;
}

} // namespace

QWidget* cellGroupPage()
{
    auto* demo = new QWidget;
    auto* v = new QVBoxLayout(demo);

    PvCellGroupControl* group = mixedGroup();
    auto* position = new DfNumberEditorControl(DfNumberEditorControl::MusicalPositionStyle);
    auto* time = new DfNumberEditorControl(DfNumberEditorControl::TimeStyle);
    for (DfNumberEditorControl* e : {position, time}) {
        e->setDrawsBackground(true);
        e->setFontSize(15);
        e->resize(e->sizeHint());
    }
    position->setValue(3 * position->ticksPerBar() + 2 * position->ticksPerBeat() + 17);
    time->setValue(((1 * 60 + 23) * 60 + 45) * 1000 + 678);

    auto withReadout = [](DfNumberEditorControl* editor, const QString& unit) {
        auto* row = new QWidget;
        auto* h = new QHBoxLayout(row);
        h->setContentsMargins(0, 0, 0, 0);
        auto* readout = new QLabel;
        auto show = [editor, readout, unit](qint64 value) {
            readout->setText(QString("%1  =  %2 %3").arg(editor->text()).arg(value).arg(unit));
        };
        show(editor->value());
        QObject::connect(editor, &DfNumberEditorControl::valueChanged, readout, show);
        h->addWidget(editor);
        h->addWidget(readout, 1);
        return row;
    };
    auto* groupValue = new QLabel("Last change: none");
    QObject::connect(group, &PvControl::actionTriggered, groupValue, [group, groupValue](PvControl*) {
        QStringList values;
        for (int i = 0; i < group->cellCount(); ++i)
            if (auto* n = dynamic_cast<PvNumberEditorCell*>(group->cellAtIndex(i)))
                values << n->displayText();
        groupValue->setText("Last change: " + values.join("  "));
    });

    v->addWidget(
        labelled("Cell group: double-click a field to type, arrows move, drag or wheel to step", group));
    v->addWidget(groupValue);
    v->addWidget(labelled("Musical position (bars.beats.divisions.ticks)", withReadout(position, "ticks")));
    v->addWidget(labelled("Time (hours:minutes:seconds.milliseconds)", withReadout(time, "ms")));
    v->addStretch(1);
    // The velocity field shows the typing colours.
    group->startEditingForCell(group->cellAtIndex(3));

    auto* settings = new QWidget;
    auto* form = new QVBoxLayout(settings);
    auto* enabled = new QCheckBox("Enabled");
    enabled->setChecked(true);
    QObject::connect(enabled, &QCheckBox::toggled, demo, [=](bool on) {
        for (QWidget* w : std::initializer_list<QWidget*> {group, position, time})
            w->setEnabled(on);
    });
    auto* signature = new QComboBox;
    signature->addItems({"4/4", "3/4", "6/8", "7/8", "5/16"});
    QObject::connect(signature, &QComboBox::currentTextChanged, position, [position](const QString& s) {
        const QStringList parts = s.split('/');
        position->setTimeSignature(parts[0].toInt(), parts[1].toInt());
        position->resize(position->sizeHint());
    });
    auto* ticks = new QSpinBox;
    ticks->setRange(1, 9999);
    ticks->setValue(position->ticksPerDivision());
    ticks->setPrefix("Ticks per division ");
    QObject::connect(ticks, &QSpinBox::valueChanged, position, [position](int t) {
        position->setTicksPerDivision(t);
        position->resize(position->sizeHint());
    });
    form->addWidget(enabled);
    form->addWidget(signature);
    form->addWidget(ticks);
    return makePage("Cell group and number editors",
        "A cell group routes the mouse, the wheel and the keys to cells with frames of their own; "
        "number editors keep one value in ticks or milliseconds across their fields, carrying "
        "between them.",
        demo, settings);
}

} // namespace PavoGallery
