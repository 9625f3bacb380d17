#include "controls/lists/filterline.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QListWidget>

FilterLine::FilterLine(QListWidget &list, QWidget *parent)
    : QLineEdit(parent)
    , m_list(list)
{
    setPlaceholderText(QStringLiteral("絞り込み"));
    setAccessibleName(placeholderText());
    connect(this, &QLineEdit::textChanged, this, [this] {
        setClearButtonEnabled(!text().isEmpty()); // its picture is not loaded before there is use for it
        apply(0, m_list.count() - 1);
        if (QListWidgetItem *current = m_list.currentItem(); current && !current->isHidden())
            m_list.scrollToItem(current);
    });
    list.installEventFilter(this);
    // Lists are filled anew while a filter stands.
    connect(list.model(), &QAbstractItemModel::rowsInserted, this,
            [this](const QModelIndex &, int first, int last) {
                if (!text().isEmpty())
                    apply(first, last);
            });
}

void FilterLine::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape && !text().isEmpty())
        clear();
    else if (event->key() == Qt::Key_Down)
        goToList(event);
    else
        QLineEdit::keyPressEvent(event);
}

// With nothing chosen in sight the key chooses the first item as well.
void FilterLine::goToList(QKeyEvent *event)
{
    m_list.setFocus(Qt::OtherFocusReason);
    if (!m_list.currentItem() || m_list.currentItem()->isHidden())
        QCoreApplication::sendEvent(&m_list, event);
}

bool FilterLine::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == &m_list && event->type() == QEvent::EnabledChange)
        setEnabled(m_list.isEnabled());
    return QLineEdit::eventFilter(watched, event);
}

void FilterLine::apply(int first, int last)
{
    for (int row = first; row <= last; ++row)
        m_list.item(row)->setHidden(!passesFilter(m_list.item(row)->text(), text()));
}

QString comparable(const QString &text)
{
    return text.normalized(QString::NormalizationForm_KC).toCaseFolded();
}

bool passesFilter(const QString &itemText, const QString &filter)
{
    const QString name = itemText.section(u'\t', 1, 1);
    return comparable(name.isEmpty() ? itemText : name).contains(comparable(filter));
}
