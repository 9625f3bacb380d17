#include "rows/resultrows.h"
#include "sheets/safemode.h"
#include "sheets/sheettest.h"

#include <QMenu>
#include <QToolButton>

// Sheets with real connections: what they run, and ask before it.
class SheetWindowTest : public SheetTest {
    Q_OBJECT

private Q_SLOTS:
    void init() { begin(); }
    void cleanup() { end(); }
    void everyResultIsATab();
    void whatIsInsertedIsAStatementOfItsOwn();
    void anErrorMarksItsLine();
    void oneRunsWhileAnotherIsWrittenAndStopped();
    void whatIsNotCommittedIsAskedAbout();
    void whatTakesManyRowsIsAskedAboutOnce();
    void safeModeIsTheConnectionsOwn();
    void dangersAreFound_data();
    void dangersAreFound();
    void aLostConnectionIsMadeAnew();
    void rowsOfOneTableAreEdited();
    void theServersModeIsFollowed();
    void aClosedSheetEndsWhatItRan();
    void whatIsForAnotherServerGetsASheetOfIt();

private:
    SheetServices services() override
    {
        SheetServices services = SheetTest::services();
        services.editRows = [](Session &session, Dialogue &user, FlexGrid &grid, const SelectedTable &table) {
            auto rows = std::make_unique<ResultRows>(session, user, grid);
            return rows->begin(table.database, table.name) ? std::move(rows) : nullptr;
        };
        return services;
    }
};

void SheetWindowTest::everyResultIsATab()
{
    type("select 7 as a;\ncall two();\nupdate t set a = a + 1 where a > 1;\nselect 'x;' -- ;\n");
    control<QWidget>(*m_window, "runSheet").setFocus();
    run();
    QCOMPARE(m_window->focusWidget(), &page().editor()); // and not on the choice beside the button
    QCOMPARE(firstCells(), (QStringList{"7", "1", "2", "x;"}));
    QVERIFY2(messages().contains("2 行を変更しました"), qPrintable(messages()));
    QCOMPARE(m_remembered.size(), 4);
    QCOMPARE(m_stage->session.statementLog->entries().size(), std::size_t{4});
    // The statement at the cursor alone; a pinned result stays beside the next one.
    page().results().setCurrentIndex(1);
    press(*m_window, {"pinResult"});
    page().editor().setCursorPlace(20);
    QTest::keyClick(&page().editor(), Qt::Key_Return, Qt::ControlModifier);
    QTRY_VERIFY(!page().isRunning() && firstCells() == (QStringList{"7", "1", "2"}));
    QCOMPARE(m_remembered.last(), "call two()");
    // What was run comes back, and what was being written.
    type("draft");
    for (const char *expected : {"call two()", "select 'x;' -- ;", "call two()", "draft"}) {
        const bool isBack = page().editor().contents() == "select 'x;' -- ;" || expected == QString("draft");
        QTest::keyClick(&page().editor(), isBack ? Qt::Key_Down : Qt::Key_Up, Qt::AltModifier);
        QCOMPARE(page().editor().contents(), expected);
    }
    type("set sql_mode = ''; insert into t values ('x')");
    run();
    QVERIFY2(messages().contains("Warning 1366"), qPrintable(messages()));
}

void SheetWindowTest::whatIsInsertedIsAStatementOfItsOwn()
{
    const struct {
        const char *text;
        int place;
        const char *with;
    } cases[] = {{"", 0, "do 1"},
                 {"do 2", 0, "do 1;\ndo 2"},
                 {"do 2;", 5, "do 2;\ndo 1"},
                 {"do 2;\n\ndo 3", 6, "do 2;\ndo 1;\ndo 3"}};
    for (const auto &each : cases) {
        type(each.text);
        page().editor().setCursorPlace(each.place);
        page().insert("do 1");
        QCOMPARE(page().editor().bytes(), QByteArray(each.with));
    }
}

void SheetWindowTest::anErrorMarksItsLine()
{
    type("select 1;\n\nselect 2\nfrom nowhere\nwhere a;\nselect 3");
    run();
    QCOMPARE(firstCells(), QStringList("1"));
    QVERIFY(messages().contains("nowhere"));
    QVERIFY(page().editor().markersAtLine(2) != 0);
    type("select 1;\nselect +\n;");
    run();
    QVERIFY(page().editor().markersAtLine(1) != 0);
    press(*m_window, {"goOnAtErrors"});
    type("select nothing; select 3");
    run();
    QCOMPARE(firstCells(), QStringList("3"));
    // What the server says of it is longer than any window is wide.
    const int width = m_window->width();
    type("select '" + QString(300, 'w') + "' from");
    run();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    QCOMPARE(m_window->width(), width);
}

