#include "connectiontests.h"
#include "support/fakeserver.h"

#include <QTemporaryDir>

Q_DECLARE_METATYPE(FakeServer::Login)
Q_DECLARE_METATYPE(FakeServer::Answer)

namespace {
const QString password = QStringLiteral("geheim-4711");
}

// Servers that ask for more than they should get and answer what no honest one would.
class HostileServersTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { addBothConnections(); }
    void initTestCase();
    void passwordsAreNotGivenAway_data();
    void passwordsAreNotGivenAway();
    void filesAreNotGivenAway_data();
    void filesAreNotGivenAway();

private:
    QString string(const FakeServer &server, const QString &more = {}) const
    {
        return QStringLiteral("driver={%1};server=127.0.0.1;uid=demo;pwd=%2;port=%3%4")
            .arg(isBuiltIn() ? nativeDriverName() : QStringLiteral("MySQL ODBC 3.51 Driver"), password)
            .arg(server.port())
            .arg(more);
    }

    QTemporaryDir m_folder;
    HookPump m_pump;
};

void HostileServersTest::initTestCase()
{
    QFile drivers(m_folder.filePath("odbcinst.ini"));
    QVERIFY(drivers.open(QIODevice::WriteOnly));
    drivers.write("[MySQL ODBC 3.51 Driver]\nDriver=libmaodbc.so\n");
    qputenv("ODBCSYSINI", m_folder.path().toUtf8());
}

void HostileServersTest::passwordsAreNotGivenAway_data()
{
    QTest::addColumn<FakeServer::Login>("login");
    QTest::addColumn<QString>("more");
    QTest::addColumn<QString>("refusal"); // empty: the login works
    using Login = FakeServer::Login;
    const QString refused = "パスワードを明かす認証方式", noTls = "TLSに対応していない";
    row("hash", Login{}, "", "");
    row("without TLS the server's key", Login{.plugin = "caching_sha2_password", .knowsNoHash = true}, "",
        "");
    row("asked for as it stands", Login{.otherPlugin = "mysql_clear_password"}, "", refused);
    row("asked for from the first", Login{.plugin = "mysql_clear_password"}, "", "restricted_auth");
    row("dialog", Login{.otherPlugin = "dialog"}, "", refused);
    row("hash of old", Login{.wantsOldHash = true}, "", refused);
    row("hash of old by name", Login{.otherPlugin = "mysql_old_password"}, "", refused);
    row("clear text where nothing is verified", Login{}, ";ENABLE_CLEARTEXT_PLUGIN=1", "SSLVERIFY=1");
    row("TLS required", Login{}, ";FORCETLS=1", noTls);
    row("TLS verified", Login{}, ";SSLVERIFY=1", noTls);
    row("certificate pinned", Login{}, ";TLSPEERFP=00112233445566778899AABBCCDDEEFF00112233", noTls);
}

void HostileServersTest::passwordsAreNotGivenAway()
{
    QFETCH(FakeServer::Login, login);
    QFETCH(QString, more);
    QFETCH(QString, refusal);
    FakeServer server(login);
    if (refusal.isEmpty()) {
        const auto open = connected(string(server, more), m_pump);
        QVERIFY(!open->encryption().isEncrypted);
    } else {
        const SqlError error = errorOf([&] { connected(string(server, more), m_pump); });
        QVERIFY2(error.description().contains(refusal), qPrintable(error.description()));
    }
    QVERIFY(!server.received().contains(password.toUtf8()));
    if (!more.isEmpty())
        QCOMPARE(server.received(), QByteArray());
}

void HostileServersTest::filesAreNotGivenAway_data()
{
    QTest::addColumn<QString>("statement");
    for (const char *statement :
         {"load data infile 'a' into table t", "LOAD DATA LOCAL INFILE 'a' INTO TABLE t",
          "  load xml infile 'a' into table t", "select 1", "insert into t values (1)",
          "set statement x=1 for load data infile 'a' into table t"})
        row(statement, statement);
}

void HostileServersTest::filesAreNotGivenAway()
{
    QFETCH(QString, statement);
    QFile secret(m_folder.filePath("secret"));
    QVERIFY(secret.open(QIODevice::WriteOnly));
    secret.write("only for me");
    secret.close();
    FakeServer server({});
    for (const char *start : {"load", "/*", "select 1", "insert", "set statement"})
        server.answer(start, {.wantedFile = secret.fileName().toUtf8()});
    const auto open = connected(string(server), m_pump);
    try {
        open->execute(statement);
    } catch (const SqlError &) {
        // Refused, or an answer that makes no sense: both will do.
    }
    QVERIFY(server.received().contains("'a'") || server.received().contains("1"));
    QVERIFY(!server.received().contains("only for me"));
}

QTEST_GUILESS_MAIN(HostileServersTest)
#include "test_hostileservers.moc"
