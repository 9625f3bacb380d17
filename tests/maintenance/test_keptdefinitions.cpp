#include "core/command/definition.h"
#include "maintenance/tablechange/tablechange.h"
#include "support/gui/stage.h"

namespace {

// Of a view or routine: what SHOW CREATE tells, and who may do what with it.
struct Object {
    QString tag, name;
    bool isRoutine() const { return tag == "[PROC]" || tag == "[FUNC]"; }
    QString show() const
    {
        return isRoutine() ? routineShowStatement(tag, "d", name) : showCreateTable("`d`.`" + name + "`");
    }
    void click(RealStage &stage) const
    {
        isRoutine() ? stage.clickRoutine(tag, name) : stage.clickTable(name);
    }
    Run change() const { return isRoutine() ? Run(changeRoutine) : Run(changeTable); }
    QString &text(Selection &selection) const { return isRoutine() ? selection.txtProc : selection.txtField; }
    QString &shown(Selection &selection) const
    {
        return isRoutine() ? selection.lblCreateProc : selection.lblCreateTable;
    }
};

// Tables, an account with rights, and definitions of every kind, each made by a session like that of other
// tools of other times.
const char *const setUp = R"(
    CREATE DATABASE IF NOT EXISTS d; USE d; DROP PROCEDURE IF EXISTS x; DROP FUNCTION IF EXISTS x;
    DROP DATABASE d; CREATE DATABASE d CHARACTER SET utf8mb4; USE d;
    CREATE TABLE t (a INT, `order` INT, `b c` VARCHAR(20), `日本` INT);
    GRANT USAGE ON *.* TO reader@localhost; GRANT USAGE ON *.* TO owner@'%';
)";
const char *const rights = R"(
    GRANT EXECUTE ON %1 d.%2 TO reader@localhost;
    GRANT EXECUTE, ALTER ROUTINE ON %1 d.%2 TO owner@'%' WITH GRANT OPTION;
)";

} // namespace

// A change keeps all of a view or routine that it was not asked to change, on every server and over both
// connections; one that fails leaves it exactly as it was.
class KeptDefinitionsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { TestServers::addRows(); }
    void init();
    void aChangeKeepsTheRest_data();
    void aChangeKeepsTheRest();
    void whatTheShownTextLosesIsAsked_data();
    void whatTheShownTextLosesIsAsked();
    void whatAnAccountCannotKeepIsAsked();
    void aTableMadeAgainIsNoFalseAlarm();

private:
    QString state(const Object &object) const;
    void make(const QString &definition) const
    {
        m_server->run("USE d;\nDELIMITER //\n" + QString(definition).replace("; CREATE", "//\nCREATE") +
                      "//\n");
    }

    TestServers m_servers;
    TestServer *m_server = nullptr;
    bool m_isMariaDb = false;
    std::unique_ptr<DirectConnection> m_sql;
};

