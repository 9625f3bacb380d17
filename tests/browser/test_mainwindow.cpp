#include "controls/encryptionsign.h"
#include "core/basconnection.h"
#include "faults/mainwindowstage.h"
#include "support/gui/boxes.h"
#include "support/rows.h"
#include "support/scriptedconnection.h"
#include "support/testserver.h"

#include <QDialogButtonBox>
#include <QScopeGuard>
#include <QSet>
#include <QTimer>

// The real window on a real server, over each of the two connections.
class MainWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { TestServers::addConnectionRows(); }
    void init();
    void cleanup() { m_stage.reset(); }
    void missingEntriesAreRefusedInOrder();
    void aDataSourceConnects();
    void onlyTheWordLocalhostIsLocal();
    void everyKindOfObjectIsListed();
    void rowsAreShownUpToTheLimit();
    void stoppingKeepsWhatWasRead();
    void anExpiredPasswordIsRenewed();
    void aConnectionUnderWayIsGivenUp();
    void aThinkingServerIsLeftAtOnce_data();
    void aThinkingServerIsLeftAtOnce();

private:
    template <class Control>
    Control *control(const char *name) const
    {
        return m_stage->control<Control>(name);
    }
    void click(const char *name) { m_stage->click(name); }
    void enter()
    {
        m_stage->enter(isBuiltIn() ? nativeDriverName() : "MySQL ODBC 3.51 Driver", m_server->port());
    }
    static void makeObjects(TestServer &server);
    void openDatabase()
    {
        enter();
        click("cmdConnect");
        click("cmdShowDb");
        m_stage->choose("lstDb", "店");
    }
    FlexGrid &data() const { return *control<FlexGrid>("flGrid_Data"); }

    TestServers m_servers{{}, makeObjects};
    TestServer *m_server = nullptr;
    std::unique_ptr<MainWindowStage> m_stage;
};

void MainWindowTest::makeObjects(TestServer &server)
{
    server.run("create database 店; use 店;"
               "create table 商品 (id int primary key, 名前 varchar(50), memo text) engine=InnoDB;"
               "insert into 商品 values (1,'ﾃｽﾄ',null),(2,'','x'),(3,'😀','NULL');"
               "create table `with blank` (a int); create table `select` (a int);"
               "create view v as select id, 名前 from 商品 where id > 1;"
               "create table base (a int); create view broken as select a from base; drop table base;"
               "create procedure p() select 1; create function f() returns int return 1;"
               "create table many (id int, filler text); insert into many values (1, repeat('x', 3000));" +
               QString("insert into many select id, filler from many;").repeated(14) +
               "create view slow as select sleep(5) as s;");
}

