#include "core/command/pendingundo.h"
#include "support/cuttingproxy.h"
#include "support/gui/stage.h"
#include "users/accountcommands.h"

using L = QStringList;
using Cut = CuttingProxy::Cut;
using AccountRun = AccountOutcome (*)(AccountContext &);
Q_DECLARE_METATYPE(AccountRun)
Q_DECLARE_METATYPE(AccountForm)

namespace {

Checks checked(std::size_t count, std::initializer_list<std::size_t> indexes)
{
    Checks checks(count);
    for (const std::size_t index : indexes)
        checks[index] = true;
    return checks;
}

// An account u@h with nothing chosen beyond it and no box checked.
AccountForm plainForm()
{
    AccountForm form;
    form.user = " u ";
    form.host = " h ";
    form.account = {"h", "u"};
    form.password = form.passwordTag = "\r\n\r\n\r\n";
    form.global = form.globalBefore = checked(26, {});
    form.database = checked(17, {});
    form.table = checked(4, {});
    form.addDatabase = form.addTableDatabase = "*";
    return form;
}

const QString flush = "FLUSH PRIVILEGES";
const QString addition = "ﾕｰｻﾞｰを追加します。", change = "ﾕｰｻﾞｰ権限を変更します。",
              deletion = "ﾕｰｻﾞｰを削除します。";
const QString added = "追加しました。", changed = "変更しました。", deleted = "削除しました。";
const QString deleteTable =
    "delete from mysql.tables_priv where user='u'   and host=\"h\"   and db='d1'   and Table_name ='t1'";
const QString deleteDatabase = "delete from mysql.db where host = 'h'  and db = 'd1'  and user = 'u'";
const QString revokeEverything = "REVOKE ALL PRIVILEGES ON *.* FROM 'u'@\"h\"";
const QString deleteUser = "DELETE FROM mysql.user WHERE user='u' and host='h'";

// Without the reading statements, and what a session of unknown variables is given.
L changesOf(const L &statements)
{
    return statements.filter(QRegularExpression("^(?!select|show|set session)"));
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

// "SELECT", "UPDATE (`a`)", "GRANT OPTION", ...: each with its level, of the lines of SHOW GRANTS.
QStringList rightsIn(const QString &grants)
{
    static const QRegularExpression line("GRANT (.+?) ON (\\S+) TO [^\\n]*");
    QStringList rights;
    for (auto each = line.globalMatch(grants); each.hasNext();) {
        const QRegularExpressionMatch match = each.next();
        for (const QString &right : match.captured(1).split(", "))
            rights << right + u' ' + match.captured(2);
        if (match.captured().contains("WITH GRANT OPTION"))
            rights << "GRANT OPTION " + match.captured(2);
    }
    return rights;
}

// u@% as the window shows it; INSERT is added everywhere, FILE taken globally, CREATE in the database.
AccountForm editedForm()
{
    AccountForm form = plainForm();
    form.account = {"%", "u"};
    form.globalBefore = checked(26, {0, 9, 10, 20});
    form.global = checked(26, {0, 1, 10, 20});
    form.database = checked(17, {0, 1, 6});
    form.table = checked(4, {0, 1});
    form.shownDatabase = form.addDatabase = form.shownTableDatabase = form.addTableDatabase = "d";
    form.shownTable = form.addTable = "t";
    form.databases = L{"d"};
    form.tables = L{"d\tt"};
    return form;
}

} // namespace

// The statements that change something, word for word, and what is said; and what is left when one of them
// breaks.
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
    void everyStatementMayBreak_data();
    void everyStatementMayBreak();
    void aKilledProgramIsPutBackAtTheNextStart_data();
    void aKilledProgramIsPutBackAtTheNextStart();

private:
    void makeAccount(TestServer::Brand brand) const;
    bool breakAt(int statement, Cut what, bool mayReturn);

    // Hundreds of small changes: waiting for the disk would cost minutes.
    TestServers m_servers{{"--loose-debug-no-sync", "--loose-partial-revokes=ON"}, [](TestServer &server) {
                              server.run("create database d; create table d.t (a int)");
                          }};
    TestServer *m_server = nullptr;
    std::unique_ptr<CuttingProxy> m_proxy;
    QString m_said;
};

