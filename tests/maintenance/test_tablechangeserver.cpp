#include "ddlclicks.h"
#include "maintenance/tablechange.h"

namespace {

using L = QStringList;
const QString done = QStringLiteral("変更しました。");
const QString failed = QStringLiteral("ﾃｰﾌﾞﾙの変更に失敗しました。");

} // namespace

// What only a real server decides: which rows a table has after its change.
class TableChangeServerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void rowsSurvive_data();
    void rowsSurvive();
    void refusedTablesAreAsBefore_data();
    void refusedTablesAreAsBefore();
    void foreignKeysOfOthersForbidTheChange_data() { driverRows(); }
    void foreignKeysOfOthersForbidTheChange();
    void triggersSurvive_data();
    void triggersSurvive();
    void aHundredThousandRowsSurvive_data() { driverRows(); }
    void aHundredThousandRowsSurvive();
    void aHalfFilledTableIsNamed();
    void aRecoveryHitsOnlyItsOwnDatabase();

private:
    QString sql(const QString &statements) const { return m_server->run(statements, QStringLiteral("店")); }
    QString tables() const { return sql(QStringLiteral("show tables")); }

    std::unique_ptr<TestServer> m_server;
};

void TableChangeServerTest::initTestCase()
{
    m_server = std::make_unique<TestServer>();
}

void TableChangeServerTest::init()
{
    m_server->run(QStringLiteral("drop database if exists `店`; create database `店`"));
}

void TableChangeServerTest::rowsSurvive_data()
{
    QTest::addColumn<QString>("setup");
    QTest::addColumn<L>("edit"); // what is replaced in the text, and by what
    QTest::addColumn<QString>("query");
    QTest::addColumn<QString>("rows"); // empty: as before
    const QString plain =
        QStringLiteral("create table t (a int, b varchar(20), c decimal(10,2), primary key (a));"
                       "insert into t values (3,'三',3.50),(1,NULL,NULL),(2,'',-0.01)");
    QTest::newRow("nothing edited") << plain << L{} << "select * from t order by a"
                                    << "";
    QTest::newRow("renamed") << plain << L{"TABLE t", "TABLE 受注"} << "select * from 受注 order by a"
                             << "1\tNULL\tNULL\n2\t\t-0.01\n3\t三\t3.50\n";
    QTest::newRow("column added") << plain << L{"  b ", "  n int not null default 7,\r\n  b "}
                                  << "select a,n,b from t order by a"
                                  << "1\t7\tNULL\n2\t7\t\n3\t7\t三\n";
    QTest::newRow("column dropped") << plain << L{"  c decimal(10,2) DEFAULT NULL,\r\n", ""}
                                    << "select * from t order by a"
                                    << "1\tNULL\n2\t\n3\t三\n";
    QTest::newRow("column renamed") << plain << L{"  b ", "  bb "} << "select bb,c from t order by a"
                                    << "NULL\tNULL\nNULL\t-0.01\nNULL\t3.50\n";
    QTest::newRow("type changed") << plain << L{"decimal(10,2)", "varchar(30)"}
                                  << "select c from t order by a"
                                  << "NULL\n-0.01\n3.50\n";
    QTest::newRow("columns reordered")
        << plain << L{"(\r\n  a int(11) NOT NULL,", "(", "  PRIMARY", "  a int not null,\r\n  PRIMARY"}
        << "select * from t order by a"
        << "NULL\tNULL\t1\n\t-0.01\t2\n三\t3.50\t3\n";
    QTest::newRow("counting key with a 0")
        << "set sql_mode='NO_AUTO_VALUE_ON_ZERO'; create table t (a int auto_increment primary key, b int);"
           "insert into t values (0,10),(5,50); set sql_mode=''; insert into t (b) values (60)"
        << L{"  b int(11)", "  b bigint"} << "insert into t (b) values (70); select * from t order by a"
        << "0\t10\n5\t50\n6\t60\n7\t70\n";
    QTest::newRow("Japanese names") << "create table t (番号 int primary key, 品名 varchar(40)); insert into "
                                       "t values (1,'りんご'),(2,'𠮷')"
                                    << L{"TABLE t", "TABLE 商品", "varchar(40)", "varchar(50)"}
                                    << "select 番号,品名 from 商品 order by 番号"
                                    << "1\tりんご\n2\t𠮷\n";
    QTest::newRow("generated columns") << "create table t (a int, v int as (a*2) virtual, s int as (a*3) "
                                          "stored); insert into t (a) values (4)"
                                       << L{"  a int(11)", "  a bigint(20)"} << "select * from t"
                                       << "4\t8\t12\n";
    QTest::newRow("hidden columns")
        << "create table t (a int, h int invisible); insert into t (a,h) values (1,2)"
        << L{"  a int(11)", "  a bigint(20)"} << "select a,h from t"
        << "1\t2\n";
    QTest::newRow("bytes and bits")
        << "create table t (a int, x varbinary(9), y bit(24), z blob, d datetime(6), e timestamp(3) null);"
           "insert into t values (1,0x00095c0aff27,0x095c0a,0xff00,'2024-02-29 23:59:59.999999',null)"
        << L{"  a int(11)", "  a bigint(20)"} << "select a,hex(x),hex(y),hex(z),d,e from t"
        << "1\t00095C0AFF27\t95C0A\tFF00\t2024-02-29 23:59:59.999999\tNULL\n";
    QTest::newRow("no rows") << "create table t (a int)" << L{"a int(11)", "a bigint"}
                             << "select count(*) from t"
                             << "0\n";
}

