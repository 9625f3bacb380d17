#include "connections/connectionadvice.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

struct Advice {
    int number;
    QStringView text;
};

constexpr QStringView password = u"ユーザー名かパスワードが違います。大文字と小文字、どのマシンからの接続が許"
                                 u"されているかも確かめてください。二つ目の認証を求めるアカウント (MySQL "
                                 u"8.0.27 以降) では、このプログラムは接続できません。";
constexpr QStringView notReached =
    u"サーバーに届きません。サーバーが動いているか、名前とポート、ファイアウォールを確かめてください。";
constexpr QStringView tooMany =
    u"接続数が上限に達しています。使っていない接続を閉じるか、しばらく待ってください。";
constexpr QStringView blocked =
    u"パスワードの誤りが続いたため、アカウントがロックされています。待つか、管理者に解除を頼んでください。";
constexpr QStringView tlsRefused =
    u"暗号化 (TLS) "
    u"の取り決めができません。「暗号化」の求め方、認証局、証明書に書かれた名前を確かめてください。";
constexpr QStringView plugin =
    u"このアカウントの認証方式を使えません。必要なプラグインがないか、許していない方式です。"
    u"アカウントの認証方式を変えるか、別のアカウントを使ってください。";

// Numbers below 2000 are the server's, those from 2000 the client library's.
constexpr Advice advices[] = {
    {1045, password},
    {1698, password},
    {1044, u"このアカウントには、そのデータベースを使う権限がありません。"},
    {1049, u"その名前のデータベースはありません。データベースを空にして接続し、一覧から選んでください。"},
    {1130,
     u"サーバーは、このマシンからの接続を許していません。アカウントのホストを管理者に確かめてください。"},
    {1129, u"失敗が続いたため、サーバーがこのマシンを締め出しています。管理者が FLUSH HOSTS "
           u"を実行すると戻ります。"},
    {1040, tooMany},
    {1203, tooMany},
    {1226, tooMany},
    {1251, plugin},
    {1524, plugin},
    {2058, plugin},
    {2059, plugin},
    {2061, plugin},
    {3118, u"アカウントがロックされています。管理者に解除を頼んでください。"},
    {4151, u"アカウントがロックされています。管理者に解除を頼んでください。"},
    {3955, blocked},
    {4150, blocked},
    {3159, u"サーバーは暗号化された接続だけを許しています。「暗号化を必ず求める」を選んでください。"},
    {2002, notReached},
    {2003, notReached},
    {2005, u"サーバーの名前が見つかりません。つづりと、ネットワーク（DNS、VPN）を確かめてください。"},
    {2013, u"サーバーが応答しません。ポートが MySQL のものか、サーバーが混んでいないかを確かめてください。"},
    {2026, tlsRefused},
};

// What the library says of a connection that it will not encrypt.
constexpr std::pair<const char *, QStringView> tlsAdvices[] = {
    {"key values mismatch", u"「自分の証明書」と「自分の鍵」が組になっていません。"},
    {"cipher match", u"「暗号スイート」の名前を、この機械の OpenSSL が知りません。"},
    {"Fingerprint",
     u"サーバーの証明書の指紋が、控えてあるものと違います。証明書が替わったのか、別のサーバーなのかを"
     u"管理者に確かめてください。"},
    {"self-signed certificate",
     u"サーバーの証明書は、信じている認証局のものではありません。「認証局の証明書」を確かめてください。"},
    {"unable to get local issuer",
     u"サーバーの証明書は、信じている認証局のものではありません。「認証局の証明書」を確かめてください。"},
    {"expired", u"サーバーの証明書の期限が切れています。管理者に更新を頼んでください。"},
};

QString whatIsWrongWith(const QString &path, bool isKey)
{
    constexpr qint64 most = 1024 * 1024;
    QFile file(path);
    if (QFileInfo(path).isDir() || !file.open(QIODevice::ReadOnly))
        return QStringLiteral("ファイル「%1」を読めません。場所と、読む権限を確かめてください。");
    const QByteArray bytes = file.read(most);
    if (!bytes.contains(isKey ? "PRIVATE KEY-----" : "CERTIFICATE-----"))
        return isKey ? QStringLiteral("ファイル「%1」に PEM の秘密鍵がありません。")
                     : QStringLiteral("ファイル「%1」に PEM の証明書がありません。");
    if (isKey && bytes.contains("ENCRYPTED"))
        return QStringLiteral("鍵のファイル「%1」にはパスフレーズが掛かっています。"
                              "掛かっていない鍵だけを使えます。");
    return {};
}

// The library names no file in its words.
QString whatIsWrongWithFiles(const TlsOptions &tls)
{
    const std::pair<QString, bool> files[] = {
        {tls.authority, false}, {tls.certificate, false}, {tls.key, true}};
    for (const auto &[path, isKey] : files)
        if (const QString words = path.isEmpty() ? QString() : whatIsWrongWith(path, isKey); !words.isEmpty())
            return words.arg(QDir::toNativeSeparators(path));
    if (const QFileInfo folder(tls.authorityFolder);
        !tls.authorityFolder.isEmpty() && !(folder.isDir() && folder.isReadable()))
        return QStringLiteral("フォルダー「%1」を読めません。場所と、読む権限を確かめてください。")
            .arg(QDir::toNativeSeparators(tls.authorityFolder));
    // One file may hold both; named as either of them it serves for the other, too.
    const QString both = tls.certificate.isEmpty() ? tls.key : tls.certificate;
    if (tls.certificate.isEmpty() != tls.key.isEmpty() && !whatIsWrongWith(both, tls.key.isEmpty()).isEmpty())
        return QStringLiteral("「自分の証明書」と「自分の鍵」は、両方を指定してください。");
    return {};
}

QString tlsAdvice(const QString &words, const TlsOptions &tls)
{
    if (const QString wrong = whatIsWrongWithFiles(tls); !wrong.isEmpty())
        return wrong;
    for (const auto &[part, text] : tlsAdvices)
        if (words.contains(QLatin1String(part)))
            return text.toString();
    return {};
}

} // namespace

QString connectionAdvice(const Failure &failure, const TlsOptions &tls)
{
    if (failure.number() == 2026)
        if (const QString advice = tlsAdvice(failure.description(), tls); !advice.isEmpty())
            return advice;
    // The words of our own watch over the login, under the number of whatever came of that.
    if (failure.description().contains(u"TLSに対応していない"))
        return QStringLiteral("「暗号化」の求め方か、サーバーの設定を変えてください。");
    for (const Advice &advice : advices)
        if (advice.number == failure.number())
            return advice.text.toString();
    // The ODBC driver manager's own states.
    if (failure.state() == u"IM002")
        return QStringLiteral("データソースかドライバーが登録されていません。名前と odbc.ini、odbcinst.ini "
                              "を確かめてください。");
    if (failure.state() == u"01000" || failure.state() == u"IM003")
        return QStringLiteral(
            "ODBC ドライバーを読み込めません。ドライバーのファイルが入っているかを確かめてください。");
    return {};
}

QString withAdvice(const Failure &failure, const TlsOptions &tls)
{
    const QString advice = connectionAdvice(failure, tls);
    return advice.isEmpty() ? failure.description() : failure.description() + u'\n' + advice;
}
