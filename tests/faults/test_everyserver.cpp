// The whole program on each kind of server, over the built-in connection: what they decide differently.
#include "controls/filebox.h"
#include "controls/folderbox.h"
#include "controls/sqltextbox.h"
#include "mainwindowstage.h"
#include "support/gui/boxes.h"
#include "support/testserver.h"

#include <QPlainTextEdit>
#include <QSet>

namespace {

const char *const setUp = R"(
    SET NAMES utf8mb4; DROP DATABASE IF EXISTS 店; CREATE DATABASE 店 CHARACTER SET utf8mb4; USE 店;
    SET sql_mode='NO_AUTO_VALUE_ON_ZERO';
    CREATE TABLE 商品 (id INT AUTO_INCREMENT PRIMARY KEY, 名前 VARCHAR(40), b BIT(8), z DATE, f FLOAT,
        t TIMESTAMP(6) NULL, e ENUM('a',''), KEY n (名前)) ENGINE=InnoDB COMMENT='it''s';
    INSERT INTO 商品 VALUES (0,'ﾃｽﾄ',9,'0000-00-00',16777217,'2020-10-25 00:30:00.123456','a'),
        (2,'😀\t\\N',92,'2020-02-00',NULL,NULL,''),(3,NULL,NULL,NULL,1.5,NULL,NULL);
    SET sql_mode=DEFAULT;
    CREATE TRIGGER tr BEFORE INSERT ON 商品 FOR EACH ROW SET NEW.f = NEW.f;
    CREATE TABLE b (a INT) ENGINE=MyISAM; INSERT INTO b VALUES (1);
    CREATE VIEW 表示 AS SELECT id, 名前 FROM 商品 WHERE id > 0;
    CREATE PROCEDURE p() SELECT 1; CREATE FUNCTION f() RETURNS INT RETURN 1;
)";
const QString values = "SELECT id, HEX(名前), HEX(b), z, f*1e0, t, e+0 FROM 商品 ORDER BY id;"
                       "SELECT HEX(名前) FROM 表示; SELECT a FROM b; SHOW CREATE TABLE 商品;"
                       "SHOW CREATE VIEW 表示; SHOW TABLES; SELECT event_object_table, "
                       "trigger_name, action_statement, definer, sql_mode, collation_connection "
                       "FROM information_schema.triggers WHERE trigger_schema='店'";

} // namespace

class EveryServerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { TestServers::addRows(); }
    void init();
    void cleanup() { m_stage.reset(); }
    void everyObjectIsListedAndShown();
    void aBrokenViewCanBeDropped();
    void aTableIsChangedOrKept();
    void aRoutineIsChangedOrKept();
    void batchesAndScriptsReachEveryTable();
    void aBackupBringsEveryValueBack();

private:
    QString sql(const QString &statements) const { return m_server->run(statements, "店"); }
    QString lastError() const { return m_stage->control<QPlainTextEdit>("txtError")->toPlainText(); }
    void edit(const char *box, const QString &from, const QString &to) const;

    TestServers m_servers{{"--sql-mode=STRICT_TRANS_TABLES"}}; // zero dates are values, too
    TestServer *m_server = nullptr;
    std::unique_ptr<MainWindowStage> m_stage;
};

