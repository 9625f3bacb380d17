#include "controls/text/sqltextbox.h"
#include "core/command/script.h"
#include "structure/compare/commonexpression.h"
#include "structure/compare/comparewindow.h"
#include "support/gui/stage.h"

#include <QTreeWidget>

namespace {

using L = QStringList;
using Brand = TestServer::Brand;

const char *const leftSide = R"(
    DROP DATABASE IF EXISTS l; CREATE DATABASE l CHARACTER SET utf8mb4; USE l;
    CREATE TABLE same (id INT PRIMARY KEY AUTO_INCREMENT); INSERT INTO same VALUES (7);
    CREATE TABLE p (id INT PRIMARY KEY, name VARCHAR(20)) ENGINE=InnoDB COMMENT='left';
    CREATE TABLE a_child (p INT, CONSTRAINT f FOREIGN KEY (p) REFERENCES p (id)) ENGINE=InnoDB;
    CREATE TABLE letters (a VARCHAR(9) CHARACTER SET latin1, b INT);
    CREATE VIEW v AS SELECT id, name FROM p; CREATE VIEW a_view AS SELECT id FROM v;
    CREATE FUNCTION x() RETURNS INT DETERMINISTIC RETURN 1; CREATE EVENT e ON SCHEDULE EVERY 1 DAY DISABLE DO SELECT 1;
    CREATE TRIGGER g BEFORE INSERT ON p FOR EACH ROW SET NEW.name = 'l;';
)";
const char *const rightSide = R"(
    DROP DATABASE IF EXISTS r; CREATE DATABASE r CHARACTER SET utf8mb4; USE r;
    CREATE TABLE same (id INT PRIMARY KEY AUTO_INCREMENT);
    CREATE TABLE p (id INT PRIMARY KEY, gone INT) ENGINE=InnoDB COMMENT='right';
    CREATE TABLE z (p INT, CONSTRAINT f FOREIGN KEY (p) REFERENCES p (id)) ENGINE=InnoDB;
    CREATE TABLE letters (a VARCHAR(9) CHARACTER SET utf8mb4, b INT);
    CREATE VIEW v AS SELECT id FROM p; CREATE VIEW only_r AS SELECT 1 AS one;
    CREATE PROCEDURE x() SELECT 1; CREATE TRIGGER g BEFORE INSERT ON p FOR EACH ROW SET NEW.gone = 1;
)";

} // namespace

// Two databases are compared, and the statements that are made of it make them alike.
class CompareTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void statementsMakeOneLikeTheOther_data() { TestServers::addRows(); }
    void statementsMakeOneLikeTheOther();
    void whatDoesNotCountIsNoDifference();
    void expressionsAreComparedByMeaning_data();
    void expressionsAreComparedByMeaning();
    void anotherServersWordsAreNoDifference_data();
    void anotherServersWordsAreNoDifference();
    void aWindowShowsBothSidesAndMakesASheet();

private:
    static void fill(TestServer &server) { server.run("DELIMITER ;\n" + QString(leftSide) + rightSide); }
    static DatabaseObjects read(Connection &connection, const QString &database)
    {
        DatabaseObjects objects = readDatabase(connection, database, database, [](const TransferStatus &) {});
        objects.server = "server";
        return objects;
    }
    static L lines(const std::vector<ComparedObject> &objects)
    {
        L found;
        for (const ComparedObject &each : objects)
            found << QString("<>!")[static_cast<int>(each.where)] + each.name;
        return found;
    }

    TestServers m_servers;
};

