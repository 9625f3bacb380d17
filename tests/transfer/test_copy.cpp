#include "core/command/pendingundo.h"
#include "core/session/connectionstring.h"
#include "core/session/lastingconnection.h"
#include "support/awkwardobjects.h"
#include "support/balancer.h"
#include "support/gui/stage.h"
#include "transfer/copy/copywindow.h"
#include "transfer/csv/csvimportwindow.h"
#include "transfer/load/loadwindow.h"

#include <QSemaphore>

namespace {

// Runs what it is told to, once it may end.
class ProbeWindow : public TransferWindow {
public:
    ProbeWindow(Session &session, const std::function<TransferReport()> &work)
        : TransferWindow(session, "probe", "probe", "startProbe")
        , m_work(work)
    {
    }
    QSemaphore mayEnd;

private:
    void start() override
    {
        begin([this](const ReportProgress &) {
            mayEnd.acquire();
            return m_work();
        });
    }
    const std::function<TransferReport()> m_work;
};

using Brand = TestServer::Brand;

// Both ends of a copy, connected.
struct Ends {
    Ends(const QString &source, const QString &target)
    {
        for (const auto &[session, string] : {std::pair(&from, source), {&to, target}}) {
            session->connectBy(createConnection, pump);
            session->gDsn = noDataSource();
            session->gDriver = nativeDriverName();
            session->gServer = "127.0.0.1";
            session->gPort = ConnectionString(string).value("port");
            session->gUser = session->gPass = "demo";
            session->gCn = session->makeConnection(string);
            session->gCn->open();
        }
    }
    TargetLook look() { return lookAtTarget(from, to, options); }
    QString copy(
        const TargetLook &agreed, const ReportProgress &at = [](auto &) {})
    {
        return copyObjects(from, to, options, agreed, at).text;
    }

    BlockingPump pump;
    Session from, to;
    CopyOptions options = [] {
        CopyOptions whole;
        whole.database = whole.what.database = "d";
        return whole;
    }();
};

// What it throws.
template <class Action>
QString wordsOf(Action action)
{
    try {
        action();
    } catch (const Failure &failure) {
        return failure.description();
    }
    return {};
}

QString asBefore()
{
    return "コピー先のテーブルは、前のままです";
}

bool refuses(TestServer &server, const char *statement)
{
    Ends ends(server.nativeString(), server.nativeString());
    return !wordsOf([&] { ends.to.connection().execute(statement); }).isEmpty();
}

} // namespace

class CopyTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everythingArrives_data();
    void everythingArrives();
    void tablesOfTheOtherBrandKeepTheirMeaning_data();
    void tablesOfTheOtherBrandKeepTheirMeaning();
    void tablesChangePlaces_data();
    void tablesChangePlaces();
    void aMissingRightChangesNothing_data();
    void aMissingRightChangesNothing();
    void neverOntoItself_data();
    void neverOntoItself();
    void whatEndsEarlySaysWhatIsThere_data();
    void whatEndsEarlySaysWhatIsThere();
    void aKilledCopyIsToldAtTheNextStart();
    void theWindowAsksForTheTarget();
    void aFileOfSqlIsLookedAtAgain();
    void aClosedWindowStaysForWhatIsToBeRead_data();
    void aClosedWindowStaysForWhatIsToBeRead();
    void columnsThatAnImportLeavesOutAreNamed();

private:
    TestServers m_servers{{"--character-set-server=utf8mb4"}};
    TestServers m_targets{{"--character-set-server=utf8mb4"}};
};

void CopyTest::everythingArrives_data()
{
    const Rows<Brand, Brand, bool> row;
    row("MariaDB to MariaDB", Brand::MariaDb, Brand::MariaDb, true);
    row("by ODBC", Brand::MariaDb, Brand::MariaDb, false);
    row("MySQL 5.6 to MySQL 9", Brand::MySql56, Brand::MySql9, true);
    row("MySQL 9 to MariaDB", Brand::MySql9, Brand::MariaDb, true);
    row("MySQL 9 to MySQL 5.6", Brand::MySql9, Brand::MySql56, true);
    row("MariaDB to MySQL 5.6", Brand::MariaDb, Brand::MySql56, true);
}

