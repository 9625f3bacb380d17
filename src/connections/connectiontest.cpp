#include "connections/connectiontest.h"

#include "core/session/basconnection.h"

#include <QElapsedTimer>

namespace {

QString encryptionText(const Encryption &encryption)
{
    if (!encryption.isEncrypted)
        return QStringLiteral("なし");
    return encryption.version + u' ' + encryption.cipher +
           (encryption.isVerified ? QStringLiteral("（証明書を確かめました）")
                                  : QStringLiteral("（証明書は確かめていません）"));
}

} // namespace

QString tryConnection(Session &session, const ConnectionProfile &profile, const QString &password)
{
    Session trial;
    trial.tls = session.tls;
    useProfile(trial, profile, password);
    QElapsedTimer clock;
    clock.start();
    const auto connection = session.makeConnection(connectionStringOf(trial));
    connection->open();
    const qint64 opened = clock.restart();
    connection->execute(QStringLiteral("select 1"));
    const qint64 answered = clock.elapsed();
    const ServerInfo server = connection->server();
    const QString text =
        QStringLiteral("接続できました。\nサーバー: %1 %2\n暗号化: %3\n接続: %4 ミリ秒、応答: %5 ミリ秒")
            .arg(server.isMariaDb ? QStringLiteral("MariaDB") : QStringLiteral("MySQL"), server.version,
                 encryptionText(connection->encryption()))
            .arg(opened)
            .arg(answered);
    connection->close();
    return text;
}
