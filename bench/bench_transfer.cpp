// A million rows out of a server and into it again: dump and load beside the server's own tools, files of
// separated values beside a bare loop and the client program.
#include "bareloops.h"
#include "benchdata.h"
#include "benchsession.h"
#include "core/command/script.h"
#include "measurement.h"
#include "support/testserver.h"
#include "table.h"
#include "transfer/csv/csvexport.h"
#include "transfer/csv/csvimport.h"
#include "transfer/dump/dump.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <cstdlib>

namespace {

void noReport(const TransferStatus &) {}

QString table()
{
    return QStringLiteral("copied");
}

// What a run of this program is given: "job", port, folder of the files.
struct Job {
    QString name;
    int port;
    QString folder;

    QString file(const char *file) const { return folder + u'/' + QLatin1String(file); }
    QStringList arguments() const { return {name, QString::number(port), folder}; }
};

QStringList clientOptions(const Job &job)
{
    return {QStringLiteral("--no-defaults"),
            QStringLiteral("--skip-ssl"),
            QStringLiteral("-h127.0.0.1"),
            QStringLiteral("-P%1").arg(job.port),
            QStringLiteral("-udemo"),
            QStringLiteral("-pdemo"),
            QStringLiteral("--default-character-set=utf8mb4")};
}

void runProgram(const QString &program, const QStringList &arguments, const QString &input,
                const QString &output)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    if (!input.isEmpty())
        process.setStandardInputFile(input);
    process.setStandardOutputFile(output.isEmpty() ? QProcess::nullDevice() : output);
    process.start(program, arguments);
    if (!process.waitForFinished(600000) || process.exitCode() != 0)
        std::exit(1);
}

void emptyTable(Session &session)
{
    session.connection().execute(QStringLiteral("truncate table ") + table());
}

ImportOptions importOptions(const Job &job)
{
    ImportOptions options;
    options.path = job.file("rows.csv");
    options.database = benchDatabase();
    options.table = table();
    const QStringList columns{QStringLiteral("id"),    QStringLiteral("name"), QStringLiteral("place"),
                              QStringLiteral("price"), QStringLiteral("made"), QStringLiteral("ratio"),
                              QStringLiteral("note"),  QStringLiteral("stock")};
    for (const QString &column : columns)
        options.columns.push_back({column, static_cast<int>(options.columns.size())});
    return options;
}

void dumpRows(Session &session, const Job &job)
{
    DumpOptions options;
    options.database = benchDatabase();
    options.objects << table();
    dump(session, options, {job.file("ours.sql"), false}, noReport);
}

void loadDump(Session &session, const Job &job)
{
    ScriptOptions options;
    options.path = job.file("ours.sql");
    const ScriptReport report = runScript(session, options, [](const ScriptProgress &) {});
    if (!report.isComplete || report.errors > 0)
        std::exit(1);
}

void exportRows(Session &session, const Job &job)
{
    ExportOptions options = excelPreset();
    options.encoding = TextEncoding::Utf8;
    options.path = job.file("rows.csv");
    exportStatement(session, QStringLiteral("select * from ") + table(), options, noReport);
}

void importRows(Session &session, const Job &job)
{
    if (importCsv(session, importOptions(job), noReport).rows != rowCount())
        std::exit(1);
}

void importLocally(Session &session, const Job &job)
{
    ImportOptions options = importOptions(job);
    options.isLocal = true;
    if (importCsv(session, options, noReport).rows != rowCount())
        std::exit(1);
}

struct Ours {
    const char *name;
    void (*run)(Session &session, const Job &job);
    bool fillsTable;
};
constexpr Ours ourJobs[] = {{"dump", dumpRows, false},
                            {"load", loadDump, true},
                            {"export", exportRows, false},
                            {"import", importRows, true},
                            {"import-local", importLocally, true}};

Measurement runOurs(const Ours &ours, const Job &job)
{
    BenchSession open(QStringLiteral("native"), QString::number(job.port), benchDatabase());
    Session &session = open.session;
    if (ours.fillsTable)
        emptyTable(session);
    return measure([&] { session.runner.run(nullptr, {}, [&] { ours.run(session, job); }); });
}

// The same by others.
Measurement runPeer(const Job &job)
{
    QStringList client = clientOptions(job) << benchDatabase();
    if (job.name == u"peer-dump")
        return measure([&] {
            runProgram(QStringLiteral("mariadb-dump"),
                       QStringList(client) << QStringLiteral("--single-transaction") << table(), {},
                       job.file("peer.sql"));
        });
    const auto run = [&client](const QString &statement) {
        runProgram(QStringLiteral("mariadb"),
                   QStringList(client)
                       << QStringLiteral("--local-infile=1") << QStringLiteral("-e") << statement,
                   {}, {});
    };
    if (job.name == u"peer-load" || job.name == u"peer-local")
        run(QStringLiteral("truncate table ") + table());
    if (job.name == u"peer-load")
        return measure([&] { runProgram(QStringLiteral("mariadb"), client, job.file("ours.sql"), {}); });
    if (job.name == u"peer-local")
        return measure([&] {
            run(QStringLiteral("load data local infile '%1' into table %2 character set utf8mb4 fields "
                               "terminated by ',' optionally enclosed by '\"' lines terminated by '\\r\\n' "
                               "ignore 1 lines")
                    .arg(job.file("rows.csv"), table()));
        });
    return measure([&] {
        std::FILE *file = std::fopen(qPrintable(job.file("bare.txt")), "wb");
        BareNative::readRows(job.port, benchDatabase(), QStringLiteral("select * from ") + table(), file);
        std::fclose(file);
    });
}

int doOneJob(const QStringList &arguments)
{
    const Job job{arguments[1], arguments[2].toInt(), arguments[3]};
    for (const Ours &ours : ourJobs)
        if (job.name == QLatin1String(ours.name)) {
            print(runOurs(ours, job));
            return 0;
        }
    print(runPeer(job));
    return 0;
}

bool compare(const TestServer &server, const QString &folder, const char *title, const char *peer,
             const char *ours, double factor)
{
    const auto job = [&](const char *name) {
        return Job{QLatin1String(name), server.port(), folder}.arguments();
    };
    TableLine line = comparedLine(QLatin1String(title), QStringLiteral("native"),
                                  measureByTurns(job(peer), job(ours)), factor);
    print(line);
    return line.isWithin;
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    if (QCoreApplication::arguments().size() == 4)
        return doOneJob(QCoreApplication::arguments());
    TestServer server;
    makeBenchTable(server, rowCount());
    server.run(QStringLiteral("use bench; create table %1 (primary key (id)) engine=innodb select * from "
                              "rows_of_text")
                   .arg(table()));
    const QTemporaryDir folder;
    const auto job = [&](const char *name) { return Job{QLatin1String(name), server.port(), folder.path()}; };
    bool isWithin = true;
    if (QStandardPaths::findExecutable(QStringLiteral("mariadb-dump")).isEmpty())
        measureElsewhere(job("dump").arguments()); // for the load
    else
        isWithin &= compare(server, folder.path(), "dump, beside mariadb-dump", "peer-dump", "dump", 1.2);
    isWithin &= compare(server, folder.path(), "load, beside mariadb", "peer-load", "load", 1.15);
    isWithin &= compare(server, folder.path(), "CSV out", "bare-file", "export", 1.3);
    isWithin &= compare(server, folder.path(), "CSV in, beside mariadb", "peer-load", "import", 1.2);
    isWithin &=
        compare(server, folder.path(), "CSV in by LOAD DATA LOCAL", "peer-local", "import-local", 1.1);
    return isWithin ? 0 : 1;
}
