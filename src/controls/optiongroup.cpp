#include "controls/optiongroup.h"

#include <QButtonGroup>
#include <QRadioButton>

QButtonGroup *makeOptionGroup(QWidget *window, const QList<QRadioButton *> &options)
{
    auto *group = new QButtonGroup(window);
    for (QRadioButton *option : options) {
        group->addButton(option, static_cast<int>(group->buttons().size()));
        QObject::connect(option, &QRadioButton::toggled, option, [option](bool isChosen) {
            option->setFocusPolicy(isChosen ? Qt::StrongFocus : Qt::ClickFocus);
        });
        option->setFocusPolicy(option->isChecked() ? Qt::StrongFocus : Qt::ClickFocus);
    }
    return group;
}
