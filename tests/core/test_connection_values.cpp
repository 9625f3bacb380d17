#include "connectiontests.h"

class ConnectionValuesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void everyTypeIsTheServersOwnText_data();
    void everyTypeIsTheServersOwnText();
    void longCellsAreNeverCut_data() { addBothConnections(); }
    void longCellsAreNeverCut();
    void rowsKeepTheirOrderThroughManyBlocks_data() { addBothConnections(); }
    void rowsKeepTheirOrderThroughManyBlocks();
    void severalRecordSetsAreOpenAtOnce_data() { addBothConnections(); }
    void severalRecordSetsAreOpenAtOnce();
    void theFirstOfSeveralResultsIsGiven_data() { addBothConnections(); }
    void theFirstOfSeveralResultsIsGiven();
    void statementsWithoutRowsGiveNoOpenRecordSet_data() { addBothConnections(); }
    void statementsWithoutRowsGiveNoOpenRecordSet();
    void fieldsAreFoundByName_data() { addBothConnections(); }
    void fieldsAreFoundByName();

private:
    std::unique_ptr<Connection> connection(const QString &database = QStringLiteral("d"));

    TestServer m_server;
    BlockingPump m_pump;
};

void ConnectionValuesTest::initTestCase()
{
    m_server.run(QStringLiteral("create database d; create table d.t (a int, b varchar(9)) engine=myisam; "
                                "create table d.`表` (`列` int);"));
    m_server.run(
        QStringLiteral("delimiter |\ncreate procedure d.two() begin select 1 as first; select 2 as second; "
                       "end|\ncreate procedure d.failing() begin select 1; select * from nowhere; end|\n"));
}

std::unique_ptr<Connection> ConnectionValuesTest::connection(const QString &database)
{
    const bool isBuiltIn = *static_cast<bool *>(QTest::qData("isBuiltIn", qMetaTypeId<bool>()));
    return connected(stringOf(m_server, isBuiltIn, database), m_pump);
}

void ConnectionValuesTest::everyTypeIsTheServersOwnText_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<FieldKind>("kind");
    const auto number = FieldKind::Number, text = FieldKind::Text, binary = FieldKind::Binary;
    const auto row = [](const char *type, const char *value, const char *shown, FieldKind kind) {
        QTest::newRow(
            qPrintable(QStringLiteral("%1 %2").arg(QString::fromUtf8(type), QString::fromUtf8(value))))
            << QString::fromUtf8(type) << QString::fromUtf8(value) << QString::fromUtf8(shown) << kind;
    };
    row("tinyint", "-128", "-128", number);
    row("int(6) zerofill", "42", "000042", number);
    row("bigint", "-9223372036854775808", "-9223372036854775808", number);
    row("bigint unsigned", "18446744073709551615", "18446744073709551615", number);
    row("decimal(65,30)", "-12345678901234567890123456789012345.5",
        "-12345678901234567890123456789012345.500000000000000000000000000000", number);
    row("float", "1.1", "1.1", number);
    row("float", "16777216", "16777200", number);
    row("float", "1e-30", "1e-30", number);
    row("float(7,3)", "1234.5678", "1234.568", number);
    row("double", "1e300", "1e300", number);
    row("double", "1e0/3", "0.3333333333333333", number);
    row("double", "-1.7976931348623157e308", "-1.7976931348623157e308", number);
    row("double", "123456789e-20", "0.00000000000123456789", number);
    row("year", "0", "0000", number);
    row("bit(1)", "b'1'", "0x01", binary);
    row("bit(1)", "b'0'", "0x00", binary);
    row("bit(20)", "b'1000001'", "0x000041", binary);
    row("bit(8)", "b'1000001'", "A", binary);
    row("date", "'0000-00-00'", "0000-00-00", text);
    row("date", "'2024-00-00'", "2024-00-00", text);
    row("datetime", "'0000-00-00 00:00:00'", "0000-00-00 00:00:00", text);
    row("datetime(6)", "'2024-02-29 12:34:56.789'", "2024-02-29 12:34:56.789000", text);
    row("datetime(6)", "'9999-12-31 23:59:59.999999'", "9999-12-31 23:59:59.999999", text);
    row("timestamp(3) null", "'2024-02-29 12:34:56.7'", "2024-02-29 12:34:56.700", text);
    row("time", "'-838:59:59'", "-838:59:59", text);
    row("time(6)", "'-00:00:01.5'", "-00:00:01.500000", text);
    row("char(5)", "'ab '", "ab", text);
    row("varchar(20)", "'漢字😀 ｶﾅ'", "漢字😀 ｶﾅ", text);
    row("varchar(20)", "''", "", text);
    row("varchar(20)", "null", "NULL", text);
    row("varchar(20) character set latin1", "'é'", "é", text);
    row("varchar(20) character set sjis", "'表'", "表", text);
    row("varchar(20) collate utf8mb4_bin", "'Ab'", "Ab", text);
    row("enum('a','漢')", "'漢'", "漢", text);
    row("set('x','y')", "'x,y'", "x,y", text);
    row("text", "'a\\r\\nb'", "a\r\nb", text);
    row("longtext", "repeat('字', 3)", "字字字", text);
    row("json", "'{\"a\": [1, 2]}'", "{\"a\": [1, 2]}", text);
    row("binary(4)", "'ab'", "0x61620000", binary);
    row("varbinary(20)", "'漢字\\t'", "漢字\t", binary);
    row("varbinary(20)", "x'C3'", "0xC3", binary);
    row("varbinary(20)", "''", "", binary);
    row("varbinary(20)", "x'7F'", "0x7F", binary);
    row("varbinary(20)", "x'C285'", "0xC285", binary);
    row("blob", "x'DEADBEEF'", "0xDEADBEEF", binary);
    row("longblob", "null", "NULL", binary);
    row("geometry", "st_geomfromtext('POINT(1 2)')", "0x000000000101000000000000000000F03F0000000000000040",
        binary);
    row("inet6", "'::1'", "::1", text);
}

