#include "about/programicon.h"

#include <QApplication>
#include <QPainter>

namespace {

// A cylinder, as databases are drawn, in the program's blue.
QPixmap drawnIcon(int size)
{
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(size / 64.0, size / 64.0);
    painter.setPen(QPen(QColor(20, 50, 90), 2));
    painter.setBrush(QColor(60, 120, 190));
    painter.drawEllipse(QRectF(10, 44, 44, 16));
    painter.fillRect(QRectF(10, 14, 44, 38), QColor(60, 120, 190));
    painter.drawLine(QLineF(10, 14, 10, 52));
    painter.drawLine(QLineF(54, 14, 54, 52));
    painter.drawArc(QRectF(10, 25, 44, 16), 180 * 16, 180 * 16);
    painter.setBrush(QColor(130, 180, 230));
    painter.drawEllipse(QRectF(10, 6, 44, 16));
    return pixmap;
}

} // namespace

QIcon programIcon()
{
    const QIcon icon = QApplication::windowIcon();
    return icon.isNull() ? QIcon(drawnIcon(256)) : icon;
}
