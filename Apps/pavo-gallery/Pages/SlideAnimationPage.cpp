#include "PageKit.h"

#include <Pavo/PavoUI.h>

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>

namespace PavoGallery {

namespace {

// A long timeline with numbered bars, for smooth scrolling.
class Timeline : public QWidget {
public:
    Timeline() { resize(3200, 60); }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter p(this);
        p.fillRect(rect(), palette().color(QPalette::Base));
        p.setPen(palette().color(QPalette::Text));
        for (int bar = 0; bar * 100 < width(); ++bar) {
            const int x = bar * 100;
            p.drawLine(x, 0, x, 20);
            for (int beat = 1; beat < 4; ++beat)
                p.drawLine(x + beat * 25, 0, x + beat * 25, 8);
            p.drawText(
                QRect(x + 4, 22, 90, 30), Qt::AlignLeft | Qt::AlignTop, QString("Bar %1").arg(bar + 1));
        }
    }
};

QLabel* panelLabel(const QString& text, QPalette::ColorRole role)
{
    auto* label = new QLabel(text);
    label->setAlignment(Qt::AlignCenter);
    label->setWordWrap(true);
    label->setAutoFillBackground(true);
    label->setBackgroundRole(role);
    return label;
}

// The side panel on one side (1 right, 2 left, 3 below, 4 above), with its buttons.
QWidget* slideDemo(int alignment)
{
    auto* box = new QWidget;
    auto* v = new QVBoxLayout(box);
    v->setContentsMargins(0, 0, 0, 0);
    auto* view = new PVAnimatedSlideView;
    view->setFixedSize(470, 220);
    auto* main = panelLabel("Main view\n(drag the edge of the panel to resize it)", QPalette::Base);
    auto* tabs = new QTabWidget;
    tabs->tabBar()->hide();
    for (const char* name : {"Mixer", "Effects", "Notes"})
        tabs->addTab(panelLabel(QString("%1 panel").arg(name), QPalette::AlternateBase), name);
    const int size = alignment <= 2 ? 180 : 90;
    switch (alignment) {
    case 1:
        main->setGeometry(0, 0, 520 - size, 220);
        tabs->setGeometry(520 - size, 0, size, 220);
        break;
    case 2:
        tabs->setGeometry(0, 0, size, 220);
        main->setGeometry(size, 0, 520 - size, 220);
        break;
    case 3:
        main->setGeometry(0, 0, 520, 220 - size);
        tabs->setGeometry(0, 220 - size, 520, size);
        break;
    default:
        tabs->setGeometry(0, 0, 520, size);
        main->setGeometry(0, size, 520, 220 - size);
        break;
    }
    view->setViews(main, tabs);
    if (alignment > 2)
        view->animation()->setMinMainViewSize(80);
    auto* buttons = new QHBoxLayout;
    QList<QAbstractButton*> list;
    for (const char* name : {"Mixer", "Effects", "Notes"}) {
        auto* button = new QPushButton(name);
        buttons->addWidget(button);
        list.append(button);
    }
    buttons->addStretch(1);
    auto* controller = new PvSlideViewTabController(view);
    controller->setAnimatedSlideView(view);
    controller->setTabView(tabs);
    controller->setButtons(list);
    controller->setModelID(1, false);
    v->addLayout(buttons);
    v->addWidget(view);
    return box;
}

QWidget* scrollDemo()
{
    auto* box = new QWidget;
    auto* v = new QVBoxLayout(box);
    v->setContentsMargins(0, 0, 0, 0);
    auto* scroll = new PvScrollView;
    scroll->setFixedSize(470, 80);
    scroll->setDocumentView(new Timeline);
    auto* animation = new PVScrollViewAnimation(scroll, scroll);
    auto* row = new QHBoxLayout;
    const std::pair<const char*, int> targets[] = {{"Start", 0}, {"Bar 12", 1100}, {"End", 100000}};
    for (const auto& [name, x] : targets) {
        auto* button = new QPushButton(QString("Scroll to %1").arg(name));
        QObject::connect(button, &QPushButton::clicked, scroll,
            [animation, x = x] { animation->scrollToPoint(QPointF(x, 0)); });
        row->addWidget(button);
    }
    row->addStretch(1);
    v->addLayout(row);
    v->addWidget(scroll);
    return box;
}

} // namespace

QWidget* slideAnimationPage()
{
    auto* demo = new QWidget;
    auto* v = new QVBoxLayout(demo);
    auto* holder = new QVBoxLayout;
    QWidget* current = slideDemo(1);
    holder->addWidget(current);
    v->addWidget(new QLabel("Side panel: the buttons choose its page; the current page's button closes it."));
    v->addLayout(holder);
    v->addWidget(labelled("Smooth scrolling over a wide document", scrollDemo()));
    v->addStretch(1);

    auto* settings = new QWidget;
    auto* form = new QVBoxLayout(settings);
    auto* side = new QComboBox;
    side->addItems({"Panel on the right", "Panel on the left", "Panel below", "Panel above"});
    side->setAccessibleName("Panel side");
    QObject::connect(side, &QComboBox::currentIndexChanged, demo, [holder, current](int index) mutable {
        holder->removeWidget(current);
        current->deleteLater();
        current = slideDemo(index + 1);
        holder->addWidget(current);
    });
    form->addWidget(side);
    form->addStretch(1);
    return makePage("Slide animation",
        "A side panel slides in (0.5 s) and out (0.6 s) with an ease-in-out curve; its edge resizes it with "
        "the mouse or the arrow keys. A scroll animation glides to a point and stops at the document's end.",
        demo, settings);
}

} // namespace PavoGallery
