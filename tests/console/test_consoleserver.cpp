#include "console/frmSql.h"
#include "controls/windowpump.h"
#include "core/basconnection.h"
#include "core/connect.h"
#include "support/gui/boxes.h"
#include "support/testserver.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QTest>
#include <QTimer>

namespace {

const QString done = QStringLiteral("正常終了");
const QString interrupted = QStringLiteral("処理を中断しました");

// The console on a real server, beside a stand-in for the main window.
struct RealConsole {
    WindowPump pump;
    QTemporaryDir folder;
    Session session;
    QWidget main;
    QPointer<frmSql> window;
    Boxes boxes;

    RealConsole(const TestServer &server, bool isBuiltIn)
    {
        session.programFolder = folder.path();
        session.makeConnection = [this](const QString &text) { return createConnection(text, pump); };
        session.gDsn = noDataSource();
        session.gDriver = isBuiltIn ? nativeDriverName() : QStringLiteral("MySQL ODBC 3.51 Driver");
        session.gServer = QStringLiteral("127.0.0.1");
        session.gUser = session.gPass = QStringLiteral("demo");
        session.gPort = QString::number(server.port());
        session.gDbName = QStringLiteral("shop");
        session.gDelimiter = QStringLiteral("|");
        main.setObjectName(QStringLiteral("frmTarnwell"));
        goTo(main);
        window = new frmSql(session, [this] { return fConnect(session); });
        goTo(*window);
        QTRY_COMPARE(control<QLabel>("lblState").text(), QStringLiteral("shop:接続OK"));
    }
    ~RealConsole() { delete window; }

    void goTo(QWidget &target)
    {
        target.show();
        target.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&target));
        QCoreApplication::processEvents();
    }
    template <class Control>
    Control &control(const char *name) const
    {
        return *window->findChild<Control *>(QLatin1String(name));
    }
    void run(const QString &statement)
    {
        control<SqlTextBox>("txtSql").setContents(statement);
        control<QPushButton>("cmdExec").click();
    }
    FlexGrid &grid() const { return control<FlexGrid>("flgrid_Record"); }
    QString text() const { return control<QsciScintilla>("txtRecord").text(); }
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
    void initTestCase();
    void statementsOfEveryKind_data();
    void statementsOfEveryKind();
    void wideResultsAndLongStatements_data() { bothConnections(); }
    void wideResultsAndLongStatements();
    void userVariablesSurviveAMessageBox_data() { bothConnections(); }
    void userVariablesSurviveAMessageBox();
    void aStopReachesAThinkingServer_data() { bothConnections(); }
    void aStopReachesAThinkingServer();
    void theWindowClosesAlthoughTheServerThinks_data() { bothConnections(); }
    void theWindowClosesAlthoughTheServerThinks();
    void aStopEndsArrivingRows_data() { bothConnections(); }
    void aStopEndsArrivingRows();
    void namesOfTheDatabaseAreOffered();

private:
    static void bothConnections()
    {
        QTest::addColumn<bool>("isBuiltIn");
        QTest::newRow("built in") << true;
        QTest::newRow("odbc") << false;
    }

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
    QTest::addColumn<bool>("isBuiltIn");
    QTest::addColumn<QString>("statement");
    QTest::addColumn<QString>("lines"); // empty: no rows, the box says so
    const auto add = [](const char *name, const char *statement, const char *lines) {
        QTest::addRow("built in: %s", name)
            << true << QString::fromUtf8(statement) << QString::fromUtf8(lines);
        QTest::addRow("odbc: %s", name) << false << QString::fromUtf8(statement) << QString::fromUtf8(lines);
    };
    add("rows", "select * from t order by id", "id|name\n-------\n1|表示😀\n2|NULL\n3|\n");
    add("no rows in the result", "select id from t where id > 9", "id\n--\n");
    add("same name twice", "select 1 a, 2 a, 3 A", "a|a|A\n-----\n1|2|3\n");
    add("over several lines", "select 1 a,\r\n  -- 日本語\r\n  'x\r\ny' b;", "a|b\n---\n1|x\ny\n");
    add("values that drivers like to change",
        "select cast('0000-00-00' as datetime) d, 18446744073709551615 n, 1.50 x, x'00FF' b",
        "d|n|x|b\n-------\n0000-00-00 00:00:00|18446744073709551615|1.50|0x00FF\n");
    add("show", "show tables", "Tables_in_shop\n--------------\nt\n");
    add("several results", "call two()", "a\n-\n1\n");
    add("common table expression", "with x as (select 1 a) select a from x", "a\n-\n1\n");
    add("update", "update t set name = 'x' where id = 9", "");
    add("definition", "create or replace view v as select 1 a", "");
    add("set", "set @x = 1", "");
}

