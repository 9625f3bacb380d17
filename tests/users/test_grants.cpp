#include "users/accountstage.h"
#include "users/databasegrants.h"
#include "users/tablegrants.h"

#include <QRegularExpression>
#include <QTest>

namespace {

const QString flush = QStringLiteral("FLUSH PRIVILEGES");

QString readHidden(const char *table, const char *rest)
{
    return QStringLiteral(
               "select * from information_schema.%1 where grantee = binary concat('''', 'u', '''@''', "
               "'h', '''')%2")
        .arg(QLatin1String(table), QLatin1String(rest));
}

const QString readDatabase = readHidden("schema_privileges", " and table_schema = binary 'd1'");
const QString onTable = QStringLiteral(" and table_schema = binary 'd1' and table_name = binary 't1'");
const QString readTable = readHidden("table_privileges", qPrintable(onTable));
const QString readColumns = readHidden("column_privileges", qPrintable(onTable + " order by privilege_type"));

AccountForm databaseForm()
{
    AccountForm form = plainForm();
    form.shownDatabase = QStringLiteral("d1");
    form.addDatabase = QStringLiteral("d2");
    form.database = checked(17, {0, 16});
    return form;
}

AccountForm tableForm()
{
    AccountForm form = plainForm();
    form.shownTableDatabase = QStringLiteral("d1");
    form.shownTable = QStringLiteral("t1");
    form.addTableDatabase = QStringLiteral("d2");
    form.addTable = QStringLiteral("t2");
    form.table = checked(4, {0, 2});
    return form;
}

Reply rights(std::vector<std::vector<std::optional<QString>>> rows)
{
    return Reply::table({QStringLiteral("PRIVILEGE_TYPE"), QStringLiteral("IS_GRANTABLE")}, std::move(rows));
}

const std::optional<QString> yes = QStringLiteral("YES");
const std::optional<QString> no = QStringLiteral("NO");

} // namespace

class GrantsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void incompleteDatabaseGrantsAreNotSent_data();
    void incompleteDatabaseGrantsAreNotSent();
    void databaseGrantsAreAddedAndDeleted();
    void databaseChangeRevokesOnTheShownAndGrantsOnTheChosen();
    void failedDatabaseChangeKeepsHiddenRights_data();
    void failedDatabaseChangeKeepsHiddenRights();
    void incompleteTableGrantsAreNotSent();
    void tableGrantsAreAddedAndDeleted();
    void tableChangeKeepsHiddenAndColumnRights();
    void failedTableChangeKeepsHiddenRights_data();
    void failedTableChangeKeepsHiddenRights();
    void aTableGrantOptionAloneIsKept();
    void serversWithoutCatalogueHaveNothingHidden();
};

void GrantsTest::incompleteDatabaseGrantsAreNotSent_data()
{
    QTest::addColumn<QString>("database");
    QTest::addColumn<bool>("hasBox");
    QTest::addColumn<QString>("message");
    QTest::newRow("no database") << "*" << true << "DBを選択して下さい。";
    QTest::newRow("no box") << "d2" << false << "権限にﾁｪｯｸを入れてください。";
}

void GrantsTest::incompleteDatabaseGrantsAreNotSent()
{
    QFETCH(QString, database);
    QFETCH(bool, hasBox);
    QFETCH(QString, message);
    AccountStage stage;
    AccountForm form = databaseForm();
    form.addDatabase = database;
    if (!hasBox)
        form.database = checked(17, {});
    stage.dialogue.expectInform(message);
    stage.dialogue.expectInform(message);
    QVERIFY(addDatabaseGrant(stage.session, stage.dialogue, form) == Refresh::Nothing);
    QVERIFY(changeDatabaseGrant(stage.session, stage.dialogue, form) == Refresh::Nothing);
    QCOMPARE(stage.script.sent, QStringList());
}

void GrantsTest::databaseGrantsAreAddedAndDeleted()
{
    AccountStage stage;
    stage.dialogue.expectConfirm(QStringLiteral("DB権限を追加します。"), Icon::Information, true);
    stage.dialogue.expectInform(QStringLiteral("追加しました。"));
    stage.dialogue.expectConfirm(QStringLiteral("DB権限を削除します。"), Icon::Critical, true);
    stage.dialogue.expectInform(QStringLiteral("削除しました。"));
    QVERIFY(addDatabaseGrant(stage.session, stage.dialogue, databaseForm()) == Refresh::Account);
    QVERIFY(deleteDatabaseGrant(stage.session, stage.dialogue, databaseForm()) == Refresh::Account);
    QCOMPARE(
        stage.script.sent,
        (QStringList{QStringLiteral("GRANT SELECT,EXECUTE\r\n   ON `d2`.*   TO 'u'@\"h\""), flush,
                     QStringLiteral("delete from mysql.db where host = 'h'  and db = 'd1'  and user = 'u'"),
                     flush}));
}

