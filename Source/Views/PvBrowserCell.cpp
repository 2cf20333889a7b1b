#include "PvBrowserCell.h"

#include "PvControl.h"

#include <QApplication>
#include <QFontMetricsF>
#include <QPainter>
#include <QWindow>

#include <algorithm>
#include <cmath>

namespace {

bool counts(const QPixmap& image)
{
    const QSizeF size = image.deviceIndependentSize();
    return size.width() > 0 && size.height() > 0;
}

QFont fontIn(const PvCell& cell, const PvControl* view)
{
    if (cell.hasFont())
        return cell.font();
    return view ? view->font() : QApplication::font();
}

QPalette paletteIn(const PvControl* view)
{
    return view ? view->palette() : QApplication::palette();
}

} // namespace

PvBrowserCell::PvBrowserCell() = default;

PvBrowserCell::PvBrowserCell(const QString& text)
    : PvCell(text)
{
}

PvBrowserCell::PvBrowserCell(const QString& text, const QPixmap& iconImage)
    : PvCell(text)
    , m_image(iconImage)
{
}

PvBrowserCell::PvBrowserCell(const QPixmap& image)
    : m_image(image)
{
}

std::unique_ptr<PvCell> PvBrowserCell::clone() const
{
    auto copy = std::make_unique<PvBrowserCell>();
    copySettingsTo(*copy);
    copy->m_isLeaf = m_isLeaf;
    copy->m_isLoaded = m_isLoaded;
    copy->m_image = m_image;
    copy->m_alternateImage = m_alternateImage;
    copy->m_leftImage = m_leftImage;
    copy->m_imageInset = m_imageInset;
    copy->m_leftImageInset = m_leftImageInset;
    copy->m_drawsBackground = m_drawsBackground;
    copy->m_drawsBranchImage = m_drawsBranchImage;
    copy->m_absolutePath = m_absolutePath;
    return copy;
}

void PvBrowserCell::setLeaf(bool leaf)
{
    m_isLeaf = leaf;
    m_drawsBranchImage = !leaf;
    setNeedsCalc();
}

void PvBrowserCell::setImage(const QPixmap& image)
{
    m_image = image;
    setNeedsCalc();
}

void PvBrowserCell::setAlternateImage(const QPixmap& image)
{
    m_alternateImage = image;
    setNeedsCalc();
}

void PvBrowserCell::setLeftImage(const QPixmap& image)
{
    m_leftImage = image;
    setNeedsCalc();
}

void PvBrowserCell::setImageInset(const QPointF& inset)
{
    m_imageInset = inset;
    setNeedsCalc();
}

void PvBrowserCell::setLeftImageInset(const QPointF& inset)
{
    m_leftImageInset = inset;
    setNeedsCalc();
}

void PvBrowserCell::setDrawsBackground(bool draws)
{
    m_drawsBackground = draws;
    setNeedsCalc();
}

void PvBrowserCell::setDrawsBranchImage(bool draws)
{
    m_drawsBranchImage = draws;
    setNeedsCalc();
}

void PvBrowserCell::setObjectValue(QVariant value)
{
    PvCell::setObjectValue(std::move(value));
    setNeedsCalc();
}

void PvBrowserCell::setEnabled(bool enabled)
{
    PvCell::setEnabled(enabled);
    setNeedsCalc();
}

void PvBrowserCell::setState(int state)
{
    PvCell::setState(state);
    setNeedsCalc();
}

void PvBrowserCell::reset()
{
    setHighlighted(false);
    setState(OffState);
}

void PvBrowserCell::set()
{
    setHighlighted(true);
    setState(OnState);
}

QColor PvBrowserCell::highlightColorInView(const PvControl* view)
{
    const QPalette palette = paletteIn(view);
    const bool key = view && view->hasFocus() && view->isActiveWindow();
    return palette.color(key ? QPalette::Active : QPalette::Inactive, QPalette::Highlight);
}

QPixmap PvBrowserCell::branchPixmap(bool highlighted, const PvControl* view, double dpr)
{
    const QSize pixels(
        int(std::ceil(kBranchImageSize.width() * dpr)), int(std::ceil(kBranchImageSize.height() * dpr)));
    QPixmap pixmap(pixels);
    pixmap.setDevicePixelRatio(dpr);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    // A solid triangle in the text colour: styles draw their arrows faint, which gets lost
    // on a dark list.
    const QPalette palette = paletteIn(view);
    const QColor color
        = palette.color(QPalette::Active, highlighted ? QPalette::HighlightedText : QPalette::Text);
    const qreal w = kBranchImageSize.width(), h = kBranchImageSize.height();
    const QPointF tip(w - 1.5, h / 2);
    const QPointF triangle[3] = {QPointF(1.5, 1), QPointF(1.5, h - 1), tip};
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawPolygon(triangle, 3);
    return pixmap;
}

