#include "connections/connectionstore.h"
#include "core/session/basconnection.h"
#include "core/session/session.h"
#include "support/files.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

namespace {

ConnectionProfile shop()
{
    ConnectionProfile profile;
    profile.name = "店";
    profile.folder = "本社";
    profile.colour = "#c62828";
    profile.environment = Environment::Production;
    profile.server = "db.example";
    profile.port = "3307";
    profile.user = "tanaka";
    profile.database = "shop";
    profile.tls.mode = TlsMode::Verified;
    profile.tls.authority = "/etc/ca.pem";
    profile.ssh = {"gate.example", "22", "me", "/home/me/.ssh/id"};
    profile.keepAlive = 60;
    profile.isReadOnly = true;
    profile.isSafe = false; // although it is production
    profile.keeping = PasswordKeeping::File;
    profile.password = " !秘密\n!";
    profile.note = "一行目\n二行目";
    return profile;
}

} // namespace

class ConnectionStoreTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void keepsEverythingAndWhatLaterVersionsWrote();
    void productionIsSafeUnlessItSaysOtherwise();
    void twoProgramsLoseNothingOfEachOther();
    void whatIsDamagedIsKeptAside_data();
    void whatIsDamagedIsKeptAside();
    void exportsWithoutPasswordsAndImportsOnce();
    void whatALaterVersionWroteIsNotTouched();
    void demandsOfTheSettingsHoldForAll();

private:
    QString path(const char *name = "connections.json") const { return m_folder.filePath(name); }
    void write(const QByteArray &bytes) const { writeFile(path(), bytes); }

    QTemporaryDir m_folder;
};

void ConnectionStoreTest::keepsEverythingAndWhatLaterVersionsWrote()
{
    ConnectionStore store(path());
    ConnectionProfile profile = shop();
    QCOMPARE(store.put(profile), "");
    QByteArray bytes = readFile(path());
    QVERIFY(!bytes.contains("秘密"));
    QVERIFY(!(QFile::permissions(path()) & (QFileDevice::ReadGroup | QFileDevice::ReadOther)));

    write(bytes.replace("\"name\"", "\"later\": {\"a\": 1}, \"name\"")
              .replace("\"version\"", "\"x\": 2, \"version\""));
    ConnectionStore again(path());
    QCOMPARE(again.read(), "");
    ConnectionProfile read = again.profiles().front();
    QCOMPARE(read.unknown.size(), 1);
    read.unknown = {};
    QVERIFY(read == profile);
    QCOMPARE(again.use(profile.id), "");
    QVERIFY(readFile(path()).contains("\"later\"") && readFile(path()).contains("\"x\": 2"));
    QCOMPARE(again.lastUsed().size(), 1u);
    again.remove(*again.find(profile.id));
    QVERIFY(again.profiles().empty() && again.lastUsed().empty());
}

void ConnectionStoreTest::productionIsSafeUnlessItSaysOtherwise()
{
    for (const auto &[json, isSafe] :
         std::initializer_list<std::pair<QJsonObject, bool>>{{{}, false},
                                                             {{{"safeMode", true}}, true},
                                                             {{{"environment", "production"}}, true},
                                                             {{{"environment", "yet unknown"}}, true}}) {
        const ConnectionProfile profile = ConnectionProfile::of(json);
        QCOMPARE(profile.isSafe, isSafe);
        QCOMPARE(profile.object().contains("safeMode"), json.contains("safeMode"));
    }
}

void ConnectionStoreTest::twoProgramsLoseNothingOfEachOther()
{
    write({});
    ConnectionStore mine(path()), theirs(path());
    ConnectionProfile first = shop(), second = shop();
    second.name = "倉庫";
    mine.put(first);
    QCOMPARE(theirs.put(second), ""); // without having read the first
    mine.read();
    QCOMPARE(mine.profiles().size(), 2u);

    const ConnectionProfile before = *mine.find(second.id);
    ConnectionProfile changedByMe = before, changedByThem = before;
    changedByThem.port = "3310";
    theirs.put(changedByThem, before);
    changedByMe.note = "mine";
    QCOMPARE(mine.put(changedByMe, before),
             "「倉庫」は、ほかのプログラムでも変更されました。両方を残します。");
    QCOMPARE(mine.profiles().size(), 3u);
    QCOMPARE(mine.find(second.id)->port, "3310");
    QCOMPARE(mine.find(changedByMe.id)->note, "mine");

    theirs.read();
    QCOMPARE(theirs.remove(before), "「倉庫」は、ほかのプログラムで変更されたので、削除していません。");
    QCOMPARE(theirs.remove(changedByThem), "");
    ConnectionProfile changedAgain = changedByThem;
    changedAgain.note = "kept";
    QCOMPARE(mine.put(changedAgain, changedByThem),
             "「倉庫」は、ほかのプログラムで削除されていました。ここでの変更とともに残します。");
    QCOMPARE(mine.find(second.id)->note, "kept");
}

