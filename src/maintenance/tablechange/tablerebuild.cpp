#include "maintenance/tablechange/tablerebuild.h"

#include "core/command/definition.h"
#include "core/command/showntext.h"
#include "core/sql/names.h"
#include "maintenance/tablechange/tablechangechecks.h"
#include "maintenance/tablechange/viewchange.h"

#include <algorithm>
#include <iterator>

namespace {

FieldRec fieldRecord(const RecordSet &rows)
{
    FieldRec record;
    for (int i = 0; i < rows.fieldCount(); ++i) {
        const QString &name = rows.fieldName(i);
        const QString value = rows.isNull(i) ? QString() : rows.text(i);
        if (name == u"Field")
            record.Field = value;
        else if (name == u"Type")
            record.Type = value;
        else if (name == u"Nul") // deliberate: the server's column is "Null", so the member stays empty
            record.Null = value;
        else if (name == u"Key")
            record.Key = value;
        else if (name == u"Default")
            record.Default = value;
        else if (name == u"Extra")
            record.Extra = value;
        else if (name == u"Privileges")
            record.Privileges = value;
    }
    return record;
}

std::vector<FieldRec> readFields(Session &session, const QString &table)
{
    RecordSet &rows = session.gRs;
    rows = session.connection().execute(QStringLiteral("show full fields from ") + table + u';');
    std::vector<FieldRec> fields(1);
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext())
        fields.push_back(fieldRecord(rows));
    rows.close();
    return fields;
}

const QString keyDemand = QStringLiteral("sql_require_primary_key");
const QString ownKeys = QStringLiteral("sql_generate_invisible_primary_key");

} // namespace

bool TableRebuild::isKeyDemanded() const
{
    return m_log.variables().before(keyDemand) == u"1";
}

void TableRebuild::openLog()
{
    const ServerInfo server = connection().server();
    QStringList names = triggerVariables() << QStringLiteral("foreign_key_checks");
    constexpr int firstWithSwitch = 100201, firstWithKeyRule = 80013, firstWithOwnKeys = 80030;
    const bool hasSwitch = server.isMariaDb && server.number >= firstWithSwitch;
    if (hasSwitch)
        names << QStringLiteral("check_constraint_checks");
    if (!server.isMariaDb && server.number >= firstWithKeyRule)
        names << keyDemand;
    if (!server.isMariaDb && server.number >= firstWithOwnKeys)
        names << ownKeys;
    m_log.variables().read(connection(), names);
    // A foreign key that names no database means it (MySQL 5.6).
    m_log.variables().use(connection(), m_change.database);

    // A 0 in a counting column stays 0. SHOW CREATE TABLE writes two backslashes for one in any mode.
    const QString mode = modeForRows(changedMode(m_log.variables().before(QStringLiteral("sql_mode")),
                                                 {QStringLiteral("NO_BACKSLASH_ESCAPES")},
                                                 {QStringLiteral("NO_AUTO_VALUE_ON_ZERO")}));
    std::vector<SessionVariable> wanted{{QStringLiteral("sql_mode"), quotedText(mode)},
                                        {QStringLiteral("foreign_key_checks"), QStringLiteral("0")}};
    if (hasSwitch)
        wanted.push_back({QStringLiteral("check_constraint_checks"), QStringLiteral("0")});
    if (isKeyDemanded())
        wanted.push_back({keyDemand, QStringLiteral("0")});
    m_log.open(wanted);
}

void TableRebuild::readTable()
{
    m_session.gOldFields = readFields(m_session, m_change.oldTable());
    for (std::size_t i = 1; i < m_session.gOldFields.size(); ++i) {
        const FieldRec &field = m_session.gOldFields[i];
        m_change.columns.add(field.Field, field.Type, field.Extra);
    }
    m_change.triggers = readTriggers(connection(), m_change.database, m_change.oldName);
}

