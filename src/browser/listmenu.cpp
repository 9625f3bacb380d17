#include "browser/listmenu.h"

#include "controls/chosenlist.h"
#include "core/listitem.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMenu>
#include <QPushButton>

namespace {

QString nameOf(const QString &item)
{
    return item.contains(u'\t') ? ListItem::parse(item).name : item;
}

void showMenu(ChosenList &list, const std::vector<QPushButton *> &buttons, const QPoint &position)
{
    QListWidgetItem *item = list.itemAt(position);
    if (item && item != list.currentItem())
        list.setCurrentItem(item);
    QMenu menu(&list);
    for (QPushButton *button : buttons) {
        QAction *action = menu.addAction(button->text());
        action->setEnabled(button->isEnabled());
        QObject::connect(action, &QAction::triggered, button, &QPushButton::click);
    }
    menu.addSeparator();
    QAction *copy = menu.addAction(QStringLiteral("名前をコピー"));
    copy->setEnabled(list.currentItem());
    QObject::connect(copy, &QAction::triggered, &list,
                     [&list] { QGuiApplication::clipboard()->setText(nameOf(list.currentText())); });
    menu.exec(list.viewport()->mapToGlobal(position));
}

} // namespace

void addListMenu(ChosenList &list, const std::vector<QPushButton *> &buttons)
{
    list.setContextMenuPolicy(Qt::CustomContextMenu);
    QObject::connect(&list, &QWidget::customContextMenuRequested, &list,
                     [&list, buttons](const QPoint &position) { showMenu(list, buttons, position); });
}
