#include "structure/compare/commonexpression.h"

#include <QMap>

#include <algorithm>
#include <initializer_list>

namespace {

struct NotUnderstood {}; // never leaves this file

// An operator or a function with what it is for; or, without any, a value.
struct Node {
    QString word;
    std::vector<Node> parts = {};

    QString text() const
    {
        if (parts.empty())
            return word;
        QString all = u'(' + word;
        for (const Node &part : parts)
            all += u' ' + part.text();
        return all + u')';
    }
};

// MySQL 8 and 9 write 0 <> a where a number stands for a truth value.
Node asTruth(Node node)
{
    if (node.word == u"<>" && node.parts.size() == 2)
        for (std::size_t i = 0; i < 2; ++i)
            if (node.parts[i].text() == u"0")
                return node.parts[1 - i];
    return node;
}

Node negated(Node node)
{
    return {QStringLiteral("not"), {asTruth(std::move(node))}};
}

// MySQL's names for what MariaDB writes otherwise.
QString functionName(const QString &name)
{
    static const QMap<QString, QString> others{{"ucase", "upper"},
                                               {"lcase", "lower"},
                                               {"substring", "substr"},
                                               {"mid", "substr"},
                                               {"character_length", "char_length"},
                                               {"octet_length", "length"},
                                               {"power", "pow"},
                                               {"ceil", "ceiling"},
                                               {"day", "dayofmonth"},
                                               {"now", "current_timestamp"},
                                               {"curdate", "current_date"},
                                               {"curtime", "current_time"},
                                               {"sha1", "sha"}};
    return others.value(name.toLower(), name.toLower());
}

// Follows the servers' order of operators, from the loosest to the tightest.
class Expression {
public:
    Expression(const SqlTokens &words, std::size_t first, std::size_t end)
        : m_words(words)
        , m_at(first)
        , m_end(end)
    {
    }

    Node whole()
    {
        Node node = disjunction();
        require(m_at == m_end);
        return node;
    }

private:
    using Operators = std::initializer_list<QStringView>;

    static void require(bool isSo)
    {
        if (!isSo)
            throw NotUnderstood();
    }
    bool is(QStringView word) const { return m_at < m_end && m_words.is(m_at, word); }
    bool isOneOf(Operators operators) const
    {
        return std::ranges::any_of(operators, [this](QStringView each) { return is(each); });
    }
    bool takes(QStringView word)
    {
        const bool isTaken = is(word);
        m_at += isTaken ? 1 : 0;
        return isTaken;
    }
    // As it is written, in small letters.
    QString next()
    {
        require(m_at < m_end);
        return m_words.at(m_at++).toLower();
    }

    template <class Part>
    Node leftToRight(Operators operators, const Part &part)
    {
        Node node = part();
        while (isOneOf(operators)) {
            const QString sign = next();
            const Node other = part();
            if (sign == u"xor")
                node = {sign, {asTruth(node), asTruth(other)}};
            else
                node = {sign == u"mod" ? QStringLiteral("%") : sign, {node, other}};
        }
        return node;
    }
    // (a and b) and c is a and (b and c).
    template <class Part>
    Node chain(const QString &word, Operators operators, const Part &part)
    {
        Node all{word};
        do {
            Node one = part();
            if (one.word == word)
                std::ranges::move(one.parts, std::back_inserter(all.parts));
            else
                all.parts.push_back(std::move(one));
        } while (isOneOf(operators) && ++m_at);
        if (all.parts.size() == 1)
            return all.parts.front();
        std::ranges::transform(all.parts, all.parts.begin(), asTruth);
        return all;
    }

    Node disjunction()
    {
        return chain(QStringLiteral("or"), {u"OR"}, [this] {
            return leftToRight({u"XOR"}, [this] {
                return chain(QStringLiteral("and"), {u"AND", u"&&"}, [this] { return negation(); });
            });
        });
    }
    Node negation()
    {
        if (takes(u"NOT"))
            return negated(negation());
        return comparison();
    }
    Node comparison();
    Node comparedWith(const Node &left);
    Node bits()
    {
        return leftToRight({u"|"}, [this] {
            return leftToRight({u"&"}, [this] {
                return leftToRight({u"<<", u">>"}, [this] {
                    return leftToRight({u"+", u"-"}, [this] {
                        return leftToRight({u"*", u"/", u"%", u"DIV", u"MOD"}, [this] {
                            return leftToRight({u"^"}, [this] { return signedValue(); });
                        });
                    });
                });
            });
        });
    }
    Node signedValue()
    {
        if (isOneOf({u"-", u"~", u"!"})) {
            const QString sign = next();
            Node node = signedValue();
            return sign == u"!" ? negated(std::move(node)) : Node{sign + u'1', {std::move(node)}};
        }
        return leftToRight({u"COLLATE"}, [this] { return value(); });
    }
    Node value();
    Node group();
    Node choice();
    Node call(const QString &name);
    QString wordsToComma();
    Node name(const QString &word) const { return {u'`' + word.toLower() + u'`'}; }

