#include "DfBrowserControl.h"

#include "PVScrollViewAnimation.h"
#include "PvBrowserCell.h"
#include "PvBundleImage.h"
#include "PvDelayedPerform.h"
#include "PvNotificationCenter.h"
#include "PvTargetAction.h"

#include <QApplication>
#include <QDrag>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QMimeData>
#include <QPainter>
#include <QScrollBar>
#include <QStyle>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace {

constexpr uint32_t kCommandOptionControl = 0x1C0000;

// Whether matrix has at least one selected row; cheap in the usual case.
bool hasSelection(const PvMatrix* m)
{
    if (!m)
        return false;
    if (m->selectedRow() >= 0 && m->selectedCell() && m->selectedCell()->state() != PvCell::OffState)
        return true;
    return m->mode() == PvMatrix::ListModeMatrix && !m->selectedCells().empty();
}

bool isArrow(char16_t c)
{
    return c >= PvUpArrowFunctionKey && c <= PvRightArrowFunctionKey;
}

// The document of the inspector column: holds the inspector view at its top.
class DfInspectorDocument : public QWidget {
public:
    using QWidget::QWidget;
};

// A grey column that pads the room right of the last real column.
class DfFillUpColumn : public QWidget {
public:
    explicit DfFillUpColumn(QColor color, QWidget* parent = nullptr)
        : QWidget(parent)
        , m_color(color)
    {
    }
    QColor m_color;
    QColor m_frameColor;

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter p(this);
        // A fixed grey only where it suits the palette; a dark palette keeps its own.
        const QColor window = palette().color(QPalette::Window);
        const bool fits = m_color.isValid() && (window.lightness() >= 128) == (m_color.lightness() >= 128);
        p.fillRect(rect(), fits ? m_color : window);
        p.setPen(m_frameColor.isValid() ? m_frameColor : palette().color(QPalette::Mid));
        p.drawLine(width() - 1, 0, width() - 1, height());
    }
};

// A title above a column: text on a header background.
class DfTitleView : public QLabel {
public:
    using QLabel::QLabel;

protected:
    void paintEvent(QPaintEvent* event) override
    {
        QPainter p(this);
        p.fillRect(rect(), palette().color(QPalette::Button));
        p.setPen(palette().color(QPalette::Mid));
        p.drawLine(0, height() - 1, width(), height() - 1);
        p.drawLine(width() - 1, 0, width() - 1, height());
        p.end();
        QLabel::paintEvent(event);
    }
};

} // namespace

// ---- the splitter -------------------------------------------------------------------

class PvBrowserSplitterView : public QWidget {
public:
    explicit PvBrowserSplitterView(PvBrowserColumnScrollView* owner)
        : QWidget(owner)
        , m_owner(owner)
    {
        setCursor(Qt::SplitHCursor);
    }
    QSize sizeHint() const override
    {
        const QPixmap& pm = m_owner->m_splitterImage;
        return (pm.deviceIndependentSize()).toSize();
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter p(this);
        const QPixmap& pm = m_owner->m_splitterImage;
        const QSizeF size = pm.deviceIndependentSize();
        p.drawPixmap(QRectF(QPointF((width() - size.width()) / 2, height() - size.height()), size), pm,
            QRectF(pm.rect()));
    }
    void mousePressEvent(QMouseEvent* e) override
    {
        if (e->button() != Qt::LeftButton)
            return QWidget::mousePressEvent(e);
        m_owner->splitterPressed(e->position().x());
    }
    void mouseMoveEvent(QMouseEvent* e) override
    {
        if (m_owner->m_mouseIsDownOnSplitterImage)
            m_owner->splitterDragged(m_owner->mapFromGlobal(e->globalPosition()).x());
    }
    void mouseReleaseEvent(QMouseEvent*) override { m_owner->splitterReleased(); }

private:
    PvBrowserColumnScrollView* m_owner;
};

PvBrowserColumnScrollView::PvBrowserColumnScrollView(QWidget* parent)
    : PvScrollView(parent)
{
    setFrameShape(QFrame::NoFrame);
    setHasHorizontalScroller(false);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    setSplitterImage(pv_loadPavoBundleImage(QStringLiteral("PV_BrowserColumnSplitter")));
}

void PvBrowserColumnScrollView::setSplitterImage(const QPixmap& image)
{
    m_splitterImage = image;
    if (m_splitter) {
        delete m_splitter;
        m_splitter = nullptr;
    }
    if (!image.isNull()) {
        auto* splitter = new PvBrowserSplitterView(this);
        splitter->setFixedHeight(int(std::ceil(image.deviceIndependentSize().height())));
        addScrollBarWidget(splitter, Qt::AlignBottom);
        m_splitter = splitter;
    }
}

QWidget* PvBrowserColumnScrollView::splitterView() const
{
    return m_splitter;
}

void PvBrowserColumnScrollView::setFrameColor(const QColor& color)
{
    m_frameColor = color;
    update();
}

void PvBrowserColumnScrollView::splitterPressed(double xInImage)
{
    m_mouseIsDownOnSplitterImage = true;
    m_mouseDownXPosInSplitterImage = xInImage;
}

void PvBrowserColumnScrollView::splitterDragged(double xInScrollView)
{
    if (!m_mouseIsDownOnSplitterImage || !m_splitter)
        return;
    const double imageOriginX = m_splitter->mapTo(this, QPoint(0, 0)).x();
    const double delta = xInScrollView - imageOriginX - m_mouseDownXPosInSplitterImage;
    PvNotificationCenter::defaultCenter()->postNotification(
        PvBrowserColumnScrollViewSplitterNotification, this, {{QStringLiteral("DELTAX"), delta}});
}

void PvBrowserColumnScrollView::splitterReleased()
{
    m_mouseIsDownOnSplitterImage = false;
}

void PvBrowserColumnScrollView::wheelEvent(QWheelEvent* event)
{
    PvScrollView::wheelEvent(event);
    if (event->angleDelta().x() == 0)
        return;
    for (QWidget* w = parentWidget(); w; w = w->parentWidget())
        if (auto* browser = qobject_cast<DfBrowserControl*>(w)) {
            QScrollBar* bar = browser->mainScrollView()->horizontalScrollBar();
            bar->setValue(bar->value() - event->angleDelta().x() / 8);
            break;
        }
}

void PvBrowserColumnScrollView::paintEvent(QPaintEvent* event)
{
    PvScrollView::paintEvent(event);
    if (!m_frameColor.isValid())
        return;
    QPainter p(viewport());
    p.setPen(m_frameColor);
    p.drawLine(viewport()->width() - 1, 0, viewport()->width() - 1, viewport()->height());
}

