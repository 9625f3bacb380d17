#pragma once

#include <QString>

// The text as a literal that every sql_mode reads alike.
QString textLiteral(const QString &text);
// A condition: the expression holds the text, whatever its case; "%" and "_" are characters as others.
QString holdsText(const QString &expression, const QString &text);
// The same expression's text around the place where it holds the text.
QString excerptAround(const QString &expression, const QString &text);
