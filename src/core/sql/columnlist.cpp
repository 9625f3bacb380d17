#include "core/sql/columnlist.h"

#include "core/sql/statements.h"

#include <QStringList>

namespace {

struct Columns {
    QStringList all;    // as SELECT names them
    QStringList loaded; // as LOAD DATA does
    bool hasInvisible = false;
};

Columns read(Connection &connection, const QString &database, const QString &table)
{
    Columns columns;
    const ServerInfo server = connection.server();
    if (server.number < (server.isMariaDb ? 100300 : 80023))
        return columns;
    RecordSet rows = connection.execute(
        QStringLiteral("select column_name, extra from information_schema.columns where table_schema = ") +
        quotedText(database) + QStringLiteral(" and table_name = ") + quotedText(table) +
        QStringLiteral(" order by ordinal_position"));
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext()) {
        const QString name = rows.text(0), extra = rows.text(1);
        const bool isInvisible = extra.contains(u"INVISIBLE");
        if (isInvisible && name == u"my_row_id")
            continue;
        columns.hasInvisible = columns.hasInvisible || isInvisible;
        columns.all << quotedName(name);
        columns.loaded << (extra.contains(u"VIRTUAL") || extra.contains(u"STORED")
                               ? QStringLiteral("@generated")
                               : quotedName(name));
    }
    return columns;
}

} // namespace

QString selectedColumns(Connection &connection, const QString &database, const QString &table)
{
    const Columns columns = read(connection, database, table);
    return columns.hasInvisible ? columns.all.join(u',') : QStringLiteral("*");
}

QString loadedColumns(Connection &connection, const QString &database, const QString &table)
{
    const Columns columns = read(connection, database, table);
    return columns.hasInvisible ? QStringLiteral(" (%1)").arg(columns.loaded.join(u',')) : QString();
}
