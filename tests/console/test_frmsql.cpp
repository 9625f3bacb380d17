#include "console/consolefixture.h"
#include "console/frmTextEditer.h"
#include "console/history.h"
#include "core/wholefile.h"
#include "support/gui/boxes.h"

#include <QHeaderView>
#include <QMimeData>

#include <optional>
#include <thread>

class FrmSqlTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void activationShowsWhatIsConnected();
    void anActivationDuringARunIsNone();
    void aCommandOfTheMainWindowIsNotDisturbed();
    void optionsSurviveTheWindow();
    void theEditorOpensOnlyWhatIsSaved();
    void fontsScaleOnlyWhenChosen();
    void thePlanIsShownWithoutChangingTheResult();
    void variablesAreReadWithOneStatementAndDeletedInBothLists();
    void aDroppedFileReplacesTheStatement();
    void theFolderIsKeptWhenTheDialogIsCancelled();
    void theEditorIsChosenInItsDialog();
    void keysRunTheStatement();
    void aClickSelectsTheLastError();
    void statementsComeBackAfterARestart();
    void twoProgramsShareTheHistory();
};

namespace {

void drop(SqlTextBox &box, QMimeData *data)
{
    QWidget &target = *box.viewport();
    const QPoint middle = target.rect().center();
    QDragEnterEvent enter(middle, Qt::CopyAction | Qt::MoveAction, data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&target, &enter);
    QVERIFY(enter.isAccepted());
    QDropEvent event(middle, Qt::CopyAction | Qt::MoveAction, data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&target, &event);
    QCOMPARE(event.dropAction(), Qt::CopyAction);
}

} // namespace

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
        console.session.gDelimiter = QStringLiteral("ｺﾛﾝ");
        console.connects = connects;
        console.open();
        if (!connects)
            console.dialogue->expectRefuse("接続失敗");
        console.window->show();
        QTRY_COMPARE(console.connections, 1);
        QCOMPARE(console.control<QLabel>("lblState").text(), state);
        QCOMPARE(console.control<QComboBox>("cboDelimiter").currentText(), "ｺﾛﾝ");
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

void FrmSqlTest::theEditorOpensOnlyWhatIsSaved()
{
    ConsoleFixture console;
    console.open();
    auto &save = console.control<QCheckBox>("ckMemo_0");
    auto &open = console.control<QCheckBox>("ckMemo_1");
    auto &fileOnly = console.control<QCheckBox>("ckNoTextNoGrid");
    QVERIFY(save.isEnabled() && !open.isEnabled());
    save.click();
    QVERIFY(open.isEnabled());
    save.click();
    QVERIFY(!open.isEnabled());
    fileOnly.click();
    QVERIFY(save.isChecked() && open.isChecked() && !save.isEnabled() && !open.isEnabled());
    fileOnly.click();
    QVERIFY(save.isChecked() && open.isChecked() && save.isEnabled() && open.isEnabled());
}

void FrmSqlTest::fontsScaleOnlyWhenChosen()
{
    ConsoleFixture console;
    console.session.gFont = QStringLiteral("0");
    console.open();
    console.window->show();
    QTRY_COMPARE(console.connections, 1);
    const auto points = [&] { return console.control<ChosenList>("lstVariable").font().pointSizeF(); };
    const auto rowHeight = [&] { return console.grid().verticalHeader()->defaultSectionSize(); };
    const double designed = points();
    const int designedHeight = rowHeight();
    console.window->resize(console.window->size() * 2);
    QCOMPARE(points(), designed);
    console.control<QRadioButton>("optFont_1").click();
    QCOMPARE(points(), designed * 2);
    QVERIFY(rowHeight() > designedHeight);
    console.control<QRadioButton>("optFont_0").click();
    QCOMPARE(points(), designed);
    QCOMPARE(rowHeight(), designedHeight);
}

void FrmSqlTest::thePlanIsShownWithoutChangingTheResult()
{
    ConsoleFixture console;
    console.script.always("select 1", Reply::table({"1"}, {{"1"}}));
    console.script.always("EXPLAIN select 1\r\nfrom t", Reply::table({"id", "key"}, {{"1", std::nullopt}}));
    console.open();
    console.run("select 1");
    console.type("  select 1\nfrom t ");
    console.button("cmdAnalyze").click();
    QVERIFY(console.control<QRadioButton>("optRecord_2").isChecked());
    for (const char *view : {"txtRecord", "flgrid_Record", "flgrid_ANALYZE", "picVariablename"})
        QCOMPARE(console.control<QWidget>(view).isHidden(), view != QLatin1String("flgrid_ANALYZE"));
    auto &plan = console.control<FlexGrid>("flgrid_ANALYZE");
    QCOMPARE(plan.fieldName(1), "key");
    QCOMPARE(plan.text(0, 1), "NULL");
    QCOMPARE(console.grid().text(0, 0), "1");

    // What cannot be explained is passed over in silence.
    console.script.always("EXPLAIN set @a=1", Reply::failure("syntax", 1064));
    console.type("set @a=1");
    console.button("cmdAnalyze").click();
    QCOMPARE(console.script.sent.last(), "EXPLAIN set @a=1");
    QCOMPARE(console.lastError(), QString());
}

