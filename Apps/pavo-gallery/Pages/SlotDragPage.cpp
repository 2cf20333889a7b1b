#include "PageKit.h"

#include <Pavo/PavoUI.h>

#include <QCheckBox>
#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

namespace PavoGallery {

namespace {

// One insert slot of a channel strip: a coloured tab, the effect's name and a power lamp.
class InsertSlot : public PVSlotDragView {
public:
    InsertSlot(const QString& name, const QColor& colour, QWidget* parent)
        : PVSlotDragView(parent)
        , m_colour(colour)
    {
        setRepresentedObject(name);
        setUseDraggingBorder(true);
        setColorOfDraggingBorder(colour.darker(140));
    }

protected:
    void drawContents(QPainter& p) override
    {
        p.setRenderHint(QPainter::Antialiasing);
        const QRectF r = QRectF(rect()).adjusted(1.5, 1.5, -1.5, -1.5);
        p.setPen(QPen(palette().color(QPalette::Mid), 1));
        p.setBrush(palette().color(QPalette::Button));
        p.drawRoundedRect(r, 4, 4);
        p.setPen(Qt::NoPen);
        p.setBrush(m_colour);
        p.drawRoundedRect(QRectF(r.left() + 3, r.top() + 3, 8, r.height() - 6), 2, 2);
        p.setBrush(m_colour.lighter(130));
        p.drawEllipse(QPointF(r.right() - 10, r.center().y()), 3.5, 3.5);
        p.setPen(palette().color(QPalette::ButtonText));
        p.drawText(r.adjusted(18, 0, -20, 0), Qt::AlignVCenter | Qt::AlignLeft,
            QString("%1  %2").arg(slotIndex() + 1).arg(representedObject().toString()));
    }

private:
    QColor m_colour;
};

} // namespace

QWidget* slotDragPage()
{
    auto* demo = new QWidget;
    auto* v = new QVBoxLayout(demo);
    // The rack places its slots by hand: slot dragging moves them, a layout would not.
    auto* rack = new QWidget;
    constexpr int kSlotWidth = 220;
    constexpr int kSlotHeight = 30;
    rack->setFixedSize(kSlotWidth + 8, 8 * (kSlotHeight + 4) + 4);
    const QList<QPair<QString, QColor>> inserts = {
        {"Gate", QColor(0x8e, 0x8e, 0x93)},
        {"EQ", QColor(0x34, 0x9e, 0xeb)},
        {"Compressor", QColor(0xe8, 0x8b, 0x1a)},
        {"Saturator", QColor(0xd9, 0x4b, 0x3c)},
        {"Chorus", QColor(0x6c, 0x5c, 0xe7)},
        {"Delay", QColor(0x1a, 0xb5, 0x8a)},
        {"Reverb", QColor(0x2f, 0x7d, 0xd1)},
        {"Limiter", QColor(0xb0, 0x3a, 0x8c)},
    };
    for (int i = 0; i < inserts.size(); ++i) {
        auto* slot = new InsertSlot(inserts[i].first, inserts[i].second, rack);
        slot->setGeometry(4, 4 + i * (kSlotHeight + 4), kSlotWidth, kSlotHeight);
    }
    auto* manager = PVSlotDraggingManager::setupDraggingManagerInView(rack, 1);
    manager->setDrawsDraggingAreaBorder(true);
    manager->setTransparencyOfDragImage(0.85f);

    auto* order = new QLabel;
    order->setWordWrap(true);
    auto showOrder = [order, rack](const QList<PVSlotDragView*>& views) {
        QStringList names;
        for (PVSlotDragView* s : views)
            names << s->representedObject().toString();
        order->setText("Order: " + names.join(" \u2192 "));
        rack->update();
    };
    QObject::connect(manager, &PVSlotDraggingManager::dragEnded, order, showOrder);
    showOrder(manager->managedDragViews());

    v->addWidget(labelled("Insert rack (drag a slot, or Alt+arrow on the focused slot)", rack));
    v->addWidget(order);
    v->addStretch(1);

    auto* settings = new QWidget;
    auto* form = new QVBoxLayout(settings);
    auto* slide = new QCheckBox("Slide mode (off: swap)");
    slide->setChecked(true);
    QObject::connect(
        slide, &QCheckBox::toggled, manager, [manager](bool on) { manager->setSlideMode(on ? 1 : 0); });
    auto* back = new QCheckBox("Slide back on a refused drop");
    back->setChecked(true);
    QObject::connect(back, &QCheckBox::toggled, manager, [manager](bool on) { manager->setSlidesBack(on); });
    form->addWidget(slide);
    form->addWidget(back);
    form->addStretch(1);
    return makePage("Slot dragging",
        "Drag an insert to another slot: in slide mode the inserts between move along, in swap mode only "
        "the one entered trades places. Dropping outside the rack puts the old order back.",
        demo, settings);
}

} // namespace PavoGallery
