#include "maintenance/routines.h"
#include "maintenance/tablechange.h"
#include "stage.h"

namespace {

using L = QStringList;

const QString question = "[PROC]\tpを変更します。";
const QString failed = "変更に失敗しました。";
const QString ownRoutine = "CREATE PROCEDURE `p`()\nselect `order`";
const QString ownView = "CREATE VIEW `d`.`v` AS select `order`";
const L sentForRoutine{"show create procedure `d`.p;",
                       "DROP PROCEDURE `d`.p",
                       "CREATE PROCEDURE `d`.p()\nselect 2",
                       "CREATE PROCEDURE `d`.p()\nselect order",
                       "use `d`", // the server's own text does not name the database
                       ownRoutine};
const L sentForView{"show create table `d`.v;",
                    "drop view `d`.v",
                    " CREATE VIEW d.v AS \r\nselect 2 ",
                    "CREATE VIEW d.v AS \r\nselect order",
                    "use `d`",
                    ownView};

// A user who changes a routine `p` or a view `v`, of which some statements are refused.
struct ChangeStage : ScriptedStage {
    explicit ChangeStage(const QList<int> &refused)
    {
        selection.routine = "[PROC]\tp";
        selection.txtProc = " create definer=me procedure p()\r\nselect 2 ";
        selection.lblCreateProc = "CREATE PROCEDURE p()\r\nselect order";
        selection.lblTableName = "v";
        selection.txtField = sentForView[2];
        selection.lblCreateTable = sentForView[3];
        script.always(sentForRoutine[0],
                      Reply::table({"Procedure", "sql_mode", "Create"}, {{"p", "", ownRoutine}}));
        script.always(sentForView[0], Reply::table({" View ", "Create View"}, {{"v", ownView}}));
        for (const int at : refused)
            script.failAt(at, Reply::failure(QStringLiteral("E%1").arg(at)));
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
    row("routine", Run(changeRoutine), sentForRoutine, L{question, failed, "E5\nﾙｰﾁﾝ `d`.p" + lost});
    row("view", Run(changeTable), sentForView,
        L{"vﾃｰﾌﾞﾙを変更します。", "ﾃｰﾌﾞﾙの" + failed, "E5\nVIEW `d`.v" + lost});
}

void RoutinesTest::everyTextIsTriedBeforeItIsGivenUp()
{
    QFETCH(Run, command);
    QFETCH(L, sent);
    QFETCH(L, boxes);
    const int last = static_cast<int>(sent.size()) - 1;
    ChangeStage stage({2, 3, last});
    stage.dialogue.expectConfirm(boxes[0], Icon::Critical, true);
    stage.dialogue.expectRefuse(boxes[1]);
    stage.dialogue.expectRefuse(boxes[2]);
    QCOMPARE(stage.run(command).reload, Reload::Nothing);
    QCOMPARE(stage.script.sent, sent);
    QVERIFY(stage.dialogue.lastError.startsWith("E2") && stage.dialogue.lastError.contains(sent.last()));

    ChangeStage stale({}); // somebody has changed it
    stale.selection.lblCreateProc += " 2";
    stale.selection.routine = "[PROC]\tp";
    stale.dialogue.expectConfirm(question, Icon::Critical, true);
    stale.dialogue.expectRefuse(failed);
    stale.run(changeRoutine);
    QCOMPARE(stale.script.sent, L{sentForRoutine[0]});

    ChangeStage keeping({1}); // a drop that is refused
    keeping.dialogue.expectConfirm(boxes[0], Icon::Critical, true);
    keeping.dialogue.expectRefuse(boxes[1]);
    keeping.run(command);
    QCOMPARE(keeping.script.sent, sent.first(2));

    ChangeStage changing({});
    changing.dialogue.expectConfirm(boxes[0], Icon::Critical, true);
    changing.dialogue.expectInform("変更しました。");
    QCOMPARE(changing.run(command).reload, Reload::Objects);
    QCOMPARE(changing.script.sent, sent.first(3));
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
    QCOMPARE(stage.script.sent, L{sentForRoutine[0]});
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
    QVERIFY_THROWS_EXCEPTION(SqlError, stage.run(dropRoutine));
}

QTEST_APPLESS_MAIN(RoutinesTest)
#include "test_routines.moc"
