#include "transfer/copy/serversink.h"

#include "core/command/script.h"
#include "core/sql/passwords.h"
#include "core/sql/splitter.h"
#include "core/sql/statements.h"
#include "transfer/copy/brandtext.h"

ServerSink::ServerSink(Session &session, ServerInfo from, const QString &database,
                       const QStringList &replaced, qsizetype count, Rewrite rewrite)
    : m_session(session)
    , m_from(std::move(from))
    , m_rewrite(std::move(rewrite))
    , m_mode(sqlModeOf(session.connection()))
    , m_staging(session, database, replaced, count,
                [this](const QString &statement) { sendRewritten(statement.toStdString()); })
{
}

void ServerSink::write(std::string_view script)
{
    StatementSplitter splitter(m_mode);
    splitter.feed(script);
    splitter.finish();
    while (const std::optional<ScriptPiece> piece = splitter.next()) {
        sendRewritten(std::string(piece->text));
        if (!maySetSqlMode(piece->text))
            continue;
        m_mode = sqlModeOf(m_session.connection());
        splitter.setMode(m_mode);
    }
}

DumpObject ServerSink::placed(const DumpObject &object)
{
    DumpObject respelt = object;
    if (object.kind == DumpKind::Table)
        respelt.definition.text = brandText(object.definition.text, readingMode(object.definition.sqlMode),
                                            m_from, m_session.connection().server())
                                      .text;
    return m_staging.beside(respelt);
}

// What did not arrive must not be taken for the whole.
void ServerSink::endRows(const DumpObject &table, qint64 rows)
{
    RecordSet counted =
        m_session.connection().execute(QStringLiteral("SELECT COUNT(*) FROM ") + quotedName(table.name));
    const qint64 arrived = counted.isOpen() && !counted.isEof() ? counted.text(0).toLongLong() : 0;
    if (arrived != rows)
        throw Failure(
            QStringLiteral("%1 行を読みましたが、コピー先に入ったのは %2 行です。").arg(rows).arg(arrived));
}

void ServerSink::sendRewritten(std::string statement)
{
    if (m_rewrite)
        m_rewrite(statement);
    send(statement);
}

void ServerSink::send(std::string_view statement)
{
    try {
        RecordSet rows = m_session.connection().executeText(
            QByteArray(statement.data(), static_cast<qsizetype>(statement.size())));
        for (; rows.isOpen() && !rows.isEof(); rows.moveNext()) {
        }
    } catch (const Failure &error) {
        if (error.isInterrupted())
            throw;
        throw Failure(QStringLiteral("コピー先のサーバーで失敗しました。\r\n%1\r\n%2")
                          .arg(error.description(), maskedBeginning(statement)),
                      error.number(), error.state());
    }
}
