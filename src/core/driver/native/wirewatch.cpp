#include "core/driver/native/wirewatch.h"

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <sys/socket.h>
#include <type_traits>

// Exported by Connector/C, and declared in a header of its own that does not compile by itself.
extern "C" int ma_pvio_register_callback(my_bool adds,
                                         void (*callback)(int, MYSQL *, const unsigned char *, std::size_t));

namespace {

// What proves a password without giving it away; GSSAPI knows no password at all. Not the hash of servers
// before 4.1, which is broken in moments.
const char *allowedPlugins(const TlsOptions &demands)
{
    if (demands.allowsClearText && demands.verifies())
        return "mysql_native_password,caching_sha2_password,sha256_password,client_ed25519,parsec,"
               "auth_gssapi_client,mysql_clear_password,dialog";
    return "mysql_native_password,caching_sha2_password,sha256_password,client_ed25519,parsec,"
           "auth_gssapi_client";
}

const QString revealing =
    QStringLiteral("サーバーがパスワードを明かす認証方式「%1」を求めたため、接続しません。");

// A login takes a few hundred bytes.
constexpr qsizetype longestLogin = 1024 * 1024;

thread_local LoginWatch *loginWatch = nullptr;
thread_local AnswerWatch *answerWatch = nullptr;

void breakOff(MYSQL *handle)
{
    shutdown(mysql_get_socket(handle), SHUT_RDWR);
}

} // namespace

void watchWire(int isWrite, MYSQL *handle, const unsigned char *bytes, std::size_t size)
{
    if (isWrite != 0 && loginWatch && handle)
        loginWatch->nameCertificateHost(handle);
    if (isWrite != 0 || !handle || static_cast<std::make_signed_t<std::size_t>>(size) <= 0)
        return;
    if (answerWatch && !answerWatch->isTooLarge() &&
        (answerWatch->m_bytes += size, answerWatch->isTooLarge()))
        breakOff(handle);
    if (loginWatch)
        loginWatch->read(handle, {bytes, static_cast<qsizetype>(size)});
}

LoginWatch::LoginWatch(const TlsOptions &demands, Tls tls)
    : m_demands(demands)
    , m_tls(tls)
{
    static std::once_flag once;
    std::call_once(once, [] { ma_pvio_register_callback(true, watchWire); });
    loginWatch = this;
}

LoginWatch::~LoginWatch()
{
    loginWatch = nullptr;
}

// The library compares the certificate with its own copy of the host that it has connected to, made with
// strdup() when the greeting was read. The first thing it writes then asks for TLS.
void LoginWatch::nameCertificateHost(MYSQL *handle)
{
    if (m_certificateHost.isEmpty() || !handle->host)
        return;
    if (char *name = strdup(m_certificateHost.constData())) {
        free(handle->host);
        handle->host = name;
    }
    m_certificateHost.clear();
}

void LoginWatch::read(MYSQL *handle, QByteArrayView bytes)
{
    if (m_isOver)
        return;
    m_handle = handle;
    m_unread.append(bytes);
    // Three bytes length, one byte number.
    const auto byteAt = [this](qsizetype i) { return static_cast<unsigned char>(m_unread[i]); };
    while (!m_isOver && m_unread.size() >= 4) {
        const qsizetype size = byteAt(0) + byteAt(1) * 256 + byteAt(2) * 65536;
        if (m_unread.size() < 4 + size)
            break;
        judge(QByteArrayView(m_unread).sliced(4, size));
        m_unread.remove(0, 4 + size);
    }
    if (!m_isOver && m_unread.size() > longestLogin)
        refuse(QStringLiteral("サーバーの応答が長すぎるため、接続しません。"));
}

void LoginWatch::judge(QByteArrayView packet)
{
    constexpr char okay = '\0', failure = '\xff', otherPlugin = '\xfe';
    const char kind = packet.isEmpty() ? failure : packet[0];
    if (kind == failure) {
        m_isOver = true;
    } else if (!m_isGreeted) {
        m_isGreeted = true;
        judgeGreeting(packet);
    } else if (kind == otherPlugin) {
        const QByteArray rest = packet.sliced(1).toByteArray();
        const QByteArray name = rest.left(rest.indexOf('\0'));
        if (name.isEmpty() || !QByteArray(allowedPlugins(m_demands)).contains(name))
            m_refusal =
                revealing.arg(name.isEmpty() ? QStringLiteral("mysql_old_password") // nothing is named
                                             : QString::fromUtf8(name));
    } else if (kind == okay) {
        m_isOver = true;
        const char *cipher = mysql_get_ssl_cipher(m_handle), *version = nullptr;
        mariadb_get_infov(m_handle, MARIADB_CONNECTION_TLS_VERSION, &version);
        m_encryption = {cipher != nullptr, cipher && isVerifying(), QString::fromLatin1(cipher),
                        QString::fromLatin1(version)};
    }
}

// Protocol, version, 0, number of the connection, first part of the scramble, 0, what the server can do.
void LoginWatch::judgeGreeting(QByteArrayView packet)
{
    constexpr unsigned char offersTls = 0x08; // of the second byte
    const qsizetype capabilities = packet.indexOf('\0') + 1 + 4 + 8 + 1;
    const bool isOffered = packet.size() > capabilities + 1 && m_tls == Tls::AsOffered &&
                           (static_cast<unsigned char>(packet[capabilities + 1]) & offersTls) != 0;
    // A data source may ask for it by itself.
    const bool isRequired = m_demands.requiresTls() || m_handle->options.use_ssl || isVerifying();
    if (!isOffered && isRequired)
        refuse(QStringLiteral("サーバーがTLSに対応していないため、接続しません。"));
    // Left on, the library takes the connection for an encrypted one and gives passwords away.
    m_handle->options.use_ssl = isOffered;
    mysql_optionsv(m_handle, MARIADB_OPT_RESTRICTED_AUTH, allowedPlugins(m_demands));
    // By itself the library would log in again, unwatched, and go on in another session.
    const my_bool reconnects = false;
    mysql_optionsv(m_handle, MYSQL_OPT_RECONNECT, &reconnects);
}

bool LoginWatch::isVerifying() const
{
    return m_demands.verifies() || (m_handle->options.client_flag & CLIENT_SSL_VERIFY_SERVER_CERT) != 0;
}

void LoginWatch::refuse(const QString &why)
{
    m_isOver = true;
    m_refusal = why;
    breakOff(m_handle);
}

AnswerWatch::AnswerWatch(std::uint64_t mostBytes)
    : m_mostBytes(mostBytes)
{
    answerWatch = this;
}

AnswerWatch::~AnswerWatch()
{
    answerWatch = nullptr;
}
