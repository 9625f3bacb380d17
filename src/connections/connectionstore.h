#pragma once

#include "core/session/connectionprofile.h"

#include <QStringList>

#include <vector>

struct Session;

// Where the saved connections are kept: beside the settings.
QString connectionsFile(const Session &session);

// The saved connections, in a file that several programs may change at the same time: each change is made to
// what the file holds then, and nothing of another program's is lost. What the user has to know of a call
// is its value; mostly nothing.
class ConnectionStore {
public:
    explicit ConnectionStore(QString path)
        : m_path(std::move(path))
    {
    }

    // Reads anew. A damaged file is kept aside, and read as far as it makes sense.
    QString read();
    // The profile as it is now in place of what it was when it was read; a new one has no `before`. Where
    // another program has changed the same one meanwhile, both stay, and `profile` becomes the second.
    QString put(ConnectionProfile &profile, const ConnectionProfile &before = {});
    QString remove(const QString &id);
    // Notes that the connection was used: the last ones are offered first.
    QString use(const QString &id);
    // Takes in what another store exported; how many there were that are not here already.
    QString import(const QString &path, int &count);
    // For others: without passwords.
    QString exportTo(const QString &path) const;

    const std::vector<ConnectionProfile> &profiles() const { return m_profiles; }
    const ConnectionProfile *find(const QString &id) const;
    // Newest first, at most ten, all of them among the profiles.
    std::vector<ConnectionProfile> lastUsed() const;

private:
    void take(const QByteArray &bytes, bool &isDamaged);
    QString keepAside(const QByteArray &bytes);
    QString write() const;

    QString m_path;
    std::vector<ConnectionProfile> m_profiles;
    QStringList m_used; // ids
    QJsonObject m_unknown;
    QString m_refusal; // why the file is neither read nor written
};
