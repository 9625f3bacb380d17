#include "console/consolefixture.h"
#include "console/outputfile.h"

#include <QTimer>

namespace {

const QString statement = QStringLiteral("select * from t");

QString crLf(const QStringList &lines)
{
    return lines.join(QStringLiteral("\r\n")) + QStringLiteral("\r\n");
}

Reply people()
{
    return Reply::table({QStringLiteral("id"), QStringLiteral("名前")},
                        {{QStringLiteral("1"), QStringLiteral("山田")}, {QStringLiteral("2"), std::nullopt}});
}

} // namespace

class ExecutionTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void oneTextIsSentAsItStands_data();
    void oneTextIsSentAsItStands();
    void aBlankStatementIsNotSent_data();
    void aBlankStatementIsNotSent();
    void linesAreDelimited_data();
    void linesAreDelimited();
    void aStatementWithoutRowsLeavesTheGrid();
    void theFileHoldsWhatTheTextBoxHolds();
    void fileOnlyLeavesGridAndTextAlone();
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
    QTest::newRow("two statements") << "select 1; select 2;"
                                    << "select 1; select 2;";
    QTest::newRow("blanks around") << "  select ' a '  "
                                   << "select ' a '";
    QTest::newRow("CR LF") << "select\r\n1"
                           << "select\n1";
    QTest::newRow("LF") << "select\n1"
                        << "select\n1";
    QTest::newRow("only blanks are cut") << "\tselect 1\r\n"
                                         << "\tselect 1\n";
    QTest::newRow("beyond the basic plane") << "select '😀'"
                                            << "select '😀'";
}

void ExecutionTest::oneTextIsSentAsItStands()
{
    QFETCH(QString, typed);
    ConsoleFixture console;
    console.open();
    console.dialogue->expectInform(QStringLiteral("正常終了"));
    console.run(typed);
    QTEST(console.script.sent.join(u'|'), "sent");
}

void ExecutionTest::aBlankStatementIsNotSent_data()
{
    QTest::addColumn<QString>("button");
    QTest::newRow("execute") << "cmdExec";
    QTest::newRow("explain") << "cmdAnalyze";
}

void ExecutionTest::aBlankStatementIsNotSent()
{
    QFETCH(QString, button);
    ConsoleFixture console;
    console.script.always(QStringLiteral("EXPLAIN select 1"), people());
    console.open();
    console.type(QStringLiteral("select 1"));
    console.button("cmdAnalyze").click();
    console.script.sent.clear();

    console.dialogue->expectInform(QStringLiteral("SQL文を入力してください。"));
    console.type(QStringLiteral("  \r\n "));
    console.button(qPrintable(button)).click();

    QCOMPARE(console.script.sent, QStringList());
    QCOMPARE(console.control<FlexGrid>("flgrid_ANALYZE").rowCount(), 2);
}

void ExecutionTest::linesAreDelimited_data()
{
    QTest::addColumn<int>("delimiter");
    QTest::addColumn<QStringList>("fields");
    QTest::addColumn<QStringList>("lines");
    const QStringList plain{QStringLiteral("id"), QStringLiteral("name")};
    QTest::newRow("blank") << 0 << plain << QStringList{"id name", "-------", "1 NULL"};
    QTest::newRow("tab") << 1 << plain << QStringList{"id\tname", "-------", "1\tNULL"};
    QTest::newRow("bar") << 2 << plain << QStringList{"id|name", "-------", "1|NULL"};
    QTest::newRow("comma") << 3 << plain << QStringList{"id,name", "-------", "1,NULL"};
    QTest::newRow("colon") << 4 << plain << QStringList{"id:name", "-------", "1:NULL"};
    QTest::newRow("semicolon") << 5 << plain << QStringList{"id;name", "-------", "1;NULL"};
    QTest::newRow("names of two bytes a character, half-width ones of one")
        << 3 << QStringList{"番号", "ｶﾅ"} << QStringList{"番号,ｶﾅ", "-------", "1,NULL"};
    QTest::newRow("a name that holds the delimiter")
        << 3 << QStringList{"a,b", ""} << QStringList{"a,b,", "----", "1,NULL"};
}

void ExecutionTest::linesAreDelimited()
{
    QFETCH(int, delimiter);
    QFETCH(QStringList, fields);
    QFETCH(QStringList, lines);
    ConsoleFixture console;
    console.script.always(statement, Reply::table(fields, {{QStringLiteral("1"), std::nullopt}}));
    console.session.gDelimiter = delimiter == 2 ? QStringLiteral("ﾀﾌﾞ") : QStringLiteral("|");
    console.open();
    console.control<QComboBox>("cboDelimiter").setCurrentIndex(delimiter);
    console.run(statement);
    QCOMPARE(console.text(), crLf(lines));
    QCOMPARE(console.grid().text(0, 1), QStringLiteral("NULL"));
    QCOMPARE(console.session.gDelimiter, console.control<QComboBox>("cboDelimiter").currentText());
}

