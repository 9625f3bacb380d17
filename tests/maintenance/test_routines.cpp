#include "maintenance/routines.h"
#include "maintenance/tablechange.h"
#include "stage.h"

namespace {

using L = QStringList;

// A routine `p` and a view `v`: what is sent to change them, and what is told.
struct Kind {
    Run command;
    QString show, drop, edited, saved, own, object;
    L backOwn; // what makes the server's own text again
    QString question, failed;
};
const Kind routine{changeRoutine,
                   "show create procedure `d`.p;",
                   "DROP PROCEDURE `d`.p",
                   "CREATE PROCEDURE `d`.p()\nselect 2",
                   "CREATE PROCEDURE `d`.p()\nselect order",
                   "CREATE PROCEDURE `p`()\nselect `order`",
                   "`d`.p",
                   {"use `d`", "CREATE PROCEDURE `p`()\nselect `order`"},
                   "[PROC]\tpを変更します。",
                   "変更に失敗しました。"};
const Kind view{changeTable,
                "show create table `d`.v;",
                "drop view `d`.v",
                " CREATE VIEW d.v AS \r\nselect 2 ",
                "CREATE VIEW d.v AS \r\nselect order",
                "CREATE VIEW `d`.`v` AS select `order`",
                "VIEW `d`.v",
                {"CREATE VIEW `d`.`v` AS select `order`"},
                "vﾃｰﾌﾞﾙを変更します。",
                "ﾃｰﾌﾞﾙの変更に失敗しました。"};

struct ChangeStage : ScriptedStage {
    explicit ChangeStage(const Kind &kind)
    {
        selection.routine = "[PROC]\tp";
        selection.txtProc = " create definer=me procedure p()\r\nselect 2 ";
        selection.lblCreateProc = "CREATE DEFINER=me@% PROCEDURE p()\r\nselect order";
        selection.lblTableName = "v";
        selection.txtField = view.edited;
        selection.lblCreateTable = view.saved;
        script.once(kind.show, &kind == &routine
                                   ? Reply::table({"Procedure", "sql_mode", "Create"}, {{"p", "", kind.own}})
                                   : Reply::table({" View ", "Create View"}, {{"v", kind.own}}));
        dialogue.expectConfirm(kind.question, Icon::Critical, true);
    }
};

struct Failing {
    int at;
    int number = 1105;
};

} // namespace

Q_DECLARE_METATYPE(QList<Failing>)

class RoutinesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void textsAreShownAndSent_data();
    void textsAreShownAndSent();
    void anObjectIsDroppedAndMadeAgain();
    void nothingIsDoneWithoutTextOrConsent();
    void everyFailureIsUndone_data();
    void everyFailureIsUndone();
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

void RoutinesTest::anObjectIsDroppedAndMadeAgain()
{
    for (const Kind *kind : {&routine, &view}) {
        ChangeStage stage(*kind);
        stage.dialogue.expectInform("変更しました。");
        QCOMPARE(stage.run(kind->command).reload, Reload::Objects);
        QCOMPARE(stage.script.sent, (L{kind->show, kind->drop, kind->edited}));
        const bool hasProgress = kind == &view;
        QCOMPARE(stage.dialogue.progresses, hasProgress ? L({"0/3", "1/3", "2/3", "3/3"}) : L());
    }
}

void RoutinesTest::nothingIsDoneWithoutTextOrConsent()
{
    ScriptedStage stage;
    stage.selection.routine = "[PROC]\tp";
    stage.selection.txtProc = "x";
    stage.dialogue.expectConfirm(routine.question, Icon::Critical, false);
    stage.run(changeRoutine);
    stage.selection.txtProc = "  ";
    stage.run(changeRoutine);
    stage.selection.txtProc = "x";
    stage.selection.routine.clear();
    stage.dialogue.expectRefuse(routine.failed);
    stage.run(changeRoutine);
    QCOMPARE(stage.script.sent, L());
}

