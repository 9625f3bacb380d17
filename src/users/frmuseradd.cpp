#include "users/frmuseradd.h"

#include "controls/chosenlist.h"
#include "users/accountcommands.h"
#include "users/databasegrants.h"
#include "users/privilegeboxes.h"
#include "users/tablegrants.h"

#include <QComboBox>
#include <QFocusEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTimer>

namespace {

const char *const tag = "tag";
constexpr QStringView newAccount = u"新規";

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

} // namespace

frmUserAdd::frmUserAdd(Session &session, QWidget *parent, Dialogue *dialogue)
    : QDialog(parent)
    , m_session(session)
    , m_controls(*this)
    , m_boxes(this, {})
    , m_dialogue(dialogue ? *dialogue : m_boxes)
{
    connectControls();
    Form_Load();
}

void frmUserAdd::connectControls()
{
    setObjectName(QStringLiteral("frmUserAdd"));
    setWindowTitle(QStringLiteral("ﾕｰｻﾞｰ設定"));
    UserControls &c = m_controls;
    connect(c.lstUser, &ChosenList::chosen, this, &frmUserAdd::lstUser_Click);
    connect(c.lstDB, &ChosenList::chosen, this, &frmUserAdd::lstDB_Click);
    connect(c.lstTable, &ChosenList::chosen, this, &frmUserAdd::lstTable_Click);
    connect(c.cboAddDB, &QComboBox::currentIndexChanged, this, &frmUserAdd::cboAddDB_Click);
    for (const auto &[buttons, boxes] :
         {std::pair(c.cmdUserGrantAllCK, &c.ckPrivType), std::pair(c.cmdDbGrantAllCK, &c.ckDBPrivType),
          std::pair(c.cmdTableGrantAllCK, &c.ckTablePrivType)}) {
        connect(buttons[0], &QPushButton::clicked, this, [boxes = boxes] { setAll(*boxes, true); });
        connect(buttons[1], &QPushButton::clicked, this, [boxes = boxes] { setAll(*boxes, false); });
    }
    const auto runs = [this](QPushButton *button, Command command) {
        connect(button, &QPushButton::clicked, this, [this, command] { run(command); });
    };
    runs(c.cmdOk, addAccount);
    runs(c.cmdGrantEdit, changeAccount);
    runs(c.cmdDelete, deleteAccount);
    runs(c.cmdDbGrantAdd, addDatabaseGrant);
    runs(c.cmdDbGrantDel, deleteDatabaseGrant);
    runs(c.cmdTableGrantAdd, addTableGrant);
    runs(c.cmdTableGrantDel, deleteTableGrant);
    connect(c.cmdDbGrantEdit, &QPushButton::clicked, this, &frmUserAdd::cmdDbGrantEdit_Click);
    connect(c.cmdTableGrantEdit, &QPushButton::clicked, this, &frmUserAdd::cmdTableGrantEdit_Click);
    connect(c.cmdCancel, &QPushButton::clicked, this, &QDialog::close);

    c.txtPassword->installEventFilter(this);
    // A line break cannot be typed, so one that is left stems from the placeholder.
    connect(c.txtPassword, &QLineEdit::textEdited, this, [box = c.txtPassword](QString text) {
        if (text.contains(u'\r') || text.contains(u'\n'))
            box->setText(text.remove(u'\r').remove(u'\n'));
    });
}

void frmUserAdd::Form_Load()
{
    setExistingAccountMode(false);
    sInit();
}

void frmUserAdd::sInit()
{
    MakeList();
    MakeCbo();
    if (m_controls.lstUser->count() == 0)
        return;
    setText(*m_controls.lstUser, m_controls.lstUser->item(0)->text());
    lstUser_Click();
}

