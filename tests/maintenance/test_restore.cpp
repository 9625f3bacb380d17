#include "batchfixture.h"
#include "maintenance/restore.h"

#include <QRegularExpression>
#include <QTemporaryDir>

namespace {

const QString question =
    QStringLiteral("復元前に、既存のテーブルは削除する必要があります。\r\n\r\n削除を行い、復元しますか？");
const QByteArray tableT = "CREATE TABLE `t` (\n  `id` int(11),\n  `b` bit(3),\n"
                          "  CONSTRAINT `k` FOREIGN KEY (`id`) REFERENCES `p` (`id`)\n) ENGINE=InnoDB";

// The stamp of the old table's name cut off.
QStringList withoutStamps(QStringList statements)
{
    return statements.replaceInStrings(QRegularExpression("_old_\\d{15}"), "_old");
}

const QString typeOf = QStringLiteral(
    "SELECT TABLE_TYPE FROM information_schema.TABLES WHERE TABLE_SCHEMA='d' AND TABLE_NAME='%1'");

// A server on which `t` exists with a trigger, two foreign keys and a table that points to it.
void describeT(Script &script)
{
    script.always(typeOf.arg("t"), Reply::table({"TABLE_TYPE"}, {{"BASE TABLE"}}));
    script.always("show triggers from `d`;",
                  Reply::table({"Trigger", "Event", "Table", "Statement", "Timing", "sql_mode", "Definer"},
                               {{"r", "INSERT", "t", "set @a=1", "BEFORE", "ANSI", "u@h"}}));
    script.always("SHOW CREATE TABLE `d`.`t`",
                  Reply::table({"Table", "Create Table"},
                               {{"t", "CREATE TABLE `t` (\n  `id` int,\n"
                                      "  CONSTRAINT `k` FOREIGN KEY (`id`) REFERENCES `p` (`id`),\n"
                                      "  CONSTRAINT `n` FOREIGN KEY (`id`) REFERENCES `q` (`id`)\n)"}}));
    script.always("SELECT CONSTRAINT_SCHEMA, TABLE_NAME, CONSTRAINT_NAME FROM "
                  "information_schema.REFERENTIAL_CONSTRAINTS WHERE UNIQUE_CONSTRAINT_SCHEMA='d' AND "
                  "REFERENCED_TABLE_NAME='t'",
                  Reply::table({"s", "t", "c"}, {{"e", "child", "f"}}));
    script.always(
        "SHOW CREATE TABLE `e`.`child`",
        Reply::table({"Table", "Create Table"},
                     {{"child", "CREATE TABLE `child` (\n  `t` int,\n"
                                "  CONSTRAINT `f` FOREIGN KEY (`t`) REFERENCES `d`.`t` (`id`)\n)"}}));
    script.always("SELECT 1 FROM `d`.`t` LIMIT 1", Reply::table({"1"}));
    script.always(
        "SELECT COLUMN_NAME, DATA_TYPE, CHARACTER_SET_NAME, EXTRA FROM information_schema.COLUMNS WHERE "
        "TABLE_SCHEMA='d' AND TABLE_NAME='t' ORDER BY ORDINAL_POSITION",
        Reply::table({"c", "d", "s", "e"},
                     {{"id", "int", std::nullopt, ""}, {"b", "bit", std::nullopt, ""}}));
}

// What changes something on the server, in order.
QStringList changes(const QStringList &sent)
{
    return withoutStamps(sent.filter(QRegularExpression("^(?!SELECT|SHOW|show|USE|SET)")));
}

} // namespace

class RestoreTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void nothingChosenSendsNothing_data();
    void nothingChosenSendsNothing();
    void oldServersDropAndRestore();
    void oldServersKeepTheirError();
    void damagedBackupsAreRefused_data();
    void damagedBackupsAreRefused();
    void aTableIsReplacedWithAllItsTies();
    void aFailureTakesEveryStepBack();
    void aCutStopsAtOnceAndSaysWhereTheRowsAre();
};

void RestoreTest::nothingChosenSendsNothing_data()
{
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<QString>("folder");
    QTest::newRow("cancelled") << QStringList{QString()} << "";
    QTest::newRow("OK without a file") << QStringList{QString()} << "/bk";
}

