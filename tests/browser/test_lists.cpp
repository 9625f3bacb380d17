#include "browser/frmTarnwell.h"
#include "controls/windowpump.h"
#include "core/basconnection.h"
#include "support/gui/boxes.h"
#include "support/scriptedconnection.h"

#include <QTemporaryDir>
#include <QTest>

// The window's lists and detail over a scripted server: which statements are sent, word for word, and what
// the controls show of the answers.
class ListsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void showingDatabasesResetsEverythingBelow();
    void aDatabaseClickSendsItsStatementsInOrder();
    void routinesThatCannotBeListedAreLeftOutSilently();
    void aTableClickSendsFourStatements();
    void aViewIsLaidOut();
    void anObjectThatCannotBeReadCanOnlyBeDropped();
    void aRoutineIsLoadedWithoutBackticks();
    void columnsBecomeRecords_data();
    void columnsBecomeRecords();
    void clickingTheSameItemAgainAsksTheServerAgain();

private:
    template <class Control>
    Control *control(const char *name) const
    {
        auto *found = m_window->findChild<Control *>(QLatin1String(name));
        Q_ASSERT(found);
        return found;
    }
    ChosenList *list(const char *name) const { return control<ChosenList>(name); }
    QString label(const char *name) const { return control<QLabel>(name)->text(); }
    bool isEnabled(const char *name) const { return control<QWidget>(name)->isEnabled(); }
    void click(const char *name) { QTest::mouseClick(control<QPushButton>(name), Qt::LeftButton); }
    void choose(const char *name, int row)
    {
        ChosenList *box = list(name);
        QTest::mouseClick(box->viewport(), Qt::LeftButton, {}, box->visualItemRect(box->item(row)).center());
    }
    // Answers as a server would that has database "d" with a table, a view and a broken view.
    void openDatabase();

    QTemporaryDir m_folder;
    Script m_script;
    std::unique_ptr<WindowPump> m_pump;
    std::unique_ptr<Session> m_session;
    std::unique_ptr<frmTarnwell> m_window;
};

void ListsTest::init()
{
    failOnAnyWarning();
    m_script = Script();
    m_pump = std::make_unique<WindowPump>();
    m_session = std::make_unique<Session>();
    m_session->programFolder = m_folder.path();
    m_session->makeConnection = m_script.factory();
    m_window = std::make_unique<frmTarnwell>(*m_session, *m_pump);
    m_window->show();
    control<QLineEdit>("txtServer")->setText(QStringLiteral("localhost"));
    control<QLineEdit>("txtUser")->setText(QStringLiteral("u"));
    click("cmdConnect");
    QVERIFY(m_session->gCn);
    m_script.always(QStringLiteral("show databases;"), Reply::table({"Database"}, {{"d"}, {"e"}}));
}

void ListsTest::cleanup()
{
    m_window.reset();
    m_session.reset();
}

void ListsTest::openDatabase()
{
    m_script.always(QStringLiteral("show tables from `d`;"),
                    Reply::table({"Tables_in_d"}, {{"t"}, {"v"}, {"order"}, {"gone"}}));
    m_script.always(QStringLiteral("show create table `d`.t;"),
                    Reply::table({"Table", "Create Table"}, {{"t", "CREATE TABLE `t` (\n  `a` int\n)"}}));
    m_script.always(
        QStringLiteral("show create table `d`.v;"),
        Reply::table({"View", "Create View"},
                     {{"v", "CREATE DEFINER=`x` VIEW `v` AS select 1 AS `a`,2 AS `b` from `t`"}}));
    m_script.always(QStringLiteral("show create table `d`.order;"),
                    Reply::failure(QStringLiteral("syntax"), 1064));
    m_script.always(QStringLiteral("show create table `d`.gone;"), Reply::table({"Table"}));
    m_script.always(QStringLiteral("show procedure status ;"),
                    Reply::table({"Db", "Name"}, {{"d", "p"}, {"D", "other"}, {"e", "q"}}));
    m_script.always(QStringLiteral("show function status"), Reply::table({"Db", "Name"}, {{"d", "f"}}));
    m_script.always(QStringLiteral("show table status from `d` ;"),
                    Reply::table({"Name", "Rows"}, {{"t", "3"}, {"v", std::nullopt}}));
    m_script.always(QStringLiteral("show table status from `d`;"),
                    Reply::table({"Name", "Rows"}, {{"t", "3"}, {"v", std::nullopt}}));
    click("cmdShowDb");
    m_script.sent.clear();
    choose("lstDb", 0);
}

