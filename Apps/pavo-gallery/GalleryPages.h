// The pages of the gallery application.
#pragma once

#include <QPalette>
#include <QWidget>

#include <functional>

class QListWidget;
class QStackedWidget;
class QCheckBox;

namespace PavoGallery {

/// One page: its title and a function that builds it.
struct Page {
    QString title;
    std::function<QWidget*()> make;
};

/// Every page, in the order the gallery lists them.
QList<Page> pages();

/// The two palettes the gallery switches between.
QPalette lightPalette();
QPalette darkPalette();

/// The gallery's main window: a list of pages on the left, the current page on the right,
/// and a switch between the light and the dark palette.
class GalleryWindow : public QWidget {
    Q_OBJECT
public:
    explicit GalleryWindow(QWidget* parent = nullptr);
    /// Shows the page at index (ignored out of range) or with title, compared without
    /// regard to case (ignored if unknown).
    void showPage(int index);
    void showPage(const QString& title);
    int pageCount() const;
    /// The page shown now (inside the scroll area that holds it).
    QWidget* currentPage() const;
    /// The titles of the pages, in order; needs no application object.
    static QStringList pageTitles();
    void setDark(bool dark);

private:
    QList<Page> m_pages;
    QListWidget* m_list;
    QStackedWidget* m_stack;
    QCheckBox* m_dark;
};

} // namespace PavoGallery
