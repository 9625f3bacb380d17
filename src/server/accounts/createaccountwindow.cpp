#include "server/accounts/createaccountwindow.h"

#include "controls/window/building.h"
#include "core/sql/passwords.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

namespace {

QSpinBox *limit(const char *name)
{
    auto *box = made<QSpinBox>(name);
    box->setRange(0, 1'000'000'000);
    box->setSpecialValueText(QStringLiteral("制限なし"));
    return box;
}

} // namespace

CreateAccountWindow::CreateAccountWindow(const ServerInfo &server, const QStringList &plugins, bool escapes,
                                         QWidget *parent)
    : QDialog(parent)
    , m_server(server)
    , m_escapes(escapes)
    , m_user(made<QLineEdit>("newUser"))
    , m_host(made<QLineEdit>("newHost", QStringLiteral("%")))
    , m_password(made<QLineEdit>("newPassword"))
    , m_isRole(made<QCheckBox>("newIsRole", QStringLiteral("役割 (ROLE) として作る(&R)")))
    , m_plugin(made<QComboBox>("newPlugin"))
    , m_tls(made<QComboBox>("newTls"))
    , m_expiry(made<QComboBox>("newExpiry"))
    , m_days(made<QSpinBox>("newDays"))
    , m_statementsPerHour(limit("newStatementsPerHour"))
    , m_changesPerHour(limit("newChangesPerHour"))
    , m_connectionsPerHour(limit("newConnectionsPerHour"))
    , m_connections(limit("newConnections"))
    , m_shown(made<QLabel>("newStatements"))
    , m_go(made<QPushButton>("sendAccount", QStringLiteral("実行...")))
{
    setObjectName(QStringLiteral("createAccountWindow"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(QStringLiteral("アカウントの作成"));
    m_password->setEchoMode(QLineEdit::Password);
    m_plugin->addItem(QStringLiteral("サーバーの既定"), QString());
    for (const QString &each : plugins)
        m_plugin->addItem(each, each);
    m_tls->addItem(QStringLiteral("求めない"), QString());
    m_tls->addItem(QStringLiteral("TLS (SSL)"), QStringLiteral("SSL"));
    m_tls->addItem(QStringLiteral("証明書 (X509)"), QStringLiteral("X509"));
    for (const auto &[text, expiry] : {std::pair("サーバーの既定", NewAccount::Expiry::Standard),
                                       {"最初の接続で変えさせる", NewAccount::Expiry::Now},
                                       {"期限なし", NewAccount::Expiry::Never},
                                       {"日数", NewAccount::Expiry::Days}})
        if (takesExpiryTimes(server) || expiry == NewAccount::Expiry::Standard ||
            (expiry == NewAccount::Expiry::Now && !server.isMariaDb))
            m_expiry->addItem(QString::fromUtf8(text), static_cast<int>(expiry));
    m_days->setRange(1, 65535);
    m_days->setValue(90);
    m_days->setSuffix(QStringLiteral(" 日"));
    m_days->setAccessibleName(QStringLiteral("期限の日数"));
    buildLayout();
    connectControls();
    showStatements();
}

void CreateAccountWindow::buildLayout()
{
    auto *expiry = new QHBoxLayout;
    expiry->addWidget(m_expiry, 1);
    expiry->addWidget(m_days);
    auto *form = new QFormLayout;
    form->addRow(QStringLiteral("名前(&U) :"), m_user);
    form->addRow(QStringLiteral("接続元(&H) :"), m_host);
    form->addRow(QString(), m_isRole);
    form->addRow(QStringLiteral("認証プラグイン(&A) :"), m_plugin);
    form->addRow(QStringLiteral("パスワード(&P) :"), m_password);
    auto *expiryCaption = new QLabel(QStringLiteral("パスワードの期限(&E) :"));
    expiryCaption->setBuddy(m_expiry);
    form->addRow(expiryCaption, expiry);
    form->addRow(QStringLiteral("暗号化(&T) :"), m_tls);
    form->addRow(QStringLiteral("文の数／時 :"), m_statementsPerHour);
    form->addRow(QStringLiteral("変更の数／時 :"), m_changesPerHour);
    form->addRow(QStringLiteral("接続の数／時 :"), m_connectionsPerHour);
    form->addRow(QStringLiteral("同時の接続 :"), m_connections);
    m_shown->setTextFormat(Qt::PlainText);
    m_shown->setWordWrap(true);
    m_shown->setMinimumHeight(fontMetrics().height() * 3);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Cancel);
    buttons->addButton(m_go, QDialogButtonBox::AcceptRole);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(m_shown, 1);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &CreateAccountWindow::choose);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    resize(fontMetrics().averageCharWidth() * 70, sizeHint().height());
    m_user->setFocus();
}

void CreateAccountWindow::connectControls()
{
    for (QLineEdit *each : {m_user, m_host, m_password})
        connect(each, &QLineEdit::textChanged, this, &CreateAccountWindow::showStatements);
    for (QComboBox *each : {m_plugin, m_tls, m_expiry})
        connect(each, &QComboBox::currentIndexChanged, this, &CreateAccountWindow::showStatements);
    for (QSpinBox *each :
         {m_days, m_statementsPerHour, m_changesPerHour, m_connectionsPerHour, m_connections})
        connect(each, &QSpinBox::valueChanged, this, &CreateAccountWindow::showStatements);
    connect(m_isRole, &QCheckBox::toggled, this, &CreateAccountWindow::showStatements);
}

NewAccount CreateAccountWindow::account() const
{
    const bool isRole = m_isRole->isChecked();
    return {
        .name = {m_user->text(), isRole && m_server.isMariaDb ? std::optional<QString>() : m_host->text()},
        .isRole = isRole,
        .plugin = m_plugin->currentData().toString(),
        .password = m_password->text(),
        .tls = m_tls->currentData().toString(),
        .expiry = static_cast<NewAccount::Expiry>(m_expiry->currentData().toInt()),
        .days = m_days->value(),
        .statementsPerHour = m_statementsPerHour->value(),
        .changesPerHour = m_changesPerHour->value(),
        .connectionsPerHour = m_connectionsPerHour->value(),
        .connections = m_connections->value()};
}

QStringList CreateAccountWindow::statements() const
{
    return createAccountStatements(m_server, account(), m_escapes);
}

void CreateAccountWindow::showStatements()
{
    const NewAccount wanted = account();
    for (QWidget *each :
         std::initializer_list<QWidget *>{m_plugin, m_password, m_tls, m_expiry, m_statementsPerHour,
                                          m_changesPerHour, m_connectionsPerHour, m_connections})
        each->setEnabled(!wanted.isRole);
    m_host->setEnabled(!wanted.isRole || !m_server.isMariaDb);
    m_days->setEnabled(!wanted.isRole && wanted.expiry == NewAccount::Expiry::Days);
    try {
        QStringList shown;
        for (const QString &each : statements())
            shown << visibleText(maskedPasswords(each));
        m_shown->setText(shown.join(QStringLiteral(";\n")));
        m_go->setEnabled(true);
    } catch (const Failure &failure) {
        m_shown->setText(failure.description());
        m_go->setEnabled(false);
    }
}

void CreateAccountWindow::choose()
{
    Q_EMIT chosen(account().name, statements());
    accept();
}
