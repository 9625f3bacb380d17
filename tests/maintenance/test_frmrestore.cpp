#include "controls/drivebox.h"
#include "controls/filebox.h"
#include "controls/folderbox.h"
#include "maintenance/frmRestore.h"

#include <QDir>
#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

class FrmRestoreTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void okGivesTheSelectedNames_data();
    void okGivesTheSelectedNames();
    void cancelGivesNothing();
    void aDriveLeadsToItsFolders();
};

namespace {

void fill(const QString &folder)
{
    for (const char *name : {"a.frm", "B.FRM", "c.frm", "a.dat", "x.frm.txt"}) {
        QFile file(folder + '/' + name);
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
}

} // namespace

void FrmRestoreTest::okGivesTheSelectedNames_data()
{
    QTest::addColumn<QList<int>>("rows");
    QTest::addColumn<QStringList>("names");
    QTest::newRow("several, in list order") << QList<int>{2, 0, 1} << QStringList{"a", "B", "c"};
    QTest::newRow("one") << QList<int>{1} << QStringList{"B"};
    QTest::newRow("none") << QList<int>{} << QStringList{QString()};
}

void FrmRestoreTest::okGivesTheSelectedNames()
{
    QFETCH(QList<int>, rows);
    QFETCH(QStringList, names);
    const QTemporaryDir folder;
    fill(folder.path());
    frmRestore window;
    window.show();
    QVERIFY(window.findChild<FolderBox *>("Dir1")->setPath(folder.path()));
    auto *files = window.findChild<FileBox *>("File1");
    QCOMPARE(files->count(), 3);
    for (const int row : rows)
        files->item(row)->setSelected(true);
    QTest::mouseClick(window.findChild<QPushButton *>("cmdOk"), Qt::LeftButton);
    QVERIFY(!window.isVisible());
    QCOMPARE(window.choice().names, names);
    QCOMPARE(window.choice().folder, folder.path());
}

void FrmRestoreTest::cancelGivesNothing()
{
    const QTemporaryDir folder;
    fill(folder.path());
    frmRestore window;
    window.show();
    window.findChild<FolderBox *>("Dir1")->setPath(folder.path());
    window.findChild<FileBox *>("File1")->selectAll();
    QTest::mouseClick(window.findChild<QPushButton *>("cmdCancel"), Qt::LeftButton);
    QVERIFY(!window.isVisible());
    QCOMPARE(window.choice().names, QStringList{QString()});
    QCOMPARE(window.choice().folder, QString());
}

void FrmRestoreTest::aDriveLeadsToItsFolders()
{
    frmRestore window;
    auto *drives = window.findChild<DriveBox *>("Drive1");
    Q_EMIT drives->driveChosen(QDir::rootPath());
    QCOMPARE(window.findChild<FileBox *>("File1")->path(), QDir::rootPath());
    Q_EMIT drives->driveChosen(QStringLiteral("/no such drive"));
    QCOMPARE(window.findChild<FolderBox *>("Dir1")->path(), QDir::rootPath());
    QCOMPARE(drives->drive(), QDir::rootPath());
}

QTEST_MAIN(FrmRestoreTest)
#include "test_frmrestore.moc"