void ListsTest::showingDatabasesResetsEverythingBelow()
{
    openDatabase();
    m_script.sent.clear();
    click("cmdShowDb");
    QCOMPARE(m_script.sent, QStringList{"show databases;"});
    QCOMPARE(list("lstDb")->texts(), (QStringList{"d", "e"}));
    QCOMPARE(list("lstTables")->count(), 0);
    QCOMPARE(list("lstProcFunc")->count(), 0);
    QCOMPARE(m_session->gDbName, QString());
    QCOMPARE(label("lblPreTable") + label("lblCkTableName"), QString());
    QVERIFY(isEnabled("cmdDropDb") && isEnabled("cmdExec") && isEnabled("cmdCheckTable"));
    // Only a driver that names the server "localhost" offers the files of the server's machine.
    QVERIFY(!isEnabled("cmdBackup") && !isEnabled("cmdRestore") && !isEnabled("cmdInOut"));
}

void ListsTest::aDatabaseClickSendsItsStatementsInOrder()
{
    openDatabase();
    QCOMPARE(m_script.sent, (QStringList{"show tables from `d`;", "show create table `d`.t;",
                                         "show create table `d`.v;", "show create table `d`.order;",
                                         "show create table `d`.gone;", "show procedure status ;",
                                         "show function status", "show table status from `d` ;"}));
    QCOMPARE(list("lstTables")->texts(), (QStringList{"[TABLE]\tt", "[VIEW]\tv", "[ERROR]\torder"}));
    QCOMPARE(list("lstProcFunc")->texts(), (QStringList{"[PROC]\tp", "[FUNC]\tf"}));
    QCOMPARE(label("lblCkTableName"), QStringLiteral("d全ﾃｰﾌﾞﾙ"));
    QCOMPARE(label("lblPreTable"), QStringLiteral("0"));
    QCOMPARE(label("lblEditName"), QStringLiteral("編集????:"));
    auto *status = control<FlexGrid>("flGrid_Status");
    QCOMPARE(status->rowCount(), 2);
    QCOMPARE(status->text(1, 1), QStringLiteral("NULL"));
    QVERIFY(!isEnabled("cmdDropTable") && !isEnabled("cmdDataGet"));
}

void ListsTest::routinesThatCannotBeListedAreLeftOutSilently()
{
    m_script.once(QStringLiteral("show procedure status ;"), Reply::failure(QStringLiteral("no such thing")));
    openDatabase();
    QCOMPARE(list("lstProcFunc")->texts(), QStringList{"[FUNC]\tf"});
    QCOMPARE(m_script.sent.last(), QStringLiteral("show table status from `d` ;"));
}

void ListsTest::aTableClickSendsFourStatements()
{
    openDatabase();
    m_script.always(QStringLiteral("show full fields from `d`.t;"),
                    Reply::table({"Field", "Type", "Default"}, {{"a", "int", std::nullopt}}));
    m_script.always(QStringLiteral("show index from `d`.t;"),
                    Reply::table({"Key_name", "Sub_part"}, {{"PRIMARY", std::nullopt}}));
    m_script.sent.clear();
    choose("lstTables", 0);
    QCOMPARE(m_script.sent, (QStringList{"show full fields from `d`.t;", "show create table `d`.t;",
                                         "show table status from `d`;", "show index from `d`.t;"}));
    QCOMPARE(label("lblTableName"), QStringLiteral("t"));
    QCOMPARE(label("lblCkTableName"), QStringLiteral("t"));
    QCOMPARE(label("lblPreTable"), QStringLiteral("1"));
    QCOMPARE(label("lblEditName"), QStringLiteral("編集ﾃｰﾌﾞﾙ:"));
    QCOMPARE(control<SqlTextBox>("txtField")->contents(), QStringLiteral("CREATE TABLE t (\r\n  a int\r\n)"));
    QCOMPARE(label("lblCreateTable"), QStringLiteral("CREATE TABLE t (\r\n  a int\r\n)"));
    QCOMPARE(control<FlexGrid>("flGrid_Field")->text(0, 2), QString());
    QCOMPARE(control<FlexGrid>("flGrid_Index")->text(0, 1), QStringLiteral("NULL"));
    QCOMPARE(control<FlexGrid>("flGrid_Status")->rowCount(), 1);
    QCOMPARE(m_session->gOldFields.size(), std::size_t(2));
    QCOMPARE(m_session->gOldFields[1].Default, QStringLiteral(" DEFAULT NULL"));
    QVERIFY(isEnabled("cmdDropTable") && isEnabled("cmdCreateTable") && isEnabled("cmdDataGet"));
    QVERIFY(!isEnabled("cmdInOut"));
}

