#include "PvMatrix.h"

#include "PvTargetAction.h"

#include <QPainter>

#include <algorithm>
#include <cmath>
#include <new>

PvMatrix::PvMatrix(QWidget* parent)
    : PvControl(parent)
{
}

PvMatrix::PvMatrix(Mode mode, int rows, int columns, QWidget* parent)
    : PvControl(parent)
    , m_mode(mode)
{
    if (rows > 0 && columns > 0) {
        m_cellBlockFree = size_t(rows) * size_t(columns);
        m_cellBlock.reset(new std::byte[m_cellBlockFree * sizeof(PvCell)]);
    }
    renewRows(rows, columns);
    m_cellBlockFree = 0; // later cells come from makeCell()
}

void PvMatrix::CellDisposal::operator()(PvCell* cell) const
{
    static_assert(sizeof(CellPtr) == sizeof(PvCell*), "a matrix keeps one plain pointer per cell");
    if (cell->m_inMatrixBlock)
        cell->~PvCell();
    else
        delete cell;
}

PvMatrix::CellPtr PvMatrix::newCell(int row, int column)
{
    if (m_cellBlockFree > 0) {
        --m_cellBlockFree;
        void* place = m_cellBlock.get() + m_cellBlockUsed++ * sizeof(PvCell);
        CellPtr cell(new (place) PvCell());
        cell->m_inMatrixBlock = true;
        return cell;
    }
    return CellPtr(makeCell(row, column).release());
}

PvMatrix::~PvMatrix()
{
    cancelTracking();
}

void PvMatrix::setMode(Mode mode)
{
    m_mode = mode;
    if (mode == RadioModeMatrix && !m_allowsEmptySelection && !m_cells.empty())
        selectCellAt(std::max(0, m_selectedRow), std::max(0, m_selectedColumn));
}

PvCell* PvMatrix::cellAt(int row, int column) const
{
    if (row < 0 || column < 0 || row >= m_rows || column >= m_columns)
        return nullptr;
    return m_cells[size_t(indexOf(row, column))].get();
}

PvCell* PvMatrix::cellWithTag(int tag) const
{
    for (const auto& c : m_cells)
        if (c->tag() == tag)
            return c.get();
    return nullptr;
}

bool PvMatrix::getRowColumnOfCell(const PvCell* cell, int* row, int* column) const
{
    const int i = cell ? storedIndexOfCell(cell) : -1;
    if (i < 0 || size_t(i) >= m_cells.size() || m_cells[size_t(i)].get() != cell)
        return false;
    if (row)
        *row = i / m_columns;
    if (column)
        *column = i % m_columns;
    return true;
}

void PvMatrix::turnAllOff()
{
    holdCellUpdates();
    for (const auto& c : m_cells)
        c->setState(PvCell::OffState);
    releaseCellUpdates();
}

void PvMatrix::cellsChanged(size_t from)
{
    for (size_t i = from; i < m_cells.size(); ++i)
        setStoredIndexOfCell(m_cells[i].get(), int(i));
}

bool PvMatrix::getRowColumnForPoint(const QPointF& point, int* row, int* column) const
{
    const qreal pitchX = m_cellSize.width() + m_spacing.width();
    const qreal pitchY = m_cellSize.height() + m_spacing.height();
    // Rows count from the top edge in either flipping.
    const qreal x = point.x();
    const qreal y = isFlipped() ? point.y() : height() - point.y();
    if (x < 0 || y < 0 || pitchX <= 0 || pitchY <= 0)
        return false;
    const int c = int(std::min(std::floor(x / pitchX), qreal(m_columns)));
    const int r = int(std::min(std::floor(y / pitchY), qreal(m_rows)));
    if (r >= m_rows || c >= m_columns)
        return false;
    // A point on the spacing between cells is in no cell.
    if (x - c * pitchX >= m_cellSize.width() || y - r * pitchY >= m_cellSize.height())
        return false;
    if (row)
        *row = r;
    if (column)
        *column = c;
    return true;
}

