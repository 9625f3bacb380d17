#include "connectiontests.h"
#include "core/driver/native/nativeoptions.h"
#include "support/files.h"

class NativeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_server.run("create database `だ`"); }
    void connectionStringsAreTakenApart();
    void localhostIsReachedByTcp();
    void statementsAreSentAsComposed();
    void memoryDoesNotGrowWithTheResult();

private:
    TestServer m_server;
    BlockingPump m_pump;
};

void NativeTest::connectionStringsAreTakenApart()
{
    const NativeOptions options = NativeOptions::parse(
        "DRIVER={x (y)}; Server = h ;User={a;b}}c}x;Password=p=q;;PORT=1234;SSLCA=/ca;forcetls=1;"
        "Database={never closed;uid=u");
    QCOMPARE((QByteArrayList{options.host, options.user, options.password, options.database}),
             (QByteArrayList{"h", "a;b}c", "p=q", "never closed;uid=u"}));
    QCOMPARE(options.port, 1234U);
    QVERIFY(options.tls.mode == TlsMode::Required && options.tls.authority == u"/ca");
    for (const char *text : {"port=", "port=33x", "port=0", "port=65536", "port=-1", "option=3", "=x"})
        QVERIFY_THROWS_EXCEPTION(Failure, NativeOptions::parse(QLatin1String(text)));
}

void NativeTest::localhostIsReachedByTcp()
{
    // The socket's path is known to the library by MYSQL_UNIX_PORT; only TCP connections have a port at their
    // side.
    const auto open = connected(m_server.nativeString({}, QStringLiteral("localhost")), m_pump);
    const QString client =
        valueOf(*open, "select host from information_schema.processlist where id = connection_id()");
    QVERIFY2(client.contains(u':'), qPrintable(client));
    const QString withTls = m_server.nativeString() + QStringLiteral(";forcetls=1");
    QVERIFY(errorOf([&] { connected(withTls, m_pump); }).description().contains(u"TLS"));
}

void NativeTest::statementsAreSentAsComposed()
{
    const auto open = connected(m_server.nativeString(QStringLiteral("だ")), m_pump);
    QCOMPARE(valueOf(*open, "select database()"), "だ");
    m_server.takeStatements();
    // The server's log leaves out blanks and ";" at the ends.
    const QStringList statements{"show  full fields from `d`.t", "select 'é漢😀'\r\n-- end",
                                 "set  @a = '\\\\'"};
    errorOf([&] { open->execute(statements[0]); }); // logged all the same
    open->execute(statements[1]);
    open->execute(statements[2]);
    QCOMPARE(m_server.takeStatements(), statements);
    QCOMPARE(errorOf([&] { open->execute("select 1; select 2"); }).number(), 1064);
}

void NativeTest::memoryDoesNotGrowWithTheResult()
{
    const auto resident = [] { return readFile("/proc/self/statm").split(' ').value(1).toLongLong() * 4096; };
    const auto open = connected(m_server.nativeString(QStringLiteral("だ")), m_pump);
    RecordSet rows = open->execute("select seq, repeat('x', 1000) from seq_1_to_100000");
    const qint64 before = resident();
    QVERIFY(before > 0);
    for (int row = 0; !rows.isEof(); rows.moveNext(), ++row)
        if (row % 20000 == 0)
            QVERIFY(resident() - before < 10 * 1024 * 1024);
}

QTEST_GUILESS_MAIN(NativeTest)
#include "test_native.moc"
