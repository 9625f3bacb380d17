#include "users/accountstage.h"
#include "users/userstage.h"

#include <QComboBox>
#include <QLabel>

namespace {

const QString flush = QStringLiteral("FLUSH PRIVILEGES");

} // namespace

class FrmUserAddTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void theNewAccountIsChosenAtLoad();
    void anAccountAddedCanLogIn();
    void anAccountIsShownWithItsGrants();
    void aChangeReplacesRightsAndPassword();
    void grantsOnADatabaseAreAddedChangedAndDeleted();
    void grantsOnATableAreAddedChangedAndDeleted();
    void whoMayNotReadMysqlUserSeesNoAccounts();
    void aQuoteInANameIsTheServersToRefuse();
    void typingReplacesThePlaceholder();
    void everyControlHasItsNameAndTip();
    void boxesOfMissingColumnsStayAsTheyWere();

private:
    QString grants(const QString &account) const
    {
        return m_server.run(QStringLiteral("show grants for ") + account);
    }

    TestServer m_server;
};

void FrmUserAddTest::initTestCase()
{
    m_server.run(
        QStringLiteral("create database d1; create table d1.t1 (a int, b int); create table d1.t2 (a int);"
                       "create database d2; create table d2.t (a int); create procedure d1.p() select 1;"
                       "create database `d-3`;"));
}

void FrmUserAddTest::theNewAccountIsChosenAtLoad()
{
    m_server.takeStatements();
    UserStage stage(m_server.nativeString());
    const QStringList statements = m_server.takeStatements();
    // The server logs no ";" at a statement's end.
    QCOMPARE(statements.last(2),
             (QStringList{QStringLiteral("select * from mysql.user"), QStringLiteral("show databases")}));
    QCOMPARE(stage.items("lstUser").first(), QStringLiteral("新規"));
    QVERIFY(stage.items("lstUser").contains(QStringLiteral("%\tdemo")));
    QCOMPARE(stage.control<ChosenList>("lstUser").currentRow(), 0);
    QCOMPARE(stage.items("lstAddDB").first(), QStringLiteral("*"));
    QVERIFY(stage.items("lstAddDB").contains(QStringLiteral("d1")));
    QVERIFY(stage.isEnabled("cmdOk") && stage.isEnabled("txtUser") && stage.isEnabled("txtHost"));
    for (const char *button : {"cmdDelete", "cmdGrantEdit", "cmdDbGrantDel", "cmdDbGrantEdit",
                               "cmdTableGrantDel", "cmdTableGrantEdit", "cmdDbGrantAdd", "cmdTableGrantAdd"})
        QVERIFY2(!stage.isEnabled(button), button);
}

void FrmUserAddTest::anAccountAddedCanLogIn()
{
    UserStage stage(m_server.nativeString());
    stage.type("txtUser", QStringLiteral("anna"));
    stage.type("txtHost", QStringLiteral("%"));
    stage.type("txtPassword", QStringLiteral("geheim"));
    stage.check("ckPrivType_8");
    stage.choose("lstAddDB", QStringLiteral("d1"));
    stage.check("ckDBPrivType_0");
    stage.check("ckDBPrivType_1");
    stage.control<QComboBox>("cboAddDB").setCurrentText(QStringLiteral("d2"));
    stage.choose("lstAddTable", QStringLiteral("t"));
    stage.check("ckTablePrivType_0");
    m_server.takeStatements();
    stage.confirms("ﾕｰｻﾞｰを追加します。", "追加しました。");
    stage.click("cmdOk");
    QStringList sent = m_server.takeStatements();
    // The server itself hides the password in its log.
    sent.first().replace(QStringLiteral("'*****'"), QStringLiteral("'geheim'"));
    QCOMPARE(
        sent,
        (QStringList{QStringLiteral("GRANT PROCESS\r\n   ON *.*   TO 'anna'@\"%\"   IDENTIFIED BY 'geheim'"),
                     flush, QStringLiteral("GRANT SELECT,INSERT\r\n   ON `d1`.*   TO 'anna'@\"%\""), flush,
                     QStringLiteral("GRANT SELECT\r\n   ON `d2`.t   TO 'anna'@\"%\""), flush,
                     QStringLiteral("select * from mysql.user"), QStringLiteral("show databases")}));

    auto connection = createConnection(
        UserStage::loginString(m_server, QStringLiteral("anna"), QStringLiteral("geheim")), stage.pump);
    connection->open();
    connection->execute(QStringLiteral("insert into d1.t1 values (1, 2)"));
    connection->execute(QStringLiteral("select * from d2.t"));
    QVERIFY_THROWS_EXCEPTION(SqlError, connection->execute(QStringLiteral("delete from d1.t1")));
}

