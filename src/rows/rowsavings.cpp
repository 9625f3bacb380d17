#include "rows/rowsavings.h"

#include "core/command/writing.h"

#include <algorithm>

using Kind = RowChange::Kind;

namespace {

QString shortText(const TableColumn &column, const RowValue &value)
{
    constexpr int longest = 80;
    const QString text = value ? editedText(column, value) : QStringLiteral("NULL");
    return text.size() > longest ? text.left(longest) + u'…' : text;
}

} // namespace

RowSavings::RowSavings(Session &session, Dialogue &dialogue, RowGrid &rows)
    : m_session(session)
    , m_dialogue(dialogue)
    , m_rows(rows)
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
    return mayWrite(m_session, m_dialogue) && mayChangeOthers(changes) &&
           (table.isTransactional ||
            m_dialogue.confirm(
                QStringLiteral("このテーブル (%1) にはトランザクションがありません。\r\n1 行ずつ保存し、"
                               "失敗した行で止まります。それまでの行は保存されたままです。\r\n続けますか？")
                    .arg(table.engine),
                Icon::Information));
}

// Deleting a row, or changing what others refer to, may reach into other tables.
bool RowSavings::mayChangeOthers(const std::vector<RowChange> &changes)
{
    QStringList columns;
    bool deletes = false;
    for (const RowChange &change : changes) {
        deletes |= change.kind == Kind::Deleted;
        for (const auto &[column, value] : change.values)
            if (change.kind == Kind::Changed)
                columns << m_rows.table().columns[static_cast<std::size_t>(column)].name.toLower();
    }
    const bool changesKey = std::ranges::any_of(m_rows.table().key, [&](int key) {
        return columns.contains(m_rows.table().columns[static_cast<std::size_t>(key)].name.toLower());
    });
    if (!deletes && !changesKey)
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
           m_dialogue.confirm(
               QStringLiteral("外部キーにより、次のテーブルの行もサーバーが変更または削除することが"
                              "あります。それらは「元に戻す」では戻りません。\r\n%1\r\n続けますか？")
                   .arg(reached.join(QStringLiteral("\r\n"))),
               Icon::Critical);
}

QString RowSavings::save()
{
    const std::vector<RowChange> changes = m_rows.changes();
    const TableShape table = m_rows.table();
    if (!isReadyToSave(changes))
        return {};
    RowHistory history(m_session);
    RowHistory::Kept kept;
    bool isNotKept = false;
    const auto keep = [&](const TableShape &whole, const std::vector<RowChange> &inverse) {
        try {
            kept = history.add(savingOf(whole, inverse));
        } catch (const Failure &) {
            isNotKept = true;
            throw;
        }
    };
    SaveReport report = RowSaver(m_session, table, changes).save(keep);
    if (isNotKept && report.saved.empty() &&
        m_dialogue.confirm(
            QStringLiteral("元に戻すための記録を書けません。\r\n%1\r\n記録なしで保存しますか？")
                .arg(report.words),
            Icon::Critical))
        report = RowSaver(m_session, table, changes).save([](auto &&...) {});
    if (report.saved.empty() && report.ending != SaveReport::Ending::Unknown)
        history.drop(kept.id);
    m_rows.take(changes, report);
    if (report.ending == SaveReport::Ending::Conflicts)
        return settleConflicts(changes, report);
    const QString saved = QStringLiteral("%1件を保存しました").arg(report.saved.size());
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

QString RowSavings::conflictText(const RowChange &change, const RowConflict &conflict) const
{
    const TableShape &table = m_rows.table();
    QStringList names;
    for (const int key : table.key)
        names << table.columns[static_cast<std::size_t>(key)].name + u'=' +
                     shortText(table.columns[static_cast<std::size_t>(key)],
                               change.before[static_cast<std::size_t>(key)]);
    const QString row = names.join(QStringLiteral(", "));
    QStringList lines{conflict.theirs.empty()
                          ? QStringLiteral("他の人がこの行を削除しています: ") + row
                          : QStringLiteral("読んだあとで、他の人がこの行を変えています: ") + row};
    if (change.kind == Kind::Deleted)
        lines << QStringLiteral("自分: 行を削除");
    for (std::size_t i = 0; i < table.columns.size(); ++i) {
        const auto mine = change.values.find(static_cast<int>(i));
        const bool isTheirs = !conflict.theirs.empty() && conflict.theirs[i] != change.before[i];
        if (mine == change.values.end() && !isTheirs)
            continue;
        const TableColumn &column = table.columns[i];
        QString line = column.name + QStringLiteral(": 読んだ値 ") + shortText(column, change.before[i]);
        if (mine != change.values.end())
            line += QStringLiteral(" → 自分 ") + shortText(column, mine->second);
        if (isTheirs)
            line += QStringLiteral(" → 相手 ") + shortText(column, conflict.theirs[i]);
        lines << line;
    }
    return lines.join(u'\n') + QStringLiteral("\n\n何も保存していません。");
}

// For each row whose value shall stand; saved again only by the user, who has seen it then.
QString RowSavings::settleConflicts(const std::vector<RowChange> &changes, const SaveReport &report)
{
    m_dialogue.setLastError(report.words, false);
    std::vector<bool> keepsMine;
    int choice = -1;
    const bool isOne = report.conflicts.size() == 1;
    QStringList choices{QStringLiteral("自分の値を残す"), QStringLiteral("相手の値にする")};
    if (!isOne)
        choices << QStringLiteral("残り全て自分の値") << QStringLiteral("残り全て相手の値");
    for (const RowConflict &conflict : report.conflicts) {
        if (choice < 2)
            choice = m_dialogue.choose(conflictText(changes[conflict.change], conflict), choices);
        if (choice < 0)
            return QStringLiteral("保存していません");
        keepsMine.push_back(choice % 2 == 0);
    }
    m_rows.resolve(changes, report.conflicts, keepsMine);
    return m_rows.changeCount() > 0 ? QStringLiteral("確かめて、もう一度保存して下さい") : QString();
}

void RowSavings::undo(const RowSaving &saving)
{
    if (!mayWrite(m_session, m_dialogue))
        return;
    TableShape table = shapeOfColumns(
        withUnreadColumns(readTableShape(m_session.connection(), saving.database, saving.table)),
        saving.columns);
    if (!table.whyReadOnly.isEmpty())
        throw Failure(table.whyReadOnly);
    RowHistory history(m_session);
    RowHistory::Kept kept;
    const SaveReport report = RowSaver(m_session, table, saving.inverse, RowSaver::ZeroDates::Allowed)
                                  .save([&](const TableShape &whole, const std::vector<RowChange> &inverse) {
                                      kept = history.add(savingOf(whole, inverse));
                                  });
    if (report.ending == SaveReport::Ending::Saved) {
        history.markUndone(saving.id);
        m_dialogue.inform(QStringLiteral("%1件を元に戻しました。").arg(report.saved.size()) +
                          (report.words.isEmpty() ? QString() : QStringLiteral("\r\n") + report.words));
        return;
    }
    if (report.saved.empty() && report.ending != SaveReport::Ending::Unknown)
        history.drop(kept.id);
    QString words = report.words;
    for (const RowConflict &conflict : report.conflicts)
        words += u'\n' + statementOf(table, saving.inverse[conflict.change]).left(400);
    throw Failure(words);
}
