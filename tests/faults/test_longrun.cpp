// An hour's work in a minute: random clicks and keys over the whole program against a real server.
// TARNWELL_LONGRUN_SEED and TARNWELL_LONGRUN_SECONDS choose the walk and its length.
#include "browser/frmTarnwell.h"
#include "controls/text/sqltextbox.h"
#include "support/gui/stage.h"

#include <QAbstractSpinBox>
#include <QFileDialog>
#include <QFontDatabase>
#include <QMenu>
#include <QPainter>
#include <QPixmapCache>
#include <QRandomGenerator>

#include <cstdio>
#include <malloc.h>

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isSanitized = true;
#else
constexpr bool isSanitized = false;
#endif

// With an account that can do harm to the playground only.
const char *const setUp = R"(
    create database play1; create database play2; use play1;
    create table 商品 (id int primary key, 名前 varchar(50), memo text) engine=InnoDB;
    insert into 商品 values (1,'ﾃｽﾄ',null),(2,'','x'),(3,'😀','NULL');
    create table many (id int, filler text); insert into many select seq, repeat('x', 200) from seq_1_to_20000;
    create view v as select id, 名前 from 商品 where id > 1;
    create procedure p() select 1; create function f() returns int return 1;
    create table play2.child (a int, b decimal(10,2), key (a));
    create user walker@'%' identified by 'walk';
    grant select, reload, process, file, show databases, create user on *.* to walker@'%';
    grant all on play1.* to walker@'%'; grant all on play2.* to walker@'%';
)";

// A letter that the font lacks makes the toolkit load others in search of it, a megabyte and more that it
// keeps. That shall not look like growth, whenever the walk meets such a letter.
void loadFonts()
{
    QPixmap picture(100, 50);
    QPainter painter(&picture);
    for (QFont font : {QApplication::font(), QFontDatabase::systemFont(QFontDatabase::FixedFont)}) {
        for (const bool isBold : {false, true}) {
            font.setBold(isBold);
            painter.setFont(font);
            painter.drawText(0, 20, QStringLiteral("a長ﾃ😀\u2713\ufffd…→↓↑↵━╍←▲▼×●▶★‹›\u2400\u240a\u2421"));
        }
    }
}

// What the program holds. Resident memory says less: fonts are mapped into it, and the allocator's pages
// fray.
double usedMegabytes()
{
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd) / 1e6;
}

// What ends everything else, or shows nothing new.
const QStringList seldom{"cmdClose", "cmdCancel", "Command1", "cmdCreateDb", "showLog", "cmdDropDb"};

const QString statements = QStringLiteral(
    "select * from play1.many|select 1|select sleep(0.3)|show tables from play1|optimize table play1.商品|"
    "insert into play1.商品 values (floor(rand()*100000), 'x', null)|select repeat('長', 5000), 0x00ff, null|"
    "delete from play1.商品 where id > 100|selekt|select @a, @b|set @a = 'ﾃｽﾄ'|call play1.p()|");
const QString words = QStringLiteral("play1|x|商品|a`b|it's||😀| |select|") + QString(64, u'n');
const QString keys = QStringLiteral(
    "Return|Esc|Ctrl+P|Tab|Down|Up|End|Home|PgDown|Del|Space|Backspace|A|F1|F3|F5|F6|F9|F12|"
    "Ctrl+F|Ctrl+A|Ctrl+C|Ctrl+S|Ctrl+Z|Ctrl+Return|Alt+L|F2|F4|Ctrl+T|Ctrl+R|Ctrl+K|Ctrl+F8|"
    "Ctrl+Ins|Ctrl+D|Ctrl+0|Ctrl+G|Ctrl+Tab|Ctrl+Shift+F|Ctrl+Shift+S|Ctrl+Shift+D|Ctrl+Shift+R");

// What is opened at the beginning of each walk, and the windows that must then have been seen.
const QStringList openers{"cmdExec",       "cmdCreateUser",    "cmdRestore", "cmdInOut",    "openServer",
                          "Command1",      "openConnections",  "openSheets", "openHistory", "openSearch",
                          "openDiagram",   "openCompare",      "openDump",   "openCopy",    "openLoad",
                          "openCsvImport", "showSurroundings", "showAlter",  "showOwnTable"};
const QSet<QString> windows{"frmSql",        "serverWindow", "connectionsWindow", "sheetWindow",
                            "historyWindow", "searchWindow", "diagramWindow",     "compareWindow",
                            "dumpWindow",    "copyWindow",   "loadWindow",        "csvImportWindow",
                            "alterWindow"};

