#include "PvToolTipWindow.h"

#include "PvWindow.h"

#include <QCursor>
#include <QEvent>

#include <cmath>

namespace {

// The shared window. It is parented to the window it is attached to, so it may be
// destroyed with that window; the guarded pointer notices.
QPointer<PvToolTipWindow>& shared()
{
    static QPointer<PvToolTipWindow> window;
    return window;
}

} // namespace

PvToolTipWindow::PvToolTipWindow()
    : QWidget(nullptr, Qt::ToolTip | Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus)
    , m_stringView(new PvDynamicStringView(this))
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setFocusPolicy(Qt::NoFocus);
}

PvToolTipWindow* PvToolTipWindow::sharedToolTipWindow()
{
    if (!shared())
        shared() = new PvToolTipWindow;
    return shared();
}

PvToolTipWindow* PvToolTipWindow::existingToolTipWindow()
{
    return shared();
}

void PvToolTipWindow::showToolTipWindowForView(
    QWidget* view, PvToolTipStringSource* object, int tag, const QPointF& position)
{
    PvToolTipWindow* tip = sharedToolTipWindow();
    tip->hide();
    if (!view || !object)
        return;
    tip->m_stringView->setObject(object, tag);
    tip->showInView(view, position);
    if (auto* w = qobject_cast<PvWindow*>(view->window()))
        w->setShowToolTip(false);
}

void PvToolTipWindow::setToolTipPosition(const QPointF& position, QWidget* view)
{
    if (PvToolTipWindow* tip = existingToolTipWindow())
        tip->setPosition(position, view);
}

void PvToolTipWindow::updateToolTipPosition(const QPointF& pointInView, QWidget* view)
{
    if (!view)
        return;
    setToolTipPosition(view->mapTo(view->window(), pointInView), view);
}

void PvToolTipWindow::closeToolTipWindow()
{
    if (PvToolTipWindow* tip = existingToolTipWindow())
        tip->hide();
}

void PvToolTipWindow::closeToolTipWindowIfCurrentlyMine(const PvToolTipStringSource* object)
{
    PvToolTipWindow* tip = existingToolTipWindow();
    if (tip && object && tip->m_stringView->object() == object)
        tip->hide();
}

void PvToolTipWindow::showInView(QWidget* view)
{
    showInView(view, QPointF(0, 0));
}

void PvToolTipWindow::showInView(QWidget* view, const QPointF& position)
{
    if (!view)
        return;
    QWidget* window = view->window();
    if (m_parentWindow != window) {
        // Attached to the view's window while shown, so it stays above it and goes away
        // with it.
        if (m_parentWindow)
            m_parentWindow->removeEventFilter(this);
        setParent(window, windowFlags());
        m_parentWindow = window;
        window->installEventFilter(this);
    }
    place(position, window);
    show();
}

void PvToolTipWindow::setPosition(const QPointF& position, QWidget* view)
{
    if (!view || !isVisible())
        return;
    place(position, view->window());
}

void PvToolTipWindow::updateAtMousePositionForView(QWidget* view)
{
    if (!view)
        return;
    setPosition(view->window()->mapFromGlobal(QCursor::pos()), view);
}

void PvToolTipWindow::place(const QPointF& position, QWidget* window)
{
    const QSize size = PvDynamicStringView::sizeForString(m_stringView->currentString());
    const QPointF origin
        = QPointF(window->mapToGlobal(QPoint(0, 0))) + position + QPointF(0, kVerticalOffset);
    // Truncated to whole points, as the platform placed its windows.
    setGeometry(QRect(QPoint(int(std::trunc(origin.x())), int(std::trunc(origin.y()))), size));
    m_stringView->setGeometry(rect());
    m_stringView->update();
}

void PvToolTipWindow::hide()
{
    QWidget* parentWindow = m_parentWindow;
    QWidget::hide();
    m_stringView->setObject(nullptr, 0);
    if (parentWindow) {
        parentWindow->removeEventFilter(this);
        setParent(nullptr, windowFlags());
        m_parentWindow = nullptr;
        if (auto* w = qobject_cast<PvWindow*>(parentWindow))
            w->setShowToolTip(true);
    }
}

bool PvToolTipWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_parentWindow && event->type() == QEvent::Hide)
        hide();
    return QWidget::eventFilter(watched, event);
}
