#include "about/libraryversions.h"

#include <Qsci/qsciglobal.h>

#include <array>
#include <mysql.h>
#include <sql.h>
#include <sqlext.h>

namespace {

// A driver manager tells its version over a connection handle, connected or not.
QString driverManagerVersion()
{
    SQLHANDLE environment = SQL_NULL_HANDLE;
    SQLHANDLE connection = SQL_NULL_HANDLE;
    std::array<SQLCHAR, 64> version{};
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment)))
        return {};
    SQLSetEnvAttr(environment, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    if (SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_DBC, environment, &connection))) {
        SQLGetInfo(connection, SQL_DM_VER, version.data(), static_cast<SQLSMALLINT>(version.size()), nullptr);
        SQLFreeHandle(SQL_HANDLE_DBC, connection);
    }
    SQLFreeHandle(SQL_HANDLE_ENV, environment);
    return QString::fromLatin1(reinterpret_cast<const char *>(version.data()));
}

} // namespace

std::vector<LibraryVersion> libraryVersions()
{
    return {{QStringLiteral("Qt"), QLatin1String(qVersion())},
            {QStringLiteral("QScintilla"), QLatin1String(QSCINTILLA_VERSION_STR)},
            {QStringLiteral("ODBC"), driverManagerVersion()},
            {QStringLiteral("MariaDB Connector/C"), QLatin1String(mysql_get_client_info())}};
}
