#include "browser/connectionpanel.h"

#include "browser/frmTarnwellControls.h"
#include "core/driver/connect.h"
#include "core/session/basconnection.h"
#include "core/sql/statements.h"

void ConnectionPanel::showSettings()
{
    c.txtServer->setText(m_session.gServer);
    c.txtUser->setText(m_session.gUser);
    c.txtPass->setText(m_session.gPass);
    if (!m_session.gPort.isEmpty())
        c.txtPort->setText(m_session.gPort);
}

void ConnectionPanel::GetDSNsAndDrivers()
{
    const DriverListing listing = listOdbc();
    c.cboDSNList->addItem(noDataSource());
    c.cboDSNList->addItems(listing.dataSources);
    c.cboDSNList->setCurrentIndex(0);
    c.cboDrivers->addItems(listing.drivers);
    c.cboDrivers->addItem(nativeDriverName());
}

void ConnectionPanel::chooseSaved()
{
    const auto choose = [](QComboBox &box, const QString &text, bool isLastMatch) {
        box.setCurrentIndex(0);
        for (int i = 0; i < box.count(); ++i) {
            if (box.itemText(i) != text)
                continue;
            box.setCurrentIndex(i);
            if (!isLastMatch)
                break;
        }
        box.setEditText(box.currentIndex() < 0 ? QString() : box.itemText(box.currentIndex()));
    };
    choose(*c.cboDSNList, m_session.gDsn, true);
    choose(*c.cboDrivers, m_session.gDriver, false);
    cboDSNList_Click();
}

void ConnectionPanel::cboDSNList_Click()
{
    // Connected, they stay disabled whatever is chosen.
    const bool isByDriver = c.cboDSNList->isEnabled() && c.cboDSNList->currentText() == noDataSource();
    for (QWidget *field :
         std::initializer_list<QWidget *>{c.cboDrivers, c.txtServer, c.txtUser, c.txtPass, c.txtPort})
        field->setEnabled(isByDriver);
}

QString ConnectionPanel::missingEntry() const
{
    const QString source = trimmedBlanks(c.cboDSNList->currentText());
    const QString driverMissing = QStringLiteral("ﾄﾞﾗｲﾊﾞを選択して下さい。");
    if (source.isEmpty())
        return driverMissing; // there is no message of its own for an empty data source
    if (source != noDataSource())
        return {};
    const struct {
        QString text, message;
    } entries[] = {
        {c.cboDrivers->currentText(), driverMissing},
        {c.txtServer->text(), QStringLiteral("ｻｰﾊﾞｰ名を選択して下さい。")},
        {c.txtUser->text(), QStringLiteral("ﾕｰｻﾞｰ名を選択して下さい。")},
        {c.txtPort->text(), QStringLiteral("ﾎﾟｰﾄを選択して下さい。")},
    };
    for (const auto &entry : entries)
        if (trimmedBlanks(entry.text).isEmpty())
            return entry.message;
    return {};
}

void ConnectionPanel::takeEntries()
{
    m_session.gDsn = trimmedBlanks(c.cboDSNList->currentText());
    m_session.gDriver = trimmedBlanks(c.cboDrivers->currentText());
    m_session.gServer = trimmedBlanks(c.txtServer->text());
    m_session.gUser = trimmedBlanks(c.txtUser->text());
    m_session.gPass = trimmedBlanks(c.txtPass->text());
    m_session.gPort = trimmedBlanks(c.txtPort->text());
    if (!m_session.profile.leadsTo(m_session.gDsn, m_session.gDriver, m_session.gServer, m_session.gPort))
        m_session.profile = {};
}

void ConnectionPanel::showProfile()
{
    const auto choose = [](QComboBox &box, const QString &text) {
        if (box.findText(text) < 0) // a whole connection string, or a driver that is not offered itself
            box.addItem(text);
        box.setCurrentText(text);
    };
    choose(*c.cboDSNList, m_session.gDsn);
    choose(*c.cboDrivers, m_session.gDriver);
    showSettings();
    cboDSNList_Click();
}

bool ConnectionPanel::shows(const ConnectionProfile &profile) const
{
    return profile.leadsTo(trimmedBlanks(c.cboDSNList->currentText()),
                           trimmedBlanks(c.cboDrivers->currentText()), trimmedBlanks(c.txtServer->text()),
                           trimmedBlanks(c.txtPort->text())) &&
           trimmedBlanks(c.txtUser->text()) == profile.user;
}

void ConnectionPanel::takeTexts()
{
    m_session.gDsn = c.cboDSNList->currentText();
    m_session.gDriver = c.cboDrivers->currentText();
    m_session.gServer = c.txtServer->text();
    m_session.gPass = c.txtPass->text();
    m_session.gUser = c.txtUser->text();
}

bool ConnectionPanel::isConnected() const
{
    return m_session.gCn || !c.cboDSNList->isEnabled();
}

std::optional<Failure> ConnectionPanel::connect()
{
    m_session.role = {};
    std::optional<Failure> failure = tryConnecting(m_session);
    try {
        if (!failure)
            m_session.role = readServerRole(m_session.connection());
    } catch (const Failure &error) {
        failure = error;
        sDisconnect(m_session);
    }
    showRole();
    return failure;
}

void ConnectionPanel::showRole()
{
    const QString text = roleText(m_session.role);
    c.serverRole->setText(text.isEmpty() ? text : QStringLiteral("このサーバーは: ") + text);
    c.serverRole->setVisible(!text.isEmpty());
}