void RestoreTest::nothingChosenSendsNothing()
{
    QFETCH(QStringList, names);
    QFETCH(QString, folder);
    BatchFixture fixture;
    fixture.dialogue.expectBackups({names, folder});
    fixture.run(restoreTables);
    QCOMPARE(fixture.script.sent, QStringList());
    BatchFixture noDatabase;
    noDatabase.selection.lblPreTable.clear();
    noDatabase.dialogue.expectRefuse(QStringLiteral("ﾃﾞｰﾀﾍﾞｰｽが選択されていません。"));
    noDatabase.run(restoreTables);
}

void RestoreTest::oldServersDropAndRestore()
{
    BatchFixture fixture;
    fixture.script.always("drop table `d`.a", Reply::failure("Unknown table", 1051));
    fixture.dialogue.expectBackups({{"a", "b"}, "C:\\bk"});
    fixture.dialogue.expectConfirm(question, Icon::Critical, true);
    fixture.dialogue.expectInform(QStringLiteral("「C:\\bk」から復元しました。"));
    fixture.run(restoreTables);
    QCOMPARE(fixture.script.sent, (QStringList{"drop table `d`.a", "drop table `d`.b",
                                               "restore table `d`.a,`d`.b from 'C:\\\\bk'"}));
    QCOMPARE(fixture.dialogue.progresses, (QStringList{"0/2", "1/2", "2/2"}));
    QCOMPARE(fixture.dialogue.bars, QList<double>{1});

    BatchFixture refused;
    refused.dialogue.expectBackups({{"a"}, "/bk"});
    refused.dialogue.expectConfirm(question, Icon::Critical, false);
    refused.run(restoreTables);
    QCOMPARE(refused.script.sent, QStringList());
}

void RestoreTest::oldServersKeepTheirError()
{
    BatchFixture fixture;
    fixture.script.failAt(1, Reply::failure("Failed copying .frm file"));
    fixture.dialogue.expectBackups({{"a"}, "/bk"});
    fixture.dialogue.expectConfirm(question, Icon::Critical, true);
    fixture.dialogue.expectRefuse(QStringLiteral("Failed copying .frm file"));
    fixture.run(restoreTables);
    QCOMPARE(fixture.dialogue.lastTip, QStringLiteral("Failed copying .frm file"));
    QCOMPARE(fixture.dialogue.bars, QList<double>{0});
}

void RestoreTest::damagedBackupsAreRefused_data()
{
    QTest::addColumn<QByteArray>("definition");
    QTest::addColumn<QByteArray>("rows");
    QTest::addColumn<QString>("file");
    const QByteArray none = "-";
    QTest::newRow("binary definition of an old server")
        << QByteArray("\xfe\x01\x0a\x00\x04", 5) << QByteArray() << "t.frm";
    QTest::newRow("empty definition") << QByteArray() << QByteArray() << "t.frm";
    QTest::newRow("cut in the middle") << tableT.left(30) << QByteArray() << "t.frm";
    QTest::newRow("another table") << QByteArray(tableT).replace("`t`", "`s`") << QByteArray() << "t.frm";
    QTest::newRow("name of it only begins so")
        << QByteArray(tableT).replace("`t`", "`t``x`") << QByteArray() << "t.frm";
    QTest::newRow("another statement") << QByteArray("DROP TABLE `t`") << QByteArray() << "t.frm";
    QTest::newRow("not UTF-8") << QByteArray(tableT).replace("id", "\x88\xea") << QByteArray() << "t.frm";
    QTest::newRow("view without a body") << QByteArray("CREATE VIEW `t` AS ") << QByteArray() << "t.frm";
    QTest::newRow("view of another name")
        << QByteArray("CREATE VIEW `s` AS select 1 AS `t`") << QByteArray() << "t.frm";
    QTest::newRow("no definition") << none << QByteArray() << "t.frm";
    QTest::newRow("no rows") << tableT << none << "t.dat";
    QTest::newRow("rows cut off") << tableT << QByteArray("1\t2\n3\t4") << "t.dat";
}

