#include "maintenance/backup/backup.h"
#include "maintenance/createdrop.h"
#include "maintenance/frmCreateDB.h"
#include "maintenance/tablebatches.h"
#include "maintenance/tablechange/tablechange.h"
#include "support/gui/stage.h"

#include <QDate>

namespace {

using L = QStringList;
const QString backupPrompt =
    "保存先のﾌｫﾙﾀﾞを選択して下さい。\r\nデータは上書きされません。事前に削除または、保存先を別けて下さい。";

const QString kindTest = "show create table `d`.t;";
const QString dropTableT = "drop table `d`.t";
const QString dropped = "削除しました。", notDropped = "削除に失敗しました。";

const QString question = "[PROC]\tpを変更します。";
const QString failed = "変更に失敗しました。";
const QString ownRoutine = "CREATE DEFINER=`a`@`b` PROCEDURE `p`()\nselect `order`";
const QString ownView =
    "CREATE ALGORITHM=MERGE DEFINER=`a`@`b` SQL SECURITY INVOKER VIEW `d`.`v` AS select `order`";
const QString losses = "表示している文は、サーバーの定義と同じ意味ではありません。\n"
                       "このまま変更すると、次のものが失われるか、エラーになります。\n\n%1\n\n"
                       "「サーバーの定義」を選ぶと、変更せずに、サーバーの定義をそのまま表示します。";
const QString lossChoices = "サーバーの定義|このまま変更";

// What is tried in order: the way back before anything is done, then the change, then the ways back.
const L sentForRoutine{"CREATE DEFINER=`a`@`b` PROCEDURE `d`.`p`()\nselect `order`", "DROP PROCEDURE `d`.p",
                       "CREATE DEFINER=`a`@`b` PROCEDURE `d`.p()\nselect 2",
                       "CREATE DEFINER=`a`@`b` PROCEDURE `d`.p()\nselect order",
                       "CREATE DEFINER=`a`@`b` PROCEDURE `d`.`p`()\nselect `order`"};
const L sentForView{
    "CREATE ALGORITHM=MERGE DEFINER=`a`@`b` SQL SECURITY INVOKER VIEW `d`.`v` AS select `order`",
    "drop view `d`.v", " CREATE VIEW d.v AS \r\nselect 2 ", "CREATE VIEW d.v AS \r\nselect order",
    "CREATE OR REPLACE ALGORITHM=MERGE DEFINER=`a`@`b` SQL SECURITY INVOKER VIEW `d`.`v` AS "
    "select `order`"};

// A user who changes a routine `p` or a view `v`, of which some statements are refused.
struct ChangeStage : ScriptedStage {
    explicit ChangeStage(const L &refused)
    {
        selection.routine = "[PROC]\tp";
        selection.txtProc = " create definer=me procedure p()\r\nselect 2 ";
        selection.lblCreateProc = "CREATE DEFINER=a@b PROCEDURE p()\r\nselect order";
        selection.lblTableName = "v";
        selection.txtField = sentForView[2];
        selection.lblCreateTable = sentForView[3];
        script.always("show create procedure `d`.p;",
                      Reply::table({"Procedure", "sql_mode", "Create"}, {{"p", "", ownRoutine}}));
        script.always("show create table `d`.v;", Reply::table({" View ", "Create View"}, {{"v", ownView}}));
        script.always("select 0 as v,0 as order", Reply::failure("syntax", 1064));
        script.always("select 0 as p,0 as order", Reply::failure("syntax", 1064));
        script.always("select 0 as order", Reply::failure("syntax", 1064));
        for (const QString &statement : refused)
            script.always(statement, Reply::failure(QStringLiteral("E%1").arg(statement.size())));
    }
    // What changes something.
    L changes() const
    {
        L statements;
        for (const QString &statement : script.sent)
            if (!statement.startsWith("select ") && !statement.startsWith("show ") &&
                !statement.startsWith("set ") && !statement.startsWith("use "))
                statements << statement;
        return statements;
    }
};

} // namespace

// The commands on a scripted server, word for word.
class CommandsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void commandsSendTheirStatements_data();
    void commandsSendTheirStatements();
    void whatCannotRunSendsNothing_data();
    void whatCannotRunSendsNothing();
    void aFailureEndsTheBatch();
    void theServerOrTheUserSaysWhatIsDropped_data();
    void theServerOrTheUserSaysWhatIsDropped();
    void aStopIsNoAnswerToTheKind();
    void cancelDropsNothing();
    void aDatabaseIsDropped();
    void theNameIsTrimmedAndSentUntilTheServerTakesIt();
    void textsAreShownAndSent_data();
    void textsAreShownAndSent();
    void everyTextIsTriedBeforeItIsGivenUp_data();
    void everyTextIsTriedBeforeItIsGivenUp();
    void nothingIsDoneWithoutTextOrConsent();
    void aRoutineIsDropped();
};

