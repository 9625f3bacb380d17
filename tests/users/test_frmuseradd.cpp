#include "support/gui/stage.h"
#include "users/frmUserAdd.h"

#include <QAction>

namespace {

// The window on a real server, with a scripted user before it.
struct UserStage : Stage {
    explicit UserStage(const QString &connectionString)
        : Stage(connectionString)
    {
        open(new frmUserAdd(session, nullptr, &dialogue));
    }
};

} // namespace

// What the window's lists and boxes show, and one click on each of its commands that adds.
class FrmUserAddTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        m_server.run("create database d1; create table d1.t1 (a int, b int); create table d1.t2 (a int);"
                     "create database d2; create table d2.t (a int); create user poor identified by 'poor'");
    }
    void anAccountIsAddedShownAndGranted();
    void typingReplacesThePlaceholder();
    void boxesOfMissingColumnsStayAsTheyWere();
    void boxesOfAnotherAccountDoNotStay_data();
    void boxesOfAnotherAccountDoNotStay();

private:
    TestServer m_server;
};

// One click on each command that adds, and what the window shows then.
void FrmUserAddTest::anAccountIsAddedShownAndGranted()
{
    QVERIFY(UserStage(m_server.nativeString().replace("demo", "poor"))
                .items("lstUser")
                .isEmpty()); // may not read them
    m_server.takeStatements();
    UserStage stage(m_server.nativeString());
    // The server logs no ";" at a statement's end.
    QCOMPARE(m_server.takeStatements().last(2), (QStringList{"select * from mysql.user", "show databases"}));
    QCOMPARE(stage.chosen("lstUser"), "新規");
    QVERIFY(stage.isEnabled("cmdOk") && stage.isEnabled("txtUser") && !stage.isEnabled("cmdDelete"));
    stage.type("txtUser", "anna");
    stage.type("txtHost", "%");
    stage.type("txtPassword", "geheim");
    stage.check("ckPrivType_8");
    stage.choose("lstAddDB", "d1");
    stage.check("ckDBPrivType_1");
    stage.control<QComboBox>("cboAddDB")->setCurrentText("d2");
    stage.choose("lstAddTable", "t");
    stage.check("ckTablePrivType_0");
    stage.does("ﾕｰｻﾞｰを追加します。", "cmdOk", "追加しました。");
    QVERIFY(m_server.accepts("anna", "geheim"));

    m_server.takeStatements();
    stage.choose("lstUser", "%\tanna");
    const QString where = " where user = 'anna'   and host = '%'";
    QCOMPARE(m_server.takeStatements(),
             (QStringList{"select * from mysql.user" + where, "select * from mysql.db" + where,
                          "select * from mysql.tables_priv" + where}));
    QVERIFY(stage.isChecked("ckPrivType_8") && !stage.isChecked("ckPrivType_0"));
    QVERIFY(!stage.isEnabled("cmdOk") && stage.isEnabled("cmdDelete") && stage.isEnabled("cmdTableGrantAdd"));
    stage.choose("lstDB", "d1");
    QVERIFY(stage.isChecked("ckDBPrivType_1") && !stage.isChecked("ckDBPrivType_2"));
    stage.choose("lstTable", "d2\tt");
    QVERIFY(stage.isChecked("ckTablePrivType_0") && !stage.isChecked("ckTablePrivType_3"));
    QCOMPARE(stage.chosen("lstAddDB") + stage.control<QComboBox>("cboAddDB")->currentText(), "d1d2");
    QCOMPARE(m_server.takeStatements(), (QStringList{"select * from mysql.db" + where + "   and db = 'd1'",
                                                     "select * from mysql.tables_priv" + where +
                                                         "   and db = 'd2'   and table_name = 't'",
                                                     "show tables from `d2`"}));

    stage.choose("lstAddDB", "d2");
    stage.click("cmdDbGrantAllCK_0");
    stage.does("DB権限を追加します。", "cmdDbGrantAdd", "追加しました。");
    QCOMPARE(stage.items("lstDB"), (QStringList{"d1", "d2"}));
    stage.choose("lstDB", "d2");
    QVERIFY(stage.isChecked("ckDBPrivType_16"));
    stage.does("DB権限を削除します。", "cmdDbGrantDel", "削除しました。", Icon::Critical);
    QCOMPARE(stage.items("lstDB"), QStringList("d1"));
    stage.control<QComboBox>("cboAddDB")->setCurrentText("d1");
    stage.choose("lstAddTable", "t1");
    stage.click("cmdTableGrantAllCK_0");
    stage.does("TABLE権限を追加します。", "cmdTableGrantAdd", "追加しました。");
    stage.choose("lstTable", "d1\tt1");
    stage.choose("lstAddTable", "t2");
    stage.check("ckTablePrivType_3", false);
    stage.does("TABLE権限を変更します。", "cmdTableGrantEdit", "変更しました。");
    QCOMPARE(stage.items("lstTable") + QStringList(stage.chosen("lstTable")),
             (QStringList{"d1\tt2", "d2\tt", "d1\tt2"}));

    // No command acts on what is not chosen.
    m_server.run("grant select on gone.* to anna");
    stage.choose("lstUser", "%\tanna");
    stage.choose("lstDB", "gone");
    stage.dialogue.expectInform("DBを選択して下さい。");
    stage.click("cmdDbGrantEdit");
    QVERIFY(m_server.run("show grants for anna").contains("`gone`.*"));
    stage.choose("lstUser", "新規");
    QCOMPARE(stage.items("lstAddTable").size() + stage.control<QLabel>("lblDbName")->text().size(), 0);
    QVERIFY(!stage.isChecked("ckPrivType_8") && !stage.isChecked("ckTablePrivType_0"));

    // What the boxes do not show is shown elsewhere, when this window has gone.
    auto &window = static_cast<frmUserAdd &>(*stage.window);
    auto &details = *window.findChild<QAction *>("privilegeDetails");
    details.trigger(); // of the new account: of nobody
    QVERIFY(window.isVisible() && !window.wantedAccount());
    stage.choose("lstUser", "%\tanna");
    details.trigger();
    QVERIFY(!window.isVisible() && window.wantedAccount() && window.wantedAccount()->user == "anna");
}

