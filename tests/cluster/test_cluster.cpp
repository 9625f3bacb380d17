#include "core/command/doubt.h"
#include "core/command/serverrole.h"
#include "maintenance/tablebatches.h"
#include "maintenance/tablechange/tablechange.h"
#include "support/balancer.h"
#include "support/cuttingproxy.h"
#include "support/gui/stage.h"
#include "support/testcluster.h"
#include "transfer/copy/sameserver.h"
#include "users/accountcommands.h"

#include <chrono>
#include <thread>

using AccountRun = AccountOutcome (*)(AccountContext &);
Q_DECLARE_METATYPE(AccountRun)

using Cut = CuttingProxy::Cut;
using namespace std::chrono_literals;

namespace {

// Calls something while a statement waits for the server, as an event of the windows would.
class HookPump : public Pump {
public:
    void wait(Completion &completion) override
    {
        if (completion.waitFor(300ms))
            return;
        if (const auto hook = std::exchange(once, nullptr))
            hook();
        while (!completion.waitFor(1h)) {
        }
    }
    std::function<void()> once;
};

// Calls something before the n-th statement from now on (from 0).
class HookedConnection : public Connection {
public:
    HookedConnection(std::unique_ptr<Connection> inner, int statement, std::function<void()> hook)
        : m_inner(std::move(inner))
        , m_left(statement)
        , m_hook(std::move(hook))
    {
    }
    void open() override { m_inner->open(); }
    void close() override { m_inner->close(); }
    bool isOpen() const override { return m_inner->isOpen(); }
    QString connectionString() const override { return m_inner->connectionString(); }
    ServerInfo server() const override { return m_inner->server(); }
    Encryption encryption() const override { return m_inner->encryption(); }
    bool isBusy() const override { return m_inner->isBusy(); }
    void cancel() override { m_inner->cancel(); }
    RecordSet execute(const QString &statement) override
    {
        if (m_left-- == 0)
            m_hook();
        return m_inner->execute(statement);
    }

private:
    std::unique_ptr<Connection> m_inner;
    int m_left;
    std::function<void()> m_hook;
};

const QString changedText = "CREATE TABLE t (a int auto_increment primary key, b text)";

} // namespace

// What the program promises where the server is one of three nodes, reached directly or through a balancer.
class ClusterTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void everyNodeIsAMember_data() { bothDrivers(); }
    void everyNodeIsAMember();
    void aStopKillsNobodyElse_data() { bothDrivers(); }
    void aStopKillsNobodyElse();
    void aTableChangeGoesOnAtAnotherNode_data();
    void aTableChangeGoesOnAtAnotherNode();
    void aRowOfAnotherNodeIsKeptOrRefused_data();
    void aRowOfAnotherNodeIsKeptOrRefused();
    void noRowOfABusyNodeIsLost();
    void whatOtherNodesDoNotHaveIsAskedFirst();
    void everyNodeForgetsWhatWasDeleted_data();
    void everyNodeForgetsWhatWasDeleted();
    void aNodeThatIsNotReadyChangesNothing();
    void aConflictAtTheCommitIsTold();
    void aNodeThatDiesEndsTheBatch(); // the last one: the node stays away

private:
    static void bothDrivers();
    void setUp();
    QString sumOf(const QString &table);
    int statementsBeforeCopy(const QString &text);

    std::unique_ptr<TestCluster> m_cluster;
    std::unique_ptr<Balancer> m_balancer;
    BlockingPump m_pump;
};

void ClusterTest::initTestCase()
{
    SKIP_WITHOUT_CLUSTER();
    m_cluster = std::make_unique<TestCluster>();
    m_balancer = std::make_unique<Balancer>(m_cluster->ports());
}

void ClusterTest::bothDrivers()
{
    QTest::addColumn<QString>("driver");
    row("built in", nativeDriverName());
    row("odbc", odbcDriver());
}

void ClusterTest::setUp()
{
    m_cluster->run("create or replace database d; use d;"
                   "create table t (a int auto_increment primary key, b varchar(40));"
                   "insert into t (b) select concat('行', seq) from seq_1_to_50;");
    // Another node may take a moment to have it.
    m_cluster->run("select count(*) from d.t", {}, 1);
}

QString ClusterTest::sumOf(const QString &table)
{
    return m_cluster->run("select count(*), sum(crc32(concat(a,'|',b))) from " + table, "d", 2);
}

