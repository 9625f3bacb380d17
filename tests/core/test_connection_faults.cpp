#include "connectiontests.h"
#include "support/cuttingproxy.h"

#include <QRegularExpression>

class ConnectionFaultsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { addBothConnections(); }
    void initTestCase()
    {
        m_server.run("create database d; create table d.t (a int) engine=myisam; insert into d.t values (1)");
    }
    void aServerThatDiedBeforeAStatementIsAnError();
    void whatIsKilledFromElsewhereIsAnError();
    void aConnectionCutWithinAPacketIsAnError_data();
    void aConnectionCutWithinAPacketIsAnError();
    void aFailingConnectionGivesTheDriversWords();
    void aRefusedStatementGivesTheServersWords();

private:
    QString string() const { return m_server.connectionString(isBuiltIn(), "d"); }
    // What every lost connection must still bear: further statements, closing, opening again.
    void checkRecovery(Connection &connection);

    TestServer m_server;
    HookPump m_pump;
};

void ConnectionFaultsTest::checkRecovery(Connection &connection)
{
    for (int i = 0; i < 2; ++i)
        QVERIFY(errorOf([&] { connection.execute("select 1"); }).isConnectionLost());
    QVERIFY(errorOf([&] { connection.execute("optimize table t"); }).isConnectionLost());
    connection.close();
    connection.open();
    QCOMPARE(valueOf(connection, "select 4"), "4");
}

void ConnectionFaultsTest::aServerThatDiedBeforeAStatementIsAnError()
{
    const auto open = connected(string(), m_pump);
    RecordSet rows = open->execute("select 1 as a");
    m_server.kill();
    QVERIFY(errorOf([&] { open->execute("insert into t values (2)"); }).isConnectionLost());
    QCOMPARE(rows.text(0), "1");
    rows.moveNext();
    m_server.start();
    checkRecovery(*open);
}

void ConnectionFaultsTest::whatIsKilledFromElsewhereIsAnError()
{
    const auto open = connected(string(), m_pump);
    const QString id = valueOf(*open, "select connection_id()");
    m_pump.once = [&] { m_server.run(QStringLiteral("kill query ") + id); };
    const Failure error =
        errorOf([&] { open->execute("select count(*) from seq_1_to_100000 a, seq_1_to_100000 b"); });
    QVERIFY2(error.isInterrupted(), qPrintable(error.description()));
    QCOMPARE(valueOf(*open, "select 4"), "4");

    m_pump.once = [&] { m_server.run(QStringLiteral("kill connection ") + id); };
    const Failure lost = errorOf([&] { open->execute("select sleep(20)"); });
    QVERIFY2(lost.isConnectionLost(), qPrintable(lost.description()));
    checkRecovery(*open);
}

void ConnectionFaultsTest::aConnectionCutWithinAPacketIsAnError_data()
{
    const Rows<int> row;
    for (const int bytes : {1, 7, 17, 60, 100, 125, 300, 5000, 200000})
        QTest::addRow("%d", bytes) << bytes;
}

void ConnectionFaultsTest::aConnectionCutWithinAPacketIsAnError()
{
    const auto [bytes] = fetched<int>();
    CuttingProxy proxy(m_server.port());
    const QString through =
        string().replace(QRegularExpression("port=\\d+"), QStringLiteral("port=%1").arg(proxy.port()));
    {
        const auto open = connected(through, m_pump);
        proxy.cutAfter(bytes);
        const Failure error = errorOf([&] {
            RecordSet rows = open->execute("select seq, repeat('x', 1000) from seq_1_to_1000");
            while (!rows.isEof())
                rows.moveNext();
        });
        QVERIFY2(error.isConnectionLost(), qPrintable(error.description() + error.state()));
        proxy.cutAfter(-1);
        checkRecovery(*open);
    }
    proxy.cutAfter(std::min(bytes, 40));
    errorOf([&] { connected(through, m_pump); });
}

void ConnectionFaultsTest::aFailingConnectionGivesTheDriversWords()
{
    const QString good = string(), port = QString::number(m_server.port());
    for (const auto &[string, words] :
         {std::pair<QString, const char *>{QString(good).replace("pwd=demo", "pwd=x"), "Access denied"},
          {QString(good).replace(port, "1"), "Can't connect"},
          {good + "no", "Unknown database 'dno'"},
          {m_server.odbcString().replace("3.51", "9.99"), "Can't open lib"},
          {"nowhere", "Can't connect"}, // a data source
          {"nothing", "Data source name not found"},
          {m_server.nativeString() + ";colour=red", "「colour」"}}) {
        const auto closed = createConnection(string, m_pump);
        const Failure error = errorOf([&] { closed->open(); });
        QVERIFY2(error.description().contains(words), qPrintable(error.description()));
        QVERIFY(!closed->isOpen() && !closed->isBusy());
    }
}

void ConnectionFaultsTest::aRefusedStatementGivesTheServersWords()
{
    const auto open = connected(string(), m_pump);
    const Failure error = errorOf([&] { open->execute("select * from `表`"); });
    QVERIFY(error.description().contains("Table 'd.表' doesn't exist"));
    QCOMPARE(error.number(), 1146);
    QCOMPARE(error.state(), "42S02");
    QVERIFY(!error.isConnectionLost());
    errorOf([&] { open->execute(QString()); });
    errorOf([&] { open->execute(QStringLiteral("select ?")); });
    errorOf([&] { open->execute(QStringLiteral("select 1 ") + QChar(0) + QStringLiteral(", 2")); });
    QCOMPARE(valueOf(*open, "select 4"), "4");
}

QTEST_GUILESS_MAIN(ConnectionFaultsTest)
#include "test_connection_faults.moc"
