#include "PVTexturedWindow.h"

PVTexturedWindow::PVTexturedWindow(QWidget* parent)
    : PvThemeWindow([](PvThemeWindow* w) { return new PVTexturedFrameView(w); }, parent)
{
    // The frame pictures have rounded, transparent corners.
    setAttribute(Qt::WA_TranslucentBackground);
}
