#pragma once

#include "core/sql/connection.h"
#include "core/sql/localsource.h"
#include "core/sql/rowblock.h"

#include <QString>

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

// The rows of one statement, as a driver reads them. Used and destroyed by the worker's thread only.
class DriverResult {
public:
    virtual ~DriverResult() = default;
    virtual const std::vector<Field> &fields() const = 0;
    // Fills the empty block with the next rows, about blockBytes of them; true when more follow.
    virtual bool fetch(RowBlock &block) = 0;

    static constexpr std::size_t blockBytes = 128 * 1024;
};

// What a driver is told when its statement is to be stopped.
struct Stop {
    std::function<void()> onReached; // to be called as soon as a server listens
    // Waits so long for the statement's end at most; true once it has ended.
    std::function<bool(std::chrono::milliseconds)> endsWithin;
};

enum class Interruption {
    Confirmed,  // by the server
    Disobeyed,  // confirmed, but the statement went on; its session was killed
    NotReached, // it did not listen, or refused
    // A balancer may have led the second connection to another server, where the number of the session is a
    // stranger's: nothing was sent.
    NotProven
};

// One client library's way to one server. Every call may block and may throw Failure; all come from the
// worker's thread, except the two that are said to come from another one.
class Driver {
public:
    virtual ~Driver() = default;

    struct Opened {
        ServerInfo server;
        QString host; // as the driver reports it
        Encryption encryption;
    };
    virtual Opened connect() = 0;
    // The first result of the statement; null when it gave no rows. Earlier results stay readable.
    virtual std::unique_ptr<DriverResult> execute(const QString &statement) = 0;
    // The same for bytes as they are; further results wait for nextResult(), or go with the next statement.
    virtual std::unique_ptr<DriverResult> executeText(const QByteArray &statement)
    {
        return execute(QString::fromUtf8(statement));
    }
    // One that asks for what the source gives.
    virtual std::unique_ptr<DriverResult> executeLocal(const QString &, const LocalSource &)
    {
        throw Failure(QStringLiteral("この接続では LOAD DATA LOCAL を使えません。"));
    }
    // False: there is no further one. The rows of the last one are not wanted any more.
    virtual bool nextResult(std::unique_ptr<DriverResult> &) { return false; }
    // Of the last result, once all of its rows have been fetched.
    virtual Effect effect() const { return {}; }
    // After execute() gave no rows: what that statement cost the session besides, for the user; mostly
    // nothing.
    virtual QString note() const { return {}; }
    // Called after interrupt() has returned and before the next statement: whatever the interruption left
    // behind must not strike that statement. Rows still on their way may be thrown away. Does not throw.
    virtual void settle() = 0;
    // The results are about to be destroyed and the connection closed: rows on their way are not waited for.
    virtual void giveUpRows() {}
    // Does not throw. All results have been destroyed before.
    virtual void disconnect() = 0;

    // Another thread, while the worker waits: asks the server to end the statement, over a connection of its
    // own. Does not throw; may block for as long as the server lets it.
    virtual Interruption interrupt(const Stop &stop) = 0;
    // Any thread: breaks the connection so that a blocked call fails at once; false where that cannot be
    // done.
    virtual bool cut() = 0;
};

// Adds the bytes of a binary column as they are shown: as they stand when they are readable UTF-8 text (no
// control characters but TAB, CR and LF) that is not of the other form, else as "0x" and hex digits in
// capitals.
void addBinaryCell(RowBlock &block, std::string_view bytes);
// The same, always as digits.
void addHexCell(RowBlock &block, std::string_view bytes);

// "10.11.19-MariaDB-0+deb12u1" is 101119; the "5.5.5-" that MariaDB puts in front for old clients is skipped.
ServerInfo serverInfo(const QString &version);
