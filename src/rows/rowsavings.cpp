#include "rows/rowsavings.h"

#include "core/command/sessionvariables.h"
#include "core/command/writing.h"
#include "rows/conflictdialog.h"

#include <algorithm>

using Kind = RowChange::Kind;

namespace {

// What is still to be done once it is settled whose values stay: mine over theirs, or not at all.
std::vector<RowChange> settledChanges(const TableShape &table, const std::vector<RowChange> &changes,
                                      const SaveReport &report, const std::vector<bool> &keepsMine)
{
    std::vector<RowChange> settled;
    for (std::size_t index = 0; index < changes.size(); ++index) {
        RowChange change = changes[index];
        const auto conflict = std::ranges::find(report.conflicts, index, &RowConflict::change);
        const bool isInConflict = conflict != report.conflicts.end();
        if (report.saved.contains(index) ||
            (isInConflict && !keepsMine[static_cast<std::size_t>(conflict - report.conflicts.begin())]))
            continue;
        if (isInConflict && conflict->theirs.empty()) {
            if (change.kind == Kind::Deleted)
                continue;
            change.kind = Kind::Added;
            for (std::size_t column = 0; column < table.columns.size(); ++column)
                if (!table.columns[column].isGenerated)
                    change.values.try_emplace(static_cast<int>(column), change.before[column]);
            change.before.clear();
        } else if (isInConflict) {
            change.before = conflict->theirs;
        }
        settled.push_back(std::move(change));
    }
    return settled;
}

QString savedText(std::size_t count)
{
    return count == 0 ? QStringLiteral("何も保存していません")
                      : QStringLiteral("%1件を保存しました").arg(count);
}

QString undoneText(std::size_t count)
{
    return count == 0 ? QStringLiteral("何も戻していません。")
                      : QStringLiteral("%1件を元に戻しました。").arg(count);
}

} // namespace

RowSavings::RowSavings(Session &session, Dialogue &dialogue, RowGrid &rows, bool joinsTransaction)
    : m_session(session)
    , m_dialogue(dialogue)
    , m_rows(rows)
    , m_joinsTransaction(joinsTransaction)
{
}

bool RowSavings::isReadyToSave(const std::vector<RowChange> &changes)
{
    const TableShape &table = m_rows.table();
    for (const RowChange &change : changes)
        for (const int key : table.key) {
            const TableColumn &column = table.columns[static_cast<std::size_t>(key)];
            if (change.kind != Kind::Added || column.isAutoIncrement || change.values.contains(key))
                continue;
            // Such a row could not be found again.
            m_dialogue.refuse(QStringLiteral("新しい行のキーの列に値を入れて下さい: ") + column.name);
            return false;
        }
    return maySendMissing(changes) && mayWrite(m_session, m_dialogue) && mayChangeOthers(changes) &&
           (table.isTransactional ||
            m_dialogue.warn(
                QStringLiteral("このテーブル (%1) にはトランザクションがありません。\r\n1 行ずつ保存し、"
                               "失敗した行で止まります。それまでの行は保存されたままです。\r\n続けますか？")
                    .arg(table.engine)));
}

// The server refuses such rows, but a trigger may still put the value in.
bool RowSavings::maySendMissing(const std::vector<RowChange> &changes)
{
    QStringList missing;
    const std::vector<TableColumn> &columns = m_rows.table().columns;
    for (const RowChange &change : changes)
        for (std::size_t column = 0; column < columns.size() && change.kind == Kind::Added; ++column)
            if (needsValue(columns[column]) && !change.values.contains(static_cast<int>(column)) &&
                !missing.contains(columns[column].name))
                missing << columns[column].name;
    return missing.isEmpty() ||
           m_dialogue.warn(
               QStringLiteral("新しい行に、値が必要な列が残っています: %1\r\n"
                              "トリガーが値を入れない限り、サーバーは断ります。このまま送りますか？")
                   .arg(missing.join(QStringLiteral(", "))));
}

// Deleting a row, or changing what others refer to, may reach into other tables.
bool RowSavings::mayChangeOthers(const std::vector<RowChange> &changes)
{
    QStringList columns;
    bool deletes = false, mayBeReferenced = false;
    for (const RowChange &change : changes) {
        deletes |= change.kind == Kind::Deleted;
        for (const auto &[index, value] : change.values)
            if (const TableColumn &column = m_rows.table().columns[static_cast<std::size_t>(index)];
                change.kind == Kind::Changed && column.isIndexed) {
                columns << column.name.toLower();
                mayBeReferenced = true;
            }
    }
    if (!deletes && !mayBeReferenced)
        return true;
    QStringList reached;
    for (const ForeignKey &key : readReferrers(m_session.connection(), m_rows.table())) {
        const bool isChanged = std::ranges::any_of(
            key.toColumns, [&columns](const QString &column) { return columns.contains(column.toLower()); });
        if (key.changesRows && (deletes || isChanged))
            reached << key.fromDatabase + u'.' + key.fromTable;
    }
    reached.removeDuplicates();
    return reached.isEmpty() ||
           m_dialogue.warn(
               QStringLiteral("外部キーにより、次のテーブルの行もサーバーが変更または削除することが"
                              "あります。それらは「元に戻す」では戻りません。\r\n%1\r\n続けますか？")
                   .arg(reached.join(QStringLiteral("\r\n"))));
}