QRectF PvMatrix::cellFrameAt(int row, int column) const
{
    const qreal top = row * (m_cellSize.height() + m_spacing.height());
    const qreal y = isFlipped() ? top : height() - top - m_cellSize.height();
    return QRectF(
        column * (m_cellSize.width() + m_spacing.width()), y, m_cellSize.width(), m_cellSize.height());
}

bool PvMatrix::getRowColumnRangeInRect(
    const QRectF& rect, int* firstRow, int* lastRow, int* firstColumn, int* lastColumn) const
{
    const qreal pitchX = m_cellSize.width() + m_spacing.width();
    const qreal pitchY = m_cellSize.height() + m_spacing.height();
    if (m_rows == 0 || m_columns == 0 || rect.isEmpty() || pitchX <= 0 || pitchY <= 0)
        return false;
    const qreal top = isFlipped() ? rect.top() : height() - rect.bottom();
    const qreal bottom = top + rect.height();
    auto clampIndex = [](qreal v, int n) { return int(std::clamp(v, 0.0, qreal(n - 1))); };
    if (bottom < 0 || rect.right() < 0)
        return false;
    *firstRow = clampIndex(std::floor(top / pitchY), m_rows);
    *lastRow = clampIndex(std::floor(bottom / pitchY), m_rows);
    *firstColumn = clampIndex(std::floor(rect.left() / pitchX), m_columns);
    *lastColumn = clampIndex(std::floor(rect.right() / pitchX), m_columns);
    return true;
}

void PvMatrix::setPrototype(std::unique_ptr<PvCell> prototype)
{
    m_prototype = std::move(prototype);
}

std::unique_ptr<PvCell> PvMatrix::makeCell(int, int) const
{
    return m_prototype ? m_prototype->clone() : std::make_unique<PvCell>();
}

void PvMatrix::renewRows(int rows, int columns)
{
    rows = std::max(0, rows);
    columns = std::max(0, columns);
    if (rows == 0 || columns == 0)
        rows = columns = 0;
    cancelTracking();
    std::vector<CellPtr> cells(size_t(rows) * size_t(columns));
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < columns; ++c) {
            auto& slot = cells[size_t(r * columns + c)];
            if (r < m_rows && c < m_columns)
                slot = std::move(m_cells[size_t(indexOf(r, c))]);
            else
                slot = newCell(r, c);
            adoptCell(slot.get());
            setStoredIndexOfCell(slot.get(), r * columns + c);
        }
    }
    m_cells = std::move(cells);
    m_rows = rows;
    m_columns = columns;
    if (m_selectedRow >= m_rows || m_selectedColumn >= m_columns)
        m_selectedRow = m_selectedColumn = -1;
    if (m_anchor >= int(m_cells.size()))
        m_anchor = -1;
    m_pressedIndex = -1;
    keepRadioSelection();
    updateGeometry();
    update();
}

void PvMatrix::keepRadioSelection()
{
    if (m_mode == RadioModeMatrix && !m_allowsEmptySelection && !m_cells.empty() && !selectedCell())
        selectCellAt(0, 0);
}

void PvMatrix::addRow()
{
    insertRow(m_rows);
}

void PvMatrix::addColumn()
{
    insertColumn(m_columns);
}

void PvMatrix::insertRow(int row)
{
    if (row < 0 || row > m_rows)
        return;
    if (m_columns == 0) {
        renewRows(1, 1);
        return;
    }
    cancelTracking();
    for (int c = 0; c < m_columns; ++c) {
        CellPtr cell(makeCell(row, c).release());
        adoptCell(cell.get());
        m_cells.insert(m_cells.begin() + row * m_columns + c, std::move(cell));
    }
    cellsChanged(size_t(row) * size_t(m_columns)); // rows added at the end cost no renumbering
    ++m_rows;
    if (m_selectedRow >= row)
        ++m_selectedRow;
    m_anchor = -1;
    updateGeometry();
    update();
}

