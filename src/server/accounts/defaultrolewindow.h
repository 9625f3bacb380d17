#pragma once

#include "server/accounts/grants.h"

#include <QDialog>

class QLabel;
class QListWidget;

// Asks which of an account's roles are switched on when it connects, and shows the statement that comes of
// it. Carries nothing out; deletes itself.
class DefaultRoleWindow : public QDialog {
    Q_OBJECT

public:
    // The roles as statements take them. MariaDB knows but one by default.
    DefaultRoleWindow(const AccountName &account, const QStringList &roles, const QStringList &before,
                      bool isMariaDb, QWidget *parent);

Q_SIGNALS:
    void chosen(const QString &statement);

private:
    QString statement() const;
    void showStatement();

    const AccountName m_account;
    const bool m_isMariaDb;
    QListWidget *m_roles;
    QLabel *m_statement;
};