void CopyTest::everythingArrives()
{
    const auto [from, to, isBuiltIn] = fetched<Brand, Brand, bool>();
    SKIP_WITHOUT(from);
    SKIP_WITHOUT(to);
    TestServer &source = m_servers.of(from), &target = m_targets.of(to);
    source.run(objectsSetUp);
    target.run("DROP DATABASE IF EXISTS d");
    const char *reading = from == to ? everything : portable;
    const QString before = source.run(reading);

    Ends ends(source.connectionString(isBuiltIn), target.connectionString(isBuiltIn));
    ends.options.what.insertBytes = 40; // more than one statement
    ends.options.what.hasDefiners = from == to;
    const TargetLook look = ends.look();
    QVERIFY(!look.hasDatabase && look.existing.isEmpty());
    ends.options.replacesCollations = !look.unknownCollations.isEmpty();
    QCOMPARE(ends.copy(look),
             "データベース「d」に 9 個のオブジェクト、6 行をコピーしました。\n次のテーブルは"
             "スナップショットに対応していません。実行中の変更が混じることがあります: a`b c");
    QCOMPARE(target.run(reading), before);

    Ends again(source.connectionString(isBuiltIn), target.connectionString(isBuiltIn));
    again.options = ends.options;
    QCOMPARE(again.look().existing.size(), 9);
    again.copy(again.look()); // over what is there
    QCOMPARE(target.run(reading), before);
}

void CopyTest::tablesOfTheOtherBrandKeepTheirMeaning_data()
{
    // Columns; what is asked of the copy, its answer, and what is told before.
    const Rows<Brand, Brand, QString, QString, QString, QStringList> row;
    const Brand maria = Brand::MariaDb, mySql = Brand::MySql9;
    row("texts in expressions", mySql, maria,
        R"(k int, a varchar(9) default 'x', g varchar(20) as (concat(a,'あ\\')) stored, check (a<>'い'))",
        "insert into t(k) values(2); select hex(g) from t order by k; "
        "select check_clause like '%い%' from information_schema.check_constraints where "
        "constraint_schema='d'",
        "78E381825C\n78E381825C\n1\n", {});
    row("invisible", mySql, maria, "k int, hid int default 7 invisible, index i(k) invisible",
        "select * from t; select hid from t; select ignored from information_schema.statistics where "
        "table_schema='d'",
        "1\n7\nYES\n", {});
    row("defaults", maria, mySql,
        "k int, a varchar(50) default concat('x',lower('Y')), b text default 'q''', c date default "
        "curdate(), "
        "e timestamp default current_timestamp(), z int default (1+2), index i(k) ignored",
        "insert into t(k) values(2); select a,b,c=curdate(),z from t where k=2; select is_visible from "
        "information_schema.statistics where table_schema='d'",
        "xy\tq'\t1\t3\nNO\n", {});
    row("told", mySql, maria, "k int check (k>5) not enforced, g point srid 4326", "select k from t", "1\n",
        {"「t」の「t_chk_1」は、効く検査", "「t」の「g」の SRID 4326 は、なくなります"});
    row("told, older", mySql, Brand::MySql56, "k int, hid int default 7 invisible", "select k from t", "1\n",
        {"「t」の「hid」は、見える列"});
    row("refused", maria, mySql, "k int, u uuid", {}, {}, {"「t」: ", "コピー先は変更していません"});
    row("refused, older", maria, Brand::MySql56, "k int, a int default (1+1)", {}, {}, {"「t」: "});
}

void CopyTest::tablesOfTheOtherBrandKeepTheirMeaning()
{
    const auto [from, to, columns, reading, answer, told] =
        fetched<Brand, Brand, QString, QString, QString, QStringList>();
    SKIP_WITHOUT(from);
    SKIP_WITHOUT(to);
    TestServer &source = m_servers.of(from), &target = m_targets.of(to);
    source.run("DROP DATABASE IF EXISTS d; CREATE DATABASE d; USE d; CREATE TABLE t(" + columns +
               "); INSERT INTO t(k) VALUES(1)");
    target.run("DROP DATABASE IF EXISTS d");
    Ends ends(source.nativeString(), target.nativeString());
    ends.options.replacesCollations = true;
    TargetLook look;
    QString words = wordsOf([&] { look = ends.look(); });
    words += look.changes.join(u'\n');
    for (const QString &part : told)
        QVERIFY2(words.contains(part), qPrintable(words));
    QVERIFY2(words.isEmpty() == told.isEmpty(), qPrintable(words));
    if (reading.isEmpty()) {
        QCOMPARE(target.run("SHOW DATABASES LIKE 'd'"), QString());
        return;
    }
    for (int i = 0; i < 2; ++i) { // the second time beside what is there
        ends.copy(ends.look());
        QCOMPARE(target.run(reading, "d"), answer);
    }
}

