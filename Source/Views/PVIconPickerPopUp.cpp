#include "PVIconPickerPopUp.h"

#include "PvDelayedPerform.h"
#include "PvScrollView.h"
#include "PvTargetAction.h"

#include <QAccessible>
#include <QApplication>
#include <QEventLoop>
#include <QIcon>
#include <QKeyEvent>
#include <QPainter>
#include <QScreen>
#include <QScrollBar>
#include <QStyle>

#include <algorithm>
#include <cmath>

const QString PVTagName = QStringLiteral("PVTag");
const QString PVIconName = QStringLiteral("PVIcon");
const QString PVIconHighlightedName = QStringLiteral("PVIconHighlighted");
const QString PVIconSelectedName = QStringLiteral("PVIconSelected");
const QString PVIconHighlightedSelectedName = QStringLiteral("PVIconHighlightedSelected");
const QString PVMenuTitleName = QStringLiteral("PVMenuTitle");
const QString PVMenuAttributedTitleName = QStringLiteral("PVMenuAttributedTitle");
const QString PVMenuTitleSeparatorName = QStringLiteral("___PVMenuTitleSeparator___");

namespace {

constexpr double kStayUpInterval = 0.8;
constexpr double kAutoScrollInterval = 0.05;
constexpr int kStayUpDistance = 10;
constexpr double kAutoScrollMargin = 10;

// A picture entry (pixmap, image or icon) as a pixmap; null for anything else.
QPixmap pictureOf(const QVariant& v, const QSizeF& size)
{
    switch (v.typeId()) {
    case QMetaType::QPixmap:
        return v.value<QPixmap>();
    case QMetaType::QImage:
        return QPixmap::fromImage(v.value<QImage>());
    case QMetaType::QIcon:
        return v.value<QIcon>().pixmap(size.toSize(), qApp ? qApp->devicePixelRatio() : 1.0);
    default:
        return {};
    }
}

bool isNumber(const QVariant& v)
{
    switch (v.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::Float:
    case QMetaType::Short:
    case QMetaType::UShort:
        return true;
    default:
        return false;
    }
}

bool pickable(const PvCell* cell)
{
    return cell && cell->isEnabled() && cell->tag() >= 0;
}

} // namespace

QRectF pv_constrainRectToScreenRect(const QRectF& rect, const QRectF& screen, bool shrink)
{
    double x = rect.x(), y = rect.y(), w = rect.width(), h = rect.height();
    const double sx = screen.x(), sy = screen.y(), sw = screen.width(), sh = screen.height();
    // Horizontally the right edge wins: a rect past it moves left first.
    const double dx = (sx + sw) - (x + w);
    const bool movedX = dx < 0;
    if (movedX)
        x += dx;
    if (x < sx) {
        if (!movedX) {
            x = sx;
        } else if (shrink) {
            w -= sx - x;
            x = sx;
        }
    }
    // Vertically the top edge wins (what is on top stays on top): a rect above the screen
    // moves down first; one still past the bottom is then moved up if it had not moved,
    // shrunk if allowed, and otherwise left hanging over the bottom.
    const bool movedY = y < sy;
    if (movedY)
        y = sy;
    const double over = (y + h) - (sy + sh);
    if (over > 0) {
        if (!movedY)
            y -= over;
        else if (shrink)
            h -= over;
    }
    return {x, y, w, h};
}

// ---- PVMenuMatrix --------------------------------------------------------------------

void PVMenuMatrix::updateCellFrames()
{
    m_cellFrames.clear();
    const QSizeF size = cellSize();
    double y = 0;
    for (int r = 0; r < numberOfRows(); ++r) {
        const auto* cell = dynamic_cast<const PVMenuButtonCell*>(cellAt(r, 0));
        const double h = cell && cell->isSeparator() ? m_separatorHeight : size.height();
        m_cellFrames.emplace_back(0, y, size.width(), h);
        y += h + intercellSpacing().height();
    }
    const double height = m_cellFrames.empty() ? 0 : m_cellFrames.back().bottom();
    resize(int(std::ceil(size.width())), int(std::ceil(height)));
    update();
}