void CompareTest::statementsMakeOneLikeTheOther()
{
    QFETCH(Brand, brand);
    SKIP_WITHOUT(brand);
    TestServer &server = m_servers.of(brand);
    for (const bool isTargetRight : {true, false}) {
        fill(server);
        RealStage stage(server, nativeDriverName(), {});
        Connection &connection = stage.session.connection();
        const DatabaseObjects l = read(connection, "l"), r = read(connection, "r");
        const auto different = compare(l, r, {});
        QCOMPARE(lines(different),
                 L({"<a_child", "!letters", "!p", ">z", "<x", ">x", "!v", "<a_view", ">only_r", "!g", "<e"}));
        const QString sheet =
            statementsFor(different, isTargetRight ? l : r, isTargetRight ? r : l, isTargetRight, {});
        // As a sheet runs it, and other clients do.
        const QString said = server.run(sheet);
        QVERIFY2(said.isEmpty(), qPrintable(said + sheet));
        L left;
        for (const ComparedObject &each : compare(read(connection, "l"), read(connection, "r"), {}))
            left << each.name << each.differences;
        QVERIFY2(left.isEmpty(), qPrintable(left.join('\n') + sheet));
        QVERIFY2(sheet.contains(isTargetRight ? "p.gone" : "p.name"), qPrintable(sheet.left(300)));
    }
}

void CompareTest::whatDoesNotCountIsNoDifference()
{
    TestServer &server = m_servers.of(Brand::MariaDb);
    server.run(
        "DROP DATABASE IF EXISTS l; DROP DATABASE IF EXISTS r; CREATE DATABASE l CHARACTER SET utf8mb4; "
        "CREATE DATABASE r CHARACTER SET latin1;"
        "CREATE TABLE l.t (a VARCHAR(9), b INT) COMMENT='x'; CREATE TABLE r.t (a VARCHAR(9), b BIGINT);"
        "CREATE TABLE l.u (a VARCHAR(9)) ENGINE=MyISAM; CREATE TABLE r.u (a VARCHAR(9) CHARACTER SET ucs2);"
        "CREATE DEFINER=x@y VIEW l.v AS SELECT 1 AS a; CREATE VIEW r.v AS SELECT 1 AS a;"
        "CREATE PROCEDURE l.made_alike() SELECT 1; CREATE PROCEDURE r.made_alike() SELECT 1");
    RealStage stage(server, nativeDriverName(), {});
    const DatabaseObjects l = read(stage.session.connection(), "l"),
                          r = read(stage.session.connection(), "r");
    QCOMPARE(lines(compare(l, r, {})), L({"!t", "!u", "!v"}));
    const CompareOptions none{false, false, false};
    const auto different = compare(l, r, none);
    QCOMPARE(lines(different), L({"!t"}));
    // Nor is it changed.
    const QString sheet = statementsFor(different, l, r, true, none);
    QVERIFY2(sheet.contains("ALTER TABLE `r`.`t`\n  MODIFY COLUMN `b` int(11) DEFAULT NULL;"),
             qPrintable(sheet));
}

