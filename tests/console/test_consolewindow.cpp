#include "console/consolestage.h"
#include "console/history.h"
#include "core/session/wholefile.h"

#include <QMimeData>

#include <thread>

// The window of the console: when it connects, and what it keeps.
class ConsoleWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void activationShowsWhatIsConnected();
    void anActivationDuringARunIsNone();
    void aCommandOfTheMainWindowIsNotDisturbed();
    void optionsSurviveTheWindow();
    void fontsScaleOnlyWhenChosen();
    void variablesAreReadWithOneStatementAndDeletedInBothLists();
    void aDroppedFileReplacesTheStatement();
    void statementsComeBackAfterARestart();
    void whatWasBeingWrittenSurvivesAKill();
    void twoProgramsShareTheHistory();
};

void ConsoleWindowTest::activationShowsWhatIsConnected()
{
    for (const auto &[dataSource, database, connects, state] :
         {std::tuple("(なし)", "shop", true, "shop:接続OK"),
          {"(なし)", "", true, "ﾃﾞｰﾀﾍﾞｰｽが選択されていません。"},
          {"demo", "shop", true, "demo:接続OK"},
          {"(なし)", "shop", false, "接続失敗･･･"}}) {
        ScriptedConsole console;
        console.session.gDsn = dataSource;
        console.session.gDbName = database;
        console.connects = connects;
        console.open();
        if (!connects)
            console.dialogue->expectRefuse("接続失敗");
        console.window->show();
        QTRY_COMPARE(console.connections, 1);
        QCOMPARE(console.control<QLabel>("lblState").text(), state);
    }
}

void ConsoleWindowTest::anActivationDuringARunIsNone()
{
    ScriptedConsole console;
    console.open();
    console.window->show();
    QTRY_COMPARE(console.connections, 1);
    console.dialogue->expectInform("正常終了");
    console.script.beforeAnswer = [&](const QString &) {
        goTo(console.main);
        goTo(*console.window);
    };
    console.run("set @a = 1");
    QTest::qWait(300); // nor is it made up for afterwards: @a would be gone
    QCOMPARE(console.connections, 1);
}

void ConsoleWindowTest::aCommandOfTheMainWindowIsNotDisturbed()
{
    ScriptedConsole console;
    console.open();
    console.session.runner.run(&console.main, "a command", [&] {
        for (int i = 0; i < 2; ++i) {
            goTo(console.main);
            goTo(*console.window);
        }
        console.type("set @a = 1");
        for (const char *button : {"cmdExec", "cmdAnalyze", "cmdVariable"})
            console.button(button).click();
        QTest::keyClick(&console.control<SqlTextBox>("txtSql"), Qt::Key_Space, Qt::ControlModifier);
        QCOMPARE(console.script.sent, QStringList());
        QCOMPARE(console.connections, 0);
    });
    // Both activations are made up for, by one connection: a second one would end what the first one's has.
    QTRY_COMPARE(console.connections, 1);
    QTest::qWait(50);
    QCOMPARE(console.connections, 1);
}

void ConsoleWindowTest::optionsSurviveTheWindow()
{
    ScriptedConsole console;
    console.session.gVariables = {{"old"}};
    console.open();
    QVERIFY(console.session.gSqlOpen);
    console.control<QCheckBox>("ckMemo_0").setChecked(true);
    console.control<QRadioButton>("optFont_0").setChecked(true);
    console.control<QComboBox>("cboDelimiter").setCurrentIndex(3);
    console.control<QLineEdit>("txtVariablename").setText("@new");
    console.button("cmdVariable").click();

    console.window->show();
    console.window->close();
    QTRY_VERIFY(!console.window);

    const Session &kept = console.session;
    QVERIFY(!kept.gSqlOpen);
    QCOMPARE(QStringList({kept.gNoTextNoGrid, kept.gMemo1, kept.gMemo2, kept.gFont, kept.gDelimiter}),
             QStringList({"0", "1", "0", "0", "ｺﾝﾏ"}));
    console.open();
    QCOMPARE(console.control<ChosenList>("lstVariablename").texts(), QStringList({"old", "new"}));
}

void ConsoleWindowTest::fontsScaleOnlyWhenChosen()
{
    ScriptedConsole console;
    console.session.gFont = QStringLiteral("0");
    console.open();
    console.window->show();
    QTRY_COMPARE(console.connections, 1);
    const auto points = [&] { return console.control<ChosenList>("lstVariable").font().pointSizeF(); };
    const double designed = points();
    console.window->resize(console.window->size() * 2);
    QCOMPARE(points(), designed);
    console.control<QRadioButton>("optFont_1").click();
    QCOMPARE(points(), designed * 2);
}

