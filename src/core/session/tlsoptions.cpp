#include "core/session/tlsoptions.h"

#include "core/session/connectionstring.h"
#include "core/sql/failure.h"

#include <array>
#include <utility>

namespace {

constexpr std::array<std::pair<const char *, QString TlsOptions::*>, 7> textKeys{{
    {"sslca", &TlsOptions::authority},
    {"sslcapath", &TlsOptions::authorityFolder},
    {"sslcert", &TlsOptions::certificate},
    {"sslkey", &TlsOptions::key},
    {"sslcipher", &TlsOptions::cipher},
    {"tlspeerfp", &TlsOptions::fingerprint},
    {"sslfp", &TlsOptions::fingerprint},
}};
constexpr std::array switchKeys{"forcetls", "sslverify", "enable_cleartext_plugin"};

bool isOn(const QString &value)
{
    return value == u"1" || value.compare(u"yes", Qt::CaseInsensitive) == 0 ||
           value.compare(u"true", Qt::CaseInsensitive) == 0;
}

} // namespace

bool TlsOptions::requiresTls() const
{
    return mode != TlsMode::IfOffered || !authority.isEmpty() || !authorityFolder.isEmpty() ||
           !certificate.isEmpty() || !fingerprint.isEmpty();
}

bool TlsOptions::isKey(const QString &key)
{
    for (const auto &[name, member] : textKeys)
        if (key == QLatin1String(name))
            return true;
    for (const char *name : switchKeys)
        if (key == QLatin1String(name))
            return true;
    return false;
}

TlsOptions TlsOptions::of(const ConnectionString &string)
{
    TlsOptions options;
    for (const auto &[name, member] : textKeys)
        if (const QString value = string.value(QLatin1String(name)); !value.isEmpty())
            options.*member = value;
    options.fingerprint.remove(u':');
    if (isOn(string.value(QStringLiteral("sslverify"))))
        options.mode = TlsMode::Verified;
    else if (isOn(string.value(QStringLiteral("forcetls"))))
        options.mode = TlsMode::Required;
    options.allowsClearText = isOn(string.value(QStringLiteral("enable_cleartext_plugin")));
    if (options.allowsClearText && !options.verifies())
        throw Failure(QStringLiteral("パスワードをそのまま送る認証は、サーバーの証明書を検証する接続"
                                     "（SSLVERIFY=1）でだけ許可できます。"));
    return options;
}

QString TlsOptions::pieces() const
{
    QString text;
    if (mode != TlsMode::IfOffered)
        text += QStringLiteral(";FORCETLS=1");
    if (mode == TlsMode::Verified)
        text += QStringLiteral(";SSLVERIFY=1");
    for (const auto &[name, member] : textKeys)
        if (!(this->*member).isEmpty() && QLatin1String(name) != QLatin1String("sslfp"))
            text += u';' + QString::fromLatin1(name).toUpper() + u'=' + connectionValue(this->*member);
    if (allowsClearText)
        text += QStringLiteral(";ENABLE_CLEARTEXT_PLUGIN=1");
    return text;
}