// ---- the column matrix ------------------------------------------------------------------

PvBrowserMatrix::PvBrowserMatrix(QWidget* parent)
    : PvMatrix(parent)
{
    setFocusPolicy(Qt::StrongFocus);
}

DfBrowserControl* PvBrowserMatrix::browser() const
{
    for (QWidget* w = parentWidget(); w; w = w->parentWidget())
        if (auto* b = qobject_cast<DfBrowserControl*>(w))
            return b;
    return nullptr;
}

bool PvBrowserMatrix::keyDown(const PvEvent& event)
{
    DfBrowserControl* b = browser();
    const bool modified = event.modifierFlags & kCommandOptionControl;
    const char16_t c = event.character;
    if (!modified && (c == PvUpArrowFunctionKey || c == PvDownArrowFunctionKey) && !hasSelection(this)
        && numberOfRows() > 0) {
        const int row = c == PvDownArrowFunctionKey ? 0 : numberOfRows() - 1;
        selectCellAt(row, 0);
        if (auto* sv = qobject_cast<QScrollArea*>(parentWidget() ? parentWidget()->parentWidget() : nullptr))
            sv->ensureVisible(0, int(cellFrameAt(row, 0).center().y()), 0, int(cellSize().height()));
        sendAction();
        return true;
    }
    if (modified || c == PvLeftArrowFunctionKey || c == PvRightArrowFunctionKey || c == u' ' || c == 9
        || c == 0x19)
        return b ? b->handleKey(event) : false;
    const int before = selectedRow();
    const bool used = PvMatrix::keyDown(event);
    if (selectedRow() != before && selectedRow() >= 0) {
        if (auto* sv = qobject_cast<QScrollArea*>(parentWidget() ? parentWidget()->parentWidget() : nullptr))
            sv->ensureVisible(
                0, int(cellFrameAt(selectedRow(), 0).center().y()), 0, int(cellSize().height()));
    }
    return used;
}

void PvBrowserMatrix::mouseDown(const PvEvent& event)
{
    m_pressPoint = event.location;
    m_pressed = event.type == PvLeftMouseDown;
    m_dragStarted = false;
    // A press on a row that is already part of a selection of several keeps the
    // selection, so that the rows can be dragged together.
    PvMatrix::mouseDown(event);
}

void PvBrowserMatrix::mouseDragged(const PvEvent& event)
{
    if (m_pressed && !m_dragStarted
        && (std::abs(event.location.x() - m_pressPoint.x()) >= 5.0
            || std::abs(event.location.y() - m_pressPoint.y()) >= 5.0)) {
        if (DfBrowserControl* b = browser(); b && hasSelection(this)) {
            m_dragStarted = b->performDragFromMouseDown(event, tag());
            if (m_dragStarted) {
                m_pressed = false;
                return;
            }
        }
    }
    if (!m_dragStarted)
        PvMatrix::mouseDragged(event);
}

void PvBrowserMatrix::mouseUp(const PvEvent& event)
{
    m_pressed = false;
    if (m_dragStarted) {
        m_dragStarted = false;
        return;
    }
    PvMatrix::mouseUp(event);
}

void PvBrowserMatrix::focusInEvent(QFocusEvent* event)
{
    PvMatrix::focusInEvent(event);
    update();
    if (DfBrowserControl* b = browser())
        b->matrixFocusChanged(this, true);
}

void PvBrowserMatrix::focusOutEvent(QFocusEvent* event)
{
    PvMatrix::focusOutEvent(event);
    update();
    if (DfBrowserControl* b = browser())
        b->matrixFocusChanged(this, false);
}

// ---- the browser --------------------------------------------------------------------------

DfBrowserControl::DfBrowserControl(QWidget* parent)
    : PvControl(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    m_cellPrototype = std::make_unique<PvBrowserCell>();
    m_mainScrollView = createMainScrollViewWithFrame(rect());
    m_mainScrollView->setParent(this);
    m_mainScrollView->setFrameShape(QFrame::NoFrame);
    m_mainScrollView->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_mainScrollView->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    auto* document = new QWidget;
    document->resize(m_mainScrollView->contentSize());
    m_mainScrollView->setDocumentView(document);
    m_mainScrollView->viewport()->installEventFilter(this);
    connect(m_mainScrollView->horizontalScrollBar(), &QScrollBar::sliderReleased, this,
        [this] { snapAfterScrollerAction(); });
    applyBorderInset();
    PvNotificationCenter::defaultCenter()->addObserver(
        this, PvBrowserColumnScrollViewSplitterNotification, nullptr, [this](const PvNotification& n) {
            handleColumnScrollViewNotification(
                static_cast<const QObject*>(n.object), n.userInfo.value(QStringLiteral("DELTAX")).toDouble());
        });
}

DfBrowserControl::~DfBrowserControl()
{
    pv_cancelPreviousPerformRequests(this);
    if (m_fileInspectorView && m_releasesFileInspectorView)
        delete m_fileInspectorView;
    else if (m_fileInspectorView)
        m_fileInspectorView->setParent(nullptr); // the host keeps it
}

QWidget* DfBrowserControl::documentView() const
{
    return m_mainScrollView->documentView();
}

PvScrollView* DfBrowserControl::createMainScrollViewWithFrame(const QRect& frame)
{
    auto* view = new PvScrollView(this);
    view->setGeometry(frame);
    return view;
}

PvScrollView* DfBrowserControl::createColumnScrollViewWithFrame(const QRect& frame)
{
    auto* view = new PvBrowserColumnScrollView;
    view->setGeometry(frame);
    return view;
}

QWidget* DfBrowserControl::createTitleViewWithFrame(const QRect& frame)
{
    auto* view = new DfTitleView;
    view->setAlignment(Qt::AlignCenter);
    QFont f = view->font();
    f.setPointSizeF(f.pointSizeF() * 0.85);
    view->setFont(f);
    view->setGeometry(frame);
    return view;
}

QWidget* DfBrowserControl::createFillUpColumnScrollViewWithFrame(const QRect& frame)
{
    auto* view = new DfFillUpColumn(QColor());
    view->setGeometry(frame);
    return view;
}

QWidget* DfBrowserControl::createFillUpTitleViewWithFrame(const QRect& frame)
{
    return createTitleViewWithFrame(frame);
}

PvBrowserMatrix* DfBrowserControl::createMatrix()
{
    return new PvBrowserMatrix;
}

double DfBrowserControl::contentHeight() const
{
    return m_mainScrollView->contentSize().height();
}

