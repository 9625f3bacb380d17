#include "controls/text/sqltextbox.h"
#include "core/command/showntext.h"
#include "structure/alter/alterwindow.h"
#include "structure/alter/quietlosses.h"
#include "structure/alter/restoredtext.h"
#include "support/gui/stage.h"

namespace {

using L = QStringList;
using Brand = TestServer::Brand;

const char *const setUp = R"(
    DROP DATABASE IF EXISTS d; CREATE DATABASE d CHARACTER SET utf8mb4; USE d;
    CREATE TABLE t (id INT PRIMARY KEY AUTO_INCREMENT, `order` INT COMMENT 'a`b, c', n VARCHAR(20), x INT,
                    KEY k (n)) ENGINE=InnoDB;
    CREATE TABLE child (t INT, CONSTRAINT f FOREIGN KEY (t) REFERENCES t (id)) ENGINE=InnoDB;
    INSERT INTO t (`order`, n, x) VALUES (7, 'seven', 1), (8, 'eight', 2); INSERT INTO child VALUES (1), (2);
)";

// The window on the chosen table's edited text, before a user of whom the test knows.
struct AlterStage : RealStage {
    explicit AlterStage(TestServer &server)
        : RealStage(server, nativeDriverName())
    {
        server.run(setUp);
        clickTable("t");
    }
    // False: it was said why there is none.
    bool open()
    {
        Outcome outcome;
        CommandContext context{session, selection, dialogue};
        const std::optional<AlterRequest> request = readAlterRequest(context, outcome);
        if (!request)
            return false;
        auto own = std::make_unique<ScriptedDialogue>();
        user = own.get();
        user->agrees = true;
        Stage::open(new AlterWindow(session, *request, {}, nullptr, std::move(own)));
        return true;
    }
    QString statement() const { return withLf(control<SqlTextBox>("alterText")->contents()); }
    QString run(const QString &statement = {}) const
    {
        if (!statement.isEmpty())
            control<SqlTextBox>("alterText")->setContents(statement);
        click("runAlter");
        return control<QPlainTextEdit>("alterReport")->toPlainText();
    }

    ScriptedDialogue *user = nullptr;
};

} // namespace

// What is edited in the shown text comes to the server by one ALTER TABLE, and nothing else does.
class AlterWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void whatWasShownIsRestored_data();
    void whatWasShownIsRestored();
    void theCheapestWayIsAskedFor_data();
    void theCheapestWayIsAskedFor();
    void whatNoServerRefusesIsTold_data();
    void whatNoServerRefusesIsTold();
    void rowsAndChildrenAreKept_data() { TestServers::addRows(); }
    void rowsAndChildrenAreKept();
    void textsKeepTheirBackslashes_data() { TestServers::addRows(); }
    void textsKeepTheirBackslashes();
    void aQuestionNamesWhatIsLost();
    void lostLettersAreAskedAbout();
    void anInterruptedAlterIsReadBack_data();
    void anInterruptedAlterIsReadBack();
    void copyingIsAskedAbout();
    void whatOthersHaveChangedIsNotChangedBack();

private:
    TestServers m_servers;
};

void AlterWindowTest::whatWasShownIsRestored_data()
{
    const Rows<QString, QString> row;
    row("unedited, in another order", "  b c int,\n  a int COMMENT 'xy'",
        "  `b c` int,\n  `a` int COMMENT 'x`y'");
    row("an edited line keeps its name", "a int COMMENT 'xy',\r\n  b c bigint",
        "  `a` int COMMENT 'x`y',\n  `b c` bigint");
    row("a name may begin another one", "  b int NOT NULL,\n  bc int", "  `b` int NOT NULL,\n  bc int");
    row("two that look the same as they are shown", "  k int", "  `k` int");
    row("a key and the end", "  KEY order (a,b),\n) ENGINE=MyISAM",
        "  KEY `order` (a,b),\n  ) ENGINE=MyISAM");
}

