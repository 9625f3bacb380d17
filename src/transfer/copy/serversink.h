#pragma once

#include "core/session/session.h"
#include "core/sql/lexer.h"
#include "transfer/dump/dumpsink.h"

#include <functional>

// Runs a dump on another server while it comes into being, over the session's open connection.
class ServerSink : public DumpSink {
public:
    // Changes a statement of the structure before it is sent; true when it did.
    using Rewrite = std::function<bool(std::string &statement)>;

    ServerSink(Session &session, Rewrite rewrite);

    void write(std::string_view script) override;
    void insert(std::string_view statement) override;
    // That the server says it has put in; no value where it does not say.
    std::optional<qint64> rows() const { return m_rows; }

private:
    void send(std::string_view statement);

    Session &m_session;
    const Rewrite m_rewrite;
    SqlMode m_mode; // of the session: how quotes are read
    std::optional<qint64> m_rows = 0;
};