bool DfBrowserControl::browserHasFocus() const
{
    QWidget* f = QApplication::focusWidget();
    return f && (f == this || isAncestorOf(f));
}

bool DfBrowserControl::browserHasFirstResponderStatus(bool flag) const
{
    QWidget* f = QApplication::focusWidget();
    if (f == this)
        return !flag;
    for (QWidget* v : m_columnViews)
        if (v == f && qobject_cast<PvMatrix*>(v))
            return true;
    return false;
}

// ---- columns ------------------------------------------------------------------------------

void DfBrowserControl::setUpMatrix(PvBrowserMatrix* matrix, int column, double width)
{
    matrix->setMode(m_allowsMultipleSelection ? PvMatrix::ListModeMatrix : PvMatrix::RadioModeMatrix);
    matrix->setTag(column);
    matrix->setTarget(this);
    matrix->setAction("matrixAction");
    matrix->setDoubleAction("matrixDoubleAction");
    matrix->setDrawsBackground(false);
    matrix->setIntercellSpacing(QSizeF(0, 0));
    matrix->setCellSize(QSizeF(width, column == 0 ? m_columnZeroRowHeight : m_rowHeight));
    if (m_cellPrototype)
        matrix->setPrototype(m_cellPrototype->clone());
    matrix->setFocusPolicy(m_refusesFirstResponder ? Qt::NoFocus : Qt::StrongFocus);
    matrix->setAllowsEmptySelection(true);
    matrix->setAccessibleName(tr("Column %1").arg(column + 1));
    if (m_delegate)
        m_delegate->dfbrowserCreateRowsForColumn(this, column, matrix);
    matrix->sizeToCells();
}

void DfBrowserControl::privateAddColumn(bool inspector)
{
    const int column = columnCount();
    double width = m_columnWidth;
    if (size_t(column) < m_columnWidths.size())
        width = m_columnWidths[size_t(column)];
    else
        m_columnWidths.push_back(width);
    const bool hadFocus = browserHasFocus();
    const double x = columnWidthSum();
    const double top = m_titled ? kTitleHeight : 0.0;
    const double height = std::max(0.0, contentHeight() - top);
    QWidget* document = documentView();

    QWidget* titleView = nullptr;
    if (m_titled) {
        titleView = createTitleViewWithFrame(QRect(int(x), 0, int(width), int(kTitleHeight)));
        QString title;
        if (m_takesTitleFromPreviousColumn) {
            if (column > 0)
                if (PvMatrix* prev = matrixInColumn(column - 1); prev && prev->selectedCell())
                    title = prev->selectedCell()->stringValue();
        } else if (m_delegate) {
            title = m_delegate->dfbrowserTitleForColumn(this, column).value_or(QString());
        }
        if (auto* label = qobject_cast<QLabel*>(titleView))
            label->setText(title);
    }
    PvScrollView* scrollView
        = createColumnScrollViewWithFrame(QRect(int(x), int(top), int(width), int(height)));
    if (auto* cs = qobject_cast<PvBrowserColumnScrollView*>(scrollView); cs && !m_columnsResizable)
        cs->setSplitterImage(QPixmap());
    if (m_backgroundColor.isValid())
        scrollView->setBackgroundColor(m_backgroundColor);
    QWidget* view = nullptr;
    if (inspector) {
        auto* holder = new DfInspectorDocument;
        if (m_fileInspectorView) {
            m_fileInspectorView->setParent(holder);
            m_fileInspectorView->show();
        }
        m_inspectorDocument = holder;
        view = holder;
    } else {
        PvBrowserMatrix* matrix = createMatrix();
        matrix->resize(scrollView->contentSize().width(), 1);
        setUpMatrix(matrix, column, scrollView->contentSize().width());
        view = matrix;
    }
    scrollView->setDocumentView(view);
    scrollView->viewport()->installEventFilter(this);
    m_columnScrollViews.push_back(scrollView);
    m_columnViews.push_back(view); // both lists hold the column before it is sized
    if (inspector)
        sizeInspectorDocument();
    scrollView->setParent(document);
    scrollView->show();
    if (titleView) {
        m_columnHeaderViews.push_back(titleView);
        titleView->setParent(document);
        titleView->show();
        if (m_delegate)
            m_delegate->dfbrowserConfigTitleView(this, titleView, column);
    }
    if (hadFocus && selectedColumn() < 0 && view->focusPolicy() != Qt::NoFocus)
        view->setFocus(Qt::OtherFocusReason);
}

void DfBrowserControl::privateRemoveLastColumn()
{
    if (columnCount() == 0)
        return;
    PvScrollView* scrollView = m_columnScrollViews.back();
    QWidget* view = m_columnViews.back();
    QWidget* titleView = m_titled && !m_columnHeaderViews.empty() ? m_columnHeaderViews.back() : nullptr;
    const bool hadFocus = view->hasFocus() || view->isAncestorOf(QApplication::focusWidget());
    if (view == m_inspectorDocument) {
        if (m_delegate)
            m_delegate->dfbrowserWillDismissFileInspectorView(this);
        if (m_fileInspectorView) {
            m_fileInspectorView->willDismissFileInspectorView(this);
            m_fileInspectorView->hide();
            m_fileInspectorView->setParent(nullptr);
        }
        m_inspectorDocument = nullptr;
    }
    m_columnScrollViews.pop_back();
    m_columnViews.pop_back();
    if (titleView)
        m_columnHeaderViews.pop_back();
    if (hadFocus) {
        if (PvMatrix* prev = matrixInColumn(lastColumn()))
            prev->setFocus(Qt::OtherFocusReason);
        else
            setFocus(Qt::OtherFocusReason);
    }
    // The column may be removed from within one of its own matrix's event handlers, so it
    // goes when control returns to the event loop (or with the browser, if that is sooner).
    scrollView->hide();
    scrollView->deleteLater();
    delete titleView;
}

void DfBrowserControl::privateDeleteColumnsFrom(int column)
{
    m_fakeColumn = -1;
    while (columnCount() > std::max(0, column))
        privateRemoveLastColumn();
}

void DfBrowserControl::loadColumnZero()
{
    privateDeleteColumnsFrom(0);
    privateAddColumn(false);
    adjustDocumentViewWidthToColumnSum(false);
    fillUpWithDummyScrollViews();
}

void DfBrowserControl::reloadColumn(int column)
{
    if (column < 0 || column >= columnCount())
        return;
    privateDeleteColumnsFrom(column);
    privateAddColumn(false);
    adjustDocumentViewWidthToColumnSum(false);
    fillUpWithDummyScrollViews();
}

