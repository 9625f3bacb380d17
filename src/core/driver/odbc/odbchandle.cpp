#include "core/driver/odbc/odbchandle.h"

#include <array>
#include <vector>

OdbcEnvironment OdbcEnvironment::make()
{
    OdbcHandle handle = allocate(SQL_NULL_HANDLE);
    if (handle)
        SQLSetEnvAttr(handle.get(), SQL_ATTR_ODBC_VERSION, odbcNumber(SQL_OV_ODBC3), 0);
    return OdbcEnvironment(std::move(handle));
}

Failure odbcError(SQLSMALLINT type, SQLHANDLE handle)
{
    std::array<SQLWCHAR, 6> state{};
    std::vector<SQLWCHAR> text(1024);
    SQLINTEGER number = 0;
    SQLSMALLINT length = 0;
    const auto ask = [&] {
        return SQLGetDiagRecW(type, handle, 1, state.data(), &number, text.data(),
                              static_cast<SQLSMALLINT>(text.size()), &length);
    };
    SQLRETURN result = ask();
    if (result == SQL_SUCCESS_WITH_INFO && length >= static_cast<SQLSMALLINT>(text.size())) {
        text.resize(static_cast<std::size_t>(length) + 1);
        result = ask();
    }
    if (!SQL_SUCCEEDED(result))
        return Failure(QStringLiteral("ODBCドライバーがエラーの内容を返しませんでした。"), 0,
                       QStringLiteral("HY000"));
    const QString words = QString::fromUtf16(reinterpret_cast<const char16_t *>(text.data()), length);
    // "[ma-3.1.15][10.11.19-MariaDB]" alone says nothing.
    const bool isEmpty = words.mid(words.lastIndexOf(u']') + 1).trimmed().isEmpty();
    return Failure(isEmpty ? QString() : words, number,
                   QString::fromUtf16(reinterpret_cast<const char16_t *>(state.data()), 5));
}
