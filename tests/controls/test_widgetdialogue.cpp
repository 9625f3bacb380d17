#include "controls/percentbar.h"
#include "controls/widgetdialogue.h"
#include "support/gui/boxes.h"

#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QLabel>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

namespace {

struct Parts {
    QWidget window;
    QLabel count{&window}, target{&window}, caption{&window};
    PercentBar bar{&window};
    QPlainTextEdit error{&window};
    WidgetDialogue dialogue{&window, {&count, &bar, &target, &error, &caption}};

    Parts() { window.setWindowTitle(QStringLiteral("Tarnwell")); }
};

QMessageBox &shownBox()
{
    return *qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
}

} // namespace

class TestWidgetDialogue : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnAnyWarning(); }
    void boxesCarryCaptionIconAndAnswer();
    void escapeIsCancelAndNo();
    void longMessagesStayOnTheScreenAndAreNoMarkup();
    void hourglassDoesNotCoverABox();
    void progressCountsAndNeverDivides();
    void batchesTellTheirTime_data();
    void batchesTellTheirTime();
    void errorsGoToTheBoxAndTheTip();
    void foldersComeWithoutSeparatorAtTheEnd();
};

void TestWidgetDialogue::boxesCarryCaptionIconAndAnswer()
{
    Parts parts;
    Boxes boxes;
    boxes.expect(QStringLiteral("削除しますか？"), QMessageBox::Ok);
    boxes.expect(QStringLiteral("削除しますか？"), QMessageBox::Cancel);
    boxes.expect(QStringLiteral("続けますか"), QMessageBox::Yes);
    boxes.expect(QStringLiteral("続けますか"), QMessageBox::No);
    boxes.expectOk(QStringLiteral("終了"));
    QVERIFY(parts.dialogue.confirm(QStringLiteral("削除しますか？"), Icon::Critical));
    QVERIFY(!parts.dialogue.confirm(QStringLiteral("削除しますか？"), Icon::Information));
    QVERIFY(parts.dialogue.ask(QStringLiteral("続けますか")));
    QVERIFY(!parts.dialogue.ask(QStringLiteral("続けますか")));
    parts.dialogue.inform(QStringLiteral("終了"));
    QCOMPARE(boxes.seen().last(), QStringLiteral("Tarnwell|終了"));
}

void TestWidgetDialogue::escapeIsCancelAndNo()
{
    Parts parts;
    const auto escape = [] { QTest::keyClick(&shownBox(), Qt::Key_Escape); };
    QTimer::singleShot(20, this, escape);
    QVERIFY(!parts.dialogue.confirm(QStringLiteral("?"), Icon::Critical));
    QTimer::singleShot(20, this, escape);
    QVERIFY(!parts.dialogue.ask(QStringLiteral("?")));
    QTimer::singleShot(20, this, escape);
    parts.dialogue.refuse(QStringLiteral("!"));
}

void TestWidgetDialogue::longMessagesStayOnTheScreenAndAreNoMarkup()
{
    Parts parts;
    const QString text = QStringLiteral("<b>near</b> 'select x'\r\n").repeated(300);
    QTimer::singleShot(50, this, [&] {
        QMessageBox &box = shownBox();
        QCOMPARE(box.text(), text);
        QCOMPARE(box.textFormat(), Qt::PlainText);
        QVERIFY(box.screen()->availableSize().height() > box.height());
        auto *area = box.findChild<QPlainTextEdit *>();
        QVERIFY(area && area->textInteractionFlags() & Qt::TextSelectableByMouse);
        QCOMPARE(area->toPlainText().size(), text.size() - text.count(u'\r'));
        QVERIFY2(area->horizontalScrollBar()->maximum() == 0, "lines are cut off at the right");
        box.accept();
    });
    parts.dialogue.refuse(text);
}

void TestWidgetDialogue::hourglassDoesNotCoverABox()
{
    Parts parts;
    Qt::CursorShape shape = Qt::BlankCursor;
    {
        const BusyPointer outer(parts.dialogue);
        const BusyPointer inner(parts.dialogue);
        QTimer::singleShot(20, this, [&] {
            shape = QApplication::overrideCursor()->shape();
            shownBox().accept();
        });
        parts.dialogue.inform(QStringLiteral("x"));
        QCOMPARE(QApplication::overrideCursor()->shape(), Qt::WaitCursor);
    }
    QCOMPARE(shape, Qt::ArrowCursor);
    QVERIFY(!QApplication::overrideCursor());
}

