#include "browser/frmTarnwell.h"
#include "console/history.h"
#include "controls/grid/gridcopy.h"
#include "support/gui/stage.h"

#include <QMenu>
#include <QMenuBar>
#include <QScrollBar>

namespace {

// The menu as the user sees it when it is open.
QList<QAction *> opened(QMenu &menu)
{
    Q_EMIT menu.aboutToShow();
    return menu.actions();
}

QAction &action(const QWidget &window, const char *id)
{
    return control<QAction>(window, (QByteArray("action_") + id).constData());
}

} // namespace

// The window over a scripted server: which statements are sent, word for word, what the controls show of the
// answers, and where each command stands, from one row of a table.
class ListsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_stage.reset(); }
    void aDatabaseClickSendsItsStatementsInOrder();
    void aChoiceDuringACommandIsCarriedOutAfterIt();
    void aClickWithoutAConnectionMakesOne();
    void cancellingANewDatabaseKeepsWhatIsChosen();
    void aTableClickSendsFourStatements();
    void anObjectThatCannotBeReadCanOnlyBeDropped();
    void theLogKeepsWhatIsSelectedInIt();
    void whatAStatementLeavesToKnowIsShown();
    void everyCommandHasItsPlace();
    void whatCannotBeUsedSaysWhy();
    void contextMenusHoldWhatConcernsTheList();
    void thePaletteFindsCommandsAndObjects_data();
    void thePaletteFindsCommandsAndObjects();

private:
    template <class Control>
    Control &get(const char *name) const
    {
        return *m_stage->control<Control>(name);
    }
    QString label(const char *name) const { return get<QLabel>(name).text(); }
    void click(const char *name) const { press(*m_stage->window, {name}); }
    // Answers as a server would that has database "d" with a table, a view and two broken views.
    void openDatabase();
    QStringList takeSent() const { return std::exchange(m_stage->script.sent, {}); }

    std::unique_ptr<WindowStage> m_stage;
};

void ListsTest::init()
{
    failOnAnyWarning();
    m_stage = std::make_unique<WindowStage>();
}

void ListsTest::openDatabase()
{
    m_stage->open(new frmTarnwell(m_stage->session));
    m_stage->connect();
    QVERIFY(m_stage->session.gCn);
    Script &script = m_stage->script;
    script.always("show databases;", Reply::table({"Database"}, {{"d"}, {"e"}}));
    script.always("show tables from `d`;",
                  Reply::table({"Tables_in_d"}, {{"t"}, {"v"}, {"order"}, {"gone"}}));
    m_stage->says("show create table `d`.t;", {"Table", "Create Table"},
                  {"t", "CREATE TABLE `t` (\n  `a` int\n)"});
    m_stage->says("show create table `d`.v;", {"View", "Create View"},
                  {"v", "CREATE DEFINER=`x` VIEW `v` AS select 1 AS `a`,2 AS `b` from `t`"});
    script.always("show create table `d`.order;", Reply::failure("syntax", 1064));
    script.always("show create table `d`.gone;", Reply::table({"Table"}));
    script.always("show procedure status ;",
                  Reply::table({"Db", "Name"}, {{"d", "p"}, {"D", "other"}, {"e", "q"}}));
    m_stage->says("show function status", {"Db", "Name"}, {"d", "f"});
    for (const char *statement : {"show table status from `d` ;", "show table status from `d`;"})
        script.always(statement, Reply::table({"Name", "Rows"}, {{"t", "3"}, {"v", std::nullopt}}));
    click("cmdShowDb");
    takeSent();
    m_stage->choose("lstDb", 0);
}

