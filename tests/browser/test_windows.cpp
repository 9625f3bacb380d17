#include "about/frmAbout.h"
#include "browser/frmTarnwell.h"
#include "console/frmSql.h"
#include "console/frmTextEditer.h"
#include "controls/grid/cellviewer.h"
#include "controls/text/findbar.h"
#include "inout/frmInOut.h"
#include "maintenance/backup/frmRestore.h"
#include "maintenance/frmCreateDB.h"
#include "structure/alter/alterwindow.h"
#include "structure/compare/comparewindow.h"
#include "structure/diagram/diagramwindow.h"
#include "structure/search/searchwindow.h"
#include "support/gui/stage.h"
#include "users/frmUserAdd.h"

#include <QAccessible>
#include <QGroupBox>
#include <QRadioButton>

namespace {

using Open = std::function<QWidget *(WindowStage &)>;

QWidget &console(WindowStage &stage, const char *view)
{
    stage.session.gCn = stage.script.connect();
    QWidget &window = stage.open(new frmSql(
        stage.session, [] { return true; }, std::make_unique<ScriptedDialogue>()));
    window.setAttribute(Qt::WA_DeleteOnClose, false);
    press(window, {view, "ckMemo_0"});
    return window;
}

QWidget *users(WindowStage &stage, int row)
{
    stage.session.gCn = stage.script.connect();
    QWidget &window = stage.open(new frmUserAdd(stage.session, nullptr, &stage.dialogue));
    control<ChosenList>(window, "lstUser").setCurrentRow(row);
    return &window;
}

QWidget *inOut(WindowStage &stage, const char *direction)
{
    QWidget &window = stage.open(new frmInOut(stage.session, "[TABLE]\tt", nullptr, stage.dialogue));
    press(window, {direction});
    return &window;
}

// It would go with its closing.
QWidget &lasting(WindowStage &stage, QWidget *window)
{
    window->setAttribute(Qt::WA_DeleteOnClose, false);
    return stage.open(window);
}

// Every window, in each state that shows other controls.
QMap<QByteArray, Open> scenes()
{
    QMap<QByteArray, Open> all{
        {"main, not connected",
         [](WindowStage &stage) { return &stage.open(new frmTarnwell(stage.session)); }},
        {"text editor",
         [](WindowStage &stage) { return &stage.open(new frmTextEditer(stage.session, nullptr)); }},
        {"restore", [](WindowStage &stage) { return &stage.open(new frmRestore); }},
        {"create database",
         [](WindowStage &stage) {
             return &stage.open(new frmCreateDB(nullptr, stage.session, stage.dialogue));
         }},
        {"users, new", [](WindowStage &stage) { return users(stage, 0); }},
        {"users, account", [](WindowStage &stage) { return users(stage, 1); }},
        {"out", [](WindowStage &stage) { return inOut(stage, "optInOut_0"); }},
        {"in", [](WindowStage &stage) { return inOut(stage, "optInOut_1"); }},
        {"about", [](WindowStage &stage) { return &stage.open(new frmAbout(nullptr)); }}};
    for (const char *button : {"optField_0", "optField_1", "optField_2", "optField_3", "optTP_1", "showLog"})
        all[QByteArray("main, ") + button] = [button](WindowStage &stage) {
            QWidget &window = stage.connected<frmTarnwell>();
            press(window, {button});
            return &window;
        };
    all["main, surroundings"] = [](WindowStage &stage) {
        QWidget &window = stage.connected<frmTarnwell>();
        window.findChild<QAction *>("action_showSurroundings")->trigger();
        return &window;
    };
    for (const char *view : {"optRecord_0", "optRecord_1", "optRecord_2", "optRecord_3"})
        all[QByteArray("console, ") + view] = [view](WindowStage &stage) { return &console(stage, view); };
    all["find bar"] = [](WindowStage &stage) {
        QWidget &window = console(stage, "optRecord_1");
        control<FlexGrid>(window, "flgrid_Record").findChild<FindBar *>()->open({});
        return &window;
    };
    all["cell"] = [](WindowStage &stage) {
        auto *viewer = new CellViewer(nullptr);
        viewer->setAttribute(Qt::WA_DeleteOnClose, false);
        viewer->showValue({"a"}, {"x"}, 1);
        return &stage.open(viewer);
    };
    all["search"] = [](WindowStage &stage) { return &lasting(stage, new SearchWindow(stage.session)); };
    all["picture"] = [](WindowStage &stage) {
        return &lasting(stage, new DiagramWindow(stage.session, "d", "t"));
    };
    all["comparison"] = [](WindowStage &stage) {
        return &lasting(stage, new CompareWindow(stage.session, {}));
    };
    all["alter"] = [](WindowStage &stage) {
        const AlterRequest request{{"d", "t", {}, {}},
                                   {},
                                   {},
                                   tableDefinition("CREATE TABLE `t` (\n  `a` int\n)", {}),
                                   tableDefinition("CREATE TABLE `t` (\n  `b` int\n)", {}),
                                   {}};
        return &stage.open(new AlterWindow(stage.session, request, {}, nullptr));
    };
    return all;
}

void addWindows()
{
    QTest::addColumn<Open>("open");
    const auto all = scenes();
    for (auto each = all.begin(); each != all.end(); ++each)
        QTest::newRow(each.key()) << each.value();
}

QString described(const QWidget *widget)
{
    return widget->objectName() + u' ' + QLatin1String(widget->metaObject()->className());
}

bool saysSomething(const QString &name)
{
    return std::any_of(name.begin(), name.end(), [](QChar c) { return c.isLetterOrNumber(); });
}

// On Unix a combo box gives its choice for its name: what it is for comes from a label or the description.
QString spokenName(QAccessibleInterface &element)
{
    if (element.role() != QAccessible::ComboBox)
        return element.text(QAccessible::Name);
    const auto labels = element.relations(QAccessible::Label);
    return labels.isEmpty() ? element.text(QAccessible::Description)
                            : labels.first().first->text(QAccessible::Name);
}

// The captions of the frames around a control are said with it.
QString frames(const QWidget *widget)
{
    QString captions;
    for (; widget; widget = widget->parentWidget())
        if (const auto *frame = qobject_cast<const QGroupBox *>(widget))
            captions += frame->title();
    return captions;
}

// The controls that Tab must reach. Of a group of options it is the chosen one: arrows reach the others.
QSet<QWidget *> reachable(const QWidget &window)
{
    QSet<QWidget *> found;
    for (QWidget *widget : window.findChildren<QWidget *>()) {
        const auto *option = qobject_cast<QRadioButton *>(widget);
        const bool isSkipped = widget->focusProxy() || (option && !option->isChecked());
        if (widget->isVisible() && widget->isEnabled() && (widget->focusPolicy() & Qt::TabFocus) &&
            !isSkipped)
            found << widget;
    }
    return found;
}

// Where the key leads, round from one control until it comes back; an endless walk ends as well.
QList<QWidget *> walk(QWidget *from, Qt::Key key)
{
    from->setFocus();
    QList<QWidget *> way;
    for (QWidget *widget = from; widget && way.size() < 200; widget = QApplication::focusWidget()) {
        if (widget == way.value(0))
            break;
        way << widget;
        // Tab writes into a box for SQL, so Ctrl+Tab leaves it.
        const bool isEditor = qobject_cast<SqlTextBox *>(widget);
        QTest::keyClick(widget, key, isEditor ? Qt::ControlModifier : Qt::NoModifier);
    }
    return way;
}

bool leadsOn(const QWidget &from, const QWidget &to)
{
    const QRect before(from.mapToGlobal(QPoint()), from.size()), after(to.mapToGlobal(QPoint()), to.size());
    return after.left() > before.right() || after.top() > before.bottom() || from.isAncestorOf(&to);
}

} // namespace

