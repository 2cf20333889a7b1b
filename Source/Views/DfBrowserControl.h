// The column browser: a row of scrolling columns, each a one-column matrix of rows.
#pragma once

#include "PvMatrix.h"
#include "PvScrollView.h"

#include <QColor>
#include <QList>
#include <QPixmap>
#include <QPointer>

#include <optional>
#include <vector>

class DfBrowserControl;
class PVScrollViewAnimation;
class QLabel;
class QMimeData;

/// Posted by a column scroll view while its splitter is dragged; the object is the
/// column scroll view, the user info holds "DELTAX", the points to add to its width.
inline const QString PvBrowserColumnScrollViewSplitterNotification
    = QStringLiteral("PVBrowserColumnScrollViewSplitterNotification");

/**
    What a column browser asks of its host. Every message is optional: the defaults mean
    "not answered". The background-click messages return true when the delegate answers
    them, because whether a double-click answer exists decides how long a single click
    waits before it is delivered.
*/
class DfBrowserControlDelegate {
public:
    virtual ~DfBrowserControlDelegate() = default;

    /// Fills the new column's matrix with its rows (once, when the column is set up).
    virtual void dfbrowserCreateRowsForColumn(DfBrowserControl* browser, int column, PvMatrix* matrix)
    {
        (void)browser, (void)column, (void)matrix;
    }
    /// The title of a new column when titles are not taken from the previous column.
    virtual std::optional<QString> dfbrowserTitleForColumn(DfBrowserControl* browser, int column)
    {
        (void)browser, (void)column;
        return std::nullopt;
    }
    virtual void dfbrowserConfigTitleView(DfBrowserControl* browser, QWidget* titleView, int column)
    {
        (void)browser, (void)titleView, (void)column;
    }
    /// Whether the file inspector may be shown; not answering counts as yes.
    virtual std::optional<bool> dfbrowserShouldShowFileInspectorView(DfBrowserControl* browser)
    {
        (void)browser;
        return std::nullopt;
    }
    virtual void dfbrowserWillShowFileInspectorView(DfBrowserControl* browser) { (void)browser; }
    virtual void dfbrowserWillDismissFileInspectorView(DfBrowserControl* browser) { (void)browser; }
    /// Whether the background-click message for clickCount (1 to 3) is answered: it
    /// decides whether a shorter click waits for a longer one.
    virtual bool dfbrowserAnswersClickInBackground(int clickCount) const
    {
        (void)clickCount;
        return false;
    }
    /// Clicks on the browser's background; column is -1 outside every column. Return
    /// true when answered.
    virtual bool dfbrowserSingleClickInBackgroundOfColumn(DfBrowserControl* browser, int column)
    {
        (void)browser, (void)column;
        return false;
    }
    virtual bool dfbrowserDoubleClickInBackgroundOfColumn(DfBrowserControl* browser, int column)
    {
        (void)browser, (void)column;
        return false;
    }
    virtual bool dfbrowserTripleClickInBackgroundOfColumn(DfBrowserControl* browser, int column)
    {
        (void)browser, (void)column;
        return false;
    }
    /// Writes the dragged rows of column into data; true lets the drag go on.
    virtual std::optional<bool> dfbrowserWriteRowsWithIndexes(
        DfBrowserControl* browser, const QList<int>& rows, int column, QMimeData* data)
    {
        (void)browser, (void)rows, (void)column, (void)data;
        return std::nullopt;
    }
};

/**
    The base of the view shown in the column after a selected leaf (a file inspector). It
    keeps the absolute path of the item it shows and hears when it is shown and dismissed.
    The browser makes it as wide as its column's visible width and as tall as
    heightForWidth() (when it has a height for width, else its size hint's height), but
    no shorter than the column.
*/
class PvAbstractFileInspectorView : public QWidget {
    Q_OBJECT
public:
    using QWidget::QWidget;
    QString absolutePath() const { return m_absolutePath; }
    virtual void setAbsolutePath(const QString& path) { m_absolutePath = path; }
    virtual void willShowFileInspectorView(DfBrowserControl* browser) { (void)browser; }
    virtual void willDismissFileInspectorView(DfBrowserControl* browser) { (void)browser; }

private:
    QString m_absolutePath;
};

