#include "core/sqlerror.h"
#include "core/stringbuffer.h"
#include "support/rows.h"

#include <QTest>

class StringBufferTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void capacityFollowsTheRule_data();
    void capacityFollowsTheRule();
    void aClearedOrReplacedTextKeepsTheLastStep();
    void aCapacityBeyond32BitsIsRefused();
};

void StringBufferTest::capacityFollowsTheRule_data()
{
    QTest::addColumn<int>("initial");
    QTest::addColumn<QList<int>>("appended");
    QTest::addColumn<int>("capacity");
    QTest::addColumn<int>("step");
    row("below one", -5, QList<int>{}, 128, 128);
    row("just full", 128, QList<int>{128}, 128, 128);
    row("one too many", 128, QList<int>{129}, 256, 128);
    row("two whole steps above", 128, QList<int>{300}, 384, 256);
    row("the step stays large", 128, QList<int>{300, 100}, 640, 256);
    row("exact multiple takes one more", 10, QList<int>{20}, 30, 20);
}

void StringBufferTest::capacityFollowsTheRule()
{
    QFETCH(int, initial);
    QFETCH(QList<int>, appended);
    StringBuffer buffer;
    buffer.Init(initial);
    QString expected;
    for (const int length : appended) {
        // Characters of two, three and (as a pair) four bytes: it is characters that count.
        const QString text = QStringLiteral("é表ｱ").repeated(length).left(length);
        buffer.Append(text);
        expected += text;
    }
    QTEST(buffer.Capacity(), "capacity");
    QTEST(buffer.step(), "step");
    QCOMPARE(buffer.length(), int(expected.size()));
    QCOMPARE(buffer.ToString(), expected);
}

void StringBufferTest::aClearedOrReplacedTextKeepsTheLastStep()
{
    StringBuffer buffer;
    buffer.Append(QString(300, u'x'));
    buffer.Clear();
    QCOMPARE(buffer.Capacity(), 0);
    QCOMPARE(buffer.Text(), QString());
    buffer.appendUtf8("y");
    QCOMPARE(buffer.Capacity(), 256);
    QCOMPARE(buffer.Text(), "y");
    // A replaced text has no spare room; a pair counts as two.
    buffer.Text("😀");
    QCOMPARE(buffer.Capacity(), 2);
    QCOMPARE(buffer.step(), 256);
    QCOMPARE(buffer.length(), 2);
}

void StringBufferTest::aCapacityBeyond32BitsIsRefused()
{
    StringBuffer buffer;
    buffer.Init(2147483600);
    buffer.Text(QString(300, u'x'));
    QVERIFY_THROWS_EXCEPTION(SqlError, buffer.appendUtf8("y"));
    QCOMPARE(buffer.Text(), QString(300, u'x'));
}

QTEST_APPLESS_MAIN(StringBufferTest)
#include "test_stringbuffer.moc"
