#include "users/accountcommands.h"
#include "users/accountstage.h"

#include <QTest>

namespace {

const QString flush = QStringLiteral("FLUSH PRIVILEGES");
const QString readHidden = QStringLiteral(
    "select * from information_schema.user_privileges where grantee = binary concat('''', 'u', '''@''', 'h', "
    "'''')");

Reply hiddenRights(std::vector<std::vector<std::optional<QString>>> rows)
{
    return Reply::table({QStringLiteral("PRIVILEGE_TYPE"), QStringLiteral("IS_GRANTABLE")}, std::move(rows));
}

AccountForm completeAddition()
{
    AccountForm form = plainForm();
    form.password = QStringLiteral(" p ");
    form.global = checked(26, {0, 1, 10});
    form.addDatabase = QStringLiteral("d1");
    form.database = checked(17, {0, 6});
    form.addTableDatabase = QStringLiteral("d2");
    form.addTable = QStringLiteral("t");
    form.table = checked(4, {3});
    return form;
}

const QStringList completeAdditionSent{
    QStringLiteral("GRANT SELECT,INSERT\r\n   ON *.*   TO 'u'@\"h\"   IDENTIFIED BY 'p' WITH GRANT OPTION"),
    flush,
    QStringLiteral("GRANT SELECT,GRANT OPTION\r\n   ON `d1`.*   TO 'u'@\"h\""),
    flush,
    QStringLiteral("GRANT DELETE\r\n   ON `d2`.t   TO 'u'@\"h\""),
    flush};

} // namespace

class AccountCommandsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void incompleteAdditionsAreRefused_data();
    void incompleteAdditionsAreRefused();
    void additionSendsItsStagesInOrder();
    void failedAdditionTellsHowFarItCame_data();
    void failedAdditionTellsHowFarItCame();
    void additionWithAnEmptyListStopsAfterTheAccount_data();
    void additionWithAnEmptyListStopsAfterTheAccount();
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
    void refusingLeavesTheServerAlone();
};

void AccountCommandsTest::incompleteAdditionsAreRefused_data()
{
    QTest::addColumn<QString>("user");
    QTest::addColumn<QString>("password");
    QTest::addColumn<QString>("message");
    QTest::newRow("nothing") << ""
                             << ""
                             << "ﾕｰｻﾞｰ名を入力して下さい。";
    QTest::newRow("blanks") << "  "
                            << "p"
                            << "ﾕｰｻﾞｰ名を入力して下さい。";
    QTest::newRow("no password") << "u"
                                 << "  "
                                 << "ﾊﾟｽﾜｰﾄﾞを入力して下さい。";
}

void AccountCommandsTest::incompleteAdditionsAreRefused()
{
    QFETCH(QString, message);
    AccountStage stage;
    AccountForm form = plainForm();
    QFETCH(QString, user);
    form.user = user;
    QFETCH(QString, password);
    form.password = password;
    stage.dialogue.expectRefuse(message);
    QVERIFY(addAccount(stage.session, stage.dialogue, form) == Refresh::Nothing);
    QCOMPARE(stage.script.sent, QStringList());
}

void AccountCommandsTest::additionSendsItsStagesInOrder()
{
    AccountStage stage;
    stage.dialogue.expectConfirm(QStringLiteral("ﾕｰｻﾞｰを追加します。"), Icon::Information, true);
    stage.dialogue.expectInform(QStringLiteral("追加しました。"));
    QVERIFY(addAccount(stage.session, stage.dialogue, completeAddition()) == Refresh::Lists);
    QCOMPARE(stage.script.sent, completeAdditionSent);
    QCOMPARE(stage.dialogue.busyDepth, 0);
}

void AccountCommandsTest::failedAdditionTellsHowFarItCame_data()
{
    QTest::addColumn<int>("failing");
    QTest::addColumn<bool>("hasDatabase");
    QTest::addColumn<QString>("progress");
    const QString account = QStringLiteral("ﾕｰｻﾞｰ作成までは成功しています。");
    const QString database = QStringLiteral("DB権限作成までは成功しています。");
    QTest::newRow("global grant") << 0 << true << "";
    QTest::newRow("its flush") << 1 << true << "";
    QTest::newRow("database grant") << 2 << true << account;
    QTest::newRow("its flush too") << 3 << true << account;
    QTest::newRow("table grant") << 4 << true << database;
    QTest::newRow("its flush as well") << 5 << true << database;
    QTest::newRow("table grant, no database chosen") << 2 << false << account;
}

