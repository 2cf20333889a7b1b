#include "PvScrollView.h"

#include <QScrollBar>

PvScrollView::PvScrollView(QWidget* parent)
    : QScrollArea(parent)
{
    setWidgetResizable(false);
    setFrameShape(QFrame::NoFrame);
    setAlignment(Qt::AlignLeft | Qt::AlignTop);
    auto changed = [this] { emit boundsDidChange(documentVisibleRect()); };
    connect(horizontalScrollBar(), &QScrollBar::valueChanged, this, changed);
    connect(verticalScrollBar(), &QScrollBar::valueChanged, this, changed);
    applyBackground();
}

void PvScrollView::setDocumentView(QWidget* view)
{
    if (!view) {
        delete takeWidget();
        return;
    }
    setWidget(view);
}

QRect PvScrollView::documentVisibleRect() const
{
    QWidget* doc = widget();
    if (!doc)
        return {};
    const QRect visible(doc->mapFrom(viewport(), QPoint(0, 0)), viewport()->size());
    return visible.intersected(doc->rect());
}

void PvScrollView::scrollToPoint(const QPoint& point)
{
    horizontalScrollBar()->setValue(point.x());
    verticalScrollBar()->setValue(point.y());
}

bool PvScrollView::scrollRectToVisible(const QRect& rect)
{
    QWidget* doc = widget();
    if (!doc || rect.isEmpty())
        return false;
    const QRect visible = documentVisibleRect();
    QPoint origin = visible.topLeft();
    const QSize clip = viewport()->size();
    if (rect.right() > origin.x() + clip.width() - 1)
        origin.setX(rect.right() - clip.width() + 1);
    if (rect.left() < origin.x())
        origin.setX(rect.left());
    if (rect.bottom() > origin.y() + clip.height() - 1)
        origin.setY(rect.bottom() - clip.height() + 1);
    if (rect.top() < origin.y())
        origin.setY(rect.top());
    const int oldX = horizontalScrollBar()->value();
    const int oldY = verticalScrollBar()->value();
    scrollToPoint(origin);
    return horizontalScrollBar()->value() != oldX || verticalScrollBar()->value() != oldY;
}

void PvScrollView::setHasHorizontalScroller(bool has)
{
    setHorizontalScrollBarPolicy(has ? Qt::ScrollBarAsNeeded : Qt::ScrollBarAlwaysOff);
}

void PvScrollView::setHasVerticalScroller(bool has)
{
    setVerticalScrollBarPolicy(has ? Qt::ScrollBarAsNeeded : Qt::ScrollBarAlwaysOff);
}

void PvScrollView::setDrawsBackground(bool draws)
{
    m_drawsBackground = draws;
    applyBackground();
}

void PvScrollView::setBackgroundColor(const QColor& color)
{
    m_backgroundColor = color;
    applyBackground();
}

void PvScrollView::applyBackground()
{
    viewport()->setAutoFillBackground(m_drawsBackground);
    // Without a colour of its own the clip view shows the palette's base colour, also
    // after the palette changes.
    if (m_backgroundColor.isValid()) {
        QPalette pal = viewport()->palette();
        pal.setColor(QPalette::Window, m_backgroundColor);
        viewport()->setPalette(pal);
        viewport()->setBackgroundRole(QPalette::Window);
    } else {
        viewport()->setPalette(QPalette());
        viewport()->setBackgroundRole(QPalette::Base);
    }
    viewport()->update();
}

void PvScrollView::resizeEvent(QResizeEvent* event)
{
    QScrollArea::resizeEvent(event);
    emit boundsDidChange(documentVisibleRect());
}
