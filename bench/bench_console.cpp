// A million rows through the console: into the file alone, and into grid and text, against bare loops over
// the same libraries and against other clients. The longest stall of the window and the answer to a stop
// are measured in the same runs.
#include "bareloops.h"
#include "benchdata.h"
#include "console/frmSql.h"
#include "controls/windowpump.h"
#include "core/basconnection.h"
#include "core/connect.h"
#include "measurement.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QStandardPaths>
#include <QTimer>

#include <cstdio>

namespace {

// The boxes of a run without anybody before it: what is told is kept, and when.
class SilentDialogue : public Dialogue {
public:
    bool confirm(const QString &, Icon) override { return true; }
    bool ask(const QString &) override { return true; }
    void tell(const QString &text, Icon) override
    {
        told = text;
        sinceTold.start();
    }
    QString chooseFolder(const QString &, const QString &) override { return {}; }
    RestoreChoice chooseBackups() override { return {}; }
    void progress(int, int) override {}
    void progressBar(double) override {}
    QString target() const override { return {}; }
    void setTarget(const QString &) override {}
    void setLastError(const QString &, bool) override {}
    void setBusy(bool) override {}
    void refresh() override {}

    QString told;
    QElapsedTimer sinceTold;
};

// The longest time that the event loop did not come round.
class StallClock {
public:
    explicit StallClock(QObject *owner)
    {
        m_clock.start();
        auto *timer = new QTimer(owner);
        QObject::connect(timer, &QTimer::timeout, owner,
                         [this] { m_longest = std::max(m_longest, m_clock.restart()); });
        timer->start(1);
    }
    void restart()
    {
        m_clock.restart();
        m_longest = 0;
    }
    qint64 longest() { return std::max(m_longest, m_clock.elapsed()); }

private:
    QElapsedTimer m_clock;
    qint64 m_longest = 0;
};

class BenchConsole {
public:
    BenchConsole(const QString &connectionString, const QString &folder)
    {
        m_session.programFolder = folder;
        m_session.gDsn = noDataSource();
        m_session.gDelimiter = QStringLiteral("ﾀﾌﾞ");
        m_session.gCn = createConnection(connectionString, m_pump);
        m_session.gCn->open();
        auto dialogue = std::make_unique<SilentDialogue>();
        m_dialogue = dialogue.get();
        m_window = new frmSql(
            m_session, [] { return true; }, std::move(dialogue));
        m_window->show();
        for (int i = 0; i < 20; ++i)
            QApplication::processEvents();
    }
    ~BenchConsole() { delete m_window; }

    template <class Control>
    Control &control(const char *name)
    {
        return *m_window->findChild<Control *>(QLatin1String(name));
    }
    void run(const QString &statement, bool isFileOnly)
    {
        control<QCheckBox>("ckNoTextNoGrid").setChecked(isFileOnly);
        control<SqlTextBox>("txtSql").setContents(statement);
        control<QPushButton>("cmdExec").click();
        QApplication::processEvents();
    }
    frmSql &window() { return *m_window; }
    SilentDialogue &dialogue() { return *m_dialogue; }

private:
    WindowPump m_pump;
    Session m_session;
    SilentDialogue *m_dialogue;
    frmSql *m_window;
};

// Milliseconds from the stop button to the message, once a third of the rows has arrived.
qint64 timeToStop(BenchConsole &console, const QString &statement, int rows)
{
    QElapsedTimer sinceClick;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        if (console.control<QLabel>("lblRecordCount").text().toInt() < rows / 3)
            return;
        poll.stop();
        sinceClick.start();
        console.control<QPushButton>("cmdStop").click();
    });
    console.dialogue().told.clear();
    poll.start(1);
    console.run(statement, false);
    if (!sinceClick.isValid() || console.dialogue().told != u"処理を中断しました") {
        std::fprintf(stderr, "not stopped: %s\n", qPrintable(console.dialogue().told));
        std::exit(1);
    }
    return sinceClick.elapsed() - console.dialogue().sinceTold.elapsed();
}

