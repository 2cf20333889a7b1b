#include "PvThemeWindow.h"

#include <QResizeEvent>
#include <QScreen>

#include <algorithm>

PvThemeWindow::PvThemeWindow(QWidget* parent)
    : PvThemeWindow([](PvThemeWindow* w) { return new PvFrameView(w); }, parent)
{
}

PvThemeWindow::PvThemeWindow(
    const std::function<PvFrameView*(PvThemeWindow*)>& makeFrameView, QWidget* parent)
    : PvWindow(parent, Qt::Window | Qt::FramelessWindowHint)
{
    init(makeFrameView(this));
}

PvThemeWindow::~PvThemeWindow() = default;

void PvThemeWindow::init(PvFrameView* frameView)
{
    m_frameView = frameView;
    m_frameView->setGeometry(rect());
    m_frameView->show();
    setMinimumSize(int(m_frameView->windowWidgetXOffset() * 2 + 80), int(m_frameView->titleHeight()) + 16);
    resize(420, 300);
}

void PvThemeWindow::setPVStyleMask(unsigned mask)
{
    m_styleMask = mask;
    m_frameView->updateButtonEnabledStates();
    m_frameView->update();
}

void PvThemeWindow::setCanBecomeKeyWindow(bool can)
{
    m_canBecomeKeyWindow = can;
    const bool wasVisible = isVisible();
    setWindowFlag(Qt::WindowDoesNotAcceptFocus, !can);
    if (wasVisible)
        show(); // changing flags hides a window
}

bool PvThemeWindow::performClose()
{
    if (!isClosable() || !windowIsClosable())
        return false;
    return close();
}

void PvThemeWindow::performMiniaturize()
{
    if (isMiniaturizable() && isWindow())
        showMinimized();
}

void PvThemeWindow::zoom()
{
    if (!isZoomable())
        return;
    if (m_userFrame.isValid()) {
        setFrame(m_userFrame, true);
        m_userFrame = QRect();
        return;
    }
    QRect target;
    if (isWindow() && screen())
        target = screen()->availableGeometry();
    else if (parentWidget())
        target = parentWidget()->rect();
    if (!target.isValid())
        return;
    m_userFrame = geometry();
    setFrame(QRect(target.topLeft(), target.size().boundedTo(maximumSize())), true);
}

void PvThemeWindow::setTitle(const QString& title)
{
    setWindowTitle(title);
    m_frameView->updateTitleString();
}

void PvThemeWindow::setDocumentEdited(bool edited)
{
    m_documentEdited = edited;
    m_frameView->updateTitleString();
}

// ---- toolbar ----------------------------------------------------------------------

void PvThemeWindow::showToolbar()
{
    if (m_frameView->m_toolbarVisible)
        return;
    const int h = qRound(m_frameView->m_toolbarHeight);
    const QRect f = geometry();
    const int maxH = maximumHeight();
    // The window grows downward: its top edge stays, and both size limits grow with it.
    // The maximum goes first so that neither limit ever contradicts the frame.
    if (maxH < QWIDGETSIZE_MAX)
        setMaximumHeight(std::min(QWIDGETSIZE_MAX, maxH + h));
    setMinimumHeight(minimumHeight() + h);
    m_frameView->m_toolbarVisible = true;
    originalSetFrame(QRect(f.x(), f.y(), f.width(), f.height() + h), true);
    if (QWidget* view = m_frameView->m_toolbarView) {
        m_frameView->positionToolbarView(view);
        view->show();
    }
    m_frameView->layoutContent();
    m_frameView->update();
}

void PvThemeWindow::hideToolbar()
{
    if (!m_frameView->m_toolbarVisible)
        return;
    const int h = qRound(m_frameView->m_toolbarHeight);
    const QRect f = geometry();
    const int maxH = maximumHeight();
    if (QWidget* view = m_frameView->m_toolbarView)
        view->hide();
    m_frameView->m_toolbarVisible = false;
    setMinimumHeight(std::max(0, minimumHeight() - h));
    originalSetFrame(QRect(f.x(), f.y(), f.width(), f.height() - h), true);
    if (maxH < QWIDGETSIZE_MAX)
        setMaximumHeight(std::max(minimumHeight(), maxH - h));
    m_frameView->layoutContent();
    m_frameView->update();
}