void ClusterTest::everyNodeIsAMember()
{
    QFETCH(QString, driver);
    RealStage user(m_cluster->node(1), driver, {});
    Connection &connection = user.session.connection();
    QVERIFY(clusterOf(connection).isMember() && !readServerRole(connection).isForReading());
    m_cluster->setReady(1, false);
    const bool isStillMember = clusterOf(connection).isMember(); // such a node refuses most statements
    m_cluster->setReady(1, true);
    QVERIFY(isStillMember);
    // What is copied from one to another would be dropped at both.
    RealStage other(m_cluster->node(2), driver, {});
    QVERIFY(isSameServer(connection, other.session.connection()));
}

// The connection that carries the KILL is handed to another node, where the number of the own session is that
// of somebody else's, of the same account.
void ClusterTest::aStopKillsNobodyElse()
{
    QFETCH(QString, driver);
    HookPump pump;
    const auto connectTo = [&](int node, Pump &itsPump) {
        m_balancer->turnTo(node);
        const QString text = "driver={" + driver + "};server=127.0.0.1;uid=demo;pwd=demo;port=";
        auto connection = createConnection(text + QString::number(m_balancer->port()), itsPump);
        connection->open();
        return connection;
    };
    const auto numberOf = [](Connection &connection) {
        return connection.execute("select connection_id()").text(0).toInt();
    };
    auto own = connectTo(0, pump), other = connectTo(1, m_pump);
    while (numberOf(*own) != numberOf(*other)) {
        if (numberOf(*own) < numberOf(*other))
            own = connectTo(0, pump);
        else
            other = connectTo(1, m_pump);
    }
    QString others;
    std::thread stranger([&] {
        try {
            others = other->execute("select sleep(4)").text(0);
        } catch (const Failure &error) {
            others = error.description();
        }
    });
    QTest::qSleep(200);
    m_balancer->turnTo(1);
    pump.once = [&] { own->cancel(); };
    QString answer;
    try {
        RecordSet rows = own->execute("select sleep(30)");
        answer = rows.isEof() ? "no row" : rows.text(0);
    } catch (const Failure &error) {
        answer = error.description() + (error.isConnectionLost() || error.isInterrupted() ? "!" : "?");
    }
    stranger.join();
    QCOMPARE(others, "0");
    QVERIFY2(answer.endsWith(u'!'), qPrintable(answer));
}

void ClusterTest::aTableChangeGoesOnAtAnotherNode_data()
{
    QTest::addColumn<QString>("text");
    row("changed", changedText);
    row("refused and renamed", QString("CREATE TABLE u (a int auto_increment primary key, b date)"));
}

// A change reads for a while before it changes anything.
int ClusterTest::statementsBeforeCopy(const QString &text)
{
    setUp();
    RealStage user(m_cluster->node(0), nativeDriverName());
    user.clickTable("t");
    user.selection.txtField = text;
    m_cluster->node(0).takeStatements();
    user.run(changeTable);
    const QStringList statements = m_cluster->node(0).takeStatements();
    return static_cast<int>(statements.indexOf(QRegularExpression("^create table .*")));
}

// The answer to each statement in turn is lost, and whoever connects again reaches a node that is behind.
void ClusterTest::aTableChangeGoesOnAtAnotherNode()
{
    QFETCH(QString, text);
    CuttingProxy proxy(m_balancer->port());
    bool hasCut = true;
    int breaks = 0;
    for (int n = statementsBeforeCopy(text); hasCut; ++n) {
        setUp();
        const QString whole = sumOf("t");
        m_balancer->turnTo(0);
        RealStage user(m_cluster->node(0), nativeDriverName(), "d", proxy.port());
        user.clickTable("t");
        user.selection.txtField = text;
        auto blocker = createConnection(m_cluster->node(1).nativeString(), m_pump);
        blocker->open();
        blocker->execute("flush tables with read lock"); // it applies nothing for a while
        proxy.cutAt(n, Cut::Answer, true);
        std::atomic<bool> isOver = false;
        std::thread release([&] {
            while (!proxy.hasCut() && !isOver)
                std::this_thread::sleep_for(5ms);
            std::this_thread::sleep_for(isOver ? 0ms : 300ms);
            blocker->close();
        });
        user.run(changeTable);
        hasCut = proxy.hasCut();
        breaks += hasCut;
        isOver = true;
        release.join();
        proxy.cutAt(-2, Cut::Answer, true);
        const QStringList tables = m_cluster->run("show tables", "d", 2).split('\n', Qt::SkipEmptyParts);
        const QString where = QStringLiteral("%1: %2; %3 %4")
                                  .arg(n)
                                  .arg(tables.join(' '), user.told(), user.dialogue.lastError);
        QVERIFY2(tables.contains("t") && sumOf("t") == whole, qPrintable(where));
        for (const QString &table : tables)
            QVERIFY2(table == u"t" || user.told().contains(table), qPrintable(where));
    }
    QVERIFY(breaks >= 5);
}

