#include "PVIconButtonCell.h"

#include "PvControl.h"

#include <QApplication>
#include <QPainter>
#include <QTextDocument>

#include <cmath>

std::unique_ptr<PvCell> PVIconButtonCell::clone() const
{
    auto copy = std::make_unique<PVIconButtonCell>();
    copyIconSettingsTo(*copy);
    return copy;
}

void PVIconButtonCell::copyIconSettingsTo(PVIconButtonCell& other) const
{
    copyButtonSettingsTo(other);
    other.m_backgroundColor = m_backgroundColor;
    other.m_highlightedColor = m_highlightedColor;
    other.m_selectedColor = m_selectedColor;
    other.m_highlightedSelectedColor = m_highlightedSelectedColor;
    other.m_iconInset = m_iconInset;
}

QColor PVIconButtonCell::currentBackgroundColor() const
{
    const bool on = state() != OffState;
    if (isHighlighted() && on && m_highlightedSelectedColor.isValid())
        return m_highlightedSelectedColor;
    if (isHighlighted() && m_highlightedColor.isValid())
        return m_highlightedColor;
    if (on && m_selectedColor.isValid())
        return m_selectedColor;
    return m_backgroundColor;
}

void PVIconButtonCell::drawWithFrame(QPainter& painter, const QRectF& frame, PvControl* view)
{
    setControlView(view);
    const QPalette& pal = view ? view->palette() : QApplication::palette();
    const QColor fill = currentBackgroundColor();
    if (fill.isValid()) {
        painter.fillRect(frame, fill);
    } else if (isHighlighted()) {
        QColor h = pal.color(QPalette::Highlight);
        if (ringsSelection())
            h.setAlphaF(0.45f); // icons stay visible under the highlight
        painter.fillRect(frame, h);
    }
    // Without colours of its own the selected cell is ringed in the palette's highlight.
    if (state() != OffState && !m_selectedColor.isValid() && ringsSelection()) {
        painter.save();
        painter.setPen(QPen(pal.color(QPalette::Highlight), 2.0));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(frame.adjusted(1, 1, -1, -1));
        painter.restore();
    }
    drawInteriorWithFrame(painter, frame, view);
}

void PVIconButtonCell::drawInteriorWithFrame(QPainter& painter, const QRectF& frame, PvControl* view)
{
    if (!isEnabled() && !hasImage())
        return; // padding and gaps show nothing
    const QRectF inner = frame.adjusted(
        m_iconInset.width(), m_iconInset.height(), -m_iconInset.width(), -m_iconInset.height());
    if (hasImage()) {
        painter.save();
        drawPictureCentred(painter, imageForState(currentButtonState()), inner);
        painter.restore();
    } else {
        PvCell::drawInteriorWithFrame(painter, inner, view);
    }
}

// ---- PVMenuButtonCell ---------------------------------------------------------------

std::unique_ptr<PvCell> PVMenuButtonCell::clone() const
{
    auto copy = std::make_unique<PVMenuButtonCell>();
    copyIconSettingsTo(*copy);
    copy->m_attributedTitle = m_attributedTitle;
    copy->m_titleColor = m_titleColor;
    copy->m_highlightedTitleColor = m_highlightedTitleColor;
    copy->m_selectionIndicatorImage = m_selectionIndicatorImage;
    copy->m_highlightedSelectionIndicatorImage = m_highlightedSelectionIndicatorImage;
    copy->m_selectionIndicatorString = m_selectionIndicatorString;
    copy->m_leftSpacing = m_leftSpacing;
    copy->m_selectionInnerSpacing = m_selectionInnerSpacing;
    copy->m_iconSpacing = m_iconSpacing;
    copy->m_titleSpacing = m_titleSpacing;
    copy->m_rightTitleSpacing = m_rightTitleSpacing;
    copy->m_separator = m_separator;
    copy->m_disableFontSmoothing = m_disableFontSmoothing;
    return copy;
}

