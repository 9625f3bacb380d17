// Rows to nowhere and small statements, through each connection and through a bare loop over the same
// library.
#include "bareloops.h"
#include "benchdata.h"
#include "core/driver/connect.h"
#include "measurement.h"
#include "peers.h"
#include "table.h"

#include <QCoreApplication>

#include <cstdio>

namespace {

constexpr int smallStatements = 10000;

std::size_t readAll(Connection &connection, const QString &statement)
{
    std::size_t bytes = 0;
    for (RecordSet rows = connection.execute(statement); !rows.isEof(); rows.moveNext())
        for (const Cell &cell : rows.cells())
            bytes += cell.isNull ? 1 : cell.bytes.size();
    return bytes;
}

std::size_t throughTheSeam(const QString &connectionString, const QString &statement, int times)
{
    BlockingPump pump;
    const std::unique_ptr<Connection> connection = createConnection(connectionString, pump);
    connection->open();
    std::size_t bytes = 0;
    for (int i = 0; i < times; ++i)
        bytes += readAll(*connection, statement);
    return bytes;
}

// "native rows seam <connection string> <port>": does one job and prints what it took.
int doOneJob(const QStringList &arguments)
{
    const bool isNative = arguments[1] == u"native", hasRows = arguments[2] == u"rows",
               isBare = arguments[3] == u"bare";
    const QString statement = hasRows ? benchStatement() : QStringLiteral("select 1");
    const int times = hasRows ? 1 : smallStatements, port = arguments[5].toInt();
    std::size_t bytes = 0;
    const Measurement measurement = measure([&] {
        if (!isBare)
            bytes = throughTheSeam(arguments[4], statement, times);
        else if (isNative)
            bytes = hasRows ? BareNative::readRows(port, benchDatabase(), statement)
                            : BareNative::repeatSmall(port, statement, times);
        else
            bytes = hasRows ? BareOdbc::readRows(arguments[4], statement)
                            : BareOdbc::repeatSmall(arguments[4], statement, times);
    });
    if (bytes < (hasRows ? 100U * static_cast<unsigned>(rowCount()) : 10000U)) {
        std::fprintf(stderr, "only %zu bytes seen\n", bytes);
        return 1;
    }
    print(measurement);
    return 0;
}

struct Job {
    QString name, title;
    double bound;
};

bool compare(const TestServer &server, const QString &driver, const Job &job)
{
    const bool isNative = driver == u"native";
    const QString string =
        isNative ? server.nativeString(benchDatabase()) : server.odbcString(benchDatabase());
    const QString port = QString::number(server.port());
    const Turns turns = measureByTurns({driver, job.name, QStringLiteral("bare"), string, port},
                                       {driver, job.name, QStringLiteral("seam"), string, port});
    TableLine line = comparedLine(job.title, driver, turns, job.bound);
    const Measurement ours = median(turns.ours);
    // The ODBC driver holds the whole result itself.
    line.isWithin &= !isNative || ours.peakMegabytes - ours.idleMegabytes < 30;
    if (isNative && job.name == u"small")
        addPeers(line, peerSeconds(server, QStringList(smallStatements, QStringLiteral("select 1")),
                                   Shown::AsLines));
    print(line);
    return line.isWithin;
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    if (QCoreApplication::arguments().size() == 6)
        return doOneJob(QCoreApplication::arguments());
    TestServer server;
    makeBenchTable(server, rowCount());
    const QString rows = QStringLiteral("%L1 rows to nowhere").arg(rowCount());
    const QString small = QStringLiteral("%L1 small statements").arg(smallStatements);
    bool isWithin = true;
    for (const QString &driver : {QStringLiteral("native"), QStringLiteral("odbc")}) {
        isWithin &= compare(server, driver, {QStringLiteral("rows"), rows, 1.15});
        isWithin &= compare(server, driver, {QStringLiteral("small"), small, 1.3});
    }
    return isWithin ? 0 : 1;
}
