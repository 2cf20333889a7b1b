#include "PvWindow.h"

#include <QApplication>
#include <QCloseEvent>

#include <algorithm>

PvWindowDelegate::~PvWindowDelegate() = default;

std::optional<QSize> PvWindowDelegate::windowWillResize(PvWindow*, const QSize&)
{
    return std::nullopt;
}

std::optional<QStringList> PvWindowDelegate::texturedWindowGetImageNamesSet(PvWindow*)
{
    return std::nullopt;
}

PvWindow::PvWindow(QWidget* parent, Qt::WindowFlags flags)
    : QWidget(parent, flags)
{
}

PvWindow::~PvWindow()
{
    if (!m_showToolTip)
        qApp->removeEventFilter(this);
}

void PvWindow::setShowToolTip(bool show)
{
    if (show == m_showToolTip)
        return;
    m_showToolTip = show;
    // Tool tip events go to the widget under the mouse, not to the window, so they are
    // caught on their way through the application while the tips are off.
    if (show)
        qApp->removeEventFilter(this);
    else
        qApp->installEventFilter(this);
}

bool PvWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (!m_showToolTip && event->type() == QEvent::ToolTip && watched->isWidgetType()
        && static_cast<QWidget*>(watched)->window() == this) {
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

void PvWindow::setWindowIsClosable(bool closable)
{
    m_preventFromClosing = !closable;
}

bool PvWindow::performClose()
{
    return close();
}

void PvWindow::setAlphaValue(float alpha)
{
    m_alphaValue = std::clamp(alpha, 0.0f, 1.0f);
    setWindowOpacity(m_alphaValue);
}

void PvWindow::closeEvent(QCloseEvent* event)
{
    if (m_preventFromClosing) {
        event->ignore();
        return;
    }
    QWidget::closeEvent(event);
}