void MainWindowTest::init()
{
    QFETCH_GLOBAL(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    m_server = &m_servers.of(brand);
    failOnAnyWarning();
    m_stage = std::make_unique<MainWindowStage>();
}

void MainWindowTest::missingEntriesAreRefusedInOrder()
{
    Boxes boxes;
    const auto isRefused = [&](const QString &message) {
        boxes.expectOk(message);
        click("cmdConnect");
    };
    enter();
    control<QLineEdit>("txtPort")->setText("  ");
    isRefused("ﾎﾟｰﾄを選択して下さい。");
    control<QLineEdit>("txtUser")->setText("  ");
    isRefused("ﾕｰｻﾞｰ名を選択して下さい。");
    control<QLineEdit>("txtServer")->setText("  ");
    isRefused("ｻｰﾊﾞｰ名を選択して下さい。");
    control<QComboBox>("cboDrivers")->setEditText("  ");
    isRefused("ﾄﾞﾗｲﾊﾞを選択して下さい。");
    control<QComboBox>("cboDSNList")->setEditText(" ");
    isRefused("ﾄﾞﾗｲﾊﾞを選択して下さい。");
    QVERIFY(!m_stage->session.gCn);
}

void MainWindowTest::aDataSourceConnects()
{
    QFETCH_GLOBAL(TestServer::Brand, brand);
    if (brand == TestServer::Brand::MySql56)
        QSKIP("Connector/ODBC 3.1.15 cannot reach MySQL 5.6");
    auto *sources = control<QComboBox>("cboDSNList");
    const auto *server = control<QWidget>("txtServer");
    QVERIFY(control<QComboBox>("cboDrivers")->findText("Broken MySQL Driver") > 0);
    QCOMPARE(sources->findText("other"), -1); // its driver's name lacks "MySQL"
    sources->setCurrentText("demo");
    QVERIFY(!server->isEnabled());
    click("cmdConnect");
    QVERIFY(m_stage->session.gCn && m_stage->session.gCn->isOpen());
    auto *sign = control<EncryptionSign>("encryption");
    QCOMPARE(sign->text(), "暗号化なし");
    Script elsewhere;
    elsewhere.encryption = {true, true, "TLS_AES_256_GCM_SHA384", "TLSv1.3"};
    sign->showOf(elsewhere.connect().get());
    QCOMPARE(sign->text(), "暗号化・検証済み");
    QVERIFY(sign->toolTip().startsWith("TLSv1.3 TLS_AES_256_GCM_SHA384\n"));
    click("cmdClose");
    QCOMPARE(sign->text(), "");
    QVERIFY(!m_stage->session.gCn);
    QVERIFY(sources->isEnabled() && !server->isEnabled()); // a data source is still chosen
    sources->setCurrentIndex(0);
    QVERIFY(server->isEnabled());
}

void MainWindowTest::onlyTheWordLocalhostIsLocal()
{
    for (const QString &server : {QStringLiteral("localhost"), QStringLiteral("127.0.0.1")}) {
        const bool isLocal = server == u"localhost";
        enter();
        control<QLineEdit>("txtServer")->setText(server);
        click("cmdConnect");
        QVERIFY(m_stage->session.gCn);
        QCOMPARE(m_stage->session.gIsLocalServer, isLocal);
        click("cmdShowDb");
        QCOMPARE(control<QWidget>("cmdBackup")->isEnabled(), isLocal);
        click("cmdClose");
        QVERIFY(!m_stage->session.gIsLocalServer);
    }
}

void MainWindowTest::everyKindOfObjectIsListed()
{
    openDatabase();
    // A name after a dot needs no quotes.
    const QStringList tables{"[VIEW]\tbroken", "[TABLE]\tmany",       "[TABLE]\tselect", "[VIEW]\tslow",
                             "[VIEW]\tv",      "[ERROR]\twith blank", "[TABLE]\t商品"};
    const QStringList listed = control<ChosenList>("lstTables")->texts();
    QCOMPARE(QSet<QString>(listed.begin(), listed.end()), QSet<QString>(tables.begin(), tables.end()));
    QCOMPARE(control<ChosenList>("lstProcFunc")->texts(), (QStringList{"[PROC]\tp", "[FUNC]\tf"}));
    m_stage->choose("lstTables", "[VIEW]\tv");
    QVERIFY(control<SqlTextBox>("txtField")->contents().startsWith("CREATE VIEW 店.v AS \r\n"));
    m_stage->choose("lstProcFunc", "[PROC]\tp");
    QVERIFY(control<SqlTextBox>("txtProc")->contents().endsWith("PROCEDURE p()\r\nselect 1"));

    click("showLog");
    auto *log = control<FlexGrid>("statementLogGrid");
    QTRY_VERIFY(log->isVisible());
    const int last = log->rowCount() - 1;
    QCOMPARE(log->text(last, 3), "show create procedure `店`.p;");
    QVERIFY(log->text(last, 2).endsWith(" 行"));
}

void MainWindowTest::rowsAreShownUpToTheLimit()
{
    openDatabase();
    m_stage->choose("lstTables", "[TABLE]\t商品");
    click("cmdDataGet");
    QCOMPARE(data().rowCount(), 3);
    QCOMPARE(data().text(0, 1) + data().text(1, 1) + data().text(2, 1), "ﾃｽﾄ😀");
    QVERIFY(data().isNull(0, 2) && !data().isNull(2, 2));
    QCOMPARE(control<QLabel>("lblRecordCount")->text(), "3");
    m_stage->choose("lstTables", "[TABLE]\tmany");
    control<QComboBox>("cboLimit")->setCurrentIndex(2);
    click("cmdDataGet");
    QCOMPARE(data().rowCount(), 10000);
    QCOMPARE(control<QPushButton>("cmdDataGet")->text(), "ﾃﾞｰﾀ表示");
}

void MainWindowTest::stoppingKeepsWhatWasRead()
{
    Boxes boxes;
    openDatabase();
    m_stage->choose("lstTables", "[TABLE]\tmany");
    control<QComboBox>("cboLimit")->setCurrentIndex(2);
    auto *count = control<QLabel>("lblRecordCount");
    count->clear();
    // The second click comes once the first rows are there, as soon as the read lets events run.
    QTimer watch;
    connect(&watch, &QTimer::timeout, this, [&] {
        if (!count->text().isEmpty() &&
            control<QPushButton>("cmdDataGet")->text() == QStringLiteral("停止")) {
            watch.stop();
            click("cmdDataGet");
        }
    });
    watch.start(0);
    boxes.expectOk("処理を中断しました");
    click("cmdDataGet");
    const int rows = data().rowCount();
    QVERIFY(rows > 0 && rows < 10000);
    QCOMPARE(count->text(), QString::number(rows));
    click("cmdDataGet"); // and the connection still works
    QCOMPARE(data().rowCount(), 10000);
}

void MainWindowTest::anExpiredPasswordIsRenewed()
{
    QFETCH_GLOBAL(TestServer::Brand, brand);
    const bool isMariaDb = brand == TestServer::Brand::MariaDb;
    m_server->run("create user late identified by 'old'; " +
                  QString(isMariaDb ? "set global disconnect_on_expired_password=on; " : "") +
                  "alter user late password expire");
    const auto dropped = qScopeGuard([this] { m_server->run("drop user late"); });
    Boxes boxes;
    enter();
    control<QLineEdit>("txtUser")->setText("late");
    control<QLineEdit>("txtPass")->setText("old");
    boxes.expectOk("接続失敗");
    boxes.expectDialog("newPasswordDialog", [](QDialog &dialog) {
        auto *ok = dialog.findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok);
        dialog.findChild<QLineEdit *>("newPassword")->setText("n'e\\w");
        QVERIFY(!ok->isEnabled());
        dialog.findChild<QLineEdit *>("newPasswordAgain")->setText("n'e\\w");
        ok->click();
    });
    click("cmdConnect");
    QVERIFY(m_stage->session.gCn && m_stage->session.gCn->isOpen());
    QCOMPARE(m_stage->session.gPass, "n'e\\w");
    QVERIFY(m_server->accepts("late", "n'e\\w"));
}

