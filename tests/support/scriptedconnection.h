#pragma once

#include "core/sql/connection.h"

#include <QStringList>

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <vector>

// What a scripted connection answers to one statement.
struct Reply {
    bool hasRows = false;
    QStringList fields;
    std::vector<std::vector<std::optional<QString>>> rows; // nullopt: NULL
    std::optional<Failure> error;                          // with rows: after they have been read
    QString note;                                          // of a statement without rows

    static Reply noted(const QString &note);
    static Reply table(QStringList fields, std::vector<std::vector<std::optional<QString>>> rows = {});
    static Reply failure(const QString &description, int number = 1105, const QString &state = {});
};

// The server's side of a play: what is answered, and what was sent, word for word.
// Outlives the connections that are made from it.
class Script {
public:
    // Answers every statement of exactly that text.
    void always(const QString &statement, Reply reply) { m_always[statement] = std::move(reply); }
    // Answers the next statement of exactly that text, before always().
    void once(const QString &statement, Reply reply) { m_once[statement].push_back(std::move(reply)); }
    // Makes the n-th statement (from 0) fail, whatever it is.
    void failAt(int index, Reply failure) { m_failures[index] = std::move(failure); }
    // Called with each statement before it is answered.
    std::function<void(const QString &)> beforeAnswer;
    ServerInfo server{QStringLiteral("5.1.73-community-log"), false, 50173};
    Encryption encryption;
    std::optional<Failure> whyUnreachable; // no connection can be opened

    // Statements that nothing was said about succeed without rows.
    RecordSet answer(const QString &statement);

    QStringList sent;              // all statements in order
    QStringList connectionStrings; // of the connections made, in order

    std::unique_ptr<Connection> connect(const QString &connectionString = {}); // open already
    ConnectionFactory factory();                                               // makes closed ones

private:
    std::map<QString, Reply> m_always;
    std::map<QString, std::deque<Reply>> m_once;
    std::map<int, Reply> m_failures;
};
