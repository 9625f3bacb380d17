#pragma once

#include "core/sql/lexer.h"

#include <QByteArray>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What stands in a script between two delimiters, or on a line of its own.
struct ScriptPiece {
    enum class Kind {
        Statement, // to be sent
        Source     // the name of a script to be run here: "source name", "\. name"
    };
    Kind kind = Kind::Statement;
    std::string_view text;     // without delimiter; valid until the splitter is asked again
    qint64 start = 0, end = 0; // bytes from the beginning of the script; the delimiter included
    qint64 line = 1;           // of its first letter
    bool isClosed = true;      // false: the script ended inside of quotes or a comment
};

// Takes a script apart into its statements, as the servers' own clients do: quotes, comments, DELIMITER, and
// USE and SOURCE on lines of their own. The script comes in pieces of any size, as UTF-8 bytes; what is kept
// is the statement that is not complete yet.
class StatementSplitter {
public:
    explicit StatementSplitter(SqlMode mode = {})
        : m_lexer({}, mode)
    {
    }

    void feed(std::string_view bytes);
    // No more bytes will come.
    void finish() { m_isFinished = true; }
    // Nothing: more bytes are needed, or all is over.
    std::optional<ScriptPiece> next();

    // For what has not been given yet.
    void setMode(SqlMode mode) { m_lexer.setMode(mode); }
    // The text of the piece that was given last. A long one is handed over as it lies there, so that a
    // gigabyte is held once; the piece's own text is no longer valid then.
    QByteArray take(const ScriptPiece &piece);
    // Bytes that wait for their statement's end.
    std::size_t pendingBytes() const { return static_cast<std::size_t>(m_buffer.size() - m_begin); }
    // How many are best given at once. More for long statements, because an open quote is read again from its
    // start; not too many, because those that belong to the next ones are held beside the statement.
    std::size_t wantedBytes() const;

private:
    struct Line {
        qsizetype end;         // of its text
        std::string_view text; // behind the command's word, without blanks at both ends
    };

    bool takeToken(Token &token);
    bool isComplete(qsizetype end) const;
    qsizetype delimiterIn(const Token &token) const; // -1: none
    std::optional<Line> restOfLine(qsizetype from) const;
    bool readsCommand(const Token &first, std::optional<ScriptPiece> &piece, bool &needsMore);
    ScriptPiece piece(ScriptPiece::Kind kind, std::string_view text, qsizetype end);
    std::string_view bytes(qsizetype from, qsizetype to) const;

    qsizetype noteGiven();
    std::string_view text() const
    {
        return {m_buffer.constData(), static_cast<std::size_t>(m_buffer.size())};
    }

    QByteArray m_buffer;    // not a string: that one is copied to grow
    qint64 m_dropped = 0;   // bytes of the script in front of the buffer
    qsizetype m_begin = 0;  // of what has not been given yet
    qsizetype m_first = -1; // of the statement's first letter; -1: none yet
    qint64 m_line = 1;      // at m_counted
    qsizetype m_counted = 0;
    BasicSqlLexer<char> m_lexer;
    std::string m_delimiter = ";";
    bool m_isFinished = false;
    bool m_isClosed = true;
};

// All of a text at once; the pieces' texts point into it.
std::vector<ScriptPiece> scriptPieces(std::string_view script, SqlMode mode = {});
