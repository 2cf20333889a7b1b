#include "PvFrameView.h"

#include "PvThemeWindow.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

#include <cmath>

namespace {

constexpr qreal kTitleHeight = 22.0;
constexpr qreal kButtonSize = 12.0;
constexpr QSizeF kToolbarButtonSize {22.0, 11.0};
constexpr qreal kResizeCorner = 15.0;

QColor mix(const QColor& a, const QColor& b, qreal t)
{
    return QColor::fromRgbF(float(a.redF() + (b.redF() - a.redF()) * t),
        float(a.greenF() + (b.greenF() - a.greenF()) * t), float(a.blueF() + (b.blueF() - a.blueF()) * t));
}

bool isDark(const QPalette& pal)
{
    return pal.color(QPalette::Window).lightnessF() < 0.5;
}

// One of the round window buttons, or the toolbar pill.
class PvFrameButton : public QAbstractButton {
public:
    PvFrameButton(int kind, PvFrameView* frame)
        : QAbstractButton(frame)
        , m_kind(kind)
        , m_frame(frame)
    {
        setFocusPolicy(Qt::NoFocus);
        setAttribute(Qt::WA_Hover);
        static const char* const names[] = {"Close", "Minimize", "Zoom", "Toolbar"};
        setAccessibleName(QString::fromLatin1(names[kind]));
    }

protected:
    void enterEvent(QEnterEvent* e) override
    {
        if (m_kind != PvFrameView::ToolbarButton)
            setGroupHover(true);
        QAbstractButton::enterEvent(e);
    }
    void leaveEvent(QEvent* e) override
    {
        if (m_kind != PvFrameView::ToolbarButton)
            setGroupHover(false);
        QAbstractButton::leaveEvent(e);
    }
    void setGroupHover(bool inside);

    void paintEvent(QPaintEvent*) override
    {
        QPainter p(this);
        p.setRenderHint(QPainter::Antialiasing);
        const QPalette& pal = palette();
        const bool dark = isDark(pal);
        const bool active = window()->isActiveWindow() || m_frame->mouseInLeftGroup();
        const QRectF r = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
        if (m_kind == PvFrameView::ToolbarButton) {
            QColor fill = mix(pal.color(QPalette::Button), pal.color(QPalette::Light), dark ? 0.1 : 0.5);
            if (isDown())
                fill = fill.darker(120);
            p.setPen(QPen(pal.color(QPalette::Mid), 1.0));
            p.setBrush(fill);
            p.drawRoundedRect(r, r.height() / 2, r.height() / 2);
            return;
        }
        static const QColor colours[]
            = {QColor(0xfe, 0x5f, 0x57), QColor(0xfe, 0xbc, 0x2e), QColor(0x28, 0xc8, 0x40)};
        QColor fill = colours[m_kind];
        if (!isEnabled() || !active)
            fill = dark ? QColor(0x5a, 0x5a, 0x5e) : QColor(0xcf, 0xcf, 0xd2);
        if (isDown())
            fill = fill.darker(125);
        p.setPen(QPen(fill.darker(dark ? 140 : 118), 0.8));
        p.setBrush(fill);
        p.drawEllipse(r);
        const QPointF c = r.center();
        const qreal g = r.width() * 0.22;
        QPen glyph(QColor(0, 0, 0, isEnabled() ? 150 : 60), 1.2);
        glyph.setCapStyle(Qt::RoundCap);
        p.setPen(glyph);
        const auto* win = qobject_cast<const PvThemeWindow*>(m_frame->themeWindow());
        if (m_kind == PvFrameView::CloseButton && win && win->isDocumentEdited()
            && !m_frame->mouseInLeftGroup()) {
            p.setBrush(QColor(0, 0, 0, 140));
            p.setPen(Qt::NoPen);
            p.drawEllipse(c, 2.0, 2.0); // the edited document dot
            return;
        }
        if (!m_frame->mouseInLeftGroup() || !isEnabled())
            return;
        switch (m_kind) {
        case PvFrameView::CloseButton:
            p.drawLine(c + QPointF(-g, -g), c + QPointF(g, g));
            p.drawLine(c + QPointF(-g, g), c + QPointF(g, -g));
            break;
        case PvFrameView::MiniaturizeButton:
            p.drawLine(c + QPointF(-g - 0.5, 0), c + QPointF(g + 0.5, 0));
            break;
        default:
            p.drawLine(c + QPointF(-g - 0.5, 0), c + QPointF(g + 0.5, 0));
            p.drawLine(c + QPointF(0, -g - 0.5), c + QPointF(0, g + 0.5));
            break;
        }
    }

private:
    int m_kind;
    PvFrameView* m_frame;
};

void PvFrameButton::setGroupHover(bool inside)
{
    m_frame->setMouseInLeftGroup(inside);
}

} // namespace

