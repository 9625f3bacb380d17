#include "connections/connectionfields.h"

#include "controls/window/building.h"
#include "core/driver/connect.h"

#include <QFileDialog>
#include <QFormLayout>
#include <QPainter>
#include <QPushButton>

namespace {

constexpr std::pair<QStringView, const char *> colours[] = {
    {u"なし", ""},        {u"赤", "#c62828"}, {u"橙", "#ef6c00"}, {u"黄", "#f9a825"}, {u"緑", "#2e7d32"},
    {u"青緑", "#00838f"}, {u"青", "#1565c0"}, {u"紫", "#6a1b9a"}, {u"灰", "#616161"}};

QIcon swatch(const QString &colour)
{
    if (colour.isEmpty())
        return {};
    QPixmap picture(16, 16);
    picture.fill(QColor(colour));
    return picture;
}

QComboBox *choices(const char *name, const QStringList &texts)
{
    auto *box = made<QComboBox>(name);
    box->addItems(texts);
    return box;
}

QComboBox *editableBox(const char *name)
{
    auto *box = made<QComboBox>(name);
    makeEditable(*box);
    return box;
}

void addRow(QFormLayout &form, const QString &title, QWidget *field)
{
    form.addRow(title + QStringLiteral(" :"), field);
    field->setAccessibleName(title);
}

} // namespace

ConnectionFields::ConnectionFields(QWidget *parent)
    : QTabWidget(parent)
    , m_name(made<QLineEdit>("connectionName"))
    , m_server(made<QLineEdit>("connectionServer"))
    , m_port(made<QLineEdit>("connectionPort"))
    , m_user(made<QLineEdit>("connectionUser"))
    , m_password(made<QLineEdit>("connectionPassword"))
    , m_database(made<QLineEdit>("connectionDatabase"))
    , m_folder(editableBox("connectionFolder"))
    , m_colour(made<QComboBox>("connectionColour"))
    , m_environment(choices("connectionEnvironment", {QStringLiteral("指定なし")}))
    , m_kind(choices("connectionKind", {QStringLiteral("内蔵の接続"), QStringLiteral("ODBC ドライバー"),
                                        QStringLiteral("データソース・接続文字列")}))
    , m_source(editableBox("connectionSource"))
    , m_keeping(choices("connectionKeeping", {QStringLiteral("保存しない（接続のたびに尋ねる）"),
                                              QStringLiteral("デスクトップのキーストアに保存"),
                                              QStringLiteral("ファイルに保存（軽く隠すだけ）")}))
    , m_tls(choices("connectionTls",
                    {QStringLiteral("サーバーが対応していれば暗号化"), QStringLiteral("暗号化を必ず求める"),
                     QStringLiteral("証明書も確かめる")}))
    , m_ca(made<QLineEdit>("connectionCa"))
    , m_caFolder(made<QLineEdit>("connectionCaFolder"))
    , m_cipher(made<QLineEdit>("connectionCipher"))
    , m_certificate(made<QLineEdit>("connectionCertificate"))
    , m_key(made<QLineEdit>("connectionKey"))
    , m_fingerprint(made<QLineEdit>("connectionFingerprint"))
    , m_clearText(made<QCheckBox>("connectionClearText",
                                  QStringLiteral("パスワードをそのまま送る認証（PAM、LDAP）を許す")))
    , m_ssh(made<QLineEdit>("connectionSsh"))
    , m_sshPort(made<QLineEdit>("connectionSshPort"))
    , m_sshUser(made<QLineEdit>("connectionSshUser"))
    , m_sshKey(made<QLineEdit>("connectionSshKey"))
    , m_keepAlive(made<QSpinBox>("connectionKeepAlive"))
    , m_isReadOnly(made<QCheckBox>("connectionReadOnly", QStringLiteral("読み取り専用の接続にする")))
    , m_isSafe(made<QCheckBox>("connectionSafeMode",
                               QStringLiteral("SQLシートを安全モードで始める（本番では、はじめからオン）")))
    , m_note(made<QPlainTextEdit>("connectionNote"))
{
    for (const auto &[title, colour] : colours)
        m_colour->addItem(swatch(QLatin1String(colour)), title.toString(), QLatin1String(colour));
    for (const Environment environment :
         {Environment::Development, Environment::Staging, Environment::Production})
        m_environment->addItem(environmentText(environment));
    m_password->setEchoMode(QLineEdit::Password);
    m_keepAlive->setRange(0, 3600);
    m_keepAlive->setSuffix(QStringLiteral(" 秒ごと"));
    m_keepAlive->setSpecialValueText(QStringLiteral("送らない"));
    m_note->setTabChangesFocus(true);
    addTab(serverPage(), QStringLiteral("サーバー"));
    addTab(tlsPage(), QStringLiteral("暗号化"));
    addTab(sshPage(), QStringLiteral("SSH"));
    addTab(otherPage(), QStringLiteral("そのほか"));
    connect(m_kind, &QComboBox::currentIndexChanged, this, &ConnectionFields::showKind);
    connect(m_name, &QLineEdit::textChanged, this, &ConnectionFields::edited);
    for (const QComboBox *box : {m_colour, m_environment})
        connect(box, &QComboBox::currentIndexChanged, this, &ConnectionFields::edited);
    m_isSafe->setToolTip(QStringLiteral("WHERE のない UPDATE・DELETE、DROP、TRUNCATE の前に確かめます"));
    connect(m_isSafe, &QCheckBox::clicked, this,
            [this](bool isOn) { m_isSafeChosen = isOn != isProduction(); });
    connect(m_environment, &QComboBox::currentIndexChanged, this, [this] {
        if (!m_isSafeChosen)
            m_isSafe->setChecked(isProduction());
    });
    showKind();
}

