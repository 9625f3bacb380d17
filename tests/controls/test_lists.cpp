#include "controls/lists/chosenlist.h"
#include "controls/lists/fileboxes.h"
#include "controls/lists/filterline.h"
#include "controls/window/building.h"
#include "support/gui/boxes.h"

#include <QDir>
#include <QSignalSpy>
#include <QStyledItemDelegate>
#include <QTemporaryDir>
#include <QTest>
#include <QTextDocument>

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
    void filterIgnoresCaseWidthAndTagAndOutlivesRefilling();
    void whatCannotBeSeenIsShownBySigns();
    void keysAndDragsChooseAndTheFocusDoesNot();
};

void TestLists::foldersAreEnteredByKeyAndMouse()
{
    QTemporaryDir folder;
    QVERIFY(QDir(folder.path()).mkpath("b/deep"));
    QVERIFY(QDir(folder.path()).mkpath("A 1"));
    FolderBox box;
    QVERIFY(box.setPath(folder.path() + u'/'));
    QCOMPARE(visibleItems(box), (QStringList{"..", "A 1", "b"}));
    box.setCurrentRow(2);
    QTest::keyClick(&box, Qt::Key_Return);
    QCOMPARE(box.path(), folder.filePath("b"));
    QTest::keyClick(&box, Qt::Key_Backspace);
    QCOMPARE(box.currentItem()->text(), "b");
    box.show();
    const QPoint middle = box.visualItemRect(box.item(1)).center();
    QTest::mouseClick(box.viewport(), Qt::LeftButton, {}, middle);
    QTest::mouseDClick(box.viewport(), Qt::LeftButton, {}, middle);
    QCOMPARE(box.path(), folder.filePath("A 1"));
    QVERIFY(!box.setPath("/no/such/folder") && !box.setPath({}));
    QCOMPARE(box.path(), folder.filePath("A 1"));
    QVERIFY(box.setPath("/"));
    QVERIFY(!visibleItems(box).contains(".."));
}

void TestLists::filterIgnoresCaseWidthAndTagAndOutlivesRefilling()
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
    QTest::keyClick(&line, Qt::Key_Down);
    QCOMPARE(list.currentItem()->text(), "swim");
    QTest::keyClick(&line, Qt::Key_Escape);
    QCOMPARE(visibleItems(list).size(), 3);
    QVERIFY(!passesFilter("[TABLE]\tx", "table"));
    QVERIFY(passesFilter("[VIEW]\tﾃﾞｰﾀ一覧", "データ"));
    QVERIFY(passesFilter("user", "ＵＳ"));
    QVERIFY(!passesFilter("abc", "a.c")); // it is no pattern
}

void TestLists::whatCannotBeSeenIsShownBySigns()
{
    ChosenList list;
    const QString item = QString("[TABLE]\ta\tb\n\u202Ec\x7f");
    list.appendItem(item);
    QCOMPARE(list.texts(), QStringList{item}); // for the commands
    const auto *delegate = qobject_cast<QStyledItemDelegate *>(list.itemDelegate());
    QCOMPARE(delegate->displayText(item, {}), "[TABLE]\ta␉b␊‹U+202E›c␡");

    // A tip shows every character once, whatever it looks like.
    for (const QString text : {"a < b & c", "<b>x</b>", "a &lt; b", "x\n<i>y</i>"}) {
        const QString tip = plainTip(text);
        QTextDocument shown;
        if (Qt::mightBeRichText(tip))
            shown.setHtml(tip);
        else
            shown.setPlainText(tip);
        QCOMPARE(shown.toPlainText(), text);
    }
    QCOMPARE(plainTip("a\u200Fb"), "a‹U+200F›b");
}

void TestLists::keysAndDragsChooseAndTheFocusDoesNot()
{
    ChosenList list;
    for (const char *text : {"a", "b"})
        list.appendItem(text);
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
    // A drag that ends off the list chooses.
    const QPoint second = list.visualItemRect(list.item(1)).center();
    QTest::mousePress(list.viewport(), Qt::LeftButton, {}, second);
    QTest::mouseRelease(list.viewport(), Qt::LeftButton, {}, QPoint(-9, -9));
    QCOMPARE(list.currentText(), "b");
    QCOMPARE(chosen.size(), 2);
    QTest::keyClick(&list, Qt::Key_Space, Qt::ControlModifier);
    QCOMPARE(list.selectedItems().size(), 1);
}

QTEST_MAIN(TestLists)
#include "test_lists.moc"
