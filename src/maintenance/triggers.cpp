#include "maintenance/triggers.h"

#include "core/connection.h"
#include "core/statements.h"

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

// Older servers do not tell all of them.
QString optional(const RecordSet &rows, const char *name)
{
    const int field = rows.fieldIndex(QString::fromLatin1(name));
    return field < 0 || rows.isNull(field) ? QString() : rows.text(field);
}

QString cannotBeMade(const Trigger &trigger)
{
    return QStringLiteral("次のﾄﾘｶﾞｰを作り直せませんでした: ") + trigger.name;
}

Question isThere(const Trigger &trigger, const QString &database, bool wanted)
{
    return {QStringLiteral("select 1 from information_schema.TRIGGERS where TRIGGER_SCHEMA=%1 and "
                           "TRIGGER_NAME=%2")
                .arg(quotedText(database), quotedText(trigger.name)),
            wanted};
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
                            rows.text(QStringLiteral("Definer")), rows.text(QStringLiteral("sql_mode")),
                            optional(rows, "character_set_client"), optional(rows, "collation_connection")});
    }
    return triggers;
}

QString createTriggerStatement(const Trigger &trigger, const QString &database, const QString &qualifiedTable)
{
    return QStringLiteral("create ") + definerClause(trigger.definer) + QStringLiteral("trigger ") +
           quotedName(database, trigger.name) + u' ' + trigger.timing + u' ' + trigger.event +
           QStringLiteral(" on ") + qualifiedTable + QStringLiteral(" for each row ") + trigger.body;
}

std::vector<SessionVariable> sessionOf(const Trigger &trigger, const QString &statement)
{
    std::vector<SessionVariable> session{{QStringLiteral("sql_mode"), quotedText(trigger.sqlMode)}};
    // The statement is sent in UTF-8, whatever the server is told.
    const bool isAscii = std::ranges::all_of(statement, [](QChar c) { return c.unicode() < 0x80; });
    if (!trigger.characterSet.isEmpty() && (isAscii || trigger.characterSet.startsWith(u"utf8")))
        session.push_back({QStringLiteral("character_set_client"), quotedText(trigger.characterSet)});
    if (!trigger.collation.isEmpty())
        session.push_back({QStringLiteral("collation_connection"), quotedText(trigger.collation)});
    return session;
}

QStringList triggerVariables()
{
    return {QStringLiteral("sql_mode"), QStringLiteral("character_set_client"),
            QStringLiteral("collation_connection")};
}

Step makeTrigger(const Trigger &trigger, const QString &database, const QString &qualifiedTable)
{
    Step step;
    step.statement = createTriggerStatement(trigger, database, qualifiedTable);
    step.with = sessionOf(trigger, step.statement);
    step.isDone = isThere(trigger, database, true);
    step.lost = cannotBeMade(trigger);
    WayBack drop;
    drop.statement = QStringLiteral("drop trigger ") + quotedName(database, trigger.name);
    drop.when = step.isDone;
    step.back = {drop};
    return step;
}

WayBack makeTriggerAgain(const Trigger &trigger, const QString &database, const QString &qualifiedTable)
{
    WayBack back;
    back.statement = createTriggerStatement(trigger, database, qualifiedTable);
    back.with = sessionOf(trigger, back.statement);
    back.when = isThere(trigger, database, false);
    back.lost = cannotBeMade(trigger);
    return back;
}
