#include "core/sql/statementlog.h"

#include "core/sql/batch.h"
#include "core/sql/localsource.h"
#include "core/sql/passwords.h"

#include <QElapsedTimer>

namespace {

// What is kept of a statement; one of megabytes is no reading matter.
constexpr qsizetype longest = 10'000;
// Of what is longer, rows mostly, only the beginning: thousands of them would take tens of megabytes.
constexpr qsizetype longestReadable = 64 * 1024;

class LoggedConnection : public Connection, public BatchSender, public LocalSender {
public:
    LoggedConnection(std::unique_ptr<Connection> connection, std::shared_ptr<StatementLog> log)
        : m_connection(std::move(connection))
        , m_log(std::move(log))
    {
    }
    void open() override { m_connection->open(); }
    void close() override { m_connection->close(); }
    bool isOpen() const override { return m_connection->isOpen(); }
    QString connectionString() const override { return m_connection->connectionString(); }
    ServerInfo server() const override { return m_connection->server(); }
    Encryption encryption() const override { return m_connection->encryption(); }
    RecordSet execute(const QString &statement) override
    {
        return noted(statement, [&](Connection &connection) { return connection.execute(statement); });
    }
    RecordSet executeText(const QByteArray &statement) override
    {
        const bool isReadable = statement.size() <= longestReadable;
        const std::string_view text(statement.constData(), static_cast<std::size_t>(statement.size()));
        return noted(
            isReadable ? QString::fromUtf8(statement.left(longest + 1)) : maskedBeginning(text),
            [&](Connection &connection) { return connection.executeText(statement); }, !isReadable);
    }
    bool nextResult(RecordSet &result) override { return m_connection->nextResult(result); }
    Effect effect() const override { return m_connection->effect(); }
    BatchOutcome executeAll(const std::vector<QByteArray> &statements) override;
    RecordSet executeLocal(const QString &statement, const LocalSource &source) override
    {
        return noted(statement,
                     [&](Connection &connection) { return ::executeLocal(connection, statement, source); });
    }
    bool isBusy() const override { return m_connection->isBusy(); }
    void cancel() override { m_connection->cancel(); }

private:
    void note(const QByteArray &statement, std::size_t further, qint64 microseconds, const Failure *failure);
    // isPart: of a longer one.
    RecordSet noted(const QString &statement, const std::function<RecordSet(Connection &)> &send,
                    bool isPart = false);

    std::unique_ptr<Connection> m_connection;
    std::shared_ptr<StatementLog> m_log;
};

RecordSet LoggedConnection::noted(const QString &statement,
                                  const std::function<RecordSet(Connection &)> &send, bool isPart)
{
    LoggedStatement entry;
    entry.time = QDateTime::currentDateTime();
    entry.statement = maskedPasswords(statement);
    QElapsedTimer clock;
    clock.start();
    // Kept here: an event that runs while this waits may destroy the connection.
    const std::shared_ptr<StatementLog> log = m_log;
    try {
        RecordSet rows = send(*m_connection);
        entry.microseconds = clock.nsecsElapsed() / 1000;
        entry.rows = rows.isOpen() ? 0 : -1;
        const std::uint64_t number = log->add(std::move(entry));
        if (rows.isOpen())
            rows.countRows([log, number](int count) { log->addRows(number, count); });
        return rows;
    } catch (const Failure &error) {
        entry.microseconds = clock.nsecsElapsed() / 1000;
        // The server quotes what it refuses, so its words may hold the password too, also one behind the
        // part that was looked at.
        entry.error = isPart || statement.size() > longest || holdsPassword(statement)
                          ? withoutQuotedPart(error.description())
                          : error.description();
        log->add(std::move(entry));
        throw;
    }
}

// An entry for each would cost more than small statements themselves: one for all that were carried out.
BatchOutcome LoggedConnection::executeAll(const std::vector<QByteArray> &statements)
{
    QElapsedTimer clock;
    clock.start();
    const auto microseconds = [&clock] { return clock.nsecsElapsed() / 1000; };
    try {
        BatchOutcome outcome = ::executeAll(*m_connection, statements);
        if (outcome.done > 0)
            note(statements.front(), outcome.done - 1, microseconds(), nullptr);
        if (outcome.failure)
            note(statements[outcome.done], 0, microseconds(), &*outcome.failure);
        return outcome;
    } catch (const Failure &failure) {
        note(statements.front(), 0, microseconds(), &failure);
        throw;
    }
}

void LoggedConnection::note(const QByteArray &statement, std::size_t further, qint64 microseconds,
                            const Failure *failure)
{
    const std::string_view text(statement.constData(), static_cast<std::size_t>(statement.size()));
    LoggedStatement entry;
    entry.time = QDateTime::currentDateTime();
    entry.statement = maskedBeginning(text);
    if (further > 0)
        entry.statement += QStringLiteral(" （ほか %1 文）").arg(further);
    entry.microseconds = microseconds;
    if (failure)
        entry.error = statement.size() > longest || holdsPassword(QString::fromUtf8(statement))
                          ? withoutQuotedPart(failure->description())
                          : failure->description();
    m_log->add(std::move(entry));
}

} // namespace

std::uint64_t StatementLog::add(LoggedStatement entry)
{
    if (entry.statement.size() > longest)
        entry.statement = entry.statement.left(longest) + QStringLiteral(" …");
    m_entries.push_back(std::move(entry));
    if (m_entries.size() > capacity) {
        m_entries.pop_front();
        ++m_firstNumber;
    }
    ++m_revision;
    return m_firstNumber + m_entries.size() - 1;
}

void StatementLog::addRows(std::uint64_t number, int rows)
{
    if (number < m_firstNumber)
        return;
    m_entries[number - m_firstNumber].rows += rows;
    ++m_revision;
}

void StatementLog::clear()
{
    m_firstNumber += m_entries.size();
    m_entries.clear();
    ++m_revision;
}

ConnectionFactory logged(ConnectionFactory factory, std::shared_ptr<StatementLog> log)
{
    return [factory = std::move(factory),
            log = std::move(log)](const QString &connectionString) -> std::unique_ptr<Connection> {
        std::unique_ptr<Connection> connection = factory(connectionString);
        if (auto *own = dynamic_cast<LogsItself *>(connection.get())) {
            own->logInto(log);
            return connection;
        }
        return std::make_unique<LoggedConnection>(std::move(connection), log);
    };
}
