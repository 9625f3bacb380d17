#include "core/driver/native/nativedriver.h"

#include "core/driver/native/nativeresult.h"
#include "core/driver/workerdriver.h"
#include "core/sql/resultlimits.h"

#include <QScopeGuard>

namespace {

// A server with skip-character-set-client-handshake, as many in Japan, takes no notice of what the library
// asked for at connect: it would read UTF-8 as, say, Shift-JIS and store that.
void speakUtf8(MYSQL *handle)
{
    try {
        sendNative(handle, "SET NAMES utf8mb4");
    } catch (const Failure &error) {
        constexpr int mustChangePassword = 1820; // and may do nothing else before
        if (error.number() != mustChangePassword)
            sendNative(handle, "SET NAMES utf8"); // all that MySQL before 5.5.3 knows
    }
}

} // namespace

NativeDriver::NativeDriver(NativeOptions options)
    : m_options(std::move(options))
{
}

NativeDriver::~NativeDriver() = default;

Driver::Opened NativeDriver::connect()
{
    NativeConnection opened = connectNative(m_options, {m_options.connectSeconds, 0});
    m_handle = std::move(opened.handle);
    m_cutter.watch(mysql_get_socket(m_handle.get()));
    if (!m_options.localFile.isEmpty())
        m_localFile.emplace(m_options.localFile).serveOn(m_handle.get());
    speakUtf8(m_handle.get());
    const unsigned long id = mysql_thread_id(m_handle.get());
    setSession(NativeSession{id, sessionMark(m_handle.get(), id)});
    return {serverInfo(QString::fromUtf8(mysql_get_server_info(m_handle.get()))),
            QString::fromUtf8(m_options.host), opened.encryption};
}

std::unique_ptr<DriverResult> NativeDriver::execute(const QString &statement)
{
    m_sort = sortOf(statement);
    return send(statement.toUtf8(), false);
}

std::unique_ptr<DriverResult> NativeDriver::executeText(const QByteArray &statement)
{
    constexpr qsizetype farEnough = 4000; // for the word that says what sort it is
    m_sort = sortOf(QString::fromUtf8(statement.left(farEnough)));
    return send(statement, true);
}

std::unique_ptr<DriverResult> NativeDriver::executeLocal(const QString &statement, const LocalSource &source)
{
    if (!m_localFile)
        return Driver::executeLocal(statement, source);
    m_localFile->offer(source);
    const auto isOver = qScopeGuard([this] { m_localFile->withdraw(); });
    try {
        return execute(statement);
    } catch (const Failure &) {
        // What the source failed with says more than what was made of it on the way through the library.
        m_localFile->requireNoFailure();
        throw;
    }
}

std::unique_ptr<DriverResult> NativeDriver::send(const QByteArray &text, bool keepsFurther)
{
    if (m_streaming)
        m_streaming->takeRest();
    dropUnread();
    m_keepsFurther = keepsFurther;
    sendNative(m_handle.get(), {text.constData(), static_cast<std::size_t>(text.size())});
    return currentResult(NativeResult::mayBeKilled(text));
}

std::unique_ptr<DriverResult> NativeDriver::currentResult(bool mayBeKilled)
{
    NativeRows rows(mysql_use_result(m_handle.get()));
    if (rows) {
        requireFewColumns(mysql_num_fields(rows.get()));
        auto result = std::make_unique<NativeResult>(*this, std::move(rows), mayBeKilled);
        m_streaming = result.get();
        return result;
    }
    if (mysql_field_count(m_handle.get()) != 0)
        throw nativeError(m_handle.get());
    if (!m_keepsFurther)
        dropFurtherResults(m_handle.get());
    return nullptr;
}

bool NativeDriver::nextResult(std::unique_ptr<DriverResult> &result)
{
    if (m_streaming)
        m_streaming->dropRest();
    if (!m_keepsFurther || !mysql_more_results(m_handle.get()))
        return false;
    if (mysql_next_result(m_handle.get()) > 0)
        throw nativeError(m_handle.get());
    result = currentResult(false);
    return true;
}

// Results that nobody has asked for; the error of one belongs to a statement that is over.
void NativeDriver::dropUnread()
{
    try {
        if (std::exchange(m_keepsFurther, false) && m_handle)
            dropFurtherResults(m_handle.get());
    } catch (const Failure &) {
        // A lost connection shows at the next statement.
    }
}

void NativeDriver::settle()
{
    if (m_streaming)
        m_streaming->dropRest();
    dropUnread();
    // A KILL that came after its statement may strike the next command: this one, then.
    if (m_handle)
        mysql_ping(m_handle.get());
}

void NativeDriver::giveUpRows()
{
    if (!m_streaming)
        return;
    m_cutter.cut();
    m_streaming->dropRest();
}

void NativeDriver::disconnect()
{
    setSession({});
    m_handle.reset();
    m_cutter.release();
}

void NativeDriver::setSession(std::optional<NativeSession> session)
{
    const std::lock_guard lock(m_sessionMutex);
    m_session = std::move(session);
}

Interruption NativeDriver::interrupt(const Stop &stop)
{
    std::unique_lock lock(m_sessionMutex);
    std::optional<NativeSession> session = m_session;
    lock.unlock();
    if (session)
        session->sort = m_sort;
    return session ? killQuery(m_options, *session, stop) : Interruption::NotReached;
}
