#include "browser/frmTarnwell.h"
#include "connections/connectionstore.h"
#include "core/command/undolog.h"
#include "core/command/writing.h"
#include "core/session/lastingconnection.h"
#include "support/files.h"
#include "support/gui/stage.h"

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
    void aRefusedPasswordIsTypedAnewAndTheRightOneKept();
    void productionAsksOnceMore();
    void aReadOnlyConnectionTurnsWritingOff();
    void whatIsEditedHoldsForTheConnectionThatStands();
    void whatAnotherProgramEditedHoldsForTheNextConnection();
    void showingAnotherConnectionInThePanelAsksFirst();
    void aLostServerComesBackWithTheNextClick();

private:
    static void type(QDialog &window, const char *field, const QString &text)
    {
        control<QLineEdit>(window, field).setText(text);
    }
    static ConnectionProfile saved(const WindowStage &stage, const QString &name, PasswordKeeping keeping,
                                   Environment environment = Environment::None, bool isReadOnly = false)
    {
        ConnectionProfile profile;
        profile.environment = environment;
        profile.isReadOnly = isReadOnly;
        profile.name = name;
        profile.server = "db1";
        profile.user = "db1";
        profile.keeping = keeping;
        profile.password = "secret";
        ConnectionStore(connectionsFile(stage.session)).put(profile);
        return profile;
    }
};

void ConnectionsTest::aNewConnectionIsMadeKeptAndUsed()
{
    WindowStage stage;
    QWidget &window = stage.open(new frmTarnwell(stage.session));
    stage.boxes.expectDialog("connectionsWindow", [&](QDialog &dialog) {
        control<QAbstractButton>(dialog, "newConnection").click();
        type(dialog, "connectionName", "倉庫");
        type(dialog, "connectionServer", "db2");
        type(dialog, "connectionUser", "me");
        type(dialog, "connectionPassword", "pw");
        type(dialog, "connectionDatabase", "stock");
        type(dialog, "connectionPassword", {});
        stage.boxes.expectDialog("passwordQuestion", [](QDialog &question) {
            type(question, "passwordAnswer", "pw");
            question.accept();
        });
        control<QAbstractButton>(dialog, "testConnection").click();
        type(dialog, "connectionPassword", "pw");
        QVERIFY(control<QLabel>(dialog, "connectionResult").text().contains("MySQL 5.1.73"));
        auto &isSafe = control<QCheckBox>(dialog, "connectionSafeMode");
        auto &environment = control<QComboBox>(dialog, "connectionEnvironment");
        environment.setCurrentText("本番");
        QVERIFY(isSafe.isChecked());
        environment.setCurrentText("検証");
        QVERIFY(!isSafe.isChecked());
        isSafe.click();
        environment.setCurrentText("本番");
        environment.setCurrentText("指定なし");
        QVERIFY(isSafe.isChecked()); // as it was chosen
        control<QAbstractButton>(dialog, "copyConnection").click();
        type(dialog, "connectionServer", "db3");
        auto &list = control<QTreeWidget>(dialog, "connectionList");
        QCOMPARE(list.topLevelItemCount(), 2);
        // The chosen one is db3, which this hides: Enter must not lead there.
        control<QLineEdit>(dialog, "connectionFilter").setText("DB2");
        QVERIFY(list.topLevelItem(1)->isHidden() != list.topLevelItem(0)->isHidden());
        QCOMPARE(control<QLineEdit>(dialog, "connectionServer").text(), "db2");
        type(dialog, "connectionPassword", "pw"); // nobody was told to keep it
        QTest::keyClick(&control<QLineEdit>(dialog, "connectionFilter"), Qt::Key_Return);
    });
    control<QAbstractButton>(window, "openConnections").click();
    QTRY_VERIFY(stage.session.gCn);
    QCOMPARE(stage.script.connectionStrings.last(),
             "driver={MySQL (内蔵)};server=db2;uid=me;pwd=pw;port=3306;database=stock");
    QCOMPARE(control<QLineEdit>(window, "txtServer").text(), "db2");

    ConnectionStore store(connectionsFile(stage.session));
    store.read();
    QCOMPARE(store.profiles().size(), 2u);
    QVERIFY(std::ranges::all_of(store.profiles(), &ConnectionProfile::isSafe));
    QMenu *menu = control<QMenuBar>(window, "menuBar").actions().first()->menu();
    Q_EMIT menu->aboutToShow();
    QCOMPARE(menu->actions().last()->text(), "倉庫");
    window.close();
    QVERIFY(!readFile(stage.session.gIniPath).contains("pass=o")); // "pw", shifted
}

