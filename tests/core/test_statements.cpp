#include "core/sql/failure.h"
#include "core/sql/statements.h"

#include <QTest>

class StatementsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void viewsAreLaidOut();
    void createTextsAreQualified();
};

void StatementsTest::viewsAreLaidOut()
{
    const auto shown = [](const char *server) { return shownCreateText("View", server); };
    QCOMPARE(
        shown("CREATE ALGORITHM=UNDEFINED DEFINER=`root`@`%` SQL SECURITY DEFINER VIEW `d`.`v` AS select "
              "`t`.`a` AS `a`,`t`.`b` AS `b` from `t` where (`t`.`a` > 1)"),
        "CREATE VIEW d.v AS \r\nselect t.a AS a,\r\n\tt.b AS b \r\n from t \r\n where (t.a > 1)");
    // The first "and" and the first "or" only; a string is laid out as well.
    QCOMPARE(shown("create view v as select ' , ' FROM t WHERE 1 and 2 and 3 or 4 or 5"),
             "CREATE VIEW v as \r\nselect ' ,\r\n\t ' \r\n FROM t \r\n WHERE 1 \r\n   and 2 and 3 \r\n    or "
             "4 or 5");
    QCOMPARE(shown("CREATE VIEW `v` AS (select 1)"), "CREATE VIEW CREATE VIEW v AS \r\n(select 1)");
    QCOMPARE(shown(""), "CREATE VIEW ");
}

void StatementsTest::createTextsAreQualified()
{
    QCOMPARE(qualifiedCreateText("  create table\r\nT (t int) ", "d", "t"),
             "create table\r\r\n`d`.t (t int)");
    QCOMPARE(qualifiedCreateText("CREATE TABLE `t`(a int)", "d", "`t`"), "CREATE TABLE  `d`.`t`(a int)");
    QCOMPARE(qualifiedCreateText("CREATE TABLE x (a int)", "d", "t"), "CREATE TABLE  x (a in`d`.t)");
    QVERIFY_THROWS_EXCEPTION(Failure, cutAtLastComma(QString()));
}

QTEST_APPLESS_MAIN(StatementsTest)
#include "test_statements.moc"
