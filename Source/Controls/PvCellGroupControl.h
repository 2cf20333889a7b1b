// PvCellGroupControl: a row of independent cells in one control.
#pragma once

#include "PvControl.h"
#include "PvNumberEditorCell.h"

#include <QColor>
#include <QPointer>

#include <memory>
#include <vector>

/**
    A control hosting a row of independent cells, each with a frame of its own, and
    routing the mouse, the wheel and the keys to them. It is the base of
    DfNumberEditorControl (number fields such as bars, beats, divisions and ticks side by
    side) and works with any cell that follows the tracking protocol.

    Ownership: the control owns its cells. Frames are in the control's coordinates; the
    points handed to a cell while tracking are relative to the origin of its frame.

    Mouse: a press reaches every cell under it that is editable and enabled (and that
    willStartTrackingCellWithIndex() lets through). A double click starts typing in a
    PvNumberEditorCell, or ends it when that cell is the one being typed in; other presses
    start tracking, and only the drags and the release of that press go on to the cell.
    The wheel goes to the first cell under the pointer when it is editable and uses it.

    Keys, while a number cell is in typing mode: Return, Enter, Back-tab and every other
    key go to that cell; Tab moves the focus on; the left and right arrows move typing to
    the previous or next editable number cell, wrapping around, and fall through when there
    is no other one. While none is: Return starts typing in cell 0, and so do the arrows
    when there is more than one cell; every other key falls through.

    Appearance settings are kept and handed to every cell that takes them, also to cells
    added later. Typing stops when the control loses the keyboard focus within its window
    or leaves its window; the control is the delegate of its number cells and passes their
    editing stops on to its own delegate.

    Main thread only.

    @see PvNumberEditorCell, DfNumberEditorControl
*/
class PvCellGroupControl : public PvControl, public PvNumberEditorCellDelegate {
    Q_OBJECT
public:
    explicit PvCellGroupControl(QWidget* parent = nullptr);
    ~PvCellGroupControl() override;

    /// Hears about the editing stops of the number cells; not owned, null for none.
    PvNumberEditorCellDelegate* delegate() const { return m_delegate; }
    void setDelegate(PvNumberEditorCellDelegate* delegate) { m_delegate = delegate; }

    // ---- cells -------------------------------------------------------------------
    /// Appends cell with frame (control coordinates) and hands it the control's settings.
    /// A null cell is ignored.
    void addCell(std::unique_ptr<PvCell> cell, const QRectF& frame);
    /// Appends cell of size right after the last cell's frame (at x 0 for the first), at y 0.
    void addCell(std::unique_ptr<PvCell> cell, const QSizeF& size);
    /// Appends cell of width, as tall as the control is now.
    void addCell(std::unique_ptr<PvCell> cell, qreal width);
    /// Out-of-range indices are ignored by the setters and the removal.
    void setFrameOfCell(const QRectF& frame, int index);
    void setSizeOfCell(const QSizeF& size, int index);
    void setWidthOfCell(qreal width, int index);
    /// Destroys the cell at index (ending its typing mode and its tracking first).
    void removeCellAtIndex(int index);
    int cellCount() const { return int(m_cells.size()); }
    /// The index of cell, or -1 when it is not in this control.
    int indexOfCell(const PvCell* cell) const;
    /// The cell at index, or null out of range.
    PvCell* cellAtIndex(int index) const;
    /// Redraws the frame of cell.
    void updateCellInside(const PvCell* cell) { updateCell(cell); }
    QRectF frameOfCell(const PvCell* cell) const override;
    /// The first cell whose frame contains point.
    PvCell* cellAtPoint(const QPointF& point, QRectF* frame = nullptr) const override;

    // ---- layout ------------------------------------------------------------------
    /// Frames side by side from x 0, each as wide as its cellSize() and as tall as the control.
    void recalculateCellPositionsAndSizes();
    /// Packs the stored frames side by side from x 0, keeping their sizes and y.
    void recalculateCellPositions();

    // ---- appearance --------------------------------------------------------------
    /// Colours for number cells; an invalid colour is not handed on (the cell's own stays).
    QColor backgroundColor() const { return m_backgroundColor; }
    void setBackgroundColor(const QColor& color);
    QColor editBackgroundColor() const { return m_editBackgroundColor; }
    void setEditBackgroundColor(const QColor& color);
    QColor textColor() const { return m_textColor; }
    void setTextColor(const QColor& color);
    QColor editTextColor() const { return m_editTextColor; }
    void setEditTextColor(const QColor& color);
    /// The font is the widget's: once set with setFont() it is handed to every cell.
    /// setFontSize() sets a font of the current font's family at size points.
    void setFontSize(qreal size);
    Qt::Alignment alignment() const { return m_textAlignment; }
    void setAlignment(Qt::Alignment alignment);
    /// Whether the bounds are filled with backgroundColor() before the cells are drawn;
    /// also handed to the number cells.
    bool drawsBackground() const { return m_drawsBackground; }
    void setDrawsBackground(bool draws);
    PvCell::ControlSize controlSize() const { return m_controlSize; }
    void setControlSize(PvCell::ControlSize size);
    bool disablesFontSmoothing() const { return m_disableFontSmoothing; }
    void setDisablesFontSmoothing(bool disable);

