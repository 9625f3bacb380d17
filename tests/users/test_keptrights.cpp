#include "support/gui/stage.h"
#include "users/frmUserAdd.h"

#include <QSet>

using Brand = TestServer::Brand;

namespace {

// The window on a real server, with a scripted user before it.
struct UserStage : Stage {
    explicit UserStage(const QString &connectionString)
        : Stage(connectionString)
    {
        open(new frmUserAdd(session, nullptr, &dialogue));
    }
};

// Objects, and an account with rights at all levels, on which no box shows all.
const char *const setUp =
    "drop database if exists d1; drop database if exists d2; create database d1; create database d2;"
    "create table d1.t1 (a int, b int); create table d2.t (a int); create procedure d1.p() select 1;"
    "create user hidden identified by 'x'; create user hidden2 identified by 'x';"
    "grant select, event, trigger, create tablespace, replication client on *.* to hidden with grant option;"
    "grant event, insert on *.* to hidden2;"
    "grant select, event, trigger on d1.* to hidden with grant option;"
    "grant event, drop on d1.* to hidden2; grant select, insert, event on `d\\_1`.* to hidden2;"
    "grant update, create, drop, select (a, b), insert (a) on d1.t1 to hidden with grant option;"
    "grant select (b), trigger on d1.t1 to hidden2;"
    "grant execute on procedure d1.p to hidden; grant execute on procedure d1.p to hidden2;";
const char *const setUpMariaDb =
    "grant delete history, binlog admin on *.* to hidden; grant delete history on d1.t1 to hidden;"
    "create or replace role r; grant r to hidden; set default role r for hidden;";
const char *const setUpMySql9 =
    "grant backup_admin on *.* to hidden with grant option; grant firewall_exempt on *.* to hidden;"
    "grant backup_admin on *.* to hidden2; revoke select on d2.* from hidden; revoke insert on d2.* from "
    "hidden2;"
    "drop role if exists r; create role r; grant r to hidden; alter user hidden default role r;";

const QString change = "ﾕｰｻﾞｰ権限を変更します。", changed = "変更しました。", deleted = "削除しました。";

// Of another account.
QString loginString(const TestServer &server, const QString &user, const QString &password)
{
    return server.nativeString().replace("uid=demo;pwd=demo",
                                         QStringLiteral("uid=%1;pwd=%2").arg(user, password));
}

} // namespace

// What each kind of server holds of an account before and after the window's commands.
class KeptRightsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { TestServers::addRows(); }
    void init();
    void editingNothingChangesNothing_data();
    void editingNothingChangesNothing();
    void whatIsEditedChangesAndNothingElse();
    void aPasswordIsChangedAlone_data();
    void aPasswordIsChangedAlone();
    void noPasswordIsGivenToWhoUsesNone();
    void variablesOfTheSessionChangeNothing();
    void aFailedChangeLeavesTheAccountAsItWas();
    void aMissingRightOfTheAdministratorsIsFoundFirst();
    void anExistingAccountGetsWhatWasPromised();
    void whatIsDeletedLeavesNoRow();
    void rolesAndNamelessAccountsAreListed();

private:
    QString run(const QString &statements) const { return m_server->run(statements); }
    void dropAccount(const QString &account) const
    {
        run(m_brand == Brand::MySql56 ? QStringLiteral("grant usage on *.* to %1; drop user %1").arg(account)
                                      : "drop user if exists " + account);
    }
    // SHOW GRANTS, each right for itself, and SHOW CREATE USER where it exists.
    QSet<QString> rightsOf(const QString &account) const;
    void compare(const QString &account, const QSet<QString> &before, const QSet<QString> &gone,
                 const QSet<QString> &come) const;

    TestServers m_servers{{"--loose-partial-revokes=ON"}};
    TestServer *m_server = nullptr;
    Brand m_brand = Brand::MariaDb;
};

