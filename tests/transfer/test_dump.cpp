#include "core/driver/connect.h"
#include "support/awkwardobjects.h"
#include "support/awkwardvalues.h"
#include "support/files.h"
#include "support/rows.h"
#include "support/serverprograms.h"
#include "support/smalldisk.h"
#include "transfer/dump/dump.h"
#include "transfer/dump/hiddenobjects.h"
#include "transfer/transferfile.h"

#include <QTemporaryDir>

#include <optional>

namespace {

// Throws what the dump throws.
DumpReport dumpFrom(
    TestServer &server, const DumpOptions &options, const DumpTarget &target, bool isBuiltIn = true,
    const std::function<void(const TransferStatus &)> &at = [](auto &) {})
{
    BlockingPump pump;
    Session session;
    session.connectBy(createConnection, pump);
    session.gCn = session.makeConnection(server.connectionString(isBuiltIn));
    session.gCn->open();
    return dump(session, options, target, at);
}

QString load(TestServer &server, const QString &path, const QString &database = {})
{
    return server.run(QString::fromUtf8(readFile(path)), database);
}

DumpOptions wholeDatabase()
{
    DumpOptions options;
    options.database = "d";
    options.createsDatabase = true;
    return options;
}

} // namespace

class DumpTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everythingComesBack_data();
    void everythingComesBack();
    void awkwardValuesComeBack();
    void anotherServerTakesIt_data();
    void anotherServerTakesIt();
    void whatTheAccountIsNotShownIsTold_data();
    void whatTheAccountIsNotShownIsTold();
    void chosenPartsOnly();
    void oneWritesAFileAtATime();
    void aFailureLeavesNoFile_data();
    void aFailureLeavesNoFile();
    void aFolderOfTwoDumpsHasNothingToLoadItBy();

private:
    TestServers m_servers{{"--character-set-server=utf8mb4"}};
};

void DumpTest::everythingComesBack_data()
{
    TestServers::addConnectionRows();
}

void DumpTest::everythingComesBack()
{
    QFETCH(TestServer::Brand, brand);
    QFETCH(bool, isBuiltIn);
    SKIP_WITHOUT(brand);
    TestServer &server = m_servers.of(brand);
    server.run(objectsSetUp);
    const bool hasExpressions = brand != TestServer::Brand::MySql56;
    if (hasExpressions)
        server.run("CREATE TABLE d.g(a VARCHAR(9), g VARCHAR(9) AS (CONCAT(a, 'あ\\\\')), CHECK (a<>'い'))");
    const auto read = [&] {
        return server.run(everything + QString(hasExpressions ? "; SHOW CREATE TABLE d.g" : ""));
    };
    const QString before = read();
    const QTemporaryDir folder;
    const QString path = folder.filePath("d.sql");
    server.run(
        "CREATE TABLE d.gone(a INT); CREATE VIEW d.a AS SELECT a FROM d.gone; CREATE VIEW d.b AS SELECT a "
        "FROM d.a; DROP TABLE d.gone");
    const DumpReport withBroken = dumpFrom(server, wholeDatabase(), {path, false}, isBuiltIn);
    QCOMPARE(withBroken.brokenViews, (QStringList{"a", "b"}));
    const QString script = readFile(path);
    QVERIFY(!script.contains("_utf8mb4"));
    QVERIFY(script.indexOf("-- VIEW a\n") > script.indexOf("-- EVENT ev\n"));
    server.run("DROP VIEW d.a, d.b");

    DumpOptions options = wholeDatabase();
    options.insertBytes = 40; // more than one statement
    const DumpReport report = dumpFrom(server, options, {path, false}, isBuiltIn);
    QCOMPARE(report.rows, 6);
    QCOMPARE(report.outsideSnapshot, QStringList{"a`b c"});
    QCOMPARE(QDir(folder.path()).entryList(QDir::Files), QStringList{"d.sql"});
    server.run("DROP DATABASE d");
    load(server, path);
    QCOMPARE(read(), before);
    load(server, path); // over what is there
    QCOMPARE(read(), before);

    const QString compressed = folder.filePath("d.sql.gz");
    dumpFrom(server, wholeDatabase(), {compressed, false}, isBuiltIn);
    server.run("DROP DATABASE d");
    server.run(runToEnd(program("gzip"), {"-dc", compressed}));
    QCOMPARE(read(), before);
}

