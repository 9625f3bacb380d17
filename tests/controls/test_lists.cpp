#include "controls/chosenlist.h"
#include "controls/filebox.h"
#include "controls/filterline.h"
#include "controls/folderbox.h"
#include "support/gui/boxes.h"
#include "support/rows.h"

#include <QDir>
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

class TestLists : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnAnyWarning(); }
    void foldersAreEnteredByKeyAndMouse();
    void filesMatchWithoutRegardToCase();
    void filterIgnoresCaseAndWidthAndTag_data();
    void filterIgnoresCaseAndWidthAndTag();
    void filterOutlivesRefillingAndEscapeClearsIt();
    void theFocusChoosesNothing();
};

void TestLists::foldersAreEnteredByKeyAndMouse()
{
    QTemporaryDir folder;
    QVERIFY(QDir(folder.path()).mkpath("b/deep"));
    QVERIFY(QDir(folder.path()).mkpath("A 1"));
    FolderBox box;
    QSignalSpy changes(&box, &FolderBox::pathChanged);
    QVERIFY(box.setPath(folder.path() + u'/'));
    QCOMPARE(visibleItems(box), (QStringList{"..", "A 1", "b"}));
    box.setCurrentRow(2);
    QTest::keyClick(&box, Qt::Key_Return);
    QCOMPARE(box.path(), folder.filePath("b"));
    QTest::keyClick(&box, Qt::Key_Backspace);
    QCOMPARE(box.path(), folder.path());
    QCOMPARE(box.currentItem()->text(), "b");
    box.show();
    const QPoint middle = box.visualItemRect(box.item(1)).center();
    QTest::mouseClick(box.viewport(), Qt::LeftButton, {}, middle);
    QTest::mouseDClick(box.viewport(), Qt::LeftButton, {}, middle);
    QCOMPARE(box.path(), folder.filePath("A 1"));
    QCOMPARE(changes.size(), 4);
    QVERIFY(!box.setPath("/no/such/folder") && !box.setPath({}));
    QCOMPARE(box.path(), folder.filePath("A 1"));
    QVERIFY(box.setPath("/"));
    QVERIFY(!visibleItems(box).contains(".."));
}

void TestLists::filesMatchWithoutRegardToCase()
{
    QTemporaryDir folder;
    for (const char *name : {"t1.frm", "T2.FRM", "t3.MYD", "顧客.Frm", "frm"})
        QVERIFY(QFile(folder.filePath(QString::fromUtf8(name))).open(QIODevice::WriteOnly));
    QVERIFY(QDir(folder.path()).mkdir("folder.frm"));
    FileBox box;
    box.setPattern("*.frm");
    box.setPath(folder.path());
    QCOMPARE(visibleItems(box), (QStringList{"t1.frm", "T2.FRM", "顧客.Frm"}));
    box.item(2)->setSelected(true);
    box.item(0)->setSelected(true);
    QCOMPARE(box.selectedFiles(), (QStringList{"t1.frm", "顧客.Frm"}));
}

void TestLists::filterIgnoresCaseAndWidthAndTag_data()
{
    QTest::addColumn<QString>("item");
    QTest::addColumn<QString>("filter");
    QTest::addColumn<bool>("passes");
    row("case", "[TABLE]\tOrders", "ord", true);
    row("tag does not count", "[TABLE]\tx", "table", false);
    row("half-width katakana", "[VIEW]\tﾃﾞｰﾀ一覧", "データ", true);
    row("full-width letters", "user", "ＵＳ", true);
    row("no pattern", "abc", "a.c", false);
}

void TestLists::filterIgnoresCaseAndWidthAndTag()
{
    QFETCH(QString, item);
    QFETCH(QString, filter);
    QTEST(passesFilter(item, filter), "passes");
}

void TestLists::filterOutlivesRefillingAndEscapeClearsIt()
{
    QListWidget list;
    FilterLine line(list);
    list.addItems({"one", "two"});
    QTest::keyClicks(&line, "w");
    QCOMPARE(visibleItems(list), QStringList{"two"});
    list.clear();
    list.addItems({"swim", "run"});
    list.addItem("jump");
    QCOMPARE(visibleItems(list), QStringList{"swim"});
    QTest::keyClick(&line, Qt::Key_Escape);
    QCOMPARE(visibleItems(list).size(), 3);
}

void TestLists::theFocusChoosesNothing()
{
    ChosenList list;
    for (const char16_t *text : {u"a", u"b", u"c"})
        list.appendItem(QString::fromUtf16(text));
    const QSignalSpy chosen(&list, &ChosenList::chosen);
    list.show();
    list.activateWindow();
    list.setFocus();
    QTRY_VERIFY(list.hasFocus());
    QVERIFY(chosen.isEmpty());
    QCOMPARE(list.currentText(), QString());

    QTest::keyClick(&list, Qt::Key_Down);
    QCOMPARE(list.currentText(), "a");
    list.clearFocus();
    list.setFocus();
    QCOMPARE(list.currentText(), "a");
    QCOMPARE(chosen.size(), 1);
}

QTEST_MAIN(TestLists)
#include "test_lists.moc"