void CopyTest::tablesChangePlaces_data()
{
    TestServers::addRows();
}

// Whatever belongs to a table by its name, or to the name of its database.
void CopyTest::tablesChangePlaces()
{
    QFETCH(Brand, brand);
    SKIP_WITHOUT(brand);
    TestServer &source = m_servers.of(brand), &target = m_targets.of(brand);
    const bool isMariaDb = brand == Brand::MariaDb;
    const QString tables =
        "DROP DATABASE IF EXISTS d; CREATE DATABASE d; USE d;" +
        QString(isMariaDb
                    ? "CREATE SEQUENCE s START WITH 5; CREATE TABLE h(id INT DEFAULT NEXTVAL(s) PRIMARY "
                      "KEY, FOREIGN KEY (id) REFERENCES p(id)) WITH SYSTEM VERSIONING;"
                    : "") +
        "CREATE TABLE c(id INT PRIMARY KEY, p INT, note VARCHAR(9) DEFAULT ')', KEY(p), CHECK (id < 100),"
        " CONSTRAINT `own``` CHECK (id > 0), CONSTRAINT `to p` FOREIGN KEY (p) REFERENCES p(id) ON DELETE "
        "SET NULL, FOREIGN KEY (id) REFERENCES p(id)) COMMENT 'FOREIGN KEY (';"
        "CREATE TABLE p(id INT PRIMARY KEY, up INT, FOREIGN KEY (up) REFERENCES p(id));"
        "CREATE VIEW v AS SELECT id FROM c; CREATE TRIGGER tr BEFORE INSERT ON c FOR EACH ROW SET NEW.p=1;";
    const QString definitions =
        "USE d; SHOW TABLES; SHOW CREATE TABLE c; SHOW CREATE TABLE p; SELECT * FROM v;"
        "SELECT TRIGGER_NAME, EVENT_OBJECT_TABLE FROM information_schema.TRIGGERS "
        "WHERE TRIGGER_SCHEMA='d'";
    source.run("SET foreign_key_checks=0;" + tables +
               "INSERT INTO p VALUES(1,1),(2,1); INSERT INTO c(id) VALUES(1),(2)");
    target.run("SET foreign_key_checks=0;" + tables +
               "INSERT INTO p VALUES(7,7); INSERT INTO c(id) VALUES(7)");
    Ends ends(source.nativeString(), target.nativeString());
    ends.copy(ends.look());
    QCOMPARE(target.run(definitions), source.run(definitions));

    // A table that stays and refers to one that does not.
    target.run(
        "CREATE TABLE d.stays(id INT PRIMARY KEY, CONSTRAINT here FOREIGN KEY (id) REFERENCES d.p(id));"
        "INSERT INTO d.stays VALUES(2)");
    const QString stays = target.run("SHOW CREATE TABLE d.stays");
    Ends again(source.nativeString(), target.nativeString());
    again.copy(again.look());
    QCOMPARE(target.run(definitions).remove("stays\n"), source.run(definitions));
    QCOMPARE(target.run("SHOW CREATE TABLE d.stays"), stays);
    for (const char *statement :
         {"DELETE FROM d.p WHERE id=2", "INSERT INTO d.stays VALUES(9)", "INSERT INTO d.c(id) VALUES(9)"})
        QVERIFY2(refuses(target, statement), statement);

    // A name that another table has is found before anything changes its place.
    source.run(
        "USE d; CREATE TABLE x(id INT PRIMARY KEY, CONSTRAINT here FOREIGN KEY (id) REFERENCES p(id))");
    const QString words = wordsOf([&] {
        Ends third(source.nativeString(), target.nativeString());
        third.copy(third.look());
    });
    QVERIFY2(words.contains("「here」は、コピー先の「stays」が") && words.contains("前のままです"),
             qPrintable(words));
    // And so is a key that the server refuses.
    const char *keyed = "USE d; CREATE TABLE q(id %1 PRIMARY KEY); CREATE TABLE e(id INT PRIMARY KEY%2);";
    source.run(QString(keyed).arg("INT", ", FOREIGN KEY (id) REFERENCES q(id)"));
    target.run(QString(keyed).arg("VARCHAR(9)", "") + "INSERT INTO e VALUES(7)");
    const QString refusal = wordsOf([&] {
        Ends fourth(source.nativeString(), target.nativeString());
        fourth.options.what.objects = QStringList("e");
        fourth.copy(fourth.look());
    });
    QVERIFY2(refusal.contains("「e」の外部キー (e_ibfk_1)") && refusal.contains("前のままです"),
             qPrintable(refusal));
    QCOMPARE(target.run("SELECT id FROM d.e"), "7\n");
    QVERIFY(!target.run("USE d; SHOW TABLES").contains("tarnwell"));
}

