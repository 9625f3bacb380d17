#include "core/native/nativehandle.h"

#include <new>
#include <string>

namespace {

// MariaDB may take two seconds over a KILL that meets the end of its statement.
constexpr NativeTimeouts killTimeouts{2, 10};

const char *orNull(const QByteArray &text)
{
    return text.isEmpty() ? nullptr : text.constData();
}

// With these options, even empty ones, the library encrypts whenever the server offers it.
void setTls(MYSQL *handle, const NativeOptions &options)
{
    mysql_ssl_set(handle, orNull(options.sslKey), orNull(options.sslCertificate),
                  orNull(options.sslAuthority), orNull(options.sslAuthorityFolder),
                  orNull(options.sslCipher));
    const my_bool verifies = options.verifiesServer;
    mysql_optionsv(handle, MYSQL_OPT_SSL_VERIFY_SERVER_CERT, &verifies);
}

// Connector/C 3.3 goes on in the clear when the server offers no TLS, also when told to enforce it.
void checkTls(MYSQL *handle, const NativeOptions &options)
{
    if (options.forcesTls && !mysql_get_ssl_cipher(handle))
        throw SqlError(QStringLiteral("サーバーがTLSに対応していないため、接続しません。"), 2026,
                       QStringLiteral("HY000"));
}

} // namespace

SqlError nativeError(MYSQL *handle)
{
    return SqlError(QString::fromUtf8(mysql_error(handle)), static_cast<int>(mysql_errno(handle)),
                    QString::fromLatin1(mysql_sqlstate(handle)));
}

NativeHandle connectNative(const NativeOptions &options, const NativeTimeouts &timeouts)
{
    NativeHandle handle(mysql_init(nullptr));
    if (!handle)
        throw std::bad_alloc();
    // The library would take "localhost" for the default socket and ignore the port.
    const unsigned protocol = MYSQL_PROTOCOL_TCP;
    mysql_optionsv(handle.get(), MYSQL_OPT_PROTOCOL, &protocol);
    mysql_optionsv(handle.get(), MYSQL_SET_CHARSET_NAME, "utf8mb4");
    // Else any server could ask for any file of the user's.
    const unsigned allowsLocalFiles = 0;
    mysql_optionsv(handle.get(), MYSQL_OPT_LOCAL_INFILE, &allowsLocalFiles);
    mysql_optionsv(handle.get(), MYSQL_OPT_CONNECT_TIMEOUT, &timeouts.connect);
    mysql_optionsv(handle.get(), MYSQL_OPT_READ_TIMEOUT, &timeouts.answer);
    setTls(handle.get(), options);
    if (!mysql_real_connect(handle.get(), options.host.constData(), options.user.constData(),
                            options.password.constData(), orNull(options.database), options.port, nullptr,
                            CLIENT_MULTI_RESULTS))
        throw nativeError(handle.get());
    checkTls(handle.get(), options);
    return handle;
}

void sendNative(MYSQL *handle, std::string_view statement)
{
    if (mysql_real_query(handle, statement.data(), static_cast<unsigned long>(statement.size())) != 0)
        throw nativeError(handle);
}

bool killQuery(const NativeOptions &options, unsigned long connectionId,
               const std::function<void()> &onReached)
{
    try {
        NativeOptions without = options;
        without.database.clear();
        const NativeHandle handle = connectNative(without, killTimeouts);
        onReached();
        sendNative(handle.get(), "KILL QUERY " + std::to_string(connectionId));
        return true;
    } catch (const SqlError &) {
        return false;
    }
}
