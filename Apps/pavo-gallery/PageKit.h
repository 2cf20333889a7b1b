// Building blocks shared by the gallery's pages.
#pragma once

#include <Pavo/PavoUI.h>

#include <QString>
#include <QStringList>
#include <QWidget>

namespace PavoGallery {

/// A page: title, one line on what it shows, the demonstration and its live settings
/// (settings may be null).
QWidget* makePage(const QString& title, const QString& text, QWidget* demo, QWidget* settings);

/// A widget with a caption above it.
QWidget* labelled(const QString& text, QWidget* w);

/// A fixed-size matrix of centred texts, tagged by their index.
PvMatrix* textMatrix(PvMatrix::Mode mode, const QStringList& texts, int rows, int columns, QSizeF cell);

/// The content of a demonstration window: a wrapped text, with a bevel view at the
/// bottom when asked.
QWidget* windowContent(const QString& text, bool withBevel);

/// A patterned backdrop on which embedded windows are shown, like a desktop.
class Desk : public QWidget {
public:
    using QWidget::QWidget;

protected:
    void paintEvent(QPaintEvent*) override;
};

// The page builders, one file each in Pages/.
QWidget* controlsPage();
QWidget* themedWindowPage(bool textured);
QWidget* bevelPage();
QWidget* toolTipPage();
QWidget* fadePage();
QWidget* cellGroupPage();
QWidget* sliderPage();
QWidget* meterPage();
QWidget* octavePickerPage();
QWidget* slotDragPage();
QWidget* popUpPage();
QWidget* slideAnimationPage();
QWidget* browserCellPage();
QWidget* browserPage();

} // namespace PavoGallery