std::size_t bareLoop(bool isNative, const QString &string, int port, const QString &path)
{
    std::FILE *file = path.isEmpty() ? nullptr : std::fopen(qPrintable(path), "wb");
    const std::size_t bytes = isNative ? BareNative::readRows(port, benchDatabase(), benchStatement(), file)
                                       : BareOdbc::readRows(string, benchStatement(), file);
    if (file)
        std::fclose(file);
    return bytes;
}

// "native file-only <connection string> <port> <folder> <times>": does one job and prints what it took.
int doOneJob(const QStringList &arguments)
{
    const QString job = arguments[2], string = arguments[3], folder = arguments[5];
    const bool isNative = arguments[1] == u"native";
    const int port = arguments[4].toInt();
    if (job.startsWith(u"bare")) {
        const QString path = job == u"bare-file" ? folder + QStringLiteral("/bare.txt") : QString();
        print(measure([&] { bareLoop(isNative, string, port, path); }));
        return 0;
    }
    BenchConsole console(string, folder);
    StallClock stalls(&console.window());
    const QString statement =
        arguments[6] == u"1" ? benchStatement()
                             : QStringLiteral("select t.* from rows_of_text t, seq_1_to_") + arguments[6];
    if (job == u"stop") {
        Measurement figures;
        figures.seconds = static_cast<double>(timeToStop(console, statement, 1000000)) / 1000;
        print(figures);
        return 0;
    }
    stalls.restart();
    Measurement figures = measure([&] { console.run(statement, job == u"file-only"); });
    if (console.control<QLabel>("lblRecordCount").text().toInt() < 1000000) {
        std::fprintf(stderr, "rows are missing: %s\n", qPrintable(console.dialogue().told));
        return 1;
    }
    if (job == u"stall")
        figures.seconds = static_cast<double>(stalls.longest()) / 1000;
    print(figures);
    return 0;
}

double secondsOfClient(const QString &program, const QStringList &arguments, const QString &input,
                       const QString &output)
{
    QProcess process;
    process.setStandardOutputFile(output);
    process.setStandardErrorFile(QProcess::nullDevice());
    QElapsedTimer clock;
    clock.start();
    process.start(program, arguments);
    process.write(input.toUtf8());
    process.closeWriteChannel();
    if (!process.waitForFinished(600000) || process.exitCode() != 0) {
        std::fprintf(stderr, "failed: %s\n", qPrintable(program));
        std::exit(1);
    }
    return static_cast<double>(clock.nsecsElapsed()) / 1e9;
}

class Comparison {
public:
    explicit Comparison(TestServer &server)
        : m_server(server)
    {
    }

    void compareDriver(const QString &driver);
    void compareClients();
    bool isWithin() const { return m_isWithin; }

private:
    static constexpr int runs = 5;

    Measurement once(const QString &driver, const QString &job, int times = 1)
    {
        const QString string = driver == u"native" ? m_server.nativeString(benchDatabase())
                                                   : m_server.odbcString(benchDatabase());
        return measureElsewhere(
            {driver, job, string, QString::number(m_server.port()), m_folder.path(), QString::number(times)});
    }
    void say(const QString &what, double figure, double bound)
    {
        const bool isGood = figure <= bound;
        m_isWithin &= isGood;
        std::printf("  %-44s %8.3f  bound %8.3f%s\n", qPrintable(what), figure, bound,
                    isGood ? "" : "  BEYOND");
        std::fflush(stdout);
    }

    TestServer &m_server;
    QTemporaryDir m_folder;
    double m_fileOnly = 0; // seconds, built in
    bool m_isWithin = true;
};

