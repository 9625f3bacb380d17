#include "maintenance/tablechange.h"
#include "maintenance/tablechangetext.h"
#include "stage.h"

#include <QRegularExpression>

namespace {

using L = QStringList;
const QString shown = "CREATE TABLE t (\r\n  a int,\r\n  b int\r\n)";
const QString serverText = "CREATE TABLE `t` (\n  `a` int,\n  `b` int\n)";
const QString kindTest = "show create table `d`.t;";

// What goes to the server, in short names; COPY stands for the copy's name.
const QString settings = "select @@session.sql_mode, @@session.sql_select_limit";
const QString triggers = "show triggers from `d`;";
const QString copy = "create table COPY select * from `d`.t";
const QString dropOld = "drop table `d`.t";
const QString create = "CREATE TABLE  `d`.t (b bigint, a int)";
const QString fields = "show full fields from `d`.t;";
const QString fill = "insert into `d`.t(b,a\r\n) select b,a\r\n from COPY";
const QString dropCopy = "drop table COPY";
const QString useIt = "use `d`";
const QString dropNew = "drop table t";
const QString again = "CREATE TABLE  `d`.t (\r\n  a int,\r\n  b int\r\n)";
const QString againOwn = "CREATE TABLE  `d`.`t` (\n  `a` int,\n  `b` int\n)";
const QString fillBack = "insert into `d`.t select * from COPY";
const QString copyExists = "show create table COPY;";

const L forward{kindTest, settings, triggers, copy, dropOld, create, fields, fill, dropCopy};

// Places in it.
enum Sent { Kind, Settings, Triggers, Copy, DropOld, Create, Fields, Fill, DropCopy };

const QString question = "tﾃｰﾌﾞﾙを変更します。";
const QString changed = "変更しました。";
const QString failed = "ﾃｰﾌﾞﾙの変更に失敗しました。";
const QString inCopy = "ﾃｰﾌﾞﾙ `d`.t を元に戻せませんでした。ﾃﾞｰﾀはｺﾋﾟｰ COPY にあります。";
const QString inOld = "ﾃﾞｰﾀはﾃｰﾌﾞﾙ `d`.t にあります。";
const QString isDone = "ﾃｰﾌﾞﾙの変更は済んでいます。ﾃﾞｰﾀはﾃｰﾌﾞﾙ `d`.t にあります。";
const QString mayRemain = "ｺﾋﾟｰ COPY が残っていれば、確認のうえ削除して下さい。";

L boxes(const QString &first, const QString &second)
{
    return second.isEmpty() ? L{first} : L{first, second};
}

struct TableStage : ScriptedStage {
    TableStage()
    {
        selection.lblTableName = "t";
        selection.lblCreateTable = shown;
        selection.txtField = "CREATE TABLE t (b bigint, a int)";
        session.gOldFields = {{}, {" a", {}, {}, {}, {}, {}, {}}, {" b", {}, {}, {}, {}, {}, {}}};
        script.always(kindTest, Reply::table({"Table", "Create Table"}, {{"t", serverText}}));
        script.always(fields, Reply::table({"Field", "Type", "Null", "Key", "Default", "Extra", "Privileges"},
                                           {{"b", "bigint", "YES", "", std::nullopt, "", "x"},
                                            {"a", "int", "YES", "", std::nullopt, "", "x"}}));
    }
    // Of a user who agrees: the boxes that ended the change.
    L change()
    {
        run(changeTable, user);
        return inShort(user.told);
    }
    L sent() const { return inShort(script.sent); }
    QString lastError() const { return inShort({user.lastError})[0]; }
    // The copy's name holds the minute.
    static L inShort(L texts)
    {
        return texts.replaceInStrings(QRegularExpression("`d`\\.t_\\d{12}zolt"), "COPY");
    }

    AgreeingDialogue user;
};

} // namespace

class TableChangeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theNameIsTakenFromTheText_data();
    void theNameIsTakenFromTheText();
    void theCopyBearsTheMinute();
    void aDefaultThatIsAnExpressionIsNoGeneratedColumn();
    void aTableIsRebuiltInOrder();
    void withoutTextNameOrConsentNothingIsChanged();
    void everyFailureIsUndone_data();
    void everyFailureIsUndone();
    void anUndoingThatIsStoppedIsTriedAgain();
    void whatIsMissingAfterALostAnswerIsSaid_data();
    void whatIsMissingAfterALostAnswerIsSaid();
    void anUnknownKindIsNotUndone();
    void triggersThatCannotBeMadeAgainAreSaid();
};

void TableChangeTest::theNameIsTakenFromTheText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("name");
    row("any letter case, blanks around", "  create  Table   受注 (a int)  ", "受注");
    row("backticks as written", "CREATE TABLE `t`(a int)", "`t`");
    row("no blank before the parenthesis", "CREATE TABLE t(a int)", "t");
    row("a word TABLE before CREATE", "/* table */ CREATE TABLE t (a int)", "t");
    row("no CREATE", "TABLE t (a int)", "");
    row("no parenthesis", "CREATE TABLE t", "");
    row("no name", "CREATE TABLE (a int)", "");
    row("CREATE and TABLE too close", "CREATETABLE t (a int)", "t");
}

