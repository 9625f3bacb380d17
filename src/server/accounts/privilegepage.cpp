#include "server/accounts/privilegepage.h"

#include "controls/window/building.h"
#include "core/command/script.h"
#include "core/command/writing.h"
#include "core/sql/passwords.h"
#include "core/sql/statements.h"
#include "server/accounts/accountcreation.h"
#include "server/accounts/createaccountwindow.h"
#include "server/accounts/defaultrolewindow.h"
#include "server/keyedlist.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSplitter>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace {

std::vector<KeyedColumn> accountColumns()
{
    return {{QStringLiteral("アカウント")}, {QStringLiteral("種類")}, {QStringLiteral("既定の役割")},
            {QStringLiteral("認証")},       {QStringLiteral("TLS")},  {QStringLiteral("パスワードの期限")},
            {QStringLiteral("制限")}};
}

QString shownRoles(const ServerAccount &account)
{
    QStringList roles;
    for (const AccountName &each : account.defaultRoles)
        roles << each.shown();
    return roles.join(QStringLiteral(", "));
}

KeyedRow rowOf(const ServerAccount &account)
{
    QString kind = account.isRole ? QStringLiteral("役割") : QStringLiteral("アカウント");
    if (account.isLocked && !account.isRole)
        kind += QStringLiteral("（ロック）");
    return {account.name.quoted(),
            {account.name.shown(), kind, shownRoles(account), account.plugin, account.tls, account.expiry,
             account.limits}};
}

// What is chosen stays chosen, and no other right takes its place, when the rights are read anew.
QString keyOf(const Grant &grant)
{
    return QStringLiteral("%1\t%2\t%3%4")
        .arg(grant.privilege, grant.scope)
        .arg(grant.isGrantable)
        .arg(grant.isRestriction);
}

KeyedRow rowOf(const Grant &grant)
{
    QStringList remarks;
    if (grant.isRole())
        remarks << QStringLiteral("役割");
    if (grant.isRestriction)
        remarks << QStringLiteral("ここだけ取り上げ");
    if (grant.isGrantable)
        remarks << QStringLiteral("他へ与えられる");
    return {keyOf(grant), {grant.privilege, grant.scope, remarks.join(QStringLiteral("、"))}};
}

QWidget *column(std::initializer_list<QWidget *> controls)
{
    auto *widget = new QWidget;
    auto *layout = new QVBoxLayout(widget);
    layout->setContentsMargins(0, 0, 0, 0);
    for (QWidget *each : controls)
        layout->addWidget(each);
    return widget;
}

} // namespace

PrivilegePage::PrivilegePage(const ServerSurroundings &around)
    : ServerPage(around, "privilegePage", QStringLiteral("権限の詳細"))
    , m_accounts(new KeyedList("accountList", QStringLiteral("アカウントと役割の一覧"), accountColumns()))
    , m_rights(new KeyedList("grantList", QStringLiteral("権限の一覧"),
                             {{QStringLiteral("権限")}, {QStringLiteral("対象")}, {QStringLiteral("備考")}}))
    , m_accountFilter(makeFilter("accountFilter", *m_accounts))
    , m_rightFilter(makeFilter("grantFilter", *m_rights))
    , m_privilege(made<QComboBox>("privilegeChoice"))
    , m_database(made<QLineEdit>("privilegeDatabase", QStringLiteral("*")))
    , m_object(made<QLineEdit>("privilegeObject", QStringLiteral("*")))
    , m_columns(made<QLineEdit>("privilegeColumns"))
    , m_kind(made<QComboBox>("privilegeObjectKind"))
    , m_grantable(made<QCheckBox>("privilegeGrantable", QStringLiteral("他へ与えられる")))
    , m_grant(made<QPushButton>("grantPrivilege", QStringLiteral("与える...")))
    , m_revoke(made<QPushButton>("revokePrivilege", QStringLiteral("選んだ権限を取り上げる...")))
    , m_create(made<QPushButton>("createAccount", QStringLiteral("アカウントを作る...")))
    , m_defaultRoles(made<QPushButton>("setDefaultRoles", QStringLiteral("既定の役割...")))
    , m_note(wordsLabel("privilegeNote"))
{
    buildLayout();
    connectControls();
    showChoice();
}