void AccountCommandsTest::failedAdditionTellsHowFarItCame()
{
    QFETCH(int, failing);
    QFETCH(bool, hasDatabase);
    QFETCH(QString, progress);
    AccountStage stage;
    AccountForm form = completeAddition();
    if (!hasDatabase)
        form.addDatabase = QStringLiteral("*");
    stage.script.failAt(failing, Reply::failure(QStringLiteral("no")));
    stage.dialogue.expectConfirm(QStringLiteral("ﾕｰｻﾞｰを追加します。"), Icon::Information, true);
    stage.dialogue.expectRefuse(QStringLiteral("no"));
    if (!progress.isEmpty())
        stage.dialogue.expectInform(progress);
    QVERIFY(addAccount(stage.session, stage.dialogue, form) == Refresh::Lists);
    QCOMPARE(stage.script.sent.size(), failing + 1);
}

void AccountCommandsTest::additionWithAnEmptyListStopsAfterTheAccount_data()
{
    QTest::addColumn<bool>("isDatabaseEmpty");
    QTest::addColumn<int>("sent");
    QTest::addColumn<QString>("progress");
    QTest::newRow("database list") << true << 2 << "ﾕｰｻﾞｰ作成までは成功しています。";
    QTest::newRow("table list") << false << 4 << "DB権限作成までは成功しています。";
}

void AccountCommandsTest::additionWithAnEmptyListStopsAfterTheAccount()
{
    QFETCH(bool, isDatabaseEmpty);
    QFETCH(int, sent);
    QFETCH(QString, progress);
    AccountStage stage;
    AccountForm form = completeAddition();
    (isDatabaseEmpty ? form.database : form.table).assign(17, false);
    stage.dialogue.expectConfirm(QStringLiteral("ﾕｰｻﾞｰを追加します。"), Icon::Information, true);
    stage.dialogue.expectRefuse(QStringLiteral("プロシージャの呼び出し、または引数が不正です。"));
    stage.dialogue.expectInform(progress);
    QVERIFY(addAccount(stage.session, stage.dialogue, form) == Refresh::Lists);
    QCOMPARE(stage.script.sent.size(), sent);
}

void AccountCommandsTest::grantThatKnowsNoPasswordFallsBack()
{
    AccountStage stage;
    stage.script.failAt(0, Reply::failure(QStringLiteral("syntax"), 1064));
    stage.dialogue.expectConfirm(QStringLiteral("ﾕｰｻﾞｰを追加します。"), Icon::Information, true);
    stage.dialogue.expectInform(QStringLiteral("追加しました。"));
    addAccount(stage.session, stage.dialogue, completeAddition());
    QCOMPARE(stage.script.sent.mid(1, 3),
             (QStringList{QStringLiteral("CREATE USER 'u'@\"h\"   IDENTIFIED BY 'p'"),
                          QStringLiteral("GRANT SELECT,INSERT\r\n   ON *.*   TO 'u'@\"h\" WITH GRANT OPTION"),
                          flush}));

    AccountStage change;
    AccountForm form = plainForm();
    form.password = QStringLiteral("p");
    change.script.failAt(5, Reply::failure(QStringLiteral("syntax"), 1064));
    change.dialogue.expectConfirm(QStringLiteral("ﾕｰｻﾞｰ権限を変更します。"), Icon::Information, true);
    change.dialogue.expectInform(QStringLiteral("変更しました。"));
    changeAccount(change.session, change.dialogue, form);
    QCOMPARE(change.script.sent.mid(5),
             (QStringList{QStringLiteral("GRANT USAGE   ON *.*   TO 'u'@\"h\"   IDENTIFIED BY 'p'"),
                          QStringLiteral("ALTER USER 'u'@\"h\"   IDENTIFIED BY 'p'"),
                          QStringLiteral("GRANT USAGE   ON *.*   TO 'u'@\"h\""), flush}));
}