void AlterWindowTest::whatWasShownIsRestored()
{
    const auto [edited, expected] = fetched<QString, QString>();
    const QString own = "  `a` int COMMENT 'x`y',\n  `b c` int,\n  `b` int,\n  `k int`,\n  `k` int,\n  KEY "
                        "`order` (`a`)\n) ENGINE=InnoDB";
    QCOMPARE(restoredText(own, withoutBackticks(withCrLf(own)), edited, {}).text, expected);
}

void AlterWindowTest::theCheapestWayIsAskedFor_data()
{
    const Rows<QString, QString> row;
    row("a table", "ALTER TABLE `d`.`t` DROP a", "ALTER TABLE `d`.`t` ALGORITHM=INPLACE, LOCK=NONE, DROP a");
    row("partitions", "alter table if exists t\nPARTITION BY KEY (a)",
        "alter table if exists t ALGORITHM=INPLACE, LOCK=NONE PARTITION BY KEY (a)");
    row("a way that the user has named", "ALTER TABLE t ALGORITHM=COPY, DROP a",
        "ALTER TABLE t ALGORITHM=COPY, DROP a");
    row("no table", "ALTER VIEW v AS SELECT 1", "ALTER VIEW v AS SELECT 1");
}

void AlterWindowTest::theCheapestWayIsAskedFor()
{
    const auto [statement, expected] = fetched<QString, QString>();
    QCOMPARE(withWay(statement, AlterWay::InPlace, {}), expected);
    QCOMPARE(withWay(statement, AlterWay::AsServerLikes, {}), statement);
    // No server does these at once, but one says so.
    const bool isPartitioning = statement.contains("PARTITION");
    QCOMPARE(withWay(statement, AlterWay::Instant, {}) == statement, isPartitioning || expected == statement);
}

void AlterWindowTest::whatNoServerRefusesIsTold_data()
{
    const Rows<QString, bool> row;
    row("d INT", "d: decimal(8,3) → INT", true);
    row("d DECIMAL(5,3)", "", true); // refused where it does not fit
    row("CHANGE d new DECIMAL(9,2) NOT NULL", "d: decimal(8,3) → DECIMAL(9,2)", false);
    row("f INT", "f: double → INT", true);
    row("f FLOAT", "f: double → FLOAT", true);
    row("n BIGINT UNSIGNED", "", true);
    row("n DOUBLE", "", true);
    row("dt DATETIME(3)", "dt: datetime(6) → DATETIME(3)", true);
    row("dt DATE", "dt: datetime(6) → DATE", true);
    row("v DATE", "v: varchar(20) → DATE", true);
    row("v TEXT CHARACTER SET latin1", "", true); // refused, too
    row("v BINARY(20)", "v: varchar(20) → BINARY(20)", true);
}

void AlterWindowTest::whatNoServerRefusesIsTold()
{
    const QString clause = QTest::currentDataTag();
    const auto [loss, isModify] = fetched<QString, bool>();
    const TableDefinition from =
        tableDefinition("CREATE TABLE `t` (\n  `d` decimal(8,3) DEFAULT 1.5,\n  `f` double,\n  `n` int(11),\n"
                        "  `dt` datetime(6),\n  `v` varchar(20) COMMENT 'int'\n)",
                        {});
    const QString statement =
        "ALTER TABLE d.t ADD x INT, " + (isModify ? "MODIFY COLUMN " : QString()) + clause;
    QCOMPARE(quietLosses(statement, from, {}).join('|'), loss);
}

