#include "core/command/pendingundo.h"
#include "core/session/basconnection.h"
#include "server/accounts/accountcreation.h"
#include "server/accounts/grants.h"
#include "server/serverpagetest.h"

#include <QDialog>
#include <QListWidget>
#include <QSpinBox>

// The page of accounts, roles and their rights.
class PrivilegePageTest : public ServerPageTest {
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnAnyWarning(); }
    void cleanup() { m_stage.reset(); }
    void grantsAreReadAndTakenBack_data();
    void grantsAreReadAndTakenBack();
    void rightsAreGrantedAndRevoked_data() { TestServers::addRows(); }
    void rightsAreGrantedAndRevoked();
    void rolesAreGivenAndSwitchedOn_data() { TestServers::addRows(); }
    void rolesAreGivenAndSwitchedOn();
    void rightsOnColumnsAreTakenBackAsTheyWereGiven_data() { TestServers::addRows(); }
    void rightsOnColumnsAreTakenBackAsTheyWereGiven();
    void anAccountIsGoneToOnceItIsRead();
    void accountsAreMade_data() { TestServers::addRows(); }
    void accountsAreMade();
    void anAccountHalfMadeIsToldAtTheNextStart();

private:
    // With the account "visitor" chosen.
    void openVisitor(TestServer &server);
    void settle() const;
    void select(const QString &privilege) const;
    void pressAndWait(const char *button) const;
    bool isListed(const QString &privilege, const QString &scope) const;
};

void PrivilegePageTest::grantsAreReadAndTakenBack_data()
{
    const Rows<QString, QString> row;
    row("columns", "GRANT SELECT (`a, ON b`, `c`), INSERT ON `d`.`t` TO `u`@`%` WITH GRANT OPTION",
        "REVOKE SELECT (`a, ON b`, `c`) ON `d`.`t` FROM `u`@`%`; REVOKE INSERT ON `d`.`t` FROM `u`@`%`");
    row("old quotes", "GRANT USAGE ON *.* TO 'u'@'%' REQUIRE SSL WITH GRANT OPTION MAX_QUERIES_PER_HOUR 3",
        "REVOKE GRANT OPTION ON *.* FROM `u`@`%`");
    row("routine", "GRANT EXECUTE, ALTER ROUTINE ON PROCEDURE `d TO x`.`p` TO `u`@`%`",
        "REVOKE EXECUTE ON PROCEDURE `d TO x`.`p` FROM `u`@`%`; "
        "REVOKE ALTER ROUTINE ON PROCEDURE `d TO x`.`p` FROM `u`@`%`");
    row("roles", "GRANT `a`@`%`,`b,c`@`%` TO `u`@`%` WITH ADMIN OPTION",
        "REVOKE `a`@`%` FROM `u`@`%`; REVOKE `b,c`@`%` FROM `u`@`%`");
    row("columns without quotes", "GRANT SELECT (x y, a, b,c) ON `d`.`t` TO 'u'@'%'",
        "REVOKE SELECT (`x y`, `a`, `b,c`) ON `d`.`t` FROM `u`@`%`");
    row("columns' names", "GRANT " + onColumns("SELECT", " a,`b,``c`, ,d e") + " ON `d`.`t` TO `u`@`%`",
        "REVOKE SELECT (`a`, `b,``c`, `d e`) ON `d`.`t` FROM `u`@`%`");
    row("partial revoke", "REVOKE SELECT ON `d`.* FROM `u`@`%`", "GRANT SELECT ON `d`.* TO `u`@`%`");
    row("no grant", "SET DEFAULT ROLE `a` FOR `u`@`%`", "");
}

// An account for no host is another than the one for all, and a role of MariaDB has none.
void PrivilegePageTest::grantsAreReadAndTakenBack()
{
    QCOMPARE((AccountName{"u", ""}).quoted() + ' ' + AccountName{"r"}.quoted(), "`u`@`` `r`");
    const auto [line, expected] = fetched<QString, QString>();
    QStringList statements;
    for (const Grant &each : grantsOf(line))
        statements << revokeStatement(each, {"u", "%"});
    QCOMPARE(statements.join("; "), expected);
}

