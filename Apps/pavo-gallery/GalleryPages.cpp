#include "GalleryPages.h"

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

// A page: title, one line on what it shows, the demonstration and its live settings.
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

// A patterned backdrop on which embedded windows are shown, like a desktop.
class Desk : public QWidget {
public:
    using QWidget::QWidget;

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter p(this);
        const QColor base = palette().color(QPalette::Base);
        const bool dark = base.lightnessF() < 0.5;
        QLinearGradient g(0, 0, width(), height());
        g.setColorAt(0, dark ? QColor(0x24, 0x2a, 0x38) : QColor(0x9f, 0xb8, 0xd6));
        g.setColorAt(1, dark ? QColor(0x13, 0x16, 0x1d) : QColor(0x6f, 0x8f, 0xb5));
        p.fillRect(rect(), g);
    }
};

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

// ---- cells and matrices ---------------------------------------------------------

QWidget* controlsPage()
{
    auto* demo = new QWidget;
    auto* v = new QVBoxLayout(demo);
    auto* status = new QLabel("Last action: none");

    auto* radio = textMatrix(PvMatrix::RadioModeMatrix, {"Mono", "Stereo", "Surround"}, 1, 3, QSizeF(90, 24));
    auto* toggles = textMatrix(PvMatrix::HighlightModeMatrix, {"M", "S", "R", "A"}, 1, 4, QSizeF(32, 24));
    QStringList tracks;
    for (int i = 1; i <= 16; ++i)
        tracks << QString("Track %1").arg(i);
    auto* list = textMatrix(PvMatrix::ListModeMatrix, tracks, 16, 1, QSizeF(220, 20));
    list->setIntercellSpacing(QSizeF(0, 0));
    for (PvCell* c : list->cells())
        c->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    list->sizeToCells();
    list->setFixedSize(list->size());
    list->cellAt(2, 0)->setState(PvCell::OnState);
    auto* scroll = new PvScrollView;
    scroll->setDocumentView(list);
    scroll->setFixedSize(240, 130);
    scroll->setFrameShape(QFrame::StyledPanel);
    auto* single = new PvControl(std::make_unique<PvCell>("A single cell: click or press Space"));
    single->setMinimumHeight(26);

    for (PvControl* c : std::initializer_list<PvControl*> {radio, toggles, list, single}) {
        QObject::connect(c, &PvControl::actionTriggered, status, [status](PvControl* sender) {
            const PvCell* cell = sender->selectedCell();
            status->setText(QString("Last action: %1 (%2)")
                                .arg(QString::fromLatin1(sender->metaObject()->className()),
                                    cell ? cell->stringValue() : QString("-")));
        });
    }
    v->addWidget(labelled("Radio matrix (arrow keys move the selection)", radio));
    v->addWidget(labelled("Highlight matrix: toggle buttons", toggles));
    v->addWidget(labelled("List matrix in a scroll view (Shift and Control extend)", scroll));
    v->addWidget(labelled("Control with one cell", single));
    v->addWidget(status);
    v->addStretch(1);

    auto* settings = new QWidget;
    auto* form = new QVBoxLayout(settings);
    auto* enabled = new QCheckBox("Enabled");
    enabled->setChecked(true);
    QObject::connect(enabled, &QCheckBox::toggled, demo, [=](bool on) {
        for (QWidget* w : std::initializer_list<QWidget*> {radio, toggles, list, single})
            w->setEnabled(on);
    });
    auto* empty = new QCheckBox("Radio allows empty selection");
    QObject::connect(
        empty, &QCheckBox::toggled, radio, [radio](bool on) { radio->setAllowsEmptySelection(on); });
    auto* spacing = new QSpinBox;
    spacing->setRange(0, 12);
    spacing->setValue(1);
    spacing->setPrefix("Spacing ");
    QObject::connect(spacing, &QSpinBox::valueChanged, radio, [=](int s) {
        for (PvMatrix* m : {radio, toggles}) {
            m->setIntercellSpacing(QSizeF(s, s));
            m->sizeToCells();
            m->setFixedSize(m->size());
        }
    });
    form->addWidget(enabled);
    form->addWidget(empty);
    form->addWidget(spacing);
    return makePage("Cells and matrices",
        "Cells keep state and draw into the frame their control gives them; controls turn mouse, "
        "wheel and keys into the cells' tracking protocol.",
        demo, settings);
}

