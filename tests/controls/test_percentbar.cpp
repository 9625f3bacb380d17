#include "controls/percentbar.h"

#include <QTest>

#include <cstdlib>

class TestPercentBar : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void numberNeverLooksEmptyOrFinished_data();
    void numberNeverLooksEmptyOrFinished();
    void barInvertsTheNumber();
    void clearedBarIsBlank();
};

void TestPercentBar::numberNeverLooksEmptyOrFinished_data()
{
    QTest::addColumn<double>("fraction");
    QTest::addColumn<bool>("isExact");
    QTest::addColumn<int>("percent");
    QTest::newRow("nothing") << 0.0 << false << 1;
    QTest::newRow("nothing, exactly") << 0.0 << true << 0;
    QTest::newRow("all") << 1.0 << false << 99;
    QTest::newRow("all, exactly") << 1.0 << true << 100;
    QTest::newRow("rounded down") << 0.4249 << false << 42;
    QTest::newRow("half rounds up") << 0.425 << false << 43;
    QTest::newRow("nearly all") << 0.996 << false << 99;
}

void TestPercentBar::numberNeverLooksEmptyOrFinished()
{
    QFETCH(double, fraction);
    QFETCH(bool, isExact);
    QFETCH(int, percent);
    QCOMPARE(shownPercent(fraction, isExact), percent);
    PercentBar bar;
    sProgressBar(bar, fraction, isExact);
    QCOMPARE(bar.text(), QStringLiteral("%1%").arg(percent));
}

void TestPercentBar::barInvertsTheNumber()
{
    PercentBar bar;
    bar.resize(200, 24);
    // Letters have soft edges: near enough is the ink.
    const auto isNear = [](QRgb one, QRgb other) {
        return std::abs(qRed(one) - qRed(other)) < 100 && std::abs(qBlue(one) - qBlue(other)) < 100;
    };
    const auto isTwoColoured = [&](const QImage &image, const QRect &area, QRgb paper, QRgb ink) {
        bool hasInk = false;
        for (int x = area.left(); x <= area.right(); ++x)
            for (int y = area.top(); y <= area.bottom(); ++y)
                hasInk |= isNear(image.pixel(x, y), ink);
        return hasInk && image.pixel(area.topLeft()) == paper;
    };
    const QRgb blue = qRgb(0, 0, 255), white = qRgb(255, 255, 255);
    const QRect left(80, 0, 19, 24), right(101, 0, 19, 24);
    bar.setFraction(0);
    QImage image = bar.grab().toImage();
    QVERIFY(isTwoColoured(image, left, white, blue) || isTwoColoured(image, right, white, blue));
    QCOMPARE(image.pixel(0, 12), white);
    bar.setFraction(0.5);
    image = bar.grab().toImage();
    QCOMPARE(image.pixel(99, 0), blue);
    QCOMPARE(image.pixel(100, 0), white);
    QVERIFY(isTwoColoured(image, left, blue, white));
    QVERIFY(isTwoColoured(image, right, white, blue));
    bar.setFraction(1);
    QCOMPARE(bar.grab().toImage().pixel(199, 23), blue);
}

void TestPercentBar::clearedBarIsBlank()
{
    PercentBar bar;
    bar.resize(100, 20);
    bar.setFraction(0.5);
    bar.clearBar();
    QImage blank(bar.grab().toImage());
    QCOMPARE(bar.text(), QString());
    QImage white = blank;
    white.fill(Qt::white);
    QCOMPARE(blank, white);
}

QTEST_MAIN(TestPercentBar)
#include "test_percentbar.moc"