void ConsoleWindowTest::variablesAreReadWithOneStatementAndDeletedInBothLists()
{
    ScriptedConsole console;
    console.session.gVariables = {{"a"}, {"b"}};
    console.script.always("select @a,@b,@c",
                          Reply::table({"@a", "@b", "@c"}, {{"1", std::nullopt, QString()}}));
    console.script.always("select @a,@c,@x y", Reply::failure("syntax"));
    console.open();
    auto &name = console.control<QLineEdit>("txtVariablename");
    const auto &names = console.control<ChosenList>("lstVariablename");
    auto &values = console.control<ChosenList>("lstVariable");
    name.setText("@@c");
    QTest::keyClick(&name, Qt::Key_Return);
    QCOMPARE(values.texts(), QStringList({"1", "NULL", ""}));
    values.setCurrentRow(1);
    QCOMPARE(name.text(), "b");
    QTest::keyClick(&values, Qt::Key_Delete);
    QCOMPARE(names.texts(), QStringList({"a", "c"}));
    QCOMPARE(values.texts(), QStringList({"1", ""}));
    name.setText("x y");
    console.button("cmdVariable").click();
    QCOMPARE(values.texts(), QStringList());
    QCOMPARE(names.texts(), QStringList({"a", "c", "x y"}));
}

void ConsoleWindowTest::aDroppedFileReplacesTheStatement()
{
    ScriptedConsole console;
    console.open();
    auto &box = console.control<SqlTextBox>("txtSql");
    const QString path = console.folder.filePath("a b.sql");
    writeFile(path, "select '\x95\x5C\x8E\xA6'\n"); // CP932
    QMimeData data;
    const auto drop = [&] {
        QDragEnterEvent enter(box.viewport()->rect().center(), Qt::CopyAction | Qt::MoveAction, &data,
                              Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(box.viewport(), &enter);
        QDropEvent event(box.viewport()->rect().center(), Qt::CopyAction | Qt::MoveAction, &data,
                         Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(box.viewport(), &event);
        QCOMPARE(event.dropAction(), Qt::CopyAction);
    };
    console.type("was here");
    data.setUrls({QUrl::fromLocalFile(path), QUrl::fromLocalFile("/second/file")});
    drop();
    QCOMPARE(box.contents(), "select '表示'\r\n");
    data.setUrls({QUrl::fromLocalFile("/no/such/file")});
    console.dialogue->expectRefuse("/no/such/file: No such file or directory");
    drop();
    box.undo();
    QCOMPARE(box.contents(), "was here");
}

void ConsoleWindowTest::statementsComeBackAfterARestart()
{
    ScriptedConsole console;
    console.open();
    for (const char *statement : {"do 1", "set password = 'secret'", "do 2", "do 3", "do 2"}) {
        console.runWithoutRows(QLatin1String(statement));
    }
    console.type("not run");
    console.window->resize(700, 502);
    delete console.window;
    QVERIFY(!readFile(console.folder.filePath("history.json")).contains("secret"));

    console.open();
    console.window->show();
    QVERIFY(QTest::qWaitForWindowActive(console.window));
    QCOMPARE(console.window->height(), 502);
    auto &box = console.control<SqlTextBox>("txtSql");
    console.type("draft");
    QStringList seen;
    for (const auto key : {Qt::Key_Up, Qt::Key_Up, Qt::Key_Up, Qt::Key_Up, Qt::Key_Down, Qt::Key_Down,
                           Qt::Key_Down, Qt::Key_Down}) {
        QTest::keyClick(&box, key, Qt::AltModifier);
        seen << box.contents();
    }
    QCOMPARE(seen, QStringList({"not run", "do 2", "do 3", "do 1", "do 3", "do 2", "not run", "draft"}));
    for (const QKeyCombination key : {QKeyCombination(Qt::Key_F5), Qt::CTRL | Qt::Key_Return}) {
        console.type("do 9");
        console.dialogue->expectInform("正常終了");
        QTest::keyClick(&box, key.key(), key.keyboardModifiers());
    }
    QCOMPARE(console.script.sent.mid(console.script.sent.size() - 2), (QStringList{"do 9", "do 9"}));
}

void ConsoleWindowTest::whatWasBeingWrittenSurvivesAKill()
{
    ScriptedConsole console;
    console.open();
    console.type("select 漢 -- draft");
    const QDir folder(console.folder.filePath("console"));
    QTRY_COMPARE_WITH_TIMEOUT(folder.entryList({"*.json"}).size(), 1, 5000);
    const QString path = folder.filePath(folder.entryList({"*.json"}).first());
    QVERIFY(!(QFile::permissions(path) & (QFile::ReadGroup | QFile::ReadOther)));
    QVERIFY(Draft::left(folder.path()).empty()); // for another program
    const QByteArray kept = readFile(path);
    console.window->close();
    delete console.window;
    QVERIFY(!QFile::exists(path)); // it is in the history now

    writeFile(path, kept);
    console.open();
    QCOMPARE(console.control<SqlTextBox>("txtSql").contents(), "select 漢 -- draft");
}

void ConsoleWindowTest::twoProgramsShareTheHistory()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("history.json");
    History one(path), two(path);
    QVERIFY(one.add("do 1"));
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadOther);
    QVERIFY(two.add("do 2"));
    QVERIFY(!QFile::permissions(path).testFlag(QFile::ReadOther));
    {
        // While another program writes, this one waits.
        std::optional<FileLock> lock(path);
        const std::jthread waiting([&] { one.add("do 3"); });
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        QCOMPARE(History(path).statements(), (QStringList{"do 1", "do 2"}));
        writeFile(path, R"(["do 2", "do 4"])");
        lock.reset();
    }
    QCOMPARE(History(path).statements(), (QStringList{"do 1", "do 2", "do 4", "do 3"}));
}

QTEST_MAIN(ConsoleWindowTest)
#include "test_consolewindow.moc"
