#include "connectiontests.h"
#include "core/odbc/statementkind.h"

class OdbcTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void unreadRowsDoNotEndTheProgram_data();
    void unreadRowsDoNotEndTheProgram();
    void dangerousKindsAreKnown();
    void theServerIsNamedInTheCompletedString();

private:
    TestServer m_server;
    BlockingPump m_pump;
};

void OdbcTest::initTestCase()
{
    m_server.run(
        QStringLiteral("create database d; create database `e``e`; create table d.t (a int) engine=myisam; "
                       "create table d.p (a int) engine=myisam partition by hash (a) partitions 2; "
                       "insert into d.t values (1)"));
}

void OdbcTest::unreadRowsDoNotEndTheProgram_data()
{
    QTest::addColumn<QString>("statement");
    for (const char *statement :
         {"OPTIMIZE TABLE d.t", "REPAIR TABLE d.t", "VALUES (1), (2)", "HELP 'select'", "XA RECOVER",
          "CACHE INDEX d.t IN DEFAULT", "LOAD INDEX INTO CACHE d.t", "ALTER TABLE d.p OPTIMIZE PARTITION p0",
          "/*! SELECT 1 */", "/* c */ optimize table d.t", "-- c\n repair table d.t",
          "set statement max_statement_time=9 for select 1"})
        row(statement, statement);
}

void OdbcTest::unreadRowsDoNotEndTheProgram()
{
    QFETCH(QString, statement);
    const auto open = connected(m_server.odbcString(QStringLiteral("d")), m_pump);
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

void OdbcTest::dangerousKindsAreKnown()
{
    // What keeps the session's variables, temporary tables and locks must not be taken for dangerous.
    for (const char *statement : {"select 1",
                                  "  (select 1)",
                                  "set @a=1",
                                  "-- c\nselect 1",
                                  "# c\n/* d */ show tables",
                                  "create table t (a int)",
                                  "alter table t add b int",
                                  "alter table optimize_me add b int",
                                  "xa start 'a'",
                                  "load data infile 'x' into table t",
                                  "lock tables t read",
                                  "begin not atomic select 1; end",
                                  "delete from t returning a",
                                  "start transaction",
                                  "commit;",
                                  "set@a=1",
                                  "set statement x=1 for delete from t",
                                  "handler t open",
                                  "if 1 then select 1; end if",
                                  "alter table p add partition (partition q values less than (9))",
                                  "",
                                  "/* select */"})
        QVERIFY2(!StatementKind::mayLeaveRowsUnread(statement), statement);
    for (const char *statement :
         {"backup table t to 'x'", "table t", "optimize/**/table t", "/*!50000 select */ 1",
          "handler t read first", "set statement x=1 for delete from t returning a", "begin select 1; end"})
        QVERIFY2(StatementKind::mayLeaveRowsUnread(statement), statement);
}

void OdbcTest::theServerIsNamedInTheCompletedString()
{
    const QString odbc = m_server.odbcString(), builtIn = m_server.nativeString({}, "localhost");
    for (const auto &[given, completed] : {std::pair<QString, QString>{odbc, odbc + ";SERVER=127.0.0.1"},
                                           {"demo", "DSN=demo;SERVER=127.0.0.1"},
                                           {builtIn, builtIn + ";SERVER=localhost"}}) {
        const auto open = connected(given, m_pump);
        QCOMPARE(open->connectionString(), completed);
        QCOMPARE(valueOf(*open, "select @@port"), QString::number(m_server.port()));
        QVERIFY(open->server().isMariaDb);
        QCOMPARE(open->server().version, valueOf(*open, "select version()"));
        QVERIFY(open->server().number > 100000);
    }
}

QTEST_GUILESS_MAIN(OdbcTest)
#include "test_odbc.moc"
