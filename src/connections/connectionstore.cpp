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
constexpr int ownVersion = 1;

// The same at each reading, so that one that is chosen is found again.
void giveOwnId(ConnectionProfile &profile, const std::vector<ConnectionProfile> &others)
{
    if (profile.id.isEmpty())
        profile.id = QUuid::createUuidV5(QUuid(), profile.name + u'\n' + profile.server + profile.source)
                         .toString(QUuid::WithoutBraces);
    while (std::ranges::any_of(others, [&](const auto &each) { return each.id == profile.id; }))
        profile.id += QStringLiteral("-2");
}

std::vector<ConnectionProfile> profilesOf(const QJsonValue &list, bool &isDamaged)
{
    std::vector<ConnectionProfile> profiles;
    isDamaged |= !list.isArray();
    for (const QJsonValue &value : list.toArray()) {
        ConnectionProfile profile = ConnectionProfile::of(value.toObject());
        isDamaged |= !value.isObject();
        if (profile.id.isEmpty() && profile.name.isEmpty() && profile.server.isEmpty() &&
            profile.source.isEmpty())
            continue;
        giveOwnId(profile, profiles);
        profiles.push_back(std::move(profile));
    }
    return profiles;
}

QByteArray document(const QJsonArray &connections, QJsonObject root)
{
    root[u"version"] = ownVersion;
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

// What a later version has written it may mean otherwise.
bool isOfLaterVersion(const QJsonObject &root)
{
    return root[u"version"].toInt() > ownVersion;
}

// One of that name in that folder would be taken for the other.
QString freeName(const ConnectionProfile &profile, const std::vector<ConnectionProfile> &others)
{
    const auto isTaken = [&](const QString &name) {
        return std::ranges::any_of(
            others, [&](const auto &each) { return each.name == name && each.folder == profile.folder; });
    };
    QString name = profile.name;
    for (int number = 2; isTaken(name); ++number)
        name = profile.name + QStringLiteral(" (%1)").arg(number);
    return name;
}

// The same connection, which may have been given a free name in the list that it was brought to.
bool isSame(ConnectionProfile here, const ConnectionProfile &brought)
{
    if (here.name.startsWith(brought.name + QStringLiteral(" (")))
        here.name = brought.name;
    here.id = brought.id;
    here.password = brought.password;
    return here == brought;
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
    m_isLater = false;
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
    if (!isDamaged || m_isLater)
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
    m_isLater = isOfLaterVersion(root);
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

QString ConnectionStore::change(const Change &change)
{
    const FileLock lock(m_path);
    QString words = read();
    if (!m_refusal.isEmpty())
        return m_refusal;
    if (m_isLater)
        return named(m_path,
                     QStringLiteral("新しいバージョンのプログラムが書いたファイルなので、変更しません。"));
    words += change();
    const QString failure = write();
    return failure.isEmpty() ? words : failure;
}

QString ConnectionStore::put(ConnectionProfile &profile, const ConnectionProfile &before)
{
    return change([&] {
        QString words;
        if (profile.id.isEmpty())
            profile.id = QUuid::createUuid().toString(QUuid::WithoutBraces);
        if (profile.keeping != PasswordKeeping::File)
            profile.password.clear();
        auto found = position(m_profiles, profile.id);
        if (found != m_profiles.end() && *found != before && *found != profile) {
            words = QStringLiteral("「%1」は、ほかのプログラムでも変更されました。両方を残します。")
                        .arg(profile.name);
            profile.id = QUuid::createUuid().toString(QUuid::WithoutBraces);
            profile.name = freeName(profile, m_profiles);
            found = m_profiles.end();
        } else if (found == m_profiles.end() && before.isSaved()) {
            words = QStringLiteral(
                        "「%1」は、ほかのプログラムで削除されていました。ここでの変更とともに残します。")
                        .arg(profile.name);
        }
        if (found == m_profiles.end())
            m_profiles.push_back(profile);
        else
            *found = profile;
        return words;
    });
}

QString ConnectionStore::remove(ConnectionProfile profile)
{
    return change([&] {
        const auto found = position(m_profiles, profile.id);
        if (found == m_profiles.end())
            return QString();
        if (*found != profile)
            return QStringLiteral("「%1」は、ほかのプログラムで変更されたので、削除していません。")
                .arg(profile.name);
        m_profiles.erase(found);
        return QString();
    });
}

QString ConnectionStore::use(const QString &id)
{
    const QString words = change([&] {
        m_used.removeAll(id);
        m_used.prepend(id);
        m_used = m_used.mid(0, mostUsed);
        return QString();
    });
    return m_isLater ? QString() : words; // the connection stands all the same
}

QString ConnectionStore::import(const QString &path)
{
    QFile file(path);
    if (const QString why = whyLeftAlone(path); !why.isEmpty())
        return why;
    if (!file.open(QIODevice::ReadOnly))
        return named(path, file.errorString());
    bool isDamaged = false;
    const QJsonObject root = QJsonDocument::fromJson(file.readAll()).object();
    if (isOfLaterVersion(root))
        return named(path,
                     QStringLiteral("新しいバージョンのプログラムが書いたファイルなので、読み込めません。"));
    const std::vector<ConnectionProfile> brought = profilesOf(root[u"connections"], isDamaged);
    if (isDamaged)
        return QStringLiteral("「%1」は接続先のファイルではありません。").arg(QDir::toNativeSeparators(path));
    return change([&] { return take(brought); });
}

QString ConnectionStore::take(const std::vector<ConnectionProfile> &brought)
{
    int count = 0, known = 0;
    QStringList renamed;
    for (ConnectionProfile profile : brought) {
        profile.password.clear(); // a file from elsewhere brings none
        if (std::ranges::any_of(m_profiles, [&](const auto &each) { return isSame(each, profile); })) {
            ++known;
            continue;
        }
        giveOwnId(profile, m_profiles);
        if (const QString name = freeName(profile, m_profiles); name != profile.name) {
            renamed << QStringLiteral("\n「%1」→「%2」").arg(profile.name, name);
            profile.name = name;
        }
        m_profiles.push_back(std::move(profile));
        ++count;
    }
    QString words = QStringLiteral("%1 件を読み込みました。").arg(count);
    if (known > 0)
        words += QStringLiteral("\n%1 件は同じものがあるので、読み込んでいません。").arg(known);
    if (!renamed.isEmpty())
        words += QStringLiteral("\n同じ名前で内容の違うものがあるので、名前を変えました:") +
                 renamed.join(QString());
    return words;
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

ConnectionProfile inUse(ConnectionProfile used, const ConnectionProfile &saved)
{
    used.takeMarks(saved);
    used.folder = saved.folder;
    used.keepAlive = saved.keepAlive;
    used.keeping = saved.keeping;
    used.password = saved.password;
    used.note = saved.note;
    used.unknown = saved.unknown;
    return used;
}
