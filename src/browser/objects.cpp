#include "browser/objects.h"

#include "core/command/definition.h"
#include "core/sql/names.h"
#include "core/sql/statements.h"

namespace {

QString statement(const char *start, const QString &database, const QString &table)
{
    return QLatin1String(start) + qualifiedName(database, table) + u';';
}

void readRoutinesOf(Session &session, const QString &statement, const QString &database, const QString &tag,
                    const TakeItem &take)
{
    try {
        RecordSet rows = session.connection().execute(statement);
        for (; rows.isOpen() && !rows.isEof(); rows.moveNext())
            if (rows.text(QStringLiteral("db")) == database)
                take({tag, rows.text(QStringLiteral("Name"))});
    } catch (const Failure &error) {
        if (error.isConnectionLost() || error.isInterrupted())
            throw;
    }
}

} // namespace

RecordSet readDatabases(Session &session)
{
    return session.connection().execute(QStringLiteral("show databases;"));
}

void readTables(Session &session, const QString &database, const TakeItem &take)
{
    requireOwnDatabase(database);
    RecordSet rows = session.connection().execute(QStringLiteral("show tables from `%1`;").arg(database));
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext()) {
        const QString name = rows.text(QStringLiteral("Tables_in_") + database);
        const QString tag = objectTag(session.connection(), database, name);
        if (!tag.isEmpty())
            take({tag, name});
        session.requireGoingOn();
    }
}

void readRoutines(Session &session, const QString &database, const TakeItem &take)
{
    // The two differ in their ends on purpose.
    readRoutinesOf(session, QStringLiteral("show procedure status ;"), database, QStringLiteral("[PROC]"),
                   take);
    readRoutinesOf(session, QStringLiteral("show function status"), database, QStringLiteral("[FUNC]"), take);
}

QString objectTag(Connection &connection, const QString &database, const QString &name)
{
    try {
        // The server would answer for another object, and every command after it would act on that one.
        requireOwnName(database, name);
        const QString kind = readDefinition(connection, showCreateTable(qualifiedName(database, name))).kind;
        if (kind.isEmpty())
            return {};
        return kind == u"Table" ? QStringLiteral("[TABLE]") : QStringLiteral("[VIEW]");
    } catch (const Failure &error) {
        // A lost or stopped connection says nothing about the object.
        if (error.isConnectionLost() || error.isInterrupted())
            throw;
        return QStringLiteral("[ERROR]");
    }
}

RecordSet readStatus(Session &session, const QString &database, const char *end)
{
    return session.connection().execute(QStringLiteral("show table status from `") + database + u'`' +
                                        QLatin1String(end));
}

RecordSet readColumns(Session &session, const QString &database, const QString &table)
{
    return session.connection().execute(statement("show full fields from ", database, table));
}

RecordSet readIndexes(Session &session, const QString &database, const QString &table)
{
    return session.connection().execute(statement("show index from ", database, table));
}

QString showTableStatement(const QString &database, const QString &table)
{
    return statement("show create table ", database, table);
}
