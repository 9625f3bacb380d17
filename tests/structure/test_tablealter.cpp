#include "core/command/tablekind.h"
#include "structure/alter/tablealter.h"
#include "support/gui/stage.h"

#include <QRandomGenerator>

namespace {

using L = QStringList;

const ServerInfo mariaDb{"10.11", true, 101100}, mySql9{"9.7", false, 90700};

// Columns in their order; keys and constraints, whose order says nothing, sorted. A counter goes on with
// rows.
L comparable(const QString &createText)
{
    static const QRegularExpression counter(" AUTO_INCREMENT=\\d+|CHARACTER SET \\w+ (?=COLLATE)");
    L lines = QString(createText).remove(counter).split('\n');
    for (QString &line : lines)
        line.remove(QRegularExpression(",$"));
    const auto isColumn = [](const QString &line) {
        return line.startsWith("  `") || !line.startsWith("  ");
    };
    std::ranges::stable_sort(lines, [&](const QString &left, const QString &right) {
        if (isColumn(left) || isColumn(right))
            return false;
        return left < right;
    });
    const auto first = std::ranges::find_if_not(lines.begin() + 1, lines.end(), isColumn);
    const auto last =
        std::find_if(first, lines.end(), [](const QString &line) { return line.startsWith(")"); });
    std::sort(first, last);
    return lines;
}

// Definitions of a table by chance: what stands in two of them at the same place may differ in everything.
class Generator {
public:
    Generator(quint32 seed, bool hasChecks)
        : m_random(seed)
        , m_hasChecks(hasChecks)
    {
    }

    QString table()
    {
        L columns, numbers, texts;
        for (int i = 0; i < 7; ++i) {
            const QString name = "c" + QString::number(i), quoted = '`' + name + '`';
            if (chance(4))
                continue;
            if (i < 3) {
                columns << quoted + ' ' +
                               one({"int", "bigint unsigned", "int NOT NULL DEFAULT '7'",
                                    "smallint COMMENT 'a`b, (\"c\"'"});
                numbers << quoted;
            } else if (i < 5) {
                columns << quoted + ' ' +
                               one({"varchar(20)", "varchar(30) NOT NULL DEFAULT 'x''y'",
                                    "char(8) CHARACTER SET latin1", "varchar(20) COLLATE utf8mb4_bin",
                                    "varchar(60) CHARACTER SET ascii"});
                texts << quoted;
            } else {
                columns << quoted + ' ' +
                               one({"text", "datetime", "enum('a','b,c')", "decimal(10,2) DEFAULT '1.50'",
                                    "timestamp NULL", "set('x','y')", "longblob"});
            }
        }
        shuffle(columns);
        columns.insert(static_cast<int>(m_random.bounded(columns.size() + 1)),
                       "`id` int NOT NULL AUTO_INCREMENT");
        L keys{one(
            {"PRIMARY KEY (`id`)", "UNIQUE KEY `u` (`id`)", "PRIMARY KEY (`id`), UNIQUE KEY `u` (`id`)"})};
        if (!numbers.isEmpty()) {
            keys << "KEY `k` (" + one(numbers) + ")";
            if (chance(2))
                keys << "KEY `l` (" + numbers.join(',') + ") USING BTREE COMMENT 'of, all'";
            if (chance(3))
                keys << one({"CONSTRAINT `f` FOREIGN KEY (`id`) REFERENCES `p` (`id`)",
                             "CONSTRAINT `f` FOREIGN KEY (`id`) REFERENCES `p` (`id`) ON DELETE CASCADE"});
            if (m_hasChecks && chance(2))
                keys << "CONSTRAINT `e` CHECK (" + one(numbers) + one({" > 1", " < 9"}) + ")";
        }
        if (!texts.isEmpty() && chance(2))
            keys << one({"KEY `t` (" + one(texts) + "(4))", "UNIQUE KEY `t` (`id`," + texts.join(',') + ")",
                         "FULLTEXT KEY `t` (" + one(texts) + ")"});
        const QString options = one({"DEFAULT CHARSET=utf8mb4", "DEFAULT CHARSET=latin1",
                                     "DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_bin"}) +
                                one({"", " COMMENT='it''s, )'", " ROW_FORMAT=COMPACT"}) +
                                one({"", " STATS_PERSISTENT=1 STATS_AUTO_RECALC=0", " MAX_ROWS=1000"});
        return "CREATE TABLE `t` (" + (columns + keys).join(", ") + ") ENGINE=InnoDB " + options;
    }

private:
    bool chance(int of) { return m_random.bounded(of) == 0; }
    QString one(const L &of) { return of[static_cast<int>(m_random.bounded(of.size()))]; }
    void shuffle(L &list)
    {
        for (qsizetype i = list.size() - 1; i > 0; --i)
            if (chance(2))
                list.swapItemsAt(i, static_cast<qsizetype>(m_random.bounded(i + 1)));
    }