void PrivilegePage::buildLayout()
{
    m_accounts->setPlaceholderText(QStringLiteral("読んでいます..."));
    m_accounts->setSelectionMode(QAbstractItemView::SingleSelection);
    m_rights->setPlaceholderText(QStringLiteral("左でアカウントを選んでください"));
    m_kind->addItem(QStringLiteral("表"), QString());
    m_kind->addItem(QStringLiteral("プロシージャ"), QStringLiteral("PROCEDURE "));
    m_kind->addItem(QStringLiteral("ファンクション"), QStringLiteral("FUNCTION "));
    m_privilege->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    m_privilege->setAccessibleName(QStringLiteral("与える権限か役割"));
    m_database->setAccessibleName(QStringLiteral("データベース"));
    m_database->setToolTip(QStringLiteral("* はサーバー全体です。名前の _ と % は任意の文字を表します"));
    m_object->setAccessibleName(QStringLiteral("表かルーチン"));
    m_object->setToolTip(QStringLiteral("* はデータベース全体です"));
    m_columns->setAccessibleName(QStringLiteral("列"));
    m_columns->setPlaceholderText(QStringLiteral("列 (a, b)。空: 表全体"));
    m_columns->setToolTip(QStringLiteral("列の名前をカンマで並べると、その列だけへの権限になります "
                                         "(SELECT、INSERT、UPDATE、REFERENCES)"));
    m_grant->setToolTip(QStringLiteral("左で選んだアカウントに、この行の権限か役割を与えます"));
    m_revoke->setToolTip(QStringLiteral("右の一覧で選んだ権限を、アカウントから取り上げます"));
    m_defaultRoles->setToolTip(QStringLiteral("役割を持つアカウントで、接続したときに有効なものを選びます"));
    m_kind->setAccessibleName(QStringLiteral("対象の種類"));
    auto *split = new QSplitter;
    split->addWidget(column({m_accountFilter, m_accounts}));
    split->addWidget(column({m_rightFilter, m_rights}));
    split->setChildrenCollapsible(false);
    split->setSizes({480, 520});
    auto *entry = new QHBoxLayout;
    for (QWidget *each : std::initializer_list<QWidget *>{m_privilege, m_kind, m_database, m_object,
                                                          m_columns, m_grantable, m_grant})
        entry->addWidget(each, qobject_cast<QLineEdit *>(each) ? 1 : 0);
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(m_create);
    buttons->addWidget(m_defaultRoles);
    buttons->addStretch(1);
    buttons->addWidget(m_revoke);
    content()->addWidget(split, 1);
    content()->addLayout(entry);
    content()->addWidget(m_note);
    content()->addLayout(buttons);
}

void PrivilegePage::connectControls()
{
    connect(m_accounts->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            &PrivilegePage::showAccount);
    connect(m_rights, &KeyedList::choiceChanged, this, &PrivilegePage::showChoice);
    connect(m_privilege, &QComboBox::currentIndexChanged, this, &PrivilegePage::showChoice);
    connect(m_kind, &QComboBox::currentIndexChanged, this, &PrivilegePage::showChoice);
    connect(m_object, &QLineEdit::textChanged, this, &PrivilegePage::showChoice);
    connect(m_grant, &QPushButton::clicked, this, &PrivilegePage::grant);
    connect(m_revoke, &QPushButton::clicked, this, &PrivilegePage::revoke);
    connect(m_defaultRoles, &QPushButton::clicked, this, &PrivilegePage::setDefaultRoles);
    connect(m_create, &QPushButton::clicked, this, &PrivilegePage::createAccount);
}

void PrivilegePage::refresh()
{
    ask(
        [](Session &session) {
            Connection &connection = session.connection();
            return Reading{readAccountList(connection), readPrivileges(connection), connection.server(),
                           readLoginPlugins(connection), !sqlModeOf(connection).hasPlainBackslashes};
        },
        [this](Reading reading) { show(std::move(reading)); });
}

