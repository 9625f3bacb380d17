#include "stage.h"
#include "users/databasegrants.h"
#include "users/tablegrants.h"

namespace {

using L = QStringList;

QString readHidden(const QString &table, const QString &rest)
{
    return "select * from information_schema." + table +
           " where grantee = binary concat('''', 'u', '''@''', 'h', '''')" + rest;
}

const QString readDatabase = readHidden("schema_privileges", " and table_schema = binary 'd1'");
const QString onTable = " and table_schema = binary 'd1' and table_name = binary 't1'";
const QString readTable = readHidden("table_privileges", onTable);
const QString readColumns = readHidden("column_privileges", onTable + " order by privilege_type");
const QString deleteTable =
    "delete from mysql.tables_priv where user='u'   and host=\"h\"   and db='d1'   and Table_name ='t1'";
const QString changed = "変更しました。";

AccountForm databaseForm()
{
    AccountForm form = plainForm();
    form.shownDatabase = "d1";
    form.addDatabase = "d2";
    form.database = checked(17, {0, 16});
    return form;
}

AccountForm tableForm()
{
    AccountForm form = plainForm();
    form.shownTableDatabase = "d1";
    form.shownTable = "t1";
    form.addTableDatabase = "d2";
    form.addTable = "t2";
    form.table = checked(4, {0, 2});
    return form;
}

Reply rights(std::vector<std::vector<std::optional<QString>>> rows)
{
    return Reply::table({"PRIVILEGE_TYPE", "IS_GRANTABLE"}, std::move(rows));
}

} // namespace

class GrantsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void incompleteGrantsAreNotSent();
    void grantsAreAddedAndDeleted();
    void databaseChangeRevokesOnTheShownAndGrantsOnTheChosen();
    void tableChangeKeepsHiddenAndColumnRights();
    void failedChangeKeepsHiddenRights();
    void aTableGrantOptionAloneIsKept();
};

void GrantsTest::incompleteGrantsAreNotSent()
{
    AccountStage stage;
    AccountForm noDatabase = databaseForm(), noBox = databaseForm(), noTable = tableForm();
    noDatabase.addDatabase = noDatabase.addTableDatabase = "*";
    noBox.database = checked(17, {});
    noTable.addTable.clear();
    for (Command command : {addDatabaseGrant, changeDatabaseGrant}) {
        stage.dialogue.expectInform("DBを選択して下さい。");
        stage.run(command, noDatabase);
        stage.dialogue.expectInform("権限にﾁｪｯｸを入れてください。");
        stage.run(command, noBox);
    }
    for (Command command : {addTableGrant, changeTableGrant}) {
        stage.dialogue.expectRefuse("ﾃｰﾌﾞﾙが選択されていません。");
        stage.run(command, noTable);
        stage.run(command, noDatabase); // nothing at all happens, no message either
    }
    QCOMPARE(stage.script.sent, L());
}

void GrantsTest::grantsAreAddedAndDeleted()
{
    AccountStage stage;
    AccountForm noRights = tableForm();
    noRights.table = checked(4, {});
    stage.dialogue.agrees("DB権限を追加します。", "追加しました。");
    QVERIFY(stage.run(addDatabaseGrant, databaseForm()) == Refresh::Account);
    stage.dialogue.deletes("DB権限を削除します。");
    QVERIFY(stage.run(deleteDatabaseGrant, databaseForm()) == Refresh::Account);
    stage.dialogue.agrees("TABLE権限を追加します。", "追加しました。");
    QVERIFY(stage.run(addTableGrant, noRights) == Refresh::Account);
    stage.dialogue.deletes("TABLE権限を削除します。");
    QVERIFY(stage.run(deleteTableGrant, noRights) == Refresh::Account);
    QCOMPARE(stage.script.sent,
             (L{"GRANT SELECT,EXECUTE\r\n   ON `d2`.*   TO 'u'@\"h\"", flush,
                "delete from mysql.db where host = 'h'  and db = 'd1'  and user = 'u'", flush,
                "GRANT USAGE   ON `d2`.t2   TO 'u'@\"h\"", flush, deleteTable, flush}));
}

