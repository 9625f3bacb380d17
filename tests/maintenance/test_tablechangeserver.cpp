#include "maintenance/tablechange/tablechange.h"
#include "support/gui/stage.h"

namespace {

using L = QStringList;
using Brand = TestServer::Brand;
const QString done = "変更しました。";
const QString failed = "ﾃｰﾌﾞﾙの変更に失敗しました。";

// Which servers know what a row needs.
enum Known { Everywhere, NotIn56, MariaDbOnly, MySqlOnly, MySql9Only };

bool isKnown(int known, Brand brand)
{
    return known == Everywhere || (known == NotIn56 && brand != Brand::MySql56) ||
           (known == MariaDbOnly && brand == Brand::MariaDb) ||
           (known == MySqlOnly && brand != Brand::MariaDb) || (known == MySql9Only && brand == Brand::MySql9);
}

} // namespace

// What only a real server decides: which rows a table has after its change, and what becomes of its ties.
class TableChangeServerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { TestServers::addRows(); }
    void init();
    void rowsSurvive_data();
    void rowsSurvive();
    void triggersSurvive_data();
    void triggersSurvive();
    void aTriggerThatNoLongerCompilesIsNamedBefore();
    void rowsOfOthersAreNotLost();
    void aMissingRightToLockIsAsked();

private:
    QString sql(const QString &statements) const { return m_server->run(statements, "店"); }
    // The object as it is, rows and all.
    QString all(const QString &query) const
    {
        return sql(query + "; show create table t; show tables; show triggers");
    }

    TestServers m_servers{{"--loose-federated"}};
    TestServer *m_server = nullptr;
    Brand m_brand = Brand::MariaDb;
};