void ListsTest::aViewIsLaidOut()
{
    openDatabase();
    choose("lstTables", 1);
    QCOMPARE(label("lblEditName"), QStringLiteral("編集VIEW:"));
    QCOMPARE(control<SqlTextBox>("txtField")->contents(),
             QStringLiteral("CREATE VIEW v AS \r\nselect 1 AS a,\r\n\t2 AS b \r\n from t"));
}

void ListsTest::anObjectThatCannotBeReadCanOnlyBeDropped()
{
    openDatabase();
    choose("lstTables", 0);
    m_script.always(QStringLiteral("show full fields from `d`.order;"),
                    Reply::failure(QStringLiteral("bad name")));
    Boxes boxes;
    boxes.expectOk(QStringLiteral("bad name"));
    choose("lstTables", 2);
    QCOMPARE(label("lblTableName"), QStringLiteral("order"));
    QCOMPARE(control<QPlainTextEdit>("txtError")->toPlainText(), QStringLiteral("bad name"));
    QVERIFY(isEnabled("cmdDropTable"));
    QVERIFY(!isEnabled("cmdCreateTable") && !isEnabled("cmdDataGet"));
}

void ListsTest::aRoutineIsLoadedWithoutBackticks()
{
    openDatabase();
    m_script.always(QStringLiteral("show create procedure `d`.p;"),
                    Reply::table({"Procedure", "sql_mode", "Create Procedure"},
                                 {{"p", "", "CREATE PROCEDURE `p`()\nselect `a`"}}));
    control<QRadioButton>("optTP_1")->click();
    choose("lstProcFunc", 0);
    QCOMPARE(control<SqlTextBox>("txtProc")->contents(), QStringLiteral("CREATE PROCEDURE p()\r\nselect a"));
    QCOMPARE(label("lblEditProcName"), QStringLiteral("編集Proc："));
    QCOMPARE(label("lblProcName"), QStringLiteral("p"));
    QVERIFY(isEnabled("cmdDropProc") && isEnabled("cmdCreateProc"));
    // The two sets of option buttons do not disturb each other, though one lies in a panel beside the other.
    QVERIFY(control<QRadioButton>("optTP_1")->isChecked() && control<QRadioButton>("optField_1")->isChecked());
    choose("lstDb", 0);
    QVERIFY(control<QRadioButton>("optTP_0")->isChecked() && control<QRadioButton>("optField_1")->isChecked());
    control<QRadioButton>("optField_3")->click();
    control<QRadioButton>("optTP_0")->click();
    QVERIFY(control<QRadioButton>("optTP_0")->isChecked() && control<QRadioButton>("optField_3")->isChecked());
}

void ListsTest::columnsBecomeRecords_data()
{
    QTest::addColumn<QStringList>("row"); // Field, Type, Null, Key, Default, Extra, Privileges; "-" is NULL
    QTest::addColumn<QStringList>("record");
    QTest::newRow("nullable") << QStringList{"a", "int(11)", "YES", "", "-", "", "select"}
                              << QStringList{" a", " int(11)", " ", "", " DEFAULT NULL", "", " select"};
    QTest::newRow("not null, default 0")
        << QStringList{"a", "int", "NO", "PRI", "0", "auto_increment", ""}
        << QStringList{" a", " int", " not null", "PRI", " DEFAULT", "", " "};
    QTest::newRow("NULL everywhere") << QStringList{"-", "-", "-", "-", "-", "-", "-"}
                                     << QStringList{" ", " ", " not null", "", " DEFAULT NULL", "", " "};
}

void ListsTest::columnsBecomeRecords()
{
    QFETCH(QStringList, row);
    std::vector<std::optional<QString>> values;
    for (const QString &value : row)
        values.push_back(value == u"-" ? std::nullopt : std::optional(value));
    openDatabase();
    m_script.once(QStringLiteral("show full fields from `d`.t;"),
                  Reply::table({"Field", "Type", "Null", "Key", "Default", "Extra", "Privileges"}, {values}));
    choose("lstTables", 0);
    const FieldRec &got = m_session->gOldFields[1];
    QTEST((QStringList{got.Field, got.Type, got.Null, got.Key, got.Default, got.Extra, got.Privileges}),
          "record");
}

void ListsTest::clickingTheSameItemAgainAsksTheServerAgain()
{
    openDatabase();
    const qsizetype once = m_script.sent.size();
    choose("lstDb", 0);
    QCOMPARE(m_script.sent.size(), 2 * once);
}

QTEST_MAIN(ListsTest)
#include "test_lists.moc"