void GrantsTest::databaseChangeRevokesOnTheShownAndGrantsOnTheChosen()
{
    AccountStage stage;
    stage.dialogue.expectConfirm(QStringLiteral("DB権限を変更します。"), Icon::Information, true);
    stage.dialogue.expectInform(QStringLiteral("変更しました。"));
    QVERIFY(changeDatabaseGrant(stage.session, stage.dialogue, databaseForm()) == Refresh::Account);
    QCOMPARE(stage.script.sent,
             (QStringList{readDatabase, QStringLiteral("REVOKE GRANT OPTION ON d1.* FROM 'u'@\"h\""), flush,
                          QStringLiteral("REVOKE ALL PRIVILEGES ON d1.* FROM 'u'@\"h\""), flush,
                          QStringLiteral("GRANT SELECT,EXECUTE\r\n   ON `d2`.*   TO 'u'@\"h\""), flush}));
}

void GrantsTest::failedDatabaseChangeKeepsHiddenRights_data()
{
    QTest::addColumn<int>("failing");
    QTest::addColumn<bool>("isTaken");
    QTest::newRow("reading") << 0 << false;
    QTest::newRow("REVOKE GRANT OPTION") << 1 << false;
    QTest::newRow("REVOKE ALL") << 3 << false;
    QTest::newRow("its flush") << 4 << true;
    QTest::newRow("GRANT") << 5 << true;
    QTest::newRow("its flush too") << 6 << true;
}

void GrantsTest::failedDatabaseChangeKeepsHiddenRights()
{
    QFETCH(int, failing);
    QFETCH(bool, isTaken);
    AccountStage stage;
    stage.script.always(readDatabase,
                        rights({{QStringLiteral("SELECT"), yes}, {QStringLiteral("EVENT"), yes}}));
    stage.script.failAt(failing, Reply::failure(QStringLiteral("no")));
    stage.dialogue.expectConfirm(QStringLiteral("DB権限を変更します。"), Icon::Information, true);
    stage.dialogue.expectRefuse(QStringLiteral("no"));
    QVERIFY(changeDatabaseGrant(stage.session, stage.dialogue, databaseForm()) == Refresh::Nothing);
    const QStringList back{QStringLiteral("GRANT EVENT ON `d1`.* TO 'u'@\"h\""), flush};
    QCOMPARE(stage.script.sent.mid(failing + 1).filter(QRegularExpression(QStringLiteral("^(?!select)"))),
             isTaken ? back : QStringList());
}

void GrantsTest::incompleteTableGrantsAreNotSent()
{
    AccountStage stage;
    AccountForm form = tableForm();
    form.addTable.clear();
    stage.dialogue.expectRefuse(QStringLiteral("ﾃｰﾌﾞﾙが選択されていません。"));
    stage.dialogue.expectRefuse(QStringLiteral("ﾃｰﾌﾞﾙが選択されていません。"));
    addTableGrant(stage.session, stage.dialogue, form);
    changeTableGrant(stage.session, stage.dialogue, form);
    form.addTableDatabase = QStringLiteral("*"); // nothing at all happens, no message either
    addTableGrant(stage.session, stage.dialogue, form);
    changeTableGrant(stage.session, stage.dialogue, form);
    QCOMPARE(stage.script.sent, QStringList());
}

void GrantsTest::tableGrantsAreAddedAndDeleted()
{
    AccountStage stage;
    AccountForm form = tableForm();
    form.table = checked(4, {});
    stage.dialogue.expectConfirm(QStringLiteral("TABLE権限を追加します。"), Icon::Information, true);
    stage.dialogue.expectInform(QStringLiteral("追加しました。"));
    stage.dialogue.expectConfirm(QStringLiteral("TABLE権限を削除します。"), Icon::Critical, true);
    stage.dialogue.expectInform(QStringLiteral("削除しました。"));
    QVERIFY(addTableGrant(stage.session, stage.dialogue, form) == Refresh::Account);
    QVERIFY(deleteTableGrant(stage.session, stage.dialogue, form) == Refresh::Account);
    QCOMPARE(
        stage.script.sent,
        (QStringList{QStringLiteral("GRANT USAGE   ON `d2`.t2   TO 'u'@\"h\""), flush,
                     QStringLiteral("delete from mysql.tables_priv where user='u'   and host=\"h\"   and "
                                    "db='d1'   and Table_name ='t1'"),
                     flush}));
}