void AccountCommandsTest::passwordsAreInNoMessage()
{
    AccountStage stage;
    const QString words =
        QStringLiteral("Syntax error; right syntax to use near 'TIFIED BY 's3'cret'' at line 2");
    stage.script.failAt(0, Reply::failure(words, 1064));
    stage.script.failAt(1, Reply::failure(words, 1064));
    stage.dialogue.expectConfirm(QStringLiteral("ﾕｰｻﾞｰを追加します。"), Icon::Information, true);
    stage.dialogue.expectRefuse(QStringLiteral("Syntax error; right syntax to use at line 2"));
    addAccount(stage.session, stage.dialogue, completeAddition());

    AccountStage japanese;
    const QString japaneseWords = QStringLiteral("SQL構文エラーです。 : ''s3cret'' 付近 2 行目");
    japanese.script.failAt(0, Reply::failure(japaneseWords, 1149));
    japanese.dialogue.expectConfirm(QStringLiteral("ﾕｰｻﾞｰを追加します。"), Icon::Information, true);
    japanese.dialogue.expectRefuse(QStringLiteral("SQL構文エラーです。 :  付近 2 行目"));
    addAccount(japanese.session, japanese.dialogue, completeAddition());
}

void AccountCommandsTest::changeSendsThePasswordOnlyWhenTyped_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("clause");
    QTest::newRow("placeholder untouched") << "\r\n\r\n\r\n"
                                           << "";
    QTest::newRow("typed over") << " neu "
                                << "   IDENTIFIED BY 'neu'";
    QTest::newRow("emptied: nothing was typed") << ""
                                                << "";
}

void AccountCommandsTest::changeSendsThePasswordOnlyWhenTyped()
{
    QFETCH(QString, clause);
    AccountStage stage;
    AccountForm form = plainForm();
    QFETCH(QString, text);
    form.password = text;
    form.global = checked(26, {9});
    stage.dialogue.expectConfirm(QStringLiteral("ﾕｰｻﾞｰ権限を変更します。"), Icon::Information, true);
    stage.dialogue.expectInform(QStringLiteral("変更しました。"));
    QVERIFY(changeAccount(stage.session, stage.dialogue, form) == Refresh::Lists);
    QCOMPARE(stage.script.sent,
             (QStringList{readHidden, QStringLiteral("REVOKE GRANT OPTION ON *.* FROM 'u'@\"h\""), flush,
                          QStringLiteral("REVOKE ALL PRIVILEGES ON *.* FROM 'u'@\"h\""), flush,
                          QStringLiteral("GRANT FILE\r\n   ON *.*   TO 'u'@\"h\"") + clause, flush}));
}

void AccountCommandsTest::failedChangePutsBackWhatWasTaken_data()
{
    QTest::addColumn<int>("failing");
    QTest::addColumn<QStringList>("after");
    const QStringList granted{QStringLiteral("GRANT SELECT\r\n   ON *.*   TO 'u'@\"h\" WITH GRANT OPTION"),
                              flush, QStringLiteral("GRANT EVENT ON *.* TO 'u'@\"h\" WITH GRANT OPTION"),
                              flush};
    const QStringList revoked{QStringLiteral("REVOKE ALL PRIVILEGES ON *.* FROM 'u'@\"h\""), flush};
    QTest::newRow("reading the hidden rights") << 0 << QStringList();
    QTest::newRow("REVOKE GRANT OPTION") << 1 << QStringList();
    QTest::newRow("its flush") << 2 << QStringList();
    QTest::newRow("REVOKE ALL") << 3 << granted;
    QTest::newRow("its flush too") << 4 << granted;
    QTest::newRow("GRANT") << 5 << revoked + granted;
    QTest::newRow("its flush as well") << 6 << revoked + granted;
    QTest::newRow("GRANT of the hidden rights") << 7 << QStringList();
}

