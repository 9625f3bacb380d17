#include "ddlfixture.h"
#include "maintenance/createdrop.h"

namespace {

using L = QStringList;

const QString kindTest = QStringLiteral("show create table `d`.t;");
const QString dropTableT = QStringLiteral("drop table `d`.t");
const QString dropViewT = QStringLiteral("drop view `d`.t");
const QString done = QStringLiteral("削除しました。");
const QString failed = QStringLiteral("削除に失敗しました。");

} // namespace

class CreateDropTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theServerSaysWhatIsDropped_data();
    void theServerSaysWhatIsDropped();
    void theUserSaysWhatTheServerCannot_data();
    void theUserSaysWhatTheServerCannot();
    void cancelDropsNothing();
    void aRefusedDropIsTold();
    void aDatabaseIsDropped_data();
    void aDatabaseIsDropped();
    void aRefusedDatabaseIsLeftToTheWindow();
};

void CreateDropTest::theServerSaysWhatIsDropped_data()
{
    QTest::addColumn<L>("fields"); // of the kind test
    QTest::addColumn<bool>("hasRow");
    QTest::addColumn<L>("sent");
    QTest::addColumn<QString>("refused"); // empty: dropped
    QTest::newRow("table") << L{"Table", "Create Table"} << true << L{kindTest, dropTableT} << "";
    QTest::newRow("view") << L{" View", "Create View"} << true << L{kindTest, dropViewT} << "";
    QTest::newRow("something else") << L{"Sequence", "Create"} << true << L{kindTest}
                                    << "テーブルまたはＶＩＥＷではありません。";
    QTest::newRow("no row: an empty statement") << L{"Table", "Create"} << false << L{kindTest, ""} << failed;
}

void CreateDropTest::theServerSaysWhatIsDropped()
{
    QFETCH(L, fields);
    QFETCH(bool, hasRow);
    QFETCH(QString, refused);
    DdlFixture f;
    f.selection.lblTableName = QStringLiteral("t");
    f.script.always(kindTest, hasRow ? Reply::table(fields, {{"t", "text"}}) : Reply::table(fields));
    f.script.always({}, Reply::failure(QStringLiteral("Query was empty"), 1065));
    f.dialogue.expectConfirm(QStringLiteral("tﾃｰﾌﾞﾙを削除します。"), Icon::Critical, true);
    f.dialogue.expectTell(refused.isEmpty() ? done : refused,
                          refused.isEmpty() ? Icon::Information : Icon::Critical);
    QCOMPARE(f.run(dropTable).reload, refused.isEmpty() ? Reload::Objects : Reload::Nothing);
    QTEST(f.script.sent, "sent");
}

void CreateDropTest::theUserSaysWhatTheServerCannot_data()
{
    QTest::addColumn<bool>("isView");
    QTest::newRow("a view") << true;
    QTest::newRow("a table") << false;
}

void CreateDropTest::theUserSaysWhatTheServerCannot()
{
    QFETCH(bool, isView);
    DdlFixture f;
    f.selection.lblTableName = QStringLiteral("t");
    f.script.always(kindTest, Reply::failure(QStringLiteral("invalid view"), 1356));
    f.dialogue.expectConfirm(QStringLiteral("tﾃｰﾌﾞﾙを削除します。"), Icon::Critical, true);
    f.dialogue.expectAsk(QStringLiteral("削除対象はVIEWですか？"), isView);
    f.dialogue.expectInform(done);
    QCOMPARE(f.run(dropTable).reload, Reload::Objects);
    QCOMPARE(f.script.sent, (L{kindTest, isView ? dropViewT : dropTableT}));
}

void CreateDropTest::cancelDropsNothing()
{
    DdlFixture f;
    f.selection.lblTableName = QStringLiteral("t");
    f.dialogue.expectConfirm(QStringLiteral("tﾃｰﾌﾞﾙを削除します。"), Icon::Critical, false);
    f.run(dropTable);
    f.dialogue.expectConfirm(QStringLiteral("ﾃﾞｰﾀﾍﾞｰｽ(d)を削除しす。"), Icon::Critical, false);
    f.run(dropDatabase);
    QVERIFY(f.script.sent.isEmpty());
}

void CreateDropTest::aRefusedDropIsTold()
{
    DdlFixture f;
    f.selection.lblTableName = QStringLiteral("t");
    f.script.always(kindTest, Reply::table({"Table", "Create Table"}, {{"t", "text"}}));
    f.script.always(dropTableT, Reply::failure(QStringLiteral("foreign key"), 1451));
    f.dialogue.expectConfirm(QStringLiteral("tﾃｰﾌﾞﾙを削除します。"), Icon::Critical, true);
    f.dialogue.expectRefuse(failed);
    QCOMPARE(f.run(dropTable).reload, Reload::Nothing);
    QCOMPARE(f.dialogue.lastError, QStringLiteral("foreign key"));
    QCOMPARE(f.dialogue.lastTip, QStringLiteral("foreign key"));
}

void CreateDropTest::aDatabaseIsDropped_data()
{
    QTest::addColumn<QString>("item");
    QTest::addColumn<L>("sent");
    QTest::newRow("name") << "店" << L{"drop database `店`;"};
    QTest::newRow("blank behind it") << "x " << L{"drop database `x`;"};
    QTest::newRow("nothing chosen") << "" << L{};
    QTest::newRow("only blanks") << "  " << L{};
}

void CreateDropTest::aDatabaseIsDropped()
{
    QFETCH(QString, item);
    QFETCH(L, sent);
    DdlFixture f;
    f.selection.database = item;
    if (sent.isEmpty())
        f.dialogue.expectRefuse(QStringLiteral("ﾃﾞｰﾀﾍﾞｰｽを選択して下さい。"));
    else
        f.dialogue.expectConfirm(QStringLiteral("ﾃﾞｰﾀﾍﾞｰｽ(") + item + QStringLiteral(")を削除しす。"),
                                 Icon::Critical, true);
    QCOMPARE(f.run(dropDatabase).reload, sent.isEmpty() ? Reload::Nothing : Reload::Databases);
    QCOMPARE(f.script.sent, sent);
}

void CreateDropTest::aRefusedDatabaseIsLeftToTheWindow()
{
    DdlFixture f;
    f.script.failAt(0, Reply::failure(QStringLiteral("Access denied"), 1044));
    f.dialogue.expectConfirm(QStringLiteral("ﾃﾞｰﾀﾍﾞｰｽ(d)を削除しす。"), Icon::Critical, true);
    QVERIFY_THROWS_EXCEPTION(SqlError, f.run(dropDatabase));
}

QTEST_APPLESS_MAIN(CreateDropTest)
#include "test_createdrop.moc"