namespace {

double ratioFor(const PvControl* view, double devicePixelRatio)
{
    if (devicePixelRatio > 0.0)
        return devicePixelRatio;
    return view ? view->devicePixelRatioF() : 1.0;
}

} // namespace

void PvBrowserCell::calcDrawInfo(const QRectF& frame, const PvControl* view, double devicePixelRatio)
{
    DrawInfo info;
    info.cellFrame = frame;
    const bool selected = showsSelected();
    info.backgroundColor = selected ? highlightColorInView(view) : paletteIn(view).color(QPalette::Base);

    info.image = selected && counts(m_alternateImage) ? m_alternateImage : m_image;
    if (counts(info.image))
        info.imageSize = info.image.deviceIndependentSize();
    else
        info.image = QPixmap();
    if (counts(m_leftImage)) {
        info.leftImage = m_leftImage;
        info.leftImageSize = m_leftImage.deviceIndependentSize();
    }
    const double dpr = ratioFor(view, devicePixelRatio);
    if (m_drawsBranchImage) {
        info.branchImage = branchPixmap(isHighlighted(), view, dpr);
        info.branchImageSize = kBranchImageSize;
    }

    const double x = frame.x(), y = frame.y(), w = frame.width(), h = frame.height();
    const double top = y + 1.0;
    const double innerHeight = h - 2.0;
    const double leftStart = x + 3.0;
    const bool hasLeft = !info.leftImage.isNull();
    const bool hasIcon = !info.image.isNull();
    const bool hasBranch = !info.branchImage.isNull();
    const double textStart = hasLeft ? leftStart + info.leftImageSize.width() + 2.0 : leftStart;

    info.leftImagePos = QPointF(x + 3.0 + m_leftImageInset.x(),
        std::floor((innerHeight - info.leftImageSize.height()) / 2.0) + m_leftImageInset.y() + top);
    info.imagePos = QPointF(textStart + m_imageInset.x(),
        std::floor((innerHeight - info.imageSize.height()) / 2.0) + m_imageInset.y() + top);
    const double rightLimit = x + w - 3.0 - info.branchImageSize.width();
    info.branchImagePos
        = QPointF(rightLimit, std::floor((innerHeight - info.branchImageSize.height()) / 2.0) + top);

    double textX = textStart + info.imageSize.width();
    if (hasIcon || hasLeft)
        textX += 4.0;
    double textWidth = rightLimit - textX;
    if (hasBranch)
        textWidth -= 2.0;
    info.textFrame = QRectF(textX, top, textWidth, innerHeight);
    if (textWidth > 0) {
        const double textHeight = std::min(innerHeight, QFontMetricsF(fontIn(*this, view)).height());
        info.textFrame.setY(top + std::floor((innerHeight - textHeight) / 2.0));
        info.textFrame.setHeight(textHeight);
    }

    m_drawInfo = info;
    m_needsCalcDrawInfo = false;
    m_drawInfoSelected = selected;
    m_drawInfoDpr = dpr;
    m_drawInfoPalette = paletteIn(view).cacheKey();
}

const PvBrowserCell::DrawInfo& PvBrowserCell::getCalcedDrawInfo(
    const QRectF& frame, const PvControl* view, double devicePixelRatio)
{
    const double dpr = ratioFor(view, devicePixelRatio);
    if (m_needsCalcDrawInfo || frame != m_drawInfo.cellFrame || showsSelected() != m_drawInfoSelected
        || dpr != m_drawInfoDpr || paletteIn(view).cacheKey() != m_drawInfoPalette)
        calcDrawInfo(frame, view, dpr);
    return m_drawInfo;
}

double PvBrowserCell::contentWidthForCellFrame(const QRectF& frame, const PvControl* view)
{
    const DrawInfo& info = getCalcedDrawInfo(QRectF(frame.x(), frame.y(), 0.0, frame.height()), view);
    double width = info.textFrame.x() - frame.x();
    const QString text = stringValue();
    if (!text.isEmpty())
        width += QFontMetricsF(fontIn(*this, view)).horizontalAdvance(text);
    if (!info.branchImage.isNull())
        width += 2.0;
    width += info.branchImageSize.width() + 3.0;
    return std::ceil(width);
}

