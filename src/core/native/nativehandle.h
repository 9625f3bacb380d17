#pragma once

#include "core/connection.h"
#include "core/native/nativeoptions.h"
#include "core/sqlerror.h"

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
// Ends the statement that a connection runs, over a connection of its own, and calls onReached once that one
// stands; true when the server has confirmed.
bool killQuery(const NativeOptions &options, unsigned long connectionId,
               const std::function<void()> &onReached);
