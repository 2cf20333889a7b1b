#include "PVTexturedWindow.h"

PVTexturedWindow::PVTexturedWindow(QWidget* parent)
    : PvThemeWindow([](PvThemeWindow* w) { return new PVTexturedFrameView(w); }, parent)
{
}
