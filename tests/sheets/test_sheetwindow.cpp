#include "controls/grid/flexgrid.h"
#include "core/driver/connect.h"
#include "core/session/lastingconnection.h"
#include "rows/resultrows.h"
#include "sheets/safemode.h"
#include "sheets/sheetresults.h"
#include "sheets/sheetwindow.h"
#include "support/gui/stage.h"
#include "support/rows.h"
#include "support/scripteddialogue.h"

#include <QCheckBox>
#include <QLabel>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QToolButton>

// Sheets with real connections, and what is kept of them.
class SheetWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void everyResultIsATab();
    void whatIsInsertedIsAStatementOfItsOwn();
    void anErrorMarksItsLine();
    void oneRunsWhileAnotherIsWrittenAndStopped();
    void whatIsNotCommittedIsAskedAbout();
    void whatTakesManyRowsIsAskedAboutOnce();
    void safeModeIsTheConnectionsOwn();
    void dangersAreFound_data();
    void dangersAreFound();
    void whatWasTypedIsThereAgain();
    void aFileKeepsItsEncoding_data();
    void aFileKeepsItsEncoding();
    void whatCouldNotBeReadIsSaidBeforeItIsLost();
    void lineEndsAreTheFiles();
    void whatOthersHaveWrittenIsNotOverwrittenUnasked();
    void aFileIsRunInPlaceOfAStatement();
    void aFileIsRunAsItWasWritten_data();
    void aFileIsRunAsItWasWritten();
    void aLostConnectionIsMadeAnew();
    void rowsOfOneTableAreEdited();
    void theServersModeIsFollowed();
    void aClosedSheetEndsWhatItRan();
    void whatIsForAnotherServerGetsASheetOfIt();

private:
    void open();
    SheetPage &page()
    {
        return *qobject_cast<SheetPage *>(control<QTabWidget>(*m_window, "sheetTabs").currentWidget());
    }
    void type(const QString &text)
    {
        page().editor().setContents(text);
        page().editor().setCursorPlace(0);
    }
    void run(const char *button = "runSheet")
    {
        press(*m_window, {button});
        QTRY_VERIFY_WITH_TIMEOUT(!page().isRunning(), 20'000);
    }
    QString messages() { return control<QPlainTextEdit>(page(), "sheetMessages").toPlainText(); }
    QStringList firstCells()
    {
        QStringList cells;
        for (int i = 1; i < page().results().count(); ++i)
            cells << qobject_cast<SheetResult *>(page().results().widget(i))->grid().text(0, 0);
        return cells;
    }

    TestServer m_server;
    std::unique_ptr<Stage> m_stage;
    QPointer<SheetWindow> m_window;
    ScriptedDialogue *m_dialogue = nullptr;
    QStringList m_remembered;
};

void SheetWindowTest::init()
{
    m_server.run("drop database if exists d; create database d; use d; create table t (a int);"
                 "insert into t values (1), (2), (3);\ndelimiter |\n"
                 "create procedure two() begin select 1; select 2; end|");
    m_stage = std::make_unique<Stage>(Stage::Server::Real);
    Session &session = m_stage->session;
    session.connectBy(lasting(createConnection), m_stage->pump);
    session.gDsn = noDataSource();
    session.gDriver = nativeDriverName();
    session.gServer = "127.0.0.1";
    session.gPort = QString::number(m_server.port());
    session.gUser = session.gPass = "demo";
    session.gDbName = "d";
    m_remembered.clear();
    open();
}

void SheetWindowTest::open()
{
    auto dialogue = std::make_unique<ScriptedDialogue>();
    m_dialogue = dialogue.get();
    SheetServices services;
    services.remember = [this](const HistoryEntry &entry) { m_remembered << entry.statement; };
    services.lastStatements = [this] {
        QStringList newest = m_remembered;
        std::reverse(newest.begin(), newest.end());
        return newest;
    };
    services.editRows = [](Session &session, Dialogue &user, FlexGrid &grid, const SelectedTable &table) {
        auto rows = std::make_unique<ResultRows>(session, user, grid);
        return rows->begin(table.database, table.name) ? std::move(rows) : nullptr;
    };
    m_window = new SheetWindow(m_stage->session, services, std::move(dialogue));
    m_window->setAttribute(Qt::WA_DeleteOnClose, false);
    goTo(*m_window);
}

void SheetWindowTest::cleanup()
{
    delete m_window;
    m_stage.reset();
}

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
    open();
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