void AccountCommandsTest::failedChangePutsBackWhatWasTaken()
{
    QFETCH(int, failing);
    AccountStage stage;
    AccountForm form = plainForm();
    form.password = QStringLiteral("p"); // never sent on the way back
    form.global = checked(26, {1});
    form.globalBefore = checked(26, {0, 10});
    stage.script.always(readHidden, hiddenRights({{QStringLiteral("SELECT"), QStringLiteral("YES")},
                                                  {QStringLiteral("EVENT"), QStringLiteral("YES")}}));
    stage.script.failAt(failing, Reply::failure(QStringLiteral("no")));
    stage.dialogue.expectConfirm(QStringLiteral("ﾕｰｻﾞｰ権限を変更します。"), Icon::Information, true);
    stage.dialogue.expectRefuse(QStringLiteral("no"));
    QVERIFY(changeAccount(stage.session, stage.dialogue, form) == Refresh::Nothing);
    // What it asks the server for on top only serves its words.
    QTEST(stage.script.sent.mid(failing + 1).filter(QRegularExpression(QStringLiteral("^(?!select)"))),
          "after");
}

void AccountCommandsTest::hiddenRightsComeBackAfterAChange()
{
    AccountStage stage;
    stage.script.always(readHidden, hiddenRights({{QStringLiteral("SELECT"), QStringLiteral("NO")},
                                                  {QStringLiteral("BINLOG MONITOR"), QStringLiteral("NO")},
                                                  {QStringLiteral("EVENT"), QStringLiteral("NO")},
                                                  {QStringLiteral("BACKUP_ADMIN"), QStringLiteral("YES")},
                                                  {QStringLiteral("DELETE HISTORY"), QStringLiteral("NO")}}));
    stage.dialogue.expectConfirm(QStringLiteral("ﾕｰｻﾞｰ権限を変更します。"), Icon::Information, true);
    stage.dialogue.expectInform(QStringLiteral("変更しました。"));
    changeAccount(stage.session, stage.dialogue, plainForm());
    QCOMPARE(
        stage.script.sent.mid(7),
        (QStringList{QStringLiteral("GRANT EVENT, DELETE HISTORY ON *.* TO 'u'@\"h\""), flush,
                     QStringLiteral("GRANT BACKUP_ADMIN ON *.* TO 'u'@\"h\" WITH GRANT OPTION"), flush}));
}

void AccountCommandsTest::aRefusedHiddenRightDoesNotCostTheOthers()
{
    AccountStage stage;
    stage.script.always(readHidden, hiddenRights({{QStringLiteral("GONE_ADMIN"), QStringLiteral("NO")},
                                                  {QStringLiteral("EVENT"), QStringLiteral("NO")}}));
    const Reply refusal = Reply::failure(QStringLiteral("not registered"), 3929);
    stage.script.always(QStringLiteral("GRANT GONE_ADMIN, EVENT ON *.* TO 'u'@\"h\""), refusal);
    stage.script.always(QStringLiteral("GRANT GONE_ADMIN ON *.* TO 'u'@\"h\""), refusal);
    stage.dialogue.expectConfirm(QStringLiteral("ﾕｰｻﾞｰ権限を変更します。"), Icon::Information, true);
    stage.dialogue.expectRefuse(QStringLiteral("not registered"));
    changeAccount(stage.session, stage.dialogue, plainForm());
    QCOMPARE(stage.script.sent.last(3).first(2),
             (QStringList{QStringLiteral("GRANT EVENT ON *.* TO 'u'@\"h\""), flush}));
}

void AccountCommandsTest::whoLosesGrantLosesItOnHiddenRightsToo()
{
    AccountStage stage;
    AccountForm form = plainForm();
    form.globalBefore = checked(26, {globalGrantBox});
    stage.script.always(readHidden, hiddenRights({{QStringLiteral("EVENT"), QStringLiteral("YES")}}));
    stage.dialogue.expectConfirm(QStringLiteral("ﾕｰｻﾞｰ権限を変更します。"), Icon::Information, true);
    stage.dialogue.expectInform(QStringLiteral("変更しました。"));
    changeAccount(stage.session, stage.dialogue, form);
    QCOMPARE(stage.script.sent.mid(7),
             (QStringList{QStringLiteral("GRANT EVENT ON *.* TO 'u'@\"h\""), flush}));
}

