#include "connectiontests.h"
#include "core/command/doubt.h"
#include "core/command/sessionvariables.h"
#include "core/session/basconnection.h"
#include "core/session/lastingconnection.h"
#include "core/sql/sessionstate.h"
#include "support/scriptedconnection.h"

// Connections that the server drops.
class LastingTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void statementsLeaveTheirTraces_data();
    void statementsLeaveTheirTraces();
    void onlyHarmlessReadingIsRepeated_data();
    void onlyHarmlessReadingIsRepeated();
    void readingGoesOnOverANewConnection_data() { TestServers::addConnectionRows(); }
    void readingGoesOnOverANewConnection();
    void whatDiesWithTheSessionIsSaid_data();
    void whatDiesWithTheSessionIsSaid();
    void whatMayHaveBeenDoneIsNotRepeated();
    void anotherServerIsNoSubstitute();
    void aFailedAttemptAnswersForTheNextOne();
    void aReadOnlyConnectionStaysOne_data() { TestServers::addConnectionRows(); }
    void aReadOnlyConnectionStaysOne();
    void siblingsOfAConnectionThatBecomesReadOnlyDoSo_data() { addBothConnections(); }
    void siblingsOfAConnectionThatBecomesReadOnlyDoSo();

private:
    static constexpr int refusedInReadOnly = 1792;
    static Reply lost() { return Reply::failure("MySQL server has gone away", 2006); }
    void useServer(TestServer::Brand brand = TestServer::Brand::MariaDb) { m_server = &m_servers.of(brand); }
    std::unique_ptr<Connection> openedByServer(const QString &more = {})
    {
        m_session.connectBy(lasting(createConnection), m_pump);
        QFETCH(const bool, isBuiltIn);
        auto connection = m_session.makeConnection(m_server->connectionString(isBuiltIn) + more);
        connection->open();
        return connection;
    }
    std::unique_ptr<Connection> openedByScript()
    {
        m_session.connectBy(lasting([this](const QString &text, Pump &) { return m_script.factory()(text); }),
                            m_pump);
        auto connection = m_session.makeConnection("server=a");
        connection->open();
        return connection;
    }
    void drop(Connection &connection)
    {
        m_server->run("kill " + valueOf(connection, "select connection_id()"));
    }

    Session m_session;
    Script m_script;
    HookPump m_pump;
    TestServers m_servers{
        {}, [](TestServer &server) { server.run("create database d; create table d.t (a int)"); }};
    TestServer *m_server = nullptr;
};

// What every statement counts on.
const QString surroundings =
    "select concat_ws('|', database(), @@sql_mode, @@autocommit, @@character_set_client, "
    "@@character_set_connection, @@character_set_results, @@collation_connection, @@sql_auto_is_null, "
    "@@time_zone, @@sql_safe_updates)";

void LastingTest::statementsLeaveTheirTraces_data()
{
    QTest::addColumn<QStringList>("statements");
    QTest::addColumn<QString>("held");
    const auto row = [](const QStringList &statements, const QString &held) {
        QTest::newRow(qPrintable(statements.join("; "))) << statements << held;
    };
    row({"select 1", "show tables", "insert into t values ('begin')", "use d", "set global x = 1"}, "");
    row({"begin", "insert into t values (1)"}, "トランザクション");
    row({"start transaction", "rollback to savepoint a"}, "トランザクション");
    row({"BEGIN", "commit"}, "");
    row({"set autocommit=0"}, "トランザクション autocommit=0 の設定（新しい接続では文ごとに確定します）");
    row({"set autocommit=0", "set autocommit = 1"}, "");
    row({"lock tables a write"}, "ロック");
    row({"lock tables a write", "unlock tables"}, "");
    row({"select get_lock('a', 1)"}, "ロック");
    row({"/* x */ create temporary table t (a int)", "create table temporary_ (a int)"}, "一時テーブル");
    row({"set @a = 1"}, "ユーザー変数");
    row({"select 1 into @a"}, "ユーザー変数");
    row({"select @a := 1", "select @@version"}, "ユーザー変数");
    row({"set @@session.sql_mode = ''"}, "セッション変数の設定");
    const QString withoutAutocommit =
        "トランザクション autocommit=0 の設定（新しい接続では文ごとに確定します）";
    for (const QString set : {"set x=1, autocommit='OFF'", "set @@session.autocommit := FALSE",
                              "SET @@autocommit=0", "set local `autocommit` = 0"})
        row({"set x=0", set}, withoutAutocommit + " セッション変数の設定");
    row({"set session foreign_key_checks=0, autocommit=1"}, "セッション変数の設定");
    row({"set autocommit = 0, @a = 'x, sql_mode=1'"}, withoutAutocommit + " ユーザー変数");
    row({"set global autocommit=0, x=1, @@global.y=1", "set password for a = '0'", "set @@persist.x=1"}, "");
    row({"set names utf8mb4"}, "セッション変数の設定");
    row({"prepare s from 'select 1'", "handler t open", "deallocate prepare `S`"},
        "プリペアドステートメント");
    row({"prepare s from 'select 1'", "handler t open", "drop prepare s", "handler t close"}, "");
    row({"begin not atomic execute immediate convert(0x61 using utf8mb4); end",
         "LOAD DATA INFILE 'x' INTO TABLE t (@tarnwell_1) SET a=@tarnwell_1"},
        "");
    row({"xa start 'a'", "xa end 'a'", "xa rollback 'a'", "load data infile 'x' into table t (@a)"},
        "ユーザー変数");
    for (const QString call : {"call p()", "begin not atomic set @x = 1; end"})
        row({call}, "プロシージャが接続に残したもの");
}

