#include "controls/activation.h"
#include "support/rows.h"

#include <QDialog>
#include <QSignalSpy>

class ActivationTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void onlyAnotherWindowOfTheProgramCounts_data();
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

void ActivationTest::onlyAnotherWindowOfTheProgramCounts_data()
{
    QTest::addColumn<QStringList>("visited"); // the object names of what comes before the console
    QTest::addColumn<int>("activations");
    row("another window of the program", QStringList{"frmTarnwell"}, 1);
    row("a dialog for a question of its own", QStringList{"passing frmTextEditer"}, 0);
    // Of another program Qt sees only that none of its windows has the focus.
    row("a message box, another program", QStringList{""}, 0);
    row("another window, then a message box there", QStringList{"frmTarnwell", ""}, 1);
}

void ActivationTest::onlyAnotherWindowOfTheProgramCounts()
{
    QFETCH(QStringList, visited);
    QWidget console;
    console.setObjectName("frmSql");
    WindowActivation activation(&console);
    QSignalSpy spy(&activation, &WindowActivation::activated);
    goTo(console);
    QCOMPARE(spy.count(), 1); // it has just appeared
    spy.clear();

    for (const QString &name : std::as_const(visited)) {
        QDialog other;
        other.setObjectName(name.section(u' ', -1));
        if (name.startsWith(u"passing"))
            WindowActivation::setPassing(&other);
        goTo(other);
    }
    goTo(console);

    QTEST(int(spy.count()), "activations");
}

QTEST_MAIN(ActivationTest)
#include "test_activation.moc"
