#include "maintenance/tablerestore.h"

#include "maintenance/exactsession.h"
#include "maintenance/rowfile.h"

#include <QDateTime>

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

QString dropObject(bool isView, const QString &quoted)
{
    return QStringLiteral("DROP %1 %2")
        .arg(isView ? QStringLiteral("VIEW") : QStringLiteral("TABLE"), quoted);
}

} // namespace

TableRestore::TableRestore(Connection &connection, QString database, Definition definition)
    : m_connection(connection)
    , m_database(std::move(database))
    , m_definition(std::move(definition))
    , m_table(quotedName(m_database, m_definition.name))
    , m_aside(asideName(m_definition.name))
{
}

void TableRestore::run()
{
    try {
        readOld();
        takeOff();
        setAside();
        create();
        load();
        putOn();
        dropOld();
    } catch (const SqlError &error) {
        throw SqlError(error.description() + crLf + recover(error), error.number(), error.state());
    }
}

void TableRestore::readOld()
{
    m_oldType = objectType(m_connection, m_database, m_definition.name);
    if (!hasOld() || m_oldType == u"VIEW")
        return;
    m_triggers = readTriggers(m_connection, m_database, m_definition.name);
    m_ownKeys = foreignKeysIn(m_table, createText(m_connection, m_database, m_definition.name));
    m_incomingKeys = incomingForeignKeys(m_connection, m_database, m_definition.name);
}

// Names of triggers and foreign keys are taken as long as the old table holds them; a foreign key of another
// table would follow the renamed one.
void TableRestore::takeOff()
{
    m_isTakenOff = true;
    for (const Trigger &trigger : m_triggers)
        step({dropTrigger(trigger)}, m_undoOld, createTrigger(trigger));
    for (const ForeignKey &key : m_incomingKeys)
        step({key.dropStatement()}, m_undoOld, {key.addStatement()});
    for (const ForeignKey &key : m_ownKeys)
        step({key.dropStatement()}, m_undoOld, {key.addStatement()});
}

void TableRestore::setAside()
{
    if (!hasOld())
        return;
    m_place = Place::OldNameOrAside;
    send({QStringLiteral("RENAME TABLE %1 TO %2").arg(m_table, quotedName(m_database, m_aside))});
    m_place = Place::Aside;
}

void TableRestore::create()
{
    send({m_definition.statement});
    m_isCreated = true;
}

void TableRestore::load()
{
    if (m_definition.isView)
        return;
    // Tables whose rows lie elsewhere (MERGE, FEDERATED) are born with them and would get them twice.
    RecordSet rows = m_connection.execute(QStringLiteral("SELECT 1 FROM %1 LIMIT 1").arg(m_table));
    if (!rows.isEof())
        throw SqlError(QStringLiteral("テーブル「%1」の行は別の場所にあるため、復元できません。")
                           .arg(m_definition.name));
    rows.close();
    const auto columns = storedColumns(m_connection, m_database, m_definition.name);
    send({readRowsStatement(m_table, columns, m_definition.rowsPath)});
}

void TableRestore::putOn()
{
    const auto restoredKeys = foreignKeysIn(m_table, m_definition.statement);
    for (const ForeignKey &key : missingForeignKeys(m_ownKeys, restoredKeys))
        send({key.addStatement()});
    for (const ForeignKey &key : m_incomingKeys)
        step({key.addStatement()}, m_undoNew, {key.dropStatement()});
    for (const Trigger &trigger : m_triggers)
        step(createTrigger(trigger), m_undoNew, {dropTrigger(trigger)});
    m_isTakenOff = false;
}

void TableRestore::dropOld()
{
    if (!hasOld())
        return;
    m_place = Place::AsideUntilDropped;
    send({dropObject(m_oldType == u"VIEW", quotedName(m_database, m_aside))});
}

QString TableRestore::recover(const SqlError &error)
{
    if (error.isConnectionLost() || !m_connection.isOpen())
        return QStringLiteral("接続が切れたため、「%1」の復元を途中で止めました。").arg(m_definition.name) +
               whereRowsAre() + takenOffStatements();
    try {
        putBack();
    } catch (const SqlError &second) {
        return QStringLiteral("「%1」を復元前の状態に戻せませんでした。").arg(m_definition.name) + crLf +
               second.description() + whereRowsAre() + takenOffStatements();
    }
    return QStringLiteral("「%1」は復元前の状態に戻しました。").arg(m_definition.name);
}

// Asks the server what exists before it drops anything: the new table goes only while the old one is there.
void TableRestore::putBack()
{
    m_isTakenOff = m_isTakenOff || !m_undoNew.empty();
    if (!m_triggers.empty())
        send({setMode(ExactSession::sqlMode())});
    const bool isAside =
        m_place != Place::OldName && !objectType(m_connection, m_database, m_aside).isEmpty();
    if (!isAside && (m_place == Place::Aside || m_place == Place::AsideUntilDropped))
        throw SqlError(QStringLiteral("「%1」がありません。").arg(m_aside));
    undo(m_undoNew);
    if (m_isCreated)
        send({dropObject(m_definition.isView, m_table)});
    if (isAside) {
        m_place = Place::OldNameOrAside;
        send({QStringLiteral("RENAME TABLE %1 TO %2").arg(quotedName(m_database, m_aside), m_table)});
    }
    m_place = Place::OldName;
    undo(m_undoOld);
}

QString TableRestore::whereRowsAre() const
{
    const QString &name = m_definition.name;
    if (!hasOld())
        return crLf +
               QStringLiteral("元のテーブルはありませんでした。「%1」は復元の途中かもしれません。").arg(name);
    switch (m_place) {
    case Place::OldName:
        return crLf + QStringLiteral("元の行は「%1」にあります。").arg(name);
    case Place::OldNameOrAside:
        return crLf + QStringLiteral("元の行は「%1」にあります。それが無ければ「%2」にあります。")
                          .arg(m_aside, name);
    case Place::Aside:
        return crLf + QStringLiteral("元の行は「%1」にあります。「%2」は復元の途中です。").arg(m_aside, name);
    case Place::AsideUntilDropped:
        break;
    }
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
    if (!m_isTakenOff || statements.isEmpty())
        return {};
    return crLf + QStringLiteral("外部キーとトリガーが無ければ、次の文で作り直して下さい。") + crLf +
           statements.join(u';' + crLf) + u';';
}

void TableRestore::send(const QStringList &statements)
{
    for (const QString &statement : statements)
        m_connection.execute(statement);
}

void TableRestore::step(const QStringList &statements, std::vector<QStringList> &undoList,
                        const QStringList &undoStatements)
{
    send(statements);
    undoList.push_back(undoStatements);
}

// Last first. What is undone leaves the list.
void TableRestore::undo(std::vector<QStringList> &undoList)
{
    for (; !undoList.empty(); undoList.pop_back())
        send(undoList.back());
}

QStringList TableRestore::createTrigger(const Trigger &trigger) const
{
    return {setMode(trigger.sqlMode), createTriggerStatement(trigger, m_database, m_table),
            setMode(ExactSession::sqlMode())};
}

QString TableRestore::dropTrigger(const Trigger &trigger) const
{
    return QStringLiteral("DROP TRIGGER ") + quotedName(m_database, trigger.name);
}
