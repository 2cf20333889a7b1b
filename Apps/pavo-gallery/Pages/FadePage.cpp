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

QWidget* fadePage()
{
    auto* demo = new QWidget;
    auto* v = new QVBoxLayout(demo);
    auto* count = new QLabel;
    auto* opacity = new QDoubleSpinBox;
    opacity->setRange(0.05, 1.0);
    opacity->setSingleStep(0.05);
    opacity->setValue(1.0);
    opacity->setPrefix("Start opacity ");
    auto* open = new QPushButton("Open a window, then fade it out");
    QObject::connect(open, &QPushButton::clicked, demo, [demo, opacity] {
        auto* w = new PvThemeWindow;
        w->setAttribute(Qt::WA_DeleteOnClose);
        w->setTitle("Fading away");
        w->setContentView(windowContent("This window fades out in 0.05 steps every 0.01 s.", false));
        w->resize(300, 160);
        w->setAlphaValue(float(opacity->value()));
        w->show();
        QPointer<PvThemeWindow> guard(w);
        QTimer::singleShot(700, demo, [guard] {
            if (guard)
                FadeOut::fadeOut()->addWindow(guard);
        });
    });
    auto* poll = new QTimer(count);
    auto refresh = [count] {
        count->setText(QString("Windows fading now: %1").arg(FadeOut::fadeOut()->windowCount()));
    };
    QObject::connect(poll, &QTimer::timeout, count, refresh);
    poll->start(50);
    refresh();
    v->addWidget(open);
    v->addWidget(count);
    v->addStretch(1);
    auto* settings = new QWidget;
    auto* form = new QVBoxLayout(settings);
    form->addWidget(opacity);
    return makePage("Fade-out",
        "FadeOut closes windows softly: a full-opacity window is gone after 20 steps (0.2 s); fading "
        "pauses while a modal dialog runs.",
        demo, settings);
}

} // namespace PavoGallery
