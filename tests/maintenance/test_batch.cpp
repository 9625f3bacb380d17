#include "batchfixture.h"
#include "maintenance/backup.h"
#include "maintenance/tablebatches.h"

#include <QDate>

using Run = Outcome (*)(CommandContext &);
Q_DECLARE_METATYPE(Run)

namespace {

const QString backupPrompt = QStringLiteral(
    "保存先のﾌｫﾙﾀﾞを選択して下さい。\r\nデータは上書きされません。事前に削除または、保存先を別けて下さい。");

} // namespace

class BatchTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void commandsSendTheirStatements_data();
    void commandsSendTheirStatements();
    void nothingIsSentWithoutConsent_data();
    void nothingIsSentWithoutConsent();
    void aFailureEndsTheBatch();
    void oneTableWithoutSelectionFails();
    void aListOfErrorsSendsNothing();
    void backupSendsOneStatement_data();
    void backupSendsOneStatement();
    void backupWithoutFolderEndsSilently();
    void backupOfErrorsOnlyFails();
};

void BatchTest::commandsSendTheirStatements_data()
{
    QTest::addColumn<Run>("command");
    QTest::addColumn<QString>("phrase");
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("second");
    QTest::addColumn<QString>("closing");
    const QString today = QDate::currentDate().toString("_yy_MM_dd");
    QTest::newRow("check") << Run(checkTables) << "ﾃｰﾌﾞﾙの検査を行います。"
                           << "check table `d`.a "
                           << "check table `d`.b c "
                           << "問題はありませんでした。";
    QTest::newRow("optimize") << Run(optimizeTables) << "ﾃｰﾌﾞﾙの最適化を行います。"
                              << "optimize table `d`.a"
                              << "optimize table `d`.b c"
                              << "最適化しました。";
    QTest::newRow("repair") << Run(repairTables) << "ﾃｰﾌﾞﾙの修復を行います。"
                            << "repair table `d`.a"
                            << "repair table `d`.b c"
                            << "修復しました。";
    QTest::newRow("copy") << Run(copyTables) << "ﾃｰﾌﾞﾙのﾃﾞｰﾀｺﾋﾟｰを行います。"
                          << "create table `d`.back_a" + today + " select * from `d`.a"
                          << "create table `d`.back_b c" + today + " select * from `d`.b c"
                          << "ﾃｰﾌﾞﾙをｺﾋﾟｰしました。";
}

void BatchTest::commandsSendTheirStatements()
{
    QFETCH(Run, command);
    QFETCH(QString, phrase);
    QFETCH(QString, first);
    QFETCH(QString, second);
    QFETCH(QString, closing);
    {
        BatchFixture all;
        all.selection.tables = QStringList{"[TABLE]\ta", "[ERROR]\tx", "[VIEW]\tb c"};
        all.dialogue.expectConfirm("全" + phrase, Icon::Information, true);
        all.dialogue.expectInform(closing);
        all.run(command);
        QCOMPARE(all.script.sent, (QStringList{first, second}));
        QCOMPARE(all.dialogue.targets, (QStringList{"a", "b c", "d全ﾃｰﾌﾞﾙ"}));
        QCOMPARE(all.dialogue.progresses, (QStringList{"0/3", "0/3", "1/3", "2/3"}));
        QCOMPARE(all.dialogue.bars, QList<double>{1});
    }
    BatchFixture one;
    one.selection.tables = QStringList{"[TABLE]\ta", "[VIEW]\tb c"};
    one.selection.table = QStringLiteral("[VIEW]\tb c");
    one.selection.lblPreTable = QStringLiteral("1");
    one.dialogue.expectConfirm("[VIEW]\tb c" + phrase, Icon::Information, true);
    one.dialogue.expectInform(closing);
    one.run(command);
    QCOMPARE(one.script.sent, QStringList{second});
    QCOMPARE(one.dialogue.progresses, (QStringList{"0/2", "0/2"}));
}

void BatchTest::nothingIsSentWithoutConsent_data()
{
    QTest::addColumn<QString>("preTable");
    QTest::addColumn<QStringList>("tables");
    QTest::addColumn<QString>("refusal"); // empty: the user says no
    QTest::newRow("nothing chosen") << "" << QStringList{"[TABLE]\ta"} << "ﾃﾞｰﾀﾍﾞｰｽが選択されていません。";
    QTest::newRow("nothing chosen, no tables") << "" << QStringList() << "ﾃﾞｰﾀﾍﾞｰｽが選択されていません。";
    QTest::newRow("empty database") << "0" << QStringList() << "ﾃｰﾌﾞﾙがありません。";
    QTest::newRow("no tables to choose from") << "1" << QStringList() << "ﾃｰﾌﾞﾙがありません。";
    QTest::newRow("cancelled") << "0" << QStringList{"[TABLE]\ta"} << "";
}

void BatchTest::nothingIsSentWithoutConsent()
{
    QFETCH(QString, preTable);
    QFETCH(QStringList, tables);
    QFETCH(QString, refusal);
    BatchFixture fixture;
    fixture.selection.lblPreTable = preTable;
    fixture.selection.tables = tables;
    if (refusal.isEmpty())
        fixture.dialogue.expectConfirm(QStringLiteral("全ﾃｰﾌﾞﾙの修復を行います。"), Icon::Information, false);
    else
        fixture.dialogue.expectRefuse(refusal);
    fixture.run(repairTables);
    QCOMPARE(fixture.script.sent, QStringList());
    QCOMPARE(fixture.dialogue.target(), QStringLiteral("d全ﾃｰﾌﾞﾙ"));
}

