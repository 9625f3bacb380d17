// What the main window needs for its lists and for the first rows of a table, against a bare loop of the same
// statements over the same library, with the longest time for which the window stood still.
#include "bareloops.h"
#include "benchdata.h"
#include "browser/frmTarnwell.h"
#include "controls/window/windowpump.h"
#include "core/driver/connect.h"
#include "measurement.h"
#include "peers.h"
#include "table.h"
#include "windowbenchmark.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QTimer>
#include <QWindow>

#include <algorithm>
#include <cstdio>
#include <unistd.h>
#include <utility>

namespace {

struct Job {
    QString name, title, database;
    int tables;               // 0: the data viewer
    double factor, allowance; // seconds on top
};

const std::vector<Job> jobs{
    {QStringLiteral("viewer"), QStringLiteral("first 10,000 rows of a table"), benchDatabase(), 0, 1.5,
     0.020},
    {QStringLiteral("listing-1000"), QStringLiteral("listing 1,000 tables"), QStringLiteral("thousand"), 1000,
     1.25, 0},
    {QStringLiteral("listing-10000"), QStringLiteral("listing 10,000 tables"), QStringLiteral("tenthousand"),
     10000, 1.25, 0},
};

QString viewerStatement()
{
    return QStringLiteral("select * from `bench`.rows_of_text limit 10000 ;");
}

// What the window sends, in its order: tables that come in another order fare otherwise in the server's
// caches.
QStringList listingStatements(const TestServer &server, const Job &job)
{
    const QString list = QStringLiteral("show tables from `%1`;").arg(job.database);
    QStringList statements{list};
    for (const QString &name : server.run(list).split(u'\n', Qt::SkipEmptyParts))
        statements << QStringLiteral("show create table `%1`.%2;").arg(job.database, name);
    return statements << QStringLiteral("show procedure status ;") << QStringLiteral("show function status")
                      << QStringLiteral("show table status from `%1` ;").arg(job.database);
}

// All of them stay open in the server: otherwise its opening of tables is what would be measured, which takes
// 30 times as long as the answer. A kind of table without files, because MyISAM takes two files a table, more
// than a process may have open on many machines; for that reason the server also cuts the size of its cache
// when it is named at the start.
void makeTables(const TestServer &server, const Job &job)
{
    server.run(QStringLiteral("set global table_open_cache = 12000; create database %1").arg(job.database));
    QString text;
    for (int i = 1; i <= job.tables; ++i) {
        text +=
            QStringLiteral("create table t%1 (id int primary key, name varchar(40)) engine=memory;").arg(i);
        if (i % 1000 == 0)
            server.run(std::exchange(text, {}), job.database);
    }
}

void choose(ChosenList &list, const QString &text)
{
    for (int row = 0; row < list.count(); ++row)
        if (list.item(row)->text() == text)
            return list.setCurrentRow(row);
    qFatal("not listed: %s", qPrintable(text));
}

class Window {
public:
    Window(const QString &driver, int port)
    {
        m_session.programFolder = m_folder.path();
        m_session.connectBy([this](const QString &string) { return createConnection(string, m_pump); });
        m_window = std::make_unique<frmTarnwell>(m_session);
        m_window->show();
        control<QComboBox>("cboDrivers")->setEditText(driver);
        control<QLineEdit>("txtServer")->setText(QStringLiteral("127.0.0.1"));
        control<QLineEdit>("txtUser")->setText(QStringLiteral("demo"));
        control<QLineEdit>("txtPass")->setText(QStringLiteral("demo"));
        control<QLineEdit>("txtPort")->setText(QString::number(port));
        control<QPushButton>("cmdConnect")->click();
        control<QPushButton>("cmdShowDb")->click();
        // The first painting, with its loading of fonts, belongs to the start.
        while (!m_window->windowHandle()->isExposed())
            QCoreApplication::processEvents();
        QCoreApplication::processEvents();
    }
    template <class Control>
    Control *control(const char *name) const
    {
        return m_window->findChild<Control *>(QLatin1String(name));
    }

private:
    QTemporaryDir m_folder;
    WindowPump m_pump;
    Session m_session;
    std::unique_ptr<frmTarnwell> m_window;
};

// Times the click alone. The first stall ends where the click begins.
Measurement timed(const std::function<void()> &click)
{
    double longest = 0;
    QElapsedTimer clock;
    QTimer timer;
    const auto comeRound = [&] {
        longest = std::max(longest, static_cast<double>(clock.nsecsElapsed()) / 1e6);
        clock.start();
    };
    timer.callOnTimeout(comeRound);
    clock.start();
    timer.start(1);
    Measurement measurement = measure(click);
    comeRound();
    measurement.stallMilliseconds = longest;
    return measurement;
}

Measurement inTheWindow(const Job &job, const QString &driver, int port)
{
    Window window(driver, port);
    auto *databases = window.control<ChosenList>("lstDb");
    auto *tables = window.control<ChosenList>("lstTables");
    if (job.tables > 0) {
        const Measurement result = timed([&] { choose(*databases, job.database); });
        if (tables->count() != job.tables)
            qFatal("%d tables listed", int(tables->count()));
        return result;
    }
    choose(*databases, job.database);
    choose(*tables, QStringLiteral("[TABLE]\trows_of_text"));
    auto *limit = window.control<QComboBox>("cboLimit");
    limit->setCurrentIndex(limit->findText(QStringLiteral("10000"), Qt::MatchContains));
    const Measurement result = timed([&] { window.control<QPushButton>("cmdDataGet")->click(); });
    if (window.control<FlexGrid>("flGrid_Data")->rowCount() != 10000)
        qFatal("not all rows came");
    return result;
}

QStringList linesOf(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("%s: %s", qPrintable(path), qPrintable(file.errorString()));
    return QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
}

// "viewer native bare <connection string> <port> <file of statements>": one job in this process.
int doOneJob(const QStringList &arguments)
{
    const Job &job =
        *std::find_if(jobs.begin(), jobs.end(), [&](const Job &each) { return each.name == arguments[1]; });
    const bool isNative = arguments[2] == u"native";
    const int port = arguments[5].toInt();
    if (arguments[3] == u"bare") {
        const QStringList statements = linesOf(arguments[6]);
        double seconds = 0;
        Measurement result = measure([&] {
            seconds = isNative ? BareNative::secondsFor(port, statements)
                               : BareOdbc::secondsFor(arguments[4], statements);
        });
        result.seconds = seconds;
        print(result);
    } else {
        print(
            inTheWindow(job, isNative ? nativeDriverName() : QStringLiteral("MySQL ODBC 3.51 Driver"), port));
    }
    return 0;
}

bool compare(const TestServer &server, const QString &driver, const Job &job)
{
    const QString string = driver == u"native" ? server.nativeString() : server.odbcString();
    const QString port = QString::number(server.port());
    QTemporaryFile statements;
    statements.open();
    const QStringList texts =
        job.tables > 0 ? listingStatements(server, job) : QStringList{viewerStatement()};
    statements.write(texts.join(u'\n').toUtf8());
    statements.close();
    const auto arguments = [&](const char *by) {
        return QStringList{job.name, driver, QLatin1String(by), string, port, statements.fileName()};
    };
    // The server opens the tables now, and not in the first run.
    measureElsewhere(arguments("bare"));
    const Turns turns = measureByTurns(arguments("bare"), arguments("window"));
    TableLine line = comparedLine(job.title, driver, turns, job.factor, job.allowance);
    const double stall = median(turns.ours).stallMilliseconds;
    line.stall = QStringLiteral("%1 ms").arg(stall, 0, 'f', 0);
    line.isWithin &= stall <= 50;
    if (driver == u"native")
        addPeers(line, peerSeconds(server, texts, job.tables > 0 ? Shown::AsLines : Shown::AsTable));
    print(line);
    return line.isWithin;
}

bool compareAll()
{
    TestServer server({QStringLiteral("--table-definition-cache=12000")});
    makeBenchTable(server, 20000);
    bool isWithin = true;
    for (const Job &job : jobs) {
        if (job.tables > 0)
            makeTables(server, job);
        for (const QString &driver : {QStringLiteral("native"), QStringLiteral("odbc")})
            isWithin &= compare(server, driver, job);
    }
    return isWithin;
}

} // namespace

int main(int argc, char *argv[])
{
    return runWindowBenchmark(argc, argv, doOneJob, compareAll);
}
