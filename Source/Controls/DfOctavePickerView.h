// DfOctavePickerView: a miniature keyboard with a movable highlighted range of keys.
#pragma once

#include "PvControl.h"

#include <QPixmap>
#include <QRectF>

#include <cstdint>

/// A range of white keys: the first key (0 is the lowest) and the number of keys.
struct DfKeyRange {
    uint32_t location = 0;
    uint32_t length = 0;
    friend bool operator==(const DfKeyRange&, const DfKeyRange&) = default;
};

/**
    Shows a miniature piano keyboard of the whole note range with a highlighted range of
    white keys over it, and lets the user move the highlight: a press outside it makes it
    jump (by octaves with the default click raster of 7 keys) so that the pressed key lies
    in it where possible; dragging moves it key by key (the drag raster), keeping the point
    where it was grabbed under the pointer. Moves by the mouse keep the highlight on the
    keyboard; setKeyRange() takes any range.

    Two forms differ in their pictures and key count: the large one has 75 white keys (the
    128 MIDI notes), the short one 74. The pictures are the framework's own (see
    pv_loadPavoBundleImage()); the view has the size of its background picture and the
    keyboard starts 6 points from its left edge. The key width is the keyboard picture's
    width over the number of white keys.

    Every move by the mouse sends the action to the target, but only when both are set
    (directly, never to whoever answers it), and emits keyRangeChosen() in any case. The
    view takes no keyboard focus and acts on the first click into an inactive window.

    Main thread only; owned by its Qt parent.
*/
class DfOctavePickerView : public PvControl {
    Q_OBJECT
public:
    /// Distance in points from the view's left edge to the keyboard picture.
    static constexpr float kKeyboardOffset = 6.0f;

    /// A view of the given form at origin (0, 0), without parent.
    static DfOctavePickerView* octavePickerViewLarge(bool large);
    /// A view of the given form at frame's origin; its size is the background picture's
    /// (frame's size is ignored).
    DfOctavePickerView(const QRect& frame, bool isLarge, QWidget* parent = nullptr);
    ~DfOctavePickerView() override;

    bool isLarge() const { return m_isLarge; }
    /// 75 in the large form, 74 in the short one.
    uint32_t totalNumWhiteKeys() const { return m_totalNumWhiteKeys; }
    /// Width in points of one white key (single precision).
    float keyWidth() const;

    /// The highlight's rectangle: from floor(location x key width) + 6 to
    /// floor(key width x (location + length) - 1) + 6, over the view's whole height.
    QRectF rangeRect() const;
    /// The highlighted white keys; location 10, length 10 at first.
    DfKeyRange keyRange() const { return m_keyRange; }
    /// Stores range as it is (no clamping, no action) and redraws the old and new highlight.
    void setKeyRange(const DfKeyRange& range);

    /// Step in white keys of the jump after a press outside the highlight; 7 by default.
    int clickRaster() const { return m_clickRaster; }
    void setClickRaster(int raster) { m_clickRaster = raster; }
    /// Step in white keys of a drag; 1 by default.
    int dragRaster() const { return m_dragRaster; }
    void setDragRaster(int raster) { m_dragRaster = raster; }

    /**
        Moves the highlight to event's location: its first key becomes the key under the
        location less the grab offset (at least 0), snapped down to a multiple of raster
        when raster is above 1; where the highlight would run past the last key it ends at
        the last key instead. Then sends the action (when target and action are both set)
        and emits keyRangeChosen(). Used by the mouse handling; open to subclasses.
    */
    void setKeyRangeForMouseEvent(const PvEvent& event, int raster);

    // Fixed answers of the view.
    bool acceptsFirstResponder() const { return false; }
    bool acceptsFirstMouse() const { return true; }
    bool shouldDelayWindowOrderingForEvent() const { return true; }
    bool mouseDownCanMoveWindow() const { return false; }

    QSize sizeHint() const override;

signals:
    /// Emitted every time the mouse moved the highlight (also when no action is set).
    void keyRangeChosen(DfOctavePickerView* sender);

protected:
    void mouseDown(const PvEvent& event) override;
    void mouseDragged(const PvEvent& event) override;
    void mouseUp(const PvEvent& event) override;
    void drawRect(QPainter& painter, const QRectF& dirtyRect) override;
    void changeEvent(QEvent* event) override;

private:
    void loadImages();
    bool mouseInRangeRect(const QPointF& point) const;

    QPixmap m_bgImage;
    QPixmap m_glyphKeysImage;
    QPixmap m_rangeLeftEdgeImage;
    QPixmap m_rangeFillImage;
    QPixmap m_rangeRightEdgeImage;
    DfKeyRange m_keyRange {10, 10};
    float m_totalKeysWidth = 0;
    float m_mouseDownOffset = 0; // grab offset inside the highlight; -1 turns dragging off
    int m_clickRaster = 7;
    int m_dragRaster = 1;
    uint32_t m_totalNumWhiteKeys = 75;
    bool m_isLarge = true;
};
