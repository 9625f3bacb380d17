#include "console/consolefixture.h"
#include "console/frmTextEditer.h"
#include "support/gui/boxes.h"
#include "support/rows.h"

#include <QHeaderView>
#include <QMimeData>

class FrmSqlTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void activationShowsWhatIsConnected_data();
    void activationShowsWhatIsConnected();
    void anActivationDuringARunIsNone();
    void aCommandOfTheMainWindowIsNotDisturbed();
    void optionsSurviveTheWindow();
    void theEditorOpensOnlyWhatIsSaved();
    void fontsScaleOnlyWhenChosen();
    void thePlanIsShownWithoutChangingTheResult();
    void variablesAreReadWithOneStatement();
    void aVariableIsDeletedInBothLists();
    void aDroppedFileReplacesTheStatement_data();
    void aDroppedFileReplacesTheStatement();
    void theFolderIsKeptWhenTheDialogIsCancelled();
    void theEditorIsChosenInItsDialog();
    void keysRunTheStatement();
    void namesAreReadOnlyOnRequest();
    void statementsComeBackAfterARestart();
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

void FrmSqlTest::activationShowsWhatIsConnected_data()
{
    QTest::addColumn<QString>("dataSource");
    QTest::addColumn<QString>("database");
    QTest::addColumn<bool>("connects");
    QTest::addColumn<QString>("state");
    row("driver, database", "(なし)", "shop", true, "shop:接続OK");
    row("driver, none chosen", "(なし)", "", true, "ﾃﾞｰﾀﾍﾞｰｽが選択されていません。");
    row("data source", "demo", "shop", true, "demo:接続OK");
    row("refused", "(なし)", "shop", false, "接続失敗･･･");
}

void FrmSqlTest::activationShowsWhatIsConnected()
{
    QFETCH(QString, dataSource);
    QFETCH(QString, database);
    QFETCH(bool, connects);
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
    QTEST(console.control<QLabel>("lblState").text(), "state");
    QCOMPARE(console.control<QComboBox>("cboDelimiter").currentText(), "ｺﾛﾝ");
}

void FrmSqlTest::anActivationDuringARunIsNone()
{
    ConsoleFixture console;
    QWidget main;
    main.setObjectName("frmTarnwell");
    console.open();
    console.window->show();
    QTRY_COMPARE(console.connections, 1);
    console.dialogue->expectInform("正常終了");
    console.script.beforeAnswer = [&](const QString &) {
        main.show();
        main.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&main));
        console.window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(console.window));
        QCoreApplication::processEvents();
    };
    console.run("set @a = 1");
    QTest::qWait(300); // nor is it made up for afterwards: @a would be gone
    QCOMPARE(console.connections, 1);
}

void FrmSqlTest::aCommandOfTheMainWindowIsNotDisturbed()
{
    ConsoleFixture console;
    console.session.isCommandRunning = true;
    console.open();
    console.window->show();
    console.type("set @a = 1");
    for (const char *button : {"cmdExec", "cmdAnalyze", "cmdVariable"})
        console.button(button).click();
    QTest::qWait(300);
    QCOMPARE(console.script.sent, QStringList());
    QCOMPARE(console.connections, 0);
    console.session.isCommandRunning = false;
    QTRY_COMPARE(console.connections, 1); // the activation is made up for
}