void FrmSqlTest::variablesAreReadWithOneStatementAndDeletedInBothLists()
{
    ConsoleFixture console;
    console.session.gVariables = {{"a"}, {"b"}};
    console.script.always("select @a,@b,@c", Reply::table({"@a", "@b", "@c"}, {{"1", std::nullopt, QString()},
                                                                               {"2", QString(), QString()}}));
    console.script.always("select @a,@c,@x y", Reply::failure("syntax"));
    console.open();
    auto &name = console.control<QLineEdit>("txtVariablename");
    auto &names = console.control<ChosenList>("lstVariablename");
    auto &values = console.control<ChosenList>("lstVariable");
    name.setText("@@c");
    QTest::keyClick(&name, Qt::Key_Return);
    QCOMPARE(values.texts(), QStringList({"1", "NULL", ""}));
    QVERIFY(console.control<QRadioButton>("optRecord_3").isChecked());

    values.setCurrentRow(1);
    QCOMPARE(names.currentRow(), 1);
    QCOMPARE(name.text(), "b");
    QTest::keyClick(&values, Qt::Key_Delete, Qt::ShiftModifier);
    QCOMPARE(values.count(), 3);
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
    console.type("was here");
    const QString path = console.folder.filePath("a b.sql");
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write("select '\x95\x5C\x8E\xA6'\n") > 0); // CP932
    file.close();
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(path), QUrl::fromLocalFile("/second/file")});
    drop(box, &data);
    QCOMPARE(box.contents(), "select '表示'\r\n");

    data.setUrls({QUrl::fromLocalFile("/no/such/file")});
    console.dialogue->expectRefuse("/no/such/file: No such file or directory");
    drop(box, &data);
    QCOMPARE(box.contents(), "select '表示'\r\n");

    QMimeData text;
    text.setText("select 2");
    drop(box, &text);
    QCOMPARE(box.contents(), "select 2");
    box.undo();
    QCOMPARE(box.contents(), "select '表示'\r\n");
}

void FrmSqlTest::theFolderIsKeptWhenTheDialogIsCancelled()
{
    ConsoleFixture console;
    console.session.gTextPath = QStringLiteral("/old");
    console.open();
    for (const auto &[answer, folder] : {std::pair("", "/old"), {"/new", "/new"}}) {
        console.dialogue->expectFolder("保存先のﾌｫﾙﾀﾞを選択して下さい。", answer);
        console.button("cmdFolder").click();
        QCOMPARE(console.dialogue->startFolder, "/old");
        QCOMPARE(console.session.gTextPath, folder);
    }
}

void FrmSqlTest::theEditorIsChosenInItsDialog()
{
    ConsoleFixture console;
    console.session.gTextEditor = QStringLiteral("/old");
    console.open();
    Boxes boxes;
    for (const auto &[end, editor] : {std::pair("cmdCancel", "/old"), {"cmdIn", "/my programs/editor"}}) {
        boxes.expectDialog("frmTextEditer", [end = end](QDialog &dialog) {
            auto &name = control<QLineEdit>(dialog, "txtFilename");
            QCOMPARE(name.text(), "/old");
            name.setText("/my programs/editor");
            control<QPushButton>(dialog, end).click();
        });
        console.button("cmdEditer").click();
        QCOMPARE(console.session.gTextEditor, editor);
    }
}

void FrmSqlTest::keysRunTheStatement()
{
    ConsoleFixture console;
    console.open();
    console.window->show();
    QVERIFY(QTest::qWaitForWindowActive(console.window));
    auto &box = console.control<SqlTextBox>("txtSql");
    for (const QKeyCombination key : {QKeyCombination(Qt::Key_F5), Qt::CTRL | Qt::Key_Return}) {
        console.type("do 1");
        console.dialogue->expectInform("正常終了");
        QTest::keyClick(&box, key.key(), key.keyboardModifiers());
        QCOMPARE(box.contents(), "do 1");
    }
    QCOMPARE(console.script.sent, (QStringList{"do 1", "do 1"}));
}

void FrmSqlTest::aClickSelectsTheLastError()
{
    ConsoleFixture console;
    console.open();
    console.window->show();
    QVERIFY(QTest::qWaitForWindowActive(console.window));
    auto &box = console.control<QPlainTextEdit>("txtError");
    box.setPlainText("the server's words");
    QTest::mouseClick(box.viewport(), Qt::LeftButton);
    QCoreApplication::processEvents();
    QCOMPARE(box.textCursor().selectedText(), "the server's words");
}

void FrmSqlTest::statementsComeBackAfterARestart()
{
    ConsoleFixture console;
    console.open();
    for (const char *statement : {"do 1", "set password = 'secret'", "do 2", "do 3", "do 2"}) {
        console.dialogue->expectInform("正常終了");
        console.run(QLatin1String(statement));
    }
    console.type("not run");
    console.window->resize(700, 502);
    delete console.window;
    QFile file(console.folder.filePath("history.json"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY(!file.readAll().contains("secret"));

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
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(R"(["do 2", "do 4"])");
        file.close();
        lock.reset();
    }
    QCOMPARE(History(path).statements(), (QStringList{"do 1", "do 2", "do 4", "do 3"}));
}

QTEST_MAIN(FrmSqlTest)
#include "test_frmsql.moc"