void KeptDefinitionsTest::init()
{
    QFETCH_GLOBAL(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    m_server = &m_servers.of(brand);
    m_isMariaDb = brand == TestServer::Brand::MariaDb;
    m_server->run(brand != TestServer::Brand::MySql56
                      ? QString("CREATE USER IF NOT EXISTS reader@localhost, owner@'%'; ") + setUp
                      : QString(setUp));
    m_sql = std::make_unique<DirectConnection>(*m_server);
}

QString KeptDefinitionsTest::state(const Object &object) const
{
    return (*m_sql)(object.show()) + '\n' +
           (*m_sql)("select User, Host, Proc_priv from mysql.procs_priv where Db='d' and Routine_name='" +
                    object.name + "' order by 1, 2");
}

void KeptDefinitionsTest::aChangeKeepsTheRest_data()
{
    // A definition of the object x, and pairs of a piece of it and its successor.
    const Rows<QString, QString, QStringList, bool> row;
    row("procedure of another account, without modes, with rights", "[PROC]",
        "SET sql_mode=''; CREATE DEFINER=owner@'%' PROCEDURE x(IN p CHAR(3)) SQL SECURITY INVOKER "
        "COMMENT 'it''s' BEGIN -- `quoted`\n SELECT 1, 'a'; END",
        {"SELECT 1", "SELECT 2"}, false);
    row("function of an old client, its quotes names", "[FUNC]",
        "SET NAMES latin1; SET sql_mode='ANSI_QUOTES'; CREATE DEFINER=owner@'%' FUNCTION x() RETURNS INT "
        "DETERMINISTIC RETURN (SELECT MAX(\"order\") FROM t)",
        {"MAX(", "MIN("}, false);
    row("text beyond the old client's letters", "[PROC]",
        "SET NAMES latin1; CREATE DEFINER=owner@'%' PROCEDURE x() SELECT '\xe9'", {"SELECT", "select"}, true);
    row("aggregate", "[FUNC]",
        "CREATE AGGREGATE FUNCTION x(p INT) RETURNS INT BEGIN DECLARE s INT DEFAULT 0; DECLARE CONTINUE "
        "HANDLER "
        "FOR NOT FOUND RETURN s; LOOP FETCH GROUP NEXT ROW; SET s = s + p; END LOOP; END",
        {"s + p", "s - p"}, true);
    row("procedure of another product's dialect", "[PROC]",
        "SET sql_mode='ORACLE'; CREATE PROCEDURE x(p IN INT) AS v INT; BEGIN v := p; SELECT v || 'a'; END;",
        {"'a'", "'b'"}, true);
    row("view of the caller's rights", "[VIEW]",
        "CREATE ALGORITHM=TEMPTABLE DEFINER=owner@'%' SQL SECURITY INVOKER VIEW x AS SELECT a, t.`order` AS "
        "o "
        "FROM t "
        "WHERE a > 1",
        {"> 1", "> 2"}, false);
    row("view that checks, of an old client", "[VIEW]",
        "SET NAMES latin1; CREATE ALGORITHM=MERGE VIEW x AS SELECT a FROM t WHERE a > 1 WITH LOCAL CHECK "
        "OPTION",
        {"> 1", "> 2"}, false);
    row("plain view", "[VIEW]", "CREATE VIEW x AS SELECT a, '\\\\' AS c FROM t WHERE a > 1 OR 日本 = 2",
        {"> 1", "> 2"}, false);
}

void KeptDefinitionsTest::aChangeKeepsTheRest()
{
    const auto [tag, definition, edit, ofMariaDb] = fetched<QString, QString, QStringList, bool>();
    if (ofMariaDb && !m_isMariaDb)
        QSKIP("this server knows no such thing");
    const Object object{tag, "x"};
    make(definition);
    if (object.isRoutine())
        m_server->run(QString::fromUtf8(rights).arg(tag == "[PROC]" ? "PROCEDURE" : "FUNCTION", "x"));
    const QString before = state(object);

    const QStringList drivers =
        m_isMariaDb ? QStringList{nativeDriverName(), odbcDriver()} : QStringList{nativeDriverName()};
    for (const QString &driver : drivers) {
        RealStage stage(*m_server, driver);
        QString &text = object.text(stage.selection);
        const QString session = "select @@sql_mode, @@character_set_client, @@collation_connection, "
                                "@@sql_select_limit, @@autocommit";
        const auto sessionNow = [&] {
            RecordSet rows = stage.session.connection().execute(session);
            return rows.text(0) + rows.text(1) + rows.text(2) + rows.text(3) + rows.text(4);
        };
        const QString sessionBefore = sessionNow();
        object.click(stage);
        stage.run(object.change()); // as it is
        QVERIFY2(stage.told() == "変更しました。", qPrintable(stage.told() + stage.dialogue.lastError));
        QCOMPARE(state(object), before);

        text += " ) (";
        stage.run(object.change()); // a typing error
        QVERIFY2(stage.told().endsWith("変更に失敗しました。"), qPrintable(stage.told()));
        QCOMPARE(state(object), before);

        text.chop(4); // corrected, and edited
        RealStage::edit(text, edit.first(2));
        stage.run(object.change());
        QVERIFY2(stage.told() == "変更しました。", qPrintable(stage.told() + stage.dialogue.lastError));
        QString after = before;
        for (qsizetype i = 0; i < edit.size(); i += 2)
            after.replace(edit[i], edit[i + 1]);
        QCOMPARE(state(object), after);

        object.click(stage);
        RealStage::edit(text, {edit[1], edit[0]}); // and back
        stage.run(object.change());
        QVERIFY2(stage.told() == "変更しました。", qPrintable(stage.told() + stage.dialogue.lastError));
        QCOMPARE(state(object), before);
        QCOMPARE(sessionNow(), sessionBefore);
    }
}

void KeptDefinitionsTest::whatTheShownTextLosesIsAsked_data()
{
    const Rows<QString, QString, QStringList> row;
    row("table", "[TABLE]",
        "CREATE TABLE x (`order` INT, `a b` INT, `1` INT, `e` ENUM('a`b','c'), c INT COMMENT 'it''s `so`', "
        "`日本` INT, KEY `k` (`e`))",
        {"`a b`", "`1`", "'a`b'", "'it''s `so`'", "`order`"});
    row("view", "[VIEW]",
        "CREATE VIEW x AS SELECT 'a,b' AS l, 'x and y' AS m, 'plain' AS n, a AS `a,b`, a AS `select`, a AS "
        "`it's` FROM t",
        {"'a,b'", "'x and y'", "`a,b`", "`it's`", "`select`"});
    row("procedure", "[PROC]", "CREATE PROCEDURE x() SELECT `t`.`order`, 'a`b', `order` FROM `t` -- `ok`\n",
        {"'a`b'", "`order`"});
}

void KeptDefinitionsTest::whatTheShownTextLosesIsAsked()
{
    const auto [tag, definition, lost] = fetched<QString, QString, QStringList>();
    const Object object{tag, "x"};
    make(definition);
    const QString before = state(object);
    RealStage stage(*m_server, nativeDriverName());
    object.click(stage);
    stage.dialogue.chosen = 0; // the server's own text
    QCOMPARE(stage.run(object.change()).reload,
             object.isRoutine() ? Reload::OwnRoutineText : Reload::OwnTableText);
    QCOMPARE(stage.dialogue.told.size(), 1);
    QCOMPARE(stage.told().section("\n\n", 1, 1).split('\n'), lost);
    QCOMPARE(state(object), before);

    const QString own = withCrLf(readDefinition(stage.session.connection(), object.show()).text);
    object.text(stage.selection) = object.shown(stage.selection) = own;
    stage.run(object.change());
    QVERIFY2(stage.told() == "変更しました。", qPrintable(stage.told() + stage.dialogue.lastError));
    QCOMPARE(state(object), before);

    m_server->run("USE d; " + QString(tag == "[PROC]"   ? "ALTER PROCEDURE x COMMENT 'by another'"
                                      : tag == "[VIEW]" ? "ALTER VIEW x AS SELECT 1"
                                                        : "ALTER TABLE x COMMENT 'by another'"));
    const QString changed = state(object);
    stage.run(object.change());
    QVERIFY2((stage.told() + stage.dialogue.lastError).contains("表示した後に変更されています"),
             qPrintable(stage.told()));
    QCOMPARE(state(object), changed);
}

// One that may make and drop, but not name others, nor see what others may do.
void KeptDefinitionsTest::whatAnAccountCannotKeepIsAsked()
{
    const Object object{"[PROC]", "x"};
    make("CREATE DEFINER=owner@'%' PROCEDURE x() SELECT 1");
    m_server->run(QString(rights).arg("PROCEDURE", "x") +
                  "GRANT ALL ON d.* TO owner@'%'; GRANT ALL ON d.* TO reader@localhost;");
    const QString before = state(object);
    QFETCH_GLOBAL(TestServer::Brand, brand);
    // "demo" is the password of the stage's accounts.
    m_server->run(brand == TestServer::Brand::MySql9
                      ? "ALTER USER reader@localhost IDENTIFIED BY 'demo'; "
                        "GRANT SHOW_ROUTINE ON *.* TO reader@localhost"
                      : "SET PASSWORD FOR reader@localhost = PASSWORD('demo'); "
                        "GRANT SELECT ON mysql.proc TO reader@localhost");
    RealStage stage(*m_server, nativeDriverName(), "d", 0, "reader");
    object.click(stage);
    stage.dialogue.mostAgreed = 1;
    stage.run(object.change());
    QCOMPARE(stage.dialogue.questions, 2);
    QVERIFY2(stage.dialogue.lastQuestion.contains("DEFINER) `owner`@`%`") &&
                 stage.dialogue.lastQuestion.contains("他のアカウントの権限"),
             qPrintable(stage.dialogue.lastQuestion));
    QCOMPARE(state(object), before);
    stage.dialogue.mostAgreed = 1000;
    stage.run(object.change());
    QCOMPARE(stage.told(), "変更しました。");
    QVERIFY(state(object).contains("DEFINER=`reader`@`localhost`"));
}

// MySQL 9 shows a column that has its collation from the table otherwise once its own text has made it.
void KeptDefinitionsTest::aTableMadeAgainIsNoFalseAlarm()
{
    make("CREATE TABLE x (a VARCHAR(9), b VARCHAR(9) COLLATE utf8mb4_general_ci) CHARSET utf8mb4 COLLATE "
         "utf8mb4_bin");
    m_server->run("INSERT INTO d.x VALUES ('1', '2')");
    RealStage stage(*m_server, nativeDriverName());
    stage.clickTable("x");
    RealStage::edit(stage.selection.txtField, {"(\r\n", "(\r\n  KEY k (nothing),\r\n"});
    stage.run(changeTable);
    QCOMPARE(stage.told(), "ﾃｰﾌﾞﾙの変更に失敗しました。");
    QCOMPARE((*m_sql)("SELECT * FROM d.x"), "1\t2");
}

QTEST_GUILESS_MAIN(KeptDefinitionsTest)
#include "test_keptdefinitions.moc"