void FrmUserAddTest::anAccountIsShownWithItsGrants()
{
    UserStage stage(m_server.nativeString());
    m_server.takeStatements();
    stage.choose("lstUser", QStringLiteral("%\tanna"));
    const QString where = QStringLiteral(" where user = 'anna'   and host = '%'");
    QCOMPARE(m_server.takeStatements(),
             (QStringList{QStringLiteral("select * from mysql.user") + where,
                          QStringLiteral("select * from mysql.db") + where,
                          QStringLiteral("select * from mysql.tables_priv") + where}));
    QCOMPARE(stage.control<QLabel>("lblHostName").text(), QStringLiteral("%"));
    QCOMPARE(stage.control<QLabel>("lblUserName").text(), QStringLiteral("anna"));
    QVERIFY(stage.isChecked("ckPrivType_8") && !stage.isChecked("ckPrivType_0"));
    QCOMPARE(stage.items("lstDB"), QStringList(QStringLiteral("d1")));
    QCOMPARE(stage.items("lstTable"), QStringList(QStringLiteral("d2\tt")));
    QVERIFY(!stage.isEnabled("cmdOk") && stage.isEnabled("cmdDelete") && stage.isEnabled("cmdTableGrantAdd"));

    stage.choose("lstDB", QStringLiteral("d1"));
    QVERIFY(stage.isChecked("ckDBPrivType_1") && !stage.isChecked("ckDBPrivType_2"));
    QCOMPARE(stage.control<ChosenList>("lstAddDB").currentText(), QStringLiteral("d1"));
    stage.choose("lstTable", QStringLiteral("d2\tt"));
    QVERIFY(stage.isChecked("ckTablePrivType_0") && !stage.isChecked("ckTablePrivType_3"));
    QCOMPARE(stage.control<QComboBox>("cboAddDB").currentText(), QStringLiteral("d2"));
    QCOMPARE(stage.control<ChosenList>("lstAddTable").currentText(), QStringLiteral("t"));
    const QStringList statements = m_server.takeStatements();
    QCOMPARE(statements, (QStringList{QStringLiteral("select * from mysql.db") + where +
                                          QStringLiteral("   and db = 'd1'"),
                                      QStringLiteral("select * from mysql.tables_priv") + where +
                                          QStringLiteral("   and db = 'd2'   and table_name = 't'"),
                                      QStringLiteral("show tables from `d2`")}));

    stage.choose("lstUser", QStringLiteral("新規"));
    QCOMPARE(stage.items("lstAddTable"), QStringList());
    QVERIFY(!stage.isChecked("ckPrivType_8") && !stage.isChecked("ckTablePrivType_0"));
}

void FrmUserAddTest::aChangeReplacesRightsAndPassword()
{
    UserStage stage(m_server.nativeString());
    stage.choose("lstUser", QStringLiteral("%\tanna"));
    stage.check("ckPrivType_8", false);
    stage.check("ckPrivType_9");
    m_server.takeStatements();
    stage.confirms("ﾕｰｻﾞｰ権限を変更します。", "変更しました。");
    stage.click("cmdGrantEdit");
    QCOMPARE(UserStage::changesOf(m_server.takeStatements()),
             (QStringList{QStringLiteral("REVOKE GRANT OPTION ON *.* FROM 'anna'@\"%\""), flush,
                          QStringLiteral("REVOKE ALL PRIVILEGES ON *.* FROM 'anna'@\"%\""), flush,
                          QStringLiteral("GRANT FILE\r\n   ON *.*   TO 'anna'@\"%\""), flush}));
    QCOMPARE(stage.control<ChosenList>("lstUser").currentRow(), 0);
    createConnection(UserStage::loginString(m_server, QStringLiteral("anna"), QStringLiteral("geheim")),
                     stage.pump)
        ->open();

    stage.choose("lstUser", QStringLiteral("%\tanna"));
    stage.type("txtPassword", QStringLiteral("neu"));
    stage.confirms("ﾕｰｻﾞｰ権限を変更します。", "変更しました。");
    stage.click("cmdGrantEdit");
    createConnection(UserStage::loginString(m_server, QStringLiteral("anna"), QStringLiteral("neu")),
                     stage.pump)
        ->open();
}

