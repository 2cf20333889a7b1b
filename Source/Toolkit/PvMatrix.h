// A grid of cells with selection modes.
#pragma once

#include "PvControl.h"

#include <cstddef>
#include <vector>

/**
    A control that lays out cells in rows and columns of equal size and keeps a selection.

    Modes:
    - RadioModeMatrix: exactly one cell is on (unless empty selection is allowed); a press
      or a drag selects the cell under the mouse.
    - HighlightModeMatrix: a cell is highlighted while pressed; releasing inside it toggles
      its state (cells behave as toggle buttons).
    - ListModeMatrix: any number of cells is selected: a press selects one, Shift extends
      from the anchor, Control toggles one, a drag extends from the anchor.
    - TrackModeMatrix: the cell under the mouse tracks it on its own (value cells).

    The selection is the set of cells whose state is on; selectedCell() is the cell the
    user acted on last. The action is sent when the mouse goes up (on every change when the
    matrix is continuous) and after a keyboard move; a double click sends the double action
    when there is one. Out-of-range rows and columns are ignored (null cells, no-ops).

    New cells are copies of the prototype cell (a plain PvCell when none is set); a cell
    keeps its own enabled state while the matrix is enabled. A press that hits no cell
    sends no action. The matrix owns its cells and its prototype. Main thread only.

    Geometry: cells are laid out on a uniform grid (row 0 at the top, whatever the
    flipping) by cellFrameAt(), getRowColumnForPoint() and getRowColumnRangeInRect(),
    which subclasses with frames of their own override together. Finding a cell's frame
    or its row and column takes constant time, and drawing visits only the cells in the
    dirty rectangle, so a matrix of a hundred thousand rows stays cheap.
*/
class PvMatrix : public PvControl {
    Q_OBJECT
public:
    enum Mode { RadioModeMatrix = 0, HighlightModeMatrix = 1, ListModeMatrix = 2, TrackModeMatrix = 3 };

    explicit PvMatrix(QWidget* parent = nullptr);
    PvMatrix(Mode mode, int rows, int columns, QWidget* parent = nullptr);
    ~PvMatrix() override;

    Mode mode() const { return m_mode; }
    void setMode(Mode mode);
    bool allowsEmptySelection() const { return m_allowsEmptySelection; }
    void setAllowsEmptySelection(bool allow) { m_allowsEmptySelection = allow; }
    bool isContinuous() const { return m_continuous; }
    void setContinuous(bool continuous) { m_continuous = continuous; }

    // ---- cells -------------------------------------------------------------------
    int numberOfRows() const { return m_rows; }
    int numberOfColumns() const { return m_columns; }
    /// The cell at row and column; null out of range.
    PvCell* cellAt(int row, int column) const;
    /// The first cell with tag; null when none has it.
    PvCell* cellWithTag(int tag) const;
    /// Finds row and column of cell; false when the cell is not in this matrix.
    bool getRowColumnOfCell(const PvCell* cell, int* row, int* column) const;
    /// Finds the row and column under point (control coordinates); false when the point
    /// is outside every cell (on spacing or outside the grid).
    virtual bool getRowColumnForPoint(const QPointF& point, int* row, int* column) const;
    /// The frame of the cell at row and column in control coordinates (also for positions
    /// beyond the grid, which have no cell).
    virtual QRectF cellFrameAt(int row, int column) const;
    /// The rows and columns whose frames may meet rect (control coordinates), as inclusive
    /// ranges; false when none does. Drawing asks this before cellFrameAt().
    virtual bool getRowColumnRangeInRect(
        const QRectF& rect, int* firstRow, int* lastRow, int* firstColumn, int* lastColumn) const;

    /// The cell copied for new cells; null when none is set.
    PvCell* prototype() const { return m_prototype.get(); }
    void setPrototype(std::unique_ptr<PvCell> prototype);
    /// A new cell for row and column: a copy of the prototype, or a plain cell.
    virtual std::unique_ptr<PvCell> makeCell(int row, int column) const;

    void addRow();
    void addColumn();
    void insertRow(int row);
    void insertColumn(int column);
    void removeRow(int row);
    void removeColumn(int column);
    /// Resizes the grid to rows x columns, keeping the cells that still fit.
    void renewRows(int rows, int columns);
    /// Replaces the cell at row and column; ignored out of range.
    void putCell(std::unique_ptr<PvCell> cell, int row, int column);
    std::vector<PvCell*> cells() const;

