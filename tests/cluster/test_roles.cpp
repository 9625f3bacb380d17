#include "core/command/doubt.h"
#include "core/command/writing.h"
#include "core/driver/connect.h"
#include "support/gui/stage.h"

// What a server is among others, read from real ones.
class RolesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { addBothConnections(); }
    void aServerAloneHasNoRole_data() { TestServers::addRows(); }
    void aServerAloneHasNoRole();
    void readOnlyAndRunningReplicasAreSeen_data() { TestServers::addRows(); }
    void readOnlyAndRunningReplicasAreSeen();
    void aNewConnectionAsksAgain();
    void whatTheAccountMayNotAskIsTakenForNo();
    void aGroupsOwnChannelsAreNoSources();
    void statementsThatOnlyReadAreKnown();

private:
    std::unique_ptr<Connection> connect(const TestServer &server, const QString &account = "demo");

    BlockingPump m_pump;
    TestServers m_servers{{"--server-id=9"}};
};

std::unique_ptr<Connection> RolesTest::connect(const TestServer &server, const QString &account)
{
    const QString string = isBuiltIn() ? server.nativeString() : server.odbcString();
    auto connection = createConnection(QString(string).replace("uid=demo", "uid=" + account), m_pump);
    connection->open();
    return connection;
}

#define SKIP_WITHOUT_DRIVER(brand)                                                                           \
    if (!isBuiltIn() && (brand) == TestServer::Brand::MySql56)                                               \
    QSKIP("the ODBC driver reaches no MySQL 5.6")

void RolesTest::aServerAloneHasNoRole()
{
    QFETCH(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    SKIP_WITHOUT_DRIVER(brand);
    const auto connection = connect(m_servers.of(brand));
    const ServerRole role = readServerRole(*connection);
    QVERIFY(!role.isForReading() && !role.cluster.isMember() && !clusterOf(*connection).isMember());
    connection->execute("select 1"); // the connection is as before
}

void RolesTest::readOnlyAndRunningReplicasAreSeen()
{
    QFETCH(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    SKIP_WITHOUT_DRIVER(brand);
    TestServer &server = m_servers.of(brand);
    const bool isNew = brand == TestServer::Brand::MySql9;
    const QString stop = isNew ? "stop replica; reset replica all;" : "stop slave; reset slave all;";
    const auto connection = connect(server);
    server.run("set global read_only=1");
    ServerRole role = readServerRole(*connection);
    QVERIFY(role.isReadOnly && !role.isReplica());
    // Nothing listens there, so the thread that asks the source goes on trying.
    server.run(isNew ? "set global read_only=0; change replication source to "
                       "source_host='127.0.0.1', source_port=1, source_user='x'; start replica"
                     : "set global read_only=0; change master to "
                       "master_host='127.0.0.1', master_port=1, master_user='x'; start slave");
    role = readServerRole(*connection);
    server.run(isNew ? "stop replica" : "stop slave");
    const ServerRole stopped = readServerRole(*connection);
    server.run(isNew ? "reset replica all" : "reset slave all");
    QCOMPARE(role.sources, QStringList{"127.0.0.1:1"});
    QVERIFY(!role.isReadOnly && !stopped.isReplica());
}

void RolesTest::aNewConnectionAsksAgain()
{
    TestServer &server = m_servers.of(TestServer::Brand::MariaDb);
    RealStage user(server, nativeDriverName(), {});
    server.run("set global read_only=1");
    user.session.gCn->close();
    reconnect(user.session);
    server.run("set global read_only=0");
    QVERIFY(user.session.role.isReadOnly);
}

void RolesTest::whatTheAccountMayNotAskIsTakenForNo()
{
    TestServer &server = m_servers.of(TestServer::Brand::MariaDb);
    server.run("create or replace user poor identified by 'demo'; set global read_only=1");
    const ServerRole role = readServerRole(*connect(server, "poor"));
    server.run("set global read_only=0");
    QVERIFY(role.isReadOnly && !role.isReplica());
}

void RolesTest::aGroupsOwnChannelsAreNoSources()
{
    Script script;
    script.server = {"9.7.0", false, 90700};
    const auto connection = script.connect();
    const QStringList columns{"Replica_IO_State",   "Source_Host",         "Source_Port",
                              "Replica_IO_Running", "Replica_SQL_Running", "Channel_Name"};
    script.always("show replica status",
                  Reply::table(columns, {{"", "", "0", "No", "Yes", "group_replication_applier"},
                                         {"", "far", "3306", "Yes", "No", "from_afar"}}));
    script.failAt(
        0, Reply::table({"Variable_name", "Value"},
                        {{"group_replication_group_name", "aaaaaaaa-aaaa"}, {"super_read_only", "ON"}}));
    const ServerRole role = readServerRole(*connection);
    QVERIFY(role.cluster.hasManyWriters && role.isReadOnly);
    QCOMPARE(role.sources, QStringList{"far:3306"});
}

void RolesTest::statementsThatOnlyReadAreKnown()
{
    for (const char *text : {"select 'delete'", "/* delete */ (select 1)", "-- x\n show tables", "BEGIN;", "",
                             "with t as (select 1) select * from t", "explain delete from t",
                             "set @a = 1, names utf8", "start transaction read only", "kill 1"})
        QVERIFY2(!mayChange(text), text);
    for (const char *text :
         {"delete from t", "-- select\nupdate t set a=1", "/*!50100 drop */ table t", "call p()",
          "with t as (select 1) delete from u", "start_it", "analyze update t set a=1",
          "set statement max_statement_time=1 for delete from t", "begin not atomic delete from t; end",
          "set session transaction read write", "set @@session.tx_read_only=0",
          "START TRANSACTION READ WRITE", "set @a=1, global max_connections=9", "set password='x'",
          "set default role a to b", "start slave", "select 1 into outfile 'x'"})
        QVERIFY2(mayChange(text), text);
}

QTEST_GUILESS_MAIN(RolesTest)
#include "test_roles.moc"
