#include "maintenance/backup.h"
#include "maintenance/restore.h"
#include "realfixture.h"

namespace {

// Every kind of value that a file between two statements could change, and the words that read it exactly.
const char *const valuesSetUp = R"(
    DROP DATABASE IF EXISTS d; CREATE DATABASE d; USE d; SET NAMES utf8mb4; SET time_zone='+00:00';
    SET sql_mode='NO_AUTO_VALUE_ON_ZERO';
    CREATE TABLE texts(id INT PRIMARY KEY, v VARCHAR(50), c CHAR(5) NOT NULL, s VARCHAR(20) CHARACTER SET sjis,
        u VARCHAR(20) CHARACTER SET utf16, l VARCHAR(20) CHARACTER SET latin1, t LONGTEXT, j JSON,
        e ENUM('a','','1'), x SET('p','q'));
    INSERT INTO texts VALUES(1,'日本語😀 ','x','表ソ能','十','é','a\tb\nc\\d\0e\r\n','{"表":1}','','p,q'),
        (2,NULL,'',NULL,NULL,NULL,NULL,NULL,NULL,NULL),(3,'NULL','\\N','','','','\\N','[]','1','');
    CREATE TABLE bytes(id INT PRIMARY KEY, b BINARY(4), v VARBINARY(300), l BLOB, b1 BIT(1), b8 BIT(8), b64 BIT(64),
        g GEOMETRY, i INET6, w UUID);
    INSERT INTO bytes VALUES(1,'\\\t\n\0',UNHEX('00FF5C090A27E381E3'),UNHEX('5C4E'),b'1',9,18446744073709551615,
        ST_GeomFromText('POINT(1 2)',4326),'2001:db8::ff00:1','123e4567-e89b-12d3-a456-426655440000'),
        (2,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL),(3,'','','',b'0',92,10,ST_GeomFromText('POINT(0 0)'),'::',NULL);
    CREATE TABLE numbers(n INT AUTO_INCREMENT PRIMARY KEY, f FLOAT, g FLOAT(7,2), h DOUBLE, m DECIMAL(30,10), z INT(8) ZEROFILL,
        d DATE, dt DATETIME(6), t TIME(6), y YEAR, ts TIMESTAMP NULL);
    INSERT INTO numbers VALUES(0,16777217,3.14159,0.1,-123456789012345678.0123456789,42,'0000-00-00',
        '9999-12-31 23:59:59.999999','-838:59:59',0,'2020-10-25 00:30:00'),
        (5,1.17549435e-38,99999.99,1.7976931348623157e308,0,0,'2020-02-00','0000-00-00','00:00:00.000001',2155,'2020-10-25 01:30:00'),
        (7,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL,NULL);
    CREATE TABLE made(a INT, b INT AS (a+1) VIRTUAL, c INT AS (a*2) STORED, `select` INT DEFAULT (1+1), h INT INVISIBLE DEFAULT 3);
    INSERT INTO made(a,`select`,h) VALUES(1,10,20),(2,NULL,NULL);
    CREATE TABLE nothing(a INT);
    CREATE VIEW seen AS SELECT id, v FROM texts WHERE id > 1;
    CREATE VIEW again AS SELECT id AS `seen` FROM seen;
)";
const char *const valuesRead = R"(
    SET time_zone='+00:00';
    SELECT id,HEX(v),HEX(c),HEX(s),HEX(u),HEX(l),HEX(t),HEX(j),e+0,x+0 FROM d.texts ORDER BY 1;
    SELECT id,HEX(b),HEX(v),HEX(l),HEX(b1),HEX(b8),HEX(b64),HEX(g),ST_SRID(g),HEX(i),w FROM d.bytes ORDER BY 1;
    SELECT n,f*1e0,g*1e0,h,m,z,d,dt,t,y,ts FROM d.numbers ORDER BY 1;
    SELECT a,b,c,`select`,h FROM d.made ORDER BY 1;
    SELECT COUNT(*) FROM d.nothing;
    SELECT id,HEX(v) FROM d.seen ORDER BY 1; SELECT * FROM d.again ORDER BY 1;
    SHOW CREATE TABLE d.texts; SHOW CREATE TABLE d.bytes; SHOW CREATE TABLE d.numbers; SHOW CREATE TABLE d.made;
    SHOW CREATE TABLE d.nothing; SHOW CREATE TABLE d.seen; SHOW CREATE TABLE d.again;
    SHOW TABLES FROM d;
)";

} // namespace

class BackupServerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_server.run(valuesSetUp); }
    void everyValueComesBack_data();
    void everyValueComesBack();
    void existingFilesStopTheRun_data();
    void existingFilesStopTheRun();
    void aTableThatCannotBeWrittenLeavesNoFile();
    void whatCannotComeBackIsNotBackedUp_data();
    void whatCannotComeBackIsNotBackedUp();
    void aDamagedBackupLeavesTheTableAsItIs_data();
    void aDamagedBackupLeavesTheTableAsItIs();
    void theSessionKeepsItsSettings();

private:
    QString string(bool isOdbc) const { return isOdbc ? m_server.odbcString() : m_server.nativeString("d"); }

    TestServer m_server;
};

void BackupServerTest::everyValueComesBack_data()
{
    QTest::addColumn<bool>("isOdbc");
    QTest::addColumn<QString>("change");
    QTest::addColumn<QString>("setting"); // left behind in the session by the user
    const QString drop = "DROP TABLE texts, bytes, numbers, made, nothing; DROP VIEW seen, again;";
    const QString change =
        "DELETE FROM texts; ALTER TABLE numbers DROP f; INSERT INTO made(a) VALUES(5);"
        "ALTER TABLE bytes RENAME moved; CREATE TABLE bytes(only INT);"
        "INSERT INTO nothing VALUES(1); DROP VIEW seen; CREATE TABLE seen(a INT); DROP TABLE moved;";
    QTest::newRow("changed, ODBC") << true << change << "SET sql_mode='ANSI'";
    QTest::newRow("dropped, ODBC") << true << drop << "SET time_zone='+09:00'";
    QTest::newRow("changed, built in") << false << change << "SET sql_select_limit=1";
    QTest::newRow("dropped, built in") << false << drop << "SET sql_mode='NO_BACKSLASH_ESCAPES'";
    QTest::newRow("as it was") << false << "DO 0"
                               << "SET foreign_key_checks=1";
}

void BackupServerTest::everyValueComesBack()
{
    QFETCH(bool, isOdbc);
    QFETCH(QString, change);
    QFETCH(QString, setting);
    const QString before = m_server.run(valuesRead);
    const QTemporaryDir folder;
    QVERIFY(QDir(folder.path()).mkdir("it's 表\\n"));
    RealFixture fixture(m_server, string(isOdbc));
    fixture.session.gCn->execute(setting);
    fixture.choice.folder = folder.filePath("it's 表\\n");
    fixture.choice.names = QStringList{"again", "bytes", "made", "nothing", "numbers", "seen", "texts"};
    m_server.takeStatements();
    QCOMPARE(fixture.run(backUpTables), "「" + fixture.choice.folder + "」にﾊﾞｯｸｱｯﾌﾟしました。");
    QCOMPARE(QDir(fixture.choice.folder).entryList(QDir::Files).size(), 12);
    QVERIFY(bytesOf(fixture.choice.folder + "/nothing.frm").startsWith("CREATE TABLE `nothing` (\n"));
    if (!isOdbc)
        QCOMPARE(m_server.takeStatements().value(0),
                 "backup table `d`.again,`d`.bytes,`d`.made,`d`.nothing,`d`.numbers,`d`.seen,`d`.texts to '" +
                     QString(fixture.choice.folder).replace("\\", "\\\\") + "'");

    m_server.run(change, "d");
    QCOMPARE(fixture.run(restoreTables), "「" + fixture.choice.folder + "」から復元しました。");
    QCOMPARE(m_server.run(valuesRead), before);
    QCOMPARE(fixture.progresses.last(), QStringLiteral("7/7"));
}

void BackupServerTest::existingFilesStopTheRun_data()
{
    QTest::addColumn<QString>("file");
    QTest::newRow("definition") << "texts.frm";
    QTest::newRow("rows") << "texts.dat";
}

void BackupServerTest::existingFilesStopTheRun()
{
    QFETCH(QString, file);
    const QTemporaryDir folder;
    put(folder.filePath(file), "mine");
    RealFixture fixture(m_server, m_server.nativeString());
    fixture.choice.folder = folder.path();
    const QString told = fixture.run(backUpTables);
    QVERIFY2(fixture.isFailure && told.contains(folder.filePath(file)), qPrintable(told));
    QCOMPARE(bytesOf(folder.filePath(file)), QByteArray("mine"));
    QCOMPARE(QDir(folder.path()).entryList(QDir::Files), QStringList{file});
}

void BackupServerTest::aTableThatCannotBeWrittenLeavesNoFile()
{
    m_server.run("CREATE USER IF NOT EXISTS poor@'%' IDENTIFIED BY 'demo'; GRANT SELECT ON d.* TO poor@'%'; "
                 "GRANT SHOW VIEW ON d.* TO poor@'%'");
    const QTemporaryDir folder;
    RealFixture fixture(m_server, m_server.nativeString().replace("uid=demo", "uid=poor"));
    fixture.choice.folder = folder.path();
    const QString told = fixture.run(backUpTables);
    QVERIFY2(fixture.isFailure && told.contains("denied"), qPrintable(told));
    // The view before it needed no right to write files.
    QCOMPARE(QDir(folder.path()).entryList(QDir::Files), QStringList{"again.frm"});
}