void PvMatrix::insertColumn(int column)
{
    if (column < 0 || column > m_columns)
        return;
    if (m_rows == 0) {
        renewRows(1, 1);
        return;
    }
    cancelTracking();
    std::vector<CellPtr> cells;
    cells.reserve(size_t(m_rows) * size_t(m_columns + 1));
    for (int r = 0; r < m_rows; ++r) {
        for (int c = 0; c <= m_columns; ++c) {
            if (c == column) {
                CellPtr cell(makeCell(r, c).release());
                adoptCell(cell.get());
                cells.push_back(std::move(cell));
            }
            if (c < m_columns)
                cells.push_back(std::move(m_cells[size_t(indexOf(r, c))]));
        }
    }
    m_cells = std::move(cells);
    cellsChanged();
    ++m_columns;
    if (m_selectedColumn >= column)
        ++m_selectedColumn;
    m_anchor = -1;
    updateGeometry();
    update();
}

void PvMatrix::removeRow(int row)
{
    if (row < 0 || row >= m_rows)
        return;
    cancelTracking();
    m_cells.erase(m_cells.begin() + row * m_columns, m_cells.begin() + (row + 1) * m_columns);
    cellsChanged(size_t(row) * size_t(m_columns));
    if (--m_rows == 0)
        m_columns = 0;
    if (m_selectedRow == row)
        m_selectedRow = m_selectedColumn = -1;
    else if (m_selectedRow > row)
        --m_selectedRow;
    m_anchor = m_pressedIndex = -1;
    keepRadioSelection();
    updateGeometry();
    update();
}

void PvMatrix::removeColumn(int column)
{
    if (column < 0 || column >= m_columns)
        return;
    cancelTracking();
    for (int r = m_rows - 1; r >= 0; --r)
        m_cells.erase(m_cells.begin() + indexOf(r, column));
    cellsChanged();
    if (--m_columns == 0)
        m_rows = 0;
    if (m_selectedColumn == column)
        m_selectedRow = m_selectedColumn = -1;
    else if (m_selectedColumn > column)
        --m_selectedColumn;
    m_anchor = m_pressedIndex = -1;
    keepRadioSelection();
    updateGeometry();
    update();
}

void PvMatrix::putCell(std::unique_ptr<PvCell> cell, int row, int column)
{
    if (!cell || !cellAt(row, column))
        return;
    cancelTracking();
    adoptCell(cell.get());
    setStoredIndexOfCell(cell.get(), indexOf(row, column));
    m_cells[size_t(indexOf(row, column))] = CellPtr(cell.release());
    setNeedsDisplayInRect(cellFrameAt(row, column));
}

std::vector<PvCell*> PvMatrix::cells() const
{
    std::vector<PvCell*> out;
    out.reserve(m_cells.size());
    for (const auto& c : m_cells)
        out.push_back(c.get());
    return out;
}

void PvMatrix::setCellSize(const QSizeF& size)
{
    m_cellSize = size.expandedTo(QSizeF(0, 0));
    updateGeometry();
    update();
}

void PvMatrix::setIntercellSpacing(const QSizeF& spacing)
{
    m_spacing = spacing.expandedTo(QSizeF(0, 0));
    updateGeometry();
    update();
}

QSize PvMatrix::sizeHint() const
{
    const qreal w = m_columns * m_cellSize.width() + std::max(0, m_columns - 1) * m_spacing.width();
    const qreal h = m_rows * m_cellSize.height() + std::max(0, m_rows - 1) * m_spacing.height();
    return QSize(int(std::ceil(w)), int(std::ceil(h)));
}

void PvMatrix::sizeToCells()
{
    resize(sizeHint());
}

