#include "structure/compare/tablelikeness.h"

#include "core/sql/statements.h"
#include "structure/alter/columnclauses.h"

#include <algorithm>
#include <set>

namespace {

bool isOfCharacterSet(const TableOption &option)
{
    return option.name == u"CHARSET" || option.name == u"COLLATE";
}

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

QString collationOf(const ServersTable &side)
{
    const QString collation = side.table.option(QStringLiteral("COLLATE"));
    return collation.isNull() ? collationOf(side.table.option(QStringLiteral("CHARSET")), side.collations)
                              : withNewName(collation);
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
    {
        // Of a column that names none it is the table's.
        if (part.kind == TablePart::Kind::Column && isText(m_words.at(0)))
            m_collation = collationOf(side);
        while (m_at < m_words.size())
            takeNext();
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
        if (follow({u"CHARACTER", u"SET"})) {
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

    bool isDoubled() const
    {
        return follow({u"(", u"("}) && m_words.behindGroup(m_at + 1) + 1 == m_words.behindGroup(m_at);
    }

    const SqlTokens m_words;
    const DefaultCollations &m_collations;
    QString m_collation;
    std::size_t m_at = 0;
    QStringList m_kept;
    std::set<std::size_t> m_passedOver;
};

bool areAlike(const TablePart &own, const ServersTable &is, const TablePart &part, const ServersTable &wanted,
              const CompareOptions &options)
{
    const auto form = [&](const TablePart &each, const ServersTable &side) {
        return CommonForm(each, side, options.hasCharacterSets).text();
    };
    return own.kind == part.kind && own.name == part.name && own.head == part.head &&
           isSameColumn(form(own, is), form(part, wanted), {});
}

} // namespace

TableDefinition likeness(const ServersTable &is, const ServersTable &wanted, const CompareOptions &options)
{
    TableDefinition like = wanted.table;
    like.name = is.table.name;
    const bool isCharacterSetAlike = collationOf(is) == collationOf(wanted);
    const auto counts = [&](const TableOption &option) {
        return option.name != u"AUTO_INCREMENT" &&
               (isOfCharacterSet(option) ? options.hasCharacterSets && !isCharacterSetAlike
                                         : options.hasTableOptions);
    };
    std::erase_if(like.options, [&](const TableOption &each) { return !counts(each); });
    std::ranges::copy_if(is.table.options, std::back_inserter(like.options),
                         [&](const TableOption &each) { return !counts(each); });
    const QString collate = QStringLiteral("COLLATE"), collation = collationOf(wanted);
    if (options.hasCharacterSets && !isCharacterSetAlike && wanted.table.option(collate).isNull() &&
        !collation.isEmpty())
        like.options.push_back({collate, collation, collate + u'=' + collation}); // not that server's default
    for (TablePart &part : like.parts) {
        const auto own = std::ranges::find_if(
            is.table.parts, [&](const TablePart &each) { return areAlike(each, is, part, wanted, options); });
        if (own != is.table.parts.end())
            part.body = own->body;
    }
    return like;
}