/**
    A column's scroll view: a vertical scroller, and below it the splitter picture whose
    drag posts PvBrowserColumnScrollViewSplitterNotification with the change of width.
    A horizontal wheel movement is also handed to the enclosing browser's scroller.
*/
class PvBrowserColumnScrollView : public PvScrollView {
    Q_OBJECT
public:
    explicit PvBrowserColumnScrollView(QWidget* parent = nullptr);
    QPixmap splitterImage() const { return m_splitterImage; }
    /// A null picture removes the splitter.
    void setSplitterImage(const QPixmap& image);
    /// The widget showing the splitter picture (null without a picture).
    QWidget* splitterView() const;
    QColor frameColor() const { return m_frameColor; }
    void setFrameColor(const QColor& color);
    bool isDraggingSplitter() const { return m_mouseIsDownOnSplitterImage; }

protected:
    void wheelEvent(QWheelEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    friend class PvBrowserSplitterView;
    void splitterPressed(double xInImage);
    void splitterDragged(double xInScrollView);
    void splitterReleased();

    QPixmap m_splitterImage;
    QPointer<QWidget> m_splitter;
    bool m_mouseIsDownOnSplitterImage = false;
    double m_mouseDownXPosInSplitterImage = 0.0;
    QColor m_frameColor;
};

/**
    The matrix of one browser column. With nothing selected, Down selects the first row
    and Up the last; Left, Right, Space and keys with Control, Option or Command held go to
    the browser. A press that moves 5 points or more with the button held starts a drag of
    the selected rows through the browser.
*/
class PvBrowserMatrix : public PvMatrix {
    Q_OBJECT
public:
    explicit PvBrowserMatrix(QWidget* parent = nullptr);
    DfBrowserControl* browser() const;

protected:
    bool keyDown(const PvEvent& event) override;
    void mouseDown(const PvEvent& event) override;
    void mouseDragged(const PvEvent& event) override;
    void mouseUp(const PvEvent& event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    QPointF m_pressPoint;
    bool m_pressed = false;
    bool m_dragStarted = false;
};

/**
    A multi-column hierarchy browser. The delegate fills each column's matrix when the
    column is created; selecting a branch row opens the next column, selecting a leaf may
    show the file inspector view. Columns keep the width they were given (remembered by
    index, also after the column went away) and are resized with the splitter under each
    column's scroller; grey fill-up columns pad the room right of the last column.

    Keyboard: Left and Right move between columns, Up and Down move within one (the
    matrix), Space and arrows with Control, Option or Command go to the space-key
    responder. Clicks on the background reach the delegate; a single click waits 0.15 s
    when a double click is answered too, and a double click as long when a triple click
    is, so that the longer gesture cancels the shorter one.

    Main thread only.
*/
class DfBrowserControl : public PvControl {
    Q_OBJECT
public:
    static constexpr double kTitleHeight = 16.0;
    static constexpr double kBackgroundClickDelay = 0.15;

    explicit DfBrowserControl(QWidget* parent = nullptr);
    ~DfBrowserControl() override;

    DfBrowserControlDelegate* delegate() const { return m_delegate; }
    void setDelegate(DfBrowserControlDelegate* delegate) { m_delegate = delegate; }

    // ---- columns -----------------------------------------------------------------
    void loadColumnZero();
    void reloadColumn(int column);
    void addColumn();
    void removeLastBrowserColumn();
    void deleteColumnsFromColumnNumber(int column);
    void addFileInspectorView();
    int columnCount() const { return int(m_columnScrollViews.size()); }
    int lastColumn() const { return columnCount() - 1; }
    bool isLoaded() const { return columnCount() > 0; }
    /// The matrix of column; null out of range or for the inspector column.
    PvMatrix* matrixInColumn(int column) const;
    /// The column holding view (a column's scroll view, document or a view inside); -1.
    int columnOfView(const QWidget* view) const;
    int columnOfMatrix(const PvMatrix* matrix) const;
    PvScrollView* scrollViewOfColumn(int column) const;
    QWidget* titleViewOfColumn(int column) const;
    void setTitle(const QString& title, int column);
    QString titleOfColumn(int column) const;
    /// Remembers width for column (the frames follow at the next rebuild).
    void setWidth(double width, int column);
    /// The remembered width of column; the default column width when none is remembered.
    double widthOfColumn(int column) const;
    double columnWidthSum() const;
    QSize columnsVisibleRectSize() const;
    void displayColumn(int column);
    void displayAllColumns();
    /// The fill-up columns currently shown (and their title views when titled).
    int fillUpViewCount() const { return int(m_fillUpScrollViews.size()); }
    int fakeColumn() const { return m_fakeColumn; }
    PvScrollView* mainScrollView() const { return m_mainScrollView; }
    QWidget* documentView() const;