void LastingTest::statementsLeaveTheirTraces()
{
    QFETCH(QStringList, statements);
    QFETCH(QString, held);
    SessionState state;
    for (const QString &statement : statements)
        state.note(statement);
    QCOMPARE(state.held().join(u' '), held);
}

void LastingTest::onlyHarmlessReadingIsRepeated_data()
{
    QTest::addColumn<bool>("isRepeated");
    const auto row = [](const char *statement, bool isRepeated) { QTest::newRow(statement) << isRepeated; };
    row("select * from t where a in (1, 2) limit 10", true);
    row("SHOW CREATE TABLE t", true);
    row("with x as (select count(*) from t) select * from x", true);
    row("select 'a(b) := @c for update'", true);
    row("show warnings", false); // of the statement before
    row("select last_insert_id()", false);
    row("select my_function(1)", false); // may do anything
    row("select * from t for update", false);
    row("select * from t into outfile 'x'", false);
    row("select @a", false);
    row("with x as (select 1) delete from t", false);
    row("explain analyze select 1", false);
    row("insert into t values (1)", false);
    row("", false);
}

void LastingTest::onlyHarmlessReadingIsRepeated()
{
    QFETCH(bool, isRepeated);
    QCOMPARE(canBeRepeated(QTest::currentDataTag()), isRepeated);
}

