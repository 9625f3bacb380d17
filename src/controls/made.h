#pragma once

#include <QString>

#include <utility>

// Makes a control of that object name; the layout it is put into gives it its parent.
template <class Control, class... Arguments>
Control *made(const char *name, Arguments &&...arguments)
{
    auto *control = new Control(std::forward<Arguments>(arguments)...);
    control->setObjectName(QLatin1String(name));
    return control;
}
