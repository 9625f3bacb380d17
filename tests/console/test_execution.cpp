#include "console/consolefixture.h"
#include "console/outputfile.h"
#include "support/rows.h"

#include <QTimer>

namespace {

const QString statement = "select * from t";

QString crLf(const QStringList &lines)
{
    return lines.join("\r\n") + QStringLiteral("\r\n");
}

Reply people()
{
    return Reply::table({"id", "名前"}, {{"1", "山田"}, {"2", std::nullopt}});
}

} // namespace

class ExecutionTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void oneTextIsSentAsItStands_data();
    void oneTextIsSentAsItStands();
    void aBlankStatementIsNotSent();
    void linesAreDelimited_data();
    void linesAreDelimited();
    void aStatementWithoutRowsLeavesTheGrid();
    void theFileHoldsWhatTheTextBoxHoldsOrIsTheOnlyOne();
    void aVanishedFolderBecomesTheProgramFolder();
    void theServersWordsOfAFailureAreShown();
    void aFailureInTheMiddleKeepsWhatWasRead();
    void aFullDiskIsReported_data();
    void aFullDiskIsReported();
    void aFileThatVanishesIsReported();
    void theEditorGetsTheFile();
    void anEditorThatDoesNotStartIsReported();
    void aStopKeepsWhatWasRead_data();
    void aStopKeepsWhatWasRead();
    void closingDuringARunEndsTheRunFirst();
};

void ExecutionTest::oneTextIsSentAsItStands_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("sent");
    row("two statements", "select 1; select 2;", "select 1; select 2;");
    row("blanks around", "  select ' a '  ", "select ' a '");
    row("CR LF", "select\r\n1", "select\n1");
    row("only blanks are cut", "\tselect 1\r\n", "\tselect 1\n");
}

void ExecutionTest::oneTextIsSentAsItStands()
{
    QFETCH(QString, typed);
    ConsoleFixture console;
    console.open();
    console.dialogue->expectInform("正常終了");
    console.run(typed);
    QTEST(console.script.sent.join(u'|'), "sent");
}

void ExecutionTest::aBlankStatementIsNotSent()
{
    ConsoleFixture console;
    console.script.always("EXPLAIN select 1", people());
    console.open();
    console.type("select 1");
    console.button("cmdAnalyze").click();
    console.script.sent.clear();

    console.type("  \r\n ");
    for (const char *button : {"cmdExec", "cmdAnalyze"}) {
        console.dialogue->expectInform("SQL文を入力してください。");
        console.button(button).click();
    }

    QCOMPARE(console.script.sent, QStringList());
    QCOMPARE(console.control<FlexGrid>("flgrid_ANALYZE").rowCount(), 2);
}

void ExecutionTest::linesAreDelimited_data()
{
    QTest::addColumn<int>("delimiter");
    QTest::addColumn<QStringList>("fields");
    QTest::addColumn<QStringList>("lines");
    const QStringList plain{"id", "name"};
    row("blank", 0, plain, QStringList{"id name", "-------", "1 NULL"});
    row("tab", 1, plain, QStringList{"id\tname", "-------", "1\tNULL"});
    row("bar", 2, plain, QStringList{"id|name", "-------", "1|NULL"});
    row("comma", 3, plain, QStringList{"id,name", "-------", "1,NULL"});
    row("colon", 4, plain, QStringList{"id:name", "-------", "1:NULL"});
    row("semicolon", 5, plain, QStringList{"id;name", "-------", "1;NULL"});
    row("names of two bytes a character, half-width ones of one", 3, QStringList{"番号", "ｶﾅ"},
        QStringList{"番号,ｶﾅ", "-------", "1,NULL"});
    row("a name that holds the delimiter", 3, QStringList{"a,b", ""}, QStringList{"a,b,", "----", "1,NULL"});
}

void ExecutionTest::linesAreDelimited()
{
    QFETCH(int, delimiter);
    QFETCH(QStringList, fields);
    QFETCH(QStringList, lines);
    ConsoleFixture console;
    console.script.always(statement, Reply::table(fields, {{"1", std::nullopt}}));
    console.session.gDelimiter = delimiter == 2 ? QStringLiteral("ﾀﾌﾞ") : QStringLiteral("|");
    console.open();
    console.control<QComboBox>("cboDelimiter").setCurrentIndex(delimiter);
    console.run(statement);
    QCOMPARE(console.text(), crLf(lines));
    QCOMPARE(console.grid().text(0, 1), "NULL");
    QCOMPARE(console.session.gDelimiter, console.control<QComboBox>("cboDelimiter").currentText());
}

