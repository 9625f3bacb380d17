#include "browser/frmTarnwell.h"
#include "controls/window/encryptionsign.h"
#include "support/gui/stage.h"

#include <QDialogButtonBox>
#include <QScopeGuard>
#include <QSet>
#include <QTreeWidget>

namespace {

const char *const setUp = R"(
    SET NAMES utf8mb4; DROP DATABASE IF EXISTS 店; CREATE DATABASE 店 CHARACTER SET utf8mb4; USE 店;
    CREATE TABLE 商品 (id INT PRIMARY KEY, 名前 VARCHAR(40), memo TEXT, KEY n (名前)) ENGINE=InnoDB;
    INSERT INTO 商品 VALUES (1, 'ﾃｽﾄ', 'x'), (2, '😀', ''), (3, NULL, 'NULL');
    CREATE TABLE `with blank` (a INT); CREATE TABLE `select` (a INT);
    CREATE TABLE gone (a INT); CREATE VIEW broken AS SELECT a FROM gone; DROP TABLE gone;
    CREATE VIEW 表示 AS SELECT id, 名前 FROM 商品 WHERE id > 0; CREATE VIEW slow AS SELECT SLEEP(5) AS s;
    CREATE PROCEDURE p() SELECT 1; CREATE FUNCTION f() RETURNS INT RETURN 1;
)";

} // namespace

// The real window on each kind of server, over each of the two connections: a click for each command.
class MainWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { TestServers::addConnectionRows(); }
    void init();
    void cleanup() { m_stage.reset(); }
    void missingEntriesAreRefusedInOrder();
    void aDataSourceConnects();
    void onlyTheWordLocalhostIsLocal();
    void everyObjectIsListedAndShown();
    void aListIsReadAgainWhereTheFocusIs();
    void rowsAreShownUpToTheLimitOrTheStop();
    void batchesAndScriptsReachEveryTable();
    void triggersAndEventsAreMadeChangedAndDropped_data();
    void triggersAndEventsAreMadeChangedAndDropped();
    void anExpiredPasswordIsRenewed();
    void aConnectionUnderWayIsGivenUp();
    void lettersSpellATableWhileTheServerThinks();
    void aThinkingServerIsLeftAtOnce_data();
    void aThinkingServerIsLeftAtOnce();
    void aTransferIsNotEndedInSilence();

private:
    template <class Control>
    Control *control(const char *name) const
    {
        return m_stage->control<Control>(name);
    }
    void click(const char *name) const { m_stage->click(name); }
    void choose(const char *list, const char *item) const { m_stage->choose(list, item); }
    void connectTo(const QString &server) const;
    // Connected as if to this machine, with the database chosen.
    void openDatabase() const;
    QString sql(const QString &statements) const { return m_server->run(statements, "店"); }
    FlexGrid &grid(const char *name) const { return *control<FlexGrid>(name); }

    TestServers m_servers;
    TestServer *m_server = nullptr;
    std::unique_ptr<MainWindowStage> m_stage;
};

