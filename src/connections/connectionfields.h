#pragma once

#include "core/session/connectionprofile.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QSpinBox>
#include <QTabWidget>

// The fields of one saved connection, on pages by subject.
class ConnectionFields : public QTabWidget {
    Q_OBJECT

public:
    explicit ConnectionFields(QWidget *parent);

    void show(const ConnectionProfile &profile);
    // The fields as they stand; what has no field is taken from the profile that they were shown with.
    ConnectionProfile profile(ConnectionProfile shown) const;
    QString password() const { return m_password->text(); }
    void setPassword(const QString &password) { m_password->setText(password); }
    void setFolders(const QStringList &folders); // to choose from
    void beginWithName();

Q_SIGNALS:
    // What the list shows of it, by the user.
    void edited();

private:
    QWidget *serverPage();
    QWidget *tlsPage();
    QWidget *sshPage();
    QWidget *otherPage();
    QWidget *fileRow(QLineEdit &line, const QString &title, bool isFolder = false);
    void showKind();
    bool isProduction() const;
    void showColour(const QString &colour);

    QLineEdit *m_name, *m_server, *m_port, *m_user, *m_password, *m_database;
    QComboBox *m_folder, *m_colour, *m_environment, *m_kind, *m_source, *m_keeping, *m_tls;
    QLineEdit *m_ca, *m_caFolder, *m_cipher, *m_certificate, *m_key, *m_fingerprint;
    QCheckBox *m_clearText;
    QLineEdit *m_ssh, *m_sshPort, *m_sshUser, *m_sshKey;
    QSpinBox *m_keepAlive;
    QCheckBox *m_isReadOnly, *m_isSafe;
    bool m_isSafeChosen = false; // by the user, whatever the environment
    QPlainTextEdit *m_note;
};
