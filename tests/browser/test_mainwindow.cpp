#include "browser/frmTarnwell.h"
#include "controls/windowpump.h"
#include "core/basconnection.h"
#include "core/connect.h"
#include "support/gui/boxes.h"
#include "support/testserver.h"

#include <QApplication>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

// The real window on a real server, over each of the two connections.
class MainWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void everyControlHasItsName_data();
    void everyControlHasItsName();
    void theLogShowsWhatWasSent();
    void missingEntriesAreRefusedInOrder();
    void aWrongPasswordIsAFailedConnection_data();
    void aWrongPasswordIsAFailedConnection();
    void aDataSourceConnects();
    void onlyTheWordLocalhostIsLocal_data();
    void onlyTheWordLocalhostIsLocal();
    void everyKindOfObjectIsListed_data();
    void everyKindOfObjectIsListed();
    void rowsAreShownUpToTheLimit_data();
    void rowsAreShownUpToTheLimit();
    void stoppingKeepsWhatWasRead_data();
    void stoppingKeepsWhatWasRead();
    void stoppingBeforeTheFirstRowTakesNoSecond_data();
    void stoppingBeforeTheFirstRowTakesNoSecond();
    void disconnectingWhileTheServerThinksEndsTheRun_data();
    void disconnectingWhileTheServerThinksEndsTheRun();
    void closingWhileTheServerThinksEndsTheProgramsWindow_data();
    void closingWhileTheServerThinksEndsTheProgramsWindow();
    void aDeadServerGivesItsWordsAndConnectingWorksAgain_data();
    void aDeadServerGivesItsWordsAndConnectingWorksAgain();

private:
    static void bothConnections();
    template <class Control>
    Control *control(const char *name) const
    {
        auto *found = m_window->findChild<Control *>(QLatin1String(name));
        Q_ASSERT(found);
        return found;
    }
    void click(const char *name) { QTest::mouseClick(control<QPushButton>(name), Qt::LeftButton); }
    void choose(const char *name, const QString &text);
    void enter(const QString &driver, const QString &host, const QString &password);
    void connectBy(const QString &driver)
    {
        enter(driver, QStringLiteral("127.0.0.1"), QStringLiteral("demo"));
        click("cmdConnect");
    }

    std::unique_ptr<TestServer> m_server;
    QTemporaryDir m_folder;
    std::unique_ptr<WindowPump> m_pump;
    std::unique_ptr<Session> m_session;
    std::unique_ptr<frmTarnwell> m_window;
};

void MainWindowTest::initTestCase()
{
    m_server = std::make_unique<TestServer>();
    m_server->run(
        QStringLiteral("create database 店; use 店;"
                       "create table 商品 (id int primary key, 名前 varchar(50), memo text) engine=InnoDB;"
                       "insert into 商品 values (1,'ﾃｽﾄ',null),(2,'','x'),(3,'😀','NULL');"
                       "create table `with blank` (a int); create table `select` (a int);"
                       "create view v as select id, 名前 from 商品 where id > 1;"
                       "create table base (a int); create view broken as select a from base; drop table base;"
                       "create procedure p() select 1; create function f() returns int return 1;"
                       "create table many (id int, filler text); insert into many select seq, repeat('x', "
                       "3000) from seq_1_to_10001;"
                       "create view slow as select sleep(5) as s;"));
}

void MainWindowTest::init()
{
    failOnAnyWarning();
    m_pump = std::make_unique<WindowPump>();
    m_session = std::make_unique<Session>();
    m_session->programFolder = m_folder.path();
    m_session->makeConnection = [this](const QString &string) { return createConnection(string, *m_pump); };
    m_window = std::make_unique<frmTarnwell>(*m_session, *m_pump);
    m_window->show();
}

void MainWindowTest::cleanup()
{
    m_window.reset();
    m_session.reset();
}

