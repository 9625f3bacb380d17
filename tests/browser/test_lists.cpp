#include "console/history.h"
#include "controls/grid/gridcopy.h"
#include "windowstage.h"

#include <QScrollBar>

// The window's lists and detail over a scripted server: which statements are sent, word for word, and what
// the controls show of the answers.
class ListsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_stage.reset(); }
    void aDatabaseClickSendsItsStatementsInOrder();
    void aChoiceDuringACommandIsCarriedOutAfterIt();
    void aClickWithoutAConnectionSaysSo();
    void aTableClickSendsFourStatements();
    void anObjectThatCannotBeReadCanOnlyBeDropped();
    void theLogKeepsWhatIsSelectedInIt();
    void whatAStatementLeavesToKnowIsShown();

private:
    template <class Control>
    Control &get(const char *name) const
    {
        return control<Control>(*m_stage->opened, name);
    }
    QStringList texts(const char *list) const { return get<ChosenList>(list).texts(); }
    QString label(const char *name) const { return get<QLabel>(name).text(); }
    bool isEnabled(const char *name) const { return get<QWidget>(name).isEnabled(); }
    void click(const char *name) const { press(*m_stage->opened, {name}); }
    void choose(const char *name, int row) const
    {
        auto &box = get<ChosenList>(name);
        clickItem(box, *box.item(row));
    }
    // Answers as a server would that has database "d" with a table, a view and two broken views.
    void openDatabase();
    QStringList takeSent() const { return std::exchange(m_stage->script.sent, {}); }

    std::unique_ptr<WindowStage> m_stage;
};

void ListsTest::init()
{
    failOnAnyWarning();
    m_stage = std::make_unique<WindowStage>();
    m_stage->mainWindow();
    m_stage->connect();
    QVERIFY(m_stage->session.gCn);
}

void ListsTest::openDatabase()
{
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
    choose("lstDb", 0);
}

void ListsTest::aDatabaseClickSendsItsStatementsInOrder()
{
    openDatabase();
    const QStringList statements{"show tables from `d`;",       "show create table `d`.t;",
                                 "show create table `d`.v;",    "show create table `d`.order;",
                                 "show create table `d`.gone;", "show procedure status ;",
                                 "show function status",        "show table status from `d` ;"};
    QCOMPARE(takeSent(), statements);
    QCOMPARE(texts("lstTables"), (QStringList{"[TABLE]\tt", "[VIEW]\tv", "[ERROR]\torder"}));
    QCOMPARE(texts("lstProcFunc"), (QStringList{"[PROC]\tp", "[FUNC]\tf"}));
    QCOMPARE(label("lblCkTableName") + label("lblEditName"), "d全ﾃｰﾌﾞﾙ編集????:");
    QCOMPARE(get<FlexGrid>("flGrid_Status").text(1, 1), "NULL");
    QVERIFY(!isEnabled("cmdDropTable") && !isEnabled("cmdDataGet"));
    // The same again. Routines that cannot be listed are left out silently.
    m_stage->script.once("show procedure status ;", Reply::failure("no such thing"));
    choose("lstDb", 0);
    QCOMPARE(takeSent(), statements);
    QCOMPARE(texts("lstProcFunc"), QStringList{"[FUNC]\tf"});
    click("cmdShowDb");
    QCOMPARE(texts("lstTables") + texts("lstProcFunc"), QStringList());
    QCOMPARE(m_stage->session.gDbName + label("lblCkTableName"), QString());
}

void ListsTest::aChoiceDuringACommandIsCarriedOutAfterIt()
{
    openDatabase();
    m_stage->session.runner.run(m_stage->opened.get(), "a command", [this] {
        choose("lstDb", 1);
        choose("lstTables", 0);
        QCOMPARE(m_stage->session.gDbName, "d");
    });
    QTRY_COMPARE(m_stage->session.gDbName, "e");
    QCOMPARE(texts("lstTables"), QStringList());
}

// As the console leaves it when it cannot connect again.
void ListsTest::aClickWithoutAConnectionSaysSo()
{
    openDatabase();
    m_stage->session.gCn.reset();
    m_stage->boxes.expectOk("サーバーに接続されていません。");
    choose("lstDb", 0);
}

void ListsTest::aTableClickSendsFourStatements()
{
    openDatabase();
    m_stage->says("show full fields from `d`.t;", {"Field", "Type", "Default"}, {"a", "int", "NULL"});
    m_stage->says("show index from `d`.t;", {"Key_name", "Sub_part"}, {"PRIMARY", "NULL"});
    takeSent();
    choose("lstTables", 0);
    QCOMPARE(takeSent(), (QStringList{"show full fields from `d`.t;", "show create table `d`.t;",
                                      "show table status from `d`;", "show index from `d`.t;"}));
    QCOMPARE(label("lblTableName") + label("lblPreTable") + label("lblEditName"), "t1編集ﾃｰﾌﾞﾙ:");
    const QString text = "CREATE TABLE t (\r\n  a int\r\n)";
    QCOMPARE(label("lblCreateTable"), text);
    QCOMPARE(get<FlexGrid>("flGrid_Field").text(0, 2), QString());
    QCOMPARE(get<FlexGrid>("flGrid_Index").text(0, 1), "NULL");
    QVERIFY(isEnabled("cmdDropTable") && isEnabled("cmdCreateTable") && !isEnabled("cmdInOut"));

    // An edit that the next click replaces is not lost.
    get<SqlTextBox>("txtField").setContents("CREATE TABLE t (a bigint)");
    choose("lstTables", 0);
    QCOMPARE(get<SqlTextBox>("txtField").contents(), text);
    QCOMPARE(History(historyFile(m_stage->session)).statements(), QStringList("CREATE TABLE t (a bigint)"));
    QVERIFY(get<QPlainTextEdit>("txtError").toPlainText().contains("Alt+↑"));
}

void ListsTest::anObjectThatCannotBeReadCanOnlyBeDropped()
{
    openDatabase();
    // Without the right SHOW VIEW the fields can be read, but no more.
    m_stage->says("show full fields from `d`.order;", {"Field", "Type"}, {"a", "int"});
    m_stage->boxes.expectOk("syntax");
    choose("lstTables", 2);
    QCOMPARE(label("lblTableName") + get<QPlainTextEdit>("txtError").toPlainText(), "ordersyntax");
    QVERIFY(isEnabled("cmdDropTable"));
    QVERIFY(!isEnabled("cmdCreateTable") && !isEnabled("cmdDataGet"));
}

void ListsTest::theLogKeepsWhatIsSelectedInIt()
{
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

QTEST_MAIN(ListsTest)
#include "test_lists.moc"
