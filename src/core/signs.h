#pragma once

#include <QString>

// For texts that a user reads: control characters and marks that change the direction or cannot be seen are
// replaced by signs, so that no name looks like another one. Never for what is sent.
QString visibleName(const QString &name);
// The same for an item of a list: the TAB behind its tag stays.
QString visibleItem(const QString &item);
// The same for texts of several lines: TABs and line ends stay.
QString visibleText(const QString &text);
