#include "DfStereoLevelMeterView.h"

#include "PvResourceProvider.h"

#include <QPainter>

#include <optional>

DfStereoLevelMeterView::DfStereoLevelMeterView(QWidget* parent)
    : PvControl(parent)
    , m_cellL(std::make_unique<PvLevelMeterCell>())
    , m_cellR(std::make_unique<PvLevelMeterCell>())
{
    // A meter is looked at, not typed into.
    setFocusPolicy(Qt::NoFocus);
    adoptCell(m_cellL.get());
    adoptCell(m_cellR.get());
    m_cellL->setAccessibilityLabel(tr("Left"));
    m_cellR->setAccessibilityLabel(tr("Right"));
}

DfStereoLevelMeterView::DfStereoLevelMeterView(const QRect& frame, QWidget* parent)
    : DfStereoLevelMeterView(parent)
{
    setGeometry(frame);
}

DfStereoLevelMeterView::~DfStereoLevelMeterView() = default;

void DfStereoLevelMeterView::setImageIDs(int32_t levelMeterImageID, int32_t peakLEDImageID)
{
    m_ImageIDLevel = levelMeterImageID;
    m_ImageIDPeak = peakLEDImageID;
    forBoth(&PvLevelMeterCell::setImageIDs, levelMeterImageID, peakLEDImageID);
    updateGeometry();
    update();
}

void DfStereoLevelMeterView::setLEDCount(uint32_t count)
{
    forBoth(&PvLevelMeterCell::setLEDCount, count);
}

void DfStereoLevelMeterView::setFallBackStep(float step)
{
    forBoth(&PvLevelMeterCell::setFallBackStep, step);
}

void DfStereoLevelMeterView::setFallBackStepTime(double seconds)
{
    forBoth(&PvLevelMeterCell::setFallBackStepTime, seconds);
}

void DfStereoLevelMeterView::setMaxLevelHoldTime(double seconds)
{
    forBoth(&PvLevelMeterCell::setMaxLevelHoldTime, seconds);
}

void DfStereoLevelMeterView::setOnStateLEDInset(float inset)
{
    forBoth(&PvLevelMeterCell::setOnStateLEDInset, inset);
}

void DfStereoLevelMeterView::setLevelL(float left, float right, bool force)
{
    m_cellL->setLevel(left, force);
    m_cellR->setLevel(right, force);
}

void DfStereoLevelMeterView::setPadding(int padding)
{
    m_padding = padding;
    updateGeometry();
    update();
}

void DfStereoLevelMeterView::getCellFrames(QRectF* left, QRectF* right) const
{
    cellFramesForHeight(m_cellR->cellHeight(), left, right);
}

void DfStereoLevelMeterView::cellFramesForHeight(qreal stripHeight, QRectF* left, QRectF* right) const
{
    const qreal p = m_padding;
    const qreal w = width() - 2 * p;
    const QRectF top(p, p, w, stripHeight);
    const QRectF bottom(p, height() - (p + stripHeight), w, stripHeight);
    // The left meter is the upper one whichever way y grows.
    const bool flipped = isFlipped();
    if (left)
        *left = flipped ? top : bottom;
    if (right)
        *right = flipped ? bottom : top;
}

QRectF DfStereoLevelMeterView::frameOfCell(const PvCell* cell) const
{
    QRectF left, right;
    getCellFrames(&left, &right);
    if (cell == m_cellL.get())
        return left;
    if (cell == m_cellR.get())
        return right;
    return {};
}

PvCell* DfStereoLevelMeterView::cellAtPoint(const QPointF& point, QRectF* frame) const
{
    QRectF left, right;
    getCellFrames(&left, &right);
    for (auto [cell, f] : {std::pair {m_cellL.get(), left}, std::pair {m_cellR.get(), right}}) {
        if (f.contains(point)) {
            if (frame)
                *frame = f;
            return cell;
        }
    }
    return nullptr;
}