void CommandsTest::commandsSendTheirStatements_data()
{
    const Rows<Run, QString, L, QString, QString> row;
    const auto each = [&row](const char *name, Run command, const char *phrase, const L &all,
                             const char *closing) { row(name, command, phrase, all, all.last(), closing); };
    const QString today = QDate::currentDate().toString("_yy_MM_dd");
    each("check", checkTables, "ﾃｰﾌﾞﾙの検査を行います。", {"check table `d`.a ", "check table `d`.b-c "},
         "問題はありませんでした。");
    each("optimize", optimizeTables, "ﾃｰﾌﾞﾙの最適化を行います。",
         {"optimize table `d`.a", "optimize table `d`.b-c"}, "最適化しました。");
    each("repair", repairTables, "ﾃｰﾌﾞﾙの修復を行います。", {"repair table `d`.a", "repair table `d`.b-c"},
         "修復しました。");
    each("copy", copyTables, "ﾃｰﾌﾞﾙのﾃﾞｰﾀｺﾋﾟｰを行います。",
         {"create table `d`.back_a" + today + " select * from `d`.a",
          "create table `d`.back_b-c" + today + " select * from `d`.b-c"},
         "ﾃｰﾌﾞﾙをｺﾋﾟｰしました。");
    row("backup, one statement for all", backUpTables, "ﾃｰﾌﾞﾙのﾊﾞｯｸｱｯﾌﾟを行います。",
        {"backup table `d`.a,`d`.b-c to 'C:\\\\bk'"}, "backup table `d`.b-c to 'C:\\\\bk'",
        "「C:\\bk」にﾊﾞｯｸｱｯﾌﾟしました。");
}

void CommandsTest::commandsSendTheirStatements()
{
    const auto [command, phrase, all, one, closing] = fetched<Run, QString, L, QString, QString>();
    for (const bool coversAll : {true, false}) {
        ScriptedStage stage;
        stage.selection.lblPreTable = coversAll ? "0" : "1";
        stage.selection.tables = L{"[TABLE]\ta", "[ERROR]\tx", "[VIEW]\tb-c"};
        stage.selection.table = "[VIEW]\tb-c";
        stage.dialogue.expectConfirm((coversAll ? "全" : "[VIEW]\tb-c") + phrase, Icon::Information, true);
        if (command == backUpTables)
            stage.dialogue.expectFolder(backupPrompt, "C:\\bk");
        stage.dialogue.expectInform(closing);
        stage.script.always("select @@session.sql_mode", Reply::table({"m"}, {{"NO_ZERO_DATE,STRICT"}}));
        stage.run(command);
        stage.script.sent.removeAll("select @@session.sql_mode");
        L sent = coversAll ? all : L{one};
        if (command == copyTables) {
            sent.prepend("set session sql_mode='STRICT,ALLOW_INVALID_DATES'");
            sent.append("set session sql_mode='NO_ZERO_DATE,STRICT'");
        }
        QCOMPARE(stage.script.sent, sent);
        if (command != backUpTables)
            QCOMPARE(stage.dialogue.targets.mid(1),
                     coversAll ? L({"a", "b-c", "d全ﾃｰﾌﾞﾙ"}) : L({"b-c", "d全ﾃｰﾌﾞﾙ"}));
        QCOMPARE(stage.dialogue.progresses, coversAll ? L({"0/3", "0/3", "1/3", "2/3"}) : L({"0/3", "0/3"}));
        QCOMPARE(stage.dialogue.bars, QList<double>{1});
    }
}

