#include "connectiontests.h"
#include "core/sql/localsource.h"
#include "support/fakeserver.h"
#include "support/files.h"

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
    void aDataSourceMayDemandEncryption();
    void filesAreNotGivenAway();
    void oneFileAtMostIsGiven();
    void aSilentServerIsGivenUp();
    void liesAreErrors_data();
    void liesAreErrors();
    void rowsBeforeAnErrorAreHandedOver();
    void aResultWithoutEndIsCutShort();
    void aStopThatCannotBeObeyedCutsTheConnection();

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
    writeFile(m_folder.filePath("odbcinst.ini"), "[MySQL ODBC 3.51 Driver]\nDriver=libmaodbc.so\n");
    qputenv("ODBCSYSINI", m_folder.path().toUtf8());
    qputenv("TARNWELL_RESULT_MB", "8");
}

void HostileServersTest::passwordsAreNotGivenAway_data()
{
    // Without a refusal the login works.
    const Rows<FakeServer::Login, QString, QString> row;
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
    const auto [login, more, refusal] = fetched<FakeServer::Login, QString, QString>();
    FakeServer server(login);
    if (refusal.isEmpty()) {
        const auto open = connected(string(server, more), m_pump);
        QVERIFY(!open->encryption().isEncrypted);
    } else {
        const Failure error = errorOf([&] { connected(string(server, more), m_pump); });
        QVERIFY2(error.description().contains(refusal), qPrintable(error.description()));
    }
    QVERIFY(!server.received().contains(password.toUtf8()));
    if (!more.isEmpty())
        QCOMPARE(server.received(), QByteArray());
}

void HostileServersTest::aDataSourceMayDemandEncryption()
{
    if (isBuiltIn())
        QSKIP("it knows no data sources");
    FakeServer server({});
    writeFile(m_folder.filePath("odbc.ini"),
              "[encrypted]\nDriver=MySQL ODBC 3.51 Driver\nSERVER=127.0.0.1\nUID=demo\nFORCETLS=1\nPWD=" +
                  password.toUtf8() + "\nPORT=" + QByteArray::number(server.port()) + '\n');
    const Failure error = errorOf([&] { connected("encrypted", m_pump); });
    QVERIFY2(error.description().contains("TLS"), qPrintable(error.description()));
    QCOMPARE(server.received(), QByteArray());
}

void HostileServersTest::filesAreNotGivenAway()
{
    const QString secret = m_folder.filePath("secret");
    writeFile(secret, "only for me");
    for (const char *statement :
         {"LOAD DATA LOCAL INFILE 'a' INTO TABLE t", "  load xml infile 'a' into table t", "select 1",
          "insert into t values (1)", "set statement x=1 for load data infile 'a' into table t"}) {
        FakeServer server({});
        for (const char *start : {"load", "select 1", "insert", "set statement"})
            server.answer(start, {.wantedFile = secret.toUtf8()});
        const auto open = connected(string(server), m_pump);
        try {
            open->execute(statement);
        } catch (const Failure &) {
            // Refused, or an answer that makes no sense: both will do.
        }
        QVERIFY(server.received().contains("'a'") || server.received().contains("1"));
        QVERIFY2(!server.received().contains("only for me"), statement);
    }
}

// Where a server may read what is offered, it is that under its name, and once.
void HostileServersTest::oneFileAtMostIsGiven()
{
    if (!isBuiltIn())
        QSKIP("only built in");
    const QString secret = m_folder.filePath("secret"), offered = "offered";
    writeFile(secret, "only for me");
    const QString load = "LOAD DATA LOCAL INFILE 'offered' INTO TABLE t";
    for (const QString &wanted : {offered, secret}) {
        FakeServer server({});
        for (const char *start : {"load", "select 1"})
            server.answer(start, {.wantedFile = wanted.toUtf8()});
        const auto open = connected(string(server, ";LOCALFILE=offered"), m_pump);
        int reads = 0;
        const LocalSource source = [&reads](char *to, std::size_t) {
            constexpr std::string_view text = "for the server";
            return ++reads > 1 ? 0 : text.copy(to, text.size());
        };
        const auto refused = [](const auto &send) {
            return errorOf(send).description().contains("頼んでいないファイル");
        };
        if (wanted == offered)
            executeLocal(*open, load, source);
        else
            QVERIFY(refused([&] { executeLocal(*open, load, source); }));
        QVERIFY(refused([&] { open->execute(load); })); // nothing is offered any more
        QVERIFY(refused([&] { open->execute("select 1"); }));
        QCOMPARE(server.received().count("for the server"), wanted == offered ? 1 : 0);
        QCOMPARE(reads, wanted == offered ? 2 : 0);
        QVERIFY(!server.received().contains("only for me"));
    }
}

