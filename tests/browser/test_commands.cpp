#include "support/rows.h"
#include "windowstage.h"

#include <QMenu>
#include <QMenuBar>
#include <QSignalSpy>

namespace {

// The menu as the user sees it when it is open.
QList<QAction *> opened(QMenu &menu)
{
    Q_EMIT menu.aboutToShow();
    return menu.actions();
}

QAction &action(const QWidget &window, const char *id)
{
    return control<QAction>(window, (QByteArray("action_") + id).constData());
}

} // namespace

// Every command stands in the menu bar, by its key, in the palette and on its button, from one row of a
// table.
class CommandsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnAnyWarning(); }
    void everyCommandHasItsPlace();
    void whatCannotBeUsedSaysWhy();
    void contextMenusHoldWhatConcernsTheList();
    void thePaletteFindsCommandsAndObjects_data();
    void thePaletteFindsCommandsAndObjects();
};

void CommandsTest::everyCommandHasItsPlace()
{
    WindowStage stage;
    const QWidget &window = stage.mainWindow();
    QStringList titles, shown;
    QSet<QKeySequence> keys;
    for (QAction *menu : control<QMenuBar>(window, "menuBar").actions()) {
        titles << menu->text();
        for (const QAction *each : opened(*menu->menu())) {
            shown << each->objectName();
            QVERIFY2(each->shortcut().isEmpty() || !keys.contains(each->shortcut()),
                     qPrintable(each->text()));
            keys << each->shortcut();
        }
        Q_EMIT menu->menu()->aboutToHide();
    }
    QCOMPARE(titles.join(u' '), "接続 データベース テーブル SQL サーバー 表示 ヘルプ");
    QStringList missed;
    for (const QPushButton *button : window.findChildren<QPushButton *>())
        if (button->window() == &window && !shown.contains("action_" + button->objectName()))
            missed << button->objectName();
    QCOMPARE(missed.join(u' '), "statementLogToConsole statementLogClear"); // they are about the log alone
    shown.removeDuplicates();
    QCOMPARE(shown.size(), window.findChildren<QAction *>(QRegularExpression("^action_")).size());
}

void CommandsTest::whatCannotBeUsedSaysWhy()
{
    WindowStage stage;
    const QWidget &window = stage.mainWindow();
    QMenu *table = control<QMenuBar>(window, "menuBar").actions().at(2)->menu();
    const QAction &data = action(window, "cmdDataGet"), &backup = action(window, "cmdBackup");
    const auto reasons = [&] {
        opened(*table);
        const QStringList texts{data.isEnabled() ? QString() : data.toolTip(),
                                backup.isEnabled() ? QString() : backup.toolTip()};
        Q_EMIT table->aboutToHide();
        return texts.join(u'|');
    };
    QCOMPARE(reasons(), "サーバーに接続していません|サーバーに接続していません");
    QVERIFY(data.isEnabled()); // its key must reach the button
    stage.connect("db.example");
    QCOMPARE(reasons(), "テーブルまたはビューを選んでください|サーバー名が localhost の接続でだけ使えます");
    stage.connected();
    const QWidget &connected = *stage.opened;
    QMenu *other = control<QMenuBar>(connected, "menuBar").actions().at(2)->menu();
    opened(*other);
    QVERIFY(action(connected, "cmdDataGet").isEnabled());
    Q_EMIT other->aboutToHide();
    stage.session.runner.run(stage.opened.get(), "ﾃｰﾌﾞﾙ検査", [&] {
        opened(*other);
        QVERIFY(!action(connected, "cmdDataGet").isEnabled());
        QCOMPARE(action(connected, "cmdDataGet").toolTip(), "「ﾃｰﾌﾞﾙ検査」の実行中です");
        Q_EMIT other->aboutToHide();
    });
    // A choice in the menu is a click on the button.
    const QSignalSpy clicks(&control<QPushButton>(connected, "cmdDataGet"), &QPushButton::clicked);
    action(connected, "cmdDataGet").trigger();
    QCOMPARE(clicks.size(), 1);
    QVERIFY(stage.script.sent.contains("select * from `d`.t limit 100 ;"));
}

void CommandsTest::contextMenusHoldWhatConcernsTheList()
{
    WindowStage stage;
    const QWidget &window = stage.connected();
    QStringList shown;
    QTimer::singleShot(0, &window, [&] {
        QWidget *menu = QApplication::activePopupWidget();
        QVERIFY(menu);
        for (const QAction *each : menu->actions())
            shown << (each->objectName().isEmpty() ? each->text() : each->objectName());
        menu->close();
    });
    Q_EMIT control<ChosenList>(window, "lstTables").customContextMenuRequested(QPoint(5, 5));
    QVERIFY2(shown.contains("action_cmdDataGet") && !shown.contains("action_cmdDropProc"),
             qPrintable(shown.join(u' ')));
    QCOMPARE(shown.last(), "名前をコピー");
}

void CommandsTest::thePaletteFindsCommandsAndObjects_data()
{
    QTest::addColumn<QString>("found"); // first, by what is typed
    QTest::addColumn<QString>("sent");  // by its choice
    row("データ表示", "ﾃﾞｰﾀ表示", "select * from `d`.t limit 100 ;");
    row("p proc", "p", "show create procedure `d`.p;");
    row("バックアップ テーブル", "ﾊﾞｯｸｱｯﾌﾟ", ""); // this connection is none to localhost by name
}

void CommandsTest::thePaletteFindsCommandsAndObjects()
{
    QFETCH(QString, found);
    QFETCH(QString, sent);
    WindowStage stage;
    const QWidget &window = stage.connected();
    stage.session.gIsLocalServer = false;
    control<QWidget>(window, "cmdBackup").setEnabled(false);
    stage.script.sent.clear();
    stage.boxes.expectDialog("commandPalette", [&](QDialog &palette) {
        auto &text = control<QLineEdit>(palette, "paletteText");
        text.setText(QTest::currentDataTag());
        const auto &list = control<QListWidget>(palette, "paletteList");
        QCOMPARE(list.item(0)->text().section(u'　', 0, 0), found);
        QTest::keyClick(&text, Qt::Key_Return);
        QCOMPARE(palette.isVisible(), sent.isEmpty());
        palette.reject();
    });
    action(window, "openPalette").trigger();
    QCOMPARE(stage.script.sent.value(0), sent);
}

QTEST_MAIN(CommandsTest)
#include "test_commands.moc"
