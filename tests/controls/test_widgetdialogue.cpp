#include "controls/dialogue/percentbar.h"
#include "controls/dialogue/widgetdialogue.h"
#include "support/gui/boxes.h"

#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
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

    Parts() { window.setWindowTitle("Tarnwell"); }
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
    void boxesCarryCaptionAndAnswer();
    void longMessagesStayOnTheScreenAndAreNoMarkup();
    void progressCountsAndNeverDivides();
    void foldersComeWithoutSeparatorAtTheEnd();
    void pendingChangesAreShownWithWhatCanBeDone();
};

void TestWidgetDialogue::boxesCarryCaptionAndAnswer()
{
    Parts parts;
    Boxes boxes;
    const QString question = "削除しますか？";
    for (const bool isYes : {true, false}) {
        boxes.expect(question, isYes ? QMessageBox::Ok : QMessageBox::Cancel);
        QCOMPARE(parts.dialogue.confirm(question, Icon::Critical), isYes);
        boxes.expect(question, isYes ? QMessageBox::Yes : QMessageBox::No);
        QCOMPARE(parts.dialogue.ask(question), isYes);
    }
    boxes.expectOk("[PROC]\tp‹U+202E›\r\n終了");
    parts.dialogue.inform("[PROC]\tp\u202E\r\n終了");
    QCOMPARE(boxes.seen().last(), "Tarnwell|[PROC]\tp‹U+202E›\r\n終了");

    boxes.setPaused(true);
    const auto escape = [] { QTest::keyClick(&shownBox(), Qt::Key_Escape); };
    QTimer::singleShot(20, this, escape);
    QVERIFY(!parts.dialogue.confirm(question, Icon::Critical));
    QTimer::singleShot(20, this, escape);
    QVERIFY(!parts.dialogue.ask(question));
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

void TestWidgetDialogue::progressCountsAndNeverDivides()
{
    Parts parts;
    bool hasRun = false;
    QTimer::singleShot(0, this, [&] { hasRun = true; });
    parts.dialogue.progress(12, 3);
    QVERIFY2(hasRun, "no window event ran");
    QCOMPARE(parts.count.text(), "3/12");
    QCOMPARE(parts.bar.text(), "25%");
    parts.dialogue.progress(0, 0);
    QCOMPARE(parts.bar.text(), "1%"); // it never looks empty, nor finished before the end
    parts.dialogue.progress(1000, 996);
    QCOMPARE(parts.bar.text(), "99%");
    sProgressBar(parts.bar, 1, true);
    QCOMPARE(parts.bar.text(), "100%");
    WidgetDialogue bare(&parts.window, {});
    bare.progress(2, 1); // a window without any of the parts
    bare.setTarget("x");
    bare.setLastError("x", true);
}

void TestWidgetDialogue::foldersComeWithoutSeparatorAtTheEnd()
{
    Parts parts;
    QTemporaryDir folder;
    const QString chosen = folder.filePath("保存 先");
    QVERIFY(QDir().mkdir(chosen));
    Boxes boxes;
    boxes.expectFile(chosen + u'/');
    QCOMPARE(parts.dialogue.chooseFolder("title\r\nsecond", folder.path()), chosen);
    boxes.expectFile("/");
    QCOMPARE(parts.dialogue.chooseFolder("title", {}), "/");
    boxes.expectFile({});
    QVERIFY(parts.dialogue.chooseFolder("title", {}).isNull());
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
    QCOMPARE(parts.dialogue.chooseFolder("one\r\ntwo", chosen), chosen);
}

void TestWidgetDialogue::pendingChangesAreShownWithWhatCanBeDone()
{
    Parts parts;
    Boxes boxes;
    const QDateTime begun(QDate(2026, 11, 22), QTime(5, 30));
    const std::vector<PendingChange> changes{{"ﾃｰﾌﾞﾙ `d`.t の変更",
                                              begun,
                                              "ﾃﾞｰﾀはｺﾋﾟｰ `d`.t1 にあります。",
                                              {"create table t", "drop table t1"},
                                              {}},
                                             {"restore", begun, {}, {}, "drop table t2"}};
    const auto press = [&](int row, const char *button, const QString &shown) {
        boxes.expectDialog("pendingChanges", [=](QDialog &dialog) {
            auto *list = dialog.findChild<QListWidget *>("pendingList");
            QCOMPARE(list->item(0)->text(), "ﾃｰﾌﾞﾙ `d`.t の変更 (2026/11/22 05:30)");
            list->setCurrentRow(row);
            QCOMPARE(dialog.findChild<QPlainTextEdit *>("pendingStatements")->toPlainText(), shown);
            QCOMPARE(dialog.findChild<QPushButton *>("undoPending")->isEnabled(), row == 0);
            QCOMPARE(dialog.findChild<QPushButton *>("finishPending")->isEnabled(), row == 1);
            dialog.findChild<QPushButton *>(button)->click();
        });
        return parts.dialogue.askPending(changes);
    };
    using Action = PendingAnswer::Action;
    const QString first = "ﾃﾞｰﾀはｺﾋﾟｰ `d`.t1 にあります。\n\n元に戻す文:\ncreate table t;\ndrop table t1;";
    const QString second = "残っている文:\ndrop table t2;";
    QCOMPARE(press(0, "undoPending", first).action, Action::Undo);
    const PendingAnswer finishing = press(1, "finishPending", second);
    QVERIFY(finishing.action == Action::Finish && finishing.change == 1);
    QCOMPARE(press(1, "forgetPending", second).action, Action::Forget);
    QCOMPARE(press(0, "decideLater", first).action, Action::Later);
}

QTEST_MAIN(TestWidgetDialogue)
#include "test_widgetdialogue.moc"
