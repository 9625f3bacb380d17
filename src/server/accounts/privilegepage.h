#pragma once

#include "server/accounts/accountreading.h"
#include "server/serverpage.h"

class KeyedList;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;

// The server's accounts and roles, and every right of the chosen one as SHOW GRANTS tells it; grants and
// revokes single ones.
class PrivilegePage : public ServerPage {
    Q_OBJECT

public:
    explicit PrivilegePage(const ServerSurroundings &around);

    // Chooses the account, as soon as it is read when it is not there yet.
    void goTo(const AccountName &account);
    bool followsClock() const override { return false; }

protected:
    void refresh() override;

private:
    struct Reading {
        AccountList list;
        std::vector<KnownPrivilege> privileges;
        ServerInfo server;
        QStringList plugins; // that accounts can be identified with
        bool escapes = true; // a backslash in quotes is one of an escape
    };

    void buildLayout();
    void connectControls();
    void show(Reading reading);
    void showAccount();
    void showGrants(const AccountName &account, const QStringList &lines);
    void showChoice();
    void offerPrivileges();
    bool choose(const AccountName &account);
    const ServerAccount *current() const;
    Grant wantedGrant() const;
    bool takesColumns() const; // what is chosen to be granted
    void grant();
    void revoke();
    void setDefaultRoles();
    void createAccount();
    void create(const AccountName &account, const QStringList &statements);
    // Asks, sends, and says what SHOW GRANTS says differently then.
    // By value: while it asks, the page may be read anew.
    void change(AccountName account, const QStringList &statements);
    bool isAgreed(const QString &what, const AccountName &account, const QStringList &statements) const;
    void note(const QStringList &statements, const QString &refusal) const;

    Reading m_reading;
    std::optional<AccountName> m_wanted; // to be gone to once it is read
    std::vector<Grant> m_grants;         // of the chosen account, as listed
    KeyedList *m_accounts, *m_rights;
    QLineEdit *m_accountFilter, *m_rightFilter;
    QComboBox *m_privilege;
    QLineEdit *m_database, *m_object, *m_columns;
    QComboBox *m_kind;
    QCheckBox *m_grantable;
    QPushButton *m_grant, *m_revoke, *m_create, *m_defaultRoles;
    QLabel *m_note;
};
