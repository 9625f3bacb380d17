#include "maintenance/tablechange.h"
#include "maintenance/tablechangetext.h"
#include "stage.h"

namespace {

using L = QStringList;
const QString crLf = "\r\n";

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
const QString countNew = "select count(*) from `d`.t";
const QString countCopy = "select count(*) from COPY";
const QString copyExists = "show create table COPY;";

const L forward{kindTest, settings, triggers, copy, dropOld, create, fields, fill, dropCopy};

// Places in it.
enum Sent { Kind, Settings, Triggers, Copy, DropOld, Create, Fields, Fill, DropCopy };

const QString inCopy = "ﾃｰﾌﾞﾙ `d`.t を元に戻せませんでした。ﾃﾞｰﾀはｺﾋﾟｰ COPY にあります。";
const QString inOld = "ﾃﾞｰﾀはﾃｰﾌﾞﾙ `d`.t にあります。";
const QString isDone = "ﾃｰﾌﾞﾙの変更は済んでいます。ﾃﾞｰﾀはﾃｰﾌﾞﾙ `d`.t にあります。";
const QString mayRemain = "ｺﾋﾟｰ COPY が残っていれば、確認のうえ削除して下さい。";

// The copy's name holds the minute: a test that expects it does not start at the end of one.
QString copyOfT()
{
    if (QTime::currentTime().second() > 56)
        QTest::qSleep(4000);
    return copyName("d", "t", QDateTime::currentDateTime());
}

struct TableStage : ScriptedStage {
    TableStage()
        : copyTable(copyOfT())
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
    void expectFailure(QString report)
    {
        dialogue.expectConfirm("tﾃｰﾌﾞﾙを変更します。", Icon::Critical, true);
        dialogue.expectRefuse("ﾃｰﾌﾞﾙの変更に失敗しました。");
        if (!report.isEmpty())
            dialogue.expectRefuse(report.replace("COPY", copyTable));
    }
    L sent() const { return L(script.sent).replaceInStrings(copyTable, "COPY"); }

    QString copyTable;
};

// Answers that break a change, by their place among all that is sent.
struct Break {
    int at;
    int number = 1105;
};

} // namespace

Q_DECLARE_METATYPE(QList<Break>)

class TableChangeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aTableIsRebuiltInOrder();
    void withoutTextNameOrConsentNothingIsChanged();
    void withoutCommonColumnsNothingIsFilled();
    void everyFailureIsUndone_data();
    void everyFailureIsUndone();
    void aLostAnswerIsReadBack_data();
    void aLostAnswerIsReadBack();
    void anUnknownKindIsNotUndone();
    void triggersFollowTheRows_data();
    void triggersFollowTheRows();
};

void TableChangeTest::aTableIsRebuiltInOrder()
{
    TableStage stage;
    stage.dialogue.expectConfirm("tﾃｰﾌﾞﾙを変更します。", Icon::Critical, true);
    stage.dialogue.expectInform("変更しました。");
    QCOMPARE(stage.run(changeTable).reload, Reload::Objects);
    QCOMPARE(stage.sent(), forward);
    QCOMPARE(stage.dialogue.progresses, (L{"0/5", "1/5", "2/5", "3/5", "4/5", "5/5"}));
    QCOMPARE(stage.dialogue.bars, QList<double>{1});
}

void TableChangeTest::withoutTextNameOrConsentNothingIsChanged()
{
    TableStage stage;
    const QString question = "tﾃｰﾌﾞﾙを変更します。";
    stage.dialogue.expectConfirm(question, Icon::Critical, false);
    stage.run(changeTable);
    stage.selection.txtField = "   ";
    stage.dialogue.expectInform("ﾃｰﾌﾞﾙを選択して下さい。");
    stage.run(changeTable);
    QCOMPARE(stage.sent(), L());
    stage.selection.txtField = "CREATE TABLE t";
    stage.dialogue.expectConfirm(question, Icon::Critical, true);
    stage.dialogue.expectRefuse("ﾃｰﾌﾞﾙ名が見つかりません。");
    stage.run(changeTable);
    QCOMPARE(stage.sent(), L{kindTest});
}

void TableChangeTest::withoutCommonColumnsNothingIsFilled()
{
    TableStage stage;
    stage.script.always(fields, Reply::table({"Field", "Extra"}, {{"c", ""}}));
    stage.dialogue.expectConfirm("tﾃｰﾌﾞﾙを変更します。", Icon::Critical, true);
    stage.dialogue.expectInform("変更しました。");
    stage.run(changeTable);
    QCOMPARE(stage.sent(), (L{kindTest, settings, triggers, copy, dropOld, create, fields, dropCopy}));
}

