#include "maintenance/backup/definitionform.h"

#include "core/sql/lexer.h"
#include "core/sql/statements.h"

#include <QSet>

#include <algorithm>
#include <optional>

namespace {

// Reads the tokens of a definition one after the other, blanks left out.
class Reader {
public:
    explicit Reader(const QString &text);

    // No comment and no end of a statement, and all that was opened is closed.
    bool isOneStatement() const;
    bool holdsAny(const QSet<QString> &words) const; // from here on
    bool isAtEnd() const { return m_at >= m_tokens.size(); }

    bool take(TokenKind kind);
    bool take(const QString &piece);    // in any case of letters
    bool takeName(const QString &name); // as it stands: `T` is another table than `t`
    bool takeAny(const QSet<QString> &words);
    bool takeGroup(); // in parentheses, with all that is in them
    void takeVersionMarks();
    QString next() const { return isAtEnd() ? QString() : piece(m_tokens[m_at]); }

private:
    QString piece(const Token &token) const { return m_text.mid(token.start, token.length); }

    const QString &m_text;
    std::vector<Token> m_tokens;
    std::size_t m_at = 0;
};

Reader::Reader(const QString &text)
    : m_text(text)
    , m_tokens(sqlTokens(text))
{
    std::erase_if(m_tokens, [](const Token &token) { return token.kind == TokenKind::Blank; });
}

bool Reader::isOneStatement() const
{
    return std::ranges::none_of(m_tokens, [this](const Token &token) {
        return token.kind == TokenKind::Comment || !token.isClosed ||
               (token.kind == TokenKind::Sign && piece(token) == u";");
    });
}

bool Reader::holdsAny(const QSet<QString> &words) const
{
    return std::any_of(m_tokens.begin() + static_cast<qptrdiff>(m_at), m_tokens.end(),
                       [&](const Token &token) {
                           return token.kind == TokenKind::Word && words.contains(piece(token).toUpper());
                       });
}

bool Reader::take(TokenKind kind)
{
    if (isAtEnd() || m_tokens[m_at].kind != kind)
        return false;
    ++m_at;
    return true;
}

bool Reader::take(const QString &wanted)
{
    if (next().compare(wanted, Qt::CaseInsensitive) != 0)
        return false;
    ++m_at;
    return true;
}

bool Reader::takeName(const QString &name)
{
    return next() == quotedName(name) && take(TokenKind::Name);
}

bool Reader::takeAny(const QSet<QString> &words)
{
    return words.contains(next().toUpper()) && take(TokenKind::Word);
}

bool Reader::takeGroup()
{
    if (next() != u"(")
        return false;
    int depth = 0;
    do {
        if (isAtEnd())
            return false;
        const bool isSign = m_tokens[m_at].kind == TokenKind::Sign;
        if (isSign && next() == u"(")
            ++depth;
        else if (isSign && next() == u")")
            --depth;
        ++m_at;
    } while (depth > 0);
    return true;
}

void Reader::takeVersionMarks()
{
    while (take(TokenKind::VersionStart) || take(TokenKind::VersionEnd))
        ;
}

QSet<QString> setOf(const char *words)
{
    const QStringList list = QString::fromLatin1(words).split(u' ');
    return {list.begin(), list.end()};
}

// NAME=value, NAME='text', UNION=(`a`,`b`)
bool takeSetting(Reader &reader)
{
    static const QSet<QString> ofTwoWords = setOf("DEFAULT CHARACTER DATA INDEX");
    if (reader.take(QStringLiteral("TABLESPACE")))
        return reader.take(TokenKind::Name);
    if (!reader.take(TokenKind::Name)) { // an attribute that an engine of MariaDB defines
        reader.takeAny(ofTwoWords);
        if (!reader.take(TokenKind::Word))
            return false;
    }
    return reader.take(QStringLiteral("=")) &&
           (reader.take(TokenKind::Text) || reader.take(TokenKind::Number) || reader.take(TokenKind::Word) ||
            reader.take(TokenKind::Name) || reader.takeGroup());
}

// PARTITION BY KEY ALGORITHM = 1 (`a`) PARTITIONS 4 (PARTITION `p` ...)
bool takePartitions(Reader &reader)
{
    static const QSet<QString> words = setOf(
        "PARTITION BY LINEAR RANGE LIST HASH KEY COLUMNS PARTITIONS SUBPARTITION SUBPARTITIONS ALGORITHM");
    if (reader.next().compare(u"PARTITION", Qt::CaseInsensitive) != 0)
        return false;
    while (reader.takeAny(words) || reader.take(TokenKind::Number) || reader.take(QStringLiteral("=")) ||
           reader.takeGroup() || reader.take(TokenKind::VersionEnd))
        ;
    return true;
}

} // namespace

bool isTableDefinition(const QString &text, const QString &name)
{
    Reader reader(text);
    if (!reader.isOneStatement() || !reader.take(QStringLiteral("CREATE")) ||
        !reader.take(QStringLiteral("TABLE")) || !reader.takeName(name))
        return false;
    // Names are never bare there, so that these are what they say: the statement would fill the table.
    static const QSet<QString> queries = setOf("SELECT TABLE");
    Reader columns = reader;
    // A column comes first: "(LIKE other)" is another statement.
    if (reader.holdsAny(queries) || !columns.take(QStringLiteral("(")) || !columns.take(TokenKind::Name) ||
        !reader.takeGroup())
        return false;
    for (reader.takeVersionMarks(); !reader.isAtEnd(); reader.takeVersionMarks())
        if (!takePartitions(reader) && !takeSetting(reader))
            return false;
    return true;
}

bool isViewDefinition(const QString &text, const QString &name)
{
    Reader reader(text);
    if (!reader.isOneStatement() || !reader.take(QStringLiteral("CREATE")))
        return false;
    bool isRead = true;
    if (reader.take(QStringLiteral("ALGORITHM")))
        isRead = reader.take(QStringLiteral("=")) && reader.take(TokenKind::Word);
    if (isRead && reader.take(QStringLiteral("DEFINER")))
        isRead = reader.take(QStringLiteral("=")) && reader.take(TokenKind::Name) &&
                 (!reader.take(QStringLiteral("@")) || reader.take(TokenKind::Name));
    if (isRead && reader.take(QStringLiteral("SQL")))
        isRead = reader.take(QStringLiteral("SECURITY")) && reader.take(TokenKind::Word);
    if (!isRead || !reader.take(QStringLiteral("VIEW")) || !reader.takeName(name))
        return false;
    reader.takeGroup(); // names of its columns, as MySQL 8 writes them
    static const QSet<QString> queries = setOf("SELECT WITH VALUES");
    return reader.take(QStringLiteral("AS")) && (reader.takeAny(queries) || reader.next() == u"(");
}