QSizeF PvBrowserCell::cellSizeForBounds(const QRectF& bounds, const PvControl* view)
{
    double height = stringValue().isEmpty() ? 0.0 : QFontMetricsF(fontIn(*this, view)).height();
    auto taller = [&height](const QPixmap& image) {
        if (counts(image))
            height = std::max(height, image.deviceIndependentSize().height());
    };
    taller(m_image);
    taller(m_alternateImage);
    taller(m_leftImage);
    if (m_drawsBranchImage)
        height = std::max(height, kBranchImageSize.height());
    height = std::ceil(height) + 2.0;
    const double width = contentWidthForCellFrame(QRectF(bounds.topLeft(), QSizeF(0.0, height)), view);
    return QSizeF(std::min(width, bounds.width()), std::min(height, bounds.height()));
}

QSizeF PvBrowserCell::cellSize() const
{
    // The layout cache is not part of the cell's observable state; a copy measures.
    auto copy = clone();
    return static_cast<PvBrowserCell*>(copy.get())->cellSizeForBounds(QRectF(0, 0, 1e9, 1e9), controlView());
}

void PvBrowserCell::drawWithFrame(QPainter& painter, const QRectF& frame, PvControl* view)
{
    drawInteriorWithFrame(painter, frame, view);
}

void PvBrowserCell::drawInteriorWithFrame(QPainter& painter, const QRectF& frame, PvControl* view)
{
    setControlView(view);
    drawContents(painter, frame, view, showsSelected(), true);
}

void PvBrowserCell::drawContents(
    QPainter& painter, const QRectF& frame, PvControl* view, bool selectedLook, bool fillBackground)
{
    // The arrow is made for the device drawn on, so it stays sharp in pictures at 2x too.
    const DrawInfo& info = getCalcedDrawInfo(frame, view, painter.device()->devicePixelRatioF());
    const QPalette palette = paletteIn(view);
    if (fillBackground) {
        if (selectedLook)
            painter.fillRect(frame, info.backgroundColor);
        else if (m_drawsBackground)
            painter.fillRect(frame, palette.color(QPalette::Base));
    }
    painter.save();
    painter.setOpacity(painter.opacity() * (isEnabled() ? 1.0 : 0.6));
    if (!info.leftImage.isNull())
        painter.drawPixmap(QRectF(info.leftImagePos, info.leftImageSize), info.leftImage, QRectF());
    if (!info.image.isNull())
        painter.drawPixmap(QRectF(info.imagePos, info.imageSize), info.image, QRectF());
    if (!info.branchImage.isNull())
        painter.drawPixmap(QRectF(info.branchImagePos, info.branchImageSize), info.branchImage, QRectF());
    painter.restore();

    const QString text = stringValue();
    if (text.isEmpty() || info.textFrame.width() <= 0)
        return;
    painter.save();
    const QFont font = fontIn(*this, view);
    painter.setFont(font);
    QPalette::ColorGroup group = isEnabled() ? QPalette::Active : QPalette::Disabled;
    painter.setPen(palette.color(group, selectedLook ? QPalette::HighlightedText : QPalette::Text));
    const QString shown = QFontMetricsF(font).elidedText(text, Qt::ElideMiddle, info.textFrame.width());
    painter.drawText(info.textFrame, int(Qt::AlignLeft | Qt::AlignVCenter) | Qt::TextSingleLine, shown);
    painter.restore();
}

QPixmap PvBrowserCell::getImageOfContents(const QRectF& frame, PvControl* view, bool withBackground)
{
    const double dpr = view ? view->devicePixelRatioF() : 1.0;
    const QSize pixels(int(std::ceil(frame.width() * dpr)), int(std::ceil(frame.height() * dpr)));
    QPixmap pixmap(pixels.expandedTo(QSize(1, 1)));
    pixmap.setDevicePixelRatio(dpr);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    const QRectF local(QPointF(0, 0), frame.size());
    const bool selected = withBackground && showsSelected();
    if (withBackground && !selected)
        painter.fillRect(local, paletteIn(view).color(QPalette::Base));
    // Drawn without a background the row takes its unselected look, highlight included.
    const bool highlighted = isHighlighted();
    const int state = PvCell::state();
    if (!withBackground && showsSelected()) {
        setHighlighted(false);
        PvCell::setState(OffState);
    }
    drawContents(painter, local, view, selected, selected);
    if (!withBackground) {
        setHighlighted(highlighted);
        PvCell::setState(state);
    }
    setNeedsCalc();
    return pixmap;
}
