#include "PageKit.h"

#include <Pavo/PavoUI.h>

#include <QCheckBox>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QVBoxLayout>

namespace PavoGallery {

namespace {

// Pictures are drawn at twice the density so they stay sharp on high-density screens.
constexpr qreal kDensity = 2.0;

QPixmap canvas(QSizeF size)
{
    QPixmap p((size * kDensity).toSize());
    p.setDevicePixelRatio(kDensity);
    p.fill(Qt::transparent);
    return p;
}

// A rounded colour swatch; the selected variant carries a white ring.
QPixmap swatch(const QColor& colour, bool ringed)
{
    QPixmap p = canvas({18, 18});
    QPainter painter(&p);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(colour.darker(140), 1));
    painter.setBrush(colour);
    painter.drawRoundedRect(QRectF(0.5, 0.5, 17, 17), 4, 4);
    if (ringed) {
        painter.setPen(QPen(Qt::white, 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(QRectF(3, 3, 12, 12), 2.5, 2.5);
    }
    return p;
}

// Small instrument pictures: a drum, a cymbal, a keyboard and a waveform.
QPixmap instrument(int kind, const QColor& ink)
{
    QPixmap p = canvas({16, 16});
    QPainter painter(&p);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(ink, 1.3));
    switch (kind) {
    case 0: // drum
        painter.drawEllipse(QRectF(2, 3, 12, 4));
        painter.drawLine(QPointF(2, 5), QPointF(2, 12));
        painter.drawLine(QPointF(14, 5), QPointF(14, 12));
        painter.drawArc(QRectF(2, 10, 12, 4), 180 * 16, 180 * 16);
        break;
    case 1: // cymbal
        painter.drawEllipse(QRectF(1.5, 6, 13, 3));
        painter.drawLine(QPointF(8, 7.5), QPointF(8, 15));
        break;
    case 2: { // keys
        painter.drawRect(QRectF(1.5, 3.5, 13, 9));
        painter.setBrush(ink);
        for (qreal x : {4.0, 7.5, 11.0})
            painter.drawRect(QRectF(x - 0.8, 3.5, 1.6, 5));
        break;
    }
    default: { // wave
        QPainterPath path(QPointF(1, 8));
        for (int i = 0; i < 3; ++i)
            path.cubicTo(QPointF(2 + 4.7 * i, 1), QPointF(3.5 + 4.7 * i, 15), QPointF(5.7 + 4.7 * i, 8));
        painter.drawPath(path);
    }
    }
    return p;
}

const char* const kColourNames[] = {
    "Red", "Orange", "Yellow", "Lime", "Green", "Teal", "Cyan", "Blue", "Indigo", "Violet", "Pink", "Grey"};

QColor trackColour(int i)
{
    return i == 11 ? QColor(0x8a, 0x8d, 0x93) : QColor::fromHsv(i * 30 % 360, 170, 225);
}

} // namespace

QWidget* popUpPage()
{
    auto* demo = new QWidget;
    auto* v = new QVBoxLayout(demo);

    // The colour picker: 12 swatches in 4 columns, opened with the pointer over the selection.
    auto* picker = new PVIconPicker;
    auto* colours = new PVIconPickerPopUp(3, 4, {6, 6}, {6, 6}, {4, 4}, {24, 24}, {3, 3}, 2);
    QVariantList swatches;
    for (int i = 0; i < 12; ++i)
        swatches << QVariantMap {{PVIconName, swatch(trackColour(i), false)},
            {PVIconSelectedName, swatch(trackColour(i), true)},
            {PVIconHighlightedSelectedName, swatch(trackColour(i), true)}};
    colours->setIcons(swatches);
    colours->setSelectedIconTag(7);
    picker->setPopUp(colours);
    picker->setFixedSize(picker->sizeHint());
    picker->setAccessibleName("Track colour");
    auto* colourText = new QLabel;
    auto showColour = [colours, colourText] {
        const int tag = colours->selectedIconTag();
        colourText->setText(QString("Track colour: %1").arg(tag >= 0 ? kColourNames[tag] : "none"));
    };
    QObject::connect(picker, &PvControl::actionTriggered, colourText, showColour);
    showColour();
    auto* pickerRow = new QHBoxLayout;
    pickerRow->addWidget(picker);
    pickerRow->addWidget(colourText);
    pickerRow->addStretch(1);
    v->addWidget(labelled("Icon picker (colours drawn at run time)", [&] {
        auto* w = new QWidget;
        w->setLayout(pickerRow);
        return w;
    }()));

    // The custom menu: titles, icons, a separator and the check mark of the selected item.
    auto* menu = new PVPopUpMenu(1, {190, 22}, 0, demo);
    const QColor ink(0x5a, 0x8a, 0xd0); // reads on light and dark menus alike
    QVariantMap separator {{PVMenuTitleName, PVMenuTitleSeparatorName}};
    menu->setItems({
        QVariantMap {{PVMenuTitleName, "Kick"}, {PVIconName, instrument(0, ink)}, {PVTagName, 0}},
        QVariantMap {{PVMenuTitleName, "Snare"}, {PVIconName, instrument(0, ink)}, {PVTagName, 1}},
        QVariantMap {{PVMenuTitleName, "Hi-hat"}, {PVIconName, instrument(1, ink)}, {PVTagName, 2}},
        separator,
        QVariantMap {{PVMenuTitleName, "Electric piano"}, {PVIconName, instrument(2, ink)}, {PVTagName, 3}},
        QVariantMap {{PVMenuAttributedTitleName, "Synth <i>(mono)</i>"}, {PVMenuTitleName, "Synth (mono)"},
            {PVIconName, instrument(3, ink)}, {PVTagName, 4}},
    });
    menu->setSelectedIconTag(1);
    auto* open = new QPushButton;
    auto showChoice = [menu, open] {
        const PVMenuButtonCell* cell = menu->cellWithTag(menu->selectedIconTag());
        open->setText(QString("Instrument: %1  \u25be").arg(cell ? cell->title() : "none"));
    };
    showChoice();
    open->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    open->setMinimumWidth(220);
    QObject::connect(menu, &PVIconPickerPopUp::iconPicked, open, showChoice);
    QObject::connect(open, &QPushButton::pressed, open, [menu, open] {
        menu->popUpAtLocation(open->mapToGlobal(QPointF(0, open->height())));
        open->setDown(false);
    });
    v->addWidget(labelled("Custom pop-up menu", open));
    v->addStretch(1);

    auto* settings = new QWidget;
    auto* form = new QVBoxLayout(settings);
    auto* hud = new QCheckBox("Heads-up display look");
    QObject::connect(hud, &QCheckBox::toggled, menu, [menu, demo](bool on) {
        if (on) {
            menu->configureAsHUDMenu();
        } else {
            menu->setOpaque(true);
            menu->setBackgroundColor(QColor());
            menu->setCellHighlightedColor(QColor());
            menu->setCellHighlightedSelectedColor(QColor());
            menu->setTitleColor(QColor());
            menu->setHighlightedTitleColor(QColor());
        }
        Q_UNUSED(demo);
    });
    form->addWidget(hud);
    return makePage("Pop-up menus",
        "An icon picker and a custom menu in floating panels. Press and drag to a cell and release, or click "
        "to leave the panel open and click again to pick; arrows, Return and Escape work too.",
        demo, settings);
}

} // namespace PavoGallery