void ConnectionValuesTest::everyTypeIsTheServersOwnText()
{
    QFETCH(QString, type);
    QFETCH(QString, value);
    QFETCH(QString, shown);
    QFETCH(FieldKind, kind);
    m_server.run(QStringLiteral("set sql_mode=''; create or replace table v (a int, c %1, z int); "
                                "insert into v values (1, %2, 2);")
                     .arg(type, value),
                 QStringLiteral("d"));
    for (const bool isBuiltIn : {true, false}) {
        const auto open = connected(stringOf(m_server, isBuiltIn, QStringLiteral("d")), m_pump);
        RecordSet rows = open->execute(QStringLiteral("select c, z from v"));
        QVERIFY(!rows.isEof());
        QVERIFY2(rows.text(0) == shown, qPrintable(QStringLiteral("%1: %2").arg(
                                            QLatin1String(isBuiltIn ? "built in" : "odbc"), rows.text(0))));
        QCOMPARE(rows.isNull(0), value == u"null");
        QCOMPARE(rows.text(1), QStringLiteral("2"));
        QCOMPARE(rows.fields()[0].kind, kind);
    }
}

void ConnectionValuesTest::longCellsAreNeverCut()
{
    const auto open = connection();
    // Short rows first: the long ones come in the middle of a block.
    RecordSet rows =
        open->execute(QStringLiteral("select seq, repeat('漢', if(seq % 50 = 49, seq * 1000, seq)) as a, "
                                     "if(seq = 60, null, repeat('b', seq * 30)) as b, if(seq = 149, "
                                     "repeat(x'00ff', 600000), x'41') as c, seq "
                                     "from seq_1_to_200"));
    for (int row = 1; row <= 200; ++row, rows.moveNext()) {
        QVERIFY(!rows.isEof());
        QCOMPARE(rows.text(0).toInt(), row);
        QCOMPARE(rows.text(1), QString(row % 50 == 49 ? row * 1000 : row, u'漢'));
        QCOMPARE(rows.isNull(2), row == 60);
        QCOMPARE(rows.text(2).size(), row == 60 ? 4 : row * 30);
        QCOMPARE(rows.text(3).size(), row == 149 ? 2 + 2400000 : 1);
        QCOMPARE(rows.text(4).toInt(), row);
    }
    QVERIFY(rows.isEof());
}