void TableChangeTest::everyFailureIsUndone_data()
{
    QTest::addColumn<QList<Break>>("breaks");
    QTest::addColumn<L>("undoing");
    QTest::addColumn<QString>("report");
    using B = QList<Break>;
    row("kind test", B{{Kind}}, L{"drop table "}, "");
    row("triggers", B{{Triggers}}, L{}, "");
    row("copy", B{{Copy}}, L{}, "");
    row("drop", B{{DropOld}}, L{dropCopy}, "");
    row("drop, then the copy's", B{{DropOld}, {DropOld + 1}}, L{dropCopy}, "E2\n" + inOld + mayRemain);
    row("create", B{{Create}}, L{again, fillBack, dropCopy}, "");
    row("create, then as shown", B{{Create}, {Create + 1}}, L{again, againOwn, fillBack, dropCopy}, "");
    row("create, then neither text", B{{Create}, {Create + 1}, {Create + 2}}, L{again, againOwn},
        "E3\n" + inCopy);
    row("create, then filling back", B{{Create}, {Create + 2}}, L{again, fillBack}, "E2\n" + inCopy);
    row("create, then the copy's drop", B{{Create}, {Create + 3}}, L{again, fillBack, dropCopy},
        "E2\n" + inOld + mayRemain);
    row("create, then the connection", B{{Create}, {Create + 1, 2013}}, L{again}, "E2\n" + inCopy);
    row("columns", B{{Fields}}, L{useIt, dropNew, again, fillBack, dropCopy}, "");
    row("fill", B{{Fill}}, L{useIt, dropNew, again, fillBack, dropCopy}, "");
    row("fill, then use", B{{Fill}, {Fill + 1}}, L{useIt}, "E2\n" + inCopy);
    row("fill, then the drop", B{{Fill}, {Fill + 2}}, L{useIt, dropNew}, "E2\n" + inCopy);
    row("the copy's drop", B{{DropCopy}}, L{dropCopy}, isDone);
    row("the copy's drop, twice", B{{DropCopy}, {DropCopy + 1}}, L{dropCopy}, "E2\n" + isDone + mayRemain);
}

void TableChangeTest::everyFailureIsUndone()
{
    QFETCH(QList<Break>, breaks);
    QFETCH(L, undoing);
    QFETCH(QString, report);
    TableStage stage;
    for (qsizetype i = 0; i < breaks.size(); ++i)
        stage.script.failAt(breaks[i].at, Reply::failure(QStringLiteral("E%1").arg(i + 1), breaks[i].number));
    stage.expectFailure(report);
    QCOMPARE(stage.run(changeTable).reload, Reload::Nothing);
    QCOMPARE(stage.sent(), forward.mid(0, breaks.first().at + 1) + undoing);
    QVERIFY(stage.dialogue.lastError.startsWith("E1"));
    QVERIFY(stage.dialogue.lastError.contains(report.replace("COPY", stage.copyTable)));
    QCOMPARE(stage.dialogue.lastTip, stage.dialogue.lastError);
    if (report.contains(inCopy))
        QVERIFY(stage.dialogue.lastError.contains(serverText));
    QCOMPARE(stage.dialogue.bars, QList<double>{0});
    QVERIFY(stage.script.connectionStrings.isEmpty());
}

void TableChangeTest::aLostAnswerIsReadBack_data()
{
    QTest::addColumn<int>("at");
    QTest::addColumn<L>("gone"); // show statements that find nothing after the loss
    QTest::addColumn<L>("undoing");
    QTest::addColumn<QString>("report");
    const L look{useIt, kindTest, copyExists};
    const L makeAgain{again, fillBack, dropCopy};
    const L replaceNew = L{useIt, dropNew} + makeAgain;
    const QString lost = "再接続後の確認で、あるはずのﾃｰﾌﾞﾙが見つかりませんでした。\n";
    row("kind test", int(Kind), L{}, L{}, "");
    row("copy, not made", int(Copy), L{copyExists}, look, "");
    row("copy, made", int(Copy), L{}, look, "ﾃｰﾌﾞﾙ `d`.t は変更されていません。ｺﾋﾟｰ COPY が残っています。");
    row("drop, not done", int(DropOld), L{}, look + L{dropCopy}, "");
    row("drop, done", int(DropOld), L{kindTest}, look + makeAgain, "");
    row("drop, both gone", int(DropOld), L{kindTest, copyExists}, look,
        lost + "ﾃｰﾌﾞﾙ `d`.t もｺﾋﾟｰ COPY も見つかりません。");
    row("create, not done", int(Create), L{kindTest}, look + L{kindTest} + makeAgain, "");
    row("create, done", int(Create), L{}, look + replaceNew, "");
    row("columns", int(Fields), L{}, look + replaceNew, "");
    row("fill", int(Fill), L{}, look + replaceNew, "");
    row("fill, copy gone", int(Fill), L{copyExists}, look,
        lost + "ﾃｰﾌﾞﾙ `d`.t もｺﾋﾟｰ COPY も見つかりません。");
    row("the copy's drop, not done", int(DropCopy), L{}, look + L{kindTest, countCopy, countNew, dropCopy},
        isDone);
    row("the copy's drop, and the rows not kept", int(DropCopy), L{countNew},
        look + L{kindTest, countCopy, countNew} + replaceNew, "");
    row("the copy's drop, done", int(DropCopy), L{copyExists}, look + L{kindTest}, isDone);
    row("the copy's drop, new table gone", int(DropCopy), L{kindTest}, look + L{kindTest}, lost + inCopy);
}

