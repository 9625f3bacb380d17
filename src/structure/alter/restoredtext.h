#pragma once

#include "core/sql/lexer.h"

// An edited definition with the server's own words wherever the user has left the shown ones as they were.
struct RestoredText {
    QString text;
    // Only of the lines that were edited, one below the other: as the server has them, as they were shown,
    // and as they are now.
    QString serverLines, shownLines, editedLines;
};

// shownText is what was made of serverText for showing; both have the same lines.
RestoredText restoredText(const QString &serverText, const QString &shownText, const QString &editedText,
                          SqlMode mode);
