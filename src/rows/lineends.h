#pragma once

#include <QString>

// A box for text ends all lines in one way. The lines that were not edited get their ends back, CR LF, LF or
// CR; a new one ends as the line before it. `edited`: as QTextDocument::toRawText() gives it.
QString withLineEndsOf(const QString &before, const QString &edited);

// "CRLF 2, LF 1" of a text whose lines end in several ways, else empty.
QString mixedLineEnds(const QString &text);