void ConnectionsTest::whatIsTypedTakesTheMarksOfItsServer()
{
    WindowStage stage;
    const ConnectionProfile profile = saved(stage, "店", PasswordKeeping::Ask);
    QWidget &window = stage.open(new frmTarnwell(stage.session));
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

void ConnectionsTest::aRefusedPasswordIsTypedAnewAndTheRightOneKept()
{
    WindowStage stage;
    const ConnectionProfile profile = saved(stage, "店", PasswordKeeping::File);
    QWidget &window = stage.open(new frmTarnwell(stage.session));
    control<QComboBox>(window, "cboDrivers").setCurrentText(profile.driver());
    stage.script.whyUnreachable = Failure("Access denied", 1045, "28000");
    stage.boxes.expectOk("接続失敗");
    stage.connect("db1");
    const auto &password = control<QLineEdit>(window, "txtPass");
    QVERIFY(window.focusWidget() == &password && password.selectedText() == password.text());
    stage.script.whyUnreachable.reset();
    QTest::keyClicks(window.focusWidget(), "right");
    press(window, {"cmdConnect"});
    QVERIFY(stage.script.connectionStrings.last().contains("pwd=right"));
    ConnectionStore store(connectionsFile(stage.session));
    store.read();
    QCOMPARE(store.find(profile.id)->password, "right");
}

void ConnectionsTest::productionAsksOnceMore()
{
    WindowStage stage;
    const ConnectionProfile profile = saved(stage, "店", PasswordKeeping::File, Environment::Production);
    QWidget &window = stage.open(new frmTarnwell(stage.session));
    const QString caption = window.windowTitle();
    control<QComboBox>(window, "cboDrivers").setCurrentText(profile.driver());
    stage.connect("db1");
    QCOMPARE(window.windowTitle(), caption + " - ［本番］店");
    QVERIFY(control<QLabel>(window, "serverStrip").isVisible());
    press(window, {"cmdShowDb"});
    control<ChosenList>(window, "lstDb").setCurrentRow(0);
    stage.script.sent.clear();
    stage.boxes.expect("本番のサーバー「店」(db1:3306) を変更します。\r\nﾃﾞｰﾀﾍﾞｰｽ削除\r\n続けますか？",
                       QMessageBox::Cancel);
    press(window, {"cmdDropDb"});
    QVERIFY2(stage.script.sent.isEmpty(), qPrintable(stage.script.sent.join(u';')));
    QVERIFY(stage.boxes.seen().last().startsWith(window.windowTitle() + u'|'));
    press(window, {"cmdClose"});
    QCOMPARE(window.windowTitle(), caption);
    QVERIFY(control<QLabel>(window, "serverStrip").isHidden());
}

void ConnectionsTest::aReadOnlyConnectionTurnsWritingOff()
{
    WindowStage stage;
    stage.session.connectBy(
        lasting([&](const QString &string, Pump &) { return stage.script.factory()(string); }), stage.pump);
    const ConnectionProfile profile = saved(stage, "店", PasswordKeeping::File, Environment::None, true);
    QWidget &window = stage.open(new frmTarnwell(stage.session));
    control<QComboBox>(window, "cboDrivers").setCurrentText(profile.driver());
    stage.connect("db1");
    QVERIFY(stage.script.sent.contains("SET SESSION TRANSACTION READ ONLY"));
    QVERIFY(!stage.script.connectionStrings.last().contains("READONLY", Qt::CaseInsensitive));
    press(window, {"cmdShowDb"});
    control<ChosenList>(window, "lstDb").setCurrentRow(0);
    control<ChosenList>(window, "lstTables").setCurrentRow(0);
    for (const char *writing :
         {"cmdCreateDb", "cmdDropDb", "cmdDropTable", "cmdCreateTable", "cmdRepairTable"})
        QVERIFY2(!control<QAbstractButton>(window, writing).isEnabled(), writing);
    QVERIFY(control<QAbstractButton>(window, "cmdScriptBackUp").isEnabled());
}

void ConnectionsTest::whatIsEditedHoldsForTheConnectionThatStands()
{
    WindowStage stage;
    const ConnectionProfile profile = saved(stage, "店", PasswordKeeping::File);
    QWidget &window = stage.open(new frmTarnwell(stage.session));
    control<QComboBox>(window, "cboDrivers").setCurrentText(profile.driver());
    stage.connect("db1");
    press(window, {"cmdShowDb"});
    const auto edit = [&](const std::function<void(QDialog &)> &edits) {
        stage.boxes.expectDialog("connectionsWindow", [edits](QDialog &dialog) {
            QVERIFY(control<QLabel>(dialog, "connectionInUse").isVisible());
            edits(dialog);
            dialog.reject();
        });
        control<QAbstractButton>(window, "openConnections").click();
    };
    edit([&](QDialog &dialog) {
        type(dialog, "connectionName", "本店");
        control<QComboBox>(dialog, "connectionEnvironment").setCurrentText("本番");
        QCOMPARE(control<QTreeWidget>(dialog, "connectionList").currentItem()->text(0), "本店（本番）");
        control<QCheckBox>(dialog, "connectionReadOnly").setChecked(true);
        type(dialog, "connectionPort", "3310");
    });
    QVERIFY2(window.windowTitle().endsWith(" - ［本番・読み取り専用］本店"),
             qPrintable(window.windowTitle()));
    QCOMPARE(stage.script.sent.last(), "SET SESSION TRANSACTION READ ONLY");
    QVERIFY(!control<QAbstractButton>(window, "cmdCreateDb").isEnabled());
    QCOMPARE(stage.session.profile.port, "3306");
    QCOMPARE(control<QPlainTextEdit>(window, "txtError").toPlainText(),
             "接続先「本店」の変更には、次の「接続」から使われるものがあります。");
    edit([&](QDialog &dialog) {
        control<QComboBox>(dialog, "connectionEnvironment").setCurrentText("開発");
        control<QCheckBox>(dialog, "connectionReadOnly").setChecked(false);
    });
    QCOMPARE(stage.session.profile.environment, Environment::Production);
    QVERIFY(stage.session.profile.isReadOnly);
    // The next one has all of it, and so has the panel that it is made from.
    press(window, {"cmdClose"});
    QCOMPARE(control<QLineEdit>(window, "txtPort").text(), "3310");
    press(window, {"cmdConnect"});
    QVERIFY(window.windowTitle().endsWith(" - ［開発］本店"));
    QVERIFY(stage.script.connectionStrings.last().contains("port=3310") &&
            !stage.script.connectionStrings.last().contains("READONLY"));
    QVERIFY(!stage.session.writeBans->contains(profile.id));
}

void ConnectionsTest::whatAnotherProgramEditedHoldsForTheNextConnection()
{
    WindowStage stage;
    const ConnectionProfile before = saved(stage, "店", PasswordKeeping::File);
    QWidget &window = stage.open(new frmTarnwell(stage.session));
    control<QComboBox>(window, "cboDrivers").setCurrentText(before.driver());
    stage.connect("db1");
    ConnectionProfile now = before;
    now.tls.mode = TlsMode::Required;
    ConnectionStore theirs(connectionsFile(stage.session));
    theirs.put(now, before);
    stage.session.gCn->close(); // it breaks: what comes back is the one that stood
    press(window, {"cmdShowDb"});
    QVERIFY(!stage.script.connectionStrings.last().contains("FORCETLS"));
    press(window, {"cmdClose", "cmdConnect"});
    QVERIFY(stage.script.connectionStrings.last().contains("FORCETLS=1"));
    theirs.remove(now);
    press(window, {"cmdClose", "cmdConnect"});
    QVERIFY(!stage.session.profile.isSaved());
    QVERIFY(!stage.script.connectionStrings.last().contains("FORCETLS"));
}

void ConnectionsTest::showingAnotherConnectionInThePanelAsksFirst()
{
    WindowStage stage;
    saved(stage, "店", PasswordKeeping::File);
    QWidget &window = stage.connected<frmTarnwell>();
    for (const auto &[answer, isStill] : {std::pair(QMessageBox::Cancel, true), {QMessageBox::Ok, false}}) {
        stage.boxes.expectDialog("connectionsWindow", [](QDialog &dialog) {
            control<QAbstractButton>(dialog, "fillConnection").click();
        });
        stage.boxes.expect(QStringLiteral("「%1」との接続を切って、「店」を入力欄に写しますか？")
                               .arg(serverName(stage.session)),
                           answer);
        control<QAbstractButton>(window, "openConnections").click();
        QCOMPARE(stage.session.gCn != nullptr, isStill);
        QCOMPARE(control<QLineEdit>(window, "txtServer").text() == "db1", !isStill);
    }
}

void ConnectionsTest::aLostServerComesBackWithTheNextClick()
{
    WindowStage stage;
    stage.session.connectBy(
        lasting([&](const QString &string, Pump &) { return stage.script.factory()(string); }), stage.pump);
    QWidget &window = stage.connected<frmTarnwell>();
    auto &error = control<QPlainTextEdit>(window, "txtError");
    { // ends as where the server is gone
        UndoLog log(stage.session, "変更");
        log.execute({.statement = "do 1", .back = {{"do 2"}}});
    }
    const QString away = "サーバーとの接続が切れました。\nLost connection";
    const QString unreachable = "\nサーバーとの接続が切れていて、つなぎ直せません。\nCan't connect\n"
                                "サーバーに届きません。サーバーが動いているか、名前とポート、"
                                "ファイアウォールを確かめてください。";
    stage.script.whyUnreachable = Failure("Can't connect", 2003);
    stage.script.once("show databases;", Reply::failure("Lost connection", 2013));
    stage.boxes.expectOk(away + unreachable);
    press(window, {"cmdShowDb"});
    stage.boxes.expectOk(unreachable.mid(1));
    press(window, {"cmdShowDb"});
    QCoreApplication::processEvents();
    QVERIFY(!stage.session.gCn->isOpen());

    stage.script.whyUnreachable.reset();
    stage.script.sent.clear();
    press(window, {"cmdShowDb"});
    QCOMPARE(stage.items("lstDb"), QStringList("d"));
    QCOMPARE(error.toPlainText(), "接続が切れたので、つなぎ直しました。");
    QStringList logged;
    for (const LoggedStatement &each : stage.session.statementLog->entries())
        logged << each.statement;
    QCOMPARE(logged.mid(logged.size() - stage.script.sent.size()), stage.script.sent);
    stage.boxes.expectDialog(
        "pendingChanges", [](QDialog &dialog) { control<QAbstractButton>(dialog, "undoPending").click(); });
    stage.boxes.expectOk("変更 を元に戻しました。");
    QTRY_COMPARE(stage.script.sent.last(), "do 2");
}

QTEST_MAIN(ConnectionsTest)
#include "test_connections.moc"