void TableChangeServerTest::init()
{
    QFETCH_GLOBAL(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    m_brand = brand;
    m_server = &m_servers.of(brand);
    m_server->run("drop database if exists `店`; create database `店`");
    if (m_brand == Brand::MySql9)
        m_server->run("set global sql_require_primary_key=0");
}

void TableChangeServerTest::rowsSurvive_data()
{
    // Who knows it, how it is made, what is replaced in its text and by what, and the rows that are then
    // there. None: the server refuses the change and all is put back; "!" and words: it is refused before.
    const Rows<int, QString, L, QString, QString> row;
    const QString plain = "create table t (a int not null, b varchar(20), c decimal(10,2), primary key (a));"
                          "insert into t values (3,'三',3.50),(1,NULL,NULL),(2,'',-0.01)";
    const L wider{"  a int", "  a bigint"};
    row("renamed, a column too, and another type", Everywhere, plain,
        {"TABLE t", "TABLE 受注", "  b ", "  bb ", "decimal(10,2)", "varchar(30)"},
        "select * from 受注 order by a", "1\tNULL\tNULL\n2\tNULL\t-0.01\n3\tNULL\t3.50\n");
    row("backslashes", Everywhere, "create table t (a int comment 'c:\\\\d\\n', b char default '\\\\')",
        wider,
        "insert into t (a) values (1); select hex(b), (select hex(column_comment) from "
        "information_schema.columns where table_schema='店' and table_name='t' and column_name='a') from t",
        "5C\t633A5C640A\n");
    row("columns reordered", Everywhere, plain,
        {"(\r\n  a int NOT NULL,", "(", "  PRIMARY", "  a int not null,\r\n  PRIMARY"},
        "select * from t order by a", "NULL\tNULL\t1\n\t-0.01\t2\n三\t3.50\t3\n");
    row("counting key with a 0", Everywhere,
        "set sql_mode='NO_AUTO_VALUE_ON_ZERO'; create table t (a int auto_increment primary key, b int);"
        "insert into t values (0,10),(5,50); set sql_mode=''; insert into t (b) values (60)",
        {"  b int", "  b bigint"}, "insert into t (b) values (70); select * from t order by a",
        "0\t10\n5\t50\n6\t60\n7\t70\n");
    row("a counting key where there was none", Everywhere,
        "create table t (a int, b int); insert into t values (0,10),(5,50)",
        {"  a int DEFAULT NULL", "  a int auto_increment primary key"}, "select * from t order by a",
        "0\t10\n5\t50\n");
    row("zero dates", Everywhere,
        "set sql_mode=''; create table t (a int, d date not null default '0000-00-00'); "
        "insert into t values (1,'0000-00-00'),(2,'2020-02-00')",
        wider, "select * from t order by a", "1\t0000-00-00\n2\t2020-02-00\n");
    row("generated columns", NotIn56,
        "create table t (a int, v int as (a*2) virtual, s int as (a*3) stored); insert into t (a) values (4)",
        wider, "select * from t", "4\t8\t12\n");
    row("hidden columns", NotIn56,
        "create table t (a int, h int invisible); insert into t (a,h) values (1,2)", wider,
        "select a,h from t", "1\t2\n");
    row("bytes and bits", Everywhere,
        "create table t (a int, x varbinary(9), y bit(24), z blob, d datetime(6), e timestamp(3) null);"
        "insert into t values (1,0x00095c0aff27,0x095c0a,0xff00,'2024-02-29 23:59:59.999999',null)",
        wider, "select a,hex(x),hex(y),hex(z),d,e from t",
        "1\t00095C0AFF27\t95C0A\tFF00\t2024-02-29 23:59:59.999999\tNULL\n");
    row("parent of foreign keys", Everywhere,
        "create table t (a int primary key, b int) engine=innodb; insert into t values (1,1),(2,2);"
        "create table child (a int, foreign key (a) references t (a) on delete cascade) engine=innodb; "
        "insert into child values (1),(2)",
        {"  b int", "  b bigint"}, "delete from t where a=2; select * from t,child", "1\t1\t1\n");
    row("refused: key of a parent no longer fits", Everywhere,
        "create table t (a int primary key, b int) engine=innodb; insert into t values (1,1);"
        "create table child (a int, foreign key (a) references t (a)) engine=innodb; "
        "insert into child values (1)",
        {"  a int", "  a varchar(9)"}, "select * from t,child", "");
    row("refused: rows of a parent", Everywhere,
        "create table t (a int primary key, b int) engine=innodb; insert into t values (1,1),(2,1);"
        "create table child (a int, foreign key (a) references t (a)) engine=innodb; "
        "insert into child values (1)",
        {"  b int DEFAULT NULL", "  b int unique"}, "select * from t,child; show create table child", "");
    const QString tree =
        "create table t (a int primary key, up int, constraint k foreign key (up) references t (a)) "
        "engine=innodb; set foreign_key_checks=0; insert into t values (1,9),(9,1),(10,7)";
    row("rows that refer to later ones, or to none", Everywhere, tree, {"  up int", "  up int(5)"},
        "select * from t order by a", "1\t9\n9\t1\n10\t7\n");
    row("refused: such rows", Everywhere, tree, {"  up int DEFAULT NULL", "  up int default 'x'"},
        "select * from t order by a", "");
    row("refused: a new foreign key that the rows break", Everywhere,
        "create table p (a int primary key) engine=innodb; create table t (a int) engine=innodb; "
        "insert into t values (1)",
        {"  a int DEFAULT NULL", "  a int, foreign key (a) references p (a)"}, "select * from t", "");
    row("rows that break their own check", MariaDbOnly,
        "create table t (a int, b int, check (a > 5)); set check_constraint_checks=0; "
        "insert into t values (1,1)",
        {"  b int", "  b bigint"}, "select * from t", "1\t1\n");
    row("refused: rows that break their own check", MariaDbOnly,
        "create table t (a int, b int, check (a > 5)); set check_constraint_checks=0; "
        "insert into t values (1,1)",
        {"  b int DEFAULT NULL", "  b int default 'x'"}, "select * from t", "");
    row("refused: a new check that the rows break", NotIn56,
        "create table t (a int, b int); insert into t values (1,1)", {"  b int", "  check (a > 5), b int"},
        "select * from t", "");
    row("reserved words as names, quoted in the text", Everywhere,
        "create table t (`order` int, `rank` int, `a,b` int); insert into t values (1,2,3)",
        {"  order int", "  `order` bigint", "  rank", "  `rank`", "  a,b", "  `a,b`"}, "select * from t",
        "1\t2\t3\n");
    row("refused: names and values that need quotes", Everywhere,
        "create table t (`order` int, `a b` int, e enum('x`y','z') comment 'a`b'); "
        "insert into t values (1,2,'x`y')",
        {"  order int DEFAULT NULL", "  `order` int default 'x'", "  a b", "  `a b`", "'xy'", "'x`y'", "'ab'",
         "'a`b'"},
        "select * from t", "");
    row("a time that the server sets", Everywhere,
        "create table t (a int, d timestamp default current_timestamp on update current_timestamp); "
        "insert into t values (1,'2020-01-02 03:04:05')",
        wider, "select * from t", "1\t2020-01-02 03:04:05\n");
    row("refused: generated columns", NotIn56,
        "create table t (a int, v int as (a*2) virtual, s int as (a*3) stored); insert into t (a) values (4)",
        {"  a int DEFAULT NULL", "  a date"}, "select * from t", "");
    row("refused: hidden columns, counting key with a 0", NotIn56,
        "set sql_mode='NO_AUTO_VALUE_ON_ZERO'; create table t (a int auto_increment primary key, h int "
        "invisible);"
        "insert into t (a,h) values (0,2),(9,8)",
        {"  PRIMARY KEY (a)", "  PRIMARY KEY (a), check (h > 5)"}, "select a,h from t order by a", "");
    row("the server wants keys", MySql9Only,
        "create table t (a int primary key, b int); insert into t values (1,1); "
        "set global sql_require_primary_key=1",
        {"  b int", "  b bigint"}, "select * from t", "1\t1\n");
    row("refused: the server wants keys, and there is none", MySql9Only,
        "create table t (a int, b int); insert into t values (1,1); set global sql_require_primary_key=1",
        {"  b int", "  b bigint"}, "select * from t", "");
    // What cannot be rebuilt is told before anything is touched.
    row("history", MariaDbOnly, "create table t (a int) with system versioning", {}, "select * from t",
        "!SYSTEM VERSIONING");
    row("sequence", MariaDbOnly, "create sequence t", {}, "select * from t", "!別の場所");
    row("rows of other tables", Everywhere,
        "create table p (a int) engine=myisam; insert into p values (1); "
        "create table t (a int) engine=merge union=(p) insert_method=last",
        {}, "select * from t", "!別の場所");
    row("rows of another server", MySqlOnly,
        "create table t (a int) engine=federated connection='mysql://u@127.0.0.1:1/d/t'", {}, "select 1",
        "!別の場所");
    const QString parent = "create table t (a int primary key, b int) engine=innodb; "
                           "create table child (a int, foreign key (a) references t (a)) engine=innodb";
    row("name of a parent", Everywhere, parent, {"TABLE t", "TABLE u"}, "select * from t", "!`child`");
    row("column that others refer to", Everywhere, parent, {"  a int", "  x int", "(a)", "(x)"},
        "select * from t", "!`child`");
    row("typing error", Everywhere, "create table t (a int); insert into t values (1)",
        {"  a int", "  a nint"}, "select * from t", "!" + failed);
}

void TableChangeServerTest::rowsSurvive()
{
    auto [known, setup, edit, query, rows] = fetched<int, QString, L, QString, QString>();
    if (!isKnown(known, m_brand))
        return;
    sql(setup);
    const bool isRefusedBefore = rows.startsWith('!');
    const bool isRefused = rows.isEmpty() || isRefusedBefore;
    const QString words = isRefusedBefore ? rows.mid(1) : isRefused ? failed : done;
    if (isRefused)
        rows = all(query);
    const bool isOdbc = !isRefused && m_brand == Brand::MariaDb;
    RealStage user(*m_server, isOdbc ? odbcDriver() : nativeDriverName(), "店");
    // A limit from the console cuts what is shown, and must not cut what is copied.
    user.session.connection().execute("set sql_select_limit=1000");
    // Definitions come with two backslashes for one in this mode, too.
    user.session.connection().execute("set sql_mode=concat(@@sql_mode, ',NO_BACKSLASH_ESCAPES')");
    user.clickTable("t");
    // Newer servers show no widths.
    user.selection.txtField.remove("(11)");
    RealStage::edit(user.selection.txtField, edit);
    Connection &connection = user.session.connection();
    connection.execute("set sql_select_limit=1");
    const QString read = "select concat(@@sql_mode, @@sql_select_limit, @@foreign_key_checks, @@autocommit)";
    const QString settings = connection.execute(read).text(0);
    m_server->takeStatements();
    const Outcome outcome = user.run(changeTable);
    const QString sent = m_server->takeStatements().join('\n');
    QVERIFY2(!isRefusedBefore || !(sent.contains("zolt") || sent.contains("drop")), qPrintable(sent));
    QVERIFY2(isRefusedBefore ? user.told().contains(words) : user.told() == words,
             qPrintable(user.told() + user.dialogue.lastError));
    QCOMPARE(user.dialogue.isCritical, isRefused);
    QCOMPARE(user.dialogue.progresses.value(0), "0/5"); // nor what the change before left there
    QCOMPARE(outcome.reload, isRefused ? Reload::Nothing : Reload::Objects);
    QCOMPARE(connection.execute(read).text(0), settings);
    QVERIFY(isRefusedBefore || user.dialogue.lastError.isEmpty() == !isRefused);
    QCOMPARE(isRefused ? all(query) : sql(query), rows);
    QVERIFY(!sql("show tables").contains("zolt"));
}

void TableChangeServerTest::triggersSurvive_data()
{
    const Rows<QString, QString, QString> row;
    row("change", "a int", "a bigint", "t");
    row("new name", "TABLE t", "TABLE u", "u");
    row("recovery", "a int", "a int default 'x' primary key", "t");
}

void TableChangeServerTest::triggersSurvive()
{
    const auto [from, to, table] = fetched<QString, QString, QString>();
    sql("create table t_ (a int); create table tx (a int); create table t (a int, b int); "
        "insert into t values (1,1);\n"
        "create trigger other before insert on tx for each row set NEW.a=1;\n"
        "set sql_mode='ANSI_QUOTES', character_set_client=latin1, collation_connection=latin1_german1_ci;\n"
        "delimiter //\ncreate trigger `t-1` before insert on \"t\" for each row begin\n  set "
        "NEW.b=NEW.a+1; end//\n"
        "create trigger aa after insert on t for each row set @x=\"NEW\".b*10//");
    const QString list = "select trigger_name,action_statement,sql_mode,definer,character_set_client,"
                         "collation_connection from "
                         "information_schema.triggers where event_object_table='%1' order by 1";
    const QString before = sql(list.arg("t"));
    RealStage user(*m_server, m_brand == Brand::MariaDb ? odbcDriver() : nativeDriverName(), "店");
    user.clickTable("t");
    user.selection.txtField.replace(from, to);
    user.run(changeTable);
    QVERIFY2(user.dialogue.told.size() == 1, qPrintable(user.told() + user.dialogue.lastError));
    QCOMPARE(sql(list.arg(table)), before);
    sql(QStringLiteral("insert into %1 (a) values (5)").arg(table));
    QCOMPARE(sql(QStringLiteral("select * from %1 order by a").arg(table)), "1\t1\n5\t6\n");
    QVERIFY(sql("show triggers").contains("other"));
}

void TableChangeServerTest::aTriggerThatNoLongerCompilesIsNamedBefore()
{
    sql("create table t (a int, b int, c int); "
        "create trigger old before insert on t for each row set NEW.b=NEW.c; alter table t drop c");
    const QString before = all("select * from t");
    RealStage user(*m_server, nativeDriverName(), "店");
    user.clickTable("t");
    user.dialogue.mostAgreed = 1;
    user.run(changeTable);
    QVERIFY(user.dialogue.questions == 2 && user.dialogue.lastQuestion.contains("old"));
    QCOMPARE(user.told(), "");
    QCOMPARE(all("select * from t"), before);
}

// Written after the copy was made, and into the new table before it was filled.
void TableChangeServerTest::rowsOfOthersAreNotLost()
{
    for (const auto &[isRefused, isTied] : {std::pair(false, false), {true, false}, {true, true}}) {
        m_server->run("drop database `店`; create database `店`");
        sql("create table t (a int primary key, b float); insert into t values (1,1.5),(2,2),(3,3)");
        if (isTied) // by a name that a database has once
            sql("create table owns (a int primary key); insert into owns values (1),(2),(3),(4),(9); "
                "alter table t add constraint k foreign key (a) references owns (a)");
        RealStage user(*m_server, nativeDriverName(), "店");
        user.clickTable("t");
        user.selection.txtField.replace("b float", "b double");
        if (isRefused)
            user.selection.txtField.replace("PRIMARY KEY (a)", "PRIMARY KEY (a), unique key (b)");
        int locks = 0;
        WrappedConnection::into(user.session, [&](Connection &inner, const QString &statement) {
            if (statement.startsWith("lock tables"))
                sql(locks++ == 0 ? "insert into t values (4,3); update t set b=1.5000001 where a=1; "
                                   "delete from t where a=2"
                                 : "insert into t (a) values (9)");
            return inner.execute(statement);
        });
        user.run(changeTable);
        QCOMPARE(locks, 2);
        const QString rest = sql("show tables like '%rest'").trimmed();
        QCOMPARE(user.told().contains(failed), isRefused);
        QVERIFY2(isRefused == !rest.isEmpty() && user.told().contains(rest), qPrintable(user.told()));
        QCOMPARE(sql("select a,cast(b as decimal(9,2)) from t where a<9 order by a"),
                 "1\t1.50\n3\t3.00\n4\t3.00\n");
        QCOMPARE(sql("select a from " + (isRefused ? rest : QString("t")) + " where a=9"), "9\n");
        QVERIFY(sql("show create table t").contains(isRefused ? "float" : "double"));
        QVERIFY(!isTied || sql("show create table t").contains("CONSTRAINT `k`"));
    }
}

void TableChangeServerTest::aMissingRightToLockIsAsked()
{
    sql("create table t (a int); insert into t values (1)");
    for (const QString account : {"poor@'%'", "poor@localhost"})
        m_server->run(QStringLiteral("create user %1 identified by 'demo'; "
                                     "grant select,insert,create,drop,alter,trigger on `店`.* to %1")
                          .arg(account));
    RealStage user(*m_server, nativeDriverName(), "店", 0, "poor");
    user.clickTable("t");
    user.run(changeTable);
    QCOMPARE(user.told(), done);
    QCOMPARE(user.dialogue.questions, 2);
    QCOMPARE(sql("select * from t"), "1\n");
}

QTEST_GUILESS_MAIN(TableChangeServerTest)
#include "test_tablechangeserver.moc"
