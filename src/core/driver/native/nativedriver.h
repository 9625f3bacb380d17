#pragma once

#include "core/driver/native/localfile.h"
#include "core/driver/native/nativehandle.h"
#include "core/driver/workerdriver.h"

#include <atomic>
#include <mutex>
#include <optional>

class NativeResult;

// The built-in driver: MariaDB Connector/C with results that stream. One result at a time can be on its way;
// before another statement is sent the rest of it is taken into memory.
class NativeDriver : public Driver {
public:
    explicit NativeDriver(NativeOptions options);
    ~NativeDriver() override;

    Opened connect() override;
    std::unique_ptr<DriverResult> execute(const QString &statement) override;
    std::unique_ptr<DriverResult> executeText(const QByteArray &statement) override;
    std::unique_ptr<DriverResult> executeLocal(const QString &statement, const LocalSource &source) override;
    bool nextResult(std::unique_ptr<DriverResult> &result) override;
    Effect effect() const override { return effectOf(m_handle.get()); }
    void settle() override;
    void giveUpRows() override;
    void disconnect() override;
    Interruption interrupt(const Stop &stop) override;
    bool cut() override { return m_cutter.cut(); }

private:
    friend class NativeResult;
    void setSession(std::optional<NativeSession> session);
    std::unique_ptr<DriverResult> send(const QByteArray &text, bool keepsFurther);
    std::unique_ptr<DriverResult> currentResult(bool mayBeKilled);
    void dropUnread();

    const NativeOptions m_options;
    std::optional<LocalFile> m_localFile; // before the handle that asks it
    NativeHandle m_handle;
    SocketCutter m_cutter;
    std::mutex m_sessionMutex;
    std::optional<NativeSession> m_session; // while connected
    std::atomic<StatementSort> m_sort = StatementSort::Single;
    NativeResult *m_streaming = nullptr;
    bool m_keepsFurther = false; // results behind the one that is read
};
