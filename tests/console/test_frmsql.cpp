#include "console/consolestage.h"
#include "console/history.h"
#include "console/outputfile.h"
#include "core/session/wholefile.h"
#include "support/lockedfolder.h"

#include <QMimeData>
#include <QProcess>

#include <thread>

namespace {

const QString twoPeople = "select * from t";

// The console on a scripted server that has two rows.
struct ConsoleFixture : ConsoleStage {
    bool connects = true;
    int connections = 0;
    ScriptedDialogue *dialogue = nullptr; // the console's

    ConsoleFixture()
        : ConsoleStage(Server::Scripted)
    {
        session.gCn = script.connect();
        script.always(twoPeople, Reply::table({"id", "名前"}, {{"1", "山田"}, {"2", std::nullopt}}));
    }
    void open()
    {
        auto scripted = std::make_unique<ScriptedDialogue>();
        dialogue = scripted.get();
        const auto connect = [this] {
            ++connections;
            return connects;
        };
        window = new frmSql(session, connect, std::move(scripted));
    }
    // What gives no rows ends with a box.
    void runWithoutRows(const QString &statement)
    {
        dialogue->expectInform("正常終了");
        run(statement);
    }
};

QString crLf(const QStringList &lines)
{
    return lines.join("\r\n") + QStringLiteral("\r\n");
}

} // namespace

// The console on a scripted server.
class FrmSqlTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theTextIsSentAsItStandsUnlessItIsBlank();
    void linesAreDelimited();
    void theFileHoldsWhatTheTextBoxHoldsOrIsTheOnlyOne();
    void theServersWordsOfAFailureAreShown();
    void rowsBeforeAFailureAreKeptAsFarAsMemoryGoes();
    void aFullDiskOrALockedFolderIsReported();
    void aFileThatVanishesIsReported();
    void theEditorGetsTheFile();
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

// Two statements are one text, and nothing but blanks is cut off.
void FrmSqlTest::theTextIsSentAsItStandsUnlessItIsBlank()
{
    ConsoleFixture console;
    console.open();
    console.type("  \r\n ");
    for (const char *button : {"cmdExec", "cmdAnalyze"}) {
        console.dialogue->expectInform("SQL文を入力してください。");
        console.button(button).click();
    }
    console.runWithoutRows(" \tselect 1;\r\nselect ' a '\r\n ");
    QCOMPARE(console.script.sent, QStringList{"\tselect 1;\nselect ' a '\n"});
}

// The rule counts two bytes for most characters and one for half-width ones, whatever they take in UTF-8.
void FrmSqlTest::linesAreDelimited()
{
    const QString choices = QStringLiteral(" \t|,:;");
    for (int i = 0; i < choices.size(); ++i) {
        ConsoleFixture console;
        console.script.always(twoPeople,
                              Reply::table({"番号", "ｶﾅ", "a b", ""}, {{"1", "2", std::nullopt, "4"}}));
        console.session.gDelimiter = i == 2 ? QStringLiteral("ﾀﾌﾞ") : QStringLiteral("|");
        console.open();
        console.control<QComboBox>("cboDelimiter").setCurrentIndex(i);
        console.run(twoPeople);
        const QString lines = crLf({"番号%1ｶﾅ%1a b%1", "------------", "1%12%1NULL%14"});
        QCOMPARE(console.text(), QString(lines).replace("%1", choices.mid(i, 1)));
        QCOMPARE(console.session.gDelimiter, console.control<QComboBox>("cboDelimiter").currentText());
    }
}

void FrmSqlTest::theFileHoldsWhatTheTextBoxHoldsOrIsTheOnlyOne()
{
    ConsoleFixture console;
    {
        const QTemporaryDir vanished; // its place is taken by the program's folder
        console.session.gTextPath = vanished.path();
    }
    console.open();
    console.run(twoPeople);
    QCOMPARE(console.file(), QByteArray("(no file)"));
    console.control<QCheckBox>("ckMemo_0").setChecked(true);
    console.run(twoPeople);
    QCOMPARE(QString::fromUtf8(console.file()), crLf({"id 名前", "-------", "1 山田", "2 NULL"}));
    QCOMPARE(console.text().toUtf8(), console.file());
    QCOMPARE(console.session.gTextPath, console.folder.path() + QDir::separator());

    const QString before = console.text();
    console.control<QComboBox>("cboDelimiter").setCurrentIndex(1);
    console.control<QCheckBox>("ckNoTextNoGrid").click();
    for (const char *box : {"ckMemo_0", "ckMemo_1"}) {
        auto &isChosen = console.control<QCheckBox>(box);
        QVERIFY(isChosen.isChecked() && !isChosen.isEnabled());
    }
    console.session.gTextEditor = QStringLiteral("true");
    console.run(twoPeople);
    QCOMPARE(QString::fromUtf8(console.file()), crLf({"id\t名前", "-------", "1\t山田", "2\tNULL"}));
    QCOMPARE(console.text(), before);
    QCOMPARE(console.grid().rowCount(), 0);
    QCOMPARE(console.count(), "2");
}

