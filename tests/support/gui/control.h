#pragma once

#include <QTest>
#include <QWidget>

// The control of that object name; a window without it ends the test.
template <class Control>
Control &control(const QWidget &window, const char *name)
{
    auto *found = window.findChild<Control *>(QLatin1String(name));
    if (!found)
        qFatal("no control %s", name);
    return *found;
}

// The user goes from another window of the program to this one.
inline void goTo(QWidget &window)
{
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QCoreApplication::processEvents();
}
