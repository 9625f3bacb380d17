#pragma once

#include <QList>

class QButtonGroup;
class QRadioButton;
class QWidget;

// Option buttons of which one is chosen, wherever they lie in the window. Tab reaches the chosen one; Qt
// alone leads to the first until one of them had the focus.
QButtonGroup *makeOptionGroup(QWidget *window, const QList<QRadioButton *> &options);