std::optional<Outcome> TableRebuild::prepare()
{
    Dialogue &dialogue = m_context.dialogue;
    openLog();
    const TableKind kind = tableKind(connection(), m_change.database, m_change.oldName);
    if (kind.engine.isEmpty() || isReplicatedInClusters(kind.engine))
        m_change.children = incomingForeignKeys(connection(), m_change.database, m_change.oldName);
    for (const QString &refusal : {refusalOfTable(m_change, kind), refusalOfChildren(m_change)}) {
        if (refusal.isEmpty())
            continue;
        dialogue.refuse(refusal);
        return Outcome();
    }
    if (!m_change.isOwnText) {
        SqlMode mode = readingMode(m_log.variables().before(QStringLiteral("sql_mode")));
        mode.hasPlainBackslashes = false;
        const QStringList lost = lostInShownText(connection(), m_change.serverText,
                                                 withLf(m_change.shownText), m_change.editedText, mode);
        if (auto ending = askAboutLosses(m_context, lost, Reload::OwnTableText))
            return ending;
    }
    readTable();
    requireOwnColumns(m_change, m_session.gOldFields);
    requireValidText(connection(), m_change);
    m_orphans = orphansOf(connection(), m_change);
    m_change.copy = copyName(m_change.database, m_change.oldName, QDateTime::currentDateTime());
    if (!mayChangeInCluster(dialogue, m_change, kind, m_log.place()))
        return Outcome();
    return {};
}

// The copy has no key, and the server is to give it one only where it takes no rows otherwise.
void TableRebuild::setForCopy(Step &step) const
{
    const QString wanted = m_log.place().cluster.isGroup() ? QStringLiteral("1") : QStringLiteral("0");
    const QString before = m_log.variables().before(ownKeys);
    if (!before.isNull() && before != wanted)
        step.with.push_back({ownKeys, wanted});
}

// Tries the triggers on the copy, and asks where one could not be made again.
bool TableRebuild::mayLoseTriggers()
{
    QStringList lost;
    for (Trigger trial : m_change.triggers) {
        const QString name = trial.name;
        if (!keepsCharacterSet(trial, m_change.newName))
            lost << name + QStringLiteral(": 文字セット ") + trial.characterSet;
        trial.name = name.left(50) + QStringLiteral("_zolt");
        const Step step = makeTrigger(trial, m_change.database, m_change.bareCopy());
        try {
            m_log.send(step.statement, step.with);
            m_log.send(step.back[0].statement);
        } catch (const Failure &error) {
            if (doubtAfter(m_session, error) != Doubt::None)
                throw;
            lost << name + QStringLiteral(": ") + error.description();
        }
    }
    return lost.isEmpty() ||
           m_context.dialogue.warn(QStringLiteral("次のﾄﾘｶﾞｰは元どおりに作り直せません。\r\n") +
                                   lost.join(QStringLiteral("\r\n")) + QStringLiteral("\r\n続けますか？"));
}

// Rows and a sum over them; empty where the server has no sum of such values.
QString TableRebuild::checksum(const QString &table)
{
    try {
        RecordSet rows = connection().execute(checksumStatement(table, m_change.columns));
        return rows.isOpen() && !rows.isEof() ? rows.text(0) + u' ' + rows.text(1) : QStringLiteral("-");
    } catch (const Failure &error) {
        if (doubtAfter(m_session, error) != Doubt::None)
            throw;
        return {};
    }
}

// Whether the change may go on. Where the account may not keep others from writing, the user decides.
bool TableRebuild::keepOthersOff(std::vector<Step> steps)
{
    // The last ones: with a binary log triggers want more rights; old servers have one trigger per event.
    static constexpr int noRight[] = {1044, 1142, 1227, 1419, 1235};
    try {
        for (Step &step : steps)
            m_log.execute(std::move(step));
        m_change.mayLock = !isWrittenElsewhere();
        return true;
    } catch (const Failure &error) {
        if (std::ranges::find(noRight, error.number()) == std::end(noRight))
            throw;
        return m_context.dialogue.warn(
            QStringLiteral("ﾃｰﾌﾞﾙ %1 をﾛｯｸする権限がありません。変更中に他の接続が書き込んだ行は失われる"
                           "ことがあります。\r\n%2\r\n続けますか？")
                .arg(m_change.oldTable(), error.description()));
    }
}

// Each statement first waits for what the other nodes have committed, and those that only read rows take no
// locks: another node's row would end them (1213).
void TableRebuild::setForCluster()
{
    const ServerInfo server = connection().server();
    const bool isRenamed = server.number >= (server.isMariaDb ? 110101 : 50720);
    const std::vector<SessionVariable> wanted{
        m_log.place().cluster.isGalera
            ? SessionVariable{QStringLiteral("wsrep_sync_wait"), QStringLiteral("15")}
            : SessionVariable{QStringLiteral("group_replication_consistency"),
                              QStringLiteral("'BEFORE_AND_AFTER'")},
        {isRenamed ? QStringLiteral("transaction_isolation") : QStringLiteral("tx_isolation"),
         QStringLiteral("'READ-COMMITTED'")}};
    m_log.variables().read(connection(), {wanted[0].name, wanted[1].name});
    m_log.variables().set(connection(), wanted);
}