void ExecutionTest::aStatementWithoutRowsLeavesTheGrid()
{
    ConsoleFixture console;
    console.script.always(statement, people());
    console.open();
    console.run(statement);
    QCOMPARE(console.count(), "2");
    console.dialogue->expectInform("正常終了");
    console.run("update t set a = 1");
    QCOMPARE(console.grid().rowCount(), 2);
    QCOMPARE(console.count(), "0");
    QCOMPARE(console.button("cmdExec").property("tag").toString(), "False");
}

void ExecutionTest::theFileHoldsWhatTheTextBoxHoldsOrIsTheOnlyOne()
{
    ConsoleFixture console;
    console.script.always(statement, people());
    console.session.gTextPath = QStringLiteral(" ");
    console.open();
    console.run(statement);
    QCOMPARE(console.file(), QByteArray("(no file)"));
    console.control<QCheckBox>("ckMemo_0").setChecked(true);
    console.run(statement);
    QCOMPARE(QString::fromUtf8(console.file()), crLf({"id 名前", "-------", "1 山田", "2 NULL"}));
    QCOMPARE(console.text().toUtf8(), console.file());
    QCOMPARE(console.session.gTextPath, console.folder.path() + QDir::separator());

    const QString before = console.text();
    console.control<QComboBox>("cboDelimiter").setCurrentIndex(1);
    console.control<QCheckBox>("ckNoTextNoGrid").setChecked(true);
    console.run(statement);
    QCOMPARE(QString::fromUtf8(console.file()), crLf({"id\t名前", "-------", "1\t山田", "2\tNULL"}));
    QCOMPARE(console.text(), before);
    QCOMPARE(console.grid().rowCount(), 0);
    QCOMPARE(console.grid().fieldName(1), "名前");
    QCOMPARE(console.count(), "2");
}

void ExecutionTest::aVanishedFolderBecomesTheProgramFolder()
{
    ConsoleFixture console;
    console.script.always(statement, people());
    console.session.gNoTextNoGrid = QStringLiteral("1");
    {
        const QTemporaryDir vanished;
        console.session.gTextPath = vanished.path();
    }
    console.open();
    console.run(statement);
    QVERIFY(console.file().startsWith("id "));
    QCOMPARE(console.session.gTextPath, console.folder.path() + QDir::separator());
}

void ExecutionTest::theServersWordsOfAFailureAreShown()
{
    ConsoleFixture console;
    const QString words = "You have an error in your SQL syntax";
    console.script.always("selct", Reply::failure(words, 1064));
    console.open();
    console.dialogue->expectRefuse(words);
    console.run("selct");
    QCOMPARE(console.lastError(), words);
    QVERIFY(console.button("cmdExec").isEnabled());
    QVERIFY(!console.button("cmdStop").isEnabled());
    console.dialogue->expectInform("正常終了");
    console.run("set @a = 1");
    QCOMPARE(console.lastError(), QString());
}

void ExecutionTest::aFailureInTheMiddleKeepsWhatWasRead()
{
    ConsoleFixture console;
    console.session.gCn = std::make_unique<EndlessConnection>(true);
    console.open();
    console.dialogue->expectRefuse("Lost connection to MySQL server during query");
    console.run(statement);
    QCOMPARE(console.count(), "100");
    QCOMPARE(console.grid().model()->rowCount(), 100);
    QCOMPARE(console.text().count(u'\n'), 102);
}

void ExecutionTest::aFullDiskIsReported_data()
{
    QTest::addColumn<bool>("isFileOnly");
    row("text saved", false);
    row("file only", true);
}

void ExecutionTest::aFullDiskIsReported()
{
    QFETCH(bool, isFileOnly);
    if (!QFile::exists("/dev/full"))
        QSKIP("no device here that is always full");
    ConsoleFixture console;
    QVERIFY(QFile::link("/dev/full", console.filePath()));
    console.script.always(statement, people());
    console.session.gMemo1 = QStringLiteral("1");
    console.session.gNoTextNoGrid = isFileOnly ? QStringLiteral("1") : QStringLiteral("0");
    console.open();
    const QString words = console.filePath() + QStringLiteral(": No space left on device");
    console.dialogue->expectRefuse(words);
    console.run(statement);
    QCOMPARE(console.lastError(), words);
    QCOMPARE(console.text().isEmpty(), isFileOnly);

    QVERIFY(QFile::remove(console.filePath()));
    console.run(statement);
    QVERIFY(console.file().endsWith("2 NULL\r\n"));
}

