#pragma once

#include "core/sql/listitem.h"

#include <QList>
#include <QString>
#include <QStyledItemDelegate>

#include <utility>

class QAbstractScrollArea;
class QButtonGroup;
class QComboBox;
class QLabel;
class QRadioButton;
class QWidget;

// Makes a control of that object name; the layout it is put into gives it its parent.
template <class Control, class... Arguments>
Control *made(const char *name, Arguments &&...arguments)
{
    auto *control = new Control(std::forward<Arguments>(arguments)...);
    control->setObjectName(QLatin1String(name));
    return control;
}

template <class Control>
Control *tipped(const char *name, const QString &text, const QString &tip)
{
    auto *control = made<Control>(name, text);
    control->setToolTip(tip);
    return control;
}

// For words of servers and systems: taken for no markup, over as many lines as they need, to be copied.
QLabel *wordsLabel(const char *name);

// Opened, or back from behind the others.
void bringToFront(QWidget &window);

// Says in the middle of an empty list or grid what to do next. Called while its viewport is painted.
void paintPlaceholder(QAbstractScrollArea &area, const QString &text);

// The text as a tool tip that shows it character by character: a tip takes what looks like markup for markup,
// and what is escaped but does not look so for plain text.
QString plainTip(const QString &text);

// A box that takes any text, and keeps and completes none. Its list is made when it opens:
// QComboBox::setEditable() would make it now, and a completer with it.
void makeEditable(QComboBox &box);

// Option buttons of which one is chosen, wherever they lie in the window. Tab reaches the chosen one; Qt
// alone leads to the first until one of them had the focus.
QButtonGroup *makeOptionGroup(QWidget *window, const QList<QRadioButton *> &options);

// Behind `place` in the order of Tab, for what was made after its window.
void followInTabOrder(QWidget &place, const QList<QWidget *> &made);

// Switches a button on or off. Where it goes off under the focus, the focus goes to the other widget: Qt
// gives it to whatever comes next, which the next blank presses or ticks.
void switchButton(QWidget &button, bool isOn, QWidget &focusInstead);

// Items of a list with signs for what cannot be seen. The items keep their texts, for the commands.
class VisibleItems : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QString displayText(const QVariant &value, const QLocale &) const override
    {
        return visibleItem(value.toString());
    }
};
