#include "sheets/sheettest.h"

// What is kept of the sheets: drafts, and files that are opened, saved and run.
class SheetFilesTest : public SheetTest {
    Q_OBJECT

private Q_SLOTS:
    void init() { begin(); }
    void cleanup() { end(); }
    void whatWasTypedIsThereAgain();
    void aFileKeepsItsEncoding_data();
    void aFileKeepsItsEncoding();
    void whatCouldNotBeReadIsSaidBeforeItIsLost();
    void lineEndsAreTheFiles();
    void whatOthersHaveWrittenIsNotOverwrittenUnasked();
    void aFileIsRunInPlaceOfAStatement();
    void aFileIsRunAsItWasWritten_data();
    void aFileIsRunAsItWasWritten();
};

void SheetFilesTest::whatWasTypedIsThereAgain()
{
    type("first 漢字\r\nline");
    run();
    page().keepDraft();
    QTRY_VERIFY_WITH_TIMEOUT(!QDir(m_stage->folder.filePath("sheets")).entryList({"*.json"}).isEmpty(), 5000);
    const QString file = m_stage->folder.filePath(
        "sheets/" + QDir(m_stage->folder.filePath("sheets")).entryList({"*.json"})[0]);
    QCOMPARE(QFile(file).permissions() & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());
    {
        // Another program of the folder: what is open here is not opened there.
        QVERIFY(Draft::left(m_stage->folder.filePath("sheets")).empty());
    }
    delete m_window;
    // As a program leaves it that was killed.
    QFile lock(file + ".lock");
    QVERIFY(lock.open(QIODevice::WriteOnly));
    lock.write("99999999\nTarnwell\n" + QSysInfo::machineHostName().toUtf8() + '\n');
    lock.close();
    open();
    QCOMPARE(page().editor().contents(), "first 漢字\r\nline");
    QVERIFY(page().isChanged());
    const auto state = [this] { return control<QLabel>(*m_window, "sheetState").text(); };
    QVERIFY2(state().isEmpty(), qPrintable(state()));
    m_stage->session.gServer = "elsewhere";
    Q_EMIT page().changed();
    QVERIFY2(state().contains("別のサーバーで使っていた"), qPrintable(state()));
    // A full disk costs no text, and is said.
    delete m_window;
    QDir(m_stage->folder.filePath("sheets")).removeRecursively();
    QFile inTheWay(m_stage->folder.filePath("sheets"));
    QVERIFY(inTheWay.open(QIODevice::WriteOnly));
    open();
    type("second");
    page().keepDraft();
    QVERIFY(state().contains("下書きを保存できません"));
    QCOMPARE(page().editor().contents(), "second");
}

