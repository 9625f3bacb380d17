#include "core/command/definition.h"

#include <algorithm>
#include <initializer_list>

namespace {

// "Create Table", "Create View", ...; a trigger's "Created" is a date.
bool isTextColumn(const QString &name)
{
    return name == u"SQL Original Statement" ||
           (name.startsWith(u"Create", Qt::CaseInsensitive) && name != u"Created");
}

QString textOf(const RecordSet &rows, int column)
{
    return column < 0 || rows.isNull(column) ? QString() : rows.text(column);
}

bool isOneOf(QStringView word, std::initializer_list<QStringView> words)
{
    return std::ranges::any_of(
        words, [word](QStringView each) { return each.compare(word, Qt::CaseInsensitive) == 0; });
}

// Reads the clauses of a head one after the other.
class HeadReader {
public:
    HeadReader(const QString &text, SqlMode mode)
        : m_text(text)
        , m_lexer(text, mode)
    {
    }

    DefinitionHead read()
    {
        DefinitionHead head;
        for (QString word = nextWord(); !word.isEmpty(); word = nextWord()) {
            if (isOneOf(word, {u"ALGORITHM"}))
                head.algorithm = value();
            else if (isOneOf(word, {u"DEFINER"}))
                head.definer = value();
            else if (isOneOf(word, {u"SECURITY"}))
                head.security = nextWord();
            else if (isOneOf(word, {u"AGGREGATE"}))
                head.isAggregate = true;
            else if (isOneOf(word, {u"VIEW", u"PROCEDURE", u"FUNCTION", u"TRIGGER", u"EVENT", u"TABLE"})) {
                head.tail = m_end;
                break;
            } else if (!isOneOf(word, {u"CREATE", u"ALTER", u"OR", u"REPLACE", u"SQL", u"TEMPORARY"})) {
                break;
            }
        }
        return head;
    }

private:
    // The next token that says something; empty at the end.
    QString nextWord()
    {
        while (!m_lexer.isAtEnd()) {
            const Token token = m_lexer.next();
            m_end = token.start + token.length;
            if (token.kind != TokenKind::Blank && token.kind != TokenKind::Comment &&
                token.kind != TokenKind::VersionStart && token.kind != TokenKind::VersionEnd)
                return m_text.mid(token.start, token.length);
        }
        return {};
    }

    // Behind "=": an account consists of several tokens, and ends with a blank.
    QString value()
    {
        QString text = nextWord();
        if (text == u"=")
            text = nextWord();
        while (!m_lexer.isAtEnd()) {
            const Token token = m_lexer.next();
            if (token.kind == TokenKind::Blank)
                break;
            text += QStringView(m_text).mid(token.start, token.length);
        }
        return text;
    }

    const QString &m_text;
    SqlLexer m_lexer;
    qsizetype m_end = 0;
};

} // namespace

ObjectDefinition readDefinition(Connection &connection, const QString &showStatement)
{
    ObjectDefinition definition;
    RecordSet rows = connection.execute(showStatement);
    if (!rows.isOpen() || rows.isEof())
        return definition;
    definition.kind = rows.fieldName(0).trimmed();
    for (int i = 1; i < rows.fieldCount(); ++i)
        if (isTextColumn(rows.fieldName(i)))
            definition.text = textOf(rows, i);
    definition.sqlMode = textOf(rows, rows.fieldIndex(QStringLiteral("sql_mode")));
    definition.characterSet = textOf(rows, rows.fieldIndex(QStringLiteral("character_set_client")));
    definition.collation = textOf(rows, rows.fieldIndex(QStringLiteral("collation_connection")));
    definition.databaseCollation = textOf(rows, rows.fieldIndex(QStringLiteral("Database Collation")));
    return definition;
}

SqlMode readingMode(const QString &sqlMode)
{
    return {sqlMode.contains(u"ANSI_QUOTES"), sqlMode.contains(u"NO_BACKSLASH_ESCAPES")};
}

DefinitionHead headOf(const QString &createText, SqlMode mode)
{
    return HeadReader(createText, mode).read();
}
