#include "stage.h"
#include "users/accountcommands.h"

namespace {

using L = QStringList;

const QString readHidden =
    "select * from information_schema.user_privileges where grantee = binary concat('''', 'u', '''@''', 'h', "
    "'''')";
const QString addition = "ﾕｰｻﾞｰを追加します。", added = "追加しました。";
const QString change = "ﾕｰｻﾞｰ権限を変更します。", changed = "変更しました。";
const QString deletion = "ﾕｰｻﾞｰを削除します。";

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
    void failedAdditionTellsHowFarItCame();
    void grantThatKnowsNoPasswordFallsBack();
    void passwordsAreInNoMessage();
    void changeSendsThePasswordOnlyWhenTyped();
    void failedChangePutsBackWhatWasTaken();
    void aRefusedHiddenRightDoesNotCostTheOthers();
    void whoLosesGrantLosesItOnHiddenRightsToo();
    void deletionRemovesEveryRowUpToAFailure();
};

void AccountCommandsTest::whatIsIncompleteOrDeclinedIsNotSent()
{
    AccountStage stage;
    AccountForm form = plainForm();
    form.password = "  ";
    stage.dialogue.expectRefuse("ﾊﾟｽﾜｰﾄﾞを入力して下さい。");
    QVERIFY(stage.run(addAccount, form) == Refresh::Nothing);
    form.password = "p";
    form.accounts = {"h\tu"};
    stage.dialogue.expectConfirm(addition, Icon::Information, true);
    stage.dialogue.expectConfirm("ﾕｰｻﾞｰは既に存在します。ﾊﾟｽﾜｰﾄﾞが変更され、権限が追加されます。",
                                 Icon::Critical, false);
    QVERIFY(stage.run(addAccount, form) == Refresh::Nothing);
    form.user = "  ";
    stage.dialogue.expectRefuse("ﾕｰｻﾞｰ名を入力して下さい。");
    QVERIFY(stage.run(addAccount, form) == Refresh::Nothing);
    stage.dialogue.expectConfirm(addition, Icon::Information, false);
    QVERIFY(stage.run(addAccount, completeAddition()) == Refresh::Nothing);
    stage.dialogue.expectConfirm(change, Icon::Information, false);
    QVERIFY(stage.run(changeAccount, plainForm()) == Refresh::Nothing);
    stage.dialogue.expectConfirm(deletion, Icon::Critical, false);
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

void AccountCommandsTest::failedAdditionTellsHowFarItCame()
{
    const QString account = "ﾕｰｻﾞｰ作成までは成功しています。";
    const QString database = "DB権限作成までは成功しています。";
    for (const auto &[failing, progress] :
         {std::pair(0, QString()), {1, {}}, {2, account}, {3, account}, {4, database}, {5, database}}) {
        AccountStage stage;
        stage.script.failAt(failing, Reply::failure("no"));
        stage.dialogue.agreesInVain(addition, "no");
        if (!progress.isEmpty())
            stage.dialogue.expectInform(progress);
        QVERIFY(stage.run(addAccount, completeAddition()) == Refresh::Lists);
        QCOMPARE(stage.script.sent.size(), failing + 1);
    }
    // A database is chosen, but none of its rights.
    AccountStage stage;
    AccountForm form = completeAddition();
    form.database = checked(17, {});
    stage.dialogue.agreesInVain(addition, "プロシージャの呼び出し、または引数が不正です。");
    stage.dialogue.expectInform(account);
    QVERIFY(stage.run(addAccount, form) == Refresh::Lists);
    QCOMPARE(stage.script.sent.size(), 2);
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
                     "Syntax error; right syntax to use near '***' at line 2", 1064),
          {"SQL構文エラーです。 : ''s3cret'' 付近 2 行目", "SQL構文エラーです。 : '***' 付近 2 行目",
           1149}}) {
        AccountStage stage;
        stage.script.failAt(0, Reply::failure(words, number));
        stage.script.failAt(1, Reply::failure(words, number));
        stage.dialogue.agreesInVain(addition, told);
        stage.run(addAccount, completeAddition());
        QVERIFY(!stage.dialogue.lastError.contains("cret"));
    }
}

