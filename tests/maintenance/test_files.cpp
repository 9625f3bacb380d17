#include "controls/lists/fileboxes.h"
#include "maintenance/backup/definitionform.h"
#include "maintenance/backup/frmRestore.h"
#include "maintenance/backup/restore.h"
#include "maintenance/backup/scriptbackup.h"
#include "support/gui/stage.h"
#include "support/lockedfolder.h"

#include <csignal>
#include <sys/resource.h>

namespace {

const QString question =
    "復元前に、既存のテーブルは削除する必要があります。\r\n\r\n削除を行い、復元しますか？";
const QByteArray tableT = "CREATE TABLE `t` (\n  `id` int(11),\n  `b` bit(3),\n"
                          "  CONSTRAINT `k` FOREIGN KEY (`id`) REFERENCES `p` (`id`)\n) ENGINE=InnoDB";

// It does not know the statements for backup and restore.
const ServerInfo today{"8.0.36", false, 80036};

const QString prompt = "ｸﾘｴｲﾄScriptの保存先のﾌｫﾙﾀﾞを選択して下さい。";

Reply routine(const std::optional<QString> &text)
{
    return Reply::table({"Procedure", "sql_mode", "Create Procedure"}, {{"p", "", text}});
}

} // namespace

// What stands in files and which of them are taken.
class FilesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void buttonsGiveTheSelectedNames_data();
    void buttonsGiveTheSelectedNames();
    void aDriveLeadsToItsFolders();
    void nothingChosenSendsNothing();
    void oldServersDropAndRestore();
    void damagedBackupsAreRefused_data();
    void damagedBackupsAreRefused();
    void formsOfAllServersAreTaken();
    void writesOneFilePerObject();
    void objectsWithoutTextRepeatTheOneBefore();
    void failuresEndTheRun_data();
    void failuresEndTheRun();
    void nothingChosenEndsEarly();
};

void FilesTest::buttonsGiveTheSelectedNames_data()
{
    const Rows<QString, QList<int>, QStringList> row;
    row("several, in list order", "cmdOk", QList<int>{2, 0, 1}, {"a", "B", "c"});
    row("none", "cmdOk", QList<int>{}, {QString()});
    row("cancelled", "cmdCancel", QList<int>{0, 1}, {QString()});
}

void FilesTest::buttonsGiveTheSelectedNames()
{
    const auto [button, rows, names] = fetched<QString, QList<int>, QStringList>();
    const QTemporaryDir folder;
    for (const char *name : {"a.frm", "B.FRM", "c.frm", "a.dat", "x.frm.txt"})
        writeFile(folder.filePath(name), {});
    frmRestore window;
    window.show();
    QVERIFY(window.findChild<FolderBox *>("Dir1")->setPath(folder.path()));
    auto *files = window.findChild<FileBox *>("File1");
    QCOMPARE(files->count(), 3);
    for (const int row : rows)
        files->item(row)->setSelected(true);
    QTest::mouseClick(window.findChild<QPushButton *>(button), Qt::LeftButton);
    QVERIFY(!window.isVisible());
    QCOMPARE(window.choice().names, names);
    QCOMPARE(window.choice().folder, button == u"cmdOk" ? folder.path() : QString());
}

void FilesTest::aDriveLeadsToItsFolders()
{
    frmRestore window;
    auto *drives = window.findChild<DriveBox *>("Drive1");
    Q_EMIT drives->driveChosen(QDir::rootPath());
    QCOMPARE(window.findChild<FileBox *>("File1")->path(), QDir::rootPath());
    Q_EMIT drives->driveChosen("/no such drive");
    QCOMPARE(window.findChild<FolderBox *>("Dir1")->path(), QDir::rootPath());
    QCOMPARE(drives->drive(), QDir::rootPath());
}

void FilesTest::nothingChosenSendsNothing()
{
    ScriptedStage stage;
    for (const QString folder : {"", "/bk"}) { // cancelled, OK without a file
        stage.dialogue.expectBackups({{QString()}, folder});
        stage.run(restoreTables);
    }
    stage.dialogue.expectBackups({{"a"}, "/bk"});
    stage.dialogue.expectConfirm(question, Icon::Critical, false);
    stage.run(restoreTables);
    stage.selection.lblPreTable.clear();
    stage.dialogue.expectRefuse("ﾃﾞｰﾀﾍﾞｰｽが選択されていません。");
    stage.run(restoreTables);
    QCOMPARE(stage.script.sent, QStringList());
}

