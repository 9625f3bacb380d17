#include "rows/rowsaver.h"

#include "core/sql/statements.h"
#include "rows/rowreading.h"
#include "rows/savingsession.h"

#include <algorithm>

namespace {

using Kind = RowChange::Kind;

bool changesFloat(const TableShape &table, const RowChange &change)
{
    return std::ranges::any_of(change.values, [&table](const auto &entry) {
        return table.columns[static_cast<std::size_t>(entry.first)].isSingleFloat;
    });
}

const QString savepoint = QStringLiteral("tarnwell_rows");

QString unknownWhetherSaved()
{
    return QStringLiteral("保存されたかどうか分かりません。つながってから、行を読み直して下さい。");
}

QString changedMeanwhile()
{
    return QStringLiteral("他の人が行を変えたか、削除しています。何も保存していません。");
}

} // namespace

RowSaver::RowSaver(Session &session, const TableShape &table, std::vector<RowChange> changes, Options options)
    : m_session(session)
    , m_table(table)
    , m_whole(withUnreadColumns(table))
    , m_changes(std::move(changes))
    , m_options(options)
{
}

SaveReport RowSaver::save(const Keep &keep)
{
    try {
        begin();
        if (m_table.isTransactional)
            saveAtOnce(keep);
        else
            saveRowByRow(keep);
    } catch (const Failure &error) {
        fail(error);
    }
    end();
    if (m_report.ending == SaveReport::Ending::Saved || !m_table.isTransactional)
        for (const auto &[index, values] : m_after)
            m_report.saved[index] = asRead(values);
    return m_report;
}

// Without the columns that the grid does not have.
std::vector<RowValue> RowSaver::asRead(const std::vector<RowValue> &whole) const
{
    return {whole.begin(),
            whole.begin() + static_cast<std::ptrdiff_t>(std::min(whole.size(), m_table.columns.size()))};
}

void RowSaver::begin()
{
    Connection &connection = m_session.connection();
    m_report.isInUsersTransaction = isInTransactionOfUser(connection);
    if (m_report.isInUsersTransaction &&
        !m_options.joinsTransaction) // which the one that begins would commit
        throw Failure(QStringLiteral(
            "この接続では、確定していないトランザクションが続いています (または autocommit=0)。"
            "先に commit または rollback をして下さい。"));
    m_place = serverPlace(connection);
    setSavingVariables(connection, m_variables,
                       m_options.allowsZeroDates
                           ? QStringList{QStringLiteral("NO_ZERO_DATE"), QStringLiteral("NO_ZERO_IN_DATE")}
                           : QStringList());
}

void RowSaver::end()
{
    const Undoing undoing(m_session);
    try {
        m_variables.putBack(m_session.connection());
    } catch (const Failure &) {
        // The connection is gone, and its variables with it.
    }
}

qint64 RowSaver::execute(const QString &statement)
{
    Connection &connection = m_session.connection();
    connection.executeText(statement.toUtf8());
    if (const qint64 touched = connection.effect().rowsTouched; touched >= 0)
        return touched;
    RecordSet rows = m_session.connection().execute(QStringLiteral("select row_count()"));
    return rows.text(0).toLongLong();
}

void RowSaver::saveAtOnce(const Keep &keep)
{
    m_session.connection().execute(m_report.isInUsersTransaction ? QStringLiteral("savepoint ") + savepoint
                                                                 : QStringLiteral("start transaction"));
    m_hasBegun = true;
    readExactly();
    for (std::size_t index = 0; index < m_changes.size(); ++index)
        perform(index);
    m_current.reset();
    readBack();
    if (!m_report.isInUsersTransaction)
        keep(m_whole, inverseOf(m_whole, m_changes, m_exact, m_after));
    commit();
}

void RowSaver::saveRowByRow(const Keep &keep)
{
    readExactly();
    try {
        for (std::size_t index = 0; index < m_changes.size(); ++index) {
            perform(index);
            if (m_changes[index].kind == Kind::Deleted)
                m_after[index] = {};
            else if (!m_after.contains(index))
                readBackOne(index);
        }
    } catch (const Failure &) {
        if (!m_after.empty())
            keep(m_whole, inverseOf(m_whole, m_changes, m_exact, m_after));
        throw;
    }
    m_current.reset();
    keep(m_whole, inverseOf(m_whole, m_changes, m_exact, m_after));
    m_report.ending = SaveReport::Ending::Saved;
}