void DfBrowserControl::addColumn()
{
    privateAddColumn(false);
    adjustDocumentViewWidthToColumnSum(false);
    fillUpWithDummyScrollViews();
}

void DfBrowserControl::removeLastBrowserColumn()
{
    privateRemoveLastColumn();
    adjustDocumentViewWidthToColumnSum(false);
    fillUpWithDummyScrollViews();
}

void DfBrowserControl::deleteColumnsFromColumnNumber(int column)
{
    privateDeleteColumnsFrom(column);
    adjustDocumentViewWidthToColumnSum(false);
    fillUpWithDummyScrollViews();
}

void DfBrowserControl::addFileInspectorView()
{
    if (m_delegate)
        m_delegate->dfbrowserWillShowFileInspectorView(this);
    if (m_fileInspectorView)
        m_fileInspectorView->willShowFileInspectorView(this);
    privateAddColumn(true);
    adjustDocumentViewWidthToColumnSum(false);
    fillUpWithDummyScrollViews();
}

void DfBrowserControl::setFileInspectorView(PvAbstractFileInspectorView* view)
{
    if (m_fileInspectorView == view)
        return;
    if (m_inspectorDocument)
        deleteColumnsFromColumnNumber(columnOfView(m_inspectorDocument));
    if (m_fileInspectorView && m_releasesFileInspectorView)
        delete m_fileInspectorView;
    m_fileInspectorView = view;
}

PvMatrix* DfBrowserControl::matrixInColumn(int column) const
{
    if (column < 0 || column >= columnCount())
        return nullptr;
    return qobject_cast<PvMatrix*>(m_columnViews[size_t(column)]);
}

PvScrollView* DfBrowserControl::scrollViewOfColumn(int column) const
{
    return column >= 0 && column < columnCount() ? m_columnScrollViews[size_t(column)] : nullptr;
}

int DfBrowserControl::columnOfView(const QWidget* view) const
{
    for (const QWidget* w = view; w; w = w->parentWidget())
        for (int i = 0; i < columnCount(); ++i)
            if (w == m_columnScrollViews[size_t(i)] || w == m_columnViews[size_t(i)])
                return i;
    return -1;
}

int DfBrowserControl::columnOfMatrix(const PvMatrix* matrix) const
{
    for (int i = 0; i < columnCount(); ++i)
        if (m_columnViews[size_t(i)] == matrix)
            return i;
    return -1;
}

QWidget* DfBrowserControl::titleViewOfColumn(int column) const
{
    return m_titled && column >= 0 && column < int(m_columnHeaderViews.size())
        ? m_columnHeaderViews[size_t(column)]
        : nullptr;
}

void DfBrowserControl::setTitle(const QString& title, int column)
{
    if (auto* label = qobject_cast<QLabel*>(titleViewOfColumn(column)))
        label->setText(title);
}

QString DfBrowserControl::titleOfColumn(int column) const
{
    auto* label = qobject_cast<QLabel*>(titleViewOfColumn(column));
    return label ? label->text() : QString();
}

void DfBrowserControl::setWidth(double width, int column)
{
    if (column < 0)
        return;
    while (m_columnWidths.size() <= size_t(column))
        m_columnWidths.push_back(m_columnWidth);
    m_columnWidths[size_t(column)] = width;
}

double DfBrowserControl::widthOfColumn(int column) const
{
    return column >= 0 && size_t(column) < m_columnWidths.size() ? m_columnWidths[size_t(column)]
                                                                 : m_columnWidth;
}

double DfBrowserControl::columnWidthSum() const
{
    double sum = 0;
    for (PvScrollView* v : m_columnScrollViews)
        sum += v->width();
    return sum;
}

QSize DfBrowserControl::columnsVisibleRectSize() const
{
    return m_mainScrollView->contentSize();
}

void DfBrowserControl::displayColumn(int column)
{
    if (PvScrollView* v = scrollViewOfColumn(column)) {
        v->viewport()->update();
        if (QWidget* t = titleViewOfColumn(column))
            t->update();
    }
}

void DfBrowserControl::displayAllColumns()
{
    for (int i = 0; i < columnCount(); ++i)
        displayColumn(i);
}

void DfBrowserControl::adjustDocumentViewWidthToColumnSum(bool withPhantom)
{
    double width = columnWidthSum();
    if (withPhantom)
        width += widthOfColumn(columnCount());
    documentView()->resize(int(width), documentView()->height());
}

void DfBrowserControl::fillUpWithDummyScrollViews()
{
    for (QWidget* v : m_fillUpScrollViews)
        delete v;
    m_fillUpScrollViews.clear();
    const double content = m_mainScrollView->contentSize().width();
    const double top = m_titled ? kTitleHeight : 0.0;
    const double height = std::max(0.0, contentHeight() - top);
    double x = columnWidthSum();
    bool added = false;
    while (content > x && m_columnWidth > 0) {
        QWidget* fill
            = createFillUpColumnScrollViewWithFrame(QRect(int(x), int(top), int(m_columnWidth), int(height)));
        if (auto* f = dynamic_cast<DfFillUpColumn*>(fill); f && m_backgroundColor.isValid())
            f->m_color = m_backgroundColor;
        fill->setParent(documentView());
        fill->show();
        m_fillUpScrollViews.push_back(fill);
        if (m_titled) {
            QWidget* title
                = createFillUpTitleViewWithFrame(QRect(int(x), 0, int(m_columnWidth), int(kTitleHeight)));
            title->setParent(documentView());
            title->show();
            m_fillUpScrollViews.push_back(title);
        }
        x += m_columnWidth;
        added = true;
    }
    if (added)
        documentView()->resize(std::max(documentView()->width(), int(content)), int(contentHeight()));
}

void DfBrowserControl::layoutHeights()
{
    const int h = int(contentHeight());
    if (h == m_lastContentHeight)
        return;
    m_lastContentHeight = h;
    documentView()->resize(documentView()->width(), h);
    const int top = m_titled ? int(kTitleHeight) : 0;
    for (PvScrollView* v : m_columnScrollViews)
        v->resize(v->width(), std::max(0, h - top));
    sizeInspectorDocument();
    fillUpWithDummyScrollViews();
}

void DfBrowserControl::fitColumnToClipView(int column)
{
    QWidget* view = m_columnViews[size_t(column)];
    if (view == m_inspectorDocument) {
        sizeInspectorDocument();
        return;
    }
    const double width = m_columnScrollViews[size_t(column)]->contentSize().width();
    if (auto* m = qobject_cast<PvMatrix*>(view); m && m->cellSize().width() != width) {
        m->setCellSize(QSizeF(width, m->cellSize().height()));
        m->sizeToCells();
    }
}