void GrantsTest::tableChangeKeepsHiddenAndColumnRights()
{
    AccountStage stage;
    stage.script.always(readTable, rights({{QStringLiteral("UPDATE"), no}, {QStringLiteral("CREATE"), no}}));
    stage.script.always(readColumns,
                        Reply::table({QStringLiteral("COLUMN_NAME"), QStringLiteral("PRIVILEGE_TYPE"),
                                      QStringLiteral("IS_GRANTABLE")},
                                     {{QStringLiteral("a"), QStringLiteral("INSERT"), no},
                                      {QStringLiteral("a"), QStringLiteral("SELECT"), no},
                                      {QStringLiteral("b`c"), QStringLiteral("SELECT"), no}}));
    stage.dialogue.expectConfirm(QStringLiteral("TABLE権限を変更します。"), Icon::Information, true);
    stage.dialogue.expectInform(QStringLiteral("変更しました。"));
    QVERIFY(changeTableGrant(stage.session, stage.dialogue, tableForm()) == Refresh::Account);
    QCOMPARE(
        stage.script.sent,
        (QStringList{readTable, readColumns,
                     QStringLiteral("delete from mysql.tables_priv where user='u'   and host=\"h\"   and "
                                    "db='d1'   and Table_name ='t1'"),
                     flush, QStringLiteral("GRANT SELECT,UPDATE\r\n   ON `d2`.t2   TO 'u'@\"h\""), flush,
                     QStringLiteral("GRANT CREATE, INSERT (`a`), SELECT (`a`, `b``c`) ON `d1`.`t1` TO "
                                    "'u'@\"h\""),
                     flush}));
}

void GrantsTest::failedTableChangeKeepsHiddenRights_data()
{
    QTest::addColumn<int>("failing");
    QTest::addColumn<bool>("isTaken");
    QTest::newRow("reading") << 0 << false;
    QTest::newRow("delete") << 2 << false;
    QTest::newRow("its flush") << 3 << true;
    QTest::newRow("GRANT") << 4 << true;
    QTest::newRow("its flush too") << 5 << true;
}

void GrantsTest::failedTableChangeKeepsHiddenRights()
{
    QFETCH(int, failing);
    QFETCH(bool, isTaken);
    AccountStage stage;
    stage.script.always(readTable, rights({{QStringLiteral("DROP"), yes}}));
    stage.script.failAt(failing, Reply::failure(QStringLiteral("no")));
    stage.dialogue.expectConfirm(QStringLiteral("TABLE権限を変更します。"), Icon::Information, true);
    stage.dialogue.expectRefuse(QStringLiteral("no"));
    QVERIFY(changeTableGrant(stage.session, stage.dialogue, tableForm()) == Refresh::Nothing);
    const QStringList back{QStringLiteral("GRANT DROP ON `d1`.`t1` TO 'u'@\"h\" WITH GRANT OPTION"), flush};
    QCOMPARE(stage.script.sent.mid(failing + 1).filter(QRegularExpression(QStringLiteral("^(?!select)"))),
             isTaken ? back : QStringList());
}

void GrantsTest::aTableGrantOptionAloneIsKept()
{
    AccountStage stage;
    stage.script.always(readTable, rights({{QStringLiteral("SELECT"), yes}}));
    stage.dialogue.expectConfirm(QStringLiteral("TABLE権限を変更します。"), Icon::Information, true);
    stage.dialogue.expectInform(QStringLiteral("変更しました。"));
    changeTableGrant(stage.session, stage.dialogue, tableForm());
    QCOMPARE(stage.script.sent.mid(6),
             (QStringList{QStringLiteral("GRANT USAGE ON `d1`.`t1` TO 'u'@\"h\" WITH GRANT OPTION"), flush}));
}

void GrantsTest::serversWithoutCatalogueHaveNothingHidden()
{
    AccountStage stage;
    stage.script.server.number = 40122;
    stage.dialogue.expectConfirm(QStringLiteral("DB権限を変更します。"), Icon::Information, true);
    stage.dialogue.expectInform(QStringLiteral("変更しました。"));
    changeDatabaseGrant(stage.session, stage.dialogue, databaseForm());
    QCOMPARE(stage.script.sent.first(), QStringLiteral("REVOKE GRANT OPTION ON d1.* FROM 'u'@\"h\""));
}

QTEST_GUILESS_MAIN(GrantsTest)
#include "test_grants.moc"