void BatchTest::aFailureEndsTheBatch()
{
    BatchFixture fixture;
    fixture.selection.tables = QStringList{"[TABLE]\ta", "[TABLE]\tb", "[TABLE]\tc"};
    fixture.script.failAt(1, Reply::failure(QStringLiteral("SELECT command denied")));
    fixture.dialogue.expectConfirm(QStringLiteral("全ﾃｰﾌﾞﾙの最適化を行います。"), Icon::Information, true);
    fixture.dialogue.expectRefuse(QStringLiteral("SELECT command denied"));
    fixture.run(optimizeTables);
    QCOMPARE(fixture.script.sent, (QStringList{"optimize table `d`.a", "optimize table `d`.b"}));
    QCOMPARE(fixture.dialogue.target(), QString());
    QCOMPARE(fixture.dialogue.lastError, QStringLiteral("SELECT command denied"));
    QCOMPARE(fixture.dialogue.lastTip, QStringLiteral("SELECT command denied"));
    QCOMPARE(fixture.dialogue.bars, QList<double>{0});
    QCOMPARE(fixture.dialogue.refreshes, 1);
}

void BatchTest::oneTableWithoutSelectionFails()
{
    BatchFixture fixture;
    fixture.selection.tables = QStringList{"[TABLE]\ta"};
    fixture.selection.lblPreTable = QStringLiteral("1");
    fixture.dialogue.expectConfirm(QStringLiteral("ﾃｰﾌﾞﾙの検査を行います。"), Icon::Information, true);
    fixture.dialogue.expectRefuse(QStringLiteral("一覧で対象が選択されていません。"));
    fixture.run(checkTables);
    QCOMPARE(fixture.script.sent, QStringList());
}

void BatchTest::aListOfErrorsSendsNothing()
{
    BatchFixture fixture;
    fixture.selection.tables = QStringList{"[ERROR]\ta"};
    fixture.dialogue.expectConfirm(QStringLiteral("全ﾃｰﾌﾞﾙの検査を行います。"), Icon::Information, true);
    fixture.dialogue.expectInform(QStringLiteral("問題はありませんでした。"));
    fixture.run(checkTables);
    QCOMPARE(fixture.script.sent, QStringList());
}

void BatchTest::backupSendsOneStatement_data()
{
    QTest::addColumn<QString>("preTable");
    QTest::addColumn<QString>("subject");
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("statement");
    QTest::newRow("all") << "0"
                         << "全"
                         << "C:\\bk"
                         << "backup table `d`.a,`d`.b to 'C:\\\\bk'";
    QTest::newRow("one") << "1"
                         << "[TABLE]\tb"
                         << "/bk 1"
                         << "backup table `d`.b to '/bk 1'";
}

void BatchTest::backupSendsOneStatement()
{
    QFETCH(QString, preTable);
    QFETCH(QString, subject);
    QFETCH(QString, folder);
    QFETCH(QString, statement);
    BatchFixture fixture;
    fixture.selection.lblPreTable = preTable;
    fixture.selection.tables = QStringList{"[TABLE]\ta", "[ERROR]\tx", "[TABLE]\tb"};
    fixture.selection.table = QStringLiteral("[TABLE]\tb");
    fixture.dialogue.expectConfirm(subject + "ﾃｰﾌﾞﾙのﾊﾞｯｸｱｯﾌﾟを行います。", Icon::Information, true);
    fixture.dialogue.expectFolder(backupPrompt, folder);
    fixture.dialogue.expectInform("「" + folder + "」にﾊﾞｯｸｱｯﾌﾟしました。");
    fixture.run(backUpTables);
    QCOMPARE(fixture.script.sent, QStringList{statement});
    QCOMPARE(fixture.dialogue.targets, QStringList{"d全ﾃｰﾌﾞﾙ"});
}

void BatchTest::backupWithoutFolderEndsSilently()
{
    for (const QString &folder : {QString(), QStringLiteral("  ")}) {
        BatchFixture fixture;
        fixture.selection.tables = QStringList{"[TABLE]\ta"};
        fixture.dialogue.expectConfirm(QStringLiteral("全ﾃｰﾌﾞﾙのﾊﾞｯｸｱｯﾌﾟを行います。"), Icon::Information,
                                       true);
        fixture.dialogue.expectFolder(backupPrompt, folder);
        fixture.run(backUpTables);
        QCOMPARE(fixture.script.sent, QStringList());
    }
}

void BatchTest::backupOfErrorsOnlyFails()
{
    BatchFixture fixture;
    fixture.selection.tables = QStringList{"[ERROR]\ta"};
    fixture.dialogue.expectConfirm(QStringLiteral("全ﾃｰﾌﾞﾙのﾊﾞｯｸｱｯﾌﾟを行います。"), Icon::Information, true);
    fixture.dialogue.expectFolder(backupPrompt, QStringLiteral("/bk"));
    fixture.dialogue.expectRefuse(QStringLiteral("プロシージャの呼び出し、または引数が不正です。"));
    fixture.run(backUpTables);
    QCOMPARE(fixture.script.sent, QStringList());
}

QTEST_APPLESS_MAIN(BatchTest)
#include "test_batch.moc"
