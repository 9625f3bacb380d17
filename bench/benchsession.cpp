#include "benchsession.h"

#include "core/driver/connect.h"
#include "core/session/basconnection.h"

BenchSession::BenchSession(const QString &driver, const QString &port, const QString &database)
{
    session.programFolder = session.settingsFolder = folder.path();
    session.gIniPath = folder.filePath(QStringLiteral("Tarnwell.ini"));
    session.connectBy(createConnection, pump);
    session.gDsn = noDataSource();
    session.gDriver = driver == u"native" ? nativeDriverName() : QStringLiteral("MySQL ODBC 3.51 Driver");
    session.gServer = QStringLiteral("127.0.0.1");
    session.gPort = port;
    session.gUser = session.gPass = QStringLiteral("demo");
    session.gDbName = database;
    if (!fConnect(session))
        qFatal("no connection");
}
