#include "core/sql/format.h"

#include "core/sql/splitter.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {

// Words that no server takes as bare names, so that their case says nothing.
constexpr std::array<std::string_view, 64> reserved{
    "all",    "alter",   "analyze", "and",           "as",      "asc",      "between", "by",
    "case",   "create",  "cross",   "delete",        "desc",    "distinct", "drop",    "else",
    "exists", "explain", "for",     "from",          "group",   "having",   "if",      "ignore",
    "in",     "inner",   "insert",  "interval",      "into",    "is",       "join",    "key",
    "left",   "like",    "limit",   "lock",          "match",   "natural",  "not",     "null",
    "on",     "or",      "order",   "outer",         "primary", "regexp",   "replace", "right",
    "select", "set",     "show",    "straight_join", "table",   "then",     "to",      "union",
    "unique", "update",  "using",   "values",        "when",    "where",    "with",    "xor"};
constexpr std::array<std::string_view, 8> laidOut{"select", "with",   "insert",  "replace",
                                                  "update", "delete", "explain", "("};
constexpr std::array<std::string_view, 9> clauses{"select", "from",  "where", "group", "having",
                                                  "order",  "limit", "union", "set"};
constexpr std::array<std::string_view, 5> joins{"left", "right", "inner", "cross", "natural"};

template <std::size_t Count>
bool isOneOf(std::string_view word, const std::array<std::string_view, Count> &words)
{
    return std::ranges::find(words, word) != words.end();
}

std::string inSmallLetters(std::string_view text)
{
    std::string small(text);
    for (char &c : small)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c | 0x20);
    return small;
}

bool isLineComment(std::string_view text)
{
    return text.starts_with("--") || text.starts_with('#');
}

struct Piece {
    std::string_view text;
    std::string small; // of a word, in small letters; of a sign, itself
    TokenKind kind;
    std::string_view before; // blanks and line ends

    bool isBehindBlank() const { return !before.empty(); }
    bool isBehindLine() const { return before.find('\n') != std::string_view::npos; }
};

// One statement's layout.
class Layout {
public:
    Layout(std::string_view statement, SqlMode mode, KeywordCase keywords);
    std::string text();

private:
    struct Parenthesis {
        bool isQuery;
        bool isListBroken; // of the clause outside
    };

    void putSpace(std::size_t i);
    void follow(std::size_t i);
    void putPiece(std::size_t i);
    bool closesQuery(std::size_t i) const;
    bool startsClause(std::size_t i) const;
    bool startsJoin(std::size_t i) const;
    bool isLongList(std::size_t i) const;
    void breakLine(int depth);
    std::string_view small(std::size_t i) const
    {
        return i < m_pieces.size() ? m_pieces[i].small : std::string_view();
    }
    bool isInQuery() const { return m_open.empty() || m_open.back().isQuery; }
    int depth() const
    {
        return static_cast<int>(
            std::ranges::count_if(m_open, [](const Parenthesis &each) { return each.isQuery; }));
    }

    std::vector<Piece> m_pieces;
    const KeywordCase m_keywords;
    std::vector<Parenthesis> m_open;
    bool m_isListBroken = false, m_isBetween = false, m_isLaidOut = false;
    int m_cases = 0;
    std::string m_text;
};

Layout::Layout(std::string_view statement, SqlMode mode, KeywordCase keywords)
    : m_keywords(keywords)
{
    std::string_view before;
    for (const Token &token : sqlTokens(statement, mode)) {
        const std::string_view text =
            statement.substr(static_cast<std::size_t>(token.start), static_cast<std::size_t>(token.length));
        if (token.kind == TokenKind::Blank) {
            before = text;
            continue;
        }
        const bool isRead = token.kind == TokenKind::Word || token.kind == TokenKind::Sign;
        m_pieces.push_back({text, isRead ? inSmallLetters(text) : std::string(), token.kind, before});
        before = {};
    }
    m_isLaidOut = isOneOf(small(0), laidOut);
}

std::string Layout::text()
{
    for (std::size_t i = 0; i < m_pieces.size(); ++i) {
        putSpace(i);
        follow(i);
        putPiece(i);
    }
    return std::exchange(m_text, {});
}

