#include "core/driver/connect.h"
#include "support/awkwardvalues.h"
#include "support/files.h"
#include "support/rows.h"
#include "support/serverprograms.h"
#include "transfer/dump/dump.h"
#include "transfer/transferfile.h"

#include <QTemporaryDir>

#include <csignal>
#include <sys/resource.h>

namespace {

// What every server knows, and everything whose order and surroundings matter.
const char *const objectsSetUp = R"(
    DROP DATABASE IF EXISTS d; CREATE DATABASE d CHARACTER SET utf8mb4; USE d; SET NAMES utf8mb4;
    SET sql_mode='NO_AUTO_VALUE_ON_ZERO,ALLOW_INVALID_DATES', time_zone='+00:00', foreign_key_checks=0;
    CREATE TABLE z(id INT AUTO_INCREMENT PRIMARY KEY, parent INT, v VARCHAR(50), b VARBINARY(20), bits BIT(10),
        f FLOAT, ts TIMESTAMP NULL, d DATE, e ENUM('p','q'), s VARCHAR(9) CHARACTER SET sjis, m DECIMAL(20,5),
        CONSTRAINT up FOREIGN KEY (parent) REFERENCES z(id));
    INSERT INTO z VALUES(0,7,'日本語😀 it''s \\ \n','\0\\',1023,16777217,'2020-10-25 00:30:00','0000-00-00','p','表ソ',-1.5),
        (7,NULL,'','',0,1.17549435e-38,NULL,'2020-02-30','q','',0),(8,0,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL);
    SET sql_mode=''; INSERT INTO z(id,e) VALUES(9,'x');
    CREATE TABLE `a``b c`(`k``1` INT PRIMARY KEY, t TEXT) ENGINE=MyISAM; INSERT INTO `a``b c` VALUES(1,'x'),(2,'y');
    CREATE VIEW a2 AS SELECT id FROM z; CREATE VIEW a1 AS SELECT x.id AS a3 FROM (a2 x JOIN z ON x.id=z.id);
    SET sql_mode='ANSI_QUOTES,PIPES_AS_CONCAT', time_zone='+09:00';
    DELIMITER //
    CREATE FUNCTION f(n INT) RETURNS VARCHAR(20) DETERMINISTIC RETURN "n" || ';'//
    CREATE PROCEDURE p() BEGIN SELECT '日本'; -- it's ;; not the end
        SELECT 2; END//
    CREATE TRIGGER tr BEFORE INSERT ON z FOR EACH ROW BEGIN SET NEW.v = CONCAT(NEW.v, '!'); END//
    CREATE EVENT ev ON SCHEDULE EVERY 1 DAY STARTS '2030-01-01 09:00:00' DISABLE DO DELETE FROM z WHERE id < 0//
    DELIMITER ;
    CREATE VIEW a0 AS SELECT f(a3) AS called FROM a1;
)";

// Everything that a server tells of the database but when it was made, and its rows exactly.
const char *const everything = R"(
    USE d; SET NAMES utf8mb4; SET time_zone='+00:00'; SHOW CREATE DATABASE d; SHOW FULL TABLES;
    SHOW CREATE TABLE z; SHOW CREATE TABLE `a``b c`; SHOW CREATE VIEW a0; SHOW CREATE VIEW a1; SHOW CREATE VIEW a2;
    SHOW CREATE FUNCTION f; SHOW CREATE PROCEDURE p; SHOW CREATE EVENT ev;
    SELECT TRIGGER_NAME, EVENT_MANIPULATION, EVENT_OBJECT_TABLE, ACTION_STATEMENT, ACTION_TIMING, SQL_MODE, DEFINER,
        CHARACTER_SET_CLIENT, COLLATION_CONNECTION FROM information_schema.TRIGGERS WHERE TRIGGER_SCHEMA='d';
    SELECT id, parent, HEX(v), HEX(b), bits+0, f*1e0, ts, d, e+0, HEX(s), m FROM z ORDER BY id;
    SELECT * FROM `a``b c`; SELECT * FROM a0;
)";

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
    void chosenPartsOnly();
    void aFailureLeavesNoFile_data();
    void aFailureLeavesNoFile();

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
    const QString before = server.run(everything);
    const QTemporaryDir folder;
    const QString path = folder.filePath("d.sql");

    DumpOptions options = wholeDatabase();
    options.insertBytes = 40; // more than one statement
    const DumpReport report = dumpFrom(server, options, {path, false}, isBuiltIn);
    QCOMPARE(report.rows, 6);
    QCOMPARE(report.outsideSnapshot, QStringList{"a`b c"});
    QCOMPARE(QDir(folder.path()).entryList(QDir::Files), QStringList{"d.sql"});
    server.run("DROP DATABASE d");
    load(server, path);
    QCOMPARE(server.run(everything), before);
    load(server, path); // over what is there
    QCOMPARE(server.run(everything), before);

    const QString compressed = folder.filePath("d.sql.gz");
    dumpFrom(server, wholeDatabase(), {compressed, false}, isBuiltIn);
    server.run("DROP DATABASE d");
    server.run(runToEnd(program("gzip"), {"-dc", compressed}));
    QCOMPARE(server.run(everything), before);
}

