#pragma once

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
