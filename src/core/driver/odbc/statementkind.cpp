#include "core/driver/odbc/statementkind.h"

#include "core/sql/lexer.h"

#include <QRegularExpression>
#include <QStringList>

#include <algorithm>

namespace {

// A word that matters stands far in front of this.
constexpr qsizetype farEnough = 4000;

// What a statement begins with once blanks, "(" and comments are passed over. Comments that the server
// executes are none.
QString withoutHead(const QString &statement)
{
    // As nearly every statement does.
    if (!statement.isEmpty() && statement[0].isLetter())
        return statement.left(farEnough);
    for (SqlLexer lexer(statement); !lexer.isAtEnd();) {
        const Token token = lexer.next();
        const QChar first = statement[token.start];
        const bool isPassedOver = token.kind == TokenKind::Blank ||
                                  (token.kind == TokenKind::Comment && token.isClosed) || first == u'(' ||
                                  first == u';';
        if (!isPassedOver)
            return statement.mid(token.start, farEnough);
    }
    return {};
}

QStringList firstWords(const QString &statement)
{
    static const QRegularExpression noWord(QStringLiteral("\\W+"));
    return withoutHead(statement).toLower().split(noWord, Qt::SkipEmptyParts);
}

QString firstWord(const QString &statement)
{
    const QString text = withoutHead(statement);
    const auto isPart = [](QChar c) { return c == u'_' || (c.unicode() < 128 && c.isLetterOrNumber()); };
    const auto start = std::find_if(text.begin(), text.end(), isPart);
    const auto end = std::find_if_not(start, text.end(), isPart);
    return text.mid(start - text.begin(), end - start).toLower();
}

// First words of statements that return no rows, or whose rows the driver does read.
bool isSound(const QString &word)
{
    static const QStringList sound = QStringLiteral("select with show desc describe explain analyze check "
                                                    "checksum call insert replace update delete set use "
                                                    "grant revoke flush create drop truncate rename lock "
                                                    "unlock handler kill begin start commit rollback "
                                                    "savepoint release do prepare deallocate reset "
                                                    "purge change stop install uninstall signal "
                                                    "resignal get if case while loop repeat for declare")
                                         .split(u' ');
    return sound.contains(word);
}

// "alter table t optimize partition p" and its like give rows.
bool handlesPartitions(const QStringList &words)
{
    static const QStringList givingRows = QStringLiteral("optimize repair check analyze").split(u' ');
    const qsizetype partition = words.indexOf(QStringLiteral("partition"));
    return partition > 0 && givingRows.contains(words[partition - 1]);
}

// "set statement max_statement_time=1 for select 1" gives the rows of what it is for.
bool setsForRows(const QString &statement)
{
    static const QRegularExpression setFor(QStringLiteral("\\A\\W*set\\W+statement\\b.*?\\bfor\\b"),
                                           QRegularExpression::CaseInsensitiveOption |
                                               QRegularExpression::DotMatchesEverythingOption);
    const QString text = withoutHead(statement);
    const QRegularExpressionMatch match = setFor.match(text);
    if (!match.hasMatch())
        return false;
    const QString inner = text.mid(match.capturedEnd());
    return StatementKind::isPrepared(inner) || StatementKind::mayLeaveRowsUnread(inner) ||
           firstWord(inner) == u"begin" || firstWords(inner).contains(QStringLiteral("returning"));
}

} // namespace

bool StatementKind::mayLeaveRowsUnread(const QString &statement)
{
    if (withoutHead(statement).startsWith(u"/*"))
        return true;
    const QString word = firstWord(statement);
    if (word == u"alter")
        return handlesPartitions(firstWords(statement));
    if (word == u"load")
        return firstWords(statement).value(1) == u"index";
    if (word == u"xa")
        return firstWords(statement).value(1) == u"recover";
    if (word == u"handler")
        return firstWords(statement).contains(QStringLiteral("read"));
    if (word == u"set")
        return setsForRows(statement);
    if (word == u"begin") // "begin select 1; end" where sql_mode is ORACLE
        return !QStringList{QString(), "work", "not"}.contains(firstWords(statement).value(1));
    return !word.isEmpty() && !isSound(word);
}

bool StatementKind::isShow(const QString &statement)
{
    return firstWord(statement) == u"show";
}

bool StatementKind::isPrepared(const QString &statement)
{
    static const QStringList prepared =
        QStringLiteral("select with show desc describe explain analyze check checksum call").split(u' ');
    return prepared.contains(firstWord(statement));
}

bool StatementKind::hasOneResult(const QString &statement)
{
    return isPrepared(statement) && firstWord(statement) != u"call";
}

bool StatementKind::mayHaveFurtherResults(const QString &statement)
{
    const QString word = firstWord(statement);
    return word == u"call" || (word == u"begin" && firstWords(statement).value(1) == u"not");
}

bool StatementKind::needsComment(const QString &statement)
{
    constexpr qsizetype shortest = 5;
    const QString text = statement.trimmed();
    return (!text.isEmpty() && text.size() < shortest) || firstWord(text) == u"load";
}
