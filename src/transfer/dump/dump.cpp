#include "transfer/dump/dump.h"

#include "core/command/tablekind.h"
#include "core/sql/statements.h"
#include "core/sql/trackedsession.h"
#include "transfer/dump/dumptext.h"
#include "transfer/dump/hiddenobjects.h"
#include "transfer/dump/insertwriter.h"
#include "transfer/transferfile.h"

#include <QDateTime>
#include <QDir>
#include <QRegularExpression>

#include <algorithm>

namespace {

QString now()
{
    return QDateTime::currentDateTime().toString(Qt::ISODate);
}

class FileSink : public DumpSink {
public:
    explicit FileSink(const QString &path)
        : m_file(path)
    {
    }
    void write(std::string_view script) override { m_file.write(script); }
    void insert(std::string_view statement) override
    {
        m_file.write(statement);
        m_file.write(";\n");
    }
    void finish() { m_file.finish(); }
    void complete() { m_file.complete(); }
    void writeRest() { m_file.writeRest(); }
    void takeName() { m_file.takeName(); }

private:
    TransferFile m_file;
};

// One run, from the snapshot to the last line.
class Dump {
public:
    // Either a target or a sink.
    Dump(Session &session, const DumpOptions &options, const DumpTarget &target, DumpSink *sink,
         const ReportProgress &report)
        : m_session(session)
        , m_options(options)
        , m_target(target)
        , m_sink(sink)
        , m_tell(report)
    {
    }

    DumpReport run();

private:
    RecordSet execute(const QString &statement) { return m_session.connection().execute(statement); }
    void prepareSession();
    QString head();
    void open(const QString &path);
    void openFor(const DumpObject &object);
    void close();
    void write(const QString &text) { m_sink->write(text.toStdString()); }
    void writeObject(const DumpObject &object);
    QString placeOfSequence(const DumpObject &object, const DumpObject &made);
    void writeRows(const DumpObject &table, const DumpObject &made);
    void copyRows(const DumpObject &table, const QString &select, InsertWriter &writer);
    void requireUnchanged(const DumpObject &object);
    void writeLoader();
    QString loaderPath() const { return QDir(m_target.path).filePath(QStringLiteral("load.sql")); }
    void tell(const DumpObject &object);