void CommandsTest::whatCannotRunSendsNothing_data()
{
    // An empty question does not come; the folder "cancel" declines it.
    const Rows<Run, QString, L, QString, QString, QString> row;
    const L one{"[TABLE]\ta"}, errors{"[ERROR]\ta"};
    const QString repair = "ﾃｰﾌﾞﾙの修復を行います。", backup = "全ﾃｰﾌﾞﾙのﾊﾞｯｸｱｯﾌﾟを行います。";
    row("nothing chosen", repairTables, "", one, "", "", "ﾃﾞｰﾀﾍﾞｰｽが選択されていません。");
    row("empty database", repairTables, "0", {}, "", "", "ﾃｰﾌﾞﾙがありません。");
    row("no table chosen", repairTables, "1", one, repair, "", "一覧で対象が選択されていません。");
    row("declined", backUpTables, "0", one, backup, "cancel", "");
    row("no folder", backUpTables, "0", one, backup, "  ", "");
    row("a backup of errors only", backUpTables, "0", errors, backup, "/bk",
        "プロシージャの呼び出し、または引数が不正です。");
}

void CommandsTest::whatCannotRunSendsNothing()
{
    const auto [command, preTable, tables, question, folder, refusal] =
        fetched<Run, QString, L, QString, QString, QString>();
    ScriptedStage stage;
    stage.selection.lblPreTable = preTable;
    stage.selection.tables = tables;
    if (!question.isEmpty())
        stage.dialogue.expectConfirm(question, Icon::Information, folder != u"cancel");
    if (!folder.isEmpty() && folder != u"cancel")
        stage.dialogue.expectFolder(backupPrompt, folder);
    if (!refusal.isEmpty())
        stage.dialogue.expectRefuse(refusal);
    stage.run(command);
    QCOMPARE(stage.script.sent, L());
}

void CommandsTest::aFailureEndsTheBatch()
{
    ScriptedStage stage;
    stage.selection.tables = L{"[TABLE]\ta", "[TABLE]\tb", "[TABLE]\tc"};
    stage.script.failAt(1, Reply::failure("SELECT command denied"));
    stage.dialogue.expectConfirm("全ﾃｰﾌﾞﾙの最適化を行います。", Icon::Information, true);
    stage.dialogue.expectRefuse("SELECT command denied");
    stage.run(optimizeTables);
    QCOMPARE(stage.script.sent, (L{"optimize table `d`.a", "optimize table `d`.b"}));
    QCOMPARE(stage.dialogue.target(), QString());
    QCOMPARE(stage.dialogue.lastTip, "SELECT command denied");
    QCOMPARE(stage.dialogue.bars, QList<double>{0});
    QCOMPARE(stage.dialogue.refreshes, 1);

    // The user disconnects while the second or the last is at work, and the server answers too fast to be
    // interrupted.
    for (const qsizetype stopped : {2, 3}) {
        ScriptedStage leaving;
        leaving.selection.tables = stage.selection.tables;
        leaving.script.beforeAnswer = [&](const QString &) {
            if (leaving.script.sent.size() == stopped)
                leaving.session.runner.stop();
        };
        leaving.dialogue.expectFailure("全ﾃｰﾌﾞﾙの最適化を行います。", "処理を中断しました。");
        leaving.run(optimizeTables);
        QCOMPARE(leaving.script.sent.size(), stopped);
    }
}

void CommandsTest::theServerOrTheUserSaysWhatIsDropped_data()
{
    // The row of the kind test: the field's name and the object's; none at all; refused.
    const Rows<L, L, QString, QString> row;
    row("table", {"Table", "t"}, {kindTest, dropTableT}, dropped, "");
    row("view", {" View", "t"}, {kindTest, "drop view `d`.t"}, dropped, "");
    row("a broken view, as the user says", {}, {kindTest, "drop view `d`.t"}, dropped, "");
    row("a table, as the user says", {}, {kindTest, dropTableT}, dropped, "");
    row("something else", {"Sequence", "t"}, {kindTest}, "テーブルまたはＶＩＥＷではありません。", "");
    row("no row: an empty statement", {"Table"}, {kindTest, ""}, notDropped, "Query was empty");
    row("drop refused", {"Table", "refused"}, {kindTest, dropTableT}, notDropped, "foreign key");
}

void CommandsTest::theServerOrTheUserSaysWhatIsDropped()
{
    const auto [row, sent, told, error] = fetched<L, L, QString, QString>();
    ScriptedStage stage;
    stage.selection.lblTableName = "t";
    stage.script.always(kindTest, row.size() < 2 ? Reply::table(row) : Reply::table({row[0]}, {{row[1]}}));
    stage.script.always({}, Reply::failure("Query was empty", 1065));
    if (row.value(1) == u"refused")
        stage.script.always(dropTableT, Reply::failure("foreign key", 1451));
    stage.dialogue.expectConfirm("tﾃｰﾌﾞﾙを削除します。", Icon::Critical, true);
    if (row.isEmpty()) {
        stage.script.always(kindTest, Reply::failure("invalid view", 1356));
        stage.dialogue.expectAsk("削除対象はVIEWですか？", sent.last().startsWith("drop view"));
    }
    stage.dialogue.expectTell(told, told == dropped ? Icon::Information : Icon::Critical);
    QCOMPARE(stage.run(dropTable).reload, told == dropped ? Reload::Objects : Reload::Nothing);
    QCOMPARE(stage.script.sent, sent);
    QCOMPARE(stage.dialogue.lastError, error);
    QCOMPARE(stage.dialogue.lastTip, error);
}

