// The server's window on a server of 5,000 sessions: for how long it stands still while the list is read
// anew; and what it costs to leave it open.
#include "benchsession.h"
#include "measurement.h"
#include "server/keyedlist.h"
#include "server/serverpage.h"
#include "server/serverwindow.h"
#include "support/gui/control.h"
#include "support/testserver.h"
#include "table.h"
#include "windowbenchmark.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTabWidget>
#include <QTest>
#include <QTimer>
#include <QWindow>

#include <algorithm>
#include <cstdio>
#include <mysql.h>
#include <sys/resource.h>

namespace {

constexpr double boundOfStall = 50;   // milliseconds
constexpr double boundOfShare = 2;    // percent of one core
constexpr double boundOfGrowth = 2;   // megabytes
constexpr int refreshesAnHour = 1800; // every two seconds
constexpr int busySessions = 10;      // one of so many runs a statement

// Open until the end; some run a statement that does not end.
class Sessions {
public:
    Sessions(int port, int count)
    {
        for (int i = 0; i < count; ++i) {
            MYSQL *handle = mysql_init(nullptr);
            if (!mysql_real_connect(handle, "127.0.0.1", "demo", "demo", nullptr, static_cast<unsigned>(port),
                                    nullptr, 0))
                qFatal("session %d: %s", i, mysql_error(handle));
            const QByteArray statement = "select sleep(3600), 'statement " + QByteArray::number(i) + "'";
            if (i % busySessions == 0)
                mysql_send_query(handle, statement.constData(), static_cast<unsigned long>(statement.size()));
        }
    }
};

class Window {
public:
    explicit Window(const QString &port)
        : m_open(QStringLiteral("native"), port)
    {
        m_window = new ServerWindow(m_open.session, {});
        m_window->setAttribute(Qt::WA_DeleteOnClose, false);
        m_timer.callOnTimeout(&m_timer, [this] { comeRound(); });
    }
    ~Window() { delete m_window; }
    // As the user opens it: the first rows come.
    void open()
    {
        m_window->show();
        while (!m_window->windowHandle()->isExposed() || list().rows().storedCount() == 0)
            QCoreApplication::processEvents();
    }
    void turnTo(const char *page)
    {
        control<QTabWidget>(*m_window, "serverPages").setCurrentWidget(&control<QWidget>(*m_window, page));
        wait();
    }
    void refresh()
    {
        control<QPushButton>(*m_window, "refreshServer").click();
        wait();
        QCoreApplication::processEvents(); // what was shown is painted
    }
    KeyedList &list() const { return control<KeyedList>(*m_window, "processList"); }
    QWidget &widget() const { return *m_window; }

    // The longest time in it for which the event loop did not come round.
    double stallIn(const std::function<void()> &job)
    {
        m_longest = 0;
        m_clock.start();
        m_timer.start(1);
        job();
        m_timer.stop();
        comeRound();
        return m_longest;
    }

private:
    void comeRound()
    {
        m_longest = std::max(m_longest, static_cast<double>(m_clock.nsecsElapsed()) / 1e6);
        m_clock.start();
    }
    void wait() const
    {
        auto *page =
            qobject_cast<ServerPage *>(control<QTabWidget>(*m_window, "serverPages").currentWidget());
        while (page->isWaiting())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }

    BenchSession m_open;
    ServerWindow *m_window;
    QTimer m_timer;
    QElapsedTimer m_clock;
    double m_longest = 0;
};

struct Job {
    const char *name, *title;
    std::function<void(Window &)> prepare;
};

const std::vector<Job> &jobs()
{
    enum Column { Id = 1, Seconds = 6, Statement = 10 };
    static const std::vector<Job> all{
        {"plain", "unsorted", [](Window &) {}},
        {"numbers", "sorted by seconds",
         [](Window &window) { window.list().sortByColumn(Seconds, Qt::DescendingOrder); }},
        {"texts", "sorted by statements",
         [](Window &window) { window.list().sortByColumn(Statement, Qt::DescendingOrder); }},
        {"filter", "filtered",
         [](Window &window) {
             control<QLineEdit>(window.widget(), "processFilter").setText(QStringLiteral("statement 1"));
         }},
        {"chosen", "all chosen",
         [](Window &window) {
             window.list().sortByColumn(Seconds, Qt::AscendingOrder);
             window.list().selectAll();
         }},
        {"picked", "half of them chosen", [](Window &window) {
             QItemSelection rows;
             for (int row = 0; row < window.list().rows().rowCount(); row += 2)
                 rows.select(window.list().rows().index(row, 0), window.list().rows().index(row, 0));
             window.list().selectionModel()->select(rows,
                                                    QItemSelectionModel::Select | QItemSelectionModel::Rows);
             window.list().sortByColumn(Seconds, Qt::AscendingOrder);
         }}};
    return all;
}

// Of the whole process, or of this thread: the windows'.
double processorSeconds(int whose)
{
    rusage usage{};
    getrusage(whose, &usage);
    const auto seconds = [](const timeval &time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// The processor time of this thread for one refresh, and the longest stall of several.
Measurement refreshes(Window &window, const QString &name)
{
    constexpr int times = 20;
    const Job &job =
        *std::ranges::find(jobs(), name, [](const Job &each) { return QLatin1String(each.name); });
    job.prepare(window);
    window.refresh();
    double stall = 0, seconds = 0;
    Measurement result = measure([&] {
        stall = window.stallIn([&] {
            const double before = processorSeconds(RUSAGE_THREAD);
            for (int i = 0; i < times; ++i)
                window.refresh();
            seconds = (processorSeconds(RUSAGE_THREAD) - before) / times;
        });
    });
    result.seconds = seconds;
    result.stallMilliseconds = stall;
    return result;
}

// Of one core, while the window refreshes itself.
Measurement share()
{
    const int seconds = runs() == 1 ? 10 : 30;
    const double before = processorSeconds(RUSAGE_SELF);
    QTest::qWait(seconds * 1000);
    return {.seconds = (processorSeconds(RUSAGE_SELF) - before) / seconds};
}

Measurement growth(Window &window, const QString &page)
{
    const auto refresh = [&window](int times) {
        for (int i = 0; i < times; ++i)
            window.refresh();
    };
    window.turnTo(qPrintable(page));
    refresh(refreshesAnHour / 6);
    return measure([&] { refresh(refreshesAnHour); });
}

// "stall numbers <port>", "share - <port>", "growth lockPage <port>": one job in this process.
int doOneJob(const QStringList &arguments)
{
    const QString &kind = arguments[1], &detail = arguments[2];
    Window window(arguments[3]);
    double stall = 0;
    Measurement result = measure([&] { stall = window.stallIn([&] { window.open(); }); });
    result.stallMilliseconds = stall;
    if (kind == u"stall")
        result = refreshes(window, detail);
    else if (kind == u"share")
        result = share();
    else if (kind == u"growth")
        result = growth(window, detail);
    print(result);
    return 0;
}

Measurement measured(const TestServer &server, const char *kind, const char *detail = "-")
{
    std::vector<Measurement> all;
    for (int run = 0; run < runs(); ++run)
        all.push_back(
            measureElsewhere({QLatin1String(kind), QLatin1String(detail), QString::number(server.port())}));
    return median(all);
}

bool tellStall(const TestServer &server, const QString &what, const char *kind, const char *detail)
{
    const Measurement result = measured(server, kind, detail);
    TableLine line;
    line.job = what;
    line.connection = QStringLiteral("native");
    line.ours = asSeconds(result.seconds);
    line.memory = asMegabytes(result.peakMegabytes - result.idleMegabytes);
    line.stall = QStringLiteral("%1 ms").arg(result.stallMilliseconds, 0, 'f', 0);
    line.isWithin = result.stallMilliseconds <= boundOfStall;
    print(line);
    return line.isWithin;
}

bool tellShare(const TestServer &server, const QString &what, bool isBound)
{
    const double percent = measured(server, "share").seconds * 100;
    TableLine line;
    line.job = what;
    line.connection = QStringLiteral("native");
    line.ours = QStringLiteral("%1 %").arg(percent, 0, 'f', 2);
    line.bound = isBound ? QStringLiteral("%1 %").arg(boundOfShare) : QStringLiteral("none");
    line.isWithin = !isBound || percent <= boundOfShare;
    print(line);
    return line.isWithin;
}

bool tellGrowth(const TestServer &server, const char *page)
{
    const Measurement result = measured(server, "growth", page);
    const double growth = result.peakMegabytes - result.idleMegabytes;
    TableLine line;
    line.job = QStringLiteral("%1 refreshes of %2").arg(refreshesAnHour).arg(QLatin1String(page));
    line.connection = QStringLiteral("native");
    line.ours = asSeconds(result.seconds);
    line.bound = asMegabytes(boundOfGrowth);
    line.memory = asMegabytes(growth);
    line.isWithin = growth <= boundOfGrowth;
    print(line);
    return line.isWithin;
}

bool compareAll()
{
    const TestServer server({QStringLiteral("--max-connections=6000"),
                             QStringLiteral("--open-files-limit=20000"), QStringLiteral("--back-log=1000")});
    bool isWithin = tellShare(server, QStringLiteral("server window open, of one core"), true);
    // Not of the pictures: they keep ten minutes, into which so many readings never come.
    for (const char *page : {"processPage", "lockPage", "statusPage", "replicationPage"})
        isWithin &= tellGrowth(server, page);
    const Sessions sessions(server.port(), 5000);
    isWithin &= tellStall(server, QStringLiteral("5,000 sessions, first reading"), "first", "-");
    for (const Job &job : jobs())
        isWithin &= tellStall(server, QStringLiteral("5,000 sessions, ") + QLatin1String(job.title), "stall",
                              job.name);
    tellShare(server, QStringLiteral("5,000 sessions, of one core"), false);
    return isWithin;
}

} // namespace

int main(int argc, char *argv[])
{
    return runWindowBenchmark(argc, argv, doOneJob, compareAll);
}