    // ---- selection ---------------------------------------------------------------
    int selectedColumn() const;
    int selectedRow() const;
    PvCell* selectedCell() const override;
    PvCell* cellAt(int row, int column) const;
    void selectAll();
    bool selectCellWithAbsolutePath(const QString& path, PvMatrix* matrix);
    void setLastColumn(int column);
    QString path() const { return pathToColumn(columnCount()); }
    QString pathToColumn(int column) const;
    bool setPath(const QString& path, bool animate = false);
    QString pathSeparator() const { return m_pathSeparator; }
    void setPathSeparator(const QString& separator) { m_pathSeparator = separator; }

    // ---- scrolling ---------------------------------------------------------------
    void scrollColumnToVisible(int column, bool animate = false);
    void scrollColumnToVisibleIfNecessary(int column, bool animate = false);
    /// 0 removes the scroll animation (columns then scroll at once).
    void setScrollAnimationDuration(double seconds);
    PVScrollViewAnimation* scrollAnimation() const { return m_scrollAnimation; }
    void setHasHorizontalAutoScrolling(bool on) { m_autoScrollAfterScrollerAction = on; }
    bool hasHorizontalAutoScrolling() const { return m_autoScrollAfterScrollerAction; }
    void setHasHorizontalScroller(bool has);
    bool hasHorizontalScroller() const;
    /// The snap after the user moved the horizontal scroller: a half-visible column is
    /// scrolled wholly into view (with horizontal auto-scrolling on).
    void snapAfterScrollerAction();

    // ---- look --------------------------------------------------------------------
    int pvBorderType() const { return m_DfBorderType; }
    void setPvBorderType(int type);
    QColor backgroundColor() const { return m_backgroundColor; }
    void setBackgroundColor(const QColor& color);
    QColor borderColor() const { return m_borderColor; }
    void setBorderColor(const QColor& color);
    bool isTitled() const { return m_titled; }
    void setTitled(bool titled) { m_titled = titled; }
    double columnWidth() const { return m_columnWidth; }
    void setColumnWidth(double width) { m_columnWidth = width; }
    double minColumnWidth() const { return m_minColumnWidth; }
    void setMinColumnWidth(double width) { m_minColumnWidth = width; }
    double rowHeight() const { return m_rowHeight; }
    void setRowHeight(double height) { m_rowHeight = height; }
    double columnZeroRowHeight() const { return m_columnZeroRowHeight; }
    void setColumnZeroRowHeight(double height) { m_columnZeroRowHeight = height; }
    /// The cell copied for new rows (a PvBrowserCell by default).
    void setCellPrototype(std::unique_ptr<PvCell> prototype) { m_cellPrototype = std::move(prototype); }
    bool allowsMultipleSelection() const { return m_allowsMultipleSelection; }
    void setAllowsMultipleSelection(bool allows) { m_allowsMultipleSelection = allows; }
    bool acceptsArrowKeys() const { return m_acceptsArrowKeys; }
    void setAcceptsArrowKeys(bool accepts) { m_acceptsArrowKeys = accepts; }
    bool takesTitleFromPreviousColumn() const { return m_takesTitleFromPreviousColumn; }
    void setTakesTitleFromPreviousColumn(bool takes) { m_takesTitleFromPreviousColumn = takes; }
    bool columnsResizable() const { return m_columnsResizable; }
    void setColumnsResizable(bool resizable) { m_columnsResizable = resizable; }
    PvAbstractFileInspectorView* fileInspectorView() const { return m_fileInspectorView; }
    /// The view is owned by the browser only when releasesFileInspectorView() is set.
    void setFileInspectorView(PvAbstractFileInspectorView* view);
    bool releasesFileInspectorView() const { return m_releasesFileInspectorView; }
    void setReleasesFileInspectorView(bool releases) { m_releasesFileInspectorView = releases; }
    QWidget* spaceKeyResponder() const { return m_spaceKeyResponder; }
    void setSpaceKeyResponder(QWidget* responder) { m_spaceKeyResponder = responder; }
    bool refusesFirstResponder() const { return m_refusesFirstResponder; }
    void setRefusesFirstResponder(bool refuses);

    QByteArray doubleAction() const { return m_doubleAction; }
    void setDoubleAction(const QByteArray& action) { m_doubleAction = action; }

    /// Whether a column matrix has the focus; when the browser itself has it, the
    /// negation of flag.
    bool browserHasFirstResponderStatus(bool flag) const;

