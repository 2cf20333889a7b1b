// A push-button cell that draws a picture per state.
#pragma once

#include "PvCell.h"

#include <QPixmap>

#include <array>
#include <cstdint>

/**
    A push-button cell that draws a picture for each of its states, centred in its frame
    at the picture's size in points.

    The six states are normal, highlighted (pressed or under the pointer) and disabled,
    each off and on. A state's picture is either given directly (setImage()) or loaded from
    the shared image provider for an image ID (setImageID()), for the states named by a
    state mask. A state without a picture shows the picture of the nearest state that has
    one (on falls back to off, highlighted and disabled to normal); a cell without any
    picture draws the platform push button through QStyle with its text.

    Provider states: normal 0, highlighted 1, disabled 2, on 3 (the on state's highlight
    and disabled pictures use 1 and 2 as well).
*/
class PvButtonCell : public PvCell {
public:
    enum ButtonState {
        NormalState = 0,
        HighlightedState = 1,
        DisabledState = 2,
        NormalOnState = 3,
        HighlightedOnState = 4,
        DisabledOnState = 5,
    };
    /// State mask bits for setImageID(): 1 << ButtonState.
    enum : uint32_t {
        PVStateNormalMask = 1u << NormalState,
        PVStateHighlightedMask = 1u << HighlightedState,
        PVStateDisabledMask = 1u << DisabledState,
        PVStateOnMask = 1u << NormalOnState,
        PVStateHighlightedOnMask = 1u << HighlightedOnState,
        PVStateDisabledOnMask = 1u << DisabledOnState,
        PVStateAllMask = 0x3f,
    };

    PvButtonCell();
    explicit PvButtonCell(const QString& title);
    std::unique_ptr<PvCell> clone() const override;

    /// The picture of state; a null pixmap when the state has none of its own.
    QPixmap image(ButtonState state) const { return m_images[size_t(state)]; }
    void setImage(const QPixmap& image, ButtonState state = NormalState);
    /// Loads the pictures of the states in stateMask from imageID; the other states lose
    /// their pictures. kImage_None clears them all (platform look).
    void setImageID(int32_t imageID, uint32_t stateMask = PVStateAllMask);
    int32_t imageID() const { return m_imageID; }
    uint32_t stateMask() const { return m_stateMask; }
    /// Reloads the pictures of the image ID (after the provider changed).
    void reloadImages();

    /// The state the cell is in now.
    ButtonState currentButtonState() const;
    /// The picture drawn for state, after falling back; null when there is none.
    QPixmap imageForState(ButtonState state) const;
    bool hasImage() const;

    void drawWithFrame(QPainter& painter, const QRectF& frame, PvControl* view) override;
    void drawInteriorWithFrame(QPainter& painter, const QRectF& frame, PvControl* view) override;
    QSizeF cellSize() const override;
    QAccessible::Role accessibilityRole() const override { return QAccessible::Button; }

protected:
    void copyButtonSettingsTo(PvButtonCell& other) const;
    /// Draws picture centred in rect, scaled down (keeping its proportions) when it does
    /// not fit.
    static void drawPictureCentred(QPainter& painter, const QPixmap& picture, const QRectF& rect);

private:
    std::array<QPixmap, 6> m_images;
    int32_t m_imageID = -1;
    uint32_t m_stateMask = 0;
};
