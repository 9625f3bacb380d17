#include "maintenance/backup/scriptbackup.h"
#include "stage.h"
#include "support/lockedfolder.h"

#include <csignal>
#include <optional>
#include <sys/resource.h>

namespace {

const QString prompt = "ｸﾘｴｲﾄScriptの保存先のﾌｫﾙﾀﾞを選択して下さい。";

Reply routine(const std::optional<QString> &text)
{
    return Reply::table({"Procedure", "sql_mode", "Create Procedure"}, {{"p", "", text}});
}

} // namespace

class ScriptBackupTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void writesOneFilePerObject();
    void objectsWithoutTextRepeatTheOneBefore();
    void failuresEndTheRun_data();
    void failuresEndTheRun();
    void nothingChosenEndsEarly();
};

void ScriptBackupTest::writesOneFilePerObject()
{
    const QTemporaryDir folder;
    const QString path = folder.path() + '/';
    put(path + "表.table", "an older one");
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
    QCOMPARE(bytesOf(path + "表.table"), QByteArray("CREATE TABLE 表 (\r\n  a int\r\n)\r\n"));
    QCOMPARE(bytesOf(path + "v.view"), QByteArray("CREATE VIEW v AS \r\nselect 1 \r\n from t\r\n"));
    QCOMPARE(bytesOf(path + "p.proc"), QByteArray("CREATE PROCEDURE p()\r\nselect '日本'\r\n"));
    QCOMPARE(bytesOf(path + "p.func"), QByteArray("CREATE FUNCTION p()\r\n"));
    QCOMPARE(filesIn(path).size(), 4);
    QCOMPARE(stage.dialogue.progresses, (QStringList{"0/5", "1/5", "2/5", "3/5", "4/5", "5/5"}));
    QCOMPARE(stage.dialogue.bars, QList<double>{1});
}

void ScriptBackupTest::objectsWithoutTextRepeatTheOneBefore()
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
    QCOMPARE(bytesOf(path + "a."), QByteArray("\r\n"));
    QCOMPARE(bytesOf(path + "c.table"), QByteArray("B\r\n"));
    QCOMPARE(bytesOf(path + "q.proc"), QByteArray("P\r\n"));
    QCOMPARE(filesIn(path).size(), 5); // none for "early" and "f"
    QCOMPARE(stage.script.sent.count("show create procedure `d`.p;"), 2);
}

void ScriptBackupTest::failuresEndTheRun_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("words");
    row("refused", "bad", "", "Access denied");
    row("slash in the name", "../b", "", "`d`.../b");
    row("no such folder", "b", "/gone", "/gone/a.table");
    row("a link to somewhere else", "link", "", "link.table");
    row("a full disk", "long", "", "File too large");
    row("a folder without rights", "b", "/", "Permission denied");
}

void ScriptBackupTest::failuresEndTheRun()
{
    QFETCH(QString, name);
    QFETCH(QString, folder);
    QFETCH(QString, words);
    const QTemporaryDir parent;
    QVERIFY(QDir(parent.path()).mkdir("s"));
    const QString path = parent.path() + "/s" + folder;
    put(parent.path() + "/s/long.table", "an older one");
    QVERIFY(QFile::link(parent.path() + "/elsewhere", parent.path() + "/s/link.table"));
    ScriptedStage stage;
    stage.selection.tables = QStringList{"[TABLE]\ta", "[TABLE]\t" + name, "[TABLE]\tlast"};
    for (const QString &table : {QString("a"), name, QString("last")})
        stage.script.always("show create table `d`." + table + ";",
                            Reply::table({"Table", "Create Table"}, {{table, QString("T")}}));
    stage.script.always("show create table `d`.long;",
                        Reply::table({"Table", "Create Table"}, {{name, QString(100000, 'T')}}));
    stage.script.always("show create table `d`.bad;", Reply::failure("Access denied"));
    AgreeingDialogue dialogue;
    dialogue.choice.folder = path;

    std::optional<LockedFolder> locked;
    if (folder == u"/")
        locked.emplace(path);
    ::signal(SIGXFSZ, SIG_IGN);
    rlimit old{};
    getrlimit(RLIMIT_FSIZE, &old);
    const rlimit small{50000, old.rlim_max}; // the long file is cut in the middle
    setrlimit(RLIMIT_FSIZE, &small);
    stage.run(backUpScripts, dialogue);
    setrlimit(RLIMIT_FSIZE, &old);
    locked.reset();

    QCOMPARE(dialogue.told.size(), 1);
    QVERIFY2(dialogue.isCritical && dialogue.told[0].contains(words), qPrintable(dialogue.told[0]));
    QCOMPARE(dialogue.lastTip, dialogue.told[0]);
    QCOMPARE(dialogue.bars, QList<double>{0});
    QCOMPARE(filesIn(parent.path()), QStringList());
    QCOMPARE(filesIn(parent.path() + "/s").join(' '), folder.isEmpty() ? "a.table long.table" : "long.table");
    QCOMPARE(bytesOf(parent.path() + "/s/long.table"), QByteArray("an older one"));
}

void ScriptBackupTest::nothingChosenEndsEarly()
{
    ScriptedStage stage;
    stage.dialogue.expectFolder(prompt, QString());
    stage.run(backUpScripts);
    stage.selection.lblPreTable.clear();
    stage.dialogue.expectRefuse("ﾃﾞｰﾀﾍﾞｰｽが選択されていません。");
    stage.run(backUpScripts);
    QCOMPARE(stage.dialogue.progresses, QStringList());
}

QTEST_APPLESS_MAIN(ScriptBackupTest)
#include "test_scriptbackup.moc"
