#include "server/keyedlist.h"
#include "server/load/loadpage.h"
#include "server/serverwindow.h"
#include "support/gui/stage.h"
#include "support/testreplica.h"

#include <QSpinBox>
#include <QTabWidget>

#include <cmath>

// What the status values say of the load, and how it is shown.
class LoadTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void countersBecomeLines();
    void linesAndValuesAreShown_data() { TestServers::addRows(); }
    void linesAndValuesAreShown();
    void aReplicaThatReceivesNothingHasNoDelay();

private:
    TestServers m_servers;
};

void LoadTest::countersBecomeLines()
{
    LoadHistory history;
    const auto add = [&history](qint64 second, int uptime, int questions, int connected) {
        StatusSample sample;
        sample.time = 1'000'000 + second * 1000;
        sample.values = {{"Uptime", QString::number(uptime)},
                         {"Questions", QString::number(questions)},
                         {"Threads_connected", QString::number(connected)}};
        history.add(sample);
    };
    const auto points = [&history](int plot) {
        QStringList texts;
        for (const QPointF &point : history.lines(plot)[0].points)
            texts << (std::isnan(point.y()) ? "-" : QString::number(point.y()));
        return texts.join(' ');
    };
    add(0, 100, 1000, 3);
    add(2, 102, 1010, 4);
    add(4, 104, 1050, 3);
    QCOMPARE(points(0), "- 5 20");
    QCOMPARE(points(2), "3 4 3");
    // A new start counts from nothing: no jump down, and none up when it is seen.
    add(6, 1, 10, 1);
    add(8, 3, 14, 1);
    QCOMPARE(points(0), "- 5 20 - - 2");
    QCOMPARE(points(2), "3 4 3 - 1 1");
    QVERIFY(!history.hasValues(7)); // no replica
    // What is older than ten minutes goes.
    add(603, 598, 0, 9);
    QCOMPARE(points(2), "3 - 1 1 - 9");
}

void LoadTest::linesAndValuesAreShown()
{
    QFETCH(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    TestServer &server = m_servers.of(brand);
    Stage stage(Stage::Server::Real);
    stage.enter(nativeDriverName(), server.port(), "demo", "demo");
    auto *window = new ServerWindow(stage.session, {}, std::make_unique<ScriptedDialogue>());
    window->setAttribute(Qt::WA_DeleteOnClose, false);
    stage.open(window);
    stage.control<QSpinBox>("refreshSeconds")->setValue(1);
    auto *pages = stage.control<QTabWidget>("serverPages");
    auto *load = stage.control<LoadPage>("loadPage");
    pages->setCurrentWidget(load);
    QTRY_VERIFY_WITH_TIMEOUT(load->history().lines(0)[0].points.size() >= 3, 20'000);
    for (int plot = 0; plot < 7; ++plot)
        QVERIFY2(load->history().hasValues(plot), qPrintable(LoadHistory::caption(plot).title));
    auto *view =
        stage.control<QWidget>("plot_2")->findChild<QWidget *>(QString(), Qt::FindDirectChildrenOnly);
    QVERIFY(view);
    QVERIFY(!stage.control<QWidget>("plot_7")->isVisible());
    // What changes, and by how much.
    pages->setCurrentWidget(stage.control<QWidget>("statusPage"));
    KeyedList &list = *stage.control<KeyedList>("statusList");
    QTRY_VERIFY_WITH_TIMEOUT(list.rows().rowCount() > 200, 20'000);
    const int all = list.rows().rowCount();
    stage.check("onlyChanging");
    QTRY_VERIFY_WITH_TIMEOUT(list.choose("Uptime"), 20'000);
    QVERIFY(list.rows().rowCount() < all / 2);
    const double perSecond = list.rows().row(list.currentIndex().row()).cells[2].toDouble();
    QVERIFY2(perSecond > 0.2 && perSecond < 3, qPrintable(QString::number(perSecond)));
    stage.type("statusFilter", "uptime");
    QVERIFY(list.rows().rowCount() >= 1 && list.rows().rowCount() < 4);
}

// Its server says "0 seconds behind" then.
void LoadTest::aReplicaThatReceivesNothingHasNoDelay()
{
    TestReplica servers;
    Stage stage(Stage::Server::Real);
    stage.enter(nativeDriverName(), servers.replica.port(), "demo", "demo");
    auto *window = new ServerWindow(stage.session, {}, std::make_unique<ScriptedDialogue>());
    window->setAttribute(Qt::WA_DeleteOnClose, false);
    stage.open(window);
    stage.control<QSpinBox>("refreshSeconds")->setValue(1);
    auto *pages = stage.control<QTabWidget>("serverPages");
    auto *load = stage.control<LoadPage>("loadPage");
    pages->setCurrentWidget(load);
    QTRY_VERIFY_WITH_TIMEOUT(stage.control<QWidget>("plot_7")->isVisible(), 20'000);
    servers.replica.run("stop slave io_thread");
    const auto problem = [](const QWidget *page) { return control<QLabel>(*page, "pageProblem").text(); };
    QTRY_VERIFY_WITH_TIMEOUT(problem(load).contains("動いていない"), 20'000);
    QVERIFY(std::isnan(load->history().lines(7)[0].points.last().y()));
    auto *replication = stage.control<QWidget>("replicationPage");
    pages->setCurrentWidget(replication);
    QTRY_VERIFY_WITH_TIMEOUT(
        problem(replication).startsWith(servers.sourceName() + ": 受信 No、適用 Yes、遅れ 不明"), 20'000);
    servers.replica.run("start slave io_thread");
    QTRY_VERIFY_WITH_TIMEOUT(problem(replication).isEmpty(), 20'000);
}

QTEST_MAIN(LoadTest)
#include "test_load.moc"