void PvThemeWindow::toggleToolbar()
{
    if (toolbarVisible())
        hideToolbar();
    else
        showToolbar();
}

void PvThemeWindow::setToolbarHeight(qreal height)
{
    const bool shown = toolbarVisible();
    if (shown)
        hideToolbar();
    m_frameView->m_toolbarHeight = std::max(0.0, height);
    if (shown)
        showToolbar();
}

void PvThemeWindow::setToolbarView(QWidget* view)
{
    if (view == m_frameView->m_toolbarView)
        return;
    hideToolbar();
    delete m_frameView->m_toolbarView;
    m_frameView->m_toolbarView = view;
    if (view) {
        view->setParent(m_frameView);
        view->hide();
        m_frameView->addToolbarWidget();
    } else if (m_frameView->m_toolbarButton) {
        delete m_frameView->m_toolbarButton;
        m_frameView->m_toolbarButton = nullptr;
    }
}

QRect PvThemeWindow::frameWithoutToolBar() const
{
    QRect f = geometry();
    if (toolbarVisible())
        f.setHeight(f.height() - qRound(toolbarHeight()));
    return f;
}

// ---- frame ------------------------------------------------------------------------

void PvThemeWindow::setFrame(const QRect& frame, bool display, bool animate)
{
    const QSize s = frame.size().expandedTo(minimumSize()).boundedTo(maximumSize());
    originalSetFrame(QRect(frame.topLeft(), s), display, animate);
}

void PvThemeWindow::originalSetFrame(const QRect& frame, bool display, bool)
{
    setGeometry(frame);
    if (display && isVisible())
        m_frameView->repaint();
}

void PvThemeWindow::screenResolutionChangedHandler()
{
    if (!isWindow() || !screen())
        return;
    const QRect avail = screen()->availableGeometry();
    QRect f = geometry();
    f.setSize(f.size().boundedTo(avail.size()));
    f.moveLeft(std::clamp(f.left(), avail.left(), avail.right() - f.width() + 1));
    f.moveTop(std::clamp(f.top(), avail.top(), avail.bottom() - f.height() + 1));
    setFrame(f, true);
}

void PvThemeWindow::resizeEvent(QResizeEvent* event)
{
    m_frameView->setGeometry(rect());
    PvWindow::resizeEvent(event);
}

void PvThemeWindow::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::WindowTitleChange)
        m_frameView->updateTitleString();
    else if (event->type() == QEvent::ActivationChange)
        m_frameView->update();
    PvWindow::changeEvent(event);
}

// ---- dragging ---------------------------------------------------------------------

void PvThemeWindow::mouseDownAt(const QPointF& point, const QPointF& globalPoint, int clickCount)
{
    raise();
    if (isWindow())
        activateWindow();
    if (clickCount == 2 && m_frameView->titleFrame().contains(point)) {
        m_dragging = false;
        performMiniaturize();
        return;
    }
    m_StartMouseLocationInScreen = globalPoint;
    m_StartWindowFrame = geometry();
    m_doResizeWindow = isResizable() && m_frameView->resizeCornerFrame().contains(point);
    m_dragging = true;
}

void PvThemeWindow::mouseDraggedTo(const QPointF& globalPoint)
{
    if (!m_dragging)
        return;
    const QPoint delta = (globalPoint - m_StartMouseLocationInScreen).toPoint();
    if (!m_doResizeWindow) {
        move(m_StartWindowFrame.topLeft() + delta);
        return;
    }
    // The bottom-right corner follows the mouse.
    QSize size = (m_StartWindowFrame.size() + QSize(delta.x(), delta.y())).expandedTo(minimumSize());
    if (PvWindowDelegate* d = delegate())
        if (auto answer = d->windowWillResize(this, size))
            size = *answer;
    setFrame(QRect(m_StartWindowFrame.topLeft(), size), true);
}

void PvThemeWindow::mouseUpAt()
{
    m_dragging = false;
    m_doResizeWindow = false;
}
