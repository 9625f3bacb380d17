#include "controls/window/statelabel.h"

#include "controls/window/building.h"

#include <QPainter>
#include <QStyle>

StateLabel::StateLabel(QWidget *parent)
    : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
}

QSize StateLabel::minimumSizeHint() const
{
    return {80, fontMetrics().height()};
}

QSize StateLabel::sizeHint() const
{
    return {QLabel::sizeHint().width(), minimumSizeHint().height()};
}

void StateLabel::paintEvent(QPaintEvent *)
{
    const QString shown =
        fontMetrics().elidedText(QString(text()).replace(u'\n', u' '), Qt::ElideRight, width());
    if (const QString tip = shown == text() ? QString() : plainTip(text()); tip != toolTip())
        setToolTip(tip);
    QPainter painter(this);
    style()->drawItemText(&painter, rect(), Qt::AlignLeft | Qt::AlignVCenter, palette(), isEnabled(), shown,
                          foregroundRole());
}
