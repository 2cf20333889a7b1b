// The cells of icon pickers and custom pop-up menus.
#pragma once

#include "PvButtonCell.h"

#include <QColor>

/**
    A cell of an icon picker: an icon centred in the cell, inset by iconInset(), over a
    background colour for each of the four looks (plain, under the pointer, selected,
    selected under the pointer). Invalid colours draw no background. The icon pictures
    are those of PvButtonCell (normal, highlighted, on, highlighted on).
*/
class PVIconButtonCell : public PvButtonCell {
public:
    PVIconButtonCell() = default;
    std::unique_ptr<PvCell> clone() const override;

    QColor backgroundColor() const { return m_backgroundColor; }
    void setBackgroundColor(const QColor& c) { m_backgroundColor = c, setNeedsDisplay(); }
    QColor highlightedColor() const { return m_highlightedColor; }
    void setHighlightedColor(const QColor& c) { m_highlightedColor = c, setNeedsDisplay(); }
    QColor selectedColor() const { return m_selectedColor; }
    void setSelectedColor(const QColor& c) { m_selectedColor = c, setNeedsDisplay(); }
    QColor highlightedSelectedColor() const { return m_highlightedSelectedColor; }
    void setHighlightedSelectedColor(const QColor& c) { m_highlightedSelectedColor = c, setNeedsDisplay(); }
    QSizeF iconInset() const { return m_iconInset; }
    void setIconInset(const QSizeF& inset) { m_iconInset = inset, setNeedsDisplay(); }

    /// Whether a title equal to PVMenuTitleSeparatorName makes the cell a separator.
    virtual bool supportsSeparator() const { return false; }

    void drawWithFrame(QPainter& painter, const QRectF& frame, PvControl* view) override;
    void drawInteriorWithFrame(QPainter& painter, const QRectF& frame, PvControl* view) override;
    QAccessible::Role accessibilityRole() const override { return QAccessible::ListItem; }

protected:
    void copyIconSettingsTo(PVIconButtonCell& other) const;
    /// Whether a selected cell without a selected colour is ringed in the highlight colour.
    virtual bool ringsSelection() const { return true; }
    /// The background colour of the current look; invalid for none.
    QColor currentBackgroundColor() const;

private:
    QColor m_backgroundColor, m_highlightedColor, m_selectedColor, m_highlightedSelectedColor;
    QSizeF m_iconInset;
};

/**
    A cell of a custom pop-up menu: from left to right the selection indicator (shown
    while the cell is on: a picture, or a text such as a check mark), the icon and the
    title (plain or rich text), with the spacings of PVPopUpMenu. A separator cell draws
    a thin line across and is never picked.
*/
class PVMenuButtonCell : public PVIconButtonCell {
public:
    PVMenuButtonCell() { setAlignment(Qt::AlignLeft | Qt::AlignVCenter); }
    std::unique_ptr<PvCell> clone() const override;

    QString title() const { return stringValue(); }
    void setTitle(const QString& title);
    /// A title in Qt rich text (HTML subset); shown instead of the plain title when set.
    QString attributedTitle() const { return m_attributedTitle; }
    void setAttributedTitle(const QString& html) { m_attributedTitle = html, setNeedsDisplay(); }
    bool isSeparator() const { return m_separator; }
    void setSeparator(bool separator);
    bool supportsSeparator() const override { return true; }

    QColor titleColor() const { return m_titleColor; }
    void setTitleColor(const QColor& c) { m_titleColor = c, setNeedsDisplay(); }
    QColor highlightedTitleColor() const { return m_highlightedTitleColor; }
    void setHighlightedTitleColor(const QColor& c) { m_highlightedTitleColor = c, setNeedsDisplay(); }
    QPixmap selectionIndicatorImage() const { return m_selectionIndicatorImage; }
    void setSelectionIndicatorImage(const QPixmap& p) { m_selectionIndicatorImage = p, setNeedsDisplay(); }
    QPixmap highlightedSelectionIndicatorImage() const { return m_highlightedSelectionIndicatorImage; }
    void setHighlightedSelectionIndicatorImage(const QPixmap& p)
    {
        m_highlightedSelectionIndicatorImage = p, setNeedsDisplay();
    }
    QString selectionIndicatorString() const { return m_selectionIndicatorString; }
    void setSelectionIndicatorString(const QString& s) { m_selectionIndicatorString = s, setNeedsDisplay(); }
    bool disablesFontSmoothing() const { return m_disableFontSmoothing; }
    void setDisablesFontSmoothing(bool d) { m_disableFontSmoothing = d, setNeedsDisplay(); }
    void setLeftSpacing(double v) { m_leftSpacing = v, setNeedsDisplay(); }
    void setSelectionInnerSpacing(double v) { m_selectionInnerSpacing = v, setNeedsDisplay(); }
    void setIconSpacing(double v) { m_iconSpacing = v, setNeedsDisplay(); }
    void setTitleSpacing(double v) { m_titleSpacing = v, setNeedsDisplay(); }
    void setRightTitleSpacing(double v) { m_rightTitleSpacing = v, setNeedsDisplay(); }
    double leftSpacing() const { return m_leftSpacing; }
    double selectionInnerSpacing() const { return m_selectionInnerSpacing; }
    double iconSpacing() const { return m_iconSpacing; }
    double titleSpacing() const { return m_titleSpacing; }
    double rightTitleSpacing() const { return m_rightTitleSpacing; }

    void drawInteriorWithFrame(QPainter& painter, const QRectF& frame, PvControl* view) override;
    QAccessible::Role accessibilityRole() const override
    {
        return m_separator ? QAccessible::Separator : QAccessible::MenuItem;
    }

protected:
    bool ringsSelection() const override { return false; }

private:
    QString m_attributedTitle;
    QColor m_titleColor, m_highlightedTitleColor;
    QPixmap m_selectionIndicatorImage, m_highlightedSelectionIndicatorImage;
    QString m_selectionIndicatorString;
    double m_leftSpacing = 4, m_selectionInnerSpacing = 14, m_iconSpacing = 4, m_titleSpacing = 4,
           m_rightTitleSpacing = 12;
    bool m_separator = false;
    bool m_disableFontSmoothing = false;
};