void CopyTest::aMissingRightChangesNothing_data()
{
    TestServers::addRows();
}

void CopyTest::aMissingRightChangesNothing()
{
    QFETCH(Brand, brand);
    SKIP_WITHOUT(brand);
    TestServer &source = m_servers.of(Brand::MariaDb), &target = m_targets.of(brand);
    for (TestServer *server : {&source, &target})
        server->run("DROP DATABASE IF EXISTS d; CREATE DATABASE d; CREATE TABLE d.t(a INT PRIMARY KEY)");
    target.run(
        "CREATE USER little@'%' IDENTIFIED BY 'demo'; GRANT SELECT, INSERT, CREATE ON d.* TO little@'%'");
    Ends ends(source.nativeString(), target.nativeString().replace("uid=demo", "uid=little"));
    ends.to.gUser = "little";
    const QString words = wordsOf([&] { ends.copy(ends.look()); });
    QVERIFY2(words.contains("command denied") && words.contains("コピー先は変更していません"),
             qPrintable(words));
    QCOMPARE(target.run("SHOW TABLES FROM d"), "t\n");
}

void CopyTest::neverOntoItself_data()
{
    // Which server of the two behind the balancer, the target's database, and what is said.
    const Rows<int, QString, QString> row;
    row("its database by another way", 0, "d", "同じサーバーの同じデータベース「d」");
    row("in other letters", 0, "D", "同じサーバーの同じデータベース「D」");
    row("another database", 0, "d2", {});
    row("another server", 1, "d", {});
}

void CopyTest::neverOntoItself()
{
    const auto [behind, database, words] = fetched<int, QString, QString>();
    TestServer &source = m_servers.of(Brand::MariaDb), &target = m_targets.of(Brand::MariaDb);
    for (TestServer *server : {&source, &target})
        server->run("DROP DATABASE IF EXISTS d; DROP DATABASE IF EXISTS d2");
    source.run("CREATE DATABASE d; CREATE TABLE d.t(a INT PRIMARY KEY); INSERT INTO d.t VALUES(1),(2)");
    Balancer balancer({source.port(), target.port()});
    balancer.turnTo(behind);
    Ends ends(source.nativeString(), QString(source.nativeString())
                                         .replace("port=" + QString::number(source.port()),
                                                  "port=" + QString::number(balancer.port())));
    ends.options.database = database;
    const QString said = wordsOf([&] { ends.copy(ends.look()); });
    if (!words.isEmpty())
        QVERIFY2(said.contains(words), qPrintable(said));
    else
        QCOMPARE(said + (behind == 0 ? source : target).run("SELECT a FROM " + database + ".t"), "1\n2\n");
    QCOMPARE(source.run("SELECT a FROM d.t"), "1\n2\n");
}

