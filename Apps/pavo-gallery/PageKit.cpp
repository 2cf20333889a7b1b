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

QWidget* makePage(const QString& title, const QString& text, QWidget* demo, QWidget* settings)
{
    auto* page = new QWidget;
    auto* v = new QVBoxLayout(page);
    auto* heading = new QLabel(title);
    QFont f = heading->font();
    f.setPointSizeF(f.pointSizeF() * 1.5);
    f.setWeight(QFont::DemiBold);
    heading->setFont(f);
    auto* blurb = new QLabel(text);
    blurb->setWordWrap(true);
    v->addWidget(heading);
    v->addWidget(blurb);
    auto* h = new QHBoxLayout;
    h->addWidget(demo, 1);
    if (settings) {
        auto* box = new QGroupBox("Settings");
        auto* bl = new QVBoxLayout(box);
        bl->addWidget(settings);
        bl->addStretch(1);
        box->setFixedWidth(240);
        h->addWidget(box);
    }
    v->addLayout(h, 1);
    return page;
}

void Desk::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    const QColor base = palette().color(QPalette::Base);
    const bool dark = base.lightnessF() < 0.5;
    QLinearGradient g(0, 0, width(), height());
    g.setColorAt(0, dark ? QColor(0x24, 0x2a, 0x38) : QColor(0x9f, 0xb8, 0xd6));
    g.setColorAt(1, dark ? QColor(0x13, 0x16, 0x1d) : QColor(0x6f, 0x8f, 0xb5));
    p.fillRect(rect(), g);
}

QWidget* labelled(const QString& text, QWidget* w)
{
    auto* box = new QWidget;
    auto* v = new QVBoxLayout(box);
    v->setContentsMargins(0, 0, 0, 0);
    v->addWidget(new QLabel(text));
    v->addWidget(w);
    return box;
}

PvMatrix* textMatrix(PvMatrix::Mode mode, const QStringList& texts, int rows, int columns, QSizeF cell)
{
    auto* m = new PvMatrix(mode, rows, columns);
    m->setCellSize(cell);
    m->setIntercellSpacing(QSizeF(1, 1));
    m->setDrawsBackground(true);
    int i = 0;
    for (PvCell* c : m->cells()) {
        c->setStringValue(i < texts.size() ? texts[i] : QString());
        c->setAlignment(Qt::AlignCenter);
        c->setTag(i++);
    }
    m->sizeToCells();
    m->setFixedSize(m->size());
    return m;
}

QWidget* windowContent(const QString& text, bool withBevel)
{
    auto* content = new QWidget;
    auto* v = new QVBoxLayout(content);
    v->setContentsMargins(14, 12, 14, 0);
    auto* label = new QLabel(text);
    label->setWordWrap(true);
    v->addWidget(label);
    v->addStretch(1);
    if (withBevel) {
        auto* bevel = new PvWindowBevelView;
        bevel->setFixedHeight(24);
        v->setContentsMargins(14, 12, 14, 14);
        v->addWidget(bevel);
    }
    return content;
}

} // namespace PavoGallery
