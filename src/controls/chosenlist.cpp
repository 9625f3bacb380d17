#include "controls/chosenlist.h"

#include <QMouseEvent>
#include <QSignalBlocker>

QStringList ChosenList::texts() const
{
    QStringList result;
    for (int row = 0; row < count(); ++row)
        result << item(row)->text();
    return result;
}

void ChosenList::clearItems()
{
    const QSignalBlocker quiet(this);
    clear();
}

void ChosenList::appendItem(const QString &text)
{
    const QSignalBlocker quiet(this);
    addItem(text);
}

// The base class would make the first item the current one: nobody chose it, the next command would be for it,
// and chosen() would run in the middle of the toolkit's change of windows.
void ChosenList::focusInEvent(QFocusEvent *event)
{
    if (currentIndex().isValid())
        QListWidget::focusInEvent(event);
    else
        QWidget::focusInEvent(event);
}

void ChosenList::mousePressEvent(QMouseEvent *event)
{
    // Other buttons choose nothing: a context menu chooses for itself.
    if (event->button() != Qt::LeftButton)
        return;
    m_isPressed = true;
    QListWidget::mousePressEvent(event);
}

void ChosenList::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return;
    QListWidget::mouseReleaseEvent(event);
    m_isPressed = false;
    if (itemAt(event->pos()))
        Q_EMIT chosen();
}

void ChosenList::currentChanged(const QModelIndex &current, const QModelIndex &previous)
{
    QListWidget::currentChanged(current, previous);
    if (current.isValid() && !m_isPressed)
        Q_EMIT chosen();
}