void CopyTest::whatEndsEarlySaysWhatIsThere_data()
{
    // What the target has before, whether what is there may be replaced, what happens within the rows, on
    // which server, and what is said.
    const Rows<QString, bool, QString, bool, QStringList> row;
    const bool atTarget = true;
    const QString old = "CREATE TABLE d.x(id INT PRIMARY KEY); INSERT INTO d.x VALUES(7)";
    row("made since it was agreed", "CREATE TABLE d.y(a INT)", false, {}, atTarget,
        {"「TABLE y」ができています", "コピー先は変更していません"});
    row("a view in a table's place", "CREATE VIEW d.y AS SELECT 1 AS a", true, {}, atTarget,
        {"「y」は TABLE ではなく VIEW"});
    row("target refuses", {}, true, "ALTER TABLE d.x ADD more INT NOT NULL", atTarget,
        {"コピー先のサーバーで失敗しました", "0 個が残っています。「x」は途中か"});
    row("target cut", {}, true, "KILL %1", atTarget,
        {"コピー先のサーバーで失敗しました", "0 個が残っています。「x」は途中か"});
    row("source cut", {}, true, "KILL %1", !atTarget, {"テーブル「x」の", "「x」は途中か"});
    row("source changed", {}, true, "ALTER TABLE d.y ADD more INT", !atTarget,
        {"「y」の定義が", "1 個が残っています。「y」は途中か"});
    row("stopped", {}, true, {}, atTarget, {"中断", "0 個が残っています。「x」は途中か"});
    row("replacing, target cut", old, true, "KILL %1", atTarget, {"コピー先のサーバーで失敗", asBefore()});
    row("replacing, source cut", old, true, "KILL %1", !atTarget, {"テーブル「x」の", asBefore()});
    row("replacing, source changed", old, true, "ALTER TABLE d.y ADD more INT", !atTarget,
        {"「y」の定義が", asBefore()});
    row("replacing, stopped", old, true, {}, atTarget, {"中断", asBefore()});
}

void CopyTest::whatEndsEarlySaysWhatIsThere()
{
    const auto [before, isAgreed, meanwhile, isAtTarget, said] =
        fetched<QString, bool, QString, bool, QStringList>();
    TestServer &source = m_servers.of(Brand::MariaDb), &target = m_targets.of(Brand::MariaDb);
    source.run(
        "DROP DATABASE IF EXISTS d; CREATE DATABASE d; USE d; CREATE TABLE x(id INT PRIMARY KEY, t LONGTEXT);"
        "CREATE TABLE y(id INT); INSERT INTO x SELECT seq, REPEAT('x', 1000) FROM seq_1_to_20000");
    target.run("DROP DATABASE IF EXISTS d; CREATE DATABASE d;" + before);
    Ends ends(source.nativeString(), target.nativeString());
    int times = 0;
    TestServer &touched = isAtTarget ? target : source;
    const QString words = wordsOf([&] {
        ends.copy(isAgreed ? ends.look() : TargetLook(), [&](const TransferStatus &status) {
            if (status.object != u"x" || times++ != 20) // in the midst of its rows
                return;
            if (meanwhile.isEmpty()) {
                ends.to.runner.stop();
                throw interruptedError("中断");
            }
            touched.run(QString(meanwhile).replace(
                "%1", touched.run("SELECT ID FROM information_schema.PROCESSLIST WHERE DB='d'")));
        });
    });
    for (const QString &part : said)
        QVERIFY2(words.contains(part), qPrintable(words));
    if (said.contains(asBefore()))
        QCOMPARE(target.run("USE d; SHOW TABLES; SELECT id FROM x"), "x\n7\n");
}

// Before each statement that names a table beside another.
void CopyTest::aKilledCopyIsToldAtTheNextStart()
{
    TestServer &source = m_servers.of(Brand::MariaDb), &target = m_targets.of(Brand::MariaDb);
    const QString tables = "SET foreign_key_checks=0; DROP DATABASE IF EXISTS d; CREATE DATABASE d; USE d;"
                           "CREATE TABLE p(id INT PRIMARY KEY); CREATE TABLE x(id INT PRIMARY KEY, "
                           "CONSTRAINT k FOREIGN KEY (id) "
                           "REFERENCES p(id)); INSERT INTO p VALUES(%1); INSERT INTO x VALUES(%1);";
    const QString all = "USE d; SHOW TABLES; SELECT * FROM p; SELECT * FROM x; SHOW CREATE TABLE x";
    source.run(tables.arg(1));
    int undone = 0, exchanged = 0;
    bool isKilled = true;
    for (int n = 0; isKilled; ++n) {
        target.run(tables.arg(7) +
                   "CREATE TABLE stays(id INT PRIMARY KEY, FOREIGN KEY (id) REFERENCES p(id))");
        const QString before = target.run(all);
        const QTemporaryDir folder;
        isKilled = false;
        {
            Ends ends(source.nativeString(), target.nativeString());
            ends.to.settingsFolder = folder.path();
            const TargetLook look = ends.look();
            WrappedConnection::into(ends.to, [&, left = n](Connection &inner,
                                                           const QString &statement) mutable {
                static const QRegularExpression looking("REGEXP|RENAME .*none"); // no table is there yet
                isKilled = isKilled ||
                           (statement.contains("tarnwell_") && !statement.contains(looking) && left-- == 0);
                if (!isKilled)
                    return inner.execute(statement);
                ends.to.gPort = "1";
                inner.close();
                throw Failure("killed", 2013);
            });
            wordsOf([&] { ends.copy(look); });
        }
        RealStage next(target, nativeDriverName());
        next.session.settingsFolder = folder.path();
        next.dialogue.pendingAction = PendingAnswer::Action::Undo;
        settlePendingUndoLogs(next.session, next.dialogue);
        QCOMPARE(next.dialogue.pending.size(), std::size_t{isKilled});
        QVERIFY(QDir(folder.path()).isEmpty());
        if (next.told().contains("入れ替わり始めています")) {
            ++exchanged;
            for (const QString &line : next.told().split("\r\n"))
                if (line.endsWith(';')) // some are done already
                    wordsOf([&] { next.session.connection().execute(line.chopped(1)); });
            QCOMPARE(target.run(QString(all).remove("SHOW TABLES;")),
                     source.run(QString(all).remove("SHOW TABLES;")));
        } else if (isKilled) {
            ++undone;
            QCOMPARE(target.run(all), before);
        }
    }
    QVERIFY2(undone > 5 && exchanged > 1, qPrintable(QString("%1 %2").arg(undone).arg(exchanged)));
}