void PrivilegePageTest::settle() const
{
    QTRY_VERIFY_WITH_TIMEOUT(!m_page->isWaiting(), 20'000);
}

void PrivilegePageTest::openVisitor(TestServer &server)
{
    open(server, "privilegePage");
    QTRY_VERIFY_WITH_TIMEOUT(list("accountList").choose("`visitor`@`%`"), 20'000);
    settle();
}

void PrivilegePageTest::select(const QString &privilege) const
{
    auto &box = control<QComboBox>(*m_page, "privilegeChoice");
    QVERIFY2(box.findText(privilege) >= 0, qPrintable(privilege));
    box.setCurrentIndex(box.findText(privilege));
}

void PrivilegePageTest::pressAndWait(const char *button) const
{
    m_stage->click(button);
    settle();
}

bool PrivilegePageTest::isListed(const QString &privilege, const QString &scope) const
{
    return !cell("grantList", QString("%1\t%2\t00").arg(privilege, scope), 0).isNull();
}

void PrivilegePageTest::rightsAreGrantedAndRevoked()
{
    QFETCH(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    TestServer &server = m_servers.of(brand);
    openVisitor(server);
    select("INSERT");
    m_stage->type("privilegeDatabase", "d");
    const QString question = QString("サーバー 127.0.0.1:%1 で、visitor@% の権限を変えます。\r\n"
                                     "GRANT INSERT ON `d`.* TO `visitor`@`%`\r\n続けますか？")
                                 .arg(server.port());
    m_dialogue->expectConfirm(question, Icon::Critical, false);
    pressAndWait("grantPrivilege");
    QVERIFY(!isListed("INSERT", "`d`.*"));
    m_dialogue->expectConfirm(question, Icon::Critical, true);
    pressAndWait("grantPrivilege");
    QVERIFY(isListed("INSERT", "`d`.*"));
    QVERIFY(label("privilegeNote").startsWith("加わりました: GRANT INSERT ON `d`.* TO "));

    m_dialogue->agrees = true;
    QVERIFY(list("grantList").choose("INSERT\t`d`.*\t00"));
    pressAndWait("revokePrivilege");
    QVERIFY(!isListed("INSERT", "`d`.*"));
    if (brand == TestServer::Brand::MySql9) {
        m_stage->type("privilegeDatabase", "*");
        select("BACKUP_ADMIN");
        pressAndWait("grantPrivilege");
        QVERIFY(isListed("BACKUP_ADMIN", "*.*"));
    }
    // A right that there is only for all is refused in the server's words.
    select("SHUTDOWN");
    m_stage->type("privilegeDatabase", "d");
    pressAndWait("grantPrivilege");
    QVERIFY(label("privilegeNote").startsWith("サーバーが断りました: "));
    QVERIFY(label("privilegeNote").endsWith("SHOW GRANTS は変わっていません。"));
}

void PrivilegePageTest::rolesAreGivenAndSwitchedOn()
{
    QFETCH(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    if (brand == TestServer::Brand::MySql56)
        QSKIP("it knows no roles");
    TestServer &server = m_servers.of(brand);
    server.run("create role helper");
    openVisitor(server);
    m_dialogue->agrees = true;
    const bool hasHost = brand == TestServer::Brand::MySql9;
    const QString role = hasHost ? "`helper`@`%`" : "`helper`";
    QCOMPARE(cell("accountList", role, 1), "役割");
    QCOMPARE(cell("accountList", "`visitor`@`%`", 1), "アカウント");
    select(hasHost ? "役割 helper@%" : "役割 helper");
    pressAndWait("grantPrivilege");
    QVERIFY(isListed(role, ""));
    QVERIFY(list("grantList").choose(role + "\t\t00"));
    // What it has when it connects, and nothing of that again.
    for (const bool isOn : {true, false}) {
        m_stage->click("setDefaultRoles");
        auto &window = control<QDialog>(*m_stage->window, "defaultRoleWindow");
        QTest::keyClick(&control<QListWidget>(window, "defaultRoleList"), Qt::Key_Space);
        press(window, {"sendDefaultRole"});
        settle();
        QCOMPARE(cell("accountList", "`visitor`@`%`", 2), !isOn     ? QString()
                                                          : hasHost ? "helper@%"
                                                                    : "helper");
        const QString note = label("privilegeNote"),
                      begin = isOn ? "加わりました: SET DEFAULT ROLE " : "消えました: SET DEFAULT ROLE ";
        QVERIFY2(note.startsWith(begin + role), qPrintable(note));
    }
    QVERIFY(list("grantList").choose(role + "\t\t00"));
    pressAndWait("revokePrivilege");
    QVERIFY(!isListed(role, ""));
}

void PrivilegePageTest::rightsOnColumnsAreTakenBackAsTheyWereGiven()
{
    QFETCH(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    TestServer &server = m_servers.of(brand);
    server.run("create table if not exists d.c (a int, `b,c` int)");
    openVisitor(server);
    m_dialogue->agrees = true;
    select("SELECT");
    m_stage->type("privilegeDatabase", "d");
    m_stage->type("privilegeObject", "c");
    m_stage->type("privilegeColumns", "a, `b,c`");
    pressAndWait("grantPrivilege");
    QVERIFY2(label("privilegeNote").contains("`d`.`c`") && label("privilegeNote").contains("b,c"),
             qPrintable(label("privilegeNote")));
    m_stage->type("grantFilter", "SELECT (");
    QCOMPARE(list("grantList").rows().rowCount(), 1);
    list("grantList").selectAll();
    pressAndWait("revokePrivilege");
    QCOMPARE(list("grantList").rows().rowCount(), 0);
}

void PrivilegePageTest::anAccountIsGoneToOnceItIsRead()
{
    open(m_servers.of(TestServer::Brand::MariaDb), "processPage");
    static_cast<ServerWindow &>(*m_stage->window).showAccount("visitor", "%");
    QTRY_COMPARE_WITH_TIMEOUT(list("accountList").currentKey(), "`visitor`@`%`", 20'000);
    QTRY_VERIFY(!cell("grantList", "USAGE\t*.*\t00", 0).isNull());
}

void PrivilegePageTest::accountsAreMade()
{
    QFETCH(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    TestServer &server = m_servers.of(brand);
    open(server, "privilegePage");
    QTRY_VERIFY_WITH_TIMEOUT(m_stage->isEnabled("createAccount"), 20'000);
    m_dialogue->agrees = true;
    const auto make = [this](const QString &user, int limit) {
        m_stage->click("createAccount");
        auto &window = control<QWidget>(*m_stage->window, "createAccountWindow");
        control<QLineEdit>(window, "newUser").setText(user);
        control<QLineEdit>(window, "newPassword").setText("it's \\ secret");
        control<QSpinBox>(window, "newStatementsPerHour").setValue(limit);
        QVERIFY(!control<QLabel>(window, "newStatements").text().contains("secret"));
        press(window, {"sendAccount"});
        settle();
    };
    make("maker", 77);
    QCOMPARE(label("privilegeNote"), "作りました: maker@%");
    QVERIFY(!m_dialogue->lastQuestion.contains("secret"));
    QVERIFY(!m_stage->session.statementLog->entries().back().statement.contains("secret"));
    QVERIFY(server.accepts("maker", "it's \\ secret"));
    QCOMPARE(cell("accountList", "`maker`@`%`", 6), "文/時 77");
    if (brand != TestServer::Brand::MySql56) {
        server.run("alter user maker password expire interval 30 day account lock");
        m_page->startRefresh();
        QTRY_COMPARE(cell("accountList", "`maker`@`%`", 5), "30 日");
        QCOMPARE(cell("accountList", "`maker`@`%`", 1), "アカウント（ロック）");
        server.run("alter user maker account unlock");
    }
    make("maker", 1);
    QVERIFY(label("privilegeNote").startsWith("サーバーが断りました。何も残っていません: "));
    QVERIFY(!label("privilegeNote").contains("secret"));
    QVERIFY(server.accepts("maker", "it's \\ secret"));
}

// Killed between the statement that makes it and the one that demands TLS.
void PrivilegePageTest::anAccountHalfMadeIsToldAtTheNextStart()
{
    SKIP_WITHOUT(TestServer::Brand::MySql56);
    TestServer &server = m_servers.of(TestServer::Brand::MySql56);
    const QString found = "select ssl_type from mysql.user where user='half'";
    NewAccount wanted;
    wanted.name = {"half", "%"};
    wanted.password = "secret";
    wanted.tls = "SSL";
    bool isKilled = true, isTold = false;
    for (int n = 0; isKilled; ++n)
        for (const bool isDone : {false, true}) {
            RealStage killed(server, nativeDriverName());
            const QStringList statements =
                createAccountStatements(killed.session.connection().server(), wanted, true);
            isKilled = killedAt(killed, n, isDone, [&] {
                try {
                    makeAccount(killed.session, wanted.name, statements);
                } catch (const Failure &) {
                }
            });
            const bool isHalf = server.run(found) == "\n";
            RealStage next(server, nativeDriverName());
            next.session.settingsFolder = killed.folder.path();
            const std::vector<UndoFile> left = pendingUndoLogs(next.session);
            QVERIFY(!left.empty() || !isHalf);
            for (const UndoFile &file : left) {
                QVERIFY(!readFile(file.path).contains("secret"));
                QCOMPARE(UndoLog(next.session, file).undoPending().ending, UndoReport::Ending::Undone);
                QCOMPARE(server.run(found), QString());
                isTold = isTold || isHalf;
            }
            if (!server.run(found).isEmpty())
                server.run("drop user half@'%'");
        }
    QVERIFY(isTold);
}

QTEST_MAIN(PrivilegePageTest)
#include "test_privilegepage.moc"
