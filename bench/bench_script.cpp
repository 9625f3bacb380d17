// Running SQL files: a dump with long INSERTs and a file of small statements, against the server's own
// client.
#include "benchdata.h"
#include "core/command/script.h"
#include "core/driver/connect.h"
#include "core/session/basconnection.h"
#include "core/session/lastingconnection.h"
#include "measurement.h"
#include "support/serverprograms.h"
#include "table.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdio>

namespace {

constexpr double mostMegabytes = 40; // over those of the idle process
constexpr double factor = 1.15;

QStringList clientOptions(int port)
{
    return {QStringLiteral("--no-defaults"),
            QStringLiteral("--skip-ssl"),
            QStringLiteral("-h127.0.0.1"),
            QStringLiteral("-P%1").arg(port),
            QStringLiteral("-udemo"),
            QStringLiteral("-pdemo"),
            QStringLiteral("--default-character-set=utf8mb4")};
}

void write(QFile &file, const QByteArray &bytes)
{
    if (file.write(bytes) != bytes.size())
        give_up(file.errorString());
}

// The rows of the other jobs, in INSERTs of a megabyte, as dumps have them.
void writeLarge(const TestServer &server, const QString &path)
{
    constexpr qsizetype longest = 1000 * 1000;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        give_up(file.errorString());
    write(file, "truncate table rows_of_text;\n");
    BlockingPump pump;
    const std::unique_ptr<Connection> connection =
        createConnection(server.nativeString(benchDatabase()), pump);
    connection->open();
    QByteArray statement;
    for (RecordSet rows = connection->execute(benchStatement()); !rows.isEof(); rows.moveNext()) {
        statement += statement.isEmpty() ? "insert into rows_of_text values (" : ",\n(";
        for (const Cell &cell : rows.cells()) {
            const QByteArray value(cell.bytes.data(), static_cast<qsizetype>(cell.bytes.size()));
            statement += (cell.isNull ? QByteArrayLiteral("NULL") : '\'' + value + '\'') + ',';
        }
        statement.back() = ')';
        if (statement.size() > longest)
            write(file, std::exchange(statement, {}) + ";\n");
    }
    if (!statement.isEmpty())
        write(file, statement + ";\n");
}

void writeSmall(const QString &path, int count)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        give_up(file.errorString());
    write(file, "drop table if exists small;\ncreate table small (id int primary key, name varchar(40));\n"
                "begin;\n");
    for (int i = 0; i < count; ++i)
        write(file, "insert into small values (" + QByteArray::number(i) + ", '名前 " +
                        QByteArray::number(i) + "');\n");
    write(file, "commit;\n");
}

void runByClient(const QString &path, int port)
{
    QProcess process;
    process.setStandardInputFile(path);
    process.start(program(QStringLiteral("mariadb")), clientOptions(port)
                                                          << QStringLiteral("-D") + benchDatabase());
    if (!process.waitForFinished(-1) || process.exitCode() != 0)
        give_up(QString::fromUtf8(process.readAllStandardError()));
}

// As a sheet runs it: the program's own connections, without a log of each statement.
void runByOurs(const QString &path, const QString &connectionString)
{
    BlockingPump pump;
    Session session;
    session.makeConnection = session.runner.stoppable(
        [&pump](const QString &string) { return lasting(createConnection)(string, pump); });
    session.gCn = session.makeConnection(connectionString);
    session.gCn->open();
    ScriptOptions options;
    options.path = path;
    ScriptReport report;
    session.runner.run(&session.runner, path,
                       [&] { report = runScript(session, options, [](const auto &) {}); });
    if (!report.isComplete || report.errors > 0)
        give_up(report.firstErrors.empty() ? path : report.firstErrors.front().description);
}

// "client <path> <connection string> <port>": does one job and prints what it took.
int doOneJob(const QStringList &arguments)
{
    const QString path = arguments[2];
    print(measure([&] {
        if (arguments[1] == u"client")
            runByClient(path, arguments[4].toInt());
        else
            runByOurs(path, arguments[3]);
    }));
    return 0;
}

bool compare(const TestServer &server, const QString &driver, const QString &title, const QString &path)
{
    const QString string = server.connectionString(driver == u"native", benchDatabase());
    const QString port = QString::number(server.port());
    const Turns turns = measureByTurns({QStringLiteral("client"), path, string, port},
                                       {QStringLiteral("ours"), path, string, port});
    TableLine line = comparedLine(title, driver, turns, factor);
    // What it is held against is no loop of ours but the client itself.
    line.peers[peerNames.first()] = std::exchange(line.bareLoop, QString());
    const Measurement ours = median(turns.ours);
    line.isWithin &= ours.peakMegabytes - ours.idleMegabytes < mostMegabytes;
    print(line);
    return line.isWithin;
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    if (QCoreApplication::arguments().size() == 5)
        return doOneJob(QCoreApplication::arguments());
    TestServer server;
    makeBenchTable(server, rowCount());
    const QTemporaryDir folder;
    const QString large = folder.filePath(QStringLiteral("large.sql"));
    const QString small = folder.filePath(QStringLiteral("small.sql"));
    writeLarge(server, large);
    const int smallStatements = rowCount() / 10;
    writeSmall(small, smallStatements);
    bool isWithin = true;
    for (const QString &driver : {QStringLiteral("native"), QStringLiteral("odbc")}) {
        isWithin &=
            compare(server, driver,
                    QStringLiteral("file of %1 MB run").arg(QFile(large).size() / 1000 / 1000), large);
        isWithin &= compare(server, driver,
                            QStringLiteral("file of %L1 small statements").arg(smallStatements), small);
    }
    return isWithin ? 0 : 1;
}