void RoutinesTest::everyFailureIsUndone_data()
{
    QTest::addColumn<QList<Failing>>("failures");
    QTest::addColumn<bool>("isGone"); // what a new connection finds
    QTest::addColumn<QString>("sent");
    QTest::addColumn<QString>("told"); // the second failure; empty: everything is as it was
    using F = QList<Failing>;
    const QString forward = "show drop edited";
    row("reading", F{{0}}, false, "show", "");
    row("drop", F{{1}}, false, "show drop", "");
    row("new text", F{{2}}, false, forward + " saved", "");
    row("new text, then as shown", F{{2}, {3}}, false, forward + " saved own", "");
    row("all texts", F{{2}, {3}, {-1}}, false, forward + " saved own", "E-1");
    row("saved text, connection lost", F{{2}, {3, 2013}}, false, forward + " saved", "E3");
    row("drop lost, not done", F{{1, 2013}}, false, "show drop use show", "");
    row("drop lost, done", F{{1, 2006}}, true, "show drop use show saved", "");
    row("new text lost, done", F{{2, 2013}}, false, forward + " use show", "");
    row("new text lost, not done", F{{2, 2013}}, true, forward + " use show saved", "");
    row("new text lost, server away", F{{2, 2013}, {3}}, true, forward + " use", "E3");
}

void RoutinesTest::everyFailureIsUndone()
{
    QFETCH(QList<Failing>, failures);
    QFETCH(bool, isGone);
    QFETCH(QString, sent);
    QFETCH(QString, told);
    for (const Kind *kind : {&routine, &view}) {
        if (failures[0].at == 0 && kind == &view)
            return; // a view whose text cannot be read is taken for a table
        ChangeStage stage(*kind);
        stage.script.always(kind->show,
                            isGone ? Reply::failure("gone", 1305) : Reply::failure("invalid view", 1356));
        for (const Failing &failing : failures) {
            const Reply failure = Reply::failure(QStringLiteral("E%1").arg(failing.at), failing.number);
            if (failing.at < 0)
                stage.script.always(kind->own, failure);
            else
                stage.script.failAt(failing.at, failure);
        }
        stage.dialogue.expectRefuse(kind->failed);
        if (!told.isEmpty())
            stage.dialogue.expectRefuse(
                QStringLiteral("%1\n%2 を確認して下さい。元に戻せていない可能性があります。")
                    .arg(told, kind->object));
        QCOMPARE(stage.run(kind->command).reload, Reload::Nothing);
        L expected;
        for (const QString &word : sent.split(' ', Qt::SkipEmptyParts))
            expected += word == u"show"     ? L{kind->show}
                        : word == u"drop"   ? L{kind->drop}
                        : word == u"edited" ? L{kind->edited}
                        : word == u"saved"  ? L{kind->saved}
                        : word == u"own"    ? kind->backOwn
                                            : L{"use `d`"};
        QCOMPARE(stage.script.sent, expected);
        QVERIFY(stage.dialogue.lastError.startsWith(QStringLiteral("E%1").arg(failures[0].at)));
        QCOMPARE(stage.dialogue.lastError.contains(kind->own), !told.isEmpty());
    }
}

void RoutinesTest::aRoutineIsDropped()
{
    ScriptedStage stage;
    const QString question = "[FUNC]\t関数を削除します。";
    stage.selection.routine = "[FUNC]\t関数";
    stage.dialogue.expectConfirm(question, Icon::Critical, false);
    QCOMPARE(stage.run(dropRoutine).reload, Reload::Nothing);
    stage.dialogue.expectConfirm(question, Icon::Critical, true);
    stage.dialogue.expectInform("削除しました。");
    QCOMPARE(stage.run(dropRoutine).reload, Reload::Objects);
    QCOMPARE(stage.script.sent, L{"DROP FUNCTION `d`.関数"});
    stage.selection.routine.clear();
    QVERIFY_THROWS_EXCEPTION(SqlError, stage.run(dropRoutine));
}

QTEST_APPLESS_MAIN(RoutinesTest)
#include "test_routines.moc"