void SheetWindowTest::whatWasTypedIsThereAgain()
{
    type("first 漢字\r\nline");
    run();
    page().keepDraft();
    QTRY_VERIFY_WITH_TIMEOUT(!QDir(m_stage->folder.filePath("sheets")).entryList({"*.json"}).isEmpty(), 5000);
    const QString file = m_stage->folder.filePath(
        "sheets/" + QDir(m_stage->folder.filePath("sheets")).entryList({"*.json"})[0]);
    QCOMPARE(QFile(file).permissions() & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());
    {
        // Another program of the folder: what is open here is not opened there.
        QVERIFY(Draft::left(m_stage->folder.filePath("sheets")).empty());
    }
    delete m_window;
    // As a program leaves it that was killed.
    QFile lock(file + ".lock");
    QVERIFY(lock.open(QIODevice::WriteOnly));
    lock.write("99999999\nTarnwell\n" + QSysInfo::machineHostName().toUtf8() + '\n');
    lock.close();
    open();
    QCOMPARE(page().editor().contents(), "first 漢字\r\nline");
    QVERIFY(page().isChanged());
    const auto state = [this] { return control<QLabel>(*m_window, "sheetState").text(); };
    QVERIFY2(state().isEmpty(), qPrintable(state()));
    m_stage->session.gServer = "elsewhere";
    Q_EMIT page().changed();
    QVERIFY2(state().contains("別のサーバーで使っていた"), qPrintable(state()));
    // A full disk costs no text, and is said.
    delete m_window;
    QDir(m_stage->folder.filePath("sheets")).removeRecursively();
    QFile inTheWay(m_stage->folder.filePath("sheets"));
    QVERIFY(inTheWay.open(QIODevice::WriteOnly));
    open();
    type("second");
    page().keepDraft();
    QVERIFY(state().contains("下書きを保存できません"));
    QCOMPARE(page().editor().contents(), "second");
}

