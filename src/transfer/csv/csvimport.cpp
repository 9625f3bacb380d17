#include "transfer/csv/csvimport.h"

#include "core/command/storedcolumns.h"
#include "core/command/tablekind.h"
#include "core/sql/rowblock.h"
#include "core/sql/statements.h"
#include "transfer/csv/localload.h"
#include "transfer/dump/insertwriter.h"
#include "transfer/transferfile.h"

#include <algorithm>
#include <optional>

namespace {

constexpr std::size_t statementBytes = 512 * 1024;
constexpr std::size_t rowsPerStatement = 2000;

// How a column takes a value from a text.
enum class Taking { Text, Bytes, Bits };

struct Target {
    std::string name; // quoted
    std::size_t field = 0;
    Taking taking = Taking::Text;
};

bool isDigits(const std::string &text)
{
    return !text.empty() && std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

class Import {
public:
    Import(Session &session, const ImportOptions &options, const ReportProgress &report)
        : m_session(session)
        , m_options(options)
        , m_tell(report)
        , m_nullText(options.nullText.toStdString())
    {
    }

    ImportReport run();

private:
    void readRows();
    Connection &connection() { return m_session.connection(); }
    void prepare();
    void readTargets();
    void take(const CsvRow &row);
    void addLocally(const CsvRow &row);
    void loadLocally();
    void noteWarnings(const std::vector<LocalLoad::Warning> &warnings);
    void send();
    void sendRows(std::size_t first, std::size_t last);
    QByteArray statementFor(std::size_t first, std::size_t last) const;
    void appendValue(std::string &to, const Target &target, const CsvField &field) const;
    void noteError(const CsvRow &row, const QString &why);
    void commitIfDue();
    void commit();
    void end();
    QString whatHolds(const Failure &error);
    bool dropsNewTable();

    Session &m_session;
    const ImportOptions &m_options;
    const ReportProgress &m_tell;
    const std::string m_nullText;
    std::vector<Target> m_targets;
    std::size_t m_fieldCount = 0;
    std::size_t m_mostRows = rowsPerStatement;
    QString m_names;            // of the columns, quoted
    std::string m_head, m_tail; // of each statement
    std::optional<LocalLoad> m_local;
    qint64 m_localRows = 0;
    std::vector<CsvRow> m_rows;
    std::size_t m_rowCount = 0, m_bytes = 0;
    qint64 m_sinceCommit = 0, m_lastLine = 0, m_committedLine = 0;
    bool m_hasNewTable = false, m_isCommitting = false;
    std::unique_ptr<TransferFile> m_errorFile;
    ImportReport m_report;
};

ImportReport Import::run()
{
    try {
        prepare();
        readRows();
        send();
        loadLocally();
        end();
    } catch (const Failure &error) {
        throw Failure(error.description() + whatHolds(error), error.number(), error.state());
    }
    return m_report;
}

void Import::readRows()
{
    CsvReader reader(m_options.path, m_options.format);
    CsvRow row;
    if (m_options.format.hasHeader && reader.next(row))
        m_fieldCount = row.fields.size();
    TransferStatus status;
    status.object = m_options.table;
    for (; reader.next(row); ++status.rows) {
        take(row);
        constexpr qint64 rowsBetweenReports = 256;
        if (status.rows % rowsBetweenReports == 0) {
            status.expectedRows =
                reader.bytesRead() > 0 ? status.rows * reader.byteCount() / reader.bytesRead() : 0;
            m_tell(status);
        }
    }
}

void Import::prepare()
{
    if (m_options.isLocal)
        m_local.emplace().connect(m_session);
    connection().execute(useStatement(m_options.database));
    // Strict, so that a value that does not fit is refused; with backslash escapes, for the literals.
    connection().execute(QStringLiteral("SET sql_mode='STRICT_ALL_TABLES,NO_ENGINE_SUBSTITUTION'"));
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
    readTargets();
    connection().execute(QStringLiteral("START TRANSACTION"));
}

void Import::readTargets()
{
    const std::vector<StoredColumn> stored = storedColumns(connection(), m_options.database, m_options.table);
    std::string names, updates;
    for (const ImportColumn &column : m_options.columns) {
        const auto found = std::ranges::find(stored, column.name, &StoredColumn::name);
        if (found == stored.end())
            throw Failure(
                QStringLiteral("テーブル「%1」に列「%2」がありません。").arg(m_options.table, column.name));
        Target target{quotedName(column.name).toStdString(), static_cast<std::size_t>(column.field)};
        if (found->type == u"bit")
            target.taking = Taking::Bits;
        else if (found->form == ValueForm::Bytes)
            target.taking = Taking::Bytes;
        names += (names.empty() ? "" : ",") + target.name;
        updates += (updates.empty() ? "" : ",") + target.name + "=VALUES(" + target.name + ")";
        m_targets.push_back(target);
    }
    if (m_targets.empty())
        throw Failure(QStringLiteral("取り込む列がありません。"));
    const bool isText =
        std::ranges::all_of(m_targets, [](const Target &each) { return each.taking == Taking::Text; });
    if (m_local && !isText)
        throw Failure(QStringLiteral("バイナリや BIT の列には、LOAD DATA LOCAL で取り込めません。"));
    m_names = QString::fromStdString(names);
    m_head = "INSERT INTO " + quotedName(m_options.table).toStdString() + " (" + names + ") VALUES\n";
    // INSERT IGNORE would let values that do not fit pass as well.
    if (m_options.duplicates == Duplicates::Skip)
        m_tail = "\nON DUPLICATE KEY UPDATE " + m_targets[0].name + "=" + m_targets[0].name;
    else if (m_options.duplicates == Duplicates::Replace)
        m_tail = "\nON DUPLICATE KEY UPDATE " + updates;
}

void Import::take(const CsvRow &row)
{
    m_lastLine = row.line;
    if (m_fieldCount == 0)
        m_fieldCount = row.fields.size();
    if (row.fields.size() != m_fieldCount)
        return noteError(row, QStringLiteral("値の数が違います (%1 個、見出しは %2 個)。")
                                  .arg(row.fields.size())
                                  .arg(m_fieldCount));
    if (m_local)
        return addLocally(row);
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
    for (const Target &target : m_targets) {
        const CsvField &field = row.fields[target.field];
        if (!field.isQuoted && field.text == m_nullText)
            m_local->addNull();
        else
            m_local->addValue(field.text);
    }
    m_local->endRow();
}

void Import::loadLocally()
{
    // Nothing is sent for nothing.
    if (!m_local || m_report.errors > 0)
        return;
    TransferStatus status;
    status.object = QStringLiteral("サーバーが取り込んでいます");
    status.rows = m_localRows;
    m_tell(status);
    const bool skips = m_options.duplicates == Duplicates::Skip;
    const LocalLoad::Outcome outcome =
        m_local->send(connection(), quotedName(m_options.table), m_names, skips);
    m_report.rows = outcome.rows;
    m_report.skipped = skips ? m_localRows - outcome.rows : 0;
    std::vector<LocalLoad::Warning> refusals = outcome.firstWarnings;
    constexpr int duplicate = 1062, duplicateWithKey = 1586;
    if (skips)
        std::erase_if(refusals, [](const LocalLoad::Warning &each) {
            return each.number == duplicate || each.number == duplicateWithKey;
        });
    noteWarnings(refusals);
    // Beyond those that are listed.
    m_report.errors = std::max(m_report.errors, outcome.warnings - m_report.skipped);
}

// Each with its row, which is read once more for it.
void Import::noteWarnings(const std::vector<LocalLoad::Warning> &warnings)
{
    if (warnings.empty())
        return;
    CsvReader reader(m_options.path, m_options.format);
    CsvRow row;
    if (m_options.format.hasHeader)
        reader.next(row);
    qint64 at = 0;
    for (const LocalLoad::Warning &warning : warnings) {
        while (at < warning.row && reader.next(row))
            ++at;
        noteError(warning.row > 0 && at == warning.row ? row : CsvRow(), warning.words);
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
        return;
    } catch (const Failure &error) {
        constexpr int deadlock = 1213, lockWait = 1205; // these may have taken the transaction back
        constexpr int tooLarge = 1153, noTable = 1146;
        if (error.isConnectionLost() || error.isInterrupted() || error.number() == deadlock ||
            error.number() == lockWait || error.number() == noTable ||
            (error.number() == tooLarge && last - first == 1))
            throw Failure(QStringLiteral("%1 行目: %2").arg(m_rows[first].line).arg(error.description()),
                          error.number(), error.state());
        if (last - first == 1)
            return noteError(m_rows[first], error.description());
    }
    const std::size_t middle = first + (last - first) / 2;
    sendRows(first, middle);
    sendRows(middle, last);
}

QByteArray Import::statementFor(std::size_t first, std::size_t last) const
{
    std::string text = m_head;
    for (std::size_t row = first; row < last; ++row) {
        text += row > first ? ",\n(" : "(";
        for (std::size_t i = 0; i < m_targets.size(); ++i) {
            if (i > 0)
                text += ',';
            appendValue(text, m_targets[i], m_rows[row].fields[m_targets[i].field]);
        }
        text += ')';
    }
    text += m_tail;
    return QByteArray(text.data(), static_cast<qsizetype>(text.size()));
}

void Import::appendValue(std::string &to, const Target &target, const CsvField &field) const
{
    if (!field.isQuoted && field.text == m_nullText)
        to += "NULL";
    else if (target.taking != Taking::Text && isHexLiteral(field.text))
        to += field.text;
    else if (target.taking == Taking::Bits && isDigits(field.text))
        to += field.text;
    else
        appendTextLiteral(to, field.text);
}

void Import::noteError(const CsvRow &row, const QString &why)
{
    if (!m_errorFile) {
        m_report.errorFile = m_options.path + QStringLiteral(".errors.csv");
        m_errorFile = std::make_unique<TransferFile>(m_report.errorFile);
        m_errorFile->write("\xEF\xBB\xBF");
    }
    ++m_report.errors;
    ++m_report.listedErrors;
    const auto quoted = [](QString text) {
        return (u'"' + text.replace(u'"', QStringLiteral("\"\"")) + u'"').toStdString();
    };
    std::string line = std::to_string(row.line) + "," + quoted(why);
    for (const CsvField &field : row.fields)
        line += "," + quoted(QString::fromStdString(field.text));
    m_errorFile->write(line + "\r\n");
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
    m_committedLine = m_lastLine;
}

// What the server has when the import ends before its time.
QString Import::whatHolds(const Failure &error)
{
    if (m_isCommitting && m_lastLine > m_committedLine && (error.isConnectionLost() || error.isInterrupted()))
        return QStringLiteral(
                   "\n確定の返事がありません。%1 行目までが入ったかどうかは、テーブルで確かめてください。")
            .arg(m_lastLine);
    if (m_mostRows == 1)
        return QStringLiteral("\nトランザクションのないテーブルなので、ここまでの %1 行は入っています。")
            .arg(m_report.rows);
    if (m_committedLine > 0)
        return QStringLiteral("\n%1 行目までは確定しています。").arg(m_committedLine);
    return QStringLiteral("\n何も確定していません。") +
           (m_hasNewTable && !dropsNewTable()
                ? QStringLiteral("作ったテーブル「%1」は空のまま残っています。").arg(m_options.table)
                : QString());
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
    m_report.isTakenBack = m_report.errors > 0 && !m_options.keepsGoodRows;
    if (!m_report.isTakenBack) {
        commit();
    } else {
        connection().execute(QStringLiteral("ROLLBACK"));
        if (m_options.createsTable)
            connection().execute(QStringLiteral("DROP TABLE ") + quotedName(m_options.table));
        m_report.rows = m_report.skipped = 0;
    }
    if (m_errorFile)
        m_errorFile->finish();
}

} // namespace

ImportReport importCsv(Session &session, const ImportOptions &options, const ReportProgress &report)
{
    return Import(session, options, report).run();
}

QString textOf(const ImportReport &report)
{
    QString text = report.isTakenBack ? QStringLiteral("入らない行があるため、すべて取り消しました。")
                                      : QStringLiteral("%1 行を取り込みました。").arg(report.rows);
    if (report.skipped > 0)
        text += QStringLiteral("\nキーが重複する %1 行は飛ばしました。").arg(report.skipped);
    if (report.errors > 0)
        text += QStringLiteral("\n入らなかった行: %1 行。行番号と理由は「%2」にあります。")
                    .arg(report.errors)
                    .arg(report.errorFile);
    if (report.errors > report.listedErrors)
        text += QStringLiteral("そこにあるのは最初の %1 行で、実際の数はもっと多いことがあります。")
                    .arg(report.listedErrors);
    return text;
}
