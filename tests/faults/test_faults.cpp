// Servers, drivers and disks that fail under the real window: it lives on, shows the words of the system, and
// works again once the fault is gone.
#include "browser/frmTarnwell.h"
#include "core/session/bascommon.h"
#include "support/gui/stage.h"
#include "support/lockedfolder.h"

namespace {

// The one that cmdExec has opened.
QWidget *openedConsole()
{
    for (QWidget *each : QApplication::topLevelWidgets())
        if (each->objectName() == u"frmSql")
            return each;
    return nullptr;
}

} // namespace

class FaultsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init() { failOnAnyWarning(); }
    void whatIsKilledGivesItsWords_data();
    void whatIsKilledGivesItsWords();
    void aFrozenServerIsWaitedForOrLeft_data() { addBothConnections(); }
    void aFrozenServerIsWaitedForOrLeft();
    void aDialogAtAFrozenServerIsLeft_data();
    void aDialogAtAFrozenServerIsLeft();
    void theConsoleAtAFrozenServerIsStopped_data();
    void theConsoleAtAFrozenServerIsStopped();
    void aClickWaitsForTheConsolesRows();
    void settingsThatCannotBeSavedAreSaidAndTheOldOnesStay();

private:
    QString lastError(const MainWindowStage &stage)
    {
        return stage.control<QPlainTextEdit>("txtError")->toPlainText();
    }
    void connectTo(MainWindowStage &stage, const QString &driver, const QString &host = "127.0.0.1")
    {
        stage.enter(driver, m_server->port());
        stage.control<QLineEdit>("txtServer")->setText(host);
        stage.click("cmdConnect");
        stage.click("cmdShowDb");
        stage.choose("lstDb", "店");
    }
    // What the fault left behind is gone, and a new connection shows everything.
    void mustWorkAgain(MainWindowStage &stage, const QString &driver)
    {
        stage.click("cmdClose");
        QTRY_VERIFY(!stage.session.gCn);
        connectTo(stage, driver);
        stage.choose("lstTables", "[TABLE]\t商品");
        stage.click("cmdDataGet");
        QVERIFY2(stage.control<FlexGrid>("flGrid_Data")->rowCount() == 3, qPrintable(lastError(stage)));
    }

    std::unique_ptr<TestServer> m_server;
};

void FaultsTest::initTestCase()
{
    m_server = std::make_unique<TestServer>();
    m_server->run(QStringLiteral(
        "create database 店; use 店;"
        "create table 商品 (id int primary key, 名前 varchar(50)) engine=MyISAM;" // rows that outlive a
                                                                                  // SIGKILL at once
        "insert into 商品 values (1,'ﾃｽﾄ'),(2,''),(3,'😀');"
        "create view slow as select sleep(20) as s;"));
}

void FaultsTest::whatIsKilledGivesItsWords_data()
{
    const Rows<QString, bool> row;
    for (const QString &driver : {odbcDriver(), nativeDriverName()}) {
        row(qPrintable("server, " + driver), driver, true);
        row(qPrintable("session, " + driver), driver, false);
    }
}

void FaultsTest::whatIsKilledGivesItsWords()
{
    const auto [driver, isServer] = fetched<QString, bool>();
    MainWindowStage stage;
    connectTo(stage, driver);
    stage.choose("lstTables", "[VIEW]\tslow");
    const QString id = stage.session.gCn->execute("select connection_id()").text(0);
    Boxes boxes;
    boxes.agree(); // the words of a client library differ with the moment
    QTimer::singleShot(300, this, [&] { isServer ? m_server->kill() : void(m_server->run("kill " + id)); });
    stage.click("cmdDataGet");
    QCOMPARE(boxes.seen().size(), 1);
    static const QRegularExpression words("gone away|Lost connection|error reading|was killed");
    QVERIFY2(boxes.seen()[0].contains(words), qPrintable(boxes.seen()[0]));
    QVERIFY(boxes.seen()[0].endsWith(lastError(stage)));
    if (isServer)
        m_server->start();
    mustWorkAgain(stage, driver);
}

