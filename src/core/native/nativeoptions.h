#pragma once

#include <QByteArray>
#include <QString>

// What a connection string says to the built-in driver. Texts are UTF-8.
struct NativeOptions {
    QByteArray host = "localhost";
    QByteArray user, password, database;
    unsigned port = 3306;
    QByteArray sslKey, sslCertificate, sslAuthority, sslAuthorityFolder, sslCipher;
    bool verifiesServer = false;
    bool forcesTls = false;

    // Throws SqlError for a key that it does not know and for a port that is no number.
    static NativeOptions parse(const QString &connectionString);
};
