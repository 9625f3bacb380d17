#include "console/consolefixture.h"
#include "controls/windowpump.h"
#include "core/basconnection.h"
#include "core/connect.h"
#include "support/gui/boxes.h"
#include "support/rows.h"
#include "support/testserver.h"

#include <QElapsedTimer>
#include <QTimer>

namespace {

const QString done = "正常終了";
const QString interrupted = "処理を中断しました";

// The console on a real server, beside a stand-in for the main window.
struct RealConsole : ConsoleWindow {
    WindowPump pump;
    QWidget main;
    Boxes boxes;

    explicit RealConsole(const TestServer &server)
    {
        session.makeConnection = [this](const QString &text) { return createConnection(text, pump); };
        session.gDsn = noDataSource();
        session.gDriver = isBuiltIn() ? nativeDriverName() : QStringLiteral("MySQL ODBC 3.51 Driver");
        session.gServer = QStringLiteral("127.0.0.1");
        session.gUser = session.gPass = QStringLiteral("demo");
        session.gPort = QString::number(server.port());
        session.gDbName = QStringLiteral("shop");
        session.gDelimiter = QStringLiteral("|");
        main.setObjectName("frmTarnwell");
        goTo(main);
        window = new frmSql(session, [this] { return fConnect(session); });
        goTo(*window);
        QTRY_COMPARE(control<QLabel>("lblState").text(), "shop:接続OK");
    }
    ~RealConsole()
    {
        delete window;
        session.gCn.reset(); // before the pump that it waits by
    }

    void goTo(QWidget &target)
    {
        target.show();
        target.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&target));
        QCoreApplication::processEvents();
    }
    void stopAfter(int milliseconds)
    {
        QTimer::singleShot(milliseconds, window, [this] {
            sinceStop.start();
            QTest::mouseClick(&control<QPushButton>("cmdStop"), Qt::LeftButton);
        });
    }
    QElapsedTimer sinceStop;
};

} // namespace

class ConsoleServerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { addBothConnections(); }
    void initTestCase();
    void statementsOfEveryKind_data();
    void statementsOfEveryKind();
    void wideResultsAndLongStatements();
    void userVariablesSurviveAMessageBox();
    void aStopReachesAThinkingServer();
    void theWindowClosesAlthoughTheServerThinks();
    void namesOfTheDatabaseAreOffered();

private:
    TestServer m_server;
};

void ConsoleServerTest::initTestCase()
{
    m_server.run(QStringLiteral("create database shop; use shop;"
                                "create table t (id int primary key, name varchar(40));"
                                "insert into t values (1, '表示😀'), (2, null), (3, '');\n"
                                "delimiter //\n"
                                "create procedure two() begin select 1 as a; select 2 as b; end//\n"));
}

void ConsoleServerTest::statementsOfEveryKind_data()
{
    QTest::addColumn<QString>("statement");
    QTest::addColumn<QString>("lines"); // empty: no rows, the box says so
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
    QFETCH(QString, statement);
    QFETCH(QString, lines);
    RealConsole console(m_server);
    // Each twice: what one statement leaves behind on the connection, the next one meets.
    for (int i = 0; i < 2; ++i) {
        if (lines.isEmpty())
            console.boxes.expectOk(done);
        console.run(statement);
        QCOMPARE(console.text().replace("\r\n", "\n"), lines);
    }
}

void ConsoleServerTest::wideResultsAndLongStatements()
{
    RealConsole console(m_server);
    QStringList columns;
    for (int i = 0; i < 1000; ++i)
        columns << QString::number(i);
    console.run(QStringLiteral("select ") + columns.join(u','));
    QCOMPARE(console.grid().columnCount(), 1000);
    QCOMPARE(console.grid().text(0, 999), "999");
    const QString value(1 << 20, u'x');
    console.run(QStringLiteral("select '%1' v").arg(value));
    QVERIFY(console.grid().text(0, 0) == value);
    console.boxes.expectOk(done);
    console.run("do 1 + 1");
}

void ConsoleServerTest::userVariablesSurviveAMessageBox()
{
    RealConsole console(m_server);
    auto &values = console.control<ChosenList>("lstVariable");
    console.boxes.expectOk(done);
    console.run("set @a = 42");
    QTest::qWait(300); // whatever the box's end set off has happened
    console.control<QLineEdit>("txtVariablename").setText("a");
    console.control<QPushButton>("cmdVariable").click();
    QCOMPARE(values.texts(), QStringList{"42"});
    QCOMPARE(console.boxes.seen(), QStringList{console.window->windowTitle() + u'|' + done});

    // Coming back from the main window is what connects anew, and so what ends the variables.
    console.goTo(console.main);
    console.goTo(*console.window);
    QTest::qWait(300);
    console.control<QPushButton>("cmdVariabl").click();
    QCOMPARE(values.texts(), QStringList{"NULL"});
}

void ConsoleServerTest::aStopReachesAThinkingServer()
{
    RealConsole console(m_server);
    console.run("select connection_id() id");
    const QString connection = console.grid().text(0, 0);
    for (const char *statement : {"select sleep(30)", "do sleep(30)"}) {
        console.boxes.expectOk(interrupted);
        console.stopAfter(300);
        console.run(QLatin1String(statement));
        QVERIFY2(console.sinceStop.isValid() && console.sinceStop.elapsed() < 1000, statement);
        QVERIFY(console.control<QPushButton>("cmdExec").isEnabled());
    }
    console.run("select connection_id() id");
    QCOMPARE(console.grid().text(0, 0), connection);
}

void ConsoleServerTest::theWindowClosesAlthoughTheServerThinks()
{
    RealConsole console(m_server);
    // As the main window wires it.
    connect(&console.pump, &WindowPump::closeRequested, console.window, &frmSql::closeWhenIdle);
    console.boxes.expectOk(interrupted);
    QTimer::singleShot(300, console.window, [&] {
        console.sinceStop.start();
        closeByUser(*console.window);
    });
    console.run("select sleep(30)");
    QVERIFY(console.sinceStop.isValid() && console.sinceStop.elapsed() < 1000);
    QTRY_VERIFY(!console.window);
    QVERIFY(console.session.connection().isOpen());
}

void ConsoleServerTest::namesOfTheDatabaseAreOffered()
{
    RealConsole console(m_server);
    auto &box = console.control<SqlTextBox>("txtSql");
    box.setFocus();
    QTest::keyClick(&box, Qt::Key_Space, Qt::ControlModifier);
    QVERIFY(box.SendScintilla(QsciScintilla::SCI_AUTOCACTIVE));
    box.SendScintilla(QsciScintilla::SCI_AUTOCSELECT, "name");
    box.SendScintilla(QsciScintilla::SCI_AUTOCCOMPLETE);
    QCOMPARE(box.contents(), "name");
}

QTEST_MAIN(ConsoleServerTest)
#include "test_consoleserver.moc"
