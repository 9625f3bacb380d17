// A million rows through the console: into the file alone, and into grid and text, against bare loops over
// the same libraries and against other clients. The longest stall of the window and the answer to a stop
// are measured in the same runs.
#include "bareloops.h"
#include "benchdata.h"
#include "console/frmSql.h"
#include "controls/window/windowpump.h"
#include "core/driver/connect.h"
#include "core/session/basconnection.h"
#include "measurement.h"
#include "peers.h"
#include "table.h"
#include "windowbenchmark.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <utility>

namespace {

// The boxes of a run without anybody before it: what is told is kept, and when.
class SilentDialogue : public Dialogue {
public:
    bool warn(const QString &) override { return false; }
    bool confirm(const QString &, Icon) override { return true; }
    bool ask(const QString &) override { return true; }
    bool askCarefully(const QString &) override { return true; }
    int choose(const QString &, const QStringList &) override { return -1; }
    void tell(const QString &text, Icon) override
    {
        told = text;
        sinceTold.start();
    }
    QString chooseFolder(const QString &, const QString &) override { return {}; }
    RestoreChoice chooseBackups() override { return {}; }
    PendingAnswer askPending(const std::vector<PendingChange> &) override { return {}; }
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
        figures.seconds = static_cast<double>(timeToStop(console, statement, rowCount())) / 1000;
        print(figures);
        return 0;
    }
    stalls.restart();
    Measurement figures = measure([&] { console.run(statement, job == u"file-only"); });
    if (console.control<QLabel>("lblRecordCount").text().toInt() < rowCount()) {
        std::fprintf(stderr, "rows are missing: %s\n", qPrintable(console.dialogue().told));
        return 1;
    }
    figures.stallMilliseconds = static_cast<double>(stalls.longest());
    print(figures);
    return 0;
}

// A data source names no database.
QString peerStatement()
{
    return QStringLiteral("select * from bench.rows_of_text");
}

QString asMilliseconds(double seconds)
{
    return QStringLiteral("%1 ms").arg(seconds * 1000, 0, 'f', 0);
}

class Comparison {
public:
    explicit Comparison(TestServer &server)
        : m_server(server)
    {
    }

    void compareFileOnly(const QString &driver);
    void compareViews(const QString &driver);
    void compareStop(const QString &driver);
    bool isWithin() const { return m_isWithin; }

private:
    QStringList arguments(const QString &driver, const char *job, int times = 1) const
    {
        const QString string = driver == u"native" ? m_server.nativeString(benchDatabase())
                                                   : m_server.odbcString(benchDatabase());
        return {driver,          QLatin1String(job),    string, QString::number(m_server.port()),
                m_folder.path(), QString::number(times)};
    }
    void finish(const TableLine &line)
    {
        m_isWithin &= line.isWithin;
        print(line);
    }
    void addStall(TableLine &line, const Measurement &ours) const
    {
        line.stall = asMilliseconds(ours.stallMilliseconds / 1000);
        line.isWithin &= ours.stallMilliseconds <= 50;
    }

    TestServer &m_server;
    QTemporaryDir m_folder;
    const QString m_rows = QStringLiteral("%L1 rows into ").arg(rowCount());
    bool m_isWithin = true;
};

void Comparison::compareFileOnly(const QString &driver)
{
    const Turns turns = measureByTurns(arguments(driver, "bare-file"), arguments(driver, "file-only"));
    TableLine line = comparedLine(m_rows + QStringLiteral("the file"), driver, turns, 1.2);
    const Measurement ours = median(turns.ours);
    addStall(line, ours);
    // The ODBC driver holds the whole result itself: that is no memory of the console.
    if (driver != u"native")
        return finish(line);
    const QMap<QString, double> peers = peerSeconds(m_server, {peerStatement()}, Shown::AsLines);
    addPeers(line, peers);
    for (const double seconds : peers)
        line.isWithin &= ours.seconds <= seconds;
    const Measurement fourfold = measureElsewhere(arguments(driver, "file-only", 4));
    const double more = fourfold.peakMegabytes - fourfold.idleMegabytes;
    line.memory += QStringLiteral(", 4x: ") + asMegabytes(more);
    line.isWithin &= std::max(more, ours.peakMegabytes - ours.idleMegabytes) <= 40;
    finish(line);
}

void Comparison::compareViews(const QString &driver)
{
    const Turns turns = measureByTurns(arguments(driver, "bare"), arguments(driver, "views"));
    TableLine line = comparedLine(m_rows + QStringLiteral("grid and text"), driver, turns, 2.0);
    const Measurement ours = median(turns.ours);
    addStall(line, ours);
    if (driver == u"native") {
        const double text =
            static_cast<double>(QFileInfo(m_folder.filePath(QStringLiteral("bare.txt"))).size()) / (1 << 20);
        const double ratio = (ours.peakMegabytes - ours.idleMegabytes) / text;
        line.memory += QStringLiteral(", %1 x").arg(ratio, 0, 'f', 1);
        line.isWithin &= ratio <= 3.0;
        addPeers(line, peerSeconds(m_server, {peerStatement()}, Shown::AsTable));
    }
    finish(line);
}

void Comparison::compareStop(const QString &driver)
{
    const double seconds = measureElsewhere(arguments(driver, "stop")).seconds;
    TableLine line;
    line.job = QStringLiteral("stop to message, rows arriving");
    line.connection = driver;
    line.ours = asMilliseconds(seconds);
    line.bound = QStringLiteral("200 ms");
    line.isWithin = seconds <= 0.2;
    finish(line);
}

bool compareAll()
{
    TestServer server;
    makeBenchTable(server, rowCount());
    Comparison comparison(server);
    const QStringList drivers{QStringLiteral("native"), QStringLiteral("odbc")};
    for (const QString &driver : drivers)
        comparison.compareFileOnly(driver);
    for (const QString &driver : drivers)
        comparison.compareViews(driver);
    for (const QString &driver : drivers)
        comparison.compareStop(driver);
    return comparison.isWithin();
}

} // namespace

int main(int argc, char *argv[])
{
    return runWindowBenchmark(argc, argv, doOneJob, compareAll);
}
