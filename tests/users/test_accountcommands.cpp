#include "stage.h"
#include "users/accountcommands.h"

namespace {

using L = QStringList;

const QString readHidden =
    "select * from information_schema.user_privileges where grantee = binary concat('''', 'u', '''@''', 'h', "
    "'''')";
const QString addition = "ﾕｰｻﾞｰを追加します。", added = "追加しました。";
const QString change = "ﾕｰｻﾞｰ権限を変更します。", changed = "変更しました。";

Reply hiddenRights(std::vector<std::vector<std::optional<QString>>> rows)
{
    return Reply::table({"PRIVILEGE_TYPE", "IS_GRANTABLE"}, std::move(rows));
}

AccountForm completeAddition()
{
    AccountForm form = plainForm();
    form.password = " p ";
    form.global = checked(26, {0, 1, 10});
    form.addDatabase = "d1";
    form.database = checked(17, {0, 6});
    form.addTableDatabase = "d2";
    form.addTable = "t";
    form.table = checked(4, {3});
    return form;
}

} // namespace

class AccountCommandsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void whatIsIncompleteOrDeclinedIsNotSent();
    void additionSendsItsStagesInOrder();
    void failedAdditionTellsHowFarItCame_data();
    void failedAdditionTellsHowFarItCame();
    void grantThatKnowsNoPasswordFallsBack();
    void passwordsAreInNoMessage();
    void changeSendsThePasswordOnlyWhenTyped_data();
    void changeSendsThePasswordOnlyWhenTyped();
    void failedChangePutsBackWhatWasTaken_data();
    void failedChangePutsBackWhatWasTaken();
    void hiddenRightsComeBackAfterAChange();
    void aRefusedHiddenRightDoesNotCostTheOthers();
    void whoLosesGrantLosesItOnHiddenRightsToo();
    void aFailingRecoveryIsTold();
    void deletionRemovesEveryRow();
    void deletionStopsAtTheFirstFailure();
};

void AccountCommandsTest::whatIsIncompleteOrDeclinedIsNotSent()
{
    AccountStage stage;
    AccountForm form = plainForm();
    form.password = "  ";
    stage.dialogue.expectRefuse("ﾊﾟｽﾜｰﾄﾞを入力して下さい。");
    QVERIFY(stage.run(addAccount, form) == Refresh::Nothing);
    form.user = "  ";
    stage.dialogue.expectRefuse("ﾕｰｻﾞｰ名を入力して下さい。");
    QVERIFY(stage.run(addAccount, form) == Refresh::Nothing);
    stage.dialogue.expectConfirm(addition, Icon::Information, false);
    QVERIFY(stage.run(addAccount, completeAddition()) == Refresh::Nothing);
    stage.dialogue.expectConfirm(change, Icon::Information, false);
    QVERIFY(stage.run(changeAccount, plainForm()) == Refresh::Nothing);
    stage.dialogue.expectConfirm("ﾕｰｻﾞｰを削除します。", Icon::Critical, false);
    QVERIFY(stage.run(deleteAccount, plainForm()) == Refresh::Nothing);
    QCOMPARE(stage.script.sent, L());
}

void AccountCommandsTest::additionSendsItsStagesInOrder()
{
    AccountStage stage;
    stage.dialogue.agrees(addition, added);
    QVERIFY(stage.run(addAccount, completeAddition()) == Refresh::Lists);
    QCOMPARE(stage.script.sent,
             (L{"GRANT SELECT,INSERT\r\n   ON *.*   TO 'u'@\"h\"   IDENTIFIED BY 'p' WITH GRANT OPTION",
                flush, "GRANT SELECT,GRANT OPTION\r\n   ON `d1`.*   TO 'u'@\"h\"", flush,
                "GRANT DELETE\r\n   ON `d2`.t   TO 'u'@\"h\"", flush}));
    QCOMPARE(stage.dialogue.busyDepth, 0);
}

void AccountCommandsTest::failedAdditionTellsHowFarItCame_data()
{
    QTest::addColumn<int>("sent"); // statements: the last one fails, or something that is not sent
    QTest::addColumn<QString>("missing");
    QTest::addColumn<QString>("progress");
    const QString account = "ﾕｰｻﾞｰ作成までは成功しています。";
    const QString database = "DB権限作成までは成功しています。";
    row("global grant", 1, "", "");
    row("its flush", 2, "", "");
    row("database grant", 3, "", account);
    row("its flush too", 4, "", account);
    row("table grant", 5, "", database);
    row("its flush as well", 6, "", database);
    row("table grant, no database chosen", 3, "database", account);
    row("no database right chosen", 2, "database rights", account);
    row("no table right chosen", 4, "table rights", database);
}

