#include "transfer/csv/localload.h"

#include "core/driver/connect.h"
#include "core/session/basconnection.h"
#include "core/session/connectionstring.h"
#include "core/session/wholefile.h"
#include "core/sql/statements.h"

#include <QRegularExpression>

#include <algorithm>
#include <utility>

LocalLoad::LocalLoad()
{
    if (!m_file.open())
        throw Failure(QStringLiteral("一時ファイルを作れません。\n") + m_file.errorString());
}

void LocalLoad::addValue(std::string_view text)
{
    if (text.find_first_of(std::string_view("\\\t\n\r\0", 5)) == text.npos)
        return addField(text);
    std::string escaped;
    for (const char c : text) {
        if (c == '\\' || c == '\t' || c == '\n' || c == '\0')
            escaped += '\\';
        escaped += c == '\0' ? '0' : c;
    }
    addField(escaped);
}

void LocalLoad::addField(std::string_view text)
{
    if (std::exchange(m_isInRow, true))
        m_buffer += '\t';
    m_buffer += text;
}

void LocalLoad::endRow()
{
    m_buffer += '\n';
    m_isInRow = false;
    constexpr std::size_t enough = 256 * 1024;
    if (m_buffer.size() >= enough)
        flush();
}

void LocalLoad::flush()
{
    if (!writeAll(m_file, {m_buffer.data(), static_cast<qsizetype>(m_buffer.size())}) || !m_file.flush())
        throw Failure(QStringLiteral("一時ファイルに書き込めません。\n") + m_file.errorString());
    m_buffer.clear();
}

void LocalLoad::connect(Session &session) const
{
    if (trimmedBlanks(session.gDsn) != noDataSource() || session.gDriver != nativeDriverName())
        throw Failure(
            QStringLiteral("LOAD DATA LOCAL は「%1」の接続でだけ使えます。").arg(nativeDriverName()));
    auto connection = session.makeConnection(connectionStringOf(session) + QStringLiteral(";LOCALFILE=") +
                                             connectionValue(m_file.fileName()));
    connection->open();
    session.gCn = std::move(connection);
}

LocalLoad::Outcome LocalLoad::send(Connection &connection, const QString &table, const QString &columns,
                                   bool skipsDuplicates)
{
    flush();
    connection.execute(QStringLiteral("SET max_error_count=1000"));
    connection.execute(QStringLiteral("LOAD DATA LOCAL INFILE %1 %2INTO TABLE %3 CHARACTER SET utf8mb4 (%4)")
                           .arg(quotedText(m_file.fileName()),
                                skipsDuplicates ? QStringLiteral("IGNORE ") : QString(), table, columns));
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