void HostileServersTest::aSilentServerIsGivenUp()
{
    // From the first, after its offer of TLS, after the login.
    for (const auto &login : {FakeServer::Login{.isSilent = true}, {.offersTls = true}, {}}) {
        FakeServer server(login);
        server.answer("", {.endsNever = true});
        errorOf([&] { connected(string(server, ";CONN_TIMEOUT=1"), m_pump); });
    }
}

void HostileServersTest::liesAreErrors_data()
{
    const Rows<FakeServer::Answer, QString> row;
    using Answer = FakeServer::Answer;
    row("fewer columns", Answer{.columns = {"a"}, .rows = {{"1"}}}, "2番目");
    row("no columns", Answer{}, "レコードセット");
    row("columns without number", Answer{.columns = std::vector<QByteArray>(5000, "a")}, "5000");
    row("more than a driver counts", Answer{.columns = std::vector<QByteArray>(40000, "a")}, "");
    row("an error without words", Answer{.error = " "}, "1045");
    row("a name without end", Answer{.columns = {QByteArray(5000, 'x')}, .rows = {{"1"}}}, "2番目");
}

void HostileServersTest::liesAreErrors()
{
    const auto [answer, words] = fetched<FakeServer::Answer, QString>();
    FakeServer server({});
    server.answer("show", answer);
    const auto open = connected(string(server), m_pump);
    const Failure error = errorOf([&] {
        RecordSet rows = open->execute("show something");
        if (!rows.isEof())
            rows.text(1);
    });
    QVERIFY2(error.description().contains(words), qPrintable(error.description()));
    QVERIFY(!error.description().trimmed().isEmpty());
    QCOMPARE(valueOf(*open, "select connection_id()"), "7");
}

void HostileServersTest::rowsBeforeAnErrorAreHandedOver()
{
    if (!isBuiltIn())
        QSKIP("the driver has thrown the rows away when it says the error");
    FakeServer server({});
    server.answer("show", {.columns = {"a"}, .rows = {{"1"}, {"2"}, {"3"}}, .error = "broken"});
    const auto open = connected(string(server), m_pump);
    for (const bool isKept : {false, true}) {
        int count = 0;
        RecordSet rows = open->execute("show something");
        if (isKept) // another statement needs the connection meanwhile
            QCOMPARE(valueOf(*open, "select connection_id()"), "7");
        const Failure error = errorOf([&] {
            for (; !rows.isEof(); rows.moveNext())
                ++count;
        });
        QCOMPARE(error.description(), "broken");
        QCOMPARE(count, 3);
    }
}

void HostileServersTest::aResultWithoutEndIsCutShort()
{
    FakeServer server({});
    server.answer("show", {.columns = {"a"}, .rows = {{QByteArray(1000, 'x')}}, .endsNever = true});
    for (const bool isByBlocks : {false, true}) {
        const auto open = connected(string(server), m_pump); // the rest never ends: only a cut does
        int count = 0;
        const Failure error = errorOf([&] {
            RecordSet rows = open->execute("show something");
            for (; !isByBlocks && !rows.isEof(); rows.moveNext())
                ++count;
            for (; isByBlocks && !rows.isEof(); rows.moveNextBlock())
                count += rows.takeBlock().rowCount();
        });
        QVERIFY2(error.description().contains("8 MB"), qPrintable(error.description()));
        QVERIFY(!isBuiltIn() || (count > 5000 && count < 10000));
    }
}

void HostileServersTest::aStopThatCannotBeObeyedCutsTheConnection()
{
    // Confirmed and not obeyed; another server's session; no such session.
    for (const QByteArray mark : {"here|7", "there|7", ""}) {
        const bool isKilled = mark == "here|7";
        FakeServer server({});
        server.answer("select concat_ws", {.columns = {"mark"}, .rows = {{"here|7"}}});
        server.answer("select concat_ws", {.columns = {"mark"}, .rows = {{mark}}, .firstClient = 1});
        server.answer("show", {.columns = {"a"}, .endsNever = true});
        const auto open = connected(string(server), m_pump);
        m_pump.once = [&] { open->cancel(); };
        const Failure error = errorOf([&] { open->execute("show something"); });
        QVERIFY2(error.description().contains(isKilled ? "受け付けましたが" : "KILLを送らずに"),
                 qPrintable(error.description()));
        QVERIFY(error.isConnectionLost());
        QCOMPARE(server.received().toLower().contains("kill query 7"), isKilled);
    }
}

QTEST_GUILESS_MAIN(HostileServersTest)
#include "test_hostileservers.moc"
