#pragma once

#include <QColor>

// Lets the program look right on the user's desktop: hints stay readable and boxes to check visible on dark
// colours, whatever the desktop left out of its palette. Called once, before any window is made.
void applyDesktopColours();

// As much of the one as `part` says, from 0 to 1, over the other.
QColor mixed(const QColor &over, const QColor &under, double part);
