#include "controls/widgetdialogue.h"
#include "controls/windowpump.h"
#include "maintenance/backup.h"
#include "maintenance/tablebatches.h"
#include "stage.h"
#include "support/gui/boxes.h"

#include <QDate>
#include <QLabel>
#include <QSet>
#include <QTimer>

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
    void backupSendsOneStatement_data();
    void backupSendsOneStatement();
    void theWindowLivesThroughManyTables();
};

void BatchTest::commandsSendTheirStatements_data()
{
    QTest::addColumn<Run>("command");
    QTest::addColumn<QString>("phrase");
    QTest::addColumn<L>("sent");
    QTest::addColumn<QString>("closing");
    const QString today = QDate::currentDate().toString("_yy_MM_dd");
    row("check", Run(checkTables), "ﾃｰﾌﾞﾙの検査を行います。", L{"check table `d`.a ", "check table `d`.b c "},
        "問題はありませんでした。");
    row("optimize", Run(optimizeTables), "ﾃｰﾌﾞﾙの最適化を行います。",
        L{"optimize table `d`.a", "optimize table `d`.b c"}, "最適化しました。");
    row("repair", Run(repairTables), "ﾃｰﾌﾞﾙの修復を行います。",
        L{"repair table `d`.a", "repair table `d`.b c"}, "修復しました。");
    row("copy", Run(copyTables), "ﾃｰﾌﾞﾙのﾃﾞｰﾀｺﾋﾟｰを行います。",
        L{"create table `d`.back_a" + today + " select * from `d`.a",
          "create table `d`.back_b c" + today + " select * from `d`.b c"},
        "ﾃｰﾌﾞﾙをｺﾋﾟｰしました。");
}

void BatchTest::commandsSendTheirStatements()
{
    QFETCH(Run, command);
    QFETCH(QString, phrase);
    QFETCH(L, sent);
    QFETCH(QString, closing);
    {
        ScriptedStage all;
        all.selection.tables = L{"[TABLE]\ta", "[ERROR]\tx", "[VIEW]\tb c"};
        all.dialogue.expectConfirm("全" + phrase, Icon::Information, true);
        all.dialogue.expectInform(closing);
        all.run(command);
        QCOMPARE(all.script.sent, sent);
        QCOMPARE(all.dialogue.targets, (L{"a", "b c", "d全ﾃｰﾌﾞﾙ"}));
        QCOMPARE(all.dialogue.progresses, (L{"0/3", "0/3", "1/3", "2/3"}));
        QCOMPARE(all.dialogue.bars, QList<double>{1});
    }
    ScriptedStage one;
    one.selection.tables = L{"[TABLE]\ta", "[VIEW]\tb c"};
    one.selection.table = "[VIEW]\tb c";
    one.selection.lblPreTable = "1";
    one.dialogue.expectConfirm("[VIEW]\tb c" + phrase, Icon::Information, true);
    one.dialogue.expectInform(closing);
    one.run(command);
    QCOMPARE(one.script.sent, L{sent.last()});
    QCOMPARE(one.dialogue.progresses, (L{"0/2", "0/2"}));
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
}

void BatchTest::backupSendsOneStatement_data()
{
    QTest::addColumn<QString>("preTable");
    QTest::addColumn<QString>("subject");
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("statement");
    row("all", "0", "全", "C:\\bk", "backup table `d`.a,`d`.b to 'C:\\\\bk'");
    row("one", "1", "[TABLE]\tb", "/bk 1", "backup table `d`.b to '/bk 1'");
}

void BatchTest::backupSendsOneStatement()
{
    QFETCH(QString, preTable);
    QFETCH(QString, subject);
    QFETCH(QString, folder);
    QFETCH(QString, statement);
    ScriptedStage stage;
    stage.selection.lblPreTable = preTable;
    stage.selection.tables = L{"[TABLE]\ta", "[ERROR]\tx", "[TABLE]\tb"};
    stage.selection.table = "[TABLE]\tb";
    stage.dialogue.expectConfirm(subject + "ﾃｰﾌﾞﾙのﾊﾞｯｸｱｯﾌﾟを行います。", Icon::Information, true);
    stage.dialogue.expectFolder(backupPrompt, folder);
    stage.dialogue.expectInform("「" + folder + "」にﾊﾞｯｸｱｯﾌﾟしました。");
    stage.run(backUpTables);
    QCOMPARE(stage.script.sent, L{statement});
}

void BatchTest::theWindowLivesThroughManyTables()
{
    // The broken view's statement succeeds: what it says stands in its rows, which nobody reads.
    QString tables = "CREATE DATABASE d; USE d; CREATE TABLE gone(i INT);"
                     "CREATE VIEW broken AS SELECT i FROM gone; DROP TABLE gone;";
    for (int i = 0; i < 100; ++i)
        tables += QStringLiteral("CREATE TABLE m%1(i INT) ENGINE=MyISAM;").arg(i);
    const TestServer server;
    server.run(tables);
    WindowPump pump;
    RealStage stage(server, nativeDriverName());
    stage.listTables(server);
    stage.session.gCn = createConnection(server.nativeString(), pump);
    stage.session.gCn->open();
    QWidget window;
    QLabel count(&window), target(&window);
    WidgetDialogue dialogue(&window, {&count, nullptr, &target, nullptr, nullptr, {}});
    window.show();
    Boxes boxes;
    boxes.expectOk("全ﾃｰﾌﾞﾙの修復を行います。");
    boxes.expectOk("修復しました。");

    QSet<QString> counts;
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [&] { counts << count.text() + target.text(); });
    timer.start(1);
    CommandContext context{stage.session, stage.selection, dialogue};
    repairTables(context);
    QVERIFY2(counts.size() > 10, qPrintable(QString::number(counts.size())));
    QCOMPARE(count.text(), "100/101");
    QCOMPARE(target.text(), QString());
}

QTEST_MAIN(BatchTest)
#include "test_batch.moc"