void TestWidgetDialogue::progressCountsAndNeverDivides()
{
    Parts parts;
    bool hasRun = false;
    QTimer::singleShot(0, this, [&] { hasRun = true; });
    parts.dialogue.progress(12, 3);
    QVERIFY2(hasRun, "no window event ran");
    QCOMPARE(parts.count.text(), QStringLiteral("3/12"));
    QCOMPARE(parts.bar.text(), QStringLiteral("25%"));
    parts.dialogue.progress(0, 0);
    QCOMPARE(parts.count.text(), QStringLiteral("0/0"));
    QCOMPARE(parts.bar.text(), QStringLiteral("1%"));
    WidgetDialogue bare(&parts.window, {});
    bare.progress(2, 1); // a window without any of the parts
    bare.setTarget(QStringLiteral("x"));
    bare.setLastError(QStringLiteral("x"), true);
}

void TestWidgetDialogue::batchesTellTheirTime_data()
{
    QTest::addColumn<int>("elapsed");
    QTest::addColumn<int>("total");
    QTest::addColumn<int>("current");
    QTest::addColumn<QString>("text");
    QTest::newRow("nothing done yet") << 400 << 10 << 0 << "経過 0:00";
    QTest::newRow("a quarter done") << 20'000 << 100 << 25 << "経過 0:20 / 残り 約1:00";
    QTest::newRow("all done") << 65'000 << 10 << 10 << "経過 1:05";
    QTest::newRow("nothing to do") << 0 << 0 << 0 << "経過 0:00";
}

void TestWidgetDialogue::batchesTellTheirTime()
{
    QFETCH(int, elapsed);
    QFETCH(int, total);
    QFETCH(int, current);
    QTEST(batchTime(elapsed, total, current), "text");
}

void TestWidgetDialogue::errorsGoToTheBoxAndTheTip()
{
    Parts parts;
    parts.dialogue.setLastError(QStringLiteral("first"), false);
    QCOMPARE(parts.error.toPlainText(), QStringLiteral("first"));
    QCOMPARE(parts.caption.toolTip(), QString());
    parts.dialogue.setLastError(QStringLiteral("near 'a < b'"), true);
    QCOMPARE(parts.caption.toolTip(), QStringLiteral("near 'a < b'"));
    parts.dialogue.setLastError(QStringLiteral("near '<b>x</b>'"), true);
    QVERIFY(!Qt::mightBeRichText(parts.caption.toolTip()) || !parts.caption.toolTip().contains(u"<b>"));
}

void TestWidgetDialogue::foldersComeWithoutSeparatorAtTheEnd()
{
    Parts parts;
    QTemporaryDir folder;
    QVERIFY(QDir(folder.path()).mkdir(QStringLiteral("保存 先")));
    const QString chosen = folder.filePath(QStringLiteral("保存 先"));
    Boxes boxes;
    boxes.expectFile(chosen + u'/');
    QCOMPARE(parts.dialogue.chooseFolder(QStringLiteral("title\r\nsecond"), folder.path()), chosen);
    boxes.expectFile(QStringLiteral("/"));
    QCOMPARE(parts.dialogue.chooseFolder(QStringLiteral("title"), QStringLiteral("/no/such/folder")),
             QStringLiteral("/"));
    boxes.expectFile({});
    QVERIFY(parts.dialogue.chooseFolder(QStringLiteral("title"), {}).isNull());
    // Both lines of the prompt are seen, and OK at once gives the start folder.
    QTimer::singleShot(100, this, [&] {
        auto *dialog = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
        const auto labels = dialog->findChildren<QLabel *>();
        QVERIFY(std::ranges::any_of(labels, [](QLabel *label) {
            return label->isVisible() && label->text() == QStringLiteral("one\r\ntwo");
        }));
        QMetaObject::invokeMethod(dialog, "accept");
    });
    boxes.setPaused(true);
    QCOMPARE(parts.dialogue.chooseFolder(QStringLiteral("one\r\ntwo"), chosen), chosen);
}

QTEST_MAIN(TestWidgetDialogue)
#include "test_widgetdialogue.moc"
