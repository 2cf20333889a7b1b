#include "PVIconPicker.h"

#include "PVImageCell.h"
#include "PvResourceProvider.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOption>

namespace {
constexpr int kArrowWidth = 14;
}

PVIconPicker::PVIconPicker(QWidget* parent)
    : PvControl(std::make_unique<PVImageCell>(), parent)
{
    setFocusPolicy(Qt::StrongFocus);
}

PVIconPicker::~PVIconPicker()
{
    delete m_popUp;
}

void PVIconPicker::setPopUp(PVIconPickerPopUp* popUp)
{
    if (m_popUp == popUp)
        return;
    delete m_popUp;
    m_popUp = popUp;
    if (popUp) {
        popUp->setParent(this);
        popUp->setTarget(this);
        popUp->setAction("_popUpAction");
    }
    _updateSelfOrImageView();
}

void PVIconPicker::setDataSource(PVIconPickerPopUpDataSource* dataSource)
{
    if (m_popUp) {
        m_popUp->setDataSource(dataSource);
        m_popUp->reloadData();
        _updateSelfOrImageView();
    }
}

void PVIconPicker::setDelegate(PVIconPickerPopUpDelegate* delegate)
{
    if (m_popUp)
        m_popUp->setDelegate(delegate);
}

void PVIconPicker::setArrowImage(int32_t imageID)
{
    m_arrowImage = imageID;
    update();
}

QSize PVIconPicker::sizeHint() const
{
    QSizeF icon = m_popUp ? m_popUp->cellSize() : QSizeF(24, 24);
    return QSize(int(icon.width()) + kArrowWidth + 10, int(icon.height()) + 8);
}

QString PVIconPicker::accessibilityValue() const
{
    return m_popUp && m_popUp->selectedIconTag() >= 0 ? QString::number(m_popUp->selectedIconTag())
                                                      : QString();
}

void PVIconPicker::_updateSelfOrImageView()
{
    if (auto* image = dynamic_cast<PVImageCell*>(cell()))
        image->setImage(m_popUp ? m_popUp->selectedIconImage() : QPixmap());
    update();
}

void PVIconPicker::_popUpAction(PVIconPickerPopUp*)
{
    _updateSelfOrImageView();
    sendAction();
}

void PVIconPicker::open(const PvEvent* event)
{
    if (!m_popUp || !isEnabled())
        return;
    m_state = 1;
    update();
    QPointer<PVIconPicker> self(this);
    if (event)
        m_popUp->popUpForEvent(*event, this);
    else
        m_popUp->popUpAtLocation(mapToGlobal(QPointF(0, height())));
    if (self) {
        m_state = 0;
        update();
    }
}

void PVIconPicker::mouseDown(const PvEvent& event)
{
    open(&event);
}

bool PVIconPicker::keyDown(const PvEvent& event)
{
    if (event.character == ' ' || event.character == 13 || event.character == 3
        || event.character == PvDownArrowFunctionKey) {
        open(nullptr);
        return true;
    }
    return PvControl::keyDown(event);
}

void PVIconPicker::drawRect(QPainter& painter, const QRectF&)
{
    QStyleOptionButton option;
    option.initFrom(this);
    option.rect = rect();
    if (m_state)
        option.state |= QStyle::State_Sunken;
    else
        option.state |= QStyle::State_Raised;
    style()->drawPrimitive(QStyle::PE_PanelButtonCommand, &option, &painter, this);
    const QRectF inner = QRectF(rect()).adjusted(4, 4, -4 - kArrowWidth, -4);
    if (cell())
        cell()->drawWithFrame(painter, inner, this);
    const QRectF arrow(width() - 4 - kArrowWidth, 0, kArrowWidth, height());
    PvResourceProvider* provider = PvResourceProvider::defaultResourceProvider();
    const QSizeF size = provider->imageSize(m_arrowImage);
    if (m_arrowImage != kImage_None && !size.isEmpty()) {
        provider->drawImageWithID(m_arrowImage, painter,
            QPointF(arrow.center().x() - size.width() / 2, arrow.center().y() - size.height() / 2));
    } else {
        QStyleOption arrowOption;
        arrowOption.initFrom(this);
        arrowOption.rect = QRectF(arrow.center().x() - 4, arrow.center().y() - 4, 8, 8).toRect();
        style()->drawPrimitive(QStyle::PE_IndicatorArrowDown, &arrowOption, &painter, this);
    }
}