void AccountCommandsTest::statementsAreThese_data()
{
    const Rows<AccountRun, AccountForm, QString, QString, L> row;
    row("account added", addAccount, completeAddition(), addition, added,
        {"GRANT SELECT,INSERT\r\n   ON *.*   TO 'u'@\"h\"   IDENTIFIED BY 'p' WITH GRANT OPTION", flush,
         "GRANT SELECT,GRANT OPTION\r\n   ON `d1`.*   TO 'u'@\"h\"", flush,
         "GRANT DELETE\r\n   ON `d2`.t   TO 'u'@\"h\"", flush});
    row("account changed, placeholder left", changeAccount, passwordForm("\r\n\r\n\r\n"), change, changed,
        globalChange("GRANT FILE\r\n   ON *.*   TO 'u'@\"h\""));
    row("account changed, password typed", changeAccount, passwordForm(" neu "), change, changed,
        globalChange("GRANT FILE\r\n   ON *.*   TO 'u'@\"h\"   IDENTIFIED BY 'neu'"));
    row("account changed, password emptied", changeAccount, passwordForm(""), change,
        changed + "ﾊﾟｽﾜｰﾄﾞは空欄なので、元のままです。",
        globalChange("GRANT FILE\r\n   ON *.*   TO 'u'@\"h\""));
    row("account changed, no box", changeAccount, plainForm(), change, changed,
        globalChange("GRANT USAGE   ON *.*   TO 'u'@\"h\""));
    row("account deleted", deleteAccount, grantForm(), deletion, deleted,
        {deleteTable, flush, deleteDatabase, flush, revokeEverything, flush, deleteUser, flush});
    row("database added", addDatabaseGrant, grantForm(), "DB権限を追加します。", added,
        {"GRANT SELECT,EXECUTE\r\n   ON `d2`.*   TO 'u'@\"h\"", flush});
    row("database changed", changeDatabaseGrant, grantForm(), "DB権限を変更します。", changed,
        {"REVOKE GRANT OPTION ON d1.* FROM 'u'@\"h\"", flush, "REVOKE ALL PRIVILEGES ON d1.* FROM 'u'@\"h\"",
         flush, "GRANT SELECT,EXECUTE\r\n   ON `d2`.*   TO 'u'@\"h\"", flush});
    row("database deleted", deleteDatabaseGrant, grantForm(), "DB権限を削除します。", deleted,
        {deleteDatabase, flush});
    row("table added, no box", addTableGrant, grantForm(checked(4, {})), "TABLE権限を追加します。", added,
        {"GRANT USAGE   ON `d2`.t2   TO 'u'@\"h\"", flush});
    row("table changed", changeTableGrant, grantForm(), "TABLE権限を変更します。", changed,
        {deleteTable, flush, "GRANT SELECT,UPDATE\r\n   ON `d2`.t2   TO 'u'@\"h\"", flush});
    row("table deleted", deleteTableGrant, grantForm(), "TABLE権限を削除します。", deleted,
        {deleteTable, flush});
}

void AccountCommandsTest::statementsAreThese()
{
    const auto [command, form, question, success, statements] =
        fetched<AccountRun, AccountForm, QString, QString, L>();
    // Servers before 5 have no catalogue to read.
    for (const int server : {50173, 40122}) {
        ScriptedStage stage;
        stage.script.server.number = server;
        stage.dialogue.expectDone(question, success, success == deleted ? Icon::Critical : Icon::Information);
        QVERIFY(stage.run(command, form).refresh != Refresh::Nothing);
        QCOMPARE(changesOf(stage.script.sent), statements);
    }
}