void FrmSqlTest::optionsSurviveTheWindow()
{
    ConsoleFixture console;
    console.session.gVariables = {{"old"}};
    console.open();
    QVERIFY(console.session.gSqlOpen);
    QVERIFY(console.control<QRadioButton>("optFont_1").isChecked());
    QCOMPARE(console.control<ChosenList>("lstVariablename").texts(), QStringList{"old"});
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
    QCOMPARE(kept.gVariables.size(), std::size_t(2));
    console.open();
    QVERIFY(console.control<QCheckBox>("ckMemo_0").isChecked());
    QVERIFY(console.control<QRadioButton>("optFont_0").isChecked());
    QCOMPARE(console.control<QComboBox>("cboDelimiter").currentIndex(), 3);
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
    const QSize size = console.window->size();
    console.window->resize(size * 2);
    QCOMPARE(points(), designed);
    console.control<QRadioButton>("optFont_1").click();
    QCOMPARE(points(), designed * 2);
    QVERIFY(rowHeight() > designedHeight);
    console.window->resize(size.width() * 2, size.height());
    QCOMPARE(points(), designed);
    console.window->resize(size * 2);
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

void FrmSqlTest::variablesAreReadWithOneStatement()
{
    ConsoleFixture console;
    console.session.gVariables = {{"a"}, {"b"}};
    console.script.always("select @a,@b,@c", Reply::table({"@a", "@b", "@c"}, {{"1", std::nullopt, QString()},
                                                                               {"2", QString(), QString()}}));
    console.script.always("select @a,@b,@c,@x y", Reply::failure("syntax"));
    console.open();
    auto &name = console.control<QLineEdit>("txtVariablename");
    auto &values = console.control<ChosenList>("lstVariable");
    name.setText("@@c");
    QTest::keyClick(&name, Qt::Key_Return);
    QCOMPARE(values.texts(), QStringList({"1", "NULL", ""}));
    QVERIFY(console.control<QRadioButton>("optRecord_3").isChecked());
    name.setText("x y");
    console.button("cmdVariable").click();
    QCOMPARE(values.texts(), QStringList());
    QCOMPARE(console.control<ChosenList>("lstVariablename").texts(), QStringList({"a", "b", "c", "x y"}));
}

void FrmSqlTest::aVariableIsDeletedInBothLists()
{
    ConsoleFixture console;
    console.session.gVariables = {{"a"}, {"b"}, {"c"}};
    console.script.always("select @a,@b,@c", Reply::table({"1", "2", "3"}, {{"1", "2", "3"}}));
    console.open();
    console.button("cmdVariabl").click();
    auto &names = console.control<ChosenList>("lstVariablename");
    auto &values = console.control<ChosenList>("lstVariable");
    values.setCurrentRow(1);
    QCOMPARE(names.currentRow(), 1);
    QCOMPARE(console.control<QLineEdit>("txtVariablename").text(), "b");
    QTest::keyClick(&values, Qt::Key_Delete, Qt::ShiftModifier);
    QCOMPARE(values.count(), 3);
    QTest::keyClick(&values, Qt::Key_Delete);
    QCOMPARE(names.texts(), QStringList({"a", "c"}));
    QCOMPARE(values.texts(), QStringList({"1", "3"}));
    names.setCurrentRow(0);
    QTest::keyClick(&names, Qt::Key_Delete);
    QCOMPARE(values.texts(), QStringList({"3"}));
}

void FrmSqlTest::aDroppedFileReplacesTheStatement_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("statement");
    row("CP932", QByteArray("select '\x95\x5C\x8E\xA6'"), "select '表示'");
    row("UTF-8", QByteArray("select '表示'\n"), "select '表示'\r\n");
    row("byte order mark", QByteArray("\xEF\xBB\xBFselect 1"), "select 1");
}

void FrmSqlTest::aDroppedFileReplacesTheStatement()
{
    QFETCH(QByteArray, bytes);
    ConsoleFixture console;
    console.open();
    auto &box = console.control<SqlTextBox>("txtSql");
    console.type("was here");
    const QString path = console.folder.filePath("a b.sql");
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    file.close();
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(path), QUrl::fromLocalFile("/second/file")});
    drop(box, &data);
    QTEST(box.contents(), "statement");

    data.setUrls({QUrl::fromLocalFile("/no/such/file")});
    console.dialogue->expectRefuse("/no/such/file: No such file or directory");
    drop(box, &data);
    QTEST(box.contents(), "statement");

    QMimeData text;
    text.setText("select 2");
    drop(box, &text);
    QCOMPARE(box.contents(), "select 2");
}