QRectF PVMenuMatrix::cellFrameAt(int row, int column) const
{
    if (column == 0 && row >= 0 && size_t(row) < m_cellFrames.size() && numberOfColumns() == 1)
        return m_cellFrames[size_t(row)];
    return PvMatrix::cellFrameAt(row, column);
}

bool PVMenuMatrix::getRowColumnForPoint(const QPointF& point, int* row, int* column) const
{
    if (m_cellFrames.size() != size_t(numberOfRows()) || numberOfColumns() != 1)
        return PvMatrix::getRowColumnForPoint(point, row, column);
    const auto it = std::upper_bound(m_cellFrames.begin(), m_cellFrames.end(), point.y(),
        [](double y, const QRectF& f) { return y < f.top(); });
    if (it == m_cellFrames.begin())
        return false;
    const QRectF& f = *std::prev(it);
    if (!f.contains(point))
        return false;
    *row = int(std::prev(it) - m_cellFrames.begin());
    *column = 0;
    return true;
}

bool PVMenuMatrix::getRowColumnRangeInRect(
    const QRectF& rect, int* firstRow, int* lastRow, int* firstColumn, int* lastColumn) const
{
    if (m_cellFrames.size() != size_t(numberOfRows()) || numberOfColumns() != 1)
        return PvMatrix::getRowColumnRangeInRect(rect, firstRow, lastRow, firstColumn, lastColumn);
    int first = -1, last = -1;
    for (size_t i = 0; i < m_cellFrames.size(); ++i) {
        if (m_cellFrames[i].intersects(rect)) {
            if (first < 0)
                first = int(i);
            last = int(i);
        }
    }
    if (first < 0)
        return false;
    *firstRow = first;
    *lastRow = last;
    *firstColumn = *lastColumn = 0;
    return true;
}

// ---- PVIconSelectPanel ---------------------------------------------------------------

PVIconSelectPanel::PVIconSelectPanel(PVIconPickerPopUp* popUp)
    : QWidget(nullptr, Qt::Popup | Qt::FramelessWindowHint)
    , m_popUp(popUp)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    setObjectName(QStringLiteral("PVIconSelectPanel"));
}

void PVIconSelectPanel::paintEvent(QPaintEvent*)
{
    if (!m_popUp)
        return;
    QPainter painter(this);
    QColor fill = m_popUp->backgroundColor();
    if (!fill.isValid())
        fill = palette().color(QPalette::Base);
    if (!m_popUp->isOpaque() && !m_popUp->backgroundColor().isValid())
        return;
    painter.fillRect(rect(), fill);
    // A hairline edge where a window shadow would be.
    QColor edge = palette().color(QPalette::Shadow);
    edge.setAlphaF(0.35f);
    painter.setPen(QPen(edge, 1.0));
    painter.drawRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5));
}

void PVIconSelectPanel::mousePressEvent(QMouseEvent* event)
{
    if (!rect().contains(event->position().toPoint())) {
        QWidget::mousePressEvent(event); // a Qt pop-up closes on a press outside
        return;
    }
    if (m_popUp)
        m_popUp->panelMouseEvent(event);
}

void PVIconSelectPanel::mouseMoveEvent(QMouseEvent* event)
{
    if (m_popUp)
        m_popUp->panelMouseEvent(event);
}

void PVIconSelectPanel::mouseReleaseEvent(QMouseEvent* event)
{
    if (m_popUp)
        m_popUp->panelMouseEvent(event);
}

void PVIconSelectPanel::keyPressEvent(QKeyEvent* event)
{
    if (!m_popUp || !m_popUp->panelKeyEvent(event))
        QWidget::keyPressEvent(event);
}

void PVIconSelectPanel::wheelEvent(QWheelEvent* event)
{
    if (m_popUp && m_popUp->scrollView())
        QApplication::sendEvent(m_popUp->scrollView()->verticalScrollBar(), event);
}

void PVIconSelectPanel::closeEvent(QCloseEvent* event)
{
    if (m_popUp)
        m_popUp->panelClosed();
    QWidget::closeEvent(event);
}

// ---- PVIconPickerPopUp ---------------------------------------------------------------