void DfBrowserControl::sizeInspectorDocument()
{
    const int column = m_inspectorDocument ? columnOfView(m_inspectorDocument) : -1;
    if (column < 0)
        return;
    PvScrollView* v = m_columnScrollViews[size_t(column)];
    const int width = v->contentSize().width();
    const int wanted = !m_fileInspectorView        ? 0
        : m_fileInspectorView->hasHeightForWidth() ? m_fileInspectorView->heightForWidth(width)
                                                   : m_fileInspectorView->sizeHint().height();
    m_inspectorDocument->resize(width, std::max(v->contentSize().height(), wanted));
    if (m_fileInspectorView)
        m_fileInspectorView->setGeometry(0, 0, width, std::max(v->contentSize().height(), wanted));
}

void DfBrowserControl::resizeEvent(QResizeEvent* event)
{
    PvControl::resizeEvent(event);
    applyBorderInset();
}

bool DfBrowserControl::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_mainScrollView->viewport() && event->type() == QEvent::Resize) {
        const int oldWidth = int(m_mainScrollView->contentSize().width());
        layoutHeights();
        if (documentView()->width() < oldWidth)
            fillUpWithDummyScrollViews();
    } else if (event->type() == QEvent::Resize) {
        // A column's clip view takes its size only when the column is laid out (a hidden
        // column keeps a provisional one): its document follows it then.
        for (size_t i = 0; i < m_columnScrollViews.size(); ++i)
            if (m_columnScrollViews[i]->viewport() == watched)
                fitColumnToClipView(int(i));
    }
    return PvControl::eventFilter(watched, event);
}

// ---- selection ------------------------------------------------------------------------------

int DfBrowserControl::selectedColumn() const
{
    QWidget* focus = QApplication::focusWidget();
    for (int i = lastColumn(); i >= 0; --i)
        if (PvMatrix* m = matrixInColumn(i); m && m == focus && hasSelection(m))
            return i;
    for (int i = lastColumn(); i >= 0; --i)
        if (hasSelection(matrixInColumn(i)))
            return i;
    return -1;
}

int DfBrowserControl::selectedRow() const
{
    PvMatrix* m = matrixInColumn(selectedColumn());
    return m && m->numberOfRows() > 0 ? m->selectedRow() : -1;
}

PvCell* DfBrowserControl::selectedCell() const
{
    PvMatrix* m = matrixInColumn(selectedColumn());
    return m ? m->selectedCell() : nullptr;
}

PvCell* DfBrowserControl::cellAt(int row, int column) const
{
    PvMatrix* m = matrixInColumn(column);
    return m ? m->cellAt(row, 0) : nullptr;
}

void DfBrowserControl::selectAll()
{
    PvMatrix* m = matrixInColumn(selectedColumn() >= 0 ? selectedColumn() : lastColumn());
    if (!m || !m_allowsMultipleSelection)
        return;
    m->selectAll();
    matrixAction(m);
}

bool DfBrowserControl::selectCellWithAbsolutePath(const QString& path, PvMatrix* matrix)
{
    if (!matrix || columnOfMatrix(matrix) < 0)
        return false;
    for (int row = 0; row < matrix->numberOfRows(); ++row) {
        auto* cell = dynamic_cast<PvBrowserCell*>(matrix->cellAt(row, 0));
        if (cell && cell->absolutePath() == path) {
            const bool hadFocus = browserHasFocus();
            matrix->deselectAllCells();
            matrix->selectCellAt(row, 0);
            const int result = handleMatrixAction(matrix, false);
            if (hadFocus)
                matrix->setFocus(Qt::OtherFocusReason);
            if (auto* sv = scrollViewOfColumn(columnOfMatrix(matrix)))
                sv->ensureVisible(
                    0, int(matrix->cellFrameAt(row, 0).center().y()), 0, int(matrix->cellSize().height()));
            return result >= 0;
        }
    }
    return false;
}

void DfBrowserControl::setLastColumn(int column)
{
    if (column < 0 || column >= columnCount())
        return;
    const bool hadFocus = browserHasFocus();
    deleteColumnsFromColumnNumber(column + 1);
    if (PvMatrix* m = matrixInColumn(column)) {
        if (hadFocus)
            m->setFocus(Qt::OtherFocusReason);
        if (m->selectedRow() >= 0 && m->selectedCell() && m->selectedCell()->state() != PvCell::OffState)
            m->selectCellAt(m->selectedRow(), 0);
    }
}

QString DfBrowserControl::pathToColumn(int column) const
{
    QString path;
    bool lastIsBranch = false;
    const int end = std::min(column, columnCount());
    for (int i = 0; i < end; ++i) {
        PvMatrix* m = matrixInColumn(i);
        PvCell* c = m ? m->selectedCell() : nullptr;
        if (!c || c->state() == PvCell::OffState)
            break;
        path += m_pathSeparator + c->stringValue();
        auto* bc = dynamic_cast<PvBrowserCell*>(c);
        lastIsBranch = bc && !bc->isLeaf();
    }
    if (path.isEmpty())
        return m_pathSeparator;
    if (lastIsBranch)
        path += m_pathSeparator;
    return path;
}

void DfBrowserControl::selectCellInColumn(int row, int column)
{
    PvMatrix* m = matrixInColumn(column);
    if (!m)
        return;
    m->deselectAllCells();
    if (row >= 0) {
        m->selectCellAt(row, 0);
        if (auto* sv = scrollViewOfColumn(column))
            sv->ensureVisible(0, int(m->cellFrameAt(row, 0).center().y()), 0, int(m->cellSize().height()));
    }
}

bool DfBrowserControl::setPath(const QString& path, bool animate)
{
    int k = path.isEmpty() || path.startsWith(m_pathSeparator) ? 0 : lastColumn();
    if (columnCount() == 0) {
        loadColumnZero();
        k = 0;
    }
    const QStringList parts = path.split(m_pathSeparator, Qt::SkipEmptyParts);
    auto isLeafCell = [](PvCell* c) {
        auto* bc = dynamic_cast<PvBrowserCell*>(c);
        return !bc || bc->isLeaf();
    };
    auto finish = [&](int column, bool result) {
        setLastColumn(column);
        scrollColumnToVisibleIfNecessary(column, animate);
        return result;
    };
    for (int i = 0;; ++i) {
        PvMatrix* m = matrixInColumn(k);
        if (!m)
            return false;
        PvCell* selected = hasSelection(m) ? m->selectedCell() : nullptr;
        if (i >= parts.size()) {
            if (hasSelection(m))
                m->deselectAllCells();
            return finish(k, true);
        }
        const QString& component = parts[i];
        if (selected && selected->stringValue() == component) {
            if (!isLeafCell(selected)) {
                if (k + 1 >= columnCount()) {
                    setLastColumn(k);
                    addColumn();
                }
                ++k;
                continue;
            }
            if (i == parts.size() - 1)
                return finish(k, true);
        }
        int match = -1;
        for (int row = m->numberOfRows() - 1; row >= 0; --row)
            if (m->cellAt(row, 0)->stringValue() == component) {
                match = row;
                break;
            }
        selectCellInColumn(match, k);
        if (match < 0)
            return finish(k, false);
        setLastColumn(k);
        if (!isLeafCell(m->cellAt(match, 0))) {
            addColumn();
            ++k;
            continue;
        }
        scrollColumnToVisibleIfNecessary(lastColumn(), animate);
        return i == parts.size() - 1;
    }
}

