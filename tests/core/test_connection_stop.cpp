#include "connectiontests.h"
#include "core/driver/workerconnection.h"

using namespace std::chrono_literals;

// A server whose statement ends when its stop has been confirmed or the connection cut. It takes the two
// seconds for it that MariaDB needs when a KILL meets the end of its statement. A stop that it takes no
// notice of lets the statement succeed.
class SlowlyStoppedDriver : public Driver {
public:
    explicit SlowlyStoppedDriver(bool listens, bool succeeds = false)
        : m_listens(listens)
        , m_succeeds(succeeds)
    {
    }
    Opened connect() override { return {}; }
    std::unique_ptr<DriverResult> execute(const QString &) override
    {
        m_ended.waitFor(20s);
        if (m_succeeds)
            return nullptr;
        throw m_isCut ? Failure("cut", 2013, "08S01") : Failure("stopped", 1317, "70100");
    }
    void settle() override {}
    void disconnect() override {}
    Interruption interrupt(const Stop &stop) override
    {
        if (m_listens)
            stop.onReached();
        const bool isCut = m_ended.waitFor(2s);
        m_ended.finish();
        return isCut ? Interruption::NotReached : Interruption::Confirmed;
    }
    bool cut() override
    {
        m_isCut = true;
        m_ended.finish();
        return true;
    }

private:
    const bool m_listens, m_succeeds;
    Completion m_ended;
    std::atomic<bool> m_isCut = false;
};

class ConnectionStopTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { addBothConnections(); }
    void initTestCase() { m_server.run("create database d; create table d.t (a int) engine=myisam;"); }
    void serversOfAllAgesAreStopped_data() { TestServers::addRows(); }
    void serversOfAllAgesAreStopped();
    void stoppingWithinRowsOfTheBuiltInConnectionEndsThem();
    void aStopNeverStrikesTheNextStatement();
    void whatAStoppedStatementSaysIsTaken();
    void unreadRowsAreLeftAtOnce();
    void whileAStatementWaitsOnlyClosingIsPossible();
    void aRecordSetClosedWhileItWaitsIsLeftAlone();
    void aFrozenServerHoldsUpNothing();

private:
    QString string() const { return m_server.connectionString(isBuiltIn(), "d"); }

    TestServer m_server;
    TestServers m_servers;
    HookPump m_pump;
};