void AccountCommandsTest::changeSendsThePasswordOnlyWhenTyped()
{
    for (const auto &[text, clause] :
         {std::pair("\r\n\r\n\r\n", ""), {" neu ", "   IDENTIFIED BY 'neu'"}, {"", ""}}) {
        AccountStage stage;
        AccountForm form = plainForm();
        form.password = text;
        form.global = checked(26, {9});
        stage.dialogue.agrees(change, changed);
        QVERIFY(stage.run(changeAccount, form) == Refresh::Lists);
        QCOMPARE(stage.script.sent, (L{readHidden, "REVOKE GRANT OPTION ON *.* FROM 'u'@\"h\"", flush,
                                       "REVOKE ALL PRIVILEGES ON *.* FROM 'u'@\"h\"", flush,
                                       QString("GRANT FILE\r\n   ON *.*   TO 'u'@\"h\"") + clause, flush}));
    }
}

void AccountCommandsTest::failedChangePutsBackWhatWasTaken()
{
    const L granted{"GRANT SELECT\r\n   ON *.*   TO 'u'@\"h\" WITH GRANT OPTION", flush,
                    "GRANT EVENT ON *.* TO 'u'@\"h\" WITH GRANT OPTION", flush};
    const L revoked{"REVOKE ALL PRIVILEGES ON *.* FROM 'u'@\"h\"", flush};
    for (const auto &[failing, after] :
         {std::pair(1, L()), {3, granted}, {4, granted}, {5, revoked + granted}, {6, revoked + granted}}) {
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
        QCOMPARE(changesOf(stage.script.sent.mid(failing + 1)), after);
    }
}

void AccountCommandsTest::aRefusedHiddenRightDoesNotCostTheOthers()
{
    AccountStage stage;
    stage.script.always(
        readHidden,
        hiddenRights({{"SELECT", "NO"}, {"GONE_ADMIN", "NO"}, {"EVENT", "NO"}, {"BACKUP_ADMIN", "YES"}}));
    const Reply refusal = Reply::failure("not registered", 3929);
    stage.script.always("GRANT GONE_ADMIN, EVENT ON *.* TO 'u'@\"h\"", refusal);
    stage.script.always("GRANT GONE_ADMIN ON *.* TO 'u'@\"h\"", refusal);
    stage.dialogue.agreesInVain(change, "not registered");
    stage.run(changeAccount, plainForm());
    QCOMPARE(stage.script.sent.mid(9, 4),
             (L{"GRANT EVENT ON *.* TO 'u'@\"h\"", flush,
                "GRANT BACKUP_ADMIN ON *.* TO 'u'@\"h\" WITH GRANT OPTION", flush}));
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

void AccountCommandsTest::deletionRemovesEveryRowUpToAFailure()
{
    AccountStage stage;
    AccountForm form = plainForm();
    form.tables = {"d\tt1"};
    form.databases = {"d"};
    stage.dialogue.deletes(deletion);
    QVERIFY(stage.run(deleteAccount, form) == Refresh::Lists);
    QCOMPARE(changesOf(stage.script.sent),
             (L{"delete from mysql.tables_priv where user='u'   and host=\"h\"   and db='d'   and "
                "Table_name ='t1'",
                flush, "delete from mysql.db where host = 'h'  and db = 'd'  and user = 'u'", flush,
                "REVOKE ALL PRIVILEGES ON *.* FROM 'u'@\"h\"", flush,
                "DELETE FROM mysql.user WHERE user='u' and host='h'", flush}));

    stage.script.sent.clear();
    stage.script.failAt(2, Reply::failure("no"));
    stage.dialogue.expectConfirm(deletion, Icon::Critical, true);
    stage.dialogue.expectRefuse("no");
    QVERIFY(stage.run(deleteAccount, form) == Refresh::Nothing);
    QCOMPARE(stage.script.sent.size(), 3);
}

QTEST_GUILESS_MAIN(AccountCommandsTest)
#include "test_accountcommands.moc"
