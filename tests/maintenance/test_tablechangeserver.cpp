#include "maintenance/tablechange.h"
#include "stage.h"

namespace {

using L = QStringList;
const QString done = "変更しました。";
const QString failed = "ﾃｰﾌﾞﾙの変更に失敗しました。";

} // namespace

// What only a real server decides: which rows a table has after its change.
class TableChangeServerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void rowsSurvive_data();
    void rowsSurvive();
    void triggersSurvive_data();
    void triggersSurvive();

private:
    QString sql(const QString &statements) const { return m_server.run(statements, "店"); }
    QString tables() const { return sql("show tables"); }

    TestServer m_server{{"--debug-no-sync", "--innodb-flush-method=nosync"}};
};

void TableChangeServerTest::init()
{
    m_server.run("create or replace database `店`");
}

void TableChangeServerTest::rowsSurvive_data()
{
    QTest::addColumn<QString>("setup");
    QTest::addColumn<L>("edit"); // what is replaced in the text, and by what
    QTest::addColumn<QString>("query");
    QTest::addColumn<QString>("rows"); // empty: the change is refused, all stays as it is
    const QString plain = "create table t (a int, b varchar(20), c decimal(10,2), primary key (a));"
                          "insert into t values (3,'三',3.50),(1,NULL,NULL),(2,'',-0.01)";
    row("renamed, a column too, and another type", plain,
        L{"TABLE t", "TABLE 受注", "  b ", "  bb ", "decimal(10,2)", "varchar(30)"},
        "select * from 受注 order by a", "1\tNULL\tNULL\n2\tNULL\t-0.01\n3\tNULL\t3.50\n");
    row("columns reordered", plain,
        L{"(\r\n  a int(11) NOT NULL,", "(", "  PRIMARY", "  a int not null,\r\n  PRIMARY"},
        "select * from t order by a", "NULL\tNULL\t1\n\t-0.01\t2\n三\t3.50\t3\n");
    row("counting key with a 0",
        "set sql_mode='NO_AUTO_VALUE_ON_ZERO'; create table t (a int auto_increment primary key, b int);"
        "insert into t values (0,10),(5,50); set sql_mode=''; insert into t (b) values (60)",
        L{"  b int(11)", "  b bigint"}, "insert into t (b) values (70); select * from t order by a",
        "0\t10\n5\t50\n6\t60\n7\t70\n");
    row("a counting key where there was none",
        "create table t (a int, b int); insert into t values (0,10),(5,50)",
        L{"  a int(11) DEFAULT NULL", "  a int auto_increment primary key"}, "select * from t order by a",
        "0\t10\n5\t50\n");
    row("generated columns",
        "create table t (a int, v int as (a*2) virtual, s int as (a*3) "
        "stored); insert into t (a) values (4)",
        L{"  a int(11)", "  a bigint(20)"}, "select * from t", "4\t8\t12\n");
    row("hidden columns", "create table t (a int, h int invisible); insert into t (a,h) values (1,2)",
        L{"  a int(11)", "  a bigint(20)"}, "select a,h from t", "1\t2\n");
    row("bytes and bits",
        "create table t (a int, x varbinary(9), y bit(24), z blob, d datetime(6), e timestamp(3) null);"
        "insert into t values (1,0x00095c0aff27,0x095c0a,0xff00,'2024-02-29 23:59:59.999999',null)",
        L{"  a int(11)", "  a bigint(20)"}, "select a,hex(x),hex(y),hex(z),d,e from t",
        "1\t00095C0AFF27\t95C0A\tFF00\t2024-02-29 23:59:59.999999\tNULL\n");
    row("refused: reserved words as names",
        "create table t (`order` int, `key` varchar(9), `a b` int); insert into t values (1,'k',2)", L{},
        "select * from t", "");
    row("refused: generated columns",
        "create table t (a int, v int as (a*2) virtual, s int as (a*3) "
        "stored); insert into t (a) values (4)",
        L{"  a int(11) DEFAULT NULL", "  a date"}, "select * from t", "");
    row("refused: hidden columns, counting key with a 0",
        "set sql_mode='NO_AUTO_VALUE_ON_ZERO'; create table t (a int auto_increment primary key, h int "
        "invisible);"
        "insert into t (a,h) values (0,2),(9,8)",
        L{"  PRIMARY KEY (a)", "  PRIMARY KEY (a), check (h > 5)"}, "select a,h from t order by a", "");
}

void TableChangeServerTest::rowsSurvive()
{
    QFETCH(QString, setup);
    QFETCH(L, edit);
    QFETCH(QString, query);
    QFETCH(QString, rows);
    sql(setup);
    const bool isRefused = rows.isEmpty();
    if (isRefused) {
        query += "; show create table t";
        rows = sql(query);
    }
    RealStage user(m_server, isRefused ? nativeDriverName() : odbcDriver(), "店");
    // A limit from the console cuts what is shown, and must not cut what is copied.
    user.session.connection().execute("set sql_select_limit=1000");
    user.clickTable("t");
    RealStage::edit(user.selection.txtField, edit);
    Connection &connection = user.session.connection();
    connection.execute("set sql_select_limit=1");
    const QString read = "select concat(@@sql_mode, @@sql_select_limit)";
    const QString settings = connection.execute(read).text(0);
    QCOMPARE(user.run(changeTable).reload, isRefused ? Reload::Nothing : Reload::Objects);
    QCOMPARE(user.told(), isRefused ? failed : done);
    QCOMPARE(connection.execute(read).text(0), settings);
    QCOMPARE(user.dialogue.lastError.isEmpty(), !isRefused);
    QCOMPARE(sql(query), rows);
    QCOMPARE(tables().count(u'\n'), 1); // neither the old table nor the copy
}

void TableChangeServerTest::triggersSurvive_data()
{
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("to");
    QTest::addColumn<QString>("table");
    row("change", "a int", "a bigint", "t");
    row("new name", "TABLE t", "TABLE u", "u");
    row("recovery", "a int", "a nint", "t");
}

void TableChangeServerTest::triggersSurvive()
{
    QFETCH(QString, from);
    QFETCH(QString, to);
    QFETCH(QString, table);
    sql("create table t_ (a int); create table tx (a int); create table t (a int, b int); "
        "insert into t values (1,1);\n"
        "create trigger other before insert on tx for each row set NEW.a=1;\n"
        "set sql_mode='ANSI_QUOTES';\n"
        "delimiter //\ncreate trigger `二-1` before insert on \"t\" for each row begin\n  set "
        "NEW.b=NEW.a+1; end//\n"
        "create trigger aa before insert on t for each row set NEW.b=\"NEW\".b*10//");
    const QString list = "select trigger_name,action_order,action_statement,sql_mode,definer from "
                         "information_schema.triggers where event_object_table='%1' order by 2";
    const QString before = sql(list.arg("t"));
    for (const QString &driver : {nativeDriverName(), odbcDriver()}) {
        RealStage user(m_server, driver, "店");
        user.clickTable(sql("show tables like 't'").isEmpty() ? "u" : "t");
        user.selection.txtField.replace(from, to);
        user.run(changeTable);
        QCOMPARE(user.dialogue.told.size(), 1);
        QCOMPARE(sql(list.arg(table)), before);
    }
    sql(QStringLiteral("insert into %1 (a) values (5)").arg(table));
    QCOMPARE(sql(QStringLiteral("select * from %1 order by a").arg(table)), "1\t1\n5\t60\n");
    QVERIFY(sql("show triggers").contains("other"));
}

QTEST_GUILESS_MAIN(TableChangeServerTest)
#include "test_tablechangeserver.moc"
