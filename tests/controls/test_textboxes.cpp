#include "controls/resulttextbox.h"
#include "controls/sqltextbox.h"
#include "support/gui/boxes.h"

#include <QLabel>
#include <QLineEdit>
#include <QTest>
#include <QVBoxLayout>

namespace {

void find(QsciScintilla &box, const QString &text)
{
    QTest::keyClick(&box, Qt::Key_F, Qt::ControlModifier);
    auto *line = box.findChild<QLineEdit *>(QStringLiteral("findText"));
    line->setText(text);
    QTest::keyClick(line, Qt::Key_Return);
}

QPair<int, int> selectionStart(const QsciScintilla &box)
{
    int line, index, endLine, endIndex;
    box.getSelection(&line, &index, &endLine, &endIndex);
    return {line, index};
}

} // namespace

class TestTextBoxes : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnAnyWarning(); }
    void contentsComeOutWithCrLf_data();
    void contentsComeOutWithCrLf();
    void loadingIsNoEditThatUndoTakesBack();
    void findGoesOnAndRound();
    void tabIndentsAndControlTabLeaves();
    void inputMethodSeesOneLine();
    void readOnlyBoxTakesContentsButNoKeys();
    void largeTextArrivesWhole_data();
    void largeTextArrivesWhole();
    void refillingWhileItArrivesDropsTheRest_data();
    void refillingWhileItArrivesDropsTheRest();
    void colourFollowsThePalette();
};

void TestTextBoxes::contentsComeOutWithCrLf_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    QTest::newRow("LF") << QStringLiteral("a\nb\n") << QStringLiteral("a\r\nb\r\n");
    QTest::newRow("CR LF") << QStringLiteral("a\r\nb") << QStringLiteral("a\r\nb");
    QTest::newRow("mixed") << QStringLiteral("a\r\nb\nc\rd") << QStringLiteral("a\r\nb\r\nc\r\nd");
    QTest::newRow("Japanese") << QStringLiteral("日本語ﾊﾝｶｸ𠮷\té") << QStringLiteral("日本語ﾊﾝｶｸ𠮷\té");
    QTest::newRow("empty") << QString() << QString();
}

void TestTextBoxes::contentsComeOutWithCrLf()
{
    QFETCH(QString, text);
    QFETCH(QString, expected);
    SqlTextBox box;
    box.setContents(text);
    QCOMPARE(box.contents(), expected);
}

void TestTextBoxes::loadingIsNoEditThatUndoTakesBack()
{
    SqlTextBox box;
    box.setContents(QStringLiteral("select 1"));
    QVERIFY(!box.isUndoAvailable());
    box.setCursorPosition(0, 8);
    QTest::keyClicks(&box, QStringLiteral("23"));
    QTest::keyClick(&box, Qt::Key_Return);
    QCOMPARE(box.contents(), QStringLiteral("select 123\r\n"));
    while (box.isUndoAvailable())
        QTest::keyClick(&box, Qt::Key_Z, Qt::ControlModifier);
    QCOMPARE(box.contents(), QStringLiteral("select 1"));
}

void TestTextBoxes::findGoesOnAndRound()
{
    SqlTextBox box;
    box.setContents(QStringLiteral("顧客 a\r\nb 顧客\r\n顧客"));
    find(box, QStringLiteral("顧客"));
    QCOMPARE(selectionStart(box), qMakePair(0, 0));
    QTest::keyClick(&box, Qt::Key_F3);
    QCOMPARE(selectionStart(box), qMakePair(1, 2));
    QTest::keyClick(&box, Qt::Key_F3, Qt::ShiftModifier);
    QCOMPARE(selectionStart(box), qMakePair(0, 0));
    QTest::keyClick(&box, Qt::Key_F3, Qt::ShiftModifier);
    QCOMPARE(selectionStart(box), qMakePair(2, 0));
    QTest::keyClick(&box, Qt::Key_F3);
    QCOMPARE(selectionStart(box), qMakePair(0, 0));
}

void TestTextBoxes::tabIndentsAndControlTabLeaves()
{
    QWidget window;
    SqlTextBox box(&window);
    QLineEdit next(&window);
    ResultTextBox result(&window);
    QWidget::setTabOrder(&box, &next);
    QWidget::setTabOrder(&next, &result);
    window.show();
    box.setFocus();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QTest::keyClick(&box, Qt::Key_Tab);
    QCOMPARE(box.contents(), QStringLiteral("\t"));
    QVERIFY(box.hasFocus());
    QTest::keyClick(&box, Qt::Key_Tab, Qt::ControlModifier);
    QVERIFY(next.hasFocus());
    result.setFocus();
    QTest::keyClick(&result, Qt::Key_Tab);
    QVERIFY(!result.hasFocus());
}

