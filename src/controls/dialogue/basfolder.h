#pragma once

#include <QString>

class QWidget;

// The operating system's folder dialog. Gives the chosen folder without a separator at its end (a root
// folder excepted), or a null text when the user cancels. owner may be null; a start folder that does not
// exist is ignored.
QString fBrowseFolder(const QString &title, QWidget *owner, const QString &startFolder = {});
