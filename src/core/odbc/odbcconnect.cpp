#include "core/odbc/odbcconnect.h"

#include "core/odbc/statementkind.h"

namespace {

// The interfaces of ODBC take texts that they only read by pointers to what is not const.
SQLWCHAR *wide(const QString &text)
{
    return const_cast<SQLWCHAR *>(reinterpret_cast<const SQLWCHAR *>(text.utf16()));
}

SqlError noHandle()
{
    return SqlError(QStringLiteral("ODBCドライバーマネージャーを使用できません。"), 0,
                    QStringLiteral("HY001"));
}

} // namespace

OdbcConnectionHandle connectOdbc(const OdbcEnvironment &environment, const QString &connectionString,
                                 int seconds)
{
    if (!environment)
        throw noHandle();
    OdbcConnectionHandle connection = OdbcConnectionHandle::allocate(environment.get());
    if (!connection)
        throw odbcError(SQL_HANDLE_ENV, environment.get());
    SQLSetConnectAttrW(connection.get(), SQL_ATTR_LOGIN_TIMEOUT, odbcNumber(seconds), 0);
    SQLSMALLINT length = 0;
    const SQLRETURN result = SQLDriverConnectW(connection.get(), nullptr, wide(connectionString),
                                               static_cast<SQLSMALLINT>(connectionString.size()), nullptr, 0,
                                               &length, SQL_DRIVER_NOPROMPT);
    if (!SQL_SUCCEEDED(result))
        throw odbcError(SQL_HANDLE_DBC, connection.get());
    return connection;
}

OdbcStatementHandle sendOdbc(const OdbcConnectionHandle &connection, const QString &statement)
{
    if (!connection)
        throw SqlError(QStringLiteral("サーバーとの接続が切れています。"), 2006, QStringLiteral("08003"));
    // Connector/ODBC 3.1.15 would send what stands before it: a DELETE without its WHERE.
    if (statement.contains(QChar(0)))
        throw SqlError(QStringLiteral("文の中にNUL文字があるため、ODBCでは実行しません。"), 0,
                       QStringLiteral("42000"));
    OdbcStatementHandle handle = OdbcStatementHandle::allocate(connection.get());
    if (!handle)
        throw odbcError(SQL_HANDLE_DBC, connection.get());
    // Rows with cells that were cut are gone back to. The driver holds all rows anyway.
    SQLSetStmtAttrW(handle.get(), SQL_ATTR_CURSOR_TYPE, odbcNumber(SQL_CURSOR_STATIC), 0);
    const auto length = static_cast<SQLINTEGER>(statement.size());
    SQLRETURN result = SQL_ERROR;
    if (StatementKind::isPrepared(statement)) {
        // The driver would prepare it itself; but its SQLExecDirect ends the process when the connection
        // breaks between the answers to that (Connector/ODBC 3.1.15).
        result = SQLPrepareW(handle.get(), wide(statement), length);
        if (SQL_SUCCEEDED(result))
            result = SQLExecute(handle.get());
    } else {
        result = SQLExecDirectW(handle.get(), wide(statement), length);
    }
    // No data: an UPDATE or DELETE that touched no row.
    if (!SQL_SUCCEEDED(result) && result != SQL_NO_DATA)
        throw odbcError(SQL_HANDLE_STMT, handle.get());
    return handle;
}