void ExecutionTest::aFileThatVanishesIsReported()
{
    auto folder = std::make_unique<QTemporaryDir>();
    OutputFile file(folder->filePath("sqldump.dat"), [] {});
    file.write("a line\r\n");
    folder.reset();
    QVERIFY_THROWS_EXCEPTION(SqlError, file.close());
}

void ExecutionTest::theEditorGetsTheFile()
{
    ConsoleFixture console;
    console.script.always(statement, people());
    const QString editor = console.folder.filePath("my editor");
    const QString opened = console.folder.filePath("opened");
    QFile script(editor);
    QVERIFY(script.open(QIODevice::WriteOnly));
    script.write("#!/bin/sh\ncat \"$1\" > \"$(dirname \"$1\")/opened.part\"\n"
                 "mv \"$(dirname \"$1\")/opened.part\" \"$(dirname \"$1\")/opened\"\n");
    script.close();
    script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    console.session.gTextEditor = editor;
    console.session.gMemo1 = console.session.gMemo2 = QStringLiteral("1");
    console.open();
    console.run(statement);
    QTRY_VERIFY(QFile::exists(opened));
    QFile copy(opened);
    QVERIFY(copy.open(QIODevice::ReadOnly));
    QCOMPARE(copy.readAll(), console.file());
}

void ExecutionTest::anEditorThatDoesNotStartIsReported()
{
    ConsoleFixture console;
    console.script.always(statement, people());
    console.session.gTextEditor = console.folder.filePath("no such editor");
    console.session.gMemo1 = console.session.gMemo2 = QStringLiteral("1");
    console.open();
    const QString words = console.session.gTextEditor + QStringLiteral(": execv: No such file or directory");
    console.dialogue->expectRefuse(words);
    console.run(statement);
    QCOMPARE(console.lastError(), words);
    QCOMPARE(console.text().toUtf8(), console.file());
}

void ExecutionTest::aStopKeepsWhatWasRead_data()
{
    QTest::addColumn<bool>("isFileOnly");
    QTest::addColumn<bool>("isDisconnect");
    row("grid, text and saved file", false, false);
    row("file only", true, false);
    row("by the main window's disconnect button", false, true);
}

void ExecutionTest::aStopKeepsWhatWasRead()
{
    QFETCH(bool, isFileOnly);
    QFETCH(bool, isDisconnect);
    ConsoleFixture console;
    console.session.gCn = std::make_unique<EndlessConnection>();
    console.session.gMemo1 = console.session.gMemo2 = QStringLiteral("1");
    console.session.gNoTextNoGrid = isFileOnly ? QStringLiteral("1") : QStringLiteral("0");
    console.session.gTextEditor = QStringLiteral("/no/editor/may/start");
    console.open();
    console.dialogue->expectInform("処理を中断しました");
    QTimer::singleShot(50, console.window, [&] {
        if (isDisconnect) {
            console.window->cmdStop_Click();
            console.session.gCn.reset();
        } else {
            QTest::mouseClick(&console.button("cmdStop"), Qt::LeftButton);
        }
    });
    console.run(statement);

    const int rows = console.count().toInt();
    QVERIFY(rows > 100);
    const QByteArray lines = console.file();
    QCOMPARE(lines.count('\n'), rows + 2);
    QVERIFY(lines.endsWith(QByteArray::number(rows) + " 表示\r\n"));
    QCOMPARE(console.lastError(), QString());
    if (!isFileOnly) {
        QCOMPARE(console.grid().rowCount(), rows);
        QVERIFY(console.text().toUtf8() == lines);
    }
}

void ExecutionTest::closingDuringARunEndsTheRunFirst()
{
    ConsoleFixture console;
    console.session.gCn = std::make_unique<EndlessConnection>();
    console.open();
    console.dialogue->expectInform("処理を中断しました");
    bool wasRefused = false;
    QTimer::singleShot(30, console.window, [&] { wasRefused = !console.window->close(); });
    console.run(statement);
    QVERIFY(wasRefused);
    QVERIFY(console.window);
    QTRY_VERIFY(!console.window);
    QVERIFY(!console.session.gSqlOpen);
}

QTEST_MAIN(ExecutionTest)
#include "test_execution.moc"