    QRandomGenerator m_random;
    bool m_hasChecks;
};

} // namespace

// ALTER TABLE makes of one definition the other, and touches nothing else.
class TableAlterTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void statementsSayWhatDiffers_data();
    void statementsSayWhatDiffers();
    void aLostColumnMayHaveBeenRenamed();
    void whatAStatementDropsIsFound();
    void serversMakeOneOfTheOther_data();
    void serversMakeOneOfTheOther();
    void serversMakeAnyOfAnyOther_data() { TestServers::addRows(); }
    void serversMakeAnyOfAnyOther();

private:
    static L statements(const QString &from, const QString &to, const ServerInfo &server,
                        const Renames &renames)
    {
        return alterStatements(tableDefinition(from, {}), tableDefinition(to, {}), renames,
                               {"d", "t", server, {}});
    }
    void becomes(TestServer::Brand brand, const QString &from, const QString &to,
                 const Renames &renames = {});

    TestServers m_servers;
};

void TableAlterTest::statementsSayWhatDiffers_data()
{
    const QString end = "\n) ENGINE=InnoDB DEFAULT CHARSET=latin1 COMMENT='x'";
    // Behind the columns of the old text, the whole new text, and the clauses.
    const Rows<QString, QString, QString> row;
    row("what means the same", ",\n KEY `k` (`a`)" + end,
        "create table t (id int not  null, a INT, b varchar(9) /* kept */, c int, key K(a)) engine = InnoDB "
        "CHARACTER SET latin1 comment 'x'",
        "");
    row("columns come, go and move", end,
        "CREATE TABLE t (x int, id int NOT NULL, c int, a int, y int, z int) ENGINE=InnoDB CHARSET=latin1 "
        "COMMENT='x'",
        "DROP COLUMN `b`, ADD COLUMN `x` int FIRST, MODIFY COLUMN `c` int AFTER `id`, ADD COLUMN `y` int, "
        "ADD COLUMN `z` int");
    row("another character set for columns without one", end,
        "CREATE TABLE t (id int NOT NULL, a int, b varchar(9), c int) ENGINE=InnoDB CHARSET=utf8mb4",
        "MODIFY COLUMN `b` varchar(9), COMMENT='', CHARSET=utf8mb4");
    row("keys and partitions",
        ",\n PRIMARY KEY (`id`),\n KEY `k` (`a`),\n KEY `l` (`b`(3))" + end +
            " /*!50100 PARTITION BY HASH (`id`) */",
        "CREATE TABLE t (id int NOT NULL, a int, b varchar(9), c int, PRIMARY KEY (id,a), KEY k (c), KEY m "
        "(b(3)), FULLTEXT KEY f (b) "
        "/*!50100 WITH PARSER `ngram` */) ENGINE=InnoDB CHARSET=latin1 COMMENT='x'",
        "DROP PRIMARY KEY, DROP INDEX `k`, ADD PRIMARY KEY (id,a), RENAME INDEX `l` TO `m`, ADD KEY `k` (c), "
        "ADD FULLTEXT KEY `f` (b) WITH PARSER `ngram` REMOVE PARTITIONING");
    row("what is switched is not made again",
        ",\n KEY `k` (`a`) /*!80000 INVISIBLE */,\n CONSTRAINT `e` CHECK ((`a` > 0))" + end,
        "CREATE TABLE t (id int NOT NULL, a int, b varchar(9), c int, KEY k (a), CONSTRAINT e CHECK ((`a` > "
        "0)) NOT ENFORCED) "
        "ENGINE=InnoDB CHARSET=latin1 COMMENT='x'",
        "ALTER CHECK `e` NOT ENFORCED, ALTER INDEX `k` VISIBLE");
    row("a foreign key under the same name",
        ",\n CONSTRAINT `f` FOREIGN KEY (`a`) REFERENCES `p` (`id`)" + end,
        "CREATE TABLE t (id int NOT NULL, a int, b varchar(9), c int, CONSTRAINT f FOREIGN KEY (c) "
        "REFERENCES p (id)) "
        "ENGINE=InnoDB CHARSET=latin1 COMMENT='x'",
        "DROP FOREIGN KEY `f`|ADD CONSTRAINT `f` FOREIGN KEY (c) REFERENCES p (id)");
    row("another name, and the counter that was not said", end + " AUTO_INCREMENT=7",
        "CREATE TABLE u (id int NOT NULL, a int, b varchar(9), c int) ENGINE=InnoDB CHARSET=latin1 "
        "COMMENT='x'",
        "RENAME TO `d`.`u`");
}

