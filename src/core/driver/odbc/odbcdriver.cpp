#include "core/driver/odbc/odbcdriver.h"

#include "core/driver/native/nativehandle.h"
#include "core/driver/odbc/odbcconnect.h"
#include "core/driver/odbc/odbchandle.h"
#include "core/driver/odbc/odbcresult.h"
#include "core/driver/odbc/odbctext.h"
#include "core/driver/odbc/statementkind.h"
#include "core/driver/workerdriver.h"
#include "core/session/connectionstring.h"
#include "core/sql/resultlimits.h"
#include "core/sql/statements.h"

#include <array>

namespace {

const QString reopened = QStringLiteral(
    "ODBCドライバーがこの文の行を渡さないため、結果は表示できません（内蔵ドライバーでは可能）。"
    "接続をやり直したので、ユーザー変数・一時テーブル・ロックは失われ、"
    "確定していない変更は取り消されました。");
// A server that does not let a KILL in within this time is taken for dead.
constexpr std::chrono::seconds killLimit{2};

QString serverName(const OdbcConnectionHandle &connection)
{
    std::array<SQLWCHAR, 512> name{};
    SQLSMALLINT bytes = 0;
    if (!SQL_SUCCEEDED(SQLGetInfoW(connection.get(), SQL_SERVER_NAME, name.data(), sizeof name, &bytes)))
        return {};
    return QString::fromUtf16(reinterpret_cast<const char16_t *>(name.data()));
}

// The first cell of a statement's rows; empty when there are none.
QString firstCell(const OdbcConnectionHandle &connection, const QString &statement)
{
    const OdbcStatementHandle handle = sendOdbc(connection, statement);
    std::array<SQLWCHAR, 2048> text{};
    SQLLEN bytes = 0;
    if (SQLFetch(handle.get()) != SQL_SUCCESS ||
        SQLGetData(handle.get(), 1, SQL_C_WCHAR, text.data(), sizeof text, &bytes) != SQL_SUCCESS)
        return {};
    return QString::fromUtf16(reinterpret_cast<const char16_t *>(text.data()));
}

// Cells are read as UTF-8, but a data source may ask for another character set.
QString inUtf8(const QString &connectionString)
{
    const bool isOurs = !ConnectionString(connectionString).value(QStringLiteral("driver")).isEmpty();
    return isOurs ? connectionString : connectionString + QStringLiteral(";CHARSET=utf8mb4");
}

// What `send` gives; an answer that is larger than a result may be ends the connection, and is said to.
template <class Send>
std::unique_ptr<DriverResult> limitedAnswer(const Send &send)
{
    const AnswerWatch watch(mostResultBytes());
    try {
        return send();
    } catch (const Failure &error) {
        if (!watch.isTooLarge())
            throw;
        throw Failure(resultTooLarge().description(), error.number(), error.state());
    }
}

} // namespace

OdbcDriver::OdbcDriver(const QString &connectionString, Library library)
    : m_connectionString(inUtf8(connectionString))
    , m_tls(TlsOptions::of(ConnectionString(connectionString)))
    , m_mayUseLibrary(library == Library::IfShared)
    , m_environment(OdbcEnvironment::make())
{
}

OdbcDriver::~OdbcDriver() = default;

Driver::Opened OdbcDriver::connect()
{
    open();
    return {m_server, serverName(m_connection), m_encryption};
}

void OdbcDriver::open()
{
    OdbcConnection opened = connectOdbc(m_environment, m_connectionString, m_tls,
                                        connectLimit(ConnectionString(m_connectionString)));
    m_connection = std::move(opened.handle);
    if (opened.library)
        m_cutter.watch(mysql_get_socket(opened.library));
    m_library = m_mayUseLibrary ? opened.library : nullptr;
    m_encryption = opened.library ? opened.encryption : saidEncryption();
    const QStringList row =
        firstRow(QStringLiteral("select connection_id(), version(), @@character_set_client"));
    m_server = serverInfo(row.value(1));
    if (!row.value(2).startsWith(u"utf8"))
        speakUtf8();
    setSession(row.value(0), mark(row.value(0)));
}

