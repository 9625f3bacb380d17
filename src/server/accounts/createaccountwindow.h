#pragma once

#include "server/accounts/accountcreation.h"

#include <QDialog>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QSpinBox;

// Asks for a new account and shows the statements that make it, its password masked. Carries nothing out;
// deletes itself.
class CreateAccountWindow : public QDialog {
    Q_OBJECT

public:
    // escapes: see createAccountStatements().
    CreateAccountWindow(const ServerInfo &server, const QStringList &plugins, bool escapes, QWidget *parent);

Q_SIGNALS:
    void chosen(const AccountName &account, const QStringList &statements);

private:
    void buildLayout();
    void connectControls();
    NewAccount account() const;
    QStringList statements() const;
    void showStatements();
    void choose();

    const ServerInfo m_server;
    const bool m_escapes;
    QLineEdit *m_user, *m_host, *m_password;
    QCheckBox *m_isRole;
    QComboBox *m_plugin, *m_tls, *m_expiry;
    QSpinBox *m_days, *m_statementsPerHour, *m_changesPerHour, *m_connectionsPerHour, *m_connections;
    QLabel *m_shown;
    QPushButton *m_go;
};
