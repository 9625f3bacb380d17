#include "maintenance/tablerecovery.h"

#include "maintenance/tablechangesettings.h"
#include "maintenance/tablerecoverytext.h"

namespace {

class TableRecovery {
public:
    TableRecovery(Session &session, const TableChange &change, Doubt doubt)
        : m_session(session)
        , m_change(change)
        , m_doubt(doubt)
        , m_rows(rowsAt(change.stage, doubt != Doubt::None))
    {
    }

    RecoveryReport run()
    {
        try {
            // Before the copy has a name nothing was done.
            recover(
                m_session, m_change.copy.isEmpty() ? Doubt::None : m_doubt, [this] { undo(m_change.stage); },
                [this] { undo(stageFound()); });
            if (m_rows == Rows::InNew)
                tell(changeIsDone(m_change));
        } catch (const SqlError &error) {
            tell(error.description());
            tellWhereRowsAre();
        }
        makeTriggers();
        return {m_messages.join(u'\n'), m_details.join(u'\n')};
    }

    // For an object that is not ours to make again.
    RecoveryReport leave()
    {
        if (m_rows != Rows::Untouched)
            tellWhereRowsAre();
        return {m_messages.join(u'\n'), m_details.join(u'\n')};
    }

private:
    void execute(const QString &statement) { m_session.connection().execute(statement); }
    void tell(const QString &text)
    {
        if (!m_messages.contains(text))
            m_messages << text;
    }
    void tellWhereRowsAre()
    {
        tell(whereRowsAre(m_change, m_rows, m_isCopyGone));
        if (isOldMissing(m_rows))
            m_details << oldDefinition(m_change);
    }
    bool isThere(const QString &table) { return exists(m_session.connection(), showCreateTable(table)); }

    QString rowCount(const QString &table)
    {
        RecordSet rows = m_session.connection().execute(QStringLiteral("select count(*) from ") + table);
        return rows.isEof() ? QString() : rows.text(0);
    }
    bool hasAllRows()
    {
        const QString wanted = rowCount(m_change.copy);
        return rowCount(m_change.newTable()) == wanted;
    }

    TableStage stageFound();
    void undo(TableStage stage);
    void dropNewTable();
    void makeOldTable();
    void fillOldTable();
    void dropCopy();
    void makeTriggers();

    Session &m_session;
    const TableChange &m_change;
    const Doubt m_doubt;
    Rows m_rows;
    bool m_isFound = false;
    bool m_isCopyGone = false;
    bool m_isOldMadeAgain = false;
    QStringList m_messages, m_details;
};

// The stage that the server's tables stand for, whatever answers were lost.
TableStage TableRecovery::stageFound()
{
    m_isFound = true;
    const bool hasOld = isThere(m_change.oldTable());
    const bool hasCopy = isThere(m_change.copy);
    m_isCopyGone = !hasCopy;
    if (m_isOldMadeAgain && hasOld && !hasCopy)
        return TableStage::Dropping;
    if (m_isOldMadeAgain)
        m_rows = Rows::InCopy; // without autocommit they went out of the old table again
    m_isOldMadeAgain = false;
    switch (m_change.stage) {
    case TableStage::Nothing:
    case TableStage::Copying:
        // Whether the copy is complete nobody knows, but the table still has its rows.
        if (hasCopy)
            tell(copyIsLeft(m_change));
        return TableStage::Copying;
    case TableStage::Dropping:
        m_rows = hasOld ? Rows::InOld : Rows::InCopy;
        if (hasOld)
            return TableStage::Dropping;
        if (hasCopy)
            return TableStage::Creating;
        break;
    case TableStage::Creating:
        if (m_doubt != Doubt::None && hasCopy && !hasOld && isThere(m_change.newTable()))
            tell(newTableIsLeft(m_change));
        if (hasCopy)
            return hasOld ? TableStage::Filling : TableStage::Creating;
        break;
    case TableStage::Filling:
        if (hasCopy)
            return TableStage::Filling;
        break;
    case TableStage::DroppingCopy:
    case TableStage::Done:
        if (!isThere(m_change.newTable()))
            break;
        if (!hasCopy || hasAllRows())
            return TableStage::DroppingCopy;
        // A session with autocommit off took its rows back when it broke.
        m_rows = Rows::InCopy;
        return TableStage::Filling;
    }
    m_rows = hasCopy ? Rows::InCopy : Rows::Missing;
    throw SqlError(QStringLiteral("再接続後の確認で、あるはずのﾃｰﾌﾞﾙが見つかりませんでした。"));
}

void TableRecovery::undo(TableStage stage)
{
    switch (stage) {
    case TableStage::Nothing:
        // Nothing has a name yet: the statement is as empty as the copy's name and cannot do anything.
        try {
            execute(QStringLiteral("drop table ") + m_change.copy);
        } catch (const SqlError &) {
        }
        break;
    case TableStage::Copying:
        break;
    case TableStage::Dropping:
        dropCopy();
        break;
    case TableStage::Filling:
        dropNewTable();
        [[fallthrough]];
    case TableStage::Creating:
        makeOldTable();
        fillOldTable();
        m_rows = Rows::InOld;
        m_isOldMadeAgain = true;
        dropCopy();
        break;
    case TableStage::DroppingCopy:
    case TableStage::Done:
        dropCopy();
        break;
    }
}

void TableRecovery::dropNewTable()
{
    // The name that follows is not qualified: it must not hit a table of another database.
    execute(useStatement(m_change.database));
    try {
        execute(QStringLiteral("drop table ") + m_change.oldName);
    } catch (const SqlError &error) {
        constexpr int unknownTable = 1051;
        if (error.number() != unknownTable)
            throw;
        if (!m_isFound || isThere(m_change.newTable()))
            tell(newTableIsLeft(m_change)); // it bears another name
    }
}

void TableRecovery::makeOldTable()
{
    try {
        execute(qualifiedCreateText(m_change.shownText, m_change.database, m_change.oldName));
    } catch (const SqlError &error) {
        // The text that was shown has lost its backticks, and with them names like `order`.
        if (m_change.serverText.isEmpty() || doubtAfter(m_session, error) != Doubt::None)
            throw;
        execute(qualifiedCreateText(m_change.serverText, m_change.database, u'`' + m_change.oldName + u'`'));
    }
}

void TableRecovery::fillOldTable()
{
    copyRows(m_session.connection(), copyBackStatement(m_change.oldTable(), m_change.copy, m_change.columns),
             hasAutoIncrement(m_change.serverText));
}

void TableRecovery::dropCopy()
{
    if (m_isCopyGone)
        return;
    execute(QStringLiteral("drop table ") + m_change.copy);
    m_isCopyGone = true;
}

// The triggers went with the old table; they belong to the one that has the rows now.
void TableRecovery::makeTriggers()
{
    if (!m_isOldMadeAgain && m_rows != Rows::InNew)
        return;
    const RecoveryReport report =
        m_isOldMadeAgain
            ? remakeTriggers(m_session, m_change.triggers, m_change.oldName, m_change.oldTable())
            : remakeTriggers(m_session, m_change.triggers, m_change.bareNewName(), m_change.newTable());
    if (report.message.isEmpty())
        return;
    m_messages << report.message;
    m_details << report.details;
}

} // namespace

RecoveryReport recoverTable(Session &session, const TableChange &change, Doubt doubt)
{
    TableRecovery recovery(session, change, doubt);
    return change.kind == ObjectKind::Other ? recovery.leave() : recovery.run();
}
