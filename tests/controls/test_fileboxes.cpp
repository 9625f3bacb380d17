#include "controls/drivebox.h"
#include "controls/filebox.h"
#include "controls/filterline.h"
#include "controls/flexgrid.h"
#include "controls/folderbox.h"
#include "controls/fontscaling.h"
#include "support/gui/boxes.h"

#include <QDir>
#include <QHeaderView>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {

QStringList visibleItems(const QListWidget &list)
{
    QStringList texts;
    for (int row = 0; row < list.count(); ++row)
        if (!list.item(row)->isHidden())
            texts << list.item(row)->text();
    return texts;
}

} // namespace

class TestFileBoxes : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnAnyWarning(); }
    void foldersAreEnteredByKeyAndMouse();
    void unreadableFolderChangesNothing();
    void filesMatchWithoutRegardToCase();
    void driveBoxFindsTheDeepestPlace();
    void filterIgnoresCaseAndWidthAndTag_data();
    void filterIgnoresCaseAndWidthAndTag();
    void filterOutlivesRefillingAndEscapeClearsIt();
    void fontsScaleWithTheWindowAndComeBack();
};

void TestFileBoxes::foldersAreEnteredByKeyAndMouse()
{
    QTemporaryDir folder;
    QVERIFY(QDir(folder.path()).mkpath(QStringLiteral("b/deep")));
    QVERIFY(QDir(folder.path()).mkpath(QStringLiteral("A 1")));
    FolderBox box;
    QSignalSpy changes(&box, &FolderBox::pathChanged);
    QVERIFY(box.setPath(folder.path() + u'/'));
    QCOMPARE(visibleItems(box),
             (QStringList{QStringLiteral(".."), QStringLiteral("A 1"), QStringLiteral("b")}));
    box.setCurrentRow(2);
    QTest::keyClick(&box, Qt::Key_Return);
    QCOMPARE(box.path(), folder.filePath(QStringLiteral("b")));
    QTest::keyClick(&box, Qt::Key_Backspace);
    QCOMPARE(box.path(), folder.path());
    QCOMPARE(box.currentItem()->text(), QStringLiteral("b"));
    box.show();
    const QPoint middle = box.visualItemRect(box.item(1)).center();
    QTest::mouseClick(box.viewport(), Qt::LeftButton, {}, middle);
    QTest::mouseDClick(box.viewport(), Qt::LeftButton, {}, middle);
    QCOMPARE(box.path(), folder.filePath(QStringLiteral("A 1")));
    QCOMPARE(changes.size(), 4);
    QVERIFY(box.setPath(QStringLiteral("/")));
    QVERIFY(!visibleItems(box).contains(QStringLiteral("..")));
}

void TestFileBoxes::unreadableFolderChangesNothing()
{
    FolderBox box;
    QVERIFY(box.setPath(QDir::tempPath()));
    const QString before = box.path();
    QVERIFY(!box.setPath(QStringLiteral("/no/such/folder")));
    QVERIFY(!box.setPath({}));
    QCOMPARE(box.path(), before);
}

void TestFileBoxes::filesMatchWithoutRegardToCase()
{
    QTemporaryDir folder;
    for (const char *name : {"t1.frm", "T2.FRM", "t3.MYD", "顧客.Frm", "frm"})
        QVERIFY(QFile(folder.filePath(QString::fromUtf8(name))).open(QIODevice::WriteOnly));
    QVERIFY(QDir(folder.path()).mkdir(QStringLiteral("folder.frm")));
    FileBox box;
    box.setPattern(QStringLiteral("*.frm"));
    box.setPath(folder.path());
    QCOMPARE(visibleItems(box),
             (QStringList{QStringLiteral("t1.frm"), QStringLiteral("T2.FRM"), QStringLiteral("顧客.Frm")}));
    box.item(2)->setSelected(true);
    box.item(0)->setSelected(true);
    QCOMPARE(box.selectedFiles(), (QStringList{QStringLiteral("t1.frm"), QStringLiteral("顧客.Frm")}));
}

void TestFileBoxes::driveBoxFindsTheDeepestPlace()
{
    DriveBox box;
    box.showDriveOf(QDir::homePath() + QStringLiteral("/somewhere"));
    QCOMPARE(box.drive(), QDir::homePath());
    box.showDriveOf(QStringLiteral("/usr/share"));
    QVERIFY(QStringLiteral("/usr/share").startsWith(box.drive()));
    QVERIFY(box.findData(QDir::rootPath()) >= 0);
}

void TestFileBoxes::filterIgnoresCaseAndWidthAndTag_data()
{
    QTest::addColumn<QString>("item");
    QTest::addColumn<QString>("filter");
    QTest::addColumn<bool>("passes");
    QTest::newRow("case") << QStringLiteral("[TABLE]\tOrders") << QStringLiteral("ord") << true;
    QTest::newRow("tag does not count") << QStringLiteral("[TABLE]\tx") << QStringLiteral("table") << false;
    QTest::newRow("half-width katakana")
        << QStringLiteral("[VIEW]\tﾃﾞｰﾀ一覧") << QStringLiteral("データ") << true;
    QTest::newRow("full-width letters") << QStringLiteral("user") << QStringLiteral("ＵＳ") << true;
    QTest::newRow("no pattern") << QStringLiteral("abc") << QStringLiteral("a.c") << false;
    QTest::newRow("empty") << QStringLiteral("abc") << QString() << true;
}

void TestFileBoxes::filterIgnoresCaseAndWidthAndTag()
{
    QFETCH(QString, item);
    QFETCH(QString, filter);
    QFETCH(bool, passes);
    QCOMPARE(passesFilter(item, filter), passes);
}

void TestFileBoxes::filterOutlivesRefillingAndEscapeClearsIt()
{
    QListWidget list;
    FilterLine line(list);
    list.addItems({QStringLiteral("one"), QStringLiteral("two")});
    QTest::keyClicks(&line, QStringLiteral("w"));
    QCOMPARE(visibleItems(list), QStringList{QStringLiteral("two")});
    list.clear();
    list.addItems({QStringLiteral("swim"), QStringLiteral("run")});
    list.addItem(QStringLiteral("jump"));
    QCOMPARE(visibleItems(list), QStringList{QStringLiteral("swim")});
    QTest::keyClick(&line, Qt::Key_Escape);
    QCOMPARE(visibleItems(list).size(), 3);
}

void TestFileBoxes::fontsScaleWithTheWindowAndComeBack()
{
    QWidget window;
    window.resize(400, 300);
    FlexGrid grid(&window);
    grid.setObjectName(QStringLiteral("flgrid_Record"));
    QListWidget list(&window);
    list.setObjectName(QStringLiteral("lstVariable"));
    FontScaling scaling(&window);
    window.show();
    const double before = grid.font().pointSizeF();
    const int rowHeight = grid.verticalHeader()->defaultSectionSize();
    scaling.setNames({QStringLiteral("flgrid_Record"), QStringLiteral("not there")});
    window.resize(800, 600);
    QCOMPARE(grid.font().pointSizeF(), before * 2);
    QVERIFY(grid.verticalHeader()->defaultSectionSize() > rowHeight);
    QCOMPARE(list.font().pointSizeF(), before);
    window.resize(800, 300);
    QCOMPARE(grid.font().pointSizeF(), before);
    window.resize(800, 600);
    scaling.setNames({});
    QCOMPARE(grid.font().pointSizeF(), before);
    QCOMPARE(grid.verticalHeader()->defaultSectionSize(), rowHeight);
}

QTEST_MAIN(TestFileBoxes)
#include "test_fileboxes.moc"
