#include "transfer/csv/csvimport.h"

#include "core/command/tablekind.h"
#include "core/sql/statements.h"
#include "core/sql/trackedsession.h"
#include "transfer/csv/importcolumns.h"
#include "transfer/csv/importfile.h"
#include "transfer/csv/localload.h"

#include <QRegularExpression>

#include <algorithm>
#include <optional>

namespace {

constexpr std::size_t statementBytes = 512 * 1024;
constexpr std::size_t rowsPerStatement = 2000;

// What every further row would be told, too, or what may have taken the transaction back.
bool endsImport(const Failure &error)
{
    constexpr int deadlock = 1213, lockWait = 1205, noTable = 1146;
    constexpr int deniedDatabase = 1044, deniedTable = 1142, deniedColumn = 1143;
    constexpr int readOnlyServer = 1290, readOnlyMode = 1836;
    constexpr int numbers[] = {deadlock,    lockWait,     noTable,        deniedDatabase,
                               deniedTable, deniedColumn, readOnlyServer, readOnlyMode};
    return error.isConnectionLost() || error.isInterrupted() ||
           std::ranges::find(numbers, error.number()) != std::end(numbers);
}

class Import {
public:
    Import(Session &session, const ImportOptions &options, const ReportProgress &report)
        : m_session(session)
        , m_options(options)
        , m_tell(report)
        , m_errors(options.path)
    {
    }

    ImportReport run();

private:
    void readRows();
    Connection &connection() { return m_session.connection(); }
    void prepare();
    void wantAllWarnings();
    void take(const CsvRow &row);
    void tellNowAndThen();
    void addLocally(const CsvRow &row);
    void loadLocally();
    void noteWarnings(const std::vector<LocalLoad::Warning> &warnings);
    void send();
    void sendRows(std::size_t first, std::size_t last);
    void noteChanges(std::size_t first);
    QByteArray statementFor(std::size_t first, std::size_t last) const;
    void commitIfDue();
    void commit();
    void end();
    QString whatStays(const Failure &error);
    bool dropsNewTable();

