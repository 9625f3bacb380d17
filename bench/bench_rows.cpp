// Saving 1,000 changed rows, and the next page of a large table, as the data viewer does them and as a bare
// loop sends the same statements.
#include "bareloops.h"
#include "benchdata.h"
#include "controls/grid/flexgrid.h"
#include "core/driver/connect.h"
#include "core/session/basconnection.h"
#include "core/sql/statements.h"
#include "measurement.h"
#include "rows/rowreading.h"
#include "rows/rowsaver.h"
#include "rows/rowsquery.h"
#include "support/testserver.h"
#include "table.h"

#include <QApplication>
#include <QElapsedTimer>

namespace {

constexpr int changedRows = 1000;

struct Opened {
    explicit Opened(const QStringList &arguments)
    {
        session.connectBy(createConnection, pump);
        session.gDsn = noDataSource();
        session.gDriver =
            arguments[2] == u"native" ? nativeDriverName() : QStringLiteral("MySQL ODBC 3.51 Driver");
        session.gServer = QStringLiteral("127.0.0.1");
        session.gPort = arguments[5];
        session.gUser = session.gPass = QStringLiteral("demo");
        if (!fConnect(session))
            qFatal("no connection");
    }
    BlockingPump pump;
    Session session;
};

Measurement timed(const std::function<void()> &job)
{
    double seconds = 0;
    Measurement result = measure([&] {
        QElapsedTimer clock;
        clock.start();
        job();
        seconds = static_cast<double>(clock.nsecsElapsed()) / 1e9;
    });
    result.seconds = seconds;
    return result;
}

double secondsOfBare(const QStringList &arguments, const QStringList &statements)
{
    return arguments[2] == u"native" ? BareNative::secondsFor(arguments[5].toInt(), statements)
                                     : BareOdbc::secondsFor(arguments[4], statements);
}

Measurement bare(const QStringList &arguments, const QStringList &statements)
{
    double seconds = 0;
    Measurement result = measure([&] { seconds = secondsOfBare(arguments, statements); });
    result.seconds = seconds;
    return result;
}

Measurement save(const QStringList &arguments, bool isBare)
{
    Opened opened(arguments);
    Connection &connection = opened.session.connection();
    connection.execute(QStringLiteral("update bench.edited set n=0, name='before'"));
    const TableShape table = readTableShape(connection, benchDatabase(), QStringLiteral("edited"));
    std::vector<RowChange> changes;
    for (const auto &row : selectRows(connection, table, {}))
        changes.push_back({RowChange::Kind::Changed, 0, row, {{1, "1"}, {2, "after"}}});
    if (!isBare)
        return timed([&] {
            if (RowSaver(opened.session, table, changes).save([](auto &&...) {}).saved.size() != changedRows)
                qFatal("not all rows were saved");
        });
    QStringList statements{QStringLiteral("start transaction")};
    for (const RowChange &change : changes)
        statements << statementOf(table, change);
    return bare(arguments, statements << QStringLiteral("commit"));
}

Measurement page(const QStringList &arguments, bool isBare)
{
    Opened opened(arguments);
    Connection &connection = opened.session.connection();
    const TableShape table = readTableShape(connection, benchDatabase(), QStringLiteral("rows_of_text"));
    RowsQuery query;
    query.limit = 1000;
    query.place = RowsQuery::Place::After;
    query.row = selectRows(connection, table, QStringLiteral(" limit 1 offset %1").arg(rowCount() / 2)).at(0);
    const QString statement = rowsStatement(table, query);
    FlexGrid grid;
    if (isBare)
        return bare(arguments, {statement});
    return timed([&] {
        fillGrid(grid, connection.execute(statement));
        readTableShape(connection, benchDatabase(), QStringLiteral("rows_of_text"));
        if (grid.rowCount() != query.limit)
            qFatal("not all rows came");
    });
}

struct Job {
    const char *name;
    QString title;
    Measurement (*run)(const QStringList &arguments, bool isBare);
    double factor, allowance;
};

const Job jobs[] = {{"save", QStringLiteral("saving 1,000 changed rows"), save, 1.5, 0},
                    {"page", QStringLiteral("next page of 1,000 rows"), page, 1.5, 0.020}};

} // namespace

int main(int argc, char *argv[])
{
    const QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    for (const Job &job : jobs)
        if (arguments.size() == 6 && arguments[1] == QLatin1String(job.name)) {
            print(job.run(arguments, arguments[3] == u"bare"));
            return 0;
        }
    TestServer server;
    makeBenchTable(server, rowCount());
    server.run(QStringLiteral("alter table bench.rows_of_text add primary key (id);"
                              "create table bench.edited (id int primary key, n int, name varchar(20), "
                              "price decimal(10,2)) select seq as id, 0 as n, 'before' as name, 1.5 as price "
                              "from seq_1_to_%1")
                   .arg(changedRows));
    bool isWithin = true;
    for (const Job &job : jobs)
        for (const QString &driver : {QStringLiteral("native"), QStringLiteral("odbc")}) {
            const QString string = server.connectionString(driver == u"native", benchDatabase());
            const auto run = [&](const char *who) {
                return QStringList{QLatin1String(job.name), driver, QLatin1String(who), string,
                                   QString::number(server.port())};
            };
            const TableLine line = comparedLine(job.title, driver, measureByTurns(run("bare"), run("ours")),
                                                job.factor, job.allowance);
            print(line);
            isWithin &= line.isWithin;
        }
    return isWithin ? 0 : 1;
}