void CopyTest::theWindowAsksForTheTarget()
{
    TestServer &source = m_servers.of(Brand::MariaDb), &target = m_targets.of(Brand::MariaDb);
    for (TestServer *server : {&source, &target})
        server->run("DROP DATABASE IF EXISTS d; CREATE DATABASE d; CREATE TABLE d.t(a INT PRIMARY KEY)");
    source.run("INSERT INTO d.t VALUES(1),(2)");
    target.run("INSERT INTO d.t VALUES(3); CREATE TABLE d.tarnwell_0123456789ab_new0(a INT);" // of one killed
               "CREATE TRIGGER d.own BEFORE INSERT ON d.t FOR EACH ROW SET NEW.a=NEW.a+1");

    Stage stage(Stage::Server::Real);
    stage.enter(nativeDriverName(), source.port(), "demo", "demo");
    stage.session.connectBy(lasting(createConnection), stage.pump);
    QVERIFY(fConnect(stage.session));
    Boxes boxes;
    ConnectionProfile profile;
    profile.id = profile.name = "there";
    profile.server = "127.0.0.1";
    profile.port = QString::number(target.port());
    profile.user = "demo";
    std::vector targets{profile, profile};
    targets[0].isReadOnly = true;
    targets[1].environment = Environment::Production;
    const SavedConnections saved{[&] { return targets; }, [](auto &, auto *) { return QString("demo"); }};
    stage.open(new CopyWindow(stage.session, "d", {"t"}, {}, saved));
    QString told;
    const auto run = [&](int connection) {
        stage.control<QComboBox>("copyConnection")->setCurrentIndex(connection);
        stage.click("startCopy");
        QTRY_VERIFY_WITH_TIMEOUT(stage.isEnabled("startCopy"), 20000);
        told = stage.control<QPlainTextEdit>("transferReport")->toPlainText();
    };
    const QString lost =
        QString("コピー先「there」(127.0.0.1:%1) "
                "のデータベース「d」に、同じ名前のものか、それに付いたトリガーが 2 個あります。"
                "続けると、今あるものは行ごと削除され、コピーに置き換わります:\nTABLE t, TRIGGER "
                "own\n\n続けますか？")
            .arg(target.port());
    boxes.expectOk("接続先「there」は読み取り専用の接続です。");
    run(0);
    boxes.expect(lost, QMessageBox::Cancel);
    run(1);
    QCOMPARE(told, "失敗: コピーしませんでした。");
    QCOMPARE(target.run("SELECT a FROM d.t"), "3\n");
    boxes.expect(lost, QMessageBox::Ok);
    boxes.expect(
        QString("本番のサーバー「there」(127.0.0.1:%1) を変更します。\r\n続けますか？").arg(target.port()),
        QMessageBox::Ok);
    run(1);
    QCOMPARE(told,
             "データベース「d」に 1 個のオブジェクト、2 行をコピーしました。\n以前に途中で終わったコピーの"
             "作業用のテーブルが残っています: tarnwell_0123456789ab_new0");
    QCOMPARE(target.run("SELECT a FROM d.t"), "1\n2\n");
    // The log of the program has the statements of both ends.
    QStringList logged;
    for (const LoggedStatement &entry : stage.session.statementLog->entries())
        logged << entry.statement;
    QVERIFY(!logged.filter(QRegularExpression("^INSERT INTO `tarnwell_\\w+` VALUES\n\\(1\\),\n\\(2\\)$"))
                 .isEmpty());
    QVERIFY(logged.contains("SELECT `a` FROM `t`"));
}

