#include "PvButtonCell.h"

#include "PvControl.h"
#include "PvResourceProvider.h"

#include <QApplication>
#include <QPainter>
#include <QStyle>
#include <QStyleOptionButton>

namespace {

// The provider state each button state loads.
constexpr int kProviderState[6] = {0, 1, 2, 3, 1, 2};

} // namespace

PvButtonCell::PvButtonCell()
{
    setAlignment(Qt::AlignCenter);
}

PvButtonCell::PvButtonCell(const QString& title)
    : PvCell(title)
{
    setAlignment(Qt::AlignCenter);
}

std::unique_ptr<PvCell> PvButtonCell::clone() const
{
    auto copy = std::make_unique<PvButtonCell>();
    copyButtonSettingsTo(*copy);
    return copy;
}

void PvButtonCell::copyButtonSettingsTo(PvButtonCell& other) const
{
    copySettingsTo(other);
    other.m_images = m_images;
    other.m_imageID = m_imageID;
    other.m_stateMask = m_stateMask;
}

void PvButtonCell::setImage(const QPixmap& image, ButtonState state)
{
    m_images[size_t(state)] = image;
    setNeedsDisplay();
}

void PvButtonCell::setImageID(int32_t imageID, uint32_t stateMask)
{
    m_imageID = imageID;
    m_stateMask = imageID == kImage_None ? 0 : (stateMask & PVStateAllMask);
    reloadImages();
}

void PvButtonCell::reloadImages()
{
    if (m_imageID == kImage_None && m_stateMask == 0 && !hasImage())
        return;
    PvResourceProvider* provider = PvResourceProvider::defaultResourceProvider();
    for (size_t s = 0; s < m_images.size(); ++s)
        m_images[s]
            = (m_stateMask & (1u << s)) ? provider->imageForID(m_imageID, kProviderState[s]) : QPixmap();
    setNeedsDisplay();
}

PvButtonCell::ButtonState PvButtonCell::currentButtonState() const
{
    const int base = state() != OffState ? NormalOnState : NormalState;
    if (!isEnabled())
        return ButtonState(base + DisabledState);
    if (isHighlighted())
        return ButtonState(base + HighlightedState);
    return ButtonState(base);
}

QPixmap PvButtonCell::imageForState(ButtonState state) const
{
    const auto at = [this](int s) { return m_images[size_t(s)]; };
    if (!at(state).isNull())
        return at(state);
    const int variant = state % 3; // normal, highlighted or disabled
    if (state >= NormalOnState) {
        if (!at(variant).isNull() && variant != NormalState)
            return at(variant);
        if (!at(NormalOnState).isNull())
            return at(NormalOnState);
    }
    return at(NormalState);
}

bool PvButtonCell::hasImage() const
{
    for (const QPixmap& p : m_images)
        if (!p.isNull())
            return true;
    return false;
}

void PvButtonCell::drawPictureCentred(QPainter& painter, const QPixmap& picture, const QRectF& rect)
{
    if (picture.isNull() || rect.isEmpty())
        return;
    QSizeF size = picture.deviceIndependentSize();
    if (size.width() > rect.width() || size.height() > rect.height())
        size.scale(rect.size(), Qt::KeepAspectRatio);
    const QRectF target(rect.center().x() - size.width() / 2, rect.center().y() - size.height() / 2,
        size.width(), size.height());
    const QRectF box = pv_uprightRect(painter, target);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, size != picture.deviceIndependentSize());
    painter.drawPixmap(box, picture, QRectF(QPointF(0, 0), QSizeF(picture.size())));
}

void PvButtonCell::drawWithFrame(QPainter& painter, const QRectF& frame, PvControl* view)
{
    setControlView(view);
    if (!hasImage()) {
        // The platform's push button.
        QStyleOptionButton option;
        if (view)
            option.initFrom(view);
        option.rect = frame.toAlignedRect();
        option.state &= ~(QStyle::State_Sunken | QStyle::State_On | QStyle::State_Enabled);
        if (isEnabled())
            option.state |= QStyle::State_Enabled;
        if (isHighlighted())
            option.state |= QStyle::State_Sunken;
        if (state() != OffState)
            option.state |= QStyle::State_On;
        option.text = stringValue();
        QStyle* style = view ? view->style() : QApplication::style();
        style->drawControl(QStyle::CE_PushButton, &option, &painter, view);
        return;
    }
    drawInteriorWithFrame(painter, frame, view);
}

void PvButtonCell::drawInteriorWithFrame(QPainter& painter, const QRectF& frame, PvControl*)
{
    painter.save();
    drawPictureCentred(painter, imageForState(currentButtonState()), frame);
    painter.restore();
}

QSizeF PvButtonCell::cellSize() const
{
    if (!hasImage())
        return PvCell::cellSize();
    return imageForState(NormalState)
        .deviceIndependentSize()
        .expandedTo(imageForState(currentButtonState()).deviceIndependentSize());
}