void AccountCommandsTest::whatIsIncompleteOrDeclinedIsNotSent()
{
    ScriptedStage stage;
    const auto ends = [&](AccountRun command, const AccountForm &form) {
        QVERIFY(stage.run(command, form).refresh == Refresh::Nothing);
    };
    AccountForm form = plainForm();
    form.password = "  ";
    stage.dialogue.expectRefuse("ﾊﾟｽﾜｰﾄﾞを入力して下さい。");
    ends(addAccount, form);
    form.password = "p";
    form.accounts = L{"H\tu"};
    const QString look = "show grants for 'u'@\"h\"";
    stage.script.always(look, Reply::failure("may not read")); // then the list is believed
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
    for (AccountRun command : {addDatabaseGrant, changeDatabaseGrant}) {
        stage.dialogue.expectInform("DBを選択して下さい。");
        ends(command, noDatabase);
        stage.dialogue.expectInform("権限にﾁｪｯｸを入れてください。");
        ends(command, noBox);
    }
    for (AccountRun command : {addTableGrant, changeTableGrant}) {
        stage.dialogue.expectRefuse("ﾃｰﾌﾞﾙが選択されていません。");
        ends(command, noTable);
        ends(command, noDatabase); // nothing at all happens, no message either
    }
    for (const auto &[command, question, icon] :
         {std::tuple(AccountRun(addAccount), addition, Icon::Information),
          {changeAccount, change, Icon::Information},
          {deleteAccount, deletion, Icon::Critical},
          {changeDatabaseGrant, "DB権限を変更します。", Icon::Information},
          {deleteTableGrant, "TABLE権限を削除します。", Icon::Critical}}) {
        stage.dialogue.expectConfirm(question, icon, false);
        ends(command, completeAddition());
    }
    QCOMPARE(stage.script.sent, L{look});
}

void AccountCommandsTest::failedAdditionTellsHowFarItCame()
{
    const QString account = "ﾕｰｻﾞｰ作成までは成功しています。";
    const QString database = "DB権限作成までは成功しています。";
    for (const auto &[failing, progress] :
         {std::pair(0, QString()), {1, {}}, {2, account}, {3, account}, {4, database}, {5, database}}) {
        ScriptedStage stage;
        stage.script.failAt(failing + 1, Reply::failure("no")); // the first looks for the account
        stage.dialogue.expectFailure(addition, "no");
        if (!progress.isEmpty())
            stage.dialogue.expectInform(progress);
        QVERIFY(stage.run(addAccount, completeAddition()).refresh == Refresh::Lists);
        QCOMPARE(stage.script.sent.size(), failing + 2);
    }
    // A database is chosen, but none of its rights.
    ScriptedStage stage;
    AccountForm form = completeAddition();
    form.database = checked(17, {});
    stage.dialogue.expectFailure(addition, "プロシージャの呼び出し、または引数が不正です。");
    stage.dialogue.expectInform(account);
    QVERIFY(stage.run(addAccount, form).refresh == Refresh::Lists);
    QCOMPARE(stage.script.sent.size(), 3);
}

void AccountCommandsTest::failedDeletionStops()
{
    ScriptedStage stage;
    stage.script.always(deleteDatabase, Reply::failure("no"));
    stage.dialogue.expectFailure(deletion, "no", Icon::Critical);
    QVERIFY(stage.run(deleteAccount, grantForm()).refresh == Refresh::Nothing);
    QCOMPARE(changesOf(stage.script.sent), (L{deleteTable, flush, deleteDatabase}));
}

void AccountCommandsTest::grantThatKnowsNoPasswordFallsBack()
{
    ScriptedStage stage;
    stage.script.failAt(1, Reply::failure("syntax", 1064));
    stage.dialogue.expectDone(addition, added);
    stage.run(addAccount, completeAddition());
    QCOMPARE(stage.script.sent.mid(2, 3),
             (L{"CREATE USER 'u'@\"h\"   IDENTIFIED BY 'p'",
                "GRANT SELECT,INSERT\r\n   ON *.*   TO 'u'@\"h\" WITH GRANT OPTION", flush}));

    // An account that was made for a GRANT that fails does not stay.
    ScriptedStage second;
    second.script.server.number = 80000;
    second.script.failAt(2, Reply::failure("no"));
    second.dialogue.expectFailure(addition, "no");
    second.run(addAccount, completeAddition());
    QCOMPARE(second.script.sent.value(3), "DROP USER 'u'@\"h\"");
}

void AccountCommandsTest::passwordsAreInNoMessage()
{
    for (const auto &[words, told, number] :
         {std::tuple("Syntax error; right syntax to use near 'TIFIED BY 's3'cret'' at line 2",
                     "Syntax error; right syntax to use near '***' at line 2", 1064),
          {"SQL構文エラーです。 : ''s3cret'' 付近 2 行目", "SQL構文エラーです。 : '***' 付近 2 行目",
           1149}}) {
        ScriptedStage stage;
        stage.script.failAt(1, Reply::failure(words, number));
        stage.script.failAt(2, Reply::failure(words, number));
        stage.dialogue.expectFailure(addition, told);
        stage.run(addAccount, completeAddition());
        QVERIFY(!stage.dialogue.lastError.contains("cret"));
    }
}