void frmUserAdd::MakeList()
{
    m_controls.lstUser->clearItems();
    try {
        m_session.gRs = m_session.connection().execute(selectAccounts());
        m_controls.lstUser->appendItem(newAccount.toString());
        for (; m_session.gRs.isOpen() && !m_session.gRs.isEof(); m_session.gRs.moveNext())
            m_controls.lstUser->appendItem(m_session.gRs.text(QStringLiteral("Host")) + u'\t' +
                                           m_session.gRs.text(QStringLiteral("User")));
    } catch (const SqlError &) {
        // Who may not read mysql.user sees empty lists and is told nothing; that is the window's rule.
    }
    m_session.gRs.close();
}

void frmUserAdd::MakeCbo()
{
    const QSignalBlocker quiet(m_controls.cboAddDB);
    const auto add = [this](const QString &database) {
        m_controls.lstAddDB->appendItem(database);
        m_controls.cboAddDB->addItem(database);
    };
    m_controls.lstAddDB->clearItems();
    m_controls.cboAddDB->clear();
    add(noDatabase());
    setText(*m_controls.lstAddDB, noDatabase());
    trap([&] {
        m_session.gRs = m_session.connection().execute(QStringLiteral("show databases;"));
        for (; m_session.gRs.isOpen() && !m_session.gRs.isEof(); m_session.gRs.moveNext())
            add(m_session.gRs.text(QStringLiteral("database")));
    });
}

void frmUserAdd::lstUser_Click()
{
    const QString item = textOf(*m_controls.lstUser);
    if (item == newAccount)
        return showNewAccount();
    const QStringList pieces = item.split(u'\t');
    if (pieces.size() > 1)
        showAccount({pieces[0], pieces[1]});
}

void frmUserAdd::showNewAccount()
{
    UserControls &c = m_controls;
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
void frmUserAdd::clearGrants()
{
    UserControls &c = m_controls;
    for (ChosenList *list : {c.lstDB, c.lstTable})
        list->clearItems();
    for (QLabel *chosen : {c.lblDbName, c.lblTableNameDB, c.lblTableName})
        chosen->clear();
    setAll(c.ckDBPrivType, false);
    setAll(c.ckTablePrivType, false);
}

void frmUserAdd::showAccount(const Account &account)
{
    UserControls &c = m_controls;
    setExistingAccountMode(true);
    const QString placeholder = QStringLiteral("\r\n\r\n\r\n");
    c.txtPassword->setText(placeholder);
    c.txtPassword->setProperty(tag, placeholder);
    c.lblHostName->setText(account.host);
    c.lblUserName->setText(account.user);
    clearGrants();
    trap([&] { readAccount(account); });
}

void frmUserAdd::readAccount(const Account &account)
{
    RecordSet &rows = m_session.gRs;
    rows = m_session.connection().execute(selectAccount(account));
    showColumns(m_controls.ckPrivType, globalPrivileges(), rows);
    // MariaDB reads a role's 'name'@"" as the account 'name'@"%": whatever is sent would change that one.
    const int role = rows.isOpen() && !rows.isEof() ? rows.fieldIndex(QStringLiteral("is_role")) : -1;
    if (role >= 0 && rows.text(role) == u"Y")
        enableAccountButtons(false);
    rows = m_session.connection().execute(selectDatabaseGrants(account));
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext())
        m_controls.lstDB->appendItem(rows.text(QStringLiteral("Db")));
    rows = m_session.connection().execute(selectTableGrants(account));
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext())
        m_controls.lstTable->appendItem(rows.text(QStringLiteral("Db")) + u'\t' +
                                        rows.text(QStringLiteral("Table_name")));
    rows.close();
}

void frmUserAdd::setExistingAccountMode(bool isExisting)
{
    UserControls &c = m_controls;
    for (QWidget *control : std::initializer_list<QWidget *>{c.cmdOk, c.txtUser, c.txtHost})
        control->setEnabled(!isExisting);
    enableAccountButtons(isExisting);
}

void frmUserAdd::enableAccountButtons(bool isOn)
{
    UserControls &c = m_controls;
    for (QPushButton *button : {c.cmdDelete, c.cmdGrantEdit, c.cmdDbGrantDel, c.cmdDbGrantEdit,
                                c.cmdTableGrantDel, c.cmdTableGrantEdit, c.cmdDbGrantAdd, c.cmdTableGrantAdd})
        button->setEnabled(isOn);
}