void PrivilegePage::show(Reading reading)
{
    m_reading = std::move(reading);
    std::vector<KeyedRow> rows;
    for (const ServerAccount &each : m_reading.list.accounts)
        rows.push_back(rowOf(each));
    m_accounts->show(std::move(rows));
    tellProblem(m_reading.list.missing);
    offerPrivileges();
    if (m_wanted)
        choose(*std::exchange(m_wanted, {}));
    showAccount();
}

void PrivilegePage::goTo(const AccountName &account)
{
    m_accountFilter->clear();
    m_accounts->setFocus();
    if (!choose(account))
        m_wanted = account;
}

// Whoever asks does not know that a name without a host is one of MariaDB's roles.
bool PrivilegePage::choose(const AccountName &account)
{
    const bool mayBeRole = account.host && account.host->isEmpty();
    return m_accounts->choose(account.quoted()) ||
           (mayBeRole && m_accounts->choose(AccountName{account.user}.quoted()));
}

void PrivilegePage::offerPrivileges()
{
    const QString before = m_privilege->currentText();
    const QSignalBlocker blocker(m_privilege);
    m_privilege->clear();
    for (const ServerAccount &each : m_reading.list.accounts)
        if (each.isRole)
            m_privilege->addItem(QStringLiteral("役割 ") + visibleName(each.name.shown()),
                                 each.name.quoted());
    for (const KnownPrivilege &each : m_reading.privileges) {
        m_privilege->addItem(each.name);
        m_privilege->setItemData(m_privilege->count() - 1, each.context, Qt::ToolTipRole);
    }
    m_privilege->setCurrentIndex(std::max(0, m_privilege->findText(before)));
}

const ServerAccount *PrivilegePage::current() const
{
    const QString key = m_accounts->currentKey();
    const auto found = std::ranges::find(m_reading.list.accounts, key,
                                         [](const ServerAccount &each) { return each.name.quoted(); });
    return found == m_reading.list.accounts.end() ? nullptr : &*found;
}

void PrivilegePage::showAccount()
{
    m_grants.clear();
    const ServerAccount *account = current();
    if (!account) {
        m_rights->show({});
        return showChoice();
    }
    showChoice();
    ask([name = account->name](Session &session) { return readGrantLines(session.connection(), name); },
        [this, name = account->name](const QStringList &lines) { showGrants(name, lines); });
}

void PrivilegePage::showGrants(const AccountName &account, const QStringList &lines)
{
    const ServerAccount *shown = current();
    if (!shown || shown->name != account)
        return; // another one was chosen meanwhile
    tellProblem(m_reading.list.missing);
    m_grants.clear();
    std::vector<KeyedRow> rows;
    for (const QString &line : lines)
        for (const Grant &each : grantsOf(line)) {
            rows.push_back(rowOf(each));
            m_grants.push_back(each);
        }
    m_rights->show(std::move(rows));
    showChoice();
}

void PrivilegePage::showChoice()
{
    const bool isRole = !m_privilege->currentData().toString().isEmpty();
    const bool hasAccount = current();
    for (QWidget *each : std::initializer_list<QWidget *>{m_kind, m_database, m_object})
        each->setEnabled(!isRole);
    m_columns->setEnabled(takesColumns());
    m_defaultRoles->setEnabled(hasAccount && std::ranges::any_of(m_grants, &Grant::isRole));
    m_grant->setEnabled(hasAccount && m_privilege->currentIndex() >= 0);
    m_revoke->setEnabled(hasAccount && m_rights->hasChosen());
    m_create->setEnabled(!m_reading.server.version.isEmpty());
}

bool PrivilegePage::takesColumns() const
{
    static const QStringList ofColumns{"SELECT", "INSERT", "UPDATE", "REFERENCES"};
    const QString table = m_object->text().trimmed();
    return ofColumns.contains(m_privilege->currentText()) && m_kind->currentIndex() == 0 &&
           !table.isEmpty() && table != u"*";
}

Grant PrivilegePage::wantedGrant() const
{
    if (const QString role = m_privilege->currentData().toString(); !role.isEmpty())
        return {role, {}, m_grantable->isChecked(), false};
    const auto part = [](const QLineEdit &line) {
        const QString text = line.text().trimmed();
        return text.isEmpty() || text == u"*" ? QStringLiteral("*") : quotedName(text);
    };
    return {takesColumns() ? onColumns(m_privilege->currentText(), m_columns->text())
                           : m_privilege->currentText(),
            m_kind->currentData().toString() + part(*m_database) + u'.' + part(*m_object),
            m_grantable->isChecked(), false};
}

