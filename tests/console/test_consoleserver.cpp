#include "console/consolestage.h"

namespace {

const QString done = "正常終了";
const QString interrupted = "処理を中断しました";
const QString endless = "select seq id, '表示' name from shop.endless";

// The console on a real server.
struct RealConsole : ConsoleStage {
    Boxes boxes;

    explicit RealConsole(const TestServer &server)
        : ConsoleStage(Server::Real)
    {
        enter(driverOf(isBuiltIn()), server.port(), "demo", "demo");
        session.gDbName = QStringLiteral("shop");
        session.gDelimiter = QStringLiteral("|");
        goTo(main);
        window = new frmSql(session, [this] { return fConnect(session); });
        goTo(*window);
        QTRY_COMPARE(control<QLabel>("lblState").text(), "shop:接続OK");
    }

    void stopAfter(int milliseconds)
    {
        QTimer::singleShot(milliseconds, window, [this] {
            isStopped = true;
            QTest::mouseClick(&button("cmdStop"), Qt::LeftButton);
        });
    }
    bool isStopped = false;
};

} // namespace

class ConsoleServerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { TestServers::addConnectionRows(); }
    void init();
    void statementsOfEveryKind_data();
    void statementsOfEveryKind();
    void plansComeAsTables();
    void userVariablesSurviveAMessageBox();
    void aStopReachesAThinkingServer();
    void aStopOrALossKeepsWhatWasRead_data();
    void aStopOrALossKeepsWhatWasRead();
    void theWindowClosesDuringARun();
    void namesAreReadOnlyOnRequest();

private:
    TestServers m_servers{{"--sql-mode=STRICT_TRANS_TABLES"}}; // zero dates are values, too
    TestServer *m_server = nullptr;
};