void LastingTest::readingGoesOnOverANewConnection()
{
    QFETCH(const TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    useServer(brand);
    const auto connection = openedByServer();
    connection->execute("use d");
    const QString before = valueOf(*connection, surroundings);
    // What the program sets for its own work.
    SessionVariables own;
    own.read(*connection, {"sql_mode", "autocommit"});
    own.set(*connection, {{"sql_mode", "''"}, {"autocommit", "0"}});
    own.putBack(*connection);
    drop(*connection);
    QCOMPARE(valueOf(*connection, "show tables"), "t");
    QCOMPARE(valueOf(*connection, surroundings), before);

    own.read(*connection, {"sql_mode"});
    own.set(*connection, {{"sql_mode", "''"}});
    drop(*connection);
    const Failure failure = errorOf([&] { connection->execute("show tables"); });
    QVERIFY(failure.isConnectionLost());
    QVERIFY2(!failure.description().contains("失われました"), qPrintable(failure.description()));
}

void LastingTest::whatDiesWithTheSessionIsSaid_data()
{
    TestServers::addConnectionRows();
}

void LastingTest::whatDiesWithTheSessionIsSaid()
{
    QFETCH(const TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    useServer(brand);
    QFETCH(const bool, isBuiltIn);
    auto connection = openedByServer();
    connection->execute("use d");
    const QString before = valueOf(*connection, surroundings);
    for (const char *leaving : {"set @kept = 5", "create temporary table x (a int)",
                                "select get_lock('a', 1)", "start transaction"})
        connection->execute(leaving);
    connection->execute("insert into t values (1)");
    drop(*connection);
    const Failure failure = errorOf([&] { connection->execute("select 1"); });
    QVERIFY(failure.isConnectionLost());
    QVERIFY2(failure.description().endsWith(
                 "\n接続とともに失われました: トランザクション、ロック、一時テーブル、ユーザー変数"),
             qPrintable(failure.description()));
    QVERIFY(!connection->isOpen());

    // In the database that was chosen with a USE, wherever the session began.
    m_session.gCn = std::move(connection);
    m_session.gDbName = "mysql";
    m_session.gDsn = m_server->connectionString(isBuiltIn);
    reconnect(m_session);
    QCOMPARE(valueOf(*m_session.gCn, surroundings), before);
    QCOMPARE(valueOf(*m_session.gCn, "select count(*) from t"), "0");
    m_session.gCn->close();
    m_session.gCn.reset();
}

void LastingTest::whatMayHaveBeenDoneIsNotRepeated()
{
    const auto connection = openedByScript();
    m_script.once("insert into t values (1)", lost());
    m_script.sent.clear();
    const Failure failure = errorOf([&] { connection->execute("insert into t values (1)"); });
    QVERIFY(failure.isConnectionLost());
    QCOMPARE(failure.description(),
             "サーバーとの接続が切れました。\nMySQL server has gone away\n"
             "文は実行されたかもしれません。送り直してはいないので、結果を確かめて下さい。");
    QCOMPARE(m_script.sent, QStringList("insert into t values (1)"));
    QVERIFY(!connection->isOpen());
}

void LastingTest::anotherServerIsNoSubstitute()
{
    const QString place = "select concat_ws(' ',@@server_id,@@hostname,@@port,@@datadir)";
    m_script.once(place, Reply::table({"a"}, {{"one"}}));
    m_script.once(place, Reply::table({"a"}, {{"two"}}));
    const auto connection = openedByScript();
    m_script.once("show tables", lost());
    QVERIFY(errorOf([&] { connection->execute("show tables"); }).isConnectionLost());
    QVERIFY(!connection->isOpen());
    // Nor for who connects again as long as the lost one is not closed, with the database chosen meanwhile.
    const auto another = m_session.makeConnection("server=a;database=d");
    m_script.once(place, Reply::table({"a"}, {{"two"}}));
    QVERIFY(errorOf([&] { another->open(); }).description().contains("別のサーバー"));
    connection->close();
    another->open();
    another->execute("show tables");
}

// A host that is silent costs a whole timeout each time.
void LastingTest::aFailedAttemptAnswersForTheNextOne()
{
    const auto connection = openedByScript();
    m_script.once("show tables", lost());
    m_script.whyUnreachable = Failure("silent", 2013);
    QVERIFY(errorOf([&] { connection->execute("show tables"); }).isConnectionLost());
    m_script.whyUnreachable.reset();
    const auto another = m_session.makeConnection("server=a;database=d");
    QCOMPARE(errorOf([&] { another->open(); }).description(), "silent");
    another->open();
}

void LastingTest::aReadOnlyConnectionStaysOne()
{
    QFETCH(const TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    useServer(brand);
    const auto connection = openedByServer(";READONLY=1");
    for (int i = 0; i < 2; ++i) {
        QCOMPARE(errorOf([&] { connection->execute("insert into d.t values (1)"); }).number(),
                 refusedInReadOnly);
        drop(*connection);
        QCOMPARE(valueOf(*connection, "select count(*) from d.t"), "0");
    }
}

// Each as the windows make them: the first one's own, a sheet's with its thread, and one that stands idle in
// a transaction.
void LastingTest::siblingsOfAConnectionThatBecomesReadOnlyDoSo()
{
    useServer();
    QFETCH(const bool, isBuiltIn);
    Session first;
    first.connectBy(lasting(createConnection), m_pump);
    first.gDsn = m_server->connectionString(isBuiltIn);
    first.profile.id = "a";
    const std::unique_ptr<Session> sibling = siblingOf(first, "d"), other = siblingOf(first, "d", m_pump);
    const std::unique_ptr<Session> elsewhere = siblingOf(first, "d");
    elsewhere->profile.id = "b";
    for (Session *session : {&first, sibling.get(), other.get(), elsewhere.get()})
        QVERIFY(!tryConnecting(*session));
    const QString insert = "insert into d.t values (1)";
    other->gCn->execute("begin");
    other->gCn->execute(insert);

    first.writeBans->add("a");
    QCOMPARE(errorOf([&] { first.gCn->execute(insert); }).number(), refusedInReadOnly);
    QCOMPARE(errorOf([&] { sibling->gCn->executeText(insert.toUtf8()); }).number(), refusedInReadOnly);
    // The one in a transaction may end it, and nothing else.
    QCOMPARE(errorOf([&] { other->gCn->execute(insert); }).number(), refusedInReadOnly);
    QCOMPARE(valueOf(*other->gCn, "select count(*) from d.t"), "1");
    other->gCn->execute("commit");
    QCOMPARE(errorOf([&] { other->gCn->execute(insert); }).number(), refusedInReadOnly);
    QCOMPARE(valueOf(*sibling->gCn, "select count(*) from d.t"), "1");
    drop(*sibling->gCn);
    valueOf(*sibling->gCn, "select 1");
    QCOMPARE(errorOf([&] { sibling->gCn->execute(insert); }).number(), refusedInReadOnly);
    elsewhere->gCn->execute("delete from d.t");

    first.writeBans->remove("a");
    QVERIFY(!tryConnecting(first));
    first.gCn->execute("delete from d.t");
    QCOMPARE(errorOf([&] { sibling->gCn->execute(insert); }).number(), refusedInReadOnly);
}

QTEST_GUILESS_MAIN(LastingTest)
#include "test_lasting.moc"