QSize DfStereoLevelMeterView::sizeHint() const
{
    PvResourceProvider* provider = PvResourceProvider::defaultResourceProvider();
    const QSizeF strip = provider->imageSize(m_ImageIDLevel);
    if (strip.isEmpty())
        return PvControl::sizeHint();
    // The strip, a gap of 4 points and the clip LED side by side; both meters with one
    // padding between them, as at the edges.
    const QSizeF led = provider->imageSize(m_ImageIDPeak);
    const qreal width = strip.width() + (led.isEmpty() ? 0 : 4 + led.width());
    return QSizeF(width + 2 * m_padding, 2 * strip.height() + 3 * m_padding).toSize();
}

PvCell* DfStereoLevelMeterView::accessibleCellAt(int index) const
{
    return index == 0 ? m_cellL.get() : index == 1 ? m_cellR.get() : nullptr;
}

int DfStereoLevelMeterView::accessibleIndexOfCell(const PvCell* cell) const
{
    return cell == m_cellL.get() ? 0 : cell == m_cellR.get() ? 1 : -1;
}

void DfStereoLevelMeterView::setToolTips(PvToolTipOwner* levelOwner, PvToolTipOwner* peakOwner)
{
    for (int* tag : {&m_ToolTipTagLevelL, &m_ToolTipTagLevelR, &m_ToolTipTagPeakL, &m_ToolTipTagPeakR}) {
        if (*tag)
            removeToolTip(*tag);
        *tag = 0;
    }
    QRectF left, right;
    getCellFrames(&left, &right);
    PvResourceProvider* provider = PvResourceProvider::defaultResourceProvider();
    const QSizeF strip = provider->imageSize(m_ImageIDLevel);
    const QSizeF led = provider->imageSize(m_ImageIDPeak);
    // Where the cells draw them: standing on the bottom edge of each frame, the strip at
    // its left end, the clip LED at its right end (in the control's coordinates, so the
    // upper edge depends on which way y grows).
    auto place = [this](const QRectF& frame, const QSizeF& size, bool atRight) {
        const qreal x = atRight ? frame.right() - size.width() : frame.left();
        const qreal y = isFlipped() ? frame.bottom() - size.height() : frame.top();
        return QRectF(QPointF(x, y), size);
    };
    if (levelOwner) {
        m_ToolTipTagLevelL = addToolTipRect(place(left, strip, false), levelOwner);
        m_ToolTipTagLevelR = addToolTipRect(place(right, strip, false), levelOwner);
    }
    if (peakOwner) {
        m_ToolTipTagPeakL = addToolTipRect(place(left, led, true), peakOwner);
        m_ToolTipTagPeakR = addToolTipRect(place(right, led, true), peakOwner);
    }
}

void DfStereoLevelMeterView::mouseDown(const PvEvent&)
{
    QRectF left, right;
    getCellFrames(&left, &right);
    m_cellL->calculateInternalsFromCellFrame(left, this);
    m_cellR->calculateInternalsFromCellFrame(right, this);
    m_cellL->setPeak(false);
    m_cellR->setPeak(false);
    update();
    sendAction();
}

void DfStereoLevelMeterView::drawRect(QPainter& painter, const QRectF& dirtyRect)
{
    // Meters with the same pictures (the usual case) ask for them once for both.
    const int32_t strip = m_cellL->levelMeterImageID();
    const int32_t clip = m_cellL->peakLEDImageID();
    const bool shared = strip == m_cellR->levelMeterImageID() && clip == m_cellR->peakLEDImageID();
    std::optional<PvLevelMeterCell::Pictures> pictures;
    if (shared) {
        const bool peakL = m_cellL->isPeak(), peakR = m_cellR->isPeak();
        pictures.emplace(PvLevelMeterCell::pictures(strip, clip, !peakL || !peakR, peakL || peakR));
    }
    QRectF left, right;
    cellFramesForHeight(pictures ? pictures->stripSize.height() : m_cellR->cellHeight(), &left, &right);
    for (auto [cell, frame] : {std::pair {m_cellR.get(), right}, std::pair {m_cellL.get(), left}}) {
        if (!dirtyRect.intersects(frame))
            continue;
        if (pictures)
            cell->drawMeter(painter, frame, this, *pictures);
        else
            cell->drawMeter(painter, frame, this, cell->ownPictures());
    }
}

void DfStereoLevelMeterView::forEachCell(const std::function<void(PvCell*)>& f)
{
    f(m_cellL.get());
    f(m_cellR.get());
}