void CompareTest::expressionsAreComparedByMeaning_data()
{
    // What one server writes, what another does, and whether it is the same.
    const Rows<QString, QString, bool> row;
    row("sums", "`a` + `b` * 2 - 1", "((`a` + (`b` * 2)) - 1)", true);
    row("another sum", "(`a` + `b`) * 2", "(`a` + (`b` * 2))", false);
    row("from the right", "`a` - (`b` - 1)", "((`a` - `b`) - 1)", false);
    row("and, or", "`a` > 1 and `b` < 2 or `c` is null", "(((`a` > 1) and (`b` < 2)) or (`c` is null))",
        true);
    row("or, and", "`a` > 1 and (`b` < 2 or `c`)", "(((`a` > 1) and (`b` < 2)) or `c`)", false);
    row("many", "`a` and `b` and `c`", "(`a` and (`b` and `c`))", true);
    row("bits", "`a` << 2 | `b` & 7", "((`a` << 2) | (`b` & 7))", true);
    row("other bits", "`a` << (2 | `b`) & 7", "((`a` << 2) | (`b` & 7))", false);
    row("signs", "-`a` % 3", "((-(`a`)) % 3)", true);
    row("words for signs", "`a` MOD 3", "(`a` % 3)", true);
    row("texts", "concat(`s`,'x',ucase(`s`))", "concat(`s`,_utf8mb4'x',upper(`s`))", true);
    row("letters of texts", "`s` <> 'x'", "(`s` <> _utf8mb4'X')", false);
    row("texts of another set", "`s` <> 'x'", "(`s` <> _latin1'x')", false);
    row("a text, a number", "`s` = '1'", "(`s` = 1)", false);
    row("from either side", "`a` = 0", "(0 = `a`)", true);
    row("larger from either side", "`a` > 0", "(0 > `a`)", false);
    row("lists", "`a` in (1,2,3) and `b` between 1 and 2", "((`a` in (1,2,3)) and (`b` between 1 and 2))",
        true);
    row("shorter lists", "`a` in (1,2)", "(`a` in (1,2,3))", false);
    row("not", "`s` not like 'a%'", "(`s` like 'a%')", false);
    row("not, otherwise", "`s` not like 'a%' or !(`a` & 1)",
        "((not((`s` like _utf8mb4'a%'))) or (not((0 <> (`a` & 1)))))", true);
    row("a number as truth, or not", "`a`", "(0 <> `a`)", false);
    row("not of what", "not `a` and `b`", "(not((`a` and `b`)))", false);
    row("choices", "case when `a` = 1 then 2 else `b` end", "(case when (`a` = 1) then 2 else `b` end)",
        true);
    row("casts", "cast(`s` as unsigned) + 1", "(cast(`s` as unsigned) + 1)", true);
    row("other casts", "cast(`s` as unsigned)", "cast(`s` as signed)", false);
    row("times", "`d` + interval 1 day", "(`d` + interval 1 day)", true);
    row("names", "year(d) + 1", "(year(`d`) + 1)", true);
    row("no names", "`null`", "null", false);
    row("not known", "`a` regexp ('x')", "`a` regexp 'x'", false);
    row("in a call, not known", "if((`a` or `b`) regexp 'x',1,0)", "if(`a` or `b` regexp 'x',1,0)", false);
}

void CompareTest::expressionsAreComparedByMeaning()
{
    const auto [left, right, isSame] = fetched<QString, QString, bool>();
    const auto form = [](const QString &text) {
        const SqlTokens words(text, {});
        return commonExpression(words, 0, words.size());
    };
    QVERIFY2((form(left) == form(right)) == isSame, qPrintable(form(left) + u'\n' + form(right)));
}

void CompareTest::anotherServersWordsAreNoDifference_data()
{
    const Rows<Brand, Brand> row;
    row("MariaDB and MySQL 5.6", Brand::MariaDb, Brand::MySql56);
    row("MySQL 9 and MariaDB", Brand::MySql9, Brand::MariaDb);
    row("MariaDB and MySQL 9", Brand::MariaDb, Brand::MySql9);
    row("MySQL 5.6 and 9", Brand::MySql56, Brand::MySql9);
}

