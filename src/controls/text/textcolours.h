#pragma once

#include <QFont>

class QsciScintilla;

// The evenly spaced font of code, as large as the rest of the program.
QFont codeFont();
// Colours of a text box after its palette, light or dark.
void colourPlain(QsciScintilla &box);
// The box's lexer is a QsciLexerSQL.
void colourSql(QsciScintilla &box);
