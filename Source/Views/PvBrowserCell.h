// The row cell of column browsers.
#pragma once

#include "PvCell.h"

#include <QColor>
#include <QPixmap>
#include <QPointF>
#include <QSizeF>
#include <QString>

/**
    A browser row: text with an optional icon, an optional "left" icon in front of it and,
    for rows with children, a branch arrow at the right edge. The cell keeps the absolute
    path of the item it shows, by which a browser selects rows.

    The layout of a frame is computed once and kept (drawInfo()) until a setter that
    changes the look, the frame or the highlight changes. Images that are empty in either
    dimension take no room and are not drawn. The branch arrow is the QStyle's right arrow,
    in the highlighted text colour on a highlighted row. A highlighted row, or one that is
    on (matrices mark selection by state), is filled with highlightColorInView(); a disabled
    row draws its images at 60 % opacity. Text that does not fit is elided in the middle,
    so long file names keep their extension.
*/
class PvBrowserCell : public PvCell {
public:
    /// Size of the branch arrow in points.
    static constexpr QSizeF kBranchImageSize {7.0, 9.0};

    /// The cached layout of one frame.
    struct DrawInfo {
        QRectF cellFrame;
        QColor backgroundColor;
        QPixmap image;
        QSizeF imageSize {0.0, 0.0};
        QPointF imagePos;
        QPixmap leftImage;
        QSizeF leftImageSize {0.0, 0.0};
        QPointF leftImagePos;
        QPixmap branchImage;
        QSizeF branchImageSize {0.0, 0.0};
        QPointF branchImagePos;
        QRectF textFrame;
    };

    PvBrowserCell();
    explicit PvBrowserCell(const QString& text);
    PvBrowserCell(const QString& text, const QPixmap& iconImage);
    /// A row with only an image.
    explicit PvBrowserCell(const QPixmap& image);

    std::unique_ptr<PvCell> clone() const override;

    bool isLeaf() const { return m_isLeaf; }
    void setLeaf(bool leaf);
    /// A flag for the host (for example "children were read"); not used by the cell.
    bool isLoaded() const { return m_isLoaded; }
    void setLoaded(bool loaded) { m_isLoaded = loaded; }

    QPixmap image() const { return m_image; }
    void setImage(const QPixmap& image);
    /// The icon drawn while the row is highlighted or on; none means image().
    QPixmap alternateImage() const { return m_alternateImage; }
    void setAlternateImage(const QPixmap& image);
    QPixmap leftImage() const { return m_leftImage; }
    void setLeftImage(const QPixmap& image);
    QPointF imageInset() const { return m_imageInset; }
    void setImageInset(const QPointF& inset);
    QPointF leftImageInset() const { return m_leftImageInset; }
    void setLeftImageInset(const QPointF& inset);
    /// Fill the row with the base colour when it is not highlighted. Off by default.
    bool drawsBackground() const { return m_drawsBackground; }
    void setDrawsBackground(bool draws);
    /// Draw the branch arrow (leaf rows never do). On by default.
    bool drawsBranchImage() const { return m_drawsBranchImage; }
    void setDrawsBranchImage(bool draws);
    QString absolutePath() const { return m_absolutePath; }
    void setAbsolutePath(const QString& path) { m_absolutePath = path; }

    void setObjectValue(QVariant value) override;
    void setEnabled(bool enabled) override;
    void setState(int state) override;

    /// Not highlighted and off.
    void reset();
    /// Highlighted and on.
    void set();

    /// The colour of a selected row: the active highlight while view has the focus in the
    /// active window, else the inactive one.
    static QColor highlightColorInView(const PvControl* view);

    /// Computes the layout of frame (view may be null: the application's style and palette).
    /// The branch arrow is made for devicePixelRatio (0: the view's).
    void calcDrawInfo(const QRectF& frame, const PvControl* view, double devicePixelRatio = 0.0);
    /// The layout of frame, computed when needed.
    const DrawInfo& getCalcedDrawInfo(
        const QRectF& frame, const PvControl* view, double devicePixelRatio = 0.0);
    const DrawInfo& drawInfo() const { return m_drawInfo; }
    bool needsCalcDrawInfo() const { return m_needsCalcDrawInfo; }

    /// The width a row of frame's height needs for its images and its whole text.
    double contentWidthForCellFrame(const QRectF& frame, const PvControl* view = nullptr);
    /// The size the row wants within bounds: its content width and the height of its
    /// tallest part plus the 1-point margins, neither larger than bounds.
    QSizeF cellSizeForBounds(const QRectF& bounds, const PvControl* view = nullptr);
    QSizeF cellSize() const override;

    /// A picture of the row as drawn in frame, at view's device pixel ratio (a drag image).
    /// Without background the row is drawn unhighlighted on transparency.
    QPixmap getImageOfContents(const QRectF& frame, PvControl* view, bool withBackground = false);

    void drawWithFrame(QPainter& painter, const QRectF& frame, PvControl* view) override;
    void drawInteriorWithFrame(QPainter& painter, const QRectF& frame, PvControl* view) override;

    QAccessible::Role accessibilityRole() const override { return QAccessible::ListItem; }

private:
    void setNeedsCalc() { m_needsCalcDrawInfo = true; }
    bool showsSelected() const { return isHighlighted() || state() != OffState; }
    static QPixmap branchPixmap(bool highlighted, const PvControl* view, double dpr);
    void drawContents(
        QPainter& painter, const QRectF& frame, PvControl* view, bool selectedLook, bool fillBackground);

    bool m_isLeaf = false;
    bool m_isLoaded = false;
    QPixmap m_image;
    QPixmap m_alternateImage;
    QPixmap m_leftImage;
    QPointF m_imageInset;
    QPointF m_leftImageInset;
    bool m_drawsBackground = false;
    bool m_drawsBranchImage = true;
    QString m_absolutePath;
    DrawInfo m_drawInfo;
    bool m_needsCalcDrawInfo = true;
    // What the cached layout was computed for, besides the frame.
    bool m_drawInfoSelected = false;
    double m_drawInfoDpr = 1.0;
    qint64 m_drawInfoPalette = 0; // the palette's cache key: colours and arrow follow it
};
