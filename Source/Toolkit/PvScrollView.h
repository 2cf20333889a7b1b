// A scroll view with a document view and a visible rectangle.
#pragma once

#include <QColor>
#include <QScrollArea>

/**
    A QScrollArea seen the way the views of the framework use scrolling: a document view
    (the scrolled widget, which keeps the size it is given), a clip view (the viewport)
    and the document's visible rectangle.

    The document view is owned by the scroll view once set. Main thread only.
*/
class PvScrollView : public QScrollArea {
    Q_OBJECT
public:
    explicit PvScrollView(QWidget* parent = nullptr);

    /// The scrolled widget; null when none was set.
    QWidget* documentView() const { return widget(); }
    /// Sets (and takes) the document view; the previous one is destroyed. Null removes it.
    void setDocumentView(QWidget* view);

    /// The part of the document view that is visible, in document coordinates; empty
    /// without a document.
    QRect documentVisibleRect() const;
    /// The size of the clip view (the viewport) in points.
    QSize contentSize() const { return viewport()->size(); }
    /// Scrolls so that point of the document is at the clip view's top-left corner, as
    /// far as the scroll ranges allow.
    void scrollToPoint(const QPoint& point);
    /// Scrolls the least amount that makes rect of the document visible (as much of it as
    /// fits, its top-left corner first). Returns whether the view scrolled.
    bool scrollRectToVisible(const QRect& rect);

    bool hasHorizontalScroller() const { return horizontalScrollBarPolicy() != Qt::ScrollBarAlwaysOff; }
    void setHasHorizontalScroller(bool has);
    bool hasVerticalScroller() const { return verticalScrollBarPolicy() != Qt::ScrollBarAlwaysOff; }
    void setHasVerticalScroller(bool has);

    /// Whether the clip view fills its background with backgroundColor().
    bool drawsBackground() const { return m_drawsBackground; }
    void setDrawsBackground(bool draws);
    /// The background colour; an invalid colour means the palette's base colour.
    QColor backgroundColor() const { return m_backgroundColor; }
    void setBackgroundColor(const QColor& color);

signals:
    /// Emitted when the visible rectangle moves (scrolling) or changes size.
    void boundsDidChange(const QRect& visibleRect);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void applyBackground();
    bool m_drawsBackground = true;
    QColor m_backgroundColor;
};
