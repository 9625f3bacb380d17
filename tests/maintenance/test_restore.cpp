#include "controls/drivebox.h"
#include "controls/filebox.h"
#include "controls/folderbox.h"
#include "maintenance/frmRestore.h"
#include "maintenance/restore.h"
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
    row("view without a body", QByteArray("CREATE VIEW `t` AS "), QByteArray(), "t.frm");
    row("view of another name", QByteArray("CREATE VIEW `s` AS select 1 AS `t`"), QByteArray(), "t.frm");
    row("no definition", none, QByteArray(), "t.frm");
    row("no rows", tableT, none, "t.dat");
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
    if (definition != "-")
        put(folder.filePath("t.frm"), definition);
    if (rows != "-")
        put(folder.filePath("t.dat"), rows);

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

QTEST_MAIN(RestoreTest)
#include "test_restore.moc"