Q_DECLARE_METATYPE(Open)

// Every window as a screen reader hears it and as the keyboard walks it.
class WindowsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnAnyWarning(); }
    void everyControlHasANameAndARoleOfItsOwn_data() { addWindows(); }
    void everyControlHasANameAndARoleOfItsOwn();
    void tabFollowsTheEye_data() { addWindows(); }
    void tabFollowsTheEye();
    void enterAndEscapeEndDialogs_data();
    void enterAndEscapeEndDialogs();
};

void WindowsTest::everyControlHasANameAndARoleOfItsOwn()
{
    QFETCH(Open, open);
    WindowStage stage;
    const QWidget &window = *open(stage);
    QSet<QString> heard;
    QStringList complaints;
    for (QWidget *widget : reachable(window)) {
        QAccessibleInterface &element = *QAccessible::queryAccessibleInterface(widget);
        const QAccessible::Role role = element.role();
        const QString name = spokenName(element);
        const QString whole = QStringLiteral("%1 %2 %3").arg(frames(widget), name).arg(role);
        const bool hasRole = role != QAccessible::Client && role != QAccessible::NoRole;
        if (!saysSomething(name) || !hasRole || heard.contains(whole))
            complaints << QStringLiteral("%1: %2").arg(described(widget), whole);
        heard << whole;
    }
    QVERIFY(heard.size() > 1);
    QCOMPARE(complaints.join(u'\n'), QString());
}

