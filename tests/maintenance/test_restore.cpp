#include "controls/lists/fileboxes.h"
#include "maintenance/backup/definitionform.h"
#include "maintenance/backup/frmRestore.h"
#include "maintenance/backup/restore.h"
#include "stage.h"

#include <QPushButton>

namespace {

const QString question =
    "復元前に、既存のテーブルは削除する必要があります。\r\n\r\n削除を行い、復元しますか？";
const QByteArray tableT = "CREATE TABLE `t` (\n  `id` int(11),\n  `b` bit(3),\n"
                          "  CONSTRAINT `k` FOREIGN KEY (`id`) REFERENCES `p` (`id`)\n) ENGINE=InnoDB";

// It does not know the statements for backup and restore.
const ServerInfo today{"8.0.36", false, 80036};

} // namespace

class RestoreTest : public QObject {
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
};

void RestoreTest::buttonsGiveTheSelectedNames_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<QList<int>>("rows");
    QTest::addColumn<QStringList>("names");
    row("several, in list order", "cmdOk", QList<int>{2, 0, 1}, QStringList{"a", "B", "c"});
    row("none", "cmdOk", QList<int>{}, QStringList{QString()});
    row("cancelled", "cmdCancel", QList<int>{0, 1}, QStringList{QString()});
}

