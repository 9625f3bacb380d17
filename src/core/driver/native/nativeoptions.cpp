#include "core/driver/native/nativeoptions.h"

#include "core/session/connectionstring.h"
#include "core/sql/failure.h"

#include <map>

namespace {

unsigned port(const QString &value)
{
    bool isNumber = false;
    const unsigned number = value.toUInt(&isNumber);
    if (!isNumber || number == 0 || number > 65535)
        throw Failure(
            QStringLiteral("ポート番号「%1」が正しくありません。1から65535までの数字で指定して下さい。")
                .arg(value));
    return number;
}

} // namespace

NativeOptions NativeOptions::parse(const QString &connectionString)
{
    static const std::map<QString, QByteArray NativeOptions::*> texts{
        {QStringLiteral("server"), &NativeOptions::host},
        {QStringLiteral("uid"), &NativeOptions::user},
        {QStringLiteral("user"), &NativeOptions::user},
        {QStringLiteral("pwd"), &NativeOptions::password},
        {QStringLiteral("password"), &NativeOptions::password},
        {QStringLiteral("database"), &NativeOptions::database},
        {certificateHostKey(), &NativeOptions::certificateHost},
    };
    NativeOptions options;
    const ConnectionString given(connectionString);
    options.tls = TlsOptions::of(given);
    options.connectSeconds = static_cast<unsigned>(connectLimit(given).count());
    for (const auto &[key, value] : given.pieces()) {
        if (const auto text = texts.find(key); text != texts.end())
            options.*text->second = value.toUtf8();
        else if (key == u"port")
            options.port = ::port(value);
        else if (key == u"localfile")
            options.localFile = value;
        else if (key == u"handleexpiredpassword")
            options.handlesExpiredPassword = value == u"1";
        else if (key != u"driver" && key != u"conn_timeout" && !TlsOptions::isKey(key))
            throw Failure(QStringLiteral("接続文字列の項目「%1」は%2では使えません。")
                              .arg(key, QStringLiteral("内蔵の接続")));
    }
    return options;
}
