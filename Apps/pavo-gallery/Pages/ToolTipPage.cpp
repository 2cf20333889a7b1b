#include "PageKit.h"

#include <Pavo/PavoUI.h>

#include <QApplication>
#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QEvent>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QScrollArea>
#include <QSpinBox>
#include <QStackedWidget>
#include <QStyleFactory>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

namespace PavoGallery {

namespace {

// A pad that shows the shared tool tip while the mouse is dragged over it.
class TipPad : public QWidget, public PvToolTipStringSource {
public:
    explicit TipPad(QWidget* parent = nullptr)
        : QWidget(parent)
    {
        setMinimumSize(360, 220);
    }
    QPointF point;
    int tag = 0;
    QString stringForTag(int t) const override
    {
        return QString("x %1  y %2  (tag %3)").arg(int(point.x())).arg(int(point.y())).arg(t);
    }

protected:
    void mousePressEvent(QMouseEvent* e) override
    {
        point = e->position();
        PvToolTipWindow::showToolTipWindowForView(this, this, tag, mapTo(window(), point));
        update();
    }
    void mouseMoveEvent(QMouseEvent* e) override
    {
        point = e->position();
        PvToolTipWindow::updateToolTipPosition(point, this);
        update();
    }
    void mouseReleaseEvent(QMouseEvent*) override
    {
        PvToolTipWindow::closeToolTipWindowIfCurrentlyMine(this);
    }
    void paintEvent(QPaintEvent*) override
    {
        QPainter p(this);
        p.setRenderHint(QPainter::Antialiasing);
        const QPalette& pal = palette();
        p.setBrush(pal.color(QPalette::Base));
        p.setPen(pal.color(QPalette::Mid));
        p.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 6, 6);
        p.setPen(pal.color(QPalette::PlaceholderText));
        p.drawText(rect(), Qt::AlignCenter, "Press and drag here:\nthe tip hangs 21 points below the mouse");
        if (!point.isNull()) {
            p.setPen(QPen(pal.color(QPalette::Highlight), 1.5));
            p.drawLine(point - QPointF(6, 0), point + QPointF(6, 0));
            p.drawLine(point - QPointF(0, 6), point + QPointF(0, 6));
        }
    }
};

} // namespace

QWidget* toolTipPage()
{
    auto* demo = new QWidget;
    auto* v = new QVBoxLayout(demo);
    auto* pad = new TipPad;
    pad->setObjectName("tipPad");
    v->addWidget(pad);
    v->addStretch(1);
    auto* settings = new QWidget;
    auto* form = new QVBoxLayout(settings);
    auto* tag = new QSpinBox;
    tag->setPrefix("Tag ");
    QObject::connect(tag, &QSpinBox::valueChanged, pad, [pad](int t) { pad->tag = t; });
    auto* show = new QPushButton("Show at (40, 40)");
    QObject::connect(show, &QPushButton::clicked, pad, [pad] {
        pad->point = QPointF(40, 40);
        PvToolTipWindow::showToolTipWindowForView(pad, pad, pad->tag, pad->mapTo(pad->window(), pad->point));
        pad->update();
    });
    auto* hide = new QPushButton("Close tip");
    QObject::connect(hide, &QPushButton::clicked, pad, [] { PvToolTipWindow::closeToolTipWindow(); });
    form->addWidget(tag);
    form->addWidget(show);
    form->addWidget(hide);
    return makePage("Tool tip",
        "One shared tool-tip window; its text is asked from an object each time it is drawn, so it "
        "follows a changing value.",
        demo, settings);
}

} // namespace PavoGallery
