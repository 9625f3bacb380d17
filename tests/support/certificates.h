#pragma once

#include "support/files.h"

#include <QProcess>
#include <QStandardPaths>

// Certificates of the tests' own, by the program openssl.

inline bool hasOpenssl()
{
    return !QStandardPaths::findExecutable("openssl").isEmpty();
}

// What it says, with the folder as its own. A failure ends the test program.
inline QByteArray openssl(const QString &folder, const QString &arguments)
{
    QProcess process;
    process.setWorkingDirectory(folder);
    process.start("openssl", arguments.split(u' '));
    if (!process.waitForFinished() || process.exitCode() != 0)
        qFatal("openssl: %s", process.readAllStandardError().constData());
    return process.readAll();
}

// Authorities "ca" and "other", and a server and a user signed by "ca" for the host "localhost": each a .pem
// and a .key.
inline void makeCertificates(const QString &folder)
{
    writeFile(folder + "/names", "subjectAltName=DNS:localhost");
    for (const char *authority : {"ca", "other"})
        openssl(folder, QStringLiteral("req -x509 -newkey rsa:2048 -nodes -keyout %1.key -out %1.pem -days 2 "
                                       "-subj /CN=%1")
                            .arg(QLatin1String(authority)));
    for (const char *owner : {"server", "user"}) {
        openssl(folder, QStringLiteral("req -newkey rsa:2048 -nodes -keyout %1.key -out %1.csr -subj /CN=%1")
                            .arg(QLatin1String(owner)));
        openssl(folder,
                QStringLiteral("x509 -req -in %1.csr -CA ca.pem -CAkey ca.key -CAcreateserial -days 2 "
                               "-extfile names -out %1.pem")
                    .arg(QLatin1String(owner)));
    }
}

// For a server that has them.
inline QStringList serverCertificateOptions(const QString &folder)
{
    return {"--ssl", "--ssl-ca=" + folder + "/ca.pem", "--ssl-cert=" + folder + "/server.pem",
            "--ssl-key=" + folder + "/server.key"};
}