PVIconPickerPopUp::PVIconPickerPopUp(int rows, int cols, QSizeF topLeftSpacing, QSizeF bottomRightSpacing,
    QSizeF cellSpacing, QSizeF cellSize, QSizeF iconInset, int popUpLocationMode, QObject* parent)
    : QObject(parent)
    , m_rows(rows)
    , m_cols(cols)
    , m_topLeftSpacing(topLeftSpacing)
    , m_bottomRightSpacing(bottomRightSpacing)
    , m_cellSpacing(cellSpacing)
    , m_cellSize(cellSize)
    , m_iconInset(iconInset)
    , m_popUpLocationMode(popUpLocationMode)
{
    // Mode 2 puts the pointer inside the selected cell, near its top right.
    if (popUpLocationMode == 2 && !cellSize.isEmpty())
        m_popUpOffset = QPointF(-std::floor(cellSize.width() * 4 / 5), -std::floor(cellSize.height() / 5));
}

PVIconPickerPopUp::~PVIconPickerPopUp()
{
    if (isOpen())
        close();
    pv_cancelPreviousPerformRequests(this);
}

void PVIconPickerPopUp::setCellClass(std::function<std::unique_ptr<PVIconButtonCell>()> factory)
{
    m_cellClass = std::move(factory);
}

void PVIconPickerPopUp::setScrollViewClass(std::function<PvScrollView*()> factory)
{
    m_scrollViewClass = std::move(factory);
}

std::unique_ptr<PvMatrix> PVIconPickerPopUp::makeMatrix() const
{
    return std::make_unique<PVIconPickerMatrix>();
}

void PVIconPickerPopUp::applyCellProperties(PVIconButtonCell* cell) const
{
    cell->setBackgroundColor(m_cellBackgroundColor);
    cell->setHighlightedColor(m_cellHighligtedColor);
    cell->setSelectedColor(m_cellSelectedColor);
    cell->setHighlightedSelectedColor(m_cellHighlightedSelectedColor);
    cell->setIconInset(m_iconInset);
}

void PVIconPickerPopUp::updateMatrixProperties()
{
    if (!matrix())
        return;
    matrix()->setCellSize(m_cellSize);
    matrix()->setIntercellSpacing(m_cellSpacing);
    matrix()->sizeToCells();
}

std::vector<PVIconButtonCell*> PVIconPickerPopUp::iconCells() const
{
    std::vector<PVIconButtonCell*> out;
    if (matrix())
        for (PvCell* c : matrix()->cells())
            if (auto* ic = dynamic_cast<PVIconButtonCell*>(c))
                out.push_back(ic);
    return out;
}

void PVIconPickerPopUp::setIconsWithPVStateMask(const std::optional<QVariantList>& icons, uint32_t stateMask)
{
    if (isOpen())
        close();
    m_highlightedCell = nullptr;
    if (!icons) {
        m_iconMatrix.reset();
        m_entryCount = 0;
        return;
    }
    const int count = int(icons->size());
    const int cols = std::max(1, m_cols);
    const int rows = (count + cols - 1) / cols;
    auto matrix = makeMatrix();
    matrix->setGeometry(0, 0, 100, 100);
    matrix->setMode(PvMatrix::HighlightModeMatrix);
    std::unique_ptr<PVIconButtonCell> prototype
        = m_cellClass ? m_cellClass() : std::make_unique<PVIconButtonCell>();
    matrix->setPrototype(std::move(prototype));
    matrix->renewRows(rows, cols);
    matrix->setDrawsBackground(false);
    matrix->setAttribute(Qt::WA_TransparentForMouseEvents);
    int i = 0;
    for (PvCell* c : matrix->cells()) {
        auto* cell = dynamic_cast<PVIconButtonCell*>(c);
        if (!cell) {
            ++i;
            continue;
        }
        applyCellProperties(cell);
        cell->setState(PvCell::OffState);
        if (i >= count) {
            cell->setEnabled(false); // padding of the last row
            cell->setTag(-1);
            ++i;
            continue;
        }
        const QVariant& entry = (*icons)[i];
        if (!entry.isValid() || entry.isNull()) {
            cell->setEnabled(false);
            cell->setTag(-1);
        } else if (isNumber(entry)) {
            const int id = entry.toInt();
            cell->setTag(id);
            cell->setImageID(id, stateMask);
        } else if (entry.typeId() == QMetaType::QVariantMap) {
            const QVariantMap map = entry.toMap();
            const QSizeF size = m_cellSize - 2 * m_iconInset;
            const std::pair<QString, PvButtonCell::ButtonState> pictures[] = {
                {PVIconName, PvButtonCell::NormalState},
                {PVIconHighlightedName, PvButtonCell::HighlightedState},
                {PVIconSelectedName, PvButtonCell::NormalOnState},
                {PVIconHighlightedSelectedName, PvButtonCell::HighlightedOnState},
            };
            for (const auto& [key, state] : pictures)
                if (map.contains(key))
                    cell->setImage(pictureOf(map.value(key), size), state);
            if (map.contains(PVMenuTitleName))
                cell->setStringValue(map.value(PVMenuTitleName).toString());
            if (auto* menuCell = dynamic_cast<PVMenuButtonCell*>(cell)) {
                if (map.contains(PVMenuAttributedTitleName))
                    menuCell->setAttributedTitle(map.value(PVMenuAttributedTitleName).toString());
            }
            if (cell->supportsSeparator()
                && map.value(PVMenuTitleName).toString() == PVMenuTitleSeparatorName) {
                if (auto* menuCell = dynamic_cast<PVMenuButtonCell*>(cell)) {
                    menuCell->setTitle(QString());
                    menuCell->setSeparator(true);
                }
            }
            cell->setTag(map.contains(PVTagName) ? map.value(PVTagName).toInt() : i);
        } else {
            cell->setImage(pictureOf(entry, m_cellSize - 2 * m_iconInset));
            cell->setTag(i);
        }
        ++i;
    }
    m_iconMatrix = std::move(matrix);
    m_entries = *icons;
    m_stateMask = stateMask;
    m_entryCount = count;
    updateMatrixProperties();
    if (PVIconButtonCell* selected = selectedCell())
        selected->setState(PvCell::OnState);
}