void AccountCommandsTest::failedAdditionTellsHowFarItCame()
{
    QFETCH(int, sent);
    QFETCH(QString, missing);
    QFETCH(QString, progress);
    AccountStage stage;
    AccountForm form = completeAddition();
    if (missing == u"database")
        form.addDatabase = "*";
    else if (missing == u"database rights")
        form.database = checked(17, {});
    else if (missing == u"table rights")
        form.table = checked(4, {});
    const bool isRefused = !missing.endsWith("rights");
    if (isRefused)
        stage.script.failAt(sent - 1, Reply::failure("no"));
    stage.dialogue.agreesInVain(addition,
                                isRefused ? "no" : "プロシージャの呼び出し、または引数が不正です。");
    if (!progress.isEmpty())
        stage.dialogue.expectInform(progress);
    QVERIFY(stage.run(addAccount, form) == Refresh::Lists);
    QCOMPARE(stage.script.sent.size(), sent);
}

void AccountCommandsTest::grantThatKnowsNoPasswordFallsBack()
{
    AccountStage stage;
    stage.script.failAt(0, Reply::failure("syntax", 1064));
    stage.dialogue.agrees(addition, added);
    stage.run(addAccount, completeAddition());
    QCOMPARE(stage.script.sent.mid(1, 3),
             (L{"CREATE USER 'u'@\"h\"   IDENTIFIED BY 'p'",
                "GRANT SELECT,INSERT\r\n   ON *.*   TO 'u'@\"h\" WITH GRANT OPTION", flush}));

    AccountStage second;
    AccountForm form = plainForm();
    form.password = "p";
    second.script.failAt(5, Reply::failure("syntax", 1064));
    second.dialogue.agrees(change, changed);
    second.run(changeAccount, form);
    QCOMPARE(second.script.sent.mid(5),
             (L{"GRANT USAGE   ON *.*   TO 'u'@\"h\"   IDENTIFIED BY 'p'",
                "ALTER USER 'u'@\"h\"   IDENTIFIED BY 'p'", "GRANT USAGE   ON *.*   TO 'u'@\"h\"", flush}));
}

void AccountCommandsTest::passwordsAreInNoMessage()
{
    for (const auto &[words, told, number] :
         {std::tuple("Syntax error; right syntax to use near 'TIFIED BY 's3'cret'' at line 2",
                     "Syntax error; right syntax to use at line 2", 1064),
          {"SQL構文エラーです。 : ''s3cret'' 付近 2 行目", "SQL構文エラーです。 :  付近 2 行目", 1149}}) {
        AccountStage stage;
        stage.script.failAt(0, Reply::failure(words, number));
        stage.script.failAt(1, Reply::failure(words, number));
        stage.dialogue.agreesInVain(addition, told);
        stage.run(addAccount, completeAddition());
        QVERIFY(!stage.dialogue.lastError.contains("cret"));
    }
}

void AccountCommandsTest::changeSendsThePasswordOnlyWhenTyped_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("clause");
    row("placeholder untouched", "\r\n\r\n\r\n", "");
    row("typed over", " neu ", "   IDENTIFIED BY 'neu'");
    row("emptied: nothing was typed", "", "");
}

void AccountCommandsTest::changeSendsThePasswordOnlyWhenTyped()
{
    QFETCH(QString, text);
    QFETCH(QString, clause);
    AccountStage stage;
    AccountForm form = plainForm();
    form.password = text;
    form.global = checked(26, {9});
    stage.dialogue.agrees(change, changed);
    QVERIFY(stage.run(changeAccount, form) == Refresh::Lists);
    QCOMPARE(stage.script.sent, (L{readHidden, "REVOKE GRANT OPTION ON *.* FROM 'u'@\"h\"", flush,
                                   "REVOKE ALL PRIVILEGES ON *.* FROM 'u'@\"h\"", flush,
                                   "GRANT FILE\r\n   ON *.*   TO 'u'@\"h\"" + clause, flush}));
}

void AccountCommandsTest::failedChangePutsBackWhatWasTaken_data()
{
    QTest::addColumn<int>("failing");
    QTest::addColumn<L>("after");
    const L granted{"GRANT SELECT\r\n   ON *.*   TO 'u'@\"h\" WITH GRANT OPTION", flush,
                    "GRANT EVENT ON *.* TO 'u'@\"h\" WITH GRANT OPTION", flush};
    const L revoked{"REVOKE ALL PRIVILEGES ON *.* FROM 'u'@\"h\"", flush};
    row("reading the hidden rights", 0, L());
    row("REVOKE GRANT OPTION", 1, L());
    row("its flush", 2, L());
    row("REVOKE ALL", 3, granted);
    row("its flush too", 4, granted);
    row("GRANT", 5, revoked + granted);
    row("its flush as well", 6, revoked + granted);
    row("GRANT of the hidden rights", 7, L());
}