void FrmSqlTest::theFolderIsKeptWhenTheDialogIsCancelled()
{
    ConsoleFixture console;
    console.session.gTextPath = QStringLiteral("/old");
    console.open();
    const QString title = "保存先のﾌｫﾙﾀﾞを選択して下さい。";
    console.dialogue->expectFolder(title, QString());
    console.button("cmdFolder").click();
    QCOMPARE(console.dialogue->startFolder, "/old");
    QCOMPARE(console.session.gTextPath, "/old");
    console.dialogue->expectFolder(title, "/new");
    console.button("cmdFolder").click();
    QCOMPARE(console.session.gTextPath, "/new");
}

void FrmSqlTest::theEditorIsChosenInItsDialog()
{
    ConsoleFixture console;
    console.session.gTextEditor = QStringLiteral("/usr/bin/old");
    console.open();
    Boxes boxes;
    for (const char *end : {"cmdCancel", "cmdIn"}) {
        boxes.expectDialog("frmTextEditer", [&](QDialog &dialog) {
            auto *name = dialog.findChild<QLineEdit *>(QStringLiteral("txtFilename"));
            QCOMPARE(name->text(), "/usr/bin/old");
            name->setText("/my programs/editor");
            dialog.findChild<QPushButton *>(QLatin1String(end))->click();
        });
        console.button("cmdEditer").click();
        if (end == QLatin1String("cmdCancel"))
            QCOMPARE(console.session.gTextEditor, "/usr/bin/old");
    }
    QCOMPARE(console.session.gTextEditor, "/my programs/editor");
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

void FrmSqlTest::namesAreReadOnlyOnRequest()
{
    ConsoleFixture console;
    const QString names = QStringLiteral("select table_name, column_name from information_schema.columns "
                                         "where table_schema = database()");
    console.script.always(names, Reply::table({"t", "c"}, {{"customers", "custom_colour"}, {"t", "b"}}));
    console.open();
    console.window->show();
    QVERIFY(QTest::qWaitForWindowActive(console.window));
    auto &box = console.control<SqlTextBox>("txtSql");
    for (const char letter : {'C', 'U', 's', 't'})
        QTest::keyClick(&box, letter);
    QVERIFY(console.script.sent.isEmpty());
    for (int i = 0; i < 2; ++i) {
        QTest::keyClick(&box, Qt::Key_Space, Qt::ControlModifier);
        QVERIFY(box.SendScintilla(QsciScintilla::SCI_AUTOCACTIVE));
        box.SendScintilla(QsciScintilla::SCI_AUTOCCANCEL);
    }
    QCOMPARE(console.script.sent, QStringList{names});
}

void FrmSqlTest::statementsComeBackAfterARestart()
{
    ConsoleFixture console;
    console.open();
    for (const char *statement : {"do 1", "set password = 'secret'", "do 2", "do 3", "do 2"}) {
        console.dialogue->expectInform("正常終了");
        console.run(QLatin1String(statement));
    }
    delete console.window;
    QFile file(console.folder.filePath("history.json"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY(!file.readAll().contains("secret"));

    console.open();
    console.window->show();
    QVERIFY(QTest::qWaitForWindowActive(console.window));
    auto &box = console.control<SqlTextBox>("txtSql");
    console.type("draft");
    QStringList seen;
    for (const auto key : {Qt::Key_Up, Qt::Key_Up, Qt::Key_Up, Qt::Key_Up, Qt::Key_Down, Qt::Key_Down,
                           Qt::Key_Down, Qt::Key_Down}) {
        QTest::keyClick(&box, key, Qt::AltModifier);
        seen << box.contents();
    }
    QCOMPARE(seen, QStringList({"do 2", "do 3", "do 1", "do 1", "do 3", "do 2", "draft", "draft"}));
}

QTEST_MAIN(FrmSqlTest)
#include "test_frmsql.moc"