void PVIconPickerPopUp::reloadData()
{
    if (!m_dataSource)
        return;
    const std::optional<int> count = m_dataSource->numberOfIconsInIconPickerPopUp(this);
    if (!count) {
        qWarning().noquote()
            << "[PVIconPickerPopUp] data source has to implement numberOfIconsInIconPickerPopUp: ";
        return;
    }
    QVariantList entries;
    for (int i = 0; i < *count; ++i) {
        const std::optional<QVariant> entry = m_dataSource->iconPickerPopUpIconAtIndex(this, i);
        if (!entry) {
            qWarning().noquote()
                << "[PVIconPickerPopUp] data source has to implement iconPickerPopUp:iconAtIndex:";
            return;
        }
        entries.append(*entry);
    }
    setIcons(entries);
}

void PVIconPickerPopUp::setNumberOfVisibleColumns(int cols)
{
    m_cols = std::max(1, cols);
    if (matrix())
        setIconsWithPVStateMask(m_entries, m_stateMask); // the same cells in order, refilled
}

void PVIconPickerPopUp::setCellSpacing(QSizeF s)
{
    m_cellSpacing = s;
    updateMatrixProperties();
}

void PVIconPickerPopUp::setCellSize(QSizeF s)
{
    m_cellSize = s;
    updateMatrixProperties();
}

void PVIconPickerPopUp::setIconInset(QSizeF s)
{
    m_iconInset = s;
    for (PVIconButtonCell* c : iconCells())
        c->setIconInset(s);
}

void PVIconPickerPopUp::setBackgroundColor(const QColor& c)
{
    m_backgroundColor = c;
    if (m_iconPanel)
        m_iconPanel->update();
}

void PVIconPickerPopUp::setCellBackgroundColor(const QColor& c)
{
    m_cellBackgroundColor = c;
    for (PVIconButtonCell* cell : iconCells())
        cell->setBackgroundColor(c);
}

void PVIconPickerPopUp::setCellHighlightedColor(const QColor& c)
{
    m_cellHighligtedColor = c;
    for (PVIconButtonCell* cell : iconCells())
        cell->setHighlightedColor(c);
}

void PVIconPickerPopUp::setCellSelectedColor(const QColor& c)
{
    m_cellSelectedColor = c;
    for (PVIconButtonCell* cell : iconCells())
        cell->setSelectedColor(c);
}

void PVIconPickerPopUp::setCellHighlightedSelectedColor(const QColor& c)
{
    m_cellHighlightedSelectedColor = c;
    for (PVIconButtonCell* cell : iconCells())
        cell->setHighlightedSelectedColor(c);
}