    // ---- geometry ----------------------------------------------------------------
    QSizeF cellSize() const { return m_cellSize; }
    void setCellSize(const QSizeF& size);
    QSizeF intercellSpacing() const { return m_spacing; }
    void setIntercellSpacing(const QSizeF& spacing);
    /// Resizes the matrix to exactly hold its cells and spacing.
    void sizeToCells();
    /// Whether the cells are drawn over the palette's base colour, with the spacing between
    /// them drawn as grid lines.
    bool drawsBackground() const { return m_drawsBackground; }
    void setDrawsBackground(bool draws)
    {
        m_drawsBackground = draws;
        update();
    }

    // ---- selection ---------------------------------------------------------------
    PvCell* selectedCell() const override;
    int selectedRow() const { return m_selectedRow; }
    int selectedColumn() const { return m_selectedColumn; }
    std::vector<PvCell*> selectedCells() const;
    /// Selects the cell at row and column (in radio mode deselecting the others); row -1
    /// clears the selection where empty selection is allowed (radio) or always (list).
    void selectCellAt(int row, int column);
    bool selectCellWithTag(int tag);
    void selectAll();
    void deselectAllCells();
    /// Selects the cells between the two positions in reading order (list mode).
    void setSelectionFrom(int startIndex, int endIndex, int anchorIndex, bool select);

    QByteArray doubleAction() const { return m_doubleAction; }
    void setDoubleAction(const QByteArray& action) { m_doubleAction = action; }

    PvCell* cellAtPoint(const QPointF& point, QRectF* frame = nullptr) const override;
    QRectF frameOfCell(const PvCell* cell) const override;
    QSize sizeHint() const override;
    QAccessible::Role accessibilityRole() const override { return QAccessible::List; }
    /// Every cell, in reading order (index = row x numberOfColumns() + column).
    int accessibleCellCount() const override { return m_rows * m_columns; }
    PvCell* accessibleCellAt(int index) const override;
    int accessibleIndexOfCell(const PvCell* cell) const override;

protected:
    void mouseDown(const PvEvent& event) override;
    void mouseDragged(const PvEvent& event) override;
    void mouseUp(const PvEvent& event) override;
    bool keyDown(const PvEvent& event) override;
    void drawRect(QPainter& painter, const QRectF& dirtyRect) override;
    void forEachCell(const std::function<void(PvCell*)>& f) override;
    void didStopTracking(PvCell* cell, bool mouseIsUp, bool mouseInside) override;

private:
    int indexOf(int row, int column) const { return row * m_columns + column; }
    void cellsChanged(size_t from = 0); // renumbers the cells from index from on
    void turnAllOff();
    void selectByMouse(int row, int column, Qt::KeyboardModifiers modifiers, bool dragging);
    void setKeyCell(int row, int column);
    void finishClick(const PvEvent& event);
    void keepRadioSelection();

    // Cells made by the constructor can only be plain PvCells (no subclass can take part
    // yet), so they are made side by side in one block instead of one allocation each; a
    // cell in the block is destroyed in place and the block goes with the matrix.
    struct CellDisposal {
        void operator()(PvCell* cell) const;
    };
    using CellPtr = std::unique_ptr<PvCell, CellDisposal>;
    CellPtr newCell(int row, int column);

    Mode m_mode = RadioModeMatrix;
    int m_rows = 0;
    int m_columns = 0;
    std::unique_ptr<std::byte[]> m_cellBlock; // before m_cells: it outlives them
    size_t m_cellBlockFree = 0; // cells the block still has room for
    size_t m_cellBlockUsed = 0;
    std::vector<CellPtr> m_cells; // row-major
    std::unique_ptr<PvCell> m_prototype;
    QSizeF m_cellSize {100.0, 17.0};
    QSizeF m_spacing {1.0, 1.0};
    int m_selectedRow = -1;
    int m_selectedColumn = -1;
    int m_anchor = -1; // index where a list selection by Shift or drag starts
    int m_pressedIndex = -1; // cell pressed in highlight mode
    bool m_allowsEmptySelection = false;
    bool m_continuous = false;
    bool m_drawsBackground = false;
    bool m_selectionChanged = false;
    bool m_pressHit = false; // the current press started on an enabled cell
    QByteArray m_doubleAction;
};
