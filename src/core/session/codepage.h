#pragma once

#include <QByteArray>
#include <QString>

// Texts of files that other programs of the machine read in the Japanese ANSI code page (CP932).

// A byte order mark decides, else valid UTF-8, else CP932.
QString fromCodePage(const QByteArray &bytes);
// CP932 when reading it back gives the same text; otherwise UTF-8 with a byte order mark.
QByteArray toCodePage(const QString &text);
// Bytes of the text in CP932; a character without a form there counts one.
int codePageLength(const QString &text);
