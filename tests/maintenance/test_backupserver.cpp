#include "maintenance/backup/backup.h"
#include "maintenance/backup/restore.h"
#include "maintenance/tablebatches.h"
#include "support/awkwardvalues.h"
#include "support/gui/stage.h"

class BackupServerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_server.run(valuesSetUp); }
    void everyValueComesBack_data();
    void everyValueComesBack();
    void tiesAndPartsComeBack_data() { TestServers::addRows(); }
    void tiesAndPartsComeBack();
    void existingFilesStopTheRun();
    void aTableThatCannotBeWrittenLeavesNoFile();
    void whatCannotComeBackIsNotBackedUp();
    void aDamagedBackupLeavesTheTableAsItIs_data();
    void aDamagedBackupLeavesTheTableAsItIs();

private:
    // Of all tables; gives the box that ended it.
    QString backUp(const QString &folder, const QString &account = "demo");

    TestServer m_server;
    TestServers m_servers;
    bool m_isFailure = false;
    bool m_isNamedEarly = false; // a backup that the restore would have found before its rows were whole
};

QString BackupServerTest::backUp(const QString &folder, const QString &account)
{
    RealStage stage(m_server, nativeDriverName(), "d", 0, account);
    stage.listTables(m_server);
    stage.dialogue.choice.folder = folder;
    WrappedConnection::into(stage.session, [this](Connection &inner, const QString &statement) {
        static const QRegularExpression rows("INTO OUTFILE '(.*)\\.dat'");
        if (const auto match = rows.match(statement); match.hasMatch())
            m_isNamedEarly = m_isNamedEarly || QFile::exists(match.captured(1) + ".frm");
        return inner.execute(statement);
    });
    stage.run(backUpTables);
    m_isFailure = stage.dialogue.isCritical;
    return stage.told();
}

void BackupServerTest::everyValueComesBack_data()
{
    // The last is a setting that the user has left behind in the session.
    const Rows<QString, QString, QString> row;
    const QString drop = "DROP TABLE texts, bytes, numbers, made, nothing; DROP VIEW seen, again;";
    const QString change =
        "DELETE FROM texts; ALTER TABLE numbers DROP f; INSERT INTO made(a) VALUES(5);"
        "ALTER TABLE bytes RENAME moved; CREATE TABLE bytes(only INT);"
        "INSERT INTO nothing(a) VALUES(1); DROP VIEW seen; CREATE TABLE seen(a INT); DROP TABLE moved;";
    row("changed, ODBC", odbcDriver(), change, "sql_mode='ANSI'");
    row("dropped, ODBC", odbcDriver(), drop, "time_zone='+09:00', check_constraint_checks=0");
    row("changed, built in", nativeDriverName(), change, "sql_select_limit=1, foreign_key_checks=0");
    row("dropped, built in", nativeDriverName(), drop,
        "sql_mode='ANSI_QUOTES,NO_BACKSLASH_ESCAPES', sql_quote_show_create=0");
}

void BackupServerTest::everyValueComesBack()
{
    const auto [driver, change, setting] = fetched<QString, QString, QString>();
    const QString before = m_server.run(valuesRead);
    const QTemporaryDir folder;
    QVERIFY(QDir(folder.path()).mkdir("it's 表\\n"));
    RealStage stage(m_server, driver);
    stage.listTables(m_server);
    Connection &connection = *stage.session.gCn;
    connection.execute("USE mysql");
    connection.execute("SET " + setting);
    const auto settings = [&] {
        return connection
            .execute("SELECT CONCAT_WS(' ', @@sql_mode, @@time_zone, @@sql_select_limit, "
                     "@@sql_quote_show_create, @@check_constraint_checks, @@foreign_key_checks, DATABASE())")
            .text(0);
    };
    const QString settingsBefore = settings();
    RestoreChoice &choice = stage.dialogue.choice;
    choice.folder = folder.filePath("it's 表\\n");
    choice.names = QStringList{"again", "bytes", "made", "nothing", "numbers", "seen", "texts"};
    stage.run(backUpTables);
    QCOMPARE(stage.told(), "「" + choice.folder + "」にﾊﾞｯｸｱｯﾌﾟしました。");
    QCOMPARE(settings(), settingsBefore);
    QCOMPARE(filesIn(choice.folder).size(), 12);
    QVERIFY(readFile(choice.folder + "/nothing.frm").startsWith("CREATE TABLE `nothing` (\n"));

    m_server.run(change, "d");
    stage.run(restoreTables);
    QCOMPARE(stage.told(), "「" + choice.folder + "」から復元しました。");
    QCOMPARE(settings(), settingsBefore);
    QCOMPARE(m_server.run(valuesRead), before);
    QCOMPARE(stage.dialogue.progresses.last(), "7/7");
}

