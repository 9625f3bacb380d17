#include "bareloops.h"

#include <QElapsedTimer>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sql.h>
#include <sqlext.h>
#include <vector>

namespace {

constexpr std::size_t rowsAtOnce = 100;
constexpr std::size_t mostColumns = 32;
constexpr std::size_t longestPlace = 400;

SQLWCHAR *wide(const QString &text)
{
    return const_cast<SQLWCHAR *>(reinterpret_cast<const SQLWCHAR *>(text.utf16()));
}

struct Handles {
    SQLHENV environment = nullptr;
    SQLHDBC connection = nullptr;
};

Handles connectTo(const QString &string)
{
    Handles handles;
    SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &handles.environment);
    SQLSetEnvAttr(handles.environment, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    SQLAllocHandle(SQL_HANDLE_DBC, handles.environment, &handles.connection);
    if (!SQL_SUCCEEDED(SQLDriverConnectW(handles.connection, nullptr, wide(string),
                                         static_cast<SQLSMALLINT>(string.size()), nullptr, 0, nullptr,
                                         SQL_DRIVER_NOPROMPT))) {
        std::fprintf(stderr, "no connection\n");
        std::exit(1);
    }
    return handles;
}

void disconnect(const Handles &handles)
{
    SQLDisconnect(handles.connection);
    SQLFreeHandle(SQL_HANDLE_DBC, handles.connection);
    SQLFreeHandle(SQL_HANDLE_ENV, handles.environment);
}

// The places of a block of rows; sizes are known to be enough for the table of the benchmark.
struct Places {
    std::array<std::array<std::array<char, longestPlace>, rowsAtOnce>, mostColumns> bytes;
    std::array<std::array<SQLLEN, rowsAtOnce>, mostColumns> lengths;
};

std::size_t readAll(SQLHDBC connection, const QString &statement, Places &places, std::FILE *file = nullptr)
{
    SQLHSTMT handle = nullptr;
    SQLAllocHandle(SQL_HANDLE_STMT, connection, &handle);
    if (!SQL_SUCCEEDED(SQLExecDirectW(handle, wide(statement), static_cast<SQLINTEGER>(statement.size())))) {
        std::fprintf(stderr, "refused\n");
        std::exit(1);
    }
    SQLSMALLINT columns = 0;
    SQLNumResultCols(handle, &columns);
    SQLULEN fetched = 0;
    SQLSetStmtAttrW(handle, SQL_ATTR_ROW_ARRAY_SIZE, reinterpret_cast<SQLPOINTER>(rowsAtOnce), 0);
    SQLSetStmtAttrW(handle, SQL_ATTR_ROWS_FETCHED_PTR, &fetched, 0);
    const auto count = static_cast<std::size_t>(columns);
    for (std::size_t i = 0; i < count; ++i)
        SQLBindCol(handle, static_cast<SQLUSMALLINT>(i + 1), SQL_C_CHAR, places.bytes[i].data(), longestPlace,
                   places.lengths[i].data());
    std::size_t bytes = 0;
    while (SQL_SUCCEEDED(SQLFetch(handle)))
        for (std::size_t row = 0; row < fetched; ++row)
            for (std::size_t i = 0; i < count; ++i) {
                if (file)
                    writeValue(file, places.lengths[i][row] < 0 ? nullptr : places.bytes[i][row].data(),
                               static_cast<std::size_t>(places.lengths[i][row]), i + 1 == count);
                bytes += places.lengths[i][row] < 0 ? 1 : static_cast<std::size_t>(places.lengths[i][row]);
            }
    SQLFreeHandle(SQL_HANDLE_STMT, handle);
    return bytes;
}

} // namespace

std::size_t BareOdbc::readRows(const QString &connectionString, const QString &statement, std::FILE *file)
{
    const Handles handles = connectTo(connectionString);
    const auto places = std::make_unique<Places>();
    const std::size_t bytes = readAll(handles.connection, statement, *places, file);
    disconnect(handles);
    return bytes;
}

std::size_t BareOdbc::repeatSmall(const QString &connectionString, const QString &statement, int times)
{
    const Handles handles = connectTo(connectionString);
    const auto places = std::make_unique<Places>();
    std::size_t bytes = 0;
    for (int i = 0; i < times; ++i)
        bytes += readAll(handles.connection, statement, *places);
    disconnect(handles);
    return bytes;
}

double BareOdbc::secondsFor(const QString &connectionString, const QStringList &statements)
{
    const Handles handles = connectTo(connectionString);
    const auto places = std::make_unique<Places>();
    QElapsedTimer clock;
    clock.start();
    for (const QString &statement : statements)
        readAll(handles.connection, statement, *places);
    const double seconds = static_cast<double>(clock.nsecsElapsed()) / 1e9;
    disconnect(handles);
    return seconds;
}
