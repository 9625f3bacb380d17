#include "server/processes/processreading.h"

#include "core/driver/sessionkill.h"
#include "core/sql/answers.h"
#include "core/sql/passwords.h"

#include <algorithm>

namespace {

constexpr int shownOfStatement = 500, wholeStatement = 100'000'000; // characters

// MariaDB tells more in its own list. Its 11 and later count the rows that were sent, too.
QString mariaDbForm(Connection &connection)
{
    RecordSet columns =
        connection.execute(QStringLiteral("show columns from information_schema.processlist"));
    bool hasSentRows = false;
    for (; !columns.isEof(); columns.moveNext())
        hasSentRows |= columns.text(0).compare(u"sent_rows", Qt::CaseInsensitive) == 0;
    return QStringLiteral("select p.id, p.user, p.host, p.db, p.command, round(p.time_ms / 1000, 1) as time, "
                          "p.state, left(p.info, %2) as info, %1 as sent, "
                          "p.examined_rows as examined, p.query_id as execution, "
                          "unix_timestamp() - p.time as started from information_schema.processlist p")
        .arg(hasSentRows ? QStringLiteral("p.sent_rows") : QStringLiteral("null"));
}

// The list of performance_schema, there since 8.0.22, does not hold up the other sessions while it is read.
QString mySqlForm(const ServerInfo &server, bool withCounts)
{
    const bool hasOwnList = server.number >= 80022;
    const bool nests = server.number >= 50700; // statements within procedures
    QString form = QStringLiteral("select p.id, p.user, p.host, p.db, p.command, p.time, p.state, "
                                  "left(p.info, %2) as info, ");
    form += withCounts ? QStringLiteral("s.rows_sent as sent, s.rows_examined as examined, "
                                        "concat(s.thread_id, '-', s.event_id) as execution, ")
                       : QStringLiteral("null as sent, null as examined, null as execution, ");
    form += QStringLiteral("unix_timestamp() - p.time as started from ");
    form += hasOwnList ? QStringLiteral("performance_schema.processlist p")
                       : QStringLiteral("information_schema.processlist p");
    if (withCounts)
        form += QStringLiteral(" left join performance_schema.threads t on t.processlist_id = p.id "
                               "left join performance_schema.events_statements_current s "
                               "on s.thread_id = t.thread_id and p.command <> 'Sleep'") +
                (nests ? QStringLiteral(" and s.nesting_event_level = 0") : QString());
    return form;
}

const QString showForm = QStringLiteral("show full processlist");

QString hostOf(const QString &host)
{
    const auto port = host.lastIndexOf(u':');
    return port < 0 ? host : host.left(port);
}

Process processOf(RecordSet &rows, int mostOfStatement)
{
    Process process;
    process.id = textOf(rows, "id");
    process.user = textOf(rows, "user");
    process.host = textOf(rows, "host");
    process.database = textOf(rows, "db");
    process.command = textOf(rows, "command");
    process.seconds = textOf(rows, "time");
    process.state = textOf(rows, "state");
    // SHOW gives it whole in any case.
    const QString statement = textOf(rows, "info").left(mostOfStatement);
    process.isWhole = statement.size() < mostOfStatement;
    process.statement = maskedPasswords(statement);
    process.rowsSent = textOf(rows, "sent");
    process.rowsExamined = textOf(rows, "examined");
    process.execution = textOf(rows, "execution");
    process.startedAt = textOf(rows, "started").toLongLong();
    return process;
}

std::vector<Process> taken(RecordSet rows)
{
    std::vector<Process> processes;
    for (; !rows.isEof(); rows.moveNext())
        processes.push_back(processOf(rows, shownOfStatement));
    return processes;
}

// Without the right PROCESS an account sees its own sessions only, and nothing says so. This table says it.
QString missingRight(Connection &connection)
{
    try {
        connection.execute(QStringLiteral("select count(*) from information_schema.innodb_trx"));
    } catch (const Failure &failure) {
        if (failure.isConnectionLost() || failure.isInterrupted())
            throw;
        constexpr int accessDenied = 1227;
        if (failure.number() == accessDenied)
            return QStringLiteral("PROCESS 権限がないので、自分のアカウントのセッションだけが見えます: ") +
                   failure.description();
    }
    return {};
}

QString connectionMark(Connection &connection)
{
    return firstText(connection, sessionMarkQuestion(connection.server(), QStringLiteral("connection_id()")));
}

} // namespace

// Asked once for each connection.
void ProcessReader::learn(Connection &connection)
{
    const QString id = firstText(connection, QStringLiteral("select connection_id()"));
    if (id == m_connectionId)
        return;
    m_serverMark = connectionMark(connection);
    m_missing = missingRight(connection);
    m_forms.clear();
    const ServerInfo server = connection.server();
    if (server.isMariaDb)
        m_forms << mariaDbForm(connection);
    else
        m_forms << mySqlForm(server, true) << mySqlForm(server, false);
    m_forms << showForm;
    m_connectionId = id;
}

