#include "core/sql/failure.h"
#include "core/sql/stringbuffer.h"

#include <QTest>

class StringBufferTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void growthFollowsTheRule();
};

void StringBufferTest::growthFollowsTheRule()
{
    StringBuffer buffer;
    buffer.Init(-5);
    QCOMPARE(buffer.Capacity(), 128);
    QString expected;
    const auto append = [&](int length) {
        // Characters of two, three and (as a pair) four bytes: it is characters that count.
        const QString text = QStringLiteral("é表ｱ").repeated(length).left(length);
        buffer.Append(text);
        expected += text;
        return buffer.Capacity();
    };
    QCOMPARE(append(128), 128);
    QCOMPARE(append(172), 384); // two whole steps, which become the step
    QCOMPARE(append(100), 640);
    QCOMPARE(append(240), 640);
    QCOMPARE(buffer.length(), 640);
    QCOMPARE(buffer.ToString(), expected);
    buffer.Clear();
    QCOMPARE(buffer.Capacity(), 0);
    buffer.appendUtf8("y");
    QCOMPARE(buffer.Capacity(), 256);
    QCOMPARE(buffer.Text(), "y");
    // A replaced text has no spare room; a pair counts as two.
    buffer.Text("😀");
    QCOMPARE(buffer.Capacity(), 2);
    QCOMPARE(buffer.step(), 256);
    // An exact multiple takes one step more.
    buffer.Init(10);
    buffer.Append(QString(20, u'x'));
    QCOMPARE(buffer.Capacity(), 30);
    // A capacity beyond 32 bits is refused.
    buffer.Init(2147483600);
    buffer.Text(QString(300, u'x'));
    QVERIFY_THROWS_EXCEPTION(Failure, buffer.appendUtf8("y"));
    QCOMPARE(buffer.Text(), QString(300, u'x'));
}

QTEST_APPLESS_MAIN(StringBufferTest)
#include "test_stringbuffer.moc"
