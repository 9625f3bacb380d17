#include "core/sqlerror.h"
#include "core/statements.h"

#include <QTest>

class StatementsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void viewsAreLaidOut();
    void createTextsAreQualified();
    void aListWithoutCommaCannotBeCut();
};

void StatementsTest::viewsAreLaidOut()
{
    const auto shown = [](const char *server) { return shownCreateText("View", server); };
    QCOMPARE(
        shown("CREATE ALGORITHM=UNDEFINED DEFINER=`root`@`%` SQL SECURITY DEFINER VIEW `d`.`v` AS select "
              "`t`.`a` AS `a`,`t`.`b` AS `b` from `t` where (`t`.`a` > 1)"),
        "CREATE VIEW d.v AS \r\nselect t.a AS a,\r\n\tt.b AS b \r\n from t \r\n where (t.a > 1)");
    // The first "and" and the first "or" only.
    QCOMPARE(
        shown("CREATE VIEW `v` AS select 1 AS `a` from `t` where 1 and 2 and 3 or 4 or 5"),
        "CREATE VIEW v AS \r\nselect 1 AS a \r\n from t \r\n where 1 \r\n   and 2 and 3 \r\n    or 4 or 5");
    QCOMPARE(shown("create view v as select 1 FROM t WHERE 1"),
             "CREATE VIEW v as \r\nselect 1 \r\n FROM t \r\n WHERE 1");
    QCOMPARE(shown("CREATE VIEW `v` AS (select 1)"), "CREATE VIEW CREATE VIEW v AS \r\n(select 1)");
    // Keywords inside a string are laid out as well.
    QCOMPARE(shown("CREATE VIEW `v` AS select ' from , where ' AS `x` from `t`"),
             "CREATE VIEW v AS \r\nselect ' \r\n from ,\r\n\t \r\n where ' AS x from t");
    QCOMPARE(shown(""), "CREATE VIEW ");
}

void StatementsTest::createTextsAreQualified()
{
    QCOMPARE(qualifiedCreateText("  create table T (t int) ", "d", "t"), "create table  `d`.t (t int)");
    QCOMPARE(qualifiedCreateText("CREATE TABLE\r\nt (a int)", "d", "t"), "CREATE TABLE\r\r\n`d`.t (a int)");
    QCOMPARE(qualifiedCreateText("CREATE TABLE `t`(a int)", "d", "`t`"), "CREATE TABLE  `d`.`t`(a int)");
    QCOMPARE(qualifiedCreateText("CREATE TABLE x (a int)", "d", "t"), "CREATE TABLE  x (a in`d`.t)");
}

void StatementsTest::aListWithoutCommaCannotBeCut()
{
    QCOMPARE(cutAtLastComma("a,b,"), "a,b");
    QVERIFY_THROWS_EXCEPTION(SqlError, cutAtLastComma(QString()));
}

QTEST_APPLESS_MAIN(StatementsTest)
#include "test_statements.moc"
