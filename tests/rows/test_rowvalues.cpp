#include "core/driver/connect.h"
#include "core/sql/statements.h"
#include "rows/rowchange.h"
#include "support/testserver.h"

#include <QTest>

using Brand = TestServer::Brand;

// How values stand in statements: every type of a server, both kinds of connection, byte for byte.
class RowValuesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { TestServers::addConnectionRows(); }
    void init();
    void everyValueIsFoundAndWrittenAgain_data();
    void everyValueIsFoundAndWrittenAgain();
    void keysThatTellRowsApart_data();
    void keysThatTellRowsApart();

private:
    QString valueOf(const QString &statement) const
    {
        RecordSet rows = m_connection->execute(statement);
        return rows.isEof() ? QStringLiteral("no row") : rows.text(0);
    }
    std::vector<std::vector<RowValue>> rowsOf(const TableShape &table) const;

    TestServers m_servers;
    BlockingPump m_pump;
    std::unique_ptr<Connection> m_connection;
    Brand m_brand = Brand::MariaDb;
};

void RowValuesTest::init()
{
    QFETCH_GLOBAL(Brand, brand);
    QFETCH_GLOBAL(bool, isBuiltIn);
    SKIP_WITHOUT(brand);
    m_brand = brand;
    m_servers.of(brand).run("drop database if exists d; create database d default character set utf8mb4");
    m_connection = createConnection(m_servers.of(brand).connectionString(isBuiltIn, "d"), m_pump);
    m_connection->open();
}

std::vector<std::vector<RowValue>> RowValuesTest::rowsOf(const TableShape &table) const
{
    std::vector<std::vector<RowValue>> all;
    for (RecordSet rows = m_connection->execute("select * from " + table.qualified() + " order by id");
         !rows.isEof(); rows.moveNext()) {
        std::vector<RowValue> values;
        for (std::size_t column = 0; column < table.columns.size(); ++column)
            values.push_back(valueOfCell(table.columns[column], rows.cells()[column]));
        all.push_back(values);
    }
    return all;
}

void RowValuesTest::everyValueIsFoundAndWrittenAgain_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QStringList>("values"); // as SQL; each differs from every other one
    QTest::addColumn<Brand>("only");
    const Brand all = Brand::MySql56; // the least of them
    const auto add = [](const char *type, const QStringList &values, Brand only) {
        QTest::addRow("%s", type) << type << values << only;
    };
    add("bigint unsigned", {"0", "18446744073709551615", "18446744073709551614", "null"}, all);
    add("int(5) zerofill", {"42", "0"}, all);
    add("decimal(65,30)",
        {"-0.000000000000000000000000000001", "99999999999999999999999999999999999.1",
         "99999999999999999999999999999999999.2"},
        all);
    add("year", {"2020", "0000", "1999"}, all);
    add("float", {"0.1", "1e30", "-2.5e-20", "-2.82205e-8", "16777216"}, all);
    add("double", {"0.1", "0.10000000000000002", "1e308", "5e-324", "-1.5e-7", "123456789012345678"}, all);
    add("double(10,2)", {"1.25", "-3"}, all);
    add("varchar(100)",
        {"''", "'NULL'", "null", "'a'", "'A'", "'a '", "'à'", "'0x41'", "'O''Reilly; -- ? \" `'",
         "concat('back\\\\slash', char(0), char(26), '\\r\\n\\t')", "'日本語 ｶﾞ 😀'", "repeat('長', 4000/60)"},
        all);
    add("varchar(100) character set latin1", {"'à'", "'a'", "'ÿ'"}, all);
    add("varchar(100) character set cp932", {"'表示ソ能'", "'ｱ'"}, all);
    add("char(10)", {"'x'", "'X'", "''"}, all);
    add("longtext", {"repeat('a', 5000)", "concat(repeat('a', 4999), 'b')", "repeat('\\n', 3)"}, all);
    add("enum('a','b''c','ö\\\\')", {"'a'", "'b''c'", "'ö\\\\'"}, all);
    add("set('a','b','c')", {"''", "'a'", "'a,c'", "'a,b,c'"}, all);
    add("varbinary(100)", {"x'00FF41'", "x'00FF42'", "'text'", "'text '", "'0x41'", "''", "'ä'", "null"},
        all);
    add("binary(4)", {"x'4100'", "x'41'"}, Brand::MySql9); // refused as the same value below
    add("longblob", {"repeat(x'00', 3000)", "concat(repeat(x'00', 2999), x'01')"}, all);
    add("bit(8)", {"b'0'", "b'1'", "b'1010101'", "b'100111'"}, all);
    add("bit(64)", {"b'0'", "18446744073709551615", "18446744073709551614"}, all);
    add("date", {"'2020-02-29'", "'0000-00-00'", "'2020-00-00'", "null"}, all);
    add("datetime(6)", {"'2020-02-29 23:59:59.000001'", "'0000-00-00 00:00:00'", "'1000-01-01'"}, all);
    add("timestamp(3) null", {"'2020-02-29 23:59:59.001'", "null"}, all);
    add("time(6)", {"'-838:59:59'", "'00:00:00.000001'", "'12:00:00'"}, all);
    add("point", {"point(1,2)", "point(1,2.5)"}, all);
    add("json", {"'{\"b\": [1, 2.50, \"x\\\\ty\"], \"日\": null}'", "'[]'", "null"}, Brand::MySql9);
    add("vector(2)", {"string_to_vector('[1,2.5]')", "string_to_vector('[1,3]')"}, Brand::MySql9);
    add("uuid", {"'123e4567-e89b-12d3-a456-426655440000'"}, Brand::MariaDb);
    add("inet6", {"'::1'", "'fe80::1'"}, Brand::MariaDb);
}