void WindowsTest::tabFollowsTheEye()
{
    QFETCH(Open, open);
    WindowStage stage;
    QWidget &window = *open(stage);
    QVERIFY(QTest::qWaitForWindowActive(&window));
    const QSet<QWidget *> all = reachable(window);
    QVERIFY(all.size() > 1);
    const QList<QWidget *> way = walk(*all.begin(), Qt::Key_Tab);
    QStringList missed, back;
    for (const QWidget *widget : all - QSet<QWidget *>(way.begin(), way.end()))
        missed << described(widget);
    QCOMPARE(missed.join(u' '), QString());
    for (int i = 0; i < way.size(); ++i)
        if (!leadsOn(*way[i], *way[(i + 1) % way.size()]))
            back << described(way[i]);
    QVERIFY2(back.size() == 1, qPrintable(back.join(u' '))); // only the end leads back to the beginning
    QList<QWidget *> backwards = walk(way.first(), Qt::Key_Backtab);
    std::reverse(backwards.begin() + 1, backwards.end());
    QVERIFY(backwards == way);
}

void WindowsTest::enterAndEscapeEndDialogs_data()
{
    // With the button that Enter presses: in overwrites rows without a question, users have four commands of
    // equal rank.
    const Rows<Open, QString> row;
    for (const auto &[name, button] : {std::pair("text editor", "cmdIn"),
                                       {"restore", "cmdOk"},
                                       {"create database", "cmdOk"},
                                       {"out", "cmdOut"},
                                       {"in", ""},
                                       {"comparison", ""},
                                       {"alter", ""},
                                       {"users, new", ""}})
        QTest::newRow(name) << scenes().value(name) << QLatin1String(button).toString();
}

void WindowsTest::enterAndEscapeEndDialogs()
{
    const auto [open, pressed] = fetched<Open, QString>();
    WindowStage stage;
    QWidget &window = *open(stage);
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QStringList heard;
    for (QPushButton *button : window.findChildren<QPushButton *>()) {
        button->disconnect(SIGNAL(clicked(bool)));
        connect(button, &QPushButton::clicked, this, [&heard, button] { heard << button->objectName(); });
    }
    for (QWidget *box : window.findChildren<QWidget *>())
        if (qobject_cast<QLineEdit *>(box) || box->objectName() == u"File1")
            QTest::keyClick(box, Qt::Key_Return);
    heard.removeDuplicates();
    QCOMPARE(heard.join(u' '), pressed);
    const QStringList sent = stage.script.sent;
    QTest::keyClick(&window, Qt::Key_Escape);
    QVERIFY(!window.isVisible());
    QCOMPARE(stage.script.sent, sent);
}

QTEST_MAIN(WindowsTest)
#include "test_windows.moc"
