#include "ddlfixture.h"
#include "maintenance/frmCreateDB.h"
#include "support/gui/boxes.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

class CreateDatabaseTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theNameIsTrimmedAndSent();
    void anEmptyNameIsAskedFor();
    void aRefusalKeepsTheDialogOpen();
    void cancelSendsNothing();
};

namespace {

// The modal dialog, used as a user does: keys and clicks.
void type(QDialog &dialog, const QString &text)
{
    auto *box = dialog.findChild<QLineEdit *>(QStringLiteral("txtDatabase"));
    box->setText(text);
    QTest::keyClick(box, Qt::Key_Return);
}

} // namespace

void CreateDatabaseTest::theNameIsTrimmedAndSent()
{
    DdlFixture f;
    Boxes boxes;
    boxes.expectDialog(QStringLiteral("frmCreateDB"), [](QDialog &dialog) {
        QCOMPARE(dialog.windowTitle(), QStringLiteral("Create Database"));
        QCOMPARE(dialog.findChild<QLabel *>(QStringLiteral("Label1"))->text(),
                 QStringLiteral("Database名："));
        type(dialog, QStringLiteral(" 新しい店 "));
    });
    showCreateDatabase(nullptr, f.session, f.dialogue);
    QCOMPARE(f.script.sent, QStringList{QStringLiteral("create database `新しい店`;")});
}

void CreateDatabaseTest::anEmptyNameIsAskedFor()
{
    DdlFixture f;
    Boxes boxes;
    boxes.expectDialog(QStringLiteral("frmCreateDB"), [](QDialog &dialog) {
        type(dialog, QStringLiteral("  "));
        QVERIFY(dialog.isVisible());
        dialog.reject();
    });
    boxes.expectOk(QStringLiteral("ﾃﾞｰﾀﾍﾞｰｽ名を入力してください。"));
    showCreateDatabase(nullptr, f.session, f.dialogue);
    QVERIFY(f.script.sent.isEmpty());
    QCOMPARE(boxes.seen(), QStringList{QStringLiteral("Create Database|ﾃﾞｰﾀﾍﾞｰｽ名を入力してください。")});
}

void CreateDatabaseTest::aRefusalKeepsTheDialogOpen()
{
    DdlFixture f;
    f.script.failAt(0, Reply::failure(QStringLiteral("database exists"), 1007));
    Boxes boxes;
    boxes.expectDialog(QStringLiteral("frmCreateDB"), [&](QDialog &dialog) {
        type(dialog, QStringLiteral("d"));
        QVERIFY(dialog.isVisible());
        QCOMPARE(dialog.findChild<QLineEdit *>(QStringLiteral("txtDatabase"))->text(), QStringLiteral("d"));
        QCOMPARE(f.dialogue.lastError, QStringLiteral("database exists"));
        type(dialog, QStringLiteral("e"));
        QVERIFY(!dialog.isVisible());
    });
    showCreateDatabase(nullptr, f.session, f.dialogue);
    QCOMPARE(f.script.sent.size(), 2);
    QVERIFY(boxes.seen().isEmpty());
}

void CreateDatabaseTest::cancelSendsNothing()
{
    DdlFixture f;
    Boxes boxes;
    boxes.expectDialog(QStringLiteral("frmCreateDB"), [](QDialog &dialog) {
        dialog.findChild<QLineEdit *>(QStringLiteral("txtDatabase"))->setText(QStringLiteral("x"));
        dialog.findChild<QPushButton *>(QStringLiteral("cmdCancel"))->click();
    });
    showCreateDatabase(nullptr, f.session, f.dialogue);
    QVERIFY(f.script.sent.isEmpty());
}

QTEST_MAIN(CreateDatabaseTest)
#include "test_frmCreateDB.moc"