void CommandsTest::aStopIsNoAnswerToTheKind()
{
    ScriptedStage stage;
    stage.selection.lblTableName = "t";
    stage.script.always(kindTest, Reply::failure("Query execution was interrupted", 1317));
    stage.dialogue.expectFailure("tﾃｰﾌﾞﾙを削除します。", notDropped, Icon::Critical);
    stage.run(dropTable);
    QCOMPARE(stage.script.sent, L{kindTest});
}

void CommandsTest::cancelDropsNothing()
{
    ScriptedStage stage;
    stage.selection.lblTableName = "t";
    stage.dialogue.expectConfirm("tﾃｰﾌﾞﾙを削除します。", Icon::Critical, false);
    stage.run(dropTable);
    stage.dialogue.expectConfirm("ﾃﾞｰﾀﾍﾞｰｽ(d)を削除しす。", Icon::Critical, false);
    stage.run(dropDatabase);
    stage.selection.database = "  ";
    stage.dialogue.expectRefuse("ﾃﾞｰﾀﾍﾞｰｽを選択して下さい。");
    stage.run(dropDatabase);
    QCOMPARE(stage.script.sent, L());
}

void CommandsTest::aDatabaseIsDropped()
{
    ScriptedStage stage;
    stage.selection.database = "店 ";
    stage.dialogue.expectConfirm("ﾃﾞｰﾀﾍﾞｰｽ(店 )を削除しす。", Icon::Critical, true);
    QCOMPARE(stage.run(dropDatabase).reload, Reload::Databases);
    QCOMPARE(stage.script.sent, L{"drop database `店`;"});
    stage.script.failAt(1, Reply::failure("Access denied", 1044));
    stage.dialogue.expectConfirm("ﾃﾞｰﾀﾍﾞｰｽ(店 )を削除しす。", Icon::Critical, true);
    QVERIFY_THROWS_EXCEPTION(Failure, stage.run(dropDatabase)); // told by the window
}

void CommandsTest::theNameIsTrimmedAndSentUntilTheServerTakesIt()
{
    ScriptedStage stage;
    stage.script.failAt(0, Reply::failure("database exists", 1007));
    Boxes boxes;
    boxes.expectDialog("frmCreateDB", [&](QDialog &dialog) {
        auto *box = dialog.findChild<QLineEdit *>("txtDatabase");
        for (const char *name : {"  ", "d", " 新しい店 "}) {
            QVERIFY(dialog.isVisible());
            box->setText(QString::fromUtf8(name));
            QTest::keyClick(box, Qt::Key_Return);
            QCOMPARE(box->text(), name);
            QCOMPARE(stage.dialogue.lastError, QString(name == QString("d") ? "database exists" : ""));
        }
        QVERIFY(!dialog.isVisible());
    });
    boxes.expectOk("ﾃﾞｰﾀﾍﾞｰｽ名を入力してください。");
    showCreateDatabase(nullptr, stage.session, stage.dialogue);
    QCOMPARE(stage.script.sent, (L{"create database `d`;", "create database `新しい店`;"}));

    boxes.expectDialog("frmCreateDB", [](QDialog &dialog) {
        dialog.findChild<QLineEdit *>("txtDatabase")->setText("x");
        dialog.findChild<QPushButton *>("cmdCancel")->click();
    });
    showCreateDatabase(nullptr, stage.session, stage.dialogue);
    QCOMPARE(stage.script.sent.size(), 2);
}