void RestoreTest::damagedBackupsAreRefused()
{
    QFETCH(QByteArray, definition);
    QFETCH(QByteArray, rows);
    QFETCH(QString, file);
    const QTemporaryDir folder;
    put(folder.filePath("good.frm"), "CREATE TABLE `good` (\n  `a` int\n) ENGINE=InnoDB");
    put(folder.filePath("good.dat"), "");
    if (definition != "-")
        put(folder.filePath("t.frm"), definition);
    if (rows != "-")
        put(folder.filePath("t.dat"), rows);

    BatchFixture fixture;
    fixture.beModern();
    ListeningDialogue dialogue;
    dialogue.expectBackups({{"good", "t"}, folder.path()});
    CommandContext context{fixture.session, fixture.selection, dialogue};
    restoreTables(context); // asks nothing: a question would fail the test
    QCOMPARE(dialogue.told.size(), 1);
    QVERIFY2(dialogue.told[0].contains(folder.filePath(file)), qPrintable(dialogue.told[0]));
    QVERIFY(dialogue.isCritical);
    QCOMPARE(dialogue.lastTip, dialogue.told[0]);
    QCOMPARE(fixture.script.sent, QStringList());
}

void RestoreTest::aTableIsReplacedWithAllItsTies()
{
    const QTemporaryDir folder;
    put(folder.filePath("t.FRM"), tableT);
    put(folder.filePath("t.dat"), "1\t2\n");
    BatchFixture fixture;
    fixture.beModern();
    describeT(fixture.script);
    fixture.dialogue.expectBackups({{"t"}, folder.path()});
    fixture.dialogue.expectConfirm(question, Icon::Critical, true);
    fixture.dialogue.expectInform("「" + folder.path() + "」から復元しました。");
    fixture.run(restoreTables);
    const QString trigger =
        "create definer=`u`@`h` trigger `d`.`r` BEFORE INSERT on `d`.`t` for each row set @a=1";
    QCOMPARE(
        changes(fixture.script.sent),
        (QStringList{"DROP TRIGGER `d`.`r`", "ALTER TABLE `e`.`child` DROP FOREIGN KEY `f`",
                     "ALTER TABLE `d`.`t` DROP FOREIGN KEY `k`", "ALTER TABLE `d`.`t` DROP FOREIGN KEY `n`",
                     "RENAME TABLE `d`.`t` TO `d`.`t_old`", tableT,
                     "LOAD DATA INFILE '" + folder.filePath("t.dat") +
                         "' INTO TABLE `d`.`t` CHARACTER SET binary FIELDS TERMINATED BY '\\t' ESCAPED BY "
                         "'\\\\' LINES TERMINATED BY '\\n' (`id`, @tarnwell_2) SET `b`=UNHEX(@tarnwell_2)",
                     "ALTER TABLE `d`.`t` ADD CONSTRAINT `n` FOREIGN KEY (`id`) REFERENCES `q` (`id`)",
                     "ALTER TABLE `e`.`child` ADD CONSTRAINT `f` FOREIGN KEY (`t`) REFERENCES `d`.`t` (`id`)",
                     trigger, "DROP TABLE `d`.`t_old`"}));
    // The trigger keeps the mode it was made under, the session gets back what it had.
    const QStringList &sent = fixture.script.sent;
    QCOMPARE(sent[sent.indexOf(trigger) - 1], QStringLiteral("SET SESSION sql_mode='ANSI'"));
    QCOMPARE(sent.mid(sent.size() - 2),
             (QStringList{"SET SESSION sql_mode='ANSI', time_zone='SYSTEM', foreign_key_checks=1, "
                          "sql_select_limit=9, sql_quote_show_create=1",
                          "USE `before`"}));
}

