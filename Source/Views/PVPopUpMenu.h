// A custom pop-up menu: titles, icons, separators and a selection indicator.
#pragma once

#include "PVIconPickerPopUp.h"

/**
    A one-column PVIconPickerPopUp whose cells are PVMenuButtonCells: each entry of
    setItems() is a QVariantMap with a title (PVMenuTitleName or PVMenuAttributedTitleName),
    optional icons and a tag; a title equal to PVMenuTitleSeparatorName makes a separator,
    which is lower than the other rows and is never picked. The selected item shows the
    selection indicator (a picture or a text, a check mark by default).

    The look setters apply to every menu cell at once and to the cells made later.
*/
class PVPopUpMenu : public PVIconPickerPopUp {
    Q_OBJECT
public:
    PVPopUpMenu(int rows, QSizeF cellSize, int popUpLocationMode, QObject* parent = nullptr);

    /// Sets the row count to the number of items and makes the cells.
    void setItems(const QVariantList& items);
    PVMenuButtonCell* cellWithTag(int tag) const;
    /// The dark, translucent heads-up-display look.
    void configureAsHUDMenu();

    void setTitleColor(const QColor& c);
    void setHighlightedTitleColor(const QColor& c);
    void setSelectionIndicatorImage(const QPixmap& p);
    void setHighlightedSelectionIndicatorImage(const QPixmap& p);
    void setSelectionIndicatorString(const QString& s);
    void setDisablesFontSmoothing(bool disable);
    void setLeftSpacing(double v);
    void setSelectionInnerSpacing(double v);
    void setIconSpacing(double v);
    void setTitleSpacing(double v);
    void setRightTitleSpacing(double v);

    QSizeF popUpSizeForRows(int rows, int columns) const override;

protected:
    std::unique_ptr<PvMatrix> makeMatrix() const override;
    void updateMatrixProperties() override;
    void applyCellProperties(PVIconButtonCell* cell) const override;

private:
    void forEachMenuCell(const std::function<void(PVMenuButtonCell*)>& f);

    QColor m_titleColor, m_highlightedTitleColor;
    QPixmap m_selectionIndicatorImage, m_highlightedSelectionIndicatorImage;
    QString m_selectionIndicatorString;
    bool m_disableFontSmoothing = false;
    double m_leftSpacing = 4, m_selectionInnerSpacing = 14, m_iconSpacing = 4, m_titleSpacing = 4,
           m_rightTitleSpacing = 12;
};