bool ConnectionFields::isProduction() const
{
    return m_environment->currentIndex() == static_cast<int>(Environment::Production);
}

QWidget *ConnectionFields::serverPage()
{
    auto *page = new QWidget;
    auto *form = new QFormLayout(page);
    addRow(*form, QStringLiteral("名前"), m_name);
    addRow(*form, QStringLiteral("フォルダー"), m_folder);
    addRow(*form, QStringLiteral("色"), m_colour);
    addRow(*form, QStringLiteral("環境"), m_environment);
    addRow(*form, QStringLiteral("種類"), m_kind);
    addRow(*form, QStringLiteral("ドライバー・データソース"), m_source);
    addRow(*form, QStringLiteral("サーバー"), m_server);
    addRow(*form, QStringLiteral("ポート"), m_port);
    addRow(*form, QStringLiteral("ユーザー"), m_user);
    addRow(*form, QStringLiteral("パスワード"), m_password);
    addRow(*form, QStringLiteral("パスワードの保存"), m_keeping);
    addRow(*form, QStringLiteral("データベース"), m_database);
    return page;
}

QWidget *ConnectionFields::fileRow(QLineEdit &line, const QString &title, bool isFolder)
{
    auto *row = new QWidget;
    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins({});
    auto *button = new QPushButton(QStringLiteral("選ぶ..."));
    button->setObjectName(line.objectName() + QStringLiteral("Choose"));
    button->setAccessibleName(title + QStringLiteral("を選ぶ"));
    button->setAutoDefault(false);
    connect(button, &QPushButton::clicked, this, [this, &line, title, isFolder] {
        const QString path = isFolder ? QFileDialog::getExistingDirectory(this, title, line.text())
                                      : QFileDialog::getOpenFileName(this, title, line.text());
        if (!path.isEmpty())
            line.setText(path);
    });
    layout->addWidget(&line, 1);
    layout->addWidget(button);
    line.setAccessibleName(title);
    row->setFocusProxy(&line);
    return row;
}

QWidget *ConnectionFields::tlsPage()
{
    auto *page = new QWidget;
    auto *form = new QFormLayout(page);
    addRow(*form, QStringLiteral("TLS"), m_tls);
    addRow(*form, QStringLiteral("認証局の証明書 (PEM)"), fileRow(*m_ca, QStringLiteral("認証局の証明書")));
    addRow(*form, QStringLiteral("認証局のフォルダー"),
           fileRow(*m_caFolder, QStringLiteral("認証局のフォルダー"), true));
    addRow(*form, QStringLiteral("自分の証明書 (PEM)"),
           fileRow(*m_certificate, QStringLiteral("自分の証明書")));
    addRow(*form, QStringLiteral("自分の鍵 (PEM)"), fileRow(*m_key, QStringLiteral("自分の鍵")));
    addRow(*form, QStringLiteral("証明書の指紋 (SHA-1)"), m_fingerprint);
    addRow(*form, QStringLiteral("暗号スイート"), m_cipher);
    m_cipher->setPlaceholderText(QStringLiteral("空なら選びません"));
    form->addRow(m_clearText);
    return page;
}

QWidget *ConnectionFields::sshPage()
{
    auto *page = new QWidget;
    auto *form = new QFormLayout(page);
    addRow(*form, QStringLiteral("SSH のホスト"), m_ssh);
    m_ssh->setPlaceholderText(QStringLiteral("空なら直接つなぎます"));
    addRow(*form, QStringLiteral("SSH のポート"), m_sshPort);
    addRow(*form, QStringLiteral("SSH のユーザー"), m_sshUser);
    addRow(*form, QStringLiteral("SSH の鍵"), fileRow(*m_sshKey, QStringLiteral("SSH の鍵")));
    auto *hint = new QLabel(QStringLiteral("サーバーとポートは、SSH のホストから見たものを書きます。\n"
                                           "ssh コマンドの設定と鍵エージェントも使われます。"));
    form->addRow(hint);
    return page;
}

QWidget *ConnectionFields::otherPage()
{
    auto *page = new QWidget;
    auto *form = new QFormLayout(page);
    form->addRow(m_isReadOnly);
    form->addRow(m_isSafe);
    addRow(*form, QStringLiteral("接続を保つ信号"), m_keepAlive);
    addRow(*form, QStringLiteral("メモ"), m_note);
    return page;
}

