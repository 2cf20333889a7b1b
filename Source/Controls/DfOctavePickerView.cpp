#include "DfOctavePickerView.h"

#include "PvBundleImage.h"

#include <QEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace {

// The pictures of each form, by name in the framework's bundle.
struct FormPictures {
    const char* background;
    const char* keys;
    uint32_t whiteKeys;
};
constexpr FormPictures kLargeForm {"octave-control-bg", "octave-glyphKeys", 75};
constexpr FormPictures kShortForm {"octave-control-bg-short", "octave-glyphKeys-short", 74};
constexpr const char* kLeftEdge = "octave-L_edge";
constexpr const char* kFill = "octave-fill";
constexpr const char* kRightEdge = "octave-R_edge";

// Height in points of the keyboard picture's lower edge above the view's lower edge.
constexpr qreal kKeyboardLift = 2.0;

} // namespace

DfOctavePickerView* DfOctavePickerView::octavePickerViewLarge(bool large)
{
    return new DfOctavePickerView(QRect(), large);
}

DfOctavePickerView::DfOctavePickerView(const QRect& frame, bool isLarge, QWidget* parent)
    : PvControl(parent)
    , m_totalNumWhiteKeys(isLarge ? kLargeForm.whiteKeys : kShortForm.whiteKeys)
    , m_isLarge(isLarge)
{
    setFocusPolicy(Qt::NoFocus);
    loadImages();
    m_totalKeysWidth = float(m_glyphKeysImage.deviceIndependentSize().width());
    setGeometry(QRect(frame.topLeft(), m_bgImage.deviceIndependentSize().toSize()));
}

DfOctavePickerView::~DfOctavePickerView() = default;

void DfOctavePickerView::loadImages()
{
    const FormPictures& form = m_isLarge ? kLargeForm : kShortForm;
    m_bgImage = pv_loadPavoBundleImage(QString::fromLatin1(form.background));
    m_glyphKeysImage = pv_loadPavoBundleImage(QString::fromLatin1(form.keys));
    m_rangeLeftEdgeImage = pv_loadPavoBundleImage(QString::fromLatin1(kLeftEdge));
    m_rangeFillImage = pv_loadPavoBundleImage(QString::fromLatin1(kFill));
    m_rangeRightEdgeImage = pv_loadPavoBundleImage(QString::fromLatin1(kRightEdge));
}

void DfOctavePickerView::changeEvent(QEvent* event)
{
    // Dark variants of the pictures follow the application palette.
    if (event->type() == QEvent::ApplicationPaletteChange || event->type() == QEvent::PaletteChange) {
        loadImages();
        update();
    }
    PvControl::changeEvent(event);
}

float DfOctavePickerView::keyWidth() const
{
    return m_totalKeysWidth / float(m_totalNumWhiteKeys);
}

QRectF DfOctavePickerView::rangeRect() const
{
    const float w = keyWidth();
    const float x = std::floor(float(m_keyRange.location) * w) + kKeyboardOffset;
    const float right
        = std::floor(w * float(m_keyRange.location + m_keyRange.length) - 1.0f) + kKeyboardOffset;
    return QRectF(x, 0, right - x, height());
}

void DfOctavePickerView::setKeyRange(const DfKeyRange& range)
{
    setNeedsDisplayInRect(rangeRect().adjusted(-1, -1, 1, 1));
    m_keyRange = range;
    setNeedsDisplayInRect(rangeRect().adjusted(-1, -1, 1, 1));
}

void DfOctavePickerView::setKeyRangeForMouseEvent(const PvEvent& event, int raster)
{
    const float px = float(event.location.x());
    // Without a keyboard picture every position is key 0.
    const float w = keyWidth();
    const float key = w > 0 ? std::floor((px - m_mouseDownOffset - kKeyboardOffset) / w) : 0.0f;
    int k = key > 0 ? int(std::min(key, float(INT32_MAX / 2))) : 0;
    if (raster > 1)
        k = raster * (k / raster); // the start snaps down to a multiple of the raster
    const uint32_t n = m_keyRange.length;
    uint32_t location = uint32_t(k);
    if (m_totalNumWhiteKeys < location + n) // pushed back to end at the last key
        location = n < m_totalNumWhiteKeys ? m_totalNumWhiteKeys - n : 0;
    setKeyRange({location, n});
    if (target() && !action().isEmpty())
        sendAction(action(), target());
    emit keyRangeChosen(this);
}

bool DfOctavePickerView::mouseInRangeRect(const QPointF& point) const
{
    // The platform's rule for a point in a rectangle: the left and the upper edge (in the
    // view's orientation) belong to it, the others do not.
    const QRectF r = rangeRect();
    if (point.x() < r.left() || point.x() >= r.right())
        return false;
    return isFlipped() ? point.y() >= r.top() && point.y() < r.bottom()
                       : point.y() > r.top() && point.y() <= r.bottom();
}

void DfOctavePickerView::mouseDown(const PvEvent& event)
{
    const QPointF p = event.location;
    if (!mouseInRangeRect(p)) {
        m_mouseDownOffset = 0;
        setKeyRangeForMouseEvent(event, m_clickRaster);
        if (!mouseInRangeRect(p)) {
            // Pushed back at the end of the keyboard: the following drag does nothing.
            m_mouseDownOffset = -1;
            return;
        }
    }
    m_mouseDownOffset = float(p.x() - rangeRect().x());
}

void DfOctavePickerView::mouseDragged(const PvEvent& event)
{
    if (m_mouseDownOffset >= 0)
        setKeyRangeForMouseEvent(event, m_dragRaster);
}

void DfOctavePickerView::mouseUp(const PvEvent&)
{
}

QSize DfOctavePickerView::sizeHint() const
{
    return m_bgImage.deviceIndependentSize().toSize();
}

void DfOctavePickerView::drawRect(QPainter& painter, const QRectF&)
{
    painter.save();
    // The pictures stand on the view's lower edge; draw in widget coordinates so they
    // come out upright and in the same place whichever way y grows.
    painter.resetTransform();
    const qreal h = height();
    auto bottomAligned
        = [h](const QPixmap& p, qreal lift) { return h - lift - p.deviceIndependentSize().height(); };
    const QRectF r = rangeRect();
    const qreal left = r.x();
    const qreal right = r.x() + r.width();
    painter.drawPixmap(QPointF(0, bottomAligned(m_bgImage, 0)), m_bgImage);
    painter.drawPixmap(QPointF(left, bottomAligned(m_rangeLeftEdgeImage, 0)), m_rangeLeftEdgeImage);
    painter.drawPixmap(QPointF(right, bottomAligned(m_rangeRightEdgeImage, 0)), m_rangeRightEdgeImage);
    const qreal fillWidth = right - left - 1.0;
    if (fillWidth > 0 && !m_rangeFillImage.isNull()) {
        const qreal fillHeight = m_rangeFillImage.deviceIndependentSize().height();
        painter.drawPixmap(QRectF(left + 1.0, bottomAligned(m_rangeFillImage, 0), fillWidth, fillHeight),
            m_rangeFillImage, QRectF(QPointF(0, 0), QSizeF(m_rangeFillImage.size())));
    }
    painter.drawPixmap(
        QPointF(kKeyboardOffset, bottomAligned(m_glyphKeysImage, kKeyboardLift)), m_glyphKeysImage);
    painter.restore();
}
