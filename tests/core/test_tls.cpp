#include "connectiontests.h"
#include "support/certificates.h"

#include <QTemporaryDir>

#include <optional>

// A real server with a certificate for "localhost", signed by an authority of the test's own.
class TlsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { addBothConnections(); }
    void initTestCase();
    void demandsAreMetOrNobodyLogsIn_data();
    void demandsAreMetOrNobodyLogsIn();
    void anEncryptedStatementIsStopped();
    void anAccountMayAskForACertificate();

private:
    QString path(const char *file) const { return m_folder.filePath(QLatin1String(file)); }
    QString string(const QString &host, const QString &more,
                   const QString &user = QStringLiteral("demo")) const
    {
        QString text = isBuiltIn() ? m_server->nativeString({}, host) : m_server->odbcString({}, host);
        return text.replace(QStringLiteral("uid=demo"), QStringLiteral("uid=") + user) + more;
    }

    QTemporaryDir m_folder;
    QString m_fingerprint;
    std::optional<TestServer> m_server;
    HookPump m_pump;
};

void TlsTest::initTestCase()
{
    if (!hasOpenssl())
        QSKIP("openssl is not installed");
    makeCertificates(m_folder.path());
    m_fingerprint =
        QString::fromLatin1(openssl(m_folder.path(), "x509 -in server.pem -noout -fingerprint -sha1")
                                .trimmed()
                                .split('=')
                                .last());
    m_server.emplace(serverCertificateOptions(m_folder.path()));
    m_server->run("create user c identified by 'demo' require x509");
}

void TlsTest::demandsAreMetOrNobodyLogsIn_data()
{
    // Without a refusal the login works.
    const Rows<QString, QString, bool, QString> row;
    const QString verify = ";SSLVERIFY=1;SSLCA=", ip = "127.0.0.1";
    row("none", ip, "", false, "");
    row("required", ip, ";FORCETLS=1", false, "");
    row("verified", "localhost", verify + path("ca.pem"), true, "");
    row("other host", ip, verify + path("ca.pem"), false, "certificate");
    row("other host by name", ip, verify + path("ca.pem") + ";CERTIFICATEHOST=localhost", true, "");
    row("named otherwise", "localhost", verify + path("ca.pem") + ";CERTIFICATEHOST=db", false,
        "certificate");
    row("other authority", "localhost", verify + path("other.pem"), false, "certificate");
    row("no authority", "localhost", ";SSLVERIFY=1", false, "certificate");
    row("no such file", "localhost", verify + path("none.pem"), false, "TLS/SSL error");
    row("pinned", ip, ";TLSPEERFP=" + m_fingerprint, true, "");
    row("pinned to another", ip, ";SSLFP=00112233445566778899AABBCCDDEEFF00112233", false, "ingerprint");
}

void TlsTest::demandsAreMetOrNobodyLogsIn()
{
    const auto [host, demands, isVerified, refusal] = fetched<QString, QString, bool, QString>();
    if (refusal.isEmpty()) {
        const auto open = connected(string(host, demands), m_pump);
        const Encryption encryption = open->encryption();
        QVERIFY(encryption.isEncrypted);
        QCOMPARE(encryption.isVerified, isVerified);
        RecordSet said =
            open->execute("show session status where variable_name in ('ssl_cipher', 'ssl_version')");
        QCOMPARE(encryption.cipher, said.text(1));
        said.moveNext();
        QCOMPARE(encryption.version, said.text(1));
    } else {
        const Failure error = errorOf([&] { connected(string(host, demands), m_pump); });
        QVERIFY2(error.description().contains(refusal), qPrintable(error.description()));
    }
}

void TlsTest::anEncryptedStatementIsStopped()
{
    const auto open = connected(string("localhost", ";SSLVERIFY=1;SSLCA=" + path("ca.pem")), m_pump);
    m_pump.once = [&] { open->cancel(); };
    QVERIFY(errorOf([&] { open->execute("select sleep(20)"); }).isInterrupted());
    QCOMPARE(valueOf(*open, "select 4"), "4");
}

void TlsTest::anAccountMayAskForACertificate()
{
    const QString own = ";SSLCERT=" + path("user.pem") + ";SSLKEY=" + path("user.key");
    QCOMPARE(valueOf(*connected(string("127.0.0.1", own, "c"), m_pump), "select 4"), "4");
    QVERIFY(errorOf([&] { connected(string("127.0.0.1", {}, "c"), m_pump); })
                .description()
                .contains("Access denied"));
    if (isBuiltIn())
        return;
    // A data source encrypts, too, and what it demands by itself holds.
    QVERIFY(connected("demo", m_pump)->encryption().isEncrypted);
    writeFile(
        m_server->folder() + "/odbc/odbc.ini",
        "[strict]\nDriver=MySQL ODBC 3.51 Driver\nSERVER=127.0.0.1\nUID=demo\nPWD=demo\nSSLVERIFY=1\nPORT=" +
            QByteArray::number(m_server->port()) + '\n',
        QIODevice::Append);
    QVERIFY(errorOf([&] { connected("strict", m_pump); }).description().contains("certificate"));
}

QTEST_GUILESS_MAIN(TlsTest)
#include "test_tls.moc"
