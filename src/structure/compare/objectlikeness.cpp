#include "structure/compare/objectlikeness.h"

#include "core/sql/tabledefinition.h"

#include <algorithm>

namespace {

bool isInteger(const QString &type)
{
    static const QStringList types{"tinyint", "smallint", "mediumint", "int", "bigint"};
    return types.contains(type, Qt::CaseInsensitive);
}

// Without the widths of integers, which MySQL 8 writes no more, and the parentheses that MySQL puts around
// what stands in parentheses.
QString commonForm(const QString &text, SqlMode mode)
{
    const SqlTokens words(text, mode);
    QStringList kept;
    std::vector<std::size_t> passedOver;
    for (std::size_t at = 0; at < words.size(); ++at) {
        const bool isWidth =
            at > 0 && isInteger(words.at(at - 1)) && words.is(at, u"(") && words.is(at + 2, u")");
        const bool isDoubled = words.is(at, u"(") && words.is(at + 1, u"(") &&
                               words.behindGroup(at + 1) + 1 == words.behindGroup(at);
        if (isWidth)
            at += 2;
        else if (isDoubled)
            passedOver.push_back(words.behindGroup(at) - 1);
        else if (std::ranges::find(passedOver, at) == passedOver.end())
            kept << words.at(at);
    }
    return kept.join(u' ');
}

bool hasComment(const QString &text, SqlMode mode)
{
    return std::ranges::any_of(sqlTokens(text, mode),
                               [](const Token &token) { return token.kind == TokenKind::Comment; });
}

// MySQL 8 words the beginning of a trigger and what a function returns anew. The bodies are the user's own on
// all servers: there blanks and comments count.
bool isSameText(const QString &left, const QString &right, SqlMode mode, bool isView)
{
    if (left == right)
        return true;
    qsizetype same = 0;
    const qsizetype most = isView ? 0 : std::min(left.size(), right.size());
    while (same < most && left[left.size() - 1 - same] == right[right.size() - 1 - same])
        ++same;
    while (same > 0 && !left[left.size() - same].isSpace()) // up to the end of a word
        --same;
    const QString mine = left.chopped(same), others = right.chopped(same);
    return !hasComment(mine, mode) && !hasComment(others, mode) &&
           meansSame(commonForm(mine, mode), commonForm(others, mode), mode);
}

// What only one of them has. MySQL 8 has no NO_AUTO_CREATE_USER, which says nothing about a definition.
QString onlyIn(const QString &mode, const QString &other)
{
    QStringList words = mode.split(u',', Qt::SkipEmptyParts);
    words.removeAll(QStringLiteral("NO_AUTO_CREATE_USER"));
    for (const QString &word : other.split(u',', Qt::SkipEmptyParts))
        words.removeAll(word);
    return words.join(u',');
}

} // namespace

QStringList objectDifferences(const ObjectDefinition &left, const QString &leftDefault,
                              const ObjectDefinition &right, const QString &rightDefault,
                              const CompareOptions &options)
{
    const auto text = [&](const ObjectDefinition &object) {
        return options.hasDefiners ? object.text : withoutDefiner(object.text, readingMode(object.sqlMode));
    };
    const auto collation = [](const ObjectDefinition &object, const QString &databaseDefault) {
        return object.databaseCollation == databaseDefault ? QString() : object.databaseCollation;
    };
    QStringList lines;
    const auto compare = [&lines](const QString &what, const QString &one, const QString &other) {
        if (one != other)
            lines << QStringLiteral("%1 (左: %2　右: %3)").arg(what, one, other);
    };
    if (!isSameText(text(left), text(right), readingMode(left.sqlMode), left.kind == u"View"))
        lines << QStringLiteral("文");
    const QString mode = onlyIn(left.sqlMode, right.sqlMode), otherMode = onlyIn(right.sqlMode, left.sqlMode);
    if (!mode.isEmpty() || !otherMode.isEmpty())
        lines << QStringLiteral("sql_mode (左だけ: %1　右だけ: %2)").arg(mode, otherMode);
    if (options.hasCharacterSets) {
        compare(QStringLiteral("文字セット"), left.characterSet, right.characterSet);
        compare(QStringLiteral("照合順序"), left.collation, right.collation);
        compare(QStringLiteral("データベースの照合順序"), collation(left, leftDefault),
                collation(right, rightDefault));
    }
    compare(QStringLiteral("時間帯"), left.timeZone, right.timeZone);
    return lines;
}