void AccountCommandsTest::aFailingRecoveryIsTold()
{
    AccountStage stage;
    stage.script.failAt(5, Reply::failure(QStringLiteral("first")));
    stage.script.failAt(8, Reply::failure(QStringLiteral("second")));
    stage.dialogue.expectConfirm(QStringLiteral("ﾕｰｻﾞｰ権限を変更します。"), Icon::Information, true);
    stage.dialogue.expectRefuse(QStringLiteral("first"));
    stage.dialogue.expectRefuse(QStringLiteral("second"));
    changeAccount(stage.session, stage.dialogue, plainForm());
    QCOMPARE(stage.script.sent.size(), 9);
}

void AccountCommandsTest::deletionRemovesEveryRow()
{
    AccountStage stage;
    AccountForm form = plainForm();
    form.tables = {QStringLiteral("d\tt1"), QStringLiteral("d\tt2")};
    form.databases = {QStringLiteral("d")};
    const QString columns = QStringLiteral("from mysql.columns_priv where User = 'u' and Host = 'h'");
    stage.script.always(QStringLiteral("select 1 ") + columns,
                        Reply::table({QStringLiteral("1")}, {{QStringLiteral("1")}}));
    stage.script.always(QStringLiteral("select 1 from mysql.roles_mapping where User = 'u' and Host = 'h'"),
                        Reply::failure(QStringLiteral("no such table"), 1146));
    stage.dialogue.expectConfirm(QStringLiteral("ﾕｰｻﾞｰを削除します。"), Icon::Critical, true);
    stage.dialogue.expectInform(QStringLiteral("削除しました。"));
    QVERIFY(deleteAccount(stage.session, stage.dialogue, form) == Refresh::Lists);
    const QStringList changes = stage.script.sent.filter(QRegularExpression(QStringLiteral("^(?!select)")));
    QCOMPARE(changes,
             (QStringList{
                 QStringLiteral("delete from mysql.tables_priv where user='u'   and host=\"h\"   and db='d'"
                                "   and Table_name ='t1'"),
                 flush,
                 QStringLiteral("delete from mysql.tables_priv where user='u'   and host=\"h\"   and db='d'"
                                "   and Table_name ='t2'"),
                 flush, QStringLiteral("delete from mysql.db where host = 'h'  and db = 'd'  and user = 'u'"),
                 flush, QStringLiteral("REVOKE ALL PRIVILEGES ON *.* FROM 'u'@\"h\""), flush,
                 QStringLiteral("DELETE FROM mysql.user WHERE user='u' and host='h'"), flush,
                 QStringLiteral("delete ") + columns, flush}));
}

void AccountCommandsTest::deletionStopsAtTheFirstFailure()
{
    AccountStage stage;
    AccountForm form = plainForm();
    form.databases = {QStringLiteral("d")};
    stage.script.failAt(2, Reply::failure(QStringLiteral("no")));
    stage.dialogue.expectConfirm(QStringLiteral("ﾕｰｻﾞｰを削除します。"), Icon::Critical, true);
    stage.dialogue.expectRefuse(QStringLiteral("no"));
    QVERIFY(deleteAccount(stage.session, stage.dialogue, form) == Refresh::Nothing);
    QCOMPARE(stage.script.sent.size(), 3);
}

void AccountCommandsTest::refusingLeavesTheServerAlone()
{
    AccountStage stage;
    stage.dialogue.expectConfirm(QStringLiteral("ﾕｰｻﾞｰを追加します。"), Icon::Information, false);
    stage.dialogue.expectConfirm(QStringLiteral("ﾕｰｻﾞｰ権限を変更します。"), Icon::Information, false);
    stage.dialogue.expectConfirm(QStringLiteral("ﾕｰｻﾞｰを削除します。"), Icon::Critical, false);
    QVERIFY(addAccount(stage.session, stage.dialogue, completeAddition()) == Refresh::Nothing);
    QVERIFY(changeAccount(stage.session, stage.dialogue, plainForm()) == Refresh::Nothing);
    QVERIFY(deleteAccount(stage.session, stage.dialogue, plainForm()) == Refresh::Nothing);
    QCOMPARE(stage.script.sent, QStringList());
}

QTEST_GUILESS_MAIN(AccountCommandsTest)
#include "test_accountcommands.moc"
