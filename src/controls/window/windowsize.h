#pragma once

#include <QSize>

class QWidget;

// A window as large as the user left it: kept under the key of section [Window] of the settings file, and
// only once it differs from the standard size.

// Gives the window that size, or the standard one; never higher than the screen, nor wider unless the
// standard size is.
void restoreSize(QWidget &window, const QString &settingsFile, const QString &key, QSize standard);
// A file that cannot be written costs the size, nothing else.
void keepSize(const QWidget &window, const QString &settingsFile, const QString &key, QSize standard);
// The same for the splitters below the window that have names: only those that the user moved are kept.
void restoreSplitters(QWidget &window, const QString &settingsFile, const QString &key);
void keepSplitters(const QWidget &window, const QString &settingsFile, const QString &key);

// Every window that is shown from now on is made to fit the screen with its frame, as far as its contents
// let it. Called once.
void keepWindowsOnScreen();
