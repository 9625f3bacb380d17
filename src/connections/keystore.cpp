#include "connections/keystore.h"

#include <QCoreApplication>
#include <QFile>

namespace {

QString modulePath(const QString &folder)
{
    const QString program = QCoreApplication::applicationDirPath();
    for (const QString &place : {folder, program, program + QStringLiteral("/../lib/tarnwell")})
        if (const QString path = place + QStringLiteral("/tarnwell_keystore.so");
            !place.isEmpty() && QFile::exists(path))
            return path;
    return QStringLiteral("tarnwell_keystore");
}

} // namespace

KeyStore::KeyStore(const QString &folder)
    : m_module(modulePath(folder))
{
}

bool KeyStore::call(const char *action, const QString &id, QString &password, QString &why)
{
    const auto function = reinterpret_cast<Call *>(m_module.resolve("tarnwellKeyStore"));
    if (function)
        return function(action, id, password, why);
    why = QStringLiteral("このプログラムは、キーストアを使えるように作られていません。");
    return false;
}

std::optional<QString> KeyStore::read(const QString &id, QString &why)
{
    QString password;
    return call("read", id, password, why) ? std::optional(password) : std::nullopt;
}

QString KeyStore::write(const QString &id, const QString &password)
{
    QString text = password, why;
    call("write", id, text, why);
    return why;
}

QString KeyStore::remove(const QString &id)
{
    QString none, why;
    call("remove", id, none, why);
    return why;
}
