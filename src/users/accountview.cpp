#include "users/accountview.h"

#include "controls/lists/chosenlist.h"
#include "users/accountreading.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalBlocker>

namespace {

const char *const tag = "tag";
constexpr QStringView newAccount = u"新規";

Checks checksOf(const CheckBoxes &boxes)
{
    Checks checks;
    for (const QCheckBox *box : boxes)
        checks.push_back(box->isChecked());
    return checks;
}

Checks tagsOf(const CheckBoxes &boxes)
{
    Checks checks;
    for (const QCheckBox *box : boxes)
        checks.push_back(box->property(tag).toInt() != 0);
    return checks;
}

// What the server did not tell stays as it was.
void show(const CheckBoxes &boxes, const ShownChecks &checks)
{
    for (std::size_t i = 0; i < checks.size(); ++i)
        if (checks[i])
            boxes[i]->setChecked(*checks[i]);
}

// The tags hold what is to come back when a change of the boxes fails.
void setTags(const CheckBoxes &boxes, const ShownChecks &checks)
{
    for (std::size_t i = 0; i < checks.size(); ++i)
        if (checks[i])
            boxes[i]->setProperty(tag, *checks[i] ? QStringLiteral("1") : QStringLiteral("0"));
}

// The list's text is that of its selected item: the current one may be unselected.
QString textOf(const ChosenList &list)
{
    const auto selected = list.selectedItems();
    return selected.isEmpty() ? QString() : selected.first()->text();
}

// Without chosen(): what the choice does is the caller's.
void setText(ChosenList &list, const QString &text)
{
    const QSignalBlocker quiet(list);
    list.setCurrentRow(static_cast<int>(list.texts().indexOf(text)));
}

void setText(QComboBox &box, const QString &text)
{
    const QSignalBlocker quiet(box);
    box.setCurrentIndex(box.findText(text, Qt::MatchExactly | Qt::MatchCaseSensitive));
}

// A grant that could not be read is not the chosen one: the boxes show another.
void clearGrant(ChosenList &list, std::initializer_list<QLabel *> names, const CheckBoxes &boxes)
{
    setText(list, {});
    for (QLabel *name : names)
        name->clear();
    setAll(boxes, false);
}

} // namespace

void setAll(const CheckBoxes &boxes, bool isChecked)
{
    for (QCheckBox *box : boxes)
        box->setChecked(isChecked);
}

void AccountView::Form_Load()
{
    setExistingAccountMode(false);
    sInit();
}

void AccountView::sInit()
{
    MakeList();
    MakeCbo();
    if (c.lstUser->count() == 0)
        return;
    setText(*c.lstUser, c.lstUser->item(0)->text());
    lstUser_Click();
}

namespace {

// MariaDB keeps its roles among the accounts, without a host.
void markRole(QListWidgetItem &item)
{
    QFont italic = item.font();
    italic.setItalic(true);
    item.setFont(italic);
    item.setToolTip(QStringLiteral("ホストがありません。MariaDBでは役割です"));
}

} // namespace

void AccountView::MakeList()
{
    c.lstUser->clearItems();
    try {
        const QStringList accounts = readAccounts(m_session);
        c.lstUser->appendItem(newAccount.toString());
        for (const QString &account : accounts)
            c.lstUser->appendItem(account);
        for (int row = 0; row < c.lstUser->count(); ++row)
            if (c.lstUser->item(row)->text().startsWith(u'\t'))
                markRole(*c.lstUser->item(row));
    } catch (const Failure &) {
        // Who may not read mysql.user sees empty lists and is told nothing; that is the window's rule.
        m_session.gRs.close();
    }
}

void AccountView::MakeCbo()
{
    const QSignalBlocker quiet(c.cboAddDB);
    const auto add = [this](const QString &database) {
        c.lstAddDB->appendItem(database);
        c.cboAddDB->addItem(database);
    };
    c.lstAddDB->clearItems();
    c.cboAddDB->clear();
    add(noDatabase());
    setText(*c.lstAddDB, noDatabase());
    trap([&] {
        for (const QString &database : readDatabaseNames(m_session))
            add(database);
    });
}

void AccountView::lstUser_Click()
{
    const QString item = textOf(*c.lstUser);
    if (item == newAccount)
        return showNewAccount();
    // A user's name may hold a tab, a host's none.
    if (const qsizetype tab = item.indexOf(u'\t'); tab >= 0)
        showAccount({item.left(tab), item.mid(tab + 1)});
}

void AccountView::showNewAccount()
{
    for (QLineEdit *box : {c.txtUser, c.txtHost, c.txtPassword})
        box->clear();
    setText(*c.lstAddDB, noDatabase());
    setText(*c.cboAddDB, noDatabase());
    cboAddDB_Click();
    setAll(c.ckPrivType, false);
    clearGrants();
    setExistingAccountMode(false);
}

// With its lists nothing is chosen any more: no command may act on what was chosen for another account.
void AccountView::clearGrants()
{
    for (ChosenList *list : {c.lstDB, c.lstTable})
        list->clearItems();
    for (QLabel *chosen : {c.lblDbName, c.lblTableNameDB, c.lblTableName})
        chosen->clear();
    setAll(c.ckDBPrivType, false);
    setAll(c.ckTablePrivType, false);
}

void AccountView::showAccount(const Account &account)
{
    setExistingAccountMode(true);
    const QString placeholder = QStringLiteral("\r\n\r\n\r\n");
    c.txtPassword->setText(placeholder);
    c.txtPassword->setProperty(tag, placeholder);
    c.lblHostName->setText(account.host);
    c.lblUserName->setText(account.user);
    clearGrants();
    if (!trap([&] { readAccount(account); }))
        showUnread();
}

