#include "controls/window/narrow.h"

#include <QPushButton>

void letBeNarrow(QPushButton &button)
{
    constexpr int frame = 12;
    button.setMinimumWidth(button.fontMetrics().horizontalAdvance(button.text()) + frame);
}

void letBeLow(QWidget &list)
{
    list.setMinimumHeight(44);
}
