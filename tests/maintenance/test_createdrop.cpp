#include "maintenance/createdrop.h"
#include "maintenance/frmCreateDB.h"
#include "stage.h"
#include "support/gui/boxes.h"

#include <QLineEdit>
#include <QPushButton>

namespace {

using L = QStringList;

const QString kindTest = "show create table `d`.t;";
const QString dropTableT = "drop table `d`.t";
const QString done = "削除しました。";
const QString failed = "削除に失敗しました。";

// The modal dialog, used as a user does: keys and clicks.
void type(QDialog &dialog, const QString &text)
{
    auto *box = dialog.findChild<QLineEdit *>("txtDatabase");
    box->setText(text);
    QTest::keyClick(box, Qt::Key_Return);
}

} // namespace

class CreateDropTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theServerSaysWhatIsDropped_data();
    void theServerSaysWhatIsDropped();
    void theUserSaysWhatTheServerCannot();
    void cancelDropsNothing();
    void aDatabaseIsDropped_data();
    void aDatabaseIsDropped();
    void theNameIsTrimmedAndSentUntilTheServerTakesIt();
    void withoutANameNothingIsSent();
};

void CreateDropTest::theServerSaysWhatIsDropped_data()
{
    QTest::addColumn<L>("row"); // of the kind test: the field's name and the object's; none at all
    QTest::addColumn<L>("sent");
    QTest::addColumn<QString>("told");
    QTest::addColumn<QString>("error");
    row("table", L{"Table", "t"}, L{kindTest, dropTableT}, done, "");
    row("view", L{" View", "t"}, L{kindTest, "drop view `d`.t"}, done, "");
    row("something else", L{"Sequence", "t"}, L{kindTest}, "テーブルまたはＶＩＥＷではありません。", "");
    row("no row: an empty statement", L{"Table"}, L{kindTest, ""}, failed, "Query was empty");
    row("drop refused", L{"Table", "refused"}, L{kindTest, dropTableT}, failed, "foreign key");
}

void CreateDropTest::theServerSaysWhatIsDropped()
{
    QFETCH(L, row);
    QFETCH(QString, told);
    QFETCH(QString, error);
    ScriptedStage stage;
    stage.selection.lblTableName = "t";
    stage.script.always(kindTest, row.size() < 2 ? Reply::table(row) : Reply::table({row[0]}, {{row[1]}}));
    stage.script.always({}, Reply::failure("Query was empty", 1065));
    if (row.last() == u"refused")
        stage.script.always(dropTableT, Reply::failure("foreign key", 1451));
    stage.dialogue.expectConfirm("tﾃｰﾌﾞﾙを削除します。", Icon::Critical, true);
    stage.dialogue.expectTell(told, told == done ? Icon::Information : Icon::Critical);
    QCOMPARE(stage.run(dropTable).reload, told == done ? Reload::Objects : Reload::Nothing);
    QTEST(stage.script.sent, "sent");
    QCOMPARE(stage.dialogue.lastError, error);
    QCOMPARE(stage.dialogue.lastTip, error);
}

void CreateDropTest::theUserSaysWhatTheServerCannot()
{
    for (const bool isView : {true, false}) {
        ScriptedStage stage;
        stage.selection.lblTableName = "t";
        stage.script.always(kindTest, Reply::failure("invalid view", 1356));
        stage.dialogue.expectConfirm("tﾃｰﾌﾞﾙを削除します。", Icon::Critical, true);
        stage.dialogue.expectAsk("削除対象はVIEWですか？", isView);
        stage.dialogue.expectInform(done);
        QCOMPARE(stage.run(dropTable).reload, Reload::Objects);
        QCOMPARE(stage.script.sent, (L{kindTest, isView ? "drop view `d`.t" : "drop table `d`.t"}));
    }
}

void CreateDropTest::cancelDropsNothing()
{
    ScriptedStage stage;
    stage.selection.lblTableName = "t";
    stage.dialogue.expectConfirm("tﾃｰﾌﾞﾙを削除します。", Icon::Critical, false);
    stage.run(dropTable);
    stage.dialogue.expectConfirm("ﾃﾞｰﾀﾍﾞｰｽ(d)を削除しす。", Icon::Critical, false);
    stage.run(dropDatabase);
    QCOMPARE(stage.script.sent, L());
}

void CreateDropTest::aDatabaseIsDropped_data()
{
    QTest::addColumn<QString>("item");
    QTest::addColumn<L>("sent");
    row("blank behind it", "店 ", L{"drop database `店`;"});
    row("only blanks", "  ", L{});
}

void CreateDropTest::aDatabaseIsDropped()
{
    QFETCH(QString, item);
    QFETCH(L, sent);
    ScriptedStage stage;
    stage.selection.database = item;
    if (sent.isEmpty())
        stage.dialogue.expectRefuse("ﾃﾞｰﾀﾍﾞｰｽを選択して下さい。");
    else
        stage.dialogue.expectConfirm("ﾃﾞｰﾀﾍﾞｰｽ(" + item + ")を削除しす。", Icon::Critical, true);
    QCOMPARE(stage.run(dropDatabase).reload, sent.isEmpty() ? Reload::Nothing : Reload::Databases);
    QCOMPARE(stage.script.sent, sent);
    if (sent.isEmpty())
        return;
    stage.script.always(sent[0], Reply::failure("Access denied", 1044));
    stage.dialogue.expectConfirm("ﾃﾞｰﾀﾍﾞｰｽ(" + item + ")を削除しす。", Icon::Critical, true);
    QVERIFY_THROWS_EXCEPTION(SqlError, stage.run(dropDatabase)); // told by the window
}

void CreateDropTest::theNameIsTrimmedAndSentUntilTheServerTakesIt()
{
    ScriptedStage stage;
    stage.script.failAt(0, Reply::failure("database exists", 1007));
    Boxes boxes;
    boxes.expectDialog("frmCreateDB", [&](QDialog &dialog) {
        type(dialog, "d");
        QVERIFY(dialog.isVisible());
        QCOMPARE(dialog.findChild<QLineEdit *>("txtDatabase")->text(), "d");
        QCOMPARE(stage.dialogue.lastError, "database exists");
        type(dialog, " 新しい店 ");
        QVERIFY(!dialog.isVisible());
    });
    showCreateDatabase(nullptr, stage.session, stage.dialogue);
    QCOMPARE(stage.script.sent, (QStringList{"create database `d`;", "create database `新しい店`;"}));
}

void CreateDropTest::withoutANameNothingIsSent()
{
    ScriptedStage stage;
    Boxes boxes;
    boxes.expectDialog("frmCreateDB", [](QDialog &dialog) {
        type(dialog, "  ");
        QVERIFY(dialog.isVisible());
        dialog.findChild<QLineEdit *>("txtDatabase")->setText("x");
        dialog.findChild<QPushButton *>("cmdCancel")->click();
    });
    boxes.expectOk("ﾃﾞｰﾀﾍﾞｰｽ名を入力してください。");
    showCreateDatabase(nullptr, stage.session, stage.dialogue);
    QCOMPARE(stage.script.sent, QStringList());
}

QTEST_MAIN(CreateDropTest)
#include "test_createdrop.moc"
