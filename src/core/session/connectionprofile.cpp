#include "core/session/connectionprofile.h"

#include "core/driver/connect.h"
#include "core/session/bascommon.h"
#include "core/session/basconnection.h"
#include "core/session/connectionstring.h"

#include <array>

namespace {

using Profile = ConnectionProfile;

template <class Value, std::size_t count>
using Words = std::array<std::pair<Value, const char *>, count>;

constexpr Words<Environment, 4> environments{{{Environment::None, ""},
                                              {Environment::Development, "development"},
                                              {Environment::Staging, "staging"},
                                              {Environment::Production, "production"}}};
constexpr Words<ConnectionKind, 3> kinds{{{ConnectionKind::BuiltIn, "built-in"},
                                          {ConnectionKind::Driver, "driver"},
                                          {ConnectionKind::DataSource, "data source"}}};
constexpr Words<PasswordKeeping, 3> keepings{
    {{PasswordKeeping::Ask, "ask"}, {PasswordKeeping::Desktop, "desktop"}, {PasswordKeeping::File, "file"}}};
constexpr Words<TlsMode, 3> tlsModes{
    {{TlsMode::IfOffered, ""}, {TlsMode::Required, "required"}, {TlsMode::Verified, "verified"}}};

// One row per member that is a text.
template <class Owner>
using Texts = std::pair<const char *, QString Owner::*>;
constexpr Texts<Profile> texts[] = {
    {"id", &Profile::id},         {"name", &Profile::name},     {"folder", &Profile::folder},
    {"colour", &Profile::colour}, {"source", &Profile::source}, {"server", &Profile::server},
    {"port", &Profile::port},     {"user", &Profile::user},     {"database", &Profile::database},
    {"note", &Profile::note}};
constexpr Texts<TlsOptions> tlsTexts[] = {
    {"ca", &TlsOptions::authority},     {"capath", &TlsOptions::authorityFolder},
    {"cert", &TlsOptions::certificate}, {"key", &TlsOptions::key},
    {"cipher", &TlsOptions::cipher},    {"fingerprint", &TlsOptions::fingerprint}};
constexpr Texts<SshOptions> sshTexts[] = {{"host", &SshOptions::host},
                                          {"port", &SshOptions::port},
                                          {"user", &SshOptions::user},
                                          {"key", &SshOptions::keyFile}};

template <class Table>
QString wordFor(const Table &table, decltype(Table::value_type::first) value)
{
    for (const auto &[each, word] : table)
        if (each == value)
            return QString::fromLatin1(word);
    return {};
}

template <class Table>
auto valueOf(const Table &table, const QString &word, decltype(Table::value_type::first) unknown)
{
    for (const auto &[each, text] : table)
        if (word == QLatin1String(text))
            return each;
    return unknown;
}

template <class Owner, std::size_t count>
void take(const Texts<Owner> (&table)[count], QJsonObject &object, Owner &owner)
{
    for (const auto &[key, member] : table)
        if (const QJsonValue value = object.take(QLatin1String(key)); value.isString())
            owner.*member = value.toString();
}

template <class Owner, std::size_t count>
void put(const Texts<Owner> (&table)[count], const Owner &owner, QJsonObject &object)
{
    for (const auto &[key, member] : table)
        if (!(owner.*member).isEmpty())
            object[QLatin1String(key)] = owner.*member;
}

TlsOptions tlsOf(QJsonObject object)
{
    TlsOptions tls;
    take(tlsTexts, object, tls);
    // What is no mode is read as the strictest one.
    tls.mode = valueOf(tlsModes, object[u"mode"].toString(), TlsMode::Verified);
    tls.allowsClearText = object[u"cleartext"].toBool();
    return tls;
}

QJsonObject objectOf(const TlsOptions &tls)
{
    QJsonObject object;
    put(tlsTexts, tls, object);
    if (tls.mode != TlsMode::IfOffered)
        object[u"mode"] = wordFor(tlsModes, tls.mode);
    if (tls.allowsClearText)
        object[u"cleartext"] = true;
    return object;
}

} // namespace

QString environmentText(Environment environment)
{
    switch (environment) {
    case Environment::Development:
        return QStringLiteral("開発");
    case Environment::Staging:
        return QStringLiteral("検証");
    case Environment::Production:
        return QStringLiteral("本番");
    case Environment::None:
        break;
    }
    return {};
}

QString ConnectionProfile::dataSource() const
{
    return kind == ConnectionKind::DataSource ? source : noDataSource();
}

QString ConnectionProfile::driver() const
{
    return kind == ConnectionKind::Driver ? source : nativeDriverName();
}

bool ConnectionProfile::leadsTo(const QString &chosenSource, const QString &chosenDriver,
                                const QString &chosenServer, const QString &chosenPort) const
{
    if (kind == ConnectionKind::DataSource || chosenSource != noDataSource())
        return dataSource() == chosenSource;
    return driver() == chosenDriver && server.compare(chosenServer, Qt::CaseInsensitive) == 0 &&
           port == chosenPort;
}

void ConnectionProfile::takeMarks(const ConnectionProfile &saved)
{
    if (id != saved.id)
        return;
    name = saved.name;
    colour = saved.colour;
    if (environment != Environment::Production)
        environment = saved.environment;
    isReadOnly |= saved.isReadOnly;
    isSafe = saved.isSafe;
}

ConnectionProfile ConnectionProfile::of(const QJsonObject &stored)
{
    QJsonObject object = stored;
    ConnectionProfile profile;
    take(texts, object, profile);
    // A server of a kind that this version does not know is treated with the greatest care.
    profile.environment =
        valueOf(environments, object.take(u"environment").toString(), Environment::Production);
    profile.kind = valueOf(kinds, object.take(u"kind").toString(), ConnectionKind::BuiltIn);
    profile.keeping = valueOf(keepings, object.take(u"keeping").toString(), PasswordKeeping::Ask);
    profile.password = shiftedUp(object.take(u"password").toString());
    profile.tls = tlsOf(object.take(u"tls").toObject());
    QJsonObject ssh = object.take(u"ssh").toObject();
    take(sshTexts, ssh, profile.ssh);
    profile.keepAlive = object.take(u"keepAlive").toInt();
    profile.isReadOnly = object.take(u"readOnly").toBool();
    profile.isSafe = object.take(u"safeMode").toBool(profile.environment == Environment::Production);
    profile.unknown = object;
    return profile;
}

QJsonObject ConnectionProfile::object() const
{
    QJsonObject object = unknown;
    put(texts, *this, object);
    object[u"kind"] = wordFor(kinds, kind);
    object[u"keeping"] = wordFor(keepings, keeping);
    if (environment != Environment::None)
        object[u"environment"] = wordFor(environments, environment);
    if (!password.isEmpty() && keeping == PasswordKeeping::File)
        object[u"password"] = shiftedDown(password);
    if (const QJsonObject demands = objectOf(tls); !demands.isEmpty())
        object[u"tls"] = demands;
    if (ssh.isUsed()) {
        QJsonObject way;
        put(sshTexts, ssh, way);
        object[u"ssh"] = way;
    }
    if (keepAlive > 0)
        object[u"keepAlive"] = keepAlive;
    if (isReadOnly)
        object[u"readOnly"] = true;
    if (isSafe != (environment == Environment::Production))
        object[u"safeMode"] = isSafe;
    return object;
}

QJsonObject ConnectionProfile::objectWithoutPassword() const
{
    ConnectionProfile shown = *this;
    shown.password.clear();
    shown.source = shownSource(shown.source);
    return shown.object();
}
