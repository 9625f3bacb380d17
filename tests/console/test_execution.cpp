#include "console/consolefixture.h"
#include "console/outputfile.h"
#include "support/lockedfolder.h"

#include <QProcess>

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
    void oneTextIsSentAsItStands();
    void aBlankStatementIsNotSent();
    void linesAreDelimited();
    void theRuleIsAsLongAsTheNamesInCp932();
    void theFileHoldsWhatTheTextBoxHoldsOrIsTheOnlyOne();
    void theServersWordsOfAFailureAreShown();
    void aFullDiskOrALockedFolderIsReported();
    void aFileThatVanishesIsReported();
    void theEditorGetsTheFile();
};

// Two statements are one text, and nothing but blanks is cut off.
void ExecutionTest::oneTextIsSentAsItStands()
{
    ConsoleFixture console;
    console.open();
    console.dialogue->expectInform("正常終了");
    console.run(" \tselect 1;\r\nselect ' a '\r\n ");
    QCOMPARE(console.script.sent, QStringList{"\tselect 1;\nselect ' a '\n"});
}

void ExecutionTest::aBlankStatementIsNotSent()
{
    ConsoleFixture console;
    console.open();
    console.type("  \r\n ");
    for (const char *button : {"cmdExec", "cmdAnalyze"}) {
        console.dialogue->expectInform("SQL文を入力してください。");
        console.button(button).click();
    }
    QCOMPARE(console.script.sent, QStringList());
}

void ExecutionTest::linesAreDelimited()
{
    const QString choices = QStringLiteral(" \t|,:;");
    for (int i = 0; i < choices.size(); ++i) {
        ConsoleFixture console;
        console.script.always(statement, Reply::table({"id", "name"}, {{"1", std::nullopt}}));
        console.session.gDelimiter = i == 2 ? QStringLiteral("ﾀﾌﾞ") : QStringLiteral("|");
        console.open();
        console.control<QComboBox>("cboDelimiter").setCurrentIndex(i);
        console.run(statement);
        QCOMPARE(console.text(), crLf({"id%1name", "-------", "1%1NULL"}).replace("%1", choices.mid(i, 1)));
        QCOMPARE(console.session.gDelimiter, console.control<QComboBox>("cboDelimiter").currentText());
    }
}

// Two bytes for most characters and one for half-width ones, whatever they take in a file of UTF-8.
void ExecutionTest::theRuleIsAsLongAsTheNamesInCp932()
{
    ConsoleFixture console;
    console.script.always(statement, Reply::table({"番号", "ｶﾅ", "a b", ""}, {{"1", "2", "3", "4"}}));
    console.open();
    console.run(statement);
    QCOMPARE(console.text(), crLf({"番号 ｶﾅ a b ", "------------", "1 2 3 4"}));
}

void ExecutionTest::theFileHoldsWhatTheTextBoxHoldsOrIsTheOnlyOne()
{
    ConsoleFixture console;
    console.script.always(statement, people());
    {
        const QTemporaryDir vanished; // its place is taken by the program's folder
        console.session.gTextPath = vanished.path();
    }
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
    QCOMPARE(console.count(), "2");
}

void ExecutionTest::theServersWordsOfAFailureAreShown()
{
    ConsoleFixture console;
    const QString words = "You have an error in your SQL syntax";
    console.script.always("selct", Reply::failure(words, 1064));
    console.script.always(statement, people());
    console.open();
    console.run(statement);
    console.dialogue->expectRefuse(words);
    console.run("selct");
    QCOMPARE(console.lastError(), words);
    QVERIFY(console.button("cmdExec").isEnabled() && !console.button("cmdStop").isEnabled());
    console.dialogue->expectInform("正常終了");
    console.run("set @a = 1");
    QCOMPARE(console.lastError(), QString());
    QCOMPARE(console.count(), "0");
    QCOMPARE(console.grid().rowCount(), 2); // of the rows read last
}

void ExecutionTest::aFullDiskOrALockedFolderIsReported()
{
    if (!QFile::exists("/dev/full"))
        QSKIP("no device here that is always full");
    for (const bool isFileOnly : {false, true}) {
        ConsoleFixture console;
        QVERIFY(QFile::link("/dev/full", console.filePath()));
        console.script.always(statement, people());
        console.session.gMemo1 = QStringLiteral("1");
        console.session.gNoTextNoGrid = QString::number(isFileOnly);
        console.open();
        const QString words = console.filePath() + QStringLiteral(": No space left on device");
        console.dialogue->expectRefuse(words);
        console.run(statement);
        QCOMPARE(console.lastError(), words);
        QCOMPARE(console.text().isEmpty(), isFileOnly);

        QVERIFY(QFile::remove(console.filePath()));
        {
            const LockedFolder locked(console.folder.path());
            console.dialogue->expectRefuse(console.filePath() + QStringLiteral(": Permission denied"));
            console.run(statement);
        }
        console.run(statement);
        QVERIFY(console.file().endsWith("2 NULL\r\n"));
    }
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
    const QString opened = console.folder.filePath("opened");
    QFile script(console.folder.filePath("my editor"));
    QVERIFY(script.open(QIODevice::WriteOnly));
    script.write("#!/bin/sh\ncat \"$1\" > \"$1.part\"\nmv \"$1.part\" \"$(dirname \"$1\")/opened\"\n");
    script.close();
    script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    console.session.gMemo1 = console.session.gMemo2 = QStringLiteral("1");
    console.open();
    for (const QString &editor : {script.fileName(), QStringLiteral("sh \"%1\"").arg(script.fileName())}) {
        console.session.gTextEditor = editor;
        console.run(statement);
        QTRY_VERIFY2(QFile::exists(opened), qPrintable(editor));
        QFile copy(opened);
        QVERIFY(copy.open(QIODevice::ReadOnly));
        QCOMPARE(copy.readAll(), console.file());
        QVERIFY(copy.remove());
    }

    console.session.gTextEditor = console.folder.filePath("no such editor");
    QProcess nothing;
    nothing.setProgram(console.session.gTextEditor);
    QVERIFY(!nothing.startDetached());
    // The toolkit's words, which change with its release.
    const QString words = console.session.gTextEditor + QStringLiteral(": ") + nothing.errorString();
    QVERIFY2(words.contains("No such file or directory"), qPrintable(words));
    console.dialogue->expectRefuse(words);
    console.run(statement);
    QCOMPARE(console.lastError(), words);
    QCOMPARE(console.text().toUtf8(), console.file());
}

QTEST_MAIN(ExecutionTest)
#include "test_execution.moc"