PvCell* PvMatrix::selectedCell() const
{
    return cellAt(m_selectedRow, m_selectedColumn);
}

std::vector<PvCell*> PvMatrix::selectedCells() const
{
    std::vector<PvCell*> out;
    for (const auto& c : m_cells)
        if (c->state() != PvCell::OffState)
            out.push_back(c.get());
    return out;
}

void PvMatrix::setKeyCell(int row, int column)
{
    m_selectedRow = row;
    m_selectedColumn = column;
}

void PvMatrix::selectCellAt(int row, int column)
{
    PvCell* target = cellAt(row, column);
    if (!target) {
        if (row != -1)
            return;
        if (m_mode == RadioModeMatrix && !m_allowsEmptySelection)
            return;
        deselectAllCells();
        return;
    }
    if (m_mode == RadioModeMatrix) {
        for (const auto& c : m_cells)
            if (c.get() != target && c->state() != PvCell::OffState)
                c->setState(PvCell::OffState);
    }
    target->setState(PvCell::OnState);
    setKeyCell(row, column);
    m_anchor = indexOf(row, column);
}

bool PvMatrix::selectCellWithTag(int tag)
{
    PvCell* c = cellWithTag(tag);
    int row = -1, column = -1;
    if (!c || !getRowColumnOfCell(c, &row, &column))
        return false;
    selectCellAt(row, column);
    return true;
}

void PvMatrix::selectAll()
{
    if (m_mode == RadioModeMatrix)
        return; // one cell at most
    holdCellUpdates();
    for (const auto& c : m_cells)
        if (c->isEnabled())
            c->setState(PvCell::OnState);
    releaseCellUpdates();
}

void PvMatrix::deselectAllCells()
{
    if (m_mode == RadioModeMatrix && !m_allowsEmptySelection)
        return;
    turnAllOff();
    setKeyCell(-1, -1);
    m_anchor = -1;
}

void PvMatrix::setSelectionFrom(int startIndex, int endIndex, int anchorIndex, bool select)
{
    const int n = int(m_cells.size());
    if (n == 0)
        return;
    startIndex = std::clamp(startIndex, 0, n - 1);
    endIndex = std::clamp(endIndex, 0, n - 1);
    const auto [lo, hi] = std::minmax(startIndex, endIndex);
    holdCellUpdates();
    for (int i = lo; i <= hi; ++i)
        m_cells[size_t(i)]->setState(select ? PvCell::OnState : PvCell::OffState);
    releaseCellUpdates();
    if (anchorIndex >= 0 && anchorIndex < n)
        m_anchor = anchorIndex;
    setKeyCell(endIndex / m_columns, endIndex % m_columns);
}

PvCell* PvMatrix::cellAtPoint(const QPointF& point, QRectF* frame) const
{
    int row = -1, column = -1;
    if (!getRowColumnForPoint(point, &row, &column))
        return nullptr;
    if (frame)
        *frame = cellFrameAt(row, column);
    return cellAt(row, column);
}

QRectF PvMatrix::frameOfCell(const PvCell* cell) const
{
    int row = -1, column = -1;
    return getRowColumnOfCell(cell, &row, &column) ? cellFrameAt(row, column) : QRectF();
}

PvCell* PvMatrix::accessibleCellAt(int index) const
{
    return index >= 0 && index < m_rows * m_columns ? m_cells[size_t(index)].get() : nullptr;
}

int PvMatrix::accessibleIndexOfCell(const PvCell* cell) const
{
    int row = -1, column = -1;
    return getRowColumnOfCell(cell, &row, &column) ? indexOf(row, column) : -1;
}

// ---- mouse ------------------------------------------------------------------------