void ListsTest::aDatabaseClickSendsItsStatementsInOrder()
{
    openDatabase();
    const QStringList statements{"show tables from `d`;",       "show create table `d`.t;",
                                 "show create table `d`.v;",    "show create table `d`.order;",
                                 "show create table `d`.gone;", "show procedure status ;",
                                 "show function status",        "show table status from `d` ;"};
    QCOMPARE(takeSent(), statements);
    QCOMPARE(m_stage->items("lstTables"), (QStringList{"[TABLE]\tt", "[VIEW]\tv", "[ERROR]\torder"}));
    QCOMPARE(m_stage->items("lstProcFunc"), (QStringList{"[PROC]\tp", "[FUNC]\tf"}));
    QCOMPARE(label("lblCkTableName") + label("lblEditName"), "d全ﾃｰﾌﾞﾙ編集????:");
    QCOMPARE(get<FlexGrid>("flGrid_Status").text(1, 1), "NULL");
    QVERIFY(!m_stage->isEnabled("cmdDropTable") && !m_stage->isEnabled("cmdDataGet"));
    // The same again. Routines that cannot be listed are left out silently.
    m_stage->script.once("show procedure status ;", Reply::failure("no such thing"));
    m_stage->choose("lstDb", 0);
    QCOMPARE(takeSent(), statements);
    QCOMPARE(m_stage->items("lstProcFunc"), QStringList{"[FUNC]\tf"});
    click("cmdShowDb");
    QCOMPARE(m_stage->items("lstTables") + m_stage->items("lstProcFunc"), QStringList());
    QCOMPARE(m_stage->session.gDbName + label("lblCkTableName"), QString());
}

void ListsTest::aChoiceDuringACommandIsCarriedOutAfterIt()
{
    openDatabase();
    m_stage->session.runner.run(m_stage->window, "a command", [this] {
        m_stage->choose("lstDb", 1);
        m_stage->choose("lstTables", 0);
        QCOMPARE(m_stage->session.gDbName, "d");
    });
    QTRY_COMPARE(m_stage->session.gDbName, "e");
    QCOMPARE(m_stage->items("lstTables"), QStringList());
}

void ListsTest::cancellingANewDatabaseKeepsWhatIsChosen()
{
    openDatabase();
    m_stage->choose("lstTables", 1);
    m_stage->boxes.expectDialog("frmCreateDB", [](QDialog &dialog) { dialog.reject(); });
    click("cmdCreateDb");
    QCOMPARE(label("lblCkTableName") + label("lblTableName"), "vv");
    QVERIFY(takeSent().contains("show databases;"));
}

// As the console leaves it when it cannot connect again.
void ListsTest::aClickWithoutAConnectionMakesOne()
{
    openDatabase();
    m_stage->session.gCn.reset();
    m_stage->choose("lstDb", 0);
    QCOMPARE(label("lblCkTableName"), "d全ﾃｰﾌﾞﾙ");
    QVERIFY(m_stage->session.gCn);
}

void ListsTest::aTableClickSendsFourStatements()
{
    openDatabase();
    m_stage->says("show full fields from `d`.t;", {"Field", "Type", "Default"}, {"a", "int", "NULL"});
    m_stage->says("show index from `d`.t;", {"Key_name", "Sub_part"}, {"PRIMARY", "NULL"});
    takeSent();
    m_stage->choose("lstTables", 0);
    QCOMPARE(takeSent(), (QStringList{"show full fields from `d`.t;", "show create table `d`.t;",
                                      "show table status from `d`;", "show index from `d`.t;"}));
    QCOMPARE(label("lblTableName") + label("lblPreTable") + label("lblEditName"), "t1編集ﾃｰﾌﾞﾙ:");
    const QString text = "CREATE TABLE t (\r\n  a int\r\n)";
    QCOMPARE(label("lblCreateTable"), text);
    QCOMPARE(get<FlexGrid>("flGrid_Field").text(0, 2), QString());
    QCOMPARE(get<FlexGrid>("flGrid_Index").text(0, 1), "NULL");
    QVERIFY(m_stage->isEnabled("cmdDropTable") && m_stage->isEnabled("cmdCreateTable") &&
            !m_stage->isEnabled("cmdInOut"));

    // An edit that the next click replaces is not lost.
    get<SqlTextBox>("txtField").setContents("CREATE TABLE t (a bigint)");
    m_stage->choose("lstTables", 0);
    QCOMPARE(get<SqlTextBox>("txtField").contents(), text);
    QCOMPARE(History(historyFile(m_stage->session)).statements(), QStringList("CREATE TABLE t (a bigint)"));
    QVERIFY(get<QPlainTextEdit>("txtError").toPlainText().contains("Alt+↑"));

    // Without a row there is no text, and none of the table before.
    m_stage->script.once("show create table `d`.t;", Reply::table({"Table", "Create Table"}, {}));
    m_stage->choose("lstTables", 0);
    QCOMPARE(label("lblCreateTable") + get<SqlTextBox>("txtField").contents(), QString());
}

