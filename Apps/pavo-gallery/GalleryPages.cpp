#include "GalleryPages.h"

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

QList<Page> pages()
{
    return {
        {"Cells and matrices", controlsPage},
        {"Themed window", [] { return themedWindowPage(false); }},
        {"Textured window", [] { return themedWindowPage(true); }},
        {"Bevel views", bevelPage},
        {"Tool tip", toolTipPage},
        {"Fade-out", fadePage},
        {"Cell group", cellGroupPage},
        {"Sliders", sliderPage},
        {"Level meters", meterPage},
        {"Octave picker", octavePickerPage},
        {"Slot dragging", slotDragPage},
        {"Pop-up menus", popUpPage},
        {"Slide animation", slideAnimationPage},
        {"Browser cells", browserCellPage},
        {"Column browser", browserPage},
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
