#include "core/sql/words.h"

std::vector<SqlWord> sqlWords(QStringView statement, SqlMode mode)
{
    std::vector<SqlWord> words;
    int depth = 0;
    for (const Token &token : sqlTokens(statement, mode)) {
        if (token.kind == TokenKind::Blank || token.kind == TokenKind::Comment ||
            token.kind == TokenKind::VersionStart || token.kind == TokenKind::VersionEnd)
            continue;
        const QString written = statement.mid(token.start, token.length).toString();
        if (written == u")")
            --depth;
        words.push_back(
            {token.kind, token.kind == TokenKind::Word ? written.toLower() : written, written, depth});
        if (written == u"(")
            ++depth;
    }
    return words;
}

QStringList bareWords(QStringView statement, SqlMode mode)
{
    QStringList words;
    for (const Token &token : sqlTokens(statement, mode))
        if (token.kind == TokenKind::Word || token.kind == TokenKind::Sign ||
            token.kind == TokenKind::VersionStart)
            words << statement.mid(token.start, token.length).toString().toLower();
    return words;
}