    Session &m_session;
    const DumpOptions &m_options;
    const DumpTarget &m_target;
    DumpSink *m_sink; // the file, where there is one
    const ReportProgress &m_tell;
    QString m_createDatabase;
    std::unique_ptr<FileSink> m_file;
    QStringList m_names; // of a folder's files, in the order to load them
    // They take their names together: with some of them new, the dump that was there would be none any more.
    std::vector<std::unique_ptr<FileSink>> m_complete;
    std::unique_ptr<FileSink> m_loader; // open from the beginning, so that nobody else begins in the folder
    TransferStatus m_status;
    DumpReport m_report;
};

DumpReport Dump::run()
{
    prepareSession();
    const std::vector<DumpObject> plan = readDumpPlan(m_session.connection(), m_options);
    if (m_options.createsDatabase)
        m_createDatabase =
            execute(QStringLiteral("SHOW CREATE DATABASE ") + quotedName(m_options.database)).text(1);
    m_report.notAllShown = kindsNotAllShown(m_session.connection(), m_options);
    m_status.objects = static_cast<int>(plan.size());
    for (const DumpObject &object : plan)
        if (object.isBroken)
            m_report.brokenViews << object.name;
    for (const DumpObject &object : plan)
        m_status.expectedRows += m_options.hasRows && object.hasOwnRows() ? object.expectedRows : 0;
    if (m_target.isFolder)
        m_loader = std::make_unique<FileSink>(loaderPath());
    else
        open(m_target.path);
    const auto behindTables = std::ranges::upper_bound(plan, DumpKind::Table, {}, &DumpObject::kind);
    for (auto object = plan.begin(); object != plan.end(); ++object) {
        if (object == behindTables && !m_target.isFolder)
            m_sink->endTables();
        tell(*object);
        openFor(*object);
        writeObject(*object);
        if (m_target.isFolder)
            close();
        ++m_status.finished;
        ++m_report.objects;
    }
    if (behindTables == plan.end() && !m_target.isFolder)
        m_sink->endTables();
    // What no snapshot holds; tables have been looked at beside their rows.
    for (const DumpObject &object : plan)
        if (object.kind != DumpKind::Table || !m_options.hasRows)
            requireUnchanged(object);
    if (m_target.isFolder)
        writeLoader();
    else
        close();
    execute(QStringLiteral("COMMIT"));
    return m_report;
}

void Dump::prepareSession()
{
    Connection &connection = m_session.connection();
    connection.execute(useStatement(m_options.database));
    executeOwnForGood(connection, setStatement(exactVariables(connection.server())));
    // Rows wait for a slow disk or for the server that they go to, which may have to wait for a lock.
    executeOwnForGood(connection, QStringLiteral("SET net_write_timeout=86400"));
    executeOwnForGood(connection, QStringLiteral("SET SESSION TRANSACTION ISOLATION LEVEL REPEATABLE READ"));
    connection.execute(QStringLiteral("START TRANSACTION WITH CONSISTENT SNAPSHOT"));
}

void Dump::open(const QString &path)
{
    if (!path.isEmpty()) {
        m_file = std::make_unique<FileSink>(path);
        m_sink = m_file.get();
    }
    write(head());
}

QString Dump::head()
{
    return dumpHead(m_session.connection().server(), m_options, now(), m_createDatabase);
}

void Dump::openFor(const DumpObject &object)
{
    if (!m_target.isFolder)
        return;
    const QString word = object.keyword.toLower().replace(u' ', u'-');
    const QString name = word + u'-' + fileNameOf(object.name) + QStringLiteral(".sql");
    m_names << name;
    open(QDir(m_target.path).filePath(name));
}

void Dump::close()
{
    write(dumpTail(now()));
    if (!m_file)
        return;
    m_sink = nullptr;
    if (!m_target.isFolder)
        return m_file->finish();
    m_file->complete();
    m_complete.push_back(std::move(m_file));
}

void Dump::tell(const DumpObject &object)
{
    m_status.object = object.name;
    m_tell(m_status);
}

// SETVAL goes on only, from the START or with a further round; back behind the START leads RESTART.
QString Dump::placeOfSequence(const DumpObject &object, const DumpObject &made)
{
    RecordSet row = execute(
        QStringLiteral("SELECT next_not_cached_value, cycle_count, next_not_cached_value<>start_value AND "
                       "(next_not_cached_value<start_value)=(increment>=0) FROM ") +
        quotedName(object.name));
    const QString name = quotedName(made.name), next = row.text(0), round = row.text(1);
    if (row.text(2) == u"1" && round == u"0")
        return QStringLiteral("ALTER SEQUENCE %1 RESTART %2;\n").arg(name, next);
    return QStringLiteral("SELECT SETVAL(%1, %2, 0, %3);\n").arg(name, next, round);
}

void Dump::writeObject(const DumpObject &object)
{
    const DumpObject made = m_sink->placed(object);
    if (m_options.hasStructure)
        write(objectScript(made, m_options));
    if (object.kind == DumpKind::Sequence && m_options.hasRows)
        write(placeOfSequence(object, made));
    if (object.kind != DumpKind::Table || !m_options.hasRows)
        return;
    if (!object.hasOwnRows()) {
        m_report.withoutRows << object.name;
        return;
    }
    if (!isReplicatedInClusters(object.engine)) // those are the engines with snapshots
        m_report.outsideSnapshot << object.name;
    // The savepoint gives the lock on the table back, which keeps others from changing it.
    execute(QStringLiteral("SAVEPOINT tarnwell"));
    const qint64 before = m_report.rows;
    writeRows(object, made);
    requireUnchanged(object);
    m_sink->endRows(made, m_report.rows - before);
    execute(QStringLiteral("ROLLBACK TO SAVEPOINT tarnwell"));
}

// The columns that say from when until when a row held.
QStringList periodOf(const QString &createText)
{
    static const QRegularExpression period(
        QStringLiteral("PERIOD FOR SYSTEM_TIME \\(`((?:[^`]|``)+)`, `((?:[^`]|``)+)`\\)"));
    const QRegularExpressionMatch match = period.match(createText);
    if (!match.hasMatch())
        return {QStringLiteral("row_start"), QStringLiteral("row_end")};
    return {match.captured(1).replace(QStringLiteral("``"), QStringLiteral("`")),
            match.captured(2).replace(QStringLiteral("``"), QStringLiteral("`"))};
}

void Dump::writeRows(const DumpObject &table, const DumpObject &made)
{
    Connection &connection = m_session.connection();
    StoredColumns stored = readStoredColumns(connection, m_options.database, table.name);
    bool isNamed = stored.hasGenerated;
    for (const StoredColumn &column : stored.columns)
        isNamed = isNamed || column.isInvisible;
    constexpr int firstThatTakesHistory = 101100;
    const bool withHistory = table.isVersioned && m_options.hasHistory && connection.server().isMariaDb &&
                             connection.server().number >= firstThatTakesHistory;
    if (withHistory) {
        isNamed = true;
        for (const QString &name : periodOf(table.definition.text))
            stored.columns.push_back({name, ValueForm::Plain});
        write(historyOn());
    }
    if (!stored.columns.empty()) {
        InsertWriter writer(made.name, stored.columns, isNamed, m_options.insertBytes,
                            [this](std::string_view statement) { m_sink->insert(statement); });
        QString select = QStringLiteral("SELECT %1 FROM %2").arg(writer.selected(), quotedName(table.name));
        if (withHistory)
            select += QStringLiteral(" FOR SYSTEM_TIME ALL");
        // On lines of its own: it may end in a comment.
        if (!m_options.condition.isEmpty())
            select += QStringLiteral(" WHERE (\n%1\n)").arg(m_options.condition);
        write(QStringLiteral("\n"));
        copyRows(table, select, writer);
    }
    if (withHistory)
        write(historyOff());
}

// The one place where rows go from the connection to the file.
void Dump::copyRows(const DumpObject &table, const QString &select, InsertWriter &writer)
{
    const qint64 before = m_status.rows;
    try {
        RecordSet rows = execute(select);
        rows.readWithoutLimit();
        writer.setFields(rows.fields());
        for (std::vector<Cell> cells; !rows.isEof(); rows.moveNextBlock()) {
            const RowBlock &block = rows.block();
            for (int row = 0; row < block.rowCount(); ++row, ++m_status.rows) {
                block.read(row, cells);
                writer.addRow(cells);
            }
            tell(table);
        }
        writer.finish();
    } catch (const Failure &error) {
        if (error.isInterrupted())
            throw;
        throw Failure(QStringLiteral("テーブル「%1」の %2 行目まで書いた後で失敗しました。\r\n%3")
                          .arg(table.name)
                          .arg(m_status.rows - before)
                          .arg(error.description()),
                      error.number(), error.state());
    }
    m_report.rows += m_status.rows - before;
}

void Dump::requireUnchanged(const DumpObject &object)
{
    if (isSameDefinition(readObject(m_session.connection(), m_options.database, object), object.definition))
        return;
    throw Failure(QStringLiteral("%1「%2」の定義が、ダンプの間に変更されました。\r\n"
                                 "定義と行が食い違うため、ダンプを中止しました。もう一度実行してください。")
                      .arg(object.keyword, object.name));
}

void Dump::writeLoader()
{
    m_sink = m_loader.get();
    write(head());
    for (const QString &name : std::as_const(m_names))
        write(QStringLiteral("SOURCE %1\n").arg(name));
    write(dumpTail(now()));
    m_loader->writeRest();
    // A folder that has some files of this dump and some of an earlier one is none: whoever loads it shall
    // find nothing to load it by, should the program end here.
    QFile::remove(loaderPath());
    for (const std::unique_ptr<FileSink> &file : m_complete)
        file->takeName();
    m_loader->takeName();
}

} // namespace