void Layout::breakLine(int depth)
{
    m_text += '\n';
    m_text.append(static_cast<std::size_t>(depth) * 4, ' ');
}

bool Layout::startsJoin(std::size_t i) const
{
    const auto isJoin = [this](std::size_t at) { return small(at) == "join" || small(at) == "outer"; };
    if (isOneOf(small(i), joins))
        return isJoin(i + 1) || (isOneOf(small(i + 1), joins) && isJoin(i + 2));
    return small(i) == "join" && (i == 0 || (!isOneOf(small(i - 1), joins) && small(i - 1) != "outer"));
}

bool Layout::startsClause(std::size_t i) const
{
    if (i == 0 || !isInQuery() || m_cases > 0 || m_pieces[i].kind != TokenKind::Word)
        return false;
    const std::string_view before = small(i - 1);
    if (before == "." || before == "@" || before == "delete" || before == "ignore")
        return false;
    if (small(i) == "values")
        return small(i + 1) == "(";
    if (small(i) == "on")
        return small(i + 1) == "duplicate";
    return isOneOf(small(i), clauses) || startsJoin(i);
}

// Whether the list behind a clause's word wants a line for each of its parts.
bool Layout::isLongList(std::size_t i) const
{
    constexpr std::size_t longest = 70;
    std::size_t length = 0;
    int open = 0;
    for (std::size_t at = i + 1; at < m_pieces.size() && open >= 0 && length <= longest; ++at) {
        if (small(at) == "(")
            ++open;
        if (small(at) == ")")
            --open;
        if (open == 0 && isOneOf(small(at), clauses))
            break;
        length += m_pieces[at].text.size() + 1;
    }
    return length > longest;
}

bool Layout::closesQuery(std::size_t i) const
{
    return small(i) == ")" && !m_open.empty() && m_open.back().isQuery;
}

// What stands between the piece and the one before it.
void Layout::putSpace(std::size_t i)
{
    const Piece &piece = m_pieces[i];
    const bool isBehindComment =
        i > 0 && m_pieces[i - 1].kind == TokenKind::Comment && isLineComment(m_pieces[i - 1].text);
    // Two minus signs are a comment as soon as a blank follows.
    const bool isBoundToMinus = !piece.isBehindBlank() && m_text.ends_with("--");
    if (!m_isLaidOut || isBoundToMinus) {
        // Not ours to lay out: as it stands, but for the words.
        m_text += piece.before;
    } else if (closesQuery(i)) {
        breakLine(depth() - 1);
    } else if (startsClause(i)) {
        breakLine(depth());
    } else if (small(i) == "select" && i > 0 && small(i - 1) == "(") {
        breakLine(depth());
    } else if ((small(i) == "and" || small(i) == "or") && isInQuery() && m_cases == 0 && !m_isBetween &&
               piece.isBehindBlank() && i > 0) {
        breakLine(depth() + 1);
    } else if (i > 0 && small(i - 1) == "," && isInQuery() && m_isListBroken) {
        breakLine(depth() + 1);
    } else if (isBehindComment || (piece.kind == TokenKind::Comment && piece.isBehindLine())) {
        breakLine(depth() + 1);
    } else if (i > 0 && (piece.isBehindBlank() || small(i - 1) == ",")) {
        m_text += ' ';
    }
}

// Where in the statement the next piece stands.
void Layout::follow(std::size_t i)
{
    if (startsClause(i) || i == 0)
        m_isListBroken = (small(i) == "select" || small(i) == "set") && isLongList(i);
    if (small(i) == "between" || small(i) == "and")
        m_isBetween = small(i) == "between";
    if (small(i) == "case" || (small(i) == "end" && m_cases > 0))
        m_cases += small(i) == "case" ? 1 : -1;
    if (small(i) == "(") {
        m_open.push_back({small(i + 1) == "select" && m_isLaidOut, m_isListBroken});
    } else if (small(i) == ")" && !m_open.empty()) {
        if (closesQuery(i))
            m_isListBroken = m_open.back().isListBroken;
        m_open.pop_back();
    }
}