void PvMatrix::selectByMouse(int row, int column, Qt::KeyboardModifiers modifiers, bool dragging)
{
    PvCell* c = cellAt(row, column);
    if (!c || !c->isEnabled())
        return;
    const int index = indexOf(row, column);
    const int oldRow = m_selectedRow, oldColumn = m_selectedColumn;
    if (m_mode == RadioModeMatrix) {
        if (row == oldRow && column == oldColumn && c->state() == PvCell::OnState)
            return;
        selectCellAt(row, column);
        m_selectionChanged = true;
    } else if (m_mode == ListModeMatrix) {
        if (modifiers & Qt::ControlModifier) {
            if (!dragging) {
                c->setState(c->state() == PvCell::OnState ? PvCell::OffState : PvCell::OnState);
                setKeyCell(row, column);
                m_anchor = index;
            }
        } else {
            const int anchor
                = (dragging || (modifiers & Qt::ShiftModifier)) && m_anchor >= 0 ? m_anchor : index;
            turnAllOff();
            setSelectionFrom(anchor, index, anchor, true);
        }
        m_selectionChanged = true;
    }
    if (m_continuous && m_selectionChanged) {
        m_selectionChanged = false;
        sendAction();
    }
}

void PvMatrix::mouseDown(const PvEvent& event)
{
    int row = -1, column = -1;
    m_selectionChanged = false;
    m_pressedIndex = -1;
    m_pressHit = false;
    if (!isEnabled() || !getRowColumnForPoint(event.location, &row, &column))
        return;
    PvCell* c = cellAt(row, column);
    if (!c || !c->isEnabled())
        return;
    m_pressHit = true;
    switch (m_mode) {
    case RadioModeMatrix:
    case ListModeMatrix:
        selectByMouse(row, column, event.modifiers, false);
        break;
    case HighlightModeMatrix:
        m_pressedIndex = indexOf(row, column);
        c->setHighlighted(true);
        break;
    case TrackModeMatrix:
        setKeyCell(row, column);
        c->trackMouse(event, cellFrameAt(row, column), this, false);
        break;
    }
}

void PvMatrix::mouseDragged(const PvEvent& event)
{
    if (m_mode == TrackModeMatrix) {
        PvControl::mouseDragged(event);
        return;
    }
    if (!m_pressHit)
        return;
    int row = -1, column = -1;
    const bool inCell = getRowColumnForPoint(event.location, &row, &column);
    if (m_mode == HighlightModeMatrix) {
        if (m_pressedIndex >= 0)
            m_cells[size_t(m_pressedIndex)]->setHighlighted(inCell && indexOf(row, column) == m_pressedIndex);
        return;
    }
    if (inCell)
        selectByMouse(row, column, event.modifiers, true);
}

void PvMatrix::mouseUp(const PvEvent& event)
{
    if (isTracking()) {
        PvControl::mouseUp(event); // ends tracking; the cell sends its action
        return;
    }
    if (m_mode == HighlightModeMatrix) {
        if (m_pressedIndex < 0)
            return;
        PvCell* c = m_cells[size_t(m_pressedIndex)].get();
        const bool inside = c->isHighlighted();
        c->setHighlighted(false);
        const int index = m_pressedIndex;
        m_pressedIndex = -1;
        if (!inside)
            return;
        c->setState(c->state() == PvCell::OnState ? PvCell::OffState : PvCell::OnState);
        setKeyCell(index / m_columns, index % m_columns);
        finishClick(event);
        return;
    }
    if ((m_mode == RadioModeMatrix || m_mode == ListModeMatrix) && m_pressHit)
        finishClick(event);
    m_pressHit = false;
}

void PvMatrix::didStopTracking(PvCell*, bool mouseIsUp, bool)
{
    // A tracking cell sends its own action; only the double click is the matrix's.
    if (mouseIsUp && currentEvent().clickCount >= 2 && !m_doubleAction.isEmpty())
        finishClick(currentEvent());
}

