// Accounts of hostile names, and rights on tables and databases of such names: a command reaches these or
// none.
#include "controls/lists/chosenlist.h"
#include "core/sql/statements.h"
#include "support/gui/boxes.h"
#include "support/gui/control.h"
#include "support/rows.h"
#include "users/frmUserAdd.h"
#include "watchedserver.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>

class HostileAccountsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { addBothConnections(); }
    void init();
    void cleanup() { m_window.reset(); }
    void accounts_data();
    void accounts();
    void grants();

private:
    ChosenList &list(const char *name) const { return control<ChosenList>(*m_window, name); }
    void choose(const char *name, const QString &text) const
    {
        list(name).setCurrentRow(static_cast<int>(list(name).texts().indexOf(text)));
    }
    void click(const char *button, const QStringList &own);
    void useAccount(const QString &user);

    WatchedServer m_server;
    BlockingPump m_pump;
    Boxes m_boxes;
    Session m_session;
    std::unique_ptr<frmUserAdd> m_window;
};

void HostileAccountsTest::init()
{
    failOnAnyWarning();
    m_server.setUp();
    m_boxes.agree();
    const TestServer &server = m_server.server();
    m_session.gCn = createConnection(server.connectionString(isBuiltIn()), m_pump);
    m_session.gCn->open();
}

void HostileAccountsTest::click(const char *button, const QStringList &own)
{
    m_server.watch([&] { control<QPushButton>(*m_window, button).click(); }, own,
                   QLatin1String(button) + u' ' + own.value(0));
}

void HostileAccountsTest::accounts_data()
{
    QTest::addColumn<QString>("user");
    for (const QString &name : hostileNames() + QStringList{"x' or '1'='1", "victim' -- x", "victim' or 'a",
                                                            "vic\\tim", "victim''", "victim'@'%' # "})
        QTest::newRow(qPrintable(name)) << name;
}

void HostileAccountsTest::useAccount(const QString &user)
{
    const QString name = user + "@%";
    for (const char *button : {"cmdGrantEdit", "cmdDbGrantAdd", "cmdDbGrantEdit", "cmdDbGrantDel",
                               "cmdTableGrantAdd", "cmdTableGrantEdit", "cmdTableGrantDel", "cmdDelete"}) {
        choose("lstUser", "%\t" + user);
        choose("lstDB", "d");
        choose("lstAddDB", "d");
        choose("lstTable", "d\tkeep");
        control<QComboBox>(*m_window, "cboAddDB").setCurrentText("d");
        choose("lstAddTable", "keep");
        for (const char *box : {"ckPrivType_1", "ckDBPrivType_1", "ckTablePrivType_1"})
            control<QCheckBox>(*m_window, box).setChecked(true);
        click(button, {name, name + " d", name + " d.keep"});
    }
}

void HostileAccountsTest::accounts()
{
    QFETCH(QString, user);
    const QString account = quotedText(user) + "@'%'";
    if (m_server.tries(QStringLiteral("create or replace user %1 identified by 'p'").arg(account))) {
        m_server.sql("grant select on d.* to " + account);
        m_server.sql("grant select on d.keep to " + account);
    }
    m_window = std::make_unique<frmUserAdd>(m_session, nullptr);
    m_window->show();
    if (list("lstUser").texts().contains("%\t" + user))
        useAccount(user);
    // Added by hand: under that very name, or not at all.
    m_server.tries("drop user " + account);
    list("lstUser").setCurrentRow(0);
    for (const auto &[box, text] : {std::pair("txtUser", user), {"txtHost", "%"}, {"txtPassword", "p"}})
        control<QLineEdit>(*m_window, box).setText(text);
    const QString typed = trimmedBlanks(user);
    click("cmdOk", {typed + "@%"});
    m_server.tries(QStringLiteral("drop user %1@'%'").arg(quotedText(typed)));
}

void HostileAccountsTest::grants()
{
    const QStringList names = m_server.make("table", " select * from d.a");
    QVERIFY(names.size() > 20);
    for (const QString &name : names)
        m_server.tries("create database " + quotedName(name));
    m_window = std::make_unique<frmUserAdd>(m_session, nullptr);
    m_window->show();
    for (const QString &name : names) {
        const QStringList onTable{"u@% d." + name}, onDatabase{"u@% " + name};
        choose("lstUser", "%\tu");
        control<QComboBox>(*m_window, "cboAddDB").setCurrentText("d");
        choose("lstAddTable", name);
        click("cmdTableGrantAdd", onTable);
        m_server.tries(QStringLiteral("grant select on %1 to u").arg(quotedName("d", name)));
        choose("lstUser", "%\tu");
        for (const char *button : {"cmdTableGrantEdit", "cmdTableGrantDel"}) {
            choose("lstTable", "d\t" + name);
            click(button, onTable);
        }
        m_server.tries(QStringLiteral("grant select on %1.* to u").arg(quotedName(name)));
        choose("lstUser", "%\tu");
        for (const char *button : {"cmdDbGrantAdd", "cmdDbGrantEdit", "cmdDbGrantDel"}) {
            choose("lstAddDB", name);
            choose("lstDB", name);
            control<QCheckBox>(*m_window, "ckDBPrivType_0").setChecked(true);
            click(button, onDatabase);
        }
        m_server.tries("drop database " + quotedName(name));
    }
}

QTEST_MAIN(HostileAccountsTest)
#include "test_hostileaccounts.moc"
