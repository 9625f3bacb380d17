// What the main window needs for its lists and for the first rows of a table, against a bare loop of the same
// statements over the same library, with the longest time for which the window stood still.
#include "bareloops.h"
#include "benchdata.h"
#include "browser/frmTarnwell.h"
#include "controls/windowpump.h"
#include "core/connect.h"
#include "measurement.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>
#include <unistd.h>

namespace {

constexpr int runs = 5;

struct Job {
    QString name, database;
    int tables;               // 0: the data viewer
    double factor, allowance; // seconds on top
};

const std::vector<Job> jobs{
    {QStringLiteral("viewer-10000"), benchDatabase(), 0, 1.5, 0.020},
    {QStringLiteral("listing-1000"), QStringLiteral("thousand"), 1000, 1.25, 0},
    {QStringLiteral("listing-10000"), QStringLiteral("tenthousand"), 10000, 1.25, 0},
};

QString viewerStatement()
{
    return QStringLiteral("select * from `bench`.rows_of_text limit 10000 ;");
}

QStringList listingStatements(const Job &job)
{
    QStringList statements{QStringLiteral("show tables from `%1`;").arg(job.database)};
    for (int i = 1; i <= job.tables; ++i)
        statements << QStringLiteral("show create table `%1`.t%2").arg(job.database).arg(i);
    return statements << QStringLiteral("show procedure status ;") << QStringLiteral("show function status")
                      << QStringLiteral("show table status from `%1` ;").arg(job.database);
}

void makeTables(TestServer &server, const Job &job)
{
    QString text = QStringLiteral("create database %1; use %1;").arg(job.database);
    for (int i = 1; i <= job.tables; ++i)
        text +=
            QStringLiteral("create table t%1 (id int primary key, name varchar(40)) engine=myisam;").arg(i);
    server.run(text);
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
        m_session.makeConnection =
            logged([this](const QString &string) { return createConnection(string, m_pump); },
                   m_session.statementLog);
        m_window = std::make_unique<frmTarnwell>(m_session, m_pump);
        m_window->show();
        control<QComboBox>("cboDrivers")->setEditText(driver);
        control<QLineEdit>("txtServer")->setText(QStringLiteral("127.0.0.1"));
        control<QLineEdit>("txtUser")->setText(QStringLiteral("demo"));
        control<QLineEdit>("txtPass")->setText(QStringLiteral("demo"));
        control<QLineEdit>("txtPort")->setText(QString::number(port));
        control<QPushButton>("cmdConnect")->click();
        control<QPushButton>("cmdShowDb")->click();
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

double longestStall = 0;

// Times the click alone. The first stall ends where the click begins.
Measurement timed(const std::function<void()> &click)
{
    QElapsedTimer clock;
    QTimer timer;
    timer.callOnTimeout([&clock] {
        longestStall = std::max(longestStall, double(clock.nsecsElapsed()) / 1e6);
        clock.start();
    });
    clock.start();
    timer.start(1);
    const Measurement measurement = measure(click);
    longestStall = std::max(longestStall, double(clock.nsecsElapsed()) / 1e6);
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

// "viewer-10000 native bare <connection string> <port>": one job in this process.
int doOneJob(const QStringList &arguments)
{
    const Job &job =
        *std::find_if(jobs.begin(), jobs.end(), [&](const Job &each) { return each.name == arguments[1]; });
    const bool isNative = arguments[2] == u"native";
    const int port = arguments[5].toInt();
    if (arguments[3] == u"bare") {
        const QStringList statements =
            job.tables > 0 ? listingStatements(job) : QStringList{viewerStatement()};
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
        std::fprintf(stderr, "stall %.0f ms\n", longestStall);
    }
    return 0;
}

bool compare(const TestServer &server, const QString &driver, const Job &job)
{
    const QString string = driver == u"native" ? server.nativeString() : server.odbcString();
    const QString port = QString::number(server.port());
    std::vector<Measurement> bare, window;
    for (int run = 0; run < runs; ++run) {
        bare.push_back(measureElsewhere({job.name, driver, QStringLiteral("bare"), string, port}));
        window.push_back(measureElsewhere({job.name, driver, QStringLiteral("window"), string, port}));
    }
    const Measurement least = median(bare), ours = median(window);
    const double bound = least.seconds * job.factor + job.allowance;
    std::printf(
        "%-13s %-7s bare %.3f s   window %.3f s, %5.1f MB over idle   ratio %.2f (at most %.3f s)%s\n",
        qPrintable(job.name), qPrintable(driver), least.seconds, ours.seconds,
        ours.peakMegabytes - ours.idleMegabytes, ours.seconds / least.seconds, bound,
        ours.seconds <= bound ? "" : "  BEYOND");
    std::fflush(stdout);
    return ours.seconds <= bound;
}

} // namespace

int main(int argc, char *argv[])
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    if (QCoreApplication::arguments().size() == 6)
        return doOneJob(QCoreApplication::arguments());
    // Tables that the server need not open anew: else its cache is what is measured.
    TestServer server({QStringLiteral("--table-open-cache=12000"),
                       QStringLiteral("--table-definition-cache=12000"),
                       QStringLiteral("--open-files-limit=40000")});
    makeBenchTable(server, 20000);
    bool isWithin = true;
    for (const Job &job : jobs) {
        if (job.tables > 0)
            makeTables(server, job);
        for (const QString &driver : {QStringLiteral("native"), QStringLiteral("odbc")})
            isWithin &= compare(server, driver, job);
    }
    std::puts(isWithin ? "within the bounds" : "BEYOND A BOUND");
    return isWithin ? 0 : 1;
}
