#pragma once

#include <QString>

#include <string_view>
#include <vector>

enum class TokenKind {
    Blank,        // blanks, TABs and line ends
    Comment,      // to the line's end, or between /* and */ (hints too)
    VersionStart, // /*!50100 and /*M!100100: what follows is part of the statement on some servers
    VersionEnd,   // the */ that belongs to it
    Word,         // keywords and bare names
    Number,       // 1, 1.5e3, 0x1F, x'1F', b'01'
    Text,         // '...', N'...', and "..." unless those are names
    Name,         // `...`, and "..." under ANSI_QUOTES
    Sign          // operators and whatever else stands alone
};

struct Token {
    TokenKind kind;
    qsizetype start, length;
    bool isClosed = true; // false: the text ended inside of quotes or a comment
};

// What the server's sql_mode changes about reading.
struct SqlMode {
    bool hasAnsiQuotes = false;       // ANSI_QUOTES
    bool hasPlainBackslashes = false; // NO_BACKSLASH_ESCAPES
};

// Takes a text apart as the server does, from left to right. Joined, the tokens are the text again, whatever
// it holds; no token is empty. Reads UTF-16 (char16_t) and UTF-8 (char) alike; places count those units.
template <class Char>
class BasicSqlLexer {
public:
    using Text = std::basic_string_view<Char>;

    explicit BasicSqlLexer(Text text, SqlMode mode = {})
        : m_text(text)
        , m_mode(mode)
    {
    }

    bool isAtEnd() const { return m_at >= size(); }
    qsizetype place() const { return m_at; }
    // Between /*! and its */.
    bool isInVersion() const { return m_isInVersion; }
    Token next(); // not at the end

    // Reads on in a text that begins with what is left of the old one, or at a place behind something that is
    // no SQL.
    void goOn(Text text, qsizetype at);
    void restart(qsizetype at);
    void setMode(SqlMode mode) { m_mode = mode; }

private:
    Token take(TokenKind kind, qsizetype end, bool isClosed = true);
    Token takeUntil(TokenKind kind, std::string_view end, qsizetype from);
    Token takeQuoted(TokenKind kind, qsizetype quote, bool hasEscapes);
    Token takeNumber();
    Token takeWord();
    Token takeSign();
    qsizetype size() const { return static_cast<qsizetype>(m_text.size()); }
    Char at(qsizetype place) const
    {
        return place < size() ? m_text[static_cast<std::size_t>(place)] : Char(0);
    }
    bool startsWith(std::string_view text) const;
    bool startsLineComment() const;
    qsizetype endOfVersionStart() const; // 0: none begins here

    Text m_text;
    SqlMode m_mode;
    qsizetype m_at = 0;
    bool m_isInVersion = false;
    bool m_isBehindDot = false; // what follows is a name, digits or not
    bool m_isBehindName = false;
};

extern template class BasicSqlLexer<char16_t>;
extern template class BasicSqlLexer<char>;

class SqlLexer : public BasicSqlLexer<char16_t> {
public:
    explicit SqlLexer(QStringView text, SqlMode mode = {})
        : BasicSqlLexer({text.utf16(), static_cast<std::size_t>(text.size())}, mode)
    {
    }
};

std::vector<Token> sqlTokens(QStringView text, SqlMode mode = {});
std::vector<Token> sqlTokens(std::string_view utf8, SqlMode mode = {});