void RestoreTest::buttonsGiveTheSelectedNames()
{
    QFETCH(QString, button);
    QFETCH(QList<int>, rows);
    QFETCH(QStringList, names);
    const QTemporaryDir folder;
    for (const char *name : {"a.frm", "B.FRM", "c.frm", "a.dat", "x.frm.txt"})
        put(folder.filePath(name), {});
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

void RestoreTest::aDriveLeadsToItsFolders()
{
    frmRestore window;
    auto *drives = window.findChild<DriveBox *>("Drive1");
    Q_EMIT drives->driveChosen(QDir::rootPath());
    QCOMPARE(window.findChild<FileBox *>("File1")->path(), QDir::rootPath());
    Q_EMIT drives->driveChosen("/no such drive");
    QCOMPARE(window.findChild<FolderBox *>("Dir1")->path(), QDir::rootPath());
    QCOMPARE(drives->drive(), QDir::rootPath());
}

void RestoreTest::nothingChosenSendsNothing()
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

void RestoreTest::oldServersDropAndRestore()
{
    ScriptedStage stage;
    const QStringList sent{"drop table `d`.a", "drop table `d`.b",
                           "restore table `d`.a,`d`.b from 'C:\\\\bk'"};
    stage.script.always("drop table `d`.a", Reply::failure("Unknown table", 1051));
    stage.dialogue.expectBackups({{"a", "b"}, "C:\\bk"});
    stage.dialogue.expectConfirm(question, Icon::Critical, true);
    stage.dialogue.expectInform("「C:\\bk」から復元しました。");
    stage.run(restoreTables);
    QCOMPARE(stage.script.sent, sent);
    QCOMPARE(stage.dialogue.progresses, (QStringList{"0/2", "1/2", "2/2"}));
    QCOMPARE(stage.dialogue.bars, QList<double>{1});

    stage.script.always(sent.last(), Reply::failure("Failed copying .frm file"));
    stage.dialogue.expectBackups({{"a", "b"}, "C:\\bk"});
    stage.dialogue.expectConfirm(question, Icon::Critical, true);
    stage.dialogue.expectRefuse("Failed copying .frm file");
    stage.run(restoreTables);
    QCOMPARE(stage.dialogue.lastTip, "Failed copying .frm file");
    QCOMPARE(stage.dialogue.bars.last(), 0);
}

void RestoreTest::damagedBackupsAreRefused_data()
{
    QTest::addColumn<QByteArray>("definition");
    QTest::addColumn<QByteArray>("rows");
    QTest::addColumn<QString>("file");
    const QByteArray none = "-";
    row("binary definition of an old server", QByteArray("\xfe\x01\x0a\x00\x04", 5), QByteArray(), "t.frm");
    row("cut in the middle", tableT.left(30), QByteArray(), "t.frm");
    row("another table", QByteArray(tableT).replace("`t`", "`s`"), QByteArray(), "t.frm");
    row("name of it only begins so", QByteArray(tableT).replace("`t`", "`t``x`"), QByteArray(), "t.frm");
    row("another statement", QByteArray("DROP TABLE `t`"), QByteArray(), "t.frm");
    row("not UTF-8", QByteArray(tableT).replace("id", "\x88\xea"), QByteArray(), "t.frm");
    const auto hostile = [&](const char *name, const QByteArray &text) {
        row(name, text, QByteArray(), "t.frm");
    };
    hostile("a second statement", tableT + "; DROP TABLE `good`");
    hostile("an account", "CREATE USER `t` IDENTIFIED BY 'x'");
    hostile("an event", "CREATE EVENT `t` ON SCHEDULE EVERY 1 DAY DO DROP TABLE `good`");
    hostile("a table behind a comment", "CREATE /* TABLE `t` ( */ TABLE `good` (\n  `a` int\n)");
    hostile("another table in front of a view", "CREATE TABLE `good` (`a` int) /* VIEW `t` AS select 1 */");
    hostile("a view behind a name", "CREATE DEFINER=`a`@`b` /*!99999 SQL SECURITY */ VIEW `t` AS select 1");
    hostile("one more word", tableT + " SELECT * FROM mysql.user");
    hostile("rows of another table", tableT + " PARTITION BY HASH (`a`) (TABLE mysql.user)");
    hostile("shape of another table", "CREATE TABLE `t` (LIKE `good`)");
    hostile("a procedure", "CREATE DEFINER=`a`@`b` PROCEDURE `t`() DROP TABLE `good`");
    hostile("a trigger", "CREATE TRIGGER `VIEW `t` AS select 1");
    hostile("a view that replaces", "CREATE OR REPLACE VIEW `t` AS select 1");
    hostile("text that is never closed", "CREATE TABLE `t` (\n  `a` int COMMENT 'x\n)");
    row("view without a body", QByteArray("CREATE VIEW `t` AS "), QByteArray(), "t.frm");
    row("view of another name", QByteArray("CREATE VIEW `s` AS select 1 AS `t`"), QByteArray(), "t.frm");
    row("no definition", none, QByteArray(), "t.frm");
    row("no rows", tableT, none, "t.dat");
    row("definition behind a link", QByteArray("link"), QByteArray(), "t.frm");
    row("rows behind a link", tableT, QByteArray("link"), "t.dat");
    row("rows cut off", tableT, QByteArray("1\t2\n3\t4"), "t.dat");
}

void RestoreTest::damagedBackupsAreRefused()
{
    QFETCH(QByteArray, definition);
    QFETCH(QByteArray, rows);
    QFETCH(QString, file);
    const QTemporaryDir folder;
    put(folder.filePath("good.FRM"), "CREATE TABLE `good` (\n  `a` int\n) ENGINE=InnoDB");
    put(folder.filePath("good.dat"), "");
    for (const auto &[path, bytes] :
         {std::pair{folder.filePath("t.frm"), definition}, {folder.filePath("t.dat"), rows}})
        if (bytes == "link")
            QVERIFY(QFile::link(folder.filePath("good.FRM"), path));
        else if (bytes != "-")
            put(path, bytes);

    ScriptedStage stage;
    stage.script.server = today;
    AgreeingDialogue dialogue;
    dialogue.choice = {{"good", "t"}, folder.path()};
    stage.run(restoreTables, dialogue);
    QCOMPARE(dialogue.questions, 0);
    QCOMPARE(dialogue.told.size(), 1);
    QVERIFY2(dialogue.told[0].contains(folder.filePath(file)), qPrintable(dialogue.told[0]));
    QVERIFY(dialogue.isCritical);
    QCOMPARE(dialogue.lastTip, dialogue.told[0]);
    QCOMPARE(stage.script.sent, QStringList());
}

void RestoreTest::formsOfAllServersAreTaken()
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

QTEST_MAIN(RestoreTest)
#include "test_restore.moc"
