#include "connections/connectionstore.h"

#include "core/session/session.h"
#include "core/session/wholefile.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QUuid>

#include <algorithm>
#include <utility>

namespace {

constexpr qsizetype mostUsed = 10;

std::vector<ConnectionProfile> profilesOf(const QJsonValue &list, bool &isDamaged)
{
    std::vector<ConnectionProfile> profiles;
    isDamaged |= !list.isArray();
    for (const QJsonValue &value : list.toArray()) {
        ConnectionProfile profile = ConnectionProfile::of(value.toObject());
        isDamaged |= !value.isObject();
        if (profile.name.isEmpty() && profile.server.isEmpty() && profile.source.isEmpty())
            continue;
        if (profile.id.isEmpty())
            profile.id = QUuid::createUuid().toString(QUuid::WithoutBraces);
        profiles.push_back(std::move(profile));
    }
    return profiles;
}

QByteArray document(const QJsonArray &connections, QJsonObject root)
{
    root[u"version"] = 1;
    root[u"connections"] = connections;
    return QJsonDocument(root).toJson();
}

QString named(const QString &path, const QString &words)
{
    return words.isEmpty() ? words : QDir::toNativeSeparators(path) + QStringLiteral(": ") + words;
}

auto position(auto &profiles, const QString &id)
{
    return std::ranges::find_if(profiles, [&](const auto &each) { return each.id == id; });
}

// The same connection, whatever it is called in the two lists.
bool isSame(ConnectionProfile left, const ConnectionProfile &right)
{
    left.id = right.id;
    left.password = right.password;
    return left == right;
}

} // namespace

QString connectionsFile(const Session &session)
{
    return (session.settingsFolder.isEmpty() ? session.programFolder : session.settingsFolder) +
           QStringLiteral("/connections.json");
}

QString ConnectionStore::read()
{
    const std::vector<ConnectionProfile> known = std::exchange(m_profiles, {});
    m_used.clear();
    m_unknown = {};
    m_refusal = whyLeftAlone(m_path);
    QFile file(m_path);
    if (!m_refusal.isEmpty() || !file.exists())
        return m_refusal;
    withdrawFromOthers(m_path);
    if (!file.open(QIODevice::ReadOnly))
        return m_refusal = named(m_path, file.errorString());
    const QByteArray bytes = file.readAll();
    bool isDamaged = false;
    take(bytes, isDamaged);
    if (!isDamaged)
        return {};
    // What was read before it was damaged is not lost with it.
    for (const ConnectionProfile &profile : known)
        if (!find(profile.id))
            m_profiles.push_back(profile);
    return keepAside(bytes);
}

void ConnectionStore::take(const QByteArray &bytes, bool &isDamaged)
{
    if (bytes.trimmed().isEmpty())
        return;
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    isDamaged = error.error != QJsonParseError::NoError || !document.isObject();
    if (isDamaged)
        return;
    QJsonObject root = document.object();
    m_profiles = profilesOf(root.take(u"connections"), isDamaged);
    for (const QJsonValue &id : root.take(u"used").toArray())
        m_used << id.toString();
    m_unknown = root;
}

QString ConnectionStore::keepAside(const QByteArray &bytes)
{
    QString aside;
    for (int number = 1; aside.isEmpty() || QFile::exists(aside); ++number)
        aside = m_path + QStringLiteral(".damaged-%1").arg(number);
    if (const QString failure = saveWholeFile(aside, bytes, Readers::OwnerOnly); !failure.isEmpty())
        return m_refusal = named(aside, failure);
    // Read once: the next reading finds what can be used.
    if (const QString failure = write(); !failure.isEmpty())
        return m_refusal = failure;
    return QStringLiteral(
               "接続先のファイルが壊れています。読めたものだけを使い、元のファイルは「%1」に残しました。")
        .arg(QDir::toNativeSeparators(aside));
}

