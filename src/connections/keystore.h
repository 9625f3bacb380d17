#pragma once

#include <QLibrary>
#include <QString>

#include <optional>

// The desktop's key store (the secret service, KWallet). Its library is a module of its own, loaded by the
// first call, so that it costs a start nothing. Each call runs events until the store has answered, which
// may first ask the user to unlock it; called as something that the session's runner runs.
class KeyStore {
public:
    // Looks for the module in the program's folder unless told where.
    explicit KeyStore(const QString &folder = {});

    // No value: none is kept, or the store cannot be asked; then `why` has the words.
    std::optional<QString> read(const QString &id, QString &why);
    // Returns why it failed; empty: done. What is not there counts as removed.
    QString write(const QString &id, const QString &password);
    QString remove(const QString &id);

private:
    using Call = bool(const char *action, const QString &id, QString &password, QString &why);

    bool call(const char *action, const QString &id, QString &password, QString &why);

    QLibrary m_module;
};
