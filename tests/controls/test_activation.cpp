#include "controls/activation.h"

#include <QApplication>
#include <QDialog>
#include <QMessageBox>
#include <QSignalSpy>
#include <QTest>

#include <functional>

class ActivationTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void onlyAnotherWindowOfTheProgramCounts_data();
    void onlyAnotherWindowOfTheProgramCounts();
    void theFirstAppearanceCounts();
};

namespace {

void goTo(QWidget &window)
{
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QCoreApplication::processEvents();
}

// What stands between two times that the console is the active window.
using Between = std::function<void(QWidget &console)>;

void openDialog(QDialog &dialog)
{
    goTo(dialog);
    dialog.close();
}

} // namespace

Q_DECLARE_METATYPE(Between)

void ActivationTest::onlyAnotherWindowOfTheProgramCounts_data()
{
    QTest::addColumn<Between>("between");
    QTest::addColumn<int>("activations");
    QTest::newRow("another window of the program") << Between([](QWidget &) {
        QWidget other;
        other.setObjectName(QStringLiteral("frmTarnwell"));
        goTo(other);
    }) << 1;
    QTest::newRow("a dialog of the program") << Between([](QWidget &console) {
        QDialog dialog(&console);
        dialog.setObjectName(QStringLiteral("frmInOut"));
        openDialog(dialog);
    }) << 1;
    QTest::newRow("a dialog for a question of its own") << Between([](QWidget &console) {
        QDialog dialog(&console);
        dialog.setObjectName(QStringLiteral("frmTextEditer"));
        WindowActivation::setPassing(&dialog);
        openDialog(dialog);
    }) << 0;
    QTest::newRow("a message box") << Between([](QWidget &console) {
        QMessageBox box(&console);
        openDialog(box);
    }) << 0;
    QTest::newRow("another program") << Between([](QWidget &) {
        // Qt sees only that none of its windows has the focus.
        QWidget foreign;
        goTo(foreign);
        foreign.hide();
    }) << 0;
    QTest::newRow("another window, then a message box there") << Between([](QWidget &) {
        QWidget other;
        other.setObjectName(QStringLiteral("frmTarnwell"));
        goTo(other);
        QMessageBox box(&other);
        openDialog(box);
    }) << 1;
}

void ActivationTest::onlyAnotherWindowOfTheProgramCounts()
{
    QFETCH(Between, between);
    QWidget console;
    console.setObjectName(QStringLiteral("frmSql"));
    WindowActivation activation(&console);
    goTo(console);
    QSignalSpy spy(&activation, &WindowActivation::activated);

    between(console);
    goTo(console);

    QTEST(int(spy.count()), "activations");
}

void ActivationTest::theFirstAppearanceCounts()
{
    QWidget console;
    console.setObjectName(QStringLiteral("frmSql"));
    WindowActivation activation(&console);
    QSignalSpy spy(&activation, &WindowActivation::activated);
    goTo(console);
    QCOMPARE(spy.count(), 1);
}

QTEST_MAIN(ActivationTest)
#include "test_activation.moc"