void MainWindowTest::bothConnections()
{
    QTest::addColumn<QString>("driver");
    QTest::newRow("ODBC") << "MySQL ODBC 3.51 Driver";
    QTest::newRow("built in") << nativeDriverName();
}

void MainWindowTest::choose(const char *name, const QString &text)
{
    auto *list = control<ChosenList>(name);
    const QList<QListWidgetItem *> items = list->findItems(text, Qt::MatchExactly);
    QVERIFY2(!items.isEmpty(), qPrintable(text));
    list->scrollToItem(items.first());
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualItemRect(items.first()).center());
}

void MainWindowTest::enter(const QString &driver, const QString &host, const QString &password)
{
    control<QComboBox>("cboDSNList")->setCurrentIndex(0);
    control<QComboBox>("cboDrivers")->setEditText(driver);
    control<QLineEdit>("txtServer")->setText(host);
    control<QLineEdit>("txtUser")->setText(QStringLiteral("demo"));
    control<QLineEdit>("txtPass")->setText(password);
    control<QLineEdit>("txtPort")->setText(QString::number(m_server->port()));
}

void MainWindowTest::everyControlHasItsName_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("names");
    QTest::newRow("buttons")
        << "QPushButton"
        << "cmdConnect cmdClose Command1 cmdEnd cmdShowDb cmdCreateDb cmdDropDb cmdCreateUser "
           "cmdCreateProc cmdDropProc cmdCreateTable cmdDropTable cmdDataGet cmdCheckTable "
           "cmdRepairTable cmdOptimizeTable cmdBackup cmdRestore cmdCopyDb cmdScriptBackUp "
           "cmdExec cmdInOut";
    QTest::newRow("combo boxes") << "QComboBox"
                                 << "cboDSNList cboDrivers cboLimit";
    QTest::newRow("lines") << "QLineEdit"
                           << "txtServer txtUser txtPass txtPort";
    QTest::newRow("lists") << "QListWidget"
                           << "lstDb lstTables lstProcFunc";
    QTest::newRow("options") << "QRadioButton"
                             << "optTP_0 optTP_1 optField_0 optField_1 optField_2 optField_3";
    QTest::newRow("labels")
        << "QLabel"
        << "Label1 Label2 Label3 Label4 Label5 Label6 Label7 Label8 Label9 Label10 Label11 "
           "Label12 Label13 Label14 Label15 lblProcName lblEditProcName lblCreateProc "
           "lblTableName lblEditName lblCreateTable lblRecordCount lblCkTableName lblCnt "
           "lblPreTable";
    QTest::newRow("editors") << "QsciScintilla"
                             << "txtField txtProc";
    QTest::newRow("grids") << "QTableView"
                           << "flGrid_Field flGrid_Index flGrid_Status flGrid_Data";
    QTest::newRow("frames") << "QGroupBox"
                            << "Frame1 Frame2";
    QTest::newRow("others") << "QWidget"
                            << "picTable picProc picStatus txtError";
}

void MainWindowTest::everyControlHasItsName()
{
    QFETCH(QString, kind);
    QFETCH(QString, names);
    for (const QString &name : names.split(u' ')) {
        const auto *widget = m_window->findChild<QWidget *>(name);
        QVERIFY2(widget, qPrintable(name));
        QVERIFY2(widget->inherits(qPrintable(kind)), qPrintable(name));
    }
    QCOMPARE(m_window->windowTitle(), QStringLiteral("Tarnwell (Ver 1.4)"));
}

void MainWindowTest::theLogShowsWhatWasSent()
{
    m_session->makeConnection = logged(m_session->makeConnection, m_session->statementLog);
    connectBy(nativeDriverName());
    click("cmdShowDb");
    click("showLog");
    auto *log = control<FlexGrid>("statementLogGrid");
    QTRY_VERIFY(log->isVisible());
    const int last = log->rowCount() - 1;
    QCOMPARE(log->text(last, 3), QStringLiteral("show databases;"));
    QVERIFY(log->text(last, 2).endsWith(QStringLiteral(" 行")));
}

