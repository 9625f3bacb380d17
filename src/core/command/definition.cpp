#include "core/command/definition.h"

#include "core/sql/statements.h"

#include <algorithm>
#include <initializer_list>

namespace {

const QString characterSetName = QStringLiteral("character_set_client");

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
            else if (isOneOf(word, {u"REPLACE", u"ALTER"}))
                head.replaces = true;
            else if (isOneOf(word, {u"VIEW", u"PROCEDURE", u"FUNCTION", u"TRIGGER", u"EVENT", u"TABLE"})) {
                head.keyword = word.toUpper();
                head.tail = m_end;
                break;
            } else if (!isOneOf(word, {u"CREATE", u"OR", u"SQL", u"TEMPORARY"})) {
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
    if (const int mode = rows.fieldIndex(QStringLiteral("sql_mode")); mode >= 0)
        definition.sqlMode = QLatin1String("") + rows.text(mode); // an empty mode is one, too
    definition.characterSet = textOf(rows, rows.fieldIndex(QStringLiteral("character_set_client")));
    definition.collation = textOf(rows, rows.fieldIndex(QStringLiteral("collation_connection")));
    definition.databaseCollation = textOf(rows, rows.fieldIndex(QStringLiteral("Database Collation")));
    definition.timeZone = textOf(rows, rows.fieldIndex(QStringLiteral("time_zone")));
    return definition;
}

QStringList definitionVariables()
{
    return {QStringLiteral("sql_mode"), characterSetName, QStringLiteral("collation_connection")};
}

std::vector<SessionVariable> sessionFor(const ObjectDefinition &definition, const SessionVariables &present)
{
    std::vector<SessionVariable> different;
    const auto want = [&](const QString &name, const QString &value) {
        if (present.before(name) != value)
            different.push_back({name, quotedText(value)});
    };
    // Where a view was read the mode of the session stands; an empty mode of a routine is one, too.
    if (!definition.sqlMode.isNull())
        want(QStringLiteral("sql_mode"), definition.sqlMode);
    if (!definition.characterSet.isEmpty())
        want(characterSetName, definition.characterSet);
    if (!definition.collation.isEmpty())
        want(QStringLiteral("collation_connection"), definition.collation);
    return different;
}

QString asSentWith(const QString &statement, const std::vector<SessionVariable> &with,
                   const ServerInfo &server)
{
    const auto set = std::ranges::find(with, characterSetName, &SessionVariable::name);
    const bool isAscii = std::ranges::all_of(statement, [](QChar c) { return c.unicode() < 128; });
    if (set == with.end() || isAscii || set->value.startsWith(u"'utf8"))
        return statement;
    constexpr int firstThatPreparesAll = 100600;
    if (!server.isMariaDb || server.number < firstThatPreparesAll)
        return {};
    // Inside of a block, because Connector/ODBC prepares EXECUTE IMMEDIATE, which the server refuses.
    return QStringLiteral("begin not atomic execute immediate convert(0x") +
           QString::fromLatin1(statement.toUtf8().toHex()) + QStringLiteral(" using utf8mb4); end");
}

QString quotedAccount(const QString &written)
{
    QStringList parts;
    for (const Token &token : sqlTokens(written, {true, true})) {
        const QString part = written.mid(token.start, token.length);
        const QChar quote = part[0];
        if (token.kind != TokenKind::Sign || part != u"@")
            parts << quotedName(quote == u'`' || quote == u'"' || quote == u'\''
                                    ? part.mid(1, part.size() - 2).replace(QString(2, quote), QString(quote))
                                    : part);
    }
    return parts.join(u'@');
}

SqlMode readingMode(const QString &sqlMode)
{
    return {sqlMode.contains(u"ANSI_QUOTES"), sqlMode.contains(u"NO_BACKSLASH_ESCAPES")};
}

DefinitionHead headOf(const QString &createText, SqlMode mode)
{
    return HeadReader(createText, mode).read();
}

QString withoutDefiner(const QString &createText, SqlMode mode)
{
    qsizetype from = -1;
    bool hasValue = false;
    QString before;
    for (const Token &token : sqlTokens(createText, mode)) {
        const QString text = createText.mid(token.start, token.length);
        if (from < 0) {
            if (token.kind == TokenKind::Word && isOneOf(text, {u"DEFINER"}) &&
                !isOneOf(before, {u"SECURITY"}))
                from = token.start;
            else if (isOneOf(text, {u"VIEW", u"PROCEDURE", u"FUNCTION", u"TRIGGER", u"EVENT", u"PACKAGE"}))
                break;
        } else if (token.kind == TokenKind::Blank && hasValue) {
            return createText.left(from) + createText.mid(token.start + token.length);
        } else {
            hasValue = hasValue || token.kind == TokenKind::Name || token.kind == TokenKind::Text ||
                       token.kind == TokenKind::Word;
        }
        if (token.kind != TokenKind::Blank)
            before = text;
    }
    return createText;
}