// Where the driver's library cannot be watched the server's own words have to do, after the login.
Encryption OdbcDriver::saidEncryption()
{
    const auto status = [this](const char *name) {
        return firstRow(QStringLiteral("show session status like '%1'").arg(QLatin1String(name))).value(1);
    };
    const QString cipher = status("Ssl_cipher");
    if (cipher.isEmpty() && m_tls.requiresTls()) {
        disconnect();
        throw Failure(QStringLiteral("接続が暗号化されなかったため、切りました。"), 2026,
                      QStringLiteral("HY000"));
    }
    const bool isVerified = !cipher.isEmpty() && m_tls.verifies();
    return {!cipher.isEmpty(), isVerified, cipher, status("Ssl_version")};
}

// A server with skip-character-set-client-handshake, as many in Japan, takes no notice of what the driver
// asked for at connect: it would read UTF-8 as, say, Shift-JIS and store that. SET NAMES is refused by the
// driver.
void OdbcDriver::speakUtf8()
{
    const auto set = [this](const QString &name) {
        sendOdbc(m_connection, QStringLiteral("set character_set_client=%1, character_set_connection=%1, "
                                              "character_set_results=%1")
                                   .arg(name));
    };
    try {
        set(QStringLiteral("utf8mb4"));
    } catch (const Failure &) {
        set(QStringLiteral("utf8")); // all that MySQL before 5.5.3 knows
    }
}

QStringList OdbcDriver::firstRow(const QString &statement)
{
    const std::unique_ptr<DriverResult> result = execute(statement);
    RowBlock block;
    std::vector<Cell> cells;
    if (result)
        result->fetch(block);
    if (block.isEmpty())
        return {};
    block.read(0, cells);
    QStringList texts;
    for (const Cell &cell : cells)
        texts << QString::fromUtf8(cell.bytes.data(), static_cast<qsizetype>(cell.bytes.size()));
    return texts;
}

QString OdbcDriver::mark(const QString &session)
{
    try {
        return firstCell(m_connection, sessionMarkQuestion(m_server, session));
    } catch (const Failure &) {
        return {};
    }
}

void OdbcDriver::setSession(const QString &session, const QString &mark)
{
    const std::lock_guard lock(m_sessionMutex);
    m_session = session;
    m_mark = mark;
}

std::unique_ptr<DriverResult> OdbcDriver::execute(const QString &statement)
{
    m_note.clear();
    m_sort = sortOf(statement);
    m_effect = {};
    dropUnread();
    return limitedAnswer([&] {
        const bool isDangerous = StatementKind::mayLeaveRowsUnread(statement);
        if (m_library && (isDangerous || StatementKind::isShow(statement)))
            return executeAsText(m_library, statement);
        return executeByDriver(statement, isDangerous);
    });
}

std::unique_ptr<DriverResult> OdbcDriver::executeText(const QByteArray &statement)
{
    const QString text = QString::fromUtf8(statement);
    if (!m_library) {
        if (text.toUtf8() != statement)
            throw Failure(
                QStringLiteral("この文は文字でないバイトを含むため、このODBCドライバーでは送れません。"
                               "内蔵の接続を使って下さい。"));
        return execute(text);
    }
    m_note.clear();
    m_sort = sortOf(text);
    dropUnread();
    return limitedAnswer([&] {
        sendNative(m_library, {statement.constData(), static_cast<std::size_t>(statement.size())});
        m_keepsFurther = true;
        std::unique_ptr<DriverResult> result = storedResult(m_library);
        m_effect = effectOf(m_library);
        return result;
    });
}

bool OdbcDriver::nextResult(std::unique_ptr<DriverResult> &result)
{
    if (!m_keepsFurther || !m_library || !mysql_more_results(m_library))
        return false;
    if (mysql_next_result(m_library) > 0)
        throw nativeError(m_library);
    result = storedResult(m_library);
    m_effect = effectOf(m_library);
    return true;
}

// Results that nobody has asked for; the error of one belongs to a statement that is over.
void OdbcDriver::dropUnread()
{
    try {
        if (std::exchange(m_keepsFurther, false) && m_library)
            dropFurtherResults(m_library);
    } catch (const Failure &) {
        // A lost connection shows at the next statement.
    }
}

