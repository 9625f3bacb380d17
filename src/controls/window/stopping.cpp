#include "controls/window/stopping.h"

#include <QAbstractButton>
#include <QApplication>
#include <QKeyEvent>
#include <QPushButton>

namespace {

constexpr char stopProperty[] = "stopsRunningCommand";
constexpr char keyProperty[] = "keyThatStops";
constexpr char worksProperty[] = "worksWhileRunning";

} // namespace

void setStopsRunningCommand(QWidget *button, bool isOn, const QKeySequence &key)
{
    button->setProperty(stopProperty, isOn);
    button->setProperty(keyProperty, key);
}

bool stopsRunningCommand(const QObject *button)
{
    return button->property(stopProperty).toBool();
}

QWidget *buttonOfStopKey(const QWidget &window, const QKeySequence &key)
{
    for (QAbstractButton *button : window.findChildren<QAbstractButton *>())
        if (stopsRunningCommand(button) && button->property(keyProperty).value<QKeySequence>() == key)
            return button;
    return nullptr;
}

void setWorksWhileRunning(QWidget *window)
{
    window->setProperty(worksProperty, true);
}

bool worksWhileRunning(const QWidget &window)
{
    for (const QWidget *each = &window; each; each = each->parentWidget())
        if (each->property(worksProperty).toBool())
            return true;
    return false;
}

EscapeStops::EscapeStops(Runner &runner, QObject *parent)
    : QObject(parent)
    , m_runner(runner)
{
    qApp->installEventFilter(this);
}

bool EscapeStops::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::KeyPress || !m_runner.isRunning() || !watched->isWidgetType() ||
        static_cast<QKeyEvent *>(event)->key() != Qt::Key_Escape)
        return false;
    const QWidget *window = static_cast<QWidget *>(watched)->window();
    if (window->windowType() != Qt::Window || qobject_cast<const QDialog *>(window) ||
        worksWhileRunning(*window))
        return false;
    m_runner.stop();
    return true;
}

void StoppableDialog::reject()
{
    // What others run may wait for this dialog: it was opened while that ran, and lies upon it.
    if (m_runner.isRunning(this))
        m_runner.leave(this, [this] { QDialog::reject(); });
    else
        QDialog::reject();
}

RunTag::RunTag(Runner &runner, QPushButton &button)
    : m_button(button)
{
    set(true);
    connect(&runner, &Runner::stopWanted, this, [this] { set(false); });
}

RunTag::~RunTag()
{
    set(false);
}

void RunTag::set(bool isRunning)
{
    m_button.setProperty("tag", isRunning ? QStringLiteral("True") : QStringLiteral("False"));
}
