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

} // namespace PavoGallery
