#include "browser/frmTarnwell.h"
#include "support/gui/boxes.h"
#include "support/gui/stage.h"
#include "support/rows.h"
#include "support/testreplica.h"

// The main window on a replica whose account may write there all the same.
class ReplicaTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { bothConnections(); }
    void theWindowSaysWhatTheServerIs();
    void whatWritesAsksFirst();
    void aPromotedServerIsAskedAgain();

private:
    void connectTo(const TestServer &server);
    void chooseDatabase();
    QString question() const;
    QString roleText() const { return m_stage->control<QLabel>("serverRole")->text(); }

    TestReplica m_servers;
    std::unique_ptr<MainWindowStage> m_stage;
};

void ReplicaTest::connectTo(const TestServer &server)
{
    QFETCH_GLOBAL(QString, driver);
    m_stage = std::make_unique<MainWindowStage>();
    m_stage->enter(driver, server.port());
    m_stage->click("cmdConnect");
}

void ReplicaTest::chooseDatabase()
{
    m_servers.source.run("create or replace database d; create table d.t (a int primary key)");
    m_servers.catchUp();
    m_stage->click("cmdShowDb");
    m_stage->choose("lstDb", "d");
}

QString ReplicaTest::question() const
{
    return QStringLiteral(
               "サーバー 127.0.0.1:%1 は 読み取り専用、%2 のレプリカです。\r\nここでの変更は他のサーバー"
               "に伝わらず、レプリケーションが止まることがあります。\r\n続けますか？")
        .arg(QString::number(m_servers.replica.port()), m_servers.sourceName());
}

void ReplicaTest::theWindowSaysWhatTheServerIs()
{
    connectTo(m_servers.replica);
    QCOMPARE(roleText(), "このサーバーは: 読み取り専用、" + m_servers.sourceName() + " のレプリカ");
    m_stage->click("cmdClose");
    QVERIFY(m_stage->control<QLabel>("serverRole")->isHidden());
    connectTo(m_servers.source);
    QVERIFY(m_stage->control<QLabel>("serverRole")->isHidden());
}

void ReplicaTest::whatWritesAsksFirst()
{
    connectTo(m_servers.replica);
    chooseDatabase();
    Boxes boxes;
    boxes.expect(question(), QMessageBox::Cancel);
    m_stage->click("cmdDropDb");
    boxes.expect("全ﾃｰﾌﾞﾙの検査を行います。", QMessageBox::Cancel); // what only reads
    m_stage->click("cmdCheckTable");
    boxes.expectDialog("frmCreateDB", [&](QDialog &dialog) {
        control<QLineEdit>(dialog, "txtDatabase").setText("made");
        QTest::mouseClick(&control<QPushButton>(dialog, "cmdOk"), Qt::LeftButton);
        dialog.reject();
    });
    boxes.expect(question(), QMessageBox::Cancel);
    m_stage->click("cmdCreateDb");
    QCOMPARE(m_servers.replica.run("show databases like 'made'; show databases like 'd'"), "d\n");
}

void ReplicaTest::aPromotedServerIsAskedAgain()
{
    connectTo(m_servers.replica);
    chooseDatabase();
    m_servers.replica.run("stop slave; set global read_only=0");
    Boxes boxes;
    boxes.expect("ﾃﾞｰﾀﾍﾞｰｽ(d)を削除しす。", QMessageBox::Cancel);
    m_stage->click("cmdDropDb");
    m_servers.replica.run("set global read_only=1; start slave");
    QVERIFY(m_stage->control<QLabel>("serverRole")->isHidden());
}

QTEST_MAIN(ReplicaTest)
#include "test_replica.moc"
