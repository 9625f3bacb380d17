#include "server/locks/lockreading.h"

#include "core/sql/passwords.h"
#include "server/serverpage.h"

#include <QRegularExpression>

#include <algorithm>
#include <set>

namespace {

constexpr int unknownTable = 1109, noSuchTable = 1146;

// Empty where the server has no such table; a missing right is noted.
RecordSet answerTo(Connection &connection, const QString &question, QStringList &missing)
{
    try {
        return connection.execute(question);
    } catch (const Failure &failure) {
        if (failure.isConnectionLost() || failure.isInterrupted())
            throw;
        if (failure.number() != unknownTable && failure.number() != noSuchTable)
            missing << wordsOf(failure);
        return {};
    }
}

bool isMySql8(const ServerInfo &server)
{
    return !server.isMariaDb && server.number >= 80000;
}

QString rowWaitsQuestion(const ServerInfo &server)
{
    return isMySql8(server)
               ? QStringLiteral("select rt.processlist_id, bt.processlist_id, concat_ws(' ', concat('`', "
                                "l.object_schema, '`.`', l.object_name, '`'), l.index_name), l.lock_mode, "
                                "timestampdiff(second, r.trx_wait_started, now()) "
                                "from performance_schema.data_lock_waits w "
                                "join performance_schema.threads rt on rt.thread_id = w.requesting_thread_id "
                                "join performance_schema.threads bt on bt.thread_id = w.blocking_thread_id "
                                "left join information_schema.innodb_trx r "
                                "on r.trx_id = w.requesting_engine_transaction_id "
                                "left join performance_schema.data_locks l "
                                "on l.engine_lock_id = w.requesting_engine_lock_id limit 2000")
               : QStringLiteral("select r.trx_mysql_thread_id, b.trx_mysql_thread_id, "
                                "concat_ws(' ', l.lock_table, l.lock_index), l.lock_mode, "
                                "timestampdiff(second, r.trx_wait_started, now()) "
                                "from information_schema.innodb_lock_waits w "
                                "join information_schema.innodb_trx r on r.trx_id = w.requesting_trx_id "
                                "join information_schema.innodb_trx b on b.trx_id = w.blocking_trx_id "
                                "left join information_schema.innodb_locks l "
                                "on l.lock_id = w.requested_lock_id limit 2000");
}

// Filled where performance_schema watches metadata locks: MySQL 8 and later, others on demand.
const QString metadataWaitsQuestion =
    QStringLiteral("select pt.processlist_id, gt.processlist_id, concat_ws('.', p.object_schema, "
                   "p.object_name), concat('METADATA ', p.lock_type), pt.processlist_time "
                   "from performance_schema.metadata_locks p join performance_schema.metadata_locks g "
                   "on g.object_type = p.object_type and g.object_schema <=> p.object_schema "
                   "and g.object_name <=> p.object_name and g.lock_status = 'GRANTED' "
                   "and g.owner_thread_id <> p.owner_thread_id "
                   "join performance_schema.threads pt on pt.thread_id = p.owner_thread_id "
                   "join performance_schema.threads gt on gt.thread_id = g.owner_thread_id "
                   "where p.lock_status = 'PENDING' and not (p.lock_type like 'INTENTION%' "
                   "and g.lock_type like 'INTENTION%') limit 2000");

// MariaDB's plugin tells who holds which table, but not who waits for it: the statement that waits names it.
const QString pluginWaitsQuestion =
    QStringLiteral("select p.id, m.thread_id, concat_ws('.', m.table_schema, m.table_name), "
                   "concat('METADATA? ', m.lock_mode), p.time "
                   "from information_schema.processlist p join information_schema.metadata_lock_info m "
                   "on m.thread_id <> p.id and m.table_name <> '' "
                   "and locate(m.table_name, p.info) > 0 "
                   "where p.state like 'Waiting for%metadata lock' limit 2000");

QString otherWaitsQuestion(const ServerInfo &server)
{
    return QStringLiteral("select id, '', '', state, time from %1.processlist "
                          "where state like 'Waiting for%lock' limit 2000")
        .arg(!server.isMariaDb && server.number >= 80022 ? QStringLiteral("performance_schema")
                                                         : QStringLiteral("information_schema"));
}

QString cell(const RecordSet &rows, int column)
{
    return rows.isNull(column) ? QString() : rows.text(column);
}

// Each pair once, however many locks stand between them. Those without a blocking one only where nothing
// better is known.
void addWaits(RecordSet rows, std::vector<LockWait> &waits)
{
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext()) {
        LockWait wait{cell(rows, 0), cell(rows, 1), cell(rows, 2), cell(rows, 3), cell(rows, 4)};
        const bool isKnown = std::ranges::any_of(waits, [&wait](const LockWait &each) {
            return each.waiting == wait.waiting &&
                   (wait.blocking.isEmpty() || each.blocking == wait.blocking);
        });
        if (!isKnown && wait.waiting != wait.blocking)
            waits.push_back(std::move(wait));
    }
}