void AccountCommandsTest::makeAccount(TestServer::Brand brand) const
{
    const bool knowsIfExists = brand != TestServer::Brand::MySql56;
    m_server->run(
        QLatin1String(knowsIfExists ? "drop user if exists u;" : "grant usage on *.* to u; drop user u;") +
        "create user u identified by 'p';"
        "grant select, file, event, replication client on *.* to u with grant option;"
        "grant select, create, event on d.* to u with grant option;"
        "grant select, create, update (a) on d.t to u with grant option;");
}

bool AccountCommandsTest::breakAt(int statement, Cut what, bool mayReturn)
{
    const auto [brand, isBuiltIn, command, returns] = fetched<TestServer::Brand, bool, AccountRun, bool>();
    makeAccount(brand);
    RealStage stage(*m_server, driverOf(isBuiltIn), "d", m_proxy->port());
    m_proxy->cutAt(statement, what, mayReturn);
    stage.run(command, editedForm());
    m_said = stage.dialogue.told.join(u'\n');
    const bool hasCut = m_proxy->hasCut();
    m_proxy->cutAt(-2, Cut::Request, true);
    return hasCut;
}

void AccountCommandsTest::everyStatementMayBreak_data()
{
    const Rows<TestServer::Brand, bool, AccountRun, bool> row;
    for (const auto &[server, brand, isBuiltIn] : {std::tuple("MariaDB", TestServer::Brand::MariaDb, true),
                                                   {"MariaDB, ODBC", TestServer::Brand::MariaDb, false},
                                                   {"MySQL 9", TestServer::Brand::MySql9, true}})
        for (const auto &[what, command] : {std::pair("account", AccountRun(changeAccount)),
                                            {"database", changeDatabaseGrant},
                                            {"table", changeTableGrant}})
            for (const bool mayReturn : {true, false}) {
                if (!isBuiltIn && command != changeAccount)
                    continue; // how ODBC breaks is the same for all
                row(qPrintable(
                        QStringLiteral("%1, %2, server %3").arg(server, what, mayReturn ? "back" : "away")),
                    brand, isBuiltIn, command, mayReturn);
            }
}

// The connection breaks at each statement of a change in turn, before the server has it and after it was
// carried out: a right that the account has no longer is named.
void AccountCommandsTest::everyStatementMayBreak()
{
    const auto [brand, isBuiltIn, command, mayReturn] = fetched<TestServer::Brand, bool, AccountRun, bool>();
    SKIP_WITHOUT(brand);
    if (TestServer *server = &m_servers.of(brand); std::exchange(m_server, server) != server)
        m_proxy = std::make_unique<CuttingProxy>(m_server->port());
    breakAt(-2, Cut::Request, mayReturn);
    QCOMPARE(m_said, "変更しました。");
    int breaks = 0;
    for (const Cut what : {Cut::Request, Cut::Answer}) {
        for (int n = 0; breakAt(n, what, mayReturn); ++n, ++breaks) {
            const QString now = m_server->run("show grants for u");
            const QString where = QStringLiteral("%1 %2: %3\n%4")
                                      .arg(n)
                                      .arg(what == Cut::Answer ? "answer" : "request", m_said, now);
            // Only what is said and what is there counts.
            const QStringList held = rightsIn(now), named = rightsIn(QString(m_said).remove(u'\r'));
            for (const QString right : {"SELECT *.*", "EVENT *.*", "GRANT OPTION *.*", "SELECT `d`.*",
                                        "EVENT `d`.*", "GRANT OPTION `d`.*", "SELECT `d`.`t`",
                                        "CREATE `d`.`t`", "UPDATE (`a`) `d`.`t`", "GRANT OPTION `d`.`t`"})
                QVERIFY2(held.contains(right) || named.contains(right), qPrintable(right + u'\n' + where));
            // The account's own rights come back where the server does; a right that is there is not called
            // lost.
            if (mayReturn && command == changeAccount)
                QVERIFY2(named.isEmpty(), qPrintable(where));
            QVERIFY2(!m_said.contains("変更しました。"), qPrintable(where));
        }
    }
    QVERIFY2(breaks >= 12, qPrintable(QString::number(breaks)));
}