void ConnectionValuesTest::rowsKeepTheirOrderThroughManyBlocks()
{
    const auto open = connection();
    RecordSet rows = open->execute(QStringLiteral("select seq, repeat('x', seq % 300) from seq_1_to_50000"));
    int expected = 0;
    for (; !rows.isEof(); rows.moveNext()) {
        ++expected;
        QCOMPARE(rows.text(0).toInt(), expected);
        QCOMPARE(rows.cells()[1].bytes.size(), static_cast<std::size_t>(expected % 300));
    }
    QCOMPARE(expected, 50000);
    QVERIFY(rows.isOpen());
}

void ConnectionValuesTest::severalRecordSetsAreOpenAtOnce()
{
    const auto open = connection();
    RecordSet outer = open->execute(QStringLiteral("select seq, repeat('x', 500) from seq_1_to_3000"));
    RecordSet middle = open->execute(QStringLiteral("select seq, repeat('y', 500) from seq_1_to_3000"));
    int count = 0;
    for (; !outer.isEof(); outer.moveNext(), middle.moveNext()) {
        QCOMPARE(outer.text(0), middle.text(0));
        if (++count % 300 == 0)
            QCOMPARE(valueOf(*open, QStringLiteral("select %1").arg(count)), QString::number(count));
    }
    QCOMPARE(count, 3000);
    QVERIFY(middle.isEof());
}

void ConnectionValuesTest::theFirstOfSeveralResultsIsGiven()
{
    const auto open = connection();
    RecordSet rows = open->execute(QStringLiteral("call two()"));
    QCOMPARE(rows.fieldName(0), QStringLiteral("first"));
    // The second result is still to come from the server.
    QCOMPARE(valueOf(*open, QStringLiteral("select 7")), QStringLiteral("7"));
    QCOMPARE(rows.text(0), QStringLiteral("1"));
    rows.moveNext();
    QVERIFY(rows.isEof());
    open->execute(QStringLiteral("call two()"));
    QCOMPARE(errorOf([&] {
                 RecordSet failing = open->execute(QStringLiteral("call failing()"));
                 while (!failing.isEof())
                     failing.moveNext();
             }).number(),
             1146);
    QCOMPARE(valueOf(*open, QStringLiteral("select 8")), QStringLiteral("8"));
}

void ConnectionValuesTest::statementsWithoutRowsGiveNoOpenRecordSet()
{
    const auto open = connection();
    QVERIFY(!open->execute(QStringLiteral("set @a = 1")).isOpen());
    QVERIFY(!open->execute(QStringLiteral("update t set a = 9 where a = 8")).isOpen());
    RecordSet empty = open->execute(QStringLiteral("select * from t where a = 8"));
    QVERIFY(empty.isOpen());
    QVERIFY(empty.isEof());
    QCOMPARE(empty.fieldCount(), 2);
    open->close();
    QVERIFY(!empty.isOpen());
    QVERIFY(!open->isOpen());
    errorOf([&] { empty.isEof(); });
    QCOMPARE(errorOf([&] { open->execute(QStringLiteral("select 1")); }).state(), QStringLiteral("08003"));
    open->open();
    QCOMPARE(valueOf(*open, QStringLiteral("select 5")), QStringLiteral("5"));
}

void ConnectionValuesTest::fieldsAreFoundByName()
{
    const auto open = connection();
    RecordSet databases = open->execute(QStringLiteral("show databases;"));
    QVERIFY(!databases.text(QStringLiteral("database")).isEmpty());
    RecordSet fields = open->execute(QStringLiteral("show full fields from `d`.表;"));
    QCOMPARE(fields.text(QStringLiteral("FIELD")), QStringLiteral("列"));
    errorOf([&] { fields.text(QStringLiteral("nothing")); });
    RecordSet twice = open->execute(QStringLiteral("select 1 as a, 2 as A, 3 as `列 名`"));
    QCOMPARE(twice.text(QStringLiteral("A")), QStringLiteral("1"));
    QCOMPARE(twice.fieldName(2), QStringLiteral("列 名"));
}

QTEST_GUILESS_MAIN(ConnectionValuesTest)
#include "test_connection_values.moc"
