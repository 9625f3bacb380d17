#include "transfer/csv/localload.h"

#include "core/driver/connect.h"
#include "core/session/basconnection.h"
#include "core/session/connectionstring.h"
#include "core/sql/localsource.h"
#include "core/sql/statements.h"

#include <QRegularExpression>
#include <QUuid>

#include <algorithm>
#include <utility>

LocalLoad::LocalLoad()
    : m_name(QStringLiteral("tarnwell-") + QUuid::createUuid().toString(QUuid::WithoutBraces))
{
}

void LocalLoad::addValue(std::string_view text)
{
    const auto isSpecial = [](char c) { return c == '\\' || c == '\t' || c == '\n' || c == '\0'; };
    addField({});
    auto from = text.begin();
    for (auto at = std::find_if(from, text.end(), isSpecial); at != text.end();
         at = std::find_if(from, text.end(), isSpecial)) {
        m_rows.append(from, at);
        m_rows += '\\';
        m_rows += *at == '\0' ? '0' : *at;
        from = at + 1;
    }
    m_rows.append(from, text.end());
}

void LocalLoad::addField(std::string_view text)
{
    if (std::exchange(m_isInRow, true))
        m_rows += '\t';
    m_rows += text;
}

void LocalLoad::endRow()
{
    m_rows += '\n';
    m_isInRow = false;
}

void LocalLoad::connect(Session &session) const
{
    if (trimmedBlanks(session.gDsn) != noDataSource() || session.gDriver != nativeDriverName())
        throw Failure(
            QStringLiteral("LOAD DATA LOCAL は「%1」の接続でだけ使えます。").arg(nativeDriverName()));
    auto connection = session.makeConnection(connectionStringOf(session) + QStringLiteral(";LOCALFILE=") +
                                             connectionValue(m_name));
    connection->open();
    session.gCn = std::move(connection);
}

std::size_t LocalLoad::give(char *to, std::size_t room, const AddRow &addRow)
{
    if (m_given == m_rows.size()) {
        m_rows.clear();
        m_given = 0;
        constexpr std::size_t enough = 64 * 1024;
        while (!m_isAtEnd && m_rows.size() < enough)
            m_isAtEnd = !addRow();
    }
    const std::size_t size = std::min(room, m_rows.size() - m_given);
    std::copy_n(m_rows.data() + m_given, size, to);
    m_given += size;
    return size;
}

LocalLoad::Outcome LocalLoad::send(Connection &connection, const QString &table, const QString &columns,
                                   bool skipsDuplicates, const AddRow &addRow)
{
    executeLocal(
        connection,
        QStringLiteral("LOAD DATA LOCAL INFILE %1 %2INTO TABLE %3 CHARACTER SET utf8mb4 (%4)")
            .arg(quotedText(m_name), skipsDuplicates ? QStringLiteral("IGNORE ") : QString(), table, columns),
        [&](char *to, std::size_t room) { return give(to, room, addRow); });
    const Effect effect = connection.effect();
    Outcome outcome{effect.rowsTouched, std::max(effect.warnings, 0), {}};
    if (outcome.warnings == 0)
        return outcome;
    static const QRegularExpression place(QStringLiteral(" at row (\\d+)$"));
    RecordSet rows = connection.execute(QStringLiteral("SHOW WARNINGS"));
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext())
        outcome.firstWarnings.push_back(
            {rows.text(1).toInt(), place.match(rows.text(2)).captured(1).toLongLong(), rows.text(2)});
    return outcome;
}