void TableChangeServerTest::rowsSurvive()
{
    QFETCH(QString, setup);
    QFETCH(L, edit);
    QFETCH(QString, query);
    QFETCH(QString, rows);
    for (const QString &driver : drivers()) {
        init();
        sql(setup);
        const QString before = rows.isEmpty() ? sql(query) : rows;
        DdlUser user(*m_server, driver, QStringLiteral("店"));
        // A limit from the console cuts what is shown, and must not cut what is copied.
        user.session.connection().execute(QStringLiteral("set sql_select_limit=1000"));
        user.clickTable(QStringLiteral("t"));
        for (qsizetype i = 0; i + 1 < edit.size(); i += 2) {
            QVERIFY2(user.selection.txtField.contains(edit[i]), qPrintable(user.selection.txtField));
            user.selection.txtField.replace(edit[i], edit[i + 1]);
        }
        user.session.connection().execute(QStringLiteral("set sql_select_limit=1"));
        const Reload reload = user.run(changeTable).reload;
        QVERIFY2(user.dialogue.lastError.isEmpty(), qPrintable(user.dialogue.lastError));
        QCOMPARE(reload, Reload::Objects);
        QCOMPARE(user.dialogue.told, L{done});
        QCOMPARE(sql(query), before);
        QCOMPARE(tables().count(u'\n'), 1); // neither the old table nor the copy
    }
}

void TableChangeServerTest::refusedTablesAreAsBefore_data()
{
    QTest::addColumn<QString>("setup");
    QTest::addColumn<L>("edit");
    QTest::addColumn<QString>("query");
    const QString plain = QStringLiteral("create table t (a int primary key, b varchar(20));"
                                         "insert into t values (1,'x'),(2,NULL),(3,'long')");
    QTest::newRow("bad type") << plain << L{"varchar(20)", "warchar(20)"} << "select * from t order by a";
    QTest::newRow("rows do not fit") << plain << L{"varchar(20) DEFAULT NULL", "int"}
                                     << "select * from t order by a";
    QTest::newRow("column that is no more unique")
        << "create table t (a int, b int); insert into t values (1,1),(1,2)"
        << L{"  a int(11) DEFAULT NULL", "  a int primary key"} << "select * from t order by b";
    QTest::newRow("reserved words as names")
        << "create table t (`order` int, `key` varchar(9), `a b` int); insert into t values (1,'k',2)" << L{}
        << "select * from t";
    QTest::newRow("generated columns") << "create table t (a int, v int as (a*2) virtual, s int as (a*3) "
                                          "stored); insert into t (a) values (4)"
                                       << L{"  a int(11) DEFAULT NULL", "  a date"} << "select * from t";
    QTest::newRow("hidden columns, counting key with a 0")
        << "set sql_mode='NO_AUTO_VALUE_ON_ZERO'; create table t (a int auto_increment primary key, h int "
           "invisible);"
           "insert into t (a,h) values (0,2),(9,8)"
        << L{"  h int(11) INVISIBLE DEFAULT NULL", "  h int check (h > 5)"} << "select a,h from t order by a";
}