void TableAlterTest::statementsSayWhatDiffers()
{
    const auto [tail, to, expected] = fetched<QString, QString, QString>();
    const QString from =
        "CREATE TABLE `t` (\n  `id` int NOT NULL,\n  `a` int,\n  `b` varchar(9),\n  `c` int" + tail;
    QCOMPARE(statements(from, to, mySql9, {})
                 .join('|')
                 .remove("ALTER TABLE `d`.`t`\n  ")
                 .replace(",\n  ", ", ")
                 .replace("\n  ", " "),
             expected);
}

void TableAlterTest::aLostColumnMayHaveBeenRenamed()
{
    const QString from = "CREATE TABLE `t` (`a` int, `b` varchar(9), `c` int)";
    const auto lost = [&](const QString &to) {
        L found;
        for (const LostColumn &each : lostColumns(tableDefinition(from, {}), tableDefinition(to, {}), {}))
            found << each.name + '>' + each.candidates.join(',') + QString::number(each.guess);
        return found.join(' ');
    };
    QCOMPARE(lost("create table t (a int, x varchar(20), c int)"), "b>x0");
    QCOMPARE(lost("create table t (a int, x int, c int)"), "b>x-1");
    QCOMPARE(lost("create table t (y int, x varchar(9))"), "a>y,x0 b>y,x1 c>y,x-1");
    QCOMPARE(lost("create table t (a int, C int)"), "b>-1");
    QCOMPARE(
        statements(from, "create table t (c int, y varchar(9), a int)", mariaDb, {{"b", "y"}}).value(0),
        "ALTER TABLE `d`.`t`\n  MODIFY COLUMN `c` int FIRST,\n  CHANGE COLUMN `b` `y` varchar(9) AFTER `c`");
}

void TableAlterTest::whatAStatementDropsIsFound()
{
    QCOMPARE(
        droppedBy(
            "ALTER TABLE t DROP a, drop column if exists `b c`, DROP KEY k, DROP FOREIGN KEY f, ADD d int "
            "COMMENT 'DROP COLUMN x', ALTER e DROP DEFAULT, DROP PRIMARY KEY",
            {}),
        L({"a", "b c"}));
    QCOMPARE(droppedBy("ALTER TABLE t DROP PARTITION p, q", {}), L({"パーティション p", "パーティション q"}));
}

