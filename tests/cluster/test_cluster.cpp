#include "core/command/serverrole.h"
#include "maintenance/tablechange.h"
#include "stage.h"
#include "support/balancer.h"
#include "support/cuttingproxy.h"
#include "support/testcluster.h"

#include <chrono>
#include <thread>

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
    void aRowOfAnotherNodeIsKeptOrTold();

private:
    static void bothDrivers();
    void setUp();
    QString sumOf(const QString &table);

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
    QVERIFY(isClusterMember(connection) && !readServerRole(connection).isForReading());
    m_cluster->setReady(1, false);
    const bool isStillMember = isClusterMember(connection); // such a node refuses most statements
    m_cluster->setReady(1, true);
    QVERIFY(isStillMember);
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
        } catch (const SqlError &error) {
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
    } catch (const SqlError &error) {
        answer = error.description() + (error.isConnectionLost() || error.isInterrupted() ? "!" : "?");
    }
    stranger.join();
    qDebug() << answer << m_balancer->connections();
    QCOMPARE(others, "0");
    QVERIFY2(answer.endsWith(u'!'), qPrintable(answer));
}

void ClusterTest::aTableChangeGoesOnAtAnotherNode_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("isBehind"); // the other node applies nothing for a while
    const QString refused = "CREATE TABLE t (a int auto_increment primary key, b date)";
    row("changed", changedText, false);
    row("changed, node behind", changedText, true);
    row("refused, node behind", refused, true);
    row("renamed, node behind", QString("CREATE TABLE u (b varchar(90), a bigint)"), true);
}

// The connection breaks at each statement in turn, and whoever connects again reaches the next node.
void ClusterTest::aTableChangeGoesOnAtAnotherNode()
{
    QFETCH(QString, text);
    QFETCH(bool, isBehind);
    CuttingProxy proxy(m_balancer->port());
    for (const Cut what : {Cut::Request, Cut::Answer}) {
        bool hasCut = true;
        for (int n = 0; hasCut; ++n) {
            setUp();
            const QString whole = sumOf("t");
            m_balancer->turnTo(0);
            RealStage user(m_cluster->node(0), nativeDriverName(), "d", proxy.port());
            user.clickTable("t");
            user.selection.txtField = text;
            auto blocker = createConnection(m_cluster->node(1).nativeString(), m_pump);
            blocker->open();
            if (isBehind)
                blocker->execute("flush tables with read lock");
            proxy.cutAt(n, what, true);
            std::atomic<bool> isOver = false;
            std::thread release([&] {
                while (!proxy.hasCut() && !isOver)
                    std::this_thread::sleep_for(5ms);
                std::this_thread::sleep_for(isOver ? 0ms : 700ms);
                blocker->close();
            });
            user.run(changeTable);
            hasCut = proxy.hasCut();
            isOver = true;
            release.join();
            proxy.cutAt(-2, Cut::Request, true);
            const QStringList tables = m_cluster->run("show tables", "d", 2).split('\n', Qt::SkipEmptyParts);
            QString found;
            for (const QString &table : tables)
                found +=
                    table + ' ' + m_cluster->run("select count(*) from " + table, "d", 2).trimmed() + ' ';
            const QString where = QStringLiteral("%1 %2: %3; %4 %5")
                                      .arg(n)
                                      .arg(what == Cut::Answer ? "answer" : "request", found, user.told(),
                                           user.dialogue.lastError);
            qDebug().noquote() << where;
            const QString name = tables.contains("t") ? "t" : "u";
            QVERIFY2(tables.contains(name) && sumOf(name) == whole, qPrintable(where));
            for (const QString &table : tables)
                QVERIFY2(table == name || user.told().contains(table), qPrintable(where));
        }
    }
}

// Another node's client writes into the table between any two statements of the change.
void ClusterTest::aRowOfAnotherNodeIsKeptOrTold()
{
    bool isHooked = true;
    for (int n = 0; isHooked; ++n) {
        setUp();
        RealStage user(m_cluster->node(0), nativeDriverName());
        user.clickTable("t");
        user.selection.txtField = changedText;
        isHooked = false;
        QString failure;
        user.session.gCn = std::make_unique<HookedConnection>(std::move(user.session.gCn), n, [&] {
            isHooked = true;
            BlockingPump pump;
            auto other = createConnection(m_cluster->node(1).nativeString("d"), pump);
            try {
                other->open();
                other->execute("set session wsrep_sync_wait=15");
                other->execute("set session lock_wait_timeout=1");
                other->execute("insert into t (a, b) values (1001, 'other')");
            } catch (const SqlError &error) {
                failure = error.description();
            }
        });
        user.run(changeTable);
        const QString there = m_cluster->run("select count(*), sum(a=1001) from t", "d", 2).trimmed();
        const QString where = QStringLiteral("%1: %2 %3; %4 %5")
                                  .arg(n)
                                  .arg(there, failure, user.told(), user.dialogue.lastError);
        qDebug().noquote() << where;
        QVERIFY2(there.endsWith("\t1") || !failure.isEmpty() ||
                     user.dialogue.lastQuestion.contains("失われることがあります"),
                 qPrintable(where));
    }
}

QTEST_GUILESS_MAIN(ClusterTest)
#include "test_cluster.moc"
