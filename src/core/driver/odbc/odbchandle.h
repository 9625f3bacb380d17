#pragma once

#include "core/sql/failure.h"

#include <sql.h>
#include <sqlext.h>
#include <utility>

static_assert(sizeof(SQLWCHAR) == 2, "texts are handed over as UTF-16");

// Owns one handle of the driver manager.
template <SQLSMALLINT type>
class OdbcHandle {
public:
    OdbcHandle() = default;
    OdbcHandle(OdbcHandle &&other) noexcept
        : m_handle(std::exchange(other.m_handle, nullptr))
    {
    }
    OdbcHandle &operator=(OdbcHandle &&other) noexcept
    {
        std::swap(m_handle, other.m_handle);
        return *this;
    }
    ~OdbcHandle()
    {
        if (m_handle)
            SQLFreeHandle(type, m_handle);
    }

    // Null when the driver manager or driver refuses.
    static OdbcHandle allocate(SQLHANDLE parent)
    {
        OdbcHandle handle;
        if (!SQL_SUCCEEDED(SQLAllocHandle(type, parent, &handle.m_handle)))
            handle.m_handle = nullptr;
        return handle;
    }

    explicit operator bool() const { return m_handle != nullptr; }
    SQLHANDLE get() const { return m_handle; }

private:
    SQLHANDLE m_handle = nullptr;
};

// An environment that speaks ODBC 3; null when there is none to be had.
class OdbcEnvironment : public OdbcHandle<SQL_HANDLE_ENV> {
public:
    OdbcEnvironment() = default;
    static OdbcEnvironment make();

private:
    explicit OdbcEnvironment(OdbcHandle &&handle)
        : OdbcHandle(std::move(handle))
    {
    }
};

using OdbcConnectionHandle = OdbcHandle<SQL_HANDLE_DBC>;
using OdbcStatementHandle = OdbcHandle<SQL_HANDLE_STMT>;

// Attributes that are numbers are handed over in a pointer's place.
inline SQLPOINTER odbcNumber(SQLULEN number)
{
    return reinterpret_cast<SQLPOINTER>(number);
}

// The first diagnostic record of the handle, in the driver's own words.
Failure odbcError(SQLSMALLINT type, SQLHANDLE handle);
