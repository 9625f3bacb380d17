#include "maintenance/tablechange/foreignkeys.h"

#include "core/command/tablekind.h"
#include "core/sql/statements.h"

#include <QRegularExpression>

#include <algorithm>

namespace {

const QString quotedWord = QStringLiteral("`(?:[^`]|``)+`");

QStringList namesIn(const QString &list)
{
    static const QRegularExpression one(quotedWord);
    QStringList names;
    for (auto found = one.globalMatch(list); found.hasNext();)
        names << found.next().captured();
    return names;
}

// Captures the columns, the other table's database and name, and its columns.
QRegularExpressionMatch partsOf(const QString &clause)
{
    static const QRegularExpression parts(
        QStringLiteral("FOREIGN KEY \\(((?:%1|, ?)+)\\) REFERENCES (?:(%1)\\.)?(%1) \\(((?:%1|, ?)+)\\)")
            .arg(quotedWord));
    return parts.match(clause);
}

std::vector<Constraint> constraintsIn(const QString &quotedTable, const QString &createText,
                                      const QString &kind)
{
    const QRegularExpression line(QStringLiteral("^ *CONSTRAINT (%1) (%2 .*?),?\\r?$").arg(quotedWord, kind),
                                  QRegularExpression::MultilineOption);
    std::vector<Constraint> constraints;
    for (auto found = line.globalMatch(createText); found.hasNext();) {
        const QRegularExpressionMatch match = found.next();
        constraints.push_back({quotedTable, match.captured(1), match.captured(2)});
    }
    return constraints;
}

} // namespace

QStringList Constraint::referencedColumns() const
{
    return namesIn(partsOf(clause).captured(4));
}

QString Constraint::orphansStatement(const QString &database) const
{
    const QRegularExpressionMatch parts = partsOf(clause);
    const QStringList own = namesIn(parts.captured(1)), others = namesIn(parts.captured(4));
    const QString parent =
        (parts.captured(2).isEmpty() ? quotedName(database) : parts.captured(2)) + u'.' + parts.captured(3);
    QStringList filled, equal;
    for (qsizetype i = 0; i < own.size() && i < others.size(); ++i) {
        filled << QStringLiteral("c.%1 is not null").arg(own[i]);
        equal << QStringLiteral("p.%1=c.%2").arg(others[i], own[i]);
    }
    const QString both = QStringLiteral(" and ");
    return QStringLiteral("select count(*) from %1 c where %2 and not exists (select 1 from %3 p where %4)")
        .arg(table, filled.join(both), parent, equal.join(both));
}

QString Constraint::dropStatement() const
{
    const QString kind =
        clause.startsWith(u"CHECK") ? QStringLiteral("CHECK") : QStringLiteral("FOREIGN KEY");
    return QStringLiteral("ALTER TABLE %1 DROP %2 %3").arg(table, kind, name);
}

QString Constraint::addStatement() const
{
    const QString constraint = name.isEmpty() ? QString() : QStringLiteral("CONSTRAINT %1 ").arg(name);
    return QStringLiteral("ALTER TABLE ") + table + QStringLiteral(" ADD ") + constraint + clause;
}

std::vector<Constraint> foreignKeysIn(const QString &quotedTable, const QString &createText)
{
    return constraintsIn(quotedTable, createText, QStringLiteral("FOREIGN KEY"));
}

std::vector<Constraint> checksIn(const QString &quotedTable, const QString &createText)
{
    return constraintsIn(quotedTable, createText, QStringLiteral("CHECK"));
}

std::vector<Constraint> incomingForeignKeys(Connection &connection, const QString &database,
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
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext())
        found.push_back({rows.text(0), rows.text(1), rows.text(2)});
    rows.close();

    std::vector<Constraint> keys;
    for (const Row &row : found) {
        if (row.database == database && row.table == table)
            continue;
        const auto all = foreignKeysIn(quotedName(row.database, row.table),
                                       createText(connection, row.database, row.table));
        const auto key = std::ranges::find(all, quotedName(row.name), &Constraint::name);
        if (key == all.end())
            throw Failure(QStringLiteral("テーブル「%1」の外部キー「%2」の定義を読めません。")
                              .arg(row.table, row.name));
        keys.push_back(*key);
    }
    return keys;
}

std::vector<Constraint> missingForeignKeys(const std::vector<Constraint> &present,
                                           const std::vector<Constraint> &restored)
{
    std::vector<Constraint> missing;
    for (Constraint key : present) {
        if (std::ranges::find(restored, key.clause, &Constraint::clause) != restored.end())
            continue;
        if (std::ranges::find(restored, key.name, &Constraint::name) != restored.end())
            key.name.clear();
        missing.push_back(key);
    }
    return missing;
}
