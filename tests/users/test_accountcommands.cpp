#include "stage.h"

using L = QStringList;

namespace {

const QString flush = "FLUSH PRIVILEGES";
const QString addition = "ﾕｰｻﾞｰを追加します。", change = "ﾕｰｻﾞｰ権限を変更します。",
              deletion = "ﾕｰｻﾞｰを削除します。";
const QString added = "追加しました。", changed = "変更しました。", deleted = "削除しました。";
const QString deleteTable =
    "delete from mysql.tables_priv where user='u'   and host=\"h\"   and db='d1'   and Table_name ='t1'";
const QString deleteDatabase = "delete from mysql.db where host = 'h'  and db = 'd1'  and user = 'u'";
const QString revokeEverything = "REVOKE ALL PRIVILEGES ON *.* FROM 'u'@\"h\"";
const QString deleteUser = "DELETE FROM mysql.user WHERE user='u' and host='h'";

// Without the reading statements.
L changesOf(const L &statements)
{
    return statements.filter(QRegularExpression("^(?!select|show)"));
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

// From d1 and d1.t1 to d2 and d2.t2.
AccountForm grantForm(const Checks &table = checked(4, {0, 2}))
{
    AccountForm form = plainForm();
    form.shownDatabase = form.shownTableDatabase = "d1";
    form.shownTable = "t1";
    form.addDatabase = form.addTableDatabase = "d2";
    form.addTable = "t2";
    form.database = checked(17, {0, 16});
    form.table = table;
    form.databases = L{"d1"};
    form.tables = L{"d1\tt1"};
    return form;
}

AccountForm passwordForm(const QString &text)
{
    AccountForm form = plainForm();
    form.password = text;
    form.global = checked(26, {9});
    return form;
}

L globalChange(const QString &grant)
{
    return {"REVOKE GRANT OPTION ON *.* FROM 'u'@\"h\"", flush, revokeEverything, flush, grant, flush};
}

} // namespace

// The statements that change something, word for word, and what is said.
class AccountCommandsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void statementsAreThese_data();
    void statementsAreThese();
    void whatIsIncompleteOrDeclinedIsNotSent();
    void failedAdditionTellsHowFarItCame();
    void failedDeletionStops();
    void grantThatKnowsNoPasswordFallsBack();
    void passwordsAreInNoMessage();
    void everyNodeOfAClusterLearnsOfIt();
};

void AccountCommandsTest::statementsAreThese_data()
{
    QTest::addColumn<Run>("command");
    QTest::addColumn<AccountForm>("form");
    QTest::addColumn<QString>("question");
    QTest::addColumn<QString>("success");
    QTest::addColumn<L>("statements");
    row("account added", Run(addAccount), completeAddition(), addition, added,
        L{"GRANT SELECT,INSERT\r\n   ON *.*   TO 'u'@\"h\"   IDENTIFIED BY 'p' WITH GRANT OPTION", flush,
          "GRANT SELECT,GRANT OPTION\r\n   ON `d1`.*   TO 'u'@\"h\"", flush,
          "GRANT DELETE\r\n   ON `d2`.t   TO 'u'@\"h\"", flush});
    row("account changed, placeholder left", Run(changeAccount), passwordForm("\r\n\r\n\r\n"), change,
        changed, globalChange("GRANT FILE\r\n   ON *.*   TO 'u'@\"h\""));
    row("account changed, password typed", Run(changeAccount), passwordForm(" neu "), change, changed,
        globalChange("GRANT FILE\r\n   ON *.*   TO 'u'@\"h\"   IDENTIFIED BY 'neu'"));
    row("account changed, password emptied", Run(changeAccount), passwordForm(""), change, changed,
        globalChange("GRANT FILE\r\n   ON *.*   TO 'u'@\"h\""));
    row("account changed, no box", Run(changeAccount), plainForm(), change, changed,
        globalChange("GRANT USAGE   ON *.*   TO 'u'@\"h\""));
    row("account deleted", Run(deleteAccount), grantForm(), deletion, deleted,
        L{deleteTable, flush, deleteDatabase, flush, revokeEverything, flush, deleteUser, flush});
    row("database added", Run(addDatabaseGrant), grantForm(), "DB権限を追加します。", added,
        L{"GRANT SELECT,EXECUTE\r\n   ON `d2`.*   TO 'u'@\"h\"", flush});
    row("database changed", Run(changeDatabaseGrant), grantForm(), "DB権限を変更します。", changed,
        L{"REVOKE GRANT OPTION ON d1.* FROM 'u'@\"h\"", flush, "REVOKE ALL PRIVILEGES ON d1.* FROM 'u'@\"h\"",
          flush, "GRANT SELECT,EXECUTE\r\n   ON `d2`.*   TO 'u'@\"h\"", flush});
    row("database deleted", Run(deleteDatabaseGrant), grantForm(), "DB権限を削除します。", deleted,
        L{deleteDatabase, flush});
    row("table added, no box", Run(addTableGrant), grantForm(checked(4, {})), "TABLE権限を追加します。",
        added, L{"GRANT USAGE   ON `d2`.t2   TO 'u'@\"h\"", flush});
    row("table changed", Run(changeTableGrant), grantForm(), "TABLE権限を変更します。", changed,
        L{deleteTable, flush, "GRANT SELECT,UPDATE\r\n   ON `d2`.t2   TO 'u'@\"h\"", flush});
    row("table deleted", Run(deleteTableGrant), grantForm(), "TABLE権限を削除します。", deleted,
        L{deleteTable, flush});
}