void ClusterTest::aRowOfAnotherNodeIsKeptOrRefused_data()
{
    QTest::addColumn<bool>("isCommittedAtOnce");
    QTest::addColumn<QString>("more");
    row("committed at once, and others refer to the table", true,
        QString("create table c (a int, foreign key (a) references t (a))"));
    row("committed later", false, QString());
}

// Another node's client writes into the table between any two statements of the change.
void ClusterTest::aRowOfAnotherNodeIsKeptOrRefused()
{
    QFETCH(bool, isCommittedAtOnce);
    QFETCH(QString, more);
    bool isHooked = true;
    int kept = 0;
    for (int n = 0; isHooked; ++n) {
        setUp();
        m_cluster->run(more, "d");
        RealStage user(m_cluster->node(0), nativeDriverName());
        user.clickTable("t");
        user.selection.txtField = changedText;
        user.session.connection().execute(QStringLiteral("set autocommit=%1").arg(isCommittedAtOnce));
        isHooked = false;
        QString failure;
        user.session.gCn = std::make_unique<HookedConnection>(std::move(user.session.gCn), n, [&] {
            isHooked = true;
            auto other = createConnection(m_cluster->node(1).nativeString("d"), m_pump);
            try {
                other->open();
                other->execute("set session wsrep_sync_wait=15");
                other->execute("set session lock_wait_timeout=1");
                other->execute("insert into t (a, b) values (1001, 'other')");
            } catch (const Failure &error) {
                failure = error.description();
            }
        });
        user.run(changeTable);
        user.session.gCn->close();
        const QString there =
            m_cluster->run("select sum(b<>'other'), sum(b='other') from t", "d", 2).trimmed();
        const QString where = QStringLiteral("%1: %2 %3; %4 %5")
                                  .arg(n)
                                  .arg(there, failure, user.told(), user.dialogue.lastError);
        QCOMPARE(user.dialogue.questions, 1);
        QVERIFY2(there == (isHooked && failure.isEmpty() ? "50\t1" : "50\t0"), qPrintable(where));
        kept += there.endsWith(u'1');
        QCOMPARE(m_cluster->run("show triggers", "d"), QString());
    }
    QVERIFY(kept >= 5);
}

void ClusterTest::noRowOfABusyNodeIsLost()
{
    for (int round = 0; round < 10; ++round) {
        setUp();
        std::atomic<bool> isOver = false;
        int committed = 0, refused = 0;
        std::thread busy([&] {
            BlockingPump pump;
            auto other = createConnection(m_cluster->node(1).nativeString("d"), pump);
            other->open();
            while (!isOver) {
                try {
                    other->execute("insert into t (b) values ('other')");
                    ++committed;
                } catch (const Failure &) {
                    ++refused;
                }
            }
        });
        RealStage user(m_cluster->node(0), nativeDriverName());
        user.clickTable("t");
        // With the counter that is shown: else a new row may take an old one's number, and is put aside and
        // told.
        user.selection.txtField.replace("varchar(40)", "text");
        user.run(changeTable);
        isOver = true;
        busy.join();
        const QString there =
            m_cluster->run("select sum(b<>'other'), sum(b='other') from t", "d", 2).trimmed();
        const QString where = QStringLiteral("%1: %2, %3 refused; %4 %5")
                                  .arg(committed)
                                  .arg(there)
                                  .arg(refused)
                                  .arg(user.told(), user.dialogue.lastError);
        QVERIFY2(there == QStringLiteral("50\t%1").arg(committed), qPrintable(where));
        QVERIFY(committed > 0 && refused > 0);
    }
}

void ClusterTest::whatOtherNodesDoNotHaveIsAskedFirst()
{
    m_cluster->run("create or replace database d; create table d.m (a int) engine=MyISAM");
    RealStage user(m_cluster->node(0), nativeDriverName());
    user.clickTable("m");
    user.selection.txtField.replace("(11)", "(9)");
    user.run(changeTable);
    QVERIFY2(user.dialogue.lastQuestion.contains("MyISAM の行は他のﾉｰﾄﾞに複製されず"),
             qPrintable(user.dialogue.lastQuestion));
}

