#pragma once

#include "core/session/tlsoptions.h"

#include <QByteArray>
#include <QString>

// What a connection string says to the built-in driver. Texts are UTF-8.
struct NativeOptions {
    QByteArray host = "localhost";
    QByteArray user, password, database;
    QByteArray certificateHost; // whom the certificate must name; empty: the host
    unsigned port = 3306;
    unsigned connectSeconds = 20;
    TlsOptions tls;
    QString localFile; // the name under which the server may read what is offered; empty: never
    bool handlesExpiredPassword = false; // connects with one; the server then takes nothing but a new one

    // Throws Failure for a key that it does not know and for a port that is no number.
    static NativeOptions parse(const QString &connectionString);
};