void MainWindowTest::missingEntriesAreRefusedInOrder()
{
    Boxes boxes;
    const struct {
        const char *box;
        QString message;
    } steps[] = {{"cboDrivers", QStringLiteral("ﾄﾞﾗｲﾊﾞを選択して下さい。")},
                 {"txtServer", QStringLiteral("ｻｰﾊﾞｰ名を選択して下さい。")},
                 {"txtUser", QStringLiteral("ﾕｰｻﾞｰ名を選択して下さい。")},
                 {"txtPort", QStringLiteral("ﾎﾟｰﾄを選択して下さい。")}};
    for (int emptied = 3; emptied >= 0; --emptied) {
        enter(QStringLiteral("MySQL x"), QStringLiteral("h"), {});
        for (int i = emptied; i < 4; ++i) {
            if (i == 0)
                control<QComboBox>("cboDrivers")->setEditText(QStringLiteral("  "));
            else
                control<QLineEdit>(steps[i].box)->setText(QStringLiteral("  "));
        }
        boxes.expect(steps[emptied].message, QMessageBox::Ok);
        click("cmdConnect");
    }
    control<QComboBox>("cboDSNList")->setEditText(QStringLiteral(" "));
    boxes.expect(steps[0].message, QMessageBox::Ok);
    click("cmdConnect");
    QVERIFY(!m_session->gCn);
}

void MainWindowTest::aWrongPasswordIsAFailedConnection_data()
{
    bothConnections();
}

void MainWindowTest::aWrongPasswordIsAFailedConnection()
{
    Boxes boxes;
    QFETCH(QString, driver);
    enter(driver, QStringLiteral("127.0.0.1"), QStringLiteral("wrong"));
    boxes.expect(QStringLiteral("接続失敗"), QMessageBox::Ok);
    click("cmdConnect");
    QVERIFY(control<QPlainTextEdit>("txtError")->toPlainText().contains(QStringLiteral("Access denied")));
    QVERIFY(control<QWidget>("cmdConnect")->isEnabled());
    QVERIFY(!control<QWidget>("cmdShowDb")->isEnabled());
    QCOMPARE(m_session->gPass, QStringLiteral("wrong")); // what was tried is what gets saved
}

void MainWindowTest::aDataSourceConnects()
{
    auto *sources = control<QComboBox>("cboDSNList");
    QVERIFY(sources->findText(QStringLiteral("demo")) > 0);
    QCOMPARE(sources->findText(QStringLiteral("other")), -1); // its driver's name lacks "MySQL"
    sources->setCurrentText(QStringLiteral("demo"));
    QVERIFY(!control<QWidget>("txtServer")->isEnabled());
    click("cmdConnect");
    QVERIFY(m_session->gCn && m_session->gCn->isOpen());
    click("cmdClose");
    QVERIFY(!m_session->gCn);
    QVERIFY(sources->isEnabled());
    QVERIFY(!control<QWidget>("txtServer")->isEnabled()); // a data source is still chosen
    sources->setCurrentIndex(0);
    QVERIFY(control<QWidget>("txtServer")->isEnabled());
}

void MainWindowTest::onlyTheWordLocalhostIsLocal_data()
{
    QTest::addColumn<QString>("driver");
    QTest::addColumn<QString>("host");
    QTest::addColumn<bool>("isLocal");
    for (const QString &driver : {QStringLiteral("MySQL ODBC 3.51 Driver"), nativeDriverName()}) {
        QTest::addRow("localhost, %s", qPrintable(driver)) << driver << "localhost" << true;
        QTest::addRow("127.0.0.1, %s", qPrintable(driver)) << driver << "127.0.0.1" << false;
    }
}