    const SqlTokens &m_words;
    std::size_t m_at;
    const std::size_t m_end;
};

// Two in a row without parentheses are not taken apart.
Node Expression::comparison()
{
    const Node left = bits();
    Node node = comparedWith(left);
    require(!isOneOf(
        {u"=", u"<=>", u"<>", u"!=", u"<", u"<=", u">", u">=", u"IS", u"LIKE", u"IN", u"BETWEEN", u"NOT"}));
    return node;
}

Node Expression::comparedWith(const Node &left)
{
    if (isOneOf({u"=", u"<=>", u"<>", u"!="})) { // from either side
        const QString sign = next();
        Node node{sign == u"!=" ? QStringLiteral("<>") : sign, {left, bits()}};
        std::ranges::sort(node.parts, {}, &Node::text);
        return node;
    }
    if (isOneOf({u"<", u"<=", u">", u">="})) {
        const QString sign = next();
        return {sign, {left, bits()}};
    }
    if (takes(u"IS")) {
        const QString is = takes(u"NOT") ? QStringLiteral("is not ") : QStringLiteral("is ");
        require(isOneOf({u"NULL", u"TRUE", u"FALSE", u"UNKNOWN"}));
        return {is + next(), {left}};
    }
    const bool isNegated = takes(u"NOT");
    Node node{QStringLiteral("in"), {left}};
    if (takes(u"LIKE")) {
        node = {QStringLiteral("like"), {left, bits()}};
        if (takes(u"ESCAPE"))
            node.parts.push_back(bits());
    } else if (takes(u"BETWEEN")) {
        node = {QStringLiteral("between"), {left, bits()}};
        require(takes(u"AND"));
        node.parts.push_back(bits());
    } else if (takes(u"IN")) {
        require(is(u"("));
        node.parts.push_back(call(QStringLiteral("list")));
    } else {
        require(!isNegated);
        return left;
    }
    return isNegated ? negated(std::move(node)) : node;
}

// "(a)", or a row "(a, b)".
Node Expression::group()
{
    ++m_at;
    Node row{QStringLiteral("row")};
    do
        row.parts.push_back(disjunction());
    while (takes(u","));
    require(takes(u")"));
    return row.parts.size() == 1 ? row.parts.front() : row;
}

Node Expression::choice()
{
    Node node{QStringLiteral("case")};
    if (!is(u"WHEN"))
        node.parts.push_back({QStringLiteral("of"), {disjunction()}});
    while (takes(u"WHEN")) {
        Node when{QStringLiteral("when"), {disjunction()}};
        require(takes(u"THEN"));
        when.parts.push_back(disjunction());
        node.parts.push_back(when);
    }
    if (takes(u"ELSE"))
        node.parts.push_back({QStringLiteral("else"), {disjunction()}});
    require(takes(u"END"));
    return node;
}

// At its "(". What is no expression, as "as unsigned" in a cast, keeps its words.
Node Expression::call(const QString &name)
{
    Node node{name + QStringLiteral("()")};
    ++m_at;
    while (!is(u")")) {
        node.parts.push_back(disjunction());
        if (isOneOf({u"AS", u"USING", u"FROM"}))
            node.parts.push_back({wordsToComma()});
        if (!takes(u","))
            break;
    }
    require(takes(u")"));
    return node.parts.empty() ? Node{node.word + u'!'} : node;
}

QString Expression::wordsToComma()
{
    QStringList kept;
    while (!is(u",") && !is(u")")) {
        require(m_at < m_end);
        for (const std::size_t end = m_words.behindGroup(m_at); m_at < end; ++m_at)
            kept << (m_words.isWord(m_at) || m_words.isName(m_at) ? m_words.name(m_at).toLower()
                                                                  : m_words.at(m_at));
    }
    return kept.join(u' ');
}

Node Expression::value()
{
    require(m_at < m_end);
    if (is(u"("))
        return group();
    if (takes(u"CASE"))
        return choice();
    if (takes(u"INTERVAL")) {
        Node node{QStringLiteral("interval"), {bits()}};
        node.parts.push_back({next()});
        return node;
    }
    if (m_words.isName(m_at) || m_words.isWord(m_at)) {
        static const QStringList ownSets{"_utf8mb4", "_utf8mb3", "_utf8"};
        const bool isQuoted = m_words.isName(m_at);
        const QString word = m_words.name(m_at++);
        const bool isBeforeText = m_at < m_end && m_words.at(m_at).startsWith(u'\'');
        if (!isQuoted && isBeforeText) { // a character set, or DATE'...'
            const QString text = m_words.at(m_at++);
            return {ownSets.contains(word.toLower()) ? text : word.toLower() + text};
        }
        if (!isQuoted && is(u"("))
            return call(functionName(word));
        static const QStringList values{"null", "true", "false", "maxvalue"};
        if (!isQuoted && values.contains(word.toLower()))
            return {word.toLower()};
        require(!is(u"."));
        return name(word);
    }
    const QString token = m_words.at(m_at++);
    require(token.startsWith(u'\'') || token[0].isDigit() || token.startsWith(u'.') || token.endsWith(u'\''));
    return {token};
}

} // namespace

QString commonExpression(const SqlTokens &words, std::size_t first, std::size_t end)
{
    try {
        return Expression(words, first, end).whole().text();
    } catch (const NotUnderstood &) {
        QStringList kept;
        for (std::size_t at = first; at < end; ++at)
            kept << words.at(at);
        return kept.join(u' ');
    }
}
