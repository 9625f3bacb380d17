#include "core/command/serverrole.h"
#include "maintenance/tablechange.h"
#include "stage.h"
#include "support/balancer.h"
#include "support/cuttingproxy.h"
#include "support/testcluster.h"

// What the program promises where the server is one of three nodes, reached directly or through a balancer.
class ClusterTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void everyNodeIsAMember_data();
    void everyNodeIsAMember();

private:
    std::unique_ptr<TestCluster> m_cluster;
    BlockingPump m_pump;
};

void ClusterTest::initTestCase()
{
    SKIP_WITHOUT_CLUSTER();
    m_cluster = std::make_unique<TestCluster>();
}

void ClusterTest::everyNodeIsAMember_data()
{
    QTest::addColumn<bool>("isBuiltIn");
    row("built in", true);
    row("odbc", false);
}

void ClusterTest::everyNodeIsAMember()
{
    QFETCH(bool, isBuiltIn);
    const TestServer &node = m_cluster->node(1);
    const auto connection = createConnection(isBuiltIn ? node.nativeString() : node.odbcString(), m_pump);
    connection->open();
    QVERIFY(isClusterMember(*connection) && !readServerRole(*connection).isForReading());
    m_cluster->setReady(1, false);
    const bool isStillMember = isClusterMember(*connection); // such a node refuses most statements
    m_cluster->setReady(1, true);
    QVERIFY(isStillMember);
    m_cluster->run("create or replace database d; create table d.t (a int primary key)");
    m_cluster->run("insert into d.t values (1)", {}, 1);
    QCOMPARE(m_cluster->run("select a from d.t", {}, 2), "1\n");
}

QTEST_GUILESS_MAIN(ClusterTest)
#include "test_cluster.moc"
