#pragma once

#include "core/session/session.h"
#include "core/sql/lexer.h"
#include "transfer/copy/staging.h"
#include "transfer/dump/dumpsink.h"

#include <functional>

// Runs a dump on another server while it comes into being, over the session's open connection.
class ServerSink : public DumpSink {
public:
    // Changes a statement of the structure before it is sent; true when it did.
    using Rewrite = std::function<bool(std::string &statement)>;

    // `replaced`: the tables and sequences of the database that are to change places with the copied
    // ones; `count`: of these.
    // `from`: the server that the dump is of.
    ServerSink(Session &session, ServerInfo from, const QString &database, const QStringList &replaced,
               qsizetype count, Rewrite rewrite);

    void write(std::string_view script) override;
    void insert(std::string_view statement) override { send(statement); }
    DumpObject placed(const DumpObject &object) override;
    void endRows(const DumpObject &table, qint64 rows) override;
    void endTables() override { m_staging.changePlaces(); }

    Staging &staging() { return m_staging; }

private:
    void send(std::string_view statement);
    void sendRewritten(std::string statement);

    Session &m_session;
    const ServerInfo m_from;
    const Rewrite m_rewrite;
    SqlMode m_mode; // of the session: how quotes are read
    Staging m_staging;
};