void KeptRightsTest::init()
{
    QFETCH_GLOBAL(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    m_brand = brand;
    m_server = &m_servers.of(brand);
    for (const char *account : {"hidden", "hidden2", "small"})
        dropAccount(account);
    run(setUp);
    run(brand == Brand::MariaDb ? setUpMariaDb : brand == Brand::MySql9 ? setUpMySql9 : "");
}

QSet<QString> KeptRightsTest::rightsOf(const QString &account) const
{
    static const QRegularExpression grant("^(GRANT|REVOKE) (.+) (ON .+? (?:TO|FROM) \\S+)(.*)$");
    static const QRegularExpression comma(", *(?![^(]*\\))");
    QSet<QString> rights;
    for (const QString &line : run("show grants for " + account).split(u'\n', Qt::SkipEmptyParts)) {
        const QRegularExpressionMatch match = grant.match(QString(line).remove(u'`').remove(u'\''));
        if (!match.hasMatch())
            rights << line;
        for (const QString &right : match.captured(2).split(comma, Qt::SkipEmptyParts))
            rights << match.captured(1) + u' ' + right + u' ' + match.captured(3);
        QString rest = match.captured(4);
        if (rest.contains("WITH GRANT OPTION"))
            rights << "GRANT OPTION " + match.captured(3);
        if (const QString others = rest.remove("WITH GRANT OPTION").trimmed(); !others.isEmpty())
            rights << others;
    }
    if (m_brand != Brand::MySql56)
        rights << run("show create user " + account);
    return rights;
}

void KeptRightsTest::compare(const QString &account, const QSet<QString> &before, const QSet<QString> &gone,
                             const QSet<QString> &come) const
{
    const QSet<QString> now = rightsOf(account);
    QCOMPARE(before - now, gone);
    QCOMPARE(now - before, come);
}

void KeptRightsTest::editingNothingChangesNothing_data()
{
    const Rows<QString, bool> row;
    row("root", "localhost\troot", true);
    row("the account that is connected", "%\tdemo", true);
    row("hidden rights at all levels", "%\thidden", true);
    row("the same, no GRANT OPTION, ODBC", "%\thidden2", false);
}

void KeptRightsTest::editingNothingChangesNothing()
{
    const auto [item, isBuiltIn] = fetched<QString, bool>();
    if (!isBuiltIn && m_brand == Brand::MySql56)
        QSKIP("Connector/ODBC 3.1.15 cannot reach MySQL 5.6");
    const QString account =
        QStringLiteral("'%2'@'%1'").arg(item.section(u'\t', 0, 0), item.section(u'\t', 1));
    const QSet<QString> before = rightsOf(account);
    UserStage stage(isBuiltIn ? m_server->nativeString() : m_server->odbcString());
    stage.choose("lstUser", item);
    stage.does(change, "cmdGrantEdit", changed);
    compare(account, before, {}, {});

    stage.choose("lstUser", item);
    stage.type("txtPassword", "");
    stage.does(change, "cmdGrantEdit", changed + QString("ﾊﾟｽﾜｰﾄﾞは空欄なので、元のままです。"));
    compare(account, before, {}, {});

    stage.choose("lstUser", item);
    if (stage.items("lstDB").isEmpty())
        return;
    stage.choose("lstDB", "d1");
    stage.does("DB権限を変更します。", "cmdDbGrantEdit", changed);
    compare(account, before, {}, {});
    stage.choose("lstTable", "d1\tt1");
    stage.does("TABLE権限を変更します。", "cmdTableGrantEdit", changed);
    compare(account, before, {}, {});
}

void KeptRightsTest::whatIsEditedChangesAndNothingElse()
{
    UserStage stage(m_server->nativeString());
    QSet<QString> before = rightsOf("hidden");
    stage.choose("lstUser", "%\thidden");
    stage.check("ckPrivType_0", false);
    stage.check("ckPrivType_9");
    stage.does(change, "cmdGrantEdit", changed);
    QCOMPARE(stage.control<ChosenList>("lstUser")->currentRow(), 0);
    QSet<QString> gone{"GRANT SELECT ON *.* TO hidden@%"};
    if (m_brand == Brand::MySql9)
        gone << "REVOKE SELECT ON d2.* FROM hidden@%"; // an exception from a right that is gone
    compare("hidden", before, gone, {"GRANT FILE ON *.* TO hidden@%"});

    before = rightsOf("hidden");
    stage.choose("lstUser", "%\thidden");
    stage.check("ckPrivType_10", false);
    stage.does(change, "cmdGrantEdit", changed);
    compare("hidden", before, {"GRANT OPTION ON *.* TO hidden@%"}, {});

    // The exception from INSERT stays where INSERT stays.
    before = rightsOf("hidden2");
    stage.choose("lstUser", "%\thidden2");
    stage.check("ckPrivType_8");
    stage.does(change, "cmdGrantEdit", changed);
    compare("hidden2", before, {}, {"GRANT PROCESS ON *.* TO hidden2@%"});

    before = rightsOf("hidden");
    stage.choose("lstUser", "%\thidden");
    stage.choose("lstDB", "d1");
    stage.check("ckDBPrivType_0", false);
    stage.check("ckDBPrivType_3");
    stage.does("DB権限を変更します。", "cmdDbGrantEdit", changed);
    compare("hidden", before, {"GRANT SELECT ON d1.* TO hidden@%"}, {"GRANT DELETE ON d1.* TO hidden@%"});
    QCOMPARE(stage.chosen("lstDB"), "d1");

    before = rightsOf("hidden2");
    stage.choose("lstUser", "%\thidden2");
    stage.choose("lstDB", "d\\_1");
    stage.check("ckDBPrivType_1", false);
    stage.does("DB権限を変更します。", "cmdDbGrantEdit", changed);
    compare("hidden2", before, {"GRANT INSERT ON d\\\\_1.* TO hidden2@%"}, {});

    before = rightsOf("hidden2");
    stage.choose("lstUser", "%\thidden2");
    stage.choose("lstTable", "d1\tt1");
    stage.check("ckTablePrivType_1");
    stage.does("TABLE権限を変更します。", "cmdTableGrantEdit", changed);
    compare("hidden2", before, {}, {"GRANT INSERT ON d1.t1 TO hidden2@%"});
}

void KeptRightsTest::aPasswordIsChangedAlone_data()
{
    const Rows<QString> row;
    row("as MariaDB's packages make root", "mysql_native_password using 'invalid' or unix_socket");
    row("after another way in", "unix_socket or mysql_native_password using 'invalid'");
}

void KeptRightsTest::aPasswordIsChangedAlone()
{
    const auto [ways] = fetched<QString>();
    if (m_brand == Brand::MariaDb)
        run("alter user hidden identified via " + ways);
    static const QRegularExpression hash("'(\\*[0-9A-F]+|invalid)'");
    const auto rights = [this] {
        const QString more = m_brand == Brand::MariaDb ? "; show create user hidden" : "";
        return run("show grants for hidden" + more).remove(hash);
    };
    const QString before = rights();
    UserStage stage(m_server->nativeString());
    stage.choose("lstUser", "%\thidden");
    stage.type("txtPassword", "n'e\\nu😀");
    stage.does(change, "cmdGrantEdit", changed);
    QVERIFY(m_server->accepts("hidden", "n'e\\nu😀"));
    QCOMPARE(rights(), before);
}

void KeptRightsTest::noPasswordIsGivenToWhoUsesNone()
{
    if (m_brand != Brand::MySql9)
        QSKIP("MariaDB refuses it itself; MySQL 5.6 comes without such a plugin");
    run("install plugin auth_socket soname 'auth_socket.so';"
        "alter user hidden identified with auth_socket as 'clerk'");
    const QSet<QString> before = rightsOf("hidden");
    UserStage stage(m_server->nativeString());
    stage.choose("lstUser", "%\thidden");
    stage.check("ckPrivType_0", false);
    stage.type("txtPassword", "new");
    stage.fails(change, "cmdGrantEdit",
                "このﾕｰｻﾞｰの認証方式(auth_socket)はﾊﾟｽﾜｰﾄﾞを使いません。ﾊﾟｽﾜｰﾄﾞは変更できません。");
    compare("hidden", before, {}, {});
    dropAccount("hidden");
    run("uninstall plugin auth_socket");
}

// The console has the same session. Hosts stand in double quotes, and what is read must be whole.
void KeptRightsTest::variablesOfTheSessionChangeNothing()
{
    const QSet<QString> before = rightsOf("hidden");
    UserStage stage(m_server->nativeString());
    stage.choose("lstUser", "%\thidden");
    stage.choose("lstTable", "d1\tt1");
    Connection &connection = stage.session.connection();
    connection.execute("set session sql_mode='ANSI_QUOTES', autocommit=0, sql_select_limit=2");
    stage.does("TABLE権限を変更します。", "cmdTableGrantEdit", changed);
    compare("hidden", before, {}, {});
    stage.does(change, "cmdGrantEdit", changed);
    compare("hidden", before, {}, {});
    const RecordSet now = connection.execute("select @@sql_mode, @@autocommit, @@sql_select_limit");
    QCOMPARE(now.text(0) + now.text(1) + now.text(2), "ANSI_QUOTES02");
}

void KeptRightsTest::aFailedChangeLeavesTheAccountAsItWas()
{
    const bool isMariaDb = m_brand == Brand::MariaDb;
    const QString plugin = isMariaDb ? "simple_password_check.so" : "validate_password.so";
    if (!QFile::exists(run("select @@plugin_dir").trimmed() + u'/' + plugin))
        QSKIP("the server comes without a plugin for which a password is too weak");
    run(isMariaDb ? "install soname 'simple_password_check'"
                  : "install plugin validate_password soname 'validate_password.so'");
    const QSet<QString> before = rightsOf("hidden");
    UserStage stage(m_server->nativeString());
    stage.choose("lstUser", "%\thidden");
    stage.check("ckPrivType_0", false);
    stage.check("ckPrivType_9");
    stage.check("ckPrivType_10", false);
    stage.type("txtPassword", "weak");
    stage.fails(change, "cmdGrantEdit",
                isMariaDb ? "Your password does not satisfy the current policy requirements "
                            "(simple_password_check)"
                          : "Your password does not satisfy the current policy requirements");
    run(isMariaDb ? "uninstall soname 'simple_password_check'" : "uninstall plugin validate_password");
    compare("hidden", before, {}, {});
}

void KeptRightsTest::aMissingRightOfTheAdministratorsIsFoundFirst()
{
    run("create user small identified by 'p'; grant select, insert, create user, reload, process, event on "
        "*.* "
        "to small with grant option; grant select, insert, update, delete on mysql.* to small;"
        "grant file on *.* to hidden");
    const QSet<QString> before = rightsOf("hidden");
    UserStage stage(loginString(*m_server, "small", "p"));
    stage.choose("lstUser", "%\thidden");
    stage.check("ckPrivType_1");
    m_server->takeStatements();
    stage.fails(change, "cmdGrantEdit", "Access denied for user 'small'@'%' (using password: YES)");
    QCOMPARE(m_server->takeStatements().filter(QRegularExpression("^(REVOKE|FLUSH)")), QStringList());
    compare("hidden", before, {}, {});

    stage.choose("lstDB", "d1");
    stage.check("ckDBPrivType_3");
    stage.fails("DB権限を変更します。", "cmdDbGrantEdit",
                "Access denied for user 'small'@'%' to database 'd1'");
    QCOMPARE(m_server->takeStatements().filter(QRegularExpression("^(REVOKE|FLUSH)")), QStringList());
    compare("hidden", before, {}, {});

    run("revoke reload on *.* from small");
    UserStage poorer(loginString(*m_server, "small", "p"));
    poorer.dialogue.agrees = true;
    for (const char *button : {"cmdTableGrantEdit", "cmdTableGrantDel", "cmdDelete"}) {
        poorer.choose("lstUser", "%\thidden");
        poorer.choose("lstTable", "d1\tt1");
        poorer.click(button);
        QVERIFY2(poorer.told().contains("RELOAD"), qPrintable(poorer.told()));
        run("flush privileges");
        compare("hidden", before, {}, {});
    }
}

void KeptRightsTest::anExistingAccountGetsWhatWasPromised()
{
    UserStage stage(m_server->nativeString());
    run("create user late identified by 'old'; grant insert on *.* to late"); // by somebody else
    stage.type("txtUser", "late");
    stage.type("txtPassword", "new");
    stage.check("ckPrivType_8");
    const auto add = [&](bool isAgreed) {
        stage.dialogue.expectConfirm("ﾕｰｻﾞｰを追加します。", Icon::Information, true);
        stage.dialogue.expectConfirm("ﾕｰｻﾞｰは既に存在します。ﾊﾟｽﾜｰﾄﾞが変更され、権限が追加されます。",
                                     Icon::Critical, isAgreed);
        if (isAgreed)
            stage.dialogue.expectInform("追加しました。");
        stage.click("cmdOk");
    };
    if (m_brand == Brand::MariaDb) { // takes no host for "%"
        add(false);
        QVERIFY(m_server->accepts("late", "old"));
    }
    stage.type("txtHost", "%");
    add(true);
    QVERIFY(m_server->accepts("late", "new"));
    QVERIFY(rightsOf("late").contains("GRANT PROCESS ON *.* TO late@%"));
    QVERIFY(rightsOf("late").contains("GRANT INSERT ON *.* TO late@%"));
    run("drop user late");
}

void KeptRightsTest::whatIsDeletedLeavesNoRow()
{
    run("insert into mysql.proxies_priv (host, user) values ('%', 'hidden'); flush privileges;");
    if (m_brand == Brand::MySql9) // else it keeps no history
        run("alter user hidden identified by 'y' password history 3");
    UserStage stage(m_server->nativeString());
    stage.choose("lstUser", "%\thidden");
    stage.choose("lstTable", "d1\tt1");
    stage.does("TABLE権限を削除します。", "cmdTableGrantDel", deleted, Icon::Critical);
    QCOMPARE(run("select 1 from mysql.tables_priv where user = 'hidden'; select 1 from mysql.columns_priv "
                 "where user = 'hidden'"),
             QString());
    QVERIFY(!run("show grants for hidden").contains("t1"));

    stage.choose("lstUser", "%\thidden");
    stage.does("ﾕｰｻﾞｰを削除します。", "cmdDelete", deleted, Icon::Critical);
    QVERIFY(!stage.items("lstUser").contains("%\thidden"));
    const QString tables =
        run("select distinct concat(table_name, ' where ', column_name) from information_schema.columns "
            "where table_schema = 'mysql' and column_name like '%user' and table_name not like '%log%'");
    QVERIFY2(tables.contains("columns_priv") && tables.contains("proxies_priv"), qPrintable(tables));
    for (const QString &table : tables.split(u'\n', Qt::SkipEmptyParts))
        QVERIFY2(run(QStringLiteral("select 1 from mysql.%1 = 'hidden'").arg(table)).isEmpty(),
                 qPrintable(table));
    run("create user hidden identified by 'x'");
    QCOMPARE(run("show grants for hidden").count(u'\n'), 1);
}

void KeptRightsTest::rolesAndNamelessAccountsAreListed()
{
    if (m_brand == Brand::MariaDb) {
        run("create or replace role clerk; grant select on d1.* to clerk");
        UserStage stage(m_server->nativeString());
        stage.choose("lstUser", "\tclerk");
        QCOMPARE(stage.items("lstDB"), QStringList("d1"));
        // A statement for 'clerk'@"" would reach an account 'clerk'@"%": nothing can be sent for a role.
        for (const char *button : {"cmdGrantEdit", "cmdDelete", "cmdDbGrantEdit", "cmdTableGrantAdd"})
            QVERIFY2(!stage.isEnabled(button), button);
    }
    dropAccount("''@'nowhere'");
    run("create user ''@'nowhere'; grant select on d2.* to ''@'nowhere'");
    UserStage stage(m_server->nativeString());
    stage.choose("lstUser", "nowhere\t");
    QCOMPARE(stage.items("lstDB"), QStringList("d2"));
    stage.check("ckPrivType_0");
    stage.does(change, "cmdGrantEdit", changed);
    QVERIFY(run("show grants for ''@nowhere").contains("GRANT SELECT ON *.*"));
    dropAccount("''@'nowhere'");
}

QTEST_MAIN(KeptRightsTest)
#include "test_keptrights.moc"
