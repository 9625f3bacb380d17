#pragma once

#include "core/session/tlsoptions.h"
#include "core/sql/connection.h"
#include "core/sql/failure.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <mysql.h>
#include <optional>

// What the client library reads from a server is seen here before the library acts on it. MariaDB's ODBC
// driver works with the same library, so both kinds of connection are watched; an ODBC driver that brings a
// library of its own is not. Each watch is for the thread that made it, one at a time.

// Guards one attempt to connect. Connector/C 3.3 would go on without TLS where the server's offer was taken
// out on the way, and would give the password in whatever form the server asks for.
class LoginWatch {
public:
    enum class Tls { AsOffered, Never };
    LoginWatch(const TlsOptions &demands, Tls tls);
    ~LoginWatch();
    LoginWatch(const LoginWatch &) = delete;
    LoginWatch &operator=(const LoginWatch &) = delete;

    // The certificate is to be for that host, not for the one that is connected to; empty: no difference.
    void expectCertificateFor(const QByteArray &host) { m_certificateHost = host; }
    // The login failed because of what the server asked for or did not offer.
    bool isRefused() const { return !m_refusal.isEmpty(); }
    Failure refusal(const Failure &error) const { return Failure(m_refusal, error.number(), error.state()); }
    const Encryption &encryption() const { return m_encryption; }
    // The library's handle, valid while the connection stands; null for a driver with a library of its own.
    MYSQL *handle() const { return m_handle; }

private:
    friend void watchWire(int isWrite, MYSQL *handle, const unsigned char *bytes, std::size_t size);
    void nameCertificateHost(MYSQL *handle);
    void read(MYSQL *handle, QByteArrayView bytes);
    void judge(QByteArrayView packet);
    void judgeGreeting(QByteArrayView packet);
    bool isVerifying() const;
    void refuse(const QString &why);

    const TlsOptions m_demands;
    const Tls m_tls;
    MYSQL *m_handle = nullptr;
    QByteArray m_certificateHost;
    QByteArray m_unread; // the packet that has not yet come to its end
    bool m_isGreeted = false, m_isOver = false;
    QString m_refusal;
    Encryption m_encryption;
};

// Lets `connect` connect under a watch and gives back what that gives. Throws the watch's own words where it
// broke the connection. Where encryption fails and nobody demands it, as with servers that know only TLS 1.0,
// it is tried once more without.
template <typename Connect>
auto loginWatched(const TlsOptions &demands, const Connect &connect)
{
    constexpr int encryptionFailed = 2026;
    std::optional<Failure> failure;
    for (const LoginWatch::Tls tls : {LoginWatch::Tls::AsOffered, LoginWatch::Tls::Never}) {
        LoginWatch watch(demands, tls);
        try {
            return connect(watch);
        } catch (const Failure &error) {
            if (failure && watch.isRefused()) // a data source demands encryption by itself
                break;
            failure = watch.isRefused() ? watch.refusal(error) : error;
            if (watch.isRefused() || error.number() != encryptionFailed || demands.requiresTls())
                break;
        }
    }
    throw Failure(*failure);
}

// Breaks the connection off when a statement's answer grows beyond what a result may take.
class AnswerWatch {
public:
    explicit AnswerWatch(std::uint64_t mostBytes);
    ~AnswerWatch();
    AnswerWatch(const AnswerWatch &) = delete;
    AnswerWatch &operator=(const AnswerWatch &) = delete;

    bool isTooLarge() const { return m_bytes > m_mostBytes; }

private:
    friend void watchWire(int isWrite, MYSQL *handle, const unsigned char *bytes, std::size_t size);
    const std::uint64_t m_mostBytes;
    std::uint64_t m_bytes = 0;
};
