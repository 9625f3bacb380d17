#include "core/sqlerror.h"
#include "core/statements.h"
#include "support/rows.h"

#include <QTest>

class StatementsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void viewsAreLaidOut_data();
    void viewsAreLaidOut();
    void createTextsAreQualified_data();
    void createTextsAreQualified();
    void aListWithoutCommaCannotBeCut();
    void passwordsAreMasked_data();
    void passwordsAreMasked();
};

void StatementsTest::viewsAreLaidOut_data()
{
    QTest::addColumn<QString>("server");
    QTest::addColumn<QString>("shown");
    row("server's own text",
        "CREATE ALGORITHM=UNDEFINED DEFINER=`root`@`%` SQL SECURITY DEFINER VIEW `d`.`v` AS select "
        "`t`.`a` AS "
        "`a`,`t`.`b` AS `b` from `t` where (`t`.`a` > 1)",
        "CREATE VIEW d.v AS \r\nselect t.a AS a,\r\n\tt.b AS b \r\n from t \r\n where (t.a > 1)");
    row("and, or, first ones only",
        "CREATE VIEW `v` AS select 1 AS `a` from `t` where 1 and 2 and 3 or 4 or 5",
        "CREATE VIEW v AS \r\nselect 1 AS a \r\n from t \r\n where 1 \r\n   and 2 and 3 \r\n    or 4 or 5");
    row("lower case keywords", "create view v as select 1 FROM t WHERE 1",
        "CREATE VIEW v as \r\nselect 1 \r\n FROM t \r\n WHERE 1");
    row("no AS select", "CREATE VIEW `v` AS (select 1)", "CREATE VIEW CREATE VIEW v AS \r\n(select 1)");
    row("keyword inside a string", "CREATE VIEW `v` AS select ' from , where ' AS `x` from `t`",
        "CREATE VIEW v AS \r\nselect ' \r\n from ,\r\n\t \r\n where ' AS x from t");
    row("empty", "", "CREATE VIEW ");
}

void StatementsTest::viewsAreLaidOut()
{
    QFETCH(QString, server);
    QTEST(shownCreateText("View", server), "shown");
}

void StatementsTest::createTextsAreQualified_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("qualified");
    row("usual", "CREATE TABLE t (a int)", "t", "CREATE TABLE  `d`.t (a int)");
    row("blanks around", "  create table T (t int) ", "t", "create table  `d`.t (t int)");
    row("line break after TABLE", "CREATE TABLE\r\nt (a int)", "t", "CREATE TABLE\r\r\n`d`.t (a int)");
    row("backticks as written", "CREATE TABLE `t`(a int)", "`t`", "CREATE TABLE  `d`.`t`(a int)");
    row("name not there", "CREATE TABLE x (a int)", "t", "CREATE TABLE  x (a in`d`.t)");
}

void StatementsTest::createTextsAreQualified()
{
    QFETCH(QString, text);
    QFETCH(QString, name);
    QTEST(qualifiedCreateText(text, "d", name), "qualified");
}

void StatementsTest::aListWithoutCommaCannotBeCut()
{
    QCOMPARE(cutAtLastComma("a,b,"), "a,b");
    QVERIFY_THROWS_EXCEPTION(SqlError, cutAtLastComma(QString()));
}

void StatementsTest::passwordsAreMasked_data()
{
    QTest::addColumn<QString>("statement");
    QTest::addColumn<QString>("masked");
    row("no password", "select 'a'", "select 'a'");
    row("grant", "GRANT USAGE ON *.* TO 'u'@\"%\" IDENTIFIED BY 'p''x\\'y' WITH GRANT OPTION",
        "GRANT USAGE ON *.* TO '***'@\"***\" IDENTIFIED BY '***' WITH GRANT OPTION");
    row("quote within a name", "grant all on `it's`.* to u identified by 'p'",
        "grant all on `it's`.* to u identified by '***'");
    row("quote left open", "set password = 'abc", "set password = '***'");
    row("function", "select PASSWORD(\"x\")", "select PASSWORD(\"***\")");
}

void StatementsTest::passwordsAreMasked()
{
    QFETCH(QString, statement);
    QTEST(maskedPasswords(statement), "masked");
}

QTEST_APPLESS_MAIN(StatementsTest)
#include "test_statements.moc"
