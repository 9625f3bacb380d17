#include "server/load/statuspage.h"

#include "controls/window/building.h"
#include "server/keyedlist.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

StatusPage::StatusPage(const ServerSurroundings &around)
    : ServerPage(around, "statusPage", QStringLiteral("状態値"))
    , m_list(new KeyedList("statusList", QStringLiteral("状態値の一覧"),
                           {{QStringLiteral("名前")},
                            {QStringLiteral("値"), true},
                            {QStringLiteral("1 秒あたりの変化"), true}}))
    , m_onlyChanging(made<QCheckBox>("onlyChanging", QStringLiteral("変わるものだけ")))
{
    m_list->setPlaceholderText(QStringLiteral("読んでいます..."));
    auto *line = new QHBoxLayout;
    line->addWidget(makeFilter("statusFilter", *m_list), 1);
    line->addWidget(m_onlyChanging);
    content()->addLayout(line);
    content()->addWidget(m_list, 1);
    connect(m_onlyChanging, &QCheckBox::toggled, this, [this](bool isOn) {
        if (isOn)
            m_list->rows().setCondition([this](const KeyedRow &row) { return m_changed.contains(row.key); });
        else
            m_list->rows().setCondition({});
    });
}

void StatusPage::refresh()
{
    ask([reader = m_reader](Session &session) { return reader->read(session); },
        [this](StatusSample sample) { show(std::move(sample)); });
}

void StatusPage::show(StatusSample sample)
{
    const double seconds = static_cast<double>(sample.time - m_last.time) / 1000;
    QStringList names = sample.values.keys();
    std::ranges::sort(names);
    std::vector<KeyedRow> rows;
    for (const QString &name : names) {
        const double change = sample.number(name) - m_last.number(name); // none: not a number
        QString perSecond;
        if (!std::isnan(change) && seconds > 0)
            perSecond = QString::number(change / seconds, 'f', change == 0 ? 0 : 1);
        if (m_last.time > 0 && sample.values[name] != m_last.values.value(name))
            m_changed << name;
        rows.push_back({name, {name, sample.values[name], perSecond}});
    }
    m_last = std::move(sample);
    m_list->show(std::move(rows));
}