// ---- selection -----------------------------------------------------------------------

PVIconButtonCell* PVIconPickerPopUp::selectedCell() const
{
    if (!matrix() || m_selectedIconTag < 0)
        return nullptr;
    return dynamic_cast<PVIconButtonCell*>(matrix()->cellWithTag(m_selectedIconTag));
}

QPixmap PVIconPickerPopUp::selectedIconImage() const
{
    const PVIconButtonCell* cell = selectedCell();
    return cell ? cell->imageForState(PvButtonCell::NormalState) : QPixmap();
}

int PVIconPickerPopUp::indexOfSelectedIcon() const
{
    const PVIconButtonCell* cell = selectedCell();
    int row = 0, column = 0;
    if (!cell || !matrix()->getRowColumnOfCell(cell, &row, &column))
        return -1;
    return row * matrix()->numberOfColumns() + column;
}

void PVIconPickerPopUp::selectIconAtIndex(int index)
{
    if (!matrix() || index < 0)
        return;
    const int cols = matrix()->numberOfColumns();
    if (const PvCell* cell = matrix()->cellAt(index / cols, index % cols))
        setSelectedIconTag(cell->tag());
}

void PVIconPickerPopUp::setSelectedIconTag(int tag)
{
    if (PVIconButtonCell* old = selectedCell())
        old->setState(PvCell::OffState);
    m_selectedIconTag = tag;
    if (PVIconButtonCell* now = selectedCell())
        now->setState(PvCell::OnState);
}

// ---- geometry ------------------------------------------------------------------------

QSizeF PVIconPickerPopUp::popUpSizeForRows(int rows, int columns) const
{
    double width = (m_cellSpacing.width() + m_cellSize.width()) * columns - m_cellSpacing.width()
        + m_topLeftSpacing.width() + m_bottomRightSpacing.width();
    const double height = (m_cellSpacing.height() + m_cellSize.height()) * rows - m_cellSpacing.height()
        + m_topLeftSpacing.height() + m_bottomRightSpacing.height();
    // The grid scrolls (and shows a vertical scroller) when it has more rows than are visible.
    if (matrix() && matrix()->numberOfRows() > rows)
        width += QApplication::style()->pixelMetric(QStyle::PM_ScrollBarExtent);
    return {width, height};
}

PVIconButtonCell* PVIconPickerPopUp::cellAtMouseLocation(const QPointF& location) const
{
    if (!m_iconPanel || !matrix() || !m_scrollView)
        return nullptr;
    const QPoint inViewport = m_scrollView->viewport()->mapFromGlobal(location.toPoint());
    if (!m_scrollView->viewport()->rect().contains(inViewport))
        return nullptr;
    const QPointF p = matrix()->mapFromGlobal(location);
    return dynamic_cast<PVIconButtonCell*>(matrix()->cellAtPoint(p));
}

// ---- opening -------------------------------------------------------------------------

void PVIconPickerPopUp::popUpForEvent(const PvEvent& event, QWidget* view)
{
    m_rightMouseControlled = event.type == PvRightMouseDown;
    const QPointF global = view ? view->mapToGlobal(event.location) : event.location;
    popUpAtLocationWithHeight(global, -1);
}

void PVIconPickerPopUp::popUpForEvent(const PvEvent& event)
{
    m_rightMouseControlled = event.type == PvRightMouseDown;
    popUpAtLocationWithHeight(QCursor::pos(), -1);
}

void PVIconPickerPopUp::popUpAtLocation(const QPointF& location)
{
    m_rightMouseControlled = false;
    popUpAtLocationWithHeight(location, -1);
}