// ---- matrix actions ----------------------------------------------------------------------------

int DfBrowserControl::handleMatrixAction(PvMatrix* matrix, bool needsToBeFirstResponder)
{
    const int c = columnOfMatrix(matrix);
    if (c < 0)
        return -1;
    const int selectedBefore = selectedColumn();
    bool focused = true;
    if (needsToBeFirstResponder) {
        if (matrix->focusPolicy() != Qt::NoFocus)
            matrix->setFocus(Qt::OtherFocusReason);
        focused = matrix->focusPolicy() != Qt::NoFocus;
    }
    int result = c;
    const std::vector<PvCell*> selection = matrix->selectedCells();
    if (selection.size() == 1) {
        auto* bc = dynamic_cast<PvBrowserCell*>(selection.front());
        const bool leaf = !bc || bc->isLeaf();
        if (!leaf) {
            privateDeleteColumnsFrom(c + 1);
            privateAddColumn(false);
            result = selectedColumn() >= selectedBefore ? c + 1 : c;
        } else {
            bool show = false;
            if (m_fileInspectorView)
                show = !m_delegate || m_delegate->dfbrowserShouldShowFileInspectorView(this).value_or(true);
            privateDeleteColumnsFrom(c + 1);
            if (show) {
                if (bc)
                    m_fileInspectorView->setAbsolutePath(bc->absolutePath());
                if (m_delegate)
                    m_delegate->dfbrowserWillShowFileInspectorView(this);
                m_fileInspectorView->willShowFileInspectorView(this);
                privateAddColumn(true);
                result = c + 1;
            }
        }
    } else {
        privateDeleteColumnsFrom(c + 1);
    }
    QPointer<PvMatrix> keep(matrix);
    sendAction();
    if (!focused)
        result = -1;
    if (result >= columnCount())
        result = -1;
    return result;
}

void DfBrowserControl::matrixAction(QObject* sender)
{
    auto* matrix = qobject_cast<PvMatrix*>(sender);
    const int c = columnOfMatrix(matrix);
    if (c < 0)
        return;
    const int countBefore = columnCount();
    const int selectedBefore = selectedColumn();
    const int oldFake = m_fakeColumn;
    const int result = handleMatrixAction(matrix, true);
    if (result < 0) {
        adjustDocumentViewWidthToColumnSum(false);
        fillUpWithDummyScrollViews();
        return;
    }
    if (hasHorizontalScroller() && oldFake >= 0 && oldFake == c + 1 && oldFake == columnCount())
        m_fakeColumn = oldFake;
    else if (countBefore - columnCount() == 1 && selectedColumn() == selectedBefore)
        m_fakeColumn = c + 1;
    else
        m_fakeColumn = -1;
    const QRect visible = m_mainScrollView->documentVisibleRect();
    const bool leftOfVisible = m_columnScrollViews[size_t(result)]->x() < visible.x();
    if (m_scrollAnimation && hasHorizontalScroller() && leftOfVisible)
        m_widenAfterAnimation = true;
    else
        adjustDocumentViewWidthToColumnSum(m_fakeColumn >= 0);
    fillUpWithDummyScrollViews();
    scrollColumnToVisibleIfNecessary(result, true);
}

void DfBrowserControl::matrixDoubleAction(QObject* sender)
{
    if (!m_doubleAction.isEmpty() && target() && pv_respondsToAction(target(), m_doubleAction, this)) {
        pv_sendAction(m_doubleAction, target(), this);
        emit doubleActionTriggeredByBrowser(this);
        return;
    }
    matrixAction(sender);
}

void DfBrowserControl::matrixFocusChanged(PvBrowserMatrix*, bool)
{
    update();
}

// ---- scrolling ------------------------------------------------------------------------------

bool DfBrowserControl::hasHorizontalScroller() const
{
    return m_mainScrollView->hasHorizontalScroller();
}

void DfBrowserControl::setHasHorizontalScroller(bool has)
{
    m_mainScrollView->setHorizontalScrollBarPolicy(has ? Qt::ScrollBarAlwaysOn : Qt::ScrollBarAlwaysOff);
}

void DfBrowserControl::setScrollAnimationDuration(double seconds)
{
    if (seconds <= 0) {
        delete m_scrollAnimation;
        m_scrollAnimation = nullptr;
        return;
    }
    if (!m_scrollAnimation) {
        m_scrollAnimation = new PVScrollViewAnimation(m_mainScrollView, this);
        connect(m_scrollAnimation, &PvAnimation::animationStopped, this, [this] {
            if (m_widenAfterAnimation) {
                m_widenAfterAnimation = false;
                adjustDocumentViewWidthToColumnSum(m_fakeColumn >= 0);
                fillUpWithDummyScrollViews();
            }
        });
    }
    m_scrollAnimation->setDuration(seconds);
}

void DfBrowserControl::scrollToX(double x, bool animate)
{
    if (m_scrollAnimation && animate) {
        m_scrollAnimation->scrollToPoint(QPointF(x, 0));
        return;
    }
    if (m_scrollAnimation && m_scrollAnimation->isAnimating())
        m_scrollAnimation->stopAnimation();
    m_mainScrollView->scrollToPoint(QPoint(int(x), 0));
}

void DfBrowserControl::scrollColumnToVisible(int column, bool animate)
{
    PvScrollView* v = scrollViewOfColumn(column);
    if (!v || !hasHorizontalScroller())
        return;
    if (m_scrollAnimation && animate) {
        const QRect visible = m_mainScrollView->documentVisibleRect();
        double x = visible.x();
        if (v->geometry().right() > visible.right())
            x = v->geometry().right() + 1 - visible.width();
        if (v->x() < x)
            x = v->x();
        m_scrollAnimation->scrollToPoint(QPointF(x, 0));
        return;
    }
    if (m_scrollAnimation && m_scrollAnimation->isAnimating())
        m_scrollAnimation->stopAnimation();
    m_mainScrollView->scrollRectToVisible(v->geometry());
}

