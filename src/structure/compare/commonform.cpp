#include "structure/compare/commonform.h"

#include "core/sql/statements.h"
#include "structure/compare/commonexpression.h"
#include "structure/compare/tablelikeness.h"

#include <algorithm>
#include <set>

namespace {

// Of a character set or a collation; MariaDB from 10.6 on and MySQL 8 write utf8mb3.
QString withNewName(const QString &name)
{
    const QString lower = name.toLower(), old = QStringLiteral("utf8");
    return lower == old || lower.startsWith(old + u'_') ? QStringLiteral("utf8mb3") + lower.mid(old.size())
                                                        : lower;
}

QString collationOf(const QString &characterSet, const DefaultCollations &collations)
{
    for (auto each = collations.begin(); each != collations.end(); ++each)
        if (withNewName(each.key()) == withNewName(characterSet))
            return withNewName(*each);
    return {};
}

bool isNumber(const QString &token)
{
    return !token.isEmpty() && (token[0].isDigit() || token[0] == u'.');
}

bool isText(const QString &type)
{
    const QString word = type.toLower();
    return word.endsWith(u"char") || word.endsWith(u"text") || word == u"enum" || word == u"set";
}

// Puts what all servers mean in one form, which is for comparing alone.
class CommonForm {
public:
    CommonForm(const TablePart &part, const ServersTable &side, bool hasCharacterSets)
        : m_words(part.body, {})
        , m_collations(side.collations)
        , m_isJson(isJsonOfMariaDb(part))
    {
        // Of a column that names none it is the table's.
        if (part.kind == TablePart::Kind::Column && isText(m_words.at(0)))
            m_collation = collationOf(side);
        while (m_at < m_words.size())
            takeNext();
        if (m_isJson)
            m_collation.clear();
        if (hasCharacterSets)
            m_kept << QStringLiteral("COLLATE") << m_collation;
    }
    QString text() const { return m_kept.join(u' '); }

private:
    bool follow(std::initializer_list<QStringView> words) const
    {
        std::size_t at = m_at;
        return std::ranges::all_of(words, [&](QStringView word) { return m_words.is(at++, word); });
    }
    void keep(const QString &token, std::size_t instead)
    {
        m_kept << token;
        m_at += instead;
    }

    void takeNext()
    {
        const bool isSign = m_words.is(m_at + 1, u"-");
        const std::size_t number = m_at + (isSign ? 2 : 1);
        if (m_isJson && m_at == 0) {
            keep(QStringLiteral("json"), 1);
        } else if (m_isJson && follow({u"CHECK"})) {
            m_at = m_words.behindGroup(m_at + 1);
        } else if (follow({u"AS", u"("}) || follow({u"CHECK", u"("})) {
            m_kept << m_words.at(m_at);
            keepExpression(m_at + 2, m_words.behindGroup(m_at + 1) - 1, 1);
        } else if (follow({u"DEFAULT"}) && isExpressionAsDefault(m_words, m_at + 1)) {
            m_kept << m_words.at(m_at);
            const bool isInParentheses = m_words.is(m_at + 1, u"(");
            const std::size_t end = m_words.behindGroup(m_at + (isInParentheses ? 1 : 2));
            keepDefault(m_at + (isInParentheses ? 2 : 1), end - isInParentheses, isInParentheses);
        } else if (follow({u"CHARACTER", u"SET"})) {
            m_collation = collationOf(m_words.name(m_at + 2), m_collations);
            m_at += 3;
        } else if (follow({u"COLLATE"})) {
            m_collation = withNewName(m_words.name(m_at + 1));
            m_at += 2;
        } else if (follow({u"CURRENT_TIMESTAMP", u"(", u")"})) { // MariaDB
            keep(m_words.at(m_at), 3);
        } else if (m_at == 0 && follow({u"YEAR", u"("})) { // (4); MySQL 8 writes none
            keep(m_words.at(m_at), 4);
        } else if (follow({u"ON", u"DELETE", u"NO", u"ACTION"}) ||
                   follow({u"ON", u"UPDATE", u"NO", u"ACTION"})) { // the default, which MySQL 8 leaves out
            m_at += 4;
        } else if (follow({u"DEFAULT"}) && isNumber(m_words.at(number))) { // MySQL writes DEFAULT '1'
            m_kept << m_words.at(m_at);
            keep(quotedText((isSign ? QStringLiteral("-") : QString()) + m_words.at(number)),
                 number + 1 - m_at);
        } else if (isDoubled()) { // MySQL 8 puts all expressions into parentheses of their own
            m_passedOver.insert(m_words.behindGroup(m_at) - 1);
            ++m_at;
        } else if (m_passedOver.contains(m_at)) {
            ++m_at;
        } else {
            keep(m_words.at(m_at), 1);
        }
    }

