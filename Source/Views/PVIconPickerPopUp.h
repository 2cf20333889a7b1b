// A grid of icons in a floating pop-up panel that tracks the mouse until a pick.
#pragma once

#include "PVIconButtonCell.h"
#include "PvMatrix.h"
#include "PvScrollView.h"

#include <QPointer>
#include <QVariant>
#include <QWidget>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

class PVIconPickerPopUp;

/// Keys of the dictionary entries (QVariantMap) given to setIcons() and setItems().
extern const QString PVTagName; ///< "PVTag": the cell's tag (int); default the entry's index
extern const QString PVIconName; ///< "PVIcon": picture of the normal state
extern const QString PVIconHighlightedName; ///< "PVIconHighlighted": under the pointer
extern const QString PVIconSelectedName; ///< "PVIconSelected": the selected cell
extern const QString PVIconHighlightedSelectedName; ///< "PVIconHighlightedSelected"
extern const QString PVMenuTitleName; ///< "PVMenuTitle": plain title
extern const QString PVMenuAttributedTitleName; ///< "PVMenuAttributedTitle": rich-text title
extern const QString PVMenuTitleSeparatorName; ///< "___PVMenuTitleSeparator___": makes a separator

/**
    Gives a pop-up its entries. A message the data source does not answer (std::nullopt,
    the default) is logged and the data source is ignored for that reading.
*/
class PVIconPickerPopUpDataSource {
public:
    virtual ~PVIconPickerPopUpDataSource() = default;
    virtual std::optional<int> numberOfIconsInIconPickerPopUp(PVIconPickerPopUp* popUp)
    {
        Q_UNUSED(popUp);
        return std::nullopt;
    }
    /// The entry at index (see PVIconPickerPopUp::setIcons()).
    virtual std::optional<QVariant> iconPickerPopUpIconAtIndex(PVIconPickerPopUp* popUp, int index)
    {
        Q_UNUSED(popUp);
        Q_UNUSED(index);
        return std::nullopt;
    }
};

/// The pop-up's delegate: kept for the host; the pop-up sends it no message of its own.
class PVIconPickerPopUpDelegate {
public:
    virtual ~PVIconPickerPopUpDelegate() = default;
};

/// The grid of an icon pop-up.
class PVIconPickerMatrix : public PvMatrix {
    Q_OBJECT
public:
    using PvMatrix::PvMatrix;
    /// The cells in reading order, for cells that are pickable (enabled, tag >= 0).
    QAccessible::Role accessibilityRole() const override { return QAccessible::List; }
};

/**
    The grid of a custom menu: one column whose cells keep frames of their own, so that
    separator rows are lower than the others (separatorHeight()).
*/
class PVMenuMatrix : public PVIconPickerMatrix {
    Q_OBJECT
public:
    using PVIconPickerMatrix::PVIconPickerMatrix;

    /// Recomputes the cell frames from the cells (call after the cells changed) and sizes
    /// the matrix to hold them.
    void updateCellFrames();
    const std::vector<QRectF>& cellFrames() const { return m_cellFrames; }
    double separatorHeight() const { return m_separatorHeight; }
    void setSeparatorHeight(double h) { m_separatorHeight = h; }

    QRectF cellFrameAt(int row, int column) const override;
    bool getRowColumnForPoint(const QPointF& point, int* row, int* column) const override;
    bool getRowColumnRangeInRect(
        const QRectF& rect, int* firstRow, int* lastRow, int* firstColumn, int* lastColumn) const override;
    QAccessible::Role accessibilityRole() const override { return QAccessible::PopupMenu; }

private:
    std::vector<QRectF> m_cellFrames;
    double m_separatorHeight = 7;
};

/**
    The borderless top-level pop-up window of a PVIconPickerPopUp. It takes the keyboard
    and every mouse event while open (a Qt pop-up), hands them to its pop-up, and closes
    without a pick when it loses them (a click elsewhere, another window activated).
*/
class PVIconSelectPanel : public QWidget {
    Q_OBJECT
public:
    explicit PVIconSelectPanel(PVIconPickerPopUp* popUp);
    PVIconPickerPopUp* popUp() const { return m_popUp; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    QPointer<PVIconPickerPopUp> m_popUp;
};

/**
    Shows a grid of icon cells in a borderless floating panel at a screen location, tracks
    the mouse until the user picks a cell or dismisses the panel, and then sends its action
    to its target (and emits iconPicked()).

    Entries (setIcons()): a null QVariant is a gap (disabled, tag -1); a QPixmap, QImage or
    QIcon is a picture (tag = index); an int is an image ID of the shared image provider
    (tag = the ID); a QVariantMap holds the keys above. Padding cells that complete the
    last row are disabled and show nothing.

    Opening (popUpAtLocation() and friends) places the panel by the location mode:
    0 top-left corner at the location, 1 top-right corner at it, 2 the selected cell under
    the pointer (with the offset that puts the pointer inside the cell), 3 bottom-left
    corner at it (opening upwards), 4 centred on it; the pop-up offset is added and the
    panel is kept on the available area of the screen the location is on.

    The press that opened the panel may be released at once: during a grace of 0.8 s
    (on PvClock) the release is ignored, and the next release picks; moving the pointer
    more than 10 points while the button is down ends the grace early, so press-drag-release
    picks in one gesture. When the grid scrolls, dragging near its top or bottom edge
    scrolls it every 0.05 s. Keys: arrows move the highlight, Return (or Space) picks,
    Escape cancels.

    By default opening returns only once the panel closed (a nested event loop runs
    meanwhile, with timers firing); setTracksInNestedLoop(false) returns at once and the
    panel keeps tracking from the normal event loop.

    Main thread only.
*/
class PVIconPickerPopUp : public QObject {
    Q_OBJECT
public:
    PVIconPickerPopUp(int rows, int cols, QSizeF topLeftSpacing, QSizeF bottomRightSpacing,
        QSizeF cellSpacing, QSizeF cellSize, QSizeF iconInset, int popUpLocationMode,
        QObject* parent = nullptr);
    ~PVIconPickerPopUp() override;