void DumpTest::awkwardValuesComeBack()
{
    TestServer &server = m_servers.of(TestServer::Brand::MariaDb);
    server.run(
        QString(valuesSetUp) +
        "CREATE SEQUENCE counter START WITH 5; SELECT NEXTVAL(counter);"
        "CREATE SEQUENCE below START WITH 100 MINVALUE 1 INCREMENT 5; ALTER SEQUENCE below RESTART 50;"
        "CREATE SEQUENCE falling START WITH -5 INCREMENT -1 MAXVALUE 10; ALTER SEQUENCE falling RESTART 7;"
        "CREATE SEQUENCE cycled START WITH 8 MINVALUE 2 MAXVALUE 9 NOCACHE CYCLE;"
        "SELECT NEXTVAL(cycled), NEXTVAL(cycled), NEXTVAL(cycled);"
        "CREATE SEQUENCE used START WITH 8 MAXVALUE 9 NOCACHE; SELECT SETVAL(used, 9);"
        "CREATE TABLE kept(id INT PRIMARY KEY) WITH SYSTEM VERSIONING;"
        "SET timestamp=1000000000; INSERT INTO kept VALUES(1),(2); SET timestamp=1000000060;"
        "DELETE FROM kept WHERE id=1;");
    const QString reading = QString(valuesRead) +
                            "SELECT id, row_start, row_end FROM d.kept FOR SYSTEM_TIME ALL ORDER BY 1;"
                            "SELECT * FROM d.counter; SELECT * FROM d.below; SELECT * FROM d.falling;"
                            "SELECT * FROM d.cycled; SELECT * FROM d.used;";
    const QString before = server.run(reading);
    const QTemporaryDir folder;
    DumpOptions options = wholeDatabase();
    options.hasHistory = true;
    for (const bool isBuiltIn : {true, false}) {
        dumpFrom(server, options, {folder.path(), true}, isBuiltIn);
        server.run("DROP DATABASE d");
        const QDir old(QDir::current());
        QDir::setCurrent(folder.path()); // its files name each other
        load(server, folder.filePath("load.sql"));
        QDir::setCurrent(old.path());
        QCOMPARE(server.run(reading), before);
    }
}

void DumpTest::anotherServerTakesIt_data()
{
    using Brand = TestServer::Brand;
    QTest::addColumn<Brand>("from");
    QTest::addColumn<Brand>("to");
    row("MySQL 5.6 to MariaDB", Brand::MySql56, Brand::MariaDb);
    row("MySQL 5.6 to MySQL 9", Brand::MySql56, Brand::MySql9);
    row("MariaDB to MySQL 9", Brand::MariaDb, Brand::MySql9);
    row("MariaDB to MySQL 5.6", Brand::MariaDb, Brand::MySql56);
}

void DumpTest::anotherServerTakesIt()
{
    QFETCH(TestServer::Brand, from);
    QFETCH(TestServer::Brand, to);
    SKIP_WITHOUT(from);
    SKIP_WITHOUT(to);
    TestServer &source = m_servers.of(from);
    TestServer &target = m_servers.of(to);
    source.run(objectsSetUp);
    target.run("DROP DATABASE IF EXISTS d; CREATE DATABASE d CHARACTER SET utf8mb4");
    const QTemporaryDir folder;
    DumpOptions options = wholeDatabase();
    options.createsDatabase = false;
    options.hasDefiners = false;
    dumpFrom(source, options, {folder.filePath("d.sql"), false});
    QVERIFY(!readFile(folder.filePath("d.sql")).contains("DEFINER="));
    load(target, folder.filePath("d.sql"), "d");
    QCOMPARE(target.run(portable), source.run(portable));
}

void DumpTest::whatTheAccountIsNotShownIsTold_data()
{
    QTest::addColumn<QString>("rights");
    QTest::addColumn<QStringList>("kinds");
    row("of the tables", QString("SELECT, SHOW VIEW ON `d_b`.*"),
        QStringList{"トリガー", "ルーチン", "イベント"});
    row("all of the database", QString("ALL PRIVILEGES ON `d\\_b`.*"), QStringList());
    row("of all databases", QString("SELECT, TRIGGER, EVENT ON *.*"), QStringList());
    row("of another one", QString("ALL PRIVILEGES ON `d\\_`.*"),
        QStringList{"テーブルとビュー", "トリガー", "ルーチン", "イベント"});
}

void DumpTest::whatTheAccountIsNotShownIsTold()
{
    QFETCH(QString, rights);
    QFETCH(QStringList, kinds);
    TestServer &server = m_servers.of(TestServer::Brand::MariaDb);
    server.run("DROP DATABASE IF EXISTS d; CREATE DATABASE d; DROP USER IF EXISTS few@'%'; CREATE USER "
               "few@'%'; GRANT " +
               rights + " TO few@'%'");
    BlockingPump pump;
    const auto connection =
        createConnection(server.nativeString().replace("uid=demo;pwd=demo", "uid=few"), pump);
    connection->open();
    DumpOptions options;
    options.database = "d_b";
    QCOMPARE(kindsNotAllShown(*connection, options), kinds);
}

void DumpTest::chosenPartsOnly()
{
    TestServer &server = m_servers.of(TestServer::Brand::MariaDb);
    server.run(objectsSetUp);
    const QTemporaryDir folder;
    DumpOptions options = wholeDatabase();
    options.objects = {"z", "a2"};
    options.condition = "id > 7 -- few";
    options.hasRoutines = options.hasEvents = options.createsDatabase = false;
    dumpFrom(server, options, {folder.filePath("d.sql"), false});
    server.run("DROP DATABASE IF EXISTS other; CREATE DATABASE other");
    load(server, folder.filePath("d.sql"), "other");
    QCOMPARE(
        server.run("SHOW TABLES FROM other; SELECT id FROM other.a2 ORDER BY id; SELECT TRIGGER_NAME FROM "
                   "information_schema.TRIGGERS WHERE TRIGGER_SCHEMA='other'"),
        "a2\nz\n8\n9\ntr\n");
    options.objects = {"gone"};
    QVERIFY_EXCEPTION_THROWN(dumpFrom(server, options, {folder.filePath("d.sql"), false}), Failure);
}