    Session &m_session;
    const ImportOptions &m_options;
    const ReportProgress &m_tell;
    std::optional<ImportColumns> m_columns;
    std::size_t m_mostRows = rowsPerStatement;
    std::string m_head, m_tail; // of each statement
    std::optional<LocalLoad> m_local;
    qint64 m_localRows = 0;
    ErrorList m_errors;
    std::optional<ImportFile> m_file;
    std::vector<CsvRow> m_rows;
    std::size_t m_rowCount = 0, m_bytes = 0;
    qint64 m_sinceCommit = 0, m_committedLine = 0;
    bool m_hasNewTable = false, m_isCommitting = false;
    ImportReport m_report;
};

ImportReport Import::run()
{
    try {
        prepare();
        m_file.emplace(m_options, &m_errors);
        if (m_local)
            loadLocally();
        else
            readRows();
        end();
    } catch (const Failure &error) {
        const QString left = whatStays(error);
        if (!left.isEmpty())
            throw HalfDone(error.description() + left, error.number(), error.state());
        throw Failure(error.description() + QStringLiteral("\n何も確定していません。"), error.number(),
                      error.state());
    }
    return m_report;
}

void Import::readRows()
{
    for (CsvRow row; m_file->next(row); tellNowAndThen())
        take(row);
    send();
}

void Import::tellNowAndThen()
{
    constexpr qint64 rowsBetweenReports = 256;
    if (m_file->rows() % rowsBetweenReports == 0)
        m_tell(m_file->status());
}

void Import::prepare()
{
    if (m_options.isLocal)
        m_local.emplace().connect(m_session);
    connection().execute(useStatement(m_options.database));
    // Strict, so that a value that does not fit is refused; with backslash escapes, for the literals. A 0 of
    // an AUTO_INCREMENT column stays 0.
    executeOwnForGood(
        connection(),
        QStringLiteral("SET sql_mode='STRICT_ALL_TABLES,NO_AUTO_VALUE_ON_ZERO,NO_ENGINE_SUBSTITUTION'"));
    if (m_options.createsTable) {
        connection().execute(createTableFor(m_options, m_tell));
        m_hasNewTable = true;
    }
    const TableKind kind = tableKind(connection(), m_options.database, m_options.table);
    if (!isReplicatedInClusters(kind.engine)) { // those are the engines with transactions
        if (!m_options.keepsGoodRows)
            throw Failure(QStringLiteral("テーブル「%1」(%2) はトランザクションに対応していないため、"
                                         "取り消せません。「良い行は入れる」を選んでください。")
                              .arg(m_options.table, kind.engine));
        m_mostRows = 1; // a statement that fails halfway has put in its first rows
    }
    m_columns.emplace(connection(), m_options);
    if (m_local && !m_columns->isAllText())
        throw Failure(QStringLiteral("バイナリや BIT の列には、LOAD DATA LOCAL で取り込めません。"));
    m_head = m_columns->insertHead();
    m_tail = m_columns->insertTail(m_options.duplicates);
    wantAllWarnings();
    connection().execute(QStringLiteral("START TRANSACTION"));
}

// MySQL 9 lets only administrators change it: for others a statement has no more rows than can be warned of.
void Import::wantAllWarnings()
{
    try {
        executeOwnForGood(connection(), QStringLiteral("SET max_error_count=%1").arg(rowsPerStatement));
    } catch (const Failure &failure) {
        constexpr int needsPrivilege = 1227;
        if (failure.number() != needsPrivilege)
            throw;
        const int most = connection().execute(QStringLiteral("SELECT @@max_error_count")).text(0).toInt();
        m_mostRows = std::min(m_mostRows, static_cast<std::size_t>(std::max(most, 2)));
    }
}

void Import::take(const CsvRow &row)
{
    if (m_rows.size() <= m_rowCount)
        m_rows.emplace_back();
    m_rows[m_rowCount++] = row;
    for (const CsvField &field : row.fields)
        m_bytes += field.text.size() + 4;
    if (m_rowCount >= m_mostRows || m_bytes >= statementBytes)
        send();
}

void Import::addLocally(const CsvRow &row)
{
    ++m_localRows;
    m_columns->forEachValue(row, [this](const std::string *value) {
        if (value)
            m_local->addValue(*value);
        else
            m_local->addNull();
    });
    m_local->endRow();
}

void Import::loadLocally()
{
    const bool skips = m_options.duplicates == Duplicates::Skip;
    CsvRow row;
    const LocalLoad::Outcome outcome = m_local->send(connection(), quotedName(m_options.table),
                                                     QString::fromStdString(m_columns->names()), skips, [&] {
                                                         if (!m_file->next(row))
                                                             return false;
                                                         addLocally(row);
                                                         tellNowAndThen();
                                                         return true;
                                                     });
    m_report.rows = outcome.rows;
    m_report.skipped = skips ? m_localRows - outcome.rows : 0;
    std::vector<LocalLoad::Warning> refusals = outcome.firstWarnings;
    constexpr int duplicate = 1062, duplicateWithKey = 1586;
    if (skips)
        std::erase_if(refusals, [](const LocalLoad::Warning &each) {
            return each.number == duplicate || each.number == duplicateWithKey;
        });
    const qint64 inFile = m_errors.count();
    noteWarnings(refusals);
    // Beyond those that are listed.
    m_report.errors = std::max(m_errors.count(), inFile + outcome.warnings - m_report.skipped);
}

// Each with its row, which is read once more for it.
void Import::noteWarnings(const std::vector<LocalLoad::Warning> &warnings)
{
    if (warnings.empty())
        return;
    ImportFile file(m_options, nullptr);
    CsvRow row;
    qint64 at = 0;
    for (const LocalLoad::Warning &warning : warnings) {
        while (at < warning.row && file.next(row))
            ++at;
        m_errors.add(warning.row > 0 && at == warning.row ? row : CsvRow(), warning.words);
    }
}

void Import::send()
{
    if (m_rowCount > 0)
        sendRows(0, m_rowCount);
    m_sinceCommit += static_cast<qint64>(m_rowCount);
    m_rowCount = m_bytes = 0;
    commitIfDue();
}

void Import::sendRows(std::size_t first, std::size_t last)
{
    try {
        connection().executeText(statementFor(first, last));
        const auto count = static_cast<qint64>(last - first);
        const qint64 touched = connection().effect().rowsTouched;
        const bool skips = m_options.duplicates == Duplicates::Skip && touched >= 0;
        m_report.rows += skips ? touched : count;
        m_report.skipped += skips ? count - touched : 0;
        if (connection().effect().warnings > 0)
            noteChanges(first);
        return;
    } catch (const Failure &error) {
        constexpr int tooLarge = 1153;
        if (endsImport(error) || (error.number() == tooLarge && last - first == 1))
            throw Failure(QStringLiteral("%1 行目: %2").arg(m_rows[first].line).arg(error.description()),
                          error.number(), error.state());
        if (last - first == 1)
            return m_errors.add(m_rows[first], error.description());
    }
    const std::size_t middle = first + (last - first) / 2;
    sendRows(first, middle);
    sendRows(middle, last);
}

// However strict, a server rounds a number to the digits of its column, and only notes that.
void Import::noteChanges(std::size_t first)
{
    constexpr int dataTruncated = 1265;
    static const QRegularExpression place(QStringLiteral(" at row (\\d+)$"));
    RecordSet rows = connection().execute(QStringLiteral("SHOW WARNINGS"));
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext()) {
        const std::size_t row = place.match(rows.text(2)).captured(1).toULongLong();
        if (rows.text(1).toInt() != dataTruncated || row == 0 || first + row > m_rowCount)
            continue;
        ++m_report.changed;
        m_errors.addChanged(m_rows[first + row - 1], rows.text(2));
    }
}

