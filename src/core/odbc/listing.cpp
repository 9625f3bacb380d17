#include "core/connect.h"
#include "core/odbc/odbchandle.h"

#include <array>

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