void PvMatrix::finishClick(const PvEvent& event)
{
    m_selectionChanged = false;
    if (event.clickCount >= 2 && !m_doubleAction.isEmpty()) {
        QPointer<PvMatrix> self(this);
        pv_sendAction(m_doubleAction, target(), this);
        if (self)
            emit doubleActionTriggered(this);
        return;
    }
    if (PvCell* c = selectedCell(); c && !c->action().isEmpty())
        c->sendAction(this);
    else
        sendAction();
}

// ---- keyboard ---------------------------------------------------------------------

bool PvMatrix::keyDown(const PvEvent& event)
{
    if (m_cells.empty())
        return false;
    int dr = 0, dc = 0;
    switch (event.key) {
    case Qt::Key_Up:
        dr = -1;
        break;
    case Qt::Key_Down:
        dr = 1;
        break;
    case Qt::Key_Left:
        dc = -1;
        break;
    case Qt::Key_Right:
        dc = 1;
        break;
    case Qt::Key_Space:
        if (PvCell* c = selectedCell(); c && m_mode == HighlightModeMatrix && c->isEnabled()) {
            c->setState(c->state() == PvCell::OnState ? PvCell::OffState : PvCell::OnState);
            sendAction();
            return true;
        }
        return PvControl::keyDown(event);
    default:
        return PvControl::keyDown(event);
    }
    if (m_mode == TrackModeMatrix)
        return false;
    int row = m_selectedRow, column = m_selectedColumn;
    if (row < 0) {
        // Nothing selected yet: down and right start at the first cell, up and left at the last.
        row = (dr < 0 || dc < 0) ? m_rows - 1 : 0;
        column = (dr < 0 || dc < 0) ? m_columns - 1 : 0;
    } else {
        // Skip disabled cells; stop at the edge.
        do {
            row += dr;
            column += dc;
        } while (cellAt(row, column) && !cellAt(row, column)->isEnabled());
        if (!cellAt(row, column))
            return true;
    }
    if (!cellAt(row, column)->isEnabled())
        return true;
    if (m_mode == ListModeMatrix && (event.modifiers & Qt::ShiftModifier) && m_anchor >= 0) {
        turnAllOff();
        setSelectionFrom(m_anchor, indexOf(row, column), m_anchor, true);
    } else if (m_mode == HighlightModeMatrix) {
        setKeyCell(row, column);
        update();
        return true; // moving the key cell is not a change of state
    } else {
        if (m_mode == ListModeMatrix)
            turnAllOff();
        selectCellAt(row, column);
    }
    sendAction();
    return true;
}

// ---- drawing ----------------------------------------------------------------------

void PvMatrix::drawRect(QPainter& painter, const QRectF& dirtyRect)
{
    // The background shows the spacing between cells as grid lines.
    if (m_drawsBackground)
        painter.fillRect(dirtyRect, palette().color(QPalette::Mid));
    int firstRow = 0, lastRow = -1, firstColumn = 0, lastColumn = -1;
    if (!getRowColumnRangeInRect(dirtyRect, &firstRow, &lastRow, &firstColumn, &lastColumn))
        lastRow = -1;
    for (int r = firstRow; r <= lastRow; ++r) {
        for (int c = firstColumn; c <= lastColumn; ++c) {
            const QRectF f = cellFrameAt(r, c);
            if (!f.intersects(dirtyRect))
                continue;
            if (m_drawsBackground)
                painter.fillRect(f, palette().color(QPalette::Base));
            m_cells[size_t(indexOf(r, c))]->drawWithFrame(painter, f, this);
        }
    }
    if (hasFocus() && selectedCell() && m_mode != TrackModeMatrix) {
        QPen pen(palette().color(QPalette::Highlight), 1.5);
        painter.setPen(pen);
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(cellFrameAt(m_selectedRow, m_selectedColumn).adjusted(0.75, 0.75, -0.75, -0.75));
    }
}

void PvMatrix::forEachCell(const std::function<void(PvCell*)>& f)
{
    for (auto& c : m_cells)
        f(c.get());
}
