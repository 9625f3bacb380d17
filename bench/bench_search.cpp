// From the last letter that is typed into the search to all that is found in the names and comments of 10,000
// tables, against a bare loop of the same statements over the same library.
#include "bareloops.h"
#include "benchsession.h"
#include "measurement.h"
#include "structure/search/hitlist.h"
#include "structure/search/namesearch.h"
#include "structure/search/searchwindow.h"
#include "support/gui/control.h"
#include "support/testserver.h"
#include "table.h"
#include "windowbenchmark.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>

#include <utility>

namespace {

constexpr int tableCount = 10000;
const QString text = QStringLiteral("customer_9"); // begins the name of so many columns:
constexpr int hitCount = 1 + 10 + 100 + 1000;

// Without files, as for the listing: see bench_window.
void makeTables(const TestServer &server)
{
    server.run(QStringLiteral("set global table_open_cache = 12000; create database many"));
    QString statements;
    for (int i = 1; i <= tableCount; ++i) {
        statements += QStringLiteral("create table t%1 (id int primary key, customer_%1 varchar(40) comment "
                                     "'注文 %1', note int, key by_customer (customer_%1)) engine=memory "
                                     "comment 'table %1';")
                          .arg(i);
        if (i % 1000 == 0)
            server.run(std::exchange(statements, {}), QStringLiteral("many"));
    }
}

Measurement inTheWindow(const QString &driver, const QString &port)
{
    const BenchSession open(driver, port);
    SearchWindow window(open.session);
    window.show();
    auto &line = control<QLineEdit>(window, "searchText");
    const auto &state = control<QLabel>(window, "searchState");
    const auto searchFor = [&](const QString &typed) {
        line.setText(typed);
        while (state.text().isEmpty() != typed.isEmpty() || state.text().contains(u'…'))
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    };
    searchFor(QStringLiteral("nowhere")); // it is connected then, and has painted
    searchFor({});
    const Measurement result = measure([&] { searchFor(text); });
    if (const int hits = control<HitList>(window, "searchHits").model()->rowCount(); hits != hitCount)
        qFatal("%d hits", hits);
    return result;
}

// "native bare <connection string> <port>": one job in this process.
Measurement measured(const QStringList &arguments)
{
    if (arguments[2] != u"bare")
        return inTheWindow(arguments[1], arguments[4]);
    const QStringList statements = nameStatements(text, {});
    double seconds = 0;
    Measurement result = measure([&] {
        seconds = arguments[1] == u"native" ? BareNative::secondsFor(arguments[4].toInt(), statements)
                                            : BareOdbc::secondsFor(arguments[3], statements);
    });
    result.seconds = seconds;
    return result;
}

bool compare(const TestServer &server, const QString &driver)
{
    constexpr double factor = 1.25, allowance = 0.050;
    const auto arguments = [&](const char *by) {
        return QStringList{driver, QLatin1String(by), server.connectionString(driver == u"native"),
                           QString::number(server.port())};
    };
    measureElsewhere(arguments("bare")); // the server opens its tables now
    const TableLine line =
        comparedLine(QStringLiteral("search of 10,000 tables"), driver,
                     measureByTurns(arguments("bare"), arguments("window")), factor, allowance);
    print(line);
    return line.isWithin;
}

int doOneJob(const QStringList &arguments)
{
    print(measured(arguments));
    return 0;
}

bool compareAll()
{
    const TestServer server({QStringLiteral("--table-definition-cache=12000")});
    makeTables(server);
    bool isWithin = true;
    for (const QString &driver : {QStringLiteral("native"), QStringLiteral("odbc")})
        isWithin &= compare(server, driver);
    return isWithin;
}

} // namespace

int main(int argc, char *argv[])
{
    return runWindowBenchmark(argc, argv, doOneJob, compareAll);
}