void PVIconPickerPopUp::popUpAtLocationWithHeight(const QPointF& location, double panelHeight)
{
    if (isOpen())
        return;
    if (!m_iconMatrix && m_dataSource)
        reloadData();
    if (!m_iconMatrix)
        return;

    QSizeF size = popUpSize();
    if (panelHeight >= 0)
        size.setHeight(panelHeight);
    m_originalSelectedIconTag = m_selectedIconTag;
    for (PVIconButtonCell* c : iconCells())
        c->setState(PvCell::OffState);
    if (PVIconButtonCell* selected = selectedCell())
        selected->setState(PvCell::OnState);

    auto* panel = new PVIconSelectPanel(this);
    panel->setWindowOpacity(m_opacity);
    if (!m_opaque)
        panel->setAttribute(Qt::WA_TranslucentBackground);
    PvScrollView* scroll = m_scrollViewClass ? m_scrollViewClass() : new PvScrollView;
    scroll->setParent(panel);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setHasHorizontalScroller(false);
    scroll->setHasVerticalScroller(m_iconMatrix->height()
        > size.height() - m_topLeftSpacing.height() - m_bottomRightSpacing.height() + 0.5);
    scroll->setDrawsBackground(false);
    scroll->setAttribute(Qt::WA_TransparentForMouseEvents);
    scroll->viewport()->setAttribute(Qt::WA_TransparentForMouseEvents);
    scroll->verticalScrollBar()->setAttribute(Qt::WA_TransparentForMouseEvents);
    scroll->setFocusPolicy(Qt::NoFocus);
    m_iconMatrix->setFocusPolicy(Qt::NoFocus);
    PvMatrix* grid = m_iconMatrix.get();
    scroll->setDocumentView(m_iconMatrix.release());
    grid->setAutoFillBackground(false); // the panel's background shows through the grid
    m_iconPanel = panel;
    m_scrollView = scroll;

    const QRectF content(QPointF(m_topLeftSpacing.width(), m_topLeftSpacing.height()),
        QSizeF(size.width() - m_topLeftSpacing.width() - m_bottomRightSpacing.width(),
            size.height() - m_topLeftSpacing.height() - m_bottomRightSpacing.height()));
    panel->resize(size.toSize());
    scroll->setGeometry(content.toRect());
    if (PVIconButtonCell* selected = selectedCell())
        scroll->scrollRectToVisible(matrix()->frameOfCell(selected).toAlignedRect());

    // Placement by location mode, then onto the screen the location is on.
    const QPointF at = location + m_popUpOffset;
    QRectF frame(at, size);
    switch (m_popUpLocationMode) {
    case 1:
        frame.moveTopRight(at);
        break;
    case 2: {
        const PvCell* target = selectedCell();
        if (!target)
            target = matrix()->cellAt(0, 0);
        const QRectF cell = target ? matrix()->frameOfCell(target).translated(
                                -QPointF(scroll->documentVisibleRect().topLeft()) + content.topLeft())
                                   : QRectF();
        frame.moveTopLeft(at - cell.topLeft());
        break;
    }
    case 3:
        frame.moveBottomLeft(at);
        break;
    case 4:
        frame.moveCenter(at);
        break;
    default:
        break;
    }
    QScreen* screen = QGuiApplication::screenAt(location.toPoint());
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    if (screen)
        frame = pv_constrainRectToScreenRect(frame, screen->availableGeometry(), true);
    panel->setGeometry(frame.toAlignedRect());
    scroll->setGeometry(QRectF(content.topLeft(),
        QSizeF(panel->width() - m_topLeftSpacing.width() - m_bottomRightSpacing.width(),
            panel->height() - m_topLeftSpacing.height() - m_bottomRightSpacing.height()))
                            .toRect());
    if (PVIconButtonCell* selected = selectedCell())
        scroll->scrollRectToVisible(matrix()->frameOfCell(selected).toAlignedRect());
    panel->show();
    panel->setFocus(Qt::PopupFocusReason);

    m_popUpMouseLocationInPanel = location - QPointF(panel->pos());
    setHighlightedCell(cellAtMouseLocation(location));
    m_stayUp = true;
    m_stayUpTimerRunning = true;
    pv_performAfterDelay(this, "stayUpTimerAction", QVariant(), kStayUpInterval);

    if (m_nestedLoop) {
        QEventLoop loop;
        m_loop = &loop;
        QPointer<PVIconPickerPopUp> self(this);
        loop.exec();
        if (self)
            m_loop = nullptr;
    }
}

PvMatrix* PVIconPickerPopUp::matrix() const
{
    if (m_iconMatrix)
        return m_iconMatrix.get();
    return m_scrollView ? qobject_cast<PvMatrix*>(m_scrollView->documentView()) : nullptr;
}

