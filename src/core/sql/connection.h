#pragma once

#include "core/sql/failure.h"
#include "core/sql/recordset.h"

#include <QString>

#include <functional>
#include <memory>
#include <optional>

// What the server says of itself at connect.
struct ServerInfo {
    QString version;        // as reported, "10.11.19-MariaDB-0+deb12u1"
    bool isMariaDb = false; // else MySQL or something that calls itself so
    int number = 0;         // 5.6.24 is 50624; MariaDB's "5.5.5-" prefix is skipped
};

// What protects the bytes of a connection. Not encrypted where nothing is known of it.
struct Encryption {
    bool isEncrypted = false;
    bool isVerified = false; // the certificate is the server's, as far as the connection's options ask for it
    QString cipher, version; // "TLS_AES_256_GCM_SHA384", "TLSv1.3"
};

// What a statement did besides giving rows, as far as it is known.
struct Effect {
    qint64 rowsTouched = -1; // by a result without rows; -1: not known
    int warnings = -1;       // -1: not known
    std::optional<bool> isInTransaction;
    bool hasFurther = true; // false: the statement surely has no further result
};

// One connection to one server, whatever lies beneath. All calls come from the thread that made it;
// while execute() or open() waits for the server, events run and cancel() may be called from them.
class Connection {
public:
    virtual ~Connection() = default;

    // Throws Failure with the driver's words. Opening an open connection is a mistake of ours.
    virtual void open() = 0;
    // Never throws; record sets of the connection are closed by it. The destructor closes too.
    virtual void close() = 0;
    virtual bool isOpen() const = 0;

    // The string given at creation; once open, completed so that a "SERVER=host" piece stands in it.
    virtual QString connectionString() const = 0;
    virtual ServerInfo server() const = 0;
    virtual Encryption encryption() const { return {}; }

    // Sends the text exactly as it stands and gives the first result; the record set is not open when the
    // statement gave no rows. Throws Failure, also when cancel() stopped it (isInterrupted()).
    // Record sets of earlier statements stay readable.
    virtual RecordSet execute(const QString &statement) = 0;

    // The same for UTF-8, or whatever bytes a script holds, and for every result of the statement: further
    // ones wait for nextResult(), or go with the next statement.
    virtual RecordSet executeText(const QByteArray &statement)
    {
        return execute(QString::fromUtf8(statement));
    }
    // Goes on to the next result of what executeText() sent; rows of the last one that were not read are
    // thrown away. False when there is none. Throws what that result failed with.
    virtual bool nextResult(RecordSet &) { return false; }
    // Of the last result, once its rows have been read.
    virtual Effect effect() const { return {}; }

    // A call of open(), execute() or of a record set is waiting for the server.
    virtual bool isBusy() const = 0;
    // Asks the server to end what the waiting call waits for, or the rows that are on their way to the next
    // one; that call then throws. Returns at once; does nothing when the server has nothing to do. The
    // connection and its session survive.
    virtual void cancel() = 0;
};

// Makes a closed connection for a connection string ("driver={...};server=...", or a data source's name).
using ConnectionFactory = std::function<std::unique_ptr<Connection>(const QString &connectionString)>;
