#include "controls/dialogue/percentbar.h"

#include <QFontMetrics>
#include <QPainter>

#include <algorithm>
#include <cmath>

PercentBar::PercentBar(QWidget *parent)
    : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void PercentBar::clearBar()
{
    m_fraction = 0;
    m_text.clear();
    setAccessibleDescription(m_text);
    update();
}

void PercentBar::setFraction(double fraction, bool isExact)
{
    m_fraction = fraction;
    m_text = QString::number(shownPercent(fraction, isExact)) + u'%';
    setAccessibleDescription(m_text);
    update();
}

QSize PercentBar::sizeHint() const
{
    return {160, fontMetrics().height() + 6};
}

void PercentBar::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const QFontMetrics metrics = fontMetrics();
    const QPoint baseline(width() / 2 - metrics.horizontalAdvance(m_text) / 2,
                          height() / 2 - metrics.height() / 2 + metrics.ascent());
    painter.fillRect(rect(), Qt::white);
    painter.setPen(Qt::blue);
    painter.drawText(baseline, m_text);
    if (m_fraction <= 0)
        return;
    // The same number once more in white, seen only where the bar covers it.
    const QRectF bar(0, 0, width() * std::min(m_fraction, 1.0), height());
    painter.setClipRect(bar);
    painter.fillRect(bar, Qt::blue);
    painter.setPen(Qt::white);
    painter.drawText(baseline, m_text);
}

void sProgressBar(PercentBar &box, double fraction, bool exact)
{
    box.setFraction(fraction, exact);
}

int shownPercent(double fraction, bool exact)
{
    const int percent = static_cast<int>(std::floor(fraction * 100 + 0.5));
    if (exact)
        return percent;
    // A running bar never looks empty or finished.
    return percent == 0 ? 1 : percent == 100 ? 99 : percent;
}