void CompareTest::anotherServersWordsAreNoDifference()
{
    const auto [one, other] = fetched<Brand, Brand>();
    const QString tables =
        "DROP DATABASE IF EXISTS x; CREATE DATABASE x CHARACTER SET utf8mb4; USE x;"
        "CREATE TABLE p (id INT PRIMARY KEY) COLLATE utf8mb4_general_ci;"
        "CREATE TABLE t (a INT DEFAULT 1, b DECIMAL(5,2) DEFAULT -1.5, c YEAR, d TIMESTAMP NOT NULL DEFAULT "
        "CURRENT_TIMESTAMP ON UPDATE CURRENT_TIMESTAMP, e VARCHAR(9) CHARACTER SET utf8, f TEXT CHARACTER "
        "SET "
        "latin1, KEY a (a), CONSTRAINT f FOREIGN KEY (a) REFERENCES p (id) ON DELETE CASCADE ON UPDATE NO "
        "ACTION) COLLATE utf8mb4_general_ci ENGINE=InnoDB;"
        "CREATE TABLE u (a VARCHAR(9), b ENUM('x') CHARACTER SET latin1) CHARSET utf8;"
        "SET NAMES utf8mb4 COLLATE utf8mb4_general_ci; SET sql_mode='';"
        "CREATE FUNCTION f(p INT) RETURNS INT DETERMINISTIC RETURN p  + 1;"
        "create trigger g before insert on t for each row set new.a = 1;"
        "CREATE VIEW w AS SELECT p.id FROM p JOIN t ON t.a = p.id;";
    const QString partitions =
        "CREATE TABLE y (d DATE NOT NULL, n INT) COLLATE utf8mb4_general_ci PARTITION BY RANGE (year(d) + 1) "
        "SUBPARTITION BY HASH (n * 2 + 1) SUBPARTITIONS 2 (PARTITION p0 VALUES LESS THAN (2000), "
        "PARTITION p1 VALUES LESS THAN MAXVALUE);";
    const QString later =
        "CREATE TABLE g (a INT, b INT AS ((a + 1) * 2) VIRTUAL, c VARCHAR(9) AS (upper(concat(a, 'x'))) "
        "STORED, d VARCHAR(36) DEFAULT (uuid()), e INT DEFAULT (1 + 1), f TEXT DEFAULT ('it''s'), j JSON, k "
        "JSON NOT "
        "NULL COMMENT 'x', l INT CHECK (l > 1 AND l <> 5), CHECK (a > 0 OR a + l < 7), CONSTRAINT own CHECK "
        "(a <> 3)) COLLATE utf8mb4_general_ci;"
        "CREATE TABLE z (a INT, b INT AS (a + %1) VIRTUAL, j %2, l INT CHECK (l > %1), d VARCHAR(36) DEFAULT "
        "(%3), t TEXT DEFAULT ('%1'), CHECK (a > %1), CHECK (a < 9), CHECK (a < 9)%4) COLLATE "
        "utf8mb4_general_ci PARTITION BY HASH (a + %1);";
    const QString different = "CREATE TABLE v (a INT DEFAULT %1, b VARCHAR(9) COLLATE %2, c TINYINT(%3)) "
                              "CHARSET utf8; SET sql_mode='%4'; CREATE PROCEDURE m() SELECT 1;";
    std::vector<DatabaseObjects> sides;
    std::vector<std::unique_ptr<RealStage>> stages;
    for (const Brand brand : {one, other}) {
        SKIP_WITHOUT(brand);
        const bool isOther = brand == other, hasLater = one != Brand::MySql56 && other != Brand::MySql56;
        const QString more = isOther ? later.arg("2", "LONGTEXT COLLATE utf8mb4_bin", "concat('a', 1)", "")
                                     : later.arg("1", "JSON", "uuid()", ", CHECK (a < 9)");
        m_servers.of(brand).run(tables + partitions + (hasLater ? more : QString()) +
                                different.arg(isOther ? "2" : "1",
                                              isOther ? "latin1_bin" : "latin1_swedish_ci",
                                              isOther ? "1" : "4", isOther ? "" : "ANSI_QUOTES"));
        stages.push_back(std::make_unique<RealStage>(m_servers.of(brand), nativeDriverName(), QString()));
        sides.push_back(read(stages.back()->session.connection(), "x"));
    }
    const auto found = compare(sides[0], sides[1], {});
    const bool hasLater = one != Brand::MySql56 && other != Brand::MySql56;
    QCOMPARE(lines(found), hasLater ? L({"!v", "!z", "!m"}) : L({"!v", "!m"}));
    QCOMPARE(found[0].differences.size(), 6); // each column from both sides
    QCOMPARE(found.back().differences, L{"sql_mode (左だけ: ANSI_QUOTES　右だけ: )"});
    if (hasLater) // six parts from both sides and a CHECK more, or with the other's beside its column
        QVERIFY2(found[1].differences.size() >= 15, qPrintable(found[1].differences.join('\n')));
    const QString sheet = statementsFor(found, sides[0], sides[1], true, {});
    QVERIFY2(m_servers.of(other).run(sheet).isEmpty(), qPrintable(sheet));
    const auto left = compare(sides[0], read(stages[1]->session.connection(), "x"), {});
    QVERIFY2(left.empty(), qPrintable(left.empty() ? QString() : left[0].differences.join('\n') + sheet));
}

