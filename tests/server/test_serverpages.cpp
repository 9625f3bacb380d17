#include "core/session/basconnection.h"
#include "server/accounts/grants.h"
#include "server/keyedlist.h"
#include "server/overview/indexes.h"
#include "server/serverwindow.h"
#include "server/variables/variablereading.h"
#include "support/gui/stage.h"

#include <QDialog>
#include <QListWidget>
#include <QSpinBox>
#include <QTabWidget>

// The pages of the server's window that show settings and the like, on servers of each brand.
class ServerPagesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnAnyWarning(); }
    void cleanup() { m_stage.reset(); }
    void variablesAreSetAndReadBack_data() { TestServers::addRows(); }
    void variablesAreSetAndReadBack();
    void variablesAreComparedWithAnotherServers();
    void superfluousIndexesAreFound();
    void listsOfTheServerAreRead_data() { TestServers::addRows(); }
    void listsOfTheServerAreRead();
    void grantsAreReadAndTakenBack_data();
    void grantsAreReadAndTakenBack();
    void rightsAreGrantedAndRevoked_data() { TestServers::addRows(); }
    void rightsAreGrantedAndRevoked();
    void anAccountIsGoneToOnceItIsRead();
    void accountsAreMade_data() { TestServers::addRows(); }
    void accountsAreMade();
    void missingRightsAreTold_data() { TestServers::addRows(); }
    void missingRightsAreTold();

private:
    void open(TestServer &server, const char *pageName, const QString &account = "demo");
    KeyedList &list(const char *name) const { return control<KeyedList>(*m_stage->window, name); }
    QString label(const char *name) const { return control<QLabel>(*m_page, name).text(); }
    // A cell of the row with that key; a null text without one.
    QString cell(const char *name, const QString &key, int column) const
    {
        KeyedRows &rows = list(name).rows();
        for (int row = 0; row < rows.rowCount(); ++row)
            if (rows.row(row).key == key)
                return rows.row(row).cells[column];
        return {};
    }
    void setVariable(const QString &name, VariableScope scope, const QString &value);

    TestServers m_servers{{"--performance-schema=ON"}, [](TestServer &server) {
                              server.run("create database d; create user visitor@'%' identified by 'demo'");
                          }};
    std::unique_ptr<Stage> m_stage;
    ServerPage *m_page = nullptr; // that was opened
    ScriptedDialogue *m_dialogue = nullptr;
    SavedConnections m_saved;
};

void ServerPagesTest::open(TestServer &server, const char *pageName, const QString &account)
{
    m_stage = std::make_unique<Stage>(Stage::Server::Real);
    m_stage->enter(nativeDriverName(), server.port(), account, "demo");
    auto dialogue = std::make_unique<ScriptedDialogue>();
    m_dialogue = dialogue.get();
    auto *window = new ServerWindow(m_stage->session, {{}, m_saved}, std::move(dialogue));
    window->setAttribute(Qt::WA_DeleteOnClose, false);
    m_stage->open(window);
    m_page = &control<ServerPage>(*window, pageName);
    control<QTabWidget>(*window, "serverPages").setCurrentWidget(m_page);
}

void ServerPagesTest::setVariable(const QString &name, VariableScope scope, const QString &value)
{
    QVERIFY(list("variableList").choose(name));
    m_stage->click("setVariable");
    auto &window = control<QWidget>(*m_stage->window, "setVariableWindow");
    auto &scopes = control<QComboBox>(window, "variableScope");
    scopes.setCurrentIndex(scopes.findData(static_cast<int>(scope)));
    control<QLineEdit>(window, "variableValue").setText(value);
    press(window, {"sendVariable"});
    QTRY_VERIFY(!m_page->isWaiting());
}

