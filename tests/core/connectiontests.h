#pragma once

#include "core/driver/connect.h"
#include "support/rows.h"
#include "support/testserver.h"

#include <QTest>

#include <functional>

// Calls something once while a statement waits for the server, as an event of the windows would.
class HookPump : public Pump {
public:
    void wait(Completion &completion) override
    {
        if (completion.waitFor(delay))
            return;
        if (const auto hook = std::exchange(once, nullptr))
            hook();
        while (!completion.waitFor(std::chrono::hours(1))) {
        }
    }

    std::chrono::milliseconds delay{300};
    std::function<void()> once;
};

inline std::unique_ptr<Connection> connected(const QString &connectionString, Pump &pump)
{
    auto connection = createConnection(connectionString, pump);
    connection->open();
    return connection;
}

// The one value of a statement that gives one.
inline QString valueOf(Connection &connection, const QString &statement)
{
    RecordSet rows = connection.execute(statement);
    return rows.isEof() ? QStringLiteral("no row") : rows.text(0);
}

// What the call threw; fails the test when it threw nothing.
inline Failure errorOf(const std::function<void()> &call)
{
    try {
        call();
    } catch (const Failure &error) {
        return error;
    }
    QTest::qFail("nothing was thrown", __FILE__, __LINE__);
    return Failure("nothing was thrown");
}
