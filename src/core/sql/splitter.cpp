#include "core/sql/splitter.h"

#include <algorithm>
#include <utility>

namespace {

// No token is decided by what stands further behind it: "1e+" and "/*M!" look ahead so far.
constexpr qsizetype lookAhead = 8;

bool isBlank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

bool isWord(std::string_view text, std::string_view word)
{
    return text.size() == word.size() &&
           std::equal(text.begin(), text.end(), word.begin(), [](char a, char b) { return (a | 0x20) == b; });
}

bool isQuoted(std::string_view text)
{
    return text.size() > 2 && text.front() == text.back() && (text.front() == '\'' || text.front() == '"');
}

} // namespace

void StatementSplitter::feed(std::string_view bytes)
{
    const qsizetype place = m_lexer.place() - m_begin;
    m_buffer.remove(0, noteGiven());
    m_buffer.append(bytes.data(), static_cast<qsizetype>(bytes.size()));
    m_lexer.goOn(text(), place);
}

// What has been given is about to leave the buffer: so many bytes.
qsizetype StatementSplitter::noteGiven()
{
    const std::string_view counted = bytes(m_counted, m_begin);
    m_line += std::count(counted.begin(), counted.end(), '\n');
    if (m_first >= 0)
        m_first -= m_begin;
    m_dropped += m_begin;
    m_counted = 0;
    return std::exchange(m_begin, 0);
}

QByteArray StatementSplitter::take(const ScriptPiece &piece)
{
    constexpr std::size_t copied = 1024 * 1024;
    const auto size = static_cast<qsizetype>(piece.text.size());
    if (piece.text.size() < copied)
        return {piece.text.data(), size};
    const qsizetype start = piece.text.data() - m_buffer.constData();
    const qsizetype place = m_lexer.place() - m_begin;
    QByteArray behind = m_buffer.sliced(m_begin);
    noteGiven();
    // Never shared: Qt 6.4 copies the whole to remove a part of it.
    QByteArray taken = std::exchange(m_buffer, std::move(behind));
    m_lexer.goOn(text(), place);
    taken.truncate(start + size);
    taken.remove(0, start);
    return taken;
}

std::size_t StatementSplitter::wantedBytes() const
{
    constexpr std::size_t least = 256 * 1024, most = 64 * 1024 * 1024;
    return std::clamp(pendingBytes() / 4, least, most);
}

std::string_view StatementSplitter::bytes(qsizetype from, qsizetype to) const
{
    return text().substr(static_cast<std::size_t>(from), static_cast<std::size_t>(to - from));
}

bool StatementSplitter::isComplete(qsizetype end) const
{
    const auto behind = std::max(lookAhead, static_cast<qsizetype>(m_delimiter.size()));
    return m_isFinished || end + behind <= m_buffer.size();
}

// False: the token may go on in what has not come yet.
bool StatementSplitter::takeToken(Token &token)
{
    if (m_lexer.isAtEnd())
        return false;
    const auto before = m_lexer;
    token = m_lexer.next();
    if (isComplete(token.start + token.length))
        return true;
    m_lexer = before;
    return false;
}

std::optional<ScriptPiece> StatementSplitter::next()
{
    Token token{};
    while (takeToken(token)) {
        const qsizetype end = token.start + token.length;
        if (const qsizetype place = delimiterIn(token); place >= 0) {
            const qsizetype behind = place + static_cast<qsizetype>(m_delimiter.size());
            m_lexer.restart(behind);
            if (m_first < 0 && place > token.start) // a word in front of it
                m_first = token.start;
            if (m_first >= 0)
                return piece(ScriptPiece::Kind::Statement, bytes(m_first, place), behind);
            m_begin = behind;
            continue;
        }
        const bool isPassedOver = token.kind == TokenKind::Blank || token.kind == TokenKind::Comment;
        if (m_first < 0 && isPassedOver) {
            m_begin = end;
            continue;
        }
        if (m_first < 0) {
            std::optional<ScriptPiece> command;
            bool needsMore = false;
            if (readsCommand(token, command, needsMore)) {
                if (needsMore)
                    return {};
                if (command)
                    return command;
                continue;
            }
            m_first = token.start;
        }
        m_isClosed = token.isClosed;
    }
    if (!m_isFinished || m_first < 0)
        return {};
    m_isClosed = m_isClosed && !m_lexer.isInVersion();
    const qsizetype end = m_buffer.size();
    return piece(ScriptPiece::Kind::Statement, trimmed(bytes(m_first, end)), end);
}