void GrantsTest::databaseChangeRevokesOnTheShownAndGrantsOnTheChosen()
{
    for (const int server : {50173, 40122}) {
        AccountStage stage;
        stage.script.server.number = server;
        stage.dialogue.agrees("DB権限を変更します。", changed);
        QVERIFY(stage.run(changeDatabaseGrant, databaseForm()) == Refresh::Account);
        // Servers before 5 have no catalogue to read, and no rights that the window does not show.
        const L reading = server < 50000 ? L() : L(readDatabase);
        QCOMPARE(stage.script.sent,
                 reading + (L{"REVOKE GRANT OPTION ON d1.* FROM 'u'@\"h\"", flush,
                              "REVOKE ALL PRIVILEGES ON d1.* FROM 'u'@\"h\"", flush,
                              "GRANT SELECT,EXECUTE\r\n   ON `d2`.*   TO 'u'@\"h\"", flush}));
    }
}

void GrantsTest::tableChangeKeepsHiddenAndColumnRights()
{
    AccountStage stage;
    stage.script.always(readTable, rights({{"UPDATE", "NO"}, {"CREATE", "NO"}}));
    stage.script.always(
        readColumns, Reply::table({"COLUMN_NAME", "PRIVILEGE_TYPE", "IS_GRANTABLE"},
                                  {{"a", "INSERT", "NO"}, {"a", "SELECT", "NO"}, {"b`c", "SELECT", "NO"}}));
    stage.dialogue.agrees("TABLE権限を変更します。", changed);
    QVERIFY(stage.run(changeTableGrant, tableForm()) == Refresh::Account);
    QCOMPARE(
        stage.script.sent,
        (L{readTable, readColumns, deleteTable, flush, "GRANT SELECT,UPDATE\r\n   ON `d2`.t2   TO 'u'@\"h\"",
           flush, "GRANT CREATE, INSERT (`a`), SELECT (`a`, `b``c`) ON `d1`.`t1` TO 'u'@\"h\"", flush}));
}

void GrantsTest::failedChangeKeepsHiddenRights()
{
    // What fails: the first and the last statement that takes rights, the flush behind it, the GRANT.
    for (const auto &[isTable, failing, isTaken] : {std::tuple(false, 1, false),
                                                    {false, 3, false},
                                                    {false, 4, true},
                                                    {false, 5, true},
                                                    {true, 2, false},
                                                    {true, 3, true},
                                                    {true, 4, true}}) {
        AccountStage stage;
        stage.script.always(readDatabase, rights({{"SELECT", "YES"}, {"EVENT", "YES"}}));
        stage.script.always(readTable, rights({{"DROP", "YES"}}));
        stage.script.failAt(failing, Reply::failure("no"));
        stage.dialogue.agreesInVain(isTable ? "TABLE権限を変更します。" : "DB権限を変更します。", "no");
        QVERIFY((isTable ? stage.run(changeTableGrant, tableForm())
                         : stage.run(changeDatabaseGrant, databaseForm())) == Refresh::Nothing);
        const QString back = isTable ? "GRANT DROP ON `d1`.`t1` TO 'u'@\"h\" WITH GRANT OPTION"
                                     : "GRANT EVENT ON `d1`.* TO 'u'@\"h\"";
        QCOMPARE(changesOf(stage.script.sent.mid(failing + 1)), isTaken ? L({back, flush}) : L());
    }
}

void GrantsTest::aTableGrantOptionAloneIsKept()
{
    AccountStage stage;
    stage.script.always(readTable, rights({{"SELECT", "YES"}}));
    stage.dialogue.agrees("TABLE権限を変更します。", changed);
    stage.run(changeTableGrant, tableForm());
    QCOMPARE(stage.script.sent.mid(6), (L{"GRANT USAGE ON `d1`.`t1` TO 'u'@\"h\" WITH GRANT OPTION", flush}));
}

QTEST_GUILESS_MAIN(GrantsTest)
#include "test_grants.moc"
