#include "connectiontests.h"
#include "core/session/basconnection.h"

class ConnectionValuesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { TestServers::addConnectionRows(); }
    void init();
    void everyEntryReachesTheServer();
    void theServersOwnCharacterSetDoesNotMatter();
    void everyTypeIsTheServersOwnText_data();
    void everyTypeIsTheServersOwnText();
    void longCellsAreNeverCut();
    void severalRecordSetsAreOpenAtOnce();
    void theFirstOfSeveralResultsIsGiven();
    void everyResultIsHandedOver();

private:
    static void makeObjects(TestServer &server);
    std::unique_ptr<Connection> connection()
    {
        return connected(m_server->connectionString(isBuiltIn(), "d"), m_pump);
    }

    TestServers m_servers{{"--loose-skip-character-set-client-handshake"}, makeObjects};
    TestServer *m_server = nullptr;
    TestServer::Brand m_brand = TestServer::Brand::MariaDb;
    BlockingPump m_pump;
};

void ConnectionValuesTest::init()
{
    QFETCH_GLOBAL(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    m_server = &m_servers.of(brand);
    m_brand = brand;
}

void ConnectionValuesTest::makeObjects(TestServer &server)
{
    server.run("create database d; use d; create table digits (a int);"
               "insert into digits values (0),(1),(2),(3),(4),(5),(6),(7),(8),(9);"
               "create table numbers (seq int primary key) select 1 + p.a + 10*q.a + 100*r.a + 1000*s.a + "
               "10000*t.a as seq "
               "from digits p, digits q, digits r, digits s, digits t where t.a < 2;\n"
               "delimiter |\ncreate procedure two() begin select 1 as first; select 2 as second; end|\n"
               "create procedure failing() begin select 1; select * from nowhere; end|\n");
}

// A ";" in the password would end it there; in the name of a database it would choose another one.
void ConnectionValuesTest::everyEntryReachesTheServer()
{
    Session session;
    session.gDsn = noDataSource();
    session.gDriver = isBuiltIn() ? nativeDriverName() : QStringLiteral("MySQL ODBC 3.51 Driver");
    session.gServer = QStringLiteral("127.0.0.1");
    session.gPort = QString::number(m_server->port());
    session.makeConnection = [this](const QString &string) { return createConnection(string, m_pump); };
    QStringList names{"d;x", "{d", "{d}", "d}e;f", "}d;", "d;e}", "port=1"};
    // Connector/ODBC trims what stands in braces, too, and MySQL the names of accounts.
    if (isBuiltIn() && m_brand == TestServer::Brand::MariaDb)
        names << " d";
    for (const QString &name : names) {
        session.gUser = session.gPass = session.gDbName = name;
        m_server->run(QStringLiteral("create user `%1`@'%' identified by '%1'; create database `%1`; "
                                     "grant all on *.* to `%1`@'%'")
                          .arg(name));
        QString why;
        QVERIFY2(fConnect(session, &why), qPrintable(name + why));
        QCOMPARE(session.connection().execute("select user(), database()").text(1), name);
        sDisconnect(session);
        m_server->run(QStringLiteral("drop database `%1`; drop user `%1`@'%'").arg(name));
    }
}

void ConnectionValuesTest::theServersOwnCharacterSetDoesNotMatter()
{
    const QString both = QStringLiteral("set global character_set_client=%1, character_set_results=%1");
    m_server->run(both.arg("sjis"));
    const auto open = connection();
    m_server->run(both.arg("utf8mb4"));
    QCOMPARE(valueOf(*open, "select hex(convert('表' using utf8mb4))"), "E8A1A8");
}

void ConnectionValuesTest::everyTypeIsTheServersOwnText_data()
{
    const Rows<QString, QString, QString, FieldKind> row;
    const auto number = FieldKind::Number, text = FieldKind::Text, binary = FieldKind::Binary;
    const auto add = [](const char *type, const char *value, const char *shown, FieldKind kind) {
        QTest::addRow("%s %s", type, value) << type << value << shown << kind;
    };
    add("int(6) zerofill", "42", "000042", number);
    add("bigint unsigned", "18446744073709551615", "18446744073709551615", number);
    add("decimal(65,30)", "-12345678901234567890123456789012345.5",
        "-12345678901234567890123456789012345.500000000000000000000000000000", number);
    add("float", "16777216", "16777200", number);
    add("float(7,3)", "1234.5678", "1234.568", number);
    add("double", "1e0/3", "0.3333333333333333", number);
    add("double", "123456789e-20", "0.00000000000123456789", number);
    add("bit(1)", "b'1'", "0x01", binary);
    add("bit(20)", "b'1000001'", "0x000041", binary);
    add("bit(8)", "b'1000001'", "0x41", binary);
    add("date", "'0000-00-00'", "0000-00-00", text);
    add("datetime(6)", "'2024-02-29 12:34:56.789'", "2024-02-29 12:34:56.789000", text);
    add("time(6)", "'-00:00:01.5'", "-00:00:01.500000", text);
    add("char(5)", "'ab '", "ab", text);
    add("varchar(20)", "'漢字😀 ｶﾅ'", "漢字😀 ｶﾅ", text);
    add("varchar(20) character set sjis", "'表'", "表", text);
    add("json", "'{\"a\": [1, 2]}'", "{\"a\": [1, 2]}", text);
    add("binary(4)", "'ab'", "0x61620000", binary);
    add("varbinary(20)", "'漢字\\t'", "漢字\t", binary);
    add("varbinary(20)", "'0x41'", "0x30783431", binary);
    add("varbinary(20)", "x'C285'", "0xC285", binary);
    add("blob", "x'DEADBEEF'", "0xDEADBEEF", binary);
    add("longblob", "null", "NULL", binary);
    add("geometry", "st_geomfromtext('POINT(1 2)')", "0x000000000101000000000000000000F03F0000000000000040",
        binary);
}

void ConnectionValuesTest::everyTypeIsTheServersOwnText()
{
    const auto [type, value, shown, kind] = fetched<QString, QString, QString, FieldKind>();
    if (type == u"json" && m_brand == TestServer::Brand::MySql56)
        QSKIP("MySQL 5.6 knows no JSON");
    m_server->run(
        QStringLiteral("set sql_mode=''; drop table if exists v; create table v (a int, c %1, z int); "
                       "insert into v values (1, %2, 2);")
            .arg(type, value),
        "d");
    const auto open = connection();
    RecordSet rows = open->execute("select c, z from v");
    QVERIFY(!rows.isEof());
    QCOMPARE(rows.text(0), shown);
    QCOMPARE(rows.isNull(0), value == u"null");
    QCOMPARE(rows.text(1), "2");
    QCOMPARE(rows.fields()[0].kind, kind);
}

void ConnectionValuesTest::longCellsAreNeverCut()
{
    const auto open = connection();
    // Short rows first: the long ones come in the middle of a block.
    RecordSet rows = open->execute("select seq, repeat('漢', if(seq % 50 = 49, seq * 1000, seq)), "
                                   "if(seq = 60, null, repeat('b', seq * 30)), "
                                   "if(seq = 149, repeat(x'00ff', 600000), x'41'), seq "
                                   "from numbers where seq <= 200 order by seq");
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

void ConnectionValuesTest::severalRecordSetsAreOpenAtOnce()
{
    const auto open = connection();
    RecordSet outer = open->execute("select seq, repeat('x', seq % 300) from numbers order by seq");
    RecordSet inner = open->execute("select seq, repeat('y', 500) from numbers order by seq");
    int count = 0;
    for (; !outer.isEof(); outer.moveNext(), inner.moveNext()) {
        QCOMPARE(outer.text(0).toInt(), ++count);
        QCOMPARE(inner.text(0).toInt(), count);
        QCOMPARE(outer.cells()[1].bytes.size(), static_cast<std::size_t>(count % 300));
        if (count % 2000 == 0)
            QCOMPARE(valueOf(*open, QStringLiteral("select %1").arg(count)), QString::number(count));
    }
    QCOMPARE(count, 20000);
    QVERIFY(inner.isEof());
}

void ConnectionValuesTest::theFirstOfSeveralResultsIsGiven()
{
    const auto open = connection();
    RecordSet rows = open->execute("call two()");
    QCOMPARE(rows.fieldName(0), "first");
    // The second result is still to come from the server.
    QCOMPARE(valueOf(*open, "select 7"), "7");
    QCOMPARE(rows.text(0), "1");
    QCOMPARE(errorOf([&] {
                 RecordSet failing = open->execute("call failing()");
                 while (!failing.isEof())
                     failing.moveNext();
             }).number(),
             1146);
    QCOMPARE(valueOf(*open, "select 8"), "8");
}

void ConnectionValuesTest::everyResultIsHandedOver()
{
    const auto open = connection();
    RecordSet rows = open->executeText("call two()");
    QCOMPARE(rows.text("first"), "1");
    QVERIFY(open->nextResult(rows));
    QCOMPARE(rows.text("second"), "2");
    QVERIFY(open->nextResult(rows)); // of the call itself
    QVERIFY(!rows.isOpen());
    QVERIFY(!open->nextResult(rows));
    // Unread results go with the next statement, also when it is one of the other kind.
    open->executeText("call two()");
    open->executeText("call two()");
    QCOMPARE(valueOf(*open, "select 7"), "7");
    rows = open->executeText("call failing()");
    QCOMPARE(errorOf([&] { open->nextResult(rows); }).number(), 1146);
    // A text of bytes that are no text; what it did comes with it.
    open->execute("create temporary table v (a varbinary(9), b tinyint)");
    open->execute("set sql_mode = '', autocommit = 0");
    open->executeText("insert into v values ('\xff\x80;', 1), ('', 1000)");
    const Effect effect = open->effect();
    QCOMPARE(effect.rowsTouched, 2);
    QVERIFY(effect.warnings >= 1); // MySQL 9 finds fault with the bytes, too
    QCOMPARE(effect.isInTransaction, std::optional(true));
    QCOMPARE(valueOf(*open, "select hex(a) from v"), "FF803B");
}

QTEST_GUILESS_MAIN(ConnectionValuesTest)
#include "test_connection_values.moc"