void ConsoleServerTest::init()
{
    QFETCH_GLOBAL(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    m_server = &m_servers.of(brand);
    m_server->run("drop database if exists shop; create database shop; use shop;"
                  "create table t (id int primary key, name varchar(40));"
                  "insert into t values (1, '表示😀'), (2, null), (3, '');\n"
                  "delimiter //\n"
                  "create procedure two() begin select 1 as a; select 2 as b; end//\n");
    if (brand == TestServer::Brand::MariaDb)
        m_server->run("create view endless as select seq from seq_1_to_10000000", "shop");
}

void ConsoleServerTest::statementsOfEveryKind_data()
{
    // Without lines there are no rows, and the box says so.
    const Rows<QString, QString> row;
    row("rows", "select * from t order by id", "id|name\n-------\n1|表示😀\n2|NULL\n3|\n");
    row("no rows in the result", "select id from t where id > 9", "id\n--\n");
    row("same name twice", "select 1 a, 2 a, 3 A", "a|a|A\n-----\n1|2|3\n");
    row("over several lines", "select 1 a,\r\n  -- 日本語\r\n  'x\r\ny' b;", "a|b\n---\n1|x\ny\n");
    row("values that drivers like to change",
        "select cast('0000-00-00' as datetime) d, 18446744073709551615 n, 1.50 x, x'00FF' b",
        "d|n|x|b\n-------\n0000-00-00 00:00:00|18446744073709551615|1.50|0x00FF\n");
    row("several results", "call two()", "a\n-\n1\n");
    row("update", "update t set name = 'x' where id = 9", "");
    row("definition", "create or replace view v as select 1 a", "");
}

void ConsoleServerTest::statementsOfEveryKind()
{
    const auto [statement, lines] = fetched<QString, QString>();
    RealConsole console(*m_server);
    // Each twice: what one statement leaves behind on the connection, the next one meets.
    for (int i = 0; i < 2; ++i) {
        if (lines.isEmpty())
            console.boxes.expectOk(done);
        console.run(statement);
        QCOMPARE(console.text().replace("\r\n", "\n"), lines);
    }
}

void ConsoleServerTest::plansComeAsTables()
{
    QFETCH_GLOBAL(TestServer::Brand, brand);
    RealConsole console(*m_server);
    const bool isMySql9 = brand == TestServer::Brand::MySql9;
    console.run(isMySql9 ? "select @@explain_format" : "select 'x'");
    const QString before = console.text();
    const auto &plan = console.control<FlexGrid>("flgrid_ANALYZE");
    const auto explain = [&](const QString &statement) {
        console.type(statement);
        console.button("cmdAnalyze").click();
    };
    for (const char *statement : {"  select *\nfrom t where id = 1 ", "update t set name = 'x' where id = 1",
                                  "delete from t where id = 1"}) {
        explain(QLatin1String(statement));
        QCOMPARE(plan.rowCount(), 1);
        QVERIFY2(plan.fieldName(0) == u"id" && plan.columnCount() > 8, qPrintable(plan.text(0, 0)));
        QCOMPARE(console.text(), before);
    }
    explain("set @a = 1"); // what cannot be explained is passed over in silence
    QCOMPARE(console.lastError(), QString());
    if (!isMySql9)
        return;
    console.run("select @@explain_format");
    QCOMPARE(console.text(), before);
    // What is asked for as a text has a line in each row.
    explain("format=tree select * from t where id = 1");
    QVERIFY(plan.rowCount() > 0 && plan.columnCount() == 1 && !plan.text(0, 0).contains(u'\n'));
}

void ConsoleServerTest::userVariablesSurviveAMessageBox()
{
    RealConsole console(*m_server);
    auto &values = console.control<ChosenList>("lstVariable");
    console.boxes.expectOk(done);
    console.run("set @a = 42");
    QTest::qWait(300); // whatever the box's end set off has happened
    console.control<QLineEdit>("txtVariablename").setText("a");
    console.button("cmdVariable").click();
    QCOMPARE(values.texts(), QStringList{"42"});
    QCOMPARE(console.boxes.seen(), QStringList{console.window->windowTitle() + u'|' + done});

    // Coming back from the main window is what connects anew, and so what ends the variables.
    goTo(console.main);
    goTo(*console.window);
    QTest::qWait(300);
    console.button("cmdVariabl").click();
    QCOMPARE(values.texts(), QStringList{"NULL"});
}

void ConsoleServerTest::aStopReachesAThinkingServer()
{
    RealConsole console(*m_server);
    console.run("select connection_id() id");
    const QString connection = console.grid().text(0, 0);
    // The server lets both end as a success. What gave no rows may have changed something: it is no failure.
    for (const auto &[statement, told] : {std::pair("select sleep(30)", interrupted),
                                          std::pair("do sleep(30)", QStringLiteral("正常終了"))}) {
        console.isStopped = false;
        console.boxes.expectOk(told);
        console.stopAfter(300);
        console.run(QLatin1String(statement));
        QVERIFY2(console.isStopped, statement);
        QVERIFY(console.button("cmdExec").isEnabled());
    }
    console.run("select connection_id() id");
    QCOMPARE(console.grid().text(0, 0), connection);
}

void ConsoleServerTest::aStopOrALossKeepsWhatWasRead_data()
{
    const Rows<bool, QString> row;
    row("stopped, grid, text and saved file", false, QString("cmdStop"));
    row("stopped, file only", true, QString("cmdStop"));
    row("by the main window's disconnect button", false, QString("disconnect"));
    row("session killed", false, QString("kill"));
}

void ConsoleServerTest::aStopOrALossKeepsWhatWasRead()
{
    QFETCH_GLOBAL(TestServer::Brand, brand);
    if (brand != TestServer::Brand::MariaDb)
        QSKIP("the endless result is a sequence of MariaDB's");
    if (!isBuiltIn())
        QSKIP("this driver hands out no row before it has them all: there is nothing to keep");
    const auto [isFileOnly, by] = fetched<bool, QString>();
    const bool isLost = by == u"kill";
    RealConsole console(*m_server);
    console.run("select connection_id()");
    const QString connection = console.grid().text(0, 0);
    console.session.gTextEditor = QStringLiteral("/no/editor/may/start");
    console.control<QCheckBox>("ckMemo_0").setChecked(true);
    console.control<QCheckBox>("ckMemo_1").setChecked(true);
    console.control<QCheckBox>("ckNoTextNoGrid").setChecked(isFileOnly);
    bool isBroken = false;
    QTimer watch;
    connect(&watch, &QTimer::timeout, this, [&] {
        if (QApplication::activeModalWidget() || console.count().toInt() <= 100 ||
            std::exchange(isBroken, true))
            return;
        if (isLost) {
            m_server->run("kill " + connection);
        } else if (by == u"disconnect") {
            console.session.runner.leave(&console.main, [&] { console.session.gCn.reset(); });
        } else {
            QTest::mouseClick(&console.button("cmdStop"), Qt::LeftButton);
        }
    });
    watch.start(10);
    if (isLost)
        console.boxes.agree(); // its words differ with the client library
    else
        console.boxes.expectOk(interrupted);
    console.run(endless);

    QCOMPARE(console.lastError().isEmpty(), !isLost);
    const int rows = console.count().toInt();
    QVERIFY(rows > 100 && rows < 10000000);
    if (!isFileOnly) {
        QCOMPARE(console.grid().rowCount(), rows);
        QCOMPARE(console.text().count(u'\n'), rows + 2);
    }
    QCOMPARE(console.file().count('\n'), rows + 2);
    QVERIFY(console.file().endsWith(QByteArray::number(rows) + "|表示\r\n"));
}

void ConsoleServerTest::theWindowClosesDuringARun()
{
    QFETCH_GLOBAL(TestServer::Brand, brand);
    if (brand != TestServer::Brand::MariaDb)
        QSKIP("the endless result is a sequence of MariaDB's");
    for (const QString &statement : {QString("select sleep(30)"), endless}) {
        RealConsole console(*m_server);
        console.boxes.expectOk(interrupted);
        QTimer::singleShot(300, console.window, [&] { closeByUser(*console.window); });
        console.run(statement);
        QTRY_VERIFY(!console.window);
        QVERIFY(console.session.connection().isOpen() && !console.session.gSqlOpen);
    }
}

void ConsoleServerTest::namesAreReadOnlyOnRequest()
{
    RealConsole console(*m_server);
    auto &box = console.control<SqlTextBox>("txtSql");
    box.setFocus();
    m_server->takeStatements();
    for (const char letter : {'n', 'a', 'm'})
        QTest::keyClick(&box, letter);
    QCOMPARE(m_server->takeStatements(), QStringList());
    for (int i = 0; i < 2; ++i) {
        QTest::keyClick(&box, Qt::Key_Space, Qt::ControlModifier);
        QVERIFY(box.SendScintilla(QsciScintilla::SCI_AUTOCACTIVE));
        QCOMPARE(m_server->takeStatements().size(), 1 - i); // kept from then on
    }
    box.SendScintilla(QsciScintilla::SCI_AUTOCSELECT, "name");
    box.SendScintilla(QsciScintilla::SCI_AUTOCCOMPLETE);
    QCOMPARE(box.contents(), "name");
    // Where only a table's name can stand there are no others.
    for (const auto &[begun, word, isOffered] :
         {std::tuple(QString("select * from "), "select", false),
          {"insert t values (1) on duplicate key update ", "select", true},
          {"tru", "truncate", true}}) {
        box.setContents(begun);
        box.setCursorPosition(0, static_cast<int>(begun.size()));
        QTest::keyClick(&box, Qt::Key_Space, Qt::ControlModifier);
        box.SendScintilla(QsciScintilla::SCI_AUTOCSELECT, word);
        box.SendScintilla(QsciScintilla::SCI_AUTOCCOMPLETE);
        QCOMPARE(box.contents().endsWith(word), isOffered);
    }
}

QTEST_MAIN(ConsoleServerTest)
#include "test_consoleserver.moc"