void TableChangeTest::theNameIsTakenFromTheText()
{
    QFETCH(QString, text);
    QTEST(fField_select(text), "name");
}

void TableChangeTest::theCopyBearsTheMinute()
{
    QCOMPARE(copyName("shop", "orders", QDateTime({2024, 3, 3}, {9, 5, 59})),
             "`shop`.orders_202403030905zolt");
}

// Its values have to be copied; servers that call it so are not among those of the tests.
void TableChangeTest::aDefaultThatIsAnExpressionIsNoGeneratedColumn()
{
    QVERIFY(!isGenerated("DEFAULT_GENERATED on update CURRENT_TIMESTAMP"));
    for (const char *extra : {"VIRTUAL GENERATED", "STORED GENERATED", "PERSISTENT"})
        QVERIFY2(isGenerated(extra), extra);
}

void TableChangeTest::aTableIsRebuiltInOrder()
{
    for (const bool hasCommonColumns : {true, false}) {
        TableStage stage;
        L wanted = forward;
        if (!hasCommonColumns) {
            stage.script.always(fields, Reply::table({"Field", "Extra"}, {{"c", ""}}));
            wanted.removeOne(fill);
        }
        stage.dialogue.expectConfirm(question, Icon::Critical, true);
        stage.dialogue.expectInform(changed);
        QCOMPARE(stage.run(changeTable).reload, Reload::Objects);
        QCOMPARE(stage.sent(), wanted);
        QCOMPARE(stage.dialogue.progresses, (L{"0/5", "1/5", "2/5", "3/5", "4/5", "5/5"}));
        QCOMPARE(stage.dialogue.bars, QList<double>{1});
    }
}

void TableChangeTest::withoutTextNameOrConsentNothingIsChanged()
{
    TableStage stage;
    stage.dialogue.expectConfirm(question, Icon::Critical, false);
    stage.run(changeTable);
    stage.selection.txtField = "   ";
    stage.dialogue.expectInform("ﾃｰﾌﾞﾙを選択して下さい。");
    stage.run(changeTable);
    QCOMPARE(stage.sent(), L());
    stage.selection.txtField = "CREATE TABLE t";
    QCOMPARE(stage.change(), L{"ﾃｰﾌﾞﾙ名が見つかりません。"});
    QVERIFY(
        isAsShown("CREATE TABLE `t` (\n) AUTO_INCREMENT=7 x", "CREATE TABLE t (\r\n) AUTO_INCREMENT=5 x"));
    stage.selection.lblCreateTable = "CREATE TABLE t (\r\n  a int\r\n)"; // somebody has added b
    stage.selection.txtField = "CREATE TABLE t (a bigint)";
    QCOMPARE(stage.change().last(),
             "ﾃｰﾌﾞﾙの定義は表示した後に変更されています。一覧から選択し直して下さい。");
    stage.selection.txtField = "Create or replace temporary table t (a int)";
    QCOMPARE(stage.change().last(), "一時ﾃｰﾌﾞﾙには変更できません。");
    QCOMPARE(stage.sent(), (L{kindTest, kindTest, kindTest}));
}

void TableChangeTest::everyFailureIsUndone_data()
{
    QTest::addColumn<QList<int>>("breaks"); // by their place among all that is sent
    QTest::addColumn<L>("undoing");
    QTest::addColumn<QString>("report");
    using B = QList<int>;
    row("kind test", B{Kind}, L{"drop table "}, "");
    row("triggers", B{Triggers}, L{}, "");
    row("copy", B{Copy}, L{}, "");
    row("drop", B{DropOld}, L{dropCopy}, "");
    row("drop, then the copy's", B{DropOld, DropOld + 1}, L{dropCopy}, "E2\n" + inOld + mayRemain);
    row("create", B{Create}, L{again, fillBack, dropCopy}, "");
    row("create, then as shown", B{Create, Create + 1}, L{again, againOwn, fillBack, dropCopy}, "");
    row("create, then neither text", B{Create, Create + 1, Create + 2}, L{again, againOwn}, "E3\n" + inCopy);
    row("create, then filling back", B{Create, Create + 2}, L{again, fillBack}, "E2\n" + inCopy);
    row("create, then the copy's drop", B{Create, Create + 3}, L{again, fillBack, dropCopy},
        "E2\n" + inOld + mayRemain);
    row("columns", B{Fields}, L{useIt, dropNew, again, fillBack, dropCopy}, "");
    row("fill", B{Fill}, L{useIt, dropNew, again, fillBack, dropCopy}, "");
    row("fill, then use", B{Fill, Fill + 1}, L{useIt}, "E2\n" + inCopy);
    row("fill, then the drop", B{Fill, Fill + 2}, L{useIt, dropNew}, "E2\n" + inCopy);
    row("the copy's drop", B{DropCopy}, L{dropCopy}, isDone);
    row("the copy's drop, twice", B{DropCopy, DropCopy + 1}, L{dropCopy}, "E2\n" + isDone + mayRemain);
}