QString leftWindows()
{
    QStringList names;
    for (const QWidget *window : QApplication::topLevelWidgets())
        if (window->objectName().endsWith(u"Window"))
            names << window->objectName();
    return names.join(u' ');
}

bool isUsable(const QWidget &widget)
{
    return widget.isVisible() && widget.isEnabled() && !widget.visibleRegion().isEmpty() &&
           widget.objectName() != u"cmdEnd" && // ends the program
           (qobject_cast<const QAbstractButton *>(&widget) || qobject_cast<const QLineEdit *>(&widget) ||
            qobject_cast<const QComboBox *>(&widget) || qobject_cast<const QAbstractItemView *>(&widget) ||
            qobject_cast<const QPlainTextEdit *>(&widget) || qobject_cast<const QsciScintilla *>(&widget));
}

} // namespace

// A user without a plan: clicks and types at random over all windows of the program that are shown, also
// while something runs, and answers every box. The same seed starts the same walk; how the server's answers
// fall in with it is the machine's.
class Monkey : public QObject {
    Q_OBJECT

public:
    // folder: what file dialogs get. Each action is written to the log before it is done.
    Monkey(quint32 seed, QString folder, std::FILE *log);

    // What a user would have to say to be connected; called now and then.
    std::function<void()> connectAgain;

    // Notes the windows that are shown, each of which may be closed by the next action.
    void look();

    // No more actions of its own; open boxes are still answered, so that what runs comes to its end.
    void finish() { m_isFinishing = true; }
    int actions() const { return m_actions; }
    const QSet<QString> &seen() const { return m_seen; } // names of windows

private:
    void act();
    void actOn(QWidget &widget);
    void answer(QDialog &dialog);
    void useMenu(QWidget &menu);
    void clickAt(QWidget &widget);
    void type(QWidget &widget);
    QWidget *randomWindow();
    QWidget *randomControl(const QWidget &window);

    int below(qsizetype end) { return m_random.bounded(static_cast<int>(end)); }
    bool oneIn(int count) { return m_random.bounded(count) == 0; }
    template <class List>
    auto one(const List &list)
    {
        return list.value(list.isEmpty() ? 0 : below(list.size()));
    }
    void note(const char *what, const QWidget &widget, const QString &detail = {});

    QRandomGenerator m_random;
    QString m_folder;
    std::FILE *m_log;
    QSet<QString> m_seen;
    int m_actions = 0;
    int m_depth = 0;
    bool m_isFinishing = false;
};

Monkey::Monkey(quint32 seed, QString folder, std::FILE *log)
    : m_random(seed)
    , m_folder(std::move(folder))
    , m_log(log)
{
    QTimer::singleShot(0, this, &Monkey::act);
}

void Monkey::note(const char *what, const QWidget &widget, const QString &detail)
{
    std::fprintf(m_log, "%d %s %s.%s %s\n", m_actions, what, qPrintable(widget.window()->objectName()),
                 qPrintable(widget.objectName()), qPrintable(detail));
    std::fflush(m_log);
}

void Monkey::look()
{
    for (const QWidget *window : QApplication::topLevelWidgets())
        if (window->isVisible())
            m_seen.insert(window->objectName());
}

void Monkey::act()
{
    // A new timer each time: one that is running its slot does not fire in the box that the slot opens.
    QTimer::singleShot(m_depth > 0 ? 5 : 1, this, &Monkey::act);
    // Clicks that wait for the server nest; nobody clicks that fast for long.
    constexpr int deepest = 8;
    QWidget *modal = QApplication::activeModalWidget(), *popup = QApplication::activePopupWidget();
    if (!modal && !popup && (m_isFinishing || m_depth >= deepest))
        return;
    ++m_depth;
    ++m_actions;
    look();
    auto *dialog = qobject_cast<QDialog *>(modal);
    const bool isBox = qobject_cast<QMessageBox *>(dialog) || qobject_cast<QFileDialog *>(dialog);
    if (popup)
        useMenu(*popup);
    else if (dialog && (m_isFinishing || isBox || oneIn(12)))
        answer(*dialog);
    else if (!modal && oneIn(25))
        connectAgain();
    else if (const QWidget *window = modal ? modal : randomWindow())
        if (QWidget *control = randomControl(*window))
            actOn(*control);
    --m_depth;
}

QWidget *Monkey::randomWindow()
{
    QList<QWidget *> windows;
    for (QWidget *window : QApplication::topLevelWidgets())
        if (window->isVisible() && window->windowType() != Qt::Popup && window->windowType() != Qt::ToolTip)
            windows << window;
    // In an order that does not depend on where memory lay.
    std::ranges::sort(windows, {}, &QWidget::objectName);
    QWidget *window = one(windows);
    if (window && window->objectName() != u"frmTarnwell" && oneIn(60)) {
        note("closes", *window);
        window->close();
        return nullptr;
    }
    if (window)
        window->activateWindow();
    return window;
}