void EveryServerTest::init()
{
    QFETCH_GLOBAL(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    failOnAnyWarning();
    m_server = &m_servers.of(brand);
    m_server->run(QString::fromUtf8(setUp));
    m_stage = std::make_unique<MainWindowStage>();
    m_stage->enter(nativeDriverName(), m_server->port());
    m_stage->control<QLineEdit>("txtServer")->setText("localhost");
    m_stage->click("cmdConnect");
    m_stage->click("cmdShowDb");
    m_stage->choose("lstDb", "店");
}

void EveryServerTest::edit(const char *box, const QString &from, const QString &to) const
{
    auto *text = m_stage->control<SqlTextBox>(box);
    QVERIFY2(text->contents().contains(from), qPrintable(text->contents()));
    text->setContents(text->contents().replace(from, to));
}

void EveryServerTest::everyObjectIsListedAndShown()
{
    QFETCH_GLOBAL(TestServer::Brand, brand);
    QCOMPARE(m_stage->session.connection().server().isMariaDb, brand == TestServer::Brand::MariaDb);
    const QStringList items = m_stage->control<ChosenList>("lstTables")->texts();
    QCOMPARE(QSet<QString>(items.begin(), items.end()),
             (QSet<QString>{"[TABLE]\tb", "[TABLE]\t商品", "[VIEW]\t表示"}));
    QCOMPARE(m_stage->control<ChosenList>("lstProcFunc")->texts(), (QStringList{"[PROC]\tp", "[FUNC]\tf"}));
    Boxes boxes;
    m_stage->choose("lstTables", "[TABLE]\t商品");
    QCOMPARE(m_stage->control<FlexGrid>("flGrid_Field")->rowCount(), 7);
    QCOMPARE(m_stage->control<FlexGrid>("flGrid_Index")->rowCount(), 2);
    QCOMPARE(m_stage->control<FlexGrid>("flGrid_Status")->rowCount(), 1);
    m_stage->click("cmdDataGet");
    QCOMPARE(m_stage->control<FlexGrid>("flGrid_Data")->rowCount(), 3);
    m_stage->choose("lstTables", "[VIEW]\t表示");
    // MariaDB drops the parentheses of a condition.
    QCOMPARE(m_stage->control<SqlTextBox>("txtField")->contents().remove(u'(').remove(u')'),
             "CREATE VIEW 店.表示 AS \r\nselect 店.商品.id AS id,\r\n\t店.商品.名前 AS 名前 \r\n from "
             "店.商品 \r\n where 店.商品.id > 0");
    m_stage->choose("lstProcFunc", "[PROC]\tp");
    QVERIFY(m_stage->control<SqlTextBox>("txtProc")->contents().contains("SELECT 1"));
}

// This server shows the text of a view whose table is gone, but not its columns.
void EveryServerTest::aBrokenViewCanBeDropped()
{
    sql("CREATE TABLE gone (a INT); CREATE VIEW broken AS SELECT a FROM gone; DROP TABLE gone");
    m_stage->choose("lstDb", "店");
    Boxes boxes;
    boxes.expectOk("View '店.broken' references invalid table(s) or column(s) or function(s) or "
                   "definer/invoker of view lack rights to use them");
    m_stage->choose("lstTables", "[VIEW]\tbroken");
    boxes.expectOk("brokenﾃｰﾌﾞﾙを削除します。");
    boxes.expectOk("削除しました。");
    m_stage->click("cmdDropTable");
    QVERIFY(!sql("SHOW TABLES").contains("broken"));
}

void EveryServerTest::aTableIsChangedOrKept()
{
    const QString before = sql(values);
    Boxes boxes;
    m_stage->choose("lstTables", "[TABLE]\t商品");
    edit("txtField", "名前 varchar(40)", "名前 nonsense(40)");
    boxes.expectOk("商品ﾃｰﾌﾞﾙを変更します。");
    boxes.expectOk("ﾃｰﾌﾞﾙの変更に失敗しました。");
    m_stage->click("cmdCreateTable");
    QVERIFY2(lastError().contains("nonsense"), qPrintable(lastError()));
    QCOMPARE(sql(values), before);

    edit("txtField", "nonsense(40)", "varchar(60)");
    boxes.expectOk("商品ﾃｰﾌﾞﾙを変更します。");
    boxes.expectOk("変更しました。");
    m_stage->click("cmdCreateTable");
    QCOMPARE(sql(values), QString(before).replace("varchar(40)", "varchar(60)"));

    m_stage->choose("lstTables", "[VIEW]\t表示");
    edit("txtField", "> 0", "> 2");
    boxes.expectOk("表示ﾃｰﾌﾞﾙを変更します。");
    boxes.expectOk("変更しました。");
    m_stage->click("cmdCreateTable");
    QCOMPARE(sql("SELECT id FROM 表示"), "3\n");
}

void EveryServerTest::aRoutineIsChangedOrKept()
{
    Boxes boxes;
    const QString question = "[FUNC]\tfを変更します。";
    const QString show = "SHOW CREATE FUNCTION f";
    const QString before = sql(show);
    m_stage->choose("lstProcFunc", "[FUNC]\tf");
    edit("txtProc", "RETURN 1", "RETURN (");
    boxes.expectOk(question);
    boxes.expectOk("変更に失敗しました。");
    m_stage->click("cmdCreateProc");
    QCOMPARE(sql(show), before);
    edit("txtProc", "RETURN (", "RETURN 2");
    boxes.expectOk(question);
    boxes.expectOk("変更しました。");
    m_stage->click("cmdCreateProc");
    QCOMPARE(sql("SELECT f()"), "2\n");
}

void EveryServerTest::batchesAndScriptsReachEveryTable()
{
    QFETCH_GLOBAL(TestServer::Brand, brand);
    const bool knowsInvisible = brand != TestServer::Brand::MySql56;
    sql(QStringLiteral("CREATE TABLE 列 (a INT, b INT %1)").arg(knowsInvisible ? "INVISIBLE" : "") +
        ";INSERT INTO 列 (a, b) VALUES (1, 2)");
    m_stage->choose("lstDb", "店");
    Boxes boxes;
    for (const auto &[button, phrase, closing] :
         {std::tuple("cmdCheckTable", "検査を行います。", "問題はありませんでした。"),
          {"cmdOptimizeTable", "最適化を行います。", "最適化しました。"},
          {"cmdRepairTable", "修復を行います。", "修復しました。"},
          {"cmdCopyDb", "ﾃﾞｰﾀｺﾋﾟｰを行います。", "ﾃｰﾌﾞﾙをｺﾋﾟｰしました。"}}) {
        boxes.expectOk("全ﾃｰﾌﾞﾙの" + QString::fromUtf8(phrase));
        boxes.expectOk(QString::fromUtf8(closing));
        m_stage->click(button);
    }
    const QString stamp = QDate::currentDate().toString("_yy_MM_dd");
    QCOMPARE(sql(QStringLiteral("SELECT COUNT(*) FROM back_商品%1; SELECT COUNT(*) FROM back_表示%1; SELECT "
                                "a, b FROM back_列%1")
                     .arg(stamp)),
             "3\n2\n1\t2\n");
    const QTemporaryDir folder;
    boxes.expectFile(folder.path());
    boxes.expectOk(QStringLiteral("「%1/」にﾊﾞｯｸｱｯﾌﾟしました。").arg(folder.path()));
    m_stage->click("cmdScriptBackUp");
    QCOMPARE(QDir(folder.path()).entryList(QDir::Files),
             (QStringList{"b.table", "f.func", "p.proc", "列.table", "商品.table", "表示.view"}));
}

void EveryServerTest::aBackupBringsEveryValueBack()
{
    const QString before = sql(values);
    // Within the server's own folder: it may run as another user.
    const QString path = m_server->folder() + "/it's 表";
    QVERIFY(QDir().mkdir(path));
    Boxes boxes;
    boxes.expectOk("全ﾃｰﾌﾞﾙのﾊﾞｯｸｱｯﾌﾟを行います。");
    boxes.expectFile(path);
    boxes.expectOk(QStringLiteral("「%1」にﾊﾞｯｸｱｯﾌﾟしました。").arg(path));
    m_stage->click("cmdBackup");
    sql("DELETE FROM 商品; ALTER TABLE 商品 DROP f; DROP TABLE b; DROP VIEW 表示");
    boxes.expectDialog("frmRestore", [&](QDialog &dialog) {
        dialog.findChild<FolderBox *>("Dir1")->setPath(path);
        dialog.findChild<FileBox *>("File1")->selectAll();
        dialog.findChild<QPushButton *>("cmdOk")->click();
    });
    boxes.expectOk("復元前に、既存のテーブルは削除する必要があります。\r\n\r\n"
                   "削除を行い、復元しますか？");
    boxes.expectOk(QStringLiteral("「%1」から復元しました。").arg(path));
    m_stage->click("cmdRestore");
    QCOMPARE(sql(values), before);
}

QTEST_MAIN(EveryServerTest)
#include "test_everyserver.moc"