void ExecutionTest::aStatementWithoutRowsLeavesTheGrid()
{
    ConsoleFixture console;
    console.script.always(statement, people());
    console.open();
    console.run(statement);
    QCOMPARE(console.count(), QStringLiteral("2"));
    console.dialogue->expectInform(QStringLiteral("正常終了"));
    console.run(QStringLiteral("update t set a = 1"));
    QCOMPARE(console.grid().rowCount(), 2);
    QCOMPARE(console.count(), QStringLiteral("0"));
    QCOMPARE(console.button("cmdExec").property("tag").toString(), QStringLiteral("False"));
}

void ExecutionTest::theFileHoldsWhatTheTextBoxHolds()
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
}

void ExecutionTest::fileOnlyLeavesGridAndTextAlone()
{
    ConsoleFixture console;
    console.script.always(statement, people());
    console.open();
    console.run(statement);
    const QString before = console.text();
    console.control<QComboBox>("cboDelimiter").setCurrentIndex(1);
    console.control<QCheckBox>("ckNoTextNoGrid").setChecked(true);
    console.run(statement);
    QCOMPARE(QString::fromUtf8(console.file()), crLf({"id\t名前", "-------", "1\t山田", "2\tNULL"}));
    QCOMPARE(console.text(), before);
    QCOMPARE(console.grid().rowCount(), 0);
    QCOMPARE(console.grid().fieldName(1), QStringLiteral("名前"));
    QCOMPARE(console.count(), QStringLiteral("2"));
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
    const QString words = QStringLiteral("You have an error in your SQL syntax");
    console.script.always(QStringLiteral("selct"), Reply::failure(words, 1064));
    console.open();
    console.dialogue->expectRefuse(words);
    console.run(QStringLiteral("selct"));
    QCOMPARE(console.lastError(), words);
    QVERIFY(console.button("cmdExec").isEnabled());
    QVERIFY(!console.button("cmdStop").isEnabled());
    console.dialogue->expectInform(QStringLiteral("正常終了"));
    console.run(QStringLiteral("set @a = 1"));
    QCOMPARE(console.lastError(), QString());
}

void ExecutionTest::aFailureInTheMiddleKeepsWhatWasRead()
{
    // The record set fails under the reader, as it does when the server dies.
    class Breaking : public EndlessRows {
    public:
        bool read(RowBlock &block) override
        {
            if (std::exchange(m_wasRead, true))
                throw SqlError(QStringLiteral("Lost connection to MySQL server during query"), 2013);
            return EndlessRows::read(block);
        }

    private:
        bool m_wasRead = false;
    };
    class BreakingConnection : public EndlessConnection {
        RecordSet execute(const QString &) override { return RecordSet(std::make_unique<Breaking>()); }
    };
    ConsoleFixture console;
    console.session.gCn = std::make_unique<BreakingConnection>();
    console.open();
    console.dialogue->expectRefuse(QStringLiteral("Lost connection to MySQL server during query"));
    console.run(statement);
    QCOMPARE(console.count(), QStringLiteral("100"));
    QCOMPARE(console.grid().rowCount(), 100);
    QCOMPARE(console.text().count(u'\n'), 102);
}

void ExecutionTest::aFullDiskIsReported_data()
{
    QTest::addColumn<bool>("isFileOnly");
    QTest::newRow("text saved") << false;
    QTest::newRow("file only") << true;
}

void ExecutionTest::aFullDiskIsReported()
{
    QFETCH(bool, isFileOnly);
    if (!QFile::exists(QStringLiteral("/dev/full")))
        QSKIP("no device here that is always full");
    ConsoleFixture console;
    QVERIFY(QFile::link(QStringLiteral("/dev/full"), console.filePath()));
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
    OutputFile file(folder->filePath(QStringLiteral("sqldump.dat")));
    file.write("a line\r\n");
    folder.reset();
    QVERIFY_THROWS_EXCEPTION(SqlError, file.close());
}

void ExecutionTest::theEditorGetsTheFile()
{
    ConsoleFixture console;
    console.script.always(statement, people());
    const QString editor = console.folder.filePath(QStringLiteral("my editor"));
    const QString opened = console.folder.filePath(QStringLiteral("opened"));
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
    console.session.gTextEditor = console.folder.filePath(QStringLiteral("no such editor"));
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
    QTest::newRow("grid, text and saved file") << false << false;
    QTest::newRow("file only") << true << false;
    QTest::newRow("by the main window's disconnect button") << false << true;
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
    console.dialogue->expectInform(QStringLiteral("処理を中断しました"));
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
    console.dialogue->expectInform(QStringLiteral("処理を中断しました"));
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
