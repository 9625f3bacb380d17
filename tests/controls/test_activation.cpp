#include "controls/window/activation.h"

#include <QDialog>
#include <QSignalSpy>
#include <QTest>

class ActivationTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void onlyAnotherWindowOfTheProgramCounts();

private:
    static void goTo(QWidget &window)
    {
        window.show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QCoreApplication::processEvents();
    }
};

void ActivationTest::onlyAnotherWindowOfTheProgramCounts()
{
    QWidget console;
    console.setObjectName("frmSql");
    WindowActivation activation(&console);
    QSignalSpy spy(&activation, &WindowActivation::activated);
    goTo(console);
    QCOMPARE(spy.count(), 1); // it has just appeared
    const auto visit = [&](const char *name, bool isPassing) {
        QDialog other;
        other.setObjectName(name);
        if (isPassing)
            WindowActivation::setPassing(&other);
        goTo(other);
    };
    visit("frmTextEditer", true); // a dialog for a question of its own
    visit("", false);             // a message box; of another program Qt sees no more
    goTo(console);
    QCOMPARE(spy.count(), 1);
    visit("frmTarnwell", false);
    visit("", false);
    goTo(console);
    QCOMPARE(spy.count(), 2);
}

QTEST_MAIN(ActivationTest)
#include "test_activation.moc"
