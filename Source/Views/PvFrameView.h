// The frame a themed window draws around its content.
#pragma once

#include <QAbstractButton>
#include <QPointer>
#include <QWidget>

class PvThemeWindow;

/**
    The view that fills a PvThemeWindow: it draws the title bar, places the close,
    minimise, zoom and toolbar buttons, holds the window's content view and, when shown,
    the toolbar view in a strip directly under the title bar.

    Geometry, in the view's coordinates (y grows downward): the title frame is the strip
    of titleHeight() at the top; the content frame is everything under it; the resize
    corner is the 15 x 15 square one point above the bottom-right corner. Buttons sit
    windowWidgetXOffset() from the left, windowButtonDistance() apart, one point lower than
    centred in the title bar (the widgets' vertical offset of -1 upward).

    The frame view belongs to its window and is made by it (PvThemeWindow::frameView()).
    It owns the content view and the toolbar view given to it. Main thread only.
*/
class PvFrameView : public QWidget {
    Q_OBJECT
public:
    enum WindowButton { CloseButton = 0, MiniaturizeButton = 1, ZoomButton = 2, ToolbarButton = 3 };

    explicit PvFrameView(PvThemeWindow* window);
    ~PvFrameView() override;

    PvThemeWindow* themeWindow() const { return m_window; }

    /// Height of the title bar in points (22 here; subclasses may differ).
    virtual qreal titleHeight() const;
    QRectF titleFrame() const;
    /// Everything under the title frame (the toolbar strip included while it is shown).
    QRectF contentFrame() const;
    QRectF resizeCornerFrame() const;
    qreal windowButtonDistance() const { return 7.0; }
    qreal windowWidgetXOffset() const { return 5.0; }
    /// Vertical offset of the window buttons in the platform's upward sense: -1 is one
    /// point lower.
    qreal windowWidgetYOffset() const { return -1.0; }
    qreal toolbarButtonXDelta() const { return 0.0; }
    qreal toolbarButtonYDelta() const { return 0.0; }

    /// The button of kind (0 close, 1 minimise, 2 zoom, 3 toolbar); null for other values
    /// and for the toolbar button while there is no toolbar view.
    QAbstractButton* pvStandardWindowButton(int kind) const;
    /// Places the window buttons (and the toolbar button) for the current size.
    void updateWindowButtons();
    /// Enables the buttons from the window's style mask and closing guard.
    void updateButtonEnabledStates();
    /// Redraws the title after the window's title or edited state changed.
    void updateTitleString();
    /// Whether the mouse is over the left button group (the buttons show their glyphs).
    bool mouseInLeftGroup() const { return m_mouseInLeftGroup; }
    /// Set by the buttons as the mouse enters and leaves them.
    void setMouseInLeftGroup(bool inside);

    QWidget* contentView() const { return m_contentView; }
    /// Replaces (and destroys) the content view; takes ownership.
    void setContentView(QWidget* view);

    qreal toolbarHeight() const { return m_toolbarHeight; }
    bool toolbarVisible() const { return m_toolbarVisible; }
    QWidget* toolbarView() const { return m_toolbarView; }
    /// Adds the toolbar button right of the title frame (done by setting a toolbar view).
    void addToolbarWidget();
    /// Centres view in the toolbar strip under the title bar.
    void positionToolbarView(QWidget* view);
    /// Lays out the content view (under the title bar and the toolbar strip when shown).
    void layoutContent();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void changeEvent(QEvent* event) override;
    /// Draws the title bar and the frame; subclasses draw their own.
    virtual void drawFrame(QPainter& painter);
    /// Draws the title text centred in rect.
    void drawTitle(QPainter& painter, const QRectF& rect, const QColor& color);

private:
    friend class PvThemeWindow;

    PvThemeWindow* m_window;
    QPointer<QWidget> m_contentView;
    QAbstractButton* m_closeButton = nullptr;
    QAbstractButton* m_miniButton = nullptr;
    QAbstractButton* m_zoomButton = nullptr;
    QAbstractButton* m_fileButton = nullptr; // the document proxy button; not shown yet
    bool m_mouseInLeftGroup = false;
    qreal m_toolbarHeight = 40.0;
    bool m_toolbarVisible = false;
    QPointer<QWidget> m_toolbarView;
    QAbstractButton* m_toolbarButton = nullptr;
};
