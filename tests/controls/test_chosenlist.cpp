#include "controls/chosenlist.h"

#include <QSignalSpy>
#include <QTest>

class ChosenListTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theFocusChoosesNothing();
};

void ChosenListTest::theFocusChoosesNothing()
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
    QCOMPARE(list.currentText(), QStringLiteral("a"));
    list.clearFocus();
    list.setFocus();
    QCOMPARE(list.currentText(), QStringLiteral("a"));
    QCOMPARE(chosen.size(), 1);
}

QTEST_MAIN(ChosenListTest)
#include "test_chosenlist.moc"
