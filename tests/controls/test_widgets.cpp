#include "controls/dialogue/percentbar.h"
#include "controls/dialogue/widgetdialogue.h"
#include "controls/lists/chosenlist.h"
#include "controls/lists/fileboxes.h"
#include "controls/lists/filterline.h"
#include "controls/window/activation.h"
#include "controls/window/building.h"
#include "controls/window/windowsize.h"
#include "support/gui/boxes.h"
#include "support/gui/control.h"

#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QFileDialog>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QSignalSpy>
#include <QStyledItemDelegate>
#include <QTemporaryDir>
#include <QTest>
#include <QTextDocument>
#include <QTimer>

namespace {

QStringList visibleItems(const QListWidget &list)
{
    QStringList texts;
    for (int row = 0; row < list.count(); ++row)
        if (!list.item(row)->isHidden())
            texts << list.item(row)->text();
    return texts;
}

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

class WidgetsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnAnyWarning(); }
    void foldersAreEnteredByKeyAndMouse();
    void filterIgnoresCaseWidthAndTagAndOutlivesRefilling();
    void whatCannotBeSeenIsShownBySigns();
    void noWindowIsLargerThanTheScreen();
    void keysAndDragsChooseAndTheFocusDoesNot();
    void boxesCarryCaptionAndAnswer();
    void longMessagesStayOnTheScreenAndAreNoMarkup();
    void progressCountsAndNeverDivides();
    void foldersComeWithoutSeparatorAtTheEnd();
    void pendingChangesAreShownWithWhatCanBeDone();
    void onlyAnotherWindowOfTheProgramCounts();
};

void WidgetsTest::foldersAreEnteredByKeyAndMouse()
{
    QTemporaryDir folder;
    QVERIFY(QDir(folder.path()).mkpath("b/deep"));
    QVERIFY(QDir(folder.path()).mkpath("A 1"));
    FolderBox box;
    QVERIFY(box.setPath(folder.path() + u'/'));
    QCOMPARE(visibleItems(box), (QStringList{"..", "A 1", "b"}));
    box.setCurrentRow(2);
    QTest::keyClick(&box, Qt::Key_Return);
    QCOMPARE(box.path(), folder.filePath("b"));
    QTest::keyClick(&box, Qt::Key_Backspace);
    QCOMPARE(box.currentItem()->text(), "b");
    box.show();
    const QPoint middle = box.visualItemRect(box.item(1)).center();
    QTest::mouseClick(box.viewport(), Qt::LeftButton, {}, middle);
    QTest::mouseDClick(box.viewport(), Qt::LeftButton, {}, middle);
    QCOMPARE(box.path(), folder.filePath("A 1"));
    QVERIFY(!box.setPath("/no/such/folder") && !box.setPath({}));
    QCOMPARE(box.path(), folder.filePath("A 1"));
    QVERIFY(box.setPath("/"));
    QVERIFY(!visibleItems(box).contains(".."));
}

void WidgetsTest::filterIgnoresCaseWidthAndTagAndOutlivesRefilling()
{
    QListWidget list;
    FilterLine line(list);
    list.addItems({"one", "two"});
    QTest::keyClicks(&line, "w");
    QCOMPARE(visibleItems(list), QStringList{"two"});
    list.clear();
    list.addItems({"swim", "run"});
    list.addItem("jump");
    QCOMPARE(visibleItems(list), QStringList{"swim"});
    QTest::keyClick(&line, Qt::Key_Down);
    QCOMPARE(list.currentItem()->text(), "swim");
    QTest::keyClick(&line, Qt::Key_Escape);
    QCOMPARE(visibleItems(list).size(), 3);
    QVERIFY(!passesFilter("[TABLE]\tx", "table"));
    QVERIFY(passesFilter("[VIEW]\tﾃﾞｰﾀ一覧", "データ"));
    QVERIFY(passesFilter("user", "ＵＳ"));
    QVERIFY(!passesFilter("abc", "a.c")); // it is no pattern
}

void WidgetsTest::noWindowIsLargerThanTheScreen()
{
    keepWindowsOnScreen();
    QDialog dialog;
    QWidget window;
    for (QWidget *each : {static_cast<QWidget *>(&dialog), &window}) {
        each->resize(9000, 200);
        each->show();
        QVERIFY(each->width() < each->screen()->availableSize().width());
        QCOMPARE(each->height(), 200);
    }
}

