#pragma once

#include "core/sql/connection.h"
#include "sheets/sheetworker.h"

// A sheet's own connection, as the thread of the windows may use it while nothing else runs on the sheet:
// each call is carried out by the worker and waited for in the pump. Closing it only gives it back; a
// connection that was lost stays lost.
class BorrowedConnection : public Connection {
public:
    // All outlive it. isFree: false while the sheet uses it itself.
    BorrowedConnection(SheetWorker &worker, Pump &pump, std::function<bool()> isFree)
        : m_worker(worker)
        , m_pump(pump)
        , m_isFree(std::move(isFree))
    {
    }

    void open() override { m_isOpen = true; }
    void close() override { m_isOpen = false; }
    bool isOpen() const override { return m_isOpen; }
    QString connectionString() const override { return {}; }
    ServerInfo server() const override;
    RecordSet execute(const QString &statement) override { return executeText(statement.toUtf8()); }
    // All rows are here when it returns.
    RecordSet executeText(const QByteArray &statement) override;
    Effect effect() const override { return m_effect; }
    bool isBusy() const override { return m_isBusy; }
    void cancel() override;

private:
    void carryOut(const std::function<void(Connection &)> &work) const;

    SheetWorker &m_worker;
    Pump &m_pump;
    const std::function<bool()> m_isFree;
    Effect m_effect;
    bool m_isOpen = true;
    mutable bool m_isBusy = false;
};
