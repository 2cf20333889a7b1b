#include "PageKit.h"

#include <Pavo/PavoUI.h>

#include <QApplication>
#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QEvent>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QScrollArea>
#include <QSpinBox>
#include <QStackedWidget>
#include <QStyleFactory>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

namespace PavoGallery {

namespace {

// A bevel view drawn from framework pictures, named rather than loaded, so that it takes
// the dark pictures when the palette turns dark and the light ones when it turns back.
class PictureBevel : public PvWindowBevelView {
public:
    PictureBevel(const QString& left, const QString& middle, const QString& right)
        : m_names {left, middle, right}
    {
        setFixedHeight(24);
        load();
    }

protected:
    void changeEvent(QEvent* event) override
    {
        if (event->type() == QEvent::ApplicationPaletteChange || event->type() == QEvent::PaletteChange)
            load();
        PvWindowBevelView::changeEvent(event);
    }

private:
    void load()
    {
        auto picture
            = [](const QString& name) { return name.isEmpty() ? QPixmap() : pv_loadPavoBundleImage(name); };
        setImages(picture(m_names[0]), picture(m_names[1]), picture(m_names[2]));
    }
    QString m_names[3];
};

} // namespace

QWidget* bevelPage()
{
    auto* demo = new QWidget;
    auto* v = new QVBoxLayout(demo);
    auto* plain = new PvWindowBevelView;
    plain->setFixedHeight(24);
    auto* pictured = new PictureBevel("PV_BevelLeft", "PV_BevelMiddle", "PV_BevelRight");
    // The well is a picture made whole for one place, not a piece to be stretched; its view
    // lies over a bar drawn from the three pictures, as a status field would.
    auto* special = new PictureBevel("PV_BevelLeft", "PV_BevelMiddle", "PV_BevelRight");
    auto* well = new PictureBevel(QString(), "PV_BevelWell", QString());
    well->setSpecialImage(QSizeF(160, 24), QPointF(60, 0));
    well->setOpaque(false);
    auto* over = new QHBoxLayout(special);
    over->setContentsMargins(0, 0, 0, 0);
    over->addWidget(well);
    v->addWidget(labelled("Drawn from the palette", plain));
    v->addWidget(labelled("Left, middle and right pictures", pictured));
    v->addWidget(labelled("Middle picture at a fixed place and size", special));
    v->addStretch(1);
    return makePage("Bevel views",
        "PvWindowBevelView draws the bars under lists and along window edges, from the palette or "
        "from pictures; the framework's pictures have light and dark sets.",
        demo, nullptr);
}

} // namespace PavoGallery
