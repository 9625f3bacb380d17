#include "core/basconnection.h"
#include "faults/mainwindowstage.h"
#include "support/gui/boxes.h"
#include "support/rows.h"
#include "support/testserver.h"

#include <QTimer>

// The real window on a real server, over each of the two connections.
class MainWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { addBothConnections(); }
    void initTestCase();
    void init();
    void cleanup() { m_stage.reset(); }
    void everyControlHasItsName_data();
    void everyControlHasItsName();
    void missingEntriesAreRefusedInOrder();
    void aDataSourceConnects();
    void onlyTheWordLocalhostIsLocal_data();
    void onlyTheWordLocalhostIsLocal();
    void everyKindOfObjectIsListed();
    void rowsAreShownUpToTheLimit();
    void stoppingKeepsWhatWasRead();
    void aThinkingServerHoldsNothingUp_data();
    void aThinkingServerHoldsNothingUp();

private:
    template <class Control>
    Control *control(const char *name) const
    {
        return m_stage->control<Control>(name);
    }
    void click(const char *name) { m_stage->click(name); }
    void enter()
    {
        m_stage->enter(isBuiltIn() ? nativeDriverName() : "MySQL ODBC 3.51 Driver", m_server.port());
    }
    void openDatabase()
    {
        enter();
        click("cmdConnect");
        click("cmdShowDb");
        m_stage->choose("lstDb", "店");
    }
    FlexGrid &data() const { return *control<FlexGrid>("flGrid_Data"); }

    TestServer m_server;
    std::unique_ptr<MainWindowStage> m_stage;
};

void MainWindowTest::initTestCase()
{
    m_server.run(
        "create database 店; use 店;"
        "create table 商品 (id int primary key, 名前 varchar(50), memo text) engine=InnoDB;"
        "insert into 商品 values (1,'ﾃｽﾄ',null),(2,'','x'),(3,'😀','NULL');"
        "create table `with blank` (a int); create table `select` (a int);"
        "create view v as select id, 名前 from 商品 where id > 1;"
        "create table base (a int); create view broken as select a from base; drop table base;"
        "create procedure p() select 1; create function f() returns int return 1;"
        "create table many (id int, filler text); insert into many select seq, repeat('x', 3000) from "
        "seq_1_to_10001;"
        "create view slow as select sleep(5) as s;");
}

void MainWindowTest::init()
{
    failOnAnyWarning();
    m_stage = std::make_unique<MainWindowStage>();
}

void MainWindowTest::everyControlHasItsName_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("names");
    row("buttons", "QPushButton",
        "cmdConnect cmdClose Command1 cmdEnd cmdShowDb cmdCreateDb cmdDropDb cmdCreateUser "
        "cmdCreateProc cmdDropProc cmdCreateTable cmdDropTable cmdDataGet cmdCheckTable "
        "cmdRepairTable cmdOptimizeTable cmdBackup cmdRestore cmdCopyDb cmdScriptBackUp "
        "cmdExec cmdInOut");
    row("combo boxes", "QComboBox", "cboDSNList cboDrivers cboLimit");
    row("lines", "QLineEdit", "txtServer txtUser txtPass txtPort");
    row("lists", "QListWidget", "lstDb lstTables lstProcFunc");
    row("options", "QRadioButton", "optTP_0 optTP_1 optField_0 optField_1 optField_2 optField_3");
    row("labels", "QLabel",
        "Label1 Label2 Label3 Label4 Label5 Label6 Label7 Label8 Label9 Label10 Label11 "
        "Label12 Label13 Label14 Label15 lblProcName lblEditProcName lblCreateProc "
        "lblTableName lblEditName lblCreateTable lblRecordCount lblCkTableName lblCnt "
        "lblPreTable");
    row("editors", "QsciScintilla", "txtField txtProc");
    row("grids", "QTableView", "flGrid_Field flGrid_Index flGrid_Status flGrid_Data");
    row("frames", "QGroupBox", "Frame1 Frame2");
    row("others", "QWidget", "picTable picProc picStatus txtError");
}

void MainWindowTest::everyControlHasItsName()
{
    QFETCH(QString, kind);
    QFETCH(QString, names);
    for (const QString &name : names.split(u' ')) {
        const auto *widget = m_stage->window->findChild<QWidget *>(name);
        QVERIFY2(widget, qPrintable(name));
        QVERIFY2(widget->inherits(qPrintable(kind)), qPrintable(name));
    }
    QCOMPARE(m_stage->window->windowTitle(), "Tarnwell (Ver 1.4)");
}

