#include "maintenance/routines.h"
#include "maintenance/tablechange/tablechange.h"
#include "stage.h"

namespace {

using L = QStringList;

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

class RoutinesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void textsAreShownAndSent_data();
    void textsAreShownAndSent();
    void everyTextIsTriedBeforeItIsGivenUp_data();
    void everyTextIsTriedBeforeItIsGivenUp();
    void nothingIsDoneWithoutTextOrConsent();
    void aRoutineIsDropped();
};

void RoutinesTest::textsAreShownAndSent_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("statement");
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

void RoutinesTest::textsAreShownAndSent()
{
    QFETCH(QString, kind);
    QFETCH(QString, text);
    QTEST(createRoutineStatement(kind, "d", text), "statement");
    QCOMPARE(shownRoutineText("CREATE `p`\nselect `a`"), "CREATE p\r\nselect a");
}

void RoutinesTest::everyTextIsTriedBeforeItIsGivenUp_data()
{
    QTest::addColumn<Run>("command");
    QTest::addColumn<L>("sent");
    QTest::addColumn<L>("boxes");
    const QString lost = " を確認して下さい。元に戻せていない可能性があります。";
    row("routine", Run(changeRoutine), sentForRoutine, L{question, failed, "ﾙｰﾁﾝ `d`.p" + lost});
    row("view", Run(changeTable), sentForView,
        L{"vﾃｰﾌﾞﾙを変更します。", "ﾃｰﾌﾞﾙの" + failed, "VIEW `d`.v" + lost});
}

void RoutinesTest::everyTextIsTriedBeforeItIsGivenUp()
{
    QFETCH(Run, command);
    QFETCH(L, sent);
    QFETCH(L, boxes);
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

void RoutinesTest::nothingIsDoneWithoutTextOrConsent()
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
    stage.dialogue.expectConfirm(question, Icon::Critical, true);
    stage.dialogue.expectRefuse(failed);
    stage.run(changeRoutine);
    QCOMPARE(stage.script.sent, L{"show create procedure `d`.p;"});
}

void RoutinesTest::aRoutineIsDropped()
{
    ScriptedStage stage;
    const QString dropping = "[FUNC]\t関数を削除します。";
    stage.selection.routine = "[FUNC]\t関数";
    stage.dialogue.expectConfirm(dropping, Icon::Critical, false);
    QCOMPARE(stage.run(dropRoutine).reload, Reload::Nothing);
    stage.dialogue.expectConfirm(dropping, Icon::Critical, true);
    stage.dialogue.expectInform("削除しました。");
    QCOMPARE(stage.run(dropRoutine).reload, Reload::Objects);
    QCOMPARE(stage.script.sent, L{"DROP FUNCTION `d`.関数"});
    stage.selection.routine.clear();
    QVERIFY_THROWS_EXCEPTION(Failure, stage.run(dropRoutine));
}

QTEST_APPLESS_MAIN(RoutinesTest)
#include "test_routines.moc"
