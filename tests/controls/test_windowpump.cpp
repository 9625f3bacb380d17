#include "controls/windowpump.h"
#include "support/gui/boxes.h"

#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QVBoxLayout>

#include <memory>
#include <thread>

namespace {

struct Painted : QWidget {
    using QWidget::QWidget;
    void paintEvent(QPaintEvent *) override { ++paints; }
    int paints = 0;
};

struct Window : QWidget {
    QPushButton stop{QStringLiteral("stop")}, other{QStringLiteral("other")};
    QLineEdit line;
    Painted painted;

    Window()
    {
        auto *layout = new QVBoxLayout(this);
        for (QWidget *child : std::initializer_list<QWidget *>{&stop, &other, &line, &painted})
            layout->addWidget(child);
        painted.setMinimumSize(20, 20);
        setStopsRunningCommand(&stop, true);
        show();
    }
};

// A worker that is busy until somebody stops it, at most for a while.
struct Worker {
    Completion done, stopped;
    std::jthread thread{[this] {
        stopped.waitFor(std::chrono::seconds(10));
        done.finish();
    }};
    void stop() { stopped.finish(); }
};

} // namespace

class TestWindowPump : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnAnyWarning(); }
    void windowStaysAliveWhileTheServerThinks();
    void inputIsLostNotQueued();
    void onlyTheStopButtonGetsThrough();
    void keysPressTheStopButton_data();
    void keysPressTheStopButton();
    void olderPressEndsWithoutAClick();
    void closingIsRefusedAndReported();
    void boxThatOutlastsTheWaitCanBeAnswered();
    void nestedWaitsAndDestroyedWindowsDoNoHarm();
    void shortStatementsNeverRunEvents();
};

void TestWindowPump::windowStaysAliveWhileTheServerThinks()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    Worker worker;
    int ticks = 0;
    QTimer timer;
    connect(&timer, &QTimer::timeout, &window, [&] {
        window.painted.update();
        if (++ticks == 10)
            worker.stop();
    });
    window.painted.paints = 0;
    timer.start(5);
    WindowPump pump;
    pump.wait(worker.done);
    QVERIFY(worker.done.isFinished());
    QCOMPARE(ticks, 10);
    QVERIFY2(window.painted.paints >= 3, "nothing was painted");
    QVERIFY(!pump.isWaiting());
}

void TestWindowPump::inputIsLostNotQueued()
{
    Window window;
    window.line.setFocus();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QSignalSpy clicks(&window.other, &QPushButton::clicked);
    Worker worker;
    QTimer::singleShot(30, &window, [&] {
        QTest::mouseClick(&window.other, Qt::LeftButton);
        QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {}, window.other.geometry().center());
        QTest::keyClicks(&window.line, QStringLiteral("typed"));
        QTest::keyClick(window.windowHandle(), Qt::Key_X);
        worker.stop();
    });
    WindowPump pump;
    pump.wait(worker.done);
    QTest::qWait(30);
    QCOMPARE(clicks.size(), 0);
    QCOMPARE(window.line.text(), QString());
    // And afterwards everything works as before.
    QTest::mouseClick(&window.other, Qt::LeftButton);
    QTest::keyClicks(&window.line, QStringLiteral("after"));
    QCOMPARE(clicks.size(), 1);
    QCOMPARE(window.line.text(), QStringLiteral("after"));
}

void TestWindowPump::onlyTheStopButtonGetsThrough()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    Worker worker;
    connect(&window.stop, &QPushButton::clicked, &window, [&] { worker.stop(); });
    QTimer::singleShot(30, &window, [&] {
        QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {}, window.stop.geometry().center());
    });
    WindowPump pump;
    pump.wait(worker.done);
    QVERIFY2(worker.stopped.isFinished(), "the click did not arrive");
}

