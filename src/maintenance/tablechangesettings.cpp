#include "maintenance/tablechangesettings.h"

namespace {

const QString noLimit = QStringLiteral("18446744073709551615");

} // namespace

SessionSettings::SessionSettings(Connection &connection)
    : m_connection(connection)
    , m_originalLimit(noLimit)
{
    RecordSet rows =
        connection.execute(QStringLiteral("select @@session.sql_mode, @@session.sql_select_limit"));
    if (rows.isOpen() && !rows.isEof()) {
        m_originalMode = rows.text(0);
        m_originalLimit = rows.text(1);
    } else if (rows.isOpen()) {
        m_originalLimit = QStringLiteral("0");
    }
    m_mode = m_originalMode;
    m_limit = m_originalLimit;
}

SessionSettings::~SessionSettings()
{
    try {
        setMode(m_originalMode);
        setLimit(m_originalLimit);
    } catch (const SqlError &) {
        // The session is gone, and its settings with it.
    }
}

void SessionSettings::setMode(const QString &mode)
{
    if (mode == m_mode)
        return;
    m_connection.execute(QStringLiteral("set session sql_mode='") + mode + u'\'');
    m_mode = mode;
}

void SessionSettings::setLimit(const QString &limit)
{
    if (limit == m_limit)
        return;
    m_connection.execute(QStringLiteral("set session sql_select_limit=") + limit);
    m_limit = limit;
}

void SessionSettings::keepZero()
{
    const QString word = QStringLiteral("NO_AUTO_VALUE_ON_ZERO");
    if (!m_mode.contains(word))
        setMode(m_mode.isEmpty() ? word : m_mode + u',' + word);
}

bool SessionSettings::liftLimit()
{
    setLimit(noLimit);
    return m_originalLimit != noLimit;
}

void copyRows(Connection &connection, const QString &statement, bool keepsZero)
{
    if (!keepsZero) {
        connection.execute(statement);
        return;
    }
    SessionSettings settings(connection);
    settings.keepZero();
    connection.execute(statement);
}
