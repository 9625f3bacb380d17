#include "core/command/showntext.h"
#include "maintenance/tablechange/tablechange.h"
#include "maintenance/tablechange/tablechangetext.h"
#include "support/gui/stage.h"

namespace {

using L = QStringList;
const QString shown = "CREATE TABLE t (\r\n  a int,\r\n  b int\r\n)";
const QString serverText = "CREATE TABLE `t` (\n  `a` int,\n  `b` int\n)";
const QString kindTest = "show create table `d`.t;";

// What goes to the server, in short names; COPY stands for the copy's name.
const QString variables = "select @@session.sql_mode, @@session.character_set_client, "
                          "@@session.collation_connection, @@session.foreign_key_checks";
const QString useIt = "use `d`";
const QString database = "select database()";
const QString moreVariables = "select @@session.sql_select_limit, @@session.autocommit";
const QString set = "set session sql_mode='STRICT,NO_AUTO_VALUE_ON_ZERO,ALLOW_INVALID_DATES', "
                    "foreign_key_checks=0, sql_select_limit=18446744073709551615";
const QString place = "select concat_ws(' ',@@server_id,@@hostname,@@port,@@datadir)";
const QString cluster =
    "show global variables where Variable_name in ('read_only', 'super_read_only', 'innodb_read_only', "
    "'wsrep_on', 'wsrep_provider', 'wsrep_cluster_name', 'group_replication_group_name', "
    "'group_replication_single_primary_mode')";
const QString kind = "SELECT TABLE_TYPE, ENGINE FROM information_schema.TABLES WHERE TABLE_SCHEMA='d' AND "
                     "TABLE_NAME='t'";
const QString children = "SELECT CONSTRAINT_SCHEMA, TABLE_NAME, CONSTRAINT_NAME FROM "
                         "information_schema.REFERENTIAL_CONSTRAINTS WHERE UNIQUE_CONSTRAINT_SCHEMA='d' AND "
                         "REFERENCED_TABLE_NAME='t'";
const QString words = "select 0 as t,0 as a,0 as b"; // are they reserved?
const QString fields = "show full fields from `d`.t;";
const QString triggers = "show triggers from `d`;";
const QString prepare = "prepare tarnwell from 'CREATE TABLE  `d`.t (b bigint, a int)'";
const QString deallocate = "deallocate prepare tarnwell";
const QString copy = "create table COPY select * from `d`.t";
const QString lock = "lock tables `d`.t write, COPY write";
const QString sumOld = "select count(*), sum(crc32(concat_ws(',',ifnull(crc32(`b`),'-'),ifnull(crc32(`a`),"
                       "'-')))) from `d`.t";
const QString sumCopy = "select count(*), sum(crc32(concat_ws(',',ifnull(crc32(`b`),'-'),ifnull(crc32(`a`),"
                        "'-')))) from COPY";
const QString dropOld = "drop table `d`.t";
const QString unlock = "unlock tables";
const QString create = "CREATE TABLE  `d`.t (b bigint, a int)";
const QString fill = "insert into `d`.t(b,a\r\n) select b,a\r\n from COPY";
const QString count = "select 1 from dual where (select count(*) from `d`.t) >= (select count(*) from COPY)";
const QString dropCopy = "drop table COPY";
const QString putBack = "set session sql_mode='STRICT', foreign_key_checks=1, sql_select_limit=1000";
const L forward{kindTest, variables, database, useIt,   moreVariables, set,     place,      cluster,
                kind,     children,  words,    fields,  triggers,      prepare, deallocate, copy,
                lock,     kindTest,  sumOld,   sumCopy, dropOld,       unlock,  create,     lock,
                fields,   fill,      count,    unlock,  dropCopy,      putBack};

const QString question = "tﾃｰﾌﾞﾙを変更します。";
const QString changed = "変更しました。";
const QString failed = "ﾃｰﾌﾞﾙの変更に失敗しました。";
const QString inCopy = "ﾃｰﾌﾞﾙ `d`.t を元に戻せませんでした。ﾃﾞｰﾀはｺﾋﾟｰ COPY にあります。";

struct TableStage : ScriptedStage {
    TableStage()
    {
        selection.lblTableName = "t";
        selection.lblCreateTable = shown;
        selection.txtField = "CREATE TABLE t (b bigint, a int)";
        session.gOldFields = {{}, {" a", {}, {}, {}, {}, {}, {}}, {" b", {}, {}, {}, {}, {}, {}}};
        script.always(kindTest, Reply::table({"Table", "Create Table"}, {{"t", serverText}}));
        script.always(variables, Reply::table({"m", "c", "o", "f"}, {{"STRICT", "utf8", "utf8_bin", "1"}}));
        script.always(moreVariables, Reply::table({"l", "a"}, {{"1000", "1"}}));
        script.always(fields, Reply::table({"Field", "Type", "Null", "Key", "Default", "Extra", "Privileges"},
                                           {{"b", "bigint", "YES", "", std::nullopt, "", "x"},
                                            {"a", "int", "YES", "", std::nullopt, "", "x"}}));
    }
    // Of a user who agrees: the boxes that ended the change.
    L change()
    {
        dialogue.agrees = true;
        run(changeTable);
        return inShort(dialogue.told);
    }
    L sent() const { return inShort(script.sent); }
    // The copy's name holds the minute.
    static L inShort(L texts)
    {
        return texts.replaceInStrings(QRegularExpression("`d`\\.t_\\d{12}zolt"), "COPY");
    }
};

} // namespace

class TableChangeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theNameIsTakenFromTheText_data();
    void theNameIsTakenFromTheText();
    void aTableIsRebuiltInOrder();
    void withoutTextNameOrConsentNothingIsChanged();
    void anUnknownKindIsNotUndone();
};

void TableChangeTest::theNameIsTakenFromTheText_data()
{
    const Rows<QString, QString> row;
    row("any letter case, blanks around", "  create  Table   受注 (a int)  ", "受注");
    row("backticks as written", "CREATE TABLE `t`(a int)", "`t`");
    row("no blank before the parenthesis", "CREATE TABLE t(a int)", "t");
    row("a word TABLE before CREATE", "/* table */ CREATE TABLE t (a int)", "t");
    row("no CREATE", "TABLE t (a int)", "");
    row("no parenthesis", "CREATE TABLE t", "");
    row("no name", "CREATE TABLE (a int)", "");
    row("CREATE and TABLE too close", "CREATETABLE t (a int)", "t");
}

void TableChangeTest::theNameIsTakenFromTheText()
{
    const auto [text, name] = fetched<QString, QString>();
    QCOMPARE(fField_select(text), name);
}

void TableChangeTest::aTableIsRebuiltInOrder()
{
    for (const bool hasCommonColumns : {true, false}) {
        TableStage stage;
        L wanted = forward;
        if (!hasCommonColumns) {
            const L names{"Field", "Type", "Extra"};
            stage.script.once(fields, Reply::table(names, {{"b", "int", ""}, {"a", "int", ""}}));
            stage.script.always(fields, Reply::table(names, {{"c", "int", ""}}));
            wanted.removeOne(fill);
            wanted.removeOne(count);
        }
        stage.dialogue.expectDone(question, changed, Icon::Critical);
        QCOMPARE(stage.run(changeTable).reload, Reload::Objects);
        QCOMPARE(stage.sent(), wanted);
        QCOMPARE(stage.dialogue.progresses, (L{"0/5", "1/5", "2/5", "3/5", "4/5", "5/5"}));
        QCOMPARE(stage.dialogue.bars, QList<double>{1});
    }
}

void TableChangeTest::withoutTextNameOrConsentNothingIsChanged()
{
    TableStage stage;
    stage.dialogue.expectConfirm(question, Icon::Critical, false);
    stage.run(changeTable);
    stage.selection.txtField = "   ";
    stage.dialogue.expectInform("ﾃｰﾌﾞﾙを選択して下さい。");
    stage.run(changeTable);
    QCOMPARE(stage.sent(), L());
    stage.selection.txtField = "CREATE TABLE t";
    QCOMPARE(stage.change(), L{"ﾃｰﾌﾞﾙ名が見つかりません。"});
    QVERIFY(
        isAsShown("CREATE TABLE `t` (\n) AUTO_INCREMENT=7 x", "CREATE TABLE t (\r\n) AUTO_INCREMENT=5 x"));
    stage.selection.lblCreateTable = "CREATE TABLE t (\r\n  a int\r\n)"; // somebody has added b
    stage.selection.txtField = "CREATE TABLE t (a bigint)";
    QCOMPARE(stage.change().last(),
             "ﾃｰﾌﾞﾙの定義は表示した後に変更されています。一覧から選択し直して下さい。");
    stage.selection.txtField = "Create or replace temporary table t (a int)";
    QCOMPARE(stage.change().last(), "一時ﾃｰﾌﾞﾙには変更できません。");
    QCOMPARE(stage.sent(), (L{kindTest, kindTest, kindTest}));
}

void TableChangeTest::anUnknownKindIsNotUndone()
{
    TableStage stage;
    stage.script.always(kindTest, Reply::table({"Sequence", "Create"}, {{"t", serverText}}));
    stage.script.failAt(static_cast<int>(forward.indexOf(create)), Reply::failure("E4"));
    QCOMPARE(stage.change(), (L{failed, inCopy}));
    QCOMPARE(stage.sent(), forward.mid(0, forward.indexOf(create) + 1) + L{putBack});
}

QTEST_APPLESS_MAIN(TableChangeTest)
#include "test_tablechange.moc"