// Inside of /*! */ a delimiter would leave two halves that no server reads.
qsizetype StatementSplitter::delimiterIn(const Token &token) const
{
    const bool isOpen = !m_lexer.isInVersion() && token.kind != TokenKind::VersionEnd;
    if (m_delimiter == ";")
        return isOpen && token.kind == TokenKind::Sign && m_buffer[token.start] == ';' ? token.start : -1;
    if (!isOpen)
        return -1;
    // A word goes on where a delimiter of letters or "$" begins: "end$$".
    const bool mayHoldOne = token.kind == TokenKind::Word || token.kind == TokenKind::Sign;
    const qsizetype last = token.start + (mayHoldOne ? token.length : 1);
    for (qsizetype place = token.start; place < last; ++place)
        if (text().substr(static_cast<std::size_t>(place)).starts_with(m_delimiter))
            return place;
    return -1;
}

// Nothing: the line's end has not come yet.
std::optional<StatementSplitter::Line> StatementSplitter::restOfLine(qsizetype from) const
{
    const std::size_t found = text().find('\n', static_cast<std::size_t>(from));
    if (found == std::string::npos && !m_isFinished)
        return {};
    const auto end = static_cast<qsizetype>(std::min(found, text().size()));
    return Line{end, trimmed(bytes(from, end))};
}

// Commands of the client end with their line. One without its argument is left to the server to refuse.
bool StatementSplitter::readsCommand(const Token &first, std::optional<ScriptPiece> &command, bool &needsMore)
{
    const qsizetype behind = first.start + first.length;
    const std::string_view word = bytes(first.start, behind);
    const bool isShortSource = word == "\\" && bytes(behind, behind + 1) == ".";
    const bool isSource = isShortSource || isWord(word, "source");
    const bool isDelimiter = isWord(word, "delimiter");
    if (!isSource && !isDelimiter && !isWord(word, "use"))
        return false;
    const std::optional<Line> line = restOfLine(behind + (isShortSource ? 1 : 0));
    if (!line) {
        m_lexer.restart(first.start);
        needsMore = true;
        return true;
    }
    std::string_view rest = line->text;
    if (isDelimiter) {
        rest = rest.substr(0, static_cast<std::size_t>(std::ranges::find_if(rest, isBlank) - rest.begin()));
        if (isQuoted(rest))
            rest = rest.substr(1, rest.size() - 2);
        if (rest.empty() || rest.find('\\') != std::string_view::npos)
            return false;
        m_delimiter = rest;
        m_lexer.restart(line->end);
        m_begin = line->end;
        return true;
    }
    if (isSource && rest.ends_with(m_delimiter))
        rest = trimmed(rest.substr(0, rest.size() - m_delimiter.size()));
    const bool isOther = isSource ? false : rest.find(m_delimiter) != std::string_view::npos;
    if (rest.empty() || isOther)
        return false;
    m_first = first.start;
    m_lexer.restart(line->end);
    command = isSource
                  ? piece(ScriptPiece::Kind::Source, rest, line->end)
                  : piece(ScriptPiece::Kind::Statement, trimmed(bytes(first.start, line->end)), line->end);
    return true;
}

ScriptPiece StatementSplitter::piece(ScriptPiece::Kind kind, std::string_view text, qsizetype end)
{
    const std::string_view counted = bytes(m_counted, m_first);
    m_line += std::count(counted.begin(), counted.end(), '\n');
    m_counted = m_first;
    const ScriptPiece piece{kind, text, m_dropped + m_first, m_dropped + end, m_line, m_isClosed};
    m_first = -1;
    m_begin = end;
    m_isClosed = true;
    return piece;
}

std::vector<ScriptPiece> scriptPieces(std::string_view script, SqlMode mode)
{
    StatementSplitter splitter(mode);
    splitter.feed(script);
    splitter.finish();
    std::vector<ScriptPiece> pieces;
    while (std::optional<ScriptPiece> piece = splitter.next()) {
        // In the text that was given, which outlives the splitter.
        const std::size_t place = script.find(piece->text, static_cast<std::size_t>(piece->start));
        piece->text = script.substr(place, piece->text.size());
        pieces.push_back(*piece);
    }
    return pieces;
}