// The boxes show another account's rights, which a change would give to this one; cleared, it would take all.
void AccountView::showUnread()
{
    setAll(c.ckPrivType, false);
    clearGrants();
    c.cmdGrantEdit->setEnabled(false);
}

void AccountView::readAccount(const Account &account)
{
    const GlobalRights rights = readGlobalRights(m_session, account);
    if (rights.checks.empty())
        throw Failure(QStringLiteral("このアカウントの行が、サーバーにありません。"));
    show(c.ckPrivType, rights.checks);
    setTags(c.ckPrivType, rights.checks);
    // MariaDB reads a role's 'name'@"" as the account 'name'@"%": whatever is sent would change that one.
    if (rights.isRole)
        enableAccountButtons(false);
    for (const QString &database : readDatabasesGranted(m_session, account))
        c.lstDB->appendItem(database);
    for (const QString &table : readTablesGranted(m_session, account))
        c.lstTable->appendItem(table);
}

void AccountView::setExistingAccountMode(bool isExisting)
{
    for (QWidget *control : std::initializer_list<QWidget *>{c.cmdOk, c.txtUser, c.txtHost})
        control->setEnabled(!isExisting);
    enableAccountButtons(isExisting);
}

void AccountView::enableAccountButtons(bool isOn)
{
    for (QPushButton *button : {c.cmdDelete, c.cmdGrantEdit, c.cmdDbGrantDel, c.cmdDbGrantEdit,
                                c.cmdTableGrantDel, c.cmdTableGrantEdit, c.cmdDbGrantAdd, c.cmdTableGrantAdd})
        button->setEnabled(isOn);
}

void AccountView::lstDB_Click()
{
    const QString database = textOf(*c.lstDB);
    if (database.isEmpty())
        return;
    c.lblDbName->setText(database);
    const bool isRead = trap([&] {
        const ShownChecks checks = readDatabaseRights(m_session, account(), database);
        if (checks.empty()) // taken meanwhile
            setAll(c.ckDBPrivType, false);
        show(c.ckDBPrivType, checks);
        setTags(c.ckDBPrivType, checks);
    });
    if (!isRead)
        return clearGrant(*c.lstDB, {c.lblDbName}, c.ckDBPrivType);
    if (isPatternOfDatabases(database) && !c.lstAddDB->texts().contains(database))
        c.lstAddDB->appendItem(database);
    setText(*c.lstAddDB, database);
}

void AccountView::cboAddDB_Click()
{
    c.lstAddTable->clearItems();
    const QString database = c.cboAddDB->currentText();
    if (database.isEmpty() || database == noDatabase())
        return;
    trap([&] {
        for (const QString &table : readTableNames(m_session, database))
            c.lstAddTable->appendItem(table);
    });
}

void AccountView::lstTable_Click()
{
    const QString item = textOf(*c.lstTable);
    const qsizetype tab = item.indexOf(u'\t');
    if (tab < 0)
        return;
    const QString database = item.left(tab), table = item.mid(tab + 1);
    c.lblTableNameDB->setText(database);
    c.lblTableName->setText(table);
    const bool isRead = trap([&] {
        const ShownChecks checks = readTableRights(m_session, account(), database, table);
        if (checks.empty()) // taken meanwhile
            setAll(c.ckTablePrivType, false);
        show(c.ckTablePrivType, checks);
    });
    if (!isRead)
        return clearGrant(*c.lstTable, {c.lblTableNameDB, c.lblTableName}, c.ckTablePrivType);
    setText(*c.cboAddDB, database);
    cboAddDB_Click();
    setText(*c.lstAddTable, table);
}

void AccountView::chooseDatabase(const QString &database)
{
    setText(*c.lstDB, database);
    lstDB_Click();
}

void AccountView::chooseTable(const QString &item)
{
    setText(*c.lstTable, item);
    lstTable_Click();
}

Account AccountView::account() const
{
    return {c.lblHostName->text(), c.lblUserName->text()};
}

AccountForm AccountView::form() const
{
    AccountForm form;
    form.user = c.txtUser->text();
    form.host = c.txtHost->text();
    form.password = c.txtPassword->text();
    form.passwordTag = c.txtPassword->property(tag).toString();
    form.account = account();
    form.accounts = c.lstUser->texts();
    form.global = checksOf(c.ckPrivType);
    form.globalBefore = tagsOf(c.ckPrivType);
    form.database = checksOf(c.ckDBPrivType);
    form.table = checksOf(c.ckTablePrivType);
    form.databases = c.lstDB->texts();
    form.tables = c.lstTable->texts();
    form.shownDatabase = c.lblDbName->text();
    // A grant may be for a database that is gone: nothing is selected then, and the server takes "" for a
    // name.
    form.addDatabase = c.lstAddDB->selectedItems().isEmpty() ? noDatabase() : textOf(*c.lstAddDB);
    form.shownTableDatabase = c.lblTableNameDB->text();
    form.shownTable = c.lblTableName->text();
    form.addTableDatabase = c.cboAddDB->currentText();
    form.addTable = textOf(*c.lstAddTable);
    return form;
}

bool AccountView::trap(const std::function<void()> &statements)
{
    try {
        const BusyPointer busy(m_dialogue);
        statements();
        return true;
    } catch (const Failure &error) {
        // Whoever stopped the reading need not be told.
        if (!m_session.runner.isStopWanted())
            m_dialogue.refuse(error.description());
        return false;
    }
}
