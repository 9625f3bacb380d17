#include "connectiontests.h"
#include "cuttingproxy.h"

#include <QRegularExpression>

class ConnectionFaultsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void aServerThatDiedBeforeAStatementIsAnError_data() { addBothConnections(); }
    void aServerThatDiedBeforeAStatementIsAnError();
    void aServerThatDiesDuringAStatementIsAnError_data() { addBothConnections(); }
    void aServerThatDiesDuringAStatementIsAnError();
    void aServerThatDiesWithinRowsIsAnError_data() { addBothConnections(); }
    void aServerThatDiesWithinRowsIsAnError();
    void aConnectionKilledFromElsewhereIsAnError_data() { addBothConnections(); }
    void aConnectionKilledFromElsewhereIsAnError();
    void aStatementKilledFromElsewhereIsAnError_data() { addBothConnections(); }
    void aStatementKilledFromElsewhereIsAnError();
    void aConnectionCutWithinAPacketIsAnError_data();
    void aConnectionCutWithinAPacketIsAnError();
    void aFailingConnectionGivesTheDriversWords_data();
    void aFailingConnectionGivesTheDriversWords();
    void aRefusedStatementGivesTheServersWords_data() { addBothConnections(); }
    void aRefusedStatementGivesTheServersWords();

private:
    static bool isBuiltIn() { return *static_cast<bool *>(QTest::qData("isBuiltIn", qMetaTypeId<bool>())); }
    QString string() const { return stringOf(m_server, isBuiltIn(), QStringLiteral("d")); }
    void restart()
    {
        m_server.kill();
        m_server.start();
    }
    // What every lost connection must still bear: further statements, closing, opening again.
    void checkRecovery(Connection &connection);

    TestServer m_server;
    HookPump m_pump;
};

void ConnectionFaultsTest::initTestCase()
{
    m_server.run(QStringLiteral(
        "create database d; create table d.t (a int) engine=myisam; insert into d.t values (1)"));
}

void ConnectionFaultsTest::checkRecovery(Connection &connection)
{
    for (int i = 0; i < 2; ++i)
        QVERIFY(errorOf([&] { connection.execute(QStringLiteral("select 1")); }).isConnectionLost());
    QVERIFY(errorOf([&] { connection.execute(QStringLiteral("optimize table t")); }).isConnectionLost());
    connection.close();
    connection.open();
    QCOMPARE(valueOf(connection, QStringLiteral("select 4")), QStringLiteral("4"));
}

void ConnectionFaultsTest::aServerThatDiedBeforeAStatementIsAnError()
{
    const auto open = connected(string(), m_pump);
    RecordSet rows = open->execute(QStringLiteral("select 1 as a"));
    m_server.kill();
    QVERIFY(errorOf([&] { open->execute(QStringLiteral("insert into t values (2)")); }).isConnectionLost());
    QCOMPARE(rows.text(0), QStringLiteral("1"));
    rows.moveNext();
    m_server.start();
    checkRecovery(*open);
}

void ConnectionFaultsTest::aServerThatDiesDuringAStatementIsAnError()
{
    const auto open = connected(string(), m_pump);
    m_pump.once = [&] { restart(); };
    const SqlError error = errorOf([&] { open->execute(QStringLiteral("select sleep(20)")); });
    QVERIFY2(error.isConnectionLost(), qPrintable(error.description()));
    checkRecovery(*open);
}

void ConnectionFaultsTest::aServerThatDiesWithinRowsIsAnError()
{
    const auto open = connected(string(), m_pump);
    RecordSet rows = open->execute(QStringLiteral("select seq, repeat('x', 1000) from seq_1_to_100000"));
    RecordSet left = open->execute(QStringLiteral("select seq, repeat('x', 1000) from seq_1_to_100000"));
    left.moveNext();
    restart();
    const auto readAll = [](RecordSet &set) {
        int count = 0;
        for (; !set.isEof(); set.moveNext())
            ++count;
        return count;
    };
    // The first set is in memory; ODBC has both there.
    QCOMPARE(readAll(rows), 100000);
    if (isBuiltIn())
        QVERIFY(errorOf([&] { readAll(left); }).isConnectionLost());
    left.close();
    checkRecovery(*open);
}

void ConnectionFaultsTest::aConnectionKilledFromElsewhereIsAnError()
{
    const auto open = connected(string(), m_pump);
    const QString id = valueOf(*open, QStringLiteral("select connection_id()"));
    m_server.run(QStringLiteral("kill connection ") + id);
    const SqlError error = errorOf([&] { open->execute(QStringLiteral("select 1")); });
    QVERIFY2(error.isConnectionLost(), qPrintable(error.description()));
    checkRecovery(*open);

    const QString again = valueOf(*open, QStringLiteral("select connection_id()"));
    m_pump.once = [&] { m_server.run(QStringLiteral("kill connection ") + again); };
    const SqlError during = errorOf([&] { open->execute(QStringLiteral("select sleep(20)")); });
    QVERIFY2(during.isConnectionLost(), qPrintable(during.description()));
    checkRecovery(*open);
}