void AlterWindowTest::rowsAndChildrenAreKept()
{
    QFETCH(Brand, brand);
    SKIP_WITHOUT(brand);
    TestServer &server = m_servers.of(brand);
    AlterStage stage(server);
    // The second line is the one whose comment and name the shown text cannot carry.
    AlterStage::edit(stage.selection.txtField,
                     {"  n varchar(20) ", "  name varchar(20) ", "KEY k (n)", "KEY k (name)"});
    stage.selection.txtField.replace(QRegularExpression("\r\n  x int[^\r]*"), "\r\n  y text,");
    QVERIFY(stage.open());
    // Nothing is decided for the user, however alike the columns are.
    auto &n = *stage.control<QComboBox>("alterRename_0"), &x = *stage.control<QComboBox>("alterRename_1");
    QVERIFY(!n.currentData().isValid() && stage.window->focusWidget() == &n);
    QVERIFY(n.itemText(1).endsWith("に変える (値は残ります) ← 同じ位置、同じ型"));
    n.setCurrentIndex(1);
    QVERIFY(!stage.isEnabled("runAlter"));
    QCOMPARE(stage.statement(), "");
    x.setCurrentIndex(x.count() - 1);
    QCOMPARE(x.currentText(), "削除する (約 2 行の値は失われます)");
    QVERIFY2(stage.statement().contains("DROP COLUMN `x`,\n  CHANGE COLUMN `n` `name` varchar(20)"),
             qPrintable(stage.statement()));

    const QString report = stage.run();
    QVERIFY2(report.contains("編集した定義と同じになりました"), qPrintable(report));
    QVERIFY2(stage.user->lastQuestion.contains("\r\nx\r\n"), qPrintable(stage.user->lastQuestion));
    QCOMPARE(server.run("SELECT id, `order`, name, y FROM t", "d").trimmed(),
             "1\t7\tseven\tNULL\n2\t8\teight\tNULL");
    QCOMPARE(server.run("SELECT COUNT(*) FROM child JOIN t ON child.t = t.id", "d").trimmed(), "2");
    QVERIFY(server.run("SHOW CREATE TABLE t", "d").contains("COMMENT 'a`b, c'"));
}

// SHOW CREATE TABLE writes two for one, whatever the session's mode says.
void AlterWindowTest::textsKeepTheirBackslashes()
{
    QFETCH(Brand, brand);
    SKIP_WITHOUT(brand);
    TestServer &server = m_servers.of(brand);
    AlterStage stage(server);
    server.run("ALTER TABLE t MODIFY n VARCHAR(20) COMMENT 'c:\\\\d\\nit''s'", "d");
    const auto comment = [&] {
        return server.run("SELECT HEX(column_comment) FROM information_schema.columns WHERE column_name='n'");
    };
    const QString before = comment();
    stage.session.connection().execute("SET sql_mode='NO_BACKSLASH_ESCAPES,ANSI_QUOTES'");
    stage.clickTable("t");
    AlterStage::edit(stage.selection.txtField, {"\"n\" varchar(20)", "\"n\" varchar(30)"});
    QVERIFY2(stage.open(), qPrintable(stage.told()));
    const QString report = stage.run();
    QVERIFY2(report.contains("編集した定義と同じになりました"), qPrintable(report + stage.statement()));
    QCOMPARE(comment(), before);
}

void AlterWindowTest::aQuestionNamesWhatIsLost()
{
    AlterStage stage(m_servers.of(Brand::MariaDb));
    AlterStage::edit(stage.selection.txtField, {"  id int(11)", "  id bigint(20)"});
    QVERIFY(stage.open());
    stage.user->agrees = false;
    stage.user->expectConfirm("サーバー 127.0.0.1:" + stage.session.gPort + " のﾃｰﾌﾞﾙ d.t を変更します。",
                              Icon::Information, false);
    stage.run();
    stage.user->expectConfirm("サーバー 127.0.0.1:" + stage.session.gPort +
                                  " のﾃｰﾌﾞﾙ d.t "
                                  "を変更します。\r\n次の列などは、値とともに失われます (約 2 "
                                  "行)。元には戻せません。\r\nx\r\n続けますか？",
                              Icon::Critical, false);
    stage.run("ALTER TABLE d.t DROP x");
    QVERIFY(!static_cast<AlterWindow *>(stage.window.data())->report().isBegun);
    // The server refuses what its foreign keys forbid, in its own words.
    stage.user->agrees = true;
    const QString report = stage.run("ALTER TABLE d.t MODIFY id BIGINT NOT NULL");
    QVERIFY2(report.contains("失敗: ") && report.contains("実行前と同じです"), qPrintable(report));
}