    void keepExpression(std::size_t first, std::size_t end, std::size_t behind)
    {
        m_kept << quotedText(commonExpression(m_words, first, end));
        m_at = end + behind;
    }
    // A mere value in parentheses is one without them.
    void keepDefault(std::size_t first, std::size_t end, std::size_t behind)
    {
        const QString value = commonExpression(m_words, first, end);
        if (first + 2 >= end && value.startsWith(u'\''))
            m_kept << value;
        else if (first + 1 == end && isNumber(value))
            m_kept << quotedText(value);
        else
            m_kept << QStringLiteral("EXPRESSION") << quotedText(value);
        m_at = end + behind;
    }

    bool isDoubled() const
    {
        return follow({u"(", u"("}) && m_words.behindGroup(m_at + 1) + 1 == m_words.behindGroup(m_at);
    }

    const SqlTokens m_words;
    const DefaultCollations &m_collations;
    const bool m_isJson;
    QString m_collation;
    std::size_t m_at = 0;
    QStringList m_kept;
    std::set<std::size_t> m_passedOver;
};

} // namespace

QString collationOf(const ServersTable &side)
{
    const QString collation = side.table.option(QStringLiteral("COLLATE"));
    return collation.isNull() ? collationOf(side.table.option(QStringLiteral("CHARSET")), side.collations)
                              : withNewName(collation);
}

bool isJsonOfMariaDb(const TablePart &part)
{
    const SqlTokens words(part.body, {});
    const std::size_t check = checkIn(words);
    return part.kind == TablePart::Kind::Column && words.is(0, u"LONGTEXT") && words.is(3, u"utf8mb4") &&
           words.is(5, u"utf8mb4_bin") && words.is(check + 2, u"json_valid") &&
           words.name(check + 4) == part.name && words.behindGroup(check + 1) == check + 7;
}

std::size_t checkIn(const SqlTokens &words)
{
    std::size_t at = 0;
    while (at < words.size() && !words.is(at, u"CHECK"))
        at = words.behindGroup(at);
    return at;
}

bool isExpressionAsDefault(const SqlTokens &words, std::size_t at)
{
    const bool isTextOfSet =
        words.isWord(at) && words.at(at).startsWith(u'_') && words.at(at + 1).startsWith(u'\'');
    return words.is(at, u"(") || isTextOfSet ||
           (words.isWord(at) && words.is(at + 1, u"(") && !words.is(at, u"CURRENT_TIMESTAMP"));
}

QString commonForm(const TablePart &part, const ServersTable &side, bool hasCharacterSets)
{
    return CommonForm(part, side, hasCharacterSets).text();
}

QString commonPartitions(const QString &partitions)
{
    const SqlTokens words(partitions, {});
    QStringList kept;
    for (std::size_t at = 0; at < words.size(); ++at) {
        kept << words.at(at);
        const bool isOfExpression = words.is(at, u"RANGE") || words.is(at, u"LIST") || words.is(at, u"HASH");
        if (!isOfExpression || !words.is(at + 1, u"("))
            continue;
        const std::size_t end = words.behindGroup(at + 1);
        kept << quotedText(commonExpression(words, at + 2, end - 1));
        at = end - 1;
    }
    return kept.join(u' ');
}
