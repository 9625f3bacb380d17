#include "connectiontests.h"
#include "core/driver/native/nativeoptions.h"
#include "core/driver/odbc/odbcdriver.h"
#include "core/driver/odbc/statementkind.h"
#include "core/driver/workerconnection.h"
#include "support/files.h"

// What is the one driver's alone.
class DriversTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void connectionStringsAreTakenApart();
    void localhostIsReachedByTcp();
    void statementsAreSentAsComposed();
    void memoryDoesNotGrowWithTheResult();
    void unreadRowsDoNotEndTheProgram_data();
    void unreadRowsDoNotEndTheProgram();
    void dangerousKindsAreKnown();
    void theServerIsNamedInTheCompletedString();
    // The last one: each further server registers the data sources anew.
    void whatTheDriverCannotRunGoesPastIt_data() { TestServers::addRows(); }
    void whatTheDriverCannotRunGoesPastIt();

private:
    TestServer m_server;
    TestServers m_servers;
    BlockingPump m_pump;
};

void DriversTest::initTestCase()
{
    m_server.run(QStringLiteral("create database d; create database `e``e`; create database `だ`; create "
                                "table d.t (a int) engine=myisam; "
                                "create table d.p (a int) engine=myisam partition by hash (a) partitions 2; "
                                "insert into d.t values (1)"));
}

void DriversTest::unreadRowsDoNotEndTheProgram_data()
{
    const Rows<QString> row;
    for (const char *statement :
         {"OPTIMIZE TABLE d.t", "VALUES (1), (2)", "XA RECOVER", "LOAD INDEX INTO CACHE d.t",
          "ALTER TABLE d.p OPTIMIZE PARTITION p0", "/*! SELECT 1 */", "/* c */ optimize table d.t",
          "-- c\n repair table d.t", "set statement max_statement_time=9 for select 1"})
        row(statement, statement);
}

void DriversTest::unreadRowsDoNotEndTheProgram()
{
    const auto [statement] = fetched<QString>();
    const QString string = m_server.odbcString(QStringLiteral("d"));
    const auto open = std::make_unique<WorkerConnection>(
        string, [=] { return std::make_unique<OdbcDriver>(string, OdbcDriver::Library::Never); }, m_pump);
    open->open();
    RecordSet before = open->execute("select seq, repeat('x', 1000) from seq_1_to_3000");
    for (int i = 0; i < 3; ++i) {
        QVERIFY(open->execute(statement).note().contains("接続をやり直した"));
        QCOMPARE(valueOf(*open, "select a from t"), "1");
    }
    int count = 0;
    for (; !before.isEof(); before.moveNext())
        ++count;
    QCOMPARE(count, 3000);
    open->execute("use `e``e`");
    open->execute(statement);
    QCOMPARE(valueOf(*open, "select database()"), "e`e");
    QCOMPARE(valueOf(*open, "if 1 then select 2; select 3; end if"), "2");
}

void DriversTest::whatTheDriverCannotRunGoesPastIt()
{
    QFETCH(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    if (brand == TestServer::Brand::MySql56)
        QSKIP("Connector/ODBC 3.1.15 does not connect to it");
    const auto open = connected(m_servers.of(brand).odbcString(), m_pump);
    for (const char *statement :
         {"create database if not exists d", "use d", "create table t (a int)", "insert into t values (1)",
          "set @kept = 5", "prepare p from 'select a, 7 from t'", "do 1", "select 1/0"})
        open->execute(statement);
    for (const auto &[statement, first] : {std::pair<const char *, const char *>{"execute p", "1"},
                                           {"select 'after'", "after"},
                                           {"select 1/0", "NULL"},
                                           {"show warnings", "Warning"},
                                           {"check table t", "d.t"},
                                           {"optimize table t", "d.t"},
                                           {"select 'again'", "again"},
                                           {"select @kept", "5"},
                                           {"select database()", "d"}})
        QCOMPARE(valueOf(*open, statement), first);
    errorOf([&] { open->execute("execute nothing"); });
    if (brand == TestServer::Brand::MySql9) {
        open->execute("create table v (v vector(3), n int, j json)");
        open->execute("insert into v values (string_to_vector('[1,2,3]'), 8, '[9]'), (null, null, null)");
        RecordSet rows = open->execute("select * from v");
        QCOMPARE(rows.text(0), "0x0000803F0000004000004040");
        QCOMPARE(rows.text(1) + rows.text(2), "8[9]");
        rows.moveNext();
        QVERIFY(rows.isNull(0));
        const auto builtIn = connected(m_servers.of(brand).nativeString("d"), m_pump);
        QCOMPARE(valueOf(*builtIn, "select v from v"), "0x0000803F0000004000004040");
        // Bytes that are letters by chance.
        QCOMPARE(valueOf(*builtIn, "select string_to_vector('[12.078431]')"), "0x41414141");
    }
    QCOMPARE(valueOf(*open, "select 'end'"), "end");
}

void DriversTest::dangerousKindsAreKnown()
{
    // What keeps the session's variables, temporary tables and locks must not be taken for dangerous.
    for (const char *statement :
         {"  (select 1)", "set@a=1", "# c\n/* d */ show tables", "create table t (a int)",
          "alter table optimize_me add b int",
          "alter table p add partition (partition q values less than (9))", "xa start 'a'",
          "load data infile 'x' into table t", "lock tables t read", "begin not atomic select 1; end",
          "delete from t returning a", "commit;", "set statement x=1 for delete from t", "handler t open",
          "if 1 then select 1; end if", "", "/* select */"})
        QVERIFY2(!StatementKind::mayLeaveRowsUnread(statement), statement);
    for (const char *statement : {"execute p", "table t", "optimize/**/table t", "handler t read first",
                                  "set statement x=1 for delete from t returning a", "begin select 1; end"})
        QVERIFY2(StatementKind::mayLeaveRowsUnread(statement), statement);
}

void DriversTest::theServerIsNamedInTheCompletedString()
{
    const QString odbc = m_server.odbcString(), builtIn = m_server.nativeString({}, "localhost");
    for (const auto &[given, completed] : {std::pair<QString, QString>{odbc, odbc + ";SERVER=127.0.0.1"},
                                           {"demo", "DSN=demo;SERVER=127.0.0.1"},
                                           {builtIn, builtIn + ";SERVER=localhost"}}) {
        const auto open = connected(given, m_pump);
        QCOMPARE(open->connectionString(), completed);
        QVERIFY(open->server().isMariaDb);
        QCOMPARE(open->server().version, valueOf(*open, "select version()"));
    }
}

void DriversTest::connectionStringsAreTakenApart()
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

void DriversTest::localhostIsReachedByTcp()
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

void DriversTest::statementsAreSentAsComposed()
{
    const auto open = connected(m_server.nativeString(QStringLiteral("だ")), m_pump);
    QCOMPARE(valueOf(*open, "select database()"), "だ");
    m_server.takeStatements();
    // The server's log leaves out blanks and ";" at the ends.
    const QStringList statements{"show  full fields from `d`.u", "select 'é漢😀'\r\n-- end",
                                 "set  @a = '\\\\'"};
    errorOf([&] { open->execute(statements[0]); }); // logged all the same
    open->execute(statements[1]);
    open->execute(statements[2]);
    QCOMPARE(m_server.takeStatements(), statements);
    QCOMPARE(errorOf([&] { open->execute("select 1; select 2"); }).number(), 1064);
}

void DriversTest::memoryDoesNotGrowWithTheResult()
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

QTEST_GUILESS_MAIN(DriversTest)
#include "test_drivers.moc"