// What the server refuses in one form, it is asked in a poorer one from now on.
RecordSet ProcessReader::ask(Connection &connection, const QStringList &ids, int mostOfStatement)
{
    for (;;) {
        QString statement = m_forms.first();
        if (statement != showForm) {
            statement = statement.arg(mostOfStatement);
            if (!ids.isEmpty())
                statement += QStringLiteral(" where p.id in (%1)").arg(ids.join(u','));
        }
        try {
            return connection.execute(statement);
        } catch (const Failure &failure) {
            if (failure.isConnectionLost() || failure.isInterrupted() || m_forms.size() == 1)
                throw;
            m_forms.removeFirst();
        }
    }
}

ProcessList ProcessReader::read(Session &session)
{
    Connection &connection = session.connection();
    learn(connection);
    ProcessList list{m_serverMark, m_connectionId, taken(ask(connection, {}, shownOfStatement)), m_missing};
    const auto own = [&] { return std::ranges::find(list.processes, m_connectionId, &Process::id); };
    // With performance_schema switched off its tables are there, but empty.
    while (own() == list.processes.end() && m_forms.size() > 1) {
        m_forms.removeFirst();
        list.processes = taken(ask(connection, {}, shownOfStatement));
    }
    if (own() == list.processes.end())
        return list;
    const QString user = own()->user, host = hostOf(own()->host);
    for (Process &process : list.processes)
        if (process.id == m_connectionId)
            process.owner = Process::Owner::ThisWindow;
        else if (process.user == user && hostOf(process.host) == host)
            process.owner = Process::Owner::SameAccount;
    return list;
}

std::vector<Process> ProcessReader::readSome(Session &session, const QStringList &ids)
{
    if (ids.isEmpty())
        return {};
    learn(session.connection());
    std::vector<Process> processes = taken(ask(session.connection(), ids, shownOfStatement));
    std::erase_if(processes, [&ids](const Process &each) { return !ids.contains(each.id); });
    return processes;
}

std::optional<Process> ProcessReader::readOne(Session &session, const QString &id, Statement wanted)
{
    learn(session.connection());
    const int most = wanted == Statement::Whole ? wholeStatement : shownOfStatement;
    for (RecordSet rows = ask(session.connection(), {id}, most); !rows.isEof(); rows.moveNext())
        if (Process process = processOf(rows, most); process.id == id)
            return process;
    return {};
}

QString killStatement(const ServerInfo &server, const Process &process, Kill kill)
{
    if (kill == Kill::Session)
        return QStringLiteral("KILL ") + process.id;
    // By its own number no other statement can be struck, however late the KILL comes.
    return server.isMariaDb && !process.execution.isEmpty()
               ? QStringLiteral("KILL QUERY ID ") + process.execution
               : QStringLiteral("KILL QUERY ") + process.id;
}

QString explainStatement(const ServerInfo &server, const QString &id)
{
    if (server.isMariaDb)
        return server.number >= 100000 ? QStringLiteral("SHOW EXPLAIN FOR ") + id : QString();
    // MySQL 9 would answer with a tree otherwise.
    return server.number >= 50700 ? QStringLiteral("EXPLAIN FORMAT=TRADITIONAL FOR CONNECTION ") + id
                                  : QString();
}

namespace {

bool isSameRun(const Process &shown, const Process &now)
{
    if (!shown.execution.isEmpty() && !now.execution.isEmpty())
        return shown.execution == now.execution;
    constexpr qint64 clockGrain = 1; // seconds
    return now.isRunning() && std::abs(shown.startedAt - now.startedAt) <= clockGrain &&
           now.statement == shown.statement;
}

KillOutcome killOne(Session &session, ProcessReader &reader, const Process &shown, Kill kill)
{
    using End = KillOutcome::End;
    const std::optional<Process> now = reader.readOne(session, shown.id, ProcessReader::Statement::Beginning);
    if (!now)
        return {shown.id, End::Gone, {}};
    if (now->user != shown.user || now->host != shown.host)
        return {shown.id, End::Other, {}};
    if (kill == Kill::Statement && !isSameRun(shown, *now))
        return {shown.id, End::Gone, {}};
    Connection &connection = session.connection();
    try {
        connection.execute(killStatement(connection.server(), shown, kill));
        return {shown.id, End::Done, {}};
    } catch (const Failure &failure) {
        constexpr int unknownSession = 1094, unknownQuery = 1957;
        if (failure.number() == unknownSession || failure.number() == unknownQuery)
            return {shown.id, End::Gone, {}};
        if (failure.isConnectionLost() || failure.isInterrupted())
            throw;
        return {shown.id, End::Refused, failure.description()};
    }
}

} // namespace

std::vector<KillOutcome> killProcesses(Session &session, ProcessReader &reader, const ProcessList &list,
                                       const QStringList &ids, Kill kill)
{
    // Numbers begin anew with a server, and behind a balancer each server has its own.
    Connection &connection = session.connection();
    if (firstText(connection, QStringLiteral("select connection_id()")) != list.connectionId ||
        connectionMark(connection) != list.serverMark)
        throw Failure(QStringLiteral("一覧を読んだ接続が切れ、つなぎ直されました。何も止めていません。"
                                     "新しい一覧で確かめてください。"));
    std::vector<KillOutcome> outcomes;
    for (const QString &id : ids) {
        const auto shown = std::ranges::find(list.processes, id, &Process::id);
        if (shown != list.processes.end() && shown->owner != Process::Owner::ThisWindow)
            outcomes.push_back(killOne(session, reader, *shown, kill));
    }
    return outcomes;
}