void SheetFilesTest::aFileKeepsItsEncoding_data()
{
    QTest::addColumn<QByteArray>("bytes");
    row("UTF-8", QByteArray("select '漢'\n"));
    row("with a mark", QByteArray("\xef\xbb\xbfselect '漢'\r\n"));
    row("UTF-16", QByteArray("\xff\xfe'\0\"o'\0", 8));
    row("UTF-16, big", QByteArray("\xfe\xff\0'o\"\0'", 8));
    row("CP932", QByteArray("select '\x8a\xbf'"));
    row("EUC-JP", QByteArray("-- \xb4\xc1\xbb\xfa\xa4\xce\xce\xf3\n\xb4\xc1"));
    row("EUC-JP, no kana", QByteArray("select '\xb4\xc1\xc6\xfc\xcb\xdc'"));
    row("ISO-2022-JP", QByteArray("select '\x1b$B4A\x1b(B';\nselect 1"));
    row("large", QByteArray("select 1;\n").repeated(200'000) + "漢");
}

void SheetFilesTest::aFileKeepsItsEncoding()
{
    QFETCH(QByteArray, bytes);
    const QString path = m_stage->folder.filePath("text.sql");
    const auto write = [&path](const QByteArray &text) {
        QFile file(path);
        return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
    };
    QVERIFY(write(QByteArray(600'000, ' '))); // a line that would hold up the window
    QVERIFY(page().open(path).contains("ファイルを実行"));
    for (int start = 0; start < 2; ++start) { // the draft knows it, too
        QVERIFY(write(bytes));
        if (start == 0)
            QCOMPARE(page().open(path), QString());
        QVERIFY(page().editor().contents().contains("漢"));
        QVERIFY(!page().isDamaged());
        QCOMPARE(page().save(path), QString());
        QCOMPARE(readFile(path), bytes);
        delete m_window;
        open();
    }
}

void SheetFilesTest::whatCouldNotBeReadIsSaidBeforeItIsLost()
{
    QCOMPARE(fileText("-- \xc3\xde\xb0\xc0").text, "-- ﾃﾞｰﾀ"); // which EUC-JP has letters for, too
    const QString path = m_stage->folder.filePath("text.sql");
    for (const QByteArray &bytes : {QByteArray("select '\x8a\xbf\xff'"),  // of no encoding
                                    QByteArray("select '\x8a\xbf' \x8a"), // ends within a character
                                    QByteArray("\xef\xbb\xbfselect '\xff'"), QByteArray("\xff\xfes\0e", 5)}) {
        writeFile(path, bytes);
        QCOMPARE(page().open(path), QString());
        delete m_window;
        open();
        QVERIFY(control<QLabel>(*m_window, "sheetState").text().contains("読めない文字"));
        m_dialogue->expectConfirm(path + ": 読めない文字がありました。\r\n保存すると、その部分は"
                                         "ファイルから失われます。上書きしますか？",
                                  Icon::Critical, false);
        QTest::keyClick(m_window, Qt::Key_S, Qt::ControlModifier);
        QCOMPARE(readFile(path), bytes);
    }
}

void SheetFilesTest::lineEndsAreTheFiles()
{
    const QString path = m_stage->folder.filePath("text.sql");
    writeFile(path, "select hex('a\r\nb')");
    QCOMPARE(page().open(path), QString());
    run();
    QCOMPARE(firstCells(), QStringList("610D0A62"));
    type("set names cp932; select hex(convert('表' using utf8))"); // of a file in CP932
    run();
    QCOMPARE(firstCells(), QStringList("E8A1A8"));
    QVERIFY(messages().contains("utf8mb4 に戻しました"));
    for (const QByteArray &end : {QByteArray("\n"), QByteArray("\r\n")}) {
        writeFile(path, "select 1" + end + "from t");
        QCOMPARE(page().open(path), QString());
        QTest::keyClick(&page().editor(), Qt::Key_Return);
        QCOMPARE(page().save(path), QString());
        QCOMPARE(readFile(path), end + "select 1" + end + "from t");
    }
}

void SheetFilesTest::whatOthersHaveWrittenIsNotOverwrittenUnasked()
{
    const QString path = m_stage->folder.filePath("text.sql");
    writeFile(path, "select 1");
    QCOMPARE(page().open(path), QString());
    const auto edit = [this](const QString &text) {
        type(text);
        page().keepDraft();
        delete m_window;
        open();
    };
    edit("select 2");
    QTest::keyClick(m_window, Qt::Key_S, Qt::ControlModifier);
    QCOMPARE(readFile(path), "select 2");
    const QString question = path + ": 開いた後に、ほかで変更されています。\r\n保存すると、その変更は"
                                    "失われます。上書きしますか？";
    for (const QByteArray &foreign :
         {QByteArray("select 3"), QByteArray("select 33")}) { // as long, and longer
        writeFile(path, foreign);
        edit("select 4");
        m_dialogue->expectConfirm(question, Icon::Critical, false);
        QTest::keyClick(m_window, Qt::Key_S, Qt::ControlModifier);
        QCOMPARE(readFile(path), foreign);
    }
    m_dialogue->expectConfirm(question, Icon::Critical, true);
    QTest::keyClick(m_window, Qt::Key_S, Qt::ControlModifier);
    QCOMPARE(readFile(path), "select 4");
}

void SheetFilesTest::aFileIsRunInPlaceOfAStatement()
{
    QFile file(m_stage->folder.filePath("s.sql"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("insert into t values (4);\ninsert into nowhere values (5);\n");
    file.close();
    ScriptOptions options;
    options.path = file.fileName();
    page().runScript(options);
    QTRY_VERIFY(!page().isRunning());
    QVERIFY2(messages().contains("s.sql:2: "), qPrintable(messages()));
    QCOMPARE(m_server.run("select count(*) from d.t").trimmed().right(1), "4");
    type("source " + file.fileName() + "\nselect 8");
    press(*m_window, {"goOnAtErrors"});
    run();
    QCOMPARE(firstCells(), QStringList("8"));
    QCOMPARE(m_server.run("select count(*) from d.t").trimmed().right(1), "5");
}

void SheetFilesTest::aFileIsRunAsItWasWritten_data()
{
    // What stands in the file, what is said of it, and the bytes that arrive.
    const Rows<QByteArray, QString, QByteArray> row;
    const QByteArray begin = "insert into d.s(t) values('", end = "');\n";
    const QByteArray kanji = "E697A5E69CAC", longest = QByteArray("-- x\n").repeated(100'000);
    const auto utf16 = [](const QString &text) {
        return "\xff\xfe" + QByteArray(reinterpret_cast<const char *>(text.utf16()), text.size() * 2);
    };
    row("UTF-8", begin + "日本" + end, "UTF-8です", kanji);
    row("with a mark", "\xef\xbb\xbf" + begin + "日本" + end, "BOM", kanji);
    row("UTF-16", utf16("insert into d.s(t) values('日本');"), "BOM", kanji);
    row("CP932", begin + "\x93\xfa\x96\x7b\x95\x5c" + end, "シフトJISのようです", kanji + "E8A1A8");
    row("CP932 behind a long beginning", longest + begin + "\x93\xfa\x96\x7b" + end, "シフトJISのようです",
        kanji);
    row("EUC-JP", begin + "\xc6\xfc\xcb\xdc" + end, "EUC-JPのようです", kanji);
    row("a dump in latin1",
        "-- x\n/*!40101 SET NAMES latin1 */;\n" + begin +
            "\xe9"
            "clair" +
            end,
        "SET NAMES", "C3A9636C616972");
    row("bytes", "set names binary; insert into d.s(b) values('\xff\xd8\x01\x80');", "そのまま", "FFD80180");
}

void SheetFilesTest::aFileIsRunAsItWasWritten()
{
    const auto [bytes, words, arrived] = fetched<QByteArray, QString, QByteArray>();
    m_server.run("create table d.s(t varchar(20) character set utf8mb4, b varbinary(20))");
    const QString path = m_stage->folder.filePath("s.sql");
    writeFile(path, bytes);
    Boxes boxes;
    boxes.expectDialog("scriptFileDialog", [&](QDialog &dialog) {
        dialog.findChild<QLineEdit *>("scriptPath")->setText(path);
        const QString guess = dialog.findChild<QLabel *>("scriptGuess")->text();
        QVERIFY2(guess.contains(words), qPrintable(guess));
        dialog.accept();
    });
    run("runScriptFile");
    QCOMPARE(m_server.run("select hex(coalesce(t, b)) from d.s").trimmed().section('\n', -1),
             QString::fromLatin1(arrived));
}

QTEST_MAIN(SheetFilesTest)
#include "test_sheetfiles.moc"
