#include "monkey.h"

#include "controls/sqltextbox.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QHeaderView>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QTest>
#include <QTimer>

namespace {

// What ends the program, or asks for a file by itself.
const QStringList leftAlone{"cmdEnd"};

// What ends everything else, or shows nothing new.
const QStringList seldom{"cmdClose", "cmdCancel", "Command1", "cmdCreateDb", "showLog", "cmdDropDb"};

const QStringList statements{
    "select * from play1.many",
    "select 1",
    "select sleep(0.3)",
    "show tables from play1",
    "insert into play1.商品 values (floor(rand()*100000), 'x', null)",
    "delete from play1.商品 where id > 100",
    "selekt",
    "optimize table play1.商品",
    "select @a, @b",
    "set @a = 'ﾃｽﾄ'",
    "call play1.p()",
    "select repeat('長', 5000), 0x00ff, null",
    QString(),
};
const QStringList words{"play1",   "x", "商品", "a`b",    "it's",
                        QString(), "😀", " ",    "select", QString(64, u'n')};

const QStringList keys{"Return", "Esc",    "Ctrl+P", "Tab",         "Down",      "Up",     "End",
                       "Home",   "PgDown", "Del",    "Space",       "Backspace", "A",      "F1",
                       "F3",     "F5",     "F6",     "F9",          "F12",       "Ctrl+F", "Ctrl+A",
                       "Ctrl+C", "Ctrl+S", "Ctrl+Z", "Ctrl+Return", "Alt+L"};

bool isUsable(const QWidget &widget)
{
    return widget.isVisible() && widget.isEnabled() && !widget.visibleRegion().isEmpty() &&
           !leftAlone.contains(widget.objectName()) &&
           (qobject_cast<const QAbstractButton *>(&widget) || qobject_cast<const QLineEdit *>(&widget) ||
            qobject_cast<const QComboBox *>(&widget) || qobject_cast<const QAbstractItemView *>(&widget) ||
            qobject_cast<const QPlainTextEdit *>(&widget) || qobject_cast<const QsciScintilla *>(&widget));
}

QString placeOf(const QWidget &widget)
{
    return widget.window()->objectName() + u'.' + widget.objectName();
}

} // namespace

Monkey::Monkey(quint32 seed, QString folder, std::FILE *log)
    : m_random(seed)
    , m_folder(std::move(folder))
    , m_log(log)
{
}

void Monkey::start()
{
    QTimer::singleShot(0, this, &Monkey::act);
}

void Monkey::note(const char *what, const QWidget &widget, const QString &detail)
{
    const QString name = widget.objectName().isEmpty() ? QString::fromLatin1(widget.metaObject()->className())
                                                       : widget.objectName();
    std::fprintf(m_log, "%d %s %s.%s %s\n", m_actions, what, qPrintable(widget.window()->objectName()),
                 qPrintable(name), qPrintable(detail));
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
    if (popup)
        useMenu(*popup);
    else if (auto *dialog = qobject_cast<QDialog *>(modal);
             dialog && (m_isFinishing || oneIn(12) || qobject_cast<QMessageBox *>(dialog) ||
                        qobject_cast<QFileDialog *>(dialog)))
        answer(*dialog);
    else if (!modal && oneIn(25))
        connectAgain();
    else if (QWidget *window = modal ? modal : randomWindow())
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
    if (windows.isEmpty())
        return nullptr;
    QWidget *window = windows[below(windows.size())];
    if (window->objectName() != u"frmTarnwell" && oneIn(60)) {
        note("closes", *window);
        window->close();
        return nullptr;
    }
    window->activateWindow();
    return window;
}

