#pragma once

#include "controls/findbar.h"
#include "controls/sqltextbox.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QLayout>
#include <QRadioButton>
#include <QScrollArea>
#include <QSplitter>
#include <QTabWidget>

#include <algorithm>

// Tab writes into such a box, so Ctrl+Tab leaves it.
inline bool isSqlEditor(const QWidget &widget)
{
    return qobject_cast<const SqlTextBox *>(&widget);
}

// The controls that Tab must reach, in the order in which one reads a window: whatever stands together in
// a layout is one group, rows go from the top, each from the left. Told from what is on the screen alone.
class EyeOrder {
public:
    QList<QWidget *> found;

    void read(QWidget &widget)
    {
        if (!widget.isVisible() || !widget.isEnabled())
            return;
        const auto *option = qobject_cast<QRadioButton *>(&widget); // of a group, arrows reach the others
        const bool isSkipped = widget.focusProxy() || (option && !option->isChecked());
        if ((widget.focusPolicy() & Qt::TabFocus) && !isSkipped)
            found << &widget;
        if (auto *tabs = qobject_cast<QTabWidget *>(&widget))
            readInOrder(
                {group(*tabs->findChild<QWidget *>("qt_tabwidget_tabbar")), group(*tabs->currentWidget())});
        else if (auto *area = qobject_cast<QScrollArea *>(&widget))
            read(*area->widget());
        else if (auto *splitter = qobject_cast<QSplitter *>(&widget))
            readInOrder(groupsOf(*splitter));
        else if (widget.layout() && !qobject_cast<QComboBox *>(&widget))
            read(*widget.layout());
        else if (auto *bar = widget.findChild<FindBar *>())
            read(*bar);
    }

private:
    struct Group {
        QRect place;
        std::function<void()> read;
    };

    Group group(QWidget &widget)
    {
        return {QRect(widget.mapToGlobal(QPoint()), widget.size()), [this, &widget] { read(widget); }};
    }

    std::vector<Group> groupsOf(const QSplitter &splitter)
    {
        std::vector<Group> groups;
        for (int i = 0; i < splitter.count(); ++i)
            if (splitter.widget(i)->isVisible())
                groups.push_back(group(*splitter.widget(i)));
        return groups;
    }

    void read(QLayout &layout)
    {
        std::vector<Group> groups;
        const QPoint origin = layout.parentWidget()->mapToGlobal(QPoint());
        for (int i = 0; i < layout.count(); ++i) {
            QLayoutItem *item = layout.itemAt(i);
            if (item->isEmpty() || item->spacerItem())
                continue;
            if (item->widget())
                groups.push_back(group(*item->widget()));
            else if (QLayout *inner = item->layout())
                groups.push_back({item->geometry().translated(origin), [this, inner] { read(*inner); }});
        }
        readInOrder(std::move(groups));
    }

    // What begins above the middle of a row's first group stands in that row.
    static void readInOrder(std::vector<Group> groups)
    {
        std::ranges::stable_sort(groups, {}, [](const Group &group) { return group.place.top(); });
        for (auto first = groups.begin(); first != groups.end();) {
            int middle = first->place.center().y();
            auto end = std::find_if(first, groups.end(), [&middle](const Group &group) {
                const bool isBelow = group.place.top() > middle;
                middle = std::min(middle, group.place.center().y());
                return isBelow;
            });
            std::stable_sort(first, end,
                             [](const Group &a, const Group &b) { return a.place.left() < b.place.left(); });
            for (; first != end; ++first)
                first->read();
        }
    }
};

inline QList<QWidget *> eyeOrder(QWidget &window)
{
    EyeOrder order;
    order.read(window);
    return order.found;
}
