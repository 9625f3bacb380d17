#include "ddlclicks.h"
#include "maintenance/createdrop.h"
#include "maintenance/tablechange.h"

namespace {

using L = QStringList;
const QString changed = QStringLiteral("変更しました。");

} // namespace

// Views, routines and drops as the real server takes them, over both kinds of connection.
class DdlServerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_server = std::make_unique<TestServer>(); }
    void init();
    void aViewIsChangedOrKept_data();
    void aViewIsChangedOrKept();
    void routinesAreReplaced_data();
    void routinesAreReplaced();
    void aRoutineThatLostItsQuotesComesBack_data() { driverRows(); }
    void aRoutineThatLostItsQuotesComesBack();
    void tablesViewsAndDatabasesAreDropped_data() { driverRows(); }
    void tablesViewsAndDatabasesAreDropped();

private:
    QString sql(const QString &statements) const { return m_server->run(statements, QStringLiteral("店")); }

    std::unique_ptr<TestServer> m_server;
};

void DdlServerTest::init()
{
    m_server->run(
        QStringLiteral("drop database if exists `店`; create database `店`;"
                       "create table `店`.t (a int, `order` int); insert into `店`.t values (1,5),(2,6)"));
}

void DdlServerTest::aViewIsChangedOrKept_data()
{
    QTest::addColumn<QString>("view");
    QTest::addColumn<L>("edit");
    QTest::addColumn<QString>("rows");
    QTest::newRow("changed") << "select a from t where a > 1 and a < 9 or a = 2" << L{"a > 1", "a > 0"}
                             << "1\n2\n";
    QTest::newRow("refused") << "select a from t where a > 1" << L{"a > 1", "b > 1"} << "2\n";
    QTest::newRow("refused, quotes needed")
        << "select `order` as `group` from t" << L{"from", "fron"} << "5\n6\n";
    QTest::newRow("refused, comma in a text")
        << "select 'a,b' as x, `order` from t limit 1" << L{} << "a,b\t5\n";
}

void DdlServerTest::aViewIsChangedOrKept()
{
    QFETCH(QString, view);
    QFETCH(L, edit);
    QFETCH(QString, rows);
    for (const QString &driver : drivers()) {
        sql(QStringLiteral("create or replace view 表示 as ") + view);
        DdlUser user(*m_server, driver, QStringLiteral("店"));
        user.clickTable(QStringLiteral("表示"));
        for (qsizetype i = 0; i + 1 < edit.size(); i += 2) {
            QVERIFY(user.selection.txtField.contains(edit[i]));
            user.selection.txtField.replace(edit[i], edit[i + 1]);
        }
        user.run(changeTable);
        QCOMPARE(user.dialogue.told, L{QTest::currentDataTag() == QByteArray("changed")
                                           ? changed
                                           : QStringLiteral("ﾃｰﾌﾞﾙの変更に失敗しました。")});
        QCOMPARE(sql(QStringLiteral("select * from 表示")), rows);
    }
}

void DdlServerTest::routinesAreReplaced_data()
{
    QTest::addColumn<QString>("driver");
    QTest::addColumn<QString>("word"); // as the user writes it
    for (const QString &driver : drivers())
        for (const char *word :
             {"create procedure", "CREATE PROCEDURE", "Create Procedure", "create function",
              "CREATE FUNCTION", "Create Definer=demo@localhost Function"})
            QTest::addRow("%s, %s", qPrintable(driver), word) << driver << word;
}

void DdlServerTest::routinesAreReplaced()
{
    QFETCH(QString, driver);
    QFETCH(QString, word);
    const bool isProcedure = word.contains(QStringLiteral("procedure"), Qt::CaseInsensitive);
    sql(QStringLiteral("delimiter //\ncreate procedure 手順(x int) begin\n  select x;\nend//\n"
                       "create function 手順(x int) returns int deterministic return x//"));
    DdlUser user(*m_server, driver, QStringLiteral("店"));
    user.clickRoutine(isProcedure ? QStringLiteral("[PROC]") : QStringLiteral("[FUNC]"),
                      QStringLiteral("手順"));
    user.selection.txtProc =
        word + (isProcedure ? QStringLiteral(" 手順(x int)\r\nbegin\r\n  select x + 1; # \r\nend")
                            : QStringLiteral(" 手順(x int) returns int deterministic\r\nreturn x + 1"));
    QCOMPARE(user.run(changeRoutine).reload, Reload::Objects);
    QCOMPARE(user.dialogue.told, L{changed});
    QCOMPARE(sql(isProcedure ? QStringLiteral("call 手順(4)") : QStringLiteral("select 手順(4)")),
             QStringLiteral("5\n"));
    QVERIFY(!sql(QStringLiteral("select routine_definition from information_schema.routines where "
                                "routine_schema='店'"))
                 .contains(QStringLiteral("\\r")));
    user.run(dropRoutine);
    QCOMPARE(user.dialogue.told, L{QStringLiteral("削除しました。")});
    QVERIFY_THROWS_EXCEPTION(SqlError, user.run(dropRoutine));
    QCOMPARE(
        sql(QStringLiteral("select count(*) from information_schema.routines where routine_schema='店'")),
        QStringLiteral("1\n"));
}

void DdlServerTest::aRoutineThatLostItsQuotesComesBack()
{
    QFETCH(QString, driver);
    sql(QStringLiteral("create procedure q() select max(`order`) as `group` from t"));
    DdlUser user(*m_server, driver, QStringLiteral("店"));
    for (const char *text : {"", "create q() select 1", "create procedure q() selekt"}) {
        user.clickRoutine(QStringLiteral("[PROC]"), QStringLiteral("q"));
        if (*text != '\0')
            user.selection.txtProc = QString::fromLatin1(text);
        QCOMPARE(user.run(changeRoutine).reload, Reload::Nothing);
        QCOMPARE(user.dialogue.told, L{QStringLiteral("変更に失敗しました。")});
        QCOMPARE(sql(QStringLiteral("call q()")), QStringLiteral("6\n"));
    }
}

void DdlServerTest::tablesViewsAndDatabasesAreDropped()
{
    QFETCH(QString, driver);
    sql(QStringLiteral("create view v as select * from t; create table gone (a int);"
                       "create view broken as select * from gone; drop table gone"));
    DdlUser user(*m_server, driver, QStringLiteral("店"));
    for (const char *name : {"v", "broken", "t"}) {
        user.selection.lblTableName = QString::fromLatin1(name);
        QCOMPARE(user.run(dropTable).reload, Reload::Objects);
        QCOMPARE(user.dialogue.told, L{QStringLiteral("削除しました。")});
    }
    QCOMPARE(sql(QStringLiteral("show tables")), QString());
    QCOMPARE(user.run(dropDatabase).reload, Reload::Databases);
    QVERIFY(!m_server->run(QStringLiteral("show databases")).contains(QStringLiteral("店")));
    QVERIFY_THROWS_EXCEPTION(SqlError, user.run(dropDatabase));
}

QTEST_GUILESS_MAIN(DdlServerTest)
#include "test_ddlserver.moc"
