#include "core/driver/connect.h"

#include "core/driver/native/nativedriver.h"
#include "core/driver/odbc/odbcdriver.h"
#include "core/driver/workerconnection.h"
#include "core/session/connectionstring.h"

#include <algorithm>

QString nativeDriverName()
{
    return QStringLiteral("MySQL (内蔵)");
}

std::unique_ptr<Connection> createConnection(const QString &connectionString, Pump &pump)
{
    const ConnectionString string(connectionString);
    // Connector/C, which MariaDB's ODBC driver works with as well, reads such a name as a connection string
    // of its own: any option could come in by it, a folder to load plugins from among them.
    const auto isAnotherString = [](const ConnectionString::Piece &piece) {
        return piece.key == u"server" && piece.value.contains(u';');
    };
    if (std::ranges::any_of(string.pieces(), isAnotherString))
        throw Failure(QStringLiteral("サーバーの名前に「;」は使えません。"));
    if (string.value(QStringLiteral("driver")) == nativeDriverName()) {
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
