#include "controls/windowpump.h"
#include "support/gui/boxes.h"
#include "support/rows.h"

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
    QPushButton stop{"stop"}, other{"other"};
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

// The user acts while the program waits for a worker.
void waitWhile(const std::function<void()> &act, WindowPump &pump)
{
    Worker worker;
    QTimer::singleShot(30, &pump, [&] {
        act();
        worker.stop();
    });
    pump.wait(worker.done);
}

} // namespace

class TestWindowPump : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnAnyWarning(); }
    void windowStaysAliveWhileTheServerThinks();
    void inputIsLostNotQueued();
    void onlyTheStopButtonGetsThrough_data();
    void onlyTheStopButtonGetsThrough();
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
    WindowPump pump;
    const auto act = [&] {
        QTest::mouseClick(&window.other, Qt::LeftButton);
        QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {}, window.other.geometry().center());
        QTest::keyClicks(&window.line, "typed");
        QTest::keyClick(window.windowHandle(), Qt::Key_X);
    };
    waitWhile(act, pump);
    QTest::qWait(30);
    QCOMPARE(clicks.size(), 0);
    QCOMPARE(window.line.text(), QString());
    // And afterwards everything works as before.
    QTest::mouseClick(&window.other, Qt::LeftButton);
    QTest::keyClicks(&window.line, "after");
    QCOMPARE(clicks.size(), 1);
    QCOMPARE(window.line.text(), "after");
}

void TestWindowPump::onlyTheStopButtonGetsThrough_data()
{
    QTest::addColumn<QKeyCombination>("key");
    QTest::addColumn<bool>("isOnTheButton"); // or on the line beside it
    QTest::addColumn<int>("presses");
    const auto add = [](const char *name, QKeyCombination key, bool isOnTheButton, int presses) {
        row(name, key, isOnTheButton, presses);
    };
    add("the mouse", Qt::Key(), true, 1);
    add("space", Qt::Key_Space, true, 1);
    add("return", Qt::Key_Return, true, 1);
    add("enter", Qt::Key_Enter, true, 1);
    add("escape", Qt::Key_Escape, true, 1);
    add("tab leaves nothing behind", Qt::Key_Tab, true, 0);
    add("its key", Qt::SHIFT | Qt::Key_F5, true, 1);
    add("its key, the focus elsewhere", Qt::SHIFT | Qt::Key_F5, false, 1);
    add("another key, the focus elsewhere", Qt::Key_F5, false, 0);
}

void TestWindowPump::onlyTheStopButtonGetsThrough()
{
    QFETCH(QKeyCombination, key);
    QFETCH(bool, isOnTheButton);
    Window window;
    setStopsRunningCommand(&window.stop, true, Qt::SHIFT | Qt::Key_F5);
    QWidget *focused = isOnTheButton ? static_cast<QWidget *>(&window.stop) : &window.line;
    focused->setFocus();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    WindowPump pump;
    QSignalSpy presses(&window.stop, &QPushButton::clicked);
    const auto act = [&] {
        if (key.key())
            QTest::keyClick(window.windowHandle(), key.key(), key.keyboardModifiers());
        else
            QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {}, window.stop.geometry().center());
    };
    waitWhile(act, pump);
    QTEST(int(presses.size()), "presses");
    QVERIFY(focused->hasFocus());
}

void TestWindowPump::olderPressEndsWithoutAClick()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QSignalSpy clicks(&window.other, &QPushButton::clicked);
    QTest::mousePress(&window.other, Qt::LeftButton);
    QVERIFY(window.other.isDown());
    WindowPump pump;
    waitWhile([&] { QTest::mouseRelease(&window.other, Qt::LeftButton); }, pump);
    QVERIFY(!window.other.isDown());
    QCOMPARE(clicks.size(), 0);
}

void TestWindowPump::closingIsRefusedAndReported()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    WindowPump pump;
    QWidget *asked = nullptr;
    connect(&pump, &WindowPump::closeRequested, this, [&](QWidget *which) { asked = which; });
    waitWhile([&] { closeByUser(window); }, pump);
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
        QTest::keyClicks(&left, "x");
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