QByteArray Import::statementFor(std::size_t first, std::size_t last) const
{
    std::string text = m_head;
    for (std::size_t row = first; row < last; ++row) {
        text += row > first ? ",\n(" : "(";
        m_columns->appendLiterals(text, m_rows[row]);
        text += ')';
    }
    text += m_tail;
    return QByteArray(text.data(), static_cast<qsizetype>(text.size()));
}

void Import::commitIfDue()
{
    if (!m_options.keepsGoodRows || m_options.rowsPerCommit <= 0 || m_sinceCommit < m_options.rowsPerCommit)
        return;
    commit();
    connection().execute(QStringLiteral("START TRANSACTION"));
    m_sinceCommit = 0;
}

void Import::commit()
{
    m_isCommitting = true;
    connection().execute(QStringLiteral("COMMIT"));
    m_isCommitting = false;
    m_committedLine = m_file->lastLine();
}

// What the server has, or may have, when the import ends before its time.
QString Import::whatStays(const Failure &error)
{
    const qint64 lastLine = m_file ? m_file->lastLine() : 0;
    if (m_isCommitting && lastLine > m_committedLine && (error.isConnectionLost() || error.isInterrupted()))
        return QStringLiteral(
                   "\n確定の返事がありません。%1 行目までが入ったかどうかは、テーブルで確かめてください。")
            .arg(lastLine);
    if (m_mostRows == 1)
        return QStringLiteral("\nトランザクションのないテーブルなので、ここまでの %1 行は入っています。")
            .arg(m_report.rows);
    if (m_committedLine > 0)
        return QStringLiteral("\n%1 行目までは確定しています。").arg(m_committedLine);
    if (m_hasNewTable && !dropsNewTable())
        return QStringLiteral("\n何も確定していません。作ったテーブル「%1」は空のまま残っています。")
            .arg(m_options.table);
    return {};
}

bool Import::dropsNewTable()
{
    try {
        const Undoing undoing(m_session);
        connection().execute(QStringLiteral("ROLLBACK"));
        connection().execute(QStringLiteral("DROP TABLE ") + quotedName(m_options.table));
        return true;
    } catch (const Failure &) {
        return false;
    }
}

void Import::end()
{
    m_report.errors = std::max(m_report.errors, m_errors.count());
    m_report.listedErrors = m_errors.count();
    m_report.errorFile = m_errors.path();
    m_report.empty = m_file->emptyRows();
    m_report.isTakenBack = m_report.errors > 0 && !m_options.keepsGoodRows;
    if (!m_report.isTakenBack) {
        commit();
    } else {
        connection().execute(QStringLiteral("ROLLBACK"));
        if (m_options.createsTable && !dropsNewTable())
            m_report.leftTable = m_options.table;
        m_report.rows = m_report.skipped = m_report.changed = 0;
    }
    m_errors.finish();
}

} // namespace

ImportReport importCsv(Session &session, const ImportOptions &options, const ReportProgress &report)
{
    return Import(session, options, report).run();
}

TransferReport reportOf(const ImportReport &done)
{
    const QString text = done.isTakenBack ? QStringLiteral("入らない行があるため、すべて取り消しました。")
                                          : QStringLiteral("%1 行を取り込みました。").arg(done.rows);
    QString notes;
    if (done.skipped > 0)
        notes += QStringLiteral("\nキーが重複する %1 行は飛ばしました。").arg(done.skipped);
    if (done.empty > 0)
        notes += QStringLiteral("\n空の行 %1 行は読み飛ばしました。NULL の行なら、書き出すときに NULL の"
                                "文字を決めてください。")
                     .arg(done.empty);
    if (done.changed > 0)
        notes += QStringLiteral("\nサーバーが値を丸めた行: %1 行。行番号は「%2」にあります。")
                     .arg(done.changed)
                     .arg(done.errorFile);
    if (done.errors > 0)
        notes += QStringLiteral("\n入らなかった行: %1 行。行番号と理由は「%2」にあります。")
                     .arg(done.errors)
                     .arg(done.errorFile);
    if (done.errors > done.listedErrors)
        notes += QStringLiteral("そこにあるのは最初の %1 行で、実際の数はもっと多いことがあります。")
                     .arg(done.listedErrors);
    if (!done.leftTable.isEmpty())
        notes += QStringLiteral("\n作ったテーブル「%1」は空のまま残っています。").arg(done.leftTable);
    return {text + notes, !notes.isEmpty()};
}
