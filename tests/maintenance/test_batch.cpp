#include "maintenance/backup/backup.h"
#include "maintenance/tablebatches.h"
#include "stage.h"

#include <QDate>

namespace {

using L = QStringList;
const QString backupPrompt =
    "保存先のﾌｫﾙﾀﾞを選択して下さい。\r\nデータは上書きされません。事前に削除または、保存先を別けて下さい。";

} // namespace

class BatchTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void commandsSendTheirStatements_data();
    void commandsSendTheirStatements();
    void whatCannotRunSendsNothing_data();
    void whatCannotRunSendsNothing();
    void aFailureEndsTheBatch();
};

void BatchTest::commandsSendTheirStatements_data()
{
    QTest::addColumn<Run>("command");
    QTest::addColumn<QString>("phrase");
    QTest::addColumn<L>("all");
    QTest::addColumn<QString>("one");
    QTest::addColumn<QString>("closing");
    const auto each = [](const char *name, Run command, const char *phrase, const L &all,
                         const char *closing) {
        row(name, command, QString(phrase), all, all.last(), QString(closing));
    };
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
    row("backup, one statement for all", Run(backUpTables), "ﾃｰﾌﾞﾙのﾊﾞｯｸｱｯﾌﾟを行います。",
        L{"backup table `d`.a,`d`.b-c to 'C:\\\\bk'"}, "backup table `d`.b-c to 'C:\\\\bk'",
        "「C:\\bk」にﾊﾞｯｸｱｯﾌﾟしました。");
}

void BatchTest::commandsSendTheirStatements()
{
    QFETCH(Run, command);
    QFETCH(QString, phrase);
    QFETCH(L, all);
    QFETCH(QString, one);
    QFETCH(QString, closing);
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
            QCOMPARE(stage.dialogue.targets,
                     coversAll ? L({"a", "b-c", "d全ﾃｰﾌﾞﾙ"}) : L({"b-c", "d全ﾃｰﾌﾞﾙ"}));
        QCOMPARE(stage.dialogue.progresses, coversAll ? L({"0/3", "0/3", "1/3", "2/3"}) : L({"0/3", "0/3"}));
        QCOMPARE(stage.dialogue.bars, QList<double>{1});
    }
}

void BatchTest::whatCannotRunSendsNothing_data()
{
    QTest::addColumn<Run>("command");
    QTest::addColumn<QString>("preTable");
    QTest::addColumn<L>("tables");
    QTest::addColumn<QString>("question"); // empty: none comes
    QTest::addColumn<QString>("folder");   // "cancel": the question is declined
    QTest::addColumn<QString>("refusal");
    const L one{"[TABLE]\ta"}, errors{"[ERROR]\ta"};
    const QString repair = "ﾃｰﾌﾞﾙの修復を行います。", backup = "全ﾃｰﾌﾞﾙのﾊﾞｯｸｱｯﾌﾟを行います。";
    row("nothing chosen", Run(repairTables), "", one, "", "", "ﾃﾞｰﾀﾍﾞｰｽが選択されていません。");
    row("empty database", Run(repairTables), "0", L{}, "", "", "ﾃｰﾌﾞﾙがありません。");
    row("no table chosen", Run(repairTables), "1", one, repair, "", "一覧で対象が選択されていません。");
    row("declined", Run(backUpTables), "0", one, backup, "cancel", "");
    row("no folder", Run(backUpTables), "0", one, backup, "  ", "");
    row("a backup of errors only", Run(backUpTables), "0", errors, backup, "/bk",
        "プロシージャの呼び出し、または引数が不正です。");
}

void BatchTest::whatCannotRunSendsNothing()
{
    QFETCH(Run, command);
    QFETCH(QString, preTable);
    QFETCH(L, tables);
    QFETCH(QString, question);
    QFETCH(QString, folder);
    QFETCH(QString, refusal);
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

void BatchTest::aFailureEndsTheBatch()
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

    // The user disconnects while the second is at work, and the server answers too fast to be interrupted.
    stage.script.beforeAnswer = [&](const QString &) {
        if (stage.script.sent.size() == 4)
            stage.session.runner.stop();
    };
    stage.dialogue.expectConfirm("全ﾃｰﾌﾞﾙの最適化を行います。", Icon::Information, true);
    stage.dialogue.expectRefuse("処理を中断しました。");
    stage.run(optimizeTables);
    QCOMPARE(stage.script.sent.mid(2), (L{"optimize table `d`.a", "optimize table `d`.b"}));
}

QTEST_APPLESS_MAIN(BatchTest)
#include "test_batch.moc"
