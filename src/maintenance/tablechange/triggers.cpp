#include "maintenance/tablechange/triggers.h"

#include "core/sql/connection.h"
#include "core/sql/statements.h"

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

bool isAscii(const QString &text)
{
    return std::ranges::all_of(text, [](QChar c) { return c.unicode() < 0x80; });
}

std::vector<SessionVariable> sessionOf(const Trigger &trigger, const QString &table)
{
    std::vector<SessionVariable> session{{QStringLiteral("sql_mode"), quotedText(trigger.sqlMode)}};
    if (!trigger.characterSet.isEmpty() && keepsCharacterSet(trigger, table))
        session.push_back({QStringLiteral("character_set_client"), quotedText(trigger.characterSet)});
    if (!trigger.collation.isEmpty())
        session.push_back({QStringLiteral("collation_connection"), quotedText(trigger.collation)});
    return session;
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

QString createTriggerStatement(const Trigger &trigger, const QString &database, const QString &table)
{
    const bool isNamed = isAscii(database); // see keepsCharacterSet()
    return QStringLiteral("create ") + definerClause(trigger.definer) + QStringLiteral("trigger ") +
           (isNamed ? quotedName(database, trigger.name) : quotedName(trigger.name)) + u' ' + trigger.timing +
           u' ' + trigger.event + QStringLiteral(" on ") +
           (isNamed ? qualifiedName(database, table) : table) + QStringLiteral(" for each row ") +
           trigger.body;
}

bool keepsCharacterSet(const Trigger &trigger, const QString &table)
{
    return trigger.characterSet.startsWith(u"utf8") ||
           isAscii(trigger.name + trigger.definer + trigger.body + table);
}

QStringList triggerVariables()
{
    return {QStringLiteral("sql_mode"), QStringLiteral("character_set_client"),
            QStringLiteral("collation_connection")};
}

Step makeTrigger(const Trigger &trigger, const QString &database, const QString &table)
{
    Step step;
    step.statement = createTriggerStatement(trigger, database, table);
    step.with = sessionOf(trigger, table);
    step.isDone = isThere(trigger, database, true);
    step.lost = cannotBeMade(trigger);
    WayBack drop;
    drop.statement = QStringLiteral("drop trigger ") + quotedName(database, trigger.name);
    drop.when = step.isDone;
    step.back = {drop};
    return step;
}

WayBack makeTriggerAgain(const Trigger &trigger, const QString &database, const QString &table)
{
    WayBack back;
    back.statement = createTriggerStatement(trigger, database, table);
    back.with = sessionOf(trigger, table);
    back.when = isThere(trigger, database, false);
    back.lost = cannotBeMade(trigger);
    return back;
}