void BackupServerTest::whatCannotComeBackIsNotBackedUp_data()
{
    QTest::addColumn<QString>("setUp");
    QTest::newRow("history of rows") << "CREATE TABLE odd(a INT) WITH SYSTEM VERSIONING";
    QTest::newRow("sequence") << "CREATE SEQUENCE odd";
    QTest::newRow("error value of an ENUM")
        << "SET sql_mode=''; CREATE TABLE odd(e ENUM('a')); INSERT INTO odd VALUES('b')";
}

void BackupServerTest::whatCannotComeBackIsNotBackedUp()
{
    QFETCH(QString, setUp);
    m_server.run(setUp, "d");
    const QTemporaryDir folder;
    RealFixture fixture(m_server, m_server.nativeString());
    fixture.selection.lblPreTable = QStringLiteral("1");
    fixture.selection.table = QStringLiteral("[TABLE]\todd");
    fixture.choice.folder = folder.path();
    const QString told = fixture.run(backUpTables);
    QVERIFY2(fixture.isFailure && told.contains("odd"), qPrintable(told));
    QCOMPARE(QDir(folder.path()).entryList(QDir::Files), QStringList());
}

void BackupServerTest::aDamagedBackupLeavesTheTableAsItIs_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("from");
    QTest::addColumn<QByteArray>("to");
    QTest::newRow("definition that the server refuses")
        << "numbers.frm" << QByteArray("PRIMARY KEY") << QByteArray("PRIMARY");
    QTest::newRow("rows of another table") << "numbers.dat" << QByteArray("\t") << QByteArray("x\t");
    QTest::newRow("row without all columns") << "numbers.dat" << QByteArray("5\t") << QByteArray("\n");
    QTest::newRow("a row twice") << "numbers.dat" << QByteArray("7\t") << QByteArray("5\t");
    QTest::newRow("definition says it is a table of a missing engine")
        << "numbers.frm" << QByteArray("InnoDB") << QByteArray("Nothing");
}

void BackupServerTest::aDamagedBackupLeavesTheTableAsItIs()
{
    QFETCH(QString, file);
    QFETCH(QByteArray, from);
    QFETCH(QByteArray, to);
    const QTemporaryDir folder;
    RealFixture fixture(m_server, m_server.nativeString());
    fixture.choice.folder = folder.path();
    fixture.run(backUpTables);
    QVERIFY(!fixture.isFailure);
    const QByteArray damaged = bytesOf(folder.filePath(file)).replace(from, to);
    QVERIFY(damaged != bytesOf(folder.filePath(file)));
    put(folder.filePath(file), damaged);

    m_server.run("UPDATE numbers SET f=4 WHERE n=5", "d");
    const QString before = m_server.run(valuesRead);
    fixture.choice.names = QStringList{"nothing", "numbers", "texts"};
    const QString told = fixture.run(restoreTables);
    QVERIFY2(fixture.isFailure &&
                 told.contains("「numbers」は復元前の状態に戻しました。\r\n復元済み: nothing"),
             qPrintable(told));
    QCOMPARE(m_server.run(valuesRead), before);
}

void BackupServerTest::theSessionKeepsItsSettings()
{
    const QTemporaryDir folder;
    RealFixture fixture(m_server, m_server.nativeString("mysql"));
    Connection &connection = *fixture.session.gCn;
    connection.execute(
        "SET sql_mode='ANSI_QUOTES,NO_BACKSLASH_ESCAPES', time_zone='+03:00', sql_select_limit=7, "
        "sql_quote_show_create=0, check_constraint_checks=0");
    const QString read =
        "SELECT CONCAT_WS(' ', @@sql_mode, @@time_zone, @@sql_select_limit, @@sql_quote_show_create, "
        "@@check_constraint_checks, @@foreign_key_checks, DATABASE())";
    const QString before = connection.execute(read).text(0);
    QVERIFY2(before.endsWith("+03:00 7 OFF OFF ON mysql"), qPrintable(before));
    fixture.choice = {{"texts"}, folder.path()};
    fixture.run(backUpTables);
    fixture.run(restoreTables);
    QVERIFY(!fixture.isFailure);
    QCOMPARE(connection.execute(read).text(0), before);
}

QTEST_GUILESS_MAIN(BackupServerTest)
#include "test_backupserver.moc"