void FaultsTest::aFrozenServerIsWaitedForOrLeft()
{
    QFETCH(bool, isBuiltIn);
    const QString driver = driverOf(isBuiltIn);
    MainWindowStage stage;
    connectTo(stage, driver);
    Boxes boxes;   // none while it is waited for
    int turns = 0; // of the event loop meanwhile
    QTimer timer;
    timer.callOnTimeout(this, [&turns] { ++turns; });
    timer.start(10);
    m_server->freeze();
    QTimer::singleShot(1000, this, [this] { m_server->resume(); });
    stage.click("cmdShowDb");
    QVERIFY(stage.control<ChosenList>("lstDb")->count() > 3);
    QVERIFY2(turns > 10, qPrintable(QString::number(turns)));

    stage.choose("lstDb", "店");
    stage.choose("lstTables", "[TABLE]\t商品");
    boxes.agree();
    m_server->freeze();
    QTimer::singleShot(300, this, [&stage] { stage.click("cmdDataGet"); });
    stage.click("cmdDataGet"); // it would wait for ever
    m_server->resume();
    mustWorkAgain(stage, driver);
}

void FaultsTest::aDialogAtAFrozenServerIsLeft_data()
{
    // The button that opens the dialog, what asks the server in it (a button or a list), and the way out: a
    // button, else a key or the close box.
    const Rows<QString, QString, QString, QString> row;
    const QString builtIn = nativeDriverName();
    row("create database, cancelled", builtIn, "cmdCreateDb", "cmdOk", "cmdCancel");
    row("create database, over ODBC, escape", odbcDriver(), "cmdCreateDb", "cmdOk", "escape");
    row("out, closed", builtIn, "cmdInOut", "cmdOut", "close");
    row("accounts, closed", odbcDriver(), "cmdCreateUser", "lstUser", "close");
    row("accounts, escape", builtIn, "cmdCreateUser", "lstUser", "escape");
    row("accounts, not yet open", builtIn, "cmdCreateUser", "", "escape");
}

void FaultsTest::aDialogAtAFrozenServerIsLeft()
{
    const auto [driver, opener, act, way] = fetched<QString, QString, QString, QString>();
    MainWindowStage stage;
    connectTo(stage, driver, "localhost");
    stage.choose("lstTables", "[TABLE]\t商品");
    const auto freezeAndLeave = [&](QWidget &window) {
        m_server->freeze();
        QTimer::singleShot(100, &window, [&window, way] {
            if (way == u"escape")
                QTest::keyClick(&window, Qt::Key_Escape);
            else if (way == u"close")
                closeByUser(window);
            else
                QTest::mouseClick(window.findChild<QPushButton *>(way), Qt::LeftButton);
        });
    };
    Boxes boxes;
    if (act.isEmpty())
        freezeAndLeave(*stage.window);
    else
        boxes.expectDialog(opener == u"cmdCreateUser" ? "frmUserAdd"
                           : opener == u"cmdInOut"    ? "frmInOut"
                                                      : "frmCreateDB",
                           [&](QDialog &dialog) {
                               freezeAndLeave(dialog);
                               if (auto *name = dialog.findChild<QLineEdit *>("txtDatabase"))
                                   name->setText("new");
                               if (auto *list = dialog.findChild<ChosenList *>(act))
                                   list->setCurrentRow(1);
                               else
                                   QTest::mouseClick(dialog.findChild<QPushButton *>(act), Qt::LeftButton);
                               QTRY_VERIFY(!dialog.isVisible());
                               m_server->resume();
                               boxes.agree(); // the databases may be read again, in vain
                           });
    stage.click(qPrintable(opener));
    m_server->resume();
    QVERIFY(act.isEmpty() || !stage.session.runner.isRunning());
    mustWorkAgain(stage, driver);
}

void FaultsTest::theConsoleAtAFrozenServerIsStopped_data()
{
    // The key that asks the server, and whether the window is closed, or else the run stopped.
    const Rows<QString, Qt::Key, bool> row;
    row("the plan, stopped", nativeDriverName(), Qt::Key_F6, false);
    row("the variables, closed", odbcDriver(), Qt::Key_F7, true);
    row("the words, stopped", nativeDriverName(), Qt::Key_Space, false);
    row("the connection, stopped", nativeDriverName(), Qt::Key_unknown, false);
    row("the connection, closed", nativeDriverName(), Qt::Key_unknown, true);
}