void AlterWindowTest::lostLettersAreAskedAbout()
{
    AlterStage stage(m_servers.of(Brand::MariaDb));
    AlterStage::edit(stage.selection.txtField, {"  order int(11)", "  order bigint(20)"});
    stage.dialogue.chosen = 0; // the server's own text
    QVERIFY(!stage.open());
    QVERIFY2(stage.told().contains("'a`b, c'"), qPrintable(stage.told()));
    // Gone, it is no loss.
    stage.selection.txtField.remove(QRegularExpression("  order bigint[^\r]*\r\n"));
    stage.dialogue.told.clear();
    QVERIFY(stage.open());
    QCOMPARE(stage.told(), "");
}

void AlterWindowTest::anInterruptedAlterIsReadBack_data()
{
    const Rows<bool, bool, QString> row;
    row("stopped before", false, false, "中断しました。\nﾃｰﾌﾞﾙの定義は、実行前と同じです。");
    row("stopped when it was done", true, false,
        "中断しました。\nサーバーの定義は、編集した定義と同じになりました。");
    row("the answer lost, and it was done", true, true, "サーバーの定義は、編集した定義と同じになりました。");
}

void AlterWindowTest::anInterruptedAlterIsReadBack()
{
    const auto [isDone, isLost, expected] = fetched<bool, bool, QString>();
    AlterStage stage(m_servers.of(Brand::MariaDb));
    AlterStage::edit(stage.selection.txtField, {"  x int(11)", "  x bigint(20)"});
    QVERIFY(stage.open());
    WrappedConnection::into(stage.session,
                            [&, done = isDone, lost = isLost](Connection &inner, const QString &statement) {
                                if (!statement.startsWith("ALTER"))
                                    return inner.execute(statement);
                                if (done)
                                    inner.execute(QString(statement).remove("ALGORITHM=INSTANT, "));
                                if (!lost)
                                    throw interruptedError();
                                inner.close();
                                throw Failure("Lost connection", 2013);
                            });
    const QString report = stage.run();
    QVERIFY2(report.endsWith(expected), qPrintable(report));
}

void AlterWindowTest::copyingIsAskedAbout()
{
    AlterStage stage(m_servers.of(Brand::MariaDb));
    m_servers.of(Brand::MariaDb)
        .run("INSERT INTO t (x) SELECT a.seq FROM seq_1_to_5000 a; ANALYZE TABLE t", "d");
    stage.clickTable("t");
    AlterStage::edit(stage.selection.txtField, {"  x int(11)", "  x varchar(40)"});
    QVERIFY(stage.open());
    QVERIFY(stage.run().contains("書き込みを待たせて"));
    QCOMPARE(stage.user->questions, 2);
    QVERIFY2(stage.user->lastQuestion.contains("ALGORITHM=INPLACE") &&
                 stage.user->lastQuestion.contains("行、"),
             qPrintable(stage.user->lastQuestion));
}

void AlterWindowTest::whatOthersHaveChangedIsNotChangedBack()
{
    TestServer &server = m_servers.of(Brand::MariaDb);
    AlterStage stage(server);
    AlterStage::edit(stage.selection.txtField, {"  x int(11)", "  x bigint(20)"});
    QVERIFY(stage.open());
    server.run("ALTER TABLE t MODIFY x INT DEFAULT 7", "d");
    QVERIFY(stage.run().contains("この文を作った後に変更されています"));
    QVERIFY(server.run("SHOW CREATE TABLE t", "d").contains("`x` int(11) DEFAULT 7"));
}

QTEST_MAIN(AlterWindowTest)
#include "test_alterwindow.moc"
