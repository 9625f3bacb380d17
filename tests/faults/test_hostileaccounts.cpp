// Accounts of hostile names, and rights on tables and databases of such names: a command reaches these or
// none.
#include "controls/chosenlist.h"
#include "core/statements.h"
#include "support/gui/boxes.h"
#include "users/frmuseradd.h"
#include "watchedserver.h"
#include "yestoall.h"

#include <QCheckBox>
#include <QComboBox>

class HostileAccountsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_window.reset(); }
    void accounts_data();
    void accounts();
    void grants();

private:
    void openWindow();
    ChosenList &list(const char *name) const
    {
        return *m_window->findChild<ChosenList *>(QLatin1String(name));
    }
    void choose(const char *name, const QString &text) const
    {
        list(name).setCurrentRow(static_cast<int>(list(name).texts().indexOf(text)));
    }
    void chooseDatabase(const QString &text) const
    {
        m_window->findChild<QComboBox *>(QStringLiteral("cboAddDB"))->setCurrentText(text);
    }
    void click(const char *button, const QStringList &own);
    void useAccount(const QString &user);

    WatchedServer m_server;
    BlockingPump m_pump;
    YesToAll m_boxes;
    Session m_session;
    std::unique_ptr<frmUserAdd> m_window;
};

void HostileAccountsTest::init()
{
    failOnAnyWarning();
    m_server.setUp();
}

void HostileAccountsTest::openWindow()
{
    m_session.gCn = createConnection(m_server.server().nativeString(), m_pump);
    m_session.gCn->open();
    m_window = std::make_unique<frmUserAdd>(m_session, nullptr);
    m_window->show();
}

void HostileAccountsTest::click(const char *button, const QStringList &own)
{
    m_server.watch([&] { m_window->findChild<QPushButton *>(QLatin1String(button))->click(); }, own,
                   QLatin1String(button) + u' ' + own.value(0));
}

void HostileAccountsTest::accounts_data()
{
    QTest::addColumn<QString>("user");
    for (const QString &name :
         hostileNames() + QStringList{QStringLiteral("x' or '1'='1"), QStringLiteral("victim' -- x"),
                                      QStringLiteral("victim' or 'a"), QStringLiteral("vic\\tim"),
                                      QStringLiteral("victim''"), QStringLiteral("victim'@'%' # ")})
        QTest::newRow(qPrintable(name)) << name;
}

void HostileAccountsTest::useAccount(const QString &user)
{
    const QString name = user + QStringLiteral("@%");
    for (const char *button : {"cmdGrantEdit", "cmdDbGrantAdd", "cmdDbGrantEdit", "cmdDbGrantDel",
                               "cmdTableGrantAdd", "cmdTableGrantEdit", "cmdTableGrantDel", "cmdDelete"}) {
        choose("lstUser", QStringLiteral("%\t") + user);
        choose("lstDB", QStringLiteral("d"));
        choose("lstAddDB", QStringLiteral("d"));
        choose("lstTable", QStringLiteral("d\tkeep"));
        chooseDatabase(QStringLiteral("d"));
        choose("lstAddTable", QStringLiteral("keep"));
        for (const char *box : {"ckPrivType_1", "ckDBPrivType_1", "ckTablePrivType_1"})
            m_window->findChild<QCheckBox *>(QLatin1String(box))->setChecked(true);
        click(button, {name, name + QStringLiteral(" d"), name + QStringLiteral(" d.keep")});
    }
}

void HostileAccountsTest::accounts()
{
    QFETCH(QString, user);
    const QString account = quotedText(user) + QStringLiteral("@'%'");
    if (m_server.tries(QStringLiteral("create or replace user %1 identified by 'p'").arg(account))) {
        m_server.sql(QStringLiteral("grant select on d.* to ") + account);
        m_server.sql(QStringLiteral("grant select on d.keep to ") + account);
    }
    openWindow();
    if (list("lstUser").texts().contains(QStringLiteral("%\t") + user))
        useAccount(user);
    // Added by hand: under that very name, or not at all.
    m_server.tries(QStringLiteral("drop user ") + account);
    list("lstUser").setCurrentRow(0);
    for (const auto &[box, text] :
         {std::pair("txtUser", user), {"txtHost", QStringLiteral("%")}, {"txtPassword", QStringLiteral("p")}})
        m_window->findChild<QLineEdit *>(QLatin1String(box))->setText(text);
    const QString typed = trimmedBlanks(user);
    click("cmdOk", {typed + QStringLiteral("@%")});
    m_server.tries(QStringLiteral("drop user %1@'%'").arg(quotedText(typed)));
}

void HostileAccountsTest::grants()
{
    const QStringList names = m_server.make(QStringLiteral("table"), QStringLiteral(" select * from d.a"));
    QVERIFY(names.size() > 20);
    for (const QString &name : names)
        m_server.tries(QStringLiteral("create database ") + quotedName(name));
    openWindow();
    for (const QString &name : names) {
        const QStringList onTable{QStringLiteral("u@% d.") + name}, onDatabase{QStringLiteral("u@% ") + name};
        choose("lstUser", QStringLiteral("%\tu"));
        chooseDatabase(QStringLiteral("d"));
        choose("lstAddTable", name);
        click("cmdTableGrantAdd", onTable);
        m_server.tries(QStringLiteral("grant select on %1 to u").arg(quotedName(QStringLiteral("d"), name)));
        choose("lstUser", QStringLiteral("%\tu"));
        for (const char *button : {"cmdTableGrantEdit", "cmdTableGrantDel"}) {
            choose("lstTable", QStringLiteral("d\t") + name);
            click(button, onTable);
        }
        m_server.tries(QStringLiteral("grant select on %1.* to u").arg(quotedName(name)));
        choose("lstUser", QStringLiteral("%\tu"));
        for (const char *button : {"cmdDbGrantAdd", "cmdDbGrantEdit", "cmdDbGrantDel"}) {
            choose("lstAddDB", name);
            choose("lstDB", name);
            m_window->findChild<QCheckBox *>(QStringLiteral("ckDBPrivType_0"))->setChecked(true);
            click(button, onDatabase);
        }
        m_server.tries(QStringLiteral("drop database ") + quotedName(name));
    }
}

QTEST_MAIN(HostileAccountsTest)
#include "test_hostileaccounts.moc"
