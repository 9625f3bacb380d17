#pragma once

#include "core/sql/connection.h"

#include <QDateTime>

#include <cstdint>
#include <deque>
#include <memory>

// One statement that the program sent. Passwords are masked in both texts.
struct LoggedStatement {
    QDateTime time;
    QString statement;
    qint64 microseconds = 0; // until the first result or the error
    qint64 rows = -1;        // rows fetched so far; -1: a statement without rows
    QString error;           // empty: it succeeded
};

// The last statements that the program sent, oldest first, at most `capacity`.
class StatementLog {
public:
    static constexpr std::size_t capacity = 2000;

    const std::deque<LoggedStatement> &entries() const { return m_entries; }
    // Of the oldest entry; each later one has the next number.
    std::uint64_t firstNumber() const { return m_firstNumber; }
    // Changes with every change of the entries.
    std::uint64_t revision() const { return m_revision; }

    // Gives the entry's number for addRows().
    std::uint64_t add(LoggedStatement entry);
    void addRows(std::uint64_t number, int rows);
    void clear();

private:
    std::deque<LoggedStatement> m_entries;
    std::uint64_t m_firstNumber = 0;
    std::uint64_t m_revision = 0;
};

// A connection that sends statements of its own, or one more than once, and notes all of them itself.
class LogsItself {
public:
    virtual ~LogsItself() = default;
    // Before it is opened.
    virtual void logInto(std::shared_ptr<StatementLog> log) = 0;
};

// The same connections, with every statement noted in the log.
ConnectionFactory logged(ConnectionFactory factory, std::shared_ptr<StatementLog> log);