// What the way back needs and nobody has read yet: all columns of what is deleted, and the digits of a FLOAT
// that its text does not show.
void RowSaver::readExactly()
{
    std::vector<std::vector<RowValue>> rows;
    const auto isNeeded = [this](const RowChange &change) {
        return change.kind == Kind::Deleted ||
               (change.kind == Kind::Changed && changesFloat(m_table, change));
    };
    for (const RowChange &change : m_changes)
        if (isNeeded(change))
            rows.push_back(change.before);
    if (rows.empty())
        return;
    const QString lock = m_table.isTransactional ? QStringLiteral(" for update") : QString();
    const auto found = rowsByKey(m_session.connection(), m_whole, rows, lock, true);
    for (std::size_t index = 0; index < m_changes.size(); ++index)
        if (isNeeded(m_changes[index]))
            if (const auto row = found.find(keyBytes(m_table, m_changes[index].before)); row != found.end())
                m_exact[index] = row->second;
}

void RowSaver::perform(std::size_t index)
{
    m_current = index;
    const RowChange &change = m_changes[index];
    requireOneRow(index, execute(statementOf(m_table, change)));
    if (change.kind != Kind::Added)
        return;
    const auto given = [&change](int column) { return change.values.contains(column); };
    const auto generated = std::ranges::find_if(m_table.key, [&](int column) {
        return m_table.columns[static_cast<std::size_t>(column)].isAutoIncrement &&
               (!given(column) || !change.values.at(column));
    });
    if (generated == m_table.key.end())
        return;
    // Before another row gets the next number.
    const auto rows =
        selectRows(m_session.connection(), m_whole,
                   QStringLiteral(" where %1=last_insert_id()")
                       .arg(quotedName(m_table.columns[static_cast<std::size_t>(*generated)].name)));
    if (rows.size() == 1)
        m_after[index] = rows.front();
}

// 0 is also the answer to an UPDATE that leaves the row as it is, as "1.0" in place of "1": the client
// library counts changed rows, not found ones.
void RowSaver::requireOneRow(std::size_t index, qint64 affected)
{
    if (affected == 1)
        return;
    if (affected > 1)
        throw Failure(QStringLiteral("1 行のはずの文が %1 行に作用しました。").arg(affected));
    const RowChange &change = m_changes[index];
    if (change.kind == Kind::Changed && isOnServer(m_session.connection(), m_table, change.before))
        return;
    m_isInConflict = change.kind != Kind::Added;
    throw Failure(changedMeanwhile());
}

void RowSaver::readBack()
{
    std::vector<std::vector<RowValue>> rows;
    const auto keepsKey = [this](const RowChange &change) {
        return change.kind == Kind::Changed && std::ranges::none_of(m_table.key, [&change](int column) {
                   return change.values.contains(column);
               });
    };
    for (const RowChange &change : m_changes)
        if (keepsKey(change))
            rows.push_back(change.before);
    const auto found = rowsByKey(m_session.connection(), m_whole, rows, {});
    for (std::size_t index = 0; index < m_changes.size(); ++index) {
        const RowChange &change = m_changes[index];
        const auto row = keepsKey(change) ? found.find(keyBytes(m_table, change.before)) : found.end();
        if (change.kind == Kind::Deleted)
            m_after[index] = {};
        else if (row != found.end())
            m_after[index] = row->second;
        else if (!m_after.contains(index))
            readBackOne(index);
    }
}

void RowSaver::readBackOne(std::size_t index)
{
    const RowChange &change = m_changes[index];
    std::vector<RowValue> values = change.before;
    values.resize(m_table.columns.size());
    for (const auto &[column, value] : change.values)
        values[static_cast<std::size_t>(column)] = value;
    const auto rows = selectRows(m_session.connection(), m_whole,
                                 QStringLiteral(" where ") + keyCondition(m_table, values));
    if (rows.size() == 1)
        m_after[index] = rows.front();
    else
        throw Failure(QStringLiteral(
            "保存した行をキーで読み直せません (キーの既定値かトリガーが、別の値を入れています)。"));
}