void SheetWindowTest::oneRunsWhileAnotherIsWrittenAndStopped()
{
    type("select sleep(60)");
    press(*m_window, {"runSheet"});
    SheetPage &slow = page();
    QTRY_VERIFY(m_server.run("show processlist").contains("sleep(60)"));
    m_window->addSheet();
    QVERIFY(&page() != &slow);
    QTest::keyClicks(&page().editor(), "select 5");
    QTest::keyClick(&page().editor(), Qt::Key_F5);
    QTRY_COMPARE(firstCells(), QStringList("5"));
    QVERIFY(slow.isRunning());
    control<QTabWidget>(*m_window, "sheetTabs").setCurrentWidget(&slow);
    slow.setFocus();
    QTest::keyClick(&slow.editor(), Qt::Key_Escape);
    QTRY_VERIFY_WITH_TIMEOUT(!slow.isRunning(), 10'000);
    QVERIFY(messages().contains("処理を中断しました"));
    type("select 6");
    run();
    QCOMPARE(firstCells(), QStringList("6"));
}

void SheetWindowTest::whatIsNotCommittedIsAskedAbout()
{
    QTest::mouseClick(&control<QCheckBox>(*m_window, "sheetAutocommit"), Qt::LeftButton, {}, QPoint(8, 8));
    QTRY_VERIFY(!page().isRunning());
    QVERIFY(!page().isAutocommit());
    type("set autocommit = 1"); // the box follows what is typed
    run();
    QVERIFY(control<QCheckBox>(*m_window, "sheetAutocommit").isChecked());
    type("set @@session.Autocommit = 0; insert into t values (9)");
    run();
    QVERIFY(control<QLabel>(*m_window, "transactionSign").isVisible());
    QCOMPARE(m_server.run("select count(*) from d.t where a = 9").trimmed().right(1), "0");
    m_dialogue->expectChoice("シート 1 *: 確定していない変更があります。",
                             "コミットして閉じる|ロールバックして閉じる", -1);
    QVERIFY(!m_window->close());
    run("commitSheet");
    QVERIFY(!control<QLabel>(*m_window, "transactionSign").isVisible());
    QCOMPARE(m_server.run("select count(*) from d.t where a = 9").trimmed().right(1), "1");
    // A commit that fails closes nothing.
    type("select connection_id(); insert into t values (10)");
    run();
    m_server.run("kill " + firstCells().value(0));
    m_dialogue->expectChoice("シート 1 *: 確定していない変更があります。",
                             "コミットして閉じる|ロールバックして閉じる", 0);
    QVERIFY(!m_window->close());
    QTRY_VERIFY(!page().isRunning() && !page().isInTransaction());
    QCoreApplication::processEvents();
    QVERIFY(m_window->isVisible());
    QVERIFY2(messages().contains("エラー") && !messages().contains("文ごとに確定"), qPrintable(messages()));
    QVERIFY(m_window->close());
}

void SheetWindowTest::whatTakesManyRowsIsAskedAboutOnce()
{
    type("delete from t; drop table t;");
    const QString question = m_stage->session.gServer + u':' + m_stage->session.gPort +
                             ": 多くの行や定義が失われる文です。\r\n・DELETE t（WHERE なし）：3 行\r\n"
                             "・DROP TABLE t：3 行\r\n実行しますか？";
    m_dialogue->expectConfirm(question, Icon::Critical, false);
    run();
    QCOMPARE(m_server.run("select count(*) from d.t").trimmed().right(1), "3");
    m_dialogue->expectConfirm(question, Icon::Critical, true);
    run();
    QTRY_COMPARE(m_server.run("select count(*) from information_schema.tables where table_schema = 'd'")
                     .trimmed()
                     .right(1),
                 "0");
}

void SheetWindowTest::safeModeIsTheConnectionsOwn()
{
    const auto &box = control<QCheckBox>(*m_window, "safeMode");
    QVERIFY(box.isChecked()); // without a saved connection
    ConnectionProfile &profile = m_stage->session.profile;
    profile.id = "1";
    m_window->addSheet();
    QVERIFY(!box.isChecked());
    profile.isSafe = true;
    m_window->takeMarks(profile);
    QVERIFY(box.isChecked());
    // The server's mode counts from the first statement, and those that the text itself sets.
    const QString question = m_stage->session.gServer + u':' + m_stage->session.gPort +
                             ": 多くの行や定義が失われる文です。\r\n・DELETE t（WHERE なし）：3 行\r\n"
                             "実行しますか？";
    const char *hidden = "select '\\'; delete from t; -- '";
    m_server.run("set global sql_mode = 'NO_BACKSLASH_ESCAPES'");
    type(hidden);
    m_dialogue->expectConfirm(question, Icon::Critical, false);
    run();
    m_server.run("set global sql_mode = default");
    m_window->addSheet();
    type(hidden);
    run(); // a text and a comment there
    m_dialogue->expectConfirm(question, Icon::Critical, false);
    type("set sql_mode = 'NO_BACKSLASH_ESCAPES'; " + QString(hidden));
    run();
    QCOMPARE(m_server.run("select count(*) from d.t").trimmed().right(1), "3");
    // The choice for one connection says nothing about another.
    press(*m_window, {"safeMode"});
    profile.id = "2";
    m_window->addSheet();
    QVERIFY(box.isChecked());
}

void SheetWindowTest::dangersAreFound_data()
{
    QTest::addColumn<QString>("what");
    QTest::addColumn<QString>("table");
    const auto as = [](const char *statement, const char *what = "", const char *table = "") {
        row(statement, QString(what), QString(table));
    };
    as("select 1");
    as("update t set a = (select b from u where c)", "UPDATE t（WHERE なし）", "t");
    as("update t set a = 1 where b");
    as("/* x */ delete low_priority from `a b`.`t`", "DELETE `a b`.`t`（WHERE なし）", "`a b`.`t`");
    as("delete from t limit 1");
    as("with c as (select 1 from u where d) delete from t", "DELETE t（WHERE なし）", "t");
    as("truncate table d.t", "TRUNCATE d.t", "d.t");
    as("DROP TABLE IF EXISTS t", "DROP TABLE t", "t");
    as("drop database d", "DROP DATABASE d");
    as("drop temporary table t");
    as("with c as (select 1) select a from c for update");
    as("set statement max_statement_time = 9 for update t set a = 1", "UPDATE t（WHERE なし）", "t");
    as("insert into t values ('delete from t')");
}

void SheetWindowTest::dangersAreFound()
{
    const std::optional<Danger> danger = dangerOf(QTest::currentDataTag());
    QTEST(danger ? danger->what : QString(), "what");
    QTEST(danger ? danger->table : QString(), "table");
}

void SheetWindowTest::aLostConnectionIsMadeAnew()
{
    type(
        "set @x = 1; start transaction; insert into t values (4); use mysql; kill connection_id(); select 1");
    run();
    QVERIFY(!page().isInTransaction());
    type("select concat(coalesce(@x, 'gone'), database())");
    run();
    QCOMPARE(firstCells(), QStringList("gonemysql"));
    QVERIFY2(messages().contains("接続をやり直しました"), qPrintable(messages()));
    QCOMPARE(m_server.run("select count(*) from d.t").trimmed().right(1), "3");
}

void SheetWindowTest::rowsOfOneTableAreEdited()
{
    m_server.run("alter table d.t add name varchar(20) default 'x', add primary key (a)");
    const auto names = [this] {
        return m_server.run("select group_concat(a, name order by a) from d.t").trimmed().section('\n', -1);
    };
    const auto edit = [this](int row, int column, const char *value) {
        auto &grid = control<FlexGrid>(page(), "sheetGrid_1");
        grid.setCurrentIndex(grid.model()->index(row, column));
        QTest::keyClick(&grid, Qt::Key_F2);
        auto *line = qobject_cast<QLineEdit *>(grid.indexWidget(grid.currentIndex()));
        QVERIFY(line);
        line->setText(value);
        QTest::keyClick(line, Qt::Key_Return);
        QCoreApplication::processEvents(); // only then it is taken
    };
    auto &state = control<QLabel>(*m_window, "sheetState");
    type("select a, 1 from t");
    run();
    QVERIFY2(state.text().contains("読み取り専用"), qPrintable(state.text()));
    QVERIFY(!control<QPushButton>(*m_window, "editResult").isEnabled());
    type("select name, a from t order by a");
    run();
    press(*m_window, {"editResult"});
    edit(0, 0, "eins");
    press(page(), {"saveResultRows"});
    QCOMPARE(names(), "1eins,2x,3x");
    // What is not saved is asked about before it goes.
    edit(1, 0, "zwei");
    const QString question = "保存していない行の変更が 1 件あります。", choices = "保存する|捨てる";
    m_dialogue->expectChoice(question, choices, -1);
    run();
    m_dialogue->expectChoice(question, choices, -1);
    QVERIFY(!m_window->close());
    // In a transaction of the user's it becomes part of that.
    page().setAutocommit(false);
    QTRY_VERIFY(!page().isRunning());
    press(page(), {"saveResultRows"});
    QCOMPARE(control<QLabel>(page(), "resultRowsState").text().section("  |  ", -1),
             "1件をトランザクションの中で保存しました。コミットで確定します");
    QCOMPARE(names(), "1eins,2x,3x");
    QVERIFY(page().isInTransaction());
    run("commitSheet");
    QCOMPARE(names(), "1eins,2zwei,3x");
    // The connection that breaks takes the transaction along.
    type("select connection_id()");
    run();
    const QString id = firstCells().value(0);
    type("select a, name from t order by a");
    run();
    press(*m_window, {"editResult"});
    edit(2, 1, "drei");
    m_server.run("kill " + id);
    m_dialogue->agrees = true;
    press(page(), {"saveResultRows"});
    QVERIFY2(m_dialogue->told.join("").contains("Lost connection"), qPrintable(m_dialogue->told.join("")));
    QVERIFY(!page().isInTransaction());
    run("runSheet");
    press(*m_window, {"editResult"});
    edit(2, 1, "drei");
    press(page(), {"saveResultRows"});
    run("commitSheet");
    QCOMPARE(names(), "1eins,2zwei,3drei");
}

// Also within one run, and by the layout.
void SheetWindowTest::theServersModeIsFollowed()
{
    type("set sql_mode = 'ANSI_QUOTES,NO_BACKSLASH_ESCAPES'; select 'a\\'; select \"a;b\" from (select 1 as "
         "\"a;b\") x;"
         "set sql_mode = ''; select \"c\"");
    run();
    QCOMPARE(firstCells(), (QStringList{"a\\", "1", "c"}));
    type("set sql_mode = 'NO_BACKSLASH_ESCAPES'");
    run();
    type("select 'a\\' from t where a");
    control<QToolButton>(*m_window, "formatSheet").menu()->actions().at(1)->trigger();
    QTest::keyClick(&page().editor(), Qt::Key_F, Qt::ControlModifier | Qt::ShiftModifier);
    QCOMPARE(page().editor().contents(), "SELECT 'a\\'\r\nFROM t\r\nWHERE a");
}

// Nobody waits for that: the sheet's thread lives on until the server has heard of it.
void SheetWindowTest::aClosedSheetEndsWhatItRan()
{
    const auto threads = [] {
        int count = 0;
        for (const QString &task : QDir("/proc/self/task").entryList(QDir::Dirs | QDir::NoDotAndDotDot))
            count += readFile("/proc/self/task/" + task + "/comm") == "sheet\n" ? 1 : 0;
        return count;
    };
    QTRY_COMPARE(threads(), 0); // those of other tests have ended
    type("select sleep(60)");
    press(*m_window, {"runSheet"});
    QTRY_VERIFY(m_server.run("show processlist").contains("sleep(60)"));
    m_server.freeze();
    delete m_window;
    const int left = threads();
    m_server.resume();
    QVERIFY(left > 0);
    QTRY_COMPARE_WITH_TIMEOUT(threads(), 0, 20'000);
    QTRY_VERIFY_WITH_TIMEOUT(!m_server.run("show processlist").contains("sleep(60)"), 10'000);
}

void SheetWindowTest::whatIsForAnotherServerGetsASheetOfIt()
{
    const auto propose = [this](const QString &text, std::unique_ptr<Session> there = {}) {
        m_window->propose(text, std::move(there));
    };
    auto there = siblingOf(m_stage->session, "mysql");
    there->profile.id = "other";
    propose("select database()", std::move(there));
    QCOMPARE(page().profile().id, "other");
    run();
    QCOMPARE(firstCells(), QStringList("mysql"));
    page().editor().setContents({});
    propose("select database()");
    QCOMPARE(page().profile().id, "");
    run();
    QCOMPARE(firstCells(), QStringList("d"));
}

QTEST_MAIN(SheetWindowTest)
#include "test_sheetwindow.moc"