PvFrameView::PvFrameView(PvThemeWindow* window)
    : QWidget(window)
    , m_window(window)
{
    m_closeButton = new PvFrameButton(CloseButton, this);
    m_miniButton = new PvFrameButton(MiniaturizeButton, this);
    m_zoomButton = new PvFrameButton(ZoomButton, this);
    connect(m_closeButton, &QAbstractButton::clicked, this, [this] { m_window->performClose(); });
    connect(m_miniButton, &QAbstractButton::clicked, this, [this] { m_window->performMiniaturize(); });
    connect(m_zoomButton, &QAbstractButton::clicked, this, [this] { m_window->performZoom(); });
    setMouseTracking(false);
    updateWindowButtons();
}

PvFrameView::~PvFrameView() = default;

qreal PvFrameView::titleHeight() const
{
    return kTitleHeight;
}

QRectF PvFrameView::titleFrame() const
{
    return QRectF(0, 0, width(), titleHeight());
}

QRectF PvFrameView::contentFrame() const
{
    return QRectF(0, titleHeight(), width(), std::max(0.0, height() - titleHeight()));
}

QRectF PvFrameView::resizeCornerFrame() const
{
    // The platform's square at (width - 15, 1) from the bottom, in downward coordinates.
    return QRectF(width() - kResizeCorner, height() - 1 - kResizeCorner, kResizeCorner, kResizeCorner);
}

QAbstractButton* PvFrameView::pvStandardWindowButton(int kind) const
{
    switch (kind) {
    case CloseButton:
        return m_closeButton;
    case MiniaturizeButton:
        return m_miniButton;
    case ZoomButton:
        return m_zoomButton;
    case ToolbarButton:
        return m_toolbarButton;
    default:
        return nullptr;
    }
}

void PvFrameView::updateWindowButtons()
{
    const qreal y = std::floor((titleHeight() - kButtonSize) / 2) - windowWidgetYOffset();
    QAbstractButton* buttons[] = {m_closeButton, m_miniButton, m_zoomButton};
    for (int i = 0; i < 3; ++i) {
        const qreal x = windowWidgetXOffset() + i * (kButtonSize + windowButtonDistance());
        buttons[i]->setGeometry(QRectF(x, y, kButtonSize, kButtonSize).toRect());
    }
    if (m_toolbarButton) {
        const qreal x = width() - kToolbarButtonSize.width() - windowButtonDistance() + toolbarButtonXDelta();
        const qreal ty
            = std::floor((titleHeight() - kToolbarButtonSize.height()) / 2) + toolbarButtonYDelta();
        m_toolbarButton->setGeometry(QRectF(QPointF(x, ty), kToolbarButtonSize).toRect());
    }
    updateButtonEnabledStates();
}

void PvFrameView::updateButtonEnabledStates()
{
    m_closeButton->setEnabled(m_window->isClosable() && m_window->windowIsClosable());
    m_miniButton->setEnabled(m_window->isMiniaturizable());
    m_zoomButton->setEnabled(m_window->isZoomable());
    const bool titled = m_window->pvStyleMask() & PvThemeWindow::TitledWindowMask;
    m_closeButton->setVisible(titled);
    m_miniButton->setVisible(titled);
    m_zoomButton->setVisible(titled);
}

void PvFrameView::updateTitleString()
{
    update(titleFrame().toAlignedRect());
    m_closeButton->update();
}

void PvFrameView::setMouseInLeftGroup(bool inside)
{
    if (inside == m_mouseInLeftGroup)
        return;
    m_mouseInLeftGroup = inside;
    m_closeButton->update();
    m_miniButton->update();
    m_zoomButton->update();
}

void PvFrameView::setContentView(QWidget* view)
{
    if (view == m_contentView)
        return;
    delete m_contentView;
    m_contentView = view;
    if (view) {
        view->setParent(this);
        view->show();
        view->lower(); // the buttons stay on top
    }
    layoutContent();
}

void PvFrameView::addToolbarWidget()
{
    if (m_toolbarButton)
        return;
    m_toolbarButton = new PvFrameButton(ToolbarButton, this);
    connect(m_toolbarButton, &QAbstractButton::clicked, this, [this] { m_window->toggleToolbar(); });
    m_toolbarButton->show();
    updateWindowButtons();
}

