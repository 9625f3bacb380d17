#include "maintenance/tablechangetext.h"

#include <QTest>

class TableChangeTextTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theNameIsTakenFromTheText_data();
    void theNameIsTakenFromTheText();
    void theCopyBearsTheMinute();
    void onlyColumnsOfBothTablesAreFilled_data();
    void onlyColumnsOfBothTablesAreFilled();
    void hiddenColumnsAreCopiedByName();
};

void TableChangeTextTest::theNameIsTakenFromTheText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("name");
    QTest::newRow("usual") << "CREATE TABLE t (\r\n  a int)"
                           << "t";
    QTest::newRow("any letter case, blanks around") << "  create  Table   受注 (a int)  "
                                                    << "受注";
    QTest::newRow("backticks as written") << "CREATE TABLE `t`(a int)"
                                          << "`t`";
    QTest::newRow("no blank before the parenthesis") << "CREATE TABLE t(a int)"
                                                     << "t";
    QTest::newRow("a word TABLE before CREATE") << "/* table */ CREATE TABLE t (a int)"
                                                << "t";
    QTest::newRow("no CREATE") << "TABLE t (a int)"
                               << "";
    QTest::newRow("no TABLE") << "CREATE t (a int)"
                              << "";
    QTest::newRow("no parenthesis") << "CREATE TABLE t"
                                    << "";
    QTest::newRow("no name") << "CREATE TABLE (a int)"
                             << "";
    QTest::newRow("CREATE and TABLE too close") << "CREATETABLE t (a int)"
                                                << "t";
}

void TableChangeTextTest::theNameIsTakenFromTheText()
{
    QFETCH(QString, text);
    QTEST(fField_select(text), "name");
}

void TableChangeTextTest::theCopyBearsTheMinute()
{
    QCOMPARE(copyName(QStringLiteral("shop"), QStringLiteral("orders"), QDateTime({2024, 3, 3}, {9, 5, 59})),
             QStringLiteral("`shop`.orders_202403030905zolt"));
    QCOMPARE(copyName(QStringLiteral("s"), QStringLiteral("o"), QDateTime({2024, 12, 31}, {0, 0})),
             QStringLiteral("`s`.o_202412310000zolt"));
}

void TableChangeTextTest::onlyColumnsOfBothTablesAreFilled_data()
{
    QTest::addColumn<QStringList>("newColumns"); // "name" or "name|extra"
    QTest::addColumn<QStringList>("oldColumns");
    QTest::addColumn<QString>("list");
    using L = QStringList;
    QTest::newRow("the new order") << L{"c", "a", "b"} << L{" a", " b", " c"} << "c,a,b,";
    QTest::newRow("added and dropped") << L{"a", "z"} << L{" a", " b"} << "a,";
    QTest::newRow("names are compared exactly") << L{"A", "b"} << L{" a", " b"} << "b,";
    QTest::newRow("nothing in common") << L{"x"} << L{" a"} << "";
    QTest::newRow("generated columns take no values")
        << L{"a", "v|VIRTUAL GENERATED", "s|STORED GENERATED", "p|PERSISTENT", "w|VIRTUAL"}
        << L{" a", " v", " s", " p", " w"} << "a,";
    QTest::newRow("a default that is an expression is no generated column")
        << L{"a|DEFAULT_GENERATED on update CURRENT_TIMESTAMP", "b|auto_increment"} << L{" a", " b"}
        << "a,b,";
    QTest::newRow("a generated column made plain") << L{"a", "v"} << L{" a", " v"} << "a,v,";
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

void TableChangeTextTest::hiddenColumnsAreCopiedByName()
{
    OldColumns columns;
    columns.add(QStringLiteral("a"), {});
    columns.add(QStringLiteral("order"), QStringLiteral("INVISIBLE"));
    columns.add(QStringLiteral("v"), QStringLiteral("VIRTUAL GENERATED, INVISIBLE"));
    QCOMPARE(copyStatement(QStringLiteral("c"), QStringLiteral("t"), columns),
             QStringLiteral("create table c select *,`order` from t"));
    QCOMPARE(copyBackStatement(QStringLiteral("t"), QStringLiteral("c"), columns),
             QStringLiteral("insert into t(`a`,`order`) select `a`,`order` from c"));
}

QTEST_APPLESS_MAIN(TableChangeTextTest)
#include "test_tablechangetext.moc"