void DumpTest::awkwardValuesComeBack()
{
    TestServer &server = m_servers.of(TestServer::Brand::MariaDb);
    server.run(QString(valuesSetUp) +
               "CREATE SEQUENCE counter START WITH 5; SELECT NEXTVAL(counter);"
               "CREATE TABLE kept(id INT PRIMARY KEY) WITH SYSTEM VERSIONING;"
               "SET timestamp=1000000000; INSERT INTO kept VALUES(1),(2); SET timestamp=1000000060;"
               "DELETE FROM kept WHERE id=1;");
    const QString reading = QString(valuesRead) +
                            "SELECT id, row_start, row_end FROM d.kept FOR SYSTEM_TIME ALL ORDER BY 1;"
                            "SELECT next_not_cached_value FROM d.counter;";
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
    const QString reading =
        "SET time_zone='+00:00'; SELECT id, parent, HEX(v), HEX(b), bits+0, f*1e0, ts, d, e+0, "
        "HEX(s), m FROM d.z ORDER BY id; SELECT * FROM d.a0; SELECT * FROM d.`a``b c`; "
        "SELECT ROUTINE_NAME FROM information_schema.ROUTINES WHERE ROUTINE_SCHEMA='d' "
        "ORDER BY 1; SELECT TRIGGER_NAME FROM information_schema.TRIGGERS WHERE "
        "TRIGGER_SCHEMA='d'; SELECT EVENT_NAME, STARTS FROM information_schema.EVENTS "
        "WHERE EVENT_SCHEMA='d'";
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
    QCOMPARE(target.run(reading), source.run(reading));
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

void DumpTest::aFailureLeavesNoFile_data()
{
    QTest::addColumn<QString>("meanwhile");
    QTest::addColumn<qint64>("diskBytes");
    QTest::addColumn<QString>("words");
    const qint64 plenty = -1;
    row("table changed", QString("ALTER TABLE d.y ADD more INT"), plenty, QString("TABLE「y」の定義が"));
    row("view changed", QString("ALTER VIEW d.a2 AS SELECT 1 AS id"), plenty, QString("VIEW「a2」の定義が"));
    row("routine changed", QString("ALTER PROCEDURE d.p COMMENT 'new'"), plenty,
        QString("PROCEDURE「p」の定義が"));
    row("connection cut", QString("kill"), plenty, QString("テーブル「x」の"));
    row("disk full", QString(), qint64{300'000}, QString("書き込めません"));
    row("stopped", QString("stop"), plenty, QString("中断"));
}

void DumpTest::aFailureLeavesNoFile()
{
    QFETCH(QString, meanwhile);
    QFETCH(qint64, diskBytes);
    QFETCH(QString, words);
    TestServer &server = m_servers.of(TestServer::Brand::MariaDb);
    server.run(QString(objectsSetUp) +
               "CREATE TABLE x(id INT PRIMARY KEY, t LONGTEXT); CREATE TABLE y(id INT);"
               "INSERT INTO x SELECT seq, REPEAT('x', 1000) FROM seq_1_to_20000;");
    const QTemporaryDir folder;
    writeFile(folder.filePath("d.sql"), "the old one");
    rlimit unlimited{};
    getrlimit(RLIMIT_FSIZE, &unlimited);
    std::signal(SIGXFSZ, SIG_IGN);
    if (diskBytes > 0) {
        const rlimit small{static_cast<rlim_t>(diskBytes), unlimited.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
    }
    bool isDone = false;
    QString told;
    try {
        dumpFrom(server, wholeDatabase(), {folder.filePath("d.sql"), false}, true,
                 [&](const TransferStatus &status) {
                     if (status.object != u"x" || status.rows % 256 != 0 || std::exchange(isDone, true))
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
    setrlimit(RLIMIT_FSIZE, &unlimited);
    QVERIFY2(told.contains(words), qPrintable(told));
    QCOMPARE(QDir(folder.path()).entryList(QDir::Files), QStringList{"d.sql"});
    QCOMPARE(readFile(folder.filePath("d.sql")), "the old one");
}

QTEST_GUILESS_MAIN(DumpTest)
#include "test_dump.moc"