// ---- themed windows ---------------------------------------------------------------

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

// ---- bevels -----------------------------------------------------------------------

// A bevel view drawn from framework pictures, named rather than loaded, so that it takes
// the dark pictures when the palette turns dark and the light ones when it turns back.
class PictureBevel : public PvWindowBevelView {
public:
    PictureBevel(const QString& left, const QString& middle, const QString& right)
        : m_names {left, middle, right}
    {
        setFixedHeight(24);
        load();
    }

protected:
    void changeEvent(QEvent* event) override
    {
        if (event->type() == QEvent::ApplicationPaletteChange || event->type() == QEvent::PaletteChange)
            load();
        PvWindowBevelView::changeEvent(event);
    }

private:
    void load()
    {
        auto picture
            = [](const QString& name) { return name.isEmpty() ? QPixmap() : pv_loadPavoBundleImage(name); };
        setImages(picture(m_names[0]), picture(m_names[1]), picture(m_names[2]));
    }
    QString m_names[3];
};

QWidget* bevelPage()
{
    auto* demo = new QWidget;
    auto* v = new QVBoxLayout(demo);
    auto* plain = new PvWindowBevelView;
    plain->setFixedHeight(24);
    auto* pictured = new PictureBevel("PV_BevelLeft", "PV_BevelMiddle", "PV_BevelRight");
    // The well is a picture made whole for one place, not a piece to be stretched; its view
    // lies over a bar drawn from the three pictures, as a status field would.
    auto* special = new PictureBevel("PV_BevelLeft", "PV_BevelMiddle", "PV_BevelRight");
    auto* well = new PictureBevel(QString(), "PV_BevelWell", QString());
    well->setSpecialImage(QSizeF(160, 24), QPointF(60, 0));
    well->setOpaque(false);
    auto* over = new QHBoxLayout(special);
    over->setContentsMargins(0, 0, 0, 0);
    over->addWidget(well);
    v->addWidget(labelled("Drawn from the palette", plain));
    v->addWidget(labelled("Left, middle and right pictures", pictured));
    v->addWidget(labelled("Middle picture at a fixed place and size", special));
    v->addStretch(1);
    return makePage("Bevel views",
        "PvWindowBevelView draws the bars under lists and along window edges, from the palette or "
        "from pictures; the framework's pictures have light and dark sets.",
        demo, nullptr);
}

// ---- tool tip ---------------------------------------------------------------------

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

// ---- fade-out ---------------------------------------------------------------------

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

} // namespace

QList<Page> pages()
{
    return {
        {"Cells and matrices", controlsPage},
        {"Themed window", [] { return themedWindowPage(false); }},
        {"Textured window", [] { return themedWindowPage(true); }},
        {"Bevel views", bevelPage},
        {"Tool tip", toolTipPage},
        {"Fade-out", fadePage},
    };
}

QPalette lightPalette()
{
    QStyle* fusion = QStyleFactory::create("Fusion");
    QPalette p = fusion ? fusion->standardPalette() : QPalette();
    delete fusion;
    return p;
}

