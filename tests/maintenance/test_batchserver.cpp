#include "controls/widgetdialogue.h"
#include "controls/windowpump.h"
#include "maintenance/scriptbackup.h"
#include "maintenance/tablebatches.h"
#include "realfixture.h"
#include "support/gui/boxes.h"

#include <QDate>
#include <QLabel>
#include <QSet>
#include <QTimer>

using Run = Outcome (*)(CommandContext &);
Q_DECLARE_METATYPE(Run)

// What the server makes of the batches, over both kinds of connection.
class BatchServerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void tablesAndViewsAreTakenAlike_data();
    void tablesAndViewsAreTakenAlike();
    void copiesHoldTheRows();
    void aTableWithoutRightsEndsTheBatch();
    void theWindowLivesThroughManyTables();
    void scriptsHoldTheServersTexts();

private:
    TestServer m_server;
};

void BatchServerTest::init()
{
    m_server.run(
        "DROP DATABASE IF EXISTS d; CREATE DATABASE d; USE d; CREATE TABLE a(id INT PRIMARY KEY, v TEXT);"
        "INSERT INTO a VALUES(1,'表'),(2,NULL); CREATE TABLE gone(i INT); CREATE TABLE z(i INT) "
        "ENGINE=MyISAM;"
        "CREATE VIEW broken AS SELECT i FROM gone; CREATE VIEW sound AS SELECT id FROM a; DROP TABLE gone;"
        "CREATE PROCEDURE p() SELECT '手続き'; CREATE FUNCTION f() RETURNS INT RETURN 1;");
    m_server.takeStatements();
}

void BatchServerTest::tablesAndViewsAreTakenAlike_data()
{
    QTest::addColumn<Run>("command");
    QTest::addColumn<QString>("statement");
    QTest::addColumn<QString>("closing");
    QTest::newRow("check") << Run(checkTables) << "check table `d`.%1 "
                           << "問題はありませんでした。";
    QTest::newRow("optimize") << Run(optimizeTables) << "optimize table `d`.%1"
                              << "最適化しました。";
    QTest::newRow("repair") << Run(repairTables) << "repair table `d`.%1"
                            << "修復しました。";
}

void BatchServerTest::tablesAndViewsAreTakenAlike()
{
    QFETCH(Run, command);
    QFETCH(QString, statement);
    QFETCH(QString, closing);
    for (const QString &string : {m_server.nativeString(), m_server.odbcString()}) {
        RealFixture fixture(m_server, string);
        m_server.takeStatements();
        QCOMPARE(fixture.run(command), closing);
        // The broken view's statement succeeds: what it says stands in its rows, which nobody reads.
        QStringList expected;
        for (const char *name : {"a", "broken", "sound", "z"})
            expected << statement.arg(name);
        QStringList sent = m_server.takeStatements().filter(" table `d`");
        // The server's log has no blanks at a statement's end; the driver cuts them off, too.
        expected.replaceInStrings(QRegularExpression(" $"), "");
        QCOMPARE(sent, expected);
        QCOMPARE(fixture.session.connection().execute("select 1").text(0), QStringLiteral("1"));
    }
}

void BatchServerTest::copiesHoldTheRows()
{
    const QString stamp = QDate::currentDate().toString("_yy_MM_dd");
    RealFixture fixture(m_server, m_server.nativeString());
    fixture.selection.tables = QStringList{"[TABLE]\ta", "[VIEW]\tsound"};
    QCOMPARE(fixture.run(copyTables), QStringLiteral("ﾃｰﾌﾞﾙをｺﾋﾟｰしました。"));
    QCOMPARE(m_server.run("SELECT * FROM back_a" + stamp, "d"), QStringLiteral("1\t表\n2\tNULL\n"));
    QCOMPARE(m_server.run("SELECT * FROM back_sound" + stamp, "d"), QStringLiteral("1\n2\n"));
    const QString told = fixture.run(copyTables);
    QVERIFY2(fixture.isFailure && told.contains("already exists"), qPrintable(told));
}

void BatchServerTest::aTableWithoutRightsEndsTheBatch()
{
    m_server.run("CREATE USER IF NOT EXISTS poor@'%' IDENTIFIED BY 'demo';"
                 "GRANT ALL ON d.a TO poor@'%'; GRANT ALL ON d.z TO poor@'%'");
    RealFixture fixture(m_server, m_server.nativeString().replace("uid=demo", "uid=poor"));
    fixture.selection.tables = QStringList{"[TABLE]\ta", "[VIEW]\tsound", "[TABLE]\tz"};
    m_server.takeStatements();
    const QString told = fixture.run(optimizeTables);
    QVERIFY2(fixture.isFailure && told.contains("denied"), qPrintable(told));
    QCOMPARE(m_server.takeStatements(), (QStringList{"optimize table `d`.a", "optimize table `d`.sound"}));
}

void BatchServerTest::theWindowLivesThroughManyTables()
{
    QString tables;
    for (int i = 0; i < 200; ++i)
        tables += QStringLiteral("CREATE TABLE m%1(i INT) ENGINE=MyISAM;").arg(i);
    m_server.run(tables, "d");
    WindowPump pump;
    RealFixture fixture(m_server, m_server.nativeString());
    fixture.session.gCn = createConnection(m_server.nativeString(), pump);
    fixture.session.gCn->open();
    QWidget window;
    QLabel count(&window), target(&window);
    WidgetDialogue dialogue(&window, {&count, nullptr, &target, nullptr, nullptr, {}});
    window.show();
    Boxes boxes;
    boxes.expectOk(QStringLiteral("全ﾃｰﾌﾞﾙの修復を行います。"));
    boxes.expectOk(QStringLiteral("修復しました。"));

    QSet<QString> counts, targets;
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [&] { counts << count.text(), targets << target.text(); });
    timer.start(1);
    CommandContext context{fixture.session, fixture.selection, dialogue};
    repairTables(context);
    QVERIFY2(counts.size() > 20 && targets.size() > 20, qPrintable(QString::number(counts.size())));
    QCOMPARE(count.text(), QStringLiteral("203/204"));
    QCOMPARE(target.text(), QString());
}

void BatchServerTest::scriptsHoldTheServersTexts()
{
    for (const QString &string : {m_server.nativeString(), m_server.odbcString()}) {
        const QTemporaryDir folder;
        RealFixture fixture(m_server, string);
        fixture.choice.folder = folder.path();
        fixture.selection.tables = QStringList{"[TABLE]\ta", "[VIEW]\tsound"};
        fixture.selection.routines = QStringList{"[PROC]\tp", "[FUNC]\tf"};
        QCOMPARE(fixture.run(backUpScripts), "「" + folder.path() + "/」にﾊﾞｯｸｱｯﾌﾟしました。");
        QVERIFY(
            bytesOf(folder.filePath("a.table")).startsWith("CREATE TABLE a (\r\n  id int(11) NOT NULL,\r\n"));
        QVERIFY(bytesOf(folder.filePath("sound.view")).startsWith("CREATE VIEW d.sound AS \r\nselect "));
        QVERIFY(bytesOf(folder.filePath("p.proc")).endsWith("PROCEDURE p()\r\nSELECT '手続き'\r\n"));
        QVERIFY(bytesOf(folder.filePath("f.func")).contains("FUNCTION f() RETURNS int(11)"));
    }
}

QTEST_MAIN(BatchServerTest)
#include "test_batchserver.moc"