void FaultsTest::theConsoleAtAFrozenServerIsStopped()
{
    const auto [driver, key, closes] = fetched<QString, Qt::Key, bool>();
    MainWindowStage stage;
    connectTo(stage, driver);
    stage.session.gVariables = {{"a"}};
    stage.click("cmdExec");
    const QPointer<QWidget> console = openedConsole();
    QTRY_COMPARE(control<QLabel>(*console, "lblState").text(), "店:接続OK");
    control<SqlTextBox>(*console, "txtSql").setContents("select 1");
    Boxes none;
    bool isAsked = false;
    m_server->freeze();
    QTimer::singleShot(500, this, [&] {
        isAsked = true;
        QVERIFY(stage.session.runner.isRunning());
        if (closes)
            closeByUser(*console);
        else
            QTest::mouseClick(&control<QPushButton>(*console, "cmdStop"), Qt::LeftButton);
    });
    if (key == Qt::Key_unknown) {
        stage.window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(stage.window));
        console->activateWindow();
    } else {
        QTest::keyClick(&control<SqlTextBox>(*console, "txtSql"), key,
                        key == Qt::Key_Space ? Qt::ControlModifier : Qt::NoModifier);
    }
    QTRY_VERIFY(isAsked);
    QTRY_COMPARE(console.isNull(), closes);
    QTRY_VERIFY(!stage.session.runner.isRunning());
    m_server->resume();
    // A connection that was just being replaced is made by what comes next.
    if (key == Qt::Key_unknown) {
        stage.click("cmdShowDb");
        QVERIFY2(stage.control<ChosenList>("lstDb")->count() > 3, qPrintable(lastError(stage)));
    }
    mustWorkAgain(stage, driver);
}

// The rows are not taken into memory for it, nor does its end strike them.
void FaultsTest::aClickWaitsForTheConsolesRows()
{
    MainWindowStage stage;
    connectTo(stage, nativeDriverName()); // the other one has all rows before it gives the first
    stage.click("cmdExec");
    const QPointer<QWidget> console = openedConsole();
    QTRY_COMPARE(control<QLabel>(*console, "lblState").text(), "店:接続OK");
    control<QCheckBox>(*console, "ckNoTextNoGrid").setChecked(true);
    control<SqlTextBox>(*console, "txtSql").setContents("select seq from seq_1_to_10000000");
    m_server->takeStatements();
    const auto count = [&] { return control<QLabel>(*console, "lblRecordCount").text().toInt(); };
    int atClick = 0;
    QTimer watch;
    watch.callOnTimeout(this, [&] {
        if (atClick == 0 && count() > 0) {
            stage.choose("lstTables", "[TABLE]\t商品");
            stage.click("cmdCheckTable");
            atClick = count();
        } else if (atClick > 0 && count() > 3 * atClick) {
            watch.stop();
            QCOMPARE(m_server->takeStatements().size(), 1);
            QTest::keyClick(console, Qt::Key_Escape);
        }
    });
    watch.start(5);
    Boxes boxes;
    boxes.expectOk(QStringLiteral("処理を中断しました"));
    control<QPushButton>(*console, "cmdExec").click();
    QTRY_COMPARE(stage.control<QLabel>("lblTableName")->text(), "商品");
    const QStringList sent = m_server->takeStatements();
    QVERIFY2(sent.filter("商品").size() == 3, qPrintable(sent.join(u'\n'))); // the refused command sent none
}

void FaultsTest::settingsThatCannotBeSavedAreSaidAndTheOldOnesStay()
{
    MainWindowStage stage;
    Session &session = stage.session;
    session.gServer = "old";
    QCOMPARE(sSaveSettings(session), QString());
    session.gServer = "new";
    {
        const LockedFolder locked(stage.folder.path());
        QVERIFY(sSaveSettings(session).contains("Permission denied"));
    }
    sLoadSettings(session);
    QCOMPARE(session.gServer, "old");

    session.gIniPath = stage.folder.filePath("missing/Tarnwell.ini");
    Boxes boxes;
    boxes.expectOk("設定を保存できませんでした。\r\n" + session.gIniPath + ": No such file or directory");
    stage.window->close();
    QVERIFY(!stage.window->isVisible());
}

QTEST_MAIN(FaultsTest)
#include "test_faults.moc"