std::vector<Transaction> readTransactions(Connection &connection, QStringList &missing)
{
    const ServerInfo server = connection.server();
    RecordSet rows =
        answerTo(connection,
                 QStringLiteral("select t.trx_mysql_thread_id, p.user, p.host, p.db, t.trx_state, "
                                "timestampdiff(second, t.trx_started, now()), t.trx_isolation_level, "
                                "t.trx_rows_locked, t.trx_rows_modified, left(t.trx_query, 500) "
                                "from information_schema.innodb_trx t left join %1.processlist p "
                                "on p.id = t.trx_mysql_thread_id order by t.trx_started limit 2000")
                     .arg(!server.isMariaDb && server.number >= 80022 ? QStringLiteral("performance_schema")
                                                                      : QStringLiteral("information_schema")),
                 missing);
    std::vector<Transaction> transactions;
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext())
        transactions.push_back({cell(rows, 0), cell(rows, 1), cell(rows, 2), cell(rows, 3), cell(rows, 4),
                                cell(rows, 5), cell(rows, 6), cell(rows, 7), cell(rows, 8),
                                maskedPasswords(cell(rows, 9))});
    return transactions;
}

QStringList sessionsIn(const std::vector<LockWait> &waits)
{
    QStringList sessions;
    for (const LockWait &wait : waits)
        sessions << wait.waiting << wait.blocking;
    sessions.removeDuplicates();
    sessions.removeAll(QString());
    return sessions;
}

} // namespace

LockPicture readLocks(Session &session, ProcessReader &reader)
{
    Connection &connection = session.connection();
    const ServerInfo server = connection.server();
    LockPicture picture;
    addWaits(answerTo(connection, rowWaitsQuestion(server), picture.missing), picture.waits);
    if (server.isMariaDb ? server.number >= 100500 : server.number >= 50700)
        addWaits(answerTo(connection, metadataWaitsQuestion, picture.missing), picture.waits);
    if (server.isMariaDb)
        addWaits(answerTo(connection, pluginWaitsQuestion, picture.missing), picture.waits);
    addWaits(answerTo(connection, otherWaitsQuestion(server), picture.missing), picture.waits);
    picture.sessions = reader.readSome(session, sessionsIn(picture.waits));
    picture.transactions = readTransactions(connection, picture.missing);
    picture.missing.removeDuplicates();
    return picture;
}

namespace {

class TreeBuilder {
public:
    explicit TreeBuilder(const std::vector<LockWait> &waits)
        : m_waits(waits)
    {
        for (const LockWait &wait : waits)
            m_waiting.insert(wait.waiting);
    }

    std::vector<LockNode> build()
    {
        for (const LockWait &wait : m_waits)
            if (!wait.blocking.isEmpty() && !m_waiting.contains(wait.blocking))
                add({wait.blocking});
        for (const LockWait &wait : m_waits)
            if (wait.blocking.isEmpty())
                add({wait.waiting, -1, &wait});
        addWaiting();
        // What is left waits in a circle: a deadlock that was not found yet, or that InnoDB cannot see.
        for (const LockWait &wait : m_waits)
            if (add({wait.waiting, -1, &wait, true}))
                addWaiting();
        return std::move(m_nodes);
    }

private:
    bool add(const LockNode &node)
    {
        const bool isNew = m_placed.insert(node.session).second;
        if (isNew)
            m_nodes.push_back(node);
        return isNew;
    }
    // Level by level, so that each stands as near to the top as it can.
    void addWaiting()
    {
        for (; m_served < m_nodes.size(); ++m_served)
            for (const LockWait &wait : m_waits)
                if (wait.blocking == m_nodes[m_served].session)
                    add({wait.waiting, static_cast<int>(m_served), &wait});
    }

    const std::vector<LockWait> &m_waits;
    std::set<QString> m_waiting, m_placed;
    std::vector<LockNode> m_nodes;
    std::size_t m_served = 0; // nodes whose children were added
};

} // namespace

std::vector<LockNode> lockTree(const std::vector<LockWait> &waits)
{
    return TreeBuilder(waits).build();
}

QString lastDeadlock(const QString &status)
{
    static const QRegularExpression section(
        QStringLiteral("\\nLATEST DETECTED DEADLOCK\\n-+\\n(.*?)\\n-+\\n[A-Z ]+\\n-+\\n"),
        QRegularExpression::DotMatchesEverythingOption);
    QStringList lines = section.match(status).captured(1).split(u'\n');
    // A statement follows the line of its session, up to the next heading.
    QStringList masked, statement;
    bool isStatement = false;
    const auto endStatement = [&] {
        if (!statement.isEmpty())
            masked << maskedPasswords(statement.join(u'\n'));
        statement.clear();
    };
    for (const QString &line : lines) {
        const bool isHeading =
            line.startsWith(u"***") || line.startsWith(u"RECORD LOCKS") || line.startsWith(u"TABLE LOCK");
        if (isHeading)
            endStatement();
        isStatement = isStatement && !isHeading;
        (isStatement ? statement : masked) << line;
        isStatement |= line.startsWith(u"MySQL thread id") || line.startsWith(u"MariaDB thread id");
    }
    endStatement();
    return masked.join(u'\n').trimmed();
}

QString readLastDeadlock(Session &session)
{
    RecordSet rows = session.connection().execute(QStringLiteral("show engine innodb status"));
    return rows.isEof() ? QString() : lastDeadlock(rows.text(rows.fieldCount() - 1));
}
