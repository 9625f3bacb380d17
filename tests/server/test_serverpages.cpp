#include "server/overview/indexes.h"
#include "server/serverpagetest.h"
#include "server/variables/variablereading.h"

// Pages that show the server's settings, sizes and parts.
class ServerPagesTest : public ServerPageTest {
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
    void missingRightsAreTold_data() { TestServers::addRows(); }
    void missingRightsAreTold();

private:
    void setVariable(const QString &name, VariableScope scope, const QString &value);
};

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
        turnTo(name);
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
    turnTo("sizePage");
    QTRY_VERIFY(label("pageProblem").contains("SELECT 権限がない"));
    turnTo("privilegePage");
    QTRY_VERIFY(label("pageProblem").contains("SELECT command denied"));
    QVERIFY(list("accountList").choose("`visitor`@`%`")); // at least its own
}

QTEST_MAIN(ServerPagesTest)
#include "test_serverpages.moc"
