// A themed window with a frame drawn from pictures.
#pragma once

#include "PVTexturedFrameView.h"
#include "PvThemeWindow.h"

/**
    A PvThemeWindow whose frame view is a PVTexturedFrameView (ten pictures; the delegate
    may name its own set). Main thread only.
*/
class PVTexturedWindow : public PvThemeWindow {
    Q_OBJECT
public:
    explicit PVTexturedWindow(QWidget* parent = nullptr);
    PVTexturedFrameView* texturedFrameView() const { return static_cast<PVTexturedFrameView*>(frameView()); }
};
