#include "maintenance/triggers.h"

#include "core/lostanswer.h"
#include "core/statements.h"
#include "maintenance/tablechangesettings.h"

#include <algorithm>

namespace {

QString definerClause(const QString &definer)
{
    const qsizetype at = definer.lastIndexOf(u'@');
    if (at < 0)
        return definer.isEmpty() ? QString() : QStringLiteral("definer=") + quotedName(definer) + u' ';
    return QStringLiteral("definer=") + quotedName(definer.left(at)) + u'@' +
           quotedName(definer.mid(at + 1)) + u' ';
}

// Triggers that could not be made again.
struct LostTriggers {
    QStringList names;
    QStringList statements; // each with the server's words before it
};

void add(LostTriggers &lost, const Trigger &trigger, const QString &statement, const SqlError &error)
{
    lost.names << trigger.name;
    lost.statements << error.description() + u'\n' + statement;
}

// Refusals go to `lost`. Throws SqlError only when an answer was lost.
void makeAll(Session &session, const std::vector<Trigger> &triggers, const QString &qualifiedTable,
             LostTriggers &lost)
{
    if (triggers.empty())
        return;
    SessionSettings settings(session.connection());
    for (const Trigger &trigger : triggers) {
        const QString statement = createTriggerStatement(trigger, session.gDbName, qualifiedTable);
        try {
            settings.setMode(trigger.sqlMode);
            session.connection().execute(statement);
        } catch (const SqlError &error) {
            if (doubtAfter(session, error) != Doubt::None)
                throw;
            add(lost, trigger, statement, error);
        }
    }
}

} // namespace

std::vector<Trigger> readTriggers(Connection &connection, const QString &database, const QString &table)
{
    std::vector<Trigger> triggers;
    constexpr int firstWithTriggers = 50010;
    if (connection.server().number < firstWithTriggers)
        return triggers;
    // All of the database: "like" would take "_" and "%" in the name for wildcards.
    RecordSet rows =
        connection.execute(QStringLiteral("show triggers from `") + database + QStringLiteral("`;"));
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext()) {
        if (rows.text(QStringLiteral("Table")) != table)
            continue;
        triggers.push_back({rows.text(QStringLiteral("Trigger")), rows.text(QStringLiteral("Event")),
                            rows.text(QStringLiteral("Timing")), rows.text(QStringLiteral("Statement")),
                            rows.text(QStringLiteral("Definer")), rows.text(QStringLiteral("sql_mode"))});
    }
    return triggers;
}

std::vector<Trigger> missingTriggers(Connection &connection, const QString &database, const QString &table,
                                     std::vector<Trigger> triggers)
{
    for (const Trigger &present : readTriggers(connection, database, table))
        std::erase_if(triggers, [&](const Trigger &trigger) { return trigger.name == present.name; });
    return triggers;
}

QString createTriggerStatement(const Trigger &trigger, const QString &database, const QString &qualifiedTable)
{
    return QStringLiteral("create ") + definerClause(trigger.definer) + QStringLiteral("trigger ") +
           quotedName(database, trigger.name) + u' ' + trigger.timing + u' ' + trigger.event +
           QStringLiteral(" on ") + qualifiedTable + QStringLiteral(" for each row ") + trigger.body;
}

RecoveryReport remakeTriggers(Session &session, const std::vector<Trigger> &triggers, const QString &table,
                              const QString &qualifiedTable)
{
    LostTriggers lost;
    std::vector<Trigger> waiting = triggers;
    try {
        recover(
            session, Doubt::None, [&] { makeAll(session, waiting, qualifiedTable, lost); },
            [&] {
                waiting = missingTriggers(session.connection(), session.gDbName, table, triggers);
                lost = {};
                makeAll(session, waiting, qualifiedTable, lost);
            });
    } catch (const SqlError &error) {
        lost = {};
        for (const Trigger &trigger : waiting)
            add(lost, trigger, createTriggerStatement(trigger, session.gDbName, qualifiedTable), error);
    }
    if (lost.names.isEmpty())
        return {};
    return {QStringLiteral("次のﾄﾘｶﾞｰを作り直せませんでした: ") + lost.names.join(QStringLiteral(", ")),
            lost.statements.join(u'\n')};
}
