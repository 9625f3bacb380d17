#include "controls/filterline.h"

#include <QKeyEvent>
#include <QListWidget>

namespace {

QString comparable(const QString &text)
{
    return text.normalized(QString::NormalizationForm_KC).toCaseFolded();
}

} // namespace

FilterLine::FilterLine(QListWidget &list, QWidget *parent)
    : QLineEdit(parent)
    , m_list(list)
{
    setPlaceholderText(QStringLiteral("絞り込み"));
    setAccessibleName(placeholderText());
    connect(this, &QLineEdit::textChanged, this, [this] {
        setClearButtonEnabled(!text().isEmpty()); // its picture is not loaded before there is use for it
        apply();
    });
    list.installEventFilter(this);
    // Lists are filled anew while a filter stands.
    connect(list.model(), &QAbstractItemModel::rowsInserted, this, [this] {
        if (!text().isEmpty())
            apply();
    });
}

void FilterLine::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape && !text().isEmpty())
        clear();
    else if (event->key() == Qt::Key_Down)
        m_list.setFocus(Qt::OtherFocusReason);
    else
        QLineEdit::keyPressEvent(event);
}

bool FilterLine::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == &m_list && event->type() == QEvent::EnabledChange)
        setEnabled(m_list.isEnabled());
    return QLineEdit::eventFilter(watched, event);
}

void FilterLine::apply()
{
    for (int row = 0; row < m_list.count(); ++row)
        m_list.item(row)->setHidden(!passesFilter(m_list.item(row)->text(), text()));
}

bool passesFilter(const QString &itemText, const QString &filter)
{
    const QString name = itemText.section(u'\t', 1, 1);
    return comparable(name.isEmpty() ? itemText : name).contains(comparable(filter));
}