void TableAlterTest::becomes(TestServer::Brand brand, const QString &from, const QString &to,
                             const Renames &renames)
{
    TestServer &server = m_servers.of(brand);
    DirectConnection sql(server);
    for (const char *database : {"d", "e"}) {
        sql(QString("drop database if exists ") + database);
        sql(QString("create database ") + database + " character set utf8mb4");
        sql(QString("use ") + database);
        sql("create table p (id int primary key, n int unique)");
        sql(database == QString("d") ? from : to);
    }
    const auto definition = [&](const char *database) {
        return sql(QString("show create table `%1`.t").arg(database)).section('\t', 1);
    };
    const QString old = definition("d"), wanted = definition("e");
    BlockingPump pump;
    const auto connection = createConnection(server.nativeString("d"), pump);
    connection->open();
    const TableDefinition target = tableDefinition(wanted, {});
    const L made =
        alterStatements(tableDefinition(old, {}), target, renames, {"d", "t", connection->server(), {}});
    for (const QString &statement : made) {
        try {
            connection->execute(statement);
        } catch (const Failure &error) {
            QFAIL(qPrintable(error.description() + '\n' + old + '\n' + made.join('\n')));
        }
    }
    const QString now = definition("d");
    QVERIFY2(comparable(now) == comparable(wanted),
             qPrintable(comparable(now).join('\n') + "\n--- wanted\n" + comparable(wanted).join('\n') +
                        "\n--- by\n" + made.join('\n')));
    QCOMPARE(differences(tableDefinition(now, {}), target, {}), L());
    QCOMPARE(alterStatements(tableDefinition(now, {}), target, {}, {"d", "t", connection->server(), {}}),
             L());
}

