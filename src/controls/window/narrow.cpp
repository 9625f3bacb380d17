#include "controls/window/narrow.h"

#include <QPushButton>
#include <QScrollArea>
#include <QTimer>

void letBeNarrow(QPushButton &button)
{
    constexpr int frame = 12;
    button.setMinimumWidth(button.fontMetrics().horizontalAdvance(button.text()) + frame);
}

void letBeLow(QWidget &list)
{
    list.setMinimumHeight(44);
}

QScrollArea *scrolling(QWidget *contents)
{
    auto *area = new QScrollArea;
    area->setWidget(contents);
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    area->setFocusPolicy(Qt::NoFocus);
    return area;
}

void bringIntoSight(QWidget &widget)
{
    QTimer::singleShot(0, &widget, [&widget] {
        for (QWidget *around = widget.parentWidget(); around; around = around->parentWidget())
            if (auto *area = qobject_cast<QScrollArea *>(around))
                area->ensureWidgetVisible(&widget);
    });
}