void PVMenuButtonCell::setTitle(const QString& title)
{
    setStringValue(title);
}

void PVMenuButtonCell::setSeparator(bool separator)
{
    m_separator = separator;
    if (separator)
        setEnabled(false);
    setNeedsDisplay();
}

void PVMenuButtonCell::drawInteriorWithFrame(QPainter& painter, const QRectF& frame, PvControl* view)
{
    const QPalette& pal = view ? view->palette() : QApplication::palette();
    painter.save();
    if (m_separator) {
        QColor line = m_titleColor.isValid() ? m_titleColor : pal.color(QPalette::WindowText);
        line.setAlphaF(0.3f);
        const qreal y = std::floor(frame.center().y()) + 0.5;
        painter.setPen(QPen(line, 1.0));
        painter.drawLine(QPointF(frame.left() + m_leftSpacing, y), QPointF(frame.right() - m_leftSpacing, y));
        painter.restore();
        return;
    }
    const bool lit = isHighlighted() && isEnabled();
    QColor text = lit
        ? (m_highlightedTitleColor.isValid() ? m_highlightedTitleColor : pal.color(QPalette::HighlightedText))
        : (m_titleColor.isValid() ? m_titleColor : pal.color(QPalette::Text));
    if (!isEnabled())
        text.setAlphaF(text.alphaF() * 0.45f);
    QFont font = hasFont() ? this->font() : (view ? view->font() : QApplication::font());
    if (m_disableFontSmoothing)
        font.setStyleStrategy(QFont::NoAntialias);
    painter.setFont(font);

    qreal x = frame.left() + m_leftSpacing;
    // The selection indicator, in a column of its own.
    if (state() != OffState) {
        const QRectF box(x, frame.top(), m_selectionInnerSpacing, frame.height());
        const QPixmap pic = lit && !m_highlightedSelectionIndicatorImage.isNull()
            ? m_highlightedSelectionIndicatorImage
            : m_selectionIndicatorImage;
        if (!pic.isNull()) {
            drawPictureCentred(painter, pic, box);
        } else {
            painter.setPen(text);
            const QString mark = m_selectionIndicatorString.isEmpty() ? QStringLiteral("\u2713")
                                                                      : m_selectionIndicatorString;
            painter.drawText(pv_uprightRect(painter, box), Qt::AlignCenter | Qt::TextSingleLine, mark);
        }
    }
    x += m_selectionInnerSpacing;
    // The icon at its size (shrunk to the cell's height).
    const QPixmap icon = imageForState(currentButtonState());
    if (!icon.isNull()) {
        QSizeF size = icon.deviceIndependentSize();
        const qreal room = frame.height() - 2 * iconInset().height();
        if (size.height() > room)
            size.scale(QSizeF(1e6, room), Qt::KeepAspectRatio);
        drawPictureCentred(painter, icon, QRectF(x, frame.top(), size.width(), frame.height()));
        x += size.width() + m_iconSpacing;
    }
    x += m_titleSpacing;
    const QRectF titleBox(x, frame.top(), frame.right() - m_rightTitleSpacing - x, frame.height());
    if (titleBox.width() > 0) {
        const QRectF box = pv_uprightRect(painter, titleBox);
        if (!m_attributedTitle.isEmpty()) {
            QTextDocument doc;
            doc.setDefaultFont(font);
            doc.setDocumentMargin(0);
            doc.setDefaultStyleSheet(QStringLiteral("body { color: %1; }").arg(text.name(QColor::HexArgb)));
            doc.setHtml(QStringLiteral("<body>%1</body>").arg(m_attributedTitle));
            const qreal h = doc.size().height();
            painter.translate(box.left(), box.top() + (box.height() - h) / 2);
            doc.drawContents(&painter, QRectF(0, 0, box.width(), h));
        } else {
            painter.setPen(text);
            painter.drawText(box, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                painter.fontMetrics().elidedText(title(), Qt::ElideRight, int(box.width())));
        }
    }
    painter.restore();
}