void ConsoleServerTest::statementsOfEveryKind()
{
    QFETCH(bool, isBuiltIn);
    QFETCH(QString, statement);
    QFETCH(QString, lines);
    RealConsole console(m_server, isBuiltIn);
    // Each twice: what one statement leaves behind on the connection, the next one meets.
    for (int i = 0; i < 2; ++i) {
        if (lines.isEmpty())
            console.boxes.expectOk(done);
        console.run(statement);
        QCOMPARE(console.text().replace(QStringLiteral("\r\n"), QStringLiteral("\n")), lines);
    }
}

void ConsoleServerTest::wideResultsAndLongStatements()
{
    QFETCH(bool, isBuiltIn);
    RealConsole console(m_server, isBuiltIn);
    QStringList columns;
    for (int i = 0; i < 1000; ++i)
        columns << QString::number(i);
    console.run(QStringLiteral("select ") + columns.join(u','));
    QCOMPARE(console.grid().columnCount(), 1000);
    QCOMPARE(console.grid().text(0, 999), QStringLiteral("999"));
    const QString value(1 << 20, u'x');
    console.run(QStringLiteral("select '%1' v").arg(value));
    QVERIFY(console.grid().text(0, 0) == value);
    console.boxes.expectOk(done);
    console.run(QStringLiteral("do 1 + 1"));
}

void ConsoleServerTest::userVariablesSurviveAMessageBox()
{
    QFETCH(bool, isBuiltIn);
    RealConsole console(m_server, isBuiltIn);
    auto &values = console.control<ChosenList>("lstVariable");
    console.boxes.expectOk(done);
    console.run(QStringLiteral("set @a = 42"));
    QTest::qWait(300); // whatever the box's end set off has happened
    console.control<QLineEdit>("txtVariablename").setText(QStringLiteral("a"));
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
    QFETCH(bool, isBuiltIn);
    RealConsole console(m_server, isBuiltIn);
    console.run(QStringLiteral("select connection_id() id"));
    const QString connection = console.grid().text(0, 0);
    for (const char *statement : {"select sleep(30)", "do sleep(30)"}) {
        console.boxes.expectOk(interrupted);
        console.stopAfter(300);
        console.run(QLatin1String(statement));
        QVERIFY2(console.sinceStop.isValid() && console.sinceStop.elapsed() < 1000, statement);
        QVERIFY(console.control<QPushButton>("cmdExec").isEnabled());
    }
    console.run(QStringLiteral("select connection_id() id"));
    QCOMPARE(console.grid().text(0, 0), connection);
}

void ConsoleServerTest::theWindowClosesAlthoughTheServerThinks()
{
    QFETCH(bool, isBuiltIn);
    RealConsole console(m_server, isBuiltIn);
    // As the main window wires it.
    connect(&console.pump, &WindowPump::closeRequested, console.window, &frmSql::closeWhenIdle);
    console.boxes.expectOk(interrupted);
    QTimer::singleShot(300, console.window, [&] {
        console.sinceStop.start();
        closeByUser(*console.window);
    });
    console.run(QStringLiteral("select sleep(30)"));
    QVERIFY(console.sinceStop.isValid() && console.sinceStop.elapsed() < 1000);
    QTRY_VERIFY(!console.window);
    QVERIFY(console.session.connection().isOpen());
}

void ConsoleServerTest::aStopEndsArrivingRows()
{
    QFETCH(bool, isBuiltIn);
    RealConsole console(m_server, isBuiltIn);
    console.boxes.expectOk(interrupted);
    // The ODBC driver fetches everything before it gives the first row, so the stop has to wait for rows.
    auto &count = console.control<QLabel>("lblRecordCount");
    QTimer poll;
    connect(&poll, &QTimer::timeout, [&] {
        if (count.text().toInt() > 0) {
            poll.stop();
            console.stopAfter(0);
        }
    });
    poll.start(5);
    console.run(QStringLiteral("select seq, repeat('x', 100) from seq_1_to_2000000"));
    QVERIFY(console.sinceStop.isValid() && console.sinceStop.elapsed() < 1000);
    const int rows = count.text().toInt();
    QVERIFY2(rows > 0 && rows < 2000000, qPrintable(count.text()));
    QCOMPARE(console.grid().rowCount(), rows);
    QVERIFY(console.text().endsWith(QStringLiteral("%1|%2\r\n").arg(rows).arg(QString(100, u'x'))));
    console.run(QStringLiteral("select 1 a"));
    QCOMPARE(console.grid().rowCount(), 1);
}

void ConsoleServerTest::namesOfTheDatabaseAreOffered()
{
    RealConsole console(m_server, true);
    auto &box = console.control<SqlTextBox>("txtSql");
    box.setFocus();
    QTest::keyClick(&box, Qt::Key_Space, Qt::ControlModifier);
    QVERIFY(box.SendScintilla(QsciScintilla::SCI_AUTOCACTIVE));
    box.SendScintilla(QsciScintilla::SCI_AUTOCSELECT, "name");
    box.SendScintilla(QsciScintilla::SCI_AUTOCCOMPLETE);
    QCOMPARE(box.contents(), QStringLiteral("name"));
}

QTEST_MAIN(ConsoleServerTest)
#include "test_consoleserver.moc"