    // ---- messages from the parts ---------------------------------------------------
    Q_INVOKABLE void matrixAction(QObject* sender);
    Q_INVOKABLE void matrixDoubleAction(QObject* sender);
    /// The keys a column matrix does not use; returns whether the browser used it.
    bool handleKey(const PvEvent& event);
    void matrixFocusChanged(PvBrowserMatrix* matrix, bool focused);
    /// Starts a drag of the selected rows of column; returns whether one started.
    bool performDragFromMouseDown(const PvEvent& event, int column);
    /// Carries out a drag whose data the delegate wrote; runs QDrag by default.
    virtual void runDrag(QMimeData* data, const QPixmap& image, const QPoint& hotSpot);

    QAccessible::Role accessibilityRole() const override { return QAccessible::Tree; }

signals:
    void doubleActionTriggeredByBrowser(DfBrowserControl* browser);

protected:
    // The views the browser is made of; a subclass changes their look.
    virtual PvScrollView* createMainScrollViewWithFrame(const QRect& frame);
    virtual PvScrollView* createColumnScrollViewWithFrame(const QRect& frame);
    virtual QWidget* createTitleViewWithFrame(const QRect& frame);
    virtual QWidget* createFillUpColumnScrollViewWithFrame(const QRect& frame);
    virtual QWidget* createFillUpTitleViewWithFrame(const QRect& frame);
    virtual PvBrowserMatrix* createMatrix();

    void mouseDown(const PvEvent& event) override;
    bool keyDown(const PvEvent& event) override;
    void drawRect(QPainter& painter, const QRectF& dirtyRect) override;
    void resizeEvent(QResizeEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void privateAddColumn(bool inspector);
    void privateRemoveLastColumn();
    void privateDeleteColumnsFrom(int column);
    void adjustDocumentViewWidthToColumnSum(bool withPhantom);
    void fillUpWithDummyScrollViews();
    void layoutHeights();
    void sizeInspectorDocument();
    void fitColumnToClipView(int column);
    void setUpMatrix(PvBrowserMatrix* matrix, int column, double width);
    int handleMatrixAction(PvMatrix* matrix, bool needsToBeFirstResponder);
    void selectCellInColumn(int row, int column);
    bool stepRight();
    void multipleMouseDown(QPointF documentPoint, int clickCount);
    void handleColumnScrollViewNotification(const QObject* object, double deltaX);
    void scrollToX(double x, bool animate);
    bool browserHasFocus() const;
    double contentHeight() const;
    void applyBorderInset();

    DfBrowserControlDelegate* m_delegate = nullptr;
    PvScrollView* m_mainScrollView = nullptr;
    std::vector<PvScrollView*> m_columnScrollViews;
    std::vector<QWidget*> m_columnViews;
    std::vector<QWidget*> m_columnHeaderViews;
    std::vector<QWidget*> m_fillUpScrollViews;
    std::vector<double> m_columnWidths;
    QPointer<PvAbstractFileInspectorView> m_fileInspectorView;
    QWidget* m_inspectorDocument = nullptr;
    double m_columnWidth = 200.0;
    double m_minColumnWidth = 150.0;
    double m_rowHeight = 18.0;
    double m_columnZeroRowHeight = 18.0;
    std::unique_ptr<PvCell> m_cellPrototype;
    bool m_allowsMultipleSelection = true;
    bool m_titled = false;
    bool m_acceptsArrowKeys = true;
    bool m_takesTitleFromPreviousColumn = true;
    bool m_columnsResizable = true;
    bool m_releasesFileInspectorView = false;
    QByteArray m_doubleAction;
    int m_DfBorderType = 1;
    QColor m_backgroundColor;
    QString m_pathSeparator = QStringLiteral("/");
    QPointer<QWidget> m_spaceKeyResponder;
    bool m_refusesFirstResponder = false;
    QColor m_borderColor;
    int m_fakeColumn = -1;
    PVScrollViewAnimation* m_scrollAnimation = nullptr;
    bool m_widenAfterAnimation = false;
    bool m_autoScrollAfterScrollerAction = false;
    int m_lastContentHeight = -1;
};

/// The browser with the metal look: framed columns and darker fill-up columns.
class DfMetalBrowser : public DfBrowserControl {
    Q_OBJECT
public:
    using DfBrowserControl::DfBrowserControl;
    int controlSize() const { return m_controlSize; }
    void setControlSize(int size) { m_controlSize = size; }

protected:
    PvScrollView* createColumnScrollViewWithFrame(const QRect& frame) override;
    QWidget* createFillUpColumnScrollViewWithFrame(const QRect& frame) override;

private:
    int m_controlSize = 0;
};
