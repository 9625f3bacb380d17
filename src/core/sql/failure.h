#pragma once

#include <QString>

#include <exception>

// A statement, a connection attempt or a read that the server, the driver or the seam itself refused.
// Thrown by Connection and RecordSet, caught where a command traps its errors.
class Failure : public std::exception {
public:
    // description: the words that the user reads, as the driver or server puts them.
    // number: the native error number (MySQL's), 0 where there is none. state: five characters or empty.
    explicit Failure(QString description, int number = 0, QString state = {});

    const QString &description() const { return m_description; }
    int number() const { return m_number; }
    const QString &state() const { return m_state; }

    // The connection is gone; whether the server carried the statement out is not known.
    bool isConnectionLost() const;
    // The statement was stopped on request (KILL QUERY, SQLCancel).
    bool isInterrupted() const;
    // This program's memory did not suffice; not the server's.
    bool isOutOfMemory() const;

    const char *what() const noexcept override { return m_utf8.constData(); }

private:
    QString m_description;
    int m_number;
    QString m_state;
    QByteArray m_utf8;
};

Failure outOfMemory();
// The error of a statement that was stopped, or not sent any more, on request.
Failure interruptedError(const QString &description = QStringLiteral("Query execution was interrupted"));