void ClusterTest::everyNodeForgetsWhatWasDeleted_data()
{
    QTest::addColumn<AccountRun>("command");
    QTest::addColumn<QString>("left"); // by SHOW GRANTS; empty: no account
    row("account", AccountRun(deleteAccount), QString());
    row("database right", AccountRun(deleteDatabaseGrant), QString("d.t"));
    row("table right", AccountRun(deleteTableGrant), QString("d.*"));
}

void ClusterTest::everyNodeForgetsWhatWasDeleted()
{
    QFETCH(AccountRun, command);
    QFETCH(QString, left);
    setUp();
    m_cluster->run("create or replace user u identified by 'p'; grant select, insert on d.* to u;"
                   "grant select on d.t to u");
    RealStage user(m_cluster->node(0), nativeDriverName());
    AccountForm form;
    form.account = {"%", "u"};
    form.accounts = {"%\tu"};
    form.global = form.globalBefore = Checks(26);
    form.database = Checks(17);
    form.table = Checks(4);
    form.databases = {"d"};
    form.tables = {"d\tt"};
    form.shownDatabase = form.shownTableDatabase = "d";
    form.shownTable = "t";
    form.addDatabase = form.addTableDatabase = noDatabase();
    AccountContext context{user.session, form, user.dialogue};
    command(context);
    for (int i = 0; i < TestCluster::size; ++i) {
        QString levels;
        if (m_cluster->run("select 1 from mysql.user where user='u'", {}, i) == u"1\n")
            levels = m_cluster->run("show grants for u", {}, i);
        levels.remove('`');
        const QString where = QStringLiteral("node %1: %2; %3").arg(i).arg(levels, user.told());
        QVERIFY2(left.isEmpty() ? levels.isEmpty() : levels.contains(" ON " + left), qPrintable(where));
        QCOMPARE(levels.count(" ON d."), left.isEmpty() ? 0 : 1);
    }
}

void ClusterTest::aNodeThatIsNotReadyChangesNothing()
{
    for (const Run command : {changeTable, optimizeTables}) {
        setUp();
        const QString whole = sumOf("t");
        RealStage user(m_cluster->node(1), nativeDriverName());
        user.listTables(m_cluster->node(1));
        user.clickTable("t");
        user.selection.txtField = changedText;
        m_cluster->setReady(1, false);
        user.run(command);
        m_cluster->setReady(1, true);
        QVERIFY2(user.dialogue.lastError.contains("WSREP has not yet prepared node"),
                 qPrintable(user.told() + user.dialogue.lastError));
        QCOMPARE(sumOf("t"), whole);
        QCOMPARE(m_cluster->run("show tables", "d"), "t\n");
    }
}

// A statement that two nodes cannot both have carried out ends the later transaction, not the connection.
void ClusterTest::aConflictAtTheCommitIsTold()
{
    setUp();
    RealStage user(m_cluster->node(0), nativeDriverName());
    Connection &connection = user.session.connection();
    connection.execute("begin");
    connection.execute("update d.t set b='first' where a=1");
    m_cluster->run("update d.t set b='second' where a=1", {}, 1);
    m_cluster->run("select 1"); // applied here as well
    try {
        connection.execute("commit");
        QFAIL("both were committed");
    } catch (const Failure &error) {
        QCOMPARE(error.number(), 1213);
        QCOMPARE(doubtAfter(user.session, error), Doubt::None);
    }
    RecordSet rows = connection.execute("select b from d.t where a=1");
    QCOMPARE(rows.text(0), "second");
}

void ClusterTest::aNodeThatDiesEndsTheBatch()
{
    m_cluster->run("create or replace database d; create table d.a (a int); create table d.b (a int);"
                   "create table d.c (a int)");
    RealStage user(m_cluster->node(2), nativeDriverName());
    user.listTables(m_cluster->node(2));
    user.session.gCn = std::make_unique<HookedConnection>(std::move(user.session.gCn), 1,
                                                          [&] { m_cluster->node(2).kill(); });
    user.run(checkTables);
    QCOMPARE(user.dialogue.told.size(), 1);
    QVERIFY2(user.dialogue.isCritical, qPrintable(user.told()));
    QCOMPARE(m_cluster->run("show tables", "d", 1), "a\nb\nc\n");
}

QTEST_GUILESS_MAIN(ClusterTest)
#include "test_cluster.moc"
