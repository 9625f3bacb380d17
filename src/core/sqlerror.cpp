#include "core/sqlerror.h"

SqlError::SqlError(QString description, int number, QString state)
    : m_description(std::move(description))
    , m_number(number)
    , m_state(std::move(state))
    , m_utf8(m_description.toUtf8())
{
}

bool SqlError::isConnectionLost() const
{
    // 2006 gone away, 2013 lost during query, 2055 lost (system error), 5014 and 08xxx: Connector/ODBC,
    // 1927 killed: the last word of MariaDB on a connection that KILL ends.
    return m_number == 2006 || m_number == 2013 || m_number == 2055 || m_number == 5014 || m_number == 1927 ||
           m_state.startsWith(u"08");
}

bool SqlError::isInterrupted() const
{
    // 1317 is the server's ER_QUERY_INTERRUPTED; HY008 is ODBC's "operation canceled".
    return m_number == 1317 || m_state == u"HY008";
}