void AccountCommandsTest::aKilledProgramIsPutBackAtTheNextStart_data()
{
    AccountForm password = editedForm(), elsewhere = editedForm();
    password.password = "neu";
    elsewhere.addDatabase = "e";
    const Rows<TestServer::Brand, AccountRun, AccountForm> row;
    using Brand = TestServer::Brand;
    for (const auto &[server, brand] : {std::pair("MariaDB", Brand::MariaDb), {"MySQL 9", Brand::MySql9}}) {
        const auto add = [&](const char *what, AccountRun command, const AccountForm &form) {
            row(qPrintable(QStringLiteral("%1, %2").arg(server, what)), brand, command, form);
        };
        add("account", changeAccount, password);
        add("database, granted elsewhere", changeDatabaseGrant, elsewhere);
        add("table", changeTableGrant, editedForm());
        add("account deleted", deleteAccount, editedForm());
    }
    row("MariaDB, table deleted", Brand::MariaDb, deleteTableGrant, editedForm());
    row("MySQL 5.6, account", Brand::MySql56, changeAccount, editedForm());
    row("MySQL 5.6, account deleted", Brand::MySql56, deleteAccount, editedForm());
}

// Killed once a statement is done, which is before the next: the next start knows how to give every right
// back, or to finish where the account is gone.
void AccountCommandsTest::aKilledProgramIsPutBackAtTheNextStart()
{
    using Action = PendingAnswer::Action;
    const auto [brand, command, form] = fetched<TestServer::Brand, AccountRun, AccountForm>();
    SKIP_WITHOUT(brand);
    m_server = &m_servers.of(brand);
    const auto grants = [this] {
        static const QRegularExpression hash("BY PASSWORD '[^']*'");
        const QStringList lines = m_server->run("show grants for u").remove(hash).split(u'\n');
        return QSet(lines.begin(), lines.end());
    };
    makeAccount(brand);
    const QSet<QString> before = grants();
    int pending = 0, finished = 0;
    bool isKilled = true;
    for (int n = 0; isKilled; ++n) {
        makeAccount(brand);
        RealStage killed(*m_server, nativeDriverName());
        isKilled = killedAt(killed, n, true, [&, run = command, form = form] { killed.run(run, form); });
        const QDir notes(killed.folder.path());
        const bool isPending = !notes.entryList({"*.undo"}).isEmpty();
        QVERIFY2(isKilled || !isPending, qPrintable(killed.told()));
        pending += isPending;
        if (isPending) {
            QFile note(notes.filePath("kept.undo"));
            QVERIFY(note.open(QIODevice::ReadOnly));
            const QByteArray text = note.readAll();
            QVERIFY2(!text.contains("neu") && !text.contains("IDENTIFIED"), text);
        }

        RealStage next(*m_server, nativeDriverName());
        next.session.settingsFolder = notes.path();
        next.dialogue.pendingAction = Action::Undo;
        settlePendingUndoLogs(next.session, next.dialogue);
        QCOMPARE(next.dialogue.pending.empty(), !isPending);
        const QString where = QStringLiteral("statement %1: %2").arg(n).arg(next.told());
        if (pendingUndoLogs(next.session).empty()) {
            QVERIFY2(!isKilled || grants() == before, qPrintable(where));
            continue;
        }
        QVERIFY2(next.told().contains("もうありません"), qPrintable(where));
        next.dialogue.pendingAction = Action::Finish;
        settlePendingUndoLogs(next.session, next.dialogue);
        ++finished;
        QVERIFY2(pendingUndoLogs(next.session).empty(), qPrintable(next.told()));
        m_server->run("create user u identified by 'p'");
        QCOMPARE(m_server->run("show grants for u").count(u'\n'), 1);
    }
    QVERIFY2(pending >= 5, qPrintable(QString::number(pending)));
    QCOMPARE(finished > 0, command == deleteAccount);
}

QTEST_GUILESS_MAIN(AccountCommandsTest)
#include "test_accountcommands.moc"