void PrivilegePage::grant()
{
    if (const ServerAccount *account = current())
        change(account->name, {grantStatement(wantedGrant(), account->name)});
}

void PrivilegePage::revoke()
{
    const ServerAccount *account = current();
    QStringList statements;
    const QStringList chosen = m_rights->chosenKeys();
    for (const Grant &each : m_grants)
        if (account && chosen.contains(keyOf(each)))
            statements << revokeStatement(each, account->name);
    if (!statements.isEmpty())
        change(account->name, statements);
}

void PrivilegePage::setDefaultRoles()
{
    const ServerAccount *account = current();
    if (!account)
        return;
    QStringList roles, before;
    for (const Grant &each : m_grants)
        if (each.isRole())
            roles << each.privilege;
    for (const AccountName &each : account->defaultRoles)
        before << each.quoted();
    auto *window = new DefaultRoleWindow(account->name, roles, before, m_reading.server.isMariaDb, this);
    connect(window, &DefaultRoleWindow::chosen, this,
            [this, name = account->name](const QString &statement) { change(name, {statement}); });
    window->open();
}

bool PrivilegePage::isAgreed(const QString &what, const AccountName &account,
                             const QStringList &statements) const
{
    m_note->clear(); // of what was done before
    const Session &settings = around().link.settings();
    if (!confirmsWriting(settings, around().dialogue))
        return false;
    constexpr qsizetype mostShown = 15; // a box higher than the screen has no buttons
    QStringList lines{what.arg(serverName(settings), visibleName(account.shown()))};
    if (account == m_reading.list.own)
        lines << QStringLiteral("この画面が今使っているアカウントです。");
    for (const QString &each : statements.mid(0, mostShown))
        lines << visibleText(maskedPasswords(each));
    if (statements.size() > mostShown)
        lines << QStringLiteral("ほか %1 個の文").arg(statements.size() - mostShown);
    lines << QStringLiteral("続けますか？");
    return around().dialogue.warn(lines.join(QStringLiteral("\r\n")));
}

void PrivilegePage::change(AccountName account, const QStringList &statements)
{
    if (!isAgreed(QStringLiteral("サーバー %1 で、%2 の権限を変えます。"), account, statements))
        return;
    ask([=](Session &session) { return changeRights(session.connection(), account, statements); },
        [=, this](const RightsChanged &changed) {
            note(statements, changed.refusal);
            QStringList lines;
            if (!changed.refusal.isEmpty())
                lines << QStringLiteral("サーバーが断りました: ") + changed.refusal;
            for (const QString &each : changed.gone)
                lines << QStringLiteral("消えました: ") + each;
            for (const QString &each : changed.come)
                lines << QStringLiteral("加わりました: ") + each;
            if (changed.gone.isEmpty() && changed.come.isEmpty())
                lines << QStringLiteral("SHOW GRANTS は変わっていません。");
            m_note->setText(visibleText(lines.join(u'\n')));
            refresh();
        });
}

void PrivilegePage::note(const QStringList &statements, const QString &refusal) const
{
    for (const QString &each : statements)
        around().log->add({QDateTime::currentDateTime(), maskedPasswords(each), 0, -1, refusal});
}

void PrivilegePage::createAccount()
{
    auto *window = new CreateAccountWindow(m_reading.server, m_reading.plugins, m_reading.escapes, this);
    connect(window, &CreateAccountWindow::chosen, this, &PrivilegePage::create);
    window->open();
}

void PrivilegePage::create(const AccountName &account, const QStringList &statements)
{
    if (!isAgreed(QStringLiteral("サーバー %1 に、アカウント %2 を作ります。"), account, statements))
        return;
    ask([=](Session &session) { return makeAccount(session, account, statements); },
        [=, this](const QString &refusal) {
            note(statements, refusal);
            m_note->setText(refusal.isEmpty()
                                ? QStringLiteral("作りました: ") + visibleName(account.shown())
                                : QStringLiteral("サーバーが断りました。何も残っていません: ") + refusal);
            refresh();
        });
}
