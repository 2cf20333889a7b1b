#include "PageKit.h"

#include <Pavo/PavoUI.h>

#include <QCheckBox>
#include <QHBoxLayout>
#include <QPainter>
#include <QPainterPath>
#include <QVBoxLayout>

namespace PavoGallery {

namespace {

// Small icons drawn at twice their size, so they stay sharp on high-density screens.
QPixmap icon(int kind, QColor color)
{
    QPixmap pixmap(32, 32);
    pixmap.setDevicePixelRatio(2.0);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QPen(color.darker(150), 1.0));
    p.setBrush(color);
    if (kind == 0) { // folder
        QPainterPath path;
        path.moveTo(1.5, 4.5);
        path.lineTo(6.5, 4.5);
        path.lineTo(8.0, 6.0);
        path.lineTo(14.5, 6.0);
        path.lineTo(14.5, 13.5);
        path.lineTo(1.5, 13.5);
        path.closeSubpath();
        p.drawPath(path);
    } else if (kind == 1) { // file with a wave
        p.setBrush(Qt::white);
        p.drawRect(QRectF(3.5, 1.5, 9, 13));
        p.setPen(QPen(color, 1.2));
        QPainterPath wave;
        wave.moveTo(4.5, 8);
        for (int i = 1; i <= 7; ++i)
            wave.lineTo(4.5 + i, 8 + ((i % 2) ? -2.5 : 2.5) * (i < 6 ? 1.0 : 0.5));
        p.drawPath(wave);
    } else { // colour tag
        p.drawEllipse(QRectF(1.5, 4.5, 7, 7));
    }
    return pixmap;
}

PvMatrix* browserRows(bool drawsBackground)
{
    auto* matrix = new PvMatrix(PvMatrix::ListModeMatrix, 0, 1);
    matrix->setCellSize(QSizeF(250, 20));
    matrix->setIntercellSpacing(QSizeF(0, 0));
    const QPixmap folder = icon(0, QColor(110, 160, 220));
    const QPixmap file = icon(1, QColor(60, 120, 90));
    struct Row {
        QString text;
        QPixmap image, left;
        bool leaf, enabled;
    };
    const Row rows[] = {
        {"Drums", folder, {}, false, true},
        {"Kick 01.wav", file, {}, true, true},
        {"A very long sample name that does not fit in the row.aif", file, {}, true, true},
        {"Loops", folder, icon(2, QColor(230, 120, 40)), false, true},
        {"Tagged take.wav", file, icon(2, QColor(200, 60, 160)), true, true},
        {"Archive (disabled)", folder, {}, false, false},
        {"Without an icon", {}, {}, false, true},
        {"Plain leaf without an icon", {}, {}, true, true},
    };
    int r = 0;
    for (const Row& row : rows) {
        auto cell = std::make_unique<PvBrowserCell>(row.text, row.image);
        cell->setLeftImage(row.left);
        cell->setLeaf(row.leaf);
        cell->setEnabled(row.enabled);
        cell->setDrawsBackground(drawsBackground);
        cell->setAbsolutePath("/Samples/" + row.text);
        matrix->addRow();
        matrix->putCell(std::move(cell), r++, 0);
    }
    matrix->sizeToCells();
    matrix->selectCellAt(1, 0);
    return matrix;
}

} // namespace

QWidget* browserCellPage()
{
    auto* demo = new QWidget;
    auto* h = new QHBoxLayout(demo);
    h->addWidget(labelled("Rows (second selected)", browserRows(true)), 0, Qt::AlignTop);
    auto* second = browserRows(true);
    second->selectCellAt(3, 0);
    h->addWidget(labelled("Folder selected", second), 0, Qt::AlignTop);
    h->addStretch(1);
    return makePage("Browser cells",
        "Browser rows: icon, left icon and branch arrow; long names are elided in the middle, disabled "
        "rows draw their icons at 60 % opacity, selected rows use the highlight colour.",
        demo, nullptr);
}

} // namespace PavoGallery