QPalette darkPalette()
{
    QPalette p;
    const QColor window(0x2b, 0x2d, 0x31), base(0x1e, 0x1f, 0x22), text(0xe6, 0xe6, 0xe6);
    p.setColor(QPalette::Window, window);
    p.setColor(QPalette::WindowText, text);
    p.setColor(QPalette::Base, base);
    p.setColor(QPalette::AlternateBase, window);
    p.setColor(QPalette::Text, text);
    p.setColor(QPalette::Button, QColor(0x3a, 0x3c, 0x41));
    p.setColor(QPalette::ButtonText, text);
    p.setColor(QPalette::Highlight, QColor(0x2f, 0x6f, 0xd6));
    p.setColor(QPalette::HighlightedText, Qt::white);
    p.setColor(QPalette::ToolTipBase, QColor(0x3a, 0x3c, 0x41));
    p.setColor(QPalette::ToolTipText, text);
    p.setColor(QPalette::PlaceholderText, QColor(0x8a, 0x8c, 0x90));
    p.setColor(QPalette::Light, QColor(0x4a, 0x4c, 0x52));
    p.setColor(QPalette::Midlight, QColor(0x40, 0x42, 0x47));
    p.setColor(QPalette::Mid, QColor(0x55, 0x57, 0x5c));
    p.setColor(QPalette::Dark, QColor(0x18, 0x19, 0x1b));
    p.setColor(QPalette::Shadow, Qt::black);
    p.setColor(QPalette::Disabled, QPalette::Text, QColor(0x70, 0x72, 0x76));
    p.setColor(QPalette::Disabled, QPalette::WindowText, QColor(0x70, 0x72, 0x76));
    p.setColor(QPalette::Disabled, QPalette::ButtonText, QColor(0x70, 0x72, 0x76));
    p.setColor(QPalette::Disabled, QPalette::Highlight, QColor(0x40, 0x48, 0x58));
    return p;
}

GalleryWindow::GalleryWindow(QWidget* parent)
    : QWidget(parent)
    , m_list(new QListWidget)
    , m_stack(new QStackedWidget)
    , m_dark(new QCheckBox("Dark palette"))
{
    setWindowTitle("Pavo gallery");
    auto* side = new QVBoxLayout;
    side->addWidget(m_list, 1);
    side->addWidget(m_dark);
    auto* h = new QHBoxLayout(this);
    h->addLayout(side);
    h->addWidget(m_stack, 1);
    m_list->setFixedWidth(180);
    // Each page scrolls inside the window instead of being squeezed below the size its
    // content needs, so the window can be made small. A page is built when it is first
    // shown.
    m_pages = pages();
    for (const Page& page : std::as_const(m_pages)) {
        m_list->addItem(page.title);
        auto* scroll = new QScrollArea;
        scroll->setWidgetResizable(true);
        scroll->setFrameShape(QFrame::NoFrame);
        m_stack->addWidget(scroll);
    }
    setMinimumSize(420, 300);
    connect(m_list, &QListWidget::currentRowChanged, this, [this](int row) {
        auto* scroll = qobject_cast<QScrollArea*>(m_stack->widget(row));
        if (!scroll)
            return;
        if (!scroll->widget())
            scroll->setWidget(m_pages[row].make());
        m_stack->setCurrentIndex(row);
    });
    connect(m_dark, &QCheckBox::toggled, this, &GalleryWindow::setDark);
    m_list->setCurrentRow(0);
    setDark(false);
}

void GalleryWindow::showPage(int index)
{
    if (index >= 0 && index < m_stack->count())
        m_list->setCurrentRow(index);
}

void GalleryWindow::showPage(const QString& title)
{
    const auto found = m_list->findItems(title, Qt::MatchFixedString);
    if (!found.isEmpty())
        m_list->setCurrentItem(found.first());
}

int GalleryWindow::pageCount() const
{
    return m_stack->count();
}

QWidget* GalleryWindow::currentPage() const
{
    auto* scroll = qobject_cast<QScrollArea*>(m_stack->currentWidget());
    return scroll ? scroll->widget() : nullptr;
}

QStringList GalleryWindow::pageTitles()
{
    QStringList titles;
    for (const Page& page : pages())
        titles << page.title;
    return titles;
}

void GalleryWindow::setDark(bool dark)
{
    if (m_dark->isChecked() != dark)
        m_dark->setChecked(dark); // comes back here through the signal
    const QPalette p = dark ? darkPalette() : lightPalette();
    // The whole application follows, so that windows opened by the pages match.
    QApplication::setPalette(p);
    setPalette(p);
}

} // namespace PavoGallery
