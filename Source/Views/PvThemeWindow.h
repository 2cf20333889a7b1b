// A window that draws its own frame.
#pragma once

#include "PvFrameView.h"
#include "PvWindow.h"

#include <functional>

/**
    A frameless window whose whole area is a PvFrameView: the frame view draws the title
    bar and buttons, holds the content view and optionally a toolbar view under the title.
    The window moves when dragged anywhere its widgets do not use the mouse, and resizes
    when dragged by the resize corner (if resizable); a double click on the title bar
    minimises it.

    Showing the toolbar grows the window downward by the toolbar height (its top edge
    stays) and raises its minimum and maximum heights by the same amount; the content keeps
    its size. Hiding reverses exactly this.

    The style mask says which buttons work, with the platform's bits: titled 1, closable 2,
    miniaturizable 4, resizable 8 (all four by default).

    Frames are in Qt's coordinates: frame() is the geometry, top-left origin. Main thread
    only.
*/
class PvThemeWindow : public PvWindow {
    Q_OBJECT
public:
    enum StyleMask : unsigned {
        TitledWindowMask = 1,
        ClosableWindowMask = 2,
        MiniaturizableWindowMask = 4,
        ResizableWindowMask = 8,
    };

    explicit PvThemeWindow(QWidget* parent = nullptr);
    ~PvThemeWindow() override;

    PvFrameView* frameView() const { return m_frameView; }
    QWidget* contentView() const { return m_frameView->contentView(); }
    /// Replaces the content view (the window takes it).
    void setContentView(QWidget* view) { m_frameView->setContentView(view); }

    unsigned pvStyleMask() const { return m_styleMask; }
    void setPVStyleMask(unsigned mask);
    bool isResizable() const { return m_styleMask & ResizableWindowMask; }
    bool isClosable() const { return m_styleMask & ClosableWindowMask; }
    bool isMiniaturizable() const { return m_styleMask & MiniaturizableWindowMask; }
    /// Zooming changes the size, so a zoomable window is a resizable one.
    bool isZoomable() const { return isResizable(); }
    bool canBecomeKeyWindow() const { return m_canBecomeKeyWindow; }
    void setCanBecomeKeyWindow(bool can);
    bool canBecomeMainWindow() const { return m_canBecomeMainWindow; }
    void setCanBecomeMainWindow(bool can) { m_canBecomeMainWindow = can; }

    /// Closes unless closing is blocked or the window is not closable; returns whether it closed.
    bool performClose() override;
    void performMiniaturize();
    void performZoom() { zoom(); }
    /// Toggles between the user's frame and the largest frame the screen and the maximum
    /// size allow (top-left kept on screen).
    void zoom();
    void setTitle(const QString& title);
    /// Marks the document as edited: the close button shows a dot.
    void setDocumentEdited(bool edited);
    bool isDocumentEdited() const { return m_documentEdited; }

    void showToolbar();
    void hideToolbar();
    void toggleToolbar();
    bool toolbarVisible() const { return m_frameView->toolbarVisible(); }
    /// Sets the toolbar height in points (negative values are 0); a shown toolbar is
    /// re-shown at the new height.
    void setToolbarHeight(qreal height);
    qreal toolbarHeight() const { return m_frameView->toolbarHeight(); }
    /// Sets the toolbar view (the frame view takes it; the previous one is hidden and
    /// destroyed) and adds the toolbar button. Null removes toolbar and button.
    void setToolbarView(QWidget* view);
    QWidget* toolbarView() const { return m_frameView->toolbarView(); }
    /// The frame less the toolbar strip while the toolbar is shown.
    QRect frameWithoutToolBar() const;

    QRect frame() const { return geometry(); }
    void setMinSize(const QSize& size) { setMinimumSize(size); }
    void setMaxSize(const QSize& size) { setMaximumSize(size); }
    /// Sets the frame, kept within the minimum and maximum sizes; display repaints at once.
    void setFrame(const QRect& frame, bool display, bool animate = false);
    /// Sets the frame without keeping it within the size limits' own rounding (used by
    /// the toolbar arithmetic).
    void originalSetFrame(const QRect& frame, bool display, bool animate = false);
    /// Keeps the window on its screen after the screen's geometry changed.
    void screenResolutionChangedHandler();

    /// Whether the current drag resizes (true) or moves the window.
    bool isResizingByDrag() const { return m_doResizeWindow; }

protected:
    /// For subclasses with their own frame view class: makeFrameView is called once.
    PvThemeWindow(const std::function<PvFrameView*(PvThemeWindow*)>& makeFrameView, QWidget* parent);

    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    friend class PvFrameView;
    void init(PvFrameView* frameView);
    void mouseDownAt(const QPointF& pointInFrameView, const QPointF& globalPoint, int clickCount);
    void mouseDraggedTo(const QPointF& globalPoint);
    void mouseUpAt();

    PvFrameView* m_frameView = nullptr;
    QPointF m_StartMouseLocationInScreen;
    QRect m_StartWindowFrame;
    bool m_doResizeWindow = false;
    bool m_dragging = false;
    unsigned m_styleMask
        = TitledWindowMask | ClosableWindowMask | MiniaturizableWindowMask | ResizableWindowMask;
    bool m_canBecomeKeyWindow = true;
    bool m_canBecomeMainWindow = true;
    QRect m_userFrame; // frame before zooming; empty when not zoomed
    bool m_documentEdited = false;
};