void ConnectionFields::showKind()
{
    const auto kind = static_cast<ConnectionKind>(m_kind->currentIndex());
    const QString text = m_source->currentText();
    m_source->clear();
    if (kind != ConnectionKind::BuiltIn) {
        const DriverListing listing = listOdbc();
        m_source->addItems(kind == ConnectionKind::Driver ? listing.drivers : listing.dataSources);
        m_source->setEditText(text);
    }
    m_source->setEnabled(kind != ConnectionKind::BuiltIn);
    for (QWidget *field : {m_server, m_port, m_user, m_password, m_ssh, m_sshPort, m_sshUser, m_sshKey})
        field->setEnabled(kind != ConnectionKind::DataSource);
    m_keeping->setEnabled(kind != ConnectionKind::DataSource);
}

void ConnectionFields::showColour(const QString &colour)
{
    int index = m_colour->findData(colour);
    if (index < 0) {
        index = m_colour->count();
        m_colour->addItem(swatch(colour), colour, colour);
    }
    m_colour->setCurrentIndex(index);
}

void ConnectionFields::show(const ConnectionProfile &profile)
{
    const QSignalBlocker notByTheUser(this);
    m_name->setText(profile.name);
    m_folder->setEditText(profile.folder);
    showColour(profile.colour);
    m_environment->setCurrentIndex(static_cast<int>(profile.environment));
    m_kind->setCurrentIndex(static_cast<int>(profile.kind));
    m_source->setEditText(profile.source);
    m_server->setText(profile.server);
    m_port->setText(profile.port);
    m_user->setText(profile.user);
    m_password->setText(profile.password);
    m_password->setPlaceholderText(
        profile.keeping == PasswordKeeping::Desktop ? QStringLiteral("キーストアのもの") : QString());
    m_keeping->setCurrentIndex(static_cast<int>(profile.keeping));
    m_database->setText(profile.database);
    m_tls->setCurrentIndex(static_cast<int>(profile.tls.mode));
    m_ca->setText(profile.tls.authority);
    m_caFolder->setText(profile.tls.authorityFolder);
    m_cipher->setText(profile.tls.cipher);
    m_certificate->setText(profile.tls.certificate);
    m_key->setText(profile.tls.key);
    m_fingerprint->setText(profile.tls.fingerprint);
    m_clearText->setChecked(profile.tls.allowsClearText);
    m_ssh->setText(profile.ssh.host);
    m_sshPort->setText(profile.ssh.port);
    m_sshUser->setText(profile.ssh.user);
    m_sshKey->setText(profile.ssh.keyFile);
    m_isReadOnly->setChecked(profile.isReadOnly);
    m_isSafeChosen = profile.isSafe != isProduction();
    m_isSafe->setChecked(profile.isSafe);
    m_keepAlive->setValue(profile.keepAlive);
    m_note->setPlainText(profile.note);
}

ConnectionProfile ConnectionFields::profile(ConnectionProfile profile) const
{
    profile.name = m_name->text().trimmed();
    profile.folder = m_folder->currentText().trimmed();
    profile.colour = m_colour->currentData().toString();
    profile.environment = static_cast<Environment>(m_environment->currentIndex());
    profile.kind = static_cast<ConnectionKind>(m_kind->currentIndex());
    profile.source = profile.kind == ConnectionKind::BuiltIn ? QString() : m_source->currentText().trimmed();
    profile.server = m_server->text().trimmed();
    profile.port = m_port->text().trimmed();
    profile.user = m_user->text().trimmed();
    profile.keeping = static_cast<PasswordKeeping>(m_keeping->currentIndex());
    profile.password = profile.keeping == PasswordKeeping::File ? m_password->text() : QString();
    profile.database = m_database->text().trimmed();
    profile.tls.mode = static_cast<TlsMode>(m_tls->currentIndex());
    profile.tls.authority = m_ca->text().trimmed();
    profile.tls.authorityFolder = m_caFolder->text().trimmed();
    profile.tls.cipher = m_cipher->text().trimmed();
    profile.tls.certificate = m_certificate->text().trimmed();
    profile.tls.key = m_key->text().trimmed();
    profile.tls.fingerprint = m_fingerprint->text().trimmed();
    profile.tls.allowsClearText = m_clearText->isChecked();
    profile.ssh = {m_ssh->text().trimmed(), m_sshPort->text().trimmed(), m_sshUser->text().trimmed(),
                   m_sshKey->text().trimmed()};
    profile.isReadOnly = m_isReadOnly->isChecked();
    profile.isSafe = m_isSafe->isChecked();
    profile.keepAlive = m_keepAlive->value();
    profile.note = m_note->toPlainText();
    return profile;
}

void ConnectionFields::setFolders(const QStringList &folders)
{
    const QString text = m_folder->currentText();
    m_folder->clear();
    m_folder->addItems(folders);
    m_folder->setEditText(text);
}

void ConnectionFields::beginWithName()
{
    setCurrentIndex(0);
    m_name->setFocus();
    m_name->selectAll();
}