void FrmUserAddTest::typingReplacesThePlaceholder()
{
    UserStage stage(m_server.nativeString());
    stage.choose("lstUser", "%\tdemo");
    auto &box = *stage.control<QLineEdit>("txtPassword");
    QCOMPARE(box.echoMode(), QLineEdit::Password);
    QTest::mouseClick(&box, Qt::LeftButton);
    QCoreApplication::processEvents();
    QTest::keyClicks(&box, "abc");
    QCOMPARE(box.text(), "abc");

    box.setText("\r\n\r\n\r\n");
    box.deselect();
    QTest::keyClick(&box, Qt::Key_End);
    QTest::keyClicks(&box, "x");
    QCOMPARE(box.text(), "x");
}

void FrmUserAddTest::boxesOfMissingColumnsStayAsTheyWere()
{
    ScriptedStage stage;
    stage.script.always("select * from mysql.user", Reply::table({"Host", "User"}, {{"%", "u"}}));
    stage.script.always("select * from mysql.user where user = 'u'   and host = '%'",
                        Reply::table({"select_priv", "Insert_priv", "Update_priv", "Delete_priv"},
                                     {{"Y", "N", QString(), std::nullopt}}));
    stage.open(new frmUserAdd(stage.session, nullptr, &stage.dialogue));
    const auto box = [&](int i) {
        return stage.control<QCheckBox>(qPrintable(QStringLiteral("ckPrivType_%1").arg(i)));
    };
    for (const int i : {1, 2, 3, 21})
        box(i)->setChecked(true);
    stage.choose("lstUser", 1);
    QVERIFY(box(0)->isChecked() && box(21)->isChecked());
    for (const int i : {1, 2, 3})
        QVERIFY2(!box(i)->isChecked(), qPrintable(box(i)->objectName()));
}

void FrmUserAddTest::boxesOfAnotherAccountDoNotStay_data()
{
    // The list and its item, the box, and the statement that reads them; whether there is no row any more.
    const Rows<QByteArray, QString, QByteArray, QString, bool> row;
    const QString where = " where user = 'b'   and host = '%'", on = where + "   and db = 'd2'";
    row("account", "lstUser", "%\tb", "ckPrivType_0", "select * from mysql.user" + where, false);
    row("gone account", "lstUser", "%\tb", "ckPrivType_0", "select * from mysql.user" + where, true);
    row("its tables", "lstUser", "%\tb", "ckPrivType_0", "select * from mysql.tables_priv" + where, false);
    row("database", "lstDB", "d2", "ckDBPrivType_0", "select * from mysql.db" + on, false);
    row("gone database", "lstDB", "d2", "ckDBPrivType_0", "select * from mysql.db" + on, true);
    row("table", "lstTable", "d2\tt", "ckTablePrivType_0",
        "select * from mysql.tables_priv" + on + "   and table_name = 't'", false);
}

// A change would give them to this one.
void FrmUserAddTest::boxesOfAnotherAccountDoNotStay()
{
    const auto [list, item, box, statement, isGone] =
        fetched<QByteArray, QString, QByteArray, QString, bool>();
    ScriptedStage stage;
    stage.script.always("select * from mysql.user", Reply::table({"Host", "User"}, {{"%", "a"}, {"%", "b"}}));
    for (const QString &user : {QString("a"), QString("b")}) {
        const QString where = " where user = '" + user + "'   and host = '%'";
        stage.script.always("select * from mysql.user" + where, Reply::table({"Select_priv"}, {{"Y"}}));
        stage.script.always("select * from mysql.db" + where, Reply::table({"Db"}, {{"d2"}}));
        stage.script.always("select * from mysql.tables_priv" + where,
                            Reply::table({"Db", "Table_name"}, {{"d2", "t"}}));
    }
    const bool isAccount = list == "lstUser", isTold = !isGone || isAccount;
    stage.script.always(statement,
                        isGone ? Reply::table({"Select_priv", "Table_priv"}) : Reply::failure("cut off"));
    stage.open(new frmUserAdd(stage.session, nullptr, &stage.dialogue));
    stage.choose("lstUser", isAccount ? "%\ta" : "%\tb");
    stage.control<QCheckBox>(box)->setChecked(true);
    if (isTold)
        stage.dialogue.expectRefuse(isGone ? "このアカウントの行が、サーバーにありません。" : "cut off");
    stage.choose(list, item);
    QVERIFY(!stage.isChecked(box));
    QCOMPARE(stage.isEnabled("cmdGrantEdit"), !isAccount);
    for (const char *label : {"lblDbName", "lblTableName"})
        QVERIFY(isGone || stage.control<QLabel>(label)->text().isEmpty());
}

QTEST_MAIN(FrmUserAddTest)
#include "test_frmuseradd.moc"