// Another program has written it since: it may drop now what it did not.
void CopyTest::aFileOfSqlIsLookedAtAgain()
{
    TestServer &server = m_servers.of(Brand::MariaDb);
    server.run("DROP DATABASE IF EXISTS d; CREATE DATABASE d; CREATE TABLE d.t(a INT)");
    const QTemporaryDir folder;
    const QString path = folder.filePath("a.sql");
    Stage stage(Stage::Server::Real);
    stage.enter(nativeDriverName(), server.port(), "demo", "demo");
    stage.session.connectBy(lasting(createConnection), stage.pump);
    QVERIFY(fConnect(stage.session));
    stage.open(new LoadWindow(stage.session));
    stage.control<QLineEdit>("loadPath")->setText(path);
    for (const auto &[text, told] :
         {std::pair("SELECT 1;\n", "調べました。「開始」で読み込みます。"),
          {"DROP TABLE d.t;\n",
           "ファイルが書き換えられていたので、もう一度調べました。上を確かめて、「開始」で読み込みます。"}}) {
        writeFile(path, text);
        stage.click("startLoad");
        QTRY_VERIFY_WITH_TIMEOUT(stage.isEnabled("startLoad"), 20000);
        QCOMPARE(stage.control<QPlainTextEdit>("transferReport")->toPlainText(), told);
    }
    QCOMPARE(server.run("SHOW TABLES FROM d"), "t\n");
}

void CopyTest::aClosedWindowStaysForWhatIsToBeRead_data()
{
    // How the run ends, whether the user closes the window, or else the program, and whether it stays.
    const Rows<std::function<TransferReport()>, bool, bool> row;
    row(
        "done", [] { return TransferReport("done\nwith all"); }, true, false);
    row(
        "something left out", [] { return TransferReport("done", true); }, true, true);
    row(
        "failed", []() -> TransferReport { throw Failure("no room\r\non the disk"); }, true, false);
    row(
        "half done", []() -> TransferReport { throw HalfDone("stopped"); }, true, true);
    row(
        "half done at the program's end", []() -> TransferReport { throw HalfDone("stopped"); }, false,
        false);
}

void CopyTest::aClosedWindowStaysForWhatIsToBeRead()
{
    const auto [work, byUser, stays] = fetched<std::function<TransferReport()>, bool, bool>();
    Stage stage;
    auto *window = new ProbeWindow(stage.session, work);
    stage.open(window);
    stage.click("startProbe");
    if (byUser)
        closeByUser(*window);
    else
        window->close();
    QVERIFY(window->isVisible()); // until it has ended
    window->mayEnd.release();
    if (stays)
        QTRY_VERIFY(stage.isEnabled("startProbe"));
    else
        QTRY_VERIFY(!stage.window);
    QCOMPARE(!stage.window.isNull(), stays);
}

void CopyTest::columnsThatAnImportLeavesOutAreNamed()
{
    TestServer &server = m_servers.of(Brand::MariaDb);
    server.run("DROP DATABASE IF EXISTS d; CREATE DATABASE d; CREATE TABLE d.t(id INT, v INT)");
    Stage stage(server.nativeString());
    stage.session.gDbName = "d";
    const QString path = stage.folder.filePath("a.csv");
    writeFile(path, "ID,V2,memo\n1,2,3\n");
    stage.open(new CsvImportWindow(stage.session, "t"));
    auto *line = stage.control<QLineEdit>("importPath");
    line->setFocus();
    QTest::keyClicks(line, path);
    QTest::keyClick(line, Qt::Key_Return);
    const auto said = [&] { return stage.control<QLabel>("importChecks")->text(); };
    QCOMPARE(said(), "取り込まないファイルの列 (2): V2、memo");
    stage.control<QComboBox>("importColumn_1")->setCurrentText("V2");
    QCOMPARE(said(), "取り込まないファイルの列 (1): memo");
}

QTEST_MAIN(CopyTest)
#include "test_copy.moc"