void Layout::putPiece(std::size_t i)
{
    const Piece &piece = m_pieces[i];
    const bool isName = i > 0 && (small(i - 1) == "." || small(i - 1) == "@");
    const bool isKeyword = piece.kind == TokenKind::Word && !isName && m_keywords != KeywordCase::AsIs &&
                           isOneOf(piece.small, reserved);
    if (!isKeyword) {
        m_text += piece.text;
    } else {
        for (const char c : piece.small)
            m_text +=
                m_keywords == KeywordCase::Upper && c >= 'a' && c <= 'z' ? static_cast<char>(c & ~0x20) : c;
    }
}

// What holds statements of its own is left as it was written.
bool isRoutine(std::string_view statement, SqlMode mode)
{
    bool isCreated = false;
    int words = 0;
    BasicSqlLexer<char> lexer(statement, mode);
    while (!lexer.isAtEnd() && words < 12) {
        const Token token = lexer.next();
        if (token.kind != TokenKind::Word)
            continue;
        const std::string word = inSmallLetters(
            statement.substr(static_cast<std::size_t>(token.start), static_cast<std::size_t>(token.length)));
        isCreated |= words++ == 0 && (word == "create" || word == "alter" || word == "begin");
        if (word == "begin" || word == "procedure" || word == "function" || word == "trigger" ||
            word == "event" || word == "package")
            return isCreated;
    }
    return false;
}

} // namespace

QByteArray formattedSql(const QByteArray &script, SqlMode mode, KeywordCase keywords)
{
    const std::string_view text(script.constData(), static_cast<std::size_t>(script.size()));
    std::string result;
    std::size_t done = 0;
    // A line "delimiter" that names none, as it stands, might name one if it ended sooner.
    bool isBehindDelimiter = false;
    for (const ScriptPiece &piece : scriptPieces(text, mode)) {
        const auto start = static_cast<std::size_t>(piece.start);
        const std::string_view between = text.substr(done, start - done);
        result += between;
        // Statements begin on lines of their own.
        const bool isBehindLine = between.find('\n') != std::string_view::npos;
        if (done > 0 && !isBehindLine && !isBehindDelimiter)
            result += '\n';
        done = start;
        isBehindDelimiter = (isBehindDelimiter && !isBehindLine) ||
                            inSmallLetters(piece.text.substr(0, 9)).starts_with("delimiter");
        if (piece.kind == ScriptPiece::Kind::Source || !piece.isClosed || isRoutine(piece.text, mode))
            continue;
        result += Layout(piece.text, mode, keywords).text();
        done += piece.text.size();
        const std::string_view blanks = piece.text.substr(piece.text.find_last_not_of(" \t\n\v\f\r") + 1);
        if (blanks.find('\n') != std::string_view::npos)
            result += '\n'; // behind a line comment the delimiter would be part of it
        else if (!blanks.empty() && done < text.size() && text[done] != ';')
            result += ' '; // "/ //"
    }
    result += text.substr(done);
    return QByteArray(result.data(), static_cast<qsizetype>(result.size()));
}

bool haveSameTokens(const QByteArray &left, const QByteArray &right, SqlMode mode, bool mayDifferInCase)
{
    const auto tokensOf = [&](const QByteArray &bytes) {
        const std::string_view script(bytes.constData(), static_cast<std::size_t>(bytes.size()));
        std::vector<std::vector<std::pair<TokenKind, std::string>>> statements;
        for (const ScriptPiece &piece : scriptPieces(script, mode)) {
            statements.emplace_back();
            for (const Token &token : sqlTokens(piece.text, mode)) {
                if (token.kind == TokenKind::Blank)
                    continue;
                const std::string_view text = piece.text.substr(static_cast<std::size_t>(token.start),
                                                                static_cast<std::size_t>(token.length));
                const bool isWord = mayDifferInCase && token.kind == TokenKind::Word;
                statements.back().emplace_back(token.kind, isWord ? inSmallLetters(text) : std::string(text));
            }
        }
        return statements;
    };
    return tokensOf(left) == tokensOf(right);
}
