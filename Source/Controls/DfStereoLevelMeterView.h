// DfStereoLevelMeterView: two level meters, left channel above right.
#pragma once

#include "PvControl.h"
#include "PvLevelMeterCell.h"

#include <cstdint>
#include <memory>

/**
    A control that stacks two PvLevelMeterCell meters: the left channel at the top, the
    right channel below it, each as tall as its strip picture and inset by padding() from
    the view's edges. Every meter setting given to the view goes to both cells.

    A click anywhere on the view clears both clip LEDs and sends the view's action to its
    target (a null target means whoever answers it, as for any control); actionTriggered()
    is emitted as well. The view takes no keyboard focus.

    setToolTips() puts four tool-tip rectangles over the view: one over each strip and
    one over each clip LED, answered by the owners given.

    The view owns both cells. Main thread only.

    @see PvLevelMeterCell
*/
class DfStereoLevelMeterView : public PvControl {
    Q_OBJECT
public:
    explicit DfStereoLevelMeterView(QWidget* parent = nullptr);
    /// A view with geometry frame (in the parent's coordinates).
    explicit DfStereoLevelMeterView(const QRect& frame, QWidget* parent = nullptr);
    ~DfStereoLevelMeterView() override;

    /// The left (top) and right (bottom) meter.
    PvLevelMeterCell* cellL() const { return m_cellL.get(); }
    PvLevelMeterCell* cellR() const { return m_cellR.get(); }

    // ---- settings of both meters (see PvLevelMeterCell) ------------------------------
    void setImageIDs(int32_t levelMeterImageID, int32_t peakLEDImageID);
    int32_t levelMeterImageID() const { return m_ImageIDLevel; }
    int32_t peakLEDImageID() const { return m_ImageIDPeak; }
    void setLEDCount(uint32_t count);
    void setFallBackStep(float step);
    void setFallBackStepTime(double seconds);
    void setMaxLevelHoldTime(double seconds);
    void setOnStateLEDInset(float inset);

    // ---- levels ----------------------------------------------------------------------
    /// Feeds the left meter, then the right one (see PvLevelMeterCell::setLevel()).
    void setLevelL(float left, float right, bool force = false);
    float levelL() const { return m_cellL->level(); }
    float levelR() const { return m_cellR->level(); }
    void setPeakL(bool peak) { m_cellL->setPeak(peak); }
    void setPeakR(bool peak) { m_cellR->setPeak(peak); }

    /// Inset in points of both meters from the view's edges; 0 by default.
    int padding() const { return m_padding; }
    void setPadding(int padding);

    /**
        Replaces the four tool-tip rectangles: levelOwner answers those over the two strips
        (the strip picture's size at each meter's place), peakOwner those over the two clip
        LEDs (the clip LED picture's size at the right end of each meter). The rectangles
        follow the settings of this moment; call again after changing pictures, padding or
        size. Owners are not owned; either may be null for no tips there.
    */
    void setToolTips(PvToolTipOwner* levelOwner, PvToolTipOwner* peakOwner);
    /// The tags of the current rectangles (0 before setToolTips()).
    int toolTipTagLevelL() const { return m_ToolTipTagLevelL; }
    int toolTipTagLevelR() const { return m_ToolTipTagLevelR; }
    int toolTipTagPeakL() const { return m_ToolTipTagPeakL; }
    int toolTipTagPeakR() const { return m_ToolTipTagPeakR; }

    /// The frames of the left and right meter in the control's coordinates.
    void getCellFrames(QRectF* left, QRectF* right) const;

    QRectF frameOfCell(const PvCell* cell) const override;
    PvCell* cellAtPoint(const QPointF& point, QRectF* frame = nullptr) const override;
    QSize sizeHint() const override;

    int accessibleCellCount() const override { return 2; }
    PvCell* accessibleCellAt(int index) const override;
    int accessibleIndexOfCell(const PvCell* cell) const override;

protected:
    void mouseDown(const PvEvent& event) override;
    void drawRect(QPainter& painter, const QRectF& dirtyRect) override;
    /// The meters copy whole pixels of their pictures: no edge smoothing.
    bool drawsAntialiased() const override { return false; }
    void forEachCell(const std::function<void(PvCell*)>& f) override;

private:
    // The frames of the two meters for strips of the given height.
    void cellFramesForHeight(qreal stripHeight, QRectF* left, QRectF* right) const;

    // Gives both meters the same setting.
    template <class... Params, class... Args>
    void forBoth(void (PvLevelMeterCell::*set)(Params...), Args... args)
    {
        (m_cellL.get()->*set)(args...);
        (m_cellR.get()->*set)(args...);
    }

    std::unique_ptr<PvLevelMeterCell> m_cellL;
    std::unique_ptr<PvLevelMeterCell> m_cellR;
    int32_t m_ImageIDLevel = 0;
    int32_t m_ImageIDPeak = 0;
    int m_ToolTipTagLevelL = 0;
    int m_ToolTipTagLevelR = 0;
    int m_ToolTipTagPeakL = 0;
    int m_ToolTipTagPeakR = 0;
    int32_t m_padding = 0;
};