QWidget *Monkey::randomControl(QWidget &window)
{
    QList<QWidget *> controls;
    for (QWidget *widget : window.findChildren<QWidget *>())
        if (widget->window() == &window && isUsable(*widget))
            controls << widget;
    if (controls.isEmpty())
        return nullptr;
    QWidget *control = controls[below(controls.size())];
    const bool isDull = seldom.contains(control->objectName()) || control->objectName().endsWith(u"_Filter");
    if (isDull && !oneIn(6))
        return nullptr;
    // Curious: what it has not tried comes first.
    QList<QWidget *> untried;
    std::ranges::copy_if(controls, std::back_inserter(untried), [&](const QWidget *each) {
        return !qobject_cast<const QCheckBox *>(each) && !seldom.contains(each->objectName()) &&
               !m_tried.contains(placeOf(*each));
    });
    if (!untried.isEmpty() && !oneIn(12)) {
        m_tried << placeOf(*untried[0]);
        return untried[0];
    }
    // Most of the program is reached through its lists.
    const auto isList = [](QWidget *each) { return each->inherits("ChosenList"); };
    QList<QWidget *> lists;
    std::ranges::copy_if(controls, std::back_inserter(lists), isList);
    return !lists.isEmpty() && oneIn(5) ? lists[below(lists.size())] : control;
}

void Monkey::actOn(QWidget &widget)
{
    if (auto *box = qobject_cast<QComboBox *>(&widget); box && box->count() > 0 && !oneIn(4)) {
        const int index = below(box->count());
        note("chooses", widget, box->itemText(index));
        box->setCurrentIndex(index);
    } else if (oneIn(6)) {
        const QKeySequence key(keys[below(keys.size())]);
        note("presses", widget, key.toString());
        QTest::keySequence(&widget, key);
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
    const QString name = widget.objectName(), word = words[below(words.size())];
    if (auto *text = qobject_cast<SqlTextBox *>(&widget)) {
        const QString statement = statements[below(statements.size())];
        note("writes", widget, statement);
        if (name == u"txtSql")
            text->setContents(statement);
        else
            text->setContents(text->contents().replace("int", "bigint") + (oneIn(3) ? word : QString()));
    } else if (auto *line = qobject_cast<QLineEdit *>(&widget)) {
        // The connection's own fields are connectAgain()'s.
        if (widget.window()->objectName() == u"frmTarnwell")
            return;
        note("writes", widget, word);
        line->setText(word);
    }
}

void Monkey::useMenu(QWidget &menu)
{
    auto *shown = qobject_cast<QMenu *>(&menu);
    if (shown && !m_isFinishing && oneIn(2)) {
        const QList<QAction *> actions = shown->actions();
        QAction *action = actions.value(below(std::max<qsizetype>(actions.size(), 1)));
        if (action && action->isEnabled() && !action->menu() && !action->isSeparator()) {
            note("chooses", menu, action->objectName());
            shown->close();
            action->trigger();
            return;
        }
    }
    note("leaves", menu);
    menu.close();
}

void Monkey::answer(QDialog &dialog)
{
    if (auto *files = qobject_cast<QFileDialog *>(&dialog)) {
        m_sinceFileDialog.start();
        note("picks in", dialog, files->windowTitle());
        auto *line = dialog.findChild<QLineEdit *>("fileNameEdit");
        if (!line || m_isFinishing || oneIn(3)) {
            dialog.reject();
            return;
        }
        const bool isFolder = files->fileMode() == QFileDialog::Directory;
        line->setText(isFolder ? m_folder : m_folder + "/file" + QString::number(below(3)));
        QMetaObject::invokeMethod(&dialog, "accept");
        if (dialog.isVisible())
            dialog.reject();
        return;
    }
    if (auto *box = qobject_cast<QMessageBox *>(&dialog)) {
        const QList<QAbstractButton *> buttons = box->buttons();
        QAbstractButton *button = buttons.value(below(std::max<qsizetype>(buttons.size(), 1)));
        note("answers", dialog, box->text().left(60).simplified());
        if (button)
            button->click();
        else
            dialog.reject();
        return;
    }
    note("leaves", dialog);
    dialog.reject();
}
