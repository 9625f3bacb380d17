// Texts of SQL taken apart, as whole, cut or damaged as they come.
#include "core/sql/lexer.h"
#include "fuzz.h"

#include <algorithm>

namespace {

bool isBlank(const QString &text)
{
    return std::ranges::all_of(text, [](QChar c) { return c == u' ' || (c >= u'\t' && c <= u'\r'); });
}

void checkTokens(const QString &text, SqlMode mode)
{
    QString joined;
    const std::vector<Token> tokens = sqlTokens(text, mode);
    for (const Token &token : tokens) {
        const QString piece = text.mid(token.start, token.length);
        require(token.start == joined.size() && !piece.isEmpty(), "tokens follow one another", {text, piece});
        require(isBlank(piece) == (token.kind == TokenKind::Blank), "only blanks are blank", {text, piece});
        require(token.isClosed || &token == &tokens.back(), "only the last one can be open", {text, piece});
        const bool isQuoted = token.kind == TokenKind::Text || token.kind == TokenKind::Name;
        require(!isQuoted || !token.isClosed ||
                    (piece.size() > 1 && QStringView(u"'\"`").contains(piece.back())),
                "quotes are closed by quotes", {text, piece});
        joined += piece;
    }
    require(joined == text, "joined, the tokens are the text", {text, joined});
    // What ends outside of quotes and comments says nothing about what follows behind a blank.
    if (tokens.empty() || !tokens.back().isClosed || tokens.back().kind == TokenKind::Comment)
        return;
    const QString more = text + QStringLiteral("\n'x'");
    require(sqlTokens(more, mode).back().kind == TokenKind::Text, "a text stands for itself", {text});
}

} // namespace

std::vector<std::string_view> seeds()
{
    return {"select 'it''s', \"a\\\"b\", `x``y` from d.1e5 where a<=>.5e-3 -- end\n;",
            "/*!50100 alter */ /*M!100100 x */ table t /*+ hint */ /* ' */ # `\n--\n",
            "0x1F x'1F' b'01' n'a' _utf8'b' @@x := 1.e 1a 0b2 -->> /* /*!",
            "'\\",
            "\"\"\"",
            "`",
            "*/ /*!1/**/*/",
            "\xE8\xA1\xA8.\xE2\x80\xAE\x00--\x00"};
}

void check(const QByteArray &bytes)
{
    const QString text = QString::fromUtf8(bytes);
    for (const bool hasAnsiQuotes : {false, true})
        for (const bool hasPlainBackslashes : {false, true})
            checkTokens(text, {hasAnsiQuotes, hasPlainBackslashes});
}