// Whatever step is refused: what the steps before it did is undone, last first.
void RestoreTest::aFailureTakesEveryStepBack()
{
    const QTemporaryDir folder;
    put(folder.filePath("t.frm"), tableT);
    put(folder.filePath("t.dat"), "");
    const QStringList undo{
        "create definer=`u`@`h` trigger `d`.`r` BEFORE INSERT on `d`.`t` for each row set @a=1",
        "ALTER TABLE `e`.`child` ADD CONSTRAINT `f` FOREIGN KEY (`t`) REFERENCES `d`.`t` (`id`)",
        "ALTER TABLE `d`.`t` ADD CONSTRAINT `k` FOREIGN KEY (`id`) REFERENCES `p` (`id`)",
        "ALTER TABLE `d`.`t` ADD CONSTRAINT `n` FOREIGN KEY (`id`) REFERENCES `q` (`id`)",
        "RENAME TABLE `d`.`t_old` TO `d`.`t`",
        "DROP TABLE `d`.`t`"};
    int failures = 0;
    for (int step = 0;; ++step) {
        BatchFixture fixture;
        fixture.beModern();
        describeT(fixture.script);
        int changed = 0;
        bool isAside = false;
        fixture.script.beforeAnswer = [&](const QString &statement) {
            if (changes({statement}).isEmpty()) {
                if (statement.contains("TABLE_NAME='t_old_"))
                    fixture.script.once(statement, isAside ? Reply::table({"T"}, {{"BASE TABLE"}})
                                                           : Reply::table({"T"}));
                return;
            }
            if (changed++ == step)
                fixture.script.failAt(static_cast<int>(fixture.script.sent.size()) - 1,
                                      Reply::failure("no", 1142));
            else if (statement.startsWith("RENAME"))
                isAside = true;
        };
        ListeningDialogue dialogue;
        dialogue.expectBackups({{"t"}, folder.path()});
        dialogue.expectConfirm(question, Icon::Critical, true);
        CommandContext context{fixture.session, fixture.selection, dialogue};
        restoreTables(context);
        if (!dialogue.isCritical)
            break;
        ++failures;
        QCOMPARE(dialogue.told, QStringList{"no\r\n「t」は復元前の状態に戻しました。"});
        // The last of the undoing: one statement for each of the steps that were taken on the old table.
        QStringList expected = undo.mid(0, std::min(step, 6));
        std::reverse(expected.begin(), expected.end());
        const QStringList sent = changes(fixture.script.sent);
        QCOMPARE(sent.mid(sent.size() - expected.size()), expected);
    }
    QCOMPARE(failures, 11);
}

void RestoreTest::aCutStopsAtOnceAndSaysWhereTheRowsAre()
{
    const QTemporaryDir folder;
    put(folder.filePath("t.frm"), tableT);
    put(folder.filePath("t.dat"), "");
    const QRegularExpression asideName("t_old_\\d{15}");
    int cuts = 0;
    for (int step = 0;; ++step) {
        BatchFixture fixture;
        fixture.beModern();
        describeT(fixture.script);
        int changed = 0;
        fixture.script.beforeAnswer = [&](const QString &statement) {
            if (changed > step || (!changes({statement}).isEmpty() && changed++ == step))
                fixture.script.failAt(static_cast<int>(fixture.script.sent.size()) - 1,
                                      Reply::failure("Lost connection", 2013));
        };
        ListeningDialogue dialogue;
        dialogue.expectBackups({{"t"}, folder.path()});
        dialogue.expectConfirm(question, Icon::Critical, true);
        CommandContext context{fixture.session, fixture.selection, dialogue};
        restoreTables(context);
        if (!dialogue.isCritical)
            break;
        ++cuts;
        QCOMPARE(changes(fixture.script.sent).size(), step + 1);
        QCOMPARE(fixture.script.connectionStrings.size(), 1);
        const QString told = dialogue.told.value(0);
        QVERIFY2(told.startsWith("Lost connection\r\n接続が切れた"), qPrintable(told));
        const QString renamed = fixture.script.sent.filter(QRegularExpression("^RENAME")).value(0);
        QCOMPARE(told.contains("_old_"), !renamed.isEmpty());
        if (!renamed.isEmpty())
            QVERIFY2(told.contains(asideName.match(renamed).captured()), qPrintable(told));
        // Until everything is back in its place, the texts to make it again are in the message.
        QCOMPARE(told.contains("trigger `d`.`r`"), step < 10);
    }
    QCOMPARE(cuts, 11);
}

QTEST_APPLESS_MAIN(RestoreTest)
#include "test_restore.moc"
