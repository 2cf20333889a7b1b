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

QWidget* toolbarStrip()
{
    auto* bar = new QWidget;
    auto* h = new QHBoxLayout(bar);
    h->setContentsMargins(0, 0, 0, 0);
    for (const char* t : {"Record", "Play", "Stop", "Loop"}) {
        auto* b = new QToolButton;
        b->setText(QString::fromLatin1(t));
        h->addWidget(b);
    }
    bar->adjustSize();
    return bar;
}

} // namespace

QWidget* themedWindowPage(bool textured)
{
    auto* desk = new Desk;
    desk->setMinimumSize(490, 360);
    PvThemeWindow* window = textured ? new PVTexturedWindow(desk) : new PvThemeWindow(desk);
    window->setWindowFlags(Qt::Widget); // shown inside the page; drag it around
    window->setTitle(textured ? "Textured Window" : "Mixer — Session 1");
    window->setContentView(
        windowContent(textured ? "The frame is drawn from ten pictures: four corners, a title "
                                 "ornament and five stretched parts."
                               : "Drag the title bar to move the window, the bottom-right "
                                 "corner to resize it. The pill at the top right shows the "
                                 "toolbar.",
            !textured));
    window->setToolbarHeight(36);
    window->setToolbarView(toolbarStrip());
    window->setGeometry(30, 30, 440, 300);
    window->show();

    auto* settings = new QWidget;
    auto* form = new QVBoxLayout(settings);
    auto* title = new QLineEdit(window->windowTitle());
    QObject::connect(
        title, &QLineEdit::textChanged, window, [window](const QString& t) { window->setTitle(t); });
    form->addWidget(new QLabel("Title"));
    form->addWidget(title);
    struct Bit {
        const char* name;
        unsigned bit;
    };
    for (Bit b : {Bit {"Closable", PvThemeWindow::ClosableWindowMask},
             Bit {"Miniaturizable", PvThemeWindow::MiniaturizableWindowMask},
             Bit {"Resizable", PvThemeWindow::ResizableWindowMask}}) {
        auto* box = new QCheckBox(QString::fromLatin1(b.name));
        box->setChecked(window->pvStyleMask() & b.bit);
        QObject::connect(box, &QCheckBox::toggled, window, [window, bit = b.bit](bool on) {
            window->setPVStyleMask(on ? window->pvStyleMask() | bit : window->pvStyleMask() & ~bit);
        });
        form->addWidget(box);
    }
    auto* edited = new QCheckBox("Document edited");
    QObject::connect(
        edited, &QCheckBox::toggled, window, [window](bool on) { window->setDocumentEdited(on); });
    form->addWidget(edited);
    auto* toolbar = new QPushButton("Toggle toolbar");
    QObject::connect(toolbar, &QPushButton::clicked, window, [window] { window->toggleToolbar(); });
    form->addWidget(toolbar);
    auto* geometry = new QLabel;
    auto refresh = [window, geometry] {
        const QRect f = window->frame();
        geometry->setText(QString("Frame %1, %2, %3 x %4\nMinimum height %5")
                              .arg(f.x())
                              .arg(f.y())
                              .arg(f.width())
                              .arg(f.height())
                              .arg(window->minimumHeight()));
    };
    auto* poll = new QTimer(geometry);
    QObject::connect(poll, &QTimer::timeout, geometry, refresh);
    poll->start(100);
    refresh();
    form->addWidget(geometry);
    // Shown with the toolbar, so the page pictures show both.
    window->showToolbar();
    if (textured)
        return makePage("Textured window",
            "PVTexturedWindow draws its frame from pictures (a light and a dark set, after the "
            "palette); a window delegate may name its own set.",
            desk, settings);
    return makePage("Themed window",
        "PvThemeWindow draws its own title bar and buttons, moves and resizes by dragging, and shows a "
        "toolbar strip that grows the window downward.",
        desk, settings);
}

} // namespace PavoGallery
