#include "core/driver/connect.h"

#include "core/driver/native/nativedriver.h"
#include "core/driver/odbc/odbcdriver.h"
#include "core/driver/workerconnection.h"
#include "core/session/connectionstring.h"

QString nativeDriverName()
{
    return QStringLiteral("MySQL (内蔵)");
}

std::unique_ptr<Connection> createConnection(const QString &connectionString, Pump &pump)
{
    if (ConnectionString(connectionString).value(QStringLiteral("driver")) == nativeDriverName()) {
        // The library's own set-up is not made for several threads.
        static const int isSetUp = mysql_library_init(0, nullptr, nullptr); // by one of them alone
        Q_UNUSED(isSetUp)
        const auto makeDriver = [connectionString] {
            return std::make_unique<NativeDriver>(NativeOptions::parse(connectionString));
        };
        return std::make_unique<WorkerConnection>(connectionString, makeDriver, pump);
    }
    const QString complete = dataSourceString(connectionString);
    const auto makeDriver = [complete] { return std::make_unique<OdbcDriver>(complete); };
    return std::make_unique<WorkerConnection>(complete, makeDriver, pump);
}