void TableChangeTest::aLostAnswerIsReadBack()
{
    QFETCH(int, at);
    QFETCH(L, gone);
    QFETCH(L, undoing);
    QFETCH(QString, report);
    TableStage stage;
    stage.script.always(countNew, Reply::table({"n"}, {{"7"}}));
    stage.script.always(QString(countCopy).replace("COPY", stage.copyTable), Reply::table({"n"}, {{"7"}}));
    stage.script.failAt(at, Reply::failure("lost", 2013));
    stage.script.beforeAnswer = [&](const QString &) {
        if (stage.script.sent.size() == at + 2)
            for (QString statement : gone)
                stage.script.always(statement.replace("COPY", stage.copyTable),
                                    statement == countNew ? Reply::table({"n"}, {{"0"}})
                                                          : Reply::failure("gone", 1146));
    };
    stage.expectFailure(report);
    stage.run(changeTable);
    QCOMPARE(stage.sent(), forward.mid(0, at + 1) + undoing);
    QVERIFY(stage.dialogue.lastError.startsWith("lost"));
    QCOMPARE(stage.script.connectionStrings.size(), at == Kind ? 0 : 1);
}

void TableChangeTest::anUnknownKindIsNotUndone()
{
    TableStage stage;
    stage.script.always(kindTest, Reply::table({"Sequence", "Create"}, {{"t", serverText}}));
    stage.script.failAt(Create, Reply::failure("E4"));
    stage.expectFailure(inCopy);
    stage.run(changeTable);
    QCOMPARE(stage.sent(), forward.mid(0, Create + 1));
}

void TableChangeTest::triggersFollowTheRows_data()
{
    QTest::addColumn<int>("at");
    QTest::addColumn<QString>("before"); // what is sent right before the first trigger's making
    row("after a change", -1, dropCopy);
    row("after a drop that was refused", int(DropOld), "");
    row("after a recovery", int(Create), dropCopy);
    row("after a copy that stayed for a while", int(DropCopy), dropCopy);
}

void TableChangeTest::triggersFollowTheRows()
{
    QFETCH(int, at);
    QFETCH(QString, before);
    const QString trigger = "create definer=`a@b`@`%` trigger `d`.`x-y` BEFORE INSERT on `d`.t for "
                            "each row set NEW.a=1";
    TableStage stage;
    stage.script.always(
        triggers, Reply::table({"Trigger", "Event", "Table", "Statement", "Timing", "sql_mode", "Definer"},
                               {{"other", "INSERT", "t2", "set @x=1", "AFTER", "", "a@b@%"},
                                {"x-y", "INSERT", "t", "set NEW.a=1", "BEFORE", "ANSI", "a@b@%"}}));
    stage.script.always(settings, Reply::table({"m", "l"}, {{"STRICT", "18446744073709551615"}}));
    stage.script.always(trigger, Reply::failure("no right"));
    const QString complaint = "次のﾄﾘｶﾞｰを作り直せませんでした: x-y";
    if (at < 0) {
        stage.dialogue.expectConfirm("tﾃｰﾌﾞﾙを変更します。", Icon::Critical, true);
        stage.dialogue.expectInform("変更しました。");
        stage.dialogue.expectRefuse(complaint);
    } else {
        stage.script.failAt(at, Reply::failure("E"));
        stage.expectFailure(before.isEmpty() ? QString()
                            : at == DropCopy ? isDone + u'\n' + complaint
                                             : complaint);
    }
    stage.run(changeTable);
    const qsizetype made = stage.sent().indexOf(trigger);
    QCOMPARE(made >= 0, !before.isEmpty());
    if (made >= 0) {
        QCOMPARE(stage.sent().mid(made - 3), (L{before, settings, "set session sql_mode='ANSI'", trigger,
                                                "set session sql_mode='STRICT'"}));
        QVERIFY(stage.dialogue.lastError.contains("no right\n" + trigger));
    }
}

QTEST_APPLESS_MAIN(TableChangeTest)
#include "test_tablechange.moc"