void frmUserAdd::lstDB_Click()
{
    const QString database = textOf(*m_controls.lstDB);
    if (database.isEmpty())
        return;
    m_controls.lblDbName->setText(database);
    trap([&] {
        m_session.gRs = m_session.connection().execute(selectDatabaseGrant(account(), database));
        showColumns(m_controls.ckDBPrivType, databasePrivileges(), m_session.gRs);
        m_session.gRs.close();
    });
    setText(*m_controls.lstAddDB, database);
}

void frmUserAdd::cboAddDB_Click()
{
    m_controls.lstAddTable->clearItems();
    const QString database = m_controls.cboAddDB->currentText();
    if (database.isEmpty() || database == noDatabase())
        return;
    trap([&] {
        m_session.gRs = m_session.connection().execute(QStringLiteral("show tables from `") + database +
                                                       QStringLiteral("`;"));
        for (; m_session.gRs.isOpen() && !m_session.gRs.isEof(); m_session.gRs.moveNext())
            m_controls.lstAddTable->appendItem(m_session.gRs.text(0));
        m_session.gRs.close();
    });
}

void frmUserAdd::lstTable_Click()
{
    UserControls &c = m_controls;
    const QStringList pieces = textOf(*c.lstTable).split(u'\t');
    if (pieces.size() < 2)
        return;
    c.lblTableNameDB->setText(pieces[0]);
    c.lblTableName->setText(pieces[1]);
    trap([&] {
        RecordSet &rows = m_session.gRs;
        rows = m_session.connection().execute(selectTableGrant(account(), pieces[0], pieces[1]));
        if (rows.isOpen() && !rows.isEof()) {
            showElements(c.ckTablePrivType, tablePrivileges(), rows.text(QStringLiteral("Table_priv")));
        }
        rows.close();
    });
    setText(*c.cboAddDB, pieces[0]);
    cboAddDB_Click();
    setText(*c.lstAddTable, pieces[1]);
}

void frmUserAdd::txtPassword_GotFocus(bool isByMouse)
{
    m_controls.txtPassword->selectAll();
    // The press that gave the focus comes after it and would take the selection away again.
    if (isByMouse)
        QTimer::singleShot(0, m_controls.txtPassword, &QLineEdit::selectAll);
}

bool frmUserAdd::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_controls.txtPassword && event->type() == QEvent::FocusIn)
        txtPassword_GotFocus(static_cast<QFocusEvent *>(event)->reason() == Qt::MouseFocusReason);
    return QDialog::eventFilter(watched, event);
}

Refresh frmUserAdd::run(Command command)
{
    const Refresh refresh = command(m_session, m_dialogue, form());
    if (refresh == Refresh::Lists)
        sInit();
    else if (refresh == Refresh::Account)
        lstUser_Click();
    return refresh;
}

void frmUserAdd::cmdDbGrantEdit_Click()
{
    const QString database = textOf(*m_controls.lstAddDB);
    if (run(changeDatabaseGrant) == Refresh::Nothing)
        return;
    setText(*m_controls.lstDB, database);
    lstDB_Click();
}

void frmUserAdd::cmdTableGrantEdit_Click()
{
    const QString item = m_controls.cboAddDB->currentText() + u'\t' + textOf(*m_controls.lstAddTable);
    if (run(changeTableGrant) == Refresh::Nothing)
        return;
    setText(*m_controls.lstTable, item);
    lstTable_Click();
}

Account frmUserAdd::account() const
{
    return {m_controls.lblHostName->text(), m_controls.lblUserName->text()};
}

AccountForm frmUserAdd::form() const
{
    const UserControls &c = m_controls;
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

void frmUserAdd::trap(const std::function<void()> &statements)
{
    try {
        const BusyPointer busy(m_dialogue);
        statements();
    } catch (const SqlError &error) {
        m_dialogue.refuse(error.description());
    }
}

void showUserWindow(QWidget *parent, Session &session)
{
    frmUserAdd window(session, parent);
    window.exec();
}