void ListsTest::anObjectThatCannotBeReadCanOnlyBeDropped()
{
    openDatabase();
    // Without the right SHOW VIEW the fields can be read, but no more.
    m_stage->says("show full fields from `d`.order;", {"Field", "Type"}, {"a", "int"});
    m_stage->boxes.expectOk("syntax");
    m_stage->choose("lstTables", 2);
    QCOMPARE(label("lblTableName") + get<QPlainTextEdit>("txtError").toPlainText(), "ordersyntax");
    QVERIFY(m_stage->isEnabled("cmdDropTable"));
    QVERIFY(!m_stage->isEnabled("cmdCreateTable") && !m_stage->isEnabled("cmdDataGet"));
}

void ListsTest::theLogKeepsWhatIsSelectedInIt()
{
    m_stage->open(new frmTarnwell(m_stage->session));
    auto &log = *m_stage->session.statementLog;
    click("showLog");
    auto &grid = get<FlexGrid>("statementLogGrid");
    for (std::size_t i = 0; i < StatementLog::capacity; ++i)
        log.add({{}, QStringLiteral("select %1").arg(i), 0, -1, {}});
    QTRY_COMPARE(grid.rowCount(), int(StatementLog::capacity));
    QCOMPARE(grid.verticalScrollBar()->value(),
             grid.verticalScrollBar()->maximum()); // the newest are in sight
    grid.setCurrentIndex(grid.model()->index(100, 3));
    grid.setColumnWidth(0, 77);
    const int top = grid.verticalScrollBar()->value();
    log.add({{}, "one more", 0, -1, {}}); // and the oldest is gone
    QTRY_COMPARE(grid.text(grid.rowCount() - 1, 3), "one more");
    QCOMPARE(grid.selectedText(CopyFormat::TabSeparated), "select 100");
    QCOMPARE(grid.verticalScrollBar()->value(), top - 1);
    QCOMPARE(grid.columnWidth(0), 77);
}

void ListsTest::whatAStatementLeavesToKnowIsShown()
{
    openDatabase();
    m_stage->script.always("check table `d`.t ", Reply::noted("the session's variables are gone"));
    m_stage->boxes.expectOk("全ﾃｰﾌﾞﾙの検査を行います。");
    m_stage->boxes.expectOk("問題はありませんでした。");
    click("cmdCheckTable");
    QCOMPARE(get<QPlainTextEdit>("txtError").toPlainText(), "the session's variables are gone");
}

void ListsTest::everyCommandHasItsPlace()
{
    WindowStage &stage = *m_stage;
    const QWidget &window = stage.open(new frmTarnwell(stage.session));
    QStringList titles, shown;
    QSet<QKeySequence> keys;
    for (QAction *menu : control<QMenuBar>(window, "menuBar").actions()) {
        titles << menu->text();
        for (const QAction *each : opened(*menu->menu())) {
            shown << each->objectName();
            QVERIFY2(each->shortcut().isEmpty() || !keys.contains(each->shortcut()),
                     qPrintable(each->text()));
            keys << each->shortcut();
        }
        Q_EMIT menu->menu()->aboutToHide();
    }
    QCOMPARE(titles.join(u' '), "接続 データベース テーブル SQL サーバー 表示 ヘルプ");
    QStringList missed;
    for (const QPushButton *button : window.findChildren<QPushButton *>())
        if (button->window() == &window && !shown.contains("action_" + button->objectName()))
            missed << button->objectName();
    // They are about the rows in front of them alone.
    QCOMPARE(missed.join(u' '), "previousRows nextRows showRowStatements cancelRows saveRows undoSavedRows");
    shown.removeDuplicates();
    QCOMPARE(shown.size(), window.findChildren<QAction *>(QRegularExpression("^action_")).size());
}

