#include "PvSlider.h"

#include <QEvent>

#include <algorithm>
#include <cmath>

PvSlider::PvSlider(QWidget* parent)
    : PvSlider(nullptr, parent)
{
}

PvSlider::PvSlider(std::unique_ptr<PvBasicSliderCell> cell, QWidget* parent)
    : PvControl(cell ? std::move(cell) : std::make_unique<PvBasicSliderCell>(), parent)
{
}

PvSlider::~PvSlider() = default;

PvBasicSliderCell* PvSlider::sliderCell() const
{
    return static_cast<PvBasicSliderCell*>(cell());
}

void PvSlider::setSliderCell(std::unique_ptr<PvBasicSliderCell> cell)
{
    if (!cell)
        return;
    const double old = doubleValue();
    setCell(std::move(cell));
    if (doubleValue() != old)
        emit valueChanged(doubleValue());
}

void PvSlider::setFlipped(bool flipped)
{
    m_flipped = flipped;
    update();
}

void PvSlider::cellValueDidChange(PvBasicSliderCell* cell, double)
{
    if (cell == this->cell())
        emit valueChanged(cell->doubleValue());
}

void PvSlider::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::ActivationChange)
        update();
    PvControl::changeEvent(event);
}

QString PvSlider::accessibilityValue() const
{
    return QString::number(sliderCell()->accessibleDoubleValue());
}

QSize PvSlider::sizeHint() const
{
    const QSizeF s = sliderCell()->cellSize();
    return QSize(int(std::ceil(s.width())), int(std::ceil(s.height())));
}

bool PvSlider::scrollWheel(const PvEvent& event)
{
    if (!isEnabled())
        return true;
    PvBasicSliderCell* c = sliderCell();
    double step = (c->maxValue() - c->minValue()) / 10.0;
    double delta = event.deltaY;
    if (event.modifierFlags & PvShiftKeyMask) {
        delta = event.deltaX;
        step *= 0.25;
    }
    delta = delta >= 0 ? std::ceil(delta) : std::floor(delta);
    delta = std::clamp(delta, -1.0, 1.0);
    if (delta > 0)
        c->setDoubleValue(c->doubleValue() + step);
    else if (delta < 0)
        c->setDoubleValue(c->doubleValue() - step);
    sendAction();
    return true;
}