void TestTextBoxes::inputMethodSeesOneLine()
{
    SqlTextBox box;
    box.setContents(QStringLiteral("一行目\r\n二行目です\r\n三"));
    box.setCursorPosition(1, 2);
    QInputMethodQueryEvent query(Qt::ImSurroundingText | Qt::ImCursorPosition);
    QCoreApplication::sendEvent(&box, &query);
    QCOMPARE(query.value(Qt::ImSurroundingText).toString(), QStringLiteral("二行目です\r\n"));
    QCOMPARE(query.value(Qt::ImCursorPosition).toInt(), 2);
    QInputMethodEvent typed;
    typed.setCommitString(QStringLiteral("かな"));
    QCoreApplication::sendEvent(&box, &typed);
    QCOMPARE(box.text(1), QStringLiteral("二行かな目です\r\n"));
}

void TestTextBoxes::readOnlyBoxTakesContentsButNoKeys()
{
    SqlTextBox box;
    box.setReadOnly(true);
    box.setContents(QStringLiteral("given"));
    QTest::keyClicks(&box, QStringLiteral("typed"));
    QCOMPARE(box.contents(), QStringLiteral("given"));
    QVERIFY(box.isReadOnly());
}

void TestTextBoxes::largeTextArrivesWhole_data()
{
    QTest::addColumn<int>("lines");
    QTest::newRow("one piece") << 10;
    QTest::newRow("several pieces") << 100000;
    QTest::newRow("beside the window") << 1000000;
}

void TestTextBoxes::largeTextArrivesWhole()
{
    QFETCH(int, lines);
    std::string text;
    for (int i = 0; i < lines; ++i)
        text += "行 " + std::to_string(i) + " 日本語のテキスト\r\n";
    ResultTextBox box;
    box.show();
    QVERIFY(QTest::qWaitForWindowExposed(&box));
    box.setWholeText("見出し\r\n");
    int yields = 0;
    QElapsedTimer clock;
    qint64 longest = 0;
    clock.start();
    box.appendInPieces(text, [&] {
        longest = std::max(longest, clock.restart());
        ++yields;
    });
    QVERIFY(yields > 0);
    QCOMPARE(box.byteCount(), qint64(text.size() + 11));
    QCOMPARE(box.lines(), lines + 2);
    QCOMPARE(box.text(0), QStringLiteral("見出し\r\n"));
    QCOMPARE(box.text(lines), QStringLiteral("行 %1 日本語のテキスト\r\n").arg(lines - 1));
    QVERIFY(box.isReadOnly());
    find(box, QStringLiteral("行 %1 日").arg(lines - 1));
    QCOMPARE(selectionStart(box), qMakePair(lines, 0));
    // Generous, since the machine may be busy; a stall would be several times as long.
    QVERIFY2(longest < 500, qPrintable(QString::number(longest)));
    box.clearText();
    QCOMPARE(box.text(), QString());
}

void TestTextBoxes::refillingWhileItArrivesDropsTheRest_data()
{
    QTest::addColumn<int>("megabytes");
    QTest::newRow("in pieces") << 8;
    QTest::newRow("beside the window") << 64;
}

void TestTextBoxes::refillingWhileItArrivesDropsTheRest()
{
    QFETCH(int, megabytes);
    const std::string text(static_cast<std::size_t>(megabytes) << 20, '\n');
    ResultTextBox box;
    bool isFirst = true;
    box.appendInPieces(text, [&] {
        if (isFirst)
            box.setWholeText("new");
        isFirst = false;
    });
    QCOMPARE(box.text(), QStringLiteral("new"));
}

void TestTextBoxes::colourFollowsThePalette()
{
    SqlTextBox box;
    box.setContents(QStringLiteral("select"));
    QPalette dark;
    dark.setColor(QPalette::Base, Qt::black);
    dark.setColor(QPalette::Text, Qt::white);
    box.setPalette(dark);
    const auto colour = [&](auto message) {
        const long bgr = box.SendScintilla(message, long{QsciLexerSQL::Keyword});
        return qGray(QColor(bgr & 255, bgr >> 8 & 255, bgr >> 16 & 255).rgb());
    };
    QCOMPARE(colour(QsciScintilla::SCI_STYLEGETBACK), 0);
    QVERIFY2(colour(QsciScintilla::SCI_STYLEGETFORE) > 120, "dark on dark");
}

QTEST_MAIN(TestTextBoxes)
#include "test_textboxes.moc"
