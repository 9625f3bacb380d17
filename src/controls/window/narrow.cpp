#include "controls/window/narrow.h"

#include <QCoreApplication>
#include <QEvent>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QTimer>

#include <algorithm>

namespace {

void growFor(QScrollArea &area)
{
    QWidget &window = *area.window();
    constexpr int title = 48;
    const int most = window.screen()->availableSize().height() - title;
    const int missing = area.widget()->minimumSizeHint().height() - area.viewport()->height();
    if (missing > 0 && !window.isMaximized() && window.height() < most)
        window.resize(window.width(), std::min(window.height() + missing, most));
}

} // namespace

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
        QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
        for (QWidget *around = widget.parentWidget(); around; around = around->parentWidget())
            if (auto *area = qobject_cast<QScrollArea *>(around)) {
                growFor(*area);
                area->ensureWidgetVisible(&widget);
            }
    });
}