std::unique_ptr<DriverResult> OdbcDriver::executeByDriver(const QString &statement, bool isDangerous)
{
    const QString database = isDangerous ? defaultDatabase() : QString();
    OdbcStatementHandle handle;
    try {
        handle = sendOdbc(m_connection, statement, m_library && mayHaveVectors());
    } catch (const Failure &error) {
        constexpr int notPrepared = 1295;
        if (error.number() != notPrepared)
            throw;
        if (m_library)
            return executeAsText(m_library, statement);
        throw Failure(
            error.description() +
                QStringLiteral("\r\nこの文はODBCドライバーでは実行できません。内蔵の接続を使って下さい。"),
            error.number(), error.state());
    }
    if (!handle)
        return executeAsText(m_library, statement);
    SQLSMALLINT columns = 0;
    if (!SQL_SUCCEEDED(SQLNumResultCols(handle.get(), &columns)))
        throw odbcError(SQL_HANDLE_STMT, handle.get());
    requireFewColumns(columns);
    if (columns > 0) {
        auto result = std::make_unique<OdbcResult>(*this, std::move(handle), columns,
                                                   StatementKind::mayHaveFurtherResults(statement));
        if (!StatementKind::hasOneResult(statement))
            result->takeRest();
        return result;
    }
    SQLLEN rows = -1;
    if (SQL_SUCCEEDED(SQLRowCount(handle.get(), &rows)))
        m_effect.rowsTouched = rows;
    if (isDangerous) {
        m_effect = {};
        handle = OdbcStatementHandle();
        reopen(database);
        m_note = reopened;
    }
    return nullptr;
}

// Since MySQL 9; MariaDB's come as bytes.
bool OdbcDriver::mayHaveVectors() const
{
    return !m_server.isMariaDb && m_server.number >= 90000;
}

void OdbcDriver::reopen(const QString &database)
{
    const std::vector<OdbcResult *> results = m_results;
    for (OdbcResult *result : results)
        result->takeRest();
    disconnect();
    try {
        open();
        if (!database.isEmpty())
            sendOdbc(m_connection, useStatement(database));
    } catch (const Failure &) {
        // The statement itself was carried out; the next one says that the connection is lost.
        disconnect();
    }
}

QString OdbcDriver::defaultDatabase()
{
    std::array<SQLWCHAR, 512> name{};
    SQLINTEGER bytes = 0;
    if (!m_connection || !SQL_SUCCEEDED(SQLGetConnectAttrW(m_connection.get(), SQL_ATTR_CURRENT_CATALOG,
                                                           name.data(), sizeof name, &bytes)))
        return {};
    const QString text = QString::fromUtf16(reinterpret_cast<const char16_t *>(name.data()));
    // Connector/ODBC 3.1.15 says "null" where there is none; a database may be called that, too.
    return text == u"null" ? firstRow(QStringLiteral("select database()")).value(0) : text;
}

void OdbcDriver::settle()
{
    dropUnread();
    // A KILL that came after its statement may strike the next command: the ping behind this question, then.
    SQLUINTEGER isDead = SQL_CD_FALSE;
    if (m_connection)
        SQLGetConnectAttrW(m_connection.get(), SQL_ATTR_CONNECTION_DEAD, &isDead, sizeof isDead, nullptr);
}

void OdbcDriver::disconnect()
{
    setSession({}, {});
    m_keepsFurther = false;
    if (m_connection)
        SQLDisconnect(m_connection.get());
    m_connection = OdbcConnectionHandle();
    m_cutter.release();
    m_library = nullptr;
}

// Not by SQLCancel: when the statement ends at that moment, Connector/ODBC 3.1.15 closes the cursor under the
// hands of the thread that reads it; otherwise it does the same as here, without any limit of time.
Interruption OdbcDriver::interrupt(const Stop &stop)
{
    std::unique_lock lock(m_sessionMutex);
    const QString session = m_session, expected = m_mark;
    lock.unlock();
    if (session.isEmpty())
        return Interruption::NotReached;
    try {
        const OdbcEnvironment environment = OdbcEnvironment::make();
        // The database may be gone meanwhile.
        const QString string = withoutKey(m_connectionString, QStringLiteral("database"));
        const OdbcConnectionHandle second = connectOdbc(environment, string, m_tls, killLimit).handle;
        stop.onReached();
        if (expected.isEmpty() || firstCell(second, sessionMarkQuestion(m_server, session)) != expected)
            return Interruption::NotProven;
        const Interruption interruption = killAndWait(
            session, m_sort, stop, [&](const QString &statement) { sendOdbc(second, statement); });
        SQLDisconnect(second.get());
        return interruption;
    } catch (const Failure &) {
        return Interruption::NotReached;
    }
}
