#include "maintenance/backup/tablerestore.h"

#include "core/command/tablekind.h"
#include "core/command/undolog.h"
#include "core/sql/statements.h"
#include "maintenance/backup/rowfile.h"
#include "maintenance/tablechange/foreignkeys.h"
#include "maintenance/tablechange/triggers.h"

#include <ranges>

namespace {

const QString crLf = QStringLiteral("\r\n");

// Names have at most 64 characters.
QString setAsideName(const QString &name)
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

class TableRestore {
public:
    TableRestore(Session &session, const QString &database, const Definition &definition)
        : m_session(session)
        , m_database(database)
        , m_definition(definition)
        , m_table(quotedName(database, definition.name))
        , m_setAsideName(setAsideName(definition.name))
        , m_setAsideTable(quotedName(database, m_setAsideName))
        , m_log(session, QStringLiteral("「%1」の復元").arg(definition.name))
    {
    }
    void run();

private:
    void readOld();
    void takeOff();
    void setAside();
    void create();
    void load();
    void putOn();
    void dropOld();
    QString undo(const Failure &error);

    Connection &connection() { return m_session.connection(); }
    bool hasOld() const { return !m_oldType.isEmpty(); }
    Question hasConstraint(const Constraint &constraint, bool wanted) const;
    void drop(const Constraint &constraint);
    void add(const Constraint &constraint);

    Session &m_session;
    const QString m_database;
    const Definition &m_definition;
    const QString m_table;        // quoted, with its database
    const QString m_setAsideName; // name of the old table while the new one is made
    const QString m_setAsideTable;