void TableChangeServerTest::refusedTablesAreAsBefore()
{
    QFETCH(QString, setup);
    QFETCH(L, edit);
    QFETCH(QString, query);
    for (const QString &driver : drivers()) {
        init();
        sql(setup);
        const QString before = sql(query);
        const QString definition = sql(QStringLiteral("show create table t"));
        DdlUser user(*m_server, driver, QStringLiteral("店"));
        user.clickTable(QStringLiteral("t"));
        const QString shown = user.selection.txtField;
        for (qsizetype i = 0; i + 1 < edit.size(); i += 2)
            user.selection.txtField.replace(edit[i], edit[i + 1]);
        QVERIFY2(edit.isEmpty() || user.selection.txtField != shown, qPrintable(shown));
        QCOMPARE(user.run(changeTable).reload, Reload::Nothing);
        QCOMPARE(user.dialogue.told, L{failed});
        QCOMPARE(sql(query), before);
        QCOMPARE(sql(QStringLiteral("show create table t")), definition);
        QCOMPARE(tables(), QStringLiteral("t\n"));
    }
}

void TableChangeServerTest::foreignKeysOfOthersForbidTheChange()
{
    QFETCH(QString, driver);
    sql(QStringLiteral(
        "create table t (a int primary key); insert into t values (1);"
        "create table child (a int, foreign key (a) references t (a)); insert into child values (1)"));
    DdlUser user(*m_server, driver, QStringLiteral("店"));
    user.clickTable(QStringLiteral("t"));
    user.run(changeTable);
    QCOMPARE(user.dialogue.told, L{failed});
    QVERIFY2(user.dialogue.lastError.contains(QStringLiteral("foreign key"), Qt::CaseInsensitive),
             qPrintable(user.dialogue.lastError));
    QCOMPARE(tables(), QStringLiteral("child\nt\n"));
    QCOMPARE(sql(QStringLiteral("select * from t")), QStringLiteral("1\n"));
}

void TableChangeServerTest::triggersSurvive_data()
{
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("to");
    QTest::addColumn<QString>("table");
    QTest::newRow("change") << "a int"
                            << "a bigint"
                            << "t";
    QTest::newRow("new name") << "TABLE t"
                              << "TABLE u"
                              << "u";
    QTest::newRow("recovery") << "a int"
                              << "a nint"
                              << "t";
}