void DfBrowserControl::scrollColumnToVisibleIfNecessary(int column, bool animate)
{
    PvScrollView* v = scrollViewOfColumn(column);
    if (!v || !hasHorizontalScroller())
        return;
    if (m_mainScrollView->documentVisibleRect().contains(v->geometry()))
        return;
    scrollColumnToVisible(column, animate);
}

void DfBrowserControl::snapAfterScrollerAction()
{
    if (!m_autoScrollAfterScrollerAction || columnCount() == 0)
        return;
    const QRect visible = m_mainScrollView->documentVisibleRect();
    const double maxX = documentView()->width() - m_mainScrollView->contentSize().width();
    auto halfVisible = [&](int i) {
        const QRect f = m_columnScrollViews[size_t(i)]->geometry();
        return !visible.contains(f) && visible.intersected(f).width() > 18;
    };
    int left = -1, right = -1;
    for (int i = 0; i < columnCount() && left < 0; ++i)
        if (halfVisible(i))
            left = i;
    for (int i = lastColumn(); i >= 0 && right < 0; --i)
        if (halfVisible(i))
            right = i;
    auto xOf = [&](int i) { return std::min(double(m_columnScrollViews[size_t(i)]->x()), maxX); };
    const double L = left >= 0 ? visible.x() - xOf(left) : -1.0;
    const double R = right >= 0 ? xOf(right) - visible.x() : -1.0;
    int target = -1;
    if (R > 0 && L > 0 && left >= 0 && right >= 0)
        target = L > R ? right : left;
    else if (R > 0 && right != 0)
        target = right;
    else if (L > 0 && left != 0)
        target = left;
    if (target >= 0)
        scrollToX(xOf(target), true);
}

// ---- splitter ---------------------------------------------------------------------------------

void DfBrowserControl::handleColumnScrollViewNotification(const QObject* object, double deltaX)
{
    int column = -1;
    for (int i = 0; i < columnCount(); ++i)
        if (m_columnScrollViews[size_t(i)] == object)
            column = i;
    if (column < 0 || m_columnViews[size_t(column)] == m_inspectorDocument)
        return;
    PvScrollView* v = m_columnScrollViews[size_t(column)];
    const double oldWidth = v->width();
    const double width = std::max(m_minColumnWidth, oldWidth + deltaX);
    if (int(width) == int(oldWidth))
        return;
    setWidth(width, column);
    const int diff = int(width) - int(oldWidth);
    v->resize(int(width), v->height());
    if (QWidget* doc = v->documentView())
        doc->resize(v->contentSize().width(), doc->height());
    if (auto* m = qobject_cast<PvMatrix*>(v->documentView())) {
        m->setCellSize(QSizeF(v->contentSize().width(), m->cellSize().height()));
        m->sizeToCells();
    }
    if (QWidget* t = titleViewOfColumn(column))
        t->resize(int(width), t->height());
    for (int i = column + 1; i < columnCount(); ++i) {
        m_columnScrollViews[size_t(i)]->move(
            m_columnScrollViews[size_t(i)]->x() + diff, m_columnScrollViews[size_t(i)]->y());
        if (QWidget* t = titleViewOfColumn(i))
            t->move(t->x() + diff, t->y());
    }
    displayAllColumns();
    adjustDocumentViewWidthToColumnSum(false);
    fillUpWithDummyScrollViews();
}

// ---- keyboard, mouse, focus -----------------------------------------------------------------------

bool DfBrowserControl::stepRight()
{
    const int next = selectedColumn() + 1;
    PvMatrix* m = matrixInColumn(next);
    if (!m || m->numberOfRows() == 0)
        return false;
    if (hasSelection(m)) {
        matrixAction(m);
        return true;
    }
    for (int row = 0; row < m->numberOfRows(); ++row)
        if (m->cellAt(row, 0)->isEnabled()) {
            m->selectCellAt(row, 0);
            matrixAction(m);
            return true;
        }
    return false;
}

bool DfBrowserControl::handleKey(const PvEvent& event)
{
    const char16_t c = event.character;
    if (c == 0)
        return false;
    auto toSpaceResponder = [&] {
        if (!m_spaceKeyResponder)
            return false;
        QKeyEvent copy(QEvent::KeyPress, event.key, event.modifiers, event.text);
        QCoreApplication::sendEvent(m_spaceKeyResponder, &copy);
        return true;
    };
    if (isArrow(c) && (event.modifierFlags & kCommandOptionControl))
        return toSpaceResponder();
    if (c == 9 || c == 0x19) {
        // Leave the browser: to the next (or previous) widget outside it.
        QWidget* w = this;
        do {
            w = c == 9 ? w->nextInFocusChain() : w->previousInFocusChain();
        } while (w && w != this && (isAncestorOf(w) || w->focusPolicy() == Qt::NoFocus || !w->isVisible()));
        if (w && w != this)
            w->setFocus(c == 9 ? Qt::TabFocusReason : Qt::BacktabFocusReason);
        return true;
    }
    if (!m_acceptsArrowKeys)
        return false;
    if (c == PvLeftArrowFunctionKey) {
        const int previous = selectedColumn() - 1;
        if (PvMatrix* m = matrixInColumn(previous))
            matrixAction(m);
        return true;
    }
    if (c == PvRightArrowFunctionKey) {
        stepRight();
        return true;
    }
    if (c == u' ')
        return toSpaceResponder();
    return false;
}

bool DfBrowserControl::keyDown(const PvEvent& event)
{
    return handleKey(event) || PvControl::keyDown(event);
}

void DfBrowserControl::focusInEvent(QFocusEvent* event)
{
    PvControl::focusInEvent(event);
    PvMatrix* m = matrixInColumn(selectedColumn());
    if (!m)
        m = matrixInColumn(0);
    if (m && m->focusPolicy() != Qt::NoFocus)
        m->setFocus(event->reason());
    update();
}