    QString m_oldType; // empty: there was nothing of that name
    std::vector<Trigger> m_triggers;
    std::vector<Constraint> m_ownKeys, m_incomingKeys, m_checks;
    UndoLog m_log;
};

void TableRestore::run()
{
    const QString engine = engineIn(m_definition.statement);
    if (keepsRowsElsewhere(engine) && !isMerge(engine))
        throw Failure(QStringLiteral("テーブル「%1」の行は別の場所にある(%2)ため、復元できません。")
                          .arg(m_definition.name, engine));
    try {
        m_log.variables().use(connection(), m_database);
        m_log.open(exactVariables(connection().server()));
        readOld();
        takeOff();
        setAside();
        create();
        load();
        putOn();
        dropOld();
    } catch (const Failure &error) {
        throw Failure(error.description() + crLf + undo(error), error.number(), error.state());
    }
    m_log.close();
}

void TableRestore::readOld()
{
    const QString &name = m_definition.name;
    m_log.variables().read(connection(),
                           {QStringLiteral("character_set_client"), QStringLiteral("collation_connection")});
    m_oldType = tableKind(connection(), m_database, name).type;
    if (!hasOld() || m_oldType == u"VIEW")
        return;
    m_triggers = readTriggers(connection(), m_database, name);
    const QString text = createText(connection(), m_database, name);
    m_ownKeys = foreignKeysIn(m_table, text);
    m_incomingKeys = incomingForeignKeys(connection(), m_database, name);
    // MySQL renames along with the table those that it has named itself.
    if (!connection().server().isMariaDb) {
        m_checks = checksIn(m_table, text);
        std::erase_if(m_checks, [&](const Constraint &check) {
            return check.name.startsWith(u'`' + name + QStringLiteral("_chk_"));
        });
    }
}

Question TableRestore::hasConstraint(const Constraint &constraint, bool wanted) const
{
    // Both are quoted with backticks, and compared with what is not.
    const auto plain = [](QString name) {
        return quotedText(name.mid(1, name.size() - 2).replace(QStringLiteral("``"), QStringLiteral("`")));
    };
    const qsizetype dot = constraint.table.indexOf(QStringLiteral("`.`")) + 1;
    return {QStringLiteral("SELECT 1 FROM information_schema.TABLE_CONSTRAINTS WHERE TABLE_SCHEMA=%1 AND "
                           "TABLE_NAME=%2 AND CONSTRAINT_NAME=%3")
                .arg(plain(constraint.table.left(dot)), plain(constraint.table.mid(dot + 1)),
                     plain(constraint.name)),
            wanted};
}

void TableRestore::drop(const Constraint &constraint)
{
    Step step;
    step.statement = constraint.dropStatement();
    step.isDone = hasConstraint(constraint, false);
    WayBack back;
    back.statement = constraint.addStatement();
    back.when = step.isDone;
    step.back = {back};
    m_log.execute(std::move(step));
}

void TableRestore::add(const Constraint &constraint)
{
    Step step;
    step.statement = constraint.addStatement();
    if (!constraint.name.isEmpty()) {
        step.isDone = hasConstraint(constraint, true);
        WayBack back;
        back.statement = constraint.dropStatement();
        back.when = step.isDone;
        step.back = {back};
    }
    m_log.execute(std::move(step));
}

// Names of triggers and constraints are taken as long as the old table holds them; a foreign key of another
// table would follow the renamed one.
void TableRestore::takeOff()
{
    // The last first: a trigger that comes back comes behind those that are there.
    for (const Trigger &trigger : std::views::reverse(m_triggers)) {
        Step step;
        step.statement = QStringLiteral("DROP TRIGGER ") + quotedName(m_database, trigger.name);
        WayBack back = makeTriggerAgain(trigger, m_database, quotedName(m_definition.name));
        back.lost.clear();
        step.isDone = back.when;
        step.back = {back};
        step.untilUndone = QStringLiteral("元の行は「%1」にあります。").arg(m_definition.name);
        m_log.execute(std::move(step));
    }
    for (const auto &constraints : {m_incomingKeys, m_ownKeys, m_checks}) {
        for (const Constraint &constraint : constraints)
            drop(constraint);
    }
}

void TableRestore::setAside()
{
    if (!hasOld())
        return;
    const QString &name = m_definition.name;
    Step step;
    step.statement = renameTable(m_table, m_setAsideTable);
    step.isDone = step.holds = isThere(showCreateTable(m_setAsideTable));
    step.untilUndone = QStringLiteral("元の行は「%1」にあります。").arg(m_setAsideName);
    step.inDoubt = QStringLiteral("元の行は「%1」にあります。それが無ければ「%2」にあります。")
                       .arg(m_setAsideName, name);
    WayBack back;
    back.statement = renameTable(m_setAsideTable, m_table);
    back.when = step.isDone;
    step.back = {back};
    m_log.execute(std::move(step));
}

void TableRestore::create()
{
    const QString &name = m_definition.name;
    Step step;
    step.statement = m_definition.statement;
    step.isDone = isThere(showCreateTable(m_table));
    step.untilUndone =
        hasOld()
            ? QStringLiteral("元の行は「%1」にあります。「%2」は復元の途中です。").arg(m_setAsideName, name)
            : QStringLiteral("元のテーブルはありませんでした。「%1」は復元の途中かもしれません。").arg(name);
    WayBack back;
    back.statement = dropObject(m_definition.isView, m_table);
    back.when = step.isDone;
    if (hasOld())
        back.needs = isThere(showCreateTable(m_setAsideTable));
    step.back = {back};
    m_log.execute(std::move(step));
}

void TableRestore::load()
{
    // The rows of a MERGE table are those of its parts.
    if (m_definition.isView || isMerge(engineIn(m_definition.statement)))
        return;
    const auto columns = storedColumns(connection(), m_database, m_definition.name);
    Step step;
    step.statement = readRowsStatement(m_table, columns, m_definition.rowsPath);
    m_log.execute(std::move(step));
}

void TableRestore::putOn()
{
    for (const Constraint &key :
         missingForeignKeys(m_ownKeys, foreignKeysIn(m_table, m_definition.statement)))
        add(key);
    for (const Constraint &key : m_incomingKeys)
        add(key);
    for (const Trigger &trigger : m_triggers) {
        Step step = makeTrigger(trigger, m_database, quotedName(m_definition.name));
        step.lost.clear();
        m_log.execute(std::move(step));
    }
}

void TableRestore::dropOld()
{
    if (!hasOld())
        return;
    Step step;
    step.statement = dropObject(m_oldType == u"VIEW", m_setAsideTable);
    step.isDone = isMissing(showCreateTable(m_setAsideTable));
    step.completes = true;
    step.inDoubt = QStringLiteral("「%2」は復元できています。元の行は「%1」が残っていればそこにあります。")
                       .arg(m_setAsideName, m_definition.name);
    m_log.execute(std::move(step));
}

QString TableRestore::undo(const Failure &error)
{
    const QString &name = m_definition.name;
    const bool isUntouched = m_log.isEmpty();
    const UndoReport report = m_log.undo(error);
    if (report.ending == UndoReport::Ending::Stuck)
        return QStringLiteral("「%1」を復元前の状態に戻せませんでした。").arg(name) + crLf + report.message +
               crLf + report.details;
    const QString ending = report.ending == UndoReport::Ending::Done
                               ? QStringLiteral("「%1」は復元できています。")
                           : isUntouched ? QStringLiteral("「%1」は変更されていません。")
                                         : QStringLiteral("「%1」は復元前の状態に戻しました。");
    return ending.arg(name) + report.message;
}

} // namespace

void restoreTable(Session &session, const QString &database, const Definition &definition)
{
    TableRestore(session, database, definition).run();
}
