#include "server/variables/setvariablewindow.h"

#include "controls/window/building.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

SetVariableWindow::SetVariableWindow(VariableList list, const Variable &variable, QWidget *parent)
    : QDialog(parent)
    , m_list(std::move(list))
    , m_variable(variable)
    , m_scope(made<QComboBox>("variableScope"))
    , m_value(made<QLineEdit>("variableValue"))
    , m_isDefault(made<QCheckBox>("variableDefault", QStringLiteral("既定値に戻す (DEFAULT)")))
    , m_statement(made<QLineEdit>("variableStatement"))
    , m_note(made<QLabel>("variableScopeNote"))
    , m_go(made<QPushButton>("sendVariable", QStringLiteral("実行...")))
{
    setObjectName(QStringLiteral("setVariableWindow"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(QStringLiteral("変数 %1").arg(m_variable.name));
    const auto offer = [this](VariableScope scope, const QString &text) {
        m_scope->addItem(text, static_cast<int>(scope));
    };
    if (m_variable.session)
        offer(VariableScope::Session, QStringLiteral("この画面の接続だけ (SESSION)"));
    if (m_variable.global && !m_variable.isReadOnly)
        offer(VariableScope::Global, QStringLiteral("サーバー全体、再起動まで (GLOBAL)"));
    if (m_variable.global && m_list.hasPersist) {
        offer(VariableScope::Persist, QStringLiteral("サーバー全体、再起動の後も (PERSIST)"));
        offer(VariableScope::PersistOnly, QStringLiteral("次の起動から (PERSIST_ONLY)"));
    }
    if (const int global = m_scope->findData(static_cast<int>(VariableScope::Global)); global >= 0)
        m_scope->setCurrentIndex(global);
    buildLayout();
    connectControls();
    showScope();
}

void SetVariableWindow::buildLayout()
{
    auto *form = new QFormLayout;
    form->addRow(QStringLiteral("有効な範囲(&S) :"), m_scope);
    form->addRow(QStringLiteral("新しい値(&V) :"), m_value);
    form->addRow(QString(), m_isDefault);
    form->addRow(QStringLiteral("送る文 :"), m_statement);
    m_statement->setReadOnly(true);
    m_statement->setAccessibleName(QStringLiteral("送る文"));
    m_note->setTextFormat(Qt::PlainText);
    m_note->setWordWrap(true);
    auto *about = new QLabel(visibleText(m_variable.about));
    about->setTextFormat(Qt::PlainText);
    about->setWordWrap(true);
    about->setVisible(!m_variable.about.isEmpty());
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Cancel);
    buttons->addButton(m_go, QDialogButtonBox::AcceptRole);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(about);
    layout->addLayout(form);
    layout->addWidget(m_note);
    layout->addStretch(1);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &SetVariableWindow::choose);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    resize(fontMetrics().averageCharWidth() * 80, sizeHint().height());
    m_value->setFocus();
}

void SetVariableWindow::connectControls()
{
    connect(m_scope, &QComboBox::currentIndexChanged, this, &SetVariableWindow::showScope);
    connect(m_value, &QLineEdit::textChanged, this, &SetVariableWindow::showStatement);
    connect(m_isDefault, &QCheckBox::toggled, this, &SetVariableWindow::showStatement);
}

VariableScope SetVariableWindow::scope() const
{
    return static_cast<VariableScope>(m_scope->currentData().toInt());
}

QString SetVariableWindow::statement() const
{
    return setVariableStatement(scope(), m_list, m_variable,
                                m_isDefault->isChecked() ? std::optional<QString>() : m_value->text());
}

void SetVariableWindow::showScope()
{
    const bool isOffered = m_scope->count() > 0;
    m_go->setEnabled(isOffered);
    const bool isSession = isOffered && scope() == VariableScope::Session;
    if (!m_value->isModified())
        m_value->setText((isSession ? m_variable.session : m_variable.global).value_or(QString()));
    m_value->selectAll();
    if (!isOffered)
        m_note->setText(QStringLiteral("この変数は、動いているサーバーでは変えられません。"));
    else if (isSession)
        m_note->setText(
            QStringLiteral("この画面の接続だけに効きます。他の画面の接続とSQLシートの値は変わりません。"
                           "シートで使うには、文を「シートに入れる」で移します。"));
    else
        m_note->setText(m_variable.session
                            ? QStringLiteral("すでにある接続の値は変わらず、これからの接続に効きます。")
                            : QString());
    showStatement();
}

void SetVariableWindow::showStatement()
{
    m_value->setEnabled(!m_isDefault->isChecked());
    m_statement->setText(m_scope->count() > 0 ? statement() : QString());
    m_statement->setCursorPosition(0);
}

void SetVariableWindow::choose()
{
    Q_EMIT chosen(m_variable, scope(), statement());
    accept();
}