void TestWindowPump::keysPressTheStopButton_data()
{
    QTest::addColumn<Qt::Key>("key");
    QTest::addColumn<bool>("isPressed");
    QTest::newRow("space") << Qt::Key_Space << true;
    QTest::newRow("return") << Qt::Key_Return << true;
    QTest::newRow("enter") << Qt::Key_Enter << true;
    QTest::newRow("escape") << Qt::Key_Escape << true;
    QTest::newRow("tab leaves nothing behind") << Qt::Key_Tab << false;
}

void TestWindowPump::keysPressTheStopButton()
{
    QFETCH(Qt::Key, key);
    QFETCH(bool, isPressed);
    Window window;
    window.stop.setFocus();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    Worker worker;
    int presses = 0;
    connect(&window.stop, &QPushButton::clicked, &window, [&] { ++presses; });
    QTimer::singleShot(30, &window, [&] {
        QTest::keyClick(window.windowHandle(), key);
        worker.stop();
    });
    WindowPump pump;
    pump.wait(worker.done);
    QCOMPARE(presses, isPressed ? 1 : 0);
    QVERIFY(window.stop.hasFocus());
}

void TestWindowPump::olderPressEndsWithoutAClick()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QSignalSpy clicks(&window.other, &QPushButton::clicked);
    QTest::mousePress(&window.other, Qt::LeftButton);
    QVERIFY(window.other.isDown());
    Worker worker;
    QTimer::singleShot(30, &window, [&] {
        QTest::mouseRelease(&window.other, Qt::LeftButton);
        worker.stop();
    });
    WindowPump pump;
    pump.wait(worker.done);
    QVERIFY(!window.other.isDown());
    QCOMPARE(clicks.size(), 0);
}

void TestWindowPump::closingIsRefusedAndReported()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    Worker worker;
    WindowPump pump;
    QWidget *asked = nullptr;
    connect(&pump, &WindowPump::closeRequested, this, [&](QWidget *which) { asked = which; });
    QTimer::singleShot(30, &window, [&] {
        closeByUser(window);
        worker.stop();
    });
    pump.wait(worker.done);
    QVERIFY(asked == &window);
    QVERIFY(window.isVisible());
    window.close();
    QVERIFY(!window.isVisible());
}

void TestWindowPump::boxThatOutlastsTheWaitCanBeAnswered()
{
    Window window;
    Worker worker;
    bool isAnswered = false;
    QTimer::singleShot(30, &window, [&] {
        QMessageBox box(&window);
        QTimer::singleShot(20, &box, [&] { worker.stop(); });
        QTimer::singleShot(100, &box, [&] { QTest::keyClick(&box, Qt::Key_Escape); });
        QTimer::singleShot(3000, &box, &QDialog::reject); // instead of a hang
        QElapsedTimer clock;
        clock.start();
        box.exec();
        isAnswered = clock.elapsed() < 2000;
    });
    WindowPump pump;
    pump.wait(worker.done);
    QVERIFY(isAnswered);
}

void TestWindowPump::nestedWaitsAndDestroyedWindowsDoNoHarm()
{
    auto window = std::make_unique<Window>();
    QVERIFY(QTest::qWaitForWindowExposed(window.get()));
    Worker outer, inner;
    WindowPump pump;
    QLineEdit left;
    QTimer::singleShot(20, this, [&] {
        window.reset();
        QTimer::singleShot(30, this, [&] { inner.stop(); });
        pump.wait(inner.done);
        QVERIFY(pump.isWaiting());
        QTest::keyClicks(&left, QStringLiteral("x"));
        outer.stop();
    });
    pump.wait(outer.done);
    QVERIFY(inner.done.isFinished() && outer.done.isFinished());
    QCOMPARE(left.text(), QString());
    QVERIFY(!pump.isWaiting());
}

void TestWindowPump::shortStatementsNeverRunEvents()
{
    bool hasRun = false;
    QTimer::singleShot(0, this, [&] { hasRun = true; });
    Completion done;
    const std::jthread worker([&] { done.finish(); });
    WindowPump pump;
    pump.wait(done);
    QVERIFY(!hasRun);
}

QTEST_MAIN(TestWindowPump)
#include "test_windowpump.moc"
