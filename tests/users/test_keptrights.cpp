#include "stage.h"

// What a real server holds of an account before and after the window's commands.
class KeptRightsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { makeObjects(m_server); }
    void editingKeepsRightsThatNoBoxShows_data();
    void editingKeepsRightsThatNoBoxShows();
    void aFailedChangeLeavesTheAccountAsItWas();
    void aDeletedAccountLeavesNoRowAndItsNameIsFree();
    void rolesAndNamelessAccountsAreListed();

private:
    QString grants(const QString &account) const { return grantsOf(m_server, account); }

    TestServer m_server;
};

void KeptRightsTest::editingKeepsRightsThatNoBoxShows_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<QString>("user");
    QTest::addColumn<QString>("connection");
    const QString builtIn = m_server.nativeString();
    row("root", "localhost", "root", builtIn);
    row("the account that is connected", "%", "demo", builtIn);
    row("hidden rights at all levels", "%", "hidden", builtIn);
    row("the same, no GRANT OPTION, ODBC", "%", "hidden2", m_server.odbcString());
}

void KeptRightsTest::editingKeepsRightsThatNoBoxShows()
{
    QFETCH(QString, host);
    QFETCH(QString, user);
    QFETCH(QString, connection);
    m_server.run("create or replace user hidden identified by 'x', hidden2 identified by 'x';"
                 "grant select, event, trigger, create tablespace, delete history, binlog "
                 "admin, binlog monitor on *.* to "
                 "hidden with grant option;"
                 "grant event, insert, delete history on *.* to hidden2;"
                 "grant select, event, trigger on d1.* to hidden with grant option; grant "
                 "event, drop on d1.* to hidden2;"
                 "grant update, create, drop, delete history, select (a, b), insert (a) on "
                 "d1.t1 to hidden with grant option;"
                 "grant select (b), trigger on d1.t1 to hidden2; grant execute on procedure "
                 "d1.p to hidden, hidden2;");
    const QString account = QStringLiteral("'%1'@'%2'").arg(user, host);
    const QString before = grants(account);
    UserStage stage(connection);
    stage.choose("lstUser", host + u'\t' + user);
    stage.does("ﾕｰｻﾞｰ権限を変更します。", "cmdGrantEdit", "変更しました。");
    QCOMPARE(grants(account), before);

    stage.choose("lstUser", host + u'\t' + user);
    if (stage.items("lstDB").isEmpty())
        return;
    stage.choose("lstDB", "d1");
    stage.does("DB権限を変更します。", "cmdDbGrantEdit", "変更しました。");
    QCOMPARE(grants(account), before);
    stage.choose("lstTable", "d1\tt1");
    stage.does("TABLE権限を変更します。", "cmdTableGrantEdit", "変更しました。");
    QCOMPARE(grants(account), before);
}

void KeptRightsTest::aFailedChangeLeavesTheAccountAsItWas()
{
    m_server.run("create or replace user hidden identified by 'x';"
                 "grant select, event, process on *.* to hidden with grant option;"
                 "install soname 'simple_password_check'");
    const QString before = grants("hidden@'%'");
    UserStage stage(m_server.nativeString());
    stage.choose("lstUser", "%\thidden");
    stage.check("ckPrivType_0", false);
    stage.type("txtPassword", "weak");
    stage.dialogue.agreesInVain(
        "ﾕｰｻﾞｰ権限を変更します。",
        "Your password does not satisfy the current policy requirements (simple_password_check)");
    stage.click("cmdGrantEdit");
    m_server.run("uninstall soname 'simple_password_check'");
    QCOMPARE(grants("hidden@'%'"), before);
}

void KeptRightsTest::aDeletedAccountLeavesNoRowAndItsNameIsFree()
{
    m_server.run("create or replace user gone identified by 'x'; create or replace role r;"
                 "grant select on *.* to gone; grant select on d1.* to gone; grant r to gone;"
                 "grant select (a), update on d1.t1 to gone; grant execute on procedure d1.p to gone;"
                 "insert into mysql.proxies_priv (host, user) values ('%', 'gone'); flush privileges;");
    UserStage stage(m_server.nativeString());
    stage.choose("lstUser", "%\tgone");
    stage.dialogue.deletes("ﾕｰｻﾞｰを削除します。");
    stage.click("cmdDelete");
    for (const char *table :
         {"global_priv", "db", "tables_priv", "columns_priv", "procs_priv", "proxies_priv", "roles_mapping"})
        QCOMPARE(m_server.run(
                     QStringLiteral("select * from mysql.%1 where user = 'gone'").arg(QLatin1String(table))),
                 QString());
    m_server.run("create user gone identified by 'x'");
    QCOMPARE(grants("gone").count(u'\n'), 1);
}

void KeptRightsTest::rolesAndNamelessAccountsAreListed()
{
    m_server.run("create or replace role clerk; grant select on d1.* to clerk;"
                 "create or replace user ''@'nowhere'; grant select on d2.* to ''@'nowhere';");
    UserStage stage(m_server.nativeString());
    stage.choose("lstUser", "\tclerk");
    QCOMPARE(stage.items("lstDB"), QStringList("d1"));
    // A statement for 'clerk'@"" would reach an account 'clerk'@"%": nothing can be sent for a role.
    for (const char *button : {"cmdGrantEdit", "cmdDelete", "cmdDbGrantEdit", "cmdTableGrantAdd"})
        QVERIFY2(!stage.isEnabled(button), button);

    stage.choose("lstUser", "nowhere\t");
    QCOMPARE(stage.items("lstDB"), QStringList("d2"));
    stage.check("ckPrivType_0");
    stage.does("ﾕｰｻﾞｰ権限を変更します。", "cmdGrantEdit", "変更しました。");
    QVERIFY(grants("''@nowhere").contains("GRANT SELECT ON *.*"));
    m_server.run("drop user ''@nowhere");
}

QTEST_MAIN(KeptRightsTest)
#include "test_keptrights.moc"