void MainWindowTest::init()
{
    QFETCH_GLOBAL(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    failOnAnyWarning();
    m_server = &m_servers.of(brand);
    m_server->run(QString::fromUtf8(setUp));
    m_stage = std::make_unique<MainWindowStage>();
    m_stage->enter(driverOf(isBuiltIn()), m_server->port());
}

void MainWindowTest::connectTo(const QString &server) const
{
    control<QLineEdit>("txtServer")->setText(server);
    click("cmdConnect");
    QVERIFY(m_stage->session.gCn && m_stage->session.gCn->isOpen());
    click("cmdShowDb");
}

void MainWindowTest::openDatabase() const
{
    connectTo("localhost");
    choose("lstDb", "店");
}

void MainWindowTest::missingEntriesAreRefusedInOrder()
{
    Boxes boxes;
    const auto isRefused = [&](const char *words) {
        boxes.expectOk(words);
        click("cmdConnect");
    };
    for (const auto &[box, words] : {std::pair("txtPort", "ﾎﾟｰﾄを選択して下さい。"),
                                     {"txtUser", "ﾕｰｻﾞｰ名を選択して下さい。"},
                                     {"txtServer", "ｻｰﾊﾞｰ名を選択して下さい。"}}) {
        control<QLineEdit>(box)->setText("  ");
        isRefused(words);
    }
    for (const char *box : {"cboDrivers", "cboDSNList"}) {
        control<QComboBox>(box)->setEditText(" ");
        isRefused("ﾄﾞﾗｲﾊﾞを選択して下さい。");
    }
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
    for (const QString server : {"localhost", "127.0.0.1"}) {
        const bool isLocal = server == u"localhost";
        connectTo(server);
        QCOMPARE(m_stage->session.gIsLocalServer, isLocal);
        QCOMPARE(control<QWidget>("cmdBackup")->isEnabled(), isLocal);
        click("cmdClose");
        QVERIFY(!m_stage->session.gIsLocalServer);
    }
}

void MainWindowTest::everyObjectIsListedAndShown()
{
    QFETCH_GLOBAL(TestServer::Brand, brand);
    openDatabase();
    QCOMPARE(m_stage->session.connection().server().isMariaDb, brand == TestServer::Brand::MariaDb);
    const QStringList items = control<ChosenList>("lstTables")->texts();
    // A name after a dot needs no quotes.
    QCOMPARE(QSet<QString>(items.begin(), items.end()),
             (QSet<QString>{"[TABLE]\t商品", "[TABLE]\tselect", "[ERROR]\twith blank", "[VIEW]\t表示",
                            "[VIEW]\tbroken", "[VIEW]\tslow"}));
    QCOMPARE(control<ChosenList>("lstProcFunc")->texts(), (QStringList{"[PROC]\tp", "[FUNC]\tf"}));
    choose("lstTables", "[TABLE]\t商品");
    QCOMPARE(grid("flGrid_Field").rowCount(), 3);
    QCOMPARE(grid("flGrid_Index").rowCount(), 2);
    QCOMPARE(grid("flGrid_Status").rowCount(), 1);
    choose("lstTables", "[VIEW]\t表示");
    // MariaDB drops the parentheses of a condition.
    QCOMPARE(control<SqlTextBox>("txtField")->contents().remove(u'(').remove(u')'),
             "CREATE VIEW 店.表示 AS \r\nselect 店.商品.id AS id,\r\n\t店.商品.名前 AS 名前 \r\n from "
             "店.商品 \r\n where 店.商品.id > 0");
    choose("lstProcFunc", "[PROC]\tp");
    QVERIFY(control<SqlTextBox>("txtProc")->contents().endsWith("PROCEDURE p()\r\nSELECT 1"));

    click("showLog");
    const FlexGrid &log = grid("statementLogGrid");
    QTRY_COMPARE(log.text(log.rowCount() - 1, 3), "show create procedure `店`.p;");
    QVERIFY(log.text(log.rowCount() - 1, 2).endsWith(" 行"));
}

void MainWindowTest::aListIsReadAgainWhereTheFocusIs()
{
    openDatabase();
    choose("lstTables", "[TABLE]\t商品");
    sql("CREATE TABLE 新 (a INT)");
    auto &tables = *control<ChosenList>("lstTables");
    const auto refresh = [&] { m_stage->window->findChild<QAction *>("action_refreshShown")->trigger(); };
    control<QWidget>("flGrid_Field")->setFocus();
    refresh();
    QVERIFY(!tables.texts().contains("[TABLE]\t新"));
    // Which gives the focus back to the list.
    m_stage->window->findChild<QAction *>("action_showSurroundings")->trigger();
    QTest::keyClick(control<QTreeWidget>("surroundingsTree"), Qt::Key_Escape);
    QCOMPARE(m_stage->window->focusWidget(), &tables);
    refresh();
    QVERIFY(tables.texts().contains("[TABLE]\t新"));
    QCOMPARE(tables.currentText(), "[TABLE]\t商品");
    QCOMPARE(control<QLabel>("lblTableName")->text(), "商品");
}

void MainWindowTest::rowsAreShownUpToTheLimitOrTheStop()
{
    sql("CREATE TABLE many (id INT, filler TEXT); INSERT INTO many VALUES (1, REPEAT('x', 3000));" +
        QString("INSERT INTO many SELECT id, filler FROM many;").repeated(14));
    openDatabase();
    const FlexGrid &data = grid("flGrid_Data");
    choose("lstTables", "[TABLE]\t商品");
    click("cmdDataGet");
    QCOMPARE(data.rowCount(), 3);
    QVERIFY(data.isNull(2, 1) && !data.isNull(1, 1));

    Boxes boxes;
    choose("lstTables", "[TABLE]\tmany");
    control<QComboBox>("cboLimit")->setCurrentIndex(2);
    auto *count = control<QLabel>("lblRecordCount");
    count->clear();
    // The second click comes once the first rows are there, as soon as the read lets events run.
    QTimer watch;
    watch.callOnTimeout(this, [&] {
        if (!count->text().isEmpty() && control<QPushButton>("cmdDataGet")->text() == u"停止") {
            watch.stop();
            click("cmdDataGet");
        }
    });
    watch.start(0);
    boxes.expectOk("処理を中断しました");
    click("cmdDataGet");
    const int rows = data.rowCount();
    QVERIFY(rows > 0 && rows < 10000);
    QCOMPARE(count->text(), QString::number(rows));
    click("cmdDataGet"); // and the connection still works
    QCOMPARE(data.rowCount(), 10000);
}

void MainWindowTest::batchesAndScriptsReachEveryTable()
{
    QFETCH_GLOBAL(TestServer::Brand, brand);
    const bool knowsInvisible = brand != TestServer::Brand::MySql56;
    sql(QStringLiteral(
            "DROP VIEW broken; DROP VIEW slow; DROP TABLE `with blank`; CREATE TABLE 列 (a INT, b INT %1)")
            .arg(knowsInvisible ? "INVISIBLE" : "") +
        ";INSERT INTO 列 (a, b) VALUES (1, 2)");
    openDatabase();
    Boxes boxes;
    for (const auto &[button, phrase, closing] :
         {std::tuple("cmdCheckTable", "検査を行います。", "問題はありませんでした。"),
          {"cmdOptimizeTable", "最適化を行います。", "最適化しました。"},
          {"cmdRepairTable", "修復を行います。", "修復しました。"},
          {"cmdCopyDb", "ﾃﾞｰﾀｺﾋﾟｰを行います。", "ﾃｰﾌﾞﾙをｺﾋﾟｰしました。"}}) {
        boxes.expectOk("全ﾃｰﾌﾞﾙの" + QString::fromUtf8(phrase));
        boxes.expectOk(QString::fromUtf8(closing));
        click(button);
    }
    const QString stamp = QDate::currentDate().toString("_yy_MM_dd");
    QCOMPARE(sql(QStringLiteral("SELECT COUNT(*) FROM back_商品%1; SELECT COUNT(*) FROM back_表示%1; SELECT "
                                "a, b FROM back_列%1")
                     .arg(stamp)),
             "3\n3\n1\t2\n");
    const QTemporaryDir folder;
    boxes.expectFile(folder.path());
    boxes.expectOk(QStringLiteral("「%1/」にﾊﾞｯｸｱｯﾌﾟしました。").arg(folder.path()));
    click("cmdScriptBackUp");
    QCOMPARE(QDir(folder.path()).entryList(QDir::Files),
             (QStringList{"f.func", "p.proc", "select.table", "列.table", "商品.table", "表示.view"}));
}

void MainWindowTest::triggersAndEventsAreMadeChangedAndDropped_data()
{
    const Rows<QByteArray, QString> row; // the button that makes one
    row("trigger", "newTrigger", "TRIGGER x BEFORE INSERT ON 商品 FOR EACH ROW SET NEW.memo = 'a'");
    row("event", "newEvent", "EVENT x ON SCHEDULE EVERY 1 DAY DO DELETE FROM 商品 WHERE memo = 'a'");
}

// In their window; what the server refuses loses neither the text there nor what stands on the server.
void MainWindowTest::triggersAndEventsAreMadeChangedAndDropped()
{
    const auto [maker, definition] = fetched<QByteArray, QString>();
    const auto stands = [this] {
        return sql("SELECT action_statement FROM information_schema.triggers WHERE trigger_schema='店' UNION "
                   "SELECT event_definition FROM information_schema.events WHERE event_schema='店'");
    };
    QString text, kept;
    QStringList stood;
    Boxes boxes;
    boxes.agree({}, [&](QDialog &window) {
        auto &box = *window.findChild<SqlTextBox *>("definitionText");
        text = box.contents().contains("'a'") ? box.contents().replace("'a'", "'b'") : "CREATE " + definition;
        for (const QString &each : {text + " )", text}) {
            box.setContents(each);
            window.findChild<QPushButton *>("applyDefinitionText")->click();
            kept += window.isVisible() ? box.contents() : QString();
            stood << stands();
        }
        if (window.isVisible())
            window.reject();
    });
    openDatabase();
    choose("lstTables", "[TABLE]\t商品");
    m_stage->window->findChild<QAction *>("action_showSurroundings")->trigger();
    auto &tree = *control<QTreeWidget>("surroundingsTree");
    const auto shown = [&] { return tree.findItems("x", Qt::MatchExactly | Qt::MatchRecursive); };
    QTRY_VERIFY(tree.topLevelItemCount() > 0);
    click(maker.constData());
    QCOMPARE(kept, text + " )");
    QVERIFY2(stood[0].isEmpty() && stood[1].contains("'a'"), qPrintable(stood.join('|')));
    QTRY_VERIFY(!shown().isEmpty());
    tree.setCurrentItem(shown().front());
    kept.clear();
    click("changeRelated");
    QCOMPARE(kept, text + " )");
    QCOMPARE(stood[2], stood[1]);
    QCOMPARE(stood[3], QString(stood[1]).replace("'a'", "'b'"));
    QTRY_VERIFY(!shown().isEmpty());
    tree.setCurrentItem(shown().front());
    click("dropRelated");
    QCOMPARE(stands(), "");
    QVERIFY2(boxes.seen().last().contains("`店`.`x` を削除します。"), qPrintable(boxes.seen().last()));
    QTRY_VERIFY(shown().isEmpty());
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
    const Boxes none; // in the end it would say that it failed
    QTimer::singleShot(300, this, [&] { click("cmdClose"); });
    click("cmdConnect");
    QTRY_VERIFY(control<QWidget>("cmdConnect")->isEnabled() && !control<QWidget>("cmdClose")->isEnabled());
    QVERIFY(!m_stage->session.gCn);
}

void MainWindowTest::lettersSpellATableWhileTheServerThinks()
{
    sql("CREATE TABLE za(a INT); CREATE TABLE zb(a INT); CREATE TABLE zbc(a INT)");
    openDatabase();
    QWidget &list = *control<QWidget>("lstTables");
    list.setFocus();
    m_server->freeze();
    QTimer::singleShot(300, this, [&] {
        QTest::keyClicks(&list, "bc");
        QTest::keyClick(&list, Qt::Key_Up); // other keys choose nothing meanwhile
        m_server->resume();
    });
    QTest::keyClick(&list, Qt::Key_Z);
    QTRY_COMPARE(control<QLabel>("lblTableName")->text(), "zbc");
    QVERIFY(!m_stage->session.runner.isRunning());
}

void MainWindowTest::aThinkingServerIsLeftAtOnce_data()
{
    // What is pressed, and whether that closes the window, or else the connection alone.
    const Rows<QString, bool> row;
    row("disconnect", "cmdClose", false);
    row("close the window", "", true);
    row("end the program", "cmdEnd", true);
    row("end the program by its key", "Ctrl+Q", true);
}

void MainWindowTest::aThinkingServerIsLeftAtOnce()
{
    const auto [pressed, closes] = fetched<QString, bool>();
    Boxes boxes;
    openDatabase();
    m_stage->choose("lstTables", "[VIEW]\tslow");
    QTimer::singleShot(300, this, [&, pressed = pressed] {
        if (pressed.isEmpty())
            closeByUser(*m_stage->window);
        else if (pressed == "Ctrl+Q")
            QTest::keyClick(control<QWidget>("txtField"), Qt::Key_Q, Qt::ControlModifier);
        else
            click(qPrintable(pressed));
    });
    boxes.expectOk("処理を中断しました"); // else there is a row, five seconds later
    click("cmdDataGet");
    QTRY_VERIFY(!m_stage->session.gCn);
    QCOMPARE(m_stage->session.gDbName.isEmpty(), !closes);
    QCOMPARE(m_stage->window->isVisible(), !closes);
    QCOMPARE(control<QWidget>("cmdConnect")->isEnabled(), !closes);
}

void MainWindowTest::aTransferIsNotEndedInSilence()
{
    Boxes boxes;
    openDatabase();
    const QString path = m_stage->folder.filePath("slow.sql");
    writeFile(path, "SELECT SLEEP(60);\n");
    m_stage->window->findChild<QAction *>("action_openLoad")->trigger();
    QPointer<QWidget> load;
    for (QWidget *window : QApplication::topLevelWidgets())
        if (window->objectName() == u"loadWindow")
            load = window;
    ::control<QLineEdit>(*load, "loadPath").setText(path);
    for (const char *button : {"loadLook", "startLoad"}) {
        QTRY_VERIFY(::control<QPushButton>(*load, button).isEnabled());
        press(*load, {button});
    }
    QTRY_VERIFY(sql("SHOW PROCESSLIST").contains("SLEEP(60)"));
    const QString question =
        QString(
            "実行中の処理があります。\r\n・SQL ファイルの読み込み (localhost:%1)\r\n中断して終了しますか？")
            .arg(m_server->port());
    boxes.expect(question, QMessageBox::Cancel);
    click("cmdEnd");
    QVERIFY(m_stage->session.gCn && m_stage->window->isVisible());
    QVERIFY(sql("SHOW PROCESSLIST").contains("SLEEP(60)"));
    boxes.expect(question, QMessageBox::Ok);
    click("cmdEnd");
    QVERIFY(!m_stage->session.gCn && !m_stage->window->isVisible());
    QTRY_VERIFY_WITH_TIMEOUT(!load, 20000);
    QVERIFY(!sql("SHOW PROCESSLIST").contains("SLEEP(60)"));
}

QTEST_MAIN(MainWindowTest)
#include "test_mainwindow.moc"