void FrmUserAddTest::grantsOnADatabaseAreAddedChangedAndDeleted()
{
    UserStage stage(m_server.nativeString());
    stage.choose("lstUser", QStringLiteral("%\tanna"));
    stage.choose("lstAddDB", QStringLiteral("d2"));
    stage.click("cmdDbGrantAllCK_0");
    stage.confirms("DB権限を追加します。", "追加しました。");
    stage.click("cmdDbGrantAdd");
    QCOMPARE(stage.items("lstDB"), (QStringList{QStringLiteral("d1"), QStringLiteral("d2")}));
    QVERIFY(!stage.isChecked("ckDBPrivType_0"));

    stage.choose("lstDB", QStringLiteral("d2"));
    QVERIFY(stage.isChecked("ckDBPrivType_16"));
    stage.click("cmdDbGrantAllCK_1");
    stage.check("ckDBPrivType_3");
    stage.confirms("DB権限を変更します。", "変更しました。");
    stage.click("cmdDbGrantEdit");
    QCOMPARE(stage.control<ChosenList>("lstDB").currentText(), QStringLiteral("d2"));
    QVERIFY(stage.isChecked("ckDBPrivType_3") && !stage.isChecked("ckDBPrivType_0"));
    QVERIFY(grants(QStringLiteral("anna@'%'")).contains(QStringLiteral("GRANT DELETE ON `d2`.* TO")));

    stage.dialogue.expectConfirm(QStringLiteral("DB権限を削除します。"), Icon::Critical, true);
    stage.dialogue.expectInform(QStringLiteral("削除しました。"));
    stage.click("cmdDbGrantDel");
    QCOMPARE(stage.items("lstDB"), QStringList(QStringLiteral("d1")));
    QVERIFY(!grants(QStringLiteral("anna@'%'")).contains(QStringLiteral("`d2`.*")));
}

void FrmUserAddTest::grantsOnATableAreAddedChangedAndDeleted()
{
    UserStage stage(m_server.nativeString());
    stage.choose("lstUser", QStringLiteral("%\tanna"));
    stage.control<QComboBox>("cboAddDB").setCurrentText(QStringLiteral("d1"));
    stage.choose("lstAddTable", QStringLiteral("t1"));
    stage.click("cmdTableGrantAllCK_0");
    stage.confirms("TABLE権限を追加します。", "追加しました。");
    stage.click("cmdTableGrantAdd");

    stage.choose("lstTable", QStringLiteral("d1\tt1"));
    stage.choose("lstAddTable", QStringLiteral("t2"));
    stage.check("ckTablePrivType_3", false);
    stage.confirms("TABLE権限を変更します。", "変更しました。");
    stage.click("cmdTableGrantEdit");
    QCOMPARE(stage.items("lstTable"), (QStringList{QStringLiteral("d1\tt2"), QStringLiteral("d2\tt")}));
    QCOMPARE(stage.control<ChosenList>("lstTable").currentText(), QStringLiteral("d1\tt2"));
    QVERIFY(stage.isChecked("ckTablePrivType_2") && !stage.isChecked("ckTablePrivType_3"));

    stage.dialogue.expectConfirm(QStringLiteral("TABLE権限を削除します。"), Icon::Critical, true);
    stage.dialogue.expectInform(QStringLiteral("削除しました。"));
    stage.click("cmdTableGrantDel");
    QCOMPARE(stage.items("lstTable"), QStringList(QStringLiteral("d2\tt")));
}

void FrmUserAddTest::whoMayNotReadMysqlUserSeesNoAccounts()
{
    m_server.run(QStringLiteral("create or replace user poor identified by 'poor'"));
    UserStage stage(UserStage::loginString(m_server, QStringLiteral("poor"), QStringLiteral("poor")));
    QCOMPARE(stage.items("lstUser"), QStringList());
    QCOMPARE(stage.control<QLabel>("lblHostName").text(), QStringLiteral("Host"));
    QVERIFY(!stage.isEnabled("cmdDelete"));
}

