#pragma once

#include "core/native/nativeoptions.h"
#include "core/sessionkill.h"

#include <functional>
#include <memory>
#include <mysql.h>
#include <string_view>

struct NativeDeleter {
    void operator()(MYSQL *handle) const { mysql_close(handle); }
    void operator()(MYSQL_RES *result) const { mysql_free_result(result); }
};
using NativeHandle = std::unique_ptr<MYSQL, NativeDeleter>;
using NativeRows = std::unique_ptr<MYSQL_RES, NativeDeleter>;

// The handle's last error in the words of server or library.
SqlError nativeError(MYSQL *handle);

// Seconds that connecting and each later answer may take; 0: for ever.
struct NativeTimeouts {
    unsigned connect;
    unsigned answer;
};
struct NativeConnection {
    NativeHandle handle;
    Encryption encryption;
};
// A new connection. Throws SqlError.
NativeConnection connectNative(const NativeOptions &options, const NativeTimeouts &timeouts);
// Sends a statement; throws SqlError.
void sendNative(MYSQL *handle, std::string_view statement);
// Reads and drops what follows the first result of a statement; throws SqlError.
void dropFurtherResults(MYSQL *handle);
// The first cell of a statement's rows; empty when there are none. Throws SqlError.
QByteArray firstCell(MYSQL *handle, const QString &statement);

// A session, and what is answered to a question that tells it from any other; empty: nothing does.
struct NativeSession {
    unsigned long id;
    QByteArray mark;
    StatementSort sort = StatementSort::Single; // of its latest statement
};
QByteArray sessionMark(MYSQL *handle, unsigned long id);
// Ends the statement that a session runs, over a connection of its own, and calls onReached once that one
// stands.
Interruption killQuery(const NativeOptions &options, const NativeSession &session, const Stop &stop);
