#include "controls/percentbar.h"

#include <QTest>

class TestPercentBar : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void numberNeverLooksEmptyOrFinished();
    void barInvertsTheNumber();
};

void TestPercentBar::numberNeverLooksEmptyOrFinished()
{
    const auto number = [](double fraction, bool isExact = false) {
        PercentBar bar;
        sProgressBar(bar, fraction, isExact);
        return bar.text();
    };
    QCOMPARE(number(0), "1%");
    QCOMPARE(number(0, true), "0%");
    QCOMPARE(number(0.4249), "42%");
    QCOMPARE(number(0.425), "43%");
    QCOMPARE(number(0.996), "99%");
    QCOMPARE(number(1, true), "100%");
}

void TestPercentBar::barInvertsTheNumber()
{
    PercentBar bar;
    bar.resize(200, 24);
    bar.setFraction(0.5);
    const QImage image = bar.grab().toImage();
    const QRgb blue = qRgb(0, 0, 255), white = qRgb(255, 255, 255);
    QCOMPARE(image.pixel(99, 0), blue);
    QCOMPARE(image.pixel(100, 0), white);
    // The number stands in the middle. Letters have soft edges: near enough is the ink.
    bool hasWhite = false, hasBlue = false;
    for (int i = 0; i < 20 * 24; ++i) {
        hasWhite |= qRed(image.pixel(80 + i % 20, i / 20)) > 155;
        hasBlue |= qRed(image.pixel(100 + i % 20, i / 20)) < 100;
    }
    QVERIFY(hasWhite && hasBlue);
}

QTEST_MAIN(TestPercentBar)
#include "test_percentbar.moc"
