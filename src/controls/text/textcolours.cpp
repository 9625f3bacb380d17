#include "controls/text/textcolours.h"

#include "controls/text/scintilla.h"
#include "controls/window/desktopcolours.h"

#include <QFontDatabase>
#include <QGuiApplication>
#include <QPalette>

namespace {

bool isDark(const QPalette &palette)
{
    return palette.color(QPalette::Base).lightness() < 128;
}

QColor paperOf(const QsciScintilla &box)
{
    const QPalette palette = box.palette();
    return palette.color(box.isReadOnly() ? QPalette::Window : QPalette::Base);
}

} // namespace

QFont codeFont()
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPointSizeF(QGuiApplication::font().pointSizeF());
    return font;
}

void colourPlain(QsciScintilla &box)
{
    const QPalette palette = box.palette();
    const QColor text = palette.color(QPalette::Text);
    box.setPaper(paperOf(box));
    box.setColor(text);
    box.setCaretForegroundColor(text);
    box.setSelectionBackgroundColor(palette.color(QPalette::Highlight));
    box.setSelectionForegroundColor(palette.color(QPalette::HighlightedText));
    box.setMarginsBackgroundColor(palette.color(QPalette::Window));
    // Scintilla takes no half transparent colour, as that of hints is.
    box.setMarginsForegroundColor(
        mixed(palette.color(QPalette::WindowText), palette.color(QPalette::Window), 0.6));
    box.setMatchedBraceBackgroundColor(palette.color(QPalette::Highlight));
    box.setMatchedBraceForegroundColor(palette.color(QPalette::HighlightedText));
    box.setUnmatchedBraceBackgroundColor(paperOf(box));
    box.setUnmatchedBraceForegroundColor(isDark(palette) ? QColor(0xff8080) : QColor(0xc00000));
}

void colourSql(QsciScintilla &box)
{
    auto *lexer = qobject_cast<QsciLexerSQL *>(box.lexer());
    const QPalette palette = box.palette();
    const bool dark = isDark(palette);
    const QColor paper = paperOf(box);
    lexer->setFont(codeFont());
    lexer->setDefaultFont(codeFont());
    lexer->setDefaultPaper(paper);
    lexer->setPaper(paper);
    lexer->setDefaultColor(palette.color(QPalette::Text));
    lexer->setColor(palette.color(QPalette::Text));
    const auto colour = [&](std::initializer_list<int> styles, QRgb light, QRgb onDark) {
        for (const int style : styles)
            lexer->setColor(QColor(dark ? onDark : light), style);
    };
    colour({QsciLexerSQL::Keyword, QsciLexerSQL::PlusKeyword}, 0x0033b3, 0x82aaff);
    colour({QsciLexerSQL::Comment, QsciLexerSQL::CommentLine, QsciLexerSQL::CommentLineHash,
            QsciLexerSQL::CommentDoc, QsciLexerSQL::PlusComment},
           0x5a6b5a, 0x9bb09b);
    colour({QsciLexerSQL::SingleQuotedString, QsciLexerSQL::DoubleQuotedString}, 0x8a1f11, 0xf0a080);
    colour({QsciLexerSQL::Number}, 0x0b6e75, 0x7fd8d8);
    colour({QsciLexerSQL::QuotedIdentifier}, 0x5b3d8a, 0xc9a8ff);
    QFont bold = codeFont();
    bold.setBold(true);
    lexer->setFont(bold, QsciLexerSQL::Keyword);
    colourPlain(box);
}