void FilesTest::oldServersDropAndRestore()
{
    ScriptedStage stage;
    const QStringList sent{"drop table `d`.a", "drop table `d`.b",
                           "restore table `d`.a,`d`.b from 'C:\\\\bk'"};
    stage.script.always("drop table `d`.a", Reply::failure("Unknown table", 1051));
    stage.dialogue.expectBackups({{"a", "b"}, "C:\\bk"});
    stage.dialogue.expectDone(question, "「C:\\bk」から復元しました。", Icon::Critical);
    stage.run(restoreTables);
    QCOMPARE(stage.script.sent, sent);
    QCOMPARE(stage.dialogue.progresses, (QStringList{"0/2", "1/2", "2/2"}));
    QCOMPARE(stage.dialogue.bars, QList<double>{1});

    stage.script.always(sent.last(), Reply::failure("Failed copying .frm file"));
    stage.dialogue.expectBackups({{"a", "b"}, "C:\\bk"});
    stage.dialogue.expectFailure(question, "Failed copying .frm file", Icon::Critical);
    stage.run(restoreTables);
    QCOMPARE(stage.dialogue.lastTip, "Failed copying .frm file");
    QCOMPARE(stage.dialogue.bars.last(), 0);
}

void FilesTest::damagedBackupsAreRefused_data()
{
    const Rows<QByteArray, QByteArray, QString> row;
    const auto damaged = [&](const char *name, const QByteArray &text) { row(name, text, {}, "t.frm"); };
    const QByteArray none = "-";
    damaged("binary definition of an old server", QByteArray("\xfe\x01\x0a\x00\x04", 5));
    damaged("cut in the middle", tableT.left(30));
    damaged("another table", QByteArray(tableT).replace("`t`", "`s`"));
    damaged("its name in other letters", QByteArray(tableT).replace("`t`", "`T`"));
    damaged("a view in other letters", QByteArray("CREATE VIEW `T` AS select 1"));
    damaged("name of it only begins so", QByteArray(tableT).replace("`t`", "`t``x`"));
    damaged("another statement", QByteArray("DROP TABLE `t`"));
    damaged("not UTF-8", QByteArray(tableT).replace("id", "\x88\xea"));
    damaged("a second statement", tableT + "; DROP TABLE `good`");
    damaged("an account", "CREATE USER `t` IDENTIFIED BY 'x'");
    damaged("an event", "CREATE EVENT `t` ON SCHEDULE EVERY 1 DAY DO DROP TABLE `good`");
    damaged("a table behind a comment", "CREATE /* TABLE `t` ( */ TABLE `good` (\n  `a` int\n)");
    damaged("another table in front of a view", "CREATE TABLE `good` (`a` int) /* VIEW `t` AS select 1 */");
    damaged("a view behind a name", "CREATE DEFINER=`a`@`b` /*!99999 SQL SECURITY */ VIEW `t` AS select 1");
    damaged("one more word", tableT + " SELECT * FROM mysql.user");
    damaged("rows of another table", tableT + " PARTITION BY HASH (`a`) (TABLE mysql.user)");
    damaged("shape of another table", "CREATE TABLE `t` (LIKE `good`)");
    damaged("a procedure", "CREATE DEFINER=`a`@`b` PROCEDURE `t`() DROP TABLE `good`");
    damaged("a trigger", "CREATE TRIGGER `VIEW `t` AS select 1");
    damaged("a view that replaces", "CREATE OR REPLACE VIEW `t` AS select 1");
    damaged("text that is never closed", "CREATE TABLE `t` (\n  `a` int COMMENT 'x\n)");
    damaged("view without a body", QByteArray("CREATE VIEW `t` AS "));
    damaged("view of another name", QByteArray("CREATE VIEW `s` AS select 1 AS `t`"));
    damaged("no definition", none);
    row("no rows", tableT, none, "t.dat");
    damaged("definition behind a link", QByteArray("link"));
    row("rows behind a link", tableT, QByteArray("link"), "t.dat");
    row("rows cut off", tableT, QByteArray("1\t2\n3\t4"), "t.dat");
}

void FilesTest::damagedBackupsAreRefused()
{
    const auto [definition, rows, file] = fetched<QByteArray, QByteArray, QString>();
    const QTemporaryDir folder;
    writeFile(folder.filePath("good.FRM"), "CREATE TABLE `good` (\n  `a` int\n) ENGINE=InnoDB");
    writeFile(folder.filePath("good.dat"), "");
    for (const auto &[path, bytes] :
         {std::pair{folder.filePath("t.frm"), definition}, {folder.filePath("t.dat"), rows}})
        if (bytes == "link")
            QVERIFY(QFile::link(folder.filePath("good.FRM"), path));
        else if (bytes != "-")
            writeFile(path, bytes);

    ScriptedStage stage;
    stage.script.server = today;
    ScriptedDialogue &dialogue = stage.dialogue;
    dialogue.agrees = true;
    dialogue.choice = {{"good", "t"}, folder.path()};
    stage.run(restoreTables);
    QCOMPARE(dialogue.questions, 0);
    QCOMPARE(dialogue.told.size(), 1);
    QVERIFY2(dialogue.told[0].contains(folder.filePath(file)), qPrintable(dialogue.told[0]));
    QVERIFY(dialogue.isCritical);
    QCOMPARE(dialogue.lastTip, dialogue.told[0]);
    QCOMPARE(stage.script.sent, QStringList());
}

