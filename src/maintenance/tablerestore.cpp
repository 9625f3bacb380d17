#include "maintenance/tablerestore.h"

#include "core/statements.h"
#include "maintenance/exactsession.h"
#include "maintenance/rowfile.h"

#include <QDateTime>

#include <algorithm>
#include <ranges>

namespace {

const QString crLf = QStringLiteral("\r\n");

QString setMode(const QString &mode)
{
    return QStringLiteral("SET SESSION sql_mode=") + quotedText(mode);
}

// Names have at most 64 characters.
QString asideName(const QString &name)
{
    return name.left(40) + QDateTime::currentDateTime().toString(QStringLiteral("'_old_'yyMMddHHmmsszzz"));
}

QString renameTable(const QString &from, const QString &to)
{
    return QStringLiteral("RENAME TABLE %1 TO %2").arg(from, to);
}

QString dropObject(bool isView, const QString &quoted)
{
    return QStringLiteral("DROP %1 %2")
        .arg(isView ? QStringLiteral("VIEW") : QStringLiteral("TABLE"), quoted);
}

std::vector<ForeignKey> without(std::vector<ForeignKey> keys, const std::vector<ForeignKey> &present)
{
    for (const ForeignKey &other : present)
        std::erase_if(
            keys, [&](const ForeignKey &key) { return key.table == other.table && key.name == other.name; });
    return keys;
}

} // namespace

TableRestore::TableRestore(Session &session, QString database, Definition definition)
    : m_session(session)
    , m_database(std::move(database))
    , m_definition(std::move(definition))
    , m_table(quotedName(m_database, m_definition.name))
    , m_aside(asideName(m_definition.name))
    , m_asideTable(quotedName(m_database, m_aside))
{
}

void TableRestore::run()
{
    try {
        const ExactSession exact(m_session.connection(), m_database);
        readOld();
        takeOff();
        setAside();
        create();
        load();
        putOn();
        dropOld();
    } catch (const SqlError &error) {
        throw SqlError(error.description() + crLf + undo(error), error.number(), error.state());
    }
}

void TableRestore::readOld()
{
    Connection &connection = m_session.connection();
    m_oldType = objectType(connection, m_database, m_definition.name);
    if (!hasOld() || m_oldType == u"VIEW")
        return;
    m_triggers = readTriggers(connection, m_database, m_definition.name);
    m_ownKeys = foreignKeysIn(m_table, createText(connection, m_database, m_definition.name));
    m_incomingKeys = incomingForeignKeys(connection, m_database, m_definition.name);
}

// Names of triggers and foreign keys are taken as long as the old table holds them; a foreign key of another
// table would follow the renamed one.
void TableRestore::takeOff()
{
    m_stage = Stage::TakingOff;
    // The last first: a trigger that comes back comes behind those that are there.
    for (const Trigger &trigger : std::views::reverse(m_triggers))
        send(QStringLiteral("DROP TRIGGER ") + quotedName(m_database, trigger.name));
    for (const ForeignKey &key : m_incomingKeys)
        send(key.dropStatement());
    for (const ForeignKey &key : m_ownKeys)
        send(key.dropStatement());
}

void TableRestore::setAside()
{
    if (!hasOld())
        return;
    m_stage = Stage::SettingAside;
    send(renameTable(m_table, m_asideTable));
}

void TableRestore::create()
{
    m_stage = Stage::Making;
    send(m_definition.statement);
}

void TableRestore::load()
{
    if (m_definition.isView)
        return;
    // Tables whose rows lie elsewhere (MERGE, FEDERATED) are born with them and would get them twice.
    RecordSet rows = m_session.connection().execute(QStringLiteral("SELECT 1 FROM %1 LIMIT 1").arg(m_table));
    if (!rows.isEof())
        throw SqlError(QStringLiteral("テーブル「%1」の行は別の場所にあるため、復元できません。")
                           .arg(m_definition.name));
    rows.close();
    const auto columns = storedColumns(m_session.connection(), m_database, m_definition.name);
    send(readRowsStatement(m_table, columns, m_definition.rowsPath));
}

void TableRestore::putOn()
{
    for (const ForeignKey &key :
         missingForeignKeys(m_ownKeys, foreignKeysIn(m_table, m_definition.statement)))
        send(key.addStatement());
    for (const ForeignKey &key : m_incomingKeys)
        send(key.addStatement());
    for (const Trigger &trigger : m_triggers)
        createTrigger(trigger);
}

void TableRestore::dropOld()
{
    if (!hasOld())
        return;
    m_stage = Stage::DroppingOld;
    send(dropObject(m_oldType == u"VIEW", m_asideTable));
}

