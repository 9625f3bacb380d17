#pragma once

#include <QString>

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
// it holds; no token is empty.
class SqlLexer {
public:
    explicit SqlLexer(QStringView text, SqlMode mode = {});

    bool isAtEnd() const { return m_at >= m_text.size(); }
    Token next(); // not at the end

private:
    Token take(TokenKind kind, qsizetype end, bool isClosed = true);
    Token takeUntil(TokenKind kind, QStringView end, qsizetype from);
    Token takeQuoted(TokenKind kind, qsizetype quote, bool hasEscapes);
    Token takeNumber();
    Token takeWord();
    QChar at(qsizetype place) const { return place < m_text.size() ? m_text[place] : QChar(); }
    bool startsWith(QStringView text) const { return m_text.sliced(m_at).startsWith(text); }
    bool startsLineComment() const;
    qsizetype endOfVersionStart() const; // 0: none begins here

    QStringView m_text;
    SqlMode m_mode;
    qsizetype m_at = 0;
    bool m_isInVersion = false;
    bool m_isBehindDot = false; // what follows is a name, digits or not
    bool m_isBehindName = false;
};

std::vector<Token> sqlTokens(QStringView text, SqlMode mode = {});
