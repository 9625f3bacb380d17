#include "controls/sqltextbox.h"
#include "windowstage.h"

#include <QAccessible>
#include <QGroupBox>
#include <QRadioButton>

namespace {

void addWindows()
{
    QTest::addColumn<Open>("open");
    for (const Scene &scene : scenes())
        QTest::newRow(scene.name) << scene.open;
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
    void emptyListsSayWhatComesNext();
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
    QTest::addColumn<Open>("open");
    QTest::addColumn<QString>("pressed"); // by Enter
    const auto row = [](const char *name, const char *button) {
        for (const Scene &scene : scenes())
            if (QLatin1String(scene.name) == QLatin1String(name))
                QTest::newRow(name) << scene.open << QLatin1String(button).toString();
    };
    row("text editor", "cmdIn");
    row("restore", "cmdOk");
    row("create database", "cmdOk");
    row("out", "cmdOut");
    row("in", "");         // it overwrites rows without a question
    row("users, new", ""); // four commands of equal rank
    row("about", "cmdOK");
}

void WindowsTest::enterAndEscapeEndDialogs()
{
    QFETCH(Open, open);
    QFETCH(QString, pressed);
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
    if (auto *about = qobject_cast<frmAbout *>(&window))
        QTest::keyClick(about, Qt::Key_Return);
    heard.removeDuplicates();
    QCOMPARE(heard.join(u' '), pressed);
    const QStringList sent = stage.script.sent;
    QTest::keyClick(&window, Qt::Key_Escape);
    QVERIFY(!window.isVisible());
    QCOMPARE(stage.script.sent, sent);
}

void WindowsTest::emptyListsSayWhatComesNext()
{
    WindowStage stage;
    stage.script.always("show tables from `d`;", Reply::table({"Tables_in_d"}));
    frmTarnwell &window = stage.mainWindow();
    const auto hint = [&window](const char *list) {
        return control<ChosenList>(window, list).accessibleDescription();
    };
    QVERIFY(hint("lstDb").contains("接続"));
    QVERIFY(!control<QWidget>(window, "lstDb_Filter").isEnabled());
    stage.connect();
    QVERIFY(control<QWidget>(window, "lstDb_Filter").isEnabled());
    QVERIFY(hint("lstDb").contains("Alt+L"));
    QVERIFY(hint("lstTables").contains("選ぶと"));
    press(window, {"cmdShowDb"});
    QStringList whileReading;
    stage.script.beforeAnswer = [&](const QString &) { whileReading << hint("lstTables"); };
    control<ChosenList>(window, "lstDb").setCurrentRow(0);
    QVERIFY(whileReading.value(0).contains("読み込み中"));
    QVERIFY(hint("lstTables").contains("ありません"));
    stage.script.beforeAnswer = {};
    stage.script.once("show tables from `d`;", Reply::failure("gone"));
    stage.boxes.expectOk("gone");
    Q_EMIT control<ChosenList>(window, "lstDb").chosen();
    QVERIFY(hint("lstTables").contains("選ぶと"));
    press(window, {"cmdClose"});
    QTRY_VERIFY(hint("lstDb").contains("接続"));
}

QTEST_MAIN(WindowsTest)
#include "test_windows.moc"