void RowSaver::commit()
{
    if (m_report.isInUsersTransaction) {
        m_session.connection().execute(QStringLiteral("release savepoint ") + savepoint);
        m_report.ending = SaveReport::Ending::Saved;
        return;
    }
    m_isCommitting = true;
    m_session.connection().execute(QStringLiteral("commit"));
    m_report.ending = SaveReport::Ending::Saved;
}

void RowSaver::fail(const Failure &error)
{
    const bool isStopped = error.isInterrupted() && m_session.runner.isStopWanted();
    m_report.words = isStopped ? QStringLiteral("処理を中断しました。") : error.description();
    const Undoing undoing(m_session);
    const Doubt doubt = doubtAfter(m_session, error);
    try {
        takeBack(doubt);
        if (m_isCommitting && doubt != Doubt::None)
            settle();
        else if (m_isInConflict || (doubt != Doubt::None && !m_table.isTransactional && m_current))
            findConflicts();
        else
            m_report.refused = m_current;
    } catch (const Failure &further) {
        m_report.words += u'\n' + further.description();
        m_report.refused = m_current;
        if (m_isCommitting && doubt != Doubt::None) {
            m_report.ending = SaveReport::Ending::Unknown;
            m_report.words += u'\n' + unknownWhetherSaved();
        }
    }
}

// A deadlock ends the whole transaction, and the savepoint with it.
void RowSaver::takeBack(Doubt doubt)
{
    if (doubt == Doubt::AnswerLost && m_report.isInUsersTransaction)
        throw Failure(QStringLiteral("接続とともに、確定していない変更はすべて取り消されました。"));
    if (doubt == Doubt::AnswerLost) {
        reconnect(m_session, m_place); // the server itself rolls back what the lost connection leaves
        return;
    }
    if (!m_hasBegun) // what is open is the user's
        return;
    Connection &connection = m_session.connection();
    if (!m_report.isInUsersTransaction) {
        connection.execute(QStringLiteral("rollback"));
        return;
    }
    constexpr int noSuchSavepoint = 1305;
    try {
        connection.execute(QStringLiteral("rollback to savepoint ") + savepoint);
    } catch (const Failure &error) {
        if (error.number() != noSuchSavepoint)
            throw;
        m_report.words += QStringLiteral(
            "\nサーバーがトランザクション全体を取り消しました。先の文の変更も残っていません。");
    }
}

// Whether a COMMIT was carried out whose answer was lost: the rows say. Reading them waits for a transaction
// that the server has not ended yet.
void RowSaver::settle()
{
    Standing standing = Standing::Unclear;
    for (std::size_t index = 0; index < m_changes.size() && standing == Standing::Unclear; ++index)
        standing =
            standingOf(m_session.connection(), m_table, m_changes[index].before, asRead(m_after[index]));
    const QString lost = QStringLiteral("確定の返事を受け取れませんでした (%1)。\n").arg(m_report.words);
    if (standing == Standing::After) {
        m_report.ending = SaveReport::Ending::Saved;
        m_report.words = lost + QStringLiteral("行を読み直し、保存されていることを確かめました。");
    } else if (standing == Standing::Before) {
        m_report.words = lost + QStringLiteral("行を読み直し、何も保存されていないことを確かめました。");
    } else {
        m_report.ending = SaveReport::Ending::Unknown;
        m_report.words = lost + unknownWhetherSaved();
    }
}

void RowSaver::findConflicts()
{
    std::vector<std::vector<RowValue>> rows;
    for (const RowChange &change : m_changes)
        if (change.kind != Kind::Added)
            rows.push_back(change.before);
    const auto found = rowsByKey(m_session.connection(), m_table, rows, {});
    for (std::size_t index = 0; index < m_changes.size(); ++index) {
        const RowChange &change = m_changes[index];
        if (change.kind == Kind::Added || m_after.contains(index))
            continue;
        const auto row = found.find(keyBytes(m_table, change.before));
        if (row == found.end())
            m_report.conflicts.push_back({index, {}});
        else if (row->second != change.before)
            m_report.conflicts.push_back({index, row->second});
    }
    if (m_report.conflicts.empty())
        m_report.refused = m_current;
    else
        m_report.ending = SaveReport::Ending::Conflicts;
}
