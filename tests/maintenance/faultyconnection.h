#pragma once

#include "core/connection.h"
#include "core/sqlerror.h"

enum class Fault {
    Refused,    // the server refuses the statement
    Killed,     // the session has ended before the statement is sent
    AnswerLost, // the server carries the statement out, the connection breaks before the answer
    AnswerWrong // the server carries the statement out and reports an error all the same
};

// A real connection on which one statement goes wrong.
class FaultyConnection : public Connection {
public:
    FaultyConnection(std::unique_ptr<Connection> inner, int faultAt, Fault fault,
                     std::function<void()> killSession)
        : m_inner(std::move(inner))
        , m_faultAt(faultAt)
        , m_fault(fault)
        , m_killSession(std::move(killSession))
    {
    }

    void open() override { m_inner->open(); }
    void close() override { m_inner->close(); }
    bool isOpen() const override { return m_inner->isOpen(); }
    QString connectionString() const override { return m_inner->connectionString(); }
    ServerInfo server() const override { return m_inner->server(); }
    bool isBusy() const override { return m_inner->isBusy(); }
    void cancel() override { m_inner->cancel(); }

    RecordSet execute(const QString &statement) override
    {
        sent << statement;
        if (sent.size() - 1 != m_faultAt)
            return m_inner->execute(statement);
        if (m_fault == Fault::Refused)
            throw SqlError("refused", 1142);
        if (m_fault == Fault::Killed) {
            m_killSession();
            return m_inner->execute(statement);
        }
        m_inner->execute(statement);
        if (m_fault == Fault::AnswerWrong)
            throw SqlError("interrupted", 1317);
        m_inner->close();
        throw SqlError("Lost connection to server during query", 2013);
    }

    QStringList sent;

private:
    std::unique_ptr<Connection> m_inner;
    int m_faultAt;
    Fault m_fault;
    std::function<void()> m_killSession;
};