void AccountCommandsTest::statementsAreThese()
{
    QFETCH(Run, command);
    QFETCH(AccountForm, form);
    QFETCH(QString, question);
    QFETCH(QString, success);
    QFETCH(L, statements);
    // Servers before 5 have no catalogue to read.
    for (const int server : {50173, 40122}) {
        AccountStage stage;
        stage.script.server.number = server;
        stage.dialogue.expectConfirm(question, success == deleted ? Icon::Critical : Icon::Information, true);
        stage.dialogue.expectInform(success);
        QVERIFY(stage.run(command, form).refresh != Refresh::Nothing);
        QCOMPARE(changesOf(stage.script.sent), statements);
    }
}

void AccountCommandsTest::whatIsIncompleteOrDeclinedIsNotSent()
{
    AccountStage stage;
    const auto ends = [&](Run command, const AccountForm &form) {
        QVERIFY(stage.run(command, form).refresh == Refresh::Nothing);
    };
    AccountForm form = plainForm();
    form.password = "  ";
    stage.dialogue.expectRefuse("ﾊﾟｽﾜｰﾄﾞを入力して下さい。");
    ends(addAccount, form);
    form.password = "p";
    form.accounts = L{"H\tu"};
    stage.dialogue.expectConfirm(addition, Icon::Information, true);
    stage.dialogue.expectConfirm("ﾕｰｻﾞｰは既に存在します。ﾊﾟｽﾜｰﾄﾞが変更され、権限が追加されます。",
                                 Icon::Critical, false);
    ends(addAccount, form);
    form.user = "  ";
    stage.dialogue.expectRefuse("ﾕｰｻﾞｰ名を入力して下さい。");
    ends(addAccount, form);

    AccountForm noDatabase = grantForm(), noBox = grantForm(), noTable = grantForm();
    noDatabase.addDatabase = noDatabase.addTableDatabase = "*";
    noBox.database = checked(17, {});
    noTable.addTable.clear();
    for (Run command : {addDatabaseGrant, changeDatabaseGrant}) {
        stage.dialogue.expectInform("DBを選択して下さい。");
        ends(command, noDatabase);
        stage.dialogue.expectInform("権限にﾁｪｯｸを入れてください。");
        ends(command, noBox);
    }
    for (Run command : {addTableGrant, changeTableGrant}) {
        stage.dialogue.expectRefuse("ﾃｰﾌﾞﾙが選択されていません。");
        ends(command, noTable);
        ends(command, noDatabase); // nothing at all happens, no message either
    }
    for (const auto &[command, question, icon] :
         {std::tuple(Run(addAccount), addition, Icon::Information),
          {changeAccount, change, Icon::Information},
          {deleteAccount, deletion, Icon::Critical},
          {changeDatabaseGrant, "DB権限を変更します。", Icon::Information},
          {deleteTableGrant, "TABLE権限を削除します。", Icon::Critical}}) {
        stage.dialogue.expectConfirm(question, icon, false);
        ends(command, completeAddition());
    }
    QCOMPARE(stage.script.sent, L());
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
        QVERIFY(stage.run(addAccount, completeAddition()).refresh == Refresh::Lists);
        QCOMPARE(stage.script.sent.size(), failing + 1);
    }
    // A database is chosen, but none of its rights.
    AccountStage stage;
    AccountForm form = completeAddition();
    form.database = checked(17, {});
    stage.dialogue.agreesInVain(addition, "プロシージャの呼び出し、または引数が不正です。");
    stage.dialogue.expectInform(account);
    QVERIFY(stage.run(addAccount, form).refresh == Refresh::Lists);
    QCOMPARE(stage.script.sent.size(), 2);
}

