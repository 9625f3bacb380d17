#pragma once

#include "core/driver/native/nativehandle.h"
#include "core/driver/odbc/odbchandle.h"
#include "core/driver/sessionkill.h"
#include "core/driver/workerdriver.h"
#include "core/session/tlsoptions.h"

#include <QStringList>

#include <atomic>
#include <mutex>
#include <mysql.h>

class OdbcResult;

// A connection through the ODBC driver manager. Connector/ODBC loses the connection to statements of unknown
// kinds (see StatementKind): those go past it where its client library is ours, too. Elsewhere the connection
// is closed and opened again after them with the same default database; user variables, temporary tables and
// locks of the session are lost then.
class OdbcDriver : public Driver {
public:
    // Never: as for a driver that brings a client library of its own.
    enum class Library { IfShared, Never };
    explicit OdbcDriver(const QString &connectionString, Library library = Library::IfShared);
    ~OdbcDriver() override;

    Opened connect() override;
    std::unique_ptr<DriverResult> execute(const QString &statement) override;
    // Past the driver where its client library is ours, too: the driver splits texts at ";", reads bytes as
    // text, and tells neither warnings nor further results of every statement. Else as execute(), with the
    // first result alone.
    std::unique_ptr<DriverResult> executeText(const QByteArray &statement) override;
    bool nextResult(std::unique_ptr<DriverResult> &result) override;
    Effect effect() const override { return m_effect; }
    QString note() const override { return m_note; }
    void settle() override;
    void disconnect() override;
    Interruption interrupt(const Stop &stop) override;
    // False for a driver with a client library of its own: nothing wakes a thread that waits inside it.
    bool cut() override { return m_cutter.cut(); }

private:
    friend class OdbcResult;
    void open();
    void setSession(const QString &session, const QString &mark);
    Encryption saidEncryption();
    void speakUtf8();
    QStringList firstRow(const QString &statement);
    QString mark(const QString &session);
    std::unique_ptr<DriverResult> executeByDriver(const QString &statement, bool isDangerous);
    bool mayHaveVectors() const;
    void reopen(const QString &database);
    QString defaultDatabase();
    void dropUnread();

    const QString m_connectionString;
    const TlsOptions m_tls;
    const bool m_mayUseLibrary;
    OdbcEnvironment m_environment;
    OdbcConnectionHandle m_connection;
    MYSQL *m_library = nullptr; // the driver's, for what the driver cannot; see executeAsText()
    Encryption m_encryption;
    SocketCutter m_cutter;
    std::mutex m_sessionMutex;
    QString m_session, m_mark; // the number, and what tells it from others; empty while there is none
    ServerInfo m_server;
    std::atomic<StatementSort> m_sort = StatementSort::Single;
    std::vector<OdbcResult *> m_results; // those that still need the connection
    QString m_note;
    bool m_keepsFurther = false; // results behind the one that executeText() or nextResult() gave
    Effect m_effect;             // of the last one, as far as the driver tells
};
