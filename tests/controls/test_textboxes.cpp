#include "controls/text/resulttextbox.h"
#include "controls/text/sqltextbox.h"
#include "support/gui/boxes.h"

#include <QDialog>
#include <QLineEdit>
#include <QTest>

namespace {

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
    void contentsComeOutWithCrLfEvenOfAReadOnlyBox();
    void loadingIsNoEditThatUndoTakesBack();
    void escapeLeavesTheDialogAroundThem();
    void findGoesOnAndRound();
    void inputMethodSeesOneLine();
    void largeTextArrivesWholeUnlessTheBoxIsRefilled();
    void colourFollowsThePalette();
};

void TestTextBoxes::contentsComeOutWithCrLfEvenOfAReadOnlyBox()
{
    SqlTextBox box;
    box.setContents("a\r\nb\nc\rd\r日本語ﾊﾝｶｸ𠮷\té");
    QCOMPARE(box.contents(), "a\r\nb\r\nc\r\nd\r\n日本語ﾊﾝｶｸ𠮷\té");
    box.setReadOnly(true);
    box.setContents("given");
    QTest::keyClicks(&box, "typed");
    QCOMPARE(box.contents(), "given");
    QVERIFY(box.isReadOnly());
    box.setReadOnly(false);
    box.SendScintilla(QsciScintilla::SCI_APPENDTEXT, 2UL, "\0x");
    QCOMPARE(box.contents().size(), 7);
}

void TestTextBoxes::loadingIsNoEditThatUndoTakesBack()
{
    SqlTextBox box;
    box.setContents("select 1");
    QVERIFY(!box.isUndoAvailable());
    box.setCursorPosition(0, 8);
    QTest::keyClicks(&box, "23");
    QTest::keyClick(&box, Qt::Key_Return);
    QTest::keyClick(&box, Qt::Key_Tab);
    QCOMPARE(box.contents(), "select 123\r\n\t");
    while (box.isUndoAvailable())
        QTest::keyClick(&box, Qt::Key_Z, Qt::ControlModifier);
    QCOMPARE(box.contents(), "select 1");
}

void TestTextBoxes::escapeLeavesTheDialogAroundThem()
{
    QDialog dialog;
    SqlTextBox box(&dialog);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowActive(&dialog));
    box.setFocus();
    QTest::keyClick(dialog.windowHandle(), Qt::Key_Escape);
    QVERIFY(dialog.isHidden());
}

void TestTextBoxes::findGoesOnAndRound()
{
    SqlTextBox box;
    box.setContents("顧客 a\r\nb 顧客\r\n顧客");
    QTest::keyClick(&box, Qt::Key_F, Qt::ControlModifier);
    auto *line = box.findChild<QLineEdit *>(QStringLiteral("findText"));
    line->setText("顧客");
    QTest::keyClick(line, Qt::Key_Return);
    QCOMPARE(selectionStart(box), qMakePair(0, 0));
    QTest::keyClick(&box, Qt::Key_F3);
    QCOMPARE(selectionStart(box), qMakePair(1, 2));
    for (const int found : {0, 2}) {
        QTest::keyClick(&box, Qt::Key_F3, Qt::ShiftModifier);
        QCOMPARE(selectionStart(box), qMakePair(found, 0));
    }
}

void TestTextBoxes::inputMethodSeesOneLine()
{
    SqlTextBox box;
    box.setContents("一行目\r\n二行目です\r\n三");
    box.setCursorPosition(1, 2);
    QInputMethodQueryEvent query(Qt::ImSurroundingText | Qt::ImCursorPosition);
    QCoreApplication::sendEvent(&box, &query);
    QCOMPARE(query.value(Qt::ImSurroundingText).toString(), "二行目です\r\n");
    QCOMPARE(query.value(Qt::ImCursorPosition).toInt(), 2);
    QInputMethodEvent typed;
    typed.setCommitString("かな");
    QCoreApplication::sendEvent(&box, &typed);
    QCOMPARE(box.text(1), "二行かな目です\r\n");
}

void TestTextBoxes::largeTextArrivesWholeUnlessTheBoxIsRefilled()
{
    constexpr int lines = 1000000;
    std::string text;
    for (int i = 0; i < lines; ++i)
        text += "行 " + std::to_string(i) + " 日本語のテキスト\r\n";
    const auto produce = [&text](const ResultTextBox::Take &take) {
        constexpr std::size_t piece = 100'000;
        for (std::size_t begin = 0; begin < text.size(); begin += piece)
            take(std::string_view(text).substr(begin, piece));
    };
    ResultTextBox box;
    box.show();
    QVERIFY(QTest::qWaitForWindowExposed(&box));
    int turns = 0; // of the windows meanwhile
    box.produceText(text.size(), produce, [&turns] { ++turns; });
    QVERIFY(turns > 0);
    QCOMPARE(box.byteCount(), qint64(text.size()));
    QCOMPARE(box.text(lines - 1), QStringLiteral("行 %1 日本語のテキスト\r\n").arg(lines - 1));
    // Who fills the box while a text arrives drops that.
    box.produceText(text.size(), produce, [&box] { box.setWholeText("new"); });
    QCOMPARE(box.text(), "new");
}

void TestTextBoxes::colourFollowsThePalette()
{
    SqlTextBox box;
    box.setContents("select");
    box.show(); // coloured then
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