void TableChangeTest::everyFailureIsUndone()
{
    QFETCH(QList<int>, breaks);
    QFETCH(L, undoing);
    QFETCH(QString, report);
    TableStage stage;
    for (qsizetype i = 0; i < breaks.size(); ++i)
        stage.script.failAt(breaks[i], Reply::failure(QStringLiteral("E%1").arg(i + 1)));
    QCOMPARE(stage.change(), boxes(failed, report));
    QVERIFY(stage.user.isCritical);
    QCOMPARE(stage.sent(), forward.mid(0, breaks.first() + 1) + undoing);
    QVERIFY(stage.lastError().startsWith("E1"));
    QVERIFY(stage.lastError().contains(report));
    QCOMPARE(stage.user.lastTip, stage.user.lastError);
    if (report.contains(inCopy))
        QVERIFY(stage.lastError().contains(serverText));
    QCOMPARE(stage.user.bars, QList<double>{0});
    QVERIFY(stage.script.connectionStrings.isEmpty());
}

void TableChangeTest::anUndoingThatIsStoppedIsTriedAgain()
{
    TableStage stage;
    stage.script.failAt(Create, Reply::failure("E"));
    stage.script.failAt(Create + 2, Reply::failure("stopped", 1317));
    QCOMPARE(stage.change(), L{failed});
    QCOMPARE(stage.sent().mid(Create + 1),
             (L{again, fillBack, kindTest, copyExists, useIt, dropNew, again, fillBack, dropCopy}));
}

// Someone else was there in the meantime.
void TableChangeTest::whatIsMissingAfterALostAnswerIsSaid_data()
{
    QTest::addColumn<int>("at");
    QTest::addColumn<L>("gone"); // show statements that find nothing after the loss
    QTest::addColumn<QString>("report");
    const QString bothGone = "ﾃｰﾌﾞﾙ `d`.t もｺﾋﾟｰ COPY も見つかりません。";
    row("drop, both gone", int(DropOld), L{kindTest, copyExists}, bothGone);
    row("fill, copy gone", int(Fill), L{copyExists}, bothGone);
    row("the copy's drop, new table gone", int(DropCopy), L{kindTest}, inCopy);
}

void TableChangeTest::whatIsMissingAfterALostAnswerIsSaid()
{
    QFETCH(int, at);
    QFETCH(L, gone);
    QFETCH(QString, report);
    TableStage stage;
    stage.script.failAt(at, Reply::failure("lost", 2013));
    stage.script.beforeAnswer = [&](const QString &statement) {
        if (stage.script.sent.size() > at + 1 && gone.contains(TableStage::inShort({statement})[0]))
            stage.script.once(statement, Reply::failure("gone", 1146));
    };
    const QString missing = "再接続後の確認で、あるはずのﾃｰﾌﾞﾙが見つかりませんでした。\n";
    QCOMPARE(stage.change(), (L{failed, missing + report}));
    QCOMPARE(stage.sent().mid(at + 1, 3), (L{useIt, kindTest, copyExists}));
    QVERIFY(!stage.sent().mid(at + 1).join(u';').contains("drop"));
    QVERIFY(stage.lastError().startsWith("lost") && stage.lastError().contains(serverText));
}

void TableChangeTest::anUnknownKindIsNotUndone()
{
    TableStage stage;
    stage.script.always(kindTest, Reply::table({"Sequence", "Create"}, {{"t", serverText}}));
    stage.script.failAt(Create, Reply::failure("E4"));
    QCOMPARE(stage.change(), (L{failed, inCopy}));
    QCOMPARE(stage.sent(), forward.mid(0, Create + 1));
}

void TableChangeTest::triggersThatCannotBeMadeAgainAreSaid()
{
    const QString trigger = "create definer=`a@b`@`%` trigger `d`.`x-y` BEFORE INSERT on `d`.t for "
                            "each row set NEW.a=1";
    for (const bool isRefused : {false, true}) {
        TableStage stage;
        stage.script.always(
            triggers,
            Reply::table({"Trigger", "Event", "Table", "Statement", "Timing", "sql_mode", "Definer"},
                         {{"other", "INSERT", "t2", "set @x=1", "AFTER", "", "a@b@%"},
                          {"x-y", "INSERT", "t", "set NEW.a=1", "BEFORE", "ANSI", "a@b@%"}}));
        stage.script.always(settings, Reply::table({"m", "l"}, {{"STRICT", "18446744073709551615"}}));
        stage.script.always(trigger, Reply::failure("no right"));
        if (isRefused)
            stage.script.failAt(Create, Reply::failure("E"));
        QCOMPARE(stage.change(), (L{isRefused ? failed : changed, "次のﾄﾘｶﾞｰを作り直せませんでした: x-y"}));
        QCOMPARE(
            stage.sent().mid(stage.sent().indexOf(trigger) - 3),
            (L{dropCopy, settings, "set session sql_mode='ANSI'", trigger, "set session sql_mode='STRICT'"}));
        QVERIFY(stage.lastError().contains("no right\n" + trigger));
    }
}

QTEST_APPLESS_MAIN(TableChangeTest)
#include "test_tablechange.moc"