DumpReport dump(Session &session, const DumpOptions &options, const DumpTarget &target,
                const ReportProgress &report)
{
    return Dump(session, options, target, nullptr, report).run();
}

DumpReport dump(Session &session, const DumpOptions &options, DumpSink &sink, const ReportProgress &report)
{
    return Dump(session, options, {}, &sink, report).run();
}

TransferReport reportOf(const DumpReport &done, const DumpTarget &target)
{
    const QString notes = notesOf(done);
    return {QStringLiteral("「%1」に %2 個のオブジェクト、%3 行をダンプしました。")
                    .arg(target.path)
                    .arg(done.objects)
                    .arg(done.rows) +
                notes,
            !notes.isEmpty()};
}

QString notesOf(const DumpReport &report)
{
    QString text;
    if (!report.outsideSnapshot.isEmpty())
        text += QStringLiteral("\n次のテーブルはスナップショットに対応していません。"
                               "実行中の変更が混じることがあります: ") +
                report.outsideSnapshot.join(QStringLiteral(", "));
    if (!report.withoutRows.isEmpty())
        text += QStringLiteral("\n次のテーブルの行はほかのテーブルやサーバーにあるため、定義だけです: ") +
                report.withoutRows.join(QStringLiteral(", "));
    if (!report.brokenViews.isEmpty())
        text += QStringLiteral("\n次のビューは壊れています (参照するテーブルや列などがないか、作成者の権限が"
                               "足りません)。定義は最後に書きましたが、読み込むとそこで失敗します: ") +
                report.brokenViews.join(QStringLiteral(", "));
    if (!report.notAllShown.isEmpty())
        text += QStringLiteral("\nこのアカウントには見る権限が足りず、次のものは欠けているかもしれません: ") +
                report.notAllShown.join(QStringLiteral(", "));
    return text;
}
