// An outside program that uses the installed toolkit: a QApplication and one control.
#include <Pavo/PavoUI.h>

#include <QApplication>
#include <QImage>

#include <cstdio>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    PvMatrix matrix(PvMatrix::RadioModeMatrix, 1, 3);
    matrix.setCellSize(QSizeF(60, 22));
    int tag = 0;
    for (PvCell* cell : matrix.cells()) {
        cell->setStringValue(QStringLiteral("Cell %1").arg(tag));
        cell->setTag(tag++);
    }
    matrix.sizeToCells();
    matrix.show();
    QApplication::processEvents();
    const QImage picture = matrix.grab().toImage();
    const bool ok = matrix.cells().size() == 3 && !picture.isNull() && picture.width() >= 180;
    std::printf("%s a radio matrix of %d cells drawn at %d x %d\n", ok ? "ok  " : "FAIL",
        int(matrix.cells().size()), picture.width(), picture.height());
    return ok ? 0 : 1;
}