void MainWindowTest::onlyTheWordLocalhostIsLocal()
{
    QFETCH(QString, driver);
    QFETCH(QString, host);
    enter(driver, host, QStringLiteral("demo"));
    click("cmdConnect");
    QVERIFY(m_session->gCn);
    QTEST(m_session->gIsLocalServer, "isLocal");
    click("cmdShowDb");
    QTEST(control<QWidget>("cmdBackup")->isEnabled(), "isLocal");
    click("cmdClose");
    QVERIFY(!m_session->gIsLocalServer);
}

void MainWindowTest::everyKindOfObjectIsListed_data()
{
    bothConnections();
}

void MainWindowTest::everyKindOfObjectIsListed()
{
    QFETCH(QString, driver);
    connectBy(driver);
    click("cmdShowDb");
    choose("lstDb", QStringLiteral("店"));
    const QStringList tables = control<ChosenList>("lstTables")->texts();
    QVERIFY(tables.contains(QStringLiteral("[TABLE]\t商品")));
    QVERIFY(tables.contains(QStringLiteral("[VIEW]\tv")));
    QVERIFY(tables.contains(QStringLiteral("[ERROR]\twith blank")));
    QVERIFY(tables.contains(QStringLiteral("[TABLE]\tselect"))); // a name after a dot needs no quotes
    QCOMPARE(control<ChosenList>("lstProcFunc")->texts(), (QStringList{"[PROC]\tp", "[FUNC]\tf"}));
    choose("lstTables", QStringLiteral("[VIEW]\tv"));
    QCOMPARE(control<SqlTextBox>("txtField")->contents().section(u'\n', 0, 0),
             QStringLiteral("CREATE VIEW 店.v AS \r"));
    choose("lstProcFunc", QStringLiteral("[PROC]\tp"));
    QVERIFY(control<SqlTextBox>("txtProc")->contents().endsWith(QStringLiteral("PROCEDURE p()\r\nselect 1")));
}

void MainWindowTest::rowsAreShownUpToTheLimit_data()
{
    bothConnections();
}

void MainWindowTest::rowsAreShownUpToTheLimit()
{
    QFETCH(QString, driver);
    connectBy(driver);
    click("cmdShowDb");
    choose("lstDb", QStringLiteral("店"));
    choose("lstTables", QStringLiteral("[TABLE]\t商品"));
    click("cmdDataGet");
    auto *grid = control<FlexGrid>("flGrid_Data");
    QCOMPARE(grid->rowCount(), 3);
    QCOMPARE(grid->text(0, 1) + grid->text(1, 1) + grid->text(2, 1), QStringLiteral("ﾃｽﾄ😀"));
    QVERIFY(grid->isNull(0, 2) && !grid->isNull(2, 2));
    QCOMPARE(grid->text(0, 2), QStringLiteral("NULL"));
    QCOMPARE(control<QLabel>("lblRecordCount")->text(), QStringLiteral("3"));
    choose("lstTables", QStringLiteral("[TABLE]\tmany"));
    control<QComboBox>("cboLimit")->setCurrentIndex(2);
    click("cmdDataGet");
    QCOMPARE(grid->rowCount(), 10000);
    QCOMPARE(control<QPushButton>("cmdDataGet")->text(), QStringLiteral("ﾃﾞｰﾀ表示"));
}

void MainWindowTest::stoppingKeepsWhatWasRead_data()
{
    bothConnections();
}

void MainWindowTest::stoppingKeepsWhatWasRead()
{
    Boxes boxes;
    QFETCH(QString, driver);
    connectBy(driver);
    click("cmdShowDb");
    choose("lstDb", QStringLiteral("店"));
    choose("lstTables", QStringLiteral("[TABLE]\tmany"));
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
    boxes.expect(QStringLiteral("処理を中断しました"), QMessageBox::Ok);
    click("cmdDataGet");
    const int rows = control<FlexGrid>("flGrid_Data")->rowCount();
    QVERIFY(rows > 0 && rows < 10000);
    QCOMPARE(count->text(), QString::number(rows));
    click("cmdDataGet"); // and the connection still works
    QCOMPARE(control<FlexGrid>("flGrid_Data")->rowCount(), 10000);
}