void ServerPagesTest::variablesAreSetAndReadBack()
{
    QFETCH(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    TestServer &server = m_servers.of(brand);
    const bool tellsPresets = brand != TestServer::Brand::MySql56;
    open(server, "variablePage");
    const auto session = [this](const QString &name) { return cell("variableList", name, 1); };
    const auto global = [this](const QString &name) { return cell("variableList", name, 2); };
    QTRY_COMPARE_WITH_TIMEOUT(global("max_error_count").isEmpty(), false, 20'000);
    QCOMPARE(cell("variableList", "port", 4).isEmpty(), !tellsPresets);
    QCOMPARE(label("pageProblem").contains("教えません"), !tellsPresets);
    const QString before = global("max_error_count");

    // For all: a question with the value that the server has, and "no" leaves it alone.
    const QString question = QString("サーバー 127.0.0.1:%1 で、変数 max_error_count の値を変えます。\r\n"
                                     "今の値: 「%2」\r\nSET GLOBAL max_error_count = 77\r\n"
                                     "すでにある接続の値は変わりません。\r\n続けますか？")
                                 .arg(server.port())
                                 .arg(before);
    m_dialogue->expectConfirm(question, Icon::Critical, false);
    setVariable("max_error_count", VariableScope::Global, "77");
    m_dialogue->agrees = true;
    setVariable("sql_mode", VariableScope::Session, "ANSI_QUOTES");
    QCOMPARE(session("sql_mode"), "ANSI_QUOTES");
    QCOMPARE(global("max_error_count"), before);
    m_dialogue->agrees = false;
    m_dialogue->expectConfirm(question, Icon::Critical, true);
    setVariable("max_error_count", VariableScope::Global, "77");
    QCOMPARE(label("variableNote"), QString("max_error_count: 「%1」 → 「77」").arg(before));
    QCOMPARE(global("max_error_count"), "77");
    QCOMPARE(session("max_error_count"), before);
    QCOMPARE(m_stage->session.statementLog->entries().back().statement, "SET GLOBAL max_error_count = 77");
    // MySQL tells of a SET, but not whether it was one for all; some it sends to itself.
    if (tellsPresets)
        QCOMPARE(cell("variableList", "max_error_count", 4),
                 brand == TestServer::Brand::MySql9 ? "SET (全体か接続だけかは不明)、接続だけ違う"
                                                    : "SET、接続だけ違う");
    QCOMPARE(cell("variableList", "foreign_key_checks", 4), "");

    m_dialogue->agrees = true;
    setVariable("max_error_count", VariableScope::Session, "-1"); // taken as 0, with a warning
    QVERIFY2(label("variableNote").contains("→ 「0」\nTruncated incorrect max_error_count value"),
             qPrintable(label("variableNote")));
    setVariable("sql_mode", VariableScope::Global, "no such mode");
    QVERIFY(label("variableNote").startsWith("サーバーが断りました。sql_mode の値は "));
    if (brand == TestServer::Brand::MySql9) {
        setVariable("max_error_count", VariableScope::PersistOnly, "78");
        QCOMPARE(label("variableNote"), "max_error_count: （なし） → 「78」");
        QCOMPARE(global("max_error_count"), "77");
    }
}

void ServerPagesTest::variablesAreComparedWithAnotherServers()
{
    TestServer other({"--max-error-count=91"});
    ConnectionProfile profile;
    profile.id = "1";
    profile.name = "other";
    profile.server = "127.0.0.1";
    profile.port = QString::number(other.port());
    profile.user = "demo";
    m_saved = {[profile] { return std::vector<ConnectionProfile>{profile}; },
               [](auto &, auto *) { return std::optional<QString>("demo"); }};
    open(m_servers.of(TestServer::Brand::MariaDb), "variablePage");
    m_saved = {};
    QTRY_COMPARE_WITH_TIMEOUT(cell("variableList", "max_error_count", 2).isEmpty(), false, 20'000);
    m_stage->control<QComboBox>("comparedServer")->setCurrentIndex(1);
    m_stage->click("compareVariables");
    QTRY_COMPARE_WITH_TIMEOUT(cell("variableList", "max_error_count", 5), "91", 20'000);
    m_stage->check("onlyDifferent");
    QVERIFY(list("variableList").rows().rowCount() < 60);
    QCOMPARE(cell("variableList", "port", 5), QString::number(other.port()));
    QVERIFY(cell("variableList", "sort_buffer_size", 0).isNull());
}

void ServerPagesTest::superfluousIndexesAreFound()
{
    const auto index = [](const char *name, const char *type, bool isUnique,
                          std::vector<TableIndex::Part> parts) {
        return TableIndex{"d", "t", name, type, isUnique, std::move(parts)};
    };
    const std::vector<TableIndex> indexes{
        index("PRIMARY", "BTREE", true, {{"a"}, {"b"}}),
        index("ab", "BTREE", true, {{"a"}, {"b"}}), // one of two that are alike
        index("a", "BTREE", false, {{"a"}}),        // begins the key
        index("u", "BTREE", true, {{"a"}}),         // keeps double values out
        index("c5", "BTREE", false, {{"c", 5}}),    // a shorter prefix
        index("c9", "BTREE", false, {{"c", 9}, {"a"}}),
        index("c5a", "BTREE", false, {{"c", 5}, {"a"}}), // finds by a what c9 does not
        index("down", "BTREE", false, {{"a DESC"}}),
        index("words", "FULLTEXT", false, {{"c"}}),
        index("more", "FULLTEXT", false, {{"c"}, {"d"}}),
    };
    QStringList found;
    for (const DoubledIndex &each : doubledIndexes(indexes))
        found << each.index->name + '<' + each.by->name;
    QCOMPARE(found.join(' '), "ab<PRIMARY a<PRIMARY c5<c9");
}

void ServerPagesTest::listsOfTheServerAreRead()
{
    QFETCH(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    TestServer &server = m_servers.of(brand);
    server.run(
        "drop table if exists d.t; create table d.t (a int primary key, b int, key b1 (b), key b2 (b, a), "
        "key unused (b, a)) engine=InnoDB; insert into d.t values (1, 1); "
        "select sum(a) from d.t force index (b1) where b = 1; analyze table d.t");
    open(server, "sizePage");
    QTRY_VERIFY_WITH_TIMEOUT(!cell("tableSizeList", "d\tt", 7).isEmpty(), 20'000);
    const auto choose = [this](int index) {
        control<QComboBox>(*m_page, "overviewChoice").setCurrentIndex(index);
        QTRY_VERIFY_WITH_TIMEOUT(!m_page->isWaiting(), 20'000);
        QCOMPARE(label("pageProblem"), "");
    };
    choose(1);
    QVERIFY(!cell("indexSizeList", "d\tt\tb2", 3).isEmpty());
    choose(2);
    QCOMPARE(cell("unusedIndexList", "d\tt\tunused", 3), "b, a");
    QVERIFY(cell("unusedIndexList", "d\tt\tb1", 3).isNull());
    choose(3);
    QCOMPARE(cell("doubledIndexList", "d\tt\tunused", 4), "b2");
    for (const char *name : {"replicationPage", "modulePage"}) {
        m_page = &control<ServerPage>(*m_stage->window, name);
        control<QTabWidget>(*m_stage->window, "serverPages").setCurrentWidget(m_page);
        for (int i = 0; i < control<QComboBox>(*m_page, "overviewChoice").count(); ++i)
            choose(i);
    }
    QCOMPARE(cell("engineList", "InnoDB", 1), "DEFAULT");
}

void ServerPagesTest::missingRightsAreTold()
{
    QFETCH(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    open(m_servers.of(brand), "replicationPage", "visitor");
    QTRY_VERIFY_WITH_TIMEOUT(label("pageProblem").contains("権限が足りません: "), 20'000);
    QVERIFY(label("pageProblem").contains("REPLICATION CLIENT") ||
            label("pageProblem").contains("SLAVE MONITOR"));
    m_page = &control<ServerPage>(*m_stage->window, "sizePage");
    control<QTabWidget>(*m_stage->window, "serverPages").setCurrentWidget(m_page);
    QTRY_VERIFY(label("pageProblem").contains("SELECT 権限がない"));
    m_page = &control<ServerPage>(*m_stage->window, "privilegePage");
    control<QTabWidget>(*m_stage->window, "serverPages").setCurrentWidget(m_page);
    QTRY_VERIFY(label("pageProblem").contains("SELECT command denied"));
    QVERIFY(list("accountList").choose("`visitor`@`%`")); // at least its own
}

void ServerPagesTest::grantsAreReadAndTakenBack_data()
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
void ServerPagesTest::grantsAreReadAndTakenBack()
{
    QCOMPARE((AccountName{"u", ""}).quoted() + ' ' + AccountName{"r"}.quoted(), "`u`@`` `r`");
    const auto [line, expected] = fetched<QString, QString>();
    QStringList statements;
    for (const Grant &each : grantsOf(line))
        statements << revokeStatement(each, {"u", "%"});
    QCOMPARE(statements.join("; "), expected);
}

void ServerPagesTest::rightsAreGrantedAndRevoked()
{
    QFETCH(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    TestServer &server = m_servers.of(brand);
    const bool isMySql9 = brand == TestServer::Brand::MySql9, hasRoles = brand != TestServer::Brand::MySql56;
    if (hasRoles)
        server.run("create role helper");
    open(server, "privilegePage");
    QTRY_VERIFY_WITH_TIMEOUT(list("accountList").choose("`visitor`@`%`"), 20'000);
    const auto settle = [this] { QTRY_VERIFY_WITH_TIMEOUT(!m_page->isWaiting(), 20'000); };
    const auto select = [this](const QString &privilege) {
        auto &box = control<QComboBox>(*m_page, "privilegeChoice");
        QVERIFY2(box.findText(privilege) >= 0, qPrintable(privilege));
        box.setCurrentIndex(box.findText(privilege));
    };
    const auto isListed = [this](const QString &privilege, const QString &scope) {
        return !cell("grantList", QString("%1\t%2\t00").arg(privilege, scope), 0).isNull();
    };
    settle();
    select("INSERT");
    m_stage->type("privilegeDatabase", "d");
    const QString question = QString("サーバー 127.0.0.1:%1 で、visitor@% の権限を変えます。\r\n"
                                     "GRANT INSERT ON `d`.* TO `visitor`@`%`\r\n続けますか？")
                                 .arg(server.port());
    m_dialogue->expectConfirm(question, Icon::Critical, false);
    m_stage->click("grantPrivilege");
    settle();
    QVERIFY(!isListed("INSERT", "`d`.*"));
    m_dialogue->expectConfirm(question, Icon::Critical, true);
    m_stage->click("grantPrivilege");
    settle();
    QVERIFY(isListed("INSERT", "`d`.*"));
    QVERIFY(label("privilegeNote").startsWith("加わりました: GRANT INSERT ON `d`.* TO "));

    m_dialogue->agrees = true;
    QVERIFY(list("grantList").choose("INSERT\t`d`.*\t00"));
    m_stage->click("revokePrivilege");
    settle();
    QVERIFY(!isListed("INSERT", "`d`.*"));
    m_stage->type("privilegeDatabase", "*");
    if (isMySql9) {
        select("BACKUP_ADMIN");
        m_stage->click("grantPrivilege");
        settle();
        QVERIFY(isListed("BACKUP_ADMIN", "*.*"));
    }
    if (hasRoles) {
        const QString role = isMySql9 ? "`helper`@`%`" : "`helper`";
        QCOMPARE(cell("accountList", role, 1), "役割");
        QCOMPARE(cell("accountList", "`visitor`@`%`", 1), "アカウント");
        select(isMySql9 ? "役割 helper@%" : "役割 helper");
        m_stage->click("grantPrivilege");
        settle();
        QVERIFY(isListed(role, ""));
        QVERIFY(list("grantList").choose(role + "\t\t00"));
        // What it has when it connects, and nothing of that again.
        for (const bool isOn : {true, false}) {
            m_stage->click("setDefaultRoles");
            auto &window = control<QDialog>(*m_stage->window, "defaultRoleWindow");
            QTest::keyClick(&control<QListWidget>(window, "defaultRoleList"), Qt::Key_Space);
            press(window, {"sendDefaultRole"});
            settle();
            QCOMPARE(cell("accountList", "`visitor`@`%`", 2),
                     isOn ? role.section('`', 1, 1) + (isMySql9 ? "@%" : "") : "");
            const QString note = label("privilegeNote");
            QVERIFY2(note.startsWith(
                         (isOn ? "加わりました: SET DEFAULT ROLE " : "消えました: SET DEFAULT ROLE ") + role),
                     qPrintable(note));
        }
        QVERIFY(list("grantList").choose(role + "\t\t00"));
        m_stage->click("revokePrivilege");
        settle();
        QVERIFY(!isListed(role, ""));
    }
    // On some columns of a table, and taken back as it was given.
    server.run("create table if not exists d.c (a int, `b,c` int)");
    select("SELECT");
    m_stage->type("privilegeDatabase", "d");
    m_stage->type("privilegeObject", "c");
    m_stage->type("privilegeColumns", "a, `b,c`");
    m_stage->click("grantPrivilege");
    settle();
    QVERIFY2(label("privilegeNote").contains("`d`.`c`") && label("privilegeNote").contains("b,c"),
             qPrintable(label("privilegeNote")));
    m_stage->type("grantFilter", "SELECT (");
    QCOMPARE(list("grantList").rows().rowCount(), 1);
    list("grantList").selectAll();
    m_stage->click("revokePrivilege");
    settle();
    QCOMPARE(list("grantList").rows().rowCount(), 0);
    m_stage->type("grantFilter", "");
    m_stage->type("privilegeObject", "*");
    // A right that there is only for all is refused in the server's words.
    select("SHUTDOWN");
    m_stage->type("privilegeDatabase", "d");
    m_stage->click("grantPrivilege");
    settle();
    QVERIFY(label("privilegeNote").startsWith("サーバーが断りました: "));
    QVERIFY(label("privilegeNote").endsWith("SHOW GRANTS は変わっていません。"));
}

void ServerPagesTest::anAccountIsGoneToOnceItIsRead()
{
    open(m_servers.of(TestServer::Brand::MariaDb), "processPage");
    static_cast<ServerWindow &>(*m_stage->window).showAccount("visitor", "%");
    QTRY_COMPARE_WITH_TIMEOUT(list("accountList").currentKey(), "`visitor`@`%`", 20'000);
    QTRY_VERIFY(!cell("grantList", "USAGE\t*.*\t00", 0).isNull());
}

void ServerPagesTest::accountsAreMade()
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
        QTRY_VERIFY_WITH_TIMEOUT(!m_page->isWaiting(), 20'000);
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

QTEST_MAIN(ServerPagesTest)
#include "test_serverpages.moc"
