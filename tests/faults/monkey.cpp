#include "monkey.h"

#include "controls/text/sqltextbox.h"
#include "support/gui/boxes.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QTest>
#include <QTimer>

namespace {

// What ends everything else, or shows nothing new.
const QStringList seldom{"cmdClose", "cmdCancel", "Command1", "cmdCreateDb", "showLog", "cmdDropDb"};

const QString statements = QStringLiteral(
    "select * from play1.many|select 1|select sleep(0.3)|show tables from play1|optimize table play1.商品|"
    "insert into play1.商品 values (floor(rand()*100000), 'x', null)|select repeat('長', 5000), 0x00ff, null|"
    "delete from play1.商品 where id > 100|selekt|select @a, @b|set @a = 'ﾃｽﾄ'|call play1.p()|");
const QString words = QStringLiteral("play1|x|商品|a`b|it's||😀| |select|") + QString(64, u'n');
const QString keys =
    QStringLiteral("Return|Esc|Ctrl+P|Tab|Down|Up|End|Home|PgDown|Del|Space|Backspace|A|F1|F3|F5|F6|F9|F12|"
                   "Ctrl+F|Ctrl+A|Ctrl+C|Ctrl+S|Ctrl+Z|Ctrl+Return|Alt+L");

bool isUsable(const QWidget &widget)
{
    return widget.isVisible() && widget.isEnabled() && !widget.visibleRegion().isEmpty() &&
           widget.objectName() != u"cmdEnd" && // ends the program
           (qobject_cast<const QAbstractButton *>(&widget) || qobject_cast<const QLineEdit *>(&widget) ||
            qobject_cast<const QComboBox *>(&widget) || qobject_cast<const QAbstractItemView *>(&widget) ||
            qobject_cast<const QPlainTextEdit *>(&widget) || qobject_cast<const QsciScintilla *>(&widget));
}

} // namespace

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
