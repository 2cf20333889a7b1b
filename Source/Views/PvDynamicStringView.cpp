#include "PvDynamicStringView.h"

#include "PvToolTipWindow.h"

#include <QPainter>
#include <QToolTip>

#include <cmath>

PvToolTipStringSource::~PvToolTipStringSource()
{
    PvToolTipWindow::closeToolTipWindowIfCurrentlyMine(this);
}

PvDynamicStringView::PvDynamicStringView(QWidget* parent)
    : QWidget(parent)
{
}

void PvDynamicStringView::setObject(PvToolTipStringSource* object, int tag)
{
    m_Object = object;
    m_Tag = tag;
    update();
}

QString PvDynamicStringView::currentString() const
{
    return m_Object ? m_Object->stringForTag(m_Tag) : QString();
}

QFont PvDynamicStringView::toolTipFont()
{
    return QToolTip::font();
}

QSize PvDynamicStringView::sizeForString(const QString& text)
{
    QSizeF textSize(0, 0);
    if (!text.isEmpty())
        textSize = QFontMetricsF(toolTipFont()).size(0, text);
    const qreal w = std::max(textSize.width(), 4.0) + 2 + 2;
    const qreal h = textSize.height() + 2 + 2;
    return QSize(int(std::ceil(w)), int(std::ceil(h)));
}

void PvDynamicStringView::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    const QPalette pal = QToolTip::palette();
    p.fillRect(rect(), pal.color(QPalette::ToolTipBase));
    p.setPen(pal.color(QPalette::ToolTipText).darker(150));
    p.drawRect(QRectF(rect()).adjusted(0, 0, -1, -1));
    p.setPen(pal.color(QPalette::ToolTipText));
    p.setFont(toolTipFont());
    p.drawText(QRectF(rect()).adjusted(2, 2, -2, -2), Qt::AlignLeft | Qt::AlignTop, currentString());
}
