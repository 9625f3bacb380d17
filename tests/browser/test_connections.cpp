#include "connections/connectionstore.h"
#include "support/files.h"
#include "windowstage.h"

#include <QComboBox>
#include <QMenuBar>
#include <QSignalSpy>
#include <QTreeWidget>

// The main window and its saved connections.
class ConnectionsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnAnyWarning(); }
    void aNewConnectionIsMadeKeptAndUsed();
    void whatIsTypedTakesTheMarksOfItsServer();

private:
    static void type(QDialog &window, const char *field, const QString &text)
    {
        control<QLineEdit>(window, field).setText(text);
    }
    static ConnectionProfile saved(const WindowStage &stage, const QString &name, PasswordKeeping keeping)
    {
        ConnectionProfile profile;
        profile.name = name;
        profile.server = "db1";
        profile.user = "me";
        profile.keeping = keeping;
        profile.password = "secret";
        ConnectionStore(connectionsFile(stage.session)).put(profile);
        return profile;
    }
};

void ConnectionsTest::aNewConnectionIsMadeKeptAndUsed()
{
    WindowStage stage;
    frmTarnwell &window = stage.mainWindow();
    stage.boxes.expectDialog("connectionsWindow", [&](QDialog &dialog) {
        control<QAbstractButton>(dialog, "newConnection").click();
        type(dialog, "connectionName", "倉庫");
        type(dialog, "connectionServer", "db2");
        type(dialog, "connectionUser", "me");
        type(dialog, "connectionPassword", "pw");
        type(dialog, "connectionDatabase", "stock");
        control<QAbstractButton>(dialog, "testConnection").click();
        QVERIFY(control<QLabel>(dialog, "connectionResult").text().contains("MySQL 5.1.73"));
        control<QAbstractButton>(dialog, "copyConnection").click();
        type(dialog, "connectionServer", "db3");
        auto &list = control<QTreeWidget>(dialog, "connectionList");
        QCOMPARE(list.topLevelItemCount(), 2);
        control<QLineEdit>(dialog, "connectionFilter").setText("DB2");
        QVERIFY(list.topLevelItem(1)->isHidden() != list.topLevelItem(0)->isHidden());
        list.setCurrentItem(list.topLevelItem(list.topLevelItem(0)->isHidden() ? 1 : 0));
        QCOMPARE(control<QLineEdit>(dialog, "connectionServer").text(), "db2");
        type(dialog, "connectionPassword", "pw"); // nobody was told to keep it
        QTest::keyClick(&list, Qt::Key_Return);
    });
    control<QAbstractButton>(window, "openConnections").click();
    QTRY_VERIFY(stage.session.gCn);
    QCOMPARE(stage.script.connectionStrings.last(),
             "driver={MySQL (内蔵)};server=db2;uid=me;pwd=pw;port=3306;database=stock");
    QCOMPARE(control<QLineEdit>(window, "txtServer").text(), "db2");

    ConnectionStore store(connectionsFile(stage.session));
    store.read();
    QCOMPARE(store.profiles().size(), 2u);
    QCOMPARE(store.lastUsed().front().name, "倉庫");
    window.close();
    QVERIFY(!readFile(stage.session.gIniPath).contains("pass=o")); // "pw", shifted
}

void ConnectionsTest::whatIsTypedTakesTheMarksOfItsServer()
{
    WindowStage stage;
    const ConnectionProfile profile = saved(stage, "店", PasswordKeeping::Ask);
    frmTarnwell &window = stage.mainWindow();
    control<QComboBox>(window, "cboDrivers").setCurrentText(profile.driver());
    stage.boxes.expectDialog("passwordQuestion", [](QDialog &dialog) {
        type(dialog, "passwordAnswer", "asked");
        dialog.accept();
    });
    stage.connect("DB1");
    QCOMPARE(stage.session.profile.name, "店");
    QVERIFY(stage.script.connectionStrings.last().contains("pwd=asked"));
    press(window, {"cmdClose"});
    stage.boxes.expectDialog("passwordQuestion", [](QDialog &dialog) { dialog.reject(); });
    press(window, {"cmdConnect"});
    QVERIFY(!stage.session.gCn);
    stage.connect("another");
    QVERIFY(stage.session.gCn && !stage.session.profile.isSaved());
}

QTEST_MAIN(ConnectionsTest)
#include "test_connections.moc"