void SheetWindowTest::aFileKeepsItsEncoding_data()
{
    QTest::addColumn<QByteArray>("bytes");
    row("UTF-8", QByteArray("select '漢'\n"));
    row("with a mark", QByteArray("\xef\xbb\xbfselect '漢'\r\n"));
    row("UTF-16", QByteArray("\xff\xfe'\0\"o'\0", 8));
    row("UTF-16, big", QByteArray("\xfe\xff\0'o\"\0'", 8));
    row("CP932", QByteArray("select '\x8a\xbf'"));
    row("EUC-JP", QByteArray("-- \xb4\xc1\xbb\xfa\xa4\xce\xce\xf3\n\xb4\xc1"));
    row("EUC-JP, no kana", QByteArray("select '\xb4\xc1\xc6\xfc\xcb\xdc'"));
    row("ISO-2022-JP", QByteArray("select '\x1b$B4A\x1b(B';\nselect 1"));
    row("large", QByteArray("select 1;\n").repeated(200'000) + "漢");
}

void SheetWindowTest::aFileKeepsItsEncoding()
{
    QFETCH(QByteArray, bytes);
    const QString path = m_stage->folder.filePath("text.sql");
    const auto write = [&path](const QByteArray &text) {
        QFile file(path);
        return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
    };
    QVERIFY(write(QByteArray(600'000, ' '))); // a line that would hold up the window
    QVERIFY(page().open(path).contains("ファイルを実行"));
    for (int start = 0; start < 2; ++start) { // the draft knows it, too
        QVERIFY(write(bytes));
        if (start == 0)
            QCOMPARE(page().open(path), QString());
        QVERIFY(page().editor().contents().contains("漢"));
        QVERIFY(!page().isDamaged());
        QCOMPARE(page().save(path), QString());
        QCOMPARE(readFile(path), bytes);
        delete m_window;
        open();
    }
}

void SheetWindowTest::whatCouldNotBeReadIsSaidBeforeItIsLost()
{
    QCOMPARE(fileText("-- \xc3\xde\xb0\xc0").text, "-- ﾃﾞｰﾀ"); // which EUC-JP has letters for, too
    const QString path = m_stage->folder.filePath("text.sql");
    for (const QByteArray &bytes : {QByteArray("select '\x8a\xbf\xff'"),  // of no encoding
                                    QByteArray("select '\x8a\xbf' \x8a"), // ends within a character
                                    QByteArray("\xef\xbb\xbfselect '\xff'"), QByteArray("\xff\xfes\0e", 5)}) {
        writeFile(path, bytes);
        QCOMPARE(page().open(path), QString());
        delete m_window;
        open();
        QVERIFY(control<QLabel>(*m_window, "sheetState").text().contains("読めない文字"));
        m_dialogue->expectConfirm(path + ": 読めない文字がありました。\r\n保存すると、その部分は"
                                         "ファイルから失われます。上書きしますか？",
                                  Icon::Critical, false);
        QTest::keyClick(m_window, Qt::Key_S, Qt::ControlModifier);
        QCOMPARE(readFile(path), bytes);
    }
}

void SheetWindowTest::lineEndsAreTheFiles()
{
    const QString path = m_stage->folder.filePath("text.sql");
    writeFile(path, "select hex('a\r\nb')");
    QCOMPARE(page().open(path), QString());
    run();
    QCOMPARE(firstCells(), QStringList("610D0A62"));
    type("set names cp932; select hex(convert('表' using utf8))"); // of a file in CP932
    run();
    QCOMPARE(firstCells(), QStringList("E8A1A8"));
    QVERIFY(messages().contains("utf8mb4 に戻しました"));
    for (const QByteArray &end : {QByteArray("\n"), QByteArray("\r\n")}) {
        writeFile(path, "select 1" + end + "from t");
        QCOMPARE(page().open(path), QString());
        QTest::keyClick(&page().editor(), Qt::Key_Return);
        QCOMPARE(page().save(path), QString());
        QCOMPARE(readFile(path), end + "select 1" + end + "from t");
    }
}

void SheetWindowTest::whatOthersHaveWrittenIsNotOverwrittenUnasked()
{
    const QString path = m_stage->folder.filePath("text.sql");
    writeFile(path, "select 1");
    QCOMPARE(page().open(path), QString());
    const auto edit = [this](const QString &text) {
        type(text);
        page().keepDraft();
        delete m_window;
        open();
    };
    edit("select 2");
    QTest::keyClick(m_window, Qt::Key_S, Qt::ControlModifier);
    QCOMPARE(readFile(path), "select 2");
    const QString question = path + ": 開いた後に、ほかで変更されています。\r\n保存すると、その変更は"
                                    "失われます。上書きしますか？";
    for (const QByteArray &foreign :
         {QByteArray("select 3"), QByteArray("select 33")}) { // as long, and longer
        writeFile(path, foreign);
        edit("select 4");
        m_dialogue->expectConfirm(question, Icon::Critical, false);
        QTest::keyClick(m_window, Qt::Key_S, Qt::ControlModifier);
        QCOMPARE(readFile(path), foreign);
    }
    m_dialogue->expectConfirm(question, Icon::Critical, true);
    QTest::keyClick(m_window, Qt::Key_S, Qt::ControlModifier);
    QCOMPARE(readFile(path), "select 4");
}

void SheetWindowTest::aFileIsRunInPlaceOfAStatement()
{
    QFile file(m_stage->folder.filePath("s.sql"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("insert into t values (4);\ninsert into nowhere values (5);\n");
    file.close();
    ScriptOptions options;
    options.path = file.fileName();
    page().runScript(options);
    QTRY_VERIFY(!page().isRunning());
    QVERIFY2(messages().contains("s.sql:2: "), qPrintable(messages()));
    QCOMPARE(m_server.run("select count(*) from d.t").trimmed().right(1), "4");
    type("source " + file.fileName() + "\nselect 8");
    press(*m_window, {"goOnAtErrors"});
    run();
    QCOMPARE(firstCells(), QStringList("8"));
    QCOMPARE(m_server.run("select count(*) from d.t").trimmed().right(1), "5");
}

void SheetWindowTest::aFileIsRunAsItWasWritten_data()
{
    // What stands in the file, what is said of it, and the bytes that arrive.
    const Rows<QByteArray, QString, QByteArray> row;
    const QByteArray begin = "insert into d.s(t) values('", end = "');\n";
    const QByteArray kanji = "E697A5E69CAC", longest = QByteArray("-- x\n").repeated(100'000);
    const auto utf16 = [](const QString &text) {
        return "\xff\xfe" + QByteArray(reinterpret_cast<const char *>(text.utf16()), text.size() * 2);
    };
    row("UTF-8", begin + "日本" + end, "UTF-8です", kanji);
    row("with a mark", "\xef\xbb\xbf" + begin + "日本" + end, "BOM", kanji);
    row("UTF-16", utf16("insert into d.s(t) values('日本');"), "BOM", kanji);
    row("CP932", begin + "\x93\xfa\x96\x7b\x95\x5c" + end, "シフトJISのようです", kanji + "E8A1A8");
    row("CP932 behind a long beginning", longest + begin + "\x93\xfa\x96\x7b" + end, "シフトJISのようです",
        kanji);
    row("EUC-JP", begin + "\xc6\xfc\xcb\xdc" + end, "EUC-JPのようです", kanji);
    row("a dump in latin1",
        "-- x\n/*!40101 SET NAMES latin1 */;\n" + begin +
            "\xe9"
            "clair" +
            end,
        "SET NAMES", "C3A9636C616972");
    row("bytes", "set names binary; insert into d.s(b) values('\xff\xd8\x01\x80');", "そのまま", "FFD80180");
}

void SheetWindowTest::aFileIsRunAsItWasWritten()
{
    const auto [bytes, words, arrived] = fetched<QByteArray, QString, QByteArray>();
    m_server.run("create table d.s(t varchar(20) character set utf8mb4, b varbinary(20))");
    const QString path = m_stage->folder.filePath("s.sql");
    writeFile(path, bytes);
    Boxes boxes;
    boxes.expectDialog("scriptFileDialog", [&](QDialog &dialog) {
        dialog.findChild<QLineEdit *>("scriptPath")->setText(path);
        const QString guess = dialog.findChild<QLabel *>("scriptGuess")->text();
        QVERIFY2(guess.contains(words), qPrintable(guess));
        dialog.accept();
    });
    run("runScriptFile");
    QCOMPARE(m_server.run("select hex(coalesce(t, b)) from d.s").trimmed().section('\n', -1),
             QString::fromLatin1(arrived));
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
