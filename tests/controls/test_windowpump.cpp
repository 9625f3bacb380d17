#include "controls/grid/cellviewer.h"
#include "controls/lists/chosenlist.h"
#include "controls/text/sqltextbox.h"
#include "controls/window/stopping.h"
#include "controls/window/windowpump.h"
#include "support/gui/boxes.h"
#include "support/rows.h"

#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QShortcut>
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
    void onlyWritingGoesOn();
    void onlyTheStopButtonGetsThrough_data();
    void onlyTheStopButtonGetsThrough();
    void olderPressEndsWithoutAClick();
    void everyWindowCanBeLeft();
    void boxThatOutlastsTheWaitCanBeAnswered();
    void nestedWaitsAndDestroyedWindowsDoNoHarm();
};

// Other input is lost, not queued.
void TestWindowPump::onlyWritingGoesOn()
{
    Window window;
    SqlTextBox editor;
    window.layout()->addWidget(&editor);
    const QShortcut shortcut(Qt::CTRL | Qt::Key_Return, &window, [] { QFAIL("a shortcut"); });
    window.line.setFocus();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QSignalSpy clicks(&window.other, &QPushButton::clicked);
    // But a window that works on has its boxes.
    setWorksWhileRunning(&editor);
    QDialog box(&editor);
    QPushButton answer(&box);
    QSignalSpy answers(&answer, &QPushButton::clicked);
    WindowPump pump;
    const auto act = [&] {
        QTest::mouseClick(&answer, Qt::LeftButton);
        QTest::mouseClick(&window.other, Qt::LeftButton);
        QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {}, window.other.geometry().center());
        QTest::keyClicks(&window.line, "typed");
        editor.setFocus();
        QTest::keyClicks(&editor, "select");
        QTest::keyClick(&editor, Qt::Key_Return, Qt::ControlModifier);
    };
    waitWhile(act, pump);
    QTest::qWait(30);
    QCOMPARE(clicks.size(), 0);
    QCOMPARE(answers.size(), 1);
    QCOMPARE(window.line.text(), "typed");
    QCOMPARE(editor.contents(), "select");
    // And afterwards everything works as before.
    QTest::mouseClick(&window.other, Qt::LeftButton);
    QCOMPARE(clicks.size(), 1);
}

void TestWindowPump::onlyTheStopButtonGetsThrough_data()
{
    const Rows<QKeyCombination, bool, int> row;
    row("the mouse", QKeyCombination(Qt::Key()), true, 1);
    row("space", QKeyCombination(Qt::Key_Space), true, 1);
    row("enter", QKeyCombination(Qt::Key_Enter), true, 1);
    row("tab leaves nothing behind", QKeyCombination(Qt::Key_Tab), true, 0);
    row("its key, the focus elsewhere", QKeyCombination(Qt::SHIFT | Qt::Key_F5), false, 1);
    row("another key, the focus elsewhere", QKeyCombination(Qt::Key_F5), false, 0);
}

void TestWindowPump::onlyTheStopButtonGetsThrough()
{
    const auto [key, isOnTheButton, presses] = fetched<QKeyCombination, bool, int>();
    Window window;
    setStopsRunningCommand(&window.stop, true, Qt::SHIFT | Qt::Key_F5);
    QWidget *focused = isOnTheButton ? static_cast<QWidget *>(&window.stop) : &window.line;
    focused->setFocus();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    WindowPump pump;
    QSignalSpy clicks(&window.stop, &QPushButton::clicked);
    const auto act = [&] {
        if (key.key())
            QTest::keyClick(window.windowHandle(), key.key(), key.keyboardModifiers());
        else
            QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {}, window.stop.geometry().center());
    };
    waitWhile(act, pump);
    QCOMPARE(clicks.size(), presses);
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
    // In a list it chooses.
    ChosenList list;
    list.appendItem("a");
    list.show();
    const QPoint place = list.visualItemRect(list.item(0)).center();
    const QSignalSpy chosen(&list, &ChosenList::chosen);
    waitWhile([&] { QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, place); }, pump);
    QCOMPARE(chosen.size(), 0);
    QTest::mousePress(list.viewport(), Qt::LeftButton, {}, place);
    waitWhile([&] { QTest::mouseRelease(list.viewport(), Qt::LeftButton, {}, place); }, pump);
    QCOMPARE(chosen.size(), 1);
}