void MainWindowTest::stoppingBeforeTheFirstRowTakesNoSecond_data()
{
    bothConnections();
}

void MainWindowTest::stoppingBeforeTheFirstRowTakesNoSecond()
{
    Boxes boxes;
    QFETCH(QString, driver);
    connectBy(driver);
    click("cmdShowDb");
    choose("lstDb", QStringLiteral("店"));
    choose("lstTables", QStringLiteral("[VIEW]\tslow"));
    QTimer::singleShot(300, this, [this] { click("cmdDataGet"); });
    boxes.expect(QStringLiteral("処理を中断しました"), QMessageBox::Ok);
    QElapsedTimer clock;
    clock.start();
    click("cmdDataGet");
    QVERIFY2(clock.elapsed() < 4000,
             qPrintable(QString::number(clock.elapsed()))); // the view sleeps five seconds
    choose("lstTables", QStringLiteral("[TABLE]\t商品"));
    click("cmdDataGet");
    QCOMPARE(control<FlexGrid>("flGrid_Data")->rowCount(), 3);
}

void MainWindowTest::disconnectingWhileTheServerThinksEndsTheRun_data()
{
    bothConnections();
}

void MainWindowTest::disconnectingWhileTheServerThinksEndsTheRun()
{
    Boxes boxes;
    QFETCH(QString, driver);
    connectBy(driver);
    click("cmdShowDb");
    choose("lstDb", QStringLiteral("店"));
    choose("lstTables", QStringLiteral("[VIEW]\tslow"));
    QTimer::singleShot(300, this, [this] { click("cmdClose"); });
    boxes.expect(QStringLiteral("処理を中断しました"), QMessageBox::Ok);
    click("cmdDataGet");
    QTRY_VERIFY(!m_session->gCn);
    QVERIFY(control<QWidget>("cmdConnect")->isEnabled());
    QCOMPARE(m_session->gDbName, QString());
}

void MainWindowTest::closingWhileTheServerThinksEndsTheProgramsWindow_data()
{
    bothConnections();
}

void MainWindowTest::closingWhileTheServerThinksEndsTheProgramsWindow()
{
    Boxes boxes;
    QFETCH(QString, driver);
    connectBy(driver);
    click("cmdShowDb");
    choose("lstDb", QStringLiteral("店"));
    choose("lstTables", QStringLiteral("[VIEW]\tslow"));
    QTimer::singleShot(300, this, [this] { m_window->close(); });
    boxes.expect(QStringLiteral("処理を中断しました"), QMessageBox::Ok);
    click("cmdDataGet");
    QTRY_VERIFY(!m_window->isVisible());
    QVERIFY(!m_session->gCn);
}

void MainWindowTest::aDeadServerGivesItsWordsAndConnectingWorksAgain_data()
{
    bothConnections();
}

void MainWindowTest::aDeadServerGivesItsWordsAndConnectingWorksAgain()
{
    QFETCH(QString, driver);
    connectBy(driver);
    click("cmdShowDb");
    m_server->kill();
    // The client library's words differ with the moment; the box says what the last error says.
    QString shown;
    QTimer::singleShot(500, this, [&shown] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        QVERIFY(box);
        shown = box->text();
        box->button(QMessageBox::Ok)->click();
    });
    click("cmdShowDb");
    QVERIFY(!shown.isEmpty());
    QCOMPARE(control<QPlainTextEdit>("txtError")->toPlainText(), shown);
    m_server->start();
    click("cmdClose");
    connectBy(driver);
    click("cmdShowDb");
    QVERIFY(control<ChosenList>("lstDb")->count() > 3);
}

QTEST_MAIN(MainWindowTest)
#include "test_mainwindow.moc"