void RowValuesTest::everyValueIsFoundAndWrittenAgain()
{
    QFETCH(QString, type);
    QFETCH(QStringList, values);
    QFETCH(Brand, only);
    if (only != Brand::MySql56 && only != m_brand)
        QSKIP("this server has no such type, or other rules for it");
    m_connection->execute("set session sql_mode='ALLOW_INVALID_DATES'");
    m_connection->execute("create table t (id int primary key, v " + type + ")");
    m_connection->execute("create table w like t");
    if (values.size() > 1 && type == u"binary(4)")
        values.removeLast(); // padded to the same bytes
    for (int i = 0; i < values.size(); ++i)
        m_connection->execute(QStringLiteral("insert into t values (%1, %2)").arg(i).arg(values[i]));

    const TableShape table = readTableShape(*m_connection, "d", "t");
    const TableShape copy = readTableShape(*m_connection, "d", "w");
    const auto rows = rowsOf(table);
    QCOMPARE(rows.size(), std::size_t(values.size()));
    for (const std::vector<RowValue> &row : rows) {
        // Only the one value counts here, the key would find the row alone.
        const QString same = sameValue(table.columns[1], row[1]);
        QCOMPARE(valueOf("select group_concat(id) from t where " + same), QString::fromUtf8(*row[0]));
        QCOMPARE(valueOf("select count(*) from t where " + sameRow(table, row)), QString("1"));
        m_connection->execute(
            insertStatement(copy, {RowChange::Kind::Added, 0, {}, {{0, row[0]}, {1, row[1]}}}));
        const QString indexed = indexedValue(table.columns[1], row[1]);
        if (!indexed.isEmpty())
            QVERIFY(valueOf("select count(*) from t where " + indexed) != u"0");
    }
    QVERIFY(rowsOf(copy) == rows);
    // In the server's own eyes, too; of a FLOAT the text has fewer digits than the value.
    if (!table.columns[1].isSingleFloat)
        QCOMPARE(valueOf("select count(*) from t join w using (id) where hex(t.v)<=>hex(w.v)"),
                 QString::number(values.size()));
}

void RowValuesTest::keysThatTellRowsApart_data()
{
    QTest::addColumn<QString>("definition");
    QTest::addColumn<QString>("key"); // the columns; empty: read-only
    QTest::newRow("primary") << "a int, b int, unique (a), primary key (b, a)"
                             << "b,a";
    QTest::newRow("the shortest unique") << "a int not null, b int not null, c int not null, unique x (a,b), "
                                            "unique y (c)"
                                         << "c";
    QTest::newRow("unique with NULL") << "a int, unique (a)"
                                      << "";
    QTest::newRow("a part of a column") << "a varchar(100) not null, unique (a(3))"
                                        << "";
    QTest::newRow("one of two has NULL") << "a int not null, b int, unique (a,b)"
                                         << "";
    QTest::newRow("none") << "a int, key (a)"
                          << "";
}

void RowValuesTest::keysThatTellRowsApart()
{
    QFETCH(QString, definition);
    QFETCH(QString, key);
    m_connection->execute("create table `k``e y` (" + definition + ")");
    TableShape table = readTableShape(*m_connection, "d", "k`e y");
    QStringList columns;
    for (const int column : table.key)
        columns << table.columns[static_cast<std::size_t>(column)].name;
    QCOMPARE(columns.join(','), key);
    QCOMPARE(table.whyReadOnly.isEmpty(), !key.isEmpty());
    QVERIFY(table.isTransactional);
    ConnectionProfile profile;
    profile.isReadOnly = true;
    heedConnection(table, profile);
    QVERIFY(!table.whyReadOnly.isEmpty());
}

QTEST_GUILESS_MAIN(RowValuesTest)
#include "test_rowvalues.moc"
