#include "controls/grid/flexgrid.h"
#include "server/keyedlist.h"
#include "server/locks/lockreading.h"
#include "server/serverwindow.h"
#include "support/gui/stage.h"

#include <QDialog>
#include <QSpinBox>
#include <QTabWidget>
#include <QTreeWidget>

#include <thread>

namespace {

// A user's session with a statement of its own, on a thread until it is stopped.
class OtherSession : private Pump {
public:
    OtherSession(const TestServer &server, const QString &statement)
        : m_connection(createConnection(server.nativeString("d"), *this))
        , m_thread([this, statement] { run(statement); })
    {
        QVERIFY(m_isOpen.waitFor(std::chrono::seconds(20)));
    }
    ~OtherSession() override
    {
        m_isLeft = true;
        m_thread.join();
    }

    QString id, failure;
    std::atomic<bool> hasEnded = false;

private:
    void run(const QString &statement)
    {
        try {
            m_connection->open();
            id = m_connection->execute("select connection_id()").text(0);
            m_isOpen.finish();
            m_connection->execute(statement);
        } catch (const Failure &error) {
            failure = error.description();
        }
        hasEnded = true;
    }
    void wait(Completion &completion) override
    {
        while (!completion.waitFor(std::chrono::milliseconds(20)))
            if (m_isLeft)
                m_connection->cancel();
    }

    std::unique_ptr<Connection> m_connection;
    Completion m_isOpen;
    std::atomic<bool> m_isLeft = false;
    std::thread m_thread; // uses all of the above
};

// Something happens while the question waits.
struct SlowUser : ScriptedDialogue {
    std::function<void()> meanwhile = [] {};

    bool confirm(const QString &question, Icon icon) override
    {
        meanwhile();
        return ScriptedDialogue::confirm(question, icon);
    }
};

} // namespace

// The server's window with its connection on servers of each brand.
class ServerWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnAnyWarning(); }
    void cleanup();
    void runningStatementsAreShownAndStopped_data() { TestServers::addRows(); }
    void runningStatementsAreShownAndStopped();
    void whatIsGoneIsSaid();
    void missingRightsAreTold();
    void theServerIsWaitedFor();
    void rowsAreChangedInPlace();
    void whoBlocksStandsAtTheTop_data() { TestServers::addRows(); }
    void whoBlocksStandsAtTheTop();
    void waitsBecomeATree_data();
    void waitsBecomeATree();
    void theLastDeadlockIsFound();

private:
    void open(TestServer &server, const QString &account = "demo");
    void turnTo(const char *page)
    {
        control<QTabWidget>(*m_stage->window, "serverPages")
            .setCurrentWidget(&control<QWidget>(*m_stage->window, page));
    }
    KeyedList &list(const char *name) { return control<KeyedList>(*m_stage->window, name); }
    QString label(const char *name) { return control<QLabel>(*m_stage->window, name).text(); }
    QString problem(const char *page)
    {
        return control<QLabel>(control<QWidget>(*m_stage->window, page), "pageProblem").text();
    }
    // The cell of the session's row; a null text without one.
    QString cell(const QString &id, int column)
    {
        KeyedList &processes = list("processList");
        for (int row = 0; row < processes.rows().rowCount(); ++row)
            if (processes.rows().row(row).key == id)
                return processes.rows().row(row).cells[column];
        return {};
    }

    TestServers m_servers{{"--performance-schema=ON"}, [](TestServer &server) {
                              server.run("create database d; create table d.t (a int primary key, b int) "
                                         "engine=InnoDB; insert into d.t values (1, 1), (2, 2);"
                                         "create user visitor@'%' identified by 'demo'");
                          }};
    std::unique_ptr<Stage> m_stage;
    SlowUser *m_dialogue = nullptr;
};