QWidget *Monkey::randomControl(const QWidget &window)
{
    QList<QWidget *> controls, lists;
    for (QWidget *widget : window.findChildren<QWidget *>()) {
        if (widget->window() != &window || !isUsable(*widget))
            continue;
        const bool isDull =
            seldom.contains(widget->objectName()) || widget->objectName().endsWith(u"_Filter");
        if (!isDull || oneIn(6))
            controls << widget;
        if (widget->inherits("ChosenList"))
            lists << widget;
    }
    // Most of the program is reached through its lists.
    return one(!lists.isEmpty() && oneIn(5) ? lists : controls);
}

void Monkey::actOn(QWidget &widget)
{
    if (auto *box = qobject_cast<QComboBox *>(&widget); box && box->count() > 0 && !oneIn(4)) {
        note("chooses", widget);
        box->setCurrentIndex(below(box->count()));
    } else if (oneIn(6)) {
        const QString key = one(keys.split(u'|'));
        note("presses", widget, key);
        QTest::keySequence(&widget, QKeySequence(key));
    } else if (oneIn(3) || qobject_cast<QAbstractButton *>(&widget) ||
               qobject_cast<QAbstractItemView *>(&widget)) {
        clickAt(widget);
    } else {
        type(widget);
    }
}

void Monkey::clickAt(QWidget &widget)
{
    auto *area = qobject_cast<QAbstractScrollArea *>(&widget);
    QWidget *target = area ? area->viewport() : &widget;
    const QRect place = target->visibleRegion().boundingRect();
    if (place.isEmpty())
        return;
    const QPoint point(place.x() + below(place.width()), place.y() + below(std::min(place.height(), 200)));
    note("clicks", widget, QStringLiteral("%1,%2").arg(point.x()).arg(point.y()));
    if (area && oneIn(10)) {
        QContextMenuEvent event(QContextMenuEvent::Mouse, point, target->mapToGlobal(point));
        QApplication::sendEvent(target, &event);
    } else if (area && oneIn(8)) {
        QTest::mouseDClick(target, Qt::LeftButton, {}, point);
    } else {
        QTest::mouseClick(target, Qt::LeftButton, {}, point);
    }
}

void Monkey::type(QWidget &widget)
{
    const QString word = one(words.split(u'|'));
    if (auto *text = qobject_cast<SqlTextBox *>(&widget)) {
        note("writes", widget);
        if (widget.objectName() == u"txtSql")
            text->setContents(one(statements.split(u'|')));
        else
            text->setContents(text->contents().replace("int", "bigint") + (oneIn(3) ? word : QString()));
    } else if (auto *line = qobject_cast<QLineEdit *>(&widget);
               line && widget.window()->objectName() != u"frmTarnwell") { // where connectAgain() writes
        note("writes", widget, word);
        if (qobject_cast<QAbstractSpinBox *>(widget.parentWidget()))
            line->insert(word); // no user gets round its validator
        else
            line->setText(word);
    }
}

void Monkey::useMenu(QWidget &menu)
{
    const QList<QAction *> actions = menu.actions();
    QAction *action = m_isFinishing || oneIn(2) ? nullptr : one(actions);
    const bool isChosen = action && action->isEnabled() && !action->menu() && !action->isSeparator();
    note(isChosen ? "chooses" : "leaves", menu, isChosen ? action->objectName() : QString());
    menu.close();
    if (isChosen)
        action->trigger();
}

void Monkey::answer(QDialog &dialog)
{
    note("answers", dialog, dialog.windowTitle());
    if (auto *files = qobject_cast<QFileDialog *>(&dialog)) {
        const bool isFolder = files->fileMode() == QFileDialog::Directory;
        const QString path = isFolder ? m_folder : m_folder + "/file" + QString::number(below(3));
        if (!m_isFinishing && !oneIn(3) && chooseFile(*files, path))
            return;
    } else if (auto *box = qobject_cast<QMessageBox *>(&dialog)) {
        if (auto *button = one(box->buttons())) {
            button->click();
            return;
        }
    }
    dialog.reject();
}

class LongRunTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void manyRandomActionsDoNoHarm();

private:
    // Lets the monkey loose on a new main window until so many actions or seconds are over.
    void walk(TestServer &server, Monkey &monkey, int actions, int seconds);
};