void ConnectionFaultsTest::aStatementKilledFromElsewhereIsAnError()
{
    const auto open = connected(string(), m_pump);
    const QString id = valueOf(*open, QStringLiteral("select connection_id()"));
    m_pump.once = [&] { m_server.run(QStringLiteral("kill query ") + id); };
    const SqlError error = errorOf(
        [&] { open->execute(QStringLiteral("select count(*) from seq_1_to_100000 a, seq_1_to_100000 b")); });
    QVERIFY2(error.isInterrupted(), qPrintable(error.description()));
    QCOMPARE(valueOf(*open, QStringLiteral("select 4")), QStringLiteral("4"));
}

void ConnectionFaultsTest::aConnectionCutWithinAPacketIsAnError_data()
{
    QTest::addColumn<bool>("isBuiltIn");
    QTest::addColumn<int>("bytes");
    for (const bool isBuiltIn : {true, false})
        for (const int bytes : {1, 7, 17, 60, 100, 125, 300, 5000, 200000})
            QTest::newRow(qPrintable(
                QStringLiteral("%1 %2").arg(QLatin1String(isBuiltIn ? "built in" : "odbc")).arg(bytes)))
                << isBuiltIn << bytes;
}

void ConnectionFaultsTest::aConnectionCutWithinAPacketIsAnError()
{
    QFETCH(int, bytes);
    CuttingProxy proxy(m_server.port());
    const QString through = string().replace(QRegularExpression(QStringLiteral("port=\\d+")),
                                             QStringLiteral("port=%1").arg(proxy.port()));
    {
        const auto open = connected(through, m_pump);
        proxy.cutAfter(bytes);
        const SqlError error = errorOf([&] {
            RecordSet rows =
                open->execute(QStringLiteral("select seq, repeat('x', 1000) from seq_1_to_1000"));
            while (!rows.isEof())
                rows.moveNext();
        });
        QVERIFY2(error.isConnectionLost(),
                 qPrintable(
                     QStringLiteral("%1 %2 %3").arg(error.description(), error.state()).arg(error.number())));
        proxy.cutAfter(-1);
        checkRecovery(*open);
    }
    proxy.cutAfter(std::min(bytes, 40));
    errorOf([&] { connected(through, m_pump); });
}

void ConnectionFaultsTest::aFailingConnectionGivesTheDriversWords_data()
{
    QTest::addColumn<QString>("string");
    QTest::addColumn<QString>("words");
    const QString port = QString::number(m_server.port());
    QTest::newRow("built in, wrong password")
        << m_server.nativeString().replace(QStringLiteral("pwd=demo"), QStringLiteral("pwd=x"))
        << "Access denied for user 'demo'";
    QTest::newRow("odbc, wrong password")
        << m_server.odbcString().replace(QStringLiteral("pwd=demo"), QStringLiteral("pwd=x"))
        << "Access denied for user 'demo'";
    QTest::newRow("built in, no server")
        << m_server.nativeString().replace(port, QStringLiteral("1")) << "Can't connect";
    QTest::newRow("odbc, no server") << m_server.odbcString().replace(port, QStringLiteral("1"))
                                     << "Can't connect";
    QTest::newRow("built in, unknown database")
        << m_server.nativeString(QStringLiteral("nodb")) << "Unknown database 'nodb'";
    QTest::newRow("odbc, unknown database")
        << m_server.odbcString(QStringLiteral("nodb")) << "Unknown database 'nodb'";
    QTest::newRow("unknown driver") << m_server.odbcString().replace(QStringLiteral("3.51"),
                                                                     QStringLiteral("9.99"))
                                    << "Can't open lib";
    QTest::newRow("driver without library")
        << QStringLiteral("driver={Broken MySQL Driver};server=127.0.0.1") << "libdoesnotexist.so";
    QTest::newRow("data source that points nowhere") << QStringLiteral("nowhere") << "Can't connect";
    QTest::newRow("no such data source") << QStringLiteral("nothing") << "Data source name not found";
    QTest::newRow("built in, port no number")
        << m_server.nativeString().replace(port, QStringLiteral("33a")) << "ポート番号「33a」";
    QTest::newRow("built in, unknown key")
        << m_server.nativeString() + QStringLiteral(";colour=red") << "「colour」";
}

void ConnectionFaultsTest::aFailingConnectionGivesTheDriversWords()
{
    QFETCH(QString, string);
    QFETCH(QString, words);
    const auto closed = createConnection(string, m_pump);
    const SqlError error = errorOf([&] { closed->open(); });
    QVERIFY2(error.description().contains(words), qPrintable(error.description()));
    QVERIFY(!closed->isOpen());
    QVERIFY(!closed->isBusy());
}

void ConnectionFaultsTest::aRefusedStatementGivesTheServersWords()
{
    const auto open = connected(string(), m_pump);
    const SqlError error = errorOf([&] { open->execute(QStringLiteral("select * from `表`")); });
    QVERIFY(error.description().contains(QStringLiteral("Table 'd.表' doesn't exist")));
    QCOMPARE(error.number(), 1146);
    QCOMPARE(error.state(), QStringLiteral("42S02"));
    QVERIFY(!error.isConnectionLost());
    errorOf([&] { open->execute(QString()); });
    errorOf([&] { open->execute(QStringLiteral("select ?")); });
    QCOMPARE(valueOf(*open, QStringLiteral("select 4")), QStringLiteral("4"));
}

QTEST_GUILESS_MAIN(ConnectionFaultsTest)
#include "test_connection_faults.moc"
