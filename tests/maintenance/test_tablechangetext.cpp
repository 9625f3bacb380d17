#include "maintenance/tablechangetext.h"
#include "support/rows.h"

#include <QTest>

class TableChangeTextTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theNameIsTakenFromTheText_data();
    void theNameIsTakenFromTheText();
    void theCopyBearsTheMinute();
    void onlyColumnsOfBothTablesAreFilled_data();
    void onlyColumnsOfBothTablesAreFilled();
};

void TableChangeTextTest::theNameIsTakenFromTheText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("name");
    row("any letter case, blanks around", "  create  Table   受注 (a int)  ", "受注");
    row("backticks as written", "CREATE TABLE `t`(a int)", "`t`");
    row("no blank before the parenthesis", "CREATE TABLE t(a int)", "t");
    row("a word TABLE before CREATE", "/* table */ CREATE TABLE t (a int)", "t");
    row("no CREATE", "TABLE t (a int)", "");
    row("no parenthesis", "CREATE TABLE t", "");
    row("no name", "CREATE TABLE (a int)", "");
    row("CREATE and TABLE too close", "CREATETABLE t (a int)", "t");
}

void TableChangeTextTest::theNameIsTakenFromTheText()
{
    QFETCH(QString, text);
    QTEST(fField_select(text), "name");
}

void TableChangeTextTest::theCopyBearsTheMinute()
{
    QCOMPARE(copyName("shop", "orders", QDateTime({2024, 3, 3}, {9, 5, 59})),
             "`shop`.orders_202403030905zolt");
}

void TableChangeTextTest::onlyColumnsOfBothTablesAreFilled_data()
{
    QTest::addColumn<QStringList>("newColumns"); // "name" or "name|extra"
    QTest::addColumn<QStringList>("oldColumns");
    QTest::addColumn<QString>("list");
    using L = QStringList;
    row("the new order", L{"c", "a", "b"}, L{" a", " b", " c"}, "c,a,b,");
    row("names are compared exactly", L{"A", "b"}, L{" a", " b"}, "b,");
    row("generated columns take no values",
        L{"a", "v|VIRTUAL GENERATED", "s|STORED GENERATED", "p|PERSISTENT", "w|VIRTUAL"},
        L{" a", " v", " s", " p", " w"}, "a,");
    row("a default that is an expression is no generated column",
        L{"a|DEFAULT_GENERATED on update CURRENT_TIMESTAMP", "b|auto_increment"}, L{" a", " b"}, "a,b,");
}

void TableChangeTextTest::onlyColumnsOfBothTablesAreFilled()
{
    const auto records = [](const QStringList &columns) {
        std::vector<FieldRec> fields(1);
        for (const QString &column : columns) {
            FieldRec record;
            record.Field = column.section(u'|', 0, 0);
            record.Extra = column.section(u'|', 1);
            fields.push_back(record);
        }
        return fields;
    };
    QFETCH(QStringList, newColumns);
    QFETCH(QStringList, oldColumns);
    QTEST(commonColumns(records(newColumns), records(oldColumns)), "list");
}

QTEST_APPLESS_MAIN(TableChangeTextTest)
#include "test_tablechangetext.moc"