void MainWindowTest::missingEntriesAreRefusedInOrder()
{
    Boxes boxes;
    const auto blank = [this](int entry) {
        const char *boxNames[] = {"", "txtServer", "txtUser", "txtPort"};
        if (entry == 0)
            control<QComboBox>("cboDrivers")->setEditText("  ");
        else
            control<QLineEdit>(boxNames[entry])->setText("  ");
    };
    const char *messages[] = {"ﾄﾞﾗｲﾊﾞを選択して下さい。", "ｻｰﾊﾞｰ名を選択して下さい。",
                              "ﾕｰｻﾞｰ名を選択して下さい。", "ﾎﾟｰﾄを選択して下さい。"};
    enter();
    for (int entry = 3; entry >= 0; --entry) {
        blank(entry);
        boxes.expectOk(messages[entry]);
        click("cmdConnect");
    }
    control<QComboBox>("cboDSNList")->setEditText(" ");
    boxes.expectOk(messages[0]);
    click("cmdConnect");
    QVERIFY(!m_stage->session.gCn);
}

void MainWindowTest::aDataSourceConnects()
{
    auto *sources = control<QComboBox>("cboDSNList");
    const auto *server = control<QWidget>("txtServer");
    QCOMPARE(sources->findText("other"), -1); // its driver's name lacks "MySQL"
    sources->setCurrentText("demo");
    QVERIFY(!server->isEnabled());
    click("cmdConnect");
    QVERIFY(m_stage->session.gCn && m_stage->session.gCn->isOpen());
    click("cmdClose");
    QVERIFY(!m_stage->session.gCn);
    QVERIFY(sources->isEnabled() && !server->isEnabled()); // a data source is still chosen
    sources->setCurrentIndex(0);
    QVERIFY(server->isEnabled());
}

void MainWindowTest::onlyTheWordLocalhostIsLocal_data()
{
    QTest::addColumn<bool>("isLocal");
    row("localhost", true);
    row("127.0.0.1", false);
}

void MainWindowTest::onlyTheWordLocalhostIsLocal()
{
    enter();
    control<QLineEdit>("txtServer")->setText(QTest::currentDataTag());
    click("cmdConnect");
    QVERIFY(m_stage->session.gCn);
    QTEST(m_stage->session.gIsLocalServer, "isLocal");
    click("cmdShowDb");
    QTEST(control<QWidget>("cmdBackup")->isEnabled(), "isLocal");
    click("cmdClose");
    QVERIFY(!m_stage->session.gIsLocalServer);
}

void MainWindowTest::everyKindOfObjectIsListed()
{
    openDatabase();
    // A name after a dot needs no quotes.
    const QStringList tables{"[VIEW]\tbroken", "[TABLE]\tmany",       "[TABLE]\tselect", "[VIEW]\tslow",
                             "[VIEW]\tv",      "[ERROR]\twith blank", "[TABLE]\t商品"};
    QCOMPARE(control<ChosenList>("lstTables")->texts(), tables);
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

void MainWindowTest::aThinkingServerHoldsNothingUp_data()
{
    QTest::addColumn<QString>("button");
    row("stop", "cmdDataGet");
    row("disconnect", "cmdClose");
    row("close the window", "");
}

void MainWindowTest::aThinkingServerHoldsNothingUp()
{
    QFETCH(QString, button);
    Boxes boxes;
    openDatabase();
    m_stage->choose("lstTables", "[VIEW]\tslow");
    QTimer::singleShot(300, this, [&] {
        if (button.isEmpty())
            closeByUser(*m_stage->window);
        else
            click(qPrintable(button));
    });
    boxes.expectOk("処理を中断しました");
    QElapsedTimer clock;
    clock.start();
    click("cmdDataGet");
    QVERIFY2(clock.elapsed() < 4000, qPrintable(QString::number(clock.elapsed()))); // it sleeps for five
    if (button == u"cmdDataGet") {
        m_stage->choose("lstTables", "[TABLE]\t商品");
        click("cmdDataGet");
        QCOMPARE(data().rowCount(), 3);
        return;
    }
    QTRY_VERIFY(!m_stage->session.gCn);
    QCOMPARE(m_stage->session.gDbName.isEmpty(), button == u"cmdClose");
    QCOMPARE(m_stage->window->isVisible(), button == u"cmdClose");
    QCOMPARE(control<QWidget>("cmdConnect")->isEnabled(), button == u"cmdClose");
}

QTEST_MAIN(MainWindowTest)
#include "test_mainwindow.moc"