void ServerWindowTest::open(TestServer &server, const QString &account)
{
    m_stage = std::make_unique<Stage>(Stage::Server::Real);
    m_stage->enter(nativeDriverName(), server.port(), account, "demo");
    auto dialogue = std::make_unique<SlowUser>();
    m_dialogue = dialogue.get();
    auto *window = new ServerWindow(m_stage->session, {}, std::move(dialogue));
    window->setAttribute(Qt::WA_DeleteOnClose, false);
    m_stage->open(window);
    control<QSpinBox>(*window, "refreshSeconds").setValue(1);
}

void ServerWindowTest::cleanup()
{
    m_stage.reset();
}

void ServerWindowTest::runningStatementsAreShownAndStopped()
{
    QFETCH(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    TestServer &server = m_servers.of(brand);
    OtherSession first(server, "select sleep(61), 'set password = ''verysecret'''"),
        second(server, "select sleep(62) from t");
    open(server);
    QTRY_VERIFY_WITH_TIMEOUT(cell(second.id, 10).contains("sleep(62)"), 20'000);
    QCOMPARE(cell(second.id, 0), "自分");
    QVERIFY(!cell(first.id, 10).contains("verysecret"));
    KeyedList &processes = list("processList");
    processes.sortByColumn(1, Qt::DescendingOrder);
    QVERIFY(processes.choose(second.id));
    m_stage->click("explainProcess");
    if (brand == TestServer::Brand::MySql56) {
        QTRY_VERIFY(label("processNote").contains("実行計画を教えません"));
    } else {
        QTRY_VERIFY(m_stage->window->findChild<QDialog *>("explainWindow"));
        auto &plan = control<FlexGrid>(*m_stage->window, "explainGrid");
        QCOMPARE(plan.text(0, 2), "t");
        delete plan.window();
    }
    // One question for all that is chosen; "no" leaves everything alone.
    const QString question =
        QString("サーバー 127.0.0.1:%1 で、1 個のセッションの文を止めます (KILL QUERY)。\r\n・%2 demo@%3: "
                "select sleep(62) from t\r\n続けますか？")
            .arg(server.port())
            .arg(second.id, cell(second.id, 3));
    m_dialogue->expectConfirm(question, Icon::Critical, false);
    m_stage->click("killStatement");
    m_dialogue->expectConfirm(question, Icon::Critical, true);
    m_stage->click("killStatement");
    QTRY_VERIFY_WITH_TIMEOUT(second.hasEnded, 20'000);
    QTRY_COMPARE(label("processNote"), "文を止めました: " + second.id);
    QVERIFY(!first.hasEnded);
    QVERIFY(processes.choose(first.id));
    m_dialogue->agrees = true;
    m_stage->click("killSession");
    QTRY_VERIFY_WITH_TIMEOUT(first.hasEnded, 20'000);
    QTRY_VERIFY(cell(first.id, 1).isNull());
    QVERIFY(!cell(second.id, 1).isNull());
    QCOMPARE(m_stage->session.statementLog->entries().back().statement, "KILL " + first.id);
}

void ServerWindowTest::whatIsGoneIsSaid()
{
    TestServer &server = m_servers.of(TestServer::Brand::MariaDb);
    auto other = std::make_unique<OtherSession>(server, "select sleep(63)");
    open(server);
    QTRY_VERIFY_WITH_TIMEOUT(cell(other->id, 10).contains("sleep(63)"), 20'000);
    press(*m_stage->window, {"refreshPaused"});
    QVERIFY(list("processList").choose(other->id));
    const QString id = other->id;
    other.reset();
    m_dialogue->agrees = true;
    m_stage->click("killSession");
    QTRY_COMPARE(label("processNote"), "もうありませんでした: " + id);
    QVERIFY(m_dialogue->told.isEmpty());
}

void ServerWindowTest::missingRightsAreTold()
{
    open(m_servers.of(TestServer::Brand::MariaDb), "visitor");
    QTRY_VERIFY_WITH_TIMEOUT(problem("processPage").contains("PROCESS 権限がない"), 20'000);
    QVERIFY(problem("processPage").contains("Access denied; you need"));
    QCOMPARE(list("processList").rows().rowCount(), 1);
}

void ServerWindowTest::theServerIsWaitedFor()
{
    TestServer server;
    server.run("create database d");
    open(server);
    QTRY_COMPARE_WITH_TIMEOUT(list("processList").rows().rowCount() > 0, true, 20'000);
    server.kill();
    QTRY_VERIFY_WITH_TIMEOUT(label("serverState").startsWith("接続が切れています"), 20'000);
    server.start();
    QTRY_VERIFY_WITH_TIMEOUT(label("serverState").contains("に読みました"), 30'000);
    // What was chosen before is left alone, since numbers begin anew, and that stays to be read.
    const OtherSession chosen(server, "select sleep(64)");
    QTRY_VERIFY_WITH_TIMEOUT(cell(chosen.id, 10).contains("sleep(64)"), 20'000);
    QVERIFY(list("processList").choose(chosen.id));
    m_dialogue->agrees = true;
    m_dialogue->meanwhile = [&] {
        server.kill();
        QTRY_VERIFY_WITH_TIMEOUT(label("serverState").startsWith("接続が切れています"), 20'000);
        server.start();
        QTRY_VERIFY_WITH_TIMEOUT(label("serverState").contains("に読みました"), 30'000);
    };
    m_stage->click("killSession");
    QTRY_VERIFY_WITH_TIMEOUT(label("processNote").contains("何も止めていません"), 20'000);
    QTest::qWait(1500); // read again meanwhile
    QVERIFY(label("processNote").contains("何も止めていません"));
}

// Thousands of sessions are updated where they stand: what is chosen stays, nothing is built anew.
void ServerWindowTest::rowsAreChangedInPlace()
{
    KeyedList processes("list", "list", {{"id", true}, {"seconds", true}, {"statement"}});
    const auto rowsAt = [](int seconds, int from) {
        std::vector<KeyedRow> rows;
        for (int id = from; id < from + 5000; ++id)
            rows.push_back({QString::number(id),
                            {QString::number(id), QString::number((id * 7 + seconds) % 5000), "x"}});
        return rows;
    };
    processes.show(rowsAt(0, 1));
    QVERIFY(processes.choose("4000"));
    const QPersistentModelIndex chosen = processes.currentIndex();
    QSignalSpy resets(processes.model(), &QAbstractItemModel::modelReset),
        inserted(processes.model(), &QAbstractItemModel::rowsInserted),
        removed(processes.model(), &QAbstractItemModel::rowsRemoved),
        changed(processes.model(), &QAbstractItemModel::dataChanged);
    processes.show(rowsAt(3, 1));
    QCOMPARE(changed.count(), 1);
    QCOMPARE(inserted.count() + removed.count(), 0);
    processes.sortByColumn(1, Qt::AscendingOrder);
    processes.show(rowsAt(5, 11)); // ten have gone, ten have come
    QCOMPARE(inserted.count(), 1);
    QCOMPARE(removed.count(), 1);
    QCOMPARE(resets.count(), 0);
    QCOMPARE(processes.currentKey(), "4000");
    QCOMPARE(chosen.data(KeyedRows::KeyRole).toString(), "4000");
    QCOMPARE(processes.rows().rowCount(), 5000);
    for (int row = 1; row < 5000; ++row)
        QVERIFY(processes.rows().row(row - 1).cells[1].toInt() <= processes.rows().row(row).cells[1].toInt());
    processes.rows().setFilter("４０００"); // of any width
    QVERIFY(processes.rows().rowCount() > 0 && processes.rows().rowCount() < 20);
    QCOMPARE(processes.currentKey(), "4000");
}

void ServerWindowTest::whoBlocksStandsAtTheTop()
{
    QFETCH(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    TestServer &server = m_servers.of(brand);
    const DirectConnection blocking(server);
    blocking("begin");
    blocking("update d.t set b = b + 1 where a = 1");
    const QString top = blocking("select connection_id()");
    OtherSession first(server, "update t set b = 7 where a = 1");
    OtherSession second(server, "alter table t add c int"); // waits for the table, not for a row
    open(server);
    turnTo("lockPage");
    auto &tree = control<QTreeWidget>(*m_stage->window, "lockTree");
    const auto hasBoth = [&] {
        return tree.topLevelItemCount() > 0 && tree.topLevelItem(0)->text(0) == top &&
               tree.findItems(first.id, Qt::MatchRecursive).size() == 1 &&
               tree.findItems(second.id, Qt::MatchRecursive).size() == 1;
    };
    QTRY_VERIFY_WITH_TIMEOUT(hasBoth(), 20'000);
    const QTreeWidgetItem &waiting = *tree.findItems(first.id, Qt::MatchRecursive).first();
    QCOMPARE(waiting.parent(), tree.topLevelItem(0));
    QVERIFY2(waiting.text(4).contains("`d`.`t`"), qPrintable(waiting.text(4)));
    QVERIFY(waiting.text(6).contains("set b = 7"));
    KeyedList &open = list("transactionList");
    QVERIFY(open.choose(top));
    QVERIFY(open.rows().row(open.currentIndex().row()).cells[1].toInt() >= 0);
    // It leads to the session in the list of processes.
    open.setFocus();
    QTest::keyClick(&open, Qt::Key_Return);
    QTRY_COMPARE(list("processList").currentKey(), top);
}

void ServerWindowTest::waitsBecomeATree_data()
{
    // "waiting<blocking", and the nodes as "session<parent".
    const Rows<QString, QString> row;
    row("nobody waits", "", "");
    row("one", "2<1", "1 2<1");
    row("a queue, in which each waits for all before it", "2<1 3<2 3<1 4<3 4<2 4<1", "1 2<1 3<1 4<1");
    row("a chain", "2<1 3<2", "1 2<1 3<2");
    row("a circle", "1<2 2<1 3<1", "1 2<1 3<1");
    row("for somebody who cannot be seen", "2< 3<2", "2 3<2");
}

void ServerWindowTest::waitsBecomeATree()
{
    const auto [text, nodes] = fetched<QString, QString>();
    std::vector<LockWait> waits;
    for (const QString &wait : text.split(' ', Qt::SkipEmptyParts))
        waits.push_back({wait.section('<', 0, 0), wait.section('<', 1), {}, {}, {}});
    QStringList found;
    const std::vector<LockNode> tree = lockTree(waits);
    for (const LockNode &node : tree)
        found << (node.parent < 0 ? node.session
                                  : node.session + '<' + tree[static_cast<std::size_t>(node.parent)].session);
    QCOMPARE(found.join(' '), nodes);
}

void ServerWindowTest::theLastDeadlockIsFound()
{
    const QString status = "\n------------------------\nLATEST DETECTED DEADLOCK\n------------------------\n"
                           "2026-11-22 *** (1) TRANSACTION:\nMySQL thread id 5, query id 9 localhost\n"
                           "update mysql.user\nset password = 'verysecret'\n*** (1) WAITING\nRECORD LOCKS x\n"
                           "------------\nTRANSACTIONS\n------------\nTrx id counter 9\n";
    const QString deadlock = lastDeadlock(status);
    QVERIFY(deadlock.startsWith("2026-11-22"));
    QVERIFY(deadlock.endsWith("RECORD LOCKS x"));
    QVERIFY(!deadlock.contains("verysecret"));
    QCOMPARE(lastDeadlock("\n------------\nTRANSACTIONS\n------------\n"), "");
}

QTEST_MAIN(ServerWindowTest)
#include "test_serverwindow.moc"
