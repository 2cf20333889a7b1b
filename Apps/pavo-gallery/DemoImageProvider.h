// The gallery's pictures, drawn at run time.
#pragma once

#include <Pavo/PavoUI.h>

#include <QHash>
#include <QPalette>

namespace PavoGallery {

/// The image IDs the demo provider answers, with the states each has. Sizes are in points.
namespace DemoImage {
/// Slider knob, 16 x 16: 0 normal, 1 pressed (while tracking), 2 inactive, 3 lit.
inline constexpr int32_t kKnob = 1000;
/// Horizontal slider track, 120 x 6, stretched over the slider; 1 and 2 are the
/// minimum-end and maximum-end labels ("0" and "10").
inline constexpr int32_t kTrackHorizontal = 1010;
/// Vertical slider track, 6 x 120, with the same labels.
inline constexpr int32_t kTrackVertical = 1011;
/// Horizontal LED meter strip, 288 x 14: an 8-point signal-present LED at the left, then ten
/// 28-point LEDs (seven green, two amber, one red). 0 unlit, 3 lit.
inline constexpr int32_t kMeterHorizontal = 1020;
/// Vertical LED meter strip, 14 x 288: the same strip with its start at the bottom.
inline constexpr int32_t kMeterVertical = 1021;
/// Clip LED, 14 x 14: 0 off, 3 on.
inline constexpr int32_t kClipLED = 1030;
} // namespace DemoImage

/**
    Draws the pictures of the gallery's controls with QPainter when they are first asked
    for; nothing is read from files. Pictures come at the device pixel ratio of the
    screens (the highest one, so they stay sharp when a window moves to a denser screen)
    or at the one set with setDevicePixelRatio(), and follow the application palette of
    the moment (track labels and the knob's face). Unknown IDs and states answer a null
    pixmap. Main thread only.
*/
class DemoImageProvider : public PvResourceProvider {
public:
    using PvResourceProvider::imageForID;
    QPixmap imageForID(int32_t imageID, int state) override;
    /// The picture at a given device pixel ratio (at least 1).
    QPixmap imageForID(int32_t imageID, int state, qreal devicePixelRatio);
    /// The ratio of the pictures imageForID(id, state) answers; 0 means "the screens'".
    void setDevicePixelRatio(qreal ratio) { m_ratio = ratio; }

private:
    QHash<QString, QPixmap> m_cache;
    qreal m_ratio = 0;
};

} // namespace PavoGallery
