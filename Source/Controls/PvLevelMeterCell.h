// PvLevelMeterCell: one audio level as a strip of LEDs or a continuous bar.
#pragma once

#include "PvCell.h"
#include "PvResourceProvider.h"
#include "PvTimer.h"

#include <QCache>
#include <QImage>
#include <QPixmap>
#include <QRectF>

#include <cstdint>
#include <memory>
#include <optional>

/**
    Shows one audio level as a horizontal strip of LEDs (or a continuous bar), drawn from
    two pictures of the same strip taken from the shared PvResourceProvider: state 0 of
    the strip ID is the unlit strip, state 3 the lit one. The minimum is at the left; the
    first onStateLEDInset() points of the strip are a signal-present LED that lights as
    soon as the level is above 0. A clip LED picture (state 0 off, state 3 on) sits at the
    right end of the cell's frame.

    Levels are linear fractions of full scale (1.0 is the top of the strip); converting
    decibels is the host's business. The host feeds levels at any rate with setLevel();
    the shown level rises at once and falls by fallBackStep() per fallBackStepTime()
    seconds of the time that really passed between two calls, read from PvClock, so the
    meter falls equally fast whatever the feeding rate. A peak-hold segment marks the
    highest shown level until maxLevelHoldTime() seconds (between calls) pass without a
    rise, then vanishes at once. A shown level above 1.0 latches the clip LED until
    setPeak(false).

    The cell redraws only its own frame (the frame of its last draw, in the view of its
    last draw), and only when something visible changed: a change of the shown level of
    0.01 or less redraws nothing unless forced.

    A host that prefers timers for the fall-back gives the cell a PvTimer calling
    timerAction() (setTimer()) and one calling maxtimerAction() (setMaxtimer()); the cell
    owns them and never starts them itself.

    The cell is owned by its control (DfStereoLevelMeterView owns two). Main thread only.

    @see DfStereoLevelMeterView, PvResourceProvider, PvClock
*/
class PvLevelMeterCell : public PvCell {
public:
    PvLevelMeterCell();
    ~PvLevelMeterCell() override;

    std::unique_ptr<PvCell> clone() const override;

    // ---- settings --------------------------------------------------------------------
    /// The strip picture (0 unlit, 3 lit) and the clip LED picture (0 off, 3 on); the clip
    /// LED may be kImage_None for none. Both are 0 by default.
    void setImageIDs(int32_t levelMeterImageID, int32_t peakLEDImageID);
    int32_t levelMeterImageID() const { return m_levelMeterImageID; }
    int32_t peakLEDImageID() const { return m_peakLEDImageID; }
    /// The number of LEDs in the strip; 0 (the default) draws a continuous bar.
    void setLEDCount(uint32_t count) { m_LED_count = count; }
    uint32_t LEDCount() const { return m_LED_count; }
    /// How far the shown level falls per fallBackStepTime(); 0 by default.
    void setFallBackStep(float step) { m_fallBackStep = step; }
    float fallBackStep() const { return m_fallBackStep; }
    /// Seconds per fall-back step; 0 (the default) makes the display follow the level at once.
    void setFallBackStepTime(double seconds) { m_fallBackStepTime = seconds; }
    double fallBackStepTime() const { return m_fallBackStepTime; }
    /// Seconds without a rise after which the peak-hold segment is cleared; 0 by default.
    void setMaxLevelHoldTime(double seconds) { m_maxLevelHoldTime = seconds; }
    double maxLevelHoldTime() const { return m_maxLevelHoldTime; }
    /// Width in points of the signal-present LED at the start of the strip picture.
    void setOnStateLEDInset(float inset) { m_onStateLEDInset = inset; }
    float onStateLEDInset() const { return m_onStateLEDInset; }

    // ---- level -----------------------------------------------------------------------
    /**
        Feeds a level (1.0 is full scale). The shown level becomes the higher of level and
        the previous shown level less the fall-back for the time since the previous call;
        above 1.0 it latches the clip LED and is limited to 1.0 plus one fall-back step,
        below 0 it is 0. The hold rises with it, or is cleared once the hold time has passed.
        The cell redraws when the hold changed, or when the shown level moved by more than
        0.01 or force is set.
    */
    void setLevel(float level, bool force = false);
    /// The last level given.
    float level() const { return m_level; }
    /// The level shown now (may exceed 1.0 by at most one fall-back step; drawn as full).
    float displayLevel() const { return m_displayLevel; }
    /// The peak-hold level; 0 when none is shown.
    float maxDisplayLevel() const { return m_maxDisplayLevel; }
    /// Sets or clears the clip LED and redraws the cell's frame.
    void setPeak(bool peak);
    bool isPeak() const { return m_peak; }

