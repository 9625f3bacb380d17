#include "core/session/basconnection.h"
#include "stage.h"
#include "support/cuttingproxy.h"

using Cut = CuttingProxy::Cut;

namespace {

// Agrees and keeps what it is told.
struct Agreeing : ScriptedDialogue {
    bool confirm(const QString &, Icon) override { return true; }
    void tell(const QString &text, Icon) override { told << text; }
    QStringList told;
};

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

} // namespace

// The connection breaks at each statement of a change in turn, before the server has it and after it was
// carried out: a right that the account has no longer is named.
class AccountCutTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data();
    void init();
    void everyStatementMayBreak_data();
    void everyStatementMayBreak();

private:
    QString grants() const { return m_server->run("show grants for u"); }
    AccountForm form() const;
    bool breakAt(int statement, Cut what, bool mayReturn);

    // Hundreds of small changes: waiting for the disk would cost minutes.
    TestServers m_servers{{"--loose-debug-no-sync"}, [](TestServer &server) {
                              server.run("create database d; create table d.t (a int)");
                          }};
    TestServer *m_server = nullptr;
    std::unique_ptr<CuttingProxy> m_proxy;
    BlockingPump m_pump;
    QStringList m_told;
};

void AccountCutTest::initTestCase_data()
{
    QTest::addColumn<TestServer::Brand>("brand");
    QTest::addColumn<bool>("isBuiltIn");
    row("MariaDB", TestServer::Brand::MariaDb, true);
    row("MariaDB, ODBC", TestServer::Brand::MariaDb, false);
    row("MySQL 9", TestServer::Brand::MySql9, true);
}

void AccountCutTest::init()
{
    QFETCH_GLOBAL(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    TestServer *server = &m_servers.of(brand);
    if (std::exchange(m_server, server) == server)
        return;
    m_proxy = std::make_unique<CuttingProxy>(m_server->port());
}

// The account as the window shows it; INSERT is added everywhere, FILE taken globally, CREATE in the
// database.
AccountForm AccountCutTest::form() const
{
    AccountForm form = plainForm();
    form.account = {"%", "u"};
    form.globalBefore = checked(26, {0, 9, 10, 20});
    form.global = checked(26, {0, 1, 10, 20});
    form.database = checked(17, {0, 1, 6});
    form.table = checked(4, {0, 1});
    form.shownDatabase = form.addDatabase = form.shownTableDatabase = form.addTableDatabase = "d";
    form.shownTable = form.addTable = "t";
    return form;
}

bool AccountCutTest::breakAt(int statement, Cut what, bool mayReturn)
{
    QFETCH(Run, command);
    m_server->run("drop user if exists u; create user u identified by 'p';"
                  "grant select, file, event, replication client on *.* to u with grant option;"
                  "grant select, create, event on d.* to u with grant option;"
                  "grant select, create, update (a) on d.t to u with grant option;");
    Agreeing dialogue;
    Session session;
    session.makeConnection = [this](const QString &string) { return createConnection(string, m_pump); };
    session.gDsn = noDataSource();
    session.gDriver = isBuiltIn() ? nativeDriverName() : QStringLiteral("MySQL ODBC 3.51 Driver");
    session.gServer = "127.0.0.1";
    session.gUser = session.gPass = "demo";
    session.gPort = QString::number(m_proxy->port());
    if (!fConnect(session))
        qFatal("no connection");
    m_proxy->cutAt(statement, what, mayReturn);
    const AccountForm filled = form();
    AccountContext context{session, filled, dialogue};
    command(context);
    m_told = dialogue.told;
    const bool hasCut = m_proxy->hasCut();
    m_proxy->cutAt(-2, Cut::Request, true);
    return hasCut;
}

void AccountCutTest::everyStatementMayBreak_data()
{
    QTest::addColumn<Run>("command");
    QTest::addColumn<bool>("mayReturn");
    row("account, server back", Run(changeAccount), true);
    row("account, server away", Run(changeAccount), false);
    row("database, server back", Run(changeDatabaseGrant), true);
    row("database, server away", Run(changeDatabaseGrant), false);
    row("table, server back", Run(changeTableGrant), true);
    row("table, server away", Run(changeTableGrant), false);
}

void AccountCutTest::everyStatementMayBreak()
{
    QFETCH(Run, command);
    QFETCH(bool, mayReturn);
    breakAt(-2, Cut::Request, mayReturn);
    QCOMPARE(m_told, QStringList{"変更しました。"});
    int breaks = 0;
    for (const Cut what : {Cut::Request, Cut::Answer}) {
        for (int n = 0; breakAt(n, what, mayReturn); ++n, ++breaks) {
            const QString said = m_told.join(u'\n'), now = grants();
            const QString where = QStringLiteral("%1 %2: %3\n%4")
                                      .arg(n)
                                      .arg(what == Cut::Answer ? "answer" : "request", said, now);
            // Only what is said and what is there counts.
            const QStringList held = rightsIn(now), named = rightsIn(QString(said).remove(u'\r'));
            for (const QString right : {"SELECT *.*", "EVENT *.*", "GRANT OPTION *.*", "SELECT `d`.*",
                                        "EVENT `d`.*", "GRANT OPTION `d`.*", "SELECT `d`.`t`",
                                        "CREATE `d`.`t`", "UPDATE (`a`) `d`.`t`", "GRANT OPTION `d`.`t`"})
                QVERIFY2(held.contains(right) || named.contains(right), qPrintable(right + u'\n' + where));
            // The account's own rights come back where the server does; a right that is there is not called
            // lost.
            if (mayReturn && command == changeAccount)
                QVERIFY2(named.isEmpty(), qPrintable(where));
            QVERIFY2(!said.contains("変更しました。"), qPrintable(where));
        }
    }
    QVERIFY2(breaks >= 12, qPrintable(QString::number(breaks)));
}

QTEST_GUILESS_MAIN(AccountCutTest)
#include "test_accountcut.moc"