void DumpTest::oneWritesAFileAtATime()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("d.sql");
    writeFile(path + ".partial", "of a program that was killed");
    TransferFile first(path);
    QVERIFY_EXCEPTION_THROWN(TransferFile(path).finish(), Failure);
    first.write("whole");
    first.finish();
    TransferFile(path).write("given up");
    QCOMPARE(readFile(path), "whole");
    QCOMPARE(QDir(folder.path()).entryList(QDir::Files), QStringList{"d.sql"});
}

void DumpTest::aFailureLeavesNoFile_data()
{
    QTest::addColumn<QString>("meanwhile");
    QTest::addColumn<qint64>("diskBytes");
    QTest::addColumn<QString>("words");
    QTest::addColumn<bool>("isFolder");
    const qint64 plenty = -1;
    row("table changed", QString("ALTER TABLE d.y ADD more INT"), plenty, QString("TABLE「y」の定義が"),
        false);
    row("view changed", QString("ALTER VIEW d.a2 AS SELECT 1 AS id"), plenty, QString("VIEW「a2」の定義が"),
        false);
    row("routine changed", QString("ALTER PROCEDURE d.p COMMENT 'new'"), plenty,
        QString("PROCEDURE「p」の定義が"), false);
    row("connection cut", QString("kill"), plenty, QString("テーブル「x」の"), false);
    row("disk full", QString(), qint64{300'000}, QString("書き込めません"), false);
    row("stopped", QString("stop"), plenty, QString("中断"), false);
    row("routine changed, a folder", QString("ALTER PROCEDURE d.p COMMENT 'new'"), plenty,
        QString("PROCEDURE「p」の定義が"), true);
}

void DumpTest::aFailureLeavesNoFile()
{
    QFETCH(QString, meanwhile);
    QFETCH(qint64, diskBytes);
    QFETCH(QString, words);
    QFETCH(bool, isFolder);
    TestServer &server = m_servers.of(TestServer::Brand::MariaDb);
    server.run(QString(objectsSetUp) +
               "CREATE TABLE x(id INT PRIMARY KEY, t LONGTEXT); CREATE TABLE y(id INT);"
               "INSERT INTO x SELECT seq, REPEAT('x', 1000) FROM seq_1_to_20000;");
    const QTemporaryDir folder;
    const QStringList files =
        isFolder ? QStringList{"load.sql", "table-x.sql", "view-a1.sql"} : QStringList{"d.sql"};
    for (const QString &file : files)
        writeFile(folder.filePath(file), "the old one");
    auto disk = std::make_optional<SmallDisk>(diskBytes);
    int times = 0;
    QString told;
    try {
        dumpFrom(server, wholeDatabase(), {isFolder ? folder.path() : folder.filePath("d.sql"), isFolder},
                 true, [&](const TransferStatus &status) {
                     if (status.object != u"x" || times++ != 1) // in the midst of its rows
                         return;
                     if (meanwhile == u"stop")
                         throw interruptedError("中断");
                     if (meanwhile == u"kill")
                         server.run("KILL " +
                                    server.run("SELECT ID FROM information_schema.PROCESSLIST WHERE "
                                               "DB='d' AND ID<>CONNECTION_ID()"));
                     else if (!meanwhile.isEmpty())
                         server.run(meanwhile);
                 });
    } catch (const Failure &error) {
        told = error.description();
    }
    disk.reset();
    QVERIFY2(told.contains(words), qPrintable(told));
    QCOMPARE(QDir(folder.path()).entryList(QDir::Files), files);
    for (const QString &file : files)
        QCOMPARE(readFile(folder.filePath(file)), "the old one");
}

void DumpTest::aFolderOfTwoDumpsHasNothingToLoadItBy()
{
    TestServer &server = m_servers.of(TestServer::Brand::MariaDb);
    server.run(
        "DROP DATABASE IF EXISTS d; CREATE DATABASE d; CREATE TABLE d.a(i INT); CREATE TABLE d.b(i INT)");
    const QTemporaryDir folder;
    const DumpTarget target{folder.path(), true};
    dumpFrom(server, wholeDatabase(), target);
    const QString first = folder.filePath("table-a.sql");
    QVERIFY_THROWS_EXCEPTION(
        Failure, dumpFrom(server, wholeDatabase(), target, true, [&](const TransferStatus &status) {
            if (status.object == u"b" && QFile::remove(first))
                QDir().mkpath(first);
        }));
    QVERIFY(QFileInfo(first).isDir() && !QFile::exists(folder.filePath("load.sql")));
}

QTEST_GUILESS_MAIN(DumpTest)
#include "test_dump.moc"
