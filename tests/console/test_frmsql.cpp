#include "console/consolestage.h"
#include "console/outputfile.h"
#include "support/lockedfolder.h"

#include <QProcess>

namespace {

QString crLf(const QStringList &lines)
{
    return lines.join("\r\n") + QStringLiteral("\r\n");
}

} // namespace

// What the console runs, on a scripted server.
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
};

// Two statements are one text, and nothing but blanks is cut off.
void FrmSqlTest::theTextIsSentAsItStandsUnlessItIsBlank()
{
    ScriptedConsole console;
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
        ScriptedConsole console;
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
    ScriptedConsole console;
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
    ScriptedConsole console;
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
        ScriptedConsole console;
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
        ScriptedConsole console;
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
    ScriptedConsole console;
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

QTEST_MAIN(FrmSqlTest)
#include "test_frmsql.moc"