    // ---- editing -----------------------------------------------------------------
    /**
        Puts cell in typing mode: only a PvNumberEditorCell of this control that is
        editable and enabled, in an enabled control, and not already typing. The cell that
        was typing stops first.
    */
    void startEditingForCell(PvCell* cell);
    /// The cell in typing mode, or null.
    PvNumberEditorCell* editingCell() const { return m_editingCell; }
    /// Ends typing mode (see PvNumberEditorCell::stopEditingAndResignFirstResponder()).
    void stopEditingAndResignFirstResponder(bool resign);
    /// Takes the keyboard focus without starting to type; returns whether the control is
    /// its window's focus widget afterwards.
    bool makeFirstResponderWithoutStartingEditing();
    /// Whether the control is its window's focus widget (also while the window is inactive).
    bool isFirstResponder() const;
    /// Whether taking the focus by Tab or Back-tab starts typing in the first or last
    /// editable number cell; true by default.
    bool becomeFirstResponderStartsEditing() const { return m_becomeFirstResponderStartsEditing; }
    void setBecomeFirstResponderStartsEditing(bool starts) { m_becomeFirstResponderStartsEditing = starts; }

    // ---- number cells' delegate --------------------------------------------------
    void dfNumberEditorCellStoppedEditingWithReason(PvNumberEditorCell* cell, int reason) override;
    /// Sends the cell's action (the control's when the cell has none).
    void dfNumberEditorCellValueChanged(PvNumberEditorCell* cell) override;

    QAccessible::Role accessibilityRole() const override { return QAccessible::Grouping; }
    QString accessibilityValue() const override { return {}; }
    int accessibleCellCount() const override { return cellCount(); }
    PvCell* accessibleCellAt(int index) const override { return cellAtIndex(index); }
    int accessibleIndexOfCell(const PvCell* cell) const override { return indexOfCell(cell); }
    QSize sizeHint() const override;

protected:
    /// Hands the control's settings to a new cell and makes the control a number cell's
    /// delegate.
    virtual void setUpAddedCellAttributes(PvCell* cell);
    // Hooks for subclasses, empty here.
    virtual void mouseButtonWentDown(const PvEvent& event) { Q_UNUSED(event); }
    virtual void mouseButtonWentUp(const PvEvent& event) { Q_UNUSED(event); }
    virtual void scrollWheelWasMoved(const PvEvent& event) { Q_UNUSED(event); }
    virtual void keyInEditorWasPressed(const PvEvent& event) { Q_UNUSED(event); }
    /// Whether a press may reach the cell at index; true here.
    virtual bool willStartTrackingCellWithIndex(int index)
    {
        Q_UNUSED(index);
        return true;
    }

    void mouseDown(const PvEvent& event) override;
    void mouseDragged(const PvEvent& event) override;
    void mouseUp(const PvEvent& event) override;
    bool scrollWheel(const PvEvent& event) override;
    bool keyDown(const PvEvent& event) override;
    void drawRect(QPainter& painter, const QRectF& dirtyRect) override;
    void forEachCell(const std::function<void(PvCell*)>& f) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void changeEvent(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void cellMouseEventHandling(PvCell* cell, const QRectF& frame, const PvEvent& event);
    QPointF lastPointOf(const PvEvent& event, const QPointF& current) const;
    int nextEditableIndex(int from, int step) const;
    bool canType(const PvCell* cell) const;
    void endMouseTracking();
    void cancelCellTracking();

    PvNumberEditorCellDelegate* m_delegate = nullptr;
    std::vector<std::unique_ptr<PvCell>> m_cells;
    std::vector<QRectF> m_cellFrames;
    QColor m_backgroundColor;
    QColor m_editBackgroundColor;
    QColor m_textColor;
    QColor m_editTextColor;
    Qt::Alignment m_textAlignment = Qt::AlignLeft | Qt::AlignVCenter;
    bool m_drawsBackground = false;
    PvCell::ControlSize m_controlSize = PvCell::RegularControlSize;
    bool m_disableFontSmoothing = false;
    PvNumberEditorCell* m_editingCell = nullptr;
    bool m_mouseIsDown = false;
    bool m_becomeFirstResponderStartsEditing = true;
    int m_mouseTrackingEventNumber = 0;
    bool m_mouseTrackingActive = false;
    PvCell* m_mouseTrackingCell = nullptr;
    QRectF m_mouseTrackingCellFrame;
    QPointer<QWidget> m_window; // the window the control was last in
};