void ListsTest::whatCannotBeUsedSaysWhy()
{
    WindowStage &stage = *m_stage;
    const QWidget &window = stage.open(new frmTarnwell(stage.session));
    QMenu *table = control<QMenuBar>(window, "menuBar").actions().at(2)->menu();
    const QAction &data = action(window, "cmdDataGet"), &backup = action(window, "cmdBackup");
    const auto reasons = [&] {
        opened(*table);
        const QStringList texts{data.isEnabled() ? QString() : data.toolTip(),
                                backup.isEnabled() ? QString() : backup.toolTip()};
        Q_EMIT table->aboutToHide();
        return texts.join(u'|');
    };
    QCOMPARE(reasons(), "サーバーに接続していません|サーバーに接続していません");
    QVERIFY(data.isEnabled()); // its key must reach the button
    stage.connect("db.example");
    QCOMPARE(reasons(), "テーブルまたはビューを選んでください|サーバー名が localhost の接続でだけ使えます");
    stage.connected<frmTarnwell>();
    const QWidget &connected = *stage.window;
    QMenu *other = control<QMenuBar>(connected, "menuBar").actions().at(2)->menu();
    opened(*other);
    QVERIFY(action(connected, "cmdDataGet").isEnabled());
    Q_EMIT other->aboutToHide();
    stage.session.runner.run(stage.window, "ﾃｰﾌﾞﾙ検査", [&] {
        opened(*other);
        QVERIFY(!action(connected, "cmdDataGet").isEnabled());
        QCOMPARE(action(connected, "cmdDataGet").toolTip(), "「ﾃｰﾌﾞﾙ検査」の実行中です");
        Q_EMIT other->aboutToHide();
    });
    // A choice in the menu is a click on the button.
    const QSignalSpy clicks(&control<QPushButton>(connected, "cmdDataGet"), &QPushButton::clicked);
    action(connected, "cmdDataGet").trigger();
    QCOMPARE(clicks.size(), 1);
    QVERIFY(stage.script.sent.contains("select * from `d`.t limit 100 ;"));
}

void ListsTest::contextMenusHoldWhatConcernsTheList()
{
    WindowStage &stage = *m_stage;
    const QWidget &window = stage.connected<frmTarnwell>();
    QStringList shown;
    QTimer::singleShot(0, &window, [&] {
        QWidget *menu = QApplication::activePopupWidget();
        QVERIFY(menu);
        for (const QAction *each : menu->actions())
            shown << (each->objectName().isEmpty() ? each->text() : each->objectName());
        menu->close();
    });
    Q_EMIT control<ChosenList>(window, "lstTables").customContextMenuRequested(QPoint(5, 5));
    QVERIFY2(shown.contains("action_cmdDataGet") && !shown.contains("action_cmdDropProc"),
             qPrintable(shown.join(u' ')));
    QCOMPARE(shown.last(), "名前をコピー");
}

void ListsTest::thePaletteFindsCommandsAndObjects_data()
{
    // What is found first, and sent by its choice.
    const Rows<QString, QString> row;
    row("データ表示", "ﾃﾞｰﾀ表示", "select * from `d`.t limit 100 ;");
    row("p proc", "p", "show create procedure `d`.p;");
    row("バックアップ テーブル", "ﾊﾞｯｸｱｯﾌﾟ", ""); // this connection is none to localhost by name
}

void ListsTest::thePaletteFindsCommandsAndObjects()
{
    const auto [found, sent] = fetched<QString, QString>();
    WindowStage &stage = *m_stage;
    const QWidget &window = stage.connected<frmTarnwell>();
    stage.session.gIsLocalServer = false;
    control<QWidget>(window, "cmdBackup").setEnabled(false);
    stage.script.sent.clear();
    stage.boxes.expectDialog("commandPalette", [&](QDialog &palette) {
        auto &text = control<QLineEdit>(palette, "paletteText");
        text.setText(QTest::currentDataTag());
        const auto &list = control<QListWidget>(palette, "paletteList");
        QCOMPARE(list.item(0)->text().section(u'　', 0, 0), found);
        QTest::keyClick(&text, Qt::Key_Return);
        QCOMPARE(palette.isVisible(), sent.isEmpty());
        palette.reject();
    });
    action(window, "openPalette").trigger();
    QCOMPARE(stage.script.sent.value(0), sent);
}

QTEST_MAIN(ListsTest)
#include "test_lists.moc"