    /// The height of the strip picture (state 0); 0 without one.
    float cellHeight() const;
    QSizeF cellSize() const override;

    /// Remembers view and frame as those of the last draw, which redraws invalidate.
    void calculateInternalsFromCellFrame(const QRectF& frame, PvControl* view);
    /// The frame of the last draw (or of calculateInternalsFromCellFrame()).
    QRectF cellFrame() const { return m_cellFrame; }

    // ---- timers ----------------------------------------------------------------------
    /// One fall-back step: the shown level falls by fallBackStep(); once it reaches the
    /// level it stays there and timer() is stopped. Redraws. For a PvTimer callback.
    void timerAction(PvTimer* sender = nullptr);
    /// Clears the peak-hold level and redraws. For a PvTimer callback.
    void maxtimerAction(PvTimer* sender = nullptr);
    /// The fall-back timer (owned; the cell never creates or starts it). Null by default.
    void setTimer(std::unique_ptr<PvTimer> timer) { m_timer = std::move(timer); }
    PvTimer* timer() const { return m_timer.get(); }
    /// The peak-hold clearing timer (owned; never created or started by the cell).
    void setMaxtimer(std::unique_ptr<PvTimer> timer) { m_maxtimer = std::move(timer); }
    PvTimer* maxtimer() const { return m_maxtimer.get(); }

    // ---- drawing ---------------------------------------------------------------------
    /// Draws the interior only: a meter has no highlight or border. The strip with its lit
    /// part (and in LED mode its hold) is composed once per state and kept by the provider
    /// (PvResourceProvider::composedPictures()), so that a meter draws it in one copy; a
    /// provider that hands out the same pixmaps again lets every meter reuse them.
    void drawWithFrame(QPainter& painter, const QRectF& frame, PvControl* view) override;
    void drawInteriorWithFrame(QPainter& painter, const QRectF& frame, PvControl* view) override;

    /// LEDs lit for value on a strip of count LEDs: value / (1 / count) rounded half away
    /// from zero, in single precision (so 0.45 of 10 LEDs lights 5).
    static uint32_t litLEDs(uint32_t count, float value);

    // ---- accessibility ---------------------------------------------------------------
    QAccessible::Role accessibilityRole() const override { return QAccessible::ProgressBar; }
    bool hasValueRange() const override { return true; }
    double minValue() const override { return 0.0; }
    double maxValue() const override { return 1.0; }
    /// The last level given, as assistive technology reads it.
    double doubleValue() const override { return m_level; }
    QString accessibleValueText() const override { return QString::number(m_level); }
    /// A meter shows a signal; assistive technology reads its level but cannot set it.
    void setAccessibleDoubleValue(double) override { }

private:
    friend class DfStereoLevelMeterView;
    // Picture states of the strip and the clip LED.
    static constexpr int kUnlitState = 0;
    static constexpr int kLitState = 3;

    // The pictures a meter draws from, asked for once per draw and shared by the meters of
    // a view that have the same image IDs. Any of them may be null.
    struct Pictures {
        QPixmap off, on; // the unlit and the lit strip
        QPixmap led[2]; // the clip LED off and on, where asked for
        QSizeF stripSize; // of off, in points
        // Where strips composed of off and on are kept, when on has off's size and pixel
        // ratio (else null), and the two pictures' cache keys.
        QCache<PvComposedPictureKey, QImage>* composed = nullptr;
        qint64 offKey = 0, onKey = 0;
    };
    // The strip pictures and the clip LED in the states asked for.
    static Pictures pictures(int32_t stripID, int32_t clipID, bool ledOff, bool ledOn);
    Pictures ownPictures() const;
    // The strip with columns [0, litEnd) and the columns of hold from the lit picture, the
    // rest from the unlit one; null where it cannot be composed.
    static const QImage* composedStrip(
        const Pictures& pictures, uint32_t ledCount, float litEnd, QRectF hold);

    void redraw();
    void drawMeter(QPainter& painter, const QRectF& frame, PvControl* view, const Pictures& pictures);

    QRectF m_cellFrame;
    int32_t m_levelMeterImageID = 0;
    int32_t m_peakLEDImageID = 0;
    float m_level = 0;
    float m_displayLevel = 0;
    float m_maxDisplayLevel = 0;
    std::unique_ptr<PvTimer> m_timer;
    std::unique_ptr<PvTimer> m_maxtimer;
    bool m_peak = false;
    uint32_t m_LED_count = 0;
    float m_fallBackStep = 0;
    double m_fallBackStepTime = 0;
    double m_maxLevelHoldTime = 0;
    std::optional<double> m_lastCallDate; // PvClock seconds of the previous setLevel()
    double m_holdAccumulateTime = 0;
    float m_onStateLEDInset = 0;
};