void FrmSqlTest::theServersWordsOfAFailureAreShown()
{
    ConsoleFixture console;
    console.script.always("selct", Reply::failure("the words", 1064));
    console.open();
    console.run(twoPeople);
    console.dialogue->expectRefuse("the words");
    console.run("selct");
    QCOMPARE(console.lastError(), "the words");
    QCOMPARE(console.count() + "/" + QString::number(console.grid().rowCount()), "2/2"); // the old rows
    QVERIFY(console.button("cmdExec").isEnabled() && !console.button("cmdStop").isEnabled());
    console.runWithoutRows("set @a = 1");
    QCOMPARE(console.lastError() + console.count(), "0");
    QCOMPARE(console.grid().rowCount(), 0); // no old rows beside it
}

void FrmSqlTest::rowsBeforeAFailureAreKeptAsFarAsMemoryGoes()
{
    for (const auto &[failure, rows, lines] :
         {std::tuple(Failure("broken", 1105), 1, 3), {outOfMemory(), 0, 0}}) {
        ConsoleFixture console;
        Reply reply = Reply::table({"id"}, {{"1"}});
        reply.error = failure;
        console.script.always(twoPeople, reply);
        console.open();
        console.dialogue->expectRefuse(failure.description());
        console.run(twoPeople);
        QCOMPARE(console.grid().rowCount(), rows);
        QCOMPARE(console.text().count(u'\n'), lines);
    }
}

void FrmSqlTest::aFullDiskOrALockedFolderIsReported()
{
    if (!QFile::exists("/dev/full"))
        QSKIP("no device here that is always full");
    for (const bool isFileOnly : {false, true}) {
        ConsoleFixture console;
        QVERIFY(QFile::link("/dev/full", console.filePath()));
        console.session.gMemo1 = QStringLiteral("1");
        console.session.gNoTextNoGrid = QString::number(isFileOnly);
        console.open();
        const QString words = console.filePath() + QStringLiteral(": No space left on device");
        console.dialogue->expectRefuse(words);
        console.run(twoPeople);
        QCOMPARE(console.lastError(), words);
        QCOMPARE(console.text().isEmpty(), isFileOnly);

        QVERIFY(QFile::remove(console.filePath()));
        {
            const LockedFolder locked(console.folder.path());
            console.dialogue->expectRefuse(console.filePath() + QStringLiteral(": Permission denied"));
            console.run(twoPeople);
        }
        console.run(twoPeople);
        QVERIFY(console.file().endsWith("2 NULL\r\n"));
    }
}

void FrmSqlTest::aFileThatVanishesIsReported()
{
    auto folder = std::make_unique<QTemporaryDir>();
    OutputFile file(folder->filePath("sqldump.dat"), [] {});
    folder.reset();
    QVERIFY_THROWS_EXCEPTION(Failure, file.close());
}

void FrmSqlTest::theEditorGetsTheFile()
{
    ConsoleFixture console;
    const QString opened = console.folder.filePath("opened");
    const QString editor = console.folder.filePath("my editor");
    writeProgram(editor, "cat \"$1\" > \"$1.part\"\nmv \"$1.part\" \"$(dirname \"$1\")/opened\"\n");
    console.session.gMemo1 = console.session.gMemo2 = QStringLiteral("1");
    console.open();
    for (const QString &command : {editor, QStringLiteral("sh \"%1\"").arg(editor)}) {
        console.session.gTextEditor = command;
        console.run(twoPeople);
        QTRY_VERIFY2(QFile::exists(opened), qPrintable(command));
        QCOMPARE(readFile(opened), console.file());
        QVERIFY(QFile::remove(opened));
    }

    console.session.gTextEditor = console.folder.filePath("no such editor");
    QProcess nothing;
    nothing.setProgram(console.session.gTextEditor);
    QVERIFY(!nothing.startDetached()); // the toolkit's words, which change with its release
    const QString words = console.session.gTextEditor + QStringLiteral(": ") + nothing.errorString();
    console.dialogue->expectRefuse(words);
    console.run(twoPeople);
    QCOMPARE(console.lastError(), words);
    QCOMPARE(console.text().toUtf8(), console.file());
}

void FrmSqlTest::activationShowsWhatIsConnected()
{
    for (const auto &[dataSource, database, connects, state] :
         {std::tuple("(なし)", "shop", true, "shop:接続OK"),
          {"(なし)", "", true, "ﾃﾞｰﾀﾍﾞｰｽが選択されていません。"},
          {"demo", "shop", true, "demo:接続OK"},
          {"(なし)", "shop", false, "接続失敗･･･"}}) {
        ConsoleFixture console;
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

void FrmSqlTest::anActivationDuringARunIsNone()
{
    ConsoleFixture console;
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

void FrmSqlTest::aCommandOfTheMainWindowIsNotDisturbed()
{
    ConsoleFixture console;
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

void FrmSqlTest::optionsSurviveTheWindow()
{
    ConsoleFixture console;
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

void FrmSqlTest::fontsScaleOnlyWhenChosen()
{
    ConsoleFixture console;
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

void FrmSqlTest::variablesAreReadWithOneStatementAndDeletedInBothLists()
{
    ConsoleFixture console;
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

void FrmSqlTest::aDroppedFileReplacesTheStatement()
{
    ConsoleFixture console;
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

void FrmSqlTest::statementsComeBackAfterARestart()
{
    ConsoleFixture console;
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

void FrmSqlTest::whatWasBeingWrittenSurvivesAKill()
{
    ConsoleFixture console;
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

void FrmSqlTest::twoProgramsShareTheHistory()
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

QTEST_MAIN(FrmSqlTest)
#include "test_frmsql.moc"
