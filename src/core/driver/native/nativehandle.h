#pragma once

#include "core/driver/native/nativeoptions.h"
#include "core/driver/sessionkill.h"

#include <functional>
#include <memory>
#include <mutex>
#include <mysql.h>
#include <string_view>

struct NativeDeleter {
    void operator()(MYSQL *handle) const { mysql_close(handle); }
    void operator()(MYSQL_RES *result) const { mysql_free_result(result); }
};
using NativeHandle = std::unique_ptr<MYSQL, NativeDeleter>;
using NativeRows = std::unique_ptr<MYSQL_RES, NativeDeleter>;

// The handle's last error in the words of server or library.
Failure nativeError(MYSQL *handle);

// Seconds that connecting and each later answer may take; 0: for ever.
struct NativeTimeouts {
    unsigned connect;
    unsigned answer;
};
struct NativeConnection {
    NativeHandle handle;
    Encryption encryption;
};
// A new connection. Throws Failure.
NativeConnection connectNative(const NativeOptions &options, const NativeTimeouts &timeouts);
// Sends a statement; throws Failure.
void sendNative(MYSQL *handle, std::string_view statement);
// Reads and drops what follows the first result of a statement; throws Failure.
void dropFurtherResults(MYSQL *handle);
// Of the statement or result that the handle has come to the end of.
Effect effectOf(MYSQL *handle);
// The first cell of a statement's rows; empty when there are none. Throws Failure.
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

// Breaks a connection off from another thread, so that a call blocked on it returns at once. It holds a
// handle of its own on the socket: the library may close its one at any time, and the number be used anew.
class SocketCutter {
public:
    SocketCutter() = default;
    ~SocketCutter() { release(); }
    SocketCutter(const SocketCutter &) = delete;
    SocketCutter &operator=(const SocketCutter &) = delete;

    void watch(int socket);
    void release();
    // Any thread. False when no connection is watched.
    bool cut();

private:
    std::mutex m_mutex;
    int m_socket = -1;
};
