#include "maintenance/foreignkeys.h"

#include "core/statements.h"
#include "maintenance/exactsession.h"

#include <QRegularExpression>

#include <algorithm>

QString ForeignKey::dropStatement() const
{
    return QStringLiteral("ALTER TABLE %1 DROP FOREIGN KEY %2").arg(table, name);
}

QString ForeignKey::addStatement() const
{
    const QString constraint = name.isEmpty() ? QString() : QStringLiteral("CONSTRAINT %1 ").arg(name);
    return QStringLiteral("ALTER TABLE ") + table + QStringLiteral(" ADD ") + constraint + clause;
}

std::vector<ForeignKey> foreignKeysIn(const QString &quotedTable, const QString &createText)
{
    static const QRegularExpression line(
        QStringLiteral("^ *CONSTRAINT (`(?:[^`]|``)+`) (FOREIGN KEY .*?),?\\r?$"),
        QRegularExpression::MultilineOption);
    std::vector<ForeignKey> keys;
    for (auto found = line.globalMatch(createText); found.hasNext();) {
        const QRegularExpressionMatch match = found.next();
        keys.push_back({quotedTable, match.captured(1), match.captured(2)});
    }
    return keys;
}

std::vector<ForeignKey> incomingForeignKeys(Connection &connection, const QString &database,
                                            const QString &table)
{
    RecordSet rows =
        connection.execute(QStringLiteral("SELECT CONSTRAINT_SCHEMA, TABLE_NAME, CONSTRAINT_NAME "
                                          "FROM information_schema.REFERENTIAL_CONSTRAINTS "
                                          "WHERE UNIQUE_CONSTRAINT_SCHEMA=%1 AND REFERENCED_TABLE_NAME=%2")
                               .arg(quotedText(database), quotedText(table)));
    struct Row {
        QString database, table, name;
    };
    std::vector<Row> found;
    for (; !rows.isEof(); rows.moveNext())
        found.push_back({rows.text(0), rows.text(1), rows.text(2)});
    rows.close();

    std::vector<ForeignKey> keys;
    for (const Row &row : found) {
        if (row.database == database && row.table == table)
            continue;
        const auto all = foreignKeysIn(quotedName(row.database, row.table),
                                       createText(connection, row.database, row.table));
        const auto key = std::ranges::find(all, quotedName(row.name), &ForeignKey::name);
        if (key == all.end())
            throw SqlError(QStringLiteral("テーブル「%1」の外部キー「%2」の定義を読めません。")
                               .arg(row.table, row.name));
        keys.push_back(*key);
    }
    return keys;
}

std::vector<ForeignKey> missingForeignKeys(const std::vector<ForeignKey> &present,
                                           const std::vector<ForeignKey> &restored)
{
    std::vector<ForeignKey> missing;
    for (ForeignKey key : present) {
        if (std::ranges::find(restored, key.clause, &ForeignKey::clause) != restored.end())
            continue;
        if (std::ranges::find(restored, key.name, &ForeignKey::name) != restored.end())
            key.name.clear();
        missing.push_back(key);
    }
    return missing;
}
