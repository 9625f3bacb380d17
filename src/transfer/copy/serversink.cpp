#include "transfer/copy/serversink.h"

#include "core/command/script.h"
#include "core/sql/passwords.h"
#include "core/sql/splitter.h"

ServerSink::ServerSink(Session &session, Rewrite rewrite)
    : m_session(session)
    , m_rewrite(std::move(rewrite))
    , m_mode(sqlModeOf(session.connection()))
{
}

void ServerSink::write(std::string_view script)
{
    StatementSplitter splitter(m_mode);
    splitter.feed(script);
    splitter.finish();
    while (const std::optional<ScriptPiece> piece = splitter.next()) {
        std::string text(piece->text);
        if (m_rewrite)
            m_rewrite(text);
        send(text);
        if (!maySetSqlMode(text))
            continue;
        m_mode = sqlModeOf(m_session.connection());
        splitter.setMode(m_mode);
    }
}

void ServerSink::insert(std::string_view statement)
{
    send(statement);
    const qint64 touched = m_session.connection().effect().rowsTouched;
    m_rows = m_rows && touched >= 0 ? std::optional(*m_rows + touched) : std::nullopt;
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