void FilesTest::formsOfAllServersAreTaken()
{
    for (const char *columnsAndOptions :
         {"(\n  `select` int DEFAULT (1 + 1),\n  CHECK (`a` like 'x;y')\n) ENGINE=MyISAM AUTO_INCREMENT=5 "
          "DEFAULT "
          "CHARSET=utf8 COLLATE=utf8_bin COMMENT='-- ''x' DATA DIRECTORY='/d/' UNION=(`a`,`b`)",
          "(\n  `a` int /*!80023 INVISIBLE */\n) /*!50100 TABLESPACE `s` */ ENGINE=InnoDB /*!80016 "
          "ENCRYPTION='Y' */\n"
          "/*!50100 PARTITION BY RANGE (`a`)\nSUBPARTITION BY HASH (`b`)\nSUBPARTITIONS 2\n"
          "(PARTITION p0 VALUES LESS THAN (5) ENGINE = InnoDB) */",
          "(\n  `a` int `x`='y'\n) ENGINE=CONNECT CHARSET=latin1 `TABLE_TYPE`='DOS'\n PARTITION BY KEY "
          "ALGORITHM = 1 "
          "(`a`)\nPARTITIONS 4"})
        QVERIFY2(isTableDefinition(QStringLiteral("CREATE TABLE `t``x` ") + columnsAndOptions, "t`x"),
                 columnsAndOptions);
    for (const char *head :
         {"CREATE ALGORITHM=MERGE DEFINER=`root`@`%` SQL SECURITY INVOKER VIEW `t` AS select ",
          "CREATE ALGORITHM=UNDEFINED DEFINER=`role` SQL SECURITY DEFINER VIEW `t` (`a`) AS with c as "
          "(select 1) select ",
          "CREATE VIEW `t` AS ("})
        QVERIFY2(
            isViewDefinition(QString(head) + "`a` from `s` where `b` = ';' WITH CASCADED CHECK OPTION", "t"),
            head);
}

void FilesTest::writesOneFilePerObject()
{
    const QTemporaryDir folder;
    const QString path = folder.path() + '/';
    writeFile(path + "表.table", "an older one");
    ScriptedStage stage;
    stage.selection.tables = QStringList{"[TABLE]\t表", "[ERROR]\tx", "[VIEW]\tv"};
    stage.selection.routines = QStringList{"[PROC]\tp", "[FUNC]\tp"};
    stage.script.always(
        "show create table `d`.表;",
        Reply::table({"Table", "Create Table"}, {{"表", "CREATE TABLE `表` (\n  `a` int\n)"}}));
    stage.script.always(
        "show create table `d`.v;",
        Reply::table({"View", "Create View"}, {{"v", "CREATE VIEW `v` AS select 1 from `t`"}}));
    stage.script.always("show create procedure `d`.p;", routine("CREATE PROCEDURE `p`()\nselect '日本'"));
    stage.script.always("show create function `d`.p;", routine("CREATE FUNCTION `p`()"));
    stage.dialogue.expectFolder(prompt, folder.path());
    stage.dialogue.expectInform("「" + path + "」にﾊﾞｯｸｱｯﾌﾟしました。");
    stage.run(backUpScripts);
    QCOMPARE(readFile(path + "表.table"), QByteArray("CREATE TABLE 表 (\r\n  a int\r\n)\r\n"));
    QCOMPARE(readFile(path + "v.view"), QByteArray("CREATE VIEW v AS \r\nselect 1 \r\n from t\r\n"));
    QCOMPARE(readFile(path + "p.proc"), QByteArray("CREATE PROCEDURE p()\r\nselect '日本'\r\n"));
    QCOMPARE(readFile(path + "p.func"), QByteArray("CREATE FUNCTION p()\r\n"));
    QCOMPARE(filesIn(path).size(), 4);
    QCOMPARE(stage.dialogue.progresses, (QStringList{"0/5", "1/5", "2/5", "3/5", "4/5", "5/5"}));
    QCOMPARE(stage.dialogue.bars, QList<double>{1});
}

