#include "core/sqlerror.h"
#include "core/stringbuffer.h"

#include <QTest>

class StringBufferTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void capacityFollowsTheRule_data();
    void capacityFollowsTheRule();
    void aClearedBufferGrowsByTheLastStep();
    void aReplacedTextHasNoSpareRoom();
    void aCapacityBeyond32BitsIsRefused();
};

void StringBufferTest::capacityFollowsTheRule_data()
{
    QTest::addColumn<int>("initial");
    QTest::addColumn<QList<int>>("appended");
    QTest::addColumn<int>("capacity");
    QTest::addColumn<int>("step");
    QTest::newRow("new") << 128 << QList<int>{} << 128 << 128;
    QTest::newRow("below one") << -5 << QList<int>{} << 128 << 128;
    QTest::newRow("just full") << 128 << QList<int>{128} << 128 << 128;
    QTest::newRow("one too many") << 128 << QList<int>{129} << 256 << 128;
    QTest::newRow("two whole steps above") << 128 << QList<int>{300} << 384 << 256;
    QTest::newRow("the step stays large") << 128 << QList<int>{300, 100} << 640 << 256;
    QTest::newRow("exact multiple takes one more") << 10 << QList<int>{20} << 30 << 20;
    QTest::newRow("nothing") << 1 << QList<int>{0, 1, 0} << 1 << 1;
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

void StringBufferTest::aClearedBufferGrowsByTheLastStep()
{
    StringBuffer buffer;
    buffer.Append(QString(300, u'x'));
    buffer.Clear();
    QCOMPARE(buffer.Capacity(), 0);
    QCOMPARE(buffer.Text(), QString());
    buffer.appendUtf8("y");
    QCOMPARE(buffer.Capacity(), 256);
    QCOMPARE(buffer.Text(), QStringLiteral("y"));
}

void StringBufferTest::aReplacedTextHasNoSpareRoom()
{
    StringBuffer buffer;
    buffer.Append(QString(300, u'x'));
    const QString face = QString::fromUtf8("😀");
    buffer.Text(face);
    QCOMPARE(buffer.Capacity(), 2);
    QCOMPARE(buffer.step(), 256);
    buffer.Append(face);
    QCOMPARE(buffer.length(), 4);
    QCOMPARE(buffer.Text(), face + face);
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
