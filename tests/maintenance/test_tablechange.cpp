#include "ddlfixture.h"
#include "maintenance/tablechange.h"

namespace {

using L = QStringList;
const QString crLf = QStringLiteral("\r\n");

const QString shown = QStringLiteral("CREATE TABLE t (\r\n  a int,\r\n  b int\r\n)");
const QString serverText = QStringLiteral("CREATE TABLE `t` (\n  `a` int,\n  `b` int\n)");
const QString kindTest = QStringLiteral("show create table `d`.t;");

// What goes to the server, in short names; COPY stands for the copy's name.
const QString settings = QStringLiteral("select @@session.sql_mode, @@session.sql_select_limit");
const QString triggers = QStringLiteral("show triggers from `d`;");
const QString copy = QStringLiteral("create table COPY select * from `d`.t");
const QString dropOld = QStringLiteral("drop table `d`.t");
const QString create = QStringLiteral("CREATE TABLE  `d`.t (b bigint, a int)");
const QString fields = QStringLiteral("show full fields from `d`.t;");
const QString fill = QStringLiteral("insert into `d`.t(b,a\r\n) select b,a\r\n from COPY");
const QString dropCopy = QStringLiteral("drop table COPY");
const QString useIt = QStringLiteral("use `d`");
const QString dropNew = QStringLiteral("drop table t");
const QString again = QStringLiteral("CREATE TABLE  `d`.t (\r\n  a int,\r\n  b int\r\n)");
const QString againOwn = QStringLiteral("CREATE TABLE  `d`.`t` (\n  `a` int,\n  `b` int\n)");
const QString fillBack = QStringLiteral("insert into `d`.t select * from COPY");
const QString countNew = QStringLiteral("select count(*) from `d`.t");
const QString countCopy = QStringLiteral("select count(*) from COPY");
const QString copyExists = QStringLiteral("show create table COPY;");

const L forward{kindTest, settings, triggers, copy, dropOld, create, fields, fill, dropCopy};

// Places in it.
enum Sent { Kind, Settings, Triggers, Copy, DropOld, Create, Fields, Fill, DropCopy };

const QString inCopy = QStringLiteral("ﾃｰﾌﾞﾙ `d`.t を元に戻せませんでした。ﾃﾞｰﾀはｺﾋﾟｰ COPY にあります。");
const QString inOld = QStringLiteral("ﾃﾞｰﾀはﾃｰﾌﾞﾙ `d`.t にあります。");
const QString isDone = QStringLiteral("ﾃｰﾌﾞﾙの変更は済んでいます。ﾃﾞｰﾀはﾃｰﾌﾞﾙ `d`.t にあります。");
const QString mayRemain = QStringLiteral("ｺﾋﾟｰ COPY が残っていれば、確認のうえ削除して下さい。");

struct TableFixture : DdlFixture {
    TableFixture()
        : copyTable(copyOf(QStringLiteral("t")))
    {
        selection.lblTableName = QStringLiteral("t");
        selection.lblCreateTable = shown;
        selection.txtField = QStringLiteral("CREATE TABLE t (b bigint, a int)");
        session.gOldFields = {{}, {" a", {}, {}, {}, {}, {}, {}}, {" b", {}, {}, {}, {}, {}, {}}};
        script.always(kindTest, Reply::table({"Table", "Create Table"}, {{"t", serverText}}));
        script.always(fields, Reply::table({"Field", "Type", "Null", "Key", "Default", "Extra", "Privileges"},
                                           {{"b", "bigint", "YES", "", std::nullopt, "", "x"},
                                            {"a", "int", "YES", "", std::nullopt, "", "x"}}));
    }
    void expectFailure(QString report)
    {
        dialogue.expectConfirm(QStringLiteral("tﾃｰﾌﾞﾙを変更します。"), Icon::Critical, true);
        dialogue.expectRefuse(QStringLiteral("ﾃｰﾌﾞﾙの変更に失敗しました。"));
        if (!report.isEmpty())
            dialogue.expectRefuse(report.replace(QStringLiteral("COPY"), copyTable));
    }
    L sent() const { return L(script.sent).replaceInStrings(copyTable, QStringLiteral("COPY")); }

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
    void nothingHappensWithoutText();
    void cancelLeavesTheServerAlone();
    void aTextWithoutNameIsRefused();
    void withoutCommonColumnsNothingIsFilled();
    void everyFailureIsUndone_data();
    void everyFailureIsUndone();
    void aLostAnswerIsReadBack_data();
    void aLostAnswerIsReadBack();
    void anUnreachableServerIsSaid();
    void aRenamedTableLeavesItsHalf();
    void anUnknownKindIsNotUndone();
    void triggersFollowTheRows_data();
    void triggersFollowTheRows();
    void aZeroKeyIsKept();
    void aLimitOfTheSessionCutsNothing();
};

void TableChangeTest::aTableIsRebuiltInOrder()
{
    TableFixture f;
    f.dialogue.expectConfirm(QStringLiteral("tﾃｰﾌﾞﾙを変更します。"), Icon::Critical, true);
    f.dialogue.expectInform(QStringLiteral("変更しました。"));
    QCOMPARE(f.run(changeTable).reload, Reload::Objects);
    QCOMPARE(f.sent(), forward);
    QCOMPARE(f.dialogue.progresses, (L{"0/5", "1/5", "2/5", "3/5", "4/5", "5/5"}));
    QCOMPARE(f.dialogue.bars, QList<double>{1});
    QCOMPARE(f.session.gNewFields.size(), std::size_t(3));
    QCOMPARE(f.session.gNewFields[1].Field, QStringLiteral("b"));
    QCOMPARE(f.session.gNewFields[1].Null, QString());
    QCOMPARE(f.session.gNewFields[1].Default, QString());
}

void TableChangeTest::nothingHappensWithoutText()
{
    TableFixture f;
    f.selection.txtField = QStringLiteral("   ");
    f.dialogue.expectInform(QStringLiteral("ﾃｰﾌﾞﾙを選択して下さい。"));
    QCOMPARE(f.run(changeTable).reload, Reload::Nothing);
    QVERIFY(f.script.sent.isEmpty());
}

void TableChangeTest::cancelLeavesTheServerAlone()
{
    TableFixture f;
    f.dialogue.expectConfirm(QStringLiteral("tﾃｰﾌﾞﾙを変更します。"), Icon::Critical, false);
    f.run(changeTable);
    QVERIFY(f.script.sent.isEmpty());
}

void TableChangeTest::aTextWithoutNameIsRefused()
{
    TableFixture f;
    f.selection.txtField = QStringLiteral("CREATE TABLE t");
    f.dialogue.expectConfirm(QStringLiteral("tﾃｰﾌﾞﾙを変更します。"), Icon::Critical, true);
    f.dialogue.expectRefuse(QStringLiteral("ﾃｰﾌﾞﾙ名が見つかりません。"));
    f.run(changeTable);
    QCOMPARE(f.sent(), L{kindTest});
}

void TableChangeTest::withoutCommonColumnsNothingIsFilled()
{
    TableFixture f;
    f.script.always(fields, Reply::table({"Field", "Extra"}, {{"c", ""}}));
    f.dialogue.expectConfirm(QStringLiteral("tﾃｰﾌﾞﾙを変更します。"), Icon::Critical, true);
    f.dialogue.expectInform(QStringLiteral("変更しました。"));
    f.run(changeTable);
    QCOMPARE(f.sent(), (L{kindTest, settings, triggers, copy, dropOld, create, fields, dropCopy}));
}

void TableChangeTest::everyFailureIsUndone_data()
{
    QTest::addColumn<QList<Break>>("breaks");
    QTest::addColumn<L>("undoing");
    QTest::addColumn<QString>("report");
    using B = QList<Break>;
    QTest::newRow("kind test") << B{{Kind}} << L{"drop table "} << "";
    QTest::newRow("kind test, and the empty drop") << B{{Kind}, {Kind + 1}} << L{"drop table "} << "";
    QTest::newRow("settings") << B{{Settings}} << L{} << "";
    QTest::newRow("triggers") << B{{Triggers}} << L{} << "";
    QTest::newRow("copy") << B{{Copy}} << L{} << "";
    QTest::newRow("drop") << B{{DropOld}} << L{dropCopy} << "";
    QTest::newRow("drop, then the copy's")
        << B{{DropOld}, {DropOld + 1}} << L{dropCopy} << "E2\n" + inOld + mayRemain;
    QTest::newRow("create") << B{{Create}} << L{again, fillBack, dropCopy} << "";
    QTest::newRow("create, then as shown")
        << B{{Create}, {Create + 1}} << L{again, againOwn, fillBack, dropCopy} << "";
    QTest::newRow("create, then neither text")
        << B{{Create}, {Create + 1}, {Create + 2}} << L{again, againOwn} << "E3\n" + inCopy;
    QTest::newRow("create, then filling back")
        << B{{Create}, {Create + 2}} << L{again, fillBack} << "E2\n" + inCopy;
    QTest::newRow("create, then the copy's drop")
        << B{{Create}, {Create + 3}} << L{again, fillBack, dropCopy} << "E2\n" + inOld + mayRemain;
    QTest::newRow("create, then the connection")
        << B{{Create}, {Create + 1, 2013}} << L{again} << "E2\n" + inCopy;
    QTest::newRow("columns") << B{{Fields}} << L{useIt, dropNew, again, fillBack, dropCopy} << "";
    QTest::newRow("fill") << B{{Fill}} << L{useIt, dropNew, again, fillBack, dropCopy} << "";
    QTest::newRow("fill, then use") << B{{Fill}, {Fill + 1}} << L{useIt} << "E2\n" + inCopy;
    QTest::newRow("fill, then the drop") << B{{Fill}, {Fill + 2}} << L{useIt, dropNew} << "E2\n" + inCopy;
    QTest::newRow("fill, then filling back")
        << B{{Fill}, {Fill + 4}} << L{useIt, dropNew, again, fillBack} << "E2\n" + inCopy;
    QTest::newRow("the copy's drop") << B{{DropCopy}} << L{dropCopy} << isDone;
    QTest::newRow("the copy's drop, twice")
        << B{{DropCopy}, {DropCopy + 1}} << L{dropCopy} << "E2\n" + isDone + mayRemain;
}

void TableChangeTest::everyFailureIsUndone()
{
    QFETCH(QList<Break>, breaks);
    QFETCH(L, undoing);
    QFETCH(QString, report);
    TableFixture f;
    for (qsizetype i = 0; i < breaks.size(); ++i)
        f.script.failAt(breaks[i].at, Reply::failure(QStringLiteral("E%1").arg(i + 1), breaks[i].number));
    f.expectFailure(report);
    QCOMPARE(f.run(changeTable).reload, Reload::Nothing);
    QCOMPARE(f.sent(), forward.mid(0, breaks.first().at + 1) + undoing);
    QVERIFY(f.dialogue.lastError.startsWith(QStringLiteral("E1")));
    QVERIFY(f.dialogue.lastError.contains(report.replace(QStringLiteral("COPY"), f.copyTable)));
    QCOMPARE(f.dialogue.lastTip, f.dialogue.lastError);
    if (report.contains(inCopy))
        QVERIFY(f.dialogue.lastError.contains(serverText));
    QCOMPARE(f.dialogue.bars, QList<double>{0});
    QVERIFY(f.script.connectionStrings.isEmpty());
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
    const QString lost = QStringLiteral("再接続後の確認で、あるはずのﾃｰﾌﾞﾙが見つかりませんでした。\n");
    QTest::newRow("kind test") << int(Kind) << L{} << L{} << "";
    QTest::newRow("copy, not made") << int(Copy) << L{copyExists} << look << "";
    QTest::newRow("copy, made") << int(Copy) << L{} << look
                                << "ﾃｰﾌﾞﾙ `d`.t は変更されていません。ｺﾋﾟｰ COPY が残っています。";
    QTest::newRow("drop, not done") << int(DropOld) << L{} << look + L{dropCopy} << "";
    QTest::newRow("drop, done") << int(DropOld) << L{kindTest} << look + makeAgain << "";
    QTest::newRow("drop, both gone") << int(DropOld) << L{kindTest, copyExists} << look
                                     << lost + "ﾃｰﾌﾞﾙ `d`.t もｺﾋﾟｰ COPY も見つかりません。";
    QTest::newRow("create, not done") << int(Create) << L{kindTest} << look + L{kindTest} + makeAgain << "";
    QTest::newRow("create, done") << int(Create) << L{} << look + replaceNew << "";
    QTest::newRow("columns") << int(Fields) << L{} << look + replaceNew << "";
    QTest::newRow("fill") << int(Fill) << L{} << look + replaceNew << "";
    QTest::newRow("fill, copy gone") << int(Fill) << L{copyExists} << look
                                     << lost + "ﾃｰﾌﾞﾙ `d`.t もｺﾋﾟｰ COPY も見つかりません。";
    QTest::newRow("the copy's drop, not done")
        << int(DropCopy) << L{} << look + L{kindTest, countCopy, countNew, dropCopy} << isDone;
    QTest::newRow("the copy's drop, and the rows not kept")
        << int(DropCopy) << L{countNew} << look + L{kindTest, countCopy, countNew} + replaceNew << "";
    QTest::newRow("the copy's drop, done") << int(DropCopy) << L{copyExists} << look + L{kindTest} << isDone;
    QTest::newRow("the copy's drop, new table gone")
        << int(DropCopy) << L{kindTest} << look + L{kindTest} << lost + inCopy;
}

void TableChangeTest::aLostAnswerIsReadBack()
{
    QFETCH(int, at);
    QFETCH(L, gone);
    QFETCH(L, undoing);
    QFETCH(QString, report);
    TableFixture f;
    f.script.always(countNew, Reply::table({"n"}, {{"7"}}));
    f.script.always(QString(countCopy).replace(QStringLiteral("COPY"), f.copyTable),
                    Reply::table({"n"}, {{"7"}}));
    f.script.failAt(at, Reply::failure(QStringLiteral("lost"), 2013));
    f.script.beforeAnswer = [&](const QString &) {
        if (f.script.sent.size() == at + 2)
            for (QString statement : gone)
                f.script.always(statement.replace(QStringLiteral("COPY"), f.copyTable),
                                statement == countNew ? Reply::table({"n"}, {{"0"}})
                                                      : Reply::failure(QStringLiteral("gone"), 1146));
    };
    f.expectFailure(report);
    f.run(changeTable);
    QCOMPARE(f.sent(), forward.mid(0, at + 1) + undoing);
    QVERIFY(f.dialogue.lastError.startsWith(QStringLiteral("lost")));
    QCOMPARE(f.script.connectionStrings.size(), at == Kind ? 0 : 1);
}

void TableChangeTest::anUnreachableServerIsSaid()
{
    TableFixture f;
    f.script.failAt(DropOld, Reply::failure(QStringLiteral("lost"), 2013));
    f.script.refusesConnections = true;
    f.expectFailure(
        QStringLiteral("Access denied\nﾃﾞｰﾀはﾃｰﾌﾞﾙ `d`.t か、それがなければｺﾋﾟｰ COPY にあります。"));
    f.run(changeTable);
    QCOMPARE(f.sent(), forward.mid(0, DropOld + 1));
    QVERIFY(f.session.gCn);
}

void TableChangeTest::aRenamedTableLeavesItsHalf()
{
    TableFixture f;
    f.selection.txtField = QStringLiteral("CREATE TABLE `u` (b bigint, a int)");
    f.script.always(QStringLiteral("show full fields from `d`.`u`;"), Reply::failure(QStringLiteral("E")));
    f.script.always(dropNew, Reply::failure(QStringLiteral("Unknown table 'd.t'"), 1051));
    f.expectFailure(QStringLiteral("途中まで作成した新しいﾃｰﾌﾞﾙ `d`.`u` が残っています。"));
    f.run(changeTable);
    QCOMPARE(f.sent().mid(Create),
             (L{"CREATE TABLE  `d`.`u` (b bigint, a int)", "show full fields from `d`.`u`;", useIt, dropNew,
                again, fillBack, dropCopy}));
}

void TableChangeTest::anUnknownKindIsNotUndone()
{
    TableFixture f;
    f.script.always(kindTest, Reply::table({"Sequence", "Create"}, {{"t", serverText}}));
    f.script.failAt(Create, Reply::failure(QStringLiteral("E4")));
    f.expectFailure(inCopy);
    f.run(changeTable);
    QCOMPARE(f.sent(), forward.mid(0, Create + 1));
}

void TableChangeTest::triggersFollowTheRows_data()
{
    QTest::addColumn<int>("at");
    QTest::addColumn<QString>("before"); // what is sent right before the first trigger's making
    QTest::newRow("after a change") << -1 << dropCopy;
    QTest::newRow("after a drop that was refused") << int(DropOld) << "";
    QTest::newRow("after a recovery") << int(Create) << dropCopy;
    QTest::newRow("after a copy that stayed for a while") << int(DropCopy) << dropCopy;
}

void TableChangeTest::triggersFollowTheRows()
{
    QFETCH(int, at);
    QFETCH(QString, before);
    const QString trigger =
        QStringLiteral("create definer=`a@b`@`%` trigger `d`.`x-y` BEFORE INSERT on `d`.t for "
                       "each row set NEW.a=1");
    TableFixture f;
    f.script.always(triggers,
                    Reply::table({"Trigger", "Event", "Table", "Statement", "Timing", "sql_mode", "Definer"},
                                 {{"other", "INSERT", "t2", "set @x=1", "AFTER", "", "a@b@%"},
                                  {"x-y", "INSERT", "t", "set NEW.a=1", "BEFORE", "ANSI", "a@b@%"}}));
    f.script.always(settings, Reply::table({"m", "l"}, {{"STRICT", "18446744073709551615"}}));
    f.script.always(trigger, Reply::failure(QStringLiteral("no right")));
    const QString complaint = QStringLiteral("次のﾄﾘｶﾞｰを作り直せませんでした: x-y");
    if (at < 0) {
        f.dialogue.expectConfirm(QStringLiteral("tﾃｰﾌﾞﾙを変更します。"), Icon::Critical, true);
        f.dialogue.expectInform(QStringLiteral("変更しました。"));
        f.dialogue.expectRefuse(complaint);
    } else {
        f.script.failAt(at, Reply::failure(QStringLiteral("E")));
        f.expectFailure(before.isEmpty() ? QString()
                        : at == DropCopy ? isDone + u'\n' + complaint
                                         : complaint);
    }
    f.run(changeTable);
    const qsizetype made = f.sent().indexOf(trigger);
    QCOMPARE(made >= 0, !before.isEmpty());
    if (made >= 0) {
        QCOMPARE(f.sent().mid(made - 3), (L{before, settings, "set session sql_mode='ANSI'", trigger,
                                            "set session sql_mode='STRICT'"}));
        QVERIFY(f.dialogue.lastError.contains(QStringLiteral("no right\n") + trigger));
    }
}

void TableChangeTest::aZeroKeyIsKept()
{
    TableFixture f;
    f.script.always(
        kindTest,
        Reply::table(
            {"Table", "Create Table"},
            {{"t",
              QString(serverText).replace(QStringLiteral("int,"), QStringLiteral("int AUTO_INCREMENT,"))}}));
    f.script.always(settings, Reply::table({"m", "l"}, {{"STRICT", "18446744073709551615"}}));
    f.dialogue.expectConfirm(QStringLiteral("tﾃｰﾌﾞﾙを変更します。"), Icon::Critical, true);
    f.dialogue.expectInform(QStringLiteral("変更しました。"));
    f.run(changeTable);
    QCOMPARE(f.sent().mid(Fields), (L{fields, settings, "set session sql_mode='STRICT,NO_AUTO_VALUE_ON_ZERO'",
                                      fill, "set session sql_mode='STRICT'", dropCopy}));
}

void TableChangeTest::aLimitOfTheSessionCutsNothing()
{
    TableFixture f;
    f.session.gOldFields.pop_back(); // as the limit cut them
    f.script.always(settings, Reply::table({"m", "l"}, {{"", "1"}}));
    f.dialogue.expectConfirm(QStringLiteral("tﾃｰﾌﾞﾙを変更します。"), Icon::Critical, true);
    f.dialogue.expectInform(QStringLiteral("変更しました。"));
    f.run(changeTable);
    QCOMPARE(f.sent(),
             (L{kindTest, settings, "set session sql_select_limit=18446744073709551615", triggers, fields,
                copy, dropOld, create, fields, fill, dropCopy, "set session sql_select_limit=1"}));
}

QTEST_APPLESS_MAIN(TableChangeTest)
#include "test_tablechange.moc"
