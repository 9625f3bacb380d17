#include "controls/drivebox.h"
#include "controls/filebox.h"
#include "controls/folderbox.h"
#include "maintenance/frmRestore.h"
#include "stage.h"

#include <QPushButton>

class FrmRestoreTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void buttonsGiveTheSelectedNames_data();
    void buttonsGiveTheSelectedNames();
    void aDriveLeadsToItsFolders();
};

void FrmRestoreTest::buttonsGiveTheSelectedNames_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<QList<int>>("rows");
    QTest::addColumn<QStringList>("names");
    row("several, in list order", "cmdOk", QList<int>{2, 0, 1}, QStringList{"a", "B", "c"});
    row("none", "cmdOk", QList<int>{}, QStringList{QString()});
    row("cancelled", "cmdCancel", QList<int>{0, 1}, QStringList{QString()});
}

void FrmRestoreTest::buttonsGiveTheSelectedNames()
{
    QFETCH(QString, button);
    QFETCH(QList<int>, rows);
    QFETCH(QStringList, names);
    const QTemporaryDir folder;
    for (const char *name : {"a.frm", "B.FRM", "c.frm", "a.dat", "x.frm.txt"})
        put(folder.filePath(name), {});
    frmRestore window;
    window.show();
    QVERIFY(window.findChild<FolderBox *>("Dir1")->setPath(folder.path()));
    auto *files = window.findChild<FileBox *>("File1");
    QCOMPARE(files->count(), 3);
    for (const int row : rows)
        files->item(row)->setSelected(true);
    QTest::mouseClick(window.findChild<QPushButton *>(button), Qt::LeftButton);
    QVERIFY(!window.isVisible());
    QCOMPARE(window.choice().names, names);
    QCOMPARE(window.choice().folder, button == u"cmdOk" ? folder.path() : QString());
}

void FrmRestoreTest::aDriveLeadsToItsFolders()
{
    frmRestore window;
    auto *drives = window.findChild<DriveBox *>("Drive1");
    Q_EMIT drives->driveChosen(QDir::rootPath());
    QCOMPARE(window.findChild<FileBox *>("File1")->path(), QDir::rootPath());
    Q_EMIT drives->driveChosen("/no such drive");
    QCOMPARE(window.findChild<FolderBox *>("Dir1")->path(), QDir::rootPath());
    QCOMPARE(drives->drive(), QDir::rootPath());
}

QTEST_MAIN(FrmRestoreTest)
#include "test_frmrestore.moc"
