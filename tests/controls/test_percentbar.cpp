#include "controls/percentbar.h"
#include "support/rows.h"

#include <QTest>

#include <cstdlib>

class TestPercentBar : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void numberNeverLooksEmptyOrFinished_data();
    void numberNeverLooksEmptyOrFinished();
    void barInvertsTheNumber();
};

void TestPercentBar::numberNeverLooksEmptyOrFinished_data()
{
    QTest::addColumn<double>("fraction");
    QTest::addColumn<bool>("isExact");
    QTest::addColumn<int>("percent");
    row("nothing", 0.0, false, 1);
    row("nothing, exactly", 0.0, true, 0);
    row("all", 1.0, false, 99);
    row("all, exactly", 1.0, true, 100);
    row("rounded down", 0.4249, false, 42);
    row("half rounds up", 0.425, false, 43);
    row("nearly all", 0.996, false, 99);
}

void TestPercentBar::numberNeverLooksEmptyOrFinished()
{
    QFETCH(double, fraction);
    QFETCH(bool, isExact);
    QFETCH(int, percent);
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

    bar.clearBar();
    QCOMPARE(bar.text(), QString());
    image = bar.grab().toImage();
    QImage blank = image;
    blank.fill(Qt::white);
    QCOMPARE(image, blank);
}

QTEST_MAIN(TestPercentBar)
#include "test_percentbar.moc"