void DfBrowserControl::mouseDown(const PvEvent& event)
{
    pv_cancelPreviousPerformRequests(this);
    if (!browserHasFocus() && focusPolicy() != Qt::NoFocus && !m_refusesFirstResponder)
        setFocus(Qt::MouseFocusReason);
    if (!m_delegate)
        return;
    const QPointF documentPoint = documentView()->mapFrom(this, event.location.toPoint());
    const int count = event.clickCount;
    auto deliver = [this, documentPoint, count] { multipleMouseDown(documentPoint, count); };
    if (count == 1 && m_delegate->dfbrowserAnswersClickInBackground(1)) {
        if (m_delegate->dfbrowserAnswersClickInBackground(2))
            pv_performAfterDelay(this, deliver, kBackgroundClickDelay);
        else
            deliver();
    } else if (count == 2 && m_delegate->dfbrowserAnswersClickInBackground(2)) {
        if (m_delegate->dfbrowserAnswersClickInBackground(3))
            pv_performAfterDelay(this, deliver, kBackgroundClickDelay);
        else
            deliver();
    } else if (count == 3 && m_delegate->dfbrowserAnswersClickInBackground(3)) {
        deliver();
    }
}

void DfBrowserControl::multipleMouseDown(QPointF documentPoint, int clickCount)
{
    if (!m_delegate)
        return;
    int column = -1;
    for (int i = 0; i < columnCount(); ++i)
        if (m_columnScrollViews[size_t(i)]->geometry().contains(documentPoint.toPoint()))
            column = i;
    if (clickCount == 1)
        m_delegate->dfbrowserSingleClickInBackgroundOfColumn(this, column);
    else if (clickCount == 2)
        m_delegate->dfbrowserDoubleClickInBackgroundOfColumn(this, column);
    else if (clickCount == 3)
        m_delegate->dfbrowserTripleClickInBackgroundOfColumn(this, column);
}

// ---- dragging ------------------------------------------------------------------------------------

bool DfBrowserControl::performDragFromMouseDown(const PvEvent& event, int column)
{
    PvMatrix* m = matrixInColumn(column);
    if (!m || !m_delegate)
        return false;
    QList<int> rows;
    for (int row = 0; row < m->numberOfRows(); ++row)
        if (m->cellAt(row, 0)->state() != PvCell::OffState)
            rows.push_back(row);
    if (rows.isEmpty())
        return false;
    auto data = std::make_unique<QMimeData>();
    if (!m_delegate->dfbrowserWriteRowsWithIndexes(this, rows, column, data.get()).value_or(false))
        return false;
    // The picture: the dragged rows stacked, as drawn.
    const QSizeF cell = m->cellSize();
    const int shown = int(std::min<qsizetype>(rows.size(), 12));
    const double dpr = devicePixelRatioF();
    QPixmap image(QSize(int(cell.width() * dpr), int(cell.height() * shown * dpr)));
    image.setDevicePixelRatio(dpr);
    image.fill(Qt::transparent);
    {
        QPainter p(&image);
        for (int i = 0; i < shown; ++i) {
            auto* bc = dynamic_cast<PvBrowserCell*>(m->cellAt(rows[i], 0));
            if (bc)
                p.drawPixmap(
                    QPointF(0, i * cell.height()), bc->getImageOfContents(QRectF(QPointF(0, 0), cell), m));
        }
    }
    const QPoint hotSpot = (event.location - m->cellFrameAt(rows.front(), 0).topLeft()).toPoint();
    runDrag(data.release(), image, hotSpot);
    return true;
}

void DfBrowserControl::runDrag(QMimeData* data, const QPixmap& image, const QPoint& hotSpot)
{
    auto* drag = new QDrag(this);
    drag->setMimeData(data);
    drag->setPixmap(image);
    drag->setHotSpot(hotSpot);
    drag->exec(Qt::CopyAction | Qt::MoveAction | Qt::LinkAction, Qt::CopyAction);
}

// ---- look --------------------------------------------------------------------------------------

void DfBrowserControl::applyBorderInset()
{
    int inset = 0;
    if (m_DfBorderType == 1 || m_DfBorderType == 2 || m_DfBorderType == 5)
        inset = 1;
    else if (m_DfBorderType == 3)
        inset = 2;
    m_mainScrollView->setGeometry(rect().adjusted(inset, inset, -inset, -inset));
}

void DfBrowserControl::setPvBorderType(int type)
{
    m_DfBorderType = type;
    applyBorderInset();
    update();
}

void DfBrowserControl::setBackgroundColor(const QColor& color)
{
    m_backgroundColor = color;
    for (PvScrollView* v : m_columnScrollViews)
        v->setBackgroundColor(color);
    for (QWidget* v : m_fillUpScrollViews)
        if (auto* f = dynamic_cast<DfFillUpColumn*>(v)) {
            f->m_color = color;
            f->update();
        }
}

void DfBrowserControl::setBorderColor(const QColor& color)
{
    m_borderColor = color;
    update();
}

void DfBrowserControl::setRefusesFirstResponder(bool refuses)
{
    m_refusesFirstResponder = refuses;
    for (int i = 0; i < columnCount(); ++i)
        if (PvMatrix* m = matrixInColumn(i))
            m->setFocusPolicy(refuses ? Qt::NoFocus : Qt::StrongFocus);
}

void DfBrowserControl::drawRect(QPainter& painter, const QRectF&)
{
    const QRectF r = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    switch (m_DfBorderType) {
    case 1:
        painter.setPen(palette().color(QPalette::Midlight));
        painter.drawRect(r);
        break;
    case 2:
        painter.setPen(palette().color(QPalette::Dark));
        painter.drawRect(r);
        break;
    case 3:
        painter.setPen(palette().color(QPalette::Dark));
        painter.drawRect(r);
        painter.setPen(palette().color(QPalette::Light));
        painter.drawRect(r.adjusted(1, 1, -1, -1));
        break;
    case 5:
        painter.setPen(m_borderColor.isValid() ? m_borderColor : palette().color(QPalette::Mid));
        painter.drawRect(r);
        break;
    default:
        break;
    }
    if (browserHasFocus()) {
        QColor ring = palette().color(QPalette::Highlight);
        ring.setAlpha(160);
        painter.setPen(QPen(ring, 2.0));
        painter.drawRect(QRectF(rect()).adjusted(1, 1, -1, -1));
    }
}

// ---- the metal look -----------------------------------------------------------------------------

PvScrollView* DfMetalBrowser::createColumnScrollViewWithFrame(const QRect& frame)
{
    auto* view = new PvBrowserColumnScrollView;
    view->setFrameColor(QColor::fromRgbF(0.7f, 0.7f, 0.7f, 1.0f));
    view->setGeometry(frame);
    return view;
}

QWidget* DfMetalBrowser::createFillUpColumnScrollViewWithFrame(const QRect& frame)
{
    auto* view = new DfFillUpColumn(QColor::fromRgbF(0.85f, 0.85f, 0.85f));
    view->setGeometry(frame);
    return view;
}