void ConnectionStoreTest::whatIsDamagedIsKeptAside_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("readable");
    QTest::newRow("cut off") << QByteArray("{\"connections\": [{\"name\": \"a\"") << 0;
    QTest::newRow("another list") << QByteArray("[1, 2]") << 0;
    QTest::newRow("not a list") << QByteArray("{\"connections\": 5}") << 0;
    QTest::newRow("one entry damaged") << QByteArray("{\"connections\": [5, {\"name\": \"a\"}]}") << 1;
}

void ConnectionStoreTest::whatIsDamagedIsKeptAside()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, readable);
    write(bytes);
    ConnectionStore store(path());
    const QString words = store.read();
    const QString aside = words.section(u'「', 1).section(u'」', 0, 0);
    QVERIFY2(words.startsWith("接続先のファイルが壊れています。"), qPrintable(words));
    QCOMPARE(readFile(aside), bytes);
    QCOMPARE(int(store.profiles().size()), readable);
    QCOMPARE(ConnectionStore(path()).read(), ""); // told once
}

void ConnectionStoreTest::exportsWithoutPasswordsAndImportsOnce()
{
    write({});
    ConnectionStore store(path());
    ConnectionProfile byDriver = shop(), byString = shop();
    byString.kind = ConnectionKind::DataSource;
    byString.source = "DSN=shop;PWD={sec;ret};UID=me";
    store.put(byDriver);
    store.put(byString);
    QCOMPARE(store.exportTo(path("out.json")), "");
    const QByteArray bytes = readFile(path("out.json"));
    QVERIFY(!bytes.contains("password") && !bytes.contains("ret}") && bytes.contains("uid=me"));

    ConnectionStore other(path("other.json"));
    QCOMPARE(other.import(path("out.json")), "2 件を読み込みました。\n同じ名前で内容の違うものがあるので、"
                                             "名前を変えました:\n「店」→「店 (2)」");
    QCOMPARE(other.import(path("out.json")),
             "0 件を読み込みました。\n2 件は同じものがあるので、読み込んでいません。");
    QByteArray twice = readFile(path("out.json")).replace("db.example", "db2.example");
    writeFile(path("twice"), twice.replace(byString.id.toUtf8(), byDriver.id.toUtf8()));
    QVERIFY(other.import(path("twice")).endsWith("「店」→「店 (3)」\n「店」→「店 (4)」"));
    QSet<QString> ids;
    for (const ConnectionProfile &each : other.profiles())
        ids << each.id;
    QCOMPARE(ids.size(), 4);
    writeFile(path("text"), "no list");
    QVERIFY(other.import(path("text")).contains("接続先のファイルではありません"));
}

void ConnectionStoreTest::whatALaterVersionWroteIsNotTouched()
{
    const QByteArray later = R"({"version": 2, "connections": [{"id": "a", "name": "店", "new": {}}]})";
    write(later);
    ConnectionStore store(path());
    QCOMPARE(store.read(), "");
    QCOMPARE(store.profiles().size(), 1u);
    ConnectionProfile profile = store.profiles().front();
    QVERIFY(store.put(profile).contains("新しいバージョン"));
    QVERIFY(store.remove(profile).contains("新しいバージョン"));
    QCOMPARE(store.use("a"), "");
    QCOMPARE(readFile(path()), later);
    QVERIFY(ConnectionStore(path("other.json")).import(path()).contains("新しいバージョン"));
}

void ConnectionStoreTest::demandsOfTheSettingsHoldForAll()
{
    Session session;
    session.tls.mode = TlsMode::Required;
    session.tls.authority = "/ca";
    ConnectionProfile profile = shop();
    profile.tls = {};
    profile.ssh = {};
    profile.isReadOnly = false;
    useProfile(session, profile, "p;w");
    QCOMPARE(connectionStringOf(session),
             "driver={MySQL (内蔵)};server=db.example;uid=tanaka;pwd={p;w};port=3307;"
             "database=shop;FORCETLS=1;SSLCA=/ca");
    session.profile.tls.fingerprint = "00";
    QVERIFY(connectionStringOf(session).endsWith(";FORCETLS=1;SSLCA=/ca;TLSPEERFP=00"));
}

QTEST_GUILESS_MAIN(ConnectionStoreTest)
#include "test_connectionstore.moc"
