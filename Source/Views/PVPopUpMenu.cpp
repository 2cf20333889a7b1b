#include "PVPopUpMenu.h"

PVPopUpMenu::PVPopUpMenu(int rows, QSizeF cellSize, int popUpLocationMode, QObject* parent)
    : PVIconPickerPopUp(
        rows, 1, QSizeF(0, 4), QSizeF(0, 4), QSizeF(0, 0), cellSize, QSizeF(2, 2), popUpLocationMode, parent)
{
    setCellClass([] { return std::make_unique<PVMenuButtonCell>(); });
}

void PVPopUpMenu::setItems(const QVariantList& items)
{
    setNumberOfVisibleRows(int(items.size()));
    setIcons(items);
}

PVMenuButtonCell* PVPopUpMenu::cellWithTag(int tag) const
{
    return iconMatrix() ? dynamic_cast<PVMenuButtonCell*>(iconMatrix()->cellWithTag(tag)) : nullptr;
}

std::unique_ptr<PvMatrix> PVPopUpMenu::makeMatrix() const
{
    return std::make_unique<PVMenuMatrix>();
}

void PVPopUpMenu::updateMatrixProperties()
{
    PVIconPickerPopUp::updateMatrixProperties();
    if (auto* menu = qobject_cast<PVMenuMatrix*>(iconMatrix()))
        menu->updateCellFrames();
}

QSizeF PVPopUpMenu::popUpSizeForRows(int rows, int columns) const
{
    QSizeF size = PVIconPickerPopUp::popUpSizeForRows(rows, columns);
    // All rows visible: the separators' lower rows make the menu shorter.
    const auto* menu = qobject_cast<const PVMenuMatrix*>(iconMatrix());
    if (menu && rows >= menu->numberOfRows() && !menu->cellFrames().empty()) {
        const double inner = (cellSpacing().height() + cellSize().height()) * rows - cellSpacing().height();
        size.setHeight(size.height() - inner + menu->cellFrames().back().bottom());
    }
    return size;
}

void PVPopUpMenu::applyCellProperties(PVIconButtonCell* cell) const
{
    PVIconPickerPopUp::applyCellProperties(cell);
    auto* menuCell = dynamic_cast<PVMenuButtonCell*>(cell);
    if (!menuCell)
        return;
    menuCell->setTitleColor(m_titleColor);
    menuCell->setHighlightedTitleColor(m_highlightedTitleColor);
    menuCell->setSelectionIndicatorImage(m_selectionIndicatorImage);
    menuCell->setHighlightedSelectionIndicatorImage(m_highlightedSelectionIndicatorImage);
    menuCell->setSelectionIndicatorString(m_selectionIndicatorString);
    menuCell->setDisablesFontSmoothing(m_disableFontSmoothing);
    menuCell->setLeftSpacing(m_leftSpacing);
    menuCell->setSelectionInnerSpacing(m_selectionInnerSpacing);
    menuCell->setIconSpacing(m_iconSpacing);
    menuCell->setTitleSpacing(m_titleSpacing);
    menuCell->setRightTitleSpacing(m_rightTitleSpacing);
}

void PVPopUpMenu::forEachMenuCell(const std::function<void(PVMenuButtonCell*)>& f)
{
    for (PVIconButtonCell* c : iconCells())
        if (auto* m = dynamic_cast<PVMenuButtonCell*>(c))
            f(m);
}

void PVPopUpMenu::configureAsHUDMenu()
{
    setOpaque(false);
    setBackgroundColor(QColor(28, 28, 30, 235));
    setCellHighlightedColor(QColor(64, 120, 215));
    setCellHighlightedSelectedColor(QColor(64, 120, 215));
    setTitleColor(QColor(235, 235, 235));
    setHighlightedTitleColor(Qt::white);
}

void PVPopUpMenu::setTitleColor(const QColor& c)
{
    m_titleColor = c;
    forEachMenuCell([&](PVMenuButtonCell* m) { m->setTitleColor(c); });
}

void PVPopUpMenu::setHighlightedTitleColor(const QColor& c)
{
    m_highlightedTitleColor = c;
    forEachMenuCell([&](PVMenuButtonCell* m) { m->setHighlightedTitleColor(c); });
}

void PVPopUpMenu::setSelectionIndicatorImage(const QPixmap& p)
{
    m_selectionIndicatorImage = p;
    forEachMenuCell([&](PVMenuButtonCell* m) { m->setSelectionIndicatorImage(p); });
}

void PVPopUpMenu::setHighlightedSelectionIndicatorImage(const QPixmap& p)
{
    m_highlightedSelectionIndicatorImage = p;
    forEachMenuCell([&](PVMenuButtonCell* m) { m->setHighlightedSelectionIndicatorImage(p); });
}

void PVPopUpMenu::setSelectionIndicatorString(const QString& s)
{
    m_selectionIndicatorString = s;
    forEachMenuCell([&](PVMenuButtonCell* m) { m->setSelectionIndicatorString(s); });
}

void PVPopUpMenu::setDisablesFontSmoothing(bool disable)
{
    m_disableFontSmoothing = disable;
    forEachMenuCell([&](PVMenuButtonCell* m) { m->setDisablesFontSmoothing(disable); });
}

void PVPopUpMenu::setLeftSpacing(double v)
{
    m_leftSpacing = v;
    forEachMenuCell([&](PVMenuButtonCell* m) { m->setLeftSpacing(v); });
}

void PVPopUpMenu::setSelectionInnerSpacing(double v)
{
    m_selectionInnerSpacing = v;
    forEachMenuCell([&](PVMenuButtonCell* m) { m->setSelectionInnerSpacing(v); });
}

void PVPopUpMenu::setIconSpacing(double v)
{
    m_iconSpacing = v;
    forEachMenuCell([&](PVMenuButtonCell* m) { m->setIconSpacing(v); });
}

void PVPopUpMenu::setTitleSpacing(double v)
{
    m_titleSpacing = v;
    forEachMenuCell([&](PVMenuButtonCell* m) { m->setTitleSpacing(v); });
}

void PVPopUpMenu::setRightTitleSpacing(double v)
{
    m_rightTitleSpacing = v;
    forEachMenuCell([&](PVMenuButtonCell* m) { m->setRightTitleSpacing(v); });
}