QString TableRestore::undo(const SqlError &error)
{
    const QString &name = m_definition.name;
    if (m_stage == Stage::Reading)
        return QStringLiteral("「%1」は変更されていません。").arg(name);
    constexpr int tableExists = 1050;
    if (m_stage == Stage::Making && error.number() == tableExists)
        m_stage = Stage::SettingAside; // somebody else's
    const auto back = [this] {
        const ExactSession exact(m_session.connection(), m_database);
        putBack();
    };
    try {
        recover(m_session, doubtAfter(m_session, error), back, back);
    } catch (const SqlError &second) {
        return QStringLiteral("「%1」を復元前の状態に戻せませんでした。").arg(name) + crLf +
               second.description() + whereRowsAre() + takenOffStatements();
    }
    return (m_stage == Stage::Done ? QStringLiteral("「%1」は復元できています。")
                                   : QStringLiteral("「%1」は復元前の状態に戻しました。"))
        .arg(name);
}

// Goes by what the server has: the new table is dropped only while the old one is there.
void TableRestore::putBack()
{
    const bool isAside = hasOld() && m_stage >= Stage::SettingAside && isThere(m_asideTable);
    if (m_stage == Stage::DroppingOld && !isAside && isThere(m_table)) {
        m_stage = Stage::Done;
        return;
    }
    if (m_stage >= Stage::Making) {
        if (hasOld() && !isAside)
            throw SqlError(QStringLiteral("「%1」がありません。").arg(m_aside));
        m_stage = Stage::Making;
        if (isThere(m_table))
            send(dropObject(m_definition.isView, m_table));
    }
    if (isAside) {
        m_stage = Stage::SettingAside;
        send(renameTable(m_asideTable, m_table));
    }
    if (!hasOld())
        return;
    m_stage = Stage::TakingOff;
    putBackOn();
}

void TableRestore::putBackOn()
{
    if (m_triggers.empty() && m_ownKeys.empty() && m_incomingKeys.empty())
        return;
    Connection &connection = m_session.connection();
    const QString &name = m_definition.name;
    const auto ownKeys = foreignKeysIn(m_table, createText(connection, m_database, name));
    for (const ForeignKey &key : without(m_ownKeys, ownKeys))
        send(key.addStatement());
    for (const ForeignKey &key : without(m_incomingKeys, incomingForeignKeys(connection, m_database, name)))
        send(key.addStatement());
    for (const Trigger &trigger : missingTriggers(connection, m_database, name, m_triggers))
        createTrigger(trigger);
}

QString TableRestore::whereRowsAre() const
{
    const QString &name = m_definition.name;
    if (!hasOld())
        return crLf +
               QStringLiteral("元のテーブルはありませんでした。「%1」は復元の途中かもしれません。").arg(name);
    if (m_stage == Stage::TakingOff)
        return crLf + QStringLiteral("元の行は「%1」にあります。").arg(name);
    if (m_stage == Stage::SettingAside)
        return crLf + QStringLiteral("元の行は「%1」にあります。それが無ければ「%2」にあります。")
                          .arg(m_aside, name);
    if (m_stage == Stage::Making)
        return crLf + QStringLiteral("元の行は「%1」にあります。「%2」は復元の途中です。").arg(m_aside, name);
    return crLf + QStringLiteral("「%2」は復元できています。元の行は「%1」が残っていればそこにあります。")
                      .arg(m_aside, name);
}

QString TableRestore::takenOffStatements() const
{
    QStringList statements;
    for (const ForeignKey &key : m_ownKeys)
        statements << key.addStatement();
    for (const ForeignKey &key : m_incomingKeys)
        statements << key.addStatement();
    for (const Trigger &trigger : m_triggers)
        statements << createTriggerStatement(trigger, m_database, m_table);
    if (m_stage >= Stage::DroppingOld || statements.isEmpty())
        return {};
    return crLf + QStringLiteral("外部キーとトリガーが無ければ、次の文で作り直して下さい。") + crLf +
           statements.join(u';' + crLf) + u';';
}

// Throws SqlError when that cannot be told. Waits for a statement that still works on the table.
bool TableRestore::isThere(const QString &quotedTable)
{
    return exists(m_session.connection(), showCreateTable(quotedTable));
}

void TableRestore::createTrigger(const Trigger &trigger)
{
    send(setMode(trigger.sqlMode));
    send(createTriggerStatement(trigger, m_database, m_table));
    send(setMode(ExactSession::sqlMode()));
}
