#include "controls/chosenlist.h"
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

struct Window : QWidget {
    QPushButton stop{"stop"}, other{"other"};
    QLineEdit line;

    Window()
    {
        auto *layout = new QVBoxLayout(this);
        for (QWidget *child : std::initializer_list<QWidget *>{&stop, &other, &line})
            layout->addWidget(child);
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
    void inputIsLostNotQueued();
    void onlyTheStopButtonGetsThrough_data();
    void onlyTheStopButtonGetsThrough();
    void olderPressEndsWithoutAClick();
    void olderPressInAListChooses();
    void closingIsRefusedAndReported();
    void boxThatOutlastsTheWaitCanBeAnswered();
    void nestedWaitsAndDestroyedWindowsDoNoHarm();
    void shortStatementsNeverRunEvents();
};

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
    row("the mouse", QKeyCombination(Qt::Key()), true, 1);
    row("space", QKeyCombination(Qt::Key_Space), true, 1);
    row("enter", QKeyCombination(Qt::Key_Enter), true, 1);
    row("escape", QKeyCombination(Qt::Key_Escape), true, 1);
    row("tab leaves nothing behind", QKeyCombination(Qt::Key_Tab), true, 0);
    row("its key, the focus elsewhere", QKeyCombination(Qt::SHIFT | Qt::Key_F5), false, 1);
    row("another key, the focus elsewhere", QKeyCombination(Qt::Key_F5), false, 0);
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

void TestWindowPump::olderPressInAListChooses()
{
    ChosenList list;
    list.appendItem("a");
    list.show();
    const QPoint place = list.visualItemRect(list.item(0)).center();
    const QSignalSpy chosen(&list, &ChosenList::chosen);
    WindowPump pump;
    waitWhile([&] { QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, place); }, pump);
    QCOMPARE(chosen.size(), 0);
    QTest::mousePress(list.viewport(), Qt::LeftButton, {}, place);
    waitWhile([&] { QTest::mouseRelease(list.viewport(), Qt::LeftButton, {}, place); }, pump);
    QCOMPARE(chosen.size(), 1);
}

void TestWindowPump::closingIsRefusedAndReported()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    WindowPump pump;
    QWidget *asked = nullptr;
    connect(&pump, &WindowPump::closeRequested, this, [&](QWidget *which) { asked = which; });
    // By way of the native window, which hides the widget unless that refuses.
    QCloseEvent event;
    waitWhile([&] { QCoreApplication::sendEvent(window.windowHandle(), &event); }, pump);
    QVERIFY(asked == &window);
    QVERIFY(window.isVisible());
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