void TableAlterTest::serversMakeOneOfTheOther_data()
{
    // Servers ("m" MariaDB, "5" MySQL 5.6, "9" MySQL 9), the old and the new definition, columns renamed.
    const Rows<QString, QString, QString, L> row;
    row("names that need quotes", "m59",
        "CREATE TABLE t (`a``b` int, `order` int, `c d,e` varchar(9) COMMENT '`x`, (', KEY `k``` (`order`))",
        "CREATE TABLE t (`order` bigint, `c d,e` varchar(10) COMMENT '`x`, (', `名前` int, UNIQUE KEY `k``` "
        "(`order`))",
        {});
    row("renamed in keys", "m59",
        "CREATE TABLE t (id int primary key, a int, b varchar(20), KEY k (a, b(5)), CONSTRAINT f FOREIGN KEY "
        "(a) REFERENCES p (n))",
        "CREATE TABLE t (id int primary key, x int, b varchar(20), KEY k (x, b(5)), CONSTRAINT f FOREIGN KEY "
        "(x) REFERENCES p (n))",
        {"a", "x"});
    row("renamed in a check", "m9", "CREATE TABLE t (a int, b int, CONSTRAINT e CHECK (a > 1))",
        "CREATE TABLE t (x int, b int, CONSTRAINT e CHECK (x > 1))", {"a", "x"});
    row("names change places", "m59", "CREATE TABLE t (a int, b int)", "CREATE TABLE t (b int, a int)",
        {"a", "b", "b", "a"});
    row("a foreign key that refers to its own table", "m59",
        "CREATE TABLE t (id int primary key, n int, CONSTRAINT f FOREIGN KEY (n) REFERENCES t (id))",
        "CREATE TABLE t (id int primary key, n int, CONSTRAINT f FOREIGN KEY (n) REFERENCES t (id) ON DELETE "
        "SET NULL)",
        {});
    row("the counting column", "m59", "CREATE TABLE t (a int NOT NULL AUTO_INCREMENT PRIMARY KEY, b int)",
        "CREATE TABLE t (a int NOT NULL, b int NOT NULL AUTO_INCREMENT, PRIMARY KEY (b), KEY (a))", {});
    row("generated in another way", "m9",
        "CREATE TABLE t (a int, b int GENERATED ALWAYS AS (a + 1) VIRTUAL, c int, KEY k (b))",
        "CREATE TABLE t (a int, b int GENERATED ALWAYS AS (a + 2) STORED, c int AS (a * 2) STORED, KEY k "
        "(b))",
        {});
    row("partitions come", "m59", "CREATE TABLE t (a int, d date)",
        "CREATE TABLE t (a int, d date) PARTITION BY RANGE (to_days(d)) (PARTITION p0 VALUES LESS THAN (10), "
        "PARTITION p1 VALUES LESS THAN (20) COMMENT = 'x,y')",
        {});
    row("a partition more", "m59",
        "CREATE TABLE t (a int) PARTITION BY LIST (a) (PARTITION p0 VALUES IN (1,2))",
        "CREATE TABLE t (a int) PARTITION BY LIST (a) (PARTITION p0 VALUES IN (1,2), PARTITION p1 VALUES IN "
        "(3))",
        {});
    row("partitions go, with a column", "m59",
        "CREATE TABLE t (a int, b int) PARTITION BY KEY (a) PARTITIONS 3", "CREATE TABLE t (a int)", {});
    row("engine and its options", "m59",
        "CREATE TABLE t (a int, g geometry NOT NULL, SPATIAL KEY g (g)) ENGINE=MyISAM CHECKSUM=1 PACK_KEYS=1 "
        "DELAY_KEY_WRITE=1 MIN_ROWS=3 AVG_ROW_LENGTH=9",
        "CREATE TABLE t (a int, g geometry NOT NULL) ENGINE=MyISAM ROW_FORMAT=DYNAMIC", {});
    row("a truth value is no number of one digit", "m59", "CREATE TABLE t (a tinyint(1), b int(5) zerofill)",
        "CREATE TABLE t (a tinyint(4), b int(7) zerofill)", {});
    row("a key that rests", "9",
        "CREATE TABLE t (a int, b int, KEY k (a) INVISIBLE, KEY l ((a + b)), KEY m (b DESC))",
        "CREATE TABLE t (a int, x int, KEY k (a), KEY l ((a + x)), KEY m (x DESC) INVISIBLE)", {});
    row("a key that is passed over", "m", "CREATE TABLE t (a int, KEY k (a) IGNORED, KEY l (a))",
        "CREATE TABLE t (a int, KEY k (a), KEY l (a) IGNORED)", {});
    row("history and a period", "m", "CREATE TABLE t (a int, s date, e date, PERIOD FOR p (s, e))",
        "CREATE TABLE t (a int, s date, e date) WITH SYSTEM VERSIONING", {});
    row("a check of a column, an option of the engine", "m",
        "CREATE TABLE t (a int CHECK (a > 0), b int, v text COMPRESSED) PAGE_COMPRESSED=1",
        "CREATE TABLE t (a int, b int INVISIBLE, v text)", {});
    row("a key of a parser, a check not enforced", "9",
        "CREATE TABLE t (a text, b int INVISIBLE, FULLTEXT KEY f (a), CONSTRAINT e CHECK (b > 0))",
        "CREATE TABLE t (a text, b int, FULLTEXT KEY f (a) WITH PARSER ngram, CONSTRAINT e CHECK (b > 0) NOT "
        "ENFORCED) COMMENT='x'",
        {});
}

void TableAlterTest::serversMakeOneOfTheOther()
{
    const auto [on, from, to, renamed] = fetched<QString, QString, QString, L>();
    Renames renames;
    for (qsizetype i = 0; i + 1 < renamed.size(); i += 2)
        renames[renamed[i]] = renamed[i + 1];
    for (const auto &[letter, brand] : {std::pair{'m', TestServer::Brand::MariaDb},
                                        {'5', TestServer::Brand::MySql56},
                                        {'9', TestServer::Brand::MySql9}})
        if (on.contains(letter) && TestServers::whyMissing(brand).isEmpty())
            becomes(brand, from, to, renames);
}

void TableAlterTest::serversMakeAnyOfAnyOther()
{
    QFETCH(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    Generator generator(20, brand != TestServer::Brand::MySql56);
    QString from = generator.table();
    for (int i = 0; i < 12 && !QTest::currentTestFailed(); ++i) {
        const QString to = generator.table();
        becomes(brand, from, to);
        from = to;
    }
}

QTEST_GUILESS_MAIN(TableAlterTest)
#include "test_tablealter.moc"