// A window that nothing runs in goes at once; a dialog goes when what it runs has been stopped and has ended.
void TestWindowPump::everyWindowCanBeLeft()
{
    WindowPump pump;
    Runner runner;
    Window main;
    const EscapeStops escape(runner, &main);
    const QPointer<CellViewer> viewer = new CellViewer(&main);
    viewer->show();
    QVERIFY(QTest::qWaitForWindowExposed(viewer));
    for (const auto &leave : std::initializer_list<std::function<void(QDialog &)>>{
             [](QDialog &dialog) { QTest::keyClick(dialog.windowHandle(), Qt::Key_Escape); },
             [](QDialog &dialog) { closeByUser(dialog); },
             [](QDialog &dialog) { QTest::mouseClick(dialog.findChild<QPushButton *>(), Qt::LeftButton); }}) {
        StoppableDialog dialog(runner, &main);
        QPushButton cancel("Cancel", &dialog);
        connect(&cancel, &QPushButton::clicked, &dialog, &QDialog::close);
        setStopsRunningCommand(&cancel, true);
        dialog.show();
        QVERIFY(QTest::qWaitForWindowActive(&dialog));
        Worker worker;
        connect(&runner, &Runner::stopWanted, &dialog, [&] { worker.stop(); });
        QTimer::singleShot(30, &dialog, [&] {
            if (viewer)
                QTest::keyClick(viewer, Qt::Key_Escape);
            leave(dialog);
        });
        runner.run(&dialog, "x", [&] {
            pump.wait(worker.done);
            QVERIFY(runner.isStopWanted() && dialog.isVisible());
        });
        QTRY_VERIFY(!dialog.isVisible());
        QVERIFY(!runner.isStopWanted());
    }
    QVERIFY(!viewer);

    // What lies upon the run of another ends before that can.
    runner.run(&main, "x", [&] {
        StoppableDialog dialog(runner, &main);
        QTimer::singleShot(0, &dialog, &QDialog::reject);
        QTimer::singleShot(2000, &dialog, &QDialog::accept);
        QCOMPARE(dialog.exec(), QDialog::Rejected);
    });

    // Escape in any other window only stops.
    Worker worker;
    connect(&runner, &Runner::stopWanted, &main, [&] { worker.stop(); });
    QTimer::singleShot(30, &main, [&] { QTest::keyClick(&main.other, Qt::Key_Escape); });
    runner.run(&main, "x", [&] { pump.wait(worker.done); });
    QVERIFY(main.isVisible() && !runner.isRunning());
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
        QTimer::singleShot(20'000, &box, [&box] { box.done(-1); }); // instead of a hang
        isAnswered = box.exec() != -1;
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
    QPushButton left;
    const QSignalSpy clicks(&left, &QPushButton::clicked);
    QTimer::singleShot(20, this, [&] {
        window.reset();
        QTimer::singleShot(30, this, [&] { inner.stop(); });
        pump.wait(inner.done);
        QTest::mouseClick(&left, Qt::LeftButton);
        outer.stop();
    });
    pump.wait(outer.done);
    QVERIFY(inner.done.isFinished() && outer.done.isFinished());
    QCOMPARE(clicks.size(), 0);
    // A statement that is over at once runs no events.
    const QObject here;
    QTimer::singleShot(0, &here, [] { QFAIL("an event ran"); });
    Completion done;
    const std::jthread worker([&] { done.finish(); });
    pump.wait(done);
}

QTEST_MAIN(TestWindowPump)
#include "test_windowpump.moc"