    // ---- content -----------------------------------------------------------------
    void setIcons(const std::optional<QVariantList>& icons)
    {
        setIconsWithPVStateMask(icons, PvButtonCell::PVStateAllMask);
    }
    /// The same; stateMask goes to cells that load their pictures from an image ID.
    void setIconsWithPVStateMask(const std::optional<QVariantList>& icons, uint32_t stateMask);
    /// Reads the data source again.
    void reloadData();
    PVIconPickerPopUpDataSource* dataSource() const { return m_dataSource; }
    void setDataSource(PVIconPickerPopUpDataSource* dataSource) { m_dataSource = dataSource; }
    PVIconPickerPopUpDelegate* delegate() const { return m_delegate; }
    void setDelegate(PVIconPickerPopUpDelegate* delegate) { m_delegate = delegate; }
    QObject* target() const { return m_target; }
    void setTarget(QObject* target) { m_target = target; }
    QByteArray action() const { return m_action; }
    void setAction(const QByteArray& action) { m_action = action; }
    /// The cell made for each entry (a PVIconButtonCell by default).
    void setCellClass(std::function<std::unique_ptr<PVIconButtonCell>()> factory);
    /// The scroll view put around the grid (a PvScrollView by default).
    void setScrollViewClass(std::function<PvScrollView*()> factory);
    /// The grid (also while the panel shows it); null until icons are set.
    PvMatrix* iconMatrix() const { return matrix(); }

    // ---- look --------------------------------------------------------------------
    void setBackgroundColor(const QColor& c);
    QColor backgroundColor() const { return m_backgroundColor; }
    void setCellBackgroundColor(const QColor& c);
    void setCellHighlightedColor(const QColor& c);
    void setCellSelectedColor(const QColor& c);
    void setCellHighlightedSelectedColor(const QColor& c);
    void setNumberOfVisibleRows(int rows) { m_rows = rows; }
    int numberOfVisibleRows() const { return m_rows; }
    /// Sets the column count and rebuilds the grid with the same cells in order.
    void setNumberOfVisibleColumns(int cols);
    int numberOfVisibleColumns() const { return m_cols; }
    void setTopLeftSpacing(QSizeF s) { m_topLeftSpacing = s; }
    void setBottomRightSpacing(QSizeF s) { m_bottomRightSpacing = s; }
    void setCellSpacing(QSizeF s);
    QSizeF cellSpacing() const { return m_cellSpacing; }
    void setCellSize(QSizeF s);
    void setIconInset(QSizeF s);
    QSizeF cellSize() const { return m_cellSize; }
    void setPopUpLocationMode(int mode) { m_popUpLocationMode = mode; }
    int popUpLocationMode() const { return m_popUpLocationMode; }
    void setOpaque(bool opaque) { m_opaque = opaque; }
    bool isOpaque() const { return m_opaque; }
    void setOpacity(double opacity) { m_opacity = opacity; }
    double opacity() const { return m_opacity; }
    void setPopUpOffset(QPointF offset) { m_popUpOffset = offset; }
    QPointF popUpOffset() const { return m_popUpOffset; }

    // ---- selection ---------------------------------------------------------------
    QPixmap selectedIconImage() const;
    PVIconButtonCell* selectedCell() const;
    /// The index (reading order) of the selected cell; -1 for none.
    int indexOfSelectedIcon() const;
    void selectIconAtIndex(int index);
    void setSelectedIconTag(int tag);
    int selectedIconTag() const { return m_selectedIconTag; }
    PVIconButtonCell* highlightedCell() const { return m_highlightedCell; }