void TableChangeServerTest::triggersSurvive()
{
    QFETCH(QString, from);
    QFETCH(QString, to);
    QFETCH(QString, table);
    sql(QStringLiteral("create table t_ (a int); create table tx (a int); create table t (a int, b int); "
                       "insert into t values (1,1);\n"
                       "create trigger other before insert on tx for each row set NEW.a=1;\n"
                       "set sql_mode='ANSI_QUOTES';\n"
                       "delimiter //\ncreate trigger `二-1` before insert on \"t\" for each row begin\n  set "
                       "NEW.b=NEW.a+1; end//\n"
                       "create trigger aa before insert on t for each row set NEW.b=\"NEW\".b*10//"));
    const QString list =
        QStringLiteral("select trigger_name,action_order,action_statement,sql_mode,definer from "
                       "information_schema.triggers where event_object_table='%1' order by 2");
    const QString before = sql(list.arg(QStringLiteral("t")));
    for (const QString &driver : drivers()) {
        DdlUser user(*m_server, driver, QStringLiteral("店"));
        user.clickTable(sql(QStringLiteral("show tables like 't'")).isEmpty() ? QStringLiteral("u")
                                                                              : QStringLiteral("t"));
        user.selection.txtField.replace(from, to);
        user.run(changeTable);
        QCOMPARE(user.dialogue.told.size(), 1);
        QCOMPARE(sql(list.arg(table)), before);
    }
    sql(QStringLiteral("insert into %1 (a) values (5)").arg(table));
    QCOMPARE(sql(QStringLiteral("select * from %1 order by a").arg(table)), QStringLiteral("1\t1\n5\t60\n"));
    QVERIFY(sql(QStringLiteral("show triggers")).contains(QStringLiteral("other")));
}

void TableChangeServerTest::aHundredThousandRowsSurvive()
{
    QFETCH(QString, driver);
    sql(QStringLiteral("create table t (a int primary key, b varchar(40));"
                       "insert into t select seq, concat('行', seq*7) from seq_1_to_100000"));
    const QString sum = QStringLiteral("select count(*), sum(crc32(concat(a,'|',b))) from t");
    const QString before = sql(sum);
    DdlUser user(*m_server, driver, QStringLiteral("店"));
    user.clickTable(QStringLiteral("t"));
    user.selection.txtField.replace(QStringLiteral("varchar(40)"), QStringLiteral("text"));
    user.run(changeTable);
    QCOMPARE(user.dialogue.told, L{done});
    QCOMPARE(sql(sum), before);
    // And a change that fails only at the last row.
    sql(QStringLiteral("update t set b=NULL where a=100000"));
    user.clickTable(QStringLiteral("t"));
    user.selection.txtField.replace(QStringLiteral("b text DEFAULT NULL"), QStringLiteral("b text not null"));
    const QString then = sql(sum);
    user.run(changeTable);
    QCOMPARE(user.dialogue.told, L{failed});
    QCOMPARE(sql(sum), then);
    QCOMPARE(tables(), QStringLiteral("t\n"));
}

void TableChangeServerTest::aHalfFilledTableIsNamed()
{
    sql(QStringLiteral("create table t (a int); insert into t values (1),(NULL)"));
    DdlUser user(*m_server, nativeDriverName(), QStringLiteral("店"));
    user.clickTable(QStringLiteral("t"));
    user.selection.txtField = QStringLiteral("CREATE TABLE u (a int not null)");
    user.run(changeTable);
    QCOMPARE(user.dialogue.told, (L{failed, "途中まで作成した新しいﾃｰﾌﾞﾙ `店`.u が残っています。"}));
    QCOMPARE(tables(), QStringLiteral("t\nu\n"));
    QCOMPARE(sql(QStringLiteral("select * from t order by a")), QStringLiteral("NULL\n1\n"));
}

void TableChangeServerTest::aRecoveryHitsOnlyItsOwnDatabase()
{
    m_server->run(QStringLiteral("create or replace database other; create table other.t (x int)"));
    sql(QStringLiteral("create table t (a int); insert into t values (NULL)"));
    DdlUser user(*m_server, nativeDriverName(), QStringLiteral("店"));
    user.session.connection().execute(QStringLiteral("use other"));
    user.clickTable(QStringLiteral("t"));
    user.selection.txtField.replace(QStringLiteral("DEFAULT NULL"), QStringLiteral("not null"));
    user.run(changeTable);
    QCOMPARE(user.dialogue.told, L{failed});
    QCOMPARE(m_server->run(QStringLiteral("show tables from other")), QStringLiteral("t\n"));
    QCOMPARE(sql(QStringLiteral("select * from t")), QStringLiteral("NULL\n"));
}

QTEST_GUILESS_MAIN(TableChangeServerTest)
#include "test_tablechangeserver.moc"