void LongRunTest::walk(TestServer &server, Monkey &monkey, int actions, int seconds)
{
    MainWindowStage stage;
    QRandomGenerator random(static_cast<quint32>(actions));
    monkey.connectAgain = [&] {
        if (stage.session.gCn)
            return;
        stage.enter(random.bounded(2) ? nativeDriverName() : odbcDriver(), server.port(), "walker", "walk");
        if (random.bounded(2))
            stage.type("txtServer", "localhost");
        stage.click("cmdConnect");
        if (stage.session.gCn)
            stage.click("cmdShowDb");
    };
    QElapsedTimer clock;
    clock.start();
    const int until = monkey.actions() + actions;
    // Every window once, the rest by chance. What the monkey did meanwhile may have kept one from opening.
    constexpr int mostTurns = 5;
    for (int turn = 0; turn < mostTurns && !monkey.seen().contains(windows); ++turn)
        for (const QString &opener : openers) {
            // Again each time: the monkey that answers a box may have left the server or chosen another
            // table.
            monkey.connectAgain();
            stage.control<ChosenList>("lstDb")->choose("play1");
            stage.control<ChosenList>("lstTables")->setCurrentRow(0);
            auto &text = *stage.control<SqlTextBox>("txtField");
            if (opener == u"showAlter") // wants a table that is edited
                text.setContents(text.contents().replace("int", "bigint"));
            stage.window->findChild<QAction *>("action_" + opener)->trigger();
            monkey.look();
        }
    while (monkey.actions() < until && clock.elapsed() < seconds * 1000)
        QTest::qWait(20);
    monkey.finish();
    const auto isGone = [&] {
        if (!QApplication::activeModalWidget())
            stage.window->close();
        return !stage.window->isVisible();
    };
    QTRY_VERIFY_WITH_TIMEOUT(isGone(), 30000);
    // Windows with work of their own go when that has ended, and use the session until then.
    QTRY_COMPARE_WITH_TIMEOUT(leftWindows(), QString(), 15000);
}

void LongRunTest::manyRandomActionsDoNoHarm()
{
    bool isGiven = false;
    const int givenSeconds = qEnvironmentVariableIntValue("TARNWELL_LONGRUN_SECONDS", &isGiven);
    const int seconds = isGiven ? givenSeconds : qEnvironmentVariableIsSet("CI") ? 40 : 10;
    const auto seed = static_cast<quint32>(qEnvironmentVariable("TARNWELL_LONGRUN_SEED", "1").toUInt());
    mallopt(M_ARENA_MAX, 1); // the one that mallinfo2() tells of
    TestServer server;
    server.run(QString::fromUtf8(setUp));
    failOnAnyWarning();
    // Nothing of this machine is started by a random click.
    qputenv("PATH", "");
    const QTemporaryDir files;
    std::FILE *log = std::fopen("faults_longrun.log", "w");
    QVERIFY(log);
    loadFonts();
    // Pictures of icons would look like growth, too; their keys outlive QPixmapCache::clear() by half a
    // minute.
    QPixmapCache::setCacheLimit(0);
    // Growth is what comes in each of the later parts. What a walk happens to show for the first time and the
    // toolkit keeps, as the fonts for a letter of some other script, comes in one or two of them.
    constexpr int warming = 1000, unbounded = 1'000'000; // actions
    constexpr double mostGrowth = 1.03;
    QStringList megabytes;
    double before = 0, leastGrowth = 100;
    int actions = 0;
    QSet<QString> missed = windows;
    for (const auto &[most, time] : {std::pair{warming, 60},
                                     {unbounded, seconds / 3},
                                     {unbounded, seconds / 3},
                                     {unbounded, seconds / 3}}) {
        Monkey monkey(seed + static_cast<quint32>(megabytes.size()), files.path(), log);
        walk(server, monkey, most, time);
        actions += monkey.actions();
        missed -= monkey.seen();
        const double used = usedMegabytes();
        if (before > 0)
            leastGrowth = std::min(leastGrowth, used / before);
        before = used;
        megabytes << QString::number(used, 'f', 2);
        std::fprintf(log, "%.2f MB in use\n", used);
    }
    std::fclose(log);
    QCOMPARE(missed.values().join(u' '), QString());
    qInfo("seed %u: %d actions; MB in use after each part: %s", seed, actions,
          qPrintable(megabytes.join(u' ')));
    if (isSanitized || seconds < 30)
        qInfo("The growth of memory is judged in walks of 30 seconds and more, without sanitizers.");
    else
        QVERIFY2(leastGrowth < mostGrowth, qPrintable(megabytes.join(u' ')));
}

QTEST_MAIN(LongRunTest)
#include "test_longrun.moc"
