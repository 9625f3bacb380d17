#include "controls/window/windowpump.h"

#include "controls/lists/chosenlist.h"
#include "controls/text/scintilla.h"
#include "controls/window/stopping.h"

#include <QAbstractButton>
#include <QAbstractSlider>
#include <QApplication>
#include <QDragMoveEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPlainTextEdit>
#include <QSplitterHandle>

#include <algorithm>

namespace {

// Statements shorter than this never pay for the event loop.
constexpr std::chrono::milliseconds sleepFirst(15);

bool isInput(QEvent::Type type)
{
    switch (type) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::Wheel:
    case QEvent::Shortcut:
    case QEvent::ShortcutOverride:
    case QEvent::ContextMenu:
    case QEvent::InputMethod:
    case QEvent::DragEnter:
    case QEvent::DragMove:
    case QEvent::Drop:
    case QEvent::TabletPress:
    case QEvent::TabletRelease:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::NativeGesture:
    case QEvent::Gesture:
        return true;
    default:
        return false;
    }
}

bool isKey(const QEvent &event)
{
    return event.type() == QEvent::KeyPress || event.type() == QEvent::KeyRelease ||
           event.type() == QEvent::ShortcutOverride;
}

bool isKeyOfButtons(int key)
{
    return key == Qt::Key_Space || key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Select;
}

QWidget *stopButtonOf(QObject *watched, const QEvent *event)
{
    const auto *widget = qobject_cast<QWidget *>(watched);
    return widget
               ? buttonOfStopKey(*widget->window(), static_cast<const QKeyEvent *>(event)->keyCombination())
               : nullptr;
}

bool isTextBox(const QObject *object)
{
    return qobject_cast<const QLineEdit *>(object) || qobject_cast<const QPlainTextEdit *>(object) ||
           qobject_cast<const QsciScintilla *>(object);
}

// Writing goes on: keys, the mouse that places the cursor, what an input method composes. Menus and drops
// would start something.
bool isWriting(const QObject *watched, const QEvent &event)
{
    switch (event.type()) {
    case QEvent::ContextMenu:
    case QEvent::DragEnter:
    case QEvent::DragMove:
    case QEvent::Drop:
        return false;
    default:
        return isTextBox(watched) || isTextBox(watched->parent());
    }
}

// Letters that go on to spell a list's item: the first of them has begun to read what it led to. A choice
// waits for what runs.
bool isSpellingAnItem(QObject *watched, const QEvent &event)
{
    if (!isKey(event) || event.type() == QEvent::ShortcutOverride || !qobject_cast<ChosenList *>(watched))
        return false;
    const auto &key = static_cast<const QKeyEvent &>(event);
    return (key.modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier)) == 0 && !key.text().isEmpty() &&
           key.text()[0].isPrint();
}

bool isInWindowThatWorksOn(const QObject *watched)
{
    const auto *widget = qobject_cast<const QWidget *>(watched);
    return widget && worksWhileRunning(*widget->window());
}

// True when the event has been dealt with here.
bool pressStopButton(QObject *watched, QEvent *event)
{
    const int key = static_cast<QKeyEvent *>(event)->key();
    if (!isKeyOfButtons(key))
        return true;
    // Outside of dialogs a push button knows only the space bar.
    auto *button = qobject_cast<QAbstractButton *>(watched);
    if (!button || key == Qt::Key_Space || key == Qt::Key_Select)
        return false;
    if (event->type() == QEvent::KeyPress && !static_cast<QKeyEvent *>(event)->isAutoRepeat())
        button->click();
    return true;
}

// Shortcuts are held off like all that is typed, so that the key of a stop button comes along here. True when
// it was one.
bool clickButtonOfKey(QObject *watched, const QEvent *event)
{
    QWidget *button = stopButtonOf(watched, event);
    if (button && event->type() == QEvent::KeyPress && !static_cast<const QKeyEvent *>(event)->isAutoRepeat())
        static_cast<QAbstractButton *>(button)->click();
    return button;
}

// A press from before the wait must not stay behind: the button comes up without a click, a drag ends, and
// what a list highlights already is chosen.
bool endsOlderPress(QObject *watched)
{
    if (auto *button = qobject_cast<QAbstractButton *>(watched)) {
        button->setDown(false);
        return false;
    }
    return qobject_cast<QAbstractSlider *>(watched) || qobject_cast<QSplitterHandle *>(watched) ||
           qobject_cast<ChosenList *>(watched->parent());
}

} // namespace

WindowPump::WindowPump(QObject *parent)
    : QObject(parent)
{
}

WindowPump::~WindowPump() = default;

void WindowPump::wait(Completion &completion)
{
    if (completion.waitFor(sleepFirst))
        return;
    const Completion *outer = m_waiting;
    m_waiting = &completion;
    if (m_depth++ == 0)
        qApp->installEventFilter(this);
    while (!completion.isFinished())
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    // What was typed and clicked until now is lost as well, not handed to the windows a moment later.
    m_isFlushing = true;
    QCoreApplication::processEvents();
    m_isFlushing = false;
    if (--m_depth == 0)
        qApp->removeEventFilter(this);
    m_waiting = outer;
}

bool WindowPump::eventFilter(QObject *watched, QEvent *event)
{
    // A box that was opened during the wait may outlast it and wants its answer.
    if (!m_isFlushing && m_waiting->isFinished())
        return false;
    // Windows hand on to their widgets what they receive; it is stopped there.
    if (watched->isWindowType())
        return false;
    const bool isDragging =
        event->type() == QEvent::MouseMove && static_cast<QMouseEvent *>(event)->buttons() != Qt::NoButton;
    if (!isInput(event->type()) && !isDragging)
        return false;
    if (isKey(*event)) {
        if (static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape)
            return false;
        if (clickButtonOfKey(watched, event)) {
            event->accept(); // no shortcut takes it
            return true;
        }
    }
    if (isInWindowThatWorksOn(watched) || isWriting(watched, *event) || isSpellingAnItem(watched, *event))
        return false;
    if (stopsRunningCommand(watched))
        return (event->type() == QEvent::KeyPress || event->type() == QEvent::KeyRelease) &&
               pressStopButton(watched, event);
    if (event->type() == QEvent::MouseButtonRelease && endsOlderPress(watched))
        return false;
    event->setAccepted(event->type() != QEvent::DragEnter && event->type() != QEvent::DragMove &&
                       event->type() != QEvent::Drop);
    return true;
}

void Yield::operator()()
{
    if (!isDue())
        return;
    m_clock.restart();
    QCoreApplication::processEvents();
    const qint64 spent = m_clock.restart();
    m_interval = std::clamp(10 * spent, shortest, std::max(shortest, longestRound - spent));
}