void FrmUserAddTest::aQuoteInANameIsTheServersToRefuse()
{
    m_server.run(QStringLiteral("create or replace user `o'neil` identified by 'x'"));
    UserStage stage(m_server.nativeString());
    stage.dialogue.expectRefuse(QStringLiteral(
        "You have an error in your SQL syntax; check the manual that corresponds to your MariaDB server "
        "version for the right syntax to use near 'neil'   and host = '%'' at line 1"));
    stage.choose("lstUser", QStringLiteral("%\to'neil"));
    QVERIFY(stage.isEnabled("cmdDelete"));
}

void FrmUserAddTest::typingReplacesThePlaceholder()
{
    UserStage stage(m_server.nativeString());
    stage.choose("lstUser", QStringLiteral("%\tdemo"));
    auto &box = stage.control<QLineEdit>("txtPassword");
    QCOMPARE(box.text(), QStringLiteral("\r\n\r\n\r\n"));
    QCOMPARE(box.echoMode(), QLineEdit::Password);
    QTest::mouseClick(&box, Qt::LeftButton);
    QCoreApplication::processEvents();
    QTest::keyClicks(&box, QStringLiteral("abc"));
    QCOMPARE(box.text(), QStringLiteral("abc"));

    box.setText(QStringLiteral("\r\n\r\n\r\n"));
    box.deselect();
    QTest::keyClick(&box, Qt::Key_End);
    QTest::keyClicks(&box, QStringLiteral("x"));
    QCOMPARE(box.text(), QStringLiteral("x"));
}

void FrmUserAddTest::everyControlHasItsNameAndTip()
{
    UserStage stage(m_server.nativeString());
    QCOMPARE(stage.window->windowTitle(), QStringLiteral("ﾕｰｻﾞｰ設定"));
    const std::pair<const char *, std::span<const Privilege>> arrays[] = {
        {"ckPrivType_%1", globalPrivileges()},
        {"ckDBPrivType_%1", databasePrivileges()},
        {"ckTablePrivType_%1", tablePrivileges()}};
    for (const auto &[name, privileges] : arrays) {
        for (std::size_t i = 0; i < privileges.size(); ++i) {
            const auto &box = stage.control<QCheckBox>(qPrintable(QString::fromLatin1(name).arg(i)));
            QCOMPARE(box.text(), privileges[i].caption.toString());
            QVERIFY(!box.toolTip().isEmpty());
        }
    }
}

void FrmUserAddTest::boxesOfMissingColumnsStayAsTheyWere()
{
    AccountStage stage;
    stage.script.always(QStringLiteral("select * from mysql.user"),
                        Reply::table({QStringLiteral("Host"), QStringLiteral("User")},
                                     {{QStringLiteral("%"), QStringLiteral("u")}}));
    stage.script.always(QStringLiteral("select * from mysql.user where user = 'u'   and host = '%'"),
                        Reply::table({QStringLiteral("select_priv"), QStringLiteral("Insert_priv"),
                                      QStringLiteral("Update_priv"), QStringLiteral("Delete_priv")},
                                     {{QStringLiteral("Y"), QStringLiteral("N"), QString(), std::nullopt}}));
    frmUserAdd window(stage.session, nullptr, &stage.dialogue);
    const auto box = [&window](const char *name) {
        return window.findChild<QCheckBox *>(QLatin1String(name));
    };
    for (const char *name : {"ckPrivType_1", "ckPrivType_2", "ckPrivType_3", "ckPrivType_21"})
        box(name)->setChecked(true);
    window.findChild<ChosenList *>(QStringLiteral("lstUser"))->setCurrentRow(1);
    QVERIFY(box("ckPrivType_0")->isChecked());
    QCOMPARE(box("ckPrivType_0")->property("tag").toString(), QStringLiteral("1"));
    for (const char *name : {"ckPrivType_1", "ckPrivType_2", "ckPrivType_3"})
        QVERIFY2(!box(name)->isChecked(), name);
    QCOMPARE(box("ckPrivType_1")->property("tag").toString(), QStringLiteral("0"));
    QVERIFY(box("ckPrivType_21")->isChecked());
}

QTEST_MAIN(FrmUserAddTest)
#include "test_frmuseradd.moc"