void CompareTest::aWindowShowsBothSidesAndMakesASheet()
{
    TestServer &server = m_servers.of(Brand::MariaDb);
    fill(server);
    Stage stage(Stage::Server::Real);
    stage.enter(nativeDriverName(), server.port(), "demo", "demo");
    stage.session.gDbName = "l";
    QVERIFY(fConnect(stage.session));
    ConnectionProfile other;
    other.id = "1", other.name = "other", other.server = "127.0.0.1",
    other.port = QString::number(server.port());
    other.user = "demo", other.database = "r";
    QString password = "wrong", sheet;
    CompareServices services;
    services.saved.list = [&] { return std::vector{other}; };
    services.databases = {"l", "r"};
    services.saved.password = [&](const ConnectionProfile &, QWidget *) { return std::optional(password); };
    std::unique_ptr<Session> there;
    services.propose = [&](const QString &text, std::unique_ptr<Session> settings) {
        sheet = text;
        there = std::move(settings);
    };
    stage.open(new CompareWindow(stage.session, services));
    auto &report = *stage.control<QPlainTextEdit>("transferReport");
    auto &list = *stage.control<QTreeWidget>("compareList");
    stage.control<QComboBox>("compareRightConnection")->setCurrentIndex(1);
    stage.click("startCompare");
    QTRY_VERIFY2(report.toPlainText().contains("失敗"), qPrintable(report.toPlainText()));
    QVERIFY(!stage.isEnabled("makeStatements"));
    // So the databases cannot be listed either; with the right one, what is typed stays.
    const auto &databases = *stage.control<QComboBox>("compareRightDatabase");
    stage.click("listRightDatabases");
    QTRY_VERIFY2(report.toPlainText().contains("Access denied"), qPrintable(report.toPlainText()));
    password = "demo"; // it is asked for once more
    stage.click("listRightDatabases");
    QTRY_VERIFY(databases.findText("l") >= 0);
    QCOMPARE(databases.currentText(), "r");
    stage.click("startCompare");
    QTRY_COMPARE(list.topLevelItemCount(), 11);
    list.setCurrentItem(list.topLevelItem(2));
    const auto marked = [&](const char *name) {
        auto &box = *stage.control<SqlTextBox>(name);
        L lines;
        for (int line = box.markerFindNext(0, 2); line >= 0; line = box.markerFindNext(line + 1, 2))
            lines << box.text(line).trimmed().left(6);
        return lines;
    };
    QCOMPARE(marked("compareLeftText"), L({"`name`", ") ENGI"}));
    QCOMPARE(marked("compareRightText"), L({"`gone`", ") ENGI"}));
    stage.click("makeStatements");
    QVERIFY2(report.toPlainText().contains("印を付けて"), qPrintable(report.toPlainText()));
    stage.click("compareAll");
    QCOMPARE(list.topLevelItem(10)->checkState(0), Qt::Checked);
    stage.click("compareNone");
    list.topLevelItem(2)->setCheckState(0, Qt::Checked);
    // A sheet of the side that is to be changed, whatever the window shows by now.
    stage.control<QComboBox>("compareRightConnection")->setCurrentIndex(0);
    stage.click("makeStatements");
    QVERIFY(sheet.startsWith("-- other ("));
    QCOMPARE((L{there->profile.id, there->gDbName, there->gPass}), (L{"1", "r", "demo"}));
    stage.control<QComboBox>("compareDirection")->setCurrentIndex(1);
    stage.click("makeStatements");
    QCOMPARE((L{there->profile.id, there->gDbName}), (L{"", "l"}));
    QVERIFY2(sheet.contains("USE `l`") && sheet.contains("ADD COLUMN `gone` int") &&
                 !sheet.contains("letters"),
             qPrintable(sheet));
}

QTEST_MAIN(CompareTest)
#include "test_compare.moc"