void FilesTest::objectsWithoutTextRepeatTheOneBefore()
{
    const QTemporaryDir folder;
    const QString path = folder.path() + '/';
    ScriptedStage stage;
    const Reply noRow = Reply::table({"Table", "Create Table"});
    stage.selection.tables = QStringList{"[TABLE]\ta", "[TABLE]\tb", "[TABLE]\tc"};
    stage.selection.routines = QStringList{"[OTHER]\tearly", "[PROC]\tp", "[OTHER]\tq", "[FUNC]\tf"};
    stage.script.always("show create table `d`.a;", noRow);
    stage.script.always("show create table `d`.b;", Reply::table({"Table", "Create Table"}, {{"b", "B"}}));
    stage.script.always("show create table `d`.c;", noRow);
    stage.script.always("show create procedure `d`.p;", routine("P"));
    stage.script.always("show create function `d`.f;", noRow);
    stage.dialogue.expectFolder(prompt, path);
    stage.dialogue.expectInform("「" + path + "」にﾊﾞｯｸｱｯﾌﾟしました。");
    stage.run(backUpScripts);
    QCOMPARE(readFile(path + "a."), QByteArray("\r\n"));
    QCOMPARE(readFile(path + "c.table"), QByteArray("B\r\n"));
    QCOMPARE(readFile(path + "q.proc"), QByteArray("P\r\n"));
    QCOMPARE(filesIn(path).size(), 5); // none for "early" and "f"
    QCOMPARE(stage.script.sent.count("show create procedure `d`.p;"), 2);
}

void FilesTest::failuresEndTheRun_data()
{
    const Rows<QString, QString, QString> row;
    row("refused", "bad", "", "Access denied");
    row("slash in the name", "../b", "", "「../b」(データベース「d」)");
    row("no such folder", "b", "/gone", "/gone/a.table");
    row("a link to somewhere else", "link", "", "link.table");
    row("a full disk", "long", "", "File too large");
    row("a folder without rights", "b", "/", "Permission denied");
}

void FilesTest::failuresEndTheRun()
{
    const auto [name, folder, words] = fetched<QString, QString, QString>();
    const QTemporaryDir parent;
    QVERIFY(QDir(parent.path()).mkdir("s"));
    const QString path = parent.path() + "/s" + folder;
    writeFile(parent.path() + "/s/long.table", "an older one");
    QVERIFY(QFile::link(parent.path() + "/elsewhere", parent.path() + "/s/link.table"));
    ScriptedStage stage;
    stage.selection.tables = QStringList{"[TABLE]\ta", "[TABLE]\t" + name, "[TABLE]\tlast"};
    for (const QString &table : {QString("a"), name, QString("last")})
        stage.script.always("show create table `d`." + table + ";",
                            Reply::table({"Table", "Create Table"}, {{table, QString("T")}}));
    stage.script.always("show create table `d`.long;",
                        Reply::table({"Table", "Create Table"}, {{name, QString(100000, 'T')}}));
    stage.script.always("show create table `d`.bad;", Reply::failure("Access denied"));
    ScriptedDialogue &dialogue = stage.dialogue;
    dialogue.agrees = true;
    dialogue.choice.folder = path;

    std::optional<LockedFolder> locked;
    if (folder == u"/")
        locked.emplace(path);
    ::signal(SIGXFSZ, SIG_IGN);
    rlimit old{};
    getrlimit(RLIMIT_FSIZE, &old);
    const rlimit small{50000, old.rlim_max}; // the long file is cut in the middle
    setrlimit(RLIMIT_FSIZE, &small);
    stage.run(backUpScripts);
    setrlimit(RLIMIT_FSIZE, &old);
    locked.reset();

    QCOMPARE(dialogue.told.size(), 1);
    QVERIFY2(dialogue.isCritical && dialogue.told[0].contains(words), qPrintable(dialogue.told[0]));
    QCOMPARE(dialogue.lastTip, dialogue.told[0]);
    QCOMPARE(dialogue.bars, QList<double>{0});
    QCOMPARE(filesIn(parent.path()), QStringList());
    QCOMPARE(filesIn(parent.path() + "/s").join(' '), folder.isEmpty() ? "a.table long.table" : "long.table");
    QCOMPARE(readFile(parent.path() + "/s/long.table"), QByteArray("an older one"));
}

void FilesTest::nothingChosenEndsEarly()
{
    ScriptedStage stage;
    stage.dialogue.expectFolder(prompt, QString());
    stage.run(backUpScripts);
    stage.selection.lblPreTable.clear();
    stage.dialogue.expectRefuse("ﾃﾞｰﾀﾍﾞｰｽが選択されていません。");
    stage.run(backUpScripts);
    QCOMPARE(stage.dialogue.progresses, QStringList());
}

QTEST_MAIN(FilesTest)
#include "test_files.moc"
