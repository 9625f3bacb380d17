#include "transfer/objectchoice.h"

#include "controls/window/building.h"

#include <QHBoxLayout>
#include <QListWidget>
#include <QPushButton>

ObjectChoice::ObjectChoice(const QString &room, const QStringList &objects, const QStringList &chosen)
    : QGroupBox(QStringLiteral("テーブルとビュー"))
    , m_list(new QListWidget)
{
    const auto named = [&room](QObject *control, const char *end) {
        control->setObjectName(room + QLatin1String(end));
    };
    named(m_list, "Objects");
    m_list->setItemDelegate(new VisibleItems(m_list));
    m_list->setAccessibleName(title());
    for (const QString &name : objects) {
        auto *item = new QListWidgetItem(name, m_list);
        item->setCheckState(chosen.isEmpty() || chosen.contains(name) ? Qt::Checked : Qt::Unchecked);
    }
    auto *all = new QPushButton(QStringLiteral("すべて"));
    auto *none = new QPushButton(QStringLiteral("なし"));
    named(all, "All");
    named(none, "None");
    connect(all, &QPushButton::clicked, this, [this] { setAll(Qt::Checked); });
    connect(none, &QPushButton::clicked, this, [this] { setAll(Qt::Unchecked); });
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(all);
    buttons->addWidget(none);
    buttons->addStretch();
    auto *rows = new QVBoxLayout(this);
    rows->addWidget(m_list);
    rows->addLayout(buttons);
}

bool ObjectChoice::isUsable() const
{
    return m_list->count() == 0 || chosen() != QStringList() || m_list->item(0)->checkState() == Qt::Checked;
}

QStringList ObjectChoice::chosen() const
{
    QStringList names;
    for (int i = 0; i < m_list->count(); ++i)
        if (m_list->item(i)->checkState() == Qt::Checked)
            names << m_list->item(i)->text();
    return names.size() == m_list->count() ? QStringList() : names;
}

void ObjectChoice::setAll(Qt::CheckState state)
{
    for (int i = 0; i < m_list->count(); ++i)
        m_list->item(i)->setCheckState(state);
}