void PVIconPickerPopUp::close()
{
    if (!isOpen())
        return;
    m_selectedIconTag = m_originalSelectedIconTag;
    for (PVIconButtonCell* c : iconCells())
        c->setState(
            c->tag() == m_selectedIconTag && m_selectedIconTag >= 0 ? PvCell::OnState : PvCell::OffState);
    closePanel();
}

void PVIconPickerPopUp::panelClosed()
{
    if (!m_closing)
        close(); // the panel went away without a pick
}

void PVIconPickerPopUp::closePanel()
{
    if (m_closing)
        return;
    m_closing = true;
    stopAutoScroll();
    stopStayUpTimer();
    m_stayUp = false;
    setHighlightedCell(nullptr);
    if (m_scrollView) {
        if (auto* grid = qobject_cast<PvMatrix*>(m_scrollView->takeWidget())) {
            grid->setParent(nullptr);
            grid->hide();
            m_iconMatrix.reset(grid);
        }
    }
    if (m_iconPanel) {
        PVIconSelectPanel* panel = m_iconPanel;
        m_iconPanel = nullptr;
        panel->close();
    }
    m_scrollView = nullptr;
    if (m_loop)
        m_loop->quit();
    m_closing = false;
}

// ---- tracking ------------------------------------------------------------------------

void PVIconPickerPopUp::stayUpTimerAction()
{
    m_stayUpTimerRunning = false;
    m_stayUp = false;
}

void PVIconPickerPopUp::stopStayUpTimer()
{
    if (m_stayUpTimerRunning)
        pv_cancelPreviousPerformRequests(this, "stayUpTimerAction", QVariant());
    m_stayUpTimerRunning = false;
}

void PVIconPickerPopUp::stopAutoScroll()
{
    if (m_autoScrollTimerRunning)
        pv_cancelPreviousPerformRequests(this, "autoScrollMatrix", QVariant());
    m_autoScrollTimerRunning = false;
    m_autoScrollSpeed = 0;
}

void PVIconPickerPopUp::setHighlightedCell(PVIconButtonCell* cell)
{
    if (m_highlightedCell == cell)
        return;
    if (m_highlightedCell)
        m_highlightedCell->setHighlighted(false);
    m_highlightedCell = pickable(cell) ? cell : nullptr;
    if (m_highlightedCell) {
        m_highlightedCell->setHighlighted(true);
        if (PvMatrix* grid = matrix()) {
            grid->updateCell(m_highlightedCell);
            // Assistive technology follows the highlight as the focused item.
            const int index = grid->accessibleIndexOfCell(m_highlightedCell);
            if (index >= 0) {
                QAccessibleEvent event(grid, QAccessible::Focus);
                event.setChild(index);
                QAccessible::updateAccessibility(&event);
            }
        }
    }
    if (PvMatrix* grid = matrix())
        grid->update();
}

void PVIconPickerPopUp::panelMouseEvent(QMouseEvent* event)
{
    if (m_stayUp && !m_stayUpTimerRunning)
        return;
    const QPointF global = event->globalPosition();
    switch (event->type()) {
    case QEvent::MouseButtonRelease:
        if (event->button() == Qt::LeftButton && !m_rightMouseControlled)
            specialMouseUp();
        else if (event->button() == Qt::RightButton && m_rightMouseControlled)
            specialMouseUp();
        break;
    case QEvent::MouseMove:
        if (event->buttons() & (Qt::LeftButton | Qt::RightButton))
            specialMouseDragged(global);
        else
            setHighlightedCell(cellAtMouseLocation(global));
        break;
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
        // A new click inside the panel: its release picks.
        stopStayUpTimer();
        m_stayUp = false;
        m_rightMouseControlled = event->button() == Qt::RightButton;
        setHighlightedCell(cellAtMouseLocation(global));
        break;
    default:
        break;
    }
}

void PVIconPickerPopUp::specialMouseUp()
{
    if (m_stayUp)
        return; // the release of the opening press: the panel stays up
    if (m_highlightedCell)
        iconMatrixAction();
    else
        close(); // released over no cell that can be picked
}