void CommandsTest::textsAreShownAndSent_data()
{
    const Rows<QString, QString, QString> row;
    row("procedure", "[PROC]", "CREATE PROCEDURE p() select 1", "CREATE PROCEDURE `d`.p() select 1");
    row("lower case", "[FUNC]", "create function  f() returns int return 1 ",
        "CREATE FUNCTION `d`.f() returns int return 1");
    row("any other tag is a function", "[X]", "Function f()", "CREATE FUNCTION `d`.f()");
    row("first keyword only", "[PROC]", "Procedure a() call procedure b()",
        "CREATE PROCEDURE `d`.a() call procedure b()");
    // Cut at the place that the missing keyword's length gives.
    row("no keyword", "[PROC]", "create p() select 1", "CREATE PROCEDURE `d`.() select 1");
    row("no keyword, short", "[FUNC]", "x", "CREATE FUNCTION `d`.");
}

void CommandsTest::textsAreShownAndSent()
{
    const auto [kind, text, statement] = fetched<QString, QString, QString>();
    QCOMPARE(createRoutineStatement(kind, "d", text), statement);
    QCOMPARE(shownRoutineText("CREATE `p`\nselect `a`"), "CREATE p\r\nselect a");
}

void CommandsTest::everyTextIsTriedBeforeItIsGivenUp_data()
{
    const Rows<Run, L, L> row;
    const QString lost = " を確認して下さい。元に戻せていない可能性があります。";
    row("routine", changeRoutine, sentForRoutine, {question, failed, "ﾙｰﾁﾝ `d`.p" + lost});
    row("view", changeTable, sentForView, {"vﾃｰﾌﾞﾙを変更します。", "ﾃｰﾌﾞﾙの" + failed, "VIEW `d`.v" + lost});
}

void CommandsTest::everyTextIsTriedBeforeItIsGivenUp()
{
    const auto [command, sent, boxes] = fetched<Run, L, L>();
    const auto agree = [&](ChangeStage &stage) {
        stage.dialogue.expectConfirm(boxes[0], Icon::Critical, true);
        stage.dialogue.expectChoice(losses.arg("`order`"), lossChoices, 1);
    };
    ChangeStage stage({sent[2], sent[3]});
    agree(stage);
    // The way back that was tried before now fails.
    stage.script.once(sent[0], Reply::failure("exists", 1050));
    stage.script.always(sent.last(), Reply::failure("E9"));
    stage.dialogue.expectRefuse(boxes[1]);
    stage.dialogue.expectRefuse("E9\n" + boxes[2]);
    QCOMPARE(stage.run(command).reload, Reload::Nothing);
    QCOMPARE(stage.changes(), sent);
    QVERIFY2(stage.dialogue.lastError.contains(sent.last()), qPrintable(stage.dialogue.lastError));

    ChangeStage unmade({}); // what the account may not make again is not dropped
    agree(unmade);
    unmade.script.always(sent[0], Reply::failure("denied", 1142));
    unmade.dialogue.expectRefuse(boxes[1]);
    unmade.run(command);
    QCOMPARE(unmade.changes(), sent.first(1));
}

void CommandsTest::nothingIsDoneWithoutTextOrConsent()
{
    ScriptedStage stage;
    stage.selection.routine = "[PROC]\tp";
    stage.selection.txtProc = "x";
    stage.dialogue.expectConfirm(question, Icon::Critical, false);
    stage.run(changeRoutine);
    stage.selection.txtProc = "  ";
    stage.run(changeRoutine);
    stage.selection.txtProc = "x";
    stage.selection.routine.clear();
    stage.dialogue.expectRefuse(failed);
    stage.run(changeRoutine);
    QCOMPARE(stage.script.sent, L());
    // What this account may not read could not be brought back.
    stage.selection.routine = "[PROC]\tp";
    stage.dialogue.expectFailure(question, failed, Icon::Critical);
    stage.run(changeRoutine);
    QCOMPARE(stage.script.sent, L{"show create procedure `d`.p;"});
}

void CommandsTest::aRoutineIsDropped()
{
    ScriptedStage stage;
    const QString dropping = "[FUNC]\t関数を削除します。";
    stage.selection.routine = "[FUNC]\t関数";
    stage.dialogue.expectConfirm(dropping, Icon::Critical, false);
    QCOMPARE(stage.run(dropRoutine).reload, Reload::Nothing);
    stage.dialogue.expectDone(dropping, "削除しました。", Icon::Critical);
    QCOMPARE(stage.run(dropRoutine).reload, Reload::Objects);
    QCOMPARE(stage.script.sent, L{"DROP FUNCTION `d`.関数"});
    stage.selection.routine.clear();
    QVERIFY_THROWS_EXCEPTION(Failure, stage.run(dropRoutine));
}

QTEST_MAIN(CommandsTest)
#include "test_commands.moc"