void MainWindowTest::aConnectionUnderWayIsGivenUp()
{
    m_server->freeze();
    const auto resume = qScopeGuard([this] { m_server->resume(); });
    enter();
    const Boxes none; // in the end it would say that it failed
    QTimer::singleShot(300, this, [&] { click("cmdClose"); });
    click("cmdConnect");
    QTRY_VERIFY(control<QWidget>("cmdConnect")->isEnabled() && !control<QWidget>("cmdClose")->isEnabled());
    QVERIFY(!m_stage->session.gCn);
}

void MainWindowTest::aThinkingServerIsLeftAtOnce_data()
{
    QTest::addColumn<bool>("closes"); // the window, or else the connection alone
    row("disconnect", false);
    row("close the window", true);
}

void MainWindowTest::aThinkingServerIsLeftAtOnce()
{
    QFETCH(bool, closes);
    Boxes boxes;
    openDatabase();
    m_stage->choose("lstTables", "[VIEW]\tslow");
    QTimer::singleShot(300, this, [&] {
        if (closes)
            closeByUser(*m_stage->window);
        else
            click("cmdClose");
    });
    boxes.expectOk("処理を中断しました"); // else there is a row, five seconds later
    click("cmdDataGet");
    QTRY_VERIFY(!m_stage->session.gCn);
    QCOMPARE(m_stage->session.gDbName.isEmpty(), !closes);
    QCOMPARE(m_stage->window->isVisible(), !closes);
    QCOMPARE(control<QWidget>("cmdConnect")->isEnabled(), !closes);
}

QTEST_MAIN(MainWindowTest)
#include "test_mainwindow.moc"
