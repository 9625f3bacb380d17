#include "controls/placeholder.h"

#include <QAbstractScrollArea>
#include <QPainter>

void paintPlaceholder(QAbstractScrollArea &area, const QString &text)
{
    QPainter painter(area.viewport());
    painter.setPen(area.palette().color(QPalette::PlaceholderText));
    painter.drawText(area.viewport()->rect().adjusted(12, 12, -12, -12), Qt::AlignCenter | Qt::TextWordWrap,
                     text);
}