    // ---- opening -----------------------------------------------------------------
    /// Opens at the event's location in view (a right-button press makes the right
    /// button control the pop-up).
    void popUpForEvent(const PvEvent& event, QWidget* view);
    /// Opens at the pointer's position.
    void popUpForEvent(const PvEvent& event);
    /// Opens at location (global coordinates).
    void popUpAtLocation(const QPointF& location);
    /// Closes without a pick: the selected tag returns to the one of opening.
    void close();
    bool isOpen() const { return m_iconPanel != nullptr; }
    PVIconSelectPanel* panel() const { return m_iconPanel; }
    PvScrollView* scrollView() const { return m_scrollView; }
    bool tracksInNestedLoop() const { return m_nestedLoop; }
    void setTracksInNestedLoop(bool nested) { m_nestedLoop = nested; }
    /// Whether the release that opened the panel is still being ignored.
    bool isStayingUp() const { return m_stayUp; }

    // ---- geometry ----------------------------------------------------------------
    QSizeF popUpSize() const { return popUpSizeForRows(m_rows, m_cols); }
    virtual QSizeF popUpSizeForRows(int rows, int columns) const;
    /// The cell under location (global coordinates) in the open panel; null for none.
    PVIconButtonCell* cellAtMouseLocation(const QPointF& location) const;

    // ---- tracking (called by the panel) --------------------------------------------
    void panelMouseEvent(QMouseEvent* event);
    bool panelKeyEvent(QKeyEvent* event);
    void panelClosed();

signals:
    /// Emitted after a pick, once the panel closed, with the new selected tag.
    void iconPicked(PVIconPickerPopUp* popUp, int tag);

protected:
    /// Makes the matrix (a PVIconPickerMatrix; PVPopUpMenu makes a PVMenuMatrix).
    virtual std::unique_ptr<PvMatrix> makeMatrix() const;
    /// Updates the matrix's cell size, spacing and size after its cells changed.
    virtual void updateMatrixProperties();
    /// Applies the common properties to a new or moved cell.
    virtual void applyCellProperties(PVIconButtonCell* cell) const;
    std::vector<PVIconButtonCell*> iconCells() const;

private:
    Q_INVOKABLE void stayUpTimerAction();
    Q_INVOKABLE void autoScrollMatrix();
    void popUpAtLocationWithHeight(const QPointF& location, double panelHeight);
    void setHighlightedCell(PVIconButtonCell* cell);
    void specialMouseUp();
    void specialMouseDragged(const QPointF& globalPos);
    void iconMatrixAction();
    void closePanel();
    void moveHighlight(int dRow, int dColumn);
    bool stayUpTimerRunning() const { return m_stayUpTimerRunning; }
    void stopStayUpTimer();
    void stopAutoScroll();
    PvMatrix* matrix() const; // the grid, also while the panel holds it

    QPointer<PVIconSelectPanel> m_iconPanel;
    std::unique_ptr<PvMatrix> m_iconMatrix; // owned while the panel is closed
    int m_rows;
    int m_cols;
    QSizeF m_topLeftSpacing;
    QSizeF m_bottomRightSpacing;
    QSizeF m_cellSpacing;
    QSizeF m_cellSize;
    QSizeF m_iconInset;
    bool m_opaque = true;
    QColor m_backgroundColor;
    QColor m_cellBackgroundColor, m_cellHighligtedColor, m_cellSelectedColor, m_cellHighlightedSelectedColor;
    double m_opacity = 1.0;
    QPointF m_popUpOffset;
    int m_popUpLocationMode;
    int m_selectedIconTag = -1;
    int m_originalSelectedIconTag = 0;
    PVIconButtonCell* m_highlightedCell = nullptr;
    PVIconPickerPopUpDataSource* m_dataSource = nullptr;
    PVIconPickerPopUpDelegate* m_delegate = nullptr;
    QPointer<QObject> m_target;
    QByteArray m_action;
    std::function<PvScrollView*()> m_scrollViewClass;
    std::function<std::unique_ptr<PVIconButtonCell>()> m_cellClass;
    QPointer<PvScrollView> m_scrollView;
    QPointF m_popUpMouseLocationInPanel;
    bool m_rightMouseControlled = false;
    bool m_stayUp = false;
    bool m_stayUpTimerRunning = false; // the 0.8 s grace is pending on PvClock
    bool m_autoScrollTimerRunning = false; // the 0.05 s auto-scroll repeats on PvClock
    float m_autoScrollSpeed = 0;
    bool m_nestedLoop = true;
    bool m_closing = false;
    int m_entryCount = 0; // entries given to the last setIcons()
    QVariantList m_entries; // kept to refill the grid for a new column count
    uint32_t m_stateMask = PvButtonCell::PVStateAllMask;
    class QEventLoop* m_loop = nullptr;
};

/**
    Moves rect onto screen: a rect past the right (bottom) edge moves left (up) until its
    edge meets the screen's; one past the left (top) edge afterwards is put at the screen's
    left (top) edge when it had not moved, or, when it had, is shrunk to fit if shrink is
    set and otherwise left where it was moved (hanging over the left or top edge).
    Coordinates grow downward (Qt's screen coordinates).
*/
QRectF pv_constrainRectToScreenRect(const QRectF& rect, const QRectF& screen, bool shrink);
