#include "core/odbc/statementkind.h"

#include <QRegularExpression>
#include <QStringList>

namespace {

// The first words of a statement in lower case. A comment that the server executes counts as no word.
QStringList firstWords(const QString &statement)
{
    static const QRegularExpression skipped(
        QStringLiteral(R"(\A(?:[\s(;]+|--[^\n]*(?:\n|\z)|#[^\n]*(?:\n|\z)|/\*(?![!M]).*?\*/)+)"),
        QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression blanks(QStringLiteral("[\\s(]+"));
    const qsizetype start = skipped.match(statement).capturedLength();
    return statement.mid(start, 4000).toLower().split(blanks, Qt::SkipEmptyParts);
}

QString firstWord(const QString &statement)
{
    return firstWords(statement).value(0);
}

// First words of statements that return no rows, or whose rows the driver does read.
bool isSound(const QString &word)
{
    static const QStringList sound = QStringLiteral("select with show desc describe explain analyze check "
                                                    "checksum call insert replace update delete set use "
                                                    "grant revoke flush create drop truncate rename lock "
                                                    "unlock handler kill begin start commit rollback "
                                                    "savepoint release do prepare execute deallocate reset "
                                                    "purge change stop install uninstall signal "
                                                    "resignal get")
                                         .split(u' ');
    return sound.contains(word);
}

} // namespace

bool StatementKind::mayLeaveRowsUnread(const QString &statement)
{
    const QStringList words = firstWords(statement);
    const QString word = words.value(0);
    if (word == u"alter") // "alter table t optimize partition p" and its like
        return words.contains(QStringLiteral("partition"));
    if (word == u"load")
        return words.value(1) == u"index";
    if (word == u"xa")
        return words.value(1).startsWith(u"recover");
    return !isSound(word);
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