void PVIconPickerPopUp::specialMouseDragged(const QPointF& globalPos)
{
    if (!m_iconPanel)
        return;
    const QPointF p = globalPos - QPointF(m_iconPanel->pos());
    if (std::abs(int(p.x() - m_popUpMouseLocationInPanel.x())) > kStayUpDistance
        || std::abs(int(p.y() - m_popUpMouseLocationInPanel.y())) > kStayUpDistance) {
        stopStayUpTimer();
        m_stayUp = false;
    }
    setHighlightedCell(cellAtMouseLocation(globalPos));
    PvMatrix* grid = matrix();
    if (!m_scrollView || !grid || m_stayUp || grid->height() <= m_scrollView->viewport()->height())
        return;
    // Near the top or bottom edge the grid scrolls, faster the farther out the pointer is.
    const QRectF f = m_scrollView->geometry();
    double speed = 0;
    if (p.y() < f.top() + kAutoScrollMargin)
        speed = std::ceil(p.y() - (f.top() + kAutoScrollMargin));
    else if (p.y() > f.bottom() - kAutoScrollMargin)
        speed = std::floor(p.y() - (f.bottom() - kAutoScrollMargin));
    m_autoScrollSpeed = float(speed);
    if (speed == 0) {
        stopAutoScroll();
    } else if (!m_autoScrollTimerRunning) {
        m_autoScrollTimerRunning = true;
        pv_performAfterDelay(this, "autoScrollMatrix", QVariant(), kAutoScrollInterval);
    }
}

void PVIconPickerPopUp::autoScrollMatrix()
{
    if (!m_autoScrollTimerRunning || !m_scrollView)
        return;
    const double scaled = double(m_autoScrollSpeed) * 0.3;
    const int step = int(scaled > 0 ? std::ceil(scaled) : std::floor(scaled));
    const QRect visible = m_scrollView->documentVisibleRect();
    m_scrollView->scrollToPoint(QPoint(visible.x(), visible.y() + step));
    pv_performAfterDelay(this, "autoScrollMatrix", QVariant(), kAutoScrollInterval);
}

void PVIconPickerPopUp::iconMatrixAction()
{
    PVIconButtonCell* picked = m_highlightedCell;
    if (!picked)
        return;
    if (PVIconButtonCell* old = selectedCell())
        old->setState(PvCell::OffState);
    m_selectedIconTag = picked->tag();
    picked->setState(PvCell::OnState);
    closePanel();
    QPointer<PVIconPickerPopUp> self(this);
    if (!m_action.isEmpty())
        pv_sendAction(m_action, m_target, this);
    if (self)
        emit iconPicked(this, m_selectedIconTag);
}

void PVIconPickerPopUp::moveHighlight(int dRow, int dColumn)
{
    PvMatrix* grid = matrix();
    if (!grid || grid->numberOfRows() == 0)
        return;
    const int cols = grid->numberOfColumns(), total = grid->numberOfRows() * cols;
    const bool forward = dRow > 0 || dColumn > 0;
    int row = 0, column = 0;
    const PvCell* from = m_highlightedCell ? m_highlightedCell : selectedCell();
    int index = 0, step = 0;
    if (from && grid->getRowColumnOfCell(from, &row, &column)) {
        index = row * cols + column;
        step = dColumn != 0 ? dColumn : dRow * cols;
        index += step;
    } else {
        // Nothing highlighted yet: the first (or last) cell that can be picked.
        index = forward ? 0 : total - 1;
        step = forward ? 1 : -1;
    }
    for (; index >= 0 && index < total; index += step) {
        auto* cell = dynamic_cast<PVIconButtonCell*>(grid->cellAt(index / cols, index % cols));
        if (pickable(cell)) {
            setHighlightedCell(cell);
            if (m_scrollView)
                m_scrollView->scrollRectToVisible(grid->frameOfCell(cell).toAlignedRect());
            return;
        }
    }
}

bool PVIconPickerPopUp::panelKeyEvent(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Up:
        moveHighlight(-1, 0);
        return true;
    case Qt::Key_Down:
        moveHighlight(1, 0);
        return true;
    case Qt::Key_Left:
        moveHighlight(0, -1);
        return true;
    case Qt::Key_Right:
        moveHighlight(0, 1);
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
        if (m_highlightedCell)
            iconMatrixAction();
        return true;
    case Qt::Key_Escape:
        close();
        return true;
    default:
        return false;
    }
}