void AccountCommandsTest::failedChangePutsBackWhatWasTaken()
{
    QFETCH(int, failing);
    AccountStage stage;
    AccountForm form = plainForm();
    form.password = "p"; // never sent on the way back
    form.global = checked(26, {1});
    form.globalBefore = checked(26, {0, 10});
    stage.script.always(readHidden, hiddenRights({{"SELECT", "YES"}, {"EVENT", "YES"}}));
    stage.script.failAt(failing, Reply::failure("no"));
    stage.dialogue.agreesInVain(change, "no");
    QVERIFY(stage.run(changeAccount, form) == Refresh::Nothing);
    // What it asks the server for on top only serves its words.
    QTEST(changesOf(stage.script.sent.mid(failing + 1)), "after");
}

void AccountCommandsTest::hiddenRightsComeBackAfterAChange()
{
    AccountStage stage;
    stage.script.always(readHidden, hiddenRights({{"SELECT", "NO"},
                                                  {"BINLOG MONITOR", "NO"},
                                                  {"EVENT", "NO"},
                                                  {"BACKUP_ADMIN", "YES"},
                                                  {"DELETE HISTORY", "NO"}}));
    stage.dialogue.agrees(change, changed);
    stage.run(changeAccount, plainForm());
    QCOMPARE(stage.script.sent.mid(7),
             (L{"GRANT EVENT, DELETE HISTORY ON *.* TO 'u'@\"h\"", flush,
                "GRANT BACKUP_ADMIN ON *.* TO 'u'@\"h\" WITH GRANT OPTION", flush}));
}

void AccountCommandsTest::aRefusedHiddenRightDoesNotCostTheOthers()
{
    AccountStage stage;
    stage.script.always(readHidden, hiddenRights({{"GONE_ADMIN", "NO"}, {"EVENT", "NO"}}));
    const Reply refusal = Reply::failure("not registered", 3929);
    stage.script.always("GRANT GONE_ADMIN, EVENT ON *.* TO 'u'@\"h\"", refusal);
    stage.script.always("GRANT GONE_ADMIN ON *.* TO 'u'@\"h\"", refusal);
    stage.dialogue.agreesInVain(change, "not registered");
    stage.run(changeAccount, plainForm());
    QCOMPARE(stage.script.sent.last(3).first(2), (L{"GRANT EVENT ON *.* TO 'u'@\"h\"", flush}));
}

void AccountCommandsTest::whoLosesGrantLosesItOnHiddenRightsToo()
{
    AccountStage stage;
    AccountForm form = plainForm();
    form.globalBefore = checked(26, {globalGrantBox});
    stage.script.always(readHidden, hiddenRights({{"EVENT", "YES"}}));
    stage.dialogue.agrees(change, changed);
    stage.run(changeAccount, form);
    QCOMPARE(stage.script.sent.mid(7), (L{"GRANT EVENT ON *.* TO 'u'@\"h\"", flush}));
}

void AccountCommandsTest::aFailingRecoveryIsTold()
{
    AccountStage stage;
    stage.script.failAt(5, Reply::failure("first"));
    stage.script.failAt(8, Reply::failure("second"));
    stage.dialogue.agreesInVain(change, "first");
    stage.dialogue.expectRefuse("second");
    stage.run(changeAccount, plainForm());
    QCOMPARE(stage.script.sent.size(), 9);
}

void AccountCommandsTest::deletionRemovesEveryRow()
{
    AccountStage stage;
    AccountForm form = plainForm();
    form.tables = {"d\tt1", "d\tt2"};
    form.databases = {"d"};
    const QString columns = "from mysql.columns_priv where User = 'u' and Host = 'h'";
    stage.script.always("select 1 " + columns, Reply::table({"1"}, {{"1"}}));
    stage.script.always("select 1 from mysql.roles_mapping where User = 'u' and Host = 'h'",
                        Reply::failure("no such table", 1146));
    stage.dialogue.deletes("ﾕｰｻﾞｰを削除します。");
    QVERIFY(stage.run(deleteAccount, form) == Refresh::Lists);
    const QString table =
        "delete from mysql.tables_priv where user='u'   and host=\"h\"   and db='d'   and Table_name =";
    QCOMPARE(changesOf(stage.script.sent),
             (L{table + "'t1'", flush, table + "'t2'", flush,
                "delete from mysql.db where host = 'h'  and db = 'd'  and user = 'u'", flush,
                "REVOKE ALL PRIVILEGES ON *.* FROM 'u'@\"h\"", flush,
                "DELETE FROM mysql.user WHERE user='u' and host='h'", flush, "delete " + columns, flush}));
}

void AccountCommandsTest::deletionStopsAtTheFirstFailure()
{
    AccountStage stage;
    AccountForm form = plainForm();
    form.databases = {"d"};
    stage.script.failAt(2, Reply::failure("no"));
    stage.dialogue.expectConfirm("ﾕｰｻﾞｰを削除します。", Icon::Critical, true);
    stage.dialogue.expectRefuse("no");
    QVERIFY(stage.run(deleteAccount, form) == Refresh::Nothing);
    QCOMPARE(stage.script.sent.size(), 3);
}

QTEST_GUILESS_MAIN(AccountCommandsTest)
#include "test_accountcommands.moc"