void WidgetsTest::whatCannotBeSeenIsShownBySigns()
{
    ChosenList list;
    const QString item = QString("[TABLE]\ta\tb\n\u202Ec\x7f");
    list.appendItem(item);
    QCOMPARE(list.texts(), QStringList{item}); // for the commands
    const auto *delegate = qobject_cast<QStyledItemDelegate *>(list.itemDelegate());
    QCOMPARE(delegate->displayText(item, {}), "[TABLE]\ta␉b␊‹U+202E›c␡");
    list.setPairs();
    QCOMPARE(delegate->displayText("localhost\tro\tot", {}), "localhost\tro␉ot");

    // A tip shows every character once, whatever it looks like.
    for (const QString text : {"a < b & c", "<b>x</b>", "a &lt; b", "x\n<i>y</i>"}) {
        const QString tip = plainTip(text);
        QTextDocument shown;
        if (Qt::mightBeRichText(tip))
            shown.setHtml(tip);
        else
            shown.setPlainText(tip);
        QCOMPARE(shown.toPlainText(), text);
    }
    QCOMPARE(plainTip("a\u200Fb"), "a‹U+200F›b");
}

void WidgetsTest::keysAndDragsChooseAndTheFocusDoesNot()
{
    ChosenList list;
    for (const char *text : {"a", "b"})
        list.appendItem(text);
    const QSignalSpy chosen(&list, &ChosenList::chosen);
    list.show();
    list.activateWindow();
    list.setFocus();
    QTRY_VERIFY(list.hasFocus());
    QVERIFY(chosen.isEmpty());
    QCOMPARE(list.currentText(), QString());

    QTest::keyClick(&list, Qt::Key_Down);
    QCOMPARE(list.currentText(), "a");
    list.clearFocus();
    list.setFocus();
    QCOMPARE(list.currentText(), "a");
    QCOMPARE(chosen.size(), 1);
    // A drag that ends off the list chooses.
    const QPoint second = list.visualItemRect(list.item(1)).center();
    QTest::mousePress(list.viewport(), Qt::LeftButton, {}, second);
    QTest::mouseRelease(list.viewport(), Qt::LeftButton, {}, QPoint(-9, -9));
    QCOMPARE(list.currentText(), "b");
    QCOMPARE(chosen.size(), 2);
    QTest::keyClick(&list, Qt::Key_Space, Qt::ControlModifier);
    QCOMPARE(list.selectedItems().size(), 1);
    // Letters lead to names, not to tags; those that follow soon narrow down.
    for (const char *text : {"[TABLE]\torders", "[VIEW]\torigin"})
        list.appendItem(text);
    QTest::keyClicks(&list, "ori");
    QCOMPARE(list.currentText(), "[VIEW]\torigin");
}

void WidgetsTest::boxesCarryCaptionAndAnswer()
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
    // What nobody may do by habit.
    const auto enter = [] { QTest::keyClick(&shownBox(), Qt::Key_Return); };
    QTimer::singleShot(20, this, enter);
    QVERIFY(!parts.dialogue.warn(question));
    QTimer::singleShot(20, this, enter);
    QVERIFY(!parts.dialogue.askCarefully(question));
    QTimer::singleShot(20, this, enter);
    QCOMPARE(parts.dialogue.choose(question, {"コミットして閉じる", "ロールバックして閉じる"}), -1);
}

void WidgetsTest::longMessagesStayOnTheScreenAndAreNoMarkup()
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

void WidgetsTest::progressCountsAndNeverDivides()
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

void WidgetsTest::foldersComeWithoutSeparatorAtTheEnd()
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

void WidgetsTest::onlyAnotherWindowOfTheProgramCounts()
{
    QWidget console;
    console.setObjectName("frmSql");
    WindowActivation activation(&console);
    QSignalSpy spy(&activation, &WindowActivation::activated);
    goTo(console);
    QCOMPARE(spy.count(), 1); // it has just appeared
    const auto visit = [&](const char *name, bool isPassing) {
        QDialog other;
        other.setObjectName(name);
        if (isPassing)
            WindowActivation::setPassing(&other);
        goTo(other);
    };
    visit("frmTextEditer", true); // a dialog for a question of its own
    visit("", false);             // a message box; of another program Qt sees no more
    goTo(console);
    QCOMPARE(spy.count(), 1);
    visit("frmTarnwell", false);
    visit("", false);
    goTo(console);
    QCOMPARE(spy.count(), 2);
}

void WidgetsTest::pendingChangesAreShownWithWhatCanBeDone()
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

QTEST_MAIN(WidgetsTest)
#include "test_widgets.moc"