// Each has to recognise the session from the connection that carries the KILL.
void ConnectionStopTest::serversOfAllAgesAreStopped()
{
    QFETCH(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    if (brand == TestServer::Brand::MySql56 && !isBuiltIn())
        QSKIP("Connector/ODBC 3.1.15 does not connect to it");
    const auto open = connected(m_servers.of(brand).connectionString(isBuiltIn()), m_pump);
    open->execute("set @kept = 5");
    m_pump.once = [&] { open->cancel(); };
    QVERIFY(errorOf([&] { open->execute("select sleep(20)"); }).isInterrupted());
    QCOMPARE(valueOf(*open, "select @kept"), "5");

    // What a KILL strikes within a procedure succeeds all the same, and the next statement runs.
    for (const char *statement :
         {"create database if not exists d", "drop procedure if exists d.p",
          "create table if not exists d.t (a int)",
          "create procedure d.p() begin declare i int default 0; while i < 200 do do sleep(0.1); "
          "insert into d.t values (i); set i = i + 1; end while; end"})
        open->execute(statement);
    m_pump.once = [&] { open->cancel(); };
    // Should the KILL strike an INSERT, that is enough.
    const Failure error = errorOf([&] { open->execute("call d.p()"); });
    QVERIFY2(error.isConnectionLost() || error.isInterrupted(), qPrintable(error.description()));
    open->close();
    open->open();
    const QString count = "select count(*) from d.t", before = valueOf(*open, count);
    QTest::qWait(500);
    QCOMPARE(valueOf(*open, count), before);
}

void ConnectionStopTest::stoppingWithinRowsOfTheBuiltInConnectionEndsThem()
{
    if (!isBuiltIn())
        QSKIP("there is no such moment: the driver has taken in all rows before it gives the first one");
    const auto open = connected(string(), m_pump);
    open->execute("set @kept = 5");
    for (const bool isBetweenRows : {false, true}) { // or while the next ones are waited for
        int count = 0;
        const Failure error = errorOf([&] {
            RecordSet rows =
                open->execute("select seq, repeat('x', 100000), if(seq > 3, sleep(20), 0) from seq_1_to_20");
            if (isBetweenRows)
                open->cancel();
            else
                m_pump.once = [&] { open->cancel(); };
            for (; !rows.isEof(); rows.moveNext())
                ++count;
        });
        QVERIFY2(error.isInterrupted(), qPrintable(error.description()));
        QVERIFY(isBetweenRows || count >= 3);
        QCOMPARE(valueOf(*open, "select @kept"), "5");
    }
}

void ConnectionStopTest::aStopNeverStrikesTheNextStatement()
{
    const auto open = connected(string(), m_pump);
    open->cancel(); // when nothing runs
    QVERIFY(!open->isBusy());
    // Stops that come around the very moment when the statement ends.
    m_pump.delay = std::chrono::milliseconds(20);
    for (int round = 0; round < 40; ++round) {
        m_pump.once = [&] { open->cancel(); };
        try {
            open->execute(QStringLiteral("select sleep(%1)").arg(0.018 + 0.0003 * round));
        } catch (const Failure &error) {
            QVERIFY2(error.isInterrupted(), qPrintable(error.description()));
        }
        m_pump.once = nullptr;
        QCOMPARE(valueOf(*open, "select sleep(0.005)"), "0");
    }
    m_pump.delay = std::chrono::milliseconds(300);
}

// A server that listens is given time to stop; what succeeds in spite of its stop is done.
void ConnectionStopTest::whatAStoppedStatementSaysIsTaken()
{
    if (!isBuiltIn())
        QSKIP("the driver plays no part in it");
    for (const auto &[listens, succeeds] : {std::pair{true, false}, {false, false}, {true, true}}) {
        WorkerConnection connection(
            "x", [&] { return std::make_unique<SlowlyStoppedDriver>(listens, succeeds); }, m_pump);
        connection.open();
        m_pump.once = [&] { connection.cancel(); };
        if (succeeds) {
            QVERIFY(!connection.execute("drop table t").isOpen());
            continue;
        }
        const Failure error = errorOf([&] { connection.execute("select 1"); });
        QCOMPARE(error.isInterrupted(), listens);
        QCOMPARE(error.isConnectionLost(), !listens);
    }
}

void ConnectionStopTest::unreadRowsAreLeftAtOnce()
{
    const auto open = connected(string(), m_pump);
    open->execute("set @kept = 5");
    RecordSet rows = open->execute("select seq, repeat('x', 200) from seq_1_to_200000");
    rows.moveNext();
    rows.close();
    QCOMPARE(valueOf(*open, "select @kept"), "5");
    // A procedure goes on to its end all the same.
    m_server.run("delimiter |\ncreate or replace procedure d.p() begin truncate t; "
                 "select repeat('x', 1000) from seq_1_to_3000; insert into t values (1); end|\n");
    open->execute("call p()");
    QCOMPARE(valueOf(*open, "select count(*) from t"), "1");
}

void ConnectionStopTest::whileAStatementWaitsOnlyClosingIsPossible()
{
    auto open = connected(string(), m_pump);
    m_pump.once = [&] {
        QVERIFY(open->isBusy());
        QCOMPARE(errorOf([&] { open->execute("select 1"); }).description(),
                 "前の処理がまだ終わっていません。");
        open->close();
    };
    QCOMPARE(errorOf([&] { open->execute("select sleep(20)"); }).state(), "08003");
    QVERIFY(!open->isOpen() && !open->isBusy());
    // On the server it ends, too.
    QTRY_COMPARE(m_server.run("select count(*) from information_schema.processlist "
                              "where id <> connection_id() and info like '%select sleep%'"),
                 "0\n");
    open->open();
    RecordSet rows = open->execute("select seq, repeat('x', 1000) from seq_1_to_2000");
    m_pump.once = [&] { open.reset(); };
    Connection &connection = *open;
    QCOMPARE(errorOf([&] { connection.execute("select sleep(20)"); }).state(), "08003");
    QVERIFY(!rows.isOpen());
    rows.close();
}

void ConnectionStopTest::aRecordSetClosedWhileItWaitsIsLeftAlone()
{
    const auto open = connected(string(), m_pump);
    RecordSet rows =
        open->execute("select seq, repeat('x', 70000), if(seq = 4, sleep(1), 0) from seq_1_to_9");
    m_pump.once = [&] { rows.close(); };
    while (rows.isOpen() && !rows.isEof())
        rows.moveNext();
    m_pump.once = nullptr;
    QCOMPARE(valueOf(*open, "select 4"), "4");
}

// Neither stopping nor connecting nor closing; what waits for its answer hangs here.
void ConnectionStopTest::aFrozenServerHoldsUpNothing()
{
    const auto open = connected(string(), m_pump);
    auto second = connected(string(), m_pump);
    RecordSet rows = second->execute("select seq, repeat('x', 1000) from seq_1_to_100000");
    m_server.freeze();
    rows.close();
    second.reset();
    m_pump.once = [&] { open->cancel(); };
    const Failure error = errorOf([&] { open->execute("select 1"); });
    QVERIFY2(error.isConnectionLost(), qPrintable(error.description()));
    QVERIFY(errorOf([&] { open->execute("select 1"); }).isConnectionLost());
    open->close();
    m_pump.once = [&] { open->cancel(); };
    errorOf([&] { open->open(); });
    QVERIFY(!open->isOpen());
    m_server.resume();
    open->open();
    QCOMPARE(valueOf(*open, "select 4"), "4");
}

QTEST_GUILESS_MAIN(ConnectionStopTest)
#include "test_connection_stop.moc"
