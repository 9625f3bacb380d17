#include "core/sql/failure.h"

#include <algorithm>
#include <iterator>

Failure::Failure(QString description, int number, QString state)
    : m_description(description.trimmed().isEmpty()
                        ? QStringLiteral("エラーの内容が空です（番号 %1、状態 %2）。").arg(number).arg(state)
                        : std::move(description))
    , m_number(number)
    , m_state(std::move(state))
    , m_utf8(m_description.toUtf8())
{
}

bool Failure::isConnectionLost() const
{
    // 2006 gone away, 2013 lost during query, 2055 lost (system error), 5014 and 08xxx: Connector/ODBC,
    // 1927 killed: the last word of MariaDB on a connection that KILL ends, 2026 what newer client libraries
    // say when an encrypted connection breaks.
    static constexpr int numbers[] = {2006, 2013, 2055, 5014, 1927, 2026};
    return std::ranges::find(numbers, m_number) != std::end(numbers) || m_state.startsWith(u"08");
}

bool Failure::isInterrupted() const
{
    // 1317 is the server's ER_QUERY_INTERRUPTED; HY008 is ODBC's "operation canceled".
    return m_number == 1317 || m_state == u"HY008";
}

bool Failure::isOutOfMemory() const
{
    // 2008 is the client libraries' own; servers say HY001 of theirs, with a number.
    return m_number == 2008 || (m_number == 0 && m_state == u"HY001");
}

Failure outOfMemory()
{
    return Failure(QStringLiteral("メモリが不足しています。"), 0, QStringLiteral("HY001"));
}

Failure interruptedError(const QString &description)
{
    return Failure(description, 1317, QStringLiteral("70100"));
}
