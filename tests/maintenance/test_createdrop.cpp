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

} // namespace

class CreateDropTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theServerOrTheUserSaysWhatIsDropped_data();
    void theServerOrTheUserSaysWhatIsDropped();
    void aStopIsNoAnswerToTheKind();
    void cancelDropsNothing();
    void aDatabaseIsDropped();
    void theNameIsTrimmedAndSentUntilTheServerTakesIt();
};

void CreateDropTest::theServerOrTheUserSaysWhatIsDropped_data()
{
    QTest::addColumn<L>("row"); // of the kind test: the field's name and the object's; none at all; refused
    QTest::addColumn<L>("sent");
    QTest::addColumn<QString>("told");
    QTest::addColumn<QString>("error");
    row("table", L{"Table", "t"}, L{kindTest, dropTableT}, done, "");
    row("view", L{" View", "t"}, L{kindTest, "drop view `d`.t"}, done, "");
    row("a broken view, as the user says", L{}, L{kindTest, "drop view `d`.t"}, done, "");
    row("a table, as the user says", L{}, L{kindTest, dropTableT}, done, "");
    row("something else", L{"Sequence", "t"}, L{kindTest}, "テーブルまたはＶＩＥＷではありません。", "");
    row("no row: an empty statement", L{"Table"}, L{kindTest, ""}, failed, "Query was empty");
    row("drop refused", L{"Table", "refused"}, L{kindTest, dropTableT}, failed, "foreign key");
}

void CreateDropTest::theServerOrTheUserSaysWhatIsDropped()
{
    QFETCH(L, row);
    QFETCH(L, sent);
    QFETCH(QString, told);
    QFETCH(QString, error);
    ScriptedStage stage;
    stage.selection.lblTableName = "t";
    stage.script.always(kindTest, row.size() < 2 ? Reply::table(row) : Reply::table({row[0]}, {{row[1]}}));
    stage.script.always({}, Reply::failure("Query was empty", 1065));
    if (row.value(1) == u"refused")
        stage.script.always(dropTableT, Reply::failure("foreign key", 1451));
    stage.dialogue.expectConfirm("tﾃｰﾌﾞﾙを削除します。", Icon::Critical, true);
    if (row.isEmpty()) {
        stage.script.always(kindTest, Reply::failure("invalid view", 1356));
        stage.dialogue.expectAsk("削除対象はVIEWですか？", sent.last().startsWith("drop view"));
    }
    stage.dialogue.expectTell(told, told == done ? Icon::Information : Icon::Critical);
    QCOMPARE(stage.run(dropTable).reload, told == done ? Reload::Objects : Reload::Nothing);
    QCOMPARE(stage.script.sent, sent);
    QCOMPARE(stage.dialogue.lastError, error);
    QCOMPARE(stage.dialogue.lastTip, error);
}

void CreateDropTest::aStopIsNoAnswerToTheKind()
{
    ScriptedStage stage;
    stage.selection.lblTableName = "t";
    stage.script.always(kindTest, Reply::failure("Query execution was interrupted", 1317));
    stage.dialogue.expectConfirm("tﾃｰﾌﾞﾙを削除します。", Icon::Critical, true);
    stage.dialogue.expectRefuse(failed);
    stage.run(dropTable);
    QCOMPARE(stage.script.sent, L{kindTest});
}

void CreateDropTest::cancelDropsNothing()
{
    ScriptedStage stage;
    stage.selection.lblTableName = "t";
    stage.dialogue.expectConfirm("tﾃｰﾌﾞﾙを削除します。", Icon::Critical, false);
    stage.run(dropTable);
    stage.dialogue.expectConfirm("ﾃﾞｰﾀﾍﾞｰｽ(d)を削除しす。", Icon::Critical, false);
    stage.run(dropDatabase);
    stage.selection.database = "  ";
    stage.dialogue.expectRefuse("ﾃﾞｰﾀﾍﾞｰｽを選択して下さい。");
    stage.run(dropDatabase);
    QCOMPARE(stage.script.sent, L());
}

void CreateDropTest::aDatabaseIsDropped()
{
    ScriptedStage stage;
    stage.selection.database = "店 ";
    stage.dialogue.expectConfirm("ﾃﾞｰﾀﾍﾞｰｽ(店 )を削除しす。", Icon::Critical, true);
    QCOMPARE(stage.run(dropDatabase).reload, Reload::Databases);
    QCOMPARE(stage.script.sent, L{"drop database `店`;"});
    stage.script.failAt(1, Reply::failure("Access denied", 1044));
    stage.dialogue.expectConfirm("ﾃﾞｰﾀﾍﾞｰｽ(店 )を削除しす。", Icon::Critical, true);
    QVERIFY_THROWS_EXCEPTION(Failure, stage.run(dropDatabase)); // told by the window
}

void CreateDropTest::theNameIsTrimmedAndSentUntilTheServerTakesIt()
{
    ScriptedStage stage;
    stage.script.failAt(0, Reply::failure("database exists", 1007));
    Boxes boxes;
    boxes.expectDialog("frmCreateDB", [&](QDialog &dialog) {
        auto *box = dialog.findChild<QLineEdit *>("txtDatabase");
        for (const char *name : {"  ", "d", " 新しい店 "}) {
            QVERIFY(dialog.isVisible());
            box->setText(QString::fromUtf8(name));
            QTest::keyClick(box, Qt::Key_Return);
            QCOMPARE(box->text(), name);
            QCOMPARE(stage.dialogue.lastError, QString(name == QString("d") ? "database exists" : ""));
        }
        QVERIFY(!dialog.isVisible());
    });
    boxes.expectOk("ﾃﾞｰﾀﾍﾞｰｽ名を入力してください。");
    showCreateDatabase(nullptr, stage.session, stage.dialogue);
    QCOMPARE(stage.script.sent, (L{"create database `d`;", "create database `新しい店`;"}));

    boxes.expectDialog("frmCreateDB", [](QDialog &dialog) {
        dialog.findChild<QLineEdit *>("txtDatabase")->setText("x");
        dialog.findChild<QPushButton *>("cmdCancel")->click();
    });
    showCreateDatabase(nullptr, stage.session, stage.dialogue);
    QCOMPARE(stage.script.sent.size(), 2);
}

QTEST_MAIN(CreateDropTest)
#include "test_createdrop.moc"
