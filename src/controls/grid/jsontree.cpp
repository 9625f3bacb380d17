#include "controls/grid/jsontree.h"

#include "core/sql/listitem.h"

#include <QHeaderView>
#include <QJsonArray>
#include <QJsonDocument>

namespace {

constexpr int partRole = Qt::UserRole;
constexpr std::size_t mostParts = 2000, mostShown = 1000; // of one part; bytes of a text

// Without its quotes and escapes.
QString plain(std::string_view text)
{
    if (!text.starts_with('"'))
        return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    if (text.size() > mostShown)
        return QString::fromUtf8(text.data() + 1, mostShown) + QStringLiteral("…");
    const QByteArray array = '[' + QByteArray(text.data(), static_cast<qsizetype>(text.size())) + ']';
    return QJsonDocument::fromJson(array).array().at(0).toString();
}

QString valueOf(const JsonPart &part)
{
    switch (part.kind) {
    case JsonPart::Kind::Object:
        return QStringLiteral("{%L1}").arg(part.parts.size());
    case JsonPart::Kind::Array:
        return QStringLiteral("[%L1]").arg(part.parts.size());
    case JsonPart::Kind::Scalar:
        break;
    }
    return visibleName(plain(part.text));
}

} // namespace

JsonTree::JsonTree(const char *name)
{
    setObjectName(QLatin1String(name));
    setAccessibleName(QStringLiteral("JSONの木"));
    setHeaderLabels({QStringLiteral("名前"), QStringLiteral("値")});
    setUniformRowHeights(true);
    header()->setStretchLastSection(true);
    setColumnWidth(0, fontMetrics().averageCharWidth() * 32);
    connect(this, &QTreeWidget::itemExpanded, this, [this](QTreeWidgetItem *item) { fill(*item); });
}

void JsonTree::showJson(const JsonPart *json)
{
    clear();
    if (!json)
        return;
    QTreeWidgetItem *top = itemFor(*json, QStringLiteral("$"));
    addTopLevelItem(top);
    top->setExpanded(true);
    setCurrentItem(top);
}

QTreeWidgetItem *JsonTree::itemFor(const JsonPart &part, const QString &name) const
{
    auto *item = new QTreeWidgetItem({name, valueOf(part)});
    item->setData(0, partRole, QVariant::fromValue(static_cast<const void *>(&part)));
    if (!part.parts.empty())
        item->setChildIndicatorPolicy(QTreeWidgetItem::ShowIndicator);
    return item;
}

void JsonTree::fill(QTreeWidgetItem &item)
{
    if (item.childCount() > 0)
        return;
    const auto &part = *static_cast<const JsonPart *>(item.data(0, partRole).value<const void *>());
    const std::size_t shown = std::min(part.parts.size(), mostParts);
    QList<QTreeWidgetItem *> items;
    for (std::size_t i = 0; i < shown; ++i) {
        const std::string_view key = part.parts[i].key;
        items << itemFor(part.parts[i], key.empty() ? QString::number(i) : visibleName(plain(key)));
    }
    if (shown < part.parts.size()) {
        items << new QTreeWidgetItem({{}, QStringLiteral("ほか %L1 件").arg(part.parts.size() - shown)});
        items.back()->setFlags(Qt::ItemNeverHasChildren);
    }
    item.addChildren(items);
}
