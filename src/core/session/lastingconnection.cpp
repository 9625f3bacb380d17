#include "core/session/lastingconnection.h"

#include "core/command/doubt.h"
#include "core/command/writing.h"
#include "core/session/connectionstring.h"
#include "core/sql/batch.h"
#include "core/sql/localsource.h"
#include "core/sql/sessionstate.h"
#include "core/sql/statementlog.h"
#include "core/sql/trackedsession.h"
#include "core/sql/words.h"

#include <chrono>
#include <map>
#include <mutex>
#include <optional>
#include <utility>

namespace {

const QString readOnlyKey = QStringLiteral("readonly");

const QString readOnlySession = QStringLiteral("SET SESSION TRANSACTION READ ONLY");

// Where the connections that were lost had led, by their ways: who comes back is to reach the same, as
// long as the lost one is not closed. Several threads have connections of one factory.
class LostPlaces {
public:
    void add(const QString &way, const ServerPlace &place, const Connection *lost)
    {
        const std::lock_guard lock(m_mutex);
        m_places[way] = {place, lost};
    }
    std::optional<ServerPlace> find(const QString &way) const
    {
        const std::lock_guard lock(m_mutex);
        const auto found = m_places.find(way);
        return found == m_places.end() ? std::nullopt : std::optional(found->second.place);
    }
    void forget(const Connection *lost)
    {
        const std::lock_guard lock(m_mutex);
        std::erase_if(m_places, [lost](const auto &each) { return each.second.lost == lost; });
    }
    void addRefusal(const QString &way, const Failure &failure)
    {
        const std::lock_guard lock(m_mutex);
        m_refusals.insert_or_assign(way, Refusal{failure, std::chrono::steady_clock::now()});
    }
    // Who tries again right behind a failed attempt is told what came of that one, once: a host that is
    // silent costs a whole timeout each time.
    std::optional<Failure> takeRefusal(const QString &way)
    {
        constexpr std::chrono::seconds moment{1};
        const std::lock_guard lock(m_mutex);
        const auto refusal = m_refusals.extract(way);
        return refusal && std::chrono::steady_clock::now() - refusal.mapped().time < moment
                   ? std::optional(refusal.mapped().failure)
                   : std::nullopt;
    }

private:
    struct Refusal {
        Failure failure;
        std::chrono::steady_clock::time_point time;
    };
    struct Place {
        ServerPlace place;
        const Connection *lost;
    };
    mutable std::mutex m_mutex;
    std::map<QString, Place> m_places;
    std::map<QString, Refusal> m_refusals;
};

class LastingConnection : public Connection,
                          public BatchSender,
                          public LocalSender,
                          public LogsItself,
                          public HeedsWriteBans,
                          public TrackedSession {
public:
    LastingConnection(QString string, ConnectionFactory factory, std::shared_ptr<LostPlaces> lostPlaces)
        : m_given(std::move(string))
        , m_isReadOnly(ConnectionString(m_given).value(readOnlyKey) == u"1")
        , m_string(m_isReadOnly ? withoutKey(m_given, readOnlyKey) : m_given)
        , m_way(withoutKey(m_string, QStringLiteral("database")))
        , m_factory(std::move(factory))
        , m_lostPlaces(std::move(lostPlaces))
    {
    }

    // A statement that waits on the inner one holds on to it: it ends by being closed.
    ~LastingConnection() override { LastingConnection::close(); }

    void open() override;
    void close() override
    {
        *m_isClosed = true;
        m_lostPlaces->forget(this);
        if (m_inner)
            m_inner->close();
    }
    bool isOpen() const override { return m_inner && m_inner->isOpen(); }
    QString connectionString() const override { return m_inner ? m_inner->connectionString() : m_given; }
    ServerInfo server() const override { return m_inner ? m_inner->server() : ServerInfo(); }
    Encryption encryption() const override { return m_inner ? m_inner->encryption() : Encryption(); }
    RecordSet execute(const QString &statement) override;
    RecordSet executeText(const QByteArray &statement) override;
    RecordSet executeLocal(const QString &statement, const LocalSource &source) override
    {
        return sent(statement, [&](Connection &inner) { return ::executeLocal(inner, statement, source); });
    }
    std::shared_ptr<SessionState> sessionState() const override { return m_state; }
    bool nextResult(RecordSet &result) override
    {
        const std::shared_ptr<Connection> inner = m_inner; // an event may replace it
        return inner && inner->nextResult(result);
    }
    Effect effect() const override { return m_inner ? m_inner->effect() : Effect(); }
    BatchOutcome executeAll(const std::vector<QByteArray> &statements) override;
    bool isBusy() const override { return m_inner && m_inner->isBusy(); }
    void logInto(std::shared_ptr<StatementLog> log) override
    {
        m_factory = logged(m_factory, std::move(log));
    }
    void heed(std::function<bool()> isBanned) override { m_isBanned = std::move(isBanned); }
    void cancel() override
    {
        m_isCancelled = true;
        if (m_inner)
            m_inner->cancel();
    }

private:
    std::shared_ptr<Connection> opened();
    using Send = std::function<RecordSet(Connection &)>;
    RecordSet sent(const QString &statement, const Send &send);
    void requireSamePlace();
    bool heedBan(Connection &inner);
    void comeBack();
    Failure given(const Failure &failure, bool mayBeDone);

    const QString m_given;
    bool m_isReadOnly;
    std::function<bool()> m_isBanned = [] { return false; };
    const QString m_string;
    const QString m_way; // to the server, whatever database is chosen there
    ConnectionFactory m_factory;
    const std::shared_ptr<LostPlaces> m_lostPlaces;
    std::shared_ptr<Connection> m_inner; // an event may replace it while a statement waits
    ServerPlace m_place;
    // An event may destroy this while a statement waits, which then still asks for both of them.
    const std::shared_ptr<SessionState> m_state = std::make_shared<SessionState>();
    const std::shared_ptr<bool> m_isClosed = std::make_shared<bool>(false); // by the connection's user
    bool m_isCancelled = false;                                             // by the same
    bool m_hasScript = false; // which counts on all that it has set
};

// What the server does not tell is not known: an account whose password has expired may ask for nothing.
ServerPlace knownPlace(Connection &connection)
{
    try {
        return serverPlace(connection);
    } catch (const Failure &failure) {
        if (failure.isConnectionLost() || failure.isInterrupted())
            throw;
        return {};
    }
}

bool isSame(const ServerPlace &left, const ServerPlace &right)
{
    return left.server.isEmpty() || right.server.isEmpty() || left.server == right.server ||
           (left.cluster.isMember() && left.cluster.name == right.cluster.name);
}

// READ ONLY holds from the next transaction on: the open one could still write. Whether it is kept or taken
// back is for the user to say.
void requireEnd(const SessionState &state, const QString &statement)
{
    constexpr int refusedInReadOnly = 1792; // the server's number for the same
    if (state.mustEndTransaction() && mayChange(statement) && bareWords(statement).value(0) != u"xa")
        throw Failure(
            QStringLiteral("この接続は読み取り専用になりました。開いているトランザクションにも、も"
                           "う書き込めません。\nCOMMIT で確定するか、ROLLBACK で取り消して下さい。"),
            refusedInReadOnly, QStringLiteral("25006"));
}

void LastingConnection::open()
{
    if (const std::optional<Failure> refusal = m_lostPlaces->takeRefusal(m_way))
        throw Failure(*refusal);
    m_isCancelled = *m_isClosed = m_hasScript = false;
    m_inner = m_factory(m_string);
    m_inner->open();
    if (ConnectionString(m_string).value(QStringLiteral("handleexpiredpassword")) == u"1")
        return; // it takes one statement only
    try {
        requireSamePlace();
        m_isReadOnly |= m_isBanned();
        if (m_isReadOnly)
            m_inner->execute(readOnlySession);
    } catch (const Failure &) {
        m_inner->close();
        throw;
    }
}

// True: from now on it keeps from writing.
bool LastingConnection::heedBan(Connection &inner)
{
    if (m_isReadOnly || !m_isBanned())
        return false;
    m_isReadOnly = true;
    const std::shared_ptr<SessionState> state = m_state;
    try {
        inner.execute(readOnlySession);
        state->keepFromWriting(inner.effect().isInTransaction);
    } catch (const Failure &) {
        inner.close(); // no use that may not keep from writing
        throw;
    }
    return true;
}

void LastingConnection::requireSamePlace()
{
    m_place = knownPlace(*m_inner);
    const std::optional<ServerPlace> before = m_lostPlaces->find(m_way);
    if (before && !isSame(*before, m_place))
        throw Failure(QStringLiteral("再接続先は別のサーバーです(%1)。元のサーバー: %2"
                                     "\nこのサーバーで続けるには、切断してから接続して下さい。")
                          .arg(m_place.server, before->server));
    m_lostPlaces->forget(this); // it is back itself; another one that is lost may still be to come
}

RecordSet LastingConnection::execute(const QString &statement)
{
    return sent(statement, [&statement](Connection &inner) { return inner.execute(statement); });
}

RecordSet LastingConnection::executeText(const QByteArray &statement)
{
    return sent(QString::fromUtf8(statement),
                [&statement](Connection &inner) { return inner.executeText(statement); });
}

// Never repeated, and nothing behind it either: a script goes on where it stands, or not at all.
BatchOutcome LastingConnection::executeAll(const std::vector<QByteArray> &statements)
{
    m_isCancelled = false;
    m_hasScript = true;
    const std::shared_ptr<Connection> inner = m_inner;
    if (!inner || !inner->isOpen())
        throw Failure(QStringLiteral("サーバーに接続されていません。"), 0, QStringLiteral("08003"));
    const std::shared_ptr<SessionState> state = m_state;
    const std::shared_ptr<const bool> isClosed = m_isClosed;
    heedBan(*inner);
    if (state->mustEndTransaction())
        for (const QByteArray &statement : statements)
            requireEnd(*state, QString::fromUtf8(statement));
    BatchOutcome outcome = ::executeAll(*inner, statements, [this] {
        if (m_isCancelled)
            throw interruptedError();
    });
    if (outcome.failure && outcome.failure->isConnectionLost() && !*isClosed)
        outcome.failure = given(*outcome.failure, true);
    return outcome;
}

RecordSet LastingConnection::sent(const QString &statement, const Send &send)
{
    m_isCancelled = false;
    const std::shared_ptr<Connection> inner = m_inner;
    if (!inner || !inner->isOpen())
        throw Failure(QStringLiteral("サーバーに接続されていません。"), 0, QStringLiteral("08003"));
    const std::shared_ptr<SessionState> state = m_state;
    const std::shared_ptr<const bool> isClosed = m_isClosed;
    try {
        if (heedBan(*inner) && statement == readOnlySession)
            return {};
        requireEnd(*state, statement);
        RecordSet rows = send(*inner);
        state->note(statement, inner->effect().isInTransaction);
        return rows;
    } catch (const Failure &failure) {
        if (!failure.isConnectionLost() || *isClosed)
            throw;
        m_lostPlaces->add(m_way, m_place, this);
        const bool onlyReads = canBeRepeated(statement);
        if (m_isCancelled || m_hasScript || state->isMissed() || !onlyReads)
            throw given(failure, !onlyReads);
        try {
            comeBack();
        } catch (const Failure &refusal) {
            if (!refusal.isInterrupted())
                m_lostPlaces->addRefusal(m_way, refusal);
            throw given(failure, false);
        }
    }
    return send(*m_inner);
}

void LastingConnection::comeBack()
{
    const QString use = m_state->database();
    const QString server = m_place.server;
    m_inner->close();
    open();
    // Another node of a cluster need not know yet what was done at the first one.
    if (m_place.server != server)
        throw Failure(QStringLiteral("再接続先は別のサーバーです(%1)。").arg(m_place.server));
    if (!use.isEmpty())
        m_inner->execute(use);
}

// Closed from now on, and the failure in words for the user.
Failure LastingConnection::given(const Failure &failure, bool mayBeDone)
{
    QStringList held = m_state->held();
    if (m_hasScript)
        held << QStringLiteral("実行した SQL ファイルが接続に設定したもの");
    m_inner->close();
    QStringList lines{QStringLiteral("サーバーとの接続が切れました。"), failure.description()};
    if (mayBeDone)
        lines << QStringLiteral(
            "文は実行されたかもしれません。送り直してはいないので、結果を確かめて下さい。");
    if (!held.isEmpty())
        lines << QStringLiteral("接続とともに失われました: ") + held.join(QStringLiteral("、"));
    return Failure(lines.join(u'\n'), failure.number(), failure.state());
}

} // namespace

Session::PumpedFactory lasting(Session::PumpedFactory factory)
{
    return [factory = std::move(factory), places = std::make_shared<LostPlaces>()](const QString &string,
                                                                                   Pump &pump) {
        const ConnectionFactory waitingInPump = [factory, &pump](const QString &text) {
            return factory(text, pump);
        };
        return std::make_unique<LastingConnection>(string, waitingInPump, places);
    };
}
