#pragma once

#include "core/session/tlsoptions.h"

#include <QJsonObject>
#include <QString>

// What a server is to those who work with it.
enum class Environment { None, Development, Staging, Production };

// "本番"; empty for none.
QString environmentText(Environment environment);

enum class ConnectionKind { BuiltIn, Driver, DataSource };

// Where the password of a saved connection is between two starts.
enum class PasswordKeeping {
    Ask,     // nowhere: asked for each time
    Desktop, // in the desktop's key store
    File     // in the file of saved connections, as lightly disguised as in the settings
};

// A way to the server by way of another machine; none while the host is empty.
struct SshOptions {
    QString host, port, user, keyFile;

    bool isUsed() const { return !host.isEmpty(); }
    bool operator==(const SshOptions &) const = default;
};

// A saved connection. It says which server the session works on, too: a value that copies.
struct ConnectionProfile {
    QString id; // never changes, and names the password in the key store; empty: no saved connection
    QString name, folder;
    QString colour; // "#rrggbb"; empty: none
    Environment environment = Environment::None;
    ConnectionKind kind = ConnectionKind::BuiltIn;
    QString source; // the driver's name, or the data source's name or whole connection string
    QString server, port = QStringLiteral("3306"), user, database;
    TlsOptions tls;
    SshOptions ssh;
    int keepAlive = 0; // seconds between two signs of life; 0: none are sent
    bool isReadOnly = false;
    bool isSafe = false; // sheets ask before what takes many rows away; as a rule in production
    PasswordKeeping keeping = PasswordKeeping::Ask;
    QString password; // only where it is kept in the file
    QString note;
    QJsonObject unknown; // members that a later version wrote

    bool isSaved() const { return !id.isEmpty(); }
    bool operator==(const ConnectionProfile &) const = default;

    // For the panel and the shared values.
    QString dataSource() const; // "(なし)" where it goes by driver
    QString driver() const;
    // Whether the panel's entries lead to the server of this connection.
    bool leadsTo(const QString &dataSource, const QString &driver, const QString &server,
                 const QString &port) const;

    // Of the same one as it is saved now: how it is shown, and what it may do where that is less.
    void takeMarks(const ConnectionProfile &saved);

    // As it stands in the file. What makes no sense reads as the default.
    static ConnectionProfile of(const QJsonObject &object);
    QJsonObject object() const;
    // The same for others' eyes: no password, not even inside of a connection string.
    QJsonObject objectWithoutPassword() const;
};