void PvFrameView::positionToolbarView(QWidget* view)
{
    if (!view)
        return;
    const QSize s = view->size();
    const qreal x = std::floor((width() - s.width()) / 2.0);
    const qreal y = titleHeight() + std::floor((m_toolbarHeight - s.height()) / 2.0);
    view->move(QPointF(x, y).toPoint());
}

void PvFrameView::layoutContent()
{
    if (m_contentView) {
        const qreal top = titleHeight() + (m_toolbarVisible ? m_toolbarHeight : 0.0);
        m_contentView->setGeometry(QRectF(0, top, width(), std::max(0.0, height() - top)).toRect());
    }
    if (m_toolbarVisible)
        positionToolbarView(m_toolbarView);
}

void PvFrameView::resizeEvent(QResizeEvent*)
{
    updateWindowButtons();
    layoutContent();
}

void PvFrameView::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::ActivationChange || event->type() == QEvent::PaletteChange)
        update();
    QWidget::changeEvent(event);
}

void PvFrameView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    m_window->mouseDownAt(event->position(), event->globalPosition(), 1);
}

void PvFrameView::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    m_window->mouseDownAt(event->position(), event->globalPosition(), 2);
}

void PvFrameView::mouseMoveEvent(QMouseEvent* event)
{
    if (event->buttons() & Qt::LeftButton)
        m_window->mouseDraggedTo(event->globalPosition());
}

void PvFrameView::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        m_window->mouseUpAt();
}

void PvFrameView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    drawFrame(painter);
}

void PvFrameView::drawTitle(QPainter& painter, const QRectF& rect, const QColor& color)
{
    QString title = m_window->windowTitle();
    title.replace(QLatin1String("[*]"), QString());
    if (title.isEmpty())
        return;
    QFont f = font();
    f.setWeight(QFont::DemiBold);
    painter.setFont(f);
    // Keep clear of the buttons on both sides.
    const qreal side = windowWidgetXOffset() + 3 * kButtonSize + 3 * windowButtonDistance();
    const QRectF textRect = rect.adjusted(side, 0, -side, 0);
    const QString shown = painter.fontMetrics().elidedText(title, Qt::ElideMiddle, int(textRect.width()));
    painter.setPen(color);
    painter.drawText(textRect, Qt::AlignCenter | Qt::TextSingleLine, shown);
}

void PvFrameView::drawFrame(QPainter& painter)
{
    const QPalette& pal = palette();
    const bool dark = isDark(pal);
    const bool active = isActiveWindow();
    const QColor window = pal.color(QPalette::Window);
    painter.fillRect(rect(), window);

    // Title bar and toolbar strip share one gradient, as one unified band.
    const qreal band = titleHeight() + (m_toolbarVisible ? m_toolbarHeight : 0.0);
    const QRectF bandRect(0, 0, width(), band);
    QLinearGradient g(bandRect.topLeft(), bandRect.bottomLeft());
    const QColor top
        = dark ? window.lighter(active ? 150 : 125) : mix(window, Qt::white, active ? 0.55 : 0.3);
    const QColor bottom
        = dark ? window.lighter(active ? 118 : 108) : mix(window, Qt::black, active ? 0.06 : 0.02);
    g.setColorAt(0, top);
    g.setColorAt(1, bottom);
    painter.fillRect(bandRect, g);
    // A light top edge and a dark separator under the band.
    painter.setPen(QColor(255, 255, 255, dark ? 40 : 160));
    painter.drawLine(QPointF(0, 0.5), QPointF(width(), 0.5));
    painter.setPen(dark ? QColor(0, 0, 0, 200) : window.darker(140));
    painter.drawLine(QPointF(0, band - 0.5), QPointF(width(), band - 0.5));

    QColor titleColor = pal.color(QPalette::WindowText);
    if (!active)
        titleColor = mix(titleColor, window, 0.45);
    drawTitle(painter, titleFrame(), titleColor);

    // Outline of the whole window.
    painter.setPen(dark ? QColor(0, 0, 0, 220) : window.darker(160));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5));

    if (m_window->isResizable()) {
        // Three grip lines in the resize corner.
        const QRectF c = resizeCornerFrame();
        painter.setRenderHint(QPainter::Antialiasing);
        for (int i = 0; i < 3; ++i) {
            const qreal d = 4.0 + i * 4.0;
            painter.setPen(QPen(dark ? QColor(255, 255, 255, 70) : QColor(0, 0, 0, 90), 1.0));
            painter.drawLine(QPointF(c.right() - d, c.bottom() - 1), QPointF(c.right() - 1, c.bottom() - d));
        }
    }
}
