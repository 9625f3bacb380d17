#include "controls/window/building.h"

#include "core/sql/listitem.h"

#include <QAbstractScrollArea>
#include <QButtonGroup>
#include <QComboBox>
#include <QCompleter>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QRadioButton>
#include <QTextDocument>

QLabel *wordsLabel(const char *name)
{
    auto *label = made<QLabel>(name);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

void bringToFront(QWidget &window)
{
    window.show();
    window.raise();
    window.activateWindow();
}

void paintPlaceholder(QAbstractScrollArea &area, const QString &text)
{
    if (text.isEmpty())
        return;
    QPainter painter(area.viewport());
    painter.setPen(area.palette().color(QPalette::PlaceholderText));
    painter.drawText(area.viewport()->rect().adjusted(12, 12, -12, -12), Qt::AlignCenter | Qt::TextWordWrap,
                     text);
}

QString plainTip(const QString &text)
{
    const QString shown = visibleText(text);
    if (!Qt::mightBeRichText(shown))
        return shown;
    return QStringLiteral("<p style='white-space:pre-wrap'>") + shown.toHtmlEscaped() +
           QStringLiteral("</p>");
}

void makeEditable(QComboBox &box)
{
    auto *line = new QLineEdit(&box);
    line->setCompleter(new QCompleter(line)); // a line without any is given one of all the box's items
    box.setLineEdit(line);
    line->setCompleter(nullptr);
    box.setInsertPolicy(QComboBox::NoInsert);
}

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

void switchButton(QWidget &button, bool isOn, QWidget &focusInstead)
{
    if (!isOn && button.window()->focusWidget() == &button)
        focusInstead.setFocus();
    button.setEnabled(isOn);
}

void followInTabOrder(QWidget &place, const QList<QWidget *> &made)
{
    QWidget *before = &place;
    while (before->focusPolicy() == Qt::NoFocus)
        before = before->previousInFocusChain();
    for (QWidget *each : made) {
        QWidget::setTabOrder(before, each);
        before = each;
    }
}