// Keeps others from writing, and brings what they wrote since the copy was made into it.
bool TableRebuild::freeze()
{
    // Under Galera another node's row would wait for a lock and the drop for that row, both for ever.
    if (!keepOthersOff(isWrittenElsewhere() ? barSteps(m_change)
                                            : std::vector{lockStep(m_change, m_change.oldTable())}))
        return false;
    takeCounter();
    const QString rows = checksum(m_change.oldTable());
    if (!rows.isEmpty() && rows == checksum(m_change.copy))
        return true;
    for (const QString &statement : copyAgainStatements(m_change))
        connection().execute(statement);
    return true;
}

// Rows that others added since the table was shown have numbers that the shown counter would give again.
void TableRebuild::takeCounter()
{
    const QString now = readDefinition(connection(), showCreateTable(m_change.oldTable())).text;
    if (now.isEmpty() || m_change.serverText.isEmpty())
        return;
    // The server names the database only where it is not the default one.
    const QString prefix = quotedName(m_change.database) + u'.';
    const QString before =
        shownCreateText(QStringLiteral("Table"), QString(m_change.serverText).remove(prefix));
    if (!isAsShown(QString(now).remove(prefix), before))
        throw Failure(QStringLiteral("ﾃｰﾌﾞﾙの定義は表示した後に変更されています。"));
    m_change.editedText = withCounterOf(now, m_change.editedText, m_change.shownText);
    m_change.shownText = withCounterOf(now, m_change.shownText, m_change.shownText);
    m_change.serverText = now;
}

void TableRebuild::fill()
{
    m_session.gNewFields = readFields(m_session, m_change.newTable());
    const QString columns = commonColumns(m_session.gNewFields, m_session.gOldFields, m_change.editedText);
    if (columns.isEmpty())
        return;
    Step step = fillStep(m_change, columns);
    const QString checks = QStringLiteral("check_constraint_checks");
    if (!m_log.variables().before(checks).isNull() && hasNewCheck(m_change.editedText, m_change.serverText))
        step.with = {{checks, QStringLiteral("1")}};
    const Question hasAllRows = step.holds;
    m_log.execute(std::move(step));
    if (!isSo(connection(), hasAllRows))
        throw Failure(QStringLiteral("新しいﾃｰﾌﾞﾙの行数がｺﾋﾟｰより少なくなりました。"));
}

void TableRebuild::verify()
{
    requireNoOrphansOfNewKeys(connection(), m_change);
    const QList<qint64> orphans = orphansOf(connection(), m_change);
    for (qsizetype i = 0; i < orphans.size(); ++i) {
        if (orphans[i] > m_orphans[i])
            throw Failure(QStringLiteral("ﾃｰﾌﾞﾙ %1 の行が参照する値が失われます。")
                              .arg(m_change.children[static_cast<std::size_t>(i)].table));
    }
}

bool TableRebuild::run()
{
    Dialogue &dialogue = m_context.dialogue;
    if (m_log.place().cluster.isMember())
        setForCluster();
    Step copy = copyStep(m_change);
    setForCopy(copy);
    m_log.execute(std::move(copy));
    if (!mayLoseTriggers() || !freeze())
        return false;
    dialogue.progress(5, 1);
    m_log.execute(dropStep(m_change));
    m_log.release();
    dialogue.progress(5, 2);
    Step create = createStep(m_change);
    // So that the server itself refuses a definition that others' foreign keys, or its own, do not fit.
    if (!m_change.children.empty() || m_change.editedText.contains(u"references", Qt::CaseInsensitive))
        create.with = {{QStringLiteral("foreign_key_checks"), QStringLiteral("1")}};
    if (isKeyDemanded())
        create.with.push_back({keyDemand, QStringLiteral("1")});
    m_log.execute(std::move(create));
    dialogue.progress(5, 3);
    // A number that somebody else takes now would stand in the way of a row.
    if (m_change.mayLock)
        m_log.execute(lockStep(m_change, m_change.newTable()));
    fill();
    m_log.release();
    verify();
    for (const Trigger &trigger : m_change.triggers)
        m_log.execute(makeTrigger(trigger, m_change.database, m_change.newName));
    dialogue.progress(5, 4);
    m_log.execute(dropCopyStep(m_change));
    dialogue.progress(5, 5);
    return true;
}

UndoReport TableRebuild::undo(const Failure &error)
{
    const QString left = m_change.isOursToMakeAgain ? QString() : m_log.whenStuck();
    UndoReport report = m_log.undo(error);
    if (report.message.isEmpty())
        report.message = left;
    return report;
}