// What the tables of one restore have to do with each other, and with their own old selves.
void BackupServerTest::tiesAndPartsComeBack()
{
    QFETCH(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    TestServer &server = m_servers.of(brand);
    server.run("create database d");
    server.run("set sql_mode='ALLOW_INVALID_DATES';"
               "create table parent(a int primary key, z date default '0000-00-00', "
               "constraint positive check (a > 0)) engine=innodb;"
               "create table child(a int, constraint up foreign key (a) references parent(a)) engine=innodb;"
               "create table part(a int) engine=myisam; create table bad(a int);"
               "create table a_merge(a int) engine=merge union=(part) insert_method=last;"
               "insert into parent values (1,'0000-00-00'); insert into child values (1); "
               "insert into part values (5);"
               "create view a_view as select a from a_merge",
               "d");
    const QString all = "select * from parent,child,part,a_merge,a_view; show create table parent; "
                        "show create table child; show create table a_merge; show tables";
    const QString before = server.run(all, "d");
    const QTemporaryDir folder;
    RealStage stage(server, nativeDriverName());
    stage.listTables(server);
    stage.dialogue.choice.folder = folder.path();
    stage.run(backUpTables);
    QVERIFY2(!stage.dialogue.isCritical, qPrintable(stage.told()));
    server.run("set foreign_key_checks=0; delete from parent; update part set a=6", "d");
    writeFile(folder.filePath("bad.frm"),
              readFile(folder.filePath("bad.frm")).replace("ENGINE=", "ENGINE=un"));

    stage.dialogue.choice.names = {"a_merge", "a_view", "bad", "child", "parent", "part"};
    stage.run(restoreTables);
    const QString told = stage.told();
    QVERIFY2(told.contains("「bad」") && told.contains("復元済み: child, parent, part, a_merge, a_view"),
             qPrintable(told));
    QVERIFY(!told.contains("復元していないもの"));
    QCOMPARE(server.run(all, "d"), before);

    const auto mode = [&] { return stage.session.connection().execute("select @@sql_mode").text(0); };
    const QString modeBefore = mode();
    stage.run(copyTables);
    QCOMPARE(stage.told(), "ﾃｰﾌﾞﾙをｺﾋﾟｰしました。");
    QCOMPARE(mode(), modeBefore);
    const QString copy = "back_parent" + QDate::currentDate().toString("_yy_MM_dd");
    QCOMPARE(server.run("select * from " + copy, "d"), server.run("select * from parent", "d"));
}

void BackupServerTest::existingFilesStopTheRun()
{
    for (const char *file : {"texts.frm", "texts.dat"}) {
        const QTemporaryDir folder;
        writeFile(folder.filePath(file), "mine");
        const QString told = backUp(folder.path());
        QVERIFY2(m_isFailure && told.contains(folder.filePath(file)), qPrintable(told));
        QCOMPARE(readFile(folder.filePath(file)), QByteArray("mine"));
        QCOMPARE(filesIn(folder.path()), QStringList{file});
    }
}

void BackupServerTest::aTableThatCannotBeWrittenLeavesNoFile()
{
    m_server.run("CREATE USER IF NOT EXISTS poor@'%' IDENTIFIED BY 'demo';"
                 "GRANT SELECT, SHOW VIEW ON d.* TO poor@'%'");
    const QTemporaryDir folder;
    const QString told = backUp(folder.path(), "poor");
    QVERIFY2(m_isFailure && told.contains("denied"), qPrintable(told));
    // The view before it needed no right to write files.
    QCOMPARE(filesIn(folder.path()), QStringList{"again.frm"});
    QVERIFY(!m_isNamedEarly);
}

void BackupServerTest::whatCannotComeBackIsNotBackedUp()
{
    for (const char *setUp :
         {"CREATE TABLE odd(a INT) WITH SYSTEM VERSIONING", "CREATE SEQUENCE odd",
          "SET sql_mode=''; CREATE TABLE odd(e ENUM('a')); INSERT INTO odd VALUES('b')"}) {
        m_server.run(QString("DROP TABLE IF EXISTS odd;") + setUp, "d");
        const QTemporaryDir folder;
        const QString told = backUp(folder.path()); // others of the run come before it
        QVERIFY2(m_isFailure && told.contains("odd"), qPrintable(setUp + told));
        QCOMPARE(filesIn(folder.path()), QStringList());
    }
}

void BackupServerTest::aDamagedBackupLeavesTheTableAsItIs_data()
{
    const Rows<QString, QByteArray, QByteArray> row;
    row("engine that the server lacks", "numbers.frm", QByteArray("InnoDB"), QByteArray("Nothing"));
    row("rows of another table", "numbers.dat", QByteArray("\t"), QByteArray("x\t"));
    row("row without all columns", "numbers.dat", QByteArray("5\t"), QByteArray("\n"));
    row("a row twice", "numbers.dat", QByteArray("7\t"), QByteArray("5\t"));
}

void BackupServerTest::aDamagedBackupLeavesTheTableAsItIs()
{
    const auto [file, from, to] = fetched<QString, QByteArray, QByteArray>();
    const QTemporaryDir folder;
    backUp(folder.path());
    QVERIFY(!m_isFailure);
    const QByteArray damaged = readFile(folder.filePath(file)).replace(from, to);
    QVERIFY(damaged != readFile(folder.filePath(file)));
    writeFile(folder.filePath(file), damaged);

    m_server.run("UPDATE numbers SET f=4 WHERE n=5", "d");
    const QString before = m_server.run(valuesRead);
    RealStage stage(m_server, nativeDriverName());
    stage.dialogue.choice = {{"nothing", "numbers", "texts"}, folder.path()};
    stage.run(restoreTables);
    QVERIFY2(stage.dialogue.isCritical &&
                 stage.told().contains("「numbers」は復元前の状態に戻しました。\r\n復元済み: nothing, texts"),
             qPrintable(stage.told()));
    QCOMPARE(m_server.run(valuesRead), before);
}

QTEST_GUILESS_MAIN(BackupServerTest)
#include "test_backupserver.moc"