void AccountCommandsTest::failedDeletionStops()
{
    AccountStage stage;
    stage.script.always(deleteDatabase, Reply::failure("no"));
    stage.dialogue.expectConfirm(deletion, Icon::Critical, true);
    stage.dialogue.expectRefuse("no");
    QVERIFY(stage.run(deleteAccount, grantForm()).refresh == Refresh::Nothing);
    QCOMPARE(stage.script.sent, (L{deleteTable, flush, deleteDatabase}));
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

    // An account that was made for a GRANT that fails does not stay.
    AccountStage second;
    second.script.server.number = 80000;
    second.script.failAt(1, Reply::failure("no"));
    second.dialogue.agreesInVain(addition, "no");
    second.run(addAccount, completeAddition());
    QCOMPARE(second.script.sent.value(2), "DROP USER 'u'@\"h\"");
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

// Rows of mysql.* that are deleted stay at the other nodes. A statement that fails at one node and not at the
// others would cost that node its place: REVOKE comes while the right is there, DROP USER minds no missing
// one.
void AccountCommandsTest::everyNodeOfAClusterLearnsOfIt()
{
    AccountStage stage;
    stage.script.always(
        "show global variables where Variable_name in ('read_only', 'super_read_only', 'innodb_read_only', "
        "'wsrep_on', 'wsrep_provider', 'wsrep_cluster_name', 'group_replication_group_name', "
        "'group_replication_single_primary_mode')",
        Reply::table({"Variable_name", "Value"},
                     {{"wsrep_on", "ON"}, {"wsrep_provider", "galera.so"}, {"wsrep_cluster_name", "c"}}));
    const QString where =
        " where grantee = binary concat('''', 'u', '''@''', 'h', '''') and table_schema = binary ";
    const L fields{"PRIVILEGE_TYPE", "IS_GRANTABLE"};
    stage.script.always("select * from information_schema.schema_privileges" + where + "'d1'",
                        Reply::table(fields, {{"SELECT", "YES"}, {"EVENT", "YES"}}));
    stage.script.always("select * from information_schema.table_privileges" + where +
                            "'d1' and table_name = binary 't1'",
                        Reply::table(fields, {{"INSERT", "NO"}}));
    stage.dialogue.deletes(deletion);
    stage.run(deleteAccount, grantForm());
    QCOMPARE(stage.script.sent.last(2), (L{"DROP USER IF EXISTS 'u'@\"h\"", flush}));

    stage.script.sent.clear();
    stage.dialogue.deletes("DB権限を削除します。");
    stage.run(deleteDatabaseGrant, grantForm());
    QCOMPARE(changesOf(stage.script.sent),
             (L{"REVOKE GRANT OPTION ON `d1`.* FROM 'u'@\"h\"", flush,
                "REVOKE SELECT, EVENT ON `d1`.* FROM 'u'@\"h\"", flush, deleteDatabase, flush}));

    stage.script.sent.clear();
    stage.dialogue.deletes("TABLE権限を削除します。");
    stage.run(deleteTableGrant, grantForm());
    QCOMPARE(changesOf(stage.script.sent),
             (L{"REVOKE INSERT ON `d1`.`t1` FROM 'u'@\"h\"", flush, deleteTable, flush}));
}

QTEST_GUILESS_MAIN(AccountCommandsTest)
#include "test_accountcommands.moc"
