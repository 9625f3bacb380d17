#pragma once

#include "core/session/connectionprofile.h"

#include <QStringList>

#include <functional>
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
    // another program has changed the same one meanwhile, both stay, and `profile` becomes the second; where
    // it was removed, it is there again.
    QString put(ConnectionProfile &profile, const ConnectionProfile &before = {});
    // Unless another program has changed it since it was read.
    QString remove(ConnectionProfile profile); // by value: the list is read anew
    // Notes that the connection was used: the last ones are offered first.
    QString use(const QString &id);
    // Takes in what another store exported, and always says what came of it.
    QString import(const QString &path);
    // For others: without passwords.
    QString exportTo(const QString &path) const;

    const std::vector<ConnectionProfile> &profiles() const { return m_profiles; }
    const ConnectionProfile *find(const QString &id) const;
    // Newest first, at most ten, all of them among the profiles.
    std::vector<ConnectionProfile> lastUsed() const;

private:
    // To what the file holds now; gives words for the user.
    using Change = std::function<QString()>;
    QString change(const Change &change);
    QString take(const std::vector<ConnectionProfile> &brought);
    void take(const QByteArray &bytes, bool &isDamaged);
    QString keepAside(const QByteArray &bytes);
    QString write() const;

    QString m_path;
    std::vector<ConnectionProfile> m_profiles;
    QStringList m_used; // ids
    QJsonObject m_unknown;
    bool m_isLater = false; // of a later version: read as far as it is known, and not written
    QString m_refusal;      // why the file is neither read nor written
};

// What the saved connection's changes mean for the one that stands: what it is called and how it is shown,
// and what it may do, where that is less. The rest is for the next one.
ConnectionProfile inUse(ConnectionProfile used, const ConnectionProfile &saved);