QString RowSavings::save()
{
    const std::vector<RowChange> changes = m_rows.changes();
    const TableShape table = m_rows.table();
    if (!isReadyToSave(changes))
        return {};
    const RowSaver::Options options{.joinsTransaction = m_joinsTransaction};
    RowHistory history(m_session);
    RowHistory::Kept kept;
    bool isNotKept = false;
    const auto keep = [&](const TableShape &whole, const std::vector<RowChange> &inverse) {
        const RowSaving undoing = saving(whole, inverse);
        try {
            kept = history.add(undoing);
        } catch (const Failure &) {
            isNotKept = true;
            throw;
        }
    };
    SaveReport report = RowSaver(m_session, table, changes, options).save(keep);
    if (isNotKept && report.saved.empty()) {
        if (!m_dialogue.warn(
                QStringLiteral("元に戻すための記録を書けません。\r\n%1\r\n記録なしで保存しますか？")
                    .arg(report.words)))
            return {};
        report = RowSaver(m_session, table, changes, options).save([](auto &&...) {});
    }
    if (report.saved.empty() && report.ending != SaveReport::Ending::Unknown)
        history.drop(kept.id);
    m_rows.take(changes, report);
    if (report.ending == SaveReport::Ending::Conflicts)
        return settleConflicts(report);
    const QString saved =
        report.isInUsersTransaction && table.isTransactional
            ? QStringLiteral("%1件をトランザクションの中で保存しました。コミットで確定します")
                  .arg(report.saved.size())
            : savedText(report.saved.size());
    if (!report.words.isEmpty()) {
        m_dialogue.setLastError(report.words, false);
        if (report.ending == SaveReport::Ending::Saved)
            m_dialogue.inform(report.words);
        else
            m_dialogue.refuse((report.saved.empty() ? QString() : saved + QStringLiteral("。\r\n")) +
                              report.words);
    }
    if (report.saved.empty())
        return {};
    return saved + (kept.isTooLarge ? QStringLiteral(" (16 MBを超えるため、元に戻せません)") : QString());
}

// For each row whose value shall stand; saved again only by the user, who has seen it then.
QString RowSavings::settleConflicts(const SaveReport &report)
{
    m_dialogue.setLastError(report.words, false);
    // Without those that a table without transactions has taken: their rows may be gone from the grid.
    const std::vector<RowChange> changes = m_rows.changes();
    std::vector<RowConflict> conflicts = report.conflicts;
    for (RowConflict &conflict : conflicts)
        conflict.change -= static_cast<std::size_t>(
            std::distance(report.saved.begin(), report.saved.lower_bound(conflict.change)));
    const auto keepsMine = askWhoseStay(m_rows.grid().window(), m_rows.table(), changes, conflicts,
                                        ConflictOf::Saving, savedText(report.saved.size()) + u'。');
    if (!keepsMine)
        return savedText(report.saved.size());
    m_rows.resolve(changes, conflicts, *keepsMine);
    return m_rows.changeCount() > 0 ? QStringLiteral("確かめて、もう一度保存して下さい") : QString();
}

RowSaving RowSavings::saving(const TableShape &whole, const std::vector<RowChange> &inverse)
{
    RowSaving saving = savingOf(whole, inverse);
    saving.timeZone = m_session.connection().execute(QStringLiteral("select @@session.time_zone")).text(0);
    return saving;
}

void RowSavings::undo(const RowSaving &saving)
{
    if (!mayWrite(m_session, m_dialogue))
        return;
    if (saving.timeZone.isEmpty()) // kept by an older version
        return undoChanges(saving);
    withVariables(m_session, {}, {{QStringLiteral("time_zone"), variableLiteral(saving.timeZone)}},
                  [&] { undoChanges(saving); });
}

void RowSavings::undoChanges(const RowSaving &saving)
{
    const TableShape table = shapeOfColumns(
        withUnreadColumns(readTableShape(m_session.connection(), saving.database, saving.table)),
        saving.columns);
    if (!table.whyReadOnly.isEmpty())
        throw Failure(table.whyReadOnly);
    RowHistory history(m_session);
    std::size_t undone = 0;
    for (std::vector<RowChange> changes = saving.inverse; !changes.empty();) {
        RowHistory::Kept kept;
        const SaveReport report =
            RowSaver(m_session, table, changes, {.allowsZeroDates = true})
                .save([&](const TableShape &whole, const std::vector<RowChange> &inverse) {
                    kept = history.add(this->saving(whole, inverse));
                });
        undone += report.saved.size();
        if (report.ending == SaveReport::Ending::Saved) {
            history.markUndone(saving.id);
            m_dialogue.inform(undoneText(undone) +
                              (report.words.isEmpty() ? QString() : QStringLiteral("\r\n") + report.words));
            return;
        }
        if (report.saved.empty() && report.ending != SaveReport::Ending::Unknown)
            history.drop(kept.id);
        const QString words =
            (undone == 0 ? QString() : undoneText(undone) + QStringLiteral("\r\n")) + report.words;
        if (report.ending != SaveReport::Ending::Conflicts)
            throw Failure(words);
        m_dialogue.setLastError(words, false);
        const auto keepsMine = askWhoseStay(m_rows.grid().window(), table, changes, report.conflicts,
                                            ConflictOf::Undoing, undoneText(undone));
        if (!keepsMine)
            return;
        changes = settledChanges(table, changes, report, *keepsMine);
    }
}
