#pragma once

#include <QFont>

class QsciScintilla;

// Colours of a text box after its palette, light or dark, and the font of code: evenly spaced, with
// Japanese forms of the characters.
QFont codeFont();
void colourPlain(QsciScintilla &box);
// The box's lexer is a QsciLexerSQL.
void colourSql(QsciScintilla &box);
