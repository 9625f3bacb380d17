#include "server/accounts/defaultrolewindow.h"

#include "controls/window/building.h"
#include "core/sql/listitem.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

DefaultRoleWindow::DefaultRoleWindow(const AccountName &account, const QStringList &roles,
                                     const QStringList &before, bool isMariaDb, QWidget *parent)
    : QDialog(parent)
    , m_account(account)
    , m_isMariaDb(isMariaDb)
    , m_roles(made<QListWidget>("defaultRoleList"))
    , m_statement(made<QLabel>("defaultRoleStatement"))
{
    setObjectName(QStringLiteral("defaultRoleWindow"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(QStringLiteral("%1 の既定の役割").arg(visibleName(account.shown())));
    m_roles->setAccessibleName(QStringLiteral("接続したときに有効な役割"));
    for (const QString &role : roles) {
        auto *item = new QListWidgetItem(visibleItem(role), m_roles);
        item->setData(Qt::UserRole, role);
        item->setCheckState(before.contains(role) ? Qt::Checked : Qt::Unchecked);
    }
    m_roles->setCurrentRow(0);
    m_statement->setTextFormat(Qt::PlainText);
    m_statement->setWordWrap(true);
    m_statement->setMinimumHeight(fontMetrics().height() * 2);
    auto *caption = new QLabel(m_isMariaDb ? QStringLiteral("接続したときに有効な役割(&R) (一つまで) :")
                                           : QStringLiteral("接続したときに有効な役割(&R) :"));
    caption->setBuddy(m_roles);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Cancel);
    buttons->addButton(made<QPushButton>("sendDefaultRole", QStringLiteral("実行...")),
                       QDialogButtonBox::AcceptRole);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(caption);
    layout->addWidget(m_roles, 1);
    layout->addWidget(m_statement);
    layout->addWidget(buttons);
    connect(m_roles, &QListWidget::itemChanged, this, [this](const QListWidgetItem *changed) {
        const QSignalBlocker blocker(m_roles);
        for (int row = 0; m_isMariaDb && changed->checkState() == Qt::Checked && row < m_roles->count();
             ++row)
            if (m_roles->item(row) != changed)
                m_roles->item(row)->setCheckState(Qt::Unchecked);
        showStatement();
    });
    connect(buttons, &QDialogButtonBox::accepted, this, [this] {
        Q_EMIT chosen(statement());
        accept();
    });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    resize(fontMetrics().averageCharWidth() * 60, fontMetrics().height() * 20);
    m_roles->setFocus();
    showStatement();
}

QString DefaultRoleWindow::statement() const
{
    QStringList roles;
    for (int row = 0; row < m_roles->count(); ++row)
        if (m_roles->item(row)->checkState() == Qt::Checked)
            roles << m_roles->item(row)->data(Qt::UserRole).toString();
    return defaultRoleStatement(roles, m_account, m_isMariaDb);
}

void DefaultRoleWindow::showStatement()
{
    m_statement->setText(visibleText(statement()));
}