void Comparison::compareDriver(const QString &driver)
{
    std::vector<Measurement> bareFile, fileOnly, bare, views;
    for (int run = 0; run < runs; ++run) {
        bareFile.push_back(once(driver, QStringLiteral("bare-file")));
        fileOnly.push_back(once(driver, QStringLiteral("file-only")));
        bare.push_back(once(driver, QStringLiteral("bare")));
        views.push_back(once(driver, QStringLiteral("views")));
    }
    const Measurement file = median(fileOnly), view = median(views);
    std::printf("%s: bare loop %.3f s, with fwrite %.3f s; file only %.3f s; grid and text %.3f s\n",
                qPrintable(driver), median(bare).seconds, median(bareFile).seconds, file.seconds,
                view.seconds);
    say(QStringLiteral("file only / bare loop with fwrite"), file.seconds / median(bareFile).seconds, 1.2);
    say(QStringLiteral("grid and text / bare loop"), view.seconds / median(bare).seconds, 2.0);
    say(QStringLiteral("longest stall, s"), once(driver, QStringLiteral("stall")).seconds, 0.05);
    say(QStringLiteral("stop to message, s"), once(driver, QStringLiteral("stop")).seconds, 0.2);
    // The ODBC driver holds the whole result itself: that is no memory of the console.
    if (driver != u"native")
        return;
    m_fileOnly = file.seconds;
    const Measurement fourfold = once(driver, QStringLiteral("file-only"), 4);
    const double textMegabytes =
        static_cast<double>(QFileInfo(m_folder.filePath(QStringLiteral("bare.txt"))).size()) / (1 << 20);
    say(QStringLiteral("file only, 1 million rows, MB over idle"), file.peakMegabytes - file.idleMegabytes,
        40);
    say(QStringLiteral("file only, 4 million rows, MB over idle"),
        fourfold.peakMegabytes - fourfold.idleMegabytes, 40);
    say(QStringLiteral("grid and text, MB over idle / MB of text"),
        (view.peakMegabytes - view.idleMegabytes) / textMegabytes, 3.0);
}

void Comparison::compareClients()
{
    const QString output = m_folder.filePath(QStringLiteral("client.txt"));
    const QString statement = QStringLiteral("select * from bench.rows_of_text\n");
    const QStringList options{
        QStringLiteral("--no-defaults"), QStringLiteral("-S"),
        m_server.socketPath(),           QStringLiteral("-udemo"),
        QStringLiteral("-pdemo"),        QStringLiteral("--default-character-set=utf8mb4"),
        QStringLiteral("--batch")};
    const auto compare = [&](const QString &program, const QStringList &arguments) {
        if (QStandardPaths::findExecutable(program).isEmpty()) {
            std::printf("  %s is not installed: not compared\n", qPrintable(program));
            return;
        }
        std::vector<Measurement> times;
        for (int run = 0; run < 3; ++run)
            times.push_back({secondsOfClient(program, arguments, statement, output), 0, 0});
        say(QStringLiteral("file only, s; bound: ") + program + u' ' + arguments.last(), m_fileOnly,
            median(times).seconds);
    };
    compare(QStringLiteral("mariadb"), options);
    compare(QStringLiteral("mariadb"), options + QStringList{QStringLiteral("--quick")});
    compare(QStringLiteral("isql"), {QStringLiteral("demo"), QStringLiteral("demo"), QStringLiteral("demo"),
                                     QStringLiteral("-d\t"), QStringLiteral("-b")});
}

} // namespace

int main(int argc, char *argv[])
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    if (QCoreApplication::arguments().size() == 7)
        return doOneJob(QCoreApplication::arguments());
    TestServer server;
    makeBenchTable(server);
    Comparison comparison(server);
    comparison.compareDriver(QStringLiteral("native"));
    comparison.compareClients();
    comparison.compareDriver(QStringLiteral("odbc"));
    std::puts(comparison.isWithin() ? "within the bounds" : "BEYOND A BOUND");
    return comparison.isWithin() ? 0 : 1;
}
