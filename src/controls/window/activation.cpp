#include "controls/window/activation.h"

#include <QApplication>
#include <QWidget>
#include <QWindow>

namespace {

constexpr const char *passing = "passing";

bool isWindowOfTheProgram(const QWidget *window)
{
    return window->objectName().startsWith(u"frm") && !window->property(passing).toBool();
}

} // namespace

WindowActivation::WindowActivation(QWidget *window)
    : QObject(window)
    , m_window(window)
{
    connect(qApp, &QGuiApplication::focusWindowChanged, this, &WindowActivation::look);
}

void WindowActivation::setPassing(QWidget *dialog)
{
    dialog->setProperty(passing, true);
}

void WindowActivation::look()
{
    const QWidget *active = QApplication::activeWindow();
    if (!active || !isWindowOfTheProgram(active))
        return;
    if (active != m_window) {
        m_wasElsewhere = true;
    } else if (m_wasElsewhere) {
        m_wasElsewhere = false;
        QMetaObject::invokeMethod(this, &WindowActivation::activated, Qt::QueuedConnection);
    }
}
