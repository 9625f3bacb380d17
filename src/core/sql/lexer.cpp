#include "core/sql/lexer.h"

#include <algorithm>
#include <type_traits>

namespace {

// Of a unit that may be signed, the number that it stands for.
template <class Char>
constexpr unsigned number(Char c)
{
    return static_cast<std::make_unsigned_t<Char>>(c);
}

template <class Char>
bool isBlank(Char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

template <class Char>
bool isDigit(Char c)
{
    return c >= '0' && c <= '9';
}

template <class Char>
bool isHexDigit(Char c)
{
    return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

template <class Char>
bool isBit(Char c)
{
    return c == '0' || c == '1';
}

// Of a bare name.
template <class Char>
bool isWordPart(Char c)
{
    return isDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '$' ||
           number(c) >= 0x80;
}

template <class Char, class Holds>
qsizetype endOfRun(std::basic_string_view<Char> text, qsizetype from, const Holds &holds)
{
    return std::find_if_not(text.begin() + from, text.end(), holds) - text.begin();
}

} // namespace

template <class Char>
Token BasicSqlLexer<Char>::next()
{
    const Char first = at(m_at);
    if (isBlank(first))
        return take(TokenKind::Blank, endOfRun(m_text, m_at, isBlank<Char>));
    if (first == '\'')
        return takeQuoted(TokenKind::Text, m_at, !m_mode.hasPlainBackslashes);
    if (first == '"')
        return m_mode.hasAnsiQuotes ? takeQuoted(TokenKind::Name, m_at, false)
                                    : takeQuoted(TokenKind::Text, m_at, !m_mode.hasPlainBackslashes);
    if (first == '`')
        return takeQuoted(TokenKind::Name, m_at, false);
    if (first == '#' || (first == '-' && startsLineComment())) {
        const auto end = m_text.find(Char('\n'), static_cast<std::size_t>(m_at));
        return take(TokenKind::Comment, end == Text::npos ? size() : static_cast<qsizetype>(end));
    }
    if (first == '/') {
        if (const qsizetype end = endOfVersionStart(); end > 0 && !m_isInVersion) {
            m_isInVersion = true;
            return take(TokenKind::VersionStart, end);
        }
        if (startsWith("/*"))
            return takeUntil(TokenKind::Comment, "*/", m_at + 2);
    }
    if (m_isInVersion && startsWith("*/")) {
        m_isInVersion = false;
        return take(TokenKind::VersionEnd, m_at + 2);
    }
    const bool startsFraction = first == '.' && isDigit(at(m_at + 1)) && !m_isBehindName;
    if (startsFraction || (isDigit(first) && !m_isBehindDot))
        return takeNumber();
    return isWordPart(first) ? takeWord() : takeSign();
}

template <class Char>
void BasicSqlLexer<Char>::goOn(Text text, qsizetype at)
{
    m_text = text;
    m_at = at;
}

template <class Char>
void BasicSqlLexer<Char>::restart(qsizetype at)
{
    m_at = at;
    m_isInVersion = m_isBehindDot = m_isBehindName = false;
}

template <class Char>
Token BasicSqlLexer<Char>::take(TokenKind kind, qsizetype end, bool isClosed)
{
    const Token token{kind, m_at, end - m_at, isClosed};
    m_isBehindDot = m_isBehindName && kind == TokenKind::Sign && at(m_at) == '.';
    m_isBehindName = kind == TokenKind::Word || kind == TokenKind::Name;
    m_at = end;
    return token;
}

template <class Char>
Token BasicSqlLexer<Char>::takeUntil(TokenKind kind, std::string_view end, qsizetype from)
{
    const auto begin = m_text.begin() + std::min(from, size());
    const auto found = std::search(begin, m_text.end(), end.begin(), end.end());
    return found == m_text.end() ? take(kind, size(), false)
                                 : take(kind, found - m_text.begin() + static_cast<qsizetype>(end.size()));
}

// A doubled quote stands for itself.
template <class Char>
Token BasicSqlLexer<Char>::takeQuoted(TokenKind kind, qsizetype quote, bool hasEscapes)
{
    const Char mark = at(quote);
    for (qsizetype place = quote + 1; place < size(); ++place) {
        const Char c = at(place);
        if (hasEscapes && c == '\\') {
            ++place;
        } else if (c == mark) {
            if (at(place + 1) != mark)
                return take(kind, place + 1);
            ++place;
        }
    }
    return take(kind, size(), false);
}

template <class Char>
Token BasicSqlLexer<Char>::takeNumber()
{
    const auto follows = [this](qsizetype from, auto holds) { return endOfRun(m_text, from, holds); };
    if (at(m_at) == '0' && (at(m_at + 1) == 'x' || at(m_at + 1) == 'b')) {
        const qsizetype end =
            at(m_at + 1) == 'x' ? follows(m_at + 2, isHexDigit<Char>) : follows(m_at + 2, isBit<Char>);
        if (end > m_at + 2 && !isWordPart(at(end)))
            return take(TokenKind::Number, end);
    }
    qsizetype end = follows(m_at, isDigit<Char>);
    const bool hasPoint = at(end) == '.';
    if (hasPoint)
        end = follows(end + 1, isDigit<Char>);
    if (at(end) == 'e' || at(end) == 'E') {
        const bool hasSign = at(end + 1) == '+' || at(end + 1) == '-';
        const qsizetype digits = end + (hasSign ? 2 : 1);
        if (isDigit(at(digits)))
            return take(TokenKind::Number, follows(digits, isDigit<Char>));
    }
    // A bare name may begin with digits.
    if (!hasPoint && isWordPart(at(end)))
        return takeWord();
    return take(TokenKind::Number, end);
}

template <class Char>
Token BasicSqlLexer<Char>::takeWord()
{
    if (at(m_at + 1) == '\'' && !m_isBehindDot) {
        const unsigned prefix = number(at(m_at)) | 0x20; // in small letters
        if (prefix == 'x' || prefix == 'b')
            return takeQuoted(TokenKind::Number, m_at + 1, false);
        if (prefix == 'n')
            return takeQuoted(TokenKind::Text, m_at + 1, !m_mode.hasPlainBackslashes);
    }
    return take(TokenKind::Word, endOfRun(m_text, m_at, isWordPart<Char>));
}

template <class Char>
Token BasicSqlLexer<Char>::takeSign()
{
    switch (at(m_at)) {
    case '<':
    case '-':
    case ':':
    case '>':
    case '!':
    case '|':
    case '&':
        for (const std::string_view sign :
             {"<=>", "->>", "->", ":=", "<=", ">=", "<>", "!=", "||", "&&", "<<", ">>"})
            if (startsWith(sign))
                return take(TokenKind::Sign, m_at + static_cast<qsizetype>(sign.size()));
        [[fallthrough]];
    default:
        return take(TokenKind::Sign, m_at + 1);
    }
}

template <class Char>
bool BasicSqlLexer<Char>::startsWith(std::string_view text) const
{
    const Text rest = m_text.substr(static_cast<std::size_t>(m_at));
    return rest.size() >= text.size() && std::equal(text.begin(), text.end(), rest.begin());
}

// Two dashes alone are two minus signs: a blank, another control character or the end must follow.
template <class Char>
bool BasicSqlLexer<Char>::startsLineComment() const
{
    return startsWith("--") &&
           (m_at + 2 >= size() || number(at(m_at + 2)) <= ' ' || at(m_at + 2) == Char(0x7f));
}

template <class Char>
qsizetype BasicSqlLexer<Char>::endOfVersionStart() const
{
    const qsizetype mark = startsWith("/*!") ? m_at + 3 : startsWith("/*M!") ? m_at + 4 : 0;
    return mark == 0 ? 0 : endOfRun(m_text, mark, isDigit<Char>);
}

template class BasicSqlLexer<char16_t>;
template class BasicSqlLexer<char>;

namespace {

template <class Lexer>
std::vector<Token> allTokens(Lexer lexer)
{
    std::vector<Token> tokens;
    while (!lexer.isAtEnd())
        tokens.push_back(lexer.next());
    return tokens;
}

} // namespace

std::vector<Token> sqlTokens(QStringView text, SqlMode mode)
{
    return allTokens(SqlLexer(text, mode));
}

std::vector<Token> sqlTokens(std::string_view utf8, SqlMode mode)
{
    return allTokens(BasicSqlLexer<char>(utf8, mode));
}
