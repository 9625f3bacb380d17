#include "core/sql/lexer.h"

#include <algorithm>

namespace {

bool isBlank(QChar c)
{
    return c == u' ' || (c >= u'\t' && c <= u'\r');
}

bool isDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

bool isHexDigit(QChar c)
{
    return isDigit(c) || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
}

// Of a bare name.
bool isWordPart(QChar c)
{
    return isDigit(c) || (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c == u'_' || c == u'$' ||
           c >= QChar(0x80);
}

template <class Holds>
qsizetype endOfRun(QStringView text, qsizetype from, const Holds &holds)
{
    return std::find_if_not(text.begin() + from, text.end(), holds) - text.begin();
}

} // namespace

SqlLexer::SqlLexer(QStringView text, SqlMode mode)
    : m_text(text)
    , m_mode(mode)
{
}

Token SqlLexer::next()
{
    const QChar first = m_text[m_at];
    if (isBlank(first))
        return take(TokenKind::Blank, endOfRun(m_text, m_at, isBlank));
    if (first == u'\'')
        return takeQuoted(TokenKind::Text, m_at, !m_mode.hasPlainBackslashes);
    if (first == u'"')
        return m_mode.hasAnsiQuotes ? takeQuoted(TokenKind::Name, m_at, false)
                                    : takeQuoted(TokenKind::Text, m_at, !m_mode.hasPlainBackslashes);
    if (first == u'`')
        return takeQuoted(TokenKind::Name, m_at, false);
    if (first == u'#' || startsLineComment()) {
        const qsizetype end = m_text.indexOf(u'\n', m_at);
        return take(TokenKind::Comment, end < 0 ? m_text.size() : end);
    }
    if (const qsizetype end = endOfVersionStart(); end > 0 && !m_isInVersion) {
        m_isInVersion = true;
        return take(TokenKind::VersionStart, end);
    }
    if (startsWith(u"/*"))
        return takeUntil(TokenKind::Comment, u"*/", m_at + 2);
    if (m_isInVersion && startsWith(u"*/")) {
        m_isInVersion = false;
        return take(TokenKind::VersionEnd, m_at + 2);
    }
    const bool startsFraction = first == u'.' && isDigit(at(m_at + 1)) && !m_isBehindName;
    if (startsFraction || (isDigit(first) && !m_isBehindDot))
        return takeNumber();
    if (isWordPart(first))
        return takeWord();
    for (const QStringView sign :
         {u"<=>", u"->>", u"->", u":=", u"<=", u">=", u"<>", u"!=", u"||", u"&&", u"<<", u">>"})
        if (startsWith(sign))
            return take(TokenKind::Sign, m_at + sign.size());
    return take(TokenKind::Sign, m_at + 1);
}

Token SqlLexer::take(TokenKind kind, qsizetype end, bool isClosed)
{
    const Token token{kind, m_at, end - m_at, isClosed};
    m_isBehindDot = m_isBehindName && kind == TokenKind::Sign && m_text[m_at] == u'.';
    m_isBehindName = kind == TokenKind::Word || kind == TokenKind::Name;
    m_at = end;
    return token;
}

Token SqlLexer::takeUntil(TokenKind kind, QStringView end, qsizetype from)
{
    const qsizetype found = m_text.indexOf(end, from);
    return found < 0 ? take(kind, m_text.size(), false) : take(kind, found + end.size());
}

// A doubled quote stands for itself.
Token SqlLexer::takeQuoted(TokenKind kind, qsizetype quote, bool hasEscapes)
{
    const QChar mark = m_text[quote];
    for (qsizetype place = quote + 1; place < m_text.size(); ++place) {
        if (hasEscapes && m_text[place] == u'\\') {
            ++place;
        } else if (m_text[place] == mark) {
            if (at(place + 1) != mark)
                return take(kind, place + 1);
            ++place;
        }
    }
    return take(kind, m_text.size(), false);
}

Token SqlLexer::takeNumber()
{
    const auto follows = [this](qsizetype from, auto holds) { return endOfRun(m_text, from, holds); };
    if (m_text[m_at] == u'0' && (at(m_at + 1) == u'x' || at(m_at + 1) == u'b')) {
        const bool isHex = at(m_at + 1) == u'x';
        const qsizetype end = isHex ? follows(m_at + 2, isHexDigit)
                                    : follows(m_at + 2, [](QChar c) { return c == u'0' || c == u'1'; });
        if (end > m_at + 2 && !isWordPart(at(end)))
            return take(TokenKind::Number, end);
    }
    qsizetype end = follows(m_at, isDigit);
    const bool hasPoint = at(end) == u'.';
    if (hasPoint)
        end = follows(end + 1, isDigit);
    if (at(end) == u'e' || at(end) == u'E') {
        const bool hasSign = at(end + 1) == u'+' || at(end + 1) == u'-';
        const qsizetype digits = end + (hasSign ? 2 : 1);
        if (isDigit(at(digits)))
            return take(TokenKind::Number, follows(digits, isDigit));
    }
    // A bare name may begin with digits.
    if (!hasPoint && isWordPart(at(end)))
        return takeWord();
    return take(TokenKind::Number, end);
}

Token SqlLexer::takeWord()
{
    if (at(m_at + 1) == u'\'' && !m_isBehindDot) {
        const QChar prefix = m_text[m_at].toLower();
        if (prefix == u'x' || prefix == u'b')
            return takeQuoted(TokenKind::Number, m_at + 1, false);
        if (prefix == u'n')
            return takeQuoted(TokenKind::Text, m_at + 1, !m_mode.hasPlainBackslashes);
    }
    return take(TokenKind::Word, endOfRun(m_text, m_at, isWordPart));
}

// Two dashes alone are two minus signs: a blank, another control character or the end must follow.
bool SqlLexer::startsLineComment() const
{
    return startsWith(u"--") &&
           (m_at + 2 >= m_text.size() || at(m_at + 2) <= u' ' || at(m_at + 2) == QChar(0x7f));
}

qsizetype SqlLexer::endOfVersionStart() const
{
    const qsizetype mark = startsWith(u"/*!") ? m_at + 3 : startsWith(u"/*M!") ? m_at + 4 : 0;
    return mark == 0 ? 0 : endOfRun(m_text, mark, isDigit);
}

std::vector<Token> sqlTokens(QStringView text, SqlMode mode)
{
    std::vector<Token> tokens;
    for (SqlLexer lexer(text, mode); !lexer.isAtEnd();)
        tokens.push_back(lexer.next());
    return tokens;
}
