#include "core/driver/native/nativehandle.h"

#include "core/driver/native/wirewatch.h"
#include "core/driver/sessionkill.h"
#include "core/driver/workerdriver.h"

#include <QFile>

#include <fcntl.h>
#include <new>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace {

// MariaDB may take two seconds over a KILL that meets the end of its statement.
constexpr NativeTimeouts killTimeouts{2, 10};

const char *orNull(const QByteArray &text)
{
    return text.isEmpty() ? nullptr : text.constData();
}

void setTls(MYSQL *handle, const TlsOptions &tls)
{
    const std::pair<mysql_option, QString> texts[] = {
        {MYSQL_OPT_SSL_CA, tls.authority},     {MYSQL_OPT_SSL_CAPATH, tls.authorityFolder},
        {MYSQL_OPT_SSL_CERT, tls.certificate}, {MYSQL_OPT_SSL_KEY, tls.key},
        {MYSQL_OPT_SSL_CIPHER, tls.cipher},    {MARIADB_OPT_TLS_PEER_FP, tls.fingerprint}};
    for (const auto &[option, text] : texts)
        if (!text.isEmpty())
            mysql_optionsv(handle, option, QFile::encodeName(text).constData());
    const my_bool verifies = tls.mode == TlsMode::Verified;
    mysql_optionsv(handle, MYSQL_OPT_SSL_VERIFY_SERVER_CERT, &verifies);
}

NativeHandle configured(const NativeOptions &options, const NativeTimeouts &timeouts)
{
    NativeHandle handle(mysql_init(nullptr));
    if (!handle)
        throw std::bad_alloc();
    // The library would take "localhost" for the default socket and ignore the port.
    const unsigned protocol = MYSQL_PROTOCOL_TCP;
    mysql_optionsv(handle.get(), MYSQL_OPT_PROTOCOL, &protocol);
    mysql_optionsv(handle.get(), MYSQL_SET_CHARSET_NAME, "utf8mb4");
    // Else any server could ask for any file of the user's. Where one may be read, LocalFile keeps watch.
    const unsigned allowsLocalFiles = options.localFile.isEmpty() ? 0 : 1;
    mysql_optionsv(handle.get(), MYSQL_OPT_LOCAL_INFILE, &allowsLocalFiles);
    mysql_optionsv(handle.get(), MYSQL_OPT_CONNECT_TIMEOUT, &timeouts.connect);
    mysql_optionsv(handle.get(), MYSQL_OPT_READ_TIMEOUT, &timeouts.answer);
    setTls(handle.get(), options.tls);
    return handle;
}

} // namespace

Failure nativeError(MYSQL *handle)
{
    return Failure(QString::fromUtf8(mysql_error(handle)), static_cast<int>(mysql_errno(handle)),
                   QString::fromLatin1(mysql_sqlstate(handle)));
}

NativeConnection connectNative(const NativeOptions &options, const NativeTimeouts &timeouts)
{
    return loginWatched(options.tls, [&](LoginWatch &watch) {
        NativeHandle handle = configured(options, timeouts);
        watch.expectCertificateFor(options.certificateHost);
        if (!mysql_real_connect(
                handle.get(), options.host.constData(), options.user.constData(),
                options.password.constData(), orNull(options.database), options.port, nullptr,
                CLIENT_MULTI_RESULTS |
                    (options.handlesExpiredPassword ? CLIENT_CAN_HANDLE_EXPIRED_PASSWORDS : 0)))
            throw nativeError(handle.get());
        // Else a program that is started meanwhile, an editor say, keeps the connection and its locks on the
        // server beyond its end here.
        fcntl(mysql_get_socket(handle.get()), F_SETFD, FD_CLOEXEC);
        return NativeConnection{std::move(handle), watch.encryption()};
    });
}

void sendNative(MYSQL *handle, std::string_view statement)
{
    if (mysql_real_query(handle, statement.data(), static_cast<unsigned long>(statement.size())) != 0)
        throw nativeError(handle);
}

void dropFurtherResults(MYSQL *handle)
{
    while (mysql_more_results(handle)) {
        if (mysql_next_result(handle) > 0)
            throw nativeError(handle);
        const NativeRows rows(mysql_use_result(handle));
        while (rows && mysql_fetch_row(rows.get())) {
        }
        if (mysql_errno(handle) != 0)
            throw nativeError(handle);
    }
}

Effect effectOf(MYSQL *handle)
{
    constexpr unsigned inTransaction = 1; // SERVER_STATUS_IN_TRANS of the protocol
    Effect effect;
    if (!handle)
        return effect;
    if (mysql_field_count(handle) == 0)
        effect.rowsTouched = static_cast<qint64>(mysql_affected_rows(handle));
    effect.warnings = static_cast<int>(mysql_warning_count(handle));
    unsigned status = 0;
    if (mariadb_get_infov(handle, MARIADB_CONNECTION_SERVER_STATUS, &status) == 0)
        effect.isInTransaction = (status & inTransaction) != 0;
    effect.hasFurther = mysql_more_results(handle);
    return effect;
}

QByteArray firstCell(MYSQL *handle, const QString &statement)
{
    sendNative(handle, statement.toStdString());
    const NativeRows rows(mysql_store_result(handle));
    if (!rows)
        throw nativeError(handle);
    const MYSQL_ROW row = mysql_fetch_row(rows.get());
    return row && mysql_num_fields(rows.get()) > 0 ? QByteArray(row[0]) : QByteArray();
}

QByteArray sessionMark(MYSQL *handle, unsigned long id)
{
    const ServerInfo server = serverInfo(QString::fromUtf8(mysql_get_server_info(handle)));
    try {
        return firstCell(handle, sessionMarkQuestion(server, QString::number(id)));
    } catch (const Failure &) {
        return {};
    }
}

Interruption killQuery(const NativeOptions &options, const NativeSession &session, const Stop &stop)
{
    try {
        NativeOptions without = options;
        without.database.clear();
        without.localFile.clear();
        const NativeHandle handle = connectNative(without, killTimeouts).handle;
        stop.onReached();
        if (session.mark.isEmpty() || sessionMark(handle.get(), session.id) != session.mark)
            return Interruption::NotProven;
        return killAndWait(
            QString::number(session.id), session.sort, stop,
            [&handle](const QString &statement) { sendNative(handle.get(), statement.toStdString()); });
    } catch (const Failure &) {
        return Interruption::NotReached;
    }
}

void SocketCutter::watch(int socket)
{
    release();
    const std::lock_guard lock(m_mutex);
    m_socket = fcntl(socket, F_DUPFD_CLOEXEC, 0);
}

void SocketCutter::release()
{
    const std::lock_guard lock(m_mutex);
    if (m_socket >= 0)
        close(m_socket);
    m_socket = -1;
}

bool SocketCutter::cut()
{
    const std::lock_guard lock(m_mutex);
    if (m_socket < 0)
        return false;
    // Reset when it is closed: else the system waits a minute for a server whose rows nobody takes any more,
    // and the server keeps the statement's locks until then.
    const linger atOnce{1, 0};
    setsockopt(m_socket, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    return shutdown(m_socket, SHUT_RDWR) == 0;
}
