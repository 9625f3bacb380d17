#include "maintenance/tablechange.h"
#include "stage.h"

namespace {

using L = QStringList;
const QString changed = "変更しました。";

} // namespace

// Views, routines and drops as the real server takes them, over both kinds of connection.
class DdlServerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data();
    void init();
    void aViewIsChangedOrKept_data();
    void aViewIsChangedOrKept();
    void routinesAreReplaced_data();
    void routinesAreReplaced();
    void aRoutineThatLostItsQuotesComesBack();

private:
    QString sql(const QString &statements) const { return m_server.run(statements, "店"); }

    TestServer m_server;
};

void DdlServerTest::initTestCase_data()
{
    QTest::addColumn<QString>("driver");
    for (const QString &driver : drivers())
        row(qPrintable(driver), driver);
}

void DdlServerTest::init()
{
    m_server.run("create or replace database `店`; create table `店`.t (a int, `order` int);"
                 "insert into `店`.t values (1,5),(2,6)");
}

void DdlServerTest::aViewIsChangedOrKept_data()
{
    QTest::addColumn<QString>("view");
    QTest::addColumn<L>("edit");
    QTest::addColumn<QString>("rows");
    row("changed", "select a from t where a > 1 and a < 9 or a = 2", L{"a > 1", "a > 0"}, "1\n2\n");
    row("refused, quotes needed", "select `order` as `group` from t", L{"from", "fron"}, "5\n6\n");
    row("refused, comma in a text", "select 'a,b' as x, `order` from t limit 1", L{}, "a,b\t5\n");
}

void DdlServerTest::aViewIsChangedOrKept()
{
    QFETCH_GLOBAL(QString, driver);
    QFETCH(QString, view);
    QFETCH(L, edit);
    QFETCH(QString, rows);
    sql("create view 表示 as " + view);
    RealStage user(m_server, driver, "店");
    user.clickTable("表示");
    RealStage::edit(user.selection.txtField, edit);
    user.run(changeTable);
    QCOMPARE(user.told(),
             QTest::currentDataTag() == QByteArray("changed") ? changed : "ﾃｰﾌﾞﾙの変更に失敗しました。");
    QCOMPARE(sql("select * from 表示"), rows);
}

void DdlServerTest::routinesAreReplaced_data()
{
    QTest::addColumn<QString>("word"); // as the user writes it
    QTest::addColumn<bool>("isProcedure");
    row("procedure", "create procedure", true);
    row("function", "Create Definer=demo@localhost Function", false);
}

void DdlServerTest::routinesAreReplaced()
{
    QFETCH_GLOBAL(QString, driver);
    QFETCH(QString, word);
    QFETCH(bool, isProcedure);
    sql("delimiter //\ncreate procedure 手順(x int) begin\n  select x;\nend//\n"
        "create function 手順(x int) returns int deterministic return x//");
    RealStage user(m_server, driver, "店");
    user.clickRoutine(isProcedure ? "[PROC]" : "[FUNC]", "手順");
    user.selection.txtProc = word + (isProcedure ? " 手順(x int)\r\nbegin\r\n  select x + 1; # \r\nend"
                                                 : " 手順(x int) returns int deterministic\r\nreturn x + 1");
    QCOMPARE(user.run(changeRoutine).reload, Reload::Objects);
    QCOMPARE(user.told(), changed);
    QCOMPARE(sql(isProcedure ? "call 手順(4)" : "select 手順(4)"), "5\n");
    const QString rest =
        "select routine_definition from information_schema.routines where routine_schema='店'";
    QVERIFY(!sql(rest).contains("\\r"));
    user.run(dropRoutine);
    QCOMPARE(user.told(), "削除しました。");
    QVERIFY_THROWS_EXCEPTION(SqlError, user.run(dropRoutine));
    QCOMPARE(sql(rest).count('\n'), 1); // the other of that name
}

void DdlServerTest::aRoutineThatLostItsQuotesComesBack()
{
    QFETCH_GLOBAL(QString, driver);
    sql("create procedure q() select max(`order`) as `group` from t");
    RealStage user(m_server, driver, "店");
    for (const char *text : {"", "create q() select 1", "create procedure q() selekt"}) {
        user.clickRoutine("[PROC]", "q");
        if (*text != '\0')
            user.selection.txtProc = QString::fromLatin1(text);
        QCOMPARE(user.run(changeRoutine).reload, Reload::Nothing);
        QCOMPARE(user.told(), "変更に失敗しました。");
        QCOMPARE(sql("call q()"), "6\n");
    }
}

QTEST_GUILESS_MAIN(DdlServerTest)
#include "test_ddlserver.moc"
