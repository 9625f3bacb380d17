#include "controls/desktopcolours.h"
#include "eyeorder.h"
#include "windowstage.h"

#include <QAccessible>
#include <QScopeGuard>

namespace {

void addWindows()
{
    QTest::addColumn<Open>("open");
    for (const Scene &scene : scenes())
        QTest::newRow(scene.name) << scene.open;
}

QString described(const QWidget *widget)
{
    return widget ? QStringLiteral("%1 (%2)").arg(widget->objectName(),
                                                  QLatin1String(widget->metaObject()->className()))
                  : QStringLiteral("nothing");
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

// The controls below one element, each as "where > role name"; complaints about those without.
void listControls(QAccessibleInterface &element, const QString &where, QStringList &heard,
                  QStringList &complaints)
{
    const QAccessible::Role role = element.role();
    const QAccessible::State state = element.state();
    const QString name = spokenName(element);
    if (state.invisible)
        return;
    // What hands the focus on is not where the user gets to.
    const auto *widget = qobject_cast<QWidget *>(element.object());
    const bool isPassing = widget && widget->focusProxy();
    if (state.focusable && !isPassing && role != QAccessible::Window && role != QAccessible::Dialog) {
        const QString object = described(widget);
        if (!saysSomething(name) || role == QAccessible::Client || role == QAccessible::NoRole)
            complaints << QStringLiteral("%1 is \"%2\", role %3").arg(object, name).arg(role);
        heard << QStringLiteral("%1 > %2 %3").arg(where).arg(role).arg(name);
    }
    // What these are made of is theirs to tell.
    static const QSet<int> whole{QAccessible::Table, QAccessible::List, QAccessible::ComboBox,
                                 QAccessible::EditableText};
    if (whole.contains(role))
        return;
    for (int i = 0; i < element.childCount(); ++i)
        if (QAccessibleInterface *child = element.child(i))
            listControls(*child, role == QAccessible::Grouping ? where + name : where, heard, complaints);
}

QWidget *focusAfter(Qt::Key key)
{
    QWidget *from = QApplication::focusWidget();
    if (!from)
        return nullptr;
    QTest::keyClick(from, key, isSqlEditor(*from) ? Qt::ControlModifier : Qt::NoModifier);
    return QApplication::focusWidget();
}

// Empty when both are the same.
QString firstDifference(const QStringList &actual, const QStringList &expected)
{
    for (int i = 0; i < std::max(actual.size(), expected.size()); ++i)
        if (actual.value(i) != expected.value(i))
            return QStringLiteral("after %1: %2 instead of %3")
                .arg(actual.value(i - 1), actual.value(i), expected.value(i));
    return {};
}

// Where the key leads, round from the first control until it comes back; an endless walk ends as well.
QStringList walk(const QList<QWidget *> &order, Qt::Key key)
{
    order.first()->setFocus();
    QStringList names{described(order.first())};
    for (int i = 0; i < 2 * order.size(); ++i) {
        const QWidget *next = focusAfter(key);
        if (next == order.first())
            break;
        names << described(next);
    }
    return names;
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
    void hintsAreReadableOnADarkDesktop();
};

void WindowsTest::everyControlHasANameAndARoleOfItsOwn()
{
    QFETCH(Open, open);
    Stage stage;
    open(stage, [](QWidget &window) {
        QStringList heard, complaints;
        listControls(*QAccessible::queryAccessibleInterface(&window), {}, heard, complaints);
        // The bar lies upon a grid or text, whose parts are cells and letters alone.
        for (FindBar *bar : window.findChildren<FindBar *>())
            listControls(*QAccessible::queryAccessibleInterface(bar), {}, heard, complaints);
        QVERIFY(heard.size() > 1);
        QCOMPARE(complaints.join(u'\n'), QString());
        for (const QString &line : std::as_const(heard))
            if (heard.count(line) > 1)
                complaints << line;
        QCOMPARE(complaints.join(u'\n'), QString());
    });
}

void WindowsTest::tabFollowsTheEye()
{
    QFETCH(Open, open);
    Stage stage;
    open(stage, [](QWidget &window) {
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QList<QWidget *> order = eyeOrder(window);
        QVERIFY(order.size() > 1);
        QStringList expected;
        for (const QWidget *widget : order)
            expected << described(widget);
        QCOMPARE(firstDifference(walk(order, Qt::Key_Tab), expected), QString());
        std::reverse(expected.begin() + 1, expected.end());
        QCOMPARE(firstDifference(walk(order, Qt::Key_Backtab), expected), QString());
    });
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
    Stage stage;
    open(stage, [&](QWidget &window) {
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
    });
}

void WindowsTest::emptyListsSayWhatComesNext()
{
    Stage stage;
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

void WindowsTest::hintsAreReadableOnADarkDesktop()
{
    const QPalette before = QApplication::palette();
    const auto undo = qScopeGuard([&before] { QApplication::setPalette(before); });
    dressForDesktop();
    QPalette dark(Qt::white, QColor(0x31363b), Qt::gray, Qt::black, Qt::gray, Qt::white, QColor(0x1b1e20));
    dark.setColor(QPalette::PlaceholderText, QColor(0, 0, 0, 128)); // as Qt 6.4 on KDE
    QApplication::setPalette(dark);
    const QLineEdit line;
    QVERIFY(line.palette().color(QPalette::PlaceholderText).lightness() > 100);
}

QTEST_MAIN(WindowsTest)
#include "test_windows.moc"