QString ConnectionStore::write() const
{
    QJsonArray connections;
    for (const ConnectionProfile &profile : m_profiles)
        connections << profile.object();
    QJsonObject root = m_unknown;
    root[u"used"] = QJsonArray::fromStringList(m_used);
    return named(m_path, saveWholeFile(m_path, document(connections, root), Readers::OwnerOnly));
}

QString ConnectionStore::put(ConnectionProfile &profile, const ConnectionProfile &before)
{
    const FileLock lock(m_path);
    QString words = read();
    if (!m_refusal.isEmpty())
        return m_refusal;
    if (profile.id.isEmpty())
        profile.id = QUuid::createUuid().toString(QUuid::WithoutBraces);
    if (profile.keeping != PasswordKeeping::File)
        profile.password.clear();
    auto found = position(m_profiles, profile.id);
    if (found != m_profiles.end() && *found != before && *found != profile) {
        words += QStringLiteral("「%1」は、ほかのプログラムでも変更されました。両方を残します。")
                     .arg(profile.name);
        profile.id = QUuid::createUuid().toString(QUuid::WithoutBraces);
        profile.name += QStringLiteral(" (2)");
        found = m_profiles.end();
    }
    if (found == m_profiles.end())
        m_profiles.push_back(profile);
    else
        *found = profile;
    const QString failure = write();
    return failure.isEmpty() ? words : failure;
}

QString ConnectionStore::remove(const QString &id)
{
    const FileLock lock(m_path);
    const QString words = read();
    if (!m_refusal.isEmpty())
        return m_refusal;
    std::erase_if(m_profiles, [&](const ConnectionProfile &each) { return each.id == id; });
    const QString failure = write();
    return failure.isEmpty() ? words : failure;
}

QString ConnectionStore::use(const QString &id)
{
    const FileLock lock(m_path);
    const QString words = read();
    if (!m_refusal.isEmpty())
        return m_refusal;
    m_used.removeAll(id);
    m_used.prepend(id);
    m_used = m_used.mid(0, mostUsed);
    const QString failure = write();
    return failure.isEmpty() ? words : failure;
}

QString ConnectionStore::import(const QString &path, int &count)
{
    count = 0;
    QFile file(path);
    if (const QString why = whyLeftAlone(path); !why.isEmpty())
        return why;
    if (!file.open(QIODevice::ReadOnly))
        return named(path, file.errorString());
    bool isDamaged = false;
    const QJsonObject root = QJsonDocument::fromJson(file.readAll()).object();
    const std::vector<ConnectionProfile> brought = profilesOf(root[u"connections"], isDamaged);
    if (isDamaged)
        return QStringLiteral("「%1」は接続先のファイルではありません。").arg(QDir::toNativeSeparators(path));

    const FileLock lock(m_path);
    const QString words = read();
    if (!m_refusal.isEmpty())
        return m_refusal;
    for (ConnectionProfile profile : brought) {
        profile.password.clear(); // a file from elsewhere brings none
        if (std::ranges::any_of(m_profiles, [&](const auto &each) { return isSame(each, profile); }))
            continue;
        // One of the same origin that was changed since is another one.
        if (find(profile.id))
            profile.id = QUuid::createUuid().toString(QUuid::WithoutBraces);
        m_profiles.push_back(std::move(profile));
        ++count;
    }
    const QString failure = write();
    return failure.isEmpty() ? words : failure;
}

QString ConnectionStore::exportTo(const QString &path) const
{
    QJsonArray connections;
    for (const ConnectionProfile &profile : m_profiles)
        connections << profile.objectWithoutPassword();
    return named(path, saveWholeFile(path, document(connections, {})));
}

const ConnectionProfile *ConnectionStore::find(const QString &id) const
{
    const auto found = position(m_profiles, id);
    return found == m_profiles.end() ? nullptr : &*found;
}

std::vector<ConnectionProfile> ConnectionStore::lastUsed() const
{
    std::vector<ConnectionProfile> last;
    for (const QString &id : m_used)
        if (const ConnectionProfile *profile = find(id))
            last.push_back(*profile);
    return last;
}
