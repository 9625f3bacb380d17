#include "core/driver/odbc/odbcconnect.h"

#include "core/driver/connect.h"
#include "core/driver/odbc/odbchandle.h"
#include "core/driver/odbc/statementkind.h"
#include "core/session/connectionstring.h"

#include <array>

namespace {

// The interfaces of ODBC take texts that they only read by pointers to what is not const.
SQLWCHAR *wide(const QString &text)
{
    return const_cast<SQLWCHAR *>(reinterpret_cast<const SQLWCHAR *>(text.utf16()));
}

Failure noHandle()
{
    return Failure(QStringLiteral("ODBCドライバーマネージャーを使用できません。"), 0,
                   QStringLiteral("HY001"));
}

bool hasUnknownType(const OdbcStatementHandle &prepared)
{
    SQLSMALLINT columns = 0;
    SQLNumResultCols(prepared.get(), &columns);
    for (SQLSMALLINT column = 1; column <= columns; ++column) {
        SQLLEN type = 0;
        if (SQL_SUCCEEDED(SQLColAttributeW(prepared.get(), static_cast<SQLUSMALLINT>(column),
                                           SQL_DESC_CONCISE_TYPE, nullptr, 0, nullptr, &type)) &&
            type == SQL_UNKNOWN_TYPE)
            return true;
    }
    return false;
}

// Connector/ODBC 3.1.15 takes no notice of SQL_ATTR_LOGIN_TIMEOUT and waits 110 seconds for a silent server.
// MySQL's own driver has words of its own for what is demanded of TLS; each passes over the other's.
QString completed(const QString &text, const TlsOptions &tls, std::chrono::seconds limit)
{
    const ConnectionString given(text);
    QString more;
    if (given.value(QStringLiteral("conn_timeout")).isEmpty())
        more += QStringLiteral(";CONN_TIMEOUT=%1").arg(limit.count());
    if (tls.mode != TlsMode::IfOffered && given.value(QStringLiteral("sslmode")).isEmpty())
        more += tls.mode == TlsMode::Verified ? QStringLiteral(";SSLMODE=VERIFY_IDENTITY")
                                              : QStringLiteral(";SSLMODE=REQUIRED");
    return text + more;
}

} // namespace

OdbcConnection connectOdbc(const OdbcEnvironment &environment, const QString &connectionString,
                           const TlsOptions &tls, std::chrono::seconds limit)
{
    if (!environment)
        throw noHandle();
    const QString text = completed(connectionString, tls, limit);
    const QByteArray certificateHost =
        ConnectionString(connectionString).value(certificateHostKey()).toUtf8();
    return loginWatched(tls, [&](LoginWatch &watch) {
        watch.expectCertificateFor(certificateHost);
        OdbcConnectionHandle connection = OdbcConnectionHandle::allocate(environment.get());
        if (!connection)
            throw odbcError(SQL_HANDLE_ENV, environment.get());
        SQLSetConnectAttrW(connection.get(), SQL_ATTR_LOGIN_TIMEOUT,
                           odbcNumber(static_cast<SQLULEN>(limit.count())), 0);
        SQLSMALLINT length = 0;
        const SQLRETURN result =
            SQLDriverConnectW(connection.get(), nullptr, wide(text), static_cast<SQLSMALLINT>(text.size()),
                              nullptr, 0, &length, SQL_DRIVER_NOPROMPT);
        if (!SQL_SUCCEEDED(result))
            throw odbcError(SQL_HANDLE_DBC, connection.get());
        return OdbcConnection{std::move(connection), watch.encryption(), watch.handle()};
    });
}

OdbcStatementHandle sendOdbc(const OdbcConnectionHandle &connection, const QString &given,
                             bool sparesUnknownTypes)
{
    const QString statement = StatementKind::needsComment(given) ? QStringLiteral("/**/") + given : given;
    if (!connection)
        throw Failure(QStringLiteral("サーバーとの接続が切れています。"), 2006, QStringLiteral("08003"));
    // Connector/ODBC 3.1.15 would send what stands before it: a DELETE without its WHERE.
    if (statement.contains(QChar(0)))
        throw Failure(QStringLiteral("文の中にNUL文字があるため、ODBCでは実行しません。"), 0,
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
        if (SQL_SUCCEEDED(result) && sparesUnknownTypes && hasUnknownType(handle))
            return {};
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

namespace {

// Takes the text up to the length that the driver manager reports, which may exceed the buffer.
template <std::size_t size>
QString taken(const std::array<SQLWCHAR, size> &buffer, SQLSMALLINT length)
{
    const auto most = static_cast<SQLSMALLINT>(size - 1);
    return QString::fromUtf16(reinterpret_cast<const char16_t *>(buffer.data()), std::min(length, most));
}

bool isOffered(const QString &description)
{
    return description.contains(u"MySQL");
}

QStringList dataSources()
{
    QStringList names;
    const OdbcEnvironment environment = OdbcEnvironment::make();
    std::array<SQLWCHAR, 1024> name{}, description{};
    SQLRETURN result = environment ? SQL_SUCCESS : SQL_ERROR;
    while (result == SQL_SUCCESS) {
        SQLSMALLINT nameLength = 0, descriptionLength = 0;
        result = SQLDataSourcesW(environment.get(), SQL_FETCH_NEXT, name.data(), 1024, &nameLength,
                                 description.data(), 1024, &descriptionLength);
        if (result == SQL_SUCCESS && nameLength > 0 && isOffered(taken(description, descriptionLength)))
            names << taken(name, nameLength);
    }
    return names;
}

QStringList drivers()
{
    QStringList names;
    const OdbcEnvironment environment = OdbcEnvironment::make();
    std::array<SQLWCHAR, 512> description{}, attributes{};
    SQLUSMALLINT direction = SQL_FETCH_FIRST;
    SQLRETURN result = environment ? SQL_SUCCESS : SQL_ERROR;
    while (SQL_SUCCEEDED(result)) {
        SQLSMALLINT length = 0, attributesLength = 0;
        result = SQLDriversW(environment.get(), direction, description.data(), 512, &length,
                             attributes.data(), 512, &attributesLength);
        direction = SQL_FETCH_NEXT;
        const QString name = taken(description, length);
        if (SQL_SUCCEEDED(result) && isOffered(name))
            names << name;
    }
    return names;
}

} // namespace

DriverListing listOdbc()
{
    return {dataSources(), drivers()};
}
